// The seat port: tickets looked up by PIN, and seats taken, without the host in between.

#include "plugin/ticketpluginform.h"

#include "remote/seatportprotocol.h"
#include "runqueue/runcontainerwidget.h"

#include <QPersistentModelIndex>

namespace {

QStringList carTexts(const RunContainerWidget &run, const QJsonArray &ids)
{
    QStringList texts;
    for (const QJsonValue &value : ids) {
        const qint32 id = value.toInt(-1);
        texts.append(SeatPort::carText(run.carNumber(id), id));
    }
    return texts;
}

} // namespace

QString TicketPluginForm::seatByPin(const QString &pin)
{
    const QJsonObject query{
        {QLatin1String("pinCode"), pin},
        {QLatin1String("runQueueGuid"), QStringLiteral("current")},
    };
    QPersistentModelIndex line;
    seatTicketHolder(query, &line);

    SeatPort::Ticket ticket;
    RunCompetitor *competitor = nullptr;
    RunContainerWidget *run = nullptr;
    if (!findCompetitor(query, &competitor, &run, QString())) {
        ticket.status = QStringLiteral("fail");
        ticket.message = tr("Билет недействителен!");
        return SeatPort::ticketAnswer(ticket);
    }
    const QJsonObject &seat = competitor->data;
    ticket.status = QStringLiteral("ok");
    ticket.uuid = seat.value(QLatin1String("uuid")).toString();
    ticket.carModel = seat.value(QLatin1String("carModel")).toString();
    ticket.name = SeatPort::racerName(seat.value(QLatin1String("lastName")).toString(),
                                      seat.value(QLatin1String("firstName")).toString());
    // The cars are those of the next run, whichever run the racer sits in.
    if (const RunContainerWidget *next = queueRun(0)) {
        ticket.freeCars = carTexts(*next, next->freeCarIds(ticket.carModel));
        ticket.busyCars = carTexts(*next, next->busyCarIds(ticket.carModel));
    }
    return SeatPort::ticketAnswer(ticket);
}

QString TicketPluginForm::seatFromPort(const QJsonObject &seat)
{
    const QJsonObject answer = handleRemoteRequest(SeatPort::seatRequest(seat, trackId));
    return SeatPort::seatAnswer(answer.value(QLatin1String("status")).toString(),
                                answer.value(QLatin1String("message")).toString());
}
