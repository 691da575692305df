#ifndef PITLANECAR_H
#define PITLANECAR_H

#include <QJsonObject>
#include <QRect>
#include <QString>

/// A car that stands in the pit lane.
struct PitLaneCar
{
    /// The transponder fitted to the car; tells the cars of the list apart.
    qint32 transponderId = -1;
    /// Number painted on the car.
    QString num;
    QString model;
    /// Name of the tile's colour, as QColor reads it; empty when no price item is for this model.
    QString color = QStringLiteral("#ffffff");
    /// Position in the list; -1 for an unknown car until the next exit renumbers the list.
    qint32 order = -1;
    /// Where the car was drawn last, in pixels of the widget; null until then. Not stored.
    QRect rect;
    /// Not stored.
    bool selected = false;
    /// Stored and published; nothing sets it yet.
    bool isBusy = false;
    /// No car of the track carries this transponder.
    bool isUnknown = false;

    /// A car from its record. What the record lacks reads as -1, an empty text or false.
    static PitLaneCar fromJson(const QJsonObject &json);
    QJsonObject toJson() const;
};

#endif // PITLANECAR_H
