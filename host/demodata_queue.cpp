// A day that is well under way: a full queue, and the runs that have been driven already.

#include "demodata.h"

#include "racesimulation.h"
#include "runarchive.h"
#include "trackhome.h"

#include <QDateTime>
#include <QFile>
#include <QJsonDocument>
#include <QUuid>

namespace {

constexpr int historyRuns = 3;
constexpr qint64 durationSecs = 600;
constexpr qint64 pauseSecs = 180;
constexpr int firstCompetitorId = -1001;
constexpr qint64 msInSecond = 1000;
// The cars of the first runs are prepared; the others wait for the marshal.
constexpr int preparedRuns = 3;
constexpr int busyLines = 14;
constexpr int firstPin = 1000;

struct Place
{
    int item;
    int carId;
};

// Who drives what in a run, and which car of the demo track it is.
const Place places[] = {{0, 1}, {0, 2}, {2, 6}, {0, 3}, {1, 9}, {0, 4}, {2, 7}, {0, 5}};
constexpr int placeCount = 8;

QStringList lastNames()
{
    return QStringLiteral("Белов Волков Гусев Ершов Жуков Зайцев Ильин Козлов Котов Крылов Лапин Носов Орехов Панин "
                          "Рыбаков Чайкин")
        .split(QLatin1Char(' '));
}

QStringList firstNames()
{
    return QStringLiteral("Алексей Борис Вадим Глеб Денис Егор Иван Кирилл Максим Никита Роман Степан Фёдор")
        .split(QLatin1Char(' '));
}

bool writeFile(const QString &path, const QByteArray &content)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size() && file.flush();
}

} // namespace

QJsonArray DemoData::seats(int run, int firstRacer, int racers, bool withCars) const
{
    const QStringList last = lastNames();
    const QStringList first = firstNames();
    QJsonArray entries;
    for (int seat = 0; seat < racers; ++seat) {
        const int number = firstRacer + (run * racers) + seat;
        const Place &place = places[seat % placeCount];
        QJsonObject entry =
            racer(last.at(number % last.size()), first.at(number % first.size()), QString(), place.item, 1);
        // A car has one driver in a run.
        if (withCars && seat < placeCount) {
            entry.insert(QStringLiteral("carId"), place.carId);
            entry.insert(QStringLiteral("carNum"), QString::number(place.carId));
        }
        entry.insert(QStringLiteral("payMethod"), QStringLiteral("Карта"));
        entry.insert(QStringLiteral("payState"), true);
        entry.insert(QStringLiteral("pinCodes"), QJsonArray{QString::number(firstPin + number)});
        entry.insert(QStringLiteral("competitorId"), firstCompetitorId - seat);
        entries.append(entry);
    }
    return entries;
}

QJsonObject DemoData::queueRun(int number, int racers)
{
    QJsonObject run{
        {QStringLiteral("runLocked"), false},
        {QStringLiteral("runName"), QString()},
        {QStringLiteral("nameForced"), false},
        {QStringLiteral("runNum"), number},
        {QStringLiteral("finishParam"), durationSecs},
        {QStringLiteral("finishMode"), 1},
        {QStringLiteral("sortMode"), 0},
        {QStringLiteral("pauseTime"), pauseSecs},
        {QStringLiteral("maxRacersInRun"), racers},
        {QStringLiteral("uuid"), QUuid::createUuid().toString()},
        {QStringLiteral("lastCompetitorId"), firstCompetitorId - racers + 1},
        {QStringLiteral("runColor"), QStringLiteral("#ffffff")},
        {QStringLiteral("startTime"), QDateTime::currentSecsSinceEpoch()},
    };
    // A race by laps and a locked run, so that a day shows them too.
    switch (number % 12) {
    case 6:
        run.insert(QStringLiteral("runName"), QStringLiteral("Кубок выходного дня"));
        run.insert(QStringLiteral("nameForced"), true);
        run.insert(QStringLiteral("finishMode"), 2);
        run.insert(QStringLiteral("finishParam"), 15);
        run.insert(QStringLiteral("sortMode"), 1);
        run.insert(QStringLiteral("runColor"), QStringLiteral("#ffd27f"));
        break;
    case 10:
        run.insert(QStringLiteral("runLocked"), true);
        break;
    default:
        break;
    }
    return run;
}

bool DemoData::fillQueue(QSize queue)
{
    const auto line = [](const char *tag, const QJsonObject &json) {
        return QByteArray(tag) + QJsonDocument(json).toJson(QJsonDocument::Compact) + '\n';
    };
    QByteArray journal;
    for (int run = 0; run < queue.width(); ++run) {
        journal += line("RUNITEM:", queueRun(historyRuns + run + 1, queue.height()));
        const QJsonArray entries = seats(run, 0, queue.height(), run < preparedRuns);
        for (const QJsonValue &entry : entries)
            journal += line("COMPETITOR:", entry.toObject());
    }
    return writeFile(m_home.journalsDirectory() + QStringLiteral("/runslist.state"), journal)
           && fillHistory(queue.width() * queue.height(), queue.height())
           && fillBusyList((queue.width() + historyRuns) * queue.height());
}

bool DemoData::fillBusyList(int firstRacer)
{
    const QStringList last = lastNames();
    const QStringList first = firstNames();
    const QString payMethods[] = {QStringLiteral("Наличные"), QStringLiteral("Карта"), QStringLiteral("Перевод")};
    QFile journal(m_home.journalsDirectory() + QStringLiteral("/tickets.state"));
    bool ok = journal.open(QIODevice::Append);
    for (int line = 0; line < busyLines && ok; ++line) {
        const int number = firstRacer + line;
        const int runCount = 1 + line % 3;
        QJsonObject record = racer(last.at(number % last.size()), first.at(number % first.size()), QString(),
                                   line % m_items.size(), runCount);
        record.insert(QStringLiteral("kidsList"), QJsonArray());
        QJsonArray pins;
        for (int run = 0; run < runCount; ++run)
            pins.append(QString::number(firstPin + number));
        record.insert(QStringLiteral("pinCodes"), pins);
        record.insert(QStringLiteral("validSafetyAgreement"), line % 4 != 0);
        if (line % 3 != 1) {
            record.insert(QStringLiteral("payMethod"), payMethods[line % 3]);
            record.insert(QStringLiteral("payState"), true);
            ok = storePayment(record);
        }
        ok = ok && journal.write(QJsonDocument(record).toJson(QJsonDocument::Compact) + '\n') > 0;
    }
    return ok && journal.flush();
}

bool DemoData::fillHistory(int firstRacer, int racers)
{
    // The day's first runs are driven here and now, in no time, so that the archive holds what the timing would write.
    qint64 now = QDateTime::currentMSecsSinceEpoch() - historyRuns * (durationSecs + pauseSecs) * msInSecond;
    RunArchive archive(m_database);
    RaceSimulation track([&now] { return now; });
    bool ok = true;
    QObject::connect(&track, &RaceSimulation::runClosed, &track,
                     [&archive, &ok](const QJsonObject &record) { ok = archive.store(record) && ok; });

    QJsonArray records;
    for (int run = 0; run < historyRuns; ++run) {
        const QJsonArray entries = seats(run, firstRacer, racers, true);
        const QJsonObject start{
            {QStringLiteral("runQueueGuid"), QUuid::createUuid().toString()},
            {QStringLiteral("runName"), QStringLiteral("Заезд №%1").arg(run + 1)},
            {QStringLiteral("useAutoFinish"), QStringLiteral("TIME")},
            {QStringLiteral("autoFinishParam"), durationSecs},
            {QStringLiteral("preparation"), entries},
        };
        QJsonObject competitors;
        for (const QJsonValue &value : entries) {
            QJsonObject entry = value.toObject();
            entry.insert(QStringLiteral("competitorState"), 2);
            competitors.insert(QString::number(entry.value(QStringLiteral("competitorId")).toInt()), entry);
        }
        records.prepend(QJsonObject{
            {QStringLiteral("runQueueGuid"), start.value(QStringLiteral("runQueueGuid"))},
            {QStringLiteral("runName"), start.value(QStringLiteral("runName"))},
            {QStringLiteral("runNum"), run + 1},
            {QStringLiteral("runState"), QStringLiteral("finished")},
            {QStringLiteral("runDuration"), durationSecs},
            {QStringLiteral("finishParam"), durationSecs},
            {QStringLiteral("finishMode"), 1},
            {QStringLiteral("finishType"), 1},
            {QStringLiteral("sortMode"), 0},
            {QStringLiteral("sortType"), 0},
            {QStringLiteral("runStartTime"), now / msInSecond},
            {QStringLiteral("runLocked"), false},
            {QStringLiteral("runCompetitors"), competitors},
        });
        track.take(QStringLiteral("start_run"), start);
        now += durationSecs * msInSecond;
        track.take(QStringLiteral("close_run"), start);
        now += pauseSecs * msInSecond;
    }
    return ok
           && writeFile(m_home.journalsDirectory() + QStringLiteral("/runshistory.state"),
                        QJsonDocument(records).toJson());
}
