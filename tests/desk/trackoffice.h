#ifndef TRACKOFFICE_H
#define TRACKOFFICE_H

#include "hostprobe.h"
#include "temptrack.h"

#include <QColor>
#include <QImage>
#include <QJsonArray>
#include <QJsonObject>
#include <QListWidget>
#include <QPointer>
#include <QPushButton>
#include <QRect>
#include <QVector>

#include <functional>

class QAction;
class QDrag;
class QMenu;

/// A desk with a queue of runs on a track of its own, and a marshal's hand on the rows. Knows of the desk what a host and
/// an eye do: object names, events, files and pixels.
class TrackOffice
{
public:
    /// One run of the queue's journal.
    struct Run
    {
        QString guid;
        QVector<QJsonObject> seats{};
        QJsonObject more{};
    };

    TrackOffice();
    ~TrackOffice();
    Q_DISABLE_COPY(TrackOffice)

    TempTrack &track() { return m_track; }
    HostProbe &desk() { return m_desk; }
    const HostProbe &desk() const { return m_desk; }

    /// A seat of the journal: a racer of a Sodi without a car, changed by `more`.
    static QJsonObject seat(const QString &uuid, int competitorId, const QJsonObject &more = {});
    /// A finished run of the history's journal, with one racer; it started at `start`.
    static QJsonObject pastRun(const QString &guid, qint64 start);
    /// A car of the host's list.
    static QJsonObject car(int id, const QString &model, const QString &num, bool available = true);

    /// Writes the queue's journal; before open(). Start times stand still at the journal's `startTime` with `frozen`.
    void seedQueue(const QVector<Run> &runs, bool frozen = false);
    /// Writes the history's journal; before open().
    void seedHistory(const QJsonArray &runs);
    /// Starts the desk and shows its tab. Nothing is recorded yet.
    bool open(const QSize &size = QSize(1600, 900));
    /// Ends the desk in good order and opens it again on what it left.
    bool reopen();
    /// Sends the host's list of cars; empties the record of events.
    void sendCars(const QJsonArray &cars);

    QListWidget *queue() const { return m_desk.find<QListWidget *>(QStringLiteral("lwRunsList")); }
    QListWidget *history() const { return m_desk.find<QListWidget *>(QStringLiteral("lwRunsHistory")); }
    QWidget *run(int row) const { return queue()->itemWidget(queue()->item(row)); }
    QWidget *pastRun(int row) const { return history()->itemWidget(history()->item(row)); }
    /// The buttons of a row, known by their places.
    static QPushButton *lockButton(const QWidget *run);
    static QPushButton *startButton(const QWidget *run);
    /// Is this the button's icon, by the name of the resource.
    static bool hasIcon(const QPushButton *button, const char *name);

    /// Makes the desk publish, without planning anything anew. The readers below do so and empty the record of events.
    void publish();
    /// The runs of the queue as clients see them, from the top.
    QVector<QJsonObject> runs();
    /// The runs of the history as clients see them, from the top.
    QVector<QJsonObject> pastRuns();
    /// Identities of these.
    QStringList guids();
    QStringList pastGuids();
    /// A racer of a run by the racer's identity; empty if there is none.
    QJsonObject racer(int row, const QString &uuid);
    /// The RUNITEM records of the queue's journal.
    QVector<QJsonObject> journalItems();

    /// Where a seat is drawn in its run.
    static QRect cell(const QWidget *run, int index);
    static QRect title() { return {32, 4, 80, 64}; }
    /// Presses and releases the left button on a run; a row gets selected by that, too.
    static void click(QWidget *run, const QPoint &where);
    static void clickCell(QWidget *run, int index) { click(run, cell(run, index).center()); }
    static QImage picture(QWidget *run);

    /// Presses on a place of a widget and pulls in small steps, as a hand does, until a drag begins. The function runs
    /// inside the loop of the drag, once; it has to end the drag. False if none began. Wants a platform whose drags have a
    /// loop of their own and no desktop around them.
    bool drag(QWidget *from, const QPoint &where, const std::function<void(QDrag *)> &inside) const;
    /// Takes the drag to a place of a widget.
    void hover(QWidget *target, const QPoint &where) const;
    /// Takes the drag there and lets the button go.
    void letGo(QWidget *target, const QPoint &where) const;

    /// Asks for the menu of the runs and works on it; it is closed afterwards. False if none came.
    bool menu(const std::function<void(QMenu *)> &work);
    /// Captions of the menu, "-" for a separator; empty if there is no menu.
    QStringList menuEntries();
    /// The submenu of the cars; empty if the menu has none.
    QList<QAction *> carEntries();
    /// An entry of the submenu of cars, null if there is none; the menu is closed, as after a click.
    QAction *carEntry(const QString &caption);
    /// Takes that entry. False if there is none.
    bool chooseCar(const QString &caption);

    /// Names of the events since the last call.
    QStringList heard();

private:
    TempTrack m_track;
    HostProbe m_desk;
};

/// A publication of the queue, as the host hears it.
inline QStringList publication()
{
    return {QStringLiteral("remote_control_answer"), QStringLiteral("local_request_answer")};
}

#endif // TRACKOFFICE_H
