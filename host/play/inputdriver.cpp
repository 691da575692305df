#include "play/inputdriver.h"

#include <QApplication>
#include <QCursor>
#include <QPointer>
#include <QProcess>
#include <QTimer>
#include <QtTest/qtestkeyboard.h>
#include <QtTest/qtestmouse.h>
#include <QWidget>
#include <QWindow>

namespace {

// Long enough for the hover to be painted before the press, and the press before the release.
constexpr int moveMs = 10;
constexpr int settleMs = 40;
constexpr int keyMs = 5;
constexpr int dragSteps = 12;

// A window that is clicked comes to the front. Where nobody manages the windows, none is active once a dialog has
// closed, and without an active window no widget loses or gains the focus.
void activate(QWindow *window)
{
    const bool takesFocus = window->type() == Qt::Window || window->type() == Qt::Dialog;
    if (takesFocus && QGuiApplication::focusWindow() != window)
        window->requestActivate();
}

// Runs `work` with the widget's window and the point in it, if both are still there.
void onWindow(const QPointer<QWidget> &widget, QPoint pos, const std::function<void(QWindow *, QPoint)> &work)
{
    if (!widget)
        return;
    QWidget *top = widget->window();
    const QPoint inWindow = widget->mapTo(top, pos);
    if (top->windowHandle() && top->rect().contains(inWindow))
        work(top->windowHandle(), inWindow);
}

} // namespace

InputDriver::InputDriver(QObject *parent)
    : QObject(parent)
{
}

void InputDriver::click(QWidget *widget, QPoint pos, Qt::MouseButton button, Qt::KeyboardModifiers modifiers)
{
    const QPointer<QWidget> target(widget);
    move(widget, pos);
    enqueue(settleMs, [=] {
        onWindow(target, pos,
                 [=](QWindow *window, QPoint point) { QTest::mousePress(window, button, modifiers, point); });
    });
    enqueue(settleMs, [=] {
        onWindow(target, pos,
                 [=](QWindow *window, QPoint point) { QTest::mouseRelease(window, button, modifiers, point); });
    });
}

void InputDriver::doubleClick(QWidget *widget, QPoint pos)
{
    const QPointer<QWidget> target(widget);
    move(widget, pos);
    enqueue(settleMs, [=] {
        onWindow(target, pos, [](QWindow *window, QPoint point) {
            QTest::mouseDClick(window, Qt::LeftButton, Qt::NoModifier, point);
        });
    });
    enqueue(settleMs, [=] {
        onWindow(target, pos, [](QWindow *window, QPoint point) {
            QTest::mouseRelease(window, Qt::LeftButton, Qt::NoModifier, point);
        });
    });
}

void InputDriver::drag(QWidget *source, QPoint from, QWidget *target, QPoint to,
                       const std::function<void(bool)> &finished)
{
    const QPoint start = source->mapToGlobal(from);
    const QPoint way = target->mapToGlobal(to) - start;
    QStringList hand;
    const auto moveTo = [&hand](QPoint point) {
        hand << QStringLiteral("mousemove") << QString::number(point.x()) << QString::number(point.y())
             << QStringLiteral("sleep") << QStringLiteral("0.03");
    };
    moveTo(start);
    hand << QStringLiteral("mousedown") << QStringLiteral("1");
    for (int step = 1; step <= dragSteps; ++step)
        moveTo(start + way * step / dragSteps);
    // Once more on the spot: a target answers the last move with what it takes.
    moveTo(start + way + QPoint(1, 0));
    hand << QStringLiteral("sleep") << QStringLiteral("0.1") << QStringLiteral("mouseup") << QStringLiteral("1");

    m_dragging = true;
    auto *pointer = new QProcess(this);
    const auto end = [this, pointer, finished](bool ok) {
        pointer->deleteLater();
        m_dragging = false;
        finished(ok);
    };
    connect(pointer, QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished), this,
            [end](int code, QProcess::ExitStatus status) { end(status == QProcess::NormalExit && code == 0); });
    connect(pointer, &QProcess::errorOccurred, this, [end](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart)
            end(false);
    });
    pointer->start(QStringLiteral("xdotool"), hand);
}

void InputDriver::key(Qt::Key key, Qt::KeyboardModifiers modifiers)
{
    typeKey(key, QString(), modifiers);
}

void InputDriver::text(const QString &text)
{
    for (const QChar c : text)
        typeKey(static_cast<Qt::Key>(c.toUpper().unicode()), QString(c), Qt::NoModifier);
}

void InputDriver::typeKey(Qt::Key key, const QString &text, Qt::KeyboardModifiers modifiers)
{
    // Two gestures, because the window that takes the press may be gone by the release.
    for (const QTest::KeyAction action : {QTest::Press, QTest::Release}) {
        enqueue(keyMs, [=] {
            if (QWindow *window = keyWindow())
                QTest::sendKeyEvent(action, window, key, text, modifiers);
        });
    }
}

void InputDriver::call(const std::function<void()> &work)
{
    enqueue(0, work);
}

void InputDriver::move(QWidget *widget, QPoint pos)
{
    const QPointer<QWidget> target(widget);
    enqueue(moveMs, [=] {
        onWindow(target, pos, [](QWindow *window, QPoint point) {
            activate(window);
            // The pointer goes along, or the system's own idea of where it stands would disturb the hover.
            QCursor::setPos(window->mapToGlobal(point));
            QTest::mouseMove(window, point);
        });
    });
}

void InputDriver::enqueue(int delayMs, const std::function<void()> &run)
{
    m_gestures.enqueue({delayMs, run});
    if (!m_scheduled)
        scheduleNext();
}

void InputDriver::scheduleNext()
{
    m_scheduled = true;
    QTimer::singleShot(m_gestures.head().delayMs, this, &InputDriver::runNext);
}

void InputDriver::runNext()
{
    // The next gesture is scheduled before this one runs, because this one may stay in a loop of its own.
    const Gesture gesture = m_gestures.dequeue();
    m_scheduled = false;
    if (!m_gestures.isEmpty())
        scheduleNext();
    gesture.run();
}

QWindow *InputDriver::keyWindow()
{
    if (QWindow *window = QGuiApplication::focusWindow())
        return window;
    // Without a window manager nobody gives the focus away.
    QWidget *top = QApplication::activeModalWidget();
    if (!top)
        top = QApplication::activeWindow();
    if (!top && QApplication::focusWidget())
        top = QApplication::focusWidget()->window();
    if (!top)
        return nullptr;
    QApplication::setActiveWindow(top);
    return top->windowHandle();
}
