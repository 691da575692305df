// A run as the cashier sees it: drawing, mouse, and the drag of racers.

#include "runqueue/runcontainerwidget.h"

#include "common/clock.h"
#include "common/jsonread.h"
#include "runqueue/customizerundialog.h"
#include "runqueue/dialogplacement.h"

#include <QDateTime>
#include <QDrag>
#include <QDragEnterEvent>
#include <QDragLeaveEvent>
#include <QIcon>
#include <QJsonDocument>
#include <QMimeData>
#include <QMouseEvent>
#include <QPainter>
#include <QPointer>
#include <QUuid>

namespace {

const QRect TitleBlock(QPoint(32, 4), QSize(80, RunRules::CellSize.height()));
constexpr QSize MinimumSize(RunRules::CellSize.width() + 8, RunRules::CellSize.height() + 8);
constexpr QSize ButtonSize(24, 24);
constexpr int DragThresholdSquared = 16;
const QLatin1String JsonFormat("application/json");
const QLatin1String SourceFormat("source");

QBrush checkerboard()
{
    QPixmap texture(32, 32);
    QPainter painter(&texture);
    painter.fillRect(0, 0, 16, 16, Qt::gray);
    painter.fillRect(16, 0, 32, 16, Qt::white);
    painter.fillRect(16, 16, 32, 32, Qt::gray);
    painter.fillRect(0, 16, 16, 32, Qt::white);
    painter.end();
    return QBrush(texture);
}

QPixmap dragPicture(const RunCompetitor &competitor)
{
    QPixmap picture(64, 64);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setBrush(competitor.color);
    painter.setPen(Qt::black);
    painter.drawRect(picture.rect().adjusted(0, 0, -1, -1));
    painter.drawText(picture.rect(), Qt::AlignCenter, competitor.caption);
    return picture;
}

} // namespace

RunContainerWidget::RunContainerWidget(QWidget *parent)
    : QWidget(parent)
    , finishedBrush(checkerboard())
    // In another unit until the queue plans the run; nobody sees it before.
    , startTime(Clock::utc().toMSecsSinceEpoch() + pauseTime)
    , runQueueGuid(QUuid::createUuid().toString())
    , startButton(this)
    , lockButton(this)
    , alertPixmap(QStringLiteral(":/ticketPlugin/alert"))
    , warningPixmap(QStringLiteral(":/ticketPlugin/warning"))
{
    lockButton.setObjectName(QStringLiteral("lockButton"));
    startButton.setObjectName(QStringLiteral("startButton"));
    lockButton.setGeometry(QRect(QPoint(4, 4), ButtonSize));
    startButton.setGeometry(QRect(QPoint(4, 32), ButtonSize));
    lockButton.setFocusPolicy(Qt::NoFocus);
    startButton.setFocusPolicy(Qt::NoFocus);
    showLockIcon();
    startButton.setIcon(QIcon(QStringLiteral(":/ticketPlugin/startRun")));
    lockButton.show();
    startButton.show();
    connect(&lockButton, &QPushButton::clicked, this, &RunContainerWidget::toggleLock);
    connect(&startButton, &QPushButton::clicked, this, &RunContainerWidget::startStopRun);
    // Cells and title block are narrow; a name or a model must not lose its ends.
    QFont smaller = font();
    if (smaller.pointSizeF() > 7.5)
        smaller.setPointSizeF(smaller.pointSizeF() - 1.5);
    setFont(smaller);
    setAcceptDrops(true);
    setMouseTracking(true);
    setMinimumSize(MinimumSize);
    resize(MinimumSize);
}

RunContainerWidget::~RunContainerWidget() = default;

QSize RunContainerWidget::sizeHint() const
{
    return size();
}

void RunContainerWidget::resizeEvent(QResizeEvent *event)
{
    relayout(event->size());
}

void RunContainerWidget::relayout(const QSize &newSize)
{
    grid = RunRules::CellGrid::forWidth(newSize.width(), static_cast<int>(seats.size()));
    for (size_t index = 0; index < seats.size(); ++index)
        seats[index]->cell = grid.cell(static_cast<int>(index));
    resize(newSize.width(), grid.height);
    // Other cells in a row of the same height are drawn anew as well.
    update();
    Q_EMIT updateSize(size());
}

void RunContainerWidget::paintEvent(QPaintEvent *event)
{
    Q_UNUSED(event)
    QPainter painter(this);
    const QRect frame = rect().adjusted(1, 1, -1, -1);
    if (currentRun) {
        QColor tint(Qt::green);
        tint.setAlpha(64);
        painter.fillRect(frame, tint);
    }
    if (runState == QLatin1String("finished") && !historyRun)
        painter.fillRect(frame, finishedBrush);
    painter.setBrush(Qt::transparent);
    painter.setPen(QPen(Qt::black, 0, Qt::SolidLine));
    painter.drawRect(frame);
    for (const auto &seat : seats)
        paintCompetitor(painter, *seat);
    if (!historyRun)
        painter.fillRect(TitleBlock, runColor);
    paintTitle(painter);
    if (selectedCompetitor) {
        painter.setBrush(Qt::transparent);
        painter.setPen(QPen(Qt::black, 2));
        painter.drawRect(selectedCompetitor->cell);
    }
    if (runLocked) {
        painter.setBrush(QBrush(Qt::lightGray, Qt::BDiagPattern));
        painter.drawRect(frame);
    }
}

void RunContainerWidget::paintCompetitor(QPainter &painter, const RunCompetitor &competitor) const
{
    const QRect &cell = competitor.cell;
    const qint32 carId = competitor.data.value(QLatin1String("carId")).toInt(-1);
    painter.setBrush(competitor.color);
    painter.drawRect(cell);
    painter.drawText(cell, Qt::AlignTop | Qt::AlignHCenter, competitor.caption);
    const auto car = carsById.constFind(carId);
    if (car != carsById.constEnd()) {
        painter.drawText(cell, Qt::AlignBottom | Qt::AlignHCenter,
                         car.value().value(QLatin1String("num")).toVariant().toString());
    }
    painter.drawText(cell.adjusted(0, 0, 0, -painter.fontMetrics().height()), Qt::AlignBottom | Qt::AlignHCenter,
                     competitor.data.value(QLatin1String("carModel")).toString());
    if (carId == -1) {
        QRect corner = alertPixmap.rect();
        corner.moveBottomRight(cell.bottomRight());
        painter.drawPixmap(corner.topLeft(), alertPixmap);
    }
}

void RunContainerWidget::paintTitle(QPainter &painter) const
{
    const int lineHeight = painter.fontMetrics().height();
    QRect line(TitleBlock.topLeft(), QSize(TitleBlock.width(), lineHeight));
    const auto write = [&painter, &line](const QString &text) {
        painter.drawText(line, Qt::AlignLeft, text);
        line.moveTop(line.bottom());
    };
    const QString title = painter.fontMetrics().elidedText(runName, Qt::ElideRight, TitleBlock.width());
    write(runName.isEmpty() ? numberedTitle() : title);
    write(finishMode == RunRules::FinishByLaps ? tr("%1 кр.").arg(finishParam) : tr("%1 мин.").arg(finishParam / 60));
    write(sortMode == 1 ? tr("По позиции") : tr("По лучш. кр."));
    painter.save();
    QFont bold = painter.font();
    bold.setWeight(QFont::Bold);
    painter.setFont(bold);
    write(QDateTime::fromSecsSinceEpoch(startTime, Qt::UTC).toLocalTime().toString(QStringLiteral("hh:mm")));
    painter.restore();
}

void RunContainerWidget::mousePressEvent(QMouseEvent *event)
{
    pressPos = event->pos();
    dragArmed = false;
    int hit = -1;
    for (size_t index = 0; hit == -1 && index < seats.size(); ++index) {
        if (seats[index]->cell.contains(pressPos))
            hit = static_cast<int>(index);
    }
    if (hit != -1) {
        selectedCompetitor = seats[static_cast<size_t>(hit)].get();
        update();
        dragArmed = true;
        dragHotSpot = pressPos - selectedCompetitor->cell.topLeft();
        pressedSerial = selectedCompetitor->serial;
    } else if (selectedCompetitor) {
        clearSelection();
    }
    // The list below selects the row.
    event->ignore();
}

void RunContainerWidget::mouseReleaseEvent(QMouseEvent *event)
{
    dragArmed = false;
    event->ignore();
}

void RunContainerWidget::mouseDoubleClickEvent(QMouseEvent *event)
{
    if (TitleBlock.contains(event->pos()))
        editParams();
}

void RunContainerWidget::editParams()
{
    const QPointer<RunContainerWidget> self(this);
    // Not a child of the run: the host may end the run under the open dialog.
    CustomizeRunDialog dialog(parentWidget());
    centreOnCursor(dialog);
    dialog.setParams({
        {QLatin1String("runParam"), finishParam},
        {QLatin1String("runName"), runName},
        {QLatin1String("runColor"), runColor.name()},
        {QLatin1String("finishMode"), finishMode},
        {QLatin1String("sortMode"), sortMode},
    });
    const bool accepted = dialog.exec() == QDialog::Accepted;
    const QJsonObject params = dialog.params();
    if (!self || retired || !accepted)
        return;
    runName = params.value(QLatin1String("runName")).toString();
    finishMode = params.value(QLatin1String("finishMode")).toInt(RunRules::FinishByTime);
    sortMode = params.value(QLatin1String("sortMode")).toInt(0);
    finishParam = params.value(QLatin1String("runParam")).toInt(finishParam);
    runColor = QColor(params.value(QLatin1String("runColor")).toString(QStringLiteral("#ffffff")));
    changed();
    update();
    Q_EMIT runParamsUpdated({
        {QLatin1String("runQueueGuid"), runQueueGuid},
        {QLatin1String("finishParam"), finishMode == RunRules::FinishByLaps ? finishParam : finishParam / 60},
    });
}

void RunContainerWidget::mouseMoveEvent(QMouseEvent *event)
{
    const QPoint way = event->pos() - pressPos;
    const bool far = QPoint::dotProduct(way, way) >= DragThresholdSquared;
    const bool pressedThere = indexOfSerial(pressedSerial) != -1;
    if (!event->buttons().testFlag(Qt::LeftButton) || !far || !dragArmed || !pressedThere) {
        event->ignore();
        return;
    }
    dragArmed = false;
    dragCompetitor(pressedSerial);
}

void RunContainerWidget::dragCompetitor(quint64 serial)
{
    RunCompetitor &pressed = *seats[static_cast<size_t>(indexOfSerial(serial))];
    const QColor color = pressed.color;
    QJsonObject entry = pressed.data;
    if (historyRun) {
        entry.insert(QLatin1String("carId"), -1);
        entry.insert(QLatin1String("carNum"), QString());
        entry.insert(QLatin1String("payState"), false);
        entry.insert(QLatin1String("historyItem"), true);
        entry.remove(QLatin1String("competitorState"));
    }
    auto mimeData = std::make_unique<QMimeData>();
    const QJsonObject content{{QLatin1String("srcList"), QJsonArray{entry}}};
    mimeData->setData(JsonFormat, QJsonDocument(content).toJson(QJsonDocument::Compact));
    mimeData->setData(SourceFormat, QByteArrayLiteral("waitingQueue"));

    const QPointer<RunContainerWidget> self(this);
    const QPointer<QDrag> drag(new QDrag(this));
    drag->setPixmap(dragPicture(pressed));
    drag->setMimeData(mimeData.release());
    drag->setHotSpot(dragHotSpot);
    // What the racer is dropped on may be gone by the time the drag returns; its kind is noted while it is there.
    bool hasTarget = false;
    bool targetIsRun = false;
    bool targetIsSelf = false;
    connect(drag, &QDrag::targetChanged, drag, [&hasTarget, &targetIsRun, &targetIsSelf, this](QObject *target) {
        hasTarget = target != nullptr;
        targetIsRun = target && qstrcmp(target->metaObject()->className(), "RunContainerWidget") == 0;
        targetIsSelf = target == this;
    });
    pressed.color = Qt::gray;
    update();
    dragging = true;
    const Qt::DropAction action = drag->exec(historyRun ? Qt::CopyAction : Qt::MoveAction);
    if (!self)
        return;
    dragging = false;
    if (retired)
        return;

    // The host may have closed runs and moved racers meanwhile; only the very seat that was dragged is given up.
    const int index = indexOfSerial(serial);
    const bool taken = (action == Qt::CopyAction || action == Qt::MoveAction) && !targetIsSelf;
    const bool giveUp = index != -1 && taken && hasTarget && (targetIsRun ? action == Qt::MoveAction : !historyRun);
    if (taken && targetIsRun && index != -1 && selectedCompetitor == seats[static_cast<size_t>(index)].get())
        selectedCompetitor = nullptr;
    if (index != -1 && !taken)
        seats[static_cast<size_t>(index)]->color = color;
    if (giveUp)
        eraseCompetitor(index);
    if (taken && hasTarget && !historyRun) {
        Q_EMIT presetUpdated(runPreset());
        if (!self)
            return;
        relayout(size());
    }
    if (self)
        update();
}

void RunContainerWidget::dragEnterEvent(QDragEnterEvent *event)
{
    if (historyRun) {
        event->ignore();
        return;
    }
    if ((event->dropAction() & Qt::MoveAction) && event->mimeData()->hasFormat(JsonFormat)) {
        hovered = true;
        event->accept();
    }
}

void RunContainerWidget::dragLeaveEvent(QDragLeaveEvent *event)
{
    hovered = false;
    QWidget::dragLeaveEvent(event);
}

void RunContainerWidget::dragMoveEvent(QDragMoveEvent *event)
{
    const auto content = JsonRead::object(event->mimeData()->data(JsonFormat));
    const QJsonArray racers = content ? content->value(QLatin1String("srcList")).toArray() : QJsonArray();
    for (const QJsonValue &racer : racers) {
        if (!canAcceptRacer(racer.toObject())) {
            event->ignore();
            return;
        }
    }
    event->accept();
}

void RunContainerWidget::dropEvent(QDropEvent *event)
{
    dragArmed = false;
    hovered = false;
    const auto content = JsonRead::object(event->mimeData()->data(JsonFormat));
    if (!content || retired || event->source() == this) {
        event->ignore();
        return;
    }
    const QPointer<RunContainerWidget> self(this);
    const QJsonArray racers = content->value(QLatin1String("srcList")).toArray();
    for (const QJsonValue &racer : racers) {
        if (self && !retired)
            addCompetitor(racer.toObject(), false);
    }
    event->setDropAction(event->proposedAction());
    event->accept();
}
