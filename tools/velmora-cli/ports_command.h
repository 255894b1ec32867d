// velmora-cli ports: what each port, 1 to 40, is on this machine: its device and whether the tablet's
// line could be opened there.
#pragma once

#include <QStringList>
#include <string>

namespace cli {

int RunPorts(const QStringList& arguments);

// What a port turned out to be.
struct PortCheck {
    int port = 0;
    std::string device; // the device behind the port's path; "" when there is none
    std::string state;  // "ok", "busy", "denied", "missing", "not a serial port", or "failed"
    std::string reason; // the serial layer's description when the port could not be opened
};

// Opens the port as a download would, and closes it again at once: the serial layer gives the device
// its termios settings back and releases the lock, so the port is left as it was found.
PortCheck CheckPort(int port);

} // namespace cli
