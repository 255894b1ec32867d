// A descriptor of the test's own on a tty, to look at the line's settings and exclusive flag beside the
// serial control that has it open.
#pragma once

#include <fcntl.h>
#include <string>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

namespace testing_support {

struct TtyObserver {
    explicit TtyObserver(const std::string& path)
        : fd(::open(path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK)) {}
    ~TtyObserver() {
        if (fd >= 0) ::close(fd);
    }
    TtyObserver(const TtyObserver&) = delete;
    TtyObserver& operator=(const TtyObserver&) = delete;
    termios settings() const {
        termios now{};
        tcgetattr(fd, &now);
        return now;
    }
    int exclusive() const {
        int flag = -1;
        ioctl(fd, TIOCGEXCL, &flag);
        return flag;
    }
    int fd;
};

} // namespace testing_support
