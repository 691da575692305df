#include "fulldesk.h"

#include "jsonmatch.h"

#include <QItemSelectionModel>
#include <QJsonDocument>

namespace {

const QString List = QStringLiteral("tickets.state");
const QString Queue = QStringLiteral("runslist.state");

} // namespace

QJsonObject FullDesk::line(const QString &uuid, int runs, const QJsonObject &more)
{
    QJsonArray pins;
    for (int i = 0; i < runs; ++i)
        pins.append(QStringLiteral("0101"));
    QJsonObject line = JsonMatch::object(R"({"salesItem": "Взрослый", "salesId": 1, "carModel": "Sodi", "price": 500,
        "color": "#ff8000", "discountValue": "0", "payMethod": "Карта", "payState": true, "regTime": 0})");
    line.insert(QStringLiteral("uuid"), uuid);
    line.insert(QStringLiteral("lastName"), uuid);
    line.insert(QStringLiteral("runCount"), runs);
    line.insert(QStringLiteral("pinCodes"), pins);
    line.insert(QStringLiteral("paySum"), 500 * runs);
    for (auto it = more.begin(); it != more.end(); ++it)
        line.insert(it.key(), it.value());
    return line;
}

void FullDesk::seedList(const QVector<QJsonObject> &lines)
{
    QByteArray bytes;
    for (const QJsonObject &line : lines)
        bytes += QJsonDocument(line).toJson(QJsonDocument::Compact) + '\n';
    track().writeJournal(List, bytes);
}

void FullDesk::select(const QModelIndexList &cells) const
{
    QItemSelection rows;
    for (const QModelIndex &cell : cells)
        rows.select(cell, cell);
    list()->selectionModel()->select(rows, QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
}

QPoint FullDesk::place(const QModelIndex &cell) const
{
    list()->scrollTo(cell);
    return list()->visualRect(cell).center();
}

QVector<QJsonObject> FullDesk::lines()
{
    desk().send(QStringLiteral("client_account_data"));
    desk().clear();
    QVector<QJsonObject> found;
    const QList<QByteArray> raw = track().readJournal(List).split('\n');
    for (const QByteArray &line : raw) {
        if (!line.isEmpty())
            found.append(JsonMatch::object(line.constData()));
    }
    return found;
}

QStringList FullDesk::waiting()
{
    QStringList found;
    const QVector<QJsonObject> all = lines();
    for (const QJsonObject &line : all)
        found.append(line.value(QLatin1String("uuid")).toString());
    return found;
}

QString FullDesk::seats()
{
    publish();
    desk().clear();
    QStringList rows;
    const QList<QByteArray> raw = track().readJournal(Queue).split('\n');
    for (const QByteArray &line : raw) {
        if (line.startsWith("RUNITEM:"))
            rows.append(QString());
        else if (line.startsWith("COMPETITOR:"))
            rows.last() += (rows.last().isEmpty() ? QString() : QStringLiteral(" "))
                           + JsonMatch::object(line.mid(11).constData()).value(QLatin1String("uuid")).toString();
    }
    return rows.join(QLatin1Char('|'));
}
