#include "printshop.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTcpServer>
#include <QTcpSocket>
#include <QtTest>
#include <QXmlStreamReader>

#include <algorithm>

namespace {

const double MillimetresPerPoint = 25.4 / 72.0;
const double RollLength = 297;
const double BlindEdge = 4;

// Administration stands in folders that an ordinary user's PATH does not have.
QString findTool(const QString &name)
{
    const QString found = QStandardPaths::findExecutable(name);
    if (!found.isEmpty())
        return found;
    return QStandardPaths::findExecutable(name, {QStringLiteral("/usr/sbin"), QStringLiteral("/usr/local/sbin")});
}

QProcessEnvironment plainEnvironment()
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("C.UTF-8"));
    return environment;
}

quint16 freePort()
{
    QTcpServer server;
    return server.listen(QHostAddress::LocalHost) ? server.serverPort() : quint16(0);
}

QByteArray points(double millimetres)
{
    return QByteArray::number(millimetres / MillimetresPerPoint, 'f', 2);
}

// A description of a printer on a roll. Pages are taken as they come: the job's file is what the desk has drawn.
QByteArray rollDescription(int width)
{
    QByteArray text = R"ppd(*PPD-Adobe: "4.3"
*FormatVersion: "4.3"
*FileVersion: "1.0"
*LanguageVersion: English
*LanguageEncoding: ISOLatin1
*PCFileName: "ROLL.PPD"
*Manufacturer: "Track"
*Product: "(Receipt roll)"
*ModelName: "Receipt roll"
*ShortNickName: "Receipt roll"
*NickName: "Receipt roll"
*PSVersion: "(3010.000) 0"
*LanguageLevel: "3"
*ColorDevice: False
*DefaultColorSpace: Gray
*FileSystem: False
*Throughput: "1"
*LandscapeOrientation: Plus90
*TTRasterizer: Type42
*cupsVersion: 2.0
*cupsModelNumber: 0
*cupsManualCopies: True
*cupsSNMPSupplies: False
*cupsFilter2: "application/pdf application/pdf 0 -"
*OpenUI *PageSize/Media Size: PickOne
*OrderDependency: 10 AnySetup *PageSize
*DefaultPageSize: Roll
*PageSize Roll/Roll: "<</PageSize[@W @L]>>setpagedevice"
*CloseUI: *PageSize
*OpenUI *PageRegion/Media Size: PickOne
*OrderDependency: 10 AnySetup *PageRegion
*DefaultPageRegion: Roll
*PageRegion Roll/Roll: "<</PageSize[@W @L]>>setpagedevice"
*CloseUI: *PageRegion
*DefaultImageableArea: Roll
*ImageableArea Roll/Roll: "@A 0 @B @L"
*DefaultPaperDimension: Roll
*PaperDimension Roll/Roll: "@W @L"
*DefaultResolution: 203dpi
*DefaultFont: Courier
)ppd";
    text.replace("@W", points(width));
    text.replace("@L", points(RollLength));
    text.replace("@A", points(BlindEdge));
    text.replace("@B", points(width - BlindEdge));
    return text;
}

// Runs a tool to its end and returns what it has written.
QByteArray toolOutput(const QString &name, const QStringList &arguments, const QList<int> &goodCodes = {0})
{
    const QString program = findTool(name);
    if (program.isEmpty())
        qFatal("%s is missing: install what scripts/packages.txt names", qPrintable(name));
    QProcess process;
    process.setProcessEnvironment(plainEnvironment());
    process.start(program, arguments);
    if (!process.waitForFinished(60000) || process.exitStatus() != QProcess::NormalExit
        || !goodCodes.contains(process.exitCode()))
        qFatal("%s failed: %s", qPrintable(name), process.readAllStandardError().constData());
    return process.readAllStandardOutput();
}

QString pageFact(const QString &file, const QString &name)
{
    const QString facts = QString::fromUtf8(toolOutput(QStringLiteral("pdfinfo"), {file}));
    const QRegularExpression line(QStringLiteral("^%1: +(.*)$").arg(name), QRegularExpression::MultilineOption);
    const QRegularExpressionMatch match = line.match(facts);
    if (!match.hasMatch())
        qFatal("pdfinfo does not tell \"%s\" of %s", qPrintable(name), qPrintable(file));
    return match.captured(1).trimmed();
}

} // namespace

PrintShop::PrintShop() = default;

PrintShop::~PrintShop()
{
    if (m_server.state() == QProcess::NotRunning)
        return;
    m_server.terminate();
    if (!m_server.waitForFinished(10000)) {
        m_server.kill();
        m_server.waitForFinished();
    }
}

QString PrintShop::path(const QString &name) const
{
    return m_dir.filePath(name);
}

bool PrintShop::writeFile(const QString &name, const QByteArray &bytes)
{
    QFile file(path(name));
    if (file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size())
        return true;
    m_error = QStringLiteral("%1: %2").arg(file.fileName(), file.errorString());
    return false;
}

bool PrintShop::start()
{
    const QString program = findTool(QStringLiteral("cupsd"));
    if (program.isEmpty()) {
        m_error = QStringLiteral("cupsd is missing: install what scripts/packages.txt names");
        return false;
    }
    const quint16 port = freePort();
    if (!m_dir.isValid() || port == 0) {
        m_error = QStringLiteral("no temporary folder or no free port");
        return false;
    }
    // Started by root the server serves as another user, who must be able to reach the folder.
    const QFile::Permissions open = QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner | QFile::ReadGroup
                                    | QFile::ExeGroup | QFile::ReadOther | QFile::ExeOther;
    const char *const folders[] = {"root", "root/ppd", "root/ssl", "cache", "state", "spool", "temp", "log"};
    QFile::setPermissions(m_dir.path(), open);
    for (const char *folder : folders) {
        QDir().mkpath(path(QString::fromLatin1(folder)));
        QFile::setPermissions(path(QString::fromLatin1(folder)), open);
    }

    QByteArray files;
    const QFileInfo own(m_dir.path());
    if (own.ownerId() == 0)
        files += "User lp\nGroup lp\nSystemGroup root\n";
    else
        files += "User " + own.owner().toUtf8() + "\nGroup " + own.group().toUtf8() + "\nSystemGroup root\n";
    const char *const places[][2] = {
        {"ServerRoot", "root"},          {"CacheDir", "cache"},         {"StateDir", "state"},
        {"RequestRoot", "spool"},        {"TempDir", "temp"},           {"ServerKeychain", "root/ssl"},
        {"AccessLog", "log/access_log"}, {"ErrorLog", "log/error_log"}, {"PageLog", "log/page_log"}};
    for (const auto &place : places)
        files += QByteArray(place[0]) + ' ' + QFile::encodeName(path(QString::fromLatin1(place[1]))) + '\n';
    files += "FileDevice Yes\nSandboxing Relaxed\nPrintcap\n";

    m_address = QStringLiteral("127.0.0.1:%1").arg(port);
    const QByteArray server = "Listen " + m_address.toLatin1() + R"(
LogLevel info
Browsing Off
DefaultEncryption Never
DefaultAuthType None
WebInterface No
PreserveJobHistory Yes
PreserveJobFiles Yes
MaxJobs 0
<Location />
Order allow,deny
Allow all
</Location>
<Location /admin>
Order allow,deny
Allow all
</Location>
<Policy default>
JobPrivateAccess all
JobPrivateValues none
SubscriptionPrivateAccess all
SubscriptionPrivateValues none
<Limit All>
Order deny,allow
</Limit>
</Policy>
)";
    if (!writeFile(QStringLiteral("root/cups-files.conf"), files)
        || !writeFile(QStringLiteral("root/cupsd.conf"), server))
        return false;

    m_server.setProcessChannelMode(QProcess::MergedChannels);
    m_server.setProcessEnvironment(plainEnvironment());
    m_server.start(program, {QStringLiteral("-f"), QStringLiteral("-c"), path(QStringLiteral("root/cupsd.conf")),
                             QStringLiteral("-s"), path(QStringLiteral("root/cups-files.conf"))});
    QElapsedTimer clock;
    clock.start();
    for (;;) {
        QTcpSocket socket;
        socket.connectToHost(QHostAddress::LocalHost, port);
        if (socket.waitForConnected(500))
            break;
        if (m_server.state() == QProcess::NotRunning || clock.hasExpired(20000)) {
            QFile log(path(QStringLiteral("log/error_log")));
            m_error = QStringLiteral("the print server does not start: %1").arg(QString::fromUtf8(m_server.readAll()));
            if (log.open(QIODevice::ReadOnly))
                m_error += QString::fromUtf8(log.readAll());
            return false;
        }
        QTest::qSleep(50);
    }

    qputenv("CUPS_SERVER", m_address.toLatin1());
    // No printers of the neighbourhood among those of the shop.
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=" + QFile::encodeName(path(QStringLiteral("no-bus"))));
    return true;
}

bool PrintShop::run(const QString &tool, const QStringList &arguments, QByteArray *output)
{
    if (m_server.state() == QProcess::NotRunning) {
        m_error = QStringLiteral("the print server does not run");
        return false;
    }
    QProcess process;
    process.setProcessEnvironment(plainEnvironment());
    process.start(findTool(tool), QStringList{QStringLiteral("-h"), m_address} + arguments);
    if (process.waitForFinished(30000) && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0) {
        if (output)
            *output = process.readAllStandardOutput();
        return true;
    }
    m_error =
        QStringLiteral("%1: %2 %3").arg(tool, process.errorString(), QString::fromUtf8(process.readAllStandardError()));
    return false;
}

bool PrintShop::addQueue(const QString &name, int rollWidth, const QString &description)
{
    const QString file = QStringLiteral("roll%1.ppd").arg(rollWidth);
    if (!writeFile(file, rollDescription(rollWidth)))
        return false;
    if (!run(QStringLiteral("lpadmin"),
             {QStringLiteral("-p"), name, QStringLiteral("-v"), QStringLiteral("file:///dev/null"),
              QStringLiteral("-P"), path(file), QStringLiteral("-D"), description.isEmpty() ? name : description,
              QStringLiteral("-E")}))
        return false;
    m_queues.append(name);
    return true;
}

bool PrintShop::removeQueue(const QString &name)
{
    m_queues.removeAll(name);
    return run(QStringLiteral("lpadmin"), {QStringLiteral("-x"), name});
}

bool PrintShop::removeAllQueues()
{
    bool ok = true;
    const QStringList queues = m_queues;
    for (const QString &queue : queues)
        ok = removeQueue(queue) && ok;
    return ok;
}

QStringList PrintShop::jobs(const QString &queue, int count, int milliseconds)
{
    QStringList files;
    const bool there = QTest::qWaitFor(
        [&] {
            files = jobFiles(queue, QStringLiteral("completed"));
            return files.size() >= count;
        },
        milliseconds);
    if (!there)
        qWarning("%d of %d jobs came out of %s", files.size(), count, qPrintable(queue));
    QTest::qWait(300);
    return sent(queue).size() == files.size() ? files : sent(queue);
}

QStringList PrintShop::sent(const QString &queue)
{
    return jobFiles(queue, QStringLiteral("all"));
}

QStringList PrintShop::jobFiles(const QString &queue, const QString &which)
{
    QByteArray output;
    if (!run(QStringLiteral("lpstat"), {QStringLiteral("-W"), which, QStringLiteral("-o"), queue}, &output))
        qFatal("%s", qPrintable(m_error));
    // "Front-POS-17   user   8192   date"
    QVector<int> numbers;
    const QList<QByteArray> lines = output.split('\n');
    for (const QByteArray &line : lines) {
        const QByteArray job = line.left(line.indexOf(' '));
        if (!job.isEmpty())
            numbers.append(job.mid(job.lastIndexOf('-') + 1).toInt());
    }
    std::sort(numbers.begin(), numbers.end());
    QStringList files;
    for (const int number : qAsConst(numbers))
        files.append(path(QStringLiteral("spool/d%1-001").arg(number, 5, 10, QLatin1Char('0'))));
    return files;
}

int Paper::pageCount(const QString &file)
{
    return pageFact(file, QStringLiteral("Pages")).toInt();
}

QSizeF Paper::pageSize(const QString &file)
{
    const QStringList parts = pageFact(file, QStringLiteral("Page size")).split(QLatin1Char(' '));
    return QSizeF(parts.value(0).toDouble(), parts.value(2).toDouble()) * MillimetresPerPoint;
}

QString Paper::text(const QString &file)
{
    return QString::fromUtf8(
        toolOutput(QStringLiteral("pdftotext"), {QStringLiteral("-layout"), file, QStringLiteral("-")}));
}

QVector<Paper::Word> Paper::words(const QString &file)
{
    QVector<Word> words;
    QXmlStreamReader xml(toolOutput(QStringLiteral("pdftotext"),
                                    {QStringLiteral("-bbox"), QStringLiteral("-raw"), file, QStringLiteral("-")}));
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement || xml.name() != QLatin1String("word"))
            continue;
        const QXmlStreamAttributes box = xml.attributes();
        const auto side = [&](const char *name) {
            return box.value(QString::fromLatin1(name)).toDouble() * MillimetresPerPoint;
        };
        const QPointF corner(side("xMin"), side("yMin"));
        const QPointF opposite(side("xMax"), side("yMax"));
        words.append({xml.readElementText(), QRectF(corner, opposite)});
    }
    return words;
}

QImage Paper::render(const QString &file, int dotsPerInch)
{
    const QTemporaryDir folder;
    const QString target = folder.filePath(QStringLiteral("page"));
    const QString no = QStringLiteral("no");
    toolOutput(QStringLiteral("pdftoppm"), {QStringLiteral("-png"), QStringLiteral("-singlefile"), QStringLiteral("-r"),
                                            QString::number(dotsPerInch), QStringLiteral("-aa"), no,
                                            QStringLiteral("-aaVector"), no, file, target});
    const QImage picture(target + QLatin1String(".png"));
    if (picture.isNull())
        qFatal("pdftoppm has drawn no page of %s", qPrintable(file));
    return picture.convertToFormat(QImage::Format_RGB32);
}

QRect Paper::ink(const QImage &picture)
{
    QRect ink;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            if (qGray(picture.pixel(x, y)) < 250)
                ink |= QRect(x, y, 1, 1);
        }
    }
    return ink;
}

QStringList Paper::decodeQr(const QImage &picture)
{
    const QTemporaryDir folder;
    const QString file = folder.filePath(QStringLiteral("picture.png"));
    if (!picture.save(file))
        qFatal("no room for a picture in %s", qPrintable(folder.path()));
    // 4: no code found.
    const QByteArray output = toolOutput(QStringLiteral("zbarimg"),
                                         {QStringLiteral("--nodbus"), QStringLiteral("-q"), QStringLiteral("--raw"),
                                          QStringLiteral("-Sdisable"), QStringLiteral("-Sqrcode.enable"), file},
                                         {0, 4});
    // One line feed ends each code.
    QStringList texts = QString::fromUtf8(output).split(QLatin1Char('\n'));
    texts.removeLast();
    return texts;
}
