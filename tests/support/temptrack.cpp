#include "temptrack.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSettings>
#include <QSqlError>
#include <QSqlQuery>
#include <QSqlRecord>

namespace {

const char ChildMark[] = "LAPVANE_TEST_CHILD";

void need(bool ok, const QString &what)
{
    if (!ok)
        qFatal("temporary track: %s", qPrintable(what));
}

QString nextConnection()
{
    static int count = 0;
    return QStringLiteral("track-%1").arg(++count);
}

} // namespace

TempTrack::TempTrack(Features features)
    : m_dir(std::make_unique<QTemporaryDir>())
    , m_home(m_dir->path())
    , m_connection(nextConnection())
    , m_oldHome(qgetenv("HOME"))
    , m_oldConfig(qgetenv("XDG_CONFIG_HOME"))
{
    need(m_dir->isValid(), QStringLiteral("no temporary folder"));
    need(QDir().mkpath(documents()), documents());
    need(QDir().mkpath(m_home + QLatin1String("/.config")), m_home);
    pointProcessHere();
    if (features & Tree) {
        need(QDir().mkpath(journalsFolder()), journalsFolder());
        need(QDir().mkpath(root() + QLatin1String("/DB")), root());
    }
    if (features & Database)
        createSchema(db());
    if (features & SeededTypes)
        query(QStringLiteral("INSERT INTO price_types (id,name) VALUES (-1,?)"), {QStringLiteral("Основные")});
}

TempTrack::TempTrack(const QString &existingHome)
    : m_home(existingHome)
    , m_connection(nextConnection())
    , m_oldHome(qgetenv("HOME"))
    , m_oldConfig(qgetenv("XDG_CONFIG_HOME"))
{
    pointProcessHere();
}

TempTrack::~TempTrack()
{
    if (QSqlDatabase::contains(m_connection)) {
        QSqlDatabase::database(m_connection, false).close();
        QSqlDatabase::removeDatabase(m_connection);
    }
    qputenv("HOME", m_oldHome);
    qputenv("XDG_CONFIG_HOME", m_oldConfig);
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, QFile::decodeName(m_oldConfig));
}

std::unique_ptr<TempTrack> TempTrack::fromEnvironment()
{
    return std::unique_ptr<TempTrack>(new TempTrack(QFile::decodeName(qgetenv("HOME"))));
}

void TempTrack::isolateProcess()
{
    if (qEnvironmentVariableIsSet(ChildMark))
        return;
    static const QTemporaryDir home;
    need(home.isValid(), QStringLiteral("no temporary folder"));
    qputenv("HOME", QFile::encodeName(home.path()));
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(home.path() + QLatin1String("/.config")));
    qputenv(ChildMark, "1");
}

// Settings remember their folder once it was asked for, so they are pointed by hand; all other paths follow HOME.
void TempTrack::pointProcessHere() const
{
    const QString config = m_home + QLatin1String("/.config");
    qputenv("HOME", QFile::encodeName(m_home));
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(config));
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, config);
}

QString TempTrack::documents() const
{
    return m_home + QLatin1String("/Documents");
}

QString TempTrack::root() const
{
    return documents() + QLatin1String("/Lapvane-QT");
}

QString TempTrack::journalsFolder() const
{
    return root() + QLatin1String("/journals");
}

QString TempTrack::journal(const QString &name) const
{
    return journalsFolder() + QLatin1Char('/') + name;
}

QString TempTrack::databaseFile() const
{
    return root() + QLatin1String("/DB/lapvane.sqlite");
}

void TempTrack::writeJournal(const QString &name, const QByteArray &bytes) const
{
    QFile file(journal(name));
    need(file.open(QIODevice::WriteOnly), file.fileName());
    need(file.write(bytes) == bytes.size(), file.fileName());
}

QByteArray TempTrack::readJournal(const QString &name) const
{
    QFile file(journal(name));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const QByteArray bytes = file.readAll();
    return bytes.isNull() ? QByteArray("") : bytes;
}

bool TempTrack::hasJournal(const QString &name) const
{
    return QFile::exists(journal(name));
}

void TempTrack::removeJournal(const QString &name) const
{
    if (hasJournal(name))
        need(QFile::remove(journal(name)), name);
}

QStringList TempTrack::journals() const
{
    return QDir(journalsFolder()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden, QDir::Name);
}

void TempTrack::createSchema(const QSqlDatabase &db)
{
    const QStringList statements{
        QStringLiteral("CREATE TABLE personal (id INTEGER PRIMARY KEY AUTOINCREMENT, last_name TEXT, first_name TEXT, "
                       "mid_name TEXT, access_code TEXT)"),
        QStringLiteral("CREATE TABLE cars (id INTEGER PRIMARY KEY AUTOINCREMENT, name TEXT, num TEXT, "
                       "transponder_id INTEGER, available_for_runs INTEGER DEFAULT 1)"),
        QStringLiteral("CREATE TABLE price_types (id INTEGER PRIMARY KEY AUTOINCREMENT, name TEXT, "
                       "is_deleted INTEGER NOT NULL DEFAULT 0)"),
        QStringLiteral("CREATE TABLE price_list (id INTEGER PRIMARY KEY AUTOINCREMENT, common_id INTEGER, "
                       "price_type INTEGER NOT NULL DEFAULT -1, sales_item TEXT, color TEXT, model TEXT, "
                       "sum REAL NOT NULL DEFAULT 0, avail_rules TEXT, show_remote INTEGER NOT NULL DEFAULT 1, "
                       "is_deleted INTEGER NOT NULL DEFAULT 0)"),
        QStringLiteral("CREATE TABLE payments (id INTEGER PRIMARY KEY AUTOINCREMENT, racer_guid TEXT, "
                       "pay_date DATETIME, client_id INTEGER, first_name TEXT, last_name TEXT, mid_name TEXT, "
                       "sum REAL, tariff REAL, discount TEXT, pay_state INTEGER, pay_kind TEXT, car_model TEXT, "
                       "tickets_count INTEGER, comment TEXT, price_id INTEGER, price_type INTEGER, "
                       "cashier_id INTEGER, remote_updated INTEGER NOT NULL DEFAULT 0)"),
        QStringLiteral("CREATE INDEX payments_racer ON payments (racer_guid)"),
        QStringLiteral("CREATE INDEX payments_unsent ON payments (id) WHERE remote_updated = 0"),
    };
    for (const QString &statement : statements) {
        QSqlQuery query(db);
        need(query.exec(statement), query.lastError().text());
    }
}

QSqlDatabase TempTrack::db() const
{
    if (QSqlDatabase::contains(m_connection))
        return QSqlDatabase::database(m_connection);
    QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), m_connection);
    db.setDatabaseName(databaseFile());
    need(db.open(), db.lastError().text());
    return db;
}

QList<QVariantList> TempTrack::query(const QString &sql, const QVariantList &values) const
{
    QSqlQuery query(db());
    need(query.prepare(sql), sql + QLatin1String(": ") + query.lastError().text());
    for (const QVariant &value : values)
        query.addBindValue(value);
    need(query.exec(), sql + QLatin1String(": ") + query.lastError().text());
    QList<QVariantList> rows;
    while (query.next()) {
        QVariantList row;
        for (int column = 0; column < query.record().count(); ++column)
            row.append(query.value(column));
        rows.append(row);
    }
    return rows;
}

QVariant TempTrack::value(const QString &sql, const QVariantList &values) const
{
    const QList<QVariantList> rows = query(sql, values);
    return rows.isEmpty() ? QVariant() : rows.first().value(0);
}

int TempTrack::addPriceType(const QString &name) const
{
    query(QStringLiteral("INSERT INTO price_types (name) VALUES (?)"), {name});
    return value(QStringLiteral("SELECT last_insert_rowid()")).toInt();
}

int TempTrack::addPriceItem(const PriceItem &item) const
{
    query(QStringLiteral("INSERT INTO price_list (common_id,price_type,sales_item,color,model,sum,show_remote) "
                         "VALUES (?,?,?,?,?,?,?)"),
          {item.commonId, item.priceType, item.salesItem, item.color, item.model, item.sum, item.showRemote});
    const int id = value(QStringLiteral("SELECT last_insert_rowid()")).toInt();
    if (item.commonId == -1)
        query(QStringLiteral("UPDATE price_list SET common_id=id WHERE id=?"), {id});
    return id;
}

void TempTrack::addCar(const QString &model, const QString &num, int transponderId) const
{
    query(QStringLiteral("INSERT INTO cars (name,num,transponder_id) VALUES (?,?,?)"), {model, num, transponderId});
}

int TempTrack::addCashier(const QString &lastName, const QString &firstName, const QString &midName,
                          const QString &accessCode) const
{
    query(QStringLiteral("INSERT INTO personal (last_name,first_name,mid_name,access_code) VALUES (?,?,?,?)"),
          {lastName, firstName, midName, accessCode});
    return value(QStringLiteral("SELECT last_insert_rowid()")).toInt();
}

void TempTrack::setSetting(const QString &key, const QVariant &value) const
{
    QSettings settings(QStringLiteral("zz.ordvex"), QStringLiteral("prices"));
    settings.setValue(key, value);
    settings.sync();
    need(settings.status() == QSettings::NoError, key);
}

QVariant TempTrack::setting(const QString &key) const
{
    QSettings settings(QStringLiteral("zz.ordvex"), QStringLiteral("prices"));
    settings.sync();
    return settings.value(key);
}

void TempTrack::setDiscounts(const QStringList &discounts) const
{
    setSetting(QStringLiteral("discounts"),
               QJsonDocument(QJsonArray::fromStringList(discounts)).toJson(QJsonDocument::Compact));
}

void TempTrack::setPayMethods(const QStringList &methods) const
{
    setSetting(QStringLiteral("paymethods"),
               QJsonDocument(QJsonArray::fromStringList(methods)).toJson(QJsonDocument::Compact));
}
