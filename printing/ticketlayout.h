#ifndef TICKETLAYOUT_H
#define TICKETLAYOUT_H

#include <QDateTime>
#include <QJsonObject>
#include <QRectF>
#include <QString>

class QPainter;

/// The boarding ticket on paper.
namespace TicketLayout {

/// What stands on one ticket.
struct Ticket
{
    QString caption;
    QString model;
    QString lastName;
    QString firstName;
    QString pinCode;
    /// Time of printing, local.
    QDateTime printed;
};

/// Ticket number `index` of a registration, counted from 0; one without a PIN of its own has an empty PIN.
Ticket ticketOf(const QJsonObject &registration, int index, const QString &caption, const QDateTime &printed);

/// What the code on a ticket says to a scanner.
QString qrPayload(const QString &pinCode);

/// The time of printing as the ticket shows it.
QString printedText(const QDateTime &printed);

/// Draws one ticket onto a page, in the page's own pixels. The painter's font and pens are changed.
void drawTicket(QPainter &painter, const QRectF &page, const Ticket &ticket);

} // namespace TicketLayout

#endif // TICKETLAYOUT_H
