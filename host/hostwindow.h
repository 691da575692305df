#ifndef HOSTWINDOW_H
#define HOSTWINDOW_H

#include "pitlanehits.h"

#include <QJsonObject>
#include <QMainWindow>
#include <QPointer>

class DeskPluginLoader;
class EventLogModel;
class EventLogView;
class QLabel;
class QMenu;
class QTabWidget;
class RunTiming;
class SettingsDialog;
class TrackDatabase;
class TrackServices;

/// The main window of the bench host: the tab that the desk hands over, the live event log, and a menu that says to the
/// desk what the timing application would.
class HostWindow : public QMainWindow
{
    Q_OBJECT

public:
    /// All five outlive the window.
    HostWindow(DeskPluginLoader *desk, TrackServices *services, RunTiming *timing, TrackDatabase *database,
               EventLogModel *log);
    ~HostWindow() override;

    /// Loads the desk and goes through the handshake. Also tells it the whole state of the track when `announce` is
    /// set. False when the desk can't be loaded.
    bool startDesk(bool announce);
    /// Lets go of the desk's widgets and puts the desk away. Not from inside one of its dialogs.
    void stopDesk();
    /// Stops and starts the desk in this process.
    bool restartDesk();

    /// Adds a tab behind the host's own. The window owns the page.
    void addPage(QWidget *page, const QString &caption);

    /// Resizes the window so that the desk's tab gets this size, as far as the screen allows.
    void fitDesk(QSize tabSize);
    /// Brings a tab to the front by the object name of its page. False when there is none.
    bool showTab(const QString &name);

    /// The window with all that stands open over it, as one picture.
    QPixmap picture();

private:
    void buildMenus();
    void buildDeskMenu();
    void buildTrackMenu();
    void buildRunMenu();
    void buildServiceMenu();
    void fillCarsMenu();
    void fillPitLaneMenu(QMenu *menu, PitLaneHits::Line line);

    void askDayBegin();
    void askTrack();
    void askNextRun();
    void askCurrentTab();
    void askApiKey();
    void askEvent();

    void onReceived(const QString &module, const QString &event, const QJsonObject &payload);
    void insertDeskTab(const QJsonObject &payload);
    void showSettings(const QJsonObject &payload);
    void releaseDeskWidgets();
    void tabChanged(int index);
    void reportState();

    DeskPluginLoader *m_desk;
    TrackServices *m_services;
    RunTiming *m_timing;
    TrackDatabase *m_database;
    EventLogModel *m_log;
    QTabWidget *m_tabs;
    EventLogView *m_logView;
    QMenu *m_carsMenu = nullptr;
    QLabel *m_state;
    QLabel *m_trackState;
    QPointer<QWidget> m_deskTab;
    QPointer<SettingsDialog> m_settings;
    bool m_announce = false;
};

#endif // HOSTWINDOW_H
