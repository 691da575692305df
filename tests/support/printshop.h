#ifndef PRINTSHOP_H
#define PRINTSHOP_H

#include <QByteArray>
#include <QImage>
#include <QProcess>
#include <QRectF>
#include <QSizeF>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <QVector>

/// A printing service for one test program: a CUPS server on loopback with a configuration, a spool and a port of its
/// own in a temporary folder, and roll printers that keep every job as the file in which it came. No service of the
/// machine is asked or touched. Runs as root and as anybody.
///
/// One for each process, started before anything in it asks for printers: the process remembers its server for good.
class PrintShop
{
public:
    PrintShop();
    /// Closes the shop; everything printed is gone then.
    ~PrintShop();
    Q_DISABLE_COPY(PrintShop)

    /// Starts the server and points this process to it. False leaves the reason in errorText().
    bool start();
    /// What went wrong last, with what the server or the tool said about it.
    QString errorText() const { return m_error; }

    /// Sets up a printer on a roll of that width: its paper is 297 mm long, and it can't print on 4 mm at either side.
    bool addQueue(const QString &name, int rollWidth = 80, const QString &description = QString());
    /// Takes a printer down, and what it has printed with it.
    bool removeQueue(const QString &name);
    /// Takes all printers down.
    bool removeAllQueues();

    /// Waits until the printer has finished so many jobs, and a little longer for any that are too many. Returns the
    /// files of all of them, in the order in which they were sent.
    QStringList jobs(const QString &queue, int count, int milliseconds = 20000);
    /// Files of the jobs that were ever sent to the printer, finished or not.
    QStringList sent(const QString &queue);

private:
    bool run(const QString &tool, const QStringList &arguments, QByteArray *output = nullptr);
    QStringList jobFiles(const QString &queue, const QString &which);
    QString path(const QString &name) const;
    bool writeFile(const QString &name, const QByteArray &bytes);

    QTemporaryDir m_dir;
    QProcess m_server;
    QStringList m_queues;
    QString m_address;
    QString m_error;
};

/// Looks at printed pages with tools that know nothing of the desk. A tool that is missing or fails ends the test
/// program.
namespace Paper {

/// One word on a page; millimetres from the upper left corner of the paper.
struct Word
{
    QString text;
    QRectF box;
};

int pageCount(const QString &file);
/// Millimetres.
QSizeF pageSize(const QString &file);
QString text(const QString &file);
/// Words in the order of the page's text.
QVector<Word> words(const QString &file);
/// The first page as a picture without smoothing.
QImage render(const QString &file, int dotsPerInch = 300);
/// Bounding rectangle of everything that is not white, in pixels.
QRect ink(const QImage &picture);
/// Texts of all QR codes in the picture; nothing is trimmed.
QStringList decodeQr(const QImage &picture);

} // namespace Paper

#endif // PRINTSHOP_H
