#include "registration/racersfromdbdelegate.h"

RacersFromDbDelegate::RacersFromDbDelegate(QObject *parent)
    : GridDelegate(parent)
{
}
