#include "registration/scannerbuffer.h"

#include "common/jsonread.h"

#include <QTextCodec>

ScannerBuffer::ScannerBuffer()
    : decoder(QTextCodec::codecForName("UTF-8")->makeDecoder())
{
}

QString ScannerBuffer::decode(const QByteArray &bytes)
{
    // The decoder would take no bytes at all for the end of half a character.
    return bytes.isEmpty() ? QString() : decoder->toUnicode(bytes);
}

std::optional<QJsonObject> ScannerBuffer::take(QChar character)
{
    if (character == QLatin1Char('{')) {
        code = character;
        return std::nullopt;
    }
    // Without its brace nothing can become a code any more.
    if (code.isEmpty())
        return std::nullopt;
    if (code.size() == MaxCode) {
        code.clear();
        return std::nullopt;
    }
    code.append(character);
    if (character != QLatin1Char('}'))
        return std::nullopt;
    const auto object = JsonRead::object(code.toUtf8());
    if (!object || object->isEmpty())
        return std::nullopt;
    return object;
}
