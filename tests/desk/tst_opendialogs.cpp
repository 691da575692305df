#include "desktest.h"
#include "hostprobe.h"
#include "jsonmatch.h"
#include "modal.h"

#include <QListWidget>
#include <QTreeView>

#include <memory>

using JsonMatch::object;

/// A host that ends the desk while one of its dialogs is open. Whoever opened the dialog comes back from it into a desk
/// that is gone.
class TestOpenDialogs : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void deskEnds_data();
    void deskEnds();
    void deskEndsUnderAQuestionOfADialog();
    void deskEndsUnderTheBoxOfARequest();

private:
    void invoke(const char *slot) { QVERIFY(QMetaObject::invokeMethod(m_desk->tab(), slot)); }
    void ask(const char *request) { m_desk->send(QStringLiteral("local_request"), object(request)); }

    std::unique_ptr<TempTrack> m_track;
    std::unique_ptr<HostProbe> m_desk;
};

void TestOpenDialogs::init()
{
    m_track = std::make_unique<TempTrack>();
    m_desk = std::make_unique<HostProbe>(QStringLiteral(LAPVANE_PLUGIN_FILE));
    QVERIFY2(m_desk->start(), qPrintable(m_desk->errorString()));
    ask(R"({"request": "add_new_checkin", "requestData": {"uuid": "{a}", "clientId": 5, "firstName": "A"}})");
    ask(R"({"request": "add_new_run", "requestData": {"runsCount": 2}})");
    auto *runs = m_desk->find<QListWidget *>(QStringLiteral("lwRunsList"));
    QCOMPARE(runs->count(), 2);
    runs->setCurrentRow(0);
    auto *lines = m_desk->find<QTreeView *>(QStringLiteral("tvCheckIn"));
    QCOMPARE(lines->model()->rowCount(), 1);
    lines->setCurrentIndex(lines->model()->index(0, 0));
    m_desk->clear();
}

void TestOpenDialogs::cleanup()
{
    m_desk.reset();
    m_track.reset();
}

void TestOpenDialogs::deskEnds_data()
{
    QTest::addColumn<QByteArray>("slot");
    for (const char *slot :
         {"on_bAddRacer_clicked", "on_actionEditRacer_triggered", "on_actionRemoveRacer_triggered",
          "on_pbRemovePaid_clicked", "on_pbSimplePayment_clicked", "on_bAddRun_clicked", "on_actionRenameRun_triggered",
          "on_actionRenumberRuns_triggered", "on_bAddRacerFromDb_clicked"})
        QTest::newRow(slot) << QByteArray(slot);
}

void TestOpenDialogs::deskEnds()
{
    QFETCH(QByteArray, slot);
    const auto answer = ModalAnswer::widget([this](QWidget *) {
        m_desk.reset();
        QVERIFY(!QApplication::activeModalWidget());
    });
    invoke(slot.constData());
    MODAL_VERIFY(answer);
    QVERIFY(!m_desk);
    HostProbe::settle();
}

void TestOpenDialogs::deskEndsUnderAQuestionOfADialog()
{
    const auto outer = ModalAnswer::widget([](QWidget *form) {
        auto *kids = form->findChild<QTreeView *>(QStringLiteral("tvKidsList"));
        QVERIFY(QMetaObject::invokeMethod(form, "addKid"));
        kids->selectAll();
        QVERIFY(QMetaObject::invokeMethod(form, "removeKid"));
    });
    const auto inner = ModalAnswer::widget([this](QWidget *) {
        m_desk.reset();
        QVERIFY(!QApplication::activeModalWidget());
    });
    invoke("on_bAddRacer_clicked");
    MODAL_VERIFY(outer);
    MODAL_VERIFY(inner);
    QVERIFY(!m_desk);
    HostProbe::settle();
}

void TestOpenDialogs::deskEndsUnderTheBoxOfARequest()
{
    const auto answer = ModalAnswer::widget([this](QWidget *) { m_desk.reset(); });
    // The request names the line twice: nobody goes on to its second ticket, and nothing is answered any more.
    ask(R"({"request": "print_tickets", "linkGuid": "{l}", "requestData": {"uuidList": ["{a}", "{a}"]}})");
    MODAL_VERIFY(answer);
    QVERIFY(!m_desk);
    HostProbe::settle();
}

DESK_TEST_MAIN(TestOpenDialogs)

#include "tst_opendialogs.moc"
