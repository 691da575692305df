#include "eventlogmodel.h"
#include "play/runrows.h"

#include <QJsonArray>
#include <QtTest>

class TestRunRows : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void lists();
    void lastPublicationCounts();
    void rows_data();
    void rows();
    void nothingPublishedYet();
    void places_data();
    void places();
    void cells_data();
    void cells();

private:
    static QJsonObject run(const QString &name);
    void publish(const QString &firstName);

    QScopedPointer<EventLogModel> m_log;
};

QJsonObject TestRunRows::run(const QString &name)
{
    return {{QStringLiteral("runName"), name}};
}

void TestRunRows::publish(const QString &firstName)
{
    const QJsonObject queue{{QStringLiteral("currentRun"), run(firstName)},
                            {QStringLiteral("pendingRuns"), QJsonArray{run(QStringLiteral("second"))}}};
    const QJsonObject history{{QStringLiteral("runHistoryList"), QJsonArray{run(QStringLiteral("old"))}}};
    m_log->append(EventLogModel::FromDesk, QString(), QStringLiteral("local_request_answer"),
                  {{QStringLiteral("request"), QStringLiteral("runQueueUpdate")},
                   {QStringLiteral("runQueue"), queue},
                   {QStringLiteral("runHistory"), history}});
}

void TestRunRows::init()
{
    m_log.reset(new EventLogModel);
}

void TestRunRows::lists()
{
    QString error;
    QCOMPARE(RunRows::widgetName(QStringLiteral("queue"), &error), QStringLiteral("lwRunsList"));
    QCOMPARE(RunRows::widgetName(QStringLiteral("history"), &error), QStringLiteral("lwRunsHistory"));
    QVERIFY(error.isEmpty());
    QVERIFY(RunRows::widgetName(QStringLiteral("pit"), &error).isEmpty());
    QVERIFY(!error.isEmpty());
}

void TestRunRows::lastPublicationCounts()
{
    publish(QStringLiteral("first"));
    publish(QStringLiteral("renamed"));
    m_log->append(EventLogModel::FromDesk, QString(), QStringLiteral("local_request_answer"),
                  {{QStringLiteral("trackName"), QStringLiteral("x")}});
    QString error;
    QCOMPARE(RunRows::run(m_log.data(), QStringLiteral("queue"), QStringLiteral("0"), &error),
             run(QStringLiteral("renamed")));
}

void TestRunRows::rows_data()
{
    QTest::addColumn<QString>("list");
    QTest::addColumn<QString>("row");
    QTest::addColumn<QString>("name");
    QTest::newRow("head") << QStringLiteral("queue") << QStringLiteral("0") << QStringLiteral("first");
    QTest::newRow("pending") << QStringLiteral("queue") << QStringLiteral("1") << QStringLiteral("second");
    QTest::newRow("history") << QStringLiteral("history") << QStringLiteral("0") << QStringLiteral("old");
    QTest::newRow("behind the queue") << QStringLiteral("queue") << QStringLiteral("2") << QString();
    QTest::newRow("below 0") << QStringLiteral("queue") << QStringLiteral("-1") << QString();
    QTest::newRow("no number") << QStringLiteral("history") << QStringLiteral("first") << QString();
    QTest::newRow("no such list") << QStringLiteral("pit") << QStringLiteral("0") << QString();
}

void TestRunRows::rows()
{
    QFETCH(QString, list);
    QFETCH(QString, row);
    QFETCH(QString, name);
    publish(QStringLiteral("first"));
    QString error;
    QCOMPARE(RunRows::run(m_log.data(), list, row, &error).value(QStringLiteral("runName")).toString(), name);
    QCOMPARE(error.isEmpty(), !name.isEmpty());
}

void TestRunRows::nothingPublishedYet()
{
    QString error;
    QVERIFY(RunRows::run(m_log.data(), QStringLiteral("queue"), QStringLiteral("0"), &error).isEmpty());
    QVERIFY(!error.isEmpty());
}

void TestRunRows::places_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("place");
    QTest::newRow("first seat") << QStringLiteral("Орлова") << 0;
    QTest::newRow("a text inside the name") << QStringLiteral("Егор") << 1;
    QTest::newRow("number with more digits") << QStringLiteral("Юдин") << 2;
    QTest::newRow("nobody") << QStringLiteral("Лебедев") << -1;
}

void TestRunRows::places()
{
    QFETCH(QString, name);
    QFETCH(int, place);
    QJsonObject competitors;
    const auto seat = [&competitors](int id, const QString &racer) {
        competitors.insert(QString::number(id),
                           QJsonObject{{QStringLiteral("competitorId"), id}, {QStringLiteral("name"), racer}});
    };
    seat(-10000, QStringLiteral("Юдин Артём"));
    seat(-1003, QStringLiteral("Белов Егор"));
    seat(-1001, QStringLiteral("Орлова Мария"));
    QString error;
    QCOMPARE(RunRows::place({{QStringLiteral("runCompetitors"), competitors}}, name, &error), place);
    QCOMPARE(error.isEmpty(), place >= 0);
}

void TestRunRows::cells_data()
{
    QTest::addColumn<int>("place");
    QTest::addColumn<int>("width");
    QTest::addColumn<QRect>("cell");
    QTest::newRow("first") << 0 << 300 << QRect(116, 4, 80, 64);
    QTest::newRow("second column") << 1 << 300 << QRect(200, 4, 80, 64);
    QTest::newRow("second row") << 2 << 300 << QRect(116, 72, 80, 64);
    QTest::newRow("narrow") << 1 << 60 << QRect(116, 72, 80, 64);
}

void TestRunRows::cells()
{
    QFETCH(int, place);
    QFETCH(int, width);
    QFETCH(QRect, cell);
    QCOMPARE(RunRows::cell(place, width), cell);
}

QTEST_GUILESS_MAIN(TestRunRows)
#include "tst_host_runrows.moc"
