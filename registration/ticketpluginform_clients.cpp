// Clients known to the online service: the search, the scanner and the service's replies.

#include "plugin/hostevents.h"
#include "plugin/ticketpluginform.h"

#include "registration/addracerfromdbdialog.h"
#include "registration/scannerbuffer.h"
#include "registration/serviceforms.h"
#include "remote/servicequery.h"

#include <QNetworkReply>

namespace {

/// So many clients' records wait for their racers to be registered, photos included.
constexpr int MaxRememberedClients = 1000;

/// What scanners have sent, as long as the process lives: a code may begin before the settings change and end behind.
ScannerBuffer &scannerBuffer()
{
    static ScannerBuffer buffer;
    return buffer;
}

} // namespace

void TicketPluginForm::on_bAddRacerFromDb_clicked()
{
    if (searchDialog) {
        searchDialog->raise();
        searchDialog->activateWindow();
        return;
    }
    searchClient(QJsonObject());
}

void TicketPluginForm::searchClient(const QJsonObject &code)
{
    const QPointer<AddRacerFromDbDialog> dialog(new AddRacerFromDbDialog(serviceAppUrl, this));
    searchDialog = dialog.data();
    dialog->setApiKey(apiKey);
    if (!code.isEmpty())
        dialog->applyQrCode(code);
    const bool accepted = dialog->exec() == QDialog::Accepted;
    // A desk that was destroyed meanwhile took the dialog along.
    if (!dialog)
        return;
    const QJsonObject record = dialog->selectedRecord();
    // Before the host hears of the client: its answer may be the next search.
    searchDialog.clear();
    delete dialog;
    if (!accepted)
        return;

    rememberClient(record);
    if (currentTab == QLatin1String("RaceManagerForm"))
        sendToHost(HostEvents::DatabaseRacerCheckin, record);
    else
        addClientRecord(record);
}

void TicketPluginForm::scannerData()
{
    const QString text = scannerBuffer().decode(scannerPort.readAll());
    // A port says nothing more while its own signal is being handled, and a dialog would be open that long.
    QMetaObject::invokeMethod(
        this, [this, text] { takeScan(text); }, Qt::QueuedConnection);
}

void TicketPluginForm::dropLostScanner()
{
    // The line of a scanner that was unplugged is ready to be read for ever, and has nothing to read.
    const QSerialPort::SerialPortError error = scannerPort.error();
    if (scannerPort.isOpen() && (error == QSerialPort::ReadError || error == QSerialPort::ResourceError))
        scannerPort.close();
}

void TicketPluginForm::takeScan(const QString &text)
{
    const QPointer<TicketPluginForm> self(this);
    int at = 0;
    while (at >= 0 && at < text.size()) {
        const auto code = scannerBuffer().take(text.at(at));
        ++at;
        if (!code)
            continue;
        if (searchDialog) {
            searchDialog->applyQrCode(*code);
            return;
        }
        searchClient(*code);
        if (!self)
            return;
        // Up to the next brace it is no code any more; the half of one may have come in while the dialog was open.
        at = text.indexOf(QLatin1Char('{'), at);
    }
}

void TicketPluginForm::networkRequestFinished(QNetworkReply *reply)
{
    if (!reply)
        return;
    reply->deleteLater();
    if (reply->error() != QNetworkReply::NoError)
        return;
    const auto found = ServiceQuery::oneClient(reply->readAll());
    if (!found)
        return;
    if (found->code == QLatin1String("racer_db_data")) {
        rememberClient(found->client);
        sendToHost(HostEvents::LocalRequestAnswer, ServiceQuery::publicReply(*found));
    } else if (found->code == QLatin1String("add_to_checkin")) {
        rememberClient(found->client);
        addClientRecord(found->client);
    }
}

void TicketPluginForm::rememberClient(const QJsonObject &client)
{
    const qint32 clientId = client.value(QLatin1String("clientId")).toInt(-1);
    clientCache.insert(clientId, client);
    clientCacheOrder.removeAll(clientId);
    clientCacheOrder.append(clientId);
    // Most of those whom client programs look up are never registered.
    while (clientCacheOrder.size() > MaxRememberedClients)
        clientCache.remove(clientCacheOrder.takeFirst());
}

void TicketPluginForm::requestClientCheckIn(qint32 clientId)
{
    ServiceForms::post(&networkManager, serviceAppUrl, serviceUrlSuffix, ServiceForms::checkIn(apiKey, clientId));
}
