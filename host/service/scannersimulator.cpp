#include "service/scannersimulator.h"

#include "service/democode.h"

#include <QJsonDocument>
#include <QSettings>
#include <QTimer>

#if defined(Q_OS_UNIX)
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <termios.h>
#include <unistd.h>
#endif

namespace {

constexpr int burstPauseMs = 100;
const char terminalFolder[] = "/dev/pts/";

} // namespace

ScannerSimulator::ScannerSimulator(QObject *parent)
    : QObject(parent)
{
}

ScannerSimulator::~ScannerSimulator()
{
    unplug();
}

void ScannerSimulator::storePortName()
{
    QSettings settings(QStringLiteral("zz.ordvex"), QStringLiteral("prices"));
    const QString key = QStringLiteral("scannerPortName");
    const QString present = settings.value(key).toString();
    const bool isOurs = present.isEmpty() || present.startsWith(QLatin1String(terminalFolder));
    if (!isPlugged() || !(m_isChosen || isOurs))
        return;
    settings.setValue(key, m_portName);
    m_isChosen = true;
}

bool ScannerSimulator::write(const QByteArray &bytes, int splitAt)
{
    if (splitAt <= 0 || splitAt >= bytes.size())
        return writeNow(bytes);
    const QByteArray rest = bytes.mid(splitAt);
    QTimer::singleShot(burstPauseMs, this, [this, rest] { writeNow(rest); });
    return writeNow(bytes.left(splitAt));
}

bool ScannerSimulator::scanClient(int clientId)
{
    return write(QJsonDocument(DemoCode::make(clientId)).toJson(QJsonDocument::Compact));
}

#if defined(Q_OS_UNIX)

bool ScannerSimulator::plug()
{
    if (isPlugged())
        return true;
    const auto fail = [this] {
        m_errorText = tr("Сканер не подключён: %1").arg(QString::fromLocal8Bit(std::strerror(errno)));
        unplug();
        return false;
    };
    m_master = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (m_master < 0 || ::grantpt(m_master) != 0 || ::unlockpt(m_master) != 0)
        return fail();
    const char *name = ::ptsname(m_master);
    if (!name)
        return fail();
    m_slave = ::open(name, O_RDWR | O_NOCTTY | O_CLOEXEC);
    termios settings = {};
    if (m_slave < 0 || ::tcgetattr(m_slave, &settings) != 0)
        return fail();
    // Bytes pass as they are, and nothing comes back.
    ::cfmakeraw(&settings);
    if (::tcsetattr(m_slave, TCSANOW, &settings) != 0 || ::fcntl(m_master, F_SETFL, O_NONBLOCK) != 0)
        return fail();
    m_portName = QString::fromLocal8Bit(name);
    m_errorText.clear();
    Q_EMIT pluggedChanged(true);
    return true;
}

void ScannerSimulator::unplug()
{
    for (int *end : {&m_slave, &m_master}) {
        if (*end >= 0)
            ::close(*end);
        *end = -1;
    }
    const bool wasPlugged = !m_portName.isEmpty();
    m_portName.clear();
    if (wasPlugged)
        Q_EMIT pluggedChanged(false);
}

bool ScannerSimulator::writeNow(const QByteArray &bytes)
{
    if (!isPlugged()) {
        m_errorText = tr("Сканер не подключён");
        return false;
    }
    int written = 0;
    while (written < bytes.size()) {
        const ssize_t count =
            ::write(m_master, bytes.constData() + written, static_cast<size_t>(bytes.size() - written));
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0) {
            m_errorText = tr("Порт сканера не принимает данные: %1").arg(QString::fromLocal8Bit(std::strerror(errno)));
            return false;
        }
        written += static_cast<int>(count);
    }
    return true;
}

#else

bool ScannerSimulator::plug()
{
    m_errorText = tr("В этой системе нет псевдотерминалов");
    return false;
}

void ScannerSimulator::unplug() {}

bool ScannerSimulator::writeNow(const QByteArray &bytes)
{
    Q_UNUSED(bytes)
    return false;
}

#endif
