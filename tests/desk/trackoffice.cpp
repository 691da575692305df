#include "trackoffice.h"

#include "jsonmatch.h"
#include "modal.h"

#include <QAction>
#include <QApplication>
#include <QDrag>
#include <QJsonDocument>
#include <QMenu>
#include <QTimer>
#include <QtTest>
#include <QWindow>

namespace {

const QString Queue = QStringLiteral("runslist.state");
const QString History = QStringLiteral("runshistory.state");

QByteArray compact(const QJsonObject &json)
{
    return QJsonDocument(json).toJson(QJsonDocument::Compact);
}

QJsonObject merged(QJsonObject json, const QJsonObject &more)
{
    for (auto it = more.begin(); it != more.end(); ++it) {
        if (it.value().isUndefined())
            json.remove(it.key());
        else
            json.insert(it.key(), it.value());
    }
    return json;
}

QPushButton *buttonAt(const QWidget *run, const QRect &where)
{
    const QList<QPushButton *> buttons = run->findChildren<QPushButton *>(QString(), Qt::FindDirectChildrenOnly);
    for (QPushButton *button : buttons) {
        if (button->geometry() == where)
            return button;
    }
    qFatal("the run has no button there");
    return nullptr;
}

QStringList identities(const QVector<QJsonObject> &runs)
{
    QStringList guids;
    for (const QJsonObject &run : runs)
        guids.append(run.value(QLatin1String("runQueueGuid")).toString());
    return guids;
}

} // namespace

TrackOffice::TrackOffice()
    : m_desk(QStringLiteral(LAPVANE_PLUGIN_FILE))
{
}

TrackOffice::~TrackOffice() = default;

QJsonObject TrackOffice::seat(const QString &uuid, int competitorId, const QJsonObject &more)
{
    return merged({{QStringLiteral("uuid"), uuid},
                   {QStringLiteral("name"), uuid},
                   {QStringLiteral("clientId"), -1},
                   {QStringLiteral("competitorId"), competitorId},
                   {QStringLiteral("carModel"), QStringLiteral("Sodi")},
                   {QStringLiteral("carId"), -1},
                   {QStringLiteral("carNum"), QString()},
                   {QStringLiteral("color"), QStringLiteral("#ff8000")},
                   {QStringLiteral("payState"), true},
                   {QStringLiteral("pinCodes"), QJsonArray{QStringLiteral("0101")}}},
                  more);
}

QJsonObject TrackOffice::pastRun(const QString &guid, qint64 start)
{
    return {{QStringLiteral("runQueueGuid"), guid},
            {QStringLiteral("runNum"), 1},
            {QStringLiteral("runName"), guid},
            {QStringLiteral("runStartTime"), start},
            {QStringLiteral("runCompetitors"),
             QJsonObject{{QStringLiteral("-1001"), seat(QStringLiteral("{past}"), -1001)}}}};
}

QJsonObject TrackOffice::car(int id, const QString &model, const QString &num, bool available)
{
    return {{QStringLiteral("id"), id},
            {QStringLiteral("name"), model},
            {QStringLiteral("num"), num},
            {QStringLiteral("available_for_runs"), available}};
}

void TrackOffice::seedQueue(const QVector<Run> &runs, bool frozen)
{
    QByteArray bytes;
    for (const Run &run : runs) {
        bytes += "RUNITEM:" + compact(merged({{QStringLiteral("uuid"), run.guid}}, run.more)) + '\n';
        for (const QJsonObject &seat : run.seats)
            bytes += "COMPETITOR:" + compact(seat) + '\n';
    }
    m_track.writeJournal(Queue, bytes);
    if (frozen)
        m_track.setSetting(QStringLiteral("fixedRunStartTimeInQueue"), true);
}

void TrackOffice::seedHistory(const QJsonArray &runs)
{
    m_track.writeJournal(History, QJsonDocument(runs).toJson());
}

bool TrackOffice::open(const QSize &size)
{
    if (!m_desk.start())
        return false;
    m_desk.tab()->resize(size);
    m_desk.tab()->show();
    if (!QTest::qWaitForWindowActive(m_desk.tab()))
        return false;
    m_desk.clear();
    return queue() && history();
}

bool TrackOffice::reopen()
{
    m_desk.unload();
    return open();
}

void TrackOffice::sendCars(const QJsonArray &cars)
{
    m_desk.send(QStringLiteral("cars_list_changed"), {{QStringLiteral("cars"), cars}});
    m_desk.clear();
}

QPushButton *TrackOffice::lockButton(const QWidget *run)
{
    return buttonAt(run, QRect(4, 4, 24, 24));
}

QPushButton *TrackOffice::startButton(const QWidget *run)
{
    return buttonAt(run, QRect(4, 32, 24, 24));
}

bool TrackOffice::hasIcon(const QPushButton *button, const char *name)
{
    const QSize size(24, 24);
    const QImage expected = QIcon(QStringLiteral(":/ticketPlugin/") + QString::fromLatin1(name)).pixmap(size).toImage();
    return !expected.isNull() && button->icon().pixmap(size).toImage() == expected;
}

void TrackOffice::publish()
{
    if (!QMetaObject::invokeMethod(m_desk.tab(), "runQueueChanged"))
        qFatal("the form has no slot runQueueChanged");
}

QVector<QJsonObject> TrackOffice::runs()
{
    publish();
    const QJsonObject queue =
        m_desk.last(QStringLiteral("local_request_answer")).value(QLatin1String("runQueue")).toObject();
    m_desk.clear();
    QVector<QJsonObject> runs;
    if (queue.contains(QLatin1String("currentRun")))
        runs.append(queue.value(QLatin1String("currentRun")).toObject());
    const QJsonArray pending = queue.value(QLatin1String("pendingRuns")).toArray();
    for (const QJsonValue &run : pending)
        runs.append(run.toObject());
    return runs;
}

QVector<QJsonObject> TrackOffice::pastRuns()
{
    publish();
    const QJsonObject history =
        m_desk.last(QStringLiteral("local_request_answer")).value(QLatin1String("runHistory")).toObject();
    m_desk.clear();
    QVector<QJsonObject> runs;
    const QJsonArray past = history.value(QLatin1String("runHistoryList")).toArray();
    for (const QJsonValue &run : past)
        runs.append(run.toObject());
    return runs;
}

QStringList TrackOffice::guids()
{
    return identities(runs());
}

QStringList TrackOffice::pastGuids()
{
    return identities(pastRuns());
}

QJsonObject TrackOffice::racer(int row, const QString &uuid)
{
    const QJsonObject racers = runs().value(row).value(QLatin1String("runCompetitors")).toObject();
    for (const QJsonValue &racer : racers) {
        if (racer.toObject().value(QLatin1String("uuid")).toString() == uuid)
            return racer.toObject();
    }
    return {};
}

QVector<QJsonObject> TrackOffice::journalItems()
{
    publish();
    m_desk.clear();
    QVector<QJsonObject> items;
    const QList<QByteArray> lines = m_track.readJournal(Queue).split('\n');
    for (const QByteArray &line : lines) {
        if (line.startsWith("RUNITEM:"))
            items.append(JsonMatch::object(line.mid(8).constData()));
    }
    return items;
}

QRect TrackOffice::cell(const QWidget *run, int index)
{
    const int columns = qMax(1, (run->width() - 116) / 84);
    return {116 + 84 * (index % columns), 4 + 68 * (index / columns), 80, 64};
}

void TrackOffice::click(QWidget *run, const QPoint &where)
{
    QTest::mousePress(run, Qt::LeftButton, Qt::NoModifier, where);
    QTest::mouseRelease(run, Qt::LeftButton, Qt::NoModifier, where);
}

QImage TrackOffice::picture(QWidget *run)
{
    return run->grab().toImage().convertToFormat(QImage::Format_RGB32);
}

bool TrackOffice::drag(QWidget *from, const QPoint &where, const std::function<void(QDrag *)> &inside) const
{
    QWidget *tab = m_desk.tab();
    const QPoint place = from->mapTo(tab, where);
    bool done = false;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, &timer, [&] {
        auto *drag = tab->findChild<QDrag *>();
        if (done || !drag)
            return;
        done = true;
        inside(drag);
    });
    timer.start(5);
    QTest::mouseMove(tab->windowHandle(), place - QPoint(2, 0));
    QTest::mousePress(tab->windowHandle(), Qt::LeftButton, Qt::NoModifier, place);
    for (int step = 1; step <= 2 * QApplication::startDragDistance() && !done; ++step)
        QTest::mouseMove(tab->windowHandle(), place + QPoint(step, 0));
    if (!done)
        QTest::mouseRelease(tab->windowHandle(), Qt::LeftButton, Qt::NoModifier, place);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    return done;
}

void TrackOffice::hover(QWidget *target, const QPoint &where) const
{
    const QPoint place = target->mapTo(m_desk.tab(), where);
    QTest::mouseMove(m_desk.tab()->windowHandle(), place - QPoint(3, 0));
    QTest::mouseMove(m_desk.tab()->windowHandle(), place);
}

void TrackOffice::letGo(QWidget *target, const QPoint &where) const
{
    hover(target, where);
    QTest::mouseRelease(m_desk.tab()->windowHandle(), Qt::LeftButton, Qt::NoModifier,
                        target->mapTo(m_desk.tab(), where));
}

bool TrackOffice::menu(const std::function<void(QMenu *)> &work)
{
    const ModalAnswer answer = ModalAnswer::widget([&](QWidget *widget) {
        const QPointer<QMenu> menu(qobject_cast<QMenu *>(widget));
        if (!menu)
            return;
        work(menu);
        if (menu)
            menu->close();
    });
    Q_EMIT queue()->customContextMenuRequested(QPoint(20, 20));
    return QTest::qWaitFor([&] { return answer.answered(); }, 500);
}

QStringList TrackOffice::menuEntries()
{
    QStringList entries;
    menu([&](QMenu *menu) {
        const QList<QAction *> actions = menu->actions();
        for (const QAction *action : actions)
            entries.append(action->isSeparator() ? QStringLiteral("-") : action->text());
    });
    return entries;
}

QList<QAction *> TrackOffice::carEntries()
{
    QList<QAction *> entries;
    menu([&](QMenu *menu) {
        const QList<QAction *> actions = menu->actions();
        for (const QAction *action : actions) {
            if (action->menu())
                entries = action->menu()->actions();
        }
    });
    return entries;
}

QAction *TrackOffice::carEntry(const QString &caption)
{
    const QList<QAction *> entries = carEntries();
    for (QAction *action : entries) {
        if (action->text() == caption)
            return action;
    }
    return nullptr;
}

bool TrackOffice::chooseCar(const QString &caption)
{
    QAction *entry = carEntry(caption);
    if (entry)
        entry->trigger();
    return entry;
}

QStringList TrackOffice::heard()
{
    const QStringList names = m_desk.names();
    m_desk.clear();
    return names;
}
