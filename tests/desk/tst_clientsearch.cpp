#include "desktest.h"
#include "hostprobe.h"
#include "jsonmatch.h"
#include "onlineservice.h"

#include <QAbstractItemModel>
#include <QDialog>
#include <QDialogButtonBox>
#include <QJsonDocument>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTreeView>

#include <memory>

namespace {

QString text(const char *utf8)
{
    return QString::fromUtf8(utf8);
}

QString title()
{
    return text("Поиск клиента");
}

} // namespace

/// The search of clients, from the button to the check-in list, against a service on the address that the desk calls.
class TestClientSearch : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void buttonFollowsTheService();
    void searched();
    void rejected();
    void keyOfTheOpening();
    void keyOfADisabledService();
    void intoTheRaceManager();
    void tabAfterTheDialog();
    void hostOpensTheSearch();
    void oneSearchAtATime();
    void hostSearchesAgainInItsAnswer();
    void requestsWhileOpen();
    void closedBeforeTheReply();
    void rememberedClients();
    void serviceDown();
    void deskEndsWhileOpen();
    void applicationQuitsWhileOpen();

private:
    void enableService(const QString &key = QStringLiteral("KEY"));
    void push() { m_desk->find<QPushButton *>(QStringLiteral("bAddRacerFromDb"))->click(); }
    /// Types into the search and waits for the request.
    bool type(QDialog *dialog, const char *letters);
    static void ok(QDialog *dialog);
    static QAbstractItemModel *results(QDialog *dialog);

    std::unique_ptr<TempTrack> m_track;
    std::unique_ptr<OnlineService> m_service;
    std::unique_ptr<HostProbe> m_desk;
};

void TestClientSearch::init()
{
    m_track = std::make_unique<TempTrack>();
    m_service = std::make_unique<OnlineService>();
    QVERIFY(m_service->listen(OnlineService::DeskPort));
    m_desk = std::make_unique<HostProbe>(QStringLiteral(LAPVANE_PLUGIN_FILE));
    QVERIFY2(m_desk->start(), qPrintable(m_desk->errorString()));
    enableService();
}

void TestClientSearch::cleanup()
{
    m_desk.reset();
    m_service.reset();
    m_track.reset();
}

void TestClientSearch::enableService(const QString &key)
{
    m_desk->send(QStringLiteral("online_service_status"),
                 {{QStringLiteral("enabled"), true}, {QStringLiteral("apiKey"), key}});
}

bool TestClientSearch::type(QDialog *dialog, const char *letters)
{
    const int before = m_service->requests().size();
    QTest::keyClicks(dialog->findChild<QLineEdit *>(QStringLiteral("leSearchString")), QString::fromLatin1(letters));
    return m_service->waitFor(before + int(qstrlen(letters)));
}

void TestClientSearch::ok(QDialog *dialog)
{
    dialog->findChild<QDialogButtonBox *>(QStringLiteral("buttonBox"))->button(QDialogButtonBox::Ok)->click();
}

QAbstractItemModel *TestClientSearch::results(QDialog *dialog)
{
    return dialog->findChild<QTreeView *>(QStringLiteral("tvSearchResult"))->model();
}

void TestClientSearch::buttonFollowsTheService()
{
    auto *button = m_desk->find<QPushButton *>(QStringLiteral("bAddRacerFromDb"));
    QVERIFY(button->isEnabled());
    m_desk->send(QStringLiteral("online_service_status"), {{QStringLiteral("enabled"), false}});
    QVERIFY(!button->isEnabled());
}

void TestClientSearch::searched()
{
    const QJsonObject client = JsonMatch::object(R"({"id": 17, "firstName": "Иван", "lastName": "Иванов",
        "midName": "Ильич", "name": "Иванов И. И.", "tel": "89990000017", "photo": "p"})");
    auto answer = ModalAnswer::dialog(title(), [&](QDialog *dialog) {
        QVERIFY(type(dialog, "8"));
        QCOMPARE(m_service->requests().first().method, QByteArray("POST"));
        QCOMPARE(m_service->requests().first().path, QByteArray("/findracer.php"));
        QCOMPARE(m_service->requests().first().contentType, QByteArray("application/x-www-form-urlencoded"));
        QCOMPARE(m_service->requests().first().body, QByteArray("apiKey=KEY&fullData=true&searchString=8"));
        QVERIFY(m_service->answer(0, OnlineService::results({client})));
        QTRY_COMPARE(results(dialog)->rowCount(), 1);
        QCOMPARE(m_desk->names(), QStringList());
        ok(dialog);
    });
    push();
    MODAL_VERIFY(answer);
    QJsonObject record = client;
    record.insert(QStringLiteral("clientId"), 17);
    const QStringList heard{QStringLiteral("update_local_client"), QStringLiteral("local_request_answer")};
    QCOMPARE(m_desk->names(), heard);
    JSON_COMPARE(m_desk->last(QStringLiteral("update_local_client")), record);
    QCOMPARE(m_desk->checkIn()->rowCount(), 1);
    JSON_CONTAINS(m_desk->last(QStringLiteral("local_request_answer")),
                  JsonMatch::object(R"({"checkInList": [{"clientId": 17, "lastName": "Иванов"}]})"));
}

void TestClientSearch::rejected()
{
    auto answer = ModalAnswer::dialog(title(), [&](QDialog *dialog) {
        QVERIFY(type(dialog, "8"));
        QVERIFY(m_service->answer(0, OnlineService::results({QJsonObject{{QStringLiteral("id"), 1}}})));
        QTRY_COMPARE(results(dialog)->rowCount(), 1);
        dialog->reject();
    });
    push();
    MODAL_VERIFY(answer);
    QCOMPARE(m_desk->names(), QStringList());
    QCOMPARE(m_desk->checkIn()->rowCount(), 0);
}

/// A dialog keeps the key that held when it was opened.
void TestClientSearch::keyOfTheOpening()
{
    auto first = ModalAnswer::dialog(title(), [&](QDialog *dialog) {
        enableService(QStringLiteral("NEW"));
        QVERIFY(type(dialog, "8"));
        dialog->reject();
    });
    push();
    MODAL_VERIFY(first);
    auto second = ModalAnswer::dialog(title(), [&](QDialog *dialog) {
        QVERIFY(type(dialog, "8"));
        dialog->reject();
    });
    push();
    MODAL_VERIFY(second);
    QCOMPARE(m_service->requests().at(0).body, QByteArray("apiKey=KEY&fullData=true&searchString=8"));
    QCOMPARE(m_service->requests().at(1).body, QByteArray("apiKey=NEW&fullData=true&searchString=8"));
}

/// A service that is switched off takes its key with it, and the one that comes with the news does not count. The host
/// may open the search all the same.
void TestClientSearch::keyOfADisabledService()
{
    m_desk->send(QStringLiteral("online_service_status"),
                 {{QStringLiteral("enabled"), false}, {QStringLiteral("apiKey"), QStringLiteral("NEW")}});
    auto answer = ModalAnswer::dialog(title(), [&](QDialog *dialog) {
        QVERIFY(type(dialog, "8"));
        dialog->reject();
    });
    m_desk->send(QStringLiteral("query_racer_from_database"));
    MODAL_VERIFY(answer);
    QCOMPARE(m_service->requests().at(0).body, QByteArray("apiKey=&fullData=true&searchString=8"));
}

void TestClientSearch::intoTheRaceManager()
{
    m_desk->send(QStringLiteral("current_tab_changed"),
                 {{QStringLiteral("currentTab"), QStringLiteral("RaceManagerForm")}});
    m_desk->clear();
    m_service->answerAll(OnlineService::results({JsonMatch::object(R"({"id": 5, "clientId": 99, "tel": "1"})")}));
    auto answer = ModalAnswer::dialog(title(), [&](QDialog *dialog) {
        QVERIFY(type(dialog, "8"));
        QTRY_COMPARE(results(dialog)->rowCount(), 1);
        ok(dialog);
    });
    push();
    MODAL_VERIFY(answer);
    QCOMPARE(m_desk->names(), QStringList{QStringLiteral("database_racer_checkin")});
    JSON_COMPARE(m_desk->last(QStringLiteral("database_racer_checkin")),
                 JsonMatch::object(R"({"id": 5, "clientId": 5, "tel": "1"})"));
    QCOMPARE(m_desk->checkIn()->rowCount(), 0);
}

/// The tab counts that is current when the client has been chosen.
void TestClientSearch::tabAfterTheDialog()
{
    m_service->answerAll(OnlineService::results({JsonMatch::object(R"({"id": 5})")}));
    auto answer = ModalAnswer::dialog(title(), [&](QDialog *dialog) {
        QVERIFY(type(dialog, "8"));
        QTRY_COMPARE(results(dialog)->rowCount(), 1);
        m_desk->send(QStringLiteral("current_tab_changed"),
                     {{QStringLiteral("currentTab"), QStringLiteral("RaceManagerForm")}});
        ok(dialog);
    });
    push();
    MODAL_VERIFY(answer);
    QCOMPARE(m_desk->count(QStringLiteral("database_racer_checkin")), 1);
    QCOMPARE(m_desk->checkIn()->rowCount(), 0);
}

void TestClientSearch::hostOpensTheSearch()
{
    m_desk->send(QStringLiteral("online_service_status"), {{QStringLiteral("enabled"), false}});
    m_service->answerAll(OnlineService::results({JsonMatch::object(R"({"id": 5})")}));
    auto answer = ModalAnswer::dialog(title(), [&](QDialog *dialog) {
        QVERIFY(type(dialog, "8"));
        QTRY_COMPARE(results(dialog)->rowCount(), 1);
        ok(dialog);
    });
    m_desk->send(QStringLiteral("query_racer_from_database"));
    MODAL_VERIFY(answer);
    QCOMPARE(m_service->requests().first().body, QByteArray("apiKey=&fullData=true&searchString=8"));
    QCOMPARE(m_desk->checkIn()->rowCount(), 1);
}

void TestClientSearch::oneSearchAtATime()
{
    auto answer = ModalAnswer::dialog(title(), [&](QDialog *dialog) {
        m_desk->send(QStringLiteral("query_racer_from_database"));
        push();
        QCOMPARE(m_desk->tab()->findChildren<QDialog *>().size(), 1);
        dialog->reject();
    });
    push();
    MODAL_VERIFY(answer);
    QTRY_COMPARE(m_desk->tab()->findChildren<QDialog *>().size(), 0);
}

/// A host that answers a client with the next search gets it.
void TestClientSearch::hostSearchesAgainInItsAnswer()
{
    m_service->answerAll(OnlineService::results({JsonMatch::object(R"({"id": 5})")}));
    int asked = 0;
    const auto again =
        connect(m_desk->plugin(), &VanePluginInterface::pluginSignal, this, [&](const QString &, const QString &event) {
            if (event == QLatin1String("update_local_client") && ++asked == 1)
                m_desk->send(QStringLiteral("query_racer_from_database"));
        });
    auto first = ModalAnswer::dialog(title(), [&](QDialog *dialog) {
        QVERIFY(type(dialog, "8"));
        QTRY_COMPARE(results(dialog)->rowCount(), 1);
        ok(dialog);
    });
    auto second = ModalAnswer::dialog(title(), [&](QDialog *dialog) {
        QCOMPARE(results(dialog)->rowCount(), 0);
        dialog->reject();
    });
    push();
    MODAL_VERIFY(first);
    MODAL_VERIFY(second);
    disconnect(again);
    QCOMPARE(m_desk->checkIn()->rowCount(), 1);
}

void TestClientSearch::requestsWhileOpen()
{
    auto answer = ModalAnswer::dialog(title(), [&](QDialog *dialog) {
        m_desk->clear();
        m_desk->send(QStringLiteral("local_request"),
                     {{QStringLiteral("request"), QStringLiteral("no such request")}, {QStringLiteral("linkGuid"), 5}});
        JSON_COMPARE(m_desk->last(QStringLiteral("local_request_answer")), JsonMatch::object(R"({"linkGuid": 5})"));
        dialog->reject();
    });
    push();
    MODAL_VERIFY(answer);
}

void TestClientSearch::closedBeforeTheReply()
{
    auto answer = ModalAnswer::dialog(title(), [&](QDialog *dialog) {
        QVERIFY(type(dialog, "89"));
        dialog->reject();
    });
    push();
    MODAL_VERIFY(answer);
    for (int i = 0; i < 2; ++i)
        m_service->answer(i, OnlineService::results({JsonMatch::object(R"({"id": 5})")}));
    HostProbe::settle(100);
    QCOMPARE(m_desk->names(), QStringList());
    QCOMPARE(m_desk->checkIn()->rowCount(), 0);
}

/// A thousand clients are remembered until they are registered, those among them whom a cashier has picked for the host.
void TestClientSearch::rememberedClients()
{
    const auto client = [](int id) {
        return QJsonObject{{QStringLiteral("id"), id}, {QStringLiteral("clientId"), id}};
    };
    m_desk->send(QStringLiteral("current_tab_changed"),
                 {{QStringLiteral("currentTab"), QStringLiteral("RaceManagerForm")}});
    for (const int id : {1, 2}) {
        m_service->answerAll(OnlineService::results({client(id)}));
        auto answer = ModalAnswer::dialog(title(), [&](QDialog *dialog) {
            QVERIFY(type(dialog, "8"));
            QTRY_COMPARE(results(dialog)->rowCount(), 1);
            ok(dialog);
        });
        push();
        MODAL_VERIFY(answer);
    }
    m_service->answerNone();
    m_desk->clear();
    const int before = m_service->requests().size();
    for (int number = 0; number < 999; ++number) {
        m_desk->send(QStringLiteral("local_request"), JsonMatch::object(R"({"request": "find_racer_by_num",
                                           "requestData": {"type": "phone", "value": "8"}})"));
    }
    for (int number = 0; number < 999; ++number) {
        QVERIFY(m_service->waitFor(before + number + 1));
        const QJsonObject reply{{QStringLiteral("status"), QStringLiteral("ok")},
                                {QStringLiteral("code"), QStringLiteral("racer_db_data")},
                                {QStringLiteral("results"), QJsonArray{client(100 + number)}}};
        QVERIFY(m_service->answer(before + number, QJsonDocument(reply).toJson()));
    }
    QVERIFY(m_desk->waitFor(QStringLiteral("local_request_answer"), 999));
    const auto registered = [this](int id) {
        m_desk->send(QStringLiteral("local_request"),
                     {{QStringLiteral("request"), QStringLiteral("add_new_checkin")},
                      {QStringLiteral("requestData"), QJsonObject{{QStringLiteral("clientId"), id}}}});
        return m_desk->last(QStringLiteral("update_local_client"));
    };
    JSON_COMPARE(registered(1), QJsonObject());
    JSON_COMPARE(registered(2), client(2));
    JSON_COMPARE(registered(100), client(100));
    JSON_COMPARE(registered(1098), client(1098));
}

void TestClientSearch::serviceDown()
{
    m_service.reset();
    auto answer = ModalAnswer::dialog(title(), [&](QDialog *dialog) {
        QTest::keyClicks(dialog->findChild<QLineEdit *>(QStringLiteral("leSearchString")), QStringLiteral("abc"));
        HostProbe::settle(200);
        QCOMPARE(results(dialog)->rowCount(), 0);
        ok(dialog);
        QVERIFY(dialog->isVisible());
        dialog->reject();
    });
    push();
    MODAL_VERIFY(answer);
    QCOMPARE(m_desk->names(), QStringList());
}

/// A host that throws the desk away under an open search, with requests under way.
void TestClientSearch::deskEndsWhileOpen()
{
    auto answer = ModalAnswer::dialog(title(), [&](QDialog *dialog) {
        QVERIFY(type(dialog, "89"));
        m_desk.reset();
    });
    m_desk->send(QStringLiteral("query_racer_from_database"));
    MODAL_VERIFY(answer);
}

void TestClientSearch::applicationQuitsWhileOpen()
{
    m_desk.reset();
    m_service.reset();
    ChildDesk child(QStringLiteral("quit"));
    QVERIFY(child.start());
    QVERIFY2(child.finish(), child.output().constData());
    QVERIFY(child.output().contains("search closed"));
}

namespace {

/// A host that quits while the search is open, and takes the desk down afterwards.
int quitWhileSearching(const QString & /*role*/, const QStringList & /*arguments*/)
{
    const auto track = TempTrack::fromEnvironment();
    HostProbe desk(QStringLiteral(LAPVANE_PLUGIN_FILE));
    if (!desk.start())
        return 1;
    QTimer::singleShot(0, qApp, [&] {
        desk.send(QStringLiteral("query_racer_from_database"));
        ChildDesk::say("search closed");
    });
    QTimer::singleShot(300, qApp, [] { QCoreApplication::quit(); });
    QCoreApplication::exec();
    return desk.unload() ? 0 : 1;
}

} // namespace

DESK_TEST_MAIN_WITH_CHILD(TestClientSearch, quitWhileSearching)

#include "tst_clientsearch.moc"
