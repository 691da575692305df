#include "payments/moneyspinbox.h"

#include "payments/salerules.h"

namespace {

const QLatin1Char Comma(',');
const QLatin1Char Point('.');

} // namespace

MoneySpinBox::MoneySpinBox(QWidget *parent)
    : QDoubleSpinBox(parent)
{
    setLocale(SaleRules::moneyLocale());
}

QValidator::State MoneySpinBox::validate(QString &input, int &pos) const
{
    input.replace(Comma, Point);
    return QDoubleSpinBox::validate(input, pos);
}

double MoneySpinBox::valueFromText(const QString &text) const
{
    QString number = text;
    number.replace(Comma, Point);
    return QDoubleSpinBox::valueFromText(number);
}
