#include "play/playrunner.h"

#include "hostwindow.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTimer>

#include <cstdio>
#include <limits>

namespace {

constexpr int tickMs = 20;
constexpr int defaultTimeoutMs = 5000;

void print(const QString &text)
{
    const QByteArray line = text.toUtf8() + '\n';
    std::fwrite(line.constData(), 1, static_cast<size_t>(line.size()), stdout);
    std::fflush(stdout);
}

} // namespace

PlayRunner::PlayRunner(const Stage &stage, QObject *parent)
    : QObject(parent)
    , m_stage(stage)
    , m_timeoutMs(defaultTimeoutMs)
{
}

const QVector<PlayRunner::Verb> &PlayRunner::verbs()
{
    static const QVector<Verb> table = {
        {{"log", 1, -1}, &PlayRunner::say},
        {{"wait", 1, 1}, &PlayRunner::wait},
        {{"timeout", 1, 1}, &PlayRunner::setTimeout},
        {{"click", 1, 1}, &PlayRunner::click},
        {{"doubleClick", 1, 1}, &PlayRunner::doubleClick},
        {{"clickCell", 3, 3}, &PlayRunner::clickCell},
        {{"clickRacer", 3, 3}, &PlayRunner::clickRacer},
        {{"drag", 2, 2}, &PlayRunner::drag},
        {{"dragCell", 4, 4}, &PlayRunner::dragCell},
        {{"dragRacer", 4, 4}, &PlayRunner::dragRacer},
        {{"doubleClickCell", 3, 3}, &PlayRunner::doubleClickCell},
        {{"type", 2, 2}, &PlayRunner::typeText},
        {{"fill", 2, 2}, &PlayRunner::fillText},
        {{"key", 1, 1}, &PlayRunner::pressKey},
        {{"choose", 1, 1}, &PlayRunner::choose},
        {{"trigger", 1, 1}, &PlayRunner::trigger},
        {{"answer", 1, 1}, &PlayRunner::answer},
        {{"send", 1, 1, PlaySyntax::MayHaveJson}, &PlayRunner::send},
        {{"scan", 0, -1, PlaySyntax::MayHaveJson}, &PlayRunner::scan},
        {{"request", 2, 2, PlaySyntax::MayHaveJson}, &PlayRunner::request},
        {{"remote", 2, 2, PlaySyntax::MayHaveJson}, &PlayRunner::remote},
        {{"letAnswer", 3, 3}, &PlayRunner::letAnswer},
        {{"letEvent", 3, 3}, &PlayRunner::letEvent},
        {{"tab", 1, 1}, &PlayRunner::showTab},
        {{"page", 2, 2}, &PlayRunner::showPage},
        {{"resize", 1, 1}, &PlayRunner::resizeWindow},
        {{"screenshot", 1, 1}, &PlayRunner::screenshot},
        {{"restart", 0, 0}, &PlayRunner::restart},
        {{"crash", 0, 0}, &PlayRunner::crash},
        {{"mark", 0, 0}, &PlayRunner::mark},
        {{"expect", 4, 4, PlaySyntax::NoJson, 2}, &PlayRunner::expectProperty},
        {{"expectGone", 1, 1}, &PlayRunner::expectGone},
        {{"expectAction", 4, 4, PlaySyntax::NoJson, 2}, &PlayRunner::expectAction},
        {{"expectCell", 5, 5, PlaySyntax::NoJson, 3}, &PlayRunner::expectCell},
        {{"expectRows", 2, 3}, &PlayRunner::expectRows},
        {{"expectRun", 2, 2, PlaySyntax::NeedsJson}, &PlayRunner::expectRun},
        {{"expectDialog", 1, 1}, &PlayRunner::expectDialog},
        {{"expectNoDialog", 0, 0}, &PlayRunner::expectNoDialog},
        {{"expectEvent", 1, 1, PlaySyntax::MayHaveJson}, &PlayRunner::expectEvent},
        {{"expectNoEvent", 1, 1, PlaySyntax::MayHaveJson}, &PlayRunner::expectNoEvent},
        {{"expectEvents", 0, -1}, &PlayRunner::expectEvents},
        {{"expectAnswer", 1, 1, PlaySyntax::MayHaveJson}, &PlayRunner::expectAnswer},
        {{"expectSql", 3, 3, PlaySyntax::NoJson, 1}, &PlayRunner::expectSql},
        {{"expectFile", 3, 3, PlaySyntax::NoJson, 1}, &PlayRunner::expectFile},
        {{"expectNoFile", 1, 1}, &PlayRunner::expectNoFile},
        {{"expectLines", 2, 2}, &PlayRunner::expectLines},
        {{"expectLine", 2, 2, PlaySyntax::NeedsJson}, &PlayRunner::expectLine},
        {{"expectDocument", 3, 3, PlaySyntax::NoJson, 1}, &PlayRunner::expectDocument},
    };
    return table;
}

QVector<PlaySyntax> PlayRunner::syntax()
{
    QVector<PlaySyntax> list;
    for (const Verb &verb : verbs())
        list.append(verb.syntax);
    return list;
}

bool PlayRunner::load(const QString &fileName, QString *error)
{
    m_fileName = QFileInfo(fileName).fileName();
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly)) {
        *error = tr("%1: %2").arg(fileName, file.errorString());
        return false;
    }
    QString reason;
    if (!PlayScript::parse(QString::fromUtf8(file.readAll()), syntax(), &m_steps, &reason)) {
        *error = tr("%1, %2").arg(m_fileName, reason);
        return false;
    }
    return true;
}

void PlayRunner::start()
{
    m_current = 0;
    QTimer::singleShot(0, this, &PlayRunner::beginStep);
}

void PlayRunner::beginStep()
{
    if (m_current >= m_steps.size()) {
        print(tr("Сыграно шагов: %1").arg(m_steps.size()));
        finish(true);
        return;
    }
    m_step = m_steps.at(m_current);
    print(QStringLiteral("%1:%2: %3").arg(m_fileName).arg(m_step.line).arg(m_step.source));
    QString reason;
    if (!m_variables.expand(&m_step, &reason)) {
        fail(reason);
        return;
    }
    m_performed = false;
    m_stepTime.start();
    // Single shots, because a repeating timer stands still while its own call is held up by a dialog's loop.
    QTimer::singleShot(tickMs, this, &PlayRunner::tick);
}

void PlayRunner::tick()
{
    if (!m_performed) {
        const Outcome outcome = perform(m_step);
        const bool late = outcome.result == Waiting && m_stepTime.elapsed() >= timeLimit(m_step);
        if (outcome.result == Failed || late) {
            fail(outcome.reason);
            return;
        }
        m_performed = outcome.result == Done;
    }
    if (!m_performed || m_input.isBusy()) {
        QTimer::singleShot(tickMs, this, &PlayRunner::tick);
        return;
    }
    if (m_pointerFailed) {
        fail(tr("не вышло двигать указатель: xdotool"));
        return;
    }
    ++m_current;
    beginStep();
}

PlayRunner::Outcome PlayRunner::perform(const PlayStep &step)
{
    for (const Verb &verb : verbs()) {
        if (step.verb == QLatin1String(verb.syntax.verb))
            return (this->*verb.handler)(step);
    }
    return failed(tr("неизвестный шаг"));
}

int PlayRunner::timeLimit(const PlayStep &step) const
{
    // A wait is its own limit.
    if (step.verb == QLatin1String("wait"))
        return std::numeric_limits<int>::max();
    return step.options.contains(QStringLiteral("within")) ? step.options.value(QStringLiteral("within")).toInt()
                                                           : m_timeoutMs;
}

void PlayRunner::fail(const QString &reason)
{
    print(tr("НЕ ВЫШЛО %1:%2: %3\n    %4").arg(m_fileName).arg(m_step.line).arg(m_step.source, reason));
    savePicture(QStringLiteral("failed.png"));
    finish(false);
}

void PlayRunner::finish(bool ok)
{
    Q_EMIT finished(ok);
}

bool PlayRunner::savePicture(const QString &fileName)
{
    const QString path = QDir(m_stage.outDirectory).absoluteFilePath(fileName);
    QDir().mkpath(QFileInfo(path).absolutePath());
    return m_stage.window->picture().save(path);
}
