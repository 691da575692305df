#include "hostoptions.h"

#include "service/onlineservice.h"

#include <QCommandLineParser>
#include <QRegularExpression>

namespace {

constexpr int maxSpeed = 10000;
constexpr int maxDemoRuns = 60;
constexpr int maxDemoRacers = 20;
constexpr int maxPort = 65535;
constexpr int noPort = -1;

void addOptions(QCommandLineParser *parser)
{
    parser->setApplicationDescription(
        HostOptions::tr("Стенд кассы: загружает модуль кассы и показывает его вкладку с настоящей базой данных."));
    parser->addOptions({
        {{QStringLiteral("h"), QStringLiteral("help")}, HostOptions::tr("Показать эту справку.")},
        {{QStringLiteral("v"), QStringLiteral("version")}, HostOptions::tr("Показать версию.")},
        {QStringLiteral("home"), HostOptions::tr("Папка всей трассы: документы, база и настройки."),
         QStringLiteral("DIR")},
        {QStringLiteral("plugin"), HostOptions::tr("Библиотека модуля кассы."), QStringLiteral("FILE")},
        {QStringLiteral("demo"), HostOptions::tr("Заполнить пустую трассу данными для показа.")},
        {QStringLiteral("demo-queue"),
         HostOptions::tr("То же, и очередь из стольких заездов по столько участников, и история."),
         QStringLiteral("RxN")},
        {QStringLiteral("speed"), HostOptions::tr("Во сколько раз быстрее часов идут заезды."), QStringLiteral("N")},
        {QStringLiteral("play"), HostOptions::tr("Сыграть сценарий без человека и завершиться."),
         QStringLiteral("FILE")},
        {QStringLiteral("out"), HostOptions::tr("Папка для снимков экрана сценария."), QStringLiteral("DIR")},
        {QStringLiteral("log"), HostOptions::tr("Файл журнала событий, строки JSON."), QStringLiteral("FILE")},
        {QStringLiteral("printer"), HostOptions::tr("Печатать документы на этом принтере, а не в файлы PDF."),
         QStringLiteral("NAME")},
        {QStringLiteral("record"), HostOptions::tr("Записать события этого запуска, в том же виде, в новый файл."),
         QStringLiteral("FILE")},
        {QStringLiteral("client-port"), HostOptions::tr("Порт для клиентов; 0 — любой свободный, off — без клиентов."),
         QStringLiteral("PORT"), QStringLiteral("9185")},
        {QStringLiteral("service-port"),
         HostOptions::tr("Порт онлайн-сервиса стенда; 0 — любой свободный, off — без него."), QStringLiteral("PORT"),
         QString::number(OnlineService::defaultPort)},
        {QStringLiteral("service-trouble"),
         HostOptions::tr("Как отвечает онлайн-сервис стенда: %1.")
             .arg(OnlineService::troubleNames().join(QStringLiteral(", "))),
         QStringLiteral("NAME"), OnlineService::troubleNames().constFirst()},
        {QStringLiteral("screenshot-size"), HostOptions::tr("Размер окна."), QStringLiteral("WxH")},
        {QStringLiteral("quit-after"), HostOptions::tr("Завершиться через столько миллисекунд."), QStringLiteral("MS")},
    });
}

QSize parseSize(const QString &text)
{
    static const QRegularExpression form(QStringLiteral("^([0-9]{1,5})x([0-9]{1,5})$"));
    const QRegularExpressionMatch match = form.match(text);
    return match.hasMatch() ? QSize(match.captured(1).toInt(), match.captured(2).toInt()) : QSize();
}

// Below noPort when the text is neither a port nor "off".
int parsePort(const QString &text)
{
    if (text == QLatin1String("off"))
        return noPort;
    bool ok = false;
    const int port = text.toInt(&ok);
    return ok && port >= 0 && port <= maxPort ? port : noPort - 1;
}

} // namespace

bool HostOptions::parse(const QStringList &arguments, HostOptions *options, QString *error)
{
    QCommandLineParser parser;
    addOptions(&parser);
    if (!parser.parse(arguments)) {
        *error = parser.errorText();
        return false;
    }
    if (!parser.positionalArguments().isEmpty()) {
        *error = tr("Лишний аргумент: %1").arg(parser.positionalArguments().constFirst());
        return false;
    }

    options->help = parser.isSet(QStringLiteral("help"));
    options->version = parser.isSet(QStringLiteral("version"));
    options->demo = parser.isSet(QStringLiteral("demo"));
    options->home = parser.value(QStringLiteral("home"));
    options->plugin = parser.value(QStringLiteral("plugin"));
    options->play = parser.value(QStringLiteral("play"));
    options->out = parser.value(QStringLiteral("out"));
    options->log = parser.value(QStringLiteral("log"));
    options->record = parser.value(QStringLiteral("record"));
    options->printer = parser.value(QStringLiteral("printer"));

    if (parser.isSet(QStringLiteral("screenshot-size"))) {
        options->windowSize = parseSize(parser.value(QStringLiteral("screenshot-size")));
        if (options->windowSize.isEmpty()) {
            *error = tr("Размер окна пишется как 1265x775");
            return false;
        }
    }
    if (parser.isSet(QStringLiteral("demo-queue"))) {
        options->demo = true;
        options->demoQueue = parseSize(parser.value(QStringLiteral("demo-queue")));
        if (options->demoQueue.isEmpty() || options->demoQueue.width() > maxDemoRuns
            || options->demoQueue.height() > maxDemoRacers) {
            *error = tr("Очередь пишется как 12x8, не больше %1x%2").arg(maxDemoRuns).arg(maxDemoRacers);
            return false;
        }
    }
    if (parser.isSet(QStringLiteral("speed"))) {
        bool ok = false;
        options->speed = parser.value(QStringLiteral("speed")).toInt(&ok);
        if (!ok || options->speed < 1 || options->speed > maxSpeed) {
            *error = tr("--speed: нужно число от 1 до %1").arg(maxSpeed);
            return false;
        }
    }
    if (parser.isSet(QStringLiteral("client-port"))) {
        options->clientPort = parsePort(parser.value(QStringLiteral("client-port")));
        if (options->clientPort < noPort) {
            *error = tr("--client-port: нужно число от 0 до %1 или off").arg(maxPort);
            return false;
        }
    }
    if (parser.isSet(QStringLiteral("service-port"))) {
        options->servicePort = parsePort(parser.value(QStringLiteral("service-port")));
        if (options->servicePort < noPort) {
            *error = tr("--service-port: нужно число от 0 до %1 или off").arg(maxPort);
            return false;
        }
    }
    options->serviceTrouble = parser.value(QStringLiteral("service-trouble"));
    if (!OnlineService::troubleNames().contains(options->serviceTrouble)) {
        *error =
            tr("--service-trouble: нужно одно из слов %1").arg(OnlineService::troubleNames().join(QStringLiteral(", ")));
        return false;
    }
    if (parser.isSet(QStringLiteral("quit-after"))) {
        bool ok = false;
        options->quitAfter = parser.value(QStringLiteral("quit-after")).toInt(&ok);
        if (!ok || options->quitAfter < 0) {
            *error = tr("--quit-after: нужно число миллисекунд");
            return false;
        }
    }
    return true;
}

QString HostOptions::helpText()
{
    QCommandLineParser parser;
    addOptions(&parser);
    return parser.helpText();
}
