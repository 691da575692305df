#include "checkincounter.h"
#include "desktest.h"
#include "jsonmatch.h"
#include "realscreen.h"

#include <QComboBox>
#include <QDialog>
#include <QGuiApplication>
#include <QLineEdit>
#include <QSignalSpy>
#include <QStyleHints>

/// Every control drawn into the check-in table under a real pointer: an X server of its own, a window manager, and
/// buttons that go down and up with a pause and a repaint in between. The desk lives in a child of the test program,
/// which has the display that this one starts.
class TestCheckInPointer : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everythingUnderThePointer();
};

/// What the child does on that display.
class PointerAtTheCounter : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void statusBox();
    void statusBoxTwice();
    void statusBoxRefused();
    void statusBoxOfTheSecondRow();
    void safetyButton();
    void enqueueButton();
    void enqueueButtonOfAMinor();
    void pressDraggedOut();
    void discountCell();
    void discountCellTyped();
    void payMethodCell();
    void saleCellByDoubleClick();
    void saleCellByKey();
    void runCountByDoubleClick();
    void nameByDoubleClick();

private:
    void start(const QList<QJsonObject> &lines);
    void xdo(const QStringList &arguments);
    void pointAt(const QPoint &global);
    void down();
    void up();
    void click(const QModelIndex &index);
    void doubleClick(const QModelIndex &index);
    void takeEntry(const QString &entry);
    QPoint onScreen(const QModelIndex &index) const;

    std::unique_ptr<Counter> m_counter;
};

namespace {

using JsonMatch::object;

const int Pause = 250;

QJsonObject withKids(QJsonObject line, const QJsonArray &kids)
{
    line.insert(QStringLiteral("kidsList"), kids);
    return line;
}

} // namespace

void TestCheckInPointer::everythingUnderThePointer()
{
    RealScreen screen;
    const QString broken = screen.start();
    QVERIFY2(broken.isEmpty(), qPrintable(broken));
    const QString wrong = screen.run(QStringLiteral("pointer"), 170000);
    QVERIFY2(wrong.isEmpty(), qPrintable(wrong));
}

void PointerAtTheCounter::init()
{
    QCOMPARE(QGuiApplication::platformName(), QStringLiteral("xcb"));
    m_counter = std::make_unique<Counter>();
    m_counter->stockPrices();
}

void PointerAtTheCounter::cleanup()
{
    m_counter.reset();
}

void PointerAtTheCounter::start(const QList<QJsonObject> &lines)
{
    m_counter->seed(lines);
    QVERIFY(m_counter->open());
    m_counter->sendCars();
    HostProbe::settle(Pause);
}

void PointerAtTheCounter::xdo(const QStringList &arguments)
{
    QVERIFY(Hand::xdotool(arguments));
    // Or the next order might swallow this one: moves that wait together count as one.
    HostProbe::settle(20);
}

void PointerAtTheCounter::pointAt(const QPoint &global)
{
    // In two steps, as a hand does.
    xdo({QStringLiteral("mousemove"), QString::number(global.x() - 3), QString::number(global.y() - 2)});
    xdo({QStringLiteral("mousemove"), QString::number(global.x()), QString::number(global.y())});
    HostProbe::settle(Pause / 2);
}

void PointerAtTheCounter::down()
{
    xdo({QStringLiteral("mousedown"), QStringLiteral("1")});
    HostProbe::settle(Pause);
    m_counter->tree()->viewport()->repaint();
    HostProbe::settle(Pause / 2);
}

void PointerAtTheCounter::up()
{
    xdo({QStringLiteral("mouseup"), QStringLiteral("1")});
    HostProbe::settle(Pause);
}

QPoint PointerAtTheCounter::onScreen(const QModelIndex &index) const
{
    return m_counter->tree()->viewport()->mapToGlobal(m_counter->cell(index).center());
}

void PointerAtTheCounter::click(const QModelIndex &index)
{
    const QPersistentModelIndex where(index);
    pointAt(onScreen(where));
    down();
    up();
    // The next click is a new one, not half of a double click.
    HostProbe::settle(QGuiApplication::styleHints()->mouseDoubleClickInterval());
}

void PointerAtTheCounter::doubleClick(const QModelIndex &index)
{
    pointAt(onScreen(index));
    xdo({QStringLiteral("click"), QStringLiteral("--repeat"), QStringLiteral("2"), QStringLiteral("--delay"),
         QStringLiteral("80"), QStringLiteral("1")});
    HostProbe::settle(Pause);
}

// Takes an entry of the open list with the pointer.
void PointerAtTheCounter::takeEntry(const QString &entry)
{
    auto *combo = m_counter->editor<QComboBox *>();
    QVERIFY2(combo, "no editor is open");
    QAbstractItemView *list = combo->view();
    QVERIFY2(list->isVisible(), "the list is not open");
    const QModelIndex index = combo->model()->index(combo->findText(entry), combo->modelColumn());
    QVERIFY(index.isValid());
    HostProbe::settle(QGuiApplication::styleHints()->mouseDoubleClickInterval());
    const QRect seen = list->visualRect(index).intersected(list->viewport()->rect());
    pointAt(list->viewport()->mapToGlobal(seen.center()));
    down();
    up();
    QVERIFY2(!m_counter->editor(), "the editor stayed open");
}

void PointerAtTheCounter::statusBox()
{
    start({m_counter->sold(QStringLiteral("{a}"))});
    click(m_counter->at(0, Counter::PayState));
    const QList<QVariantMap> rows = m_counter->payments(1);
    QCOMPARE(rows.size(), 1);
    QCOMPARE(rows.first().value(QStringLiteral("racer_guid")).toString(), QStringLiteral("{a}"));
    QCOMPARE(rows.first().value(QStringLiteral("pay_state")).toInt(), 1);
    QCOMPARE(rows.first().value(QStringLiteral("sum")).toDouble(), 1000.0);
    QCOMPARE(m_counter->at(0, Counter::PayState).data(Qt::BackgroundRole).value<QBrush>().color(), QColor(Qt::green));
    QCOMPARE(m_counter->desk().names(), QStringList());
}

void PointerAtTheCounter::statusBoxTwice()
{
    start({m_counter->sold(QStringLiteral("{a}"))});
    click(m_counter->at(0, Counter::PayState));
    QTRY_COMPARE(m_counter->track().value(QStringLiteral("SELECT pay_state FROM payments")).toInt(), 1);
    click(m_counter->at(0, Counter::PayState));
    QTRY_COMPARE(m_counter->track().value(QStringLiteral("SELECT pay_state FROM payments")).toInt(), 0);
    QCOMPARE(m_counter->paymentCount(), 1);
}

void PointerAtTheCounter::statusBoxRefused()
{
    start({m_counter->sold(QStringLiteral("{a}"), {{QStringLiteral("payMethod"), QString()}})});
    BoxFacts facts;
    const ModalAnswer box = answerBox(&facts, QMessageBox::Ok);
    click(m_counter->at(0, Counter::PayState));
    MODAL_VERIFY(box);
    QCOMPARE(facts.text, text("Не указан способ оплаты"));
    QCOMPARE(m_counter->desk().names(), QStringList{QStringLiteral("write_sys_log")});
    QCOMPARE(m_counter->paymentCount(), 0);
}

void PointerAtTheCounter::statusBoxOfTheSecondRow()
{
    start({withKids(m_counter->sold(QStringLiteral("{a}")), {Counter::ticket(QStringLiteral("{k}"))}),
           m_counter->sold(QStringLiteral("{b}"))});
    click(m_counter->at(1, Counter::PayState));
    QCOMPARE(m_counter->payments(1).value(0).value(QStringLiteral("racer_guid")).toString(), QStringLiteral("{b}"));
}

void PointerAtTheCounter::safetyButton()
{
    start({m_counter->sold(QStringLiteral("{a}")), m_counter->sold(QStringLiteral("{b}"))});
    QSignalSpy clicks(m_counter->tree()->itemDelegate(), SIGNAL(itemClicked(QModelIndex, QString)));
    click(m_counter->at(1, Counter::Safety));
    QCOMPARE(clicks.count(), 1);
    QCOMPARE(clicks.at(0).at(0).toModelIndex(), m_counter->at(1, Counter::Safety));
    QCOMPARE(clicks.at(0).at(1).toString(), QStringLiteral("SAFETY"));
}

void PointerAtTheCounter::enqueueButton()
{
    start({m_counter->sold(QStringLiteral("{a}"), object(R"({"payState": true, "runCount": 1})"))});
    QSignalSpy clicks(m_counter->tree()->itemDelegate(), SIGNAL(itemClicked(QModelIndex, QString)));
    click(m_counter->at(0, Counter::Enqueue));
    QCOMPARE(clicks.count(), 1);
    QCOMPARE(clicks.at(0).at(1).toString(), QStringLiteral("ENQUEUE"));
    QCOMPARE(m_counter->model()->rowCount(), 0);
}

void PointerAtTheCounter::enqueueButtonOfAMinor()
{
    start({withKids(m_counter->sold(QStringLiteral("{a}"), object(R"({"payState": true})")),
                    {m_counter->sold(QStringLiteral("{k1}")),
                     m_counter->sold(QStringLiteral("{k2}"), object(R"({"runCount": 1})"))})});
    QSignalSpy clicks(m_counter->tree()->itemDelegate(), SIGNAL(itemClicked(QModelIndex, QString)));
    const QPersistentModelIndex index(m_counter->kidAt(0, 1, Counter::Enqueue));
    click(index);
    QCOMPARE(clicks.count(), 1);
    QCOMPARE(clicks.at(0).at(0).toModelIndex(), QModelIndex(index));
}

void PointerAtTheCounter::pressDraggedOut()
{
    start({m_counter->sold(QStringLiteral("{a}")), m_counter->sold(QStringLiteral("{b}"))});
    QSignalSpy clicks(m_counter->tree()->itemDelegate(), SIGNAL(itemClicked(QModelIndex, QString)));
    pointAt(onScreen(m_counter->at(0, Counter::PayState)));
    down();
    QCOMPARE(m_counter->at(0, Counter::PayState).data(257).toInt(), 4);
    pointAt(onScreen(m_counter->at(1, Counter::PayState)));
    m_counter->tree()->viewport()->repaint();
    up();
    QCOMPARE(clicks.count(), 0);
    QCOMPARE(m_counter->paymentCount(), 0);
}

void PointerAtTheCounter::discountCell()
{
    start({m_counter->sold(QStringLiteral("{a}"))});
    click(m_counter->at(0, Counter::Discount));
    takeEntry(QStringLiteral("50"));
    QCOMPARE(m_counter->shown(0, Counter::Discount), QStringLiteral("50%"));
    QCOMPARE(m_counter->desk().names(), QStringList{QStringLiteral("local_request_answer")});
    JSON_CONTAINS(m_counter->published().at(0), object(R"({"discountValue": "50", "paySum": 500})"));
}

void PointerAtTheCounter::discountCellTyped()
{
    start({m_counter->sold(QStringLiteral("{a}"))});
    click(m_counter->at(0, Counter::Discount));
    QVERIFY(m_counter->editor<QComboBox *>());
    // The list lies over the cell: Escape puts it away, the text stays.
    xdo({QStringLiteral("key"), QStringLiteral("Escape")});
    HostProbe::settle(Pause);
    auto *combo = m_counter->editor<QComboBox *>();
    QVERIFY(combo);
    xdo({QStringLiteral("key"), QStringLiteral("ctrl+a")});
    xdo({QStringLiteral("type"), QStringLiteral("--delay"), QStringLiteral("30"), QStringLiteral("=200")});
    xdo({QStringLiteral("key"), QStringLiteral("Return")});
    HostProbe::settle(Pause);
    QVERIFY(!m_counter->editor());
    QCOMPARE(m_counter->shown(0, Counter::Discount), QStringLiteral("=200"));
    QCOMPARE(m_counter->desk().names(), QStringList{QStringLiteral("local_request_answer")});
    xdo({QStringLiteral("key"), QStringLiteral("Return")});
    HostProbe::settle(Pause);
    QVERIFY(m_counter->editor<QComboBox *>());
    xdo({QStringLiteral("key"), QStringLiteral("Escape")});
}

void PointerAtTheCounter::payMethodCell()
{
    start({m_counter->sold(QStringLiteral("{a}"))});
    click(m_counter->at(0, Counter::PayMethod));
    takeEntry(text("Наличные"));
    QCOMPARE(m_counter->shown(0, Counter::PayMethod), text("Наличные"));
    QCOMPARE(m_counter->desk().names(), QStringList{QStringLiteral("local_request_answer")});
}

void PointerAtTheCounter::saleCellByDoubleClick()
{
    start({m_counter->sold(QStringLiteral("{a}"))});
    doubleClick(m_counter->at(0, Counter::SalesItem));
    takeEntry(text("Детский"));
    QCOMPARE(m_counter->shown(0, Counter::SalesItem), text("Детский"));
    QCOMPARE(m_counter->desk().names(), QStringList{QStringLiteral("local_request_answer")});
    JSON_CONTAINS(m_counter->published().at(0), object(R"({"salesItem": "Детский", "paySum": 600})"));
}

void PointerAtTheCounter::saleCellByKey()
{
    start({Counter::ticket(QStringLiteral("{a}"))});
    click(m_counter->at(0, Counter::SalesItem));
    QVERIFY(!m_counter->editor());
    xdo({QStringLiteral("key"), QStringLiteral("F2")});
    HostProbe::settle(Pause);
    takeEntry(text("Взрослый"));
    QCOMPARE(m_counter->shown(0, Counter::SalesItem), text("Взрослый"));
    QCOMPARE(m_counter->at(0, Counter::RunCount).data(), QVariant(1));
    QCOMPARE(m_counter->desk().names(), QStringList{QStringLiteral("local_request_answer")});
}

void PointerAtTheCounter::runCountByDoubleClick()
{
    start({m_counter->sold(QStringLiteral("{a}"))});
    doubleClick(m_counter->at(0, Counter::RunCount));
    QVERIFY(m_counter->editor());
    xdo({QStringLiteral("key"), QStringLiteral("ctrl+a")});
    xdo({QStringLiteral("type"), QStringLiteral("--delay"), QStringLiteral("30"), QStringLiteral("70")});
    xdo({QStringLiteral("key"), QStringLiteral("Return")});
    HostProbe::settle(Pause);
    QVERIFY(!m_counter->editor());
    QCOMPARE(m_counter->at(0, Counter::RunCount).data(), QVariant(50));
    QCOMPARE(m_counter->desk().names(), QStringList{QStringLiteral("local_request_answer")});
}

void PointerAtTheCounter::nameByDoubleClick()
{
    start({Counter::ticket(QStringLiteral("{z}")), Counter::ticket(QStringLiteral("{a}"))});
    QString name;
    const ModalAnswer form = ModalAnswer::dialog(text("Запись на заезд"), [&](QDialog *dialog) {
        name = dialog->findChild<QLineEdit *>(QStringLiteral("leLastName"))->text();
        dialog->close();
    });
    doubleClick(m_counter->at(1, Counter::Name));
    HostProbe::settle(Pause);
    MODAL_VERIFY(form);
    QCOMPARE(name, QStringLiteral("{a}"));
    QCOMPARE(m_counter->desk().names(), QStringList());
}

DESK_TEST_MAIN_WITH_CHILD(TestCheckInPointer, [](const QString &, const QStringList &) {
    PointerAtTheCounter counter;
    return QTest::qExec(&counter, {QCoreApplication::applicationFilePath()});
})
#include "tst_checkin_pointer.moc"
