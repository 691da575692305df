#include "desktest.h"
#include "printing/qrpainterwidget.h"
#include "printing/testqrdialog.h"
#include "printshop.h"

#include <QDateTime>
#include <QDialogButtonBox>
#include <QFontMetricsF>
#include <QImage>
#include <QJsonObject>
#include <QPainter>
#include <QPushButton>
#include <QSignalSpy>
#include <QTextOption>
#include <QVBoxLayout>

#include <functional>

/// The ticket on the screen, judged by its pixels.
class TestQrPainterWidget : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void decodes_data();
    void decodes();
    void codeFillsTheWidth_data();
    void codeFillsTheWidth();
    void strengthOfTheCode_data();
    void strengthOfTheCode();
    void emptyText();
    void textLines_data();
    void textLines();
    void dateLine();
    void scales();
    void paperIsWhite();
    void newContentIsShown();
    void tinyWidget_data();
    void tinyWidget();
    void dialog();
    void dialogButtons();
};

namespace {

const QString Title = QStringLiteral("Посадочный талон");

QJsonObject names(const QString &caption)
{
    return {{QStringLiteral("ticketCaption"), caption},
            {QStringLiteral("model"), QStringLiteral("Sodi RX")},
            {QStringLiteral("firstName"), QStringLiteral("Пётр")},
            {QStringLiteral("lastName"), QStringLiteral("Иванов")}};
}

void setUp(QRPainterWidget *widget, int width, const QString &text, const QJsonObject &ticket = {})
{
    widget->resize(width, width * 2);
    widget->setQrText(text);
    widget->setTicketData(ticket);
}

QImage picture(QRPainterWidget *widget)
{
    return widget->grab().toImage().convertToFormat(QImage::Format_RGB32);
}

// A code has no white around it of its own; a reader needs some.
QImage onPaper(const QImage &code)
{
    QImage paper(code.size() + QSize(80, 80), QImage::Format_RGB32);
    paper.fill(Qt::white);
    QPainter painter(&paper);
    painter.drawImage(40, 40, code);
    return paper;
}

QFont ticketFont(int width)
{
    QFont font = QApplication::font();
    font.setPixelSize(width / 10);
    return font;
}

double lineHeight(int width)
{
    return QFontMetricsF(ticketFont(width)).height();
}

QImage part(const QImage &picture, double top, double bottom)
{
    return picture.copy(0, qRound(top), picture.width(), qRound(bottom) - qRound(top));
}

// Modules on a side, told by the finder pattern in the upper left corner, which is seven modules wide.
int codeSize(const QImage &code)
{
    int run = 0;
    while (run < code.width() && qGray(code.pixel(run, 2)) < 128)
        ++run;
    return run ? qRound(7.0 * code.width() / run) : 0;
}

QImage drawn(const QSize &size, const std::function<void(QPainter &)> &draw)
{
    QImage image(size, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    painter.setFont(ticketFont(size.width()));
    painter.setPen(Qt::black);
    draw(painter);
    return image;
}

bool isBlank(const QImage &picture)
{
    return Paper::ink(picture).isNull();
}

} // namespace

void TestQrPainterWidget::decodes_data()
{
    QTest::addColumn<int>("width");
    QTest::addColumn<QString>("text");
    for (const int width : {120, 210, 303, 481, 1000})
        QTest::addRow("%d", width) << width << QStringLiteral("?p=0042");
    QTest::newRow("no PIN") << 300 << QStringLiteral("?p=");
    QTest::newRow("Cyrillic") << 300 << QStringLiteral("Картодром Ёлка");
    QTest::newRow("long") << 600 << QString(300, QLatin1Char('x'));
    QTest::newRow("digits") << 300 << QStringLiteral("0123456789012345");
    QTest::newRow("capitals") << 300 << QStringLiteral("ABC $%*+-./:12");
}

void TestQrPainterWidget::decodes()
{
    QFETCH(int, width);
    QFETCH(QString, text);
    QRPainterWidget widget;
    setUp(&widget, width, text, names(QStringLiteral("Картодром")));
    QCOMPARE(Paper::decodeQr(onPaper(picture(&widget))), QStringList{text});
}

void TestQrPainterWidget::codeFillsTheWidth_data()
{
    QTest::addColumn<int>("width");
    QTest::addColumn<QString>("caption");
    // Lines above the code: a line and a half each for caption and model, one for the title and one for the date.
    QTest::addColumn<double>("lines");
    for (const int width : {210, 303, 420}) {
        QTest::addRow("%d", width) << width << QString() << 3.5;
        QTest::addRow("%d with a caption", width) << width << QStringLiteral("Картодром") << 5.0;
    }
}

void TestQrPainterWidget::codeFillsTheWidth()
{
    QFETCH(int, width);
    QFETCH(QString, caption);
    QFETCH(double, lines);
    QRPainterWidget widget;
    setUp(&widget, width, QStringLiteral("?p=0042"), {{QStringLiteral("ticketCaption"), caption}});
    const QImage image = picture(&widget);
    const double top = lines * lineHeight(width);
    // Without a model nothing stands right above the code.
    QVERIFY(isBlank(part(image, top - lineHeight(width), top - 1)));
    const QImage code = part(image, top - 1, top + width + 1);
    const QRect ink = Paper::ink(code);
    QVERIFY2(ink.left() == 0 && ink.right() == width - 1, qPrintable(QString::number(ink.width())));
    QVERIFY2(qAbs(ink.height() - width) <= 1, qPrintable(QString::number(ink.height())));
    QVERIFY(ink.top() <= 2);
    QCOMPARE(codeSize(part(image, top + 1, top + width)), 21);
}

void TestQrPainterWidget::strengthOfTheCode_data()
{
    QTest::addColumn<int>("letters");
    QTest::addColumn<int>("modules");
    // The smallest code holds 14 letters at medium strength, 7 at the highest and 17 at the lowest; the next one 26.
    QTest::newRow("14") << 14 << 21;
    QTest::newRow("15") << 15 << 25;
    QTest::newRow("26") << 26 << 25;
    QTest::newRow("27") << 27 << 29;
}

void TestQrPainterWidget::strengthOfTheCode()
{
    QFETCH(int, letters);
    QFETCH(int, modules);
    const int width = 21 * 25 * 29 / 25;
    QRPainterWidget widget;
    setUp(&widget, width, QString(letters, QLatin1Char('x')));
    const double top = 3.5 * lineHeight(width);
    QCOMPARE(codeSize(part(picture(&widget), top + 1, top + width)), modules);
}

// An unfilled ticket has its title, its date and the smallest code.
void TestQrPainterWidget::emptyText()
{
    QRPainterWidget widget;
    widget.resize(300, 600);
    const QImage image = picture(&widget);
    const double line = lineHeight(300);
    QVERIFY(!isBlank(part(image, 0, line)));
    QVERIFY(!isBlank(part(image, line, line * 2)));
    QVERIFY(isBlank(part(image, line * 2.4, line * 3.5 - 1)));
    QCOMPARE(codeSize(part(image, line * 3.5 + 1, line * 3.5 + 300)), 21);
    QVERIFY(isBlank(part(image, line * 3.5 + 302, 600)));
}

void TestQrPainterWidget::textLines_data()
{
    QTest::addColumn<QString>("caption");
    QTest::newRow("no caption") << QString();
    QTest::newRow("caption") << QStringLiteral("Картодром");
}

void TestQrPainterWidget::textLines()
{
    QFETCH(QString, caption);
    const int width = 320;
    QRPainterWidget widget;
    setUp(&widget, width, QStringLiteral("?p=0042"), names(caption));
    const QImage image = picture(&widget);
    const double line = lineHeight(width);
    const QTextOption centred(Qt::AlignCenter);
    double y = 0;
    const auto compareLine = [&](const QString &text) {
        const QImage expected =
            drawn(image.size(), [&](QPainter &painter) { painter.drawText(QRectF(0, y, width, line), text, centred); });
        QVERIFY(!isBlank(expected));
        QCOMPARE(part(image, y, y + line), part(expected, y, y + line));
    };
    if (!caption.isEmpty()) {
        compareLine(caption);
        y = line * 1.5;
    }
    compareLine(Title);
    y += line * 2;
    compareLine(QStringLiteral("Sodi RX"));
    y += line * 1.5 + width + line * 0.5;
    compareLine(QStringLiteral("Иванов Пётр"));
    QVERIFY(isBlank(part(image, y + line + 1, image.height())));
}

// The time at the left edge, the date at the right.
void TestQrPainterWidget::dateLine()
{
    const int width = 320;
    QRPainterWidget widget;
    setUp(&widget, width, QStringLiteral("?p=0042"));
    const double line = lineHeight(width);
    const auto expected = [&](const QDateTime &time) {
        const QRectF place(0, line, width, line);
        return drawn(QSize(width, width * 2), [&](QPainter &painter) {
            painter.drawText(place, time.toString(QStringLiteral("hh:mm")), QTextOption(Qt::AlignLeft));
            painter.drawText(place, time.toString(QStringLiteral("dd.MM.yyyy")), QTextOption(Qt::AlignRight));
        });
    };
    const QDateTime before = QDateTime::currentDateTime();
    const QImage shown = part(picture(&widget), line, line * 2);
    const QDateTime after = QDateTime::currentDateTime();
    QVERIFY(shown == part(expected(before), line, line * 2) || shown == part(expected(after), line, line * 2));
}

void TestQrPainterWidget::scales()
{
    QRPainterWidget widget;
    setUp(&widget, 210, QStringLiteral("?p=0042"), names(QStringLiteral("Картодром")));
    const QImage small = picture(&widget);
    setUp(&widget, 630, QStringLiteral("?p=0042"), names(QStringLiteral("Картодром")));
    const QImage big = picture(&widget);
    const QRect smallInk = Paper::ink(small);
    const QRect bigInk = Paper::ink(big);
    QVERIFY(qAbs(bigInk.bottom() - 3 * smallInk.bottom()) <= 9);
    // The caption is a third as wide there.
    const QRect smallCaption = Paper::ink(part(small, 0, lineHeight(210)));
    const QRect bigCaption = Paper::ink(part(big, 0, lineHeight(630)));
    QVERIFY(qAbs(bigCaption.width() - 3 * smallCaption.width()) <= 12);
    QVERIFY(qAbs(bigCaption.height() - 3 * smallCaption.height()) <= 6);
}

void TestQrPainterWidget::paperIsWhite()
{
    QWidget parent;
    parent.setStyleSheet(QStringLiteral("background: #204060; color: #ff0000"));
    parent.resize(300, 600);
    auto *widget = new QRPainterWidget(&parent);
    setUp(widget, 300, QStringLiteral("?p=0042"));
    const QImage image = parent.grab().toImage().convertToFormat(QImage::Format_RGB32);
    QCOMPARE(image.pixelColor(299, 599), QColor(Qt::white));
    QCOMPARE(image.pixelColor(0, 599), QColor(Qt::white));
    QCOMPARE(Paper::decodeQr(onPaper(image)), QStringList{QStringLiteral("?p=0042")});
}

// A ticket on the screen follows what it is given.
void TestQrPainterWidget::newContentIsShown()
{
    QRPainterWidget widget;
    setUp(&widget, 300, QStringLiteral("?p=0001"));
    widget.show();
    QVERIFY(QTest::qWaitForWindowExposed(&widget));
    QCOMPARE(Paper::decodeQr(onPaper(picture(&widget))), QStringList{QStringLiteral("?p=0001")});
    widget.setQrText(QStringLiteral("?p=0002"));
    QCOMPARE(Paper::decodeQr(onPaper(picture(&widget))), QStringList{QStringLiteral("?p=0002")});
}

void TestQrPainterWidget::tinyWidget_data()
{
    QTest::addColumn<QSize>("size");
    QTest::newRow("nothing") << QSize(0, 0);
    QTest::newRow("no letters") << QSize(9, 40);
    QTest::newRow("a line") << QSize(1, 100);
    QTest::newRow("no height") << QSize(100, 0);
}

// No size of a window is wrong.
void TestQrPainterWidget::tinyWidget()
{
    QFETCH(QSize, size);
    QRPainterWidget widget;
    widget.setQrText(QStringLiteral("?p=0042"));
    widget.setTicketData(names(QStringLiteral("Картодром")));
    widget.resize(size);
    QImage image(100, 100, QImage::Format_RGB32);
    image.fill(Qt::blue);
    widget.render(&image);
    if (!size.isEmpty())
        QVERIFY(image.pixelColor(0, 0) != QColor(Qt::blue));
}

void TestQrPainterWidget::dialog()
{
    const TestQRDialog dialog;
    QCOMPARE(dialog.size(), QSize(303, 342));
    QCOMPARE(dialog.windowTitle(), QStringLiteral("Dialog"));
    QVERIFY(!dialog.isVisible());
    auto *layout = dialog.findChild<QVBoxLayout *>(QStringLiteral("verticalLayout"));
    QVERIFY(layout);
    QCOMPARE(layout->count(), 2);
    auto *widget = dialog.findChild<QRPainterWidget *>(QStringLiteral("qrWidget"));
    QVERIFY(widget);
    QCOMPARE(layout->itemAt(0)->widget(), widget);
    auto *box = dialog.findChild<QDialogButtonBox *>(QStringLiteral("buttonBox"));
    QVERIFY(box);
    QCOMPARE(layout->itemAt(1)->widget(), box);
    QCOMPARE(box->orientation(), Qt::Horizontal);
    QCOMPARE(box->standardButtons(), QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
}

void TestQrPainterWidget::dialogButtons()
{
    TestQRDialog dialog;
    auto *box = dialog.findChild<QDialogButtonBox *>(QStringLiteral("buttonBox"));
    QSignalSpy accepted(&dialog, &QDialog::accepted);
    QSignalSpy rejected(&dialog, &QDialog::rejected);
    dialog.show();
    box->button(QDialogButtonBox::Ok)->click();
    QCOMPARE(accepted.count(), 1);
    QCOMPARE(rejected.count(), 0);
    dialog.show();
    box->button(QDialogButtonBox::Cancel)->click();
    QCOMPARE(accepted.count(), 1);
    QCOMPARE(rejected.count(), 1);
}

DESK_TEST_MAIN(TestQrPainterWidget)

#include "tst_qrpainterwidget.moc"
