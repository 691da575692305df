#ifndef REQUESTDESK_H
#define REQUESTDESK_H

#include "checkincounter.h"
#include "trackoffice.h"

#include <QAction>
#include <QJsonArray>
#include <QJsonObject>
#include <QJsonValue>
#include <QString>
#include <QStringList>
#include <QVector>

/// A desk with a check-in list and a queue, and a client program that asks it through the host. What the host hears is
/// told in short sentences, one for each event, so that a test can lay down the whole sequence:
///
///     list: {a} 2 1000 0 Карта + {b} 1 300 10 - -
///     preset: {A} {a}:-1001:-1
///     remote: {A}[{a}:-1] {B}#[] | {past}
///     queue: {A}[{a}:-1] {B}#[] | {past}
///     answer: {"linkGuid":"{link}"}
///
/// A line of the check-in list has its runs, sum, discount, pay method, sale and whether it is paid; its minors stand in
/// parentheses. A run has # when it is locked, and its racers with their cars. Behind the bar stands the history.
/// Anything that does not have exactly the keys of such an event is told by its name and its whole payload.
class RequestDesk
{
public:
    RequestDesk() = default;
    Q_DISABLE_COPY(RequestDesk)

    Counter &counter() { return m_counter; }
    HostProbe &host() { return m_counter.desk(); }
    TempTrack &track() { return m_counter.track(); }

    /// Writes the queue's journal; before open().
    void seedQueue(const QVector<TrackOffice::Run> &runs);
    /// Writes the history's journal; before open().
    void seedHistory(const QJsonArray &runs);
    /// A cashier who is logged in since before the last restart; before open().
    void seedCashier(const QString &token, int id, const QString &name);
    /// Starts the desk and shows its tab. Nothing is recorded yet.
    bool open() { return m_counter.open(); }
    /// Two cars of Sodi, 1 and 2, one of Rimo, 3. Empties the record.
    void sendCars();

    /// The envelope of a request, with the link "{link}".
    static QJsonObject envelope(const QString &name, const QJsonObject &arguments);
    /// Sends a request and tells what the host heard, without the log entry, which comes first and holds the request.
    QStringList ask(const QString &name, const QJsonObject &arguments = {});
    QStringList ask(const char *name, const char *arguments = "{}");
    /// Sends any envelope in the same way.
    QStringList askWith(const QJsonObject &request);
    /// Sends a request and returns its answer; empty if none came at once.
    QJsonObject answer(const QString &name, const QJsonObject &arguments = {});

    /// Tells what the record holds, and empties it.
    QStringList heard();
    static QString sentence(const HostEvent &event);
    /// The answer of a request that reports nothing.
    static QString bare() { return QStringLiteral("answer: {\"linkGuid\":\"{link}\"}"); }
    /// A publication of the queue.
    static QStringList published(const QString &queue);
    /// The queue and the history as they stand; the record is empty afterwards.
    QString queue();
    /// Rows of the queue, from the top, with competitorIds, as they stand in the journal.
    QVector<QJsonObject> competitors();

    QListWidget *runs() { return host().find<QListWidget *>(QStringLiteral("lwRunsList")); }
    QWidget *run(int row) { return runs()->itemWidget(runs()->item(row)); }
    /// A click on a racer of a run, which selects him and the run.
    void clickSeat(int row, int seat) { TrackOffice::clickCell(run(row), seat); }

    /// Sells one racer a run, takes the money and seats him, all by hand; says what went wrong.
    QString sellByHand();

private:
    Counter m_counter;
};

/// Compact text of an object as it stands in an event.
QString compact(const QJsonObject &json);

#endif // REQUESTDESK_H
