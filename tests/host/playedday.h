#ifndef PLAYEDDAY_H
#define PLAYEDDAY_H

#include "play/playrunner.h"
#include "trackhome.h"

#include <QApplication>
#include <QFile>
#include <QtTest>

/// Plays a script on a stage to its end; true when every step of it was done. A script that can't be read is told on the
/// standard error.
inline bool playDay(const PlayRunner::Stage &stage, const QString &text)
{
    QFile script(stage.home->path(QStringLiteral("test.play")));
    if (!script.open(QIODevice::WriteOnly))
        return false;
    script.write(text.toUtf8());
    script.close();

    PlayRunner runner(stage);
    QString error;
    if (!runner.load(script.fileName(), &error)) {
        qWarning("%s", qPrintable(error));
        return false;
    }
    QSignalSpy finished(&runner, &PlayRunner::finished);
    // A dialog that is still open would keep this function in its loop.
    QObject::connect(&runner, &PlayRunner::finished, &runner, [] {
        if (QWidget *dialog = QApplication::activeModalWidget())
            dialog->close();
    });
    runner.start();
    return finished.wait(20000) && finished.at(0).at(0).toBool();
}

#endif // PLAYEDDAY_H
