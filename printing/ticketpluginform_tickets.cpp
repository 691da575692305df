// Paper: tickets and safety forms.

#include "plugin/ticketpluginform.h"

#include "common/clock.h"
#include "plugin/hostevents.h"
#include "printing/printjobs.h"
#include "printing/printpreprocessor.h"
#include "printing/testqrdialog.h"
#include "printing/ticketlayout.h"
#include "registration/checkinrules.h"
#include "runqueue/runcontainerwidget.h"
#include "ui_ticketpluginform.h"
#include "vaneplugininterface.h"

#include <QMessageBox>
#include <QPageLayout>
#include <QPageSize>
#include <QPainter>
#include <QPrinter>
#include <QPrinterInfo>

namespace {

/// What the name of every receipt printer has in it.
const QLatin1String ReceiptPrinterMark("POS");

QPrinterInfo receiptPrinter()
{
    const QList<QPrinterInfo> printers = QPrinterInfo::availablePrinters();
    for (const QPrinterInfo &printer : printers) {
        if (printer.printerName().contains(ReceiptPrinterMark))
            return printer;
    }
    return QPrinterInfo();
}

} // namespace

void TicketPluginForm::on_actionPrintTicket_triggered()
{
    const RunContainerWidget *run = queueRun(ui->lwRunsList->currentRow());
    if (run && run->hasSelection())
        printRunTicket(run->selectedEntry(), run->displayName());
}

void TicketPluginForm::printRunTicket(const QJsonObject &competitor, const QString &runName)
{
    ticketPrinted(PrintJobs::seatTicket(competitor, runName, Clock::local().date()));
}

void TicketPluginForm::ticketPrinted(QJsonObject json)
{
    if (json.value(QLatin1String("ticketSrc")).toString() == QLatin1String("runQueue")) {
        sendToHost(HostEvents::PrintDocument, {
                                                  {QLatin1String("printParams"), json},
                                                  {QLatin1String("templateName"), QStringLiteral("pos_ticket")},
                                              });
        return;
    }
    drawTickets(json);
}

void TicketPluginForm::drawTickets(const QJsonObject &registration)
{
    const TestQRDialog screenTicket;
    const QPrinterInfo receipt = receiptPrinter();
    if (receipt.isNull()) {
        warnNoReceiptPrinter();
        return;
    }
    const int count = CheckInRules::foreignRunCount(registration.value(QLatin1String("runCount")).toInt(0));
    if (count < 1)
        return;
    QPrinter printer(receipt, QPrinter::HighResolution);
    // Not every print system hands its roll on by itself: without this the ticket would lie on a sheet of office paper.
    const QPageSize roll = receipt.defaultPageSize();
    if (roll.isValid())
        printer.setPageSize(roll);
    printer.setPageMargins(printer.pageLayout().minimumMargins(), printer.pageLayout().units());
    for (int index = 0; index < count; ++index) {
        // Begun and ended for each ticket, so that the printer cuts the paper between them.
        QPainter painter;
        if (!painter.begin(&printer))
            return;
        TicketLayout::drawTicket(painter, printer.pageRect(QPrinter::DevicePixel),
                                 TicketLayout::ticketOf(registration, index, ticketCaption, Clock::local()));
    }
}

void TicketPluginForm::warnNoReceiptPrinter()
{
    // One box is enough, however many tickets a client program asks for while nobody looks at the screen.
    if (warnsOfPrinter)
        return;
    warnsOfPrinter = true;
    const QPointer<TicketPluginForm> self(this);
    QMessageBox::warning(this, tr("Ошибка"), tr("Не найден принтер чеков"), QMessageBox::Ok);
    if (self)
        warnsOfPrinter = false;
}

void TicketPluginForm::printSafety(QModelIndex mi)
{
    CheckInItem *item = nullptr;
    if (mi.isValid()) {
        item = checkInList.itemAt(mi);
        if (!item)
            return;
        item->regTime = 0;
    }
    const QJsonObject fields = PrintJobs::safetyFields(item, Clock::local().date());
    const qint32 clientId = item ? item->clientId : -1;
    const QPointer<TicketPluginForm> self(this);
    if (clientId != -1) {
        sendToHost(HostEvents::UpdateLocalClient,
                   {
                       {QLatin1String("clientId"), clientId},
                       {QLatin1String("action"), QStringLiteral("updateSafetyAgreementDate")},
                   });
        if (!self)
            return;
    }
    auto *job = new PrintPreprocessor;
    if (plugin)
        connect(job, &PrintPreprocessor::printRun, plugin, &VanePluginInterface::pluginSignal);
    connect(job, &QThread::finished, job, &QObject::deleteLater);
    job->setTemplateName(QStringLiteral("safety"));
    job->setPrintParams(fields);
    safetyJobs.removeAll(nullptr);
    safetyJobs.append(job);
    job->start();
}

void TicketPluginForm::endSafetyJobs()
{
    // No thread may still run in the library when it is unloaded.
    for (const QPointer<PrintPreprocessor> &job : qAsConst(safetyJobs))
        delete job.data();
    safetyJobs.clear();
}
