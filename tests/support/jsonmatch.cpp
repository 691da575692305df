#include "jsonmatch.h"

#include <QJsonDocument>

namespace {

enum class Keys { Exact, AtLeast };

void compare(const QString &path, const QJsonValue &actual, const QJsonValue &expected, Keys keys, QString &out)
{
    const auto note = [&out](const QString &where, const QString &what) {
        out += QStringLiteral("  %1: %2\n").arg(where.isEmpty() ? QStringLiteral("(top)") : where, what);
    };
    if (actual.isObject() && expected.isObject()) {
        const QJsonObject a = actual.toObject();
        const QJsonObject e = expected.toObject();
        for (auto it = e.begin(); it != e.end(); ++it) {
            const QString where = path + QLatin1Char('.') + it.key();
            if (a.contains(it.key()))
                compare(where, a.value(it.key()), it.value(), keys, out);
            else
                note(where, QStringLiteral("missing, expected %1").arg(JsonMatch::text(it.value())));
        }
        if (keys == Keys::AtLeast)
            return;
        for (auto it = a.begin(); it != a.end(); ++it) {
            if (!e.contains(it.key()))
                note(path + QLatin1Char('.') + it.key(),
                     QStringLiteral("unexpected %1").arg(JsonMatch::text(it.value())));
        }
        return;
    }
    if (actual.isArray() && expected.isArray()) {
        const QJsonArray a = actual.toArray();
        const QJsonArray e = expected.toArray();
        if (a.size() != e.size())
            note(path, QStringLiteral("%1 elements instead of %2").arg(a.size()).arg(e.size()));
        for (int i = 0; i < qMin(a.size(), e.size()); ++i)
            compare(QStringLiteral("%1[%2]").arg(path).arg(i), a.at(i), e.at(i), keys, out);
        return;
    }
    if (actual != expected)
        note(path, QStringLiteral("%1 instead of %2").arg(JsonMatch::text(actual), JsonMatch::text(expected)));
}

} // namespace

namespace JsonMatch {

QString differences(const QJsonValue &actual, const QJsonValue &expected)
{
    QString out;
    compare(QString(), actual, expected, Keys::Exact, out);
    return out;
}

QString missing(const QJsonValue &actual, const QJsonValue &expected)
{
    QString out;
    compare(QString(), actual, expected, Keys::AtLeast, out);
    return out;
}

QJsonObject object(const char *utf8)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(QByteArray(utf8), &error);
    if (!document.isObject())
        qFatal("no JSON object in a test: %s: %s", qPrintable(error.errorString()), utf8);
    return document.object();
}

QJsonArray array(const char *utf8)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(QByteArray(utf8), &error);
    if (!document.isArray())
        qFatal("no JSON array in a test: %s: %s", qPrintable(error.errorString()), utf8);
    return document.array();
}

QString text(const QJsonValue &value)
{
    if (value.isUndefined())
        return QStringLiteral("(undefined)");
    const QByteArray wrapped = QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact);
    return QString::fromUtf8(wrapped.mid(1, wrapped.size() - 2));
}

} // namespace JsonMatch
