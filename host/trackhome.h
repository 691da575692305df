#ifndef TRACKHOME_H
#define TRACKHOME_H

#include <QCoreApplication>
#include <QString>

/// One folder with a whole track in it: the documents tree, the database and the settings. The desk finds all of them
/// through the user's standard locations, so these are moved below the folder for this process.
class TrackHome
{
    Q_DECLARE_TR_FUNCTIONS(TrackHome)

public:
    explicit TrackHome(const QString &directory);

    /// A folder of the bench host's own under the user's data directory. Ask before `enter()` of any home.
    static QString defaultDirectory();

    /// Makes the folder and moves the standard locations of this process below it. Call it before the application
    /// object is made. False with a sentence in `error` when the locations stay elsewhere.
    bool enter(QString *error) const;
    /// Makes the documents tree that the desk relies on.
    bool makeTree(QString *error) const;

    QString directory() const { return m_directory; }
    QString treeDirectory() const;
    QString journalsDirectory() const;
    QString databaseFile() const;
    QString eventsFile() const;
    /// Documents that were printed to files.
    QString printedDirectory() const;
    /// Templates of documents that the track has changed.
    QString templatesDirectory() const;
    /// Absolute path of a file named relative to the home.
    QString path(const QString &relative) const;

private:
    QString m_directory;
};

#endif // TRACKHOME_H
