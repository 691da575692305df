#include "checkincounter.h"
#include "desktest.h"
#include "jsonmatch.h"
#include "trackoffice.h"

#include <QAction>
#include <QCursor>
#include <QDateTime>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFile>
#include <QInputDialog>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QSpinBox>
#include <QTimeEdit>
#include <QTimer>
#include <QUuid>

/// The queue under a cashier's hand: runs added, renamed, renumbered, removed, locked and moved, their planned start
/// times, and what the host hears of each step. A new desk for each test.
class TestQueue : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void listOfRuns();
    void addDialog();
    void addDialogTakesTheSetting();
    void addDialogBehindRuns_data();
    void addDialogBehindRuns();
    void addCancelled();
    void addRuns();
    void chosenStartDoesNotLast();
    void fixedStarts();
    void settingsForNewRunsOnly();

    void publicationOfNothing();
    void publication();
    void publicationForOne();
    void raceMode();
    void nextRunInfo_data();
    void nextRunInfo();
    void lapsRunInTheChain();
    void startedRunKeepsItsStart();
    void fixedStartsOfALateRun();
    void minute_data();
    void minute();

    void rename();
    void renameToNothing();
    void renameOfSeveral();
    void renameCancelled();
    void renameNothing();
    void renumberOffers_data();
    void renumberOffers();
    void renumber();
    void renumberCancelled();
    void renumberWithoutACurrentRow();

    void removeEmptyRuns_data();
    void removeEmptyRuns();
    void removeAsks_data();
    void removeAsks();
    void removeAsksOnce();
    void removeAfterADeclinedQuestion();
    void removeConfirmedGoesOn();
    void removedRunsInOrder();
    void removeNothing();
    void removeSkipsTheCurrentRun();
    void removedRunIsRemembered();
    void removalLeavesTheCheckInList();
    void codesOfARun_data();
    void codesOfARun();

    void closedWhileRenaming();
    void closedWhileRenumbering();
    void closedWhileAsked_data();
    void closedWhileAsked();
    void startedWhileAsked();
    void closedWhileAdding();
    void hostLeavesWhileAsked();

    void lockButton();
    void moveByHand();
    void parametersReachTheHost();
    void startButtons();

private:
    std::unique_ptr<TrackOffice> m_office;

    HostProbe &desk() { return m_office->desk(); }
    bool open(const QVector<TrackOffice::Run> &runs, bool frozen = false);
    void push(const char *button) { desk().find<QPushButton *>(QString::fromLatin1(button))->click(); }
    void trigger(const char *action) { desk().find<QAction *>(QString::fromLatin1(action))->trigger(); }
    void select(const QVector<int> &rows);
    QVector<qint64> starts();
    QStringList names();
    QStringList addByDialog(const std::function<void(QDialog *)> &work);
};

namespace {

using JsonMatch::object;

const QString AddTitle = text("Добавить заезды");
const QString RenameTitle = text("Переименовать");
const QString RenumberTitle = text("Нумерация заездов");
const QString Answer = QStringLiteral("local_request_answer");
const QString Remote = QStringLiteral("remote_control_answer");
const QString Runs = QStringLiteral("runslist.state");

template <typename T> T child(const QDialog *dialog, const char *name)
{
    T found = dialog->findChild<T>(QString::fromLatin1(name));
    if (!found)
        qFatal("the dialog has no %s", name);
    return found;
}

void accept(QDialog *dialog)
{
    child<QDialogButtonBox *>(dialog, "buttonBox")->button(QDialogButtonBox::Ok)->click();
}

TrackOffice::Run run(const char *guid, const QVector<QJsonObject> &seats = {}, const QJsonObject &more = {})
{
    return {QString::fromUtf8(guid), seats, more};
}

QVector<QJsonObject> seats(const QStringList &uuids)
{
    QVector<QJsonObject> all;
    for (const QString &uuid : uuids)
        all.append(TrackOffice::seat(uuid, -1001 - all.size()));
    return all;
}

QString labelOf(const QDialog *dialog, const QWidget *field)
{
    const QList<QLabel *> labels = dialog->findChildren<QLabel *>();
    for (const QLabel *label : labels) {
        if (label->buddy() == field
            || (label->y() < field->geometry().bottom() && label->geometry().bottom() > field->y()))
            return label->text();
    }
    return {};
}

qint64 seconds(const QJsonValue &number)
{
    return number.toVariant().toLongLong();
}

qint64 now()
{
    return QDateTime::currentSecsSinceEpoch();
}

QPoint centred(const QWidget *dialog, const QPoint &spot)
{
    return spot - QPoint(qRound(dialog->width() / 2.0), qRound(dialog->height() / 2.0));
}

} // namespace

void TestQueue::init()
{
    m_office = std::make_unique<TrackOffice>();
}

void TestQueue::cleanup()
{
    m_office.reset();
}

bool TestQueue::open(const QVector<TrackOffice::Run> &runs, bool frozen)
{
    m_office->seedQueue(runs, frozen);
    return m_office->open();
}

void TestQueue::select(const QVector<int> &rows)
{
    m_office->queue()->clearSelection();
    for (int row : rows)
        m_office->queue()->item(row)->setSelected(true);
}

QVector<qint64> TestQueue::starts()
{
    QVector<qint64> all;
    const QVector<QJsonObject> runs = m_office->runs();
    for (const QJsonObject &one : runs)
        all.append(seconds(one.value(QLatin1String("runStartTime"))));
    return all;
}

QStringList TestQueue::names()
{
    QStringList all;
    const QVector<QJsonObject> runs = m_office->runs();
    for (const QJsonObject &one : runs)
        all.append(one.value(QLatin1String("runName")).toString());
    return all;
}

/// Opens the add dialog, works on it and returns the events of it all.
QStringList TestQueue::addByDialog(const std::function<void(QDialog *)> &work)
{
    desk().clear();
    const ModalAnswer dialog = ModalAnswer::dialog(AddTitle, work);
    push("bAddRun");
    return dialog.answered() ? desk().names() : QStringList{dialog.error()};
}

void TestQueue::listOfRuns()
{
    QVERIFY(open({}));
    const QListWidget *list = m_office->queue();
    QVERIFY(list->acceptDrops());
    QVERIFY(list->dragEnabled());
    QCOMPARE(list->dragDropMode(), QAbstractItemView::InternalMove);
    QCOMPARE(list->selectionMode(), QAbstractItemView::ExtendedSelection);
    QCOMPARE(list->spacing(), 0);
    QCOMPARE(list->contextMenuPolicy(), Qt::CustomContextMenu);
}

void TestQueue::addDialog()
{
    QVERIFY(open({}));
    const QPoint spot(700, 400);
    QCursor::setPos(spot);
    const qint64 before = now();
    QCOMPARE(addByDialog([&](QDialog *dialog) {
                 const auto *count = child<QSpinBox *>(dialog, "sbRunsCount");
                 const auto *duration = child<QSpinBox *>(dialog, "sbRunsDuration");
                 const auto *start = child<QTimeEdit *>(dialog, "teRunStart");
                 QCOMPARE(labelOf(dialog, count), text("Количество заездов"));
                 QCOMPARE(labelOf(dialog, duration), text("Длительность, мин"));
                 QCOMPARE(labelOf(dialog, start), text("Старт первого заезда"));
                 QCOMPARE(count->minimum(), 1);
                 QCOMPARE(count->maximum(), 99);
                 QCOMPARE(count->value(), 1);
                 QVERIFY(count->hasFocus());
                 QCOMPARE(count->findChild<QLineEdit *>()->selectedText(), QStringLiteral("1"));
                 QCOMPARE(duration->minimum(), 1);
                 QCOMPARE(duration->maximum(), 9999);
                 QCOMPARE(duration->value(), 10);
                 QCOMPARE(start->displayFormat(), QStringLiteral("HH:mm"));
                 QVERIFY(start->isEnabled());
                 const qint64 offered = start->dateTime().toSecsSinceEpoch();
                 QVERIFY2(offered >= before && offered <= now(), qPrintable(start->dateTime().toString()));
                 QVERIFY(!(dialog->windowFlags() & Qt::WindowContextHelpButtonHint));
                 QCOMPARE(child<QDialogButtonBox *>(dialog, "buttonBox")->standardButtons(),
                          QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
                 const QPoint off = dialog->pos() - centred(dialog, spot);
                 QVERIFY2(off.manhattanLength() <= 1, qPrintable(QStringLiteral("%1 %2").arg(off.x()).arg(off.y())));
                 dialog->reject();
             }),
             QStringList());
    QVERIFY(!QTest::currentTestFailed());
}

void TestQueue::addDialogTakesTheSetting()
{
    m_office->track().setSetting(QStringLiteral("defaultRunDuration"), 25);
    QVERIFY(open({}));
    QCOMPARE(addByDialog([](QDialog *dialog) {
                 QCOMPARE(child<QSpinBox *>(dialog, "sbRunsDuration")->value(), 25);
                 dialog->reject();
             }),
             QStringList());
}

void TestQueue::addDialogBehindRuns_data()
{
    QTest::addColumn<QJsonObject>("last");
    QTest::addColumn<int>("distance");
    QTest::newRow("by time") << object(R"({"finishParam": 300, "pauseTime": 60})") << 360;
    QTest::newRow("by laps") << object(R"({"finishParam": 20, "finishMode": 2})") << 190;
}

void TestQueue::addDialogBehindRuns()
{
    QFETCH(QJsonObject, last);
    QFETCH(int, distance);
    QVERIFY(open({run("{a}"), run("{b}", {}, last)}));
    const qint64 expected = starts().constLast() + distance;
    QCOMPARE(addByDialog([&](QDialog *dialog) {
                 const auto *start = child<QTimeEdit *>(dialog, "teRunStart");
                 QVERIFY(!start->isEnabled());
                 QCOMPARE(start->dateTime().toSecsSinceEpoch(), expected);
                 dialog->reject();
             }),
             QStringList());
}

void TestQueue::addCancelled()
{
    QVERIFY(open({run("{a}")}));
    m_office->track().removeJournal(Runs);
    QCOMPARE(addByDialog([](QDialog *dialog) {
                 child<QSpinBox *>(dialog, "sbRunsCount")->setValue(5);
                 child<QDialogButtonBox *>(dialog, "buttonBox")->button(QDialogButtonBox::Cancel)->click();
             }),
             QStringList());
    QCOMPARE(m_office->queue()->count(), 1);
    QVERIFY(!m_office->track().hasJournal(Runs));
}

void TestQueue::addRuns()
{
    QVERIFY(open({run("{a}", seats({QStringLiteral("{x}")}), {{QStringLiteral("runNum"), 7}})}));
    select({0});
    const qint64 before = now();
    const QStringList events = addByDialog([](QDialog *dialog) {
        child<QSpinBox *>(dialog, "sbRunsCount")->setValue(3);
        child<QSpinBox *>(dialog, "sbRunsDuration")->setValue(5);
        accept(dialog);
    });
    // Three runs, one publication.
    QCOMPARE(events, ::publication());
    const qint64 after = now();
    const QJsonObject queue = desk().last(Answer).value(QLatin1String("runQueue")).toObject();
    QCOMPARE(queue.value(QLatin1String("currentRun"))[QLatin1String("runQueueGuid")].toString(), QStringLiteral("{a}"));
    const QJsonArray pending = queue.value(QLatin1String("pendingRuns")).toArray();
    QCOMPARE(pending.size(), 3);
    const qint64 head = seconds(queue.value(QLatin1String("currentRun"))[QLatin1String("runStartTime")]);
    QVERIFY(head >= before + 180 && head <= after + 180);
    for (int i = 0; i < 3; ++i) {
        const QString guid = pending.at(i)[QLatin1String("runQueueGuid")].toString();
        QVERIFY(!QUuid(guid).isNull());
        QJsonObject expected = object(R"({"runState": "unknown", "runDuration": 300, "finishParam": 300,
            "finishMode": 1, "finishType": 1, "sortMode": 0, "sortType": 0, "runLocked": false,
            "runCompetitors": {}})");
        expected.insert(QStringLiteral("runQueueGuid"), guid);
        expected.insert(QStringLiteral("runNum"), 8 + i);
        expected.insert(QStringLiteral("runName"), text("Заезд №%1").arg(8 + i));
        expected.insert(QStringLiteral("runStartTime"), head + 780 + qint64(480) * i);
        JSON_COMPARE(pending.at(i), expected);
    }
    QVERIFY(m_office->queue()->selectedItems().isEmpty());
    QCOMPARE(m_office->queue()->currentRow(), 3);
}

// With times that follow the clock the chosen one is replaced at once.
void TestQueue::chosenStartDoesNotLast()
{
    QVERIFY(open({}));
    const qint64 before = now();
    QCOMPARE(addByDialog([](QDialog *dialog) {
                 auto *start = child<QTimeEdit *>(dialog, "teRunStart");
                 start->setTime(start->time().addSecs(start->time().hour() < 12 ? 36000 : -36000));
                 accept(dialog);
             }),
             ::publication());
    const qint64 start = starts().constFirst();
    QVERIFY(start >= before + 180 && start <= now() + 180);
}

void TestQueue::fixedStarts()
{
    QVERIFY(open({}, true));
    const QTime chosen(QTime::currentTime().hour() < 12 ? 23 : 1, 15);
    qint64 first = 0;
    QCOMPARE(addByDialog([&](QDialog *dialog) {
                 auto *start = child<QTimeEdit *>(dialog, "teRunStart");
                 start->setTime(chosen);
                 first = start->dateTime().toSecsSinceEpoch();
                 child<QSpinBox *>(dialog, "sbRunsCount")->setValue(2);
                 accept(dialog);
             }),
             ::publication());
    QCOMPARE(QDateTime::fromSecsSinceEpoch(first).time(), chosen);
    QCOMPARE(QDateTime::fromSecsSinceEpoch(first).date(), QDate::currentDate());
    QCOMPARE(starts(), (QVector<qint64>{first, first + 780}));
    // The next ones stand behind the last, with its pause and its length.
    QCOMPARE(addByDialog([&](QDialog *dialog) {
                 child<QSpinBox *>(dialog, "sbRunsDuration")->setValue(5);
                 accept(dialog);
             }),
             ::publication());
    QCOMPARE(addByDialog(accept), ::publication());
    QCOMPARE(starts(), (QVector<qint64>{first, first + 780, first + 1560, first + 1560 + 480}));
}

void TestQueue::settingsForNewRunsOnly()
{
    m_office->track().setSetting(QStringLiteral("pauseDuration"), 1);
    m_office->track().setSetting(QStringLiteral("maxInRunCount"), 4);
    QVERIFY(open({run("{a}")}));
    QCOMPARE(addByDialog(accept), ::publication());
    const QVector<QJsonObject> items = m_office->journalItems();
    JSON_CONTAINS(items.at(0), object(R"({"pauseTime": 180, "maxRacersInRun": 10, "finishParam": 600})"));
    JSON_CONTAINS(items.at(1), object(R"({"pauseTime": 60, "maxRacersInRun": 4, "finishParam": 600})"));
    const QVector<qint64> times = starts();
    QCOMPARE(times.at(1) - times.at(0), Q_INT64_C(660));
}

void TestQueue::publicationOfNothing()
{
    QVERIFY(open({}));
    m_office->publish();
    const QJsonObject empty = object(R"({"request": "runQueueUpdate", "runQueue": {"pendingRuns": []},
        "runHistory": {"runHistoryList": []}})");
    QCOMPARE(desk().names(), ::publication());
    JSON_COMPARE(desk().last(Answer), empty);
    JSON_COMPARE(desk().last(Remote), (QJsonObject{{QStringLiteral("req_answ"), empty}}));
}

void TestQueue::publication()
{
    m_office->seedHistory(
        {TrackOffice::pastRun(QStringLiteral("{old}"), 100), TrackOffice::pastRun(QStringLiteral("{new}"), 200)});
    QVERIFY(open({run("{a}", seats({QStringLiteral("{x}"), QStringLiteral("{y}")})), run("{b}"), run("{c}")}));
    m_office->publish();
    const QJsonObject told = desk().last(Answer);
    QCOMPARE(told.keys(),
             (QStringList{QStringLiteral("request"), QStringLiteral("runHistory"), QStringLiteral("runQueue")}));
    JSON_CONTAINS(told, object(R"({"runQueue": {"currentRun": {"runQueueGuid": "{a}", "runCompetitors": {
            "-1001": {"uuid": "{x}"}, "-1002": {"uuid": "{y}"}}},
            "pendingRuns": [{"runQueueGuid": "{b}"}, {"runQueueGuid": "{c}"}]},
        "runHistory": {"runHistoryList": [{"runQueueGuid": "{new}", "runIndex": 0},
            {"runQueueGuid": "{old}", "runIndex": 1}]}})"));
    JSON_COMPARE(desk().last(Remote), (QJsonObject{{QStringLiteral("req_answ"), told}}));
}

void TestQueue::publicationForOne()
{
    QVERIFY(open({run("{a}")}));
    QVERIFY(QMetaObject::invokeMethod(desk().tab(), "runQueueChanged", Q_ARG(QString, QStringLiteral("tablet")),
                                      Q_ARG(bool, true)));
    QCOMPARE(desk().names(), ::publication());
    QCOMPARE(desk().last(Answer).value(QLatin1String("forceReload")), QJsonValue(true));
    QVERIFY(!desk().last(Answer).contains(QStringLiteral("sinkId")));
    JSON_COMPARE(desk().last(Remote), (QJsonObject{{QStringLiteral("req_answ"), desk().last(Answer)},
                                                   {QStringLiteral("sinkId"), QStringLiteral("tablet")}}));
    desk().clear();
    QVERIFY(QMetaObject::invokeMethod(desk().tab(), "runQueueChanged", Q_ARG(QString, QStringLiteral("tablet"))));
    QVERIFY(!desk().last(Answer).contains(QStringLiteral("forceReload")));
    QCOMPARE(desk().last(Remote).value(QLatin1String("sinkId")).toString(), QStringLiteral("tablet"));
}

void TestQueue::raceMode()
{
    QVERIFY(open({run("{a}")}));
    desk().send(QStringLiteral("race_mode"), object(R"({"isRaceMode": true})"));
    QCOMPARE(desk().names(), QStringList());
    m_office->track().removeJournal(Runs);
    QCOMPARE(addByDialog(accept), QStringList{Answer});
    QVERIFY(m_office->track().hasJournal(Runs));
    TrackOffice::lockButton(m_office->run(0))->click();
    QCOMPARE(desk().names(), (QStringList{Answer, Answer}));
    desk().clear();
    desk().send(QStringLiteral("race_mode"), object(R"({"isRaceMode": false})"));
    QCOMPARE(desk().names(), ::publication());
    QCOMPARE(desk().last(Answer).value(QLatin1String("runQueue"))[QLatin1String("pendingRuns")].toArray().size(), 1);
    QVERIFY(!desk().last(Answer).contains(QStringLiteral("forceReload")));
}

void TestQueue::nextRunInfo_data()
{
    QTest::addColumn<QJsonObject>("news");
    QTest::addColumn<int>("number");
    QTest::newRow("5") << object(R"({"nextRunNum": 5})") << 5;
    QTest::newRow("1") << object(R"({"nextRunNum": 1})") << 1;
    QTest::newRow("0") << object(R"({"nextRunNum": 0})") << 1;
    QTest::newRow("-3") << object(R"({"nextRunNum": -3})") << -2;
    QTest::newRow("none") << object("{}") << 1;
    QTest::newRow("text") << object(R"({"nextRunNum": "5"})") << 1;
}

void TestQueue::nextRunInfo()
{
    QFETCH(QJsonObject, news);
    QFETCH(int, number);
    QVERIFY(open({run("{a}", {}, {{QStringLiteral("runNum"), 40}})}));
    desk().send(QStringLiteral("next_run_info"), object(R"({"nextRunNum": 70})"));
    desk().clear();
    desk().send(QStringLiteral("next_run_info"), news);
    QCOMPARE(desk().names(), ::publication());
    // What stands in the queue keeps its number, and what comes behind it follows.
    QCOMPARE(addByDialog(accept), ::publication());
    QVector<QJsonObject> runs = m_office->runs();
    QCOMPARE(runs.at(0).value(QLatin1String("runNum")).toInt(), 40);
    QCOMPARE(runs.at(1).value(QLatin1String("runNum")).toInt(), 41);
    select({0, 1});
    push("bRemoveRun");
    QCOMPARE(addByDialog(accept), ::publication());
    QCOMPARE(m_office->runs().at(0).value(QLatin1String("runNum")).toInt(-99), number);
}

void TestQueue::lapsRunInTheChain()
{
    m_office->track().setSetting(QStringLiteral("defaultRunDuration"), 15);
    QVERIFY(open({run("{a}", {}, object(R"({"finishMode": 2, "finishParam": 20})")), run("{b}"), run("{c}")}));
    const QVector<qint64> times = starts();
    QCOMPARE(times.at(1) - times.at(0), Q_INT64_C(15 + 180));
    QCOMPARE(times.at(2) - times.at(1), Q_INT64_C(780));
}

void TestQueue::startedRunKeepsItsStart()
{
    QVERIFY(open({run("{a}"), run("{b}"), run("{c}")}));
    const qint64 before = now();
    desk().send(QStringLiteral("new_run_started"), object(R"({"runQueueGuid": "{a}", "runNum": 1})"));
    const qint64 after = now();
    QCOMPARE(desk().names(), ::publication());
    const QVector<qint64> times = starts();
    QVERIFY(times.at(0) >= before && times.at(0) <= after);
    QCOMPARE(times.at(1) - times.at(0), Q_INT64_C(780));
    QCOMPARE(times.at(2) - times.at(1), Q_INT64_C(780));
    // A second later nothing has moved: the chain hangs on the start.
    QTest::qWait(1100);
    desk().send(QStringLiteral("next_run_info"), object("{}"));
    QCOMPARE(starts(), times);
}

void TestQueue::fixedStartsOfALateRun()
{
    QVERIFY(open({run("{a}", {}, object(R"({"startTime": 1000})")), run("{b}", {}, object(R"({"startTime": 5000})"))},
                 true));
    QCOMPARE(starts(), (QVector<qint64>{1000, 5000}));
    desk().send(QStringLiteral("new_run_started"), object(R"({"runQueueGuid": "{a}", "runNum": 1})"));
    QCOMPARE(starts(), (QVector<qint64>{1000, 5000}));
    desk().send(QStringLiteral("next_run_info"), object("{}"));
    QCOMPARE(starts(), (QVector<qint64>{1000, 5000}));
}

void TestQueue::minute_data()
{
    QTest::addColumn<QString>("role");
    QTest::newRow("the queue moves") << QStringLiteral("minute");
    QTest::newRow("fixed times stay") << QStringLiteral("fixed minute");
}

void TestQueue::minute()
{
    QFETCH(QString, role);
    TempTrack &track = m_office->track();
    const QString file = track.home() + QStringLiteral("/clock");
    QFile offset(file);
    QVERIFY(offset.open(QIODevice::WriteOnly));
    offset.write("+0\n");
    offset.close();
    m_office->seedQueue({run("{a}", {}, object(R"({"startTime": 1000})")),
                         run("{b}", {}, object(R"({"startTime": 5000})"))},
                        role.startsWith(QLatin1String("fixed")));
    ChildDesk child(role, {file});
    QVERIFY2(child.fakeClock(file, true), "the package faketime is not installed");
    QVERIFY(child.start());
    QVERIFY2(child.finish(60000), child.output().constData());
    QVERIFY2(child.output().contains("done\n"), child.output().constData());
}

void TestQueue::rename()
{
    QVERIFY(
        open({run("{a}"), run("{b}", seats({QStringLiteral("{x}")}), {{QStringLiteral("runName"), text("Старый")}})}));
    select({1});
    QString label;
    QString offered;
    int echo = -1;
    bool hasHelp = true;
    const ModalAnswer dialog = ModalAnswer::dialog(RenameTitle, [&](QDialog *opened) {
        auto *input = qobject_cast<QInputDialog *>(opened);
        hasHelp = input->windowFlags() & Qt::WindowContextHelpButtonHint;
        label = input->labelText();
        offered = input->textValue();
        echo = input->textEchoMode();
        input->setTextValue(text("Финал №3"));
        input->accept();
    });
    m_office->track().removeJournal(Runs);
    trigger("actionRenameRun");
    MODAL_VERIFY(dialog);
    QCOMPARE(label, text("Название заезда"));
    QCOMPARE(offered, text("Старый"));
    QCOMPARE(echo, int(QLineEdit::Normal));
    QVERIFY(!hasHelp);
    QCOMPARE(desk().names(), ::publication());
    QVERIFY(!desk().last(Answer).contains(QStringLiteral("forceReload")));
    QVERIFY(m_office->track().hasJournal(Runs));
    QCOMPARE(names(), (QStringList{text("Заезд №1"), text("Финал №3")}));
    JSON_CONTAINS(m_office->journalItems().at(1), object(R"({"runName": "Финал №3", "nameForced": true})"));
    JSON_CONTAINS(m_office->journalItems().at(0), object(R"({"runName": "", "nameForced": false})"));
}

void TestQueue::renameToNothing()
{
    QVERIFY(open({run("{a}", {}, {{QStringLiteral("runName"), text("Старый")}, {QStringLiteral("runNum"), 4}})}));
    select({0});
    const ModalAnswer dialog = ModalAnswer::dialog(RenameTitle, [](QDialog *opened) {
        qobject_cast<QInputDialog *>(opened)->setTextValue(QString());
        opened->accept();
    });
    trigger("actionRenameRun");
    MODAL_VERIFY(dialog);
    QCOMPARE(names(), QStringList{text("Заезд №4")});
    JSON_CONTAINS(m_office->journalItems().at(0), object(R"({"runName": "", "nameForced": true})"));
}

// The menu offers no new name for several runs, but the action itself may be triggered: it means the first of them.
void TestQueue::renameOfSeveral()
{
    QVERIFY(open({run("{a}"), run("{b}", {}, {{QStringLiteral("runName"), text("Старый")}}), run("{c}")}));
    select({1, 2});
    m_office->queue()->setCurrentRow(2, QItemSelectionModel::NoUpdate);
    QString offered;
    const ModalAnswer dialog = ModalAnswer::dialog(RenameTitle, [&](QDialog *opened) {
        auto *input = qobject_cast<QInputDialog *>(opened);
        offered = input->textValue();
        input->setTextValue(text("Финал"));
        input->accept();
    });
    trigger("actionRenameRun");
    MODAL_VERIFY(dialog);
    QCOMPARE(offered, text("Старый"));
    QCOMPARE(names(), (QStringList{text("Заезд №1"), text("Финал"), text("Заезд №1")}));
}

void TestQueue::renameCancelled()
{
    QVERIFY(open({run("{a}", {}, {{QStringLiteral("runName"), text("Старый")}})}));
    select({0});
    const ModalAnswer dialog = ModalAnswer::dialog(RenameTitle, [](QDialog *opened) {
        qobject_cast<QInputDialog *>(opened)->setTextValue(QStringLiteral("X"));
        opened->reject();
    });
    trigger("actionRenameRun");
    MODAL_VERIFY(dialog);
    QCOMPARE(desk().names(), QStringList());
    QCOMPARE(names(), QStringList{text("Старый")});
    JSON_CONTAINS(m_office->journalItems().at(0), object(R"({"nameForced": false})"));
}

void TestQueue::renameNothing()
{
    QVERIFY(open({run("{a}")}));
    select({});
    trigger("actionRenameRun");
    QCOMPARE(desk().names(), QStringList());
}

void TestQueue::renumberOffers_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("offered");
    QTest::newRow("a number") << text("Заезд №7") << 7;
    QTest::newRow("no number") << text("Финал") << 1;
    QTest::newRow("no name") << QString() << 1;
    QTest::newRow("zero") << text("№0") << 1;
    QTest::newRow("negative") << text("№-4") << 1;
    QTest::newRow("text behind the sign") << text("№ семь") << 1;
}

void TestQueue::renumberOffers()
{
    QFETCH(QString, name);
    QFETCH(int, offered);
    // The run's number is another one.
    QVERIFY(open({run("{a}", {}, {{QStringLiteral("runName"), name}, {QStringLiteral("runNum"), 30}})}));
    m_office->queue()->setCurrentRow(0);
    QString label;
    QVector<int> facts;
    bool hasHelp = true;
    const ModalAnswer dialog = ModalAnswer::dialog(RenumberTitle, [&](QDialog *opened) {
        auto *input = qobject_cast<QInputDialog *>(opened);
        hasHelp = input->windowFlags() & Qt::WindowContextHelpButtonHint;
        label = input->labelText();
        facts = {input->intValue(), input->intMinimum(), input->intMaximum(), input->intStep()};
        input->reject();
    });
    trigger("actionRenumberRuns");
    MODAL_VERIFY(dialog);
    QCOMPARE(label, text("Начальный номер"));
    QCOMPARE(facts, (QVector<int>{offered, 1, 1000, 1}));
    QVERIFY(!hasHelp);
}

void TestQueue::renumber()
{
    QVERIFY(open({run("{a}"), run("{b}"), run("{c}", seats({QStringLiteral("{x}")})), run("{d}"), run("{e}")}));
    const QVector<QJsonObject> before = m_office->runs();
    m_office->queue()->setCurrentRow(1);
    const ModalAnswer dialog = ModalAnswer::dialog(RenumberTitle, [](QDialog *opened) {
        qobject_cast<QInputDialog *>(opened)->setIntValue(12);
        opened->accept();
    });
    trigger("actionRenumberRuns");
    MODAL_VERIFY(dialog);
    QCOMPARE(desk().names(), ::publication());
    QCOMPARE(names(), (QStringList{text("Заезд №1"), text("Заезд №12"), text("Заезд №1"), text("Заезд №13"),
                                   text("Заезд №14")}));
    const QVector<QJsonObject> items = m_office->journalItems();
    const QVector<bool> forced{false, true, false, true, true};
    for (int row = 0; row < 5; ++row) {
        QCOMPARE(items.at(row).value(QLatin1String("runNum")).toInt(),
                 before.at(row).value(QLatin1String("runNum")).toInt());
        QCOMPARE(items.at(row).value(QLatin1String("nameForced")).toBool(), forced.at(row));
    }
}

void TestQueue::renumberCancelled()
{
    QVERIFY(open({run("{a}")}));
    m_office->queue()->setCurrentRow(0);
    const ModalAnswer dialog = ModalAnswer::dialog(RenumberTitle, [](QDialog *opened) {
        qobject_cast<QInputDialog *>(opened)->setIntValue(12);
        opened->reject();
    });
    trigger("actionRenumberRuns");
    MODAL_VERIFY(dialog);
    QCOMPARE(desk().names(), QStringList());
    QCOMPARE(names(), QStringList{text("Заезд №1")});
}

void TestQueue::renumberWithoutACurrentRow()
{
    QVERIFY(open({run("{a}")}));
    m_office->queue()->setCurrentRow(-1);
    trigger("actionRenumberRuns");
    QCOMPARE(desk().names(), QStringList());
}

void TestQueue::removeEmptyRuns_data()
{
    QTest::addColumn<bool>("byMenu");
    QTest::newRow("button") << false;
    QTest::newRow("menu") << true;
}

void TestQueue::removeEmptyRuns()
{
    QFETCH(bool, byMenu);
    QVERIFY(open({run("{a}"), run("{b}"), run("{c}"), run("{d}")}));
    select({1, 3});
    m_office->track().removeJournal(Runs);
    if (byMenu)
        trigger("actionRemoveRun");
    else
        push("bRemoveRun");
    QCOMPARE(desk().names(), ::publication());
    QVERIFY(m_office->track().hasJournal(Runs));
    QCOMPARE(m_office->guids(), (QStringList{QStringLiteral("{a}"), QStringLiteral("{c}")}));
    QVERIFY(m_office->pastRuns().isEmpty());
    const QVector<qint64> times = starts();
    QCOMPARE(times.at(1) - times.at(0), Q_INT64_C(780));
}

void TestQueue::removeAsks_data()
{
    QTest::addColumn<int>("answer");
    QTest::addColumn<bool>("removed");
    QTest::newRow("yes") << int(QMessageBox::Yes) << true;
    QTest::newRow("no") << int(QMessageBox::No) << false;
}

void TestQueue::removeAsks()
{
    QFETCH(int, answer);
    QFETCH(bool, removed);
    QVERIFY(open({run("{a}", seats({QStringLiteral("{x}")}))}));
    select({0});
    const QPoint spot(70, 90);
    QCursor::setPos(spot);
    BoxFacts facts;
    const ModalAnswer box = answerBox(&facts, QMessageBox::StandardButton(answer));
    push("bRemoveRun");
    MODAL_VERIFY(box);
    QCOMPARE(facts.title, text("Подтверждение"));
    QCOMPARE(facts.text, text("Точно удалить?"));
    QCOMPARE(facts.icon, int(QMessageBox::Question));
    QCOMPARE(facts.buttons, QMessageBox::Yes | QMessageBox::No);
    QCOMPARE(facts.position, spot);
    // Whatever was answered, the queue is told.
    QCOMPARE(desk().names(), ::publication());
    QCOMPARE(m_office->queue()->count(), removed ? 0 : 1);
    QCOMPARE(m_office->pastGuids(), removed ? QStringList{QStringLiteral("{a}")} : QStringList());
}

// Only the second of three has racers: one question, and a No keeps just this one.
void TestQueue::removeAsksOnce()
{
    QVERIFY(open({run("{a}"), run("{b}", seats({QStringLiteral("{x}")})), run("{c}")}));
    select({0, 1, 2});
    BoxFacts facts;
    const ModalAnswer box = answerBox(&facts, QMessageBox::No);
    push("bRemoveRun");
    MODAL_VERIFY(box);
    QCOMPARE(m_office->guids(), QStringList{QStringLiteral("{b}")});
    QVERIFY(m_office->pastRuns().isEmpty());
}

void TestQueue::removeAfterADeclinedQuestion()
{
    QVERIFY(open({run("{a}", seats({QStringLiteral("{x}")})), run("{b}", seats({QStringLiteral("{y}")})),
                  run("{c}", seats({QStringLiteral("{z}")}))}));
    select({0, 1, 2});
    BoxFacts facts;
    const ModalAnswer first = answerBox(&facts, QMessageBox::No);
    const ModalAnswer second = answerBox(&facts, QMessageBox::Yes);
    push("bRemoveRun");
    MODAL_VERIFY(first);
    MODAL_VERIFY(second);
    QCOMPARE(m_office->queue()->count(), 1);
    QCOMPARE(m_office->pastRuns().size(), 2);
}

void TestQueue::removeConfirmedGoesOn()
{
    QVERIFY(open({run("{a}", seats({QStringLiteral("{x}")})), run("{b}", seats({QStringLiteral("{y}")})), run("{c}"),
                  run("{d}", seats({QStringLiteral("{z}")}))}));
    select({0, 1, 2, 3});
    BoxFacts facts;
    const ModalAnswer box = answerBox(&facts, QMessageBox::Yes);
    trigger("actionRemoveRun");
    MODAL_VERIFY(box);
    QCOMPARE(m_office->queue()->count(), 0);
    QCOMPARE(desk().names(), ::publication());
    QCOMPARE(m_office->pastRuns().size(), 3);
}

// From the top of the queue, each on top of the one before it.
void TestQueue::removedRunsInOrder()
{
    m_office->seedHistory({TrackOffice::pastRun(QStringLiteral("{old}"), 100)});
    QVERIFY(open({run("{a}", seats({QStringLiteral("{x}")})), run("{b}", seats({QStringLiteral("{y}")})), run("{c}"),
                  run("{d}", seats({QStringLiteral("{z}")}))}));
    select({0, 1, 2, 3});
    BoxFacts facts;
    const ModalAnswer box = answerBox(&facts, QMessageBox::Yes);
    push("bRemoveRun");
    MODAL_VERIFY(box);
    QCOMPARE(m_office->pastGuids(), (QStringList{QStringLiteral("{d}"), QStringLiteral("{b}"), QStringLiteral("{a}"),
                                                 QStringLiteral("{old}")}));
}

void TestQueue::removeNothing()
{
    QVERIFY(open({run("{a}", seats({QStringLiteral("{x}")}))}));
    select({});
    push("bRemoveRun");
    QCOMPARE(desk().names(), ::publication());
    QCOMPARE(m_office->queue()->count(), 1);
}

void TestQueue::removeSkipsTheCurrentRun()
{
    QVERIFY(open({run("{a}", seats({QStringLiteral("{x}")})), run("{b}"), run("{c}")}));
    desk().send(QStringLiteral("new_run_started"), object(R"({"runQueueGuid": "{a}", "runNum": 1})"));
    select({0, 2});
    desk().clear();
    push("bRemoveRun");
    QCOMPARE(desk().names(), ::publication());
    QCOMPARE(m_office->guids(), (QStringList{QStringLiteral("{a}"), QStringLiteral("{b}")}));
    QVERIFY(m_office->pastRuns().isEmpty());
}

void TestQueue::removedRunIsRemembered()
{
    m_office->seedHistory({TrackOffice::pastRun(QStringLiteral("{old}"), 100)});
    QVERIFY(open({run("{a}", seats({QStringLiteral("{x}"), QStringLiteral("{y}")}),
                      object(R"({"runNum": 12, "finishMode": 2, "finishParam": 20, "runName": "Кубок"})"))}));
    QJsonObject expected = m_office->runs().at(0);
    select({0});
    BoxFacts facts;
    const ModalAnswer box = answerBox(&facts, QMessageBox::Yes);
    push("bRemoveRun");
    MODAL_VERIFY(box);
    // On top, with its racers; how it should have ended is forgotten.
    const QJsonArray history =
        desk().last(Answer).value(QLatin1String("runHistory"))[QLatin1String("runHistoryList")].toArray();
    QCOMPARE(history.size(), 2);
    for (const char *key : {"finishMode", "finishType"})
        expected.insert(QString::fromLatin1(key), 1);
    for (const char *key : {"finishParam", "runDuration"})
        expected.insert(QString::fromLatin1(key), 600);
    expected.insert(QStringLiteral("runIndex"), 0);
    JSON_COMPARE(history.at(0), expected);
    QCOMPARE(history.at(1)[QLatin1String("runQueueGuid")].toString(), QStringLiteral("{old}"));
}

void TestQueue::removalLeavesTheCheckInList()
{
    m_office->track().writeJournal(QStringLiteral("tickets.state"), "{\"uuid\":\"{x}\",\"lastName\":\"X\"}\n");
    QVERIFY(open({run("{a}", seats({QStringLiteral("{x}")}))}));
    select({0});
    BoxFacts facts;
    const ModalAnswer box = answerBox(&facts, QMessageBox::Yes);
    push("bRemoveRun");
    MODAL_VERIFY(box);
    QCOMPARE(desk().checkIn()->rowCount(), 1);
    QCOMPARE(desk().names(), ::publication());
}

void TestQueue::codesOfARun_data()
{
    QTest::addColumn<QString>("end");
    QTest::addColumn<bool>("free");
    QTest::newRow("removed") << "removed" << true;
    QTest::newRow("removal declined") << "declined" << false;
    QTest::newRow("closed by the host") << "host" << false;
    QTest::newRow("closed at the desk") << "desk" << false;
    QTest::newRow("racer taken out") << "racer" << false;
}

// A racer holds all codes but one; only a run that is removed gives them back. The next racer's code tells.
void TestQueue::codesOfARun()
{
    QFETCH(QString, end);
    QFETCH(bool, free);
    QJsonArray codes;
    for (int code = 0; code < 9999; ++code)
        codes.append(QStringLiteral("%1").arg(code, 4, 10, QLatin1Char('0')));
    QVERIFY(open({run("{a}", {TrackOffice::seat(QStringLiteral("{x}"), -1001, {{QStringLiteral("pinCodes"), codes}})}),
                  run("{b}")}));
    select({0});
    if (end == QLatin1String("host")) {
        desk().send(QStringLiteral("run_closed"), object(R"({"runQueueGuid": "{a}"})"));
    } else if (end == QLatin1String("desk")) {
        desk().send(QStringLiteral("local_request"),
                    object(R"({"request": "run_control", "requestData": {"cmd": "close", "runQueueGuid": "{a}"}})"));
    } else {
        BoxFacts facts;
        const ModalAnswer box =
            answerBox(&facts, end == QLatin1String("declined") ? QMessageBox::No : QMessageBox::Yes);
        TrackOffice::clickCell(m_office->run(0), 0);
        if (end == QLatin1String("racer"))
            trigger("actionRemoveFromRun");
        else
            push("bRemoveRun");
        MODAL_VERIFY(box);
    }
    const ModalAnswer form = ModalAnswer::dialog(text("Запись на заезд"), [](QDialog *dialog) { dialog->accept(); });
    push("bAddRacer");
    MODAL_VERIFY(form);
    const QString code =
        desk().last(Answer).value(QLatin1String("checkInList"))[0][QLatin1String("pinCodes")][0].toString();
    // With all codes given back, one draw in ten thousand hits the last one.
    if (free)
        QVERIFY2(code.size() == 4 && code != QLatin1String("9999"), qPrintable(code));
    else
        QCOMPARE(code, QStringLiteral("9999"));
}

// The host takes the run away while its new name is typed: nobody else gets the name.
void TestQueue::closedWhileRenaming()
{
    QVERIFY(open({run("{a}"), run("{b}", seats({QStringLiteral("{x}")})), run("{c}")}));
    select({1});
    const ModalAnswer dialog = ModalAnswer::dialog(RenameTitle, [&](QDialog *opened) {
        const QPointer<QDialog> guard(opened);
        desk().send(QStringLiteral("run_closed"), object(R"({"runQueueGuid": "{b}"})"));
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        if (!guard)
            return;
        qobject_cast<QInputDialog *>(opened)->setTextValue(text("Финал"));
        opened->accept();
    });
    trigger("actionRenameRun");
    MODAL_VERIFY(dialog);
    QCOMPARE(m_office->guids(), (QStringList{QStringLiteral("{a}"), QStringLiteral("{c}")}));
    QCOMPARE(names(), (QStringList{text("Заезд №1"), text("Заезд №1")}));
    QCOMPARE(m_office->pastRuns().at(0).value(QLatin1String("runName")).toString(), text("Заезд №1"));
}

void TestQueue::closedWhileRenumbering()
{
    QVERIFY(open({run("{a}"), run("{b}", seats({QStringLiteral("{x}")})), run("{c}")}));
    m_office->queue()->setCurrentRow(1);
    const ModalAnswer dialog = ModalAnswer::dialog(RenumberTitle, [&](QDialog *opened) {
        const QPointer<QDialog> guard(opened);
        desk().send(QStringLiteral("run_closed"), object(R"({"runQueueGuid": "{b}"})"));
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        if (!guard)
            return;
        qobject_cast<QInputDialog *>(opened)->setIntValue(12);
        opened->accept();
    });
    trigger("actionRenumberRuns");
    MODAL_VERIFY(dialog);
    // The run in front of it was never meant.
    QCOMPARE(names().value(0), text("Заезд №1"));
    QCOMPARE(m_office->guids(), (QStringList{QStringLiteral("{a}"), QStringLiteral("{c}")}));
}

void TestQueue::closedWhileAsked_data()
{
    QTest::addColumn<int>("answer");
    QTest::newRow("yes") << int(QMessageBox::Yes);
    QTest::newRow("no") << int(QMessageBox::No);
}

// The question is about a run that is no more: it is remembered once, and its neighbours stay.
void TestQueue::closedWhileAsked()
{
    QFETCH(int, answer);
    QVERIFY(open({run("{a}", seats({QStringLiteral("{w}")})), run("{b}", seats({QStringLiteral("{x}")})),
                  run("{c}", seats({QStringLiteral("{y}")}))}));
    select({1});
    BoxFacts facts;
    const ModalAnswer box = answerBox(&facts, QMessageBox::StandardButton(answer), [&] {
        desk().send(QStringLiteral("run_closed"), object(R"({"runQueueGuid": "{b}"})"));
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    });
    push("bRemoveRun");
    QCOMPARE(facts.text, text("Точно удалить?"));
    QCOMPARE(m_office->guids(), (QStringList{QStringLiteral("{a}"), QStringLiteral("{c}")}));
    QCOMPARE(m_office->pastGuids(), QStringList{QStringLiteral("{b}")});
}

// A run that starts while the question is open is on the track and stays.
void TestQueue::startedWhileAsked()
{
    QVERIFY(open({run("{a}", seats({QStringLiteral("{x}")})), run("{b}", seats({QStringLiteral("{y}")}))}));
    select({0, 1});
    BoxFacts facts;
    const ModalAnswer box = answerBox(&facts, QMessageBox::Yes, [&] {
        desk().send(QStringLiteral("new_run_started"), object(R"({"runQueueGuid": "{b}", "runNum": 1})"));
    });
    push("bRemoveRun");
    MODAL_VERIFY(box);
    QCOMPARE(m_office->guids(), QStringList{QStringLiteral("{b}")});
    QCOMPARE(m_office->pastGuids(), QStringList{QStringLiteral("{a}")});
}

void TestQueue::closedWhileAdding()
{
    QVERIFY(open({run("{a}"), run("{b}", seats({QStringLiteral("{x}")}))}));
    QCOMPARE(addByDialog([&](QDialog *dialog) {
                 desk().send(QStringLiteral("run_closed"), object(R"({"runQueueGuid": "{b}"})"));
                 desk().send(QStringLiteral("run_closed"), object(R"({"runQueueGuid": "{a}"})"));
                 QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
                 accept(dialog);
             }),
             ::publication());
    QCOMPARE(m_office->queue()->count(), 1);
    QCOMPARE(m_office->pastGuids(), QStringList{QStringLiteral("{b}")});
}

// An answer that does not come is no Yes: the queue is kept as it was.
void TestQueue::hostLeavesWhileAsked()
{
    m_office->seedQueue({run("{a}", seats({QStringLiteral("{x}")})), run("{b}", seats({QStringLiteral("{y}")}))});
    ChildDesk child(QStringLiteral("quit"));
    QVERIFY(child.start());
    QVERIFY2(child.finish(30000), child.output().constData());
    QVERIFY2(child.output().contains("done\n"), child.output().constData());
    QCOMPARE(m_office->track().readJournal(Runs).count("RUNITEM:"), 2);
    QCOMPARE(m_office->track().readJournal(Runs).count("COMPETITOR:"), 2);
}

void TestQueue::lockButton()
{
    QVERIFY(open({run("{a}"), run("{b}", seats({QStringLiteral("{x}")}))}));
    QPushButton *lock = TrackOffice::lockButton(m_office->run(1));
    QVERIFY(TrackOffice::hasIcon(lock, "runUnlocked"));
    m_office->track().removeJournal(Runs);
    lock->click();
    QCOMPARE(desk().names(), ::publication());
    QVERIFY(TrackOffice::hasIcon(lock, "runLocked"));
    JSON_CONTAINS(desk().last(Answer), object(R"({"runQueue": {"currentRun": {"runLocked": false},
        "pendingRuns": [{"runLocked": true}]}})"));
    QVERIFY(m_office->track().readJournal(Runs).contains("\"runLocked\":true"));
    desk().clear();
    lock->click();
    QCOMPARE(desk().names(), ::publication());
    QVERIFY(TrackOffice::hasIcon(lock, "runUnlocked"));
    JSON_CONTAINS(desk().last(Answer), object(R"({"runQueue": {"pendingRuns": [{"runLocked": false}]}})"));
    // A locked run can still be removed.
    lock->click();
    select({1});
    BoxFacts facts;
    const ModalAnswer box = answerBox(&facts, QMessageBox::Yes);
    push("bRemoveRun");
    MODAL_VERIFY(box);
    QCOMPARE(m_office->queue()->count(), 1);
}

void TestQueue::moveByHand()
{
    QVERIFY(
        open({run("{a}"), run("{b}", seats({QStringLiteral("{x}")}), object(R"({"finishParam": 60})")), run("{c}")}));
    // What a drop within the list does to it.
    QVERIFY(m_office->queue()->model()->moveRow({}, 1, {}, 0));
    QCOMPARE(desk().names(), ::publication());
    JSON_CONTAINS(desk().last(Answer), object(R"({"forceReload": true, "runQueue": {
        "currentRun": {"runQueueGuid": "{b}"},
        "pendingRuns": [{"runQueueGuid": "{a}"}, {"runQueueGuid": "{c}"}]}})"));
    JSON_COMPARE(desk().last(Remote), (QJsonObject{{QStringLiteral("req_answ"), desk().last(Answer)}}));
    for (int row = 0; row < 3; ++row)
        QCOMPARE(TrackOffice::startButton(m_office->run(row))->isEnabled(), row == 0);
    const QVector<qint64> times = starts();
    QCOMPARE(times.at(1) - times.at(0), Q_INT64_C(240));
    QCOMPARE(times.at(2) - times.at(1), Q_INT64_C(780));
}

void TestQueue::parametersReachTheHost()
{
    QVERIFY(open({run("{a}"), run("{b}")}));
    const ModalAnswer dialog = ModalAnswer::dialog(text("Параметры заезда"), [](QDialog *opened) {
        child<QSpinBox *>(opened, "sbFinishTime")->setValue(20);
        accept(opened);
    });
    QTest::mouseDClick(m_office->run(0), Qt::LeftButton, Qt::NoModifier, TrackOffice::title().center());
    MODAL_VERIFY(dialog);
    QCOMPARE(desk().names(), QStringList{QStringLiteral("update_run_params")} + ::publication());
    JSON_COMPARE(desk().last(QStringLiteral("update_run_params")),
                 object(R"({"runQueueGuid": "{a}", "finishParam": 20})"));
    // The run behind it moves at once.
    const QJsonObject queue = desk().last(Answer).value(QLatin1String("runQueue")).toObject();
    QCOMPARE(seconds(queue.value(QLatin1String("pendingRuns"))[0][QLatin1String("runStartTime")])
                 - seconds(queue.value(QLatin1String("currentRun"))[QLatin1String("runStartTime")]),
             Q_INT64_C(1380));
}

void TestQueue::startButtons()
{
    QVERIFY(open({run("{a}"), run("{b}"), run("{c}")}));
    const auto enabled = [&] {
        QString text;
        for (int row = 0; row < m_office->queue()->count(); ++row)
            text += QLatin1Char(TrackOffice::startButton(m_office->run(row))->isEnabled() ? '1' : '0');
        return text;
    };
    QCOMPARE(enabled(), QStringLiteral("100"));
    select({0});
    push("bRemoveRun");
    QCOMPARE(enabled(), QStringLiteral("10"));
    addByDialog(accept);
    QCOMPARE(enabled(), QStringLiteral("100"));
}

namespace {

int failed(const char *what, const HostProbe &desk)
{
    ChildDesk::say(QByteArray("failed: ") + what + "; events: " + desk.names().join(QLatin1Char(' ')).toUtf8());
    return 1;
}

QVector<qint64> plannedTimes(const HostProbe &desk)
{
    const QJsonObject queue = desk.last(Answer).value(QLatin1String("runQueue")).toObject();
    return {seconds(queue.value(QLatin1String("currentRun"))[QLatin1String("runStartTime")]),
            seconds(queue.value(QLatin1String("pendingRuns"))[0][QLatin1String("runStartTime")])};
}

int minute(const TempTrack &track, const QString &clock, bool fixed)
{
    HostProbe desk(QStringLiteral(LAPVANE_PLUGIN_FILE));
    if (!desk.start())
        return failed("start", desk);
    HostProbe::settle(200);
    if (!desk.names().isEmpty())
        return failed("published too early", desk);
    track.removeJournal(Runs);
    QFile file(clock);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return failed("clock", desk);
    file.write("+61\n");
    file.close();
    const qint64 before = now();
    if (!desk.waitFor(Answer))
        return failed("no publication", desk);
    const qint64 after = now();
    if (desk.names() != ::publication() || desk.last(Answer).contains(QStringLiteral("forceReload")))
        return failed("sequence", desk);
    const QVector<qint64> times = plannedTimes(desk);
    if (fixed && times != QVector<qint64>{1000, 5000})
        return failed("fixed times have moved", desk);
    if (!fixed && (times.at(0) < before + 180 || times.at(0) > after + 180 || times.at(1) != times.at(0) + 780))
        return failed("the queue has not moved with the clock", desk);
    if (!track.readJournal(Runs).contains("\"startTime\":" + QByteArray::number(times.at(1))))
        return failed("journal", desk);
    return 0;
}

// A host that is told to quit while the removal question is open.
int quitInTheMiddle()
{
    HostProbe desk(QStringLiteral(LAPVANE_PLUGIN_FILE));
    if (!desk.start())
        return failed("start", desk);
    bool asked = false;
    QTimer::singleShot(0, desk.tab(), [&] {
        QTimer::singleShot(300, qApp, [&] {
            asked = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
            QCoreApplication::quit();
        });
        desk.find<QListWidget *>(QStringLiteral("lwRunsList"))->item(0)->setSelected(true);
        desk.find<QPushButton *>(QStringLiteral("bRemoveRun"))->click();
    });
    QApplication::exec();
    if (!asked)
        return failed("no question", desk);
    return desk.unload() ? 0 : failed("unload", desk);
}

int runChild(const QString &role, const QStringList &arguments)
{
    const auto track = TempTrack::fromEnvironment();
    const int result = role == QLatin1String("quit")
                           ? quitInTheMiddle()
                           : minute(*track, arguments.value(0), role.startsWith(QLatin1String("fixed")));
    if (result == 0)
        ChildDesk::say("done");
    return result;
}

} // namespace

DESK_TEST_MAIN_WITH_CHILD(TestQueue, runChild)

#include "tst_queue.moc"
