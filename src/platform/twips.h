// Positions as the program's windows give them, in twips: 15 twips are one pixel at 96 dpi.
#pragma once

#include <QRect>

namespace vb {

constexpr int Twips(int twips) {
    return twips / 15;
}

inline QRect TwipsRect(int left, int top, int width, int height) {
    return QRect(Twips(left), Twips(top), Twips(width), Twips(height));
}

} // namespace vb
