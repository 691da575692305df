#include "checkincounter.h"
#include "desktest.h"
#include "jsonmatch.h"
#include "trackoffice.h"

#include <QDrag>
#include <QMimeData>
#include <QTimer>

#include <functional>

/// Racers dragged out of their runs. Wants a platform whose drags have a loop of their own and no desktop around them.
class TestRunDrag : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void shortMoveStartsNoDrag();
    void dragCarriesTheRacer();
    void dragOutOfThePast();
    void draggedIntoAnotherRun();
    void draggedOntoItself();
    void dragOutlivesItsRun_data();
    void dragOutlivesItsRun();
    void dragOutlivesOtherRuns();
};

namespace {

using JsonMatch::object;

const QString RunA = QStringLiteral("{run-a}");
const QString RunB = QStringLiteral("{run-b}");
const QString Anna = QStringLiteral("{anna}");
const QString Boris = QStringLiteral("{boris}");
const QString Json = QStringLiteral("application/json");
QColor orange()
{
    return QColor(QStringLiteral("#ff8000"));
}

QColor at(const QImage &picture, int x, int y)
{
    return QColor(picture.pixel(x, y));
}

QString operator""_s(const char *name, size_t length)
{
    return QString::fromLatin1(name, int(length));
}

// Events go to the widget itself, and not on to its parents.
void deliver(QWidget *to, QEvent *event)
{
    static_cast<QObject *>(to)->event(event);
}

// Notes what the drag of a run carries and cancels it from inside its loop.
class DragWatch : public QObject
{
public:
    explicit DragWatch(QWidget *run)
        : m_run(run)
    {
        connect(&m_timer, &QTimer::timeout, this, [this] {
            const auto *drag = m_run->findChild<QDrag *>();
            if (!drag || m_started)
                return;
            m_started = true;
            note(*drag);
            QDrag::cancel();
        });
        m_timer.start(5);
    }

    bool started() const { return m_started; }

    QByteArray json;
    QByteArray source;
    QStringList formats;
    Qt::DropActions actions;
    QPoint hotSpot;
    QImage image;

private:
    void note(const QDrag &drag)
    {
        json = drag.mimeData()->data(Json);
        formats = drag.mimeData()->formats();
        source = drag.mimeData()->data(QStringLiteral("source"));
        actions = drag.supportedActions();
        hotSpot = drag.hotSpot();
        image = drag.pixmap().toImage().convertToFormat(QImage::Format_ARGB32);
    }

    QWidget *m_run;
    QTimer m_timer;
    bool m_started = false;
};

void moveTo(QWidget *run, const QPoint &where, Qt::MouseButtons buttons)
{
    QMouseEvent event(QEvent::MouseMove, where, run->mapToGlobal(where), Qt::NoButton, buttons, Qt::NoModifier);
    deliver(run, &event);
}

} // namespace

void TestRunDrag::shortMoveStartsNoDrag()
{
    TrackOffice office;
    office.seedQueue({{RunA, {TrackOffice::seat(Anna, -1001)}}});
    QVERIFY(office.open());
    QWidget *run = office.run(0);
    const QPoint start = TrackOffice::cell(run, 0).center();
    DragWatch watch(run);
    QTest::mousePress(run, Qt::LeftButton, Qt::NoModifier, start);
    for (const QPoint &step : {QPoint(3, 0), QPoint(0, 3), QPoint(-3, 2), QPoint(2, 3)})
        moveTo(run, start + step, Qt::LeftButton);
    // Without the button nothing starts, however far.
    moveTo(run, start + QPoint(40, 0), Qt::NoButton);
    moveTo(run, start + QPoint(40, 0), Qt::RightButton);
    QVERIFY(!watch.started());
    // A release clears the press.
    QTest::mouseRelease(run, Qt::LeftButton, Qt::NoModifier, start);
    moveTo(run, start + QPoint(40, 0), Qt::LeftButton);
    QVERIFY(!watch.started());
    // A press on the title block arms nothing.
    QTest::mousePress(run, Qt::LeftButton, Qt::NoModifier, QPoint(60, 30));
    moveTo(run, QPoint(100, 60), Qt::LeftButton);
    QTest::mouseRelease(run, Qt::LeftButton, Qt::NoModifier, QPoint(60, 30));
    QVERIFY(!watch.started());
    QCOMPARE(office.heard(), QStringList());
}

void TestRunDrag::dragCarriesTheRacer()
{
    TrackOffice office;
    office.seedQueue(
        {{RunA,
          {TrackOffice::seat(Anna, -1001),
           TrackOffice::seat(Boris, -1002, object(R"({"carId": 4, "carNum": "9", "competitorState": 2})"))}}});
    QVERIFY(office.open());
    const QJsonObject boris = office.racer(0, Boris);
    QWidget *run = office.run(0);
    const QRect cell = TrackOffice::cell(run, 1);
    const QPoint start = cell.topLeft() + QPoint(10, 30);
    DragWatch watch(run);
    QTest::mousePress(run, Qt::LeftButton, Qt::NoModifier, start);
    const QImage before = TrackOffice::picture(run);
    // Four pixels are enough.
    moveTo(run, start + QPoint(0, 4), Qt::LeftButton);
    QVERIFY(watch.started());
    JSON_COMPARE(object(watch.json.constData()), QJsonObject({{"srcList"_s, QJsonArray{boris}}}));
    QVERIFY(!watch.json.contains('\n'));
    QCOMPARE(watch.source, QByteArray("waitingQueue"));
    QStringList formats = watch.formats;
    formats.sort();
    QCOMPARE(formats, QStringList({Json, "source"_s}));
    QCOMPARE(watch.actions, Qt::DropActions(Qt::MoveAction));
    QCOMPARE(watch.hotSpot, QPoint(10, 30));
    QCOMPARE(watch.image.size(), QSize(64, 64));
    QCOMPARE(at(watch.image, 3, 3), orange());
    QCOMPARE(at(watch.image, 32, 0), QColor(Qt::black));
    QCOMPARE(at(watch.image, 0, 32), QColor(Qt::black));
    QCOMPARE(at(watch.image, 63, 3), QColor(Qt::black));
    // A cancelled drag leaves no trace, and the next one needs a press of its own.
    QVERIFY(TrackOffice::picture(run) == before);
    QCOMPARE(office.heard(), QStringList());
    JSON_COMPARE(office.racer(0, Boris), boris);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    DragWatch again(run);
    moveTo(run, start + QPoint(40, 4), Qt::LeftButton);
    QVERIFY(!again.started());
}

void TestRunDrag::dragOutOfThePast()
{
    TrackOffice office;
    QJsonObject past = TrackOffice::pastRun("{10}"_s, 10);
    past.insert("runCompetitors"_s,
                QJsonObject{{"-1001"_s, TrackOffice::seat(Anna, -1001, object(R"({"carId": 4, "carNum": "9",
                                                                                  "competitorState": 2})"))}});
    office.seedHistory({past});
    QVERIFY(office.open());
    QWidget *run = office.pastRun(0);
    const QPoint start = TrackOffice::cell(run, 0).center();
    DragWatch watch(run);
    QTest::mousePress(run, Qt::LeftButton, Qt::NoModifier, start);
    moveTo(run, start + QPoint(3, 3), Qt::LeftButton);
    QVERIFY(watch.started());
    JSON_COMPARE(object(watch.json.constData()),
                 QJsonObject({{"srcList"_s, QJsonArray{TrackOffice::seat(Anna, -1001, object(R"({"payState": false,
                     "historyItem": true})"))}}}));
    QCOMPARE(watch.source, QByteArray("waitingQueue"));
    QCOMPARE(watch.actions, Qt::DropActions(Qt::CopyAction));
    QCOMPARE(office.heard(), QStringList());
    JSON_CONTAINS(office.pastRuns().at(0).value(QLatin1String("runCompetitors")).toObject(),
                  object(R"({"-1001": {"carId": 4, "carNum": "9", "payState": true, "competitorState": 2}})"));
}

namespace {

// Begins a drag of a seat and does something from inside its loop, once. False if the drag had no loop.
bool dragCell(QWidget *run, int index, const std::function<void()> &inside)
{
    const QPointer<QWidget> guard(run);
    const QPoint start = TrackOffice::cell(run, index).center();
    bool done = false;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, &timer, [&] {
        if (done || !guard || !guard->findChild<QDrag *>())
            return;
        done = true;
        inside();
    });
    timer.start(5);
    QTest::mousePress(run, Qt::LeftButton, Qt::NoModifier, start);
    moveTo(run, start + QPoint(5, 0), Qt::LeftButton);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    return done;
}

} // namespace

void TestRunDrag::draggedIntoAnotherRun()
{
    TrackOffice office;
    office.seedQueue(
        {{RunA,
          {TrackOffice::seat(Boris, -1001), TrackOffice::seat(Anna, -1002, object(R"({"carId": 4, "carNum": "9"})"))}},
         {RunB, {TrackOffice::seat("{other}"_s, -1001)}}});
    QVERIFY(office.open());
    QJsonObject anna = office.racer(0, Anna);
    QVERIFY(dragCell(office.run(0), 1, [&] { office.letGo(office.run(1), QPoint(60, 30)); }));
    const QString preset = "replace_run_preset"_s;
    QCOMPARE(office.desk().names(), QStringList{preset} + publication() + QStringList{preset} + publication());
    const QVector<QJsonObject> presets = office.desk().payloads(preset);
    JSON_CONTAINS(presets.at(0), object(R"({"runQueueGuid": "{run-b}", "preset": [{"name": "{other}"},
        {"name": "{anna}", "carId": 4, "competitorId": -1002, "sourceSet": true}]})"));
    JSON_CONTAINS(presets.at(1), object(R"({"runQueueGuid": "{run-a}", "preset": [{"name": "{boris}"}]})"));
    JSON_COMPARE(office.racer(0, Anna), QJsonObject());
    JSON_COMPARE(office.racer(1, Anna), anna);
    // The highlight went with the racer.
    office.queue()->clearSelection();
    office.queue()->item(0)->setSelected(true);
    QCOMPARE(office.carEntries().size(), 0);
}

void TestRunDrag::draggedOntoItself()
{
    TrackOffice office;
    office.seedQueue({{RunA, {TrackOffice::seat(Anna, -1001)}}});
    QVERIFY(office.open());
    const QJsonObject anna = office.racer(0, Anna);
    QWidget *run = office.run(0);
    TrackOffice::clickCell(run, 0);
    const QImage before = TrackOffice::picture(run);
    QColor during;
    QVERIFY(dragCell(run, 0, [&] {
        during = at(TrackOffice::picture(run), 190, 40);
        office.letGo(run, QPoint(60, 60));
    }));
    QCOMPARE(during, QColor(Qt::gray));
    QCOMPARE(office.heard(), QStringList());
    JSON_COMPARE(office.racer(0, Anna), anna);
    QVERIFY(TrackOffice::picture(run) == before);
}

void TestRunDrag::dragOutlivesItsRun_data()
{
    QTest::addColumn<QString>("closed");
    QTest::addColumn<bool>("dropped");
    QTest::newRow("source, cancelled") << RunA << false;
    QTest::newRow("source, dropped") << RunA << true;
    QTest::newRow("target, cancelled") << RunB << false;
}

// The host closes the run while one of its racers, or one meant for it, hangs at the pointer.
void TestRunDrag::dragOutlivesItsRun()
{
    QFETCH(QString, closed);
    QFETCH(bool, dropped);
    TrackOffice office;
    office.seedQueue({{RunA, {TrackOffice::seat(Anna, -1001)}},
                      {RunB, {TrackOffice::seat(Boris, -1001)}},
                      {"{run-c}"_s, {TrackOffice::seat("{other}"_s, -1001)}}});
    QVERIFY(office.open());
    const QJsonObject last = office.runs().at(2).value(QLatin1String("runCompetitors")).toObject();
    const QPointer<QWidget> target(office.run(1));
    QVERIFY(dragCell(office.run(0), 0, [&] {
        office.desk().send("run_closed"_s, {{"runQueueGuid"_s, closed}});
        HostProbe::settle(20);
        if (dropped)
            office.letGo(target, QPoint(60, 30));
        else
            QDrag::cancel();
    }));
    QCoreApplication::processEvents();
    const QVector<QJsonObject> past = office.pastRuns();
    QCOMPARE(past.size(), 1);
    QCOMPARE(past.at(0).value(QLatin1String("runQueueGuid")).toString(), closed);
    // The archived run keeps its racer, and nobody else lost his seat.
    QCOMPARE(past.at(0).value(QLatin1String("runCompetitors")).toObject().size(), 1);
    QCOMPARE(office.guids(), QStringList({closed == RunA ? RunB : RunA, "{run-c}"_s}));
    JSON_COMPARE(office.runs().at(1).value(QLatin1String("runCompetitors")).toObject(), last);
    QVERIFY(!office.racer(0, closed == RunA ? Boris : Anna).isEmpty());
}

// A run that has nothing to do with a drag may close without ending it, also when an earlier drag of a racer left the
// list of runs behind with a press that was never released.
void TestRunDrag::dragOutlivesOtherRuns()
{
    TrackOffice office;
    office.seedQueue({{RunA, {TrackOffice::seat(Anna, -1001)}},
                      {RunB, {TrackOffice::seat(Boris, -1001)}},
                      {"{run-c}"_s, {TrackOffice::seat("{other}"_s, -1001)}}});
    QVERIFY(office.open());
    QVERIFY(office.drag(office.run(0), TrackOffice::cell(office.run(0), 0).center(), [](QDrag *) { QDrag::cancel(); }));
    QCOMPARE(office.guids(), QStringList({RunA, RunB, "{run-c}"_s}));

    QVERIFY(office.drag(office.run(1), TrackOffice::cell(office.run(1), 0).center(), [&](QDrag *) {
        office.desk().send("run_closed"_s, {{"runQueueGuid"_s, RunA}});
        HostProbe::settle(20);
        office.letGo(office.run(1), QPoint(60, 30));
    }));
    QCOMPARE(office.guids(), QStringList({RunB, "{run-c}"_s}));
    JSON_COMPARE(office.racer(0, Boris), QJsonObject());
    QVERIFY(!office.racer(1, Boris).isEmpty());
}

DESK_TEST_MAIN(TestRunDrag)

#include "tst_rundrag.moc"
