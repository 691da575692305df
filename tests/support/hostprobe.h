#ifndef HOSTPROBE_H
#define HOSTPROBE_H

#include "vaneplugininterface.h"

#include <QJsonObject>
#include <QList>
#include <QMutex>
#include <QPluginLoader>
#include <QPointer>
#include <QString>
#include <QStringList>
#include <QVector>
#include <QWidget>

class QAbstractItemModel;
class QThread;

/// One event of the desk as the host saw it.
struct HostEvent
{
    QString module;
    QString event;
    QJsonObject data;
    QThread *thread = nullptr; ///< the thread that emitted it
};

/// A host for one desk: loads the built library, records every event of the desk in order and sends it events. It knows
/// nothing of the desk but the plugin interface. Lives on the GUI thread; the record is safe against other threads.
class HostProbe
{
public:
    enum class Unload {
        KeepMapped, ///< the loader's own habit: the code stays in the process
        Unmap ///< the library leaves the process
    };

    explicit HostProbe(const QString &libraryFile, Unload unload = Unload::KeepMapped);
    /// Takes the desk down in good order if a test has not done so.
    ~HostProbe();
    Q_DISABLE_COPY(HostProbe)

    /// Loads the library and builds the desk. False leaves the reason in errorString().
    bool load();
    QString errorString() const { return m_loader.errorString(); }
    /// load() and load_complete; the record is empty afterwards.
    bool start();
    /// Destroys the desk, which writes its journals, and unloads the library.
    bool unload();

    QPluginLoader &loader() { return m_loader; }
    VanePluginInterface *plugin() const { return m_plugin; }

    /// Sends an event to the desk.
    void send(const QString &event, const QJsonObject &data = {}, const QString &module = QStringLiteral("host"));

    /// Everything recorded so far.
    QVector<HostEvent> events() const;
    /// Names of everything recorded so far, in order.
    QStringList names() const;
    /// Payloads of the recorded events of one name, in order.
    QVector<QJsonObject> payloads(const QString &event) const;
    /// Payload of the last recorded event of that name; empty when there was none.
    QJsonObject last(const QString &event) const;
    int count(const QString &event) const { return payloads(event).size(); }
    /// Returns the record and empties it.
    QVector<HostEvent> take();
    void clear() { take(); }
    /// Runs the event loop until so many events of that name are in the record.
    bool waitFor(const QString &event, int count = 1, int milliseconds = 5000) const;
    /// Runs the event loop for a while, for events that must not come.
    static void settle(int milliseconds = 50);

    /// The desk's tab, as insert_tab handed it over; null before load_complete.
    QWidget *tab() const { return m_tab; }
    /// The settings page, asked for with send_settings_dialogs; that exchange leaves no trace in the record.
    QWidget *settingsPage();
    /// An object below the tab by its name; null when there is none.
    template <typename T = QObject *> T find(const QString &name) const
    {
        return m_tab ? m_tab->findChild<T>(name) : nullptr;
    }
    /// The model of the check-in table.
    QAbstractItemModel *checkIn() const;
    /// Column of a table by the key that its cells carry in Qt::UserRole; -1 when the table is empty or has no such key.
    static int column(const QAbstractItemModel *model, const QString &key);
    /// Display text of a top-level cell.
    static QString cell(const QAbstractItemModel *model, int row, const QString &key);

    /// Turns an address that the desk handed over in a JSON number back into its object.
    static QWidget *widgetAt(const QJsonValue &address);

private:
    void record(const QString &module, const QString &event, const QJsonObject &data);

    QPluginLoader m_loader;
    QPointer<VanePluginInterface> m_plugin;
    QPointer<QWidget> m_tab;
    QPointer<QWidget> m_page;
    mutable QMutex m_mutex;
    QVector<HostEvent> m_events;
};

#endif // HOSTPROBE_H
