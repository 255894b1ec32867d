// The answers waiting to go out on the line. An answer may be due later than now (a reply delay);
// the queue keeps the line's order, so an answer never overtakes one queued before it (one due sooner
// leaves right after it), and bytes that the line could not take yet stay at the front until it can.
// A hang-up takes its place in the same queue, so it comes only after every answer queued before it.
#pragma once

#include <chrono>
#include <deque>
#include <optional>
#include <string>

namespace sim {

class TimedOutput {
public:
    using Clock = std::chrono::steady_clock;

    void add(Clock::time_point due, std::string bytes);
    void addHangUp(Clock::time_point due);
    bool empty() const { return queue.empty(); }
    // When the front entry is due; nothing when the queue is empty.
    std::optional<Clock::time_point> nextDue() const;
    // Writes what is due at `now` to `fd` (non-blocking) as far as the line takes it. True when a
    // hang-up is due: everything queued before it has been written. The hang-up stays at the front,
    // holding back whatever was queued after it.
    bool writeDue(int fd, Clock::time_point now);

private:
    struct Item {
        Clock::time_point due;
        std::string bytes;
        bool hangUp = false;
    };
    std::deque<Item> queue;
};

} // namespace sim
