#include "client/clientoptions.h"

#include <QCommandLineParser>
#include <QFile>
#include <QJsonDocument>
#include <QJsonParseError>

namespace {

constexpr int maxSeconds = 86400;
constexpr int msInSecond = 1000;
const QLatin1String defaultSeconds("5");

const struct
{
    const char *name;
    ClientOptions::Command command;
    /// Words after the command.
    int minWords;
    int maxWords;
} commands[] = {
    {"request", ClientOptions::Request, 1, 2},
    {"remote", ClientOptions::Remote, 1, 2},
    {"follow", ClientOptions::Follow, 0, 0},
};

// An option that says something to one command only.
const struct
{
    const char *option;
    ClientOptions::Command command;
} owners[] = {
    {"link", ClientOptions::Request},
    {"track", ClientOptions::Remote},
    {"only", ClientOptions::Follow},
    {"count", ClientOptions::Follow},
};

void addOptions(QCommandLineParser *parser)
{
    parser->setApplicationDescription(ClientOptions::tr(
        "Клиент стенда кассы: задаёт кассе вопрос и печатает ответ, или печатает всё, что касса сообщает клиентам."));
    parser->addPositionalArgument(QStringLiteral("request"), ClientOptions::tr("Запрос local_request."),
                                  QStringLiteral("request NAME [JSON]"));
    parser->addPositionalArgument(QStringLiteral("remote"), ClientOptions::tr("Запрос remote_control_data."),
                                  QStringLiteral("| remote NAME [JSON]"));
    parser->addPositionalArgument(QStringLiteral("follow"),
                                  ClientOptions::tr("Сообщения кассы, по строке JSON, пока не прервут. "
                                                    "JSON — сам объект, @FILE или - (стандартный ввод)."),
                                  QStringLiteral("| follow"));
    parser->addOptions({
        {{QStringLiteral("h"), QStringLiteral("help")}, ClientOptions::tr("Показать эту справку.")},
        {{QStringLiteral("v"), QStringLiteral("version")}, ClientOptions::tr("Показать версию.")},
        {QStringLiteral("url"), ClientOptions::tr("Где стенд слушает клиентов."), QStringLiteral("URL"),
         QStringLiteral("ws://127.0.0.1:9185")},
        {QStringLiteral("timeout"), ClientOptions::tr("Сколько секунд ждать; для follow без этого ключа — без конца."),
         QStringLiteral("SECONDS"), defaultSeconds},
        {QStringLiteral("pretty"), ClientOptions::tr("Печатать JSON с отступами.")},
        {QStringLiteral("link"), ClientOptions::tr("request: свой linkGuid."), QStringLiteral("TEXT")},
        {QStringLiteral("track"), ClientOptions::tr("remote: ключ трассы, trackId."), QStringLiteral("ID")},
        {QStringLiteral("only"), ClientOptions::tr("follow: только сообщения с этим ключом."), QStringLiteral("KEY")},
        {QStringLiteral("count"), ClientOptions::tr("follow: закончить после стольких сообщений."),
         QStringLiteral("N")},
    });
}

bool readObject(const QString &word, QIODevice *input, QJsonObject *object, QString *error)
{
    QByteArray bytes = word.toUtf8();
    if (word == QLatin1String("-")) {
        bytes = input->readAll();
    } else if (word.startsWith(QLatin1Char('@'))) {
        QFile file(word.mid(1));
        if (!file.open(QIODevice::ReadOnly)) {
            *error = ClientOptions::tr("%1: %2").arg(file.fileName(), file.errorString());
            return false;
        }
        bytes = file.readAll();
    }
    QJsonParseError parsing;
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &parsing);
    if (!document.isObject()) {
        *error = document.isNull() ? ClientOptions::tr("неверный JSON: %1").arg(parsing.errorString())
                                   : ClientOptions::tr("нужен объект JSON");
        return false;
    }
    *object = document.object();
    return true;
}

bool readTimeout(const QCommandLineParser &parser, ClientOptions *options, QString *error)
{
    if (options->command == ClientOptions::Follow && !parser.isSet(QStringLiteral("timeout")))
        return true;
    bool ok = false;
    const double seconds = parser.value(QStringLiteral("timeout")).toDouble(&ok);
    ok = ok && seconds > 0 && seconds <= maxSeconds;
    if (ok)
        options->timeoutMs = qMax(1, qRound(seconds * msInSecond));
    else
        *error = ClientOptions::tr("--timeout: нужно число секунд, больше 0 и не больше %1").arg(maxSeconds);
    return ok;
}

bool readCommand(const QStringList &words, ClientOptions *options, QString *error)
{
    if (words.isEmpty()) {
        *error = ClientOptions::tr("нужна команда: request, remote или follow");
        return false;
    }
    for (const auto &candidate : commands) {
        if (words.constFirst() != QLatin1String(candidate.name))
            continue;
        options->command = candidate.command;
        const int count = words.size() - 1;
        if (count < candidate.minWords)
            *error = ClientOptions::tr("%1: нужно имя запроса").arg(words.constFirst());
        else if (count > candidate.maxWords)
            *error = ClientOptions::tr("%1: лишний аргумент: %2").arg(words.constFirst(), words.constLast());
        return error->isEmpty();
    }
    *error = ClientOptions::tr("неизвестная команда: %1").arg(words.constFirst());
    return false;
}

} // namespace

bool ClientOptions::parse(const QStringList &arguments, QIODevice *input, ClientOptions *options, QString *error)
{
    QCommandLineParser parser;
    addOptions(&parser);
    error->clear();
    if (!parser.parse(arguments)) {
        *error = parser.errorText();
        return false;
    }
    options->help = parser.isSet(QStringLiteral("help"));
    options->version = parser.isSet(QStringLiteral("version"));
    if (options->help || options->version)
        return true;

    const QStringList words = parser.positionalArguments();
    if (!readCommand(words, options, error) || !readTimeout(parser, options, error))
        return false;
    for (const auto &owner : owners) {
        if (parser.isSet(QLatin1String(owner.option)) && owner.command != options->command) {
            *error = tr("--%1: не для команды %2").arg(QLatin1String(owner.option), words.constFirst());
            return false;
        }
    }

    options->name = words.value(1);
    options->pretty = parser.isSet(QStringLiteral("pretty"));
    options->only = parser.value(QStringLiteral("only"));
    options->url = QUrl(parser.value(QStringLiteral("url")), QUrl::StrictMode);
    if (!options->url.isValid() || options->url.scheme() != QLatin1String("ws") || options->url.host().isEmpty()) {
        *error = tr("--url: пишется как ws://127.0.0.1:9185");
        return false;
    }
    if (parser.isSet(QStringLiteral("count"))) {
        options->count = parser.value(QStringLiteral("count")).toInt();
        if (options->count < 1) {
            *error = tr("--count: нужно число от 1");
            return false;
        }
    }
    if (words.size() > 2 && !readObject(words.at(2), input, &options->payload, error))
        return false;
    if (parser.isSet(QStringLiteral("link")))
        options->link = parser.value(QStringLiteral("link"));
    if (parser.isSet(QStringLiteral("track")))
        options->payload.insert(QStringLiteral("trackId"), parser.value(QStringLiteral("track")));
    return true;
}

QString ClientOptions::helpText()
{
    QCommandLineParser parser;
    addOptions(&parser);
    return parser.helpText();
}
