#include "common/sqlwrite.h"

#include <QSqlError>
#include <QSqlQuery>
#include <QString>
#include <QThread>

namespace {

constexpr unsigned long RetryMs = 100;

// Primary result codes of SQLite; an extended code carries them in its low byte.
constexpr int PrimaryCodeMask = 0xff;
constexpr int SqliteBusy = 5;
constexpr int SqliteLocked = 6;

/// Whether somebody else holds the file or a table, which passes with time.
bool isHeldByOthers(const QSqlError &error)
{
    const int code = error.nativeErrorCode().toInt() & PrimaryCodeMask;
    return code == SqliteBusy || code == SqliteLocked;
}

bool execWhenFree(const QSqlDatabase &db, const QString &statement)
{
    if (!db.isOpen())
        return false;
    QSqlQuery query(db);
    while (!query.exec(statement)) {
        if (!isHeldByOthers(query.lastError()))
            return false;
        QThread::msleep(RetryMs);
    }
    return true;
}

} // namespace

bool SqlWrite::begin(const QSqlDatabase &db)
{
    return execWhenFree(db, QStringLiteral("BEGIN IMMEDIATE"));
}

bool SqlWrite::commit(const QSqlDatabase &db)
{
    if (execWhenFree(db, QStringLiteral("COMMIT")))
        return true;
    // SQLite mostly takes the transaction away by itself when it cannot commit it. One that stayed open would make every
    // later BEGIN of the connection fail and lock the file for everybody else.
    if (db.isOpen())
        QSqlQuery(db).exec(QStringLiteral("ROLLBACK"));
    return false;
}
