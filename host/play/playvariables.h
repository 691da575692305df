#ifndef PLAYVARIABLES_H
#define PLAYVARIABLES_H

#include "play/playscript.h"

#include <QCoreApplication>
#include <QHash>
#include <QJsonValue>
#include <QString>

/// What a script has kept of earlier answers and events, for the steps that come later: `${NAME}` stands for it.
class PlayVariables
{
    Q_DECLARE_TR_FUNCTIONS(PlayVariables)

public:
    void set(const QString &name, const QJsonValue &value);

    /// Puts the values into the step's words, options and texts of its JSON. A text of the JSON that is nothing but
    /// one name becomes the value itself, a number or an object if it is one. False with a sentence in `error` when a
    /// name has no value yet.
    bool expand(PlayStep *step, QString *error) const;

private:
    bool expandText(QString *text, QString *error) const;
    bool expandValue(QJsonValue *value, QString *error) const;

    QHash<QString, QJsonValue> m_values;
};

#endif // PLAYVARIABLES_H
