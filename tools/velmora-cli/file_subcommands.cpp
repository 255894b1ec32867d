// The table of velmora-cli's file subcommands.
#include "subcommand.h"

namespace cli {

const std::vector<Subcommand>& FileSubcommands() {
    static const std::vector<Subcommand> table{};
    return table;
}

} // namespace cli
