#include "plugin/parentguard.h"

#include <QEvent>
#include <QWidget>

namespace {

/// Follows a widget from parent to parent. Lives and dies with the widget.
class ParentGuard : public QObject
{
public:
    explicit ParentGuard(QWidget *widget)
        : QObject(widget)
        , guarded(widget)
    {
        widget->installEventFilter(this);
        follow();
    }

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (watched == guarded && event->type() == QEvent::ParentChange)
            follow();
        return QObject::eventFilter(watched, event);
    }

private:
    void follow()
    {
        disconnect(connection);
        QWidget *parent = guarded->parentWidget();
        if (!parent)
            return;
        // A widget says that it goes before it takes its children along.
        connection = connect(parent, &QObject::destroyed, this, [this] { guarded->setParent(nullptr); });
    }

    QWidget *guarded;
    QMetaObject::Connection connection;
};

} // namespace

void keepFromParents(QWidget *widget)
{
    new ParentGuard(widget);
}
