#include "payments/paymentdbupdater.h"

#include "common/clock.h"
#include "common/deskpaths.h"
#include "common/sqlwrite.h"
#include "payments/paymentrecord.h"

#include <QCoreApplication>
#include <QEvent>
#include <QFileInfo>
#include <QPair>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QVariant>
#include <QVector>

namespace {

constexpr unsigned long RetryMs = 100;

QString connectionName()
{
    return QStringLiteral("paymentDbUpdater");
}

} // namespace

PaymentDbUpdater::PaymentDbUpdater(QObject *parent)
    : QObject(parent)
{
}

// The flag comes first: a payment that waits for a database holds the thread's event loop up. The thread's own request
// for interruption would not do, it reads as not made once the thread runs its finished handlers.
PaymentDbUpdater::~PaymentDbUpdater()
{
    closing = true;
    thread.quit();
    thread.wait();
}

void PaymentDbUpdater::openDatabase()
{
    db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), connectionName());
    db.setDatabaseName(DeskPaths::database());
    // Waiting for others is the write transaction's business; the driver only bridges the short moments.
    db.setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=100"));
    db.open();
}

void PaymentDbUpdater::closeDatabase()
{
    closing = true;
    QCoreApplication::sendPostedEvents(this, QEvent::MetaCall);
    db.close();
    db = QSqlDatabase();
    QSqlDatabase::removeDatabase(connectionName());
}

void PaymentDbUpdater::updateApiKey(QJsonObject jsonData)
{
    const QString oldKey = apiKey;
    apiKey = jsonData.value(QLatin1String("apiKey")).toString();
    if (!apiKey.isEmpty() && apiKey != oldKey)
        updateRemotePayments();
}

void PaymentDbUpdater::updatePaymentsData(QJsonObject jsonData)
{
    const QString ids = PaymentRecord::takenIds(jsonData);
    if (ids.isEmpty() || !begin())
        return;
    const bool flagged = QSqlQuery(db).exec(QLatin1String("UPDATE payments SET remote_updated=1 WHERE id IN (") + ids
                                            + QLatin1String(") AND remote_updated=0"));
    if (commit() && flagged)
        updateRemotePayments();
}

void PaymentDbUpdater::updatePayment(QJsonObject json)
{
    while (!store(json)) {
        if (closing)
            return;
        QThread::msleep(RetryMs);
    }
    if (!apiKey.isEmpty())
        updateRemotePayments();
}

bool PaymentDbUpdater::store(const QJsonObject &payment)
{
    if (!begin())
        return false;
    writeRow(payment);
    return commit();
}

// A statement that fails here is passed over, and the transaction is committed all the same. Where the failure took the
// transaction away, the commit tells.
void PaymentDbUpdater::writeRow(const QJsonObject &payment)
{
    QSqlQuery query(db);
    query.prepare(QStringLiteral("SELECT id FROM payments WHERE racer_guid=?"));
    query.addBindValue(PaymentRecord::uuid(payment));
    if (!query.exec())
        return;
    const int id = query.next() ? query.value(0).toInt() : -1;
    query.finish();

    if (id != -1) {
        query.prepare(QStringLiteral(
            "UPDATE payments SET pay_date=:pay_date,client_id=:client_id,first_name=:first_name,last_name=:last_name,"
            "mid_name=:mid_name,sum=:sum,tariff=:tariff,discount=:discount,price_id=:price_id,price_type=:price_type,"
            "pay_state=:pay_state,pay_kind=:pay_kind,car_model=:car_model,tickets_count=:tickets_count,"
            "comment=:comment,remote_updated=0 WHERE id=:id"));
        query.bindValue(QStringLiteral(":id"), id);
    } else {
        query.prepare(QStringLiteral(
            "INSERT INTO payments (racer_guid,pay_date,client_id,first_name,last_name,mid_name,sum,tariff,discount,"
            "pay_state,pay_kind,car_model,tickets_count,comment,price_id,price_type,cashier_id) VALUES (:racer_guid,"
            ":pay_date,:client_id,:first_name,:last_name,:mid_name,:sum,:tariff,:discount,:pay_state,:pay_kind,"
            ":car_model,:tickets_count,:comment,:price_id,:price_type,:cashier_id)"));
        query.bindValue(QStringLiteral(":racer_guid"), PaymentRecord::uuid(payment));
        query.bindValue(QStringLiteral(":cashier_id"), PaymentRecord::cashierId(payment));
    }
    const QVector<QPair<QString, QVariant>> values = PaymentRecord::values(payment, Clock::utc());
    for (const auto &[placeholder, value] : values)
        query.bindValue(placeholder, value);
    query.exec();
}

void PaymentDbUpdater::updateRemotePayments()
{
    if (!begin())
        return;
    QJsonArray items;
    {
        // Gone before the commit: a statement that is still reading would keep its lock on the file.
        QSqlQuery query(db);
        query.setForwardOnly(true);
        query.exec(QStringLiteral(
            "select p.id,p.pay_date,p.client_id,ifnull(p.last_name,char(0))||' '||ifnull(p.first_name,char(0))||' '||"
            "ifnull(p.mid_name,char(0)) as client_name,p.sum,tariff,discount,pay_kind,p.car_model,pl.sales_item as "
            "item_name,p.tickets_count as items_count,p.price_id,p.price_type,pk.name as price_type_name,p.cashier_id,"
            "(ifnull(pr.last_name,char(0))||' '||ifnull(pr.first_name,char(0))||' '||ifnull(pr.mid_name,char(0))) as "
            "cashier_name,comment,p.pay_state from payments p left join personal pr ON p.cashier_id=pr.id left join "
            "price_list pl ON p.price_id=pl.id left join price_types pk ON p.price_type=pk.id where remote_updated = 0 "
            "order by p.id limit 32"));
        while (query.next())
            items.append(PaymentRecord::batchItem(query.record()));
    }
    if (commit() && !items.isEmpty())
        emit remotePaymentsUpdated(QJsonObject{{QStringLiteral("itemsList"), items}});
}

bool PaymentDbUpdater::begin()
{
    if (!db.isOpen() && !reopenDatabase())
        return false;
    if (SqlWrite::begin(db))
        return true;
    db.close();
    return false;
}

bool PaymentDbUpdater::commit()
{
    if (SqlWrite::commit(db))
        return true;
    db.close();
    return false;
}

// Opening would make an empty file where there is none, and in a file without tables a payment is lost: a payment that
// waits for the database goes on waiting until the host has written it.
bool PaymentDbUpdater::reopenDatabase()
{
    return QFileInfo(db.databaseName()).size() > 0 && db.open();
}
