#include "documents/documentprinter.h"

#include "documents/documentpages.h"
#include "documents/documenttemplate.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QPdfWriter>
#include <QPrinter>
#include <QPrinterInfo>

// A static library's resources are only there when somebody asks for them, and not from inside a namespace.
static void takeInBuiltInTemplates()
{
    Q_INIT_RESOURCE(documents);
}

namespace {

// A job that asks for a thousand copies is a mistake, and paper costs money.
constexpr int maxCopies = 20;
constexpr int numberDigits = 5;

} // namespace

DocumentPrinter::DocumentPrinter(const QString &templatesDirectory, const QString &outputDirectory, QObject *parent)
    : QObject(parent)
    , m_templatesDirectory(templatesDirectory)
    , m_outputDirectory(outputDirectory)
{
    takeInBuiltInTemplates();
}

bool DocumentPrinter::setPrinter(const QString &name)
{
    if (QPrinterInfo::printerInfo(name).isNull())
        return false;
    m_printer = name;
    return true;
}

void DocumentPrinter::take(const QString &module, const QString &event, const QJsonObject &payload)
{
    // Forms come from the desk's print preprocessor, the rest from the desk under its own name.
    static const struct
    {
        const char *event;
        const char *module;
        Handler handler;
    } handlers[] = {
        {"print_document", nullptr, &DocumentPrinter::onPrintJob},
        {"print_results", "print_preprocessor", &DocumentPrinter::onPrintJob},
        {"print_run", nullptr, &DocumentPrinter::onPrintRun},
    };
    for (const auto &entry : handlers) {
        if (event == QLatin1String(entry.event) && (!entry.module || module == QLatin1String(entry.module))) {
            (this->*entry.handler)(payload);
            return;
        }
    }
}

void DocumentPrinter::onPrintJob(const QJsonObject &payload)
{
    PrintedDocument document;
    document.templateName = payload.value(QStringLiteral("templateName")).toString();
    QString html;
    if (!readTemplate(document.templateName, &html)) {
        Q_EMIT noted(tr("Нет шаблона «%1», ничего не напечатано").arg(document.templateName));
        return;
    }
    const QJsonObject params = payload.value(QStringLiteral("printParams")).toObject();
    document.html = DocumentTemplate::filled(html, params);
    document.pinCode = params.value(QStringLiteral("PINCODE")).toString();
    document.text = DocumentPages(document.templateName, document.html, document.pinCode).text();

    const int copies = qBound(1, payload.value(QStringLiteral("printCount")).toInt(1), maxCopies);
    bool done = true;
    for (int copy = 0; copy < copies && done; ++copy)
        done = printCopy(&document);
    if (!done)
        Q_EMIT noted(tr("Документ «%1» не печатается: %2")
                         .arg(document.templateName, m_printer.isEmpty() ? m_outputDirectory : m_printer));
    if (document.targets.isEmpty())
        return;
    m_documents.append(document);
    Q_EMIT printed();
}

void DocumentPrinter::onPrintRun(const QJsonObject &payload)
{
    Q_EMIT noted(tr("Запрошены результаты заезда: %1")
                     .arg(QString::fromUtf8(QJsonDocument(payload).toJson(QJsonDocument::Compact))));
}

bool DocumentPrinter::readTemplate(const QString &name, QString *html) const
{
    if (!DocumentTemplate::isName(name))
        return false;
    const QString fileName = name + QStringLiteral(".html");
    for (const QString &directory : {m_templatesDirectory, QStringLiteral(":/documents")}) {
        QFile file(QDir(directory).filePath(fileName));
        if (file.open(QIODevice::ReadOnly)) {
            *html = QString::fromUtf8(file.readAll());
            return true;
        }
    }
    return false;
}

bool DocumentPrinter::printCopy(PrintedDocument *document) const
{
    DocumentPages pages(document->templateName, document->html, document->pinCode);
    if (!m_printer.isEmpty()) {
        const QPrinterInfo info = QPrinterInfo::printerInfo(m_printer);
        QPrinter printer(info, QPrinter::HighResolution);
        // Not every printer takes paper of any length; one that doesn't stays with its own.
        printer.setPageSize(info.defaultPageSize());
        printer.setDocName(document->templateName);
        if (!pages.print(&printer))
            return false;
        document->targets.append(m_printer);
        return true;
    }

    const QDir directory(m_outputDirectory);
    if (!directory.mkpath(QStringLiteral(".")))
        return false;
    const QString fileName =
        QStringLiteral("%1-%2.pdf").arg(nextNumber(), numberDigits, 10, QLatin1Char('0')).arg(document->templateName);
    QPdfWriter writer(directory.filePath(fileName));
    writer.setTitle(document->templateName);
    if (!pages.print(&writer))
        return false;
    document->targets.append(fileName);
    return true;
}

int DocumentPrinter::nextNumber() const
{
    int highest = 0;
    const QStringList files = QDir(m_outputDirectory).entryList({QStringLiteral("*.pdf")}, QDir::Files);
    for (const QString &file : files)
        highest = qMax(highest, file.section(QLatin1Char('-'), 0, 0).toInt());
    return highest + 1;
}
