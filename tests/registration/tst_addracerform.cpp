#include "registration/addracerform.h"
#include "registration/tables/qeditabletreeview.h"

#include "desktest.h"

#include <QAction>
#include <QDialogButtonBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMetaMethod>
#include <QPushButton>
#include <QUuid>

#include <memory>

/// The dialog in which a racer and his minors are entered.
class AddRacerFormTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { form.reset(); }

    void metaObject();
    void widgets();
    void kidsView();
    void showFills();
    void acceptTakesAll();
    void emptyNamesAreAccepted();
    void okAndCancel_data();
    void okAndCancel();
    void printButton();
    void addKid();
    void addKidWhileTyping();
    void removeKids_data();
    void removeKids();
    void removeWithoutSelection();

private:
    QLineEdit *edit(const char *name) const { return form->findChild<QLineEdit *>(QString::fromLatin1(name)); }
    QEditableTreeView *view() const { return form->findChild<QEditableTreeView *>("tvKidsList"); }
    QAction *action(const char *name) const { return form->findChild<QAction *>(QString::fromLatin1(name)); }
    void show();
    QStringList kidNames() const;

    std::unique_ptr<AddRacerForm> form;
};

void AddRacerFormTest::init()
{
    form = std::make_unique<AddRacerForm>();
    form->firstName = "Иван";
    form->lastName = "Иванов";
    form->midName = "Ильич";
    for (const char *name : {"Маша", "Петя", "Саша"}) {
        KidRecord kid;
        kid.firstName = QString::fromUtf8(name);
        kid.uuid = QStringLiteral("{%1}").arg(kid.firstName);
        form->kids.append(kid);
    }
}

void AddRacerFormTest::show()
{
    form->show();
    form->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(form.get()));
}

QStringList AddRacerFormTest::kidNames() const
{
    QStringList names;
    for (const KidRecord &kid : qAsConst(form->kids))
        names.append(kid.firstName);
    return names;
}

void AddRacerFormTest::metaObject()
{
    const QMetaObject *meta = form->metaObject();
    QStringList slotNames;
    for (int i = meta->methodOffset(); i < meta->methodCount(); ++i)
        slotNames.append(QString::fromLatin1(meta->method(i).methodSignature()));
    QCOMPARE(slotNames, (QStringList{"accept()", "addKid()", "removeKid()", "on_pushButton_clicked()",
                                     "on_actionAddKid_triggered()", "on_actionRemoveKid_triggered()"}));
    QVERIFY(!form->printRequested);
}

void AddRacerFormTest::widgets()
{
    QCOMPARE(form->windowTitle(), QStringLiteral("Запись на заезд"));
    QVERIFY(!form->windowFlags().testFlag(Qt::WindowContextHelpButtonHint));
    QStringList labels;
    const QList<QLabel *> found = form->findChildren<QLabel *>();
    for (const QLabel *label : found)
        labels.append(label->text());
    QCOMPARE(labels, (QStringList{"Фамилия", "Имя", "Отчество", "Несовершеннолетние\nучастники"}));
    for (const char *name : {"leLastName", "leFirstName", "leMidName"})
        QVERIFY2(edit(name), name);
    QCOMPARE(form->findChild<QPushButton *>("pushButton")->text(), QStringLiteral("Печать бланка"));
    QVERIFY(form->findChild<QDialogButtonBox *>("buttonBox"));
    QCOMPARE(action("actionAddKid")->text(), QStringLiteral("Добавить"));
    QCOMPARE(action("actionRemoveKid")->text(), QStringLiteral("Удалить"));
}

void AddRacerFormTest::kidsView()
{
    QCOMPARE(view()->contextMenuPolicy(), Qt::ActionsContextMenu);
    QCOMPARE(view()->actions(), (QList<QAction *>{action("actionAddKid"), action("actionRemoveKid")}));
    QVERIFY(!view()->rootIsDecorated());
    QVERIFY(view()->uniformRowHeights());
    QVERIFY(!view()->itemsExpandable());
    QVERIFY(!view()->header()->stretchLastSection());
    QVERIFY(qobject_cast<GridDelegate *>(view()->itemDelegate()));
    QCOMPARE(view()->columnWidth(0), 40);
    for (int column = 1; column < 4; ++column)
        QCOMPARE(view()->columnWidth(column), 100);
}

void AddRacerFormTest::showFills()
{
    QCOMPARE(edit("leFirstName")->text(), QString());
    show();
    QCOMPARE(edit("leFirstName")->text(), QStringLiteral("Иван"));
    QCOMPARE(edit("leLastName")->text(), QStringLiteral("Иванов"));
    QCOMPARE(edit("leMidName")->text(), QStringLiteral("Ильич"));
    QCOMPARE(view()->model()->rowCount(), 3);
    QCOMPARE(view()->model()->index(1, 2).data().toString(), QStringLiteral("Петя"));
}

void AddRacerFormTest::acceptTakesAll()
{
    show();
    edit("leFirstName")->setText(" пётр  ");
    edit("leLastName")->setText("ПЕТРОВ");
    edit("leMidName")->clear();
    view()->model()->setData(view()->model()->index(0, 2), "мАША");
    QCOMPARE(form->firstName, QStringLiteral("Иван"));
    form->accept();
    QCOMPARE(form->result(), int(QDialog::Accepted));
    QVERIFY(!form->isVisible());
    QCOMPARE(form->firstName, QStringLiteral(" пётр  "));
    QCOMPARE(form->lastName, QStringLiteral("ПЕТРОВ"));
    QCOMPARE(form->midName, QString());
    QCOMPARE(kidNames(), (QStringList{"мАША", "Петя", "Саша"}));
    QCOMPARE(form->kids.first().uuid, QStringLiteral("{Маша}"));
    QVERIFY(!form->printRequested);
}

void AddRacerFormTest::emptyNamesAreAccepted()
{
    form = std::make_unique<AddRacerForm>();
    show();
    form->accept();
    QCOMPARE(form->result(), int(QDialog::Accepted));
}

void AddRacerFormTest::okAndCancel_data()
{
    QTest::addColumn<int>("button");
    QTest::addColumn<int>("result");
    QTest::addColumn<QString>("firstName");
    QTest::newRow("ok") << int(QDialogButtonBox::Ok) << int(QDialog::Accepted) << "Пётр";
    QTest::newRow("cancel") << int(QDialogButtonBox::Cancel) << int(QDialog::Rejected) << "Иван";
}

void AddRacerFormTest::okAndCancel()
{
    QFETCH(int, button);
    show();
    edit("leFirstName")->setText("Пётр");
    auto *box = form->findChild<QDialogButtonBox *>("buttonBox");
    box->button(QDialogButtonBox::StandardButton(button))->click();
    QTEST(form->result(), "result");
    QTEST(form->firstName, "firstName");
}

void AddRacerFormTest::printButton()
{
    show();
    edit("leFirstName")->setText("Пётр");
    form->findChild<QPushButton *>("pushButton")->click();
    QVERIFY(form->printRequested);
    QCOMPARE(form->result(), int(QDialog::Accepted));
    QCOMPARE(form->firstName, QStringLiteral("Пётр"));
}

void AddRacerFormTest::addKid()
{
    show();
    action("actionAddKid")->trigger();
    QCOMPARE(view()->model()->rowCount(), 4);
    QCOMPARE(view()->currentIndex(), view()->model()->index(3, 1));
    QVERIFY(view()->viewport()->findChild<QLineEdit *>());
    form->accept();
    QCOMPARE(form->kids.size(), 4);
    QVERIFY(!QUuid(form->kids.last().uuid).isNull());
}

/// A name that is still being typed when the form is accepted counts.
void AddRacerFormTest::addKidWhileTyping()
{
    show();
    form->addKid();
    auto *editor = view()->viewport()->findChild<QLineEdit *>();
    QVERIFY(editor);
    QTest::keyClicks(editor, "Petrov");
    form->accept();
    QCOMPARE(form->kids.last().lastName, QStringLiteral("Petrov"));
}

void AddRacerFormTest::removeKids_data()
{
    QTest::addColumn<QList<int>>("rows");
    QTest::addColumn<bool>("yes");
    QTest::addColumn<QStringList>("left");

    const QStringList all{"Маша", "Петя", "Саша"};
    QTest::newRow("one") << QList<int>{1} << true << QStringList{"Маша", "Саша"};
    QTest::newRow("with a gap") << QList<int>{2, 0} << true << QStringList{"Петя"};
    QTest::newRow("all") << QList<int>{0, 1, 2} << true << QStringList();
    QTest::newRow("no") << QList<int>{1} << false << all;
}

void AddRacerFormTest::removeKids()
{
    QFETCH(QList<int>, rows);
    QFETCH(bool, yes);
    show();
    for (const int row : rows)
        view()->selectionModel()->select(view()->model()->index(row, 0),
                                         QItemSelectionModel::Select | QItemSelectionModel::Rows);
    const auto box = ModalAnswer::messageBox("Подтверждение", "Точно удалить?", QMessageBox::Yes | QMessageBox::No,
                                             yes ? QMessageBox::Yes : QMessageBox::No);
    action("actionRemoveKid")->trigger();
    MODAL_VERIFY(box);
    form->accept();
    QTEST(kidNames(), "left");
}

void AddRacerFormTest::removeWithoutSelection()
{
    show();
    view()->clearSelection();
    form->removeKid();
    QVERIFY(!QApplication::activeModalWidget());
    QCOMPARE(view()->model()->rowCount(), 3);
}

DESK_TEST_MAIN(AddRacerFormTest)
#include "tst_addracerform.moc"
