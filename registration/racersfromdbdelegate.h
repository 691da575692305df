#ifndef RACERSFROMDBDELEGATE_H
#define RACERSFROMDBDELEGATE_H

#include "registration/tables/griddelegate.h"

/// Draws the clients that a search found: the grid of every table of the desk, and nothing more. GUI thread.
class RacersFromDbDelegate : public GridDelegate
{
    Q_OBJECT

public:
    explicit RacersFromDbDelegate(QObject *parent = nullptr);
};

#endif // RACERSFROMDBDELEGATE_H
