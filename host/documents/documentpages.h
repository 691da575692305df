#ifndef DOCUMENTPAGES_H
#define DOCUMENTPAGES_H

#include <QImage>
#include <QString>
#include <QTextDocument>

class QPagedPaintDevice;
class QPainter;

/// A filled template on its paper: "pos_ticket" on a receipt roll that is cut behind the last line, everything else on
/// A4. GUI thread only.
class DocumentPages
{
public:
    /// In the HTML, the image `qr:PINCODE` is the QR code by which the gate knows the racer with this PIN.
    DocumentPages(const QString &templateName, const QString &html, const QString &pinCode);

    /// All of the text, without its shape and pictures.
    QString text() const;
    /// Draws all pages as one job, on the document's paper if the device takes it, else on the device's own. False when
    /// the device can't be drawn on.
    bool print(QPagedPaintDevice *device);
    /// The pages below each other, at this resolution.
    QImage image(int dotsPerInch);

private:
    struct Paper
    {
        QSizeF mm;
        qreal marginMm;
        /// The paper ends where the document does.
        bool cut;
    };

    static Paper paperOf(const QString &templateName);
    QSizeF contentSize(QPaintDevice *device, qreal width);
    void drawPage(QPainter *painter, int page) const;

    QTextDocument m_document;
    Paper m_paper;
};

#endif // DOCUMENTPAGES_H
