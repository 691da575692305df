#include "eventlogwriter.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonDocument>

EventLogWriter::EventLogWriter(const QString &fileName, Mode mode, EventLogModel *log, QObject *parent)
    : QObject(parent)
    , m_file(fileName)
{
    QDir().mkpath(QFileInfo(fileName).absolutePath());
    const QIODevice::OpenMode how = mode == Append ? QIODevice::Append : QIODevice::Truncate;
    if (m_file.open(QIODevice::WriteOnly | QIODevice::Unbuffered | how))
        connect(log, &EventLogModel::appended, this, &EventLogWriter::write);
}

void EventLogWriter::write(const EventLogModel::Entry &entry)
{
    const bool toDesk = entry.direction == EventLogModel::ToDesk;
    const QJsonObject line{
        {QStringLiteral("time"), entry.time.toString(Qt::ISODateWithMs)},
        {QStringLiteral("direction"), toDesk ? QStringLiteral("toDesk") : QStringLiteral("fromDesk")},
        {QStringLiteral("module"), entry.module},
        {QStringLiteral("event"), entry.event},
        {QStringLiteral("data"), entry.payload},
    };
    m_file.write(QJsonDocument(line).toJson(QJsonDocument::Compact) + '\n');
}
