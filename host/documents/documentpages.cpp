#include "documents/documentpages.h"

#include <QAbstractTextDocumentLayout>
#include <QPagedPaintDevice>
#include <QPainter>
#include <QUrl>

#include <qrcodegen/qrcodegen.hpp>

#include <cmath>

namespace {

constexpr qreal mmInInch = 25.4;
// Pixels of the image; on the page it is scaled anyway, but must not lose its edges.
constexpr int qrModule = 8;
constexpr int qrQuietModules = 4;
constexpr int gapBetweenPages = 12;

// The code of a ticket, white around it. A text that no code can hold leaves a white image.
QImage qrImage(const QString &text)
{
    try {
        const auto code = qrcodegen::QrCode::encodeText(text.toUtf8().constData(), qrcodegen::QrCode::Ecc::MEDIUM);
        const int size = code.getSize();
        const int side = (size + 2 * qrQuietModules) * qrModule;
        QImage image(side, side, QImage::Format_RGB32);
        image.fill(Qt::white);
        QPainter painter(&image);
        for (int y = 0; y < size; ++y) {
            for (int x = 0; x < size; ++x) {
                if (code.getModule(x, y))
                    painter.fillRect((x + qrQuietModules) * qrModule, (y + qrQuietModules) * qrModule, qrModule,
                                     qrModule, Qt::black);
            }
        }
        return image;
    } catch (const qrcodegen::data_too_long &) {
        QImage blank(1, 1, QImage::Format_RGB32);
        blank.fill(Qt::white);
        return blank;
    }
}

} // namespace

DocumentPages::DocumentPages(const QString &templateName, const QString &html, const QString &pinCode)
    : m_paper(paperOf(templateName))
{
    m_document.addResource(QTextDocument::ImageResource, QUrl(QStringLiteral("qr:PINCODE")),
                           qrImage(QStringLiteral("?p=") + pinCode));
    m_document.setHtml(html);
    m_document.setDocumentMargin(0);
}

QString DocumentPages::text() const
{
    return m_document.toPlainText().remove(QChar::ObjectReplacementCharacter);
}

DocumentPages::Paper DocumentPages::paperOf(const QString &templateName)
{
    if (templateName == QLatin1String("pos_ticket"))
        return {QSizeF(80, 200), 4, true};
    return {QSizeF(210, 297), 20, false};
}

QSizeF DocumentPages::contentSize(QPaintDevice *device, qreal width)
{
    m_document.documentLayout()->setPaintDevice(device);
    m_document.setPageSize(QSizeF());
    m_document.setTextWidth(width);
    return {width, std::ceil(m_document.size().height())};
}

void DocumentPages::drawPage(QPainter *painter, int page) const
{
    const QSizeF size = m_document.pageSize();
    const QRectF area(QPointF(0, page * size.height()), size);
    QAbstractTextDocumentLayout::PaintContext context;
    // Paper is white, whatever colours the desktop has.
    context.palette.setColor(QPalette::Text, Qt::black);
    // The layout also draws lines that only touch the clip: those at the neighbours' edges.
    context.clip = area.adjusted(0, 1, 0, -1);
    painter->save();
    painter->translate(0, -area.top());
    painter->setClipRect(area);
    m_document.documentLayout()->draw(painter, context);
    painter->restore();
}

bool DocumentPages::print(QPagedPaintDevice *device)
{
    const QMarginsF margins(m_paper.marginMm, m_paper.marginMm, m_paper.marginMm, m_paper.marginMm);
    const auto setPaper = [device, margins](const QSizeF &mm) {
        const QPageSize size(mm, QPageSize::Millimeter, QString(), QPageSize::FuzzyMatch);
        device->setPageLayout(QPageLayout(size, QPageLayout::Portrait, margins, QPageLayout::Millimeter));
    };
    setPaper(m_paper.mm);
    if (m_paper.cut) {
        const qreal height = contentSize(device, device->width()).height();
        setPaper({m_paper.mm.width(), std::ceil(height * mmInInch / device->logicalDpiY() + 2 * m_paper.marginMm)});
    }

    QPainter painter;
    if (!painter.begin(device))
        return false;
    m_document.documentLayout()->setPaintDevice(device);
    m_document.setPageSize(QSizeF(device->width(), device->height()));
    for (int page = 0; page < m_document.pageCount(); ++page) {
        if (page > 0)
            device->newPage();
        drawPage(&painter, page);
    }
    return painter.end();
}

QImage DocumentPages::image(int dotsPerInch)
{
    const auto pixels = [dotsPerInch](qreal mm) { return qRound(mm * dotsPerInch / mmInInch); };
    const int margin = pixels(m_paper.marginMm);
    QImage resolution(1, 1, QImage::Format_RGB32);
    resolution.setDotsPerMeterX(pixels(1000));
    resolution.setDotsPerMeterY(pixels(1000));

    QSizeF content(pixels(m_paper.mm.width()) - 2 * margin, pixels(m_paper.mm.height()) - 2 * margin);
    const QSizeF needed = contentSize(&resolution, content.width());
    if (m_paper.cut)
        content = needed;
    m_document.setPageSize(content);

    const QSize page = content.toSize() + QSize(2 * margin, 2 * margin);
    const int pages = m_document.pageCount();
    QImage image(page.width(), pages * (page.height() + gapBetweenPages) - gapBetweenPages,
                 QImage::Format_ARGB32_Premultiplied);
    image.setDotsPerMeterX(resolution.dotsPerMeterX());
    image.setDotsPerMeterY(resolution.dotsPerMeterY());
    image.fill(Qt::transparent);
    QPainter painter(&image);
    for (int i = 0; i < pages; ++i) {
        painter.resetTransform();
        painter.translate(0, i * (page.height() + gapBetweenPages));
        painter.fillRect(QRect(QPoint(0, 0), page), Qt::white);
        painter.translate(margin, margin);
        drawPage(&painter, i);
    }
    // The layout outlives the two images.
    m_document.documentLayout()->setPaintDevice(nullptr);
    return image;
}
