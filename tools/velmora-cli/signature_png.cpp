#include "signature_png.h"

#include "viewer/signature_drawing.h"

#include <QBuffer>
#include <QImage>
#include <QPainter>

namespace cli {

std::string SignaturePng(const std::vector<signature::Stroke>& strokes, QSize size) {
    QImage image(size, QImage::Format_RGB32);
    image.fill(Qt::white);
    {
        QPainter painter(&image);
        const QRectF area = QRectF(image.rect())
                                .adjusted(viewer::kSignatureMarginPx, viewer::kSignatureMarginPx,
                                          -viewer::kSignatureMarginPx, -viewer::kSignatureMarginPx);
        viewer::DrawStrokes(painter, strokes, area, true);
    }
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes.toStdString();
}

} // namespace cli
