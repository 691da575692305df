#include "service/clientlookup.h"

#include "service/democlients.h"
#include "service/democode.h"

#include <QJsonArray>
#include <QJsonDocument>

namespace {

QString formDecoded(QByteArray bytes)
{
    bytes.replace('+', ' ');
    return QString::fromUtf8(QByteArray::fromPercentEncoding(bytes));
}

// A text of the code has been encoded twice: the form took the first layer off, this is the second. A code that was
// encoded once arrives with blanks where its pluses were, and is not understood.
QString codeText(const QJsonObject &code, QLatin1String key)
{
    return formDecoded(code.value(key).toString().toUtf8());
}

bool isTrue(const QString &text)
{
    return text == QLatin1String("true");
}

} // namespace

ClientLookup::ClientLookup(const DemoClients *clients)
    : m_clients(clients)
{
}

ClientLookup::Form ClientLookup::parse(const QByteArray &body)
{
    Form form;
    const QList<QByteArray> items = body.split('&');
    for (const QByteArray &item : items) {
        if (item.isEmpty())
            continue;
        const int equals = item.indexOf('=');
        const QByteArray name = equals < 0 ? item : item.left(equals);
        form.insert(formDecoded(name), equals < 0 ? QString() : formDecoded(item.mid(equals + 1)));
    }
    return form;
}

bool ClientLookup::isAllowed(const Form &form) const
{
    // A code is a secret of its own: the desk's search sends it without a key.
    if (!form.contains(QStringLiteral("apiKey")))
        return form.contains(QStringLiteral("qrcode"));
    return !m_apiKey.isEmpty() && form.value(QStringLiteral("apiKey")) == m_apiKey;
}

QJsonObject ClientLookup::reply(const Form &form) const
{
    const QString code = form.value(QStringLiteral("code"), QStringLiteral("racer_db_data"));
    QJsonObject reply{
        {QStringLiteral("code"), code},
        {QStringLiteral("status"), QStringLiteral("fail")},
        {QStringLiteral("results"), QJsonArray()},
    };
    if (form.contains(QStringLiteral("linkGuid")))
        reply.insert(QStringLiteral("linkGuid"), form.value(QStringLiteral("linkGuid")));
    const bool isKnown = code == QLatin1String("racer_db_data") || code == QLatin1String("add_to_checkin");
    if (!isKnown || !isAllowed(form))
        return reply;

    bool full = isTrue(form.value(QStringLiteral("fullData")));
    QVector<const DemoClients::Client *> found;
    if (form.contains(QStringLiteral("qrcode"))) {
        const QJsonObject card = QJsonDocument::fromJson(form.value(QStringLiteral("qrcode")).toUtf8()).object();
        full = full || card.value(QStringLiteral("fullData")).toBool();
        found.append(m_clients->client(
            DemoCode::clientId(codeText(card, QLatin1String("data")), codeText(card, QLatin1String("iv")))));
    } else if (form.contains(QStringLiteral("clientId"))) {
        found.append(m_clients->client(form.value(QStringLiteral("clientId")).toInt()));
    } else if (form.contains(QStringLiteral("searchString"))) {
        found = m_clients->find(form.value(QStringLiteral("searchString")));
    } else {
        return reply;
    }
    found.removeAll(nullptr);

    QJsonArray results;
    for (const DemoClients::Client *client : qAsConst(found))
        results.append(m_clients->record(*client, full));
    reply.insert(QStringLiteral("results"), results);
    reply.insert(QStringLiteral("status"), QStringLiteral("ok"));
    return reply;
}
