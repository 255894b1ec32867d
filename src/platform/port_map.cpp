#include "platform/port_map.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <sys/stat.h>

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

// The devices the system console writes to ("ttyS0 tty0" names the console's devices).
std::set<std::string> ConsoleDevices(const DeviceRoots& roots) {
    std::set<std::string> devices;
    std::ifstream active(roots.consoleActive);
    std::string name;
    while (active >> name)
        devices.insert((fs::path(roots.dev) / name).string());
    return devices;
}

} // namespace

std::vector<std::string> MachineSerialDevices(const DeviceRoots& roots) {
    std::set<std::string> usb;
    for (const char* prefix : {"ttyUSB", "ttyACM"})
        for (const auto& path : Matching(roots.dev, prefix))
            usb.insert(path);
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(fs::path(roots.dev) / "serial" / "by-id", error)) {
        std::error_code resolveError;
        const fs::path target = fs::canonical(entry.path(), resolveError);
        if (!resolveError) usb.insert(target.string());
    }
    std::vector<std::string> devices(usb.begin(), usb.end());
    std::sort(devices.begin(), devices.end(), NumericOrder);

    // A built-in port that a by-id link already named keeps its place among the adapters.
    std::vector<std::string> builtIn = Matching(roots.dev, "ttyS");
    std::erase_if(builtIn, [&](const std::string& path) { return usb.count(path) > 0; });
    std::sort(builtIn.begin(), builtIn.end(), NumericOrder);
    devices.insert(devices.end(), builtIn.begin(), builtIn.end());

    const std::set<std::string> console = ConsoleDevices(roots);
    std::erase_if(devices, [&](const std::string& path) { return console.count(path) > 0; });
    return devices;
}

PortPath ExaminePortPath(const std::string& path) {
    struct stat link {};
    if (lstat(path.c_str(), &link) != 0)
        return {errno == EACCES ? PathKind::Device : PathKind::Missing, path};
    struct stat target {};
    if (stat(path.c_str(), &target) != 0) {
        if (errno == ELOOP) return {PathKind::LinkLoop, path};
        if (errno == ENOENT || errno == ENOTDIR) {
            std::error_code error;
            const fs::path pointee = fs::read_symlink(path, error);
            const fs::path absolute =
                pointee.is_absolute() ? pointee : fs::path(path).parent_path() / pointee;
            return {PathKind::DanglingLink, error ? path : absolute.lexically_normal().string()};
        }
        return {PathKind::Device, path};
    }
    std::error_code error;
    const fs::path resolved = fs::canonical(path, error);
    const std::string device = error ? path : resolved.string();
    if (S_ISDIR(target.st_mode)) return {PathKind::Directory, device};
    if (!S_ISCHR(target.st_mode)) return {PathKind::NotADevice, device};
    return {PathKind::Device, device};
}

std::string DeviceForPort(int port) {
    if (port < 1 || port > kHighestPort) return {};
    const char* folder = std::getenv("VELMORA_PORTS");
    if (folder && *folder) return (fs::path(folder) / ("COM" + std::to_string(port))).string();
    const std::vector<std::string> devices = MachineSerialDevices();
    return port <= int(devices.size()) ? devices[port - 1] : std::string();
}

} // namespace vb
