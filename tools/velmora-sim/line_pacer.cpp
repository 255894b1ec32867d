#include "line_pacer.h"

#include <algorithm>

namespace sim {

std::size_t LinePacer::allowance(Clock::time_point now, Clock::time_point due,
                                 std::chrono::nanoseconds byteTime) {
    if (stalled) {
        next = std::max(next, now);
        stalled = false;
    }
    next = std::max(next, due);
    if (now < next || byteTime.count() <= 0) return now < next ? 0 : static_cast<std::size_t>(-1);
    return 1 + static_cast<std::size_t>((now - next) / byteTime);
}

void LinePacer::sent(std::size_t count, bool lineFull, std::chrono::nanoseconds byteTime) {
    next += byteTime * static_cast<long long>(count);
    if (lineFull) stalled = true;
}

LinePacer::Clock::time_point LinePacer::nextByteAt(Clock::time_point due) const {
    return std::max(next, due);
}

} // namespace sim
