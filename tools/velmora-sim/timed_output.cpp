#include "timed_output.h"

#include <cerrno>
#include <unistd.h>

namespace sim {

void TimedOutput::add(Clock::time_point due, std::string bytes) {
    if (!bytes.empty()) queue.push_back({due, std::move(bytes)});
}

std::optional<TimedOutput::Clock::time_point> TimedOutput::nextDue() const {
    if (queue.empty()) return std::nullopt;
    return queue.front().due;
}

void TimedOutput::writeDue(int fd, Clock::time_point now) {
    while (!queue.empty() && queue.front().due <= now) {
        std::string& bytes = queue.front().bytes;
        const ssize_t n = ::write(fd, bytes.data(), bytes.size());
        if (n < 0) {
            if (errno == EINTR) continue;
            return; // the line is full (EAGAIN) or failing: try again on the next pass
        }
        bytes.erase(0, static_cast<std::size_t>(n));
        if (!bytes.empty()) return;
        queue.pop_front();
    }
}

} // namespace sim
