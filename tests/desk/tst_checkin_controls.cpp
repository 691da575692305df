#include "checkincounter.h"
#include "desktest.h"
#include "jsonmatch.h"

#include <QComboBox>
#include <QCursor>
#include <QDialog>
#include <QHeaderView>
#include <QImage>
#include <QLineEdit>
#include <QMouseEvent>
#include <QSignalSpy>
#include <QStyle>
#include <QStyledItemDelegate>
#include <QWindow>

/// The controls that are drawn into the cells of the check-in table, under the mouse, and the keyboard of the table.
class TestCheckInControls : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void tracksTheMouse();
    void clickOnEveryColumn_data();
    void clickOnEveryColumn();
    void pressBits();
    void pressDraggedOut();
    void pressDraggedOutAndBack();
    void releaseWithoutAPress();
    void pressInOneCellReleaseInAnother();
    void clickOnADisabledLook();
    void clickOnAMinorsCells();
    void statusBoxTogglesPayment();
    void singleClickOpensEditors_data();
    void singleClickOpensEditors();
    void singleClickOnAnEnqueuedRow();
    void enqueuedRowKeepsItsComment();
    void editorFillsTheCell();

    void rowHeight();
    void statusColours();
    void saleColour();
    void enqueuedColour();
    void minorHasNoStatusBox();
    void safetyButton();
    void safetyButtonOfAValidForm();
    void enqueueButtonByState();
    void enqueueButtonOfMinors();
    void everythingGreyWhenEnqueued();
    void buttonShowsThePress();
    void gridAndFocus();

    void insertAndCtrlReturn_data();
    void insertAndCtrlReturn();
    void deleteKeys();
    void ctrlDelete();
    void editKeys_data();
    void editKeys();
    void editKeyOnAMinor();
    void editKeysWhileEditing();
    void deleteWhileEditing();
    void ctrlReturnWhileEditing();
    void skippedReturn();
    void skipEndsWithAnyEditKey();
    void selectionIsTold();
    void keysReachTheBase();

private:
    std::unique_ptr<Counter> m_counter;

    bool open(const QList<QJsonObject> &lines)
    {
        m_counter->seed(lines);
        return m_counter->open();
    }
    void seat(const QString &uuid);
    QImage picture(const QModelIndex &index) const;
    QObject *delegate() const { return m_counter->tree()->itemDelegate(); }
};

namespace {

using JsonMatch::object;

QJsonObject withKids(QJsonObject line, const QJsonArray &kids)
{
    line.insert(QStringLiteral("kidsList"), kids);
    return line;
}

// Corner of a cell that no control and no grid line reaches.
QColor corner(const QImage &picture)
{
    return picture.pixelColor(picture.width() - 4, picture.height() - 4);
}

int darkest(const QImage &picture)
{
    int value = 255;
    for (int y = 4; y < picture.height() - 4; ++y) {
        for (int x = 8; x < picture.width() - 8; ++x)
            value = qMin(value, qGray(picture.pixel(x, y)));
    }
    return value;
}

bool blank(const QImage &picture)
{
    for (int y = 2; y < picture.height() - 2; ++y) {
        for (int x = 2; x < picture.width() - 2; ++x) {
            if (picture.pixel(x, y) != picture.pixel(2, 2))
                return false;
        }
    }
    return true;
}

bool isGreen(const QImage &picture)
{
    const QColor colour = picture.pixelColor(picture.width() / 2, 5);
    return colour.green() > colour.red() + 60 && colour.green() > colour.blue() + 60;
}

bool has(const QImage &picture, const QColor &colour)
{
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            if (picture.pixelColor(x, y) == colour)
                return true;
        }
    }
    return false;
}

} // namespace

void TestCheckInControls::init()
{
    m_counter = std::make_unique<Counter>();
    m_counter->stockPrices();
}

void TestCheckInControls::cleanup()
{
    m_counter.reset();
}

void TestCheckInControls::seat(const QString &uuid)
{
    QVERIFY(QMetaObject::invokeMethod(m_counter->model(), "itemsDroppedOut",
                                      Q_ARG(QJsonArray, (QJsonArray{QJsonObject{{QStringLiteral("uuid"), uuid}}}))));
}

// What is painted in a cell, with nothing selected and the mouse where it is.
QImage TestCheckInControls::picture(const QModelIndex &index) const
{
    m_counter->tree()->clearSelection();
    m_counter->tree()->setCurrentIndex(QModelIndex());
    const QRect rect = m_counter->cell(index);
    return m_counter->tree()->viewport()->grab(rect).toImage();
}

void TestCheckInControls::tracksTheMouse()
{
    QVERIFY(open({}));
    QVERIFY(m_counter->tree()->hasMouseTracking() || m_counter->tree()->viewport()->hasMouseTracking());
}

void TestCheckInControls::clickOnEveryColumn_data()
{
    QTest::addColumn<int>("column");
    QTest::addColumn<QString>("key");
    // The sale, discount, method and status cells do more than tell of the click; they have tests of their own.
    QTest::newRow("POS") << int(Counter::Pos) << QStringLiteral("POS");
    QTest::newRow("NAME") << int(Counter::Name) << QStringLiteral("NAME");
    QTest::newRow("RUNCOUNT") << int(Counter::RunCount) << QStringLiteral("RUNCOUNT");
    QTest::newRow("SAFETY") << int(Counter::Safety) << QStringLiteral("SAFETY");
    QTest::newRow("PAYSUM") << int(Counter::PaySum) << QStringLiteral("PAYSUM");
    QTest::newRow("ENQUEUE") << int(Counter::Enqueue) << QStringLiteral("ENQUEUE");
    QTest::newRow("COMMENT") << int(Counter::Comment) << QStringLiteral("COMMENT");
}

void TestCheckInControls::clickOnEveryColumn()
{
    QFETCH(int, column);
    QFETCH(QString, key);
    const QJsonObject oneRun = object(R"({"runCount": 1})");
    QVERIFY(open({m_counter->sold(QStringLiteral("{a}"), oneRun), m_counter->sold(QStringLiteral("{b}"), oneRun)}));
    QSignalSpy clicks(delegate(), SIGNAL(itemClicked(QModelIndex, QString)));
    QVERIFY(clicks.isValid());
    const QModelIndex index = m_counter->at(1, Counter::Column(column));
    m_counter->click(index);
    QCOMPARE(clicks.count(), 1);
    QCOMPARE(clicks.at(0).at(0).toModelIndex(), index);
    QCOMPARE(clicks.at(0).at(1).toString(), key);
}

void TestCheckInControls::pressBits()
{
    QVERIFY(open({m_counter->sold(QStringLiteral("{a}"))}));
    const QModelIndex index = m_counter->at(0, Counter::Safety);
    QSignalSpy changed(m_counter->model(), SIGNAL(dataChanged(QModelIndex, QModelIndex, QVector<int>)));
    QSignalSpy clicks(delegate(), SIGNAL(itemClicked(QModelIndex, QString)));
    m_counter->moveTo(index);
    QCOMPARE(index.data(257).toInt(), 0);
    m_counter->press(index);
    QCOMPARE(index.data(257).toInt(), int(QStyle::State_Sunken));
    QVERIFY(changed.count() >= 1);
    QCOMPARE(changed.at(0).at(0).toModelIndex(), index);
    m_counter->tree()->viewport()->repaint();
    QCOMPARE(index.data(257).toInt(), 4);
    QCOMPARE(clicks.count(), 0);
    changed.clear();
    m_counter->release(index);
    QCOMPARE(index.data(257).toInt(), 0);
    QVERIFY(changed.count() >= 1);
    QCOMPARE(clicks.count(), 1);
}

// The press is forgotten by the painting that finds the mouse elsewhere.
void TestCheckInControls::pressDraggedOut()
{
    QVERIFY(open({m_counter->sold(QStringLiteral("{a}")), m_counter->sold(QStringLiteral("{b}"))}));
    const QModelIndex safety = m_counter->at(0, Counter::Safety);
    QSignalSpy clicks(delegate(), SIGNAL(itemClicked(QModelIndex, QString)));
    m_counter->moveTo(safety);
    m_counter->press(safety);
    QWidget *viewport = m_counter->tree()->viewport();
    QWidget *window = m_counter->desk().tab();
    const QPoint out = viewport->mapTo(window, m_counter->cell(m_counter->at(1, Counter::Safety)).center());
    QTest::mouseMove(window->windowHandle(), out);
    QCoreApplication::processEvents();
    viewport->repaint();
    QCOMPARE(safety.data(257).toInt(), 0);
    QTest::mouseRelease(window->windowHandle(), Qt::LeftButton, Qt::NoModifier, out);
    QCOMPARE(clicks.count(), 0);
}

void TestCheckInControls::pressDraggedOutAndBack()
{
    QVERIFY(open({m_counter->sold(QStringLiteral("{a}")), m_counter->sold(QStringLiteral("{b}"))}));
    const QModelIndex state = m_counter->at(0, Counter::Safety);
    QSignalSpy clicks(delegate(), SIGNAL(itemClicked(QModelIndex, QString)));
    m_counter->moveTo(state);
    m_counter->press(state);
    m_counter->moveTo(m_counter->at(1, Counter::Safety));
    m_counter->tree()->viewport()->repaint();
    m_counter->moveTo(state);
    m_counter->tree()->viewport()->repaint();
    m_counter->release(state);
    QCOMPARE(clicks.count(), 0);
}

void TestCheckInControls::releaseWithoutAPress()
{
    QVERIFY(open({m_counter->sold(QStringLiteral("{a}"))}));
    QSignalSpy clicks(delegate(), SIGNAL(itemClicked(QModelIndex, QString)));
    m_counter->moveTo(m_counter->at(0, Counter::PayState));
    m_counter->release(m_counter->at(0, Counter::PayState));
    QCOMPARE(clicks.count(), 0);
    QCOMPARE(m_counter->paymentCount(), 0);
}

void TestCheckInControls::pressInOneCellReleaseInAnother()
{
    QVERIFY(open({m_counter->sold(QStringLiteral("{a}")), m_counter->sold(QStringLiteral("{b}"))}));
    QSignalSpy clicks(delegate(), SIGNAL(itemClicked(QModelIndex, QString)));
    m_counter->moveTo(m_counter->at(0, Counter::PayState));
    m_counter->press(m_counter->at(0, Counter::PayState));
    m_counter->moveTo(m_counter->at(1, Counter::PayState));
    m_counter->release(m_counter->at(1, Counter::PayState));
    QCOMPARE(clicks.count(), 0);
    QCOMPARE(m_counter->paymentCount(), 0);
}

// Grey is a look: a press on a button that cannot be used is a click all the same.
void TestCheckInControls::clickOnADisabledLook()
{
    QVERIFY(open({withKids(Counter::ticket(QStringLiteral("{a}")), {Counter::ticket(QStringLiteral("{k}"))})}));
    QSignalSpy clicks(delegate(), SIGNAL(itemClicked(QModelIndex, QString)));
    m_counter->click(m_counter->at(0, Counter::Enqueue));
    QCOMPARE(clicks.count(), 1);
    QCOMPARE(clicks.at(0).at(1).toString(), QStringLiteral("ENQUEUE"));
    seat(QStringLiteral("{a}"));
    m_counter->click(m_counter->at(0, Counter::Safety));
    QCOMPARE(clicks.count(), 2);
    QCOMPARE(clicks.at(1).at(1).toString(), QStringLiteral("SAFETY"));
}

void TestCheckInControls::clickOnAMinorsCells()
{
    QVERIFY(open({withKids(m_counter->sold(QStringLiteral("{a}"), object(R"({"payState": true})")),
                           {Counter::ticket(QStringLiteral("{k}"))})}));
    QSignalSpy clicks(delegate(), SIGNAL(itemClicked(QModelIndex, QString)));
    const QModelIndex index = m_counter->kidAt(0, 0, Counter::Enqueue);
    m_counter->click(index);
    QCOMPARE(clicks.count(), 1);
    QCOMPARE(clicks.at(0).at(0).toModelIndex(), index);
    QVERIFY(clicks.at(0).at(0).toModelIndex().parent().isValid());
}

void TestCheckInControls::statusBoxTogglesPayment()
{
    QVERIFY(open({m_counter->sold(QStringLiteral("{a}")), m_counter->sold(QStringLiteral("{b}"))}));
    m_counter->click(m_counter->at(1, Counter::PayState));
    const QList<QVariantMap> rows = m_counter->payments(1);
    QCOMPARE(rows.size(), 1);
    QCOMPARE(rows.first().value(QStringLiteral("racer_guid")).toString(), QStringLiteral("{b}"));
    QCOMPARE(m_counter->paymentCount(), 1);
}

void TestCheckInControls::singleClickOpensEditors_data()
{
    QTest::addColumn<int>("column");
    QTest::addColumn<bool>("opens");
    QTest::newRow("DISCOUNT") << int(Counter::Discount) << true;
    QTest::newRow("PAYMETHOD") << int(Counter::PayMethod) << true;
    QTest::newRow("SALES_ITEM") << int(Counter::SalesItem) << false;
    QTest::newRow("RUNCOUNT") << int(Counter::RunCount) << false;
    QTest::newRow("COMMENT") << int(Counter::Comment) << false;
    QTest::newRow("NAME") << int(Counter::Name) << false;
}

void TestCheckInControls::singleClickOpensEditors()
{
    QFETCH(int, column);
    QFETCH(bool, opens);
    QVERIFY(open({m_counter->sold(QStringLiteral("{a}"))}));
    m_counter->click(m_counter->at(0, Counter::Column(column)));
    QCOMPARE(m_counter->editor() != nullptr, opens);
    if (!opens)
        return;
    auto *combo = m_counter->editor<QComboBox *>();
    QVERIFY(combo);
    QVERIFY(combo->view()->isVisible());
    combo->hidePopup();
    QCOMPARE(m_counter->desk().names(), QStringList());
}

void TestCheckInControls::singleClickOnAnEnqueuedRow()
{
    QVERIFY(open({withKids(m_counter->sold(QStringLiteral("{a}")), {Counter::ticket(QStringLiteral("{k}"))})}));
    seat(QStringLiteral("{a}"));
    for (const Counter::Column column : {Counter::Discount, Counter::PayMethod, Counter::SalesItem}) {
        m_counter->click(m_counter->at(0, column));
        QVERIFY(!m_counter->editor());
    }
}

void TestCheckInControls::enqueuedRowKeepsItsComment()
{
    QVERIFY(open({withKids(m_counter->sold(QStringLiteral("{a}")), {Counter::ticket(QStringLiteral("{k}"))})}));
    seat(QStringLiteral("{a}"));
    QVERIFY(m_counter->type(m_counter->at(0, Counter::Comment), QStringLiteral("x")));
    QCOMPARE(m_counter->shown(0, Counter::Comment), QStringLiteral("x"));
    QCOMPARE(m_counter->payments(1).value(0).value(QStringLiteral("comment")).toString(), QStringLiteral("x"));
}

void TestCheckInControls::editorFillsTheCell()
{
    QVERIFY(open({m_counter->sold(QStringLiteral("{a}"))}));
    for (const Counter::Column column : {Counter::RunCount, Counter::Comment}) {
        const QModelIndex index = m_counter->at(0, column);
        QVERIFY(m_counter->edit(index));
        QCOMPARE(m_counter->editor()->geometry(), m_counter->cell(index));
        QTest::keyClick(m_counter->editor(), Qt::Key_Escape);
    }
}

void TestCheckInControls::rowHeight()
{
    QVERIFY(open({m_counter->sold(QStringLiteral("{a}"))}));
    QTreeView *tree = m_counter->tree();
    const QStyleOptionViewItem option = [&] {
        QStyleOptionViewItem made;
        made.initFrom(tree);
        made.font = tree->font();
        made.fontMetrics = QFontMetrics(made.font);
        made.widget = tree;
        return made;
    }();
    const QModelIndex index = m_counter->at(0, Counter::Name);
    const QStyledItemDelegate plain;
    QCOMPARE(tree->itemDelegate()->sizeHint(option, index).height(), plain.sizeHint(option, index).height() * 4 / 3);
    QCOMPARE(tree->itemDelegate()->sizeHint(option, index).width(), plain.sizeHint(option, index).width());
}

void TestCheckInControls::statusColours()
{
    QVERIFY(open({m_counter->sold(QStringLiteral("{a}")),
                  m_counter->sold(QStringLiteral("{b}"), object(R"({"payState": true})"))}));
    QCOMPARE(corner(picture(m_counter->at(0, Counter::PayState))), QColor(Qt::red));
    QCOMPARE(corner(picture(m_counter->at(1, Counter::PayState))), QColor(Qt::green));
    // "Не оплачен" is white on red.
    QVERIFY(has(picture(m_counter->at(0, Counter::PayState)), QColor(Qt::white)));
    m_counter->click(m_counter->at(0, Counter::PayState));
    QCOMPARE(corner(picture(m_counter->at(0, Counter::PayState))), QColor(Qt::green));
}

void TestCheckInControls::saleColour()
{
    QVERIFY(open({m_counter->sold(QStringLiteral("{a}"))}));
    QCOMPARE(corner(picture(m_counter->at(0, Counter::SalesItem))), QColor(0xff, 0x80, 0));
}

void TestCheckInControls::enqueuedColour()
{
    QVERIFY(open({withKids(m_counter->sold(QStringLiteral("{a}")), {Counter::ticket(QStringLiteral("{k}"))})}));
    seat(QStringLiteral("{a}"));
    for (const Counter::Column column : {Counter::Name, Counter::SalesItem, Counter::PayState, Counter::Comment})
        QCOMPARE(corner(picture(m_counter->at(0, column))), QColor(Qt::lightGray));
}

void TestCheckInControls::minorHasNoStatusBox()
{
    QVERIFY(open({withKids(m_counter->sold(QStringLiteral("{a}")), {Counter::ticket(QStringLiteral("{k}"))})}));
    QVERIFY(!blank(picture(m_counter->at(0, Counter::PayState))));
    QVERIFY(!blank(picture(m_counter->at(0, Counter::Safety))));
    QVERIFY(blank(picture(m_counter->kidAt(0, 0, Counter::PayState))));
    QVERIFY(blank(picture(m_counter->kidAt(0, 0, Counter::Safety))));
    QVERIFY(!blank(picture(m_counter->kidAt(0, 0, Counter::Enqueue))));
}

void TestCheckInControls::safetyButton()
{
    QVERIFY(open({Counter::ticket(QStringLiteral("{a}")),
                  m_counter->sold(QStringLiteral("{b}"), object(R"({"payState": true})"))}));
    // Enabled whether paid or not.
    QCOMPARE(darkest(picture(m_counter->at(0, Counter::Safety))), darkest(picture(m_counter->at(1, Counter::Safety))));
    QVERIFY(!isGreen(picture(m_counter->at(0, Counter::Safety))));
}

void TestCheckInControls::safetyButtonOfAValidForm()
{
    QVERIFY(open({Counter::ticket(QStringLiteral("{a}"), object(R"({"validSafetyAgreement": true, "clientId": 7})")),
                  Counter::ticket(QStringLiteral("{b}"), object(R"({"clientId": 8})"))}));
    QVERIFY(isGreen(picture(m_counter->at(0, Counter::Safety))));
    QVERIFY(!isGreen(picture(m_counter->at(1, Counter::Safety))));
    QVERIFY(!isGreen(picture(m_counter->at(0, Counter::Enqueue))));
    m_counter->desk().send(QStringLiteral("client_account_data"),
                           object(R"({"clientId": 8, "safetyAgreementValid": true})"));
    QVERIFY(isGreen(picture(m_counter->at(1, Counter::Safety))));
}

void TestCheckInControls::enqueueButtonByState()
{
    const QJsonObject paid = object(R"({"payState": true})");
    QVERIFY(open({m_counter->sold(QStringLiteral("{unpaid}")), m_counter->sold(QStringLiteral("{paid}"), paid),
                  Counter::ticket(QStringLiteral("{nosale}"), paid)}));
    const QImage unpaid = picture(m_counter->at(0, Counter::Enqueue));
    const QImage usable = picture(m_counter->at(1, Counter::Enqueue));
    const QImage noSale = picture(m_counter->at(2, Counter::Enqueue));
    QCOMPARE(unpaid, noSale);
    QVERIFY(unpaid != usable);
    QVERIFY(darkest(usable) < darkest(unpaid));
}

// A minor of a paid racer may be seated, whatever was bought; a minor of an unpaid one may not.
void TestCheckInControls::enqueueButtonOfMinors()
{
    const QJsonObject paid = object(R"({"payState": true})");
    QVERIFY(open({withKids(m_counter->sold(QStringLiteral("{a}"), paid), {Counter::ticket(QStringLiteral("{k1}"))}),
                  withKids(m_counter->sold(QStringLiteral("{b}")), {m_counter->sold(QStringLiteral("{k2}"))})}));
    const QImage usable = picture(m_counter->kidAt(0, 0, Counter::Enqueue));
    const QImage disabled = picture(m_counter->kidAt(1, 0, Counter::Enqueue));
    QCOMPARE(usable, picture(m_counter->at(0, Counter::Enqueue)));
    QCOMPARE(disabled, picture(m_counter->at(1, Counter::Enqueue)));
    QVERIFY(darkest(usable) < darkest(disabled));
}

void TestCheckInControls::everythingGreyWhenEnqueued()
{
    const QJsonObject paid = object(R"({"payState": true})");
    QVERIFY(open({withKids(m_counter->sold(QStringLiteral("{a}"), paid), {Counter::ticket(QStringLiteral("{k}"))}),
                  m_counter->sold(QStringLiteral("{b}"), paid)}));
    QCOMPARE(darkest(picture(m_counter->at(0, Counter::Safety))), darkest(picture(m_counter->at(1, Counter::Safety))));
    seat(QStringLiteral("{a}"));
    for (const Counter::Column column : {Counter::Safety, Counter::Enqueue})
        QVERIFY(darkest(picture(m_counter->at(0, column))) > darkest(picture(m_counter->at(1, column))));
    QVERIFY(picture(m_counter->at(0, Counter::PayState)) != picture(m_counter->at(1, Counter::PayState)));
}

void TestCheckInControls::buttonShowsThePress()
{
    QVERIFY(open({m_counter->sold(QStringLiteral("{a}"), object(R"({"payState": true})")),
                  m_counter->sold(QStringLiteral("{b}"), object(R"({"payState": true})"))}));
    const QModelIndex index = m_counter->at(0, Counter::Safety);
    const QRect rect = m_counter->cell(index);
    m_counter->moveTo(index);
    m_counter->tree()->setCurrentIndex(index);
    const QImage resting = m_counter->tree()->viewport()->grab(rect).toImage();
    m_counter->press(index);
    const QImage pressed = m_counter->tree()->viewport()->grab(rect).toImage();
    m_counter->release(index);
    QVERIFY(resting != pressed);
    QCOMPARE(m_counter->tree()->viewport()->grab(rect).toImage(), resting);
}

// Every cell is framed, and no dotted frame marks the current one.
void TestCheckInControls::gridAndFocus()
{
    QVERIFY(open({Counter::ticket(QStringLiteral("{a}")), Counter::ticket(QStringLiteral("{b}"))}));
    const QRgb line = m_counter->tree()->palette().color(QPalette::Midlight).rgb();
    const QImage cell = picture(m_counter->at(0, Counter::PaySum));
    QCOMPARE(cell.pixel(0, 0), line);
    QCOMPARE(cell.pixel(0, cell.height() / 2), line);
    QCOMPARE(cell.pixel(cell.width() / 2, 0), line);

    m_counter->tree()->setFocus();
    m_counter->tree()->setCurrentIndex(m_counter->at(0, Counter::RunCount));
    const QRect sumRect = m_counter->cell(m_counter->at(0, Counter::PaySum));
    const QImage elsewhere = m_counter->tree()->viewport()->grab(sumRect).toImage();
    m_counter->tree()->setCurrentIndex(m_counter->at(0, Counter::PaySum));
    QCOMPARE(m_counter->tree()->viewport()->grab(sumRect).toImage(), elsewhere);
}

void TestCheckInControls::insertAndCtrlReturn_data()
{
    QTest::addColumn<int>("key");
    QTest::addColumn<int>("modifiers");
    QTest::addColumn<int>("count");
    QTest::newRow("Ctrl+Return") << int(Qt::Key_Return) << int(Qt::ControlModifier) << 1;
    QTest::newRow("Insert") << int(Qt::Key_Insert) << int(Qt::NoModifier) << 1;
    QTest::newRow("Shift+Insert") << int(Qt::Key_Insert) << int(Qt::ShiftModifier) << 1;
    QTest::newRow("Ctrl+Alt+Insert") << int(Qt::Key_Insert) << int(Qt::ControlModifier | Qt::AltModifier) << 1;
    QTest::newRow("Return") << int(Qt::Key_Return) << int(Qt::NoModifier) << 0;
    QTest::newRow("Ctrl+Enter") << int(Qt::Key_Enter) << int(Qt::ControlModifier) << 0;
    QTest::newRow("a letter") << int(Qt::Key_A) << int(Qt::NoModifier) << 0;
}

void TestCheckInControls::insertAndCtrlReturn()
{
    QFETCH(int, key);
    QFETCH(int, modifiers);
    QFETCH(int, count);
    QVERIFY(open({m_counter->sold(QStringLiteral("{a}")), m_counter->sold(QStringLiteral("{b}"))}));
    QSignalSpy spy(m_counter->tree(), SIGNAL(ctrlReturnClicked(QModelIndex)));
    QVERIFY(spy.isValid());
    const QModelIndex index = m_counter->at(1, Counter::Name);
    m_counter->tree()->setFocus();
    m_counter->tree()->setCurrentIndex(index);
    QTest::keyClick(m_counter->tree(), Qt::Key(key), Qt::KeyboardModifiers(modifiers));
    QCOMPARE(spy.count(), count);
    if (count)
        QCOMPARE(spy.at(0).at(0).toModelIndex(), index);
    QCOMPARE(m_counter->desk().names(), QStringList());
}

void TestCheckInControls::deleteKeys()
{
    QVERIFY(open({withKids(m_counter->sold(QStringLiteral("{a}")),
                           {Counter::ticket(QStringLiteral("{k0}")), Counter::ticket(QStringLiteral("{k1}"))}),
                  m_counter->sold(QStringLiteral("{b}"))}));
    QSignalSpy deleted(m_counter->tree(), SIGNAL(delClicked(int, int)));
    QSignalSpy ctrlDeleted(m_counter->tree(), SIGNAL(ctrlDelClicked(QModelIndex)));
    m_counter->tree()->setFocus();
    m_counter->tree()->setCurrentIndex(m_counter->at(1, Counter::Discount));
    QTest::keyClick(m_counter->tree(), Qt::Key_Delete);
    QCOMPARE(deleted.count(), 1);
    QCOMPARE(deleted.at(0).at(0).toInt(), 1);
    QCOMPARE(deleted.at(0).at(1).toInt(), int(Counter::Discount));
    m_counter->tree()->setCurrentIndex(m_counter->kidAt(0, 1, Counter::Name));
    QTest::keyClick(m_counter->tree(), Qt::Key_Delete);
    QCOMPARE(deleted.count(), 2);
    QCOMPARE(deleted.at(1).at(0).toInt(), 1);
    QCOMPARE(deleted.at(1).at(1).toInt(), int(Counter::Name));
    QCOMPARE(ctrlDeleted.count(), 0);
    // Nobody listens: the line stays.
    QCOMPARE(m_counter->model()->rowCount(), 2);
    QCOMPARE(m_counter->desk().names(), QStringList());
}

void TestCheckInControls::ctrlDelete()
{
    QVERIFY(open({m_counter->sold(QStringLiteral("{a}"))}));
    QSignalSpy deleted(m_counter->tree(), SIGNAL(delClicked(int, int)));
    QSignalSpy ctrlDeleted(m_counter->tree(), SIGNAL(ctrlDelClicked(QModelIndex)));
    m_counter->tree()->setFocus();
    m_counter->tree()->setCurrentIndex(m_counter->at(0, Counter::Name));
    QTest::keyClick(m_counter->tree(), Qt::Key_Delete, Qt::ControlModifier);
    QCOMPARE(ctrlDeleted.count(), 1);
    QCOMPARE(ctrlDeleted.at(0).at(0).toModelIndex(), m_counter->at(0, Counter::Name));
    QCOMPARE(deleted.count(), 0);
}

void TestCheckInControls::editKeys_data()
{
    QTest::addColumn<int>("key");
    QTest::newRow("Return") << int(Qt::Key_Return);
    QTest::newRow("Enter") << int(Qt::Key_Enter);
    QTest::newRow("F2") << int(Qt::Key_F2);
}

void TestCheckInControls::editKeys()
{
    QFETCH(int, key);
    QVERIFY(open({m_counter->sold(QStringLiteral("{a}")), m_counter->sold(QStringLiteral("{b}"))}));
    m_counter->tree()->setFocus();
    m_counter->tree()->setCurrentIndex(m_counter->at(1, Counter::Comment));
    QTest::keyClick(m_counter->tree(), Qt::Key(key));
    auto *line = m_counter->editor<QLineEdit *>();
    QVERIFY(line);
    QCOMPARE(line->geometry(), m_counter->cell(m_counter->at(1, Counter::Comment)));
    QTest::keyClick(line, Qt::Key_Escape);
    m_counter->tree()->setCurrentIndex(m_counter->at(1, Counter::Name));
    QTest::keyClick(m_counter->tree(), Qt::Key(key));
    QVERIFY(!m_counter->editor());
}

// The cell is looked up by its row and column in the top level.
void TestCheckInControls::editKeyOnAMinor()
{
    QVERIFY(open({withKids(m_counter->sold(QStringLiteral("{a}")),
                           {Counter::ticket(QStringLiteral("{k0}")), Counter::ticket(QStringLiteral("{k1}"))}),
                  m_counter->sold(QStringLiteral("{b}"))}));
    m_counter->tree()->setFocus();
    m_counter->tree()->setCurrentIndex(m_counter->kidAt(0, 1, Counter::Comment));
    QTest::keyClick(m_counter->tree(), Qt::Key_F2);
    auto *line = m_counter->editor<QLineEdit *>();
    QVERIFY(line);
    QCOMPARE(line->geometry(), m_counter->cell(m_counter->at(1, Counter::Comment)));
    QTest::keyClicks(line, QStringLiteral("x"));
    QTest::keyClick(line, Qt::Key_Return);
    QCoreApplication::processEvents();
    QCOMPARE(m_counter->shown(1, Counter::Comment), QStringLiteral("x"));
    QCOMPARE(m_counter->kidAt(0, 1, Counter::Comment).data().toString(), QString());
}

void TestCheckInControls::editKeysWhileEditing()
{
    QVERIFY(open({m_counter->sold(QStringLiteral("{a}")), m_counter->sold(QStringLiteral("{b}"))}));
    QVERIFY(m_counter->edit(m_counter->at(0, Counter::Comment)));
    QPointer<QWidget> editor = m_counter->editor();
    QTest::keyClick(m_counter->tree(), Qt::Key_F2);
    QCOMPARE(m_counter->editor(), editor.data());
    QCOMPARE(m_counter->tree()->viewport()->findChildren<QLineEdit *>().size(), 1);
    QCOMPARE(m_counter->desk().names(), QStringList());
}

void TestCheckInControls::deleteWhileEditing()
{
    QVERIFY(open({m_counter->sold(QStringLiteral("{a}"), {{QStringLiteral("comment"), QStringLiteral("abc")}})}));
    QSignalSpy deleted(m_counter->tree(), SIGNAL(delClicked(int, int)));
    QVERIFY(m_counter->edit(m_counter->at(0, Counter::Comment)));
    auto *line = m_counter->editor<QLineEdit *>();
    line->setFocus();
    line->setCursorPosition(0);
    QTest::keyClick(line, Qt::Key_Delete);
    QCOMPARE(line->text(), QStringLiteral("bc"));
    QTest::keyClick(m_counter->tree(), Qt::Key_Delete);
    QCOMPARE(deleted.count(), 0);
    QTest::keyClick(line, Qt::Key_Escape);
    QCOMPARE(m_counter->shown(0, Counter::Comment), QStringLiteral("abc"));
}

void TestCheckInControls::ctrlReturnWhileEditing()
{
    QVERIFY(open({m_counter->sold(QStringLiteral("{a}"))}));
    QSignalSpy spy(m_counter->tree(), SIGNAL(ctrlReturnClicked(QModelIndex)));
    QVERIFY(m_counter->edit(m_counter->at(0, Counter::Comment)));
    auto *line = m_counter->editor<QLineEdit *>();
    line->setFocus();
    line->setText(QStringLiteral("x"));
    QTest::keyClick(line, Qt::Key_Return, Qt::ControlModifier);
    QCOMPARE(spy.count(), 1);
    QCOMPARE(spy.at(0).at(0).toModelIndex(), m_counter->at(0, Counter::Comment));
    QCoreApplication::processEvents();
    QVERIFY(!m_counter->editor());
    QCOMPARE(m_counter->shown(0, Counter::Comment), QStringLiteral("x"));
}

// After a discount was typed one press of an editing key is spent, from wherever it comes.
void TestCheckInControls::skippedReturn()
{
    QVERIFY(open({m_counter->sold(QStringLiteral("{a}"))}));
    QVERIFY(m_counter->edit(m_counter->at(0, Counter::Discount)));
    auto *combo = m_counter->editor<QComboBox *>();
    combo->hidePopup();
    combo->lineEdit()->setFocus();
    combo->lineEdit()->selectAll();
    QTest::keyClicks(combo->lineEdit(), QStringLiteral("=200"));
    QTest::keyClick(combo->lineEdit(), Qt::Key_Return);
    HostProbe::settle();
    QVERIFY(!m_counter->editor());
    QCOMPARE(m_counter->shown(0, Counter::Discount), QStringLiteral("=200"));
    QTest::keyClick(m_counter->tree(), Qt::Key_Return);
    QVERIFY(m_counter->editor<QComboBox *>());
    m_counter->editor<QComboBox *>()->hidePopup();
}

void TestCheckInControls::skipEndsWithAnyEditKey()
{
    QVERIFY(open({m_counter->sold(QStringLiteral("{a}"))}));
    QVERIFY(m_counter->type(m_counter->at(0, Counter::Discount), QStringLiteral("5")));
    m_counter->tree()->setCurrentIndex(m_counter->at(0, Counter::Comment));
    QTest::keyClick(m_counter->tree(), Qt::Key_F2);
    QVERIFY(m_counter->editor<QLineEdit *>());
}

void TestCheckInControls::selectionIsTold()
{
    QVERIFY(open({m_counter->sold(QStringLiteral("{a}")), m_counter->sold(QStringLiteral("{b}"))}));
    m_counter->tree()->clearSelection();
    QSignalSpy spy(m_counter->tree(), SIGNAL(updateSelection(QItemSelection, QItemSelection)));
    QVERIFY(spy.isValid());
    m_counter->tree()->selectionModel()->select(m_counter->at(0, Counter::Name),
                                                QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    QCOMPARE(spy.count(), 1);
    QVERIFY(spy.at(0).at(0).value<QItemSelection>().contains(m_counter->at(0, Counter::Comment)));
    QVERIFY(spy.at(0).at(1).value<QItemSelection>().isEmpty());
    m_counter->tree()->selectionModel()->select(m_counter->at(1, Counter::Name),
                                                QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    QCOMPARE(spy.count(), 2);
    QVERIFY(spy.at(1).at(1).value<QItemSelection>().contains(m_counter->at(0, Counter::Name)));
}

void TestCheckInControls::keysReachTheBase()
{
    QVERIFY(open({m_counter->sold(QStringLiteral("{a}")), m_counter->sold(QStringLiteral("{b}"))}));
    m_counter->tree()->setFocus();
    m_counter->tree()->setCurrentIndex(m_counter->at(0, Counter::Name));
    QTest::keyClick(m_counter->tree(), Qt::Key_Down);
    QCOMPARE(m_counter->tree()->currentIndex().row(), 1);
}

DESK_TEST_MAIN(TestCheckInControls)
#include "tst_checkin_controls.moc"
