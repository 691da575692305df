#include "runqueue/customizerundialog.h"
#include "runqueue/replacecardialog.h"
#include "runqueue/selectmultiseatvariantdialog.h"

#include "desktest.h"
#include "jsonmatch.h"

#include <QButtonGroup>
#include <QColorDialog>
#include <QDialogButtonBox>
#include <QFrame>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>

#include <algorithm>

/// The dialogs about runs, by the names of their fields.
class RunDialogsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void paramsForm();
    void paramsFocus();
    void paramsOfAFreshForm();
    void paramsThereAndBack_data();
    void paramsThereAndBack();
    void paramsFields_data();
    void paramsFields();
    void paramsModeKeepsBothValues();
    void paramsColour_data();
    void paramsColour();

    void reasonForm();
    void reasonAnswers();

    void variantForm();
    void variantByClick_data();
    void variantByClick();
    void variantByButtons();
};

namespace {

using JsonMatch::object;

QString text(const char *utf8)
{
    return QString::fromUtf8(utf8);
}

template <typename T> T *field(const QDialog &dialog, const char *name)
{
    auto *found = dialog.findChild<T *>(QString::fromLatin1(name));
    if (!found)
        qFatal("no field %s", name);
    return found;
}

bool hasLabel(const QDialog &dialog, const char *utf8)
{
    const QList<QLabel *> labels = dialog.findChildren<QLabel *>();
    return std::any_of(labels.begin(), labels.end(), [&](const QLabel *label) { return label->text() == text(utf8); });
}

void press(const QDialog &dialog, QDialogButtonBox::StandardButton button)
{
    field<QDialogButtonBox>(dialog, "buttonBox")->button(button)->click();
}

QDialogButtonBox::StandardButtons standardButtons(const QDialog &dialog)
{
    return field<QDialogButtonBox>(dialog, "buttonBox")->standardButtons();
}

} // namespace

void RunDialogsTest::paramsForm()
{
    const CustomizeRunDialog dialog;
    QCOMPARE(dialog.windowTitle(), text("Параметры заезда"));
    QVERIFY(!dialog.windowFlags().testFlag(Qt::WindowContextHelpButtonHint));
    QCOMPARE(standardButtons(dialog), QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    for (const char *label : {"Название заезда", "Автофиниш заезда", "Сортировка результатов", "Цвет"})
        QVERIFY2(hasLabel(dialog, label), label);
    const struct
    {
        const char *name;
        const char *caption;
        bool checked;
        const char *group;
    } buttons[] = {{"rbFinishByTime", "по времени, мин", true, "bgFinishSelector"},
                   {"rbFinishByLaps", "по кругам", false, "bgFinishSelector"},
                   {"rbSortByBestLap", "По лучшему кругу", true, "bgSortSelector"},
                   {"rbSortByFinishPos", "По позиции на финише", false, "bgSortSelector"}};
    for (const auto &expected : buttons) {
        const auto *button = field<QRadioButton>(dialog, expected.name);
        QCOMPARE(button->text(), text(expected.caption));
        QCOMPARE(button->isChecked(), expected.checked);
        QVERIFY(button->group());
        QCOMPARE(button->group()->objectName(), QString::fromLatin1(expected.group));
    }
    for (const char *name : {"sbFinishTime", "sbFinishLaps"}) {
        const auto *box = field<QSpinBox>(dialog, name);
        QCOMPARE(box->minimum(), 1);
        QCOMPARE(box->maximum(), 9999);
        QCOMPARE(box->value(), 10);
    }
    const auto *color = field<QFrame>(dialog, "fRunColor");
    QCOMPARE(color->minimumHeight(), 50);
    QCOMPARE(color->styleSheet(), text("background-color:rgb(255,255,255);"));
}

void RunDialogsTest::paramsFocus()
{
    CustomizeRunDialog dialog;
    dialog.show();
    QVERIFY(QTest::qWaitForWindowActive(&dialog));
    QTRY_COMPARE(dialog.focusWidget(), field<QLineEdit>(dialog, "leRunName"));
}

void RunDialogsTest::paramsOfAFreshForm()
{
    const CustomizeRunDialog dialog;
    JSON_COMPARE(dialog.params(),
                 object(R"({"runName": "", "finishMode": 1, "runParam": 600, "sortMode": 0, "runColor": "#ffffff"})"));
}

void RunDialogsTest::paramsThereAndBack_data()
{
    QTest::addColumn<QJsonObject>("params");
    QTest::addColumn<QJsonObject>("back");
    const QJsonObject plain =
        object(R"({"runName": "", "finishMode": 1, "runParam": 600, "sortMode": 0, "runColor": "#000000"})");
    const auto changed = [&](const char *more) {
        QJsonObject json = plain;
        const QJsonObject values = object(more);
        for (auto it = values.begin(); it != values.end(); ++it)
            json.insert(it.key(), it.value());
        return json;
    };
    const QJsonObject time = changed(R"({"runName": "Кубок", "runParam": 900, "sortMode": 1, "runColor": "#00ff00"})");
    const QJsonObject laps = changed(R"({"finishMode": 2, "runParam": 25, "runColor": "#123456"})");
    QTest::newRow("time") << time << time;
    QTest::newRow("laps") << laps << laps;
    QTest::newRow("nothing") << QJsonObject() << plain;
    QTest::newRow("laps without a number")
        << object(R"({"finishMode": 2})") << changed(R"({"finishMode": 2, "runParam": 1})");
    QTest::newRow("seconds are cut") << object(R"({"runParam": 90})") << changed(R"({"runParam": 60})");
    QTest::newRow("less than a minute") << object(R"({"runParam": 59})") << changed(R"({"runParam": 60})");
    QTest::newRow("negative") << object(R"({"runParam": -900})") << changed(R"({"runParam": 60})");
    QTest::newRow("too long") << object(R"({"runParam": 2000000000})") << changed(R"({"runParam": 599940})");
    QTest::newRow("unknown modes") << object(R"({"finishMode": 3, "sortMode": 2, "runParam": 120})")
                                   << changed(R"({"runParam": 120})");
    QTest::newRow("wrong types") << object(R"({"runName": 4, "finishMode": "2", "runParam": [], "sortMode": "1",
                                              "runColor": {}})")
                                 << plain;
    QTest::newRow("colour by name") << object(R"({"runColor": "red"})") << changed(R"({"runColor": "#ff0000"})");
    QTest::newRow("no colour") << object(R"({"runColor": "junk"})") << plain;
}

void RunDialogsTest::paramsThereAndBack()
{
    QFETCH(QJsonObject, params);
    QFETCH(QJsonObject, back);
    CustomizeRunDialog dialog;
    dialog.setParams(params);
    JSON_COMPARE(dialog.params(), back);
}

void RunDialogsTest::paramsFields_data()
{
    QTest::addColumn<QJsonObject>("params");
    QTest::addColumn<bool>("byLaps");
    QTest::addColumn<int>("minutes");
    QTest::addColumn<int>("laps");
    QTest::newRow("ten minutes") << object(R"({"finishMode": 1, "runParam": 600})") << false << 10 << 10;
    QTest::newRow("25 laps") << object(R"({"finishMode": 2, "runParam": 25})") << true << 10 << 25;
    QTest::newRow("25 minutes") << object(R"({"runParam": 1500})") << false << 25 << 10;
}

void RunDialogsTest::paramsFields()
{
    QFETCH(QJsonObject, params);
    QFETCH(bool, byLaps);
    QFETCH(int, minutes);
    QFETCH(int, laps);
    CustomizeRunDialog dialog;
    params.insert(QStringLiteral("runColor"), QStringLiteral("#00ff00"));
    dialog.setParams(params);
    QCOMPARE(field<QRadioButton>(dialog, "rbFinishByLaps")->isChecked(), byLaps);
    QCOMPARE(field<QRadioButton>(dialog, "rbFinishByTime")->isChecked(), !byLaps);
    QCOMPARE(field<QSpinBox>(dialog, "sbFinishTime")->value(), minutes);
    QCOMPARE(field<QSpinBox>(dialog, "sbFinishLaps")->value(), laps);
    QCOMPARE(field<QSpinBox>(dialog, "sbFinishTime")->isEnabled(), !byLaps);
    QCOMPARE(field<QSpinBox>(dialog, "sbFinishLaps")->isEnabled(), byLaps);
    QCOMPARE(field<QFrame>(dialog, "fRunColor")->styleSheet(), QStringLiteral("background-color:#00ff00;"));
}

void RunDialogsTest::paramsModeKeepsBothValues()
{
    CustomizeRunDialog dialog;
    dialog.setParams(object(R"({"finishMode": 1, "runParam": 600})"));
    field<QRadioButton>(dialog, "rbFinishByLaps")->click();
    QVERIFY(!field<QSpinBox>(dialog, "sbFinishTime")->isEnabled());
    QVERIFY(field<QSpinBox>(dialog, "sbFinishLaps")->isEnabled());
    JSON_CONTAINS(dialog.params(), object(R"({"finishMode": 2, "runParam": 10})"));
    field<QSpinBox>(dialog, "sbFinishLaps")->setValue(33);
    field<QRadioButton>(dialog, "rbFinishByTime")->click();
    QVERIFY(field<QSpinBox>(dialog, "sbFinishTime")->isEnabled());
    QVERIFY(!field<QSpinBox>(dialog, "sbFinishLaps")->isEnabled());
    JSON_CONTAINS(dialog.params(), object(R"({"finishMode": 1, "runParam": 600})"));
    field<QRadioButton>(dialog, "rbSortByFinishPos")->click();
    JSON_CONTAINS(dialog.params(), object(R"({"sortMode": 1})"));
}

void RunDialogsTest::paramsColour_data()
{
    QTest::addColumn<bool>("accept");
    QTest::newRow("accepted") << true;
    QTest::newRow("cancelled") << false;
}

void RunDialogsTest::paramsColour()
{
    QFETCH(bool, accept);
    CustomizeRunDialog dialog;
    dialog.setParams(object(R"({"runColor": "#00ff00"})"));
    dialog.show();
    QColor offered;
    const ModalAnswer answer = ModalAnswer::widget([&](QWidget *widget) {
        auto *picker = qobject_cast<QColorDialog *>(widget);
        if (!picker)
            return;
        offered = picker->currentColor();
        picker->setCurrentColor(Qt::blue);
        if (accept)
            picker->accept();
        else
            picker->reject();
    });
    QTest::mousePress(field<QFrame>(dialog, "fRunColor"), Qt::LeftButton);
    MODAL_VERIFY(answer);
    QCOMPARE(offered, QColor(0, 255, 0));
    const QString expected = accept ? QStringLiteral("#0000ff") : QStringLiteral("#00ff00");
    QCOMPARE(dialog.params().value(QLatin1String("runColor")).toString(), expected);
    QCOMPARE(field<QFrame>(dialog, "fRunColor")->styleSheet(), QStringLiteral("background-color:%1;").arg(expected));
}

void RunDialogsTest::reasonForm()
{
    const ReplaceCarDialog dialog;
    QCOMPARE(dialog.windowTitle(), QString());
    QVERIFY(!dialog.windowFlags().testFlag(Qt::WindowContextHelpButtonHint));
    QCOMPARE(standardButtons(dialog), QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    QCOMPARE(field<QGroupBox>(dialog, "groupBox")->title(), text("Причина замены карта"));
    QCOMPARE(field<QRadioButton>(dialog, "rbWrongCar")->text(), text("Неверное указан пилот, перепутаны карты"));
    QCOMPARE(field<QRadioButton>(dialog, "rbBrokenCar")->text(), text("Поломка карта, подменный карт"));
    QVERIFY(!field<QRadioButton>(dialog, "rbWrongCar")->isChecked());
    QVERIFY(!field<QRadioButton>(dialog, "rbBrokenCar")->isChecked());
}

void RunDialogsTest::reasonAnswers()
{
    ReplaceCarDialog dialog;
    QCOMPARE(dialog.reason(), QString());
    field<QRadioButton>(dialog, "rbWrongCar")->click();
    QCOMPARE(dialog.reason(), QStringLiteral("wrongCar"));
    field<QRadioButton>(dialog, "rbBrokenCar")->click();
    QCOMPARE(dialog.reason(), QStringLiteral("brokenCar"));
    QVERIFY(!field<QRadioButton>(dialog, "rbWrongCar")->isChecked());
    // A choice alone answers nothing.
    dialog.show();
    field<QRadioButton>(dialog, "rbWrongCar")->click();
    QVERIFY(dialog.isVisible());
    press(dialog, QDialogButtonBox::Ok);
    QCOMPARE(dialog.result(), int(QDialog::Accepted));
    dialog.show();
    press(dialog, QDialogButtonBox::Cancel);
    QCOMPARE(dialog.result(), int(QDialog::Rejected));
}

void RunDialogsTest::variantForm()
{
    const SelectMultiSeatVariantDialog dialog;
    QCOMPARE(dialog.multiSeatVariant, 1);
    QCOMPARE(dialog.windowTitle(), text("Размещение в заездах"));
    QVERIFY(!dialog.windowFlags().testFlag(Qt::WindowContextHelpButtonHint));
    QCOMPARE(standardButtons(dialog), QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    QCOMPARE(field<QGroupBox>(dialog, "groupBox")->title(), text("Размещение в заездах"));
    const auto *group = field<QButtonGroup>(dialog, "buttonGroup");
    QCOMPARE(group->checkedId(), -1);
    QCOMPARE(group->button(1), field<QRadioButton>(dialog, "rbMultiStep1"));
    QCOMPARE(group->button(2), field<QRadioButton>(dialog, "rbMultiStep2"));
    QCOMPARE(field<QRadioButton>(dialog, "rbMultiStep1")->text(), text("В заезды подряд"));
    QCOMPARE(field<QRadioButton>(dialog, "rbMultiStep2")->text(), text("В заезды через один"));
}

void RunDialogsTest::variantByClick_data()
{
    QTest::addColumn<QString>("button");
    QTest::addColumn<int>("variant");
    QTest::newRow("consecutive") << QStringLiteral("rbMultiStep1") << 1;
    QTest::newRow("every other") << QStringLiteral("rbMultiStep2") << 2;
}

void RunDialogsTest::variantByClick()
{
    QFETCH(QString, button);
    QFETCH(int, variant);
    SelectMultiSeatVariantDialog dialog;
    dialog.show();
    dialog.findChild<QRadioButton *>(button)->click();
    QVERIFY(!dialog.isVisible());
    QCOMPARE(dialog.result(), int(QDialog::Accepted));
    QCOMPARE(dialog.multiSeatVariant, variant);
}

void RunDialogsTest::variantByButtons()
{
    SelectMultiSeatVariantDialog dialog;
    dialog.show();
    press(dialog, QDialogButtonBox::Cancel);
    QCOMPARE(dialog.result(), int(QDialog::Rejected));
    QCOMPARE(dialog.multiSeatVariant, 1);
    dialog.show();
    press(dialog, QDialogButtonBox::Ok);
    QCOMPARE(dialog.result(), int(QDialog::Accepted));
    QCOMPARE(dialog.multiSeatVariant, -1);
}

DESK_TEST_MAIN(RunDialogsTest)

#include "tst_rundialogs.moc"
