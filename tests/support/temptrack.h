#ifndef TEMPTRACK_H
#define TEMPTRACK_H

#include <QByteArray>
#include <QList>
#include <QSqlDatabase>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <QVariant>

#include <memory>

/// A track of its own for one test: home, documents tree, settings and database in a temporary folder. HOME and
/// XDG_CONFIG_HOME point there as long as the object lives, and the settings of the whole process with them.
///
/// Call isolateProcess() first thing in main (DESK_TEST_MAIN does), so that nothing touches the user's own files before
/// the first track stands. Make the track before the desk and take it down after it.
class TempTrack
{
public:
    enum Feature {
        Bare = 0, ///< a home with an empty documents folder
        Tree = 1, ///< the folders Lapvane-QT/journals and Lapvane-QT/DB
        Database = 2, ///< the host's schema in DB/lapvane.sqlite; needs Tree
        SeededTypes = 4, ///< the price type -1 "Основные", as the host's installer leaves it; needs Database
        Complete = Tree | Database | SeededTypes
    };
    Q_DECLARE_FLAGS(Features, Feature)

    /// One item of the price list. A template row has the price type -1 and is its own common item.
    struct PriceItem
    {
        QString salesItem{};
        double sum = 0;
        QString model{};
        QString color = QStringLiteral("#ffffff");
        int priceType = -1;
        int commonId = -1; ///< -1 makes the item its own common item
        int showRemote = 1;
    };

    explicit TempTrack(Features features = Complete);
    /// The track that HOME points to: for a child process that works on its parent's track. Nothing is removed.
    static std::unique_ptr<TempTrack> fromEnvironment();
    ~TempTrack();
    Q_DISABLE_COPY(TempTrack)

    /// Points HOME and XDG_CONFIG_HOME of the process to an empty temporary folder, unless a parent test has done so.
    static void isolateProcess();

    QString home() const { return m_home; }
    QString documents() const;
    /// Documents/Lapvane-QT.
    QString root() const;
    QString journalsFolder() const;
    QString journal(const QString &name) const;
    QString databaseFile() const;

    void writeJournal(const QString &name, const QByteArray &bytes) const;
    /// Content of the journal; null when there is no such file.
    QByteArray readJournal(const QString &name) const;
    bool hasJournal(const QString &name) const;
    void removeJournal(const QString &name) const;
    /// Names of everything in the folder of journals, sorted.
    QStringList journals() const;

    /// Creates the tables of the host's schema in the given database.
    static void createSchema(const QSqlDatabase &db);
    /// The track's own connection; opened on first use.
    QSqlDatabase db() const;
    /// Runs a statement with positional values and returns the rows; a failing statement ends the test program.
    QList<QVariantList> query(const QString &sql, const QVariantList &values = {}) const;
    /// First column of the first row, or an invalid variant.
    QVariant value(const QString &sql, const QVariantList &values = {}) const;

    /// Adds a price type with a key of its own and returns the key.
    int addPriceType(const QString &name) const;
    /// Adds a row to the price list and returns its id.
    int addPriceItem(const PriceItem &item) const;
    void addCar(const QString &model, const QString &num, int transponderId = 0) const;
    int addCashier(const QString &lastName, const QString &firstName, const QString &midName,
                   const QString &accessCode) const;

    void setSetting(const QString &key, const QVariant &value) const;
    QVariant setting(const QString &key) const;
    void setDiscounts(const QStringList &discounts) const;
    void setPayMethods(const QStringList &methods) const;

private:
    explicit TempTrack(const QString &existingHome);
    void pointProcessHere() const;

    std::unique_ptr<QTemporaryDir> m_dir;
    QString m_home;
    QString m_connection;
    QByteArray m_oldHome;
    QByteArray m_oldConfig;
};

Q_DECLARE_OPERATORS_FOR_FLAGS(TempTrack::Features)

#endif // TEMPTRACK_H
