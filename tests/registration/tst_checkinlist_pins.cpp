#include "checkindesk.h"

#include "desktest.h"
#include "jsonmatch.h"

#include <memory>

namespace {

/// The codes of four digits but those left out.
QStringList fourDigitCodes(const QStringList &without = {})
{
    QStringList codes;
    for (int code = 0; code < 10000; ++code) {
        const QString pin = QStringLiteral("%1").arg(code, 4, 10, QLatin1Char('0'));
        if (!without.contains(pin))
            codes.append(pin);
    }
    return codes;
}

} // namespace

/// The PIN codes in play, as the list draws them and gives them back.
class CheckInListPinsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { desk = std::make_unique<CheckInDesk>(); }
    void cleanup() { desk.reset(); }

    void count_data();
    void count();
    void oldCodesGoOnce();
    void lastFreeCode();
    void codesOfAnUndroppedRacer();
    void oldCodeIsFreeAgain();
    void fullPoolTakesBackWhatNobodyHolds();
    void fullPoolKeepsWhatSeatsHold();
    void poolHeldToTheLastCode();
    void tenThousandRacers();
    void withoutPool();

private:
    std::unique_ptr<CheckInDesk> desk;
};

void CheckInListPinsTest::count_data()
{
    QTest::addColumn<int>("runs");
    QTest::addColumn<int>("expected");
    QTest::newRow("no runs") << 0 << 1;
    QTest::newRow("negative") << -3 << 1;
    QTest::newRow("one") << 1 << 1;
    QTest::newRow("five") << 5 << 5;
}

void CheckInListPinsTest::count()
{
    QFETCH(int, runs);
    const QStringList pins = desk->list.makePins(runs, {});
    QTEST(pins.size(), "expected");
    QCOMPARE(QSet<QString>(pins.cbegin(), pins.cend()).size(), 1);
    QVERIFY(fourDigitCodes().contains(pins.constFirst()));
    QCOMPARE(desk->usedPinCodes, QStringList{pins.constFirst()});
}

void CheckInListPinsTest::oldCodesGoOnce()
{
    desk->usedPinCodes = QStringList{"0001", "0002", "0001", "0003", "0002"};
    const QStringList pins = desk->list.makePins(2, {"0001", "0002"});
    QCOMPARE(desk->usedPinCodes, (QStringList{"0003", pins.constFirst()}));
}

void CheckInListPinsTest::lastFreeCode()
{
    desk->usedPinCodes = fourDigitCodes({"4711"});
    QCOMPARE(desk->list.makePins(2, {}), (QStringList{"4711", "4711"}));
    QCOMPARE(desk->usedPinCodes.size(), 10000);
}

/// Whoever comes back from a run brings his codes along, and nobody else may have them.
void CheckInListPinsTest::codesOfAnUndroppedRacer()
{
    desk->usedPinCodes = fourDigitCodes({"4711", "4712", "4713"});
    desk->list.itemsUndropped(
        {JsonMatch::object(R"({"uuid":"{back}","runCount":2,"pinCodes":["4711","4713"],"payState":true})")});
    QCOMPARE(desk->racer().pinCodes, (QStringList{"4711", "4713"}));
    QCOMPARE(desk->usedPinCodes.size(), 9999);
    QCOMPARE(desk->list.makePins(1, {}), QStringList{"4712"});
}

/// A full pool is not full for whoever brings a code along.
void CheckInListPinsTest::oldCodeIsFreeAgain()
{
    desk->usedPinCodes = fourDigitCodes();
    QCOMPARE(desk->list.makePins(1, {"4711"}), QStringList{"4711"});
    QCOMPARE(desk->usedPinCodes.size(), 10000);
}

void CheckInListPinsTest::fullPoolTakesBackWhatNobodyHolds()
{
    desk->add("Иванов", {CheckInDesk::kid("Маша")});
    const QStringList held{desk->racer().pinCodes.constFirst(), desk->minor(0, 0).pinCodes.constFirst()};
    desk->usedPinCodes = fourDigitCodes();
    const QStringList pins = desk->list.makePins(1, {});
    QCOMPARE(pins.constFirst().size(), 4);
    QVERIFY(!held.contains(pins.constFirst()));
    const QStringList inPlay = held + pins;
    QCOMPARE(QSet<QString>(desk->usedPinCodes.cbegin(), desk->usedPinCodes.cend()),
             QSet<QString>(inPlay.cbegin(), inPlay.cend()));
}

void CheckInListPinsTest::fullPoolKeepsWhatSeatsHold()
{
    desk->usedPinCodes = fourDigitCodes();
    desk->list.setSeatPinCodes([] { return fourDigitCodes({"4711"}); });
    QCOMPARE(desk->list.makePins(1, {}), QStringList{"4711"});
    QCOMPARE(desk->usedPinCodes.size(), 10000);
}

void CheckInListPinsTest::poolHeldToTheLastCode()
{
    desk->usedPinCodes = fourDigitCodes();
    desk->list.setSeatPinCodes([] { return fourDigitCodes(); });
    const QStringList pins = desk->list.makePins(2, {});
    QCOMPARE(pins.constFirst().size(), 5);
    QCOMPARE(pins.constFirst(), pins.constLast());
    QCOMPARE(desk->usedPinCodes.size(), 10001);
    QCOMPARE(desk->usedPinCodes.constLast(), pins.constFirst());
}

/// A day on which the codes run out: everybody gets one, and nobody the code of another who is here.
void CheckInListPinsTest::tenThousandRacers()
{
    desk->usedPinCodes = fourDigitCodes();
    QStringList seats = fourDigitCodes();
    while (seats.size() > 9990)
        seats.removeLast();
    desk->list.setSeatPinCodes([seats] { return seats; });
    QSet<QString> taken(seats.cbegin(), seats.cend());
    for (int racer = 0; racer < 12; ++racer) {
        const QString pin = desk->add().pinCodes.constFirst();
        QCOMPARE(pin.size(), racer < 10 ? 4 : 5);
        QVERIFY2(!taken.contains(pin), qPrintable(pin));
        taken.insert(pin);
    }
}

void CheckInListPinsTest::withoutPool()
{
    ClientsCheckInList list;
    const QStringList pins = list.makePins(2, {"0001"});
    QCOMPARE(pins.size(), 2);
    QCOMPARE(pins.constFirst(), pins.constLast());
}

DESK_TEST_MAIN(CheckInListPinsTest)
#include "tst_checkinlist_pins.moc"
