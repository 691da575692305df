#include "plugin/ticketpluginform.h"

#include "common/clock.h"
#include "vaneplugininterface.h"

#include "desktest.h"
#include "jsonmatch.h"

#include <QAbstractItemView>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QPushButton>
#include <QRegularExpression>
#include <QTcpServer>

#include <memory>

namespace {

// No view shows the history of registrations, and no event tells what the cache of clients holds: the test looks at the
// members themselves. An explicit instantiation may name what is private.
template <auto Member> struct HistoryOf
{
    friend RegHistoryModel &historyOf(TicketPluginForm &form) { return form.*Member; }
};
template <auto Member> struct ClientCacheOf
{
    friend QMap<qint32, QJsonObject> &clientCacheOf(TicketPluginForm &form) { return form.*Member; }
};
RegHistoryModel &historyOf(TicketPluginForm &form);
QMap<qint32, QJsonObject> &clientCacheOf(TicketPluginForm &form);

template struct HistoryOf<&TicketPluginForm::regHistory>;
template struct ClientCacheOf<&TicketPluginForm::clientCache>;

} // namespace

/// A host that writes down what the form tells it.
class FakeHost : public VanePluginInterface
{
    Q_OBJECT

public:
    FakeHost()
    {
        connect(this, &VanePluginInterface::pluginSignal, this,
                [this](const QString &module, const QString &event, const QJsonObject &data) {
                    modules.insert(module);
                    names.append(event);
                    payloads.append(data);
                });
    }

    quintptr hostOption1() override { return 0; }
    quintptr hostOption2() override { return 0; }
    QString tabCaption() override { return QStringLiteral("Касса"); }
    QString moduleName() override { return QStringLiteral("ticket_plugin"); }
    QStringList sentEvents() override { return {}; }
    QStringList receivedEvents() override { return {}; }

    void clear()
    {
        names.clear();
        payloads.clear();
    }

    QSet<QString> modules;
    QStringList names;
    QVector<QJsonObject> payloads;

public Q_SLOTS:
    void pluginSlot(QString /*module*/, QString /*event*/, QJsonObject /*jsonData*/) override {}
};

/// The form with a host, but without the plugin's door.
class TicketPluginFormTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void silentWithoutHost();
    void opensNoPort();

    void clientRecord_data();
    void clientRecord();
    void clientRecordTakesTheCache();
    void clientRecordReplacesNamesInTheCache();
    void clientRecordOfAKnownClient();
    void clientRecordReturnsTheRow();

    void publishPrices();
    void publishPricesReprices();
    void publishPricesOfUnknownType();
    void priceTypesFillTheBox();
    void chosenTypeStays();
    void deletedTypeFallsBack();
    void activatedType_data();
    void activatedType();
    void priceItemsRemoved();

    void dayStart_data();
    void dayStart();
    void historyIsShownUntilTheFirstTick();
    void unattendedRacersExpire();

    void someError();
    void listIsPublishedAndKept();
    void onlineServiceStatus_data();
    void onlineServiceStatus();
    void trackName();

    void operatorsComeBack();
    void operatorsJournal_data();
    void operatorsJournal();
    void operatorsAreWrittenAtTheEndOnly();

private:
    void makeForm();
    void addPrices();
    QAbstractItemModel *checkIn() const { return form->findChild<QAbstractItemView *>("tvCheckIn")->model(); }
    QComboBox *priceBox() const { return form->findChild<QComboBox *>("cbPricesNames"); }
    QStringList history() const;

    std::unique_ptr<TempTrack> track;
    std::unique_ptr<FakeHost> host;
    std::unique_ptr<TicketPluginForm> form;
    QDateTime now;
    /// What stood in the first line's sum when the prices were announced.
    double sumWhenAnnounced = 0;
    /// Whether the list's journal stood when the list was announced.
    bool keptWhenAnnounced = false;
};

void TicketPluginFormTest::init()
{
    now = QDateTime(QDate(2026, 3, 10), QTime(12, 0));
    Clock::setSource([this] { return now; });
    track = std::make_unique<TempTrack>();
    host = std::make_unique<FakeHost>();
}

void TicketPluginFormTest::cleanup()
{
    form.reset();
    host.reset();
    track.reset();
    Clock::setSource({});
}

void TicketPluginFormTest::makeForm()
{
    form = std::make_unique<TicketPluginForm>();
    form->setPlugin(host.get());
    form->onTrackIdUpdated({{"trackId", "TRACK"}, {"trackName", "Трасса"}});
    host->clear();
}

/// Two blocks of one item.
void TicketPluginFormTest::addPrices()
{
    TempTrack::PriceItem item;
    item.salesItem = QStringLiteral("Заезд");
    item.sum = 500;
    item.commonId = track->addPriceItem(item);
    item.priceType = track->addPriceType(QStringLiteral("Выходные"));
    item.sum = 700;
    track->addPriceItem(item);
}

QStringList TicketPluginFormTest::history() const
{
    const RegHistoryModel &model = historyOf(*form);
    QStringList names;
    for (int row = 0; row < model.rowCount(); ++row)
        names.append(model.index(row, 1).data().toString());
    return names;
}

void TicketPluginFormTest::silentWithoutHost()
{
    form = std::make_unique<TicketPluginForm>();
    form->addClientRecord({{"clientId", 5}, {"updateData", true}});
    form->publishPrices();
    form->someError("x");
    form->onTrackIdUpdated({{"trackName", "Трасса"}});
    QCOMPARE(checkIn()->rowCount(), 1);
    form->setPlugin(host.get());
    QCOMPARE(host->names, QStringList());
    form->someError("x");
    QCOMPARE(host->names, QStringList{"write_sys_log"});
    QCOMPARE(host->modules, QSet<QString>{"ticket_plugin"});
}

/// The seat port belongs to the plugin.
void TicketPluginFormTest::opensNoPort()
{
    const auto listening = [] {
        QSet<QString> own;
        const QFileInfoList files = QDir("/proc/self/fd").entryInfoList(QDir::Files | QDir::System);
        const QRegularExpression socket(QStringLiteral("socket:\\[(\\d+)\\]"));
        for (const QFileInfo &file : files)
            own.insert(socket.match(file.symLinkTarget()).captured(1));
        int count = 0;
        for (const char *table : {"/proc/net/tcp", "/proc/net/tcp6"}) {
            QFile sockets(QString::fromLatin1(table));
            if (!sockets.open(QIODevice::ReadOnly))
                continue;
            const QStringList lines = QString::fromLatin1(sockets.readAll()).split('\n');
            for (const QString &line : lines) {
                const QStringList fields = line.simplified().split(' ');
                if (fields.size() > 9 && fields.at(3) == QLatin1String("0A") && own.contains(fields.at(9)))
                    ++count;
            }
        }
        return count;
    };
    QTcpServer server;
    QVERIFY(server.listen(QHostAddress::LocalHost));
    QCOMPARE(listening(), 1);
    server.close();
    makeForm();
    QCOMPARE(listening(), 0);
}

void TicketPluginFormTest::clientRecord_data()
{
    QTest::addColumn<QByteArray>("record");
    QTest::addColumn<QStringList>("events");
    QTest::addColumn<QByteArray>("update");
    QTest::addColumn<QByteArray>("local");
    QTest::addColumn<int>("clientId");

    const auto row = [](const char *name, const char *record, const QStringList &events, const char *update,
                        const char *local, int clientId) {
        QTest::newRow(name) << QByteArray(record) << events << QByteArray(update) << QByteArray(local) << clientId;
    };
    const QStringList updated{"update_client_data", "update_local_client", "local_request_answer"};
    const QStringList known{"update_local_client", "local_request_answer"};
    const QStringList unknown{"update_client_data", "local_request_answer"};

    row("client with news", R"({"clientId":5,"updateData":true,"firstName":"пЁТР","lastName":"П","midName":"И","x":1})",
        updated, R"({"clientId":5,"updateData":true,"firstName":"пЁТР","lastName":"П","midName":"И","x":1,
        "trackKey":"TRACK"})",
        R"({"firstName":"пЁТР","lastName":"П","midName":"И"})", 5);
    row("racer with news", R"({"racerId":"6","updateData":true,"firstName":"a","lastName":"b","midName":"c"})", updated,
        R"({"racerId":"6","updateData":true,"firstName":"a","lastName":"b","midName":"c","trackKey":"TRACK"})",
        R"({"firstName":"a","lastName":"b","midName":"c"})", 6);
    row("news without names", R"({"clientId":5,"updateData":true})", updated,
        R"({"clientId":5,"updateData":true,"trackKey":"TRACK"})", R"({"firstName":"","lastName":"","midName":""})", 5);
    row("client without news", R"({"clientId":5,"firstName":"a"})", known, "{}", "{}", 5);
    row("news of another type", R"({"clientId":5,"updateData":1})", known, "{}", "{}", 5);
    row("client as a text", R"({"clientId":"5"})", known, "{}", "{}", 5);
    row("client before racer", R"({"clientId":5,"racerId":6})", known, "{}", "{}", 5);
    row("client 0", R"({"clientId":0})", known, "{}", "{}", 0);
    row("nobody's client", R"({"clientId":-1,"firstName":"a","updateData":true})", unknown,
        R"({"clientId":-1,"firstName":"a","updateData":true,"trackKey":"TRACK"})", "{}", -1);
    row("letters", R"({"clientId":"abc","racerId":6})", unknown, R"({"clientId":-1,"racerId":6,"trackKey":"TRACK"})",
        "{}", -1);
    row("without a client", R"({"firstName":"a","trackKey":"x"})", unknown,
        R"({"clientId":-1,"firstName":"a","trackKey":"TRACK"})", "{}", -1);
    row("empty", "{}", unknown, R"({"clientId":-1,"trackKey":"TRACK"})", "{}", -1);
}

void TicketPluginFormTest::clientRecord()
{
    QFETCH(QByteArray, record);
    QFETCH(QStringList, events);
    QFETCH(QByteArray, update);
    QFETCH(QByteArray, local);
    QFETCH(int, clientId);
    makeForm();
    const QModelIndex row = form->addClientRecord(JsonMatch::object(record));
    QCOMPARE(row, checkIn()->index(0, 0));
    QCOMPARE(host->names, events);
    const QMap<QString, QByteArray> expected{{"update_client_data", update}, {"update_local_client", local}};
    for (auto event = expected.cbegin(); event != expected.cend(); ++event) {
        const int position = events.indexOf(event.key());
        if (position != -1)
            JSON_COMPARE(host->payloads.at(position), JsonMatch::object(event.value()));
    }
    const QJsonArray list = host->payloads.constLast().value("checkInList").toArray();
    QCOMPARE(list.size(), 1);
    QCOMPARE(list.first().toObject().value("clientId"), QJsonValue(clientId));
    QVERIFY(!clientCacheOf(*form).contains(clientId));
}

/// What the search found out goes to the host once.
void TicketPluginFormTest::clientRecordTakesTheCache()
{
    makeForm();
    const QJsonObject found{{"clientId", 5}, {"phone", "123"}, {"firstName", "Иван"}};
    clientCacheOf(*form).insert(5, found);
    clientCacheOf(*form).insert(6, {{"clientId", 6}});
    form->addClientRecord({{"clientId", 5}});
    QCOMPARE(host->names.constFirst(), QStringLiteral("update_local_client"));
    JSON_COMPARE(host->payloads.constFirst(), found);
    QCOMPARE(clientCacheOf(*form).keys(), QList<qint32>{6});
    host->clear();
    form->addClientRecord({{"clientId", 5}});
    JSON_COMPARE(host->payloads.constFirst(), QJsonObject());
}

void TicketPluginFormTest::clientRecordReplacesNamesInTheCache()
{
    makeForm();
    clientCacheOf(*form).insert(5, {{"phone", "123"}, {"firstName", "Иван"}, {"lastName", "Иванов"}});
    form->addClientRecord(
        {{"clientId", 5}, {"updateData", true}, {"firstName", "Пётр"}, {"lastName", "Петров"}, {"midName", "Ильич"}});
    QCOMPARE(host->names.at(1), QStringLiteral("update_local_client"));
    JSON_COMPARE(host->payloads.at(1),
                 (QJsonObject{{"phone", "123"}, {"firstName", "Пётр"}, {"lastName", "Петров"}, {"midName", "Ильич"}}));
    QVERIFY(clientCacheOf(*form).isEmpty());
}

/// A client who is in the list already is updated there, and the list is not told again.
void TicketPluginFormTest::clientRecordOfAKnownClient()
{
    makeForm();
    form->addClientRecord({{"clientId", 5}, {"runCount", 1}});
    host->clear();
    form->addClientRecord({{"clientId", 5}, {"runCount", 4}});
    QCOMPARE(host->names, QStringList{"update_local_client"});
    QCOMPARE(checkIn()->rowCount(), 1);
    QCOMPARE(checkIn()->index(0, 3).data().toInt(), 4);
}

void TicketPluginFormTest::clientRecordReturnsTheRow()
{
    makeForm();
    form->addClientRecord({{"clientId", 5}, {"lastName", "первый"}});
    form->addClientRecord({{"lastName", "второй"}});
    QCOMPARE(form->addClientRecord({{"clientId", 5}}), checkIn()->index(1, 0));
}

void TicketPluginFormTest::publishPrices()
{
    addPrices();
    makeForm();
    form->priceSettingsChanged();
    QCOMPARE(host->names, (QStringList{"local_request_answer", "update_remote_prices"}));
    host->clear();
    form->publishPrices();
    QCOMPARE(host->names, (QStringList{"local_request_answer", "update_remote_prices"}));
    JSON_COMPARE(host->payloads.at(0), JsonMatch::object(R"({"priceList":[{"model":"","salesItem":"Заезд","salesId":1,
        "salesCommonId":1,"color":"#ffffff","price":500}],"priceTypes":{"names":["Основные","Выходные"],
        "currentIndex":0}})"));
    JSON_COMPARE(host->payloads.at(1), form->pricesModel()->currentPricesJson());
    QCOMPARE(host->payloads.at(1).value("priceKind").toString(), QStringLiteral("Основные"));
}

/// What is unpaid costs what it costs now, before anybody hears of the new prices.
void TicketPluginFormTest::publishPricesReprices()
{
    addPrices();
    makeForm();
    form->priceSettingsChanged();
    form->addClientRecord({{"lastName", "Иванов"}, {"salesCommonId", 1}});
    QCOMPARE(checkIn()->index(0, 6).data().toDouble(), 500.0);
    form->pricesModel()->pricesByType[-1][0].sum = 650;
    sumWhenAnnounced = 0;
    connect(host.get(), &VanePluginInterface::pluginSignal, form.get(),
            [this](const QString &, const QString &, const QJsonObject &data) {
                if (data.contains("priceList"))
                    sumWhenAnnounced = checkIn()->index(0, 6).data().toDouble();
            });
    form->publishPrices();
    QCOMPARE(sumWhenAnnounced, 650.0);
}

void TicketPluginFormTest::publishPricesOfUnknownType()
{
    addPrices();
    makeForm();
    form->pricesModel()->currentPriceType = 4711;
    form->publishPrices();
    JSON_CONTAINS(host->payloads.at(0), JsonMatch::object(R"({"priceList":[],"priceTypes":{"currentIndex":-1}})"));
    JSON_COMPARE(host->payloads.at(1), JsonMatch::object(R"({"priceKind":"","prices":[]})"));
}

void TicketPluginFormTest::priceTypesFillTheBox()
{
    addPrices();
    makeForm();
    form->priceSettingsChanged();
    QCOMPARE(priceBox()->count(), 2);
    QCOMPARE(priceBox()->itemText(0), QStringLiteral("Основные"));
    QCOMPARE(priceBox()->itemData(0), QVariant(-1));
    QCOMPARE(priceBox()->itemText(1), QStringLiteral("Выходные"));
    QCOMPARE(priceBox()->itemData(1), QVariant(1));
    QCOMPARE(priceBox()->currentIndex(), 0);
    QCOMPARE(form->pricesModel()->currentPriceType, -1);
}

void TicketPluginFormTest::chosenTypeStays()
{
    addPrices();
    makeForm();
    form->priceSettingsChanged();
    priceBox()->setCurrentIndex(1);
    form->pricesModel()->priceTypeNames.insert(0, QStringLiteral("Утро"));
    form->priceSettingsChanged();
    QCOMPARE(priceBox()->currentText(), QStringLiteral("Выходные"));
    QCOMPARE(priceBox()->currentIndex(), 2);
    QCOMPARE(form->pricesModel()->currentPriceType, 1);
}

void TicketPluginFormTest::deletedTypeFallsBack()
{
    addPrices();
    makeForm();
    form->priceSettingsChanged();
    priceBox()->setCurrentIndex(1);
    form->priceSettingsChanged();
    form->pricesModel()->priceTypeNames.remove(1);
    host->clear();
    form->priceSettingsChanged();
    QCOMPARE(priceBox()->currentIndex(), 0);
    QCOMPARE(form->pricesModel()->currentPriceType, -1);
    QCOMPARE(host->names, (QStringList{"local_request_answer", "update_remote_prices"}));
}

void TicketPluginFormTest::activatedType_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<int>("type");
    QTest::newRow("first") << 0 << -1;
    QTest::newRow("second") << 1 << 1;
    QTest::newRow("none counts as the first") << -1 << -1;
}

void TicketPluginFormTest::activatedType()
{
    QFETCH(int, row);
    addPrices();
    makeForm();
    form->priceSettingsChanged();
    host->clear();
    form->on_cbPricesNames_activated(row);
    QTEST(form->pricesModel()->currentPriceType, "type");
    QCOMPARE(host->names, (QStringList{"local_request_answer", "update_remote_prices"}));
    QCOMPARE(host->payloads.at(0).value("priceTypes").toObject().value("currentIndex"), QJsonValue(qMax(0, row)));
}

void TicketPluginFormTest::priceItemsRemoved()
{
    makeForm();
    form->priceItemsRemoved({3, 1});
    QCOMPARE(host->names, QStringList{"update_remote_prices"});
    JSON_COMPARE(host->payloads.constFirst(), JsonMatch::object(R"({"cmd":"removePriceItems","removeList":[3,1]})"));
}

void TicketPluginFormTest::dayStart_data()
{
    QTest::addColumn<QTime>("begin");
    QTest::addColumn<QTime>("time");
    QTest::addColumn<QStringList>("left");

    // Records of the 9th at 5:59:59 and 6:00, and of the 10th at 0:00, 5:59:59 and 6:00, the last one on top.
    const QStringList all{"10 6:00", "10 5:59", "10 0:00", "9 6:00", "9 5:59"};
    const auto newest = [&all](int count) { return QStringList(all.mid(0, count)); };
    QTest::newRow("night belongs to yesterday") << QTime(6, 0) << QTime(2, 0) << newest(4);
    QTest::newRow("last second of yesterday") << QTime(6, 0) << QTime(5, 59, 59) << newest(4);
    QTest::newRow("the day begins") << QTime(6, 0) << QTime(6, 0) << newest(1);
    QTest::newRow("by day") << QTime(6, 0) << QTime(15, 0) << newest(1);
    QTest::newRow("midnight") << QTime(0, 0) << QTime(2, 0) << newest(3);
    QTest::newRow("not set is midnight") << QTime() << QTime(2, 0) << newest(3);
    QTest::newRow("day that begins late") << QTime(23, 0) << QTime(22, 59) << newest(3);
}

void TicketPluginFormTest::dayStart()
{
    QFETCH(QTime, begin);
    QFETCH(QTime, time);
    const QVector<QPair<QString, QDateTime>> records{
        {"9 5:59", {QDate(2026, 3, 9), QTime(5, 59, 59)}}, {"9 6:00", {QDate(2026, 3, 9), QTime(6, 0)}},
        {"10 0:00", {QDate(2026, 3, 10), QTime(0, 0)}},    {"10 5:59", {QDate(2026, 3, 10), QTime(5, 59, 59)}},
        {"10 6:00", {QDate(2026, 3, 10), QTime(6, 0)}},
    };
    QByteArray journal;
    for (const auto &[name, moment] : records) {
        const QJsonObject record{{"lastName", name}, {"uuid", name}, {"timestamp", moment.toSecsSinceEpoch()}};
        journal += QJsonDocument(record).toJson(QJsonDocument::Compact) + '\n';
    }
    track->writeJournal("reghistory.state", journal);
    now = QDateTime(QDate(2026, 3, 10), time);
    makeForm();
    if (begin.isValid())
        form->setDayBeginTime(begin);
    form->validateRegList();
    QTEST(history(), "left");
    QCOMPARE(track->readJournal("reghistory.state"), journal);
}

void TicketPluginFormTest::historyIsShownUntilTheFirstTick()
{
    track->writeJournal("reghistory.state", R"({"lastName":"Вчерашний","uuid":"{a}","timestamp":5})"
                                            "\n");
    makeForm();
    QCOMPARE(history(), QStringList{"Вчерашний"});
    QTRY_COMPARE_WITH_TIMEOUT(history(), QStringList(), 7000);
}

void TicketPluginFormTest::unattendedRacersExpire()
{
    makeForm();
    form->addClientRecord({{"lastName", "Иванов"}});
    now = now.addSecs(1800);
    form->validateRegList();
    QCOMPARE(checkIn()->rowCount(), 1);
    host->clear();
    now = now.addSecs(1);
    form->validateRegList();
    QCOMPARE(checkIn()->rowCount(), 0);
    QCOMPARE(host->names, QStringList{"local_request_answer"});
    JSON_COMPARE(host->payloads.constFirst(), (QJsonObject{{"checkInList", QJsonArray()}}));
    form->validateRegList();
    QCOMPARE(host->names.size(), 1);
}

void TicketPluginFormTest::someError()
{
    makeForm();
    form->someError("Не указана сумма");
    QCOMPARE(host->names, QStringList{"write_sys_log"});
    JSON_COMPARE(host->payloads.constFirst(),
                 JsonMatch::object(R"({"logStr":"ticket_plugin_error","logData":{"msg":"Не указана сумма"}})"));
}

/// The host hears of the list first, then the list is written down.
void TicketPluginFormTest::listIsPublishedAndKept()
{
    makeForm();
    track->removeJournal("tickets.state");
    keptWhenAnnounced = true;
    connect(host.get(), &VanePluginInterface::pluginSignal, form.get(),
            [this] { keptWhenAnnounced = track->hasJournal("tickets.state"); });
    form->checkInListUpdated({QJsonObject{{"a", 1}}});
    QCOMPARE(host->names, QStringList{"local_request_answer"});
    JSON_COMPARE(host->payloads.constFirst(), JsonMatch::object(R"({"checkInList":[{"a":1}]})"));
    QVERIFY(!keptWhenAnnounced);
    QVERIFY(track->hasJournal("tickets.state"));

    form->setPlugin(nullptr);
    track->removeJournal("tickets.state");
    form->checkInListUpdated({});
    QVERIFY(!track->hasJournal("tickets.state"));
}

void TicketPluginFormTest::onlineServiceStatus_data()
{
    QTest::addColumn<QByteArray>("status");
    QTest::addColumn<bool>("enabled");
    QTest::newRow("on") << QByteArray(R"({"enabled":true,"apiKey":"k"})") << true;
    QTest::newRow("off") << QByteArray(R"({"enabled":false,"apiKey":"k"})") << false;
    QTest::newRow("missing") << QByteArray("{}") << false;
    QTest::newRow("another type") << QByteArray(R"({"enabled":1})") << false;
}

void TicketPluginFormTest::onlineServiceStatus()
{
    QFETCH(QByteArray, status);
    QFETCH(bool, enabled);
    makeForm();
    auto *button = form->findChild<QPushButton *>("bAddRacerFromDb");
    QVERIFY(!button->isEnabled());
    button->setEnabled(!enabled);
    form->onOnlineServiceStatus(JsonMatch::object(status));
    QCOMPARE(button->isEnabled(), enabled);
}

void TicketPluginFormTest::trackName()
{
    makeForm();
    form->onTrackIdUpdated({{"trackId", "OTHER"}, {"trackName", "Другая"}});
    QCOMPARE(host->names, QStringList{"local_request_answer"});
    JSON_COMPARE(host->payloads.constFirst(), (QJsonObject{{"trackName", "Другая"}}));
    host->clear();
    form->addClientRecord({});
    QCOMPARE(host->payloads.constFirst().value("trackKey").toString(), QStringLiteral("OTHER"));
}

void TicketPluginFormTest::operatorsComeBack()
{
    const QJsonArray entries = JsonMatch::array(R"([{"token":"{b}","id":2,"name":"Кассир"},
        {"token":"{a}","id":1,"name":"Старший кассир"}])");
    track->writeJournal("operators.state", QJsonDocument(entries).toJson());
    makeForm();
    form.reset();
    // In the order of their tokens, in Qt's indented form.
    const QJsonArray sorted{entries.at(1), entries.at(0)};
    QCOMPARE(track->readJournal("operators.state"), QJsonDocument(sorted).toJson());
}

void TicketPluginFormTest::operatorsJournal_data()
{
    QTest::addColumn<QByteArray>("journal");
    QTest::addColumn<QByteArray>("expected");

    const auto row = [](const char *name, const char *journal, const char *expected) {
        QTest::newRow(name) << QByteArray(journal) << QByteArray(expected);
    };
    row("empty token", R"([{"token":"","id":1,"name":"a"},{"token":"{b}","id":2,"name":"b"}])",
        R"([{"token":"{b}","id":2,"name":"b"}])");
    row("token of another type", R"([{"token":5,"id":1,"name":"a"}])", "[]");
    row("without a token", R"([{"id":1,"name":"a"}])", "[]");
    row("without the rest", R"([{"token":"{a}"}])", R"([{"token":"{a}","id":-1,"name":""}])");
    row("identity of another type", R"([{"token":"{a}","id":"1","name":7}])", R"([{"token":"{a}","id":-1,"name":""}])");
    row("the same token twice", R"([{"token":"{a}","id":1,"name":"a"},{"token":"{a}","id":2,"name":"b"}])",
        R"([{"token":"{a}","id":2,"name":"b"}])");
    row("no objects", R"([5,"x",null])", "[]");
    row("no array", R"({"token":"{a}","id":1,"name":"a"})", "[]");
    row("half an array", R"([{"token":"{a}","id":1)", "[]");
    row("nothing", "", "[]");
}

void TicketPluginFormTest::operatorsJournal()
{
    QFETCH(QByteArray, journal);
    QFETCH(QByteArray, expected);
    track->writeJournal("operators.state", journal);
    makeForm();
    form.reset();
    QCOMPARE(track->readJournal("operators.state"), QJsonDocument(JsonMatch::array(expected)).toJson());
}

void TicketPluginFormTest::operatorsAreWrittenAtTheEndOnly()
{
    makeForm();
    form->addClientRecord({});
    form->runQueueChanged();
    QVERIFY(track->hasJournal("tickets.state"));
    QVERIFY(!track->hasJournal("operators.state"));
    form.reset();
    QCOMPARE(track->readJournal("operators.state"), QJsonDocument(QJsonArray()).toJson());
}

DESK_TEST_MAIN(TicketPluginFormTest)
#include "tst_ticketpluginform.moc"
