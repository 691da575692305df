#include "trackdatabase.h"

#include <QJsonObject>
#include <QSqlError>
#include <QSqlRecord>

namespace {

const QLatin1String connectionName("benchHost");

// One entry per version of the schema, each the statements that lead from the version before. An entry is never changed
// once tracks exist that have it: a change of the schema is a new entry.
const QVector<QStringList> &schemaSteps()
{
    static const QVector<QStringList> steps = {
        {
            QStringLiteral("CREATE TABLE IF NOT EXISTS personal ("
                           "id INTEGER PRIMARY KEY AUTOINCREMENT,"
                           "last_name TEXT,"
                           "first_name TEXT,"
                           "mid_name TEXT,"
                           "access_code TEXT)"),
            QStringLiteral("CREATE TABLE IF NOT EXISTS price_types ("
                           "id INTEGER PRIMARY KEY AUTOINCREMENT,"
                           "name TEXT,"
                           "is_deleted INTEGER NOT NULL DEFAULT 0)"),
            // The rows of type -1 are the templates that further blocks are copied from; as a type with a name they are
            // the first tab of the price list.
            QStringLiteral("INSERT OR IGNORE INTO price_types (id, name) VALUES (-1, 'Основные')"),
            QStringLiteral("CREATE TABLE IF NOT EXISTS price_list ("
                           "id INTEGER PRIMARY KEY AUTOINCREMENT,"
                           "common_id INTEGER,"
                           "price_type INTEGER NOT NULL DEFAULT -1,"
                           "sales_item TEXT,"
                           "color TEXT,"
                           "model TEXT,"
                           "sum REAL NOT NULL DEFAULT 0,"
                           "avail_rules TEXT,"
                           "show_remote INTEGER NOT NULL DEFAULT 1,"
                           "is_deleted INTEGER NOT NULL DEFAULT 0)"),
            QStringLiteral("CREATE TABLE IF NOT EXISTS cars ("
                           "id INTEGER PRIMARY KEY AUTOINCREMENT,"
                           "name TEXT,"
                           "num TEXT,"
                           "transponderId INTEGER,"
                           "available_for_runs INTEGER NOT NULL DEFAULT 1)"),
            QStringLiteral("CREATE TABLE IF NOT EXISTS payments ("
                           "id INTEGER PRIMARY KEY AUTOINCREMENT,"
                           "racer_guid TEXT,"
                           "pay_date TEXT,"
                           "client_id INTEGER,"
                           "first_name TEXT,"
                           "last_name TEXT,"
                           "mid_name TEXT,"
                           "sum REAL,"
                           "tariff REAL,"
                           "discount TEXT,"
                           "pay_state INTEGER,"
                           "pay_kind TEXT,"
                           "car_model TEXT,"
                           "tickets_count INTEGER,"
                           "comment TEXT,"
                           "price_id INTEGER,"
                           "price_type INTEGER,"
                           "cashier_id INTEGER,"
                           "remote_updated INTEGER NOT NULL DEFAULT 0)"),
            QStringLiteral("CREATE INDEX IF NOT EXISTS payments_racer_guid ON payments (racer_guid)"),
            QStringLiteral("CREATE INDEX IF NOT EXISTS payments_unsent ON payments (id) WHERE remote_updated = 0"),
        },
        {
            // One row per run that has left the track; results is the JSON array of its racers, the first one first.
            QStringLiteral("CREATE TABLE IF NOT EXISTS runs_archive ("
                           "id INTEGER PRIMARY KEY AUTOINCREMENT,"
                           "run_num INTEGER,"
                           "start_ts INTEGER,"
                           "duration_ms INTEGER,"
                           "finish_type INTEGER,"
                           "finish_param INTEGER,"
                           "sort_mode INTEGER,"
                           "run_queue_guid TEXT,"
                           "run_name TEXT,"
                           "results TEXT)"),
            QStringLiteral("CREATE INDEX IF NOT EXISTS runs_archive_start ON runs_archive (start_ts)"),
        },
    };
    return steps;
}

} // namespace

TrackDatabase::TrackDatabase(const QString &file)
    : m_db(QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), connectionName))
{
    m_db.setDatabaseName(file);
}

TrackDatabase::~TrackDatabase()
{
    m_db.close();
    m_db = QSqlDatabase();
    QSqlDatabase::removeDatabase(connectionName);
}

bool TrackDatabase::fail(const QSqlError &error)
{
    m_errorText = error.text();
    return false;
}

bool TrackDatabase::prepare()
{
    if (!m_db.open())
        return fail(m_db.lastError());

    // Sqlite opens any file; only the first read tells whether it is a database.
    QSqlQuery query(m_db);
    if (!query.exec(QStringLiteral("SELECT count(*) FROM sqlite_master")))
        return fail(query.lastError());
    query.finish();
    if (schemaVersion() >= newestSchemaVersion())
        return true;

    if (!query.exec(QStringLiteral("BEGIN IMMEDIATE")))
        return fail(query.lastError());
    for (int version = schemaVersion(); version < newestSchemaVersion(); ++version) {
        for (const QString &statement : schemaSteps().at(version)) {
            if (!query.exec(statement)) {
                const QSqlError error = query.lastError();
                query.exec(QStringLiteral("ROLLBACK"));
                return fail(error);
            }
        }
    }
    query.exec(QStringLiteral("PRAGMA user_version = %1").arg(newestSchemaVersion()));
    if (!query.exec(QStringLiteral("COMMIT")))
        return fail(query.lastError());
    return true;
}

int TrackDatabase::schemaVersion() const
{
    QSqlQuery query(m_db);
    if (!query.exec(QStringLiteral("PRAGMA user_version")) || !query.next())
        return 0;
    return query.value(0).toInt();
}

int TrackDatabase::newestSchemaVersion()
{
    return schemaSteps().size();
}

bool TrackDatabase::isEmptyTrack() const
{
    QSqlQuery query(m_db);
    return query.exec(QStringLiteral("SELECT (SELECT count(*) FROM cars) + (SELECT count(*) FROM price_list)"))
           && query.next() && query.value(0).toInt() == 0;
}

QJsonArray TrackDatabase::cars() const
{
    QJsonArray records;
    QSqlQuery query(m_db);
    query.exec(QStringLiteral("SELECT id, name, num, transponderId, available_for_runs FROM cars ORDER BY id"));
    while (query.next()) {
        records.append(QJsonObject{
            {QStringLiteral("id"), query.value(0).toInt()},
            {QStringLiteral("name"), query.value(1).toString()},
            {QStringLiteral("num"), query.value(2).toString()},
            {QStringLiteral("transponderId"), query.value(3).toInt()},
            {QStringLiteral("available_for_runs"), query.value(4).toInt() != 0},
        });
    }
    return records;
}

void TrackDatabase::setCarAvailable(int carId, bool available)
{
    write([carId, available](QSqlQuery &query) {
        query.prepare(QStringLiteral("UPDATE cars SET available_for_runs = :available WHERE id = :id"));
        query.bindValue(QStringLiteral(":available"), available ? 1 : 0);
        query.bindValue(QStringLiteral(":id"), carId);
        query.exec();
    });
}

bool TrackDatabase::write(const std::function<void(QSqlQuery &)> &work)
{
    QSqlQuery query(m_db);
    if (!query.exec(QStringLiteral("BEGIN IMMEDIATE")))
        return fail(query.lastError());
    work(query);
    query.finish();
    if (!query.exec(QStringLiteral("COMMIT"))) {
        const QSqlError error = query.lastError();
        query.exec(QStringLiteral("ROLLBACK"));
        return fail(error);
    }
    return true;
}

bool TrackDatabase::select(const QString &sql, QVector<QVariantList> *rows)
{
    QSqlQuery query(m_db);
    if (!query.exec(sql))
        return fail(query.lastError());
    const int columns = query.record().count();
    while (query.next()) {
        QVariantList row;
        for (int column = 0; column < columns; ++column)
            row.append(query.value(column));
        rows->append(row);
    }
    return true;
}
