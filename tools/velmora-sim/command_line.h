// The velmora-sim program's command line: which ports to make, how the tablets misbehave, where the
// received bytes are logged and where the tablet's state is written; what the record stream holds and
// how fast it goes; or, instead of running tablets, a sample record file to write.
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
    std::optional<std::string> state;     // needs exactly one tablet: the file follows that one
    std::optional<std::string> records;   // the file DC2 SI streams; default: the built-in sample
    bool lineRate = false;                // pace everything sent at the line rate
    LineFrame frame;                      // the frame pacing counts
    std::optional<std::string> uploadDir; // where each upload received is written
    bool lineRateReading = false;         // read no faster than the line brings the bytes
    // For Action::SampleVlm: write SampleVlm(sampleRecords) to sampleFile.
    int sampleRecords = 0;
    std::string sampleFile;
};

struct ParsedCommandLine {
    enum class Action { Run, Help, SampleVlm, Error } action = Action::Run;
    ProgramOptions options;
    std::string error;    // for Action::Error: what was wrong, one line
    bool hintHelp = true; // for Action::Error: follow the line by a hint to --help
};

// `portsFromEnvironment` is $VELMORA_PORTS (null or empty when not set), the default of --ports.
ParsedCommandLine parseCommandLine(int argc, const char* const* argv, const char* portsFromEnvironment);

std::string usageText();

} // namespace sim
