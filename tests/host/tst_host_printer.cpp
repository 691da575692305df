#include "documents/documentprinter.h"
#include "printshop.h"

#include <QJsonObject>
#include <QtTest>

/// Documents given to printers of a print server.
class TestPrinter : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();
    void ticketOnARoll();
    void copiesAreJobsOfTheirOwn();
    void printerThatIsGone();
    void noSuchPrinter();

private:
    static void printTicket(DocumentPrinter *printer, const QString &name);

    PrintShop m_shop;
    QTemporaryDir m_home;
};

void TestPrinter::initTestCase()
{
    QVERIFY(m_home.isValid());
    QVERIFY2(m_shop.start(), qPrintable(m_shop.errorText()));
}

void TestPrinter::cleanup()
{
    QVERIFY2(m_shop.removeAllQueues(), qPrintable(m_shop.errorText()));
}

void TestPrinter::printTicket(DocumentPrinter *printer, const QString &name)
{
    printer->take(QStringLiteral("ticket_plugin"), QStringLiteral("print_document"),
                  {{QStringLiteral("templateName"), QStringLiteral("pos_ticket")},
                   {QStringLiteral("printParams"), QJsonObject{{QStringLiteral("CLIENTNAME"), name},
                                                               {QStringLiteral("PINCODE"), QStringLiteral("4821")}}}});
}

void TestPrinter::ticketOnARoll()
{
    const QString roll = QStringLiteral("Roll");
    QVERIFY2(m_shop.addQueue(roll), qPrintable(m_shop.errorText()));
    DocumentPrinter printer(m_home.filePath(QStringLiteral("templates")), m_home.filePath(QStringLiteral("printed")));
    QVERIFY(printer.setPrinter(roll));
    printTicket(&printer, QStringLiteral("Орлова Мария"));
    QCOMPARE(printer.documents().size(), 1);
    QCOMPARE(printer.documents().constFirst().targets, QStringList(roll));
    QVERIFY2(!QFileInfo::exists(m_home.filePath(QStringLiteral("printed"))), "paper or files, not both");

    const QStringList jobs = m_shop.jobs(roll, 1);
    QCOMPARE(jobs.size(), 1);
    QCOMPARE(Paper::pageCount(jobs.constFirst()), 1);
    const QString text = Paper::text(jobs.constFirst());
    QVERIFY2(text.contains(QStringLiteral("Орлова Мария")), qPrintable(text));
    QVERIFY2(text.contains(QStringLiteral("ПИН: 4821")), qPrintable(text));
    const QSizeF size = Paper::pageSize(jobs.constFirst());
    QVERIFY2(qAbs(size.width() - 80) < 0.5, qPrintable(QStringLiteral("%1 x %2").arg(size.width()).arg(size.height())));
    const QVector<Paper::Word> words = Paper::words(jobs.constFirst());
    for (const Paper::Word &word : words)
        QVERIFY2(word.box.left() >= 3.5 && word.box.right() <= 76.5, qPrintable(word.text));
    QCOMPARE(Paper::decodeQr(Paper::render(jobs.constFirst())), QStringList(QStringLiteral("?p=4821")));
}

void TestPrinter::copiesAreJobsOfTheirOwn()
{
    const QString office = QStringLiteral("Office");
    QVERIFY2(m_shop.addQueue(office, 210), qPrintable(m_shop.errorText()));
    DocumentPrinter printer(m_home.filePath(QStringLiteral("templates")), m_home.filePath(QStringLiteral("printed")));
    QVERIFY(printer.setPrinter(office));
    printer.take(QStringLiteral("print_preprocessor"), QStringLiteral("print_results"),
                 {{QStringLiteral("templateName"), QStringLiteral("safety")},
                  {QStringLiteral("printCount"), 2},
                  {QStringLiteral("printParams"),
                   QJsonObject{{QStringLiteral("MAINNAME"), QStringLiteral("Орлова Мария Петровна")}}}});
    const QStringList jobs = m_shop.jobs(office, 2);
    QCOMPARE(jobs.size(), 2);
    for (const QString &job : jobs) {
        QCOMPARE(Paper::pageCount(job), 1);
        QVERIFY(Paper::text(job).contains(QStringLiteral("Орлова Мария Петровна")));
        QVERIFY(qAbs(Paper::pageSize(job).width() - 210) < 0.5);
    }
    QCOMPARE(printer.documents().constFirst().targets, QStringList({office, office}));
}

void TestPrinter::printerThatIsGone()
{
    const QString roll = QStringLiteral("Roll");
    QVERIFY2(m_shop.addQueue(roll), qPrintable(m_shop.errorText()));
    DocumentPrinter printer(m_home.filePath(QStringLiteral("templates")), m_home.filePath(QStringLiteral("printed")));
    QVERIFY(printer.setPrinter(roll));
    QVERIFY2(m_shop.removeQueue(roll), qPrintable(m_shop.errorText()));
    QSignalSpy noted(&printer, &DocumentPrinter::noted);
    printTicket(&printer, QStringLiteral("Орлова Мария"));
    QCOMPARE(noted.size(), 1);
    QVERIFY(noted.at(0).at(0).toString().contains(roll));
    QVERIFY(printer.documents().isEmpty());
}

void TestPrinter::noSuchPrinter()
{
    DocumentPrinter printer(m_home.filePath(QStringLiteral("templates")), m_home.filePath(QStringLiteral("printed")));
    QVERIFY(!printer.setPrinter(QStringLiteral("Roll")));
    QVERIFY(!printer.setPrinter(QString()));
    printTicket(&printer, QStringLiteral("Орлова Мария"));
    QVERIFY2(!printer.documents().isEmpty()
                 && printer.documents().constFirst().targets.constFirst().endsWith(QLatin1String(".pdf")),
             "it goes on printing to files");
}

QTEST_MAIN(TestPrinter)
#include "tst_host_printer.moc"
