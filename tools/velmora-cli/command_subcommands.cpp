// The table of velmora-cli's command subcommands.
#include "subcommand.h"

namespace cli {

const std::vector<Subcommand>& CommandSubcommands() {
    static const std::vector<Subcommand> table{};
    return table;
}

} // namespace cli
