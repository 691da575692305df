#include "checkincounter.h"
#include "desktest.h"
#include "jsonmatch.h"
#include "onlineservice.h"
#include "trackoffice.h"

#include <QAction>
#include <QDateTime>
#include <QDialog>
#include <QJsonDocument>
#include <QUrlQuery>

#include <memory>

/// What remote devices ask of the desk: tickets at the gate, seats with cars, notices and the control of runs. Each test
/// looks at everything that the host hears, at the answer, and at the state that the desk is left in.
class TestRemoteControl : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void wrongTrack_data();
    void wrongTrack();
    void trackNotKnownYet_data();
    void trackNotKnownYet();
    void nameNobodyKnows_data();
    void nameNobodyKnows();
    void receiverOfTheAnswer_data();
    void receiverOfTheAnswer();
    void noAnswerWanted_data();
    void noAnswerWanted();

    void checkTicketSeats_data();
    void checkTicketSeats();
    void checkTicketSeatsIntoANewRun();
    void checkTicketForTheNextRun();
    void checkTicketMovesToTheNamedRun();
    void checkTicketMovesToTheNextRun();
    void checkTicketForAnUnknownRun();
    void checkTicketTellsTheCarsOfTheRun();
    void checkTicketLeavesTheSeatOutOnDemand_data();
    void checkTicketLeavesTheSeatOutOnDemand();
    void checkTicketCopies();
    void checkTicketUnpaid();
    void checkTicketUnpaidWithASeat();
    void checkTicketAgainWhileTheFamilyWaits();
    void checkTicketOfAMinor();
    void checkTicketWithoutALine();
    void checkTicketOfAnyModel();
    void checkTicketOfNobody_data();
    void checkTicketOfNobody();

    void setRacerSeatsAndGivesTheCar();
    void setRacerMakesTheFirstRun();
    void setRacerIntoARunThatIsClosed_data();
    void setRacerIntoARunThatIsClosed();
    void setRacerWithARunThatIsNotThere();
    void setRacerMovesToTheNextRun();
    void setRacerOfASeat();
    void setRacerByCodeAlone();
    void setRacerBusyCar_data();
    void setRacerBusyCar();
    void setRacerTakesTheCarAway();
    void setRacerTakesTheCarAwayInOneRun();
    void setRacerTakesTheCarFromLines();
    void setRacerReleasesEvenForNobody();
    void setRacerWithoutACar();
    void setRacerOfAnotherModel();
    void setRacerUnpaid();
    void setRacerCarOfAnotherModel();
    void setRacerCarThatHasTwoHolders();
    void setRacerSeatedLine();
    void setRacerReasons_data();
    void setRacerReasons();

    void notifyOfOtherThings_data();
    void notifyOfOtherThings();
    void notifyOfARecord_data();
    void notifyOfARecord();
    void notifyAsksTheService();
    void notifyAsksTheServiceByRacerId();
    void addRegistration();
    void addRegistrationOfAClient();

    void newRunControl_data();
    void newRunControl();
    void newRunControlInRaceMode();

    void runCommands_data();
    void runCommands();
    void runCommandsThatFindNothing_data();
    void runCommandsThatFindNothing();
    void finishWhateverIsThere();
    void durationOfTheRunOnTheTrack();
    void lapsAndMinutes_data();
    void lapsAndMinutes();

    void junk_data();
    void junk();
    void deepAndHuge();
    void whileADialogIsOpen_data();
    void whileADialogIsOpen();
    void hostAnswersFromInside_data();
    void hostAnswersFromInside();

private:
    /// One request: the answer, without `srcRequest`, and what the host heard between the two logs.
    struct Reply
    {
        QJsonObject answer;
        QStringList story;
    };

    HostProbe &desk() { return m_office->desk(); }
    void lines(const QList<QJsonObject> &seeded);
    bool open(const char *trackId = "T1");
    Reply ask(const QJsonObject &request);
    Reply ask(const char *request) { return ask(JsonMatch::object(request)); }
    QStringList story(const QVector<HostEvent> &events) const;
    /// Lines of the check-in list by identity.
    QStringList listed();
    QJsonObject line(const QString &uuid);
    /// The queue as `story` tells it.
    QString queue();

    std::unique_ptr<TrackOffice> m_office;
};

namespace {

using JsonMatch::object;

const QString Request = QStringLiteral("remote_control_data");
const QString Answer = QStringLiteral("remote_control_answer");

QJsonObject failed(const char *message)
{
    return {{QStringLiteral("status"), QStringLiteral("fail")}, {QStringLiteral("message"), text(message)}};
}

const char BadTrack[] = "Ошибка данных трассы!";
const char BadTicket[] = "Билет недействителен!";
const char BusyCar[] = "Машина занята!";
const char WrongCar[] = "Машина недоступна!";

QString compact(const QJsonObject &json)
{
    return QString::fromUtf8(QJsonDocument(json).toJson(QJsonDocument::Compact));
}

/// Identities made by the desk itself read as a question mark.
QString identity(const QJsonValue &value)
{
    const QString guid = value.toString();
    return guid.size() == 38 ? QStringLiteral("?") : guid;
}

QString withCar(const QString &who, const QJsonObject &json)
{
    const int car = json.value(QLatin1String("carId")).toInt(-1);
    return car == -1 ? who : QStringLiteral("%1=%2").arg(who).arg(car);
}

QString seatsOf(const QJsonObject &run)
{
    QMap<int, QString> seats;
    QStringList told;
    const QJsonObject racers = run.value(QLatin1String("runCompetitors")).toObject();
    for (auto it = racers.begin(); it != racers.end(); ++it) {
        const QJsonObject racer = it.value().toObject();
        seats.insert(-it.key().toInt(), withCar(identity(racer.value(QLatin1String("uuid"))), racer));
    }
    for (const QString &seat : qAsConst(seats))
        told.append(seat);
    return QStringLiteral("%1[%2]").arg(identity(run.value(QLatin1String("runQueueGuid"))),
                                        told.join(QLatin1Char(' ')));
}

/// The runs of a publication: `{r1}[{a}=5 {b}] {r2}[]`.
QString queueOf(const QJsonObject &publication)
{
    QStringList runs;
    const QJsonObject queue = publication.value(QLatin1String("runQueue")).toObject();
    if (queue.contains(QLatin1String("currentRun")))
        runs.append(seatsOf(queue.value(QLatin1String("currentRun")).toObject()));
    const QJsonArray pending = queue.value(QLatin1String("pendingRuns")).toArray();
    for (const QJsonValue &run : pending)
        runs.append(seatsOf(run.toObject()));
    return runs.isEmpty() ? QStringLiteral("nothing") : runs.join(QLatin1Char(' '));
}

bool isQueue(const QJsonObject &publication)
{
    return publication.keys()
               == QStringList{QStringLiteral("request"), QStringLiteral("runHistory"), QStringLiteral("runQueue")}
           && publication.value(QLatin1String("request")) == QLatin1String("runQueueUpdate");
}

QString told(const HostEvent &event)
{
    if (event.module != QLatin1String("ticket_plugin"))
        return QStringLiteral("foreign module %1").arg(event.module);
    if (event.event == QLatin1String("replace_run_preset")) {
        QStringList seats;
        const QJsonArray preset = event.data.value(QLatin1String("preset")).toArray();
        for (const QJsonValue &value : preset) {
            const QJsonObject row = value.toObject();
            seats.append(withCar(QString::number(row.value(QLatin1String("competitorId")).toInt()), row));
        }
        return QStringLiteral("preset %1[%2]")
            .arg(identity(event.data.value(QLatin1String("runQueueGuid"))), seats.join(QLatin1Char(' ')));
    }
    if (event.event == QLatin1String("local_request_answer") && event.data.contains(QLatin1String("checkInList"))) {
        QStringList lines{QStringLiteral("list")};
        const QJsonArray list = event.data.value(QLatin1String("checkInList")).toArray();
        for (const QJsonValue &line : list)
            lines.append(withCar(identity(line[QLatin1String("uuid")]), line.toObject()));
        return lines.join(QLatin1Char(' '));
    }
    if (event.event == QLatin1String("local_request_answer") && isQueue(event.data))
        return QStringLiteral("local queue ") + queueOf(event.data);
    return event.event + QLatin1Char(' ') + compact(event.data);
}

/// A paid line of one run with a Sodi, changed by `more`.
QJsonObject paid(const char *uuid, const char *pin, const QJsonObject &more = {})
{
    QJsonObject line = Counter::ticket(text(uuid), {{QStringLiteral("payState"), true},
                                                    {QStringLiteral("runCount"), 1},
                                                    {QStringLiteral("firstName"), QStringLiteral("Ann")},
                                                    {QStringLiteral("salesItem"), text("Взрослый")},
                                                    {QStringLiteral("salesId"), 1},
                                                    {QStringLiteral("carModel"), QStringLiteral("Sodi")},
                                                    {QStringLiteral("pinCodes"), QJsonArray{text(pin)}}});
    for (auto it = more.begin(); it != more.end(); ++it)
        line.insert(it.key(), it.value());
    return line;
}

QJsonObject seat(const char *uuid, int competitorId, const char *more = "{}")
{
    return TrackOffice::seat(text(uuid), competitorId, object(more));
}

QJsonArray fleet()
{
    return {TrackOffice::car(1, QStringLiteral("Sodi"), QStringLiteral("11")),
            TrackOffice::car(2, QStringLiteral("Sodi"), QStringLiteral("12")),
            TrackOffice::car(3, QStringLiteral("Rimo"), QStringLiteral("13"))};
}

} // namespace

void TestRemoteControl::init()
{
    m_office = std::make_unique<TrackOffice>();
}

void TestRemoteControl::cleanup()
{
    m_office.reset();
}

void TestRemoteControl::lines(const QList<QJsonObject> &seeded)
{
    QByteArray bytes;
    for (const QJsonObject &line : seeded)
        bytes += QJsonDocument(line).toJson(QJsonDocument::Compact) + '\n';
    m_office->track().writeJournal(QStringLiteral("tickets.state"), bytes);
}

bool TestRemoteControl::open(const char *trackId)
{
    if (!m_office->open())
        return false;
    if (trackId) {
        desk().send(QStringLiteral("track_id_updated"),
                    {{QStringLiteral("trackId"), text(trackId)}, {QStringLiteral("trackName"), text("Трек")}});
    }
    m_office->sendCars(fleet());
    return true;
}

QStringList TestRemoteControl::story(const QVector<HostEvent> &events) const
{
    QStringList lines;
    for (int i = 0; i < events.size(); ++i) {
        const HostEvent &event = events.at(i);
        const QJsonObject inner = event.data.value(QLatin1String("req_answ")).toObject();
        if (event.event != Answer || !isQueue(inner)) {
            lines.append(told(event));
            continue;
        }
        // The queue goes to remote devices first, and then the same object to client programs.
        QJsonObject wrapper{{QStringLiteral("req_answ"), inner}};
        QString sink;
        if (event.data.contains(QLatin1String("sinkId"))) {
            const QJsonValue receiver = event.data.value(QLatin1String("sinkId"));
            wrapper.insert(QStringLiteral("sinkId"), receiver);
            sink = QLatin1Char('@') + JsonMatch::text(receiver);
        }
        const bool paired = i + 1 < events.size() && events.at(i + 1).event == QLatin1String("local_request_answer")
                            && events.at(i + 1).data == inner && event.data == wrapper;
        if (paired)
            ++i;
        lines.append((paired ? QStringLiteral("queue") : QStringLiteral("remote queue")) + sink + QLatin1Char(' ')
                     + queueOf(inner));
    }
    return lines;
}

TestRemoteControl::Reply TestRemoteControl::ask(const QJsonObject &request)
{
    desk().clear();
    desk().send(Request, request);
    QVector<HostEvent> events = desk().take();
    const auto isLog = [](const HostEvent &event, const char *name, const QJsonObject &data) {
        return event.event == QLatin1String("write_sys_log")
               && event.data == QJsonObject{{QStringLiteral("logStr"), text(name)}, {QStringLiteral("logData"), data}};
    };
    if (events.size() < 3 || !isLog(events.first(), "remote_control_data", request))
        return {{}, QStringList(QStringLiteral("no log of the request")) + story(events)};
    const QJsonObject wrapper = events.last().data;
    if (events.last().event != Answer || !isLog(events.at(events.size() - 2), "remote_control_answer", wrapper))
        return {{}, QStringList(QStringLiteral("no answer with its log")) + story(events)};
    QJsonObject answer = wrapper.value(QLatin1String("req_answ")).toObject();
    QJsonObject expected{{QStringLiteral("req_answ"), answer}};
    if (request.contains(QLatin1String("sinkId")))
        expected.insert(QStringLiteral("sinkId"), request.value(QLatin1String("sinkId")));
    if (wrapper != expected)
        return {{}, {QStringLiteral("wrong wrapper ") + compact(wrapper)}};
    if (answer.take(QLatin1String("srcRequest")) != request.value(QLatin1String("request")).toString())
        return {{}, {QStringLiteral("wrong srcRequest ") + compact(wrapper)}};
    return {answer, story(events.mid(1, events.size() - 3))};
}

QStringList TestRemoteControl::listed()
{
    desk().send(QStringLiteral("client_account_data"));
    desk().clear();
    QStringList uuids;
    const QList<QByteArray> raw = m_office->track().readJournal(QStringLiteral("tickets.state")).split('\n');
    for (const QByteArray &bytes : raw) {
        if (!bytes.isEmpty())
            uuids.append(identity(object(bytes.constData()).value(QLatin1String("uuid"))));
    }
    return uuids;
}

QJsonObject TestRemoteControl::line(const QString &uuid)
{
    listed();
    const QList<QByteArray> raw = m_office->track().readJournal(QStringLiteral("tickets.state")).split('\n');
    for (const QByteArray &bytes : raw) {
        if (!bytes.isEmpty() && object(bytes.constData()).value(QLatin1String("uuid")).toString() == uuid)
            return object(bytes.constData());
    }
    return {};
}

QString TestRemoteControl::queue()
{
    m_office->publish();
    const QJsonObject publication = desk().last(QStringLiteral("local_request_answer"));
    desk().clear();
    return queueOf(publication);
}

void TestRemoteControl::wrongTrack_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QJsonValue>("track");
    for (const char *name : {"checkTicket", "setRacer", "notify", "addRegistration", "newRunControlConnected",
                             "doUpdateRunParams", "doStartQueue", "doFinishQueue", "doPauseQueue", "doCloseRunQueue",
                             "doUpdateRunDuration", "no such request", ""})
        QTest::newRow(name) << text(name) << QJsonValue(QStringLiteral("T2"));
    QTest::newRow("no track") << QStringLiteral("setRacer") << QJsonValue(QJsonValue::Undefined);
    QTest::newRow("empty track") << QStringLiteral("setRacer") << QJsonValue(QString());
    QTest::newRow("number") << QStringLiteral("setRacer") << QJsonValue(1);
    QTest::newRow("other case") << QStringLiteral("setRacer") << QJsonValue(QStringLiteral("t1"));
}

void TestRemoteControl::wrongTrack()
{
    QFETCH(QString, name);
    QFETCH(QJsonValue, track);
    lines({paid("{a}", "1111")});
    m_office->seedQueue({{text("{r1}"), {seat("{b}", -1001, R"({"carId": 1, "carNum": "11"})")}}});
    QVERIFY(open());
    const QStringList before = listed();
    QJsonObject request = object(R"({"sinkId": "{s}", "runQueueGuid": "{r1}", "racerUuid": "{a}", "pinCode": "1111",
        "carId": 1, "carNum": "11", "msg": "new_ticket_reg", "data": {"firstName": "X"}, "racerData": {"firstName": "X"},
        "newFinishParam": 60, "sortMode": 1, "finishMode": 2})");
    request.insert(QStringLiteral("request"), name);
    request.insert(QStringLiteral("trackId"), track);
    const QByteArray tickets = m_office->track().readJournal(QStringLiteral("tickets.state"));
    const QByteArray runs = m_office->track().readJournal(QStringLiteral("runslist.state"));
    const Reply reply = ask(request);
    QCOMPARE(reply.story, QStringList());
    JSON_COMPARE(reply.answer, failed(BadTrack));
    QCOMPARE(m_office->track().readJournal(QStringLiteral("tickets.state")), tickets);
    QCOMPARE(m_office->track().readJournal(QStringLiteral("runslist.state")), runs);
    QCOMPARE(listed(), before);
    QCOMPARE(queue(), text("{r1}[{b}=1]"));
}

void TestRemoteControl::trackNotKnownYet_data()
{
    QTest::addColumn<QJsonValue>("track");
    QTest::addColumn<bool>("accepted");
    QTest::newRow("absent") << QJsonValue(QJsonValue::Undefined) << true;
    QTest::newRow("empty") << QJsonValue(QString()) << true;
    QTest::newRow("some") << QJsonValue(QStringLiteral("T1")) << false;
    QTest::newRow("blank") << QJsonValue(QStringLiteral(" ")) << false;
}

void TestRemoteControl::trackNotKnownYet()
{
    QFETCH(QJsonValue, track);
    QFETCH(bool, accepted);
    lines({paid("{a}", "1111")});
    QVERIFY(open(nullptr));
    const Reply reply = ask({{QStringLiteral("request"), QStringLiteral("checkTicket")},
                             {QStringLiteral("pinCode"), QStringLiteral("1111")},
                             {QStringLiteral("trackId"), track}});
    if (!accepted) {
        JSON_COMPARE(reply.answer, failed(BadTrack));
        QCOMPARE(listed(), QStringList{text("{a}")});
        return;
    }
    QCOMPARE(reply.answer.value(QLatin1String("status")).toString(), QStringLiteral("ok"));
    // The track has no name of its own yet.
    JSON_CONTAINS(reply.answer.value(QLatin1String("data")), object(R"({"trackId": "", "uuid": "{a}"})"));
}

void TestRemoteControl::nameNobodyKnows_data()
{
    QTest::addColumn<QJsonObject>("request");
    QTest::newRow("none") << object(R"({"trackId": "T1"})");
    QTest::newRow("empty") << object(R"({"trackId": "T1", "request": ""})");
    QTest::newRow("null") << object(R"({"trackId": "T1", "request": null})");
    QTest::newRow("number") << object(R"({"trackId": "T1", "request": 5, "sinkId": "{s}"})");
    QTest::newRow("other case") << object(R"({"trackId": "T1", "request": "checkticket", "pinCode": "1111"})");
    QTest::newRow("a local one") << object(R"({"trackId": "T1", "request": "run_queue"})");
}

// A request that nobody knows gets its receipt all the same.
void TestRemoteControl::nameNobodyKnows()
{
    QFETCH(QJsonObject, request);
    lines({paid("{a}", "1111")});
    QVERIFY(open());
    const Reply reply = ask(request);
    QCOMPARE(reply.story, QStringList());
    JSON_COMPARE(reply.answer, QJsonObject());
    QCOMPARE(listed(), QStringList{text("{a}")});
}

void TestRemoteControl::receiverOfTheAnswer_data()
{
    QTest::addColumn<QJsonObject>("sink");
    QTest::newRow("text") << object(R"({"sinkId": "{s}"})");
    QTest::newRow("empty") << object(R"({"sinkId": ""})");
    QTest::newRow("number") << object(R"({"sinkId": 17})");
    QTest::newRow("null") << object(R"({"sinkId": null})");
    QTest::newRow("absent") << QJsonObject();
}

void TestRemoteControl::receiverOfTheAnswer()
{
    QFETCH(QJsonObject, sink);
    QVERIFY(open());
    QJsonObject request = sink;
    request.insert(QStringLiteral("request"), QStringLiteral("checkTicket"));
    request.insert(QStringLiteral("trackId"), QStringLiteral("T1"));
    const Reply reply = ask(request); // looks at the wrapper
    QCOMPARE(reply.story, QStringList());
    JSON_COMPARE(reply.answer, failed(BadTicket));
}

void TestRemoteControl::noAnswerWanted_data()
{
    QTest::addColumn<QJsonValue>("skip");
    QTest::addColumn<bool>("answered");
    QTest::newRow("true") << QJsonValue(true) << false;
    QTest::newRow("false") << QJsonValue(false) << true;
    QTest::newRow("text") << QJsonValue(QStringLiteral("true")) << true;
    QTest::newRow("number") << QJsonValue(1) << true;
    QTest::newRow("null") << QJsonValue(QJsonValue::Null) << true;
}

void TestRemoteControl::noAnswerWanted()
{
    QFETCH(QJsonValue, skip);
    QFETCH(bool, answered);
    lines({paid("{a}", "1111")});
    m_office->seedQueue({{text("{r1}")}});
    QVERIFY(open());
    QJsonObject request = object(R"({"request": "checkTicket", "trackId": "T1", "pinCode": "1111", "sinkId": "{s}"})");
    request.insert(QStringLiteral("skipAnswer"), skip);
    desk().clear();
    desk().send(Request, request);
    QStringList told = story(desk().take());
    QVERIFY(told.takeFirst().startsWith(QLatin1String("write_sys_log")));
    QStringList expected{text("preset {r1}[-1001]"), text("queue {r1}[{a}]"), text("list")};
    if (answered) {
        QVERIFY(told.takeLast().startsWith(QLatin1String("remote_control_answer")));
        QVERIFY(told.takeLast().startsWith(QLatin1String("write_sys_log")));
    }
    QCOMPARE(told, expected);
    QCOMPARE(queue(), text("{r1}[{a}]"));
}

void TestRemoteControl::checkTicketSeats_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("value");
    QTest::newRow("identity") << "racerUuid"
                              << "{a}";
    QTest::newRow("code") << "pinCode"
                          << "1111";
    QTest::newRow("card") << "nfcUid"
                          << "card";
}

void TestRemoteControl::checkTicketSeats()
{
    QFETCH(QString, key);
    QFETCH(QString, value);
    lines({paid("{z}", "9999"), paid("{a}", "1111", object(R"({"nfcUid": "card"})"))});
    m_office->seedQueue({{text("{r1}")}, {text("{r2}")}});
    QVERIFY(open());
    QJsonObject request = object(R"({"request": "checkTicket", "trackId": "T1"})");
    request.insert(key, value);
    const Reply reply = ask(request);
    QCOMPARE(reply.story, (QStringList{text("preset {r1}[-1001]"), text("queue {r1}[{a}] {r2}[]"), text("list {z}")}));
    QJsonObject expected = object(R"({"model": "Sodi", "uuid": "{a}", "name": "{a} Ann", "competitorId": -1001,
        "trackId": "T1"})");
    if (key == QLatin1String("pinCode"))
        expected.insert(key, value);
    JSON_COMPARE(reply.answer, (QJsonObject{{QStringLiteral("status"), QStringLiteral("ok")},
                                            {QStringLiteral("preset"), QJsonArray()},
                                            {QStringLiteral("data"), expected}}));
    QCOMPARE(listed(), QStringList{text("{z}")});
    const QByteArray journal = m_office->track().readJournal(QStringLiteral("runslist.state"));
    QVERIFY(journal.contains("COMPETITOR:"));
    QVERIFY(journal.contains("\"uuid\":\"{a}\""));
}

void TestRemoteControl::checkTicketSeatsIntoANewRun()
{
    lines({paid("{a}", "1111", object(R"({"runCount": 2, "pinCodes": ["1111", "1111"]})"))});
    QVERIFY(open());
    const Reply reply = ask(R"({"request": "checkTicket", "trackId": "T1", "pinCode": "1111"})");
    QCOMPARE(reply.story,
             (QStringList{text("queue ?[]"), text("preset ?[-1001]"), text("queue ?[{a}]"), text("queue ?[{a}] ?[]"),
                          text("preset ?[-1001]"), text("queue ?[{a}] ?[{a}]"), text("list")}));
    QCOMPARE(reply.answer.value(QLatin1String("status")).toString(), QStringLiteral("ok"));
}

// "current" names no run of its own: the taken cars stay unknown, and the racer comes to the head of the queue.
void TestRemoteControl::checkTicketForTheNextRun()
{
    lines({paid("{a}", "1111")});
    m_office->seedQueue({{text("{r1}"), {seat("{b}", -1001, R"({"carId": 1, "carNum": "11"})")}}});
    QVERIFY(open());
    const Reply reply =
        ask(R"({"request": "checkTicket", "trackId": "T1", "pinCode": "1111", "runQueueGuid": "current"})");
    QCOMPARE(reply.story,
             (QStringList{text("preset {r1}[-1001=1 -1002]"), text("queue {r1}[{b}=1 {a}]"), text("list")}));
    JSON_COMPARE(reply.answer, object(R"({"status": "ok", "preset": [], "data": {"model": "Sodi", "uuid": "{a}",
        "name": "{a} Ann", "competitorId": -1002, "trackId": "T1", "pinCode": "1111"}})"));
}

void TestRemoteControl::checkTicketMovesToTheNamedRun()
{
    lines({paid("{a}", "1111")});
    m_office->seedQueue({{text("{r1}")}, {text("{r2}"), {seat("{b}", -1001), seat("{c}", -1007)}}});
    QVERIFY(open());
    const Reply reply =
        ask(R"({"request": "checkTicket", "trackId": "T1", "pinCode": "1111", "runQueueGuid": "{r2}"})");
    QCOMPARE(reply.story,
             (QStringList{text("preset {r1}[-1001]"), text("queue {r1}[{a}] {r2}[{b} {c}]"), text("list"),
                          text("preset {r1}[]"), text("queue {r1}[] {r2}[{b} {c}]"),
                          text("preset {r2}[-1001 -1007 -1008]"), text("queue {r1}[] {r2}[{b} {c} {a}]")}));
    JSON_CONTAINS(reply.answer.value(QLatin1String("data")), object(R"({"competitorId": -1008})"));
}

void TestRemoteControl::checkTicketMovesToTheNextRun()
{
    m_office->seedQueue({{text("{r1}"), {}, object(R"({"runLocked": true, "maxRacersInRun": 0})")},
                         {text("{r2}"), {seat("{b}", -1001, R"({"pinCodes": ["2222"]})")}}});
    QVERIFY(open());
    const Reply reply =
        ask(R"({"request": "checkTicket", "trackId": "T1", "pinCode": "2222", "runQueueGuid": "current"})");
    QCOMPARE(reply.story, (QStringList{text("preset {r2}[]"), text("queue {r1}[] {r2}[]"), text("preset {r1}[-1001]"),
                                       text("queue {r1}[{b}] {r2}[]")}));
    QCOMPARE(reply.answer.value(QLatin1String("status")).toString(), QStringLiteral("ok"));
}

// The racer is seated before the search for a run that is not there fails.
void TestRemoteControl::checkTicketForAnUnknownRun()
{
    lines({paid("{a}", "1111")});
    m_office->seedQueue({{text("{r1}")}});
    QVERIFY(open());
    const Reply reply = ask(R"({"request": "checkTicket", "trackId": "T1", "pinCode": "1111", "runQueueGuid": "{x}"})");
    QCOMPARE(reply.story, (QStringList{text("preset {r1}[-1001]"), text("queue {r1}[{a}]"), text("list")}));
    JSON_COMPARE(reply.answer, failed(BadTicket));
    QCOMPARE(queue(), text("{r1}[{a}]"));
    QCOMPARE(listed(), QStringList());
}

// Noted before the racer is seated, so his own car is not among them.
void TestRemoteControl::checkTicketTellsTheCarsOfTheRun()
{
    lines({paid("{a}", "1111", object(R"({"carId": 2, "carNum": "12"})"))});
    m_office->seedQueue(
        {{text("{r1}"),
          {seat("{b}", -1001, R"({"carId": 3, "carNum": "13", "carModel": "Rimo"})"),
           seat("{c}", -1002, R"({"carModel": "Rimo"})"), seat("{d}", -1003, R"({"carId": 1, "carNum": "11"})")}}});
    QVERIFY(open());
    const Reply reply =
        ask(R"({"request": "checkTicket", "trackId": "T1", "pinCode": "1111", "runQueueGuid": "{r1}"})");
    JSON_COMPARE(reply.answer.value(QLatin1String("preset")), JsonMatch::array("[3, 1]"));
    QCOMPARE(queue(), text("{r1}[{b}=3 {c} {d}=1 {a}=2]"));
    // The second time his car is taken like every other.
    const Reply again =
        ask(R"({"request": "checkTicket", "trackId": "T1", "pinCode": "1111", "runQueueGuid": "{r1}"})");
    JSON_COMPARE(again.answer.value(QLatin1String("preset")), JsonMatch::array("[3, 1, 2]"));
    QCOMPARE(again.story, QStringList());
}

void TestRemoteControl::checkTicketLeavesTheSeatOutOnDemand_data()
{
    QTest::addColumn<QJsonValue>("mode");
    QTest::addColumn<bool>("left");
    QTest::newRow("manual") << QJsonValue(QStringLiteral("manual")) << true;
    QTest::newRow("auto") << QJsonValue(QStringLiteral("auto")) << false;
    QTest::newRow("true") << QJsonValue(true) << false;
    QTest::newRow("Manual") << QJsonValue(QStringLiteral("Manual")) << false;
}

void TestRemoteControl::checkTicketLeavesTheSeatOutOnDemand()
{
    QFETCH(QJsonValue, mode);
    QFETCH(bool, left);
    m_office->seedQueue({{text("{r1}"), {seat("{b}", -1001)}}});
    QVERIFY(open());
    const Reply reply = ask({{QStringLiteral("request"), QStringLiteral("checkTicket")},
                             {QStringLiteral("trackId"), QStringLiteral("T1")},
                             {QStringLiteral("racerUuid"), QStringLiteral("{b}")},
                             {QStringLiteral("mode"), mode}});
    QStringList keys{QStringLiteral("model"), QStringLiteral("name"), QStringLiteral("trackId"),
                     QStringLiteral("uuid")};
    if (!left)
        keys.prepend(QStringLiteral("competitorId"));
    QCOMPARE(reply.answer.value(QLatin1String("data")).toObject().keys(), keys);
}

void TestRemoteControl::checkTicketCopies()
{
    m_office->seedQueue({{text("{r1}"), {seat("{b}", -1001)}}});
    QVERIFY(open());
    const Reply reply = ask(R"({"request": "checkTicket", "trackId": "T1", "racerUuid": "{b}", "pinCode": "none of his",
        "changeCarReason": "brokenCar", "carId": 1, "manual": true})");
    QCOMPARE(reply.story, QStringList());
    JSON_COMPARE(reply.answer, object(R"({"status": "ok", "changeCarReason": "brokenCar", "preset": [],
        "data": {"model": "Sodi", "uuid": "{b}", "name": "{b}", "competitorId": -1001, "trackId": "T1",
                 "pinCode": "none of his"}})"));
}

void TestRemoteControl::checkTicketUnpaid()
{
    lines({paid("{a}", "1111", object(R"({"payState": false})"))});
    m_office->seedQueue({{text("{r1}")}});
    QVERIFY(open());
    const Reply reply = ask(R"({"request": "checkTicket", "trackId": "T1", "pinCode": "1111"})");
    QCOMPARE(reply.story, QStringList());
    JSON_COMPARE(reply.answer, failed(BadTicket));
    QCOMPARE(listed(), QStringList{text("{a}")});
    QCOMPARE(queue(), text("{r1}[]"));
}

// The line speaks for the racer as long as the desk did not seat him just now, and it knows no seat.
void TestRemoteControl::checkTicketUnpaidWithASeat()
{
    lines({paid("{a}", "1111", object(R"({"payState": false, "carModel": "Rimo", "lastName": "Line"})"))});
    m_office->seedQueue({{text("{r1}"), {seat("{a}", -1001, R"({"name": "Seat"})")}}});
    QVERIFY(open());
    const Reply reply = ask(R"({"request": "checkTicket", "trackId": "T1", "racerUuid": "{a}"})");
    QCOMPARE(reply.story, QStringList());
    JSON_COMPARE(reply.answer, object(R"({"status": "ok", "preset": [],
        "data": {"model": "Rimo", "uuid": "{a}", "name": "Line Ann", "trackId": "T1"}})"));
}

void TestRemoteControl::checkTicketAgainWhileTheFamilyWaits()
{
    const QJsonObject kid = paid("{k}", "3333", object(R"({"payState": false})"));
    lines({paid("{a}", "1111", {{QStringLiteral("kidsList"), QJsonArray{kid}}})});
    m_office->seedQueue({{text("{r1}")}});
    QVERIFY(open());
    const Reply first = ask(R"({"request": "checkTicket", "trackId": "T1", "pinCode": "1111"})");
    QCOMPARE(first.story, (QStringList{text("preset {r1}[-1001]"), text("queue {r1}[{a}]"), text("list {a}")}));
    JSON_CONTAINS(first.answer.value(QLatin1String("data")), object(R"({"competitorId": -1001})"));
    const Reply again = ask(R"({"request": "checkTicket", "trackId": "T1", "pinCode": "1111"})");
    QCOMPARE(again.story, QStringList());
    JSON_COMPARE(again.answer, object(R"({"status": "ok", "preset": [],
        "data": {"model": "Sodi", "uuid": "{a}", "name": "{a} Ann", "trackId": "T1", "pinCode": "1111"}})"));
}

// The parent has paid for the family.
void TestRemoteControl::checkTicketOfAMinor()
{
    const QJsonObject kid = paid("{k}", "3333", object(R"({"payState": false})"));
    lines({paid("{a}", "1111", {{QStringLiteral("kidsList"), QJsonArray{kid}}})});
    m_office->seedQueue({{text("{r1}")}});
    QVERIFY(open());
    const Reply reply = ask(R"({"request": "checkTicket", "trackId": "T1", "pinCode": "3333"})");
    QCOMPARE(reply.story, (QStringList{text("preset {r1}[-1001]"), text("queue {r1}[{k}]"), text("list {a}")}));
    JSON_CONTAINS(reply.answer.value(QLatin1String("data")), object(R"({"uuid": "{k}", "competitorId": -1001})"));
    const Reply parent = ask(R"({"request": "checkTicket", "trackId": "T1", "pinCode": "1111"})");
    QCOMPARE(parent.story, (QStringList{text("preset {r1}[-1001 -1002]"), text("queue {r1}[{k} {a}]"), text("list")}));
    QCOMPARE(listed(), QStringList());
}

void TestRemoteControl::checkTicketWithoutALine()
{
    m_office->seedQueue({{text("{r1}")}, {text("{r2}"), {seat("{b}", -1001, R"({"nfcUid": "card"})")}}});
    QVERIFY(open());
    const Reply reply = ask(R"({"request": "checkTicket", "trackId": "T1", "nfcUid": "card"})");
    QCOMPARE(reply.story, QStringList());
    JSON_COMPARE(reply.answer, object(R"({"status": "ok", "preset": [], "data": {"model": "Sodi", "uuid": "{b}",
        "name": "{b}", "competitorId": -1001, "trackId": "T1"}})"));
}

void TestRemoteControl::checkTicketOfAnyModel()
{
    lines({paid("{a}", "1111", object(R"({"carModel": "Rimo"})"))});
    m_office->seedQueue({{text("{r1}")}});
    QVERIFY(open());
    const Reply reply = ask(R"({"request": "checkTicket", "trackId": "T1", "pinCode": "1111", "carModel": "Sodi"})");
    QCOMPARE(reply.answer.value(QLatin1String("status")).toString(), QStringLiteral("ok"));
    QCOMPARE(queue(), text("{r1}[{a}]"));
}

void TestRemoteControl::checkTicketOfNobody_data()
{
    QTest::addColumn<QJsonObject>("who");
    QTest::newRow("nothing") << QJsonObject();
    QTest::newRow("empty") << object(R"({"racerUuid": "", "pinCode": "", "nfcUid": ""})");
    QTest::newRow("unknown code") << object(R"({"pinCode": "0000"})");
    QTest::newRow("code with a blank") << object(R"({"pinCode": "1111 "})");
    QTest::newRow("number") << object(R"({"pinCode": 1111})");
}

void TestRemoteControl::checkTicketOfNobody()
{
    QFETCH(QJsonObject, who);
    lines({paid("{a}", "1111")});
    m_office->seedQueue({{text("{r1}"), {seat("{b}", -1001)}}});
    QVERIFY(open());
    who.insert(QStringLiteral("request"), QStringLiteral("checkTicket"));
    who.insert(QStringLiteral("trackId"), QStringLiteral("T1"));
    const Reply reply = ask(who);
    QCOMPARE(reply.story, QStringList());
    JSON_COMPARE(reply.answer, failed(BadTicket));
}

// With a run named, the racer is seated in the last run and then comes over.
void TestRemoteControl::setRacerSeatsAndGivesTheCar()
{
    lines({paid("{a}", "1111")});
    m_office->seedQueue({{text("{r1}"), {seat("{b}", -1001, R"({"carId": 1, "carNum": "11"})")}}, {text("{r2}")}});
    QVERIFY(open());
    const Reply reply = ask(R"({"request": "setRacer", "trackId": "T1", "racerUuid": "{a}", "pinCode": "1111",
        "manual": true, "carId": 2, "carNum": "twelve", "carModel": "Sodi", "runQueueGuid": "{r1}"})");
    QCOMPARE(reply.story, (QStringList{text("preset {r2}[-1001=2]"), text("queue {r1}[{b}=1] {r2}[{a}=2]"),
                                       text("list"), text("preset {r2}[]"), text("queue {r1}[{b}=1] {r2}[]"),
                                       text("preset {r1}[-1001=1 -1002=2]"), text("queue {r1}[{b}=1 {a}=2] {r2}[]")}));
    QCOMPARE(reply.answer.keys(), (QStringList{QStringLiteral("competitorData"), QStringLiteral("status")}));
    QCOMPARE(reply.answer.value(QLatin1String("status")).toString(), QStringLiteral("ok"));
    const QJsonObject seated = m_office->racer(0, text("{a}"));
    JSON_COMPARE(reply.answer.value(QLatin1String("competitorData")), seated);
    JSON_CONTAINS(seated, object(R"({"uuid": "{a}", "competitorId": -1002, "carId": 2, "carNum": "twelve",
        "currentPinCode": "1111", "carModel": "Sodi", "name": "{a} Ann"})"));
    for (const char *passing : {"isRemoteRequest", "manual", "targetCar", "request"})
        QVERIFY(!seated.contains(QLatin1String(passing)));
    QCOMPARE(listed(), QStringList());
}

void TestRemoteControl::setRacerMakesTheFirstRun()
{
    lines({paid("{a}", "1111", object(R"({"runCount": 3, "pinCodes": ["1111", "1111", "1111"]})"))});
    QVERIFY(open());
    const Reply reply = ask(R"({"request": "setRacer", "trackId": "T1", "pinCode": "1111", "carId": 2,
        "carNum": "12", "runQueueGuid": "current"})");
    // One seat, whatever number of runs was bought.
    QCOMPARE(reply.story,
             (QStringList{text("queue ?[]"), text("preset ?[-1001=2]"), text("queue ?[{a}=2]"), text("list")}));
    QCOMPARE(reply.answer.value(QLatin1String("status")).toString(), QStringLiteral("ok"));
    JSON_COMPARE(reply.answer.value(QLatin1String("competitorData")), m_office->racer(0, text("{a}")));
    const QJsonObject run = m_office->runs().value(0);
    QCOMPARE(run.value(QLatin1String("finishParam")).toInt(), 600);
}

void TestRemoteControl::setRacerIntoARunThatIsClosed_data()
{
    QTest::addColumn<QJsonObject>("run");
    QTest::newRow("locked") << object(R"({"runLocked": true})");
    QTest::newRow("full") << object(R"({"maxRacersInRun": 1})");
}

// Whoever has his car already is not sent away: the last run takes him, locked and full, and no run is added.
void TestRemoteControl::setRacerIntoARunThatIsClosed()
{
    QFETCH(QJsonObject, run);
    lines({paid("{a}", "1111"), paid("{z}", "9999")});
    m_office->seedQueue({{text("{r1}"), {seat("{b}", -1001)}, run}});
    QVERIFY(open());
    const Reply reply = ask(R"({"request": "setRacer", "trackId": "T1", "racerUuid": "{a}", "carId": 2,
        "carNum": "12"})");
    QCOMPARE(reply.story,
             (QStringList{text("preset {r1}[-1001 -1002=2]"), text("queue {r1}[{b} {a}=2]"), text("list {z}")}));
    QCOMPARE(reply.answer.value(QLatin1String("status")).toString(), QStringLiteral("ok"));
    JSON_COMPARE(reply.answer.value(QLatin1String("competitorData")), m_office->racer(0, text("{a}")));
    // A ticket that is only shown keeps to the rules.
    ask(R"({"request": "checkTicket", "trackId": "T1", "pinCode": "9999"})");
    QCOMPARE(queue(), text("{r1}[{b} {a}=2] ?[{z}]"));
}

// The seat stands in the last run, and nobody is found in the run that was named: the copy that was seated is the answer.
void TestRemoteControl::setRacerWithARunThatIsNotThere()
{
    lines({paid("{a}", "1111")});
    m_office->seedQueue({{text("{r1}"), {seat("{b}", -1001, R"({"carId": 2, "carNum": "12"})")}}});
    QVERIFY(open());
    const Reply reply = ask(R"({"request": "setRacer", "trackId": "T1", "racerUuid": "{a}", "pinCode": "1111",
        "manual": true, "carId": 2, "carNum": "12", "runQueueGuid": "{x}"})");
    // No run is named, so nobody is asked whether the car is free, and nobody loses it; the newcomer comes in without a
    // car and gets it as the copy has it.
    QCOMPARE(reply.story, (QStringList{text("preset {r1}[-1001=2 -1002]"), text("queue {r1}[{b}=2 {a}]"), text("list"),
                                       text("preset {r1}[-1001=2 -1002=2]"), text("queue {r1}[{b}=2 {a}=2]")}));
    QCOMPARE(reply.answer.keys(), (QStringList{QStringLiteral("competitorData"), QStringLiteral("status")}));
    const QJsonObject copy = reply.answer.value(QLatin1String("competitorData")).toObject();
    JSON_CONTAINS(copy, object(R"({"uuid": "{a}", "carId": 2, "carNum": "12", "currentPinCode": "1111"})"));
    QVERIFY(!copy.contains(QLatin1String("competitorId")));
    QVERIFY(!copy.contains(QLatin1String("isRemoteRequest")));
}

void TestRemoteControl::setRacerMovesToTheNextRun()
{
    m_office->seedQueue({{text("{r1}")}, {text("{r2}"), {seat("{b}", -1001)}}});
    QVERIFY(open());
    const Reply reply = ask(R"({"request": "setRacer", "trackId": "T1", "racerUuid": "{b}", "carId": 1,
        "runQueueGuid": "current"})");
    QCOMPARE(reply.story, (QStringList{text("preset {r2}[]"), text("queue {r1}[] {r2}[]"), text("preset {r1}[-1001]"),
                                       text("queue {r1}[{b}] {r2}[]"), text("preset {r1}[-1001=1]"),
                                       text("queue {r1}[{b}=1] {r2}[]")}));
    JSON_COMPARE(reply.answer.value(QLatin1String("competitorData")), m_office->racer(0, text("{b}")));
}

void TestRemoteControl::setRacerOfASeat()
{
    m_office->seedQueue({{text("{r1}"), {seat("{b}", -1001, R"({"currentPinCode": "old"})"), seat("{c}", -1002)}}});
    QVERIFY(open());
    const Reply reply = ask(R"({"request": "setRacer", "trackId": "T1", "racerUuid": "{b}", "pinCode": "new",
        "carId": 1, "carNum": "not looked at", "runQueueGuid": "{r1}"})");
    QCOMPARE(reply.story, (QStringList{text("preset {r1}[-1001=1 -1002]"), text("queue {r1}[{b}=1 {c}]")}));
    QJsonObject expected = seat("{b}", -1001, R"({"currentPinCode": "new", "carId": 1, "carNum": "11"})");
    JSON_COMPARE(reply.answer, (QJsonObject{{QStringLiteral("status"), QStringLiteral("ok")},
                                            {QStringLiteral("competitorData"), expected}}));
    JSON_COMPARE(m_office->racer(0, text("{b}")), expected);
    QVERIFY(m_office->track().readJournal(QStringLiteral("runslist.state")).contains("\"currentPinCode\":\"new\""));
}

// A car goes to an identity. A code alone lets the racer in, and gives no car.
void TestRemoteControl::setRacerByCodeAlone()
{
    m_office->seedQueue({{text("{r1}"), {seat("{b}", -1001)}}});
    QVERIFY(open());
    const Reply reply = ask(R"({"request": "setRacer", "trackId": "T1", "pinCode": "0101", "carId": 1})");
    QCOMPARE(reply.story, QStringList());
    JSON_COMPARE(reply.answer, (QJsonObject{{QStringLiteral("status"), QStringLiteral("ok")},
                                            {QStringLiteral("competitorData"),
                                             seat("{b}", -1001, R"({"currentPinCode": "0101"})")}}));
}

void TestRemoteControl::setRacerBusyCar_data()
{
    QTest::addColumn<QJsonObject>("request");
    QTest::addColumn<bool>("refused");
    const char base[] = R"({"racerUuid": "{b}", "carId": 1, "manual": true, "runQueueGuid": "{r1}"})";
    const auto changed = [&](const char *more) {
        QJsonObject request = object(base);
        const QJsonObject changes = object(more);
        for (auto it = changes.begin(); it != changes.end(); ++it)
            request.insert(it.key(), it.value());
        return request;
    };
    QTest::newRow("by run") << object(base) << true;
    QTest::newRow("next run") << changed(R"({"runQueueGuid": "current"})") << true;
    QTest::newRow("nobody's identity") << changed(R"({"racerUuid": "", "pinCode": "0101"})") << true;
    QTest::newRow("not manual") << changed(R"({"manual": false})") << false;
    QTest::newRow("manual as a text") << changed(R"({"manual": "true"})") << false;
    QTest::newRow("no run") << changed(R"({"runQueueGuid": ""})") << false;
    QTest::newRow("his own car") << changed(R"({"racerUuid": "{c}"})") << false;
}

// Refused at once: the holder keeps the car, and nothing goes out.
void TestRemoteControl::setRacerBusyCar()
{
    QFETCH(QJsonObject, request);
    QFETCH(bool, refused);
    lines({paid("{z}", "9999", object(R"({"carId": 1, "carNum": "11"})"))});
    m_office->seedQueue(
        {{text("{r1}"),
          {seat("{b}", -1001), seat("{c}", -1002, R"({"carId": 1, "carNum": "11", "pinCodes": ["2222"]})")}}});
    QVERIFY(open());
    request.insert(QStringLiteral("request"), QStringLiteral("setRacer"));
    request.insert(QStringLiteral("trackId"), QStringLiteral("T1"));
    const Reply reply = ask(request);
    if (refused) {
        QCOMPARE(reply.story, QStringList());
        JSON_COMPARE(reply.answer, failed(BusyCar));
        QCOMPARE(queue(), text("{r1}[{b} {c}=1]"));
        QCOMPARE(line(text("{z}")).value(QLatin1String("carId")).toInt(), 1);
        QVERIFY(!m_office->racer(0, text("{b}")).contains(QLatin1String("currentPinCode")));
        return;
    }
    QCOMPARE(reply.answer.value(QLatin1String("status")).toString(), QStringLiteral("ok"));
    QCOMPARE(queue(), request.value(QLatin1String("racerUuid")) == text("{c}") ? text("{r1}[{b} {c}=1]")
                                                                               : text("{r1}[{b}=1 {c}]"));
    QCOMPARE(line(text("{z}")).value(QLatin1String("carId")).toInt(), -1);
}

void TestRemoteControl::setRacerTakesTheCarAway()
{
    m_office->seedQueue(
        {{text("{r1}"), {seat("{b}", -1001)}},
         {text("{r2}"), {seat("{c}", -1001, R"({"carId": 1, "carNum": "11", "pinCodes": ["2222"]})")}}});
    QVERIFY(open());
    const Reply reply = ask(R"({"request": "setRacer", "trackId": "T1", "racerUuid": "{b}", "carId": 1,
        "manual": false, "runQueueGuid": "current"})");
    // Without a word: the first that the host hears of it is the newcomer's preset.
    QCOMPARE(reply.story, (QStringList{text("preset {r1}[-1001=1]"), text("queue {r1}[{b}=1] {r2}[{c}]")}));
    QCOMPARE(m_office->racer(1, text("{c}")).value(QLatin1String("carNum")).toString(), QString());
}

void TestRemoteControl::setRacerTakesTheCarAwayInOneRun()
{
    m_office->seedQueue(
        {{text("{r1}"), {seat("{b}", -1001)}},
         {text("{r2}"), {seat("{c}", -1001, R"({"carId": 1, "carNum": "11", "pinCodes": ["2222"]})")}}});
    QVERIFY(open());
    ask(R"({"request": "setRacer", "trackId": "T1", "racerUuid": "{b}", "carId": 1, "runQueueGuid": "{r1}"})");
    QCOMPARE(queue(), text("{r1}[{b}=1] {r2}[{c}=1]"));
}

void TestRemoteControl::setRacerTakesTheCarFromLines()
{
    const QJsonObject kid = paid("{k}", "3333", object(R"({"carId": 1, "carNum": "11"})"));
    QJsonObject parent = paid("{p}", "4444", object(R"({"carId": 1, "carNum": "11"})"));
    parent.insert(QStringLiteral("kidsList"), QJsonArray{kid});
    lines({parent, paid("{z}", "9999", object(R"({"carId": 2, "carNum": "12"})"))});
    m_office->seedQueue({{text("{r1}"), {seat("{b}", -1001)}}});
    QVERIFY(open());
    ask(R"({"request": "setRacer", "trackId": "T1", "racerUuid": "{b}", "carId": 1})");
    const QJsonObject family = line(text("{p}"));
    QCOMPARE(family.value(QLatin1String("carId")).toInt(), -1);
    QCOMPARE(family.value(QLatin1String("kidsList")).toArray().at(0)[QLatin1String("carId")].toInt(), -1);
    QCOMPARE(line(text("{z}")).value(QLatin1String("carId")).toInt(), 2);
}

void TestRemoteControl::setRacerReleasesEvenForNobody()
{
    m_office->seedQueue({{text("{r1}"), {seat("{b}", -1001, R"({"carId": 1, "carNum": "11"})")}}});
    QVERIFY(open());
    const Reply reply = ask(R"({"request": "setRacer", "trackId": "T1", "pinCode": "0000", "carId": 1})");
    QCOMPARE(reply.story, QStringList());
    JSON_COMPARE(reply.answer, failed(BadTicket));
    QCOMPARE(queue(), text("{r1}[{b}]"));
}

// The absent car is released like every other: whoever has no car loses the number that was left of one.
void TestRemoteControl::setRacerWithoutACar()
{
    m_office->seedQueue({{text("{r1}"),
                          {seat("{b}", -1001, R"({"carId": 1, "carNum": "11"})"),
                           seat("{c}", -1002, R"({"carNum": "77", "pinCodes": ["2222"]})")}}});
    QVERIFY(open());
    const Reply reply =
        ask(R"({"request": "setRacer", "trackId": "T1", "racerUuid": "{b}", "manual": true, "runQueueGuid": "{r1}"})");
    QCOMPARE(reply.story, (QStringList{text("preset {r1}[-1001 -1002]"), text("queue {r1}[{b} {c}]")}));
    QCOMPARE(reply.answer.value(QLatin1String("status")).toString(), QStringLiteral("ok"));
    QCOMPARE(m_office->racer(0, text("{c}")).value(QLatin1String("carNum")).toString(), QString());
    QCOMPARE(m_office->racer(0, text("{b}")).value(QLatin1String("carNum")).toString(), QString());
}

void TestRemoteControl::setRacerOfAnotherModel()
{
    lines({paid("{a}", "1111")});
    m_office->seedQueue({{text("{r1}")}});
    QVERIFY(open());
    const Reply reply = ask(R"({"request": "setRacer", "trackId": "T1", "pinCode": "1111", "carId": 3,
        "carModel": "Rimo", "runQueueGuid": "current"})");
    QCOMPARE(reply.story, QStringList());
    JSON_COMPARE(reply.answer, failed(BadTicket));
    QCOMPARE(queue(), text("{r1}[]"));
    const QJsonObject kept = line(text("{a}"));
    QCOMPARE(kept.value(QLatin1String("carId")).toInt(), -1);
    QCOMPARE(kept.value(QLatin1String("carNum")).toString(), QString());
    QCOMPARE(ask(R"({"request": "checkTicket", "trackId": "T1", "pinCode": "1111"})")
                 .answer.value(QLatin1String("status"))
                 .toString(),
             QStringLiteral("ok"));
}

void TestRemoteControl::setRacerUnpaid()
{
    lines({paid("{a}", "1111", object(R"({"payState": false})"))});
    m_office->seedQueue({{text("{r1}")}});
    QVERIFY(open());
    const Reply reply = ask(R"({"request": "setRacer", "trackId": "T1", "pinCode": "1111", "carId": 1})");
    QCOMPARE(reply.story, QStringList());
    JSON_COMPARE(reply.answer, failed(BadTicket));
    QCOMPARE(line(text("{a}")).value(QLatin1String("carId")).toInt(), -1);
}

// The answer names the reason; the seat has heard of the code all the same.
void TestRemoteControl::setRacerCarOfAnotherModel()
{
    m_office->seedQueue({{text("{r1}"), {seat("{b}", -1001, R"({"carId": 1, "carNum": "11"})")}}});
    QVERIFY(open());
    for (const char *car : {"3", "99"}) {
        QJsonObject request = object(R"({"request": "setRacer", "trackId": "T1", "racerUuid": "{b}", "pinCode": "p"})");
        request.insert(QStringLiteral("carId"), QString::fromLatin1(car).toInt());
        const Reply reply = ask(request);
        QCOMPARE(reply.story, QStringList());
        JSON_COMPARE(reply.answer, failed(WrongCar));
        QCOMPARE(queue(), text("{r1}[{b}=1]"));
        QCOMPARE(m_office->racer(0, text("{b}")).value(QLatin1String("currentPinCode")).toString(),
                 QStringLiteral("p"));
    }
    // The operator of the device may give any car, known or not.
    const Reply manual =
        ask(R"({"request": "setRacer", "trackId": "T1", "racerUuid": "{b}", "carId": 3, "manual": true})");
    QCOMPARE(manual.story, (QStringList{text("preset {r1}[-1001=3]"), text("queue {r1}[{b}=3]")}));
    ask(R"({"request": "setRacer", "trackId": "T1", "racerUuid": "{b}", "carId": 99, "manual": true})");
    JSON_CONTAINS(m_office->racer(0, text("{b}")), object(R"({"carId": 99, "carNum": ""})"));
}

// A newcomer whose car is held in the last run by somebody else comes in without it, and his car does not fit: the
// result of that is not looked at, the answer of the second look is.
void TestRemoteControl::setRacerCarThatHasTwoHolders()
{
    lines({paid("{a}", "1111")});
    m_office->seedQueue(
        {{text("{r1}")}, {text("{r2}"), {seat("{b}", -1001, R"({"carId": 3, "carNum": "13", "carModel": "Rimo"})")}}});
    QVERIFY(open());
    const Reply reply = ask(R"({"request": "setRacer", "trackId": "T1", "racerUuid": "{a}", "carId": 3,
        "runQueueGuid": "{r1}"})");
    QCOMPARE(reply.story, (QStringList{text("preset {r2}[-1001=3 -1002]"), text("queue {r1}[] {r2}[{b}=3 {a}]"),
                                       text("list"), text("preset {r2}[-1001=3]"), text("queue {r1}[] {r2}[{b}=3]"),
                                       text("preset {r1}[-1001]"), text("queue {r1}[{a}] {r2}[{b}=3]")}));
    JSON_COMPARE(reply.answer, failed(WrongCar));
}

// A line whose family still waits keeps the car that its racer was given.
void TestRemoteControl::setRacerSeatedLine()
{
    const QJsonObject kid = paid("{k}", "3333", object(R"({"payState": false})"));
    lines({paid("{a}", "1111", {{QStringLiteral("kidsList"), QJsonArray{kid}}})});
    m_office->seedQueue({{text("{r1}")}});
    QVERIFY(open());
    ask(R"({"request": "checkTicket", "trackId": "T1", "pinCode": "1111"})");
    const Reply reply = ask(R"({"request": "setRacer", "trackId": "T1", "racerUuid": "{a}", "carId": 2,
        "carNum": "12", "runQueueGuid": "current"})");
    QCOMPARE(reply.story, (QStringList{text("preset {r1}[-1001=2]"), text("queue {r1}[{a}=2]")}));
    JSON_CONTAINS(line(text("{a}")), object(R"({"carId": 2, "carNum": "12"})"));
    JSON_COMPARE(reply.answer.value(QLatin1String("competitorData")), m_office->racer(0, text("{a}")));
    // A model that is not his own hides the line; the seat is found, and gets its car.
    const Reply other = ask(R"({"request": "setRacer", "trackId": "T1", "racerUuid": "{a}", "carId": 1,
        "carNum": "11", "carModel": "Rimo", "runQueueGuid": "current"})");
    QCOMPARE(other.story, (QStringList{text("preset {r1}[-1001=1]"), text("queue {r1}[{a}=1]")}));
    JSON_CONTAINS(line(text("{a}")), object(R"({"carId": 2, "carNum": "12"})"));
}

void TestRemoteControl::setRacerReasons_data()
{
    QTest::addColumn<QJsonObject>("more");
    QTest::addColumn<QStringList>("story");
    const QStringList preset{text("preset {r1}[-1001=2]"), text("queue {r1}[{b}=2]")};
    const QStringList broken{
        text(R"(switch_car {"carId":2,"competitorId":-1001,"runId":-1,"switchReason":"malfunction"})")};
    QTest::newRow("none") << QJsonObject() << preset;
    QTest::newRow("broken") << object(R"({"changeCarReason": "brokenCar"})") << broken;
    QTest::newRow("wrong") << object(R"({"changeCarReason": "wrongCar"})") << preset;
    QTest::newRow("other") << object(R"({"changeCarReason": "whim"})") << preset;
    QTest::newRow("null") << object(R"({"changeCarReason": null})") << preset;
    // Only the desk's own menu asks its operator, whatever a device says of itself.
    QTest::newRow("pretends") << object(R"({"isLocalRequest": true})") << preset;
}

// The racer is on the track already; a device is never asked why, it says so by itself.
void TestRemoteControl::setRacerReasons()
{
    QFETCH(QJsonObject, more);
    QFETCH(QStringList, story);
    m_office->seedQueue(
        {{text("{r1}"), {seat("{b}", -1001, R"({"carId": 1, "carNum": "11", "competitorState": 2})")}}});
    QVERIFY(open());
    more.insert(QStringLiteral("request"), QStringLiteral("setRacer"));
    more.insert(QStringLiteral("trackId"), QStringLiteral("T1"));
    more.insert(QStringLiteral("racerUuid"), text("{b}"));
    more.insert(QStringLiteral("carId"), 2);
    const Reply reply = ask(more);
    QCOMPARE(reply.story, story);
    QCOMPARE(reply.answer.keys(), (QStringList{QStringLiteral("competitorData"), QStringLiteral("status")}));
    JSON_CONTAINS(m_office->racer(0, text("{b}")), object(R"({"carId": 2, "carNum": "12"})"));
}

void TestRemoteControl::notifyOfOtherThings_data()
{
    QTest::addColumn<QJsonValue>("msg");
    QTest::newRow("other") << QJsonValue(QStringLiteral("new_ticket"));
    QTest::newRow("case") << QJsonValue(QStringLiteral("NEW_TICKET_REG"));
    QTest::newRow("none") << QJsonValue(QJsonValue::Undefined);
    QTest::newRow("object") << QJsonValue(QJsonObject());
}

void TestRemoteControl::notifyOfOtherThings()
{
    QFETCH(QJsonValue, msg);
    QVERIFY(open());
    QJsonObject request = object(R"({"request": "notify", "trackId": "T1", "data": {"firstName": "X"}})");
    request.insert(QStringLiteral("msg"), msg);
    const Reply reply = ask(request);
    QCOMPARE(reply.story, QStringList());
    JSON_COMPARE(reply.answer, QJsonObject());
    QCOMPARE(listed(), QStringList());
}

void TestRemoteControl::notifyOfARecord_data()
{
    QTest::addColumn<QJsonObject>("data");
    QTest::addColumn<QString>("told");
    QTest::newRow("no client") << object(R"({"firstName": "ann"})")
                               << R"(update_client_data {"clientId":-1,"firstName":"ann","trackKey":"T1"})";
    QTest::newRow("empty") << QJsonObject() << R"(update_client_data {"clientId":-1,"trackKey":"T1"})";
    QTest::newRow("minus one") << object(R"({"clientId": -1, "salesCommonId": 5})")
                               << R"(update_client_data {"clientId":-1,"salesCommonId":5,"trackKey":"T1"})";
    QTest::newRow("complete") << object(R"({"clientId": 7, "salesCommonId": -1})") << "update_local_client {}";
    QTest::newRow("complete by racer") << object(R"({"racerId": 7, "salesCommonId": -1})") << "update_local_client {}";
    // The racer's id comes first here, the client's when the record is taken in.
    QTest::newRow("two ids") << object(R"({"racerId": -1, "clientId": 7})") << "update_local_client {}";
    // Not a number for the notice, and one for the record.
    QTest::newRow("text") << object(R"({"clientId": "7"})") << "update_local_client {}";
}

void TestRemoteControl::notifyOfARecord()
{
    QFETCH(QJsonObject, data);
    QFETCH(QString, told);
    OnlineService service;
    QVERIFY(service.listen(OnlineService::DeskPort));
    QVERIFY(open());
    const Reply reply = ask({{QStringLiteral("request"), QStringLiteral("notify")},
                             {QStringLiteral("trackId"), QStringLiteral("T1")},
                             {QStringLiteral("msg"), QStringLiteral("new_ticket_reg")},
                             {QStringLiteral("data"), data}});
    QCOMPARE(reply.story, (QStringList{told, QStringLiteral("list ?")}));
    JSON_COMPARE(reply.answer, object(R"({"status": "ok"})"));
    QCOMPARE(listed().size(), 1);
    HostProbe::settle(200);
    QCOMPARE(service.requests().size(), 0);
}

void TestRemoteControl::notifyAsksTheService()
{
    OnlineService service;
    QVERIFY(service.listen(OnlineService::DeskPort));
    QVERIFY(open());
    desk().send(QStringLiteral("online_service_status"), object(R"({"enabled": true, "apiKey": "k&y"})"));
    const Reply reply = ask(R"({"request": "notify", "trackId": "T1", "msg": "new_ticket_reg", "sinkId": "{s}",
        "data": {"clientId": 7, "firstName": "not taken"}})");
    QCOMPARE(reply.story, QStringList());
    JSON_COMPARE(reply.answer, object(R"({"status": "ok"})"));
    QCOMPARE(listed(), QStringList());
    QVERIFY(service.waitFor(1));
    QCOMPARE(service.requests().at(0).method, QByteArray("POST"));
    QCOMPARE(service.requests().at(0).path, QByteArray("/findracer.php"));
    QCOMPARE(service.requests().at(0).body, QByteArray("apiKey=k%26y&fullData=true&clientId=7&code=add_to_checkin"));
    desk().clear();
    QVERIFY(service.answer(0, R"({"status": "ok", "code": "add_to_checkin", "results":
        [{"clientId": 7, "firstName": "ANN", "lastName": "lee", "tel": "1"}]})"));
    QVERIFY(desk().waitFor(QStringLiteral("local_request_answer")));
    QCOMPARE(story(desk().take()),
             (QStringList{text(R"(update_local_client {"clientId":7,"firstName":"ANN","lastName":"lee","tel":"1"})"),
                          text("list ?")}));
    listed();
    const QJsonObject added = object(m_office->track().readJournal(QStringLiteral("tickets.state")).constData());
    JSON_CONTAINS(added, object(R"({"clientId": 7, "firstName": "Ann", "lastName": "Lee", "payState": false})"));
}

void TestRemoteControl::notifyAsksTheServiceByRacerId()
{
    OnlineService service;
    QVERIFY(service.listen(OnlineService::DeskPort));
    QVERIFY(open());
    ask(R"({"request": "notify", "trackId": "T1", "msg": "new_ticket_reg", "data": {"clientId": 7, "racerId": 9}})");
    QVERIFY(service.waitFor(1));
    QCOMPARE(QUrlQuery(QString::fromUtf8(service.requests().at(0).body)).queryItemValue(QStringLiteral("clientId")),
             QStringLiteral("9"));
    // A reply with no client, and none at all, leave the list as it is.
    QVERIFY(service.answer(0, R"({"status": "ok", "code": "add_to_checkin", "results": []})"));
    HostProbe::settle(200);
    QCOMPARE(listed(), QStringList());
}

void TestRemoteControl::addRegistration()
{
    lines({paid("{z}", "9999")});
    QVERIFY(open());
    const Reply reply = ask(R"({"request": "addRegistration", "trackId": "T1", "racerData": {"uuid": "{n}",
        "firstName": "ann", "lastName": "LEE", "subItems": [{"firstName": "kid"}]}})");
    QCOMPARE(reply.story, (QStringList{text(R"(update_client_data {"clientId":-1,"firstName":"ann","lastName":"LEE",)"
                                            R"("subItems":[{"firstName":"kid"}],"trackKey":"T1","uuid":"{n}"})"),
                                       text("list {n} {z}")}));
    JSON_COMPARE(reply.answer, object(R"({"status": "ok"})"));
    auto *tree = desk().find<QTreeView *>(QStringLiteral("tvCheckIn"));
    QVERIFY(tree->isExpanded(tree->model()->index(0, 0)));
    QCOMPARE(tree->model()->rowCount(tree->model()->index(0, 0)), 1);
    // A notice of the same leaves its line closed.
    ask(R"({"request": "notify", "trackId": "T1", "msg": "new_ticket_reg",
        "data": {"firstName": "bo", "subItems": [{"firstName": "kid"}]}})");
    QCOMPARE(tree->model()->rowCount(tree->model()->index(0, 0)), 1);
    QVERIFY(!tree->isExpanded(tree->model()->index(0, 0)));
    QVERIFY(tree->isExpanded(tree->model()->index(1, 0)));
    const QJsonObject added = line(text("{n}"));
    JSON_CONTAINS(added, object(R"({"firstName": "Ann", "lastName": "Lee", "payState": false})"));
    QVERIFY(added.value(QLatin1String("regTime")).toDouble() > 0);
}

void TestRemoteControl::addRegistrationOfAClient()
{
    QVERIFY(open());
    const Reply first = ask(R"({"request": "addRegistration", "trackId": "T1", "racerData": {"uuid": "{n}",
        "clientId": 7, "firstName": "ann", "updateData": true}})");
    QCOMPARE(
        first.story,
        (QStringList{
            text(
                R"(update_client_data {"clientId":7,"firstName":"ann","trackKey":"T1","updateData":true,"uuid":"{n}"})"),
            text(R"(update_local_client {"firstName":"ann","lastName":"","midName":""})"), text("list {n}")}));
    // The same client again: his line gets the new number of runs, and no list goes out.
    const Reply again = ask(R"({"request": "addRegistration", "trackId": "T1", "racerData": {"clientId": 7,
        "runCount": 4}})");
    QCOMPARE(again.story, QStringList{text("update_local_client {}")});
    QCOMPARE(line(text("{n}")).value(QLatin1String("runCount")).toInt(), 4);
    // Nothing at all still makes a line.
    const Reply nothing = ask(R"({"request": "addRegistration", "trackId": "T1"})");
    QCOMPARE(nothing.story,
             (QStringList{text(R"(update_client_data {"clientId":-1,"trackKey":"T1"})"), text("list ? {n}")}));
    JSON_COMPARE(nothing.answer, object(R"({"status": "ok"})"));
}

void TestRemoteControl::newRunControl_data()
{
    QTest::addColumn<QJsonObject>("sink");
    QTest::addColumn<QString>("told");
    QTest::newRow("text") << object(R"({"sinkId": "{s}"})") << R"(queue@"{s}" {r1}[{b}])";
    QTest::newRow("number") << object(R"({"sinkId": 17})") << R"(queue@"17" {r1}[{b}])";
    QTest::newRow("empty") << object(R"({"sinkId": ""})") << "queue {r1}[{b}]";
    QTest::newRow("null") << object(R"({"sinkId": null})") << "queue {r1}[{b}]";
    QTest::newRow("object") << object(R"({"sinkId": {"a": 1}})") << "queue {r1}[{b}]";
    QTest::newRow("absent") << QJsonObject() << "queue {r1}[{b}]";
}

void TestRemoteControl::newRunControl()
{
    QFETCH(QJsonObject, sink);
    QFETCH(QString, told);
    m_office->seedQueue({{text("{r1}"), {seat("{b}", -1001)}}});
    QVERIFY(open());
    sink.insert(QStringLiteral("request"), QStringLiteral("newRunControlConnected"));
    sink.insert(QStringLiteral("trackId"), QStringLiteral("T1"));
    const Reply reply = ask(sink);
    QCOMPARE(reply.story, QStringList{told});
    JSON_COMPARE(reply.answer, QJsonObject());
}

void TestRemoteControl::newRunControlInRaceMode()
{
    m_office->seedQueue({{text("{r1}"), {seat("{b}", -1001)}}});
    QVERIFY(open());
    desk().send(QStringLiteral("race_mode"), object(R"({"isRaceMode": true})"));
    const Reply reply = ask(R"({"request": "newRunControlConnected", "trackId": "T1", "sinkId": "{s}"})");
    QCOMPARE(reply.story, QStringList{text("local queue {r1}[{b}]")});
    JSON_COMPARE(reply.answer, QJsonObject());
}

void TestRemoteControl::runCommands_data()
{
    QTest::addColumn<QString>("guid");
    QTest::addColumn<QString>("run");
    QTest::newRow("by identity") << "{r2}"
                                 << "{r2}";
    QTest::newRow("the next one") << "current"
                                  << "{r1}";
}

void TestRemoteControl::runCommands()
{
    QFETCH(QString, guid);
    QFETCH(QString, run);
    m_office->seedQueue({{text("{r1}"), {seat("{b}", -1001, R"({"carId": 1, "carNum": "11"})")}},
                         {text("{r2}"), {seat("{b}", -1001, R"({"carId": 1, "carNum": "11"})")}}});
    QVERIFY(open());
    const int row = run == text("{r1}") ? 0 : 1;
    const QString queued = text("queue {r1}[{b}=1] {r2}[{b}=1]");
    const QJsonObject base{{QStringLiteral("trackId"), QStringLiteral("T1")}, {QStringLiteral("runQueueGuid"), guid}};
    const auto command = [&](const char *name, const char *more = "{}") {
        QJsonObject request = base;
        const QJsonObject added = object(more);
        for (auto it = added.begin(); it != added.end(); ++it)
            request.insert(it.key(), it.value());
        request.insert(QStringLiteral("request"), text(name));
        return request;
    };
    desk().send(QStringLiteral("refresh_run_info"),
                {{QStringLiteral("runQueueGuid"), run}, {QStringLiteral("runId"), 41}});
    desk().send(QStringLiteral("refresh_run_info"),
                {{QStringLiteral("runQueueGuid"), run}, {QStringLiteral("runId"), 42}, {QStringLiteral("runNum"), 5}});
    // That made the run the current one; another that the queue does not know takes its place.
    desk().send(QStringLiteral("new_run_started"), object(R"({"runQueueGuid": "{other}"})"));

    Reply reply = ask(command("doStartQueue", R"({"startingHits": [1]})"));
    QJsonObject start = object(R"({"autoFinishParam": 600, "useAutoFinish": "TIME", "sortMode": 0, "preparation":
        [{"name": "{b}", "carId": 1, "clientId": -1, "competitorId": -1001, "sourceSet": true}],
        "runName": "Заезд №5"})");
    start.insert(QStringLiteral("runQueueGuid"), run);
    QCOMPARE(reply.story, QStringList{QStringLiteral("start_run ") + compact(start)});
    JSON_COMPARE(reply.answer, QJsonObject());

    const qint64 before = QDateTime::currentMSecsSinceEpoch();
    desk().clear();
    desk().send(Request, command("doPauseQueue"));
    const QJsonObject hit = desk().last(QStringLiteral("insert_hit"));
    QCOMPARE(desk().names(), (QStringList{QStringLiteral("write_sys_log"), QStringLiteral("insert_hit"),
                                          QStringLiteral("write_sys_log"), Answer}));
    JSON_CONTAINS(hit, object(R"({"runId": 42, "flag": "RED", "doRestartIfNeeded": true})"));
    QCOMPARE(hit.size(), 4);
    const double stamp = hit.value(QLatin1String("timestamp")).toDouble();
    QVERIFY(stamp >= double(before) && stamp <= double(QDateTime::currentMSecsSinceEpoch()));

    reply = ask(command("doUpdateRunDuration", R"({"newFinishParam": 120})"));
    QCOMPARE(reply.story, QStringList{queued});
    JSON_COMPARE(reply.answer, QJsonObject());
    QCOMPARE(m_office->runs().at(row).value(QLatin1String("finishParam")).toInt(), 120);
    QCOMPARE(m_office->runs().at(1 - row).value(QLatin1String("finishParam")).toInt(), 600);

    desk().clear();
    desk().send(Request, command("doUpdateRunParams", R"({"sortMode": 1, "finishMode": 2})"));
    const QVector<HostEvent> events = desk().take();
    QCOMPARE(events.size(), 6);
    QCOMPARE(events.at(1).event, QStringLiteral("update_run_params"));
    QCOMPARE(events.at(2).event, Answer);
    QCOMPARE(events.at(3).event, QStringLiteral("local_request_answer"));
    JSON_COMPARE(events.at(5).data, object(R"({"req_answ": {"srcRequest": "doUpdateRunParams"}})"));
    const QJsonObject record = m_office->runs().at(row);
    JSON_CONTAINS(record, object(R"({"sortMode": 1, "sortType": 1, "finishMode": 2, "finishType": 2, "finishParam": 2,
        "runDuration": 2})"));
    // The start moves with the chain after the record went out, and with the clock.
    QJsonObject sent = events.at(1).data;
    QJsonObject now = record;
    QVERIFY(sent.take(QLatin1String("runStartTime")).isDouble());
    now.remove(QLatin1String("runStartTime"));
    JSON_COMPARE(sent, now);

    reply = ask(command("doFinishQueue"));
    QCOMPARE(reply.story, QStringList{QStringLiteral("finish_run {}")});

    reply = ask(command("doCloseRunQueue"));
    const QString left = row == 0 ? text("{r2}") : text("{r1}");
    QCOMPARE(reply.story, (QStringList{QStringLiteral("close_run {\"command\":\"close_run\",\"runQueueGuid\":\"") + run
                                           + QStringLiteral("\"}"),
                                       QStringLiteral("queue %1[{b}=1]").arg(left)}));
    JSON_COMPARE(reply.answer, QJsonObject());
    QCOMPARE(m_office->pastGuids(), QStringList{run});
    QCOMPARE(queue(), QStringLiteral("%1[{b}=1]").arg(left));
}

void TestRemoteControl::runCommandsThatFindNothing_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QJsonValue>("guid");
    QTest::addColumn<bool>("empty");
    for (const char *name :
         {"doStartQueue", "doPauseQueue", "doCloseRunQueue", "doUpdateRunDuration", "doUpdateRunParams"}) {
        const auto row = [name](const char *what) -> QTestData & {
            return QTest::newRow(
                qPrintable(QString::fromLatin1("%1 %2").arg(QLatin1String(name), QLatin1String(what))));
        };
        row("unknown") << text(name) << QJsonValue(text("{x}")) << false;
        row("no identity") << text(name) << QJsonValue(QJsonValue::Undefined) << false;
        row("empty identity") << text(name) << QJsonValue(QString()) << false;
        row("number") << text(name) << QJsonValue(1) << false;
        row("next of none") << text(name) << QJsonValue(QStringLiteral("current")) << true;
        row("unknown of none") << text(name) << QJsonValue(text("{x}")) << true;
    }
}

// The receipt comes all the same.
void TestRemoteControl::runCommandsThatFindNothing()
{
    QFETCH(QString, name);
    QFETCH(QJsonValue, guid);
    QFETCH(bool, empty);
    if (!empty)
        m_office->seedQueue({{text("{r1}"), {seat("{b}", -1001)}}});
    QVERIFY(open());
    const Reply reply = ask({{QStringLiteral("request"), name},
                             {QStringLiteral("trackId"), QStringLiteral("T1")},
                             {QStringLiteral("sinkId"), QStringLiteral("{s}")},
                             {QStringLiteral("newFinishParam"), 5},
                             {QStringLiteral("finishMode"), 2},
                             {QStringLiteral("runQueueGuid"), guid}});
    QCOMPARE(reply.story, QStringList());
    JSON_COMPARE(reply.answer, QJsonObject());
    QCOMPARE(queue(), empty ? text("nothing") : text("{r1}[{b}]"));
    if (!empty)
        JSON_CONTAINS(m_office->runs().at(0), object(R"({"finishParam": 600, "finishMode": 1})"));
}

void TestRemoteControl::finishWhateverIsThere()
{
    QVERIFY(open());
    for (const char *request : {R"({"request": "doFinishQueue", "trackId": "T1"})",
                                R"({"request": "doFinishQueue", "trackId": "T1", "runQueueGuid": "{x}"})"}) {
        const Reply reply = ask(request);
        QCOMPARE(reply.story, QStringList{QStringLiteral("finish_run {}")});
        JSON_COMPARE(reply.answer, QJsonObject());
    }
}

void TestRemoteControl::durationOfTheRunOnTheTrack()
{
    m_office->seedQueue({{text("{r1}"), {seat("{b}", -1001)}}});
    QVERIFY(open());
    desk().send(QStringLiteral("new_run_started"), object(R"({"runQueueGuid": "{r1}"})"));
    Reply reply = ask(R"({"request": "doUpdateRunDuration", "trackId": "T1", "runQueueGuid": "{r1}",
        "newFinishParam": 300})");
    QCOMPARE(reply.story,
             (QStringList{text(R"(current_run_finish_params {"autoFinishParam":300,"useAutoFinish":"TIME"})"),
                          text("queue {r1}[{b}]")}));
    // No number reads as none.
    reply = ask(R"({"request": "doUpdateRunDuration", "trackId": "T1", "runQueueGuid": "{r1}",
        "newFinishParam": "300"})");
    QCOMPARE(reply.story.value(0), text(R"(current_run_finish_params {"autoFinishParam":-1,"useAutoFinish":"TIME"})"));
}

void TestRemoteControl::lapsAndMinutes_data()
{
    QTest::addColumn<QJsonObject>("was");
    QTest::addColumn<QJsonObject>("asked");
    QTest::addColumn<QJsonObject>("is");
    QTest::newRow("minutes to laps") << object(R"({"finishMode": 1, "finishParam": 659})")
                                     << object(R"({"finishMode": 2, "sortMode": 0})")
                                     << object(R"({"finishMode": 2, "finishParam": 10, "sortMode": 0})");
    QTest::newRow("laps to minutes") << object(R"({"finishMode": 2, "finishParam": 10})")
                                     << object(R"({"finishMode": 1, "sortMode": 1})")
                                     << object(R"({"finishMode": 1, "finishParam": 600, "sortMode": 1})");
    QTest::newRow("the same") << object(R"({"finishMode": 2, "finishParam": 10})")
                              << object(R"({"finishMode": 2, "sortMode": 1})")
                              << object(R"({"finishMode": 2, "finishParam": 10, "sortMode": 1})");
    QTest::newRow("nothing asked") << object(R"({"finishMode": 2, "finishParam": 10, "sortMode": 1})") << QJsonObject()
                                   << object(R"({"finishMode": 1, "finishParam": 600, "sortMode": 0})");
}

void TestRemoteControl::lapsAndMinutes()
{
    QFETCH(QJsonObject, was);
    QFETCH(QJsonObject, asked);
    QFETCH(QJsonObject, is);
    m_office->seedQueue({{text("{r1}"), {seat("{b}", -1001)}, was}});
    QVERIFY(open());
    asked.insert(QStringLiteral("request"), QStringLiteral("doUpdateRunParams"));
    asked.insert(QStringLiteral("trackId"), QStringLiteral("T1"));
    asked.insert(QStringLiteral("runQueueGuid"), text("{r1}"));
    const Reply reply = ask(asked);
    QCOMPARE(reply.story.size(), 2);
    QVERIFY(reply.story.at(0).startsWith(QLatin1String("update_run_params {")));
    QCOMPARE(reply.story.at(1), text("queue {r1}[{b}]"));
    JSON_CONTAINS(m_office->runs().at(0), is);
}

void TestRemoteControl::junk_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QStringList>("keys");
    const QStringList ticket{QStringLiteral("runQueueGuid"), QStringLiteral("racerUuid"),
                             QStringLiteral("pinCode"),      QStringLiteral("nfcUid"),
                             QStringLiteral("manual"),       QStringLiteral("carId"),
                             QStringLiteral("carNum"),       QStringLiteral("carModel"),
                             QStringLiteral("mode"),         QStringLiteral("uuid"),
                             QStringLiteral("targetCar"),    QStringLiteral("changeCarReason")};
    QTest::newRow("checkTicket") << QStringLiteral("checkTicket") << ticket;
    QTest::newRow("setRacer") << QStringLiteral("setRacer") << ticket;
    QTest::newRow("notify") << QStringLiteral("notify") << QStringList{QStringLiteral("msg"), QStringLiteral("data")};
    QTest::newRow("addRegistration") << QStringLiteral("addRegistration") << QStringList{QStringLiteral("racerData")};
    QTest::newRow("newRunControlConnected")
        << QStringLiteral("newRunControlConnected") << QStringList{QStringLiteral("sinkId")};
    const QStringList run{QStringLiteral("runQueueGuid"), QStringLiteral("newFinishParam"), QStringLiteral("sortMode"),
                          QStringLiteral("finishMode")};
    for (const char *name : {"doUpdateRunParams", "doStartQueue", "doFinishQueue", "doPauseQueue",
                             "doUpdateRunDuration", "doCloseRunQueue"})
        QTest::newRow(name) << text(name) << run;
}

// Every key of every request with every kind of value that it is not meant to hold. Each request gets a whole answer, and
// the desk is as good as before.
void TestRemoteControl::junk()
{
    QFETCH(QString, name);
    QFETCH(QStringList, keys);
    lines({paid("{a}", "1111")});
    m_office->seedQueue({{text("{r1}"), {seat("{b}", -1001, R"({"carId": 1, "carNum": "11"})")}}, {text("{r2}")}});
    QVERIFY(open());
    const QJsonArray values = JsonMatch::array(R"([null, true, false, 0, 1, -1, 1.5, 1e300, -1e300, 2147483648, "",
        "junk", "\u0000", "current", [], [[[]]], ["{b}"], {}, {"id": "x"}, {"id": 1e300, "clientId": [], "subItems": 5},
        {"clientId": 1e300, "runCount": -5, "subItems": [5, null, {"salesCommonId": "x"}], "salesCommonId": {}}])");
    const QStringList known{QStringLiteral("ok"), QStringLiteral("fail"), QString()};
    for (const QString &key : qAsConst(keys)) {
        for (const QJsonValue &value : values) {
            QJsonObject request = object(R"({"trackId": "T1", "runQueueGuid": "{r1}", "racerUuid": "{b}",
                "pinCode": "0101", "carId": 2, "msg": "new_ticket_reg", "data": {"salesCommonId": 1},
                "sortMode": 0, "finishMode": 1, "newFinishParam": 600})");
            request.insert(QStringLiteral("request"), name);
            request.insert(key, value);
            const Reply reply = ask(request);
            const QByteArray what = compact(request).toUtf8();
            QVERIFY2(!reply.story.value(0).startsWith(QLatin1String("no ")), what.constData());
            QVERIFY2(!reply.story.value(0).startsWith(QLatin1String("wrong ")), what.constData());
            const QString status = reply.answer.value(QLatin1String("status")).toString();
            QVERIFY2(known.contains(status), what.constData());
            if (status == QLatin1String("fail")) {
                QVERIFY2(reply.answer == failed(BadTicket) || reply.answer == failed(BusyCar)
                             || reply.answer == failed(WrongCar),
                         what.constData());
            }
        }
    }
    const QString runs = queue();
    QVERIFY2(runs.contains(text("{r2}")) || name == QLatin1String("doCloseRunQueue"), qPrintable(runs));
    JSON_COMPARE(ask(R"({"request": "checkTicket", "trackId": "T1", "pinCode": "0000"})").answer, failed(BadTicket));
    // What the junk left behind can be read again.
    const QStringList before = listed();
    QVERIFY(m_office->reopen());
    QCOMPARE(listed(), before);
}

void TestRemoteControl::deepAndHuge()
{
    m_office->seedQueue({{text("{r1}"), {seat("{b}", -1001)}}});
    QVERIFY(open());
    QJsonValue deep(QStringLiteral("bottom"));
    for (int i = 0; i < 500; ++i)
        deep = QJsonArray{QJsonObject{{QStringLiteral("a"), deep}}};
    QJsonArray wide;
    for (int i = 0; i < 10000; ++i)
        wide.append(QStringLiteral("{b}"));
    for (const char *name : {"checkTicket", "setRacer", "notify", "addRegistration", "doStartQueue", "nobody"}) {
        for (const QJsonValue &value : {deep, QJsonValue(wide), QJsonValue(QString(1 << 20, QLatin1Char('x')))}) {
            QJsonObject request = object(R"({"trackId": "T1", "msg": "new_ticket_reg"})");
            request.insert(QStringLiteral("request"), text(name));
            for (const char *key : {"racerUuid", "pinCode", "data", "racerData", "runQueueGuid", "carModel"})
                request.insert(text(key), value);
            const Reply reply = ask(request);
            QVERIFY(!reply.story.value(0).startsWith(QLatin1String("no ")));
        }
    }
    QCOMPARE(queue(), text("{r1}[{b}]"));
}

void TestRemoteControl::whileADialogIsOpen_data()
{
    QTest::addColumn<QString>("opener");
    for (const char *opener :
         {"bAddRacer", "bAddRun", "bRemoveRun", "pbClearRunsHistory", "bRemoveRacerFromList", "pbRemovePaid",
          "actionEditRacer", "actionRenameRun", "actionRenumberRuns", "actionMoveToRuns", "query_racer_from_database",
          "actionRemoveFromRun", "actionRefundTicket", "close", "parameters", "change of a car",
          "no edit of a paid line"})
        QTest::newRow(opener) << text(opener);
}

// Requests do not wait for the cashier: they are answered while a dialog stands open.
void TestRemoteControl::whileADialogIsOpen()
{
    QFETCH(QString, opener);
    OnlineService service;
    QVERIFY(service.listen(OnlineService::DeskPort));
    lines({paid("{z}", "9999", object(R"({"runCount": 2, "pinCodes": ["9999", "9999"]})")), paid("{a}", "1111"),
           paid("{u}", "8888", object(R"({"payState": false})"))});
    m_office->seedQueue(
        {{text("{r1}"), {seat("{b}", -1001, R"({"carId": 1, "carNum": "11", "competitorState": 2})")}}});
    m_office->seedHistory({TrackOffice::pastRun(text("{past}"), 1700000000)});
    QVERIFY(open());
    auto *tree = desk().find<QTreeView *>(QStringLiteral("tvCheckIn"));
    const int row = opener == QLatin1String("actionEditRacer") ? 2 : 0;
    tree->selectionModel()->setCurrentIndex(tree->model()->index(row, 0),
                                            QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    m_office->queue()->setCurrentRow(0);
    m_office->queue()->item(0)->setSelected(true);
    desk().send(QStringLiteral("refresh_run_info"), object(R"({"runQueueGuid": "{other}"})"));
    const bool ofASeat = QStringList{QStringLiteral("actionRemoveFromRun"), QStringLiteral("actionRefundTicket"),
                                     QStringLiteral("change of a car")}
                             .contains(opener);
    if (ofASeat)
        TrackOffice::clickCell(m_office->run(0), 0);
    QAction *change = opener == QLatin1String("change of a car") ? m_office->carEntry(text("Освободить")) : nullptr;
    if (opener == QLatin1String("close"))
        desk().send(QStringLiteral("new_run_started"), object(R"({"runQueueGuid": "{r1}"})"));

    Reply ticket;
    Reply car;
    Reply closed;
    const ModalAnswer answer = ModalAnswer::widget([&](QWidget *widget) {
        const QPointer<QDialog> dialog(qobject_cast<QDialog *>(widget));
        ticket = ask(R"({"request": "checkTicket", "trackId": "T1", "pinCode": "1111", "sinkId": "{s}"})");
        car = ask(R"({"request": "setRacer", "trackId": "T1", "racerUuid": "{a}", "carId": 2})");
        closed = ask(R"({"request": "doCloseRunQueue", "trackId": "T1", "runQueueGuid": "{r1}"})");
        if (dialog)
            dialog->reject();
    });
    if (auto *button = desk().find<QPushButton *>(opener))
        button->click();
    else if (auto *action = desk().find<QAction *>(opener))
        action->trigger();
    else if (change)
        change->trigger();
    else if (opener == QLatin1String("close"))
        TrackOffice::startButton(m_office->run(0))->click();
    else if (opener == QLatin1String("parameters"))
        QTest::mouseDClick(m_office->run(0), Qt::LeftButton, Qt::NoModifier, TrackOffice::title().center());
    else if (opener == QLatin1String("no edit of a paid line"))
        desk().find<QAction *>(QStringLiteral("actionEditRacer"))->trigger();
    else
        desk().send(opener);
    MODAL_VERIFY(answer);
    QCOMPARE(ticket.story.mid(0, 2), (QStringList{text("preset {r1}[-1001=1 -1002]"), text("queue {r1}[{b}=1 {a}]")}));
    QCOMPARE(ticket.answer.value(QLatin1String("status")).toString(), QStringLiteral("ok"));
    QCOMPARE(car.story, (QStringList{text("preset {r1}[-1001=1 -1002=2]"), text("queue {r1}[{b}=1 {a}=2]")}));
    QCOMPARE(car.answer.value(QLatin1String("status")).toString(), QStringLiteral("ok"));
    QCOMPARE(closed.story.size(), 2);
    QCOMPARE(queue(), text("nothing"));
    QCOMPARE(m_office->pastGuids(), (QStringList{text("{r1}"), text("{past}")}));
    QCOMPARE(listed(), (QStringList{text("{z}"), text("{u}")}));
}

void TestRemoteControl::hostAnswersFromInside_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("guid");
    QTest::addColumn<QString>("deed");
    for (const char *name : {"checkTicket", "setRacer"}) {
        for (const char *guid : {"", "current", "{r2}", "{x}"}) {
            for (const char *deed :
                 {"close the runs", "close one run", "remove the line", "take the seat", "seat him", "ask again"}) {
                QTest::newRow(qPrintable(
                    QString::fromLatin1("%1 %2, %3").arg(QLatin1String(name), QLatin1String(guid), QLatin1String(deed))))
                    << text(name) << text(guid) << text(deed);
            }
        }
    }
}

// The host answers from inside each event in turn: it closes runs, takes the line away, or sends the next request. The
// desk comes out of it with a whole answer and a sound queue.
void TestRemoteControl::hostAnswersFromInside()
{
    QFETCH(QString, name);
    QFETCH(QString, guid);
    QFETCH(QString, deed);
    bool another = true;
    for (int at = 0; another; ++at) {
        QVERIFY2(at < 60, "the request never comes to its end");
        m_office.reset(); // one track at a time
        m_office = std::make_unique<TrackOffice>();
        lines({paid("{a}", "1111", object(R"({"runCount": 2, "pinCodes": ["1111", "1111"]})"))});
        m_office->seedQueue({{text("{r1}"), {seat("{b}", -1001, R"({"carId": 1, "carNum": "11"})")}}, {text("{r2}")}});
        QVERIFY(open());
        QJsonObject request = object(R"({"trackId": "T1", "racerUuid": "{a}", "pinCode": "1111", "carId": 2})");
        request.insert(QStringLiteral("request"), name);
        request.insert(QStringLiteral("runQueueGuid"), guid);
        QCOMPARE(listed(), QStringList{text("{a}")});
        QCOMPARE(queue(), text("{r1}[{b}=1] {r2}[]"));
        const auto heard = std::make_shared<int>(0);
        const auto done = std::make_shared<bool>(false);
        auto watch = std::make_unique<QObject>();
        connect(desk().plugin(), &VanePluginInterface::pluginSignal, watch.get(), [=] {
            if (*done || (*heard)++ != at)
                return;
            *done = true;
            if (deed == QLatin1String("close the runs")) {
                const QVector<QJsonObject> items = m_office->journalItems();
                for (const QJsonObject &item : items) {
                    desk().send(QStringLiteral("run_closed"),
                                {{QStringLiteral("runQueueGuid"), item.value(QLatin1String("uuid"))}});
                }
            } else if (deed == QLatin1String("close one run")) {
                desk().send(QStringLiteral("run_closed"), object(R"({"runQueueGuid": "{r2}"})"));
            } else if (deed == QLatin1String("remove the line")) {
                desk().send(QStringLiteral("local_request"),
                            object(R"({"request": "remove_checkin_items", "requestData": {"removeList": ["{a}"]}})"));
            } else if (deed == QLatin1String("take the seat")) {
                const QVector<QJsonObject> items = m_office->journalItems();
                for (const QJsonObject &item : items) {
                    const QJsonObject whose{{QStringLiteral("runGuid"), item.value(QLatin1String("uuid"))},
                                            {QStringLiteral("racerGuid"), text("{a}")}};
                    desk().send(QStringLiteral("local_request"),
                                {{QStringLiteral("request"), QStringLiteral("remove_racer_from_run")},
                                 {QStringLiteral("requestData"), whose}});
                }
            } else if (deed == QLatin1String("seat him")) {
                desk().send(Request, object(R"({"request": "checkTicket", "trackId": "T1", "racerUuid": "{a}"})"));
            } else {
                desk().send(Request, request);
            }
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        });
        desk().clear();
        desk().send(Request, request);
        watch.reset();
        another = *done;
        const QJsonObject wrapper = desk().last(Answer);
        const QJsonObject given = wrapper.value(QLatin1String("req_answ")).toObject();
        const QByteArray what = QByteArray::number(at) + ": " + compact(wrapper).toUtf8();
        QVERIFY2(another || given.value(QLatin1String("srcRequest")).toString() == name, what.constData());
        if (given.value(QLatin1String("srcRequest")).toString() == name) {
            const QString status = given.value(QLatin1String("status")).toString();
            QVERIFY2(status == QLatin1String("ok")
                         || (status == QLatin1String("fail")
                             && (given.value(QLatin1String("message")).toString() == text(BadTicket)
                                 || given.value(QLatin1String("message")).toString() == text(WrongCar))),
                     what.constData());
        }
        // The line went before anything was looked at.
        if (at == 0 && deed == QLatin1String("remove the line"))
            QCOMPARE(given.value(QLatin1String("message")).toString(), text(BadTicket));
        // Nobody sits twice in one run, and nobody is lost: he waits in the list, has a seat, or sat in a closed run.
        const QVector<QJsonObject> runs = m_office->runs();
        for (const QJsonObject &run : runs) {
            QSet<QString> seen;
            const QJsonObject racers = run.value(QLatin1String("runCompetitors")).toObject();
            for (const QJsonValue &racer : racers) {
                const QString uuid = racer[QLatin1String("uuid")].toString();
                QVERIFY2(!seen.contains(uuid), what.constData());
                seen.insert(uuid);
            }
        }
        QStringList places = listed();
        for (const QJsonObject &run : runs)
            places.append(seatsOf(run));
        const QVector<QJsonObject> past = m_office->pastRuns();
        for (const QJsonObject &run : past)
            places.append(seatsOf(run));
        const QString place = places.join(QLatin1Char(' '));
        // On his way from one run to another he has no seat while the host closes both.
        const bool betweenRuns = deed == QLatin1String("close the runs") && !guid.isEmpty();
        if (deed != QLatin1String("remove the line") && deed != QLatin1String("take the seat") && !betweenRuns)
            QVERIFY2(place.contains(text("{a}")), what.constData());
        QVERIFY2(place.count(text("{a}")) <= 2, what.constData());
        QCOMPARE(ask(R"({"request": "nobody", "trackId": "T1"})").story, QStringList());
        HostProbe::settle(1);
    }
}

DESK_TEST_MAIN(TestRemoteControl)
#include "tst_remotecontrol.moc"
