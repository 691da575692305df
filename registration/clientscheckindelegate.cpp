#include "registration/clientscheckindelegate.h"

#include "prices/pricerules.h"
#include "prices/pricesmodel.h"
#include "registration/clientscheckinlist.h"
#include "registration/tables/qeditabletreeview.h"

#include <QApplication>
#include <QComboBox>
#include <QFontMetrics>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPainter>
#include <QPersistentModelIndex>
#include <QPushButton>
#include <QStyleOptionButton>

#include <algorithm>

namespace {

constexpr int NoSale = -1;
constexpr char PopupShown[] = "popupShown";

void disable(QStyleOptionButton &button)
{
    button.state &= ~QStyle::State_Enabled;
    button.palette.setCurrentColorGroup(QPalette::Disabled);
}

/// The widest of `font` and its smaller sizes in which `text` fits into `width` pixels; never below 6 points, where it
/// would not be read any more. The columns are narrow, and a cut caption is a wrong caption.
QFont fittingFont(QFont font, const QString &text, int width)
{
    constexpr qreal Smallest = 6.0;
    constexpr qreal Step = 0.5;
    while (font.pointSizeF() - Step >= Smallest && QFontMetrics(font).horizontalAdvance(text) > width)
        font.setPointSizeF(font.pointSizeF() - Step);
    return font;
}

/// The sales that a cashier chooses from. It keeps the price items that it was opened with: settings that are accepted
/// meanwhile must not sell him anything but what he sees. Without a meta-object of its own it is laid out like any combo.
class SalesCombo : public QComboBox
{
public:
    using QComboBox::QComboBox;

    void addSale(const PriceItem &item)
    {
        addItem(item.salesItem, item.id);
        items.append(item);
    }

    /// The price item of a row, or null for a row without one.
    const PriceItem *sale(int row) const
    {
        const int id = itemData(row).toInt();
        const auto found =
            std::find_if(items.cbegin(), items.cend(), [id](const PriceItem &item) { return item.id == id; });
        return row < 1 || found == items.cend() ? nullptr : &*found;
    }

private:
    QList<PriceItem> items;
};

} // namespace

ClientsCheckInDelegate::ClientsCheckInDelegate(QObject *parent)
    : GridDelegate(parent)
    , activeStyle(QStringLiteral("background-color:green"))
    , styleButton(std::make_unique<QPushButton>())
{
    styleButton->setFixedSize(100, 32);
}

ClientsCheckInDelegate::~ClientsCheckInDelegate() = default;

void ClientsCheckInDelegate::setModel(ClientsCheckInList *list)
{
    model = list;
}

void ClientsCheckInDelegate::setPrices(PricesModel *priceBook)
{
    prices = priceBook;
}

QSize ClientsCheckInDelegate::sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    QSize size = GridDelegate::sizeHint(option, index);
    size.setHeight(size.height() * 4 / 3);
    return size;
}

void ClientsCheckInDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option,
                                   const QModelIndex &index) const
{
    GridDelegate::paint(painter, option, index);
    const CheckInItem *item = model ? model->itemAt(index) : nullptr;
    if (!item)
        return;
    const QString key = index.data(Qt::UserRole).toString();
    if (key == QLatin1String("PAYSTATE")) {
        if (!item->parent)
            paintPayState(painter, option, index);
    } else if (key == QLatin1String("SAFETY")) {
        // The family signs one safety form, the racer's.
        if (!item->parent)
            paintButton(painter, option, index, key);
    } else if (key == QLatin1String("TICKET") || key == QLatin1String("ENQUEUE") || key == QLatin1String("NFCTAG")) {
        paintButton(painter, option, index, key);
    }
}

bool ClientsCheckInDelegate::isHovered(const QStyleOptionViewItem &option) const
{
    return option.rect.contains(mousePos) && option.state.testFlag(QStyle::State_MouseOver);
}

int ClientsCheckInDelegate::pressState(const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    if (isHovered(option))
        return index.data(ClientsCheckInList::ButtonStateRole).toInt();
    // The mouse left the cell: what was pressed there is not pressed any more, and its release is no click.
    model->setData(index, 0, ClientsCheckInList::ButtonStateRole);
    return 0;
}

void ClientsCheckInDelegate::paintButton(QPainter *painter, const QStyleOptionViewItem &option,
                                         const QModelIndex &index, const QString &key) const
{
    const CheckInItem &item = *model->itemAt(index);
    QStyleOptionButton button;
    button.palette = option.palette;
    button.direction = option.direction;
    button.state = QStyle::State_Enabled | QStyle::State(pressState(option, index));
    if (isHovered(option))
        button.state |= QStyle::State_MouseOver;
    styleButton->setEnabled(true);

    if (key == QLatin1String("TICKET") || key == QLatin1String("ENQUEUE")) {
        if (!item.payState || item.salesItem.isEmpty()) {
            disable(button);
            styleButton->setEnabled(false);
        }
        if (item.parent && item.parent->payState) {
            button.state |= QStyle::State_Enabled;
            button.palette.setCurrentColorGroup(QPalette::Active);
            styleButton->setEnabled(true);
        }
    }
    if (item.enqueued) {
        disable(button);
        styleButton->setEnabled(false);
    }

    button.rect = option.rect.adjusted(1, 1, -1, -1);
    if (key == QLatin1String("ENQUEUE"))
        button.text = tr("В очередь");
    else if (key == QLatin1String("NFCTAG"))
        button.text = index.data(Qt::DisplayRole).toString();
    else
        button.text = tr("Печать");

    const bool active = (key == QLatin1String("NFCTAG") && !item.nfcUid.isEmpty())
                        || (key == QLatin1String("SAFETY") && item.validSafetyAgreement);
    const QString sheet = active ? activeStyle : QString();
    if (styleButton->styleSheet() != sheet)
        styleButton->setStyleSheet(sheet);
    styleButton->setFixedSize(button.rect.size());
    painter->save();
    painter->setFont(fittingFont(option.font, button.text, button.rect.width() - 4));
    button.fontMetrics = QFontMetrics(painter->font());
    styleButton->style()->drawControl(QStyle::CE_PushButton, &button, painter, styleButton.get());
    painter->restore();
}

void ClientsCheckInDelegate::paintPayState(QPainter *painter, const QStyleOptionViewItem &option,
                                           const QModelIndex &index) const
{
    const CheckInItem &item = *model->itemAt(index);
    QStyleOptionButton box;
    box.palette = option.palette;
    box.direction = option.direction;
    box.rect = option.rect.adjusted(4, 1, -1, -1);
    box.state = QStyle::State_Enabled;
    pressState(option, index);
    if (isHovered(option))
        box.state |= QStyle::State_MouseOver;
    if (item.payState) {
        box.state |= QStyle::State_On;
        box.text = tr("Оплачен");
    } else {
        box.state |= QStyle::State_Off;
        box.text = tr("Не оплачен");
    }
    const QVariant foreground = index.data(Qt::ForegroundRole);
    if (foreground.isValid())
        box.palette.setBrush(QPalette::All, QPalette::WindowText, foreground.value<QBrush>());
    else if (option.state.testFlag(QStyle::State_Selected))
        box.palette.setBrush(QPalette::All, QPalette::WindowText, option.palette.highlightedText());
    if (item.enqueued)
        disable(box);
    const QStyle *style = QApplication::style();
    const int indicator =
        style->pixelMetric(QStyle::PM_IndicatorWidth) + style->pixelMetric(QStyle::PM_CheckBoxLabelSpacing) + 2;
    painter->save();
    painter->setFont(fittingFont(option.font, box.text, box.rect.width() - indicator));
    box.fontMetrics = QFontMetrics(painter->font());
    style->drawControl(QStyle::CE_CheckBox, &box, painter);
    painter->restore();
}

QWidget *ClientsCheckInDelegate::createEditor(QWidget *parent, const QStyleOptionViewItem &option,
                                              const QModelIndex &index) const
{
    if (!index.isValid() || !model)
        return GridDelegate::createEditor(parent, option, index);
    if (!model->itemAt(index))
        return nullptr;
    const QString key = index.data(Qt::UserRole).toString();
    if (key == QLatin1String("SALES_ITEM"))
        return createSalesEditor(parent, index);
    if (key == QLatin1String("DISCOUNT"))
        return createDiscountEditor(parent, index);
    if (key == QLatin1String("PAYMETHOD"))
        return createPayMethodEditor(parent, index);
    return GridDelegate::createEditor(parent, option, index);
}

void ClientsCheckInDelegate::closeCombo(QComboBox *combo)
{
    // Hiding the editor takes its focus away, and with it the view commits and deletes it.
    const QPointer<QWidget> parent(combo->parentWidget());
    combo->close();
    if (parent)
        parent->setFocus(Qt::OtherFocusReason);
}

QWidget *ClientsCheckInDelegate::createSalesEditor(QWidget *parent, const QModelIndex &index) const
{
    auto combo = std::make_unique<SalesCombo>(parent);
    combo->addItem(QStringLiteral("--"), NoSale);
    if (prices) {
        const QList<PriceItem> items = prices->currentPriceItems();
        for (const PriceItem &item : items) {
            const bool carMissing = !item.model.isEmpty() && model->availableCars(item.model) < 1;
            if (item.sum > 0.0 && !item.salesItem.isEmpty() && !carMissing)
                combo->addSale(item);
        }
    }
    combo->setCurrentIndex(
        qMax(0, combo->findText(model->itemAt(index)->salesItem, Qt::MatchFixedString | Qt::MatchCaseSensitive)));
    SalesCombo *editor = combo.get();
    connect(editor, QOverload<int>::of(&QComboBox::activated), this,
            [this, editor, cell = QPersistentModelIndex(index)](int row) {
                const QPointer<QComboBox> guard(editor);
                CheckInItem *item = model ? model->itemAt(cell) : nullptr;
                const PriceItem *price = prices ? editor->sale(row) : nullptr;
                if (item && price) {
                    item->salesItem = price->salesItem;
                    item->salesId = price->id;
                    model->applyPrice(*item, *price);
                }
                if (guard)
                    closeCombo(editor);
            });
    return combo.release();
}

QWidget *ClientsCheckInDelegate::createDiscountEditor(QWidget *parent, const QModelIndex &index) const
{
    auto combo = std::make_unique<QComboBox>(parent);
    combo->setEditable(true);
    // No completion: who types 5 wants 5 %, not the 50 % that the list holds.
    combo->setCompleter(nullptr);
    combo->addItem(QStringLiteral("--"));
    if (prices) {
        for (const DiscountItem &discount : qAsConst(prices->discounts))
            combo->addItem(PriceRules::discountText(discount));
    }
    const int current = combo->findText(model->itemAt(index)->discountValue);
    if (current != -1)
        combo->setCurrentIndex(current);
    QComboBox *editor = combo.get();
    const QPointer<QEditableTreeView> view(
        qobject_cast<QEditableTreeView *>(parent ? parent->parentWidget() : nullptr));
    connect(editor->lineEdit(), &QLineEdit::returnPressed, editor, [editor, view] {
        // The Return that ends this editor goes on to the view, where it would open the editor again.
        if (view)
            view->setSkipEdit(true);
        closeCombo(editor);
    });
    connect(editor, QOverload<int>::of(&QComboBox::activated), editor, [editor] { closeCombo(editor); });
    return combo.release();
}

QWidget *ClientsCheckInDelegate::createPayMethodEditor(QWidget *parent, const QModelIndex &index) const
{
    auto combo = std::make_unique<QComboBox>(parent);
    if (prices)
        combo->addItems(prices->payMethods);
    const int current = combo->findText(model->itemAt(index)->payMethod);
    if (current != -1)
        combo->setCurrentIndex(current);
    QComboBox *editor = combo.get();
    connect(editor, QOverload<int>::of(&QComboBox::activated), editor, [editor] { closeCombo(editor); });
    return combo.release();
}

void ClientsCheckInDelegate::setModelData(QWidget *editor, QAbstractItemModel *target, const QModelIndex &index) const
{
    auto *combo = qobject_cast<QComboBox *>(editor);
    if (!index.isValid() || !model || !combo) {
        GridDelegate::setModelData(editor, target, index);
        return;
    }
    // What the list says to the world below may take this very line away.
    const QPersistentModelIndex cell(index);
    const QPointer<QWidget> guard(editor);
    const QString key = index.data(Qt::UserRole).toString();
    if (key == QLatin1String("SALES_ITEM")) {
        const auto *sales = dynamic_cast<const SalesCombo *>(combo);
        const PriceItem *price = prices && sales ? sales->sale(sales->currentIndex()) : nullptr;
        model->setSalesItem(price ? *price : PriceItem(), cell);
        model->publish();
        return;
    }
    if (key == QLatin1String("DISCOUNT")) {
        const QString text = combo->currentText();
        model->setDiscount(text.isEmpty() ? QString() : text, cell);
        model->publish();
    } else if (key == QLatin1String("PAYMETHOD")) {
        if (combo->currentIndex() != -1)
            model->setPayMethod(combo->currentText(), cell);
        model->publish();
    }
    if (cell.isValid() && guard)
        GridDelegate::setModelData(editor, target, cell);
}

void ClientsCheckInDelegate::updateEditorGeometry(QWidget *editor, const QStyleOptionViewItem &option,
                                                  const QModelIndex &index) const
{
    GridDelegate::updateEditorGeometry(editor, option, index);
    if (qstrcmp(editor->metaObject()->className(), "QComboBox") != 0)
        return;
    auto *combo = static_cast<QComboBox *>(editor);
    combo->setMaxVisibleItems(10);
    // Every change of the list lays its editors out anew; a cashier who is typing by then must not get the popup again.
    if (combo->property(PopupShown).toBool())
        return;
    combo->setProperty(PopupShown, true);
    combo->showPopup();
}

bool ClientsCheckInDelegate::editorEvent(QEvent *event, QAbstractItemModel *target, const QStyleOptionViewItem &option,
                                         const QModelIndex &index)
{
    const QPersistentModelIndex cell(index);
    const QString key = index.data(Qt::UserRole).toString();
    switch (event->type()) {
    case QEvent::MouseMove:
        mousePos = static_cast<QMouseEvent *>(event)->pos();
        break;
    case QEvent::MouseButtonPress:
        target->setData(index, static_cast<int>(QStyle::State_Sunken), ClientsCheckInList::ButtonStateRole);
        Q_EMIT target->dataChanged(index, index);
        break;
    case QEvent::MouseButtonRelease: {
        const bool handled = GridDelegate::editorEvent(event, target, option, index);
        const int state = index.data(ClientsCheckInList::ButtonStateRole).toInt();
        target->setData(index, 0, ClientsCheckInList::ButtonStateRole);
        GridDelegate::editorEvent(event, target, option, index);
        Q_EMIT target->dataChanged(index, index);
        if ((state & QStyle::State_Sunken) && cell.isValid())
            Q_EMIT itemClicked(cell, key);
        return handled;
    }
    case QEvent::MouseButtonDblClick:
        if (key == QLatin1String("POS") || key == QLatin1String("NAME"))
            Q_EMIT doubleClicked(index);
        break;
    default:
        break;
    }
    if (!cell.isValid())
        return false;
    return GridDelegate::editorEvent(event, target, option, cell);
}
