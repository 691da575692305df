#include "desktest.h"
#include "hostprobe.h"
#include "jsonmatch.h"

#include <QImage>
#include <QJsonArray>
#include <QPushButton>
#include <QSplitter>

#include <memory>

/// The pit lane as the host and the cashier know it: hits in, tiles and a journal out.
class TestPitLane : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void hiddenAndAtWork();
    void widgetShowsTheLane();
    void hits();
    void lineTwo();
    void hitWithoutTransponder();
    void unknownCarIsNumberedByTheNextExit();
    void exitOfNobody();
    void colorsOfThePrices();
    void colorsOfTheChosenPrices();
    void tableComesAfterThePrices();
    void everybodyIsUnknownAfterARestart();
    void clearedCarsComeBack();
    void clearedForGood();
    void removeSelected();
    void damagedJournal();
    void noJournals();
    void eventsAreNoneOfTheHostsBusiness();

private:
    bool open();
    void reopen();
    void hit(int line, const QJsonValue &transponder);
    void in(int transponder) { hit(3, transponder); }
    void out(int transponder) { hit(4, transponder); }
    void sendCars(const QJsonArray &cars);
    QJsonArray stored() const;
    QList<int> storedIds() const;
    QWidget *lane() const { return desk->find<QWidget *>(QStringLiteral("pitlaneWidget")); }
    /// Shows what the form hides, so that it is painted.
    void showLane() const;
    QColor tile(int column, int row = 0) const;
    void push(const char *button) const;

    std::unique_ptr<TempTrack> track;
    std::unique_ptr<HostProbe> desk;
};

namespace {

const QString Journal = QStringLiteral("pitlanestate.json");

QJsonObject car(int id, const char *model, const char *num, int transponder)
{
    return {{QStringLiteral("id"), id},
            {QStringLiteral("name"), QString::fromUtf8(model)},
            {QStringLiteral("num"), QString::fromUtf8(num)},
            {QStringLiteral("transponderId"), transponder},
            {QStringLiteral("available_for_runs"), true}};
}

const QColor Free(0xfe, 0xfe, 0xfe);

} // namespace

void TestPitLane::init()
{
    track = std::make_unique<TempTrack>();
    track->addPriceItem({QStringLiteral("Взрослый"), 500, QStringLiteral("Sodi"), QStringLiteral("#ff8000")});
    track->addPriceItem({QStringLiteral("Взрослый 2"), 900, QStringLiteral("Sodi"), QStringLiteral("#0000ff")});
    track->addPriceItem({QStringLiteral("Детский"), 300, QStringLiteral("Rimo"), QStringLiteral("#008000")});
    QVERIFY(open());
}

void TestPitLane::cleanup()
{
    desk.reset();
    track.reset();
}

bool TestPitLane::open()
{
    desk = std::make_unique<HostProbe>(QStringLiteral(LAPVANE_PLUGIN_FILE));
    if (!desk->start())
        return false;
    desk->tab()->resize(1600, 900);
    desk->tab()->show();
    QPalette palette = lane()->palette();
    palette.setColor(QPalette::Window, Free);
    lane()->setPalette(palette);
    return QTest::qWaitForWindowExposed(desk->tab());
}

void TestPitLane::reopen()
{
    desk->unload();
    QVERIFY(open());
}

void TestPitLane::hit(int line, const QJsonValue &transponder)
{
    QJsonObject json{{QStringLiteral("lineId"), line}};
    if (!transponder.isUndefined())
        json.insert(QStringLiteral("transponderId"), transponder);
    desk->send(QStringLiteral("transponder_hit"), {{QStringLiteral("hits"), QJsonArray{json}}});
}

void TestPitLane::sendCars(const QJsonArray &cars)
{
    desk->send(QStringLiteral("cars_list_changed"), {{QStringLiteral("cars"), cars}});
}

QJsonArray TestPitLane::stored() const
{
    return JsonMatch::object(track->readJournal(Journal).constData()).value(QLatin1String("carsInPitlane")).toArray();
}

QList<int> TestPitLane::storedIds() const
{
    QList<int> ids;
    const QJsonArray cars = stored();
    for (const QJsonValue &entry : cars)
        ids.append(entry.toObject().value(QLatin1String("transponderId")).toInt());
    return ids;
}

void TestPitLane::showLane() const
{
    desk->find<QWidget *>(QStringLiteral("pitlaneContainer"))->show();
    desk->find<QSplitter *>(QStringLiteral("splitter"))->setSizes({300, 500});
    QVERIFY(lane()->isVisible());
    QTRY_VERIFY(lane()->width() >= 300 && lane()->height() >= 200);
}

QColor TestPitLane::tile(int column, int row) const
{
    return lane()->grab().toImage().pixelColor(8 + 72 * column + 32, 8 + 72 * row + 32);
}

void TestPitLane::push(const char *button) const
{
    auto *widget = desk->find<QPushButton *>(QString::fromLatin1(button));
    QVERIFY(widget && widget->isVisible());
    QTest::mouseClick(widget, Qt::LeftButton);
}

void TestPitLane::hiddenAndAtWork()
{
    QVERIFY(!lane()->isVisible());
    QVERIFY(!track->hasJournal(Journal));
    in(5);
    QCOMPARE(storedIds(), QList<int>{5});
    QVERIFY(!lane()->isVisible());
}

void TestPitLane::widgetShowsTheLane()
{
    QCOMPARE(QString::fromLatin1(lane()->metaObject()->className()), QStringLiteral("QPitlaneWidget"));
    QCOMPARE(lane()->sizeHint(), QSize(100, 150));
    sendCars({car(1, "Sodi", "7", 11), car(2, "Rimo", "8", 12), car(3, "Sodi", "9", 13)});
    showLane();
    QCOMPARE(tile(0), Free);
    in(11);
    QCOMPARE(tile(0), QColor(0xff, 0x80, 0x00));
    in(12);
    in(13);
    in(99);
    // The stranger, then Rimo, then the two of Sodi.
    QCOMPARE(tile(0), QColor(Qt::white));
    QCOMPARE(tile(1), QColor(0x00, 0x80, 0x00));
    QCOMPARE(tile(2), QColor(0xff, 0x80, 0x00));
    QCOMPARE(tile(2, 1), QColor(0xff, 0x80, 0x00));
    QCOMPARE(tile(3), Free);
    out(99);
    QCOMPARE(tile(0), QColor(0x00, 0x80, 0x00));
    const QImage shot = lane()->grab().toImage();
    QCOMPARE(shot.pixelColor(8, 40), QColor(Qt::black));
    QCOMPARE(shot.pixelColor(7, 40), Free);
    QCOMPARE(shot.pixelColor(1, 120), QColor(Qt::gray));
}

void TestPitLane::hits()
{
    sendCars({car(1, "Sodi", "7", 11), car(2, "Tandem", "8", 12)});
    in(11);
    in(12);
    JSON_COMPARE(stored(), JsonMatch::array(R"([
        {"num":"7","model":"Sodi","color":"#ff8000","order":0,"isBusy":false,"isUnknown":false,"transponderId":11},
        {"num":"8","model":"Tandem","color":"","order":1,"isBusy":false,"isUnknown":false,"transponderId":12}])"));
    QCOMPARE(track->readJournal(Journal), QByteArray(R"({
    "carsInPitlane": [
        {
            "color": "#ff8000",
            "isBusy": false,
            "isUnknown": false,
            "model": "Sodi",
            "num": "7",
            "order": 0,
            "transponderId": 11
        },
        {
            "color": "",
            "isBusy": false,
            "isUnknown": false,
            "model": "Tandem",
            "num": "8",
            "order": 1,
            "transponderId": 12
        }
    ]
}
)"));
    // The second entry of a car changes nothing, not even the file.
    track->removeJournal(Journal);
    in(11);
    QVERIFY(!track->hasJournal(Journal));
    desk->send(QStringLiteral("transponder_hit"),
               JsonMatch::object(R"({"hits":[{"lineId":4,"transponderId":11},{"lineId":3,"transponderId":11},
                   {"lineId":2,"transponderId":77}]})"));
    QCOMPARE(storedIds(), (QList<int>{12, 11}));
}

void TestPitLane::lineTwo()
{
    hit(2, 11);
    hit(-1, 11);
    QVERIFY(!track->hasJournal(Journal));
    in(11);
    hit(2, 11);
    QCOMPARE(storedIds(), QList<int>{11});
}

void TestPitLane::hitWithoutTransponder()
{
    // A car without a transponder is not the one that a hit without a transponder brings.
    QJsonObject bare = car(1, "Sodi", "7", 0);
    bare.remove(QStringLiteral("transponderId"));
    sendCars({bare});
    hit(3, QJsonValue::Undefined);
    JSON_COMPARE(stored(), JsonMatch::array(R"([{"num":"","model":"","color":"#ffffff","order":-1,"isBusy":false,
        "isUnknown":true,"transponderId":-1}])"));
    hit(4, QJsonValue::Undefined);
    JSON_COMPARE(stored(), QJsonArray());
}

void TestPitLane::unknownCarIsNumberedByTheNextExit()
{
    sendCars({car(1, "Sodi", "7", 11), car(2, "Sodi", "8", 12)});
    in(11);
    in(99);
    in(12);
    JSON_CONTAINS(stored(), JsonMatch::array(R"([{"order":0},{"order":-1,"isUnknown":true},{"order":2}])"));
    out(11);
    JSON_CONTAINS(stored(), JsonMatch::array(R"([{"order":0,"transponderId":99,"isUnknown":true},
        {"order":1,"transponderId":12}])"));
}

void TestPitLane::exitOfNobody()
{
    in(11);
    showLane();
    QCOMPARE(tile(0), QColor(Qt::white));
    track->removeJournal(Journal);
    out(12);
    QVERIFY(!track->hasJournal(Journal));
    QCOMPARE(tile(0), QColor(Qt::white));
}

void TestPitLane::colorsOfThePrices()
{
    // Before the host has sent its cars nobody is known; who is in the lane then stays a stranger.
    in(11);
    sendCars({car(1, "Sodi", "7", 11), car(2, "Rimo", "8", 12)});
    JSON_CONTAINS(stored(), JsonMatch::array(R"([{"isUnknown":true,"color":"#ffffff"}])"));
    in(12);
    JSON_CONTAINS(stored(), JsonMatch::array(R"([{"isUnknown":true,"color":"#ffffff"},
        {"isUnknown":false,"color":"#008000","num":"8"}])"));
    out(11);
    in(11);
    JSON_CONTAINS(stored(),
                  JsonMatch::array(R"([{"color":"#008000"},{"isUnknown":false,"color":"#ff8000","num":"7"}])"));
    // The host's next list replaces the one before.
    sendCars({car(1, "Rimo", "7a", 11)});
    out(11);
    out(12);
    in(11);
    in(12);
    JSON_CONTAINS(stored(), JsonMatch::array(R"([{"color":"#008000","num":"7a","model":"Rimo"},{"isUnknown":true}])"));
}

void TestPitLane::colorsOfTheChosenPrices()
{
    const int weekend = track->addPriceType(QStringLiteral("Выходные"));
    const int common = track->value(QStringLiteral("SELECT id FROM price_list WHERE sales_item = 'Детский'")).toInt();
    track->addPriceItem(
        {QStringLiteral("Детский"), 350, QStringLiteral("Rimo"), QStringLiteral("#800080"), weekend, common});
    reopen();
    sendCars({car(2, "Rimo", "8", 12)});
    auto *types = desk->find<QWidget *>(QStringLiteral("cbPricesNames"));
    QTest::keyClick(types, Qt::Key_Down);
    // Another block of prices alone does not reach the lane; the next list of cars brings its colours.
    in(12);
    JSON_CONTAINS(stored(), JsonMatch::array(R"([{"color":"#008000"}])"));
    sendCars({car(2, "Rimo", "8", 12)});
    out(12);
    in(12);
    JSON_CONTAINS(stored(), JsonMatch::array(R"([{"color":"#800080"}])"));
}

/// A host that reports a hit from inside the publication of the prices still meets the cars of before.
void TestPitLane::tableComesAfterThePrices()
{
    bool answered = false;
    const auto connection =
        connect(desk->plugin(), &VanePluginInterface::pluginSignal, this, [&](const QString &, const QString &event) {
            if (event != QLatin1String("update_remote_prices") || answered)
                return;
            answered = true;
            in(11);
        });
    sendCars({car(1, "Sodi", "7", 11)});
    disconnect(connection);
    QVERIFY(answered);
    JSON_CONTAINS(stored(), JsonMatch::array(R"([{"isUnknown":true,"transponderId":11}])"));
    out(11);
    in(11);
    JSON_CONTAINS(stored(), JsonMatch::array(R"([{"isUnknown":false,"transponderId":11}])"));
}

void TestPitLane::everybodyIsUnknownAfterARestart()
{
    sendCars({car(1, "Sodi", "7", 11), car(2, "Rimo", "8", 12)});
    in(11);
    const QByteArray bytes = track->readJournal(Journal);
    reopen();
    QCOMPARE(track->readJournal(Journal), bytes);
    showLane();
    QCOMPARE(tile(0), QColor(0xff, 0x80, 0x00));
    in(12);
    JSON_CONTAINS(stored(), JsonMatch::array(R"([{"num":"7","isUnknown":false},{"num":"","isUnknown":true}])"));
}

void TestPitLane::clearedCarsComeBack()
{
    in(11);
    in(12);
    const QByteArray bytes = track->readJournal(Journal);
    showLane();
    QCOMPARE(tile(0, 1), QColor(Qt::white));
    push("pbClearPitlane");
    QCOMPARE(tile(0), Free);
    QCOMPARE(track->readJournal(Journal), bytes);
    // An exit of somebody who is not there does not settle it.
    out(11);
    reopen();
    showLane();
    QCOMPARE(tile(0), QColor(Qt::white));
    QCOMPARE(tile(0, 1), QColor(Qt::white));
    QCOMPARE(track->readJournal(Journal), bytes);
}

void TestPitLane::clearedForGood()
{
    in(11);
    in(12);
    showLane();
    push("pbClearPitlane");
    in(13);
    QCOMPARE(storedIds(), QList<int>{13});
    reopen();
    showLane();
    QCOMPARE(tile(0), QColor(Qt::white));
    QCOMPARE(tile(0, 1), Free);
}

void TestPitLane::removeSelected()
{
    sendCars({car(1, "Sodi", "7", 11), car(2, "Rimo", "8", 12), car(3, "Sodi", "9", 13)});
    for (const int id : {11, 12, 13})
        in(id);
    showLane();
    push("pbRemoveFromPitLane");
    QCOMPARE(storedIds(), (QList<int>{11, 12, 13}));
    lane()->grab();
    // The second car of Sodi.
    QTest::mouseClick(lane(), Qt::LeftButton, Qt::NoModifier, QPoint(112, 112));
    QCOMPARE(lane()->grab().toImage().pixelColor(79, 112), QColor(Qt::black));
    push("pbRemoveFromPitLane");
    QCOMPARE(storedIds(), (QList<int>{11, 12}));
    QCOMPARE(tile(1, 1), Free);
    // Nothing is selected any more.
    push("pbRemoveFromPitLane");
    QCOMPARE(storedIds(), (QList<int>{11, 12}));
    // A click beside the tiles takes the selection back.
    QTest::mouseClick(lane(), Qt::LeftButton, Qt::NoModifier, QPoint(40, 40));
    QTest::mouseClick(lane(), Qt::LeftButton, Qt::NoModifier, QPoint(40, 140));
    push("pbRemoveFromPitLane");
    QCOMPARE(storedIds(), (QList<int>{11, 12}));
}

void TestPitLane::damagedJournal()
{
    desk->unload();
    const QByteArray bytes = R"({"carsInPitlane":[{"transponderId":11},)";
    track->writeJournal(Journal, bytes);
    QVERIFY(open());
    QCOMPARE(track->readJournal(Journal), bytes);
    in(12);
    QCOMPARE(storedIds(), QList<int>{12});
}

void TestPitLane::noJournals()
{
    desk->unload();
    track = std::make_unique<TempTrack>(TempTrack::Bare);
    QVERIFY(open());
    in(11);
    showLane();
    QCOMPARE(tile(0), QColor(Qt::white));
    QVERIFY(!track->hasJournal(Journal));
}

void TestPitLane::eventsAreNoneOfTheHostsBusiness()
{
    showLane();
    desk->clear();
    in(11);
    in(11);
    out(11);
    out(11);
    push("pbClearPitlane");
    push("pbRemoveFromPitLane");
    for (const char *odd : {"{}", R"({"hits":5})", R"({"hits":[5,null,{"lineId":"3"}]})"})
        desk->send(QStringLiteral("transponder_hit"), JsonMatch::object(odd));
    HostProbe::settle();
    QCOMPARE(desk->names(), QStringList());
}

DESK_TEST_MAIN(TestPitLane)

#include "tst_pitlane.moc"
