#include "registration/tables/griddelegate.h"

#include "desktest.h"

#include <QImage>
#include <QLineEdit>
#include <QPainter>
#include <QStandardItemModel>
#include <QStyleFactory>

namespace {

/// Opens what delegates keep to themselves.
class OpenDelegate : public GridDelegate
{
public:
    using GridDelegate::initStyleOption;
};

const QRect cellRect(5, 4, 40, 20);
const QColor gridColor(1, 2, 3);
const QColor paper(250, 250, 250);

} // namespace

class GridDelegateTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion"))); }
    void frame();
    void nothingOutside();
    void focusLeavesNoTrace();
    void painterIsLeftAsItWas();
    void selectionCoversTheCell();
    void editorFillsTheCell();

private:
    static QStyleOptionViewItem option();
    QImage paint(const QStyleOptionViewItem &option) const;
};

QStyleOptionViewItem GridDelegateTest::option()
{
    QStyleOptionViewItem option;
    option.rect = cellRect;
    option.state = QStyle::State_Enabled | QStyle::State_Active;
    option.palette.setColor(QPalette::Midlight, gridColor);
    return option;
}

QImage GridDelegateTest::paint(const QStyleOptionViewItem &option) const
{
    QStandardItemModel model(1, 1);
    QImage image(60, 40, QImage::Format_RGB32);
    image.fill(paper);
    QPainter painter(&image);
    const GridDelegate delegate;
    delegate.paint(&painter, option, model.index(0, 0));
    painter.end();
    return image;
}

/// The frame runs through the cell's first pixels and, as Qt draws rectangles, through those behind its last ones:
/// there it meets the neighbour's frame.
void GridDelegateTest::frame()
{
    const QImage image = paint(option());
    for (int x = cellRect.left(); x <= cellRect.right() + 1; ++x) {
        QCOMPARE(image.pixelColor(x, cellRect.top()), gridColor);
        QCOMPARE(image.pixelColor(x, cellRect.bottom() + 1), gridColor);
    }
    for (int y = cellRect.top(); y <= cellRect.bottom() + 1; ++y) {
        QCOMPARE(image.pixelColor(cellRect.left(), y), gridColor);
        QCOMPARE(image.pixelColor(cellRect.right() + 1, y), gridColor);
    }
    for (int y = cellRect.top() + 1; y <= cellRect.bottom(); ++y) {
        for (int x = cellRect.left() + 1; x <= cellRect.right(); ++x)
            QCOMPARE(image.pixelColor(x, y), paper);
    }
}

void GridDelegateTest::nothingOutside()
{
    const QImage image = paint(option());
    const QRect framed = cellRect.adjusted(0, 0, 1, 1);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            QVERIFY(framed.contains(x, y) || image.pixelColor(x, y) == paper);
    }
}

void GridDelegateTest::focusLeavesNoTrace()
{
    QStyleOptionViewItem focused = option();
    focused.state |= QStyle::State_HasFocus | QStyle::State_KeyboardFocusChange;
    QCOMPARE(paint(focused), paint(option()));
}

void GridDelegateTest::painterIsLeftAsItWas()
{
    QStandardItemModel model(1, 1);
    QImage image(60, 40, QImage::Format_RGB32);
    QPainter painter(&image);
    const QPen pen(Qt::magenta);
    const QBrush brush(Qt::cyan);
    painter.setPen(pen);
    painter.setBrush(brush);
    const GridDelegate delegate;
    delegate.paint(&painter, option(), model.index(0, 0));
    QCOMPARE(painter.pen(), pen);
    QCOMPARE(painter.brush(), brush);
}

void GridDelegateTest::selectionCoversTheCell()
{
    const QStandardItemModel model(1, 1);
    QStyleOptionViewItem cell = option();
    QVERIFY(!cell.showDecorationSelected);
    const OpenDelegate delegate;
    delegate.initStyleOption(&cell, model.index(0, 0));
    QVERIFY(cell.showDecorationSelected);
}

void GridDelegateTest::editorFillsTheCell()
{
    const QStandardItemModel model(1, 1);
    QWidget parent;
    QLineEdit editor(&parent);
    const GridDelegate delegate;
    delegate.updateEditorGeometry(&editor, option(), model.index(0, 0));
    QCOMPARE(editor.geometry(), cellRect);
}

DESK_TEST_MAIN(GridDelegateTest)
#include "tst_griddelegate.moc"
