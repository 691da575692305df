#include "eventlogfilter.h"
#include "eventlogmodel.h"
#include "eventlogview.h"
#include "eventlogwriter.h"

#include <QComboBox>
#include <QJsonDocument>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QTreeView>
#include <QtTest>

class TestEventLog : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void keepsEventsInOrder();
    void dropsTheOldest();
    void filters_data();
    void filters();
    void writesALineAtOnce();
    void addsToAFileOrReplacesIt_data();
    void addsToAFileOrReplacesIt();
    void unwritableFile();
    void viewShowsTheJson();
};

namespace {

const QString tab = QStringLiteral("insert_tab");
const QString list = QStringLiteral("local_request_answer");

void fill(EventLogModel *log)
{
    log->append(EventLogModel::ToDesk, QStringLiteral("h"), QStringLiteral("load_complete"), {});
    log->append(EventLogModel::FromDesk, QStringLiteral("t"), tab, {{QStringLiteral("index"), 0}});
    log->append(EventLogModel::FromDesk, QStringLiteral("t"), list,
                {{QStringLiteral("checkInList"), QStringLiteral("Орлова")}});
}

} // namespace

void TestEventLog::keepsEventsInOrder()
{
    EventLogModel log;
    QSignalSpy appended(&log, &EventLogModel::appended);
    fill(&log);
    QCOMPARE(appended.size(), 3);
    QCOMPARE(log.rowCount(), 3);
    QCOMPARE(log.lastNumber(), 3);
    QCOMPARE(log.entry(1).event, tab);
    QCOMPARE(log.entry(1).number, 2);
    QCOMPARE(log.index(2, EventLogModel::EventColumn).data().toString(), list);
    QCOMPARE(log.index(2, EventLogModel::PayloadColumn).data().toString(),
             QStringLiteral("{\"checkInList\":\"Орлова\"}"));
    log.clear();
    QCOMPARE(log.rowCount(), 0);
    QCOMPARE(log.lastNumber(), 3);
}

void TestEventLog::dropsTheOldest()
{
    EventLogModel log;
    for (int i = 0; i < 10000; ++i)
        log.append(EventLogModel::ToDesk, QString(), QString::number(i), {});
    QVERIFY(log.rowCount() < 10000);
    QVERIFY(log.rowCount() >= 1000);
    QCOMPARE(log.lastNumber(), 10000);
    QCOMPARE(log.entry(log.rowCount() - 1).event, QStringLiteral("9999"));
    QCOMPARE(log.entry(0).number, 10000 - log.rowCount() + 1);
}

void TestEventLog::filters_data()
{
    QTest::addColumn<QString>("words");
    QTest::addColumn<int>("side");
    QTest::addColumn<int>("count");
    const int both = EventLogFilter::Both;
    QTest::newRow("all") << QString() << both << 3;
    QTest::newRow("to the desk") << QString() << int(EventLogModel::ToDesk) << 1;
    QTest::newRow("from the desk") << QString() << int(EventLogModel::FromDesk) << 2;
    QTest::newRow("by name, any case") << QStringLiteral("INSERT") << both << 1;
    QTest::newRow("by payload") << QStringLiteral("орлова") << both << 1;
    QTest::newRow("all words") << QStringLiteral("орлова insert") << both << 0;
    QTest::newRow("without a word") << QStringLiteral("-insert") << both << 2;
    QTest::newRow("a lone minus") << QStringLiteral("-") << both << 3;
    QTest::newRow("word and side") << QStringLiteral("load") << int(EventLogModel::FromDesk) << 0;
}

void TestEventLog::filters()
{
    QFETCH(QString, words);
    QFETCH(int, side);
    EventLogModel log;
    fill(&log);
    EventLogFilter filter;
    filter.setSourceModel(&log);
    filter.setWords(words);
    filter.setSide(side);
    QTEST(filter.rowCount(), "count");
}

void TestEventLog::writesALineAtOnce()
{
    QTemporaryDir directory;
    QVERIFY(directory.isValid());
    const QString name = directory.filePath(QStringLiteral("below/events.jsonl"));
    EventLogModel log;
    const EventLogWriter writer(name, EventLogWriter::Append, &log);
    QVERIFY2(writer.isOpen(), qPrintable(writer.errorText()));
    fill(&log);

    QFile file(name);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QList<QByteArray> lines = file.readAll().split('\n');
    QCOMPARE(lines.size(), 4);
    QVERIFY(lines.at(3).isEmpty());
    const QJsonObject first = QJsonDocument::fromJson(lines.at(0)).object();
    QCOMPARE(first.value(QStringLiteral("direction")).toString(), QStringLiteral("toDesk"));
    const QJsonObject second = QJsonDocument::fromJson(lines.at(1)).object();
    QCOMPARE(second.value(QStringLiteral("direction")).toString(), QStringLiteral("fromDesk"));
    QCOMPARE(second.value(QStringLiteral("module")).toString(), QStringLiteral("t"));
    QCOMPARE(second.value(QStringLiteral("event")).toString(), tab);
    QCOMPARE(second.value(QStringLiteral("data")).toObject(), QJsonObject({{QStringLiteral("index"), 0}}));
    QVERIFY(QDateTime::fromString(second.value(QStringLiteral("time")).toString(), Qt::ISODateWithMs).isValid());
}

void TestEventLog::addsToAFileOrReplacesIt_data()
{
    QTest::addColumn<bool>("replace");
    QTest::addColumn<int>("lines");
    QTest::newRow("adds") << false << 6;
    QTest::newRow("replaces") << true << 3;
}

void TestEventLog::addsToAFileOrReplacesIt()
{
    QFETCH(bool, replace);
    const QTemporaryDir directory;
    const QString name = directory.filePath(QStringLiteral("events.jsonl"));
    for (int run = 0; run < 2; ++run) {
        EventLogModel log;
        const EventLogWriter writer(name, replace ? EventLogWriter::Replace : EventLogWriter::Append, &log);
        QVERIFY2(writer.isOpen(), qPrintable(writer.errorText()));
        fill(&log);
    }
    QFile file(name);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QTEST(int(file.readAll().count('\n')), "lines");
}

void TestEventLog::unwritableFile()
{
    QTemporaryDir directory;
    QVERIFY(directory.isValid());
    EventLogModel log;
    const EventLogWriter writer(directory.path(), EventLogWriter::Append, &log);
    QVERIFY(!writer.isOpen());
    QVERIFY(!writer.errorText().isEmpty());
    fill(&log);
    QCOMPARE(log.rowCount(), 3);
}

void TestEventLog::viewShowsTheJson()
{
    EventLogModel log;
    fill(&log);
    EventLogView view(&log);
    auto *events = view.findChild<QTreeView *>(QStringLiteral("tvEvents"));
    auto *payload = view.findChild<QPlainTextEdit *>(QStringLiteral("teEventPayload"));
    auto *search = view.findChild<QLineEdit *>(QStringLiteral("leEventSearch"));
    QVERIFY(events && payload && search);
    QCOMPARE(events->model()->rowCount(), 3);

    search->setText(QStringLiteral("checkInList"));
    QCOMPARE(events->model()->rowCount(), 1);
    events->setCurrentIndex(events->model()->index(0, 0));
    QCOMPARE(payload->toPlainText(), QStringLiteral("{\n    \"checkInList\": \"Орлова\"\n}\n"));
    log.clear();
    QVERIFY(payload->toPlainText().isEmpty());
}

QTEST_MAIN(TestEventLog)
#include "tst_host_eventlog.moc"
