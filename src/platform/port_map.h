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

// Where the machine's devices and the name of its system console are read from.
struct DeviceRoots {
    std::string dev = "/dev";
    std::string consoleActive = "/sys/class/tty/console/active";
};

// The machine's serial devices in port order (used when VELMORA_PORTS is not set).
std::vector<std::string> MachineSerialDevices(const DeviceRoots& roots = {});

} // namespace vb
