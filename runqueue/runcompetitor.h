#ifndef RUNCOMPETITOR_H
#define RUNCOMPETITOR_H

#include <QColor>
#include <QJsonObject>
#include <QRect>
#include <QString>

/// A seat of a run. Owned by its run.
struct RunCompetitor
{
    /// Text in the cell.
    QString caption;
    /// Background of the cell.
    QColor color = Qt::white;
    /// Where the seat is drawn inside the run, in pixels.
    QRect cell;
    /// The racer's record, with `competitorId` and, once the timing knows the racer, `competitorState`.
    QJsonObject data;
    /// Tells this seat from every other one of the process, whatever the record says.
    quint64 serial = 0;
};

#endif // RUNCOMPETITOR_H
