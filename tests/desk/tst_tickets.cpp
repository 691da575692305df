#include "checkincounter.h"
#include "desktest.h"
#include "jsonmatch.h"
#include "modal.h"
#include "printshop.h"
#include "trackoffice.h"

#include <QAction>
#include <QApplication>
#include <QDate>
#include <QDateTime>
#include <QDir>
#include <QFontMetricsF>

#include <ctime>

/// Boarding tickets: drawn by the desk on a receipt printer, whose pages are read back from the print server, or handed
/// to the host as a template job.
class TestTickets : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void noReceiptPrinter_data();
    void noReceiptPrinter();
    void firstReceiptPrinterTakesIt();
    void everyRunIsAJob();
    void wordsOfATicket();
    void localTime();
    void layout_data();
    void layout();
    void emptyCaptionMovesEverythingUp();
    void captionOfNewSettings();
    void longCaption();
    void everythingInsideThePaper_data();
    void everythingInsideThePaper();
    void codeIsStrong();
    void modelOfTheTicket();
    void noRunsPrintNothing_data();
    void noRunsPrintNothing();
    void noRunsAndNoPrinter();
    void moreRunsThanPins();
    void otherSourcesAreDrawn_data();
    void otherSourcesAreDrawn();

    void ticketOfALine();
    void ticketOfAnUnpaidLine();
    void ticketOfAMinor_data();
    void ticketOfAMinor();
    void requestPrints();
    void requestWithoutAPrinter();

    void templateOfASeat();
    void templateWithoutPins_data();
    void templateWithoutPins();
    void templateOfANamedRun();
    void templateByRequest();
    void templateByRequestOfNobody_data();
    void templateByRequestOfNobody();
    void templateNeedsASelection();

private:
    QWidget *tab() const { return m_counter ? m_counter->desk().tab() : m_office->desk().tab(); }
    bool openCounter(const QList<QJsonObject> &lines = {});
    bool openOffice(const QVector<TrackOffice::Run> &runs);
    void print(const QJsonObject &ticket) const;
    void clickTicket(const QModelIndex &index) const;
    bool pressPrintTicket() const;

    PrintShop m_shop;
    std::unique_ptr<Counter> m_counter;
    std::unique_ptr<TrackOffice> m_office;
};

namespace {

using JsonMatch::object;

const QString Printer = QStringLiteral("Receipt-POS");
const QString PrintDocument = QStringLiteral("print_document");
const QString Answer = QStringLiteral("local_request_answer");

// Edges that the printer can't reach, and what a page leaves free at its top, in millimetres.
const double BlindEdge = 4;
// Everything is measured on paper that is some metres away from any cashier.
const double Tolerance = 0.4;

QJsonObject ticket(const QStringList &pins)
{
    return {{QStringLiteral("lastName"), text("Иванов")},
            {QStringLiteral("firstName"), text("Пётр")},
            {QStringLiteral("midName"), text("Кузьмич")},
            {QStringLiteral("name"), text("Иванов Пётр")},
            {QStringLiteral("carModel"), QStringLiteral("Sodi")},
            {QStringLiteral("salesItem"), text("Взрослый")},
            {QStringLiteral("runCount"), pins.size()},
            {QStringLiteral("pinCodes"), QJsonArray::fromStringList(pins)}};
}

QJsonObject changed(QJsonObject json, const QString &key, const QJsonValue &value)
{
    json.insert(key, value);
    return json;
}

QStringList wordTexts(const QString &file)
{
    QStringList texts;
    const QVector<Paper::Word> words = Paper::words(file);
    for (const Paper::Word &word : words)
        texts.append(word.text);
    return texts;
}

QRectF box(const QVector<Paper::Word> &words, const QString &text)
{
    for (const Paper::Word &word : words) {
        if (word.text == text)
            return word.box;
    }
    qWarning("no \"%s\" on the ticket", qPrintable(text));
    return {};
}

// Where the code is on the ticket, in millimetres: what is black in the right half between two heights.
QRectF codeArea(const QImage &picture, double dotsPerMillimetre, double left, double top, double bottom)
{
    const QRect part(int(left * dotsPerMillimetre), int(top * dotsPerMillimetre),
                     picture.width() - int(left * dotsPerMillimetre), int((bottom - top) * dotsPerMillimetre));
    const QRectF ink = Paper::ink(picture.copy(part)).translated(part.topLeft());
    return QRectF(ink.topLeft() / dotsPerMillimetre, ink.size() / dotsPerMillimetre);
}

// Modules on a side of the code, told by its finder pattern, which is seven modules wide.
int codeSize(const QImage &picture)
{
    const QRect ink = Paper::ink(picture);
    int run = 0;
    while (qGray(picture.pixel(ink.left() + run, ink.top() + 2)) < 128)
        ++run;
    return run ? qRound(7.0 * ink.width() / run) : 0;
}

bool near(double actual, double expected, double tolerance = Tolerance)
{
    if (qAbs(actual - expected) <= tolerance)
        return true;
    qWarning("%g mm instead of %g mm", actual, expected);
    return false;
}

QString today()
{
    return QDate::currentDate().toString(QStringLiteral("dd.MM.yyyy"));
}

QJsonObject request(const QString &name, const QJsonObject &what)
{
    return {{QStringLiteral("request"), name},
            {QStringLiteral("requestData"), what},
            {QStringLiteral("linkGuid"), QStringLiteral("{link}")}};
}

QJsonObject printTickets(const QStringList &uuids)
{
    return request(QStringLiteral("print_tickets"), {{QStringLiteral("uuidList"), QJsonArray::fromStringList(uuids)}});
}

QJsonObject printTicket(const QString &run, const QString &racer)
{
    return request(QStringLiteral("print_ticket"),
                   {{QStringLiteral("runQueueGuid"), run}, {QStringLiteral("racerGuid"), racer}});
}

QJsonObject templateJob(const QString &run, const QString &client, const QString &sale, const QString &pin)
{
    return {{QStringLiteral("templateName"), QStringLiteral("pos_ticket")},
            {QStringLiteral("printParams"), QJsonObject{{QStringLiteral("ticketSrc"), QStringLiteral("runQueue")},
                                                        {QStringLiteral("PRINTDATE"), today()},
                                                        {QStringLiteral("RUNNAME"), run},
                                                        {QStringLiteral("CLIENTNAME"), client},
                                                        {QStringLiteral("SALESITEM"), sale},
                                                        {QStringLiteral("PINCODE"), pin}}}};
}

QJsonObject seat(const QString &uuid, int competitorId, const QStringList &pins)
{
    return TrackOffice::seat(uuid, competitorId,
                             {{QStringLiteral("name"), text("Иванов Пётр")},
                              {QStringLiteral("salesItem"), text("Взрослый")},
                              {QStringLiteral("pinCodes"), QJsonArray::fromStringList(pins)}});
}

} // namespace

#define SHOP(done) QVERIFY2(m_shop.done, qPrintable(m_shop.errorText()))

void TestTickets::initTestCase()
{
    SHOP(start());
}

void TestTickets::init()
{
    m_counter = std::make_unique<Counter>();
    m_counter->stockPrices();
    m_counter->track().setSetting(QStringLiteral("ticketCaption"), text("Картодром"));
}

void TestTickets::cleanup()
{
    m_counter.reset();
    m_office.reset();
    SHOP(removeAllQueues());
}

bool TestTickets::openCounter(const QList<QJsonObject> &lines)
{
    m_counter->seed(lines);
    return m_counter->open();
}

bool TestTickets::openOffice(const QVector<TrackOffice::Run> &runs)
{
    m_counter.reset();
    m_office = std::make_unique<TrackOffice>();
    m_office->seedQueue(runs);
    return m_office->open();
}

void TestTickets::print(const QJsonObject &ticket) const
{
    if (!QMetaObject::invokeMethod(tab(), "ticketPrinted", Q_ARG(QJsonObject, ticket)))
        qFatal("the form has no slot ticketPrinted");
}

// No column of the table has the button of the tickets, so the click is told as the cells would tell it.
void TestTickets::clickTicket(const QModelIndex &index) const
{
    if (!QMetaObject::invokeMethod(m_counter->tree()->itemDelegate(), "itemClicked", Q_ARG(QModelIndex, index),
                                   Q_ARG(QString, QStringLiteral("TICKET"))))
        qFatal("the delegate of the table tells of no clicks");
}

bool TestTickets::pressPrintTicket() const
{
    auto *action = m_office->desk().find<QAction *>(QStringLiteral("actionPrintTicket"));
    if (!action || action->text() != text("Печать билета"))
        return false;
    action->trigger();
    return true;
}

void TestTickets::noReceiptPrinter_data()
{
    QTest::addColumn<QStringList>("queues");
    QTest::newRow("no printer at all") << QStringList();
    QTest::newRow("lower case") << QStringList{QStringLiteral("Front-pos-80")};
    QTest::newRow("mixed case") << QStringList{QStringLiteral("Pos-1"), QStringLiteral("pOS-2"),
                                               QStringLiteral("PoS-3")};
    QTest::newRow("apart") << QStringList{QStringLiteral("P-OS"), QStringLiteral("PO_S")};
}

void TestTickets::noReceiptPrinter()
{
    QFETCH(QStringList, queues);
    // What somebody has written about a printer is not its name.
    for (const QString &queue : qAsConst(queues))
        SHOP(addQueue(queue, 80, QStringLiteral("POS printer")));
    QVERIFY(openCounter());
    BoxFacts facts;
    const ModalAnswer answer = answerBox(&facts, QMessageBox::Ok);
    print(ticket({QStringLiteral("0001"), QStringLiteral("0002"), QStringLiteral("0003")}));
    QTRY_VERIFY2(answer.answered(), qPrintable(answer.error()));
    QCOMPARE(facts.title, text("Ошибка"));
    QCOMPARE(facts.text, text("Не найден принтер чеков"));
    QCOMPARE(facts.buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
    QCOMPARE(facts.icon, int(QMessageBox::Warning));
    // One box for the ticket, however many runs it has, and nothing on any printer.
    HostProbe::settle();
    QVERIFY(!QApplication::activeModalWidget());
    for (const QString &queue : qAsConst(queues))
        QCOMPARE(m_shop.jobs(queue, 0), QStringList());
    QCOMPARE(m_counter->desk().names(), QStringList());
}

void TestTickets::firstReceiptPrinterTakesIt()
{
    for (const char *queue : {"Z-POS", "MPOSM", "A-pos", "Office", "POS9"})
        SHOP(addQueue(QString::fromLatin1(queue)));
    QVERIFY(openCounter());
    print(ticket({QStringLiteral("0001")}));
    QCOMPARE(m_shop.jobs(QStringLiteral("MPOSM"), 1).size(), 1);
    for (const char *queue : {"Z-POS", "A-pos", "Office", "POS9"})
        QCOMPARE(m_shop.sent(QString::fromLatin1(queue)), QStringList());
}

void TestTickets::everyRunIsAJob()
{
    SHOP(addQueue(Printer));
    QVERIFY(openCounter());
    const QStringList pins{QStringLiteral("0042"), QStringLiteral("9999"), QStringLiteral("1234")};
    print(ticket(pins));
    const QStringList jobs = m_shop.jobs(Printer, 3);
    QCOMPARE(jobs.size(), 3);
    for (int i = 0; i < 3; ++i) {
        QCOMPARE(Paper::pageCount(jobs.at(i)), 1);
        QCOMPARE(Paper::decodeQr(Paper::render(jobs.at(i))), QStringList{QStringLiteral("?p=") + pins.at(i)});
        const QStringList words = wordTexts(jobs.at(i));
        QVERIFY2(words.contains(pins.at(i)), qPrintable(words.join(QLatin1Char('|'))));
        QCOMPARE(words.indexOf(pins.at(i)) - 1, words.indexOf(text("ПИН:")));
    }
    // The host hears nothing of a ticket that the desk draws.
    QCOMPARE(m_counter->desk().names(), QStringList());
}

void TestTickets::wordsOfATicket()
{
    SHOP(addQueue(Printer));
    QVERIFY(openCounter());
    const QDateTime before = QDateTime::currentDateTime();
    print(ticket({QStringLiteral("0042")}));
    const QDateTime after = QDateTime::currentDateTime();
    const QStringList jobs = m_shop.jobs(Printer, 1);
    QCOMPARE(jobs.size(), 1);

    // In the order in which they are drawn; neither the car's model nor the middle name is among them.
    QStringList words = wordTexts(jobs.first());
    QCOMPARE(words.size(), 9);
    const QString date = words.takeLast();
    const QString time = words.takeLast();
    QCOMPARE(words, (QStringList{text("Картодром"), text("Посадочный"), text("талон"), text("Иванов"), text("Пётр"),
                                 text("ПИН:"), QStringLiteral("0042")}));
    const QString shown = time + QLatin1Char(' ') + date;
    const QString format = QStringLiteral("hh:mm dd.MM.yyyy");
    QVERIFY2(shown == before.toString(format) || shown == after.toString(format), qPrintable(shown));

    // Four blanks between time and date.
    const QVector<Paper::Word> placed = Paper::words(jobs.first());
    QFont font = QApplication::font();
    font.setPixelSize(1000);
    const QFontMetricsF metrics(font);
    const double scale = placed.at(8).box.width() / metrics.horizontalAdvance(date);
    QVERIFY(near(placed.at(8).box.left() - placed.at(7).box.right(),
                 metrics.horizontalAdvance(QStringLiteral("    ")) * scale));
}

void TestTickets::localTime()
{
    SHOP(addQueue(Printer));
    QVERIFY(openCounter());
    const QByteArray zone = qgetenv("TZ");
    QStringList shown;
    QStringList expected;
    for (const int hours : {11, -9}) {
        qputenv("TZ", hours > 0 ? "EAST-11" : "WEST9");
        tzset();
        const QDateTime now = QDateTime::currentDateTimeUtc();
        print(ticket({QStringLiteral("0042")}));
        for (const int seconds : {0, 60})
            expected.append(now.addSecs(hours * 3600 + seconds).toString(QStringLiteral("hh:mm dd.MM.yyyy")));
    }
    if (zone.isNull())
        qunsetenv("TZ");
    else
        qputenv("TZ", zone);
    tzset();
    const QStringList jobs = m_shop.jobs(Printer, 2);
    QCOMPARE(jobs.size(), 2);
    for (const QString &job : jobs)
        shown.append(wordTexts(job).mid(7).join(QLatin1Char(' ')));
    QVERIFY2(shown.at(0) == expected.at(0) || shown.at(0) == expected.at(1), qPrintable(shown.at(0)));
    QVERIFY2(shown.at(1) == expected.at(2) || shown.at(1) == expected.at(3), qPrintable(shown.at(1)));
}

void TestTickets::layout_data()
{
    QTest::addColumn<int>("roll");
    QTest::addColumn<QString>("caption");
    QTest::newRow("80 mm") << 80 << text("Картодром");
    QTest::newRow("58 mm") << 58 << text("Картодром");
    QTest::newRow("80 mm without a caption") << 80 << QString();
    QTest::newRow("58 mm without a caption") << 58 << QString();
}

// Two sizes of letters and one width make the whole ticket.
void TestTickets::layout()
{
    QFETCH(int, roll);
    QFETCH(QString, caption);
    SHOP(addQueue(Printer, roll));
    m_counter->track().setSetting(QStringLiteral("ticketCaption"), caption);
    QVERIFY(openCounter());
    print(ticket({QStringLiteral("0042")}));
    const QStringList jobs = m_shop.jobs(Printer, 1);
    QCOMPARE(jobs.size(), 1);
    const QString &file = jobs.first();
    const QSizeF paper = Paper::pageSize(file);
    QVERIFY(near(paper.width(), roll));
    QVERIFY(near(paper.height(), 297));

    const double width = roll - 2 * BlindEdge;
    const double left = BlindEdge;
    QFont font = QApplication::font();
    font.setPixelSize(1000);
    const double line = QFontMetricsF(font).height() / 1000 * width / 10;
    const double smallLine = line / 2;

    const QVector<Paper::Word> words = Paper::words(file);
    const QRectF title = box(words, text("Посадочный")) | box(words, text("талон"));
    const QRectF lastName = box(words, text("Иванов"));
    const QRectF firstName = box(words, text("Пётр"));
    const QRectF pin = box(words, text("ПИН:")) | box(words, QStringLiteral("0042"));
    const QRectF date = words.value(words.size() - 2).box | words.value(words.size() - 1).box;

    // Titles, PIN and date stand in the middle, names at the left edge.
    for (const QRectF &centred : {title, pin, date})
        QVERIFY(near(centred.center().x(), left + width / 2));
    for (const QRectF &name : {lastName, firstName}) {
        QVERIFY(near(name.left(), left + width * 0.05, 1));
        QVERIFY(name.right() <= left + width / 2);
    }
    QVERIFY(near(lastName.height(), smallLine, 1));
    QVERIFY(title.height() <= line + Tolerance && title.height() > smallLine);
    QVERIFY(title.left() >= left + width * 0.05 - Tolerance && title.right() <= left + width * 0.95 + Tolerance);

    // Down the ticket.
    QVERIFY(near(firstName.top() - lastName.top(), smallLine));
    QVERIFY(near(pin.top() - firstName.top(), smallLine * 4));
    QVERIFY(near(date.top() - pin.top(), smallLine * 2));
    if (!caption.isEmpty()) {
        const QRectF captionBox = box(words, caption);
        QVERIFY(near(captionBox.center().x(), left + width / 2));
        QVERIFY(near(captionBox.height(), line, 1));
        QVERIFY(captionBox.center().y() < title.top());
        QVERIFY(near(lastName.top() - title.center().y(), line * 3.5, 1));
    }

    // The code: two lines above the last name, in the right half, three eighths of the width.
    const int dots = 600;
    const double scale = dots / 25.4;
    const QImage picture = Paper::render(file, dots);
    const double top = lastName.top() - 2 * line;
    const QRectF code = codeArea(picture, scale, left + width / 2 - 0.2, top - 1.5, top + width * 0.375 + 1.5);
    QVERIFY(near(code.left(), left + width * 0.5));
    QVERIFY(near(code.right(), left + width * 0.875));
    QVERIFY(near(code.width(), width * 0.375));
    QVERIFY(near(code.height(), width * 0.375));
    QVERIFY(near(code.top(), top, 1));
    QCOMPARE(Paper::decodeQr(picture), QStringList{QStringLiteral("?p=0042")});

    // All of it on what the printer can reach, and no two texts on one another.
    const QRectF ink = Paper::ink(picture);
    QVERIFY(ink.left() / scale >= left - 0.1);
    QVERIFY(ink.right() / scale <= left + width + 0.1);
    QVERIFY(ink.bottom() / scale < width * 1.5);
    for (int i = 0; i < words.size(); ++i) {
        for (int k = i + 1; k < words.size(); ++k) {
            // Boxes have room for accents and descenders, which may touch.
            const QRectF one = words.at(i).box.adjusted(0, line / 5, 0, -line / 5);
            const QRectF other = words.at(k).box.adjusted(0, line / 5, 0, -line / 5);
            QVERIFY2(!one.intersects(other), qPrintable(words.at(i).text + QLatin1Char('|') + words.at(k).text));
        }
        QVERIFY2(!words.at(i).box.adjusted(0, smallLine / 4, 0, -smallLine / 4).intersects(code),
                 qPrintable(words.at(i).text));
    }

    const QString folder = qEnvironmentVariable("LAPVANE_TEST_PICTURES");
    if (!folder.isEmpty()) {
        const QString name = QStringLiteral("ticket-%1%2.png").arg(roll).arg(caption.isEmpty() ? 0 : 1);
        QVERIFY(picture.save(QDir(folder).filePath(name)));
    }
}

void TestTickets::emptyCaptionMovesEverythingUp()
{
    SHOP(addQueue(Printer));
    QVERIFY(openCounter());
    print(ticket({QStringLiteral("0042")}));
    m_counter->track().setSetting(QStringLiteral("ticketCaption"), QString());
    QVERIFY(QMetaObject::invokeMethod(tab(), "loadSettings"));
    print(ticket({QStringLiteral("0042")}));
    const QStringList jobs = m_shop.jobs(Printer, 2);
    QCOMPARE(jobs.size(), 2);
    const QVector<Paper::Word> with = Paper::words(jobs.at(0));
    const QVector<Paper::Word> without = Paper::words(jobs.at(1));
    QCOMPARE(with.first().text, text("Картодром"));
    QCOMPARE(without.size(), with.size() - 1);

    // The title takes the place of the caption, and all below the title keeps its distances.
    const QRectF title = box(without, text("Посадочный"));
    QVERIFY(near(title.center().y(), with.first().box.center().y()));
    QFont font = QApplication::font();
    font.setPixelSize(1000);
    const double line = QFontMetricsF(font).height() / 1000 * (80 - 2 * BlindEdge) / 10;
    for (int i = 2; i < without.size(); ++i) {
        QVERIFY(near(with.at(i + 1).box.top() - without.at(i).box.top(), line));
        QVERIFY(i > 5 || near(with.at(i + 1).box.left(), without.at(i).box.left()));
    }
}

void TestTickets::captionOfNewSettings()
{
    SHOP(addQueue(Printer));
    QVERIFY(openCounter());
    m_counter->track().setSetting(QStringLiteral("ticketCaption"), text("Лента & <b>Ко</b> %1"));
    QVERIFY(QMetaObject::invokeMethod(tab(), "loadSettings"));
    print(ticket({QStringLiteral("0042")}));
    const QStringList jobs = m_shop.jobs(Printer, 1);
    QCOMPARE(jobs.size(), 1);
    QCOMPARE(wordTexts(jobs.first()).mid(0, 5), (QStringList{text("Лента"), QStringLiteral("&"), text("<b>Ко</b>"),
                                                             QStringLiteral("%1"), text("Посадочный")}));
}

void TestTickets::longCaption()
{
    SHOP(addQueue(Printer, 58));
    const QString caption = text("Картинг-центр «Северное сияние» на Ленинградском проспекте");
    m_counter->track().setSetting(QStringLiteral("ticketCaption"), caption);
    QVERIFY(openCounter());
    print(ticket({QStringLiteral("0042")}));
    const QStringList jobs = m_shop.jobs(Printer, 1);
    QCOMPARE(jobs.size(), 1);
    QCOMPARE(wordTexts(jobs.first()).mid(0, 6), caption.split(QLatin1Char(' ')));
    const QImage picture = Paper::render(jobs.first());
    const double scale = 300 / 25.4;
    const QRectF ink = Paper::ink(picture);
    QVERIFY(ink.left() / scale >= BlindEdge - 0.1);
    QVERIFY(ink.right() / scale <= 58 - BlindEdge + 0.1);
    QCOMPARE(Paper::decodeQr(picture), QStringList{QStringLiteral("?p=0042")});
}

void TestTickets::everythingInsideThePaper_data()
{
    QTest::addColumn<int>("roll");
    QTest::addColumn<QString>("lastName");
    QTest::addColumn<QString>("firstName");
    for (const int roll : {80, 58}) {
        QTest::addRow("%d mm, long", roll) << roll << text("Виноградов") << text("Александра");
        QTest::addRow("%d mm, very long", roll)
            << roll << text("Константинопольский-Задунайский") << text("Абдурахмангаджи");
        QTest::addRow("%d mm, empty", roll) << roll << QString() << QString();
        QTest::addRow("%d mm, other letters", roll) << roll << text("Đặng Æ") << text("Ёжи");
    }
}

void TestTickets::everythingInsideThePaper()
{
    QFETCH(int, roll);
    QFETCH(QString, lastName);
    QFETCH(QString, firstName);
    SHOP(addQueue(Printer, roll));
    QVERIFY(openCounter());
    print(changed(changed(ticket({QStringLiteral("0042")}), QStringLiteral("lastName"), lastName),
                  QStringLiteral("firstName"), firstName));
    const QStringList jobs = m_shop.jobs(Printer, 1);
    QCOMPARE(jobs.size(), 1);
    const QImage picture = Paper::render(jobs.first());
    QCOMPARE(Paper::decodeQr(picture), QStringList{QStringLiteral("?p=0042")});
    const double scale = 300 / 25.4;
    const QRectF ink = Paper::ink(picture);
    QVERIFY(ink.left() / scale >= BlindEdge - 0.1);
    QVERIFY(ink.right() / scale <= roll - BlindEdge + 0.1);
    // The code has its half for itself.
    const QVector<Paper::Word> placed = Paper::words(jobs.first());
    for (int i = 3; i < placed.size() - 4; ++i)
        QVERIFY2(placed.at(i).box.right() <= roll / 2.0 + Tolerance, qPrintable(placed.at(i).text));
    const QStringList expected = (lastName + QLatin1Char(' ') + firstName).split(QLatin1Char(' '), Qt::SkipEmptyParts);
    const QStringList words = wordTexts(jobs.first());
    QCOMPARE(words.mid(3, words.size() - 7), expected);
}

// Ten letters fit the smallest code only if nothing is spent on its repair: the gate reads crumpled tickets.
void TestTickets::codeIsStrong()
{
    SHOP(addQueue(Printer));
    QVERIFY(openCounter());
    print(ticket({QStringLiteral("1234"), QStringLiteral("1234567")}));
    const QStringList jobs = m_shop.jobs(Printer, 2);
    QCOMPARE(jobs.size(), 2);
    QList<int> sizes;
    for (const QString &job : jobs) {
        const QVector<Paper::Word> words = Paper::words(job);
        const QImage picture = Paper::render(job, 600);
        const double scale = 600 / 25.4;
        const double top = box(words, text("Посадочный")).bottom() + 0.5;
        const double bottom = box(words, text("ПИН:")).top();
        const QRect part(int(40 * scale) - 1, int(top * scale), picture.width() - int(40 * scale),
                         int((bottom - top) * scale));
        sizes.append(codeSize(picture.copy(part)));
    }
    QCOMPARE(sizes, (QList<int>{21, 25}));
    QCOMPARE(Paper::decodeQr(Paper::render(jobs.at(1))), QStringList{QStringLiteral("?p=1234567")});
}

// The desk's own lines have none, but what another record brings along is drawn above the names.
void TestTickets::modelOfTheTicket()
{
    SHOP(addQueue(Printer));
    QVERIFY(openCounter());
    print(changed(ticket({QStringLiteral("0042")}), QStringLiteral("model"), QStringLiteral("RX7")));
    print(ticket({QStringLiteral("0042")}));
    const QStringList jobs = m_shop.jobs(Printer, 2);
    QCOMPARE(jobs.size(), 2);
    const QVector<Paper::Word> with = Paper::words(jobs.at(0));
    const QVector<Paper::Word> without = Paper::words(jobs.at(1));
    QCOMPARE(with.at(3).text, QStringLiteral("RX7"));
    const QRectF lastName = box(with, text("Иванов"));
    QVERIFY(near(with.at(3).box.left(), lastName.left()));
    // Twice as far as from the last name to the first.
    QVERIFY(near(lastName.top() - with.at(3).box.top(), 2 * (box(with, text("Пётр")).top() - lastName.top())));
    QVERIFY(near(lastName.top(), box(without, text("Иванов")).top()));
}

void TestTickets::noRunsPrintNothing_data()
{
    QTest::addColumn<QJsonValue>("runCount");
    QTest::newRow("zero") << QJsonValue(0);
    QTest::newRow("negative") << QJsonValue(-2);
    QTest::newRow("none") << QJsonValue(QJsonValue::Undefined);
    QTest::newRow("text") << QJsonValue(QStringLiteral("3"));
}

void TestTickets::noRunsPrintNothing()
{
    QFETCH(QJsonValue, runCount);
    SHOP(addQueue(Printer));
    QVERIFY(openCounter());
    QJsonObject json = ticket({QStringLiteral("0042")});
    json.remove(QStringLiteral("runCount"));
    if (!runCount.isUndefined())
        json.insert(QStringLiteral("runCount"), runCount);
    bool anyBox = false;
    // Answers the box that must not come.
    const ModalAnswer answer = ModalAnswer::widget([&](QWidget *widget) {
        anyBox = true;
        widget->close();
    });
    print(json);
    HostProbe::settle(200);
    QVERIFY(!anyBox);
    QCOMPARE(m_shop.jobs(Printer, 0), QStringList());
}

// The printer is looked for first.
void TestTickets::noRunsAndNoPrinter()
{
    QVERIFY(openCounter());
    const ModalAnswer answer =
        ModalAnswer::messageBox(text("Ошибка"), text("Не найден принтер чеков"), QMessageBox::Ok, QMessageBox::Ok);
    print(ticket({}));
    QTRY_VERIFY2(answer.answered(), qPrintable(answer.error()));
}

void TestTickets::moreRunsThanPins()
{
    SHOP(addQueue(Printer));
    QVERIFY(openCounter());
    print(changed(ticket({QStringLiteral("0042")}), QStringLiteral("runCount"), 3));
    const QStringList jobs = m_shop.jobs(Printer, 3);
    QCOMPARE(jobs.size(), 3);
    QCOMPARE(Paper::decodeQr(Paper::render(jobs.at(0))), QStringList{QStringLiteral("?p=0042")});
    for (int i = 1; i < 3; ++i) {
        QCOMPARE(Paper::decodeQr(Paper::render(jobs.at(i))), QStringList{QStringLiteral("?p=")});
        const QStringList words = wordTexts(jobs.at(i));
        QCOMPARE(words.size(), 8);
        QCOMPARE(words.at(5), text("ПИН:"));
    }
}

void TestTickets::otherSourcesAreDrawn_data()
{
    QTest::addColumn<QJsonValue>("source");
    QTest::newRow("empty") << QJsonValue(QString());
    QTest::newRow("other case") << QJsonValue(QStringLiteral("runqueue"));
    QTest::newRow("list") << QJsonValue(QStringLiteral("checkIn"));
    QTest::newRow("number") << QJsonValue(1);
}

void TestTickets::otherSourcesAreDrawn()
{
    QFETCH(QJsonValue, source);
    SHOP(addQueue(Printer));
    QVERIFY(openCounter());
    print(changed(ticket({QStringLiteral("0042")}), QStringLiteral("ticketSrc"), source));
    QCOMPARE(m_shop.jobs(Printer, 1).size(), 1);
    QCOMPARE(m_counter->desk().names(), QStringList());
}

void TestTickets::ticketOfALine()
{
    SHOP(addQueue(Printer));
    QVERIFY(openCounter({m_counter->sold(QStringLiteral("{a}"),
                                         object(R"({"lastName": "Кузнецова", "firstName": "Ольга", "payState": true,
            "runCount": 3, "pinCodes": ["0007", "0007", "0007"], "regTime": 1})"))}));
    clickTicket(m_counter->at(0, Counter::Name));
    const QStringList jobs = m_shop.jobs(Printer, 3);
    QCOMPARE(jobs.size(), 3);
    for (const QString &job : jobs) {
        QCOMPARE(wordTexts(job).mid(0, 7),
                 (QStringList{text("Картодром"), text("Посадочный"), text("талон"), text("Кузнецова"), text("Ольга"),
                              text("ПИН:"), QStringLiteral("0007")}));
        QCOMPARE(Paper::decodeQr(Paper::render(job)), QStringList{QStringLiteral("?p=0007")});
    }
    QCOMPARE(m_counter->line(0).value(QLatin1String("regTime")).toVariant().toULongLong(), 0ULL);
}

void TestTickets::ticketOfAnUnpaidLine()
{
    SHOP(addQueue(Printer));
    QVERIFY(openCounter({m_counter->sold(QStringLiteral("{a}"), object(R"({"regTime": 1})"))}));
    clickTicket(m_counter->at(0, Counter::Name));
    QCOMPARE(m_shop.jobs(Printer, 0), QStringList());
    QCOMPARE(m_counter->line(0).value(QLatin1String("regTime")).toVariant().toULongLong(), 0ULL);
}

void TestTickets::ticketOfAMinor_data()
{
    QTest::addColumn<bool>("paid");
    QTest::newRow("paid parent") << true;
    QTest::newRow("unpaid parent") << false;
}

// A minor is paid when the parent is, whatever the minor's own mark says.
void TestTickets::ticketOfAMinor()
{
    QFETCH(bool, paid);
    SHOP(addQueue(Printer));
    QJsonObject line = m_counter->sold(QStringLiteral("{a}"), {{QStringLiteral("payState"), paid}});
    line.insert(QStringLiteral("kidsList"),
                QJsonArray{m_counter->sold(QStringLiteral("{kid}"), object(R"({"lastName": "Младшая",
                    "firstName": "Аня", "runCount": 1, "pinCodes": ["5555"]})"))});
    line = changed(line, QStringLiteral("kidsList"),
                   QJsonArray{changed(line.value(QLatin1String("kidsList")).toArray().first().toObject(),
                                      QStringLiteral("payState"), !paid)});
    QVERIFY(openCounter({line}));
    clickTicket(m_counter->kidAt(0, 0, Counter::Name));
    const QStringList jobs = m_shop.jobs(Printer, paid ? 1 : 0);
    QCOMPARE(jobs.size(), paid ? 1 : 0);
    if (paid) {
        QCOMPARE(wordTexts(jobs.first()).mid(3, 4),
                 (QStringList{text("Младшая"), text("Аня"), text("ПИН:"), QStringLiteral("5555")}));
    }
}

// Another program may print what is not paid yet; it has to know.
void TestTickets::requestPrints()
{
    SHOP(addQueue(Printer));
    QJsonObject parent = m_counter->sold(QStringLiteral("{a}"), object(R"({"lastName": "Первый", "regTime": 4102444800,
        "runCount": 1, "pinCodes": ["0001"]})"));
    parent.insert(QStringLiteral("kidsList"),
                  QJsonArray{m_counter->sold(QStringLiteral("{kid}"), object(R"({"lastName": "Второй",
                    "runCount": 1, "pinCodes": ["0002"]})"))});
    QVERIFY(openCounter({parent, m_counter->sold(QStringLiteral("{b}"), object(R"({"lastName": "Третий",
        "runCount": 1, "pinCodes": ["0003"], "payState": true})"))}));
    m_counter->desk().send(QStringLiteral("local_request"),
                           printTickets({QStringLiteral("{b}"), QStringLiteral("{nobody}"), QString(),
                                         QStringLiteral("{kid}"), QStringLiteral("{a}")}));
    const QStringList jobs = m_shop.jobs(Printer, 3);
    QCOMPARE(jobs.size(), 3);
    QStringList codes;
    for (const QString &job : jobs)
        codes += Paper::decodeQr(Paper::render(job));
    QCOMPARE(codes, (QStringList{QStringLiteral("?p=0003"), QStringLiteral("?p=0002"), QStringLiteral("?p=0001")}));
    QCOMPARE(wordTexts(jobs.first()).at(3), text("Третий"));
    QCOMPARE(m_counter->desk().count(Answer), 1);
    JSON_COMPARE(m_counter->desk().last(Answer), object(R"({"linkGuid": "{link}"})"));
    QCOMPARE(m_counter->desk().count(PrintDocument), 0);
    // Nobody has attended to the line.
    QCOMPARE(m_counter->line(0).value(QLatin1String("regTime")).toVariant().toULongLong(), 4102444800ULL);
}

// The cashier reads the box; the other program has its answer meanwhile.
void TestTickets::requestWithoutAPrinter()
{
    SHOP(addQueue(QStringLiteral("lower-pos")));
    QVERIFY(openCounter({m_counter->sold(QStringLiteral("{a}"))}));
    BoxFacts facts;
    int answersMeanwhile = -1;
    const ModalAnswer answer = answerBox(&facts, QMessageBox::Ok, [&] {
        HostProbe::settle(100);
        answersMeanwhile = m_counter->desk().count(Answer);
    });
    m_counter->desk().send(QStringLiteral("local_request"), printTickets({QStringLiteral("{a}")}));
    QTRY_VERIFY2(answer.answered(), qPrintable(answer.error()));
    QCOMPARE(facts.text, text("Не найден принтер чеков"));
    // The request's own box is part of its work; only what others ask meanwhile is answered meanwhile.
    QCOMPARE(answersMeanwhile, 0);
    QCOMPARE(m_counter->desk().count(Answer), 1);
    QCOMPARE(m_shop.jobs(QStringLiteral("lower-pos"), 0), QStringList());
}

void TestTickets::templateOfASeat()
{
    // A printer is at hand and stays unused.
    SHOP(addQueue(Printer));
    QVERIFY(openOffice({{QStringLiteral("{r1}"), {}},
                        {QStringLiteral("{r2}"),
                         {seat(QStringLiteral("{x}"), -1001, {QStringLiteral("7777")}),
                          seat(QStringLiteral("{a}"), -1002, {QStringLiteral("0042"), QStringLiteral("0043")})}}}));
    m_office->queue()->setCurrentRow(1);
    TrackOffice::clickCell(m_office->run(1), 1);
    m_office->heard();
    const QString shown = text("Заезд №%1").arg(m_office->runs().at(1).value(QLatin1String("runNum")).toInt());
    QVERIFY(pressPrintTicket());
    QCOMPARE(m_office->desk().names(), QStringList{PrintDocument});
    QCOMPARE(m_office->desk().events().first().module, QStringLiteral("ticket_plugin"));
    JSON_COMPARE(m_office->desk().last(PrintDocument),
                 templateJob(shown, text("Иванов Пётр"), text("Взрослый"), QStringLiteral("0042")));
    QCOMPARE(m_shop.jobs(Printer, 0), QStringList());
}

void TestTickets::templateWithoutPins_data()
{
    QTest::addColumn<QJsonValue>("pins");
    QTest::newRow("empty") << QJsonValue(QJsonArray());
    QTest::newRow("none") << QJsonValue(QJsonValue::Undefined);
}

void TestTickets::templateWithoutPins()
{
    QFETCH(QJsonValue, pins);
    QJsonObject racer = seat(QStringLiteral("{a}"), -1001, {});
    racer.remove(QStringLiteral("pinCodes"));
    if (!pins.isUndefined())
        racer.insert(QStringLiteral("pinCodes"), pins);
    racer.insert(QStringLiteral("runCount"), 0);
    QVERIFY(openOffice({{QStringLiteral("{r1}"), {racer}}}));
    m_office->queue()->setCurrentRow(0);
    TrackOffice::clickCell(m_office->run(0), 0);
    m_office->heard();
    const QString shown = text("Заезд №%1").arg(m_office->runs().at(0).value(QLatin1String("runNum")).toInt());
    QVERIFY(pressPrintTicket());
    QCOMPARE(m_office->desk().names(), QStringList{PrintDocument});
    // The key is there: the template has a place for it.
    JSON_COMPARE(m_office->desk().last(PrintDocument),
                 templateJob(shown, text("Иванов Пётр"), text("Взрослый"), QString()));
}

void TestTickets::templateOfANamedRun()
{
    QVERIFY(openOffice({{QStringLiteral("{r1}"),
                         {seat(QStringLiteral("{a}"), -1001, {QStringLiteral("0042")})},
                         object(R"({"runName": "Финал", "nameForced": true})")}}));
    m_office->queue()->setCurrentRow(0);
    TrackOffice::clickCell(m_office->run(0), 0);
    m_office->heard();
    QVERIFY(pressPrintTicket());
    JSON_COMPARE(m_office->desk().last(PrintDocument),
                 templateJob(text("Финал"), text("Иванов Пётр"), text("Взрослый"), QStringLiteral("0042")));
}

void TestTickets::templateByRequest()
{
    QVERIFY(openOffice({{QStringLiteral("{r1}"), {seat(QStringLiteral("{a}"), -1001, {QStringLiteral("0001")})}},
                        {QStringLiteral("{r2}"),
                         {seat(QStringLiteral("{a}"), -1001, {QStringLiteral("0002")})},
                         object(R"({"runName": "Финал", "nameForced": true})")}}));
    m_office->desk().send(QStringLiteral("local_request"), printTicket(QStringLiteral("{r2}"), QStringLiteral("{a}")));
    QCOMPARE(m_office->desk().count(PrintDocument), 1);
    JSON_COMPARE(m_office->desk().last(PrintDocument),
                 templateJob(text("Финал"), text("Иванов Пётр"), text("Взрослый"), QStringLiteral("0002")));
    QCOMPARE(m_office->desk().count(Answer), 1);
    JSON_COMPARE(m_office->desk().last(Answer), object(R"({"linkGuid": "{link}"})"));
}

void TestTickets::templateByRequestOfNobody_data()
{
    QTest::addColumn<QString>("run");
    QTest::addColumn<QString>("racer");
    QTest::newRow("no run") << QString() << QStringLiteral("{a}");
    QTest::newRow("no racer") << QStringLiteral("{r1}") << QString();
    QTest::newRow("other run") << QStringLiteral("{r2}") << QStringLiteral("{a}");
    QTest::newRow("unknown run") << QStringLiteral("{r9}") << QStringLiteral("{a}");
    QTest::newRow("unknown racer") << QStringLiteral("{r1}") << QStringLiteral("{b}");
    QTest::newRow("word for the head of the queue") << QStringLiteral("current") << QStringLiteral("{a}");
}

void TestTickets::templateByRequestOfNobody()
{
    QFETCH(QString, run);
    QFETCH(QString, racer);
    // A seat without an identity must not answer to an empty one.
    QVERIFY(openOffice({{QStringLiteral("{r1}"),
                         {seat(QStringLiteral("{a}"), -1001, {QStringLiteral("0001")}),
                          seat(QString(), -1002, {QStringLiteral("0002")})}},
                        {QStringLiteral("{r2}"), {}}}));
    m_office->desk().send(QStringLiteral("local_request"), printTicket(run, racer));
    QCOMPARE(m_office->desk().count(PrintDocument), 0);
    QCOMPARE(m_office->desk().count(Answer), 1);
    JSON_COMPARE(m_office->desk().last(Answer), object(R"({"linkGuid": "{link}"})"));
}

void TestTickets::templateNeedsASelection()
{
    QVERIFY(openOffice({{QStringLiteral("{r1}"), {seat(QStringLiteral("{a}"), -1001, {QStringLiteral("0001")})}}}));
    QVERIFY(pressPrintTicket());
    m_office->queue()->setCurrentRow(0);
    QVERIFY(pressPrintTicket());
    QCOMPARE(m_office->desk().count(PrintDocument), 0);
    // A press beside the racers takes the selection back.
    TrackOffice::clickCell(m_office->run(0), 0);
    TrackOffice::clickCell(m_office->run(0), 3);
    QVERIFY(pressPrintTicket());
    QCOMPARE(m_office->desk().count(PrintDocument), 0);
}

DESK_TEST_MAIN(TestTickets)

#include "tst_tickets.moc"
