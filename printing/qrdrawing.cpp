#include "printing/qrdrawing.h"

#include <QPainter>

std::optional<qrcodegen::QrCode> QrDrawing::encode(const QString &text, qrcodegen::QrCode::Ecc level)
{
    try {
        return qrcodegen::QrCode::encodeText(text.toUtf8().constData(), level);
    } catch (const qrcodegen::data_too_long &) {
        // A PIN comes from a journal or from another program, and no exception may reach the host.
        return std::nullopt;
    }
}

void QrDrawing::draw(QPainter &painter, const qrcodegen::QrCode &code, const QPointF &origin, qreal module)
{
    const int size = code.getSize();
    for (int row = 0; row < size; ++row) {
        for (int column = 0; column < size; ++column) {
            if (code.getModule(column, row))
                painter.drawRect(QRectF(origin.x() + column * module, origin.y() + row * module, module, module));
        }
    }
}
