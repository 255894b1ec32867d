#include "support/ports_folder.h"

namespace testing_support {

PortsFolder::PortsFolder() : previous(qgetenv("VELMORA_PORTS")) {
    qputenv("VELMORA_PORTS", dir.path().toLocal8Bit());
}

PortsFolder::~PortsFolder() {
    qputenv("VELMORA_PORTS", previous);
}

std::string PortsFolder::port(int n) const {
    return path() + "/COM" + std::to_string(n);
}

} // namespace testing_support
