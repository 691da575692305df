#include "demodata.h"
#include "deskpluginloader.h"
#include "eventlogmodel.h"
#include "eventlogwriter.h"
#include "hostoptions.h"
#include "hostwindow.h"
#include "play/playrunner.h"
#include "runtiming.h"
#include "trackdatabase.h"
#include "trackhome.h"
#include "trackservices.h"

#include <QApplication>
#include <QDir>
#include <QLibraryInfo>
#include <QLocale>
#include <QMessageBox>
#include <QTextCodec>
#include <QTimer>
#include <QTranslator>

#include <cstdio>

namespace {

enum ExitCode { ExitOk = 0, ExitPlayFailed = 1, ExitUsage = 2, ExitNoDesk = 3 };

// The size that the desk's form is drawn for.
const QSize deskTabSize(1265, 775);

void print(std::FILE *stream, const QString &text)
{
    const QByteArray line = text.toUtf8() + '\n';
    std::fwrite(line.constData(), 1, static_cast<size_t>(line.size()), stream);
    std::fflush(stream);
}

QStringList decodedArguments(int argc, char *argv[])
{
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments.append(QString::fromLocal8Bit(argv[i]));
    return arguments;
}

// The desk speaks Russian, so Qt's own buttons and menus do too, whatever the system's language is.
void speakRussian(QTranslator *translator)
{
    QLocale::setDefault(QLocale(QLocale::Russian, QLocale::Russia));
    if (translator->load(QStringLiteral("qtbase_ru"), QLibraryInfo::location(QLibraryInfo::TranslationsPath)))
        QCoreApplication::installTranslator(translator);
    else
        print(stderr, QStringLiteral("Нет перевода Qt (пакет qttranslations5-l10n): кнопки останутся английскими"));
}

// The offscreen platform has neither a desktop's font nor a use for the hints it complains about.
void settleOffscreen()
{
    static QtMessageHandler previous = nullptr;
    if (QGuiApplication::platformName() != QLatin1String("offscreen"))
        return;
    QFont font = QApplication::font();
    font.setPointSize(9);
    QApplication::setFont(font);
    previous = qInstallMessageHandler([](QtMsgType type, const QMessageLogContext &context, const QString &text) {
        if (!text.startsWith(QLatin1String("This plugin does not support")))
            previous(type, context, text);
    });
}

} // namespace

int main(int argc, char *argv[])
{
#if defined(Q_OS_UNIX)
    // Names of files and the texts of a script are UTF-8 even where no locale is set.
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
#endif

    // The home decides where Qt finds documents and settings, so it is entered before there is an application.
    HostOptions options;
    QString error;
    QCoreApplication::setApplicationName(QStringLiteral("lapvane-bench-host"));
    QCoreApplication::setApplicationVersion(QStringLiteral(LAPVANE_VERSION));
    if (!HostOptions::parse(decodedArguments(argc, argv), &options, &error)) {
        print(stderr, error);
        return ExitUsage;
    }
    if (options.help || options.version) {
        const QCoreApplication application(argc, argv);
        QTranslator translator;
        speakRussian(&translator);
        print(stdout, options.help ? HostOptions::helpText() : QCoreApplication::applicationVersion());
        return ExitOk;
    }
    const QDir startDirectory = QDir::current();
    const TrackHome home(options.home.isEmpty() ? TrackHome::defaultDirectory() : options.home);
    if (!home.enter(&error) || !home.makeTree(&error)) {
        print(stderr, error);
        return ExitUsage;
    }

    QApplication application(argc, argv);
    settleOffscreen();
    QTranslator translator;
    speakRussian(&translator);

    // A track without a usable database is shown all the same: the desk has to cope with it, and people have to see it.
    TrackDatabase database(home.databaseFile());
    if (!database.prepare())
        print(stderr, QStringLiteral("%1: %2").arg(home.databaseFile(), database.errorText()));
    else if (options.demo && !DemoData(home, &database).fill(options.demoQueue))
        print(stderr, QStringLiteral("Не удалось заполнить трассу: %1").arg(database.errorText()));

    EventLogModel log;
    const EventLogWriter writer(options.log.isEmpty() ? home.eventsFile()
                                                      : startDirectory.absoluteFilePath(options.log),
                                &log);
    if (!writer.isOpen())
        print(stderr, QStringLiteral("%1: %2").arg(writer.fileName(), writer.errorText()));

    DeskPluginLoader desk;
    desk.setFileName(options.plugin);
    TrackServices services(&desk, &database);
    RunTiming timing(&desk, &database);
    timing.track().setSpeed(options.speed);
    HostWindow window(&desk, &services, &timing, &database, &log);
    if (options.windowSize.isValid())
        window.resize(options.windowSize);
    else
        window.fitDesk(deskTabSize);

    PlayRunner player({&window, &desk, &database, &log, &home, startDirectory.absoluteFilePath(options.out)});
    if (!options.play.isEmpty() && !player.load(options.play, &error)) {
        print(stderr, error);
        return ExitUsage;
    }
    if (options.demo)
        services.openForBusiness();
    window.show();
    if (!window.startDesk(options.demo)) {
        print(stderr, desk.errorText());
        if (options.play.isEmpty())
            QMessageBox::critical(&window, QStringLiteral("Ошибка"), desk.errorText());
        return ExitNoDesk;
    }

    if (!options.play.isEmpty()) {
        QObject::connect(&player, &PlayRunner::finished, &application,
                         [](bool ok) { QCoreApplication::exit(ok ? ExitOk : ExitPlayFailed); });
        player.start();
    }
    if (options.quitAfter >= 0) {
        // A day that is cut short has not been played.
        const int code = options.play.isEmpty() ? ExitOk : ExitPlayFailed;
        QTimer::singleShot(options.quitAfter, &application, [code] { QCoreApplication::exit(code); });
    }

    // When this returns, the loops of all open dialogs have ended and their dialogs are gone.
    const int result = QApplication::exec();
    window.stopDesk();
    return result;
}
