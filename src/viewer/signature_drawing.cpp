#include "viewer/signature_drawing.h"

#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <limits>

namespace viewer {

StrokePlacement::StrokePlacement(const std::vector<signature::Stroke>& strokes, const QRectF& area,
                                 bool fitStrokes) {
    int boxLeft = std::numeric_limits<int>::max();
    int boxTop = std::numeric_limits<int>::max();
    int boxRight = std::numeric_limits<int>::min();
    int boxBottom = std::numeric_limits<int>::min();
    for (const signature::Stroke& stroke : strokes)
        for (const signature::Point& p : stroke) {
            boxLeft = std::min(boxLeft, p.x);
            boxRight = std::max(boxRight, p.x);
            boxTop = std::min(boxTop, p.y);
            boxBottom = std::max(boxBottom, p.y);
        }
    nothing = boxLeft > boxRight;
    if (nothing) return;
    if (!fitStrokes) {
        boxLeft = boxTop = 0;
        boxRight = boxBottom = signature::kGridSize - 1;
    }
    // A box of one point or one line still has a size, so a dot or a straight stroke is drawn at a
    // sensible scale.
    const double width = std::max(boxRight - boxLeft, 1);
    const double height = std::max(boxBottom - boxTop, 1);
    left = boxLeft;
    top = boxTop;
    scale = std::min(area.width() / width, area.height() / height);
    offsetX = area.left() + (area.width() - width * scale) / 2;
    offsetY = area.top() + (area.height() - height * scale) / 2;
}

QPointF StrokePlacement::place(const signature::Point& point) const {
    return QPointF(offsetX + (point.x - left) * scale, offsetY + (point.y - top) * scale);
}

void DrawStrokes(QPainter& painter, const std::vector<signature::Stroke>& strokes, const QRectF& area,
                 bool fitStrokes) {
    const StrokePlacement placement(strokes, area, fitStrokes);
    if (placement.empty()) return;
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(kSignatureInk, kSignaturePenWidth, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.setBrush(Qt::NoBrush); // a stroke's path is a line, never a filled shape
    for (const signature::Stroke& stroke : strokes) {
        if (stroke.size() == 1) {
            painter.drawPoint(placement.place(stroke.front()));
            continue;
        }
        QPainterPath path(placement.place(stroke.front()));
        for (std::size_t k = 1; k < stroke.size(); ++k)
            path.lineTo(placement.place(stroke[k]));
        painter.drawPath(path);
    }
    painter.restore();
}

} // namespace viewer
