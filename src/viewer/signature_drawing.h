// How a signature's strokes are drawn: the viewer's signature display and the command line's image export
// share it, so a signature looks the same on the pad and in an exported picture.
//
// The strokes' bounding box (or, when the strokes are not fitted, the whole 4096 x 4096 grid of the
// tablet's pad) is fitted into the area keeping its aspect ratio, centred, and the strokes are drawn as
// antialiased round-capped lines of 2 pixels; a stroke of one point is a dot. No widget is involved, so it
// draws into any QPainter, an image's included, with no display.
#pragma once

#include "signature/strokes.h"

#include <QColor>
#include <QPointF>
#include <QRectF>
#include <vector>

class QPainter;

namespace viewer {

// The space the display leaves between its border and the drawing.
inline constexpr int kSignatureMarginPx = 6;
inline constexpr double kSignaturePenWidth = 2.0;
inline const QColor kSignatureInk(0x10, 0x20, 0x60);

// Where each point of the strokes lands in the area.
class StrokePlacement {
public:
    // `fitStrokes` false fits the whole grid of the pad instead of the strokes' bounding box.
    StrokePlacement(const std::vector<signature::Stroke>& strokes, const QRectF& area, bool fitStrokes);

    // True when there is nothing to draw (no point at all).
    bool empty() const { return nothing; }
    QPointF place(const signature::Point& point) const;

private:
    bool nothing = true;
    double left = 0;
    double top = 0;
    double scale = 1;
    double offsetX = 0;
    double offsetY = 0;
};

// Draws the strokes into the area with the signature pen. The painter's other state is left as it was.
void DrawStrokes(QPainter& painter, const std::vector<signature::Stroke>& strokes, const QRectF& area,
                 bool fitStrokes);

} // namespace viewer
