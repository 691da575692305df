#include "checkindesk.h"

#include "registration/clientscheckindelegate.h"
#include "registration/tables/qeditabletreeview.h"

#include "desktest.h"
#include "jsonmatch.h"

#include <QAbstractItemView>
#include <QComboBox>
#include <QImage>
#include <QLineEdit>
#include <QMetaMethod>
#include <QMouseEvent>
#include <QPainter>
#include <QProxyStyle>
#include <QPushButton>
#include <QSpinBox>
#include <QStyleFactory>
#include <QStyleOptionButton>

#include <memory>

namespace {

/// A control as the delegate handed it to the style.
struct DrawnControl
{
    QStyle::ControlElement element = QStyle::CE_CustomBase;
    QStyleOptionButton option;
    const QWidget *widget = nullptr;
    bool widgetEnabled = false;
    QSize widgetSize;

    bool has(QStyle::StateFlag flag) const { return option.state.testFlag(flag); }
    bool isDisabled() const
    {
        return !has(QStyle::State_Enabled) && option.palette.currentColorGroup() == QPalette::Disabled;
    }
};

/// The application's style, which notes the buttons and check boxes that it draws.
class NotingStyle : public QProxyStyle
{
public:
    NotingStyle()
        : QProxyStyle(QStyleFactory::create(QStringLiteral("Fusion")))
    {
    }

    void drawControl(ControlElement element, const QStyleOption *option, QPainter *painter,
                     const QWidget *widget) const override
    {
        if (element == CE_PushButton || element == CE_CheckBox) {
            DrawnControl control;
            control.element = element;
            control.option = *qstyleoption_cast<const QStyleOptionButton *>(option);
            control.widget = widget;
            control.widgetEnabled = widget && widget->isEnabled();
            control.widgetSize = widget ? widget->size() : QSize();
            drawn.append(control);
        }
        QProxyStyle::drawControl(element, option, painter, widget);
    }

    mutable QVector<DrawnControl> drawn;
};

const QRect cellRect(10, 10, 120, 40);
const QPoint inside(60, 30);
const QPoint outside(5, 5);
constexpr int sunken = QStyle::State_Sunken;

/// True when the button drawn in the cell is green, in whatever shades the style gives it.
bool isGreen(const QImage &image)
{
    const QColor color = image.pixelColor(cellRect.left() + 8, cellRect.top() + 8);
    return color.green() > color.red() + 40 && color.green() > color.blue() + 40;
}

enum class Family { Unpaid, Paid, PaidWithoutSale, Enqueued };

} // namespace

Q_DECLARE_METATYPE(Family)

/// The drawn buttons of the check-in list, its clicks and its editors.
class ClientsCheckInDelegateTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void metaObject();
    void sizeHint();

    void availability_data();
    void availability();
    void minorAvailability_data();
    void minorAvailability();
    void buttonLook_data();
    void buttonLook();
    void plainCells_data();
    void plainCells();
    void payStateLook_data();
    void payStateLook();
    void greenButtons_data();
    void greenButtons();
    void greenIsNotLeftBehind();
    void hover_data();
    void hover();
    void repaintOutsideForgetsThePress();
    void withoutModel();

    void press();
    void release();
    void releaseWithoutPress();
    void releaseWithOtherBits();
    void clickOnAnyColumn_data();
    void clickOnAnyColumn();
    void clickThatRemovesTheRow();
    void pressDraggedOut();
    void doubleClick_data();
    void doubleClick();

    void salesEditor();
    void salesEditorOfAnEntryWithoutFreeCar();
    void salesEditorWithoutBook();
    void salesActivated_data();
    void salesActivated();
    void discountEditor();
    void payMethodEditor();
    void otherEditors();
    void invalidIndexes();
    void comboGeometry();

    void sold_data();
    void sold();
    void soldWithoutBook();
    void discounted_data();
    void discounted();
    void paidBy();
    void openEditorsKeepWhatTheyWereOpenedWith();
    void otherCellsAreWrittenByTheBase();

    void returnInTheDiscountEditor();
    void choiceInTheSalesEditor();

private:
    CheckInItem &addFamily(Family state);
    QStyleOptionViewItem option(bool mouseOver = false) const;
    QVector<DrawnControl> paint(const QModelIndex &index, bool mouseOver = false);
    bool send(QEvent::Type type, const QModelIndex &index, const QPoint &position = inside);
    template <typename Editor> Editor *createEditor(const QModelIndex &index);
    static QStringList texts(const QComboBox *combo);
    void showView();

    NotingStyle *style = nullptr;
    std::unique_ptr<CheckInDesk> desk;
    std::unique_ptr<ClientsCheckInDelegate> delegate;
    std::unique_ptr<QWidget> editorParent;
    std::unique_ptr<QEditableTreeView> view;
    QImage canvas{140, 60, QImage::Format_RGB32};
    QStringList clicks;
};

void ClientsCheckInDelegateTest::initTestCase()
{
    style = new NotingStyle;
    QApplication::setStyle(style);
}

void ClientsCheckInDelegateTest::init()
{
    desk = std::make_unique<CheckInDesk>();
    delegate = std::make_unique<ClientsCheckInDelegate>();
    delegate->setModel(&desk->list);
    delegate->setPrices(&desk->prices);
    editorParent = std::make_unique<QWidget>();
    clicks.clear();
    connect(delegate.get(), &ClientsCheckInDelegate::itemClicked, this,
            [this](const QModelIndex &index, const QString &key) {
                clicks.append(QStringLiteral("%1 %2").arg(index.row()).arg(key));
            });
    connect(delegate.get(), &ClientsCheckInDelegate::doubleClicked, this,
            [this](const QModelIndex &index) { clicks.append(QStringLiteral("%1 double").arg(index.row())); });
}

void ClientsCheckInDelegateTest::cleanup()
{
    view.reset();
    editorParent.reset();
    delegate.reset();
    desk.reset();
}

/// A racer with a minor who has no sale, in that state.
CheckInItem &ClientsCheckInDelegateTest::addFamily(Family state)
{
    CheckInItem &racer =
        desk->addSold(state == Family::PaidWithoutSale ? NoSale : Adult, 1, {CheckInDesk::kid("Маша")});
    racer.payState = state != Family::Unpaid;
    racer.enqueued = state == Family::Enqueued;
    racer.subItems.front()->enqueued = racer.enqueued;
    return racer;
}

QStyleOptionViewItem ClientsCheckInDelegateTest::option(bool mouseOver) const
{
    QStyleOptionViewItem cell;
    cell.rect = cellRect;
    cell.state = QStyle::State_Enabled | QStyle::State_Active;
    if (mouseOver)
        cell.state |= QStyle::State_MouseOver;
    return cell;
}

/// The controls that a repaint of the cell draws; the picture itself is left on the canvas.
QVector<DrawnControl> ClientsCheckInDelegateTest::paint(const QModelIndex &index, bool mouseOver)
{
    style->drawn.clear();
    canvas.fill(Qt::white);
    QPainter painter(&canvas);
    delegate->paint(&painter, option(mouseOver), index);
    return style->drawn;
}

bool ClientsCheckInDelegateTest::send(QEvent::Type type, const QModelIndex &index, const QPoint &position)
{
    const bool moving = type == QEvent::MouseMove;
    const bool released = type == QEvent::MouseButtonRelease;
    QMouseEvent event(type, position, moving ? Qt::NoButton : Qt::LeftButton,
                      moving || released ? Qt::NoButton : Qt::LeftButton, Qt::NoModifier);
    return delegate->editorEvent(&event, &desk->list, option(true), index);
}

template <typename Editor> Editor *ClientsCheckInDelegateTest::createEditor(const QModelIndex &index)
{
    return qobject_cast<Editor *>(delegate->createEditor(editorParent.get(), option(), index));
}

QStringList ClientsCheckInDelegateTest::texts(const QComboBox *combo)
{
    QStringList list;
    for (int row = 0; row < combo->count(); ++row)
        list.append(combo->itemText(row));
    return list;
}

void ClientsCheckInDelegateTest::showView()
{
    view = std::make_unique<QEditableTreeView>();
    view->setItemDelegate(delegate.get());
    view->setModel(&desk->list);
    view->resize(1200, 300);
    view->show();
    view->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(view.get()));
    view->setFocus();
}

void ClientsCheckInDelegateTest::metaObject()
{
    const QMetaObject &meta = ClientsCheckInDelegate::staticMetaObject;
    QStringList methods;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i)
        methods.append(QString::fromLatin1(meta.method(i).methodSignature()));
    QCOMPARE(methods, (QStringList{"doubleClicked(QModelIndex)", "itemClicked(QModelIndex,QString)"}));
}

void ClientsCheckInDelegateTest::sizeHint()
{
    addFamily(Family::Paid);
    const GridDelegate base;
    for (const char *key : {"NAME", "SAFETY", "COMMENT"}) {
        const QSize plain = base.sizeHint(option(), desk->cell(key));
        QCOMPARE(delegate->sizeHint(option(), desk->cell(key)), QSize(plain.width(), plain.height() * 4 / 3));
    }
}

void ClientsCheckInDelegateTest::availability_data()
{
    QTest::addColumn<Family>("family");
    QTest::addColumn<bool>("safety");
    QTest::addColumn<bool>("enqueue");
    QTest::addColumn<bool>("box");

    QTest::newRow("unpaid") << Family::Unpaid << true << false << true;
    QTest::newRow("paid") << Family::Paid << true << true << true;
    QTest::newRow("paid, nothing sold") << Family::PaidWithoutSale << true << false << true;
    QTest::newRow("enqueued") << Family::Enqueued << false << false << false;
}

void ClientsCheckInDelegateTest::availability()
{
    QFETCH(Family, family);
    QFETCH(bool, safety);
    QFETCH(bool, enqueue);
    QFETCH(bool, box);
    addFamily(family);
    const QVector<QPair<QString, bool>> expected{{"SAFETY", safety}, {"ENQUEUE", enqueue}, {"PAYSTATE", box}};
    for (const auto &[key, enabled] : expected) {
        const QVector<DrawnControl> drawn = paint(desk->cell(key));
        QCOMPARE(drawn.size(), 1);
        QCOMPARE(drawn.first().has(QStyle::State_Enabled), enabled);
        QCOMPARE(drawn.first().isDisabled(), !enabled);
    }
    const QVector<DrawnControl> card = paint(desk->cell("NFCTAG"));
    QCOMPARE(card.size(), 1);
    QCOMPARE(card.first().isDisabled(), family == Family::Enqueued);
}

void ClientsCheckInDelegateTest::minorAvailability_data()
{
    QTest::addColumn<Family>("family");
    QTest::addColumn<bool>("enqueue");
    QTest::newRow("unpaid") << Family::Unpaid << false;
    QTest::newRow("paid") << Family::Paid << true;
    QTest::newRow("paid, nothing sold") << Family::PaidWithoutSale << true;
    QTest::newRow("enqueued") << Family::Enqueued << false;
}

void ClientsCheckInDelegateTest::minorAvailability()
{
    QFETCH(Family, family);
    QFETCH(bool, enqueue);
    addFamily(family);
    const QVector<DrawnControl> drawn = paint(desk->minorCell("ENQUEUE", 0, 0));
    QCOMPARE(drawn.size(), 1);
    QCOMPARE(drawn.first().has(QStyle::State_Enabled), enqueue);
    QCOMPARE(drawn.first().isDisabled(), !enqueue);
    if (enqueue)
        QCOMPARE(drawn.first().option.palette.currentColorGroup(), QPalette::Active);
    for (const char *key : {"SAFETY", "PAYSTATE"})
        QCOMPARE(paint(desk->minorCell(key, 0, 0)).size(), 0);
    QCOMPARE(paint(desk->minorCell("NFCTAG", 0, 0)).size(), 1);
}

void ClientsCheckInDelegateTest::buttonLook_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("text");
    QTest::newRow("safety form") << "SAFETY"
                                 << "Печать";
    QTest::newRow("queue") << "ENQUEUE"
                           << "В очередь";
    QTest::newRow("card") << "NFCTAG"
                          << "Сканировать";
}

void ClientsCheckInDelegateTest::buttonLook()
{
    QFETCH(QString, key);
    QFETCH(QString, text);
    addFamily(Family::Paid);
    const QVector<DrawnControl> drawn = paint(desk->cell(key));
    QCOMPARE(drawn.size(), 1);
    const DrawnControl &button = drawn.first();
    QCOMPARE(button.element, QStyle::CE_PushButton);
    QCOMPARE(button.option.text, text);
    QCOMPARE(button.option.rect, cellRect.adjusted(1, 1, -1, -1));
    QVERIFY(qobject_cast<const QPushButton *>(button.widget));
    QVERIFY(button.widgetEnabled);
    QCOMPARE(button.widgetSize, QSize(118, 38));
}

void ClientsCheckInDelegateTest::plainCells_data()
{
    QTest::addColumn<QString>("key");
    for (const char *key : {"POS", "NAME", "SALES_ITEM", "RUNCOUNT", "DISCOUNT", "PAYSUM", "PAYMETHOD", "COMMENT"})
        QTest::newRow(key) << QString::fromLatin1(key);
}

void ClientsCheckInDelegateTest::plainCells()
{
    QFETCH(QString, key);
    addFamily(Family::Paid);
    QCOMPARE(paint(desk->cell(key)).size(), 0);
    QCOMPARE(paint(desk->minorCell(key, 0, 0)).size(), 0);
}

void ClientsCheckInDelegateTest::payStateLook_data()
{
    QTest::addColumn<Family>("family");
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("on");
    QTest::newRow("unpaid") << Family::Unpaid << "Не оплачен" << false;
    QTest::newRow("paid") << Family::Paid << "Оплачен" << true;
    QTest::newRow("enqueued") << Family::Enqueued << "Оплачен" << true;
}

void ClientsCheckInDelegateTest::payStateLook()
{
    QFETCH(Family, family);
    QFETCH(QString, text);
    QFETCH(bool, on);
    addFamily(family);
    const QVector<DrawnControl> drawn = paint(desk->cell("PAYSTATE"));
    QCOMPARE(drawn.size(), 1);
    const DrawnControl &box = drawn.first();
    QCOMPARE(box.element, QStyle::CE_CheckBox);
    QVERIFY(!box.widget);
    QCOMPARE(box.option.text, text);
    QCOMPARE(box.option.rect, cellRect.adjusted(4, 1, -1, -1));
    QCOMPARE(box.has(QStyle::State_On), on);
    QVERIFY(!box.has(QStyle::State_MouseOver));
    if (family == Family::Unpaid) {
        for (const auto group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled})
            QCOMPARE(box.option.palette.color(group, QPalette::WindowText), QColor(Qt::white));
    }
    QVERIFY(paint(desk->cell("PAYSTATE"), true).size() == 1);
    const QColor corner = canvas.pixelColor(cellRect.right() - 2, cellRect.bottom() - 2);
    const QColor expected = family == Family::Unpaid ? Qt::red : family == Family::Paid ? Qt::green : Qt::lightGray;
    QCOMPARE(corner, expected);
}

void ClientsCheckInDelegateTest::greenButtons_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<bool>("set");
    QTest::newRow("safety form valid") << "SAFETY" << true;
    QTest::newRow("safety form missing") << "SAFETY" << false;
    QTest::newRow("card known") << "NFCTAG" << true;
    QTest::newRow("card missing") << "NFCTAG" << false;
    QTest::newRow("queue is never green") << "ENQUEUE" << false;
}

void ClientsCheckInDelegateTest::greenButtons()
{
    QFETCH(QString, key);
    QFETCH(bool, set);
    CheckInItem &racer = addFamily(Family::Paid);
    racer.validSafetyAgreement = set || key != QLatin1String("SAFETY");
    if (set || key != QLatin1String("NFCTAG"))
        racer.nfcUid = "1";
    paint(desk->cell(key));
    QCOMPARE(isGreen(canvas), set);
}

void ClientsCheckInDelegateTest::greenIsNotLeftBehind()
{
    addFamily(Family::Paid).validSafetyAgreement = true;
    paint(desk->cell("SAFETY"));
    QCOMPARE(paint(desk->cell("ENQUEUE")).size(), 1);
    QVERIFY(!isGreen(canvas));
}

void ClientsCheckInDelegateTest::hover_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QPoint>("mouse");
    QTest::addColumn<bool>("mouseOver");
    QTest::addColumn<bool>("hovered");

    for (const char *key : {"SAFETY", "ENQUEUE", "NFCTAG", "PAYSTATE"}) {
        const QString name = QString::fromLatin1(key);
        QTest::addRow("%s, mouse in the cell", key) << name << inside << true << true;
        QTest::addRow("%s, mouse elsewhere", key) << name << outside << true << false;
        QTest::addRow("%s, view without the mouse", key) << name << inside << false << false;
    }
}

void ClientsCheckInDelegateTest::hover()
{
    QFETCH(QString, key);
    QFETCH(QPoint, mouse);
    QFETCH(bool, mouseOver);
    QFETCH(bool, hovered);
    addFamily(Family::Paid);
    const QModelIndex cell = desk->cell(key);
    send(QEvent::MouseMove, cell, mouse);
    send(QEvent::MouseButtonPress, cell, mouse);
    const QVector<DrawnControl> drawn = paint(cell, mouseOver);
    QCOMPARE(drawn.size(), 1);
    QCOMPARE(drawn.first().has(QStyle::State_MouseOver), hovered);
    // The payment box has no pressed look.
    QCOMPARE(drawn.first().has(QStyle::State_Sunken), hovered && key != QLatin1String("PAYSTATE"));
    QCOMPARE(cell.data(ClientsCheckInList::ButtonStateRole).toInt(), hovered ? sunken : 0);
}

void ClientsCheckInDelegateTest::repaintOutsideForgetsThePress()
{
    addFamily(Family::Paid);
    const QModelIndex cell = desk->cell("ENQUEUE");
    send(QEvent::MouseMove, cell);
    send(QEvent::MouseButtonPress, cell);
    paint(cell, true);
    send(QEvent::MouseMove, cell, outside);
    paint(cell, true);
    send(QEvent::MouseMove, cell);
    paint(cell, true);
    send(QEvent::MouseButtonRelease, cell);
    QCOMPARE(clicks, QStringList());
}

void ClientsCheckInDelegateTest::withoutModel()
{
    addFamily(Family::Paid);
    delegate->setModel(nullptr);
    QCOMPARE(paint(desk->cell("ENQUEUE")).size(), 0);
    delegate->setPrices(nullptr);
    QVERIFY(!createEditor<QComboBox>(desk->cell("DISCOUNT")));
}

void ClientsCheckInDelegateTest::press()
{
    addFamily(Family::Paid);
    desk->log.take();
    const QModelIndex cell = desk->cell("SAFETY");
    send(QEvent::MouseButtonPress, cell);
    QCOMPARE(cell.data(ClientsCheckInList::ButtonStateRole).toInt(), 4);
    QCOMPARE(desk->log.take(), QStringList{"dataChanged 0:4..0:4"});
    QCOMPARE(clicks, QStringList());
}

void ClientsCheckInDelegateTest::release()
{
    addFamily(Family::Paid);
    const QModelIndex cell = desk->cell("SAFETY");
    send(QEvent::MouseButtonPress, cell);
    desk->log.take();
    // The click comes last: by then the cell is drawn released.
    connect(delegate.get(), &ClientsCheckInDelegate::itemClicked, &desk->log, [this, cell] {
        desk->log.entries.append(
            QStringLiteral("clicked with %1").arg(cell.data(ClientsCheckInList::ButtonStateRole).toInt()));
    });
    QVERIFY(!send(QEvent::MouseButtonRelease, cell));
    QCOMPARE(desk->log.take(), (QStringList{"dataChanged 0:4..0:4", "clicked with 0"}));
    QCOMPARE(clicks, QStringList{"0 SAFETY"});
}

void ClientsCheckInDelegateTest::releaseWithoutPress()
{
    addFamily(Family::Paid);
    desk->log.take();
    send(QEvent::MouseButtonRelease, desk->cell("SAFETY"));
    QCOMPARE(desk->log.take(), QStringList{"dataChanged 0:4..0:4"});
    QCOMPARE(clicks, QStringList());
}

void ClientsCheckInDelegateTest::releaseWithOtherBits()
{
    addFamily(Family::Paid);
    const QModelIndex cell = desk->cell("SAFETY");
    desk->list.setData(cell, 3, ClientsCheckInList::ButtonStateRole);
    send(QEvent::MouseButtonRelease, cell);
    QCOMPARE(clicks, QStringList());
    desk->list.setData(cell, 7, ClientsCheckInList::ButtonStateRole);
    send(QEvent::MouseButtonRelease, cell);
    QCOMPARE(clicks, QStringList{"0 SAFETY"});
}

void ClientsCheckInDelegateTest::clickOnAnyColumn_data()
{
    QTest::addColumn<QString>("key");
    const ClientsCheckInList list;
    for (int column = 0; column < list.columnCount(); ++column)
        QTest::newRow(qPrintable(list.columnKey(column))) << list.columnKey(column);
}

/// Also on a button that is drawn disabled.
void ClientsCheckInDelegateTest::clickOnAnyColumn()
{
    QFETCH(QString, key);
    addFamily(Family::Enqueued);
    for (const QModelIndex &cell : {desk->cell(key), desk->minorCell(key, 0, 0)}) {
        send(QEvent::MouseButtonPress, cell);
        send(QEvent::MouseButtonRelease, cell);
    }
    QCOMPARE(clicks, (QStringList{"0 " + key, "0 " + key}));
}

/// What a click sets off may take the row away.
void ClientsCheckInDelegateTest::clickThatRemovesTheRow()
{
    addFamily(Family::Paid);
    connect(delegate.get(), &ClientsCheckInDelegate::itemClicked, &desk->log,
            [this](const QModelIndex &index) { desk->list.removeEntries({index}); });
    const QModelIndex cell = desk->cell("SAFETY");
    send(QEvent::MouseButtonPress, cell);
    send(QEvent::MouseButtonRelease, cell);
    QCOMPARE(desk->list.rowCount(), 0);
}

void ClientsCheckInDelegateTest::pressDraggedOut()
{
    addFamily(Family::Paid);
    const QModelIndex pressed = desk->cell("ENQUEUE");
    const QModelIndex other = desk->cell("SAFETY");
    send(QEvent::MouseMove, pressed);
    send(QEvent::MouseButtonPress, pressed);
    send(QEvent::MouseMove, other, outside);
    paint(pressed, true);
    send(QEvent::MouseButtonRelease, other, outside);
    QCOMPARE(clicks, QStringList());
    QCOMPARE(pressed.data(ClientsCheckInList::ButtonStateRole).toInt(), 0);
}

void ClientsCheckInDelegateTest::doubleClick_data()
{
    clickOnAnyColumn_data();
}

void ClientsCheckInDelegateTest::doubleClick()
{
    QFETCH(QString, key);
    addFamily(Family::Paid);
    send(QEvent::MouseButtonDblClick, desk->cell(key));
    const bool opens = key == QLatin1String("POS") || key == QLatin1String("NAME");
    QCOMPARE(clicks, opens ? QStringList{"0 double"} : QStringList());
}

void ClientsCheckInDelegateTest::salesEditor()
{
    addFamily(Family::Unpaid);
    desk->prices.pricesByType[-1].append(PriceItem());
    desk->prices.pricesByType[-1].last().sum = 10;
    desk->list.setAvailableCars({QJsonObject{{"name", "Junior"}, {"available_for_runs", true}},
                                 QJsonObject{{"name", "Senior"}, {"available_for_runs", false}}});
    const auto *combo = createEditor<QComboBox>(desk->cell("SALES_ITEM"));
    QVERIFY(combo);
    QCOMPARE(texts(combo), (QStringList{"--", "Взрослый", "Детский"}));
    QCOMPARE(combo->itemData(0), QVariant(-1));
    QCOMPARE(combo->itemData(1), QVariant(1));
    QCOMPARE(combo->itemData(2), QVariant(2));
    QCOMPARE(combo->currentIndex(), 1);
    QVERIFY(!combo->isEditable());
    QCOMPARE(createEditor<QComboBox>(desk->minorCell("SALES_ITEM", 0, 0))->currentIndex(), 0);
}

void ClientsCheckInDelegateTest::salesEditorOfAnEntryWithoutFreeCar()
{
    desk->addSold(Junior);
    const auto *combo = createEditor<QComboBox>(desk->cell("SALES_ITEM"));
    QCOMPARE(texts(combo), (QStringList{"--", "Взрослый"}));
    QCOMPARE(combo->currentIndex(), 0);
}

void ClientsCheckInDelegateTest::salesEditorWithoutBook()
{
    addFamily(Family::Unpaid);
    delegate->setPrices(nullptr);
    QCOMPARE(texts(createEditor<QComboBox>(desk->cell("SALES_ITEM"))), QStringList{"--"});
    QCOMPARE(texts(createEditor<QComboBox>(desk->cell("DISCOUNT"))), QStringList{"--"});
    QCOMPARE(texts(createEditor<QComboBox>(desk->cell("PAYMETHOD"))), QStringList());
}

void ClientsCheckInDelegateTest::salesActivated_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<QString>("salesItem");
    QTest::addColumn<double>("sum");
    QTest::newRow("dashes change nothing") << 0 << "Взрослый" << 500.0;
    QTest::newRow("another sale") << 2 << "Детский" << 300.0;
}

void ClientsCheckInDelegateTest::salesActivated()
{
    QFETCH(int, row);
    const CheckInItem &racer = addFamily(Family::Unpaid);
    desk->list.setAvailableCars({QJsonObject{{"name", "Junior"}, {"available_for_runs", true}}});
    auto *combo = createEditor<QComboBox>(desk->cell("SALES_ITEM"));
    editorParent->show();
    combo->show();
    Q_EMIT combo->activated(row);
    QTEST(racer.salesItem, "salesItem");
    QTEST(racer.paySum, "sum");
    QVERIFY(combo->isHidden());
}

void ClientsCheckInDelegateTest::discountEditor()
{
    CheckInItem &racer = addFamily(Family::Unpaid);
    const auto *combo = createEditor<QComboBox>(desk->cell("DISCOUNT"));
    QVERIFY(combo->isEditable());
    QCOMPARE(texts(combo), (QStringList{"--", "10", "=100", "=0.1"}));
    racer.discountValue = "=100";
    QCOMPARE(createEditor<QComboBox>(desk->cell("DISCOUNT"))->currentIndex(), 2);
}

void ClientsCheckInDelegateTest::payMethodEditor()
{
    CheckInItem &racer = addFamily(Family::Unpaid);
    racer.payMethod = "Карта";
    const auto *combo = createEditor<QComboBox>(desk->cell("PAYMETHOD"));
    QVERIFY(!combo->isEditable());
    QCOMPARE(texts(combo), (QStringList{"Наличные", "Карта"}));
    QCOMPARE(combo->currentIndex(), 1);
}

void ClientsCheckInDelegateTest::otherEditors()
{
    addFamily(Family::Unpaid);
    QVERIFY(createEditor<QSpinBox>(desk->cell("RUNCOUNT")));
    QVERIFY(createEditor<QLineEdit>(desk->cell("COMMENT")));
}

void ClientsCheckInDelegateTest::invalidIndexes()
{
    QVERIFY(!createEditor<QComboBox>(QModelIndex()));
    addFamily(Family::Unpaid);
    ClientsCheckInList other;
    other.addRacer("Иван", "", "", {}, "", "", 0, -1, 0, -1);
    QVERIFY(!delegate->createEditor(editorParent.get(), option(), other.index(0, 2)));
}

void ClientsCheckInDelegateTest::comboGeometry()
{
    addFamily(Family::Unpaid);
    showView();
    view->edit(desk->cell("PAYMETHOD"));
    auto *combo = view->viewport()->findChild<QComboBox *>();
    QVERIFY(combo);
    QCOMPARE(combo->geometry(), view->visualRect(desk->cell("PAYMETHOD")));
    QCOMPARE(combo->maxVisibleItems(), 10);
    QVERIFY(combo->view()->isVisible());
    combo->hidePopup();
}

void ClientsCheckInDelegateTest::sold_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<QString>("salesItem");
    QTest::addColumn<int>("runs");
    QTest::newRow("dashes clear") << 0 << "" << 0;
    QTest::newRow("no row clears") << -1 << "" << 0;
    QTest::newRow("the same") << 1 << "Взрослый" << 3;
    QTest::newRow("another") << 2 << "Детский" << 3;
}

void ClientsCheckInDelegateTest::sold()
{
    QFETCH(int, row);
    const CheckInItem &racer = desk->addSold(Adult, 3);
    desk->list.setAvailableCars({QJsonObject{{"name", "Junior"}, {"available_for_runs", true}}});
    auto *combo = createEditor<QComboBox>(desk->cell("SALES_ITEM"));
    combo->setCurrentIndex(row);
    desk->log.take();
    delegate->setModelData(combo, &desk->list, desk->cell("SALES_ITEM"));
    QTEST(racer.salesItem, "salesItem");
    QTEST(racer.runCount, "runs");
    QCOMPARE(desk->log.entries.count("checkInListUpdated"), 1);
    QCOMPARE(desk->log.entries.constLast(), QStringLiteral("checkInListUpdated"));
    JSON_COMPARE(desk->log.published.constLast(), desk->list.listJson());
}

void ClientsCheckInDelegateTest::soldWithoutBook()
{
    const CheckInItem &racer = desk->addSold(Adult, 3);
    auto *combo = createEditor<QComboBox>(desk->cell("SALES_ITEM"));
    QCOMPARE(combo->currentIndex(), 1);
    delegate->setPrices(nullptr);
    delegate->setModelData(combo, &desk->list, desk->cell("SALES_ITEM"));
    QCOMPARE(racer.salesItem, QString());
}

void ClientsCheckInDelegateTest::discounted_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<double>("sum");
    QTest::newRow("percent") << "10" << 1350.0;
    QTest::newRow("fixed") << "=200" << 900.0;
    QTest::newRow("dashes") << "--" << 1500.0;
    QTest::newRow("letters") << "abc" << 1500.0;
    QTest::newRow("empty") << "" << 1500.0;
}

void ClientsCheckInDelegateTest::discounted()
{
    QFETCH(QString, text);
    const CheckInItem &racer = desk->addSold(Adult, 3);
    auto *combo = createEditor<QComboBox>(desk->cell("DISCOUNT"));
    combo->setEditText(text);
    desk->log.take();
    delegate->setModelData(combo, &desk->list, desk->cell("DISCOUNT"));
    QCOMPARE(racer.discountValue, text);
    QCOMPARE(racer.discountValue.isNull(), text.isEmpty());
    QTEST(racer.paySum, "sum");
    QCOMPARE(desk->log.take(), QStringList{"checkInListUpdated"});
    QCOMPARE(racer.regTime, quint64(desk->now));
}

void ClientsCheckInDelegateTest::paidBy()
{
    const CheckInItem &racer = desk->addSold(Adult);
    auto *combo = createEditor<QComboBox>(desk->cell("PAYMETHOD"));
    const QModelIndex cell = desk->cell("PAYMETHOD");
    desk->log.take();
    combo->setCurrentIndex(-1);
    delegate->setModelData(combo, &desk->list, cell);
    QCOMPARE(racer.payMethod, QStringLiteral("Наличные"));
    QCOMPARE(desk->log.take(), QStringList{"checkInListUpdated"});
    combo->setCurrentIndex(1);
    delegate->setModelData(combo, &desk->list, cell);
    QCOMPARE(racer.payMethod, QStringLiteral("Карта"));
    QCOMPARE(desk->log.take(), (QStringList{"dataChanged 0:7..0:7", "checkInListUpdated"}));
}

void ClientsCheckInDelegateTest::openEditorsKeepWhatTheyWereOpenedWith()
{
    const CheckInItem &racer = addFamily(Family::Unpaid);
    auto *sales = createEditor<QComboBox>(desk->cell("SALES_ITEM"));
    auto *methods = createEditor<QComboBox>(desk->cell("PAYMETHOD"));
    const QString shownSale = sales->itemText(1);
    const double shownPrice = desk->price(Adult).sum;
    QCOMPARE(shownSale, desk->price(Adult).salesItem);

    // The settings are accepted: another price block is the current one, and the payment methods have changed places.
    desk->prices.currentPriceType = 4711;
    QVERIFY(desk->prices.currentPriceItems().isEmpty());
    desk->prices.payMethods = QStringList{"Карта", "Наличные"};

    sales->setCurrentIndex(1);
    delegate->setModelData(sales, &desk->list, desk->cell("SALES_ITEM"));
    QCOMPARE(racer.salesItem, shownSale);
    QCOMPARE(racer.price, shownPrice);
    methods->setCurrentIndex(1);
    QCOMPARE(methods->currentText(), QStringLiteral("Карта"));
    delegate->setModelData(methods, &desk->list, desk->cell("PAYMETHOD"));
    QCOMPARE(racer.payMethod, QStringLiteral("Карта"));
}

void ClientsCheckInDelegateTest::otherCellsAreWrittenByTheBase()
{
    const CheckInItem &racer = addFamily(Family::Enqueued);
    auto *line = createEditor<QLineEdit>(desk->cell("COMMENT"));
    line->setText("левша");
    desk->log.take();
    delegate->setModelData(line, &desk->list, desk->cell("COMMENT"));
    QCOMPARE(racer.comment, QStringLiteral("левша"));
    QCOMPARE(desk->log.take(), QStringList{"paymentUpdate"});
}

/// The Return that ends the discount editor does not open it again; the next one does.
void ClientsCheckInDelegateTest::returnInTheDiscountEditor()
{
    const CheckInItem &racer = desk->addSold(Adult, 3);
    showView();
    view->setEditTriggers(QAbstractItemView::NoEditTriggers);
    view->setCurrentIndex(desk->cell("DISCOUNT"));
    view->edit(desk->cell("DISCOUNT"));
    auto *combo = view->viewport()->findChild<QComboBox *>();
    QVERIFY(combo);
    combo->hidePopup();
    combo->lineEdit()->selectAll();
    QTest::keyClicks(combo->lineEdit(), "=200");
    QTest::keyClick(combo->lineEdit(), Qt::Key_Return);
    QTRY_VERIFY(!view->viewport()->findChild<QComboBox *>());
    QCOMPARE(racer.discountValue, QStringLiteral("=200"));
    QCOMPARE(racer.paySum, 900.0);
    QCOMPARE(view->focusWidget(), view.get());
    QTest::keyClick(view.get(), Qt::Key_Return);
    auto *again = view->viewport()->findChild<QComboBox *>();
    QVERIFY(again);
    again->hidePopup();
}

void ClientsCheckInDelegateTest::choiceInTheSalesEditor()
{
    const CheckInItem &racer = desk->add();
    showView();
    view->edit(desk->cell("SALES_ITEM"));
    auto *combo = view->viewport()->findChild<QComboBox *>();
    QVERIFY(combo);
    QTest::keyClick(combo->view(), Qt::Key_Down);
    QTest::keyClick(combo->view(), Qt::Key_Return);
    QTRY_VERIFY(!view->viewport()->findChild<QComboBox *>());
    QCOMPARE(racer.salesItem, QStringLiteral("Взрослый"));
    QCOMPARE(racer.runCount, 1);
    QCOMPARE(racer.paySum, 500.0);
    QVERIFY(desk->log.entries.contains("checkInListUpdated"));
}

DESK_TEST_MAIN(ClientsCheckInDelegateTest)
#include "tst_clientscheckindelegate.moc"
