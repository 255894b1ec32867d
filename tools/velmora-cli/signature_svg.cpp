#include "signature_svg.h"

#include "viewer/signature_drawing.h"

#include <QString>

namespace cli {

namespace {

std::string Number(double value) {
    return QString::number(value, 'f', 2).toStdString();
}

std::string PointText(const QPointF& point) {
    return Number(point.x()) + " " + Number(point.y());
}

} // namespace

std::string SignatureSvg(const std::vector<signature::Stroke>& strokes, QSize size) {
    const std::string width = std::to_string(size.width());
    const std::string height = std::to_string(size.height());
    std::string svg = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                      "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" +
                      width + "\" height=\"" + height + "\" viewBox=\"0 0 " + width + " " + height + "\">\n" +
                      "<rect width=\"" + width + "\" height=\"" + height + "\" fill=\"white\"/>\n";
    const QRectF area = QRectF(QPointF(0, 0), QSizeF(size))
                            .adjusted(viewer::kSignatureMarginPx, viewer::kSignatureMarginPx,
                                      -viewer::kSignatureMarginPx, -viewer::kSignatureMarginPx);
    const viewer::StrokePlacement placement(strokes, area, true);
    const std::string style = "fill=\"none\" stroke=\"" + viewer::kSignatureInk.name().toStdString() +
                              "\" stroke-width=\"" + Number(viewer::kSignaturePenWidth) +
                              "\" stroke-linecap=\"round\" stroke-linejoin=\"round\"";
    for (const signature::Stroke& stroke : strokes) {
        std::string path = "M " + PointText(placement.place(stroke.front()));
        if (stroke.size() == 1) path += " l 0 0"; // a dot: the round cap of a line of no length
        for (std::size_t k = 1; k < stroke.size(); ++k)
            path += " L " + PointText(placement.place(stroke[k]));
        svg += "<path d=\"" + path + "\" " + style + "/>\n";
    }
    svg += "</svg>\n";
    return svg;
}

} // namespace cli
