#ifndef PLAYRUNNER_H
#define PLAYRUNNER_H

#include "play/inputdriver.h"
#include "play/playclients.h"
#include "play/playscript.h"
#include "play/playvariables.h"

#include <QElapsedTimer>
#include <QObject>
#include <QString>
#include <QVector>

class ClientGateway;
class DeskPluginLoader;
class DocumentPrinter;
class EventLogModel;
class HostWindow;
class QAbstractItemView;
class QModelIndex;
class ScannerSimulator;
class TrackDatabase;
class TrackHome;

/// Plays a script at the desk: does its steps one after the other from the event loop, also while a dialog is open,
/// and waits with each for what it needs. Prints every step as it does it.
class PlayRunner : public QObject
{
    Q_OBJECT

public:
    /// What the script plays on; all of it outlives the runner.
    struct Stage
    {
        HostWindow *window;
        DeskPluginLoader *desk;
        TrackDatabase *database;
        EventLogModel *log;
        const TrackHome *home;
        /// Folder of the screenshots.
        QString outDirectory;
        /// The endpoint that the script's clients come in by; may be missing.
        const ClientGateway *gateway = nullptr;
        /// The scanner that the script shows cards to; may be missing.
        ScannerSimulator *scanner = nullptr;
        /// What the desk had printed; may be missing.
        const DocumentPrinter *documents = nullptr;
    };

    PlayRunner(const Stage &stage, QObject *parent = nullptr);

    /// The verbs of a script.
    static QVector<PlaySyntax> syntax();

    /// Reads the script. False with a sentence in `error` when it can't be understood.
    bool load(const QString &fileName, QString *error);
    /// The first step comes from the event loop.
    void start();

Q_SIGNALS:
    /// The day is over: all steps were done, or one of them failed.
    void finished(bool ok);

private:
    enum Result { Done, Waiting, Failed };

    struct Outcome
    {
        Result result;
        QString reason;
    };
    using Handler = Outcome (PlayRunner::*)(const PlayStep &);
    struct Verb
    {
        PlaySyntax syntax;
        Handler handler;
    };

    static const QVector<Verb> &verbs();
    static Outcome done() { return {Done, QString()}; }
    static Outcome waiting(const QString &reason) { return {Waiting, reason}; }
    static Outcome failed(const QString &reason) { return {Failed, reason}; }

    void beginStep();
    void tick();
    void fail(const QString &reason);
    void finish(bool ok);
    Outcome perform(const PlayStep &step);
    int timeLimit(const PlayStep &step) const;

    // playrunner_actions.cpp
    Outcome say(const PlayStep &step);
    Outcome wait(const PlayStep &step);
    Outcome setTimeout(const PlayStep &step);
    Outcome click(const PlayStep &step);
    Outcome doubleClick(const PlayStep &step);
    Outcome clickCell(const PlayStep &step);
    Outcome clickRacer(const PlayStep &step);
    Outcome drag(const PlayStep &step);
    Outcome dragCell(const PlayStep &step);
    Outcome dragRacer(const PlayStep &step);
    Outcome doubleClickCell(const PlayStep &step);
    Outcome typeText(const PlayStep &step);
    Outcome fillText(const PlayStep &step);
    Outcome pressKey(const PlayStep &step);
    Outcome choose(const PlayStep &step);
    Outcome trigger(const PlayStep &step);
    Outcome answer(const PlayStep &step);
    Outcome send(const PlayStep &step);
    Outcome scan(const PlayStep &step);
    Outcome showTab(const PlayStep &step);
    Outcome showPage(const PlayStep &step);
    Outcome resizeWindow(const PlayStep &step);
    Outcome screenshot(const PlayStep &step);
    Outcome restart(const PlayStep &step);
    Outcome crash(const PlayStep &step);

    // playrunner_expectations.cpp
    Outcome mark(const PlayStep &step);
    Outcome expectProperty(const PlayStep &step);
    Outcome expectGone(const PlayStep &step);
    Outcome expectAction(const PlayStep &step);
    Outcome expectCell(const PlayStep &step);
    Outcome expectRows(const PlayStep &step);
    Outcome expectRun(const PlayStep &step);
    Outcome expectDialog(const PlayStep &step);
    Outcome expectNoDialog(const PlayStep &step);
    Outcome expectEvent(const PlayStep &step);
    Outcome expectNoEvent(const PlayStep &step);
    Outcome expectEvents(const PlayStep &step);
    Outcome expectSql(const PlayStep &step);
    Outcome expectFile(const PlayStep &step);
    Outcome expectNoFile(const PlayStep &step);
    Outcome expectLines(const PlayStep &step);
    Outcome expectLine(const PlayStep &step);
    Outcome expectDocument(const PlayStep &step);

    // playrunner_clients.cpp
    Outcome request(const PlayStep &step);
    Outcome remote(const PlayStep &step);
    Outcome expectAnswer(const PlayStep &step);
    Outcome letAnswer(const PlayStep &step);
    Outcome letEvent(const PlayStep &step);

    bool isClientReady(const QString &name, QString *reason);
    Outcome clickWidget(const PlayStep &step, bool twice);
    Outcome clickAt(const PlayStep &step, QWidget *widget, QPoint pos, bool twice);
    Outcome clickCellOf(const PlayStep &step, bool twice);
    /// A place on the screen that a step names.
    struct Place
    {
        QWidget *widget = nullptr;
        QPoint pos{};
    };
    /// The place is left empty unless the outcome is done.
    Outcome placeOfCell(const PlayStep &step, Place *place);
    Outcome placeOfRacer(const PlayStep &step, Place *place);
    static Outcome placeOfWidget(const QString &name, const QString &point, Place *place);
    Outcome dragTo(const PlayStep &step, const Place &from, const QString &targetName);
    bool savePicture(const QString &fileName);
    bool hasEvent(const PlayStep &step) const;

    Stage m_stage;
    InputDriver m_input;
    QString m_fileName;
    QVector<PlayStep> m_steps;
    int m_current = 0;
    /// The current step, with its variables filled in.
    PlayStep m_step;
    PlayVariables m_variables;
    PlayClients m_clients;
    int m_timeoutMs;
    QElapsedTimer m_stepTime;
    /// The step's work is given to the input driver, only its gestures are waited for.
    bool m_performed = false;
    bool m_pointerFailed = false;
    qint64 m_mark = 0;
    /// Documents that were printed before the mark.
    int m_documentsMark = 0;
};

#endif // PLAYRUNNER_H
