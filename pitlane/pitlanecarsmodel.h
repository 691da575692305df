#ifndef PITLANECARSMODEL_H
#define PITLANECARSMODEL_H

#include "pitlane/pitlanecar.h"

#include <QJsonObject>
#include <QList>
#include <QObject>
#include <QPoint>
#include <QRect>

/// The cars that stand in the pit lane, in the order in which they drove in. It follows the hits of the two lines one by
/// one and keeps its list in a journal. A receiver of a signal may let cars in and out again. GUI thread.
class PitLaneCarsModel : public QObject
{
    Q_OBJECT

public:
    /// Reads the journal; one that is missing or damaged makes an empty list.
    explicit PitLaneCarsModel(QObject *parent = nullptr);

    const QList<PitLaneCar> &cars() const { return carsInPitlane; }

    /// Takes the host's news of cars on the timing lines.
    void transponderHits(const QJsonObject &json);
    /// Takes the track's cars by transponder. Cars that stand in the lane already stay as they are.
    void setCarsTable(const QJsonObject &table);
    /// A car drives in; one that stands in the lane already changes nothing.
    void carIn(qint32 transponderId);
    /// A car drives out.
    void carOut(qint32 transponderId);
    /// Empties the lane but not the journal: until the next car enters or leaves, a restart brings the cars back.
    void clearPitlane();
    /// Takes the selected cars out.
    void removeSelected();

    /// Notes where a car of the list is drawn.
    void setCarRect(int index, const QRect &rect);
    /// Selects the cars that are drawn there and no others. True if that changed anything.
    bool selectAt(const QPoint &position);

Q_SIGNALS:
    void carPitIn(QJsonObject car);
    void carPitOut(QJsonObject car);
    /// The list changed, or a car left that was not in it.
    void pitLaneChanged(QJsonObject pitlaneData);

private:
    QJsonObject pitlaneJson() const;
    void load();
    void save() const;
    int indexOf(qint32 transponderId) const;

    QJsonObject pitlaneData;
    QJsonObject carsByTransponder;
    QList<PitLaneCar> carsInPitlane;
};

#endif // PITLANECARSMODEL_H
