#ifndef ONLINESERVICE_H
#define ONLINESERVICE_H

#include "service/clientlookup.h"
#include "service/democlients.h"

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QStringList>

class BoundedHttpServer;
class QHttpSocket;

/// A stand-in of the online service, for the desk on this machine alone: an HTTP server on the loopback address that
/// answers `POST /findracer.php`. It can also answer as badly as a service does on its worst days. Works in the event
/// loop of the GUI thread.
class OnlineService : public QObject
{
    Q_OBJECT

public:
    static constexpr quint16 defaultPort = 9184;
    /// Longer bodies are refused.
    static constexpr int maxBodyBytes = 64 * 1024;

    enum Trouble {
        NoTrouble,
        /// Every reply is late.
        Slow,
        /// Every other reply is late, the first one too, so replies overtake each other.
        Uneven,
        /// Status 500.
        Error,
        /// Status 200 and nothing in it.
        Empty,
        /// A page instead of JSON.
        Garbage,
        /// JSON whose values have other types than they should.
        WrongTypes,
        /// Twenty thousand clients.
        Huge,
        /// The connection ends in the middle of the reply.
        Cut,
    };
    /// One word for each trouble, in the order of the enumeration.
    static QStringList troubleNames();

    explicit OnlineService(QObject *parent = nullptr);

    /// Listens on the port of the loopback address; 0 means any free one. False when the port is taken;
    /// `errorText()` says so.
    bool open(quint16 port);
    /// Ends all connections, answered or not.
    void close();
    bool isOpen() const;
    /// The port that is listened on, or that was asked for last.
    quint16 port() const;
    QString errorText() const { return m_errorText; }

    const DemoClients &clients() const { return m_clients; }
    void setApiKey(const QString &apiKey) { m_lookup.setApiKey(apiKey); }
    void setTrouble(Trouble trouble);
    /// By its word; one that is none means no trouble.
    void setTrouble(const QString &name);
    Trouble trouble() const { return m_trouble; }
    /// Milliseconds by which a late reply is late.
    void setDelay(int ms) { m_delayMs = ms; }

Q_SIGNALS:
    /// A complete request for clients has come; `body` is as it was sent.
    void requestReceived(const QByteArray &body);

private:
    void process(QHttpSocket *socket, const QString &path);
    void readBody(QHttpSocket *socket, int length);
    void answer(QHttpSocket *socket, const QByteArray &body);
    QByteArray replyTo(const QByteArray &body) const;
    QByteArray hugeReply() const;

    DemoClients m_clients;
    ClientLookup m_lookup;
    BoundedHttpServer *m_server = nullptr;
    QString m_errorText;
    quint16 m_askedPort = 0;
    Trouble m_trouble = NoTrouble;
    int m_delayMs = 2000;
    int m_requests = 0;
};

#endif // ONLINESERVICE_H
