#include "client/clientcommand.h"
#include "client/clientoptions.h"

#include <QCoreApplication>
#include <QFile>
#include <QTextCodec>
#include <QTimer>

#include <cstdio>

namespace {

enum ExitCode { ExitOk = 0, ExitFailed = 1, ExitUsage = 2 };

void write(std::FILE *stream, const QByteArray &text)
{
    std::fwrite(text.constData(), 1, static_cast<size_t>(text.size()), stream);
    // Whoever follows through a pipe gets every line when it comes.
    std::fflush(stream);
}

} // namespace

int main(int argc, char *argv[])
{
#if defined(Q_OS_UNIX)
    // Arguments are UTF-8 even where no locale is set.
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
#endif
    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("lapvane-desk-client"));
    QCoreApplication::setApplicationVersion(QStringLiteral(LAPVANE_VERSION));

    QFile input;
    ClientOptions options;
    QString error;
    // Without a standard input there is nothing to read in it, which is only wrong if it was asked for.
    input.open(stdin, QIODevice::ReadOnly);
    if (!ClientOptions::parse(QCoreApplication::arguments(), &input, &options, &error)) {
        write(stderr, error.toUtf8() + '\n');
        return ExitUsage;
    }
    if (options.help || options.version) {
        write(stdout,
              (options.help ? ClientOptions::helpText() : QCoreApplication::applicationVersion()).toUtf8() + '\n');
        return ExitOk;
    }

    ClientCommand command(options);
    QObject::connect(&command, &ClientCommand::said, &application, [](const QByteArray &text) { write(stdout, text); });
    QObject::connect(&command, &ClientCommand::finished, &application, [](const QString &failure) {
        if (!failure.isEmpty())
            write(stderr, failure.toUtf8() + '\n');
        QCoreApplication::exit(failure.isEmpty() ? ExitOk : ExitFailed);
    });
    QTimer::singleShot(0, &command, &ClientCommand::start);
    return QCoreApplication::exec();
}
