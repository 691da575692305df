#ifndef EVENTLOGWRITER_H
#define EVENTLOGWRITER_H

#include "eventlogmodel.h"

#include <QFile>
#include <QObject>

/// Writes every event to a file, one JSON object a line, as it happens: after a crash the file ends with the last one.
class EventLogWriter : public QObject
{
    Q_OBJECT

public:
    /// What becomes of the events that a file holds already.
    enum Mode { Append, Replace };

    /// `log` outlives the writer.
    EventLogWriter(const QString &fileName, Mode mode, EventLogModel *log, QObject *parent = nullptr);

    bool isOpen() const { return m_file.isOpen(); }
    QString fileName() const { return m_file.fileName(); }
    QString errorText() const { return m_file.errorString(); }

private:
    void write(const EventLogModel::Entry &entry);

    QFile m_file;
};

#endif // EVENTLOGWRITER_H
