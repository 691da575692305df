#ifndef PAYMENTRECORD_H
#define PAYMENTRECORD_H

#include <QDateTime>
#include <QJsonObject>
#include <QPair>
#include <QSqlRecord>
#include <QString>
#include <QVariant>
#include <QVector>

/// What stands between a payment record, its row in the table `payments` and its object in a batch for the online
/// service. Plain values only.
namespace PaymentRecord {

/// Identity of the payment, by which its row is found again. Null if the record has none; no row has that.
QString uuid(const QJsonObject &payment);

/// The operator who made the payment, or -1. Goes into the row with the first write only.
int cashierId(const QJsonObject &payment);

/// What every write of the payment puts into its row: placeholder and value. A text that the record does not have is
/// null. `now` is the time of the write, stored in UTC.
QVector<QPair<QString, QVariant>> values(const QJsonObject &payment, const QDateTime &now);

/// A full name without the marks of its missing parts: each is a zero character with the blank behind it. The mark of a
/// missing last part has no blank behind it and stays.
QString withoutMissingParts(QString name);

/// A row of the push query as an object of `itemsList`. The time is UTC without a zone mark; `comment` is there only if
/// it has a text.
QJsonObject batchItem(const QSqlRecord &row);

/// The `updatedList` of an answer of the online service as a list of row ids for SQL, "3,4,7". Anything in the list that
/// is no whole number becomes 0, which no row has. Empty if there is no list or nothing in it.
QString takenIds(const QJsonObject &answer);

} // namespace PaymentRecord

#endif // PAYMENTRECORD_H
