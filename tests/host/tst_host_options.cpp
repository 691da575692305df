#include "hostoptions.h"

#include <QtTest>

class TestHostOptions : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void nothingAsked();
    void everythingAsked();
    void queueMeansDemo();
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
    QVERIFY(!options.demo);
    QVERIFY(!options.help);
    QVERIFY(!options.windowSize.isValid());
    QCOMPARE(options.quitAfter, -1);
    QCOMPARE(options.speed, 1);
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
    for (const char *name : {"--home", "--plugin", "--demo", "--play", "--out", "--log", "--screenshot-size",
                             "--quit-after", "--speed", "--demo-queue"})
        QVERIFY2(help.contains(QLatin1String(name)), name);
}

QTEST_GUILESS_MAIN(TestHostOptions)
#include "tst_host_options.moc"
