#include "runarchive.h"

#include "trackdatabase.h"

#include <QJsonDocument>

namespace {

// The columns of the archive in the order of the record's keys below.
const char *const numberKeys[] = {"runId",      "runNum",      "runStartTs", "durationMs",
                                  "finishType", "finishParam", "sortMode"};
const char *const textKeys[] = {"runQueueGuid", "runName"};

} // namespace

RunArchive::RunArchive(TrackDatabase *database)
    : m_database(database)
{
}

bool RunArchive::store(const QJsonObject &record)
{
    bool stored = false;
    const bool written = m_database->write([&record, &stored](QSqlQuery &query) {
        query.prepare(QStringLiteral(
            "INSERT INTO runs_archive (id, run_num, start_ts, duration_ms, finish_type, finish_param, sort_mode,"
            " run_queue_guid, run_name, results) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?)"));
        for (const char *key : numberKeys)
            query.addBindValue(record.value(QLatin1String(key)).toVariant().toLongLong());
        for (const char *key : textKeys)
            query.addBindValue(record.value(QLatin1String(key)).toString());
        const QJsonDocument results(record.value(QStringLiteral("results")).toArray());
        query.addBindValue(QString::fromUtf8(results.toJson(QJsonDocument::Compact)));
        stored = query.exec();
    });
    return written && stored;
}

QJsonArray RunArchive::startedSince(qint64 startTs) const
{
    QVector<QVariantList> rows;
    m_database->select(QStringLiteral("SELECT id, run_num, start_ts, duration_ms, finish_type, finish_param, sort_mode,"
                                      " run_queue_guid, run_name, results FROM runs_archive WHERE start_ts >= %1"
                                      " ORDER BY start_ts DESC, id DESC")
                           .arg(startTs),
                       &rows);
    QJsonArray runs;
    for (const QVariantList &row : qAsConst(rows)) {
        QJsonObject record;
        int column = 0;
        for (const char *key : numberKeys)
            record.insert(QLatin1String(key), row.at(column++).toLongLong());
        for (const char *key : textKeys)
            record.insert(QLatin1String(key), row.at(column++).toString());
        record.insert(QStringLiteral("results"), QJsonDocument::fromJson(row.at(column).toString().toUtf8()).array());
        runs.append(record);
    }
    return runs;
}

int RunArchive::highest(const char *sql) const
{
    QVector<QVariantList> rows;
    const bool read = m_database->select(QLatin1String(sql), &rows) && !rows.isEmpty();
    return read ? rows.constFirst().value(0).toInt() : 0;
}

int RunArchive::nextRunId() const
{
    return highest("SELECT max(id) FROM runs_archive") + 1;
}

int RunArchive::nextRunNumber() const
{
    return highest("SELECT run_num FROM runs_archive ORDER BY id DESC LIMIT 1") + 1;
}
