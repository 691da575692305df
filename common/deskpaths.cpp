#include "common/deskpaths.h"

#include <QDir>
#include <QStandardPaths>

namespace {

QString treeRoot()
{
    return QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation) + QLatin1String("/Lapvane-QT");
}

} // namespace

QString DeskPaths::journal(const QString &fileName)
{
    return treeRoot() + QLatin1String("/journals/") + fileName;
}

QString DeskPaths::database()
{
    return QDir(treeRoot()).path() + QLatin1String("/DB/lapvane.sqlite");
}
