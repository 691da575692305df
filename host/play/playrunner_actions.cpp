#include "play/playrunner.h"

#include "deskpluginloader.h"
#include "hostwindow.h"
#include "play/runrows.h"
#include "play/widgetfinder.h"
#include "service/democode.h"
#include "service/scannersimulator.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QJsonDocument>
#include <QKeySequence>
#include <QLineEdit>
#include <QMenu>
#include <QPointer>
#include <QRadioButton>
#include <QTabBar>
#include <QTabWidget>

#include <cstdlib>

namespace {

// Where a hand would click: a box with a caption is aimed at, not the empty room beside the caption.
QPoint aim(const QWidget *widget)
{
    if (qobject_cast<const QCheckBox *>(widget) || qobject_cast<const QRadioButton *>(widget))
        return {10, widget->height() / 2};
    return widget->rect().center();
}

// A widget behind an open dialog takes no input.
bool isBlocked(const QWidget *widget)
{
    const QWidget *popup = QApplication::activePopupWidget();
    if (popup && widget->window() == popup)
        return false;
    const QWidget *modal = QApplication::activeModalWidget();
    return modal && widget->window() != modal && !modal->isAncestorOf(widget->window());
}

// Brings a widget that stands in a row of a list into sight. False when the place stays hidden all the same.
bool scrollTo(QWidget *widget, QPoint pos)
{
    for (QWidget *child = widget; child && !child->isWindow(); child = child->parentWidget()) {
        QWidget *viewport = child->parentWidget();
        auto *view = viewport ? qobject_cast<QAbstractItemView *>(viewport->parentWidget()) : nullptr;
        if (!view || view->viewport() != viewport)
            continue;
        const QModelIndex index = view->indexAt(child->geometry().center());
        if (!index.isValid() || view->indexWidget(index) != child)
            continue;
        view->scrollTo(index);
        return viewport->rect().contains(widget->mapTo(viewport, pos));
    }
    return true;
}

QModelIndex itemWithText(const QAbstractItemView *list, const QString &text)
{
    const QAbstractItemModel *model = list->model();
    for (int row = 0; model && row < model->rowCount(list->rootIndex()); ++row) {
        const QModelIndex index = model->index(row, 0, list->rootIndex());
        if (index.data().toString() == text)
            return index;
    }
    return QModelIndex();
}

} // namespace

PlayRunner::Outcome PlayRunner::say(const PlayStep &step)
{
    Q_UNUSED(step)
    return done();
}

PlayRunner::Outcome PlayRunner::wait(const PlayStep &step)
{
    bool ok = false;
    const int ms = step.word(0).toInt(&ok);
    if (!ok)
        return failed(tr("нужно число миллисекунд"));
    return m_stepTime.elapsed() >= ms ? done() : waiting(QString());
}

PlayRunner::Outcome PlayRunner::setTimeout(const PlayStep &step)
{
    bool ok = false;
    const int ms = step.word(0).toInt(&ok);
    if (!ok)
        return failed(tr("нужно число миллисекунд"));
    m_timeoutMs = ms;
    return done();
}

PlayRunner::Outcome PlayRunner::clickAt(const PlayStep &step, QWidget *widget, QPoint pos, bool twice)
{
    if (!scrollTo(widget, pos))
        return waiting(tr("место скрыто"));
    if (!widget->isEnabled())
        return waiting(tr("виджет выключен"));
    if (isBlocked(widget))
        return waiting(tr("мешает диалог «%1»").arg(QApplication::activeModalWidget()->windowTitle()));
    if (!widget->window()->rect().contains(widget->mapTo(widget->window(), pos)))
        return waiting(tr("виджет за краем окна"));

    const QString buttonName = step.options.value(QStringLiteral("button"), QStringLiteral("left"));
    if (buttonName != QLatin1String("left") && buttonName != QLatin1String("right"))
        return failed(tr("неизвестная кнопка мыши «%1»").arg(buttonName));
    Qt::KeyboardModifiers modifiers;
    const QString with = step.options.value(QStringLiteral("with"));
    modifiers.setFlag(Qt::ControlModifier, with.contains(QLatin1String("ctrl")));
    modifiers.setFlag(Qt::ShiftModifier, with.contains(QLatin1String("shift")));

    if (twice)
        m_input.doubleClick(widget, pos);
    else
        m_input.click(widget, pos, buttonName == QLatin1String("right") ? Qt::RightButton : Qt::LeftButton, modifiers);
    return done();
}

PlayRunner::Outcome PlayRunner::placeOfWidget(const QString &name, const QString &point, Place *place)
{
    QString reason;
    QWidget *widget = WidgetFinder::widget(name, &reason);
    if (!widget)
        return waiting(reason);
    QPoint pos = aim(widget);
    if (!point.isEmpty()) {
        const QStringList parts = point.split(QLatin1Char(','));
        bool xOk = false;
        bool yOk = false;
        pos = QPoint(parts.value(0).toInt(&xOk), parts.value(1).toInt(&yOk));
        if (parts.size() != 2 || !xOk || !yOk)
            return failed(tr("место пишется как 40,20"));
    }
    *place = {widget, pos};
    return done();
}

PlayRunner::Outcome PlayRunner::clickWidget(const PlayStep &step, bool twice)
{
    Place place;
    const Outcome found = placeOfWidget(step.word(0), step.options.value(QStringLiteral("at")), &place);
    return place.widget ? clickAt(step, place.widget, place.pos, twice) : found;
}

PlayRunner::Outcome PlayRunner::click(const PlayStep &step)
{
    return clickWidget(step, false);
}

PlayRunner::Outcome PlayRunner::doubleClick(const PlayStep &step)
{
    return clickWidget(step, true);
}

PlayRunner::Outcome PlayRunner::placeOfRacer(const PlayStep &step, Place *place)
{
    QString reason;
    const QString list = RunRows::widgetName(step.word(0), &reason);
    if (list.isEmpty())
        return failed(reason);
    const QJsonObject run = RunRows::run(m_stage.log, step.word(0), step.word(1), &reason);
    const int seat = run.isEmpty() ? -1 : RunRows::place(run, step.word(2), &reason);
    if (seat == -1)
        return waiting(reason);
    QWidget *row = WidgetFinder::widget(list + QStringLiteral("/#") + step.word(1), &reason);
    if (!row)
        return waiting(reason);
    *place = {row, RunRows::cell(seat, row->width()).center()};
    return done();
}

PlayRunner::Outcome PlayRunner::clickRacer(const PlayStep &step)
{
    Place place;
    const Outcome found = placeOfRacer(step, &place);
    return place.widget ? clickAt(step, place.widget, place.pos, false) : found;
}

PlayRunner::Outcome PlayRunner::placeOfCell(const PlayStep &step, Place *place)
{
    QString reason;
    QAbstractItemView *view = WidgetFinder::view(step.word(0), &reason);
    if (!view)
        return waiting(reason);
    const QModelIndex index = WidgetFinder::cell(view, step.word(1), step.word(2), &reason);
    if (!index.isValid())
        return waiting(reason);
    view->scrollTo(index);
    const QRect rect = view->visualRect(index).intersected(view->viewport()->rect());
    if (rect.isEmpty())
        return waiting(tr("ячейка не видна"));
    *place = {view->viewport(), rect.center()};
    return done();
}

PlayRunner::Outcome PlayRunner::clickCellOf(const PlayStep &step, bool twice)
{
    Place place;
    const Outcome found = placeOfCell(step, &place);
    return place.widget ? clickAt(step, place.widget, place.pos, twice) : found;
}

PlayRunner::Outcome PlayRunner::dragTo(const PlayStep &step, const Place &from, const QString &targetName)
{
    Place to;
    const Outcome found = placeOfWidget(targetName, step.options.value(QStringLiteral("at")), &to);
    if (!to.widget)
        return found;
    for (const Place &place : {from, to}) {
        const QWidget *window = place.widget->window();
        if (isBlocked(place.widget) || !window->rect().contains(place.widget->mapTo(window, place.pos)))
            return waiting(tr("место закрыто или за краем окна"));
    }
    if (QGuiApplication::platformName() != QLatin1String("xcb"))
        return failed(tr("перетаскивать можно только на экране X"));
    m_input.drag(from.widget, from.pos, to.widget, to.pos, [this](bool ok) { m_pointerFailed = !ok; });
    return done();
}

PlayRunner::Outcome PlayRunner::drag(const PlayStep &step)
{
    Place from;
    const Outcome found = placeOfWidget(step.word(0), step.options.value(QStringLiteral("from")), &from);
    return from.widget ? dragTo(step, from, step.word(1)) : found;
}

PlayRunner::Outcome PlayRunner::dragCell(const PlayStep &step)
{
    Place from;
    const Outcome found = placeOfCell(step, &from);
    return from.widget ? dragTo(step, from, step.word(3)) : found;
}

PlayRunner::Outcome PlayRunner::dragRacer(const PlayStep &step)
{
    Place from;
    const Outcome found = placeOfRacer(step, &from);
    return from.widget ? dragTo(step, from, step.word(3)) : found;
}

PlayRunner::Outcome PlayRunner::clickCell(const PlayStep &step)
{
    return clickCellOf(step, false);
}

PlayRunner::Outcome PlayRunner::doubleClickCell(const PlayStep &step)
{
    return clickCellOf(step, true);
}

PlayRunner::Outcome PlayRunner::typeText(const PlayStep &step)
{
    QString reason;
    QWidget *widget = WidgetFinder::widget(step.word(0), &reason);
    if (!widget)
        return waiting(reason);
    if (!widget->isEnabled())
        return waiting(tr("виджет выключен"));
    if (isBlocked(widget))
        return waiting(tr("мешает диалог «%1»").arg(QApplication::activeModalWidget()->windowTitle()));
    if (!widget->hasFocus()) {
        widget->activateWindow();
        widget->setFocus(Qt::OtherFocusReason);
    }
    m_input.text(step.word(1));
    return done();
}

PlayRunner::Outcome PlayRunner::fillText(const PlayStep &step)
{
    QString reason;
    QWidget *widget = WidgetFinder::widget(step.word(0), &reason);
    if (!widget)
        return waiting(reason);
    if (!widget->isEnabled() || isBlocked(widget))
        return waiting(tr("виджет не принимает ввод"));
    if (!widget->hasFocus()) {
        widget->activateWindow();
        widget->setFocus(Qt::OtherFocusReason);
    }
    m_input.key(Qt::Key_A, Qt::ControlModifier);
    m_input.key(Qt::Key_Delete);
    m_input.text(step.word(1));
    return done();
}

PlayRunner::Outcome PlayRunner::pressKey(const PlayStep &step)
{
    const QKeySequence sequence = QKeySequence::fromString(step.word(0), QKeySequence::PortableText);
    if (sequence.count() != 1 || sequence[0] == Qt::Key_unknown)
        return failed(tr("неизвестная клавиша"));
    const int code = sequence[0];
    const int modifierMask = static_cast<int>(Qt::KeyboardModifierMask);
    m_input.key(static_cast<Qt::Key>(code & ~modifierMask), static_cast<Qt::KeyboardModifiers>(code & modifierMask));
    return done();
}

PlayRunner::Outcome PlayRunner::choose(const PlayStep &step)
{
    QWidget *popup = QApplication::activePopupWidget();
    if (!popup)
        return waiting(tr("не открыт ни список, ни меню"));

    if (auto *menu = qobject_cast<QMenu *>(popup)) {
        const QList<QAction *> actions = menu->actions();
        for (QAction *action : actions) {
            if (action->text().remove(QLatin1Char('&')) != step.word(0))
                continue;
            if (!action->isEnabled())
                return waiting(tr("пункт меню выключен"));
            m_input.click(menu, menu->actionGeometry(action).center());
            return done();
        }
        return waiting(tr("в меню нет такого пункта"));
    }

    auto *list = popup->findChild<QAbstractItemView *>();
    if (!list)
        return waiting(tr("не открыт ни список, ни меню"));
    const QModelIndex index = itemWithText(list, step.word(0));
    if (!index.isValid())
        return waiting(tr("в списке нет такой строки"));
    // By the keyboard: a list ignores the mouse for a moment after it has opened.
    list->setCurrentIndex(index);
    m_input.key(Qt::Key_Return);
    return done();
}

PlayRunner::Outcome PlayRunner::trigger(const PlayStep &step)
{
    QString reason;
    QAction *action = WidgetFinder::action(step.word(0), &reason);
    if (!action)
        return waiting(reason);
    if (!action->isEnabled())
        return waiting(tr("действие выключено"));
    const QPointer<QAction> target(action);
    m_input.call([target] {
        if (target)
            target->trigger();
    });
    return done();
}

PlayRunner::Outcome PlayRunner::answer(const PlayStep &step)
{
    QString reason;
    QAbstractButton *button = WidgetFinder::dialogButton(step.word(0), &reason);
    return button ? clickAt(step, button, aim(button), false) : waiting(reason);
}

PlayRunner::Outcome PlayRunner::send(const PlayStep &step)
{
    m_input.call([this, step] { m_stage.desk->send(step.word(0), step.json); });
    return done();
}

PlayRunner::Outcome PlayRunner::scan(const PlayStep &step)
{
    if (!m_stage.scanner)
        return failed(tr("нет сканера"));
    QByteArray bytes;
    for (const QString &word : step.words) {
        bool isClient = false;
        const int clientId = word.toInt(&isClient);
        bytes += isClient ? QJsonDocument(DemoCode::make(clientId)).toJson(QJsonDocument::Compact) : word.toUtf8();
    }
    if (step.hasJson)
        bytes += QJsonDocument(step.json).toJson(QJsonDocument::Compact);
    bool ok = true;
    const int splitAt =
        step.options.contains(QStringLiteral("split")) ? step.options.value(QStringLiteral("split")).toInt(&ok) : 0;
    if (!ok || bytes.isEmpty())
        return failed(tr("нужен номер клиента, текст или JSON"));
    return m_stage.scanner->write(bytes, splitAt) ? done() : failed(m_stage.scanner->errorText());
}

PlayRunner::Outcome PlayRunner::showTab(const PlayStep &step)
{
    return m_stage.window->showTab(step.word(0)) ? done() : waiting(tr("нет вкладки"));
}

PlayRunner::Outcome PlayRunner::showPage(const PlayStep &step)
{
    QString reason;
    QWidget *widget = WidgetFinder::widget(step.word(0), &reason);
    if (!widget)
        return waiting(reason);
    const auto *pages = qobject_cast<QTabWidget *>(widget);
    if (!pages)
        return failed(tr("«%1» — не вкладки").arg(step.word(0)));
    QTabBar *bar = pages->tabBar();
    for (int i = 0; i < bar->count(); ++i) {
        if (bar->tabText(i).remove(QLatin1Char('&')) == step.word(1))
            return clickAt(step, bar, bar->tabRect(i).center(), false);
    }
    return waiting(tr("нет вкладки «%1»").arg(step.word(1)));
}

PlayRunner::Outcome PlayRunner::resizeWindow(const PlayStep &step)
{
    const QStringList sides = step.word(0).split(QLatin1Char('x'));
    const QSize size(sides.value(0).toInt(), sides.value(1).toInt());
    if (size.isEmpty())
        return failed(tr("размер пишется как 1265x775"));
    m_stage.window->resize(size);
    return done();
}

PlayRunner::Outcome PlayRunner::screenshot(const PlayStep &step)
{
    return savePicture(step.word(0)) ? done() : failed(tr("снимок не записан"));
}

PlayRunner::Outcome PlayRunner::restart(const PlayStep &step)
{
    Q_UNUSED(step)
    if (QApplication::activeModalWidget() || QApplication::activePopupWidget())
        return waiting(tr("открыт диалог или меню"));
    return m_stage.window->restartDesk() ? done() : failed(m_stage.desk->errorText());
}

PlayRunner::Outcome PlayRunner::crash(const PlayStep &step)
{
    Q_UNUSED(step)
    // No destructor and no handler runs, as when the power fails.
    std::_Exit(EXIT_SUCCESS);
}
