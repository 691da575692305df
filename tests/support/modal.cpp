#include "modal.h"

#include <QAction>
#include <QApplication>
#include <QDialog>
#include <QEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QPushButton>

namespace {

QWidget *activeModal()
{
    if (QWidget *popup = QApplication::activePopupWidget())
        return popup;
    return QApplication::activeModalWidget();
}

QString describe(const QWidget *widget)
{
    const auto *box = qobject_cast<const QMessageBox *>(widget);
    return QStringLiteral("%1 \"%2\"%3")
        .arg(QString::fromLatin1(widget->metaObject()->className()), widget->windowTitle(),
             box ? QStringLiteral(" with the text \"%1\"").arg(box->text()) : QString());
}

/// Forgets a widget when it closes: the same menu may open again for the next answer.
class HideWatcher : public QObject
{
public:
    HideWatcher(QWidget *widget, const std::function<void()> &hidden)
        : QObject(widget)
        , m_hidden(hidden)
    {
        widget->installEventFilter(this);
    }

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (watched == parent() && event->type() == QEvent::Hide) {
            m_hidden();
            deleteLater();
        }
        return QObject::eventFilter(watched, event);
    }

private:
    std::function<void()> m_hidden;
};

void closeByForce(QWidget *widget)
{
    if (auto *dialog = qobject_cast<QDialog *>(widget))
        dialog->reject();
    else
        widget->close();
}

} // namespace

struct ModalAnswer::State
{
    std::function<QString(QWidget *)> work;
    QTimer timer;
    QPointer<QWidget> taken;
    bool came = false;
    QString error;

    static QList<State *> &waiting()
    {
        static QList<State *> list;
        return list;
    }

    static QList<QPointer<QWidget>> &takenWidgets()
    {
        static QList<QPointer<QWidget>> list;
        return list;
    }

    static bool isTaken(QWidget *widget) { return takenWidgets().contains(QPointer<QWidget>(widget)); }

    void look()
    {
        if (came || waiting().first() != this)
            return;
        QWidget *widget = activeModal();
        if (!widget || !widget->isVisible() || isTaken(widget))
            return;
        came = true;
        timer.stop();
        waiting().removeOne(this);
        taken = widget;
        takenWidgets().removeAll(QPointer<QWidget>());
        takenWidgets().append(taken);
        new HideWatcher(widget, [widget] { takenWidgets().removeOne(QPointer<QWidget>(widget)); });
        error = work(widget);
        if (!taken || !taken->isVisible())
            return;
        if (error.isEmpty())
            error = QStringLiteral("%1 stayed open after its answer").arg(describe(taken));
        closeByForce(taken);
    }
};

ModalAnswer::ModalAnswer(const std::function<QString(QWidget *)> &work)
    : m_state(std::make_shared<State>())
{
    m_state->work = work;
    State::waiting().append(m_state.get());
    State *state = m_state.get();
    QObject::connect(&state->timer, &QTimer::timeout, &state->timer, [state] { state->look(); });
    state->timer.start(10);
}

ModalAnswer::~ModalAnswer()
{
    if (m_state)
        State::waiting().removeOne(m_state.get());
}

ModalAnswer ModalAnswer::messageBox(const QString &title, const QString &text, QMessageBox::StandardButtons buttons,
                                    QMessageBox::StandardButton answer)
{
    return ModalAnswer([=](QWidget *widget) -> QString {
        auto *box = qobject_cast<QMessageBox *>(widget);
        if (!box)
            return QStringLiteral("%1 instead of a message box").arg(describe(widget));
        if (box->windowTitle() != title || box->text() != text)
            return QStringLiteral("%1 instead of \"%2\" with the text \"%3\"").arg(describe(box), title, text);
        if (box->standardButtons() != buttons)
            return QStringLiteral("%1: buttons 0x%2 instead of 0x%3")
                .arg(describe(box))
                .arg(int(box->standardButtons()), 0, 16)
                .arg(int(buttons), 0, 16);
        if (!box->button(answer))
            return QStringLiteral("%1 has no such button to answer with").arg(describe(box));
        box->button(answer)->click();
        return {};
    });
}

ModalAnswer ModalAnswer::dialog(const QString &title, const std::function<void(QDialog *)> &work)
{
    return ModalAnswer([=](QWidget *widget) -> QString {
        auto *dialog = qobject_cast<QDialog *>(widget);
        if (!dialog || dialog->windowTitle() != title)
            return QStringLiteral("%1 instead of a dialog \"%2\"").arg(describe(widget), title);
        work(dialog);
        return {};
    });
}

ModalAnswer ModalAnswer::menu(const QStringList &entries, const QString &choice)
{
    return ModalAnswer([=](QWidget *widget) -> QString {
        auto *menu = qobject_cast<QMenu *>(widget);
        if (!menu)
            return QStringLiteral("%1 instead of a menu").arg(describe(widget));
        QStringList found;
        QAction *chosen = nullptr;
        const QList<QAction *> actions = menu->actions();
        for (QAction *action : actions) {
            if (action->isSeparator())
                continue;
            found.append(action->text());
            if (action->text() == choice)
                chosen = action;
        }
        if (found != entries)
            return QStringLiteral("menu entries \"%1\" instead of \"%2\"")
                .arg(found.join(QStringLiteral("\", \"")), entries.join(QStringLiteral("\", \"")));
        if (choice.isEmpty()) {
            menu->close();
            return {};
        }
        if (!chosen)
            return QStringLiteral("no menu entry \"%1\"").arg(choice);
        menu->setActiveAction(chosen);
        QKeyEvent press(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier);
        QApplication::sendEvent(menu, &press);
        return {};
    });
}

ModalAnswer ModalAnswer::widget(const std::function<void(QWidget *)> &work)
{
    return ModalAnswer([=](QWidget *widget) -> QString {
        work(widget);
        return {};
    });
}

bool ModalAnswer::isTaken(QWidget *widget)
{
    return State::isTaken(widget);
}

bool ModalAnswer::answered() const
{
    return m_state->came && m_state->error.isEmpty();
}

QString ModalAnswer::error() const
{
    return m_state->came ? m_state->error : QStringLiteral("no dialog appeared");
}

UnexpectedModalGuard::UnexpectedModalGuard()
{
    QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] { check(); });
    m_timer.start(200);
}

void UnexpectedModalGuard::check()
{
    QWidget *widget = activeModal();
    if (!widget || ModalAnswer::isTaken(widget)) {
        m_suspect.clear();
        return;
    }
    m_seen = widget == m_suspect ? m_seen + 1 : 0;
    m_suspect = widget;
    if (m_seen < 10)
        return;
    m_closed.append(describe(widget));
    qWarning("unexpected modal widget: %s", qPrintable(m_closed.last()));
    closeByForce(widget);
}
