#ifndef CHECKINCOUNTER_H
#define CHECKINCOUNTER_H

#include "hostprobe.h"
#include "temptrack.h"

#include <QAbstractItemModel>
#include <QJsonArray>
#include <QJsonObject>
#include <QMessageBox>
#include <QTreeView>

#include <functional>

class ModalAnswer;

/// A desk on a track of its own, with its tab in a window, and a cashier's hand on the check-in table. Nothing here knows
/// more of the desk than a host and an eye do: object names, cells, events, files and rows.
class Counter
{
public:
    /// Columns of the table, from the left.
    enum Column {
        Pos,
        Name,
        SalesItem,
        RunCount,
        Safety,
        Discount,
        PaySum,
        PayMethod,
        PayState,
        NfcTag,
        Enqueue,
        Comment,
        ColumnCount
    };

    Counter();
    ~Counter();
    Q_DISABLE_COPY(Counter)

    TempTrack &track() { return m_track; }
    HostProbe &desk() { return m_desk; }

    /// The price list that most tests sell from: "Взрослый" 500 (Sodi), "Детский" 300 (Rimo), "Без карта" 100, with
    /// discounts 10, 50 and =200, and the methods "Наличные" and "Карта".
    void stockPrices();
    /// Common id of one of these.
    int priceId(const QString &salesItem) const;
    /// One free car of Sodi and one of Rimo.
    void sendCars();

    /// A line of the journal: an unpaid racer without a sale that never ages, changed by `more`.
    static QJsonObject ticket(const QString &uuid, const QJsonObject &more = {});
    /// A line with a sale of stockPrices(), two runs and a payment method.
    QJsonObject sold(const QString &uuid, const QJsonObject &more = {}) const;
    /// Writes the check-in journal; before open().
    void seed(const QList<QJsonObject> &lines);

    /// Starts the desk, shows its tab and waits until it is the active window. Nothing is recorded yet.
    bool open();

    QTreeView *tree() const { return m_desk.find<QTreeView *>(QStringLiteral("tvCheckIn")); }
    QAbstractItemModel *model() const { return tree()->model(); }
    QModelIndex at(int row, Column column) const { return model()->index(row, column); }
    QModelIndex kidAt(int row, int kid, Column column) const
    {
        return model()->index(kid, column, model()->index(row, 0));
    }
    QString shown(int row, Column column) const { return at(row, column).data().toString(); }

    /// All lines as the desk stores them, with `kidsList`. Makes the desk write its journal; empties the record of events.
    QList<QJsonObject> lines();
    QJsonObject line(int row) { return lines().value(row); }
    /// Lines of the journal as it stands on the disk; nothing is asked for.
    QList<QJsonObject> stored() const;
    /// The check-in list of the last publication.
    QJsonArray published() const;
    /// Runs the desk's slot that removes what is too old.
    void validate();

    /// Where a cell stands in the viewport; scrolled to if need be.
    QRect cell(const QModelIndex &index) const;
    /// The pointer in the window of the desk.
    void moveTo(const QModelIndex &index) const;
    void press(const QModelIndex &index) const;
    void release(const QModelIndex &index) const;
    /// Moves there, presses, lets the table be painted, releases.
    void click(const QModelIndex &index) const;
    void doubleClick(const QModelIndex &index) const;

    /// The open editor of the table; null when none is open.
    template <typename T = QWidget *> T editor() const
    {
        const QList<T> found = tree()->viewport()->findChildren<T>(QString(), Qt::FindDirectChildrenOnly);
        for (T widget : found) {
            if (widget->isVisible())
                return widget;
        }
        return nullptr;
    }
    /// Opens the editor of a cell as F2 does on a top-level row.
    bool edit(const QModelIndex &index) const;
    /// Opens a combo editor and takes an entry of its popup.
    bool pick(const QModelIndex &index, const QString &entry) const;
    /// Opens an editor, types over its text and presses Return.
    bool type(const QModelIndex &index, const QString &text) const;

    /// Makes the window of the desk the active one.
    void takeKeyboard() const;

    /// Clicks one of the form's buttons.
    void push(const char *button) const;
    void trigger(const char *action) const;

    /// Rows of `payments`, oldest first, once there are so many of them; empty when they don't come.
    QList<QVariantMap> payments(int count) const;
    /// Waits a little and counts the rows of `payments`.
    int paymentCount() const;

private:
    QPoint inWindow(const QModelIndex &index) const;

    TempTrack m_track;
    HostProbe m_desk;
};

/// What a message box showed.
struct BoxFacts
{
    QString title;
    QString text;
    int icon = -1;
    QMessageBox::StandardButtons buttons = QMessageBox::NoButton;
    QPoint position;
};

/// Notes what a message box shows, does something while it is open and answers it.
ModalAnswer answerBox(BoxFacts *facts, QMessageBox::StandardButton answer, const std::function<void()> &meanwhile = {});

/// UTF-8 text of a test.
inline QString text(const char *utf8)
{
    return QString::fromUtf8(utf8);
}

#endif // CHECKINCOUNTER_H
