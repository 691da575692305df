#ifndef SERVICEFORMS_H
#define SERVICEFORMS_H

#include <QByteArray>
#include <QJsonObject>
#include <QString>
#include <QUrlQuery>

class QNetworkAccessManager;
class QNetworkReply;

/// What the desk posts to the online service when it looks for clients. The service reads web forms.
namespace ServiceForms {

/// A search as the cashier types: part of a name or of a phone number.
QByteArray search(const QString &apiKey, const QString &text);

/// A lookup of the client whose code was scanned. `iv` and `data` of the code go on unread.
QByteArray scannedCode(const QJsonObject &code);

/// A request for the record of one client, who is to stand on the check-in list.
QByteArray checkIn(const QString &apiKey, qint32 clientId);

/// The items that every query starts with: the key of the track, and that the full record is wanted.
QUrlQuery query(const QString &apiKey);

/// The query as the body of a form: percent-encoded, in UTF-8.
QByteArray body(const QUrlQuery &query);

/// A part of a code, encoded for the form and once more for the text in which the service finds it.
QString twiceEncoded(const QString &value);

/// Bytes of the longest reply that is read.
constexpr qint64 MaxReply = Q_INT64_C(64) * 1024 * 1024;

/// Posts a form and returns the reply, which belongs to the manager. `serviceAppUrl` is the address of the service without
/// a slash at its end, `suffix` stands behind the path. A reply longer than MaxReply ends as a failed one.
QNetworkReply *post(QNetworkAccessManager *manager, const QString &serviceAppUrl, const QString &suffix,
                    const QByteArray &form);

} // namespace ServiceForms

#endif // SERVICEFORMS_H
