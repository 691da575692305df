#include "hostprobe.h"

#include <QAbstractItemView>
#include <QCoreApplication>
#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QThread>
#include <QtTest>

#include <utility>

namespace {

/// Appends one event to a file of this process in the folder that LAPVANE_RECORD_TRAFFIC names, a line of JSON as in the
/// bench host's event log; without the variable nothing is written. docs/api/check_traffic.py reads such files. Any
/// thread.
void writeDown(const char *direction, const QString &module, const QString &event, const QJsonObject &data)
{
    const QString folder = qEnvironmentVariable("LAPVANE_RECORD_TRAFFIC");
    if (folder.isEmpty())
        return;
    const QJsonObject line{
        {QStringLiteral("time"), QDateTime::currentDateTime().toString(Qt::ISODateWithMs)},
        {QStringLiteral("direction"), QString::fromLatin1(direction)},
        {QStringLiteral("module"), module},
        {QStringLiteral("event"), event},
        {QStringLiteral("data"), data},
    };
    static QMutex mutex;
    const QMutexLocker lock(&mutex);
    QFile file(QStringLiteral("%1/%2-%3.jsonl")
                   .arg(folder, QFileInfo(QCoreApplication::applicationFilePath()).baseName(),
                        QString::number(QCoreApplication::applicationPid())));
    if (file.open(QIODevice::Append))
        file.write(QJsonDocument(line).toJson(QJsonDocument::Compact) + '\n');
}

} // namespace

HostProbe::HostProbe(const QString &libraryFile, Unload unload)
{
    m_loader.setFileName(libraryFile);
    m_loader.setLoadHints(unload == Unload::Unmap ? QLibrary::LoadHints()
                                                  : QLibrary::LoadHints(QLibrary::PreventUnloadHint));
}

HostProbe::~HostProbe()
{
    if (m_plugin)
        unload();
}

bool HostProbe::load()
{
    auto *plugin = qobject_cast<VanePluginInterface *>(m_loader.instance());
    if (!plugin)
        return false;
    m_plugin = plugin;
    QObject::connect(
        plugin, &VanePluginInterface::pluginSignal, plugin,
        [this](const QString &module, const QString &event, const QJsonObject &data) { record(module, event, data); },
        Qt::DirectConnection);
    return true;
}

void HostProbe::record(const QString &module, const QString &event, const QJsonObject &data)
{
    writeDown("fromDesk", module, event, data);
    if (event == QLatin1String("insert_tab"))
        m_tab = widgetAt(data.value(QLatin1String("tabWidget")));
    const HostEvent entry{module, event, data, QThread::currentThread()};
    const QMutexLocker lock(&m_mutex);
    m_events.append(entry);
}

bool HostProbe::start()
{
    if (!load())
        return false;
    send(QStringLiteral("load_complete"));
    clear();
    return m_tab != nullptr;
}

bool HostProbe::unload()
{
    delete m_plugin.data();
    return m_loader.unload();
}

void HostProbe::send(const QString &event, const QJsonObject &data, const QString &module)
{
    writeDown("toDesk", module, event, data);
    m_plugin->pluginSlot(module, event, data);
}

QVector<HostEvent> HostProbe::events() const
{
    const QMutexLocker lock(&m_mutex);
    return m_events;
}

QStringList HostProbe::names() const
{
    QStringList names;
    const QVector<HostEvent> recorded = events();
    for (const HostEvent &event : recorded)
        names.append(event.event);
    return names;
}

QVector<QJsonObject> HostProbe::payloads(const QString &event) const
{
    QVector<QJsonObject> payloads;
    const QVector<HostEvent> recorded = events();
    for (const HostEvent &entry : recorded) {
        if (entry.event == event)
            payloads.append(entry.data);
    }
    return payloads;
}

QJsonObject HostProbe::last(const QString &event) const
{
    const QVector<QJsonObject> found = payloads(event);
    return found.isEmpty() ? QJsonObject() : found.last();
}

QVector<HostEvent> HostProbe::take()
{
    const QMutexLocker lock(&m_mutex);
    return std::exchange(m_events, {});
}

bool HostProbe::waitFor(const QString &event, int count, int milliseconds) const
{
    return QTest::qWaitFor([&] { return payloads(event).size() >= count; }, milliseconds);
}

void HostProbe::settle(int milliseconds)
{
    QTest::qWait(milliseconds);
}

QWidget *HostProbe::settingsPage()
{
    if (m_page)
        return m_page;
    const QVector<HostEvent> before = events();
    send(QStringLiteral("send_settings_dialogs"));
    m_page = widgetAt(last(QStringLiteral("settings_dialog")).value(QLatin1String("settingsPagePtr")));
    const QMutexLocker lock(&m_mutex);
    m_events = before;
    return m_page;
}

QAbstractItemModel *HostProbe::checkIn() const
{
    const auto *view = find<QAbstractItemView *>(QStringLiteral("tvCheckIn"));
    return view ? view->model() : nullptr;
}

int HostProbe::column(const QAbstractItemModel *model, const QString &key)
{
    for (int column = 0; column < model->columnCount(); ++column) {
        if (model->index(0, column).data(Qt::UserRole).toString() == key)
            return column;
    }
    return -1;
}

QString HostProbe::cell(const QAbstractItemModel *model, int row, const QString &key)
{
    return model->index(row, column(model, key)).data().toString();
}

QWidget *HostProbe::widgetAt(const QJsonValue &address)
{
    return reinterpret_cast<QWidget *>(static_cast<quintptr>(address.toVariant().toULongLong()));
}
