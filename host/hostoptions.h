#ifndef HOSTOPTIONS_H
#define HOSTOPTIONS_H

#include <QCoreApplication>
#include <QSize>
#include <QString>
#include <QStringList>

/// What the bench host was asked for on its command line.
struct HostOptions
{
    Q_DECLARE_TR_FUNCTIONS(HostOptions)

public:
    /// Folder of the whole track; empty means the folder of its own under the user's data directory.
    QString home;
    /// Library of the desk; empty means the usual places.
    QString plugin;
    /// File for the event log; empty means events.jsonl in the home.
    QString log;
    /// File that receives the events of this run alone; empty means none.
    QString record;
    /// Port for client programs on loopback; 0 means any that is free, -1 that they are kept out.
    int clientPort = 9185;
    /// Port of the online service's stand-in on loopback; 0 means any that is free, -1 that there is none.
    int servicePort = 9184;
    /// How the stand-in answers, one of OnlineService::troubleNames().
    QString serviceTrouble;
    /// Script of a played day; empty means that a person is at the desk.
    QString play;
    /// Printer of this machine for the documents; empty means PDF files in the home.
    QString printer;
    /// Folder that receives the screenshots of a played day; empty means the current folder.
    QString out;
    /// Size of the main window; invalid means what the desk's tab needs.
    QSize windowSize;
    /// Milliseconds after which the program ends by itself; -1 means never.
    int quitAfter = -1;
    /// How many seconds of a run pass in a second of the clock.
    int speed = 1;
    /// Runs of the queue that a demo track starts with, and racers in each; empty means no queue.
    QSize demoQueue;
    bool demo = false;
    bool help = false;
    bool version = false;

    /// Reads the arguments, the program's name first. False with a sentence in `error` when they can't be understood.
    static bool parse(const QStringList &arguments, HostOptions *options, QString *error);
    static QString helpText();
};

#endif // HOSTOPTIONS_H
