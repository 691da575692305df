// The buttons of the pit lane.

#include "plugin/ticketpluginform.h"

void TicketPluginForm::on_pbClearPitlane_clicked() {}

void TicketPluginForm::on_pbRemoveFromPitLane_clicked() {}
