#include "documents/documentpages.h"
#include "documents/documentprinter.h"
#include "documents/documentsview.h"
#include "documents/documenttemplate.h"

#include <QImage>
#include <QJsonArray>
#include <QLabel>
#include <QListWidget>
#include <QProcess>
#include <QtTest>

namespace {

const QString desk = QStringLiteral("ticket_plugin");

QJsonObject ticketParams()
{
    return {{QStringLiteral("ticketSrc"), QStringLiteral("runQueue")},
            {QStringLiteral("PRINTDATE"), QStringLiteral("21.11.2026")},
            {QStringLiteral("RUNNAME"), QStringLiteral("Заезд №7")},
            {QStringLiteral("CLIENTNAME"), QStringLiteral("Орлова <Мария> & Ко")},
            {QStringLiteral("SALESITEM"), QStringLiteral("Взрослый заезд")},
            {QStringLiteral("PINCODE"), QStringLiteral("4821")}};
}

QJsonObject ticketJob(const QJsonObject &params = ticketParams())
{
    return {{QStringLiteral("printParams"), params}, {QStringLiteral("templateName"), QStringLiteral("pos_ticket")}};
}

QJsonObject safetyJob(const QString &kids, int copies = 1)
{
    return {{QStringLiteral("printParams"), QJsonObject{{QStringLiteral("MAINNAME"), QStringLiteral("Орлова Мария ")},
                                                        {QStringLiteral("KIDSLIST"), kids},
                                                        {QStringLiteral("CURRENTDATE"), QStringLiteral("21.11.2026")}}},
            {QStringLiteral("printCount"), copies},
            {QStringLiteral("preview"), false},
            {QStringLiteral("sortType"), 0},
            {QStringLiteral("templateName"), QStringLiteral("safety")}};
}

// What a program of the system says about a file.
QString outputOf(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.start(program, arguments, QIODevice::ReadOnly);
    if (!process.waitForFinished(20000) || process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0)
        return program + QStringLiteral(" failed: ") + process.errorString()
               + QString::fromUtf8(process.readAllStandardError());
    return QString::fromUtf8(process.readAllStandardOutput());
}

QString textOf(const QString &pdf)
{
    return outputOf(QStringLiteral("pdftotext"), {QStringLiteral("-layout"), pdf, QStringLiteral("-")});
}

// Width and height of the first page in millimetres.
QSizeF paperOf(const QString &pdf)
{
    static const QRegularExpression form(QStringLiteral("Page size: +([0-9.]+) x ([0-9.]+) pts"));
    const QRegularExpressionMatch match = form.match(outputOf(QStringLiteral("pdfinfo"), {pdf}));
    return QSizeF(match.captured(1).toDouble(), match.captured(2).toDouble()) / 72 * 25.4;
}

int pagesOf(const QString &pdf)
{
    static const QRegularExpression form(QStringLiteral("Pages: +([0-9]+)"));
    return form.match(outputOf(QStringLiteral("pdfinfo"), {pdf})).captured(1).toInt();
}

bool write(const QString &fileName, const QByteArray &content)
{
    QDir().mkpath(QFileInfo(fileName).absolutePath());
    QFile file(fileName);
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
}

} // namespace

/// Documents from the desk's events to the paper, read back from the PDF by other programs.
class TestDocuments : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void names_data();
    void names();
    void fills_data();
    void fills();

    void ticket();
    void ticketIsCutBehindItsText();
    void ticketCarriesTheCode_data();
    void ticketCarriesTheCode();
    void pinThatNoCodeHolds();
    void safetyForm();
    void safetyFormWithoutMinors();
    void longDocumentGoesOn();
    void copies_data();
    void copies();
    void filesCountOn();
    void trackHasItsOwnTemplate();
    void trackHasAnotherDocument();
    void unknownTemplate_data();
    void unknownTemplate();
    void folderThatCantBeWritten();
    void otherEventsPrintNothing_data();
    void otherEventsPrintNothing();
    void runSheetIsNoted();

    void viewShowsTheLast();
    void previewIsTheWholeDocument();

private:
    QString printed(const QString &name) const { return m_home->filePath(QStringLiteral("printed/") + name); }
    QStringList files() const { return QDir(printed(QString())).entryList(QDir::Files, QDir::Name); }

    QScopedPointer<QTemporaryDir> m_home;
    QScopedPointer<DocumentPrinter> m_printer;
};

void TestDocuments::init()
{
    m_home.reset(new QTemporaryDir);
    QVERIFY(m_home->isValid());
    m_printer.reset(new DocumentPrinter(m_home->filePath(QStringLiteral("templates")),
                                        m_home->filePath(QStringLiteral("printed"))));
}

void TestDocuments::names_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("ok");
    QTest::newRow("ticket") << QStringLiteral("pos_ticket") << true;
    QTest::newRow("dash and digit") << QStringLiteral("run-2") << true;
    QTest::newRow("empty") << QString() << false;
    QTest::newRow("parent") << QStringLiteral("../safety") << false;
    QTest::newRow("dot") << QStringLiteral("safety.html") << false;
    QTest::newRow("line feed") << QStringLiteral("safety\n") << false;
    QTest::newRow("blank") << QStringLiteral("a b") << false;
}

void TestDocuments::names()
{
    QFETCH(QString, name);
    QTEST(DocumentTemplate::isName(name), "ok");
}

void TestDocuments::fills_data()
{
    QTest::addColumn<QString>("html");
    QTest::addColumn<QJsonObject>("params");
    QTest::addColumn<QString>("expected");
    const auto row = [](const char *name, const char *html, const QJsonObject &params, const char *expected) {
        QTest::newRow(name) << QString::fromUtf8(html) << params << QString::fromUtf8(expected);
    };
    const auto one = [](const char *key, const char *value) {
        return QJsonObject{{QLatin1String(key), QString::fromUtf8(value)}};
    };
    row("nothing to fill", "<p>Правила</p>", QJsonObject(), "<p>Правила</p>");
    row("one", "<p>{{A}}</p>", one("A", "Орлова"), "<p>Орлова</p>");
    row("at both ends, twice", "{{A}}-{{A}}", one("A", "x"), "x-x");
    row("absent", "<p>{{B}}</p>", one("A", "x"), "<p></p>");
    row("another key's beginning", "{{A}}{{AB}}", one("AB", "x"), "x");
    row("plain text", "{{A}}", one("A", "<b>\"1\" & 2</b>"), "&lt;b&gt;&quot;1&quot; &amp; 2&lt;/b&gt;");
    row("an entity is plain text", "{{MAINNAME}}", one("MAINNAME", "&nbsp;"), "&amp;nbsp;");
    row("blanks of the list", "{{KIDSLIST}}", one("KIDSLIST", "&nbsp;&nbsp;&nbsp;"), "&nbsp;&nbsp;&nbsp;");
    row("names in the list", "{{KIDSLIST}}", one("KIDSLIST", "<i>, &amp;"), "&lt;i&gt;, &amp;amp;");
    row("a value is not filled again", "{{A}}{{B}}",
        {{QStringLiteral("A"), QStringLiteral("{{B}}")}, {QStringLiteral("B"), QStringLiteral("b")}}, "{{B}}b");
    row("a number", "{{A}}", {{QStringLiteral("A"), 7}}, "7");
    row("no text", "[{{A}}{{B}}]", {{QStringLiteral("A"), QJsonArray{1}}, {QStringLiteral("B"), QJsonValue::Null}},
        "[]");
    row("single braces", "{A} {{ A }} {{}}", one("A", "x"), "{A} {{ A }} {{}}");
}

void TestDocuments::fills()
{
    QFETCH(QString, html);
    QFETCH(QJsonObject, params);
    QTEST(DocumentTemplate::filled(html, params), "expected");
}

void TestDocuments::ticket()
{
    m_printer->take(desk, QStringLiteral("print_document"), ticketJob());
    QCOMPARE(files(), QStringList(QStringLiteral("00001-pos_ticket.pdf")));
    QCOMPARE(m_printer->documents().size(), 1);
    QCOMPARE(m_printer->documents().constFirst().targets, files());

    const QString text = textOf(printed(files().constFirst()));
    for (const char *word :
         {"Посадочный талон", "Заезд №7", "Орлова <Мария> & Ко", "Взрослый заезд", "ПИН: 4821", "21.11.2026"}) {
        QVERIFY2(text.contains(QString::fromUtf8(word)), qPrintable(text));
        QVERIFY2(m_printer->documents().constFirst().text.contains(QString::fromUtf8(word)), word);
    }
    QVERIFY2(!text.contains(QLatin1String("{{")), qPrintable(text));
    QCOMPARE(pagesOf(printed(files().constFirst())), 1);
}

void TestDocuments::ticketIsCutBehindItsText()
{
    m_printer->take(desk, QStringLiteral("print_document"), ticketJob());
    QJsonObject longName = ticketParams();
    longName.insert(QStringLiteral("CLIENTNAME"), QStringLiteral("Орлова Мария Петровна ").repeated(20));
    m_printer->take(desk, QStringLiteral("print_document"), ticketJob(longName));
    const QSizeF usual = paperOf(printed(QStringLiteral("00001-pos_ticket.pdf")));
    const QSizeF larger = paperOf(printed(QStringLiteral("00002-pos_ticket.pdf")));
    QVERIFY2(qAbs(usual.width() - 80) < 0.5, qPrintable(QString::number(usual.width())));
    QVERIFY2(usual.height() > 60 && usual.height() < 140, qPrintable(QString::number(usual.height())));
    QVERIFY2(qAbs(larger.width() - 80) < 0.5, qPrintable(QString::number(larger.width())));
    QVERIFY2(larger.height() > usual.height() + 60, qPrintable(QString::number(larger.height())));
    QCOMPARE(pagesOf(printed(QStringLiteral("00002-pos_ticket.pdf"))), 1);
    QVERIFY(textOf(printed(QStringLiteral("00002-pos_ticket.pdf"))).contains(QLatin1String("21.11.2026")));
}

void TestDocuments::ticketCarriesTheCode_data()
{
    QTest::addColumn<QString>("pin");
    QTest::newRow("four digits") << QStringLiteral("4821");
    QTest::newRow("zeros in front") << QStringLiteral("0007");
    QTest::newRow("no pin") << QString();
}

void TestDocuments::ticketCarriesTheCode()
{
    QFETCH(QString, pin);
    QJsonObject params = ticketParams();
    params.insert(QStringLiteral("PINCODE"), pin);
    m_printer->take(desk, QStringLiteral("print_document"), ticketJob(params));
    const QString picture = m_home->filePath(QStringLiteral("ticket"));
    outputOf(QStringLiteral("pdftoppm"), {QStringLiteral("-png"), QStringLiteral("-r"), QStringLiteral("203"),
                                          QStringLiteral("-singlefile"), printed(files().constFirst()), picture});
    const QString code = outputOf(QStringLiteral("zbarimg"), {QStringLiteral("--quiet"), QStringLiteral("--raw"),
                                                              picture + QStringLiteral(".png")});
    QCOMPARE(code, QStringLiteral("?p=%1\n").arg(pin));
}

void TestDocuments::pinThatNoCodeHolds()
{
    QJsonObject params = ticketParams();
    params.insert(QStringLiteral("PINCODE"), QString(5000, QLatin1Char('8')));
    m_printer->take(desk, QStringLiteral("print_document"), ticketJob(params));
    QVERIFY(textOf(printed(files().constFirst())).contains(QStringLiteral("Посадочный талон")));
}

void TestDocuments::safetyForm()
{
    m_printer->take(QStringLiteral("print_preprocessor"), QStringLiteral("print_results"),
                    safetyJob(QStringLiteral("Орлов Иван , Орлова Дарья ")));
    QCOMPARE(files(), QStringList(QStringLiteral("00001-safety.pdf")));
    const QString file = printed(files().constFirst());
    const QString text = textOf(file);
    for (const char *word : {"Соглашение", "Орлова Мария", "Орлов Иван , Орлова Дарья", "21.11.2026", "Подпись"})
        QVERIFY2(text.contains(QString::fromUtf8(word)), qPrintable(text));
    const QSizeF paper = paperOf(file);
    QVERIFY(qAbs(paper.width() - 210) < 0.5);
    QVERIFY(qAbs(paper.height() - 297) < 0.5);
    QCOMPARE(pagesOf(file), 1);
}

void TestDocuments::safetyFormWithoutMinors()
{
    m_printer->take(QStringLiteral("print_preprocessor"), QStringLiteral("print_results"),
                    safetyJob(QStringLiteral("&nbsp;&nbsp;&nbsp;")));
    const QString text = textOf(printed(QStringLiteral("00001-safety.pdf")));
    QVERIFY2(text.contains(QStringLiteral("Орлова Мария")), qPrintable(text));
    QVERIFY2(!text.contains(QLatin1String("nbsp")), qPrintable(text));
}

void TestDocuments::longDocumentGoesOn()
{
    QByteArray lines;
    for (int i = 1; i <= 200; ++i)
        lines += "<p>line " + QByteArray::number(i) + "</p>";
    QVERIFY(write(m_home->filePath(QStringLiteral("templates/rules.html")), lines));
    m_printer->take(desk, QStringLiteral("print_document"),
                    {{QStringLiteral("templateName"), QStringLiteral("rules")}});
    const QString file = printed(QStringLiteral("00001-rules.pdf"));
    QVERIFY(pagesOf(file) > 2);
    const QString text = textOf(file);
    for (int i = 1; i <= 200; ++i)
        QCOMPARE(text.count(QRegularExpression(QStringLiteral("line %1\\b").arg(i))), 1);
}

void TestDocuments::copies_data()
{
    QTest::addColumn<QJsonValue>("count");
    QTest::addColumn<int>("files");
    QTest::newRow("one") << QJsonValue(1) << 1;
    QTest::newRow("three") << QJsonValue(3) << 3;
    QTest::newRow("none asked") << QJsonValue(QJsonValue::Undefined) << 1;
    QTest::newRow("zero") << QJsonValue(0) << 1;
    QTest::newRow("below zero") << QJsonValue(-4) << 1;
    QTest::newRow("no number") << QJsonValue(QStringLiteral("3")) << 1;
    QTest::newRow("far too many") << QJsonValue(1000000) << 20;
}

void TestDocuments::copies()
{
    QFETCH(QJsonValue, count);
    QJsonObject job = safetyJob(QString());
    job.remove(QStringLiteral("printCount"));
    if (!count.isUndefined())
        job.insert(QStringLiteral("printCount"), count);
    m_printer->take(QStringLiteral("print_preprocessor"), QStringLiteral("print_results"), job);
    QTEST(files().size(), "files");
    QCOMPARE(m_printer->documents().size(), 1);
    QCOMPARE(m_printer->documents().constFirst().targets, files());
}

void TestDocuments::filesCountOn()
{
    QVERIFY(write(printed(QStringLiteral("00041-safety.pdf")), "%PDF"));
    QVERIFY(write(printed(QStringLiteral("notes.pdf")), "%PDF"));
    m_printer->take(desk, QStringLiteral("print_document"), ticketJob());
    m_printer->take(QStringLiteral("print_preprocessor"), QStringLiteral("print_results"), safetyJob(QString()));
    QCOMPARE(files(), QStringList({QStringLiteral("00041-safety.pdf"), QStringLiteral("00042-pos_ticket.pdf"),
                                   QStringLiteral("00043-safety.pdf"), QStringLiteral("notes.pdf")}));
}

void TestDocuments::trackHasItsOwnTemplate()
{
    QVERIFY(write(m_home->filePath(QStringLiteral("templates/pos_ticket.html")),
                  QByteArrayLiteral("<p>Трасса: {{RUNNAME}}</p>")));
    m_printer->take(desk, QStringLiteral("print_document"), ticketJob());
    QCOMPARE(textOf(printed(files().constFirst())).trimmed(), QStringLiteral("Трасса: Заезд №7"));
    QVERIFY(qAbs(paperOf(printed(files().constFirst())).width() - 80) < 0.5);
}

void TestDocuments::trackHasAnotherDocument()
{
    QVERIFY(write(m_home->filePath(QStringLiteral("templates/gift.html")), QByteArrayLiteral("<p>{{NAME}}</p>")));
    m_printer->take(desk, QStringLiteral("print_document"),
                    {{QStringLiteral("templateName"), QStringLiteral("gift")},
                     {QStringLiteral("printParams"),
                      QJsonObject{{QStringLiteral("NAME"), QStringLiteral("Подарок")}}}});
    QCOMPARE(textOf(printed(QStringLiteral("00001-gift.pdf"))).trimmed(), QStringLiteral("Подарок"));
}

void TestDocuments::unknownTemplate_data()
{
    QTest::addColumn<QJsonValue>("name");
    QTest::newRow("unknown") << QJsonValue(QStringLiteral("diploma"));
    QTest::newRow("absent") << QJsonValue(QJsonValue::Undefined);
    QTest::newRow("no text") << QJsonValue(5);
    QTest::newRow("outside the folder") << QJsonValue(QStringLiteral("../secret"));
}

void TestDocuments::unknownTemplate()
{
    QFETCH(QJsonValue, name);
    QVERIFY(write(m_home->filePath(QStringLiteral("secret.html")), "secret"));
    QVERIFY(QDir(m_home->path()).mkpath(QStringLiteral("templates")));
    QSignalSpy noted(m_printer.data(), &DocumentPrinter::noted);
    QSignalSpy printedSpy(m_printer.data(), &DocumentPrinter::printed);
    QJsonObject job = ticketJob();
    job.insert(QStringLiteral("templateName"), name);
    m_printer->take(desk, QStringLiteral("print_document"), job);
    QCOMPARE(noted.size(), 1);
    QVERIFY(noted.at(0).at(0).toString().contains(name.toString()));
    QVERIFY(printedSpy.isEmpty());
    QVERIFY(m_printer->documents().isEmpty());
    QVERIFY(!QFileInfo::exists(printed(QString())));
}

void TestDocuments::folderThatCantBeWritten()
{
    QVERIFY(write(m_home->filePath(QStringLiteral("printed")), "a file in the way"));
    QSignalSpy noted(m_printer.data(), &DocumentPrinter::noted);
    m_printer->take(desk, QStringLiteral("print_document"), ticketJob());
    QCOMPARE(noted.size(), 1);
    QVERIFY(m_printer->documents().isEmpty());
}

void TestDocuments::otherEventsPrintNothing_data()
{
    QTest::addColumn<QString>("module");
    QTest::addColumn<QString>("event");
    QTest::newRow("another event") << desk << QStringLiteral("insert_tab");
    QTest::newRow("form under the desk's name") << desk << QStringLiteral("print_results");
}

void TestDocuments::otherEventsPrintNothing()
{
    QFETCH(QString, module);
    QFETCH(QString, event);
    QSignalSpy noted(m_printer.data(), &DocumentPrinter::noted);
    m_printer->take(module, event, safetyJob(QString()));
    QVERIFY(m_printer->documents().isEmpty());
    QVERIFY(noted.isEmpty());
    QVERIFY(files().isEmpty());
}

void TestDocuments::runSheetIsNoted()
{
    QSignalSpy noted(m_printer.data(), &DocumentPrinter::noted);
    m_printer->take(desk, QStringLiteral("print_run"), {{QStringLiteral("runId"), 41}});
    QCOMPARE(noted.size(), 1);
    QVERIFY(noted.at(0).at(0).toString().contains(QLatin1String("{\"runId\":41}")));
    QVERIFY(m_printer->documents().isEmpty());
}

void TestDocuments::viewShowsTheLast()
{
    DocumentsView view(m_printer.data());
    view.resize(900, 600);
    view.show();
    const auto *name = view.findChild<QLabel *>(QStringLiteral("lDocumentName"));
    const auto *page = view.findChild<QLabel *>(QStringLiteral("lDocumentPage"));
    auto *list = view.findChild<QListWidget *>(QStringLiteral("lwDocuments"));
    QVERIFY(name);
    QVERIFY(page);
    QVERIFY(list);
    const auto picture = [page] { return page->property("pixmap").value<QPixmap>(); };
    QVERIFY(picture().isNull());

    m_printer->take(desk, QStringLiteral("print_document"), ticketJob());
    QCOMPARE(name->text(), QStringLiteral("00001-pos_ticket.pdf"));
    QVERIFY(!picture().isNull());
    const QSize ticketSize = picture().size();
    m_printer->take(QStringLiteral("print_preprocessor"), QStringLiteral("print_results"), safetyJob(QString(), 2));
    QCOMPARE(name->text(), QStringLiteral("00002-safety.pdf, 00003-safety.pdf"));
    QVERIFY(picture().width() > ticketSize.width());

    m_printer->take(desk, QStringLiteral("print_run"), {{QStringLiteral("runId"), 41}});
    QCOMPARE(list->count(), 3);
    QCOMPARE(name->text(), QStringLiteral("00002-safety.pdf, 00003-safety.pdf"));
    list->setCurrentRow(0);
    QCOMPARE(name->text(), QStringLiteral("00001-pos_ticket.pdf"));
    QCOMPARE(picture().size(), ticketSize);
    list->setCurrentRow(2);
    QVERIFY(name->text().isEmpty());
}

void TestDocuments::previewIsTheWholeDocument()
{
    const QString html = QStringLiteral("<p style='font-size:10pt'>x</p>");
    const QImage small = DocumentPages(QStringLiteral("pos_ticket"), html, QString()).image(96);
    QCOMPARE(small.width(), 302);
    QVERIFY(small.height() > 30 && small.height() < 80);

    const QImage sheet = DocumentPages(QStringLiteral("safety"), html, QString()).image(96);
    QCOMPARE(sheet.size(), QSize(794, 1123));
    const QImage sheets = DocumentPages(QStringLiteral("safety"), html.repeated(120), QString()).image(96);
    QCOMPARE(sheets.width(), 794);
    QVERIFY(sheets.height() > 2 * 1123);
    // The last page has its own text.
    bool black = false;
    for (int y = sheets.height() - 1123; y < sheets.height(); ++y) {
        for (int x = 0; x < sheets.width(); ++x)
            black = black || (qGray(sheets.pixel(x, y)) < 60 && qAlpha(sheets.pixel(x, y)) == 255);
    }
    QVERIFY(black);
}

QTEST_MAIN(TestDocuments)
#include "tst_host_documents.moc"
