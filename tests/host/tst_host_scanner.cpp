#include "play/playrunner.h"
#include "service/democode.h"
#include "service/scannersimulator.h"
#include "trackhome.h"

#include <QJsonDocument>
#include <QSerialPort>
#include <QSettings>
#include <QtTest>

/// The scanner's port, opened as the desk opens it.
class TestScanner : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void bytesArriveAsTheyAre();
    void cardOfAClient();
    void splitsABurst();
    void portIsReopened();
    void waitsForAReader();
    void fullPort();
    void unplugged();
    void unpluggedUnderAReader();
    void pluggedAgain();
    void storesItsName();
    void leavesAnotherScannerAlone();
    void playedCards();

private:
    bool openPort();
    bool play(const QString &text);
    QByteArray received(int count);
    static QString storedName();
    static void storeName(const QString &name);

    QTemporaryDir m_home;
    QScopedPointer<ScannerSimulator> m_scanner;
    QScopedPointer<QSerialPort> m_port;
};

void TestScanner::initTestCase()
{
    QVERIFY(m_home.isValid());
    QString error;
    QVERIFY2(TrackHome(m_home.path()).enter(&error), qPrintable(error));
}

void TestScanner::init()
{
    m_port.reset();
    m_scanner.reset(new ScannerSimulator);
    QVERIFY2(m_scanner->plug(), qPrintable(m_scanner->errorText()));
    QSettings(QStringLiteral("zz.ordvex"), QStringLiteral("prices")).clear();
}

bool TestScanner::openPort()
{
    m_port.reset(new QSerialPort);
    m_port->setPortName(m_scanner->portName());
    m_port->setBaudRate(QSerialPort::Baud115200, QSerialPort::AllDirections);
    if (m_port->open(QIODevice::ReadOnly))
        return true;
    qWarning("%s", qPrintable(m_port->errorString()));
    return false;
}

// What came when at least `count` bytes were there, or after a second without.
QByteArray TestScanner::received(int count)
{
    QByteArray bytes;
    QElapsedTimer time;
    time.start();
    while (bytes.size() < count && time.elapsed() < 1000) {
        QTest::qWait(5);
        bytes += m_port->readAll();
    }
    return bytes;
}

QString TestScanner::storedName()
{
    return QSettings(QStringLiteral("zz.ordvex"), QStringLiteral("prices"))
        .value(QStringLiteral("scannerPortName"))
        .toString();
}

void TestScanner::storeName(const QString &name)
{
    QSettings settings(QStringLiteral("zz.ordvex"), QStringLiteral("prices"));
    settings.setValue(QStringLiteral("scannerPortName"), name);
}

void TestScanner::bytesArriveAsTheyAre()
{
    QVERIFY(openPort());
    QByteArray all;
    for (int c = 0; c < 256; ++c)
        all.append(static_cast<char>(c));
    QVERIFY(m_scanner->write(all));
    QCOMPARE(received(256), all);
}

void TestScanner::cardOfAClient()
{
    QVERIFY(openPort());
    const QByteArray card = QJsonDocument(DemoCode::make(17)).toJson(QJsonDocument::Compact);
    QVERIFY(m_scanner->scanClient(17));
    QCOMPARE(received(card.size()), card);
    QVERIFY(card.startsWith("{\"data\":\"") && card.endsWith("\"}"));
    QCOMPARE(card.count('{'), 1);
    QCOMPARE(card.count('}'), 1);
}

void TestScanner::splitsABurst()
{
    QVERIFY(openPort());
    QVERIFY(m_scanner->write("{\"data\":1}", 4));
    // This wait runs no timers, so the second burst cannot catch up with the first.
    QVERIFY(m_port->waitForReadyRead(5000));
    QCOMPARE(m_port->readAll(), QByteArray("{\"da"));
    QCOMPARE(received(6), QByteArray("ta\":1}"));
}

void TestScanner::portIsReopened()
{
    for (const char *text : {"one", "two", "three"}) {
        QVERIFY(openPort());
        QVERIFY(m_scanner->write(text));
        QCOMPARE(received(3), QByteArray(text));
        m_port->close();
    }
}

void TestScanner::waitsForAReader()
{
    QVERIFY(m_scanner->write("{\"data\":2}"));
    QVERIFY(openPort());
    QCOMPARE(received(10), QByteArray("{\"data\":2}"));
}

void TestScanner::fullPort()
{
    bool ok = true;
    int written = 0;
    for (; ok && written < 1000; ++written)
        ok = m_scanner->write(QByteArray(1000, 'x'));
    QVERIFY2(!ok, "nobody reads, and a port does not hold a megabyte");
    QVERIFY(!m_scanner->errorText().isEmpty());
    // A reader empties it, and it works again.
    QVERIFY(openPort());
    while (!received(1).isEmpty())
        QTest::qWait(50);
    QVERIFY(m_scanner->write("end"));
    QCOMPARE(received(3), QByteArray("end"));
}

void TestScanner::unplugged()
{
    m_scanner->unplug();
    QVERIFY(!m_scanner->isPlugged());
    QVERIFY(m_scanner->portName().isEmpty());
    QVERIFY(!m_scanner->scanClient(1));
    QVERIFY(!m_scanner->errorText().isEmpty());
    m_scanner->storePortName();
    QCOMPARE(storedName(), QString());
    m_scanner->unplug();
}

void TestScanner::unpluggedUnderAReader()
{
    QVERIFY(openPort());
    qRegisterMetaType<QSerialPort::SerialPortError>();
    QSignalSpy errors(m_port.data(), &QSerialPort::errorOccurred);
    // The rest of a burst finds no port, and nobody is hurt.
    QVERIFY(m_scanner->write("{\"data\":3}", 4));
    QCOMPARE(received(4), QByteArray("{\"da"));
    m_scanner->unplug();
    QTRY_VERIFY(!errors.isEmpty());
    QVERIFY(m_port->error() != QSerialPort::NoError);
    m_port->close();
    QTest::qWait(150);
}

void TestScanner::pluggedAgain()
{
    QSignalSpy changes(m_scanner.data(), &ScannerSimulator::pluggedChanged);
    const QString name = m_scanner->portName();
    QVERIFY(m_scanner->plug());
    QCOMPARE(changes.count(), 0);
    QCOMPARE(m_scanner->portName(), name);
    m_scanner->unplug();
    QVERIFY(m_scanner->plug());
    QVERIFY(openPort());
    QCOMPARE(changes.count(), 2);
    QCOMPARE(changes.at(0).at(0).toBool(), false);
    QCOMPARE(changes.at(1).at(0).toBool(), true);
    QVERIFY(m_scanner->write("again"));
    QCOMPARE(received(5), QByteArray("again"));
}

void TestScanner::storesItsName()
{
    m_scanner->storePortName();
    QCOMPARE(storedName(), m_scanner->portName());
    QVERIFY(QFile::exists(storedName()));
    // What an earlier track left behind is replaced.
    storeName(QStringLiteral("/dev/pts/9999"));
    m_scanner->storePortName();
    QCOMPARE(storedName(), m_scanner->portName());
}

void TestScanner::leavesAnotherScannerAlone()
{
    storeName(QStringLiteral("ttyACM0"));
    m_scanner->storePortName();
    QCOMPARE(storedName(), QStringLiteral("ttyACM0"));
}

// A script that scans needs no window.
bool TestScanner::play(const QString &text)
{
    QFile script(m_home.filePath(QStringLiteral("test.play")));
    if (!script.open(QIODevice::WriteOnly))
        return false;
    script.write(text.toUtf8());
    script.close();

    PlayRunner::Stage stage = {};
    stage.scanner = m_scanner.data();
    PlayRunner runner(stage);
    QString error;
    if (!runner.load(script.fileName(), &error)) {
        qWarning("%s", qPrintable(error));
        return false;
    }
    QSignalSpy finished(&runner, &PlayRunner::finished);
    runner.start();
    return finished.wait(10000) && finished.at(0).at(0).toBool();
}

void TestScanner::playedCards()
{
    const auto card = [](int id) { return QJsonDocument(DemoCode::make(id)).toJson(QJsonDocument::Compact); };
    QVERIFY(openPort());
    QVERIFY(play(QStringLiteral("scan 17\n")));
    QCOMPARE(received(card(17).size()), card(17));
    QVERIFY(play(QStringLiteral("scan \"?{\" 17 18 \"}\\n\"\n")));
    const QByteArray two = "?{" + card(17) + card(18) + "}\n";
    QCOMPARE(received(two.size()), two);
    QVERIFY(play(QStringLiteral("scan {\"iv\": \"b\", \"data\": \"a b\"}\n")));
    QCOMPARE(received(23), QByteArray("{\"data\":\"a b\",\"iv\":\"b\"}"));
    QSignalSpy ready(m_port.data(), &QSerialPort::readyRead);
    QVERIFY(play(QStringLiteral("scan 1 split=10\nwait 300\n")));
    QCOMPARE(ready.count(), 2);
    QCOMPARE(received(card(1).size()), card(1));
}

QTEST_MAIN(TestScanner)
#include "tst_host_scanner.moc"
