#ifndef RUNROWS_H
#define RUNROWS_H

#include <QCoreApplication>
#include <QJsonObject>
#include <QRect>
#include <QString>

class EventLogModel;

/// The runs of the desk as a script names them: by the list, "queue" or "history", and the row. What stands in a row is
/// known from the desk's own publications, where its cells are from how it draws a run.
class RunRows
{
    Q_DECLARE_TR_FUNCTIONS(RunRows)

public:
    /// Object name of the list's widget; empty with a sentence in `error` for another word.
    static QString widgetName(const QString &list, QString *error);
    /// The run of a row, as last published. Empty with a sentence in `error` when there is none.
    static QJsonObject run(const EventLogModel *log, const QString &list, const QString &row, QString *error);
    /// Place of the first racer of the run whose name contains the text, in the order in which they sit; -1 with a
    /// sentence in `error` when there is none.
    static int place(const QJsonObject &run, const QString &name, QString *error);
    /// The cell of a place in a run drawn at this width.
    static QRect cell(int place, int width);
};

#endif // RUNROWS_H
