// The schedule on which a paced tablet lets its bytes go: one byte every frame-bits / baud seconds,
// on an absolute clock, so that the rate over a long stream is the line rate however late the thread
// wakes (a late wake sends the bytes that were due meanwhile together). The line never saves up time:
// output that becomes due after the line was idle, or after the program stopped reading and the pty
// filled up, starts a fresh schedule from that moment.
#pragma once

#include <chrono>
#include <cstddef>

namespace sim {

class LinePacer {
public:
    using Clock = std::chrono::steady_clock;

    // How many bytes may leave at `now` when the output waiting was due at `due` and a byte takes
    // `byteTime` on the line.
    std::size_t allowance(Clock::time_point now, Clock::time_point due, std::chrono::nanoseconds byteTime);
    // `count` bytes left; `lineFull` when the line took fewer than it was offered.
    void sent(std::size_t count, bool lineFull, std::chrono::nanoseconds byteTime);
    // The line was not paced: when pacing starts again, its schedule starts from then.
    void unpaced() { stalled = true; }
    // When the next byte may leave, for output due at `due`.
    Clock::time_point nextByteAt(Clock::time_point due) const;

private:
    Clock::time_point next{}; // the slot of the next byte
    bool stalled = false;     // refused bytes or not paced: restart the schedule when it next sends
};

} // namespace sim
