#ifndef MONEYSPINBOX_H
#define MONEYSPINBOX_H

#include <QDoubleSpinBox>

/// An amount of money to type. Comma and point are both the decimal sign, whatever the machine's locale: "150,50" must
/// never read as 15050.
class MoneySpinBox : public QDoubleSpinBox
{
    Q_OBJECT

public:
    explicit MoneySpinBox(QWidget *parent = nullptr);

    QValidator::State validate(QString &input, int &pos) const override;
    double valueFromText(const QString &text) const override;
};

#endif // MONEYSPINBOX_H
