#include "checkindesk.h"

#include "desktest.h"
#include "jsonmatch.h"

#include <QDir>
#include <QJsonDocument>
#include <QUuid>

#include <memory>

namespace {

const QString journalName = QStringLiteral("tickets.state");

QByteArray line(const QJsonObject &json)
{
    return QJsonDocument(json).toJson(QJsonDocument::Compact) + '\n';
}

} // namespace

/// The journal of the check-in list.
class CheckInListJournalTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { desk = std::make_unique<CheckInDesk>(); }
    void cleanup() { desk.reset(); }

    void bytes();
    void emptyList();
    void writingReplacesTheFile();
    void noFolder();
    void comesBack();
    void damagedLines_data();
    void damagedLines();
    void lastLineWithoutEnd();
    void missingIdentities();
    void missingFields();
    void codesComeIntoPlay();
    void sumsAreWorkedOutAnew();
    void loadedLinesGoBehind();
    void strangeMinors();
    void noFile();
    void signalsOfLoading();

private:
    void load(const QByteArray &bytes);

    std::unique_ptr<CheckInDesk> desk;
};

void CheckInListJournalTest::load(const QByteArray &bytes)
{
    desk->track.writeJournal(journalName, bytes);
    desk->list.load();
}

void CheckInListJournalTest::bytes()
{
    desk->addSold(Adult, 2, {CheckInDesk::kid("Маша", Junior, 1), CheckInDesk::kid("Петя")});
    desk->add("Второй");
    QJsonObject second = desk->list.toJson(desk->racer(0));
    second.insert("kidsList", QJsonArray());
    QJsonObject family = desk->list.toJson(desk->racer(1));
    family.insert("kidsList", QJsonArray{desk->list.toJson(desk->minor(1, 0)), desk->list.toJson(desk->minor(1, 1))});
    QVERIFY(!family.contains("subItems"));
    desk->list.save();
    QCOMPARE(desk->track.readJournal(journalName), line(second) + line(family));
}

void CheckInListJournalTest::emptyList()
{
    desk->list.save();
    QVERIFY(desk->track.hasJournal(journalName));
    QCOMPARE(desk->track.readJournal(journalName), QByteArray(""));
}

void CheckInListJournalTest::writingReplacesTheFile()
{
    desk->track.writeJournal(journalName, QByteArray("x").repeated(5000));
    desk->add();
    desk->list.save();
    QJsonObject expected = desk->list.toJson(desk->racer());
    expected.insert("kidsList", QJsonArray());
    QCOMPARE(desk->track.readJournal(journalName), line(expected));
}

void CheckInListJournalTest::noFolder()
{
    desk->add();
    QDir(desk->track.journalsFolder()).removeRecursively();
    desk->list.save();
    QVERIFY(!QDir(desk->track.journalsFolder()).exists());
    ClientsCheckInList other;
    other.load();
    QCOMPARE(other.rowCount(), 0);
}

void CheckInListJournalTest::comesBack()
{
    CheckInItem &first =
        desk->addSold(Adult, 2, {CheckInDesk::kid("Маша", Junior, 1), CheckInDesk::kid("Петя", Gift, 3)});
    first.comment = "с \"кавычками\"\nи строкой";
    first.payState = true;
    first.carId = 4;
    desk->add("Второй").runCount = 1;
    desk->list.setDiscount("=50", desk->cell("DISCOUNT", 1));
    desk->list.save();

    QStringList usedPinCodes;
    ClientsCheckInList other;
    other.setPrices(&desk->prices);
    other.setUsedPinCodes(&usedPinCodes);
    other.load();
    JSON_COMPARE(other.listJson(), desk->list.listJson());
    other.save();
    const QByteArray again = desk->track.readJournal(journalName);
    desk->list.save();
    QCOMPARE(again, desk->track.readJournal(journalName));
    const CheckInItem *minor = other.itemAt(other.index(1, 0, other.index(1, 0)));
    QCOMPARE(minor->firstName, QStringLiteral("Петя"));
    QCOMPARE(minor->parent, other.itemAt(other.index(1, 0)));
    QCOMPARE(minor->row, 1);
}

void CheckInListJournalTest::damagedLines_data()
{
    QTest::addColumn<QByteArray>("damaged");
    QTest::newRow("half a line") << QByteArray(R"({"lastName":"Пропав)") + '\n';
    QTest::newRow("empty line") << QByteArray("\n");
    QTest::newRow("array") << QByteArray("[1,2]\n");
    QTest::newRow("text") << QByteArray("ничего\n");
    QTest::newRow("zero bytes") << QByteArray(64, '\0') + '\n';
    QTest::newRow("two objects") << QByteArray(R"({"lastName":"a"}{"lastName":"b"})") + '\n';
    QTest::newRow("no UTF-8") << QByteArray("{\"lastName\":\"\xff\xfe\"") + '\n';
}

void CheckInListJournalTest::damagedLines()
{
    QFETCH(QByteArray, damaged);
    load(line({{"lastName", "Первый"}}) + damaged + line({{"lastName", "Последний"}}));
    QCOMPARE(desk->lastNames(), (QStringList{"Первый", "Последний"}));
}

/// The last byte of a line is its end and goes unread; a line that was cut just before it is damaged.
void CheckInListJournalTest::lastLineWithoutEnd()
{
    load(line({{"lastName", "Первый"}}) + R"({"lastName":"Последний"})");
    QCOMPARE(desk->lastNames(), QStringList{"Первый"});
}

void CheckInListJournalTest::missingIdentities()
{
    load(R"({"lastName":"a","kidsList":[{"lastName":"b"},{"lastName":"c","uuid":"{c}"}]})"
         "\n");
    const CheckInItem &racer = desk->racer();
    const CheckInItem &first = *racer.subItems[0];
    QVERIFY(!QUuid(racer.uuid).isNull());
    QVERIFY(!QUuid(first.uuid).isNull());
    QVERIFY(racer.uuid != first.uuid);
    QCOMPARE(racer.subItems[1]->uuid, QStringLiteral("{c}"));
}

void CheckInListJournalTest::missingFields()
{
    load("{}\n");
    const CheckInItem &item = desk->racer();
    QCOMPARE(item.runCount, 1);
    QCOMPARE(item.pinCodes, QStringList{""});
    QCOMPARE(item.salesId, -1);
    QCOMPARE(item.carId, -1);
    QCOMPARE(item.clientId, -1);
    QCOMPARE(item.discountValue, QString());
    QCOMPARE(item.regTime, quint64(0));
    QVERIFY(!item.color.isValid());
    QVERIFY(!item.payState);
    QVERIFY(!item.enqueued);
}

void CheckInListJournalTest::codesComeIntoPlay()
{
    desk->usedPinCodes = QStringList{"9999"};
    load(line(JsonMatch::object(R"({"runCount":2,"pinCodes":["0001","0001"],
        "kidsList":[{"runCount":2,"pinCodes":["0002"]},{"runCount":0,"pinCodes":["0003"]}]})")));
    QCOMPARE(desk->usedPinCodes, (QStringList{"9999", "0001", "0001", "0002", ""}));
}

void CheckInListJournalTest::sumsAreWorkedOutAnew()
{
    load(line(JsonMatch::object(R"({"runCount":2,"price":100,"paySum":7,"discountValue":10,
        "kidsList":[{"runCount":3,"price":50,"paySum":8}]})")));
    QCOMPARE(desk->racer().paySum, 315.0);
    QCOMPARE(desk->minor(0, 0).paySum, 8.0);
}

void CheckInListJournalTest::loadedLinesGoBehind()
{
    desk->add("Сегодня");
    load(line({{"lastName", "a"}}) + line({{"lastName", "b"}}));
    QCOMPARE(desk->lastNames(), (QStringList{"Сегодня", "a", "b"}));
    QCOMPARE(desk->racer(2).row, 2);
}

void CheckInListJournalTest::strangeMinors()
{
    load(R"({"lastName":"a","kidsList":"none"})"
         "\n"
         R"({"lastName":"b","kidsList":[5,{"firstName":"Маша"}]})"
         "\n");
    QCOMPARE(desk->lastNames(), (QStringList{"a", "b"}));
    QVERIFY(desk->racer(0).subItems.empty());
    QCOMPARE(desk->racer(1).subItems.back()->firstName, QStringLiteral("Маша"));
}

void CheckInListJournalTest::noFile()
{
    desk->list.load();
    QCOMPARE(desk->list.rowCount(), 0);
    QVERIFY(!desk->track.hasJournal(journalName));
}

void CheckInListJournalTest::signalsOfLoading()
{
    load(line({{"lastName", "a"}}) + line({{"lastName", "b"}}));
    QCOMPARE(desk->log.entries.constLast(), QStringLiteral("layoutChanged"));
    QVERIFY(!desk->log.entries.contains("checkInListUpdated"));
}

DESK_TEST_MAIN(CheckInListJournalTest)
#include "tst_checkinlist_journal.moc"
