#include "platform/mscomm.h"

#include "platform/errors.h"
#include "platform/lock_file.h"
#include "platform/port_map.h"

#include <QSocketNotifier>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <grp.h>
#include <poll.h>
#include <set>
#include <sstream>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <termios.h>
#include <unistd.h>
#include <vector>

namespace vb {

namespace {

speed_t SpeedOf(int baud) {
    switch (baud) {
    case 110:
        return B110;
    case 300:
        return B300;
    case 600:
        return B600;
    case 1200:
        return B1200;
    case 2400:
        return B2400;
    case 4800:
        return B4800;
    case 9600:
        return B9600;
    case 19200:
        return B19200;
    case 38400:
        return B38400;
    case 57600:
        return B57600;
    case 115200:
        return B115200;
    case 230400:
        return B230400;
    default:
        return 0;
    }
}

std::vector<std::string> SplitCommas(const std::string& text) {
    std::vector<std::string> parts;
    std::stringstream stream(text);
    std::string part;
    while (std::getline(stream, part, ','))
        parts.push_back(part);
    if (!text.empty() && text.back() == ',') parts.emplace_back();
    return parts;
}

bool AllDigits(const std::string& text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
}

// Pseudo-terminal slaves (majors 136-143) force 8 data bits and no parity.
bool IsPseudoTerminal(int fd) {
    struct stat info {};
    if (fstat(fd, &info) != 0) return false;
    const unsigned kind = major(info.st_rdev);
    return S_ISCHR(info.st_mode) && kind >= 136 && kind <= 143;
}

termios RawTermios(const termios& found, const LineSettings& line) {
    termios next = found;
    cfmakeraw(&next);
    next.c_cflag |= CLOCAL | CREAD;
    next.c_cflag &= ~(CSIZE | PARENB | PARODD | CMSPAR | CSTOPB | CRTSCTS);
    next.c_cflag |= line.dataBits == 5 ? CS5 : line.dataBits == 6 ? CS6 : line.dataBits == 7 ? CS7 : CS8;
    switch (line.parity) {
    case 'O':
        next.c_cflag |= PARENB | PARODD;
        break;
    case 'E':
        next.c_cflag |= PARENB;
        break;
    case 'M':
        next.c_cflag |= PARENB | PARODD | CMSPAR;
        break;
    case 'S':
        next.c_cflag |= PARENB | CMSPAR;
        break;
    default:
        break;
    }
    if (line.stopBits > 1) next.c_cflag |= CSTOPB;
    next.c_cc[VMIN] = 0;
    next.c_cc[VTIME] = 0;
    cfsetispeed(&next, SpeedOf(line.baud));
    cfsetospeed(&next, SpeedOf(line.baud));
    return next;
}

} // namespace

LineSettings ParseSettings(const std::string& text) {
    const std::vector<std::string> parts = SplitCommas(text);
    LineSettings line;
    bool valid = parts.size() == 4 && AllDigits(parts[0]) && parts[0].size() <= 7 && parts[1].size() == 1 &&
                 AllDigits(parts[2]) && parts[2].size() == 1;
    if (valid) {
        line.baud = std::stoi(parts[0]);
        line.parity = char(std::toupper(static_cast<unsigned char>(parts[1][0])));
        line.dataBits = std::stoi(parts[2]);
        // A set of letters, not strchr: strchr finds a NUL byte at the end of any text.
        valid = SpeedOf(line.baud) != 0 &&
                std::string_view("NOEMS").find(line.parity) != std::string_view::npos && line.dataBits >= 5 &&
                line.dataBits <= 8 && (parts[3] == "1" || parts[3] == "1.5" || parts[3] == "2");
        if (valid) line.stopBits = std::stod(parts[3]);
    }
    if (!valid) Raise(errInvalidPropertyValue);
    return line;
}

struct MSComm::Port {
    int fd = -1;
    std::string path;
    bool pseudoTerminal = false;
    termios found{};
    PortLock lock;
    std::unique_ptr<QSocketNotifier> notifier;
};

namespace {

// Every port open in the program, so that ending it on a signal closes them all, whichever window owns
// them. One thread uses them, as it uses the ports.
std::set<MSComm*>& OpenPorts() {
    static std::set<MSComm*> ports;
    return ports;
}

// How the port's path and the device behind it are named in a description: both, when a link resolved.
std::string Named(const std::string& path, const std::string& device) {
    return device == path ? path : path + " (" + device + ")";
}

std::string GroupOf(const std::string& device) {
    struct stat info {};
    if (stat(device.c_str(), &info) != 0) return {};
    const group* owner = getgrgid(info.st_gid);
    return owner ? owner->gr_name : std::to_string(info.st_gid);
}

// A port whose path holds no device to open.
[[noreturn]] void RaiseUnusablePath(const std::string& path, const PortPath& found) {
    std::string why;
    switch (found.kind) {
    case PathKind::Missing:
        why = path + " does not exist";
        break;
    case PathKind::DanglingLink:
        why = path + " is a link to " + found.device + ", which does not exist";
        break;
    case PathKind::LinkLoop:
        why = path + " is a link loop: its links lead back to themselves";
        break;
    case PathKind::Directory:
        why = Named(path, found.device) + " is a directory, not a serial port";
        break;
    case PathKind::NotADevice:
    case PathKind::Device:
        why = Named(path, found.device) + " is not a serial port";
        break;
    }
    Raise(errInvalidPortNumber, DefaultDescription(errInvalidPortNumber) + ": " + why);
}

// The description of a failed open(2) of the port's device.
[[noreturn]] void RaiseOpenFailure(int error, const std::string& path, const std::string& device) {
    const std::string named = Named(path, device);
    if (error == EACCES || error == EPERM) {
        const std::string group = GroupOf(device);
        Raise(errInvalidPortNumber, DefaultDescription(errInvalidPortNumber) + ": no permission to open " +
                                        named +
                                        (group.empty() ? "" : ", which belongs to the group " + group) +
                                        "; add your user to the dialout group (sudo adduser $USER dialout) "
                                        "and log in again");
    }
    if (error == EBUSY)
        Raise(errPortAlreadyOpen, "Port already open: " + named + " is in use by another program");
    if (error == ENOENT)
        Raise(errInvalidPortNumber,
              DefaultDescription(errInvalidPortNumber) + ": " + named + " does not exist");
    Raise(errInvalidPortNumber, DefaultDescription(errInvalidPortNumber) + ": " + named +
                                    " has no serial port behind it (" + std::strerror(error) + ")");
}

} // namespace

MSComm::MSComm(QObject* parent) : QObject(parent) {}

MSComm::~MSComm() {
    if (port) close();
}

void MSComm::CloseEveryOpenPort() {
    const std::set<MSComm*> open = OpenPorts();
    for (MSComm* each : open)
        each->setPortOpen(false);
}

void MSComm::setCommPort(short number) {
    if (port) Raise(errPortAlreadyOpen);
    commPort = number;
}

void MSComm::setSettings(const std::string& text) {
    const LineSettings line = ParseSettings(text);
    settings = text;
    if (port) {
        const termios next = RawTermios(port->found, line);
        if (tcsetattr(port->fd, TCSANOW, &next) != 0 && !port->pseudoTerminal) Raise(errInvalidPropertyValue);
    }
}

bool MSComm::PortOpen() const {
    return port != nullptr;
}

void MSComm::setPortOpen(bool open_) {
    if (open_ && !port)
        open();
    else if (!open_ && port)
        close();
}

// Checks the path, takes the lock file, opens the device and takes it for this program alone; a failure
// at any step undoes the steps before it and raises the error that names the path and the reason.
void MSComm::open() {
    const LineSettings line = ParseSettings(settings);
    const std::string path = DeviceForPort(commPort);
    if (path.empty()) {
        // Port 0 (no search yet) has no path to name. A port the machine has no device for says so.
        if (commPort < 1 || commPort > kHighestPort) Raise(errInvalidPortNumber);
        Raise(errInvalidPortNumber, DefaultDescription(errInvalidPortNumber) +
                                        ": this machine has no serial device for port " +
                                        std::to_string(commPort));
    }
    const PortPath found = ExaminePortPath(path);
    if (found.kind != PathKind::Device) RaiseUnusablePath(path, found);
    const std::string named = Named(path, found.device);

    auto opened = std::make_unique<Port>();
    opened->path = path;
    opened->lock = TakePortLock(found.device);
    if (opened->lock.holder)
        Raise(errPortAlreadyOpen, "Port already open: " + named + " is locked by process " +
                                      std::to_string(opened->lock.holder) + " (" + LockFileFor(found.device) +
                                      ")");
    auto fail = [&](std::int64_t number, const std::string& description) {
        if (opened->fd >= 0) ::close(opened->fd);
        ReleasePortLock(opened->lock);
        Raise(number, description);
    };

    opened->fd = ::open(found.device.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    if (opened->fd < 0) {
        const int error = errno;
        ReleasePortLock(opened->lock);
        RaiseOpenFailure(error, path, found.device);
    }
    const int fd = opened->fd;
    const std::string notASerialPort =
        DefaultDescription(errInvalidPortNumber) + ": " + named + " is not a serial port";
    if (!isatty(fd)) fail(errInvalidPortNumber, notASerialPort);
    if (flock(fd, LOCK_EX | LOCK_NB) != 0)
        fail(errPortAlreadyOpen, "Port already open: " + named + " is in use by another program");

    opened->pseudoTerminal = IsPseudoTerminal(fd);
    if (tcgetattr(fd, &opened->found) != 0) fail(errInvalidPortNumber, notASerialPort);
    termios next = RawTermios(opened->found, line);
    if (tcsetattr(fd, TCSANOW, &next) != 0) {
        // A pseudo-terminal refuses parity and 7 data bits; it takes the rest as asked.
        next.c_cflag &= ~(CSIZE | PARENB | PARODD | CMSPAR);
        next.c_cflag |= CS8;
        if (!opened->pseudoTerminal || tcsetattr(fd, TCSANOW, &next) != 0)
            fail(errInvalidPropertyValue, "Invalid property value: " + named + " refuses " + settings);
    }
    ioctl(fd, TIOCEXCL);

    opened->notifier = std::make_unique<QSocketNotifier>(fd, QSocketNotifier::Read);
    connect(opened->notifier.get(), &QSocketNotifier::activated, this, [this] {
        if (InBufferCount() > 0) {
            emit OnComm();
            return;
        }
        // Readable with nothing to read: the far side hung up. Stop listening rather than spin.
        pollfd hangup{port->fd, POLLIN, 0};
        if (poll(&hangup, 1, 0) > 0 && (hangup.revents & (POLLHUP | POLLERR)))
            port->notifier->setEnabled(false);
    });
    port = std::move(opened);
    OpenPorts().insert(this);
}

void MSComm::close() {
    OpenPorts().erase(this);
    std::unique_ptr<Port> closing = std::move(port);
    closing->notifier.reset();
    // A UART finishes sending at the settings it was written with; a pty has nothing to drain.
    tcsetattr(closing->fd, closing->pseudoTerminal ? TCSANOW : TCSADRAIN, &closing->found);
    // The exclusive flag belongs to the tty and would outlive us while the far side keeps it open.
    ioctl(closing->fd, TIOCNXCL);
    flock(closing->fd, LOCK_UN);
    ::close(closing->fd);
    ReleasePortLock(closing->lock);
}

// When the output buffer is full the write waits for room, however long the line takes to drain it, and
// processes no events meanwhile: the bytes go out whole and in order. A line that has hung up fails
// instead of waiting for ever.
void MSComm::Output(const std::string& bytes) {
    if (!port) Raise(errPortNotOpen);
    auto fail = [this](const char* why) {
        Raise(errPortNotOpen, "The device is not open: " + port->path + " " + why);
    };
    std::size_t sent = 0;
    while (sent < bytes.size()) {
        const ssize_t written = ::write(port->fd, bytes.data() + sent, bytes.size() - sent);
        if (written > 0) {
            sent += std::size_t(written);
            continue;
        }
        if (written < 0 && errno == EINTR) continue;
        if (written == 0 || errno != EAGAIN) fail(written == 0 ? "takes no output" : std::strerror(errno));
        pollfd writable{port->fd, POLLOUT, 0};
        if (poll(&writable, 1, -1) < 0 && errno != EINTR) fail(std::strerror(errno));
        if (writable.revents & (POLLHUP | POLLERR | POLLNVAL)) fail("has hung up");
    }
}

std::string MSComm::Input() {
    if (!port) Raise(errPortNotOpen);
    std::string received;
    char chunk[4096];
    for (;;) {
        const ssize_t count = ::read(port->fd, chunk, sizeof chunk);
        if (count > 0)
            received.append(chunk, std::size_t(count));
        else if (count < 0 && errno == EINTR)
            continue;
        else
            break; // 0: nothing waiting (VMIN = 0); EAGAIN likewise; EIO: the far side hung up
    }
    return received;
}

long MSComm::InBufferCount() const {
    if (!port) Raise(errPortNotOpen);
    int waiting = 0;
    if (ioctl(port->fd, FIONREAD, &waiting) != 0) return 0;
    return waiting;
}

void MSComm::setInBufferCount(long count) {
    if (!port) Raise(errPortNotOpen);
    if (count != 0) Raise(errInvalidPropertyValue);
    tcflush(port->fd, TCIFLUSH);
}

MSComm::InputWait MSComm::WaitForInput(int timeoutMs) const {
    if (!port) Raise(errPortNotOpen);
    pollfd readable{port->fd, POLLIN, 0};
    int ready = 0;
    do
        ready = poll(&readable, 1, timeoutMs);
    while (ready < 0 && errno == EINTR);
    if (ready <= 0) return InputWait::TimedOut;
    // A hung-up line may still hold bytes sent before it went down: those are read first.
    if (readable.revents & POLLIN && InBufferCount() > 0) return InputWait::Ready;
    return (readable.revents & (POLLHUP | POLLERR | POLLNVAL)) ? InputWait::HungUp : InputWait::Ready;
}

std::string MSComm::DevicePath() const {
    return port ? port->path : std::string();
}

} // namespace vb
