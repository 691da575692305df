#include "common/openloops.h"

#include <QCoreApplication>
#include <QDialog>
#include <QDrag>
#include <QEvent>
#include <QMenu>

#include <memory>

void OpenLoops::end(QDialog *dialog)
{
    dialog->reject();
    dialog->setParent(nullptr);
    loops.append(dialog);
}

void OpenLoops::endDrags(const QWidget &root)
{
    // One that has come back already only waits for its deletion.
    const QList<QDrag *> begun = root.findChildren<QDrag *>();
    for (QDrag *drag : begun)
        QCoreApplication::sendPostedEvents(drag, QEvent::DeferredDelete);
    const QList<QDrag *> drags = root.findChildren<QDrag *>();
    // A drag whose source goes down never ends by itself.
    if (!drags.isEmpty())
        QDrag::cancel();
    for (QDrag *drag : drags) {
        drag->setParent(nullptr);
        loops.append(drag);
    }
}

void OpenLoops::closeActionMenus(const QWidget &root)
{
    const QList<QMenu *> menus = root.findChildren<QMenu *>();
    for (QMenu *menu : menus) {
        if (menu->parentWidget()->contextMenuPolicy() != Qt::ActionsContextMenu)
            continue;
        menu->hide();
        menu->setParent(nullptr, menu->windowFlags());
    }
}

void OpenLoops::keep(QWidget *widget) const
{
    widget->hide();
    if (widget->parentWidget())
        widget->setParent(nullptr);
    // Not deleted later right here: that would be done as soon as the innermost loop has come back.
    const std::shared_ptr<QWidget> kept(widget, [](QWidget *last) { last->deleteLater(); });
    for (const QObject *loop : loops)
        QObject::connect(loop, &QObject::destroyed, loop, [held = kept]() mutable { held.reset(); });
}
