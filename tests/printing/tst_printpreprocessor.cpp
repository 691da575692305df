#include "desktest.h"
#include "jsonmatch.h"
#include "printing/printpreprocessor.h"

#include <QMetaMethod>
#include <QPointer>
#include <QSemaphore>
#include <QSignalSpy>

/// The thread that hands one document to the host.
class TestPrintPreprocessor : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void signalOfTheJob();
    void job();
    void jobAsMade();
    void comesFromItsThread();
    void startsOnce();
    void deletesItself();
};

using JsonMatch::object;

void TestPrintPreprocessor::signalOfTheJob()
{
    const QMetaObject &meta = PrintPreprocessor::staticMetaObject;
    QCOMPARE(QByteArray(meta.superClass()->className()), QByteArray("QThread"));
    const int index = meta.indexOfSignal("printRun(QString,QString,QJsonObject)");
    QVERIFY(index >= 0);
    QCOMPARE(meta.method(index).parameterNames(), (QList<QByteArray>{"module", "event", "jsonData"}));
}

void TestPrintPreprocessor::job()
{
    PrintPreprocessor thread;
    thread.setTemplateName(QStringLiteral("safety"));
    thread.setPrintParams(object(R"({"MAINNAME": "Иванов", "n": 5})"));
    QSignalSpy spy(&thread, &PrintPreprocessor::printRun);
    QVERIFY(thread.start());
    QVERIFY(thread.wait(5000));
    QTRY_COMPARE(spy.count(), 1);
    QCOMPARE(spy.first().at(0).toString(), QStringLiteral("print_preprocessor"));
    QCOMPARE(spy.first().at(1).toString(), QStringLiteral("print_results"));
    JSON_COMPARE(spy.first().at(2).toJsonObject(),
                 object(R"({"printParams": {"MAINNAME": "Иванов", "n": 5}, "printCount": 1, "preview": false,
                    "sortType": 0, "templateName": "safety"})"));
}

void TestPrintPreprocessor::jobAsMade()
{
    PrintPreprocessor thread;
    QSignalSpy spy(&thread, &PrintPreprocessor::printRun);
    QVERIFY(thread.start());
    QVERIFY(thread.wait(5000));
    QTRY_COMPARE(spy.count(), 1);
    JSON_COMPARE(spy.first().at(2).toJsonObject(),
                 object(R"({"printParams": {}, "printCount": 1, "preview": false, "sortType": 0,
                    "templateName": ""})"));
}

// Whoever listens on another thread is told there, by its own event loop.
void TestPrintPreprocessor::comesFromItsThread()
{
    PrintPreprocessor thread;
    QThread *raisedOn = nullptr;
    QThread *heardOn = nullptr;
    QObject listener;
    connect(
        &thread, &PrintPreprocessor::printRun, &listener, [&] { raisedOn = QThread::currentThread(); },
        Qt::DirectConnection);
    connect(&thread, &PrintPreprocessor::printRun, &listener, [&] { heardOn = QThread::currentThread(); });
    QVERIFY(thread.start());
    QVERIFY(thread.wait(5000));
    QCOMPARE(raisedOn, static_cast<QThread *>(&thread));
    QCOMPARE(heardOn, nullptr);
    QTRY_COMPARE(heardOn, QThread::currentThread());
}

void TestPrintPreprocessor::startsOnce()
{
    PrintPreprocessor thread;
    QSemaphore raised;
    QSemaphore goOn;
    int jobs = 0;
    connect(
        &thread, &PrintPreprocessor::printRun, &thread,
        [&] {
            ++jobs;
            raised.release();
            goOn.acquire();
        },
        Qt::DirectConnection);
    QVERIFY(thread.start());
    QVERIFY(raised.tryAcquire(1, 5000));
    QVERIFY(!thread.start());
    goOn.release();
    QVERIFY(thread.wait(5000));
    QCOMPARE(jobs, 1);
    // Once it has come to its end it may go again.
    goOn.release();
    QVERIFY(thread.start());
    QVERIFY(thread.wait(5000));
    QCOMPARE(jobs, 2);
}

// As the form uses it: gone by itself.
void TestPrintPreprocessor::deletesItself()
{
    QPointer<PrintPreprocessor> thread(new PrintPreprocessor);
    connect(thread.data(), &QThread::finished, thread.data(), &QObject::deleteLater);
    QSignalSpy spy(thread.data(), &PrintPreprocessor::printRun);
    QVERIFY(thread->start());
    QTRY_VERIFY(!thread);
    QCOMPARE(spy.count(), 1);
}

DESK_TEST_MAIN(TestPrintPreprocessor)

#include "tst_printpreprocessor.moc"
