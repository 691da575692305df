#include "registration/tables/dragbadge.h"

#include "desktest.h"
#include "jsonmatch.h"

#include <QImage>

namespace {

const QRect whole(0, 0, 64, 64);

/// Pixels of a colour within a rectangle.
int count(const QImage &image, const QRect &area, const QColor &color)
{
    int pixels = 0;
    for (int y = area.top(); y <= area.bottom(); ++y) {
        for (int x = area.left(); x <= area.right(); ++x)
            pixels += image.pixelColor(x, y) == color ? 1 : 0;
    }
    return pixels;
}

/// A badge without the text, which depends on the font.
QImage picture(const QColor &color, bool stacked)
{
    DragBadge badge;
    badge.color = color;
    badge.stacked = stacked;
    return badge.pixmap().toImage().convertToFormat(QImage::Format_ARGB32);
}

bool isFramed(const QImage &image, const QRect &frame)
{
    for (int x = frame.left(); x <= frame.right(); ++x) {
        if (image.pixelColor(x, frame.bottom()) != Qt::black)
            return false;
    }
    for (int y = frame.top(); y <= frame.bottom(); ++y) {
        if (image.pixelColor(frame.right(), y) != Qt::black)
            return false;
    }
    return image.pixelColor(frame.topLeft()) == Qt::black;
}

} // namespace

/// The picture that follows the mouse.
class DragBadgeTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void records_data();
    void records();
    void oneSheet();
    void threeSheets();
    void text_data();
    void text();
};

void DragBadgeTest::records_data()
{
    QTest::addColumn<QByteArray>("records");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QColor>("color");
    QTest::addColumn<bool>("stacked");

    const QColor white(Qt::white);
    QTest::newRow("none") << QByteArray("[]") << "" << white << false;
    QTest::newRow("one") << QByteArray(R"([{"name":"Иванов Иван","color":"#ff0000"}])") << "Иванов Иван"
                         << QColor(Qt::red) << false;
    QTest::newRow("unreadable colour") << QByteArray(R"([{"name":"И","color":"красный"}])") << "И" << white << false;
    QTest::newRow("colour of another type") << QByteArray(R"([{"name":"И","color":255}])") << "И" << white << false;
    QTest::newRow("without anything") << QByteArray("[{}]") << "" << white << false;
    QTest::newRow("no object") << QByteArray("[5]") << "" << white << false;
    QTest::newRow("two") << QByteArray(R"([{"name":"И","color":"#ff0000"},{"name":"П","color":"#ff0000"}])") << "x 2"
                         << white << true;
    QTest::newRow("eleven") << QByteArray("[1,2,3,4,5,6,7,8,9,10,11]") << "x 11" << white << true;
}

void DragBadgeTest::records()
{
    QFETCH(QByteArray, records);
    const DragBadge badge = DragBadge::forRecords(JsonMatch::array(records));
    QTEST(badge.text, "text");
    QTEST(badge.color, "color");
    QTEST(badge.stacked, "stacked");
}

void DragBadgeTest::oneSheet()
{
    const QImage image = picture(Qt::red, false);
    QCOMPARE(image.size(), QSize(64, 64));
    QVERIFY(isFramed(image, whole));
    QCOMPARE(count(image, whole.adjusted(1, 1, -1, -1), Qt::red), 62 * 62);
}

void DragBadgeTest::threeSheets()
{
    const QImage image = picture(Qt::red, true);
    QVERIFY(isFramed(image, QRect(QPoint(8, 8), QPoint(63, 63))));
    QCOMPARE(count(image, QRect(QPoint(9, 9), QPoint(62, 62)), Qt::red), 54 * 54);
    // Of the sheets below only the upper left edges are seen.
    for (const int corner : {0, 4}) {
        const int end = corner == 0 ? 47 : 55;
        for (int i = corner; i <= end; ++i) {
            QCOMPARE(image.pixelColor(i, corner), QColor(Qt::black));
            QCOMPARE(image.pixelColor(corner, i), QColor(Qt::black));
        }
        QCOMPARE(image.pixelColor(corner + 1, corner + 1), QColor(Qt::red));
        QCOMPARE(image.pixelColor(end, corner + 1), QColor(Qt::black));
        QCOMPARE(image.pixelColor(end + 1, corner).alpha(), 0);
        QCOMPARE(image.pixelColor(corner, end + 1).alpha(), 0);
    }
    QCOMPARE(image.pixelColor(63, 0).alpha(), 0);
    QCOMPARE(image.pixelColor(0, 63).alpha(), 0);
}

void DragBadgeTest::text_data()
{
    QTest::addColumn<bool>("stacked");
    QTest::newRow("one sheet") << false;
    QTest::newRow("three sheets") << true;
}

/// The text stands in the middle of the whole picture, in black.
void DragBadgeTest::text()
{
    QFETCH(bool, stacked);
    DragBadge badge;
    badge.stacked = stacked;
    badge.text = QStringLiteral("H");
    const QImage with = badge.pixmap().toImage().convertToFormat(QImage::Format_ARGB32);
    const QImage without = picture(Qt::white, stacked);
    QRect written;
    for (int y = 0; y < 64; ++y) {
        for (int x = 0; x < 64; ++x) {
            if (with.pixel(x, y) != without.pixel(x, y))
                written |= QRect(x, y, 1, 1);
        }
    }
    QVERIFY(!written.isEmpty());
    QVERIFY(qAbs(written.center().x() - 32) <= 2);
    QVERIFY(qAbs(written.center().y() - 32) <= 4);
}

DESK_TEST_MAIN(DragBadgeTest)
#include "tst_dragbadge.moc"
