#ifndef CLIENTLOOKUP_H
#define CLIENTLOOKUP_H

#include <QByteArray>
#include <QHash>
#include <QJsonObject>
#include <QString>

class DemoClients;

/// What the online service says to a request: the form-encoded body in, the JSON reply out.
class ClientLookup
{
public:
    using Form = QHash<QString, QString>;

    /// `clients` outlives the lookup.
    explicit ClientLookup(const DemoClients *clients);

    /// The key that requests have to carry. With an empty one every request that carries a key is refused.
    void setApiKey(const QString &apiKey) { m_apiKey = apiKey; }

    /// The items of a form-encoded body; of items with one name the last counts. A body that encodes less than it
    /// should, such as `qrcode={"data":"a%252Bb"}`, is read the same way.
    static Form parse(const QByteArray &body);

    /// The reply to a form: `results`, `status` ("ok" or "fail"), `code`, and `linkGuid` when the request had one.
    QJsonObject reply(const Form &form) const;

private:
    bool isAllowed(const Form &form) const;

    const DemoClients *m_clients;
    QString m_apiKey;
};

#endif // CLIENTLOOKUP_H
