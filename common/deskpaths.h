#ifndef DESKPATHS_H
#define DESKPATHS_H

#include <QString>

/// Where the desk keeps its files: the tree "/Lapvane-QT" in the user's documents directory. The tree is the installer's;
/// the desk makes no directory.
namespace DeskPaths {

/// Full path of a journal, for example journal(QLatin1String("tickets.state")).
QString journal(const QString &fileName);

/// Full path of the SQLite file that the host and the desk share.
QString database();

} // namespace DeskPaths

#endif // DESKPATHS_H
