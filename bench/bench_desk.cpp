// What a full desk costs: 60 lines, 20 runs of 8 racers, 100 runs in the history. Each figure stands beside its floor,
// which is what the same bytes cost when nothing is done with them but serialising, writing or parsing them once.

#include "desktest.h"

#include "plugin/ticketpluginform.h"
#include "printing/qrdrawing.h"
#include "printing/ticketlayout.h"
#include "runqueue/runcontainerwidget.h"
#include "vaneplugininterface.h"

#include <QFile>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPainter>
#include <QSignalSpy>
#include <QUuid>

#include <memory>

namespace {

constexpr int Lines = 60;
constexpr int Runs = 20;
constexpr int RacersInRun = 8;
constexpr int HistoryRuns = 100;
constexpr int SeatsOfOneRacer = 10;

QJsonObject racer(int number)
{
    return {
        {QStringLiteral("firstName"), QStringLiteral("Иван")},
        {QStringLiteral("lastName"), QStringLiteral("Иванов%1").arg(number)},
        {QStringLiteral("midName"), QStringLiteral("Иванович")},
        {QStringLiteral("name"), QStringLiteral("Иванов%1 Иван").arg(number)},
        {QStringLiteral("salesItem"), QStringLiteral("Взрослый заезд")},
        {QStringLiteral("salesId"), 1},
        {QStringLiteral("carModel"), QStringLiteral("Взрослый")},
        {QStringLiteral("carId"), -1},
        {QStringLiteral("price"), 900},
        {QStringLiteral("paySum"), 900},
        {QStringLiteral("discountValue"), QStringLiteral("10")},
        {QStringLiteral("color"), QStringLiteral("#90c8ff")},
        {QStringLiteral("payMethod"), QStringLiteral("Карта")},
        {QStringLiteral("payState"), true},
        {QStringLiteral("pinCodes"), QJsonArray{QStringLiteral("%1").arg(number, 4, 10, QLatin1Char('0'))}},
        {QStringLiteral("runCount"), 1},
        {QStringLiteral("uuid"), QUuid::createUuid().toString()},
    };
}

QByteArray compact(const QJsonObject &json)
{
    return QJsonDocument(json).toJson(QJsonDocument::Compact);
}

/// A host that takes every event and does nothing with it.
class SilentHost : public VanePluginInterface
{
public:
    quintptr hostOption1() override { return 0; }
    quintptr hostOption2() override { return 0; }
    QString tabCaption() override { return QString(); }
    QString moduleName() override { return QStringLiteral("ticket_plugin"); }
    QStringList sentEvents() override { return {}; }
    QStringList receivedEvents() override { return {}; }
    void pluginSlot(QString, QString, QJsonObject) override {}
};

} // namespace

class BenchDesk : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void publicationAndJournals();
    void floorSerialisingTheQueue();
    void journalWrite();
    void floorWritingTheSameBytes();
    void seatingInTenRuns();
    void floorSerialisingTenPresets();
    void recalcQueue();
    void restart();
    void floorParsingTheJournals();
    void wholeDeskForAClient();
    void ticketAtTheGate();
    void ticketDrawn();
    void floorCodeOfATicket();

private:
    void seed() const;

    std::unique_ptr<TempTrack> track;
    std::unique_ptr<TicketPluginForm> form;
    SilentHost host;
};

void BenchDesk::seed() const
{
    QByteArray lines;
    for (int line = 0; line < Lines; ++line)
        lines += compact(racer(line)) + '\n';
    track->writeJournal(QStringLiteral("tickets.state"), lines);

    QByteArray queue;
    int number = Lines;
    for (int run = 0; run < Runs; ++run) {
        queue +=
            "RUNITEM:"
            + compact({{QStringLiteral("runNum"), run + 1}, {QStringLiteral("uuid"), QUuid::createUuid().toString()}})
            + '\n';
        for (int seat = 0; seat < RacersInRun; ++seat) {
            QJsonObject entry = racer(number++);
            entry.insert(QStringLiteral("competitorId"), -1001 - seat);
            queue += "COMPETITOR:" + compact(entry) + '\n';
        }
    }
    track->writeJournal(QStringLiteral("runslist.state"), queue);

    QJsonArray history;
    for (int run = 0; run < HistoryRuns; ++run) {
        QJsonObject competitors;
        for (int seat = 0; seat < RacersInRun; ++seat)
            competitors.insert(QString::number(-1001 - seat), racer(number++));
        history.append(QJsonObject{
            {QStringLiteral("runQueueGuid"), QUuid::createUuid().toString()},
            {QStringLiteral("runNum"), run},
            {QStringLiteral("runStartTime"), 1700000000 + run * 780},
            {QStringLiteral("runCompetitors"), competitors},
        });
    }
    track->writeJournal(QStringLiteral("runshistory.state"), QJsonDocument(history).toJson());
}

void BenchDesk::initTestCase()
{
    track = std::make_unique<TempTrack>();
}

void BenchDesk::init()
{
    seed();
    form = std::make_unique<TicketPluginForm>();
    form->setPlugin(&host);
}

void BenchDesk::cleanup()
{
    form.reset();
}

void BenchDesk::publicationAndJournals()
{
    QBENCHMARK
    {
        form->runQueueChanged();
    }
}

void BenchDesk::floorSerialisingTheQueue()
{
    QSignalSpy events(&host, &VanePluginInterface::pluginSignal);
    form->runQueueChanged();
    const QJsonObject update = events.last().at(2).toJsonObject();
    QVERIFY(update.contains(QStringLiteral("runQueue")));
    QBENCHMARK
    {
        QVERIFY(!compact(update).isEmpty());
    }
}

void BenchDesk::journalWrite()
{
    // Without a host the same call publishes nothing and only writes.
    form->setPlugin(nullptr);
    QBENCHMARK
    {
        form->runQueueChanged();
    }
}

void BenchDesk::floorWritingTheSameBytes()
{
    const QByteArray tickets = track->readJournal(QStringLiteral("tickets.state"));
    const QByteArray queue = track->readJournal(QStringLiteral("runslist.state"));
    const auto write = [this](const QString &name, const QByteArray &bytes) {
        QFile file(track->journal(name));
        QVERIFY(file.open(QIODevice::WriteOnly));
        QCOMPARE(file.write(bytes), static_cast<qint64>(bytes.size()));
    };
    QBENCHMARK
    {
        write(QStringLiteral("floor1"), tickets);
        write(QStringLiteral("floor2"), queue);
    }
}

void BenchDesk::seatingInTenRuns()
{
    QJsonObject entry = racer(9000);
    entry.insert(QStringLiteral("runCount"), SeatsOfOneRacer);
    QBENCHMARK
    {
        entry.insert(QStringLiteral("uuid"), QUuid::createUuid().toString());
        form->seatRacers({entry}, 1, -1);
    }
}

void BenchDesk::floorSerialisingTenPresets()
{
    QJsonArray preset;
    for (int seat = 0; seat < RacersInRun; ++seat)
        preset.append(QJsonObject{{QStringLiteral("name"), QStringLiteral("Иванов Иван")},
                                  {QStringLiteral("carId"), -1},
                                  {QStringLiteral("clientId"), -1},
                                  {QStringLiteral("competitorId"), -1001 - seat}});
    QBENCHMARK
    {
        for (int run = 0; run < SeatsOfOneRacer; ++run)
            QVERIFY(!compact({{QStringLiteral("preset"), preset}}).isEmpty());
    }
}

void BenchDesk::recalcQueue()
{
    QBENCHMARK
    {
        form->recalcQueue(QString());
    }
}

void BenchDesk::restart()
{
    form.reset();
    QBENCHMARK
    {
        form = std::make_unique<TicketPluginForm>();
        form.reset();
    }
}

void BenchDesk::floorParsingTheJournals()
{
    form.reset();
    const QByteArray history = track->readJournal(QStringLiteral("runshistory.state"));
    const QList<QByteArray> lines =
        (track->readJournal(QStringLiteral("tickets.state")) + track->readJournal(QStringLiteral("runslist.state")))
            .split('\n');
    QBENCHMARK
    {
        QVERIFY(QJsonDocument::fromJson(history).isArray());
        for (const QByteArray &line : lines)
            QVERIFY(line.isEmpty() || QJsonDocument::fromJson(line.mid(line.indexOf('{'))).isObject());
    }
}

void BenchDesk::wholeDeskForAClient()
{
    const QJsonObject request{{QStringLiteral("request"), QStringLiteral("cash_data")}};
    QBENCHMARK
    {
        QCOMPARE(form->handleLocalRequest(request).value(QStringLiteral("checkInList")).toArray().size(), Lines);
    }
}

void BenchDesk::ticketAtTheGate()
{
    // The last racer of the queue, seated already: every line and every seat before him is looked at.
    const int lastSeated = Lines + Runs * RacersInRun - 1;
    const QJsonObject request{
        {QStringLiteral("request"), QStringLiteral("checkTicket")},
        {QStringLiteral("pinCode"), QStringLiteral("%1").arg(lastSeated, 4, 10, QLatin1Char('0'))},
    };
    QBENCHMARK
    {
        QCOMPARE(form->handleRemoteRequest(request).value(QStringLiteral("status")).toString(), QStringLiteral("ok"));
    }
}

void BenchDesk::ticketDrawn()
{
    QImage paper(576, 800, QImage::Format_RGB32);
    const TicketLayout::Ticket ticket =
        TicketLayout::ticketOf(racer(1), 0, QStringLiteral("Картодром"), QDateTime::currentDateTime());
    QBENCHMARK
    {
        paper.fill(Qt::white);
        QPainter painter(&paper);
        TicketLayout::drawTicket(painter, paper.rect(), ticket);
    }
}

void BenchDesk::floorCodeOfATicket()
{
    QBENCHMARK
    {
        QVERIFY(QrDrawing::encode(TicketLayout::qrPayload(QStringLiteral("0001")), qrcodegen::QrCode::Ecc::HIGH));
    }
}

DESK_TEST_MAIN(BenchDesk)

#include "bench_desk.moc"
