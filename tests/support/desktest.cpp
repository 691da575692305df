#include "desktest.h"

#include <QElapsedTimer>
#include <QFile>

#include <cstdio>

ChildDesk::ChildDesk(const QString &role, const QStringList &arguments)
    : m_environment(QProcessEnvironment::systemEnvironment())
{
    m_process.setProgram(QCoreApplication::applicationFilePath());
    m_process.setArguments(QStringList{QStringLiteral("--child"), role} + arguments);
    m_process.setProcessChannelMode(QProcess::MergedChannels);
}

ChildDesk::~ChildDesk()
{
    kill();
}

void ChildDesk::setEnvironment(const QString &name, const QString &value)
{
    m_environment.insert(name, value);
}

bool ChildDesk::fakeClock(const QString &file, bool timersToo)
{
    const QStringList folders{QStringLiteral("/usr/lib/x86_64-linux-gnu/faketime"),
                              QStringLiteral("/usr/lib/aarch64-linux-gnu/faketime"),
                              QStringLiteral("/usr/lib/faketime")};
    for (const QString &folder : folders) {
        const QString library = folder + QLatin1String("/libfaketimeMT.so.1");
        if (!QFile::exists(library))
            continue;
        setEnvironment(QStringLiteral("LD_PRELOAD"), library);
        setEnvironment(QStringLiteral("FAKETIME_TIMESTAMP_FILE"), file);
        setEnvironment(QStringLiteral("FAKETIME_NO_CACHE"), QStringLiteral("1"));
        if (!timersToo) {
            setEnvironment(QStringLiteral("FAKETIME_DONT_FAKE_MONOTONIC"), QStringLiteral("1"));
            setEnvironment(QStringLiteral("DONT_FAKE_MONOTONIC"), QStringLiteral("1"));
        }
        return true;
    }
    return false;
}

bool ChildDesk::start()
{
    m_process.setProcessEnvironment(m_environment);
    m_process.start();
    return m_process.waitForStarted();
}

bool ChildDesk::waitForLine(const QByteArray &line, int milliseconds)
{
    QElapsedTimer clock;
    clock.start();
    while (!output().startsWith(line + '\n') && !m_output.contains('\n' + line + '\n')) {
        if (clock.hasExpired(milliseconds) || m_process.state() == QProcess::NotRunning)
            return false;
        m_process.waitForReadyRead(100);
    }
    return true;
}

void ChildDesk::kill()
{
    if (m_process.state() == QProcess::NotRunning)
        return;
    m_process.kill();
    m_process.waitForFinished();
}

bool ChildDesk::finish(int milliseconds)
{
    if (m_process.state() != QProcess::NotRunning && !m_process.waitForFinished(milliseconds))
        return false;
    return m_process.exitStatus() == QProcess::NormalExit && m_process.exitCode() == 0;
}

QByteArray ChildDesk::output()
{
    m_output += m_process.readAll();
    return m_output;
}

void ChildDesk::say(const QByteArray &line)
{
    std::fwrite(line.constData(), 1, size_t(line.size()), stdout);
    std::fputc('\n', stdout);
    std::fflush(stdout);
}

int deskTestMain(int argc, char **argv, const std::function<QObject *()> &makeTest,
                 const std::function<int(const QString &, const QStringList &)> &runChild)
{
    TempTrack::isolateProcess();
    QApplication app(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() >= 3 && arguments.at(1) == QLatin1String("--child"))
        return runChild ? runChild(arguments.at(2), arguments.mid(3)) : 2;

    const UnexpectedModalGuard guard;
    const std::unique_ptr<QObject> test(makeTest());
    const int failures = QTest::qExec(test.get(), argc, argv);
    return guard.closed().isEmpty() ? failures : failures + 1;
}
