#include "receive_log.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <stdexcept>
#include <unistd.h>

namespace sim {

std::string receiveLogLine(std::chrono::system_clock::time_point when, std::string_view bytes) {
    using namespace std::chrono;
    const std::time_t seconds = system_clock::to_time_t(when);
    const auto millis = duration_cast<milliseconds>(when.time_since_epoch()).count() % 1000;
    std::tm local{};
    localtime_r(&seconds, &local);

    char stamp[32];
    std::snprintf(stamp, sizeof stamp, "%02d:%02d:%02d.%03d RX", local.tm_hour, local.tm_min, local.tm_sec,
                  static_cast<int>(millis));
    std::string line = stamp;
    static const char hex[] = "0123456789ABCDEF";
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        line += ' ';
        line += hex[byte >> 4];
        line += hex[byte & 0x0F];
    }
    line += '\n';
    return line;
}

ReceiveLog::~ReceiveLog() {
    closeFile();
}

void ReceiveLog::closeFile() {
    if (ownsFd) close(fd);
    fd = -1;
    ownsFd = false;
}

void ReceiveLog::open(const std::string& path) {
    int newFd = -1;
    bool owns = false;
    if (path == "-") {
        newFd = STDOUT_FILENO;
    } else if (!path.empty()) {
        newFd = ::open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644);
        if (newFd < 0)
            throw std::runtime_error("velmora-sim: cannot open the log " + path + ": " +
                                     std::strerror(errno));
        owns = true;
    }
    closeFile();
    fd = newFd;
    ownsFd = owns;
}

void ReceiveLog::write(std::string_view bytes) {
    if (fd < 0 || bytes.empty()) return;
    const std::string line = receiveLogLine(std::chrono::system_clock::now(), bytes);
    std::size_t done = 0;
    while (done < line.size()) {
        const ssize_t n = ::write(fd, line.data() + done, line.size() - done);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return; // a log that cannot be written must not stop the tablet
        done += static_cast<std::size_t>(n);
    }
}

} // namespace sim
