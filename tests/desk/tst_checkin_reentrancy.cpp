#include "checkincounter.h"
#include "desktest.h"
#include "jsonmatch.h"

#include <memory>
#include <QAction>
#include <QComboBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QJsonDocument>
#include <QLineEdit>
#include <QPushButton>
#include <QTimer>

/// What happens at the counter while something is open there: the host removes racers, renames them, changes cars and
/// prices or goes away, and a host that acts from inside the desk's own events. Nothing may be done to another racer.
class TestCheckInReentrancy : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void meanwhile_data();
    void meanwhile();
    void fromInsideAnEvent_data();
    void fromInsideAnEvent();
    void hostTakesTheNewcomerOfTheLastCode();
    void editedFamilyLosesAMinor();
    void removalOfASelectionThatShrinks();
    void nestedForms();
    void hostQuits_data();
    void hostQuits();
};

namespace {

using JsonMatch::object;

const QString FormTitle = text("Запись на заезд");
const QString Victim = QStringLiteral("{a}");
const QString Neighbour = QStringLiteral("{z}");

QDialogButtonBox *buttons(const QDialog *dialog)
{
    return dialog->findChild<QDialogButtonBox *>(QStringLiteral("buttonBox"));
}

int rowOf(const Counter &counter, const QString &uuid)
{
    for (int row = 0; row < counter.model()->rowCount(); ++row) {
        if (counter.shown(row, Counter::Name).startsWith(uuid))
            return row;
    }
    return -1;
}

QJsonObject find(const QList<QJsonObject> &lines, const QString &uuid)
{
    for (const QJsonObject &line : lines) {
        if (line.value(QLatin1String("uuid")).toString() == uuid)
            return line;
    }
    return {};
}

void seat(Counter &counter, const QStringList &uuids)
{
    QJsonArray seated;
    for (const QString &uuid : uuids)
        seated.append(QJsonObject{{QStringLiteral("uuid"), uuid}});
    QMetaObject::invokeMethod(counter.model(), "itemsDroppedOut", Q_ARG(QJsonArray, seated));
}

void changePrice(Counter &counter)
{
    const QList<QTreeView *> views = counter.desk().settingsPage()->findChildren<QTreeView *>();
    QAbstractItemModel *prices = views.first()->model();
    for (int row = 0; row < prices->rowCount(); ++row) {
        if (prices->index(row, 1).data().toString() == text("Взрослый"))
            prices->setData(prices->index(row, 3), 550);
    }
}

void happen(Counter &counter, const QString &what)
{
    if (what == QLatin1String("expires") || what == QLatin1String("neighbour expires")) {
        counter.validate();
    } else if (what == QLatin1String("seated")) {
        seat(counter, {Victim});
    } else if (what == QLatin1String("client")) {
        counter.desk().send(QStringLiteral("client_account_data"), object(R"({"clientId": 7, "midName": "клиент"})"));
    } else if (what == QLatin1String("cars")) {
        counter.desk().send(QStringLiteral("cars_list_changed"), object(R"({"cars": []})"));
    } else if (what == QLatin1String("prices")) {
        changePrice(counter);
    } else if (what == QLatin1String("block")) {
        QMetaObject::invokeMethod(counter.desk().tab(), "on_cbPricesNames_activated", Q_ARG(int, 0));
    } else if (what == QLatin1String("window closes")) {
        counter.desk().tab()->close();
    } else {
        qFatal("no such thing happens: %s", qPrintable(what));
    }
    QCoreApplication::processEvents();
}

// Goes through with an edit in the table, as far as the editor is still there.
void finishEditor(Counter &counter, const QString &entry, bool choice)
{
    auto *editor = counter.editor();
    if (!editor)
        return;
    auto *combo = qobject_cast<QComboBox *>(editor);
    if (combo && choice) {
        combo->view()->setCurrentIndex(combo->model()->index(combo->findText(entry), combo->modelColumn()));
        QTest::keyClick(combo->view(), Qt::Key_Return);
    } else {
        if (combo)
            combo->hidePopup();
        auto *line = qobject_cast<QLineEdit *>(editor);
        if (!line)
            line = editor->findChild<QLineEdit *>();
        line->setFocus();
        line->selectAll();
        QTest::keyClicks(line, entry);
        QTest::keyClick(line, Qt::Key_Return);
    }
    QCoreApplication::processEvents();
}

QString operationError(const ModalAnswer &answer)
{
    return answer.answered() ? QString() : answer.error();
}

// Starts one operation on the victim, lets something happen in the middle and goes through with it.
QString operate(Counter &counter, const QString &operation, const std::function<void()> &middle)
{
    const int row = rowOf(counter, Victim);
    QTreeView *tree = counter.tree();
    if (operation == QLatin1String("add") || operation == QLatin1String("edit")) {
        const ModalAnswer form = ModalAnswer::dialog(FormTitle, [&](QDialog *dialog) {
            const QPointer<QDialog> guard(dialog);
            dialog->findChild<QLineEdit *>(QStringLiteral("leFirstName"))->setText(text("Новый"));
            middle();
            if (guard)
                buttons(dialog)->button(QDialogButtonBox::Ok)->click();
        });
        tree->setCurrentIndex(counter.at(row, Counter::Name));
        counter.trigger(operation == QLatin1String("add") ? "actionAddRacer" : "actionEditRacer");
        return operationError(form);
    }
    BoxFacts facts;
    if (operation == QLatin1String("remove") || operation == QLatin1String("remove paid")) {
        const ModalAnswer box = answerBox(&facts, QMessageBox::Yes, middle);
        tree->clearSelection();
        tree->setCurrentIndex(counter.at(row, Counter::Name));
        counter.push(operation == QLatin1String("remove") ? "bRemoveRacerFromList" : "pbRemovePaid");
        return operationError(box);
    }
    if (operation == QLatin1String("refused payment")) {
        const ModalAnswer box = answerBox(&facts, QMessageBox::Ok, middle);
        counter.click(counter.at(row, Counter::PayState));
        return operationError(box);
    }
    if (operation == QLatin1String("refused edit")) {
        const ModalAnswer box = answerBox(&facts, QMessageBox::Ok, middle);
        tree->setCurrentIndex(counter.at(row, Counter::Name));
        counter.trigger("actionEditRacer");
        return operationError(box);
    }
    const QHash<QString, Counter::Column> editors{{QStringLiteral("sale"), Counter::SalesItem},
                                                  {QStringLiteral("discount"), Counter::Discount},
                                                  {QStringLiteral("typed discount"), Counter::Discount},
                                                  {QStringLiteral("method"), Counter::PayMethod},
                                                  {QStringLiteral("runs"), Counter::RunCount},
                                                  {QStringLiteral("comment"), Counter::Comment}};
    const QHash<QString, QString> entries{{QStringLiteral("sale"), text("Детский")},
                                          {QStringLiteral("discount"), QStringLiteral("50")},
                                          {QStringLiteral("typed discount"), QStringLiteral("=200")},
                                          {QStringLiteral("method"), text("Наличные")},
                                          {QStringLiteral("runs"), QStringLiteral("7")},
                                          {QStringLiteral("comment"), QStringLiteral("x")}};
    if (!counter.edit(counter.at(row, editors.value(operation))))
        return QStringLiteral("no editor for ") + operation;
    middle();
    finishEditor(counter, entries.value(operation),
                 operation == QLatin1String("sale") || operation == QLatin1String("discount")
                     || operation == QLatin1String("method"));
    return {};
}

bool isEditor(const QString &operation)
{
    return QStringList{QStringLiteral("sale"),   QStringLiteral("discount"), QStringLiteral("typed discount"),
                       QStringLiteral("method"), QStringLiteral("runs"),     QStringLiteral("comment")}
        .contains(operation);
}

// What a finished operation leaves in the victim's line.
QJsonObject outcome(const QString &operation)
{
    static const QHash<QString, QJsonObject> outcomes{
        {QStringLiteral("edit"), {{QStringLiteral("firstName"), text("Новый")}, {QStringLiteral("regTime"), 0}}},
        {QStringLiteral("sale"), {{QStringLiteral("salesItem"), text("Детский")}}},
        {QStringLiteral("discount"), {{QStringLiteral("discountValue"), QStringLiteral("50")}}},
        {QStringLiteral("typed discount"), {{QStringLiteral("discountValue"), QStringLiteral("=200")}}},
        {QStringLiteral("method"), {{QStringLiteral("payMethod"), text("Наличные")}}},
        {QStringLiteral("runs"), {{QStringLiteral("runCount"), 7}}},
        {QStringLiteral("comment"), {{QStringLiteral("comment"), QStringLiteral("x")}}},
        {QStringLiteral("refused payment"), {{QStringLiteral("payState"), false}, {QStringLiteral("regTime"), 0}}},
        {QStringLiteral("refused edit"), {{QStringLiteral("firstName"), QString()}}},
        {QStringLiteral("add"), {{QStringLiteral("firstName"), QString()}}},
    };
    return outcomes.value(operation);
}

void seedThree(Counter &counter, const QString &operation, const QString &what)
{
    const bool paid = operation == QLatin1String("remove paid") || operation == QLatin1String("refused edit");
    QJsonObject victim{{QStringLiteral("payState"), paid}, {QStringLiteral("clientId"), 7}};
    if (operation == QLatin1String("refused payment"))
        victim.insert(QStringLiteral("payMethod"), QString());
    if (what == QLatin1String("expires"))
        victim.insert(QStringLiteral("regTime"), 1000);
    QJsonObject neighbour;
    if (what == QLatin1String("neighbour expires"))
        neighbour.insert(QStringLiteral("regTime"), 1000);
    counter.stockPrices();
    counter.seed({counter.sold(Neighbour, neighbour), counter.sold(Victim, victim),
                  counter.sold(QStringLiteral("{b}"), object(R"({"firstName": "Б"})"))});
}

void withoutPrices(QJsonObject *line)
{
    line->remove(QStringLiteral("price"));
    line->remove(QStringLiteral("paySum"));
}

} // namespace

void TestCheckInReentrancy::meanwhile_data()
{
    QTest::addColumn<QString>("operation");
    QTest::addColumn<QString>("what");
    const char *const operations[] = {"add",          "edit",   "remove",   "remove paid",    "refused payment",
                                      "refused edit", "sale",   "discount", "typed discount", "method",
                                      "runs",         "comment"};
    const char *const happenings[] = {"expires", "neighbour expires", "seated", "client", "cars", "prices",
                                      "block",   "window closes"};
    for (const char *operation : operations) {
        for (const char *what : happenings)
            QTest::addRow("%s, %s", operation, what) << QString::fromLatin1(operation) << QString::fromLatin1(what);
    }
}

void TestCheckInReentrancy::meanwhile()
{
    QFETCH(QString, operation);
    QFETCH(QString, what);
    Counter counter;
    seedThree(counter, operation, what);
    QVERIFY(counter.open());
    counter.sendCars();
    const QList<QJsonObject> before = counter.lines();
    QCOMPARE(before.size(), 3);

    QCOMPARE(operate(counter, operation, [&] { happen(counter, what); }), QString());

    HostProbe::settle();
    QVERIFY(!counter.editor());
    const QList<QJsonObject> after = counter.lines();
    // An attended line does not expire: a refused payment attends to it before its box opens.
    const bool gone = what == QLatin1String("seated")
                      || (what == QLatin1String("expires") && operation != QLatin1String("refused payment"));
    const bool removed = operation == QLatin1String("remove") || operation == QLatin1String("remove paid");
    const QJsonObject victim = find(after, Victim);
    QCOMPARE(victim.isEmpty(), gone || removed);
    if (!victim.isEmpty() && !(what == QLatin1String("window closes") && isEditor(operation)))
        JSON_CONTAINS(victim, outcome(operation));
    QCOMPARE(find(after, Neighbour).isEmpty(), what == QLatin1String("neighbour expires"));
    for (const QString &uuid : {Neighbour, QStringLiteral("{b}")}) {
        QJsonObject old = find(before, uuid);
        QJsonObject now = find(after, uuid);
        if (now.isEmpty() && uuid == Neighbour)
            continue;
        if (what == QLatin1String("prices")) {
            withoutPrices(&old);
            withoutPrices(&now);
        }
        JSON_COMPARE(now, old);
    }
    const int left = 3 - (victim.isEmpty() ? 1 : 0) - (find(after, Neighbour).isEmpty() ? 1 : 0);
    QCOMPARE(after.size(), left + (operation == QLatin1String("add") ? 1 : 0));
    // A comment is the one edit that goes the way of a payment, and only for the racer who is still there.
    if (!(operation == QLatin1String("comment") && !gone))
        QCOMPARE(counter.paymentCount(), 0);
}

void TestCheckInReentrancy::fromInsideAnEvent_data()
{
    QTest::addColumn<QString>("operation");
    QTest::addColumn<QString>("what");
    const char *const operations[] = {"add",      "edit",           "remove", "remove paid", "refused payment", "sale",
                                      "discount", "typed discount", "method", "runs",        "comment"};
    const char *const answers[] = {"cars", "client", "everybody leaves", "list asked again", "prices"};
    for (const char *operation : operations) {
        for (const char *what : answers)
            QTest::addRow("%s, %s", operation, what) << QString::fromLatin1(operation) << QString::fromLatin1(what);
    }
}

// A host whose answer is there before the desk's event has returned.
void TestCheckInReentrancy::fromInsideAnEvent()
{
    QFETCH(QString, operation);
    QFETCH(QString, what);
    Counter counter;
    seedThree(counter, operation, QString());
    QVERIFY(counter.open());
    counter.sendCars();
    bool inside = false;
    int answered = 0;
    const QMetaObject::Connection link = connect(
        counter.desk().plugin(), &VanePluginInterface::pluginSignal, this,
        [&](const QString &, const QString &event, const QJsonObject &) {
            if (inside || (event != QLatin1String("local_request_answer") && event != QLatin1String("write_sys_log")))
                return;
            inside = true;
            ++answered;
            if (what == QLatin1String("everybody leaves")) {
                QStringList everybody;
                for (int row = 0; row < counter.model()->rowCount(); ++row)
                    everybody.append(counter.shown(row, Counter::Name).section(QLatin1Char(' '), 0, 0));
                seat(counter, everybody);
            } else if (what == QLatin1String("list asked again")) {
                QMetaObject::invokeMethod(counter.desk().tab(), "runQueueChanged", Qt::DirectConnection);
                counter.desk().send(QStringLiteral("load_complete"));
            } else {
                happen(counter, what);
            }
            inside = false;
        },
        Qt::DirectConnection);
    QCOMPARE(operate(counter, operation, [] {}), QString());
    HostProbe::settle();
    disconnect(link);
    QCOMPARE(answered > 0, operation != QLatin1String("comment"));

    const QList<QJsonObject> lines = counter.lines();
    if (what == QLatin1String("everybody leaves") && answered > 0) {
        for (const QString &uuid : {Neighbour, Victim, QStringLiteral("{b}")})
            QVERIFY(find(lines, uuid).isEmpty());
        return;
    }
    const bool removed = operation == QLatin1String("remove") || operation == QLatin1String("remove paid");
    QCOMPARE(find(lines, Victim).isEmpty(), removed);
    if (!removed)
        JSON_CONTAINS(find(lines, Victim), outcome(operation));
    QVERIFY(!find(lines, Neighbour).isEmpty());
    JSON_CONTAINS(find(lines, QStringLiteral("{b}")),
                  object(R"({"firstName": "Б", "salesItem": "Взрослый", "runCount": 2,
        "payState": false, "discountValue": "0", "comment": ""})"));
}

// The form was filled from three minors; one of them leaves the list while it is open.
void TestCheckInReentrancy::editedFamilyLosesAMinor()
{
    Counter counter;
    QJsonObject family = Counter::ticket(Victim);
    family.insert(QStringLiteral("kidsList"),
                  QJsonArray{Counter::ticket(QStringLiteral("{k1}")), Counter::ticket(QStringLiteral("{k2}")),
                             Counter::ticket(QStringLiteral("{k3}"))});
    counter.seed({Counter::ticket(Neighbour), family});
    QVERIFY(counter.open());
    const ModalAnswer form = ModalAnswer::dialog(FormTitle, [&](QDialog *dialog) {
        BoxFacts facts;
        const ModalAnswer question = answerBox(&facts, QMessageBox::Yes);
        counter.tree()->clearSelection();
        counter.tree()->selectionModel()->select(counter.kidAt(1, 1, Counter::Name),
                                                 QItemSelectionModel::Select | QItemSelectionModel::Rows);
        counter.trigger("actionRemoveRacer");
        MODAL_VERIFY(question);
        QCOMPARE(counter.model()->rowCount(counter.model()->index(1, 0)), 2);
        buttons(dialog)->button(QDialogButtonBox::Ok)->click();
    });
    counter.tree()->setCurrentIndex(counter.at(1, Counter::Name));
    counter.trigger("actionEditRacer");
    MODAL_VERIFY(form);
    // The form's three are paired with what is there: the third is entered anew.
    JSON_CONTAINS(counter.line(1), object(R"({"uuid": "{a}", "kidsList": [{"uuid": "{k1}"}, {"uuid": "{k2}"},
        {"lastName": "{k3}"}]})"));
    JSON_CONTAINS(counter.line(0), object(R"({"uuid": "{z}", "kidsList": []})"));
}

void TestCheckInReentrancy::removalOfASelectionThatShrinks()
{
    Counter counter;
    const QJsonObject old{{QStringLiteral("regTime"), 1000}};
    counter.seed({Counter::ticket(QStringLiteral("{1}"), old), Counter::ticket(QStringLiteral("{2}")),
                  Counter::ticket(QStringLiteral("{3}"), old), Counter::ticket(QStringLiteral("{4}")),
                  Counter::ticket(QStringLiteral("{5}"))});
    QVERIFY(counter.open());
    counter.tree()->clearSelection();
    for (const int row : {1, 2, 3})
        counter.tree()->selectionModel()->select(counter.at(row, Counter::Name),
                                                 QItemSelectionModel::Select | QItemSelectionModel::Rows);
    BoxFacts facts;
    const ModalAnswer question = answerBox(&facts, QMessageBox::Yes, [&] { counter.validate(); });
    counter.push("bRemoveRacerFromList");
    MODAL_VERIFY(question);
    const QList<QJsonObject> lines = counter.lines();
    QCOMPARE(lines.size(), 1);
    QCOMPARE(lines.first().value(QLatin1String("uuid")).toString(), QStringLiteral("{5}"));
}

// The last code of all is drawn for a racer whom the host removes before it has heard the end of him; the next code then
// has to come out of those that nobody holds.
void TestCheckInReentrancy::hostTakesTheNewcomerOfTheLastCode()
{
    Counter counter;
    QJsonArray pins;
    for (int code = 0; code < 9999; ++code)
        pins.append(QStringLiteral("%1").arg(code, 4, 10, QLatin1Char('0')));
    counter.stockPrices();
    counter.seed(
        {Counter::ticket(Victim, {{QStringLiteral("runCount"), pins.size()}, {QStringLiteral("pinCodes"), pins}}),
         counter.sold(Neighbour, {{QStringLiteral("pinCodes"), QJsonArray()}})});
    QVERIFY(counter.open());
    const auto answered = std::make_shared<bool>(false);
    QObject host;
    connect(counter.desk().plugin(), &VanePluginInterface::pluginSignal, &host,
            [&counter, answered](const QString &, const QString &event, const QJsonObject &json) {
                if (*answered || event != QLatin1String("local_request_answer")
                    || !json.contains(QLatin1String("checkInList")))
                    return;
                *answered = true;
                counter.desk().send(
                    QStringLiteral("local_request"),
                    object(R"({"request": "remove_checkin_items", "requestData": {"removeList": ["{n}"]}})"));
                counter.desk().send(
                    QStringLiteral("local_request"),
                    object(R"({"request": "set_new_run_count", "requestData": {"uuid": "{z}", "newRunCount": 3}})"));
            });
    counter.desk().send(QStringLiteral("local_request"),
                        object(R"({"request": "add_new_checkin", "requestData": {"uuid": "{n}", "lastName": "n"}})"));
    QVERIFY(*answered);
    QCOMPARE(counter.model()->rowCount(), 2);
    // Nobody but the first line holds a code now, and one code is left.
    const QJsonArray codes = find(counter.lines(), Neighbour).value(QLatin1String("pinCodes")).toArray();
    QCOMPARE(codes, (QJsonArray{QStringLiteral("9999"), QStringLiteral("9999"), QStringLiteral("9999")}));
}

// The form is open twice, on the same family: both are written, the inner one first.
void TestCheckInReentrancy::nestedForms()
{
    Counter counter;
    counter.seed({Counter::ticket(Neighbour), Counter::ticket(Victim)});
    QVERIFY(counter.open());
    const ModalAnswer outer = ModalAnswer::dialog(FormTitle, [&](QDialog *dialog) {
        const ModalAnswer inner = ModalAnswer::dialog(FormTitle, [&](QDialog *second) {
            second->findChild<QLineEdit *>(QStringLiteral("leFirstName"))->setText(text("Второй"));
            buttons(second)->button(QDialogButtonBox::Ok)->click();
        });
        counter.trigger("actionEditRacer");
        MODAL_VERIFY(inner);
        QCOMPARE(counter.shown(1, Counter::Name), text("{a} Второй "));
        dialog->findChild<QLineEdit *>(QStringLiteral("leFirstName"))->setText(text("Первый"));
        buttons(dialog)->button(QDialogButtonBox::Ok)->click();
    });
    counter.tree()->setCurrentIndex(counter.at(1, Counter::Name));
    counter.trigger("actionEditRacer");
    MODAL_VERIFY(outer);
    QCOMPARE(counter.shown(1, Counter::Name), text("{a} Первый "));
    QCOMPARE(counter.shown(0, Counter::Name), text("{z}  "));
}

void TestCheckInReentrancy::hostQuits_data()
{
    QTest::addColumn<QString>("operation");
    for (const char *operation :
         {"add", "edit", "remove", "remove paid", "refused payment", "refused edit", "sale", "discount", "comment"})
        QTest::newRow(operation) << QString::fromLatin1(operation);
}

void TestCheckInReentrancy::hostQuits()
{
    QFETCH(QString, operation);
    ChildDesk host(QStringLiteral("quit"), {operation});
    QVERIFY(host.start());
    const bool ended = host.finish(30000);
    QVERIFY2(ended, host.output().constData());
    QVERIFY2(host.output().contains("closed in good order"), host.output().constData());
}

namespace {

// A host that is told to quit while something is open at the counter.
int quitInTheMiddle(const QString &operation)
{
    QList<QJsonObject> left;
    QList<QJsonObject> before;
    {
        Counter counter;
        seedThree(counter, operation, QString());
        if (!counter.open())
            return 3;
        counter.sendCars();
        before = counter.lines();
        QTimer::singleShot(0, counter.desk().tab(), [&] {
            const int row = rowOf(counter, Victim);
            QTimer::singleShot(300, qApp, &QCoreApplication::quit);
            counter.tree()->setCurrentIndex(counter.at(row, Counter::Name));
            if (operation == QLatin1String("add"))
                counter.push("bAddRacer");
            else if (operation == QLatin1String("edit") || operation == QLatin1String("refused edit"))
                counter.trigger("actionEditRacer");
            else if (operation == QLatin1String("remove"))
                counter.push("bRemoveRacerFromList");
            else if (operation == QLatin1String("remove paid"))
                counter.push("pbRemovePaid");
            else if (operation == QLatin1String("refused payment"))
                counter.click(counter.at(row, Counter::PayState));
            else if (operation == QLatin1String("sale"))
                counter.edit(counter.at(row, Counter::SalesItem));
            else if (operation == QLatin1String("discount"))
                counter.edit(counter.at(row, Counter::Discount));
            else
                counter.edit(counter.at(row, Counter::Comment));
        });
        QApplication::exec();
        if (!counter.desk().unload())
            return 4;
        left = counter.stored();
    }
    QStringList wrong;
    if (left.size() != before.size())
        wrong.append(QStringLiteral("%1 lines instead of %2").arg(left.size()).arg(before.size()));
    for (const QJsonObject &line : qAsConst(before)) {
        const QString differences =
            JsonMatch::differences(find(left, line.value(QLatin1String("uuid")).toString()), line);
        if (!differences.isEmpty())
            wrong.append(differences);
    }
    ChildDesk::say(wrong.isEmpty() ? "closed in good order" : wrong.join(QLatin1Char('\n')).toUtf8());
    return wrong.isEmpty() ? 0 : 1;
}

} // namespace

DESK_TEST_MAIN_WITH_CHILD(TestCheckInReentrancy, [](const QString &, const QStringList &arguments) {
    return quitInTheMiddle(arguments.value(0));
})
#include "tst_checkin_reentrancy.moc"
