#include "checkindesk.h"

#include "desktest.h"
#include "jsonmatch.h"

#include <QAbstractItemModelTester>
#include <QIdentityProxyModel>
#include <QSignalSpy>

#include <memory>

namespace {

/// The keys of the columns, in their order.
QStringList allKeys()
{
    return {"POS",    "NAME",      "SALES_ITEM", "RUNCOUNT", "SAFETY",  "DISCOUNT",
            "PAYSUM", "PAYMETHOD", "PAYSTATE",   "NFCTAG",   "ENQUEUE", "COMMENT"};
}

/// The list as the model tester takes it: without its numbers, which count down from the size of the list, so that rows
/// that stay change theirs without a word; and with minors below the first cell of a row only, while the list itself
/// finds them below each.
class TestableList : public QIdentityProxyModel
{
public:
    int rowCount(const QModelIndex &parent) const override
    {
        return parent.column() > 0 ? 0 : QIdentityProxyModel::rowCount(parent);
    }
    bool hasChildren(const QModelIndex &parent) const override { return rowCount(parent) > 0; }
    QVariant data(const QModelIndex &index, int role) const override
    {
        return index.column() == 0 && role == Qt::DisplayRole ? QVariant() : QIdentityProxyModel::data(index, role);
    }
};

} // namespace

/// What views see of the check-in list.
class CheckInListModelTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { desk = std::make_unique<CheckInDesk>(); }
    void cleanup() { desk.reset(); }

    void columns_data();
    void columns();
    void shape();
    void modelTester();
    void numbersCountDown();
    void display_data();
    void display();
    void discountShown();
    void editValues();
    void keysAndPressBits();
    void backgrounds_data();
    void backgrounds();
    void foregrounds_data();
    void foregrounds();
    void flags_data();
    void flags();
    void flagsOutside();
    void typedRunCount_data();
    void typedRunCount();
    void typedRunCountOfMinor();
    void typedPrice();
    void typedComment_data();
    void typedComment();
    void otherEditsDoNothing_data();
    void otherEditsDoNothing();
    void strangersIndex();

private:
    /// A paid family of one minor in row 0, an unpaid one in row 1.
    void fillTwoFamilies();

    std::unique_ptr<CheckInDesk> desk;
};

void CheckInListModelTest::fillTwoFamilies()
{
    desk->addSold(Adult, 1, {CheckInDesk::kid("Маша", Junior, 2)});
    desk->addSold(Adult, 3, {CheckInDesk::kid("Петя", Junior, 2)}).payState = true;
    desk->log.take();
}

void CheckInListModelTest::columns_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("caption");
    QTest::addColumn<int>("alignment");
    QTest::addColumn<int>("headerAlignment");

    const int left = Qt::AlignLeft | Qt::AlignVCenter;
    const int right = Qt::AlignRight | Qt::AlignVCenter;
    const int centre = Qt::AlignCenter;
    QTest::newRow("0") << "POS"
                       << "#" << right << centre;
    QTest::newRow("1") << "NAME"
                       << "Имя" << left << centre;
    QTest::newRow("2") << "SALES_ITEM"
                       << "Услуга" << left << centre;
    QTest::newRow("3") << "RUNCOUNT"
                       << "Кол-во" << right << centre;
    QTest::newRow("4") << "SAFETY"
                       << "ТБ" << centre << centre;
    QTest::newRow("5") << "DISCOUNT"
                       << "Скидка" << right << centre;
    QTest::newRow("6") << "PAYSUM"
                       << "К оплате" << right << centre;
    QTest::newRow("7") << "PAYMETHOD"
                       << "Способ оплаты" << centre << centre;
    QTest::newRow("8") << "PAYSTATE"
                       << "Статус" << centre << centre;
    QTest::newRow("9") << "NFCTAG"
                       << "NFC карта" << centre << centre;
    QTest::newRow("10") << "ENQUEUE"
                        << "" << centre << centre;
    QTest::newRow("11") << "COMMENT"
                        << "Комментарий" << left << centre;
}

void CheckInListModelTest::columns()
{
    QFETCH(QString, key);
    const int column = QString::fromLatin1(QTest::currentDataTag()).toInt();
    desk->add();
    QCOMPARE(desk->list.columnKey(column), key);
    QTEST(desk->list.headerData(column, Qt::Horizontal).toString(), "caption");
    QTEST(desk->list.headerData(column, Qt::Horizontal, Qt::TextAlignmentRole).toInt(), "headerAlignment");
    QTEST(desk->cell(key).data(Qt::TextAlignmentRole).toInt(), "alignment");
    QCOMPARE(desk->cell(key).data(Qt::UserRole).toString(), key);
}

void CheckInListModelTest::shape()
{
    QCOMPARE(desk->list.objectName(), QStringLiteral("checkInListModel"));
    QCOMPARE(desk->list.columnCount(), allKeys().size());
    QCOMPARE(desk->list.rowCount(), 0);
    fillTwoFamilies();
    ClientsCheckInList &list = desk->list;
    QCOMPARE(list.rowCount(), 2);
    const QModelIndex top = list.index(1, 3);
    QCOMPARE(list.itemAt(top)->row, 1);
    QCOMPARE(list.rowCount(list.index(1, 0)), 1);
    const QModelIndex minor = list.index(0, 2, list.index(1, 0));
    QVERIFY(minor.isValid());
    QCOMPARE(minor.parent(), list.index(1, 0));
    QVERIFY(!top.parent().isValid());
    QCOMPARE(list.rowCount(minor.siblingAtColumn(0)), 0);
    QVERIFY(!list.index(0, 0, minor.siblingAtColumn(0)).isValid());
    QVERIFY(!list.index(2, 0).isValid());
    QVERIFY(!list.index(0, 12).isValid());
    QVERIFY(!list.index(-1, 0).isValid());
    QVERIFY(!list.itemAt(QModelIndex()));
}

void CheckInListModelTest::modelTester()
{
    TestableList view;
    view.setSourceModel(&desk->list);
    const QAbstractItemModelTester tester(&view, QAbstractItemModelTester::FailureReportingMode::QtTest);
    ClientsCheckInList &list = desk->list;
    fillTwoFamilies();
    list.addFromJson({{"lastName", "Сидоров"}, {"subItems", QJsonArray{QJsonObject{{"firstName", "Саша"}}}}});
    list.setData(desk->cell("RUNCOUNT", 1), 5);
    list.applyFamilyEdit(list.index(2, 0), "Анна", "Иванова", "", {CheckInDesk::kid("Маша"), CheckInDesk::kid("Рита")});
    list.applyFamilyEdit(list.index(2, 0), "Анна", "Иванова", "", {CheckInDesk::kid("Маша")});
    list.itemsUndropped({QJsonObject{{"uuid", "{back}"}, {"lastName", "Орлов"}}});
    QCOMPARE(list.rowCount(), 4);
    list.removeEntries({desk->minorCell("POS", 3, 0), desk->cell("POS", 1)});
    list.itemsDroppedOut({QJsonObject{{"uuid", desk->racer(1).uuid}}, QJsonObject{{"uuid", desk->minor(1, 0).uuid}}});
    list.save();
    list.load();
    list.removeByUuids({desk->racer(0).uuid});
    // The journal brought the list once more, and both lines of the racer at the top went.
    QCOMPARE(desk->lastNames(), (QStringList{"Иванова", "Иванова"}));
}

void CheckInListModelTest::numbersCountDown()
{
    desk->add("Первый");
    desk->add("Второй");
    desk->add("Третий", {CheckInDesk::kid("Маша"), CheckInDesk::kid("Петя")});
    for (int row = 0; row < 3; ++row)
        QCOMPARE(desk->cell("POS", row).data().toInt(), 3 - row);
    QCOMPARE(desk->lastNames(), (QStringList{"Третий", "Второй", "Первый"}));
    QCOMPARE(desk->minorCell("POS", 0, 0).data().toInt(), 1);
    QCOMPARE(desk->minorCell("POS", 0, 1).data().toInt(), 2);
}

void CheckInListModelTest::display_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QVariant>("racer");
    QTest::addColumn<QVariant>("minor");

    QTest::newRow("NAME") << "NAME" << QVariant("Иванов Иван Петрович") << QVariant("Иванов Петя ");
    QTest::newRow("SALES_ITEM") << "SALES_ITEM" << QVariant("Взрослый") << QVariant("Детский");
    QTest::newRow("RUNCOUNT") << "RUNCOUNT" << QVariant(3) << QVariant(2);
    QTest::newRow("SAFETY") << "SAFETY" << QVariant() << QVariant();
    QTest::newRow("PAYSUM") << "PAYSUM" << QVariant(2100.0) << QVariant(600.0);
    QTest::newRow("PAYMETHOD") << "PAYMETHOD" << QVariant("Наличные") << QVariant("");
    QTest::newRow("PAYSTATE") << "PAYSTATE" << QVariant() << QVariant();
    QTest::newRow("NFCTAG") << "NFCTAG" << QVariant("04:FF") << QVariant("Сканировать");
    QTest::newRow("ENQUEUE") << "ENQUEUE" << QVariant() << QVariant();
    QTest::newRow("COMMENT") << "COMMENT" << QVariant("левша") << QVariant("");
}

void CheckInListModelTest::display()
{
    QFETCH(QString, key);
    fillTwoFamilies();
    desk->racer().nfcUid = "04:FF";
    desk->racer().comment = "левша";
    QTEST(desk->cell(key).data(), "racer");
    QTEST(desk->minorCell(key, 0, 0).data(), "minor");
}

void CheckInListModelTest::discountShown()
{
    desk->addSold(Adult, 1, {CheckInDesk::kid("Маша")});
    QCOMPARE(desk->cell("DISCOUNT").data().toString(), QString());
    desk->list.setDiscount("15", desk->cell("DISCOUNT"));
    QCOMPARE(desk->cell("DISCOUNT").data().toString(), QStringLiteral("15%"));
    desk->list.setDiscount("=100", desk->cell("DISCOUNT"));
    QCOMPARE(desk->cell("DISCOUNT").data().toString(), QStringLiteral("=100"));
    QCOMPARE(desk->minorCell("DISCOUNT", 0, 0).data().toString(), QString());
}

void CheckInListModelTest::editValues()
{
    CheckInItem &item = desk->addSold(Adult, 3);
    item.discountValue = "15";
    item.comment = "левша";
    const QMap<QString, QVariant> expected{{"PAYSUM", 500.0}, {"DISCOUNT", "15"}, {"RUNCOUNT", 3}, {"COMMENT", "левша"}};
    const QStringList keys = allKeys();
    for (const QString &key : keys)
        QCOMPARE(desk->cell(key).data(Qt::EditRole), expected.value(key));
}

void CheckInListModelTest::keysAndPressBits()
{
    fillTwoFamilies();
    const QModelIndex safety = desk->cell("SAFETY");
    QCOMPARE(safety.data(257), QVariant(0));
    QVERIFY(desk->list.setData(safety, 4, 257));
    QCOMPARE(safety.data(257), QVariant(4));
    QCOMPARE(desk->cell("ENQUEUE").data(257), QVariant(0));
    QCOMPARE(desk->cell("SAFETY", 1).data(257), QVariant(0));
    QCOMPARE(desk->log.take(), QStringList());
}

void CheckInListModelTest::backgrounds_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QColor>("unpaid");
    QTest::addColumn<QColor>("paid");
    QTest::addColumn<QColor>("minor");

    const QColor clear(Qt::transparent);
    const QStringList keys = allKeys();
    for (const QString &key : keys) {
        if (key == QLatin1String("SALES_ITEM"))
            QTest::newRow("SALES_ITEM") << key << QColor(Qt::red) << QColor(Qt::red) << QColor(Qt::blue);
        else if (key == QLatin1String("PAYSTATE"))
            QTest::newRow("PAYSTATE") << key << QColor(Qt::red) << QColor(Qt::green) << clear;
        else
            QTest::newRow(qPrintable(key)) << key << clear << clear << clear;
    }
}

void CheckInListModelTest::backgrounds()
{
    QFETCH(QString, key);
    fillTwoFamilies();
    const auto background = [](const QModelIndex &cell) {
        const auto brush = cell.data(Qt::BackgroundRole).value<QBrush>();
        return brush.style() == Qt::SolidPattern ? brush.color() : QColor();
    };
    QTEST(background(desk->cell(key, 1)), "unpaid");
    QTEST(background(desk->cell(key, 0)), "paid");
    QTEST(background(desk->minorCell(key, 0, 0)), "minor");
    desk->racer(0).enqueued = true;
    desk->minor(0, 0).enqueued = true;
    QCOMPARE(background(desk->cell(key, 0)), QColor(Qt::lightGray));
    QCOMPARE(background(desk->minorCell(key, 0, 0)), QColor(Qt::lightGray));
}

void CheckInListModelTest::foregrounds_data()
{
    QTest::addColumn<QString>("key");
    const QStringList keys = allKeys();
    for (const QString &key : keys)
        QTest::newRow(qPrintable(key)) << key;
}

void CheckInListModelTest::foregrounds()
{
    QFETCH(QString, key);
    fillTwoFamilies();
    const auto foreground = [](const QModelIndex &cell) {
        const QVariant value = cell.data(Qt::ForegroundRole);
        return value.isValid() ? value.value<QBrush>().color() : QColor();
    };
    QCOMPARE(foreground(desk->cell(key, 1)), key == QLatin1String("PAYSTATE") ? QColor(Qt::white) : QColor());
    QCOMPARE(foreground(desk->cell(key, 0)), QColor());
    const QColor minorColour = key == QLatin1String("PAYSUM") ? QColor(Qt::gray) : QColor();
    QCOMPARE(foreground(desk->minorCell(key, 0, 0)), minorColour);
    QCOMPARE(foreground(desk->minorCell(key, 1, 0)), minorColour);
}

void CheckInListModelTest::flags_data()
{
    QTest::addColumn<bool>("paid");
    QTest::addColumn<bool>("enqueued");
    QTest::addColumn<QStringList>("racerEdits");
    QTest::addColumn<QStringList>("minorEdits");

    const QStringList comment{"COMMENT"};
    QTest::newRow("unpaid") << false << false
                            << QStringList{"SALES_ITEM", "RUNCOUNT", "DISCOUNT", "PAYMETHOD", "COMMENT"}
                            << QStringList{"SALES_ITEM", "RUNCOUNT", "COMMENT"};
    QTest::newRow("paid") << true << false << comment << comment;
    QTest::newRow("enqueued") << true << true << comment << comment;
    QTest::newRow("enqueued, unpaid again") << false << true << comment << comment;
}

void CheckInListModelTest::flags()
{
    QFETCH(bool, paid);
    QFETCH(bool, enqueued);
    QFETCH(QStringList, racerEdits);
    QFETCH(QStringList, minorEdits);
    CheckInItem &racer = desk->addSold(Adult, 1, {CheckInDesk::kid("Маша", Junior, 1)});
    racer.payState = paid;
    racer.enqueued = enqueued;
    racer.subItems.front()->enqueued = enqueued;
    Qt::ItemFlags plain = Qt::ItemIsSelectable | Qt::ItemIsEnabled | Qt::ItemIsDropEnabled;
    if (paid)
        plain |= Qt::ItemIsDragEnabled;
    const auto expected = [plain](bool editable) { return editable ? plain | Qt::ItemIsEditable : plain; };
    const QStringList keys = allKeys();
    for (const QString &key : keys) {
        QCOMPARE(desk->cell(key).flags(), expected(racerEdits.contains(key)));
        QCOMPARE(desk->minorCell(key, 0, 0).flags(), expected(minorEdits.contains(key)));
    }
}

void CheckInListModelTest::flagsOutside()
{
    QCOMPARE(desk->list.flags(QModelIndex()), Qt::ItemFlags(Qt::ItemIsDropEnabled));
}

void CheckInListModelTest::typedRunCount_data()
{
    QTest::addColumn<bool>("sold");
    QTest::addColumn<QVariant>("typed");
    QTest::addColumn<int>("expected");

    QTest::newRow("usual") << true << QVariant(5) << 5;
    QTest::newRow("limit") << true << QVariant(50) << 50;
    QTest::newRow("above") << true << QVariant(70) << 50;
    QTest::newRow("negative") << true << QVariant(-3) << 0;
    QTest::newRow("none") << true << QVariant(0) << 0;
    QTest::newRow("letters") << true << QVariant("abc") << 0;
    QTest::newRow("without a sale") << false << QVariant(5) << 0;
}

void CheckInListModelTest::typedRunCount()
{
    QFETCH(bool, sold);
    QFETCH(QVariant, typed);
    QFETCH(int, expected);
    const CheckInItem &item = sold ? desk->addSold(Adult, 2) : desk->add();
    desk->log.take();
    desk->log.published.clear();
    QVERIFY(!desk->list.setData(desk->cell("RUNCOUNT"), typed));
    QCOMPARE(item.runCount, expected);
    QCOMPARE(item.regTime, quint64(0));
    QCOMPARE(item.paySum, sold ? expected * 500.0 : 0.0);
    QCOMPARE(desk->log.take(), (QStringList{"layoutChanged", "checkInListUpdated"}));
    JSON_COMPARE(desk->log.published.constFirst(), desk->list.listJson());
    // One code, in place of the old one, as often as there are runs.
    QCOMPARE(desk->usedPinCodes.size(), 1);
    QStringList pins;
    while (pins.size() < qMax(1, expected))
        pins.append(desk->usedPinCodes.constFirst());
    QCOMPARE(item.pinCodes, pins);
}

void CheckInListModelTest::typedRunCountOfMinor()
{
    CheckInItem &racer = desk->addSold(Adult, 1, {CheckInDesk::kid("Маша", Junior, 1)});
    CheckInItem &minor = *racer.subItems.front();
    minor.regTime = 5;
    desk->list.setData(desk->minorCell("RUNCOUNT", 0, 0), 4);
    QCOMPARE(minor.runCount, 4);
    QCOMPARE(minor.pinCodes.size(), 4);
    QCOMPARE(minor.regTime, quint64(0));
    QCOMPARE(racer.regTime, quint64(desk->now));
    QCOMPARE(racer.paySum, 500.0 + 4 * 300.0);
    QCOMPARE(minor.paySum, 0.0);
}

void CheckInListModelTest::typedPrice()
{
    const CheckInItem &item = desk->addSold(Adult, 3);
    desk->log.take();
    QVERIFY(!desk->list.setData(desk->cell("PAYSUM"), 120.5));
    QCOMPARE(item.price, 120.5);
    QCOMPARE(item.paySum, 361.5);
    QCOMPARE(item.regTime, quint64(0));
    QCOMPARE(desk->log.take(), QStringList());
}

void CheckInListModelTest::typedComment_data()
{
    QTest::addColumn<bool>("paid");
    QTest::addColumn<bool>("enqueued");
    QTest::newRow("unpaid") << false << false;
    QTest::newRow("paid") << true << false;
    QTest::newRow("enqueued") << true << true;
}

/// A comment travels the payments' way, whatever has been paid.
void CheckInListModelTest::typedComment()
{
    QFETCH(bool, paid);
    QFETCH(bool, enqueued);
    CheckInItem &item = desk->addSold(Adult, 3);
    item.payState = paid;
    item.enqueued = enqueued;
    desk->log.take();
    QVERIFY(!desk->list.setData(desk->cell("COMMENT"), QStringLiteral("левша")));
    QCOMPARE(item.comment, QStringLiteral("левша"));
    QCOMPARE(item.regTime, quint64(0));
    QCOMPARE(desk->log.take(), QStringList{"paymentUpdate"});
    JSON_COMPARE(desk->log.payments.constLast(), desk->list.toJson(item));
    QVERIFY(!desk->log.payments.constLast().contains("cashierId"));
}

void CheckInListModelTest::otherEditsDoNothing_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<int>("role");

    for (const char *key : {"POS", "NAME", "SALES_ITEM", "SAFETY", "DISCOUNT", "PAYMETHOD", "PAYSTATE", "ENQUEUE"})
        QTest::newRow(key) << QString::fromLatin1(key) << int(Qt::EditRole);
    QTest::newRow("editing begins") << "RUNCOUNT" << int(Qt::UserRole);
    QTest::newRow("display") << "COMMENT" << int(Qt::DisplayRole);
    QTest::newRow("check state") << "PAYSUM" << int(Qt::CheckStateRole);
}

void CheckInListModelTest::otherEditsDoNothing()
{
    QFETCH(QString, key);
    QFETCH(int, role);
    const CheckInItem &item = desk->addSold(Adult, 3);
    const QJsonObject before = desk->list.toJson(item);
    desk->log.take();
    QVERIFY(!desk->list.setData(desk->cell(key), QStringLiteral("7"), role));
    JSON_COMPARE(desk->list.toJson(item), before);
    QCOMPARE(desk->log.take(), QStringList());
}

void CheckInListModelTest::strangersIndex()
{
    CheckInDesk &here = *desk;
    here.add();
    ClientsCheckInList other;
    QVERIFY(!other.itemAt(here.cell("NAME")));
    QVERIFY(!other.setData(here.cell("COMMENT"), QStringLiteral("x")));
    QVERIFY(!other.setData(QModelIndex(), 4, 257));
}

DESK_TEST_MAIN(CheckInListModelTest)
#include "tst_checkinlist_model.moc"
