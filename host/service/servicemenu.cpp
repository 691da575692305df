#include "service/servicemenu.h"

#include "service/onlineservice.h"
#include "service/scannersimulator.h"

#include <QAction>
#include <QActionGroup>
#include <QInputDialog>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>

ServiceMenu::ServiceMenu(OnlineService *service, ScannerSimulator *scanner, QMainWindow *window)
    : QObject(window)
    , m_service(service)
    , m_scanner(scanner)
    , m_window(window)
{
    QMenu *menu = window->menuBar()->addMenu(tr("&Клиенты"));
    QAction *address = menu->addAction(QString());
    address->setObjectName(QStringLiteral("hostServiceAddress"));
    address->setEnabled(false);
    buildTroubleMenu(menu->addMenu(tr("Ответы сервиса")));
    menu->addSeparator();
    QAction *scan = menu->addAction(tr("Показать сканеру карту клиента…"), this, &ServiceMenu::askCode);
    scan->setObjectName(QStringLiteral("hostScan"));
    m_plugged = menu->addAction(tr("Сканер подключён"));
    m_plugged->setObjectName(QStringLiteral("hostScanner"));
    m_plugged->setCheckable(true);
    m_plugged->setChecked(m_scanner->isPlugged());
    connect(m_plugged, &QAction::triggered, this, &ServiceMenu::setPlugged);
    connect(m_scanner, &ScannerSimulator::pluggedChanged, m_plugged, &QAction::setChecked);

    // Service and scanner come and go without the menu, so their state is read when it opens.
    connect(menu, &QMenu::aboutToShow, this, [this, address, scan] {
        address->setText(m_service->isOpen() ? tr("Сервис: http://127.0.0.1:%1").arg(m_service->port())
                         : m_service->errorText().isEmpty() ? tr("Сервис не отвечает")
                                                            : m_service->errorText());
        scan->setEnabled(m_scanner->isPlugged());
        m_plugged->setText(m_scanner->isPlugged() ? tr("Сканер подключён: %1").arg(m_scanner->portName())
                                                  : tr("Сканер подключён"));
    });
}

void ServiceMenu::buildTroubleMenu(QMenu *menu)
{
    const QString captions[] = {
        tr("Как положено"), tr("Медленно"),   tr("Вразнобой"),   tr("Ошибка"),           tr("Пусто"),
        tr("Не JSON"),      tr("Не те типы"), tr("Очень много"), tr("Обрыв посередине"),
    };
    const QStringList names = OnlineService::troubleNames();
    auto *group = new QActionGroup(menu);
    for (int i = 0; i < names.size(); ++i) {
        QAction *action = menu->addAction(captions[i]);
        // hostServiceSlow and the like
        action->setObjectName(QStringLiteral("hostService") + names.at(i).at(0).toUpper() + names.at(i).mid(1));
        action->setCheckable(true);
        action->setChecked(i == m_service->trouble());
        group->addAction(action);
        connect(action, &QAction::triggered, m_service,
                [this, i] { m_service->setTrouble(static_cast<OnlineService::Trouble>(i)); });
    }
}

void ServiceMenu::askCode()
{
    bool ok = false;
    const int id = QInputDialog::getInt(m_window, tr("Карта клиента"), tr("Номер клиента"), 1, 1,
                                        m_service->clients().count(), 1, &ok);
    if (ok && !m_scanner->scanClient(id))
        QMessageBox::warning(m_window, tr("Сканер"), m_scanner->errorText());
}

void ServiceMenu::setPlugged(bool plugged)
{
    if (!plugged) {
        m_scanner->unplug();
        return;
    }
    if (m_scanner->plug()) {
        m_scanner->storePortName();
        return;
    }
    m_plugged->setChecked(false);
    QMessageBox::warning(m_window, tr("Сканер"), m_scanner->errorText());
}
