#include "settingsdialog.h"

#include <QDialogButtonBox>
#include <QJsonObject>
#include <QMetaObject>
#include <QPushButton>
#include <QTabWidget>
#include <QVBoxLayout>

SettingsDialog::SettingsDialog(QWidget *page, const QString &caption, QWidget *parent)
    : QDialog(parent)
    , m_page(page)
{
    setObjectName(QStringLiteral("settingsDialog"));
    setWindowTitle(tr("Настройки"));
    setWindowFlag(Qt::WindowContextHelpButtonHint, false);

    auto *modules = new QTabWidget(this);
    modules->setObjectName(QStringLiteral("twModules"));
    modules->addTab(page, caption);
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    buttons->setObjectName(QStringLiteral("settingsButtons"));
    connect(buttons, &QDialogButtonBox::accepted, this, &SettingsDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &SettingsDialog::reject);

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(modules, 1);
    layout->addWidget(buttons);
    resize(QSize(820, 640).expandedTo(minimumSizeHint()));
    if (parent)
        move(parent->geometry().center() - rect().center());
}

SettingsDialog::~SettingsDialog()
{
    releasePage();
}

void SettingsDialog::releasePage()
{
    if (!m_page)
        return;
    m_page->hide();
    m_page->setParent(nullptr);
    m_page.clear();
}

void SettingsDialog::accept()
{
    if (m_page) {
        QMetaObject::invokeMethod(m_page, "pluginSlot", Qt::DirectConnection,
                                  Q_ARG(QString, QStringLiteral("bench_host")),
                                  Q_ARG(QString, QStringLiteral("settings_accepted")),
                                  Q_ARG(QJsonObject, QJsonObject()));
    }
    QDialog::accept();
}
