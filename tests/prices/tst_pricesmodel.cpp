#include "prices/pricesmodel.h"

#include "desktest.h"

#include <QElapsedTimer>
#include <QFile>
#include <QPersistentModelIndex>
#include <QSemaphore>
#include <QSignalSpy>
#include <QSqlQuery>
#include <QThread>
#include <QTreeView>

#include <memory>

namespace {

enum Column { Pos, SalesItem, Model, Price, Color, RemoteAvail };

/// Writes down the signals of a price book in their order.
class SignalLog : public QObject
{
public:
    explicit SignalLog(PricesModel *model)
    {
        connect(model, &QAbstractItemModel::layoutAboutToBeChanged, this,
                [this] { entries.append(QStringLiteral("layoutAboutToBeChanged")); });
        connect(model, &QAbstractItemModel::layoutChanged, this,
                [this] { entries.append(QStringLiteral("layoutChanged")); });
        connect(model, &QAbstractItemModel::dataChanged, this,
                [this] { entries.append(QStringLiteral("dataChanged")); });
        connect(model, &QAbstractItemModel::modelReset, this, [this] { entries.append(QStringLiteral("modelReset")); });
        connect(model, &QAbstractItemModel::rowsInserted, this,
                [this] { entries.append(QStringLiteral("rowsInserted")); });
        connect(model, &QAbstractItemModel::rowsRemoved, this,
                [this] { entries.append(QStringLiteral("rowsRemoved")); });
        connect(model, &PricesModel::settingsChanged, this,
                [this] { entries.append(QStringLiteral("settingsChanged")); });
        connect(model, &PricesModel::priceItemsRemoved, this, [this](const QList<qint32> &ids) {
            QStringList texts;
            for (const qint32 id : ids)
                texts.append(QString::number(id));
            entries.append(QStringLiteral("priceItemsRemoved ") + texts.join(QLatin1Char(',')));
        });
    }

    QStringList entries;
};

/// Holds the write lock of a database from another thread, as the host does, until it is told to let go.
class Locker : public QThread
{
public:
    Locker(const QString &file, int milliseconds)
        : databaseFile(file)
        , duration(milliseconds)
    {
        start();
        locked.acquire();
    }
    ~Locker() override { wait(); }
    Q_DISABLE_COPY(Locker)

    bool succeeded = false;

protected:
    void run() override
    {
        const QString name = QStringLiteral("locker");
        {
            QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), name);
            db.setDatabaseName(databaseFile);
            db.open();
            QSqlQuery query(db);
            succeeded = query.exec(QStringLiteral("BEGIN EXCLUSIVE"));
            locked.release();
            QThread::msleep(static_cast<unsigned long>(duration));
            succeeded = query.exec(QStringLiteral("INSERT INTO cars (name) VALUES ('host')")) && succeeded;
            succeeded = query.exec(QStringLiteral("COMMIT")) && succeeded;
        }
        QSqlDatabase::removeDatabase(name);
    }

private:
    QString databaseFile;
    int duration;
    QSemaphore locked;
};

QStringList names(const QList<PriceItem> &items)
{
    QStringList result;
    for (const PriceItem &item : items)
        result.append(item.salesItem);
    return result;
}

QStringList layoutOnly()
{
    return {QStringLiteral("layoutAboutToBeChanged"), QStringLiteral("layoutChanged")};
}

QStringList settingsOnly()
{
    return {QStringLiteral("settingsChanged")};
}

} // namespace

class PricesModelTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void columns();
    void constructionLoadsNothing();
    void connection();
    void metaObject();
    void emptyDatabase();
    void loadOrderAndFields();
    void loadSendsNoSignal();
    void loadLeavesDeletedRowsOut();
    void loadTwiceDoublesNothing();
    void rowsWithoutTypeRow();
    void templateRowsComeBackUnderTheirKey();
    void blockWithoutItemsIsListedOnlyWithoutAnyItem();
    void modelNames();
    void settings();
    void settingsThatAreNoArray();

    void addItem();
    void addItemSkipsTemplateBlock();
    void addItemWithoutTemplateBlockListed();
    void addBlock();
    void addBlockToEmptyBook();
    void removeItems();
    void removeItemsOutOfRange();
    void removeItemsMovesPersistentIndexes();
    void removeBlock();
    void removeBlockOutOfRange();
    void renameBlock();
    void renameBlockOutOfRange();
    void setCurrentBlock();
    void setCurrentBlockMovesPersistentIndexes();
    void updateWritesWholeBook();
    void updateStoresEmptyTexts();
    void updateLeavesDeletedRows();
    void updateLeavesUnlistedBlocks();

    void setDataName();
    void setDataPrice();
    void setDataElsewhere();
    void colourKioskAndModelReachAllBlocks();
    void findItem();
    void json();
    void shape();
    void dataForDisplay();
    void dataForColours();
    void dataOutOfRange();

    void noFile();
    void noDirectory();
    void notADatabase();
    void noTables();
    void refusedRow();
    void refusedRowsOfANewBlock();
    void refusedRemoval();
    void lockedDatabase();

private:
    int id(const QString &salesItem, int block) const;
    double storedSum(int itemId) const;
    void fillTwoBlocks();
    void loadTwoBlocks();
    QModelIndex cell(int row, int column) const { return model->index(row, column); }

    std::unique_ptr<TempTrack> track;
    std::unique_ptr<PricesModel> model;
    int secondBlock = 0;
};

void PricesModelTest::init()
{
    track = std::make_unique<TempTrack>();
    model = std::make_unique<PricesModel>();
}

void PricesModelTest::cleanup()
{
    model.reset();
    track.reset();
}

int PricesModelTest::id(const QString &salesItem, int block) const
{
    return track
        ->value(QStringLiteral("SELECT id FROM price_list WHERE sales_item=? AND price_type=?"), {salesItem, block})
        .toInt();
}

double PricesModelTest::storedSum(int itemId) const
{
    return track->value(QStringLiteral("SELECT sum FROM price_list WHERE id=?"), {itemId}).toDouble();
}

/// Two blocks with six items: a to f, at 100 to 600 in the first one and ten times that in the second.
void PricesModelTest::fillTwoBlocks()
{
    secondBlock = track->addPriceType(QStringLiteral("Выходные"));
    for (int i = 0; i < 6; ++i) {
        TempTrack::PriceItem item;
        item.salesItem = QString(QLatin1Char(char('a' + i)));
        item.sum = 100 * (i + 1);
        const int commonId = track->addPriceItem(item);
        item.commonId = commonId;
        item.priceType = secondBlock;
        item.sum *= 10;
        track->addPriceItem(item);
    }
}

void PricesModelTest::loadTwoBlocks()
{
    fillTwoBlocks();
    model->loadPrices();
    model->setCurrentPricesBlock(0);
}

void PricesModelTest::columns()
{
    const QStringList keys{"POS", "SALES_ITEM", "MODEL", "PRICE", "COLOR", "REMOTE_AVAIL"};
    const QStringList captions{"#", "Услуга", "Модель", "Цена", "Цвет", "Доступно\nв киоске"};
    const QList<int> alignments{Qt::AlignRight, Qt::AlignLeft, Qt::AlignLeft,
                                Qt::AlignRight, Qt::AlignLeft, Qt::AlignCenter};
    const QList<int> widths{60, 220, 80, 80, 60, 60};
    QCOMPARE(model->columnCount(), keys.size());
    QTreeView view;
    view.setModel(model.get());
    model->attachView(&view);
    for (int column = 0; column < keys.size(); ++column) {
        QCOMPARE(model->columnKey(column), keys.at(column));
        QCOMPARE(model->headerData(column, Qt::Horizontal).toString(), captions.at(column));
        QCOMPARE(model->headerData(column, Qt::Horizontal, Qt::TextAlignmentRole).toInt(), int(Qt::AlignCenter));
        QCOMPARE(model->data(model->index(0, column), Qt::TextAlignmentRole).toInt(), alignments.at(column));
        if (column < keys.size() - 1)
            QCOMPARE(view.columnWidth(column), widths.at(column));
    }
}

void PricesModelTest::constructionLoadsNothing()
{
    fillTwoBlocks();
    track->setDiscounts({QStringLiteral("5")});
    const PricesModel *fresh = model.get();
    QVERIFY(fresh->pricesByType.isEmpty());
    QVERIFY(fresh->priceTypeNames.isEmpty());
    QVERIFY(fresh->discounts.isEmpty());
    QCOMPARE(fresh->currentPriceType, -1);
    QCOMPARE(fresh->rowCount(), 0);
}

void PricesModelTest::connection()
{
    QVERIFY(QSqlDatabase::contains(QStringLiteral("prices")));
    {
        const QSqlDatabase db = QSqlDatabase::database(QStringLiteral("prices"), false);
        QVERIFY(db.isOpen());
        QCOMPARE(db.driverName(), QStringLiteral("QSQLITE"));
        QCOMPARE(db.databaseName(), track->databaseFile());
    }
    model.reset();
    QVERIFY(!QSqlDatabase::contains(QStringLiteral("prices")));
}

void PricesModelTest::metaObject()
{
    const QMetaObject *meta = model->metaObject();
    QStringList methods;
    for (int i = meta->methodOffset(); i < meta->methodCount(); ++i)
        methods.append(QString::fromLatin1(meta->method(i).methodSignature()));
    QCOMPARE(methods, (QStringList{"settingsChanged()", "priceItemsRemoved(QList<qint32>)"}));
}

void PricesModelTest::emptyDatabase()
{
    track->query(QStringLiteral("DELETE FROM price_types"));
    model->loadPrices();
    QVERIFY(model->priceTypeNames.isEmpty());
    QVERIFY(model->pricesByType.isEmpty());
    QCOMPARE(model->rowCount(), 0);
    QVERIFY(model->currentPriceItems().isEmpty());
}

void PricesModelTest::loadOrderAndFields()
{
    const int block = track->addPriceType(QStringLiteral("Будни"));
    track->addPriceItem({QStringLiteral("Б"), 20, QStringLiteral("Junior"), QStringLiteral("#0a0b0c"), block, 77, 0});
    track->addPriceItem({QStringLiteral("А"), 10.5, QString(), QStringLiteral("red"), block, 78, 1});
    track->addPriceItem({QStringLiteral("В"), 30, QString(), QStringLiteral("#ffffff"), -1, -1, 1});
    track->query(QStringLiteral("UPDATE price_list SET avail_rules='x'"));
    model->loadPrices();

    QCOMPARE(model->priceTypeNames, (QMap<int, QString>{{-1, "Основные"}, {block, "Будни"}}));
    QCOMPARE(names(model->pricesByType.value(-1)), QStringList{"В"});
    const QList<PriceItem> items = model->pricesByType.value(block);
    QCOMPARE(names(items), (QStringList{"А", "Б"}));
    QCOMPARE(items.at(0).color, QColor(Qt::red));
    QCOMPARE(items.at(0).sum, 10.5);
    QCOMPARE(items.at(0).showRemote, 1);
    QCOMPARE(items.at(1).id, id(QStringLiteral("Б"), block));
    QCOMPARE(items.at(1).commonId, 77);
    QCOMPARE(items.at(1).model, QStringLiteral("Junior"));
    QCOMPARE(items.at(1).color, QColor(10, 11, 12));
    QCOMPARE(items.at(1).sum, 20.0);
    QCOMPARE(items.at(1).showRemote, 0);
    QVERIFY(items.at(1).availRules.isEmpty());
}

void PricesModelTest::loadSendsNoSignal()
{
    fillTwoBlocks();
    const SignalLog log(model.get());
    model->loadPrices();
    QCOMPARE(log.entries, QStringList());
    QCOMPARE(model->currentPriceType, -1);
}

void PricesModelTest::loadLeavesDeletedRowsOut()
{
    fillTwoBlocks();
    track->query(QStringLiteral("UPDATE price_list SET is_deleted=1 WHERE sales_item='c'"));
    model->loadPrices();
    QCOMPARE(names(model->pricesByType.value(-1)), (QStringList{"a", "b", "d", "e", "f"}));

    track->query(QStringLiteral("UPDATE price_list SET is_deleted=1"));
    track->query(QStringLiteral("UPDATE price_types SET is_deleted=1 WHERE id=-1"));
    model->loadPrices();
    QVERIFY(model->pricesByType.isEmpty());
    QCOMPARE(model->priceTypeNames, (QMap<int, QString>{{secondBlock, "Выходные"}}));
}

void PricesModelTest::loadTwiceDoublesNothing()
{
    fillTwoBlocks();
    track->setDiscounts({QStringLiteral("5")});
    track->setPayMethods({QStringLiteral("Карта")});
    track->addCar(QStringLiteral("Junior"), QStringLiteral("1"));
    model->loadPrices();
    model->loadPrices();
    QCOMPARE(model->pricesByType.value(-1).size(), 6);
    QCOMPARE(model->discounts.size(), 1);
    QCOMPARE(model->payMethods.size(), 1);
    QCOMPARE(model->modelNames.size(), 1);
}

void PricesModelTest::rowsWithoutTypeRow()
{
    track->addPriceItem({QStringLiteral("a"), 1, QString(), QStringLiteral("#ffffff"), 9, -1, 1});
    model->loadPrices();
    QCOMPARE(model->priceTypeNames, (QMap<int, QString>{{9, QString()}}));
    QCOMPARE(names(model->pricesByType.value(9)), QStringList{"a"});
}

void PricesModelTest::templateRowsComeBackUnderTheirKey()
{
    model->loadPrices();
    model->addPricesBlock(QStringLiteral("Будни"));
    model->addNewPriceItem();
    model->loadPrices();
    QCOMPARE(model->priceTypeNames.keys(), (QList<int>{-1, 1}));
    QCOMPARE(model->priceTypeNames.value(-1), QStringLiteral("Основные"));
    QCOMPARE(model->pricesByType.value(-1).size(), 1);
    QCOMPARE(model->pricesByType.value(1).size(), 1);
    QCOMPARE(model->pricesByType.value(1).first().commonId, model->pricesByType.value(-1).first().id);
}

void PricesModelTest::blockWithoutItemsIsListedOnlyWithoutAnyItem()
{
    const int a = track->addPriceType(QStringLiteral("A"));
    const int b = track->addPriceType(QStringLiteral("B"));
    model->loadPrices();
    QCOMPARE(model->priceTypeNames, (QMap<int, QString>{{-1, "Основные"}, {a, "A"}, {b, "B"}}));

    const int item = track->addPriceItem({QStringLiteral("x"), 1, QString(), QStringLiteral("#ffffff"), a, -1, 1});
    model->loadPrices();
    QCOMPARE(model->priceTypeNames, (QMap<int, QString>{{a, "A"}}));

    track->query(QStringLiteral("UPDATE price_list SET is_deleted=1 WHERE id=?"), {item});
    model->loadPrices();
    QCOMPARE(model->priceTypeNames.keys(), (QList<int>{-1, a, b}));
}

void PricesModelTest::modelNames()
{
    track->addCar(QStringLiteral("Junior"), QStringLiteral("1"));
    track->addCar(QStringLiteral("Senior"), QStringLiteral("2"));
    track->addCar(QStringLiteral("Junior"), QStringLiteral("3"));
    model->loadModelNames();
    QStringList found = model->modelNames;
    found.sort();
    QCOMPARE(found, (QStringList{"Junior", "Senior"}));

    track->query(QStringLiteral("DELETE FROM cars"));
    model->loadPrices();
    QVERIFY(model->modelNames.isEmpty());
}

void PricesModelTest::settings()
{
    track->setDiscounts({"15", "=100", "=abc", "7.5"});
    track->setPayMethods({"Наличные", "Карта"});
    model->loadPrices();
    const QList<bool> fixed{false, true, true, false};
    const QList<double> values{15, 100, 0, 0};
    QCOMPARE(model->discounts.size(), values.size());
    for (int i = 0; i < values.size(); ++i) {
        QCOMPARE(model->discounts.at(i).isFixed, fixed.at(i));
        QCOMPARE(model->discounts.at(i).value, values.at(i));
    }
    QCOMPARE(model->payMethods, (QStringList{"Наличные", "Карта"}));
}

void PricesModelTest::settingsThatAreNoArray()
{
    track->setDiscounts({"15"});
    track->setPayMethods({"Карта"});
    model->loadPrices();
    track->setSetting(QStringLiteral("discounts"), QByteArray(R"({"a":"5"})"));
    track->setSetting(QStringLiteral("paymethods"), QByteArray("no json"));
    model->loadPrices();
    QVERIFY(model->discounts.isEmpty());
    QVERIFY(model->payMethods.isEmpty());
}

void PricesModelTest::addItem()
{
    loadTwoBlocks();
    const int rowsBefore = track->value(QStringLiteral("SELECT COUNT(*) FROM price_list")).toInt();
    const SignalLog log(model.get());
    const QModelIndex added = model->addNewPriceItem();
    QCOMPARE(log.entries, layoutOnly());
    QCOMPARE(added.row(), 6);
    QCOMPARE(added.column(), 1);

    const PriceItem item = model->pricesByType.value(-1).last();
    const PriceItem copy = model->pricesByType.value(secondBlock).last();
    QCOMPARE(model->pricesByType.value(-1).size(), 7);
    QCOMPARE(model->pricesByType.value(secondBlock).size(), 7);
    QCOMPARE(item.commonId, item.id);
    QCOMPARE(copy.commonId, item.id);
    QCOMPARE(copy.id, item.id + 1);
    QCOMPARE(item.salesItem, QString());
    QCOMPARE(item.sum, 0.0);
    QCOMPARE(item.showRemote, 1);
    QCOMPARE(item.color, QColor(Qt::white));

    QCOMPARE(track->value(QStringLiteral("SELECT COUNT(*) FROM price_list")).toInt(), rowsBefore + 2);
    const QString sql = QStringLiteral("SELECT common_id,price_type,is_deleted FROM price_list WHERE id=?");
    QCOMPARE(track->query(sql, {item.id}), (QList<QVariantList>{{item.id, -1, 0}}));
    QCOMPARE(track->query(sql, {copy.id}), (QList<QVariantList>{{item.id, secondBlock, 0}}));
    // Nothing of the content is stored before the first edit.
    QVERIFY(track->value(QStringLiteral("SELECT color FROM price_list WHERE id=?"), {item.id}).isNull());
}

void PricesModelTest::addItemSkipsTemplateBlock()
{
    model->loadPrices();
    model->addNewPriceItem();
    QCOMPARE(model->pricesByType.value(-1).size(), 1);
    QCOMPARE(track->value(QStringLiteral("SELECT COUNT(*) FROM price_list")).toInt(), 1);
}

void PricesModelTest::addItemWithoutTemplateBlockListed()
{
    track->query(QStringLiteral("DELETE FROM price_types"));
    model->loadPrices();
    const int block = model->addPricesBlock(QStringLiteral("Основные"));
    model->setCurrentPricesBlock(0);
    const QModelIndex added = model->addNewPriceItem();
    QCOMPARE(added.row(), 0);
    QCOMPARE(model->rowCount(), 1);
    QVERIFY(model->setData(added, QStringLiteral("Заезд")));
    const PriceItem shown = model->currentPriceItems().first();
    QCOMPARE(shown.commonId, model->pricesByType.value(-1).first().id);
    QCOMPARE(names(model->pricesByType.value(-1)), QStringList{"Заезд"});
    QCOMPARE(model->currentPriceType, block);
    // The template block is not listed, so its row is not rewritten.
    QCOMPARE(track->query(QStringLiteral("SELECT price_type,sales_item FROM price_list ORDER BY id")),
             (QList<QVariantList>{{-1, QVariant(QVariant::String)}, {block, QStringLiteral("Заезд")}}));
}

void PricesModelTest::addBlock()
{
    fillTwoBlocks();
    track->query(QStringLiteral("UPDATE price_list SET model='Junior',color='#010203',show_remote=0 "
                                "WHERE sales_item='b'"));
    model->loadPrices();
    const SignalLog log(model.get());
    const int block = model->addPricesBlock(QStringLiteral("Ночь"));
    QCOMPARE(log.entries, settingsOnly());
    QCOMPARE(block, secondBlock + 1);
    QCOMPARE(model->priceTypeNames.value(block), QStringLiteral("Ночь"));
    QCOMPARE(track->query(QStringLiteral("SELECT name,is_deleted FROM price_types WHERE id=?"), {block}),
             (QList<QVariantList>{{"Ночь", 0}}));

    const QList<PriceItem> templates = model->pricesByType.value(-1);
    const QList<PriceItem> items = model->pricesByType.value(block);
    QCOMPARE(names(items), names(templates));
    for (int i = 0; i < items.size(); ++i) {
        const PriceItem &item = items.at(i);
        QVERIFY(item.id != templates.at(i).id);
        QCOMPARE(item.commonId, templates.at(i).commonId);
        QCOMPARE(item.sum, templates.at(i).sum);
        QCOMPARE(track->query(QStringLiteral("SELECT common_id,price_type,sales_item,color,model,sum,avail_rules,"
                                             "show_remote,is_deleted FROM price_list WHERE id=?"),
                              {item.id}),
                 (QList<QVariantList>{{item.commonId, block, item.salesItem, item.color.name(), item.model, item.sum,
                                       QString(""), item.showRemote, 0}}));
    }
    QCOMPARE(items.at(1).model, QStringLiteral("Junior"));
    QCOMPARE(items.at(1).color, QColor(1, 2, 3));
    QCOMPARE(items.at(1).showRemote, 0);
}

void PricesModelTest::addBlockToEmptyBook()
{
    track->query(QStringLiteral("DELETE FROM price_types"));
    model->loadPrices();
    QCOMPARE(model->addPricesBlock(QString()), 1);
    QCOMPARE(model->priceTypeNames, (QMap<int, QString>{{1, QString()}}));
    QVERIFY(!model->pricesByType.contains(1));
    QCOMPARE(track->value(QStringLiteral("SELECT typeof(name) FROM price_types WHERE id=1")).toString(),
             QStringLiteral("text"));
}

void PricesModelTest::removeItems()
{
    loadTwoBlocks();
    const int c = id(QStringLiteral("c"), -1);
    const int f = id(QStringLiteral("f"), -1);
    const SignalLog log(model.get());
    const auto blockDuringSettings = std::make_shared<QStringList>();
    connect(model.get(), &PricesModel::settingsChanged, this,
            [this, blockDuringSettings] { *blockDuringSettings = names(model->currentPriceItems()); });
    model->removePriceItems({2, 5});
    QCOMPARE(log.entries, (QStringList{"layoutAboutToBeChanged", "settingsChanged",
                                       QStringLiteral("priceItemsRemoved %1,%2").arg(c).arg(f), "layoutChanged"}));
    const QStringList left{"a", "b", "d", "e"};
    QCOMPARE(*blockDuringSettings, left);
    QCOMPARE(names(model->pricesByType.value(-1)), left);
    QCOMPARE(names(model->pricesByType.value(secondBlock)), left);
    QCOMPARE(track->query(QStringLiteral("SELECT DISTINCT sales_item FROM price_list WHERE is_deleted=1 ORDER BY 1")),
             (QList<QVariantList>{{"c"}, {"f"}}));
    QCOMPARE(track->value(QStringLiteral("SELECT COUNT(*) FROM price_list WHERE is_deleted=1")).toInt(), 4);
    QCOMPARE(track->value(QStringLiteral("SELECT COUNT(*) FROM price_list")).toInt(), 12);
    model->loadPrices();
    QCOMPARE(names(model->pricesByType.value(-1)), left);
}

void PricesModelTest::removeItemsOutOfRange()
{
    loadTwoBlocks();
    model->removePriceItems({6});
    QCOMPARE(model->rowCount(), 6);
    QCOMPARE(track->value(QStringLiteral("SELECT COUNT(*) FROM price_list WHERE is_deleted=1")).toInt(), 0);
}

void PricesModelTest::removeItemsMovesPersistentIndexes()
{
    loadTwoBlocks();
    const QPersistentModelIndex before(cell(1, Price));
    const QPersistentModelIndex removed(cell(2, Price));
    const QPersistentModelIndex behind(cell(4, Price));
    model->removePriceItems({2});
    QCOMPARE(before.row(), 1);
    QVERIFY(!removed.isValid());
    QCOMPARE(behind.row(), 3);
    QCOMPARE(behind.data().toDouble(), 500.0);
}

void PricesModelTest::removeBlock()
{
    loadTwoBlocks();
    const SignalLog log(model.get());
    model->removePricesBlock(1);
    QCOMPARE(log.entries, layoutOnly() + settingsOnly());
    QCOMPARE(model->priceTypeNames.keys(), QList<int>{-1});
    QVERIFY(!model->pricesByType.contains(secondBlock));
    QCOMPARE(model->pricesByType.value(-1).size(), 6);
    QCOMPARE(track->query(QStringLiteral("SELECT price_type,is_deleted,COUNT(*) FROM price_list GROUP BY 1,2")),
             (QList<QVariantList>{{-1, 0, 6}, {secondBlock, 1, 6}}));
    QCOMPARE(track->query(QStringLiteral("SELECT id,is_deleted FROM price_types ORDER BY id")),
             (QList<QVariantList>{{-1, 0}, {secondBlock, 1}}));

    // The caller moves the current block.
    model->setCurrentPricesBlock(0);
    model->addPricesBlock(QStringLiteral("Ночь"));
    model->setCurrentPricesBlock(1);
    const int current = model->currentPriceType;
    model->removePricesBlock(1);
    QCOMPARE(model->currentPriceType, current);
    QCOMPARE(model->rowCount(), 0);
}

void PricesModelTest::removeBlockOutOfRange()
{
    loadTwoBlocks();
    const SignalLog log(model.get());
    model->removePricesBlock(2);
    model->removePricesBlock(-1);
    QCOMPARE(log.entries, layoutOnly() + settingsOnly() + layoutOnly() + settingsOnly());
    QCOMPARE(model->priceTypeNames.size(), 2);
    QCOMPARE(track->value(QStringLiteral("SELECT COUNT(*) FROM price_list WHERE is_deleted=1")).toInt(), 0);
    QCOMPARE(track->value(QStringLiteral("SELECT COUNT(*) FROM price_types WHERE is_deleted=1")).toInt(), 0);
}

void PricesModelTest::renameBlock()
{
    loadTwoBlocks();
    const SignalLog log(model.get());
    model->renamePricesBlock(1, QStringLiteral("Праздники"));
    QCOMPARE(log.entries, settingsOnly());
    QCOMPARE(model->priceTypeNames.value(secondBlock), QStringLiteral("Праздники"));
    QCOMPARE(track->value(QStringLiteral("SELECT name FROM price_types WHERE id=?"), {secondBlock}).toString(),
             QStringLiteral("Праздники"));
}

void PricesModelTest::renameBlockOutOfRange()
{
    loadTwoBlocks();
    model->renamePricesBlock(2, QStringLiteral("Праздники"));
    model->renamePricesBlock(-1, QStringLiteral("Праздники"));
    QCOMPARE(model->priceTypeNames.values(), (QStringList{"Основные", "Выходные"}));
}

void PricesModelTest::setCurrentBlock()
{
    loadTwoBlocks();
    const SignalLog log(model.get());
    model->setCurrentPricesBlock(1);
    QCOMPARE(log.entries, layoutOnly());
    QCOMPARE(model->currentPriceType, secondBlock);
    QCOMPARE(cell(0, Price).data().toDouble(), 1000.0);
    model->setCurrentPricesBlock(2);
    QCOMPARE(model->currentPriceType, 0);
    QCOMPARE(model->rowCount(), 0);
    model->setCurrentPricesBlock(0);
    QCOMPARE(model->currentPriceType, -1);
    QCOMPARE(model->rowCount(), 6);
}

void PricesModelTest::setCurrentBlockMovesPersistentIndexes()
{
    loadTwoBlocks();
    std::swap(model->pricesByType[secondBlock][0], model->pricesByType[secondBlock][3]);
    const QPersistentModelIndex index(cell(0, Price));
    model->setCurrentPricesBlock(1);
    QCOMPARE(index.row(), 3);
    QCOMPARE(index.data().toDouble(), 1000.0);
    model->setCurrentPricesBlock(7);
    QVERIFY(!index.isValid());
}

void PricesModelTest::updateWritesWholeBook()
{
    loadTwoBlocks();
    track->query(QStringLiteral("UPDATE price_list SET avail_rules='x',is_deleted=1"));
    for (const int block : {-1, secondBlock}) {
        PriceItem &item = model->pricesByType[block][0];
        item.salesItem = QStringLiteral("новое");
        item.sum = 0.25;
        item.color = QColor(255, 0, 1);
        item.model = QStringLiteral("Junior");
        item.showRemote = 0;
    }
    const SignalLog log(model.get());
    model->updatePrices();
    QCOMPARE(log.entries, settingsOnly());
    // A rewritten row takes the column's default again.
    QCOMPARE(track
                 ->value(QStringLiteral("SELECT COUNT(*) FROM price_list WHERE is_deleted=0 AND avail_rules='' "
                                        "AND typeof(avail_rules)='text'"))
                 .toInt(),
             12);
    const QList<QVariantList> rows =
        track->query(QStringLiteral("SELECT id,common_id,price_type,sales_item,color,model,sum,show_remote,typeof(sum) "
                                    "FROM price_list WHERE sales_item='новое' ORDER BY id"));
    const int commonId = model->pricesByType.value(-1).first().id;
    QCOMPARE(rows, (QList<QVariantList>{{commonId, commonId, -1, "новое", "#ff0001", "Junior", 0.25, 0, "real"},
                                        {commonId + 1, commonId, secondBlock, "новое", "#ff0001", "Junior", 0.25, 0,
                                         "real"}}));
}

void PricesModelTest::updateStoresEmptyTexts()
{
    model->loadPrices();
    model->addNewPriceItem();
    model->updatePrices();
    QCOMPARE(track->query(QStringLiteral("SELECT typeof(sales_item),typeof(model),typeof(avail_rules),color "
                                         "FROM price_list")),
             (QList<QVariantList>{{"text", "text", "text", "#ffffff"}}));
}

void PricesModelTest::updateLeavesDeletedRows()
{
    fillTwoBlocks();
    track->query(QStringLiteral("UPDATE price_list SET is_deleted=1,avail_rules='x' WHERE sales_item='c'"));
    model->loadPrices();
    model->updatePrices();
    QCOMPARE(
        track->value(QStringLiteral("SELECT COUNT(*) FROM price_list WHERE is_deleted=1 AND avail_rules='x'")).toInt(),
        2);
}

void PricesModelTest::updateLeavesUnlistedBlocks()
{
    loadTwoBlocks();
    model->priceTypeNames.remove(-1);
    model->pricesByType[-1][0].salesItem = QStringLiteral("новое");
    model->updatePrices();
    QCOMPARE(track->value(QStringLiteral("SELECT COUNT(*) FROM price_list WHERE sales_item='новое'")).toInt(), 0);
}

void PricesModelTest::setDataName()
{
    loadTwoBlocks();
    const SignalLog log(model.get());
    QVERIFY(model->setData(cell(2, SalesItem), QStringLiteral("Заезд")));
    QCOMPARE(log.entries, settingsOnly());
    QCOMPARE(model->pricesByType.value(-1).at(2).salesItem, QStringLiteral("Заезд"));
    QCOMPARE(model->pricesByType.value(secondBlock).at(2).salesItem, QStringLiteral("Заезд"));
    QCOMPARE(track->value(QStringLiteral("SELECT COUNT(*) FROM price_list WHERE sales_item='Заезд'")).toInt(), 2);
    QCOMPARE(track->value(QStringLiteral("SELECT COUNT(*) FROM price_list WHERE avail_rules=''")).toInt(), 12);
}

void PricesModelTest::setDataPrice()
{
    loadTwoBlocks();
    model->setCurrentPricesBlock(1);
    const SignalLog log(model.get());
    QVERIFY(model->setData(cell(2, Price), 12.75));
    QCOMPARE(log.entries, settingsOnly());
    QCOMPARE(storedSum(id(QStringLiteral("c"), secondBlock)), 12.75);
    QCOMPARE(storedSum(id(QStringLiteral("c"), -1)), 300.0);
    QCOMPARE(model->pricesByType.value(-1).at(2).sum, 300.0);
    QVERIFY(model->setData(cell(2, Price), QStringLiteral("letters")));
    QCOMPARE(storedSum(id(QStringLiteral("c"), secondBlock)), 0.0);
}

void PricesModelTest::setDataElsewhere()
{
    loadTwoBlocks();
    const SignalLog log(model.get());
    QVERIFY(!model->setData(cell(2, SalesItem), QStringLiteral("editStarted"), Qt::UserRole));
    QVERIFY(!model->setData(cell(2, SalesItem), QStringLiteral("x"), Qt::DisplayRole));
    QVERIFY(!model->setData(cell(2, Model), QStringLiteral("Junior")));
    QVERIFY(!model->setData(cell(2, Pos), 5));
    QVERIFY(!model->setData(cell(2, RemoteAvail), 0));
    QVERIFY(!model->setData(cell(6, SalesItem), QStringLiteral("x")));
    QVERIFY(!model->setData(QModelIndex(), QStringLiteral("x")));
    QCOMPARE(log.entries, QStringList());
    QCOMPARE(names(model->currentPriceItems()), (QStringList{"a", "b", "c", "d", "e", "f"}));
}

void PricesModelTest::colourKioskAndModelReachAllBlocks()
{
    loadTwoBlocks();
    const SignalLog log(model.get());
    const PriceItem item = model->currentPriceItems().at(1);
    model->setItemColor(item, Qt::blue);
    model->toggleRemoteAvail(item);
    model->setItemModel(item.commonId, QStringLiteral("Junior"));
    QCOMPARE(log.entries, QStringList());
    QCOMPARE(track->value(QStringLiteral("SELECT COUNT(*) FROM price_list WHERE color='#0000ff'")).toInt(), 0);
    for (const int block : {-1, secondBlock}) {
        QCOMPARE(model->pricesByType.value(block).at(1).color, QColor(Qt::blue));
        QCOMPARE(model->pricesByType.value(block).at(1).showRemote, 0);
        QCOMPARE(model->pricesByType.value(block).at(1).model, QStringLiteral("Junior"));
        QCOMPARE(model->pricesByType.value(block).at(0).color, QColor(Qt::white));
        QCOMPARE(model->pricesByType.value(block).at(0).showRemote, 1);
    }
    model->updatePrices();
    QCOMPARE(track
                 ->value(QStringLiteral("SELECT COUNT(*) FROM price_list WHERE color='#0000ff' AND show_remote=0 "
                                        "AND model='Junior' AND sales_item='b'"))
                 .toInt(),
             2);
    model->toggleRemoteAvail(item);
    QCOMPARE(model->pricesByType.value(secondBlock).at(1).showRemote, 1);
}

void PricesModelTest::findItem()
{
    loadTwoBlocks();
    const int other = id(QStringLiteral("d"), secondBlock);
    QCOMPARE(model->findPriceItem(other).sum, 4000.0);
    const PriceItem none = model->findPriceItem(4711);
    QCOMPARE(none.id, 0);
    QCOMPARE(none.commonId, 0);
    QCOMPARE(none.sum, 0.0);
    QCOMPARE(none.showRemote, 0);
    QVERIFY(none.salesItem.isEmpty());
    QVERIFY(!none.color.isValid());
    QCOMPARE(model->rowOf(id(QStringLiteral("d"), -1)), 3);
    QCOMPARE(model->rowOf(other), -1);
}

void PricesModelTest::json()
{
    track->addPriceItem(
        {QStringLiteral("Заезд"), 450.5, QStringLiteral("Junior"), QStringLiteral("#0102ff"), -1, -1, 0});
    model->loadPrices();
    const int itemId = id(QStringLiteral("Заезд"), -1);
    QCOMPARE(model->priceTypeNamesJson(), QJsonArray{"Основные"});
    const QJsonObject item{{"salesId", itemId},    {"salesCommonId", itemId}, {"salesItem", "Заезд"},
                           {"carModel", "Junior"}, {"price", 450.5},          {"color", "#0102ff"},
                           {"availRules", ""},     {"remoteAvail", 0}};
    QCOMPARE(model->currentPricesJson(), (QJsonObject{{"priceKind", "Основные"}, {"prices", QJsonArray{item}}}));

    model->currentPriceType = 5;
    QCOMPARE(model->currentPricesJson(), (QJsonObject{{"priceKind", ""}, {"prices", QJsonArray()}}));
}

void PricesModelTest::shape()
{
    loadTwoBlocks();
    QCOMPARE(model->rowCount(), 6);
    QCOMPARE(model->rowCount(cell(0, 0)), 0);
    QVERIFY(!cell(3, 2).parent().isValid());
    QCOMPARE(cell(3, 2).internalPointer(), nullptr);
    for (int column = 0; column < model->columnCount(); ++column) {
        const bool editable = column == SalesItem || column == Model || column == Price;
        QCOMPARE(cell(0, column).flags().testFlag(Qt::ItemIsEditable), editable);
        QVERIFY(cell(0, column).flags().testFlag(Qt::ItemIsEnabled));
        QVERIFY(cell(0, column).flags().testFlag(Qt::ItemIsSelectable));
    }
    QCOMPARE(model->flags(QModelIndex()), Qt::ItemFlags(Qt::NoItemFlags));
}

void PricesModelTest::dataForDisplay()
{
    loadTwoBlocks();
    model->pricesByType[-1][1].model = QStringLiteral("Junior");
    model->pricesByType[-1][1].showRemote = 0;
    for (const int role : {Qt::DisplayRole, Qt::EditRole}) {
        QCOMPARE(cell(1, Pos).data(role), QVariant(2));
        QCOMPARE(cell(1, SalesItem).data(role), QVariant(QStringLiteral("b")));
        QCOMPARE(cell(1, Model).data(role), QVariant(QStringLiteral("Junior")));
        QCOMPARE(cell(1, Price).data(role), QVariant(200.0));
        QCOMPARE(cell(1, Price).data(role).userType(), int(QMetaType::Double));
        QVERIFY(!cell(1, Color).data(role).isValid());
        QCOMPARE(cell(1, RemoteAvail).data(role), QVariant(QStringLiteral("Нет")));
        QCOMPARE(cell(0, RemoteAvail).data(role), QVariant(QStringLiteral("Да")));
    }
    QVERIFY(!cell(1, SalesItem).data(Qt::UserRole).isValid());
}

void PricesModelTest::dataForColours()
{
    loadTwoBlocks();
    model->pricesByType[-1][1].color = QColor(1, 2, 3);
    model->pricesByType[-1][1].showRemote = 0;
    const auto background = [this](int row, int column) {
        return cell(row, column).data(Qt::BackgroundRole).value<QBrush>();
    };
    QCOMPARE(background(1, Color), QBrush(QColor(1, 2, 3), Qt::SolidPattern));
    QCOMPARE(background(0, RemoteAvail), QBrush(Qt::green, Qt::SolidPattern));
    QCOMPARE(background(1, RemoteAvail), QBrush(Qt::red, Qt::SolidPattern));
    QCOMPARE(background(1, SalesItem), QBrush(QColor(Qt::transparent), Qt::SolidPattern));
    QCOMPARE(cell(0, RemoteAvail).data(Qt::ForegroundRole).value<QColor>(), QColor(Qt::black));
    QCOMPARE(cell(1, RemoteAvail).data(Qt::ForegroundRole).value<QColor>(), QColor(Qt::white));
    QVERIFY(!cell(1, Color).data(Qt::ForegroundRole).isValid());
    QVERIFY(!cell(1, SalesItem).data(Qt::ForegroundRole).isValid());
}

void PricesModelTest::dataOutOfRange()
{
    loadTwoBlocks();
    for (int column = 0; column < model->columnCount(); ++column) {
        QVERIFY(!cell(6, column).data().isValid());
        QCOMPARE(cell(6, column).data(Qt::BackgroundRole).value<QBrush>().color(), QColor(Qt::transparent));
    }
    QVERIFY(!model->data(QModelIndex()).isValid());
    QVERIFY(!cell(0, 6).data().isValid());
}

void PricesModelTest::noFile()
{
    model.reset();
    track.reset();
    track = std::make_unique<TempTrack>(TempTrack::Tree);
    model = std::make_unique<PricesModel>();
    track->setPayMethods({"Карта"});
    model->loadPrices();
    QVERIFY(model->priceTypeNames.isEmpty());
    QCOMPARE(model->payMethods, QStringList{"Карта"});
    QCOMPARE(model->addPricesBlock(QStringLiteral("Основные")), 0);
    QCOMPARE(model->priceTypeNames, (QMap<int, QString>{{0, "Основные"}}));
}

void PricesModelTest::noDirectory()
{
    model.reset();
    track.reset();
    track = std::make_unique<TempTrack>(TempTrack::Bare);
    model = std::make_unique<PricesModel>();
    track->setDiscounts({"5"});
    model->loadPrices();
    QCOMPARE(model->discounts.size(), 1);

    const SignalLog log(model.get());
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(model->addPricesBlock(QStringLiteral("Основные")), 0);
    QCOMPARE(log.entries, settingsOnly());
    model->setCurrentPricesBlock(0);
    const QModelIndex added = model->addNewPriceItem();
    QCOMPARE(added.row(), 0);
    QCOMPARE(model->rowCount(), 1);
    QCOMPARE(model->currentPriceItems().first().id, 0);
    QCOMPARE(model->currentPriceItems().first().commonId, 0);
    QVERIFY(model->setData(cell(0, SalesItem), QStringLiteral("Заезд")));
    QVERIFY(model->setData(cell(0, Price), 5));
    QCOMPARE(cell(0, SalesItem).data().toString(), QStringLiteral("Заезд"));
    model->renamePricesBlock(0, QStringLiteral("Будни"));
    model->removePriceItems({0});
    QCOMPARE(model->rowCount(), 0);
    model->removePricesBlock(0);
    QVERIFY(model->priceTypeNames.isEmpty());
    const QStringList removal{"layoutAboutToBeChanged", "settingsChanged", "priceItemsRemoved 0", "layoutChanged"};
    const QStringList expected = settingsOnly() + layoutOnly() + layoutOnly() + settingsOnly() + settingsOnly()
                                 + settingsOnly() + removal + layoutOnly() + settingsOnly();
    QCOMPARE(log.entries, expected);
    QVERIFY2(timer.elapsed() < 2000, "a write that waiting cannot cure was waited for");
}

void PricesModelTest::notADatabase()
{
    model.reset();
    track.reset();
    track = std::make_unique<TempTrack>(TempTrack::Tree);
    const QByteArray content("this is no database, but a text that is long enough to look like a page of one. ");
    {
        QFile file(track->databaseFile());
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(content.repeated(100));
    }
    model = std::make_unique<PricesModel>();
    QElapsedTimer timer;
    timer.start();
    model->loadPrices();
    QVERIFY(model->priceTypeNames.isEmpty());
    const SignalLog log(model.get());
    QCOMPARE(model->addPricesBlock(QStringLiteral("Основные")), 0);
    model->updatePrices();
    QCOMPARE(log.entries, settingsOnly() + settingsOnly());
    QVERIFY2(timer.elapsed() < 2000, "a write that waiting cannot cure was waited for");
    model.reset();
    QFile file(track->databaseFile());
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), content.repeated(100));
}

void PricesModelTest::noTables()
{
    model.reset();
    track.reset();
    track = std::make_unique<TempTrack>(TempTrack::Tree);
    track->query(QStringLiteral("CREATE TABLE other (id INTEGER)"));
    model = std::make_unique<PricesModel>();
    model->loadPrices();
    QVERIFY(model->priceTypeNames.isEmpty());
    QCOMPARE(model->addPricesBlock(QStringLiteral("Основные")), 0);
    model->addNewPriceItem();
    QCOMPARE(model->pricesByType.value(0).size(), 1);
    // No transaction is left open behind statements that failed.
    track->query(QStringLiteral("INSERT INTO other VALUES (1)"));
}

/// A statement that fails within a write is passed over: the rest of the book is stored, and nobody is told.
void PricesModelTest::refusedRow()
{
    loadTwoBlocks();
    track->query(QStringLiteral("UPDATE price_list SET avail_rules='x'"));
    track->query(QStringLiteral("CREATE TRIGGER refuse BEFORE INSERT ON price_list WHEN NEW.sales_item='c' "
                                "AND NEW.price_type=-1 BEGIN SELECT RAISE(ABORT,'no'); END"));
    const SignalLog log(model.get());
    QVERIFY(model->setData(cell(0, Price), 77.0));
    QCOMPARE(log.entries, settingsOnly());
    QCOMPARE(storedSum(id(QStringLiteral("a"), -1)), 77.0);
    // Every other row was written anew, those behind it and the second block included.
    QCOMPARE(track->query(QStringLiteral("SELECT sales_item,price_type,sum FROM price_list WHERE avail_rules='x'")),
             (QList<QVariantList>{{"c", -1, 300.0}}));
    QCOMPARE(track->value(QStringLiteral("SELECT COUNT(*) FROM price_list")).toInt(), 12);
    // The transaction has ended.
    track->query(QStringLiteral("INSERT INTO cars (name) VALUES ('host')"));
}

void PricesModelTest::refusedRowsOfANewBlock()
{
    loadTwoBlocks();
    track->query(QStringLiteral("CREATE TRIGGER refuse BEFORE INSERT ON price_list WHEN NEW.sales_item='c' "
                                "AND NEW.price_type NOT IN (-1,%1) BEGIN SELECT RAISE(ABORT,'no'); END")
                     .arg(secondBlock));
    const int block = model->addPricesBlock(QStringLiteral("Ночь"));
    QCOMPARE(track->value(QStringLiteral("SELECT name FROM price_types WHERE id=?"), {block}).toString(),
             QStringLiteral("Ночь"));
    QCOMPARE(track->query(QStringLiteral(
                              "SELECT sales_item,sum FROM price_list WHERE price_type=? ORDER BY sales_item"),
                          {block}),
             (QList<QVariantList>{{"a", 100.0}, {"b", 200.0}, {"d", 400.0}, {"e", 500.0}, {"f", 600.0}}));
}

void PricesModelTest::refusedRemoval()
{
    loadTwoBlocks();
    track->query(QStringLiteral("CREATE TRIGGER refuse BEFORE UPDATE ON price_list WHEN NEW.is_deleted=1 "
                                "AND NEW.sales_item='b' BEGIN SELECT RAISE(ABORT,'no'); END"));
    model->removePriceItems({1, 3});
    QCOMPARE(names(model->currentPriceItems()), (QStringList{"a", "c", "e", "f"}));
    QCOMPARE(track->query(QStringLiteral("SELECT DISTINCT sales_item FROM price_list WHERE is_deleted=1")),
             (QList<QVariantList>{{"d"}}));
    QCOMPARE(track->value(QStringLiteral("SELECT COUNT(*) FROM price_list WHERE sales_item='b'")).toInt(), 2);
}

void PricesModelTest::lockedDatabase()
{
    loadTwoBlocks();
    const SignalLog log(model.get());
    Locker locker(track->databaseFile(), 1000);
    QElapsedTimer timer;
    timer.start();
    QVERIFY(model->setData(cell(0, Price), 77.0));
    QVERIFY2(timer.elapsed() >= 800, "the write did not wait for the lock");
    QCOMPARE(log.entries, settingsOnly());
    QVERIFY(locker.wait());
    QVERIFY(locker.succeeded);
    QCOMPARE(storedSum(id(QStringLiteral("a"), -1)), 77.0);
    QCOMPARE(track->value(QStringLiteral("SELECT COUNT(*) FROM cars WHERE name='host'")).toInt(), 1);
}

DESK_TEST_MAIN(PricesModelTest)
#include "tst_pricesmodel.moc"
