#include "checkincounter.h"
#include "desktest.h"
#include "jsonmatch.h"
#include "trackoffice.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QHostAddress>
#include <QJsonDocument>
#include <QTcpServer>
#include <QTcpSocket>

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <functional>
#include <memory>
#include <vector>

/// The seat port as its clients know it: over sockets, byte by byte. The desk and the clients share one event loop.
class TestSeatPort : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void unknownCode();
    void codeSeatsAPaidLine();
    void codeOfAnUnpaidLine();
    void codeOfAMinor();
    void codeOfASeatInALaterRun();
    void codeIntoANewRun();
    void codeWithAnEmptyQueue();
    void codesAreTakenAsTheyStand_data();
    void codesAreTakenAsTheyStand();
    void namesOfRacers_data();
    void namesOfRacers();
    void carsOfTheNextRun();
    void carsOfAnotherModel();
    void racerWithoutAModel();

    void seatWithACar();
    void seatOnATakenCar_data();
    void seatOnATakenCar();
    void seatCarOfAnotherModel();
    void seatOfAnotherModel();
    void seatIntoANewRun();
    void seatMovesToTheNextRun();
    void seatNobody_data();
    void seatNobody();
    void beforeTheTrackIsKnown();
    void hostHearsNoRequest();

    void pauseBeforeTheAnswer_data();
    void pauseBeforeTheAnswer();
    void noAnswerIsDue_data();
    void noAnswerIsDue();
    void oneConnectionManyCommands();
    void twoCommandsInOneSegment_data();
    void twoCommandsInOneSegment();
    void oneCommandInTwoSegments();
    void textIsUtf8();

    void manyClients();
    void clientThatVanishes_data();
    void clientThatVanishes();
    void clientThatStopsSending();
    void clientThatSendsJunk_data();
    void clientThatSendsJunk();
    void connectionsComeAndGo();
    void portIsTaken();
    void deskEndsUnderItsClients();
    void deskEndsUnderAClientThatDoesNotRead();
    void everyAddress();

private:
    HostProbe &desk() { return m_office->desk(); }
    bool open();
    void lines(const QList<QJsonObject> &seeded);
    /// Sends one command on a connection of its own and returns what comes within a while.
    QByteArray ask(const QByteArray &command, int bytes = 1);
    /// Lines of the check-in list, as the desk stores them.
    QList<QJsonObject> listed();

    std::unique_ptr<TrackOffice> m_office;
};

namespace {

using JsonMatch::object;

constexpr quint16 Port = 9183;

// Texts in the code page of the answers.
const char BadTicket[] = "c1e8ebe5f220ede5e4e5e9f1f2e2e8f2e5ebe5ed21"; // Билет недействителен!
const char BusyCar[] = "cce0f8e8ede020e7e0edfff2e021"; // Машина занята!
const char WrongCar[] = "cce0f8e8ede020ede5e4eef1f2f3efede021"; // Машина недоступна!

QByteArray bytes(const char *hex)
{
    return QByteArray::fromHex(hex);
}

QByteArray badTicket()
{
    return "status:fail\tmessage:" + bytes(BadTicket) + "\tuuid:\tcarModel:\tname:\tavail:\tbusy:\t";
}

QByteArray refused(const char *hex)
{
    return "status:fail\tmessage:" + bytes(hex) + '\t';
}

const char Seated[] = "status:ok\tmessage:\t";

/// A paid line of one run with a Sodi.
QJsonObject paid(const char *uuid, const char *pin, const char *more = "{}")
{
    QJsonObject line = Counter::ticket(text(uuid), {{QStringLiteral("payState"), true},
                                                    {QStringLiteral("runCount"), 1},
                                                    {QStringLiteral("firstName"), QStringLiteral("Ann")},
                                                    {QStringLiteral("carModel"), QStringLiteral("Sodi")},
                                                    {QStringLiteral("pinCodes"), QJsonArray{text(pin)}}});
    const QJsonObject changes = object(more);
    for (auto it = changes.begin(); it != changes.end(); ++it)
        line.insert(it.key(), it.value());
    return line;
}

QJsonObject seat(const char *uuid, int competitorId, const char *more = "{}")
{
    return TrackOffice::seat(text(uuid), competitorId, object(more));
}

QJsonArray fleet()
{
    return {TrackOffice::car(5, QStringLiteral("Sodi"), QStringLiteral("3")),
            TrackOffice::car(2, QStringLiteral("Sodi"), QStringLiteral("12")),
            TrackOffice::car(9, QStringLiteral("Sodi"), QStringLiteral("1")),
            TrackOffice::car(7, QStringLiteral("Sodi"), QStringLiteral("8"), false),
            TrackOffice::car(3, QStringLiteral("Rimo"), QStringLiteral("13"))};
}

bool connected(QTcpSocket *socket)
{
    socket->connectToHost(QHostAddress::LocalHost, Port);
    if (!QTest::qWaitFor([&] { return socket->state() == QAbstractSocket::ConnectedState; }))
        return false;
    socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    // The desk takes the connection in its own turn.
    HostProbe::settle(5);
    return true;
}

void send(QTcpSocket *socket, const QByteArray &command)
{
    socket->write(command);
    socket->flush();
}

/// What comes until there is so much of it, or until the time is over.
QByteArray received(QTcpSocket *socket, int atLeast, int milliseconds = 5000)
{
    QByteArray answer;
    QElapsedTimer clock;
    clock.start();
    while (answer.size() < atLeast && clock.elapsed() < milliseconds) {
        HostProbe::settle(1);
        answer += socket->readAll();
    }
    return answer;
}

/// A socket of the system's own, for what a well-behaved socket does not do.
class RawClient
{
public:
    RawClient()
        : m_socket(::socket(AF_INET, SOCK_STREAM, 0))
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(Port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        const int on = 1;
        ::setsockopt(m_socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        m_connected = ::connect(m_socket, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0;
    }
    ~RawClient() { close(); }
    Q_DISABLE_COPY(RawClient)

    bool isConnected() const { return m_connected; }
    bool send(const QByteArray &command)
    {
        return ::send(m_socket, command.constData(), size_t(command.size()), MSG_NOSIGNAL) == command.size();
    }
    /// True once the desk has hung up, in good order or not; bytes that came before are kept.
    bool isHungUp()
    {
        char buffer[4096];
        for (;;) {
            const ssize_t count = ::recv(m_socket, buffer, sizeof buffer, MSG_DONTWAIT);
            if (count > 0)
                m_received.append(buffer, int(count));
            else
                return count == 0 || (errno != EAGAIN && errno != EWOULDBLOCK);
        }
    }
    QByteArray received()
    {
        isHungUp();
        return m_received;
    }
    void endSending() { ::shutdown(m_socket, SHUT_WR); }
    void close()
    {
        if (m_socket != -1)
            ::close(m_socket);
        m_socket = -1;
    }
    /// Resets the connection in place of ending it.
    void reset()
    {
        const linger now{1, 0};
        ::setsockopt(m_socket, SOL_SOCKET, SO_LINGER, &now, sizeof now);
        close();
    }

private:
    int m_socket;
    bool m_connected = false;
    QByteArray m_received;
};

/// Counts the socket objects that are told to go.
class Departures : public QObject
{
public:
    Departures() { qApp->installEventFilter(this); }
    int count() const { return m_count; }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::DeferredDelete && qobject_cast<QTcpSocket *>(watched))
            ++m_count;
        return QObject::eventFilter(watched, event);
    }

private:
    int m_count = 0;
};

/// Sockets that this process has open.
int openSockets()
{
    int count = 0;
    const QFileInfoList files =
        QDir(QStringLiteral("/proc/self/fd")).entryInfoList(QDir::NoDotAndDotDot | QDir::AllEntries | QDir::System);
    for (const QFileInfo &file : files) {
        char target[64] = {};
        if (::readlink(file.filePath().toLocal8Bit().constData(), target, sizeof target - 1) > 0
            && QByteArray(target).startsWith("socket:"))
            ++count;
    }
    return count;
}

} // namespace

void TestSeatPort::init()
{
    m_office = std::make_unique<TrackOffice>();
}

void TestSeatPort::cleanup()
{
    m_office.reset();
}

bool TestSeatPort::open()
{
    if (!m_office->open())
        return false;
    desk().send(QStringLiteral("track_id_updated"), object(R"({"trackId": "T1", "trackName": "T"})"));
    m_office->sendCars(fleet());
    return true;
}

void TestSeatPort::lines(const QList<QJsonObject> &seeded)
{
    QByteArray journal;
    for (const QJsonObject &line : seeded)
        journal += QJsonDocument(line).toJson(QJsonDocument::Compact) + '\n';
    m_office->track().writeJournal(QStringLiteral("tickets.state"), journal);
}

QList<QJsonObject> TestSeatPort::listed()
{
    desk().send(QStringLiteral("client_account_data"));
    desk().clear();
    QList<QJsonObject> found;
    const QList<QByteArray> raw = m_office->track().readJournal(QStringLiteral("tickets.state")).split('\n');
    for (const QByteArray &line : raw) {
        if (!line.isEmpty())
            found.append(object(line.constData()));
    }
    return found;
}

QByteArray TestSeatPort::ask(const QByteArray &command, int atLeast)
{
    QTcpSocket socket;
    if (!connected(&socket))
        return "no connection";
    send(&socket, command);
    QByteArray answer = received(&socket, atLeast);
    // Nothing follows the last tab, and the line stays open.
    HostProbe::settle(20);
    answer += socket.readAll();
    if (socket.state() != QAbstractSocket::ConnectedState)
        return "hung up after " + answer;
    return answer;
}

void TestSeatPort::unknownCode()
{
    lines({paid("{a}", "1111")});
    m_office->seedQueue({{text("{r1}"), {seat("{b}", -1001)}}});
    QVERIFY(open());
    QCOMPARE(ask("?p=2222"), badTicket());
    QCOMPARE(ask("?p="), badTicket());
    QCOMPARE(desk().names(), QStringList());
}

void TestSeatPort::codeSeatsAPaidLine()
{
    lines({paid("{a}", "1111"), paid("{z}", "9999")});
    m_office->seedQueue({{text("{r1}"), {seat("{b}", -1001, R"({"carId": 2, "carNum": "12"})")}}, {text("{r2}")}});
    QVERIFY(open());
    // The cars are told by number and identity, in the order of identities.
    const QByteArray answer =
        "status:ok\tmessage:\tuuid:{a}\tcarModel:Sodi\tname:{a} Ann\tavail:3 - 5,1 - 9\tbusy:12 - 2\t";
    QCOMPARE(ask("?p=1111"), answer);
    QCOMPARE(desk().names(), QStringList(QStringLiteral("replace_run_preset")) + publication()
                                 + QStringList(QStringLiteral("local_request_answer")));
    QVERIFY(desk().last(QStringLiteral("local_request_answer")).contains(QLatin1String("checkInList")));
    QCOMPARE(m_office->racer(0, text("{a}")).value(QLatin1String("competitorId")).toInt(), -1002);
    QVERIFY(!m_office->racer(0, text("{a}")).contains(QLatin1String("currentPinCode")));
    QCOMPARE(listed().size(), 1);
    // Asked again he sits there already.
    desk().clear();
    QCOMPARE(ask("?p=1111"), answer);
    QCOMPARE(desk().names(), QStringList());
}

void TestSeatPort::codeOfAnUnpaidLine()
{
    lines({paid("{a}", "1111", R"({"payState": false})"), paid("{b}", "2222", R"({"payState": false})")});
    m_office->seedQueue({{text("{r1}"), {seat("{b}", -1001, R"({"lastName": "Bo"})")}}});
    QVERIFY(open());
    QCOMPARE(ask("?p=1111"), badTicket());
    // Whoever holds a seat drives. The code is that of the seat.
    QCOMPARE(ask("?p=0101"),
             QByteArray("status:ok\tmessage:\tuuid:{b}\tcarModel:Sodi\tname:Bo\tavail:12 - 2,3 - 5,1 - 9\tbusy:\t"));
    QCOMPARE(listed().size(), 2);
}

// A minor has a code of his own; it counts when the parent has paid, whatever the minor's own mark says.
void TestSeatPort::codeOfAMinor()
{
    lines({paid("{a}", "1111", R"({"salesItem": "S", "kidsList": [{"uuid": "{k}", "lastName": "Kid", "firstName": "Bo",
                "runCount": 1, "carModel": "Sodi", "salesItem": "S", "pinCodes": ["5555"], "payState": false}]})"),
           paid("{b}", "2222", R"({"payState": false, "kidsList": [{"uuid": "{m}", "lastName": "Kid", "runCount": 1,
                "carModel": "Sodi", "salesItem": "S", "pinCodes": ["6666"], "payState": true}]})")});
    m_office->seedQueue({{text("{r1}")}});
    QVERIFY(open());
    QCOMPARE(ask("?p=6666"), badTicket());
    QCOMPARE(ask("?p=5555"),
             QByteArray(
                 "status:ok\tmessage:\tuuid:{k}\tcarModel:Sodi\tname:Kid Bo\tavail:12 - 2,3 - 5,1 - 9\tbusy:\t"));
    const QJsonObject racers = m_office->runs().value(0).value(QLatin1String("runCompetitors")).toObject();
    QCOMPARE(racers.keys(), QStringList{QStringLiteral("-1001")});
    JSON_CONTAINS(racers.value(QLatin1String("-1001")), object(R"({"uuid": "{k}", "parentUuid": "{a}"})"));
    // The parent still waits for a seat.
    QCOMPARE(listed().size(), 2);
}

// Nobody is moved, and the cars are those of the next run all the same.
void TestSeatPort::codeOfASeatInALaterRun()
{
    m_office->seedQueue(
        {{text("{r1}"), {seat("{b}", -1001, R"({"carId": 9, "carNum": "1"})")}},
         {text("{r2}"), {seat("{c}", -1001, R"({"carId": 2, "carNum": "12", "pinCodes": ["2222"]})")}}});
    QVERIFY(open());
    QCOMPARE(ask("?p=2222"),
             QByteArray("status:ok\tmessage:\tuuid:{c}\tcarModel:Sodi\tname:\tavail:12 - 2,3 - 5\tbusy:1 - 9\t"));
    QCOMPARE(desk().names(), QStringList());
    QVERIFY(!m_office->racer(1, text("{c}")).isEmpty());
}

void TestSeatPort::codeIntoANewRun()
{
    lines({paid("{a}", "1111", R"({"runCount": 2, "pinCodes": ["1111", "1111"]})")});
    QVERIFY(open());
    QCOMPARE(ask("?p=1111"),
             QByteArray(
                 "status:ok\tmessage:\tuuid:{a}\tcarModel:Sodi\tname:{a} Ann\tavail:12 - 2,3 - 5,1 - 9\tbusy:\t"));
    QCOMPARE(m_office->runs().size(), 2);
    QVERIFY(!m_office->racer(0, text("{a}")).isEmpty());
    QVERIFY(!m_office->racer(1, text("{a}")).isEmpty());
    QCOMPARE(listed().size(), 0);
}

void TestSeatPort::codeWithAnEmptyQueue()
{
    QVERIFY(open());
    QCOMPARE(ask("?p=1111"), badTicket());
    QCOMPARE(m_office->runs().size(), 0);
}

void TestSeatPort::codesAreTakenAsTheyStand_data()
{
    QTest::addColumn<QByteArray>("command");
    QTest::newRow("line feed") << QByteArray("?p=1111\n");
    QTest::newRow("carriage return") << QByteArray("?p=1111\r\n");
    QTest::newRow("blank before") << QByteArray("?p= 1111");
    QTest::newRow("blank behind") << QByteArray("?p=1111 ");
    QTest::newRow("null") << QByteArray("?p=1111\0", 8);
    QTest::newRow("part of it") << QByteArray("?p=111");
}

void TestSeatPort::codesAreTakenAsTheyStand()
{
    QFETCH(QByteArray, command);
    lines({paid("{a}", "1111")});
    m_office->seedQueue({{text("{r1}")}});
    QVERIFY(open());
    QCOMPARE(ask(command), badTicket());
    QCOMPARE(listed().size(), 1);
}

void TestSeatPort::namesOfRacers_data()
{
    QTest::addColumn<QString>("names");
    QTest::addColumn<QByteArray>("told");
    QTest::newRow("both") << R"({"lastName": "Иванов", "firstName": "Пётр"})" << bytes("c8e2e0edeee220cfb8f2f0");
    QTest::newRow("last") << R"({"lastName": "Иванов", "firstName": ""})" << bytes("c8e2e0edeee2");
    QTest::newRow("first") << R"({"lastName": "", "firstName": "Пётр"})" << bytes("cfb8f2f0");
    QTest::newRow("none") << R"({"lastName": "", "firstName": ""})" << QByteArray();
    QTest::newRow("middle name") << R"({"lastName": "A", "firstName": "B", "midName": "C"})" << QByteArray("A B");
    QTest::newRow("outside the code page") << R"({"lastName": "A日B", "firstName": "🏎"})" << QByteArray("A?B ?");
    QTest::newRow("place marks") << R"({"lastName": "%1", "firstName": "%2"})" << QByteArray("%1 %2");
}

void TestSeatPort::namesOfRacers()
{
    QFETCH(QString, names);
    QFETCH(QByteArray, told);
    lines({paid("{a}", "1111", names.toUtf8().constData())});
    QVERIFY(open());
    const QList<QByteArray> fields = ask("?p=1111").split('\t');
    QCOMPARE(fields.size(), 8);
    QCOMPARE(fields.at(4), "name:" + told);
}

// Cars that the desk does not know have an identity, and no number.
void TestSeatPort::carsOfTheNextRun()
{
    m_office->seedQueue({{text("{r1}"),
                          {seat("{b}", -1001, R"({"carId": 99, "carNum": "77", "pinCodes": ["1"]})"),
                           seat("{c}", -1002, R"({"carId": 3, "carNum": "13", "carModel": "Rimo", "pinCodes": ["2"]})"),
                           seat("{d}", -1003, R"({"carId": 7, "carNum": "8", "pinCodes": ["3"]})"),
                           seat("{e}", -1004, R"({"carId": 2, "carNum": "old", "pinCodes": ["4"]})"),
                           seat("{f}", -1005, R"({"pinCodes": ["5"]})")}}});
    QVERIFY(open());
    QCOMPARE(ask("?p=5"), QByteArray("status:ok\tmessage:\tuuid:{f}\tcarModel:Sodi\tname:\tavail:3 - 5,1 - 9\t"
                                     "busy: - 99, - 7,12 - 2\t"));
    QCOMPARE(ask("?p=2"), QByteArray("status:ok\tmessage:\tuuid:{c}\tcarModel:Rimo\tname:\tavail:\tbusy:13 - 3\t"));
}

// A car of his model that a racer of another model holds counts as free: only his model's racers are looked at.
void TestSeatPort::carsOfAnotherModel()
{
    m_office->seedQueue({{text("{r1}"),
                          {seat("{b}", -1001, R"({"carId": 2, "carNum": "12", "carModel": "Rimo", "pinCodes": ["1"]})"),
                           seat("{c}", -1002, R"({"carId": 3, "carNum": "13", "pinCodes": ["2"]})")}}});
    QVERIFY(open());
    QCOMPARE(ask("?p=2"), QByteArray("status:ok\tmessage:\tuuid:{c}\tcarModel:Sodi\tname:\t"
                                     "avail:12 - 2,3 - 5,1 - 9\tbusy:13 - 3\t"));
}

// A racer without a model: every taken car is told, and none is free for him.
void TestSeatPort::racerWithoutAModel()
{
    m_office->seedQueue({{text("{r1}"),
                          {seat("{b}", -1001, R"({"carId": 2, "carNum": "12", "pinCodes": ["1"]})"),
                           seat("{c}", -1002, R"({"carModel": "", "pinCodes": ["2"]})")}}});
    QVERIFY(open());
    QCOMPARE(ask("?p=2"), QByteArray("status:ok\tmessage:\tuuid:{c}\tcarModel:\tname:\tavail:\tbusy:12 - 2\t"));
}

void TestSeatPort::seatWithACar()
{
    const QByteArray kid = R"({"uuid": "{k}", "lastName": "kid", "runCount": 1, "salesItem": "S", "pinCodes": ["5"]})";
    lines({paid("{a}", "1111",
                QByteArray(R"({"salesItem": "S", "carNum": "old", "kidsList": [)" + kid + "]}").constData())});
    m_office->seedQueue({{text("{r1}"), {seat("{b}", -1001)}}});
    QVERIFY(open());
    QCOMPARE(ask(R"(setSeat={"uuid": "{a}", "carData": {"carId": 5, "model": "Sodi"}, "manual": true})"),
             QByteArray(Seated));
    const QJsonObject racer = m_office->racer(0, text("{a}"));
    JSON_CONTAINS(racer, object(R"({"carId": 5, "carNum": "", "carModel": "Sodi", "competitorId": -1002})"));
    // The line waits for the rest of the family, with the car and without its number.
    QCOMPARE(listed().size(), 1);
    JSON_CONTAINS(listed().at(0), object(R"({"carId": 5, "carNum": ""})"));
}

void TestSeatPort::seatOnATakenCar_data()
{
    QTest::addColumn<QByteArray>("manual");
    QTest::addColumn<bool>("taken");
    QTest::newRow("manual") << QByteArray(R"(, "manual": true)") << false;
    QTest::newRow("not manual") << QByteArray(R"(, "manual": false)") << true;
    QTest::newRow("absent") << QByteArray() << true;
    QTest::newRow("text") << QByteArray(R"(, "manual": "true")") << true;
}

void TestSeatPort::seatOnATakenCar()
{
    QFETCH(QByteArray, manual);
    QFETCH(bool, taken);
    lines({paid("{a}", "1111")});
    m_office->seedQueue({{text("{r1}"), {seat("{b}", -1001, R"({"carId": 5, "carNum": "3"})")}}});
    QVERIFY(open());
    const QByteArray command = R"(setSeat={"uuid": "{a}", "carData": {"carId": 5, "model": "Sodi"})" + manual + '}';
    QCOMPARE(ask(command), taken ? QByteArray(Seated) : refused(BusyCar));
    QCOMPARE(m_office->racer(0, text("{b}")).value(QLatin1String("carId")).toInt(), taken ? -1 : 5);
    QCOMPARE(m_office->racer(0, text("{a}")).value(QLatin1String("carId")).toInt(-2), taken ? 5 : -2);
    QCOMPARE(listed().size(), taken ? 0 : 1);
}

void TestSeatPort::seatCarOfAnotherModel()
{
    m_office->seedQueue({{text("{r1}"), {seat("{b}", -1001)}}});
    QVERIFY(open());
    QCOMPARE(ask(R"(setSeat={"uuid": "{b}", "carData": {"carId": 3, "model": "Sodi"}})"), refused(WrongCar));
    QCOMPARE(m_office->racer(0, text("{b}")).value(QLatin1String("carId")).toInt(), -1);
    QCOMPARE(ask(R"(setSeat={"uuid": "{b}", "carData": {"carId": 3, "model": "Sodi"}, "manual": true})"),
             QByteArray(Seated));
    QCOMPARE(m_office->racer(0, text("{b}")).value(QLatin1String("carNum")).toString(), QStringLiteral("13"));
}

void TestSeatPort::seatOfAnotherModel()
{
    lines({paid("{a}", "1111")});
    m_office->seedQueue({{text("{r1}")}});
    QVERIFY(open());
    QCOMPARE(ask(R"(setSeat={"uuid": "{a}", "carData": {"carId": 3, "model": "Rimo"}})"), refused(BadTicket));
    QCOMPARE(listed().size(), 1);
}

void TestSeatPort::seatIntoANewRun()
{
    lines({paid("{a}", "1111")});
    QVERIFY(open());
    QCOMPARE(ask(R"(setSeat={"uuid": "{a}", "carData": {"carId": 5, "model": "Sodi"}, "manual": true})"),
             QByteArray(Seated));
    QCOMPARE(m_office->racer(0, text("{a}")).value(QLatin1String("carId")).toInt(), 5);
    QCOMPARE(listed().size(), 0);
}

void TestSeatPort::seatMovesToTheNextRun()
{
    m_office->seedQueue({{text("{r1}")}, {text("{r2}"), {seat("{b}", -1001)}}});
    QVERIFY(open());
    QCOMPARE(ask(R"(setSeat={"uuid": "{b}", "carData": {"carId": 5, "model": "Sodi"}, "manual": true})"),
             QByteArray(Seated));
    QCOMPARE(m_office->racer(0, text("{b}")).value(QLatin1String("carNum")).toString(), QStringLiteral("3"));
    QVERIFY(m_office->racer(1, text("{b}")).isEmpty());
}

void TestSeatPort::seatNobody_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::newRow("empty") << QByteArray("{}");
    QTest::newRow("unknown") << QByteArray(R"({"uuid": "{x}", "carData": {"carId": 5, "model": "Sodi"}})");
    QTest::newRow("wrong types") << QByteArray(R"({"uuid": 5, "carData": [1], "manual": {}})");
    QTest::newRow("blanks around") << QByteArray(" \r\n{ \"uuid\": \"{x}\" }\r\n");
    // Its own words for what the desk puts in do not count.
    QTest::newRow("other keys") << QByteArray(
        R"({"racerUuid": "{a}", "pinCode": "1111", "trackId": "T2", "request": "checkTicket"})");
}

void TestSeatPort::seatNobody()
{
    QFETCH(QByteArray, json);
    lines({paid("{a}", "1111")});
    m_office->seedQueue({{text("{r1}")}});
    QVERIFY(open());
    QCOMPARE(ask("setSeat=" + json), refused(BadTicket));
    QCOMPARE(desk().names(), QStringList());
    QCOMPARE(listed().size(), 1);
}

// The host hears what happens to the queue, and nothing of the client.
// The port asks nobody for the track: it works before the host has told its name.
void TestSeatPort::beforeTheTrackIsKnown()
{
    lines({paid("{a}", "1111"), paid("{b}", "2222")});
    m_office->seedQueue({{text("{r1}")}});
    QVERIFY(m_office->open());
    m_office->sendCars(fleet());
    QCOMPARE(ask("?p=1111"),
             QByteArray(
                 "status:ok\tmessage:\tuuid:{a}\tcarModel:Sodi\tname:{a} Ann\tavail:12 - 2,3 - 5,1 - 9\tbusy:\t"));
    QCOMPARE(ask(R"(setSeat={"uuid": "{b}", "carData": {"carId": 5, "model": "Sodi"}, "manual": true})"),
             QByteArray(Seated));
    QCOMPARE(m_office->racer(0, text("{b}")).value(QLatin1String("carId")).toInt(), 5);
    QCOMPARE(listed().size(), 0);
}

void TestSeatPort::hostHearsNoRequest()
{
    m_office->seedQueue({{text("{r1}"), {seat("{b}", -1001)}}});
    QVERIFY(open());
    QCOMPARE(ask(R"(setSeat={"uuid": "{b}", "carData": {"carId": 5, "model": "Sodi"}, "manual": true})"),
             QByteArray(Seated));
    QCOMPARE(desk().names(), QStringList(QStringLiteral("replace_run_preset")) + publication());
}

void TestSeatPort::pauseBeforeTheAnswer_data()
{
    QTest::addColumn<QByteArray>("command");
    QTest::newRow("code") << QByteArray("?p=1111");
    QTest::newRow("seat") << QByteArray("setSeat={}");
}

void TestSeatPort::pauseBeforeTheAnswer()
{
    QFETCH(QByteArray, command);
    QVERIFY(open());
    QTcpSocket socket;
    QVERIFY(connected(&socket));
    QElapsedTimer clock;
    clock.start();
    for (qint64 round = 1; round <= 4; ++round) {
        send(&socket, command);
        QVERIFY(!received(&socket, 1).isEmpty());
        QVERIFY2(clock.elapsed() >= 50 * round, QByteArray::number(clock.elapsed()).constData());
    }
    // Slow machines are slow, but not that slow.
    QVERIFY2(clock.elapsed() < 4000, QByteArray::number(clock.elapsed()).constData());
}

void TestSeatPort::noAnswerIsDue_data()
{
    QTest::addColumn<QByteArray>("command");
    QTest::newRow("unknown") << QByteArray("hello");
    QTest::newRow("one blank") << QByteArray(" ");
    QTest::newRow("blank before") << QByteArray(" ?p=1111");
    QTest::newRow("start of a prefix") << QByteArray("?p");
    QTest::newRow("other case") << QByteArray("?P=1111");
    QTest::newRow("seat in other case") << QByteArray("setseat={}");
    QTest::newRow("seat without a sign") << QByteArray("setSeat");
    QTest::newRow("seat without json") << QByteArray("setSeat=");
    QTest::newRow("bad json") << QByteArray("setSeat={");
    QTest::newRow("two objects") << QByteArray("setSeat={}{}");
    QTest::newRow("array") << QByteArray("setSeat=[{}]");
    QTest::newRow("number") << QByteArray("setSeat=5");
    QTest::newRow("null") << QByteArray("setSeat=null");
    QTest::newRow("null byte") << QByteArray("\0", 1);
    QTest::newRow("no text") << QByteArray("\xff\xfe\x80");
    QTest::newRow("web") << QByteArray("GET /?p=1111 HTTP/1.1\r\n\r\n");
}

void TestSeatPort::noAnswerIsDue()
{
    QFETCH(QByteArray, command);
    lines({paid("{a}", "1111")});
    m_office->seedQueue({{text("{r1}")}});
    QVERIFY(open());
    QTcpSocket socket;
    QVERIFY(connected(&socket));
    send(&socket, command);
    QCOMPARE(received(&socket, 1, 200), QByteArray());
    QCOMPARE(desk().names(), QStringList());
    // The line stays open, and the next command is taken.
    send(&socket, "?p=0000");
    QCOMPARE(received(&socket, badTicket().size()), badTicket());
}

void TestSeatPort::oneConnectionManyCommands()
{
    lines({paid("{a}", "1111")});
    m_office->seedQueue({{text("{r1}")}});
    QVERIFY(open());
    QTcpSocket socket;
    QVERIFY(connected(&socket));
    for (int i = 0; i < 5; ++i) {
        send(&socket, "?p=0000");
        QCOMPARE(received(&socket, badTicket().size()), badTicket());
        send(&socket, R"(setSeat={"uuid": "{a}", "carData": {"carId": 5, "model": "Sodi"}})");
        QCOMPARE(received(&socket, int(qstrlen(Seated))), QByteArray(Seated));
    }
}

void TestSeatPort::twoCommandsInOneSegment_data()
{
    QTest::addColumn<QByteArray>("segment");
    QTest::addColumn<QByteArray>("answer");
    QTest::newRow("codes") << QByteArray("?p=1111?p=1111") << badTicket();
    QTest::newRow("codes in lines") << QByteArray("?p=1111\n?p=1111\n") << badTicket();
    QTest::newRow("code and seat") << QByteArray(R"(?p=1111setSeat={"uuid":"{a}"})") << badTicket();
    QTest::newRow("seats") << QByteArray(R"(setSeat={"uuid":"{a}"}setSeat={"uuid":"{a}"})") << QByteArray();
    QTest::newRow("seat and code") << QByteArray(R"(setSeat={"uuid":"{a}"}?p=1111)") << QByteArray();
}

void TestSeatPort::twoCommandsInOneSegment()
{
    QFETCH(QByteArray, segment);
    QFETCH(QByteArray, answer);
    lines({paid("{a}", "1111")});
    m_office->seedQueue({{text("{r1}")}});
    QVERIFY(open());
    QTcpSocket socket;
    QVERIFY(connected(&socket));
    send(&socket, segment);
    QCOMPARE(received(&socket, answer.size() + 1, 300), answer);
    QCOMPARE(listed().size(), 1);
}

// There is no frame: the first part is a command of its own, and the second is none.
void TestSeatPort::oneCommandInTwoSegments()
{
    lines({paid("{a}", "1111")});
    m_office->seedQueue({{text("{r1}")}});
    QVERIFY(open());
    QTcpSocket socket;
    QVERIFY(connected(&socket));
    send(&socket, "?p=11");
    QCOMPARE(received(&socket, badTicket().size()), badTicket());
    send(&socket, "11");
    QCOMPARE(received(&socket, 1, 200), QByteArray());
    send(&socket, R"(setSeat={"uuid")");
    QCOMPARE(received(&socket, 1, 200), QByteArray());
    send(&socket, R"(: "{a}"})");
    QCOMPARE(received(&socket, 1, 200), QByteArray());
    send(&socket, "?");
    QCOMPARE(received(&socket, 1, 200), QByteArray());
    send(&socket, "p=1111");
    QCOMPARE(received(&socket, 1, 200), QByteArray());
    QCOMPARE(listed().size(), 1);
}

void TestSeatPort::textIsUtf8()
{
    lines({paid("{a}", "ключ")});
    QVERIFY(open());
    QVERIFY(ask("?p=\xea\xeb\xfe\xf7").startsWith("status:fail"));
    QVERIFY(ask(text("?p=ключ").toUtf8()).startsWith("status:ok\tmessage:\tuuid:{a}\t"));
}

void TestSeatPort::manyClients()
{
    QVector<QJsonObject> seats;
    for (int i = 0; i < 50; ++i) {
        seats.append(TrackOffice::seat(QStringLiteral("{%1}").arg(i), -1001 - i,
                                       {{QStringLiteral("pinCodes"), QJsonArray{QStringLiteral("pin %1").arg(i)}}}));
    }
    m_office->seedQueue({{text("{r1}"), seats}});
    QVERIFY(open());
    std::vector<std::unique_ptr<QTcpSocket>> clients;
    for (int i = 0; i < 50; ++i) {
        clients.push_back(std::make_unique<QTcpSocket>());
        clients.back()->connectToHost(QHostAddress::LocalHost, Port);
    }
    for (const auto &client : clients)
        QVERIFY(QTest::qWaitFor([&] { return client->state() == QAbstractSocket::ConnectedState; }));
    for (size_t i = 0; i < clients.size(); ++i)
        send(clients[i].get(), "?p=pin " + QByteArray::number(int(i)));
    for (size_t i = 0; i < clients.size(); ++i) {
        const QByteArray answer = received(clients[i].get(), 30, 20000);
        const QByteArray expected = "status:ok\tmessage:\tuuid:{" + QByteArray::number(int(i)) + "}\t";
        QVERIFY2(answer.startsWith(expected), answer.constData());
        QCOMPARE(answer.count('\t'), 7);
    }
}

void TestSeatPort::clientThatVanishes_data()
{
    QTest::addColumn<bool>("reset");
    QTest::addColumn<QByteArray>("command");
    QTest::newRow("closed, code") << false << QByteArray("?p=1111");
    QTest::newRow("reset, code") << true << QByteArray("?p=1111");
    QTest::newRow("closed, seat") << false << QByteArray(R"(setSeat={"uuid": "{a}"})");
    QTest::newRow("reset, seat") << true << QByteArray(R"(setSeat={"uuid": "{a}"})");
    QTest::newRow("closed, nothing") << false << QByteArray();
    QTest::newRow("reset, nothing") << true << QByteArray();
}

void TestSeatPort::clientThatVanishes()
{
    QFETCH(bool, reset);
    QFETCH(QByteArray, command);
    lines({paid("{a}", "1111")});
    m_office->seedQueue({{text("{r1}")}});
    QVERIFY(open());
    QVERIFY(!ask("?p=0000").isEmpty());
    HostProbe::settle(100);
    const int before = openSockets();
    // Before the desk has taken the connection, and after.
    for (const bool taken : {false, true}) {
        RawClient client;
        QVERIFY(client.isConnected());
        if (taken)
            HostProbe::settle(50);
        if (!command.isEmpty())
            QVERIFY(client.send(command));
        if (reset)
            client.reset();
        else
            client.close();
        HostProbe::settle(200);
    }
    QTRY_COMPARE(openSockets(), before);
    QCOMPARE(ask("?p=0000"), badTicket());
    if (!reset && !command.isEmpty())
        QCOMPARE(listed().size(), 0); // the command has come, and was worked
}

void TestSeatPort::clientThatStopsSending()
{
    QVERIFY(open());
    HostProbe::settle(50);
    const int before = openSockets();
    {
        RawClient client;
        QVERIFY(client.isConnected());
        HostProbe::settle(20);
        QVERIFY(client.send("?p=0000"));
        client.endSending();
        QVERIFY(QTest::qWaitFor([&] { return client.isHungUp(); }));
        QCOMPARE(client.received(), badTicket());
    }
    QTRY_COMPARE(openSockets(), before);
}

void TestSeatPort::clientThatSendsJunk_data()
{
    QTest::addColumn<QByteArray>("unit");
    QTest::newRow("text") << QByteArray("x");
    QTest::newRow("nulls") << QByteArray("\0", 1);
    QTest::newRow("code") << QByteArray("?p=1111\n");
    QTest::newRow("seat") << QByteArray("setSeat={");
}

void TestSeatPort::clientThatSendsJunk()
{
    QFETCH(QByteArray, unit);
    lines({paid("{a}", "1111")});
    m_office->seedQueue({{text("{r1}")}});
    QVERIFY(open());
    QTcpSocket socket;
    QVERIFY(connected(&socket));
    QElapsedTimer clock;
    clock.start();
    socket.write(unit.repeated(5 * 1024 * 1024 / unit.size()));
    QVERIFY(QTest::qWaitFor([&] { return socket.bytesToWrite() == 0; }, 60000));
    HostProbe::settle(200);
    QVERIFY2(clock.elapsed() < 60000, QByteArray::number(clock.elapsed()).constData());
    const QByteArray answers = socket.readAll();
    if (!unit.startsWith('?'))
        QCOMPARE(answers, QByteArray());
    else
        QCOMPARE(answers, badTicket().repeated(answers.size() / badTicket().size()));
    QCOMPARE(listed().size(), 1);
    QVERIFY(ask("?p=1111").startsWith("status:ok\t"));
}

void TestSeatPort::connectionsComeAndGo()
{
    QVERIFY(open());
    QCOMPARE(ask("?p=0000"), badTicket());
    HostProbe::settle(100);
    const int before = openSockets();
    const Departures departures;
    for (int i = 0; i < 1000; ++i) {
        RawClient client;
        QVERIFY(client.isConnected());
        switch (i % 4) {
        case 0:
            break;
        case 1:
            HostProbe::settle(1);
            break;
        case 2:
            client.reset();
            break;
        default:
            client.send("junk");
            break;
        }
        if (i % 20 == 0)
            HostProbe::settle(5);
    }
    QTRY_COMPARE_WITH_TIMEOUT(openSockets(), before, 20000);
    QTRY_COMPARE(departures.count(), 1000);
    QCOMPARE(ask("?p=0000"), badTicket());
}

void TestSeatPort::portIsTaken()
{
    QTcpServer other;
    QVERIFY(other.listen(QHostAddress::AnyIPv4, Port));
    lines({paid("{a}", "1111")});
    m_office->seedQueue({{text("{r1}")}});
    QVERIFY(open());
    // The desk works, and the port is somebody else's.
    desk().send(QStringLiteral("remote_control_data"),
                object(R"({"request": "checkTicket", "trackId": "T1", "pinCode": "1111"})"));
    JSON_CONTAINS(desk().last(QStringLiteral("remote_control_answer")), object(R"({"req_answ": {"status": "ok"}})"));
    QTcpSocket socket;
    QVERIFY(connected(&socket));
    QVERIFY(other.hasPendingConnections());
    send(&socket, "?p=1111");
    QCOMPARE(received(&socket, 1, 200), QByteArray());
    socket.abort();
    other.close();
    QVERIFY(desk().unload());
    // Free again for the next desk.
    QVERIFY(open());
    QVERIFY(ask("?p=1111").startsWith("status:ok\t"));
}

void TestSeatPort::deskEndsUnderItsClients()
{
    QVERIFY(open());
    std::vector<std::unique_ptr<RawClient>> clients;
    for (int i = 0; i < 20; ++i) {
        clients.push_back(std::make_unique<RawClient>());
        QVERIFY(clients.back()->isConnected());
        HostProbe::settle(2);
    }
    QVERIFY(clients[0]->send("?p=0000"));
    HostProbe::settle(200);
    QCOMPARE(clients[0]->received(), badTicket());
    for (const auto &client : clients)
        QVERIFY(!client->isHungUp());
    // Never read, and never closed by the client.
    QVERIFY(clients[1]->send("?p=0000"));
    QElapsedTimer clock;
    clock.start();
    QVERIFY(desk().unload());
    QVERIFY2(clock.elapsed() < 5000, QByteArray::number(clock.elapsed()).constData());
    for (const auto &client : clients)
        QVERIFY(QTest::qWaitFor([&] { return client->isHungUp(); }));
    const RawClient late;
    QVERIFY(!late.isConnected());
    // The clients still hold their ends when the next desk takes the port.
    QVERIFY(open());
    QCOMPARE(ask("?p=0000"), badTicket());
}

// Megabytes of answers wait for a client that takes none of them. The desk waits a moment for it, and goes.
void TestSeatPort::deskEndsUnderAClientThatDoesNotRead()
{
    const QByteArray name(1 << 20, 'n');
    lines({paid("{a}", "1111", QByteArray(R"({"lastName": ")" + name + R"("})").constData())});
    m_office->seedQueue({{text("{r1}")}});
    QVERIFY(open());
    RawClient client;
    QVERIFY(client.isConnected());
    HostProbe::settle(20);
    for (int i = 0; i < 16; ++i) {
        QVERIFY(client.send("?p=1111"));
        HostProbe::settle(80);
    }
    QElapsedTimer clock;
    clock.start();
    QVERIFY(desk().unload());
    const qint64 taken = clock.elapsed();
    QVERIFY2(taken < 6000, QByteArray::number(taken).constData());
    QVERIFY2(taken >= 2500, QByteArray::number(taken).constData());
    QVERIFY(QTest::qWaitFor([&] { return client.isHungUp(); }));
    QVERIFY(client.received().startsWith("status:ok\tmessage:\tuuid:{a}\t"));
}

// Clients sit anywhere in the network of the track.
void TestSeatPort::everyAddress()
{
    QVERIFY(open());
    QTcpSocket socket;
    socket.connectToHost(QStringLiteral("127.0.0.2"), Port);
    QVERIFY(QTest::qWaitFor([&] { return socket.state() == QAbstractSocket::ConnectedState; }));
    send(&socket, "?p=0000");
    QCOMPARE(received(&socket, badTicket().size()), badTicket());
    QTcpSocket other;
    other.connectToHost(QHostAddress(QHostAddress::LocalHostIPv6), Port);
    QVERIFY(!QTest::qWaitFor([&] { return other.state() == QAbstractSocket::ConnectedState; }, 300));
}

DESK_TEST_MAIN(TestSeatPort)
#include "tst_seatport.moc"
