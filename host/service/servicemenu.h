#ifndef SERVICEMENU_H
#define SERVICEMENU_H

#include <QObject>

class OnlineService;
class QAction;
class QMainWindow;
class QMenu;
class ScannerSimulator;

/// The menu of the bench host for the online service's clients: how the service answers, and codes for the scanner.
class ServiceMenu : public QObject
{
    Q_OBJECT

public:
    /// Adds the menu to the window's menu bar. All three outlive it.
    ServiceMenu(OnlineService *service, ScannerSimulator *scanner, QMainWindow *window);

private:
    void buildTroubleMenu(QMenu *menu);
    void askCode();
    void setPlugged(bool plugged);

    OnlineService *m_service;
    ScannerSimulator *m_scanner;
    QMainWindow *m_window;
    QAction *m_plugged;
};

#endif // SERVICEMENU_H
