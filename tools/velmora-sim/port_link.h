// The COM<n> link in a ports folder: <portsDir>/COM<n> -> the tablet's serial device.
//
// Making the link replaces whatever link of that name was there (an emulator from an earlier run that
// was killed leaves its link behind). Removing it happens only while it still points to our device, so
// a tablet that has since taken over the same port number keeps its link.
#pragma once

#include <string>

namespace sim {

class PortLink {
public:
    // Creates the folder if needed; throws std::runtime_error when the link cannot be made.
    PortLink(const std::string& portsDir, int port, const std::string& target);
    ~PortLink();
    PortLink(const PortLink&) = delete;
    PortLink& operator=(const PortLink&) = delete;

    const std::string& path() const { return linkPath; }

private:
    std::string linkPath;
    std::string targetPath;
};

} // namespace sim
