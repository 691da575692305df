#ifndef SENDEVENTDIALOG_H
#define SENDEVENTDIALOG_H

#include <QDialog>
#include <QJsonObject>

class QComboBox;
class QLabel;
class QPlainTextEdit;

/// Asks for any event to give to the desk: a name and a JSON object.
class SendEventDialog : public QDialog
{
    Q_OBJECT

public:
    SendEventDialog(const QStringList &events, QWidget *parent);

    QString eventName() const;
    QJsonObject payload() const { return m_payload; }

    /// Closes only with a name and a payload that is a JSON object.
    void accept() override;

private:
    QComboBox *m_event;
    QPlainTextEdit *m_text;
    QLabel *m_message;
    QJsonObject m_payload;
};

#endif // SENDEVENTDIALOG_H
