#ifndef EVENTLOGWRITER_H
#define EVENTLOGWRITER_H

#include "eventlogmodel.h"

#include <QFile>
#include <QObject>

/// Appends every event to a file, one JSON object a line, as it happens: after a crash the file ends with the last one.
class EventLogWriter : public QObject
{
    Q_OBJECT

public:
    /// `log` outlives the writer.
    EventLogWriter(const QString &fileName, EventLogModel *log, QObject *parent = nullptr);

    bool isOpen() const { return m_file.isOpen(); }
    QString fileName() const { return m_file.fileName(); }
    QString errorText() const { return m_file.errorString(); }

private:
    void write(const EventLogModel::Entry &entry);

    QFile m_file;
};

#endif // EVENTLOGWRITER_H
