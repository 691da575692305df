#include "desktest.h"
#include "printshop.h"

#include <QPainter>
#include <QPrinter>
#include <QPrinterInfo>

/// The print server of the tests, with pages whose content is known.
class TestPrintShop : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();

    void queues();
    void pagesOfARoll_data();
    void pagesOfARoll();
    void jobsInOrder();
    void missingTools();

private:
    PrintShop m_shop;
};

namespace {

QStringList printers()
{
    QStringList names;
    const QList<QPrinterInfo> infos = QPrinterInfo::availablePrinters();
    for (const QPrinterInfo &info : infos)
        names.append(info.printerName());
    return names;
}

} // namespace

void TestPrintShop::initTestCase()
{
    QVERIFY2(m_shop.start(), qPrintable(m_shop.errorText()));
}

void TestPrintShop::cleanup()
{
    QVERIFY2(m_shop.removeAllQueues(), qPrintable(m_shop.errorText()));
}

void TestPrintShop::queues()
{
    QCOMPARE(printers(), QStringList());
    QVERIFY2(m_shop.addQueue(QStringLiteral("Second-pos")), qPrintable(m_shop.errorText()));
    QVERIFY2(m_shop.addQueue(QStringLiteral("First-POS"), 58, QStringLiteral("At the door")),
             qPrintable(m_shop.errorText()));
    QCOMPARE(printers(), (QStringList{QStringLiteral("First-POS"), QStringLiteral("Second-pos")}));
    QCOMPARE(QPrinterInfo::printerInfo(QStringLiteral("First-POS")).description(), QStringLiteral("At the door"));
    QVERIFY2(m_shop.removeQueue(QStringLiteral("Second-pos")), qPrintable(m_shop.errorText()));
    QCOMPARE(printers(), QStringList{QStringLiteral("First-POS")});
}

void TestPrintShop::pagesOfARoll_data()
{
    QTest::addColumn<int>("width");
    QTest::newRow("80 mm") << 80;
    QTest::newRow("58 mm") << 58;
}

void TestPrintShop::pagesOfARoll()
{
    QFETCH(int, width);
    QVERIFY2(m_shop.addQueue(QStringLiteral("Roll"), width), qPrintable(m_shop.errorText()));
    {
        const QPrinterInfo info = QPrinterInfo::printerInfo(QStringLiteral("Roll"));
        QPrinter printer(info, QPrinter::HighResolution);
        printer.setPageSize(info.defaultPageSize());
        QPainter painter;
        QVERIFY(painter.begin(&printer));
        QFont font = painter.font();
        font.setPixelSize(printer.width() / 10);
        painter.setFont(font);
        painter.drawText(QRectF(0, 0, printer.width(), printer.width()), Qt::AlignTop | Qt::AlignRight,
                         QStringLiteral("Ёлка 58"));
    }
    const QStringList jobs = m_shop.jobs(QStringLiteral("Roll"), 1);
    QCOMPARE(jobs.size(), 1);
    QCOMPARE(Paper::pageCount(jobs.first()), 1);
    const QSizeF size = Paper::pageSize(jobs.first());
    QVERIFY2(qAbs(size.width() - width) < 0.5 && qAbs(size.height() - 297) < 0.5,
             qPrintable(QStringLiteral("%1 x %2").arg(size.width()).arg(size.height())));
    QCOMPARE(Paper::text(jobs.first()).simplified(), QStringLiteral("Ёлка 58"));

    const QVector<Paper::Word> words = Paper::words(jobs.first());
    QCOMPARE(words.size(), 2);
    QCOMPARE(words.at(0).text, QStringLiteral("Ёлка"));
    QVERIFY(words.at(0).box.right() < words.at(1).box.left());
    QVERIFY(words.at(1).box.right() < width && words.at(1).box.right() > width - 6);

    const QImage picture = Paper::render(jobs.first());
    QVERIFY(qAbs(picture.width() - width * 300 / 25.4) < 8);
    const QRectF ink = Paper::ink(picture);
    const double scale = 300 / 25.4;
    QVERIFY(qAbs(ink.left() / scale - words.at(0).box.left()) < 1);
    QVERIFY(qAbs(ink.right() / scale - words.at(1).box.right()) < 1);
    QCOMPARE(Paper::decodeQr(picture), QStringList());
}

void TestPrintShop::jobsInOrder()
{
    QVERIFY2(m_shop.addQueue(QStringLiteral("Roll")), qPrintable(m_shop.errorText()));
    QCOMPARE(m_shop.sent(QStringLiteral("Roll")), QStringList());
    QPrinter printer(QPrinterInfo::printerInfo(QStringLiteral("Roll")), QPrinter::HighResolution);
    for (int i = 0; i < 11; ++i) {
        QPainter painter(&printer);
        QFont font = painter.font();
        font.setPixelSize(500);
        painter.setFont(font);
        painter.drawText(QPointF(0, 1000), QString::number(100 + i));
    }
    const QStringList jobs = m_shop.jobs(QStringLiteral("Roll"), 11);
    QCOMPARE(jobs.size(), 11);
    for (int i = 0; i < 11; ++i)
        QCOMPARE(Paper::text(jobs.at(i)).simplified(), QString::number(100 + i));
}

// Without a server nothing starts, and somebody says why.
void TestPrintShop::missingTools()
{
    PrintShop shop;
    QVERIFY(!shop.addQueue(QStringLiteral("Roll")));
    QVERIFY(!shop.errorText().isEmpty());
}

DESK_TEST_MAIN(TestPrintShop)

#include "tst_printshop.moc"
