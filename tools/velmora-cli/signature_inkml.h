// A signature as W3C Ink Markup Language: one <trace> per stroke, its points as "x y" pairs on the tablet's
// 4096 x 4096 grid (y downwards), in the order the pen drew them.
#pragma once

#include "signature/strokes.h"

#include <string>
#include <vector>

namespace cli {

// `record` is noted in an annotation, so a file says which record's signature it holds.
std::string SignatureInkMl(const std::vector<signature::Stroke>& strokes, long record);

} // namespace cli
