#ifndef CLIENTCOMMAND_H
#define CLIENTCOMMAND_H

#include "client/clientoptions.h"
#include "client/deskclient.h"

#include <QObject>
#include <QTimer>

/// Does what the command line client was asked for: connects, asks, and says what came back.
class ClientCommand : public QObject
{
    Q_OBJECT

public:
    explicit ClientCommand(const ClientOptions &options, QObject *parent = nullptr);

    void start();

Q_SIGNALS:
    /// A line, or several, for the standard output.
    void said(const QByteArray &text);
    /// The command is over. `error` is empty when it went well.
    void finished(const QString &error);

private:
    void ask();
    void onAnswered(const QJsonObject &answer);
    void onRemoteAnswered(const QJsonObject &wrapper);
    void onPublished(const QJsonObject &publication);
    void print(const QJsonObject &object);
    void finish(const QString &error);

    const ClientOptions m_options;
    DeskClient m_client;
    QTimer m_limit;
    /// The `linkGuid` or the `sinkId` that the answer is known by.
    QString m_address;
    int m_printed = 0;
    bool m_over = false;
};

#endif // CLIENTCOMMAND_H
