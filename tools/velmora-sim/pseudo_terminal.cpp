#include "pseudo_terminal.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <stdexcept>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

namespace sim {

namespace {

std::runtime_error failure(const std::string& what) {
    return std::runtime_error("velmora-sim: cannot create a pseudo-terminal: " + what + ": " +
                              std::strerror(errno));
}

} // namespace

PseudoTerminal::PseudoTerminal() {
    try {
        // Both ends are close-on-exec: a program started from the process that holds the tablet (a test
        // running velmora-cli) must not inherit them, or the line would stay up when the tablet hangs up.
        masterFd = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
        if (masterFd < 0) throw failure("posix_openpt");
        if (grantpt(masterFd) != 0) throw failure("grantpt");
        if (unlockpt(masterFd) != 0) throw failure("unlockpt");
        char name[128];
        if (ptsname_r(masterFd, name, sizeof name) != 0) throw failure("ptsname");
        slaveName = name;

        slaveFd = open(name, O_RDWR | O_NOCTTY | O_CLOEXEC);
        if (slaveFd < 0) throw failure("open " + slaveName);
        termios raw{};
        if (tcgetattr(slaveFd, &raw) != 0) throw failure("tcgetattr " + slaveName);
        cfmakeraw(&raw);
        if (tcsetattr(slaveFd, TCSANOW, &raw) != 0) throw failure("tcsetattr " + slaveName);

        // Answers must never block the thread that also receives: writes that do not fit are kept
        // and retried when the line can take them.
        const int flags = fcntl(masterFd, F_GETFL);
        if (flags < 0 || fcntl(masterFd, F_SETFL, flags | O_NONBLOCK) != 0) throw failure("fcntl O_NONBLOCK");
    } catch (...) {
        if (slaveFd >= 0) close(slaveFd);
        if (masterFd >= 0) close(masterFd);
        throw;
    }
}

PseudoTerminal::~PseudoTerminal() {
    close(slaveFd);
    if (masterFd >= 0) close(masterFd);
}

bool PseudoTerminal::slaveHasUnreadInput() const {
    // Bytes written to the master reach the slave's input through a kernel work queue, so right after
    // a write the count can still be 0. poll() on a tty finishes that pending work before it reports
    // no input, after which the count is exact. The input is the slave's, shared by every descriptor
    // of it, ours included; our descriptor is never read, so the bytes are left for the program.
    pollfd slave{slaveFd, POLLIN, 0};
    if (poll(&slave, 1, 0) > 0 && (slave.revents & POLLIN)) return true;
    int waiting = 0;
    return ioctl(slaveFd, FIONREAD, &waiting) == 0 && waiting > 0;
}

void PseudoTerminal::hangUp() {
    if (masterFd >= 0) close(masterFd);
    masterFd = -1;
}

} // namespace sim
