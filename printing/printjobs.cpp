#include "printing/printjobs.h"

#include "registration/checkinitem.h"

#include <QJsonArray>
#include <QStringList>

namespace {

QString dateText(const QDate &date)
{
    return date.toString(QStringLiteral("dd.MM.yyyy"));
}

} // namespace

QJsonObject PrintJobs::safetyFields(const CheckInItem *item, const QDate &today)
{
    QStringList minors;
    if (item) {
        for (const auto &minor : item->subItems)
            minors.append(minor->fullName());
    }
    return {
        {QLatin1String("MAINNAME"), item ? item->fullName() : QString()},
        {QLatin1String("KIDSLIST"),
         minors.isEmpty() ? QStringLiteral("&nbsp;&nbsp;&nbsp;") : minors.join(QLatin1String(", "))},
        {QLatin1String("CURRENTDATE"), dateText(today)},
    };
}

QJsonObject PrintJobs::seatTicket(const QJsonObject &seat, const QString &runName, const QDate &today)
{
    return {
        {QLatin1String("ticketSrc"), QStringLiteral("runQueue")},
        {QLatin1String("PRINTDATE"), dateText(today)},
        {QLatin1String("RUNNAME"), runName},
        {QLatin1String("CLIENTNAME"), seat.value(QLatin1String("name")).toString()},
        {QLatin1String("SALESITEM"), seat.value(QLatin1String("salesItem")).toString()},
        {QLatin1String("PINCODE"), seat.value(QLatin1String("pinCodes")).toArray().at(0).toString()},
    };
}
