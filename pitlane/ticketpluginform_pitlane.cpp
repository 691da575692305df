// The pit lane: hits of the timing lines, the cars behind the transponders, and the buttons.

#include "plugin/ticketpluginform.h"

#include "pitlane/pitlanerules.h"

void TicketPluginForm::onTransponderHit(const QJsonObject &json)
{
    pitLaneCars.transponderHits(json);
}

void TicketPluginForm::updateTransponderTable()
{
    pitLaneCars.setCarsTable(PitLaneRules::transponderTable(cars, prices.currentPriceItems()));
}

void TicketPluginForm::on_pbClearPitlane_clicked()
{
    pitLaneCars.clearPitlane();
}

void TicketPluginForm::on_pbRemoveFromPitLane_clicked()
{
    pitLaneCars.removeSelected();
}
