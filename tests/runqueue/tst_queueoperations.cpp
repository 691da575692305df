#include "plugin/ticketpluginform.h"

#include "common/clock.h"
#include "runqueue/runcontainerwidget.h"
#include "vaneplugininterface.h"

#include "desktest.h"
#include "jsonmatch.h"

#include <QListWidget>
#include <QPushButton>
#include <QUuid>

#include <memory>

namespace {

// No event tells which PIN codes are in play: the test looks at the member itself. An explicit instantiation may name
// what is private.
template <auto Member> struct PinCodesOf
{
    friend QStringList &pinCodesOf(TicketPluginForm &form) { return form.*Member; }
};
QStringList &pinCodesOf(TicketPluginForm &form);

template struct PinCodesOf<&TicketPluginForm::usedPinCodes>;

} // namespace

/// A host that writes down what the form tells it.
class QueueHost : public VanePluginInterface
{
    Q_OBJECT

public:
    QueueHost()
    {
        connect(this, &VanePluginInterface::pluginSignal, this,
                [this](const QString &, const QString &event, const QJsonObject &data) {
                    names.append(event);
                    payloads.append(data);
                });
    }

    quintptr hostOption1() override { return 0; }
    quintptr hostOption2() override { return 0; }
    QString tabCaption() override { return QStringLiteral("Касса"); }
    QString moduleName() override { return QStringLiteral("ticket_plugin"); }
    QStringList sentEvents() override { return {}; }
    QStringList receivedEvents() override { return {}; }

    void clear()
    {
        names.clear();
        payloads.clear();
    }
    QJsonValue last(const QString &event) const { return payloads.value(names.lastIndexOf(event)); }

    QStringList names;
    QVector<QJsonObject> payloads;

public Q_SLOTS:
    void pluginSlot(QString /*module*/, QString /*event*/, QJsonObject /*jsonData*/) override {}
};

/// The queue's operations as clients ask for them: by identity, without a cashier's hand, at a time that stands still.
class QueueOperationsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void addRuns();
    void addRunsOfLength();
    void addNoRuns_data();
    void addNoRuns();
    void addRunsNumbers();
    void addRunsAfterANewSetting();
    void addRunsFixed();
    void addRunsFixedFromATime();
    void startTimeThatDoesNotLast();
    void silentWithoutHost();

    void minuteMovesAnIdleQueue();
    void minuteLeavesFixedTimes();
    void lateStartPushesTheQueue();
    void lateStartLeavesFixedTimes();
    void unknownRunPushesTheQueue();
    void twins();
    void activeRun();

    void move_data();
    void move();
    void moveKeepsTheRun();
    void rowsMoved();

    void removeRuns();
    void removeRunsFreesPins();
    void removeRunsSkipsCurrent();
    void removeNothing();
    void removeRunThatIsGone();

    void moveRacer();
    void moveRacerIgnoresLimits();
    void moveRacerNowhere_data();
    void moveRacerNowhere();
    void removeRacer();

    void findSeat_data();
    void findSeat();
    void findMovesToTheHead();
    void findMovesToARun();
    void findMovesOverLimits();
    void findWithoutAResult_data();
    void findWithoutAResult();

    void seat_data();
    void seat();
    void seatRacerTwiceInACall();
    void seatEvents();
    void seatCopiesTheRacer();
    void findRuns();
    void pinOfNoRuns();

private:
    void makeForm();
    QListWidget *list() const { return form->findChild<QListWidget *>("lwRunsList"); }
    RunContainerWidget *run(int row) const
    {
        return qobject_cast<RunContainerWidget *>(list()->itemWidget(list()->item(row)));
    }
    QVector<qint64> starts() const;
    QStringList guids() const;
    QString seats() const;
    void seatByHand(int row, const char *uuid, const QJsonObject &more = {});

    std::unique_ptr<TempTrack> track;
    std::unique_ptr<QueueHost> host;
    std::unique_ptr<TicketPluginForm> form;
    QDateTime now;
    qint64 T = 0;
};

namespace {

using JsonMatch::object;

/// A publication of the queue.
QStringList published()
{
    return {"remote_control_answer", "local_request_answer"};
}

/// A change of the seats of one run.
QStringList told()
{
    return {"replace_run_preset", "remote_control_answer", "local_request_answer"};
}

QStringList times(const QStringList &events, int count)
{
    QStringList all;
    for (int i = 0; i < count; ++i)
        all += events;
    return all;
}

QJsonObject racer(const char *uuid, int runCount = 1, const QJsonObject &more = {})
{
    QJsonObject entry{{"uuid", uuid},         {"name", uuid},   {"carId", -1},
                      {"carNum", ""},         {"clientId", -1}, {"carModel", ""},
                      {"runCount", runCount}, {"nfcUid", ""},   {"pinCodes", QJsonArray()}};
    for (auto it = more.begin(); it != more.end(); ++it)
        entry.insert(it.key(), it.value());
    return entry;
}

bool startEnabled(const RunContainerWidget *run)
{
    const QList<QPushButton *> buttons = run->findChildren<QPushButton *>();
    for (const QPushButton *button : buttons) {
        if (button->pos() == QPoint(4, 32))
            return button->isEnabled();
    }
    qFatal("no start button");
    return false;
}

} // namespace

void QueueOperationsTest::init()
{
    now = QDateTime(QDate(2026, 3, 10), QTime(12, 0), Qt::UTC);
    T = now.toSecsSinceEpoch();
    Clock::setSource([this] { return now; });
    track = std::make_unique<TempTrack>();
    host = std::make_unique<QueueHost>();
}

void QueueOperationsTest::cleanup()
{
    form.reset();
    host.reset();
    track.reset();
    Clock::setSource({});
}

void QueueOperationsTest::makeForm()
{
    form = std::make_unique<TicketPluginForm>();
    form->setPlugin(host.get());
    host->clear();
}

QVector<qint64> QueueOperationsTest::starts() const
{
    QVector<qint64> all;
    for (int row = 0; row < list()->count(); ++row)
        all.append(run(row)->start() - T);
    return all;
}

QStringList QueueOperationsTest::guids() const
{
    QStringList all;
    for (int row = 0; row < list()->count(); ++row)
        all.append(run(row) ? run(row)->guid() : QStringLiteral("none"));
    return all;
}

/// The queue's racers: rows parted by a stroke, racers by a blank.
QString QueueOperationsTest::seats() const
{
    QStringList rows;
    for (int row = 0; row < list()->count(); ++row) {
        QStringList names;
        for (const auto &seat : run(row)->competitors())
            names.append(seat->data["uuid"].toString());
        rows.append(names.join(' '));
    }
    return rows.join('|');
}

void QueueOperationsTest::seatByHand(int row, const char *uuid, const QJsonObject &more)
{
    run(row)->addCompetitor(racer(uuid, 1, more), false);
    host->clear();
}

void QueueOperationsTest::addRuns()
{
    makeForm();
    RunContainerWidget *last = form->addRuns(3, -1, 0);
    QCOMPARE(list()->count(), 3);
    QCOMPARE(last, run(2));
    QCOMPARE(starts(), (QVector<qint64>{180, 960, 1740}));
    QCOMPARE(host->names, published());
    for (int row = 0; row < 3; ++row) {
        QCOMPARE(run(row)->number(), row + 1);
        QCOMPARE(run(row)->finishParameter(), 600);
        QCOMPARE(run(row)->pause(), 180);
        QCOMPARE(run(row)->state(), QStringLiteral("unknown"));
        QCOMPARE(startEnabled(run(row)), row == 0);
        QCOMPARE(list()->item(row)->sizeHint(), QSize(0, run(row)->height()));
    }
    // Behind them the queue goes on; the last run is the current row, and nothing is selected.
    host->clear();
    form->addRuns(1, -1, 0);
    QCOMPARE(starts(), (QVector<qint64>{180, 960, 1740, 2520}));
    QCOMPARE(list()->currentRow(), 3);
    QVERIFY(list()->selectedItems().isEmpty());
    QCOMPARE(host->names, published());
    const QJsonObject queue = host->last("local_request_answer")["runQueue"].toObject();
    JSON_COMPARE(queue["currentRun"], run(0)->runRecord());
    JSON_COMPARE(queue["pendingRuns"], (QJsonArray{run(1)->runRecord(), run(2)->runRecord(), run(3)->runRecord()}));
}

void QueueOperationsTest::addRunsOfLength()
{
    makeForm();
    form->addRuns(2, 5, 0);
    form->addRuns(1, -1, 0);
    QCOMPARE(run(0)->finishParameter(), 300);
    QCOMPARE(run(2)->finishParameter(), 600);
    QCOMPARE(starts(), (QVector<qint64>{180, 660, 1140}));
}

void QueueOperationsTest::addNoRuns_data()
{
    QTest::addColumn<int>("count");
    for (int count : {0, -1, -2147483647})
        QTest::addRow("%d", count) << count;
}

void QueueOperationsTest::addNoRuns()
{
    QFETCH(int, count);
    makeForm();
    QVERIFY(!form->addRuns(count, -1, 0));
    QCOMPARE(list()->count(), 0);
    // Nobody is added, but the queue is told all the same.
    QCOMPARE(host->names, published());
}

void QueueOperationsTest::addRunsNumbers()
{
    makeForm();
    form->setNextRunNumber(5);
    form->addRuns(2, -1, 0);
    QCOMPARE(run(0)->number(), 5);
    QCOMPARE(run(1)->number(), 6);
    // The host's news count for an empty queue only.
    form->setNextRunNumber(20);
    form->addRuns(1, -1, 0);
    QCOMPARE(run(0)->number(), 5);
    QCOMPARE(run(2)->number(), 7);
    form->removeRuns({run(0), run(1), run(2)}, true);
    form->addRuns(1, -1, 0);
    QCOMPARE(run(0)->number(), 20);
}

void QueueOperationsTest::addRunsAfterANewSetting()
{
    makeForm();
    form->addRuns(1, -1, 0);
    track->setSetting("maxInRunCount", 4);
    track->setSetting("defaultRunDuration", 7);
    track->setSetting("pauseDuration", 2);
    form->loadSettings();
    form->addRuns(2, -1, 0);
    QCOMPARE(run(0)->finishParameter(), 600);
    QCOMPARE(run(0)->pause(), 180);
    QCOMPARE(run(1)->finishParameter(), 420);
    QCOMPARE(run(1)->pause(), 120);
    QCOMPARE(starts(), (QVector<qint64>{180, 900, 1440}));
    for (const char *uuid : {"{a}", "{b}", "{c}", "{d}"}) {
        QVERIFY(run(1)->canAcceptRacer(racer("{e}")));
        run(0)->addCompetitor(racer(uuid), false);
        run(1)->addCompetitor(racer(uuid), false);
    }
    QVERIFY(run(0)->canAcceptRacer(racer("{e}")));
    QVERIFY(!run(1)->canAcceptRacer(racer("{e}")));
}

// A frozen time is the start, the pause and the length of the run before; the first run waits for nothing.
void QueueOperationsTest::addRunsFixed()
{
    track->setSetting("fixedRunStartTimeInQueue", true);
    makeForm();
    form->addRuns(3, -1, 0);
    QCOMPARE(starts(), (QVector<qint64>{0, 780, 1560}));
    now = now.addSecs(500);
    form->addRuns(1, 5, 0);
    QCOMPARE(starts(), (QVector<qint64>{0, 780, 1560, 2340}));
    form->addRuns(1, -1, 0);
    QCOMPARE(starts(), (QVector<qint64>{0, 780, 1560, 2340, 2340 + 180 + 300}));
    // A run by laps counts for the default's number here too.
    run(4)->applyRunParams(object(R"({"finishMode": 2})"));
    form->addRuns(2, -1, 0);
    QCOMPARE(starts().mid(5), (QVector<qint64>{2820 + 180 + 10, 3010 + 780}));
}

void QueueOperationsTest::addRunsFixedFromATime()
{
    track->setSetting("fixedRunStartTimeInQueue", true);
    makeForm();
    form->addRuns(2, 5, T + 7200);
    QCOMPARE(starts(), (QVector<qint64>{7200, 7200 + 480}));
    // A time of one's own, even in front of what is there already.
    form->addRuns(1, -1, T - 50);
    QCOMPARE(starts(), (QVector<qint64>{7200, 7680, -50}));
}

void QueueOperationsTest::startTimeThatDoesNotLast()
{
    makeForm();
    form->addRuns(2, -1, T + 7200);
    QCOMPARE(starts(), (QVector<qint64>{180, 960}));
}

void QueueOperationsTest::silentWithoutHost()
{
    form = std::make_unique<TicketPluginForm>();
    track->removeJournal("runslist.state");
    form->addRuns(2, -1, 0);
    run(1)->addCompetitor(racer("{a}", 1, {{"pinCodes", QJsonArray{"0001"}}}), false);
    // The journal is written without a host too.
    QCOMPARE(track->readJournal("runslist.state").count("RUNITEM:"), 2);
    QCOMPARE(track->readJournal("runslist.state").count("COMPETITOR:"), 1);
    pinCodesOf(*form).append("0001");
    form->removeRuns({run(1)}, true);
    QCOMPARE(list()->count(), 1);
    // Codes are freed only with a host.
    QVERIFY(pinCodesOf(*form).contains("0001"));
    form->setPlugin(host.get());
    QCOMPARE(host->names, QStringList());
}

void QueueOperationsTest::minuteMovesAnIdleQueue()
{
    makeForm();
    form->addRuns(3, -1, 0);
    now = now.addSecs(60);
    form->recalcQueue(QString());
    QCOMPARE(starts(), (QVector<qint64>{240, 1020, 1800}));
}

void QueueOperationsTest::minuteLeavesFixedTimes()
{
    track->setSetting("fixedRunStartTimeInQueue", true);
    makeForm();
    form->addRuns(3, -1, 0);
    now = now.addSecs(6000);
    form->recalcQueue(QString());
    QCOMPARE(starts(), (QVector<qint64>{0, 780, 1560}));
}

void QueueOperationsTest::lateStartPushesTheQueue()
{
    makeForm();
    form->addRuns(3, -1, 0);
    now = now.addSecs(400);
    form->onNewRunStarted({{"runQueueGuid", run(0)->guid()}, {"runNum", 1}});
    QCOMPARE(starts(), (QVector<qint64>{400, 1180, 1960}));
    now = now.addSecs(300);
    form->recalcQueue(QString());
    QCOMPARE(starts(), (QVector<qint64>{400, 1180, 1960}));
}

void QueueOperationsTest::lateStartLeavesFixedTimes()
{
    track->setSetting("fixedRunStartTimeInQueue", true);
    makeForm();
    form->addRuns(3, -1, 0);
    now = now.addSecs(400);
    form->onNewRunStarted({{"runQueueGuid", run(0)->guid()}, {"runNum", 1}});
    QCOMPARE(starts(), (QVector<qint64>{0, 780, 1560}));
    QVERIFY(run(0)->isCurrentRun());
}

void QueueOperationsTest::unknownRunPushesTheQueue()
{
    makeForm();
    form->addRuns(2, -1, 0);
    form->onNewRunStarted({{"runQueueGuid", "{elsewhere}"}, {"runNum", 1}, {"finishType", 1}, {"finishParam", 900}});
    QCOMPARE(starts(), (QVector<qint64>{900 + 180, 900 + 960}));
    now = now.addSecs(1000);
    form->recalcQueue(QString());
    QCOMPARE(starts(), (QVector<qint64>{1000 + 10 + 180, 1000 + 10 + 960}));
    form->onRunClosed({{"runQueueGuid", "{elsewhere}"}});
    form->recalcQueue(QString());
    QCOMPARE(starts(), (QVector<qint64>{1180, 1960}));
}

void QueueOperationsTest::twins()
{
    makeForm();
    form->addRuns(3, -1, 0);
    run(0)->setRunQueueGuid("{twin}");
    run(2)->setRunQueueGuid("{twin}");
    const QString other = run(1)->guid();
    form->recalcQueue(QString());
    QCOMPARE(run(0)->guid(), QStringLiteral("{twin}"));
    QCOMPARE(run(1)->guid(), other);
    QVERIFY(run(2)->guid() != QStringLiteral("{twin}") && run(2)->guid() != other);
    QCOMPARE(QUuid(run(2)->guid()).toString(), run(2)->guid());
    QVERIFY(!QUuid(run(2)->guid()).isNull());
}

void QueueOperationsTest::activeRun()
{
    makeForm();
    form->addRuns(3, -1, 0);
    form->recalcQueue(run(1)->guid());
    QVERIFY(!run(0)->isCurrentRun() && run(1)->isCurrentRun() && !run(2)->isCurrentRun());
    form->recalcQueue(QString());
    QVERIFY(run(1)->isCurrentRun());
    form->recalcQueue(run(2)->guid());
    QVERIFY(!run(0)->isCurrentRun() && !run(1)->isCurrentRun() && run(2)->isCurrentRun());
    form->recalcQueue("{unknown}");
    QVERIFY(!run(0)->isCurrentRun() && !run(1)->isCurrentRun() && !run(2)->isCurrentRun());
}

void QueueOperationsTest::move_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<QString>("target");
    QTest::addColumn<QString>("order");
    const auto row = [](const char *source, const char *target, const char *order) {
        QTest::addRow("%s to %s", source, target) << QString(source) << QString(target) << QString(order);
    };
    row("b", "d", "acdb");
    row("b", "c", "acbd");
    row("c", "d", "abdc");
    row("d", "b", "adbc");
    row("d", "c", "abdc");
    row("c", "a", "cabd");
    row("b", "a", "bacd");
    row("d", "a", "dabc");
    // Nothing happens in these.
    row("a", "c", "abcd");
    row("a", "b", "abcd");
    row("a", "a", "abcd");
    row("b", "b", "abcd");
    row("", "b", "abcd");
    row("b", "", "abcd");
    row("x", "b", "abcd");
    row("b", "x", "abcd");
    row("a", "x", "abcd");
    row("current", "b", "abcd");
    row("b", "current", "abcd");
}

void QueueOperationsTest::move()
{
    QFETCH(QString, source);
    QFETCH(QString, target);
    QFETCH(QString, order);
    makeForm();
    form->addRuns(4, -1, 0);
    const QStringList names{"a", "b", "c", "d"};
    for (int row = 0; row < 4; ++row)
        run(row)->setRunQueueGuid(names.at(row));
    track->removeJournal("runslist.state");
    host->clear();
    form->moveRunInQueue(source, target);
    QCOMPARE(guids().join(""), order);
    const bool moved = order != QLatin1String("abcd");
    QCOMPARE(host->names, moved ? published() : QStringList());
    QCOMPARE(track->hasJournal("runslist.state"), moved);
    if (moved) {
        QCOMPARE(starts(), (QVector<qint64>{180, 960, 1740, 2520}));
        QCOMPARE(host->last("local_request_answer")["forceReload"], QJsonValue(true));
        JSON_COMPARE(host->last("remote_control_answer")["req_answ"], host->last("local_request_answer"));
    }
    for (int row = 0; row < 4; ++row) {
        QCOMPARE(startEnabled(run(row)), row == 0);
        QCOMPARE(list()->item(row)->sizeHint(), QSize(0, run(row)->height()));
    }
}

void QueueOperationsTest::moveKeepsTheRun()
{
    makeForm();
    form->addRuns(3, -1, 0);
    seatByHand(2, "{a}");
    run(2)->setRunNum(77);
    run(2)->forceRunName("Финал");
    const QPointer<RunContainerWidget> moved(run(2));
    const QString guid = moved->guid();
    form->moveRunInQueue(guid, run(0)->guid());
    QVERIFY(moved);
    QCOMPARE(run(0), moved.data());
    QCOMPARE(form->findRun(guid), moved.data());
    QCOMPARE(run(0)->number(), 77);
    QCOMPARE(run(0)->displayName(), QStringLiteral("Финал"));
    QCOMPARE(seats(), QStringLiteral("{a}||"));
    // It still reaches the host.
    host->clear();
    moved->removeCompetitorAt(0);
    QCOMPARE(host->names, told());
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(moved);
}

void QueueOperationsTest::rowsMoved()
{
    makeForm();
    form->addRuns(3, -1, 0);
    const QStringList before = guids();
    host->clear();
    QVERIFY(list()->model()->moveRow({}, 2, {}, 0));
    QCOMPARE(guids(), (QStringList{before.at(2), before.at(0), before.at(1)}));
    QCOMPARE(host->names, published());
    QCOMPARE(host->last("local_request_answer")["forceReload"], QJsonValue(true));
    QCOMPARE(starts(), (QVector<qint64>{180, 960, 1740}));
    for (int row = 0; row < 3; ++row)
        QCOMPARE(startEnabled(run(row)), row == 0);
}

void QueueOperationsTest::removeRuns()
{
    makeForm();
    form->addRuns(4, -1, 0);
    seatByHand(1, "{a}", {{"carId", 3}});
    const QStringList before = guids();
    const QJsonObject record = run(1)->runRecord();
    form->removeRuns({run(1), run(3)}, true);
    QCOMPARE(guids(), (QStringList{before.at(0), before.at(2)}));
    QCOMPARE(host->names, published());
    QCOMPARE(starts(), (QVector<qint64>{180, 960}));
    QJsonObject remembered = record;
    remembered["runIndex"] = 0;
    JSON_COMPARE(host->last("local_request_answer")["runHistory"],
                 (QJsonObject{{"runHistoryList", QJsonArray{remembered}}}));
}

void QueueOperationsTest::removeRunsFreesPins()
{
    makeForm();
    form->addRuns(3, -1, 0);
    seatByHand(0, "{a}", {{"pinCodes", QJsonArray{"0001", "0001"}}});
    seatByHand(1, "{a}", {{"pinCodes", QJsonArray{"0001", "0001"}}});
    seatByHand(1, "{b}", {{"pinCodes", QJsonArray{"0002"}}});
    pinCodesOf(*form) = QStringList{"0001", "0003", "0002", "0001", "0001"};
    form->removeRuns({run(1)}, true);
    QCOMPARE(pinCodesOf(*form), QStringList{"0003"});
}

void QueueOperationsTest::removeRunsSkipsCurrent()
{
    makeForm();
    form->addRuns(3, -1, 0);
    seatByHand(0, "{a}", {{"pinCodes", QJsonArray{"0001"}}});
    pinCodesOf(*form) = QStringList{"0001"};
    form->recalcQueue(run(0)->guid());
    const QString current = run(0)->guid();
    form->removeRuns({run(0), run(1), run(2)}, true);
    QCOMPARE(guids(), QStringList{current});
    QCOMPARE(pinCodesOf(*form), QStringList{"0001"});
    QVERIFY(host->last("local_request_answer")["runHistory"]["runHistoryList"].toArray().isEmpty());
}

void QueueOperationsTest::removeNothing()
{
    makeForm();
    form->addRuns(1, -1, 0);
    host->clear();
    form->removeRuns({}, true);
    QCOMPARE(list()->count(), 1);
    QCOMPARE(host->names, published());
}

void QueueOperationsTest::removeRunThatIsGone()
{
    makeForm();
    form->addRuns(2, -1, 0);
    const QString kept = run(0)->guid();
    const QPointer<RunContainerWidget> gone(run(1));
    form->removeRuns({gone}, true);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(!gone);
    form->removeRuns({gone}, true);
    QCOMPARE(guids(), QStringList{kept});
}

void QueueOperationsTest::moveRacer()
{
    makeForm();
    form->addRuns(3, -1, 0);
    seatByHand(0, "{a}", {{"carId", 3}, {"carNum", "7"}, {"pinCodes", QJsonArray{"0001"}}, {"competitorState", 1}});
    seatByHand(0, "{b}");
    seatByHand(2, "{c}", {{"carId", 3}});
    seatByHand(2, "{d}");
    QJsonObject expected = run(0)->competitorByUuid("{a}");
    form->moveRacerToRun(
        {{"requestData", QJsonObject{{"fromRun", run(0)->guid()}, {"toRun", run(2)->guid()}, {"racerGuid", "{a}"}}}});
    QCOMPARE(seats(), QStringLiteral("{b}||{c} {d} {a}"));
    // A new number, and the car stays with the one who has it.
    expected["competitorId"] = -1003;
    expected["carId"] = -1;
    JSON_COMPARE(run(2)->competitorByUuid("{a}"), expected);
    QCOMPARE(host->names, told());
    JSON_COMPARE(host->last("replace_run_preset"), run(2)->runPreset());
}

void QueueOperationsTest::moveRacerIgnoresLimits()
{
    track->setSetting("maxInRunCount", 1);
    makeForm();
    form->addRuns(2, -1, 0);
    seatByHand(0, "{a}", {{"clientId", 7}});
    seatByHand(1, "{b}", {{"clientId", 7}});
    run(1)->setRunLocked(true);
    form->moveRacerToRun(
        {{"requestData", QJsonObject{{"fromRun", run(0)->guid()}, {"toRun", run(1)->guid()}, {"racerGuid", "{a}"}}}});
    QCOMPARE(seats(), QStringLiteral("|{b} {a}"));
}

void QueueOperationsTest::moveRacerNowhere_data()
{
    QTest::addColumn<QString>("from");
    QTest::addColumn<QString>("to");
    QTest::addColumn<QString>("racer");
    QTest::newRow("unknown source") << "x"
                                    << "1"
                                    << "{a}";
    QTest::newRow("unknown target") << "0"
                                    << "x"
                                    << "{a}";
    QTest::newRow("no source") << ""
                               << "1"
                               << "{a}";
    QTest::newRow("no target") << "0"
                               << ""
                               << "{a}";
    QTest::newRow("same run") << "0"
                              << "0"
                              << "{a}";
    QTest::newRow("not in the source") << "1"
                                       << "0"
                                       << "{a}";
    QTest::newRow("already in the target") << "0"
                                           << "1"
                                           << "{b}";
    QTest::newRow("nobody") << "0"
                            << "1"
                            << "{x}";
    QTest::newRow("no racer") << "0"
                              << "1"
                              << "";
    QTest::newRow("current names nothing") << "current"
                                           << "1"
                                           << "{a}";
    QTest::newRow("current names nothing as a target") << "1"
                                                       << "current"
                                                       << "{c}";
}

void QueueOperationsTest::moveRacerNowhere()
{
    QFETCH(QString, from);
    QFETCH(QString, to);
    QFETCH(QString, racer);
    makeForm();
    form->addRuns(2, -1, 0);
    run(0)->setRunQueueGuid("0");
    run(1)->setRunQueueGuid("1");
    seatByHand(0, "{a}");
    seatByHand(0, "{b}");
    seatByHand(1, "{b}");
    seatByHand(1, "{c}");
    form->moveRacerToRun({{"requestData", QJsonObject{{"fromRun", from}, {"toRun", to}, {"racerGuid", racer}}}});
    QCOMPARE(seats(), QStringLiteral("{a} {b}|{b} {c}"));
    QCOMPARE(host->names.count("replace_run_preset"), 0);
}

void QueueOperationsTest::removeRacer()
{
    makeForm();
    form->addRuns(2, -1, 0);
    seatByHand(0, "{a}", {{"pinCodes", QJsonArray{"0001"}}});
    seatByHand(1, "{a}");
    pinCodesOf(*form) = QStringList{"0001"};
    form->removeRacerFromRun(run(0), "{a}");
    QCOMPARE(seats(), QStringLiteral("|{a}"));
    QCOMPARE(host->names, published());
    QCOMPARE(pinCodesOf(*form), QStringList{"0001"});
}

void QueueOperationsTest::findSeat_data()
{
    QTest::addColumn<QJsonObject>("request");
    QTest::addColumn<QString>("guid");
    QTest::addColumn<int>("row");
    QTest::addColumn<QString>("racer");
    const auto row = [](const char *name, const char *request, const char *guid, int at, const char *racer) {
        QTest::newRow(name) << object(request) << QString(guid) << at << QString(racer);
    };
    row("by uuid", R"({"racerUuid": "{a}"})", "", 0, "{a}");
    row("by uuid, further down", R"({"racerUuid": "{c}"})", "", 1, "{c}");
    row("by code", R"({"pinCode": "0002"})", "", 0, "{b}");
    row("by card", R"({"nfcUid": "CARD"})", "", 1, "{c}");
    row("first of several seats", R"({"racerUuid": "{b}"})", "", 0, "{b}");
    row("the named run comes first", R"({"racerUuid": "{b}"})", "2", 2, "{b}");
    row("the head by its word", R"({"racerUuid": "{a}"})", "current", 0, "{a}");
    row("the head has a seat of his", R"({"pinCode": "0002"})", "current", 0, "{b}");
    row("the first match of the run", R"({"racerUuid": "{b}", "pinCode": "0001"})", "0", 0, "{a}");
}

void QueueOperationsTest::findSeat()
{
    QFETCH(QJsonObject, request);
    QFETCH(QString, guid);
    QFETCH(int, row);
    QFETCH(QString, racer);
    makeForm();
    form->addRuns(3, -1, 0);
    for (int i = 0; i < 3; ++i)
        run(i)->setRunQueueGuid(QString::number(i));
    seatByHand(0, "{a}", {{"pinCodes", QJsonArray{"0001"}}});
    seatByHand(0, "{b}", {{"pinCodes", QJsonArray{"0002", "0002"}}});
    seatByHand(1, "{c}", {{"nfcUid", "CARD"}});
    seatByHand(2, "{b}", {{"pinCodes", QJsonArray{"0002", "0002"}}});
    RunCompetitor *seat = nullptr;
    RunContainerWidget *found = nullptr;
    QVERIFY(form->findCompetitor(request, &seat, &found, guid));
    QCOMPARE(found, run(row));
    QVERIFY(seat);
    QCOMPARE(seat->data["uuid"].toString(), racer);
    QVERIFY(std::any_of(found->competitors().begin(), found->competitors().end(),
                        [&](const auto &one) { return one.get() == seat; }));
    // A look moves nobody.
    QCOMPARE(seats(), QStringLiteral("{a} {b}|{c}|{b}"));
    QCOMPARE(host->names, QStringList());
}

void QueueOperationsTest::findMovesToTheHead()
{
    makeForm();
    form->addRuns(3, -1, 0);
    seatByHand(0, "{a}");
    seatByHand(2, "{c}", {{"pinCodes", QJsonArray{"0003"}}, {"carId", 3}, {"comment", "x"}});
    seatByHand(2, "{d}");
    QJsonObject expected = run(2)->competitorByUuid("{c}");
    expected["competitorId"] = -1002;
    RunCompetitor *seat = nullptr;
    RunContainerWidget *found = nullptr;
    QVERIFY(form->findCompetitor(object(R"({"pinCode": "0003"})"), &seat, &found, "current"));
    QCOMPARE(seats(), QStringLiteral("{a} {c}||{d}"));
    QCOMPARE(found, run(0));
    QVERIFY(seat);
    JSON_COMPARE(seat->data, expected);
    QCOMPARE(seat, run(0)->competitors().back().get());
    // Both runs are told, first the one he leaves.
    QCOMPARE(host->names, times(told(), 2));
    JSON_COMPARE(host->payloads.at(0), run(2)->runPreset());
    JSON_COMPARE(host->payloads.at(3), run(0)->runPreset());
}

void QueueOperationsTest::findMovesToARun()
{
    makeForm();
    form->addRuns(4, -1, 0);
    seatByHand(1, "{c}");
    seatByHand(2, "{c}");
    const QString target = run(3)->guid();
    RunCompetitor *seat = nullptr;
    RunContainerWidget *found = nullptr;
    QVERIFY(form->findCompetitor(object(R"({"racerUuid": "{c}"})"), &seat, &found, target));
    // The first of his seats moves.
    QCOMPARE(seats(), QStringLiteral("||{c}|{c}"));
    QCOMPARE(found, run(3));
    QCOMPARE(seat, run(3)->competitors().front().get());
    QCOMPARE(seat->data["competitorId"].toInt(), -1001);
    QCOMPARE(host->names, times(told(), 2));
}

void QueueOperationsTest::findMovesOverLimits()
{
    track->setSetting("maxInRunCount", 1);
    makeForm();
    form->addRuns(2, -1, 0);
    seatByHand(0, "{a}", {{"clientId", 7}});
    seatByHand(1, "{c}", {{"clientId", 7}});
    run(0)->setRunLocked(true);
    RunCompetitor *seat = nullptr;
    RunContainerWidget *found = nullptr;
    QVERIFY(form->findCompetitor(object(R"({"racerUuid": "{c}"})"), &seat, &found, "current"));
    QCOMPARE(seats(), QStringLiteral("{a} {c}|"));
}

void QueueOperationsTest::findWithoutAResult_data()
{
    QTest::addColumn<QJsonObject>("request");
    QTest::addColumn<QString>("guid");
    QTest::newRow("nobody") << object(R"({"racerUuid": "{x}"})") << "";
    QTest::newRow("code of nobody") << object(R"({"pinCode": "9999"})") << "";
    QTest::newRow("empty card") << object(R"({"nfcUid": "", "racerUuid": "{x}", "pinCode": "9999"})") << "";
    QTest::newRow("unknown run") << object(R"({"racerUuid": "{a}"})") << "{unknown}";
    QTest::newRow("nobody for the head") << object(R"({"racerUuid": "{x}"})") << "current";
    QTest::newRow("a number is no code") << object(R"({"racerUuid": "{x}", "pinCode": 1})") << "";
}

void QueueOperationsTest::findWithoutAResult()
{
    QFETCH(QJsonObject, request);
    QFETCH(QString, guid);
    makeForm();
    form->addRuns(2, -1, 0);
    seatByHand(0, "{a}", {{"pinCodes", QJsonArray{"0001"}}});
    seatByHand(1, "{c}", {{"nfcUid", ""}});
    RunCompetitor *seat = nullptr;
    RunContainerWidget *found = nullptr;
    QVERIFY(!form->findCompetitor(request, &seat, &found, guid));
    QVERIFY(!seat && !found);
    QCOMPARE(seats(), QStringLiteral("{a}|{c}"));
    QCOMPARE(host->names, QStringList());
    // An empty queue has nobody either.
    form->removeRuns({run(0), run(1)}, true);
    QVERIFY(!form->findCompetitor(object(R"({"racerUuid": "{a}"})"), &seat, &found, "current"));
}

void QueueOperationsTest::seat_data()
{
    QTest::addColumn<int>("limit");
    QTest::addColumn<QString>("queue");
    QTest::addColumn<QJsonArray>("racers");
    QTest::addColumn<int>("step");
    QTest::addColumn<int>("fromRow");
    QTest::addColumn<QString>("expected");
    // A queue is written as seats() writes it; a row "!" is locked.
    const auto row = [](const char *name, const char *queue, const QJsonArray &racers, int step, int fromRow,
                        const char *expected, int limit = 10) {
        QTest::newRow(name) << limit << QString(queue) << racers << step << fromRow << QString(expected);
    };
    const QJsonObject three = racer("{a}", 3);
    row("one run", "|", {racer("{a}")}, 1, -1, "{a}|");
    row("three runs in a queue of two", "|", {three}, 1, -1, "{a}|{a}|{a}");
    row("three runs without a queue", "none", {three}, 1, -1, "{a}|{a}|{a}");
    row("every other run without a queue", "none", {three}, 2, -1, "{a}||{a}||{a}");
    row("every other run", "||||||", {three}, 2, -1, "{a}||{a}||{a}||");
    row("refusals don't use up the step", "!|||", {racer("{a}", 2)}, 2, -1, "|{a}||{a}");
    row("a refusal in the gap", "|!||", {racer("{a}", 2)}, 2, -1, "{a}||{a}|");
    row("a refusal behind the gap", "||!||", {racer("{a}", 2)}, 2, -1, "{a}|||{a}|");
    row("the limit", "|", {racer("{a}"), racer("{b}"), racer("{c}")}, 1, -1, "{a} {b}|{c}", 2);
    row("all full", "{x}|{y}", {racer("{a}")}, 1, -1, "{x}|{y}|{a}", 1);
    row("locked", "!|", {racer("{a}")}, 1, -1, "|{a}");
    row("all locked", "!|!", {racer("{a}")}, 1, -1, "||{a}");
    row("already seated", "{a}|", {racer("{a}")}, 1, -1, "{a}|{a}");
    row("same client", "|", {racer("{a}", 1, {{"clientId", 7}}), racer("{b}", 1, {{"clientId", 7}})}, 1, -1, "{a}|{b}");
    row("no client twice", "|", {racer("{a}"), racer("{b}")}, 1, -1, "{a} {b}|");
    row("two cars", "|",
        {racer("{a}", 1, {{"carModel", "Sodi"}}), racer("{b}", 1, {{"carModel", "Sodi"}}),
         racer("{c}", 1, {{"carModel", "Sodi"}}), racer("{d}", 1, {{"carModel", "Rimo"}})},
        1, -1, "{a} {b} {d}|{c}");
    row("each racer is placed completely", "||", {racer("{a}", 2), racer("{b}", 2)}, 1, -1, "{a}|{a}|{b}|{b}", 1);
    row("dropped on row 1 of five", "|{a}|||", {three}, 1, 1, "|{a}|{a}|{a}|");
    row("dropped with one run", "{a}||", {racer("{a}")}, 1, 0, "{a}||");
    row("dropped with no run", "{a}||", {racer("{a}", 0)}, 1, 0, "{a}||");
    row("dropped on the last row", "|{a}", {racer("{a}", 2)}, 1, 1, "|{a}|{a}");
    row("no runs bought", "|", {racer("{a}", 0)}, 1, -1, "|");
    row("a negative number of runs", "|", {racer("{a}", -5)}, 1, -1, "|");
    row("nobody", "|", {}, 1, -1, "|");
}

void QueueOperationsTest::seat()
{
    QFETCH(int, limit);
    QFETCH(QString, queue);
    QFETCH(QJsonArray, racers);
    QFETCH(int, step);
    QFETCH(int, fromRow);
    track->setSetting("maxInRunCount", limit);
    makeForm();
    form->onCarsChanged(object(R"({"cars": [{"id": 1, "name": "Sodi", "available_for_runs": true},
        {"id": 2, "name": "Sodi", "available_for_runs": true}, {"id": 3, "name": "Sodi"},
        {"id": 4, "name": "Rimo", "available_for_runs": true}]})"));
    if (queue != QLatin1String("none")) {
        const QStringList rows = queue.split('|');
        form->addRuns(rows.size(), -1, 0);
        for (int row = 0; row < rows.size(); ++row) {
            if (rows.at(row) == QLatin1String("!"))
                run(row)->setRunLocked(true);
            else if (!rows.at(row).isEmpty())
                seatByHand(row, qPrintable(rows.at(row)));
        }
    }
    form->seatRacers(racers, step, fromRow);
    QTEST(seats(), "expected");
}

// A racer who stands in a call twice goes on where the first entry stopped.
void QueueOperationsTest::seatRacerTwiceInACall()
{
    makeForm();
    form->addRuns(5, -1, 0);
    form->seatRacers({racer("{a}", 2), racer("{b}", 1), racer("{a}", 1)}, 1, -1);
    QCOMPARE(seats(), QStringLiteral("{a} {b}|{a}|{a}||"));
    form->seatRacers({racer("{c}", 1), racer("{c}", 1)}, 2, -1);
    QCOMPARE(seats(), QStringLiteral("{a} {b} {c}|{a}|{a} {c}||"));
}

void QueueOperationsTest::seatEvents()
{
    makeForm();
    form->addRuns(2, -1, 0);
    host->clear();
    form->seatRacers({racer("{a}", 3)}, 1, -1);
    QCOMPARE(host->names, told() + told() + published() + told());
    const QVector<int> presets{0, 3, 8};
    for (int row = 0; row < 3; ++row)
        JSON_COMPARE(host->payloads.at(presets.at(row)), run(row)->runPreset());
    // What is published with a seat holds that seat and no later one.
    const QJsonObject queue = host->payloads.at(2)["runQueue"].toObject();
    QCOMPARE(queue["currentRun"]["runCompetitors"].toObject().keys(), QStringList{"-1001"});
    QCOMPARE(queue["pendingRuns"][0]["runCompetitors"].toObject().keys(), QStringList());
}

void QueueOperationsTest::seatCopiesTheRacer()
{
    makeForm();
    form->addRuns(2, -1, 0);
    const QJsonObject entry = racer("{a}", 2, {{"carId", 3}, {"carNum", "7"}, {"own", 1}});
    form->seatRacers({entry}, 1, -1);
    QJsonObject expected = entry;
    expected["competitorId"] = -1001;
    JSON_COMPARE(run(0)->competitorByUuid("{a}"), expected);
    JSON_COMPARE(run(1)->competitorByUuid("{a}"), expected);
}

void QueueOperationsTest::findRuns()
{
    makeForm();
    QVERIFY(!form->requestedRun("current"));
    form->addRuns(2, -1, 0);
    QCOMPARE(form->findRun(run(1)->guid()), run(1));
    QVERIFY(!form->findRun("{x}"));
    QVERIFY(!form->findRun(QString()));
    QVERIFY(!form->findRun("current"));
    QCOMPARE(form->requestedRun("current"), run(0));
    QCOMPARE(form->requestedRun(run(1)->guid()), run(1));
    QVERIFY(!form->requestedRun("{x}"));
}

void QueueOperationsTest::pinOfNoRuns()
{
    ClientsCheckInList checkIn;
    QStringList pool;
    checkIn.setUsedPinCodes(&pool);
    QCOMPARE(checkIn.makePins(0, {}).size(), 1);
    QCOMPARE(checkIn.makePins(3, {}).size(), 3);
    QCOMPARE(pool.size(), 2);
}

DESK_TEST_MAIN(QueueOperationsTest)

#include "tst_queueoperations.moc"
