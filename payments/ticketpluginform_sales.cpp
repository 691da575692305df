// Money: payments on their way to the worker, sales without a racer, refunds.

#include "plugin/ticketpluginform.h"

#include "ui_ticketpluginform.h"

void TicketPluginForm::paymentUpdate(QJsonObject json)
{
    json.insert(QLatin1String("priceKind"), ui->cbPricesNames->currentText());
    QMetaObject::invokeMethod(&payments, "updatePayment", Qt::AutoConnection, Q_ARG(QJsonObject, json));
}

void TicketPluginForm::on_actionRefundTicket_triggered() {}

void TicketPluginForm::on_pbSimplePayment_clicked() {}
