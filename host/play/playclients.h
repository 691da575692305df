#ifndef PLAYCLIENTS_H
#define PLAYCLIENTS_H

#include "client/deskclient.h"

#include <QJsonObject>
#include <QObject>
#include <QString>

#include <map>

/// The client programs of a played day, a kiosk or a gate, each by its name and with a connection of its own to the
/// host's endpoint. A client connects when it is first needed.
class PlayClients : public QObject
{
    Q_OBJECT

public:
    explicit PlayClients(QObject *parent = nullptr);

    /// Port of the endpoint; 0 means there is none.
    void setPort(quint16 port) { m_port = port; }

    /// Whether the client can ask. False with the cause in `reason`, which may pass.
    bool isReady(const QString &name, QString *reason);
    /// Asks the desk as a ready client. What the client got before is forgotten.
    void request(const QString &name, const QString &request, const QJsonObject &requestData);
    void remote(const QString &name, const QString &request, const QJsonObject &keys);
    /// The answer to the client's last question; of a remote one what stands in `req_answ`. False while there is none.
    bool answer(const QString &name, QJsonObject *answer, QString *reason) const;

private:
    struct Caller
    {
        DeskClient client;
        /// The `linkGuid` or the name of the remote request that the answer is known by.
        QString question;
        bool isRemote = false;
        bool hasAnswer = false;
        QJsonObject answer;
        QString trouble;
    };

    Caller &caller(const QString &name);
    static void ask(Caller *caller, const QString &question, bool isRemote);

    quint16 m_port = 0;
    int m_lastQuestion = 0;
    std::map<QString, Caller> m_callers;
};

#endif // PLAYCLIENTS_H
