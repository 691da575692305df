#ifndef MODAL_H
#define MODAL_H

#include <QMessageBox>
#include <QPointer>
#include <QString>
#include <QStringList>
#include <QTimer>
#include <QWidget>

#include <functional>
#include <memory>

class QDialog;
class QMenu;

/// Answers one modal dialog, message box or popup from inside its own loop. Make it before the action that opens the
/// dialog, and check it afterwards with MODAL_VERIFY: it fails when nothing appeared, or something else than expected.
/// Whatever appeared is closed in any case, so that a failing test does not hang. Several answers alive at once are
/// given to successive dialogs in the order in which they were made.
class ModalAnswer
{
public:
    /// A message box with that title, text and set of standard buttons; answers with one of them.
    static ModalAnswer messageBox(const QString &title, const QString &text, QMessageBox::StandardButtons buttons,
                                  QMessageBox::StandardButton answer);
    /// Any dialog with that title; the function works on it and closes it.
    static ModalAnswer dialog(const QString &title, const std::function<void(QDialog *)> &work);
    /// A popup menu with those entries, separators left out; an empty choice closes it without one.
    static ModalAnswer menu(const QStringList &entries, const QString &choice);
    /// Any popup or modal widget at all; the function works on it and closes it.
    static ModalAnswer widget(const std::function<void(QWidget *)> &work);

    ModalAnswer(ModalAnswer &&) = default;
    ~ModalAnswer();

    /// True when the dialog came, was the expected one and is closed.
    bool answered() const;
    /// What was wrong; empty when answered.
    QString error() const;
    /// True when some answer has taken this widget.
    static bool isTaken(QWidget *widget);

private:
    struct State;
    explicit ModalAnswer(const std::function<QString(QWidget *)> &work);
    std::shared_ptr<State> m_state;
};

/// Fails the test function unless the dialog appeared as expected.
#define MODAL_VERIFY(answer) QVERIFY2((answer).answered(), qPrintable((answer).error()))

/// Closes modal widgets that no ModalAnswer has taken within two seconds, so that a test with an unexpected dialog fails
/// and does not hang. One lives in main for the whole run (DESK_TEST_MAIN).
class UnexpectedModalGuard
{
public:
    UnexpectedModalGuard();
    Q_DISABLE_COPY(UnexpectedModalGuard)
    /// Titles or classes of the widgets that were closed.
    QStringList closed() const { return m_closed; }

private:
    void check();

    QTimer m_timer;
    QPointer<QWidget> m_suspect;
    int m_seen = 0;
    QStringList m_closed;
};

#endif // MODAL_H
