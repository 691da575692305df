#include "desktest.h"
#include "hostprobe.h"
#include "jsonmatch.h"

#include <QAbstractItemModel>
#include <QDateTime>
#include <QElapsedTimer>
#include <QFile>
#include <QListWidget>
#include <QPushButton>

/// What the desk does by itself as time goes by. The clock is a false one, in a child process; only the timers run in
/// real time unless a test moves them too.
class TestTimers : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void unattendedEntriesExpire();
    void expiryToTheSecond();
    void nothingToRemove();
    void queueFollowsTheClock();
    void startIsAskedOnce();

private:
    void runUnderFalseClock(const char *role, const char *clock, bool timersToo);
};

namespace {

using JsonMatch::object;

const QString Tickets = QStringLiteral("tickets.state");

QByteArray ticketLine(const char *uuid, qint64 regTime)
{
    return QByteArray("{\"uuid\":\"") + uuid + "\",\"lastName\":\"A\",\"regTime\":" + QByteArray::number(regTime)
           + "}\n";
}

} // namespace

void TestTimers::runUnderFalseClock(const char *role, const char *clock, bool timersToo)
{
    const TempTrack track;
    const QString file = track.home() + QStringLiteral("/clock");
    QFile offset(file);
    QVERIFY(offset.open(QIODevice::WriteOnly));
    offset.write(clock);
    offset.close();
    ChildDesk child(QString::fromLatin1(role), {file});
    QVERIFY2(child.fakeClock(file, timersToo), "the package faketime is not installed");
    QVERIFY(child.start());
    QVERIFY2(child.finish(60000), child.output().constData());
    QVERIFY2(child.output().contains("done\n"), child.output().constData());
}

void TestTimers::unattendedEntriesExpire()
{
    runUnderFalseClock("expire", "+0", false);
}

void TestTimers::expiryToTheSecond()
{
    runUnderFalseClock("second", "2026-03-10 12:00:00", false);
}

void TestTimers::nothingToRemove()
{
    runUnderFalseClock("nothing", "2026-03-10 02:00:00", false);
}

void TestTimers::queueFollowsTheClock()
{
    runUnderFalseClock("queue", "+0", true);
}

// A host that does not answer is neither pressed nor given up: the run waits, and only the cashier asks again.
void TestTimers::startIsAskedOnce()
{
    runUnderFalseClock("start", "+0", true);
}

namespace {

// A step of a child that did not come out.
int failed(const char *what, const HostProbe &desk)
{
    ChildDesk::say(QByteArray("failed: ") + what + "; events: " + desk.names().join(QLatin1Char(' ')).toUtf8());
    return 1;
}

void setClock(const QString &file, const QByteArray &text)
{
    QFile clock(file);
    if (!clock.open(QIODevice::WriteOnly | QIODevice::Truncate))
        qFatal("no clock file");
    clock.write(text + '\n');
}

bool tick(const HostProbe &desk)
{
    return QMetaObject::invokeMethod(desk.tab(), "validateRegList");
}

int expire(const TempTrack &track, const QString &clock)
{
    const qint64 now = QDateTime::currentSecsSinceEpoch();
    track.writeJournal(Tickets, ticketLine("{old}", now) + ticketLine("{kept}", 0) + ticketLine("{new}", now + 600));
    HostProbe desk(QStringLiteral(LAPVANE_PLUGIN_FILE));
    if (!desk.start())
        return failed("start", desk);
    setClock(clock, "+1700");
    tick(desk);
    if (!desk.names().isEmpty() || desk.checkIn()->rowCount() != 3)
        return failed("1700 seconds", desk);
    track.removeJournal(Tickets);
    setClock(clock, "+1830");
    // Now the desk's own timer has to find it, within its five seconds.
    if (!desk.waitFor(QStringLiteral("local_request_answer"), 1, 8000))
        return failed("no publication", desk);
    if (desk.names() != QStringList{QStringLiteral("local_request_answer")})
        return failed("sequence", desk);
    const QString wrong = JsonMatch::missing(desk.last(QStringLiteral("local_request_answer")),
                                             object(R"({"checkInList": [{"uuid": "{kept}"}, {"uuid": "{new}"}]})"));
    if (!wrong.isEmpty())
        return failed(qPrintable(wrong), desk);
    if (track.readJournal(Tickets).count('\n') != 2 || track.readJournal(Tickets).contains("{old}"))
        return failed("journal", desk);
    return 0;
}

int expireToTheSecond(const TempTrack &track, const QString &clock)
{
    // The clock stands still at noon and is moved by hand.
    const qint64 noon = QDateTime::currentSecsSinceEpoch();
    track.writeJournal(Tickets, ticketLine("{a}", noon) + ticketLine("{b}", noon + 1));
    HostProbe desk(QStringLiteral(LAPVANE_PLUGIN_FILE));
    if (!desk.start())
        return failed("start", desk);
    setClock(clock, "2026-03-10 12:30:00");
    if (QDateTime::currentSecsSinceEpoch() != noon + 1800)
        return failed("the clock does not move", desk);
    tick(desk);
    if (desk.checkIn()->rowCount() != 2 || !desk.names().isEmpty())
        return failed("gone after 1800 seconds", desk);
    setClock(clock, "2026-03-10 12:30:01");
    tick(desk);
    if (desk.checkIn()->rowCount() != 1)
        return failed("still there after 1801 seconds", desk);
    tick(desk);
    if (desk.checkIn()->rowCount() != 1 || desk.count(QStringLiteral("local_request_answer")) != 1)
        return failed("more than one removal", desk);
    return 0;
}

int nothing(const TempTrack &track)
{
    // Two in the night, and the working day begins at six: still yesterday's.
    track.writeJournal(Tickets, ticketLine("{a}", 0));
    HostProbe desk(QStringLiteral(LAPVANE_PLUGIN_FILE));
    if (!desk.start())
        return failed("start", desk);
    desk.send(QStringLiteral("timing_params"), object(R"({"dayBeginTime": 21600000})"));
    track.removeJournal(Tickets);
    HostProbe::settle(11000);
    if (!desk.names().isEmpty())
        return failed("published", desk);
    if (track.hasJournal(Tickets))
        return failed("written", desk);
    if (desk.checkIn()->rowCount() != 1)
        return failed("removed", desk);
    return 0;
}

int queue(const TempTrack &track, const QString &clock)
{
    HostProbe desk(QStringLiteral(LAPVANE_PLUGIN_FILE));
    if (!desk.start())
        return failed("start", desk);
    HostProbe::settle(200);
    track.removeJournal(Tickets);
    if (!desk.names().isEmpty())
        return failed("published too early", desk);
    const QStringList republished{QStringLiteral("remote_control_answer"), QStringLiteral("local_request_answer")};
    // Both the clock and the timers jump by nearly a minute, then over it.
    setClock(clock, "+55");
    HostProbe::settle(200);
    if (!desk.names().isEmpty() || track.hasJournal(Tickets))
        return failed("published before the minute was over", desk);
    setClock(clock, "+61");
    if (!desk.waitFor(QStringLiteral("local_request_answer")))
        return failed("no publication", desk);
    if (desk.names() != republished || !track.hasJournal(Tickets))
        return failed("sequence", desk);
    const QString wrong = JsonMatch::differences(desk.last(QStringLiteral("local_request_answer")), object(R"({
        "request": "runQueueUpdate", "runQueue": {"pendingRuns": []}, "runHistory": {"runHistoryList": []}})"));
    return wrong.isEmpty() ? 0 : failed(qPrintable(wrong), desk);
}

int start(const TempTrack &track, const QString &clock)
{
    const QString startRun = QStringLiteral("start_run");
    track.writeJournal(QStringLiteral("runslist.state"), "RUNITEM:{\"uuid\":\"{a}\"}\n"
                                                         "COMPETITOR:{\"uuid\":\"{x}\",\"name\":\"x\"}\n");
    HostProbe desk(QStringLiteral(LAPVANE_PLUGIN_FILE));
    if (!desk.start())
        return failed("start", desk);
    const auto *list = desk.find<QListWidget *>(QStringLiteral("lwRunsList"));
    auto *button = qobject_cast<QPushButton *>(list->itemWidget(list->item(0))->childAt(16, 44));
    if (!button)
        return failed("no start button", desk);
    const QImage waiting = button->icon().pixmap(24, 24).toImage();
    button->click();
    if (desk.names() != QStringList{startRun})
        return failed("no start", desk);
    const QJsonObject asked = desk.last(startRun);
    for (const char *later : {"+61", "+3700", "+90000"}) {
        desk.clear();
        setClock(clock, later);
        if (!desk.waitFor(QStringLiteral("local_request_answer")))
            return failed("the minute does not pass", desk);
        HostProbe::settle(200);
        const QStringList names = desk.names();
        for (const QString &name : names) {
            if (name != QLatin1String("remote_control_answer") && name != QLatin1String("local_request_answer"))
                return failed("something else than the minute's publication", desk);
        }
        if (!button->isEnabled() || button->icon().pixmap(24, 24).toImage() != waiting)
            return failed("the run does not wait", desk);
    }
    desk.clear();
    button->click();
    if (desk.names() != QStringList{startRun} || desk.last(startRun) != asked)
        return failed("no second start", desk);
    return 0;
}

int runChild(const QString &role, const QStringList &arguments)
{
    const auto track = TempTrack::fromEnvironment();
    const QString clock = arguments.value(0);
    int result = 2;
    if (role == QLatin1String("expire"))
        result = expire(*track, clock);
    else if (role == QLatin1String("second"))
        result = expireToTheSecond(*track, clock);
    else if (role == QLatin1String("nothing"))
        result = nothing(*track);
    else if (role == QLatin1String("queue"))
        result = queue(*track, clock);
    else if (role == QLatin1String("start"))
        result = start(*track, clock);
    if (result == 0)
        ChildDesk::say("done");
    return result;
}

} // namespace

DESK_TEST_MAIN_WITH_CHILD(TestTimers, runChild)

#include "tst_timers.moc"
