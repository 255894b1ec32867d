#include "port_link.h"

#include <atomic>
#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <unistd.h>

namespace sim {

namespace fs = std::filesystem;

PortLink::PortLink(const std::string& portsDir, int port, const std::string& target)
    : linkPath(portsDir + "/COM" + std::to_string(port)), targetPath(target) {
    std::error_code error;
    fs::create_directories(portsDir, error);
    if (error)
        throw std::runtime_error("velmora-sim: cannot create the ports folder " + portsDir + ": " +
                                 error.message());

    const fs::file_status existing = fs::symlink_status(linkPath, error);
    if (fs::exists(existing) && !fs::is_symlink(existing))
        throw std::runtime_error("velmora-sim: " + linkPath + " exists and is not a link; not replacing it");

    // Make the new link under a private name and rename it over the old one, so the port name never
    // vanishes for a program that looks at the folder meanwhile.
    static std::atomic<unsigned> serial{0};
    const std::string temporary = portsDir + "/.COM" + std::to_string(port) + "." + std::to_string(getpid()) +
                                  "." + std::to_string(serial++);
    fs::create_symlink(target, temporary, error);
    if (!error) fs::rename(temporary, linkPath, error);
    if (error) {
        std::error_code ignored;
        fs::remove(temporary, ignored);
        throw std::runtime_error("velmora-sim: cannot link " + linkPath + " to " + target + ": " +
                                 error.message());
    }
}

PortLink::~PortLink() {
    std::error_code error;
    if (fs::read_symlink(linkPath, error) == fs::path(targetPath) && !error) fs::remove(linkPath, error);
}

} // namespace sim
