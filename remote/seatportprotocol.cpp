#include "remote/seatportprotocol.h"

#include "common/jsonread.h"

namespace {

const QLatin1String TicketPrefix("?p=");
const QLatin1String SeatPrefix("setSeat=");

QString field(const char *key, const QString &value)
{
    return QStringLiteral("%1:%2\t").arg(QString::fromLatin1(key), value);
}

} // namespace

SeatPort::Command SeatPort::parsed(const QByteArray &bytes)
{
    // To the end of the data, whatever a client has put in.
    const QString text = QString::fromUtf8(bytes.constData(), bytes.size());
    if (text.startsWith(TicketPrefix))
        return {Command::Kind::FindTicket, text.mid(TicketPrefix.size())};
    if (text.startsWith(SeatPrefix)) {
        if (const auto seat = JsonRead::object(text.mid(SeatPrefix.size()).toUtf8()))
            return {Command::Kind::SetSeat, QString(), *seat};
    }
    return {};
}

QJsonObject SeatPort::seatRequest(const QJsonObject &seat, const QString &trackId)
{
    const QJsonObject car = seat.value(QLatin1String("carData")).toObject();
    QJsonObject request{
        {QLatin1String("request"), QStringLiteral("setRacer")},
        {QLatin1String("trackId"), trackId},
        {QLatin1String("runQueueGuid"), QStringLiteral("current")},
    };
    // What the client has not named stays away.
    request.insert(QLatin1String("racerUuid"), seat.value(QLatin1String("uuid")));
    request.insert(QLatin1String("carId"), car.value(QLatin1String("carId")));
    request.insert(QLatin1String("carModel"), car.value(QLatin1String("model")));
    request.insert(QLatin1String("manual"), seat.value(QLatin1String("manual")));
    return request;
}

QString SeatPort::ticketAnswer(const Ticket &ticket)
{
    const QLatin1Char comma(',');
    return field("status", ticket.status) + field("message", ticket.message) + field("uuid", ticket.uuid)
           + field("carModel", ticket.carModel) + field("name", ticket.name)
           + field("avail", ticket.freeCars.join(comma)) + field("busy", ticket.busyCars.join(comma));
}

QString SeatPort::seatAnswer(const QString &status, const QString &message)
{
    return field("status", status) + field("message", message);
}

QString SeatPort::carText(const QString &number, qint32 id)
{
    return QStringLiteral("%1 - %2").arg(number, QString::number(id));
}

QString SeatPort::racerName(const QString &lastName, const QString &firstName)
{
    QStringList parts{lastName, firstName};
    parts.removeAll(QString());
    return parts.join(QLatin1Char(' '));
}
