// How the desk comes back after a restart, and when it writes down what it would need for that.

#include "plugin/ticketpluginform.h"

#include "common/deskpaths.h"
#include "common/jsonread.h"
#include "runqueue/runcontainerwidget.h"
#include "ui_ticketpluginform.h"

#include <QBuffer>
#include <QFile>
#include <QJsonDocument>

#include <algorithm>
#include <utility>
#include <vector>

namespace {

constexpr char RunTag[] = "RUNITEM:";
constexpr char CompetitorTag[] = "COMPETITOR:";
constexpr size_t MaxHistoryRuns = 100;

QString queueJournal()
{
    return DeskPaths::journal(QStringLiteral("runslist.state"));
}

QString historyJournal()
{
    return DeskPaths::journal(QStringLiteral("runshistory.state"));
}

QString operatorsJournal()
{
    return DeskPaths::journal(QStringLiteral("operators.state"));
}

} // namespace

void TicketPluginForm::loadJournals()
{
    loading = true;
    checkInList.load();
    regHistory.load();
    loadQueue();
    loadHistory();
    loadOperators();
    loading = false;
    // Each restored run became the current row; the cashier looks at the head of the queue.
    ui->lwRunsList->scrollToTop();
    recalcQueue(QString());
    runQueueChanged(QString());
}

void TicketPluginForm::saveJournals(bool full)
{
    checkInList.save();
    saveQueue();
    if (!full)
        return;
    saveHistory();
    saveOperators();
}

void TicketPluginForm::saveQueue() const
{
    QBuffer bytes;
    bytes.open(QIODevice::WriteOnly);
    for (int row = 0; row < queueSize(); ++row) {
        if (const RunContainerWidget *run = queueRun(row))
            run->writeJournal(bytes);
    }
    QFile file(queueJournal());
    if (file.open(QIODevice::WriteOnly))
        file.write(bytes.data());
}

void TicketPluginForm::loadQueue()
{
    QFile file(queueJournal());
    if (!file.open(QIODevice::ReadOnly))
        return;
    RunContainerWidget *run = nullptr;
    const auto finish = [&run] {
        if (!run)
            return;
        run->blockSignals(false);
        run->fitToSeats();
    };
    while (!file.atEnd()) {
        const QByteArray line = file.readLine();
        if (line.startsWith(RunTag)) {
            finish();
            run = addRuns(1, -1, 0);
            run->blockSignals(true);
            const auto item = JsonRead::object(line.mid(static_cast<int>(sizeof(RunTag)) - 1));
            if (!item)
                continue;
            run->loadJournalItem(*item);
            if (fixedRunStartTimeInQueue)
                run->setStartTime(JsonRead::int64(item->value(QLatin1String("startTime"))));
        } else if (run && line.startsWith(CompetitorTag)) {
            const auto entry = JsonRead::object(line.mid(static_cast<int>(sizeof(CompetitorTag)) - 1));
            if (!entry)
                continue;
            run->addCompetitor(*entry, true);
            const QJsonArray codes = entry->value(QLatin1String("pinCodes")).toArray();
            for (const QJsonValue &code : codes) {
                if (code.isString())
                    usedPinCodes.append(code.toString());
            }
        }
    }
    finish();
}

QStringList TicketPluginForm::seatPinCodes() const
{
    QStringList codes;
    for (int row = 0; row < queueSize(); ++row) {
        const RunContainerWidget *run = queueRun(row);
        if (!run)
            continue;
        for (const auto &seat : run->competitors())
            codes.append(JsonRead::texts(seat->data.value(QLatin1String("pinCodes")).toArray()));
    }
    return codes;
}

void TicketPluginForm::saveHistory() const
{
    QJsonArray runs;
    for (int row = 0; row < ui->lwRunsHistory->count(); ++row) {
        if (const RunContainerWidget *run = historyRun(row))
            runs.append(run->runRecord());
    }
    const QByteArray bytes = QJsonDocument(runs).toJson();
    QFile file(historyJournal());
    if (file.open(QIODevice::WriteOnly))
        file.write(bytes);
}

void TicketPluginForm::loadHistory()
{
    QFile file(historyJournal());
    if (!file.open(QIODevice::ReadOnly))
        return;
    const QJsonArray runs = JsonRead::array(file.readAll()).value_or(QJsonArray());
    std::vector<std::pair<qint64, QJsonObject>> sorted;
    for (const QJsonValue &value : runs) {
        const QJsonObject run = value.toObject();
        if (!run.value(QLatin1String("runCompetitors")).toObject().isEmpty())
            sorted.emplace_back(JsonRead::int64(run.value(QLatin1String("runStartTime"))), run);
    }
    // The file has the newest run first; of two that started at once the first one stays on top.
    std::reverse(sorted.begin(), sorted.end());
    std::stable_sort(sorted.begin(), sorted.end(),
                     [](const auto &left, const auto &right) { return left.first < right.first; });
    // What the list would drop again at once need not be built.
    const size_t first = sorted.size() > MaxHistoryRuns ? sorted.size() - MaxHistoryRuns : 0;
    for (size_t index = first; index < sorted.size(); ++index)
        archiveRun(sorted[index].second);
}

void TicketPluginForm::loadOperators()
{
    QFile file(operatorsJournal());
    if (!file.open(QIODevice::ReadOnly))
        return;
    operators.clear();
    const QJsonArray entries = JsonRead::array(file.readAll()).value_or(QJsonArray());
    for (const QJsonValue &value : entries) {
        const QJsonObject entry = value.toObject();
        OperatorRecord record;
        record.token = entry.value(QLatin1String("token")).toString();
        record.id = entry.value(QLatin1String("id")).toInt(-1);
        record.name = entry.value(QLatin1String("name")).toString();
        if (!record.token.isEmpty())
            operators.insert(record.token, record);
    }
}

void TicketPluginForm::saveOperators() const
{
    QJsonArray entries;
    for (const OperatorRecord &record : operators) {
        entries.append(QJsonObject{
            {QLatin1String("token"), record.token},
            {QLatin1String("id"), record.id},
            {QLatin1String("name"), record.name},
        });
    }
    const QByteArray bytes = QJsonDocument(entries).toJson();
    QFile file(operatorsJournal());
    if (file.open(QIODevice::WriteOnly))
        file.write(bytes);
}
