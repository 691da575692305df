#include "checkindesk.h"

#include "desktest.h"
#include "jsonmatch.h"

#include <QUuid>

#include <functional>
#include <memory>

using DeskWork = std::function<void(CheckInDesk &)>;
Q_DECLARE_METATYPE(DeskWork)

/// Racers coming into the list, being found and updated there, and leaving it.
class CheckInListRacersTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { desk = std::make_unique<CheckInDesk>(); }
    void cleanup() { desk.reset(); }

    void addRacer();
    void addRacerKeepsWhatItIsGiven();
    void addRacerWithSale();
    void addRacerWithUnknownSale();
    void addRacerWithMinors();
    void clientComesAgain();
    void clientComesAgainWithSale();
    void racerComesAgain();
    void clientBeforeRacer();
    void minorIsNoRacer();
    void tooManyRuns();

    void fromJson();
    void fromJsonSignals();
    void fromJsonNumbers_data();
    void fromJsonNumbers();
    void fromJsonKnownClient();
    void fromJsonWithoutAnything();

    void findByUuid();
    void findByCredentials_data();
    void findByCredentials();
    void findByCredentialsStopsAtFirstMatch();

    void updateClient_data();
    void updateClient();
    void updateClientStopsAtFirst();
    void updateClientSignals();

    void releaseCars();
    void releaseCarByRacer();

    void removeTopLevel();
    void removeMinors();
    void removeMixed();
    void removeEveryCellOfSomeRows();
    void removeNothing();
    void removedMinorIsNotPaidFor();
    void removalKeepsPinsInPlay();
    void removeByUuids();

    void purge_data();
    void purge();
    void purgeTakesTheWholeFamily();
    void whatStopsTheClock_data();
    void whatStopsTheClock();

    void familyEdit();
    void familyEditDropsFromTheEnd();
    void familyEditWithoutChanges();

    void droppedOut_data();
    void droppedOut();
    void droppedOutSignals();
    void droppedOutFamilySignals();
    void droppedOutUnknown();
    void undroppedComesBack();
    void undroppedNewRacer();
    void undroppedMinorWithoutParent();

    void listRecords();

private:
    /// Three families, from the top: "Третий" with Петя and Маша, "Второй", "Первый" with Саша.
    void fillThreeFamilies();

    std::unique_ptr<CheckInDesk> desk;
};

void CheckInListRacersTest::fillThreeFamilies()
{
    desk->add("Первый", {CheckInDesk::kid("Саша", Junior, 1)});
    desk->add("Второй");
    desk->add("Третий", {CheckInDesk::kid("Петя"), CheckInDesk::kid("Маша", Junior, 2)});
    desk->log.take();
}

void CheckInListRacersTest::addRacer()
{
    const QModelIndex line = desk->list.addRacer("иВАН", "  иванов  сидоров ", "", {}, "", "Junior", 0, -1, 0, -1);
    QCOMPARE(line, desk->list.index(0, 0));
    const CheckInItem &item = desk->racer();
    QCOMPARE(item.firstName, QStringLiteral("Иван"));
    QCOMPARE(item.lastName, QStringLiteral("Иванов Сидоров"));
    QCOMPARE(item.midName, QString());
    QCOMPARE(item.carModel, QString());
    QCOMPARE(item.regTime, quint64(desk->now));
    QCOMPARE(item.clientId, -1);
    QCOMPARE(item.runCount, 0);
    QCOMPARE(item.salesId, -1);
    QVERIFY(!item.payState);
    QCOMPARE(QUuid(item.uuid).toString(), item.uuid);
    QVERIFY(!QUuid(item.uuid).isNull());
    QCOMPARE(item.pinCodes, desk->usedPinCodes);
    QCOMPARE(desk->log.take(), (QStringList{"rowsInserted 0..0", "layoutChanged", "checkInListUpdated"}));
    JSON_COMPARE(desk->log.published.constLast(), desk->list.listJson());
}

void CheckInListRacersTest::addRacerKeepsWhatItIsGiven()
{
    desk->list.addRacer("Иван", "Иванов", "", {}, "{u}", "", 12345, 88, 3, -1);
    const CheckInItem &item = desk->racer();
    QCOMPARE(item.uuid, QStringLiteral("{u}"));
    QCOMPARE(item.regTime, quint64(12345));
    QCOMPARE(item.runCount, 3);
    QCOMPARE(item.pinCodes.size(), 3);
    // The client is known before the list is told about.
    QCOMPARE(desk->log.published.constLast().first().toObject().value("clientId"), QJsonValue(88));
}

void CheckInListRacersTest::addRacerWithSale()
{
    desk->list.addRacer("Иван", "Иванов", "", {}, "", "", 0, -1, 0, Junior);
    const CheckInItem &item = desk->racer();
    QCOMPARE(item.salesItem, QStringLiteral("Детский"));
    QCOMPARE(item.carModel, QStringLiteral("Junior"));
    QCOMPARE(item.runCount, 1);
    QCOMPARE(item.paySum, 300.0);
    const QStringList signalsOfAdding{"rowsInserted 0..0", "layoutChanged", "checkInListUpdated"};
    QCOMPARE(desk->log.take(), QStringList{"layoutChanged"} + signalsOfAdding);
}

void CheckInListRacersTest::addRacerWithUnknownSale()
{
    desk->list.addRacer("Иван", "Иванов", "", {}, "", "", 0, -1, 2, 4711);
    QCOMPARE(desk->racer().salesId, -1);
    QCOMPARE(desk->racer().runCount, 2);
    QCOMPARE(desk->racer().paySum, 0.0);
}

void CheckInListRacersTest::addRacerWithMinors()
{
    KidRecord masha = CheckInDesk::kid("мАША  анна", Junior, 2);
    masha.clientId = 77;
    desk->list.addRacer("Иван", "Иванов", "", {masha, CheckInDesk::kid("Петя")}, "", "", 0, -1, 1, Adult);
    const CheckInItem &racer = desk->racer();
    QCOMPARE(int(racer.subItems.size()), 2);
    const CheckInItem &first = *racer.subItems[0];
    QCOMPARE(first.firstName, QStringLiteral("Маша Анна"));
    QCOMPARE(first.clientId, 77);
    QCOMPARE(first.uuid, masha.uuid);
    QCOMPARE(first.runCount, 2);
    QCOMPARE(first.salesItem, QStringLiteral("Детский"));
    QCOMPARE(first.row, 0);
    QCOMPARE(first.parent, &racer);
    QCOMPARE(first.regTime, quint64(0));
    const CheckInItem &second = *racer.subItems[1];
    QCOMPARE(second.runCount, 0);
    QCOMPARE(second.salesId, -1);
    QCOMPARE(second.row, 1);
    QCOMPARE(racer.paySum, 500.0 + 2 * 300.0);
    // A code for each head.
    QCOMPARE(desk->usedPinCodes.size(), 3);
    QCOMPARE(QSet<QString>(desk->usedPinCodes.cbegin(), desk->usedPinCodes.cend()).size(), 3);
    for (const CheckInItem *item : {&racer, &first, &second})
        QVERIFY(desk->usedPinCodes.contains(item->pinCodes.constFirst()));
    QCOMPARE(desk->log.entries.count("rowsInserted 0..0"), 1);
    QCOMPARE(desk->log.entries.count("checkInListUpdated"), 1);
}

void CheckInListRacersTest::clientComesAgain()
{
    desk->list.addRacer("Иван", "Иванов", "", {}, "{u}", "", 5, 88, 3, Adult);
    desk->add("Второй");
    desk->log.take();
    const QModelIndex line = desk->list.addRacer("Пётр", "Петров", "", {}, "{other}", "", 0, 88, 7, -1);
    QCOMPARE(line, desk->list.index(1, 0));
    QCOMPARE(desk->list.rowCount(), 2);
    const CheckInItem &item = desk->racer(1);
    QCOMPARE(item.runCount, 7);
    QCOMPARE(item.paySum, 3500.0);
    QCOMPARE(item.firstName, QStringLiteral("Иван"));
    QCOMPARE(item.uuid, QStringLiteral("{u}"));
    QCOMPARE(item.regTime, quint64(5));
    QCOMPARE(item.pinCodes.size(), 3);
    QCOMPARE(desk->log.take(), QStringList());
}

void CheckInListRacersTest::clientComesAgainWithSale()
{
    desk->list.addRacer("Иван", "Иванов", "", {}, "", "", 0, 88, 3, Adult);
    desk->log.take();
    desk->list.addRacer("Иван", "Иванов", "", {}, "", "", 0, 88, 2, Junior);
    QCOMPARE(desk->racer().salesItem, QStringLiteral("Детский"));
    QCOMPARE(desk->racer().paySum, 600.0);
    QVERIFY(!desk->log.entries.contains("checkInListUpdated"));
    QCOMPARE(desk->list.rowCount(), 1);
}

void CheckInListRacersTest::racerComesAgain()
{
    desk->list.addRacer("Иван", "Иванов", "", {}, "{u}", "", 5, -1, 3, Adult);
    const QJsonArray before = desk->list.listJson();
    desk->log.take();
    QCOMPARE(desk->list.addRacer("Пётр", "Петров", "", {}, "{u}", "", 0, 99, 7, Junior), desk->list.index(0, 0));
    JSON_COMPARE(desk->list.listJson(), before);
    QCOMPARE(desk->log.take(), QStringList());
}

void CheckInListRacersTest::clientBeforeRacer()
{
    desk->list.addRacer("Клиент", "", "", {}, "{a}", "", 0, 88, 1, -1);
    desk->list.addRacer("Другой", "", "", {}, "{b}", "", 0, -1, 1, -1);
    QCOMPARE(desk->list.addRacer("", "", "", {}, "{b}", "", 0, 88, 4, -1), desk->list.index(1, 0));
    QCOMPARE(desk->racer(1).runCount, 4);
    QCOMPARE(desk->racer(0).runCount, 1);
}

/// Only racers are looked for: who came as a minor may register once more.
void CheckInListRacersTest::minorIsNoRacer()
{
    KidRecord masha = CheckInDesk::kid("Маша");
    masha.clientId = 77;
    desk->add("Иванов", {masha});
    desk->list.addRacer("Маша", "Иванов", "", {}, masha.uuid, "", 0, 77, 1, -1);
    QCOMPARE(desk->list.rowCount(), 2);
    QCOMPARE(desk->racer(0).uuid, masha.uuid);
}

void CheckInListRacersTest::tooManyRuns()
{
    desk->list.addRacer("Иван", "Иванов", "", {}, "", "", 0, -1, 2147483647, Adult);
    QCOMPARE(desk->racer().runCount, 1000);
    QCOMPARE(desk->racer().pinCodes.size(), 1000);
}

void CheckInListRacersTest::fromJson()
{
    desk->list.addFromJson(JsonMatch::object(R"({"firstName":"иван","lastName":"ИВАНОВ","midName":"петрович",
        "uuid":"{u}","clientId":88,"runCount":2,"salesCommonId":1,"carModel":"Junior","regTime":5,"comment":"x",
        "payState":true,"subItems":[
            {"firstName":"МАША","lastName":"иванова","midName":"ивановна","salesCommonId":2,"uuid":"{k}","clientId":9,
             "runCount":5},
            {"firstName":"Петя","salesCommonId":"2"}, 7]})"));
    const CheckInItem &racer = desk->racer();
    QCOMPARE(racer.fullName(), QStringLiteral("Иванов Иван Петрович"));
    QCOMPARE(racer.uuid, QStringLiteral("{u}"));
    QCOMPARE(racer.clientId, 88);
    QCOMPARE(racer.runCount, 2);
    QCOMPARE(racer.salesItem, QStringLiteral("Взрослый"));
    QCOMPARE(racer.regTime, quint64(desk->now));
    QCOMPARE(racer.comment, QString());
    QVERIFY(!racer.payState);
    QCOMPARE(int(racer.subItems.size()), 3);
    const CheckInItem &masha = *racer.subItems[0];
    QCOMPARE(masha.fullName(), QStringLiteral("Иванова Маша Ивановна"));
    QCOMPARE(masha.uuid, QString());
    QCOMPARE(masha.clientId, -1);
    QCOMPARE(masha.salesItem, QStringLiteral("Детский"));
    QCOMPARE(masha.runCount, 1);
    QCOMPARE(racer.subItems[1]->salesId, -1);
    QCOMPARE(racer.subItems[1]->runCount, 0);
    QCOMPARE(racer.subItems[2]->fullName(), QStringLiteral("  "));
    QCOMPARE(racer.paySum, 1300.0);
}

void CheckInListRacersTest::fromJsonSignals()
{
    const QModelIndex line = desk->list.addFromJson({{"lastName", "Иванов"}});
    QCOMPARE(line, desk->list.index(0, 0));
    QCOMPARE(desk->log.take(), (QStringList{"layoutAboutToBeChanged", "rowsInserted 0..0", "layoutChanged",
                                            "checkInListUpdated", "layoutChanged"}));
}

void CheckInListRacersTest::fromJsonNumbers_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<int>("clientId");
    QTest::addColumn<int>("runCount");

    const auto row = [](const char *name, const char *json, int clientId, int runCount) {
        QTest::newRow(name) << QByteArray(json) << clientId << runCount;
    };
    row("nothing", R"({})", -1, 0);
    row("client", R"({"clientId":5})", 5, 0);
    row("racer", R"({"racerId":6})", 6, 0);
    row("client before racer", R"({"clientId":5,"racerId":6})", 5, 0);
    row("texts", R"({"clientId":"5","runCount":"3"})", 5, 3);
    row("racer as text", R"({"racerId":"6"})", 6, 0);
    row("letters do not look further", R"({"clientId":"abc","racerId":6})", -1, 0);
    row("null does not look further", R"({"clientId":null,"racerId":6})", -1, 0);
    row("letters as runs", R"({"runCount":"abc"})", -1, 0);
    row("array as runs", R"({"runCount":[3]})", -1, 0);
    row("client -1", R"({"clientId":-1,"racerId":6})", -1, 0);
    row("numbers beyond 32 bits", R"({"clientId":5000000000,"runCount":5000000000})", -1, 0);
    row("texts beyond 32 bits", R"({"clientId":"5000000000","runCount":"5000000000"})", -1, 0);
}

void CheckInListRacersTest::fromJsonNumbers()
{
    QFETCH(QByteArray, json);
    desk->list.addFromJson(JsonMatch::object(json));
    QTEST(desk->racer().clientId, "clientId");
    QTEST(desk->racer().runCount, "runCount");
}

void CheckInListRacersTest::fromJsonKnownClient()
{
    desk->list.addFromJson({{"clientId", 88}, {"runCount", 2}});
    desk->log.take();
    QCOMPARE(desk->list.addFromJson({{"racerId", "88"}, {"runCount", 4}}), desk->list.index(0, 0));
    QCOMPARE(desk->list.rowCount(), 1);
    QCOMPARE(desk->racer().runCount, 4);
    QCOMPARE(desk->log.take(), (QStringList{"layoutAboutToBeChanged", "layoutChanged"}));
}

void CheckInListRacersTest::fromJsonWithoutAnything()
{
    desk->list.addFromJson({});
    QCOMPARE(desk->racer().fullName(), QStringLiteral("  "));
    QVERIFY(!desk->racer().uuid.isEmpty());
    QVERIFY(desk->racer().subItems.empty());
}

void CheckInListRacersTest::findByUuid()
{
    fillThreeFamilies();
    ClientsCheckInList &list = desk->list;
    QCOMPARE(list.findByUuid(desk->racer(1).uuid, false), list.index(1, 0));
    QVERIFY(!list.findByUuid("{Маша}", false).isValid());
    QCOMPARE(list.findByUuid("{Маша}", true), list.index(1, 0, list.index(0, 0)));
    QVERIFY(!list.findByUuid("{nobody}", true).isValid());
    // A racer goes before his own minors, and a family before the next one.
    desk->racer(0).uuid = "{Маша}";
    QCOMPARE(list.findByUuid("{Маша}", true), list.index(0, 0));
    desk->racer(1).uuid = "{Петя}";
    QCOMPARE(list.findByUuid("{Петя}", true), list.index(0, 0, list.index(0, 0)));
    QCOMPARE(list.findByUuid("{Петя}", false), list.index(1, 0));
}

void CheckInListRacersTest::findByCredentials_data()
{
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<QString>("carModel");
    QTest::addColumn<QString>("found");
    QTest::addColumn<bool>("paid");

    const auto row = [](const char *name, const char *request, const char *carModel, const char *found, bool paid) {
        QTest::newRow(name) << QByteArray(request) << QString::fromLatin1(carModel) << QString::fromUtf8(found) << paid;
    };
    row("racer's identity", R"({"racerUuid":"{first}"})", "", "Первый", false);
    row("minor's identity", R"({"racerUuid":"{Маша}"})", "", "Маша", true);
    row("racer's code", R"({"racerUuid":"-","pinCode":"0002"})", "", "Второй", false);
    row("minor's code", R"({"racerUuid":"-","pinCode":"0003"})", "", "Маша", true);
    row("card", R"({"racerUuid":"-","nfcUid":"04:FF"})", "", "Второй", false);
    row("empty card is no card", R"({"racerUuid":"-","nfcUid":""})", "", "", false);
    row("nothing known", R"({"racerUuid":"-","pinCode":"9999","nfcUid":"00"})", "", "", false);
    row("right car", R"({"racerUuid":"{Маша}"})", "Junior", "Маша", true);
    row("other car", R"({"racerUuid":"{Маша}"})", "Senior", "", false);
    row("for any car, asked for one", R"({"racerUuid":"{third}"})", "Junior", "", false);
    row("paid racer", R"({"racerUuid":"{third}"})", "", "Третий", true);
}

void CheckInListRacersTest::findByCredentials()
{
    QFETCH(QByteArray, request);
    QFETCH(QString, carModel);
    QFETCH(QString, found);
    fillThreeFamilies();
    desk->racer(2).uuid = "{first}";
    desk->racer(1).pinCodes = QStringList{"0002", "0002"};
    desk->racer(1).nfcUid = "04:FF";
    desk->racer(0).uuid = "{third}";
    desk->racer(0).payState = true;
    desk->minor(0, 1).pinCodes = QStringList{"0003"};
    CheckInItem *item = &desk->racer(0);
    QTEST(desk->list.findByCredentials(JsonMatch::object(request), carModel, &item), "paid");
    QCOMPARE(item != nullptr, !found.isEmpty());
    if (item)
        QCOMPARE(item->parent ? item->firstName : item->lastName, found);
}

/// The first match decides, also where a later line would suit better.
void CheckInListRacersTest::findByCredentialsStopsAtFirstMatch()
{
    fillThreeFamilies();
    for (CheckInItem *item : {&desk->racer(0), &desk->racer(1), &desk->minor(0, 1)})
        item->pinCodes = QStringList{"0002"};
    desk->racer(1).carModel = "Junior";
    CheckInItem *item = nullptr;
    desk->list.findByCredentials({{"racerUuid", "-"}, {"pinCode", "0002"}}, "", &item);
    QCOMPARE(item, &desk->racer(0));
    desk->list.findByCredentials({{"racerUuid", "-"}, {"pinCode", "0002"}}, "Junior", &item);
    QVERIFY(!item);
}

void CheckInListRacersTest::updateClient_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("agreement");
    QTest::addColumn<int>("secondClientId");

    const auto row = [](const char *name, const char *json, const char *fullName, bool agreement, int secondClientId) {
        QTest::newRow(name) << QByteArray(json) << QString::fromUtf8(fullName) << agreement << secondClientId;
    };
    row("names as they come", R"({"clientId":88,"firstName":"пЁТР","lastName":" x  y","midName":"м"})", " x  y пЁТР м",
        false, -1);
    row("one name", R"({"clientId":88,"midName":"Ильич"})", "Первый Иван Ильич", false, -1);
    row("empty name", R"({"clientId":88,"midName":""})", "Первый Иван ", false, -1);
    row("agreement", R"({"clientId":88,"safetyAgreementValid":true})", "Первый Иван Петрович", true, -1);
    row("agreement of another type", R"({"clientId":88,"safetyAgreementValid":1})", "Первый Иван Петрович", false, -1);
    row("racer becomes a client", R"({"clientId":99,"uuid":"{second}","firstName":"Пётр","safetyAgreementValid":true})",
        "Первый Иван Петрович", false, 99);
    row("nobody's client", R"({"clientId":77,"uuid":"{x}","firstName":"Пётр"})", "Первый Иван Петрович", false, -1);
    row("no client", R"({"clientId":-1,"uuid":"{second}"})", "Первый Иван Петрович", false, -1);
    row("without the key", R"({"uuid":"{second}","firstName":"Пётр"})", "Первый Иван Петрович", false, -1);
}

void CheckInListRacersTest::updateClient()
{
    QFETCH(QByteArray, json);
    fillThreeFamilies();
    desk->racer(1).uuid = "{second}";
    desk->racer(2).clientId = 88;
    desk->list.updateClient(JsonMatch::object(json));
    QTEST(desk->racer(2).fullName(), "name");
    QTEST(desk->racer(2).validSafetyAgreement, "agreement");
    QTEST(desk->racer(1).clientId, "secondClientId");
    QCOMPARE(desk->racer(1).firstName, QStringLiteral("Иван"));
    QVERIFY(!desk->racer(1).validSafetyAgreement);
}

void CheckInListRacersTest::updateClientStopsAtFirst()
{
    fillThreeFamilies();
    desk->racer(0).uuid = "{u}";
    desk->racer(1).clientId = 88;
    desk->list.updateClient({{"clientId", 88}, {"uuid", "{u}"}, {"firstName", "Пётр"}});
    QCOMPARE(desk->racer(0).clientId, 88);
    QCOMPARE(desk->racer(1).firstName, QStringLiteral("Иван"));
}

void CheckInListRacersTest::updateClientSignals()
{
    fillThreeFamilies();
    desk->racer(2).clientId = 88;
    desk->racer(1).uuid = "{second}";
    desk->list.updateClient({{"clientId", 88}});
    QCOMPARE(desk->log.take(), QStringList{"dataChanged 2:0..2:11"});
    desk->list.updateClient({{"clientId", 99}, {"uuid", "{second}"}});
    QCOMPARE(desk->log.take(), QStringList{"dataChanged 1:0..1:11"});
    desk->list.updateClient({{"clientId", 4711}});
    QCOMPARE(desk->log.take(), QStringList());
}

void CheckInListRacersTest::releaseCars()
{
    fillThreeFamilies();
    for (CheckInItem *item : {&desk->racer(0), &desk->minor(0, 1), &desk->racer(2)}) {
        item->carId = 5;
        item->carNum = "7";
    }
    desk->racer(1).carId = 6;
    desk->list.releaseCar(-1);
    QCOMPARE(desk->racer(0).carId, 5);
    desk->list.releaseCar(5);
    for (const CheckInItem *item : {&desk->racer(0), &desk->minor(0, 1), &desk->racer(2)}) {
        QCOMPARE(item->carId, -1);
        QCOMPARE(item->carNum, QStringLiteral("7"));
    }
    QCOMPARE(desk->racer(1).carId, 6);
}

void CheckInListRacersTest::releaseCarByRacer()
{
    fillThreeFamilies();
    for (CheckInItem *item : {&desk->racer(0), &desk->racer(1), &desk->minor(0, 1)}) {
        item->carId = 5;
        item->carNum = "7";
    }
    desk->racer(0).uuid = "{u}";
    desk->list.releaseCarByRacer(
        {QJsonObject{{"racerGuid", "{u}"}}, QJsonObject{{"racerGuid", "{Маша}"}}, 5, QJsonObject{{"uuid", "{x}"}}});
    QCOMPARE(desk->racer(0).carId, -1);
    QCOMPARE(desk->racer(0).carNum, QString());
    QCOMPARE(desk->racer(1).carId, 5);
    QCOMPARE(desk->minor(0, 1).carId, 5);
    QCOMPARE(desk->minor(0, 1).carNum, QStringLiteral("7"));
}

void CheckInListRacersTest::removeTopLevel()
{
    fillThreeFamilies();
    desk->list.removeEntries({desk->cell("NAME", 2), desk->cell("NAME", 0)});
    QCOMPARE(desk->lastNames(), QStringList{"Второй"});
    QCOMPARE(desk->racer().row, 0);
    QCOMPARE(desk->log.take(), (QStringList{"rowsRemoved 0..0", "rowsRemoved 1..1", "checkInListUpdated"}));
    JSON_COMPARE(desk->log.published.constLast(), desk->list.listJson());
}

void CheckInListRacersTest::removeMinors()
{
    fillThreeFamilies();
    desk->list.removeEntries({desk->minorCell("NAME", 2, 0), desk->minorCell("NAME", 0, 0)});
    QCOMPARE(desk->list.rowCount(), 3);
    QCOMPARE(int(desk->racer(0).subItems.size()), 1);
    QCOMPARE(desk->racer(0).subItems.front()->firstName, QStringLiteral("Маша"));
    QCOMPARE(desk->racer(0).subItems.front()->row, 0);
    QVERIFY(desk->racer(2).subItems.empty());
    QCOMPARE(desk->log.take(), (QStringList{"rowsRemoved 0/0..0", "rowsRemoved 2/0..0", "checkInListUpdated"}));
}

void CheckInListRacersTest::removeMixed()
{
    fillThreeFamilies();
    desk->list.removeEntries({desk->cell("NAME", 0), desk->minorCell("NAME", 0, 1), desk->minorCell("NAME", 0, 0),
                              desk->minorCell("NAME", 2, 0)});
    QCOMPARE(desk->lastNames(), (QStringList{"Второй", "Первый"}));
    QVERIFY(desk->racer(1).subItems.empty());
    QCOMPARE(desk->log.take(), (QStringList{"rowsRemoved 0/0..0", "rowsRemoved 0/0..0", "rowsRemoved 2/0..0",
                                            "rowsRemoved 0..0", "checkInListUpdated"}));
}

void CheckInListRacersTest::removeEveryCellOfSomeRows()
{
    fillThreeFamilies();
    QModelIndexList indexes;
    for (int column = 0; column < desk->list.columnCount(); ++column)
        indexes << desk->list.index(1, column) << desk->list.index(0, column, desk->list.index(2, 0));
    desk->list.removeEntries(indexes);
    QCOMPARE(desk->lastNames(), (QStringList{"Третий", "Первый"}));
    QCOMPARE(desk->log.take(), (QStringList{"rowsRemoved 2/0..0", "rowsRemoved 1..1", "checkInListUpdated"}));
}

void CheckInListRacersTest::removeNothing()
{
    fillThreeFamilies();
    desk->list.removeEntries({});
    desk->list.removeEntries({QModelIndex()});
    desk->list.removeByUuids({});
    desk->list.removeByUuids({"{nobody}"});
    desk->list.purgeExpired(1800);
    QCOMPARE(desk->list.rowCount(), 3);
    QCOMPARE(desk->log.take(), QStringList());
}

void CheckInListRacersTest::removedMinorIsNotPaidFor()
{
    const CheckInItem &racer = desk->addSold(Adult, 1, {CheckInDesk::kid("Маша", Junior, 2)});
    QCOMPARE(racer.paySum, 1100.0);
    desk->list.removeEntries({desk->minorCell("NAME", 0, 0)});
    QCOMPARE(racer.paySum, 500.0);
}

void CheckInListRacersTest::removalKeepsPinsInPlay()
{
    fillThreeFamilies();
    const QStringList before = desk->usedPinCodes;
    desk->list.removeEntries({desk->cell("NAME", 0), desk->minorCell("NAME", 2, 0)});
    QCOMPARE(desk->usedPinCodes, before);
}

void CheckInListRacersTest::removeByUuids()
{
    fillThreeFamilies();
    desk->list.removeByUuids({desk->racer(2).uuid, "{Маша}", "{nobody}"});
    QCOMPARE(desk->lastNames(), (QStringList{"Третий", "Второй"}));
    QCOMPARE(int(desk->racer(0).subItems.size()), 2);
    QCOMPARE(desk->log.take(), (QStringList{"rowsRemoved 2..2", "checkInListUpdated"}));
}

void CheckInListRacersTest::purge_data()
{
    QTest::addColumn<quint64>("regTime");
    QTest::addColumn<qint64>("now");
    QTest::addColumn<bool>("gone");

    QTest::newRow("to the second") << quint64(1000) << qint64(2800) << false;
    QTest::newRow("one second more") << quint64(1000) << qint64(2801) << true;
    QTest::newRow("never") << quint64(0) << qint64(1700000000) << false;
}

void CheckInListRacersTest::purge()
{
    QFETCH(quint64, regTime);
    QFETCH(qint64, now);
    QFETCH(bool, gone);
    desk->add();
    desk->racer().regTime = regTime;
    desk->log.take();
    desk->now = now;
    desk->list.purgeExpired(1800);
    QCOMPARE(desk->list.rowCount(), gone ? 0 : 1);
    QCOMPARE(desk->log.take(), gone ? (QStringList{"rowsRemoved 0..0", "checkInListUpdated"}) : QStringList());
}

void CheckInListRacersTest::purgeTakesTheWholeFamily()
{
    fillThreeFamilies();
    desk->racer(0).regTime = 0;
    desk->minor(0, 0).regTime = 1;
    desk->now += 1801;
    desk->list.purgeExpired(1800);
    // A minor's own time is not asked for.
    QCOMPARE(desk->lastNames(), QStringList{"Третий"});
    QCOMPARE(int(desk->racer(0).subItems.size()), 2);
    QCOMPARE(desk->log.take(), (QStringList{"rowsRemoved 1..1", "rowsRemoved 1..1", "checkInListUpdated"}));
}

void CheckInListRacersTest::whatStopsTheClock_data()
{
    QTest::addColumn<DeskWork>("work");
    QTest::addColumn<bool>("stops");

    const auto row = [](const char *name, bool stops, const DeskWork &work) { QTest::newRow(name) << work << stops; };
    row("nothing", false, [](CheckInDesk &) {});
    row("payment", true, [](CheckInDesk &here) { here.list.togglePayState(here.cell("PAYSTATE"), true, -1); });
    row("refused payment", true, [](CheckInDesk &here) {
        here.racer().payMethod.clear();
        here.list.togglePayState(here.cell("PAYSTATE"), true, -1);
    });
    row("ticket", true, [](CheckInDesk &here) { here.list.printTicket(here.cell("NAME")); });
    row("run count", true, [](CheckInDesk &here) { here.list.setData(here.cell("RUNCOUNT"), 2); });
    row("comment", true, [](CheckInDesk &here) { here.list.setData(here.cell("COMMENT"), "x"); });
    row("edit form", true,
        [](CheckInDesk &here) { here.list.applyFamilyEdit(here.cell("NAME"), "Иван", "Иванов", "", {}); });
    row("sale", false, [](CheckInDesk &here) { here.list.setSalesItem(here.price(Junior), here.cell("SALES_ITEM")); });
    row("discount", false, [](CheckInDesk &here) { here.list.setDiscount("10", here.cell("DISCOUNT")); });
    row("payment method", false, [](CheckInDesk &here) { here.list.setPayMethod("Карта", here.cell("PAYMETHOD")); });
}

void CheckInListRacersTest::whatStopsTheClock()
{
    QFETCH(DeskWork, work);
    QFETCH(bool, stops);
    desk->addSold(Adult);
    work(*desk);
    QCOMPARE(desk->racer().regTime, quint64(stops ? 0 : desk->now));
}

void CheckInListRacersTest::familyEdit()
{
    fillThreeFamilies();
    const QStringList pins = desk->minor(0, 1).pinCodes;
    const int codes = desk->usedPinCodes.size();
    KidRecord added = CheckInDesk::kid("  рита ");
    desk->list.applyFamilyEdit(desk->cell("SAFETY", 0), "аННА", "третья  ", "",
                               {CheckInDesk::kid("пЕТЯ"), CheckInDesk::kid("Мария"), added});
    const CheckInItem &racer = desk->racer(0);
    QCOMPARE(racer.fullName(), QStringLiteral("Третья Анна "));
    QCOMPARE(racer.regTime, quint64(0));
    QCOMPARE(int(racer.subItems.size()), 3);
    QCOMPARE(racer.subItems[0]->firstName, QStringLiteral("пЕТЯ"));
    QCOMPARE(racer.subItems[0]->uuid, QStringLiteral("{пЕТЯ}"));
    QCOMPARE(racer.subItems[1]->firstName, QStringLiteral("Мария"));
    QCOMPARE(racer.subItems[1]->pinCodes, pins);
    QCOMPARE(racer.subItems[1]->salesItem, QStringLiteral("Детский"));
    const CheckInItem &rita = *racer.subItems[2];
    QCOMPARE(rita.firstName, QStringLiteral("  рита "));
    QCOMPARE(rita.parent, &racer);
    QCOMPARE(rita.runCount, 0);
    QCOMPARE(rita.pinCodes.size(), 1);
    QCOMPARE(rita.regTime, quint64(0));
    QCOMPARE(desk->usedPinCodes.size(), codes + 1);
    QCOMPARE(desk->log.take(), (QStringList{"rowsInserted 0/2..2", "layoutChanged"}));
}

void CheckInListRacersTest::familyEditDropsFromTheEnd()
{
    fillThreeFamilies();
    desk->list.applyFamilyEdit(desk->cell("NAME", 0), "Иван", "Третий", "", {CheckInDesk::kid("Маша")});
    // The form paired Маша's name with the first line: the sale that she had is gone with the second.
    const CheckInItem &racer = desk->racer(0);
    QCOMPARE(int(racer.subItems.size()), 1);
    QCOMPARE(racer.subItems[0]->firstName, QStringLiteral("Маша"));
    QCOMPARE(racer.subItems[0]->salesItem, QString());
    QCOMPARE(desk->log.entries.constFirst(), QStringLiteral("rowsRemoved 0/1..1"));
    QCOMPARE(desk->log.entries.constLast(), QStringLiteral("layoutChanged"));
}

void CheckInListRacersTest::familyEditWithoutChanges()
{
    fillThreeFamilies();
    desk->list.applyFamilyEdit(desk->cell("NAME", 1), "Иван", "Второй", "Петрович", {});
    QCOMPARE(desk->racer(1).regTime, quint64(0));
    QCOMPARE(desk->log.take(), QStringList{"layoutChanged"});
}

void CheckInListRacersTest::droppedOut_data()
{
    QTest::addColumn<bool>("racerSold");
    QTest::addColumn<QStringList>("seated");
    QTest::addColumn<bool>("gone");

    QTest::newRow("racer, minors left") << true << QStringList{"{u}"} << false;
    QTest::newRow("minors, racer left") << true << QStringList{"{Маша}", "{Петя}"} << false;
    QTest::newRow("one minor, racer without a sale") << false << QStringList{"{Маша}"} << false;
    QTest::newRow("minors, racer without a sale") << false << QStringList{"{Маша}", "{Петя}"} << true;
    QTest::newRow("all") << true << QStringList{"{u}", "{Маша}", "{Петя}"} << true;
}

void CheckInListRacersTest::droppedOut()
{
    QFETCH(bool, racerSold);
    QFETCH(QStringList, seated);
    QFETCH(bool, gone);
    desk->add("Первый");
    desk->list.addRacer("Иван", "Иванов", "", {CheckInDesk::kid("Маша", Junior, 1), CheckInDesk::kid("Петя")}, "{u}",
                        "", 0, -1, 1, racerSold ? Adult : NoSale);
    QJsonArray records;
    for (const QString &uuid : seated)
        records.append(QJsonObject{{"uuid", uuid}});
    desk->log.take();
    desk->list.itemsDroppedOut(records);
    QCOMPARE(desk->lastNames(), gone ? QStringList{"Первый"} : (QStringList{"Иванов", "Первый"}));
    if (!gone) {
        QCOMPARE(desk->racer(0).enqueued, seated.contains("{u}"));
        QCOMPARE(desk->minor(0, 0).enqueued, seated.contains("{Маша}"));
        QCOMPARE(desk->minor(0, 1).enqueued, seated.contains("{Петя}"));
    }
    QCOMPARE(desk->log.entries.count("checkInListUpdated"), seated.size());
}

void CheckInListRacersTest::droppedOutSignals()
{
    desk->addSold(Adult, 1, {CheckInDesk::kid("Маша")});
    desk->log.take();
    desk->list.itemsDroppedOut({QJsonObject{{"uuid", "{Маша}"}}});
    desk->log.entries.removeAll("dataChanged 0/0:0..0:11");
    QCOMPARE(desk->log.take(), (QStringList{"checkInListUpdated", "layoutChanged"}));
}

void CheckInListRacersTest::droppedOutFamilySignals()
{
    desk->add("Первый");
    const CheckInItem &racer = desk->addSold(Adult);
    desk->log.take();
    desk->list.itemsDroppedOut({QJsonObject{{"uuid", racer.uuid}}});
    desk->log.entries.removeAll("dataChanged 0:0..0:11");
    QCOMPARE(desk->log.take(), (QStringList{"rowsRemoved 0..0", "checkInListUpdated", "layoutChanged"}));
    QCOMPARE(desk->log.published.constLast().size(), 1);
}

void CheckInListRacersTest::droppedOutUnknown()
{
    fillThreeFamilies();
    desk->list.itemsDroppedOut({QJsonObject{{"uuid", "{nobody}"}}, 5});
    QVERIFY(!desk->log.entries.contains("checkInListUpdated"));
    for (int row = 0; row < 3; ++row)
        QVERIFY(!desk->racer(row).enqueued);
}

void CheckInListRacersTest::undroppedComesBack()
{
    fillThreeFamilies();
    desk->racer(2).enqueued = true;
    desk->minor(0, 1).enqueued = true;
    desk->list.itemsUndropped({QJsonObject{{"uuid", desk->racer(2).uuid}}, QJsonObject{{"uuid", "{Маша}"}}});
    QVERIFY(!desk->racer(2).enqueued);
    QVERIFY(!desk->minor(0, 1).enqueued);
    QCOMPARE(desk->list.rowCount(), 3);
    QVERIFY(!desk->log.entries.contains("checkInListUpdated"));
    QCOMPARE(desk->log.entries.constLast(), QStringLiteral("layoutChanged"));
}

void CheckInListRacersTest::undroppedNewRacer()
{
    fillThreeFamilies();
    desk->list.itemsUndropped({JsonMatch::object(R"({"uuid":"{back}","lastName":"иЗ заезда","discountValue":10,
        "payState":true,"runCount":2,"pinCodes":["0042"],"salesItem":"Взрослый","regTime":5})")});
    QCOMPARE(desk->list.rowCount(), 4);
    const CheckInItem &item = desk->racer(0);
    QCOMPARE(item.lastName, QStringLiteral("иЗ заезда"));
    QCOMPARE(item.discountValue, QStringLiteral("10"));
    QCOMPARE(item.pinCodes, (QStringList{"0042", ""}));
    QCOMPARE(item.salesItem, QStringLiteral("Взрослый"));
    QVERIFY(item.payState);
    QVERIFY(!item.enqueued);
    QCOMPARE(desk->log.entries.count("rowsInserted 0..0"), 1);
    QCOMPARE(desk->log.entries.constLast(), QStringLiteral("layoutChanged"));
}

void CheckInListRacersTest::undroppedMinorWithoutParent()
{
    fillThreeFamilies();
    desk->list.itemsUndropped({QJsonObject{{"uuid", "{gone}"}, {"parentUuid", "{parent}"}}});
    QCOMPARE(desk->list.rowCount(), 3);
    QCOMPARE(desk->log.entries.constLast(), QStringLiteral("layoutChanged"));
}

void CheckInListRacersTest::listRecords()
{
    desk->addSold(Adult, 1, {CheckInDesk::kid("Маша", Junior, 1), CheckInDesk::kid("Петя")});
    desk->add("Второй");
    const QJsonArray list = desk->list.listJson();
    QCOMPARE(list.size(), 2);
    // A line without a sale has no colour to show; its own record has one.
    QJsonObject second = desk->list.toJson(desk->racer(0));
    QCOMPARE(second.value("color").toString(), QStringLiteral("#ffffff"));
    second.insert("color", "#00000000");
    second.insert("subItems", QJsonArray());
    JSON_COMPARE(list.at(0), second);

    QJsonObject petya = desk->list.toJson(desk->minor(1, 1));
    petya.insert("color", "#00000000");
    QJsonObject family = desk->list.toJson(desk->racer(1));
    family.insert("subItems", QJsonArray{desk->list.toJson(desk->minor(1, 0)), petya});
    JSON_COMPARE(list.at(1), family);
}

DESK_TEST_MAIN(CheckInListRacersTest)
#include "tst_checkinlist_racers.moc"
