#ifndef SERVICEQUERY_H
#define SERVICEQUERY_H

#include <QByteArray>
#include <QJsonObject>
#include <QJsonValue>
#include <QString>

#include <optional>

/// What the desk asks the online service on behalf of others, and what it takes from the answers.
namespace ServiceQuery {

/// Form-encoded search for the client of a phone number or of a QR code, as `type` of `search` says; nothing for any
/// other type. `link` comes back with the reply.
std::optional<QByteArray> racerByNumber(const QJsonObject &search, const QString &apiKey, const QJsonValue &link);

/// A reply that found exactly one client.
struct Found
{
    /// What was asked for, as the service repeats it.
    QString code{};
    QJsonObject client{};
    /// The whole reply.
    QJsonObject reply{};
};

/// Reads a reply; nothing if it reports a failure, or no client, or several of them.
std::optional<Found> oneClient(const QByteArray &bytes);

/// The reply as client programs may see it: without birth date, telephone and mail address.
QJsonObject publicReply(const Found &found);

} // namespace ServiceQuery

#endif // SERVICEQUERY_H
