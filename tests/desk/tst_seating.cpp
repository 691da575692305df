#include "checkincounter.h"
#include "desktest.h"
#include "jsonmatch.h"
#include "trackoffice.h"

#include <QAction>
#include <QApplication>
#include <QDateTime>
#include <QDialog>
#include <QDialogButtonBox>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QGroupBox>
#include <QItemSelectionModel>
#include <QJsonDocument>
#include <QListWidget>
#include <QMimeData>
#include <QPointer>
#include <QPushButton>
#include <QRadioButton>

/// Paid racers on their way into the runs, by the action, by a click on the line and by a drop: who gets which seat, what
/// the host hears of it, and how a seat is given up again. A new desk for each test.
class TestSeating : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void oneRun_data();
    void oneRun();
    void seatedEntry();
    void threeRunsInAQueueOfTwo();
    void journalPerSeat();
    void raceMode();

    void variantDialog();
    void variants_data();
    void variants();
    void everyOtherRunGrowsTheQueue();
    void singleRunsNeedNoDialog();
    void dialogForAnUnpaidLine();

    void whoIsLeftOut_data();
    void whoIsLeftOut();
    void nobodySelected();
    void lineWithoutRuns();
    void minorsOfAPaidFamily();
    void enqueuedLineIsPassedOver();

    void seatLimit();
    void lockedRun();
    void carsOfAModel();
    void sameClient();
    void severalRacers();
    void runsWithoutSeats();

    void dropOnARun();
    void dropOfOneRun();
    void dropOnSomethingElse();
    void undropped();

    void giveUpASeat();
    void giveUpDeclined();
    void giveUpNothing();
    void closedWhileAsked_data();
    void closedWhileAsked();
    void goneWhileAsked();

private:
    std::unique_ptr<Counter> m_counter;

    HostProbe &desk() { return m_counter->desk(); }
    QListWidget *queue() { return desk().find<QListWidget *>(QStringLiteral("lwRunsList")); }
    QWidget *run(int row) { return queue()->itemWidget(queue()->item(row)); }
    QJsonObject paid(const char *uuid, int runs, const QJsonObject &more = {}) const;
    bool open(const QList<QJsonObject> &lines, const char *runs);
    void select(int first, int last);
    void toRuns() { m_counter->trigger("actionMoveToRuns"); }
    bool drop(const QJsonArray &racers, const QObject *target)
    {
        return QMetaObject::invokeMethod(desk().tab(), "itemsDroppedToRun", Q_ARG(QJsonArray, racers),
                                         QArgument<const QObject *>("const QObject*", target));
    }
    QVector<QJsonObject> runs();
    QString seats();
    QStringList waiting();
    QStringList answerVariant(const std::function<void(QDialog *)> &work);
};

namespace {

using JsonMatch::array;
using JsonMatch::object;

const QString VariantTitle = text("Размещение в заездах");
const QString Answer = QStringLiteral("local_request_answer");
const QString Preset = QStringLiteral("replace_run_preset");
const QString Runs = QStringLiteral("runslist.state");

/// The list of racers is told.
QStringList listed()
{
    return {Answer};
}

/// A seat is told: first the run's preparation, then the queue.
QStringList seated()
{
    return {Preset, QStringLiteral("remote_control_answer"), Answer};
}

void click(QDialog *dialog, const char *radio)
{
    dialog->findChild<QRadioButton *>(QString::fromLatin1(radio))->click();
}

QMimeData *dropped(const QJsonObject &entry)
{
    auto *mime = new QMimeData;
    mime->setData(
        QStringLiteral("application/json"),
        QJsonDocument(QJsonObject{{QStringLiteral("srcList"), QJsonArray{entry}}}).toJson(QJsonDocument::Compact));
    return mime;
}

} // namespace

void TestSeating::init()
{
    m_counter = std::make_unique<Counter>();
    m_counter->stockPrices();
}

void TestSeating::cleanup()
{
    m_counter.reset();
}

QJsonObject TestSeating::paid(const char *uuid, int runs, const QJsonObject &more) const
{
    QJsonArray pins;
    for (int i = 0; i < runs; ++i)
        pins.append(QStringLiteral("0101"));
    QJsonObject all{{QStringLiteral("payState"), true},
                    {QStringLiteral("runCount"), runs},
                    {QStringLiteral("pinCodes"), pins}};
    for (auto it = more.begin(); it != more.end(); ++it)
        all.insert(it.key(), it.value());
    return m_counter->sold(QString::fromLatin1(uuid), all);
}

/// Opens a desk with these lines and this queue: a letter for each run, "l" for a locked one.
bool TestSeating::open(const QList<QJsonObject> &lines, const char *runs)
{
    QByteArray journal;
    for (const char *one = runs; *one; ++one) {
        const QByteArray number = QByteArray::number(int(one - runs));
        journal += "RUNITEM:{\"uuid\":\"{run" + number + "}\",\"maxRacersInRun\":"
                   + QByteArray::number(m_counter->track().setting(QStringLiteral("maxInRunCount")).isValid()
                                            ? m_counter->track().setting(QStringLiteral("maxInRunCount")).toInt()
                                            : 10)
                   + (*one == 'l' ? ",\"runLocked\":true}\n" : "}\n");
    }
    m_counter->track().writeJournal(Runs, journal);
    m_counter->seed(lines);
    return m_counter->open();
}

void TestSeating::select(int first, int last)
{
    QTreeView *tree = m_counter->tree();
    tree->selectionModel()->select(QItemSelection(m_counter->at(first, Counter::Pos),
                                                  m_counter->at(last, Counter::Comment)),
                                   QItemSelectionModel::ClearAndSelect);
}

QVector<QJsonObject> TestSeating::runs()
{
    if (!QMetaObject::invokeMethod(desk().tab(), "runQueueChanged"))
        qFatal("the form has no slot runQueueChanged");
    const QJsonObject told = desk().last(Answer).value(QLatin1String("runQueue")).toObject();
    desk().clear();
    QVector<QJsonObject> all;
    if (told.contains(QStringLiteral("currentRun")))
        all.append(told.value(QLatin1String("currentRun")).toObject());
    const QJsonArray pending = told.value(QLatin1String("pendingRuns")).toArray();
    for (const QJsonValue &one : pending)
        all.append(one.toObject());
    return all;
}

/// The queue's racers as the journal has them: rows parted by a stroke, racers by a blank.
QString TestSeating::seats()
{
    desk().clear();
    runs();
    QString all;
    const QList<QByteArray> lines = m_counter->track().readJournal(Runs).split('\n');
    int rows = 0;
    for (const QByteArray &line : lines) {
        if (line.startsWith("RUNITEM:"))
            all += rows++ ? QStringLiteral("|") : QString();
        else if (line.startsWith("COMPETITOR:"))
            all += (all.isEmpty() || all.endsWith(QLatin1Char('|')) ? QString() : QStringLiteral(" "))
                   + object(line.mid(11).constData()).value(QLatin1String("uuid")).toString();
    }
    return all;
}

/// Who still stands in the check-in list, from the top.
QStringList TestSeating::waiting()
{
    QStringList all;
    for (int row = 0; row < m_counter->model()->rowCount(); ++row)
        all.append(m_counter->shown(row, Counter::Name).trimmed());
    return all;
}

/// Seats whoever is selected, answers the dialog and returns the events of it all.
QStringList TestSeating::answerVariant(const std::function<void(QDialog *)> &work)
{
    const ModalAnswer dialog = ModalAnswer::dialog(VariantTitle, work);
    toRuns();
    return dialog.answered() ? desk().names() : QStringList{dialog.error()};
}

void TestSeating::oneRun_data()
{
    QTest::addColumn<QString>("way");
    for (const char *way : {"action", "cell", "slot"})
        QTest::newRow(way) << QString::fromLatin1(way);
}

void TestSeating::oneRun()
{
    QFETCH(QString, way);
    QVERIFY(open({paid("{a}", 1), paid("{b}", 1)}, "r"));
    if (way == QLatin1String("cell")) {
        m_counter->click(m_counter->at(0, Counter::Enqueue));
        QTRY_COMPARE(m_counter->model()->rowCount(), 1);
    } else {
        select(0, 0);
        if (way == QLatin1String("action"))
            toRuns();
        else
            QVERIFY(QMetaObject::invokeMethod(desk().tab(), "toRunsClicked", Q_ARG(QJsonObject, QJsonObject())));
    }
    // The seat, then the list without him.
    QCOMPARE(desk().names(), seated() + listed());
    JSON_COMPARE(desk().last(Preset), object(R"({"runQueueGuid": "{run0}", "preset": [
        {"name": "{a} ", "carId": -1, "clientId": -1, "competitorId": -1001}]})"));
    JSON_CONTAINS(desk().events().at(2).data, object(R"({"request": "runQueueUpdate", "runQueue": {"currentRun": {
        "runCompetitors": {"-1001": {"uuid": "{a}"}}}, "pendingRuns": []}})"));
    JSON_CONTAINS(desk().events().at(3).data, object(R"({"checkInList": [{"uuid": "{b}"}]})"));
    QCOMPARE(waiting(), QStringList{QStringLiteral("{b}")});
    QCOMPARE(seats(), QStringLiteral("{a}"));
}

// A seat holds the line's record as it was, and a number of its own.
void TestSeating::seatedEntry()
{
    QVERIFY(open({paid("{a}", 1,
                       {{QStringLiteral("clientId"), 17},
                        {QStringLiteral("nfcUid"), QStringLiteral("N1")},
                        {QStringLiteral("comment"), text("у борта")},
                        {QStringLiteral("carId"), 3},
                        {QStringLiteral("carNum"), QStringLiteral("7")}})},
                 "r"));
    QJsonObject expected = m_counter->line(0);
    expected.remove(QStringLiteral("kidsList"));
    expected.insert(QStringLiteral("competitorId"), -1001);
    select(0, 0);
    toRuns();
    JSON_COMPARE(runs().at(0).value(QLatin1String("runCompetitors")),
                 (QJsonObject{{QStringLiteral("-1001"), expected}}));
}

void TestSeating::threeRunsInAQueueOfTwo()
{
    QVERIFY(open({paid("{a}", 3)}, "rr"));
    select(0, 0);
    QCOMPARE(answerVariant([](QDialog *dialog) { click(dialog, "rbMultiStep1"); }),
             seated() + seated() + ::publication() + seated() + listed());
    const QVector<QJsonObject> presets = desk().payloads(Preset);
    QCOMPARE(seats(), QStringLiteral("{a}|{a}|{a}"));
    const QVector<QJsonObject> all = runs();
    for (int row = 0; row < 3; ++row) {
        QJsonObject expected = object(R"({"preset": [{"name": "{a} ", "carId": -1, "clientId": -1,
            "competitorId": -1001}]})");
        expected.insert(QStringLiteral("runQueueGuid"), all.at(row).value(QLatin1String("runQueueGuid")));
        JSON_COMPARE(presets.at(row), expected);
    }
    QCOMPARE(waiting(), QStringList());
}

// Each seat is on the disk before the next one is told, and no earlier than it is told itself.
void TestSeating::journalPerSeat()
{
    QVERIFY(open({paid("{a}", 3)}, "rr"));
    select(0, 0);
    const auto onDisk = std::make_shared<QVector<int>>();
    auto watch = std::make_unique<QObject>();
    connect(desk().plugin(), &VanePluginInterface::pluginSignal, watch.get(),
            [this, onDisk](const QString &, const QString &event, const QJsonObject &) {
                if (event == Preset || event == Answer)
                    onDisk->append(m_counter->track().readJournal(Runs).count("COMPETITOR:"));
            });
    m_counter->track().removeJournal(Runs);
    answerVariant([](QDialog *dialog) { click(dialog, "rbMultiStep1"); });
    watch.reset();
    QCOMPARE(*onDisk, (QVector<int>{0, 0, 1, 1, 2, 2, 2, 3}));
    QCOMPARE(m_counter->track().readJournal(Runs).count("COMPETITOR:"), 3);
}

void TestSeating::raceMode()
{
    QVERIFY(open({paid("{a}", 1)}, "r"));
    desk().send(QStringLiteral("race_mode"), object(R"({"isRaceMode": true})"));
    desk().clear();
    select(0, 0);
    toRuns();
    QCOMPARE(desk().names(), (QStringList{Preset, Answer, Answer}));
}

void TestSeating::variantDialog()
{
    QVERIFY(open({paid("{a}", 2)}, "rr"));
    select(0, 0);
    QStringList facts;
    QVector<bool> checked;
    bool helpButton = true;
    QDialogButtonBox::StandardButtons buttons;
    QCOMPARE(answerVariant([&](QDialog *dialog) {
                 const auto *first = dialog->findChild<QRadioButton *>(QStringLiteral("rbMultiStep1"));
                 const auto *second = dialog->findChild<QRadioButton *>(QStringLiteral("rbMultiStep2"));
                 facts << dialog->findChild<QGroupBox *>(QStringLiteral("groupBox"))->title() << first->text()
                       << second->text();
                 checked = {first->isChecked(), second->isChecked()};
                 helpButton = dialog->windowFlags() & Qt::WindowContextHelpButtonHint;
                 buttons = dialog->findChild<QDialogButtonBox *>()->standardButtons();
                 dialog->reject();
             }),
             QStringList());
    QCOMPARE(facts, (QStringList{VariantTitle, text("В заезды подряд"), text("В заезды через один")}));
    QCOMPARE(checked, (QVector<bool>{false, false}));
    QCOMPARE(helpButton, false);
    QCOMPARE(buttons, QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
}

void TestSeating::variants_data()
{
    QTest::addColumn<QString>("choice");
    QTest::addColumn<QString>("expected");
    QTest::newRow("consecutive") << QStringLiteral("rbMultiStep1") << QStringLiteral("{a}|{a}|{a}||");
    QTest::newRow("every other") << QStringLiteral("rbMultiStep2") << QStringLiteral("{a}||{a}||{a}");
    QTest::newRow("OK without a choice") << QStringLiteral("ok") << QStringLiteral("||||");
    QTest::newRow("Cancel") << QStringLiteral("cancel") << QStringLiteral("||||");
}

void TestSeating::variants()
{
    QFETCH(QString, choice);
    QFETCH(QString, expected);
    QVERIFY(open({paid("{a}", 3)}, "rrrrr"));
    select(0, 0);
    bool stillOpen = true;
    const QStringList events = answerVariant([&](QDialog *dialog) {
        const QPointer<QDialog> guard(dialog);
        const auto *box = dialog->findChild<QDialogButtonBox *>();
        if (choice == QLatin1String("ok"))
            box->button(QDialogButtonBox::Ok)->click();
        else if (choice == QLatin1String("cancel"))
            box->button(QDialogButtonBox::Cancel)->click();
        else
            dialog->findChild<QRadioButton *>(choice)->click();
        stillOpen = guard && guard->isVisible();
    });
    // The choice alone is the answer.
    QVERIFY(!stillOpen);
    const bool anybody = expected.contains(QLatin1String("{a}"));
    QCOMPARE(events, anybody ? seated() + seated() + seated() + listed() : QStringList());
    QCOMPARE(seats(), expected);
    QCOMPARE(waiting(), anybody ? QStringList() : QStringList{QStringLiteral("{a}")});
}

void TestSeating::everyOtherRunGrowsTheQueue()
{
    QVERIFY(open({paid("{a}", 3)}, ""));
    select(0, 0);
    const QStringList add = ::publication();
    QCOMPARE(answerVariant([](QDialog *dialog) { click(dialog, "rbMultiStep2"); }),
             add + seated() + add + add + seated() + add + add + seated() + listed());
    QCOMPARE(seats(), QStringLiteral("{a}||{a}||{a}"));
}

void TestSeating::singleRunsNeedNoDialog()
{
    QVERIFY(open({paid("{a}", 1), paid("{b}", 1), paid("{c}", 1)}, "r"));
    select(0, 2);
    toRuns();
    QCOMPARE(seats(), QStringLiteral("{a} {b} {c}"));
    QCOMPARE(waiting(), QStringList());
}

// A line with several runs asks even if it is unpaid and will not be seated.
void TestSeating::dialogForAnUnpaidLine()
{
    QVERIFY(open({paid("{a}", 1), m_counter->sold(QStringLiteral("{b}"))}, "r"));
    select(0, 1);
    QCOMPARE(answerVariant([](QDialog *dialog) { dialog->reject(); }), QStringList());
    QCOMPARE(waiting(), (QStringList{QStringLiteral("{a}"), QStringLiteral("{b}")}));
    QCOMPARE(answerVariant([](QDialog *dialog) { click(dialog, "rbMultiStep1"); }), seated() + listed());
    QCOMPARE(seats(), QStringLiteral("{a}"));
    QCOMPARE(waiting(), QStringList{QStringLiteral("{b}")});
}

void TestSeating::whoIsLeftOut_data()
{
    QTest::addColumn<QJsonObject>("more");
    QTest::newRow("unpaid") << object(R"({"payState": false})");
    QTest::newRow("without a sale") << object(R"({"salesItem": "", "salesId": -1})");
}

void TestSeating::whoIsLeftOut()
{
    QFETCH(QJsonObject, more);
    QVERIFY(open({paid("{a}", 1, more), paid("{b}", 1)}, "r"));
    select(0, 1);
    toRuns();
    QCOMPARE(desk().names(), seated() + listed());
    QCOMPARE(seats(), QStringLiteral("{b}"));
    QCOMPARE(waiting(), QStringList{QStringLiteral("{a}")});
    select(0, 0);
    desk().clear();
    toRuns();
    QCOMPARE(desk().count(Preset), 0);
    QCOMPARE(seats(), QStringLiteral("{b}"));
}

void TestSeating::nobodySelected()
{
    QVERIFY(open({paid("{a}", 3)}, "r"));
    m_counter->tree()->clearSelection();
    toRuns();
    QCOMPARE(desk().names(), QStringList());
    QCOMPARE(waiting(), QStringList{QStringLiteral("{a}")});
}

// Nothing to seat, and yet it leaves the list.
void TestSeating::lineWithoutRuns()
{
    QVERIFY(open({paid("{a}", 0)}, "r"));
    select(0, 0);
    toRuns();
    QCOMPARE(desk().names(), listed());
    QCOMPARE(seats(), QString());
    QCOMPARE(waiting(), QStringList());
}

void TestSeating::minorsOfAPaidFamily()
{
    const QJsonObject kid = m_counter->sold(QStringLiteral("{k}"), object(R"({"payState": false, "runCount": 1,
        "pinCodes": ["0202"]})"));
    QVERIFY(open({paid("{a}", 1, {{QStringLiteral("kidsList"), QJsonArray{kid}}})}, "r"));
    const QModelIndex minor = m_counter->kidAt(0, 0, Counter::Name);
    m_counter->tree()->selectionModel()->select(minor, QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    toRuns();
    QCOMPARE(desk().names(), seated() + listed());
    QCOMPARE(seats(), QStringLiteral("{k}"));
    // The family leaves together.
    QCOMPARE(waiting(), QStringList{QStringLiteral("{a}")});
    select(0, 0);
    toRuns();
    QCOMPARE(seats(), QStringLiteral("{k} {a}"));
    QCOMPARE(waiting(), QStringList());
    JSON_CONTAINS(runs().at(0), object(R"({"runCompetitors": {"-1001": {"uuid": "{k}", "parentUuid": "{a}",
        "pinCodes": ["0202"]}}})"));
}

void TestSeating::enqueuedLineIsPassedOver()
{
    const QJsonObject kid = m_counter->sold(QStringLiteral("{k}"), {{QStringLiteral("runCount"), 1}});
    QVERIFY(open({paid("{a}", 1, {{QStringLiteral("kidsList"), QJsonArray{kid}}})}, "rr"));
    select(0, 0);
    toRuns();
    QCOMPARE(seats(), QStringLiteral("{a}|"));
    QCOMPARE(waiting(), QStringList{QStringLiteral("{a}")});
    select(0, 0);
    toRuns();
    QCOMPARE(desk().count(Preset), 0);
    QCOMPARE(seats(), QStringLiteral("{a}|"));
}

void TestSeating::seatLimit()
{
    m_counter->track().setSetting(QStringLiteral("maxInRunCount"), 2);
    QVERIFY(open({paid("{a}", 1), paid("{b}", 1), paid("{c}", 1)}, "rr"));
    select(0, 2);
    toRuns();
    QCOMPARE(seats(), QStringLiteral("{a} {b}|{c}"));
}

void TestSeating::lockedRun()
{
    QVERIFY(open({paid("{a}", 1), paid("{b}", 1)}, "rr"));
    TrackOffice::lockButton(run(0))->click();
    select(0, 0);
    toRuns();
    QCOMPARE(seats(), QStringLiteral("|{a}"));
    TrackOffice::lockButton(run(0))->click();
    select(0, 0);
    toRuns();
    QCOMPARE(seats(), QStringLiteral("{b}|{a}"));
}

// The third racer of a model with two cars goes to the next run; the host's news of a third car opens the first one.
void TestSeating::carsOfAModel()
{
    QVERIFY(open({paid("{a}", 1), paid("{b}", 1), paid("{c}", 1), paid("{d}", 1)}, "rr"));
    const auto sendCars = [&](int available) {
        QJsonArray cars;
        for (int id = 1; id <= 3; ++id)
            cars.append(TrackOffice::car(id, QStringLiteral("Sodi"), QString::number(id), id <= available));
        desk().send(QStringLiteral("cars_list_changed"), {{QStringLiteral("cars"), cars}});
        desk().clear();
    };
    sendCars(2);
    select(0, 2);
    toRuns();
    QCOMPARE(seats(), QStringLiteral("{a} {b}|{c}"));
    sendCars(3);
    select(0, 0);
    toRuns();
    QCOMPARE(seats(), QStringLiteral("{a} {b} {d}|{c}"));
}

void TestSeating::sameClient()
{
    const QJsonObject client{{QStringLiteral("clientId"), 7}};
    QVERIFY(open({paid("{a}", 1, client), paid("{b}", 1, client), paid("{c}", 1), paid("{d}", 1)}, "rr"));
    select(0, 3);
    toRuns();
    QCOMPARE(seats(), QStringLiteral("{a} {c} {d}|{b}"));
}

void TestSeating::severalRacers()
{
    m_counter->track().setSetting(QStringLiteral("maxInRunCount"), 1);
    QVERIFY(open({paid("{a}", 2), paid("{b}", 2)}, "r"));
    select(0, 1);
    const QStringList add = ::publication();
    QCOMPARE(answerVariant([](QDialog *dialog) { click(dialog, "rbMultiStep1"); }),
             seated() + add + seated() + add + seated() + add + seated() + listed() + listed());
    QCOMPARE(seats(), QStringLiteral("{a}|{a}|{b}|{b}"));
}

// A run that takes nobody must not make the queue grow without end.
void TestSeating::runsWithoutSeats()
{
    m_counter->track().setSetting(QStringLiteral("maxInRunCount"), 0);
    QVERIFY(open({paid("{a}", 2)}, "r"));
    select(0, 0);
    answerVariant([](QDialog *dialog) { click(dialog, "rbMultiStep1"); });
    QVERIFY2(queue()->count() <= 5, qPrintable(QString::number(queue()->count())));
}

void TestSeating::dropOnARun()
{
    QVERIFY(open({paid("{a}", 3)}, "rrrrr"));
    QJsonObject entry = m_counter->line(0);
    entry.remove(QStringLiteral("kidsList"));
    const std::unique_ptr<QMimeData> mime(dropped(entry));
    QDragEnterEvent enter(QPoint(150, 20), Qt::MoveAction, mime.get(), Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(run(1), &enter);
    QVERIFY(enter.isAccepted());
    QDropEvent dropEvent(QPointF(150, 20), Qt::MoveAction, mime.get(), Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(run(1), &dropEvent);
    QVERIFY(dropEvent.isAccepted());
    QCOMPARE(desk().names(), seated());
    QCOMPARE(seats(), QStringLiteral("|{a}|||"));
    // No question how to spread them.
    QVERIFY(drop(QJsonArray{entry}, run(1)));
    QCOMPARE(desk().names(), seated() + seated() + listed() + ::publication());
    QCOMPARE(seats(), QStringLiteral("|{a}|{a}|{a}|"));
    QCOMPARE(waiting(), QStringList());
}

void TestSeating::dropOfOneRun()
{
    QVERIFY(open({paid("{a}", 1)}, "rrr"));
    QVERIFY(drop(QJsonArray{m_counter->line(0)}, run(1)));
    QCOMPARE(desk().names(), listed() + ::publication());
    QCOMPARE(seats(), QStringLiteral("||"));
    QCOMPARE(waiting(), QStringList());
}

void TestSeating::dropOnSomethingElse()
{
    QVERIFY(open({paid("{a}", 2)}, "rr"));
    const QJsonArray list{m_counter->line(0)};
    const QVector<const QObject *> targets{queue(), queue()->viewport(), nullptr};
    for (const QObject *target : targets) {
        QVERIFY(drop(list, target));
        QCOMPARE(desk().names(), QStringList());
        QCOMPARE(waiting(), QStringList{QStringLiteral("{a}")});
    }
    QCOMPARE(seats(), QStringLiteral("|"));
}

void TestSeating::undropped()
{
    const QJsonObject kid = m_counter->sold(QStringLiteral("{k}"), {{QStringLiteral("runCount"), 1}});
    QVERIFY(open({paid("{a}", 1, {{QStringLiteral("kidsList"), QJsonArray{kid}}})}, "rr"));
    select(0, 0);
    toRuns();
    QCOMPARE(seats(), QStringLiteral("{a}|"));
    QVERIFY(QMetaObject::invokeMethod(desk().tab(), "itemsUndroppedFromRun",
                                      Q_ARG(QJsonArray, array(R"([{"uuid": "{a}"}])"))));
    // The line may be seated once more.
    select(0, 0);
    toRuns();
    QCOMPARE(seats(), QStringLiteral("{a}|{a}"));
}

void TestSeating::giveUpASeat()
{
    QVERIFY(open({paid("{a}", 1), paid("{b}", 1)}, "r"));
    select(0, 1);
    toRuns();
    queue()->setCurrentRow(0);
    TrackOffice::clickCell(run(0), 0);
    desk().clear();
    BoxFacts facts;
    const ModalAnswer box = answerBox(&facts, QMessageBox::Yes);
    m_counter->track().removeJournal(Runs);
    m_counter->trigger("actionRemoveFromRun");
    MODAL_VERIFY(box);
    QCOMPARE(facts.title, text("Подтверждение"));
    QCOMPARE(facts.text, text("Точно удалить?"));
    QCOMPARE(facts.buttons, QMessageBox::Yes | QMessageBox::No);
    // The host's preparation is not touched, and nobody comes back to the list.
    QCOMPARE(desk().names(), ::publication());
    QVERIFY(m_counter->track().hasJournal(Runs));
    QCOMPARE(seats(), QStringLiteral("{b}"));
    QCOMPARE(waiting(), QStringList());
}

void TestSeating::giveUpDeclined()
{
    QVERIFY(open({paid("{a}", 1)}, "r"));
    select(0, 0);
    toRuns();
    queue()->setCurrentRow(0);
    TrackOffice::clickCell(run(0), 0);
    desk().clear();
    BoxFacts facts;
    const ModalAnswer box = answerBox(&facts, QMessageBox::No);
    m_counter->trigger("actionRemoveFromRun");
    MODAL_VERIFY(box);
    QCOMPARE(desk().names(), QStringList());
    QCOMPARE(seats(), QStringLiteral("{a}"));
}

void TestSeating::giveUpNothing()
{
    QVERIFY(open({paid("{a}", 1)}, "r"));
    select(0, 0);
    toRuns();
    queue()->setCurrentRow(0);
    desk().clear();
    m_counter->trigger("actionRemoveFromRun");
    QCOMPARE(desk().names(), QStringList());
    queue()->setCurrentRow(-1);
    m_counter->trigger("actionRemoveFromRun");
    QCOMPARE(desk().names(), QStringList());
    QCOMPARE(seats(), QStringLiteral("{a}"));
}

void TestSeating::closedWhileAsked_data()
{
    QTest::addColumn<QString>("what");
    QTest::addColumn<QString>("left");
    QTest::newRow("the run closes") << QStringLiteral("close") << QStringLiteral("{b}");
    QTest::newRow("another racer is highlighted") << QStringLiteral("highlight") << QStringLiteral("{b}|{b}");
}

// The question is about one racer in one run, whatever happens meanwhile.
void TestSeating::closedWhileAsked()
{
    QFETCH(QString, what);
    QFETCH(QString, left);
    QVERIFY(open({paid("{a}", 1), paid("{b}", 2)}, "rr"));
    select(0, 1);
    answerVariant([](QDialog *dialog) { click(dialog, "rbMultiStep1"); });
    QCOMPARE(seats(), QStringLiteral("{a} {b}|{b}"));
    queue()->setCurrentRow(0);
    TrackOffice::clickCell(run(0), 0);
    BoxFacts facts;
    const ModalAnswer box = answerBox(&facts, QMessageBox::Yes, [&] {
        if (what == QLatin1String("close")) {
            desk().send(QStringLiteral("run_closed"), object(R"({"runQueueGuid": "{run0}"})"));
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        } else {
            TrackOffice::clickCell(run(0), 1);
        }
    });
    m_counter->trigger("actionRemoveFromRun");
    QCOMPARE(facts.text, text("Точно удалить?"));
    QCOMPARE(seats(), left);
}

// A line goes while the variant is chosen: its neighbour, who was not meant, is not seated instead.
void TestSeating::goneWhileAsked()
{
    const qint64 now = QDateTime::currentSecsSinceEpoch();
    QVERIFY(open({paid("{a}", 2, {{QStringLiteral("regTime"), now - 3000}}), paid("{b}", 2)}, "rr"));
    QCOMPARE(waiting(), (QStringList{QStringLiteral("{a}"), QStringLiteral("{b}")}));
    select(0, 0);
    answerVariant([&](QDialog *dialog) {
        const QPointer<QDialog> guard(dialog);
        m_counter->validate();
        if (guard)
            click(dialog, "rbMultiStep1");
    });
    QVERIFY(!seats().contains(QLatin1String("{b}")));
    QCOMPARE(waiting(), QStringList{QStringLiteral("{b}")});
}

DESK_TEST_MAIN(TestSeating)

#include "tst_seating.moc"
