#ifndef OPENLOOPS_H
#define OPENLOOPS_H

#include <QList>

class QDialog;
class QObject;
class QWidget;

/// The dialogs and drags that are open when the desk ends. Each runs a loop of its own and stands on the stack of whoever
/// opened it, and so may the view or menu out of whose event that was. None of them may go before all have come back.
/// GUI thread.
class OpenLoops
{
public:
    /// Answers a dialog with no and takes it out of its parent. Whoever opened it deletes it.
    void end(QDialog *dialog);
    /// Cancels the drags that were begun below a widget and takes them out of their parents. Qt deletes them.
    void endDrags(const QWidget &root);
    /// Closes the menus that Qt has made of actions of widgets below this one, and takes them out of their parents. They
    /// stand on the stack as well, but nothing below them looks at the desk again.
    static void closeActionMenus(const QWidget &root);

    bool isEmpty() const { return loops.isEmpty(); }
    /// Hides a widget, takes it out of its parent and deletes it from the event loop when all have come back. Only if
    /// there are any.
    void keep(QWidget *widget) const;

private:
    QList<QObject *> loops;
};

#endif // OPENLOOPS_H
