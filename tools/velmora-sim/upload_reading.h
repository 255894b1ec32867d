// How fast the tablet takes bytes off the line when it reads at the line rate, as a tablet on a real
// serial line can do no faster: one byte every frame-bits / baud seconds. The bytes the line has not yet
// "brought" stay in the pty, so a program that writes faster (an upload) fills the pty and its writes
// must wait, as they would behind a real line.
//
// The schedule runs from the moment input is first seen waiting; it goes on while input keeps waiting
// and starts afresh once the tablet has read everything there was (the line was idle meanwhile). The
// byte time is taken when the schedule starts and kept while it runs: bytes waiting in the pty were sent
// at the speed of their time, even when the program closes its port (which puts the pty back to its
// own speed) before the tablet has read them.
#pragma once

#include "line_pacer.h"

#include <chrono>
#include <cstddef>
#include <optional>

namespace sim {

class ReadPacer {
public:
    using Clock = LinePacer::Clock;

    // How many bytes may be read at `now`, input having been seen waiting; `byteTime` is the line's byte
    // time now, used when a new schedule starts.
    std::size_t allowance(Clock::time_point now, std::chrono::nanoseconds byteTime);
    // `count` bytes were read; `drained` when that was all there was.
    void took(std::size_t count, bool drained);
    // When the line brings the next byte of the input known to be waiting; nothing when none is known.
    std::optional<Clock::time_point> nextReadAt() const;

private:
    LinePacer pacer;
    std::optional<Clock::time_point> inputSince; // input has been waiting since then, unread
    std::chrono::nanoseconds scheduleByteTime{0};
};

} // namespace sim
