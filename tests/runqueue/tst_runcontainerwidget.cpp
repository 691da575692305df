#include "runqueue/runcontainerwidget.h"

#include "desktest.h"
#include "jsonmatch.h"

#include <QBuffer>
#include <QDialog>
#include <QJsonDocument>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QUuid>

/// One run by itself: its seats, its records, its journal lines, its lock and whom it takes.
class RunContainerWidgetTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void freshRun();
    void identitiesDiffer();

    void seatOfARacer();
    void seatColours_data();
    void seatColours();
    void freshUuids();
    void competitorIdsAreNeverReused();
    void competitorIdsAfterRestoring_data();
    void competitorIdsAfterRestoring();
    void restoredSeatKeepsItsNumber();
    void takenCar();
    void takenCarOfSeveral();
    void seatTellsThenResizes();

    void removeAt();
    void removeAtOutOfRange_data();
    void removeAtOutOfRange();
    void removeByUuid();
    void removeByUuidOfNobody_data();
    void removeByUuidOfNobody();
    void lookUp();
    void presetRows();

    void recordOfAnEmptyRun();
    void recordOfAFullRun();
    void recordFollowsEveryChange();
    void nameInRecordAndJournal();
    void displayName();
    void numberFromName();
    void nameFromTheParametersDialog();

    void journalBytes();
    void journalOfAnEmptyRun();
    void journalItemRoundTrip();
    void journalItemDefaults();
    void journalItemOfWrongTypes();
    void journalItemKeepsTheIdentity();
    void journalItemAndTheLockIcon();

    void loadedRecord();
    void loadedRecordLoses();
    void loadedRecordDefaults();
    void loadedRecordColours();
    void loadedRecordOrder();
    void loadedRecordReplacesSeats();
    void loadedRecordLocks();

    void canAcceptRacer_data();
    void canAcceptRacer();
    void currentRunAccepts();

    void lockOperation();
    void lockButton();
    void setters();

    void anyBytesForARun_data();
    void anyBytesForARun();
};

namespace {

using JsonMatch::array;
using JsonMatch::object;

QJsonObject racer(const char *uuid, const QJsonObject &more = {})
{
    QJsonObject entry{{"uuid", uuid}, {"name", uuid},   {"carId", -1},
                      {"carNum", ""}, {"clientId", -1}, {"carModel", "Sodi"}};
    for (auto it = more.begin(); it != more.end(); ++it)
        entry.insert(it.key(), it.value());
    return entry;
}

QJsonObject data(const RunContainerWidget &run, int index)
{
    return run.competitors().at(size_t(index))->data;
}

int count(const RunContainerWidget &run)
{
    return int(run.competitors().size());
}

int seatId(const RunContainerWidget &run, int index)
{
    return data(run, index)["competitorId"].toInt(0);
}

QByteArray journal(const RunContainerWidget &run)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    run.writeJournal(buffer);
    return buffer.data();
}

/// The run's own line of the journal.
QJsonObject item(const RunContainerWidget &run)
{
    const QByteArray line = journal(run).split('\n').first();
    if (!line.startsWith("RUNITEM:"))
        qFatal("no item: %s", line.constData());
    return object(line.mid(8).constData());
}

QPushButton *buttonAt(RunContainerWidget &run, const QPoint &place)
{
    const QList<QPushButton *> buttons = run.findChildren<QPushButton *>();
    for (QPushButton *button : buttons) {
        if (button->pos() == place)
            return button;
    }
    qFatal("no button there");
    return nullptr;
}

QPushButton *lockButtonOf(RunContainerWidget &run)
{
    return buttonAt(run, QPoint(4, 4));
}

QImage picture(const QIcon &icon)
{
    return icon.pixmap(24, 24).toImage();
}

bool showsLocked(RunContainerWidget &run)
{
    static const QImage locked = picture(QIcon(QStringLiteral(":/ticketPlugin/runLocked")));
    static const QImage unlocked = picture(QIcon(QStringLiteral(":/ticketPlugin/runUnlocked")));
    const QImage shown = picture(lockButtonOf(run)->icon());
    if (locked == unlocked || (shown != locked && shown != unlocked))
        qFatal("the lock button shows neither of two different locks");
    return shown == locked;
}

QJsonArray cars(const QStringList &models)
{
    QJsonArray list;
    for (const QString &model : models) {
        const int id = list.size() + 1;
        list.append(
            QJsonObject{{"id", id}, {"name", model}, {"num", QString::number(id)}, {"available_for_runs", true}});
    }
    return list;
}

} // namespace

void RunContainerWidgetTest::freshRun()
{
    const RunContainerWidget run;
    QVERIFY(run.competitors().empty());
    QCOMPARE(run.state(), QStringLiteral("unknown"));
    QCOMPARE(run.isRunLocked(), false);
    QCOMPARE(run.isCurrentRun(), false);
    QCOMPARE(run.isHistoryRun(), false);
    QCOMPARE(run.number(), 1);
    QCOMPARE(run.finishParameter(), 600);
    QCOMPARE(run.finish(), 1);
    QCOMPARE(run.pause(), 180);
    QCOMPARE(run.id(), -1);
    QCOMPARE(run.name(), QString());
    QVERIFY(!QUuid(run.guid()).isNull());
    QCOMPARE(run.guid(), QUuid(run.guid()).toString());
    JSON_CONTAINS(item(run), object(R"({"runLocked": false, "runName": "", "nameForced": false, "runNum": 1,
        "finishParam": 600, "finishMode": 1, "sortMode": 0, "pauseTime": 180, "maxRacersInRun": 10,
        "lastCompetitorId": -1000, "runColor": "#ffffff"})"));
}

void RunContainerWidgetTest::identitiesDiffer()
{
    const RunContainerWidget a;
    const RunContainerWidget b;
    QVERIFY(a.guid() != b.guid());
}

void RunContainerWidgetTest::seatOfARacer()
{
    RunContainerWidget run;
    const QJsonObject entry = racer("{a}", {{"name", "Иванов Пётр"},
                                            {"comment", "x"},
                                            {"color", "#ff8000"},
                                            {"pinCodes", QJsonArray{"0001"}},
                                            {"own", QJsonObject{{"k", 1.5}}}});
    const RunCompetitor *seat = run.addCompetitor(entry, false);
    QVERIFY(seat);
    QCOMPARE(seat, run.competitors().front().get());
    QCOMPARE(seat->caption, QStringLiteral("Иванов Пётр"));
    QCOMPARE(seat->color, QColor(255, 128, 0));
    // The whole entry is kept, whatever else it holds.
    QJsonObject expected = entry;
    expected["competitorId"] = -1001;
    JSON_COMPARE(seat->data, expected);
}

void RunContainerWidgetTest::seatColours_data()
{
    QTest::addColumn<QJsonValue>("colour");
    QTest::addColumn<QColor>("expected");
    QTest::newRow("none") << QJsonValue(QJsonValue::Undefined) << QColor(Qt::white);
    QTest::newRow("text") << QJsonValue("#102030") << QColor(16, 32, 48);
    QTest::newRow("name") << QJsonValue("red") << QColor(Qt::red);
    QTest::newRow("no colour") << QJsonValue("hello") << QColor();
    QTest::newRow("empty") << QJsonValue("") << QColor();
    QTest::newRow("null") << QJsonValue() << QColor();
    QTest::newRow("object") << QJsonValue(QJsonObject{{"r", 1}}) << QColor();
}

void RunContainerWidgetTest::seatColours()
{
    QFETCH(QJsonValue, colour);
    QFETCH(QColor, expected);
    RunContainerWidget run;
    QJsonObject entry = racer("{a}");
    if (!colour.isUndefined())
        entry["color"] = colour;
    const RunCompetitor *seat = run.addCompetitor(entry, false);
    QCOMPARE(seat->color.isValid(), expected.isValid());
    if (expected.isValid())
        QCOMPARE(seat->color.name(), expected.name());
}

void RunContainerWidgetTest::freshUuids()
{
    RunContainerWidget run;
    run.addCompetitor({{"name", "A"}}, false);
    run.addCompetitor({{"name", "B"}, {"uuid", ""}}, true);
    const QString a = data(run, 0)["uuid"].toString();
    const QString b = data(run, 1)["uuid"].toString();
    QCOMPARE(QUuid(a).toString(), a);
    QCOMPARE(QUuid(b).toString(), b);
    QVERIFY(!QUuid(a).isNull() && !QUuid(b).isNull() && a != b);
}

void RunContainerWidgetTest::competitorIdsAreNeverReused()
{
    RunContainerWidget run;
    for (const char *uuid : {"{a}", "{b}", "{c}"})
        run.addCompetitor(racer(uuid), false);
    QCOMPARE(seatId(run, 0), -1001);
    QCOMPARE(seatId(run, 1), -1002);
    QCOMPARE(seatId(run, 2), -1003);
    run.removeCompetitorAt(1);
    run.addCompetitor(racer("{d}"), false);
    QCOMPARE(seatId(run, 2), -1004);
    // Not even the number of a racer who comes back.
    run.removeCompetitorByUuid(QStringLiteral("{d}"));
    run.addCompetitor(racer("{d}", {{"competitorId", -1004}}), false);
    QCOMPARE(seatId(run, 2), -1005);
    while (count(run) > 0)
        run.removeCompetitorAt(0);
    run.addCompetitor(racer("{a}"), false);
    QCOMPARE(seatId(run, 0), -1006);
    QCOMPARE(item(run)["lastCompetitorId"].toInt(), -1006);
}

void RunContainerWidgetTest::competitorIdsAfterRestoring_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<QVector<int>>("seats");
    QTest::addColumn<int>("next");
    QTest::newRow("counter missing") << QByteArray("{}") << QVector<int>{-1001, -1005} << -1006;
    QTest::newRow("counter behind") << QByteArray(R"({"lastCompetitorId": -1002})") << QVector<int>{-1001, -1005}
                                    << -1006;
    QTest::newRow("counter ahead") << QByteArray(R"({"lastCompetitorId": -1009})") << QVector<int>{-1001, -1005}
                                   << -1010;
    QTest::newRow("other order") << QByteArray("{}") << QVector<int>{-1005, -1001} << -1006;
    QTest::newRow("nobody") << QByteArray(R"({"lastCompetitorId": -1009})") << QVector<int>() << -1010;
    QTest::newRow("numbers of the host") << QByteArray("{}") << QVector<int>{5, 7} << -1001;
}

void RunContainerWidgetTest::competitorIdsAfterRestoring()
{
    QFETCH(QByteArray, line);
    QFETCH(QVector<int>, seats);
    RunContainerWidget run;
    run.loadJournalItem(object(line.constData()));
    for (int id : qAsConst(seats))
        run.addCompetitor(racer(qPrintable(QString::number(id)), {{"competitorId", id}}), true);
    run.addCompetitor(racer("{new}"), false);
    QTEST(seatId(run, seats.size()), "next");
}

void RunContainerWidgetTest::restoredSeatKeepsItsNumber()
{
    RunContainerWidget run;
    run.addCompetitor(racer("{a}", {{"competitorId", -1007}}), true);
    run.addCompetitor(racer("{b}"), true);
    QCOMPARE(seatId(run, 0), -1007);
    QVERIFY(!data(run, 1).contains("competitorId"));
}

void RunContainerWidgetTest::takenCar()
{
    RunContainerWidget run;
    run.addCompetitor(racer("{a}", {{"carId", 3}, {"carNum", "7"}}), false);
    run.addCompetitor(racer("{b}", {{"carId", 3}, {"carNum", "7"}}), false);
    QCOMPARE(data(run, 0)["carId"].toInt(), 3);
    QCOMPARE(data(run, 1)["carId"].toInt(), -1);
    QCOMPARE(data(run, 1)["carNum"].toString(), QStringLiteral("7"));
    // Restoring is no different.
    run.addCompetitor(racer("{c}", {{"carId", 3}, {"carNum", "8"}, {"competitorId", -1009}}), true);
    QCOMPARE(data(run, 2)["carId"].toInt(), -1);
    QCOMPARE(data(run, 2)["carNum"].toString(), QStringLiteral("8"));
}

void RunContainerWidgetTest::takenCarOfSeveral()
{
    RunContainerWidget run;
    run.addCompetitor(racer("{a}", {{"carId", 3}}), false);
    run.addCompetitor(racer("{b}", {{"carId", 4}}), false);
    run.addCompetitor(racer("{c}", {{"carId", -1}, {"carNum", "5"}}), false);
    run.addCompetitor(racer("{d}", {{"carId", -1}, {"carNum", "6"}}), false);
    run.addCompetitor(racer("{e}", {{"carId", 4}}), false);
    run.addCompetitor(racer("{f}", {{"carId", 5}}), false);
    const QVector<int> expected{3, 4, -1, -1, -1, 5};
    for (int i = 0; i < expected.size(); ++i)
        QCOMPARE(data(run, i)["carId"].toInt(0), expected.at(i));
    QCOMPARE(data(run, 3)["carNum"].toString(), QStringLiteral("6"));
}

// The host hears of the seat before the run grows.
void RunContainerWidgetTest::seatTellsThenResizes()
{
    for (bool restoring : {false, true}) {
        RunContainerWidget run;
        run.resize(300, 72);
        QStringList order;
        QJsonObject preset;
        connect(&run, &RunContainerWidget::presetUpdated, this, [&](const QJsonObject &json) {
            order.append("preset");
            preset = json;
        });
        connect(&run, &RunContainerWidget::updateSize, this,
                [&](QSize size) { order.append(QStringLiteral("%1x%2").arg(size.width()).arg(size.height())); });
        for (const char *uuid : {"{a}", "{b}"})
            run.addCompetitor(racer(uuid, {{"competitorId", -1001}}), restoring);
        order.clear();
        run.addCompetitor(racer("{c}", {{"competitorId", -1003}}), restoring);
        QCOMPARE(order.first(), QStringLiteral("preset"));
        QCOMPARE(order.count("preset"), 1);
        QVERIFY2(order.contains("300x140"), qPrintable(order.join(' ')));
        QCOMPARE(preset["preset"].toArray().size(), 3);
        QCOMPARE(run.competitors().at(2)->cell, QRect(116, 72, 80, 64));
        QCOMPARE(run.size(), QSize(300, 140));
    }
}

void RunContainerWidgetTest::removeAt()
{
    RunContainerWidget run;
    run.resize(200, 72);
    for (const char *uuid : {"{a}", "{b}", "{c}"})
        run.addCompetitor(racer(uuid), false);
    QSignalSpy presets(&run, &RunContainerWidget::presetUpdated);
    QSignalSpy sizes(&run, &RunContainerWidget::updateSize);
    run.removeCompetitorAt(0);
    QCOMPARE(presets.count(), 1);
    JSON_COMPARE(presets.first().first().toJsonObject(), run.runPreset());
    QCOMPARE(run.runPreset()["preset"].toArray().size(), 2);
    QVERIFY(sizes.count() >= 1);
    QCOMPARE(run.height(), 140);
    QCOMPARE(run.competitors().front()->cell, QRect(116, 4, 80, 64));
    QCOMPARE(data(run, 0)["uuid"].toString(), QStringLiteral("{b}"));
}

void RunContainerWidgetTest::removeAtOutOfRange_data()
{
    QTest::addColumn<int>("index");
    for (int index : {-1, -2147483647, 2, 3, 2147483647})
        QTest::addRow("%d", index) << index;
}

void RunContainerWidgetTest::removeAtOutOfRange()
{
    QFETCH(int, index);
    RunContainerWidget run;
    run.addCompetitor(racer("{a}"), false);
    run.addCompetitor(racer("{b}"), false);
    QSignalSpy presets(&run, &RunContainerWidget::presetUpdated);
    QSignalSpy sizes(&run, &RunContainerWidget::updateSize);
    run.removeCompetitorAt(index);
    QCOMPARE(count(run), 2);
    QCOMPARE(presets.count(), 0);
    QCOMPARE(sizes.count(), 0);
}

void RunContainerWidgetTest::removeByUuid()
{
    RunContainerWidget run;
    run.resize(200, 72);
    run.addCompetitor(racer("{a}"), false);
    run.addCompetitor(racer("{b}", {{"name", "first"}}), false);
    run.addCompetitor(racer("{b}", {{"name", "second"}}), false);
    run.show();
    QTest::mousePress(&run, Qt::LeftButton, Qt::NoModifier, QPoint(120, 10));
    QTest::mouseRelease(&run, Qt::LeftButton, Qt::NoModifier, QPoint(120, 10));
    QVERIFY(run.hasSelection());
    QCOMPARE(run.selectedEntry()["uuid"].toString(), QStringLiteral("{a}"));
    QSignalSpy presets(&run, &RunContainerWidget::presetUpdated);
    QSignalSpy locks(&run, &RunContainerWidget::runLockUpdated);
    QSignalSpy params(&run, &RunContainerWidget::runParamsUpdated);
    run.removeCompetitorByUuid(QStringLiteral("{b}"));
    QCOMPARE(presets.count() + locks.count() + params.count(), 0);
    QCOMPARE(count(run), 2);
    QCOMPARE(data(run, 1)["name"].toString(), QStringLiteral("second"));
    // The highlight goes, also from another racer.
    QVERIFY(!run.hasSelection());
    QVERIFY(run.selectedEntry().isEmpty());
    QCOMPARE(run.height(), 140);
    QCOMPARE(run.competitors().at(1)->cell, QRect(116, 72, 80, 64));
}

void RunContainerWidgetTest::removeByUuidOfNobody_data()
{
    QTest::addColumn<QString>("uuid");
    QTest::newRow("empty") << QString();
    QTest::newRow("unknown") << QStringLiteral("{x}");
}

void RunContainerWidgetTest::removeByUuidOfNobody()
{
    QFETCH(QString, uuid);
    RunContainerWidget run;
    run.addCompetitor(racer("{a}"), false);
    QSignalSpy presets(&run, &RunContainerWidget::presetUpdated);
    run.removeCompetitorByUuid(uuid);
    QCOMPARE(count(run), 1);
    QCOMPARE(presets.count(), 0);
}

void RunContainerWidgetTest::lookUp()
{
    RunContainerWidget run;
    run.addCompetitor(racer("{a}", {{"comment", "x"}}), false);
    QVERIFY(run.hasCompetitor(QStringLiteral("{a}")));
    QVERIFY(!run.hasCompetitor(QStringLiteral("{b}")));
    QVERIFY(!run.hasCompetitor(QString()));
    JSON_COMPARE(run.competitorByUuid(QStringLiteral("{a}")), data(run, 0));
    QVERIFY(run.competitorByUuid(QStringLiteral("{b}")).isEmpty());
}

void RunContainerWidgetTest::presetRows()
{
    RunContainerWidget run;
    run.setRunQueueGuid(QStringLiteral("{run}"));
    JSON_COMPARE(run.runPreset(), object(R"({"runQueueGuid": "{run}", "preset": []})"));
    run.addCompetitor(racer("{b}", {{"name", "Б"}, {"clientId", 17}, {"carId", 3}, {"carNum", "7"}}), false);
    run.addCompetitor(racer("{a}", {{"name", "А"}}), false);
    run.addCompetitor(racer("{c}", {{"name", "В"}, {"carId", 0}}), false);
    const QJsonArray rows = array(R"([
        {"name": "Б", "carId": 3, "clientId": 17, "competitorId": -1001, "sourceSet": true},
        {"name": "А", "carId": -1, "clientId": -1, "competitorId": -1002},
        {"name": "В", "carId": 0, "clientId": -1, "competitorId": -1003, "sourceSet": true}])");
    JSON_COMPARE(run.presetArray(), rows);
    JSON_COMPARE(run.runPreset(), (QJsonObject{{"runQueueGuid", "{run}"}, {"preset", rows}}));
}

void RunContainerWidgetTest::recordOfAnEmptyRun()
{
    RunContainerWidget run;
    run.setRunQueueGuid(QStringLiteral("{run}"));
    run.setRunNum(4);
    run.setStartTime(Q_INT64_C(1770000000));
    JSON_COMPARE(run.runRecord(), object(R"({"runQueueGuid": "{run}", "runName": "Заезд №4", "runNum": 4,
        "runState": "unknown", "runDuration": 600, "finishParam": 600, "finishMode": 1, "finishType": 1,
        "sortMode": 0, "sortType": 0, "runStartTime": 1770000000, "runLocked": false, "runCompetitors": {}})"));
}

void RunContainerWidgetTest::recordOfAFullRun()
{
    RunContainerWidget run;
    run.loadJournalItem(object(R"({"uuid": "{run}", "runNum": 12, "runName": "Финал", "finishMode": 2,
        "finishParam": 20, "sortMode": 1, "runLocked": true})"));
    run.setStartTime(Q_INT64_C(5000000000));
    run.setRunState(QStringLiteral("running"));
    run.addCompetitor(racer("{a}"), false);
    run.addCompetitor(racer("{b}", {{"competitorId", -7}}), true);
    QJsonObject expected = object(R"({"runQueueGuid": "{run}", "runName": "Финал", "runNum": 12,
        "runState": "running", "runDuration": 20, "finishParam": 20, "finishMode": 2, "finishType": 2,
        "sortMode": 1, "sortType": 1, "runLocked": true})");
    expected["runStartTime"] = Q_INT64_C(5000000000);
    expected["runCompetitors"] = QJsonObject{{"-1001", data(run, 0)}, {"-7", data(run, 1)}};
    JSON_COMPARE(run.runRecord(), expected);
}

// Nothing of a record or a journal line is older than the run.
void RunContainerWidgetTest::recordFollowsEveryChange()
{
    RunContainerWidget run;
    run.setRunQueueGuid(QStringLiteral("{run}"));
    run.addCompetitor(racer("{a}", {{"carId", 1}}), false);
    const auto look = [&](const char *record, const char *line) {
        const QString wrong =
            JsonMatch::missing(run.runRecord(), object(record)) + JsonMatch::missing(item(run), object(line));
        if (!wrong.isEmpty())
            qWarning("%s", qPrintable(wrong));
        return wrong.isEmpty();
    };
    QVERIFY(look(R"({"runCompetitors": {"-1001": {"carId": 1}}})", R"({"lastCompetitorId": -1001})"));
    run.setRunNum(3);
    QVERIFY(look(R"({"runNum": 3, "runName": "Заезд №3"})", R"({"runNum": 3, "runName": ""})"));
    run.setRunName(QStringLiteral("X"));
    QVERIFY(look(R"({"runName": "X"})", R"({"runName": "X", "nameForced": false})"));
    run.forceRunName(QStringLiteral("Y"));
    QVERIFY(look(R"({"runName": "Y"})", R"({"runName": "Y", "nameForced": true})"));
    run.setFinishParam(90);
    QVERIFY(look(R"({"finishParam": 90, "runDuration": 90})", R"({"finishParam": 90})"));
    run.setPauseTime(60);
    QVERIFY(look("{}", R"({"pauseTime": 60})"));
    run.setMaxRacersInRun(4);
    QVERIFY(look("{}", R"({"maxRacersInRun": 4})"));
    run.setStartTime(1234);
    QVERIFY(look(R"({"runStartTime": 1234})", R"({"startTime": 1234})"));
    run.setRunLocked(true);
    QVERIFY(look(R"({"runLocked": true})", R"({"runLocked": true})"));
    run.setRunLocked(false);
    QVERIFY(look(R"({"runLocked": false})", R"({"runLocked": false})"));
    run.setRunState(QStringLiteral("finished"));
    QVERIFY(look(R"({"runState": "finished"})", "{}"));
    run.setRunQueueGuid(QStringLiteral("{other}"));
    QVERIFY(look(R"({"runQueueGuid": "{other}"})", R"({"uuid": "{other}"})"));
    run.releaseCar(1);
    QVERIFY(look(R"({"runCompetitors": {"-1001": {"carId": -1}}})", "{}"));
    run.applyResults(array(R"([{"competitorId": -1001, "state": 2}])"));
    QVERIFY(look(R"({"runCompetitors": {"-1001": {"competitorState": 2}}})", "{}"));
    QVERIFY(journal(run).contains("\"competitorState\":2"));
    run.applyRunParams(object(R"({"sortMode": 1, "finishMode": 2})"));
    QVERIFY(look(R"({"sortMode": 1, "finishMode": 2, "finishParam": 1})", R"({"sortMode": 1, "finishMode": 2})"));
    run.removeCompetitorByUuid(QStringLiteral("{a}"));
    QVERIFY(look("{}", "{}"));
    QVERIFY(run.runRecord()["runCompetitors"].toObject().isEmpty());
    QCOMPARE(journal(run).count('\n'), 1);
}

void RunContainerWidgetTest::nameInRecordAndJournal()
{
    RunContainerWidget run;
    run.setRunNum(9);
    QCOMPARE(run.runRecord()["runName"].toString(), QStringLiteral("Заезд №9"));
    QCOMPARE(item(run)["runName"].toString(QStringLiteral("missing")), QString());
}

void RunContainerWidgetTest::displayName()
{
    RunContainerWidget run;
    run.setRunNum(5);
    QCOMPARE(run.displayName(), QStringLiteral("Заезд №5"));
    // A name alone doesn't change it.
    run.setRunName(QStringLiteral("Финал"));
    QCOMPARE(run.displayName(), QStringLiteral("Заезд №5"));
    QCOMPARE(run.runRecord()["runName"].toString(), QStringLiteral("Финал"));
    run.forceRunName(QStringLiteral("Кубок"));
    QCOMPARE(run.displayName(), QStringLiteral("Кубок"));
    // The plain setter leaves the mark alone.
    run.setRunName(QStringLiteral("Финал"));
    QCOMPARE(run.displayName(), QStringLiteral("Финал"));
    run.forceRunName(QString());
    QCOMPARE(run.displayName(), QString());
    QCOMPARE(run.runRecord()["runName"].toString(), QStringLiteral("Заезд №5"));
    QCOMPARE(item(run)["nameForced"].toBool(), true);
}

void RunContainerWidgetTest::numberFromName()
{
    RunContainerWidget run;
    run.setRunNum(5);
    // The number that is shown when there is no name is not part of the name.
    QCOMPARE(run.numberFromName(), -1);
    run.setRunName(QStringLiteral("Заезд №7"));
    QCOMPARE(run.numberFromName(), 7);
}

void RunContainerWidgetTest::nameFromTheParametersDialog()
{
    RunContainerWidget run;
    run.setRunNum(5);
    run.resize(300, 72);
    run.show();
    const ModalAnswer dialog = ModalAnswer::dialog(QStringLiteral("Параметры заезда"), [](QDialog *opened) {
        opened->findChild<QLineEdit *>("leRunName")->setText("Финал");
        opened->accept();
    });
    QTest::mouseDClick(&run, Qt::LeftButton, Qt::NoModifier, QPoint(40, 20));
    MODAL_VERIFY(dialog);
    QCOMPARE(run.name(), QStringLiteral("Финал"));
    QCOMPARE(run.displayName(), QStringLiteral("Заезд №5"));
    QCOMPARE(item(run)["nameForced"].toBool(true), false);
}

void RunContainerWidgetTest::journalBytes()
{
    RunContainerWidget run;
    run.loadJournalItem(object(R"({"uuid": "{run}", "runNum": 12, "runName": "Финал \"А\"", "nameForced": true,
        "finishMode": 2, "finishParam": 20, "sortMode": 1, "runLocked": true, "pauseTime": 240,
        "maxRacersInRun": 6, "lastCompetitorId": -1004, "runColor": "#FF8000"})"));
    run.setStartTime(Q_INT64_C(1770000000));
    run.setRunState(QStringLiteral("running"));
    run.setRunId(77);
    run.setCurrentRun(true);
    run.addCompetitor(object(R"({"uuid": "{a}", "name": "Ёж", "carId": 3, "own": [1, {"b": null}]})"), false);
    run.addCompetitor(object(R"({"uuid": "{b}", "competitorId": -1001})"), true);
    QCOMPARE(journal(run),
             QByteArray("RUNITEM:{\"finishMode\":2,\"finishParam\":20,\"lastCompetitorId\":-1005,"
                        "\"maxRacersInRun\":6,\"nameForced\":true,\"pauseTime\":240,\"runColor\":\"#ff8000\","
                        "\"runLocked\":true,\"runName\":\"Финал \\\"А\\\"\",\"runNum\":12,\"sortMode\":1,"
                        "\"startTime\":1770000000,\"uuid\":\"{run}\"}\n"
                        "COMPETITOR:{\"carId\":3,\"competitorId\":-1005,\"name\":\"Ёж\",\"own\":[1,{\"b\":null}],"
                        "\"uuid\":\"{a}\"}\n"
                        "COMPETITOR:{\"competitorId\":-1001,\"uuid\":\"{b}\"}\n"));
}

void RunContainerWidgetTest::journalOfAnEmptyRun()
{
    RunContainerWidget run;
    run.setRunQueueGuid(QStringLiteral("{run}"));
    run.setStartTime(Q_INT64_C(5000000000));
    QCOMPARE(journal(run),
             QByteArray("RUNITEM:{\"finishMode\":1,\"finishParam\":600,\"lastCompetitorId\":-1000,"
                        "\"maxRacersInRun\":10,\"nameForced\":false,\"pauseTime\":180,\"runColor\":\"#ffffff\","
                        "\"runLocked\":false,\"runName\":\"\",\"runNum\":1,\"sortMode\":0,"
                        "\"startTime\":5000000000,\"uuid\":\"{run}\"}\n"));
}

void RunContainerWidgetTest::journalItemRoundTrip()
{
    const QJsonObject line = object(R"({"uuid": "{run}", "runNum": 12, "runName": "Финал", "nameForced": true,
        "finishMode": 2, "finishParam": 20, "sortMode": 1, "runLocked": true, "pauseTime": 240,
        "maxRacersInRun": 6, "lastCompetitorId": -1004, "runColor": "#ff8000", "startTime": 1770000000})");
    RunContainerWidget run;
    run.loadJournalItem(line);
    run.setStartTime(1770000000);
    JSON_COMPARE(item(run), line);
    QCOMPARE(run.displayName(), QStringLiteral("Финал"));
    QCOMPARE(run.guid(), QStringLiteral("{run}"));
}

// A line that says nothing brings the journal's defaults, not what the run had.
void RunContainerWidgetTest::journalItemDefaults()
{
    RunContainerWidget run;
    run.loadJournalItem(object(R"({"uuid": "{run}", "runNum": 12, "runName": "Финал", "nameForced": true,
        "finishMode": 2, "finishParam": 20, "sortMode": 1, "runLocked": true, "pauseTime": 240,
        "maxRacersInRun": 6, "lastCompetitorId": -1004, "runColor": "#ff8000"})"));
    run.loadJournalItem({});
    run.setStartTime(0);
    JSON_COMPARE(item(run), object(R"({"uuid": "{run}", "runNum": 1, "runName": "", "nameForced": false,
        "finishMode": 1, "finishParam": 600, "sortMode": 0, "runLocked": false, "pauseTime": 180,
        "maxRacersInRun": 10, "lastCompetitorId": -1000, "runColor": "#ffffff", "startTime": 0})"));
}

void RunContainerWidgetTest::journalItemOfWrongTypes()
{
    RunContainerWidget run;
    run.setRunQueueGuid(QStringLiteral("{kept}"));
    run.loadJournalItem(object(R"({"uuid": 5, "runNum": "12", "runName": 1, "nameForced": "true",
        "finishMode": "2", "finishParam": null, "sortMode": [], "runLocked": 1, "pauseTime": {},
        "maxRacersInRun": false, "lastCompetitorId": "x"})"));
    JSON_CONTAINS(item(run), object(R"({"uuid": "{kept}", "runNum": 1, "runName": "", "nameForced": false,
        "finishMode": 1, "finishParam": 600, "sortMode": 0, "runLocked": false, "pauseTime": 180,
        "maxRacersInRun": 10, "lastCompetitorId": -1000})"));
}

void RunContainerWidgetTest::journalItemKeepsTheIdentity()
{
    RunContainerWidget run;
    const QString fresh = run.guid();
    run.loadJournalItem(object(R"({"uuid": ""})"));
    QCOMPARE(run.guid(), fresh);
    run.loadJournalItem(object("{}"));
    QCOMPARE(run.guid(), fresh);
    run.loadJournalItem(object(R"({"uuid": "run"})"));
    QCOMPARE(run.guid(), QStringLiteral("run"));
}

void RunContainerWidgetTest::journalItemAndTheLockIcon()
{
    RunContainerWidget run;
    QVERIFY(!showsLocked(run));
    QSignalSpy locks(&run, &RunContainerWidget::runLockUpdated);
    run.loadJournalItem(object(R"({"runLocked": true})"));
    QVERIFY(run.isRunLocked() && showsLocked(run));
    run.loadJournalItem(object(R"({"runLocked": false})"));
    QVERIFY(!run.isRunLocked() && !showsLocked(run));
    QCOMPARE(locks.count(), 0);
}

void RunContainerWidgetTest::loadedRecord()
{
    RunContainerWidget run;
    run.makeHistoryRun();
    QSignalSpy presets(&run, &RunContainerWidget::presetUpdated);
    run.loadRunRecord(object(R"({"runQueueGuid": "{run}", "runName": "Финал", "runNum": 12,
        "runStartTime": 5000000000, "runCompetitors": {
            "-1001": {"name": "А", "uuid": "{a}", "carId": 3, "competitorId": -1001, "color": "#ff8000"},
            "-1002": {"name": "Б", "uuid": "{b}", "carId": 3, "competitorId": -1002}}})"));
    QCOMPARE(run.guid(), QStringLiteral("{run}"));
    QCOMPARE(run.name(), QStringLiteral("Финал"));
    QCOMPARE(run.number(), 12);
    QCOMPARE(run.start(), Q_INT64_C(5000000000));
    QCOMPARE(count(run), 2);
    // Nothing is told, nothing is numbered, and no car is taken away.
    QCOMPARE(presets.count(), 0);
    JSON_COMPARE(data(run, 0), object(R"({"name": "А", "uuid": "{a}", "carId": 3, "competitorId": -1001,
        "color": "#ff8000"})"));
    JSON_COMPARE(data(run, 1), object(R"({"name": "Б", "uuid": "{b}", "carId": 3, "competitorId": -1002})"));
    QCOMPARE(run.competitors().front()->caption, QStringLiteral("А"));
    QCOMPARE(run.competitors().front()->cell.topLeft(), QPoint(116, 4));
}

// What a record says of the finish is not taken over.
void RunContainerWidgetTest::loadedRecordLoses()
{
    RunContainerWidget source;
    source.loadJournalItem(object(R"({"uuid": "{run}", "runNum": 12, "finishMode": 2, "finishParam": 20,
        "sortMode": 1, "pauseTime": 240, "runColor": "#ff8000"})"));
    source.setRunState(QStringLiteral("finished"));
    source.addCompetitor(racer("{a}"), false);
    source.setStartTime(1770000000);
    RunContainerWidget run;
    run.makeHistoryRun();
    run.loadRunRecord(source.runRecord());
    QJsonObject expected = object(R"({"runQueueGuid": "{run}", "runName": "Заезд №12", "runNum": 12,
        "runState": "unknown", "runDuration": 600, "finishParam": 600, "finishMode": 1, "finishType": 1,
        "sortMode": 0, "sortType": 0, "runStartTime": 1770000000, "runLocked": false})");
    expected["runCompetitors"] = QJsonObject{{"-1001", data(source, 0)}};
    JSON_COMPARE(run.runRecord(), expected);
    JSON_CONTAINS(item(run), object(R"({"pauseTime": 180, "runColor": "#ffffff", "runName": "Заезд №12"})"));
}

void RunContainerWidgetTest::loadedRecordDefaults()
{
    RunContainerWidget run;
    const QString fresh = run.guid();
    run.setRunNum(12);
    run.setRunName(QStringLiteral("Финал"));
    run.loadRunRecord({});
    QCOMPARE(run.guid(), fresh);
    QCOMPARE(run.number(), 0);
    QCOMPARE(run.name(), QString());
    QCOMPARE(run.start(), Q_INT64_C(0));
    QCOMPARE(run.isRunLocked(), false);
    QCOMPARE(count(run), 0);
    // An identity that is there is taken, even if it is empty.
    run.loadRunRecord(object(R"({"runQueueGuid": ""})"));
    QCOMPARE(run.guid(), QString());
}

void RunContainerWidgetTest::loadedRecordColours()
{
    const QJsonObject record = object(R"({"runCompetitors": {"-1001": {"color": "#ff8000"}, "-1002": {"name": "x"}}})");
    RunContainerWidget history;
    history.makeHistoryRun();
    history.loadRunRecord(record);
    QCOMPARE(history.competitors().at(0)->color, QColor(Qt::gray));
    QCOMPARE(history.competitors().at(1)->color, QColor(Qt::gray));
    RunContainerWidget run;
    run.loadRunRecord(record);
    QCOMPARE(run.competitors().at(0)->color.name(), QStringLiteral("#ff8000"));
}

void RunContainerWidgetTest::loadedRecordOrder()
{
    RunContainerWidget run;
    run.loadRunRecord(object(R"({"runCompetitors": {"5": {"name": "e"}, "-999": {"name": "d"},
        "-1002": {"name": "c"}, "-1010": {"name": "b2"}, "-1001": {"name": "b"}, "10": {"name": "e0"}}})"));
    QStringList names;
    for (const auto &seat : run.competitors())
        names.append(seat->caption);
    QCOMPARE(names, (QStringList{"b", "c", "b2", "d", "e0", "e"}));
}

void RunContainerWidgetTest::loadedRecordReplacesSeats()
{
    RunContainerWidget run;
    run.addCompetitor(racer("{old}"), false);
    run.loadRunRecord(object(R"({"runCompetitors": {"-1001": {"uuid": "{a}"}}})"));
    QCOMPARE(count(run), 1);
    QVERIFY(run.hasCompetitor(QStringLiteral("{a}")));
    run.loadRunRecord(object(R"({"runCompetitors": []})"));
    QCOMPARE(count(run), 0);
}

void RunContainerWidgetTest::loadedRecordLocks()
{
    RunContainerWidget run;
    QSignalSpy locks(&run, &RunContainerWidget::runLockUpdated);
    run.loadRunRecord(object(R"({"runLocked": true})"));
    QVERIFY(run.isRunLocked());
    QVERIFY(showsLocked(run));
    QCOMPARE(locks.count(), 0);
}

void RunContainerWidgetTest::canAcceptRacer_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<QByteArray>("seated");
    QTest::addColumn<QStringList>("models");
    QTest::addColumn<QByteArray>("newcomer");
    QTest::addColumn<bool>("accepted");
    const auto row = [](const char *name, const char *line, const char *seated, const QStringList &models,
                        const char *newcomer, bool accepted) {
        QTest::newRow(name) << QByteArray(line) << QByteArray(seated) << models << QByteArray(newcomer) << accepted;
    };
    const char *const b = R"({"uuid": "{b}", "carModel": "Sodi", "clientId": -1})";
    const char *const sodi = R"([{"uuid": "{a}", "carModel": "Sodi", "clientId": -1}])";
    const char *const twoSodis = R"([{"uuid": "{a}", "carModel": "Sodi"}, {"uuid": "{c}", "carModel": "Sodi"}])";
    row("empty run", "{}", "[]", {}, b, true);
    row("locked", R"({"runLocked": true})", "[]", {}, b, false);
    row("last seat", R"({"maxRacersInRun": 2})", sodi, {}, b, true);
    row("full", R"({"maxRacersInRun": 1})", sodi, {}, b, false);
    row("more than full", R"({"maxRacersInRun": 1})", twoSodis, {}, b, false);
    row("no seats", R"({"maxRacersInRun": 0})", "[]", {}, b, false);
    row("negative number of seats", R"({"maxRacersInRun": -1})", "[]", {}, b, false);
    row("same racer", "{}", sodi, {}, R"({"uuid": "{a}", "carModel": "Rimo"})", false);
    row("same client", "{}", R"([{"uuid": "{a}", "clientId": 7}])", {}, R"({"uuid": "{b}", "clientId": 7})", false);
    row("other client", "{}", R"([{"uuid": "{a}", "clientId": 7}])", {}, R"({"uuid": "{b}", "clientId": 8})", true);
    row("two of no client", "{}", R"([{"uuid": "{a}", "clientId": -1}])", {}, R"({"uuid": "{b}", "clientId": -1})",
        true);
    row("no client at all", "{}", R"([{"uuid": "{a}"}])", {}, R"({"uuid": "{b}"})", true);
    row("client 0", "{}", R"([{"uuid": "{a}", "clientId": 0}])", {}, R"({"uuid": "{b}", "clientId": 0})", false);
    row("one of two cars", "{}", sodi, {"Sodi", "Sodi"}, b, true);
    row("no car left", "{}", twoSodis, {"Sodi", "Sodi"}, b, false);
    row("one car, taken", "{}", sodi, {"Sodi"}, b, false);
    row("one car, first racer", "{}", "[]", {"Sodi"}, b, true);
    row("unknown model sets no limit", "{}", twoSodis, {"Rimo"}, b, true);
    row("no cars at all", "{}", twoSodis, {}, b, true);
    row("others of another model", "{}", twoSodis, {"Sodi", "Rimo"}, R"({"uuid": "{b}", "carModel": "Rimo"})", true);
    row("no model", "{}", R"([{"uuid": "{a}", "carModel": ""}])", {"Sodi"}, R"({"uuid": "{b}", "carModel": ""})", true);
    row("a model is spelled exactly", "{}", sodi, {"Sodi"}, R"({"uuid": "{b}", "carModel": "sodi"})", true);
}

void RunContainerWidgetTest::canAcceptRacer()
{
    QFETCH(QByteArray, line);
    QFETCH(QByteArray, seated);
    QFETCH(QStringList, models);
    QFETCH(QByteArray, newcomer);
    RunContainerWidget run;
    run.loadJournalItem(object(line.constData()));
    run.setCars(cars(models));
    const QJsonArray racers = array(seated.constData());
    for (const QJsonValue &one : racers)
        run.addCompetitor(one.toObject(), false);
    QTEST(run.canAcceptRacer(object(newcomer.constData())), "accepted");
    // A question changes nothing.
    QCOMPARE(count(run), racers.size());
}

void RunContainerWidgetTest::currentRunAccepts()
{
    RunContainerWidget run;
    run.setCurrentRun(true);
    for (const char *state : {"running", "finished"}) {
        run.setRunState(QString::fromLatin1(state));
        QVERIFY(run.canAcceptRacer(racer("{a}")));
    }
}

// Locking tells, unlocking by request only stores.
void RunContainerWidgetTest::lockOperation()
{
    RunContainerWidget run;
    QSignalSpy locks(&run, &RunContainerWidget::runLockUpdated);
    run.setRunLocked(false);
    QCOMPARE(locks.count(), 0);
    run.setRunLocked(true);
    QVERIFY(run.isRunLocked() && showsLocked(run));
    QCOMPARE(locks.count(), 1);
    run.setRunLocked(true);
    QCOMPARE(locks.count(), 1);
    run.setRunLocked(false);
    QVERIFY(!run.isRunLocked());
    QCOMPARE(locks.count(), 1);
    QVERIFY(showsLocked(run));
    // The next click locks again and the icon is right once more.
    lockButtonOf(run)->click();
    QVERIFY(run.isRunLocked() && showsLocked(run));
    QCOMPARE(locks.count(), 2);
    lockButtonOf(run)->click();
    QVERIFY(!run.isRunLocked() && !showsLocked(run));
    QCOMPARE(locks.count(), 3);
}

void RunContainerWidgetTest::lockButton()
{
    RunContainerWidget run;
    run.addCompetitor(racer("{a}"), false);
    QSignalSpy locks(&run, &RunContainerWidget::runLockUpdated);
    QSignalSpy presets(&run, &RunContainerWidget::presetUpdated);
    lockButtonOf(run)->click();
    QVERIFY(run.isRunLocked() && showsLocked(run));
    QVERIFY(!run.canAcceptRacer(racer("{b}")));
    QCOMPARE(locks.count(), 1);
    lockButtonOf(run)->click();
    QVERIFY(!run.isRunLocked() && !showsLocked(run));
    QVERIFY(run.canAcceptRacer(racer("{b}")));
    QCOMPARE(locks.count(), 2);
    QCOMPARE(presets.count(), 0);
    // A locked run can still be seated by hand, renamed and emptied.
    run.setRunLocked(true);
    QVERIFY(run.addCompetitor(racer("{b}"), false));
    run.forceRunName(QStringLiteral("X"));
    QCOMPARE(run.displayName(), QStringLiteral("X"));
    run.removeCompetitorAt(0);
    QCOMPARE(count(run), 1);
}

void RunContainerWidgetTest::setters()
{
    RunContainerWidget run;
    QSignalSpy presets(&run, &RunContainerWidget::presetUpdated);
    QSignalSpy params(&run, &RunContainerWidget::runParamsUpdated);
    run.setRunNum(7);
    run.setFinishParam(20);
    run.setPauseTime(0);
    run.setMaxRacersInRun(1);
    run.setRunName(QStringLiteral("X"));
    JSON_CONTAINS(item(run), object(R"({"runNum": 7, "finishParam": 20, "pauseTime": 0, "maxRacersInRun": 1,
        "runName": "X", "nameForced": false})"));
    QCOMPARE(presets.count() + params.count(), 0);
}

void RunContainerWidgetTest::anyBytesForARun_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::newRow("huge") << QByteArray(R"({"runNum": 1e300, "finishParam": -1e300, "finishMode": 1e18,
        "sortMode": -5, "pauseTime": 9e99, "maxRacersInRun": 1e10, "lastCompetitorId": -1e300, "startTime": 1e300,
        "runStartTime": -1e300, "runColor": "none", "uuid": "{x}", "carId": 1e300, "clientId": 1e300,
        "competitorId": -1e300, "runCompetitors": {"": {"competitorId": 1e300}, "x": 5}})");
    QTest::newRow("fractions") << QByteArray(R"({"runNum": 1.5, "finishParam": 0.1, "competitorId": -1000.5,
        "carId": 2.5, "startTime": 0.5})");
    QTest::newRow("lowest number") << QByteArray(R"({"lastCompetitorId": -2147483648, "competitorId": -2147483648})");
    QTest::newRow("types") << QByteArray(R"({"uuid": {}, "name": [], "color": 5, "carId": "x", "runCompetitors": [1],
        "runName": {}, "pinCodes": 5, "carModel": []})");
    QTest::newRow("nothing") << QByteArray("{}");
}

// Whatever a file or the host brings: the run stays one that can be seated, drawn and written.
void RunContainerWidgetTest::anyBytesForARun()
{
    QFETCH(QByteArray, json);
    const QJsonObject anything = object(json.constData());
    RunContainerWidget run;
    run.resize(300, 72);
    run.loadJournalItem(anything);
    run.addCompetitor(anything, true);
    run.addCompetitor(anything, false);
    run.addCompetitor(anything, true);
    QCOMPARE(count(run), 3);
    run.canAcceptRacer(anything);
    run.setCars({QJsonValue(anything), 5, "x", QJsonValue()});
    run.applyResults({QJsonValue(anything), 5});
    QVERIFY(!run.grab().isNull());
    const QList<QByteArray> lines = journal(run).split('\n');
    QCOMPARE(lines.size(), 5);
    QVERIFY(lines.at(0).startsWith("RUNITEM:{") && lines.at(3).startsWith("COMPETITOR:{") && lines.at(4).isEmpty());
    RunContainerWidget history;
    history.makeHistoryRun();
    history.loadRunRecord(run.runRecord());
    history.loadRunRecord(anything);
    QVERIFY(!history.grab().isNull());
}

DESK_TEST_MAIN(RunContainerWidgetTest)

#include "tst_runcontainerwidget.moc"
