#include "download_command.h"

#include "command_line_run.h"
#include "fleet_download.h"
#include "platform/errors.h"
#include "platform/file_system.h"
#include "platform/port_map.h"
#include "terminal_progress.h"

#include <QCommandLineParser>
#include <cstdio>
#include <mutex>
#include <sys/stat.h>

namespace cli {

namespace {

constexpr int kDefaultQuietMs = 2000;
constexpr int kDefaultWakeTries = 3;

// The windows' three communication rates, as the share of the normal silence each waits: "Maximum
// Speed" a third of it, "Slow Speed!" twice it (the windows' 3 : 1 : 6).
struct CommunicationRate {
    const char* name;
    int thirds; // of the normal silence
};
constexpr CommunicationRate kRates[] = {{"normal", 3}, {"maximum", 1}, {"slow", 6}};

int QuietOfRate(const QString& name) {
    for (const CommunicationRate& rate : kRates)
        if (name == QLatin1String(rate.name)) return kDefaultQuietMs * rate.thirds / 3;
    throw LineFailure(kUsage, "--rate: '" + name.toStdString() + "' is not normal, maximum or slow");
}

const char* const kDescription =
    "Downloads the records of a Velmora LT into FILE, the .vlm file the tablet sends, byte for byte.\n"
    "The tablet is woken with ENQ (retried up to --wake-tries times, each waiting --timeout seconds for\n"
    "its echo), asked for its records with DC2 SI, and its stream is gathered until the line has been\n"
    "silent for --quiet milliseconds: the tablet marks no end of its stream. The default silence, 2000 ms,\n"
    "suits a real tablet at 115200 baud; a slow or unsteady line (where the windows offer \"Slow Speed!\")\n"
    "needs a longer one: --rate slow doubles it, --rate maximum takes a third of it, as the windows'\n"
    "communication rates do. --baud sets the line's rate. FILE is written whole when the stream has\n"
    "ended, or not at all: a line that hangs up leaves no file. A stream without a record count header is\n"
    "written all the same, as received, with a warning.\n"
    "With --all, FILE is a folder: every tablet on ports 1 to 40 is downloaded side by side into\n"
    "DIR/COM<n>-<date>.vlm (-2, -3 ... when the name is taken), one summary line per tablet.\n"
    "\n"
    "Exit status: 0 done, 1 the line hung up or the file could not be written, 2 usage, 3 no tablet\n"
    "found (or the port has no device), 4 no answer or no record stream, 5 port busy, 6 permission\n"
    "denied. With --all, the status of the first port that failed.";

DownloadSettings ReadSettings(const QCommandLineParser& parser) {
    DownloadSettings settings;
    settings.line = ReadTabletOptions(parser);
    settings.stream.answer = settings.line.timeout;
    bool ok = true;
    if (parser.isSet("rate") && parser.isSet("quiet"))
        throw LineFailure(kUsage, "--rate and --quiet both set the silence: give one of them");
    const int quiet =
        parser.isSet("rate") ? QuietOfRate(parser.value("rate")) : parser.value("quiet").toInt(&ok);
    if (!ok || quiet < 1 || quiet > 600000)
        throw LineFailure(kUsage, "--quiet: '" + parser.value("quiet").toStdString() +
                                      "' is not a number of milliseconds from 1 to 600000");
    settings.stream.quiet = std::chrono::milliseconds(quiet);
    const int tries = parser.value("wake-tries").toInt(&ok);
    if (!ok || tries < 1 || tries > 2500)
        throw LineFailure(kUsage, "--wake-tries: '" + parser.value("wake-tries").toStdString() +
                                      "' is not from 1 to 2500");
    settings.stream.wakeTries = tries;
    return settings;
}

int DownloadOne(const std::string& path, const DownloadSettings& settings) {
    // With a port given the wake-up itself is the test of the tablet, with its retries; without one, the
    // search finds the first port whose tablet echoes ENQ.
    const std::unique_ptr<TabletLine> line =
        settings.line.port ? std::make_unique<TabletLine>(*settings.line.port, settings.line.baud)
                           : OpenTablet(settings.line);
    const std::string label = "COM" + std::to_string(line->port());
    TerminalProgress progress;
    RecordTally tally;
    auto figures = [&] {
        return label + ": " +
               ProgressFigures(tally.bytes(), tally.recordsDone(), tally.recordCount().value_or(-1));
    };
    std::string stream;
    try {
        stream = ReceiveRecordStream(*line, settings.stream, [&](std::string_view received) {
            tally.update(received);
            progress.update(figures());
        });
    } catch (const LineFailure& failure) {
        progress.finish();
        throw LineFailure(failure.status,
                          failure.what() + std::string(tally.bytes() || failure.status == kFailure
                                                           ? "; nothing written to " + path
                                                           : ""));
    }
    progress.finish(figures());
    if (!RecordCountOf(stream))
        std::fprintf(stderr,
                     "velmora-cli download: warning: %s: the stream has no record count header; "
                     "written as received\n",
                     line->name().c_str());
    WriteRecordFile(path, stream);
    EndDownload(*line);
    std::printf("%s\n", DownloadSummary(line->port(), ResolvedDevice(line->device()), stream, path).c_str());
    return kSuccess;
}

} // namespace

int RunDownload(const QStringList& arguments) {
    return RunReportingFailure("download", [&] {
        QCommandLineParser parser;
        parser.setApplicationDescription(QString::fromUtf8(kDescription));
        AddTabletOptions(parser);
        parser.addOption({"quiet",
                          "Milliseconds of silence that end the record stream (default 2000; longer for a "
                          "slow line).",
                          "MS", QString::number(kDefaultQuietMs)});
        parser.addOption({"rate",
                          "The windows' communication rate: normal (the default silence), maximum (a third "
                          "of it) or slow (twice it).",
                          "RATE"});
        parser.addOption({"wake-tries", "ENQs sent to wake the tablet before giving up (default 3).", "N",
                          QString::number(kDefaultWakeTries)});
        parser.addOption({"all", "Download every tablet found on ports 1 to 40 into the folder DIR."});
        parser.addPositionalArgument("FILE", "The .vlm file to write (with --all: the folder DIR).");
        ParseCommandLine(parser, arguments, 1, 1);
        const DownloadSettings settings = ReadSettings(parser);
        const std::string target = parser.positionalArguments().front().toStdString();
        if (!parser.isSet("all")) return DownloadOne(target, settings);
        if (settings.line.port)
            throw LineFailure(kUsage, "--all searches every port: --port does not go with it");
        return RunDownloadAll(target, settings);
    });
}

void WriteRecordFile(const std::string& path, std::string_view stream) {
    // The file system layer keeps a little state of its own for the windows' single thread.
    static std::mutex turns;
    const std::lock_guard turn(turns);
    try {
        vb::WriteAll(path, stream);
    } catch (const vb::Error& error) {
        throw LineFailure(kFailure, path + ": " + error.description + "; the records were not saved");
    }
}

std::string WriteNewRecordFile(const std::string& dir, const std::string& stem, std::string_view stream) {
    static std::mutex naming;
    const std::lock_guard turn(naming);
    for (int copy = 1;; ++copy) {
        const std::string path = dir + "/" + stem + (copy == 1 ? "" : "-" + std::to_string(copy)) + ".vlm";
        struct stat existing {};
        if (lstat(path.c_str(), &existing) == 0) continue;
        WriteRecordFile(path, stream);
        return path;
    }
}

std::string DownloadSummary(int port, const std::string& device, std::string_view stream,
                            const std::string& path) {
    const std::optional<int> count = RecordCountOf(stream);
    std::string records =
        count ? std::to_string(*count) + (*count == 1 ? " record" : " records") : "no record count";
    return "COM" + std::to_string(port) + " " + (device.empty() ? "-" : device) + " " + records + " " +
           std::to_string(stream.size()) + " bytes -> " + path;
}

std::string ResolvedDevice(const std::string& path) {
    if (path.empty()) return {};
    return vb::ExaminePortPath(path).device;
}

} // namespace cli
