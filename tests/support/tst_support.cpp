#include "desktest.h"
#include "jsonmatch.h"

#include <QDialog>
#include <QInputDialog>
#include <QMenu>
#include <QSettings>
#include <QStandardPaths>

/// The helpers of the tests themselves: a helper that sees nothing wrong anywhere would make every test worthless.
class TestSupport : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void trackIsolates();
    void trackSchema();
    void jsonDifferences();
    void messageBoxAnswered();
    void messageBoxNotAsExpected_data();
    void messageBoxNotAsExpected();
    void nothingAppeared();
    void dialogWorkedOn();
    void dialogLeftOpen();
    void nestedDialogs();
    void menuChosen();
    void menuNotAsExpected();
    void childRolesAndKill();
};

namespace {

QMessageBox::StandardButton ask(const QString &title, const QString &text)
{
    return QMessageBox::question(nullptr, title, text, QMessageBox::Yes | QMessageBox::No);
}

} // namespace

void TestSupport::trackIsolates()
{
    const QString before = QString::fromLocal8Bit(qgetenv("HOME"));
    QString home;
    {
        const TempTrack track;
        home = track.home();
        QCOMPARE(QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation), track.documents());
        track.setSetting(QStringLiteral("key"), 5);
        QVERIFY(QSettings(QStringLiteral("zz.ordvex"), QStringLiteral("prices")).fileName().startsWith(home));
        track.writeJournal(QStringLiteral("x"), "y");
        QCOMPARE(track.journals(), QStringList{QStringLiteral("x")});
        const TempTrack other;
        QVERIFY(!other.setting(QStringLiteral("key")).isValid());
        QCOMPARE(other.journals(), QStringList());
    }
    QVERIFY(!QFile::exists(home));
    QCOMPARE(QString::fromLocal8Bit(qgetenv("HOME")), before);
    QVERIFY(TempTrack(TempTrack::Bare).journals().isEmpty());
}

void TestSupport::trackSchema()
{
    const TempTrack track;
    const int id = track.addPriceItem({QStringLiteral("A"), 5});
    QCOMPARE(track.query(QStringLiteral("SELECT common_id,price_type,is_deleted FROM price_list")),
             (QList<QVariantList>{{id, -1, 0}}));
    track.query(QStringLiteral("INSERT INTO price_list DEFAULT VALUES"));
    QCOMPARE(track.value(QStringLiteral("SELECT price_type FROM price_list WHERE id>?"), {id}).toInt(), -1);
    QCOMPARE(track.addPriceType(QStringLiteral("B")), 1);
    track.query(QStringLiteral("INSERT INTO payments (racer_guid) VALUES ('a')"));
    QCOMPARE(track.value(QStringLiteral("SELECT remote_updated FROM payments")).toInt(), 0);
}

void TestSupport::jsonDifferences()
{
    const QJsonObject a = JsonMatch::object(R"({"x": [1, {"y": "z"}], "more": null})");
    QCOMPARE(JsonMatch::differences(a, a), QString());
    QCOMPARE(JsonMatch::missing(a, JsonMatch::object(R"({"x": [1, {}]})")), QString());
    QVERIFY(JsonMatch::differences(a, JsonMatch::object(R"({"x": [1, {"y": "z"}]})")).contains(QLatin1String(".more")));
    QVERIFY(JsonMatch::missing(a, JsonMatch::object(R"({"x": [1, {"y": "w"}]})")).contains(QLatin1String(".x[1].y")));
    QVERIFY(!JsonMatch::missing(a, JsonMatch::object(R"({"x": [1]})")).isEmpty());
    QVERIFY(!JsonMatch::missing(a, JsonMatch::object(R"({"absent": null})")).isEmpty());
    QVERIFY(!JsonMatch::differences(QJsonArray{1}, QJsonArray{QStringLiteral("1")}).isEmpty());
}

void TestSupport::messageBoxAnswered()
{
    for (const QMessageBox::StandardButton button : {QMessageBox::Yes, QMessageBox::No}) {
        const auto answer = ModalAnswer::messageBox(QStringLiteral("T"), QStringLiteral("t"),
                                                    QMessageBox::Yes | QMessageBox::No, button);
        QCOMPARE(ask(QStringLiteral("T"), QStringLiteral("t")), button);
        MODAL_VERIFY(answer);
    }
}

void TestSupport::messageBoxNotAsExpected_data()
{
    QTest::addColumn<QString>("title");
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("buttons");
    const int yesNo = QMessageBox::Yes | QMessageBox::No;
    QTest::newRow("title") << QStringLiteral("U") << QStringLiteral("t") << yesNo;
    QTest::newRow("text") << QStringLiteral("T") << QStringLiteral("u") << yesNo;
    QTest::newRow("buttons") << QStringLiteral("T") << QStringLiteral("t") << int(QMessageBox::Yes);
}

void TestSupport::messageBoxNotAsExpected()
{
    QFETCH(QString, title);
    QFETCH(QString, text);
    QFETCH(int, buttons);
    const auto answer = ModalAnswer::messageBox(title, text, QMessageBox::StandardButtons(buttons), QMessageBox::Yes);
    QVERIFY(ask(QStringLiteral("T"), QStringLiteral("t")) != QMessageBox::Yes);
    QVERIFY(!answer.answered());
    QVERIFY(!answer.error().isEmpty());
}

void TestSupport::nothingAppeared()
{
    const auto answer = ModalAnswer::widget([](QWidget *) {});
    QTest::qWait(50);
    QVERIFY(!answer.answered());
    QCOMPARE(answer.error(), QStringLiteral("no dialog appeared"));
}

void TestSupport::dialogWorkedOn()
{
    const auto answer = ModalAnswer::dialog(QStringLiteral("T"), [](QDialog *dialog) {
        qobject_cast<QInputDialog *>(dialog)->setTextValue(QStringLiteral("typed"));
        dialog->accept();
    });
    QCOMPARE(QInputDialog::getText(nullptr, QStringLiteral("T"), QStringLiteral("l")), QStringLiteral("typed"));
    MODAL_VERIFY(answer);
}

void TestSupport::dialogLeftOpen()
{
    const auto answer = ModalAnswer::dialog(QStringLiteral("T"), [](QDialog *) {});
    QDialog dialog;
    dialog.setWindowTitle(QStringLiteral("T"));
    QCOMPARE(dialog.exec(), int(QDialog::Rejected));
    QVERIFY(!answer.answered());
}

void TestSupport::nestedDialogs()
{
    const auto outer = ModalAnswer::dialog(QStringLiteral("T"), [](QDialog *dialog) {
        ask(QStringLiteral("inner"), QStringLiteral("t"));
        dialog->accept();
    });
    const auto inner = ModalAnswer::messageBox(QStringLiteral("inner"), QStringLiteral("t"),
                                               QMessageBox::Yes | QMessageBox::No, QMessageBox::Yes);
    QDialog dialog;
    dialog.setWindowTitle(QStringLiteral("T"));
    QCOMPARE(dialog.exec(), int(QDialog::Accepted));
    MODAL_VERIFY(inner);
    MODAL_VERIFY(outer);
}

void TestSupport::menuChosen()
{
    QMenu menu;
    menu.addAction(QStringLiteral("a"));
    menu.addSeparator();
    const QAction *b = menu.addAction(QStringLiteral("b"));
    const auto answer = ModalAnswer::menu({QStringLiteral("a"), QStringLiteral("b")}, QStringLiteral("b"));
    QCOMPARE(menu.exec(QPoint(10, 10)), b);
    MODAL_VERIFY(answer);
    const auto none = ModalAnswer::menu({QStringLiteral("a"), QStringLiteral("b")}, QString());
    QVERIFY(!menu.exec(QPoint(10, 10)));
    MODAL_VERIFY(none);
}

void TestSupport::menuNotAsExpected()
{
    QMenu menu;
    menu.addAction(QStringLiteral("a"));
    const auto answer = ModalAnswer::menu({QStringLiteral("b")}, QStringLiteral("b"));
    QVERIFY(!menu.exec(QPoint(10, 10)));
    QVERIFY(!answer.answered());
    const auto box =
        ModalAnswer::messageBox(QStringLiteral("T"), QStringLiteral("t"), QMessageBox::Ok, QMessageBox::Ok);
    menu.exec(QPoint(10, 10));
    QVERIFY(!box.answered());
}

void TestSupport::childRolesAndKill()
{
    const TempTrack track;
    ChildDesk good(QStringLiteral("home"));
    QVERIFY(good.start());
    QVERIFY2(good.finish(), good.output().constData());
    QVERIFY2(good.output().contains(QFile::encodeName(track.home())), good.output().constData());
    ChildDesk bad(QStringLiteral("no such role"));
    QVERIFY(bad.start());
    QVERIFY(!bad.finish());
    ChildDesk endless(QStringLiteral("wait"));
    QVERIFY(endless.start());
    QVERIFY(endless.waitForLine("here"));
    QVERIFY(!endless.waitForLine("there", 200));
    endless.kill();
    QVERIFY(!endless.finish());
}

namespace {

int runChild(const QString &role, const QStringList &)
{
    if (role == QLatin1String("home")) {
        ChildDesk::say(QFile::encodeName(TempTrack::fromEnvironment()->home()));
        return 0;
    }
    if (role == QLatin1String("wait")) {
        ChildDesk::say("here");
        QTest::qWait(60000);
    }
    return 2;
}

} // namespace

DESK_TEST_MAIN_WITH_CHILD(TestSupport, runChild)

#include "tst_support.moc"
