// The signature bytes the tablet stores after a record's last field, and the pen strokes they stand for.
//
// The format ("Velmora strokes", docs/signature-format.md) is a stream of tokens on a grid of
// 0..4095 x 0..4095 with y growing downwards:
//   0x01 a b c d   pen down at an absolute point: x = (a & 0x3F) << 6 | (b & 0x3F),
//                  y = (c & 0x3F) << 6 | (d & 0x3F); a, b, c, d are each 0x40..0x7F. Starts a stroke.
//   0x80..0xFF e   the pen moves, drawing, by dx = (first & 0x7F) - 64 and dy = e - 128.
//   0x00           pen up: the stroke ends.
// Every other byte, and a 0x01 not followed by four digit bytes, is skipped. The encoder never writes
// the byte 0x0D, since a record ends at CR. This is plain C++ so that the emulated tablet, which makes
// sample signatures, shares it with the viewer's signature display.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace signature {

struct Point {
    int x = 0;
    int y = 0;
    bool operator==(const Point&) const = default;
};
using Stroke = std::vector<Point>;

inline constexpr int kGridSize = 4096;
inline constexpr char kPenDown = 0x01;
inline constexpr char kPenUp = 0x00;

// The strokes of any byte sequence: what cannot be decoded is skipped; never throws, never loops.
std::vector<Stroke> Decode(std::string_view bytes);

// The bytes of these strokes. Absolute points are clamped to the grid; moves longer than one token
// can carry are split into several. Empty strokes are left out. The result never holds 0x0D.
std::string Encode(const std::vector<Stroke>& strokes);

} // namespace signature
