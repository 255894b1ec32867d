// A velmora-cli subcommand: its name, a one-line summary for the overall --help, and what runs it. Each
// subcommand parses its own arguments (QCommandLineParser, with a --help of its own) and returns an exit
// status (exit_status.h).
#pragma once

#include <QStringList>
#include <vector>

namespace cli {

struct Subcommand {
    const char* name;
    const char* summary;
    // `arguments` begins with "velmora-cli <name>" so that QCommandLineParser::process can take it.
    int (*run)(const QStringList& arguments);
};

// The subcommands that find tablets and download from them (ports, find, download).
const std::vector<Subcommand>& DeviceSubcommands();
// The subcommands that send a tablet a command or data (set, reset, upload).
const std::vector<Subcommand>& CommandSubcommands();
// The subcommands that read downloaded record files (list, csv, json, signatures).
const std::vector<Subcommand>& FileSubcommands();

} // namespace cli
