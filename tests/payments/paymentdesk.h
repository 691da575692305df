#ifndef PAYMENTDESK_H
#define PAYMENTDESK_H

#include "payments/paymentdbupdater.h"

#include "desktest.h"

#include <QList>
#include <QMutex>
#include <QMutexLocker>

#include <memory>
#include <utility>

/// The payments worker as the form holds it: started on its own thread, reached by queued calls, its batches received on
/// the test's thread. Closes with the object.
class PaymentDesk
{
public:
    explicit PaymentDesk(bool started = true)
        : m_worker(std::make_unique<PaymentDbUpdater>())
    {
        PaymentDbUpdater *const worker = m_worker.get();
        QObject::connect(
            &worker->thread, &QThread::started, worker, [worker] { worker->openDatabase(); }, Qt::DirectConnection);
        QObject::connect(
            &worker->thread, &QThread::finished, worker, [worker] { worker->closeDatabase(); }, Qt::DirectConnection);
        QObject::connect(worker, &PaymentDbUpdater::remotePaymentsUpdated, &m_context,
                         [this](const QJsonObject &batch) { m_batches.append(batch); });
        worker->moveToThread(&worker->thread);
        if (started)
            start();
    }
    Q_DISABLE_COPY(PaymentDesk)

    void start() { m_worker->thread.start(QThread::InheritPriority); }
    void close() { m_worker.reset(); }

    void pay(const QJsonObject &payment) { call("updatePayment", payment); }
    void setApiKey(const QString &key) { call("updateApiKey", {{QStringLiteral("apiKey"), key}}); }
    void answer(const QJsonValue &updatedList)
    {
        call("updatePaymentsData", {{QStringLiteral("updatedList"), updatedList}});
    }
    void call(const char *slot, const QJsonObject &object)
    {
        QVERIFY(QMetaObject::invokeMethod(m_worker.get(), slot, Qt::AutoConnection, Q_ARG(QJsonObject, object)));
    }

    /// Waits until the worker has done all that was asked of it, and takes in its batches.
    void drain()
    {
        onWorker([] {});
        QCoreApplication::processEvents();
    }
    template <typename Work> void onWorker(Work work)
    {
        QMetaObject::invokeMethod(m_worker.get(), work, Qt::BlockingQueuedConnection);
    }

    PaymentDbUpdater &worker() { return *m_worker; }
    /// The batches that came since the last call.
    QList<QJsonObject> takeBatches() { return std::exchange(m_batches, {}); }

private:
    QObject m_context;
    QList<QJsonObject> m_batches;
    std::unique_ptr<PaymentDbUpdater> m_worker;
};

/// Catches Qt's warnings, of every thread, while it lives: a connection still in use, a query without a database.
/// One at a time.
class WarningCatcher
{
public:
    WarningCatcher()
    {
        caught().clear();
        previous() = qInstallMessageHandler(handle);
    }
    ~WarningCatcher() { qInstallMessageHandler(previous()); }
    Q_DISABLE_COPY(WarningCatcher)

    QStringList warnings() const
    {
        const QMutexLocker locker(&mutex());
        return caught();
    }

private:
    static void handle(QtMsgType type, const QMessageLogContext &context, const QString &text)
    {
        if (type == QtWarningMsg || type == QtCriticalMsg) {
            const QMutexLocker locker(&mutex());
            caught().append(text);
        }
        previous()(type, context, text);
    }
    static QMutex &mutex()
    {
        static QMutex instance;
        return instance;
    }
    static QStringList &caught()
    {
        static QStringList list;
        return list;
    }
    static QtMessageHandler &previous()
    {
        static QtMessageHandler handler = nullptr;
        return handler;
    }
};

/// Plain payments that can be told apart and counted.
inline QJsonObject payment(int number)
{
    return {{QStringLiteral("uuid"), QStringLiteral("{payment-%1}").arg(number)},
            {QStringLiteral("paySum"), number},
            {QStringLiteral("payState"), true}};
}

/// The stored payments of payment(), in the order of their rows.
inline QList<int> storedPayments(const TempTrack &track)
{
    QList<int> numbers;
    const QList<QVariantList> rows =
        track.query(QStringLiteral("SELECT sum FROM payments WHERE racer_guid LIKE '{payment-%' ORDER BY id"));
    for (const QVariantList &row : rows)
        numbers.append(row.at(0).toInt());
    return numbers;
}

/// 1, 2, 3 … last.
inline QList<int> upTo(int last)
{
    QList<int> numbers;
    for (int i = 1; i <= last; ++i)
        numbers.append(i);
    return numbers;
}

#endif // PAYMENTDESK_H
