// How the desk comes back after a restart, and when it writes down what it would need for that.

#include "plugin/ticketpluginform.h"

#include "common/deskpaths.h"
#include "common/jsonread.h"

#include <QFile>
#include <QJsonDocument>

namespace {

QString operatorsJournal()
{
    return DeskPaths::journal(QStringLiteral("operators.state"));
}

} // namespace

void TicketPluginForm::loadJournals()
{
    checkInList.load();
    regHistory.load();
    loadOperators();
    recalcQueue(QString());
    runQueueChanged(QString());
}

void TicketPluginForm::saveJournals(bool full)
{
    checkInList.save();
    if (!full)
        return;
    saveOperators();
}

void TicketPluginForm::loadOperators()
{
    QFile file(operatorsJournal());
    if (!file.open(QIODevice::ReadOnly))
        return;
    operators.clear();
    const QJsonArray entries = JsonRead::array(file.readAll()).value_or(QJsonArray());
    for (const QJsonValue &value : entries) {
        const QJsonObject entry = value.toObject();
        OperatorRecord record;
        record.token = entry.value(QLatin1String("token")).toString();
        record.id = entry.value(QLatin1String("id")).toInt(-1);
        record.name = entry.value(QLatin1String("name")).toString();
        if (!record.token.isEmpty())
            operators.insert(record.token, record);
    }
}

void TicketPluginForm::saveOperators() const
{
    QJsonArray entries;
    for (const OperatorRecord &record : operators) {
        entries.append(QJsonObject{
            {QLatin1String("token"), record.token},
            {QLatin1String("id"), record.id},
            {QLatin1String("name"), record.name},
        });
    }
    const QByteArray bytes = QJsonDocument(entries).toJson();
    QFile file(operatorsJournal());
    if (file.open(QIODevice::WriteOnly))
        file.write(bytes);
}
