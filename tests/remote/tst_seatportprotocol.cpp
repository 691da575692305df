#include "remote/seatportprotocol.h"

#include "desktest.h"
#include "jsonmatch.h"

Q_DECLARE_METATYPE(SeatPort::Command::Kind)

/// The two commands of the seat port and the texts that answer them.
class TestSeatPortProtocol : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void tickets_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("pin");
        QTest::newRow("PIN") << QByteArray("?p=0101") << QStringLiteral("0101");
        QTest::newRow("no PIN") << QByteArray("?p=") << QString();
        QTest::newRow("line ending stays") << QByteArray("?p=0101\r\n") << QStringLiteral("0101\r\n");
        QTest::newRow("two commands are one") << QByteArray("?p=0101?p=0202") << QStringLiteral("0101?p=0202");
        QTest::newRow("Cyrillic") << QByteArray("?p=ЖЯ") << QStringLiteral("ЖЯ");
    }
    void tickets()
    {
        QFETCH(QByteArray, bytes);
        const SeatPort::Command command = SeatPort::parsed(bytes);
        QCOMPARE(command.kind, SeatPort::Command::Kind::FindTicket);
        QTEST(command.pin, "pin");
    }

    void seats()
    {
        const SeatPort::Command command =
            SeatPort::parsed(QByteArray("setSeat= {\"uuid\": \"{a}\", \"name\": \"Анна\"} \n"));
        QCOMPARE(command.kind, SeatPort::Command::Kind::SetSeat);
        JSON_COMPARE(command.seat, JsonMatch::object(R"({"uuid": "{a}", "name": "Анна"})"));
        const SeatPort::Command empty = SeatPort::parsed(QByteArray("setSeat={}"));
        QCOMPARE(empty.kind, SeatPort::Command::Kind::SetSeat);
        QVERIFY(empty.seat.isEmpty());
    }

    void strangers_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("nothing") << QByteArray();
        QTest::newRow("half a prefix") << QByteArray("?p");
        QTest::newRow("blank in front") << QByteArray(" ?p=0101");
        QTest::newRow("other case") << QByteArray("?P=0101");
        QTest::newRow("other word") << QByteArray("GET / HTTP/1.1\r\n\r\n");
        QTest::newRow("no JSON") << QByteArray("setSeat=uuid");
        QTest::newRow("cut JSON") << QByteArray("setSeat={\"uuid\":");
        QTest::newRow("array") << QByteArray("setSeat=[{\"uuid\": \"{a}\"}]");
        QTest::newRow("two objects") << QByteArray("setSeat={}setSeat={}");
        QTest::newRow("no object") << QByteArray("setSeat=");
        QTest::newRow("too deep") << QByteArray("setSeat=") + QByteArray(100000, '[');
        QTest::newRow("deep objects") << QByteArray("setSeat=") + QByteArray("{\"a\":").repeated(100000);
        QTest::newRow("zero bytes") << QByteArray(64, '\0');
    }
    void strangers()
    {
        QFETCH(QByteArray, bytes);
        QCOMPARE(SeatPort::parsed(bytes).kind, SeatPort::Command::Kind::None);
    }

    void seatRequest()
    {
        JSON_COMPARE(SeatPort::seatRequest(JsonMatch::object(R"({"uuid": "{a}", "manual": true,
                         "carData": {"carId": 7, "model": "Sodi", "carNum": "12"}})"),
                                           QStringLiteral("track")),
                     JsonMatch::object(R"({"request": "setRacer", "trackId": "track", "runQueueGuid": "current",
                         "racerUuid": "{a}", "carId": 7, "carModel": "Sodi", "manual": true})"));
        // What is not named stays away, and nothing can be slipped in.
        JSON_COMPARE(SeatPort::seatRequest(JsonMatch::object(R"({"trackId": "x", "request": "doFinishQueue",
                         "runQueueGuid": "{r}", "pinCode": "0101", "carData": 5})"),
                                           QString()),
                     JsonMatch::object(R"({"request": "setRacer", "trackId": "", "runQueueGuid": "current"})"));
    }

    void ticketAnswer()
    {
        SeatPort::Ticket ticket;
        ticket.status = QStringLiteral("fail");
        ticket.message = QStringLiteral("Билет недействителен!");
        QCOMPARE(SeatPort::ticketAnswer(ticket),
                 QStringLiteral(
                     "status:fail\tmessage:Билет недействителен!\tuuid:\tcarModel:\tname:\tavail:\tbusy:\t"));

        ticket = SeatPort::Ticket();
        ticket.status = QStringLiteral("ok");
        ticket.uuid = QStringLiteral("{a}");
        ticket.carModel = QStringLiteral("%2 Sodi");
        ticket.name = QStringLiteral("Иванов %1");
        ticket.freeCars = QStringList{QStringLiteral("7 - 1"), QStringLiteral("12 - 2")};
        ticket.busyCars = QStringList{QStringLiteral(" - 9")};
        QCOMPARE(SeatPort::ticketAnswer(ticket),
                 QStringLiteral("status:ok\tmessage:\tuuid:{a}\tcarModel:%2 Sodi\tname:Иванов %1\t"
                                "avail:7 - 1,12 - 2\tbusy: - 9\t"));
    }

    void seatAnswer()
    {
        QCOMPARE(SeatPort::seatAnswer(QStringLiteral("ok"), QString()), QStringLiteral("status:ok\tmessage:\t"));
        QCOMPARE(SeatPort::seatAnswer(QStringLiteral("fail"), QStringLiteral("Машина занята!")),
                 QStringLiteral("status:fail\tmessage:Машина занята!\t"));
    }

    void parts()
    {
        QCOMPARE(SeatPort::carText(QStringLiteral("12"), 7), QStringLiteral("12 - 7"));
        QCOMPARE(SeatPort::carText(QString(), 7), QStringLiteral(" - 7"));
        QCOMPARE(SeatPort::carText(QStringLiteral("%2"), 7), QStringLiteral("%2 - 7"));
        QCOMPARE(SeatPort::racerName(QStringLiteral("Иванов"), QStringLiteral("Пётр")), QStringLiteral("Иванов Пётр"));
        QCOMPARE(SeatPort::racerName(QStringLiteral("Иванов"), QString()), QStringLiteral("Иванов"));
        QCOMPARE(SeatPort::racerName(QString(), QStringLiteral("Пётр")), QStringLiteral("Пётр"));
        QCOMPARE(SeatPort::racerName(QString(), QString()), QString());
    }
};

DESK_TEST_MAIN(TestSeatPortProtocol)

#include "tst_seatportprotocol.moc"
