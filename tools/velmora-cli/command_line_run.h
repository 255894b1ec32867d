// What the set, reset and upload subcommands share around their work: reading their command line (with
// a --help of their own) and turning a failure into its one-line message on standard error and its exit
// status.
#pragma once

#include <QStringList>
#include <functional>

class QCommandLineParser;

namespace cli {

// Parses `arguments` ("velmora-cli <name>" first). --help prints the help and ends the program with
// status 0; an unknown option, or fewer than `least` or more than `most` positional arguments, throws
// LineFailure(kUsage).
void ParseCommandLine(QCommandLineParser& parser, const QStringList& arguments, int least, int most);

// Runs `body` and returns its status; a LineFailure it throws is printed as "velmora-cli <name>: message"
// on standard error and its status returned.
int RunReportingFailure(const char* name, const std::function<int()>& body);

} // namespace cli
