#ifndef CLIENTSCHECKINDELEGATE_H
#define CLIENTSCHECKINDELEGATE_H

#include "registration/tables/griddelegate.h"

#include <QPoint>
#include <QPointer>
#include <QString>

#include <memory>

class ClientsCheckInList;
class PricesModel;
class QComboBox;
class QPushButton;

/// Draws the buttons and the payment box of the check-in list, turns the mouse on them into clicks, and opens the lists
/// of sales, discounts and payment methods. No cell holds a real widget: what is pressed stands in the model, under
/// ClientsCheckInList::ButtonStateRole. The view has to track the mouse, because a press lives only while the mouse is
/// known to be over its cell. GUI thread.
class ClientsCheckInDelegate : public GridDelegate
{
    Q_OBJECT

public:
    explicit ClientsCheckInDelegate(QObject *parent = nullptr);
    ~ClientsCheckInDelegate() override;

    /// The list whose cells are drawn. Not owned.
    void setModel(ClientsCheckInList *list);
    /// The price book behind the editors. Not owned; may be null.
    void setPrices(PricesModel *model);

    /// Row of the price types that the form has chosen.
    int currentPriceRow = 0;

    void paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override;
    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;
    QWidget *createEditor(QWidget *parent, const QStyleOptionViewItem &option, const QModelIndex &index) const override;
    void setModelData(QWidget *editor, QAbstractItemModel *target, const QModelIndex &index) const override;
    void updateEditorGeometry(QWidget *editor, const QStyleOptionViewItem &option,
                              const QModelIndex &index) const override;
    bool editorEvent(QEvent *event, QAbstractItemModel *target, const QStyleOptionViewItem &option,
                     const QModelIndex &index) override;

Q_SIGNALS:
    void doubleClicked(QModelIndex mi);
    /// A press and a release on one cell; `dataId` is the key of its column.
    void itemClicked(QModelIndex mi, QString dataId);

private:
    bool isHovered(const QStyleOptionViewItem &option) const;
    int pressState(const QStyleOptionViewItem &option, const QModelIndex &index) const;
    void paintButton(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index,
                     const QString &key) const;
    void paintPayState(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const;
    QWidget *createSalesEditor(QWidget *parent, const QModelIndex &index) const;
    QWidget *createDiscountEditor(QWidget *parent, const QModelIndex &index) const;
    QWidget *createPayMethodEditor(QWidget *parent, const QModelIndex &index) const;
    static void closeCombo(QComboBox *combo);

    const QString activeStyle;
    QPoint mousePos;
    std::unique_ptr<QPushButton> styleButton;
    QPointer<ClientsCheckInList> model;
    QPointer<PricesModel> prices;
};

#endif // CLIENTSCHECKINDELEGATE_H
