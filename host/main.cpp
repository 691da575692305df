#include "demodata.h"
#include "deskpluginloader.h"
#include "documents/documentprinter.h"
#include "documents/documentsview.h"
#include "eventlogmodel.h"
#include "eventlogwriter.h"
#include "gateway/clientgateway.h"
#include "hostoptions.h"
#include "hostwindow.h"
#include "play/playrunner.h"
#include "runtiming.h"
#include "service/onlineservice.h"
#include "service/scannersimulator.h"
#include "service/servicemenu.h"
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
#include <memory>

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
                                EventLogWriter::Append, &log);
    if (!writer.isOpen())
        print(stderr, QStringLiteral("%1: %2").arg(writer.fileName(), writer.errorText()));
    std::unique_ptr<EventLogWriter> record;
    if (!options.record.isEmpty()) {
        record = std::make_unique<EventLogWriter>(startDirectory.absoluteFilePath(options.record),
                                                  EventLogWriter::Replace, &log);
        if (!record->isOpen()) {
            print(stderr, QStringLiteral("%1: %2").arg(record->fileName(), record->errorText()));
            return ExitUsage;
        }
    }

    DeskPluginLoader desk;
    desk.setFileName(options.plugin);
    TrackServices services(&desk, &database);
    RunTiming timing(&desk, &database);
    timing.track().setSpeed(options.speed);
    DocumentPrinter documents(home.templatesDirectory(), home.printedDirectory());
    if (!options.printer.isEmpty() && !documents.setPrinter(options.printer)) {
        print(stderr, QStringLiteral("Нет принтера «%1»").arg(options.printer));
        return ExitUsage;
    }
    QObject::connect(&desk, &DeskPluginLoader::received, &documents, &DocumentPrinter::take, Qt::QueuedConnection);
    QObject::connect(&documents, &DocumentPrinter::noted, &documents,
                     [](const QString &sentence) { print(stderr, sentence); });
    HostWindow window(&desk, &services, &timing, &database, &log);
    window.addPage(new DocumentsView(&documents), HostWindow::tr("Документы"));
    if (options.windowSize.isValid())
        window.resize(options.windowSize);
    else
        window.fitDesk(deskTabSize);

    // A port that is taken keeps clients out; the desk works all the same.
    ClientGateway gateway(&desk);
    if (options.clientPort >= 0) {
        if (gateway.listen(static_cast<quint16>(options.clientPort)))
            print(stdout, QStringLiteral("Вход для клиентов: ws://127.0.0.1:%1").arg(gateway.port()));
        else
            print(stderr, QStringLiteral("Порт %1 для клиентов: %2").arg(options.clientPort).arg(gateway.errorText()));
    }

    // The service listens while the track's service is up; a port that is taken does not stop the track.
    OnlineService service;
    service.setTrouble(options.serviceTrouble);
    QObject::connect(&services, &TrackServices::serviceChanged, &service, [&] {
        service.setApiKey(services.state().apiKey);
        if (!services.state().serviceEnabled)
            service.close();
        else if (options.servicePort >= 0 && !service.open(static_cast<quint16>(options.servicePort)))
            print(stderr, service.errorText());
    });
    ScannerSimulator scanner;
    if (options.demo) {
        if (!scanner.plug())
            print(stderr, scanner.errorText());
        // Again before each start of the desk: settings that were accepted name only the ports of the machine.
        scanner.storePortName();
        QObject::connect(&desk, &DeskPluginLoader::aboutToUnload, &scanner, &ScannerSimulator::storePortName);
    }
    const ServiceMenu serviceMenu(&service, &scanner, &window);

    PlayRunner player({&window, &desk, &database, &log, &home, startDirectory.absoluteFilePath(options.out), &gateway,
                       &scanner, &documents});
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
