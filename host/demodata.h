#ifndef DEMODATA_H
#define DEMODATA_H

#include <QJsonObject>
#include <QString>
#include <QVector>

class QSqlQuery;
class TrackDatabase;
class TrackHome;

/// The track that `--demo` shows: cars, a price list in two blocks, cashiers, settings and the first racers of the day.
/// Everything is written as the desk itself would find it after a day's work, before the desk is loaded.
class DemoData
{
public:
    DemoData(const TrackHome &home, TrackDatabase *database);

    /// Fills an empty track; a track with cars or prices stays as it is. False when something could not be written.
    bool fill();

private:
    struct Item
    {
        int commonId = -1;
        QString name;
        QString model;
        QString color;
        double price = 0;
    };

    bool fillDatabase();
    void fillCars(QSqlQuery &query);
    void fillPrices(QSqlQuery &query);
    void fillCashiers(QSqlQuery &query);
    void fillSettings() const;
    bool fillCheckInList();
    bool storePayment(const QJsonObject &record);
    QJsonObject racer(const QString &lastName, const QString &firstName, const QString &midName, int item,
                      int runCount) const;

    const TrackHome &m_home;
    TrackDatabase *m_database;
    QVector<Item> m_items;
};

#endif // DEMODATA_H
