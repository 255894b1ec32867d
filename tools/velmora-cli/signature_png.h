// A signature as a PNG picture, drawn as the viewer's signature display draws it (signature_drawing.h):
// white, the strokes fitted into the picture with the display's margin. It needs no display: an image
// is painted in memory.
#pragma once

#include "signature/strokes.h"

#include <QSize>
#include <string>
#include <vector>

namespace cli {

// The PNG file's bytes.
std::string SignaturePng(const std::vector<signature::Stroke>& strokes, QSize size);

} // namespace cli
