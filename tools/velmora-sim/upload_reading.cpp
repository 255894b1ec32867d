#include "upload_reading.h"

namespace sim {

std::size_t ReadPacer::allowance(Clock::time_point now, std::chrono::nanoseconds byteTime) {
    if (!inputSince) {
        inputSince = now;
        scheduleByteTime = byteTime;
    }
    return pacer.allowance(now, *inputSince, scheduleByteTime);
}

void ReadPacer::took(std::size_t count, bool drained) {
    pacer.sent(count, false, scheduleByteTime);
    if (drained) inputSince.reset();
}

std::optional<ReadPacer::Clock::time_point> ReadPacer::nextReadAt() const {
    if (!inputSince) return std::nullopt;
    return pacer.nextByteAt(*inputSince);
}

} // namespace sim
