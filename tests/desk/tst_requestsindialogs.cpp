#include "desktest.h"
#include "jsonmatch.h"
#include "requestdesk.h"

#include <QComboBox>
#include <QContextMenuEvent>
#include <QDialog>
#include <QDialogButtonBox>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QRadioButton>
#include <QRegularExpression>
#include <QTreeView>

#include <functional>
#include <memory>
#include <vector>

/// A client program does not know what the cashier has on the screen: whatever dialog, box or menu is open, its requests
/// are answered at once, also the one that takes away what the dialog speaks of. A new desk for each test.
class TestRequestsInDialogs : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void whileOpen_data();
    void whileOpen();
    void whileAMinorIsRemoved();
    void whileAColourIsChosen();
    void everyRequestInADialog();

private:
    HostProbe &host() { return m_desk->host(); }

    std::unique_ptr<RequestDesk> m_desk;
};

namespace {

using JsonMatch::object;

void select(RequestDesk &desk, int row)
{
    QTreeView *tree = desk.counter().tree();
    tree->clearSelection();
    tree->setCurrentIndex(desk.counter().at(row, Counter::Name));
}

void selectRun(RequestDesk &desk, int row)
{
    desk.runs()->clearSelection();
    desk.runs()->setCurrentRow(row);
    desk.runs()->item(row)->setSelected(true);
}

void ok(QWidget *dialog)
{
    auto *box = dialog->findChild<QDialogButtonBox *>();
    if (!box || !box->button(QDialogButtonBox::Ok))
        qFatal("the dialog has no button OK");
    box->button(QDialogButtonBox::Ok)->click();
}

void yes(QWidget *dialog)
{
    auto *box = qobject_cast<QMessageBox *>(dialog);
    if (!box || !box->button(QMessageBox::Yes))
        qFatal("the box has no button Yes");
    box->button(QMessageBox::Yes)->click();
}

void boxOk(QWidget *dialog)
{
    auto *box = qobject_cast<QMessageBox *>(dialog);
    if (!box || !box->button(QMessageBox::Ok))
        qFatal("the box has no button OK");
    box->button(QMessageBox::Ok)->click();
}

void reject(QWidget *dialog)
{
    qobject_cast<QDialog *>(dialog)->reject();
}

void closePopup(QWidget *popup)
{
    popup->close();
}

void runsMenu(RequestDesk &desk)
{
    Q_EMIT desk.runs()->customContextMenuRequested(QPoint(20, 20));
}

/// One thing that can be open, what a client program asks meanwhile, and what is left when it is closed.
struct Case
{
    const char *name;
    const char *title;
    std::function<void(RequestDesk &)> open;
    const char *request;
    const char *arguments;
    std::function<void(QWidget *)> close;
    const char *lines = "{a} {b} {c}";
    const char *queue = "{A}[{r}:1 {n}:-1] {B}[{m}:-1] {C}[] | {old}";
    /// Text of a box that tells the cashier what has happened meanwhile; empty when there is none.
    const char *box = "";
};

const char *const WithoutA = "{B}[{m}:-1] {C}[] | {A} {old}";
const char *const WithoutR = "{A}[{n}:-1] {B}[{m}:-1] {C}[] | {old}";
const char *const RemoveA = R"({"removeList": ["{a}"]})";
const char *const RemoveB = R"({"removeList": ["{b}"]})";
const char *const RemoveC = R"({"removeList": ["{c}"]})";
const char *const DeleteA = R"({"runGuid": "{A}"})";
const char *const DeleteC = R"({"runGuid": "{C}"})";
const char *const TakeOutR = R"({"runGuid": "{A}", "racerGuid": "{r}"})";

std::vector<Case> cases()
{
    const auto remove = "remove_checkin_items";
    const auto deleteRun = "delete_run_from_queue";
    const auto takeOut = "remove_racer_from_run";
    std::vector<Case> all;
    all.push_back({"racer form", "Запись на заезд", [](RequestDesk &desk) { desk.counter().push("bAddRacer"); }, remove,
                   R"({"removeList": ["{a}", "{b}", "{c}"]})",
                   [](QWidget *dialog) {
                       dialog->findChild<QLineEdit *>(QStringLiteral("leLastName"))->setText(text("новый"));
                       ok(dialog);
                   },
                   "Новый"});
    all.push_back({"edit form", "Запись на заезд",
                   [](RequestDesk &desk) {
                       select(desk, 0);
                       desk.counter().trigger("actionEditRacer");
                   },
                   remove, RemoveA, ok, "{b} {c}"});
    all.push_back({"edit form, paid meanwhile", "Запись на заезд",
                   [](RequestDesk &desk) {
                       select(desk, 0);
                       desk.counter().trigger("actionEditRacer");
                   },
                   "pay_and_seat_to_runs", R"({"uuidList": ["{a}"]})", ok, "{a} {b} {c}",
                   "{A}[{r}:1 {n}:-1] {B}[{m}:-1 {a}:-1] {C}[{a}:-1] | {old}",
                   "Редактирование недоступно при состоянии оплаты \"Оплачен\""});
    all.push_back({"no edit of the paid", "Ошибка",
                   [](RequestDesk &desk) {
                       select(desk, 1);
                       desk.counter().trigger("actionEditRacer");
                   },
                   remove, RemoveB, boxOk, "{a} {c}"});
    all.push_back({"question before a line goes", "Подтверждение",
                   [](RequestDesk &desk) {
                       select(desk, 0);
                       desk.counter().push("bRemoveRacerFromList");
                   },
                   remove, RemoveA, yes, "{b} {c}"});
    all.push_back({"question before the paid go", "Подтверждение",
                   [](RequestDesk &desk) { desk.counter().push("pbRemovePaid"); }, remove, RemoveB, yes, "{a} {c}"});
    all.push_back({"payment refused", "Ошибка",
                   [](RequestDesk &desk) { desk.counter().click(desk.counter().at(2, Counter::PayState)); }, remove,
                   RemoveC, boxOk, "{a} {b}"});
    all.push_back({"seat variant", "Размещение в заездах",
                   [](RequestDesk &desk) {
                       select(desk, 1);
                       desk.counter().trigger("actionMoveToRuns");
                   },
                   remove, RemoveB,
                   [](QWidget *dialog) { dialog->findChild<QRadioButton *>(QStringLiteral("rbMultiStep2"))->click(); },
                   "{a} {c}"});
    all.push_back({"seat variant, seated meanwhile", "Размещение в заездах",
                   [](RequestDesk &desk) {
                       select(desk, 1);
                       desk.counter().trigger("actionMoveToRuns");
                   },
                   "pay_and_seat_to_runs", R"({"uuidList": ["{b}"]})",
                   [](QWidget *dialog) { dialog->findChild<QRadioButton *>(QStringLiteral("rbMultiStep2"))->click(); },
                   "{a} {c}", "{A}[{r}:1 {n}:-1] {B}[{m}:-1 {b}:-1] {C}[{b}:-1] | {old}"});
    all.push_back({"sale", "Продажа", [](RequestDesk &desk) { desk.counter().push("pbSimplePayment"); },
                   "set_price_type", R"({"priceName": "Выходные"})", reject});
    all.push_back({"client search", "Поиск клиента", [](RequestDesk &desk) { desk.counter().push("bAddRacerFromDb"); },
                   remove, RemoveA, reject, "{b} {c}"});
    all.push_back({"no printer", "Ошибка",
                   [](RequestDesk &desk) { desk.ask("print_tickets", R"({"uuidList": ["{b}"]})"); }, remove, RemoveB,
                   boxOk, "{a} {c}"});
    all.push_back({"add runs", "Добавить заезды", [](RequestDesk &desk) { desk.counter().push("bAddRun"); }, deleteRun,
                   DeleteC, ok, "{a} {b} {c}", "{A}[{r}:1 {n}:-1] {B}[{m}:-1] *[] | {old}"});
    all.push_back({"rename", "Переименовать",
                   [](RequestDesk &desk) {
                       selectRun(desk, 0);
                       desk.counter().trigger("actionRenameRun");
                   },
                   deleteRun, DeleteA, ok, "{a} {b} {c}", WithoutA});
    all.push_back({"renumber", "Нумерация заездов",
                   [](RequestDesk &desk) {
                       selectRun(desk, 2);
                       desk.counter().trigger("actionRenumberRuns");
                   },
                   deleteRun, DeleteC, ok, "{a} {b} {c}", "{A}[{r}:1 {n}:-1] {B}[{m}:-1] | {old}"});
    all.push_back({"question before a run goes", "Подтверждение",
                   [](RequestDesk &desk) {
                       selectRun(desk, 0);
                       desk.counter().push("bRemoveRun");
                   },
                   deleteRun, DeleteA, yes, "{a} {b} {c}", WithoutA});
    all.push_back({"question before a racer goes", "Подтверждение",
                   [](RequestDesk &desk) {
                       desk.clickSeat(0, 0);
                       desk.counter().trigger("actionRemoveFromRun");
                   },
                   takeOut, TakeOutR, yes, "{a} {b} {c}", WithoutR});
    all.push_back({"question before a racer goes, run deleted", "Подтверждение",
                   [](RequestDesk &desk) {
                       desk.clickSeat(0, 0);
                       desk.counter().trigger("actionRemoveFromRun");
                   },
                   deleteRun, DeleteA, yes, "{a} {b} {c}", WithoutA});
    all.push_back({"question before a run is closed", "",
                   [](RequestDesk &desk) {
                       desk.host().send(QStringLiteral("new_run_started"), object(R"({"runQueueGuid": "{A}"})"));
                       TrackOffice::startButton(desk.run(0))->click();
                   },
                   "run_control", R"({"cmd": "close", "runQueueGuid": "{A}"})", yes, "{a} {b} {c}", WithoutA});
    all.push_back({"question before the history goes", "Подтверждение",
                   [](RequestDesk &desk) { desk.counter().push("pbClearRunsHistory"); }, deleteRun, DeleteA, yes,
                   "{a} {b} {c}", "{B}[{m}:-1] {C}[]"});
    all.push_back({"parameters of a run", "Параметры заезда",
                   [](RequestDesk &desk) {
                       QTest::mouseDClick(desk.run(0), Qt::LeftButton, Qt::NoModifier, TrackOffice::title().center());
                   },
                   deleteRun, DeleteA, ok, "{a} {b} {c}", WithoutA});
    all.push_back({"refund", "Возврат оплаты",
                   [](RequestDesk &desk) {
                       desk.clickSeat(0, 0);
                       desk.counter().trigger("actionRefundTicket");
                   },
                   takeOut, TakeOutR, ok, "{a} {b} {c}", WithoutR});
    all.push_back({"refund, run deleted", "Возврат оплаты",
                   [](RequestDesk &desk) {
                       desk.clickSeat(0, 0);
                       desk.counter().trigger("actionRefundTicket");
                   },
                   deleteRun, DeleteA, ok, "{a} {b} {c}", WithoutA});
    const auto chooseCar = [](RequestDesk &desk) {
        desk.clickSeat(0, 0);
        runsMenu(desk);
        QWidget *menu = QApplication::activePopupWidget();
        if (!menu)
            qFatal("no menu");
        QAction *chosen = nullptr;
        const QList<QAction *> entries = menu->actions();
        for (const QAction *entry : entries) {
            if (entry->menu())
                chosen = entry->menu()->actions().value(1);
        }
        menu->close();
        if (!chosen)
            qFatal("no car to choose");
        chosen->trigger();
    };
    const auto broken = [](QWidget *dialog) {
        dialog->findChild<QRadioButton *>(QStringLiteral("rbBrokenCar"))->click();
        ok(dialog);
    };
    all.push_back({"reason of another car", "", chooseCar, takeOut, TakeOutR, broken, "{a} {b} {c}", WithoutR});
    all.push_back(
        {"reason of another car, run deleted", "", chooseCar, deleteRun, DeleteA, broken, "{a} {b} {c}", WithoutA});
    const auto openMenu = [](RequestDesk &desk) {
        desk.clickSeat(0, 0);
        runsMenu(desk);
    };
    all.push_back({"menu of the runs", "", openMenu, deleteRun, DeleteA, closePopup, "{a} {b} {c}", WithoutA});
    all.push_back(
        {"menu of the runs, racer gone", "", openMenu, takeOut, TakeOutR, closePopup, "{a} {b} {c}", WithoutR});
    all.push_back({"menu of the list", "",
                   [](RequestDesk &desk) {
                       select(desk, 0);
                       QWidget *viewport = desk.counter().tree()->viewport();
                       QContextMenuEvent event(QContextMenuEvent::Mouse, QPoint(20, 10),
                                               viewport->mapToGlobal(QPoint(20, 10)));
                       QApplication::sendEvent(viewport, &event);
                   },
                   remove, RemoveA, closePopup, "{b} {c}"});
    all.push_back({"prices of a line", "",
                   [](RequestDesk &desk) { desk.counter().edit(desk.counter().at(0, Counter::SalesItem)); }, remove,
                   RemoveA, closePopup, "{b} {c}"});
    all.push_back({"pay methods of a line", "",
                   [](RequestDesk &desk) { desk.counter().edit(desk.counter().at(0, Counter::PayMethod)); }, remove,
                   RemoveA, closePopup, "{b} {c}"});
    return all;
}

} // namespace

void TestRequestsInDialogs::init()
{
    m_desk = std::make_unique<RequestDesk>();
    Counter &counter = m_desk->counter();
    counter.stockPrices();
    m_desk->track().addPriceType(text("Выходные"));
    const QJsonObject minor = Counter::ticket(QStringLiteral("{k}"));
    counter.seed({counter.sold(QStringLiteral("{a}"), {{QStringLiteral("kidsList"), QJsonArray{minor}}}),
                  counter.sold(QStringLiteral("{b}"), {{QStringLiteral("payState"), true}}),
                  counter.sold(QStringLiteral("{c}"), {{QStringLiteral("payMethod"), QString()}})});
    m_desk->seedQueue({{QStringLiteral("{A}"),
                        {TrackOffice::seat(QStringLiteral("{r}"), -1001,
                                           object(R"({"competitorState": 2, "carId": 1, "carNum": "12"})")),
                         TrackOffice::seat(QStringLiteral("{n}"), -1002)}},
                       {QStringLiteral("{B}"), {TrackOffice::seat(QStringLiteral("{m}"), -1001)}},
                       {QStringLiteral("{C}")}});
    m_desk->seedHistory({TrackOffice::pastRun(QStringLiteral("{old}"), 1000)});
    QVERIFY(m_desk->open());
    m_desk->sendCars();
    host().send(QStringLiteral("online_service_status"), object(R"({"enabled": true, "apiKey": ""})"));
    host().clear();
}

void TestRequestsInDialogs::cleanup()
{
    m_desk.reset();
}

void TestRequestsInDialogs::whileOpen_data()
{
    QTest::addColumn<int>("number");
    int number = 0;
    const std::vector<Case> all = cases();
    for (const Case &one : all)
        QTest::newRow(one.name) << number++;
}

void TestRequestsInDialogs::whileOpen()
{
    QFETCH(int, number);
    const Case one = cases().at(size_t(number));
    QString title;
    bool answeredOpen = false;
    bool answeredChange = false;
    bool answeredAfter = false;
    const auto told = [this](const QString &name, const QJsonObject &arguments) {
        const QJsonObject answer = m_desk->answer(name, arguments);
        return answer.value(QLatin1String("linkGuid")) == QLatin1String("{link}");
    };
    // The answers are there before the dialog gets its next event.
    std::function<void(QWidget *)> close = one.close;
    const auto work = [&](QWidget *widget) {
        const QPointer<QWidget> opened(widget);
        title = widget->windowTitle();
        answeredOpen = told(QStringLiteral("cash_data"), {}) && opened && opened->isVisible();
        answeredChange = told(QString::fromLatin1(one.request), object(one.arguments));
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QCoreApplication::processEvents();
        answeredAfter = told(QStringLiteral("run_queue"), {});
        if (opened && opened->isVisible())
            close(opened);
    };
    const ModalAnswer answer = ModalAnswer::widget(work);
    QString box;
    std::unique_ptr<ModalAnswer> afterwards;
    if (*one.box != '\0') {
        afterwards = std::make_unique<ModalAnswer>(ModalAnswer::widget([&](QWidget *widget) {
            if (auto *shown = qobject_cast<QMessageBox *>(widget))
                box = shown->text();
            boxOk(widget);
        }));
    }
    one.open(*m_desk);
    QVERIFY2(QTest::qWaitFor([&] { return answer.answered(); }, 3000), qPrintable(answer.error()));
    QCOMPARE(title, text(one.title));
    QCOMPARE(box, text(one.box));
    QVERIFY(answeredOpen);
    QVERIFY(answeredChange);
    QVERIFY(answeredAfter);
    HostProbe::settle(30);
    QVERIFY(!QApplication::activeModalWidget());
    QVERIFY(!QApplication::activePopupWidget());

    QStringList names;
    const QList<QJsonObject> lines = m_desk->counter().lines();
    for (const QJsonObject &line : lines)
        names.append(line.value(QLatin1String("lastName")).toString());
    QCOMPARE(names.join(QLatin1Char(' ')), text(one.lines));
    const QRegularExpression guid(QStringLiteral("\\{[0-9a-f]{8}-[0-9a-f-]{27}\\}"));
    QCOMPARE(m_desk->queue().replace(guid, QStringLiteral("*")), QString::fromLatin1(one.queue));
    const bool pays = qstrcmp(one.name, "edit form, paid meanwhile") == 0;
    QCOMPARE(m_desk->counter().paymentCount(), pays ? 1 : 0);

    m_desk->counter().takeKeyboard();
    const QString error = m_desk->sellByHand();
    QVERIFY2(error.isEmpty(), qPrintable(error));
}

// A question inside the form of a family that has left.
void TestRequestsInDialogs::whileAMinorIsRemoved()
{
    QJsonObject removed;
    const ModalAnswer form = ModalAnswer::dialog(text("Запись на заезд"), [&](QDialog *dialog) {
        auto *kids = dialog->findChild<QTreeView *>(QStringLiteral("tvKidsList"));
        kids->setCurrentIndex(kids->model()->index(0, 1));
        const ModalAnswer question = ModalAnswer::widget([&](QWidget *box) {
            removed = m_desk->answer(QStringLiteral("remove_checkin_items"), object(RemoveA));
            yes(box);
        });
        dialog->findChild<QAction *>(QStringLiteral("actionRemoveKid"))->trigger();
        MODAL_VERIFY(question);
        QCOMPARE(kids->model()->rowCount(), 0);
        ok(dialog);
    });
    select(*m_desk, 0);
    m_desk->counter().trigger("actionEditRacer");
    MODAL_VERIFY(form);
    JSON_COMPARE(removed, object(R"({"linkGuid": "{link}"})"));
    QCOMPARE(m_desk->counter().model()->rowCount(), 2);
    const QString error = m_desk->sellByHand();
    QVERIFY2(error.isEmpty(), qPrintable(error));
}

// A choice inside the parameters of a run that has left.
void TestRequestsInDialogs::whileAColourIsChosen()
{
    QJsonObject removed;
    const ModalAnswer parameters = ModalAnswer::dialog(text("Параметры заезда"), [&](QDialog *dialog) {
        const ModalAnswer colours = ModalAnswer::widget([&](QWidget *chooser) {
            removed = m_desk->answer(QStringLiteral("delete_run_from_queue"), object(DeleteA));
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
            if (auto *opened = qobject_cast<QDialog *>(chooser))
                opened->accept();
        });
        QTest::mousePress(dialog->findChild<QWidget *>(QStringLiteral("fRunColor")), Qt::LeftButton);
        MODAL_VERIFY(colours);
        ok(dialog);
    });
    QTest::mouseDClick(m_desk->run(0), Qt::LeftButton, Qt::NoModifier, TrackOffice::title().center());
    MODAL_VERIFY(parameters);
    JSON_COMPARE(removed, object(R"({"linkGuid": "{link}"})"));
    QCOMPARE(m_desk->queue(), QString::fromLatin1(WithoutA));
    const QString error = m_desk->sellByHand();
    QVERIFY2(error.isEmpty(), qPrintable(error));
}

// None of them waits for the cashier.
void TestRequestsInDialogs::everyRequestInADialog()
{
    QStringList silent;
    const ModalAnswer form = ModalAnswer::dialog(text("Запись на заезд"), [&](QDialog *dialog) {
        const QVector<QPair<const char *, const char *>> requests{
            {"cashier_login", R"({"authCode": "1"})"},
            {"run_queue", "{}"},
            {"cash_data", "{}"},
            {"move_racer_to_run", R"({"fromRun": "{A}", "toRun": "{B}", "racerGuid": "{n}"})"},
            {"set_new_discount", R"({"uuid": "{a}", "newDiscountValue": 10})"},
            {"set_new_run_count", R"({"uuid": "{a}", "newRunCount": 1})"},
            {"set_new_car_model", R"({"uuid": "{a}", "salesId": 1, "salesCommonId": 1})"},
            {"set_new_pay_method", R"({"uuidList": ["{a}"], "newPayMethod": "Карта"})"},
            {"print_safety", R"({"uuidList": ["{a}"]})"},
            {"print_ticket", R"({"runQueueGuid": "{B}", "racerGuid": "{m}"})"},
            {"pay_and_seat_to_runs", R"({"uuidList": ["{a}", "{b}"]})"},
            {"move_run_in_queue", R"({"srcGuid": "{C}", "dstGuid": "{B}"})"},
            {"add_new_checkin", R"({"lastName": "Киоск", "uuid": "{z}"})"},
            {"update_client_data", R"({"clientId": 17})"},
            {"lock_unlock_run", R"({"runGuid": "{C}", "lockState": true})"},
            {"print_run", "{}"},
            {"set_price_type", R"({"priceName": "Основные"})"},
            {"add_new_run", "{}"},
            {"get_available_cars", R"({"clientGuid": "{r}", "runQueueGuid": "{A}"})"},
            {"select_car", R"({"targetCar": {"id": 2}, "runQueueGuid": "{A}", "uuid": "{r}"})"},
            {"remove_racer_from_run", R"({"runGuid": "{B}", "racerGuid": "{n}"})"},
            {"refund_tickets", R"({"runGuid": "{B}", "racerGuid": "{m}", "refundTicketsCount": 1})"},
            {"run_control", R"({"cmd": "start", "runQueueGuid": "{A}"})"},
            {"run_control", R"({"cmd": "close", "runQueueGuid": "{A}"})"},
            {"delete_run_from_queue", R"({"runGuid": "{B}"})"},
            {"remove_checkin_items", R"({"removeList": ["{z}", "{c}"]})"},
        };
        for (const auto &request : requests) {
            const QJsonObject answer = m_desk->answer(QString::fromLatin1(request.first), object(request.second));
            if (answer.value(QLatin1String("linkGuid")) != QLatin1String("{link}"))
                silent.append(QString::fromLatin1(request.first));
        }
        QVERIFY(dialog->isVisible());
        reject(dialog);
    });
    m_desk->counter().push("bAddRacer");
    MODAL_VERIFY(form);
    QCOMPARE(silent, QStringList());
    const QString error = m_desk->sellByHand();
    QVERIFY2(error.isEmpty(), qPrintable(error));
}

DESK_TEST_MAIN(TestRequestsInDialogs)

#include "tst_requestsindialogs.moc"
