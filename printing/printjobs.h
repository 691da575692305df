#ifndef PRINTJOBS_H
#define PRINTJOBS_H

#include <QDate>
#include <QJsonObject>
#include <QString>

struct CheckInItem;

/// What the desk puts into the host's document templates.
namespace PrintJobs {

/// The fields of the safety form: of a registration with its minors, or of a blank form if `item` is null. Where there
/// are no minors, blanks keep the line of the form in shape.
QJsonObject safetyFields(const CheckInItem *item, const QDate &today);

/// The ticket of a racer who sits in a run.
QJsonObject seatTicket(const QJsonObject &seat, const QString &runName, const QDate &today);

} // namespace PrintJobs

#endif // PRINTJOBS_H
