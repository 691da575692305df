#ifndef DESKPLUGINLOADER_H
#define DESKPLUGINLOADER_H

#include <QJsonObject>
#include <QObject>
#include <QPluginLoader>
#include <QPointer>
#include <QString>
#include <QStringList>

class VanePluginInterface;

/// Holds the desk's library: loads it, carries events both ways, and puts it away again. GUI thread only.
class DeskPluginLoader : public QObject
{
    Q_OBJECT

public:
    explicit DeskPluginLoader(QObject *parent = nullptr);
    ~DeskPluginLoader() override;

    /// Files where the library is looked for when none is named: beside the program, in the build tree, installed.
    static QStringList usualFiles();
    /// The library to load; an empty name means the first of the usual files that exists.
    void setFileName(const QString &fileName);
    QString fileName() const { return m_fileName; }

    /// Loads the library and connects its one instance. The handshake is left to the caller, who may want to be
    /// connected to `received` first. False when there is no such desk; `errorText()` says why.
    bool load();
    /// Destroys the instance and puts the library away. The desk's widgets have to be out of the host's by then.
    void unload();
    bool isLoaded() const { return !m_desk.isNull(); }
    QString errorText() const { return m_errorText; }

    QString tabCaption() const;
    QString moduleName() const;
    int versionWord() const;
    QStringList handledEvents() const;

    /// Gives an event to the desk. Without a desk nothing happens.
    void send(const QString &event, const QJsonObject &payload = QJsonObject());

Q_SIGNALS:
    /// An event is about to be given to the desk.
    void sending(const QString &module, const QString &event, const QJsonObject &payload);
    /// The desk has emitted an event.
    void received(const QString &module, const QString &event, const QJsonObject &payload);
    /// The instance is going to be destroyed: let go of its widgets.
    void aboutToUnload();

private:
    QPluginLoader m_loader;
    QPointer<VanePluginInterface> m_desk;
    QString m_fileName;
    QString m_errorText;
};

#endif // DESKPLUGINLOADER_H
