#include "hostwindow.h"

#include "deskpluginloader.h"
#include "runtiming.h"
#include "sendeventdialog.h"
#include "trackdatabase.h"
#include "trackservices.h"

#include <QAction>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QInputDialog>
#include <QJsonArray>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QTimeEdit>
#include <QUuid>

namespace {

QAction *named(QAction *action, const char *name)
{
    action->setObjectName(QLatin1String(name));
    return action;
}

// The buttons and the frame that the small questions of the menus share.
bool ask(QDialog *dialog, QFormLayout *fields)
{
    dialog->setWindowFlag(Qt::WindowContextHelpButtonHint, false);
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, dialog);
    QObject::connect(buttons, &QDialogButtonBox::accepted, dialog, &QDialog::accept);
    QObject::connect(buttons, &QDialogButtonBox::rejected, dialog, &QDialog::reject);
    fields->addRow(buttons);
    return dialog->exec() == QDialog::Accepted;
}

QString carCaption(const QJsonObject &car)
{
    return HostWindow::tr("№ %1, %2")
        .arg(car.value(QStringLiteral("num")).toString(), car.value(QStringLiteral("name")).toString());
}

} // namespace

void HostWindow::buildMenus()
{
    buildDeskMenu();
    buildTrackMenu();
    buildRunMenu();
    buildServiceMenu();
}

void HostWindow::buildDeskMenu()
{
    QMenu *menu = menuBar()->addMenu(tr("&Модуль"));
    named(menu->addAction(tr("Настройки…"), this, [this] { m_desk->send(QStringLiteral("send_settings_dialogs")); }),
          "hostSettings");
    named(menu->addAction(tr("Отправить событие…"), this, &HostWindow::askEvent), "hostSendEvent");
    menu->addSeparator();
    named(menu->addAction(tr("Перезагрузить модуль"), this, &HostWindow::restartDesk), "hostRestart");
    named(menu->addAction(tr("Выход"), this, &QWidget::close), "hostQuit");
}

void HostWindow::buildTrackMenu()
{
    QMenu *menu = menuBar()->addMenu(tr("&Трасса"));
    named(menu->addAction(tr("Трасса…"), this, &HostWindow::askTrack), "hostTrack");
    named(menu->addAction(tr("Начало рабочего дня…"), this, &HostWindow::askDayBegin), "hostDayBegin");
    named(menu->addAction(tr("Текущая вкладка…"), this, &HostWindow::askCurrentTab), "hostCurrentTab");
    menu->addSeparator();
    QAction *race = named(menu->addAction(tr("Режим гонки")), "hostRaceMode");
    race->setCheckable(true);
    connect(race, &QAction::toggled, m_services, &TrackServices::setRaceMode);
    m_carsMenu = menu->addMenu(tr("Карты в прокате"));
    connect(m_carsMenu, &QMenu::aboutToShow, this, &HostWindow::fillCarsMenu);
    named(menu->addAction(tr("Отправить список картов"), m_services, &TrackServices::sendCars), "hostCars");
    menu->addSeparator();
    QMenu *in = menu->addMenu(tr("Въехал на питлейн"));
    in->setObjectName(QStringLiteral("hostPitLaneIn"));
    connect(in, &QMenu::aboutToShow, this, [this, in] { fillPitLaneMenu(in, PitLaneHits::EntryLine); });
    QMenu *out = menu->addMenu(tr("Выехал с питлейна"));
    out->setObjectName(QStringLiteral("hostPitLaneOut"));
    connect(out, &QMenu::aboutToShow, this, [this, out] { fillPitLaneMenu(out, PitLaneHits::ExitLine); });
}

void HostWindow::buildRunMenu()
{
    QMenu *menu = menuBar()->addMenu(tr("&Заезд"));
    named(menu->addAction(tr("Запросить старт очереди"), this,
                          [this] { m_desk->send(QStringLiteral("request_queue_start")); }),
          "hostQueueStart");
    named(menu->addAction(tr("Красный флаг"), this, [this] { m_timing->track().toggleRedFlag(); }), "hostRedFlag");
    named(menu->addAction(tr("Финишировать"), this, [this] { m_timing->track().finishRun(); }), "hostFinishRun");
    named(menu->addAction(tr("Закрыть"), this, [this] { m_timing->track().closeRun(); }), "hostCloseRun");
    menu->addSeparator();
    named(menu->addAction(tr("Номер следующего заезда…"), this, &HostWindow::askNextRun), "hostNextRun");
}

void HostWindow::buildServiceMenu()
{
    QMenu *menu = menuBar()->addMenu(tr("&Связь"));
    QAction *server = named(menu->addAction(tr("Сервер на связи")), "hostServer");
    server->setCheckable(true);
    connect(server, &QAction::triggered, m_services, &TrackServices::setServerConnected);
    QAction *service = named(menu->addAction(tr("Онлайн-сервис включён")), "hostService");
    service->setCheckable(true);
    connect(service, &QAction::triggered, this,
            [this](bool on) { m_services->setService(on, m_services->state().apiKey); });
    // A script triggers this one without opening the menu.
    connect(m_services, &TrackServices::serviceChanged, service,
            [this, service] { service->setChecked(m_services->state().serviceEnabled); });
    QAction *payments = named(menu->addAction(tr("Сервис принимает платежи")), "hostTakesPayments");
    payments->setCheckable(true);
    connect(payments, &QAction::triggered, m_services, &TrackServices::setTakesPayments);
    named(menu->addAction(tr("Ключ сервиса…"), this, &HostWindow::askApiKey), "hostApiKey");

    // The state can change without the menu, so the marks are read when it opens.
    connect(menu, &QMenu::aboutToShow, this, [this, server, service, payments] {
        server->setChecked(m_services->state().serverConnected);
        service->setChecked(m_services->state().serviceEnabled);
        payments->setChecked(m_services->state().takesPayments);
    });
}

void HostWindow::fillCarsMenu()
{
    m_carsMenu->clear();
    const QJsonArray cars = m_database->cars();
    for (const QJsonValue &value : cars) {
        const QJsonObject car = value.toObject();
        QAction *action = m_carsMenu->addAction(carCaption(car));
        action->setCheckable(true);
        action->setChecked(car.value(QStringLiteral("available_for_runs")).toBool());
        const int id = car.value(QStringLiteral("id")).toInt();
        connect(action, &QAction::triggered, m_services, [this, id](bool on) { m_services->setCarAvailable(id, on); });
    }
}

void HostWindow::fillPitLaneMenu(QMenu *menu, PitLaneHits::Line line)
{
    menu->clear();
    const QJsonArray cars = m_database->cars();
    for (const QJsonValue &value : cars) {
        const QJsonObject car = value.toObject();
        const int id = car.value(QStringLiteral("id")).toInt();
        menu->addAction(carCaption(car), m_services, [this, id, line] { m_services->sendPitLaneHit(id, line); });
    }
}

void HostWindow::askDayBegin()
{
    QDialog dialog(this);
    dialog.setWindowTitle(tr("Начало рабочего дня"));
    auto *fields = new QFormLayout(&dialog);
    auto *time = new QTimeEdit(m_services->state().dayBegin, &dialog);
    time->setObjectName(QStringLiteral("teDayBegin"));
    fields->addRow(tr("Время"), time);
    if (ask(&dialog, fields))
        m_services->setDayBegin(time->time());
}

void HostWindow::askTrack()
{
    QDialog dialog(this);
    dialog.setWindowTitle(tr("Трасса"));
    auto *fields = new QFormLayout(&dialog);
    auto *id = new QLineEdit(m_services->state().trackId, &dialog);
    id->setObjectName(QStringLiteral("leTrackId"));
    auto *name = new QLineEdit(m_services->state().trackName, &dialog);
    name->setObjectName(QStringLiteral("leTrackName"));
    fields->addRow(tr("Ключ"), id);
    fields->addRow(tr("Название"), name);
    if (ask(&dialog, fields))
        m_services->setTrack(id->text(), name->text());
}

void HostWindow::askNextRun()
{
    bool ok = false;
    const int number = QInputDialog::getInt(this, tr("Следующий заезд"), tr("Номер"), m_timing->track().nextRunNumber(),
                                            0, 100000, 1, &ok);
    if (ok)
        m_timing->track().setNextRunNumber(number);
}

void HostWindow::askCurrentTab()
{
    bool ok = false;
    const QString name = QInputDialog::getText(this, tr("Текущая вкладка"), tr("Имя вкладки"), QLineEdit::Normal,
                                               QStringLiteral("RaceManagerForm"), &ok);
    if (ok)
        m_services->sendCurrentTab(name);
}

void HostWindow::askApiKey()
{
    bool ok = false;
    QString key = m_services->state().apiKey;
    if (key.isEmpty())
        key = QUuid::createUuid().toString(QUuid::WithoutBraces);
    key = QInputDialog::getText(this, tr("Ключ сервиса"), tr("Ключ"), QLineEdit::Normal, key, &ok);
    if (ok)
        m_services->setService(m_services->state().serviceEnabled, key);
}

void HostWindow::askEvent()
{
    SendEventDialog dialog(m_desk->handledEvents(), this);
    if (dialog.exec() == QDialog::Accepted)
        m_desk->send(dialog.eventName(), dialog.payload());
}
