// A signature as an SVG picture: the same placement as the PNG (the strokes fitted into the picture with
// the display's margin), one path per stroke, round-capped lines of the display's pen; a stroke of one
// point is a dot.
#pragma once

#include "signature/strokes.h"

#include <QSize>
#include <string>
#include <vector>

namespace cli {

std::string SignatureSvg(const std::vector<signature::Stroke>& strokes, QSize size);

} // namespace cli
