#ifndef QRDRAWING_H
#define QRDRAWING_H

#include <QPointF>
#include <QString>

#include <qrcodegen/qrcodegen.hpp>

#include <optional>

class QPainter;

/// QR codes drawn module by module.
namespace QrDrawing {

/// The code of a text in UTF-8, in the smallest version that holds it; nothing if no version does.
std::optional<qrcodegen::QrCode> encode(const QString &text, qrcodegen::QrCode::Ecc level);

/// Fills the dark modules with the painter's brush: squares with sides of `module` pixels, the first one at `origin`,
/// without a quiet zone.
void draw(QPainter &painter, const qrcodegen::QrCode &code, const QPointF &origin, qreal module);

} // namespace QrDrawing

#endif // QRDRAWING_H
