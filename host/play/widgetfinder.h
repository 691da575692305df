#ifndef WIDGETFINDER_H
#define WIDGETFINDER_H

#include <QCoreApplication>
#include <QModelIndex>
#include <QString>

class QAbstractButton;
class QAbstractItemView;
class QAction;
class QWidget;

/// Finds what a script names among the widgets of the process.
class WidgetFinder
{
    Q_DECLARE_TR_FUNCTIONS(WidgetFinder)

public:
    enum Which { Visible, AlsoHidden };

    /// A widget by its object name, looked for in the open popup, then in the open dialog, then everywhere. "a/b" is b
    /// inside a; ".QClass" goes by the class; "a/#2" is the widget that stands in row 2 of the view a. @window, @modal,
    /// @popup and @focus are the obvious ones. Null with a sentence in `error` when there is none, or more than one.
    static QWidget *widget(const QString &path, QString *error, Which which = Visible);
    static QAbstractItemView *view(const QString &path, QString *error);
    static QAction *action(const QString &name, QString *error);
    /// A button of the open dialog by its standard name ("Yes"), its object name or its caption.
    static QAbstractButton *dialogButton(const QString &name, QString *error);

    /// A cell. Rows are "2", "0/1" for the second child of the first, or "KEY~text" for the row whose column KEY
    /// contains the text. Columns go by number, by column key or by caption.
    static QModelIndex cell(const QAbstractItemView *view, const QString &row, const QString &column, QString *error);
    /// The row's first cell; an empty text is the root.
    static QModelIndex row(const QAbstractItemView *view, const QString &row, QString *error);
};

#endif // WIDGETFINDER_H
