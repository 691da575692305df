#include "payments/paymentdbupdater.h"

#include "jsonmatch.h"
#include "paymentdesk.h"

#include <QMetaMethod>
#include <QSqlQuery>

namespace {

QJsonArray itemsOf(const QJsonObject &batch)
{
    return batch.value(QLatin1String("itemsList")).toArray();
}

QJsonArray idsOf(const QJsonObject &batch)
{
    QJsonArray ids;
    const QJsonArray items = itemsOf(batch);
    for (const QJsonValue &item : items)
        ids.append(item.toObject().value(QLatin1String("dbId")));
    return ids;
}

QJsonObject fullPayment()
{
    return {{"uuid", "{full}"},
            {"clientId", 4711},
            {"firstName", QStringLiteral("Иван")},
            {"lastName", QStringLiteral("Иванов")},
            {"midName", QStringLiteral("Иванович")},
            {"paySum", 900.5},
            {"price", 300.25},
            {"discountValue", "=50"},
            {"salesCommonId", 12},
            {"priceType", 2},
            {"payState", true},
            {"payMethod", QStringLiteral("Карта")},
            {"carModel", "Sodi"},
            {"runCount", 3},
            {"comment", QStringLiteral("за двоих")},
            {"cashierId", 9},
            {"priceKind", QStringLiteral("не хранится")}};
}

const QString AllButDate =
    QStringLiteral("SELECT id,racer_guid,client_id,first_name,last_name,mid_name,sum,tariff,discount,pay_state,"
                   "pay_kind,car_model,tickets_count,comment,price_id,price_type,cashier_id,remote_updated "
                   "FROM payments ORDER BY id");

} // namespace

/// Payments on their way into the table, and rows on their way to the online service.
class TestPaymentDbUpdater : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_track = std::make_unique<TempTrack>();
        m_warnings = std::make_unique<WarningCatcher>();
        m_desk = std::make_unique<PaymentDesk>();
    }
    void cleanup()
    {
        m_desk.reset();
        QVERIFY(!QSqlDatabase::contains(QStringLiteral("paymentDbUpdater")));
        QCOMPARE(m_warnings->warnings(), QStringList());
        m_warnings.reset();
        m_track.reset();
    }

    void slotsAndSignals()
    {
        const QMetaObject &meta = PaymentDbUpdater::staticMetaObject;
        QStringList methods;
        for (int i = meta.methodOffset(); i < meta.methodCount(); ++i)
            methods.append(QString::fromLatin1(meta.method(i).methodSignature()));
        QCOMPARE(methods, (QStringList{QStringLiteral("remotePaymentsUpdated(QJsonObject)"),
                                       QStringLiteral("updateApiKey(QJsonObject)"),
                                       QStringLiteral("updatePaymentsData(QJsonObject)"),
                                       QStringLiteral("updatePayment(QJsonObject)")}));
    }

    void theConnectionIsTheWorkers()
    {
        QString file;
        bool open = false;
        m_desk->onWorker([&file, &open] {
            const QSqlDatabase db = QSqlDatabase::database(QStringLiteral("paymentDbUpdater"), false);
            file = db.databaseName();
            open = db.isOpen() && db.driverName() == QLatin1String("QSQLITE");
        });
        QCOMPARE(file, m_track->databaseFile());
        QVERIFY(open);
    }

    void storesEveryColumn()
    {
        const QDateTime before = QDateTime::currentDateTimeUtc();
        m_desk->pay(fullPayment());
        m_desk->drain();
        const QDateTime after = QDateTime::currentDateTimeUtc();
        QCOMPARE(m_track->query(AllButDate),
                 (QList<QVariantList>{{1, QStringLiteral("{full}"), 4711, QStringLiteral("Иван"),
                                       QStringLiteral("Иванов"), QStringLiteral("Иванович"), 900.5, 300.25,
                                       QStringLiteral("=50"), 1, QStringLiteral("Карта"), QStringLiteral("Sodi"), 3,
                                       QStringLiteral("за двоих"), 12, 2, 9, 0}}));
        const QVariant stored = m_track->value(QStringLiteral("SELECT pay_date FROM payments"));
        QCOMPARE(stored.type(), QVariant::String);
        const QDateTime written = stored.toDateTime();
        QCOMPARE(written.timeSpec(), Qt::UTC);
        QVERIFY2(before <= written && written <= after, qPrintable(stored.toString()));
    }

    void storesDefaults_data()
    {
        QTest::addColumn<QJsonObject>("record");
        QTest::newRow("empty record") << QJsonObject();
        QJsonObject texts;
        QJsonObject objects;
        const QJsonObject full = fullPayment();
        for (auto it = full.begin(); it != full.end(); ++it) {
            texts.insert(it.key(), it.value().isString() ? QJsonValue(5) : QJsonValue(QStringLiteral("5")));
            objects.insert(it.key(), QJsonObject{{"value", 5}});
        }
        QTest::newRow("numbers for texts and texts for numbers") << texts;
        QTest::newRow("objects") << objects;
    }
    void storesDefaults()
    {
        QFETCH(QJsonObject, record);
        m_desk->pay(record);
        m_desk->drain();
        const QList<QVariantList> rows = m_track->query(AllButDate);
        QCOMPARE(rows.size(), 1);
        const QVariantList expected{1, QString(), -1,        QString(), QString(), QString(), 0.0, 0.0, QString(),
                                    0, QString(), QString(), 1,         QString(), -1,        -1,  -1,  0};
        for (int i = 0; i < expected.size(); ++i)
            QCOMPARE(rows.first().at(i).toString(), expected.at(i).toString());
        QVERIFY(!m_track->value(QStringLiteral("SELECT pay_date FROM payments")).isNull());
    }

    void storesARefund()
    {
        m_desk->pay({{"uuid", "{refund}"}, {"paySum", -600.0}, {"runCount", -2}, {"payState", true}});
        m_desk->drain();
        QCOMPARE(m_track->query(QStringLiteral("SELECT sum,tickets_count,pay_state FROM payments")),
                 (QList<QVariantList>{{-600.0, -2, 1}}));
    }

    void storesTextsAsTheyAre()
    {
        const QString text = QStringLiteral("'; DROP TABLE payments; -- \"ё\"\n\t%1 :sum ?");
        m_desk->pay({{"uuid", text}, {"comment", text}});
        m_desk->pay({{"uuid", text}, {"comment", text}});
        m_desk->drain();
        QCOMPARE(m_track->query(QStringLiteral("SELECT racer_guid,comment FROM payments")),
                 (QList<QVariantList>{{text, text}}));
    }

    void aRepeatedPaymentUpdatesItsRow()
    {
        m_desk->pay(fullPayment());
        m_desk->drain();
        m_track->query(QStringLiteral("UPDATE payments SET remote_updated=1,pay_date='2001-01-01T00:00:00.000Z'"));

        const QDateTime before = QDateTime::currentDateTimeUtc();
        m_desk->pay({{"uuid", "{full}"}, {"paySum", 1.5}, {"cashierId", 77}});
        m_desk->drain();
        const QList<QVariantList> rows = m_track->query(AllButDate);
        QCOMPARE(rows.size(), 1);
        const QVariantList expected{1,         QStringLiteral("{full}"),
                                    -1,        QString(),
                                    QString(), QString(),
                                    1.5,       0.0,
                                    QString(), 0,
                                    QString(), QString(),
                                    1,         QString(),
                                    -1,        -1,
                                    9,         0};
        for (int i = 0; i < expected.size(); ++i)
            QCOMPARE(rows.first().at(i).toString(), expected.at(i).toString());
        QVERIFY(m_track->value(QStringLiteral("SELECT pay_date FROM payments")).toDateTime() >= before);
    }

    void anUpdateTakesEveryColumn()
    {
        m_desk->pay({{"uuid", "{full}"}, {"cashierId", 9}});
        m_desk->pay(fullPayment());
        m_desk->drain();
        QCOMPARE(m_track->query(AllButDate),
                 (QList<QVariantList>{{1, QStringLiteral("{full}"), 4711, QStringLiteral("Иван"),
                                       QStringLiteral("Иванов"), QStringLiteral("Иванович"), 900.5, 300.25,
                                       QStringLiteral("=50"), 1, QStringLiteral("Карта"), QStringLiteral("Sodi"), 3,
                                       QStringLiteral("за двоих"), 12, 2, 9, 0}}));
    }

    void aRowWithTheKeyMinusOneIsNotUpdated()
    {
        m_track->query(QStringLiteral("INSERT INTO payments (id,racer_guid,sum) VALUES (-1,'{payment-5}',1)"));
        m_desk->pay(payment(5));
        m_desk->drain();
        QCOMPARE(storedPayments(*m_track), (QList<int>{1, 5}));
    }

    void paymentsWithoutIdentityAreRowsOfTheirOwn()
    {
        m_desk->pay({{"paySum", 1}});
        m_desk->pay({{"paySum", 2}});
        m_desk->drain();
        QCOMPARE(m_track->query(QStringLiteral("SELECT sum FROM payments ORDER BY id")),
                 (QList<QVariantList>{{1.0}, {2.0}}));
    }

    void keepsTheOrder()
    {
        for (int number = 1; number <= 60; ++number)
            m_desk->pay(payment(number));
        m_desk->drain();
        QCOMPARE(storedPayments(*m_track), upTo(60));
    }

    void withoutAKeyNothingIsPushed()
    {
        m_desk->pay(payment(1));
        m_desk->drain();
        QCOMPARE(storedPayments(*m_track), upTo(1));
        QCOMPARE(m_desk->takeBatches().size(), 0);
        m_desk->setApiKey(QStringLiteral("key"));
        m_desk->drain();
        const QList<QJsonObject> batches = m_desk->takeBatches();
        QCOMPARE(batches.size(), 1);
        QCOMPARE(batches.first().keys(), QStringList{QStringLiteral("itemsList")});
        QCOMPARE(idsOf(batches.first()), QJsonArray{1});
    }

    void aKeyWithNothingToPushIsSilent()
    {
        m_desk->setApiKey(QStringLiteral("key"));
        m_desk->drain();
        QCOMPARE(m_desk->takeBatches().size(), 0);
    }

    void theSameKeyPushesNothing()
    {
        m_desk->pay(payment(1));
        m_desk->setApiKey(QStringLiteral("key"));
        m_desk->drain();
        QCOMPARE(m_desk->takeBatches().size(), 1);
        m_desk->setApiKey(QStringLiteral("key"));
        m_desk->drain();
        QCOMPARE(m_desk->takeBatches().size(), 0);
        m_desk->setApiKey(QStringLiteral("other"));
        m_desk->drain();
        QCOMPARE(m_desk->takeBatches().size(), 1);
    }

    void anEmptyKeySwitchesOff_data()
    {
        QTest::addColumn<QJsonObject>("off");
        QTest::newRow("empty") << QJsonObject{{"apiKey", ""}};
        QTest::newRow("missing") << QJsonObject();
        QTest::newRow("null") << QJsonObject{{"apiKey", QJsonValue()}};
        QTest::newRow("number") << QJsonObject{{"apiKey", 5}};
    }
    void anEmptyKeySwitchesOff()
    {
        QFETCH(QJsonObject, off);
        m_desk->setApiKey(QStringLiteral("key"));
        m_desk->call("updateApiKey", off);
        m_desk->pay(payment(1));
        m_desk->drain();
        QCOMPARE(storedPayments(*m_track), upTo(1));
        QCOMPARE(m_desk->takeBatches().size(), 0);
        m_desk->setApiKey(QStringLiteral("key"));
        m_desk->drain();
        QCOMPARE(m_desk->takeBatches().size(), 1);
    }

    void withAKeyEachPaymentPushesWhatIsPending()
    {
        m_desk->setApiKey(QStringLiteral("key"));
        m_desk->pay(payment(1));
        m_desk->pay(payment(2));
        m_desk->drain();
        const QList<QJsonObject> batches = m_desk->takeBatches();
        QCOMPARE(batches.size(), 2);
        QCOMPARE(idsOf(batches.at(0)), QJsonArray{1});
        QCOMPARE(idsOf(batches.at(1)), (QJsonArray{1, 2}));
    }

    void thirtyThreeGoInTwoBatches()
    {
        for (int number = 1; number <= 33; ++number)
            m_desk->pay(payment(number));
        m_desk->setApiKey(QStringLiteral("key"));
        m_desk->drain();
        QList<QJsonObject> batches = m_desk->takeBatches();
        QCOMPARE(batches.size(), 1);
        QJsonArray firstIds;
        for (int id = 1; id <= 32; ++id)
            firstIds.append(id);
        QCOMPARE(idsOf(batches.first()), firstIds);

        m_desk->answer(firstIds);
        m_desk->drain();
        batches = m_desk->takeBatches();
        QCOMPARE(batches.size(), 1);
        QCOMPARE(idsOf(batches.first()), QJsonArray{33});
        QCOMPARE(m_track->value(QStringLiteral("SELECT count(*) FROM payments WHERE remote_updated=1")).toInt(), 32);

        m_desk->answer(QJsonArray{33});
        m_desk->drain();
        QCOMPARE(m_desk->takeBatches().size(), 0);
        QCOMPARE(m_track->value(QStringLiteral("SELECT count(*) FROM payments WHERE remote_updated=1")).toInt(), 33);
    }

    void whatTheServiceDidNotTakeGoesAgain()
    {
        for (int number = 1; number <= 3; ++number)
            m_desk->pay(payment(number));
        m_desk->setApiKey(QStringLiteral("key"));
        m_desk->answer(QJsonArray{2});
        m_desk->drain();
        const QList<QJsonObject> batches = m_desk->takeBatches();
        QCOMPARE(batches.size(), 2);
        QCOMPARE(idsOf(batches.at(1)), (QJsonArray{1, 3}));
    }

    void aRowChangedAfterItWentOutGoesAgain()
    {
        m_desk->setApiKey(QStringLiteral("key"));
        m_desk->pay(payment(1));
        m_desk->answer(QJsonArray{1});
        m_desk->drain();
        QCOMPARE(m_track->value(QStringLiteral("SELECT remote_updated FROM payments")).toInt(), 1);
        m_desk->takeBatches();

        QJsonObject changed = payment(1);
        changed.insert(QStringLiteral("comment"), QStringLiteral("исправлено"));
        m_desk->pay(changed);
        m_desk->drain();
        QCOMPARE(m_track->value(QStringLiteral("SELECT remote_updated FROM payments")).toInt(), 0);
        const QList<QJsonObject> batches = m_desk->takeBatches();
        QCOMPARE(batches.size(), 1);
        QCOMPARE(itemsOf(batches.first()).at(0).toObject().value(QLatin1String("comment")).toString(),
                 QStringLiteral("исправлено"));
    }

    void theSameAnswerTwicePushesTheNextBatch()
    {
        for (int number = 1; number <= 2; ++number)
            m_desk->pay(payment(number));
        m_desk->answer(QJsonArray{1});
        m_desk->drain();
        QCOMPARE(m_desk->takeBatches().size(), 1);
        const QList<QVariantList> before = m_track->query(QStringLiteral("SELECT * FROM payments"));
        m_desk->answer(QJsonArray{1});
        m_desk->drain();
        QCOMPARE(m_track->query(QStringLiteral("SELECT * FROM payments")), before);
        const QList<QJsonObject> batches = m_desk->takeBatches();
        QCOMPARE(batches.size(), 1);
        QCOMPARE(idsOf(batches.first()), QJsonArray{2});
    }

    void anAnswerOfUnknownRowsPushes()
    {
        m_desk->pay(payment(1));
        m_desk->answer(QJsonArray{"1", 99, QJsonValue()});
        m_desk->drain();
        QCOMPARE(m_track->value(QStringLiteral("SELECT remote_updated FROM payments")).toInt(), 0);
        QCOMPARE(m_desk->takeBatches().size(), 1);
    }

    void anAnswerWithoutAListDoesNothing_data()
    {
        QTest::addColumn<QJsonObject>("answer");
        QTest::newRow("missing") << QJsonObject();
        QTest::newRow("empty") << QJsonObject{{"updatedList", QJsonArray()}};
        QTest::newRow("null") << QJsonObject{{"updatedList", QJsonValue()}};
        QTest::newRow("number") << QJsonObject{{"updatedList", 1}};
        QTest::newRow("object") << QJsonObject{{"updatedList", QJsonObject{{"0", 1}}}};
    }
    // Nor does it ask for the database: it passes while another connection holds the lock.
    void anAnswerWithoutAListDoesNothing()
    {
        QFETCH(QJsonObject, answer);
        m_desk->pay(payment(1));
        m_desk->setApiKey(QStringLiteral("key"));
        m_desk->drain();
        m_desk->takeBatches();
        m_track->query(QStringLiteral("BEGIN EXCLUSIVE"));
        m_desk->call("updatePaymentsData", answer);
        m_desk->drain();
        m_track->query(QStringLiteral("COMMIT"));
        QCOMPARE(m_desk->takeBatches().size(), 0);
        QCOMPARE(m_track->value(QStringLiteral("SELECT remote_updated FROM payments")).toInt(), 0);
    }

    void aBatchJoinsNames()
    {
        const int cashier = m_track->addCashier(QStringLiteral("Петрова"), QStringLiteral("Анна"),
                                                QStringLiteral("Юрьевна"), QStringLiteral("1"));
        const int type = m_track->addPriceType(QStringLiteral("Выходные"));
        TempTrack::PriceItem item;
        item.salesItem = QStringLiteral("Заезд");
        const int price = m_track->addPriceItem(item);

        QJsonObject paid = fullPayment();
        paid.insert(QStringLiteral("cashierId"), cashier);
        paid.insert(QStringLiteral("priceType"), type);
        paid.insert(QStringLiteral("salesCommonId"), price);
        m_desk->pay(paid);
        m_desk->drain();
        m_track->query(QStringLiteral("UPDATE payments SET pay_date='2024-05-06T07:08:09.123Z'"));
        m_desk->setApiKey(QStringLiteral("key"));
        m_desk->drain();
        const QList<QJsonObject> batches = m_desk->takeBatches();
        QCOMPARE(batches.size(), 1);
        const QJsonObject row{{"dbId", 1},
                              {"payState", 1},
                              {"payDate", "2024-05-06T07:08:09"},
                              {"clientId", 4711},
                              {"clientName", QStringLiteral("Иванов Иван Иванович")},
                              {"sum", 900.5},
                              {"tariff", 300.25},
                              {"discount", "=50"},
                              {"payKind", QStringLiteral("Карта")},
                              {"carModel", "Sodi"},
                              {"itemName", QStringLiteral("Заезд")},
                              {"itemsCount", 3},
                              {"priceId", price},
                              {"priceType", type},
                              {"priceTypeName", QStringLiteral("Выходные")},
                              {"cashierId", cashier},
                              {"cashierName", QStringLiteral("Петрова Анна Юрьевна")},
                              {"comment", QStringLiteral("за двоих")}};
        JSON_COMPARE(batches.first(), (QJsonObject{{"itemsList", QJsonArray{row}}}));
    }

    // A plain sale has no racer: of the three marks the last one has no blank behind it and stays.
    void aPlainSaleKeepsTheLastMark()
    {
        m_desk->pay({{"uuid", "{sale}"}, {"price", 100}, {"paySum", 200}, {"runCount", 2}, {"payState", true}});
        m_desk->setApiKey(QStringLiteral("key"));
        m_desk->drain();
        const QList<QJsonObject> batches = m_desk->takeBatches();
        QCOMPARE(batches.size(), 1);
        QJsonObject row = itemsOf(batches.first()).at(0).toObject();
        QVERIFY(!row.take(QStringLiteral("payDate")).toString().isEmpty());
        const QString mark(1, QChar(QChar::Null));
        JSON_COMPARE(row, (QJsonObject{{"dbId", 1},
                                       {"payState", 1},
                                       {"clientId", -1},
                                       {"clientName", mark},
                                       {"sum", 200.0},
                                       {"tariff", 100.0},
                                       {"discount", ""},
                                       {"payKind", ""},
                                       {"carModel", ""},
                                       {"itemName", ""},
                                       {"itemsCount", 2},
                                       {"priceId", -1},
                                       {"priceType", -1},
                                       {"priceTypeName", QStringLiteral("Основные")},
                                       {"cashierId", -1},
                                       {"cashierName", mark}}));
    }

    void missingNamePartsLeaveNoBlanks()
    {
        m_desk->pay({{"uuid", "{a}"}, {"firstName", QStringLiteral("Иван")}});
        m_desk->pay({{"uuid", "{b}"}, {"lastName", QStringLiteral("Иванов")}, {"midName", QStringLiteral("Иванович")}});
        m_desk->setApiKey(QStringLiteral("key"));
        m_desk->drain();
        const QList<QJsonObject> batches = m_desk->takeBatches();
        QCOMPARE(batches.size(), 1);
        const QJsonArray items = itemsOf(batches.first());
        const QString mark(1, QChar(QChar::Null));
        QCOMPARE(items.at(0).toObject().value(QLatin1String("clientName")).toString(), QStringLiteral("Иван ") + mark);
        QCOMPARE(items.at(1).toObject().value(QLatin1String("clientName")).toString(),
                 QStringLiteral("Иванов Иванович"));
    }

    void aFailedSelectLosesOnlyItsPayment()
    {
        m_track->query(QStringLiteral("ALTER TABLE payments RENAME TO elsewhere"));
        m_desk->pay(payment(1));
        m_desk->drain();
        m_track->query(QStringLiteral("ALTER TABLE elsewhere RENAME TO payments"));
        m_desk->pay(payment(2));
        m_desk->drain();
        QCOMPARE(storedPayments(*m_track), QList<int>{2});
    }

    void aFailedInsertIsCommittedOver()
    {
        m_track->query(QStringLiteral("CREATE TABLE log (n INTEGER)"));
        m_track->query(QStringLiteral("CREATE TRIGGER refuse BEFORE INSERT ON payments WHEN new.sum=2 BEGIN "
                                      "INSERT INTO log VALUES (1); SELECT RAISE(FAIL,'refused'); END"));
        for (int number = 1; number <= 3; ++number)
            m_desk->pay(payment(number));
        m_desk->drain();
        QCOMPARE(storedPayments(*m_track), (QList<int>{1, 3}));
        // What the statement did before it failed was committed.
        QCOMPARE(m_track->value(QStringLiteral("SELECT count(*) FROM log")).toInt(), 1);
    }

    void aFailedUpdateIsCommittedOver()
    {
        m_desk->pay(payment(1));
        m_desk->drain();
        m_track->query(QStringLiteral("CREATE TRIGGER refuse BEFORE UPDATE ON payments BEGIN "
                                      "SELECT RAISE(ABORT,'refused'); END"));
        QJsonObject changed = payment(1);
        changed.insert(QStringLiteral("comment"), QStringLiteral("new"));
        m_desk->pay(changed);
        m_desk->pay(payment(2));
        m_desk->drain();
        QCOMPARE(m_track->query(QStringLiteral("SELECT sum,ifnull(comment,'') FROM payments ORDER BY id")),
                 (QList<QVariantList>{{1.0, QString()}, {2.0, QString()}}));
    }

    void aFailedInsertStillPushes()
    {
        m_desk->pay(payment(1));
        m_track->query(QStringLiteral("CREATE TRIGGER refuse BEFORE INSERT ON payments WHEN new.sum=2 BEGIN "
                                      "SELECT RAISE(ABORT,'refused'); END"));
        m_desk->setApiKey(QStringLiteral("key"));
        m_desk->drain();
        m_desk->takeBatches();
        m_desk->pay(payment(2));
        m_desk->drain();
        const QList<QJsonObject> batches = m_desk->takeBatches();
        QCOMPARE(batches.size(), 1);
        QCOMPARE(idsOf(batches.first()), QJsonArray{1});
    }

    void aFailedPushSelectSendsNothing()
    {
        m_track->query(QStringLiteral("ALTER TABLE personal RENAME TO elsewhere"));
        m_desk->setApiKey(QStringLiteral("key"));
        m_desk->pay(payment(1));
        m_desk->drain();
        QCOMPARE(m_desk->takeBatches().size(), 0);
        QCOMPARE(storedPayments(*m_track), upTo(1));
        m_track->query(QStringLiteral("ALTER TABLE elsewhere RENAME TO personal"));
        m_desk->pay(payment(2));
        m_desk->drain();
        QCOMPARE(m_desk->takeBatches().size(), 1);
    }

    void aFailedFlaggingStopsTheChain()
    {
        m_desk->pay(payment(1));
        m_desk->pay(payment(2));
        m_desk->drain();
        m_track->query(QStringLiteral("CREATE TRIGGER refuse BEFORE UPDATE ON payments BEGIN "
                                      "SELECT RAISE(ABORT,'refused'); END"));
        m_desk->answer(QJsonArray{1});
        m_desk->drain();
        QCOMPARE(m_desk->takeBatches().size(), 0);
        m_track->query(QStringLiteral("DROP TRIGGER refuse"));
        m_desk->answer(QJsonArray{1});
        m_desk->drain();
        const QList<QJsonObject> batches = m_desk->takeBatches();
        QCOMPARE(batches.size(), 1);
        QCOMPARE(idsOf(batches.first()), QJsonArray{2});
    }

    void nothingIsLeftLocked()
    {
        m_desk->pay(payment(1));
        m_desk->setApiKey(QStringLiteral("key"));
        m_desk->answer(QJsonArray{1});
        m_desk->drain();
        m_track->query(QStringLiteral("PRAGMA busy_timeout=0"));
        m_track->query(QStringLiteral("BEGIN EXCLUSIVE"));
        m_track->query(QStringLiteral("COMMIT"));
    }

    void aThousandAnswersAtOnce()
    {
        QJsonArray ids;
        for (int id = 1; id <= 1000; ++id)
            ids.append(id);
        m_desk->pay(payment(1));
        m_desk->answer(ids);
        m_desk->drain();
        QCOMPARE(m_track->value(QStringLiteral("SELECT remote_updated FROM payments")).toInt(), 1);
    }

private:
    std::unique_ptr<TempTrack> m_track;
    std::unique_ptr<WarningCatcher> m_warnings;
    std::unique_ptr<PaymentDesk> m_desk;
};

DESK_TEST_MAIN(TestPaymentDbUpdater)

#include "tst_paymentdbupdater.moc"
