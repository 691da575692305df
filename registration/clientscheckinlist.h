#ifndef CLIENTSCHECKINLIST_H
#define CLIENTSCHECKINLIST_H

#include "registration/checkinitem.h"
#include "registration/kidrecord.h"
#include "registration/tables/clearbackgroundtablemodel.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QList>
#include <QMap>
#include <QPointer>
#include <QSet>

#include <functional>
#include <memory>
#include <vector>

class PricesModel;
class QAbstractItemView;
struct PriceItem;

/// The registration table: racers at the top level, newest first, and under each the minors that came along. Owns the
/// money of a registration, the PIN codes, the payment state and the ageing of unattended lines. GUI thread.
///
/// Signals may be answered by anything, the removal of the very line included; whoever calls an operation that emits
/// looks the line up again afterwards.
class ClientsCheckInList : public ClearbackgroundTableModel
{
    Q_OBJECT

public:
    /// Role of the press state of a cell's drawn button, an int of QStyle::State bits.
    static constexpr int ButtonStateRole = Qt::UserRole + 1;

    explicit ClientsCheckInList(QObject *parent = nullptr);
    ~ClientsCheckInList() override;

    /// The price book that sales are looked up in. Not owned; may be null.
    void setPrices(PricesModel *model);
    PricesModel *prices() const;

    /// The desk's list of PIN codes in play. Not owned; must outlive the list, or be null.
    void setUsedPinCodes(QStringList *codes);

    /// Who knows the codes that seats in the queue hold: they never return to the pool.
    void setSeatPinCodes(std::function<QStringList()> codes);

    /// The view whose window is the parent of message boxes.
    void setMessageParent(QAbstractItemView *view);

    QModelIndex index(int row, int column, const QModelIndex &parent = QModelIndex()) const override;
    QModelIndex parent(const QModelIndex &index) const override;
    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    bool setData(const QModelIndex &index, const QVariant &value, int role = Qt::EditRole) override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;

    QStringList mimeTypes() const override;
    QMimeData *mimeData(const QModelIndexList &indexes) const override;
    bool canDropMimeData(const QMimeData *data, Qt::DropAction action, int row, int column,
                         const QModelIndex &parent) const override;
    /// Takes dropped records in at the top. Always true: a payload that cannot be read is dropped without a word.
    bool dropMimeData(const QMimeData *data, Qt::DropAction action, int row, int column,
                      const QModelIndex &parent) override;
    Qt::DropActions supportedDropActions() const override;
    Qt::DropActions supportedDragActions() const override;

    /// Registers a racer with minors and returns its line; a client or a racer already in the list is updated or
    /// returned instead. Names are normalised. `regTime` in seconds since the epoch, UTC; 0 takes the present.
    /// `carModel` is accepted and not stored.
    QModelIndex addRacer(const QString &firstName, const QString &lastName, const QString &midName,
                         const QList<KidRecord> &kids, const QString &uuid, const QString &carModel, quint64 regTime,
                         qint32 clientId, qint32 runCount, qint32 salesCommonId);

    /// Registers the racer of a record that another program sent.
    QModelIndex addFromJson(const QJsonObject &json);

    /// The line of an index, or null. Valid until the list changes.
    CheckInItem *itemAt(const QModelIndex &index) const;

    /// The index of a line in column 0, or an invalid one if the line is not in the list any more.
    QModelIndex indexOf(const CheckInItem *item) const;

    /// The first line with this identity, in column 0; an invalid index if there is none.
    QModelIndex findByUuid(const QString &uuid, bool withMinors) const;

    /// Looks a racer up by `racerUuid`, `pinCode` or `nfcUid` of `json`. Returns whether the family is paid; `item` is
    /// the line found, or null if there is none or if it is not for `carModel` (empty for any).
    bool findByCredentials(const QJsonObject &json, const QString &carModel, CheckInItem **item) const;

    /// The record of one line.
    QJsonObject toJson(const CheckInItem &item) const;

    /// Tells everybody the whole list as it is now.
    void publish();

    /// The records of the whole list, with the minors under `subItems`.
    QJsonArray listJson() const;

    /// Toggles the payment of a line. An impossible payment changes nothing but the line's age; it is reported by
    /// someError and, unless `silent`, by a box. `cashierId` is -1 for the cashier at the desk.
    void togglePayState(const QModelIndex &index, bool silent, qint32 cashierId);

    /// Stops the ageing of a line and, if its family is paid, asks for its ticket.
    void printTicket(const QModelIndex &index);

    /// Makes `priceItem` the sale of `item`, or clears the sale if the price item has no name.
    void applyPrice(CheckInItem &item, const PriceItem &priceItem);
    void setSalesItem(const PriceItem &priceItem, const QModelIndex &index);
    void setDiscount(const QString &text, const QModelIndex &index);
    void setPayMethod(const QString &text, const QModelIndex &index);

    /// Works the sum of the item's family out anew.
    void updateSum(CheckInItem &item);

    /// Removes lines; a racer takes its minors along. Nothing happens if there is nothing to remove.
    void removeEntries(const QModelIndexList &indexes);
    void removeByUuids(const QStringList &uuids);

    /// Removes what nobody has attended to for more than `seconds`.
    void purgeExpired(qint64 seconds);

    /// Gives unpaid lines the present prices of what they bought.
    void repriceUnpaid();

    /// Takes the host's cars, to know how many of each model there are for runs.
    void setAvailableCars(const QJsonArray &cars);

    /// Number of cars for runs of a model.
    int availableCars(const QString &carModel) const;

    QJsonArray salesItemsForCars(const QJsonArray &cars) const;
    QJsonArray discountsJson() const;
    QJsonArray payMethodsJson() const;

    /// Takes news of a client of the online service over into its line.
    void updateClient(const QJsonObject &json);

    /// Takes the car away from the racers named by `racerGuid` in the objects of `racers`.
    void releaseCarByRacer(const QJsonArray &racers);
    void releaseCar(qint32 carId);

    /// New PIN codes for a line with `count` runs in place of `oldPins`: one code, as often as the line has runs, and
    /// at least once.
    QStringList makePins(int count, const QStringList &oldPins);

    /// Takes over what the edit form holds of a family. The minors are paired by position. Publishes nothing.
    void applyFamilyEdit(const QModelIndex &baseIndex, const QString &firstName, const QString &lastName,
                         const QString &midName, const QList<KidRecord> &kids);

    /// Writes the journal of the list; a file that cannot be opened is skipped.
    void save() const;
    void load();

    /// Marks the racers of these records as seated before the host hears of their seats: what it asks for from inside must
    /// not seat them again. Tells nobody; itemsDroppedOut() follows.
    void markEnqueued(const QJsonArray &records);

Q_SIGNALS:
    void ticketPrinted(QJsonObject json);
    void toRunsClicked(QJsonObject json);
    void paymentUpdate(QJsonObject json);
    void itemsDropped(QJsonArray items);
    void checkInListUpdated(QJsonArray data);
    void someError(QString errMsg);

public Q_SLOTS:
    /// Marks the racers of these records as seated and lets families go that are seated as a whole.
    void itemsDroppedOut(QJsonArray jsonList);
    /// Takes the racers of these records back from a run.
    void itemsUndropped(QJsonArray jsonList);

private:
    /// The line with its record built, from scratch only if something of it has changed.
    const CheckInItem::Built &built(const CheckInItem &item) const;
    /// The racer with the family's publication and journal line built.
    const CheckInItem::Built &builtFamily(const CheckInItem &racer) const;
    CheckInItem *itemByUuid(const QString &uuid, bool withMinors) const;
    const PriceItem *currentPriceByCommonId(qint32 commonId) const;
    void sellByCommonId(CheckInItem &item, qint32 salesCommonId);
    std::unique_ptr<CheckInItem> newMinor(CheckInItem &base, const KidRecord &kid);
    void drawFamilyPins(CheckInItem &racer, const QList<KidRecord> &kids, qint32 salesCommonId);
    void insertAtTop(std::unique_ptr<CheckInItem> item);
    void emitRowChanged(const CheckInItem &item);
    QSet<QString> pinsInPlay() const;
    void reclaimPinCodes();
    void takePinCodes(const CheckInItem &item);
    void refusePayment(const QString &message, bool silent);
    static void renumber(const std::vector<std::unique_ptr<CheckInItem>> &items);

    QVariant displayData(const CheckInItem &item, const QString &key, const QModelIndex &index) const;
    QVariant editData(const CheckInItem &item, const QString &key, const QModelIndex &index) const;
    QVariant backgroundData(const CheckInItem &item, const QString &key, const QModelIndex &index) const;
    QVariant foregroundData(const CheckInItem &item, const QString &key, const QModelIndex &index) const;

    std::vector<std::unique_ptr<CheckInItem>> items;
    QMap<QString, int> carCounts;
    QPointer<PricesModel> priceBook;
    QStringList *usedPinCodes = nullptr;
    std::function<QStringList()> seatPinCodes;
    /// Codes drawn one after another for a family, without looking at all the others for each.
    struct PinDraw
    {
        bool ready = false;
        QSet<QString> used{};
        int digits = 4;
    };
    PinDraw *familyPins = nullptr;
    QPointer<QAbstractItemView> messageParent;
    /// The racer who is being registered and not yet in the list.
    const CheckInItem *newcomer = nullptr;
    bool removing = false;
};

#endif // CLIENTSCHECKINLIST_H
