#ifndef DOCUMENTPRINTER_H
#define DOCUMENTPRINTER_H

#include <QJsonObject>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVector>

/// A document as it went to the paper.
struct PrintedDocument
{
    QString templateName;
    /// The filled template.
    QString html;
    QString pinCode;
    /// All of its text, for whoever looks for a word in it.
    QString text;
    /// Names of the files, one a copy; or the printer's name.
    QStringList targets;
};

/// Prints what the desk asks for: fills the template of a job and lays it down as a PDF file or gives it to a printer.
/// GUI thread only.
class DocumentPrinter : public QObject
{
    Q_OBJECT

public:
    /// A template `<name>.html` in `templatesDirectory` goes before the one built in. The PDF files go to
    /// `outputDirectory`, made when it is needed; their names count on behind those that lie there.
    DocumentPrinter(const QString &templatesDirectory, const QString &outputDirectory, QObject *parent = nullptr);

    /// Sends documents to a printer of this machine from now on. False when it has none of this name: then they stay
    /// files.
    bool setPrinter(const QString &name);

    /// What has been printed since the start, in order.
    const QVector<PrintedDocument> &documents() const { return m_documents; }

    /// Takes an event of the desk; those that don't ask for paper are passed over. A queued connection lets the desk's
    /// own call end first.
    void take(const QString &module, const QString &event, const QJsonObject &payload);

Q_SIGNALS:
    /// The last of `documents()` is new.
    void printed();
    /// A job that left no document, in a sentence.
    void noted(const QString &sentence);

private:
    using Handler = void (DocumentPrinter::*)(const QJsonObject &);

    void onPrintJob(const QJsonObject &payload);
    void onPrintRun(const QJsonObject &payload);
    bool readTemplate(const QString &name, QString *html) const;
    bool printCopy(PrintedDocument *document) const;
    int nextNumber() const;

    QString m_templatesDirectory;
    QString m_outputDirectory;
    QString m_printer;
    QVector<PrintedDocument> m_documents;
};

#endif // DOCUMENTPRINTER_H
