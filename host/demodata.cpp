#include "demodata.h"

#include "trackdatabase.h"
#include "trackhome.h"

#include <QDateTime>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSettings>
#include <QSqlQuery>
#include <QUuid>

namespace {

constexpr int templateBlock = -1;

QString pin(int number)
{
    return QStringLiteral("%1").arg(number, 4, 10, QLatin1Char('0'));
}

QJsonArray pins(const QString &code, int runCount)
{
    QJsonArray codes;
    for (int i = 0; i < qMax(runCount, 1); ++i)
        codes.append(code);
    return codes;
}

} // namespace

DemoData::DemoData(const TrackHome &home, TrackDatabase *database)
    : m_home(home)
    , m_database(database)
{
}

bool DemoData::fill(QSize queue)
{
    if (!m_database->isEmptyTrack())
        return true;
    if (!fillDatabase())
        return false;
    fillSettings();
    return fillCheckInList() && (queue.isEmpty() || fillQueue(queue));
}

bool DemoData::fillDatabase()
{
    return m_database->write([this](QSqlQuery &query) {
        fillCars(query);
        fillPrices(query);
        fillCashiers(query);
    });
}

void DemoData::fillCars(QSqlQuery &query)
{
    struct Model
    {
        QString name;
        int cars;
        int outOfService;
    };
    const Model models[] = {
        {QStringLiteral("Взрослый"), 5, 0},
        {QStringLiteral("Спортивный"), 3, 1},
        {QStringLiteral("Детский"), 3, 0},
    };
    int number = 0;
    query.prepare(
        QStringLiteral("INSERT INTO cars (name, num, transponderId, available_for_runs) VALUES (?, ?, ?, ?)"));
    for (const Model &model : models) {
        for (int i = 0; i < model.cars; ++i) {
            ++number;
            query.addBindValue(model.name);
            query.addBindValue(QString::number(number));
            query.addBindValue(9000 + number);
            query.addBindValue(i < model.cars - model.outOfService ? 1 : 0);
            query.exec();
        }
    }
}

void DemoData::fillPrices(QSqlQuery &query)
{
    struct Row
    {
        QString name;
        QString model;
        QString color;
        double weekday;
        double weekend;
    };
    const Row rows[] = {
        {QStringLiteral("Взрослый заезд"), QStringLiteral("Взрослый"), QStringLiteral("#8fc9ff"), 900, 1100},
        {QStringLiteral("Детский заезд"), QStringLiteral("Детский"), QStringLiteral("#ffe08a"), 600, 750},
        {QStringLiteral("Спортивный заезд"), QStringLiteral("Спортивный"), QStringLiteral("#ffb3a7"), 1400, 1700},
        {QStringLiteral("Утренний заезд"), QStringLiteral("Взрослый"), QStringLiteral("#c5e8b7"), 700, 800},
        {QStringLiteral("Подшлемник"), QString(), QStringLiteral("#e0e0e0"), 100, 100},
    };

    query.prepare(QStringLiteral("INSERT INTO price_types (name) VALUES (?)"));
    query.addBindValue(QStringLiteral("Выходные"));
    query.exec();
    const int weekendBlock = query.lastInsertId().toInt();

    const QString insert =
        QStringLiteral("INSERT INTO price_list (common_id, price_type, sales_item, color, model, sum,"
                       " avail_rules, show_remote) VALUES (?, ?, ?, ?, ?, ?, '', ?)");
    for (const Row &row : rows) {
        int commonId = -1;
        for (const int block : {templateBlock, weekendBlock}) {
            query.prepare(insert);
            query.addBindValue(commonId);
            query.addBindValue(block);
            query.addBindValue(row.name);
            query.addBindValue(row.color);
            query.addBindValue(row.model);
            query.addBindValue(block == templateBlock ? row.weekday : row.weekend);
            query.addBindValue(row.model.isEmpty() ? 0 : 1);
            query.exec();
            if (block == templateBlock) {
                commonId = query.lastInsertId().toInt();
                query.prepare(QStringLiteral("UPDATE price_list SET common_id = id WHERE id = ?"));
                query.addBindValue(commonId);
                query.exec();
            }
        }
        m_items.append({commonId, row.name, row.model, row.color, row.weekday});
    }
}

void DemoData::fillCashiers(QSqlQuery &query)
{
    const QStringList cashiers[] = {
        {QStringLiteral("Громова"), QStringLiteral("Анна"), QStringLiteral("Игоревна"), QStringLiteral("1111")},
        {QStringLiteral("Седов"), QStringLiteral("Павел"), QStringLiteral("Олегович"), QStringLiteral("2222")},
    };
    for (const QStringList &cashier : cashiers) {
        query.prepare(
            QStringLiteral("INSERT INTO personal (last_name, first_name, mid_name, access_code) VALUES (?, ?, ?, ?)"));
        for (const QString &value : cashier)
            query.addBindValue(value);
        query.exec();
    }
}

void DemoData::fillSettings() const
{
    const auto list = [](const QStringList &texts) {
        return QJsonDocument(QJsonArray::fromStringList(texts)).toJson(QJsonDocument::Compact);
    };
    QSettings settings(QStringLiteral("zz.ordvex"), QStringLiteral("prices"));
    settings.setValue(QStringLiteral("ticketCaption"), QStringLiteral("Картодром"));
    settings.setValue(QStringLiteral("discounts"),
                      list({QStringLiteral("5"), QStringLiteral("10"), QStringLiteral("50"), QStringLiteral("=100")}));
    settings.setValue(QStringLiteral("paymethods"),
                      list({QStringLiteral("Наличные"), QStringLiteral("Карта"), QStringLiteral("Перевод")}));
    settings.setValue(QStringLiteral("maxInRunCount"), 8);
    settings.setValue(QStringLiteral("defaultRunDuration"), 10);
    settings.setValue(QStringLiteral("pauseDuration"), 3);
    settings.setValue(QStringLiteral("fixedRunStartTimeInQueue"), false);
}

QJsonObject DemoData::racer(const QString &lastName, const QString &firstName, const QString &midName, int item,
                            int runCount) const
{
    QJsonObject record{
        {QStringLiteral("firstName"), firstName},
        {QStringLiteral("lastName"), lastName},
        {QStringLiteral("midName"), midName},
        {QStringLiteral("name"), QString(lastName + QLatin1Char(' ') + firstName)},
        {QStringLiteral("uuid"), QUuid::createUuid().toString()},
        {QStringLiteral("salesItem"), QString()},
        {QStringLiteral("salesId"), -1},
        {QStringLiteral("salesCommonId"), -1},
        {QStringLiteral("priceType"), templateBlock},
        {QStringLiteral("carModel"), QString()},
        {QStringLiteral("carNum"), QString()},
        {QStringLiteral("carId"), -1},
        {QStringLiteral("paySum"), 0},
        {QStringLiteral("price"), 0},
        {QStringLiteral("discountValue"), QStringLiteral("0")},
        {QStringLiteral("color"), QStringLiteral("#ffffff")},
        {QStringLiteral("payMethod"), QString()},
        {QStringLiteral("payState"), false},
        {QStringLiteral("nfcUid"), QString()},
        {QStringLiteral("validSafetyAgreement"), false},
        {QStringLiteral("regTime"), 0},
        {QStringLiteral("clientId"), -1},
        {QStringLiteral("runCount"), runCount},
        {QStringLiteral("comment"), QString()},
    };
    if (item >= 0) {
        const Item &sold = m_items.at(item);
        record.insert(QStringLiteral("salesItem"), sold.name);
        record.insert(QStringLiteral("salesId"), sold.commonId);
        record.insert(QStringLiteral("salesCommonId"), sold.commonId);
        record.insert(QStringLiteral("carModel"), sold.model);
        record.insert(QStringLiteral("color"), sold.color);
        record.insert(QStringLiteral("price"), sold.price);
        record.insert(QStringLiteral("paySum"), sold.price * runCount);
    }
    return record;
}

bool DemoData::fillCheckInList()
{
    QJsonObject paid = racer(QStringLiteral("Лебедев"), QStringLiteral("Олег"), QStringLiteral("Викторович"), 2, 2);
    paid.insert(QStringLiteral("payMethod"), QStringLiteral("Карта"));
    paid.insert(QStringLiteral("payState"), true);
    paid.insert(QStringLiteral("pinCodes"), pins(pin(4711), 2));
    paid.insert(QStringLiteral("validSafetyAgreement"), true);
    paid.insert(QStringLiteral("kidsList"), QJsonArray());

    QJsonObject mother = racer(QStringLiteral("Морозова"), QStringLiteral("Елена"), QStringLiteral("Сергеевна"), 0, 1);
    mother.insert(QStringLiteral("pinCodes"), pins(pin(308), 1));
    QJsonObject child = racer(QStringLiteral("Морозов"), QStringLiteral("Тимофей"), QString(), 1, 1);
    child.insert(QStringLiteral("pinCodes"), pins(pin(2950), 1));
    for (const char *key : {"uuid", "firstName", "lastName", "midName"}) {
        const QString name = QLatin1String(key);
        const QString parentKey = QStringLiteral("parent") + name.at(0).toUpper() + name.mid(1);
        child.insert(parentKey, mother.value(name));
    }
    mother.insert(QStringLiteral("paySum"), m_items.at(0).price + m_items.at(1).price);
    mother.insert(QStringLiteral("kidsList"), QJsonArray{child});

    QJsonObject fresh = racer(QStringLiteral("Юдин"), QStringLiteral("Артём"), QString(), -1, 0);
    fresh.insert(QStringLiteral("pinCodes"), pins(pin(8164), 0));
    fresh.insert(QStringLiteral("kidsList"), QJsonArray());

    QFile journal(m_home.journalsDirectory() + QStringLiteral("/tickets.state"));
    if (!journal.open(QIODevice::WriteOnly))
        return false;
    for (const QJsonObject &line : {fresh, mother, paid})
        journal.write(QJsonDocument(line).toJson(QJsonDocument::Compact) + '\n');
    journal.close();
    return journal.error() == QFileDevice::NoError && storePayment(paid);
}

bool DemoData::storePayment(const QJsonObject &record)
{
    return m_database->write([&record](QSqlQuery &query) {
        query.prepare(QStringLiteral(
            "INSERT INTO payments (racer_guid, pay_date, client_id, first_name, last_name, mid_name, sum, tariff,"
            " discount, pay_state, pay_kind, car_model, tickets_count, comment, price_id, price_type, cashier_id)"
            " VALUES (?, ?, -1, ?, ?, ?, ?, ?, ?, 1, ?, ?, ?, '', ?, ?, -1)"));
        query.addBindValue(record.value(QStringLiteral("uuid")).toString());
        query.addBindValue(QDateTime::currentDateTimeUtc());
        for (const char *key : {"firstName", "lastName", "midName"})
            query.addBindValue(record.value(QLatin1String(key)).toString());
        for (const char *key : {"paySum", "price"})
            query.addBindValue(record.value(QLatin1String(key)).toDouble());
        for (const char *key : {"discountValue", "payMethod", "carModel"})
            query.addBindValue(record.value(QLatin1String(key)).toString());
        for (const char *key : {"runCount", "salesCommonId", "priceType"})
            query.addBindValue(record.value(QLatin1String(key)).toInt());
        query.exec();
    });
}
