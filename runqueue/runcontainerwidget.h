#ifndef RUNCONTAINERWIDGET_H
#define RUNCONTAINERWIDGET_H

#include "runqueue/runcompetitor.h"
#include "runqueue/runrules.h"

#include <QBrush>
#include <QByteArray>
#include <QHash>
#include <QJsonArray>
#include <QJsonObject>
#include <QMap>
#include <QPixmap>
#include <QPoint>
#include <QPushButton>
#include <QWidget>

#include <memory>
#include <vector>

class QIODevice;

/// One run, in the queue or in the history: its data, its drawing and its mouse. There is no model behind it. Owned by
/// its row. Start times are seconds since the epoch, UTC, shown in local time. GUI thread.
///
/// A signal may be answered by anything, the end of the run included; whoever calls an operation that emits holds the
/// run by a QPointer.
class RunContainerWidget : public QWidget
{
    Q_OBJECT

public:
    explicit RunContainerWidget(QWidget *parent = nullptr);
    ~RunContainerWidget() override;

    /// Seats a racer and tells the host. With `restoring` the record keeps the seat's own number. The seat is null if
    /// the answer to the host's news already took it away.
    RunCompetitor *addCompetitor(const QJsonObject &racer, bool restoring);
    /// Gives a seat up and tells the host; an index out of range does nothing.
    void removeCompetitorAt(int index);
    /// Gives a racer's first seat up and tells nobody: the caller follows with the queue's publication.
    void removeCompetitorByUuid(const QString &uuid);

    const std::vector<std::unique_ptr<RunCompetitor>> &competitors() const;
    bool hasCompetitor(const QString &uuid) const;
    /// Copy of a racer's record, or an empty object.
    QJsonObject competitorByUuid(const QString &uuid) const;
    /// Copy of the record of one seat, or an empty object if it was given up.
    QJsonObject competitorBySerial(quint64 serial) const;
    /// Notes with a seat the code that its racer has just shown; tells nobody.
    void noteTicketCode(quint64 serial, const QJsonValue &code);
    /// Record of the highlighted seat, or an empty object.
    QJsonObject selectedEntry() const;
    bool hasSelection() const;
    void clearSelection();

    /// The full picture of the run, for clients and the history.
    QJsonObject runRecord() const;
    /// The run's seats as the host prepares them.
    QJsonArray presetArray() const;
    QJsonObject runPreset() const;
    /// Writes the run's lines of the queue's journal.
    void writeJournal(QIODevice &device) const;
    void loadJournalItem(const QJsonObject &json);
    /// Takes a run over from its record, into the history.
    void loadRunRecord(const QJsonObject &record);

    /// The forced name, or the numbered title.
    QString displayName() const;
    int numberFromName() const;
    /// "Заезд №" and the number.
    QString numberedTitle() const;

    /// May this racer sit here.
    bool canAcceptRacer(const QJsonObject &racer) const;

    void setCars(const QJsonArray &cars);
    /// Cars of the model that nobody in this run holds, by the number on them.
    QJsonArray freeCars(const QString &model) const;
    QJsonArray freeCarIds(const QString &model) const;
    /// Cars that the run's racers of a model hold; an empty model means every model.
    QJsonArray busyCarIds(const QString &model) const;
    bool isCarFreeFor(qint32 carId, const QString &racerUuid) const;
    /// The number on one of the run's cars; empty for a car that the run does not know.
    QString carNumber(qint32 carId) const;
    /// Changes a racer's car. -1 if the car does not fit the booked model, else 0. May ask the operator.
    qint32 setCompetitorCar(const QJsonObject &request);
    /// Takes the car away from everybody here who holds it; tells nobody.
    void releaseCar(qint32 carId);
    /// Takes the cars away from the racer's seats; tells nobody.
    void releaseCarOfRacer(const QString &uuid);

    void requestStart(const QJsonObject &params);
    void requestClose();
    void setCurrentRun(bool current);
    void setRunState(const QString &state);
    void applyResults(const QJsonArray &results);
    void applyRunParams(const QJsonObject &request);

    void setRunNum(qint32 number);
    void setFinishParam(qint32 param);
    void setPauseTime(qint32 seconds);
    void setMaxRacersInRun(qint32 count);
    void setRunName(const QString &name);
    /// Names the run for good; the name may be empty.
    void forceRunName(const QString &name);
    void setRunId(qint32 id);
    void setStartTime(qint64 secs);
    void setRunQueueGuid(const QString &guid);
    void setRunLocked(bool locked);
    /// Turns the widget into a row of the history: no buttons, no lock.
    void makeHistoryRun();
    void unlockHistoryRun();
    void setStartEnabled(bool enabled);
    /// Makes the row as high as its seats need; after a restoring that did not tell anybody of each seat.
    void fitToSeats();
    /// The run has left its list and waits for its deletion: it takes nobody in any more.
    void retire();
    bool isRetired() const { return retired; }
    /// A racer of this run is being dragged, or a drag is over it.
    bool isInDrag() const;

    bool isCurrentRun() const { return currentRun; }
    bool isHistoryRun() const { return historyRun; }
    bool isRunLocked() const { return runLocked; }
    const QString &guid() const { return runQueueGuid; }
    const QString &name() const { return runName; }
    const QString &state() const { return runState; }
    qint32 number() const { return runNum; }
    qint32 id() const { return runId; }
    qint32 finishParameter() const { return finishParam; }
    qint32 finish() const { return finishMode; }
    qint32 pause() const { return pauseTime; }
    qint64 start() const { return startTime; }
    RunRules::ChainLink chainLink() const;

    QSize sizeHint() const override;

Q_SIGNALS:
    void updateSize(QSize sz);
    void startRunClicked(QJsonObject racers);
    void presetUpdated(QJsonObject jsonPreset);
    void switchCar(QJsonObject jsonData);
    void runLockUpdated();
    void runParamsUpdated(QJsonObject jsonData);

public Q_SLOTS:
    /// A click on the start button: asks the host for the start, or closes the run.
    void startStopRun();

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dragMoveEvent(QDragMoveEvent *event) override;
    void dragLeaveEvent(QDragLeaveEvent *event) override;
    void dropEvent(QDropEvent *event) override;

private:
    /// Drops what was built of the run for clients and journal. Every change of the data ends here.
    void changed();
    void relayout(const QSize &size);
    int indexOfUuid(const QString &uuid) const;
    int indexOfSerial(quint64 serial) const;
    void eraseCompetitor(int index);
    RunCompetitor &appendCompetitor(const QJsonObject &entry);
    QJsonObject journalItem() const;
    void toggleLock();
    void showLockIcon();
    void editParams();
    QString askCarChangeReason(bool *answered);
    void dragCompetitor(quint64 serial);
    void paintCompetitor(QPainter &painter, const RunCompetitor &competitor) const;
    void paintTitle(QPainter &painter) const;

    std::vector<std::unique_ptr<RunCompetitor>> seats;
    QColor runColor = Qt::white;
    RunCompetitor *selectedCompetitor = nullptr;
    QBrush finishedBrush;
    QString runState = QStringLiteral("unknown");
    bool nameForced = false;
    bool runLocked = false;
    bool currentRun = false;
    qint32 runNum = 1;
    bool historyRun = false;
    qint32 finishParam = 600;
    qint32 pauseTime = 180;
    qint32 sortMode = 0;
    qint32 finishMode = RunRules::FinishByTime;
    qint32 maxRacersInRun = 10;
    qint64 startTime;
    QString runQueueGuid;
    qint32 runId = -1;
    QString runName;
    qint32 lastCompetitorId = -1000;
    QPushButton startButton;
    QPushButton lockButton;
    QPixmap alertPixmap;
    QPixmap warningPixmap;
    QMap<qint32, QJsonObject> carsById;
    QHash<QString, qint32> carModelCounts;
    bool dragArmed = false;
    RunRules::CellGrid grid;
    QPoint pressPos;
    QPoint dragHotSpot;
    /// The seat under the last press; 0 for none.
    quint64 pressedSerial = 0;
    bool dragging = false;
    bool hovered = false;
    bool retired = false;

    mutable QJsonObject recordCache;
    mutable QByteArray journalCache;
};

#endif // RUNCONTAINERWIDGET_H
