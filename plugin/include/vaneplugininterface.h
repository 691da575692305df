#ifndef VANEPLUGININTERFACE_H
#define VANEPLUGININTERFACE_H

// The whole contract between the timing application (the host) and a plugin module. The host and the module each build
// this header with moc; nothing else is shared between them at compile time.
//
// A host loads the library with QPluginLoader, takes the instance through qobject_cast<VanePluginInterface *>, connects
// pluginSignal and sends the event "load_complete" through pluginSlot. All calls are made on the GUI thread.

#include <QJsonObject>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QtPlugin>

#define VanePluginInterface_iid "zz.ordvex.vane.Qt.VanePluginInterface/v1.0"

/// Base of every plugin module of the timing application. The order of members and of virtual operations is binary
/// contract: a host built against an older copy of this header must still find them where they were.
class VanePluginInterface : public QObject
{
    Q_OBJECT

public:
    explicit VanePluginInterface(QObject *parent = nullptr)
        : QObject(parent)
    {
    }

    /// Version word of the module; 0 until the module is fully built.
    qint32 versionWord = 0;
    /// Free for the host; a module never touches them.
    QString hostText1;
    QString hostText2;
    /// Free for the host; starts as the word "fileNameWin".
    QString fileNameWin = QString(QLatin1String("fileNameWin"));

    /// Two options of the host's own; a module that knows nothing of them answers 0.
    virtual quintptr hostOption1() = 0;
    virtual quintptr hostOption2() = 0;
    /// Caption of the module's tab, translated.
    virtual QString tabCaption() = 0;
    /// Identity of the module, the `module` of the events that it sends.
    virtual QString moduleName() = 0;
    /// Names of the events that the module says it sends.
    virtual QStringList sentEvents() = 0;
    /// Names of the events that the module says it handles.
    virtual QStringList receivedEvents() = 0;

Q_SIGNALS:
    /// An event of the module, on the GUI thread. Some print jobs come with a later turn of the event loop.
    void pluginSignal(QString module, QString event, QJsonObject jsonData);

public Q_SLOTS:
    /// An event for the module. Call it on the GUI thread. Unknown events are ignored.
    virtual void pluginSlot(QString module, QString event, QJsonObject jsonData) = 0;
};

Q_DECLARE_INTERFACE(VanePluginInterface, VanePluginInterface_iid)

#endif // VANEPLUGININTERFACE_H
