#include "checkincounter.h"
#include "desktest.h"
#include "jsonmatch.h"

#include <QAction>
#include <QBrush>
#include <QCursor>
#include <QDateTime>
#include <QDialog>
#include <QDialogButtonBox>
#include <QHeaderView>
#include <QItemSelectionModel>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QUuid>

/// Who stands in the check-in list and what the table says of them: adding by hand, editing a family, removing, ageing,
/// and what the host and the disk hear of each. A new desk for each test.
class TestCheckInList : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void columns_data();
    void columns();
    void keysOfTheCells();
    void displayTexts();
    void displayOfDiscounts_data();
    void displayOfDiscounts();
    void editTexts();
    void colours();
    void coloursOfAnEnqueuedRow();
    void itemFlags_data();
    void itemFlags();
    void flagsOfNothing();
    void shapeOfTheTree();
    void pressBits();
    void setDataThatDoesNothing();
    void priceThroughTheModel();

    void addByHand();
    void addWithMinors();
    void addCancelled();
    void addWithoutAName();
    void addedRacerDoesNotAge();
    void addAndPrintTheForm();
    void addedRacerSellsNothing();
    void normalisedNames_data();
    void normalisedNames();
    void minorsTableOfTheForm();
    void minorTypedIntoTheForm();
    void minorsRemovedInTheForm();
    void minorRemovalDeclined();

    void editShowsTheFamily();
    void editFromAMinor();
    void editCancelled();
    void editUnchanged();
    void editNames();
    void editPairsMinorsByPosition();
    void editAddsAMinor();
    void editTakesTheCurrentRow();
    void editRefusedWhenPaid_data();
    void editRefusedWhenPaid();
    void editWithoutACurrentRow();
    void doubleClickOpensTheEdit_data();
    void doubleClickOpensTheEdit();

    void removeAsks();
    void removeDeclined();
    void removeSelected();
    void removeMinors();
    void removeNothing();
    void removePaidRowByHand();
    void removeEnqueuedRow();
    void removePaid();
    void removePaidDeclined();
    void removePaidFindsNobody();
    void removedPinsStayInUse();

    void expiresAtTheSecond();
    void expiryByTheTimer();
    void expiryLeavesMinorsAlone();
    void expiryPublishes();
    void agePerAction_data();
    void agePerAction();

    void seatedFamilyLeavesTogether();
    void seatedFamilyWithoutAParentSale();
    void undroppedRacers();
    void undroppedUnknowns();
    void clientNews();
    void clicksThatMeanNothing_data();
    void clicksThatMeanNothing();

private:
    std::unique_ptr<Counter> m_counter;

    HostProbe &desk() { return m_counter->desk(); }
    bool open(const QList<QJsonObject> &lines)
    {
        m_counter->seed(lines);
        return m_counter->open();
    }
    void seat(const QStringList &uuids);
};

namespace {

using JsonMatch::array;
using JsonMatch::object;

const QString AddTitle = text("Запись на заезд");
QStringList listPublished()
{
    return {QStringLiteral("local_request_answer")};
}
const QString Tickets = QStringLiteral("tickets.state");

QColor colour(const QVariant &value)
{
    if (!value.isValid())
        return {};
    return value.userType() == QMetaType::QColor ? value.value<QColor>() : value.value<QBrush>().color();
}

void fill(QDialog *dialog, const char *edit, const QString &value)
{
    auto *line = dialog->findChild<QLineEdit *>(QString::fromLatin1(edit));
    if (!line)
        qFatal("no line edit %s", edit);
    line->setText(value);
}

QString field(const QDialog *dialog, const char *edit)
{
    return dialog->findChild<QLineEdit *>(QString::fromLatin1(edit))->text();
}

QTreeView *kidsTable(const QDialog *dialog)
{
    return dialog->findChild<QTreeView *>(QStringLiteral("tvKidsList"));
}

void addKid(QDialog *dialog, const QString &last, const QString &first, const QString &mid)
{
    dialog->findChild<QAction *>(QStringLiteral("actionAddKid"))->trigger();
    QAbstractItemModel *model = kidsTable(dialog)->model();
    const int row = model->rowCount() - 1;
    model->setData(model->index(row, 1), last);
    model->setData(model->index(row, 2), first);
    model->setData(model->index(row, 3), mid);
}

void accept(QDialog *dialog)
{
    dialog->findChild<QDialogButtonBox *>(QStringLiteral("buttonBox"))->button(QDialogButtonBox::Ok)->click();
}

void reject(QDialog *dialog)
{
    dialog->findChild<QDialogButtonBox *>(QStringLiteral("buttonBox"))->button(QDialogButtonBox::Cancel)->click();
}

QStringList kidNames(const QDialog *dialog)
{
    QStringList names;
    const QAbstractItemModel *model = kidsTable(dialog)->model();
    for (int row = 0; row < model->rowCount(); ++row)
        names.append(QStringList{model->index(row, 1).data().toString(), model->index(row, 2).data().toString(),
                                 model->index(row, 3).data().toString()}
                         .join(QLatin1Char('|')));
    return names;
}

QJsonObject kid(const char *uuid, const char *lastName, const QJsonObject &more = {})
{
    return Counter::ticket(QString::fromUtf8(uuid), [&] {
        QJsonObject all{{QStringLiteral("lastName"), text(lastName)}};
        for (auto it = more.begin(); it != more.end(); ++it)
            all.insert(it.key(), it.value());
        return all;
    }());
}

QJsonObject withKids(QJsonObject line, const QJsonArray &kids)
{
    line.insert(QStringLiteral("kidsList"), kids);
    return line;
}

qint64 now()
{
    return QDateTime::currentSecsSinceEpoch();
}

QStringList uuids(const QList<QJsonObject> &lines)
{
    QStringList list;
    for (const QJsonObject &line : lines)
        list.append(line.value(QLatin1String("uuid")).toString());
    return list;
}

QStringList kidUuids(const QJsonObject &line)
{
    QStringList list;
    const QJsonArray kids = line.value(QLatin1String("kidsList")).toArray();
    for (const QJsonValue &one : kids)
        list.append(one[QLatin1String("uuid")].toString());
    return list;
}

double regTime(const QJsonObject &line)
{
    return line.value(QLatin1String("regTime")).toVariant().toDouble();
}

QString pin(const QJsonValue &item)
{
    return item[QLatin1String("pinCodes")].toArray().at(0).toString();
}

bool isPin(const QString &pin)
{
    static const QRegularExpression digits(QStringLiteral("^\\d{4}$"));
    return digits.match(pin).hasMatch();
}

} // namespace

void TestCheckInList::init()
{
    m_counter = std::make_unique<Counter>();
}

void TestCheckInList::cleanup()
{
    m_counter.reset();
}

void TestCheckInList::seat(const QStringList &uuids)
{
    QJsonArray seated;
    for (const QString &uuid : uuids)
        seated.append(QJsonObject{{QStringLiteral("uuid"), uuid}});
    QVERIFY(QMetaObject::invokeMethod(m_counter->model(), "itemsDroppedOut", Q_ARG(QJsonArray, seated)));
}

void TestCheckInList::columns_data()
{
    QTest::addColumn<int>("column");
    QTest::addColumn<QString>("caption");
    QTest::addColumn<int>("alignment");
    QTest::addColumn<int>("headerAlignment");
    QTest::addColumn<int>("width");
    const int right = Qt::AlignRight | Qt::AlignVCenter;
    const int left = Qt::AlignLeft | Qt::AlignVCenter;
    const int centre = Qt::AlignCenter;
    QTest::newRow("POS") << 0 << QStringLiteral("#") << right << centre << 60;
    QTest::newRow("NAME") << 1 << text("Имя") << left << centre << 120;
    QTest::newRow("SALES_ITEM") << 2 << text("Услуга") << left << centre << 150;
    QTest::newRow("RUNCOUNT") << 3 << text("Кол-во") << right << centre << 50;
    QTest::newRow("SAFETY") << 4 << text("ТБ") << centre << centre << 50;
    QTest::newRow("DISCOUNT") << 5 << text("Скидка") << right << centre << 60;
    QTest::newRow("PAYSUM") << 6 << text("К оплате") << right << centre << 60;
    QTest::newRow("PAYMETHOD") << 7 << text("Способ оплаты") << centre << centre << 100;
    QTest::newRow("PAYSTATE") << 8 << text("Статус") << centre << centre << 90;
    QTest::newRow("NFCTAG") << 9 << text("NFC карта") << centre << centre << 0; // hidden
    QTest::newRow("ENQUEUE") << 10 << QString() << centre << centre << 70;
    QTest::newRow("COMMENT") << 11 << text("Комментарий") << left << centre << -1; // takes what is left
}

void TestCheckInList::columns()
{
    QFETCH(int, column);
    QFETCH(QString, caption);
    QFETCH(int, alignment);
    QFETCH(int, headerAlignment);
    QFETCH(int, width);
    QVERIFY(open({withKids(Counter::ticket(QStringLiteral("{a}")), {kid("{k}", "k")})}));
    const QAbstractItemModel *model = m_counter->model();
    QCOMPARE(model->columnCount(), 12);
    QCOMPARE(model->columnCount(model->index(0, 0)), 12);
    QCOMPARE(model->headerData(column, Qt::Horizontal).toString(), caption);
    QCOMPARE(model->headerData(column, Qt::Horizontal, Qt::TextAlignmentRole).toInt(), headerAlignment);
    QVERIFY(!model->headerData(column, Qt::Vertical).isValid());
    QCOMPARE(model->index(0, column).data(Qt::TextAlignmentRole).toInt(), alignment);
    QCOMPARE(model->index(0, column, model->index(0, 0)).data(Qt::TextAlignmentRole).toInt(), alignment);
    QCOMPARE(m_counter->tree()->isColumnHidden(column), column == Counter::NfcTag);
    if (width >= 0)
        QCOMPARE(m_counter->tree()->columnWidth(column), width);
    else
        QVERIFY(m_counter->tree()->columnWidth(column) >= 200);
}

void TestCheckInList::keysOfTheCells()
{
    QVERIFY(open({withKids(Counter::ticket(QStringLiteral("{a}")), {kid("{k}", "k")})}));
    const QStringList keys{QStringLiteral("POS"),      QStringLiteral("NAME"),      QStringLiteral("SALES_ITEM"),
                           QStringLiteral("RUNCOUNT"), QStringLiteral("SAFETY"),    QStringLiteral("DISCOUNT"),
                           QStringLiteral("PAYSUM"),   QStringLiteral("PAYMETHOD"), QStringLiteral("PAYSTATE"),
                           QStringLiteral("NFCTAG"),   QStringLiteral("ENQUEUE"),   QStringLiteral("COMMENT")};
    const QAbstractItemModel *model = m_counter->model();
    for (int column = 0; column < keys.size(); ++column) {
        QCOMPARE(model->index(0, column).data(256).toString(), keys.at(column));
        QCOMPARE(model->index(0, column, model->index(0, 0)).data(256).toString(), keys.at(column));
        QCOMPARE(model->index(0, column).data(257), QVariant(0));
    }
}

void TestCheckInList::displayTexts()
{
    m_counter->stockPrices();
    QVERIFY(open({Counter::ticket(QStringLiteral("{new}")),
                  withKids(m_counter->sold(QStringLiteral("{a}"), object(R"({"lastName": "Иванов", "firstName": "Пётр",
                      "midName": "Ильич", "comment": "с другом", "nfcUid": "A1B2"})")),
                           {kid("{k1}", "Малый", object(R"({"price": 300, "runCount": 3, "firstName": "Ян"})")),
                            kid("{k2}", "Малая")}),
                  Counter::ticket(QStringLiteral("{old}"))}));
    using C = Counter;
    QCOMPARE(m_counter->shown(0, C::Pos), QStringLiteral("3"));
    QCOMPARE(m_counter->shown(1, C::Pos), QStringLiteral("2"));
    QCOMPARE(m_counter->shown(2, C::Pos), QStringLiteral("1"));
    QCOMPARE(m_counter->kidAt(1, 0, C::Pos).data().toInt(), 1);
    QCOMPARE(m_counter->kidAt(1, 1, C::Pos).data().toInt(), 2);
    QCOMPARE(m_counter->shown(1, C::Name), text("Иванов Пётр Ильич"));
    QCOMPARE(m_counter->kidAt(1, 0, C::Name).data().toString(), text("Малый Ян "));
    QCOMPARE(m_counter->shown(1, C::SalesItem), text("Взрослый"));
    QCOMPARE(m_counter->at(1, C::RunCount).data(), QVariant(2));
    QCOMPARE(m_counter->shown(1, C::PayMethod), text("Карта"));
    QCOMPARE(m_counter->shown(1, C::Comment), text("с другом"));
    QCOMPARE(m_counter->shown(1, C::NfcTag), QStringLiteral("A1B2"));
    QCOMPARE(m_counter->shown(0, C::NfcTag), text("Сканировать"));
    QCOMPARE(m_counter->at(1, C::PaySum).data().toDouble(), 1900.0);
    QCOMPARE(m_counter->kidAt(1, 0, C::PaySum).data().toDouble(), 900.0);
    QCOMPARE(m_counter->kidAt(1, 1, C::PaySum).data().toDouble(), 0.0);
    for (const C::Column column : {C::Safety, C::PayState, C::Enqueue})
        QVERIFY(!m_counter->at(1, column).data().isValid());
}

void TestCheckInList::displayOfDiscounts_data()
{
    QTest::addColumn<QString>("value");
    QTest::addColumn<QString>("shown");
    QTest::newRow("empty") << QString() << QString();
    QTest::newRow("0") << QStringLiteral("0") << QString();
    QTest::newRow("--") << QStringLiteral("--") << QString();
    QTest::newRow("percent") << QStringLiteral("10") << QStringLiteral("10%");
    QTest::newRow("fixed") << QStringLiteral("=200") << QStringLiteral("=200");
    QTest::newRow("letters") << QStringLiteral("abc") << QStringLiteral("abc%");
    QTest::newRow("00") << QStringLiteral("00") << QStringLiteral("00%");
    QTest::newRow("-") << QStringLiteral("-") << QStringLiteral("-%");
}

void TestCheckInList::displayOfDiscounts()
{
    QFETCH(QString, value);
    QFETCH(QString, shown);
    QVERIFY(open({Counter::ticket(QStringLiteral("{a}"), {{QStringLiteral("discountValue"), value}})}));
    QCOMPARE(m_counter->at(0, Counter::Discount).data().toString(), shown);
    QCOMPARE(m_counter->at(0, Counter::Discount).data(Qt::EditRole).toString(), value);
}

void TestCheckInList::editTexts()
{
    m_counter->stockPrices();
    QVERIFY(
        open({m_counter->sold(QStringLiteral("{a}"), object(R"({"comment": "с другом", "discountValue": "=10"})"))}));
    using C = Counter;
    QCOMPARE(m_counter->at(0, C::PaySum).data(Qt::EditRole).toDouble(), 500.0);
    QCOMPARE(m_counter->at(0, C::Discount).data(Qt::EditRole).toString(), QStringLiteral("=10"));
    QCOMPARE(m_counter->at(0, C::RunCount).data(Qt::EditRole), QVariant(2));
    QCOMPARE(m_counter->at(0, C::Comment).data(Qt::EditRole).toString(), text("с другом"));
    for (const C::Column column :
         {C::Pos, C::Name, C::SalesItem, C::Safety, C::PayMethod, C::PayState, C::NfcTag, C::Enqueue})
        QVERIFY(!m_counter->at(0, column).data(Qt::EditRole).isValid());
}

void TestCheckInList::colours()
{
    m_counter->stockPrices();
    QVERIFY(
        open({withKids(m_counter->sold(QStringLiteral("{a}")), {kid("{k}", "k", object(R"({"color": "#123456"})"))}),
              m_counter->sold(QStringLiteral("{b}"), object(R"({"payState": true})"))}));
    using C = Counter;
    QCOMPARE(colour(m_counter->at(0, C::SalesItem).data(Qt::BackgroundRole)), QColor(0xff, 0x80, 0));
    QCOMPARE(m_counter->at(0, C::SalesItem).data(Qt::BackgroundRole).value<QBrush>().style(), Qt::SolidPattern);
    QCOMPARE(colour(m_counter->kidAt(0, 0, C::SalesItem).data(Qt::BackgroundRole)), QColor(0x12, 0x34, 0x56));
    QCOMPARE(colour(m_counter->at(0, C::PayState).data(Qt::BackgroundRole)), QColor(Qt::red));
    QCOMPARE(colour(m_counter->at(1, C::PayState).data(Qt::BackgroundRole)), QColor(Qt::green));
    QCOMPARE(colour(m_counter->kidAt(0, 0, C::PayState).data(Qt::BackgroundRole)), QColor(Qt::transparent));
    for (const C::Column column : {C::Pos, C::Name, C::RunCount, C::PaySum, C::Comment})
        QCOMPARE(colour(m_counter->at(0, column).data(Qt::BackgroundRole)), QColor(Qt::transparent));

    QCOMPARE(colour(m_counter->kidAt(0, 0, C::PaySum).data(Qt::ForegroundRole)), QColor(Qt::gray));
    QCOMPARE(colour(m_counter->at(0, C::PayState).data(Qt::ForegroundRole)), QColor(Qt::white));
    QVERIFY(!m_counter->at(1, C::PayState).data(Qt::ForegroundRole).isValid());
    QVERIFY(!m_counter->kidAt(0, 0, C::PayState).data(Qt::ForegroundRole).isValid());
    QVERIFY(!m_counter->at(0, C::PaySum).data(Qt::ForegroundRole).isValid());
    QVERIFY(!m_counter->at(0, C::Name).data(Qt::ForegroundRole).isValid());
}

void TestCheckInList::coloursOfAnEnqueuedRow()
{
    m_counter->stockPrices();
    QVERIFY(
        open({withKids(m_counter->sold(QStringLiteral("{a}"), object(R"({"payState": true})")), {kid("{k}", "k")})}));
    seat({QStringLiteral("{a}")});
    for (int column = 0; column < Counter::ColumnCount; ++column)
        QCOMPARE(colour(m_counter->model()->index(0, column).data(Qt::BackgroundRole)), QColor(Qt::lightGray));
    QCOMPARE(colour(m_counter->kidAt(0, 0, Counter::Name).data(Qt::BackgroundRole)), QColor(Qt::transparent));
}

void TestCheckInList::itemFlags_data()
{
    QTest::addColumn<bool>("paid");
    QTest::addColumn<bool>("enqueued");
    QTest::addColumn<bool>("minor");
    QTest::addColumn<QStringList>("editable");
    const QStringList all{QStringLiteral("SALES_ITEM"), QStringLiteral("RUNCOUNT"), QStringLiteral("DISCOUNT"),
                          QStringLiteral("PAYMETHOD"), QStringLiteral("COMMENT")};
    const QStringList minors{QStringLiteral("SALES_ITEM"), QStringLiteral("RUNCOUNT"), QStringLiteral("COMMENT")};
    const QStringList comment{QStringLiteral("COMMENT")};
    QTest::newRow("unpaid") << false << false << false << all;
    QTest::newRow("paid") << true << false << false << comment;
    QTest::newRow("enqueued, unpaid") << false << true << false << comment;
    QTest::newRow("enqueued, paid") << true << true << false << comment;
    QTest::newRow("minor, unpaid") << false << false << true << minors;
    QTest::newRow("minor, paid parent") << true << false << true << comment;
    QTest::newRow("minor, enqueued, unpaid") << false << true << true << comment;
    QTest::newRow("minor, enqueued, paid parent") << true << true << true << comment;
}

void TestCheckInList::itemFlags()
{
    QFETCH(bool, paid);
    QFETCH(bool, enqueued);
    QFETCH(bool, minor);
    QFETCH(QStringList, editable);
    m_counter->stockPrices();
    // The minor's own flag says the opposite: nobody asks it.
    QVERIFY(open({withKids(m_counter->sold(QStringLiteral("{a}"), {{QStringLiteral("payState"), paid}}),
                           {kid("{k}", "k", {{QStringLiteral("payState"), !paid}}), kid("{other}", "other")})}));
    if (enqueued)
        seat({minor ? QStringLiteral("{k}") : QStringLiteral("{a}")});
    QCOMPARE(m_counter->model()->rowCount(), 1);
    QStringList found;
    for (int column = 0; column < Counter::ColumnCount; ++column) {
        const auto key = Counter::Column(column);
        const QModelIndex index = minor ? m_counter->kidAt(0, 0, key) : m_counter->at(0, key);
        const Qt::ItemFlags flags = index.flags();
        if (flags & Qt::ItemIsEditable)
            found.append(index.data(256).toString());
        QCOMPARE(bool(flags & Qt::ItemIsDragEnabled), paid);
        QVERIFY(flags & Qt::ItemIsDropEnabled);
        QVERIFY(flags & Qt::ItemIsEnabled);
        QVERIFY(flags & Qt::ItemIsSelectable);
    }
    QCOMPARE(found, editable);
}

void TestCheckInList::flagsOfNothing()
{
    QVERIFY(open({}));
    const Qt::ItemFlags flags = m_counter->model()->flags(QModelIndex());
    QVERIFY(flags & Qt::ItemIsDropEnabled);
    QVERIFY(!(flags & (Qt::ItemIsDragEnabled | Qt::ItemIsEditable)));
    QVERIFY(!m_counter->model()->data(QModelIndex()).isValid());
}

void TestCheckInList::shapeOfTheTree()
{
    QVERIFY(open({withKids(Counter::ticket(QStringLiteral("{a}")), {kid("{k1}", "k1"), kid("{k2}", "k2")}),
                  Counter::ticket(QStringLiteral("{b}"))}));
    const QAbstractItemModel *model = m_counter->model();
    QCOMPARE(model->rowCount(), 2);
    QCOMPARE(model->rowCount(model->index(0, 0)), 2);
    QCOMPARE(model->rowCount(model->index(1, 0)), 0);
    const QModelIndex minor = m_counter->kidAt(0, 1, Counter::Name);
    QCOMPARE(model->rowCount(minor.sibling(minor.row(), 0)), 0);
    QCOMPARE(minor.parent(), model->index(0, 0));
    QVERIFY(!model->index(0, 0).parent().isValid());
    QVERIFY(m_counter->tree()->isExpanded(model->index(0, 0)));
}

void TestCheckInList::pressBits()
{
    QVERIFY(open({withKids(Counter::ticket(QStringLiteral("{a}")), {kid("{k}", "k")})}));
    QAbstractItemModel *model = m_counter->model();
    QVERIFY(model->setData(m_counter->at(0, Counter::Safety), 4, 257));
    QCOMPARE(m_counter->at(0, Counter::Safety).data(257).toInt(), 4);
    QCOMPARE(m_counter->at(0, Counter::Enqueue).data(257).toInt(), 0);
    QCOMPARE(m_counter->kidAt(0, 0, Counter::Safety).data(257).toInt(), 0);
    QVERIFY(model->setData(m_counter->kidAt(0, 0, Counter::Enqueue), 4, 257));
    QCOMPARE(m_counter->kidAt(0, 0, Counter::Enqueue).data(257).toInt(), 4);
    QCOMPARE(m_counter->at(0, Counter::Enqueue).data(257).toInt(), 0);
    QCOMPARE(desk().names(), QStringList());
}

void TestCheckInList::setDataThatDoesNothing()
{
    m_counter->stockPrices();
    QVERIFY(open({m_counter->sold(QStringLiteral("{a}"))}));
    const QJsonObject before = m_counter->line(0);
    QAbstractItemModel *model = m_counter->model();
    using C = Counter;
    for (const C::Column column :
         {C::Pos, C::Name, C::SalesItem, C::Safety, C::Discount, C::PayMethod, C::PayState, C::NfcTag, C::Enqueue})
        QVERIFY(!model->setData(m_counter->at(0, column), QStringLiteral("7")));
    for (const int role : {int(Qt::DisplayRole), int(Qt::UserRole), int(Qt::BackgroundRole)})
        QVERIFY(!model->setData(m_counter->at(0, C::RunCount), 7, role));
    QVERIFY(!model->setData(QModelIndex(), 7));
    QCOMPARE(desk().names(), QStringList());
    JSON_COMPARE(m_counter->line(0), before);
    QCOMPARE(m_counter->paymentCount(), 0);
}

// The sum cell has no editor; who writes to it sets the price of one run.
void TestCheckInList::priceThroughTheModel()
{
    m_counter->stockPrices();
    QVERIFY(open({m_counter->sold(QStringLiteral("{a}"), {{QStringLiteral("regTime"), now() - 100}})}));
    QVERIFY(!m_counter->model()->setData(m_counter->at(0, Counter::PaySum), 120.5));
    QCOMPARE(desk().names(), QStringList());
    JSON_CONTAINS(m_counter->line(0), object(R"({"price": 120.5, "paySum": 241, "regTime": 0})"));
}

void TestCheckInList::addByHand()
{
    QVERIFY(open({Counter::ticket(QStringLiteral("{old}"))}));
    m_counter->track().removeJournal(Tickets);
    const qint64 before = now();
    const ModalAnswer answer = ModalAnswer::dialog(AddTitle, [](QDialog *dialog) {
        QVERIFY(!(dialog->windowFlags() & Qt::WindowContextHelpButtonHint));
        QCOMPARE(field(dialog, "leLastName") + field(dialog, "leFirstName") + field(dialog, "leMidName"), QString());
        QCOMPARE(kidsTable(dialog)->model()->rowCount(), 0);
        fill(dialog, "leLastName", text("Иванов"));
        fill(dialog, "leFirstName", text("Пётр"));
        fill(dialog, "leMidName", text("Ильич"));
        accept(dialog);
    });
    m_counter->push("bAddRacer");
    MODAL_VERIFY(answer);

    QCOMPARE(m_counter->model()->rowCount(), 2);
    QCOMPARE(m_counter->shown(0, Counter::Name), text("Иванов Пётр Ильич"));
    QCOMPARE(m_counter->shown(0, Counter::Pos), QStringLiteral("2"));
    QCOMPARE(desk().names(), listPublished());
    QCOMPARE(desk().last(QStringLiteral("local_request_answer")).keys(), QStringList{QStringLiteral("checkInList")});
    const QJsonArray list = m_counter->published();
    QCOMPARE(list.size(), 2);
    QJsonObject racer = list.at(0).toObject();
    QVERIFY(isPin(pin(racer)));
    QVERIFY(!QUuid(racer.value(QLatin1String("uuid")).toString()).isNull());
    QCOMPARE(racer.value(QLatin1String("uuid")).toString().size(), 38);
    // The line is published as it enters the list; that it does not age is noted afterwards.
    QVERIFY(regTime(racer) >= before && regTime(racer) <= now());
    QCOMPARE(racer.value(QLatin1String("pinCodes")).toArray().size(), 1);
    for (const char *checked : {"uuid", "pinCodes", "regTime"})
        racer.remove(QLatin1String(checked));
    JSON_COMPARE(racer, object(R"({"firstName": "Пётр", "lastName": "Иванов", "midName": "Ильич", "name": "Иванов Пётр",
        "salesItem": "", "salesId": -1, "salesCommonId": -1, "priceType": -1, "carModel": "", "carNum": "", "carId": -1,
        "paySum": 0, "price": 0, "discountValue": "0", "color": "#00000000", "payMethod": "", "payState": false,
        "nfcUid": "", "validSafetyAgreement": false, "clientId": -1, "runCount": 0, "comment": "", "subItems": []})"));
    QVERIFY(m_counter->track().hasJournal(Tickets));
    QCOMPARE(m_counter->stored().size(), 2);
    JSON_CONTAINS(m_counter->stored().at(0), object(R"({"lastName": "Иванов", "color": "#ffffff"})"));
}

void TestCheckInList::addWithMinors()
{
    QVERIFY(open({}));
    const ModalAnswer answer = ModalAnswer::dialog(AddTitle, [](QDialog *dialog) {
        fill(dialog, "leLastName", text("Иванов"));
        addKid(dialog, text("Малый"), text("Ян"), text("Петрович"));
        addKid(dialog, text("Малая"), text("Ия"), text("Петровна"));
        accept(dialog);
    });
    m_counter->trigger("actionAddRacer");
    MODAL_VERIFY(answer);
    QCOMPARE(desk().names(), listPublished());
    const QModelIndex racer = m_counter->model()->index(0, 0);
    QCOMPARE(m_counter->model()->rowCount(racer), 2);
    QVERIFY(m_counter->tree()->isExpanded(racer));
    QCOMPARE(m_counter->kidAt(0, 0, Counter::Name).data().toString(), text("Малый Ян Петрович"));
    QCOMPARE(m_counter->kidAt(0, 1, Counter::Name).data().toString(), text("Малая Ия Петровна"));

    const QJsonObject parent = m_counter->published().at(0).toObject();
    const QJsonArray kids = parent.value(QLatin1String("subItems")).toArray();
    QCOMPARE(kids.size(), 2);
    QStringList pins{pin(parent)};
    QStringList ids{parent.value(QLatin1String("uuid")).toString()};
    for (const QJsonValue &one : kids) {
        JSON_CONTAINS(one, object(R"({"runCount": 0, "clientId": -1, "regTime": 0, "salesId": -1, "color": "#00000000",
            "parentLastName": "Иванов", "parentFirstName": "", "parentMidName": ""})"));
        QCOMPARE(one[QLatin1String("parentUuid")], parent.value(QLatin1String("uuid")));
        QVERIFY(!one.toObject().contains(QLatin1String("subItems")));
        QCOMPARE(one[QLatin1String("pinCodes")].toArray().size(), 1);
        QVERIFY(isPin(pin(one)));
        pins.append(pin(one));
        ids.append(one[QLatin1String("uuid")].toString());
        QVERIFY(!QUuid(ids.last()).isNull());
    }
    QCOMPARE(pins.removeDuplicates(), 0);
    QCOMPARE(ids.removeDuplicates(), 0);
}

void TestCheckInList::addCancelled()
{
    QVERIFY(open({Counter::ticket(QStringLiteral("{old}"))}));
    m_counter->track().removeJournal(Tickets);
    const ModalAnswer answer = ModalAnswer::dialog(AddTitle, [](QDialog *dialog) {
        fill(dialog, "leLastName", text("Иванов"));
        reject(dialog);
    });
    m_counter->push("bAddRacer");
    MODAL_VERIFY(answer);
    QCOMPARE(m_counter->model()->rowCount(), 1);
    QCOMPARE(desk().names(), QStringList());
    QVERIFY(!m_counter->track().hasJournal(Tickets));
}

void TestCheckInList::addWithoutAName()
{
    QVERIFY(open({}));
    const ModalAnswer answer = ModalAnswer::dialog(AddTitle, accept);
    m_counter->push("bAddRacer");
    MODAL_VERIFY(answer);
    QCOMPARE(m_counter->model()->rowCount(), 1);
    JSON_CONTAINS(m_counter->line(0), object(R"({"lastName": "", "firstName": "", "midName": "", "name": " "})"));
}

void TestCheckInList::addedRacerDoesNotAge()
{
    QVERIFY(open({}));
    const ModalAnswer answer = ModalAnswer::dialog(AddTitle, accept);
    m_counter->push("bAddRacer");
    MODAL_VERIFY(answer);
    QCOMPARE(regTime(m_counter->line(0)), 0.0);
}

void TestCheckInList::addAndPrintTheForm()
{
    QVERIFY(open({}));
    const ModalAnswer answer = ModalAnswer::dialog(AddTitle, [](QDialog *dialog) {
        fill(dialog, "leLastName", text("Иванов"));
        auto *button = dialog->findChild<QPushButton *>(QStringLiteral("pushButton"));
        QCOMPARE(button->text(), text("Печать бланка"));
        button->click();
    });
    m_counter->push("bAddRacer");
    MODAL_VERIFY(answer);
    QCOMPARE(m_counter->model()->rowCount(), 1);
    QCOMPARE(regTime(m_counter->line(0)), 0.0);
}

void TestCheckInList::addedRacerSellsNothing()
{
    m_counter->stockPrices();
    QVERIFY(open({}));
    m_counter->sendCars();
    const ModalAnswer answer = ModalAnswer::dialog(AddTitle, accept);
    m_counter->push("bAddRacer");
    MODAL_VERIFY(answer);
    QCOMPARE(m_counter->at(0, Counter::RunCount).data(), QVariant(0));
    QVERIFY(m_counter->type(m_counter->at(0, Counter::RunCount), QStringLiteral("5")));
    QCOMPARE(m_counter->at(0, Counter::RunCount).data(), QVariant(0));
    QVERIFY(m_counter->pick(m_counter->at(0, Counter::SalesItem), text("Взрослый")));
    QCOMPARE(m_counter->at(0, Counter::RunCount).data(), QVariant(1));
    QVERIFY(m_counter->type(m_counter->at(0, Counter::RunCount), QStringLiteral("5")));
    QCOMPARE(m_counter->at(0, Counter::RunCount).data(), QVariant(5));
}

void TestCheckInList::normalisedNames_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("kept");
    QTest::newRow("mixed case, double blanks") << text("  иВАНОВ   пЕТРОВ ") << text("Иванов Петров");
    QTest::newRow("hyphen") << text("РИМСКИЙ-корсаков") << text("Римский-корсаков");
    QTest::newRow("latin") << text("mcDONALD") << text("Mcdonald");
    QTest::newRow("one letter") << text("я") << text("Я");
    QTest::newRow("blanks") << text("   ") << QString();
    QTest::newRow("digits") << text("3й ЭТАЖ") << text("3й Этаж");
    QTest::newRow("yo") << text("ёЛКИН") << text("Ёлкин");
}

void TestCheckInList::normalisedNames()
{
    QFETCH(QString, typed);
    QFETCH(QString, kept);
    QVERIFY(open({}));
    const ModalAnswer answer = ModalAnswer::dialog(AddTitle, [=](QDialog *dialog) {
        for (const char *edit : {"leLastName", "leFirstName", "leMidName"})
            fill(dialog, edit, typed);
        addKid(dialog, typed, typed, typed);
        accept(dialog);
    });
    m_counter->push("bAddRacer");
    MODAL_VERIFY(answer);
    const QJsonObject names{{QStringLiteral("lastName"), kept},
                            {QStringLiteral("firstName"), kept},
                            {QStringLiteral("midName"), kept},
                            {QStringLiteral("name"), kept + QLatin1Char(' ') + kept}};
    const QJsonObject parent = m_counter->published().at(0).toObject();
    JSON_CONTAINS(parent, names);
    JSON_CONTAINS(parent.value(QLatin1String("subItems")).toArray().at(0), names);
}

void TestCheckInList::minorsTableOfTheForm()
{
    QVERIFY(open({}));
    const ModalAnswer answer = ModalAnswer::dialog(AddTitle, [](QDialog *dialog) {
        QTreeView *table = kidsTable(dialog);
        QCOMPARE(table->metaObject()->className(), "QEditableTreeView");
        QCOMPARE(table->contextMenuPolicy(), Qt::ActionsContextMenu);
        QVERIFY(!table->rootIsDecorated());
        QVERIFY(table->uniformRowHeights());
        QVERIFY(!table->itemsExpandable());
        QVERIFY(!table->header()->stretchLastSection());
        QStringList actions;
        const QList<QAction *> all = table->actions();
        for (const QAction *action : all)
            actions.append(action->text());
        QCOMPARE(actions, (QStringList{text("Добавить"), text("Удалить")}));
        QStringList labels;
        const QList<QLabel *> found = dialog->findChildren<QLabel *>();
        for (const QLabel *label : found)
            labels.append(label->text());
        for (const char *label : {"Фамилия", "Имя", "Отчество", "Несовершеннолетние\nучастники"})
            QVERIFY2(labels.contains(text(label)), label);

        addKid(dialog, text(" малЫЙ"), text("Ян"), QString());
        QAbstractItemModel *model = table->model();
        QCOMPARE(model->columnCount(), 4);
        const QStringList captions{QStringLiteral("#"), text("Фамилия"), text("Имя"), text("Отчество")};
        const QList<int> widths{40, 100, 100, 100};
        for (int column = 0; column < 4; ++column) {
            QCOMPARE(model->headerData(column, Qt::Horizontal).toString(), captions.at(column));
            QCOMPARE(table->columnWidth(column), widths.at(column));
            const int alignment = model->index(0, column).data(Qt::TextAlignmentRole).toInt();
            QVERIFY(alignment & (column == 0 ? Qt::AlignRight : Qt::AlignLeft));
            QCOMPARE(model->headerData(column, Qt::Horizontal, Qt::TextAlignmentRole).toInt(), alignment);
            QCOMPARE(bool(model->flags(model->index(0, column)) & Qt::ItemIsEditable), column != 0);
        }
        QCOMPARE(model->index(0, 0).data().toInt(), 1);
        QCOMPARE(model->index(0, 0).data(Qt::EditRole).toInt(), 1);
        QCOMPARE(model->index(0, 1).data().toString(), text(" малЫЙ"));
        QCOMPARE(model->index(0, 1).data(Qt::EditRole).toString(), text(" малЫЙ"));
        QVERIFY(model->setData(model->index(0, 3), text("Х")));
        QVERIFY(!model->setData(model->index(0, 3), text("Ц"), Qt::DisplayRole));
        QCOMPARE(model->index(0, 3).data().toString(), text("Х"));
        QCOMPARE(model->rowCount(model->index(0, 0)), 0);
        reject(dialog);
    });
    m_counter->push("bAddRacer");
    MODAL_VERIFY(answer);
}

void TestCheckInList::minorTypedIntoTheForm()
{
    QVERIFY(open({}));
    const ModalAnswer answer = ModalAnswer::dialog(AddTitle, [](QDialog *dialog) {
        dialog->findChild<QAction *>(QStringLiteral("actionAddKid"))->trigger();
        QTreeView *table = kidsTable(dialog);
        QCOMPARE(table->currentIndex().row(), 0);
        QCOMPARE(table->currentIndex().column(), 1);
        auto *line = table->viewport()->findChild<QLineEdit *>();
        QVERIFY(line && line->isVisible());
        QTest::sendKeyEvent(QTest::Click, line, Qt::Key_unknown, text("Малый"), Qt::NoModifier);
        QTest::keyClick(line, Qt::Key_Return);
        QCoreApplication::processEvents();
        QVERIFY2(dialog->isVisible(), "Return in the minor's name closed the form");
        QCOMPARE(kidNames(dialog), QStringList{text("Малый||")});

        // A name that is still being typed counts when the form is accepted.
        dialog->findChild<QAction *>(QStringLiteral("actionAddKid"))->trigger();
        line = nullptr;
        const QList<QLineEdit *> lines = table->viewport()->findChildren<QLineEdit *>();
        for (QLineEdit *one : lines) {
            if (one->isVisible())
                line = one;
        }
        QVERIFY(line);
        QTest::sendKeyEvent(QTest::Click, line, Qt::Key_unknown, text("Малая"), Qt::NoModifier);
        dialog->findChild<QDialogButtonBox *>(QStringLiteral("buttonBox"))->button(QDialogButtonBox::Ok)->setFocus();
        accept(dialog);
    });
    m_counter->push("bAddRacer");
    MODAL_VERIFY(answer);
    QCOMPARE(m_counter->kidAt(0, 0, Counter::Name).data().toString(), text("Малый  "));
    QCOMPARE(m_counter->kidAt(0, 1, Counter::Name).data().toString(), text("Малая  "));
}

void TestCheckInList::minorsRemovedInTheForm()
{
    QVERIFY(open({}));
    const ModalAnswer form = ModalAnswer::dialog(AddTitle, [](QDialog *dialog) {
        for (const char *name : {"А", "Б", "В", "Г", "Д"})
            addKid(dialog, text(name), QString(), QString());
        // Without a selection nothing is asked.
        QTreeView *table = kidsTable(dialog);
        table->selectionModel()->clear();
        dialog->findChild<QAction *>(QStringLiteral("actionRemoveKid"))->trigger();
        QCOMPARE(table->model()->rowCount(), 5);

        for (const int row : {1, 3})
            table->selectionModel()->select(table->model()->index(row, 0),
                                            QItemSelectionModel::Select | QItemSelectionModel::Rows);
        const ModalAnswer question = ModalAnswer::messageBox(text("Подтверждение"), text("Точно удалить?"),
                                                             QMessageBox::Yes | QMessageBox::No, QMessageBox::Yes);
        dialog->findChild<QAction *>(QStringLiteral("actionRemoveKid"))->trigger();
        MODAL_VERIFY(question);
        QCOMPARE(kidNames(dialog), (QStringList{text("А||"), text("В||"), text("Д||")}));
        accept(dialog);
    });
    m_counter->push("bAddRacer");
    MODAL_VERIFY(form);
    QCOMPARE(m_counter->model()->rowCount(m_counter->model()->index(0, 0)), 3);
}

void TestCheckInList::minorRemovalDeclined()
{
    QVERIFY(open({}));
    const ModalAnswer form = ModalAnswer::dialog(AddTitle, [](QDialog *dialog) {
        addKid(dialog, text("А"), QString(), QString());
        kidsTable(dialog)->selectAll();
        const ModalAnswer question = ModalAnswer::messageBox(text("Подтверждение"), text("Точно удалить?"),
                                                             QMessageBox::Yes | QMessageBox::No, QMessageBox::No);
        dialog->findChild<QAction *>(QStringLiteral("actionRemoveKid"))->trigger();
        MODAL_VERIFY(question);
        QCOMPARE(kidNames(dialog), QStringList{text("А||")});
        reject(dialog);
    });
    m_counter->push("bAddRacer");
    MODAL_VERIFY(form);
}

void TestCheckInList::editShowsTheFamily()
{
    QVERIFY(open(
        {Counter::ticket(QStringLiteral("{z}")),
         withKids(Counter::ticket(QStringLiteral("{a}"),
                                  object(R"({"lastName": "Иванов", "firstName": "Пётр", "midName": "Ильич"})")),
                  {kid("{k1}", "Малый", object(R"({"firstName": "Ян", "midName": "П"})")), kid("{k2}", "Малая")})}));
    const ModalAnswer answer = ModalAnswer::dialog(AddTitle, [](QDialog *dialog) {
        QCOMPARE(field(dialog, "leLastName"), text("Иванов"));
        QCOMPARE(field(dialog, "leFirstName"), text("Пётр"));
        QCOMPARE(field(dialog, "leMidName"), text("Ильич"));
        QCOMPARE(kidNames(dialog), (QStringList{text("Малый|Ян|П"), text("Малая||")}));
        reject(dialog);
    });
    m_counter->tree()->setCurrentIndex(m_counter->at(1, Counter::Comment));
    m_counter->trigger("actionEditRacer");
    MODAL_VERIFY(answer);
}

void TestCheckInList::editFromAMinor()
{
    QVERIFY(open({Counter::ticket(QStringLiteral("{z}")),
                  withKids(Counter::ticket(QStringLiteral("{a}")), {kid("{k1}", "Малый"), kid("{k2}", "Малая")})}));
    const ModalAnswer answer = ModalAnswer::dialog(AddTitle, [](QDialog *dialog) {
        QCOMPARE(field(dialog, "leLastName"), QStringLiteral("{a}"));
        QCOMPARE(kidNames(dialog), (QStringList{text("Малый||"), text("Малая||")}));
        fill(dialog, "leLastName", text("Новый"));
        accept(dialog);
    });
    m_counter->tree()->setCurrentIndex(m_counter->kidAt(1, 1, Counter::Pos));
    m_counter->trigger("actionEditRacer");
    MODAL_VERIFY(answer);
    QCOMPARE(m_counter->shown(1, Counter::Name), text("Новый  "));
    QCOMPARE(m_counter->shown(0, Counter::Name), QStringLiteral("{z}  "));
    QCOMPARE(m_counter->kidAt(1, 1, Counter::Name).data().toString(), text("Малая  "));
}

void TestCheckInList::editCancelled()
{
    const qint64 age = now() - 100;
    QVERIFY(open(
        {withKids(Counter::ticket(QStringLiteral("{a}"), {{QStringLiteral("regTime"), age}}), {kid("{k}", "k")})}));
    m_counter->track().removeJournal(Tickets);
    const ModalAnswer answer = ModalAnswer::dialog(AddTitle, [](QDialog *dialog) {
        fill(dialog, "leLastName", text("Новый"));
        QAbstractItemModel *kids = kidsTable(dialog)->model();
        kids->setData(kids->index(0, 1), text("Другой"));
        reject(dialog);
    });
    m_counter->tree()->setCurrentIndex(m_counter->at(0, Counter::Name));
    m_counter->trigger("actionEditRacer");
    MODAL_VERIFY(answer);
    QCOMPARE(desk().names(), QStringList());
    QVERIFY(!m_counter->track().hasJournal(Tickets));
    const QJsonObject line = m_counter->line(0);
    QCOMPARE(regTime(line), double(age));
    JSON_CONTAINS(line, object(R"({"lastName": "{a}", "kidsList": [{"lastName": "k"}]})"));
}

void TestCheckInList::editUnchanged()
{
    m_counter->stockPrices();
    QVERIFY(open({withKids(m_counter->sold(QStringLiteral("{a}"), {{QStringLiteral("regTime"), now() - 100},
                                                                   {QStringLiteral("lastName"), text("Иванов")}}),
                           {kid("{k}", "Малый", object(R"({"price": 300, "runCount": 1, "pinCodes": ["0202"]})"))})}));
    const QJsonObject before = m_counter->line(0);
    m_counter->track().removeJournal(Tickets);
    QSignalSpy layout(m_counter->model(),
                      SIGNAL(layoutChanged(QList<QPersistentModelIndex>, QAbstractItemModel::LayoutChangeHint)));
    const ModalAnswer answer = ModalAnswer::dialog(AddTitle, accept);
    m_counter->tree()->setCurrentIndex(m_counter->at(0, Counter::Name));
    m_counter->trigger("actionEditRacer");
    MODAL_VERIFY(answer);
    QVERIFY(layout.count() > 0);
    QCOMPARE(desk().names(), listPublished());
    QVERIFY(m_counter->track().hasJournal(Tickets));
    QJsonObject expected = before;
    expected.insert(QStringLiteral("regTime"), 0);
    JSON_COMPARE(m_counter->stored().at(0), expected);
    QJsonObject published = m_counter->published().at(0).toObject();
    JSON_CONTAINS(published, object(R"({"uuid": "{a}", "regTime": 0})"));
}

void TestCheckInList::editNames()
{
    QVERIFY(open({withKids(Counter::ticket(QStringLiteral("{a}")), {kid("{k}", "k")})}));
    const ModalAnswer answer = ModalAnswer::dialog(AddTitle, [](QDialog *dialog) {
        fill(dialog, "leLastName", text("  иВАНОВ   пЕТРОВ "));
        fill(dialog, "leFirstName", text("АННА  мария"));
        fill(dialog, "leMidName", text("я"));
        QAbstractItemModel *kids = kidsTable(dialog)->model();
        kids->setData(kids->index(0, 1), text(" мАЛЫЙ  кот"));
        kids->setData(kids->index(0, 2), text("яН"));
        kids->setData(kids->index(0, 3), text("пЕТРОВИЧ "));
        accept(dialog);
    });
    m_counter->tree()->setCurrentIndex(m_counter->at(0, Counter::Name));
    m_counter->trigger("actionEditRacer");
    MODAL_VERIFY(answer);
    JSON_CONTAINS(m_counter->published(),
                  array(R"([{"lastName": "Иванов Петров", "firstName": "Анна Мария", "midName": "Я",
        "subItems": [{"lastName": " мАЛЫЙ  кот", "firstName": "яН", "midName": "пЕТРОВИЧ ", "uuid": "{k}",
                      "parentLastName": "Иванов Петров"}]}])"));
}

// Without the first of three minors the others move up: the first entry is renamed twice and the last one goes, with its
// sale and its code.
void TestCheckInList::editPairsMinorsByPosition()
{
    m_counter->stockPrices();
    QVERIFY(open({withKids(
        Counter::ticket(QStringLiteral("{a}")),
        {kid("{k1}", "А", object(R"({"price": 100, "runCount": 1, "pinCodes": ["0001"], "comment": "1"})")),
         kid("{k2}", "Б", object(R"({"price": 200, "runCount": 1, "pinCodes": ["0002"], "comment": "2"})")),
         kid("{k3}", "В", object(R"({"price": 400, "runCount": 1, "pinCodes": ["0003"], "comment": "3"})"))})}));
    QCOMPARE(m_counter->at(0, Counter::PaySum).data().toDouble(), 700.0);
    const ModalAnswer answer = ModalAnswer::dialog(AddTitle, [](QDialog *dialog) {
        QTreeView *table = kidsTable(dialog);
        table->selectionModel()->select(table->model()->index(0, 0),
                                        QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
        const ModalAnswer question = ModalAnswer::messageBox(text("Подтверждение"), text("Точно удалить?"),
                                                             QMessageBox::Yes | QMessageBox::No, QMessageBox::Yes);
        dialog->findChild<QAction *>(QStringLiteral("actionRemoveKid"))->trigger();
        MODAL_VERIFY(question);
        accept(dialog);
    });
    m_counter->tree()->setCurrentIndex(m_counter->at(0, Counter::Name));
    m_counter->trigger("actionEditRacer");
    MODAL_VERIFY(answer);
    QCOMPARE(desk().names(), listPublished());
    QCOMPARE(m_counter->model()->rowCount(m_counter->model()->index(0, 0)), 2);
    JSON_CONTAINS(m_counter->line(0), object(R"({"kidsList": [
        {"uuid": "{k2}", "lastName": "Б", "price": 100, "pinCodes": ["0001"], "comment": "1"},
        {"uuid": "{k3}", "lastName": "В", "price": 200, "pinCodes": ["0002"], "comment": "2"}]})"));
}

void TestCheckInList::editAddsAMinor()
{
    QVERIFY(open(
        {withKids(Counter::ticket(QStringLiteral("{a}"), object(R"({"lastName": "Иванов"})")), {kid("{k}", "k")})}));
    const ModalAnswer answer = ModalAnswer::dialog(AddTitle, [](QDialog *dialog) {
        addKid(dialog, text("мАЛЫЙ"), text("яН"), QString());
        accept(dialog);
    });
    m_counter->tree()->setCurrentIndex(m_counter->at(0, Counter::Name));
    m_counter->trigger("actionEditRacer");
    MODAL_VERIFY(answer);
    QCOMPARE(desk().names(), listPublished());
    const QJsonArray kids = m_counter->published().at(0)[QLatin1String("subItems")].toArray();
    QCOMPARE(kids.size(), 2);
    JSON_CONTAINS(kids.at(1),
                  object(R"({"lastName": "мАЛЫЙ", "firstName": "яН", "runCount": 0, "regTime": 0, "clientId": -1,
        "salesId": -1, "salesItem": "", "parentUuid": "{a}", "parentLastName": "Иванов", "payState": false})"));
    QCOMPARE(kids.at(1)[QLatin1String("pinCodes")].toArray().size(), 1);
    QVERIFY(isPin(pin(kids.at(1))));
    QVERIFY(!QUuid(kids.at(1)[QLatin1String("uuid")].toString()).isNull());
    QCOMPARE(m_counter->kidAt(0, 1, Counter::Pos).data().toInt(), 2);
}

// A second click counts for the line that the press before has made current.
void TestCheckInList::editTakesTheCurrentRow()
{
    QVERIFY(open({Counter::ticket(QStringLiteral("{a}")), Counter::ticket(QStringLiteral("{b}"))}));
    const auto edited = [this](const QModelIndex &clicked) {
        QString name;
        const ModalAnswer answer = ModalAnswer::dialog(AddTitle, [&name](QDialog *dialog) {
            name = field(dialog, "leLastName");
            reject(dialog);
        });
        QMetaObject::invokeMethod(m_counter->desk().tab(), "checkIn_doubleClicked", Q_ARG(QModelIndex, clicked));
        return name;
    };
    m_counter->tree()->setCurrentIndex(m_counter->at(0, Counter::Name));
    QCOMPARE(edited(m_counter->at(1, Counter::Name)), QStringLiteral("{a}"));
    m_counter->tree()->setCurrentIndex(m_counter->at(1, Counter::Name));
    QCOMPARE(edited(m_counter->at(1, Counter::Comment)), QStringLiteral("{b}"));
}

void TestCheckInList::editRefusedWhenPaid_data()
{
    QTest::addColumn<bool>("minor");
    QTest::newRow("on the racer") << false;
    QTest::newRow("on a minor") << true;
}

void TestCheckInList::editRefusedWhenPaid()
{
    QFETCH(bool, minor);
    m_counter->stockPrices();
    const qint64 age = now() - 100;
    QVERIFY(open({withKids(m_counter->sold(QStringLiteral("{a}"),
                                           {{QStringLiteral("payState"), true}, {QStringLiteral("regTime"), age}}),
                           {kid("{k}", "k")})}));
    BoxFacts facts;
    const ModalAnswer answer = answerBox(&facts, QMessageBox::Ok);
    m_counter->tree()->setCurrentIndex(minor ? m_counter->kidAt(0, 0, Counter::Name) : m_counter->at(0, Counter::Name));
    m_counter->trigger("actionEditRacer");
    MODAL_VERIFY(answer);
    QCOMPARE(facts.title, text("Ошибка"));
    QCOMPARE(facts.text, text("Редактирование недоступно при состоянии оплаты \"Оплачен\""));
    QCOMPARE(facts.icon, int(QMessageBox::Warning));
    QCOMPARE(facts.buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
    QCOMPARE(desk().names(), QStringList());
    QCOMPARE(regTime(m_counter->line(0)), double(age));
}

void TestCheckInList::editWithoutACurrentRow()
{
    QVERIFY(open({}));
    m_counter->trigger("actionEditRacer");
    QVERIFY(QMetaObject::invokeMethod(desk().tab(), "checkIn_doubleClicked", Q_ARG(QModelIndex, QModelIndex())));
    QCOMPARE(desk().names(), QStringList());
}

void TestCheckInList::doubleClickOpensTheEdit_data()
{
    QTest::addColumn<int>("column");
    QTest::addColumn<bool>("minor");
    QTest::addColumn<bool>("opens");
    QTest::newRow("POS") << int(Counter::Pos) << false << true;
    QTest::newRow("NAME") << int(Counter::Name) << false << true;
    QTest::newRow("POS of a minor") << int(Counter::Pos) << true << true;
    QTest::newRow("NAME of a minor") << int(Counter::Name) << true << true;
    QTest::newRow("PAYSUM") << int(Counter::PaySum) << false << false;
    QTest::newRow("SAFETY") << int(Counter::Safety) << false << false;
    QTest::newRow("ENQUEUE") << int(Counter::Enqueue) << false << false;
    QTest::newRow("COMMENT") << int(Counter::Comment) << false << false;
    QTest::newRow("SALES_ITEM") << int(Counter::SalesItem) << false << false;
}

void TestCheckInList::doubleClickOpensTheEdit()
{
    QFETCH(int, column);
    QFETCH(bool, minor);
    QFETCH(bool, opens);
    QVERIFY(open({withKids(Counter::ticket(QStringLiteral("{a}")), {kid("{k}", "k")})}));
    QString shown;
    const ModalAnswer answer = ModalAnswer::widget([&](QWidget *widget) {
        shown = widget->windowTitle();
        if (auto *dialog = qobject_cast<QDialog *>(widget))
            shown += QLatin1Char(' ') + field(dialog, "leLastName");
        widget->close();
    });
    const auto key = Counter::Column(column);
    m_counter->doubleClick(minor ? m_counter->kidAt(0, 0, key) : m_counter->at(0, key));
    HostProbe::settle();
    QCOMPARE(shown.startsWith(AddTitle), opens);
    if (opens)
        QCOMPARE(shown, AddTitle + QLatin1String(" {a}"));
}

void TestCheckInList::removeAsks()
{
    QVERIFY(open({Counter::ticket(QStringLiteral("{a}"))}));
    const QPoint spot(70, 90);
    for (const char *way : {"bRemoveRacerFromList", "actionRemoveRacer"}) {
        QCursor::setPos(spot);
        m_counter->tree()->selectAll();
        BoxFacts facts;
        const ModalAnswer answer = answerBox(&facts, QMessageBox::No);
        if (way[0] == 'b')
            m_counter->push(way);
        else
            m_counter->trigger(way);
        MODAL_VERIFY(answer);
        QCOMPARE(facts.title, text("Подтверждение"));
        QCOMPARE(facts.text, text("Точно удалить?"));
        QCOMPARE(facts.icon, int(QMessageBox::Warning));
        QCOMPARE(facts.buttons, QMessageBox::Yes | QMessageBox::No);
        QCOMPARE(facts.position, spot);
    }
}

void TestCheckInList::removeDeclined()
{
    QVERIFY(open({Counter::ticket(QStringLiteral("{a}"))}));
    m_counter->track().removeJournal(Tickets);
    m_counter->tree()->selectAll();
    BoxFacts facts;
    const ModalAnswer answer = answerBox(&facts, QMessageBox::No);
    m_counter->push("bRemoveRacerFromList");
    MODAL_VERIFY(answer);
    QCOMPARE(m_counter->model()->rowCount(), 1);
    QCOMPARE(desk().names(), QStringList());
    QVERIFY(!m_counter->track().hasJournal(Tickets));
}

void TestCheckInList::removeSelected()
{
    QVERIFY(open({Counter::ticket(QStringLiteral("{a}")),
                  withKids(Counter::ticket(QStringLiteral("{b}")), {kid("{k1}", "k1"), kid("{k2}", "k2")}),
                  Counter::ticket(QStringLiteral("{c}")), Counter::ticket(QStringLiteral("{d}"))}));
    m_counter->track().removeJournal(Tickets);
    // A racer, a minor of hers and another racer.
    QItemSelectionModel *selection = m_counter->tree()->selectionModel();
    const auto take = [&](const QModelIndex &index) {
        selection->select(index, QItemSelectionModel::Select | QItemSelectionModel::Rows);
    };
    take(m_counter->at(3, Counter::Pos));
    take(m_counter->kidAt(1, 1, Counter::Pos));
    take(m_counter->at(1, Counter::Pos));
    BoxFacts facts;
    const ModalAnswer answer = answerBox(&facts, QMessageBox::Yes);
    m_counter->push("bRemoveRacerFromList");
    MODAL_VERIFY(answer);
    QCOMPARE(desk().names(), listPublished());
    JSON_CONTAINS(m_counter->published(), array(R"([{"uuid": "{a}"}, {"uuid": "{c}"}])"));
    QVERIFY(m_counter->track().hasJournal(Tickets));
    QCOMPARE(uuids(m_counter->stored()), (QStringList{QStringLiteral("{a}"), QStringLiteral("{c}")}));
    QCOMPARE(m_counter->model()->rowCount(), 2);
    QCOMPARE(m_counter->shown(0, Counter::Pos), QStringLiteral("2"));
    QCOMPARE(m_counter->shown(1, Counter::Pos), QStringLiteral("1"));
}

void TestCheckInList::removeMinors()
{
    QVERIFY(open(
        {withKids(Counter::ticket(QStringLiteral("{a}")), {kid("{k1}", "k1"), kid("{k2}", "k2"), kid("{k3}", "k3")}),
         withKids(Counter::ticket(QStringLiteral("{b}")), {kid("{k4}", "k4"), kid("{k5}", "k5")})}));
    QSignalSpy removed(m_counter->model(), SIGNAL(rowsAboutToBeRemoved(QModelIndex, int, int)));
    QItemSelectionModel *selection = m_counter->tree()->selectionModel();
    for (const QModelIndex &index : {m_counter->kidAt(1, 0, Counter::Pos), m_counter->kidAt(0, 2, Counter::Pos),
                                     m_counter->kidAt(0, 0, Counter::Pos)})
        selection->select(index, QItemSelectionModel::Select | QItemSelectionModel::Rows);
    BoxFacts facts;
    const ModalAnswer answer = answerBox(&facts, QMessageBox::Yes);
    m_counter->trigger("actionRemoveRacer");
    MODAL_VERIFY(answer);
    QCOMPARE(desk().names(), listPublished());
    QCOMPARE(removed.count(), 3);
    const QList<QJsonObject> lines = m_counter->stored();
    QCOMPARE(uuids(lines), (QStringList{QStringLiteral("{a}"), QStringLiteral("{b}")}));
    QCOMPARE(kidUuids(lines.at(0)), QStringList{QStringLiteral("{k2}")});
    QCOMPARE(kidUuids(lines.at(1)), QStringList{QStringLiteral("{k5}")});
    QCOMPARE(m_counter->kidAt(0, 0, Counter::Pos).data().toInt(), 1);
    QCOMPARE(m_counter->kidAt(1, 0, Counter::Name).data().toString(), QStringLiteral("k5  "));
}

void TestCheckInList::removeNothing()
{
    QVERIFY(open({Counter::ticket(QStringLiteral("{a}"))}));
    m_counter->track().removeJournal(Tickets);
    m_counter->tree()->clearSelection();
    BoxFacts facts;
    const ModalAnswer answer = answerBox(&facts, QMessageBox::Yes);
    m_counter->push("bRemoveRacerFromList");
    QCOMPARE(m_counter->model()->rowCount(), 1);
    QCOMPARE(desk().names(), QStringList());
    QVERIFY(!m_counter->track().hasJournal(Tickets));
}

void TestCheckInList::removePaidRowByHand()
{
    m_counter->stockPrices();
    QVERIFY(open({m_counter->sold(QStringLiteral("{a}"), object(R"({"payState": true})"))}));
    m_counter->tree()->selectAll();
    BoxFacts facts;
    const ModalAnswer answer = answerBox(&facts, QMessageBox::Yes);
    m_counter->push("bRemoveRacerFromList");
    MODAL_VERIFY(answer);
    QCOMPARE(m_counter->model()->rowCount(), 0);
    JSON_COMPARE(m_counter->published(), QJsonArray());
    QCOMPARE(desk().names(), listPublished());
}

void TestCheckInList::removeEnqueuedRow()
{
    m_counter->stockPrices();
    QVERIFY(open({withKids(m_counter->sold(QStringLiteral("{a}")), {kid("{k}", "k")})}));
    seat({QStringLiteral("{a}")});
    QCOMPARE(m_counter->model()->rowCount(), 1);
    m_counter->tree()->setCurrentIndex(m_counter->at(0, Counter::Pos));
    BoxFacts facts;
    const ModalAnswer answer = answerBox(&facts, QMessageBox::Yes);
    m_counter->push("bRemoveRacerFromList");
    MODAL_VERIFY(answer);
    QCOMPARE(m_counter->model()->rowCount(), 0);
}

void TestCheckInList::removePaid()
{
    m_counter->stockPrices();
    const QJsonObject paid = object(R"({"payState": true})");
    QVERIFY(open({m_counter->sold(QStringLiteral("{a}"), paid), m_counter->sold(QStringLiteral("{b}")),
                  withKids(m_counter->sold(QStringLiteral("{c}"), paid), {kid("{k}", "k")}),
                  withKids(m_counter->sold(QStringLiteral("{d}")), {kid("{k2}", "k2", paid)})}));
    m_counter->track().removeJournal(Tickets);
    BoxFacts facts;
    const ModalAnswer answer = answerBox(&facts, QMessageBox::Yes);
    m_counter->push("pbRemovePaid");
    MODAL_VERIFY(answer);
    QCOMPARE(facts.title, text("Подтверждение"));
    QCOMPARE(facts.text, text("Точно удалить?"));
    QCOMPARE(facts.icon, int(QMessageBox::Question));
    QCOMPARE(facts.buttons, QMessageBox::Yes | QMessageBox::No);
    QCOMPARE(desk().names(), listPublished());
    JSON_CONTAINS(m_counter->published(),
                  array(R"([{"uuid": "{b}"}, {"uuid": "{d}", "subItems": [{"uuid": "{k2}"}]}])"));
    QCOMPARE(uuids(m_counter->stored()), (QStringList{QStringLiteral("{b}"), QStringLiteral("{d}")}));
}

void TestCheckInList::removePaidDeclined()
{
    m_counter->stockPrices();
    QVERIFY(open({m_counter->sold(QStringLiteral("{a}"), object(R"({"payState": true})"))}));
    BoxFacts facts;
    const ModalAnswer answer = answerBox(&facts, QMessageBox::No);
    m_counter->push("pbRemovePaid");
    MODAL_VERIFY(answer);
    QCOMPARE(m_counter->model()->rowCount(), 1);
    QCOMPARE(desk().names(), QStringList());
}

void TestCheckInList::removePaidFindsNobody()
{
    m_counter->stockPrices();
    QVERIFY(open({m_counter->sold(QStringLiteral("{a}"))}));
    BoxFacts facts;
    const ModalAnswer answer = answerBox(&facts, QMessageBox::Yes);
    m_counter->push("pbRemovePaid");
    MODAL_VERIFY(answer);
    QCOMPARE(m_counter->model()->rowCount(), 1);
    QCOMPARE(desk().names(), QStringList());
}

// Nine thousand codes of a removed racer's family stay taken: none of them is given out again.
void TestCheckInList::removedPinsStayInUse()
{
    QJsonArray pins;
    for (int code = 0; code < 9000; ++code)
        pins.append(QStringLiteral("%1").arg(code, 4, 10, QLatin1Char('0')));
    QVERIFY(open({Counter::ticket(QStringLiteral("{a}"),
                                  {{QStringLiteral("runCount"), pins.size()}, {QStringLiteral("pinCodes"), pins}})}));
    const auto addFive = [&] {
        for (int i = 0; i < 5; ++i) {
            const ModalAnswer form = ModalAnswer::dialog(AddTitle, accept);
            m_counter->push("bAddRacer");
            MODAL_VERIFY(form);
            const QString given = pin(m_counter->published().at(0));
            QVERIFY2(isPin(given) && given.toInt() >= 9000, qPrintable(given));
        }
    };
    addFive();
    m_counter->tree()->selectAll();
    BoxFacts facts;
    const ModalAnswer question = answerBox(&facts, QMessageBox::Yes);
    m_counter->push("bRemoveRacerFromList");
    MODAL_VERIFY(question);
    QCOMPARE(m_counter->model()->rowCount(), 0);
    addFive();
}

// An entry goes when more than 1800 seconds have passed, not at the 1800th.
void TestCheckInList::expiresAtTheSecond()
{
    const qint64 edge = now() + 3;
    QVERIFY(open({Counter::ticket(QStringLiteral("{a}"), {{QStringLiteral("regTime"), edge - 1800}})}));
    QVERIFY(now() <= edge);
    QTRY_COMPARE_WITH_TIMEOUT(now(), edge, 4000);
    m_counter->validate();
    const int atTheEdge = m_counter->model()->rowCount();
    QCOMPARE(now(), edge);
    QCOMPARE(atTheEdge, 1);
    QTRY_VERIFY_WITH_TIMEOUT(now() > edge, 2000);
    m_counter->validate();
    QCOMPARE(m_counter->model()->rowCount(), 0);
}

void TestCheckInList::expiryByTheTimer()
{
    QVERIFY(open({Counter::ticket(QStringLiteral("{old}"), {{QStringLiteral("regTime"), now() - 1850}}),
                  Counter::ticket(QStringLiteral("{young}"), {{QStringLiteral("regTime"), now() - 1700}}),
                  Counter::ticket(QStringLiteral("{attended}"))}));
    QCOMPARE(m_counter->model()->rowCount(), 3);
    QTRY_COMPARE_WITH_TIMEOUT(m_counter->model()->rowCount(), 2, 7000);
    QCOMPARE(desk().names(), listPublished());
    QCOMPARE(uuids(m_counter->stored()), (QStringList{QStringLiteral("{young}"), QStringLiteral("{attended}")}));
}

void TestCheckInList::expiryLeavesMinorsAlone()
{
    const QJsonObject old{{QStringLiteral("regTime"), now() - 5000}};
    QVERIFY(open({withKids(Counter::ticket(QStringLiteral("{a}")), {kid("{k}", "k", old)}),
                  withKids(Counter::ticket(QStringLiteral("{b}"), old), {kid("{k2}", "k2")})}));
    m_counter->validate();
    QCOMPARE(uuids(m_counter->stored()), QStringList{QStringLiteral("{a}")});
    QCOMPARE(kidUuids(m_counter->stored().at(0)), QStringList{QStringLiteral("{k}")});
}

void TestCheckInList::expiryPublishes()
{
    const QJsonObject old{{QStringLiteral("regTime"), 1000}};
    QVERIFY(open({Counter::ticket(QStringLiteral("{a}"), old), Counter::ticket(QStringLiteral("{b}")),
                  Counter::ticket(QStringLiteral("{c}"), old)}));
    m_counter->track().removeJournal(Tickets);
    m_counter->validate();
    QCOMPARE(desk().names(), listPublished());
    JSON_CONTAINS(m_counter->published(), array(R"([{"uuid": "{b}"}])"));
    QVERIFY(m_counter->track().hasJournal(Tickets));
    desk().clear();
    m_counter->track().removeJournal(Tickets);
    m_counter->validate();
    QCOMPARE(desk().names(), QStringList());
    QVERIFY(!m_counter->track().hasJournal(Tickets));
}

void TestCheckInList::agePerAction_data()
{
    QTest::addColumn<QString>("action");
    QTest::addColumn<bool>("stops");
    QTest::newRow("payment") << QStringLiteral("pay") << true;
    QTest::newRow("refused payment") << QStringLiteral("refused") << true;
    QTest::newRow("ticket") << QStringLiteral("ticket") << true;
    QTest::newRow("run count") << QStringLiteral("runs") << true;
    QTest::newRow("comment") << QStringLiteral("comment") << true;
    QTest::newRow("edit form") << QStringLiteral("edit") << true;
    QTest::newRow("edit form of the minor") << QStringLiteral("edit minor") << true;
    QTest::newRow("sale") << QStringLiteral("sale") << false;
    QTest::newRow("discount") << QStringLiteral("discount") << false;
    QTest::newRow("method") << QStringLiteral("method") << false;
    QTest::newRow("minor's status cell") << QStringLiteral("minor pay") << false;
    QTest::newRow("safety form") << QStringLiteral("safety") << true;
    QTest::newRow("client news") << QStringLiteral("client") << false;
}

void TestCheckInList::agePerAction()
{
    QFETCH(QString, action);
    QFETCH(bool, stops);
    using C = Counter;
    m_counter->stockPrices();
    const qint64 age = now() - 100;
    QJsonObject line =
        m_counter->sold(QStringLiteral("{a}"), {{QStringLiteral("regTime"), age}, {QStringLiteral("clientId"), 7}});
    if (action == QLatin1String("refused"))
        line.insert(QStringLiteral("payMethod"), QString());
    QVERIFY(open({withKids(line, {kid("{k}", "k", {{QStringLiteral("regTime"), age}})})}));
    m_counter->sendCars();
    QCOMPARE(regTime(m_counter->line(0)), double(age));

    std::vector<ModalAnswer> answers;
    BoxFacts facts;
    if (action == QLatin1String("pay")) {
        m_counter->click(m_counter->at(0, C::PayState));
    } else if (action == QLatin1String("refused") || action == QLatin1String("minor pay")) {
        answers.push_back(answerBox(&facts, QMessageBox::Ok));
        m_counter->click(action == QLatin1String("refused") ? m_counter->at(0, C::PayState)
                                                            : m_counter->kidAt(0, 0, C::PayState));
    } else if (action == QLatin1String("ticket")) {
        QVERIFY(QMetaObject::invokeMethod(desk().tab(), "checkInItemClicked",
                                          Q_ARG(QModelIndex, m_counter->at(0, C::Pos)),
                                          Q_ARG(QString, QStringLiteral("TICKET"))));
    } else if (action == QLatin1String("runs")) {
        QVERIFY(m_counter->type(m_counter->at(0, C::RunCount), QStringLiteral("3")));
    } else if (action == QLatin1String("comment")) {
        QVERIFY(m_counter->type(m_counter->at(0, C::Comment), QStringLiteral("x")));
    } else if (action.startsWith(QLatin1String("edit"))) {
        answers.push_back(ModalAnswer::dialog(AddTitle, accept));
        m_counter->tree()->setCurrentIndex(action == QLatin1String("edit") ? m_counter->at(0, C::Name)
                                                                           : m_counter->kidAt(0, 0, C::Name));
        m_counter->trigger("actionEditRacer");
    } else if (action == QLatin1String("sale")) {
        QVERIFY(m_counter->pick(m_counter->at(0, C::SalesItem), text("Детский")));
    } else if (action == QLatin1String("discount")) {
        QVERIFY(m_counter->pick(m_counter->at(0, C::Discount), QStringLiteral("10")));
    } else if (action == QLatin1String("method")) {
        QVERIFY(m_counter->pick(m_counter->at(0, C::PayMethod), text("Наличные")));
    } else if (action == QLatin1String("safety")) {
        m_counter->click(m_counter->at(0, C::Safety));
    } else {
        desk().send(QStringLiteral("client_account_data"), object(R"({"clientId": 7, "lastName": "Новый"})"));
    }
    for (const ModalAnswer &answer : answers)
        MODAL_VERIFY(answer);
    const QJsonObject after = m_counter->line(0);
    QCOMPARE(regTime(after), stops ? 0.0 : double(age));
    if (action == QLatin1String("minor pay"))
        QCOMPARE(after.value(QLatin1String("kidsList")).toArray().at(0)[QLatin1String("regTime")].toDouble(), 0.0);
}

void TestCheckInList::seatedFamilyLeavesTogether()
{
    m_counter->stockPrices();
    QVERIFY(open({withKids(m_counter->sold(QStringLiteral("{a}")), {kid("{k1}", "k1"), kid("{k2}", "k2")}),
                  m_counter->sold(QStringLiteral("{b}"))}));
    m_counter->track().removeJournal(Tickets);
    seat({QStringLiteral("{a}"), QStringLiteral("{k2}"), QStringLiteral("{nobody}")});
    QCOMPARE(m_counter->model()->rowCount(), 2);
    QVERIFY(!desk().names().isEmpty());
    QCOMPARE(m_counter->published().size(), 2);
    QVERIFY(m_counter->track().hasJournal(Tickets));
    desk().clear();
    seat({QStringLiteral("{k1}")});
    QCOMPARE(m_counter->model()->rowCount(), 1);
    JSON_CONTAINS(m_counter->published(), array(R"([{"uuid": "{b}"}])"));
    // A racer alone goes at once.
    seat({QStringLiteral("{b}")});
    QCOMPARE(m_counter->model()->rowCount(), 0);
    JSON_COMPARE(m_counter->published(), QJsonArray());
}

void TestCheckInList::seatedFamilyWithoutAParentSale()
{
    QVERIFY(open({withKids(Counter::ticket(QStringLiteral("{a}")), {kid("{k1}", "k1"), kid("{k2}", "k2")})}));
    seat({QStringLiteral("{k1}")});
    QCOMPARE(m_counter->model()->rowCount(), 1);
    seat({QStringLiteral("{k2}")});
    QCOMPARE(m_counter->model()->rowCount(), 0);
}

void TestCheckInList::undroppedRacers()
{
    m_counter->stockPrices();
    QVERIFY(open({withKids(m_counter->sold(QStringLiteral("{a}")), {kid("{k}", "k")})}));
    seat({QStringLiteral("{a}")});
    QCOMPARE(colour(m_counter->at(0, Counter::Name).data(Qt::BackgroundRole)), QColor(Qt::lightGray));
    desk().clear();
    QVERIFY(QMetaObject::invokeMethod(m_counter->model(), "itemsUndropped",
                                      Q_ARG(QJsonArray, array(R"([{"uuid": "{a}"}])"))));
    QCOMPARE(colour(m_counter->at(0, Counter::Name).data(Qt::BackgroundRole)), QColor(Qt::transparent));
    QCOMPARE(m_counter->model()->rowCount(), 1);
    QCOMPARE(desk().names(), QStringList());
}

void TestCheckInList::undroppedUnknowns()
{
    QVERIFY(open({Counter::ticket(QStringLiteral("{a}"))}));
    QVERIFY(QMetaObject::invokeMethod(m_counter->model(), "itemsUndropped",
                                      Q_ARG(QJsonArray,
                                            array(R"([{"uuid": "{minor}", "lastName": "M", "parentUuid": "{gone}"},
                                          {"uuid": "{back}", "lastName": "Назад", "price": 500, "payState": true}])"))));
    QCOMPARE(m_counter->model()->rowCount(), 2);
    JSON_CONTAINS(m_counter->line(0), object(R"({"uuid": "{back}", "lastName": "Назад", "price": 500, "payState": true,
        "runCount": 1})"));
}

void TestCheckInList::clientNews()
{
    QVERIFY(open(
        {Counter::ticket(QStringLiteral("{a}"), object(R"({"clientId": 7, "lastName": "Иванов", "firstName": "П"})")),
         Counter::ticket(QStringLiteral("{b}"), object(R"({"clientId": 7, "lastName": "Второй"})")),
         Counter::ticket(QStringLiteral("{c}"), object(R"({"lastName": "Третий"})"))}));
    const auto send = [&](const char *json) {
        desk().clear();
        desk().send(QStringLiteral("client_account_data"), object(json));
        return m_counter->stored();
    };
    // The first line of the client, names as they come; the journal is written, nothing is published.
    JSON_CONTAINS(send(R"({"clientId": 7, "lastName": "  иВАНОВ", "safetyAgreementValid": true})").at(0),
                  object(R"({"lastName": "  иВАНОВ", "firstName": "П", "validSafetyAgreement": true})"));
    QCOMPARE(desk().names(), QStringList{QStringLiteral("update_local_client")});
    JSON_CONTAINS(m_counter->stored().at(1), object(R"({"lastName": "Второй", "validSafetyAgreement": false})"));
    // A line found by its identity gets the client, and no names.
    JSON_CONTAINS(send(R"({"clientId": 9, "uuid": "{c}", "lastName": "Другой"})").at(2),
                  object(R"({"clientId": 9, "lastName": "Третий"})"));
    // Nobody, or no client.
    const QList<QJsonObject> before = m_counter->stored();
    QCOMPARE(send(R"({"clientId": -1, "uuid": "{c}", "lastName": "X"})"), before);
    QCOMPARE(send(R"({"uuid": "{c}", "lastName": "X"})"), before);
}

void TestCheckInList::clicksThatMeanNothing_data()
{
    QTest::addColumn<QString>("dataId");
    for (const char *id : {"TICKET", "NFCTAG", "POS", "NAME", "COMMENT", "", "paystate", "MODEL"})
        QTest::newRow(id) << QString::fromLatin1(id);
}

// A click that means nothing at the desk tells nobody.
void TestCheckInList::clicksThatMeanNothing()
{
    QFETCH(QString, dataId);
    m_counter->stockPrices();
    QVERIFY(open({m_counter->sold(QStringLiteral("{a}"))}));
    const QJsonObject before = m_counter->line(0);
    QVERIFY(QMetaObject::invokeMethod(m_counter->tree()->itemDelegate(), "itemClicked",
                                      Q_ARG(QModelIndex, m_counter->at(0, Counter::Pos)), Q_ARG(QString, dataId)));
    HostProbe::settle();
    QCOMPARE(desk().names(), QStringList());
    JSON_COMPARE(m_counter->line(0), before);
    QCOMPARE(m_counter->paymentCount(), 0);
}

DESK_TEST_MAIN(TestCheckInList)
#include "tst_checkin_list.moc"
