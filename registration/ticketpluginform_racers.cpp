// Racers entered, changed and removed by hand, and client records that come in from outside.

#include "plugin/hostevents.h"
#include "plugin/ticketpluginform.h"

#include "common/jsonread.h"
#include "registration/addracerform.h"
#include "ui_ticketpluginform.h"

#include <QCursor>
#include <QMessageBox>
#include <QPersistentModelIndex>
#include <QPointer>

void TicketPluginForm::on_actionAddRacer_triggered()
{
    addRacerByHand();
}

void TicketPluginForm::on_bAddRacer_clicked()
{
    addRacerByHand();
}

void TicketPluginForm::addRacerByHand()
{
    const QPointer<TicketPluginForm> self(this);
    AddRacerForm racer(this);
    if (racer.exec() != QDialog::Accepted || !self)
        return;
    const QPersistentModelIndex line = checkInList.addRacer(racer.firstName, racer.lastName, racer.midName, racer.kids,
                                                            QString(), QString(), 0, -1, 0, -1);
    if (!self)
        return;
    CheckInItem *item = checkInList.itemAt(line);
    if (!item)
        return;
    // Somebody stands at the counter: this line does not age.
    item->regTime = 0;
    ui->tvCheckIn->expand(line);
    if (racer.printRequested)
        printSafety(line);
}

void TicketPluginForm::on_actionEditRacer_triggered()
{
    editRacer(ui->tvCheckIn->currentIndex());
}

void TicketPluginForm::checkIn_doubleClicked(QModelIndex index)
{
    if (!index.isValid())
        return;
    // The press that comes before has made the line current; a second click alone has not.
    const QModelIndex current = ui->tvCheckIn->currentIndex();
    editRacer(current.isValid() ? current : index);
}

void TicketPluginForm::editRacer(const QModelIndex &index)
{
    const CheckInItem *item = checkInList.itemAt(index);
    if (!item)
        return;
    const auto refuse = [this] {
        QMessageBox::warning(this, tr("Ошибка"), tr("Редактирование недоступно при состоянии оплаты \"Оплачен\""));
    };
    const CheckInItem &family = item->base();
    if (family.payState) {
        refuse();
        return;
    }
    const QPersistentModelIndex line = checkInList.indexOf(&family).siblingAtColumn(index.column());
    const QPointer<TicketPluginForm> self(this);
    AddRacerForm form(this);
    form.firstName = family.firstName;
    form.lastName = family.lastName;
    form.midName = family.midName;
    for (const auto &minor : family.subItems) {
        KidRecord kid;
        kid.firstName = minor->firstName;
        kid.lastName = minor->lastName;
        kid.midName = minor->midName;
        kid.uuid = minor->uuid;
        form.kids.append(kid);
    }
    if (form.exec() != QDialog::Accepted || !self)
        return;

    // While the form was open a client program may have removed the family, or taken its money.
    const CheckInItem *base = checkInList.itemAt(line);
    if (!base)
        return;
    if (base->payState) {
        refuse();
        return;
    }
    checkInList.applyFamilyEdit(line, form.firstName, form.lastName, form.midName, form.kids);
    if (form.printRequested && line.isValid())
        printSafety(line);
    if (!self)
        return;
    checkInList.publish();
}

void TicketPluginForm::on_actionRemoveRacer_triggered()
{
    removeSelectedRacers();
}

void TicketPluginForm::on_bRemoveRacerFromList_clicked()
{
    removeSelectedRacers();
}

void TicketPluginForm::removeSelectedRacers()
{
    QList<QPersistentModelIndex> selected;
    const QModelIndexList indexes = ui->tvCheckIn->selectionModel()->selectedIndexes();
    for (const QModelIndex &index : indexes)
        selected.append(index);

    const QPointer<TicketPluginForm> self(this);
    QMessageBox question(QMessageBox::Warning, tr("Подтверждение"), tr("Точно удалить?"),
                         QMessageBox::Yes | QMessageBox::No, this);
    question.move(QCursor::pos());
    if (question.exec() != QMessageBox::Yes || !self)
        return;
    QModelIndexList left;
    for (const QPersistentModelIndex &index : qAsConst(selected))
        left.append(index);
    checkInList.removeEntries(left);
}

void TicketPluginForm::on_pbRemovePaid_clicked()
{
    const QPointer<TicketPluginForm> self(this);
    const auto answer =
        QMessageBox::question(this, tr("Подтверждение"), tr("Точно удалить?"), QMessageBox::Yes | QMessageBox::No);
    if (!self || answer != QMessageBox::Yes)
        return;
    QModelIndexList paid;
    for (int row = 0; row < checkInList.rowCount(); ++row) {
        const QModelIndex index = checkInList.index(row, 0);
        if (checkInList.itemAt(index)->payState)
            paid.append(index);
    }
    checkInList.removeEntries(paid);
}

void TicketPluginForm::on_tvCheckIn_clicked(QModelIndex index)
{
    const CheckInItem *item = checkInList.itemAt(index);
    if (!item || item->enqueued)
        return;
    const QString key = index.data(Qt::UserRole).toString();
    const bool opensOnClick =
        key == QLatin1String("MODEL") || key == QLatin1String("DISCOUNT") || key == QLatin1String("PAYMETHOD");
    if (opensOnClick && index.flags().testFlag(Qt::ItemIsEditable))
        ui->tvCheckIn->edit(index);
}

void TicketPluginForm::checkInItemClicked(QModelIndex mi, QString dataId)
{
    if (dataId == QLatin1String("PAYSTATE"))
        checkInList.togglePayState(mi, false, -1);
    else if (dataId == QLatin1String("SAFETY"))
        printSafety(mi);
    else if (dataId == QLatin1String("TICKET"))
        checkInList.printTicket(mi);
    else if (dataId == QLatin1String("NFCTAG"))
        scanNFCClicked(mi);
    else if (dataId == QLatin1String("ENQUEUE"))
        on_actionMoveToRuns_triggered();
}

QModelIndex TicketPluginForm::addClientRecord(const QJsonObject &json)
{
    const QLatin1String clientKey(json.contains(QLatin1String("clientId")) ? "clientId" : "racerId");
    const auto clientId = JsonRead::looseInt(json.value(clientKey));
    QJsonObject record = json;
    record.insert(QLatin1String("trackKey"), trackId);
    if (clientId && *clientId != -1) {
        if (json.value(QLatin1String("updateData")).toBool()) {
            QJsonObject &cached = clientCache[*clientId];
            for (const char *key : {"firstName", "lastName", "midName"})
                cached.insert(QLatin1String(key), json.value(QLatin1String(key)).toString());
            sendToHost(HostEvents::UpdateClientData, record);
        }
        sendToHost(HostEvents::UpdateLocalClient, clientCache.value(*clientId));
        clientCache.remove(*clientId);
    } else {
        record.insert(QLatin1String("clientId"), -1);
        sendToHost(HostEvents::UpdateClientData, record);
    }
    return checkInList.addFromJson(json);
}

void TicketPluginForm::on_actionRemoveRegHistory_triggered() {}

void TicketPluginForm::on_tvHistoryList_doubleClicked(QModelIndex index)
{
    Q_UNUSED(index)
}

void TicketPluginForm::scanNFCClicked(QModelIndex mi)
{
    Q_UNUSED(mi)
}
