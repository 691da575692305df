#include "desktest.h"
#include "fulldesk.h"
#include "jsonmatch.h"
#include "realscreen.h"

#include <QCursor>
#include <QDrag>
#include <QDragMoveEvent>
#include <QPointer>
#include <QScreen>
#include <QSignalSpy>
#include <QThread>
#include <QUuid>
#include <QWindow>

#include <memory>

Q_DECLARE_METATYPE(const QObject *)

/// Racers and runs dragged with a real pointer: an X server of its own, a window manager, a button that goes down and
/// comes up. The desk lives in a child of the test program, which has the display that this one starts.
class TestDragPointer : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everythingUnderThePointer();
};

/// Sees where pointer and drag have come to, as the window of the desk is told.
class PointerWitness : public QObject
{
    Q_OBJECT

public:
    PointerWitness() { qApp->installEventFilter(this); }
    bool eventFilter(QObject *watched, QEvent *event) override;

    QPoint dragAt; ///< in pixels of the screen
    QPoint pointerAt;
};

/// What the child does on that display.
class PointerOverTheDesk : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void lineIntoRuns();
    void mixedSelectionIntoARun();
    void lineOverItsOwnList();
    void unpaidLine();
    void lineOverARunThatRefuses_data();
    void lineOverARunThatRefuses();
    void racerIntoAnotherRun();
    void racerOverARunThatHasHim();
    void racerOntoHisOwnRun();
    void racerBackToTheList();
    void pastRacerToTheList();
    void pastRacerOverTheQueue();
    void racerOverThePast();
    void rowWithinTheQueue_data();
    void rowWithinTheQueue();
    void rowOverTheCurrentRun();
    void rowsThatStay_data();
    void rowsThatStay();
    void rowOntoItself_data();
    void rowOntoItself();
    void runClosesUnderARow();
    void sourceRunCloses_data();
    void sourceRunCloses();
    void targetRunCloses();
    void otherRunCloses();

private:
    /// Where the hand takes hold of something.
    struct Grip
    {
        QPointer<QWidget> widget;
        QPoint where;
    };
    using Work = std::function<void()>;

    bool open();
    Grip line(int row) const { return {m_desk->list()->viewport(), m_desk->place(m_desk->at(row))}; }
    static Grip seat(QWidget *run, int index) { return {run, TrackOffice::cell(run, index).center()}; }
    static Grip title(QWidget *run) { return {run, TrackOffice::title().center()}; }

    /// Steps of the hand.
    QVector<Hand::Step> press(const Grip &grip) const;
    QVector<Hand::Step> pull(const Grip &grip, bool drags) const;
    QVector<Hand::Step> carryTo(const Grip &place) const;
    static QVector<Hand::Step> meanwhile(const Work &work);
    QVector<Hand::Step> dragEnds() const;
    QVector<Hand::Step> letGo() const;
    /// All of them: picks something up, carries it somewhere, does something there, lets it go.
    QString drag(const Grip &from, const Grip &to, const Work &work = {}) const;

    bool isDragging() const;
    /// The picture at the pointer.
    QImage carriedPicture() const;
    /// What stands on the screen.
    static QColor shown(const Grip &place);
    void closeRun(const QString &guid) const;

    std::unique_ptr<FullDesk> m_desk;
    std::unique_ptr<PointerWitness> m_witness;
};

#define HAND_VERIFY(steps) \
    do { \
        const QString wrong_ = steps; \
        QVERIFY2(wrong_.isEmpty(), qPrintable(wrong_)); \
    } while (false)

namespace {

using JsonMatch::object;

const QString RunA = QStringLiteral("{run-a}");
const QString RunB = QStringLiteral("{run-b}");
const QString RunC = QStringLiteral("{run-c}");
const QString Anna = QStringLiteral("{anna}");
const QString Boris = QStringLiteral("{boris}");
const QString Vera = QStringLiteral("{vera}");
const QString Preset = QStringLiteral("replace_run_preset");
const QString Answer = QStringLiteral("local_request_answer");

int darkPixels(const QImage &picture, const QRect &area)
{
    int dark = 0;
    for (int y = area.top(); y <= area.bottom(); ++y) {
        for (int x = area.left(); x <= area.right(); ++x) {
            const QRgb pixel = picture.pixel(x, y);
            dark += qAlpha(pixel) == 255 && qGray(pixel) < 90;
        }
    }
    return dark;
}

/// Three runs with one racer each.
QVector<TrackOffice::Run> threeRuns()
{
    return {{RunA, {TrackOffice::seat(Anna, -1001)}},
            {RunB, {TrackOffice::seat(Boris, -1001)}},
            {RunC, {TrackOffice::seat(Vera, -1001)}}};
}

} // namespace

void TestDragPointer::everythingUnderThePointer()
{
    RealScreen screen;
    const QString broken = screen.start();
    QVERIFY2(broken.isEmpty(), qPrintable(broken));
    const QString wrong = screen.run(QStringLiteral("pointer"), 170000);
    QVERIFY2(wrong.isEmpty(), qPrintable(wrong));
}

bool PointerWitness::eventFilter(QObject *watched, QEvent *event)
{
    auto *window = qobject_cast<QWindow *>(watched);
    if (window && (event->type() == QEvent::DragEnter || event->type() == QEvent::DragMove))
        dragAt = window->mapToGlobal(static_cast<QDropEvent *>(event)->pos());
    else if (window && event->type() == QEvent::MouseMove)
        pointerAt = static_cast<QMouseEvent *>(event)->globalPos();
    return false;
}

void PointerOverTheDesk::init()
{
    QCOMPARE(QGuiApplication::platformName(), QStringLiteral("xcb"));
    qRegisterMetaType<const QObject *>("const QObject*");
    m_desk = std::make_unique<FullDesk>();
    m_witness = std::make_unique<PointerWitness>();
}

void PointerOverTheDesk::cleanup()
{
    Hand::release();
    m_witness.reset();
    m_desk.reset();
}

bool PointerOverTheDesk::open()
{
    if (!m_desk->open(QSize(1880, 940)))
        return false;
    // The window manager may still be putting the window into its frame.
    QPoint corner = m_desk->desk().tab()->mapToGlobal(QPoint());
    for (int still = 0; still < 5; ++still) {
        HostProbe::settle(20);
        const QPoint now = m_desk->desk().tab()->mapToGlobal(QPoint());
        if (now != corner)
            still = 0;
        corner = now;
    }
    return true;
}

// A drag has a loop of its own, inside the one that the hand waits in.
bool PointerOverTheDesk::isDragging() const
{
    return QThread::currentThread()->loopLevel() > 0 && m_desk->desk().tab()->findChild<QDrag *>();
}

QImage PointerOverTheDesk::carriedPicture() const
{
    const auto *drag = m_desk->desk().tab()->findChild<QDrag *>();
    return drag ? drag->pixmap().toImage().convertToFormat(QImage::Format_ARGB32) : QImage();
}

QColor PointerOverTheDesk::shown(const Grip &place)
{
    const QPoint at = place.widget->mapToGlobal(place.where);
    return QGuiApplication::primaryScreen()->grabWindow(0, at.x(), at.y(), 1, 1).toImage().pixelColor(0, 0);
}

void PointerOverTheDesk::closeRun(const QString &guid) const
{
    m_desk->desk().send(QStringLiteral("run_closed"), {{QStringLiteral("runQueueGuid"), guid}});
}

QVector<Hand::Step> PointerOverTheDesk::press(const Grip &grip) const
{
    const auto place = [grip] { return grip.widget->mapToGlobal(grip.where); };
    return {{"the pointer goes to its place", [place] { return Hand::moveTo(place()); },
             [place] { return QCursor::pos() == place(); }},
            {"the button goes down", [] { return Hand::press(); },
             [] { return QGuiApplication::mouseButtons() == Qt::LeftButton; }}};
}

QVector<Hand::Step> PointerOverTheDesk::pull(const Grip &grip, bool drags) const
{
    QVector<Hand::Step> steps;
    for (int way = 3; way <= QApplication::startDragDistance() + 6; way += 3) {
        const auto place = [grip, way] { return grip.widget->mapToGlobal(grip.where + QPoint(way, 0)); };
        steps.append({"the hand pulls", [place] { return Hand::moveTo(place()); },
                      [this, place] { return isDragging() || m_witness->pointerAt == place(); }});
    }
    if (drags)
        steps.append({"a drag begins", {}, [this] { return isDragging(); }});
    return steps;
}

QVector<Hand::Step> PointerOverTheDesk::carryTo(const Grip &place) const
{
    QVector<Hand::Step> steps;
    for (const QPoint &way : {QPoint(7, 2), QPoint(0, 0)}) {
        const auto at = [place, way] { return place.widget->mapToGlobal(place.where - way); };
        // A drag does not ask again about every pixel while it waits for an answer; a hand is never quite still.
        const auto waver = std::make_shared<int>(0);
        steps.append({"the drag reaches a place", [at] { return Hand::moveTo(at()); },
                      [this, at, waver] {
                          if (m_witness->dragAt == at())
                              return true;
                          ++*waver;
                          if (*waver % 40 == 20)
                              Hand::moveTo(at() + QPoint(2, 1));
                          else if (*waver % 40 == 0)
                              Hand::moveTo(at());
                          return false;
                      }});
    }
    return steps;
}

QVector<Hand::Step> PointerOverTheDesk::meanwhile(const Work &work)
{
    return {{"something happens meanwhile",
             [work] {
                 if (work)
                     work();
                 return true;
             },
             {}}};
}

QVector<Hand::Step> PointerOverTheDesk::dragEnds() const
{
    return {{"the drag ends", {}, [this] { return !isDragging(); }}};
}

QVector<Hand::Step> PointerOverTheDesk::letGo() const
{
    return {{"the button comes up", [] { return Hand::release(); },
             [this] { return !isDragging() && QGuiApplication::mouseButtons() == Qt::NoButton; }}};
}

QString PointerOverTheDesk::drag(const Grip &from, const Grip &to, const Work &work) const
{
    return Hand::perform(press(from) + pull(from, true) + carryTo(to) + meanwhile(work) + letGo());
}

// Three runs on the second row of five.
void PointerOverTheDesk::lineIntoRuns()
{
    m_desk->seedQueue({{"{r0}"_s}, {"{r1}"_s}, {"{r2}"_s}, {"{r3}"_s}, {"{r4}"_s}});
    m_desk->seedList({FullDesk::line(Boris), FullDesk::line(Anna, 3)});
    QVERIFY(open());
    QImage badge;
    HAND_VERIFY(drag(line(1), title(m_desk->run(1)), [&] { badge = carriedPicture(); }));
    QCOMPARE(m_desk->desk().names(), seated() + seated() + seated() + listed() + publication());
    QCOMPARE(m_desk->seats(), "|{anna}|{anna}|{anna}|"_s);
    QCOMPARE(m_desk->waiting(), QStringList{Boris});
    QCOMPARE(badge.size(), QSize(64, 64));
    for (const QPoint &inside : {QPoint(3, 3), QPoint(60, 60)})
        QCOMPARE(badge.pixelColor(inside), QColor(255, 128, 0));
    for (const QPoint &edge : {QPoint(0, 0), QPoint(63, 32), QPoint(32, 63)})
        QCOMPARE(badge.pixelColor(edge), QColor(Qt::black));
    QVERIFY(darkPixels(badge, QRect(8, 24, 48, 16)) > 10);
}

void PointerOverTheDesk::mixedSelectionIntoARun()
{
    m_desk->seedQueue({{RunA}, {RunB}});
    m_desk->seedList(
        {FullDesk::line(Anna), FullDesk::line(Boris, 1, object(R"({"payState": false})")), FullDesk::line(Vera)});
    QVERIFY(open());
    m_desk->select({m_desk->at(0), m_desk->at(1), m_desk->at(2)});
    QImage badge;
    HAND_VERIFY(drag(line(0), title(m_desk->run(1)), [&] { badge = carriedPicture(); }));
    QCOMPARE(m_desk->desk().names(), seated() + seated() + listed() + listed() + publication());
    QCOMPARE(m_desk->seats(), "|{anna} {vera}"_s);
    QCOMPARE(m_desk->waiting(), QStringList{Boris});
    // Three cards, one behind the other, and how many there are.
    for (const QPoint &card : {QPoint(2, 2), QPoint(52, 6), QPoint(60, 60)})
        QCOMPARE(badge.pixelColor(card), QColor(Qt::white));
    for (const QPoint &outside : {QPoint(60, 2), QPoint(2, 60)})
        QCOMPARE(badge.pixelColor(outside).alpha(), 0);
    QVERIFY(darkPixels(badge, QRect(20, 24, 30, 16)) > 5);
}

void PointerOverTheDesk::lineOverItsOwnList()
{
    m_desk->seedList({FullDesk::line(Anna), FullDesk::line(Boris), FullDesk::line(Vera)});
    QVERIFY(open());
    // Putting a line back onto its own list would not change it either: that the list refuses shows at its side.
    const QSignalSpy out(m_desk->list(), SIGNAL(itemsDroppedOut(QJsonArray, const QObject *)));
    QVERIFY(out.isValid());
    HAND_VERIFY(drag(line(2), line(0)));
    QCOMPARE(out.count(), 0);
    QCOMPARE(m_desk->desk().names(), QStringList());
    QCOMPARE(m_desk->waiting(), QStringList({Anna, Boris, Vera}));
}

void PointerOverTheDesk::unpaidLine()
{
    m_desk->seedQueue({{RunA}});
    m_desk->seedList({FullDesk::line(Anna, 1, object(R"({"payState": false})"))});
    QVERIFY(open());
    bool dragged = true;
    HAND_VERIFY(
        Hand::perform(press(line(0)) + pull(line(0), false) + meanwhile([&] { dragged = isDragging(); }) + letGo()));
    QVERIFY(!dragged);
    QCOMPARE(m_desk->desk().names(), QStringList());
    QCOMPARE(m_desk->waiting(), QStringList{Anna});
}

void PointerOverTheDesk::lineOverARunThatRefuses_data()
{
    QTest::addColumn<QJsonObject>("run");
    QTest::addColumn<QJsonObject>("sitting");
    QTest::newRow("locked") << object(R"({"runLocked": true})") << object("{}");
    QTest::newRow("full") << object(R"({"maxRacersInRun": 1})") << object("{}");
    QTest::newRow("sits there") << object("{}") << object(R"({"uuid": "{anna}"})");
    QTest::newRow("no car left") << object("{}") << object("{}");
}

void PointerOverTheDesk::lineOverARunThatRefuses()
{
    QFETCH(QJsonObject, run);
    QFETCH(QJsonObject, sitting);
    m_desk->seedQueue({{RunA, {TrackOffice::seat(Boris, -1001, sitting)}, run}});
    m_desk->seedList({FullDesk::line(Anna)});
    QVERIFY(open());
    m_desk->sendCars({TrackOffice::car(1, "Sodi"_s, "1"_s)});
    const QString before = m_desk->seats();
    HAND_VERIFY(drag(line(0), title(m_desk->run(0))));
    QCOMPARE(m_desk->desk().names(), QStringList());
    QCOMPARE(m_desk->seats(), before);
    QCOMPARE(m_desk->waiting(), QStringList{Anna});
}

void PointerOverTheDesk::racerIntoAnotherRun()
{
    m_desk->seedQueue(
        {{RunA,
          {TrackOffice::seat(Boris, -1001), TrackOffice::seat(Anna, -1002, object(R"({"carId": 4, "carNum": "9"})"))}},
         {RunB, {TrackOffice::seat(Vera, -1001)}}});
    QVERIFY(open());
    const QJsonObject anna = m_desk->racer(0, Anna);
    QWidget *source = m_desk->run(0);
    const Grip inTheCell{source, TrackOffice::cell(source, 1).topLeft() + QPoint(5, 32)};
    QCOMPARE(shown(inTheCell), QColor(255, 128, 0));
    QImage picture;
    QColor leftBehind;
    HAND_VERIFY(drag(seat(source, 1), title(m_desk->run(1)), [&] {
        picture = carriedPicture();
        leftBehind = shown(inTheCell);
    }));
    QCOMPARE(m_desk->desk().names(), seated() + seated());
    const QVector<QJsonObject> presets = m_desk->desk().payloads(Preset);
    JSON_CONTAINS(presets.at(0), object(R"({"runQueueGuid": "{run-b}", "preset": [{"name": "{vera}"},
        {"name": "{anna}", "carId": 4, "competitorId": -1002, "sourceSet": true}]})"));
    JSON_CONTAINS(presets.at(1), object(R"({"runQueueGuid": "{run-a}", "preset": [{"name": "{boris}"}]})"));
    QCOMPARE(m_desk->seats(), "{boris}|{vera} {anna}"_s);
    JSON_COMPARE(m_desk->racer(1, Anna), anna);
    QCOMPARE(leftBehind, QColor(Qt::gray));
    QCOMPARE(picture.size(), QSize(64, 64));
    QCOMPARE(picture.pixelColor(3, 3), QColor(255, 128, 0));
    for (const QPoint &edge : {QPoint(0, 32), QPoint(63, 3), QPoint(32, 0), QPoint(3, 63)})
        QCOMPARE(picture.pixelColor(edge), QColor(Qt::black));
    QVERIFY(darkPixels(picture, QRect(8, 24, 48, 16)) > 10);
    // The list below saw the press and not the release. That must not make a row hang at the pointer as it passes by.
    QVector<Hand::Step> passing;
    for (int row = 0; row < 2; ++row) {
        const auto place = [this, row] { return m_desk->run(row)->mapToGlobal(QPoint(60, 20)); };
        passing.append({"the pointer passes by", [place] { return Hand::moveTo(place()); },
                        [this, place] { return m_witness->pointerAt == place(); }});
    }
    m_desk->desk().clear();
    HAND_VERIFY(Hand::perform(passing));
    QVERIFY(!isDragging());
    QCOMPARE(m_desk->desk().names(), QStringList());
}

void PointerOverTheDesk::racerOverARunThatHasHim()
{
    m_desk->seedQueue({{RunA, {TrackOffice::seat(Anna, -1001)}}, {RunB, {TrackOffice::seat(Anna, -1001)}}});
    QVERIFY(open());
    const Grip inTheCell{m_desk->run(0), TrackOffice::cell(m_desk->run(0), 0).topLeft() + QPoint(5, 32)};
    HAND_VERIFY(drag(seat(m_desk->run(0), 0), title(m_desk->run(1))));
    QCOMPARE(m_desk->desk().names(), QStringList());
    QCOMPARE(m_desk->seats(), "{anna}|{anna}"_s);
    QTRY_COMPARE(shown(inTheCell), QColor(255, 128, 0));
}

void PointerOverTheDesk::racerOntoHisOwnRun()
{
    m_desk->seedQueue({{RunA, {TrackOffice::seat(Anna, -1001), TrackOffice::seat(Boris, -1002)}}});
    QVERIFY(open());
    const Grip inTheCell{m_desk->run(0), TrackOffice::cell(m_desk->run(0), 0).topLeft() + QPoint(5, 32)};
    QColor leftBehind;
    HAND_VERIFY(drag(seat(m_desk->run(0), 0), title(m_desk->run(0)), [&] { leftBehind = shown(inTheCell); }));
    QCOMPARE(leftBehind, QColor(Qt::gray));
    QCOMPARE(m_desk->desk().names(), QStringList());
    QCOMPARE(m_desk->seats(), "{anna} {boris}"_s);
    QTRY_COMPARE(shown(inTheCell), QColor(255, 128, 0));
}

void PointerOverTheDesk::racerBackToTheList()
{
    m_desk->seedQueue({{RunA,
                        {TrackOffice::seat(Boris, -1001),
                         TrackOffice::seat(Anna, -1002, object(R"({"carId": 4, "lastName": "Ким"})"))}}});
    m_desk->seedList({FullDesk::line(Vera)});
    QVERIFY(open());
    HAND_VERIFY(drag(seat(m_desk->run(0), 1), line(0)));
    QCOMPARE(m_desk->desk().names(), listed() + seated());
    JSON_CONTAINS(m_desk->desk().last(Preset),
                  object(R"({"runQueueGuid": "{run-a}", "preset": [{"name": "{boris}"}]})"));
    QCOMPARE(m_desk->seats(), Boris);
    const QVector<QJsonObject> lines = m_desk->lines();
    QCOMPARE(lines.size(), 2);
    JSON_CONTAINS(lines.at(0), object(R"({"uuid": "{anna}", "lastName": "Ким", "payState": true, "carId": -1,
        "salesItem": "", "runCount": 1})"));
}

void PointerOverTheDesk::pastRacerToTheList()
{
    QJsonObject past = TrackOffice::pastRun("{past-run}"_s, 10);
    m_desk->seedHistory({past});
    m_desk->seedList({FullDesk::line(Vera)});
    QVERIFY(open());
    const QVector<QJsonObject> history = m_desk->pastRuns();
    HAND_VERIFY(drag(seat(m_desk->pastRun(0), 0), line(0)));
    QCOMPARE(m_desk->desk().names(), listed());
    const QVector<QJsonObject> lines = m_desk->lines();
    QCOMPARE(lines.size(), 2);
    JSON_CONTAINS(lines.at(0), object(R"({"payState": false, "carId": -1, "runCount": 1})"));
    const QString uuid = lines.at(0).value(QLatin1String("uuid")).toString();
    QVERIFY(uuid != "{past}"_s && !QUuid(uuid).isNull());
    QCOMPARE(m_desk->pastRuns(), history);
}

void PointerOverTheDesk::pastRacerOverTheQueue()
{
    m_desk->seedQueue({{RunA}});
    m_desk->seedHistory({TrackOffice::pastRun("{past-run}"_s, 10)});
    QVERIFY(open());
    const QVector<QJsonObject> history = m_desk->pastRuns();
    HAND_VERIFY(drag(seat(m_desk->pastRun(0), 0), title(m_desk->run(0))));
    QCOMPARE(m_desk->desk().names(), QStringList());
    QCOMPARE(m_desk->seats(), QString());
    QCOMPARE(m_desk->pastRuns(), history);
}

void PointerOverTheDesk::racerOverThePast()
{
    m_desk->seedQueue({{RunA, {TrackOffice::seat(Anna, -1001)}}});
    m_desk->seedHistory({TrackOffice::pastRun("{past-run}"_s, 10)});
    QVERIFY(open());
    const QVector<QJsonObject> history = m_desk->pastRuns();
    HAND_VERIFY(drag(seat(m_desk->run(0), 0), title(m_desk->pastRun(0))));
    QCOMPARE(m_desk->desk().names(), QStringList());
    QCOMPARE(m_desk->seats(), Anna);
    QCOMPARE(m_desk->pastRuns(), history);
}

void PointerOverTheDesk::rowWithinTheQueue_data()
{
    QTest::addColumn<int>("source");
    QTest::addColumn<int>("target");
    QTest::addColumn<QPoint>("where");
    QTest::addColumn<QStringList>("order");
    QTest::newRow("down") << 0 << 1 << QPoint(60, 66) << QStringList{RunB, RunA, RunC};
    QTest::newRow("up") << 2 << 1 << QPoint(60, 6) << QStringList{RunA, RunC, RunB};
    QTest::newRow("to the head") << 2 << 0 << QPoint(60, 6) << QStringList{RunC, RunA, RunB};
    QTest::newRow("below the last") << 0 << 2 << QPoint(60, 100) << QStringList{RunB, RunC, RunA};
    QTest::newRow("upper half") << 2 << 1 << QPoint(60, 28) << QStringList{RunA, RunC, RunB};
    QTest::newRow("lower half") << 0 << 1 << QPoint(60, 44) << QStringList{RunB, RunA, RunC};
}

void PointerOverTheDesk::rowWithinTheQueue()
{
    QFETCH(int, source);
    QFETCH(int, target);
    QFETCH(QPoint, where);
    QFETCH(QStringList, order);
    m_desk->seedQueue(threeRuns());
    QVERIFY(open());
    const QPointer<QWidget> moved = m_desk->run(source);
    HAND_VERIFY(drag(title(m_desk->run(source)), {m_desk->run(target), where}));
    QCOMPARE(m_desk->desk().names(), publication());
    QCOMPARE(m_desk->desk().last(Answer).value(QLatin1String("forceReload")), QJsonValue(true));
    QCOMPARE(m_desk->guids(), order);
    // The run itself went along, and the start button of the first row is the live one.
    QVERIFY(moved && moved->isVisible());
    QCOMPARE(m_desk->run(order.indexOf(threeRuns().at(source).guid)), moved.data());
    for (int row = 0; row < 3; ++row)
        QCOMPARE(TrackOffice::startButton(m_desk->run(row))->isEnabled(), row == 0);
}

// Nothing goes in front of the run on the track.
void PointerOverTheDesk::rowOverTheCurrentRun()
{
    m_desk->seedQueue(threeRuns());
    QVERIFY(open());
    m_desk->desk().send("new_run_started"_s, {{"runQueueGuid"_s, RunA}, {"runId"_s, 5}});
    m_desk->desk().clear();
    // Taken hold of at another place each time, or it would be a double click.
    for (const int y : {3, 60}) {
        HAND_VERIFY(drag({m_desk->run(2), QPoint(40, y)}, {m_desk->run(0), QPoint(60, y)}));
        QCOMPARE(m_desk->desk().names(), QStringList());
    }
    QCOMPARE(m_desk->guids(), QStringList({RunA, RunB, RunC}));
    HAND_VERIFY(drag(title(m_desk->run(2)), {m_desk->run(1), QPoint(60, 6)}));
    QCOMPARE(m_desk->desk().names(), publication());
    QCOMPARE(m_desk->guids(), QStringList({RunA, RunC, RunB}));
}

void PointerOverTheDesk::rowsThatStay_data()
{
    QTest::addColumn<bool>("current");
    QTest::newRow("the current run") << true;
    QTest::newRow("two rows") << false;
}

void PointerOverTheDesk::rowsThatStay()
{
    QFETCH(bool, current);
    m_desk->seedQueue(threeRuns());
    QVERIFY(open());
    if (current) {
        m_desk->desk().send("new_run_started"_s, {{"runQueueGuid"_s, RunA}, {"runId"_s, 5}});
    } else {
        m_desk->queue()->item(0)->setSelected(true);
        m_desk->queue()->item(1)->setSelected(true);
    }
    m_desk->desk().clear();
    HAND_VERIFY(drag(title(m_desk->run(0)), {m_desk->run(2), QPoint(60, 66)}));
    QCOMPARE(m_desk->desk().names(), QStringList());
    QCOMPARE(m_desk->guids(), QStringList({RunA, RunB, RunC}));
    for (int row = 0; row < 3; ++row)
        QVERIFY(m_desk->run(row) && m_desk->run(row)->isVisible());
}

void PointerOverTheDesk::rowOntoItself_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<QPoint>("where");
    for (int row = 0; row < 3; ++row) {
        QTest::addRow("upper edge of row %d", row) << row << QPoint(60, 6);
        QTest::addRow("middle of row %d", row) << row << QPoint(100, 36);
        QTest::addRow("lower edge of row %d", row) << row << QPoint(60, 66);
    }
}

// Let go where it was picked up, a row is moved nowhere, and its run is still in it.
void PointerOverTheDesk::rowOntoItself()
{
    QFETCH(int, row);
    QFETCH(QPoint, where);
    m_desk->seedQueue(threeRuns());
    QVERIFY(open());
    const QPointer<QWidget> run = m_desk->run(row);
    HAND_VERIFY(drag(title(run), {run, where}));
    QCOMPARE(m_desk->desk().names(), QStringList());
    QCOMPARE(m_desk->queue()->count(), 3);
    QVERIFY(run && run->isVisible());
    QCOMPARE(m_desk->run(row), run.data());
    QCOMPARE(m_desk->seats(), QStringList({Anna, Boris, Vera}).join(QLatin1Char('|')));
    QCOMPARE(m_desk->guids(), QStringList({RunA, RunB, RunC}));
}

// Rows are known by their numbers while they hang at the pointer: when one goes, the drag is over.
void PointerOverTheDesk::runClosesUnderARow()
{
    m_desk->seedQueue(threeRuns());
    QVERIFY(open());
    HAND_VERIFY(Hand::perform(press(title(m_desk->run(2))) + pull(title(m_desk->run(2)), true)
                              + carryTo({m_desk->run(1), QPoint(60, 6)}) + meanwhile([this] { closeRun(RunA); })
                              + dragEnds() + letGo()));
    QCOMPARE(m_desk->desk().names(), QStringList());
    QCOMPARE(m_desk->guids(), QStringList({RunB, RunC}));
    QCOMPARE(m_desk->pastGuids(), QStringList{RunA});
    for (int row = 0; row < 2; ++row)
        QVERIFY(m_desk->run(row) && m_desk->run(row)->isVisible());
}

void PointerOverTheDesk::sourceRunCloses_data()
{
    QTest::addColumn<bool>("overTheList");
    QTest::newRow("on the way to a run") << false;
    QTest::newRow("on the way to the list") << true;
}

// The host closes the run out of which a racer is being dragged: the drag is over, and he goes into the past with his run.
void PointerOverTheDesk::sourceRunCloses()
{
    QFETCH(bool, overTheList);
    m_desk->seedQueue(threeRuns());
    m_desk->seedList({FullDesk::line("{dora}"_s)});
    QVERIFY(open());
    const Grip to = overTheList ? line(0) : title(m_desk->run(2));
    HAND_VERIFY(Hand::perform(press(seat(m_desk->run(0), 0)) + pull(seat(m_desk->run(0), 0), true) + carryTo(to)
                              + meanwhile([this] { closeRun(RunA); }) + dragEnds() + letGo()));
    QCOMPARE(m_desk->desk().names(), QStringList());
    QCOMPARE(m_desk->guids(), QStringList({RunB, RunC}));
    QCOMPARE(m_desk->seats(), "{boris}|{vera}"_s);
    QCOMPARE(m_desk->waiting(), QStringList{"{dora}"_s});
    const QVector<QJsonObject> past = m_desk->pastRuns();
    QCOMPARE(past.size(), 1);
    JSON_CONTAINS(past.at(0),
                  object(R"({"runQueueGuid": "{run-a}", "runCompetitors": {"-1001": {"uuid": "{anna}"}}})"));
    // The desk is as good as before.
    HAND_VERIFY(drag(seat(m_desk->run(0), 0), title(m_desk->run(1))));
    QCOMPARE(m_desk->seats(), "|{vera} {boris}"_s);
}

// The host closes the run over which a line of the list hangs: nobody is seated, and the line stays.
void PointerOverTheDesk::targetRunCloses()
{
    m_desk->seedQueue(threeRuns());
    m_desk->seedList({FullDesk::line("{dora}"_s, 2)});
    QVERIFY(open());
    const QVector<QJsonObject> before = m_desk->lines();
    HAND_VERIFY(Hand::perform(press(line(0)) + pull(line(0), true) + carryTo(title(m_desk->run(1)))
                              + meanwhile([this] { closeRun(RunB); }) + dragEnds() + letGo()));
    QCOMPARE(m_desk->desk().names(), QStringList());
    QCOMPARE(m_desk->lines(), before);
    QCOMPARE(m_desk->seats(), "{anna}|{vera}"_s);
    QCOMPARE(m_desk->pastGuids(), QStringList{RunB});
    // A second try goes into the run that took its place.
    HAND_VERIFY(drag(line(0), title(m_desk->run(0))));
    QCOMPARE(m_desk->seats(), "{anna} {dora}|{vera} {dora}"_s);
    QCOMPARE(m_desk->waiting(), QStringList());
}

// A run that has nothing to do with the drag may close under it: the rows move up, the drag goes on.
void PointerOverTheDesk::otherRunCloses()
{
    m_desk->seedQueue(threeRuns());
    m_desk->seedList({FullDesk::line("{dora}"_s)});
    QVERIFY(open());
    const Grip target = title(m_desk->run(2));
    HAND_VERIFY(Hand::perform(press(line(0)) + pull(line(0), true) + carryTo(title(m_desk->run(1)))
                              + meanwhile([this] { closeRun(RunA); }) + carryTo(target) + letGo()));
    QCOMPARE(m_desk->desk().names(), seated() + listed() + publication());
    QCOMPARE(m_desk->seats(), "{boris}|{vera} {dora}"_s);
    QCOMPARE(m_desk->waiting(), QStringList());
}

DESK_TEST_MAIN_WITH_CHILD(TestDragPointer, [](const QString &, const QStringList &) {
    PointerOverTheDesk pointer;
    return QTest::qExec(&pointer, {QCoreApplication::applicationFilePath()});
})
#include "tst_dragpointer.moc"
