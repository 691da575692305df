#ifndef PLAYSCRIPT_H
#define PLAYSCRIPT_H

#include <QCoreApplication>
#include <QHash>
#include <QJsonObject>
#include <QString>
#include <QStringList>
#include <QVector>

/// One step of a played day.
struct PlayStep
{
    int line = 0;
    /// The step as it stands in the script, on one line.
    QString source;
    QString verb;
    QStringList words;
    QHash<QString, QString> options;
    QJsonObject json;
    bool hasJson = false;

    QString word(int index) const { return words.value(index); }
};

/// What a verb may be followed by.
struct PlaySyntax
{
    enum Json { NoJson, MayHaveJson, NeedsJson };

    const char *verb;
    int minWords;
    /// -1 means any number.
    int maxWords;
    Json json = NoJson;
    /// Position of the word that names a comparison, -1 for none.
    int comparison = -1;
};

/// The text of a played day, a step a line. Its format is told in docs/bench-host.md.
class PlayScript
{
    Q_DECLARE_TR_FUNCTIONS(PlayScript)

public:
    /// Reads the steps. False with a sentence in `error`, the line's number first, when a line can't be understood.
    static bool parse(const QString &text, const QVector<PlaySyntax> &verbs, QVector<PlayStep> *steps, QString *error);

private:
    static bool parseStep(const QString &text, PlayStep *step, QString *error);
    static bool checkStep(const PlayStep &step, const QVector<PlaySyntax> &verbs, QString *error);
};

#endif // PLAYSCRIPT_H
