// Paper: tickets and safety forms.

#include "plugin/ticketpluginform.h"

void TicketPluginForm::on_actionPrintTicket_triggered() {}

void TicketPluginForm::ticketPrinted(QJsonObject json)
{
    Q_UNUSED(json)
}

void TicketPluginForm::printSafety(QModelIndex mi)
{
    Q_UNUSED(mi)
}
