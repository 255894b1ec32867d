// The table of velmora-cli's device subcommands.
#include "subcommand.h"

namespace cli {

const std::vector<Subcommand>& DeviceSubcommands() {
    static const std::vector<Subcommand> table{};
    return table;
}

} // namespace cli
