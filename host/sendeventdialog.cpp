#include "sendeventdialog.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QFontDatabase>
#include <QFormLayout>
#include <QJsonDocument>
#include <QJsonParseError>
#include <QLabel>
#include <QPlainTextEdit>
#include <QVBoxLayout>

SendEventDialog::SendEventDialog(const QStringList &events, QWidget *parent)
    : QDialog(parent)
    , m_event(new QComboBox(this))
    , m_text(new QPlainTextEdit(QStringLiteral("{\n}"), this))
    , m_message(new QLabel(this))
{
    setObjectName(QStringLiteral("sendEventDialog"));
    setWindowTitle(tr("Отправить событие"));
    setWindowFlag(Qt::WindowContextHelpButtonHint, false);

    m_event->setObjectName(QStringLiteral("cbSendEvent"));
    m_event->setEditable(true);
    m_event->addItems(events);
    m_text->setObjectName(QStringLiteral("teSendPayload"));
    m_text->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    m_message->setObjectName(QStringLiteral("lSendMessage"));
    m_message->setWordWrap(true);
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &SendEventDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &SendEventDialog::reject);

    auto *fields = new QFormLayout;
    fields->addRow(tr("Событие"), m_event);
    fields->addRow(tr("Данные"), m_text);
    auto *layout = new QVBoxLayout(this);
    layout->addLayout(fields, 1);
    layout->addWidget(m_message);
    layout->addWidget(buttons);
    resize(560, 420);
}

QString SendEventDialog::eventName() const
{
    return m_event->currentText().trimmed();
}

void SendEventDialog::accept()
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(m_text->toPlainText().toUtf8(), &error);
    if (eventName().isEmpty()) {
        m_message->setText(tr("Не указано событие"));
        return;
    }
    if (!document.isObject()) {
        m_message->setText(tr("Данные — не объект JSON: %1 (символ %2)").arg(error.errorString()).arg(error.offset));
        return;
    }
    m_payload = document.object();
    QDialog::accept();
}
