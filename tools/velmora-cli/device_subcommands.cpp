// The table of velmora-cli's device subcommands.
#include "download_command.h"
#include "find_command.h"
#include "ports_command.h"
#include "subcommand.h"

namespace cli {

const std::vector<Subcommand>& DeviceSubcommands() {
    static const std::vector<Subcommand> table{
        {"ports", "List ports 1 to 40: device, and ok, busy, denied, missing or not a serial port.",
         RunPorts},
        {"find", "Search ports 1 to 40 for a Velmora LT and print its port and device.", RunFind},
        {"download", "Download a tablet's records into a .vlm file (--all: every tablet, into a folder).",
         RunDownload},
    };
    return table;
}

} // namespace cli
