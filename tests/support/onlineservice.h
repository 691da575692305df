#ifndef ONLINESERVICE_H
#define ONLINESERVICE_H

#include <QByteArray>
#include <QHash>
#include <QJsonArray>
#include <QList>
#include <QPointer>
#include <QString>
#include <QTcpServer>
#include <QVector>

class QTcpSocket;

/// A web server on loopback in the place of the online service. It writes down every request, and answers when and what
/// the test wants. GUI thread; it works while the event loop runs.
class OnlineService
{
public:
    /// The port that the desk calls unless it was built for another service.
    static constexpr quint16 DeskPort = 9184;

    struct Request
    {
        QByteArray method;
        QByteArray path;
        QByteArray contentType;
        QByteArray body;
    };

    OnlineService();
    ~OnlineService();
    Q_DISABLE_COPY(OnlineService)

    /// Port 0 takes any that is free.
    bool listen(quint16 port = 0);
    /// The address without a slash at its end.
    QString url() const;

    /// From now on every request is answered at once; without it requests wait for answer().
    void answerAll(const QByteArray &body, int status = 200);
    /// Requests wait again.
    void answerNone();

    /// Everything that was asked so far.
    const QVector<Request> &requests() const { return m_requests; }
    /// Runs the event loop until that many requests have come.
    bool waitFor(int count, int milliseconds = 5000) const;

    /// Answers a waiting request, by its number from 0. False when its caller has hung up.
    bool answer(int request, const QByteArray &body, int status = 200);
    /// Sends bytes as they are in place of an answer, and leaves the connection open.
    bool send(int request, const QByteArray &bytes);
    /// Hangs up on a waiting request.
    void hangUp(int request);
    /// True while the caller of a waiting request holds the line.
    bool isWaiting(int request) const;

    /// The body of a reply with these clients.
    static QByteArray results(const QJsonArray &clients);

private:
    void read(QTcpSocket *socket);

    QTcpServer m_server;
    QHash<QTcpSocket *, QByteArray> m_input;
    QVector<Request> m_requests;
    QVector<QPointer<QTcpSocket>> m_callers;
    QByteArray m_body;
    int m_status = 0;
};

#endif // ONLINESERVICE_H
