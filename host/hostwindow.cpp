#include "hostwindow.h"

#include "deskpluginloader.h"
#include "eventlogmodel.h"
#include "eventlogview.h"
#include "runtiming.h"
#include "settingsdialog.h"
#include "trackservices.h"

#include <QApplication>
#include <QLabel>
#include <QMenuBar>
#include <QPainter>
#include <QScreen>
#include <QStatusBar>
#include <QTabBar>
#include <QTabWidget>
#include <QTimer>

namespace {

// The desk hands its widgets over by address. Only an address of a living widget is taken.
QWidget *widgetAt(const QJsonValue &address)
{
    const auto wanted = static_cast<quintptr>(address.toDouble());
    const QWidgetList widgets = QApplication::allWidgets();
    for (QWidget *widget : widgets) {
        if (reinterpret_cast<quintptr>(widget) == wanted)
            return widget;
    }
    return nullptr;
}

} // namespace

HostWindow::HostWindow(DeskPluginLoader *desk, TrackServices *services, RunTiming *timing, TrackDatabase *database,
                       EventLogModel *log)
    : m_desk(desk)
    , m_services(services)
    , m_timing(timing)
    , m_database(database)
    , m_log(log)
    , m_tabs(new QTabWidget(this))
    , m_logView(new EventLogView(log, this))
    , m_state(new QLabel(this))
    , m_trackState(new QLabel(this))
{
    setObjectName(QStringLiteral("hostWindow"));
    setWindowTitle(tr("Стенд кассы"));
    m_tabs->setObjectName(QStringLiteral("hostTabs"));
    m_tabs->setDocumentMode(true);
    m_tabs->addTab(m_logView, tr("События"));
    setCentralWidget(m_tabs);
    statusBar()->addWidget(m_state);
    m_trackState->setObjectName(QStringLiteral("trackState"));
    statusBar()->addPermanentWidget(m_trackState);
    buildMenus();

    connect(m_tabs, &QTabWidget::currentChanged, this, &HostWindow::tabChanged);
    connect(m_desk, &DeskPluginLoader::sending, this,
            [this](const QString &module, const QString &event, const QJsonObject &payload) {
                m_log->append(EventLogModel::ToDesk, module, event, payload);
            });
    connect(m_desk, &DeskPluginLoader::received, this, &HostWindow::onReceived);
    connect(m_desk, &DeskPluginLoader::aboutToUnload, this, &HostWindow::releaseDeskWidgets);
    connect(m_timing, &RunTiming::changed, this, [this] { m_trackState->setText(m_timing->description()); });
}

HostWindow::~HostWindow()
{
    stopDesk();
}

bool HostWindow::startDesk(bool announce)
{
    m_announce = announce;
    if (!m_desk->load())
        return false;
    m_desk->send(QStringLiteral("load_complete"));
    tabChanged(m_tabs->currentIndex());
    if (announce)
        m_services->announce();
    m_timing->track().announce();
    reportState();
    return true;
}

void HostWindow::stopDesk()
{
    m_desk->unload();
    reportState();
}

bool HostWindow::restartDesk()
{
    stopDesk();
    return startDesk(m_announce);
}

void HostWindow::releaseDeskWidgets()
{
    if (m_settings) {
        m_settings->releasePage();
        m_settings->reject();
    }
    if (m_deskTab) {
        const QSignalBlocker quiet(m_tabs);
        m_tabs->removeTab(m_tabs->indexOf(m_deskTab));
        m_deskTab->hide();
        m_deskTab->setParent(nullptr);
        m_deskTab.clear();
    }
}

void HostWindow::onReceived(const QString &module, const QString &event, const QJsonObject &payload)
{
    m_log->append(EventLogModel::FromDesk, module, event, payload);
    if (event == QLatin1String("insert_tab")) {
        insertDeskTab(payload);
    } else if (event == QLatin1String("settings_dialog")) {
        // From the event loop: the desk's own call ends before the dialog begins.
        QTimer::singleShot(0, this, [this, payload] { showSettings(payload); });
    }
}

void HostWindow::insertDeskTab(const QJsonObject &payload)
{
    QWidget *widget = widgetAt(payload.value(QStringLiteral("tabWidget")));
    if (!widget)
        return;
    const QSignalBlocker quiet(m_tabs);
    const int present = m_tabs->indexOf(widget);
    if (present >= 0)
        m_tabs->removeTab(present);
    const int index = payload.value(QStringLiteral("index")).toInt();
    m_tabs->insertTab(index, widget, payload.value(QStringLiteral("tabCaption")).toString());
    m_tabs->setCurrentWidget(widget);
    m_deskTab = widget;
}

void HostWindow::showSettings(const QJsonObject &payload)
{
    QWidget *page = widgetAt(payload.value(QStringLiteral("settingsPagePtr")));
    if (!page || m_settings)
        return;
    SettingsDialog dialog(page, payload.value(QStringLiteral("settingsCaption")).toString(), this);
    m_settings = &dialog;
    dialog.exec();
}

void HostWindow::tabChanged(int index)
{
    const QWidget *page = m_tabs->widget(index);
    m_services->sendCurrentTab(page ? page->objectName() : QString());
}

void HostWindow::reportState()
{
    m_state->setText(m_desk->isLoaded() ? tr("%1, версия %2").arg(m_desk->moduleName()).arg(m_desk->versionWord())
                                        : tr("Модуль не загружен"));
    m_state->setToolTip(m_desk->fileName());
}

void HostWindow::addPage(QWidget *page, const QString &caption)
{
    m_tabs->addTab(page, caption);
}

void HostWindow::fitDesk(QSize tabSize)
{
    ensurePolished();
    const int around =
        m_tabs->tabBar()->sizeHint().height() + menuBar()->sizeHint().height() + statusBar()->sizeHint().height();
    QSize size = tabSize + QSize(0, around);
    // The screen of a played day is imaginary and may well be smaller than its pictures.
    if (QGuiApplication::platformName() != QLatin1String("offscreen"))
        size = size.boundedTo(QGuiApplication::primaryScreen()->availableSize());
    resize(size);
}

bool HostWindow::showTab(const QString &name)
{
    for (int i = 0; i < m_tabs->count(); ++i) {
        if (m_tabs->widget(i)->objectName() == name) {
            m_tabs->setCurrentIndex(i);
            return true;
        }
    }
    return false;
}

QPixmap HostWindow::picture()
{
    QRect area = geometry();
    QWidgetList over;
    const QWidgetList tops = QApplication::topLevelWidgets();
    for (QWidget *top : tops) {
        const bool counts = top != this && top->isVisible() && top->isWindow() && !top->size().isEmpty();
        if (!counts)
            continue;
        area |= top->geometry();
        // Menus and lists of choices stand above dialogs.
        if (top->windowFlags().testFlag(Qt::Popup))
            over.append(top);
        else
            over.prepend(top);
    }

    QPixmap canvas(area.size());
    canvas.fill(QColor(0x3b, 0x42, 0x4c));
    QPainter painter(&canvas);
    painter.drawPixmap(geometry().topLeft() - area.topLeft(), grab());
    for (QWidget *top : qAsConst(over)) {
        const QRect place = top->geometry().translated(-area.topLeft());
        painter.drawPixmap(place.topLeft(), top->grab());
        painter.setPen(QColor(0x3b, 0x42, 0x4c));
        painter.drawRect(place.adjusted(-1, -1, 0, 0));
    }
    return canvas;
}
