#include "realscreen.h"

#include "desktest.h"

#include <QElapsedTimer>
#include <QStandardPaths>
#include <QTimer>

#include <cstdio>

namespace {

void end(QProcess &process)
{
    if (process.state() == QProcess::NotRunning)
        return;
    process.terminate();
    if (!process.waitForFinished(5000)) {
        process.kill();
        process.waitForFinished(5000);
    }
}

} // namespace

RealScreen::~RealScreen()
{
    end(m_windowManager);
    end(m_server);
}

QString RealScreen::start()
{
    for (const char *program : {"Xvfb", "openbox", "xdotool"}) {
        if (QStandardPaths::findExecutable(QString::fromLatin1(program)).isEmpty())
            return QStringLiteral("%1 is not installed").arg(QLatin1String(program));
    }
    m_server.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_server.start(QStringLiteral("Xvfb"),
                   {QStringLiteral("-displayfd"), QStringLiteral("1"), QStringLiteral("-screen"), QStringLiteral("0"),
                    QStringLiteral("1920x1080x24"), QStringLiteral("-nolisten"), QStringLiteral("tcp"),
                    QStringLiteral("-noreset")});
    if (!m_server.waitForStarted())
        return QStringLiteral("the X server does not start");
    QByteArray number;
    for (int i = 0; i < 100 && !number.endsWith('\n'); ++i) {
        m_server.waitForReadyRead(200);
        number += m_server.readAllStandardOutput();
    }
    if (!number.endsWith('\n'))
        return QStringLiteral("the X server names no display");
    m_display = QLatin1Char(':') + QString::fromLatin1(number.trimmed());

    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("DISPLAY"), m_display);
    m_windowManager.setProcessEnvironment(environment);
    m_windowManager.setStandardErrorFile(QProcess::nullDevice());
    m_windowManager.start(QStringLiteral("openbox"), {QStringLiteral("--sm-disable")});
    if (!m_windowManager.waitForStarted())
        return QStringLiteral("the window manager does not start");
    // It answers for its desktops once it manages the screen; a window that came before would be moved by it.
    QElapsedTimer clock;
    clock.start();
    while (!clock.hasExpired(20000)) {
        QProcess question;
        question.setProcessEnvironment(environment);
        question.setStandardErrorFile(QProcess::nullDevice());
        question.start(QStringLiteral("xdotool"), {QStringLiteral("get_desktop")});
        if (question.waitForFinished(5000) && question.exitCode() == 0)
            return QString();
        QThread::msleep(50);
    }
    return QStringLiteral("the window manager does not take the screen");
}

QString RealScreen::run(const QString &role, int milliseconds) const
{
    ChildDesk child(role);
    child.setEnvironment(QStringLiteral("DISPLAY"), m_display);
    child.setEnvironment(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
    child.setEnvironment(QStringLiteral("LC_ALL"), QStringLiteral("C.UTF-8"));
    if (!child.start())
        return QStringLiteral("the child does not start");
    const bool good = child.finish(milliseconds);
    child.kill();
    const QByteArray output = child.output();
    std::fwrite(output.constData(), 1, size_t(output.size()), stdout);
    std::fflush(stdout);
    if (!output.contains("\nTotals: "))
        return QStringLiteral("the child broke off");
    return good ? QString() : QStringLiteral("not everything works under a pointer");
}

bool Hand::xdotool(const QStringList &orders)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    process.start(QStringLiteral("xdotool"), orders);
    return process.waitForFinished(10000) && process.exitCode() == 0;
}

bool Hand::moveTo(const QPoint &global)
{
    return xdotool({QStringLiteral("mousemove"), QString::number(global.x()), QString::number(global.y())});
}

bool Hand::press()
{
    return xdotool({QStringLiteral("mousedown"), QStringLiteral("1")});
}

bool Hand::release()
{
    return xdotool({QStringLiteral("mouseup"), QStringLiteral("1")});
}

QString Hand::perform(const QVector<Step> &steps)
{
    constexpr int Patience = 10000;
    QString wrong;
    int at = 0;
    bool moved = false;
    bool done = steps.isEmpty();
    QElapsedTimer clock;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, &timer, [&] {
        if (done)
            return;
        const Step &step = steps.at(at);
        if (!moved) {
            moved = true;
            clock.start();
            if (step.move && !step.move())
                wrong = QString::fromUtf8(step.name) + QLatin1String(": the hand does not obey");
        } else if (!step.seen || step.seen()) {
            moved = false;
            ++at;
        } else if (clock.hasExpired(Patience)) {
            wrong = QString::fromUtf8(step.name) + QLatin1String(": nothing of it is seen");
        }
        done = !wrong.isEmpty() || at == steps.size();
        if (!wrong.isEmpty())
            release();
    });
    timer.start(5);
    if (!QTest::qWaitFor([&] { return done; }, Patience * (steps.size() + 1)) && wrong.isEmpty())
        wrong = QStringLiteral("the hand was stopped");
    return wrong;
}
