#include "state_file.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <stdexcept>
#include <unistd.h>

namespace sim {

namespace {

bool writeAll(int fd, const std::string& text) {
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t n = ::write(fd, text.data() + done, text.size() - done);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        done += static_cast<std::size_t>(n);
    }
    return true;
}

} // namespace

std::string stateLines(const TabletState& state) {
    return "company-name=" + state.companyName + "\nmenu-title=" + state.menuTitle +
           "\npassword=" + state.password + "\nclock=" + state.clock +
           "\nresets=" + std::to_string(state.resets) + "\n";
}

void StateFile::open(const std::string& path, const TabletState& state) {
    const std::string previous = target;
    target = path;
    if (!writeTo(state)) {
        const std::string error = std::strerror(errno);
        target = previous;
        throw std::runtime_error("velmora-sim: cannot write the state file " + path + ": " + error);
    }
}

void StateFile::write(const TabletState& state) {
    writeTo(state);
}

bool StateFile::writeTo(const TabletState& state) {
    if (target.empty()) return true;
    if (target == "-") return writeAll(STDOUT_FILENO, "state:\n" + stateLines(state));

    const std::string temporary = target + "." + std::to_string(getpid()) + ".tmp";
    const int fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0) return false;
    const bool written = writeAll(fd, stateLines(state));
    const int savedErrno = errno;
    ::close(fd);
    if (written && std::rename(temporary.c_str(), target.c_str()) == 0) return true;
    const int failure = written ? errno : savedErrno;
    ::unlink(temporary.c_str());
    errno = failure;
    return false;
}

} // namespace sim
