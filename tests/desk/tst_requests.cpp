#include "desktest.h"
#include "hostprobe.h"
#include "jsonmatch.h"

#include <QAbstractItemModel>
#include <QComboBox>
#include <QJsonDocument>
#include <QPlainTextEdit>
#include <QSpinBox>

/// Requests that come through the host, the log that goes with them, and the small publications of the form. A new desk
/// on a new track for each test.
class TestRequests : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void remoteRequest();
    void remoteRequestWithoutSink();
    void remoteRequestWithoutName_data();
    void remoteRequestWithoutName();
    void remoteRequestSkipsAnswer();
    void remoteRequestSkipsAnswerOnlyForTrue_data();
    void remoteRequestSkipsAnswerOnlyForTrue();
    void localRequestWithoutLink();
    void localRequestWithLink_data();
    void localRequestWithLink();
    void someError();
    void checkInListUpdated();
    void runQueueChanged();
    void rowsMovedForcesAReload();
    void priceTypeActivated();
    void priceTypesRefilled();
    void priceItemsRemoved();
    void settingsAccepted();
    void acceptedSettingsReachTheDesk();
    void settingsPageIgnoresOtherEvents();

private:
    std::unique_ptr<TempTrack> m_track;
    std::unique_ptr<HostProbe> m_desk;
};

namespace {

using JsonMatch::object;

QStringList pricesPublished()
{
    return {QStringLiteral("local_request_answer"), QStringLiteral("update_remote_prices")};
}

QJsonObject logEntry(const char *text, const QJsonObject &data)
{
    return {{QStringLiteral("logStr"), QString::fromUtf8(text)}, {QStringLiteral("logData"), data}};
}

} // namespace

void TestRequests::init()
{
    m_track = std::make_unique<TempTrack>();
    m_desk = std::make_unique<HostProbe>(QStringLiteral(LAPVANE_PLUGIN_FILE));
}

void TestRequests::cleanup()
{
    m_desk.reset();
    m_track.reset();
}

void TestRequests::remoteRequest()
{
    QVERIFY2(m_desk->start(), qPrintable(m_desk->errorString()));
    const QJsonObject request =
        object(R"({"request": "no such request", "sinkId": "{s}", "trackId": "", "data": [1]})");
    m_desk->send(QStringLiteral("remote_control_data"), request);
    const QVector<HostEvent> events = m_desk->events();
    QCOMPARE(m_desk->names(), (QStringList{QStringLiteral("write_sys_log"), QStringLiteral("write_sys_log"),
                                           QStringLiteral("remote_control_answer")}));
    const QJsonObject answer = object(R"({"req_answ": {"srcRequest": "no such request"}, "sinkId": "{s}"})");
    JSON_COMPARE(events.at(0).data, logEntry("remote_control_data", request));
    JSON_COMPARE(events.at(1).data, logEntry("remote_control_answer", answer));
    JSON_COMPARE(events.at(2).data, answer);
}

void TestRequests::remoteRequestWithoutSink()
{
    QVERIFY2(m_desk->start(), qPrintable(m_desk->errorString()));
    m_desk->send(QStringLiteral("remote_control_data"), object(R"({"request": "no such request"})"));
    JSON_COMPARE(m_desk->last(QStringLiteral("remote_control_answer")),
                 object(R"({"req_answ": {"srcRequest": "no such request"}})"));
}

void TestRequests::remoteRequestWithoutName_data()
{
    QTest::addColumn<QJsonObject>("request");
    QTest::newRow("nothing") << QJsonObject();
    QTest::newRow("number") << object(R"({"request": 5})");
    QTest::newRow("null") << object(R"({"request": null})");
    QTest::newRow("object") << object(R"({"request": {"request": "checkTicket"}})");
}

void TestRequests::remoteRequestWithoutName()
{
    QFETCH(QJsonObject, request);
    QVERIFY2(m_desk->start(), qPrintable(m_desk->errorString()));
    m_desk->send(QStringLiteral("remote_control_data"), request);
    QCOMPARE(m_desk->names(), (QStringList{QStringLiteral("write_sys_log"), QStringLiteral("write_sys_log"),
                                           QStringLiteral("remote_control_answer")}));
    JSON_COMPARE(m_desk->events().first().data, logEntry("remote_control_data", request));
    JSON_COMPARE(m_desk->last(QStringLiteral("remote_control_answer")), object(R"({"req_answ": {"srcRequest": ""}})"));
}

void TestRequests::remoteRequestSkipsAnswer()
{
    QVERIFY2(m_desk->start(), qPrintable(m_desk->errorString()));
    const QJsonObject request = object(R"({"request": "no such request", "sinkId": "{s}", "skipAnswer": true})");
    m_desk->send(QStringLiteral("remote_control_data"), request);
    QCOMPARE(m_desk->names(), QStringList{QStringLiteral("write_sys_log")});
    JSON_COMPARE(m_desk->last(QStringLiteral("write_sys_log")), logEntry("remote_control_data", request));
}

void TestRequests::remoteRequestSkipsAnswerOnlyForTrue_data()
{
    QTest::addColumn<QJsonValue>("value");
    QTest::newRow("false") << QJsonValue(false);
    QTest::newRow("text") << QJsonValue(QStringLiteral("true"));
    QTest::newRow("number") << QJsonValue(1);
    QTest::newRow("null") << QJsonValue(QJsonValue::Null);
}

void TestRequests::remoteRequestSkipsAnswerOnlyForTrue()
{
    QFETCH(QJsonValue, value);
    QVERIFY2(m_desk->start(), qPrintable(m_desk->errorString()));
    m_desk->send(QStringLiteral("remote_control_data"),
                 {{QStringLiteral("request"), QStringLiteral("x")}, {QStringLiteral("skipAnswer"), value}});
    QCOMPARE(m_desk->count(QStringLiteral("remote_control_answer")), 1);
    QCOMPARE(m_desk->count(QStringLiteral("write_sys_log")), 2);
}

void TestRequests::localRequestWithoutLink()
{
    QVERIFY2(m_desk->start(), qPrintable(m_desk->errorString()));
    for (const char *text :
         {R"({"request": "no such request", "requestData": {"a": 1}})", R"({})", R"({"request": 5})"}) {
        m_desk->clear();
        m_desk->send(QStringLiteral("local_request"), object(text));
        QCOMPARE(m_desk->names(), QStringList{QStringLiteral("write_sys_log")});
        JSON_COMPARE(m_desk->last(QStringLiteral("write_sys_log")), logEntry("local_request", object(text)));
    }
}

void TestRequests::localRequestWithLink_data()
{
    QTest::addColumn<QJsonValue>("link");
    QTest::newRow("text") << QJsonValue(QStringLiteral("{link}"));
    QTest::newRow("empty text") << QJsonValue(QString());
    QTest::newRow("number") << QJsonValue(17);
    QTest::newRow("object") << QJsonValue(object(R"({"a": [1, {"b": null}]})"));
    QTest::newRow("null") << QJsonValue(QJsonValue::Null);
}

// The link is opaque: whatever it is, it comes back, with nothing else on a request that nobody knows.
void TestRequests::localRequestWithLink()
{
    QFETCH(QJsonValue, link);
    QVERIFY2(m_desk->start(), qPrintable(m_desk->errorString()));
    const QJsonObject request{{QStringLiteral("request"), QStringLiteral("no such request")},
                              {QStringLiteral("linkGuid"), link}};
    m_desk->send(QStringLiteral("local_request"), request);
    QCOMPARE(m_desk->names(), (QStringList{QStringLiteral("write_sys_log"), QStringLiteral("local_request_answer")}));
    JSON_COMPARE(m_desk->events().first().data, logEntry("local_request", request));
    JSON_COMPARE(m_desk->last(QStringLiteral("local_request_answer")),
                 (QJsonObject{{QStringLiteral("linkGuid"), link}}));
}

void TestRequests::someError()
{
    QVERIFY2(m_desk->start(), qPrintable(m_desk->errorString()));
    QVERIFY(QMetaObject::invokeMethod(m_desk->tab(), "someError", Q_ARG(QString, QStringLiteral("Не указана сумма"))));
    QCOMPARE(m_desk->names(), QStringList{QStringLiteral("write_sys_log")});
    JSON_COMPARE(m_desk->last(QStringLiteral("write_sys_log")),
                 logEntry("ticket_plugin_error", object(R"({"msg": "Не указана сумма"})")));
}

void TestRequests::checkInListUpdated()
{
    QVERIFY2(m_desk->start(), qPrintable(m_desk->errorString()));
    const QJsonArray list = JsonMatch::array(R"([{"uuid": "{a}"}, 5])");
    QVERIFY(QMetaObject::invokeMethod(m_desk->tab(), "checkInListUpdated", Q_ARG(QJsonArray, list)));
    QCOMPARE(m_desk->names(), QStringList{QStringLiteral("local_request_answer")});
    JSON_COMPARE(m_desk->last(QStringLiteral("local_request_answer")),
                 (QJsonObject{{QStringLiteral("checkInList"), list}}));
}

void TestRequests::runQueueChanged()
{
    QVERIFY2(m_desk->start(), qPrintable(m_desk->errorString()));
    const QStringList names{QStringLiteral("remote_control_answer"), QStringLiteral("local_request_answer")};
    const QJsonObject inner = object(R"({"request": "runQueueUpdate", "runQueue": {"pendingRuns": []},
        "runHistory": {"runHistoryList": []}})");
    QJsonObject forced = inner;
    forced.insert(QStringLiteral("forceReload"), true);
    const QJsonObject toAll{{QStringLiteral("req_answ"), inner}};

    QVERIFY(QMetaObject::invokeMethod(m_desk->tab(), "runQueueChanged"));
    QCOMPARE(m_desk->names(), names);
    JSON_COMPARE(m_desk->last(names.at(0)), toAll);
    JSON_COMPARE(m_desk->last(names.at(1)), inner);

    m_desk->clear();
    QVERIFY(QMetaObject::invokeMethod(m_desk->tab(), "runQueueChanged", Q_ARG(QString, QStringLiteral("{s}"))));
    QCOMPARE(m_desk->names(), names);
    JSON_COMPARE(m_desk->last(names.at(0)),
                 (QJsonObject{{QStringLiteral("req_answ"), inner}, {QStringLiteral("sinkId"), QStringLiteral("{s}")}}));
    JSON_COMPARE(m_desk->last(names.at(1)), inner);

    m_desk->clear();
    QVERIFY(QMetaObject::invokeMethod(m_desk->tab(), "runQueueChanged", Q_ARG(QString, QString()), Q_ARG(bool, true)));
    QCOMPARE(m_desk->names(), names);
    JSON_COMPARE(m_desk->last(names.at(0)), (QJsonObject{{QStringLiteral("req_answ"), forced}}));
    JSON_COMPARE(m_desk->last(names.at(1)), forced);

    m_desk->clear();
    QVERIFY(QMetaObject::invokeMethod(m_desk->tab(), "runQueueChanged", Q_ARG(QString, QString()), Q_ARG(bool, false)));
    JSON_COMPARE(m_desk->last(names.at(0)), toAll);
}

void TestRequests::rowsMovedForcesAReload()
{
    QVERIFY2(m_desk->start(), qPrintable(m_desk->errorString()));
    QVERIFY(QMetaObject::invokeMethod(m_desk->tab(), "lwRuns_rowsMoved", Q_ARG(QModelIndex, QModelIndex()),
                                      Q_ARG(int, 0), Q_ARG(int, 0), Q_ARG(QModelIndex, QModelIndex()), Q_ARG(int, 1)));
    QCOMPARE(m_desk->names(),
             (QStringList{QStringLiteral("remote_control_answer"), QStringLiteral("local_request_answer")}));
    JSON_CONTAINS(m_desk->last(QStringLiteral("local_request_answer")),
                  object(R"({"request": "runQueueUpdate", "forceReload": true})"));
    JSON_CONTAINS(m_desk->last(QStringLiteral("remote_control_answer")),
                  object(R"({"req_answ": {"forceReload": true}})"));
}

void TestRequests::priceTypeActivated()
{
    const int common = m_track->addPriceItem({QStringLiteral("Заезд"), 500});
    const int weekend = m_track->addPriceType(QStringLiteral("Выходные"));
    const int dear =
        m_track->addPriceItem({QStringLiteral("Заезд"), 900, QString(), QStringLiteral("#ffffff"), weekend, common});
    QVERIFY2(m_desk->start(), qPrintable(m_desk->errorString()));

    auto *box = m_desk->find<QComboBox *>(QStringLiteral("cbPricesNames"));
    QCOMPARE(box->count(), 2);
    QCOMPARE(box->itemText(1), QStringLiteral("Выходные"));
    QCOMPARE(box->itemData(1, Qt::UserRole).toInt(), weekend);
    box->setCurrentIndex(1);
    QCOMPARE(m_desk->names(), QStringList());
    QVERIFY(QMetaObject::invokeMethod(m_desk->tab(), "on_cbPricesNames_activated", Q_ARG(int, 1)));
    QCOMPARE(m_desk->names(), pricesPublished());
    JSON_COMPARE(m_desk->last(QStringLiteral("local_request_answer")),
                 (QJsonObject{{QStringLiteral("priceTypes"),
                               object(R"({"names": ["Основные", "Выходные"], "currentIndex": 1})")},
                              {QStringLiteral("priceList"),
                               QJsonArray{QJsonObject{{QStringLiteral("model"), QString()},
                                                      {QStringLiteral("salesItem"), QStringLiteral("Заезд")},
                                                      {QStringLiteral("salesId"), dear},
                                                      {QStringLiteral("salesCommonId"), common},
                                                      {QStringLiteral("color"), QStringLiteral("#ffffff")},
                                                      {QStringLiteral("price"), 900}}}}}));
    JSON_CONTAINS(m_desk->last(QStringLiteral("update_remote_prices")),
                  object(R"({"priceKind": "Выходные", "prices": [{"price": 900}]})"));

    // A row that is none counts as the first.
    m_desk->clear();
    QVERIFY(QMetaObject::invokeMethod(m_desk->tab(), "on_cbPricesNames_activated", Q_ARG(int, -1)));
    QCOMPARE(m_desk->names(), pricesPublished());
    JSON_CONTAINS(m_desk->last(QStringLiteral("update_remote_prices")), object(R"({"priceKind": "Основные"})"));
}

void TestRequests::priceTypesRefilled()
{
    const int common = m_track->addPriceItem({QStringLiteral("Заезд"), 500});
    const int weekend = m_track->addPriceType(QStringLiteral("Выходные"));
    m_track->addPriceItem({QStringLiteral("Заезд"), 900, QString(), QStringLiteral("#ffffff"), weekend, common});
    QVERIFY2(m_desk->start(), qPrintable(m_desk->errorString()));
    auto *box = m_desk->find<QComboBox *>(QStringLiteral("cbPricesNames"));
    box->setCurrentIndex(1);
    QVERIFY(QMetaObject::invokeMethod(m_desk->tab(), "priceSettingsChanged"));
    QCOMPARE(m_desk->names(), pricesPublished());
    QCOMPARE(box->currentText(), QStringLiteral("Выходные"));
    JSON_CONTAINS(m_desk->last(QStringLiteral("update_remote_prices")), object(R"({"priceKind": "Выходные"})"));

    // The type goes in the database; after the next reload the box falls back to its first row.
    m_track->query(QStringLiteral("UPDATE price_types SET is_deleted=1 WHERE id=?"), {weekend});
    m_track->query(QStringLiteral("UPDATE price_list SET is_deleted=1 WHERE price_type=?"), {weekend});
    QVERIFY(QMetaObject::invokeMethod(m_desk->tab(), "loadSettings"));
    m_desk->clear();
    QVERIFY(QMetaObject::invokeMethod(m_desk->tab(), "priceSettingsChanged"));
    QCOMPARE(box->count(), 1);
    QCOMPARE(box->currentText(), QStringLiteral("Основные"));
    JSON_CONTAINS(m_desk->last(QStringLiteral("local_request_answer")),
                  object(R"({"priceTypes": {"names": ["Основные"], "currentIndex": 0}})"));
}

void TestRequests::priceItemsRemoved()
{
    QVERIFY2(m_desk->start(), qPrintable(m_desk->errorString()));
    const QList<qint32> ids{4, 17};
    QVERIFY(QMetaObject::invokeMethod(m_desk->tab(), "priceItemsRemoved", Q_ARG(QList<qint32>, ids)));
    QCOMPARE(m_desk->names(), QStringList{QStringLiteral("update_remote_prices")});
    JSON_COMPARE(m_desk->last(QStringLiteral("update_remote_prices")),
                 object(R"({"cmd": "removePriceItems", "removeList": [4, 17]})"));
}

// Accepting the host's dialog reads everything anew but tells nobody.
void TestRequests::settingsAccepted()
{
    m_track->setSetting(QStringLiteral("ticketCaption"), QStringLiteral("Лента"));
    m_track->setSetting(QStringLiteral("maxInRunCount"), 7);
    m_track->setDiscounts({QStringLiteral("5"), QStringLiteral("=100")});
    m_track->setPayMethods({QStringLiteral("Наличные"), QStringLiteral("Карта")});
    QVERIFY2(m_desk->start(), qPrintable(m_desk->errorString()));
    QWidget *page = m_desk->settingsPage();
    m_track->setSetting(QStringLiteral("maxInRunCount"), 99);
    QVERIFY(QMetaObject::invokeMethod(page, "pluginSlot", Q_ARG(QString, QStringLiteral("host")),
                                      Q_ARG(QString, QStringLiteral("settings_accepted")),
                                      Q_ARG(QJsonObject, QJsonObject())));
    QCOMPARE(m_desk->names(), QStringList());
    QCOMPARE(m_track->setting(QStringLiteral("ticketCaption")).toString(), QStringLiteral("Лента"));
    QCOMPARE(m_track->setting(QStringLiteral("maxInRunCount")).toInt(), 7);
    QCOMPARE(m_track->setting(QStringLiteral("defaultRunDuration")).toInt(), 10);
    QCOMPARE(m_track->setting(QStringLiteral("pauseDuration")).toInt(), 3);
    QCOMPARE(m_track->setting(QStringLiteral("fixedRunStartTimeInQueue")).toBool(), false);
    QCOMPARE(m_track->setting(QStringLiteral("discounts")).toByteArray(), QByteArray("[\"5\",\"=100\"]"));
    QCOMPARE(m_track->setting(QStringLiteral("paymethods")).toByteArray(), QByteArray("[\"Наличные\",\"Карта\"]"));
}

// What was accepted counts at once, without a restart.
void TestRequests::acceptedSettingsReachTheDesk()
{
    m_track->addPriceItem({QStringLiteral("A"), 100, QString(), QStringLiteral("#ffffff"), -1, 1});
    QVERIFY2(m_desk->start(), qPrintable(m_desk->errorString()));
    const QWidget *page = m_desk->settingsPage();
    page->findChild<QSpinBox *>(QStringLiteral("sbDefaultRunDuration"))->setValue(7);
    page->findChild<QPlainTextEdit *>(QStringLiteral("teDiscounts"))->setPlainText(QStringLiteral("5\n\n=3.5"));
    page->findChild<QPlainTextEdit *>(QStringLiteral("tePayMethods"))->setPlainText(QStringLiteral("QR\nКарта"));
    m_track->addPriceItem({QStringLiteral("B"), 5, QString(), QStringLiteral("#010203"), -1, 2});
    QVERIFY(QMetaObject::invokeMethod(m_desk->settingsPage(), "pluginSlot", Q_ARG(QString, QStringLiteral("host")),
                                      Q_ARG(QString, QStringLiteral("settings_accepted")),
                                      Q_ARG(QJsonObject, QJsonObject())));
    m_desk->clear();
    m_desk->send(QStringLiteral("local_request"), object(R"({"request": "cash_data", "linkGuid": "l"})"));
    const QByteArray answer =
        QJsonDocument(m_desk->last(QStringLiteral("local_request_answer"))).toJson(QJsonDocument::Compact);
    for (const char *news : {"\"B\"", "3.5", "QR", "Карта"})
        QVERIFY2(answer.contains(news), answer.constData());
    m_desk->send(QStringLiteral("local_request"),
                 object(R"({"request": "add_new_run", "requestData": {"runsCount": 1}})"));
    const QByteArray queue = m_track->readJournal(QStringLiteral("runslist.state"));
    QVERIFY2(queue.contains("\"finishParam\":420"), queue.constData());
}

void TestRequests::settingsPageIgnoresOtherEvents()
{
    m_track->setSetting(QStringLiteral("maxInRunCount"), 7);
    QVERIFY2(m_desk->start(), qPrintable(m_desk->errorString()));
    QWidget *page = m_desk->settingsPage();
    m_track->setSetting(QStringLiteral("maxInRunCount"), 55);
    for (const char *event : {"", "settings_rejected", "load_complete", "SETTINGS_ACCEPTED"})
        QVERIFY(QMetaObject::invokeMethod(page, "pluginSlot", Q_ARG(QString, QString()),
                                          Q_ARG(QString, QString::fromLatin1(event)),
                                          Q_ARG(QJsonObject, QJsonObject())));
    // And the plugin's own slot knows no settings_accepted.
    m_desk->send(QStringLiteral("settings_accepted"));
    QCOMPARE(m_desk->names(), QStringList());
    QCOMPARE(m_track->setting(QStringLiteral("maxInRunCount")).toInt(), 55);
}

DESK_TEST_MAIN(TestRequests)

#include "tst_requests.moc"
