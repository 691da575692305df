#include "desktest.h"
#include "hostprobe.h"
#include "jsonmatch.h"
#include "onlineservice.h"

#include <QAbstractItemModel>
#include <QDialog>
#include <QDialogButtonBox>
#include <QDir>
#include <QLineEdit>
#include <QPushButton>
#include <QTreeView>

#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <memory>
#include <sys/inotify.h>
#include <termios.h>
#include <unistd.h>

namespace {

QString title()
{
    return QString::fromUtf8("Поиск клиента");
}

/// The scanner's end of a serial line.
class Scanner
{
public:
    Scanner()
        : m_line(posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK))
    {
        if (m_line < 0 || grantpt(m_line) != 0 || unlockpt(m_line) != 0)
            qFatal("no pseudo terminal");
        m_port = QString::fromLatin1(ptsname(m_line));
        // Nothing may change on its way: a terminal would echo and count lines.
        termios mode{};
        tcgetattr(m_line, &mode);
        cfmakeraw(&mode);
        tcsetattr(m_line, TCSANOW, &mode);
    }
    ~Scanner() { unplug(); }
    Q_DISABLE_COPY(Scanner)

    QString port() const { return m_port; }

    bool scan(const QByteArray &bytes) const
    {
        return write(m_line, bytes.constData(), size_t(bytes.size())) == bytes.size();
    }

    /// The line as the desk's end has set it.
    termios mode() const
    {
        termios mode{};
        tcgetattr(m_line, &mode);
        return mode;
    }
    void setMode(const termios &mode) const { tcsetattr(m_line, TCSANOW, &mode); }

    void unplug()
    {
        if (m_line >= 0)
            close(m_line);
        m_line = -1;
    }

private:
    int m_line;
    QString m_port;
};

/// How this process has that file open, a number for each time: as for open(), without what does not concern the access.
QList<int> openings(const QString &file)
{
    QList<int> found;
    const QFileInfoList all =
        QDir(QStringLiteral("/proc/self/fd")).entryInfoList(QDir::NoDotAndDotDot | QDir::AllEntries | QDir::System);
    for (const QFileInfo &descriptor : all) {
        if (descriptor.symLinkTarget() == file)
            found.append(fcntl(descriptor.fileName().toInt(), F_GETFL) & O_ACCMODE);
    }
    return found;
}

/// Watches how a file is opened and closed.
class OpenWatch
{
public:
    explicit OpenWatch(const QString &file)
        : m_watch(inotify_init1(IN_NONBLOCK | IN_CLOEXEC))
    {
        if (inotify_add_watch(m_watch, file.toLocal8Bit().constData(), IN_OPEN | IN_CLOSE) < 0)
            qFatal("the file can't be watched");
    }
    ~OpenWatch() { close(m_watch); }
    Q_DISABLE_COPY(OpenWatch)

    /// Everything since the last call, in order.
    QStringList seen() const
    {
        QStringList names;
        inotify_event event{};
        while (read(m_watch, &event, sizeof event) == ssize_t(sizeof event))
            names.append(event.mask & IN_OPEN ? QStringLiteral("opened") : QStringLiteral("closed"));
        return names;
    }

private:
    int m_watch;
};

QByteArray code(const char *iv)
{
    return QByteArray(R"({"iv":")") + iv + R"(","data":"d"})";
}

QByteArray body(const char *iv)
{
    return QByteArray(R"(qrcode={"data":"d","fullData":true,"iv":")") + iv + R"("})";
}

} // namespace

/// A scanner on a serial line, and the search that its codes open.
class TestScanner : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void lineOfTheScanner();
    void codeOpensTheSearch();
    void codeOpensNothingElse_data();
    void codeOpensNothingElse();
    void splitCode();
    void splitCharacter();
    void bufferOutlivesTheDesk();
    void twoCodesInOneRead();
    void restOfTheReadIsDropped();
    void scansIntoASearchOfTheCashier();
    void scansIntoASearchOfAScan();
    void halfACodeWhileOpen();
    void nextScanOpensAgain();
    void raceManager();
    void samePortAgain();
    void settingsBetweenScans();
    void settingsWhileOpen();
    void otherPortWhileOpen();
    void unplugged();
    void unpluggedWhileOpen();
    void noise();
    void deskEndsWhileOpen();
    void applicationQuitsWhileOpen();

private:
    void acceptSettings() { QVERIFY(QMetaObject::invokeMethod(m_desk->tab(), "loadSettings")); }
    bool openDialog() const { return !m_desk->tab()->findChildren<QDialog *>().isEmpty(); }
    QByteArray asked(int request) const { return m_service->requests().value(request).body; }
    static QAbstractItemModel *results(QDialog *dialog);
    static void ok(QDialog *dialog);

    std::unique_ptr<TempTrack> m_track;
    std::unique_ptr<OnlineService> m_service;
    std::unique_ptr<Scanner> m_scanner;
    std::unique_ptr<HostProbe> m_desk;
};

void TestScanner::init()
{
    m_track = std::make_unique<TempTrack>();
    m_service = std::make_unique<OnlineService>();
    QVERIFY(m_service->listen(OnlineService::DeskPort));
    m_scanner = std::make_unique<Scanner>();
    m_track->setSetting(QStringLiteral("scannerPortName"), m_scanner->port());
    m_desk = std::make_unique<HostProbe>(QStringLiteral(LAPVANE_PLUGIN_FILE));
    QVERIFY2(m_desk->start(), qPrintable(m_desk->errorString()));
}

void TestScanner::cleanup()
{
    m_desk.reset();
    m_scanner.reset();
    m_service.reset();
    m_track.reset();
}

QAbstractItemModel *TestScanner::results(QDialog *dialog)
{
    return dialog->findChild<QTreeView *>(QStringLiteral("tvSearchResult"))->model();
}

void TestScanner::ok(QDialog *dialog)
{
    dialog->findChild<QDialogButtonBox *>(QStringLiteral("buttonBox"))->button(QDialogButtonBox::Ok)->click();
}

void TestScanner::lineOfTheScanner()
{
    // Whatever was there before.
    termios mode = m_scanner->mode();
    cfsetspeed(&mode, B9600);
    mode.c_cflag |= PARENB | CSTOPB | CRTSCTS;
    mode.c_cflag &= ~tcflag_t(CSIZE);
    mode.c_iflag |= IXON | IXOFF;
    m_scanner->setMode(mode);
    acceptSettings();
    mode = m_scanner->mode();
    QCOMPARE(cfgetispeed(&mode), speed_t(B115200));
    QCOMPARE(cfgetospeed(&mode), speed_t(B115200));
    QCOMPARE(mode.c_cflag & tcflag_t(CSIZE | PARENB | CSTOPB | CRTSCTS), tcflag_t(CS8));
    QCOMPARE(mode.c_iflag & tcflag_t(IXON | IXOFF), tcflag_t(0));
    QCOMPARE(openings(m_scanner->port()), QList<int>{O_RDONLY});
}

void TestScanner::codeOpensTheSearch()
{
    auto answer = ModalAnswer::dialog(title(), [&](QDialog *dialog) {
        QVERIFY(m_service->waitFor(1));
        QCOMPARE(m_service->requests().first().method, QByteArray("POST"));
        QCOMPARE(m_service->requests().first().path, QByteArray("/findracer.php"));
        QCOMPARE(m_service->requests().first().contentType, QByteArray("application/x-www-form-urlencoded"));
        QCOMPARE(asked(0), QByteArray(R"(qrcode={"data":"c%253D","fullData":true,"iv":"a%252Bb"})"));
        QVERIFY(m_service->answer(0, OnlineService::results({JsonMatch::object(R"({"id": 5, "lastName": "A"})")})));
        QTRY_COMPARE(results(dialog)->rowCount(), 1);
        ok(dialog);
    });
    QVERIFY(m_scanner->scan("{\"iv\":\"a+b\",\"data\":\"c=\"}\r\n"));
    QTRY_VERIFY2(answer.answered(), qPrintable(answer.error()));
    QTRY_COMPARE(m_desk->checkIn()->rowCount(), 1);
    const QStringList heard{QStringLiteral("update_local_client"), QStringLiteral("local_request_answer")};
    QCOMPARE(m_desk->names(), heard);
    JSON_COMPARE(m_desk->last(QStringLiteral("update_local_client")),
                 JsonMatch::object(R"({"id": 5, "lastName": "A", "clientId": 5})"));
    QVERIFY(!openDialog());
}

void TestScanner::codeOpensNothingElse_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("number") << QByteArray("4600000000017\r\n");
    QTest::newRow("empty object") << QByteArray("{}");
    QTest::newRow("no JSON") << QByteArray("{iv:1}");
    QTest::newRow("no end") << QByteArray(R"({"iv":"1")");
    QTest::newRow("begun again") << QByteArray(R"({"iv":"1{")");
    QTest::newRow("zeros") << QByteArray(100, '\0');
    QTest::newRow("high bytes") << QByteArray(100, '\xff');
}

void TestScanner::codeOpensNothingElse()
{
    QFETCH(QByteArray, bytes);
    QVERIFY(m_scanner->scan(bytes));
    HostProbe::settle(150);
    QVERIFY(!openDialog());
    QCOMPARE(m_service->requests().size(), 0);
    // The line is not the worse for it.
    auto answer = ModalAnswer::dialog(title(), [&](QDialog *dialog) { dialog->reject(); });
    QVERIFY(m_scanner->scan(code("1")));
    QTRY_VERIFY2(answer.answered(), qPrintable(answer.error()));
}

void TestScanner::splitCode()
{
    const QByteArray whole = code("split");
    QVERIFY(m_scanner->scan(whole.left(10)));
    HostProbe::settle(100);
    QVERIFY(!openDialog());
    auto answer = ModalAnswer::dialog(title(), [&](QDialog *dialog) {
        QVERIFY(m_service->waitFor(1));
        dialog->reject();
    });
    QVERIFY(m_scanner->scan(whole.mid(10)));
    QTRY_VERIFY2(answer.answered(), qPrintable(answer.error()));
    QCOMPARE(asked(0), body("split"));
}

void TestScanner::splitCharacter()
{
    auto answer = ModalAnswer::dialog(title(), [&](QDialog *dialog) {
        QVERIFY(m_service->waitFor(1));
        dialog->reject();
    });
    QVERIFY(m_scanner->scan("{\"iv\":\"\xd0"));
    HostProbe::settle(100);
    QVERIFY(m_scanner->scan("\x96\"}"));
    QTRY_VERIFY2(answer.answered(), qPrintable(answer.error()));
    QCOMPARE(asked(0), QByteArray(R"(qrcode={"data":"","fullData":true,"iv":"%25D0%2596"})"));
}

void TestScanner::bufferOutlivesTheDesk()
{
    QVERIFY(m_scanner->scan(code("whole").left(10)));
    HostProbe::settle(100);
    m_desk = std::make_unique<HostProbe>(QStringLiteral(LAPVANE_PLUGIN_FILE));
    QVERIFY(m_desk->start());
    auto answer = ModalAnswer::dialog(title(), [&](QDialog *dialog) {
        QVERIFY(m_service->waitFor(1));
        dialog->reject();
    });
    QVERIFY(m_scanner->scan(code("whole").mid(10)));
    QTRY_VERIFY2(answer.answered(), qPrintable(answer.error()));
    QCOMPARE(asked(0), body("whole"));
}

void TestScanner::twoCodesInOneRead()
{
    auto first = ModalAnswer::dialog(title(), [&](QDialog *dialog) {
        QVERIFY(m_service->waitFor(1));
        HostProbe::settle(100);
        QCOMPARE(m_service->requests().size(), 1);
        QCOMPARE(asked(0), body("1"));
        dialog->reject();
    });
    auto second = ModalAnswer::dialog(title(), [&](QDialog *dialog) {
        QVERIFY(m_service->waitFor(2));
        QCOMPARE(asked(1), body("2"));
        dialog->reject();
    });
    QVERIFY(m_scanner->scan(code("1") + "\r\nnoise}" + code("2")));
    QTRY_VERIFY2(second.answered(), qPrintable(second.error()));
    MODAL_VERIFY(first);
    HostProbe::settle(100);
    QVERIFY(!openDialog());
}

/// The search is open: of one read it takes the first code only.
void TestScanner::restOfTheReadIsDropped()
{
    auto answer = ModalAnswer::dialog(title(), [&](QDialog *dialog) {
        QVERIFY(m_scanner->scan(code("1") + code("2")));
        QVERIFY(m_service->waitFor(1));
        HostProbe::settle(100);
        dialog->reject();
    });
    m_desk->send(QStringLiteral("query_racer_from_database"));
    MODAL_VERIFY(answer);
    HostProbe::settle(100);
    QVERIFY(!openDialog());
    QCOMPARE(m_service->requests().size(), 1);
    QCOMPARE(asked(0), body("1"));
}

void TestScanner::scansIntoASearchOfTheCashier()
{
    auto answer = ModalAnswer::dialog(title(), [&](QDialog *dialog) {
        for (int scan = 0; scan < 3; ++scan) {
            QVERIFY(m_scanner->scan(code(QByteArray::number(scan).constData())));
            QVERIFY(m_service->waitFor(scan + 1));
            QVERIFY(m_service->answer(scan, OnlineService::results({QJsonObject{{QStringLiteral("id"), scan}}})));
            QTRY_COMPARE(results(dialog)->rowCount(), 1);
        }
        ok(dialog);
    });
    m_desk->send(QStringLiteral("query_racer_from_database"));
    MODAL_VERIFY(answer);
    QCOMPARE(m_desk->checkIn()->rowCount(), 1);
}

/// The search stands in the middle of the work on a scan, and still hears the next one.
void TestScanner::scansIntoASearchOfAScan()
{
    auto answer = ModalAnswer::dialog(title(), [&](QDialog *dialog) {
        QVERIFY(m_service->waitFor(1));
        for (int scan = 1; scan < 4; ++scan) {
            QVERIFY(m_scanner->scan(code(QByteArray::number(scan).constData())));
            QVERIFY(m_service->waitFor(scan + 1));
            QCOMPARE(asked(scan), body(QByteArray::number(scan).constData()));
        }
        QVERIFY(m_service->answer(3, OnlineService::results({JsonMatch::object(R"({"id": 3})")})));
        QTRY_COMPARE(results(dialog)->rowCount(), 1);
        ok(dialog);
    });
    QVERIFY(m_scanner->scan(code("0")));
    QTRY_VERIFY2(answer.answered(), qPrintable(answer.error()));
    QTRY_COMPARE(m_desk->checkIn()->rowCount(), 1);
    HostProbe::settle(100);
    QVERIFY(!openDialog());
}

/// Half a code comes in before the search closes, the other half afterwards.
void TestScanner::halfACodeWhileOpen()
{
    auto first = ModalAnswer::dialog(title(), [&](QDialog *dialog) {
        QVERIFY(m_scanner->scan(code("late").left(9)));
        HostProbe::settle(100);
        dialog->reject();
    });
    QVERIFY(m_scanner->scan(code("1") + "\r\n"));
    QTRY_VERIFY2(first.answered(), qPrintable(first.error()));
    QTRY_VERIFY(!openDialog());
    auto second = ModalAnswer::dialog(title(), [&](QDialog *dialog) {
        QVERIFY(m_service->waitFor(2));
        dialog->reject();
    });
    QVERIFY(m_scanner->scan(code("late").mid(9)));
    QTRY_VERIFY2(second.answered(), qPrintable(second.error()));
    QCOMPARE(asked(1), body("late"));
}

void TestScanner::nextScanOpensAgain()
{
    for (int scan = 0; scan < 3; ++scan) {
        auto answer = ModalAnswer::dialog(title(), [&](QDialog *dialog) {
            QVERIFY(m_service->waitFor(scan + 1));
            dialog->reject();
        });
        QVERIFY(m_scanner->scan(code("1")));
        QTRY_VERIFY2(answer.answered(), qPrintable(answer.error()));
        QTRY_VERIFY(!openDialog());
    }
}

void TestScanner::raceManager()
{
    m_desk->send(QStringLiteral("current_tab_changed"),
                 {{QStringLiteral("currentTab"), QStringLiteral("RaceManagerForm")}});
    m_desk->clear();
    m_service->answerAll(OnlineService::results({JsonMatch::object(R"({"id": 5})")}));
    auto answer = ModalAnswer::dialog(title(), [&](QDialog *dialog) {
        QTRY_COMPARE(results(dialog)->rowCount(), 1);
        ok(dialog);
    });
    QVERIFY(m_scanner->scan(code("1")));
    QTRY_VERIFY2(answer.answered(), qPrintable(answer.error()));
    QTRY_COMPARE(m_desk->names(), QStringList{QStringLiteral("database_racer_checkin")});
    QCOMPARE(m_desk->checkIn()->rowCount(), 0);
}

/// The port is closed and opened again, and a code is still taken once.
// The port is let go and taken again, and is open once.
void TestScanner::samePortAgain()
{
    QCOMPARE(openings(m_scanner->port()).size(), 1);
    const OpenWatch watch(m_scanner->port());
    for (int i = 0; i < 2; ++i) {
        acceptSettings();
        QCOMPARE(watch.seen(), (QStringList{QStringLiteral("closed"), QStringLiteral("opened")}));
        QCOMPARE(openings(m_scanner->port()).size(), 1);
    }
    auto answer = ModalAnswer::dialog(title(), [&](QDialog *dialog) { dialog->reject(); });
    QVERIFY(m_scanner->scan(code("1")));
    QTRY_VERIFY2(answer.answered(), qPrintable(answer.error()));
    HostProbe::settle(100);
    QVERIFY(!openDialog());
    QCOMPARE(m_service->requests().size(), 1);
    QCOMPARE(asked(0), body("1"));
}

void TestScanner::settingsBetweenScans()
{
    for (int i = 0; i < 3; ++i)
        acceptSettings();
    auto answer = ModalAnswer::dialog(title(), [&](QDialog *dialog) {
        QVERIFY(m_service->waitFor(1));
        HostProbe::settle(100);
        dialog->reject();
    });
    QVERIFY(m_scanner->scan(code("1")));
    QTRY_VERIFY2(answer.answered(), qPrintable(answer.error()));
    HostProbe::settle(100);
    QVERIFY(!openDialog());
    QCOMPARE(m_service->requests().size(), 1);
}

void TestScanner::settingsWhileOpen()
{
    auto answer = ModalAnswer::dialog(title(), [&](QDialog *dialog) {
        QVERIFY(m_service->waitFor(1));
        acceptSettings();
        QVERIFY(m_scanner->scan(code("2")));
        QVERIFY(m_service->waitFor(2));
        acceptSettings();
        dialog->reject();
    });
    QVERIFY(m_scanner->scan(code("1")));
    QTRY_VERIFY2(answer.answered(), qPrintable(answer.error()));
    QCOMPARE(asked(1), body("2"));
    QTRY_VERIFY(!openDialog());
    auto next = ModalAnswer::dialog(title(), [&](QDialog *dialog) { dialog->reject(); });
    QVERIFY(m_scanner->scan(code("3")));
    QTRY_VERIFY2(next.answered(), qPrintable(next.error()));
}

void TestScanner::otherPortWhileOpen()
{
    const Scanner other;
    auto answer = ModalAnswer::dialog(title(), [&](QDialog *dialog) {
        QVERIFY(m_service->waitFor(1));
        m_track->setSetting(QStringLiteral("scannerPortName"), other.port());
        acceptSettings();
        QVERIFY(m_scanner->scan(code("old")));
        HostProbe::settle(100);
        QCOMPARE(m_service->requests().size(), 1);
        QVERIFY(other.scan(code("new")));
        QVERIFY(m_service->waitFor(2));
        dialog->reject();
    });
    QVERIFY(m_scanner->scan(code("1")));
    QTRY_VERIFY2(answer.answered(), qPrintable(answer.error()));
    QCOMPARE(asked(1), body("new"));
}

void TestScanner::unplugged()
{
    m_scanner->unplug();
    HostProbe::settle(100);
    // A line that hangs must not keep the desk busy.
    const std::clock_t before = std::clock();
    HostProbe::settle(500);
    const double busy = double(std::clock() - before) / CLOCKS_PER_SEC;
    QVERIFY2(busy < 0.25, qPrintable(QString::number(busy)));
    m_desk->send(QStringLiteral("local_request"),
                 {{QStringLiteral("request"), QStringLiteral("x")}, {QStringLiteral("linkGuid"), 5}});
    JSON_COMPARE(m_desk->last(QStringLiteral("local_request_answer")), JsonMatch::object(R"({"linkGuid": 5})"));

    // The scanner is back, and the settings are accepted once more.
    m_scanner = std::make_unique<Scanner>();
    m_track->setSetting(QStringLiteral("scannerPortName"), m_scanner->port());
    acceptSettings();
    auto answer = ModalAnswer::dialog(title(), [&](QDialog *dialog) { dialog->reject(); });
    QVERIFY(m_scanner->scan(code("1")));
    QTRY_VERIFY2(answer.answered(), qPrintable(answer.error()));
}

void TestScanner::unpluggedWhileOpen()
{
    m_service->answerAll(OnlineService::results({JsonMatch::object(R"({"id": 5})")}));
    auto answer = ModalAnswer::dialog(title(), [&](QDialog *dialog) {
        QTRY_COMPARE(results(dialog)->rowCount(), 1);
        m_scanner->unplug();
        HostProbe::settle(100);
        const std::clock_t before = std::clock();
        HostProbe::settle(300);
        QVERIFY(double(std::clock() - before) / CLOCKS_PER_SEC < 0.15);
        ok(dialog);
    });
    QVERIFY(m_scanner->scan(code("1")));
    QTRY_VERIFY2(answer.answered(), qPrintable(answer.error()));
    QTRY_COMPARE(m_desk->checkIn()->rowCount(), 1);
}

/// A quarter of a megabyte of a code without an end, then a code.
void TestScanner::noise()
{
    QVERIFY(m_scanner->scan("{\"iv\":\""));
    const QByteArray chunk(1024, 'x');
    for (int sent = 0; sent < 256;) {
        if (m_scanner->scan(chunk))
            ++sent;
        QTest::qWait(1);
    }
    auto answer = ModalAnswer::dialog(title(), [&](QDialog *dialog) {
        QVERIFY(m_service->waitFor(1));
        dialog->reject();
    });
    QTest::qWait(50);
    QVERIFY(m_scanner->scan("\"}" + code("1")));
    QTRY_VERIFY2(answer.answered(), qPrintable(answer.error()));
    QCOMPARE(asked(0), body("1"));
}

/// A host that throws the desk away under a search that a scan has opened, with another code waiting.
void TestScanner::deskEndsWhileOpen()
{
    auto answer = ModalAnswer::dialog(title(), [&](QDialog * /*dialog*/) {
        QVERIFY(m_service->waitFor(1));
        m_desk.reset();
    });
    QVERIFY(m_scanner->scan(code("1") + code("2")));
    QTRY_VERIFY2(answer.answered(), qPrintable(answer.error()));
    HostProbe::settle(100);
    QCOMPARE(m_service->requests().size(), 1);
}

void TestScanner::applicationQuitsWhileOpen()
{
    m_desk.reset();
    ChildDesk child(QStringLiteral("quit"));
    QVERIFY(child.start());
    QVERIFY2(child.waitForLine("ready"), child.output().constData());
    QVERIFY(m_scanner->scan(code("1") + code("2")));
    QVERIFY(m_service->waitFor(1));
    QVERIFY2(child.finish(), child.output().constData());
}

namespace {

/// A host that quits while a search of a scan is open, and takes the desk down afterwards.
int quitWhileSearching(const QString & /*role*/, const QStringList & /*arguments*/)
{
    const auto track = TempTrack::fromEnvironment();
    HostProbe desk(QStringLiteral(LAPVANE_PLUGIN_FILE));
    if (!desk.start())
        return 1;
    ChildDesk::say("ready");
    QTimer watch;
    QObject::connect(&watch, &QTimer::timeout, &watch, [] {
        if (QApplication::activeModalWidget())
            QTimer::singleShot(300, qApp, [] { QCoreApplication::quit(); });
    });
    watch.start(20);
    QCoreApplication::exec();
    return desk.unload() ? 0 : 1;
}

} // namespace

DESK_TEST_MAIN_WITH_CHILD(TestScanner, quitWhileSearching)

#include "tst_scanner.moc"
