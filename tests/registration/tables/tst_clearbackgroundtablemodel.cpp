#include "registration/tables/clearbackgroundtablemodel.h"

#include "desktest.h"

#include <QHeaderView>
#include <QTreeView>

namespace {

/// A table of two lines and three columns.
class Table : public ClearbackgroundTableModel
{
public:
    Table()
    {
        columns = {{QStringLiteral("#"), Qt::AlignRight, 40, QStringLiteral("POS"), Qt::AlignCenter},
                   {QStringLiteral("Имя"), Qt::AlignLeft | Qt::AlignVCenter, 120, QStringLiteral("NAME"), -1},
                   {QString(), Qt::AlignCenter, 77, QStringLiteral("BUTTON"), 0}};
    }

    QModelIndex index(int row, int column, const QModelIndex &parent) const override
    {
        return parent.isValid() ? QModelIndex() : createIndex(row, column);
    }
    QModelIndex parent(const QModelIndex & /*index*/) const override { return QModelIndex(); }
    int rowCount(const QModelIndex &parent) const override { return parent.isValid() ? 0 : 2; }
};

} // namespace

class ClearbackgroundTableModelTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void columnTable_data();
    void columnTable();
    void keys();
    void headers();
    void otherRoles();
    void widths();
    void attachOtherViews();
};

void ClearbackgroundTableModelTest::columnTable_data()
{
    QTest::addColumn<int>("column");
    QTest::addColumn<QString>("caption");
    QTest::addColumn<int>("alignment");
    QTest::addColumn<int>("headerAlignment");

    const int left = Qt::AlignLeft | Qt::AlignVCenter;
    QTest::newRow("header with its own alignment") << 0 << "#" << int(Qt::AlignRight) << int(Qt::AlignCenter);
    QTest::newRow("header like the cells") << 1 << "Имя" << left << left;
    QTest::newRow("header with none") << 2 << "" << int(Qt::AlignCenter) << 0;
}

void ClearbackgroundTableModelTest::columnTable()
{
    QFETCH(int, column);
    const Table table;
    QTEST(table.headerData(column, Qt::Horizontal).toString(), "caption");
    QTEST(table.headerData(column, Qt::Horizontal, Qt::TextAlignmentRole).toInt(), "headerAlignment");
    const QModelIndex cell = table.index(1, column, {});
    QTEST(cell.data(Qt::TextAlignmentRole).toInt(), "alignment");
    const auto brush = cell.data(Qt::BackgroundRole).value<QBrush>();
    QCOMPARE(brush.style(), Qt::SolidPattern);
    QCOMPARE(brush.color(), QColor(Qt::transparent));
}

void ClearbackgroundTableModelTest::keys()
{
    const Table table;
    QCOMPARE(table.columnCount(), 3);
    QCOMPARE(table.columnKey(1), QStringLiteral("NAME"));
    QCOMPARE(table.columnKey(3), QString());
    QCOMPARE(table.columnKey(-1), QString());
    QCOMPARE(table.columnByKey("BUTTON"), 2);
    QCOMPARE(table.columnByKey("name"), -1);
}

void ClearbackgroundTableModelTest::headers()
{
    const Table table;
    for (const int role : {Qt::DisplayRole, Qt::TextAlignmentRole}) {
        QVERIFY(!table.headerData(1, Qt::Vertical, role).isValid());
        QVERIFY(!table.headerData(3, Qt::Horizontal, role).isValid());
        QVERIFY(!table.headerData(-1, Qt::Horizontal, role).isValid());
    }
    QVERIFY(!table.headerData(1, Qt::Horizontal, Qt::BackgroundRole).isValid());
}

void ClearbackgroundTableModelTest::otherRoles()
{
    const Table table;
    for (const int role : {int(Qt::DisplayRole), int(Qt::EditRole), int(Qt::ForegroundRole), int(Qt::FontRole),
                           int(Qt::UserRole), int(Qt::DecorationRole)})
        QVERIFY(!table.index(0, 1, {}).data(role).isValid());
    QVERIFY(!table.data({}, Qt::BackgroundRole).isValid());
}

void ClearbackgroundTableModelTest::widths()
{
    Table table;
    QTreeView view;
    view.header()->setStretchLastSection(false);
    view.setModel(&table);
    table.attachView(&view);
    QCOMPARE(view.columnWidth(0), 40);
    QCOMPARE(view.columnWidth(1), 120);
    QCOMPARE(view.columnWidth(2), 77);
}

void ClearbackgroundTableModelTest::attachOtherViews()
{
    Table table;
    {
        QTreeView first;
        first.setModel(&table);
        table.attachView(&first);
    }
    table.attachView(nullptr);
    QTreeView second;
    second.setModel(&table);
    table.attachView(&second);
    QCOMPARE(second.columnWidth(1), 120);
}

DESK_TEST_MAIN(ClearbackgroundTableModelTest)
#include "tst_clearbackgroundtablemodel.moc"
