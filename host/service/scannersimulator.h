#ifndef SCANNERSIMULATOR_H
#define SCANNERSIMULATOR_H

#include <QByteArray>
#include <QObject>
#include <QString>

/// A scanner of QR codes on a serial port: one end of a pseudo-terminal pair is the port that the desk opens, the other
/// end is where the codes are written. Systems without pseudo-terminals have no scanner. GUI thread only.
class ScannerSimulator : public QObject
{
    Q_OBJECT

public:
    explicit ScannerSimulator(QObject *parent = nullptr);
    ~ScannerSimulator() override;

    /// Makes a new port, whose name may differ from the one before. False when there is none to be had;
    /// `errorText()` says why. A scanner that is plugged in stays so.
    bool plug();
    /// The port goes away, under a desk that has it open too.
    void unplug();
    bool isPlugged() const { return m_master >= 0; }
    /// Name for opening, such as /dev/pts/3; empty without a scanner.
    QString portName() const { return m_portName; }
    QString errorText() const { return m_errorText; }

    /// Puts the port's name into the desk's settings, from where the desk reads it when it loads them. A port that is
    /// no pseudo-terminal is a scanner of the user's own and stays there, unless this one has stood there before:
    /// settings that are accepted always name a port that the system lists.
    void storePortName();

    /// Writes bytes as a scanner does, at once or in two bursts with `splitAt` bytes in the first. What nobody reads
    /// waits in the port. False when there is no port or it takes no more.
    bool write(const QByteArray &bytes, int splitAt = 0);
    /// Scans the card of a demo client.
    bool scanClient(int clientId);

Q_SIGNALS:
    void pluggedChanged(bool plugged);

private:
    bool writeNow(const QByteArray &bytes);

    int m_master = -1;
    /// The desk's end, held open too: the port outlives every opening and closing by the desk.
    int m_slave = -1;
    QString m_portName;
    QString m_errorText;
    bool m_isChosen = false;
};

#endif // SCANNERSIMULATOR_H
