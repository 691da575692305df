#include "hostoptions.h"

#include <QtTest>

class TestHostOptions : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void nothingAsked();
    void everythingAsked();
    void queueMeansDemo();
    void serviceOff();
    void clientsKeptOut();
    void refuses_data();
    void refuses();
    void helpNamesEveryOption();
};

void TestHostOptions::nothingAsked()
{
    HostOptions options;
    QString error;
    QVERIFY(HostOptions::parse({QStringLiteral("host")}, &options, &error));
    QVERIFY(options.home.isEmpty());
    QVERIFY(options.plugin.isEmpty());
    QVERIFY(options.play.isEmpty());
    QVERIFY(options.log.isEmpty());
    QVERIFY(options.printer.isEmpty());
    QVERIFY(!options.demo);
    QVERIFY(!options.help);
    QVERIFY(!options.windowSize.isValid());
    QCOMPARE(options.quitAfter, -1);
    QCOMPARE(options.speed, 1);
    QVERIFY(options.record.isEmpty());
    QCOMPARE(options.clientPort, 9185);
    QCOMPARE(options.servicePort, 9184);
    QCOMPARE(options.serviceTrouble, QStringLiteral("none"));
    QVERIFY(options.demoQueue.isEmpty());
}

void TestHostOptions::everythingAsked()
{
    HostOptions options;
    QString error;
    const QStringList arguments = {QStringLiteral("host"),
                                   QStringLiteral("--home"),
                                   QStringLiteral("трасса"),
                                   QStringLiteral("--demo"),
                                   QStringLiteral("--plugin=a.so"),
                                   QStringLiteral("--play"),
                                   QStringLiteral("day.play"),
                                   QStringLiteral("--out"),
                                   QStringLiteral("out"),
                                   QStringLiteral("--log"),
                                   QStringLiteral("e.jsonl"),
                                   QStringLiteral("--record"),
                                   QStringLiteral("r.jsonl"),
                                   QStringLiteral("--client-port"),
                                   QStringLiteral("65535"),
                                   QStringLiteral("--printer"),
                                   QStringLiteral("POS 80"),
                                   QStringLiteral("--service-port"),
                                   QStringLiteral("0"),
                                   QStringLiteral("--service-trouble"),
                                   QStringLiteral("cut"),
                                   QStringLiteral("--screenshot-size"),
                                   QStringLiteral("1920x1080"),
                                   QStringLiteral("--quit-after"),
                                   QStringLiteral("0"),
                                   QStringLiteral("--speed"),
                                   QStringLiteral("120")};
    QVERIFY(HostOptions::parse(arguments, &options, &error));
    QCOMPARE(options.home, QStringLiteral("трасса"));
    QCOMPARE(options.plugin, QStringLiteral("a.so"));
    QCOMPARE(options.play, QStringLiteral("day.play"));
    QCOMPARE(options.out, QStringLiteral("out"));
    QCOMPARE(options.log, QStringLiteral("e.jsonl"));
    QCOMPARE(options.printer, QStringLiteral("POS 80"));
    QCOMPARE(options.record, QStringLiteral("r.jsonl"));
    QCOMPARE(options.clientPort, 65535);
    QCOMPARE(options.servicePort, 0);
    QCOMPARE(options.serviceTrouble, QStringLiteral("cut"));
    QCOMPARE(options.windowSize, QSize(1920, 1080));
    QCOMPARE(options.quitAfter, 0);
    QCOMPARE(options.speed, 120);
    QVERIFY(options.demo);
    QVERIFY(options.demoQueue.isEmpty());
}

void TestHostOptions::queueMeansDemo()
{
    HostOptions options;
    QString error;
    QVERIFY(HostOptions::parse({QStringLiteral("host"), QStringLiteral("--demo-queue"), QStringLiteral("12x8")},
                               &options, &error));
    QVERIFY(options.demo);
    QCOMPARE(options.demoQueue, QSize(12, 8));
}

void TestHostOptions::serviceOff()
{
    HostOptions options;
    QString error;
    QVERIFY(HostOptions::parse({QStringLiteral("host"), QStringLiteral("--service-port=off")}, &options, &error));
    QCOMPARE(options.servicePort, -1);
}

void TestHostOptions::clientsKeptOut()
{
    HostOptions options;
    QString error;
    QVERIFY(HostOptions::parse({QStringLiteral("host"), QStringLiteral("--client-port=off")}, &options, &error));
    QCOMPARE(options.clientPort, -1);
    QVERIFY(HostOptions::parse({QStringLiteral("host"), QStringLiteral("--client-port=0")}, &options, &error));
    QCOMPARE(options.clientPort, 0);
}

void TestHostOptions::refuses_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("unknown option") << QStringList{QStringLiteral("--kiosk")};
    QTest::newRow("a bare word") << QStringList{QStringLiteral("day.play")};
    QTest::newRow("value missing") << QStringList{QStringLiteral("--home")};
    QTest::newRow("size") << QStringList{QStringLiteral("--screenshot-size"), QStringLiteral("big")};
    QTest::newRow("no size") << QStringList{QStringLiteral("--screenshot-size"), QStringLiteral("0x0")};
    QTest::newRow("standing still") << QStringList{QStringLiteral("--speed"), QStringLiteral("0")};
    QTest::newRow("far too fast") << QStringList{QStringLiteral("--speed"), QStringLiteral("10001")};
    QTest::newRow("no speed") << QStringList{QStringLiteral("--speed"), QStringLiteral("fast")};
    QTest::newRow("queue") << QStringList{QStringLiteral("--demo-queue"), QStringLiteral("12")};
    QTest::newRow("empty runs") << QStringList{QStringLiteral("--demo-queue"), QStringLiteral("12x0")};
    QTest::newRow("endless queue") << QStringList{QStringLiteral("--demo-queue"), QStringLiteral("61x8")};
    QTest::newRow("endless run") << QStringList{QStringLiteral("--demo-queue"), QStringLiteral("12x21")};
    QTest::newRow("no port for clients") << QStringList{QStringLiteral("--client-port"), QStringLiteral("on")};
    QTest::newRow("negative port for clients") << QStringList{QStringLiteral("--client-port=-1")};
    QTest::newRow("port for clients too high") << QStringList{QStringLiteral("--client-port"), QStringLiteral("65536")};
    QTest::newRow("no port") << QStringList{QStringLiteral("--service-port"), QStringLiteral("http")};
    QTest::newRow("port too high") << QStringList{QStringLiteral("--service-port"), QStringLiteral("65536")};
    QTest::newRow("negative port") << QStringList{QStringLiteral("--service-port=-1")};
    QTest::newRow("no trouble") << QStringList{QStringLiteral("--service-trouble"), QStringLiteral("big")};
    QTest::newRow("negative time") << QStringList{QStringLiteral("--quit-after"), QStringLiteral("-5")};
    QTest::newRow("no time") << QStringList{QStringLiteral("--quit-after"), QStringLiteral("soon")};
}

void TestHostOptions::refuses()
{
    QFETCH(QStringList, arguments);
    HostOptions options;
    QString error;
    QVERIFY(!HostOptions::parse(QStringList(QStringLiteral("host")) + arguments, &options, &error));
    QVERIFY(!error.isEmpty());
}

void TestHostOptions::helpNamesEveryOption()
{
    const QString help = HostOptions::helpText();
    for (const char *name :
         {"--home", "--plugin", "--demo", "--play", "--out", "--log", "--printer", "--screenshot-size", "--quit-after",
          "--speed", "--record", "--client-port", "--demo-queue", "--service-port", "--service-trouble"})
        QVERIFY2(help.contains(QLatin1String(name)), name);
}

QTEST_GUILESS_MAIN(TestHostOptions)
#include "tst_host_options.moc"
