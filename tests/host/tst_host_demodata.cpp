#include "demodata.h"
#include "hosttrack.h"
#include "runarchive.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>

class TestDemoData : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void carsOfSeveralModels();
    void everyItemStandsInBothBlocks();
    void racersMatchThePriceList();
    void settingsInTheStoredFormat();
    void paidRacerHasAPayment();
    void secondFillChangesNothing();
    void busyDayHasAQueueAndAHistory();

private:
    QVector<QVariantList> rows(const QString &sql);
    QByteArray journal() const;

    HostTrack m_track;
};

QVector<QVariantList> TestDemoData::rows(const QString &sql)
{
    QVector<QVariantList> found;
    if (!m_track.database->select(sql, &found))
        qWarning("%s", qPrintable(m_track.database->errorText()));
    return found;
}

QByteArray TestDemoData::journal() const
{
    QFile file(m_track.home->journalsDirectory() + QStringLiteral("/tickets.state"));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void TestDemoData::initTestCase()
{
    QVERIFY(m_track.open());
    QVERIFY(DemoData(*m_track.home, m_track.database.data()).fill());
}

void TestDemoData::carsOfSeveralModels()
{
    QVERIFY(rows(QStringLiteral("SELECT DISTINCT name FROM cars")).size() >= 2);
    const int cars = m_track.database->cars().size();
    QVERIFY(cars >= 8 && cars <= 12);
    QCOMPARE(rows(QStringLiteral("SELECT DISTINCT num, transponderId FROM cars")).size(), cars);
}

void TestDemoData::everyItemStandsInBothBlocks()
{
    const QVector<QVariantList> types = rows(QStringLiteral("SELECT id, name FROM price_types ORDER BY id"));
    QCOMPARE(types.size(), 2);
    QCOMPARE(types.at(0).at(0).toInt(), -1);
    QCOMPARE(types.at(1).at(0).toInt(), 1);

    const QVector<QVariantList> items =
        rows(QStringLiteral("SELECT a.id, a.common_id, a.sales_item = b.sales_item AND ifnull(a.model, '') = "
                            "ifnull(b.model, '') AND a.color = b.color AND a.show_remote = b.show_remote, a.sum <> "
                            "b.sum FROM price_list a JOIN price_list b ON a.common_id = b.common_id AND a.price_type "
                            "= -1 AND b.price_type = 1"));
    QVERIFY(items.size() >= 3);
    QCOMPARE(rows(QStringLiteral("SELECT id FROM price_list")).size(), 2 * items.size());
    int ownPrices = 0;
    for (const QVariantList &item : items) {
        QCOMPARE(item.at(0).toInt(), item.at(1).toInt());
        QVERIFY(item.at(2).toBool());
        ownPrices += item.at(3).toInt();
    }
    QVERIFY(ownPrices > 0);
}

void TestDemoData::racersMatchThePriceList()
{
    const QList<QByteArray> lines = journal().trimmed().split('\n');
    QVERIFY(lines.size() >= 3);
    int sold = 0;
    int minors = 0;
    QStringList codes;
    for (const QByteArray &line : lines) {
        const QJsonObject racer = QJsonDocument::fromJson(line).object();
        QVERIFY(!racer.value(QStringLiteral("uuid")).toString().isEmpty());
        QJsonArray family = racer.value(QStringLiteral("kidsList")).toArray();
        minors += family.size();
        family.prepend(racer);
        double sum = 0;
        for (const QJsonValue &value : qAsConst(family)) {
            const QJsonObject member = value.toObject();
            const int runs = member.value(QStringLiteral("runCount")).toInt();
            QCOMPARE(member.value(QStringLiteral("pinCodes")).toArray().size(), qMax(runs, 1));
            codes.append(member.value(QStringLiteral("pinCodes")).toArray().at(0).toString());
            sum += runs * member.value(QStringLiteral("price")).toDouble();
            if (member.value(QStringLiteral("salesItem")).toString().isEmpty())
                continue;
            ++sold;
            const QVector<QVariantList> item =
                rows(QStringLiteral("SELECT sales_item, sum FROM price_list WHERE id = %1")
                         .arg(member.value(QStringLiteral("salesId")).toInt()));
            QCOMPARE(item.size(), 1);
            QCOMPARE(item.at(0).at(0).toString(), member.value(QStringLiteral("salesItem")).toString());
            QCOMPARE(item.at(0).at(1).toDouble(), member.value(QStringLiteral("price")).toDouble());
        }
        QCOMPARE(racer.value(QStringLiteral("paySum")).toDouble(), sum);
    }
    QVERIFY(sold >= 3);
    QVERIFY(minors >= 1);
    QCOMPARE(codes.removeDuplicates(), 0);
}

void TestDemoData::settingsInTheStoredFormat()
{
    const QSettings settings(QStringLiteral("zz.ordvex"), QStringLiteral("prices"));
    for (const char *key : {"discounts", "paymethods"}) {
        const QJsonDocument list = QJsonDocument::fromJson(settings.value(QLatin1String(key)).toByteArray());
        QVERIFY2(list.isArray(), key);
        const QJsonArray texts = list.array();
        QVERIFY(!texts.isEmpty());
        for (const QJsonValue &text : texts)
            QVERIFY(text.isString());
    }
}

void TestDemoData::paidRacerHasAPayment()
{
    QStringList paid;
    const QList<QByteArray> lines = journal().trimmed().split('\n');
    for (const QByteArray &line : lines) {
        const QJsonObject racer = QJsonDocument::fromJson(line).object();
        if (racer.value(QStringLiteral("payState")).toBool())
            paid.append(racer.value(QStringLiteral("uuid")).toString());
    }
    QVERIFY(!paid.isEmpty());
    QStringList stored;
    const QVector<QVariantList> payments =
        rows(QStringLiteral("SELECT racer_guid FROM payments WHERE pay_state = 1 AND sum > 0"));
    for (const QVariantList &row : payments)
        stored.append(row.at(0).toString());
    QCOMPARE(stored, paid);
}

void TestDemoData::secondFillChangesNothing()
{
    const QByteArray before = journal();
    QVERIFY(DemoData(*m_track.home, m_track.database.data()).fill());
    QCOMPARE(journal(), before);
    QCOMPARE(rows(QStringLiteral("SELECT id FROM price_types")).size(), 2);
}

void TestDemoData::busyDayHasAQueueAndAHistory()
{
    const QTemporaryDir directory;
    const TrackHome home(directory.path());
    QString error;
    QVERIFY2(home.makeTree(&error), qPrintable(error));
    // One connection at a time: it goes by a name.
    m_track.database.reset();
    m_track.database.reset(new TrackDatabase(home.databaseFile()));
    QVERIFY(m_track.database->prepare());
    QVERIFY(DemoData(home, m_track.database.data()).fill(QSize(3, 9)));
    const auto read = [&home](const QString &name) {
        QFile file(home.journalsDirectory() + name);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    };

    const QList<QByteArray> queue = read(QStringLiteral("/runslist.state")).trimmed().split('\n');
    QCOMPARE(queue.size(), 3 * 10);
    QStringList uuids;
    QStringList codes;
    for (int line = 0; line < queue.size(); ++line) {
        const bool isRun = line % 10 == 0;
        const QByteArray tag = isRun ? QByteArrayLiteral("RUNITEM:") : QByteArrayLiteral("COMPETITOR:");
        QVERIFY2(queue.at(line).startsWith(tag), queue.at(line).constData());
        const QJsonObject json = QJsonDocument::fromJson(queue.at(line).mid(tag.size())).object();
        QVERIFY(!json.isEmpty());
        uuids.append(json.value(QStringLiteral("uuid")).toString());
        if (isRun)
            continue;
        QCOMPARE(json.value(QStringLiteral("competitorId")).toInt(), -1000 - (line % 10));
        QVERIFY(json.value(QStringLiteral("payState")).toBool());
        codes.append(json.value(QStringLiteral("pinCodes")).toArray().at(0).toString());
        const int carId = json.value(QStringLiteral("carId")).toInt(-1);
        if (carId != -1) {
            const QVector<QVariantList> car =
                rows(QStringLiteral("SELECT name, num FROM cars WHERE id = %1").arg(carId));
            QCOMPARE(car.value(0).value(0).toString(), json.value(QStringLiteral("carModel")).toString());
            QCOMPARE(car.value(0).value(1).toString(), json.value(QStringLiteral("carNum")).toString());
        }
    }
    QCOMPARE(uuids.removeDuplicates(), 0);

    const QJsonArray history = QJsonDocument::fromJson(read(QStringLiteral("/runshistory.state"))).array();
    const QJsonArray archived = RunArchive(m_track.database.data()).startedSince(0);
    QVERIFY(history.size() >= 2);
    QCOMPARE(archived.size(), history.size());
    for (int run = 0; run < history.size(); ++run) {
        const QJsonObject record = history.at(run).toObject();
        const QJsonObject kept = archived.at(run).toObject();
        QCOMPARE(record.value(QStringLiteral("runQueueGuid")), kept.value(QStringLiteral("runQueueGuid")));
        QCOMPARE(record.value(QStringLiteral("runNum")), kept.value(QStringLiteral("runNum")));
        QCOMPARE(record.value(QStringLiteral("runCompetitors")).toObject().size(), 9);
        QCOMPARE(kept.value(QStringLiteral("durationMs")).toInt(), 600000);
    }
    const QList<QByteArray> list = read(QStringLiteral("/tickets.state")).trimmed().split('\n');
    for (const QByteArray &line : list) {
        const QJsonObject racer = QJsonDocument::fromJson(line).object();
        QVERIFY(racer.contains(QStringLiteral("kidsList")));
        codes.append(racer.value(QStringLiteral("pinCodes")).toArray().at(0).toString());
    }
    QCOMPARE(codes.removeDuplicates(), 0);
    QCOMPARE(rows(QStringLiteral("SELECT id FROM payments WHERE pay_state = 1")).size(),
             int(std::count_if(list.cbegin(), list.cend(),
                               [](const QByteArray &line) { return line.contains("\"payState\":true"); })));
}

QTEST_GUILESS_MAIN(TestDemoData)
#include "tst_host_demodata.moc"
