#include "app/program_options.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <cstdio>

namespace app {

namespace {

// The program's options, each once: its name (after "--") and what --help says of it.
struct OptionText {
    const char* name;
    const char* description;
};

constexpr OptionText kOptions[] = {
    {"demo", "Starts with an emulated Velmora LT beside the program, on port 1 of a private ports folder, "
             "holding 25 sample records and sample settings, so that searching, downloading, viewing, "
             "uploading, setting values and resetting can all be tried without a tablet. The folder and "
             "the emulated tablet are gone when the program ends."},
    {"text-uploader", "Opens the upload text editor \"Lumacor Uploader\" beside the console."},
    {"help", "Prints this help and ends."},
    {"version", "Prints the version and ends."},
};

const char kDescription[] =
    "Lumacor Velmora LT Uploader/Downloader Tool: finds the Velmora LT tablet on a serial port, sets its\n"
    "company name, menu title, password and clock, resets it, downloads its records into .vlm files,\n"
    "shows them with their signatures, and edits and uploads record data files.\n"
    "\n"
    "Unattended command line (F,PATH): a one-character flag F, a comma and an output path ask for a\n"
    "download into PATH when \"Search for Velmora LT\" is pressed; F = 0 downloads and then resets the\n"
    "tablet, any other character downloads only; the program then ends. It runs before the search has\n"
    "probed any port, so no tablet has been found yet and it fails, as the tool always has: the download\n"
    "ends without saving and without a message, the reset (F = 0) shows \"Invalid Port Number\" titled\n"
    "\"ERROR\", and the program ends. Every argument that is not one of the options below is part of\n"
    "this command line, joined by blanks. For scheduled downloads use velmora-cli download.\n"
    "\n"
    "Ports: port n (1 to 40) is VELMORA_PORTS/COM<n> when VELMORA_PORTS names a folder; otherwise the\n"
    "n-th of the machine's USB serial adapters followed by its built-in serial ports.";

const char kUnattendedDescription[] = "Unattended download into PATH (F = 0 adds a reset); see above.";

void DescribeOptions(QCommandLineParser& parser) {
    parser.setApplicationDescription(QString::fromUtf8(kDescription));
    for (const OptionText& option : kOptions)
        parser.addOption(QCommandLineOption(QStringList{QString::fromLatin1(option.name)},
                                            QString::fromUtf8(option.description)));
    parser.addPositionalArgument(QStringLiteral("F,PATH"), QString::fromUtf8(kUnattendedDescription),
                                 QStringLiteral("[F,PATH]"));
}

bool IsProgramOption(const QString& argument) {
    for (const OptionText& option : kOptions)
        if (argument == QLatin1String("--") + QLatin1String(option.name)) return true;
    return false;
}

void Print(const QString& text) {
    std::fputs(text.toLocal8Bit().constData(), stdout);
    std::fflush(stdout);
}

} // namespace

ProgramOptions TakeProgramOptions(QStringList& arguments) {
    QStringList taken;
    arguments.removeIf([&taken](const QString& argument) {
        if (!IsProgramOption(argument)) return false;
        taken << argument;
        return true;
    });
    // The parser reads only what was taken: an argument of the search's never reaches it, so nothing
    // the user typed for the search can make it complain or end the program.
    QCommandLineParser parser;
    DescribeOptions(parser);
    parser.parse(QStringList{QStringLiteral("velmora")} + taken);
    ProgramOptions options;
    options.demo = parser.isSet(QStringLiteral("demo"));
    options.textUploader = parser.isSet(QStringLiteral("text-uploader"));
    options.help = parser.isSet(QStringLiteral("help"));
    options.version = parser.isSet(QStringLiteral("version"));
    return options;
}

std::string CommandLineText(const QStringList& arguments) {
    return arguments.join(QLatin1Char(' ')).toLocal8Bit().toStdString();
}

QString VersionText() {
    return QStringLiteral("velmora " VELMORA_VERSION);
}

QString HelpText() {
    QCommandLineParser parser;
    DescribeOptions(parser);
    return parser.helpText();
}

std::optional<int> AnswerInformationOptions(int argc, char** argv) {
    QStringList arguments;
    for (int i = 1; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    const ProgramOptions options = TakeProgramOptions(arguments);
    if (!options.help && !options.version) return std::nullopt;
    // A core application (no window system) names the program in the usage line; the windows' own
    // application is never made.
    QCoreApplication core(argc, argv);
    Print(options.help ? HelpText() : VersionText() + QLatin1Char('\n'));
    return 0;
}

} // namespace app
