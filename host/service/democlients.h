#ifndef DEMOCLIENTS_H
#define DEMOCLIENTS_H

#include <QDate>
#include <QHash>
#include <QJsonObject>
#include <QString>
#include <QVector>

/// The clients whom the stand-in of the online service knows: three hundred people, always the same ones, numbered from
/// 1. Their phones lie in an area code that does not exist.
class DemoClients
{
public:
    struct Client
    {
        int id = -1;
        QString lastName;
        QString firstName;
        QString midName;
        bool woman = false;
        QDate birthDate;
        /// With the country's code, such as +70001234567.
        QString tel;
        QString email;
        bool hasPhoto = true;
        int visits = 0;
    };

    /// A search finds no more than this.
    static constexpr int maxFound = 50;

    DemoClients();

    int count() const { return m_clients.size(); }
    /// Null when there is no such client.
    const Client *client(int id) const;

    /// Clients by name or phone, in the order of their names. Every word has to occur somewhere in the name, whatever
    /// its case; a text of digits, blanks and "+-()" is a part of a phone number, and 8 at its beginning stands for 7
    /// when the number is complete. An empty text finds nobody.
    QVector<const Client *> find(const QString &text) const;

    /// What the service says of a client. The short record holds the numbers and the names only. GUI thread, because
    /// photos are drawn.
    QJsonObject record(const Client &client, bool full) const;

private:
    void addNotableClients();
    void addFurtherClients();

    QVector<Client> m_clients;
    /// Photos are drawn when they are asked for the first time.
    mutable QHash<int, QString> m_photos;
};

#endif // DEMOCLIENTS_H
