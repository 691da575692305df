#include "registration/tables/griddelegate.h"

#include <QPainter>
#include <QWidget>

GridDelegate::GridDelegate(QObject *parent)
    : QStyledItemDelegate(parent)
{
}

void GridDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    QStyleOptionViewItem cell(option);
    cell.state &= ~QStyle::State_HasFocus;
    QStyledItemDelegate::paint(painter, cell, index);
    painter->save();
    painter->setBrush(Qt::NoBrush);
    painter->setPen(cell.palette.color(QPalette::Midlight));
    painter->drawRect(cell.rect);
    painter->restore();
}

QWidget *GridDelegate::createEditor(QWidget *parent, const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    QWidget *editor = QStyledItemDelegate::createEditor(parent, option, index);
    // Around a spin box's arrows the cell's own text would show through.
    if (editor)
        editor->setAutoFillBackground(true);
    return editor;
}

void GridDelegate::updateEditorGeometry(QWidget *editor, const QStyleOptionViewItem &option,
                                        const QModelIndex &index) const
{
    Q_UNUSED(index)
    editor->setGeometry(option.rect);
}

void GridDelegate::initStyleOption(QStyleOptionViewItem *option, const QModelIndex &index) const
{
    QStyledItemDelegate::initStyleOption(option, index);
    option->showDecorationSelected = true;
}
