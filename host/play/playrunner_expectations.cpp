#include "play/playrunner.h"

#include "documents/documentprinter.h"
#include "eventlogmodel.h"
#include "play/playmatch.h"
#include "play/runrows.h"
#include "play/widgetfinder.h"
#include "trackdatabase.h"
#include "trackhome.h"

#include <QAbstractItemView>
#include <QAction>
#include <QApplication>
#include <QFile>
#include <QJsonDocument>

#include <algorithm>
#include <iterator>

namespace {

bool readFile(const QString &path, QByteArray *content)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    *content = file.readAll();
    return true;
}

QList<QByteArray> linesOf(const QByteArray &content)
{
    QList<QByteArray> lines = content.split('\n');
    if (lines.constLast().isEmpty())
        lines.removeLast();
    return lines;
}

QVariant cellValue(const QModelIndex &index, const QString &role)
{
    if (role == QLatin1String("edit"))
        return index.data(Qt::EditRole);
    if (role == QLatin1String("background"))
        return index.data(Qt::BackgroundRole);
    if (role == QLatin1String("foreground"))
        return index.data(Qt::ForegroundRole);
    if (role == QLatin1String("editable"))
        return index.flags().testFlag(Qt::ItemIsEditable);
    return index.data(Qt::DisplayRole);
}

bool isRole(const QString &role)
{
    static const QString known[] = {QStringLiteral("display"), QStringLiteral("edit"), QStringLiteral("background"),
                                    QStringLiteral("foreground"), QStringLiteral("editable")};
    return std::find(std::begin(known), std::end(known), role) != std::end(known);
}

} // namespace

PlayRunner::Outcome PlayRunner::mark(const PlayStep &step)
{
    Q_UNUSED(step)
    m_mark = m_stage.log->lastNumber();
    if (m_stage.documents)
        m_documentsMark = m_stage.documents->documents().size();
    return done();
}

PlayRunner::Outcome PlayRunner::expectProperty(const PlayStep &step)
{
    QString reason;
    QWidget *widget = WidgetFinder::widget(step.word(0), &reason);
    if (!widget)
        widget = WidgetFinder::widget(step.word(0), &reason, WidgetFinder::AlsoHidden);
    if (!widget)
        return waiting(reason);
    const QByteArray name = step.word(1).toLatin1();
    if (widget->metaObject()->indexOfProperty(name.constData()) < 0)
        return failed(tr("у виджета нет свойства «%1»").arg(step.word(1)));
    const QString actual = PlayMatch::text(widget->property(name.constData()));
    return PlayMatch::holds(step.word(2), actual, step.word(3)) ? done() : waiting(tr("сейчас «%1»").arg(actual));
}

PlayRunner::Outcome PlayRunner::expectGone(const PlayStep &step)
{
    QString reason;
    return WidgetFinder::widget(step.word(0), &reason) ? waiting(tr("виджет ещё виден")) : done();
}

PlayRunner::Outcome PlayRunner::expectAction(const PlayStep &step)
{
    QString reason;
    const QAction *action = WidgetFinder::action(step.word(0), &reason);
    if (!action)
        return waiting(reason);
    const QByteArray name = step.word(1).toLatin1();
    if (action->metaObject()->indexOfProperty(name.constData()) < 0)
        return failed(tr("у действия нет свойства «%1»").arg(step.word(1)));
    const QString actual = PlayMatch::text(action->property(name.constData()));
    return PlayMatch::holds(step.word(2), actual, step.word(3)) ? done() : waiting(tr("сейчас «%1»").arg(actual));
}

PlayRunner::Outcome PlayRunner::expectCell(const PlayStep &step)
{
    const QString role = step.options.value(QStringLiteral("role"), QStringLiteral("display"));
    if (!isRole(role))
        return failed(tr("неизвестная роль «%1»").arg(role));
    QString reason;
    const QAbstractItemView *view = WidgetFinder::view(step.word(0), &reason);
    if (!view)
        return waiting(reason);
    const QModelIndex index = WidgetFinder::cell(view, step.word(1), step.word(2), &reason);
    if (!index.isValid())
        return waiting(reason);
    const QString actual = PlayMatch::text(cellValue(index, role));
    return PlayMatch::holds(step.word(3), actual, step.word(4)) ? done() : waiting(tr("сейчас «%1»").arg(actual));
}

PlayRunner::Outcome PlayRunner::expectRows(const PlayStep &step)
{
    QString reason;
    const QAbstractItemView *view = WidgetFinder::view(step.word(0), &reason);
    if (!view)
        return waiting(reason);
    QModelIndex parent = view->rootIndex();
    if (step.words.size() == 3) {
        parent = WidgetFinder::row(view, step.word(2), &reason);
        if (!parent.isValid())
            return waiting(reason);
    }
    const QString actual = QString::number(view->model()->rowCount(parent));
    return actual == step.word(1) ? done() : waiting(tr("сейчас строк: %1").arg(actual));
}

PlayRunner::Outcome PlayRunner::expectRun(const PlayStep &step)
{
    QString reason;
    const QJsonObject run = RunRows::run(m_stage.log, step.word(0), step.word(1), &reason);
    if (run.isEmpty())
        return waiting(reason);
    if (PlayMatch::isPartOf(step.json, run))
        return done();
    return waiting(tr("сейчас %1").arg(QString::fromUtf8(QJsonDocument(run).toJson(QJsonDocument::Compact))));
}

PlayRunner::Outcome PlayRunner::expectDialog(const PlayStep &step)
{
    const QWidget *dialog = QApplication::activeModalWidget();
    if (!dialog)
        return waiting(tr("нет открытого диалога"));
    return dialog->windowTitle() == step.word(0) ? done() : waiting(tr("открыт «%1»").arg(dialog->windowTitle()));
}

PlayRunner::Outcome PlayRunner::expectNoDialog(const PlayStep &step)
{
    Q_UNUSED(step)
    const QWidget *dialog = QApplication::activeModalWidget();
    return dialog ? waiting(tr("открыт «%1»").arg(dialog->windowTitle())) : done();
}

bool PlayRunner::hasEvent(const PlayStep &step) const
{
    for (const EventLogModel::Entry &entry : m_stage.log->entries()) {
        if (entry.number > m_mark && entry.direction == EventLogModel::FromDesk && entry.event == step.word(0)
            && PlayMatch::isPartOf(step.json, entry.payload))
            return true;
    }
    return false;
}

PlayRunner::Outcome PlayRunner::expectEvent(const PlayStep &step)
{
    return hasEvent(step) ? done() : waiting(tr("такого события не было"));
}

PlayRunner::Outcome PlayRunner::expectNoEvent(const PlayStep &step)
{
    return hasEvent(step) ? failed(tr("такое событие было")) : done();
}

PlayRunner::Outcome PlayRunner::expectEvents(const PlayStep &step)
{
    QStringList names;
    for (const EventLogModel::Entry &entry : m_stage.log->entries()) {
        if (entry.number > m_mark && entry.direction == EventLogModel::FromDesk)
            names.append(entry.event);
    }
    return names == step.words ? done() : waiting(tr("были: %1").arg(names.join(QLatin1Char(' '))));
}

PlayRunner::Outcome PlayRunner::expectSql(const PlayStep &step)
{
    QVector<QVariantList> rows;
    if (!m_stage.database->select(step.word(0), &rows))
        return failed(m_stage.database->errorText());
    QStringList lines;
    for (const QVariantList &row : qAsConst(rows)) {
        QStringList values;
        for (const QVariant &value : row)
            values.append(PlayMatch::text(value));
        lines.append(values.join(QLatin1Char('|')));
    }
    const QString actual = lines.join(QLatin1Char('\n'));
    return PlayMatch::holds(step.word(1), actual, step.word(2)) ? done() : waiting(tr("сейчас «%1»").arg(actual));
}

PlayRunner::Outcome PlayRunner::expectFile(const PlayStep &step)
{
    QByteArray content;
    if (!readFile(m_stage.home->path(step.word(0)), &content))
        return waiting(tr("файл не читается"));
    const QString actual = QString::fromUtf8(content);
    return PlayMatch::holds(step.word(1), actual, step.word(2)) ? done() : waiting(tr("сейчас «%1»").arg(actual));
}

PlayRunner::Outcome PlayRunner::expectNoFile(const PlayStep &step)
{
    return QFile::exists(m_stage.home->path(step.word(0))) ? waiting(tr("файл есть")) : done();
}

PlayRunner::Outcome PlayRunner::expectLines(const PlayStep &step)
{
    QByteArray content;
    if (!readFile(m_stage.home->path(step.word(0)), &content))
        return waiting(tr("файл не читается"));
    const QString actual = QString::number(linesOf(content).size());
    return actual == step.word(1) ? done() : waiting(tr("сейчас строк: %1").arg(actual));
}

PlayRunner::Outcome PlayRunner::expectLine(const PlayStep &step)
{
    bool ok = false;
    const int number = step.word(1).toInt(&ok);
    if (!ok || number < 1)
        return failed(tr("строки считаются с 1"));
    QByteArray content;
    if (!readFile(m_stage.home->path(step.word(0)), &content))
        return waiting(tr("файл не читается"));
    const QByteArray line = linesOf(content).value(number - 1);
    const QByteArray prefix = step.options.value(QStringLiteral("prefix")).toUtf8();
    if (!line.startsWith(prefix))
        return waiting(tr("сейчас «%1»").arg(QString::fromUtf8(line)));
    const QJsonObject actual = QJsonDocument::fromJson(line.mid(prefix.size())).object();
    return PlayMatch::isPartOf(step.json, actual) ? done() : waiting(tr("сейчас «%1»").arg(QString::fromUtf8(line)));
}

PlayRunner::Outcome PlayRunner::expectDocument(const PlayStep &step)
{
    if (!m_stage.documents)
        return failed(tr("здесь нет печати"));
    QString last;
    const QVector<PrintedDocument> &documents = m_stage.documents->documents();
    for (int i = m_documentsMark; i < documents.size(); ++i) {
        if (documents.at(i).templateName != step.word(0))
            continue;
        last = documents.at(i).text;
        if (PlayMatch::holds(step.word(1), last, step.word(2)))
            return done();
    }
    return waiting(last.isEmpty() ? tr("такого документа не было") : tr("последний: «%1»").arg(last));
}
