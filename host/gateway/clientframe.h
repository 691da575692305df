#ifndef CLIENTFRAME_H
#define CLIENTFRAME_H

#include <QCoreApplication>
#include <QJsonObject>
#include <QString>

/// A text frame between the host and a client program: `{"event": …, "data": {…}}`.
struct ClientFrame
{
    Q_DECLARE_TR_FUNCTIONS(ClientFrame)

public:
    QString event;
    QJsonObject data;

    /// Reads a client's frame. False with a sentence in `error` when it is no such object or its event is none that a
    /// client may give to the desk.
    static bool parse(const QString &text, ClientFrame *frame, QString *error);
    QString toText() const;

    /// The first frame that a client gets: the `sinkId` by which remote answers find it.
    static QString hello(const QString &sinkId);
    /// The answer to a frame that was not passed on.
    static QString error(const QString &message);
};

#endif // CLIENTFRAME_H
