#include "checkincounter.h"
#include "jsonmatch.h"
#include "modal.h"

#include <QAction>
#include <QComboBox>
#include <QDateTime>
#include <QHeaderView>
#include <QJsonDocument>
#include <QLineEdit>
#include <QPushButton>
#include <QSqlField>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QtTest>
#include <QWindow>

namespace {

const QString Tickets = QStringLiteral("tickets.state");

} // namespace

Counter::Counter()
    : m_desk(QStringLiteral(LAPVANE_PLUGIN_FILE))
{
}

Counter::~Counter() = default;

void Counter::stockPrices()
{
    m_track.addPriceItem({text("Взрослый"), 500, text("Sodi"), text("#ff8000")});
    m_track.addPriceItem({text("Детский"), 300, text("Rimo"), text("#00ffff")});
    m_track.addPriceItem({text("Без карта"), 100, QString(), text("#ffff00")});
    m_track.setDiscounts({text("10"), text("50"), text("=200")});
    m_track.setPayMethods({text("Наличные"), text("Карта")});
}

int Counter::priceId(const QString &salesItem) const
{
    return m_track.value(QStringLiteral("SELECT common_id FROM price_list WHERE sales_item=?"), {salesItem}).toInt();
}

void Counter::sendCars()
{
    m_desk.send(QStringLiteral("cars_list_changed"), JsonMatch::object(R"({"cars": [
        {"id": 1, "name": "Sodi", "num": "1", "available_for_runs": true},
        {"id": 2, "name": "Rimo", "num": "2", "available_for_runs": true}]})"));
    m_desk.clear();
}

QJsonObject Counter::ticket(const QString &uuid, const QJsonObject &more)
{
    QJsonObject line{{QStringLiteral("uuid"), uuid},
                     {QStringLiteral("lastName"), uuid},
                     {QStringLiteral("runCount"), 0},
                     {QStringLiteral("color"), QStringLiteral("#ffffff")},
                     {QStringLiteral("discountValue"), QStringLiteral("0")},
                     {QStringLiteral("regTime"), 0}};
    for (auto it = more.begin(); it != more.end(); ++it)
        line.insert(it.key(), it.value());
    return line;
}

QJsonObject Counter::sold(const QString &uuid, const QJsonObject &more) const
{
    QJsonObject line =
        ticket(uuid, {{QStringLiteral("salesItem"), text("Взрослый")},
                      {QStringLiteral("salesId"), priceId(text("Взрослый"))},
                      {QStringLiteral("carModel"), QStringLiteral("Sodi")},
                      {QStringLiteral("color"), QStringLiteral("#ff8000")},
                      {QStringLiteral("price"), 500},
                      {QStringLiteral("runCount"), 2},
                      {QStringLiteral("pinCodes"), QJsonArray{QStringLiteral("0101"), QStringLiteral("0101")}},
                      {QStringLiteral("payMethod"), text("Карта")}});
    for (auto it = more.begin(); it != more.end(); ++it)
        line.insert(it.key(), it.value());
    return line;
}

void Counter::seed(const QList<QJsonObject> &lines)
{
    QByteArray bytes;
    for (const QJsonObject &line : lines)
        bytes += QJsonDocument(line).toJson(QJsonDocument::Compact) + '\n';
    m_track.writeJournal(Tickets, bytes);
}

bool Counter::open()
{
    if (!m_desk.start())
        return false;
    m_desk.tab()->resize(1900, 900);
    m_desk.tab()->show();
    if (!QTest::qWaitForWindowActive(m_desk.tab()))
        return false;
    m_desk.clear();
    return true;
}

QList<QJsonObject> Counter::lines()
{
    m_desk.send(QStringLiteral("client_account_data"));
    m_desk.clear();
    return stored();
}

QList<QJsonObject> Counter::stored() const
{
    QList<QJsonObject> found;
    const QList<QByteArray> raw = m_track.readJournal(Tickets).split('\n');
    for (const QByteArray &line : raw) {
        if (!line.isEmpty())
            found.append(JsonMatch::object(line.constData()));
    }
    return found;
}

QJsonArray Counter::published() const
{
    return m_desk.last(QStringLiteral("local_request_answer")).value(QLatin1String("checkInList")).toArray();
}

void Counter::validate()
{
    if (!QMetaObject::invokeMethod(m_desk.tab(), "validateRegList"))
        qFatal("the form has no slot validateRegList");
}

QRect Counter::cell(const QModelIndex &index) const
{
    tree()->scrollTo(index);
    return tree()->visualRect(index);
}

QPoint Counter::inWindow(const QModelIndex &index) const
{
    QWidget *viewport = tree()->viewport();
    return viewport->mapTo(viewport->window(), cell(index).center());
}

void Counter::moveTo(const QModelIndex &index) const
{
    // From a little aside: a pointer that stands there already would not be seen to move.
    QTest::mouseMove(m_desk.tab()->windowHandle(), inWindow(index) - QPoint(2, 1));
    QTest::mouseMove(m_desk.tab()->windowHandle(), inWindow(index));
    QCoreApplication::processEvents();
}

void Counter::press(const QModelIndex &index) const
{
    QTest::mousePress(m_desk.tab()->windowHandle(), Qt::LeftButton, Qt::NoModifier, inWindow(index));
}

void Counter::release(const QModelIndex &index) const
{
    QTest::mouseRelease(m_desk.tab()->windowHandle(), Qt::LeftButton, Qt::NoModifier, inWindow(index));
}

void Counter::click(const QModelIndex &index) const
{
    const QPersistentModelIndex where(index);
    moveTo(where);
    press(where);
    tree()->viewport()->repaint();
    release(where);
}

void Counter::doubleClick(const QModelIndex &index) const
{
    moveTo(index);
    QTest::mouseDClick(m_desk.tab()->windowHandle(), Qt::LeftButton, Qt::NoModifier, inWindow(index));
}

// With no window manager at hand nobody gives the keyboard back to the desk when a popup or a dialog goes.
void Counter::takeKeyboard() const
{
    QCoreApplication::processEvents();
    QWidget *window = m_desk.tab()->window();
    if (window->isActiveWindow())
        return;
    window->activateWindow();
    if (!QTest::qWaitForWindowActive(window))
        qWarning("the desk's window does not become active");
}

bool Counter::edit(const QModelIndex &index) const
{
    takeKeyboard();
    tree()->setFocus();
    tree()->setCurrentIndex(index);
    tree()->edit(index);
    return editor() != nullptr;
}

bool Counter::pick(const QModelIndex &index, const QString &entry) const
{
    if (!edit(index))
        return false;
    auto *combo = editor<QComboBox *>();
    if (!combo || combo->findText(entry) < 0)
        return false;
    if (!combo->view()->isVisible())
        return false;
    combo->view()->setCurrentIndex(combo->model()->index(combo->findText(entry), combo->modelColumn()));
    QTest::keyClick(combo->view(), Qt::Key_Return);
    takeKeyboard();
    return editor() == nullptr;
}

bool Counter::type(const QModelIndex &index, const QString &text) const
{
    if (!edit(index))
        return false;
    if (auto *combo = editor<QComboBox *>())
        combo->hidePopup();
    auto *line = editor<QLineEdit *>();
    if (!line)
        line = editor()->findChild<QLineEdit *>();
    if (!line)
        return false;
    line->setFocus();
    line->selectAll();
    if (text.isEmpty())
        QTest::keyClick(line, Qt::Key_Backspace);
    for (const QChar &letter : text)
        QTest::sendKeyEvent(QTest::Click, line, Qt::Key_unknown, QString(letter), Qt::NoModifier);
    QTest::keyClick(line, Qt::Key_Return);
    takeKeyboard();
    return editor() == nullptr;
}

void Counter::push(const char *button) const
{
    auto *found = m_desk.find<QPushButton *>(QString::fromLatin1(button));
    if (!found)
        qFatal("no button %s", button);
    found->click();
}

void Counter::trigger(const char *action) const
{
    auto *found = m_desk.find<QAction *>(QString::fromLatin1(action));
    if (!found)
        qFatal("no action %s", action);
    found->trigger();
}

QList<QVariantMap> Counter::payments(int count) const
{
    QList<QVariantMap> rows;
    const bool there = QTest::qWaitFor([&] {
        rows.clear();
        QSqlQuery query(m_track.db());
        query.exec(QStringLiteral("SELECT * FROM payments ORDER BY id"));
        while (query.next()) {
            QVariantMap row;
            const QSqlRecord record = query.record();
            for (int i = 0; i < record.count(); ++i)
                row.insert(record.fieldName(i), record.value(i));
            rows.append(row);
        }
        return rows.size() >= count;
    });
    return there && rows.size() == count ? rows : QList<QVariantMap>();
}

int Counter::paymentCount() const
{
    HostProbe::settle(200);
    return m_track.value(QStringLiteral("SELECT COUNT(*) FROM payments")).toInt();
}

ModalAnswer answerBox(BoxFacts *facts, QMessageBox::StandardButton answer, const std::function<void()> &meanwhile)
{
    return ModalAnswer::widget([=](QWidget *widget) {
        const QPointer<QMessageBox> box(qobject_cast<QMessageBox *>(widget));
        if (!box)
            return;
        *facts = {box->windowTitle(), box->text(), int(box->icon()), box->standardButtons(), box->pos()};
        if (meanwhile)
            meanwhile();
        if (box && box->button(answer))
            box->button(answer)->click();
    });
}
