#include "desktest.h"
#include "jsonmatch.h"
#include "requestdesk.h"

#include <QDateTime>
#include <QJsonDocument>
#include <QUuid>

#include <memory>

/// What client programs change in the queue, with all that the host hears of it, in order: runs, seats, cars, refunds and
/// the control of runs. A new desk for each test.
class TestLocalQueue : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void moveRacer();
    void moveRacerIntoALockedRun();
    void moveRacerOfTwo();
    void moveRacerNowhere_data();
    void moveRacerNowhere();

    void printTicket();
    void printTicketOfTwins();
    void printTicketOfNobody_data();
    void printTicketOfNobody();

    void moveRun_data();
    void moveRun();
    void moveRunNowhere_data();
    void moveRunNowhere();
    void moveTheFirstRun_data();
    void moveTheFirstRun();

    void lockRun();
    void unlockRun();
    void lockNothing_data();
    void lockNothing();

    void deleteRun();
    void deleteRunWithRacers();
    void deleteTheCurrentRun();
    void deleteNothing_data();
    void deleteNothing();

    void addRun();
    void addRuns_data();
    void addRuns();
    void addRunsAtATime_data();
    void addRunsAtATime();

    void removeRacer();
    void removeRacerKeepsTheMark();
    void removeUnknownRacer_data();
    void removeUnknownRacer();
    void removeRacerFromNowhere_data();
    void removeRacerFromNowhere();

    void refund();
    void refundWithDefaults();
    void refundOfSeveral();
    void refundWithUnknownToken();
    void refundOfNobody_data();
    void refundOfNobody();

    void availableCars();
    void availableCarsWithoutLink();
    void availableCarsOfAStranger();
    void availableCarsOfNoRun_data();
    void availableCarsOfNoRun();

    void selectCar();
    void selectCarByIdOnly();
    void selectCarOfAnother();
    void selectCarOfTheList();
    void selectTheSameCar();
    void selectCarWithoutARun_data();
    void selectCarWithoutARun();
    void selectCarThatDoesNotFit();
    void selectCarOfAnotherModel();
    void selectBrokenCar();
    void selectCarNeverAsks_data();
    void selectCarNeverAsks();
    void releaseCar();
    void selectCarOfNobody_data();
    void selectCarOfNobody();

    void startRun();
    void startTheHead();
    void pauseRun();
    void closeRun();
    void closeRunningRun();
    void controlNothing_data();
    void controlNothing();

private:
    HostProbe &host() { return m_desk->host(); }
    /// Runs {A} with {r} and {n}, {B} with {m}, and {C}, without anybody.
    bool open();
    static QString whole() { return QStringLiteral("{A}[{r}:-1 {n}:-1] {B}[{m}:-1] {C}[]"); }
    QStringList published(const char *queue) { return RequestDesk::published(text(queue)); }

    std::unique_ptr<RequestDesk> m_desk;
};

namespace {

using JsonMatch::object;

QStringList bare()
{
    return {RequestDesk::bare()};
}

QJsonObject seat(const char *uuid, int competitorId, const char *more = "{}")
{
    return TrackOffice::seat(QString::fromLatin1(uuid), competitorId, object(more));
}

QStringList withAnswer(QStringList events)
{
    return events << RequestDesk::bare();
}

} // namespace

void TestLocalQueue::init()
{
    m_desk = std::make_unique<RequestDesk>();
}

void TestLocalQueue::cleanup()
{
    m_desk.reset();
}

bool TestLocalQueue::open()
{
    m_desk->seedCashier(QStringLiteral("{t}"), 7, text("Кассирова"));
    m_desk->seedQueue({{QStringLiteral("{A}"), {seat("{r}", -1001), seat("{n}", -1002)}},
                       {QStringLiteral("{B}"), {seat("{m}", -1001)}},
                       {QStringLiteral("{C}")}});
    return m_desk->open();
}

void TestLocalQueue::moveRacer()
{
    QVERIFY(open());
    host().send(QStringLiteral("local_request"),
                RequestDesk::envelope(QStringLiteral("move_racer_to_run"),
                                      object(R"({"fromRun": "{A}", "toRun": "{B}", "racerGuid": "{r}"})")));
    QVector<HostEvent> events = host().take();
    QCOMPARE(events.size(), 5);
    QCOMPARE(events.at(0).event, QStringLiteral("write_sys_log"));
    QStringList told;
    for (int i = 1; i < 4; ++i)
        told.append(RequestDesk::sentence(events.at(i)));
    QCOMPARE(told, (QStringList{QStringLiteral("preset: {B} {m}:-1001:-1:-1 {r}:-1002:-1:-1")}
                    + published("{A}[{n}:-1] {B}[{m}:-1 {r}:-1] {C}[]")));
    // The answer holds the queue as it was published last.
    QCOMPARE(events.at(4).event, QStringLiteral("local_request_answer"));
    JSON_COMPARE(events.at(4).data,
                 (QJsonObject{{QStringLiteral("linkGuid"), QStringLiteral("{link}")},
                              {QStringLiteral("runQueue"), events.at(3).data.value(QLatin1String("runQueue"))}}));
    QStringList stored;
    const QVector<QJsonObject> seats = m_desk->competitors();
    for (const QJsonObject &competitor : seats)
        stored.append(competitor.value(QLatin1String("uuid")).toString());
    QCOMPARE(stored, (QStringList{QStringLiteral("{n}"), QStringLiteral("{m}"), QStringLiteral("{r}")}));
}

// Neither a lock nor a limit keeps a client program from it.
void TestLocalQueue::moveRacerIntoALockedRun()
{
    m_desk->seedQueue({{QStringLiteral("{A}"), {seat("{r}", -1001, R"({"carId": 1, "carNum": "12"})")}},
                       {QStringLiteral("{B}"),
                        {seat("{m}", -1001, R"({"carId": 1, "carNum": "12"})")},
                        object(R"({"runLocked": true, "maxRacersInRun": 1})")}});
    QVERIFY(m_desk->open());
    const QStringList heard =
        m_desk->ask("move_racer_to_run", R"({"fromRun": "{A}", "toRun": "{B}", "racerGuid": "{r}"})");
    // His car is taken there, so he comes without one.
    QCOMPARE(heard.mid(0, 3), (QStringList{QStringLiteral("preset: {B} {m}:-1001:1:-1 {r}:-1002:-1:-1")}
                               + published("{A}[] {B}#[{m}:1 {r}:-1]")));
}

void TestLocalQueue::moveRacerOfTwo()
{
    m_desk->seedQueue({{QStringLiteral("{A}"), {seat("{r}", -1001), seat("{r}", -1002)}}, {QStringLiteral("{B}")}});
    QVERIFY(m_desk->open());
    m_desk->ask("move_racer_to_run", R"({"fromRun": "{A}", "toRun": "{B}", "racerGuid": "{r}"})");
    QCOMPARE(m_desk->queue(), QStringLiteral("{A}[{r}:-1] {B}[{r}:-1]"));
    // Never twice into one run.
    QCOMPARE(m_desk->ask("move_racer_to_run", R"({"fromRun": "{A}", "toRun": "{B}", "racerGuid": "{r}"})").size(), 1);
    QCOMPARE(m_desk->queue(), QStringLiteral("{A}[{r}:-1] {B}[{r}:-1]"));
}

void TestLocalQueue::moveRacerNowhere_data()
{
    QTest::addColumn<QByteArray>("arguments");
    for (const char *arguments :
         {"{}", R"({"fromRun": "{A}", "toRun": "{A}", "racerGuid": "{r}"})",
          R"({"fromRun": "{X}", "toRun": "{B}", "racerGuid": "{r}"})",
          R"({"fromRun": "{A}", "toRun": "{X}", "racerGuid": "{r}"})",
          R"({"fromRun": "{A}", "toRun": "{B}", "racerGuid": "{x}"})",
          R"({"fromRun": "{A}", "toRun": "{B}", "racerGuid": "{m}"})",
          R"({"fromRun": "{B}", "toRun": "{A}", "racerGuid": "{r}"})", R"({"fromRun": "{A}", "toRun": "{B}"})",
          R"({"fromRun": 1, "toRun": {}, "racerGuid": []})"})
        QTest::newRow(arguments) << QByteArray(arguments);
}

void TestLocalQueue::moveRacerNowhere()
{
    QFETCH(QByteArray, arguments);
    QVERIFY(open());
    const QString before = m_desk->queue();
    host().send(QStringLiteral("local_request"),
                RequestDesk::envelope(QStringLiteral("move_racer_to_run"), object(arguments.constData())));
    QCOMPARE(host().names(), (QStringList{QStringLiteral("write_sys_log"), QStringLiteral("local_request_answer")}));
    const QJsonObject answer = host().last(QStringLiteral("local_request_answer"));
    QCOMPARE(answer.keys(), (QStringList{QStringLiteral("linkGuid"), QStringLiteral("runQueue")}));
    JSON_CONTAINS(answer, object(R"({"runQueue": {"currentRun": {"runCompetitors": {"-1001": {"uuid": "{r}"}}},
        "pendingRuns": [{"runQueueGuid": "{B}"}, {"runQueueGuid": "{C}"}]}})"));
    QCOMPARE(before, whole());
    QCOMPARE(m_desk->queue(), whole());
}

void TestLocalQueue::printTicket()
{
    m_desk->seedQueue(
        {{QStringLiteral("{A}"), {seat("{n}", -1001)}},
         {QStringLiteral("{B}"),
          {seat("{m}", -1001),
           seat("{r}", -1002, R"({"name": "Иванов Иван", "salesItem": "Взрослый", "pinCodes": ["0707", "0808"]})")},
          object(R"({"runName": "Кубок", "nameForced": true})")},
         {QStringLiteral("{C}"), {seat("{r}", -1001, R"({"pinCodes": []})")}}});
    QVERIFY(m_desk->open());
    const QString today = QDate::currentDate().toString(QStringLiteral("dd.MM.yyyy"));
    const auto job = [&](const char *run, const char *client, const char *item, const char *pin) {
        return QStringLiteral("print_document: ")
               + compact({{QStringLiteral("printParams"),
                           QJsonObject{{QStringLiteral("ticketSrc"), QStringLiteral("runQueue")},
                                       {QStringLiteral("PRINTDATE"), today},
                                       {QStringLiteral("RUNNAME"), text(run)},
                                       {QStringLiteral("CLIENTNAME"), text(client)},
                                       {QStringLiteral("SALESITEM"), text(item)},
                                       {QStringLiteral("PINCODE"), text(pin)}}},
                          {QStringLiteral("templateName"), QStringLiteral("pos_ticket")}});
    };
    QCOMPARE(m_desk->ask("print_ticket", R"({"runQueueGuid": "{B}", "racerGuid": "{r}"})"),
             withAnswer({job("Кубок", "Иванов Иван", "Взрослый", "0707")}));
    QCOMPARE(m_desk->ask("print_ticket", R"({"runQueueGuid": "{C}", "racerGuid": "{r}"})"),
             withAnswer({job("Заезд №1", "{r}", "", "")}));
}

// One ticket, however many seats the racer has there.
void TestLocalQueue::printTicketOfTwins()
{
    m_desk->seedQueue(
        {{QStringLiteral("{A}"),
          {seat("{r}", -1001, R"({"pinCodes": ["0001"]})"), seat("{r}", -1002, R"({"pinCodes": ["0002"]})")}},
         {QStringLiteral("{B}"), {seat("{r}", -1001, R"({"pinCodes": ["0003"]})")}}});
    QVERIFY(m_desk->open());
    QCOMPARE(m_desk->ask("print_ticket", R"({"runQueueGuid": "{A}", "racerGuid": "{r}"})").size(), 2);
    QVERIFY(m_desk->ask("print_ticket", R"({"runQueueGuid": "{A}", "racerGuid": "{r}"})")
                .first()
                .contains(QStringLiteral("\"PINCODE\":\"0001\"")));
}

void TestLocalQueue::printTicketOfNobody_data()
{
    QTest::addColumn<QByteArray>("arguments");
    for (const char *arguments :
         {"{}", R"({"runQueueGuid": "{A}"})", R"({"racerGuid": "{r}"})", R"({"runQueueGuid": "", "racerGuid": "{r}"})",
          R"({"runQueueGuid": "{A}", "racerGuid": ""})", R"({"runQueueGuid": "{X}", "racerGuid": "{r}"})",
          R"({"runQueueGuid": "{A}", "racerGuid": "{x}"})", R"({"runQueueGuid": "{B}", "racerGuid": "{r}"})",
          R"({"runQueueGuid": ["{A}"], "racerGuid": {"a": "{r}"}})",
          R"({"runQueueGuid": "current", "racerGuid": "{r}"})"})
        QTest::newRow(arguments) << QByteArray(arguments);
}

void TestLocalQueue::printTicketOfNobody()
{
    QFETCH(QByteArray, arguments);
    QVERIFY(open());
    QCOMPARE(m_desk->ask("print_ticket", arguments.constData()), bare());
}

void TestLocalQueue::moveRun_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<QString>("target");
    QTest::addColumn<QString>("order");
    const auto row = [](const char *name, const char *source, const char *target, const char *order) {
        QTest::newRow(name) << QString::fromLatin1(source) << QString::fromLatin1(target) << QString::fromLatin1(order);
    };
    row("up", "{D}", "{B}", "{A}[{r}:-1] {D}[] {B}[] {C}[] {E}[]");
    row("down", "{B}", "{D}", "{A}[{r}:-1] {C}[] {D}[] {B}[] {E}[]");
    row("one up", "{C}", "{B}", "{A}[{r}:-1] {C}[] {B}[] {D}[] {E}[]");
    row("one down", "{B}", "{C}", "{A}[{r}:-1] {C}[] {B}[] {D}[] {E}[]");
    row("to the head", "{C}", "{A}", "{C}[] {A}[{r}:-1] {B}[] {D}[] {E}[]");
    row("to the end", "{B}", "{E}", "{A}[{r}:-1] {C}[] {D}[] {E}[] {B}[]");
    row("from the end", "{E}", "{B}", "{A}[{r}:-1] {E}[] {B}[] {C}[] {D}[]");
}

void TestLocalQueue::moveRun()
{
    QFETCH(QString, source);
    QFETCH(QString, target);
    QFETCH(QString, order);
    m_desk->seedQueue({{QStringLiteral("{A}"), {seat("{r}", -1001)}},
                       {QStringLiteral("{B}")},
                       {QStringLiteral("{C}")},
                       {QStringLiteral("{D}")},
                       {QStringLiteral("{E}")}});
    QVERIFY(m_desk->open());
    QCOMPARE(m_desk->ask(QStringLiteral("move_run_in_queue"),
                         {{QStringLiteral("srcGuid"), source}, {QStringLiteral("dstGuid"), target}}),
             withAnswer(RequestDesk::published(order + QStringLiteral(" reload"))));
    QCOMPARE(m_desk->queue(), order);
    QCOMPARE(m_desk->runs()->count(), 5);
    // Only the head can be started, and the chain of times follows the new order.
    qint64 last = 0;
    for (int row = 0; row < 5; ++row)
        QCOMPARE(TrackOffice::startButton(m_desk->run(row))->isEnabled(), row == 0);
    const QJsonObject queue = m_desk->answer(QStringLiteral("run_queue")).value(QLatin1String("runQueue")).toObject();
    QJsonArray runs = queue.value(QLatin1String("pendingRuns")).toArray();
    runs.prepend(queue.value(QLatin1String("currentRun")));
    for (const QJsonValue &run : qAsConst(runs)) {
        const qint64 start = qint64(run.toObject().value(QLatin1String("runStartTime")).toDouble());
        QVERIFY(start > last);
        last = start;
    }
}

void TestLocalQueue::moveRunNowhere_data()
{
    QTest::addColumn<QByteArray>("arguments");
    for (const char *arguments : {"{}", R"({"srcGuid": "{B}"})", R"({"dstGuid": "{B}"})",
                                  R"({"srcGuid": "", "dstGuid": "{B}"})", R"({"srcGuid": "{A}", "dstGuid": ""})",
                                  R"({"srcGuid": "{X}", "dstGuid": "{B}"})", R"({"srcGuid": "{B}", "dstGuid": "{X}"})",
                                  R"({"srcGuid": "{B}", "dstGuid": "{B}"})", R"({"srcGuid": 1, "dstGuid": 0})"})
        QTest::newRow(arguments) << QByteArray(arguments);
}

void TestLocalQueue::moveRunNowhere()
{
    QFETCH(QByteArray, arguments);
    QVERIFY(open());
    QCOMPARE(m_desk->ask("move_run_in_queue", arguments.constData()), bare());
    QCOMPARE(m_desk->queue(), whole());
}

void TestLocalQueue::moveTheFirstRun_data()
{
    QTest::addColumn<QByteArray>("arguments");
    for (const char *arguments : {R"({"srcGuid": "{A}", "dstGuid": "{B}"})", R"({"srcGuid": "{A}", "dstGuid": "{A}"})",
                                  R"({"srcGuid": "{A}", "dstGuid": "{X}"})"})
        QTest::newRow(arguments) << QByteArray(arguments);
}

// The one deliberate silence: not even the link comes back.
void TestLocalQueue::moveTheFirstRun()
{
    QFETCH(QByteArray, arguments);
    QVERIFY(open());
    QCOMPARE(m_desk->ask("move_run_in_queue", arguments.constData()), QStringList());
    QCOMPARE(m_desk->queue(), whole());
}

void TestLocalQueue::lockRun()
{
    QVERIFY(open());
    QCOMPARE(m_desk->ask("lock_unlock_run", R"({"runGuid": "{B}", "lockState": true})"),
             withAnswer(published("{A}[{r}:-1 {n}:-1] {B}#[{m}:-1] {C}[]")));
    QVERIFY(TrackOffice::hasIcon(TrackOffice::lockButton(m_desk->run(1)), "runLocked"));
    // Nothing changes the second time, and nobody hears of it.
    QCOMPARE(m_desk->ask("lock_unlock_run", R"({"runGuid": "{B}", "lockState": true})"), bare());
    QCOMPARE(m_desk->queue(), QStringLiteral("{A}[{r}:-1 {n}:-1] {B}#[{m}:-1] {C}[]"));
}

// Quiet, and the lock is still to be seen on the button.
void TestLocalQueue::unlockRun()
{
    QVERIFY(open());
    m_desk->ask("lock_unlock_run", R"({"runGuid": "{B}", "lockState": true})");
    QCOMPARE(m_desk->ask("lock_unlock_run", R"({"runGuid": "{B}", "lockState": false})"), bare());
    QVERIFY(TrackOffice::hasIcon(TrackOffice::lockButton(m_desk->run(1)), "runLocked"));
    QCOMPARE(m_desk->queue(), whole());
    // No state at all is no lock, too.
    m_desk->ask("lock_unlock_run", R"({"runGuid": "{B}", "lockState": true})");
    QCOMPARE(m_desk->ask("lock_unlock_run", R"({"runGuid": "{B}"})"), bare());
    QCOMPARE(m_desk->queue(), whole());
    for (const char *state : {"1", "\"true\"", "null", "{}"}) {
        const QByteArray arguments = R"({"runGuid": "{B}", "lockState": )" + QByteArray(state) + '}';
        QCOMPARE(m_desk->ask("lock_unlock_run", arguments.constData()), bare());
        QCOMPARE(m_desk->queue(), whole());
    }
}

void TestLocalQueue::lockNothing_data()
{
    QTest::addColumn<QByteArray>("arguments");
    for (const char *arguments :
         {"{}", R"({"lockState": true})", R"({"runGuid": "", "lockState": true})",
          R"({"runGuid": "{X}", "lockState": true})", R"({"runGuid": ["{A}"], "lockState": true})"})
        QTest::newRow(arguments) << QByteArray(arguments);
}

void TestLocalQueue::lockNothing()
{
    QFETCH(QByteArray, arguments);
    QVERIFY(open());
    QCOMPARE(m_desk->ask("lock_unlock_run", arguments.constData()), bare());
    QCOMPARE(m_desk->queue(), whole());
}

void TestLocalQueue::deleteRun()
{
    QVERIFY(open());
    QCOMPARE(m_desk->ask("delete_run_from_queue", R"({"runGuid": "{C}"})"),
             withAnswer(published("{A}[{r}:-1 {n}:-1] {B}[{m}:-1]")));
    QCOMPARE(m_desk->ask("delete_run_from_queue", R"({"runGuid": "{C}"})"), bare());
    QVERIFY(!m_desk->track().readJournal(QStringLiteral("runslist.state")).contains("{C}"));
}

// Nobody at the desk is asked; the racers' run goes into the history.
void TestLocalQueue::deleteRunWithRacers()
{
    QVERIFY(open());
    const ModalAnswer box = ModalAnswer::widget([](QWidget *widget) { widget->close(); });
    QCOMPARE(m_desk->ask("delete_run_from_queue", R"({"runGuid": "{A}"})"),
             withAnswer(published("{B}[{m}:-1] {C}[] | {A}")));
    HostProbe::settle(50);
    QVERIFY2(!box.answered(), "a question came");
    QVERIFY(TrackOffice::startButton(m_desk->run(0))->isEnabled());
    host().unload();
    const QJsonArray history =
        QJsonDocument::fromJson(m_desk->track().readJournal(QStringLiteral("runshistory.state"))).array();
    QCOMPARE(history.size(), 1);
    JSON_CONTAINS(history.first(), object(R"({"runQueueGuid": "{A}", "runCompetitors": {"-1001": {"uuid": "{r}"},
        "-1002": {"uuid": "{n}"}}})"));
}

// A run on the track stays; that nothing has changed is published all the same.
void TestLocalQueue::deleteTheCurrentRun()
{
    QVERIFY(open());
    host().send(QStringLiteral("new_run_started"), object(R"({"runNum": 1, "runQueueGuid": "{A}"})"));
    QCOMPARE(m_desk->ask("delete_run_from_queue", R"({"runGuid": "{A}"})"),
             withAnswer(RequestDesk::published(whole())));
}

void TestLocalQueue::deleteNothing_data()
{
    QTest::addColumn<QByteArray>("arguments");
    for (const char *arguments : {"{}", R"({"runGuid": ""})", R"({"runGuid": "{X}"})", R"({"runGuid": null})",
                                  R"({"runGuid": ["{A}"]})", R"({"runQueueGuid": "{A}"})"})
        QTest::newRow(arguments) << QByteArray(arguments);
}

void TestLocalQueue::deleteNothing()
{
    QFETCH(QByteArray, arguments);
    QVERIFY(open());
    QCOMPARE(m_desk->ask("delete_run_from_queue", arguments.constData()), bare());
    QCOMPARE(m_desk->queue(), whole());
}

void TestLocalQueue::addRun()
{
    QVERIFY(open());
    const QStringList heard = m_desk->ask("add_new_run");
    QCOMPARE(heard.size(), 3);
    const QString guid = heard.at(1).section(QLatin1Char(' '), -1).chopped(2);
    QVERIFY(!QUuid(guid).isNull());
    QCOMPARE(heard, withAnswer(RequestDesk::published(whole() + QStringLiteral(" %1[]").arg(guid))));
    JSON_CONTAINS(m_desk->answer(QStringLiteral("run_queue")),
                  object(R"({"runQueue": {"pendingRuns": [{}, {}, {"runNum": 2, "finishParam": 600, "finishMode": 1,
                      "runName": "Заезд №2", "runLocked": false, "runCompetitors": {}}]}})"));
}

void TestLocalQueue::addRuns_data()
{
    QTest::addColumn<QJsonValue>("count");
    QTest::addColumn<int>("added");
    QTest::newRow("absent") << QJsonValue(QJsonValue::Undefined) << 1;
    QTest::newRow("one") << QJsonValue(1) << 1;
    QTest::newRow("four") << QJsonValue(4) << 4;
    QTest::newRow("none") << QJsonValue(0) << 0;
    QTest::newRow("below none") << QJsonValue(-5) << 0;
    QTest::newRow("text") << QJsonValue(QStringLiteral("4")) << 1;
    QTest::newRow("fraction") << QJsonValue(2.5) << 1;
    QTest::newRow("null") << QJsonValue(QJsonValue::Null) << 1;
}

// However many runs there are, the queue is published once.
void TestLocalQueue::addRuns()
{
    QFETCH(QJsonValue, count);
    QFETCH(int, added);
    QVERIFY(open());
    QJsonObject arguments;
    arguments.insert(QStringLiteral("runsCount"), count);
    const QStringList heard = m_desk->ask(QStringLiteral("add_new_run"), arguments);
    QCOMPARE(heard.size(), 3);
    QVERIFY(heard.at(0).startsWith(QStringLiteral("remote: ") + whole()));
    QVERIFY(heard.at(1).startsWith(QStringLiteral("queue: ") + whole()));
    QCOMPARE(heard.at(2), RequestDesk::bare());
    QCOMPARE(heard.at(1).count(QStringLiteral("[]")), 1 + added);
    QCOMPARE(m_desk->runs()->count(), 3 + added);
}

void TestLocalQueue::addRunsAtATime_data()
{
    QTest::addColumn<QJsonValue>("start");
    QTest::addColumn<qint64>("first");
    // Behind the last run, with its pause and its ten minutes.
    const qint64 next = 1000000 + 180 + 600;
    QTest::newRow("absent") << QJsonValue(QJsonValue::Undefined) << next;
    QTest::newRow("next free") << QJsonValue(0) << next;
    QTest::newRow("at a time") << QJsonValue(2000000000) << qint64(2000000000);
    QTest::newRow("in the past") << QJsonValue(5) << qint64(5);
    QTest::newRow("more than 32 bits") << QJsonValue(4000000000.0) << next;
    QTest::newRow("text") << QJsonValue(QStringLiteral("2000000000")) << next;
}

void TestLocalQueue::addRunsAtATime()
{
    QFETCH(QJsonValue, start);
    QFETCH(qint64, first);
    m_desk->track().setSetting(QStringLiteral("fixedRunStartTimeInQueue"), true);
    m_desk->seedQueue({{QStringLiteral("{A}"), {}, object(R"({"startTime": 1000000})")}});
    QVERIFY(m_desk->open());
    QJsonObject arguments = object(R"({"runsCount": 2})");
    arguments.insert(QStringLiteral("startTime"), start);
    QCOMPARE(m_desk->ask(QStringLiteral("add_new_run"), arguments).size(), 3);
    JSON_CONTAINS(m_desk->answer(QStringLiteral("run_queue")).value(QLatin1String("runQueue")),
                  (QJsonObject{{QStringLiteral("pendingRuns"),
                                QJsonArray{QJsonObject{{QStringLiteral("runStartTime"), double(first)}},
                                           QJsonObject{{QStringLiteral("runStartTime"), double(first + 780)}}}}}));
}

void TestLocalQueue::removeRacer()
{
    QVERIFY(open());
    QCOMPARE(m_desk->ask("remove_racer_from_run", R"({"runGuid": "{A}", "racerGuid": "{r}"})"),
             withAnswer(published("{A}[{n}:-1] {B}[{m}:-1] {C}[]")));
    QCOMPARE(m_desk->competitors().size(), 2);
}

// The racer does not come back to the list as somebody who could be seated.
void TestLocalQueue::removeRacerKeepsTheMark()
{
    m_desk->counter().stockPrices();
    const QJsonObject once = object(R"({"runCount": 1, "pinCodes": ["0202"], "payState": true})");
    QJsonObject parent = m_desk->counter().sold(QStringLiteral("{a}"), once);
    parent.insert(QStringLiteral("kidsList"), QJsonArray{m_desk->counter().sold(QStringLiteral("{k}"), once)});
    m_desk->counter().seed({parent});
    QVERIFY(open());
    m_desk->ask("pay_and_seat_to_runs", R"({"uuidList": ["{a}"]})");
    QCOMPARE(m_desk->queue(), QStringLiteral("{A}[{r}:-1 {n}:-1 {a}:-1] {B}[{m}:-1] {C}[]"));
    const QVariant marked = m_desk->counter().at(0, Counter::Name).data(Qt::BackgroundRole);
    QVERIFY(marked.isValid());
    m_desk->ask("remove_racer_from_run", R"({"runGuid": "{A}", "racerGuid": "{a}"})");
    QCOMPARE(m_desk->queue(), whole());
    QCOMPARE(m_desk->counter().model()->rowCount(), 1);
    QCOMPARE(m_desk->counter().at(0, Counter::Name).data(Qt::BackgroundRole), marked);
}

void TestLocalQueue::removeUnknownRacer_data()
{
    QTest::addColumn<QByteArray>("arguments");
    for (const char *arguments : {R"({"runGuid": "{A}", "racerGuid": "{x}"})", R"({"runGuid": "{A}", "racerGuid": ""})",
                                  R"({"runGuid": "{A}"})", R"({"runGuid": "{A}", "racerGuid": 5})"})
        QTest::newRow(arguments) << QByteArray(arguments);
}

// The run is there: the queue is published, as it was.
void TestLocalQueue::removeUnknownRacer()
{
    QFETCH(QByteArray, arguments);
    QVERIFY(open());
    QCOMPARE(m_desk->ask("remove_racer_from_run", arguments.constData()), withAnswer(RequestDesk::published(whole())));
}

void TestLocalQueue::removeRacerFromNowhere_data()
{
    QTest::addColumn<QByteArray>("arguments");
    for (const char *arguments : {"{}", R"({"racerGuid": "{r}"})", R"({"runGuid": "{X}", "racerGuid": "{r}"})",
                                  R"({"runGuid": "", "racerGuid": "{r}"})", R"({"runGuid": {}, "racerGuid": "{r}"})"})
        QTest::newRow(arguments) << QByteArray(arguments);
}

void TestLocalQueue::removeRacerFromNowhere()
{
    QFETCH(QByteArray, arguments);
    QVERIFY(open());
    QCOMPARE(m_desk->ask("remove_racer_from_run", arguments.constData()), bare());
    QCOMPARE(m_desk->queue(), whole());
}

void TestLocalQueue::refund()
{
    m_desk->seedCashier(QStringLiteral("{t}"), 7, text("Кассирова"));
    m_desk->seedQueue(
        {{QStringLiteral("{A}"),
          {seat("{r}", -1001, R"({"clientId": 17, "lastName": "Иванов", "firstName": "Иван", "midName": "",
                            "price": 500, "paySum": 1000, "runCount": 2, "discountValue": "10", "payMethod": "Карта",
                            "salesCommonId": 4, "priceType": -1, "cashierId": 99, "comment": "прежний"})"),
           seat("{n}", -1002)}},
         {QStringLiteral("{B}"), {seat("{r}", -1001)}}});
    QVERIFY(m_desk->open());
    QCOMPARE(m_desk->ask("refund_tickets", R"({"runGuid": "{A}", "racerGuid": "{r}", "cashierToken": "{t}",
                 "refundComment": "Дождь", "refundTicketsCount": 1, "refundSum": 450.5})"),
             withAnswer(published("{A}[{n}:-1] {B}[{r}:-1]")));
    const QList<QVariantMap> rows = m_desk->counter().payments(1);
    QCOMPARE(rows.size(), 1);
    const QVariantMap &row = rows.first();
    const QString guid = row.value(QStringLiteral("racer_guid")).toString();
    QVERIFY(!QUuid(guid).isNull() && guid != QLatin1String("{r}"));
    QCOMPARE(row.value(QStringLiteral("cashier_id")).toInt(), 7);
    QCOMPARE(row.value(QStringLiteral("client_id")).toInt(), 17);
    QCOMPARE(row.value(QStringLiteral("last_name")).toString(), text("Иванов"));
    QCOMPARE(row.value(QStringLiteral("sum")).toDouble(), -450.5);
    QCOMPARE(row.value(QStringLiteral("tickets_count")).toInt(), -1);
    QCOMPARE(row.value(QStringLiteral("tariff")).toDouble(), 500.0);
    QCOMPARE(row.value(QStringLiteral("discount")).toString(), QStringLiteral("10"));
    QCOMPARE(row.value(QStringLiteral("comment")).toString(), text("Дождь"));
    QCOMPARE(row.value(QStringLiteral("pay_kind")).toString(), text("Карта"));
    QCOMPARE(row.value(QStringLiteral("price_id")).toInt(), 4);
    QVERIFY(row.value(QStringLiteral("pay_state")).toBool());
}

// Without a count the racer still loses the seat that the request names; nothing is booked for it.
void TestLocalQueue::refundWithDefaults()
{
    QVERIFY(open());
    QCOMPARE(m_desk->ask("refund_tickets", R"({"runGuid": "{A}", "racerGuid": "{r}"})"),
             withAnswer(published("{A}[{n}:-1] {B}[{m}:-1] {C}[]")));
    const QList<QVariantMap> rows = m_desk->counter().payments(1);
    QCOMPARE(rows.size(), 1);
    QCOMPARE(rows.first().value(QStringLiteral("cashier_id")).toInt(), -1);
    QCOMPARE(rows.first().value(QStringLiteral("sum")).toDouble(), 0.0);
    QCOMPARE(rows.first().value(QStringLiteral("tickets_count")).toInt(), 0);
    QCOMPARE(rows.first().value(QStringLiteral("comment")).toString(), QString());
}

void TestLocalQueue::refundOfSeveral()
{
    m_desk->seedQueue({{QStringLiteral("{A}"), {seat("{r}", -1001)}},
                       {QStringLiteral("{B}"), {seat("{r}", -1001)}},
                       {QStringLiteral("{C}"), {seat("{r}", -1001)}}});
    QVERIFY(m_desk->open());
    // The named run first, then from the top.
    QCOMPARE(m_desk->ask("refund_tickets", R"({"runGuid": "{B}", "racerGuid": "{r}", "refundTicketsCount": 2})"),
             withAnswer(published("{A}[] {B}[] {C}[{r}:-1]")));
    // More than he has: all of them, and the count of the request is booked.
    QCOMPARE(m_desk->ask("refund_tickets", R"({"runGuid": "{C}", "racerGuid": "{r}", "refundTicketsCount": 5,
                 "refundSum": 5})"),
             withAnswer(published("{A}[] {B}[] {C}[]")));
    const QList<QVariantMap> rows = m_desk->counter().payments(2);
    QCOMPARE(rows.size(), 2);
    QCOMPARE(rows.at(0).value(QStringLiteral("tickets_count")).toInt(), -2);
    QCOMPARE(rows.at(1).value(QStringLiteral("tickets_count")).toInt(), -5);
}

void TestLocalQueue::refundWithUnknownToken()
{
    QVERIFY(open());
    QCOMPARE(m_desk
                 ->ask("refund_tickets", R"({"runGuid": "{A}", "racerGuid": "{r}", "cashierToken": "{x}",
                 "refundTicketsCount": 1, "refundSum": 1})")
                 .size(),
             3);
    const QList<QVariantMap> rows = m_desk->counter().payments(1);
    QCOMPARE(rows.size(), 1);
    QCOMPARE(rows.first().value(QStringLiteral("cashier_id")).toInt(), -1);
}

void TestLocalQueue::refundOfNobody_data()
{
    QTest::addColumn<QByteArray>("arguments");
    for (const char *arguments :
         {"{}", R"({"runGuid": "{A}"})", R"({"racerGuid": "{r}"})", R"({"runGuid": "{X}", "racerGuid": "{r}"})",
          R"({"runGuid": "{B}", "racerGuid": "{r}"})", R"({"runGuid": "{A}", "racerGuid": "{x}"})",
          R"({"runGuid": "{A}", "racerGuid": ""})", R"({"runGuid": "", "racerGuid": "{r}"})",
          R"({"runGuid": ["{A}"], "racerGuid": ["{r}"]})"})
        QTest::newRow(arguments) << QByteArray(arguments);
}

void TestLocalQueue::refundOfNobody()
{
    QFETCH(QByteArray, arguments);
    QVERIFY(open());
    QJsonObject json = object(arguments.constData());
    json.insert(QStringLiteral("refundTicketsCount"), 2);
    json.insert(QStringLiteral("refundSum"), 100);
    QCOMPARE(m_desk->ask(QStringLiteral("refund_tickets"), json), bare());
    QCOMPARE(m_desk->queue(), whole());
    QCOMPARE(m_desk->counter().paymentCount(), 0);
}

void TestLocalQueue::availableCars()
{
    m_desk->seedQueue(
        {{QStringLiteral("{A}"), {seat("{r}", -1001), seat("{n}", -1002, R"({"carId": 4, "carNum": "9"})")}}});
    QVERIFY(m_desk->open());
    const auto car = [](int id, const char *model, const char *num, bool available = true) {
        return TrackOffice::car(id, QString::fromLatin1(model), QString::fromLatin1(num), available);
    };
    host().send(QStringLiteral("cars_list_changed"),
                {{QStringLiteral("cars"), QJsonArray{car(1, "Sodi", "12"), car(2, "Sodi", "7"), car(3, "Rimo", "1"),
                                                     car(4, "Sodi", "9"), car(5, "Sodi", "3", false)}}});
    host().clear();
    host().send(QStringLiteral("local_request"),
                RequestDesk::envelope(QStringLiteral("get_available_cars"),
                                      object(R"({"clientGuid": "{r}", "runQueueGuid": "{A}"})")));
    QCOMPARE(host().names(), (QStringList{QStringLiteral("write_sys_log"), QStringLiteral("local_request_answer")}));
    // By number, not by id; neither the taken car nor the one out of order.
    JSON_COMPARE(host().last(QStringLiteral("local_request_answer")),
                 (QJsonObject{{QStringLiteral("linkGuid"), QStringLiteral("{link}")},
                              {QStringLiteral("clientGuid"), QStringLiteral("{r}")},
                              {QStringLiteral("runQueueGuid"), QStringLiteral("{A}")},
                              {QStringLiteral("availableCarsList"),
                               QJsonArray{car(2, "Sodi", "7"), car(1, "Sodi", "12")}}}));
}

void TestLocalQueue::availableCarsWithoutLink()
{
    QVERIFY(open());
    m_desk->sendCars();
    host().send(
        QStringLiteral("local_request"),
        object(R"({"request": "get_available_cars", "requestData": {"clientGuid": "{m}", "runQueueGuid": "{B}"}})"));
    const QJsonObject answer = host().last(QStringLiteral("local_request_answer"));
    QCOMPARE(answer.keys(), (QStringList{QStringLiteral("availableCarsList"), QStringLiteral("clientGuid"),
                                         QStringLiteral("runQueueGuid")}));
    QCOMPARE(answer.value(QLatin1String("availableCarsList")).toArray().size(), 2);
}

// Who is not in the run has booked no model: only cars of no model are free for him.
void TestLocalQueue::availableCarsOfAStranger()
{
    QVERIFY(open());
    host().send(QStringLiteral("cars_list_changed"),
                {{QStringLiteral("cars"), QJsonArray{TrackOffice::car(1, QStringLiteral("Sodi"), QStringLiteral("1")),
                                                     TrackOffice::car(2, QString(), QStringLiteral("2"))}}});
    for (const char *guid : {"{x}", "{m}", ""}) {
        const QJsonObject answer = m_desk->answer(QStringLiteral("get_available_cars"),
                                                  {{QStringLiteral("clientGuid"), QString::fromLatin1(guid)},
                                                   {QStringLiteral("runQueueGuid"), QStringLiteral("{A}")}});
        QCOMPARE(answer.value(QLatin1String("clientGuid")), QJsonValue(QString::fromLatin1(guid)));
        JSON_COMPARE(answer.value(QLatin1String("availableCarsList")),
                     (QJsonArray{TrackOffice::car(2, QString(), QStringLiteral("2"))}));
    }
}

void TestLocalQueue::availableCarsOfNoRun_data()
{
    QTest::addColumn<QByteArray>("arguments");
    for (const char *arguments :
         {"{}", R"({"clientGuid": "{r}"})", R"({"clientGuid": "{r}", "runQueueGuid": ""})",
          R"({"clientGuid": "{r}", "runQueueGuid": "{X}"})", R"({"clientGuid": "{r}", "runQueueGuid": "current"})",
          R"({"clientGuid": "{r}", "runQueueGuid": 1})"})
        QTest::newRow(arguments) << QByteArray(arguments);
}

void TestLocalQueue::availableCarsOfNoRun()
{
    QFETCH(QByteArray, arguments);
    QVERIFY(open());
    QCOMPARE(m_desk->ask("get_available_cars", arguments.constData()), bare());
}

void TestLocalQueue::selectCar()
{
    QVERIFY(open());
    m_desk->sendCars();
    QCOMPARE(m_desk->ask("select_car", R"({"runQueueGuid": "{A}", "uuid": "{n}", "targetCar": {"id": 2}})"),
             withAnswer(QStringList{QStringLiteral("preset: {A} {r}:-1001:-1:-1 {n}:-1002:2:-1")}
                        + published("{A}[{r}:-1 {n}:2] {B}[{m}:-1] {C}[]")));
    JSON_CONTAINS(m_desk->competitors().at(1), object(R"({"uuid": "{n}", "carId": 2, "carNum": "7"})"));
}

void TestLocalQueue::selectCarByIdOnly()
{
    QVERIFY(open());
    m_desk->sendCars();
    // Another name of the racer, and the car without its record.
    QCOMPARE(m_desk->ask("select_car", R"({"runQueueGuid": "{A}", "racerUuid": "{r}", "carId": 1})"),
             withAnswer(QStringList{QStringLiteral("preset: {A} {r}:-1001:1:-1 {n}:-1002:-1:-1")}
                        + published("{A}[{r}:1 {n}:-1] {B}[{m}:-1] {C}[]")));
    QCOMPARE(m_desk->ask("select_car", R"({"runQueueGuid": "{A}", "racerUuid": "{r}", "carId": 1})"), bare());
}

// Whoever drives the car in that run gives it up first, quietly; in another run he keeps it.
void TestLocalQueue::selectCarOfAnother()
{
    m_desk->seedQueue(
        {{QStringLiteral("{A}"), {seat("{r}", -1001, R"({"carId": 2, "carNum": "7"})"), seat("{n}", -1002)}},
         {QStringLiteral("{B}"), {seat("{m}", -1001, R"({"carId": 2, "carNum": "7"})")}}});
    QVERIFY(m_desk->open());
    m_desk->sendCars();
    QCOMPARE(m_desk->ask("select_car", R"({"runQueueGuid": "{A}", "uuid": "{n}", "targetCar": {"id": 2}})"),
             withAnswer(QStringList{QStringLiteral("preset: {A} {r}:-1001:-1:-1 {n}:-1002:2:-1")}
                        + published("{A}[{r}:-1 {n}:2] {B}[{m}:2]")));
    JSON_CONTAINS(m_desk->competitors().at(0), object(R"({"uuid": "{r}", "carId": -1, "carNum": ""})"));
}

// Also whoever has it on the check-in list.
void TestLocalQueue::selectCarOfTheList()
{
    m_desk->counter().seed({Counter::ticket(QStringLiteral("{a}"), object(R"({"carId": 2, "carNum": "7"})"))});
    QVERIFY(open());
    m_desk->sendCars();
    m_desk->ask("select_car", R"({"runQueueGuid": "{A}", "uuid": "{n}", "targetCar": {"id": 2}})");
    JSON_CONTAINS(m_desk->counter().line(0), object(R"({"uuid": "{a}", "carId": -1})"));
}

// Whoever has the car gives it up first, also the racer who is to get it: the host hears of him once more.
void TestLocalQueue::selectTheSameCar()
{
    QVERIFY(open());
    m_desk->sendCars();
    const QStringList first =
        m_desk->ask("select_car", R"({"runQueueGuid": "{A}", "uuid": "{n}", "targetCar": {"id": 2}})");
    QCOMPARE(first.size(), 4);
    QCOMPARE(m_desk->ask("select_car", R"({"runQueueGuid": "{A}", "uuid": "{n}", "targetCar": {"id": 2}})"), first);
}

void TestLocalQueue::selectCarWithoutARun_data()
{
    QTest::addColumn<QByteArray>("arguments");
    for (const char *arguments : {R"({"uuid": "{n}", "targetCar": {"id": 2}})",
                                  R"({"runQueueGuid": "", "uuid": "{n}", "targetCar": {"id": 2}})",
                                  R"({"runQueueGuid": "current", "uuid": "{n}", "targetCar": {"id": 2}})"})
        QTest::newRow(arguments) << QByteArray(arguments);
}

// The car is taken away everywhere, without a word, and nobody gets it.
void TestLocalQueue::selectCarWithoutARun()
{
    QFETCH(QByteArray, arguments);
    const char *const car = R"({"carId": 2, "carNum": "7"})";
    m_desk->seedQueue({{QStringLiteral("{A}"), {seat("{r}", -1001, car), seat("{n}", -1002)}},
                       {QStringLiteral("{B}"), {seat("{m}", -1001, car)}}});
    QVERIFY(m_desk->open());
    m_desk->sendCars();
    QCOMPARE(m_desk->ask("select_car", arguments.constData()), bare());
    QCOMPARE(m_desk->queue(), QStringLiteral("{A}[{r}:-1 {n}:-1] {B}[{m}:-1]"));
}

// The former driver has given up the car by the time it turns out that it is none for the new one.
void TestLocalQueue::selectCarThatDoesNotFit()
{
    m_desk->seedQueue(
        {{QStringLiteral("{A}"),
          {seat("{r}", -1001, R"({"carId": 3, "carNum": "30", "carModel": "Rimo"})"), seat("{n}", -1002)}}});
    QVERIFY(m_desk->open());
    m_desk->sendCars();
    QCOMPARE(m_desk->ask("select_car", R"({"runQueueGuid": "{A}", "uuid": "{n}", "targetCar": {"id": 3}})"), bare());
    QCOMPARE(m_desk->queue(), QStringLiteral("{A}[{r}:-1 {n}:-1]"));
}

void TestLocalQueue::selectCarOfAnotherModel()
{
    QVERIFY(open());
    m_desk->sendCars();
    QCOMPARE(m_desk->ask("select_car", R"({"runQueueGuid": "{A}", "uuid": "{n}", "targetCar": {"id": 3}})"), bare());
    QCOMPARE(m_desk->ask("select_car", R"({"runQueueGuid": "{A}", "uuid": "{n}", "targetCar": {"id": 77}})"), bare());
    QCOMPARE(m_desk->queue(), whole());
    QCOMPARE(m_desk->ask("select_car",
                         R"({"runQueueGuid": "{A}", "uuid": "{n}", "targetCar": {"id": 3}, "manual": true})"),
             withAnswer(QStringList{QStringLiteral("preset: {A} {r}:-1001:-1:-1 {n}:-1002:3:-1")}
                        + published("{A}[{r}:-1 {n}:3] {B}[{m}:-1] {C}[]")));
}

void TestLocalQueue::selectBrokenCar()
{
    m_desk->seedQueue({{QStringLiteral("{A}"), {seat("{r}", -1001, R"({"carId": 1, "carNum": "12"})")}}});
    QVERIFY(m_desk->open());
    m_desk->sendCars();
    host().send(QStringLiteral("refresh_run_info"),
                object(R"({"runNum": 1, "runId": 55, "runQueueGuid": "{A}", "runState": "running"})"));
    QCOMPARE(m_desk->ask("select_car", R"({"runQueueGuid": "{A}", "uuid": "{r}", "targetCar": {"id": 2},
                 "changeCarReason": "brokenCar"})"),
             withAnswer({QStringLiteral("switch_car: {\"carId\":2,\"competitorId\":-1001,\"runId\":55,"
                                        "\"switchReason\":\"malfunction\"}")}));
    QCOMPARE(m_desk->queue(), QStringLiteral("{A}[{r}:2]"));
}

void TestLocalQueue::selectCarNeverAsks_data()
{
    QTest::addColumn<QByteArray>("more");
    for (const char *more :
         {"{}", R"({"isLocalRequest": false})", R"({"changeCarReason": "wrongCar"})",
          R"({"changeCarReason": "wrongCar", "isLocalRequest": true})", R"({"isLocalRequest": true})"})
        QTest::newRow(more) << QByteArray(more);
}

// Nobody at the desk knows why a client program changes the car of somebody who is on the track.
void TestLocalQueue::selectCarNeverAsks()
{
    QFETCH(QByteArray, more);
    m_desk->seedQueue({{QStringLiteral("{A}"), {seat("{r}", -1001, R"({"carId": 1, "carNum": "12"})")}}});
    QVERIFY(m_desk->open());
    m_desk->sendCars();
    host().send(QStringLiteral("refresh_run_results"),
                object(R"({"runQueueGuid": "{A}", "results": [{"competitorId": -1001, "state": 2}]})"));
    const ModalAnswer box = ModalAnswer::widget([](QWidget *widget) { widget->close(); });
    QJsonObject arguments = object(more.constData());
    arguments.insert(QStringLiteral("runQueueGuid"), QStringLiteral("{A}"));
    arguments.insert(QStringLiteral("uuid"), QStringLiteral("{r}"));
    arguments.insert(QStringLiteral("targetCar"), object(R"({"id": 2})"));
    QCOMPARE(m_desk->ask(QStringLiteral("select_car"), arguments),
             withAnswer(QStringList{QStringLiteral("preset: {A} {r}:-1001:2:-1")} + published("{A}[{r}:2]")));
    HostProbe::settle(50);
    QVERIFY2(!box.answered(), "a question came");
}

void TestLocalQueue::releaseCar()
{
    m_desk->seedQueue({{QStringLiteral("{A}"), {seat("{r}", -1001, R"({"carId": 1, "carNum": "12"})")}}});
    QVERIFY(m_desk->open());
    m_desk->sendCars();
    QCOMPARE(m_desk->ask("select_car", R"({"runQueueGuid": "{A}", "uuid": "{r}", "targetCar": {"id": -1}})"),
             withAnswer(QStringList{QStringLiteral("preset: {A} {r}:-1001:-1:-1")} + published("{A}[{r}:-1]")));
    JSON_CONTAINS(m_desk->competitors().at(0), object(R"({"carId": -1, "carNum": ""})"));
}

void TestLocalQueue::selectCarOfNobody_data()
{
    QTest::addColumn<QByteArray>("arguments");
    for (const char *arguments :
         {"{}", R"({"runQueueGuid": "{X}", "uuid": "{r}", "targetCar": {"id": 1}})",
          R"({"runQueueGuid": "{B}", "uuid": "{r}", "targetCar": {"id": 1}})",
          R"({"runQueueGuid": "{A}", "uuid": "{x}", "targetCar": {"id": 1}})",
          R"({"runQueueGuid": "{A}", "targetCar": {"id": 1}})", R"({"runQueueGuid": "{A}", "uuid": "{r}"})",
          R"({"runQueueGuid": "{A}", "uuid": "{r}", "targetCar": {"id": "1"}})",
          R"({"runQueueGuid": "{A}", "uuid": "{r}", "targetCar": 1})",
          R"({"runQueueGuid": 1, "uuid": "{r}", "targetCar": {"id": 1}})"})
        QTest::newRow(arguments) << QByteArray(arguments);
}

void TestLocalQueue::selectCarOfNobody()
{
    QFETCH(QByteArray, arguments);
    QVERIFY(open());
    m_desk->sendCars();
    QCOMPARE(m_desk->ask("select_car", arguments.constData()), bare());
    QCOMPARE(m_desk->queue(), whole());
}

void TestLocalQueue::startRun()
{
    m_desk->seedQueue({{QStringLiteral("{A}"), {seat("{r}", -1001)}},
                       {QStringLiteral("{B}"),
                        {seat("{m}", -1001, R"({"carId": 1, "clientId": 17})")},
                        object(R"({"finishMode": 2, "finishParam": 20, "sortMode": 1, "runName": "Кубок"})")},
                       {QStringLiteral("{C}")}});
    QVERIFY(m_desk->open());
    QCOMPARE(m_desk->ask("run_control", R"({"cmd": "start", "runQueueGuid": "{A}", "startingHits": [1]})"),
             withAnswer(
                 {text("start_run: {\"autoFinishParam\":600,\"preparation\":[{\"carId\":-1,\"clientId\":-1,"
                       "\"competitorId\":-1001,\"name\":\"{r}\"}],\"runName\":\"Заезд №1\",\"runQueueGuid\":\"{A}\","
                       "\"sortMode\":0,\"useAutoFinish\":\"TIME\"}")}));
    // Any run, not only the head of the queue; and an empty one, too.
    QCOMPARE(m_desk->ask("run_control", R"({"cmd": "start", "runQueueGuid": "{B}"})"),
             withAnswer({text("start_run: {\"autoFinishParam\":20,\"preparation\":[{\"carId\":1,\"clientId\":17,"
                              "\"competitorId\":-1001,\"name\":\"{m}\",\"sourceSet\":true}],\"runName\":\"Кубок\","
                              "\"runQueueGuid\":\"{B}\",\"sortMode\":1,\"useAutoFinish\":\"LAPS\"}")}));
    QCOMPARE(m_desk->ask("run_control", R"({"cmd": "start", "runQueueGuid": "{C}"})"),
             withAnswer({text("start_run: {\"autoFinishParam\":600,\"preparation\":[],\"runName\":\"Заезд №1\","
                              "\"runQueueGuid\":\"{C}\",\"sortMode\":0,\"useAutoFinish\":\"TIME\"}")}));
}

// As for remote devices, there is a word for the head of the queue.
void TestLocalQueue::startTheHead()
{
    QVERIFY(open());
    const QStringList heard = m_desk->ask("run_control", R"({"cmd": "start", "runQueueGuid": "current"})");
    QCOMPARE(heard.size(), 2);
    QVERIFY(heard.first().startsWith(QStringLiteral("start_run: ")));
    QVERIFY(heard.first().contains(QStringLiteral("\"runQueueGuid\":\"{A}\"")));
    QCOMPARE(heard.last(), RequestDesk::bare());
}

void TestLocalQueue::pauseRun()
{
    QVERIFY(open());
    host().send(QStringLiteral("refresh_run_info"),
                object(R"({"runNum": 1, "runId": 55, "runQueueGuid": "{A}", "runState": "running"})"));
    host().clear();
    const qint64 before = QDateTime::currentMSecsSinceEpoch();
    host().send(QStringLiteral("local_request"),
                RequestDesk::envelope(QStringLiteral("run_control"),
                                      object(R"({"cmd": "paus", "runQueueGuid": "{A}"})")));
    const qint64 after = QDateTime::currentMSecsSinceEpoch();
    QCOMPARE(host().names(), (QStringList{QStringLiteral("write_sys_log"), QStringLiteral("insert_hit"),
                                          QStringLiteral("local_request_answer")}));
    QJsonObject hit = host().last(QStringLiteral("insert_hit"));
    const double timestamp = hit.take(QStringLiteral("timestamp")).toDouble();
    QVERIFY(timestamp >= double(before) && timestamp <= double(after));
    JSON_COMPARE(hit, object(R"({"runId": 55, "flag": "RED", "doRestartIfNeeded": true})"));
    QCOMPARE(RequestDesk::sentence(host().take().last()), RequestDesk::bare());
}

void TestLocalQueue::closeRun()
{
    QVERIFY(open());
    QCOMPARE(m_desk->ask("run_control", R"({"cmd": "close", "runQueueGuid": "{B}"})"),
             withAnswer(QStringList{QStringLiteral("close_run: {\"command\":\"close_run\",\"runQueueGuid\":\"{B}\"}")}
                        + published("{A}[{r}:-1 {n}:-1] {C}[] | {B}")));
    // A run without anybody leaves no trace.
    QCOMPARE(m_desk->ask("run_control", R"({"cmd": "close", "runQueueGuid": "{C}"})"),
             withAnswer(QStringList{QStringLiteral("close_run: {\"command\":\"close_run\",\"runQueueGuid\":\"{C}\"}")}
                        + published("{A}[{r}:-1 {n}:-1] | {B}")));
}

// The marshal with the device knows what he does: nobody at the desk is asked.
void TestLocalQueue::closeRunningRun()
{
    QVERIFY(open());
    host().send(QStringLiteral("new_run_started"), object(R"({"runNum": 1, "runQueueGuid": "{A}"})"));
    host().send(QStringLiteral("refresh_run_info"),
                object(R"({"runNum": 1, "runId": 55, "runQueueGuid": "{A}", "runState": "running"})"));
    const ModalAnswer box = ModalAnswer::widget([](QWidget *widget) { widget->close(); });
    QCOMPARE(m_desk->ask("run_control", R"({"cmd": "close", "runQueueGuid": "{A}"})"),
             withAnswer(QStringList{QStringLiteral("close_run: {\"command\":\"close_run\",\"runQueueGuid\":\"{A}\"}")}
                        + published("{B}[{m}:-1] {C}[] | {A}")));
    HostProbe::settle(50);
    QVERIFY2(!box.answered(), "a question came");
}

void TestLocalQueue::controlNothing_data()
{
    QTest::addColumn<QByteArray>("arguments");
    for (const char *arguments :
         {"{}", R"({"cmd": "pause", "runQueueGuid": "{A}"})", R"({"cmd": "Start", "runQueueGuid": "{A}"})",
          R"({"cmd": "finish", "runQueueGuid": "{A}"})", R"({"cmd": "", "runQueueGuid": "{A}"})",
          R"({"runQueueGuid": "{A}"})", R"({"cmd": 1, "runQueueGuid": "{A}"})", R"({"cmd": "start"})",
          R"({"cmd": "start", "runQueueGuid": "{X}"})", R"({"cmd": "paus", "runQueueGuid": "{X}"})",
          R"({"cmd": "close", "runQueueGuid": "{X}"})", R"({"cmd": "close", "runQueueGuid": ""})",
          R"({"cmd": "close"})", R"({"cmd": ["close"], "runQueueGuid": "{A}"})"})
        QTest::newRow(arguments) << QByteArray(arguments);
}

void TestLocalQueue::controlNothing()
{
    QFETCH(QByteArray, arguments);
    QVERIFY(open());
    QCOMPARE(m_desk->ask("run_control", arguments.constData()), bare());
    QCOMPARE(m_desk->queue(), whole());
}

DESK_TEST_MAIN(TestLocalQueue)

#include "tst_localqueue.moc"
