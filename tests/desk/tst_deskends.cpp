#include "checkincounter.h"
#include "desktest.h"
#include "fulldesk.h"
#include "jsonmatch.h"

#include <QAction>
#include <QContextMenuEvent>
#include <QDialog>
#include <QDrag>
#include <QFrame>
#include <QMainWindow>
#include <QMenu>
#include <QTabWidget>
#include <QTimer>
#include <QWindow>

#include <memory>

/// A host that ends the desk while a hand is still on it: a mouse button that has opened a dialog, a menu or one of its
/// entries, a racer at the pointer. Whatever Qt is in the middle of has to come back into a desk that is gone. Wants a
/// platform whose drags have a loop of their own and no desktop around them.
class TestDeskEnds : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void underADialog_data();
    void underADialog();
    void underAMenu_data();
    void underAMenu();
    void underADialogOfAMenu_data();
    void underADialogOfAMenu();
    void underACarChange();
    void underTwoDialogs_data();
    void underTwoDialogs();
    void underADrag_data();
    void underADrag();
    void afterADrag_data();
    void afterADrag();

private:
    void end();
    void drag(QWidget *from, const QPoint &where);
    void click(QWidget *widget, const QPoint &where) const;
    void doubleClick(QWidget *widget, const QPoint &where) const;
    QRect cell(int row, int column) const;
    QTreeView *priceView();
    void askForMenu(QWidget *widget, const QPoint &where) const;
    void openDialog(const QByteArray &what);
    void openMenu(const QByteArray &what);

    std::unique_ptr<FullDesk> m_desk;
    std::unique_ptr<QMainWindow> m_host;
    QStringList m_before;
};

namespace {

using JsonMatch::object;

const QString RunA = QStringLiteral("{run-a}");
const QString RunB = QStringLiteral("{run-b}");
const QString Anna = QStringLiteral("{anna}");
const QString Boris = QStringLiteral("{boris}");
const QString Vera = QStringLiteral("{vera}");

/// Classes of all that has no parent, whether it is shown or not.
QStringList windows()
{
    QStringList classes;
    const QWidgetList widgets = QApplication::topLevelWidgets();
    for (const QWidget *widget : widgets)
        classes.append(QString::fromLatin1(widget->metaObject()->className()));
    classes.sort();
    return classes;
}

/// Clicks on an entry of a menu.
void choose(QMenu *menu, const QString &entry)
{
    const QList<QAction *> actions = menu->actions();
    for (QAction *action : actions) {
        if (action->text() == entry) {
            QTest::mouseClick(menu, Qt::LeftButton, Qt::NoModifier, menu->actionGeometry(action).center());
            return;
        }
    }
    QFAIL(qPrintable(QStringLiteral("no entry \"%1\"").arg(entry)));
}

} // namespace

void TestDeskEnds::init()
{
    m_host = std::make_unique<QMainWindow>();
    m_before = windows();
    m_desk = std::make_unique<FullDesk>();
    m_desk->track().addPriceItem({text("Взрослый"), 500, text("Sodi")});
    m_desk->seedList({FullDesk::line(Anna, 2), FullDesk::line(Boris, 1, object(R"({"payState": false, "payMethod": "",
        "kidsList": [{"uuid": "{kid}", "lastName": "kid"}]})"))});
    m_desk->seedQueue({{RunA, {TrackOffice::seat(Vera, -1001, object(R"({"competitorState": 1})"))}}, {RunB}});
    m_desk->seedHistory({TrackOffice::pastRun(QStringLiteral("{past-run}"), 10)});
    QVERIFY(m_desk->desk().start());
    m_desk->sendCars({TrackOffice::car(4, text("Sodi"), text("9"))});
    m_desk->desk().send(QStringLiteral("new_run_started"), {{QStringLiteral("runQueueGuid"), RunA}});
    m_desk->desk().clear();

    m_host->setCentralWidget(m_desk->desk().tab());
    m_host->resize(1900, 900);
    m_host->show();
    QVERIFY(QTest::qWaitForWindowActive(m_host.get()));
}

void TestDeskEnds::cleanup()
{
    end();
    m_host.reset();
    m_desk.reset();
}

/// The host takes its widgets back, ends the desk and goes on without it.
void TestDeskEnds::end()
{
    if (!m_desk->desk().plugin())
        return;
    m_host->takeCentralWidget();
    m_desk->desk().unload();
    QVERIFY(!QApplication::activeModalWidget());
    QVERIFY(!QApplication::activePopupWidget());
}

void TestDeskEnds::click(QWidget *widget, const QPoint &where) const
{
    QWindow *window = widget->window()->windowHandle();
    const QPoint place = widget->mapTo(widget->window(), where);
    QTest::mouseMove(window, place - QPoint(2, 1));
    QTest::mouseMove(window, place);
    QTest::mousePress(window, Qt::LeftButton, Qt::NoModifier, place);
    widget->repaint();
    QTest::mouseRelease(window, Qt::LeftButton, Qt::NoModifier, place);
}

void TestDeskEnds::doubleClick(QWidget *widget, const QPoint &where) const
{
    QTest::mouseDClick(widget->window()->windowHandle(), Qt::LeftButton, Qt::NoModifier,
                       widget->mapTo(widget->window(), where));
}

QRect TestDeskEnds::cell(int row, int column) const
{
    const QModelIndex index = m_desk->list()->model()->index(row, column);
    m_desk->list()->scrollTo(index);
    return m_desk->list()->visualRect(index);
}

QTreeView *TestDeskEnds::priceView()
{
    QWidget *page = m_desk->desk().settingsPage();
    page->resize(900, 700);
    page->show();
    if (!QTest::qWaitForWindowActive(page))
        qFatal("the settings page does not become active");
    return qobject_cast<QTreeView *>(page->findChild<QTabWidget *>(QStringLiteral("tPrices"))->widget(0));
}

void TestDeskEnds::askForMenu(QWidget *widget, const QPoint &where) const
{
    QContextMenuEvent event(QContextMenuEvent::Mouse, where, widget->mapToGlobal(where));
    QApplication::sendEvent(widget, &event);
}

void TestDeskEnds::openDialog(const QByteArray &what)
{
    QWidget *lines = m_desk->list()->viewport();
    if (what == "payment refused") {
        click(lines, cell(1, Counter::PayState).center());
    } else if (what == "seats of two runs") {
        click(lines, cell(0, Counter::Enqueue).center());
    } else if (what == "racer") {
        doubleClick(lines, cell(1, Counter::Name).center());
    } else if (what == "run") {
        doubleClick(m_desk->run(1), TrackOffice::title().center());
    } else if (what == "past run") {
        doubleClick(m_desk->pastRun(0), TrackOffice::title().center());
    } else if (what == "running run") {
        click(TrackOffice::startButton(m_desk->run(0)), QPoint(12, 12));
    } else if (what == "price colour") {
        QTreeView *view = priceView();
        click(view->viewport(), view->visualRect(view->model()->index(0, 4)).center());
    } else {
        auto *button = m_desk->desk().find<QPushButton *>(QString::fromLatin1(what));
        QVERIFY(button);
        click(button, button->rect().center());
    }
}

void TestDeskEnds::underADialog_data()
{
    QTest::addColumn<QByteArray>("what");
    QTest::addColumn<QByteArray>("dialog");
    const auto add = [](const char *what, const char *dialog) {
        QTest::newRow(what) << QByteArray(what) << QByteArray(dialog);
    };
    add("payment refused", "QMessageBox");
    add("seats of two runs", "SelectMultiSeatVariantDialog");
    add("racer", "AddRacerForm");
    add("run", "CustomizeRunDialog");
    add("past run", "CustomizeRunDialog");
    add("running run", "QMessageBox");
    add("price colour", "QColorDialog");
    add("bAddRacer", "AddRacerForm");
    add("bRemoveRacerFromList", "QMessageBox");
    add("pbRemovePaid", "QMessageBox");
    add("pbSimplePayment", "SimpleSaleDialog");
    add("bAddRun", "AddRunsDialog");
    add("pbClearRunsHistory", "QMessageBox");
}

void TestDeskEnds::underADialog()
{
    QFETCH(QByteArray, what);
    QFETCH(QByteArray, dialog);
    QByteArray opened;
    const auto answer = ModalAnswer::widget([&](QWidget *widget) {
        opened = widget->metaObject()->className();
        end();
    });
    openDialog(what);
    MODAL_VERIFY(answer);
    QCOMPARE(opened, dialog);
    HostProbe::settle();
    QCOMPARE(windows(), m_before);
}

void TestDeskEnds::openMenu(const QByteArray &what)
{
    if (what == "check-in list") {
        m_desk->list()->setCurrentIndex(m_desk->at(1));
        askForMenu(m_desk->list()->viewport(), cell(1, Counter::Name).center());
    } else if (what == "runs") {
        m_desk->queue()->setCurrentRow(1);
        askForMenu(m_desk->queue()->viewport(), m_desk->run(1)->geometry().center());
    } else if (what == "racer of a run") {
        TrackOffice::clickCell(m_desk->run(0), 0);
        askForMenu(m_desk->queue()->viewport(), m_desk->run(0)->geometry().center());
    } else if (what == "prices") {
        QTreeView *view = priceView();
        view->setFocus();
        view->setCurrentIndex(view->model()->index(0, 1));
        askForMenu(view->viewport(), view->visualRect(view->currentIndex()).center());
    } else if (what == "price tabs") {
        QWidget *tabs = priceView()->parentWidget()->parentWidget();
        askForMenu(tabs, QPoint(10, 5));
    }
}

void TestDeskEnds::underAMenu_data()
{
    QTest::addColumn<QByteArray>("what");
    for (const char *what : {"check-in list", "runs", "racer of a run", "prices", "price tabs"})
        QTest::newRow(what) << QByteArray(what);
}

void TestDeskEnds::underAMenu()
{
    QFETCH(QByteArray, what);
    const auto answer = ModalAnswer::widget([&](QWidget *menu) {
        QVERIFY(qobject_cast<QMenu *>(menu));
        end();
    });
    openMenu(what);
    QTRY_VERIFY(answer.answered());
    HostProbe::settle();
    QCOMPARE(windows(), m_before);
}

void TestDeskEnds::underADialogOfAMenu_data()
{
    QTest::addColumn<QByteArray>("what");
    QTest::addColumn<QString>("entry");
    QTest::addColumn<QByteArray>("dialog");
    const auto add = [](const char *what, const char *entry, const char *dialog) {
        QTest::newRow(entry) << QByteArray(what) << text(entry) << QByteArray(dialog);
    };
    add("check-in list", "Добавить участника", "AddRacerForm");
    add("check-in list", "Редактировать", "AddRacerForm");
    add("check-in list", "Удалить из списка", "QMessageBox");
    add("runs", "Переименовать заезд", "QInputDialog");
    add("runs", "Перенумеровать заезды", "QInputDialog");
    add("racer of a run", "Удалить из заезда", "QMessageBox");
    add("racer of a run", "Возврат билета", "RefundDialog");
    add("prices", "Удалить", "QMessageBox");
    add("price tabs", "Добавить вкладку", "QInputDialog");
}

void TestDeskEnds::underADialogOfAMenu()
{
    QFETCH(QByteArray, what);
    QFETCH(QString, entry);
    QFETCH(QByteArray, dialog);
    const auto menu = ModalAnswer::widget([&](QWidget *widget) {
        auto *shown = qobject_cast<QMenu *>(widget);
        QVERIFY(shown);
        // Without a window manager a view does not get the keyboard back from its menu.
        QWidget *owner = shown->parentWidget();
        if (owner)
            connect(shown, &QMenu::aboutToHide, owner, [owner] {
                owner->activateWindow();
                QCoreApplication::processEvents();
            });
        choose(shown, entry);
    });
    QByteArray opened;
    const auto answer = ModalAnswer::widget([&](QWidget *widget) {
        opened = widget->metaObject()->className();
        end();
    });
    openMenu(what);
    QTRY_VERIFY(menu.answered());
    MODAL_VERIFY(answer);
    QCOMPARE(opened, dialog);
    HostProbe::settle();
    QCOMPARE(windows(), m_before);
}

// The cars stand in a menu of their own, which opens beside the one of the runs.
void TestDeskEnds::underACarChange()
{
    const auto menu = ModalAnswer::widget([](QWidget *widget) {
        auto *runs = qobject_cast<QMenu *>(widget);
        const QList<QAction *> actions = runs->actions();
        for (QAction *action : actions) {
            if (!action->menu())
                continue;
            runs->setActiveAction(action);
            QVERIFY(action->menu()->isVisible());
            choose(action->menu(), text("Sodi 9"));
            return;
        }
    });
    QByteArray opened;
    const auto answer = ModalAnswer::widget([&](QWidget *widget) {
        opened = widget->metaObject()->className();
        end();
    });
    openMenu("racer of a run");
    QTRY_VERIFY(menu.answered());
    MODAL_VERIFY(answer);
    QCOMPARE(opened, QByteArray("ReplaceCarDialog"));
    HostProbe::settle();
    QCOMPARE(windows(), m_before);
}

void TestDeskEnds::underTwoDialogs_data()
{
    QTest::addColumn<QByteArray>("outer");
    QTest::addColumn<QByteArray>("inner");
    QTest::newRow("minor of a racer") << QByteArray("racer") << QByteArray("QMessageBox");
    QTest::newRow("colour of a run") << QByteArray("run") << QByteArray("QColorDialog");
    QTest::newRow("search over a refusal") << QByteArray("payment refused") << QByteArray("AddRacerFromDbDialog");
}

// What the end of the inner one leaves to do must not be done before the outer one has come back, too.
void TestDeskEnds::underTwoDialogs()
{
    QFETCH(QByteArray, outer);
    QFETCH(QByteArray, inner);
    const QPointer<QWidget> list(m_desk->list());
    const auto first = ModalAnswer::widget([&](QWidget *dialog) {
        if (outer == "racer") {
            dialog->findChild<QTreeView *>(QStringLiteral("tvKidsList"))->selectAll();
            QVERIFY(QMetaObject::invokeMethod(dialog, "removeKid"));
        } else if (outer == "run") {
            click(dialog->findChild<QFrame *>(QStringLiteral("fRunColor")), QPoint(5, 5));
        } else {
            m_desk->desk().send(QStringLiteral("query_racer_from_database"));
        }
        HostProbe::settle();
    });
    QByteArray opened;
    const auto second = ModalAnswer::widget([&](QWidget *dialog) {
        opened = dialog->metaObject()->className();
        end();
        HostProbe::settle();
    });
    openDialog(outer);
    MODAL_VERIFY(first);
    MODAL_VERIFY(second);
    QCOMPARE(opened, inner);
    HostProbe::settle();
    QVERIFY(!list);
    QCOMPARE(windows(), m_before);
}

void TestDeskEnds::underADrag_data()
{
    QTest::addColumn<QByteArray>("what");
    for (const char *what : {"racer of a run", "racer of a past run", "line of the list", "run"})
        QTest::newRow(what) << QByteArray(what);
}

void TestDeskEnds::underADrag()
{
    QFETCH(QByteArray, what);
    if (what == "racer of a run") {
        drag(m_desk->run(0), TrackOffice::cell(m_desk->run(0), 0).center());
    } else if (what == "racer of a past run") {
        drag(m_desk->pastRun(0), TrackOffice::cell(m_desk->pastRun(0), 0).center());
    } else if (what == "line of the list") {
        m_desk->select({m_desk->at(0)});
        drag(m_desk->list()->viewport(), m_desk->place(m_desk->at(0)));
    } else {
        drag(m_desk->run(1), TrackOffice::title().center());
    }
    QVERIFY(!m_desk->desk().plugin());
    HostProbe::settle();
    QCOMPARE(windows(), m_before);
    QCOMPARE(QGuiApplication::mouseButtons(), Qt::MouseButtons());
}

// Presses and pulls until a drag begins, and ends the desk from inside its loop.
void TestDeskEnds::drag(QWidget *from, const QPoint &where)
{
    QWindow *window = m_host->windowHandle();
    const QPoint place = from->mapTo(m_host.get(), where);
    QTimer timer;
    connect(&timer, &QTimer::timeout, &timer, [this] {
        if (m_host->findChild<QDrag *>())
            end();
    });
    timer.start(5);
    QTest::mouseMove(window, place - QPoint(2, 0));
    QTest::mousePress(window, Qt::LeftButton, Qt::NoModifier, place);
    for (int step = 1; step <= 2 * QApplication::startDragDistance() && m_desk->desk().plugin(); ++step)
        QTest::mouseMove(window, place + QPoint(step, 0));
    QTest::mouseRelease(window, Qt::LeftButton, Qt::NoModifier, place);
}

void TestDeskEnds::afterADrag_data()
{
    QTest::addColumn<bool>("dragged");
    QTest::newRow("nothing has been dragged") << false;
    QTest::newRow("a drag has just ended") << true;
}

// Nothing of the desk may be left to the event loop when nobody has to come back: the host may unload the library at once.
void TestDeskEnds::afterADrag()
{
    QFETCH(bool, dragged);
    QPointer<QDrag> ended;
    if (dragged) {
        QWidget *run = m_desk->run(0);
        const QPoint place = TrackOffice::cell(run, 0).center();
        QTimer timer;
        connect(&timer, &QTimer::timeout, &timer, [&ended, this] {
            ended = m_host->findChild<QDrag *>();
            QDrag::cancel();
        });
        timer.start(5);
        QTest::mousePress(run, Qt::LeftButton, Qt::NoModifier, place);
        QMouseEvent pull(QEvent::MouseMove, place + QPoint(9, 0), Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(run, &pull);
        QVERIFY(ended);
    }
    const QPointer<QWidget> list(m_desk->list());
    const QPointer<QWidget> queue(m_desk->queue());
    end();
    QVERIFY(!ended);
    QVERIFY(!list);
    QVERIFY(!queue);
    QCOMPARE(windows(), m_before);
}

DESK_TEST_MAIN(TestDeskEnds)

#include "tst_deskends.moc"
