#include "trackservices.h"

#include "deskpluginloader.h"
#include "trackdatabase.h"

#include <QJsonArray>
#include <QTimer>

namespace {

// The way to the online service and back.
constexpr int serviceDelayMs = 300;

} // namespace

TrackServices::TrackServices(DeskPluginLoader *desk, TrackDatabase *database, QObject *parent)
    : QObject(parent)
    , m_desk(desk)
    , m_database(database)
{
    connect(m_desk, &DeskPluginLoader::received, this, &TrackServices::onReceived);
}

void TrackServices::onReceived(const QString &module, const QString &event, const QJsonObject &payload)
{
    Q_UNUSED(module)
    static const struct
    {
        const char *event;
        Handler handler;
    } handlers[] = {
        {"read_cars_list", &TrackServices::onReadCarsList},
        {"update_remote_payments", &TrackServices::onUpdateRemotePayments},
    };
    for (const auto &entry : handlers) {
        if (event == QLatin1String(entry.event)) {
            (this->*entry.handler)(payload);
            return;
        }
    }
}

void TrackServices::onReadCarsList(const QJsonObject &payload)
{
    Q_UNUSED(payload)
    QTimer::singleShot(0, this, &TrackServices::sendCars);
}

void TrackServices::onUpdateRemotePayments(const QJsonObject &payload)
{
    if (!m_state.takesPayments)
        return;
    QJsonArray taken;
    const QJsonArray items = payload.value(QStringLiteral("itemsList")).toArray();
    for (const QJsonValue &item : items)
        taken.append(item.toObject().value(QStringLiteral("dbId")));
    QTimer::singleShot(serviceDelayMs, this, [this, taken] {
        m_desk->send(QStringLiteral("payments_update_data"), {{QStringLiteral("updatedList"), taken}});
    });
}

void TrackServices::openForBusiness()
{
    m_state.serverConnected = true;
    m_state.serviceEnabled = true;
    m_state.apiKey = QStringLiteral("bench-key");
    Q_EMIT serviceChanged();
}

void TrackServices::announce()
{
    sendTimingParams();
    sendTrack();
    m_desk->send(QStringLiteral("api_key_updated"), {{QStringLiteral("apiKey"), m_state.apiKey}});
    sendServiceStatus();
    sendServerStatus();
}

void TrackServices::setTrack(const QString &id, const QString &name)
{
    m_state.trackId = id;
    m_state.trackName = name;
    sendTrack();
}

void TrackServices::setDayBegin(QTime time)
{
    m_state.dayBegin = time;
    sendTimingParams();
}

void TrackServices::setRaceMode(bool on)
{
    m_state.raceMode = on;
    m_desk->send(QStringLiteral("race_mode"), {{QStringLiteral("isRaceMode"), on}});
}

void TrackServices::setServerConnected(bool connected)
{
    m_state.serverConnected = connected;
    sendServerStatus();
}

void TrackServices::setService(bool enabled, const QString &apiKey)
{
    m_state.serviceEnabled = enabled;
    m_state.apiKey = apiKey;
    Q_EMIT serviceChanged();
    m_desk->send(QStringLiteral("api_key_updated"), {{QStringLiteral("apiKey"), apiKey}});
    sendServiceStatus();
}

void TrackServices::setTakesPayments(bool takes)
{
    m_state.takesPayments = takes;
}

void TrackServices::setCarAvailable(int carId, bool available)
{
    m_database->setCarAvailable(carId, available);
    sendCars();
}

void TrackServices::sendCars()
{
    m_desk->send(QStringLiteral("cars_list_changed"), {{QStringLiteral("cars"), m_database->cars()}});
}

void TrackServices::sendPitLaneHit(int carId, PitLaneHits::Line line)
{
    m_desk->send(QStringLiteral("transponder_hit"), PitLaneHits::payload(m_database->cars(), {carId}, line));
}

void TrackServices::sendCurrentTab(const QString &name)
{
    m_desk->send(QStringLiteral("current_tab_changed"), {{QStringLiteral("currentTab"), name}});
}

void TrackServices::sendTimingParams()
{
    m_desk->send(QStringLiteral("timing_params"),
                 {{QStringLiteral("dayBeginTime"), m_state.dayBegin.msecsSinceStartOfDay()}});
}

void TrackServices::sendTrack()
{
    m_desk->send(QStringLiteral("track_id_updated"),
                 {{QStringLiteral("trackId"), m_state.trackId}, {QStringLiteral("trackName"), m_state.trackName}});
}

void TrackServices::sendServerStatus()
{
    const QString status = m_state.serverConnected ? QStringLiteral("ok") : QStringLiteral("lost");
    m_desk->send(QStringLiteral("server_status"),
                 {{QStringLiteral("msg"), QJsonObject{{QStringLiteral("status"), status}}}});
}

void TrackServices::sendServiceStatus()
{
    m_desk->send(QStringLiteral("online_service_status"),
                 {{QStringLiteral("enabled"), m_state.serviceEnabled}, {QStringLiteral("apiKey"), m_state.apiKey}});
}
