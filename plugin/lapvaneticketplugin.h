#ifndef LAPVANETICKETPLUGIN_H
#define LAPVANETICKETPLUGIN_H

#include "plugin/ticketpluginform.h"
#include "prices/settingspage.h"
#include "vaneplugininterface.h"

#include <QList>
#include <QTcpServer>

class QTcpSocket;
class QTextCodec;

/// The module's door: takes the host's events to the form, and hands the form and the settings page over to the host.
/// The host must take both widgets out of its own before it destroys the plugin. GUI thread.
class LapvaneTicketPlugin : public VanePluginInterface
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID VanePluginInterface_iid)
    Q_INTERFACES(VanePluginInterface)

public:
    LapvaneTicketPlugin();
    /// Closes the seat port, then lets the form write its journals and finish its payments.
    ~LapvaneTicketPlugin() override;

    quintptr hostOption1() override;
    quintptr hostOption2() override;
    QString tabCaption() override;
    QString moduleName() override;
    QStringList sentEvents() override;
    QStringList receivedEvents() override;

public Q_SLOTS:
    void newLocalConnection();
    void localDataReceived();
    void pluginSlot(QString module, QString event, QJsonObject jsonData) override;

private:
    using Handler = void (LapvaneTicketPlugin::*)(const QJsonObject &);
    struct EventHandler
    {
        const char *event;
        Handler handle;
    };
    static const EventHandler handlers[];

    void send(const char *event, const QJsonObject &json);
    void writeSysLog(const QString &text, const QJsonObject &data);

    void completeLoading(const QJsonObject &json);
    void takeServerStatus(const QJsonObject &json);
    void offerSettings(const QJsonObject &json);
    void takeCars(const QJsonObject &json);
    void takeTrackId(const QJsonObject &json);
    void answerRemoteControl(const QJsonObject &request);
    void reloadArchive(const QJsonObject &json);
    void takeRunStart(const QJsonObject &json);
    void takeRunInfo(const QJsonObject &json);
    void takeRunResults(const QJsonObject &json);
    void takeRunEnd(const QJsonObject &json);
    void takeRunsArchive(const QJsonObject &json);
    void clearPreparation(const QJsonObject &json);
    void takeTimingParams(const QJsonObject &json);
    void takeNextRunInfo(const QJsonObject &json);
    void answerLocalRequest(const QJsonObject &request);
    void takeOnlineServiceStatus(const QJsonObject &json);
    void takeCurrentTab(const QJsonObject &json);
    void searchClient(const QJsonObject &json);
    void takeRaceMode(const QJsonObject &json);
    void startQueue(const QJsonObject &json);
    void takeLocalClient(const QJsonObject &json);
    void takeClientAccount(const QJsonObject &json);
    void takeApiKey(const QJsonObject &json);
    void takePaymentsUpdate(const QJsonObject &json);
    void takeTransponderHits(const QJsonObject &json);

    QTextCodec *localCodec;
    QTcpServer localServer;
    QList<QTcpSocket *> localConnections;
    QString moduleTitle;
    QString moduleId;
    QString tabTitle;
    QStringList sentEventNames;
    QStringList receivedEventNames;
    SettingsPage settingsPage;
    TicketPluginForm form;
};

#endif // LAPVANETICKETPLUGIN_H
