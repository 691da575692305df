#include "deskpluginloader.h"

#include "vaneplugininterface.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

namespace {

const QLatin1String hostModule("bench_host");

QString libraryName()
{
#if defined(Q_OS_WIN)
    return QStringLiteral("liblapvane-ticket-plugin.dll");
#elif defined(Q_OS_MACOS)
    return QStringLiteral("liblapvane-ticket-plugin.dylib");
#else
    return QStringLiteral("liblapvane-ticket-plugin.so");
#endif
}

} // namespace

DeskPluginLoader::DeskPluginLoader(QObject *parent)
    : QObject(parent)
{
}

DeskPluginLoader::~DeskPluginLoader()
{
    unload();
}

QStringList DeskPluginLoader::usualFiles()
{
    const QDir program(QCoreApplication::applicationDirPath());
    const QString libraries = QStringLiteral("../") + QLatin1String(LAPVANE_INSTALL_LIBDIR);
    const QString folders[] = {QStringLiteral("."), QStringLiteral("../plugin"), QStringLiteral(".."), libraries,
                               libraries + QStringLiteral("/lapvane/plugins")};
    QStringList files;
    for (const QString &folder : folders)
        files.append(QDir::cleanPath(program.absoluteFilePath(folder + QLatin1Char('/') + libraryName())));
    return files;
}

void DeskPluginLoader::setFileName(const QString &fileName)
{
    if (!fileName.isEmpty()) {
        m_fileName = QFileInfo(fileName).absoluteFilePath();
        return;
    }
    const QStringList files = usualFiles();
    for (const QString &file : files) {
        if (QFileInfo::exists(file)) {
            m_fileName = file;
            return;
        }
    }
    m_fileName.clear();
}

bool DeskPluginLoader::load()
{
    unload();
    if (m_fileName.isEmpty()) {
        m_errorText = tr("Библиотека модуля не найдена. Искали здесь:\n%1").arg(usualFiles().join(QLatin1Char('\n')));
        return false;
    }

    m_loader.setFileName(m_fileName);
    QObject *instance = m_loader.instance();
    if (!instance) {
        m_errorText = m_loader.errorString();
        return false;
    }
    m_desk = qobject_cast<VanePluginInterface *>(instance);
    if (!m_desk) {
        m_errorText = tr("%1: это не модуль системы хронометража").arg(m_fileName);
        m_loader.unload();
        return false;
    }

    connect(m_desk.data(), &VanePluginInterface::pluginSignal, this, &DeskPluginLoader::received);
    return true;
}

void DeskPluginLoader::unload()
{
    if (!m_desk)
        return;
    Q_EMIT aboutToUnload();
    disconnect(m_desk.data(), nullptr, this, nullptr);
    delete m_desk.data();
    // What the desk has left for later deletion has its code in the library that is going away.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    m_loader.unload();
}

QString DeskPluginLoader::tabCaption() const
{
    return m_desk ? m_desk->tabCaption() : QString();
}

QString DeskPluginLoader::moduleName() const
{
    return m_desk ? m_desk->moduleName() : QString();
}

int DeskPluginLoader::versionWord() const
{
    return m_desk ? m_desk->versionWord : 0;
}

QStringList DeskPluginLoader::handledEvents() const
{
    return m_desk ? m_desk->receivedEvents() : QStringList();
}

void DeskPluginLoader::send(const QString &event, const QJsonObject &payload)
{
    if (!m_desk)
        return;
    Q_EMIT sending(hostModule, event, payload);
    m_desk->pluginSlot(hostModule, event, payload);
}
