#ifndef HOSTTRACK_H
#define HOSTTRACK_H

#include "deskpluginloader.h"
#include "eventlogmodel.h"
#include "hostwindow.h"
#include "play/playrunner.h"
#include "runtiming.h"
#include "trackdatabase.h"
#include "trackhome.h"
#include "trackservices.h"

#include <QScopedPointer>
#include <QTemporaryDir>
#include <QtTest>

/// The bench host's track in a folder of its own: home, documents tree and database.
struct HostTrack
{
    /// Enters the home and makes what belongs into it; says on the standard error what went wrong.
    bool open()
    {
        home.reset(new TrackHome(directory.path()));
        QString error;
        if (!directory.isValid() || !home->enter(&error) || !home->makeTree(&error)) {
            qWarning("%s", qPrintable(error));
            return false;
        }
        database.reset(new TrackDatabase(home->databaseFile()));
        return database->prepare();
    }

    QTemporaryDir directory{};
    QScopedPointer<TrackHome> home{};
    QScopedPointer<TrackDatabase> database{};
};

/// A bench host on a track of its own, with its window and without a desk.
struct HostOnTrack : HostTrack
{
    /// Opens the track and makes the window, which is not shown yet.
    bool open()
    {
        if (!HostTrack::open())
            return false;
        services.reset(new TrackServices(&desk, database.data()));
        timing.reset(new RunTiming(&desk, database.data()));
        window.reset(new HostWindow(&desk, services.data(), timing.data(), database.data(), &log));
        return true;
    }

    /// Shows the window and waits until it is the active one.
    bool show()
    {
        window->show();
        return QTest::qWaitForWindowActive(window.data());
    }

    /// What a script plays on; endpoint, scanner and printed documents are the caller's to add.
    PlayRunner::Stage stage() { return {window.data(), &desk, database.data(), &log, home.data(), home->directory()}; }

    DeskPluginLoader desk{};
    EventLogModel log{};
    QScopedPointer<TrackServices> services{};
    QScopedPointer<RunTiming> timing{};
    QScopedPointer<HostWindow> window{};
};

#endif // HOSTTRACK_H
