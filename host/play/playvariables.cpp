#include "play/playvariables.h"

#include "play/playmatch.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QRegularExpression>

namespace {

const QRegularExpression &reference()
{
    static const QRegularExpression form(QStringLiteral("\\$\\{([A-Za-z_][A-Za-z0-9_]*)\\}"));
    return form;
}

QString textOf(const QJsonValue &value)
{
    if (value.isObject())
        return QString::fromUtf8(QJsonDocument(value.toObject()).toJson(QJsonDocument::Compact));
    if (value.isArray())
        return QString::fromUtf8(QJsonDocument(value.toArray()).toJson(QJsonDocument::Compact));
    return PlayMatch::text(value.toVariant());
}

} // namespace

void PlayVariables::set(const QString &name, const QJsonValue &value)
{
    m_values.insert(name, value);
}

bool PlayVariables::expand(PlayStep *step, QString *error) const
{
    for (QString &word : step->words) {
        if (!expandText(&word, error))
            return false;
    }
    for (QString &option : step->options) {
        if (!expandText(&option, error))
            return false;
    }
    QJsonValue json = step->json;
    if (!expandValue(&json, error))
        return false;
    step->json = json.toObject();
    return true;
}

bool PlayVariables::expandText(QString *text, QString *error) const
{
    QString expanded;
    int copied = 0;
    QRegularExpressionMatchIterator matches = reference().globalMatch(*text);
    while (matches.hasNext()) {
        const QRegularExpressionMatch match = matches.next();
        const QString name = match.captured(1);
        if (!m_values.contains(name)) {
            *error = tr("нет значения ${%1}").arg(name);
            return false;
        }
        expanded += text->midRef(copied, match.capturedStart() - copied) + textOf(m_values.value(name));
        copied = match.capturedEnd();
    }
    if (copied > 0)
        *text = expanded + text->midRef(copied);
    return true;
}

bool PlayVariables::expandValue(QJsonValue *value, QString *error) const
{
    if (value->isString()) {
        QString text = value->toString();
        const QRegularExpressionMatch match = reference().match(text);
        if (match.hasMatch() && match.capturedLength() == text.size() && m_values.contains(match.captured(1))) {
            *value = m_values.value(match.captured(1));
            return true;
        }
        if (!expandText(&text, error))
            return false;
        *value = text;
    } else if (value->isArray()) {
        QJsonArray expanded;
        const QJsonArray array = value->toArray();
        for (QJsonValue element : array) {
            if (!expandValue(&element, error))
                return false;
            expanded.append(element);
        }
        *value = expanded;
    } else if (value->isObject()) {
        QJsonObject expanded = value->toObject();
        const QStringList keys = expanded.keys();
        for (const QString &key : keys) {
            QJsonValue member = expanded.value(key);
            if (!expandValue(&member, error))
                return false;
            expanded.insert(key, member);
        }
        *value = expanded;
    }
    return true;
}
