#include "find_command.h"

#include "command_line_run.h"
#include "download_command.h"
#include "exit_status.h"
#include "tablet_search.h"

#include <QCommandLineParser>
#include <cstdio>

namespace cli {

namespace {

const char* const kDescription =
    "Searches ports 1 to 40 for a Velmora LT: ENQ at the baud rate given (odd parity, 8 data bits,\n"
    "1 stop bit), and the first port whose answer holds ENQ. Prints \"COM<n> <device>\" of that port,\n"
    "or of every port that answered with --all. A tablet must be in its download mode to answer.\n"
    "\n"
    "Exit status: 0 found, 2 usage, 3 none found (standard error says how many ports were missing,\n"
    "busy, denied or silent, and names the busy and denied ones).";

} // namespace

int RunFind(const QStringList& arguments) {
    return RunReportingFailure("find", [&] {
        QCommandLineParser parser;
        parser.setApplicationDescription(QString::fromUtf8(kDescription));
        AddLineOptions(parser);
        parser.addOption({"all", "Every port that answers, not only the first."});
        ParseCommandLine(parser, arguments, 0, 0);
        const TabletOptions options = ReadLineOptions(parser);
        std::vector<PortProbe> probes;
        ProbePorts(options.baud, options.timeout, !parser.isSet("all"), probes);
        bool found = false;
        for (const PortProbe& probe : probes) {
            if (probe.status != kSuccess) continue;
            std::printf("COM%d %s\n", probe.port, ResolvedDevice(probe.device).c_str());
            found = true;
        }
        if (!found) throw LineFailure(kNotFound, NoTabletAnswered(probes));
        return int(kSuccess);
    });
}

} // namespace cli
