// velmora-cli <subcommand> [options] [arguments]: the dispatcher. It finds the subcommand and hands it the
// rest of the command line; --help lists the subcommands, --version prints the version.
#include "exit_status.h"
#include "subcommand.h"

#include <QCoreApplication>
#include <QTextStream>
#include <cstdio>

namespace {

std::vector<cli::Subcommand> AllSubcommands() {
    std::vector<cli::Subcommand> all = cli::DeviceSubcommands();
    for (const auto* more : {&cli::CommandSubcommands(), &cli::FileSubcommands()})
        all.insert(all.end(), more->begin(), more->end());
    return all;
}

void PrintUsage(FILE* to) {
    QTextStream out(to);
    out << "Usage: velmora-cli <subcommand> [options] [arguments]\n"
           "Talks to a Velmora LT tablet on a serial port, and reads downloaded record files (.vlm).\n\n"
           "Subcommands:\n";
    for (const auto& subcommand : AllSubcommands())
        out << "  " << QString::fromLatin1(subcommand.name).leftJustified(12) << subcommand.summary << '\n';
    out << "\n'velmora-cli <subcommand> --help' describes a subcommand's options.\n"
           "  -h, --help     Displays this help.\n"
           "  -v, --version  Displays version information.\n";
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("velmora-cli"));
    QCoreApplication::setApplicationVersion(QStringLiteral(VELMORA_VERSION));
    const QStringList arguments = QCoreApplication::arguments();
    const QString first = arguments.value(1);
    if (first == QLatin1String("-h") || first == QLatin1String("--help")) {
        PrintUsage(stdout);
        return cli::kSuccess;
    }
    if (first == QLatin1String("-v") || first == QLatin1String("--version")) {
        std::printf("velmora-cli %s\n", VELMORA_VERSION);
        return cli::kSuccess;
    }
    for (const auto& subcommand : AllSubcommands()) {
        if (first != QLatin1String(subcommand.name)) continue;
        QStringList rest = arguments.mid(2);
        rest.prepend(QStringLiteral("velmora-cli ") + first);
        return subcommand.run(rest);
    }
    if (first.isEmpty())
        std::fprintf(stderr, "velmora-cli: no subcommand given\n");
    else
        std::fprintf(stderr, "velmora-cli: unknown subcommand '%s'\n", qPrintable(first));
    PrintUsage(stderr);
    return cli::kUsage;
}
