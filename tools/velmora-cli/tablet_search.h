// Finding a tablet for velmora-cli: the windows' probe (ENQ at 115200 8O1 on ports 1 to 40 in order, the
// first port whose answer holds ENQ), but every port is tried (a missing port never ends the search), the
// wait for the answer is given in time, and what each port turned out to be is reported.
#pragma once

#include "tablet_line.h"

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

class QCommandLineParser;

namespace cli {

// What the probe met on one port.
struct PortProbe {
    int port = 0;
    std::string device; // "" when the port has no device
    int status =
        kNotFound;       // kSuccess: a tablet answered; else why not (kNotFound, kBusy, kDenied, kNoAnswer)
    std::string message; // one line naming the port and the reason
};

// Opens port `port` and asks for ENQ's echo; the line stays open when the tablet answered.
std::unique_ptr<TabletLine> ProbePort(int port, int baud, std::chrono::milliseconds answer, PortProbe& probe);

// Every port, 1 to 40: the probe of each (`stopAtFirst`: up to the first tablet, which is returned open).
std::unique_ptr<TabletLine> ProbePorts(int baud, std::chrono::milliseconds answer, bool stopAtFirst,
                                       std::vector<PortProbe>& probes);

// The message when no tablet answered, with what the search met: how many ports were missing, busy,
// denied or silent, the busy and denied ones named ("no Velmora LT answered on ports 1 to 40 (37 missing,
// 1 busy (COM2), 0 denied, 2 silent)").
std::string NoTabletAnswered(const std::vector<PortProbe>& probes);

// The options every subcommand that talks to one tablet shares: --port N (skip the search), --baud,
// --timeout SECONDS (how long the tablet may take to answer).
void AddTabletOptions(QCommandLineParser& parser);
// --baud and --timeout alone, for subcommands that search every port (port stays unset).
void AddLineOptions(QCommandLineParser& parser);
struct TabletOptions {
    std::optional<int> port;
    int baud = 115200;
    std::chrono::milliseconds timeout{3000};
};
// Reads them; a malformed value throws LineFailure(kUsage).
TabletOptions ReadTabletOptions(const QCommandLineParser& parser);
// Reads --baud and --timeout alone.
TabletOptions ReadLineOptions(const QCommandLineParser& parser);

// The tablet the options name: the port given, probed, or the first port whose tablet answers. Throws
// LineFailure with the status of what went wrong (not found, no answer, busy, denied).
std::unique_ptr<TabletLine> OpenTablet(const TabletOptions& options);

} // namespace cli
