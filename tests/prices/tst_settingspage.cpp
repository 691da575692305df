#include "prices/pricesmodel.h"
#include "prices/settingspage.h"
#include "registration/tables/qeditabletreeview.h"

#include "desktest.h"

#include <QAction>
#include <QCheckBox>
#include <QColorDialog>
#include <QComboBox>
#include <QContextMenuEvent>
#include <QDoubleSpinBox>
#include <QGroupBox>
#include <QHeaderView>
#include <QInputDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPlainTextEdit>
#include <QPointer>
#include <QSerialPortInfo>
#include <QSignalSpy>
#include <QSpinBox>
#include <QSplitter>
#include <QTabBar>
#include <QTabWidget>

#include <memory>

namespace {

enum Column { Pos, SalesItem, Model, Price, Color, RemoteAvail };

const QMessageBox::StandardButtons yesNo = QMessageBox::Yes | QMessageBox::No;

QString confirmation()
{
    return QStringLiteral("Подтверждение");
}

QStringList *warnings = nullptr;

void collectWarning(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    Q_UNUSED(context)
    if (warnings && type != QtDebugMsg && type != QtInfoMsg)
        warnings->append(text);
}

/// A text dialog with the page's title, label, text and flags; answers with the text, or cancels if it is null.
ModalAnswer textDialog(const QString &title, const QString &label, const QString &present, const QString &answer,
                       const std::function<void()> &meanwhile = {})
{
    return ModalAnswer::dialog(title, [=](QDialog *dialog) {
        auto *input = qobject_cast<QInputDialog *>(dialog);
        const Qt::WindowFlags hints = Qt::WindowTitleHint | Qt::WindowSystemMenuHint;
        const Qt::WindowFlags others = Qt::WindowContextHelpButtonHint | Qt::WindowMinMaxButtonsHint;
        QVERIFY(input);
        QCOMPARE(input->labelText(), label);
        QCOMPARE(input->textValue(), present);
        QCOMPARE(input->windowFlags() & hints, hints);
        QCOMPARE(input->windowFlags() & others, Qt::WindowFlags());
        if (meanwhile)
            meanwhile();
        if (answer.isNull()) {
            input->reject();
            return;
        }
        input->setTextValue(answer);
        input->accept();
    });
}

/// Answers the question for a removal, after something else happened to the desk.
ModalAnswer lateAnswer(const std::function<void()> &meanwhile)
{
    return ModalAnswer::dialog(confirmation(), [=](QDialog *dialog) {
        const QPointer<QMessageBox> box(qobject_cast<QMessageBox *>(dialog));
        QVERIFY(box);
        meanwhile();
        if (box)
            box->button(QMessageBox::Yes)->click();
    });
}

QStringList names(const QList<PriceItem> &items)
{
    QStringList result;
    for (const PriceItem &item : items)
        result.append(item.salesItem);
    return result;
}

} // namespace

class SettingsPageTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void metaObject();
    void formIsBuiltWithoutWarnings();
    void formTexts();
    void formRanges();

    void loadEmptyDatabase();
    void loadTabs();
    void loadControlsFromSettings();
    void loadDefaults();
    void scannerPorts();
    void viewSettings();

    void tabChangeMovesBlock();
    void contextMenuOfTabs();
    void contextMenuBelowTabs();
    void rightClickOnTheTabBar();
    void clickOnColour();
    void clickOnColourCancelled();
    void clickElsewhereOpensNothing();
    void colourWhileTheBookIsLoadedAnew();
    void colourOfAnItemThatGoes();
    void doubleClickOnKiosk();
    void addedTabIgnoresColourAndKiosk();
    void addedTabEditsTheRest();

    void addTab();
    void addTabWithoutName();
    void addTabCancelled();
    void seventeenthTab();
    void renameTab();
    void renameTabCancelled();
    void renameTabThatGoes();
    void firstTabStays();
    void deleteTab();
    void deleteTabRefused();
    void deleteTabThatIsGone();
    void pageGoesDuringQuestion();
    void pageGoesDuringRename();

    void addPriceItem();
    void addPriceItemWithoutFocus();
    void removePrices();
    void removePricesRefused();
    void removePricesWithoutSelection();
    void removePricesWithoutFocus();
    void removePricesThatMoveMeanwhile();
    void removePricesThatAreGone();

    void accept();
    void acceptEmptyLists();
    void acceptKeepsLinesAsTyped();
    void acceptDropsBlankLines();
    void acceptStoresPort();
    void otherEventsAreIgnored();
    void acceptRefreshesViews();
    void acceptKeepsTheOpenCell();
    void pricesSurviveACancelledDialog();
    void modelGoesFirst();

private:
    template <typename Widget> Widget *child(const char *name) const
    {
        return page->findChild<Widget *>(QLatin1String(name));
    }
    QTabWidget *tabs() const { return child<QTabWidget>("tPrices"); }
    QEditableTreeView *viewAt(int tab) const { return qobject_cast<QEditableTreeView *>(tabs()->widget(tab)); }
    QStringList tabNames() const;
    void trigger(const char *action) const { child<QAction>(action)->trigger(); }
    void fillTwoBlocks();
    void showPage();
    void loadTwoBlocks();
    void focusView(int tab);
    void addTabNamed(const QString &name);
    void clickCell(int tab, int row, int column, bool twice = false);
    QModelIndex cell(int row, int column) const { return model->index(row, column); }
    int stored(const QString &condition) const;

    std::unique_ptr<TempTrack> track;
    std::unique_ptr<PricesModel> model;
    std::unique_ptr<SettingsPage> page;
    int secondBlock = 0;
};

void SettingsPageTest::init()
{
    track = std::make_unique<TempTrack>();
    model = std::make_unique<PricesModel>();
    page = std::make_unique<SettingsPage>();
    page->setPricesModel(model.get());
}

void SettingsPageTest::cleanup()
{
    model.reset();
    page.reset();
    track.reset();
}

QStringList SettingsPageTest::tabNames() const
{
    QStringList result;
    for (int i = 0; i < tabs()->count(); ++i)
        result.append(tabs()->tabText(i));
    return result;
}

int SettingsPageTest::stored(const QString &condition) const
{
    return track->value(QStringLiteral("SELECT COUNT(*) FROM price_list WHERE ") + condition).toInt();
}

/// Two blocks with four items, a to d.
void SettingsPageTest::fillTwoBlocks()
{
    secondBlock = track->addPriceType(QStringLiteral("Выходные"));
    for (const char *name : {"a", "b", "c", "d"}) {
        TempTrack::PriceItem item;
        item.salesItem = QString::fromLatin1(name);
        item.sum = 100;
        item.commonId = track->addPriceItem(item);
        item.priceType = secondBlock;
        item.sum = 200;
        track->addPriceItem(item);
    }
}

void SettingsPageTest::showPage()
{
    page->resize(700, 600);
    page->show();
    page->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(page.get()));
}

void SettingsPageTest::loadTwoBlocks()
{
    fillTwoBlocks();
    page->loadControls();
    showPage();
}

void SettingsPageTest::focusView(int tab)
{
    tabs()->setCurrentIndex(tab);
    viewAt(tab)->setFocus();
    QTRY_VERIFY(viewAt(tab)->hasFocus());
}

void SettingsPageTest::addTabNamed(const QString &name)
{
    const ModalAnswer answer =
        textDialog(QStringLiteral("Название вкладки"), QStringLiteral("Название"), QString(), name);
    trigger("actionAddPricesTab");
    MODAL_VERIFY(answer);
}

void SettingsPageTest::clickCell(int tab, int row, int column, bool twice)
{
    tabs()->setCurrentIndex(tab);
    QEditableTreeView *view = viewAt(tab);
    const QModelIndex index = cell(row, column);
    view->scrollTo(index);
    const QPoint point = view->visualRect(index).center();
    QVERIFY(view->viewport()->rect().contains(point));
    QTest::mouseClick(view->viewport(), Qt::LeftButton, Qt::NoModifier, point);
    if (twice)
        QTest::mouseDClick(view->viewport(), Qt::LeftButton, Qt::NoModifier, point);
}

void SettingsPageTest::metaObject()
{
    const QMetaObject &meta = SettingsPage::staticMetaObject;
    QStringList methods;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i)
        methods.append(QString::fromLatin1(meta.method(i).methodSignature()));
    QCOMPARE(methods, (QStringList{"settingsUpdated()", "pluginSlot(QString,QString,QJsonObject)",
                                   "on_tvPrices_clicked(QModelIndex)", "on_tvPrices_doubleClicked(QModelIndex)",
                                   "on_tPrices_customContextMenuRequested(QPoint)", "on_actionAddPricesTab_triggered()",
                                   "on_tPrices_currentChanged(int)", "on_actionDeletePricesTab_triggered()",
                                   "on_actionRemovePrice_triggered()", "on_actionRenameTab_triggered()",
                                   "on_actionAddPriceItem_triggered()"}));
}

void SettingsPageTest::formIsBuiltWithoutWarnings()
{
    QStringList seen;
    warnings = &seen;
    const QtMessageHandler before = qInstallMessageHandler(collectWarning);
    const SettingsPage other;
    qInstallMessageHandler(before);
    warnings = nullptr;
    QCOMPARE(seen, QStringList());
    QCOMPARE(other.findChild<QTabWidget *>(QStringLiteral("tPrices"))->count(), 0);
    QVERIFY(model->priceTypeNames.isEmpty());
}

void SettingsPageTest::formTexts()
{
    const QList<QPair<const char *, QString>> labels{
        {"label", "Заголовок билета"},
        {"label_2", "Максимальное количество в заезде"},
        {"label_3", "Длительность заезда по умолчанию, в минутах"},
        {"label_4", "Длительность паузы между заездами, в минутах"},
        {"label_5", "Порт сканера"},
        {"label_6", "Фиксированное время начала заездов"},
    };
    for (const auto &label : labels) {
        QVERIFY2(child<QLabel>(label.first), label.first);
        QCOMPARE(child<QLabel>(label.first)->text(), label.second);
    }
    const QList<QPair<const char *, QString>> actions{
        {"actionAddPricesTab", "Добавить вкладку"}, {"actionDeletePricesTab", "Удалить вкладку"},
        {"actionRemovePrice", "Удалить"},           {"actionRenameTab", "Переименовать вкладку"},
        {"actionAddPriceItem", "Добавить"},
    };
    for (const auto &action : actions) {
        QVERIFY2(child<QAction>(action.first), action.first);
        QCOMPARE(child<QAction>(action.first)->text(), action.second);
    }
    const auto *tabWidget = child<QTabWidget>("tabWidget");
    const QStringList captions{"Цены", "Очередь заездов", "Сканер QR кодов"};
    const QStringList pages{"tab", "tab_2", "tab_3"};
    QCOMPARE(tabWidget->count(), 3);
    for (int i = 0; i < 3; ++i) {
        QCOMPARE(tabWidget->tabText(i), captions.at(i));
        QCOMPARE(tabWidget->widget(i)->objectName(), pages.at(i));
    }
    QVERIFY(tabWidget->widget(0)->isAncestorOf(tabs()));
    QVERIFY(tabWidget->widget(1)->isAncestorOf(child<QCheckBox>("cbFixedRunStartTimeInQueue")));
    QVERIFY(tabWidget->widget(2)->isAncestorOf(child<QComboBox>("cbScannerPorts")));
    QCOMPARE(child<QGroupBox>("groupBox_2")->title(), QStringLiteral("Скидки %"));
    QCOMPARE(child<QGroupBox>("groupBox_3")->title(), QStringLiteral("Способ оплаты"));
    QVERIFY(child<QGroupBox>("groupBox_2")->isAncestorOf(child<QPlainTextEdit>("teDiscounts")));
    QVERIFY(child<QGroupBox>("groupBox_3")->isAncestorOf(child<QPlainTextEdit>("tePayMethods")));

    const auto *splitter = child<QSplitter>("splitter");
    QCOMPARE(splitter->orientation(), Qt::Vertical);
    QCOMPARE(splitter->widget(0), static_cast<const QWidget *>(tabWidget));
    QVERIFY(splitter->widget(1)->isAncestorOf(child<QGroupBox>("groupBox_2")));
    QVERIFY(splitter->widget(1)->isAncestorOf(child<QGroupBox>("groupBox_3")));
}

void SettingsPageTest::formRanges()
{
    const QList<QPair<const char *, int>> boxes{{"sbMaxInRunCount", 10},
                                                {"sbDefaultRunDuration", 10},
                                                {"sbPauseDuration", 3}};
    for (const auto &box : boxes) {
        QCOMPARE(child<QSpinBox>(box.first)->minimum(), 0);
        QCOMPARE(child<QSpinBox>(box.first)->maximum(), 99);
        QCOMPARE(child<QSpinBox>(box.first)->value(), box.second);
    }
}

void SettingsPageTest::loadEmptyDatabase()
{
    track->query(QStringLiteral("DELETE FROM price_types"));
    const QSignalSpy changed(model.get(), &PricesModel::settingsChanged);
    page->loadControls();
    QCOMPARE(changed.count(), 1);
    QCOMPARE(tabNames(), QStringList{"Основные"});
    QCOMPARE(model->currentPriceType, 1);
    QCOMPARE(track->query(QStringLiteral("SELECT id,name FROM price_types")), (QList<QVariantList>{{1, "Основные"}}));

    // The next start finds the block and makes none.
    SettingsPage next;
    next.setPricesModel(model.get());
    next.loadControls();
    QCOMPARE(changed.count(), 1);
    QCOMPARE(track->value(QStringLiteral("SELECT COUNT(*) FROM price_types")).toInt(), 1);
}

void SettingsPageTest::loadTabs()
{
    fillTwoBlocks();
    const QSignalSpy changed(model.get(), &PricesModel::settingsChanged);
    page->loadControls();
    QCOMPARE(tabNames(), (QStringList{"Основные", "Выходные"}));
    QCOMPARE(tabs()->currentIndex(), 0);
    QCOMPARE(model->currentPriceType, -1);
    QCOMPARE(viewAt(0)->model()->rowCount(), 4);
    QCOMPARE(changed.count(), 0);
}

void SettingsPageTest::loadControlsFromSettings()
{
    track->setDiscounts({"5", "=100.5", "=x", "abc"});
    track->setPayMethods({"Наличные", "Карта"});
    track->setSetting(QStringLiteral("ticketCaption"), QStringLiteral("Картодром"));
    track->setSetting(QStringLiteral("maxInRunCount"), 7);
    track->setSetting(QStringLiteral("defaultRunDuration"), 8);
    track->setSetting(QStringLiteral("pauseDuration"), 0);
    track->setSetting(QStringLiteral("fixedRunStartTimeInQueue"), true);
    page->loadControls();
    QCOMPARE(child<QPlainTextEdit>("teDiscounts")->toPlainText(), QStringLiteral("5\n=100.5\n=0\n0"));
    QCOMPARE(child<QPlainTextEdit>("tePayMethods")->toPlainText(), QStringLiteral("Наличные\nКарта"));
    QCOMPARE(child<QLineEdit>("leTicketCaption")->text(), QStringLiteral("Картодром"));
    QCOMPARE(child<QSpinBox>("sbMaxInRunCount")->value(), 7);
    QCOMPARE(child<QSpinBox>("sbDefaultRunDuration")->value(), 8);
    QCOMPARE(child<QSpinBox>("sbPauseDuration")->value(), 0);
    QVERIFY(child<QCheckBox>("cbFixedRunStartTimeInQueue")->isChecked());
}

void SettingsPageTest::loadDefaults()
{
    child<QLineEdit>("leTicketCaption")->setText(QStringLiteral("x"));
    child<QSpinBox>("sbMaxInRunCount")->setValue(1);
    child<QSpinBox>("sbDefaultRunDuration")->setValue(1);
    child<QSpinBox>("sbPauseDuration")->setValue(1);
    child<QCheckBox>("cbFixedRunStartTimeInQueue")->setChecked(true);
    page->loadControls();
    QCOMPARE(child<QLineEdit>("leTicketCaption")->text(), QString());
    QCOMPARE(child<QSpinBox>("sbMaxInRunCount")->value(), 10);
    QCOMPARE(child<QSpinBox>("sbDefaultRunDuration")->value(), 10);
    QCOMPARE(child<QSpinBox>("sbPauseDuration")->value(), 3);
    QVERIFY(!child<QCheckBox>("cbFixedRunStartTimeInQueue")->isChecked());
    QCOMPARE(child<QPlainTextEdit>("teDiscounts")->toPlainText(), QString());
    QCOMPARE(child<QPlainTextEdit>("tePayMethods")->toPlainText(), QString());
}

/// The machine's own ports, so the list may be empty; a saved port that is not there leaves the first one current.
void SettingsPageTest::scannerPorts()
{
    const QList<QSerialPortInfo> ports = QSerialPortInfo::availablePorts();
    track->setSetting(QStringLiteral("scannerPortName"), QStringLiteral("no such port"));
    auto *combo = child<QComboBox>("cbScannerPorts");
    combo->addItem(QStringLiteral("left over"));
    page->loadControls();
    QCOMPARE(combo->count(), ports.size());
    for (int i = 0; i < ports.size(); ++i) {
        QCOMPARE(combo->itemText(i), QString(ports.at(i).portName() + QLatin1Char(' ') + ports.at(i).description()));
        QCOMPARE(combo->itemData(i).toString(), ports.at(i).portName());
    }
    QCOMPARE(combo->currentIndex(), ports.isEmpty() ? -1 : 0);

    page->pluginSlot(QString(), QStringLiteral("settings_accepted"), QJsonObject());
    QCOMPARE(track->setting(QStringLiteral("scannerPortName")).toString(),
             ports.isEmpty() ? QString() : ports.first().portName());
}

void SettingsPageTest::viewSettings()
{
    QFont large = page->font();
    large.setPointSize(17);
    page->setFont(large);
    loadTwoBlocks();
    addTabNamed(QStringLiteral("Ночь"));
    const QList<int> widths{60, 220, 80, 80, 60, 60};
    for (int tab = 0; tab < 3; ++tab) {
        const QEditableTreeView *view = viewAt(tab);
        QVERIFY(view);
        QCOMPARE(view->font().pointSize(), 17);
        QCOMPARE(view->header()->font().pointSize(), 17);
        QVERIFY(!view->rootIsDecorated());
        QVERIFY(view->uniformRowHeights());
        QCOMPARE(view->selectionMode(), QAbstractItemView::ExtendedSelection);
        QCOMPARE(view->selectionBehavior(), QAbstractItemView::SelectItems);
        QVERIFY(!view->header()->stretchLastSection());
        QVERIFY(qobject_cast<PricesDelegate *>(view->itemDelegate()));
        QCOMPARE(view->itemDelegate(), viewAt(0)->itemDelegate());
        QCOMPARE(view->model(), static_cast<const QAbstractItemModel *>(model.get()));
        QCOMPARE(view->contextMenuPolicy(), Qt::ActionsContextMenu);
        QCOMPARE(view->actions(),
                 (QList<QAction *>{child<QAction>("actionAddPriceItem"), child<QAction>("actionRemovePrice")}));
        for (int column = 0; column < widths.size(); ++column)
            QCOMPARE(view->columnWidth(column), widths.at(column));
    }
}

void SettingsPageTest::tabChangeMovesBlock()
{
    loadTwoBlocks();
    tabs()->setCurrentIndex(1);
    QCOMPARE(model->currentPriceType, secondBlock);
    QCOMPARE(cell(0, Price).data().toDouble(), 200.0);
    tabs()->setCurrentIndex(0);
    QCOMPARE(model->currentPriceType, -1);
}

void SettingsPageTest::contextMenuOfTabs()
{
    loadTwoBlocks();
    const ModalAnswer answer =
        ModalAnswer::menu({"Добавить вкладку", "Переименовать вкладку", "Удалить вкладку"}, QString());
    Q_EMIT tabs()->customContextMenuRequested(QPoint(5, tabs()->tabBar()->rect().bottom() - 1));
    QTRY_VERIFY2(answer.answered(), qPrintable(answer.error()));
}

void SettingsPageTest::contextMenuBelowTabs()
{
    loadTwoBlocks();
    const int bottom = tabs()->tabBar()->rect().bottom();
    for (const int y : {bottom, bottom + 20}) {
        Q_EMIT tabs()->customContextMenuRequested(QPoint(5, y));
        QVERIFY(!QApplication::activePopupWidget());
    }
}

void SettingsPageTest::rightClickOnTheTabBar()
{
    loadTwoBlocks();
    tabs()->setCurrentIndex(1);
    const ModalAnswer input = textDialog(QStringLiteral("Переименовать"), QStringLiteral("Новое название"),
                                         QStringLiteral("Выходные"), QStringLiteral("Праздники"));
    QContextMenuEvent event(QContextMenuEvent::Mouse, QPoint(5, 5), tabs()->tabBar()->mapToGlobal(QPoint(5, 5)));
    QApplication::sendEvent(tabs()->tabBar(), &event);
    auto *menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
    QVERIFY(menu);
    menu->setActiveAction(child<QAction>("actionRenameTab"));
    QTest::keyClick(menu, Qt::Key_Return);
    MODAL_VERIFY(input);
    QCOMPARE(tabNames(), (QStringList{"Основные", "Праздники"}));
}

void SettingsPageTest::clickOnColour()
{
    loadTwoBlocks();
    const QSignalSpy changed(model.get(), &PricesModel::settingsChanged);
    const QSignalSpy dataChanged(model.get(), &QAbstractItemModel::dataChanged);
    QColor offered;
    const ModalAnswer answer = ModalAnswer::widget([&offered](QWidget *widget) {
        auto *dialog = qobject_cast<QColorDialog *>(widget);
        QVERIFY(dialog);
        QVERIFY(!dialog->parentWidget());
        offered = dialog->currentColor();
        dialog->setCurrentColor(QColor(1, 2, 3));
        dialog->accept();
    });
    clickCell(0, 1, Color);
    MODAL_VERIFY(answer);
    QCOMPARE(offered, QColor(Qt::white));
    QCOMPARE(model->pricesByType.value(-1).at(1).color, QColor(1, 2, 3));
    QCOMPARE(model->pricesByType.value(secondBlock).at(1).color, QColor(1, 2, 3));
    QCOMPARE(stored(QStringLiteral("color='#010203' AND sales_item='b'")), 2);
    QCOMPARE(stored(QStringLiteral("color='#010203'")), 2);
    QCOMPARE(changed.count(), 1);
    QCOMPARE(dataChanged.count(), 1);
    QCOMPARE(dataChanged.first().at(0).toModelIndex(), cell(1, Color));
    QCOMPARE(dataChanged.first().at(1).toModelIndex(), cell(1, Color));
}

void SettingsPageTest::clickOnColourCancelled()
{
    loadTwoBlocks();
    const QSignalSpy changed(model.get(), &PricesModel::settingsChanged);
    const ModalAnswer answer = ModalAnswer::widget([](QWidget *widget) {
        auto *dialog = qobject_cast<QColorDialog *>(widget);
        QVERIFY(dialog);
        dialog->setCurrentColor(QColor(1, 2, 3));
        dialog->reject();
    });
    clickCell(0, 1, Color);
    MODAL_VERIFY(answer);
    QCOMPARE(model->pricesByType.value(-1).at(1).color, QColor(Qt::white));
    QCOMPARE(changed.count(), 0);
}

void SettingsPageTest::clickElsewhereOpensNothing()
{
    loadTwoBlocks();
    const ModalAnswer none = ModalAnswer::widget([](QWidget *widget) { widget->close(); });
    for (const int column : {Pos, SalesItem, Model, Price, RemoteAvail})
        clickCell(0, 1, column);
    QEditableTreeView *view = viewAt(0);
    QTest::mouseClick(view->viewport(), Qt::LeftButton, Qt::NoModifier, QPoint(5, view->viewport()->height() - 2));
    QTest::qWait(50);
    QCOMPARE(none.error(), QStringLiteral("no dialog appeared"));
}

void SettingsPageTest::colourWhileTheBookIsLoadedAnew()
{
    loadTwoBlocks();
    connect(page.get(), &SettingsPage::settingsUpdated, model.get(), &PricesModel::loadPrices);
    const QSignalSpy dataChanged(model.get(), &QAbstractItemModel::dataChanged);
    const ModalAnswer answer = ModalAnswer::widget([this](QWidget *widget) {
        auto *dialog = qobject_cast<QColorDialog *>(widget);
        QVERIFY(dialog);
        // The second row becomes the last one of the list.
        track->query(QStringLiteral("UPDATE price_list SET sales_item='z' WHERE sales_item='b'"));
        page->pluginSlot(QString(), QStringLiteral("settings_accepted"), QJsonObject());
        dialog->setCurrentColor(QColor(1, 2, 3));
        dialog->accept();
    });
    clickCell(0, 1, Color);
    MODAL_VERIFY(answer);
    QCOMPARE(names(model->currentPriceItems()), (QStringList{"a", "c", "d", "z"}));
    QCOMPARE(stored(QStringLiteral("color='#010203' AND sales_item='z'")), 2);
    QCOMPARE(stored(QStringLiteral("color='#010203'")), 2);
    QCOMPARE(dataChanged.count(), 1);
    QCOMPARE(dataChanged.first().at(0).toModelIndex(), cell(3, Color));
}

void SettingsPageTest::colourOfAnItemThatGoes()
{
    loadTwoBlocks();
    const QSignalSpy dataChanged(model.get(), &QAbstractItemModel::dataChanged);
    const ModalAnswer answer = ModalAnswer::widget([this](QWidget *widget) {
        auto *dialog = qobject_cast<QColorDialog *>(widget);
        QVERIFY(dialog);
        model->removePriceItems({1});
        dialog->setCurrentColor(QColor(1, 2, 3));
        dialog->accept();
    });
    clickCell(0, 1, Color);
    MODAL_VERIFY(answer);
    QCOMPARE(stored(QStringLiteral("color='#010203'")), 0);
    QCOMPARE(dataChanged.count(), 0);
}

void SettingsPageTest::doubleClickOnKiosk()
{
    loadTwoBlocks();
    const QSignalSpy changed(model.get(), &PricesModel::settingsChanged);
    const QSignalSpy dataChanged(model.get(), &QAbstractItemModel::dataChanged);
    clickCell(0, 2, RemoteAvail, true);
    QCOMPARE(changed.count(), 1);
    QCOMPARE(dataChanged.count(), 1);
    QCOMPARE(dataChanged.first().at(0).toModelIndex(), cell(2, RemoteAvail));
    QCOMPARE(stored(QStringLiteral("show_remote=0 AND sales_item='c'")), 2);
    QCOMPARE(stored(QStringLiteral("show_remote=0")), 2);
    QCOMPARE(cell(2, RemoteAvail).data().toString(), QStringLiteral("Нет"));
    clickCell(1, 2, RemoteAvail, true);
    QCOMPARE(stored(QStringLiteral("show_remote=0")), 0);
    // A double click elsewhere flips nothing.
    clickCell(0, 2, Pos, true);
    QCOMPARE(changed.count(), 2);
}

void SettingsPageTest::addedTabIgnoresColourAndKiosk()
{
    loadTwoBlocks();
    addTabNamed(QStringLiteral("Ночь"));
    const QSignalSpy changed(model.get(), &PricesModel::settingsChanged);
    const ModalAnswer none = ModalAnswer::widget([](QWidget *widget) { widget->close(); });
    clickCell(2, 1, Color);
    clickCell(2, 1, RemoteAvail, true);
    QTest::qWait(50);
    QCOMPARE(none.error(), QStringLiteral("no dialog appeared"));
    QCOMPARE(changed.count(), 0);
    QCOMPARE(stored(QStringLiteral("show_remote=0")), 0);
}

void SettingsPageTest::addedTabEditsTheRest()
{
    track->addCar(QStringLiteral("Junior"), QStringLiteral("1"));
    loadTwoBlocks();
    addTabNamed(QStringLiteral("Ночь"));
    const int block = model->priceTypeNames.lastKey();
    const QEditableTreeView *view = viewAt(2);

    clickCell(2, 0, SalesItem, true);
    auto *line = view->viewport()->findChild<QLineEdit *>();
    QVERIFY(line);
    line->setText(QStringLiteral("Заезд"));
    QTest::keyClick(line, Qt::Key_Return);
    QTRY_COMPARE(stored(QStringLiteral("sales_item='Заезд'")), 3);

    viewAt(2)->edit(cell(0, Price));
    auto *spin = view->viewport()->findChild<QDoubleSpinBox *>();
    QVERIFY(spin);
    spin->setValue(77.5);
    QTest::keyClick(spin, Qt::Key_Return);
    QTRY_COMPARE(track->query(QStringLiteral("SELECT price_type FROM price_list WHERE sum=77.5")),
                 (QList<QVariantList>{{block}}));

    viewAt(2)->edit(cell(0, Model));
    auto *combo = view->viewport()->findChild<QComboBox *>();
    QVERIFY(combo);
    QTest::keyClick(combo, Qt::Key_Down);
    QCOMPARE(stored(QStringLiteral("model='Junior' AND sales_item='Заезд'")), 3);
}

void SettingsPageTest::addTab()
{
    loadTwoBlocks();
    const QSignalSpy changed(model.get(), &PricesModel::settingsChanged);
    addTabNamed(QStringLiteral("Ночь"));
    QCOMPARE(changed.count(), 1);
    QCOMPARE(tabNames(), (QStringList{"Основные", "Выходные", "Ночь"}));
    QCOMPARE(model->priceTypeNames.values(), tabNames());
    QCOMPARE(tabs()->currentIndex(), 0);
    QCOMPARE(stored(QStringLiteral("price_type=2")), 4);
}

void SettingsPageTest::addTabWithoutName()
{
    loadTwoBlocks();
    addTabNamed(QLatin1String(""));
    QCOMPARE(tabNames(), (QStringList{"Основные", "Выходные", ""}));
    QCOMPARE(track->value(QStringLiteral("SELECT typeof(name)||name FROM price_types WHERE id=2")).toString(),
             QStringLiteral("text"));
}

void SettingsPageTest::addTabCancelled()
{
    loadTwoBlocks();
    addTabNamed(QString());
    QCOMPARE(tabs()->count(), 2);
    QCOMPARE(model->priceTypeNames.size(), 2);
}

void SettingsPageTest::seventeenthTab()
{
    for (int i = 1; i < 15; ++i)
        track->addPriceType(QStringLiteral("Цены %1").arg(i));
    page->loadControls();
    showPage();
    QCOMPARE(tabs()->count(), 15);
    addTabNamed(QStringLiteral("шестнадцатая"));
    QCOMPARE(tabs()->count(), 16);

    const ModalAnswer none = ModalAnswer::widget([](QWidget *widget) { widget->close(); });
    trigger("actionAddPricesTab");
    QTest::qWait(50);
    QCOMPARE(none.error(), QStringLiteral("no dialog appeared"));
    QCOMPARE(tabs()->count(), 16);
    QCOMPARE(model->priceTypeNames.size(), 16);
}

void SettingsPageTest::renameTab()
{
    loadTwoBlocks();
    tabs()->setCurrentIndex(1);
    const QSignalSpy changed(model.get(), &PricesModel::settingsChanged);
    const ModalAnswer answer = textDialog(QStringLiteral("Переименовать"), QStringLiteral("Новое название"),
                                          QStringLiteral("Выходные"), QStringLiteral("Праздники"));
    trigger("actionRenameTab");
    MODAL_VERIFY(answer);
    QCOMPARE(changed.count(), 1);
    QCOMPARE(tabNames(), (QStringList{"Основные", "Праздники"}));
    QCOMPARE(track->value(QStringLiteral("SELECT name FROM price_types WHERE id=?"), {secondBlock}).toString(),
             QStringLiteral("Праздники"));
}

void SettingsPageTest::renameTabCancelled()
{
    loadTwoBlocks();
    tabs()->setCurrentIndex(1);
    const ModalAnswer answer = textDialog(QStringLiteral("Переименовать"), QStringLiteral("Новое название"),
                                          QStringLiteral("Выходные"), QString());
    trigger("actionRenameTab");
    MODAL_VERIFY(answer);
    QCOMPARE(tabNames(), (QStringList{"Основные", "Выходные"}));
}

void SettingsPageTest::renameTabThatGoes()
{
    loadTwoBlocks();
    tabs()->setCurrentIndex(1);
    const ModalAnswer answer =
        textDialog(QStringLiteral("Переименовать"), QStringLiteral("Новое название"), QStringLiteral("Выходные"),
                   QStringLiteral("Праздники"), [this] { model->removePricesBlock(1); });
    trigger("actionRenameTab");
    MODAL_VERIFY(answer);
    QCOMPARE(model->priceTypeNames.values(), QStringList{"Основные"});
    QCOMPARE(track->value(QStringLiteral("SELECT COUNT(*) FROM price_types WHERE name='Праздники'")).toInt(), 0);
}

void SettingsPageTest::firstTabStays()
{
    loadTwoBlocks();
    const ModalAnswer none = ModalAnswer::widget([](QWidget *widget) { widget->close(); });
    trigger("actionDeletePricesTab");
    trigger("actionRenameTab");
    QTest::qWait(50);
    QCOMPARE(none.error(), QStringLiteral("no dialog appeared"));
    QCOMPARE(tabNames(), (QStringList{"Основные", "Выходные"}));
    QCOMPARE(model->priceTypeNames.values(), tabNames());
}

void SettingsPageTest::deleteTab()
{
    loadTwoBlocks();
    addTabNamed(QStringLiteral("Ночь"));
    tabs()->setCurrentIndex(1);
    // As the form does, which prices from the block of its own combo box.
    connect(model.get(), &PricesModel::settingsChanged, this, [this] { model->currentPriceType = -1; });
    const QPointer<QEditableTreeView> view(viewAt(1));
    const ModalAnswer answer =
        ModalAnswer::messageBox(confirmation(), QStringLiteral("Точно удалить вкладку \"Выходные\"?"), yesNo,
                                QMessageBox::Yes);
    trigger("actionDeletePricesTab");
    MODAL_VERIFY(answer);
    QCOMPARE(tabNames(), (QStringList{"Основные", "Ночь"}));
    QCOMPARE(model->priceTypeNames.values(), tabNames());
    QCOMPARE(model->blockAt(tabs()->currentIndex()), model->currentPriceType);
    QCOMPARE(stored(QStringLiteral("is_deleted=1")), 4);
    QCOMPARE(track->value(QStringLiteral("SELECT is_deleted FROM price_types WHERE id=?"), {secondBlock}).toInt(), 1);
    QTRY_VERIFY(view.isNull());
}

void SettingsPageTest::deleteTabRefused()
{
    loadTwoBlocks();
    tabs()->setCurrentIndex(1);
    const ModalAnswer answer =
        ModalAnswer::messageBox(confirmation(), QStringLiteral("Точно удалить вкладку \"Выходные\"?"), yesNo,
                                QMessageBox::No);
    trigger("actionDeletePricesTab");
    MODAL_VERIFY(answer);
    QCOMPARE(tabs()->count(), 2);
    QCOMPARE(stored(QStringLiteral("is_deleted=1")), 0);
}

void SettingsPageTest::deleteTabThatIsGone()
{
    loadTwoBlocks();
    addTabNamed(QStringLiteral("Ночь"));
    tabs()->setCurrentIndex(1);
    const ModalAnswer answer = lateAnswer([this] { model->removePricesBlock(1); });
    trigger("actionDeletePricesTab");
    MODAL_VERIFY(answer);
    // The block that took the position of the removed one is left alone.
    QCOMPARE(model->priceTypeNames.values(), (QStringList{"Основные", "Ночь"}));
    QCOMPARE(stored(QStringLiteral("is_deleted=1 AND price_type=2")), 0);
}

void SettingsPageTest::pageGoesDuringQuestion()
{
    loadTwoBlocks();
    tabs()->setCurrentIndex(1);
    const ModalAnswer answer = lateAnswer([this] { page.reset(); });
    trigger("actionDeletePricesTab");
    MODAL_VERIFY(answer);
    QVERIFY(!page);
    QCOMPARE(model->priceTypeNames.size(), 2);
}

void SettingsPageTest::pageGoesDuringRename()
{
    loadTwoBlocks();
    tabs()->setCurrentIndex(1);
    const ModalAnswer answer =
        ModalAnswer::dialog(QStringLiteral("Переименовать"), [this](QDialog *) { page.reset(); });
    trigger("actionRenameTab");
    MODAL_VERIFY(answer);
    QVERIFY(!page);
    QCOMPARE(model->priceTypeNames.values(), (QStringList{"Основные", "Выходные"}));
}

void SettingsPageTest::addPriceItem()
{
    loadTwoBlocks();
    focusView(1);
    const QSignalSpy changed(model.get(), &PricesModel::settingsChanged);
    trigger("actionAddPriceItem");
    QCOMPARE(model->rowCount(), 5);
    QCOMPARE(viewAt(1)->currentIndex(), cell(4, SalesItem));
    QCOMPARE(changed.count(), 0);
    auto *line = viewAt(1)->viewport()->findChild<QLineEdit *>();
    QVERIFY(line);
    QVERIFY(!viewAt(0)->viewport()->findChild<QLineEdit *>());
    line->setText(QStringLiteral("Заезд"));
    QTest::keyClick(line, Qt::Key_Return);
    QTRY_COMPARE(changed.count(), 1);
    QCOMPARE(stored(QStringLiteral("sales_item='Заезд'")), 2);
}

void SettingsPageTest::addPriceItemWithoutFocus()
{
    loadTwoBlocks();
    child<QLineEdit>("leTicketCaption")->setFocus();
    trigger("actionAddPriceItem");
    QCOMPARE(model->rowCount(), 5);
    QVERIFY(!viewAt(0)->viewport()->findChild<QLineEdit *>());
}

void SettingsPageTest::removePrices()
{
    loadTwoBlocks();
    focusView(1);
    const QSignalSpy removed(model.get(), &PricesModel::priceItemsRemoved);
    const QList<PriceItem> items = model->currentPriceItems();
    QItemSelectionModel *selection = viewAt(1)->selectionModel();
    selection->select(cell(3, Price), QItemSelectionModel::Select);
    selection->select(cell(1, Price), QItemSelectionModel::Select);
    selection->select(cell(1, SalesItem), QItemSelectionModel::Select);
    const ModalAnswer answer =
        ModalAnswer::messageBox(confirmation(), QStringLiteral("Точно удалить?"), yesNo, QMessageBox::Yes);
    trigger("actionRemovePrice");
    MODAL_VERIFY(answer);
    QCOMPARE(removed.count(), 1);
    QCOMPARE(removed.first().first().value<QList<qint32>>(),
             (QList<qint32>{items.at(1).commonId, items.at(3).commonId}));
    QCOMPARE(names(model->pricesByType.value(-1)), (QStringList{"a", "c"}));
    QCOMPARE(names(model->pricesByType.value(secondBlock)), (QStringList{"a", "c"}));
    QCOMPARE(stored(QStringLiteral("is_deleted=1")), 4);
}

void SettingsPageTest::removePricesRefused()
{
    loadTwoBlocks();
    focusView(0);
    viewAt(0)->selectionModel()->select(cell(1, Price), QItemSelectionModel::Select);
    const ModalAnswer answer =
        ModalAnswer::messageBox(confirmation(), QStringLiteral("Точно удалить?"), yesNo, QMessageBox::No);
    trigger("actionRemovePrice");
    MODAL_VERIFY(answer);
    QCOMPARE(model->rowCount(), 4);
    QCOMPARE(stored(QStringLiteral("is_deleted=1")), 0);
}

void SettingsPageTest::removePricesWithoutSelection()
{
    loadTwoBlocks();
    focusView(0);
    viewAt(0)->clearSelection();
    const ModalAnswer none = ModalAnswer::widget([](QWidget *widget) { widget->close(); });
    trigger("actionRemovePrice");
    QTest::qWait(50);
    QCOMPARE(none.error(), QStringLiteral("no dialog appeared"));
    QCOMPARE(model->rowCount(), 4);
}

void SettingsPageTest::removePricesWithoutFocus()
{
    loadTwoBlocks();
    viewAt(0)->selectionModel()->select(cell(1, Price), QItemSelectionModel::Select);
    child<QLineEdit>("leTicketCaption")->setFocus();
    const ModalAnswer none = ModalAnswer::widget([](QWidget *widget) { widget->close(); });
    trigger("actionRemovePrice");
    QTest::qWait(50);
    QCOMPARE(none.error(), QStringLiteral("no dialog appeared"));
    QCOMPARE(model->rowCount(), 4);
}

void SettingsPageTest::removePricesThatMoveMeanwhile()
{
    loadTwoBlocks();
    focusView(0);
    connect(page.get(), &SettingsPage::settingsUpdated, model.get(), &PricesModel::loadPrices);
    viewAt(0)->selectionModel()->select(cell(1, Price), QItemSelectionModel::Select);
    viewAt(0)->selectionModel()->select(cell(2, Price), QItemSelectionModel::Select);
    const ModalAnswer answer = lateAnswer([this] {
        track->query(QStringLiteral("UPDATE price_list SET sales_item='z' WHERE sales_item='b'"));
        page->pluginSlot(QString(), QStringLiteral("settings_accepted"), QJsonObject());
    });
    trigger("actionRemovePrice");
    MODAL_VERIFY(answer);
    QCOMPARE(names(model->pricesByType.value(-1)), (QStringList{"a", "d"}));
    QCOMPARE(stored(QStringLiteral("is_deleted=1 AND sales_item IN ('c','z')")), 4);
    QCOMPARE(stored(QStringLiteral("is_deleted=1")), 4);
}

void SettingsPageTest::removePricesThatAreGone()
{
    loadTwoBlocks();
    focusView(0);
    viewAt(0)->selectionModel()->select(cell(1, Price), QItemSelectionModel::Select);
    const QSignalSpy removed(model.get(), &PricesModel::priceItemsRemoved);
    const ModalAnswer answer = lateAnswer([this] { model->removePriceItems({1}); });
    trigger("actionRemovePrice");
    MODAL_VERIFY(answer);
    QCOMPARE(removed.count(), 1);
    QCOMPARE(names(model->pricesByType.value(-1)), (QStringList{"a", "c", "d"}));
}

void SettingsPageTest::accept()
{
    page->loadControls();
    child<QLineEdit>("leTicketCaption")->setText(QStringLiteral("Картодром"));
    child<QPlainTextEdit>("teDiscounts")->setPlainText(QStringLiteral("5\n=100"));
    child<QPlainTextEdit>("tePayMethods")->setPlainText(QStringLiteral("Наличные\nКарта"));
    child<QSpinBox>("sbMaxInRunCount")->setValue(0);
    child<QSpinBox>("sbDefaultRunDuration")->setValue(99);
    child<QSpinBox>("sbPauseDuration")->setValue(4);
    child<QCheckBox>("cbFixedRunStartTimeInQueue")->setChecked(true);
    QCOMPARE(track->setting(QStringLiteral("ticketCaption")), QVariant());

    const auto written = std::make_shared<QVariantMap>();
    connect(page.get(), &SettingsPage::settingsUpdated, this, [this, written] {
        for (const char *key : {"ticketCaption", "discounts", "paymethods", "maxInRunCount", "defaultRunDuration",
                                "pauseDuration", "fixedRunStartTimeInQueue"})
            written->insert(QString::fromLatin1(key), track->setting(QString::fromLatin1(key)));
    });
    page->pluginSlot(QStringLiteral("any module"), QStringLiteral("settings_accepted"), QJsonObject{{"a", 1}});
    QCOMPARE(written->value("ticketCaption").toString(), QStringLiteral("Картодром"));
    QCOMPARE(written->value("discounts"), QVariant(QByteArray(R"(["5","=100"])")));
    QCOMPARE(written->value("paymethods"), QVariant(QByteArray("[\"Наличные\",\"Карта\"]")));
    QCOMPARE(written->value("maxInRunCount").toInt(), 0);
    QCOMPARE(written->value("defaultRunDuration").toInt(), 99);
    QCOMPARE(written->value("pauseDuration").toInt(), 4);
    QVERIFY(written->value("fixedRunStartTimeInQueue").toBool());
    QVERIFY(written->value("maxInRunCount").isValid());

    model->loadPrices();
    QCOMPARE(model->discounts.size(), 2);
    QCOMPARE(model->payMethods, (QStringList{"Наличные", "Карта"}));
}

void SettingsPageTest::acceptEmptyLists()
{
    track->setDiscounts({"5"});
    page->loadControls();
    child<QPlainTextEdit>("teDiscounts")->clear();
    page->pluginSlot(QString(), QStringLiteral("settings_accepted"), QJsonObject());
    QCOMPARE(track->setting(QStringLiteral("discounts")).toByteArray(), QByteArray("[]"));
    QCOMPARE(track->setting(QStringLiteral("paymethods")).toByteArray(), QByteArray("[]"));
}

void SettingsPageTest::acceptKeepsLinesAsTyped()
{
    page->loadControls();
    child<QPlainTextEdit>("teDiscounts")->setPlainText(QStringLiteral("12.5\n abc "));
    page->pluginSlot(QString(), QStringLiteral("settings_accepted"), QJsonObject());
    QCOMPARE(track->setting(QStringLiteral("discounts")).toByteArray(), QByteArray(R"(["12.5"," abc "])"));
}

void SettingsPageTest::acceptDropsBlankLines()
{
    page->loadControls();
    child<QPlainTextEdit>("tePayMethods")->setPlainText(QStringLiteral("\nКарта\n\n\nНаличные\n"));
    page->pluginSlot(QString(), QStringLiteral("settings_accepted"), QJsonObject());
    QCOMPARE(track->setting(QStringLiteral("paymethods")).toByteArray(), QByteArray("[\"Карта\",\"Наличные\"]"));
}

void SettingsPageTest::acceptStoresPort()
{
    page->loadControls();
    auto *combo = child<QComboBox>("cbScannerPorts");
    combo->addItem(QStringLiteral("ttyTEST scanner"), QStringLiteral("ttyTEST"));
    combo->setCurrentIndex(combo->count() - 1);
    page->pluginSlot(QString(), QStringLiteral("settings_accepted"), QJsonObject());
    QCOMPARE(track->setting(QStringLiteral("scannerPortName")).toString(), QStringLiteral("ttyTEST"));
}

void SettingsPageTest::otherEventsAreIgnored()
{
    page->loadControls();
    const QSignalSpy updated(page.get(), &SettingsPage::settingsUpdated);
    for (const char *event : {"", "settings_rejected", "Settings_accepted", "settings_accepted "})
        page->pluginSlot(QStringLiteral("settings_accepted"), QString::fromLatin1(event), QJsonObject());
    QCOMPARE(updated.count(), 0);
    QVERIFY(!track->setting(QStringLiteral("maxInRunCount")).isValid());
}

void SettingsPageTest::acceptRefreshesViews()
{
    loadTwoBlocks();
    connect(page.get(), &SettingsPage::settingsUpdated, model.get(), &PricesModel::loadPrices);
    viewAt(0)->selectionModel()->select(cell(3, Price), QItemSelectionModel::Select);
    QVERIFY(viewAt(0)->visualRect(cell(3, Price)).isValid());
    track->query(QStringLiteral("UPDATE price_list SET is_deleted=1 WHERE sales_item='b'"));
    page->pluginSlot(QString(), QStringLiteral("settings_accepted"), QJsonObject());
    QCOMPARE(model->rowCount(), 3);
    QVERIFY(viewAt(0)->selectionModel()->selectedIndexes().isEmpty());
    QVERIFY(viewAt(0)->visualRect(cell(2, Price)).isValid());
    QVERIFY(!viewAt(0)->visualRect(cell(3, Price)).isValid());
}

// The host's OK does not move the focus: what is half typed in a cell is still the cashier's.
void SettingsPageTest::acceptKeepsTheOpenCell()
{
    loadTwoBlocks();
    connect(page.get(), &SettingsPage::settingsUpdated, model.get(), &PricesModel::loadPrices);
    focusView(0);
    viewAt(0)->setCurrentIndex(cell(1, Price));
    viewAt(0)->edit(cell(1, Price));
    const QPointer<QDoubleSpinBox> editor(viewAt(0)->viewport()->findChild<QDoubleSpinBox *>());
    QVERIFY(editor);
    editor->setValue(555);
    page->pluginSlot(QString(), QStringLiteral("settings_accepted"), QJsonObject());
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(editor && editor->isVisible());
    QCOMPARE(stored(QStringLiteral("sum=555")), 0);
    QTest::keyClick(editor.data(), Qt::Key_Return);
    QTRY_COMPARE(stored(QStringLiteral("sum=555")), 1);
    QCOMPARE(model->data(cell(1, Price), Qt::EditRole).toDouble(), 555.0);
}

void SettingsPageTest::pricesSurviveACancelledDialog()
{
    loadTwoBlocks();
    child<QLineEdit>("leTicketCaption")->setText(QStringLiteral("x"));
    QVERIFY(model->setData(cell(0, Price), 5));
    page->hide();
    QCOMPARE(stored(QStringLiteral("sum=5")), 1);
    QVERIFY(!track->setting(QStringLiteral("ticketCaption")).isValid());
    // The controls are not filled again when the dialog opens the next time.
    page->show();
    QCOMPARE(child<QLineEdit>("leTicketCaption")->text(), QStringLiteral("x"));
}

void SettingsPageTest::modelGoesFirst()
{
    loadTwoBlocks();
    model.reset();
    tabs()->setCurrentIndex(1);
    const ModalAnswer none = ModalAnswer::widget([](QWidget *widget) { widget->close(); });
    for (const char *action :
         {"actionAddPricesTab", "actionDeletePricesTab", "actionRemovePrice", "actionRenameTab", "actionAddPriceItem"})
        trigger(action);
    QTest::qWait(50);
    QCOMPARE(none.error(), QStringLiteral("no dialog appeared"));
    page.reset();
    QVERIFY(!page);
}

DESK_TEST_MAIN(SettingsPageTest)
#include "tst_settingspage.moc"
