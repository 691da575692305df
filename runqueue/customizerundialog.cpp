#include "runqueue/customizerundialog.h"

#include "runqueue/runrules.h"
#include "ui_customizerundialog.h"

#include <QColorDialog>
#include <QEvent>
#include <QPointer>

namespace {

constexpr int SecondsInMinute = 60;
constexpr int DefaultSeconds = 600;

} // namespace

CustomizeRunDialog::CustomizeRunDialog(QWidget *parent)
    : QDialog(parent)
    , ui(std::make_unique<Ui::CustomizeRunDialog>())
{
    setWindowFlags(windowFlags() & ~Qt::WindowContextHelpButtonHint);
    ui->setupUi(this);
    ui->fRunColor->installEventFilter(this);
    enableFinishFields(false);
}

CustomizeRunDialog::~CustomizeRunDialog() = default;

void CustomizeRunDialog::showEvent(QShowEvent *event)
{
    QDialog::showEvent(event);
    ui->leRunName->setFocus();
}

void CustomizeRunDialog::setParams(const QJsonObject &params)
{
    ui->leRunName->setText(params.value(QLatin1String("runName")).toString());
    const bool byLaps = params.value(QLatin1String("finishMode")).toInt(0) == RunRules::FinishByLaps;
    const QJsonValue runParam = params.value(QLatin1String("runParam"));
    if (byLaps) {
        ui->rbFinishByLaps->setChecked(true);
        ui->sbFinishLaps->setValue(runParam.toInt(0));
    } else {
        ui->rbFinishByTime->setChecked(true);
        ui->sbFinishTime->setValue(runParam.toInt(DefaultSeconds) / SecondsInMinute);
    }
    enableFinishFields(byLaps);
    if (params.value(QLatin1String("sortMode")).toInt(0) == 1)
        ui->rbSortByFinishPos->setChecked(true);
    else
        ui->rbSortByBestLap->setChecked(true);
    const QString color = params.value(QLatin1String("runColor")).toString();
    runColor = QColor(color);
    showColor(color);
}

QJsonObject CustomizeRunDialog::params() const
{
    const bool byLaps = ui->rbFinishByLaps->isChecked();
    return {
        {QLatin1String("runName"), ui->leRunName->text()},
        {QLatin1String("finishMode"), byLaps ? RunRules::FinishByLaps : RunRules::FinishByTime},
        {QLatin1String("runParam"), byLaps ? ui->sbFinishLaps->value() : ui->sbFinishTime->value() * SecondsInMinute},
        {QLatin1String("sortMode"), ui->rbSortByFinishPos->isChecked() ? 1 : 0},
        {QLatin1String("runColor"), runColor.name()},
    };
}

bool CustomizeRunDialog::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == ui->fRunColor && event->type() == QEvent::MouseButtonPress) {
        const QPointer<CustomizeRunDialog> self(this);
        QColorDialog dialog(runColor, this);
        const bool accepted = dialog.exec() == QDialog::Accepted;
        const QColor chosen = dialog.currentColor();
        if (!self)
            return false;
        if (accepted) {
            runColor = chosen;
            showColor(runColor.name());
        }
    }
    return QDialog::eventFilter(watched, event);
}

void CustomizeRunDialog::showColor(const QString &name)
{
    ui->fRunColor->setStyleSheet(QStringLiteral("background-color:%1;").arg(name));
}

void CustomizeRunDialog::enableFinishFields(bool byLaps)
{
    ui->sbFinishLaps->setEnabled(byLaps);
    ui->sbFinishTime->setEnabled(!byLaps);
}

void CustomizeRunDialog::on_rbFinishByTime_clicked()
{
    enableFinishFields(false);
}

void CustomizeRunDialog::on_rbFinishByLaps_clicked()
{
    enableFinishFields(true);
}
