// The velmora-sim program's command line: which ports to make, how the tablets misbehave, where the
// received bytes are logged and where the tablet's state is written.
#pragma once

#include "tablet.h"

#include <optional>
#include <string>
#include <vector>

namespace sim {

struct ProgramOptions {
    std::string portsDir;
    std::vector<int> tablets; // COM<n> that answer as the tablet
    std::vector<int> silent;  // COM<n> that receive and never answer
    Faults faults;            // applied to the tablets
    std::optional<std::string> log;
    std::optional<std::string> state; // needs exactly one tablet: the file follows that one
};

struct ParsedCommandLine {
    enum class Action { Run, Help, Error } action = Action::Run;
    ProgramOptions options;
    std::string error; // for Action::Error: what was wrong, one line
};

// `portsFromEnvironment` is $VELMORA_PORTS (null or empty when not set), the default of --ports.
ParsedCommandLine parseCommandLine(int argc, const char* const* argv, const char* portsFromEnvironment);

std::string usageText();

} // namespace sim
