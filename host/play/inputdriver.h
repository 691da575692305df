#ifndef INPUTDRIVER_H
#define INPUTDRIVER_H

#include <QObject>
#include <QPoint>
#include <QQueue>

#include <functional>

class QWidget;
class QWindow;

/// Moves the mouse and presses keys the way a hand does: one gesture after the other, with a pause and a repaint
/// between them, each from the event loop. A gesture that opens a dialog therefore does not hold up the next ones.
class InputDriver : public QObject
{
    Q_OBJECT

public:
    explicit InputDriver(QObject *parent = nullptr);

    /// Gestures are still waiting to begin.
    bool isBusy() const { return m_scheduled || m_dragging; }

    void click(QWidget *widget, QPoint pos, Qt::MouseButton button = Qt::LeftButton,
               Qt::KeyboardModifiers modifiers = Qt::NoModifier);
    void doubleClick(QWidget *widget, QPoint pos);
    /// Drags by the pointer of the X screen itself, in small steps: no platform of Qt takes a drag out of events that were
    /// made up. `finished` hears whether the pointer could be moved; without an X screen it can't.
    void drag(QWidget *source, QPoint from, QWidget *target, QPoint to, const std::function<void(bool)> &finished);
    void key(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
    void text(const QString &text);
    void call(const std::function<void()> &work);

private:
    struct Gesture
    {
        int delayMs;
        std::function<void()> run;
    };

    void enqueue(int delayMs, const std::function<void()> &run);
    void scheduleNext();
    void runNext();
    void move(QWidget *widget, QPoint pos);
    void typeKey(Qt::Key key, const QString &text, Qt::KeyboardModifiers modifiers);
    static QWindow *keyWindow();

    QQueue<Gesture> m_gestures;
    bool m_scheduled = false;
    bool m_dragging = false;
};

#endif // INPUTDRIVER_H
