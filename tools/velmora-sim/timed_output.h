// The answers waiting to go out on the line. An answer may be due later than now (a reply delay);
// the queue keeps the line's order, so an answer never overtakes one queued before it (one due sooner
// leaves right after it), and bytes that the line could not take yet stay at the front until it can.
// A hang-up takes its place in the same queue, so it comes only after every answer queued before it.
// Bytes of the record stream are marked as such, so the tablet can tell how much of the stream is out.
#pragma once

#include <chrono>
#include <deque>
#include <optional>
#include <string>

namespace sim {

class TimedOutput {
public:
    using Clock = std::chrono::steady_clock;

    enum class Kind { Answer, Stream, HangUp };

    void add(Clock::time_point due, std::string bytes, Kind kind = Kind::Answer);
    void addHangUp(Clock::time_point due);
    bool empty() const { return queue.empty(); }
    // When the front entry is due; nothing when the queue is empty.
    std::optional<Clock::time_point> nextDue() const;

    struct Written {
        std::size_t bytes = 0;  // bytes the line took
        std::string streamed{}; // those of them that belong to the record stream
        bool lineFull = false;  // the line took fewer bytes than were due and allowed
        bool hangUpDue = false; // everything queued before a hang-up has been written
    };
    // Writes what is due at `now` to `fd` (non-blocking), at most `limit` bytes, as far as the line
    // takes them. The hang-up stays at the front, holding back whatever was queued after it.
    Written writeDue(int fd, Clock::time_point now, std::size_t limit);

private:
    struct Item {
        Clock::time_point due;
        std::string bytes;
        Kind kind = Kind::Answer;
        std::size_t sent = 0; // bytes of it already written: a long stream is not shifted on every write
    };
    std::deque<Item> queue;
};

} // namespace sim
