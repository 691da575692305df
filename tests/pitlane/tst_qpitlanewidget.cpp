#include "pitlane/qpitlanewidget.h"

#include "pitlane/pitlanecarsmodel.h"

#include "desktest.h"
#include "jsonmatch.h"

#include <QImage>
#include <QJsonArray>
#include <QJsonObject>

#include <memory>

/// The tiles of the pit lane: pixels and mouse.
class QPitlaneWidgetTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void sizes();
    void frame();
    void firstTile();
    void columnsByModel();
    void unknownCar();
    void invalidColor_data();
    void invalidColor();
    void textColor_data();
    void textColor();
    void labels();
    void borders();
    void repaintsOnChange();
    void modelGoesFirst();
    void anotherModel();
    void tilesBeyondTheEdge();
    void clicks();
    void anyButton();
    void clickBeforeTheFirstPaint();
    void clickRepaintsOnce();
    void clickWithoutModel();

private:
    /// Lets a car in, drawn in that colour.
    void enter(int id, const char *model, const char *color, const char *num = "");
    QList<int> selected() const;
    QImage picture();
    void click(const QPoint &where, Qt::MouseButton button = Qt::LeftButton);

    std::unique_ptr<TempTrack> track;
    std::unique_ptr<PitLaneCarsModel> model;
    std::unique_ptr<QPitlaneWidget> widget;
    QJsonObject table;
};

namespace {

/// Counts the paint events of a widget.
class PaintCounter : public QObject
{
public:
    explicit PaintCounter(QWidget *widget) { widget->installEventFilter(this); }
    int count = 0;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::Paint)
            ++count;
        return QObject::eventFilter(watched, event);
    }
};

QColor at(const QImage &picture, int x, int y)
{
    return picture.pixelColor(x, y);
}

/// The darkest and the lightest grey that is drawn there.
std::pair<int, int> greys(const QImage &picture, const QRect &area)
{
    std::pair<int, int> range(255, 0);
    for (int y = area.top(); y <= area.bottom(); ++y) {
        for (int x = area.left(); x <= area.right(); ++x) {
            const int grey = qGray(picture.pixel(x, y));
            range.first = qMin(range.first, grey);
            range.second = qMax(range.second, grey);
        }
    }
    return range;
}

/// Columns, relative to the area, in which anything but this colour is drawn: the first and the last one.
std::pair<int, int> extent(const QImage &picture, const QRect &area, const QColor &ground)
{
    std::pair<int, int> range(-1, -1);
    for (int x = area.left(); x <= area.right(); ++x) {
        for (int y = area.top(); y <= area.bottom(); ++y) {
            if (at(picture, x, y) == ground)
                continue;
            if (range.first == -1)
                range.first = x - area.left();
            range.second = x - area.left();
            break;
        }
    }
    return range;
}

} // namespace

void QPitlaneWidgetTest::init()
{
    track = std::make_unique<TempTrack>(TempTrack::Tree);
    model = std::make_unique<PitLaneCarsModel>();
    table = QJsonObject();
    widget = std::make_unique<QPitlaneWidget>();
    QPalette palette = widget->palette();
    palette.setColor(QPalette::Window, QColor(0xfe, 0xfe, 0xfe));
    widget->setPalette(palette);
    widget->resize(400, 300);
    widget->setModel(model.get());
}

void QPitlaneWidgetTest::cleanup()
{
    widget.reset();
    model.reset();
    track.reset();
}

void QPitlaneWidgetTest::enter(int id, const char *carModel, const char *color, const char *num)
{
    table.insert(QString::number(id), QJsonObject{{"transponderId", id},
                                                  {"carModel", QString::fromUtf8(carModel)},
                                                  {"carNum", QString::fromUtf8(num)},
                                                  {"color", QString::fromLatin1(color)}});
    model->setCarsTable(table);
    model->carIn(id);
}

QList<int> QPitlaneWidgetTest::selected() const
{
    QList<int> ids;
    for (const PitLaneCar &car : model->cars()) {
        if (car.selected)
            ids.append(car.transponderId);
    }
    return ids;
}

QImage QPitlaneWidgetTest::picture()
{
    return widget->grab().toImage().convertToFormat(QImage::Format_RGB32);
}

void QPitlaneWidgetTest::click(const QPoint &where, Qt::MouseButton button)
{
    QTest::mouseClick(widget.get(), button, Qt::NoModifier, where);
}

void QPitlaneWidgetTest::sizes()
{
    QCOMPARE(widget->sizeHint(), QSize(100, 150));
    enter(1, "Sodi", "#ff8000");
    QCOMPARE(widget->sizeHint(), QSize(100, 150));
}

void QPitlaneWidgetTest::frame()
{
    for (const bool withModel : {true, false}) {
        if (!withModel)
            widget->setModel(nullptr);
        const QImage shot = picture();
        const QColor ground(0xfe, 0xfe, 0xfe);
        const QColor gray(Qt::gray);
        QCOMPARE(at(shot, 0, 100), ground);
        QCOMPARE(at(shot, 1, 100), gray);
        QCOMPARE(at(shot, 2, 100), ground);
        QCOMPARE(at(shot, 100, 0), ground);
        QCOMPARE(at(shot, 100, 1), gray);
        QCOMPARE(at(shot, 100, 2), ground);
        QCOMPARE(at(shot, 398, 100), ground);
        QCOMPARE(at(shot, 399, 100), gray);
        QCOMPARE(at(shot, 100, 298), ground);
        QCOMPARE(at(shot, 100, 299), gray);
        // A frame and nothing in it.
        QCOMPARE(greys(shot, QRect(2, 2, 396, 296)), std::make_pair(254, 254));
    }
}

void QPitlaneWidgetTest::firstTile()
{
    enter(1, "", "#ff8000");
    const QImage shot = picture();
    const QColor ground(0xfe, 0xfe, 0xfe);
    const QColor orange(0xff, 0x80, 0x00);
    const QColor black(Qt::black);
    QCOMPARE(model->cars().constFirst().rect, QRect(8, 8, 64, 64));
    // The border runs on the rectangle's first pixels and right behind its last ones.
    QCOMPARE(at(shot, 7, 40), ground);
    QCOMPARE(at(shot, 8, 40), black);
    QCOMPARE(at(shot, 9, 40), orange);
    QCOMPARE(at(shot, 71, 40), orange);
    QCOMPARE(at(shot, 72, 40), black);
    QCOMPARE(at(shot, 73, 40), ground);
    QCOMPARE(at(shot, 40, 7), ground);
    QCOMPARE(at(shot, 40, 8), black);
    QCOMPARE(at(shot, 40, 9), orange);
    QCOMPARE(at(shot, 40, 71), orange);
    QCOMPARE(at(shot, 40, 72), black);
    QCOMPARE(at(shot, 40, 73), ground);
}

/// Sorted columns; in a column the cars stand as they drove in.
void QPitlaneWidgetTest::columnsByModel()
{
    enter(1, "Sodi", "#0000ff");
    enter(2, "Rimo", "#ff0000");
    enter(3, "Sodi", "#00ff00");
    enter(4, "", "#808000");
    enter(5, "Sodi", "#00ffff");
    const QImage shot = picture();
    const QPoint middle(32, 32);
    const auto tile = [&](int column, int row) { return QPoint(8 + 72 * column, 8 + 72 * row) + middle; };
    const auto colorAt = [&](int column, int row) { return shot.pixelColor(tile(column, row)); };
    QCOMPARE(colorAt(0, 0), QColor(0x80, 0x80, 0x00));
    QCOMPARE(colorAt(0, 1), QColor(0xfe, 0xfe, 0xfe));
    QCOMPARE(colorAt(1, 0), QColor(0xff, 0x00, 0x00));
    QCOMPARE(colorAt(1, 1), QColor(0xfe, 0xfe, 0xfe));
    QCOMPARE(colorAt(2, 0), QColor(0x00, 0x00, 0xff));
    QCOMPARE(colorAt(2, 1), QColor(0x00, 0xff, 0x00));
    QCOMPARE(colorAt(2, 2), QColor(0x00, 0xff, 0xff));
    QCOMPARE(colorAt(3, 0), QColor(0xfe, 0xfe, 0xfe));
    QList<QRect> rects;
    for (const PitLaneCar &car : model->cars())
        rects.append(car.rect);
    QCOMPARE(rects,
             (QList<QRect>{{152, 8, 64, 64}, {80, 8, 64, 64}, {152, 80, 64, 64}, {8, 8, 64, 64}, {152, 152, 64, 64}}));
}

void QPitlaneWidgetTest::unknownCar()
{
    enter(1, "Sodi", "#0000ff");
    model->carIn(77);
    const QImage shot = picture();
    // White, in front of all models, and without a word on it.
    QCOMPARE(at(shot, 40, 40), QColor(Qt::white));
    QCOMPARE(greys(shot, QRect(10, 10, 60, 60)), std::make_pair(255, 255));
    QCOMPARE(at(shot, 112, 40), QColor(Qt::blue));
}

void QPitlaneWidgetTest::invalidColor_data()
{
    QTest::addColumn<QByteArray>("color");
    QTest::newRow("empty") << QByteArray("");
    QTest::newRow("no colour") << QByteArray("#zz");
}

/// What a brush makes of no colour is black.
void QPitlaneWidgetTest::invalidColor()
{
    QFETCH(QByteArray, color);
    enter(1, "", color.constData(), "888");
    const QImage shot = picture();
    QCOMPARE(at(shot, 40, 40), QColor(Qt::black));
    const QRect numbers(12, 12, 56, 20);
    QVERIFY(greys(shot, numbers).second > 200);
}

void QPitlaneWidgetTest::textColor_data()
{
    QTest::addColumn<QByteArray>("color");
    QTest::addColumn<bool>("white");

    QTest::newRow("luminance 179") << QByteArray("#b3b3b3") << true;
    QTest::newRow("luminance 180") << QByteArray("#b4b4b4") << false;
    QTest::newRow("black") << QByteArray("#000000") << true;
    QTest::newRow("white") << QByteArray("#ffffff") << false;
}

void QPitlaneWidgetTest::textColor()
{
    QFETCH(QByteArray, color);
    QFETCH(bool, white);
    enter(1, "HHH", color.constData(), "888");
    const QImage shot = picture();
    const int ground = qGray(QColor(QString::fromLatin1(color)).rgb());
    // The number above, the model below.
    for (const QRect &label : {QRect(12, 10, 56, 20), QRect(12, 50, 56, 20)}) {
        const std::pair<int, int> range = greys(shot, label);
        if (white) {
            QCOMPARE(range.first, ground);
            QVERIFY2(range.second > 225, qPrintable(QString::number(range.second)));
        } else {
            QVERIFY2(range.first < 80, qPrintable(QString::number(range.first)));
            QCOMPARE(range.second, ground);
        }
    }
}

void QPitlaneWidgetTest::labels()
{
    const QColor ground(0xff, 0xff, 0x00);
    const QRect above(10, 10, 60, 20);
    const QRect below(10, 50, 60, 20);
    enter(1, "", "#ffff00", "88");
    QImage shot = picture();
    std::pair<int, int> number = extent(shot, above, ground);
    QVERIFY(number.first > 0);
    // Centred, give or take the room of a letter.
    QVERIFY2(qAbs(number.first - (59 - number.second)) <= 3, qPrintable(QString::number(number.first)));
    QCOMPARE(extent(shot, below, ground), std::make_pair(-1, -1));
    QCOMPARE(extent(shot, QRect(10, 34, 60, 12), ground), std::make_pair(-1, -1));

    model->carOut(1);
    enter(2, "HH", "#ffff00");
    shot = picture();
    const std::pair<int, int> name = extent(shot, below, ground);
    QVERIFY(name.first > 0);
    QVERIFY2(qAbs(name.first - (59 - name.second)) <= 3, qPrintable(QString::number(name.first)));
    QCOMPARE(extent(shot, above, ground), std::make_pair(-1, -1));
}

void QPitlaneWidgetTest::borders()
{
    enter(1, "", "#ff8000");
    enter(2, "", "#ff8000");
    picture();
    QVERIFY(model->selectAt(QPoint(40, 40)));
    const QImage shot = picture();
    const QColor black(Qt::black);
    const QColor orange(0xff, 0x80, 0x00);
    const QColor ground(0xfe, 0xfe, 0xfe);
    // Two pixels around the selected tile, one around the other.
    QCOMPARE(at(shot, 6, 40), ground);
    QCOMPARE(at(shot, 7, 40), black);
    QCOMPARE(at(shot, 8, 40), black);
    QCOMPARE(at(shot, 9, 40), orange);
    QCOMPARE(at(shot, 70, 40), orange);
    QCOMPARE(at(shot, 71, 40), black);
    QCOMPARE(at(shot, 72, 40), black);
    QCOMPARE(at(shot, 73, 40), ground);
    QCOMPARE(at(shot, 7, 112), ground);
    QCOMPARE(at(shot, 8, 112), black);
    QCOMPARE(at(shot, 9, 112), orange);
    QCOMPARE(at(shot, 71, 112), orange);
    QCOMPARE(at(shot, 72, 112), black);
}

void QPitlaneWidgetTest::repaintsOnChange()
{
    widget->show();
    QVERIFY(QTest::qWaitForWindowExposed(widget.get()));
    QCoreApplication::processEvents();
    PaintCounter paints(widget.get());
    enter(1, "", "#ff8000");
    QTRY_COMPARE(paints.count, 1);
    // A car that enters again changes nothing; one that leaves without having been there is news all the same.
    model->carIn(1);
    QTest::qWait(30);
    QCOMPARE(paints.count, 1);
    model->carOut(77);
    QTRY_COMPARE(paints.count, 2);
    model->clearPitlane();
    QTRY_COMPARE(paints.count, 3);
    widget->setModel(model.get());
    QTRY_COMPARE(paints.count, 4);
    // Set twice, heard once.
    enter(2, "", "#ff8000");
    QTRY_COMPARE(paints.count, 5);
    QTest::qWait(30);
    QCOMPARE(paints.count, 5);
}

void QPitlaneWidgetTest::modelGoesFirst()
{
    enter(1, "", "#ff8000");
    QCOMPARE(at(picture(), 40, 40), QColor(0xff, 0x80, 0x00));
    model.reset();
    const QImage shot = picture();
    QCOMPARE(at(shot, 40, 40), QColor(0xfe, 0xfe, 0xfe));
    QCOMPARE(at(shot, 1, 100), QColor(Qt::gray));
    click(QPoint(40, 40));
}

void QPitlaneWidgetTest::anotherModel()
{
    enter(1, "", "#ff8000");
    track->removeJournal("pitlanestate.json");
    PitLaneCarsModel other;
    widget->setModel(&other);
    QCOMPARE(at(picture(), 40, 40), QColor(0xfe, 0xfe, 0xfe));
    widget->show();
    QVERIFY(QTest::qWaitForWindowExposed(widget.get()));
    QCoreApplication::processEvents();
    PaintCounter paints(widget.get());
    model->carOut(1);
    QTest::qWait(30);
    QCOMPARE(paints.count, 0);
    other.carIn(5);
    QTRY_COMPARE(paints.count, 1);
    QCOMPARE(at(picture(), 40, 40), QColor(Qt::white));
}

void QPitlaneWidgetTest::tilesBeyondTheEdge()
{
    widget->resize(100, 150);
    for (int id = 0; id < 5; ++id)
        enter(id, "", "#ff8000");
    const QImage shot = picture();
    QCOMPARE(shot.size(), QSize(100, 150));
    QCOMPARE(at(shot, 40, 140), QColor(0xff, 0x80, 0x00));
    // No second column, and the last tile keeps its place out of sight.
    QCOMPARE(at(shot, 90, 40), QColor(0xfe, 0xfe, 0xfe));
    QCOMPARE(model->cars().constLast().rect, QRect(8, 8 + 4 * 72, 64, 64));
}

void QPitlaneWidgetTest::clicks()
{
    enter(1, "", "#ff8000");
    enter(2, "", "#ff8000");
    enter(3, "Sodi", "#ff8000");
    picture();
    click(QPoint(40, 40));
    QCOMPARE(selected(), QList<int>{1});
    click(QPoint(40, 112));
    QCOMPARE(selected(), QList<int>{2});
    click(QPoint(112, 40));
    QCOMPARE(selected(), QList<int>{3});
    // Edges and corners belong to the tile, the gaps to nobody.
    for (const QPoint &inside : {QPoint(8, 8), QPoint(71, 8), QPoint(8, 71), QPoint(71, 71)}) {
        click(QPoint(112, 40));
        click(inside);
        QCOMPARE(selected(), QList<int>{1});
    }
    for (const QPoint &outside : {QPoint(7, 40), QPoint(72, 40), QPoint(40, 7), QPoint(40, 72), QPoint(300, 200)}) {
        click(QPoint(40, 40));
        QCOMPARE(selected(), QList<int>{1});
        click(outside);
        QCOMPARE(selected(), QList<int>());
    }
    // The second click leaves the tile selected.
    click(QPoint(40, 40));
    click(QPoint(41, 41));
    QCOMPARE(selected(), QList<int>{1});
}

void QPitlaneWidgetTest::anyButton()
{
    enter(1, "", "#ff8000");
    enter(2, "", "#ff8000");
    picture();
    click(QPoint(40, 40), Qt::RightButton);
    QCOMPARE(selected(), QList<int>{1});
    click(QPoint(40, 112), Qt::MiddleButton);
    QCOMPARE(selected(), QList<int>{2});
}

void QPitlaneWidgetTest::clickBeforeTheFirstPaint()
{
    enter(1, "", "#ff8000");
    click(QPoint(40, 40));
    QCOMPARE(selected(), QList<int>());
    picture();
    click(QPoint(40, 40));
    QCOMPARE(selected(), QList<int>{1});
    // A car that came since has no place yet, not even the old one of another car.
    enter(2, "", "#ff8000");
    click(QPoint(40, 112));
    QCOMPARE(selected(), QList<int>());
    click(QPoint(0, 0));
    QCOMPARE(selected(), QList<int>());
}

void QPitlaneWidgetTest::clickRepaintsOnce()
{
    enter(1, "", "#ff8000");
    enter(2, "", "#ff8000");
    widget->show();
    QVERIFY(QTest::qWaitForWindowExposed(widget.get()));
    QTRY_VERIFY(!model->cars().constLast().rect.isNull());
    QCoreApplication::processEvents();
    click(QPoint(40, 40));
    QCoreApplication::processEvents();
    PaintCounter paints(widget.get());
    // Two flags change.
    click(QPoint(40, 112));
    QTRY_COMPARE(paints.count, 1);
    click(QPoint(40, 112));
    QTest::qWait(30);
    QCOMPARE(paints.count, 1);
    click(QPoint(300, 200));
    QTRY_COMPARE(paints.count, 2);
    click(QPoint(300, 200));
    QTest::qWait(30);
    QCOMPARE(paints.count, 2);
}

void QPitlaneWidgetTest::clickWithoutModel()
{
    widget->setModel(nullptr);
    click(QPoint(40, 40));
    QCOMPARE(at(picture(), 1, 100), QColor(Qt::gray));
}

DESK_TEST_MAIN(QPitlaneWidgetTest)
#include "tst_qpitlanewidget.moc"
