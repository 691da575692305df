#ifndef CHECKINDESK_H
#define CHECKINDESK_H

#include "modellog.h"
#include "prices/pricesmodel.h"
#include "registration/clientscheckinlist.h"
#include "temptrack.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QStringList>

/// Common ids of the price book that CheckInDesk fills in memory.
enum Sale { NoSale = -1, Adult = 1, Junior = 2, Gift = 3, Helmet = 4 };

/// Writes down all signals of a check-in list in their order, and keeps what its own signals carried.
class CheckInLog : public ModelLog
{
public:
    explicit CheckInLog(ClientsCheckInList *list);

    /// The lists of checkInListUpdated.
    QVector<QJsonArray> published;
    /// The records of paymentUpdate.
    QVector<QJsonObject> payments;
    /// The records of ticketPrinted.
    QVector<QJsonObject> tickets;
    /// The lists of itemsDropped.
    QVector<QJsonArray> dropped;
};

/// A check-in list with a price book, a pool of PIN codes and a standing clock; without a form, a view or a database.
class CheckInDesk
{
public:
    CheckInDesk();
    ~CheckInDesk();
    Q_DISABLE_COPY(CheckInDesk)

    TempTrack track{TempTrack::Tree};
    /// The present, seconds since the epoch, UTC.
    qint64 now = 1700000000;
    PricesModel prices;
    QStringList usedPinCodes;
    ClientsCheckInList list;
    CheckInLog log{&list};

    /// Registers Иван with that last name and his minors as a cashier would; returns the new top line.
    CheckInItem &add(const QString &lastName = QStringLiteral("Иванов"), const QList<KidRecord> &kids = {});
    /// As add(), sold and ready to be paid in cash.
    CheckInItem &addSold(Sale sale, int runs = 1, const QList<KidRecord> &kids = {});
    static KidRecord kid(const QString &firstName, Sale sale = NoSale, int runs = 0);

    CheckInItem &racer(int row = 0) const;
    CheckInItem &minor(int row, int minorRow) const;
    QModelIndex cell(const QString &key, int row = 0) const;
    QModelIndex minorCell(const QString &key, int row, int minorRow) const;
    /// The item of the current block.
    PriceItem price(Sale sale) const;
    /// Last names from the top.
    QStringList lastNames() const;

private:
    void fillPrices();
};

#endif // CHECKINDESK_H
