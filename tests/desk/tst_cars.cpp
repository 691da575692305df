#include "checkincounter.h"
#include "desktest.h"
#include "jsonmatch.h"
#include "modal.h"
#include "trackoffice.h"

#include <QAction>
#include <QContextMenuEvent>
#include <QDialog>
#include <QDialogButtonBox>
#include <QDragMoveEvent>
#include <QGroupBox>
#include <QJsonDocument>
#include <QMenu>
#include <QMimeData>
#include <QRadioButton>
#include <QTimer>

/// Cars in the runs: the menu that offers them, what the host hears of a change, and what it may do meanwhile.
class TestCars : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void menuOfARow_data();
    void menuOfARow();
    void noMenuWithoutARow();
    void menuAtThePointer();
    void menuFollowsTheHighlight();
    void carsOnOffer();
    void onlyFreeingWhenAllCarsAreSeated();
    void oddCarRecords();
    void carGivenToAWaitingRacer();
    void carTakenFromAWaitingRacer();
    void sameCarChangesNothing();
    void reasonIsAskedOfATimedRacer_data();
    void reasonIsAskedOfATimedRacer();
    void reasonIsNotAsked_data();
    void reasonIsNotAsked();
    void seatWithoutANumber();
    void carsListReachesEveryRun();
    void carsListLeavesThePastAlone();
    void carsListIsKeptForNewRuns();
    void unavailableCarStaysWithItsRacer();
    void preparationCleared();
    void oddClearLists_data();
    void oddClearLists();
    void menuOutlivesItsRun_data();
    void menuOutlivesItsRun();
    void reasonOutlivesItsRun_data();
    void reasonOutlivesItsRun();
    void hostClosesTheRunOnTheNews_data();
    void hostClosesTheRunOnTheNews();
};

namespace {

using JsonMatch::object;

const QString FreeCar = text("Освободить");
const QString RunA = QStringLiteral("{run-a}");
const QString RunB = QStringLiteral("{run-b}");
const QString Anna = QStringLiteral("{anna}");
const QString Boris = QStringLiteral("{boris}");
const QString Vera = QStringLiteral("{vera}");

// Numbers in another order than the ids, one car without a number, one of another model, one in the workshop.
QJsonArray fleet()
{
    return {TrackOffice::car(1, QStringLiteral("Sodi"), QStringLiteral("12")),
            TrackOffice::car(2, QStringLiteral("Sodi"), QStringLiteral("7")),
            TrackOffice::car(3, QStringLiteral("Sodi"), text("А")),
            TrackOffice::car(4, QStringLiteral("Rimo"), QStringLiteral("1")),
            TrackOffice::car(5, QStringLiteral("Sodi"), QStringLiteral("3"), false),
            TrackOffice::car(6, QStringLiteral("Sodi"), QStringLiteral("9"))};
}

QJsonObject held(int carId, const QString &num)
{
    return {{QStringLiteral("carId"), carId}, {QStringLiteral("carNum"), num}};
}

// Two runs: Anna without a car and Boris on the 9 in the first, Vera on the 7 in the second.
void seedTwoRuns(TrackOffice &office, const QJsonObject &anna = {})
{
    office.seedQueue(
        {{RunA, {TrackOffice::seat(Anna, -1001, anna), TrackOffice::seat(Boris, -1002, held(6, QStringLiteral("9")))}},
         {RunB, {TrackOffice::seat(Vera, -1001, held(2, QStringLiteral("7")))}}});
}

QStringList captions(const QList<QAction *> &actions)
{
    QStringList texts;
    for (const QAction *action : actions)
        texts.append(action->text());
    return texts;
}

QJsonObject row(const QString &uuid, int competitorId, int carId)
{
    QJsonObject row{{QStringLiteral("name"), uuid},
                    {QStringLiteral("carId"), carId},
                    {QStringLiteral("clientId"), -1},
                    {QStringLiteral("competitorId"), competitorId}};
    if (carId != -1)
        row.insert(QStringLiteral("sourceSet"), true);
    return row;
}

QJsonObject preset(const QString &guid, const QJsonArray &rows)
{
    return {{QStringLiteral("runQueueGuid"), guid}, {QStringLiteral("preset"), rows}};
}

QDialogButtonBox *buttons(const QDialog *dialog)
{
    return dialog->findChild<QDialogButtonBox *>(QStringLiteral("buttonBox"));
}

// Answers the question of the reason: a radio button or none, then OK or Cancel.
ModalAnswer reason(const QString &choice, bool accept, const std::function<void()> &meanwhile = {})
{
    return ModalAnswer::dialog(QString(), [=](QDialog *dialog) {
        const QPointer<QDialog> guard(dialog);
        if (!dialog->findChild<QGroupBox *>(QStringLiteral("groupBox")))
            return;
        if (!choice.isEmpty())
            dialog->findChild<QRadioButton *>(choice)->setChecked(true);
        if (meanwhile)
            meanwhile();
        if (guard)
            buttons(guard)->button(accept ? QDialogButtonBox::Ok : QDialogButtonBox::Cancel)->click();
    });
}

QJsonObject closed(const QString &guid)
{
    return {{QStringLiteral("runQueueGuid"), guid}};
}

} // namespace

void TestCars::menuOfARow_data()
{
    QTest::addColumn<QList<int>>("selected");
    QTest::addColumn<bool>("highlight");
    QTest::addColumn<QStringList>("entries");

    const QString remove = text("Удалить заезд");
    const QString rename = text("Переименовать заезд");
    const QString refund = text("Возврат билета");
    const QString renumber = text("Перенумеровать заезды");
    const QString bar = QStringLiteral("-");
    QTest::newRow("one row") << QList<int>{0} << false << QStringList{remove, rename, bar, refund, renumber};
    QTest::newRow("several rows") << QList<int>{0, 1} << false << QStringList{remove, bar, refund, renumber};
    QTest::newRow("several rows with a highlight")
        << QList<int>{0, 1} << true << QStringList{remove, bar, refund, renumber};
    QTest::newRow("a highlighted racer") << QList<int>{0} << true << QStringList{text("Печать билета"),
                                                                                 text("Удалить из заезда"),
                                                                                 text("Выбрать карт"),
                                                                                 rename,
                                                                                 bar,
                                                                                 refund,
                                                                                 renumber};
}

void TestCars::menuOfARow()
{
    QFETCH(QList<int>, selected);
    QFETCH(bool, highlight);
    QFETCH(QStringList, entries);
    TrackOffice office;
    seedTwoRuns(office);
    QVERIFY(office.open());
    office.queue()->clearSelection();
    if (highlight)
        TrackOffice::clickCell(office.run(0), 0);
    for (const int row : qAsConst(selected))
        office.queue()->item(row)->setSelected(true);
    QCOMPARE(office.menuEntries(), entries);
    // Built anew each time, not grown.
    QCOMPARE(office.menuEntries(), entries);

    const QHash<QString, QString> actions{{entries.first(), highlight && selected.size() == 1
                                                                ? QStringLiteral("actionPrintTicket")
                                                                : QStringLiteral("actionRemoveRun")},
                                          {text("Возврат билета"), QStringLiteral("actionRefundTicket")},
                                          {text("Удалить из заезда"), QStringLiteral("actionRemoveFromRun")},
                                          {text("Переименовать заезд"), QStringLiteral("actionRenameRun")},
                                          {text("Перенумеровать заезды"), QStringLiteral("actionRenumberRuns")}};
    QStringList wrong;
    QVERIFY(office.menu([&](QMenu *menu) {
        const QList<QAction *> shown = menu->actions();
        for (const QAction *action : shown) {
            if (actions.contains(action->text()) && action->objectName() != actions.value(action->text()))
                wrong.append(action->text());
        }
    }));
    QCOMPARE(wrong, QStringList());
}

void TestCars::noMenuWithoutARow()
{
    TrackOffice office;
    seedTwoRuns(office);
    QVERIFY(office.open());
    office.queue()->clearSelection();
    QVERIFY(!office.menu([](QMenu *) {}));
    QVERIFY(!QApplication::activePopupWidget());
}

// The pointer asks on a run, which leaves that to its list: the menu opens where the pointer is.
void TestCars::menuAtThePointer()
{
    TrackOffice office;
    seedTwoRuns(office);
    QVERIFY(office.open(QSize(1300, 700)));
    TrackOffice::click(office.run(1), TrackOffice::title().center());
    const QPoint where(70, 40);
    // Where there is room enough for it on the screen.
    QWidget *window = office.desk().tab()->window();
    window->move(window->pos() + QPoint(200, 150) - office.run(1)->mapToGlobal(where));
    QTRY_VERIFY(QRect(150, 100, 100, 100).contains(office.run(1)->mapToGlobal(where)));
    const QPoint place = office.run(1)->mapToGlobal(where);
    QPoint opened;
    QStringList entries;
    const ModalAnswer answer = ModalAnswer::widget([&](QWidget *widget) {
        opened = widget->pos();
        entries = captions(widget->actions());
        widget->close();
    });
    QContextMenuEvent event(QContextMenuEvent::Mouse, where, place);
    QApplication::sendEvent(office.run(1), &event);
    QTRY_VERIFY2(answer.answered(), qPrintable(answer.error()));
    QCOMPARE(opened, place);
    QCOMPARE(entries.value(0), text("Удалить заезд"));
}

void TestCars::menuFollowsTheHighlight()
{
    TrackOffice office;
    seedTwoRuns(office);
    QVERIFY(office.open());
    office.sendCars(fleet());
    TrackOffice::clickCell(office.run(0), 0);
    QCOMPARE(office.queue()->selectedItems(), QList<QListWidgetItem *>{office.queue()->item(0)});
    QVERIFY(office.carEntries().size() > 1);
    // A press beside the cells takes the highlight away; so does another row.
    TrackOffice::click(office.run(0), QPoint(60, 30));
    QCOMPARE(office.carEntries().size(), 0);
    TrackOffice::clickCell(office.run(0), 0);
    TrackOffice::clickCell(office.run(1), 0);
    office.queue()->clearSelection();
    office.queue()->item(0)->setSelected(true);
    QCOMPARE(office.carEntries().size(), 0);
}

void TestCars::carsOnOffer()
{
    TrackOffice office;
    seedTwoRuns(office, {{QStringLiteral("comment"), text("первый раз")}});
    QVERIFY(office.open());
    office.sendCars(fleet());
    TrackOffice::clickCell(office.run(0), 0);
    const QList<QAction *> entries = office.carEntries();
    // The 9 is held here, the 3 is not available, the 1 is of another model; the 7 is held in another run only.
    QCOMPARE(captions(entries), QStringList({FreeCar, text("Sodi 7"), text("Sodi 12"), text("Sodi А")}));

    QJsonObject data = office.racer(0, Anna);
    QCOMPARE(data.value(QLatin1String("comment")).toString(), text("первый раз"));
    data.insert(QStringLiteral("runQueueUuid"), RunA);
    data.insert(QStringLiteral("targetCar"), object(R"({"id": -1})"));
    JSON_COMPARE(entries.at(0)->data().toJsonObject(), data);
    data.insert(QStringLiteral("targetCar"), fleet().at(1));
    JSON_COMPARE(entries.at(1)->data().toJsonObject(), data);
    data.insert(QStringLiteral("targetCar"), fleet().at(2));
    JSON_COMPARE(entries.at(3)->data().toJsonObject(), data);

    // The holder is not offered his own car either.
    TrackOffice::clickCell(office.run(0), 1);
    QCOMPARE(captions(office.carEntries()), QStringList({FreeCar, text("Sodi 7"), text("Sodi 12"), text("Sodi А")}));
}

void TestCars::onlyFreeingWhenAllCarsAreSeated()
{
    TrackOffice office;
    seedTwoRuns(office);
    QVERIFY(office.open());
    office.sendCars({TrackOffice::car(6, QStringLiteral("Sodi"), QStringLiteral("9")),
                     TrackOffice::car(4, QStringLiteral("Rimo"), QStringLiteral("1"))});
    TrackOffice::clickCell(office.run(0), 0);
    QCOMPARE(captions(office.carEntries()), QStringList{FreeCar});
    office.sendCars({});
    QCOMPARE(captions(office.carEntries()), QStringList{FreeCar});
}

void TestCars::oddCarRecords()
{
    TrackOffice office;
    seedTwoRuns(office);
    QVERIFY(office.open());
    office.desk().send(QStringLiteral("cars_list_changed"), object(R"({"cars": [
        7, "car", null, [], {},
        {"id": "8", "name": "Sodi", "num": "8", "available_for_runs": true},
        {"id": -1, "name": "Sodi", "num": "10", "available_for_runs": true},
        {"name": "Sodi", "num": "11", "available_for_runs": true},
        {"id": 12, "name": "Sodi", "num": "12"},
        {"id": 13, "name": "Sodi", "num": "13", "available_for_runs": "true"},
        {"id": 14, "num": "14", "available_for_runs": true},
        {"id": 15, "name": "Sodi", "num": " 15 big", "available_for_runs": true},
        {"id": 16, "name": "Sodi", "num": "5a", "available_for_runs": true},
        {"id": 17, "name": "Sodi", "num": "-1", "available_for_runs": true},
        {"id": 18, "name": "Sodi", "num": "-7", "available_for_runs": true},
        {"id": 15, "name": "Sodi", "num": "14x", "available_for_runs": true}]})"));
    TrackOffice::clickCell(office.run(0), 0);
    QCOMPARE(captions(office.carEntries()),
             QStringList({FreeCar, text("Sodi -7"), text("Sodi 5a"), text("Sodi 14x"), text("Sodi -1")}));
    office.desk().send(QStringLiteral("cars_list_changed"), object(R"({"cars": {"id": 1}})"));
    QCOMPARE(captions(office.carEntries()), QStringList{FreeCar});
}

void TestCars::carGivenToAWaitingRacer()
{
    TrackOffice office;
    seedTwoRuns(office);
    QVERIFY(office.open());
    office.sendCars(fleet());
    const QJsonObject boris = office.racer(0, Boris);
    const QJsonObject vera = office.racer(1, Vera);
    QJsonObject anna = office.racer(0, Anna);
    TrackOffice::clickCell(office.run(0), 0);
    office.desk().clear();
    QVERIFY(office.chooseCar(text("Sodi 12")));

    QCOMPARE(office.desk().names(), QStringList{QStringLiteral("replace_run_preset")} + publication() + publication());
    JSON_COMPARE(office.desk().last(QStringLiteral("replace_run_preset")),
                 preset(RunA, {row(Anna, -1001, 1), row(Boris, -1002, 6)}));
    const QJsonObject heard = office.desk().last(QStringLiteral("local_request_answer"));
    JSON_CONTAINS(heard.value(QLatin1String("runQueue")).toObject().value(QLatin1String("currentRun")).toObject(),
                  object(R"({"runQueueGuid": "{run-a}",
                             "runCompetitors": {"-1001": {"uuid": "{anna}", "carId": 1, "carNum": "12"}}})"));
    // Nothing of the request stays with the seat, and nobody else is touched.
    anna.insert(QStringLiteral("carId"), 1);
    anna.insert(QStringLiteral("carNum"), QStringLiteral("12"));
    JSON_COMPARE(office.racer(0, Anna), anna);
    JSON_COMPARE(office.racer(0, Boris), boris);
    JSON_COMPARE(office.racer(1, Vera), vera);
    QVERIFY(office.track().readJournal(QStringLiteral("runslist.state")).contains(R"("carNum":"12")"));
    QCOMPARE(captions(office.carEntries()), QStringList({FreeCar, text("Sodi 7"), text("Sodi А")}));
}

void TestCars::carTakenFromAWaitingRacer()
{
    TrackOffice office;
    seedTwoRuns(office);
    QVERIFY(office.open());
    office.sendCars(fleet());
    TrackOffice::clickCell(office.run(0), 1);
    office.desk().clear();
    QVERIFY(office.chooseCar(FreeCar));
    QCOMPARE(office.desk().names(), QStringList{QStringLiteral("replace_run_preset")} + publication() + publication());
    JSON_COMPARE(office.desk().last(QStringLiteral("replace_run_preset")),
                 preset(RunA, {row(Anna, -1001, -1), row(Boris, -1002, -1)}));
    JSON_CONTAINS(office.racer(0, Boris), object(R"({"carId": -1, "carNum": ""})"));
    JSON_CONTAINS(office.racer(1, Vera), object(R"({"carId": 2, "carNum": "7"})"));
}

void TestCars::sameCarChangesNothing()
{
    TrackOffice office;
    // A number without a car stays as well: the request ends before anything is written. Nobody is asked either.
    seedTwoRuns(office, {{QStringLiteral("carNum"), QStringLiteral("44")}, {QStringLiteral("competitorState"), 3}});
    QVERIFY(office.open());
    office.sendCars(fleet());
    TrackOffice::clickCell(office.run(0), 0);
    office.desk().clear();
    QVERIFY(office.chooseCar(FreeCar));
    QCOMPARE(office.heard(), publication());
    JSON_CONTAINS(office.racer(0, Anna), object(R"({"carId": -1, "carNum": "44"})"));
}

void TestCars::reasonIsAskedOfATimedRacer_data()
{
    QTest::addColumn<QString>("car");
    QTest::addColumn<int>("carId");
    QTest::addColumn<QString>("carNum");
    QTest::addColumn<QString>("choice");
    QTest::addColumn<bool>("accept");
    QTest::addColumn<QString>("event");

    const QString broken = QStringLiteral("rbBrokenCar");
    const QString wrong = QStringLiteral("rbWrongCar");
    const QString replaced = QStringLiteral("replace_run_preset");
    const QString switched = QStringLiteral("switch_car");
    QTest::newRow("broken car") << text("Sodi 12") << 1 << "12" << broken << true << switched;
    QTest::newRow("wrong car") << text("Sodi 12") << 1 << "12" << wrong << true << replaced;
    QTest::newRow("no choice") << text("Sodi 12") << 6 << "9" << QString() << true << QString();
    QTest::newRow("cancelled") << text("Sodi 12") << 6 << "9" << QString() << false << QString();
    QTest::newRow("chosen and cancelled") << text("Sodi 12") << 6 << "9" << broken << false << QString();
    QTest::newRow("freed, broken") << FreeCar << -1 << "" << broken << true << switched;
    QTest::newRow("freed, wrong") << FreeCar << -1 << "" << wrong << true << replaced;
    QTest::newRow("freed, cancelled") << FreeCar << 6 << "9" << wrong << false << QString();
}

void TestCars::reasonIsAskedOfATimedRacer()
{
    QFETCH(QString, car);
    QFETCH(int, carId);
    QFETCH(QString, carNum);
    QFETCH(QString, choice);
    QFETCH(bool, accept);
    QFETCH(QString, event);
    TrackOffice office;
    seedTwoRuns(office);
    QVERIFY(office.open());
    office.sendCars(fleet());
    office.desk().send(QStringLiteral("refresh_run_info"),
                       object(R"({"runQueueGuid": "{run-a}", "runId": 77, "runState": "running"})"));
    office.desk().send(QStringLiteral("refresh_run_results"),
                       object(R"({"runQueueGuid": "{run-a}", "results": [{"competitorId": -1002, "state": 2}]})"));
    TrackOffice::clickCell(office.run(0), 1);
    office.desk().clear();

    QAction *entry = office.carEntry(car);
    QVERIFY(entry);
    bool checked = false;
    QString title = QStringLiteral("?");
    QStringList texts;
    const ModalAnswer answer = ModalAnswer::widget([&](QWidget *widget) {
        auto *dialog = qobject_cast<QDialog *>(widget);
        auto *group = widget->findChild<QGroupBox *>(QStringLiteral("groupBox"));
        if (!dialog || !group)
            return;
        title = dialog->windowTitle() + group->title();
        for (const char *name : {"rbWrongCar", "rbBrokenCar"}) {
            auto *radio = dialog->findChild<QRadioButton *>(QString::fromLatin1(name));
            texts.append(radio->text());
            checked = checked || radio->isChecked();
        }
        if (!choice.isEmpty())
            dialog->findChild<QRadioButton *>(choice)->click();
        buttons(dialog)->button(accept ? QDialogButtonBox::Ok : QDialogButtonBox::Cancel)->click();
    });
    entry->trigger();
    MODAL_VERIFY(answer);
    QCOMPARE(title, text("Причина замены карта"));
    QCOMPARE(texts,
             QStringList({text("Неверное указан пилот, перепутаны карты"), text("Поломка карта, подменный карт")}));
    QVERIFY(!checked);

    if (event == QLatin1String("switch_car")) {
        // One event tells it all; the run's own publication follows from the menu.
        QCOMPARE(office.desk().names(), QStringList{event} + publication());
        JSON_COMPARE(office.desk().last(event),
                     QJsonObject({{QStringLiteral("switchReason"), QStringLiteral("malfunction")},
                                  {QStringLiteral("competitorId"), -1002},
                                  {QStringLiteral("carId"), carId},
                                  {QStringLiteral("runId"), 77}}));
    } else if (event.isEmpty()) {
        QCOMPARE(office.desk().names(), publication());
    } else {
        QCOMPARE(office.desk().names(), QStringList{event} + publication() + publication());
        JSON_COMPARE(office.desk().last(event), preset(RunA, {row(Anna, -1001, -1), row(Boris, -1002, carId)}));
    }
    JSON_CONTAINS(office.racer(0, Boris),
                  QJsonObject({{QStringLiteral("carId"), carId}, {QStringLiteral("carNum"), carNum}}));
}

void TestCars::reasonIsNotAsked_data()
{
    QTest::addColumn<QJsonObject>("anna");
    QTest::newRow("never seen") << QJsonObject();
    QTest::newRow("state 0") << object(R"({"competitorState": 0})");
    QTest::newRow("state as text") << object(R"({"competitorState": "2"})");
    QTest::newRow("state null") << object(R"({"competitorState": null})");
}

void TestCars::reasonIsNotAsked()
{
    QFETCH(QJsonObject, anna);
    TrackOffice office;
    seedTwoRuns(office, anna);
    QVERIFY(office.open());
    office.sendCars(fleet());
    TrackOffice::clickCell(office.run(0), 0);
    office.desk().clear();
    QVERIFY(office.chooseCar(text("Sodi 12")));
    QCOMPARE(office.heard(), QStringList{QStringLiteral("replace_run_preset")} + publication() + publication());
}

void TestCars::seatWithoutANumber()
{
    TrackOffice office;
    QJsonObject anna = TrackOffice::seat(Anna, -1001, object(R"({"competitorState": 1})"));
    anna.remove(QStringLiteral("competitorId"));
    office.seedQueue({{RunA, {anna}}});
    QVERIFY(office.open());
    office.sendCars(fleet());
    TrackOffice::clickCell(office.run(0), 0);
    office.desk().clear();
    QAction *entry = office.carEntry(text("Sodi 12"));
    QVERIFY(entry);
    const ModalAnswer answer = reason(QStringLiteral("rbBrokenCar"), true);
    entry->trigger();
    MODAL_VERIFY(answer);
    // No report of the run has come: its number is unknown, too.
    JSON_COMPARE(office.desk().last(QStringLiteral("switch_car")),
                 object(R"({"switchReason": "malfunction", "competitorId": -1, "carId": 1, "runId": -1})"));
}

void TestCars::carsListReachesEveryRun()
{
    TrackOffice office;
    seedTwoRuns(office);
    QVERIFY(office.open());
    office.desk().send(QStringLiteral("cars_list_changed"), {{QStringLiteral("cars"), fleet()}});
    QCOMPARE(office.desk().names(),
             QStringList({QStringLiteral("local_request_answer"), QStringLiteral("update_remote_prices")}));
    QVERIFY(office.desk().last(QStringLiteral("local_request_answer")).contains(QStringLiteral("priceList")));
    TrackOffice::clickCell(office.run(0), 0);
    QCOMPARE(office.carEntries().size(), 4);
    TrackOffice::clickCell(office.run(1), 0);
    QCOMPARE(captions(office.carEntries()), QStringList({FreeCar, text("Sodi 9"), text("Sodi 12"), text("Sodi А")}));
}

// What is over needs no cars: a past run shows no number, whether it came from the journal or was closed just now.
void TestCars::carsListLeavesThePastAlone()
{
    TrackOffice office;
    seedTwoRuns(office);
    QJsonObject past = TrackOffice::pastRun(QStringLiteral("{old}"), 10);
    past.insert(QStringLiteral("runCompetitors"),
                QJsonObject{{QStringLiteral("-1001"), TrackOffice::seat(Anna, -1001, held(6, QStringLiteral("9")))}});
    office.seedHistory({past});
    QVERIFY(office.open());
    const QImage before = TrackOffice::picture(office.pastRun(0));
    office.sendCars(fleet());
    QVERIFY(TrackOffice::picture(office.pastRun(0)) == before);

    const auto number = [](QWidget *run) {
        const QRect cell = TrackOffice::cell(run, 0);
        const int line = run->fontMetrics().height();
        return TrackOffice::picture(run).copy(
            QRect(cell.left() + 1, cell.bottom() - line + 1, cell.width() - 2, line - 1));
    };
    const auto isBlank = [](QImage part) {
        const QColor color = part.pixelColor(0, 0);
        QImage plain(part.size(), part.format());
        plain.fill(color);
        return part == plain;
    };
    QVERIFY(!isBlank(number(office.run(1))));
    office.desk().send(QStringLiteral("run_closed"), closed(RunB));
    QCOMPARE(office.history()->count(), 2);
    QVERIFY(isBlank(number(office.pastRun(0))));
    QVERIFY(isBlank(number(office.pastRun(1))));
    office.sendCars(fleet());
    QVERIFY(isBlank(number(office.pastRun(0))));
    // The record keeps the car.
    JSON_CONTAINS(office.pastRuns().at(0).value(QLatin1String("runCompetitors")),
                  object(R"({"-1001": {"carId": 2, "carNum": "7"}})"));
}

void TestCars::carsListIsKeptForNewRuns()
{
    TrackOffice office;
    QVERIFY(office.open());
    office.sendCars(fleet());
    const ModalAnswer add = ModalAnswer::dialog(text("Добавить заезды"), [](QDialog *dialog) { dialog->accept(); });
    office.desk().find<QPushButton *>(QStringLiteral("bAddRun"))->click();
    MODAL_VERIFY(add);
    QCOMPARE(office.queue()->count(), 1);
    // Four cars of the model are available: the fifth racer is one too many.
    for (int i = 0; i < 5; ++i) {
        const QByteArray data = QJsonDocument(QJsonObject{{QStringLiteral("srcList"),
                                                           QJsonArray{TrackOffice::seat(QString::number(i), 0)}}})
                                    .toJson();
        QMimeData mime;
        mime.setData(QStringLiteral("application/json"), data);
        QDragMoveEvent event(QPoint(50, 20), Qt::MoveAction, &mime, Qt::LeftButton, Qt::NoModifier);
        static_cast<QObject *>(office.run(0))->event(&event);
        QCOMPARE(event.isAccepted(), i < 4);
        if (!event.isAccepted())
            continue;
        QDropEvent drop(QPoint(50, 20), Qt::MoveAction, &mime, Qt::LeftButton, Qt::NoModifier);
        static_cast<QObject *>(office.run(0))->event(&drop);
    }
    TrackOffice::clickCell(office.run(0), 0);
    QCOMPARE(office.carEntries().size(), 5);
}

void TestCars::unavailableCarStaysWithItsRacer()
{
    TrackOffice office;
    seedTwoRuns(office);
    QVERIFY(office.open());
    office.sendCars(fleet());
    const QImage before = TrackOffice::picture(office.run(0));
    office.sendCars({TrackOffice::car(6, QStringLiteral("Sodi"), QStringLiteral("9"), false)});
    JSON_CONTAINS(office.racer(0, Boris), object(R"({"carId": 6, "carNum": "9"})"));
    // The number goes from the cell; the model above it stays.
    const QImage after = TrackOffice::picture(office.run(0));
    const QRect cell = TrackOffice::cell(office.run(0), 1);
    const int line = office.run(0)->fontMetrics().height();
    const QRect number(cell.left() + 1, cell.bottom() - line + 1, cell.width() - 2, line - 1);
    const QRect model(cell.left() + 1, number.top() - line, cell.width() - 2, line);
    QVERIFY(before.copy(number) != after.copy(number));
    QImage plain(number.size(), after.format());
    plain.fill(QColor(QStringLiteral("#ff8000")));
    QVERIFY(after.copy(number) == plain);
    QVERIFY(before.copy(model).copy(0, 0, model.width(), line - 3)
            == after.copy(model).copy(0, 0, model.width(), line - 3));
}

void TestCars::preparationCleared()
{
    TrackOffice office;
    office.seedQueue({{RunA,
                       {TrackOffice::seat(Anna, -1001, held(1, QStringLiteral("12"))),
                        TrackOffice::seat(Boris, -1002, held(6, QStringLiteral("9")))}},
                      {RunB, {TrackOffice::seat(Anna, -1001, held(2, QStringLiteral("7")))}}});
    const QByteArray lines =
        QJsonDocument(Counter::ticket(Anna, held(1, QStringLiteral("12")))).toJson(QJsonDocument::Compact) + '\n'
        + QJsonDocument(Counter::ticket(Boris, held(6, QStringLiteral("9")))).toJson(QJsonDocument::Compact) + '\n';
    office.track().writeJournal(QStringLiteral("tickets.state"), lines);
    QVERIFY(office.open());
    office.sendCars(fleet());
    const QImage before = TrackOffice::picture(office.run(1));

    office.desk().send(QStringLiteral("preparation_cleared"), object(R"({"clearList": [{"racerGuid": "{anna}"}]})"));
    // The host did this itself: it is not told of it.
    QCOMPARE(office.desk().count(QStringLiteral("replace_run_preset")), 0);
    QCOMPARE(office.desk().count(QStringLiteral("switch_car")), 0);
    QCOMPARE(office.desk().count(QStringLiteral("remote_control_answer")), 0);
    QVERIFY(TrackOffice::picture(office.run(1)) != before);
    JSON_CONTAINS(office.racer(0, Anna), object(R"({"carId": -1, "carNum": ""})"));
    JSON_CONTAINS(office.racer(1, Anna), object(R"({"carId": -1, "carNum": ""})"));
    JSON_CONTAINS(office.racer(0, Boris), object(R"({"carId": 6, "carNum": "9"})"));
    const QList<QByteArray> stored = office.track().readJournal(QStringLiteral("tickets.state")).split('\n');
    JSON_CONTAINS(object(stored.at(0).constData()), object(R"({"uuid": "{anna}", "carId": -1, "carNum": ""})"));
    JSON_CONTAINS(object(stored.at(1).constData()), object(R"({"uuid": "{boris}", "carId": 6, "carNum": "9"})"));
}

void TestCars::oddClearLists_data()
{
    QTest::addColumn<QJsonObject>("payload");
    QTest::newRow("nothing") << QJsonObject();
    QTest::newRow("text") << object(R"({"clearList": "{boris}"})");
    QTest::newRow("object") << object(R"({"clearList": {"racerGuid": "{boris}"}})");
    QTest::newRow("elements") << object(R"({"clearList": ["{boris}", 1, null, [], {}, {"racerGuid": ""},
        {"racerGuid": ["{boris}"]}, {"uuid": "{boris}"}, {"racerGuid": "{nobody}"}]})");
}

void TestCars::oddClearLists()
{
    QFETCH(QJsonObject, payload);
    TrackOffice office;
    seedTwoRuns(office);
    QVERIFY(office.open());
    office.desk().send(QStringLiteral("preparation_cleared"), payload);
    JSON_CONTAINS(office.racer(0, Boris), object(R"({"carId": 6, "carNum": "9"})"));
    JSON_CONTAINS(office.racer(1, Vera), object(R"({"carId": 2, "carNum": "7"})"));
}

void TestCars::menuOutlivesItsRun_data()
{
    QTest::addColumn<QString>("entry");
    QTest::newRow("free") << FreeCar;
    QTest::newRow("car") << text("Sodi 12");
    QTest::newRow("remove run") << text("Удалить заезд");
    QTest::newRow("rename run") << text("Переименовать заезд");
    QTest::newRow("remove racer") << text("Удалить из заезда");
}

// The host closes the run while its menu is open; then the marshal takes an entry. The neighbours must not notice, and
// whatever is asked is answered with yes.
void TestCars::menuOutlivesItsRun()
{
    QFETCH(QString, entry);
    TrackOffice office;
    seedTwoRuns(office);
    QVERIFY(office.open());
    office.sendCars(fleet());
    const QJsonObject vera = office.racer(1, Vera);
    TrackOffice::clickCell(office.run(0), 1);
    QPointer<QAction> chosen;
    QVERIFY(office.menu([&](QMenu *menu) {
        QList<QAction *> actions = menu->actions();
        const QList<QAction *> top = actions;
        for (const QAction *action : top) {
            if (action->menu())
                actions += action->menu()->actions();
        }
        for (QAction *action : qAsConst(actions)) {
            if (action->text() == entry)
                chosen = action;
        }
        office.desk().send(QStringLiteral("run_closed"), closed(RunA));
        HostProbe::settle(20);
    }));
    QCOMPARE(office.guids(), QStringList{RunB});
    const QString nameBefore = office.runs().at(0).value(QLatin1String("runName")).toString();
    const QPointer<QTimer> yes(new QTimer(office.desk().plugin()));
    connect(yes, &QTimer::timeout, yes, [] {
        if (auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget()))
            box->button(QMessageBox::Yes)->click();
        else if (auto *dialog = qobject_cast<QDialog *>(QApplication::activeModalWidget()))
            dialog->accept();
    });
    yes->start(10);
    if (chosen)
        chosen->trigger();
    yes->stop();
    QCOMPARE(office.desk().count(QStringLiteral("switch_car")), 0);
    QCOMPARE(office.desk().count(QStringLiteral("replace_run_preset")), 0);
    QCOMPARE(office.guids(), QStringList{RunB});
    QCOMPARE(office.runs().at(0).value(QLatin1String("runName")).toString(), nameBefore);
    JSON_COMPARE(office.racer(0, Vera), vera);
    QCOMPARE(office.pastGuids(), QStringList{RunA});
}

void TestCars::reasonOutlivesItsRun_data()
{
    QTest::addColumn<QString>("choice");
    QTest::addColumn<QString>("meanwhile");
    QTest::newRow("run closed, broken") << "rbBrokenCar"
                                        << "closed";
    QTest::newRow("run closed, wrong") << "rbWrongCar"
                                       << "closed";
    QTest::newRow("neighbour closed, wrong") << "rbWrongCar"
                                             << "neighbour closed";
    QTest::newRow("racer removed, broken") << "rbBrokenCar"
                                           << "racer removed";
    QTest::newRow("racer removed, wrong") << "rbWrongCar"
                                          << "racer removed";
    QTest::newRow("cars changed, wrong") << "rbWrongCar"
                                         << "cars changed";
    QTest::newRow("preparation cleared, broken") << "rbBrokenCar"
                                                 << "cleared";
}

void TestCars::reasonOutlivesItsRun()
{
    QFETCH(QString, choice);
    QFETCH(QString, meanwhile);
    TrackOffice office;
    office.seedQueue({{RunA,
                       {TrackOffice::seat(Anna, -1001, object(R"({"competitorState": 2})")),
                        TrackOffice::seat(Boris, -1002, held(6, QStringLiteral("9")))}},
                      {RunB, {TrackOffice::seat(Vera, -1001, held(2, QStringLiteral("7")))}}});
    QVERIFY(office.open());
    office.sendCars(fleet());
    const QJsonObject vera = office.racer(1, Vera);
    const QJsonObject boris = office.racer(0, Boris);
    TrackOffice::clickCell(office.run(0), 0);
    QAction *entry = office.carEntry(text("Sodi 12"));
    QVERIFY(entry);
    const ModalAnswer answer = reason(choice, true, [&] {
        if (meanwhile == QLatin1String("closed")) {
            office.desk().send(QStringLiteral("run_closed"), closed(RunA));
        } else if (meanwhile == QLatin1String("neighbour closed")) {
            office.desk().send(QStringLiteral("run_closed"), closed(RunB));
        } else if (meanwhile == QLatin1String("cars changed")) {
            office.sendCars({TrackOffice::car(1, QStringLiteral("Sodi"), QStringLiteral("99"))});
        } else if (meanwhile == QLatin1String("cleared")) {
            office.desk().send(QStringLiteral("preparation_cleared"),
                               object(R"({"clearList": [{"racerGuid": "{anna}"}]})"));
        } else {
            const ModalAnswer sure = ModalAnswer::messageBox(text("Подтверждение"), text("Точно удалить?"),
                                                             QMessageBox::Yes | QMessageBox::No, QMessageBox::Yes);
            office.desk().find<QAction *>(QStringLiteral("actionRemoveFromRun"))->trigger();
            QVERIFY2(sure.answered(), qPrintable(sure.error()));
        }
        HostProbe::settle(20);
        office.desk().clear();
    });
    entry->trigger();
    MODAL_VERIFY(answer);

    const int switches = office.desk().count(QStringLiteral("switch_car"));
    const int presets = office.desk().count(QStringLiteral("replace_run_preset"));
    if (meanwhile == QLatin1String("closed")) {
        QCOMPARE(switches + presets, 0);
        QCOMPARE(office.guids(), QStringList{RunB});
        JSON_COMPARE(office.racer(0, Vera), vera);
        const QVector<QJsonObject> past = office.pastRuns();
        QCOMPARE(past.size(), 1);
        JSON_CONTAINS(past.at(0).value(QLatin1String("runCompetitors")).toObject(),
                      object(R"({"-1001": {"uuid": "{anna}", "carId": -1, "carNum": ""}})"));
        return;
    }
    JSON_COMPARE(office.racer(0, Boris), boris);
    if (meanwhile == QLatin1String("racer removed")) {
        QCOMPARE(switches + presets, 0);
        JSON_COMPARE(office.racer(0, Anna), QJsonObject());
    } else {
        QCOMPARE(switches, choice == QLatin1String("rbBrokenCar") ? 1 : 0);
        QCOMPARE(presets, 1 - switches);
        const QString num = meanwhile == QLatin1String("cars changed") ? QStringLiteral("99") : QStringLiteral("12");
        JSON_CONTAINS(office.racer(0, Anna), held(1, num));
    }
    if (meanwhile == QLatin1String("neighbour closed"))
        QCOMPARE(office.pastGuids(), QStringList{RunB});
    else
        JSON_COMPARE(office.racer(1, Vera), vera);
}

void TestCars::hostClosesTheRunOnTheNews_data()
{
    QTest::addColumn<int>("state");
    QTest::addColumn<QString>("event");
    QTest::newRow("preset") << 0 << "replace_run_preset";
    QTest::newRow("switch") << 1 << "switch_car";
}

// The host answers the news of the car with the end of the run, from inside the event.
void TestCars::hostClosesTheRunOnTheNews()
{
    QFETCH(int, state);
    QFETCH(QString, event);
    TrackOffice office;
    seedTwoRuns(office, {{QStringLiteral("competitorState"), state}});
    QVERIFY(office.open());
    office.sendCars(fleet());
    const QJsonObject vera = office.racer(1, Vera);
    TrackOffice::clickCell(office.run(0), 0);
    office.desk().clear();
    int answered = 0;
    connect(office.desk().plugin(), &VanePluginInterface::pluginSignal, this,
            [&](const QString &, const QString &name, const QJsonObject &) {
                if (name == event && answered++ == 0)
                    office.desk().send(QStringLiteral("run_closed"), closed(RunA));
            });
    QAction *entry = office.carEntry(text("Sodi 12"));
    QVERIFY(entry);
    const ModalAnswer answer = reason(QStringLiteral("rbBrokenCar"), true);
    entry->trigger();
    QCOMPARE(answer.answered(), state != 0);
    QCOMPARE(answered, 1);
    QCOMPARE(office.guids(), QStringList{RunB});
    JSON_COMPARE(office.racer(0, Vera), vera);
    const QVector<QJsonObject> past = office.pastRuns();
    QCOMPARE(past.size(), 1);
    JSON_CONTAINS(past.at(0).value(QLatin1String("runCompetitors")).toObject(),
                  object(R"({"-1001": {"uuid": "{anna}", "carId": 1, "carNum": "12"}})"));
}

DESK_TEST_MAIN(TestCars)

#include "tst_cars.moc"
