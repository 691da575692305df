#include "runqueue/runrules.h"

#include "desktest.h"
#include "jsonmatch.h"

using RunRules::CellGrid;
using RunRules::ChainLink;
using RunRules::TrackRun;

/// The queue's arithmetic.
class RunRulesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void plannedDuration_data();
    void plannedDuration();
    void chain_data();
    void chain();
    void chainBeyond32Bits();
    void numberFromName_data();
    void numberFromName();
    void grid_data();
    void grid();
    void cells();
    void firstFit_data();
    void firstFit();
    void firstFitGoesForward();
    void sortedByNumber_data();
    void sortedByNumber();
    void finishParam_data();
    void finishParam();
};

namespace {

constexpr int ByTime = RunRules::FinishByTime;
constexpr int ByLaps = RunRules::FinishByLaps;

/// A waiting run of ten minutes with a pause of three.
ChainLink waiting(qint64 startTime = 0, int finishMode = ByTime, int finishParam = 600, qint64 pause = 180)
{
    ChainLink link;
    link.startTime = startTime;
    link.pauseTime = pause;
    link.finishMode = finishMode;
    link.finishParam = finishParam;
    return link;
}

ChainLink onTrack(qint64 startTime, int finishMode = ByTime, int finishParam = 600, qint64 pause = 180)
{
    ChainLink link = waiting(startTime, finishMode, finishParam, pause);
    link.current = true;
    return link;
}

using Queue = QVector<ChainLink>;
using Times = QVector<qint64>;

} // namespace

Q_DECLARE_METATYPE(QVector<ChainLink>)
Q_DECLARE_METATYPE(TrackRun)

void RunRulesTest::plannedDuration_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<int>("param");
    QTest::addColumn<int>("defaultDuration");
    QTest::addColumn<qint64>("expected");
    QTest::newRow("time") << 1 << 600 << 10 << qint64(600);
    QTest::newRow("other time") << 1 << 90 << 7 << qint64(90);
    QTest::newRow("laps") << 2 << 20 << 10 << qint64(10);
    QTest::newRow("laps, other default") << 2 << 20 << 15 << qint64(15);
    QTest::newRow("no time") << 1 << 0 << 10 << qint64(0);
}

void RunRulesTest::plannedDuration()
{
    QFETCH(int, mode);
    QFETCH(int, param);
    QFETCH(int, defaultDuration);
    QTEST(RunRules::plannedDuration(mode, param, defaultDuration), "expected");
}

void RunRulesTest::chain_data()
{
    constexpr qint64 T = 1000000;
    QTest::addColumn<Queue>("queue");
    QTest::addColumn<TrackRun>("track");
    QTest::addColumn<int>("defaultDuration");
    QTest::addColumn<bool>("fixed");
    QTest::addColumn<Times>("times");
    QTest::addColumn<qint64>("trackStart");
    const auto row = [](const char *name, const Queue &queue, const TrackRun &track, const Times &times,
                        qint64 trackStart, bool fixed = false, int defaultDuration = 10) {
        QTest::newRow(name) << queue << track << defaultDuration << fixed << times << trackStart;
    };
    const TrackRun none;
    const auto track = [](qint64 start, int param, const char *type) {
        TrackRun run;
        run.start = start;
        run.finishParam = param;
        run.finishType = QLatin1String(type);
        return run;
    };

    row("empty", {}, none, {}, 0);
    row("idle", {waiting(), waiting(), waiting()}, none, {T + 180, T + 960, T + 1740}, 0);
    row("idle, old times", {waiting(5), waiting(T + 9000), waiting(-7)}, none, {T + 180, T + 960, T + 1740}, 0);
    row("other pauses and lengths", {waiting(0, ByTime, 300, 60), waiting(0, ByTime, 60, 0), waiting()}, none,
        {T + 60, T + 360, T + 600}, 0);
    row("laps count for the default's number", {waiting(0, ByLaps, 20), waiting()}, none, {T + 180, T + 370}, 0);
    row("laps, default of 15", {waiting(0, ByLaps, 20), waiting()}, none, {T + 180, T + 375}, 0, false, 15);
    row("default does not touch a run by time", {waiting(), waiting()}, none, {T + 180, T + 960}, 0, false, 15);

    row("current keeps its start", {onTrack(T - 200), waiting(), waiting()}, none, {T - 200, T + 580, T + 1360}, 0);
    row("current's own pause does not matter", {onTrack(T - 200, ByTime, 600, 60), waiting()}, none, {T - 200, T + 580},
        0);
    row("current by laps", {onTrack(T - 200, ByLaps, 20), waiting()}, none, {T - 200, T - 10}, 0);
    row("current far in the past", {onTrack(T - 9000), waiting()}, none, {T - 9000, T - 8220}, 0);
    row("current without a start", {onTrack(0), waiting()}, none, {T + 180, T + 960}, 0);
    row("current without a start, track known", {onTrack(0), waiting()}, track(T - 100, 600, "finishByTime"),
        {T + 680, T + 1460}, T - 100);
    row("current forgets the track", {onTrack(T - 200), waiting()}, track(T - 100, 600, "finishByTime"),
        {T - 200, T + 580}, 0);
    row("the last of two current runs counts", {onTrack(T - 500), onTrack(T - 200)}, none, {T - 200, T + 580}, 0);
    row("current further down", {waiting(), onTrack(T - 200)}, none, {T - 200, T + 580}, 0);

    row("unknown by time", {waiting(), waiting()}, track(T - 100, 600, "finishByTime"), {T + 680, T + 1460}, T - 100);
    row("unknown by time, overdue", {waiting(), waiting()}, track(T - 700, 600, "finishByTime"), {T + 190, T + 970},
        T - 700);
    row("unknown, ends just before the default", {waiting()}, track(T - 591, 600, "finishByTime"), {T + 190}, T - 591);
    row("unknown, ends just behind the default", {waiting()}, track(T - 589, 600, "finishByTime"), {T + 191}, T - 589);
    row("unknown by laps", {waiting()}, track(T - 100, 600, "finishByLaps"), {T + 190}, T - 100);
    row("unknown without an end", {waiting()}, track(T - 100, 600, "finishNone"), {T + 190}, T - 100);
    row("unknown of no type", {waiting()}, track(T - 100, 600, ""), {T + 190}, T - 100);
    row("unknown of another spelling", {waiting()}, track(T - 100, 600, "FinishByTime"), {T + 190}, T - 100);
    row("unknown, default of 15", {waiting()}, track(T - 100, 0, "finishNone"), {T + 195}, T - 100, false, 15);
    row("no track, but its rests", {waiting()}, track(0, 6000000, "finishByTime"), {T + 180}, 0);

    row("fixed", {waiting(5), waiting(T + 9000), waiting(0)}, none, {5, T + 9000, 0}, 0, true);
    row("fixed and current", {onTrack(T - 200), waiting(T - 3), waiting(T + 1)}, track(T - 100, 600, "finishByTime"),
        {T - 200, T - 3, T + 1}, 0, true);
    row("fixed and unknown", {waiting(T + 1)}, track(T - 100, 600, "finishByTime"), {T + 1}, T - 100, true);
}

void RunRulesTest::chain()
{
    QFETCH(Queue, queue);
    QFETCH(TrackRun, track);
    QFETCH(int, defaultDuration);
    QFETCH(bool, fixed);
    QFETCH(Times, times);
    const TrackRun before = track;
    RunRules::planStartTimes(queue, track, 1000000, defaultDuration, fixed);
    Times planned;
    for (const ChainLink &link : qAsConst(queue))
        planned.append(link.startTime);
    QCOMPARE(planned, times);
    QTEST(track.start, "trackStart");
    QCOMPARE(track.finishParam, before.finishParam);
    QCOMPARE(track.finishType, before.finishType);
}

void RunRulesTest::chainBeyond32Bits()
{
    constexpr qint64 late = Q_INT64_C(7258118400); // the year 2200
    Queue queue{waiting(), waiting(0, ByTime, 2147483647)};
    queue.append(waiting());
    TrackRun track;
    RunRules::planStartTimes(queue, track, late, 10, false);
    QCOMPARE(queue.at(0).startTime, late + 180);
    QCOMPARE(queue.at(1).startTime, late + 960);
    QCOMPARE(queue.at(2).startTime, late + 960 + Q_INT64_C(2147483647) + 180);
}

void RunRulesTest::numberFromName_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("number");
    const auto row = [](const char *name, int number) {
        QTest::newRow(*name ? name : "empty") << QString::fromUtf8(name) << number;
    };
    row("Заезд №7", 7);
    row("Заезд №12", 12);
    row("№0", 0);
    row("№ 7", 7);
    row("№\t  7", 7);
    row("№+7", 7);
    row("№-3", -3);
    row("№007", 7);
    row("№7й", 7);
    row("№7.9", 7);
    row("№12 и №5", 12);
    row("№№5", -1);
    row("№", -1);
    row("№ ", -1);
    row("№й7", -1);
    row("№- 7", -1);
    row("7", -1);
    row("Заезд 7", -1);
    row("No7", -1);
    row("7№", -1);
    row("", -1);
}

void RunRulesTest::numberFromName()
{
    QFETCH(QString, name);
    QTEST(RunRules::numberFromName(name), "number");
}

void RunRulesTest::grid_data()
{
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("columns");
    QTest::addColumn<int>("rows");
    QTest::addColumn<int>("height");
    QTest::newRow("200, none") << 200 << 0 << 1 << 0 << 4;
    QTest::newRow("200, one") << 200 << 1 << 1 << 1 << 72;
    QTest::newRow("200, three") << 200 << 3 << 1 << 3 << 208;
    QTest::newRow("283 is one column") << 283 << 2 << 1 << 2 << 140;
    QTest::newRow("284 is two columns") << 284 << 2 << 2 << 1 << 72;
    QTest::newRow("300, none") << 300 << 0 << 2 << 0 << 4;
    QTest::newRow("300, one") << 300 << 1 << 2 << 1 << 72;
    QTest::newRow("300, two") << 300 << 2 << 2 << 1 << 72;
    QTest::newRow("300, three") << 300 << 3 << 2 << 2 << 140;
    QTest::newRow("1000, ten") << 1000 << 10 << 10 << 1 << 72;
    QTest::newRow("1000, eleven") << 1000 << 11 << 10 << 2 << 140;
    QTest::newRow("narrower than the title") << 50 << 2 << 1 << 2 << 140;
    QTest::newRow("no width") << 0 << 1 << 1 << 1 << 72;
    QTest::newRow("no width, nobody") << 0 << 0 << 1 << 0 << 4;
}

void RunRulesTest::grid()
{
    QFETCH(int, width);
    QFETCH(int, count);
    const CellGrid grid = CellGrid::forWidth(width, count);
    QTEST(grid.columns, "columns");
    QTEST(grid.rows, "rows");
    QTEST(grid.height, "height");
}

void RunRulesTest::cells()
{
    QCOMPARE(RunRules::CellSize, QSize(80, 64));
    const CellGrid narrow = CellGrid::forWidth(200, 3);
    QCOMPARE(narrow.cell(0), QRect(116, 4, 80, 64));
    QCOMPARE(narrow.cell(1), QRect(116, 72, 80, 64));
    QCOMPARE(narrow.cell(2), QRect(116, 140, 80, 64));
    const CellGrid wide = CellGrid::forWidth(300, 3);
    QCOMPARE(wide.cell(0), QRect(116, 4, 80, 64));
    QCOMPARE(wide.cell(1), QRect(200, 4, 80, 64));
    QCOMPARE(wide.cell(2), QRect(116, 72, 80, 64));
}

// A row is written as a letter: a run that accepts, one that refuses, a row without a run.
void RunRulesTest::firstFit_data()
{
    QTest::addColumn<QString>("rows");
    QTest::addColumn<int>("after");
    QTest::addColumn<int>("found");
    QTest::addColumn<int>("afterwards");
    const auto row = [](const char *rows, int after, int found, int afterwards) {
        QTest::addRow("%s behind %d", rows, after) << QString::fromLatin1(rows) << after << found << afterwards;
    };
    row("", -1, -1, -1);
    row("a", -1, 0, -1);
    row("aaa", 0, 1, 0);
    row("aaa", 2, -1, 2);
    row("ra", -1, 1, 0);
    row("rra", -1, 2, 1);
    row("rr", -1, -1, 1);
    row("arra", 0, 3, 2);
    row("-a", -1, 1, -1);
    row("r-a", -1, 2, 0);
    row("--", -1, -1, -1);
    row("a", 5, -1, 5);
}

void RunRulesTest::firstFit()
{
    QFETCH(QString, rows);
    QFETCH(int, after);
    const int found = RunRules::firstFit(
        after, rows.size(), [&](int row) { return rows.at(row) != QLatin1Char('-'); },
        [&](int row) { return rows.at(row) == QLatin1Char('a'); });
    QTEST(found, "found");
    QTEST(after, "afterwards");
}

// The search asks each run once, in order, and nobody behind the one that accepts; a row without a run is not asked.
void RunRulesTest::firstFitGoesForward()
{
    QVector<int> asked;
    int after = 1;
    const int found = RunRules::firstFit(
        after, 7, [](int row) { return row != 3; },
        [&](int row) {
            asked.append(row);
            return row == 5;
        });
    QCOMPARE(found, 5);
    QCOMPARE(asked, (QVector<int>{2, 4, 5}));
    QCOMPARE(after, 3);
}

void RunRulesTest::sortedByNumber_data()
{
    QTest::addColumn<QStringList>("numbers");
    QTest::addColumn<QStringList>("expected");
    QTest::newRow("none") << QStringList() << QStringList();
    QTest::newRow("by value") << QStringList{"12", "7"} << QStringList{"7", "12"};
    QTest::newRow("many") << QStringList{"100", "9", "12", "1", "10"} << QStringList{"1", "9", "10", "12", "100"};
    QTest::newRow("no number at the end") << QStringList{"B", "12", "7"} << QStringList{"7", "12", "B"};
    QTest::newRow("empty at the end") << QStringList{"", "12", "7"} << QStringList{"7", "12", ""};
    QTest::newRow("number first, then letters") << QStringList{"12a", "7b"} << QStringList{"7b", "12a"};
    QTest::newRow("leading zeros and blanks") << QStringList{"010", " 9"} << QStringList{" 9", "010"};
    QTest::newRow("letters first") << QStringList{"a1", "2"} << QStringList{"2", "a1"};
    QTest::newRow("-1 counts as none") << QStringList{"-1", "0"} << QStringList{"0", "-1"};
}

void RunRulesTest::sortedByNumber()
{
    QFETCH(QStringList, numbers);
    QJsonArray cars;
    for (const QString &number : qAsConst(numbers))
        cars.append(QJsonObject{{"id", cars.size() + 1}, {"name", "Sodi"}, {"num", number}});
    const QJsonArray sorted = RunRules::sortedByNumber(cars);
    QStringList found;
    for (const QJsonValue &car : sorted) {
        found.append(car["num"].toString());
        // The whole record comes along.
        QVERIFY(cars.contains(car));
    }
    QTEST(found, "expected");
}

void RunRulesTest::finishParam_data()
{
    QTest::addColumn<int>("param");
    QTest::addColumn<int>("oldMode");
    QTest::addColumn<int>("newMode");
    QTest::addColumn<int>("expected");
    QTest::newRow("10 laps become 600 seconds") << 10 << 2 << 1 << 600;
    QTest::newRow("600 seconds become 10 laps") << 600 << 1 << 2 << 10;
    QTest::newRow("truncated") << 119 << 1 << 2 << 1;
    QTest::newRow("less than a minute") << 59 << 1 << 2 << 0;
    QTest::newRow("negative, truncated towards zero") << -59 << 1 << 2 << 0;
    QTest::newRow("time stays time") << 600 << 1 << 1 << 600;
    QTest::newRow("laps stay laps") << 25 << 2 << 2 << 25;
    QTest::newRow("from an unknown mode") << 25 << 0 << 2 << 25;
    QTest::newRow("to an unknown mode") << 25 << 2 << 3 << 25;
}

void RunRulesTest::finishParam()
{
    QFETCH(int, param);
    QFETCH(int, oldMode);
    QFETCH(int, newMode);
    QTEST(RunRules::convertedFinishParam(param, oldMode, newMode), "expected");
}

DESK_TEST_MAIN(RunRulesTest)

#include "tst_runrules.moc"
