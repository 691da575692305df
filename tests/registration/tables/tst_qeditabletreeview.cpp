#include "registration/tables/dragbadge.h"
#include "registration/tables/qeditabletreeview.h"

#include "desktest.h"
#include "jsonmatch.h"

#include <QDrag>
#include <QDropEvent>
#include <QLineEdit>
#include <QMetaMethod>
#include <QMimeData>
#include <QSignalSpy>
#include <QStandardItemModel>

#include <memory>

namespace {

/// Opens what views keep to themselves.
class OpenView : public QEditableTreeView
{
public:
    using QEditableTreeView::dropEvent;
    using QEditableTreeView::startDrag;
};

/// Three rows of two columns, the first row with two rows below; notes what is written into it and what is dragged.
class Table : public QStandardItemModel
{
public:
    Table()
        : QStandardItemModel(3, 2)
    {
        for (int row = 0; row < 3; ++row)
            setItem(row, 0, new QStandardItem(QStringLiteral("row %1").arg(row)));
        setItem(2, 1, new QStandardItem);
        item(0)->appendRow({new QStandardItem(QStringLiteral("child 0")), new QStandardItem});
        item(0)->appendRow({new QStandardItem(QStringLiteral("child 1")), new QStandardItem});
    }

    bool setData(const QModelIndex &index, const QVariant &value, int role) override
    {
        writes.append(QStringLiteral("%1%2:%3 %4 %5")
                          .arg(index.parent().isValid() ? QStringLiteral("%1/").arg(index.parent().row()) : QString())
                          .arg(index.row())
                          .arg(index.column())
                          .arg(role)
                          .arg(value.toString()));
        return role != Qt::UserRole && QStandardItemModel::setData(index, value, role);
    }

    QMimeData *mimeData(const QModelIndexList &indexes) const override
    {
        dragged.append(indexes);
        auto data = std::make_unique<QMimeData>();
        data->setData(QStringLiteral("application/json"), dragContent);
        return data.release();
    }

    QStringList writes;
    QByteArray dragContent = R"({"srcList":[]})";
    mutable QVector<QModelIndexList> dragged;
};

} // namespace

class QEditableTreeViewTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void signalOrder();
    void keys_data();
    void keys();
    void editStartedIsTold();
    void returnOnChildEditsTopRow();
    void returnWithoutCurrentRow();
    void skipEditLastsOneKey_data();
    void skipEditLastsOneKey();
    void skipEditSurvivesOtherKeys();
    void ctrlReturnInEditor();
    void deleteInEditor();
    void returnInEditor();
    void arrowsStillMove();
    void selectionIsTold();
    void dropPosition();
    void dragWithoutMove();
    void dragOfNothing();
    void dragWithoutObject_data();
    void dragWithoutObject();
    void dragPicture_data();
    void dragPicture();

private:
    QLineEdit *editor() const { return view->viewport()->findChild<QLineEdit *>(); }
    QModelIndex edited() const;

    std::unique_ptr<Table> model;
    std::unique_ptr<OpenView> view;
    QStringList heard;
};

void QEditableTreeViewTest::init()
{
    model = std::make_unique<Table>();
    view = std::make_unique<OpenView>();
    // Without triggers of its own: an editor that opens was opened by the view's own commands.
    view->setEditTriggers(QAbstractItemView::NoEditTriggers);
    view->setModel(model.get());
    view->expandAll();
    view->resize(400, 300);
    view->show();
    view->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(view.get()));
    view->setFocus();
    view->setCurrentIndex(model->index(1, 1));
    heard.clear();
    model->writes.clear();
    const auto note = [this](const char *signal) {
        return [this, signal](const QModelIndex &index) {
            const QString name = QString::fromLatin1(signal);
            heard.append(QStringLiteral("%1 %2:%3").arg(name).arg(index.row()).arg(index.column()));
        };
    };
    connect(view.get(), &QEditableTreeView::ctrlReturnClicked, this, note("ctrlReturn"));
    connect(view.get(), &QEditableTreeView::ctrlDelClicked, this, note("ctrlDel"));
    connect(view.get(), &QEditableTreeView::delClicked, this,
            [this](int row, int column) { heard.append(QStringLiteral("del %1:%2").arg(row).arg(column)); });
    connect(view.get(), &QEditableTreeView::itemsDroppedOut, this,
            [this] { heard.append(QStringLiteral("itemsDroppedOut")); });
}

void QEditableTreeViewTest::cleanup()
{
    disconnect(view.get(), nullptr, this, nullptr);
    view.reset();
    model.reset();
}

/// The cell that an open editor stands on.
QModelIndex QEditableTreeViewTest::edited() const
{
    return editor() ? view->indexAt(editor()->geometry().center()) : QModelIndex();
}

void QEditableTreeViewTest::signalOrder()
{
    const QMetaObject &meta = QEditableTreeView::staticMetaObject;
    QStringList methods;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i)
        methods.append(QString::fromLatin1(meta.method(i).methodSignature()));
    QCOMPARE(methods, (QStringList{"ctrlReturnClicked(QModelIndex)", "ctrlDelClicked(QModelIndex)",
                                   "updateSelection(QItemSelection,QItemSelection)", "delClicked(int,int)",
                                   "itemsDroppedOut(QJsonArray,const QObject*)",
                                   "selectionChanged(QItemSelection,QItemSelection)"}));
}

void QEditableTreeViewTest::keys_data()
{
    QTest::addColumn<Qt::Key>("key");
    QTest::addColumn<Qt::KeyboardModifiers>("modifiers");
    QTest::addColumn<bool>("editing");
    QTest::addColumn<QStringList>("expected");
    QTest::addColumn<bool>("opens");

    const auto row = [](const char *name, Qt::Key key, Qt::KeyboardModifiers modifiers, bool editing,
                        const QStringList &expected, bool opens = false) {
        QTest::newRow(name) << key << modifiers << editing << expected << opens;
    };
    const QStringList ctrlReturn{"ctrlReturn 1:1"};
    const QStringList ctrlDel{"ctrlDel 1:1"};
    const QStringList del{"del 1:1"};
    const QStringList none;
    row("Ctrl+Return", Qt::Key_Return, Qt::ControlModifier, false, ctrlReturn);
    row("Ctrl+Return, editing", Qt::Key_Return, Qt::ControlModifier, true, ctrlReturn);
    row("Ctrl+Shift+Return", Qt::Key_Return, Qt::ControlModifier | Qt::ShiftModifier, false, none, true);
    row("Insert", Qt::Key_Insert, Qt::NoModifier, false, ctrlReturn);
    row("Insert, editing", Qt::Key_Insert, Qt::NoModifier, true, ctrlReturn);
    row("Alt+Insert", Qt::Key_Insert, Qt::AltModifier, false, ctrlReturn);
    row("Ctrl+Delete", Qt::Key_Delete, Qt::ControlModifier, false, ctrlDel);
    row("Ctrl+Delete, editing", Qt::Key_Delete, Qt::ControlModifier, true, ctrlDel);
    row("Delete", Qt::Key_Delete, Qt::NoModifier, false, del);
    row("Ctrl+Shift+Delete", Qt::Key_Delete, Qt::ControlModifier | Qt::ShiftModifier, false, del);
    row("Shift+Delete", Qt::Key_Delete, Qt::ShiftModifier, false, del);
    row("Delete, editing", Qt::Key_Delete, Qt::NoModifier, true, none);
    row("Return", Qt::Key_Return, Qt::NoModifier, false, none, true);
    row("Shift+Return", Qt::Key_Return, Qt::ShiftModifier, false, none, true);
    row("Enter", Qt::Key_Enter, Qt::KeypadModifier, false, none, true);
    row("Ctrl+Enter", Qt::Key_Enter, Qt::ControlModifier, false, none, true);
    row("F2", Qt::Key_F2, Qt::NoModifier, false, none, true);
    row("Return, editing", Qt::Key_Return, Qt::NoModifier, true, none);
    row("F2, editing", Qt::Key_F2, Qt::NoModifier, true, none);
    row("Backspace", Qt::Key_Backspace, Qt::NoModifier, false, none);
    row("letter", Qt::Key_R, Qt::NoModifier, false, none);
}

void QEditableTreeViewTest::keys()
{
    QFETCH(Qt::Key, key);
    QFETCH(Qt::KeyboardModifiers, modifiers);
    QFETCH(bool, editing);
    QFETCH(QStringList, expected);
    QFETCH(bool, opens);
    if (editing)
        view->edit(view->currentIndex());
    QCOMPARE(editor() != nullptr, editing);
    QTest::keyClick(view.get(), key, modifiers);
    QCOMPARE(heard, expected);
    QCOMPARE(editor() != nullptr, editing || opens);
    QCOMPARE(model->writes, opens ? QStringList{"1:1 256 editStarted"} : QStringList());
}

void QEditableTreeViewTest::editStartedIsTold()
{
    view->setCurrentIndex(model->index(2, 0));
    QTest::keyClick(view.get(), Qt::Key_Return);
    QCOMPARE(model->writes, QStringList{"2:0 256 editStarted"});
    QCOMPARE(edited(), model->index(2, 0));
}

void QEditableTreeViewTest::returnOnChildEditsTopRow()
{
    view->setCurrentIndex(model->index(1, 0, model->index(0, 0)));
    QTest::keyClick(view.get(), Qt::Key_Return);
    QCOMPARE(model->writes, QStringList{"0/1:0 256 editStarted"});
    QCOMPARE(edited(), model->index(1, 0));
}

void QEditableTreeViewTest::returnWithoutCurrentRow()
{
    view->setCurrentIndex(QModelIndex());
    for (const Qt::Key key : {Qt::Key_Return, Qt::Key_F2})
        QTest::keyClick(view.get(), key);
    QVERIFY(!editor());
    QTest::keyClick(view.get(), Qt::Key_Delete);
    QCOMPARE(heard, QStringList{"del -1:-1"});
}

void QEditableTreeViewTest::skipEditLastsOneKey_data()
{
    QTest::addColumn<Qt::Key>("key");
    QTest::newRow("Return") << Qt::Key_Return;
    QTest::newRow("Enter") << Qt::Key_Enter;
    QTest::newRow("F2") << Qt::Key_F2;
}

void QEditableTreeViewTest::skipEditLastsOneKey()
{
    QFETCH(Qt::Key, key);
    view->setSkipEdit(true);
    QTest::keyClick(view.get(), key);
    QVERIFY(!editor());
    QCOMPARE(model->writes, QStringList());
    QTest::keyClick(view.get(), key);
    QVERIFY(editor());
}

void QEditableTreeViewTest::skipEditSurvivesOtherKeys()
{
    view->setSkipEdit(true);
    QTest::keyClick(view.get(), Qt::Key_Insert);
    QTest::keyClick(view.get(), Qt::Key_Delete);
    QTest::keyClick(view.get(), Qt::Key_Return);
    QVERIFY(!editor());
}

void QEditableTreeViewTest::ctrlReturnInEditor()
{
    view->edit(view->currentIndex());
    QTest::keyClicks(editor(), "abc");
    QTest::keyClick(editor(), Qt::Key_Return, Qt::ControlModifier);
    QCOMPARE(heard, QStringList{"ctrlReturn 1:1"});
    QTRY_VERIFY(!editor());
    QCOMPARE(model->index(1, 1).data().toString(), QStringLiteral("abc"));
}

void QEditableTreeViewTest::deleteInEditor()
{
    view->setCurrentIndex(model->index(1, 0));
    view->edit(view->currentIndex());
    editor()->setCursorPosition(0);
    QTest::keyClick(editor(), Qt::Key_Delete);
    QCOMPARE(editor()->text(), QStringLiteral("ow 1"));
    QCOMPARE(heard, QStringList());
}

void QEditableTreeViewTest::returnInEditor()
{
    view->edit(view->currentIndex());
    QTest::keyClicks(editor(), "abc");
    QTest::keyClick(editor(), Qt::Key_Return);
    QTRY_VERIFY(!editor());
    QCOMPARE(model->index(1, 1).data().toString(), QStringLiteral("abc"));
    QCOMPARE(heard, QStringList());
    QCOMPARE(model->writes, QStringList{"1:1 2 abc"});
}

/// Every key goes on to the tree view.
void QEditableTreeViewTest::arrowsStillMove()
{
    QTest::keyClick(view.get(), Qt::Key_Down);
    QCOMPARE(view->currentIndex(), model->index(2, 1));
    QSignalSpy activated(view.get(), &QAbstractItemView::activated);
    QTest::keyClick(view.get(), Qt::Key_Return, Qt::ControlModifier);
    QCOMPARE(activated.count(), 1);
}

void QEditableTreeViewTest::selectionIsTold()
{
    view->clearSelection();
    QSignalSpy told(view.get(), &QEditableTreeView::updateSelection);
    view->selectionModel()->select(model->index(0, 0), QItemSelectionModel::Select);
    view->selectionModel()->select(model->index(2, 1), QItemSelectionModel::ClearAndSelect);
    QCOMPARE(told.count(), 2);
    QCOMPARE(told.at(1).at(0).value<QItemSelection>().indexes(), QModelIndexList{model->index(2, 1)});
    QCOMPARE(told.at(1).at(1).value<QItemSelection>().indexes(), QModelIndexList{model->index(0, 0)});
}

void QEditableTreeViewTest::dropPosition()
{
    QMimeData data;
    QDropEvent drop(QPointF(17, 23), Qt::MoveAction, &data, Qt::LeftButton, Qt::NoModifier);
    QCOMPARE(view->lastDropPosition(), QPoint());
    view->dropEvent(&drop);
    QCOMPARE(view->lastDropPosition(), view->viewport()->mapToGlobal(QPoint(17, 23)));
}

/// The base class drags only what may be dragged; the view's own drag leaves that to the model.
void QEditableTreeViewTest::dragWithoutMove()
{
    for (int column = 0; column < 2; ++column)
        model->item(2, column)->setDragEnabled(false);
    view->setCurrentIndex(model->index(2, 0));
    view->startDrag(Qt::CopyAction);
    QCOMPARE(model->dragged.size(), 0);
    view->startDrag(Qt::CopyAction | Qt::MoveAction);
    QCOMPARE(model->dragged, QVector<QModelIndexList>{view->selectionModel()->selectedIndexes()});
}

void QEditableTreeViewTest::dragOfNothing()
{
    view->clearSelection();
    view->startDrag(Qt::MoveAction);
    QCOMPARE(model->dragged.size(), 0);
    QCOMPARE(heard, QStringList());
}

void QEditableTreeViewTest::dragWithoutObject_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("array") << QByteArray("[]");
    QTest::newRow("half an object") << QByteArray(R"({"srcList":[)");
}

void QEditableTreeViewTest::dragWithoutObject()
{
    QFETCH(QByteArray, content);
    model->dragContent = content;
    view->startDrag(Qt::MoveAction);
    // The base class asked once more.
    QCOMPARE(model->dragged.size(), 2);
    QCOMPARE(heard, QStringList());
}

void QEditableTreeViewTest::dragPicture_data()
{
    QTest::addColumn<QByteArray>("records");
    QTest::newRow("refused selection") << QByteArray("[]");
    QTest::newRow("one") << QByteArray(R"([{"name":"И","color":"#ff0000"}])");
    QTest::newRow("two") << QByteArray(R"([{"name":"И","color":"#ff0000"},{"name":"П"}])");
}

void QEditableTreeViewTest::dragPicture()
{
    QFETCH(QByteArray, records);
    model->dragContent = R"({"srcList":)" + records + '}';
    view->startDrag(Qt::MoveAction);
    // The drag goes nowhere on this platform; its object stays until the event loop runs.
    const auto *drag = view->findChild<QDrag *>();
    QVERIFY(drag);
    QCOMPARE(drag->hotSpot(), QPoint(0, 0));
    QCOMPARE(drag->mimeData()->data("application/json"), model->dragContent);
    QCOMPARE(drag->pixmap().toImage(), DragBadge::forRecords(JsonMatch::array(records)).pixmap().toImage());
    QCOMPARE(heard, QStringList());
}

DESK_TEST_MAIN(QEditableTreeViewTest)
#include "tst_qeditabletreeview.moc"
