#include "play/playrunner.h"

#include "eventlogmodel.h"
#include "gateway/clientgateway.h"
#include "play/jsonpath.h"
#include "play/playmatch.h"

#include <QJsonDocument>

bool PlayRunner::isClientReady(const QString &name, QString *reason)
{
    m_clients.setPort(m_stage.gateway ? m_stage.gateway->port() : 0);
    return m_clients.isReady(name, reason);
}

PlayRunner::Outcome PlayRunner::request(const PlayStep &step)
{
    QString reason;
    if (!isClientReady(step.word(0), &reason))
        return waiting(reason);
    m_clients.request(step.word(0), step.word(1), step.json);
    return done();
}

PlayRunner::Outcome PlayRunner::remote(const PlayStep &step)
{
    QString reason;
    if (!isClientReady(step.word(0), &reason))
        return waiting(reason);
    m_clients.remote(step.word(0), step.word(1), step.json);
    return done();
}

PlayRunner::Outcome PlayRunner::expectAnswer(const PlayStep &step)
{
    QString reason;
    QJsonObject answer;
    if (!m_clients.answer(step.word(0), &answer, &reason))
        return waiting(reason);
    if (PlayMatch::isPartOf(step.json, answer))
        return done();
    return failed(tr("ответ %1").arg(QString::fromUtf8(QJsonDocument(answer).toJson(QJsonDocument::Compact))));
}

PlayRunner::Outcome PlayRunner::letAnswer(const PlayStep &step)
{
    QString reason;
    QJsonObject answer;
    if (!m_clients.answer(step.word(1), &answer, &reason))
        return waiting(reason);
    const QJsonValue value = JsonPath::value(answer, step.word(2));
    if (value.isUndefined())
        return failed(
            tr("в ответе %1 этого нет").arg(QString::fromUtf8(QJsonDocument(answer).toJson(QJsonDocument::Compact))));
    m_variables.set(step.word(0), value);
    return done();
}

PlayRunner::Outcome PlayRunner::letEvent(const PlayStep &step)
{
    const QVector<EventLogModel::Entry> &entries = m_stage.log->entries();
    for (auto entry = entries.crbegin(); entry != entries.crend() && entry->number > m_mark; ++entry) {
        if (entry->direction != EventLogModel::FromDesk || entry->event != step.word(1))
            continue;
        const QJsonValue value = JsonPath::value(entry->payload, step.word(2));
        if (value.isUndefined())
            continue;
        m_variables.set(step.word(0), value);
        return done();
    }
    return waiting(tr("события с таким значением не было"));
}
