#include "play/widgetfinder.h"

#include <QAction>
#include <QDialog>
#include <QDialogButtonBox>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QStandardItemModel>
#include <QTreeView>
#include <QtTest>
#include <QVBoxLayout>

class TestWidgetFinder : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void findsByNameClassAndPath();
    void refusesTwoOfAName();
    void hiddenOnesOnlyWhenAsked();
    void findsTheWidgetOfARow();
    void dialogComesFirst();
    void dialogButtons();
    void cells_data();
    void cells();
    void actions();

private:
    QScopedPointer<QWidget> m_window;
    QTreeView *m_view = nullptr;
};

void TestWidgetFinder::init()
{
    m_window.reset(new QWidget);
    m_window->setObjectName(QStringLiteral("window"));
    auto *layout = new QVBoxLayout(m_window.data());
    for (const char *name : {"left", "right"}) {
        auto *box = new QWidget;
        box->setObjectName(QLatin1String(name));
        auto *inner = new QVBoxLayout(box);
        auto *edit = new QLineEdit;
        edit->setObjectName(QStringLiteral("edit"));
        inner->addWidget(edit);
        layout->addWidget(box);
    }
    auto *model = new QStandardItemModel(0, 2, m_window.data());
    model->setHorizontalHeaderLabels({QStringLiteral("#"), QStringLiteral("Имя")});
    for (const char *name : {"Морозова", "Юдин"}) {
        auto *number = new QStandardItem(QStringLiteral("1"));
        number->setData(QStringLiteral("POS"), Qt::UserRole);
        auto *text = new QStandardItem(QString::fromUtf8(name));
        text->setData(QStringLiteral("NAME"), Qt::UserRole);
        model->appendRow({number, text});
    }
    auto *childNumber = new QStandardItem(QStringLiteral("1"));
    auto *childName = new QStandardItem(QStringLiteral("Тимофей"));
    childName->setData(QStringLiteral("NAME"), Qt::UserRole);
    model->item(0)->appendRow({childNumber, childName});
    m_view = new QTreeView;
    m_view->setObjectName(QStringLiteral("view"));
    m_view->setModel(model);
    layout->addWidget(m_view);
    m_window->show();
}

void TestWidgetFinder::cleanup()
{
    m_window.reset();
}

void TestWidgetFinder::findsByNameClassAndPath()
{
    QString error;
    QCOMPARE(WidgetFinder::widget(QStringLiteral("view"), &error), m_view);
    QCOMPARE(WidgetFinder::widget(QStringLiteral(".QTreeView"), &error), m_view);
    QWidget *edit = WidgetFinder::widget(QStringLiteral("right/edit"), &error);
    QVERIFY2(edit, qPrintable(error));
    QCOMPARE(edit->parentWidget()->objectName(), QStringLiteral("right"));
    QVERIFY(!WidgetFinder::widget(QStringLiteral("nobody"), &error));
    QVERIFY(error.contains(QLatin1String("nobody")));
    QVERIFY(!WidgetFinder::widget(QStringLiteral("left/view"), &error));
}

void TestWidgetFinder::refusesTwoOfAName()
{
    QString error;
    QVERIFY(!WidgetFinder::widget(QStringLiteral("edit"), &error));
    QVERIFY2(error.contains(QLatin1String("2")), qPrintable(error));
}

void TestWidgetFinder::hiddenOnesOnlyWhenAsked()
{
    m_view->hide();
    QString error;
    QVERIFY(!WidgetFinder::widget(QStringLiteral("view"), &error));
    QCOMPARE(WidgetFinder::widget(QStringLiteral("view"), &error, WidgetFinder::AlsoHidden), m_view);
}

void TestWidgetFinder::findsTheWidgetOfARow()
{
    QListWidget list;
    list.setObjectName(QStringLiteral("runs"));
    list.addItems({QString(), QString(), QString()});
    auto *run = new QWidget;
    auto *button = new QPushButton(run);
    button->setObjectName(QStringLiteral("startButton"));
    list.setItemWidget(list.item(1), run);
    list.show();
    QString error;
    QCOMPARE(WidgetFinder::widget(QStringLiteral("runs/#1"), &error), run);
    QCOMPARE(WidgetFinder::widget(QStringLiteral("runs/#1/startButton"), &error), button);
    QVERIFY2(error.isEmpty(), qPrintable(error));
    QVERIFY2(!WidgetFinder::widget(QStringLiteral("runs/#0"), &error), "a row without a widget");
    QVERIFY(!WidgetFinder::widget(QStringLiteral("runs/#3"), &error));
    QVERIFY(!WidgetFinder::widget(QStringLiteral("runs/#first"), &error));
    QVERIFY2(!WidgetFinder::widget(QStringLiteral("left/#0"), &error), "not a view");
}

void TestWidgetFinder::dialogComesFirst()
{
    QDialog dialog;
    QLineEdit edit(&dialog);
    edit.setObjectName(QStringLiteral("edit"));
    dialog.setModal(true);
    dialog.show();
    QString error;
    QCOMPARE(WidgetFinder::widget(QStringLiteral("edit"), &error), &edit);
    QCOMPARE(WidgetFinder::widget(QStringLiteral("@modal"), &error), &dialog);
    QCOMPARE(WidgetFinder::widget(QStringLiteral("view"), &error), m_view);
}

void TestWidgetFinder::dialogButtons()
{
    QString error;
    QVERIFY(!WidgetFinder::dialogButton(QStringLiteral("Ok"), &error));
    QDialog dialog;
    QVBoxLayout layout(&dialog);
    QDialogButtonBox box(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    layout.addWidget(&box);
    QPushButton blank(QStringLiteral("&Печать бланка"));
    blank.setObjectName(QStringLiteral("pushButton"));
    layout.addWidget(&blank);
    dialog.setModal(true);
    dialog.show();
    QCOMPARE(WidgetFinder::dialogButton(QStringLiteral("Cancel"), &error), box.button(QDialogButtonBox::Cancel));
    QCOMPARE(WidgetFinder::dialogButton(QStringLiteral("pushButton"), &error), &blank);
    QCOMPARE(WidgetFinder::dialogButton(QStringLiteral("Печать бланка"), &error), &blank);
    QVERIFY(!WidgetFinder::dialogButton(QStringLiteral("Yes"), &error));
}

void TestWidgetFinder::cells_data()
{
    QTest::addColumn<QString>("row");
    QTest::addColumn<QString>("column");
    QTest::addColumn<QString>("text");
    const auto row = [](const char *name, const char *where, const char *column, const char *text) {
        QTest::newRow(name) << QString::fromUtf8(where) << QString::fromUtf8(column) << QString::fromUtf8(text);
    };
    row("numbers", "1", "1", "Юдин");
    row("by key", "0", "NAME", "Морозова");
    row("by caption", "1", "Имя", "Юдин");
    row("a child", "0/0", "NAME", "Тимофей");
    row("a row by its text", "NAME~Юд", "NAME", "Юдин");
    row("a child by its text", "NAME~Тимо", "1", "Тимофей");
    row("no such row", "2", "NAME", "");
    row("no such child", "1/0", "NAME", "");
    row("no such text", "NAME~Орлова", "NAME", "");
    row("no such column", "0", "PAYSUM", "");
    row("not a row", "first", "NAME", "");
}

void TestWidgetFinder::cells()
{
    QFETCH(QString, row);
    QFETCH(QString, column);
    QFETCH(QString, text);
    QString error;
    const QModelIndex index = WidgetFinder::cell(m_view, row, column, &error);
    QCOMPARE(index.isValid(), !text.isEmpty());
    QCOMPARE(index.data().toString(), text);
    QCOMPARE(error.isEmpty(), index.isValid());
}

void TestWidgetFinder::actions()
{
    QAction action(m_window.data());
    action.setObjectName(QStringLiteral("actionEdit"));
    m_view->addAction(&action);
    QString error;
    QCOMPARE(WidgetFinder::action(QStringLiteral("actionEdit"), &error), &action);
    QVERIFY(!WidgetFinder::action(QStringLiteral("actionOther"), &error));
}

QTEST_MAIN(TestWidgetFinder)
#include "tst_host_widgetfinder.moc"
