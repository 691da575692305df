#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QtTest>

/// The bench host as a program: what its command line makes of the way in for clients and of the recording.
class TestHostProgram : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void busyPortIsReported();
    void clientsKeptOut();
    void recordsADayWithClients();
    void recordThatCannotBeWritten();

private:
    struct Outcome
    {
        int code = -1;
        QString output;
        QString error;
    };

    Outcome run(const QStringList &arguments) const;
    QString path(const char *name) const { return m_directory->filePath(QLatin1String(name)); }

    QScopedPointer<QTemporaryDir> m_directory;
};

void TestHostProgram::init()
{
    m_directory.reset(new QTemporaryDir);
    QVERIFY(m_directory->isValid());
}

TestHostProgram::Outcome TestHostProgram::run(const QStringList &arguments) const
{
    QProcess program;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    program.setProcessEnvironment(environment);
    program.start(QStringLiteral(BENCH_HOST_FILE),
                  QStringList{QStringLiteral("--home"), path("home"), QStringLiteral("--plugin"),
                              QStringLiteral(FAKE_DESK_FILE), QStringLiteral("--service-port=off")}
                      + arguments);
    if (!program.waitForFinished(20000)) {
        program.kill();
        program.waitForFinished();
        return {};
    }
    return {program.exitStatus() == QProcess::NormalExit ? program.exitCode() : -1,
            QString::fromUtf8(program.readAllStandardOutput()), QString::fromUtf8(program.readAllStandardError())};
}

void TestHostProgram::busyPortIsReported()
{
    QTcpServer other;
    QVERIFY(other.listen(QHostAddress::LocalHost));
    const QString port = QString::number(other.serverPort());
    const Outcome result =
        run({QStringLiteral("--client-port"), port, QStringLiteral("--quit-after"), QStringLiteral("300")});
    QCOMPARE(result.code, 0);
    QVERIFY2(result.error.contains(port), qPrintable(result.error));
    QVERIFY2(!result.output.contains(QLatin1String("ws://")), qPrintable(result.output));
}

void TestHostProgram::clientsKeptOut()
{
    const Outcome result =
        run({QStringLiteral("--client-port=off"), QStringLiteral("--quit-after"), QStringLiteral("300")});
    QCOMPARE(result.code, 0);
    QVERIFY2(!result.output.contains(QLatin1String("ws://")), qPrintable(result.output));
}

void TestHostProgram::recordsADayWithClients()
{
    QFile script(path("day.play"));
    QVERIFY(script.open(QIODevice::WriteOnly));
    script.write("request kiosk echo {\"n\": 1}\nexpectAnswer kiosk {\"got\": {\"n\": 1}}\n");
    script.close();
    QFile record(path("record.jsonl"));
    QVERIFY(record.open(QIODevice::WriteOnly));
    record.write("yesterday\n");
    record.close();

    const Outcome result = run({QStringLiteral("--client-port=0"), QStringLiteral("--play"), script.fileName(),
                                QStringLiteral("--record"), record.fileName()});
    QVERIFY2(result.code == 0, qPrintable(result.output + result.error));
    QVERIFY2(result.output.contains(QLatin1String("ws://127.0.0.1:")), qPrintable(result.output));

    QVERIFY(record.open(QIODevice::ReadOnly));
    const QByteArray recorded = record.readAll();
    QFile log(path("home/events.jsonl"));
    QVERIFY(log.open(QIODevice::ReadOnly));
    QCOMPARE(recorded, log.readAll());
    QStringList events;
    QList<QByteArray> lines = recorded.split('\n');
    QVERIFY2(lines.takeLast().isEmpty(), "every line is ended");
    for (const QByteArray &line : qAsConst(lines)) {
        const QJsonObject entry = QJsonDocument::fromJson(line).object();
        QCOMPARE(entry.keys(),
                 QStringList({QStringLiteral("data"), QStringLiteral("direction"), QStringLiteral("event"),
                              QStringLiteral("module"), QStringLiteral("time")}));
        events.append(entry.value(QStringLiteral("direction")).toString() + QLatin1Char(' ')
                      + entry.value(QStringLiteral("event")).toString());
    }
    QVERIFY2(events.contains(QLatin1String("toDesk load_complete")), qPrintable(events.join(QLatin1Char('\n'))));
    QVERIFY2(events.contains(QLatin1String("toDesk local_request")), qPrintable(events.join(QLatin1Char('\n'))));
    QVERIFY2(events.contains(QLatin1String("fromDesk local_request_answer")),
             qPrintable(events.join(QLatin1Char('\n'))));
}

void TestHostProgram::recordThatCannotBeWritten()
{
    const Outcome result = run({QStringLiteral("--client-port=off"), QStringLiteral("--record"), m_directory->path(),
                                QStringLiteral("--quit-after"), QStringLiteral("300")});
    QCOMPARE(result.code, 2);
    QVERIFY2(result.error.contains(m_directory->path()), qPrintable(result.error));
}

QTEST_GUILESS_MAIN(TestHostProgram)
#include "tst_host_program.moc"
