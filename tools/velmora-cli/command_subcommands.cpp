// The table of velmora-cli's command subcommands.
#include "reset_command.h"
#include "set_command.h"
#include "subcommand.h"
#include "upload_command.h"

namespace cli {

const std::vector<Subcommand>& CommandSubcommands() {
    static const std::vector<Subcommand> table{
        {"set", "Set the tablet's company name, menu title, password or clock.", RunSet},
        {"reset", "Reset the tablet (EOT).", RunReset},
        {"upload", "Upload a record data file (the editor's 112-line records) to the tablet.", RunUpload},
    };
    return table;
}

} // namespace cli
