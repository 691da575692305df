#ifndef TRACKSERVICES_H
#define TRACKSERVICES_H

#include "pitlanehits.h"

#include <QJsonObject>
#include <QObject>
#include <QString>
#include <QTime>

class DeskPluginLoader;
class TrackDatabase;

/// What the timing application knows of the track and tells the desk, and the answers to the desk's events that need no
/// window. Answers come from the event loop, never from inside the desk's own call.
class TrackServices : public QObject
{
    Q_OBJECT

public:
    TrackServices(DeskPluginLoader *desk, TrackDatabase *database, QObject *parent = nullptr);

    struct State
    {
        QString trackId = QStringLiteral("bench-track");
        QString trackName = QStringLiteral("Картодром");
        QString apiKey;
        QTime dayBegin = QTime(6, 0);
        bool serviceEnabled = false;
        bool serverConnected = false;
        bool raceMode = false;
        /// The service takes the payments that the desk pushes. Off, they pile up as they do when it is down.
        bool takesPayments = true;
    };
    const State &state() const { return m_state; }

    /// Server and service are up and the service has a key. Says nothing to the desk yet.
    void openForBusiness();
    /// Sends the whole state, as an application does that has just found its server and its service.
    void announce();

    void setTrack(const QString &id, const QString &name);
    void setDayBegin(QTime time);
    void setRaceMode(bool on);
    void setServerConnected(bool connected);
    /// The desk hears of the key by both events that carry it.
    void setService(bool enabled, const QString &apiKey);
    void setTakesPayments(bool takes);
    void setCarAvailable(int carId, bool available);
    void sendCars();
    /// A car crosses a line of the pit lane.
    void sendPitLaneHit(int carId, PitLaneHits::Line line);
    void sendCurrentTab(const QString &name);

Q_SIGNALS:
    /// The online service went up or down, or its key changed.
    void serviceChanged();

private:
    using Handler = void (TrackServices::*)(const QJsonObject &);

    void onReceived(const QString &module, const QString &event, const QJsonObject &payload);
    void onReadCarsList(const QJsonObject &payload);
    void onUpdateRemotePayments(const QJsonObject &payload);

    void sendTimingParams();
    void sendTrack();
    void sendServerStatus();
    void sendServiceStatus();

    DeskPluginLoader *m_desk;
    TrackDatabase *m_database;
    State m_state;
};

#endif // TRACKSERVICES_H
