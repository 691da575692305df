#ifndef CLIENTOPTIONS_H
#define CLIENTOPTIONS_H

#include <QCoreApplication>
#include <QJsonObject>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <optional>

class QIODevice;

/// What the command line client was asked for.
struct ClientOptions
{
    Q_DECLARE_TR_FUNCTIONS(ClientOptions)

public:
    enum Command { Request, Remote, Follow };

    Command command = Request;
    /// Name of the request.
    QString name;
    /// `requestData` of a local request, the keys beside the name of a remote one.
    QJsonObject payload;
    /// The caller's own `linkGuid`; without one his answer comes without one.
    std::optional<QString> link;
    /// Publications without this key are not printed; empty means all are.
    QString only;
    /// Publications after which following ends; 0 means never.
    int count = 0;
    /// Milliseconds for all of it; -1 means no limit.
    int timeoutMs = -1;
    QUrl url;
    bool pretty = false;
    bool help = false;
    bool version = false;

    /// Reads the arguments, the program's name first. JSON named `-` is read from `input`. False with a sentence in
    /// `error` when they can't be understood.
    static bool parse(const QStringList &arguments, QIODevice *input, ClientOptions *options, QString *error);
    static QString helpText();
};

#endif // CLIENTOPTIONS_H
