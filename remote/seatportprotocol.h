#ifndef SEATPORTPROTOCOL_H
#define SEATPORTPROTOCOL_H

#include <QByteArray>
#include <QJsonObject>
#include <QString>
#include <QStringList>

/// The language of the seat port: two commands of plain text, and answers of fields that are a key, a colon, a value and
/// a tab each. There is no framing: whatever one read brings is one command.
namespace SeatPort {

/// One command of a client.
struct Command
{
    enum class Kind {
        None, ///< nothing that the port knows; it is left unanswered
        FindTicket, ///< whose ticket is `pin`
        SetSeat ///< seat the racer of `seat` with the car chosen there
    };
    Kind kind = Kind::None;
    /// As the client wrote it, a line ending included.
    QString pin{};
    QJsonObject seat{};
};

/// Reads a command out of UTF-8 bytes.
Command parsed(const QByteArray &bytes);

/// The remote request that a seat command stands for: the chosen car for a racer at the head of the queue.
QJsonObject seatRequest(const QJsonObject &seat, const QString &trackId);

/// What is known of a ticket. All fields are empty for one that is not valid, but for the first two.
struct Ticket
{
    QString status{};
    QString message{};
    QString uuid{};
    QString carModel{};
    QString name{};
    QStringList freeCars{};
    QStringList busyCars{};
};

/// The answer to a ticket's PIN.
QString ticketAnswer(const Ticket &ticket);

/// The answer to a seat command.
QString seatAnswer(const QString &status, const QString &message);

/// A car in the lists of a ticket.
QString carText(const QString &number, qint32 id);

/// Name of a racer; a part that is missing leaves no blank.
QString racerName(const QString &lastName, const QString &firstName);

} // namespace SeatPort

#endif // SEATPORTPROTOCOL_H
