#include "play/playscript.h"

#include "play/playmatch.h"

#include <QJsonDocument>
#include <QJsonParseError>

#include <algorithm>

namespace {

const QString optionNames[] = {QStringLiteral("within"), QStringLiteral("button"), QStringLiteral("with"),
                               QStringLiteral("role"),   QStringLiteral("at"),     QStringLiteral("prefix"),
                               QStringLiteral("split"),  QStringLiteral("from")};

// Reads a quoted word whose opening quote stands at `pos`; leaves `pos` behind the closing one.
bool readQuoted(const QString &text, int *pos, QString *word)
{
    for (++*pos; *pos < text.size(); ++*pos) {
        const QChar c = text.at(*pos);
        if (c == QLatin1Char('"')) {
            ++*pos;
            return true;
        }
        if (c == QLatin1Char('\\') && *pos + 1 < text.size()) {
            const QChar escaped = text.at(++*pos);
            word->append(escaped == QLatin1Char('n') ? QLatin1Char('\n') : escaped);
            continue;
        }
        word->append(c);
    }
    return false;
}

QString readBare(const QString &text, int *pos)
{
    const int start = *pos;
    while (*pos < text.size() && !text.at(*pos).isSpace())
        ++*pos;
    return text.mid(start, *pos - start);
}

bool isOption(const QString &word, PlayStep *step)
{
    for (const QString &name : optionNames) {
        if (word.startsWith(name + QLatin1Char('='))) {
            step->options.insert(name, word.mid(name.size() + 1));
            return true;
        }
    }
    return false;
}

} // namespace

bool PlayScript::parse(const QString &text, const QVector<PlaySyntax> &verbs, QVector<PlayStep> *steps, QString *error)
{
    const QStringList lines = text.split(QLatin1Char('\n'));
    for (int i = 0; i < lines.size(); ++i) {
        PlayStep step;
        step.line = i + 1;
        QString source = lines.at(i).trimmed();
        if (source.isEmpty() || source.startsWith(QLatin1Char('#')))
            continue;
        while (source.endsWith(QLatin1Char('\\')) && i + 1 < lines.size())
            source = source.left(source.size() - 1).trimmed() + QLatin1Char(' ') + lines.at(++i).trimmed();

        QString reason;
        if (!parseStep(source, &step, &reason) || !checkStep(step, verbs, &reason)) {
            *error = tr("строка %1: %2").arg(step.line).arg(reason);
            return false;
        }
        steps->append(step);
    }
    return true;
}

bool PlayScript::parseStep(const QString &text, PlayStep *step, QString *error)
{
    step->source = text;
    int pos = 0;
    step->verb = readBare(text, &pos);
    while (pos < text.size()) {
        const QChar c = text.at(pos);
        if (c.isSpace()) {
            ++pos;
        } else if (c == QLatin1Char('{')) {
            QJsonParseError parsing;
            const QJsonDocument document = QJsonDocument::fromJson(text.mid(pos).toUtf8(), &parsing);
            if (!document.isObject()) {
                *error = tr("неверный JSON: %1").arg(parsing.errorString());
                return false;
            }
            step->json = document.object();
            step->hasJson = true;
            return true;
        } else if (c == QLatin1Char('"')) {
            QString word;
            if (!readQuoted(text, &pos, &word)) {
                *error = tr("нет закрывающей кавычки");
                return false;
            }
            step->words.append(word);
        } else {
            const QString word = readBare(text, &pos);
            if (!isOption(word, step))
                step->words.append(word);
        }
    }
    return true;
}

bool PlayScript::checkStep(const PlayStep &step, const QVector<PlaySyntax> &verbs, QString *error)
{
    const auto syntax = std::find_if(verbs.cbegin(), verbs.cend(), [&step](const PlaySyntax &candidate) {
        return step.verb == QLatin1String(candidate.verb);
    });
    if (syntax == verbs.cend()) {
        *error = tr("неизвестный шаг «%1»").arg(step.verb);
        return false;
    }
    const int count = step.words.size();
    if (count < syntax->minWords || (syntax->maxWords >= 0 && count > syntax->maxWords)) {
        *error = tr("«%1»: неверное число слов (%2)").arg(step.verb).arg(count);
        return false;
    }
    if (step.hasJson ? syntax->json == PlaySyntax::NoJson : syntax->json == PlaySyntax::NeedsJson) {
        *error = step.hasJson ? tr("«%1»: JSON здесь не нужен").arg(step.verb)
                              : tr("«%1»: нужен объект JSON").arg(step.verb);
        return false;
    }
    if (syntax->comparison >= 0 && !PlayMatch::isComparison(step.word(syntax->comparison))) {
        *error = tr("«%1»: неизвестное сравнение «%2»").arg(step.verb, step.word(syntax->comparison));
        return false;
    }
    bool ok = true;
    if (step.options.contains(QStringLiteral("within")))
        step.options.value(QStringLiteral("within")).toInt(&ok);
    if (!ok)
        *error = tr("within: нужно число миллисекунд");
    return ok;
}
