#ifndef TRACKDATABASE_H
#define TRACKDATABASE_H

#include <QJsonArray>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QString>
#include <QVariantList>
#include <QVector>

#include <functional>

class QSqlError;

/// The track's SQLite database, shared with the desk. The host owns its schema. Lives on the GUI thread.
class TrackDatabase
{
public:
    explicit TrackDatabase(const QString &file);
    ~TrackDatabase();

    /// Opens the file and brings its schema to the newest version; what is there already stays. False when the file
    /// can't be opened or is no database; `errorText()` says why.
    bool prepare();
    QString errorText() const { return m_errorText; }

    /// Version of the schema in the file, 0 for a file without one.
    int schemaVersion() const;
    static int newestSchemaVersion();

    /// No car and no price yet: the track has not been set up by anybody.
    bool isEmptyTrack() const;

    /// The `cars` table as CarRecords, in order of the key.
    QJsonArray cars() const;
    void setCarAvailable(int carId, bool available);

    /// Runs `work` in one write transaction. Another connection that holds the file is waited for, a few seconds at
    /// most. False when the transaction did not happen.
    bool write(const std::function<void(QSqlQuery &)> &work);

    /// Rows of a query, for checks of a played day. False when the query fails; `errorText()` says why.
    bool select(const QString &sql, QVector<QVariantList> *rows);

private:
    Q_DISABLE_COPY(TrackDatabase)

    bool fail(const QSqlError &error);

    QSqlDatabase m_db;
    QString m_errorText;
};

#endif // TRACKDATABASE_H
