#include "signature/strokes.h"

#include <algorithm>
#include <cstdlib>

namespace signature {

namespace {

constexpr int kMaxStep = 63; // the longest move, in each direction, one move token carries
// Decoded positions are kept in this range so that a long run of moves can never overflow.
constexpr int kPositionLimit = 1 << 20;

bool IsDigitByte(unsigned char byte) {
    return byte >= 0x40 && byte <= 0x7F;
}

char DigitByte(int sixBits) {
    return static_cast<char>(0x40 | (sixBits & 0x3F));
}

void EndStroke(Stroke& current, std::vector<Stroke>& strokes) {
    if (!current.empty()) strokes.push_back(std::move(current));
    current.clear();
}

} // namespace

std::vector<Stroke> Decode(std::string_view bytes) {
    std::vector<Stroke> strokes;
    Stroke current;
    Point pen;
    const std::size_t size = bytes.size();
    std::size_t i = 0;
    while (i < size) {
        const auto byte = static_cast<unsigned char>(bytes[i]);
        if (byte == static_cast<unsigned char>(kPenUp)) {
            EndStroke(current, strokes);
            ++i;
        } else if (byte == static_cast<unsigned char>(kPenDown)) {
            const bool whole = i + 4 < size && IsDigitByte(bytes[i + 1]) && IsDigitByte(bytes[i + 2]) &&
                               IsDigitByte(bytes[i + 3]) && IsDigitByte(bytes[i + 4]);
            if (!whole) {
                ++i; // not a point: skipped, and decoding goes on at the next byte
                continue;
            }
            EndStroke(current, strokes);
            pen.x = (bytes[i + 1] & 0x3F) << 6 | (bytes[i + 2] & 0x3F);
            pen.y = (bytes[i + 3] & 0x3F) << 6 | (bytes[i + 4] & 0x3F);
            current.push_back(pen);
            i += 5;
        } else if (byte >= 0x80) {
            if (i + 1 >= size) break;                    // a move cut short at the end of the data
            if (current.empty()) current.push_back(pen); // a move with the pen up starts where it is
            pen.x = std::clamp(pen.x + (byte & 0x7F) - 64, -kPositionLimit, kPositionLimit);
            pen.y = std::clamp(pen.y + static_cast<unsigned char>(bytes[i + 1]) - 128, -kPositionLimit,
                               kPositionLimit);
            current.push_back(pen);
            i += 2;
        } else {
            ++i;
        }
    }
    EndStroke(current, strokes);
    return strokes;
}

std::string Encode(const std::vector<Stroke>& strokes) {
    std::string out;
    for (const Stroke& stroke : strokes) {
        if (stroke.empty()) continue;
        Point pen{std::clamp(stroke.front().x, 0, kGridSize - 1),
                  std::clamp(stroke.front().y, 0, kGridSize - 1)};
        out += kPenDown;
        out += DigitByte(pen.x >> 6);
        out += DigitByte(pen.x);
        out += DigitByte(pen.y >> 6);
        out += DigitByte(pen.y);
        for (std::size_t k = 1; k < stroke.size(); ++k) {
            const Point target{std::clamp(stroke[k].x, 0, kGridSize - 1),
                               std::clamp(stroke[k].y, 0, kGridSize - 1)};
            // A long move goes in equal steps along the line, so a diagonal stays a straight line.
            const Point from = pen;
            const int steps =
                (std::max(std::abs(target.x - from.x), std::abs(target.y - from.y)) + kMaxStep - 1) /
                kMaxStep;
            for (int step = 1; step <= steps; ++step) {
                const Point next{from.x + (target.x - from.x) * step / steps,
                                 from.y + (target.y - from.y) * step / steps};
                const int dx = next.x - pen.x;
                const int dy = next.y - pen.y;
                out += static_cast<char>(0x80 | (dx + 64)); // 0x80..0xFF
                out += static_cast<char>(dy + 128);         // 0x41..0xBF: never CR
                pen = next;
            }
        }
        out += kPenUp;
    }
    return out;
}

} // namespace signature
