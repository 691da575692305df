#include "printing/ticketlayout.h"

#include "printing/qrdrawing.h"

#include <QCoreApplication>
#include <QFont>
#include <QFontMetricsF>
#include <QJsonArray>
#include <QPainter>
#include <QTextOption>

namespace {

constexpr qreal TextWidth = 0.9;
constexpr qreal TextLeft = 0.05;
constexpr qreal CodeSide = 0.75 * 0.5;
constexpr qreal CodeLeft = 0.5;
constexpr qreal NameRight = 0.5;
constexpr int LinesPerWidth = 10;
/// What a shrunken text fills of its line, so that a long name keeps off the code.
constexpr qreal ShrunkenWidth = 0.96;

/// One line of text. A text that is too long is drawn in a smaller font: wrapped, it would lose its halves above and
/// below the line.
void drawLine(QPainter &painter, const QRectF &line, const QString &text, Qt::Alignment alignment)
{
    const QFont usual = painter.font();
    const qreal needed = QFontMetricsF(usual, painter.device()).horizontalAdvance(text);
    if (needed > line.width() && line.width() > 0) {
        QFont fitting = usual;
        fitting.setPixelSize(qMax(1, static_cast<int>(usual.pixelSize() * line.width() * ShrunkenWidth / needed)));
        painter.setFont(fitting);
    }
    QTextOption option(alignment);
    option.setWrapMode(QTextOption::NoWrap);
    painter.drawText(line, text, option);
    painter.setFont(usual);
}

} // namespace

TicketLayout::Ticket TicketLayout::ticketOf(const QJsonObject &registration, int index, const QString &caption,
                                            const QDateTime &printed)
{
    Ticket ticket;
    ticket.caption = caption;
    ticket.model = registration.value(QLatin1String("model")).toString();
    ticket.lastName = registration.value(QLatin1String("lastName")).toString();
    ticket.firstName = registration.value(QLatin1String("firstName")).toString();
    ticket.pinCode = registration.value(QLatin1String("pinCodes")).toArray().at(index).toString();
    ticket.printed = printed;
    return ticket;
}

QString TicketLayout::qrPayload(const QString &pinCode)
{
    return QStringLiteral("?p=%1").arg(pinCode);
}

QString TicketLayout::printedText(const QDateTime &printed)
{
    return printed.toString(QStringLiteral("hh:mm    dd.MM.yyyy"));
}

void TicketLayout::drawTicket(QPainter &painter, const QRectF &page, const Ticket &ticket)
{
    const qreal width = page.width();
    QFont font = painter.font();
    font.setPixelSize(qMax(1, static_cast<int>(width) / LinesPerWidth));
    painter.setFont(font);
    const qreal lineHeight = QFontMetricsF(font, painter.device()).height();
    painter.setBrush(Qt::black);
    painter.setPen(Qt::black);

    qreal y = 0.0;
    QRectF line(width * TextLeft, page.top(), width * TextWidth, lineHeight);
    if (!ticket.caption.isEmpty()) {
        drawLine(painter, line, ticket.caption, Qt::AlignCenter);
        y = line.height();
        line.moveTop(y);
    }
    drawLine(painter, line, QCoreApplication::translate("TicketPluginForm", "Посадочный талон"), Qt::AlignCenter);
    y += lineHeight;

    painter.setPen(Qt::NoPen);
    y += lineHeight;
    if (const auto code = QrDrawing::encode(qrPayload(ticket.pinCode), qrcodegen::QrCode::Ecc::HIGH))
        QrDrawing::draw(painter, *code, QPointF(width * CodeLeft, y), width * CodeSide / code->getSize());
    y += lineHeight;
    line.moveTop(y);

    // The names stand beside the code, in the left half.
    QRectF text = line;
    font.setPixelSize(qMax(1, font.pixelSize() / 2));
    painter.setFont(font);
    const qreal textHeight = QFontMetricsF(font, painter.device()).height();
    text.setHeight(textHeight);
    painter.setPen(Qt::black);
    text.setRight(width * NameRight);
    drawLine(painter, text, ticket.model, Qt::AlignLeft);
    y += textHeight * 2.0;
    text.moveTop(y);
    drawLine(painter, text, ticket.lastName, Qt::AlignLeft);
    y += text.height();
    text.moveTop(y);
    drawLine(painter, text, ticket.firstName, Qt::AlignLeft);
    y += text.height() * 4.0;
    text.setWidth(line.width());
    text.moveTop(y);
    drawLine(painter, text, QCoreApplication::translate("TicketPluginForm", "ПИН: %1").arg(ticket.pinCode),
             Qt::AlignCenter);
    y += text.height() * 2.0;
    text.moveTop(y);
    drawLine(painter, text, printedText(ticket.printed), Qt::AlignCenter);
    text.moveTop(y + text.height());
    // So that the foot counts as printed and the paper is cut below it.
    drawLine(painter, text, QStringLiteral(" "), Qt::AlignCenter);
}
