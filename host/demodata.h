#ifndef DEMODATA_H
#define DEMODATA_H

#include <QJsonArray>
#include <QJsonObject>
#include <QSize>
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
    /// With a size, the queue holds so many runs (width) of so many racers (height), and the day is well under way: the
    /// check-in list is longer, the history and the archive hold the first runs.
    bool fill(QSize queue = QSize());

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
    // demodata_queue.cpp
    bool fillQueue(QSize queue);
    bool fillHistory(int firstRacer, int racers);
    bool fillBusyList(int firstRacer);
    QJsonArray seats(int run, int firstRacer, int racers, bool withCars) const;
    static QJsonObject queueRun(int number, int racers);

    /// A line that has bought `runCount` of an item; an item of -1 means nothing so far.
    QJsonObject racer(const QString &lastName, const QString &firstName, const QString &midName, int item,
                      int runCount) const;

    const TrackHome &m_home;
    TrackDatabase *m_database;
    QVector<Item> m_items;
};

#endif // DEMODATA_H
