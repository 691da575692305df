#ifndef DESKTEST_H
#define DESKTEST_H

#include "modal.h"
#include "temptrack.h"

#include <QApplication>
#include <QByteArray>
#include <QProcess>
#include <QStringList>
#include <QtTest>

#include <functional>

/// The test program started a second time, as a child that runs one of the roles of its main. The child works on the
/// track that HOME points to, writes lines to its standard output and may be killed at any moment.
class ChildDesk
{
public:
    explicit ChildDesk(const QString &role, const QStringList &arguments = {});
    /// Kills the child if it still runs.
    ~ChildDesk();
    Q_DISABLE_COPY(ChildDesk)

    /// Puts a variable into the child's environment; before start().
    void setEnvironment(const QString &name, const QString &value);
    /// Preloads a false clock, which follows the file: it holds an offset ("+90") or a local time at which the clock stands
    /// ("2026-03-10 12:00:00"). The clock of the timers is a false one too only on demand. False without the library.
    bool fakeClock(const QString &file, bool timersToo = false);
    bool start();
    /// Waits until the child has written that line; lines before it are kept in output().
    bool waitForLine(const QByteArray &line, int milliseconds = 30000);
    /// SIGKILL.
    void kill();
    /// Waits for the orderly end of the child; true when its exit code was 0.
    bool finish(int milliseconds = 60000);
    /// Everything that the child has written so far, on both channels.
    QByteArray output();
    QProcess &process() { return m_process; }

    /// In the child: writes one line and flushes it.
    static void say(const QByteArray &line);

private:
    QProcess m_process;
    QProcessEnvironment m_environment;
    QByteArray m_output;
};

/// Runs the test class, or a child role when the program was started by ChildDesk. The role function gets the role and
/// its arguments and returns the exit code.
int deskTestMain(int argc, char **argv, const std::function<QObject *()> &makeTest,
                 const std::function<int(const QString &, const QStringList &)> &runChild = {});

/// main of a test program that works with a desk.
#define DESK_TEST_MAIN(TestClass) \
    int main(int argc, char **argv) \
    { \
        return deskTestMain(argc, argv, [] { return new TestClass; }); \
    }

/// The same for a program that has child roles.
#define DESK_TEST_MAIN_WITH_CHILD(TestClass, runChild) \
    int main(int argc, char **argv) \
    { \
        return deskTestMain( \
            argc, argv, [] { return new TestClass; }, runChild); \
    }

#endif // DESKTEST_H
