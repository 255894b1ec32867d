// The signature decoder on any bytes: it never fails, every decoded point stays within the range the
// decoder keeps positions in, and one round of encoding settles the strokes: encoding the decoded strokes
// and decoding them gives strokes on the grid that encode and decode to themselves, and an encoding never
// holds CR (a record ends there).
#include "fuzz_check.h"
#include "signature/strokes.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace {

// Decoded positions never leave this range, however long a run of moves is.
constexpr int kPositionLimit = 1 << 20;

bool OnGrid(const signature::Point& point) {
    return point.x >= 0 && point.x < signature::kGridSize && point.y >= 0 && point.y < signature::kGridSize;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    const std::vector<signature::Stroke> decoded = signature::Decode(bytes);

    std::size_t points = 0;
    for (const signature::Stroke& stroke : decoded) {
        FUZZ_CHECK(!stroke.empty());
        for (const signature::Point& point : stroke) {
            FUZZ_CHECK(point.x >= -kPositionLimit && point.x <= kPositionLimit);
            FUZZ_CHECK(point.y >= -kPositionLimit && point.y <= kPositionLimit);
        }
        points += stroke.size();
    }
    // A point costs at least two bytes (a move) or five (a pen-down); a move with the pen up adds the
    // point it starts from.
    FUZZ_CHECK(points <= size);

    const std::string encoded = signature::Encode(decoded);
    FUZZ_CHECK(encoded.find('\r') == std::string::npos);
    const std::vector<signature::Stroke> settled = signature::Decode(encoded);
    FUZZ_CHECK(settled.size() == decoded.size());
    for (const signature::Stroke& stroke : settled) {
        for (const signature::Point& point : stroke)
            FUZZ_CHECK(OnGrid(point));
    }
    const std::string again = signature::Encode(settled);
    FUZZ_CHECK(again == encoded);
    FUZZ_CHECK(signature::Decode(again) == settled);
    return 0;
}
