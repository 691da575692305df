#include "modellog.h"

#include "common/clock.h"
#include "registration/reghistorymodel.h"

#include "desktest.h"
#include "jsonmatch.h"

#include <QHeaderView>
#include <QJsonDocument>
#include <QMimeData>
#include <QTreeView>

#include <memory>

namespace {

constexpr qint64 present = 1700000000;

QJsonObject person(const char *lastName, const char *uuid, const QJsonValue &timestamp = present)
{
    QJsonObject json{{"lastName", QString::fromUtf8(lastName)}, {"uuid", QString::fromLatin1(uuid)}};
    if (!timestamp.isUndefined())
        json.insert("timestamp", timestamp);
    return json;
}

} // namespace

/// The people registered today.
class RegHistoryModelTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void columns();
    void shape();
    void names_data();
    void names();
    void newestOnTop();
    void sameRacerComesAgain();
    void withoutUuid();
    void sameRacerAfterTheCut();
    void timestamp_data();
    void timestamp();
    void currentPinCodeIsDropped();
    void signalsOfAdding();
    void loading();
    void loadingDamaged_data();
    void loadingDamaged();
    void loadingALongFile();
    void loadingWithoutFile();
    void neverWritten();
    void ageing_data();
    void ageing();
    void ageingSignals();
    void dragged();
    void draggedFromWholeRows();

private:
    QStringList shown() const;
    /// The records that a drag of these rows carries.
    QJsonArray draggedRows(const QList<int> &rows) const;

    std::unique_ptr<TempTrack> track;
    std::unique_ptr<RegHistoryModel> model;
};

void RegHistoryModelTest::init()
{
    Clock::setSource([] { return QDateTime::fromSecsSinceEpoch(present, Qt::UTC); });
    track = std::make_unique<TempTrack>(TempTrack::Tree);
    model = std::make_unique<RegHistoryModel>();
}

void RegHistoryModelTest::cleanup()
{
    model.reset();
    track.reset();
    Clock::setSource({});
}

QStringList RegHistoryModelTest::shown() const
{
    QStringList names;
    for (int row = 0; row < model->rowCount(); ++row)
        names.append(model->index(row, 1).data().toString());
    return names;
}

QJsonArray RegHistoryModelTest::draggedRows(const QList<int> &rows) const
{
    QModelIndexList indexes;
    for (const int row : rows)
        indexes.append(model->index(row, 0));
    const std::unique_ptr<QMimeData> data(model->mimeData(indexes));
    return JsonMatch::object(data->data("application/json")).value("items").toArray();
}

void RegHistoryModelTest::columns()
{
    QCOMPARE(model->columnCount(), 2);
    QCOMPARE(model->columnKey(0), QStringLiteral("POS"));
    QCOMPARE(model->columnKey(1), QStringLiteral("NAME"));
    QCOMPARE(model->headerData(0, Qt::Horizontal).toString(), QStringLiteral("#"));
    QCOMPARE(model->headerData(1, Qt::Horizontal).toString(), QStringLiteral("ФИО"));
    model->addRecord(person("Иванов", "{a}"));
    const auto alignment = [this](int column) { return model->index(0, column).data(Qt::TextAlignmentRole).toInt(); };
    QCOMPARE(alignment(0), int(Qt::AlignRight | Qt::AlignVCenter));
    QCOMPARE(alignment(1), int(Qt::AlignLeft | Qt::AlignVCenter));
    for (int column = 0; column < 2; ++column)
        QCOMPARE(model->headerData(column, Qt::Horizontal, Qt::TextAlignmentRole).toInt(), int(Qt::AlignCenter));
    QTreeView view;
    view.setModel(model.get());
    view.header()->setStretchLastSection(false);
    model->attachView(&view);
    QCOMPARE(view.columnWidth(0), 40);
    QCOMPARE(view.columnWidth(1), 200);
}

void RegHistoryModelTest::shape()
{
    model->addRecord(person("Иванов", "{a}"));
    model->addRecord(person("Петров", "{b}"));
    QCOMPARE(model->rowCount(), 2);
    QCOMPARE(model->rowCount(model->index(0, 0)), 0);
    QVERIFY(!model->index(1, 1).parent().isValid());
    QCOMPARE(model->index(1, 0).data(), QVariant(2));
    QVERIFY(!model->index(1, 1).data(Qt::EditRole).isValid());
    const Qt::ItemFlags plain = Qt::ItemIsSelectable | Qt::ItemIsEnabled;
    QCOMPARE(model->index(1, 1).flags(), plain | Qt::ItemIsDragEnabled);
    QCOMPARE(model->flags(QModelIndex()), Qt::ItemFlags(Qt::NoItemFlags));
    QCOMPARE(model->mimeTypes(), (QStringList{"application/json", "source"}));
}

void RegHistoryModelTest::names_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QString>("expected");

    QTest::newRow("all") << QByteArray(R"({"lastName":"Иванов","firstName":"Иван","midName":"Ильич"})")
                         << "Иванов Иван Ильич";
    QTest::newRow("last name only") << QByteArray(R"({"lastName":"Иванов"})") << "Иванов";
    QTest::newRow("without the first") << QByteArray(R"({"lastName":"Иванов","firstName":"","midName":"Ильич"})")
                                       << "Иванов Ильич";
    QTest::newRow("without the last") << QByteArray(R"({"firstName":"Иван","midName":"Ильич"})") << "Иван Ильич";
    QTest::newRow("as stored") << QByteArray(R"({"lastName":"иВАНОВ"})") << "иВАНОВ";
    QTest::newRow("none") << QByteArray("{}") << "";
}

void RegHistoryModelTest::names()
{
    QFETCH(QByteArray, json);
    model->addRecord(JsonMatch::object(json));
    QTEST(shown().constFirst(), "expected");
}

void RegHistoryModelTest::newestOnTop()
{
    model->addRecord(person("Первый", "{a}"));
    model->addRecord(person("Второй", "{b}"));
    QCOMPARE(shown(), (QStringList{"Второй", "Первый"}));
}

void RegHistoryModelTest::sameRacerComesAgain()
{
    model->addRecord(person("Прежний", "{a}"));
    model->addRecord(person("Другой", "{b}"));
    model->addRecord(person("Новый", "{a}"));
    QCOMPARE(shown(), (QStringList{"Новый", "Другой"}));
}

/// Records without an identity count as one racer.
void RegHistoryModelTest::withoutUuid()
{
    model->addRecord(JsonMatch::object(R"({"lastName":"Первый"})"));
    model->addRecord(person("Другой", "{b}"));
    model->addRecord(JsonMatch::object(R"({"lastName":"Второй","uuid":""})"));
    QCOMPARE(shown(), (QStringList{"Второй", "Другой"}));
}

void RegHistoryModelTest::sameRacerAfterTheCut()
{
    model->addRecord(person("Вчера", "{a}", present - 1));
    model->addRecord(person("Другой", "{b}"));
    model->removeOlderThan(QDateTime::fromSecsSinceEpoch(present));
    model->addRecord(person("Сегодня", "{a}"));
    QCOMPARE(shown(), (QStringList{"Сегодня", "Другой"}));
    model->addRecord(person("Ещё раз", "{b}"));
    QCOMPARE(shown(), (QStringList{"Ещё раз", "Сегодня"}));
}

void RegHistoryModelTest::timestamp_data()
{
    QTest::addColumn<QJsonValue>("stored");
    QTest::addColumn<QJsonValue>("expected");

    QTest::newRow("none") << QJsonValue(QJsonValue::Undefined) << QJsonValue(present);
    QTest::newRow("number") << QJsonValue(5) << QJsonValue(5);
    QTest::newRow("zero") << QJsonValue(0) << QJsonValue(0);
    QTest::newRow("null is something") << QJsonValue() << QJsonValue();
    QTest::newRow("text") << QJsonValue("5") << QJsonValue("5");
}

void RegHistoryModelTest::timestamp()
{
    QFETCH(QJsonValue, stored);
    model->addRecord(person("Иванов", "{a}", stored));
    QTEST(draggedRows({0}).first().toObject().value("timestamp"), "expected");
}

void RegHistoryModelTest::currentPinCodeIsDropped()
{
    QJsonObject json = person("Иванов", "{a}");
    json.insert("currentPinCode", "0042");
    json.insert("pinCodes", QJsonArray{"0042"});
    model->addRecord(json);
    json.remove("currentPinCode");
    JSON_COMPARE(draggedRows({0}), QJsonArray{json});
}

void RegHistoryModelTest::signalsOfAdding()
{
    ModelLog log(model.get());
    model->addRecord(person("Иванов", "{a}"));
    QCOMPARE(log.take(), QStringList{"layoutChanged"});
    model->addRecord(person("Иванов", "{a}"));
    QCOMPARE(log.take(), QStringList{"layoutChanged"});
}

void RegHistoryModelTest::loading()
{
    track->writeJournal("reghistory.state", R"({"lastName":"Первый","uuid":"{a}"})"
                                            "\n"
                                            R"({"lastName":"Второй","uuid":"{b}"})"
                                            "\n"
                                            R"({"lastName":"Снова первый","uuid":"{a}"})"
                                            "\n");
    model->load();
    QCOMPARE(shown(), (QStringList{"Снова первый", "Второй"}));
}

void RegHistoryModelTest::loadingDamaged_data()
{
    QTest::addColumn<QByteArray>("damaged");
    QTest::newRow("half a line") << QByteArray(R"({"lastName":"Пропав)") + '\n';
    QTest::newRow("empty line") << QByteArray("\n");
    QTest::newRow("array") << QByteArray("[1,2]\n");
    QTest::newRow("text") << QByteArray("ничего\n");
}

void RegHistoryModelTest::loadingDamaged()
{
    QFETCH(QByteArray, damaged);
    // The last byte of a line goes unread, so the last one here is damaged, too.
    track->writeJournal("reghistory.state", R"({"lastName":"Первый","uuid":"{a}"})"
                                            "\n" + damaged
                                                + R"({"lastName":"Второй","uuid":"{b}"})"
                                                  "\n"
                                                  R"({"lastName":"Третий","uuid":"{c}"})");
    model->load();
    QCOMPARE(shown(), (QStringList{"Второй", "Первый"}));
}

/// Somebody else writes the file, and nobody cuts it down: a season's registrations come back as fast as they are read.
void RegHistoryModelTest::loadingALongFile()
{
    constexpr int Count = 30000;
    QByteArray bytes;
    for (int number = 0; number < Count; ++number) {
        // Every tenth one is the first one again.
        const int racer = number % 10 == 9 ? 0 : number;
        bytes +=
            R"({"lastName":")" + QByteArray::number(number) + R"(","uuid":"{)" + QByteArray::number(racer) + "}\"}\n";
    }
    track->writeJournal("reghistory.state", bytes);
    model->load();
    QCOMPARE(model->rowCount(), Count - Count / 10);
    QCOMPARE(shown().mid(0, 3), (QStringList{"29999", "29998", "29997"}));
    QCOMPARE(shown().constLast(), QStringLiteral("1"));
}

void RegHistoryModelTest::loadingWithoutFile()
{
    model->addRecord(person("Иванов", "{a}"));
    model->load();
    QCOMPARE(shown(), QStringList{"Иванов"});
}

void RegHistoryModelTest::neverWritten()
{
    const QByteArray bytes = R"({"lastName":"Первый","uuid":"{a}","currentPinCode":"1"})"
                             "\n";
    track->writeJournal("reghistory.state", bytes);
    model->load();
    model->addRecord(person("Второй", "{b}"));
    model->removeOlderThan(QDateTime::fromSecsSinceEpoch(present + 5));
    model.reset();
    QCOMPARE(track->readJournal("reghistory.state"), bytes);
    QCOMPARE(track->journals(), QStringList{"reghistory.state"});
}

void RegHistoryModelTest::ageing_data()
{
    QTest::addColumn<QJsonValue>("timestamp");
    QTest::addColumn<bool>("gone");

    QTest::newRow("a second before") << QJsonValue(present - 1) << true;
    QTest::newRow("to the second") << QJsonValue(present) << false;
    QTest::newRow("after") << QJsonValue(present + 1) << false;
    QTest::newRow("zero") << QJsonValue(0) << true;
    QTest::newRow("null") << QJsonValue() << true;
    QTest::newRow("text of a time before") << QJsonValue("1699999999") << true;
    QTest::newRow("text of the second") << QJsonValue("1700000000") << false;
    QTest::newRow("letters") << QJsonValue("abc") << true;
    QTest::newRow("array") << QJsonValue(QJsonArray{present}) << true;
}

void RegHistoryModelTest::ageing()
{
    QFETCH(QJsonValue, timestamp);
    QFETCH(bool, gone);
    // Two in a row, so that a step over a row is seen.
    model->addRecord(person("Первый", "{a}", present));
    model->addRecord(person("Второй", "{b}", timestamp));
    model->addRecord(person("Третий", "{c}", timestamp));
    model->removeOlderThan(QDateTime::fromSecsSinceEpoch(present));
    QCOMPARE(shown(), gone ? QStringList{"Первый"} : (QStringList{"Третий", "Второй", "Первый"}));
}

void RegHistoryModelTest::ageingSignals()
{
    model->addRecord(person("Иванов", "{a}"));
    ModelLog log(model.get());
    model->removeOlderThan(QDateTime::fromSecsSinceEpoch(present));
    QCOMPARE(log.take(), QStringList{"layoutChanged"});
    model->removeOlderThan(QDateTime::fromSecsSinceEpoch(present + 1));
    QCOMPARE(log.take(), QStringList{"layoutChanged"});
}

void RegHistoryModelTest::dragged()
{
    const QJsonObject first = person("Первый", "{a}");
    QJsonObject second = person("Второй", "{b}");
    second.insert("discountValue", "10");
    model->addRecord(first);
    model->addRecord(second);
    const std::unique_ptr<QMimeData> data(model->mimeData({model->index(1, 0), model->index(0, 1)}));
    const QJsonObject expected{{"items", QJsonArray{first, second}}};
    QCOMPARE(data->data("application/json"), QJsonDocument(expected).toJson(QJsonDocument::Compact));
    QCOMPARE(data->data("source"), QByteArray("registrationHistory"));
}

void RegHistoryModelTest::draggedFromWholeRows()
{
    model->addRecord(person("Первый", "{a}"));
    model->addRecord(person("Второй", "{b}"));
    JSON_COMPARE(draggedRows({1, 0, 1, 0}), (QJsonArray{person("Первый", "{a}"), person("Второй", "{b}")}));
    JSON_COMPARE(draggedRows({}), QJsonArray());
}

DESK_TEST_MAIN(RegHistoryModelTest)
#include "tst_reghistorymodel.moc"
