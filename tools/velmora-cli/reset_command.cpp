#include "reset_command.h"

#include "command_line_run.h"
#include "echoed_stages.h"
#include "tablet_search.h"

#include <QCommandLineParser>
#include <cstdio>

namespace cli {

namespace {

constexpr char EOT = 0x04;
// The tablet may take long to answer a reset: the console gathers its echo for 15 s rather than 1 s.
// Here its echo may take five times the answer time, 15 s at the default 3 s.
constexpr int kResetPatience = 5;

int Reset(const QStringList& arguments) {
    QCommandLineParser parser;
    parser.setApplicationDescription("Resets the tablet (EOT, echoed by the tablet).");
    AddTabletOptions(parser);
    ParseCommandLine(parser, arguments, 0, 0);
    const TabletOptions options = ReadTabletOptions(parser);
    auto line = OpenTablet(options);
    SendEchoedStages(*line, {{std::string(1, EOT), "the reset (EOT)", kResetPatience}}, options.timeout);
    std::printf("COM%d: tablet reset\n", line->port());
    return kSuccess;
}

} // namespace

int RunReset(const QStringList& arguments) {
    return RunReportingFailure("reset", [&] { return Reset(arguments); });
}

} // namespace cli
