#include "checkincounter.h"
#include "desktest.h"
#include "jsonmatch.h"
#include "modal.h"
#include "trackoffice.h"

#include <QColorDialog>
#include <QCursor>
#include <QDataStream>
#include <QDateTime>
#include <QDialogButtonBox>
#include <QDragMoveEvent>
#include <QJsonDocument>
#include <QLineEdit>
#include <QMimeData>
#include <QPainter>
#include <QRadioButton>
#include <QResource>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QSpinBox>

/// The rows of the runs as they are drawn, pressed, dragged over and dropped on.
class TestRunView : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void sizeOfARow_data();
    void sizeOfARow();
    void rowsFollowTheWidth();
    void buttonsAndTracking();
    void frame();
    void currentRunIsTinted();
    void finishedRunIsCheckered();
    void cells();
    void cellTexts();
    void racerWithoutACar();
    void signOfARacerWithoutACar();
    void titleBlock_data();
    void titleBlock();
    void longNameIsElided();
    void lockPattern();
    void lockedRunWithAHighlight();
    void pressSelects();
    void pressOnTheEdgeSelects();
    void deselectedRowLosesItsHighlight();
    void pressIsLeftToTheList();
    void dragEnter_data();
    void dragEnter();
    void dragMove_data();
    void dragMove();
    void drop();
    void oddDrops_data();
    void oddDrops();
    void dropOnALockedRunIsNotChecked();
    void dropTakesTheNewcomersCar();
    void listDragEnter_data();
    void listDragEnter();
    void listDragMove_data();
    void listDragMove();
    void titleOpensTheParameters();
    void colourFromTheDialog_data();
    void colourFromTheDialog();
    void parametersOpenAtThePointer();
    void parametersCancelled();
    void lapsFromTheDialog();
    void secondsAreCutToMinutes();
    void otherPlacesOpenNothing();
    void parametersOfAPastRun();
    void parametersOutliveTheirRun_data();
    void parametersOutliveTheirRun();
};

namespace {

using JsonMatch::object;

const QString RunA = QStringLiteral("{run-a}");
const QString RunB = QStringLiteral("{run-b}");
const QString Anna = QStringLiteral("{anna}");
const QString Boris = QStringLiteral("{boris}");
const QString Json = QStringLiteral("application/json");
const QString Rows = QStringLiteral("application/x-qabstractitemmodeldatalist");
const QString ParamsTitle = text("Параметры заезда");

QColor orange()
{
    return QColor(QStringLiteral("#ff8000"));
}

// So many racers, each of a colour and without a name, so that the cells show no text but the model's.
QVector<QJsonObject> racers(int count)
{
    QVector<QJsonObject> seats;
    for (int i = 0; i < count; ++i)
        seats.append(TrackOffice::seat(QStringLiteral("{racer-%1}").arg(i), -1001 - i,
                                       {{QStringLiteral("name"), QString()}, {QStringLiteral("carModel"), QString()}}));
    return seats;
}

QColor at(const QImage &picture, int x, int y)
{
    return QColor(picture.pixel(x, y));
}

bool isPlain(const QImage &picture, const QRect &where, const QColor &color)
{
    for (int y = where.top(); y <= where.bottom(); ++y) {
        for (int x = where.left(); x <= where.right(); ++x) {
            if (at(picture, x, y) != color)
                return false;
        }
    }
    return true;
}

int blackPixels(const QImage &picture, const QRect &where)
{
    int count = 0;
    for (int y = where.top(); y <= where.bottom(); ++y) {
        for (int x = where.left(); x <= where.right(); ++x)
            count += at(picture, x, y) == QColor(Qt::black) ? 1 : 0;
    }
    return count;
}

QColor background(const QWidget *run)
{
    return run->palette().color(QPalette::Window);
}

QColor blended(const QColor &below, const QColor &above, int alpha)
{
    QImage image(1, 1, QImage::Format_RGB32);
    image.fill(below);
    QPainter painter(&image);
    QColor paint(above);
    paint.setAlpha(alpha);
    painter.fillRect(image.rect(), paint);
    painter.end();
    return QColor(image.pixel(0, 0));
}

void setCurrent(TrackOffice &office, const QString &guid, const QString &state)
{
    office.desk().send(QStringLiteral("new_run_started"), {{QStringLiteral("runQueueGuid"), guid}});
    if (!state.isEmpty())
        office.desk().send(QStringLiteral("refresh_run_info"),
                           {{QStringLiteral("runQueueGuid"), guid}, {QStringLiteral("runState"), state}});
    office.desk().clear();
}

std::unique_ptr<QMimeData> jsonData(const QByteArray &bytes)
{
    auto mime = std::make_unique<QMimeData>();
    mime->setData(Json, bytes);
    mime->setData(QStringLiteral("source"), "waitingQueue");
    return mime;
}

std::unique_ptr<QMimeData> carrying(const QJsonArray &list)
{
    return jsonData(QJsonDocument(QJsonObject{{QStringLiteral("srcList"), list}}).toJson(QJsonDocument::Compact));
}

// Events go to the widget itself, and not on to its parents.
void deliver(QWidget *to, QEvent *event)
{
    static_cast<QObject *>(to)->event(event);
}

bool enters(QWidget *run, const QMimeData *mime, Qt::DropActions actions, bool before = false)
{
    QDragEnterEvent event(QPoint(150, 30), actions, mime, Qt::LeftButton, Qt::NoModifier);
    event.setAccepted(before);
    deliver(run, &event);
    return event.isAccepted();
}

bool moves(QWidget *run, const QMimeData *mime, bool before)
{
    QDragMoveEvent event(QPoint(150, 30), Qt::MoveAction, mime, Qt::LeftButton, Qt::NoModifier);
    event.setAccepted(before);
    deliver(run, &event);
    return event.isAccepted();
}

struct Dropped
{
    bool accepted;
    Qt::DropAction action;
};

Dropped drops(QWidget *run, const QMimeData *mime, Qt::DropActions actions = Qt::MoveAction)
{
    QDropEvent event(QPoint(150, 30), actions, mime, Qt::LeftButton, Qt::NoModifier);
    event.setAccepted(false);
    deliver(run, &event);
    return {event.isAccepted(), event.dropAction()};
}

// A double click where the pointer of a desk without a mouse stands is as good as any.
void doubleClick(QWidget *run, const QPoint &where)
{
    QTest::mouseDClick(run, Qt::LeftButton, Qt::NoModifier, where);
}

QString operator""_s(const char *name, size_t length)
{
    return QString::fromLatin1(name, int(length));
}

void acceptDialog(QDialog *dialog, bool yes = true)
{
    dialog->findChild<QDialogButtonBox *>("buttonBox"_s)
        ->button(yes ? QDialogButtonBox::Ok : QDialogButtonBox::Cancel)
        ->click();
}

} // namespace

void TestRunView::sizeOfARow_data()
{
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("height");
    QTest::addColumn<int>("columns");
    QTest::newRow("nobody") << 300 << 0 << 72 << 2;
    QTest::newRow("one racer") << 300 << 1 << 72 << 2;
    QTest::newRow("two columns") << 300 << 2 << 72 << 2;
    QTest::newRow("two rows") << 300 << 3 << 140 << 2;
    QTest::newRow("one column") << 200 << 3 << 208 << 1;
    QTest::newRow("still one column") << 283 << 2 << 140 << 1;
    QTest::newRow("just two columns") << 284 << 2 << 72 << 2;
    QTest::newRow("narrower than a cell") << 90 << 2 << 140 << 1;
    QTest::newRow("wide") << 900 << 10 << 140 << 9;
}

void TestRunView::sizeOfARow()
{
    QFETCH(int, width);
    QFETCH(int, count);
    QFETCH(int, height);
    QFETCH(int, columns);
    TrackOffice office;
    office.seedQueue({{RunA, racers(count)}});
    QVERIFY(office.open());
    QWidget *run = office.run(0);
    QCOMPARE(run->minimumSize(), QSize(88, 72));
    run->resize(width, 72);
    QCOMPARE(run->size(), QSize(width, height));
    QCOMPARE(run->sizeHint(), run->size());
    QCOMPARE(office.queue()->item(0)->sizeHint(), QSize(0, height));
    const QImage picture = TrackOffice::picture(run);
    for (int i = 0; i < count; ++i) {
        const QRect cell(116 + 84 * (i % columns), 4 + 68 * (i / columns), 80, 64);
        if (cell.right() >= width)
            continue;
        QVERIFY(isPlain(picture, cell.adjusted(1, 20, -1, -20), orange()));
        QVERIFY(at(picture, cell.left() - 2, cell.center().y()) != orange());
        QVERIFY(at(picture, cell.center().x(), cell.bottom() + 3) != orange());
    }
}

void TestRunView::rowsFollowTheWidth()
{
    TrackOffice office;
    office.seedQueue({{RunA, racers(9)}});
    QVERIFY(office.open());
    QWidget *run = office.run(0);
    QCOMPARE(run->width(), office.queue()->viewport()->width());
    QSignalSpy sizes(run, SIGNAL(updateSize(QSize)));
    run->resize(300, run->height());
    QVERIFY(!sizes.isEmpty());
    QCOMPARE(sizes.last().at(0).toSize(), QSize(300, 5 * 68 + 4));
    // A racer more makes a row more.
    drops(run, carrying({TrackOffice::seat(Anna, 0)}).get());
    QCOMPARE(run->height(), 5 * 68 + 4);
    drops(run, carrying({TrackOffice::seat(Boris, 0)}).get());
    QCOMPARE(run->height(), 6 * 68 + 4);
    QCOMPARE(office.queue()->item(0)->sizeHint(), QSize(0, 6 * 68 + 4));
}

void TestRunView::buttonsAndTracking()
{
    TrackOffice office;
    office.seedQueue({{RunA, {}}});
    QVERIFY(office.open());
    QWidget *run = office.run(0);
    QCOMPARE(QString::fromLatin1(run->metaObject()->className()), "RunContainerWidget"_s);
    QVERIFY(run->acceptDrops());
    QVERIFY(run->hasMouseTracking());
    QVERIFY(TrackOffice::lockButton(run)->isVisible() && TrackOffice::startButton(run)->isVisible());
    QVERIFY(TrackOffice::hasIcon(TrackOffice::lockButton(run), "runUnlocked"));
    QVERIFY(TrackOffice::hasIcon(TrackOffice::startButton(run), "startRun"));
    for (const QString &name : {"noResultIcon"_s, "noCarIcon"_s}) {
        const QImage icon(":/ticketPlugin/"_s + name);
        QCOMPARE(icon.size(), QSize(64, 64));
        QVERIFY(icon.hasAlphaChannel());
    }
    for (const QString &name : {"runUnlocked"_s, "closeIcon"_s, "runLocked"_s, "startRun"_s}) {
        const QImage icon(":/ticketPlugin/"_s + name);
        QCOMPARE(icon.size(), QSize(24, 24));
        QVERIFY(icon.hasAlphaChannel());
    }
    QVERIFY(QPixmap(":/ticketPlugin/alert"_s).isNull());
    QVERIFY(QPixmap(":/ticketPlugin/warning"_s).isNull());
    QListWidget *queue = office.queue();
    QCOMPARE(queue->selectionMode(), QAbstractItemView::ExtendedSelection);
    QCOMPARE(queue->dragDropMode(), QAbstractItemView::InternalMove);
    QCOMPARE(queue->spacing(), 0);
    QCOMPARE(queue->contextMenuPolicy(), Qt::CustomContextMenu);
    QListWidget *history = office.history();
    QCOMPARE(history->selectionMode(), QAbstractItemView::ExtendedSelection);
    QCOMPARE(history->spacing(), 0);
    QVERIFY(!history->acceptDrops() || history->dragDropMode() == QAbstractItemView::NoDragDrop);
    QVERIFY(!history->dragEnabled());
}

void TestRunView::frame()
{
    TrackOffice office;
    office.seedQueue({{RunA, {}}});
    QVERIFY(office.open());
    QWidget *run = office.run(0);
    const QImage picture = TrackOffice::picture(run);
    // QRect's right and bottom are inside of it, and a pen of width 0 is drawn on the far edge.
    const QRect frame = run->rect().adjusted(1, 1, -1, -1);
    const int right = picture.width() - 1;
    QCOMPARE(at(picture, 200, frame.top()), QColor(Qt::black));
    QCOMPARE(at(picture, frame.left(), 60), QColor(Qt::black));
    QCOMPARE(at(picture, 200, 0), background(run));
    QCOMPARE(at(picture, 0, 36), background(run));
    QVERIFY(isPlain(picture, QRect(200, 2, 100, run->height() - 5), background(run)));
    QCOMPARE(blackPixels(picture, QRect(200, run->height() - 3, 1, 3)), 1);
    QCOMPARE(blackPixels(picture, QRect(right - 2, 36, 3, 1)), 1);
}

void TestRunView::currentRunIsTinted()
{
    TrackOffice office;
    office.seedQueue({{RunA, {}}, {RunB, {}}});
    QVERIFY(office.open());
    const QColor plain = background(office.run(0));
    QCOMPARE(at(TrackOffice::picture(office.run(0)), 200, 36), plain);
    setCurrent(office, RunA, QString());
    const QColor tint = blended(plain, Qt::green, 64);
    const QImage picture = TrackOffice::picture(office.run(0));
    QCOMPARE(at(picture, 200, 36), tint);
    QCOMPARE(at(picture, 8, 62), tint);
    QCOMPARE(at(picture, 200, 0), plain);
    QCOMPARE(at(picture, 100, 60), QColor(Qt::white)); // the title block hides it
    QCOMPARE(at(TrackOffice::picture(office.run(1)), 200, 36), plain);
    setCurrent(office, RunB, QString());
    QCOMPARE(at(TrackOffice::picture(office.run(0)), 200, 36), plain);
    QCOMPARE(at(TrackOffice::picture(office.run(1)), 200, 36), tint);
}

void TestRunView::finishedRunIsCheckered()
{
    TrackOffice office;
    office.seedQueue({{RunA, racers(1)}});
    QVERIFY(office.open());
    setCurrent(office, RunA, "running"_s);
    const QColor tint = blended(background(office.run(0)), Qt::green, 64);
    QCOMPARE(at(TrackOffice::picture(office.run(0)), 230, 40), tint);
    setCurrent(office, RunA, "finished"_s);
    const QImage picture = TrackOffice::picture(office.run(0));
    // Squares of 16 pixels over the whole frame, gray at the origin; the cell and the title lie on top.
    for (int y = 6; y < 66; y += 4) {
        for (int x = 210; x < 400; x += 4) {
            const bool gray = (x / 16 + y / 16) % 2 == 0;
            QCOMPARE(at(picture, x, y), QColor(gray ? Qt::gray : Qt::white));
        }
    }
    QCOMPARE(at(picture, 118, 36), orange());
    QVERIFY(isPlain(picture, QRect(100, 58, 11, 9), Qt::white));
}

void TestRunView::cells()
{
    TrackOffice office;
    QVector<QJsonObject> seats = racers(5);
    seats[1].insert("color"_s, "#00ff00"_s);
    seats[2].remove("color"_s);
    seats[3].insert("color"_s, "blue"_s);
    office.seedQueue({{RunA, seats}});
    QVERIFY(office.open());
    const QImage picture = TrackOffice::picture(office.run(0));
    const QList<QColor> colors{orange(), QColor(0, 255, 0), Qt::white, Qt::blue};
    for (int i = 0; i < colors.size(); ++i) {
        const QRect cell = TrackOffice::cell(office.run(0), i);
        QVERIFY2(isPlain(picture, cell.adjusted(1, 1, -1, -1), colors.at(i)), qPrintable(QString::number(i)));
        // The outline of a drawn rectangle: left and top on the cell's edge, right and bottom one further.
        QCOMPARE(blackPixels(picture, QRect(cell.left(), cell.top(), 81, 1)), 81);
        QCOMPARE(blackPixels(picture, QRect(cell.left(), cell.bottom() + 1, 81, 1)), 81);
        QCOMPARE(blackPixels(picture, QRect(cell.left(), cell.top(), 1, 65)), 65);
        QCOMPARE(blackPixels(picture, QRect(cell.right() + 1, cell.top(), 1, 65)), 65);
    }
}

void TestRunView::cellTexts()
{
    TrackOffice office;
    QVector<QJsonObject> seats = racers(4);
    seats[1].insert("name"_s, "WWW"_s);
    seats[2].insert("carModel"_s, "WWW"_s);
    seats[3].insert("carId"_s, 3);
    // What the racer's record says of the number doesn't count.
    seats[0].insert("carNum"_s, "WWW"_s);
    office.seedQueue({{RunA, seats}});
    QVERIFY(office.open());
    office.sendCars({TrackOffice::car(3, "Sodi"_s, "WWW"_s)});
    QWidget *run = office.run(0);
    const QImage picture = TrackOffice::picture(run);
    const int line = run->fontMetrics().height();
    QVERIFY(3 * line < 64);
    const auto written = [&](int index, int top, int height) {
        const QRect cell = TrackOffice::cell(run, index);
        return !isPlain(picture, QRect(cell.left() + 1, top + cell.top(), 79, height), orange());
    };
    // Name, middle, model, number of each cell.
    const QVector<QVector<bool>> expected{{false, false, false, false},
                                          {true, false, false, false},
                                          {false, false, true, false},
                                          {false, false, false, true}};
    for (int i = 0; i < expected.size(); ++i) {
        const QVector<bool> found{written(i, 1, line - 1), written(i, line, 64 - 3 * line - 1),
                                  written(i, 64 - 2 * line + 1, line - 2), written(i, 64 - line + 1, line - 2)};
        QVERIFY2(found == expected.at(i), qPrintable(QString::number(i)));
    }
    // Centred: as much room on the left as on the right, give or take the shape of the letters.
    for (int i = 1; i < 4; ++i) {
        const QRect cell = TrackOffice::cell(run, i);
        int left = cell.right();
        int right = cell.left();
        for (int y = cell.top() + 1; y < cell.bottom(); ++y) {
            for (int x = cell.left() + 1; x < cell.right(); ++x) {
                if (at(picture, x, y) == orange())
                    continue;
                left = qMin(left, x);
                right = qMax(right, x);
            }
        }
        QVERIFY(left < right);
        QVERIFY(qAbs((left - cell.left()) - (cell.right() - right)) <= 3);
    }
}

void TestRunView::racerWithoutACar()
{
    TrackOffice office;
    office.seedQueue({{RunA, racers(1)}});
    QVERIFY(office.open());
    // No resource brings the sign: the corner stays empty.
    const QRect cell = TrackOffice::cell(office.run(0), 0);
    QVERIFY(isPlain(TrackOffice::picture(office.run(0)), cell.adjusted(1, 1, -1, -1), orange()));
}

// The module brings no such sign, but another part of the program may.
void TestRunView::signOfARacerWithoutACar()
{
    QVERIFY(QResource::registerResource(QStringLiteral(ALERT_SIGN)));
    const auto gone = qScopeGuard([] { QResource::unregisterResource(QStringLiteral(ALERT_SIGN)); });
    const QImage sign = QImage(":/ticketPlugin/alert"_s).convertToFormat(QImage::Format_RGB32);
    QCOMPARE(sign.size(), QSize(10, 6));
    TrackOffice office;
    QVector<QJsonObject> seats = racers(3);
    seats[1].insert("carId"_s, 3);
    seats[2].insert("carId"_s, 99);
    office.seedQueue({{RunA, seats}});
    QVERIFY(office.open());
    office.sendCars({TrackOffice::car(3, "Sodi"_s, QString())});
    const QImage picture = TrackOffice::picture(office.run(0));
    QRect corner(QPoint(), sign.size());
    const QRect cell = TrackOffice::cell(office.run(0), 0);
    corner.moveBottomRight(cell.bottomRight());
    QVERIFY(picture.copy(corner) == sign);
    QVERIFY(isPlain(picture, QRect(cell.topLeft() + QPoint(1, 1), QPoint(cell.right(), corner.top() - 1)), orange()));
    QVERIFY(isPlain(picture, QRect(cell.topLeft() + QPoint(1, 1), QPoint(corner.left() - 1, cell.bottom())), orange()));
    // Whoever has a car, known or not, has no sign.
    for (int i = 1; i < 3; ++i)
        QVERIFY(isPlain(picture, TrackOffice::cell(office.run(0), i).adjusted(1, 1, 0, 0), orange()));
}

void TestRunView::titleBlock_data()
{
    QTest::addColumn<QJsonObject>("item");
    QTest::addColumn<QColor>("color");
    QTest::addColumn<QStringList>("lines");
    const QString time = QDateTime::fromSecsSinceEpoch(1000).toLocalTime().toString("hh:mm"_s);
    const QString best = text("По лучш. кр.");
    const QString place = text("По позиции");
    QTest::newRow("plain") << object(R"({"runNum": 5})") << QColor(Qt::white)
                           << QStringList{text("Заезд №5"), text("10 мин."), best, time};
    QTest::newRow("laps") << object(R"({"runName": "Кубок", "finishMode": 2, "finishParam": 20, "sortMode": 1,
                                        "runColor": "#00ff00"})")
                          << QColor(0, 255, 0) << QStringList{text("Кубок"), text("20 кр."), place, time};
    QTest::newRow("cut minutes") << object(R"({"runName": "A", "finishMode": 3, "finishParam": 119, "sortMode": 2})")
                                 << QColor(Qt::white) << QStringList{"A"_s, text("1 мин."), best, time};
}

// Paints the block once more by hand, with the fonts of the row, and compares every pixel.
void TestRunView::titleBlock()
{
    QFETCH(QJsonObject, item);
    QFETCH(QColor, color);
    QFETCH(QStringList, lines);
    item.insert("startTime"_s, 1000);
    TrackOffice office;
    office.seedQueue({{RunA, {}, item}}, true);
    QVERIFY(office.open());
    QWidget *run = office.run(0);
    const QRect block = TrackOffice::title();
    QImage expected(run->size(), QImage::Format_RGB32);
    expected.fill(background(run));
    expected.setDevicePixelRatio(run->devicePixelRatioF());
    QPainter painter(&expected);
    painter.setFont(run->font());
    painter.setPen(QPen(Qt::black, 0));
    painter.fillRect(block, color);
    QRect line(block.left(), block.top(), block.width(), painter.fontMetrics().height());
    for (int i = 0; i < lines.size(); ++i) {
        if (i == 3) {
            QFont bold = painter.font();
            bold.setWeight(75);
            painter.setFont(bold);
        }
        painter.drawText(line, Qt::AlignLeft, lines.at(i));
        line.moveTop(line.bottom());
    }
    painter.end();
    const QImage found = TrackOffice::picture(run);
    const auto same = [&](const QRect &where) { return found.copy(where) == expected.copy(where); };
    const int height = run->fontMetrics().height();
    QVERIFY(!isPlain(found, QRect(block.left(), block.top(), 70, height - 1), color));
    QVERIFY2(same(QRect(block.left(), block.top(), block.width(), height - 1)), "name");
    QVERIFY2(same(QRect(block.left(), block.top() + height, block.width(), height - 2)), "finish");
    QVERIFY2(same(QRect(block.left(), block.top() + 2 * height - 1, block.width(), height - 2)), "sort");
    QVERIFY2(same(QRect(block.left(), block.top() + 3 * height - 2, block.width(),
                        qMin(height, block.bottom() - (block.top() + 3 * height - 2)))),
             "time");
}

void TestRunView::longNameIsElided()
{
    TrackOffice office;
    office.seedQueue({{RunA, {}, {{"runName"_s, QString(60, QLatin1Char('W'))}}}});
    QVERIFY(office.open());
    const QImage picture = TrackOffice::picture(office.run(0));
    // Nothing of it runs out of the block, into the place of the first cell.
    QVERIFY(isPlain(picture, QRect(113, 3, 60, 66), background(office.run(0))));
}

void TestRunView::lockPattern()
{
    TrackOffice office;
    office.seedQueue({{RunA, racers(1), object(R"({"runLocked": true})")}, {RunB, racers(1)}});
    QVERIFY(office.open());
    QVERIFY(TrackOffice::hasIcon(TrackOffice::lockButton(office.run(0)), "runLocked"));
    const QImage locked = TrackOffice::picture(office.run(0));
    const QImage open = TrackOffice::picture(office.run(1));
    // Stripes over the buttons' column, the title and the cells.
    for (const QRect &where :
         {QRect(3, 58, 27, 12), QRect(90, 40, 20, 26), QRect(130, 20, 50, 30), QRect(300, 5, 60, 60)}) {
        QSet<QRgb> colors;
        for (int y = where.top(); y <= where.bottom(); ++y) {
            for (int x = where.left(); x <= where.right(); ++x)
                colors.insert(locked.pixel(x, y));
        }
        QVERIFY(colors.contains(QColor(Qt::lightGray).rgb()));
        QVERIFY(colors.size() > 1);
        QVERIFY(locked.copy(where) != open.copy(where));
    }
    TrackOffice::lockButton(office.run(0))->click();
    QCOMPARE(office.heard(), publication());
    QVERIFY(TrackOffice::hasIcon(TrackOffice::lockButton(office.run(0)), "runUnlocked"));
    const QRect cells(116, 2, 300, 66);
    QVERIFY(TrackOffice::picture(office.run(0)).copy(cells) == open.copy(cells));
    TrackOffice::lockButton(office.run(0))->click();
    QCOMPARE(office.heard(), publication());
    QVERIFY(TrackOffice::picture(office.run(0)).copy(cells) == locked.copy(cells));
}

// The stripes lie over the highlight, and their frame has the pen of the highlight.
void TestRunView::lockedRunWithAHighlight()
{
    TrackOffice office;
    office.seedQueue({{RunA, racers(2), object(R"({"runLocked": true})")}, {RunB, racers(2)}});
    QVERIFY(office.open());
    const QImage locked = TrackOffice::picture(office.run(0));
    TrackOffice::clickCell(office.run(0), 1);
    const QImage highlighted = TrackOffice::picture(office.run(0));
    const QRect cell = TrackOffice::cell(office.run(0), 1);
    const QRect edge(cell.left() - 1, cell.top() + 2, 2, 60);
    QVERIFY(blackPixels(highlighted, edge) > 60);
    QVERIFY(blackPixels(highlighted, edge) < 120);
    for (const QPoint &frame : {QPoint(0, 60), QPoint(1, 60), QPoint(300, 0), QPoint(300, 1)})
        QCOMPARE(at(highlighted, frame.x(), frame.y()), QColor(Qt::black));
    QCOMPARE(at(locked, 0, 60), background(office.run(0)));
    QCOMPARE(at(locked, 1, 60), QColor(Qt::black));
    // Beside the cell and inside of it the stripes are what they were.
    for (const QRect &where : {QRect(300, 5, 60, 60), cell.adjusted(2, 2, -2, -2)})
        QVERIFY(highlighted.copy(where) == locked.copy(where));
    // Without a lock the frame keeps its own pen.
    TrackOffice::clickCell(office.run(1), 1);
    QCOMPARE(at(TrackOffice::picture(office.run(1)), 0, 60), background(office.run(1)));
}

void TestRunView::pressSelects()
{
    TrackOffice office;
    office.seedQueue({{RunA, racers(3)}});
    QVERIFY(office.open());
    QWidget *run = office.run(0);
    const QImage before = TrackOffice::picture(run);
    TrackOffice::clickCell(run, 1);
    const QImage after = TrackOffice::picture(run);
    const QRect cell = TrackOffice::cell(run, 1);
    // A frame of two pixels: one outside of the cell's own line on the left and at the top.
    QCOMPARE(at(after, cell.left() - 1, cell.center().y()), QColor(Qt::black));
    QCOMPARE(at(after, cell.left(), cell.center().y()), QColor(Qt::black));
    QCOMPARE(at(after, cell.center().x(), cell.top() - 1), QColor(Qt::black));
    QCOMPARE(at(after, cell.center().x(), cell.bottom()), QColor(Qt::black));
    QCOMPARE(at(after, cell.center().x() + 20, cell.center().y()), orange());
    const QRect neighbour = TrackOffice::cell(run, 0);
    QCOMPARE(at(after, neighbour.left() - 1, 30), background(run));
    // Another cell takes it over; a press beside all cells ends it.
    TrackOffice::clickCell(run, 0);
    QCOMPARE(at(TrackOffice::picture(run), cell.left() - 1, 30), background(run));
    QCOMPARE(at(TrackOffice::picture(run), neighbour.left() - 1, 30), QColor(Qt::black));
    TrackOffice::click(run, QPoint(60, 60));
    QVERIFY(TrackOffice::picture(run) == before);
    QCOMPARE(office.heard(), QStringList());
}

void TestRunView::pressOnTheEdgeSelects()
{
    TrackOffice office;
    office.seedQueue({{RunA, racers(2)}});
    QVERIFY(office.open());
    QWidget *run = office.run(0);
    const QRect cell = TrackOffice::cell(run, 1);
    for (const QPoint &corner : {cell.topLeft(), cell.topRight(), cell.bottomLeft(), cell.bottomRight()}) {
        TrackOffice::click(run, QPoint(60, 60));
        TrackOffice::click(run, corner);
        QCOMPARE(at(TrackOffice::picture(run), cell.left() - 1, 30), QColor(Qt::black));
    }
    for (const QPoint &outside : {cell.topLeft() - QPoint(1, 0), cell.topLeft() - QPoint(0, 1),
                                  cell.bottomRight() + QPoint(1, 0), cell.bottomRight() + QPoint(0, 1)}) {
        TrackOffice::click(run, outside);
        QCOMPARE(at(TrackOffice::picture(run), cell.left() - 1, 30), background(run));
    }
}

void TestRunView::deselectedRowLosesItsHighlight()
{
    TrackOffice office;
    office.seedQueue({{RunA, racers(1)}, {RunB, racers(1)}});
    office.seedHistory({TrackOffice::pastRun("{10}"_s, 10), TrackOffice::pastRun("{20}"_s, 20)});
    QVERIFY(office.open());
    const QPoint edge(115, 30);
    TrackOffice::clickCell(office.run(0), 0);
    QCOMPARE(at(TrackOffice::picture(office.run(0)), edge.x(), edge.y()), QColor(Qt::black));
    QVERIFY(office.queue()->item(0)->isSelected());
    TrackOffice::clickCell(office.run(1), 0);
    QVERIFY(!office.queue()->item(0)->isSelected());
    QCOMPARE(at(TrackOffice::picture(office.run(0)), edge.x(), edge.y()), background(office.run(0)));
    QCOMPARE(at(TrackOffice::picture(office.run(1)), edge.x(), edge.y()), QColor(Qt::black));
    office.queue()->clearSelection();
    QCOMPARE(at(TrackOffice::picture(office.run(1)), edge.x(), edge.y()), background(office.run(1)));

    TrackOffice::clickCell(office.pastRun(1), 0);
    QCOMPARE(at(TrackOffice::picture(office.pastRun(1)), edge.x(), edge.y()), QColor(Qt::black));
    office.history()->clearSelection();
    QCOMPARE(at(TrackOffice::picture(office.pastRun(1)), edge.x(), edge.y()), background(office.pastRun(1)));
}

void TestRunView::pressIsLeftToTheList()
{
    TrackOffice office;
    office.seedQueue({{RunA, racers(1)}});
    QVERIFY(office.open());
    QWidget *run = office.run(0);
    for (const QPoint &where : {QPoint(150, 30), QPoint(60, 30)}) {
        for (const QEvent::Type type : {QEvent::MouseButtonPress, QEvent::MouseButtonRelease}) {
            QMouseEvent event(type, where, Qt::LeftButton,
                              type == QEvent::MouseButtonPress ? Qt::LeftButton : Qt::NoButton, Qt::NoModifier);
            deliver(run, &event);
            QVERIFY(!event.isAccepted());
        }
    }
}

void TestRunView::dragEnter_data()
{
    QTest::addColumn<bool>("past");
    QTest::addColumn<bool>("json");
    QTest::addColumn<int>("actions");
    QTest::addColumn<bool>("before");
    QTest::addColumn<bool>("accepted");
    QTest::newRow("move") << false << true << int(Qt::MoveAction) << false << true;
    QTest::newRow("copy") << false << true << int(Qt::CopyAction) << false << false;
    QTest::newRow("copy, left as it was") << false << true << int(Qt::CopyAction) << true << true;
    QTest::newRow("something else") << false << false << int(Qt::MoveAction) << false << false;
    QTest::newRow("something else, left as it was") << false << false << int(Qt::MoveAction) << true << true;
    QTest::newRow("past") << true << true << int(Qt::MoveAction) << false << false;
    QTest::newRow("past, refused") << true << true << int(Qt::MoveAction) << true << false;
    QTest::newRow("past, something else") << true << false << int(Qt::CopyAction) << true << false;
}

void TestRunView::dragEnter()
{
    QFETCH(bool, past);
    QFETCH(bool, json);
    QFETCH(int, actions);
    QFETCH(bool, before);
    QFETCH(bool, accepted);
    TrackOffice office;
    office.seedQueue({{RunA, {}}});
    office.seedHistory({TrackOffice::pastRun("{10}"_s, 10)});
    QVERIFY(office.open());
    QMimeData other;
    other.setText("x"_s);
    const auto racer = carrying({TrackOffice::seat(Anna, 0)});
    QCOMPARE(enters(past ? office.pastRun(0) : office.run(0), json ? racer.get() : &other, Qt::DropActions(actions),
                    before),
             accepted);
}

void TestRunView::dragMove_data()
{
    QTest::addColumn<QJsonObject>("item");
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<bool>("accepted");
    const QJsonObject plain;
    QTest::newRow("stranger") << plain << QByteArray(R"({"srcList": [{"uuid": "{boris}"}]})") << true;
    QTest::newRow("the racer himself") << plain << QByteArray(R"({"srcList": [{"uuid": "{anna}"}]})") << false;
    QTest::newRow("the same client") << plain << QByteArray(R"({"srcList": [{"uuid": "{x}", "clientId": 7}]})")
                                     << false;
    QTest::newRow("another client") << plain << QByteArray(R"({"srcList": [{"uuid": "{x}", "clientId": 8}]})") << true;
    QTest::newRow("model is taken") << plain << QByteArray(R"({"srcList": [{"uuid": "{x}", "carModel": "Sodi"}]})")
                                    << false;
    QTest::newRow("model is free") << plain << QByteArray(R"({"srcList": [{"uuid": "{x}", "carModel": "Rimo"}]})")
                                   << true;
    QTest::newRow("unknown model") << plain << QByteArray(R"({"srcList": [{"uuid": "{x}", "carModel": "Bike"}]})")
                                   << true;
    QTest::newRow("second of two") << plain << QByteArray(R"({"srcList": [{"uuid": "{x}"}, {"uuid": "{anna}"}]})")
                                   << false;
    QTest::newRow("locked") << object(R"({"runLocked": true})") << QByteArray(R"({"srcList": [{"uuid": "{x}"}]})")
                            << false;
    QTest::newRow("full") << object(R"({"maxRacersInRun": 1})") << QByteArray(R"({"srcList": [{"uuid": "{x}"}]})")
                          << false;
    QTest::newRow("locked, but nobody comes")
        << object(R"({"runLocked": true})") << QByteArray(R"({"srcList": []})") << true;
    QTest::newRow("no list") << plain << QByteArray(R"({"items": [{"uuid": "{anna}"}]})") << true;
    QTest::newRow("list of another type") << plain << QByteArray(R"({"srcList": {"uuid": "{anna}"}})") << true;
    QTest::newRow("array") << plain << QByteArray(R"([{"uuid": "{anna}"}])") << true;
    QTest::newRow("junk") << plain << QByteArray("{\xff") << true;
    QTest::newRow("nothing") << plain << QByteArray() << true;
}

void TestRunView::dragMove()
{
    QFETCH(QJsonObject, item);
    QFETCH(QByteArray, bytes);
    QFETCH(bool, accepted);
    TrackOffice office;
    office.seedQueue({{RunA, {TrackOffice::seat(Anna, -1001, object(R"({"clientId": 7})"))}, item}});
    QVERIFY(office.open());
    office.sendCars({TrackOffice::car(1, "Sodi"_s, "1"_s), TrackOffice::car(2, "Rimo"_s, "2"_s)});
    const auto mime = jsonData(bytes);
    for (const bool before : {false, true})
        QCOMPARE(moves(office.run(0), mime.get(), before), accepted);
    QMimeData other;
    other.setText("x"_s);
    QVERIFY(moves(office.run(0), &other, false));
    QCOMPARE(office.heard(), QStringList());
}

void TestRunView::drop()
{
    TrackOffice office;
    office.seedQueue({{RunA, {TrackOffice::seat(Anna, -1001)}}, {RunB, {}}});
    QVERIFY(office.open());
    const QJsonObject boris = TrackOffice::seat(Boris, -1044, object(R"({"carId": 4, "carNum": "9", "more": [1]})"));
    const QJsonObject other = TrackOffice::seat("{other}"_s, -1);
    const Dropped dropped = drops(office.run(0), carrying({boris, other}).get());
    QVERIFY(dropped.accepted);
    QCOMPARE(dropped.action, Qt::MoveAction);
    const QString preset = "replace_run_preset"_s;
    QCOMPARE(office.desk().names(), QStringList{preset} + publication() + QStringList{preset} + publication());
    JSON_COMPARE(office.desk().last(preset), object(R"({"runQueueGuid": "{run-a}", "preset": [
        {"name": "{anna}", "carId": -1, "clientId": -1, "competitorId": -1001},
        {"name": "{boris}", "carId": 4, "clientId": -1, "competitorId": -1002, "sourceSet": true},
        {"name": "{other}", "carId": -1, "clientId": -1, "competitorId": -1003}]})"));
    QJsonObject seated = boris;
    seated.insert("competitorId"_s, -1002);
    JSON_COMPARE(office.racer(0, Boris), seated);
    QVERIFY(office.runs().at(1).value(QLatin1String("runCompetitors")).toObject().isEmpty());
}

void TestRunView::oddDrops_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<bool>("accepted");
    QTest::newRow("array") << QByteArray(R"([{"uuid": "{boris}"}])") << false;
    QTest::newRow("junk") << QByteArray("\xff\xfe{") << false;
    QTest::newRow("nothing") << QByteArray() << false;
    QTest::newRow("number") << QByteArray("17") << false;
    QTest::newRow("no list") << QByteArray("{}") << true;
    QTest::newRow("list of another type") << QByteArray(R"({"srcList": "x"})") << true;
}

void TestRunView::oddDrops()
{
    QFETCH(QByteArray, bytes);
    QFETCH(bool, accepted);
    TrackOffice office;
    office.seedQueue({{RunA, {TrackOffice::seat(Anna, -1001)}}});
    QVERIFY(office.open());
    QCOMPARE(drops(office.run(0), jsonData(bytes).get()).accepted, accepted);
    QCOMPARE(office.heard(), QStringList());
    QMimeData other;
    other.setText("x"_s);
    QVERIFY(!drops(office.run(0), &other).accepted);
    QCOMPARE(office.runs().at(0).value(QLatin1String("runCompetitors")).toObject().size(), 1);
}

void TestRunView::dropOnALockedRunIsNotChecked()
{
    TrackOffice office;
    office.seedQueue({{RunA, {TrackOffice::seat(Anna, -1001)}, object(R"({"runLocked": true, "maxRacersInRun": 1})")}});
    QVERIFY(office.open());
    QVERIFY(drops(office.run(0), carrying({TrackOffice::seat(Anna, -7)}).get()).accepted);
    QCOMPARE(office.runs().at(0).value(QLatin1String("runCompetitors")).toObject().keys(),
             QStringList({"-1001"_s, "-1002"_s}));
}

void TestRunView::dropTakesTheNewcomersCar()
{
    TrackOffice office;
    office.seedQueue({{RunA, {TrackOffice::seat(Anna, -1001, object(R"({"carId": 4, "carNum": "9"})"))}}});
    QVERIFY(office.open());
    QVERIFY(
        drops(office.run(0), carrying({TrackOffice::seat(Boris, 0, object(R"({"carId": 4, "carNum": "9"})"))}).get())
            .accepted);
    JSON_CONTAINS(office.racer(0, Anna), object(R"({"carId": 4, "carNum": "9"})"));
    JSON_CONTAINS(office.racer(0, Boris), object(R"({"carId": -1, "carNum": "9"})"));
}

void TestRunView::listDragEnter_data()
{
    QTest::addColumn<QList<int>>("rows");
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<bool>("accepted");
    QByteArray beyond;
    QByteArray twice;
    const QMap<int, QVariant> roles;
    QDataStream(&beyond, QIODevice::WriteOnly) << 77 << 0 << roles;
    QDataStream(&twice, QIODevice::WriteOnly) << 1 << 0 << roles << 1 << 0 << roles;
    QTest::newRow("current run") << QList<int>{0} << QByteArray() << false;
    QTest::newRow("waiting run") << QList<int>{1} << QByteArray() << true;
    QTest::newRow("two runs") << QList<int>{1, 2} << QByteArray() << false;
    QTest::newRow("no run there") << QList<int>() << beyond << true;
    QTest::newRow("two entries") << QList<int>() << twice << false;
    QTest::newRow("no entry") << QList<int>() << QByteArray() << false;
}

void TestRunView::listDragEnter()
{
    QFETCH(QList<int>, rows);
    QFETCH(QByteArray, bytes);
    QFETCH(bool, accepted);
    TrackOffice office;
    office.seedQueue({{RunA, racers(1)}, {RunB, racers(1)}, {"{run-c}"_s, {}}});
    QVERIFY(office.open());
    setCurrent(office, RunA, QString());
    QModelIndexList indexes;
    for (const int row : qAsConst(rows))
        indexes.append(office.queue()->model()->index(row, 0));
    std::unique_ptr<QMimeData> mime(indexes.isEmpty() ? new QMimeData : office.queue()->model()->mimeData(indexes));
    if (indexes.isEmpty())
        mime->setData(Rows, bytes);
    QDragEnterEvent event(QPoint(10, 300), Qt::MoveAction, mime.get(), Qt::LeftButton, Qt::NoModifier);
    event.setAccepted(false);
    QApplication::sendEvent(office.queue()->viewport(), &event);
    QCOMPARE(event.isAccepted(), accepted);
    QDragLeaveEvent leave;
    QApplication::sendEvent(office.queue()->viewport(), &leave);
}

void TestRunView::listDragMove_data()
{
    QTest::addColumn<bool>("current");
    QTest::addColumn<QPoint>("where");
    QTest::addColumn<bool>("accepted");
    QTest::newRow("over the current run") << true << QPoint(10, 10) << false;
    QTest::newRow("at its lower edge") << true << QPoint(10, 71) << false;
    QTest::newRow("below the current run") << true << QPoint(10, 72) << true;
    QTest::newRow("far below") << true << QPoint(10, 300) << true;
    QTest::newRow("over a waiting run") << false << QPoint(10, 10) << true;
}

void TestRunView::listDragMove()
{
    QFETCH(bool, current);
    QFETCH(QPoint, where);
    QFETCH(bool, accepted);
    TrackOffice office;
    office.seedQueue({{RunA, racers(1)}, {RunB, racers(1)}, {"{run-c}"_s, {}}});
    QVERIFY(office.open());
    if (current)
        setCurrent(office, RunA, QString());
    QCOMPARE(office.run(0)->height(), 72);
    QWidget *viewport = office.queue()->viewport();
    const std::unique_ptr<QMimeData> mime(office.queue()->model()->mimeData({office.queue()->model()->index(2, 0)}));
    QDragEnterEvent enter(QPoint(10, 300), Qt::MoveAction, mime.get(), Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(viewport, &enter);
    QVERIFY(enter.isAccepted());
    for (const bool before : {false, true}) {
        QDragMoveEvent event(where, Qt::MoveAction, mime.get(), Qt::LeftButton, Qt::NoModifier);
        event.setAccepted(before);
        QApplication::sendEvent(viewport, &event);
        QCOMPARE(event.isAccepted(), accepted);
    }
    QDragLeaveEvent leave;
    QApplication::sendEvent(viewport, &leave);
}

void TestRunView::titleOpensTheParameters()
{
    TrackOffice office;
    office.seedQueue(
        {{RunA, racers(1), object(R"({"runNum": 5, "runName": "Кубок", "sortMode": 1, "runColor": "#00ff00"})")},
         {RunB, {}}});
    QVERIFY(office.open());
    QStringList shown;
    const ModalAnswer answer = ModalAnswer::dialog(ParamsTitle, [&](QDialog *dialog) {
        auto *name = dialog->findChild<QLineEdit *>("leRunName"_s);
        auto *time = dialog->findChild<QSpinBox *>("sbFinishTime"_s);
        auto *laps = dialog->findChild<QSpinBox *>("sbFinishLaps"_s);
        shown = QStringList{name->text(),
                            QString::number(time->value()),
                            QString::number(time->isEnabled()),
                            QString::number(laps->value()),
                            QString::number(laps->isEnabled()),
                            QString::number(dialog->findChild<QRadioButton *>("rbSortByFinishPos"_s)->isChecked()),
                            dialog->findChild<QFrame *>("fRunColor"_s)->styleSheet()};
        name->setText(text("Финал"));
        time->setValue(25);
        dialog->findChild<QRadioButton *>("rbSortByBestLap"_s)->click();
        acceptDialog(dialog);
    });
    doubleClick(office.run(0), TrackOffice::title().center());
    MODAL_VERIFY(answer);
    QCOMPARE(shown, QStringList({text("Кубок"), "10"_s, "1"_s, "10"_s, "0"_s, "1"_s, "background-color:#00ff00;"_s}));
    QCOMPARE(office.desk().names(), QStringList{"update_run_params"_s} + publication());
    JSON_COMPARE(office.desk().last("update_run_params"_s),
                 object(R"({"runQueueGuid": "{run-a}", "finishParam": 25})"));
    const QVector<QJsonObject> runs = office.runs();
    JSON_CONTAINS(runs.at(0), object(R"({"runName": "Финал", "finishParam": 1500, "finishMode": 1, "sortMode": 0})"));
    QCOMPARE(runs.at(1).value(QLatin1String("runStartTime")).toDouble(),
             runs.at(0).value(QLatin1String("runStartTime")).toDouble() + 1500 + 180);
    JSON_CONTAINS(office.journalItems().at(0),
                  object(R"({"runName": "Финал", "nameForced": false, "finishParam": 1500, "runColor": "#00ff00"})"));
}

void TestRunView::colourFromTheDialog_data()
{
    QTest::addColumn<bool>("picked");
    QTest::addColumn<bool>("accepted");
    QTest::addColumn<QColor>("color");
    QTest::newRow("chosen") << true << true << QColor(0, 0, 255);
    QTest::newRow("not chosen") << false << true << QColor(0, 255, 0);
    QTest::newRow("chosen, parameters cancelled") << true << false << QColor(0, 255, 0);
}

void TestRunView::colourFromTheDialog()
{
    QFETCH(bool, picked);
    QFETCH(bool, accepted);
    QFETCH(QColor, color);
    TrackOffice office;
    office.seedQueue(
        {{RunA, {}, object(R"({"runColor": "#00ff00"})")}, {RunB, {}, object(R"({"runColor": "#00ff00"})")}});
    QVERIFY(office.open());
    const ModalAnswer params = ModalAnswer::dialog(ParamsTitle, [&](QDialog *dialog) {
        QTest::mousePress(dialog->findChild<QFrame *>("fRunColor"_s), Qt::LeftButton);
        acceptDialog(dialog, accepted);
    });
    QColor offered;
    const ModalAnswer picker = ModalAnswer::widget([&](QWidget *widget) {
        auto *colors = qobject_cast<QColorDialog *>(widget);
        if (!colors)
            return;
        offered = colors->currentColor();
        colors->setCurrentColor(QColor(0, 0, 255));
        if (picked)
            colors->accept();
        else
            colors->reject();
    });
    doubleClick(office.run(0), TrackOffice::title().center());
    MODAL_VERIFY(picker);
    MODAL_VERIFY(params);
    QCOMPARE(offered, QColor(0, 255, 0));
    const QPoint place(TrackOffice::title().right() - 3, TrackOffice::title().bottom() - 1);
    QCOMPARE(at(TrackOffice::picture(office.run(0)), place.x(), place.y()), color);
    QCOMPARE(at(TrackOffice::picture(office.run(1)), place.x(), place.y()), QColor(0, 255, 0));
    // It stands in the journal, and nobody else hears of it.
    QVERIFY(!office.runs().at(0).contains("runColor"_s));
    QCOMPARE(office.journalItems().at(0).value(QLatin1String("runColor")).toString(), color.name());
    QCOMPARE(office.journalItems().at(1).value(QLatin1String("runColor")).toString(), "#00ff00"_s);
}

void TestRunView::parametersOpenAtThePointer()
{
    TrackOffice office;
    office.seedQueue({{RunA, {}}});
    QVERIFY(office.open());
    const QPoint pointer(431, 307);
    QCursor::setPos(pointer);
    QTRY_COMPARE(QCursor::pos(), pointer);
    QPoint centre;
    const ModalAnswer answer = ModalAnswer::dialog(ParamsTitle, [&](QDialog *dialog) {
        centre = dialog->pos() + QPoint(qRound(dialog->width() / 2.0), qRound(dialog->height() / 2.0));
        acceptDialog(dialog, false);
    });
    doubleClick(office.run(0), TrackOffice::title().center());
    MODAL_VERIFY(answer);
    QCOMPARE(centre, pointer);
}

void TestRunView::parametersCancelled()
{
    TrackOffice office;
    office.seedQueue({{RunA, {}, object(R"({"runName": "Кубок"})")}});
    QVERIFY(office.open());
    const QJsonObject before = office.journalItems().at(0);
    const ModalAnswer answer = ModalAnswer::dialog(ParamsTitle, [](QDialog *dialog) {
        dialog->findChild<QLineEdit *>("leRunName"_s)->setText("x"_s);
        dialog->findChild<QSpinBox *>("sbFinishTime"_s)->setValue(99);
        acceptDialog(dialog, false);
    });
    doubleClick(office.run(0), TrackOffice::title().topLeft());
    MODAL_VERIFY(answer);
    QCOMPARE(office.heard(), QStringList());
    JSON_COMPARE(office.journalItems().at(0), before);
}

void TestRunView::lapsFromTheDialog()
{
    TrackOffice office;
    office.seedQueue({{RunA, {}}});
    QVERIFY(office.open());
    const ModalAnswer answer = ModalAnswer::dialog(ParamsTitle, [](QDialog *dialog) {
        dialog->findChild<QRadioButton *>("rbFinishByLaps"_s)->click();
        acceptDialog(dialog);
    });
    doubleClick(office.run(0), TrackOffice::title().bottomRight());
    MODAL_VERIFY(answer);
    JSON_COMPARE(office.desk().last("update_run_params"_s),
                 object(R"({"runQueueGuid": "{run-a}", "finishParam": 10})"));
    JSON_CONTAINS(office.runs().at(0),
                  object(R"({"finishParam": 10, "finishMode": 2, "finishType": 2, "runDuration": 10})"));
}

void TestRunView::secondsAreCutToMinutes()
{
    TrackOffice office;
    office.seedQueue({{RunA, {}, object(R"({"finishParam": 90})")}});
    QVERIFY(office.open());
    const ModalAnswer answer = ModalAnswer::dialog(ParamsTitle, [](QDialog *dialog) { acceptDialog(dialog); });
    doubleClick(office.run(0), TrackOffice::title().center());
    MODAL_VERIFY(answer);
    JSON_COMPARE(office.desk().last("update_run_params"_s), object(R"({"runQueueGuid": "{run-a}", "finishParam": 1})"));
    JSON_CONTAINS(office.runs().at(0), object(R"({"finishParam": 60})"));
}

void TestRunView::otherPlacesOpenNothing()
{
    TrackOffice office;
    office.seedQueue({{RunA, racers(1)}});
    QVERIFY(office.open());
    QStringList opened;
    const ModalAnswer answer = ModalAnswer::widget([&](QWidget *widget) {
        opened.append(widget->windowTitle());
        widget->close();
    });
    for (const QPoint &where : {QPoint(16, 62), QPoint(31, 30), QPoint(113, 30), QPoint(150, 30), QPoint(60, 69)})
        doubleClick(office.run(0), where);
    HostProbe::settle();
    QCOMPARE(opened, QStringList());
}

void TestRunView::parametersOfAPastRun()
{
    TrackOffice office;
    office.seedHistory({TrackOffice::pastRun("{10}"_s, 10)});
    QVERIFY(office.open());
    const QImage before = TrackOffice::picture(office.pastRun(0));
    const ModalAnswer answer = ModalAnswer::dialog(ParamsTitle, [](QDialog *dialog) {
        dialog->findChild<QLineEdit *>("leRunName"_s)->setText(text("Другой"));
        acceptDialog(dialog);
    });
    doubleClick(office.pastRun(0), TrackOffice::title().center());
    MODAL_VERIFY(answer);
    QCOMPARE(office.heard(), QStringList());
    QVERIFY(TrackOffice::picture(office.pastRun(0)) != before);
}

void TestRunView::parametersOutliveTheirRun_data()
{
    QTest::addColumn<QString>("closed");
    QTest::addColumn<bool>("accept");
    QTest::newRow("its run, OK") << RunA << true;
    QTest::newRow("its run, Cancel") << RunA << false;
    QTest::newRow("a neighbour, OK") << RunB << true;
}

void TestRunView::parametersOutliveTheirRun()
{
    QFETCH(QString, closed);
    QFETCH(bool, accept);
    TrackOffice office;
    office.seedQueue({{RunA, racers(1)}, {RunB, racers(1)}}, true);
    QVERIFY(office.open());
    const QJsonObject neighbour = office.runs().at(1);
    const ModalAnswer answer = ModalAnswer::dialog(ParamsTitle, [&](QDialog *dialog) {
        const QPointer<QDialog> guard(dialog);
        dialog->findChild<QSpinBox *>("sbFinishTime"_s)->setValue(25);
        office.desk().send("run_closed"_s, {{"runQueueGuid"_s, closed}});
        HostProbe::settle(20);
        office.desk().clear();
        if (guard)
            acceptDialog(guard, accept);
    });
    doubleClick(office.run(0), TrackOffice::title().center());
    MODAL_VERIFY(answer);
    if (closed == RunA) {
        QCOMPARE(office.heard(), QStringList());
        QCOMPARE(office.guids(), QStringList{RunB});
        JSON_COMPARE(office.runs().at(0), neighbour);
    } else {
        QCOMPARE(office.heard(), QStringList{"update_run_params"_s} + publication());
        JSON_CONTAINS(office.runs().at(0), object(R"({"runQueueGuid": "{run-a}", "finishParam": 1500})"));
    }
    QCOMPARE(office.pastGuids(), QStringList{closed});
}

DESK_TEST_MAIN(TestRunView)

#include "tst_runview.moc"
