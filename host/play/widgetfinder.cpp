#include "play/widgetfinder.h"

#include <QAbstractItemView>
#include <QAction>
#include <QApplication>
#include <QDialogButtonBox>
#include <QMetaEnum>
#include <QPushButton>

namespace {

bool matches(const QWidget *widget, const QString &name)
{
    if (name.startsWith(QLatin1Char('.')))
        return name.midRef(1) == QLatin1String(widget->metaObject()->className());
    return widget->objectName() == name;
}

QWidgetList matchesBelow(QWidget *scope, const QString &name, WidgetFinder::Which which)
{
    QWidgetList found;
    QWidgetList candidates = scope->findChildren<QWidget *>();
    candidates.prepend(scope);
    for (QWidget *candidate : qAsConst(candidates)) {
        if (matches(candidate, name) && (which == WidgetFinder::AlsoHidden || candidate->isVisible()))
            found.append(candidate);
    }
    return found;
}

QWidgetList rowWidget(QWidget *scope, const QString &row)
{
    QString error;
    const auto *view = qobject_cast<QAbstractItemView *>(scope);
    const QModelIndex index = view && view->model() ? WidgetFinder::row(view, row, &error) : QModelIndex();
    QWidget *widget = index.isValid() ? view->indexWidget(index) : nullptr;
    return widget ? QWidgetList{widget} : QWidgetList();
}

QWidget *special(const QString &name)
{
    if (name == QLatin1String("@modal"))
        return QApplication::activeModalWidget();
    if (name == QLatin1String("@popup"))
        return QApplication::activePopupWidget();
    if (name == QLatin1String("@focus"))
        return QApplication::focusWidget();
    const QWidgetList tops = QApplication::topLevelWidgets();
    for (QWidget *top : tops) {
        if (top->objectName() == QLatin1String("hostWindow"))
            return top;
    }
    return nullptr;
}

QString withoutMnemonic(QString text)
{
    return text.remove(QLatin1Char('&'));
}

int columnOf(const QAbstractItemModel *model, const QModelIndex &parent, const QString &column)
{
    bool isNumber = false;
    const int number = column.toInt(&isNumber);
    const int count = model->columnCount(parent);
    if (isNumber)
        return number >= 0 && number < count ? number : -1;
    for (int i = 0; i < count; ++i) {
        if (model->index(0, i, parent).data(Qt::UserRole).toString() == column
            || model->headerData(i, Qt::Horizontal).toString() == column)
            return i;
    }
    return -1;
}

QModelIndex rowWith(const QAbstractItemModel *model, const QModelIndex &parent, const QString &column,
                    const QString &text)
{
    const int number = columnOf(model, parent, column);
    if (number < 0)
        return QModelIndex();
    for (int row = 0; row < model->rowCount(parent); ++row) {
        if (model->index(row, number, parent).data().toString().contains(text))
            return model->index(row, 0, parent);
        const QModelIndex below = rowWith(model, model->index(row, 0, parent), column, text);
        if (below.isValid())
            return below;
    }
    return QModelIndex();
}

} // namespace

QWidget *WidgetFinder::widget(const QString &path, QString *error, Which which)
{
    const QStringList names = path.split(QLatin1Char('/'));
    const QString &first = names.constFirst();
    QWidgetList found;
    if (first.startsWith(QLatin1Char('@'))) {
        if (QWidget *widget = special(first))
            found.append(widget);
    } else {
        QWidgetList scopes;
        for (QWidget *scope : {QApplication::activePopupWidget(), QApplication::activeModalWidget()}) {
            if (scope)
                scopes.append(scope);
        }
        for (QWidget *scope : qAsConst(scopes)) {
            found = matchesBelow(scope, first, which);
            if (!found.isEmpty())
                break;
        }
        if (found.isEmpty()) {
            const QWidgetList tops = QApplication::topLevelWidgets();
            for (QWidget *top : tops) {
                const QWidgetList below = matchesBelow(top, first, which);
                for (QWidget *widget : below) {
                    // A dialog is a top level of its own and a child of its parent.
                    if (!found.contains(widget))
                        found.append(widget);
                }
            }
        }
    }

    for (int i = 1; i < names.size() && found.size() == 1; ++i) {
        found = names.at(i).startsWith(QLatin1Char('#')) ? rowWidget(found.constFirst(), names.at(i).mid(1))
                                                         : matchesBelow(found.constFirst(), names.at(i), which);
    }
    if (found.size() == 1)
        return found.constFirst();
    *error = found.isEmpty() ? tr("нет виджета «%1»").arg(path)
                             : tr("виджетов «%1» несколько: %2").arg(path).arg(found.size());
    return nullptr;
}

QAbstractItemView *WidgetFinder::view(const QString &path, QString *error)
{
    QWidget *found = widget(path, error);
    if (!found)
        return nullptr;
    auto *view = qobject_cast<QAbstractItemView *>(found);
    if (!view || !view->model()) {
        *error = tr("«%1» — не таблица").arg(path);
        return nullptr;
    }
    return view;
}

QAction *WidgetFinder::action(const QString &name, QString *error)
{
    const QWidgetList tops = QApplication::topLevelWidgets();
    for (const QWidget *top : tops) {
        if (auto *action = top->findChild<QAction *>(name))
            return action;
    }
    *error = tr("нет действия «%1»").arg(name);
    return nullptr;
}

QAbstractButton *WidgetFinder::dialogButton(const QString &name, QString *error)
{
    QWidget *dialog = QApplication::activeModalWidget();
    if (!dialog) {
        *error = tr("нет открытого диалога");
        return nullptr;
    }

    const QMetaEnum names = QMetaEnum::fromType<QDialogButtonBox::StandardButtons>();
    bool isStandard = false;
    const int standard = names.keyToValue(name.toLatin1().constData(), &isStandard);
    const QList<QDialogButtonBox *> boxes = dialog->findChildren<QDialogButtonBox *>();
    for (const QDialogButtonBox *box : boxes) {
        QAbstractButton *button =
            isStandard ? box->button(static_cast<QDialogButtonBox::StandardButton>(standard)) : nullptr;
        if (button && button->isVisible())
            return button;
    }
    const QList<QAbstractButton *> buttons = dialog->findChildren<QAbstractButton *>();
    for (QAbstractButton *button : buttons) {
        if (button->isVisible() && (button->objectName() == name || withoutMnemonic(button->text()) == name))
            return button;
    }
    *error = tr("в диалоге «%1» нет кнопки «%2»").arg(dialog->windowTitle(), name);
    return nullptr;
}

QModelIndex WidgetFinder::row(const QAbstractItemView *view, const QString &row, QString *error)
{
    const QAbstractItemModel *model = view->model();
    QModelIndex index = view->rootIndex();
    const int tilde = row.indexOf(QLatin1Char('~'));
    if (tilde > 0) {
        index = rowWith(model, index, row.left(tilde), row.mid(tilde + 1));
    } else {
        const QStringList steps = row.split(QLatin1Char('/'));
        for (const QString &step : steps) {
            bool ok = false;
            index = model->index(step.toInt(&ok), 0, index);
            if (!ok || !index.isValid()) {
                index = QModelIndex();
                break;
            }
        }
    }
    if (!index.isValid())
        *error = tr("нет строки «%1»").arg(row);
    return index;
}

QModelIndex WidgetFinder::cell(const QAbstractItemView *view, const QString &row, const QString &column, QString *error)
{
    const QModelIndex first = WidgetFinder::row(view, row, error);
    if (!first.isValid())
        return first;
    const int number = columnOf(view->model(), first.parent(), column);
    if (number < 0) {
        *error = tr("нет столбца «%1»").arg(column);
        return QModelIndex();
    }
    return first.sibling(first.row(), number);
}
