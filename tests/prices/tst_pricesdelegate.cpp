#include "prices/pricesdelegate.h"
#include "prices/pricesmodel.h"

#include "desktest.h"

#include <QComboBox>
#include <QDoubleSpinBox>
#include <QLineEdit>
#include <QSignalSpy>
#include <QTreeView>

#include <memory>

namespace {

enum Column { Pos, SalesItem, Model, Price, Color, RemoteAvail };

} // namespace

class PricesDelegateTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void entries();
    void presentModelIsShown();
    void otherCellsKeepTheirEditor();
    void invalidIndexHasNoCombo();
    void withoutModel();
    void activationReachesAllBlocks();
    void activationOfTheDashes();
    void activationByKeyboard();
    void committingWritesNothing();
    void removedRow();
    void vanishedRow();
    void movedRow();
    void editorGoneDuringTheEdit();
    void modelGone();

private:
    QComboBox *openCombo(int row);
    QModelIndex cell(int row, int column) const { return model->index(row, column); }
    QString modelAt(int block, const QString &salesItem) const;

    std::unique_ptr<TempTrack> track;
    std::unique_ptr<PricesModel> model;
    std::unique_ptr<QTreeView> view;
    std::unique_ptr<PricesDelegate> delegate;
    int secondBlock = 0;
};

void PricesDelegateTest::init()
{
    track = std::make_unique<TempTrack>();
    track->addCar(QStringLiteral("Junior"), QStringLiteral("1"));
    track->addCar(QStringLiteral("Senior"), QStringLiteral("2"));
    secondBlock = track->addPriceType(QStringLiteral("Выходные"));
    for (const char *name : {"a", "b", "c"}) {
        TempTrack::PriceItem item;
        item.salesItem = QString::fromLatin1(name);
        item.commonId = track->addPriceItem(item);
        item.priceType = secondBlock;
        track->addPriceItem(item);
    }
    model = std::make_unique<PricesModel>();
    model->loadPrices();
    model->setCurrentPricesBlock(0);
    delegate = std::make_unique<PricesDelegate>();
    delegate->setPricesModel(model.get());
    view = std::make_unique<QTreeView>();
    view->setItemDelegate(delegate.get());
    view->setModel(model.get());
    view->resize(700, 300);
    view->show();
    view->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(view.get()));
    view->setFocus();
}

void PricesDelegateTest::cleanup()
{
    view.reset();
    delegate.reset();
    model.reset();
    track.reset();
}

/// The combo box that the view opens in the row's cell of the car model.
QComboBox *PricesDelegateTest::openCombo(int row)
{
    view->setCurrentIndex(cell(row, Model));
    view->edit(cell(row, Model));
    return view->viewport()->findChild<QComboBox *>();
}

QString PricesDelegateTest::modelAt(int block, const QString &salesItem) const
{
    const QList<PriceItem> items = model->pricesByType.value(block);
    for (const PriceItem &item : items) {
        if (item.salesItem == salesItem)
            return item.model;
    }
    return QStringLiteral("no such item");
}

void PricesDelegateTest::entries()
{
    const QComboBox *combo = openCombo(0);
    QVERIFY(combo);
    QStringList texts;
    QStringList values;
    for (int i = 0; i < combo->count(); ++i) {
        texts.append(combo->itemText(i));
        QCOMPARE(combo->itemData(i).userType(), int(QMetaType::QString));
        values.append(combo->itemData(i).toString());
    }
    QCOMPARE(texts, QStringList{"--"} + model->modelNames);
    QCOMPARE(values, QStringList{""} + model->modelNames);
    QCOMPARE(texts.size(), 3);
}

void PricesDelegateTest::presentModelIsShown()
{
    model->setItemModel(model->currentPriceItems().at(1).commonId, QStringLiteral("Senior"));
    QCOMPARE(openCombo(1)->currentText(), QStringLiteral("Senior"));
}

void PricesDelegateTest::otherCellsKeepTheirEditor()
{
    QWidget parent;
    const QStyleOptionViewItem option;
    QVERIFY(qobject_cast<QLineEdit *>(delegate->createEditor(&parent, option, cell(0, SalesItem))));
    QVERIFY(qobject_cast<QDoubleSpinBox *>(delegate->createEditor(&parent, option, cell(0, Price))));
    for (const int column : {Pos, SalesItem, Price, Color, RemoteAvail})
        QVERIFY(!qobject_cast<QComboBox *>(delegate->createEditor(&parent, option, cell(0, column))));
}

void PricesDelegateTest::invalidIndexHasNoCombo()
{
    QWidget parent;
    QVERIFY(!qobject_cast<QComboBox *>(delegate->createEditor(&parent, QStyleOptionViewItem(), QModelIndex())));
}

void PricesDelegateTest::withoutModel()
{
    QWidget parent;
    const PricesDelegate unbound;
    QVERIFY(!qobject_cast<QComboBox *>(unbound.createEditor(&parent, QStyleOptionViewItem(), cell(0, Model))));
}

void PricesDelegateTest::activationReachesAllBlocks()
{
    const QPointer<QComboBox> combo(openCombo(1));
    QVERIFY(combo);
    const QSignalSpy changed(model.get(), &PricesModel::settingsChanged);
    const int entry = combo->findData(QStringLiteral("Senior"));
    combo->setCurrentIndex(entry);
    QCOMPARE(changed.count(), 0);
    Q_EMIT combo->activated(entry);
    QCOMPARE(changed.count(), 1);
    QCOMPARE(modelAt(-1, QStringLiteral("b")), QStringLiteral("Senior"));
    QCOMPARE(modelAt(secondBlock, QStringLiteral("b")), QStringLiteral("Senior"));
    QCOMPARE(modelAt(-1, QStringLiteral("a")), QString());
    QCOMPARE(track->query(QStringLiteral("SELECT sales_item,COUNT(*) FROM price_list WHERE model='Senior' GROUP BY 1")),
             (QList<QVariantList>{{"b", 2}}));
    QVERIFY(combo.isNull() || !combo->isVisible());
    QVERIFY(view->viewport()->hasFocus() || view->hasFocus());
    QTRY_VERIFY(combo.isNull());
    QCOMPARE(changed.count(), 1);
}

void PricesDelegateTest::activationOfTheDashes()
{
    model->setItemModel(model->currentPriceItems().at(1).commonId, QStringLiteral("Senior"));
    QComboBox *combo = openCombo(1);
    combo->setCurrentIndex(0);
    Q_EMIT combo->activated(0);
    QCOMPARE(modelAt(-1, QStringLiteral("b")), QString());
    QCOMPARE(modelAt(secondBlock, QStringLiteral("b")), QString());
    QCOMPARE(
        track->value(QStringLiteral("SELECT COUNT(*) FROM price_list WHERE model='' AND typeof(model)='text'")).toInt(),
        6);
}

void PricesDelegateTest::activationByKeyboard()
{
    const QPointer<QComboBox> combo(openCombo(0));
    const QString first = combo->itemText(1);
    QTest::keyClick(combo.data(), Qt::Key_Down);
    QCOMPARE(modelAt(secondBlock, QStringLiteral("a")), first);
    QTRY_VERIFY(combo.isNull());
}

void PricesDelegateTest::committingWritesNothing()
{
    QComboBox *combo = openCombo(0);
    const QSignalSpy changed(model.get(), &PricesModel::settingsChanged);
    combo->setCurrentIndex(1);
    delegate->setModelData(combo, model.get(), cell(0, Model));
    QCOMPARE(changed.count(), 0);
    QCOMPARE(modelAt(-1, QStringLiteral("a")), QString());
}

void PricesDelegateTest::removedRow()
{
    QWidget parent;
    parent.show();
    auto *combo = qobject_cast<QComboBox *>(delegate->createEditor(&parent, QStyleOptionViewItem(), cell(1, Model)));
    combo->show();
    model->removePriceItems({1});
    const QSignalSpy changed(model.get(), &PricesModel::settingsChanged);
    Q_EMIT combo->activated(1);
    QCOMPARE(changed.count(), 0);
    QVERIFY(!combo->isVisible());
    for (const char *name : {"a", "c"})
        QCOMPARE(modelAt(-1, QString::fromLatin1(name)), QString());
}

void PricesDelegateTest::vanishedRow()
{
    QWidget parent;
    parent.show();
    auto *combo = qobject_cast<QComboBox *>(delegate->createEditor(&parent, QStyleOptionViewItem(), cell(2, Model)));
    combo->show();
    track->query(QStringLiteral("UPDATE price_list SET is_deleted=1 WHERE sales_item='c'"));
    model->loadPrices();
    const QSignalSpy changed(model.get(), &PricesModel::settingsChanged);
    Q_EMIT combo->activated(1);
    QCOMPARE(changed.count(), 0);
    QVERIFY(!combo->isVisible());
    QCOMPARE(modelAt(-1, QStringLiteral("b")), QString());
}

void PricesDelegateTest::movedRow()
{
    QWidget parent;
    auto *combo = qobject_cast<QComboBox *>(delegate->createEditor(&parent, QStyleOptionViewItem(), cell(2, Model)));
    model->removePriceItems({0});
    Q_EMIT combo->activated(1);
    QCOMPARE(modelAt(-1, QStringLiteral("c")), combo->itemText(1));
    QCOMPARE(modelAt(-1, QStringLiteral("b")), QString());
}

void PricesDelegateTest::editorGoneDuringTheEdit()
{
    QWidget parent;
    const QPointer<QComboBox> combo(
        qobject_cast<QComboBox *>(delegate->createEditor(&parent, QStyleOptionViewItem(), cell(0, Model))));
    connect(model.get(), &PricesModel::settingsChanged, this, [combo] { delete combo.data(); });
    const QString chosen = combo->itemText(1);
    QMetaObject::invokeMethod(combo.data(), "activated", Qt::DirectConnection, Q_ARG(int, 1));
    QVERIFY(combo.isNull());
    QCOMPARE(modelAt(-1, QStringLiteral("a")), chosen);
}

void PricesDelegateTest::modelGone()
{
    QWidget parent;
    parent.show();
    auto *combo = qobject_cast<QComboBox *>(delegate->createEditor(&parent, QStyleOptionViewItem(), cell(0, Model)));
    combo->show();
    view.reset();
    model.reset();
    Q_EMIT combo->activated(1);
    QVERIFY(!combo->isVisible());
    QCOMPARE(track->value(QStringLiteral("SELECT COUNT(*) FROM price_list WHERE model<>''")).toInt(), 0);
}

DESK_TEST_MAIN(PricesDelegateTest)
#include "tst_pricesdelegate.moc"
