// Money: payments on their way to the worker, sales without a racer, refunds.

#include "plugin/ticketpluginform.h"

#include "payments/refunddialog.h"
#include "payments/salerules.h"
#include "payments/simplesaledialog.h"
#include "runqueue/runcontainerwidget.h"
#include "ui_ticketpluginform.h"

#include <QPointer>
#include <QUuid>

void TicketPluginForm::paymentUpdate(QJsonObject json)
{
    json.insert(QLatin1String("priceKind"), ui->cbPricesNames->currentText());
    QMetaObject::invokeMethod(&payments, "updatePayment", Qt::AutoConnection, Q_ARG(QJsonObject, json));
}

void TicketPluginForm::on_pbSimplePayment_clicked()
{
    const QPointer<TicketPluginForm> self(this);
    SimpleSaleDialog dialog(this);
    dialog.setPriceItems(prices.currentPriceItems());
    dialog.setDiscounts(prices.discounts);
    dialog.setPayMethods(prices.payMethods);
    if (dialog.exec() != QDialog::Accepted || !self)
        return;
    QJsonObject record = dialog.paymentJson();
    if (record.isEmpty())
        return;
    record.insert(QLatin1String("priceType"), prices.currentPriceType);
    paymentUpdate(record);
}

RunContainerWidget *TicketPluginForm::runWithSeat(const QString &preferredGuid, const QString &uuid) const
{
    RunContainerWidget *preferred = findRun(preferredGuid);
    if (preferred && preferred->hasCompetitor(uuid))
        return preferred;
    for (int row = 0; row < queueSize(); ++row) {
        RunContainerWidget *run = queueRun(row);
        if (run && run->hasCompetitor(uuid))
            return run;
    }
    return nullptr;
}

void TicketPluginForm::on_actionRefundTicket_triggered()
{
    const RunContainerWidget *run = queueRun(ui->lwRunsList->currentRow());
    if (!run || !run->hasSelection())
        return;
    const QJsonObject record = run->selectedEntry();
    const QString runGuid = run->guid();
    const QString uuid = record.value(QLatin1String("uuid")).toString();

    RefundDialog dialog(this);
    dialog.clientName = record.value(QLatin1String("name")).toString();
    dialog.payKind = record.value(QLatin1String("payMethod")).toString();
    dialog.ticketPrice = SaleRules::ticketPrice(record);
    dialog.refundSum = dialog.ticketPrice;
    dialog.clientId = record.value(QLatin1String("clientId")).toInt(-1);
    dialog.refundTicketsCount = 1;
    dialog.maxTicketsCount = 0;
    for (int row = 0; row < queueSize(); ++row) {
        const RunContainerWidget *candidate = queueRun(row);
        if (candidate && candidate->hasCompetitor(uuid))
            ++dialog.maxTicketsCount;
    }
    const QPointer<TicketPluginForm> self(this);
    if (dialog.exec() != QDialog::Accepted || !self)
        return;
    // A client may have moved the racer meanwhile, and the host may have closed his run: the ticket goes back from where
    // he sits now, and nothing is paid back for a seat that is no more.
    const RunContainerWidget *seated = runWithSeat(runGuid, uuid);
    if (seated)
        refundTicket(seated->guid(), uuid, dialog.refundSum, dialog.refundTicketsCount, dialog.refundComment, record);
}

void TicketPluginForm::refundTicket(const QString &runGuid, const QString &uuid, double sum, int count,
                                    const QString &comment, const QJsonObject &record)
{
    if (RunContainerWidget *named = findRun(runGuid)) {
        named->removeCompetitorByUuid(uuid);
        named->update();
    }
    // More tickets than seats: the racer leaves every run, and that is all there is to take.
    qint64 remaining = static_cast<qint64>(count) - 1;
    while (remaining > 0) {
        const qint64 before = remaining;
        for (int row = 0; row < queueSize() && remaining > 0; ++row) {
            RunContainerWidget *run = queueRun(row);
            if (!run || uuid.isEmpty() || !run->hasCompetitor(uuid))
                continue;
            run->removeCompetitorByUuid(uuid);
            run->update();
            --remaining;
        }
        if (remaining == before)
            break;
    }
    const QPointer<TicketPluginForm> self(this);
    runQueueChanged(QString());
    if (!self)
        return;
    QJsonObject refund = record;
    refund.insert(QLatin1String("uuid"), QUuid::createUuid().toString());
    refund.insert(QLatin1String("runCount"), -static_cast<qint64>(count));
    refund.insert(QLatin1String("paySum"), 0.0 - sum);
    refund.insert(QLatin1String("comment"), comment);
    paymentUpdate(refund);
}
