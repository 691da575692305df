#include "pitlane/pitlanecarsmodel.h"

#include "desktest.h"
#include "jsonmatch.h"

#include <QDir>
#include <QJsonDocument>
#include <QMetaMethod>

#include <functional>
#include <memory>

namespace {

const char *const Journal = "pitlanestate.json";

} // namespace

/// The cars in the pit lane: hits, signals, journal.
class PitLaneCarsModelTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void signalOrder();
    void startsEmpty();
    void knownCar();
    void unknownCar();
    void secondEntry();
    void exit();
    void exitRenumbers();
    void exitOfNobody();
    void twinsLeaveTogether();
    void newTableLeavesTheListAlone();
    void hits_data();
    void hits();
    void oneHitAfterTheOther();
    void manyHits();
    void journalBytes();
    void journalComesBeforeTheNews();
    void journalWithoutFolder();
    void restart();
    void loading_data();
    void loading();
    void clearKeepsTheJournal();
    void selection();
    void removeSelected();
    void removeSelectedTwins();
    void removeOneTwin();
    void removeNothing();
    void reentrancy_data();
    void reentrancy();

private:
    void build();
    QList<int> ids() const;
    QList<int> orders() const;
    QStringList take();
    QJsonObject stored() const;

    std::unique_ptr<TempTrack> track;
    std::unique_ptr<PitLaneCarsModel> model;
    QStringList heard;
    QJsonObject lastState;
    QJsonObject lastCar;
};

void PitLaneCarsModelTest::init()
{
    track = std::make_unique<TempTrack>(TempTrack::Tree);
    build();
}

void PitLaneCarsModelTest::cleanup()
{
    model.reset();
    track.reset();
}

void PitLaneCarsModelTest::build()
{
    model = std::make_unique<PitLaneCarsModel>();
    heard.clear();
    lastState = QJsonObject();
    connect(model.get(), &PitLaneCarsModel::carPitIn, this, [this](const QJsonObject &car) {
        lastCar = car;
        heard.append(QStringLiteral("in %1").arg(car.value("transponderId").toInt()));
    });
    connect(model.get(), &PitLaneCarsModel::carPitOut, this, [this](const QJsonObject &car) {
        lastCar = car;
        heard.append(QStringLiteral("out %1").arg(car.value("transponderId").toInt()));
    });
    connect(model.get(), &PitLaneCarsModel::pitLaneChanged, this, [this](const QJsonObject &state) {
        lastState = state;
        heard.append(QStringLiteral("changed"));
    });
}

QList<int> PitLaneCarsModelTest::ids() const
{
    QList<int> ids;
    for (const PitLaneCar &car : model->cars())
        ids.append(car.transponderId);
    return ids;
}

QList<int> PitLaneCarsModelTest::orders() const
{
    QList<int> orders;
    for (const PitLaneCar &car : model->cars())
        orders.append(car.order);
    return orders;
}

QStringList PitLaneCarsModelTest::take()
{
    const QStringList names = heard;
    heard.clear();
    return names;
}

QJsonObject PitLaneCarsModelTest::stored() const
{
    return JsonMatch::object(track->readJournal(Journal).constData());
}

void PitLaneCarsModelTest::signalOrder()
{
    const QMetaObject &meta = PitLaneCarsModel::staticMetaObject;
    QStringList names;
    for (int method = meta.methodOffset(); method < meta.methodCount(); ++method) {
        if (meta.method(method).methodType() == QMetaMethod::Signal)
            names.append(QString::fromLatin1(meta.method(method).methodSignature()));
    }
    QCOMPARE(names, (QStringList{"carPitIn(QJsonObject)", "carPitOut(QJsonObject)", "pitLaneChanged(QJsonObject)"}));
}

void PitLaneCarsModelTest::startsEmpty()
{
    QVERIFY(model->cars().isEmpty());
    QVERIFY(!track->hasJournal(Journal));
    // Nothing was ever published: an exit shows the state as it is.
    model->carOut(5);
    JSON_COMPARE(lastState, QJsonObject());
}

void PitLaneCarsModelTest::knownCar()
{
    model->setCarsTable(JsonMatch::object(R"({"5":{"transponderId":5,"carModel":"Sodi","carNum":"7","color":"#ff8000"},
        "6":{"transponderId":6,"carModel":"Tandem","carNum":"1"}})"));
    QCOMPARE(take(), QStringList());
    model->carIn(5);
    const QJsonObject sodi = JsonMatch::object(R"({"num":"7","model":"Sodi","color":"#ff8000","order":0,"isBusy":false,
        "isUnknown":false,"transponderId":5})");
    JSON_COMPARE(lastCar, sodi);
    QCOMPARE(take(), (QStringList{"in 5", "changed"}));
    JSON_COMPARE(lastState, (QJsonObject{{"carsInPitlane", QJsonArray{sodi}}}));
    model->carIn(6);
    const QJsonObject tandem = JsonMatch::object(R"({"num":"1","model":"Tandem","color":"","order":1,"isBusy":false,
        "isUnknown":false,"transponderId":6})");
    JSON_COMPARE(lastCar, tandem);
    JSON_COMPARE(lastState, (QJsonObject{{"carsInPitlane", QJsonArray{sodi, tandem}}}));
    JSON_COMPARE(stored(), lastState);
}

void PitLaneCarsModelTest::unknownCar()
{
    model->carIn(5);
    const QJsonObject stranger = JsonMatch::object(R"({"num":"","model":"","color":"#ffffff","order":-1,"isBusy":false,
        "isUnknown":true,"transponderId":5})");
    JSON_COMPARE(lastCar, stranger);
    JSON_COMPARE(lastState, (QJsonObject{{"carsInPitlane", QJsonArray{stranger}}}));
    // It left an empty entry behind, which makes nobody known.
    model->carOut(5);
    model->carIn(5);
    JSON_COMPARE(lastCar, stranger);
}

void PitLaneCarsModelTest::secondEntry()
{
    model->carIn(5);
    take();
    track->removeJournal(Journal);
    model->carIn(5);
    QCOMPARE(take(), QStringList());
    QCOMPARE(ids(), QList<int>{5});
    QVERIFY(!track->hasJournal(Journal));
}

void PitLaneCarsModelTest::exit()
{
    model->carIn(5);
    model->carIn(6);
    take();
    model->carOut(5);
    QCOMPARE(take(), (QStringList{"out 5", "changed"}));
    // As it stood, before the list was numbered anew.
    JSON_CONTAINS(lastCar, JsonMatch::object(R"({"transponderId":5,"order":-1,"isUnknown":true})"));
    QCOMPARE(ids(), QList<int>{6});
    JSON_COMPARE(stored(), lastState);
    model->carOut(6);
    JSON_COMPARE(stored(), JsonMatch::object(R"({"carsInPitlane":[]})"));
}

void PitLaneCarsModelTest::exitRenumbers()
{
    model->setCarsTable(JsonMatch::object(R"({"5":{"carModel":"Sodi"},"7":{"carModel":"Sodi"}})"));
    for (const int id : {4, 5, 6, 7})
        model->carIn(id);
    QCOMPARE(orders(), (QList<int>{-1, 1, -1, 3}));
    model->carOut(5);
    QCOMPARE(ids(), (QList<int>{4, 6, 7}));
    QCOMPARE(orders(), (QList<int>{0, 1, 2}));
    QVERIFY(model->cars().at(1).isUnknown);
    model->carIn(5);
    QCOMPARE(orders(), (QList<int>{0, 1, 2, 3}));
}

void PitLaneCarsModelTest::exitOfNobody()
{
    model->carIn(5);
    const QJsonObject state = lastState;
    take();
    lastState = QJsonObject();
    track->removeJournal(Journal);
    model->carOut(6);
    QCOMPARE(take(), QStringList{"changed"});
    JSON_COMPARE(lastState, state);
    QCOMPARE(orders(), QList<int>{-1});
    QVERIFY(!track->hasJournal(Journal));
}

/// Only a journal can hold a car twice.
void PitLaneCarsModelTest::twinsLeaveTogether()
{
    track->writeJournal(Journal, R"({"carsInPitlane":[{"transponderId":5,"num":"1"},{"transponderId":6},
        {"transponderId":5,"num":"2"}]})");
    build();
    QCOMPARE(ids(), (QList<int>{5, 6, 5}));
    model->carOut(5);
    QCOMPARE(take(), (QStringList{"out 5", "changed"}));
    QCOMPARE(lastCar.value("num").toString(), QStringLiteral("1"));
    QCOMPARE(ids(), QList<int>{6});
}

void PitLaneCarsModelTest::newTableLeavesTheListAlone()
{
    model->carIn(5);
    take();
    model->setCarsTable(JsonMatch::object(R"({"5":{"carModel":"Sodi"}})"));
    QCOMPARE(take(), QStringList());
    QVERIFY(model->cars().constFirst().isUnknown);
    model->carOut(5);
    model->carIn(5);
    QVERIFY(!model->cars().constFirst().isUnknown);
    // The table is replaced, not added to.
    model->setCarsTable(QJsonObject());
    model->carOut(5);
    model->carIn(5);
    QVERIFY(model->cars().constFirst().isUnknown);
}

void PitLaneCarsModelTest::hits_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QStringList>("expected");

    const QStringList nothing;
    QTest::newRow("entry") << QByteArray(R"({"hits":[{"lineId":3,"transponderId":7}]})")
                           << QStringList{"in 7", "changed"};
    QTest::newRow("exit") << QByteArray(R"({"hits":[{"lineId":4,"transponderId":5}]})")
                          << QStringList{"out 5", "changed"};
    QTest::newRow("line 2") << QByteArray(R"({"hits":[{"lineId":2,"transponderId":7}]})") << nothing;
    QTest::newRow("line 5") << QByteArray(R"({"hits":[{"lineId":5,"transponderId":5}]})") << nothing;
    QTest::newRow("no line") << QByteArray(R"({"hits":[{"transponderId":7}]})") << nothing;
    QTest::newRow("line as a text") << QByteArray(R"({"hits":[{"lineId":"3","transponderId":7}]})") << nothing;
    QTest::newRow("half a line") << QByteArray(R"({"hits":[{"lineId":3.5,"transponderId":7}]})") << nothing;
    QTest::newRow("entry of nobody") << QByteArray(R"({"hits":[{"lineId":3}]})") << QStringList{"in -1", "changed"};
    QTest::newRow("exit of nobody") << QByteArray(R"({"hits":[{"lineId":4}]})") << QStringList{"changed"};
    QTest::newRow("transponder beyond an int")
        << QByteArray(R"({"hits":[{"lineId":3,"transponderId":4294967301}]})") << QStringList{"in -1", "changed"};
    QTest::newRow("no hit") << QByteArray(R"({"hits":[5,null,"x",[]]})") << nothing;
    QTest::newRow("no hits") << QByteArray(R"({"hits":[]})") << nothing;
    QTest::newRow("hits that are none") << QByteArray(R"({"hits":{"lineId":3,"transponderId":7}})") << nothing;
    QTest::newRow("nothing") << QByteArray("{}") << nothing;
}

void PitLaneCarsModelTest::hits()
{
    QFETCH(QByteArray, json);
    model->carIn(5);
    take();
    model->transponderHits(JsonMatch::object(json.constData()));
    QTEST(take(), "expected");
}

void PitLaneCarsModelTest::oneHitAfterTheOther()
{
    model->transponderHits(JsonMatch::object(R"({"hits":[{"lineId":3,"transponderId":1},{"lineId":4,"transponderId":2},
        {"lineId":3,"transponderId":2},{"lineId":4,"transponderId":1},{"lineId":3,"transponderId":1}]})"));
    QCOMPARE(take(),
             (QStringList{"in 1", "changed", "changed", "in 2", "changed", "out 1", "changed", "in 1", "changed"}));
    QCOMPARE(ids(), (QList<int>{2, 1}));
}

/// A transponder that stands on the loop reports itself all the time.
void PitLaneCarsModelTest::manyHits()
{
    QJsonArray hits;
    for (int hit = 0; hit < 100000; ++hit)
        hits.append(QJsonObject{{"lineId", 3}, {"transponderId", hit % 3}});
    model->transponderHits({{"hits", hits}});
    QCOMPARE(ids(), (QList<int>{0, 1, 2}));
    QCOMPARE(take().size(), 6);
}

void PitLaneCarsModelTest::journalBytes()
{
    model->carIn(5);
    const QByteArray expected = R"({
    "carsInPitlane": [
        {
            "color": "#ffffff",
            "isBusy": false,
            "isUnknown": true,
            "model": "",
            "num": "",
            "order": -1,
            "transponderId": 5
        }
    ]
}
)";
    QCOMPARE(track->readJournal(Journal), expected);
    // The shorter text leaves nothing of the longer one, and no file beside it.
    model->carOut(5);
    QCOMPARE(track->readJournal(Journal), QByteArray("{\n    \"carsInPitlane\": [\n    ]\n}\n"));
    QCOMPARE(track->journals(), QStringList{Journal});
}

void PitLaneCarsModelTest::journalComesBeforeTheNews()
{
    QList<bool> written;
    const auto note = [&] { written.append(track->hasJournal(Journal)); };
    connect(model.get(), &PitLaneCarsModel::carPitIn, this, note);
    connect(model.get(), &PitLaneCarsModel::carPitOut, this, note);
    connect(model.get(), &PitLaneCarsModel::pitLaneChanged, this, note);
    model->carIn(5);
    track->removeJournal(Journal);
    model->carOut(5);
    QCOMPARE(written, (QList<bool>{false, true, false, true}));
}

void PitLaneCarsModelTest::journalWithoutFolder()
{
    model.reset();
    track = std::make_unique<TempTrack>(TempTrack::Bare);
    build();
    model->carIn(5);
    QCOMPARE(take(), (QStringList{"in 5", "changed"}));
    QCOMPARE(ids(), QList<int>{5});
    QVERIFY(!QDir(track->root()).exists());
}

void PitLaneCarsModelTest::restart()
{
    model->setCarsTable(JsonMatch::object(R"({"6":{"carModel":"Sodi","carNum":"7","color":"#ff8000"}})"));
    model->carIn(5);
    model->carIn(6);
    const QJsonObject state = lastState;
    const QByteArray bytes = track->readJournal(Journal);
    build();
    QCOMPARE(ids(), (QList<int>{5, 6}));
    QCOMPARE(orders(), (QList<int>{-1, 1}));
    QCOMPARE(track->readJournal(Journal), bytes);
    model->carOut(7);
    JSON_COMPARE(lastState, state);
    // The table was not stored: until the host sends its cars everybody is a stranger.
    model->carOut(6);
    model->carIn(6);
    QVERIFY(model->cars().constLast().isUnknown);
}

void PitLaneCarsModelTest::loading_data()
{
    QTest::addColumn<QByteArray>("journal");
    QTest::addColumn<QByteArray>("state");
    QTest::addColumn<QByteArray>("cars");

    const QByteArray none = "[]";
    QTest::newRow("empty file") << QByteArray("") << QByteArray("{}") << none;
    QTest::newRow("half a journal") << QByteArray(R"({"carsInPitlane":[{"transponderId":5},{"trans)")
                                    << QByteArray("{}") << none;
    QTest::newRow("no text at all") << QByteArray("\0\xff\xfe\0", 4) << QByteArray("{}") << none;
    QTest::newRow("array") << QByteArray(R"([{"transponderId":5}])") << QByteArray("{}") << none;
    QTest::newRow("without cars") << QByteArray(R"({"other":1})") << QByteArray(R"({"other":1})") << none;
    QTest::newRow("cars that are none") << QByteArray(R"({"carsInPitlane":{"transponderId":5}})")
                                        << QByteArray(R"({"carsInPitlane":{"transponderId":5}})") << none;
    QTest::newRow("more than a list") << QByteArray(R"({"carsInPitlane":[],"other":1})")
                                      << QByteArray(R"({"carsInPitlane":[],"other":1})") << none;
    QTest::newRow("full") << QByteArray(R"({"carsInPitlane":[{"num":"7","model":"Sodi","color":"#ff8000","order":4,
        "isBusy":true,"isUnknown":false,"transponderId":5}]})")
                          << QByteArray(R"({"carsInPitlane":[{"num":"7","model":"Sodi","color":"#ff8000","order":4,
        "isBusy":true,"isUnknown":false,"transponderId":5}]})")
                          << QByteArray(R"([{"num":"7","model":"Sodi","color":"#ff8000","order":4,"isBusy":true,
        "isUnknown":false,"transponderId":5}])");
    QTest::newRow("bare") << QByteArray(R"({"carsInPitlane":[{}]})") << QByteArray(R"({"carsInPitlane":[{}]})")
                          << QByteArray(R"([{"num":"","model":"","color":"","order":-1,"isBusy":false,
        "isUnknown":false,"transponderId":-1}])");
}

void PitLaneCarsModelTest::loading()
{
    QFETCH(QByteArray, journal);
    QFETCH(QByteArray, state);
    QFETCH(QByteArray, cars);
    track->writeJournal(Journal, journal);
    build();
    QJsonArray loaded;
    for (const PitLaneCar &car : model->cars())
        loaded.append(car.toJson());
    JSON_COMPARE(loaded, JsonMatch::array(cars.constData()));
    QCOMPARE(track->readJournal(Journal), journal);
    // The state is the journal's, until the list changes.
    model->carOut(77);
    JSON_COMPARE(lastState, JsonMatch::object(state.constData()));
    model->carIn(78);
    QCOMPARE(lastState.keys(), QStringList{"carsInPitlane"});
    JSON_COMPARE(stored(), lastState);
    QCOMPARE(lastState.value("carsInPitlane").toArray().size(), loaded.size() + 1);
}

void PitLaneCarsModelTest::clearKeepsTheJournal()
{
    model->carIn(5);
    model->carIn(6);
    const QByteArray bytes = track->readJournal(Journal);
    take();
    model->clearPitlane();
    QCOMPARE(take(), QStringList{"changed"});
    JSON_COMPARE(lastState, JsonMatch::object(R"({"carsInPitlane":[]})"));
    QVERIFY(model->cars().isEmpty());
    QCOMPARE(track->readJournal(Journal), bytes);
    build();
    QCOMPARE(ids(), (QList<int>{5, 6}));
    // The next car that moves makes it final.
    model->clearPitlane();
    model->carOut(5);
    QCOMPARE(track->readJournal(Journal), bytes);
    model->carIn(7);
    build();
    QCOMPARE(ids(), QList<int>{7});
}

void PitLaneCarsModelTest::selection()
{
    for (const int id : {5, 6, 7})
        model->carIn(id);
    take();
    // Nothing was drawn yet.
    QVERIFY(!model->selectAt(QPoint(0, 0)));
    model->setCarRect(0, QRect(10, 10, 20, 20));
    model->setCarRect(1, QRect(20, 20, 20, 20));
    const auto selected = [this] {
        QList<int> ids;
        for (const PitLaneCar &car : model->cars()) {
            if (car.selected)
                ids.append(car.transponderId);
        }
        return ids;
    };
    QVERIFY(model->selectAt(QPoint(10, 10)));
    QCOMPARE(selected(), QList<int>{5});
    QVERIFY(!model->selectAt(QPoint(12, 12)));
    QVERIFY(model->selectAt(QPoint(39, 39)));
    QCOMPARE(selected(), QList<int>{6});
    QVERIFY(model->selectAt(QPoint(29, 29)));
    QCOMPARE(selected(), (QList<int>{5, 6}));
    QVERIFY(model->selectAt(QPoint(40, 40)));
    QCOMPARE(selected(), QList<int>());
    QVERIFY(!model->selectAt(QPoint(0, 0)));
    // Neither place nor selection goes out or lasts.
    model->selectAt(QPoint(10, 10));
    QCOMPARE(take(), QStringList());
    model->carOut(7);
    QCOMPARE(selected(), QList<int>{5});
    build();
    QCOMPARE(selected(), QList<int>());
    QVERIFY(model->cars().constFirst().rect.isNull());
}

void PitLaneCarsModelTest::removeSelected()
{
    for (const int id : {5, 6, 7, 8, 9})
        model->carIn(id);
    // Neighbours, the first and the last.
    for (const int index : {0, 1, 3, 4})
        model->setCarRect(index, QRect(0, 0, 10, 10));
    model->selectAt(QPoint(5, 5));
    take();
    model->removeSelected();
    QCOMPARE(take(), (QStringList{"out 5", "changed", "out 6", "changed", "out 8", "changed", "out 9", "changed"}));
    QCOMPARE(ids(), QList<int>{7});
    QCOMPARE(orders(), QList<int>{0});
    JSON_COMPARE(stored(), lastState);
}

void PitLaneCarsModelTest::removeSelectedTwins()
{
    track->writeJournal(Journal, R"({"carsInPitlane":[{"transponderId":5},{"transponderId":5},{"transponderId":6}]})");
    build();
    for (const int index : {0, 1, 2})
        model->setCarRect(index, QRect(0, 0, 10, 10));
    model->selectAt(QPoint(5, 5));
    model->removeSelected();
    // The second twin has left with the first.
    QCOMPARE(take(), (QStringList{"out 5", "changed", "changed", "out 6", "changed"}));
    QVERIFY(model->cars().isEmpty());
}

void PitLaneCarsModelTest::removeOneTwin()
{
    track->writeJournal(Journal, R"({"carsInPitlane":[{"transponderId":5},{"transponderId":5},{"transponderId":6}]})");
    build();
    model->setCarRect(1, QRect(0, 0, 10, 10));
    model->selectAt(QPoint(5, 5));
    model->removeSelected();
    QCOMPARE(take(), (QStringList{"out 5", "changed"}));
    QCOMPARE(ids(), QList<int>{6});
    QCOMPARE(orders(), QList<int>{0});
}

void PitLaneCarsModelTest::removeNothing()
{
    model->removeSelected();
    model->carIn(5);
    take();
    track->removeJournal(Journal);
    model->removeSelected();
    QCOMPARE(take(), QStringList());
    QVERIFY(!track->hasJournal(Journal));
}

void PitLaneCarsModelTest::reentrancy_data()
{
    QTest::addColumn<QString>("trigger");
    QTest::addColumn<QString>("answer");
    QTest::addColumn<QStringList>("news");
    QTest::addColumn<QList<int>>("left");

    const QString in = QStringLiteral("in 5");
    const QString out = QStringLiteral("out 2");
    QTest::newRow("another car drives in")
        << in << "in 9" << QStringList{"in 5", "in 9", "changed", "changed"} << QList<int>{1, 2, 3, 5, 9};
    QTest::newRow("the car drives out at once")
        << in << "out 5" << QStringList{"in 5", "out 5", "changed", "changed"} << QList<int>{1, 2, 3};
    QTest::newRow("the lane is cleared as it drives in")
        << in << "clear" << QStringList{"in 5", "changed", "changed"} << QList<int>();
    QTest::newRow("it drives in again as it drives out")
        << out << "in 2" << QStringList{"out 2", "changed"} << QList<int>{1, 3};
    QTest::newRow("its neighbour drives out with it")
        << out << "out 3" << QStringList{"out 2", "out 3", "changed", "changed"} << QList<int>{1};
    QTest::newRow("it drives out twice") << out << "out 2" << QStringList{"out 2", "out 2", "changed", "changed"}
                                         << QList<int>{1, 3};
    QTest::newRow("the lane is cleared as it drives out")
        << out << "clear" << QStringList{"out 2", "changed", "changed"} << QList<int>();
    QTest::newRow("a stranger comes and the table with him")
        << out << "table" << QStringList{"out 2", "in 9", "changed", "changed"} << QList<int>{1, 3, 9};
}

/// The first news is answered from inside the signal.
void PitLaneCarsModelTest::reentrancy()
{
    QFETCH(QString, trigger);
    QFETCH(QString, answer);
    QFETCH(QStringList, news);
    QFETCH(QList<int>, left);
    const auto act = [this](const QString &action) {
        const int id = action.section(' ', 1).toInt();
        if (action.startsWith(QLatin1String("in ")))
            model->carIn(id);
        else if (action.startsWith(QLatin1String("out ")))
            model->carOut(id);
        else if (action == QLatin1String("clear"))
            model->clearPitlane();
        if (action == QLatin1String("table")) {
            model->setCarsTable(JsonMatch::object(R"({"9":{"carModel":"Sodi"}})"));
            model->carIn(9);
        }
    };
    for (const int id : {1, 2, 3})
        model->carIn(id);
    take();
    bool answered = false;
    const auto respond = [&] {
        if (!answered) {
            answered = true;
            act(answer);
        }
    };
    connect(model.get(), &PitLaneCarsModel::carPitIn, this, respond);
    connect(model.get(), &PitLaneCarsModel::carPitOut, this, respond);
    act(trigger);
    QVERIFY(answered);
    QCOMPARE(take(), news);
    QCOMPARE(ids(), left);
    // The last word of the model and of the journal is the list.
    QJsonArray cars;
    for (const PitLaneCar &car : model->cars())
        cars.append(car.toJson());
    JSON_COMPARE(lastState, (QJsonObject{{"carsInPitlane", cars}}));
    JSON_COMPARE(stored(), lastState);
}

DESK_TEST_MAIN(PitLaneCarsModelTest)
#include "tst_pitlanecarsmodel.moc"
