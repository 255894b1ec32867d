#include "timed_output.h"

#include <algorithm>
#include <cerrno>
#include <unistd.h>

namespace sim {

void TimedOutput::add(Clock::time_point due, std::string bytes, Kind kind) {
    if (!bytes.empty()) queue.push_back({due, std::move(bytes), kind});
}

void TimedOutput::addHangUp(Clock::time_point due) {
    queue.push_back({due, {}, Kind::HangUp});
}

std::optional<TimedOutput::Clock::time_point> TimedOutput::nextDue() const {
    if (queue.empty()) return std::nullopt;
    return queue.front().due;
}

TimedOutput::Written TimedOutput::writeDue(int fd, Clock::time_point now, std::size_t limit) {
    Written written;
    while (!queue.empty() && queue.front().due <= now && written.bytes < limit) {
        Item& front = queue.front();
        if (front.kind == Kind::HangUp) {
            written.hangUpDue = true;
            return written;
        }
        const std::size_t offered = std::min(front.bytes.size() - front.sent, limit - written.bytes);
        const ssize_t n = ::write(fd, front.bytes.data() + front.sent, offered);
        if (n < 0) {
            if (errno == EINTR) continue;
            written.lineFull = true; // the line is full (EAGAIN) or failing: try again on the next pass
            return written;
        }
        const auto taken = static_cast<std::size_t>(n);
        if (front.kind == Kind::Stream) written.streamed.append(front.bytes, front.sent, taken);
        written.bytes += taken;
        front.sent += taken;
        if (taken < offered) {
            written.lineFull = true;
            return written;
        }
        if (front.sent == front.bytes.size()) queue.pop_front();
    }
    // A hang-up right behind the last bytes written is due as soon as they are out.
    if (!queue.empty() && queue.front().due <= now && queue.front().kind == Kind::HangUp)
        written.hangUpDue = true;
    return written;
}

} // namespace sim
