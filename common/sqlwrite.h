#ifndef SQLWRITE_H
#define SQLWRITE_H

#include <QSqlDatabase>

/// The one way the desk writes to the database that it shares with the host: everything of a write stands in one
/// explicit transaction that takes the file's write lock at its beginning, and a file that somebody else holds is waited
/// for without limit, 100 ms at a time. An error that waiting cannot cure (no connection, no database in the file, a full
/// disk that already took the transaction away) ends the attempt at once. Any thread, each with its own connection.
namespace SqlWrite {

/// Begins a write. Blocks while the file is busy or locked. False if waiting cannot cure the error; then nothing has
/// begun and nothing need be ended.
bool begin(const QSqlDatabase &db);

/// Commits the write that begin() began. Blocks while the file is busy or locked. False if the transaction is lost, with
/// all that stood in it; none is left open then.
bool commit(const QSqlDatabase &db);

} // namespace SqlWrite

#endif // SQLWRITE_H
