// Clients known to the online service: the search, the scanner and the service's replies.

#include "plugin/ticketpluginform.h"

#include <QNetworkReply>

void TicketPluginForm::on_bAddRacerFromDb_clicked() {}

void TicketPluginForm::scannerData() {}

void TicketPluginForm::networkRequestFinished(QNetworkReply *reply)
{
    reply->deleteLater();
}
