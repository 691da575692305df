#ifndef REALSCREEN_H
#define REALSCREEN_H

#include <QPoint>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QVector>

#include <functional>

/// A screen of a test's own, with a window manager and a real pointer: an X server without a monitor. The desk lives in
/// a child of the test program, because a program cannot change its display once it runs.
class RealScreen
{
public:
    RealScreen() = default;
    /// Takes window manager and server down.
    ~RealScreen();
    Q_DISABLE_COPY(RealScreen)

    /// Starts both. Empty when they stand, else what is wrong.
    QString start();
    /// Runs a child role of this program there, with the test class that it executes, and prints what it wrote. Empty
    /// when everything in it passed, else what is wrong.
    QString run(const QString &role, int milliseconds) const;

private:
    QProcess m_server;
    QProcess m_windowManager;
    QString m_display;
};

/// The operator's hand on the pointer and keyboard of that screen; for the child. Nothing here runs the event loop but
/// perform().
namespace Hand {

/// Gives orders to xdotool and waits until it has passed them on. False if it refuses.
bool xdotool(const QStringList &orders);
bool moveTo(const QPoint &global);
bool press();
bool release();

/// One movement of the hand and what must be seen before the next one.
struct Step
{
    const char *name;
    std::function<bool()> move;
    std::function<bool()> seen;
};

/// Makes one movement after the other. A drag or a dialog runs a loop of its own in the middle of it; the hand goes on
/// from inside. The button is let go in any case. Empty when every step was seen within ten seconds, else the step that
/// was not.
QString perform(const QVector<Step> &steps);

} // namespace Hand

#endif // REALSCREEN_H
