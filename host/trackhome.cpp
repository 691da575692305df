#include "trackhome.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

TrackHome::TrackHome(const QString &directory)
    : m_directory(QDir::cleanPath(QFileInfo(directory).absoluteFilePath()))
{
}

QString TrackHome::defaultDirectory()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation)
           + QStringLiteral("/lapvane-bench-host");
}

bool TrackHome::enter(QString *error) const
{
    if (!QDir().mkpath(m_directory)) {
        *error = tr("Не удалось создать папку %1").arg(m_directory);
        return false;
    }

    // The display's key lies in the real home and has to be found from the new one.
    const QByteArray oldHome = qgetenv("HOME");
    if (!oldHome.isEmpty() && !qEnvironmentVariableIsSet("XAUTHORITY")) {
        const QByteArray key = oldHome + "/.Xauthority";
        if (QFile::exists(QFile::decodeName(key)))
            qputenv("XAUTHORITY", key);
    }

    qputenv("HOME", QFile::encodeName(m_directory));
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(path(QStringLiteral(".config"))));
    qputenv("XDG_DATA_HOME", QFile::encodeName(path(QStringLiteral(".local/share"))));
    qputenv("XDG_CACHE_HOME", QFile::encodeName(path(QStringLiteral(".cache"))));

    // Where the environment does not decide the locations, working on would mean the user's own files.
    const QString documents = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    if (QDir::cleanPath(documents) != path(QStringLiteral("Documents"))) {
        *error = tr("Документы остаются в папке %1, а не под %2").arg(documents, m_directory);
        return false;
    }
    return true;
}

bool TrackHome::makeTree(QString *error) const
{
    const QString folders[] = {journalsDirectory(), QFileInfo(databaseFile()).absolutePath()};
    for (const QString &folder : folders) {
        if (!QDir().mkpath(folder)) {
            *error = tr("Не удалось создать папку %1").arg(folder);
            return false;
        }
    }
    return true;
}

QString TrackHome::treeDirectory() const
{
    return path(QStringLiteral("Documents/Lapvane-QT"));
}

QString TrackHome::journalsDirectory() const
{
    return treeDirectory() + QStringLiteral("/journals");
}

QString TrackHome::databaseFile() const
{
    return treeDirectory() + QStringLiteral("/DB/lapvane.sqlite");
}

QString TrackHome::eventsFile() const
{
    return path(QStringLiteral("events.jsonl"));
}

QString TrackHome::printedDirectory() const
{
    return path(QStringLiteral("printed"));
}

QString TrackHome::templatesDirectory() const
{
    return path(QStringLiteral("templates"));
}

QString TrackHome::path(const QString &relative) const
{
    return QDir::cleanPath(QDir(m_directory).absoluteFilePath(relative));
}
