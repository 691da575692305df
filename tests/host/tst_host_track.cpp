#include "trackdatabase.h"
#include "trackhome.h"

#include <QJsonObject>
#include <QStandardPaths>
#include <QtTest>

class TestTrack : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void homeMovesTheStandardLocations();
    void makesTheTree();
    void treeInTheWayOfAFile();
    void makesTheSchema_data();
    void makesTheSchema();
    void firstTabIsTheTemplateBlock();
    void furtherBlocksStartAtOne();
    void defaultsOfAPriceRow();
    void paymentsAreUnsentAtFirst();
    void hasItsIndices();
    void preparingTwiceKeepsEverything();
    void fileThatIsNoDatabase();
    void newerSchemaIsLeftAlone();
    void carsAsRecords();
    void carGoesOutOfService();

private:
    QString one(TrackDatabase &database, const QString &sql);
    QString file() const { return m_files->filePath(QStringLiteral("lapvane.sqlite")); }

    QTemporaryDir m_home;
    QScopedPointer<QTemporaryDir> m_files;
};

QString TestTrack::one(TrackDatabase &database, const QString &sql)
{
    QVector<QVariantList> rows;
    if (!database.select(sql, &rows))
        return QStringLiteral("failed: ") + database.errorText();
    QStringList lines;
    for (const QVariantList &row : qAsConst(rows)) {
        QStringList values;
        for (const QVariant &value : row)
            values.append(value.toString());
        lines.append(values.join(QLatin1Char('|')));
    }
    return lines.join(QLatin1Char('\n'));
}

void TestTrack::initTestCase()
{
    QVERIFY(m_home.isValid());
    QString error;
    QVERIFY2(TrackHome(m_home.path()).enter(&error), qPrintable(error));
}

void TestTrack::init()
{
    m_files.reset(new QTemporaryDir);
    QVERIFY(m_files->isValid());
}

void TestTrack::homeMovesTheStandardLocations()
{
    const TrackHome home(m_home.path());
    QCOMPARE(QDir::homePath(), home.directory());
    QCOMPARE(QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation),
             home.path(QStringLiteral("Documents")));
    QCOMPARE(QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation),
             home.path(QStringLiteral(".config")));
    QSettings settings(QStringLiteral("zz.ordvex"), QStringLiteral("prices"));
    QVERIFY2(settings.fileName().startsWith(home.directory() + QLatin1Char('/')), qPrintable(settings.fileName()));
}

void TestTrack::makesTheTree()
{
    const TrackHome home(m_files->filePath(QStringLiteral("трасса")));
    QString error;
    QVERIFY2(home.makeTree(&error), qPrintable(error));
    QVERIFY(QFileInfo(home.path(QStringLiteral("Documents/Lapvane-QT/journals"))).isDir());
    QVERIFY(QFileInfo(home.path(QStringLiteral("Documents/Lapvane-QT/DB"))).isDir());
    QVERIFY2(home.makeTree(&error), "a tree that stands already is fine");
}

void TestTrack::treeInTheWayOfAFile()
{
    QFile inTheWay(m_files->filePath(QStringLiteral("Documents")));
    QVERIFY(inTheWay.open(QIODevice::WriteOnly));
    inTheWay.close();
    QString error;
    QVERIFY(!TrackHome(m_files->path()).makeTree(&error));
    QVERIFY(!error.isEmpty());
}

void TestTrack::makesTheSchema_data()
{
    QTest::addColumn<QString>("table");
    QTest::addColumn<QString>("columns");
    QTest::newRow("personal") << QStringLiteral("personal")
                              << QStringLiteral("id last_name first_name mid_name access_code");
    QTest::newRow("price_types") << QStringLiteral("price_types") << QStringLiteral("id name is_deleted");
    QTest::newRow("price_list")
        << QStringLiteral("price_list")
        << QStringLiteral("id common_id price_type sales_item color model sum avail_rules show_remote is_deleted");
    QTest::newRow("cars") << QStringLiteral("cars") << QStringLiteral("id name num transponderId available_for_runs");
    QTest::newRow("payments")
        << QStringLiteral("payments")
        << QStringLiteral(
               "id racer_guid pay_date client_id first_name last_name mid_name sum tariff discount pay_state "
               "pay_kind car_model tickets_count comment price_id price_type cashier_id remote_updated");
    QTest::newRow("runs_archive")
        << QStringLiteral("runs_archive")
        << QStringLiteral("id run_num start_ts duration_ms finish_type finish_param sort_mode run_queue_guid run_name "
                          "results");
}

void TestTrack::makesTheSchema()
{
    QFETCH(QString, table);
    QFETCH(QString, columns);
    TrackDatabase database(file());
    QVERIFY2(database.prepare(), qPrintable(database.errorText()));
    QVERIFY(database.isEmptyTrack());
    QCOMPARE(database.schemaVersion(), TrackDatabase::newestSchemaVersion());
    const QString names = one(database, QStringLiteral("SELECT name FROM pragma_table_info('%1')").arg(table));
    QCOMPARE(names.split(QLatin1Char('\n')), columns.split(QLatin1Char(' ')));
}

void TestTrack::firstTabIsTheTemplateBlock()
{
    TrackDatabase database(file());
    QVERIFY(database.prepare());
    QCOMPARE(one(database, QStringLiteral("SELECT id, name, is_deleted FROM price_types")),
             QStringLiteral("-1|Основные|0"));
}

void TestTrack::furtherBlocksStartAtOne()
{
    TrackDatabase database(file());
    QVERIFY(database.prepare());
    QVERIFY(database.write([](QSqlQuery &query) {
        query.exec(QStringLiteral("INSERT INTO price_types (name) VALUES ('a')"));
        query.exec(QStringLiteral("DELETE FROM price_types WHERE name = 'a'"));
        query.exec(QStringLiteral("INSERT INTO price_types (name) VALUES ('b')"));
    }));
    QCOMPARE(one(database, QStringLiteral("SELECT id FROM price_types WHERE name = 'b'")), QStringLiteral("2"));
}

void TestTrack::defaultsOfAPriceRow()
{
    TrackDatabase database(file());
    QVERIFY(database.prepare());
    QVERIFY(
        database.write([](QSqlQuery &query) { query.exec(QStringLiteral("INSERT INTO price_list DEFAULT VALUES")); }));
    QCOMPARE(one(database, QStringLiteral("SELECT id, price_type, sum, show_remote, is_deleted FROM price_list")),
             QStringLiteral("1|-1|0|1|0"));
    QVERIFY(!database.isEmptyTrack());
}

void TestTrack::paymentsAreUnsentAtFirst()
{
    TrackDatabase database(file());
    QVERIFY(database.prepare());
    QVERIFY(database.write(
        [](QSqlQuery &query) { query.exec(QStringLiteral("INSERT INTO payments (racer_guid) VALUES ('{a}')")); }));
    QCOMPARE(one(database, QStringLiteral("SELECT id, remote_updated FROM payments")), QStringLiteral("1|0"));
}

void TestTrack::hasItsIndices()
{
    TrackDatabase database(file());
    QVERIFY(database.prepare());
    QVERIFY(one(database, QStringLiteral("EXPLAIN QUERY PLAN SELECT id FROM payments WHERE racer_guid = '{a}'"))
                .contains(QLatin1String("payments_racer_guid")));
    QVERIFY(
        one(database,
            QStringLiteral("EXPLAIN QUERY PLAN SELECT id FROM payments WHERE remote_updated = 0 ORDER BY id LIMIT 32"))
            .contains(QLatin1String("payments_unsent")));
}

void TestTrack::preparingTwiceKeepsEverything()
{
    {
        TrackDatabase database(file());
        QVERIFY(database.prepare());
        QVERIFY(database.write([](QSqlQuery &query) {
            query.exec(QStringLiteral("UPDATE price_types SET name = 'Будни' WHERE id = -1"));
            query.exec(QStringLiteral("INSERT INTO payments (racer_guid) VALUES ('{a}')"));
        }));
    }
    TrackDatabase database(file());
    QVERIFY(database.prepare());
    QCOMPARE(one(database, QStringLiteral("SELECT name FROM price_types")), QStringLiteral("Будни"));
    QCOMPARE(one(database, QStringLiteral("SELECT count(*) FROM payments")), QStringLiteral("1"));
}

void TestTrack::fileThatIsNoDatabase()
{
    QFile broken(file());
    QVERIFY(broken.open(QIODevice::WriteOnly));
    const QByteArray content(4096, 'x');
    QCOMPARE(broken.write(content), qint64(content.size()));
    broken.close();

    {
        TrackDatabase database(file());
        QVERIFY(!database.prepare());
        QVERIFY(!database.errorText().isEmpty());
        QVERIFY(database.cars().isEmpty());
    }
    QVERIFY(broken.open(QIODevice::ReadOnly));
    QCOMPARE(broken.readAll(), content);
}

void TestTrack::newerSchemaIsLeftAlone()
{
    TrackDatabase database(file());
    QVERIFY(database.prepare());
    QVERIFY(database.write([](QSqlQuery &query) { query.exec(QStringLiteral("PRAGMA user_version = 999")); }));
    QVERIFY(database.prepare());
    QCOMPARE(database.schemaVersion(), 999);
}

void TestTrack::carsAsRecords()
{
    TrackDatabase database(file());
    QVERIFY(database.prepare());
    QVERIFY(database.write([](QSqlQuery &query) {
        query.exec(QStringLiteral("INSERT INTO cars (name, num, transponderId) VALUES ('Детский', '07', 9007)"));
    }));
    const QJsonObject expected{{QStringLiteral("id"), 1},
                               {QStringLiteral("name"), QStringLiteral("Детский")},
                               {QStringLiteral("num"), QStringLiteral("07")},
                               {QStringLiteral("transponderId"), 9007},
                               {QStringLiteral("available_for_runs"), true}};
    QCOMPARE(database.cars(), QJsonArray({expected}));
}

void TestTrack::carGoesOutOfService()
{
    TrackDatabase database(file());
    QVERIFY(database.prepare());
    QVERIFY(database.write([](QSqlQuery &query) {
        query.exec(QStringLiteral("INSERT INTO cars (name) VALUES ('a')"));
        query.exec(QStringLiteral("INSERT INTO cars (name) VALUES ('b')"));
    }));
    database.setCarAvailable(2, false);
    QCOMPARE(one(database, QStringLiteral("SELECT available_for_runs FROM cars ORDER BY id")), QStringLiteral("1\n0"));
    database.setCarAvailable(2, true);
    QCOMPARE(one(database, QStringLiteral("SELECT available_for_runs FROM cars ORDER BY id")), QStringLiteral("1\n1"));
}

QTEST_GUILESS_MAIN(TestTrack)
#include "tst_host_track.moc"
