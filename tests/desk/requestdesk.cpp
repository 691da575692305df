#include "requestdesk.h"

#include "jsonmatch.h"
#include "modal.h"

#include <QDialog>
#include <QDialogButtonBox>
#include <QJsonDocument>
#include <QLineEdit>
#include <QPushButton>
#include <QtTest>

#include <optional>

namespace {

QString textOf(const QJsonObject &json, const char *key)
{
    return json.value(QLatin1String(key)).toString();
}

QJsonObject objectOf(const QJsonObject &json, const char *key)
{
    return json.value(QLatin1String(key)).toObject();
}

QString number(const QJsonObject &json, const char *key)
{
    const QJsonValue value = json.value(QLatin1String(key));
    return value.isDouble() ? QString::number(value.toDouble(), 'g', 10) : QStringLiteral("?");
}

QString shortLine(const QJsonObject &line)
{
    const auto orDash = [](const QString &text) { return text.isEmpty() ? QStringLiteral("-") : text; };
    QStringList words{textOf(line, "uuid"),
                      number(line, "runCount"),
                      number(line, "paySum"),
                      orDash(textOf(line, "discountValue")),
                      orDash(textOf(line, "payMethod")),
                      orDash(textOf(line, "salesItem")),
                      line.value(QLatin1String("payState")).toBool() ? QStringLiteral("+") : QStringLiteral("-")};
    QStringList minors;
    const QJsonArray kids = line.value(QLatin1String("subItems")).toArray();
    for (const QJsonValue &kid : kids)
        minors.append(shortLine(kid.toObject()));
    if (!minors.isEmpty())
        words.append(QLatin1Char('(') + minors.join(QLatin1Char(' ')) + QLatin1Char(')'));
    return words.join(QLatin1Char(' '));
}

QString shortRun(const QJsonObject &run)
{
    QStringList seats;
    const QJsonObject racers = objectOf(run, "runCompetitors");
    for (const QJsonValue &racer : racers)
        seats.append(textOf(racer.toObject(), "uuid") + QLatin1Char(':') + number(racer.toObject(), "carId"));
    return textOf(run, "runQueueGuid")
           + (run.value(QLatin1String("runLocked")).toBool() ? QStringLiteral("#") : QString()) + QLatin1Char('[')
           + seats.join(QLatin1Char(' ')) + QLatin1Char(']');
}

QString shortQueue(const QJsonObject &update)
{
    const QJsonObject queue = objectOf(update, "runQueue");
    QStringList runs;
    if (queue.contains(QLatin1String("currentRun")))
        runs.append(shortRun(objectOf(queue, "currentRun")));
    const QJsonArray pending = queue.value(QLatin1String("pendingRuns")).toArray();
    for (const QJsonValue &run : pending)
        runs.append(shortRun(run.toObject()));
    QStringList past;
    const QJsonArray history = objectOf(update, "runHistory").value(QLatin1String("runHistoryList")).toArray();
    for (const QJsonValue &run : history)
        past.append(textOf(run.toObject(), "runQueueGuid"));
    QString text = runs.join(QLatin1Char(' '));
    if (!past.isEmpty())
        text += QStringLiteral(" | ") + past.join(QLatin1Char(' '));
    if (update.contains(QLatin1String("forceReload")))
        text += QStringLiteral(" reload");
    return text;
}

/// Nothing if the object is no publication of the queue, with its very keys.
std::optional<QString> queueUpdate(const QJsonObject &update)
{
    QStringList keys = update.keys();
    const bool reload = update.value(QLatin1String("forceReload")).toBool();
    if (reload)
        keys.removeOne(QStringLiteral("forceReload"));
    const QStringList expected{QStringLiteral("request"), QStringLiteral("runHistory"), QStringLiteral("runQueue")};
    if (keys != expected || textOf(update, "request") != QLatin1String("runQueueUpdate"))
        return std::nullopt;
    return shortQueue(update);
}

/// Nothing if the object is no preset, with its very keys.
std::optional<QString> shortPreset(const QJsonObject &preset)
{
    const QStringList keys{QStringLiteral("preset"), QStringLiteral("runQueueGuid")};
    if (preset.keys() != keys)
        return std::nullopt;
    QStringList words{textOf(preset, "runQueueGuid")};
    const QJsonArray rows = preset.value(QLatin1String("preset")).toArray();
    for (const QJsonValue &value : rows) {
        QJsonObject row = value.toObject();
        words.append(textOf(row, "name") + QLatin1Char(':') + number(row, "competitorId") + QLatin1Char(':')
                     + number(row, "carId") + QLatin1Char(':') + number(row, "clientId"));
        const bool hasCar = row.value(QLatin1String("carId")).toInt(-1) != -1;
        const QStringList all =
            hasCar ? QStringList{QStringLiteral("carId"), QStringLiteral("clientId"), QStringLiteral("competitorId"),
                                 QStringLiteral("name"), QStringLiteral("sourceSet")}
                   : QStringList{QStringLiteral("carId"), QStringLiteral("clientId"), QStringLiteral("competitorId"),
                                 QStringLiteral("name")};
        if (row.keys() != all)
            return std::nullopt;
    }
    return words.join(QLatin1Char(' '));
}

QString localAnswer(const QJsonObject &json)
{
    if (json.keys() == QStringList{QStringLiteral("checkInList")}) {
        QStringList lines;
        const QJsonArray list = json.value(QLatin1String("checkInList")).toArray();
        for (const QJsonValue &line : list)
            lines.append(shortLine(line.toObject()));
        return QStringLiteral("list: ") + lines.join(QStringLiteral(" / "));
    }
    if (const auto update = queueUpdate(json))
        return QStringLiteral("queue: ") + *update;
    return QStringLiteral("answer: ") + compact(json);
}

} // namespace

QString compact(const QJsonObject &json)
{
    return QString::fromUtf8(QJsonDocument(json).toJson(QJsonDocument::Compact));
}

void RequestDesk::seedQueue(const QVector<TrackOffice::Run> &runs)
{
    QByteArray bytes;
    for (const TrackOffice::Run &run : runs) {
        QJsonObject item{{QStringLiteral("uuid"), run.guid}};
        for (auto it = run.more.begin(); it != run.more.end(); ++it)
            item.insert(it.key(), it.value());
        bytes += "RUNITEM:" + compact(item).toUtf8() + '\n';
        for (const QJsonObject &seat : run.seats)
            bytes += "COMPETITOR:" + compact(seat).toUtf8() + '\n';
    }
    track().writeJournal(QStringLiteral("runslist.state"), bytes);
}

void RequestDesk::seedHistory(const QJsonArray &runs)
{
    track().writeJournal(QStringLiteral("runshistory.state"), QJsonDocument(runs).toJson());
}

void RequestDesk::seedCashier(const QString &token, int id, const QString &name)
{
    QJsonArray cashiers = QJsonDocument::fromJson(track().readJournal(QStringLiteral("operators.state"))).array();
    cashiers.append(
        QJsonObject{{QStringLiteral("token"), token}, {QStringLiteral("id"), id}, {QStringLiteral("name"), name}});
    track().writeJournal(QStringLiteral("operators.state"), QJsonDocument(cashiers).toJson());
}

void RequestDesk::sendCars()
{
    host().send(QStringLiteral("cars_list_changed"),
                {{QStringLiteral("cars"),
                  QJsonArray{TrackOffice::car(1, QStringLiteral("Sodi"), QStringLiteral("12")),
                             TrackOffice::car(2, QStringLiteral("Sodi"), QStringLiteral("7")),
                             TrackOffice::car(3, QStringLiteral("Rimo"), QStringLiteral("30"))}}});
    host().clear();
}

QJsonObject RequestDesk::envelope(const QString &name, const QJsonObject &arguments)
{
    return {{QStringLiteral("request"), name},
            {QStringLiteral("requestData"), arguments},
            {QStringLiteral("linkGuid"), QStringLiteral("{link}")}};
}

QStringList RequestDesk::ask(const QString &name, const QJsonObject &arguments)
{
    return askWith(envelope(name, arguments));
}

QStringList RequestDesk::ask(const char *name, const char *arguments)
{
    return ask(QString::fromLatin1(name), JsonMatch::object(arguments));
}

QStringList RequestDesk::askWith(const QJsonObject &request)
{
    host().clear();
    host().send(QStringLiteral("local_request"), request);
    QVector<HostEvent> events = host().take();
    const QJsonObject entry{{QStringLiteral("logStr"), QStringLiteral("local_request")},
                            {QStringLiteral("logData"), request}};
    if (events.isEmpty() || events.first().event != QLatin1String("write_sys_log") || events.first().data != entry)
        return {QStringLiteral("the request is not logged first")};
    events.removeFirst();
    QStringList sentences;
    for (const HostEvent &event : qAsConst(events))
        sentences.append(sentence(event));
    return sentences;
}

QJsonObject RequestDesk::answer(const QString &name, const QJsonObject &arguments)
{
    host().clear();
    host().send(QStringLiteral("local_request"), envelope(name, arguments));
    const QVector<HostEvent> events = host().take();
    if (events.isEmpty() || !events.last().data.contains(QLatin1String("linkGuid")))
        return {};
    return events.last().data;
}

QStringList RequestDesk::heard()
{
    QStringList sentences;
    const QVector<HostEvent> events = host().take();
    for (const HostEvent &event : events)
        sentences.append(sentence(event));
    return sentences;
}

QString RequestDesk::sentence(const HostEvent &event)
{
    const QString whole = event.event + QStringLiteral(": ") + compact(event.data);
    if (event.module != QLatin1String("ticket_plugin"))
        return event.module + QLatin1Char('/') + whole;
    if (event.event == QLatin1String("local_request_answer"))
        return localAnswer(event.data);
    if (event.event == QLatin1String("replace_run_preset")) {
        const auto preset = shortPreset(event.data);
        return preset ? QStringLiteral("preset: ") + *preset : whole;
    }
    if (event.event == QLatin1String("remote_control_answer")
        && event.data.keys() == QStringList{QStringLiteral("req_answ")}) {
        const auto update = queueUpdate(objectOf(event.data, "req_answ"));
        return update ? QStringLiteral("remote: ") + *update : whole;
    }
    return whole;
}

QStringList RequestDesk::published(const QString &queue)
{
    return {QStringLiteral("remote: ") + queue, QStringLiteral("queue: ") + queue};
}

QString RequestDesk::queue()
{
    host().clear();
    if (!QMetaObject::invokeMethod(host().tab(), "runQueueChanged"))
        qFatal("the form has no slot runQueueChanged");
    return heard().value(1).mid(int(qstrlen("queue: ")));
}

QVector<QJsonObject> RequestDesk::competitors()
{
    QVector<QJsonObject> found;
    const QList<QByteArray> lines = track().readJournal(QStringLiteral("runslist.state")).split('\n');
    for (const QByteArray &line : lines) {
        if (line.startsWith("COMPETITOR:"))
            found.append(JsonMatch::object(line.mid(11).constData()));
    }
    return found;
}

QString RequestDesk::sellByHand()
{
    const int before = m_counter.model()->rowCount();
    const int paidBefore = track().value(QStringLiteral("SELECT COUNT(*) FROM payments")).toInt();
    const ModalAnswer form = ModalAnswer::dialog(text("Запись на заезд"), [](QDialog *dialog) {
        dialog->findChild<QLineEdit *>(QStringLiteral("leLastName"))->setText(text("Продажин"));
        dialog->findChild<QDialogButtonBox *>(QStringLiteral("buttonBox"))->button(QDialogButtonBox::Ok)->click();
    });
    m_counter.push("bAddRacer");
    if (!form.answered())
        return QStringLiteral("no racer by hand: ") + form.error();
    if (m_counter.model()->rowCount() != before + 1)
        return QStringLiteral("the racer is not on the list");
    if (!m_counter.pick(m_counter.at(0, Counter::SalesItem), text("Взрослый")))
        return QStringLiteral("no sale by hand");
    if (!m_counter.pick(m_counter.at(0, Counter::PayMethod), text("Карта")))
        return QStringLiteral("no pay method by hand");
    m_counter.click(m_counter.at(0, Counter::PayState));
    const bool paid = QTest::qWaitFor([&] {
        return track()
                   .value(QStringLiteral("SELECT COUNT(*) FROM payments WHERE last_name=?"), {text("Продажин")})
                   .toInt()
               > 0;
    });
    if (!paid)
        return QStringLiteral("the payment is not in the database; %1 before").arg(paidBefore);
    m_counter.tree()->clearSelection();
    m_counter.tree()->setCurrentIndex(m_counter.at(0, Counter::Name));
    host().clear();
    m_counter.trigger("actionMoveToRuns");
    const QStringList told = host().names();
    if (!told.contains(QStringLiteral("replace_run_preset")))
        return QStringLiteral("the racer got no seat");
    if (m_counter.model()->rowCount() != before)
        return QStringLiteral("the racer stays on the list");
    host().clear();
    return {};
}
