#include "service/democode.h"

#include <QCryptographicHash>

namespace {

// What a code says when it is deciphered: this, and the client's number.
const char cardPrefix[] = "bench-host client ";
// As long as a hash, so that the data ends in "=".
constexpr int cardLength = 32;
constexpr int ivLength = 16;

QByteArray hashOf(const QByteArray &bytes)
{
    return QCryptographicHash::hash(bytes, QCryptographicHash::Sha256);
}

// Ciphers and deciphers.
QByteArray crossed(const QByteArray &text, const QByteArray &iv)
{
    const QByteArray key = hashOf(QByteArrayLiteral("bench-host card key") + iv);
    QByteArray result = text;
    for (int i = 0; i < result.size(); ++i)
        result[i] = static_cast<char>(text.at(i) ^ key.at(i % key.size()));
    return result;
}

bool isTouchy(const QByteArray &text)
{
    return text.contains('+') && text.contains('/') && text.endsWith('=');
}

// The bytes behind a base64 text that is spelled exactly as it has to be. Otherwise empty.
QByteArray strictlyDecoded(const QString &text)
{
    const QByteArray spelled = text.toUtf8();
    const QByteArray bytes = QByteArray::fromBase64(spelled);
    return bytes.toBase64() == spelled ? bytes : QByteArray();
}

} // namespace

QJsonObject DemoCode::make(int clientId)
{
    const QByteArray card = (cardPrefix + QByteArray::number(clientId)).leftJustified(cardLength, ' ');
    QByteArray iv;
    QByteArray text;
    for (int attempt = 0; !isTouchy(iv) || !isTouchy(text); ++attempt) {
        const QByteArray seed = card + QByteArray::number(attempt);
        const QByteArray ivBytes = hashOf(seed).left(ivLength);
        iv = ivBytes.toBase64();
        text = crossed(card, ivBytes).toBase64();
    }
    return {{QStringLiteral("data"), QString::fromLatin1(text)}, {QStringLiteral("iv"), QString::fromLatin1(iv)}};
}

int DemoCode::clientId(const QString &data, const QString &iv)
{
    const QByteArray ivBytes = strictlyDecoded(iv);
    const QByteArray text = strictlyDecoded(data);
    if (ivBytes.size() != ivLength || text.size() != cardLength)
        return -1;
    const QByteArray card = crossed(text, ivBytes);
    if (!card.startsWith(cardPrefix))
        return -1;
    bool ok = false;
    const int id = card.mid(static_cast<int>(qstrlen(cardPrefix))).trimmed().toInt(&ok);
    return ok ? id : -1;
}
