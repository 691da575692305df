#include "vaneplugininterface.h"

#include <QApplication>
#include <QDialog>
#include <QJsonArray>
#include <QTimer>

/// A module that a test can work as it likes: each request is named after what it does. Everything that reaches it is
/// told by the request "seen".
class FakeDesk : public VanePluginInterface
{
    Q_OBJECT
    Q_INTERFACES(VanePluginInterface)
    Q_PLUGIN_METADATA(IID VanePluginInterface_iid)

public:
    quintptr hostOption1() override { return 0; }
    quintptr hostOption2() override { return 0; }
    QString tabCaption() override { return QStringLiteral("Касса"); }
    QString moduleName() override { return QStringLiteral("fake_desk"); }
    QStringList sentEvents() override { return {}; }
    QStringList receivedEvents() override { return {}; }
    void pluginSlot(QString module, QString event, QJsonObject jsonData) override;

private:
    void localRequest(const QJsonObject &request);
    void remoteRequest(const QJsonObject &request);
    void say(const QString &event, const QJsonObject &payload);
    void publish(const QJsonObject &payload) { say(QStringLiteral("local_request_answer"), payload); }

    QJsonArray m_seen;
};

void FakeDesk::say(const QString &event, const QJsonObject &payload)
{
    Q_EMIT pluginSignal(QString::fromLatin1("fake_desk"), event, payload);
}

void FakeDesk::pluginSlot(QString module, QString event, QJsonObject jsonData)
{
    m_seen.append(QJsonObject{{QStringLiteral("module"), module},
                              {QStringLiteral("event"), event},
                              {QStringLiteral("data"), jsonData}});
    if (event == QLatin1String("local_request"))
        localRequest(jsonData);
    else if (event == QLatin1String("remote_control_data"))
        remoteRequest(jsonData);
}

void FakeDesk::localRequest(const QJsonObject &request)
{
    const QString name = request.value(QStringLiteral("request")).toString();
    const QJsonObject details = request.value(QStringLiteral("requestData")).toObject();
    QJsonObject answer;
    if (request.contains(QStringLiteral("linkGuid")))
        answer.insert(QStringLiteral("linkGuid"), request.value(QStringLiteral("linkGuid")));

    if (name == QLatin1String("silent"))
        return;
    if (name == QLatin1String("echo")) {
        answer.insert(QStringLiteral("got"), details);
    } else if (name == QLatin1String("seen")) {
        answer.insert(QStringLiteral("seen"), m_seen);
    } else if (name == QLatin1String("publish")) {
        publish(details);
    } else if (name == QLatin1String("dialog")) {
        QDialog dialog;
        dialog.setObjectName(QStringLiteral("fakeDialog"));
        dialog.setWindowTitle(QStringLiteral("Вопрос"));
        dialog.exec();
    } else if (name == QLatin1String("late")) {
        // As the online service gives it back: a field of a form, a text.
        const QString link = answer.value(QStringLiteral("linkGuid")).toString();
        QTimer::singleShot(50, this, [this, link] {
            publish({{QStringLiteral("linkGuid"), link}, {QStringLiteral("code"), QStringLiteral("racer_db_data")}});
        });
        return;
    } else if (name == QLatin1String("flood")) {
        const QString filling(details.value(QStringLiteral("chars")).toInt(), QLatin1Char('x'));
        for (int i = 0; i < details.value(QStringLiteral("count")).toInt(); ++i)
            publish({{QStringLiteral("filling"), filling}});
    }
    if (!answer.isEmpty())
        publish(answer);
}

void FakeDesk::remoteRequest(const QJsonObject &request)
{
    const QString name = request.value(QStringLiteral("request")).toString();
    QJsonObject wrapper;
    if (request.contains(QStringLiteral("sinkId")))
        wrapper.insert(QStringLiteral("sinkId"), request.value(QStringLiteral("sinkId")));
    if (name == QLatin1String("newRunControlConnected")) {
        wrapper.insert(QStringLiteral("req_answ"),
                       QJsonObject{{QStringLiteral("request"), QStringLiteral("runQueueUpdate")}});
        say(QStringLiteral("remote_control_answer"), wrapper);
    }
    if (request.value(QStringLiteral("skipAnswer")).toBool())
        return;
    wrapper.insert(QStringLiteral("req_answ"),
                   QJsonObject{{QStringLiteral("status"), QStringLiteral("ok")},
                               {QStringLiteral("trackId"), request.value(QStringLiteral("trackId")).toString()},
                               {QStringLiteral("srcRequest"), name}});
    say(QStringLiteral("remote_control_answer"), wrapper);
}

#include "fakedesk.moc"
