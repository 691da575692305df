#include "modellog.h"
#include "registration/racersfromdbmodel.h"

#include "desktest.h"
#include "jsonmatch.h"

#include <QAbstractItemModelTester>
#include <QBrush>
#include <QHeaderView>
#include <QItemSelectionModel>
#include <QTreeView>

/// The clients of a reply.
class RacersFromDbModelTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void columns();
    void cells();
    void otherRoles();
    void shape();
    void fields();
    void listed_data();
    void listed();
    void replacing();
    void choiceFollowsTheClient();
    void tenThousand();
    void modelTester();

private:
    static QJsonObject client(int id, const QString &name = QString());
    static QList<int> ids(const RacersFromDbModel &model);
};

QJsonObject RacersFromDbModelTest::client(int id, const QString &name)
{
    return {{"id", id}, {"name", name}};
}

QList<int> RacersFromDbModelTest::ids(const RacersFromDbModel &model)
{
    QList<int> list;
    for (int row = 0; row < model.rowCount(); ++row)
        list.append(model.racer(row).id);
    return list;
}

void RacersFromDbModelTest::columns()
{
    RacersFromDbModel model;
    QCOMPARE(model.columnCount(), 2);
    const QStringList captions{"#", "Имя"};
    const QStringList keys{"POS", "NAME"};
    const QList<int> alignments{Qt::AlignRight, Qt::AlignLeft};
    const QList<int> widths{40, 160};
    QTreeView view;
    view.header()->setStretchLastSection(false);
    view.setModel(&model);
    model.attachView(&view);
    model.setResults({client(1)});
    for (int column = 0; column < 2; ++column) {
        QCOMPARE(model.headerData(column, Qt::Horizontal).toString(), captions.at(column));
        QCOMPARE(model.headerData(column, Qt::Horizontal, Qt::TextAlignmentRole).toInt(), alignments.at(column));
        QCOMPARE(model.index(0, column).data(Qt::TextAlignmentRole).toInt(), alignments.at(column));
        QCOMPARE(model.columnKey(column), keys.at(column));
        QCOMPARE(view.columnWidth(column), widths.at(column));
    }
}

void RacersFromDbModelTest::cells()
{
    RacersFromDbModel model;
    model.setResults({client(7, "Иванов"), client(5, "Петров")});
    QCOMPARE(model.index(0, 0).data(), QVariant(1));
    QCOMPARE(model.index(1, 0).data(), QVariant(2));
    QCOMPARE(model.index(0, 1).data().toString(), QString("Иванов"));
    QCOMPARE(model.index(1, 1).data().toString(), QString("Петров"));
}

void RacersFromDbModelTest::otherRoles()
{
    RacersFromDbModel model;
    model.setResults({client(7, "Иванов")});
    QCOMPARE(model.index(0, 1).data(Qt::BackgroundRole).value<QBrush>(), QBrush(Qt::transparent));
    for (const int role : {Qt::EditRole, Qt::UserRole, Qt::ToolTipRole, Qt::DecorationRole})
        QVERIFY(!model.index(0, 1).data(role).isValid());
    QVERIFY(!(model.index(0, 1).flags() & Qt::ItemIsEditable));
    QVERIFY(!model.setData(model.index(0, 1), "x"));
}

void RacersFromDbModelTest::shape()
{
    RacersFromDbModel model;
    QCOMPARE(model.rowCount(), 0);
    model.setResults({client(1), client(2)});
    QCOMPARE(model.rowCount(), 2);
    QCOMPARE(model.rowCount(model.index(0, 0)), 0);
    QVERIFY(!model.index(2, 0).isValid());
    QVERIFY(!model.index(0, 2).isValid());
    QVERIFY(!model.index(-1, 0).isValid());
    QVERIFY(!model.index(0, 0, model.index(0, 0)).isValid());
    QVERIFY(!model.parent(model.index(1, 1)).isValid());
}

void RacersFromDbModelTest::fields()
{
    RacersFromDbModel model;
    const QJsonObject json = JsonMatch::object(R"({"id": 7, "clientId": 3, "firstName": "Иван", "lastName": "Иванов",
        "midName": "Ильич", "name": "Иванов И. И.", "tel": "8", "photo": "p", "additionalData": {"level": 2}})");
    model.setResults({json});
    const DbRacer &racer = model.racer(0);
    QCOMPARE(racer.id, 7);
    QCOMPARE(racer.firstName, QString("Иван"));
    QCOMPARE(racer.lastName, QString("Иванов"));
    QCOMPARE(racer.midName, QString("Ильич"));
    QCOMPARE(racer.name, QString("Иванов И. И."));
    JSON_COMPARE(racer.additionalData, JsonMatch::object(R"({"level": 2})"));
    QJsonObject record = json;
    record.insert("clientId", 7);
    JSON_COMPARE(racer.record, record);
}

void RacersFromDbModelTest::listed_data()
{
    QTest::addColumn<QJsonArray>("results");
    QTest::addColumn<QList<int>>("ids");
    const auto row = [](const char *name, const char *results, const QList<int> &ids) {
        QTest::newRow(name) << JsonMatch::array(results) << ids;
    };
    row("none", "[]", {});
    row("in the order of the reply", R"([{"id": 3}, {"id": 1}, {"id": 2}])", {3, 1, 2});
    row("without an id", R"([{"name": "x"}, {"id": 1}])", {1});
    row("nobody's id", R"([{"id": 1}, {"id": -1}])", {1});
    row("client id only", R"([{"clientId": 1}])", {});
    row("zero and below", R"([{"id": 0}, {"id": -2}])", {0, -2});
    row("not a number", R"([{"id": "5"}, {"id": null}, {"id": 1.5}, {"id": 5000000000}])", {});
    row("not an object", R"([null, 1, "x", [{"id": 1}], {"id": 2}])", {2});
    row("twice", R"([{"id": 2}, {"id": 2}])", {2, 2});
}

void RacersFromDbModelTest::listed()
{
    QFETCH(QJsonArray, results);
    RacersFromDbModel model;
    model.setResults(results);
    QTEST(ids(model), "ids");
}

void RacersFromDbModelTest::replacing()
{
    RacersFromDbModel model;
    model.setResults({client(1), client(2)});
    int rowsBefore = -1;
    int rowsAfter = -1;
    connect(&model, &QAbstractItemModel::layoutAboutToBeChanged, this, [&] { rowsBefore = model.rowCount(); });
    connect(&model, &QAbstractItemModel::layoutChanged, this, [&] { rowsAfter = model.rowCount(); });
    ModelLog log(&model);
    model.setResults({client(3)});
    QCOMPARE(log.take(), (QStringList{"layoutAboutToBeChanged", "layoutChanged"}));
    QCOMPARE(rowsBefore, 2);
    QCOMPARE(rowsAfter, 1);
    QCOMPARE(ids(model), QList<int>{3});
}

/// Who was chosen stays chosen in a newer reply, and nobody else slips into his place.
void RacersFromDbModelTest::choiceFollowsTheClient()
{
    RacersFromDbModel model;
    model.setResults({client(1), client(2), client(3)});
    QItemSelectionModel choice(&model);
    choice.setCurrentIndex(model.index(1, 1), QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    model.setResults({client(9), client(8), client(7), client(2)});
    QCOMPARE(choice.currentIndex(), model.index(3, 1));
    QCOMPARE(choice.selectedRows(), QModelIndexList{model.index(3, 0)});
    model.setResults({client(4), client(5), client(6), client(7)});
    QVERIFY(!choice.currentIndex().isValid());
    QVERIFY(!choice.hasSelection());
    choice.setCurrentIndex(model.index(3, 0), QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    model.setResults({});
    QVERIFY(!choice.currentIndex().isValid());
}

void RacersFromDbModelTest::tenThousand()
{
    QJsonArray many;
    for (int id = 0; id < 10000; ++id)
        many.append(client(id, QString::number(id)));
    RacersFromDbModel model;
    QTreeView view;
    view.setUniformRowHeights(true);
    view.setModel(&model);
    view.show();
    model.setResults(many);
    view.setCurrentIndex(model.index(9000, 1));
    model.setResults(many);
    QCoreApplication::processEvents();
    QCOMPARE(model.rowCount(), 10000);
    QCOMPARE(view.currentIndex(), model.index(9000, 1));
}

void RacersFromDbModelTest::modelTester()
{
    RacersFromDbModel model;
    const QAbstractItemModelTester tester(&model);
    model.setResults({client(1), client(2)});
    const QPersistentModelIndex held = model.index(1, 0);
    model.setResults({client(3)});
    QVERIFY(!held.isValid());
    model.setResults({});
    model.setResults({client(1)});
}

DESK_TEST_MAIN(RacersFromDbModelTest)

#include "tst_racersfromdbmodel.moc"
