#ifndef SCANNERBUFFER_H
#define SCANNERBUFFER_H

#include <QByteArray>
#include <QJsonObject>
#include <QString>
#include <QTextDecoder>

#include <memory>
#include <optional>

/// Finds the codes in what a scanner sends. A code is a flat JSON object in UTF-8; it may come in pieces, with anything
/// in between codes.
class ScannerBuffer
{
public:
    /// Longest code in characters, more than twice what the largest QR code holds. A longer one is noise, so that a line
    /// that never ends a code fills no memory.
    static constexpr int MaxCode = 16384;

    ScannerBuffer();
    Q_DISABLE_COPY(ScannerBuffer)

    /// The characters of a read. A character cut in two by the end of the read comes with the next one.
    QString decode(const QByteArray &bytes);

    /// Takes the next character and returns the code that it completes, if it does.
    std::optional<QJsonObject> take(QChar character);

private:
    std::unique_ptr<QTextDecoder> decoder;
    QString code;
};

#endif // SCANNERBUFFER_H
