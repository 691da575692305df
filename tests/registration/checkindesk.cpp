#include "checkindesk.h"

#include "common/clock.h"

CheckInLog::CheckInLog(ClientsCheckInList *list)
    : ModelLog(list)
{
    connect(list, &ClientsCheckInList::checkInListUpdated, this, [this](const QJsonArray &data) {
        entries.append(QStringLiteral("checkInListUpdated"));
        published.append(data);
    });
    connect(list, &ClientsCheckInList::paymentUpdate, this, [this](const QJsonObject &json) {
        entries.append(QStringLiteral("paymentUpdate"));
        payments.append(json);
    });
    connect(list, &ClientsCheckInList::ticketPrinted, this, [this](const QJsonObject &json) {
        entries.append(QStringLiteral("ticketPrinted"));
        tickets.append(json);
    });
    connect(list, &ClientsCheckInList::itemsDropped, this, [this](const QJsonArray &items) {
        entries.append(QStringLiteral("itemsDropped"));
        dropped.append(items);
    });
    connect(list, &ClientsCheckInList::toRunsClicked, this,
            [this] { entries.append(QStringLiteral("toRunsClicked")); });
    connect(list, &ClientsCheckInList::someError, this,
            [this](const QString &message) { entries.append(QStringLiteral("someError ") + message); });
}

CheckInDesk::CheckInDesk()
{
    Clock::setSource([this] { return QDateTime::fromSecsSinceEpoch(now, Qt::UTC); });
    fillPrices();
    list.setPrices(&prices);
    list.setUsedPinCodes(&usedPinCodes);
}

CheckInDesk::~CheckInDesk()
{
    Clock::setSource({});
}

void CheckInDesk::fillPrices()
{
    const auto item = [](Sale sale, const char *name, const char *model, double sum, const QColor &color) {
        PriceItem price;
        price.id = sale;
        price.commonId = sale;
        price.salesItem = QString::fromUtf8(name);
        price.model = QString::fromLatin1(model);
        price.sum = sum;
        price.color = color;
        return price;
    };
    const int weekend = 7;
    prices.priceTypeNames = {{-1, QStringLiteral("Основные")}, {weekend, QStringLiteral("Выходные")}};
    prices.pricesByType[-1] = {item(Adult, "Взрослый", "", 500, Qt::red),
                               item(Junior, "Детский", "Junior", 300, Qt::blue),
                               item(Gift, "Подарок", "", 0, Qt::white),
                               item(Helmet, "Шлем", "Senior", 50.5, Qt::green)};
    for (PriceItem price : qAsConst(prices.pricesByType[-1])) {
        price.id += 100;
        price.sum *= 2;
        prices.pricesByType[weekend].append(price);
    }
    prices.discounts = {{false, 10}, {true, 100}, {true, static_cast<double>(0.1F)}};
    prices.payMethods = QStringList{QStringLiteral("Наличные"), QStringLiteral("Карта")};
}

CheckInItem &CheckInDesk::add(const QString &lastName, const QList<KidRecord> &kids)
{
    return *list.itemAt(list.addRacer(QStringLiteral("Иван"), lastName, QStringLiteral("Петрович"), kids, QString(),
                                      QString(), 0, -1, 0, NoSale));
}

CheckInItem &CheckInDesk::addSold(Sale sale, int runs, const QList<KidRecord> &kids)
{
    CheckInItem &item =
        *list.itemAt(list.addRacer(QStringLiteral("Иван"), QStringLiteral("Иванов"), QStringLiteral("Петрович"), kids,
                                   QString(), QString(), 0, -1, runs, sale));
    item.payMethod = prices.payMethods.first();
    return item;
}

KidRecord CheckInDesk::kid(const QString &firstName, Sale sale, int runs)
{
    KidRecord record;
    record.firstName = firstName;
    record.lastName = QStringLiteral("Иванов");
    record.uuid = QStringLiteral("{%1}").arg(firstName);
    record.salesCommonId = sale;
    record.runCount = runs;
    return record;
}

CheckInItem &CheckInDesk::racer(int row) const
{
    return *list.itemAt(list.index(row, 0));
}

CheckInItem &CheckInDesk::minor(int row, int minorRow) const
{
    return *list.itemAt(list.index(minorRow, 0, list.index(row, 0)));
}

QModelIndex CheckInDesk::cell(const QString &key, int row) const
{
    return list.index(row, list.columnByKey(key));
}

QModelIndex CheckInDesk::minorCell(const QString &key, int row, int minorRow) const
{
    return list.index(minorRow, list.columnByKey(key), list.index(row, 0));
}

PriceItem CheckInDesk::price(Sale sale) const
{
    const QList<PriceItem> items = prices.currentPriceItems();
    for (const PriceItem &item : items) {
        if (item.commonId == sale)
            return item;
    }
    return PriceItem();
}

QStringList CheckInDesk::lastNames() const
{
    QStringList names;
    for (int row = 0; row < list.rowCount(); ++row)
        names.append(racer(row).lastName);
    return names;
}
