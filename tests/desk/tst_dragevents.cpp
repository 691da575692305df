#include "desktest.h"
#include "fulldesk.h"
#include "jsonmatch.h"
#include "vaneplugininterface.h"

#include <QDrag>
#include <QDragEnterEvent>
#include <QDragLeaveEvent>
#include <QJsonDocument>
#include <QMimeData>
#include <QSignalSpy>
#include <QUuid>

#include <memory>

Q_DECLARE_METATYPE(const QObject *)

/// Racers carried between the check-in list, the runs of the queue and those of the past: what goes along, who takes it,
/// and what the host hears. Wants a platform whose drags have a loop of their own and no desktop around them.
class TestDragEvents : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void selectionIsCarried_data();
    void selectionIsCarried();
    void badgeOfOne();
    void badgeOfSeveral();
    void nothingIsCarriedIntoARun();
    void unpaidLineStaysWhereItIs();
    void listRefusesItsOwnLines();
    void ownLinesOverTheList();

    void lineIntoRuns_data();
    void lineIntoRuns();
    void linesIntoARun();
    void familyIntoARun();
    void hostClosesTheRunAtTheDrop_data();
    void hostClosesTheRunAtTheDrop();
    void lineOverOtherPlaces_data();
    void lineOverOtherPlaces();

    void runTakesOrRefuses_data();
    void runTakesOrRefuses();
    void pastRunTakesNobody_data();
    void pastRunTakesNobody();

    void whatTheListTakes_data();
    void whatTheListTakes();
    void pastRegistration();
    void pastRegistrationTwice();
    void pastRegistrationOfAListedClient();
    void pastRegistrationsInOrder();
    void noPastRegistration();
    void spoiltPayload_data();
    void spoiltPayload();

    void runToListMakesALine();
    void runToListFindsItsLine_data();
    void runToListFindsItsLine();
    void pastRacerToList();
    void pastRacerOfAListedClient();
    void pastRacerOverTheQueue();
};

namespace {

using JsonMatch::object;

const QString RunA = QStringLiteral("{run-a}");
const QString RunB = QStringLiteral("{run-b}");
const QString Anna = QStringLiteral("{anna}");
const QString Boris = QStringLiteral("{boris}");
const QString Vera = QStringLiteral("{vera}");
const QString Json = QStringLiteral("application/json");
const QString Source = QStringLiteral("source");
const QString Preset = QStringLiteral("replace_run_preset");

QVector<TrackOffice::Run> emptyRuns(int count)
{
    QVector<TrackOffice::Run> runs;
    for (int i = 0; i < count; ++i)
        runs.append({QStringLiteral("{run%1}").arg(i)});
    return runs;
}

QJsonArray pastWith(const QVector<QJsonObject> &seats)
{
    QJsonObject past = TrackOffice::pastRun(QStringLiteral("{past-run}"), 10);
    QJsonObject racers;
    for (const QJsonObject &seat : seats)
        racers.insert(QString::number(seat.value(QLatin1String("competitorId")).toInt()), seat);
    past.insert(QStringLiteral("runCompetitors"), racers);
    return {past};
}

std::unique_ptr<QMimeData> payload(const QByteArray &bytes, const QByteArray &source = QByteArray())
{
    auto mime = std::make_unique<QMimeData>();
    mime->setData(Json, bytes);
    if (!source.isNull())
        mime->setData(Source, source);
    return mime;
}

std::unique_ptr<QMimeData> payload(const QJsonObject &content, const QByteArray &source = QByteArray())
{
    return payload(QJsonDocument(content).toJson(QJsonDocument::Compact), source);
}

/// What a widget under a drag says.
struct Said
{
    bool enters = false;
    bool moves = false;
    bool drops = false;
    Qt::DropAction action = Qt::IgnoreAction;
};

/// Brings a payload over a widget with the events that a pointer would send. Dropped only where that is wanted, as no
/// platform drops what was refused.
Said bring(QWidget *target, const QPoint &where, const QMimeData &mime, bool drop,
           Qt::DropActions actions = Qt::MoveAction)
{
    Said said;
    QDragEnterEvent enter(where, actions, &mime, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(target, &enter);
    said.enters = enter.isAccepted();
    if (!said.enters)
        return said;
    QDragMoveEvent move(where, actions, &mime, Qt::LeftButton, Qt::NoModifier);
    move.setAccepted(true);
    QApplication::sendEvent(target, &move);
    said.moves = move.isAccepted();
    if (said.moves && drop) {
        QDropEvent event(where, actions, &mime, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(target, &event);
        said.drops = event.isAccepted();
        said.action = event.dropAction();
    } else {
        QDragLeaveEvent leave;
        QApplication::sendEvent(target, &leave);
    }
    return said;
}

QColor at(const QImage &picture, int x, int y)
{
    return QColor::fromRgba(picture.pixel(x, y));
}

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

/// What a drag carries, and its picture.
struct Carried
{
    QStringList names;
    QJsonObject content;
    QByteArray bytes;
    QStringList formats;
    Qt::DropActions actions;
    QPoint hotSpot;
    QImage picture;

    explicit Carried(const QDrag &drag)
        : bytes(drag.mimeData()->data(Json))
        , formats(drag.mimeData()->formats())
        , actions(drag.supportedActions())
        , hotSpot(drag.hotSpot())
        , picture(drag.pixmap().toImage().convertToFormat(QImage::Format_ARGB32))
    {
        content = object(bytes.constData());
        const QJsonArray records = content.value(QLatin1String("srcList")).toArray();
        for (const QJsonValue &record : records)
            names.append(record.toObject().value(QLatin1String("uuid")).toString());
    }
};

/// Drags a line into a run.
bool seat(FullDesk &desk, const QModelIndex &cell, int row)
{
    desk.select({cell});
    const bool dragged = desk.drag(desk.list()->viewport(), desk.place(cell),
                                   [&](QDrag *) { desk.letGo(desk.run(row), QPoint(60, 30)); });
    desk.desk().clear();
    return dragged;
}

/// Lines of seated racers are gray.
bool isSeated(const QModelIndex &cell)
{
    return cell.data(Qt::BackgroundRole).value<QBrush>().color() == QColor(Qt::lightGray);
}

} // namespace

void TestDragEvents::initTestCase()
{
    qRegisterMetaType<const QObject *>("const QObject*");
}

void TestDragEvents::selectionIsCarried_data()
{
    QTest::addColumn<QVector<int>>("rows");
    QTest::addColumn<QStringList>("names");
    QTest::newRow("paid") << QVector<int>{0} << QStringList{Anna};
    QTest::newRow("paid and unpaid") << QVector<int>{0, 1} << QStringList{Anna};
    QTest::newRow("unpaid first") << QVector<int>{1, 2} << QStringList{Vera};
    QTest::newRow("two paid and an unpaid one") << QVector<int>{0, 1, 2} << QStringList{Anna, Vera};
    QTest::newRow("in the order of selecting") << QVector<int>{2, 1, 0} << QStringList{Vera, Anna};
    QTest::newRow("without a card") << QVector<int>{0, 3} << QStringList{Anna};
    QTest::newRow("seated already") << QVector<int>{0, 4} << QStringList{Anna};
}

// Only who may go into the runs goes along, without a word about the others.
void TestDragEvents::selectionIsCarried()
{
    QFETCH(QVector<int>, rows);
    QFETCH(QStringList, names);
    FullDesk desk;
    desk.seedQueue(emptyRuns(2));
    desk.seedList({FullDesk::line(Anna), FullDesk::line(Boris, 1, object(R"({"payState": false})")),
                   FullDesk::line(Vera), FullDesk::line("{bare}"_s, 1, object(R"({"salesItem": ""})")),
                   FullDesk::line("{seated}"_s, 1, {{"kidsList"_s, QJsonArray{FullDesk::line("{kid}"_s)}}})});
    QVERIFY(desk.open());
    QVERIFY(seat(desk, desk.at(4), 0));
    const QVector<QJsonObject> before = desk.lines();
    QModelIndexList cells;
    for (const int row : qAsConst(rows))
        cells.append(desk.at(row));
    desk.select(cells);
    std::unique_ptr<Carried> carried;
    // Picked up at a line that may go.
    const QModelIndex grip = rows.contains(0) ? desk.at(0) : desk.at(2);
    QVERIFY(desk.drag(desk.list()->viewport(), desk.place(grip), [&](QDrag *drag) {
        carried = std::make_unique<Carried>(*drag);
        QDrag::cancel();
    }));
    QCOMPARE(carried->names, names);
    QCOMPARE(carried->formats, QStringList{Json});
    QVERIFY(!carried->bytes.contains('\n'));
    QCOMPARE(carried->content.keys(), QStringList{"srcList"_s});
    QCOMPARE(carried->actions, Qt::DropActions(Qt::MoveAction));
    QCOMPARE(carried->hotSpot, QPoint(0, 0));
    QCOMPARE(desk.desk().names(), QStringList());
    QCOMPARE(desk.lines(), before);
}

void TestDragEvents::badgeOfOne()
{
    FullDesk desk;
    desk.seedList({FullDesk::line(Anna), FullDesk::line(Boris, 1, object(R"({"payState": false})"))});
    QVERIFY(desk.open());
    QVector<QImage> pictures;
    for (const QModelIndexList &cells : {QModelIndexList{desk.at(0)}, QModelIndexList{desk.at(0), desk.at(1)}}) {
        desk.select(cells);
        QVERIFY(desk.drag(desk.list()->viewport(), desk.place(desk.at(0)), [&](QDrag *drag) {
            pictures.append(Carried(*drag).picture);
            QDrag::cancel();
        }));
    }
    const QImage &picture = pictures.at(0);
    QCOMPARE(picture.size(), QSize(64, 64));
    QCOMPARE(at(picture, 3, 3), QColor(255, 128, 0));
    QCOMPARE(at(picture, 60, 60), QColor(255, 128, 0));
    for (const QPoint &edge : {QPoint(0, 0), QPoint(63, 0), QPoint(0, 63), QPoint(63, 63), QPoint(32, 63)})
        QCOMPARE(at(picture, edge.x(), edge.y()), QColor(Qt::black));
    // The racer's name stands in the middle.
    QVERIFY(darkPixels(picture, QRect(8, 24, 48, 16)) > 10);
    QCOMPARE(darkPixels(picture, QRect(2, 2, 60, 16)), 0);
    // One unpaid beside a paid one is not counted in the picture either.
    QVERIFY(pictures.at(1) == picture);
}

void TestDragEvents::badgeOfSeveral()
{
    FullDesk desk;
    desk.seedList({FullDesk::line(Anna), FullDesk::line(Boris), FullDesk::line(Vera)});
    QVERIFY(desk.open());
    QVector<QImage> pictures;
    for (const QModelIndexList &cells :
         {QModelIndexList{desk.at(0), desk.at(1)}, QModelIndexList{desk.at(0), desk.at(1), desk.at(2)}}) {
        desk.select(cells);
        QVERIFY(desk.drag(desk.list()->viewport(), desk.place(desk.at(0)), [&](QDrag *drag) {
            pictures.append(Carried(*drag).picture);
            QDrag::cancel();
        }));
    }
    for (const QImage &picture : qAsConst(pictures)) {
        QCOMPARE(picture.size(), QSize(64, 64));
        // Three white cards, each one lower and further to the right, with nothing around them.
        for (const QPoint &card : {QPoint(2, 2), QPoint(52, 6), QPoint(60, 60)})
            QCOMPARE(at(picture, card.x(), card.y()), QColor(Qt::white));
        for (const QPoint &edge : {QPoint(0, 0), QPoint(47, 1), QPoint(1, 47), QPoint(55, 5), QPoint(63, 63)})
            QCOMPARE(at(picture, edge.x(), edge.y()), QColor(Qt::black));
        for (const QPoint &outside : {QPoint(60, 2), QPoint(2, 60), QPoint(50, 2), QPoint(60, 6)})
            QCOMPARE(at(picture, outside.x(), outside.y()).alpha(), 0);
        QVERIFY(darkPixels(picture, QRect(20, 24, 30, 16)) > 5);
    }
    // They say how many there are.
    QVERIFY(pictures.at(0) != pictures.at(1));
}

// A paid line without a card can be picked up, but not seated, and the unpaid one beside it neither: the picture is a white card without a text; when it lands, nobody has moved.
void TestDragEvents::nothingIsCarriedIntoARun()
{
    FullDesk desk;
    desk.seedQueue(emptyRuns(2));
    desk.seedList({FullDesk::line(Anna, 1, object(R"({"salesItem": ""})")),
                   FullDesk::line(Boris, 1, object(R"({"payState": false})"))});
    QVERIFY(desk.open());
    const QVector<QJsonObject> before = desk.lines();
    desk.select({desk.at(0), desk.at(1)});
    QSignalSpy out(desk.list(), SIGNAL(itemsDroppedOut(QJsonArray, const QObject *)));
    std::unique_ptr<Carried> carried;
    QVERIFY(desk.drag(desk.list()->viewport(), desk.place(desk.at(0)), [&](QDrag *drag) {
        carried = std::make_unique<Carried>(*drag);
        desk.letGo(desk.run(1), QPoint(60, 30));
    }));
    QCOMPARE(carried->bytes, QByteArray(R"({"srcList":[]})"));
    QCOMPARE(at(carried->picture, 3, 3), QColor(Qt::white));
    QCOMPARE(at(carried->picture, 63, 63), QColor(Qt::black));
    QCOMPARE(darkPixels(carried->picture, QRect(1, 1, 62, 62)), 0);
    QCOMPARE(out.count(), 1);
    QCOMPARE(out.at(0).at(0).toJsonArray(), QJsonArray());
    QCOMPARE(out.at(0).at(1).value<const QObject *>(), desk.run(1));
    QCOMPARE(desk.desk().names(), publication());
    QCOMPARE(desk.lines(), before);
    QCOMPARE(desk.seats(), "|"_s);
}

// Nobody can pick up an unpaid line.
void TestDragEvents::unpaidLineStaysWhereItIs()
{
    FullDesk desk;
    desk.seedQueue(emptyRuns(1));
    desk.seedList({FullDesk::line(Anna, 1, object(R"({"payState": false})")), FullDesk::line(Boris)});
    QVERIFY(desk.open());
    const QVector<QJsonObject> before = desk.lines();
    desk.select({desk.at(0)});
    QVERIFY(!desk.drag(desk.list()->viewport(), desk.place(desk.at(0)), [](QDrag *) { QDrag::cancel(); }));
    QCOMPARE(desk.desk().names(), QStringList());
    QCOMPARE(desk.lines(), before);
}

void TestDragEvents::listRefusesItsOwnLines()
{
    FullDesk desk;
    desk.seedList({FullDesk::line(Anna), FullDesk::line(Boris)});
    QVERIFY(desk.open());
    const QVector<QJsonObject> before = desk.lines();
    const auto mime = payload(QJsonObject{{"srcList"_s, QJsonArray{desk.lines().at(0)}}});
    const Said said = bring(desk.list()->viewport(), desk.place(desk.at(1)), *mime, true);
    QVERIFY(!said.moves && !said.drops);
    QCOMPARE(desk.desk().names(), QStringList());
    QCOMPARE(desk.lines(), before);
}

void TestDragEvents::ownLinesOverTheList()
{
    FullDesk desk;
    desk.seedList({FullDesk::line(Anna), FullDesk::line(Boris), FullDesk::line(Vera)});
    QVERIFY(desk.open());
    const QVector<QJsonObject> before = desk.lines();
    desk.select({desk.at(2)});
    QSignalSpy out(desk.list(), SIGNAL(itemsDroppedOut(QJsonArray, const QObject *)));
    QSignalSpy in(desk.list()->model(), SIGNAL(itemsDropped(QJsonArray)));
    QVERIFY(in.isValid());
    QVERIFY(desk.drag(desk.list()->viewport(), desk.place(desk.at(2)),
                      [&](QDrag *) { desk.letGo(desk.list()->viewport(), desk.place(desk.at(0))); }));
    QCOMPARE(out.count(), 0);
    QCOMPARE(in.count(), 0);
    QCOMPARE(desk.desk().names(), QStringList());
    QCOMPARE(desk.lines(), before);
}

void TestDragEvents::lineIntoRuns_data()
{
    QTest::addColumn<int>("runs");
    QTest::addColumn<int>("row");
    QTest::addColumn<QString>("seats");
    QTest::newRow("one on the first row") << 1 << 0 << "{anna}||||"_s;
    QTest::newRow("three on the second row") << 3 << 1 << "|{anna}|{anna}|{anna}|"_s;
    QTest::newRow("two on the fourth row") << 2 << 3 << "|||{anna}|{anna}"_s;
    QTest::newRow("two on the last row") << 2 << 4 << "||||{anna}|{anna}"_s;
}

// The drop seats the first run, the rows behind it take the others, then the line leaves the list.
void TestDragEvents::lineIntoRuns()
{
    QFETCH(int, runs);
    QFETCH(int, row);
    QFETCH(QString, seats);
    FullDesk desk;
    desk.seedQueue(emptyRuns(5));
    desk.seedList({FullDesk::line(Boris), FullDesk::line(Anna, runs)});
    QVERIFY(desk.open());
    QJsonObject entry = desk.lines().at(1);
    entry.remove("kidsList"_s);
    desk.select({desk.at(1)});
    QVERIFY(desk.drag(desk.list()->viewport(), desk.place(desk.at(1)),
                      [&](QDrag *) { desk.letGo(desk.run(row), QPoint(60, 30)); }));
    QStringList told = seated();
    for (int seat = 1; seat < runs; ++seat)
        told += row + seat < 5 ? seated() : publication() + seated();
    QCOMPARE(desk.desk().names(), told + listed() + publication());
    const QVector<QJsonObject> presets = desk.desk().payloads(Preset);
    const QStringList guids = desk.guids();
    for (int seat = 0; seat < runs; ++seat) {
        QCOMPARE(presets.at(seat).value("runQueueGuid"_s).toString(), guids.at(row + seat));
        JSON_CONTAINS(presets.at(seat).value("preset"_s).toArray(),
                      (QJsonArray{QJsonObject({{"name"_s, entry.value("name"_s)}, {"competitorId"_s, -1001}})}));
    }
    QCOMPARE(desk.seats(), seats);
    QCOMPARE(desk.waiting(), QStringList{Boris});
    // The seat is the line's record with a number of the run's own.
    entry.insert("competitorId"_s, -1001);
    JSON_CONTAINS(desk.racer(row, Anna), entry);
}

void TestDragEvents::linesIntoARun()
{
    FullDesk desk;
    desk.seedQueue(emptyRuns(2));
    desk.seedList(
        {FullDesk::line(Anna), FullDesk::line(Boris, 1, object(R"({"payState": false})")), FullDesk::line(Vera)});
    QVERIFY(desk.open());
    desk.select({desk.at(0), desk.at(1), desk.at(2)});
    QVERIFY(desk.drag(desk.list()->viewport(), desk.place(desk.at(0)),
                      [&](QDrag *) { desk.letGo(desk.run(0), QPoint(60, 30)); }));
    QCOMPARE(desk.desk().names(), seated() + seated() + listed() + listed() + publication());
    QCOMPARE(desk.seats(), "{anna} {vera}|"_s);
    QCOMPARE(desk.waiting(), QStringList{Boris});
}

// A minor of a paid family may go alone; the family stays on the list until its last member is seated.
void TestDragEvents::familyIntoARun()
{
    FullDesk desk;
    desk.seedQueue(emptyRuns(2));
    const QJsonObject kid = FullDesk::line(Vera, 1, object(R"({"payState": false})"));
    desk.seedList({FullDesk::line(Anna, 1, {{"kidsList"_s, QJsonArray{kid}}})});
    QVERIFY(desk.open());
    desk.select({desk.kidAt(0, 0)});
    QVERIFY(desk.drag(desk.list()->viewport(), desk.place(desk.kidAt(0, 0)),
                      [&](QDrag *) { desk.letGo(desk.run(0), QPoint(60, 30)); }));
    QCOMPARE(desk.desk().names(), seated() + listed() + publication());
    QCOMPARE(desk.seats(), "{vera}|"_s);
    QVERIFY(!isSeated(desk.at(0)));
    QVERIFY(isSeated(desk.kidAt(0, 0)));
    JSON_CONTAINS(desk.lines().value(0), object(R"({"uuid": "{anna}", "kidsList": [{"uuid": "{vera}"}]})"));

    // Whoever is seated does not go along a second time.
    desk.select({desk.at(0), desk.kidAt(0, 0)});
    QStringList names;
    desk.desk().clear();
    QVERIFY(desk.drag(desk.list()->viewport(), desk.place(desk.at(0)), [&](QDrag *drag) {
        names = Carried(*drag).names;
        desk.letGo(desk.run(1), QPoint(60, 30));
    }));
    QCOMPARE(names, QStringList{Anna});
    QCOMPARE(desk.desk().names(), seated() + listed() + publication());
    QCOMPARE(desk.seats(), "{vera}|{anna}"_s);
    QCOMPARE(desk.waiting(), QStringList());
}

void TestDragEvents::hostClosesTheRunAtTheDrop_data()
{
    QTest::addColumn<int>("runs");
    QTest::addColumn<QString>("seats");
    QTest::newRow("one run") << 1 << "|"_s;
    QTest::newRow("three runs") << 3 << "|{anna}|{anna}"_s;
}

// A host that closes the run the moment it hears of the new seat takes the racer into the past with it. He is seated all
// the same: his line goes, and the seats he is still owed come from the queue that is left.
void TestDragEvents::hostClosesTheRunAtTheDrop()
{
    QFETCH(int, runs);
    QFETCH(QString, seats);
    FullDesk desk;
    desk.seedQueue(emptyRuns(3));
    desk.seedList({FullDesk::line(Boris), FullDesk::line(Anna, runs)});
    QVERIFY(desk.open());
    bool closed = false;
    QObject host;
    connect(desk.desk().plugin(), &VanePluginInterface::pluginSignal, &host,
            [&](const QString &, const QString &event, const QJsonObject &json) {
                if (event != Preset || closed)
                    return;
                closed = true;
                desk.desk().send("run_closed"_s, {{"runQueueGuid"_s, json.value("runQueueGuid"_s)}});
            });
    QVERIFY(desk.drag(desk.list()->viewport(), desk.place(desk.at(1)),
                      [&](QDrag *) { desk.letGo(desk.run(1), QPoint(60, 30)); }));
    QVERIFY(closed);
    QCOMPARE(desk.pastGuids(), QStringList{"{run1}"_s});
    JSON_CONTAINS(desk.pastRuns().at(0), object(R"({"runCompetitors": {"-1001": {"uuid": "{anna}"}}})"));
    QCOMPARE(desk.waiting(), QStringList{Boris});
    QCOMPARE(desk.seats(), seats);
}

void TestDragEvents::lineOverOtherPlaces_data()
{
    QTest::addColumn<QString>("place");
    QTest::newRow("history") << "lwRunsHistory"_s;
    QTest::newRow("past run") << "past"_s;
    QTest::newRow("below the queue") << "lwRunsList"_s;
    QTest::newRow("button") << "bAddRacer"_s;
}

void TestDragEvents::lineOverOtherPlaces()
{
    QFETCH(QString, place);
    FullDesk desk;
    desk.seedQueue(emptyRuns(1));
    desk.seedHistory(pastWith({TrackOffice::seat(Vera, -1001)}));
    desk.seedList({FullDesk::line(Anna)});
    QVERIFY(desk.open());
    const QVector<QJsonObject> before = desk.lines();
    desk.select({desk.at(0)});
    QSignalSpy out(desk.list(), SIGNAL(itemsDroppedOut(QJsonArray, const QObject *)));
    QWidget *target = place == "past"_s ? desk.pastRun(0) : desk.desk().find<QWidget *>(place);
    QVERIFY(target);
    const QPoint where = place == "past"_s ? QPoint(60, 30) : QPoint(10, target->height() - 10);
    QVERIFY(desk.drag(desk.list()->viewport(), desk.place(desk.at(0)), [&](QDrag *) { desk.letGo(target, where); }));
    QCOMPARE(out.count(), 0);
    QCOMPARE(desk.desk().names(), QStringList());
    QCOMPARE(desk.lines(), before);
    QCOMPARE(desk.seats(), QString());
    QCOMPARE(desk.pastRuns().at(0).value("runCompetitors"_s).toObject().size(), 1);
}

void TestDragEvents::runTakesOrRefuses_data()
{
    QTest::addColumn<QJsonObject>("run");
    QTest::addColumn<QJsonObject>("sitting");
    QTest::addColumn<QJsonArray>("cars");
    QTest::addColumn<QJsonObject>("racer");
    QTest::addColumn<bool>("takes");
    const auto add = [](const char *name, bool takes, const char *run, const char *sitting, const QJsonArray &cars,
                        const char *racer) {
        QTest::newRow(name) << object(run) << object(sitting) << cars << object(racer) << takes;
    };
    const QJsonArray one{TrackOffice::car(1, "Sodi"_s, "1"_s), TrackOffice::car(5, "Rimo"_s, "5"_s)};
    const QJsonArray two{TrackOffice::car(1, "Sodi"_s, "1"_s), TrackOffice::car(2, "Sodi"_s, "2"_s)};
    const QJsonArray none{TrackOffice::car(1, "Sodi"_s, "1"_s, false)};
    add("room", true, "{}", "{}", {}, "{}");
    add("locked", false, R"({"runLocked": true})", "{}", {}, "{}");
    add("full", false, R"({"maxRacersInRun": 1})", "{}", {}, "{}");
    add("one seat left", true, R"({"maxRacersInRun": 2})", "{}", {}, "{}");
    add("sits there", false, "{}", R"({"uuid": "{anna}"})", {}, "{}");
    add("same client", false, "{}", R"({"clientId": 7})", {}, R"({"clientId": 7})");
    add("other client", true, "{}", R"({"clientId": 7})", {}, R"({"clientId": 8})");
    add("nobody's clients", true, "{}", R"({"clientId": -1})", {}, R"({"clientId": -1})");
    add("last car of the model", false, "{}", "{}", one, "{}");
    add("another car of the model", true, "{}", "{}", two, "{}");
    add("another model", true, "{}", "{}", one, R"({"carModel": "Rimo"})");
    add("no car of the model at all", true, "{}", "{}", none, "{}");
}

// Over a run the pointer shows whether it can take the racer; a button let go over a refusal changes nothing.
void TestDragEvents::runTakesOrRefuses()
{
    QFETCH(QJsonObject, run);
    QFETCH(QJsonObject, sitting);
    QFETCH(QJsonArray, cars);
    QFETCH(QJsonObject, racer);
    QFETCH(bool, takes);
    FullDesk desk;
    desk.seedQueue(
        {{RunA, {TrackOffice::seat(Boris, -1001, sitting)}, run}, {RunB, {TrackOffice::seat(Vera, -1001, racer)}}});
    desk.seedList({FullDesk::line(Anna, 1, racer)});
    QVERIFY(desk.open());
    desk.sendCars(cars);
    const QString seats = desk.seats();
    const QVector<QJsonObject> lines = desk.lines();

    const auto mime = payload(QJsonObject{{"srcList"_s, QJsonArray{lines.at(0)}}});
    const Said said = bring(desk.run(0), QPoint(60, 30), *mime, false);
    QVERIFY(said.enters);
    QCOMPARE(said.moves, takes);
    // A racer behind others is looked at, too.
    const auto both = payload(
        QJsonObject{{"srcList"_s, QJsonArray{FullDesk::line("{x}"_s, 1, {{"carModel"_s, "-"_s}}), lines.at(0)}}});
    QCOMPARE(bring(desk.run(0), QPoint(60, 30), *both, false).moves, takes);
    QCOMPARE(desk.desk().names(), QStringList());
    QCOMPARE(desk.seats(), seats);

    desk.select({desk.at(0)});
    QVERIFY(desk.drag(desk.list()->viewport(), desk.place(desk.at(0)),
                      [&](QDrag *) { desk.letGo(desk.run(0), QPoint(60, 30)); }));
    if (takes) {
        QCOMPARE(desk.desk().names(), seated() + listed() + publication());
        QCOMPARE(desk.waiting(), QStringList());
        QVERIFY(!desk.racer(0, Anna).isEmpty());
    } else {
        QCOMPARE(desk.desk().names(), QStringList());
        QCOMPARE(desk.lines(), lines);
        QCOMPARE(desk.seats(), seats);
    }
}

void TestDragEvents::pastRunTakesNobody_data()
{
    QTest::addColumn<QString>("from");
    QTest::newRow("from the list") << "list"_s;
    QTest::newRow("from the queue") << "queue"_s;
    QTest::newRow("from the past") << "past"_s;
}

void TestDragEvents::pastRunTakesNobody()
{
    QFETCH(QString, from);
    FullDesk desk;
    desk.seedQueue({{RunA, {TrackOffice::seat(Anna, -1001)}}});
    QJsonArray past = pastWith({TrackOffice::seat(Vera, -1001)});
    past.append(TrackOffice::pastRun("{older}"_s, 5));
    desk.seedHistory(past);
    desk.seedList({FullDesk::line(Boris)});
    QVERIFY(desk.open());
    const QVector<QJsonObject> lines = desk.lines();
    const QVector<QJsonObject> history = desk.pastRuns();

    const auto mime = payload(QJsonObject{{"srcList"_s, QJsonArray{lines.at(0)}}}, "waitingQueue");
    for (const Qt::DropActions actions : {Qt::DropActions(Qt::MoveAction), Qt::DropActions(Qt::CopyAction)})
        QVERIFY(!bring(desk.pastRun(0), QPoint(60, 30), *mime, true, actions).enters);

    desk.select({desk.at(0)});
    QWidget *source = from == "list"_s ? desk.list()->viewport() : from == "queue"_s ? desk.run(0) : desk.pastRun(0);
    const QPoint grip = from == "list"_s ? desk.place(desk.at(0)) : TrackOffice::cell(source, 0).center();
    QVERIFY(desk.drag(source, grip, [&](QDrag *) { desk.letGo(desk.pastRun(1), QPoint(60, 30)); }));
    QCOMPARE(desk.desk().names(), QStringList());
    QCOMPARE(desk.lines(), lines);
    QCOMPARE(desk.seats(), Anna);
    QCOMPARE(desk.pastRuns(), history);
}

void TestDragEvents::whatTheListTakes_data()
{
    QTest::addColumn<QByteArray>("source");
    QTest::addColumn<int>("action");
    QTest::addColumn<bool>("takes");
    QTest::newRow("a run") << QByteArray("waitingQueue") << int(Qt::MoveAction) << true;
    QTest::newRow("a past run") << QByteArray("waitingQueue") << int(Qt::CopyAction) << true;
    QTest::newRow("past registrations") << QByteArray("registrationHistory") << int(Qt::CopyAction) << true;
    QTest::newRow("past registrations, moved") << QByteArray("registrationHistory") << int(Qt::MoveAction) << true;
    QTest::newRow("a link") << QByteArray("waitingQueue") << int(Qt::LinkAction) << false;
    QTest::newRow("no source") << QByteArray() << int(Qt::MoveAction) << false;
    QTest::newRow("empty source") << QByteArray("") << int(Qt::MoveAction) << false;
    QTest::newRow("another source") << QByteArray("checkInList") << int(Qt::MoveAction) << false;
    QTest::newRow("other letters") << QByteArray("WaitingQueue") << int(Qt::MoveAction) << false;
    QTest::newRow("more than that") << QByteArray("waitingQueue ") << int(Qt::MoveAction) << false;
}

void TestDragEvents::whatTheListTakes()
{
    QFETCH(QByteArray, source);
    QFETCH(int, action);
    QFETCH(bool, takes);
    FullDesk desk;
    desk.seedList({FullDesk::line(Anna)});
    QVERIFY(desk.open());
    const auto mime = payload(R"({"srcList":[{"lastName":"Новый","uuid":"{new}"}]})", source);
    // Over a line and below the last one alike; the line takes part in nothing.
    const QPoint below(50, desk.list()->viewport()->height() - 10);
    for (const QPoint &where : {desk.place(desk.at(0)), below}) {
        const Said said = bring(desk.list()->viewport(), where, *mime, false, Qt::DropActions(action));
        QCOMPARE(said.moves, takes);
    }
    QCOMPARE(desk.desk().names(), QStringList());
    const Said said = bring(desk.list()->viewport(), desk.place(desk.at(0)), *mime, true, Qt::DropActions(action));
    QCOMPARE(said.drops, takes);
    QCOMPARE(int(said.action), takes ? action : int(Qt::IgnoreAction));
    QCOMPARE(desk.desk().names(), takes ? listed() : QStringList());
    QCOMPARE(desk.waiting(), takes ? QStringList({"{new}"_s, Anna}) : QStringList{Anna});
}

void TestDragEvents::pastRegistration()
{
    FullDesk desk;
    desk.seedList({FullDesk::line(Anna)});
    QVERIFY(desk.open());
    const QJsonObject record =
        object(R"({"firstName": "иВАН", "lastName": "пЕТРОВ водкин", "midName": "", "uuid": "{ivan}",
        "clientId": 12, "carModel": "Sodi", "salesItem": "Взрослый", "runCount": 4, "discountValue": "10",
        "payMethod": "Карта", "payState": true, "timestamp": 1700000000, "comment": "вчера"})");
    const auto mime = payload(QJsonObject{{"items"_s, QJsonArray{record}}}, "registrationHistory");
    QSignalSpy in(desk.list()->model(), SIGNAL(itemsDropped(QJsonArray)));
    const qint64 before = QDateTime::currentSecsSinceEpoch();
    const Said said =
        bring(desk.list()->viewport(), desk.place(desk.at(0)), *mime, true, Qt::CopyAction | Qt::MoveAction);
    QVERIFY(said.drops);
    QCOMPARE(in.count(), 1);
    JSON_COMPARE(in.at(0).at(0).toJsonArray(), QJsonArray{record});
    QCOMPARE(desk.desk().names(), listed());
    const QVector<QJsonObject> lines = desk.lines();
    QCOMPARE(lines.size(), 2);
    // On top, under the old identity, with everything but the sale.
    JSON_CONTAINS(lines.at(0), object(R"({"firstName": "Иван", "lastName": "Петров Водкин", "uuid": "{ivan}",
        "clientId": 12, "carModel": "", "salesItem": "", "runCount": 1, "discountValue": "10", "payMethod": "Карта",
        "payState": true, "paySum": 0, "price": 0, "comment": "", "kidsList": []})"));
    QVERIFY(!isSeated(desk.at(0)));
    const qint64 regTime = lines.at(0).value("regTime"_s).toVariant().toLongLong();
    QVERIFY(regTime >= before && regTime <= QDateTime::currentSecsSinceEpoch());
    QCOMPARE(lines.at(1).value("uuid"_s).toString(), Anna);
    QCOMPARE(lines.at(1).value("kidsList"_s).toArray(), QJsonArray());
}

void TestDragEvents::pastRegistrationTwice()
{
    FullDesk desk;
    QVERIFY(desk.open());
    QJsonObject record = object(R"({"lastName": "Петров", "uuid": "{ivan}", "discountValue": "10", "payMethod": "Карта",
        "payState": true})");
    const auto drop = [&] {
        const auto mime = payload(QJsonObject{{"items"_s, QJsonArray{record}}}, "registrationHistory");
        return bring(desk.list()->viewport(), QPoint(50, 50), *mime, true, Qt::CopyAction).drops;
    };
    QVERIFY(drop());
    QCOMPARE(desk.desk().names(), listed());
    const QVector<QJsonObject> first = desk.lines();
    record = object(R"({"lastName": "Иванов", "uuid": "{ivan}", "discountValue": "=200", "payMethod": "Наличные",
        "payState": false})");
    QVERIFY(drop());
    QCOMPARE(desk.desk().names(), QStringList());
    const QVector<QJsonObject> second = desk.lines();
    QCOMPARE(second.size(), 1);
    JSON_CONTAINS(second.at(0), object(R"({"lastName": "Петров", "uuid": "{ivan}", "discountValue": "=200",
        "payMethod": "Наличные", "payState": false, "runCount": 1})"));
    QCOMPARE(second.at(0).value("pinCodes"_s), first.at(0).value("pinCodes"_s));
}

void TestDragEvents::pastRegistrationOfAListedClient()
{
    FullDesk desk;
    desk.seedList({FullDesk::line(Boris), FullDesk::line(Anna, 3, object(R"({"clientId": 7})"))});
    QVERIFY(desk.open());
    const QJsonObject record = object(R"({"lastName": "Другая", "uuid": "{other}", "clientId": 7, "discountValue": "50",
        "payMethod": "Наличные", "payState": false})");
    const auto mime = payload(QJsonObject{{"items"_s, QJsonArray{record}}}, "registrationHistory");
    QVERIFY(bring(desk.list()->viewport(), desk.place(desk.at(0)), *mime, true, Qt::CopyAction).drops);
    QCOMPARE(desk.desk().names(), QStringList());
    const QVector<QJsonObject> lines = desk.lines();
    QCOMPARE(lines.size(), 2);
    QCOMPARE(lines.at(0).value("uuid"_s).toString(), Boris);
    JSON_CONTAINS(lines.at(1), object(R"({"uuid": "{anna}", "lastName": "{anna}", "clientId": 7, "runCount": 1,
        "salesItem": "Взрослый", "discountValue": "50", "payMethod": "Наличные", "payState": false, "paySum": 250})"));
}

void TestDragEvents::pastRegistrationsInOrder()
{
    FullDesk desk;
    QVERIFY(desk.open());
    QSignalSpy in(desk.list()->model(), SIGNAL(itemsDropped(QJsonArray)));
    // The key of the history comes before the key of the runs; a copy gets an identity of its own.
    const auto mime =
        payload(object(R"({"items": [{"uuid": "{a}"}, {"uuid": "{b}", "historyItem": true}, {"uuid": "{c}"}],
        "srcList": [{"uuid": "{d}"}]})"),
                "registrationHistory");
    QVERIFY(bring(desk.list()->viewport(), QPoint(50, 50), *mime, true, Qt::CopyAction).drops);
    QCOMPARE(desk.desk().names(), listed() + listed() + listed());
    QCOMPARE(in.count(), 1);
    QCOMPARE(in.at(0).at(0).toJsonArray().size(), 3);
    const QStringList uuids = desk.waiting();
    QCOMPARE(uuids.size(), 3);
    QCOMPARE(uuids.at(0), "{c}"_s);
    QVERIFY(uuids.at(1) != "{b}"_s && !QUuid(uuids.at(1)).isNull());
    QCOMPARE(uuids.at(2), "{a}"_s);
}

void TestDragEvents::noPastRegistration()
{
    FullDesk desk;
    desk.seedList({FullDesk::line(Anna)});
    QVERIFY(desk.open());
    QSignalSpy in(desk.list()->model(), SIGNAL(itemsDropped(QJsonArray)));
    const auto mime = payload(R"({"items":[]})", "registrationHistory");
    QVERIFY(bring(desk.list()->viewport(), QPoint(50, 50), *mime, true, Qt::CopyAction).drops);
    QCOMPARE(in.count(), 1);
    QCOMPARE(in.at(0).at(0).toJsonArray(), QJsonArray());
    QCOMPARE(desk.desk().names(), QStringList());
    QCOMPARE(desk.waiting(), QStringList{Anna});
}

void TestDragEvents::spoiltPayload_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<int>("reports");
    QTest::newRow("nothing") << QByteArray("") << 0;
    QTest::newRow("no JSON") << QByteArray("{\"srcList\":[{\"uuid\"") << 0;
    QTest::newRow("an array") << QByteArray(R"([{"uuid":"{a}"}])") << 0;
    QTest::newRow("no list") << QByteArray("{}") << 1;
    QTest::newRow("lists that are none") << QByteArray(R"({"items":{"uuid":"{a}"},"srcList":"{b}"})") << 1;
}

// The list takes what it cannot read without a word, and nothing comes of it.
void TestDragEvents::spoiltPayload()
{
    QFETCH(QByteArray, bytes);
    QFETCH(int, reports);
    FullDesk desk;
    desk.seedQueue({{RunA, {TrackOffice::seat(Boris, -1001)}}});
    desk.seedList({FullDesk::line(Anna)});
    QVERIFY(desk.open());
    QSignalSpy in(desk.list()->model(), SIGNAL(itemsDropped(QJsonArray)));
    const auto mime = payload(bytes, "waitingQueue");
    const Said said = bring(desk.list()->viewport(), QPoint(50, 50), *mime, true);
    QVERIFY(said.drops);
    QCOMPARE(said.action, Qt::MoveAction);
    QCOMPARE(in.count(), reports);
    QCOMPARE(desk.desk().names(), QStringList());
    QCOMPARE(desk.waiting(), QStringList{Anna});
    // A run lets it come near, too, but takes nothing that is no object.
    const Said run = bring(desk.run(0), QPoint(60, 30), *mime, true);
    QVERIFY(run.enters && run.moves);
    QCOMPARE(run.drops, reports == 1);
    QCOMPARE(desk.desk().names(), QStringList());
    QCOMPARE(desk.seats(), Boris);
}

void TestDragEvents::runToListMakesALine()
{
    FullDesk desk;
    const QJsonObject seat = TrackOffice::seat(Anna, -1002, object(R"({"carId": 4, "carNum": "9", "lastName": "Ким",
        "salesItem": "Взрослый", "discountValue": "10", "payMethod": "Карта", "runCount": 3, "color": "#ff8000"})"));
    desk.seedQueue({{RunA, {TrackOffice::seat(Boris, -1001), seat}}});
    desk.seedList({FullDesk::line(Vera)});
    QVERIFY(desk.open());
    const QJsonObject entry = desk.racer(0, Anna);
    QSignalSpy in(desk.list()->model(), SIGNAL(itemsDropped(QJsonArray)));
    QColor left;
    QImage picture;
    QVERIFY(desk.drag(desk.run(0), TrackOffice::cell(desk.run(0), 1).topLeft() + QPoint(4, 30), [&](QDrag *drag) {
        picture = Carried(*drag).picture;
        left = at(TrackOffice::picture(desk.run(0)), 204, 34);
        desk.letGo(desk.list()->viewport(), desk.place(desk.at(0)));
    }));
    // The racer's own colour travels, a gray cell is left behind until the drag ends.
    QCOMPARE(at(picture, 3, 3), QColor(255, 128, 0));
    QCOMPARE(at(picture, 63, 3), QColor(Qt::black));
    QCOMPARE(left, QColor(Qt::gray));
    QCOMPARE(in.count(), 1);
    JSON_COMPARE(in.at(0).at(0).toJsonArray(), QJsonArray{entry});
    QCOMPARE(desk.desk().names(), listed() + seated());
    JSON_CONTAINS(desk.desk().last(Preset), object(R"({"runQueueGuid": "{run-a}", "preset": [{"name": "{boris}"}]})"));
    QCOMPARE(desk.seats(), Boris);
    const QVector<QJsonObject> lines = desk.lines();
    QCOMPARE(lines.size(), 2);
    JSON_CONTAINS(lines.at(0), object(R"({"uuid": "{anna}", "lastName": "Ким", "salesItem": "", "runCount": 1,
        "discountValue": "10", "payMethod": "Карта", "payState": true, "paySum": 0, "carId": -1})"));
    QVERIFY(!isSeated(desk.at(0)));
}

void TestDragEvents::runToListFindsItsLine_data()
{
    QTest::addColumn<QString>("uuid");
    QTest::addColumn<int>("clientId");
    QTest::addColumn<int>("runs");
    QTest::newRow("by identity") << Anna << -1 << 3;
    QTest::newRow("by client") << "{somebody}"_s << 7 << 1;
}

// The line of a family that is not seated as a whole stays as gray as it was: only discount and payment are told anew.
void TestDragEvents::runToListFindsItsLine()
{
    QFETCH(QString, uuid);
    QFETCH(int, clientId);
    QFETCH(int, runs);
    FullDesk desk;
    const QJsonObject kid = FullDesk::line(Vera, 1, object(R"({"payState": false})"));
    const QJsonObject family{{"kidsList"_s, QJsonArray{kid}}, {"clientId"_s, clientId}};
    desk.seedList({FullDesk::line(Boris), FullDesk::line(Anna, 3, family)});
    QJsonObject sitting = TrackOffice::seat(uuid, -1001, object(R"({"lastName": "Ким", "discountValue": "50",
        "payMethod": "Наличные", "payState": true})"));
    sitting.insert("clientId"_s, clientId);
    desk.seedQueue({{RunA, {sitting}}, {RunB, {}}});
    QVERIFY(desk.open());
    QVERIFY(seat(desk, desk.at(1), 1));
    QVERIFY(isSeated(desk.at(1)));
    const QString others = desk.seats().section(QLatin1Char('|'), 1);
    QVERIFY(desk.drag(desk.run(0), TrackOffice::cell(desk.run(0), 0).center(),
                      [&](QDrag *) { desk.letGo(desk.list()->viewport(), desk.place(desk.at(0))); }));
    QCOMPARE(desk.desk().names(), seated());
    QCOMPARE(desk.seats(), "|"_s + others);
    QVERIFY(isSeated(desk.at(1)));
    QVERIFY(!isSeated(desk.kidAt(1, 0)));
    const QVector<QJsonObject> lines = desk.lines();
    QCOMPARE(lines.size(), 2);
    JSON_CONTAINS(lines.at(1),
                  object(R"({"uuid": "{anna}", "lastName": "{anna}", "payState": true, "salesItem": "Взрослый",
        "discountValue": "50", "payMethod": "Наличные", "kidsList": [{"uuid": "{vera}"}]})"));
    QCOMPARE(lines.at(1).value("runCount"_s).toInt(), runs);
}

void TestDragEvents::pastRacerToList()
{
    FullDesk desk;
    desk.seedQueue({{RunA, {TrackOffice::seat(Boris, -1001)}}});
    desk.seedHistory(pastWith({TrackOffice::seat(Anna, -1001, object(R"({"carId": 4, "carNum": "9", "lastName": "Ким",
        "discountValue": "10", "payMethod": "Карта", "competitorState": 2})"))}));
    desk.seedList({FullDesk::line(Anna)});
    QVERIFY(desk.open());
    const QVector<QJsonObject> history = desk.pastRuns();
    Qt::DropActions actions;
    QVERIFY(desk.drag(desk.pastRun(0), TrackOffice::cell(desk.pastRun(0), 0).center(), [&](QDrag *drag) {
        actions = drag->supportedActions();
        desk.letGo(desk.list()->viewport(), desk.place(desk.at(0)));
    }));
    QCOMPARE(actions, Qt::DropActions(Qt::CopyAction));
    QCOMPARE(desk.desk().names(), listed());
    const QVector<QJsonObject> lines = desk.lines();
    QCOMPARE(lines.size(), 2);
    // A second Anna: fresh, unpaid, without car or card.
    JSON_CONTAINS(lines.at(0),
                  object(R"({"lastName": "Ким", "payState": false, "carId": -1, "carNum": "", "salesItem": "",
        "discountValue": "10", "payMethod": "Карта", "runCount": 1})"));
    const QString uuid = lines.at(0).value("uuid"_s).toString();
    QVERIFY(uuid != Anna && !QUuid(uuid).isNull());
    JSON_CONTAINS(lines.at(1), object(R"({"uuid": "{anna}", "payState": true})"));
    QCOMPARE(desk.pastRuns(), history);
    QCOMPARE(desk.seats(), Boris);
}

void TestDragEvents::pastRacerOfAListedClient()
{
    FullDesk desk;
    desk.seedHistory(pastWith({TrackOffice::seat(Anna, -1001, object(R"({"clientId": 7, "discountValue": "10",
        "payMethod": "Карта"})"))}));
    desk.seedList({FullDesk::line(Boris, 3, object(R"({"clientId": 7})"))});
    QVERIFY(desk.open());
    QVERIFY(desk.drag(desk.pastRun(0), TrackOffice::cell(desk.pastRun(0), 0).center(),
                      [&](QDrag *) { desk.letGo(desk.list()->viewport(), desk.place(desk.at(0))); }));
    QCOMPARE(desk.desk().names(), QStringList());
    const QVector<QJsonObject> lines = desk.lines();
    QCOMPARE(lines.size(), 1);
    JSON_CONTAINS(lines.at(0), object(R"({"uuid": "{boris}", "clientId": 7, "runCount": 1, "payState": false,
        "salesItem": "Взрослый", "discountValue": "10", "paySum": 450})"));
}

void TestDragEvents::pastRacerOverTheQueue()
{
    FullDesk desk;
    desk.seedQueue({{RunA, {TrackOffice::seat(Boris, -1001)}}});
    desk.seedHistory(pastWith({TrackOffice::seat(Anna, -1001)}));
    QVERIFY(desk.open());
    const QVector<QJsonObject> history = desk.pastRuns();
    QWidget *past = desk.pastRun(0);
    const QImage before = TrackOffice::picture(past);
    bool entered = true;
    QVERIFY(desk.drag(past, TrackOffice::cell(past, 0).center(), [&](QDrag *drag) {
        entered = bring(desk.run(0), QPoint(60, 30), *drag->mimeData(), true, Qt::CopyAction).enters;
        desk.letGo(desk.run(0), QPoint(60, 30));
    }));
    QVERIFY(!entered);
    QCOMPARE(desk.desk().names(), QStringList());
    QCOMPARE(desk.seats(), Boris);
    QCOMPARE(desk.pastRuns(), history);
    // The racer left a gray cell behind only as long as he was carried.
    QVERIFY(TrackOffice::picture(past).copy(TrackOffice::cell(past, 0).adjusted(3, 3, -3, -3))
            == before.copy(TrackOffice::cell(past, 0).adjusted(3, 3, -3, -3)));
}

DESK_TEST_MAIN(TestDragEvents)
#include "tst_dragevents.moc"
