// The table of velmora-cli's file subcommands.
#include "csv_export.h"
#include "json_export.h"
#include "list_command.h"
#include "signature_export.h"
#include "subcommand.h"

namespace cli {

const std::vector<Subcommand>& FileSubcommands() {
    static const std::vector<Subcommand> table{
        {"list", "List the records of a downloaded record file (.vlm).", RunList},
        {"csv", "Write a record file's records as comma-separated values (RFC 4180).", RunCsv},
        {"json", "Write a record file's records as JSON.", RunJson},
        {"signatures", "Write a record file's signatures as PNG, SVG and InkML files.", RunSignatures},
    };
    return table;
}

} // namespace cli
