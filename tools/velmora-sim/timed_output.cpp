#include "timed_output.h"

#include <cerrno>
#include <unistd.h>

namespace sim {

void TimedOutput::add(Clock::time_point due, std::string bytes) {
    if (!bytes.empty()) queue.push_back({due, std::move(bytes)});
}

void TimedOutput::addHangUp(Clock::time_point due) {
    queue.push_back({due, {}, true});
}

std::optional<TimedOutput::Clock::time_point> TimedOutput::nextDue() const {
    if (queue.empty()) return std::nullopt;
    return queue.front().due;
}

bool TimedOutput::writeDue(int fd, Clock::time_point now) {
    while (!queue.empty() && queue.front().due <= now) {
        if (queue.front().hangUp) return true;
        std::string& bytes = queue.front().bytes;
        const ssize_t n = ::write(fd, bytes.data(), bytes.size());
        if (n < 0) {
            if (errno == EINTR) continue;
            return false; // the line is full (EAGAIN) or failing: try again on the next pass
        }
        bytes.erase(0, static_cast<std::size_t>(n));
        if (!bytes.empty()) return false;
        queue.pop_front();
    }
    return false;
}

} // namespace sim
