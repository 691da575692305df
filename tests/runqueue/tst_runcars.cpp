#include "plugin/ticketpluginform.h"
#include "runqueue/runcontainerwidget.h"
#include "vaneplugininterface.h"

#include "desktest.h"
#include "jsonmatch.h"

#include <QDateTime>
#include <QJsonDocument>
#include <QListWidget>
#include <QSignalSpy>

#include <memory>

/// What clients may ask for a run and its cars, for which no event of the host stands alone.
class RunCarsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup();

    void freeCars();
    void carHeldByAnotherModel();
    void carFreeFor();
    void setCar_data();
    void setCar();
    void setCarAnswersTheFirstOfTwins();
    void changedParams_data();
    void changedParams();

    void releaseCar_data();
    void releaseCar();
    void startByGuid_data();
    void startByGuid();
    void closeByGuid_data();
    void closeByGuid();
    void pauseByGuid_data();
    void pauseByGuid();
    void duration_data();
    void duration();
    void durationOfTheCurrentRun();
    void silentWithoutHost();

private:
    void makeForm(bool host = true);
    QStringList heard();

    std::unique_ptr<TempTrack> m_track;
    std::unique_ptr<VanePluginInterface> m_host;
    std::unique_ptr<TicketPluginForm> m_form;
    QStringList m_names;
    QVector<QJsonObject> m_payloads;
    RunContainerWidget *m_a = nullptr;
    RunContainerWidget *m_b = nullptr;
};

namespace {

using JsonMatch::array;
using JsonMatch::object;

class FakeHost : public VanePluginInterface
{
public:
    quintptr hostOption1() override { return 0; }
    quintptr hostOption2() override { return 0; }
    QString tabCaption() override { return {}; }
    QString moduleName() override { return QStringLiteral("ticket_plugin"); }
    QStringList sentEvents() override { return {}; }
    QStringList receivedEvents() override { return {}; }
    void pluginSlot(QString /*module*/, QString /*event*/, QJsonObject /*jsonData*/) override {}
};

QStringList publication()
{
    return {QStringLiteral("remote_control_answer"), QStringLiteral("local_request_answer")};
}

QString uuid(const QJsonObject &request)
{
    return request.value(QLatin1String("uuid")).toString();
}

QJsonObject racer(const QString &name, const QString &model, int carId = -1, const QString &carNum = {})
{
    return {{QStringLiteral("uuid"), name},   {QStringLiteral("name"), name},     {QStringLiteral("carModel"), model},
            {QStringLiteral("carId"), carId}, {QStringLiteral("carNum"), carNum}, {QStringLiteral("clientId"), -1}};
}

// Ids and numbers in different orders; two models; one car in the workshop.
QJsonArray fleet()
{
    return array(R"([
        {"id": 9, "name": "Sodi", "num": "2", "available_for_runs": true},
        {"id": 2, "name": "Sodi", "num": "30", "available_for_runs": true},
        {"id": 5, "name": "Sodi", "num": "-", "available_for_runs": true},
        {"id": 7, "name": "Rimo", "num": "1", "available_for_runs": true},
        {"id": 4, "name": "Sodi", "num": "100", "available_for_runs": true},
        {"id": 3, "name": "Sodi", "num": "4", "available_for_runs": false}])");
}

QStringList numbers(const QJsonArray &cars)
{
    QStringList found;
    for (const QJsonValue &car : cars)
        found.append(car.toObject().value(QLatin1String("num")).toString());
    return found;
}

} // namespace

void RunCarsTest::cleanup()
{
    m_form.reset();
    m_host.reset();
    m_track.reset();
    m_names.clear();
    m_payloads.clear();
}

// Two runs, "a" on the track's list with the number 8, and "b".
void RunCarsTest::makeForm(bool host)
{
    m_track = std::make_unique<TempTrack>();
    QByteArray ticket = QJsonDocument(racer(QStringLiteral("{anna}"), QStringLiteral("Sodi"), 9, QStringLiteral("2")))
                            .toJson(QJsonDocument::Compact);
    m_track->writeJournal(QStringLiteral("tickets.state"), ticket + '\n');
    m_track->writeJournal(QStringLiteral("runslist.state"),
                          "RUNITEM:{\"uuid\":\"{a}\",\"runNum\":3}\n"
                          "COMPETITOR:{\"uuid\":\"{anna}\",\"name\":\"Anna\",\"clientId\":-1,\"competitorId\":-1001,"
                          "\"carModel\":\"Sodi\",\"carId\":9,\"carNum\":\"2\"}\n"
                          "RUNITEM:{\"uuid\":\"{b}\",\"runNum\":4,\"finishMode\":2,\"finishParam\":20}\n"
                          "COMPETITOR:{\"uuid\":\"{boris}\",\"name\":\"Boris\",\"clientId\":-1,\"competitorId\":-1001,"
                          "\"carModel\":\"Sodi\",\"carId\":9,\"carNum\":\"2\"}\n");
    m_form = std::make_unique<TicketPluginForm>();
    if (host) {
        m_host = std::make_unique<FakeHost>();
        connect(m_host.get(), &VanePluginInterface::pluginSignal, this,
                [this](const QString &, const QString &event, const QJsonObject &data) {
                    m_names.append(event);
                    m_payloads.append(data);
                });
        m_form->setPlugin(m_host.get());
    }
    m_a = m_form->findRun(QStringLiteral("{a}"));
    m_b = m_form->findRun(QStringLiteral("{b}"));
    QVERIFY(m_a && m_b);
    heard();
}

QStringList RunCarsTest::heard()
{
    const QStringList names = m_names;
    m_names.clear();
    m_payloads.clear();
    return names;
}

void RunCarsTest::freeCars()
{
    RunContainerWidget run;
    QCOMPARE(run.freeCars(QStringLiteral("Sodi")), QJsonArray());
    run.setCars(fleet());
    QCOMPARE(numbers(run.freeCars(QStringLiteral("Sodi"))), QStringList({"2", "30", "100", "-"}));
    JSON_COMPARE(run.freeCarIds(QStringLiteral("Sodi")), array("[2, 4, 5, 9]"));
    JSON_COMPARE(run.freeCars(QStringLiteral("Rimo")), QJsonArray{fleet().at(3)});
    JSON_COMPARE(run.freeCars(QString()), QJsonArray());
    run.addCompetitor(racer(QStringLiteral("{a}"), QStringLiteral("Sodi"), 2), false);
    run.addCompetitor(racer(QStringLiteral("{b}"), QStringLiteral("Sodi")), false);
    run.addCompetitor(racer(QStringLiteral("{c}"), QStringLiteral("Rimo"), 7), false);
    QCOMPARE(numbers(run.freeCars(QStringLiteral("Sodi"))), QStringList({"2", "100", "-"}));
    JSON_COMPARE(run.freeCarIds(QStringLiteral("Sodi")), array("[4, 5, 9]"));
    JSON_COMPARE(run.freeCars(QStringLiteral("Rimo")), QJsonArray());
    JSON_COMPARE(run.busyCarIds(QStringLiteral("Sodi")), array("[2]"));
    JSON_COMPARE(run.busyCarIds(QStringLiteral("Rimo")), array("[7]"));
    JSON_COMPARE(run.busyCarIds(QStringLiteral("Bike")), QJsonArray());
    JSON_COMPARE(run.busyCarIds(QString()), array("[2, 7]"));
    run.setCars({});
    JSON_COMPARE(run.freeCars(QStringLiteral("Sodi")), QJsonArray());
    JSON_COMPARE(run.busyCarIds(QString()), array("[2, 7]"));
}

// A racer of one model on a car of another: the menu of cars looks at every racer, the list of ids at the model's own.
void RunCarsTest::carHeldByAnotherModel()
{
    RunContainerWidget run;
    run.setCars(fleet());
    run.addCompetitor(racer(QStringLiteral("{c}"), QStringLiteral("Rimo"), 9), false);
    QCOMPARE(numbers(run.freeCars(QStringLiteral("Sodi"))), QStringList({"30", "100", "-"}));
    JSON_COMPARE(run.freeCarIds(QStringLiteral("Sodi")), array("[2, 4, 5, 9]"));
    JSON_COMPARE(run.busyCarIds(QStringLiteral("Sodi")), QJsonArray());
    JSON_COMPARE(run.freeCarIds(QStringLiteral("Rimo")), array("[7]"));
}

void RunCarsTest::carFreeFor()
{
    RunContainerWidget run;
    run.addCompetitor(racer(QStringLiteral("{a}"), QStringLiteral("Sodi"), 2), false);
    QVERIFY(run.isCarFreeFor(2, QStringLiteral("{a}")));
    QVERIFY(!run.isCarFreeFor(2, QStringLiteral("{b}")));
    QVERIFY(!run.isCarFreeFor(2, QString()));
    QVERIFY(run.isCarFreeFor(9, QStringLiteral("{b}")));
}

void RunCarsTest::setCar_data()
{
    QTest::addColumn<int>("state");
    QTest::addColumn<QJsonObject>("request");
    QTest::addColumn<int>("result");
    QTest::addColumn<int>("carId");
    QTest::addColumn<QString>("carNum");
    QTest::addColumn<QString>("signal");

    const QString preset = QStringLiteral("preset");
    const QString switched = QStringLiteral("switch");
    const QString none;
    // The racer holds the car 2 with the number 30; another one the 9.
    QTest::newRow("remote, waiting") << 0 << object(R"({"uuid": "{a}", "targetCar": {"id": 4}})") << 0 << 4 << "100"
                                     << preset;
    QTest::newRow("remote, on the track")
        << 5 << object(R"({"uuid": "{a}", "targetCar": {"id": 4}})") << 0 << 4 << "100" << preset;
    QTest::newRow("second name of the racer")
        << 0 << object(R"({"uuid": "", "racerUuid": "{a}", "targetCar": {"id": 4}})") << 0 << 4 << "100" << preset;
    QTest::newRow("the first name counts")
        << 0 << object(R"({"uuid": "{x}", "racerUuid": "{a}", "targetCar": {"id": 4}})") << 0 << 2 << "30" << none;
    QTest::newRow("nobody") << 0 << object(R"({"targetCar": {"id": 4}})") << 0 << 2 << "30" << none;
    QTest::newRow("plain id") << 0 << object(R"({"uuid": "{a}", "carId": 4})") << 0 << 4 << "100" << preset;
    QTest::newRow("plain id, empty target")
        << 0 << object(R"({"uuid": "{a}", "targetCar": {}, "carId": 4})") << 0 << 4 << "100" << preset;
    QTest::newRow("target before plain id")
        << 0 << object(R"({"uuid": "{a}", "targetCar": {"id": 5}, "carId": 4})") << 0 << 5 << "-" << preset;
    QTest::newRow("target without an id")
        << 0 << object(R"({"uuid": "{a}", "targetCar": {"num": "1"}, "carId": 4})") << 0 << -1 << "" << preset;
    QTest::newRow("neither") << 0 << object(R"({"uuid": "{a}"})") << 0 << -1 << "" << preset;
    QTest::newRow("the same") << 0
                              << object(R"({"uuid": "{a}", "targetCar": {"id": 2}, "changeCarReason": "brokenCar"})")
                              << 0 << 2 << "30" << none;
    QTest::newRow("other model") << 0 << object(R"({"uuid": "{a}", "targetCar": {"id": 7}})") << -1 << 2 << "30"
                                 << none;
    QTest::newRow("other model, by hand")
        << 0 << object(R"({"uuid": "{a}", "targetCar": {"id": 7}, "manual": true})") << 0 << 7 << "1" << preset;
    QTest::newRow("other model, by hand as text")
        << 0 << object(R"({"uuid": "{a}", "targetCar": {"id": 7}, "manual": "true"})") << -1 << 2 << "30" << none;
    QTest::newRow("unknown car") << 0 << object(R"({"uuid": "{a}", "targetCar": {"id": 77}})") << -1 << 2 << "30"
                                 << none;
    QTest::newRow("car in the workshop") << 0 << object(R"({"uuid": "{a}", "targetCar": {"id": 3}})") << -1 << 2 << "30"
                                         << none;
    QTest::newRow("unknown car, by hand")
        << 0 << object(R"({"uuid": "{a}", "targetCar": {"id": 77}, "manual": true})") << 0 << 77 << "" << preset;
    QTest::newRow("held car") << 0 << object(R"({"uuid": "{a}", "targetCar": {"id": 9}})") << 0 << 9 << "2" << preset;
    QTest::newRow("freed") << 5 << object(R"({"uuid": "{a}", "targetCar": {"id": -1}})") << 0 << -1 << "" << preset;
    QTest::newRow("broken") << 5 << object(R"({"uuid": "{a}", "targetCar": {"id": 4}, "changeCarReason": "brokenCar"})")
                            << 0 << 4 << "100" << switched;
    QTest::newRow("broken, waiting") << 0 << object(R"({"uuid": "{a}", "targetCar": {"id": 4},
                                                        "changeCarReason": "brokenCar"})")
                                     << 0 << 4 << "100" << switched;
    QTest::newRow("broken, freed") << 5 << object(R"({"uuid": "{a}", "targetCar": {"id": -1},
                                                      "changeCarReason": "brokenCar"})")
                                   << 0 << -1 << "" << switched;
    QTest::newRow("wrong car, asked for here") << 5 << object(R"({"uuid": "{a}", "targetCar": {"id": 4},
                                                                  "changeCarReason": "wrongCar", "isLocalRequest": true})")
                                               << 0 << 4 << "100" << preset;
    QTest::newRow("another word") << 5 << object(R"({"uuid": "{a}", "targetCar": {"id": 4}, "changeCarReason": "x",
                                                     "isLocalRequest": true})")
                                  << 0 << 4 << "100" << preset;
    QTest::newRow("no word at all") << 5 << object(R"({"uuid": "{a}", "targetCar": {"id": 4}, "changeCarReason": null,
                                                       "isLocalRequest": true})")
                                    << 0 << 4 << "100" << preset;
    QTest::newRow("local as text") << 5
                                   << object(R"({"uuid": "{a}", "targetCar": {"id": 4}, "isLocalRequest": "true"})")
                                   << 0 << 4 << "100" << preset;
    QTest::newRow("target of another type")
        << 0 << object(R"({"uuid": "{a}", "targetCar": 5, "carId": 4})") << 0 << 4 << "100" << preset;
    QTest::newRow("id as text") << 0 << object(R"({"uuid": "{a}", "targetCar": {"id": "4"}})") << 0 << -1 << ""
                                << preset;
}

void RunCarsTest::setCar()
{
    QFETCH(int, state);
    QFETCH(QJsonObject, request);
    QFETCH(int, result);
    QFETCH(int, carId);
    QFETCH(QString, carNum);
    QFETCH(QString, signal);
    RunContainerWidget run;
    run.setCars(fleet());
    run.setRunId(44);
    QJsonObject first = racer(QStringLiteral("{a}"), QStringLiteral("Sodi"), 2, QStringLiteral("30"));
    if (state)
        first.insert(QStringLiteral("competitorState"), state);
    run.addCompetitor(first, false);
    run.addCompetitor(racer(QStringLiteral("{b}"), QStringLiteral("Sodi"), 9, QStringLiteral("2")), false);
    const QJsonObject before = run.competitorByUuid(QStringLiteral("{a}"));
    const QJsonObject other = run.competitorByUuid(QStringLiteral("{b}"));
    QSignalSpy presets(&run, &RunContainerWidget::presetUpdated);
    QSignalSpy switches(&run, &RunContainerWidget::switchCar);

    QCOMPARE(run.setCompetitorCar(request), result);
    QCOMPARE(presets.size(), signal == QLatin1String("preset") ? 1 : 0);
    QCOMPARE(switches.size(), signal == QLatin1String("switch") ? 1 : 0);
    if (!switches.isEmpty())
        JSON_COMPARE(switches.at(0).at(0).toJsonObject(),
                     QJsonObject({{QStringLiteral("switchReason"), QStringLiteral("malfunction")},
                                  {QStringLiteral("competitorId"), -1001},
                                  {QStringLiteral("carId"), carId},
                                  {QStringLiteral("runId"), 44}}));
    if (!presets.isEmpty())
        JSON_COMPARE(presets.at(0).at(0).toJsonObject(), run.runPreset());
    QJsonObject expected = before;
    expected.insert(QStringLiteral("carId"), carId);
    expected.insert(QStringLiteral("carNum"), carNum);
    JSON_COMPARE(run.competitorByUuid(QStringLiteral("{a}")), expected);
    JSON_COMPARE(run.competitorByUuid(QStringLiteral("{b}")), other);
}

void RunCarsTest::setCarAnswersTheFirstOfTwins()
{
    RunContainerWidget run;
    run.setCars(fleet());
    run.addCompetitor(racer(QStringLiteral("{a}"), QStringLiteral("Sodi")), false);
    run.addCompetitor(racer(QStringLiteral("{a}"), QStringLiteral("Sodi")), false);
    QCOMPARE(run.setCompetitorCar(object(R"({"uuid": "{a}", "carId": 4})")), 0);
    QCOMPARE(run.presetArray().at(0).toObject().value(QLatin1String("carId")).toInt(), 4);
    QCOMPARE(run.presetArray().at(1).toObject().value(QLatin1String("carId")).toInt(), -1);
}

void RunCarsTest::changedParams_data()
{
    QTest::addColumn<int>("oldMode");
    QTest::addColumn<int>("oldParam");
    QTest::addColumn<QJsonObject>("request");
    QTest::addColumn<int>("mode");
    QTest::addColumn<int>("param");
    QTest::addColumn<int>("sort");
    QTest::newRow("laps to time") << 2 << 10 << object(R"({"finishMode": 1, "sortMode": 1})") << 1 << 600 << 1;
    QTest::newRow("time to laps") << 1 << 600 << object(R"({"finishMode": 2})") << 2 << 10 << 0;
    QTest::newRow("time to laps, cut") << 1 << 119 << object(R"({"finishMode": 2})") << 2 << 1 << 0;
    QTest::newRow("time stays") << 1 << 600 << object(R"({"finishMode": 1, "sortMode": 1})") << 1 << 600 << 1;
    QTest::newRow("laps stay") << 2 << 20 << object(R"({"finishMode": 2})") << 2 << 20 << 0;
    QTest::newRow("nothing") << 2 << 10 << QJsonObject() << 1 << 600 << 0;
    QTest::newRow("unknown mode") << 1 << 600 << object(R"({"finishMode": 7})") << 7 << 600 << 0;
    QTest::newRow("wrong types") << 2 << 10 << object(R"({"finishMode": "2", "sortMode": "1"})") << 1 << 600 << 0;
}

void RunCarsTest::changedParams()
{
    QFETCH(int, oldMode);
    QFETCH(int, oldParam);
    QFETCH(QJsonObject, request);
    QFETCH(int, mode);
    QFETCH(int, param);
    QFETCH(int, sort);
    makeForm();
    m_a->applyRunParams({{QStringLiteral("finishMode"), oldMode}});
    m_a->setFinishParam(oldParam);
    heard();
    m_a->applyRunParams(request);
    QCOMPARE(m_names, QStringList{QStringLiteral("update_run_params")} + publication());
    // The whole run, with seconds or laps as they are.
    JSON_COMPARE(m_payloads.at(0).value(QLatin1String("runCompetitors")),
                 m_a->runRecord().value(QLatin1String("runCompetitors")));
    JSON_CONTAINS(m_payloads.at(0), QJsonObject({{QStringLiteral("runQueueGuid"), QStringLiteral("{a}")},
                                                 {QStringLiteral("finishMode"), mode},
                                                 {QStringLiteral("finishType"), mode},
                                                 {QStringLiteral("finishParam"), param},
                                                 {QStringLiteral("runDuration"), param},
                                                 {QStringLiteral("sortMode"), sort},
                                                 {QStringLiteral("sortType"), sort}}));
    QCOMPARE(m_a->finishParameter(), param);
    QCOMPARE(m_a->finish(), mode);
}

void RunCarsTest::releaseCar_data()
{
    QTest::addColumn<int>("carId");
    QTest::addColumn<QString>("guid");
    QTest::addColumn<bool>("inA");
    QTest::addColumn<bool>("inB");
    QTest::addColumn<bool>("inList");
    QTest::newRow("everywhere") << 9 << QString() << true << true << true;
    QTest::newRow("current") << 9 << QStringLiteral("current") << true << true << true;
    QTest::newRow("one run") << 9 << QStringLiteral("{b}") << false << true << true;
    QTest::newRow("unknown run") << 9 << QStringLiteral("{x}") << false << false << true;
    QTest::newRow("unknown car") << 8 << QString() << false << false << false;
}

void RunCarsTest::releaseCar()
{
    QFETCH(int, carId);
    QFETCH(QString, guid);
    QFETCH(bool, inA);
    QFETCH(bool, inB);
    QFETCH(bool, inList);
    makeForm();
    m_form->releaseCar(carId, guid);
    QVERIFY(!m_names.contains(QStringLiteral("replace_run_preset")));
    const QJsonObject held = object(R"({"carId": 9, "carNum": "2"})");
    const QJsonObject freed = object(R"({"carId": -1, "carNum": ""})");
    JSON_CONTAINS(m_a->competitorByUuid(QStringLiteral("{anna}")), inA ? freed : held);
    JSON_CONTAINS(m_b->competitorByUuid(QStringLiteral("{boris}")), inB ? freed : held);
    m_form->runQueueChanged();
    const QJsonObject line = object(m_track->readJournal(QStringLiteral("tickets.state")).constData());
    QCOMPARE(uuid(line), QStringLiteral("{anna}"));
    QCOMPARE(line.value(QLatin1String("carId")).toInt(), inList ? -1 : 9);
}

void RunCarsTest::startByGuid_data()
{
    QTest::addColumn<QJsonObject>("request");
    QTest::addColumn<QString>("started");
    QTest::newRow("head") << object(R"({"runQueueGuid": "{a}"})") << QStringLiteral("{a}");
    QTest::newRow("another") << object(R"({"runQueueGuid": "{b}", "startingHits": [1]})") << QStringLiteral("{b}");
    QTest::newRow("current") << object(R"({"runQueueGuid": "current"})") << QStringLiteral("{a}");
    QTest::newRow("unknown") << object(R"({"runQueueGuid": "{x}"})") << QString();
    QTest::newRow("none") << QJsonObject() << QString();
    QTest::newRow("number") << object(R"({"runQueueGuid": 1})") << QString();
}

void RunCarsTest::startByGuid()
{
    QFETCH(QJsonObject, request);
    QFETCH(QString, started);
    makeForm();
    m_form->startRunByGuid(request);
    if (started.isEmpty()) {
        QCOMPARE(m_names, QStringList());
        return;
    }
    QCOMPARE(m_names, QStringList{QStringLiteral("start_run")});
    QCOMPARE(m_payloads.at(0).value(QLatin1String("runQueueGuid")).toString(), started);
    QVERIFY(!m_payloads.at(0).contains(QStringLiteral("startingHits")));
}

void RunCarsTest::closeByGuid_data()
{
    startByGuid_data();
}

void RunCarsTest::closeByGuid()
{
    QFETCH(QJsonObject, request);
    QFETCH(QString, started);
    makeForm();
    // No question, though the run is still on the track.
    m_a->setCurrentRun(true);
    heard();
    m_form->closeRunByGuid(request);
    if (started.isEmpty()) {
        QCOMPARE(m_names, QStringList());
        QVERIFY(m_form->findRun(QStringLiteral("{a}")));
        return;
    }
    QCOMPARE(m_names, QStringList{QStringLiteral("close_run")} + publication());
    JSON_COMPARE(m_payloads.at(0), QJsonObject({{QStringLiteral("command"), QStringLiteral("close_run")},
                                                {QStringLiteral("runQueueGuid"), started}}));
    QVERIFY(!m_form->findRun(started));
    const auto *history = m_form->findChild<QListWidget *>(QStringLiteral("lwRunsHistory"));
    QCOMPARE(history->count(), 1);
}

void RunCarsTest::pauseByGuid_data()
{
    startByGuid_data();
}

void RunCarsTest::pauseByGuid()
{
    QFETCH(QJsonObject, request);
    QFETCH(QString, started);
    makeForm();
    m_a->setRunId(71);
    m_b->setRunId(72);
    heard();
    const qint64 before = QDateTime::currentMSecsSinceEpoch();
    m_form->pauseRunByGuid(request);
    if (started.isEmpty()) {
        QCOMPARE(m_names, QStringList());
        return;
    }
    QCOMPARE(m_names, QStringList{QStringLiteral("insert_hit")});
    QJsonObject hit = m_payloads.at(0);
    const auto time = qint64(hit.take(QStringLiteral("timestamp")).toDouble());
    QVERIFY(time >= before && time <= QDateTime::currentMSecsSinceEpoch());
    JSON_COMPARE(hit, QJsonObject({{QStringLiteral("runId"), started == QLatin1String("{a}") ? 71 : 72},
                                   {QStringLiteral("flag"), QStringLiteral("RED")},
                                   {QStringLiteral("doRestartIfNeeded"), true}}));
}

void RunCarsTest::duration_data()
{
    QTest::addColumn<QJsonObject>("request");
    QTest::addColumn<int>("a");
    QTest::addColumn<int>("b");
    QTest::newRow("time") << object(R"({"runQueueGuid": "{a}", "newFinishParam": 900})") << 900 << 20;
    QTest::newRow("laps") << object(R"({"runQueueGuid": "{b}", "newFinishParam": 33})") << 600 << 33;
    QTest::newRow("no value") << object(R"({"runQueueGuid": "{a}"})") << -1 << 20;
    QTest::newRow("text") << object(R"({"runQueueGuid": "{a}", "newFinishParam": "900"})") << -1 << 20;
    QTest::newRow("current") << object(R"({"runQueueGuid": "current", "newFinishParam": 900})") << 900 << 20;
}

void RunCarsTest::duration()
{
    QFETCH(QJsonObject, request);
    QFETCH(int, a);
    QFETCH(int, b);
    makeForm();
    m_form->updateRunDuration(request);
    QCOMPARE(m_names, publication());
    QCOMPARE(m_a->finishParameter(), a);
    QCOMPARE(m_b->finishParameter(), b);
    heard();
    m_form->updateRunDuration(object(R"({"runQueueGuid": "{x}", "newFinishParam": 5})"));
    QCOMPARE(m_a->finishParameter(), a);
    QCOMPARE(m_b->finishParameter(), b);
}

void RunCarsTest::durationOfTheCurrentRun()
{
    makeForm();
    const QStringList expected = QStringList{QStringLiteral("current_run_finish_params")} + publication();
    m_a->setCurrentRun(true);
    heard();
    m_form->updateRunDuration(object(R"({"runQueueGuid": "{a}", "newFinishParam": 900})"));
    QCOMPARE(m_names, expected);
    JSON_COMPARE(m_payloads.at(0), object(R"({"autoFinishParam": 900, "useAutoFinish": "TIME"})"));
    m_b->setCurrentRun(true);
    heard();
    m_form->updateRunDuration(object(R"({"runQueueGuid": "{b}", "newFinishParam": 5})"));
    QCOMPARE(m_names, expected);
    JSON_COMPARE(m_payloads.at(0), object(R"({"autoFinishParam": 5, "useAutoFinish": "LAPS"})"));
}

void RunCarsTest::silentWithoutHost()
{
    makeForm(false);
    const QJsonObject a = object(R"({"runQueueGuid": "{a}", "newFinishParam": 900, "command": "close_run"})");
    m_form->startRunByGuid(a);
    m_form->pauseRunByGuid(a);
    m_form->closeRunByGuid(a);
    m_form->startStopRun(a);
    // Nothing is closed as long as nobody can be told.
    QCOMPARE(m_form->findRun(QStringLiteral("{a}")), m_a);
    m_a->setCurrentRun(true);
    m_form->updateRunDuration(a);
    QCOMPARE(m_a->finishParameter(), 900);
}

DESK_TEST_MAIN(RunCarsTest)

#include "tst_runcars.moc"
