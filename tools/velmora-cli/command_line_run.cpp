#include "command_line_run.h"

#include "tablet_line.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <cstdio>
#include <cstdlib>

namespace cli {

void ParseCommandLine(QCommandLineParser& parser, const QStringList& arguments, int least, int most) {
    parser.addHelpOption();
    // parse(), not process(): process() would end the program with status 1 on a usage failure.
    if (!parser.parse(arguments)) throw LineFailure(kUsage, parser.errorText().toStdString());
    if (parser.isSet("help")) {
        // The parser names the program by the path it was started with; the help names the subcommand.
        QString help = parser.helpText();
        const QString started = "Usage: " + QCoreApplication::arguments().value(0);
        if (help.startsWith(started)) help.replace(0, started.size(), "Usage: " + arguments.value(0));
        std::fputs(qPrintable(help), stdout);
        std::exit(kSuccess);
    }
    const auto count = parser.positionalArguments().size();
    if (count < least) throw LineFailure(kUsage, "missing argument (see --help)");
    if (count > most) {
        const std::string extra =
            "unexpected argument '" + parser.positionalArguments().value(most).toStdString() + "'";
        throw LineFailure(kUsage, most == 0 ? extra : extra + " (a value with blanks is given in quotes)");
    }
}

int RunReportingFailure(const char* name, const std::function<int()>& body) {
    try {
        return body();
    } catch (const LineFailure& failure) {
        std::fprintf(stderr, "velmora-cli %s: %s\n", name, failure.what());
        return failure.status;
    }
}

} // namespace cli
