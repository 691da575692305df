#include "desktest.h"
#include "hostprobe.h"

#include <QAction>
#include <QComboBox>
#include <QGroupBox>
#include <QHeaderView>
#include <QLabel>
#include <QListWidget>
#include <QMenu>
#include <QPushButton>
#include <QSplitter>
#include <QTreeView>

/// Names, captions and settings of the form's designer objects, which scripted hosts and clients rely on.
class TestDesigner : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void form();
    void objects_data();
    void objects();
    void rowOfButtons_data();
    void rowOfButtons();
    void heightOfAllButtons();
    void splitters();
    void priceTypes();
    void checkInTable();
    void checkInColumns();
    void pitlaneIsHidden();
    void runLists();
    void runsMenu();
    void carMenu();
    void emptySlots();

private:
    std::unique_ptr<TempTrack> m_track;
    std::unique_ptr<HostProbe> m_desk;
};

namespace {

QString text(const char *utf8)
{
    return QString::fromUtf8(utf8);
}

const char *const ButtonRow[] = {"bAddRacer",    "bAddRacerFromDb", "bRemoveRacerFromList", "pbSimplePayment",
                                 "pbRemovePaid", "bAddRun",         "bRemoveRun",           "pbClearRunsHistory"};

} // namespace

void TestDesigner::initTestCase()
{
    m_track = std::make_unique<TempTrack>();
    m_desk = std::make_unique<HostProbe>(QStringLiteral(LAPVANE_PLUGIN_FILE));
    QVERIFY2(m_desk->start(), qPrintable(m_desk->errorString()));
}

void TestDesigner::cleanupTestCase()
{
    m_desk.reset();
    m_track.reset();
}

void TestDesigner::form()
{
    QCOMPARE(m_desk->tab()->objectName(), QStringLiteral("TicketPluginForm"));
    QCOMPARE(m_desk->tab()->size(), QSize(1265, 775));
    QCOMPARE(m_desk->tab()->windowTitle(), QStringLiteral("Form"));
    QVERIFY(!m_desk->tab()->parentWidget());
}

void TestDesigner::objects_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("className");
    QTest::addColumn<QString>("caption");
    const auto row = [](const char *name, const char *className, const char *caption) {
        QTest::newRow(name) << text(name) << text(className) << text(caption);
    };
    row("actionAddRacer", "QAction", "Добавить участника");
    row("actionRemoveRacer", "QAction", "Удалить из списка");
    row("actionEditRacer", "QAction", "Редактировать");
    row("actionMoveToRuns", "QAction", "В очередь заездов");
    row("actionRemoveRun", "QAction", "Удалить заезд");
    row("actionPrintTicket", "QAction", "Печать билета");
    row("actionRemoveRegHistory", "QAction", "Удалить");
    row("actionRemoveFromRun", "QAction", "Удалить из заезда");
    row("actionRefundTicket", "QAction", "Возврат билета");
    row("actionRenumberRuns", "QAction", "Перенумеровать заезды");
    row("actionRenameRun", "QAction", "Переименовать заезд");
    row("bAddRacer", "QPushButton", "Новый\nучастник");
    row("bAddRacerFromDb", "QPushButton", "Добавить\nиз базы");
    row("bRemoveRacerFromList", "QPushButton", "Удалить\nиз списка");
    row("pbSimplePayment", "QPushButton", "Продажа");
    row("pbRemovePaid", "QPushButton", "Удалить\nоплаченные");
    row("label", "QLabel", "Цены");
    row("cbPricesNames", "QComboBox", "Основные");
    row("gbCheckin", "QGroupBox", "Регистрация");
    row("tvCheckIn", "QEditableTreeView", "");
    row("pitlaneContainer", "QWidget", "");
    row("label_2", "QLabel", "Питлейн");
    row("pbClearPitlane", "QPushButton", "Очистить");
    row("pbRemoveFromPitLane", "QPushButton", "Удалить");
    row("pitlaneWidget", "QPitlaneWidget", "");
    row("_1_runsgroupBox_2", "QGroupBox", "Очередь ожидания");
    row("bAddRun", "QPushButton", "Добавить\nзаезды");
    row("bRemoveRun", "QPushButton", "Удалить\nзаезды");
    row("lwRunsList", "QRunQueueListWidget", "");
    row("_2_histgroupBox", "QGroupBox", "История");
    row("pbClearRunsHistory", "QPushButton", "Очистить\nисторию");
    row("lwRunsHistory", "QRunQueueListWidget", "");
}

void TestDesigner::objects()
{
    QFETCH(QString, name);
    QFETCH(QString, className);
    QFETCH(QString, caption);
    const QList<QObject *> found = m_desk->tab()->findChildren<QObject *>(name);
    QCOMPARE(found.size(), 1);
    const QObject *object = found.first();
    QCOMPARE(QString::fromLatin1(object->metaObject()->className()), className);
    const QVariant shown = qobject_cast<const QGroupBox *>(object)   ? object->property("title")
                           : qobject_cast<const QComboBox *>(object) ? object->property("currentText")
                                                                     : object->property("text");
    QCOMPARE(shown.toString(), caption);
}

void TestDesigner::rowOfButtons_data()
{
    QTest::addColumn<QString>("name");
    for (const char *name : ButtonRow)
        QTest::newRow(name) << text(name);
}

void TestDesigner::rowOfButtons()
{
    QFETCH(QString, name);
    const auto *button = m_desk->find<QPushButton *>(name);
    QVERIFY(button);
    QCOMPARE(button->styleSheet(),
             QStringLiteral("QPushButton:checked{\n\tbackground-color:blue;\n\tborder:none;\t\n}"));
    QVERIFY(!button->isCheckable());
    QCOMPARE(button->shortcut(), QKeySequence(QStringLiteral("Ctrl+B")));
    // Only the search waits for the online service.
    QCOMPARE(button->isEnabled(), name != QLatin1String("bAddRacerFromDb"));
}

void TestDesigner::heightOfAllButtons()
{
    const QList<QPushButton *> buttons = m_desk->tab()->findChildren<QPushButton *>();
    QCOMPARE(buttons.size(), 10);
    for (const QPushButton *button : buttons)
        QVERIFY2(button->maximumHeight() == 52, qPrintable(button->objectName()));
}

void TestDesigner::splitters()
{
    const auto *outer = m_desk->find<QSplitter *>(QStringLiteral("splitter_2"));
    QVERIFY(outer);
    QCOMPARE(outer->count(), 2);
    QCOMPARE(outer->orientation(), Qt::Horizontal);
    QCOMPARE(outer->widget(0)->objectName(), QStringLiteral("layoutWidget"));
    QCOMPARE(outer->widget(1)->objectName(), QStringLiteral("histAndSeatSplitter"));
    QVERIFY(outer->widget(0)->findChild<QTreeView *>(QStringLiteral("tvCheckIn")));

    const auto *runs = qobject_cast<const QSplitter *>(outer->widget(1));
    QVERIFY(runs);
    QCOMPARE(runs->orientation(), Qt::Vertical);
    QCOMPARE(runs->count(), 2);
    const auto holds = [](const QWidget *widget, const char *name) {
        return widget->objectName() == text(name) || widget->findChild<QWidget *>(text(name));
    };
    QVERIFY(holds(runs->widget(0), "_1_runsgroupBox_2"));
    QVERIFY(holds(runs->widget(1), "_2_histgroupBox"));
    QVERIFY(m_desk->find<QWidget *>(QStringLiteral("_1_runsgroupBox_2"))
                ->findChild<QWidget *>(QStringLiteral("lwRunsList")));
    QVERIFY(m_desk->find<QWidget *>(QStringLiteral("_2_histgroupBox"))
                ->findChild<QWidget *>(QStringLiteral("lwRunsHistory")));

    const auto *inner = m_desk->find<QSplitter *>(QStringLiteral("splitter"));
    QVERIFY(inner);
    QCOMPARE(inner->count(), 2);
    QCOMPARE(inner->widget(0)->objectName(), QStringLiteral("gbCheckin"));
    QCOMPARE(inner->widget(1)->objectName(), QStringLiteral("pitlaneContainer"));
    QVERIFY(inner->widget(1)->findChild<QWidget *>(QStringLiteral("pitlaneWidget")));
}

void TestDesigner::priceTypes()
{
    const auto *box = m_desk->find<QComboBox *>(QStringLiteral("cbPricesNames"));
    QCOMPARE(box->count(), 1);
    QCOMPARE(box->itemText(0), QStringLiteral("Основные"));
    QCOMPARE(box->itemData(0, Qt::UserRole).toInt(), -1);
    QCOMPARE(box->currentIndex(), 0);
    QVERIFY(!box->isEditable());
}

void TestDesigner::checkInTable()
{
    const auto *view = m_desk->find<QTreeView *>(QStringLiteral("tvCheckIn"));
    QCOMPARE(view->model()->objectName(), QStringLiteral("checkInListModel"));
    QCOMPARE(QString::fromLatin1(view->model()->metaObject()->className()), QStringLiteral("ClientsCheckInList"));
    QCOMPARE(QString::fromLatin1(view->itemDelegate()->metaObject()->className()),
             QStringLiteral("ClientsCheckInDelegate"));
    QCOMPARE(view->contextMenuPolicy(), Qt::ActionsContextMenu);
    QCOMPARE(view->selectionMode(), QAbstractItemView::ExtendedSelection);
    QCOMPARE(view->selectionBehavior(), QAbstractItemView::SelectRows);
    QVERIFY(view->rootIsDecorated());
    QVERIFY(!view->expandsOnDoubleClick());
    QVERIFY(view->header()->stretchLastSection());
    QStringList actions;
    const QList<QAction *> own = view->actions();
    for (const QAction *action : own)
        actions.append(action->objectName());
    QCOMPARE(actions, (QStringList{QStringLiteral("actionAddRacer"), QStringLiteral("actionEditRacer"),
                                   QStringLiteral("actionRemoveRacer"), QStringLiteral("actionMoveToRuns")}));
    for (int column = 0; column < view->model()->columnCount(); ++column)
        QCOMPARE(view->isColumnHidden(column), column == 9);
}

void TestDesigner::checkInColumns()
{
    const QAbstractItemModel *model = m_desk->checkIn();
    const QStringList captions{QStringLiteral("#"), text("Имя"),       text("Услуга"),   text("Кол-во"),
                               text("ТБ"),          text("Скидка"),    text("К оплате"), text("Способ оплаты"),
                               text("Статус"),      text("NFC карта"), QString(),        text("Комментарий")};
    QCOMPARE(model->columnCount(), captions.size());
    for (int column = 0; column < captions.size(); ++column)
        QCOMPARE(model->headerData(column, Qt::Horizontal).toString(), captions.at(column));
}

void TestDesigner::pitlaneIsHidden()
{
    QVERIFY(m_desk->find<QWidget *>(QStringLiteral("pitlaneContainer"))->isHidden());
    m_desk->tab()->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_desk->tab()));
    QVERIFY(m_desk->find<QWidget *>(QStringLiteral("gbCheckin"))->isVisible());
    QVERIFY(!m_desk->find<QWidget *>(QStringLiteral("pitlaneContainer"))->isVisible());
    m_desk->tab()->hide();
}

void TestDesigner::runLists()
{
    const auto *queue = m_desk->find<QListWidget *>(QStringLiteral("lwRunsList"));
    QVERIFY(queue);
    QVERIFY(queue->acceptDrops());
    QVERIFY(queue->dragEnabled());
    QCOMPARE(queue->dragDropMode(), QAbstractItemView::InternalMove);
    QCOMPARE(queue->selectionMode(), QAbstractItemView::ExtendedSelection);
    QCOMPARE(queue->contextMenuPolicy(), Qt::CustomContextMenu);
    QCOMPARE(queue->spacing(), 0);
    QCOMPARE(queue->count(), 0);

    const auto *history = m_desk->find<QListWidget *>(QStringLiteral("lwRunsHistory"));
    QVERIFY(history);
    QVERIFY(!history->acceptDrops());
    QVERIFY(!history->dragEnabled());
    QCOMPARE(history->dragDropMode(), QAbstractItemView::NoDragDrop);
    QCOMPARE(history->selectionMode(), QAbstractItemView::ExtendedSelection);
    QCOMPARE(history->spacing(), 0);
    QCOMPARE(history->count(), 0);
}

void TestDesigner::runsMenu()
{
    const auto *print = m_desk->find<QAction *>(QStringLiteral("actionPrintTicket"));
    QMenu *menu = nullptr;
    const QList<QWidget *> holders = print->associatedWidgets();
    for (QWidget *holder : holders) {
        if (auto *found = qobject_cast<QMenu *>(holder))
            menu = found;
    }
    QVERIFY(menu);
    QStringList entries;
    const QList<QAction *> actions = menu->actions();
    for (const QAction *action : actions)
        entries.append(action->objectName());
    QCOMPARE(entries, (QStringList{QStringLiteral("actionPrintTicket"), QStringLiteral("actionRemoveRun"),
                                   QStringLiteral("actionRenumberRuns")}));
}

void TestDesigner::carMenu()
{
    int menus = 0;
    const QWidgetList widgets = QApplication::allWidgets();
    for (const QWidget *widget : widgets) {
        const auto *menu = qobject_cast<const QMenu *>(widget);
        if (menu && menu->title() == text("Выбрать карт"))
            ++menus;
    }
    QCOMPARE(menus, 1);
}

// These three are required to be there and to do nothing.
void TestDesigner::emptySlots()
{
    m_track->removeJournal(QStringLiteral("tickets.state"));
    m_desk->clear();
    m_desk->find<QAction *>(QStringLiteral("actionRemoveRegHistory"))->trigger();
    QVERIFY(
        QMetaObject::invokeMethod(m_desk->tab(), "on_tvHistoryList_doubleClicked", Q_ARG(QModelIndex, QModelIndex())));
    QVERIFY(QMetaObject::invokeMethod(m_desk->tab(), "scanNFCClicked", Q_ARG(QModelIndex, QModelIndex())));
    HostProbe::settle();
    QCOMPARE(m_desk->names(), QStringList());
    QVERIFY(!m_track->hasJournal(QStringLiteral("tickets.state")));
}

DESK_TEST_MAIN(TestDesigner)

#include "tst_designer.moc"
