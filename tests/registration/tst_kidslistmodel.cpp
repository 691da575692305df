#include "modellog.h"
#include "registration/kidslistmodel.h"

#include "desktest.h"

#include <QAbstractItemModelTester>
#include <QUuid>

/// The table of minors in the racer form.
class KidsListModelTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void columns_data();
    void columns();
    void shape();
    void texts();
    void typing_data();
    void typing();
    void otherRoles();
    void flags();
    void adding();
    void removing_data();
    void removing();
    void removedAtOnce();
    void replacing();
    void modelTester();

private:
    static QList<KidRecord> kids(const QStringList &firstNames);
    static QStringList firstNames(const KidsListModel &model);
};

QList<KidRecord> KidsListModelTest::kids(const QStringList &firstNames)
{
    QList<KidRecord> list;
    for (const QString &name : firstNames) {
        KidRecord kid;
        kid.firstName = name;
        kid.lastName = "Иванов";
        kid.midName = "Ильич";
        list.append(kid);
    }
    return list;
}

QStringList KidsListModelTest::firstNames(const KidsListModel &model)
{
    QStringList names;
    for (const KidRecord &kid : model.kids())
        names.append(kid.firstName);
    return names;
}

void KidsListModelTest::columns_data()
{
    QTest::addColumn<int>("column");
    QTest::addColumn<QString>("caption");
    QTest::addColumn<int>("alignment");

    QTest::newRow("POS") << 0 << "#" << int(Qt::AlignRight);
    QTest::newRow("LASTNAME") << 1 << "Фамилия" << int(Qt::AlignLeft);
    QTest::newRow("FIRSTNAME") << 2 << "Имя" << int(Qt::AlignLeft);
    QTest::newRow("MIDNAME") << 3 << "Отчество" << int(Qt::AlignLeft);
}

void KidsListModelTest::columns()
{
    QFETCH(int, column);
    KidsListModel model;
    model.setKids(kids({"Маша"}));
    QCOMPARE(model.columnKey(column), QString::fromLatin1(QTest::currentDataTag()));
    QTEST(model.headerData(column, Qt::Horizontal).toString(), "caption");
    QTEST(model.headerData(column, Qt::Horizontal, Qt::TextAlignmentRole).toInt(), "alignment");
    QTEST(model.index(0, column).data(Qt::TextAlignmentRole).toInt(), "alignment");
}

void KidsListModelTest::shape()
{
    KidsListModel model;
    QCOMPARE(model.columnCount(), 4);
    QCOMPARE(model.rowCount(), 0);
    model.setKids(kids({"Маша", "Петя"}));
    QCOMPARE(model.rowCount(), 2);
    QCOMPARE(model.rowCount(model.index(0, 0)), 0);
    QVERIFY(!model.index(1, 1).parent().isValid());
    QVERIFY(!model.index(2, 0).isValid());
}

void KidsListModelTest::texts()
{
    KidsListModel model;
    model.setKids(kids({"Маша", "Петя"}));
    for (const int role : {Qt::DisplayRole, Qt::EditRole}) {
        QCOMPARE(model.index(1, 0).data(role), QVariant(2));
        QCOMPARE(model.index(1, 1).data(role), QVariant("Иванов"));
        QCOMPARE(model.index(1, 2).data(role), QVariant("Петя"));
        QCOMPARE(model.index(1, 3).data(role), QVariant("Ильич"));
    }
    QCOMPARE(model.index(0, 2).data(Qt::BackgroundRole).value<QBrush>().color(), QColor(Qt::transparent));
}

void KidsListModelTest::typing_data()
{
    QTest::addColumn<int>("column");
    QTest::addColumn<QStringList>("expected");

    QTest::newRow("last name") << 1 << QStringList{" пЕТРОВ  x", "Маша", "Ильич"};
    QTest::newRow("first name") << 2 << QStringList{"Иванов", " пЕТРОВ  x", "Ильич"};
    QTest::newRow("middle name") << 3 << QStringList{"Иванов", "Маша", " пЕТРОВ  x"};
}

/// Names stay as they are typed.
void KidsListModelTest::typing()
{
    QFETCH(int, column);
    QFETCH(QStringList, expected);
    KidsListModel model;
    model.setKids(kids({"Маша"}));
    QVERIFY(model.setData(model.index(0, column), QStringLiteral(" пЕТРОВ  x")));
    const KidRecord &kid = model.kids().first();
    QCOMPARE((QStringList{kid.lastName, kid.firstName, kid.midName}), expected);
}

void KidsListModelTest::otherRoles()
{
    KidsListModel model;
    model.setKids(kids({"Маша"}));
    QVERIFY(!model.setData(model.index(0, 2), QStringLiteral("editStarted"), Qt::UserRole));
    QVERIFY(!model.setData(QModelIndex(), QStringLiteral("x")));
    QCOMPARE(firstNames(model), QStringList{"Маша"});
}

void KidsListModelTest::flags()
{
    KidsListModel model;
    model.setKids(kids({"Маша"}));
    QVERIFY(!model.index(0, 0).flags().testFlag(Qt::ItemIsEditable));
    for (int column = 1; column < 4; ++column)
        QVERIFY(model.index(0, column).flags().testFlag(Qt::ItemIsEditable));
}

void KidsListModelTest::adding()
{
    KidsListModel model;
    model.setKids(kids({"Маша"}));
    ModelLog log(&model);
    QCOMPARE(model.addKid(), 1);
    const KidRecord &kid = model.kids().last();
    QVERIFY(!QUuid(kid.uuid).isNull());
    QCOMPARE(QUuid(kid.uuid).toString(), kid.uuid);
    QCOMPARE(kid.firstName, QString());
    QCOMPARE(kid.salesCommonId, -1);
    QCOMPARE(kid.runCount, 0);
    QCOMPARE(kid.clientId, -1);
    QCOMPARE(log.entries.constLast(), QStringLiteral("layoutChanged"));
    model.addKid();
    QVERIFY(model.kids().at(1).uuid != model.kids().at(2).uuid);
}

void KidsListModelTest::removing_data()
{
    QTest::addColumn<QList<int>>("rows");
    QTest::addColumn<QStringList>("left");

    QTest::newRow("none") << QList<int>() << QStringList{"а", "б", "в", "г"};
    QTest::newRow("one") << QList<int>{1} << QStringList{"а", "в", "г"};
    QTest::newRow("several, out of order, twice") << QList<int>{2, 0, 2} << QStringList{"б", "г"};
    QTest::newRow("first and last") << QList<int>{0, 3} << QStringList{"б", "в"};
    QTest::newRow("all") << QList<int>{0, 1, 2, 3} << QStringList();
    QTest::newRow("beyond the end") << QList<int>{4} << QStringList{"а", "б", "в", "г"};
}

void KidsListModelTest::removing()
{
    QFETCH(QList<int>, rows);
    KidsListModel model;
    model.setKids(kids({"а", "б", "в", "г"}));
    model.removeKids(rows);
    QTEST(firstNames(model), "left");
}

/// Neighbours go in one step.
void KidsListModelTest::removedAtOnce()
{
    KidsListModel model;
    model.setKids(kids({"а", "б", "в", "г"}));
    ModelLog log(&model);
    model.removeKids({3, 2, 1});
    QCOMPARE(log.take(), QStringList{"rowsRemoved 1..3"});
}

void KidsListModelTest::replacing()
{
    KidsListModel model;
    model.setKids(kids({"а", "б"}));
    ModelLog log(&model);
    model.setKids(kids({"в"}));
    QCOMPARE(firstNames(model), QStringList{"в"});
    QCOMPARE(log.entries.constLast(), QStringLiteral("layoutChanged"));
}

void KidsListModelTest::modelTester()
{
    KidsListModel model;
    const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    model.addKid();
    model.addKid();
    model.addKid();
    model.setData(model.index(1, 1), "Иванов");
    model.removeKids({2});
    model.removeKids({0, 1});
    QCOMPARE(model.rowCount(), 0);
}

DESK_TEST_MAIN(KidsListModelTest)
#include "tst_kidslistmodel.moc"
