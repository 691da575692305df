#include "play/playclients.h"

#include <QUrl>

namespace {

const QLatin1String linkKey("linkGuid");

} // namespace

PlayClients::PlayClients(QObject *parent)
    : QObject(parent)
{
}

PlayClients::Caller &PlayClients::caller(const QString &name)
{
    const auto [place, isNew] = m_callers.try_emplace(name);
    // A map's elements stay where they are, so the address is good for as long as the client.
    Caller *made = &place->second;
    if (!isNew)
        return *made;

    DeskClient *client = &made->client;
    connect(client, &DeskClient::answered, client, [made](const QJsonObject &answer) {
        if (made->isRemote || answer.value(linkKey) != QJsonValue(made->question))
            return;
        made->answer = answer;
        made->answer.remove(linkKey);
        made->hasAnswer = true;
    });
    connect(client, &DeskClient::remoteAnswered, client, [made](const QJsonObject &wrapper) {
        const QJsonObject answer = wrapper.value(QStringLiteral("req_answ")).toObject();
        const bool isOwn = wrapper.value(QStringLiteral("sinkId")) == QJsonValue(made->client.sinkId());
        if (!made->isRemote || !isOwn || answer.value(QStringLiteral("srcRequest")) != QJsonValue(made->question))
            return;
        made->answer = answer;
        made->hasAnswer = true;
    });
    const auto setTrouble = [made](const QString &reason) { made->trouble = reason; };
    connect(client, &DeskClient::refused, client, setTrouble);
    connect(client, &DeskClient::failed, client, setTrouble);
    client->open(QUrl(QStringLiteral("ws://127.0.0.1:%1").arg(m_port)));
    return *made;
}

bool PlayClients::isReady(const QString &name, QString *reason)
{
    if (m_port == 0) {
        *reason = tr("у стенда нет входа для клиентов");
        return false;
    }
    const Caller &known = caller(name);
    *reason = known.trouble.isEmpty() ? tr("клиент ещё не подключён") : known.trouble;
    return known.client.isReady();
}

void PlayClients::ask(Caller *caller, const QString &question, bool isRemote)
{
    caller->question = question;
    caller->isRemote = isRemote;
    caller->hasAnswer = false;
    caller->trouble.clear();
}

void PlayClients::request(const QString &name, const QString &request, const QJsonObject &requestData)
{
    Caller &asking = caller(name);
    ask(&asking, QStringLiteral("play-%1").arg(++m_lastQuestion), false);
    asking.client.request(request, requestData, asking.question);
}

void PlayClients::remote(const QString &name, const QString &request, const QJsonObject &keys)
{
    Caller &asking = caller(name);
    ask(&asking, request, true);
    asking.client.remote(request, keys);
}

bool PlayClients::answer(const QString &name, QJsonObject *answer, QString *reason) const
{
    const auto found = m_callers.find(name);
    if (found == m_callers.end()) {
        *reason = tr("клиент «%1» ни о чём не спрашивал").arg(name);
        return false;
    }
    const Caller &known = found->second;
    if (!known.hasAnswer) {
        *reason = known.trouble.isEmpty() ? tr("ответа ещё нет") : known.trouble;
        return false;
    }
    *answer = known.answer;
    return true;
}
