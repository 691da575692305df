#include "registration/clientscheckinlist.h"

#include "common/clock.h"
#include "common/deskpaths.h"
#include "common/jsonread.h"
#include "prices/pricerules.h"
#include "prices/pricesmodel.h"
#include "registration/checkinrules.h"

#include <QAbstractItemView>
#include <QFile>
#include <QJsonDocument>
#include <QMessageBox>
#include <QRandomGenerator>
#include <QScopedValueRollback>
#include <QSet>
#include <QUuid>

#include <algorithm>

namespace {

const QLatin1String JournalName("tickets.state");

/// How many cars of each model there are for runs, 0 for a model none of whose cars may run.
QMap<QString, int> countCars(const QJsonArray &cars)
{
    QMap<QString, int> counts;
    for (const QJsonValue &value : cars) {
        const QJsonObject car = value.toObject();
        int &count = counts[car.value(QLatin1String("name")).toString()];
        if (car.value(QLatin1String("available_for_runs")).toBool())
            ++count;
    }
    return counts;
}

} // namespace

ClientsCheckInList::ClientsCheckInList(QObject *parent)
    : ClearbackgroundTableModel(parent)
{
    setObjectName(QStringLiteral("checkInListModel"));
    constexpr int Right = Qt::AlignRight | Qt::AlignVCenter;
    constexpr int Left = Qt::AlignLeft | Qt::AlignVCenter;
    constexpr int Centre = Qt::AlignCenter;
    columns = {
        {tr("#"), Right, 60, QStringLiteral("POS"), Centre},
        {tr("Имя"), Left, 120, QStringLiteral("NAME"), Centre},
        {tr("Услуга"), Left, 150, QStringLiteral("SALES_ITEM"), Centre},
        {tr("Кол-во"), Right, 50, QStringLiteral("RUNCOUNT"), Centre},
        {tr("ТБ"), Centre, 50, QStringLiteral("SAFETY"), Centre},
        {tr("Скидка"), Right, 60, QStringLiteral("DISCOUNT"), Centre},
        {tr("К оплате"), Right, 60, QStringLiteral("PAYSUM"), Centre},
        {tr("Способ оплаты"), Centre, 100, QStringLiteral("PAYMETHOD"), Centre},
        {tr("Статус"), Centre, 90, QStringLiteral("PAYSTATE"), Centre},
        {tr("NFC карта"), Centre, 80, QStringLiteral("NFCTAG"), Centre},
        {QString(), Centre, 70, QStringLiteral("ENQUEUE"), -1},
        {tr("Комментарий"), Left, 200, QStringLiteral("COMMENT"), Centre},
    };
}

ClientsCheckInList::~ClientsCheckInList() = default;

void ClientsCheckInList::setPrices(PricesModel *model)
{
    priceBook = model;
}

PricesModel *ClientsCheckInList::prices() const
{
    return priceBook;
}

void ClientsCheckInList::setUsedPinCodes(QStringList *codes)
{
    usedPinCodes = codes;
}

void ClientsCheckInList::setSeatPinCodes(std::function<QStringList()> codes)
{
    seatPinCodes = std::move(codes);
}

void ClientsCheckInList::setMessageParent(QAbstractItemView *newParent)
{
    messageParent = newParent;
}

CheckInItem *ClientsCheckInList::itemAt(const QModelIndex &index) const
{
    if (!index.isValid() || index.model() != this)
        return nullptr;
    return static_cast<CheckInItem *>(index.internalPointer());
}

QModelIndex ClientsCheckInList::indexOf(const CheckInItem *item) const
{
    for (size_t row = 0; item && row < items.size(); ++row) {
        const CheckInItem &racer = *items[row];
        if (&racer == item)
            return index(static_cast<int>(row), 0);
        for (size_t minor = 0; minor < racer.subItems.size(); ++minor) {
            if (racer.subItems[minor].get() == item)
                return index(static_cast<int>(minor), 0, index(static_cast<int>(row), 0));
        }
    }
    return QModelIndex();
}

CheckInItem *ClientsCheckInList::itemByUuid(const QString &uuid, bool withMinors) const
{
    for (const auto &racer : items) {
        if (racer->uuid == uuid)
            return racer.get();
        if (!withMinors)
            continue;
        for (const auto &minor : racer->subItems) {
            if (minor->uuid == uuid)
                return minor.get();
        }
    }
    return nullptr;
}

QModelIndex ClientsCheckInList::findByUuid(const QString &uuid, bool withMinors) const
{
    return indexOf(itemByUuid(uuid, withMinors));
}

bool ClientsCheckInList::findByCredentials(const QJsonObject &json, const QString &carModel, CheckInItem **item) const
{
    const QString uuid = json.value(QLatin1String("racerUuid")).toString();
    const QString pin = json.value(QLatin1String("pinCode")).toString();
    const QString card = json.value(QLatin1String("nfcUid")).toString();
    // What the request does not name finds nobody: a minor may have no identity yet, and a line no code.
    const auto matches = [&](const CheckInItem &candidate) {
        return (!uuid.isEmpty() && candidate.uuid == uuid) || (!pin.isEmpty() && candidate.pinCodes.contains(pin))
               || (!candidate.nfcUid.isEmpty() && candidate.nfcUid == card);
    };

    *item = nullptr;
    for (const auto &racer : items) {
        CheckInItem *found = matches(*racer) ? racer.get() : nullptr;
        for (size_t minor = 0; !found && minor < racer->subItems.size(); ++minor) {
            if (matches(*racer->subItems[minor]))
                found = racer->subItems[minor].get();
        }
        if (!found)
            continue;
        if (!carModel.isEmpty() && found->carModel != carModel)
            return false;
        *item = found;
        return racer->payState;
    }
    return false;
}

const PriceItem *ClientsCheckInList::currentPriceByCommonId(qint32 commonId) const
{
    if (!priceBook || commonId == -1)
        return nullptr;
    const auto block = priceBook->pricesByType.constFind(priceBook->currentPriceType);
    if (block == priceBook->pricesByType.constEnd())
        return nullptr;
    const auto found = std::find_if(block->cbegin(), block->cend(),
                                    [commonId](const PriceItem &price) { return price.commonId == commonId; });
    return found == block->cend() ? nullptr : &*found;
}

void ClientsCheckInList::sellByCommonId(CheckInItem &item, qint32 salesCommonId)
{
    if (const PriceItem *found = currentPriceByCommonId(salesCommonId)) {
        const PriceItem price = *found;
        applyPrice(item, price);
    }
}

std::unique_ptr<CheckInItem> ClientsCheckInList::newMinor(CheckInItem &base, const KidRecord &kid)
{
    auto minor = std::make_unique<CheckInItem>();
    minor->parent = &base;
    minor->uuid = kid.uuid;
    minor->clientId = kid.clientId;
    minor->runCount = CheckInRules::foreignRunCount(kid.runCount);
    minor->row = static_cast<qint32>(base.subItems.size());
    minor->pinCodes = makePins(minor->runCount, QStringList());
    return minor;
}

void ClientsCheckInList::insertAtTop(std::unique_ptr<CheckInItem> item)
{
    beginInsertRows(QModelIndex(), 0, 0);
    items.insert(items.begin(), std::move(item));
    renumber(items);
    endInsertRows();
}

QModelIndex ClientsCheckInList::addRacer(const QString &firstName, const QString &lastName, const QString &midName,
                                         const QList<KidRecord> &kids, const QString &uuid, const QString &carModel,
                                         quint64 regTime, qint32 clientId, qint32 runCount, qint32 salesCommonId)
{
    Q_UNUSED(carModel)
    const qint32 runs = CheckInRules::foreignRunCount(runCount);
    if (clientId != -1) {
        const auto known = std::find_if(items.cbegin(), items.cend(),
                                        [clientId](const auto &racer) { return racer->clientId == clientId; });
        if (known != items.cend()) {
            CheckInItem &racer = **known;
            racer.runCount = runs;
            sellByCommonId(racer, salesCommonId);
            updateSum(racer);
            return indexOf(&racer);
        }
    }
    if (!uuid.isEmpty()) {
        const QModelIndex known = findByUuid(uuid, false);
        if (known.isValid())
            return known;
    }

    auto owned = std::make_unique<CheckInItem>();
    CheckInItem &racer = *owned;
    racer.firstName = CheckInRules::normalisedName(firstName);
    racer.lastName = CheckInRules::normalisedName(lastName);
    racer.midName = CheckInRules::normalisedName(midName);
    racer.runCount = runs;
    racer.regTime = regTime != 0 ? regTime : static_cast<quint64>(Clock::secsUtc());
    racer.uuid = uuid.isEmpty() ? QUuid::createUuid().toString() : uuid;
    drawFamilyPins(racer, kids, salesCommonId);
    insertAtTop(std::move(owned));
    updateSum(racer);
    racer.clientId = clientId;
    const QPersistentModelIndex added = index(0, 0);
    Q_EMIT layoutChanged();
    publish();
    return added;
}

/// One draw for the whole family, over before anybody hears of it: whoever is told may draw codes as well.
void ClientsCheckInList::drawFamilyPins(CheckInItem &racer, const QList<KidRecord> &kids, qint32 salesCommonId)
{
    const QScopedValueRollback<const CheckInItem *> atTheDoor(newcomer, &racer);
    PinDraw pins;
    const QScopedValueRollback<PinDraw *> oneDraw(familyPins, &pins);
    racer.pinCodes = makePins(racer.runCount, QStringList());
    sellByCommonId(racer, salesCommonId);
    for (const KidRecord &kid : kids) {
        auto minor = newMinor(racer, kid);
        minor->firstName = CheckInRules::normalisedName(kid.firstName);
        minor->lastName = CheckInRules::normalisedName(kid.lastName);
        minor->midName = CheckInRules::normalisedName(kid.midName);
        CheckInItem &added = *minor;
        racer.subItems.push_back(std::move(minor));
        sellByCommonId(added, kid.salesCommonId);
    }
}

QModelIndex ClientsCheckInList::addFromJson(const QJsonObject &json)
{
    QList<KidRecord> kids;
    const QJsonArray subItems = json.value(QLatin1String("subItems")).toArray();
    for (const QJsonValue &value : subItems) {
        const QJsonObject sub = value.toObject();
        KidRecord kid;
        kid.firstName = sub.value(QLatin1String("firstName")).toString();
        kid.lastName = sub.value(QLatin1String("lastName")).toString();
        kid.midName = sub.value(QLatin1String("midName")).toString();
        kid.salesCommonId = sub.value(QLatin1String("salesCommonId")).toInt(-1);
        kids.append(kid);
    }
    const QLatin1String clientKey(json.contains(QLatin1String("clientId")) ? "clientId" : "racerId");
    const qint32 clientId = JsonRead::looseInt(json.value(clientKey), -1);
    const qint32 runCount = JsonRead::looseInt(json.value(QLatin1String("runCount")), 0);

    Q_EMIT layoutAboutToBeChanged();
    const QPersistentModelIndex added =
        addRacer(json.value(QLatin1String("firstName")).toString(), json.value(QLatin1String("lastName")).toString(),
                 json.value(QLatin1String("midName")).toString(), kids, json.value(QLatin1String("uuid")).toString(),
                 QString(), 0, clientId, runCount, json.value(QLatin1String("salesCommonId")).toInt(-1));
    Q_EMIT layoutChanged();
    return added;
}

QJsonObject ClientsCheckInList::toJson(const CheckInItem &item) const
{
    return built(item).record;
}

const CheckInItem::Built &ClientsCheckInList::built(const CheckInItem &item) const
{
    static quint64 lastRevision = 0;
    qint32 commonId = -1;
    int priceType = -1;
    if (priceBook) {
        const PriceItem price = priceBook->findPriceItem(item.salesId);
        // An unknown item is answered with one that is all zeroes.
        if (price.id > 0 && price.id == item.salesId)
            commonId = price.commonId;
        priceType = priceBook->currentPriceType;
    }
    const CheckInItem *parent = item.parent;
    const QStringList parentFacts =
        parent ? QStringList{parent->uuid, parent->firstName, parent->lastName, parent->midName} : QStringList();

    CheckInItem::Built &built = item.built;
    if (built.revision != 0 && built.salesCommonId == commonId && built.priceType == priceType && built.facts == item
        && built.parent == parentFacts)
        return built;
    built.revision = ++lastRevision;
    built.facts = item;
    built.parent = parentFacts;
    built.salesCommonId = commonId;
    built.priceType = priceType;
    built.record = item.toJson();
    built.record.insert(QLatin1String("salesCommonId"), commonId);
    if (priceBook)
        built.record.insert(QLatin1String("priceType"), priceType);
    return built;
}

const CheckInItem::Built &ClientsCheckInList::builtFamily(const CheckInItem &racer) const
{
    quint64 newest = built(racer).revision;
    for (const auto &minor : racer.subItems)
        newest = qMax(newest, built(*minor).revision);
    // Whatever is built anew, a minor who just came included, is newer than everything before.
    CheckInItem::Built &family = racer.built;
    if (family.familyRevision == newest && family.familySize == racer.subItems.size())
        return family;
    family.familyRevision = newest;
    family.familySize = racer.subItems.size();

    const auto published = [](const CheckInItem &item) {
        QJsonObject json = item.built.record;
        if (item.salesId == -1)
            json.insert(QLatin1String("color"), QStringLiteral("#00000000"));
        return json;
    };
    QJsonArray stored;
    QJsonArray told;
    for (const auto &minor : racer.subItems) {
        stored.append(minor->built.record);
        told.append(published(*minor));
    }
    family.published = published(racer);
    family.published.insert(QLatin1String("subItems"), told);
    QJsonObject line = family.record;
    line.insert(QLatin1String("kidsList"), stored);
    family.journalLine = QJsonDocument(line).toJson(QJsonDocument::Compact) + '\n';
    return family;
}

QJsonArray ClientsCheckInList::listJson() const
{
    QJsonArray list;
    for (const auto &racer : items)
        list.append(builtFamily(*racer).published);
    return list;
}

void ClientsCheckInList::publish()
{
    // Rows that are just going must not be told of; their removal ends in a publication of its own.
    if (!removing)
        Q_EMIT checkInListUpdated(listJson());
}

void ClientsCheckInList::refusePayment(const QString &message, bool silent)
{
    const QPointer<ClientsCheckInList> self(this);
    if (!silent)
        QMessageBox::warning(messageParent, tr("Ошибка"), message, QMessageBox::Ok);
    if (self)
        Q_EMIT someError(message);
}

void ClientsCheckInList::togglePayState(const QModelIndex &index, bool silent, qint32 cashierId)
{
    CheckInItem *item = itemAt(index);
    if (!item)
        return;
    item->regTime = 0;
    if (!item->payState) {
        if (item->payMethod.isEmpty()) {
            refusePayment(tr("Не указан способ оплаты"), silent);
            return;
        }
        const bool nothingToPay = !(item->paySum < 0.0) && !(item->paySum > 0.0);
        if (nothingToPay && !CheckInRules::isFullDiscount(item->discountValue)) {
            refusePayment(tr("Не указана сумма"), silent);
            return;
        }
    }
    item->payState = !item->payState;
    QJsonObject json = toJson(*item);
    json.insert(QLatin1String("cashierId"), cashierId);
    emitRowChanged(*item);
    Q_EMIT paymentUpdate(json);
}

void ClientsCheckInList::emitRowChanged(const CheckInItem &item)
{
    const QModelIndex first = indexOf(&item);
    if (first.isValid())
        Q_EMIT dataChanged(first, first.siblingAtColumn(columns.size() - 1));
}

void ClientsCheckInList::printTicket(const QModelIndex &index)
{
    CheckInItem *item = itemAt(index);
    if (!item)
        return;
    item->regTime = 0;
    if (item->isEffectivelyPaid())
        Q_EMIT ticketPrinted(toJson(*item));
}

void ClientsCheckInList::updateSum(CheckInItem &item)
{
    CheckInItem &base = item.base();
    base.paySum = CheckInRules::registrationSum(base);
}

void ClientsCheckInList::applyPrice(CheckInItem &item, const PriceItem &priceItem)
{
    if (!priceItem.salesItem.isEmpty()) {
        item.carModel = priceItem.model;
        if (item.runCount == 0)
            item.runCount = 1;
        item.salesItem = priceItem.salesItem;
        item.salesId = priceItem.id;
        item.price = priceItem.sum;
        item.color = priceItem.color;
    } else {
        item.salesId = -1;
        item.carModel.clear();
        item.salesItem.clear();
        item.price = 0.0;
        item.color = Qt::white;
        item.runCount = 1;
    }
    updateSum(item);
    Q_EMIT layoutChanged();
}

void ClientsCheckInList::setSalesItem(const PriceItem &priceItem, const QModelIndex &index)
{
    CheckInItem *item = itemAt(index);
    if (!item)
        return;
    applyPrice(*item, priceItem);
    if (item->salesItem.isEmpty()) {
        item->runCount = 0;
        Q_EMIT layoutChanged();
    } else if (item->runCount == 0) {
        item->runCount = 1;
        Q_EMIT layoutChanged();
    }
    if (item->runCount != item->pinCodes.size())
        item->pinCodes = makePins(item->runCount, item->pinCodes);
}

void ClientsCheckInList::setDiscount(const QString &text, const QModelIndex &index)
{
    if (CheckInItem *item = itemAt(index)) {
        item->discountValue = text;
        updateSum(*item);
    }
}

void ClientsCheckInList::setPayMethod(const QString &text, const QModelIndex &index)
{
    if (CheckInItem *item = itemAt(index)) {
        item->payMethod = text;
        Q_EMIT dataChanged(index, index);
    }
}

void ClientsCheckInList::renumber(const std::vector<std::unique_ptr<CheckInItem>> &list)
{
    for (size_t row = 0; row < list.size(); ++row)
        list[row]->row = static_cast<qint32>(row);
}

void ClientsCheckInList::removeEntries(const QModelIndexList &indexes)
{
    // Views close editors while rows go, and what that sets off may remove rows as well: only persistent indexes tell
    // what is still there.
    QSet<const CheckInItem *> seen;
    QList<QPersistentModelIndex> minors;
    QList<QPersistentModelIndex> racers;
    for (const QModelIndex &index : indexes) {
        const CheckInItem *item = itemAt(index);
        if (!item || seen.contains(item))
            continue;
        seen.insert(item);
        (item->parent ? minors : racers).append(index.siblingAtColumn(0));
    }
    if (seen.isEmpty())
        return;
    std::sort(minors.begin(), minors.end(), [](const QPersistentModelIndex &left, const QPersistentModelIndex &right) {
        const int leftParent = left.parent().row();
        const int rightParent = right.parent().row();
        return leftParent != rightParent ? leftParent < rightParent : left.row() < right.row();
    });
    std::sort(racers.begin(), racers.end(), [](const QPersistentModelIndex &left, const QPersistentModelIndex &right) {
        return left.row() < right.row();
    });

    QSet<CheckInItem *> bereft;
    std::vector<std::unique_ptr<CheckInItem>> gone;
    removing = true;
    const auto take = [this, &gone](std::vector<std::unique_ptr<CheckInItem>> &list,
                                    const QPersistentModelIndex &index) {
        const int row = index.row();
        beginRemoveRows(index.parent(), row, row);
        gone.push_back(std::move(list[static_cast<size_t>(row)]));
        list.erase(list.begin() + row);
        renumber(list);
        endRemoveRows();
    };
    for (const QPersistentModelIndex &index : qAsConst(minors)) {
        if (const CheckInItem *item = itemAt(index)) {
            bereft.insert(item->parent);
            take(item->parent->subItems, index);
        }
    }
    for (const QPersistentModelIndex &index : qAsConst(racers)) {
        if (CheckInItem *item = itemAt(index)) {
            bereft.remove(item);
            take(items, index);
        }
    }
    removing = false;
    gone.clear();
    for (CheckInItem *racer : qAsConst(bereft)) {
        // What a minor who left would have paid must not be asked of the family; what was paid stays as it was paid.
        if (!racer->payState)
            updateSum(*racer);
    }
    publish();
}

void ClientsCheckInList::removeByUuids(const QStringList &uuids)
{
    QSet<QString> named;
    for (const QString &uuid : uuids)
        named.insert(uuid);
    QModelIndexList indexes;
    for (size_t row = 0; row < items.size(); ++row) {
        if (named.contains(items[row]->uuid))
            indexes.append(index(static_cast<int>(row), 0));
    }
    removeEntries(indexes);
}

void ClientsCheckInList::purgeExpired(qint64 seconds)
{
    const qint64 now = Clock::secsUtc();
    QModelIndexList indexes;
    for (size_t row = 0; row < items.size(); ++row) {
        if (CheckInRules::isExpired(items[row]->regTime, seconds, now))
            indexes.append(index(static_cast<int>(row), 0));
    }
    removeEntries(indexes);
}

void ClientsCheckInList::repriceUnpaid()
{
    const QList<PriceItem> prices = priceBook ? priceBook->currentPriceItems() : QList<PriceItem>();
    const auto reprice = [this, &prices](CheckInItem &item) {
        const auto price = std::find_if(prices.cbegin(), prices.cend(), [&item](const PriceItem &candidate) {
            return candidate.salesItem == item.salesItem;
        });
        if (price != prices.cend())
            applyPrice(item, *price);
    };
    for (const auto &racer : items) {
        if (racer->payState)
            continue;
        reprice(*racer);
        for (const auto &minor : racer->subItems)
            reprice(*minor);
        updateSum(*racer);
    }
    Q_EMIT layoutChanged();
}

void ClientsCheckInList::setAvailableCars(const QJsonArray &cars)
{
    carCounts = countCars(cars);
}

int ClientsCheckInList::availableCars(const QString &carModel) const
{
    return carCounts.value(carModel, 0);
}

QJsonArray ClientsCheckInList::salesItemsForCars(const QJsonArray &cars) const
{
    QJsonArray list;
    if (!priceBook)
        return list;
    const QMap<QString, int> counts = countCars(cars);
    const QList<PriceItem> prices = priceBook->currentPriceItems();
    for (const PriceItem &price : prices) {
        const bool free = !(price.sum < 0.0) && !(price.sum > 0.0);
        if (free || (counts.contains(price.model) && counts.value(price.model) == 0))
            continue;
        list.append(QJsonObject{
            {QLatin1String("model"), price.model},
            {QLatin1String("salesItem"), price.salesItem},
            {QLatin1String("salesId"), price.id},
            {QLatin1String("salesCommonId"), price.commonId},
            {QLatin1String("color"), price.color.name()},
            {QLatin1String("price"), price.sum},
        });
    }
    return list;
}

QJsonArray ClientsCheckInList::discountsJson() const
{
    QJsonArray list{0};
    if (!priceBook)
        return list;
    for (const DiscountItem &discount : qAsConst(priceBook->discounts))
        list.append(PriceRules::discountText(discount));
    return list;
}

QJsonArray ClientsCheckInList::payMethodsJson() const
{
    return priceBook ? QJsonArray::fromStringList(priceBook->payMethods) : QJsonArray();
}

void ClientsCheckInList::updateClient(const QJsonObject &json)
{
    const qint32 clientId = json.value(QLatin1String("clientId")).toInt(-1);
    if (clientId == -1)
        return;
    const QString uuid = json.value(QLatin1String("uuid")).toString();
    const auto takeText = [&json](const char *key, QString &text) {
        const QJsonValue value = json.value(QLatin1String(key));
        if (!value.isUndefined())
            text = value.toString();
    };
    for (const auto &racer : items) {
        if (racer->clientId == clientId) {
            const QJsonValue agreement = json.value(QLatin1String("safetyAgreementValid"));
            if (!agreement.isUndefined())
                racer->validSafetyAgreement = agreement.toBool();
            takeText("firstName", racer->firstName);
            takeText("lastName", racer->lastName);
            takeText("midName", racer->midName);
            emitRowChanged(*racer);
            return;
        }
        if (racer->uuid == uuid) {
            racer->clientId = clientId;
            emitRowChanged(*racer);
            return;
        }
    }
}

void ClientsCheckInList::releaseCarByRacer(const QJsonArray &racers)
{
    QSet<QString> uuids;
    for (const QJsonValue &value : racers)
        uuids.insert(value.toObject().value(QLatin1String("racerGuid")).toString());
    for (const auto &racer : items) {
        if (uuids.contains(racer->uuid)) {
            racer->carId = -1;
            racer->carNum.clear();
        }
    }
}

void ClientsCheckInList::releaseCar(qint32 carId)
{
    if (carId == -1)
        return;
    const auto release = [carId](CheckInItem &item) {
        if (item.carId == carId)
            item.carId = -1;
    };
    for (const auto &racer : items) {
        release(*racer);
        for (const auto &minor : racer->subItems)
            release(*minor);
    }
}

QSet<QString> ClientsCheckInList::pinsInPlay() const
{
    QSet<QString> pins;
    const QStringList codes = usedPinCodes ? *usedPinCodes : QStringList();
    for (const QString &pin : codes)
        pins.insert(pin);
    return pins;
}

QStringList ClientsCheckInList::makePins(int count, const QStringList &oldPins)
{
    for (const QString &pin : oldPins) {
        if (usedPinCodes)
            usedPinCodes->removeAll(pin);
    }
    PinDraw single;
    PinDraw &draw = familyPins ? *familyPins : single;
    if (!draw.ready)
        draw.used = pinsInPlay();
    if (CheckInRules::pinPoolFull(draw.used, draw.digits)) {
        if (draw.digits == 4) {
            reclaimPinCodes();
            draw.used = pinsInPlay();
        }
        while (draw.digits < 9 && CheckInRules::pinPoolFull(draw.used, draw.digits))
            ++draw.digits;
    }
    draw.ready = true;
    const QString pin = CheckInRules::drawPin(draw.used, draw.digits, [] {
        return static_cast<quint32>(QRandomGenerator64::system()->generate());
    });
    draw.used.insert(pin);
    if (usedPinCodes)
        usedPinCodes->append(pin);
    QStringList pins;
    pins.reserve(qMax(count, 1));
    for (int run = 0; run < qMax(count, 1); ++run)
        pins.append(pin);
    return pins;
}

void ClientsCheckInList::reclaimPinCodes()
{
    // Codes of racers who left are never given back one by one; on a day with 10,000 of them all come back at once.
    QSet<QString> held;
    const auto hold = [&held](const QStringList &pins) {
        for (const QString &pin : pins)
            held.insert(pin);
    };
    const auto holdFamily = [&hold](const CheckInItem &racer) {
        hold(racer.pinCodes);
        for (const auto &minor : racer.subItems)
            hold(minor->pinCodes);
    };
    for (const auto &racer : items)
        holdFamily(*racer);
    if (newcomer)
        holdFamily(*newcomer);
    if (seatPinCodes)
        hold(seatPinCodes());
    QStringList kept;
    for (const QString &pin : qAsConst(*usedPinCodes)) {
        if (held.contains(pin))
            kept.append(pin);
    }
    *usedPinCodes = kept;
}

void ClientsCheckInList::applyFamilyEdit(const QModelIndex &baseIndex, const QString &firstName,
                                         const QString &lastName, const QString &midName, const QList<KidRecord> &kids)
{
    CheckInItem *base = itemAt(baseIndex);
    if (!base || base->parent)
        return;
    base->regTime = 0;
    base->firstName = CheckInRules::normalisedName(firstName);
    base->lastName = CheckInRules::normalisedName(lastName);
    base->midName = CheckInRules::normalisedName(midName);
    const QModelIndex parentIndex = baseIndex.siblingAtColumn(0);
    for (int position = 0; position < kids.size(); ++position) {
        const KidRecord &kid = kids.at(position);
        const int known = static_cast<int>(base->subItems.size());
        if (position < known) {
            CheckInItem &minor = *base->subItems[static_cast<size_t>(position)];
            minor.firstName = kid.firstName;
            minor.lastName = kid.lastName;
            minor.midName = kid.midName;
            minor.uuid = kid.uuid;
        } else {
            auto minor = newMinor(*base, kid);
            minor->firstName = kid.firstName;
            minor->lastName = kid.lastName;
            minor->midName = kid.midName;
            beginInsertRows(parentIndex, known, known);
            base->subItems.push_back(std::move(minor));
            endInsertRows();
        }
    }
    const int left = kids.size();
    const int known = static_cast<int>(base->subItems.size());
    if (left < known) {
        std::vector<std::unique_ptr<CheckInItem>> gone;
        removing = true;
        beginRemoveRows(parentIndex, left, known - 1);
        for (int position = left; position < known; ++position)
            gone.push_back(std::move(base->subItems[static_cast<size_t>(position)]));
        base->subItems.resize(static_cast<size_t>(left));
        endRemoveRows();
        removing = false;
        updateSum(*base);
    }
    Q_EMIT layoutChanged();
}

void ClientsCheckInList::save() const
{
    QByteArray bytes;
    for (const auto &racer : items)
        bytes += builtFamily(*racer).journalLine;
    QFile file(DeskPaths::journal(JournalName));
    if (file.open(QIODevice::WriteOnly))
        file.write(bytes);
}

void ClientsCheckInList::takePinCodes(const CheckInItem &item)
{
    if (usedPinCodes)
        usedPinCodes->append(item.pinCodes);
}

void ClientsCheckInList::load()
{
    QFile file(DeskPaths::journal(JournalName));
    if (!file.open(QIODevice::ReadOnly))
        return;
    std::vector<std::unique_ptr<CheckInItem>> loaded;
    while (!file.atEnd()) {
        const auto json = JsonRead::journalLine(file.readLine());
        if (!json)
            continue;
        auto racer = std::make_unique<CheckInItem>();
        racer->readJson(*json);
        takePinCodes(*racer);
        const QJsonArray minors = json->value(QLatin1String("kidsList")).toArray();
        for (const QJsonValue &value : minors) {
            auto minor = std::make_unique<CheckInItem>();
            minor->readJson(value.toObject());
            minor->parent = racer.get();
            takePinCodes(*minor);
            racer->subItems.push_back(std::move(minor));
        }
        renumber(racer->subItems);
        loaded.push_back(std::move(racer));
    }
    if (!loaded.empty()) {
        const int first = static_cast<int>(items.size());
        beginInsertRows(QModelIndex(), first, first + static_cast<int>(loaded.size()) - 1);
        for (auto &racer : loaded)
            items.push_back(std::move(racer));
        renumber(items);
        endInsertRows();
    }
    const auto giveIdentity = [](CheckInItem &item) {
        if (item.uuid.isEmpty())
            item.uuid = QUuid::createUuid().toString();
    };
    for (const auto &racer : items) {
        updateSum(*racer);
        giveIdentity(*racer);
        for (const auto &minor : racer->subItems)
            giveIdentity(*minor);
    }
    Q_EMIT layoutChanged();
}

void ClientsCheckInList::markEnqueued(const QJsonArray &records)
{
    for (const QJsonValue &record : records) {
        if (CheckInItem *item = itemByUuid(record.toObject().value(QLatin1String("uuid")).toString(), true))
            item->enqueued = true;
    }
}

void ClientsCheckInList::itemsDroppedOut(QJsonArray jsonList)
{
    for (const QJsonValue &value : qAsConst(jsonList)) {
        CheckInItem *item = itemByUuid(value.toObject().value(QLatin1String("uuid")).toString(), true);
        if (!item)
            continue;
        item->enqueued = true;
        emitRowChanged(*item);
        const CheckInItem &base = item->base();
        const bool baseDone = base.enqueued || base.salesItem.isEmpty();
        const bool familyDone = baseDone
                                && std::all_of(base.subItems.cbegin(), base.subItems.cend(),
                                               [](const auto &minor) { return minor->enqueued; });
        if (familyDone)
            removeEntries({indexOf(&base)});
        else
            publish();
    }
    Q_EMIT layoutChanged();
}

void ClientsCheckInList::itemsUndropped(QJsonArray jsonList)
{
    Q_EMIT layoutAboutToBeChanged();
    for (const QJsonValue &value : qAsConst(jsonList)) {
        const QJsonObject json = value.toObject();
        if (CheckInItem *item = itemByUuid(json.value(QLatin1String("uuid")).toString(), true)) {
            item->enqueued = false;
        } else if (json.value(QLatin1String("parentUuid")).toString().isEmpty()) {
            auto racer = std::make_unique<CheckInItem>();
            racer->readJson(json);
            takePinCodes(*racer);
            insertAtTop(std::move(racer));
        }
    }
    Q_EMIT layoutChanged();
}
