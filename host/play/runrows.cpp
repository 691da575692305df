#include "play/runrows.h"

#include "eventlogmodel.h"

#include <QJsonArray>
#include <QSize>

#include <algorithm>

namespace {

// How the desk draws a run.
constexpr QSize cellSize(80, 64);
constexpr QPoint firstCell(116, 4);
constexpr int gap = 4;

QJsonObject lastPublication(const EventLogModel *log)
{
    const QVector<EventLogModel::Entry> &entries = log->entries();
    const auto last = std::find_if(entries.crbegin(), entries.crend(), [](const EventLogModel::Entry &entry) {
        return entry.direction == EventLogModel::FromDesk && entry.event == QLatin1String("local_request_answer")
               && entry.payload.value(QStringLiteral("request")).toString() == QLatin1String("runQueueUpdate");
    });
    return last == entries.crend() ? QJsonObject() : last->payload;
}

QJsonArray runsOf(const QJsonObject &publication, const QString &list)
{
    if (list == QLatin1String("history"))
        return publication.value(QStringLiteral("runHistory"))
            .toObject()
            .value(QStringLiteral("runHistoryList"))
            .toArray();
    const QJsonObject queue = publication.value(QStringLiteral("runQueue")).toObject();
    QJsonArray runs = queue.value(QStringLiteral("pendingRuns")).toArray();
    if (queue.contains(QStringLiteral("currentRun")))
        runs.prepend(queue.value(QStringLiteral("currentRun")));
    return runs;
}

} // namespace

QString RunRows::widgetName(const QString &list, QString *error)
{
    if (list == QLatin1String("queue"))
        return QStringLiteral("lwRunsList");
    if (list == QLatin1String("history"))
        return QStringLiteral("lwRunsHistory");
    *error = tr("заезды стоят в queue или в history, не в «%1»").arg(list);
    return QString();
}

QJsonObject RunRows::run(const EventLogModel *log, const QString &list, const QString &row, QString *error)
{
    if (widgetName(list, error).isEmpty())
        return QJsonObject();
    const QJsonArray runs = runsOf(lastPublication(log), list);
    bool ok = false;
    const int number = row.toInt(&ok);
    if (!ok || number < 0 || number >= runs.size()) {
        *error = tr("нет заезда «%1», всего их %2").arg(row).arg(runs.size());
        return QJsonObject();
    }
    return runs.at(number).toObject();
}

int RunRows::place(const QJsonObject &run, const QString &name, QString *error)
{
    const QJsonObject competitors = run.value(QStringLiteral("runCompetitors")).toObject();
    QVector<QJsonObject> seated;
    for (const QJsonValue &competitor : competitors)
        seated.append(competitor.toObject());
    // Seats are numbered downwards.
    std::stable_sort(seated.begin(), seated.end(), [](const QJsonObject &left, const QJsonObject &right) {
        return left.value(QStringLiteral("competitorId")).toInt() > right.value(QStringLiteral("competitorId")).toInt();
    });
    for (int i = 0; i < seated.size(); ++i) {
        if (seated.at(i).value(QStringLiteral("name")).toString().contains(name))
            return i;
    }
    *error = tr("в заезде нет участника «%1»").arg(name);
    return -1;
}

QRect RunRows::cell(int place, int width)
{
    const int columns = qMax(1, (width - firstCell.x()) / (cellSize.width() + gap));
    const QPoint offset((place % columns) * (cellSize.width() + gap), (place / columns) * (cellSize.height() + gap));
    return {firstCell + offset, cellSize};
}
