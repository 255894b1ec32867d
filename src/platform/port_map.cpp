#include "platform/port_map.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>

namespace fs = std::filesystem;

namespace vb {

namespace {

// "ttyS10" after "ttyS9": the name's prefix first, then its number.
bool NumericOrder(const std::string& a, const std::string& b) {
    auto split = [](const std::string& path) {
        std::size_t digits = path.size();
        while (digits > 0 && std::isdigit(static_cast<unsigned char>(path[digits - 1])))
            --digits;
        const std::string number = path.substr(digits);
        return std::make_pair(path.substr(0, digits), number.empty() ? -1L : std::stol(number));
    };
    return split(a) < split(b);
}

std::vector<std::string> Matching(const std::string& folder, const std::string& prefix) {
    std::vector<std::string> found;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(folder, error)) {
        const std::string name = entry.path().filename().string();
        if (name.rfind(prefix, 0) == 0 && name.size() > prefix.size()) found.push_back(entry.path().string());
    }
    return found;
}

std::set<std::string> ConsoleDevices() {
    std::set<std::string> devices;
    std::ifstream active("/sys/class/tty/console/active");
    std::string name;
    while (active >> name)
        devices.insert("/dev/" + name);
    return devices;
}

} // namespace

std::vector<std::string> MachineSerialDevices() {
    std::set<std::string> usb;
    for (const char* prefix : {"ttyUSB", "ttyACM"})
        for (const auto& path : Matching("/dev", prefix))
            usb.insert(path);
    std::error_code error;
    for (const auto& entry : fs::directory_iterator("/dev/serial/by-id", error)) {
        std::error_code resolveError;
        const fs::path target = fs::canonical(entry.path(), resolveError);
        if (!resolveError) usb.insert(target.string());
    }
    std::vector<std::string> devices(usb.begin(), usb.end());
    std::sort(devices.begin(), devices.end(), NumericOrder);

    std::vector<std::string> builtIn = Matching("/dev", "ttyS");
    std::sort(builtIn.begin(), builtIn.end(), NumericOrder);
    devices.insert(devices.end(), builtIn.begin(), builtIn.end());

    const std::set<std::string> console = ConsoleDevices();
    std::erase_if(devices, [&](const std::string& path) { return console.count(path) > 0; });
    return devices;
}

std::string DeviceForPort(int port) {
    if (port < 1 || port > kHighestPort) return {};
    const char* folder = std::getenv("VELMORA_PORTS");
    if (folder && *folder) return (fs::path(folder) / ("COM" + std::to_string(port))).string();
    const std::vector<std::string> devices = MachineSerialDevices();
    return port <= int(devices.size()) ? devices[port - 1] : std::string();
}

} // namespace vb
