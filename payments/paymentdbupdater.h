#ifndef PAYMENTDBUPDATER_H
#define PAYMENTDBUPDATER_H

#include <QJsonArray>
#include <QJsonObject>
#include <QObject>
#include <QSqlDatabase>
#include <QThread>

#include <atomic>

/// Stores payments in the shared database on a thread of its own and pushes what the online service does not have yet,
/// 32 rows at a time. The owner connects `thread`'s started and finished to openDatabase() and closeDatabase() with
/// direct functors, moves the object to `thread` and starts it; everything else reaches it by queued calls.
class PaymentDbUpdater : public QObject
{
    Q_OBJECT

public:
    explicit PaymentDbUpdater(QObject *parent = nullptr);
    /// Quits the thread and waits for it with no time limit. GUI thread.
    ~PaymentDbUpdater() override;

    /// Opens the connection "paymentDbUpdater". Worker thread.
    void openDatabase();
    /// Works off what was queued before the thread ended, then closes the connection. Worker thread.
    void closeDatabase();

    /// The worker's thread. Started by the owner.
    QThread thread;

public Q_SLOTS:
    void updateApiKey(QJsonObject jsonData);
    void updatePaymentsData(QJsonObject jsonData);
    void updatePayment(QJsonObject json);

Q_SIGNALS:
    /// A batch of rows for the online service, at most 32 under `itemsList`.
    void remotePaymentsUpdated(QJsonObject batch);

private:
    void updateRemotePayments();
    /// One attempt to store a payment. False if nothing is stored and another attempt may do it.
    bool store(const QJsonObject &payment);
    void writeRow(const QJsonObject &payment);
    /// Begins or ends a write; an incurable error costs the connection, and the next begin() opens a new one.
    bool begin();
    bool commit();
    bool reopenDatabase();

    QSqlDatabase db;
    QJsonArray unusedBatch;
    QString apiKey;
    /// The desk is closing: what cannot be stored at once is given up. Set by the GUI thread, read by the worker.
    std::atomic_bool closing{false};
};

#endif // PAYMENTDBUPDATER_H
