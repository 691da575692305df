#include "documents/documenttemplate.h"

#include <QRegularExpression>

namespace {

// The desk fills the place of absent children with blanks in HTML; the children's names are plain text all the same.
const QLatin1String keyWithBlanks("KIDSLIST");

QString htmlOf(const QString &key, const QJsonValue &value)
{
    QString html = value.toVariant().toString().toHtmlEscaped();
    if (key == keyWithBlanks)
        html.replace(QLatin1String("&amp;nbsp;"), QLatin1String("&nbsp;"));
    return html;
}

} // namespace

bool DocumentTemplate::isName(const QString &name)
{
    static const QRegularExpression form(QStringLiteral("\\A[A-Za-z0-9_-]+\\z"));
    return form.match(name).hasMatch();
}

QString DocumentTemplate::filled(const QString &html, const QJsonObject &params)
{
    static const QRegularExpression placeholder(QStringLiteral("\\{\\{([A-Za-z0-9_]+)\\}\\}"));
    // In one go from left to right, so that a value with braces in it is not taken for a placeholder.
    QString result;
    int done = 0;
    QRegularExpressionMatchIterator matches = placeholder.globalMatch(html);
    while (matches.hasNext()) {
        const QRegularExpressionMatch match = matches.next();
        const QString key = match.captured(1);
        result += html.midRef(done, match.capturedStart() - done) + htmlOf(key, params.value(key));
        done = match.capturedEnd();
    }
    return result + html.midRef(done);
}
