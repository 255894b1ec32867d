// Serial port numbers (1 to 40) to devices.
//
// When VELMORA_PORTS names a folder, port n is <folder>/COM<n> (tests and the emulated tablet use this;
// users may link COM3 -> /dev/ttyUSB0 there). Otherwise port n is the n-th device of the machine's list:
// the USB adapters (/dev/ttyUSB*, /dev/ttyACM* and whatever /dev/serial/by-id/* resolves to), then the
// built-in ports /dev/ttyS*, each group in numeric order, leaving out the system console's devices
// (/sys/class/tty/console/active), so that a tablet on a USB adapter is found with no set-up.
#pragma once

#include <string>
#include <vector>

namespace vb {

inline constexpr int kHighestPort = 40;

// The device path of port `port`; "" when the port has no device.
std::string DeviceForPort(int port);

// What a port's path turned out to be when the port was opened, so that a failure can say why.
enum class PathKind {
    Device,       // something to open: a device, or a path the program may not look into
    Missing,      // nothing at the path
    DanglingLink, // a link to something that does not exist
    LinkLoop,     // links that lead back to themselves
    Directory,    // a folder
    NotADevice,   // a plain file, a FIFO, a socket
};

struct PortPath {
    PathKind kind = PathKind::Missing;
    // The path with its links resolved (a dangling link: what it points to); the path itself when
    // nothing resolves it.
    std::string device;
};

// Looks at `path` without opening it: a FIFO or a folder is never opened, and the message for a port
// that cannot be used names what is there.
PortPath ExaminePortPath(const std::string& path);

// Where the machine's devices and the name of its system console are read from.
struct DeviceRoots {
    std::string dev = "/dev";
    std::string consoleActive = "/sys/class/tty/console/active";
};

// The machine's serial devices in port order (used when VELMORA_PORTS is not set).
std::vector<std::string> MachineSerialDevices(const DeviceRoots& roots = {});

} // namespace vb
