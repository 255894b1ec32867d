#include "upload_command.h"

#include "command_line_run.h"
#include "tablet_search.h"
#include "terminal_progress.h"
#include "upload/packed_stream.h"
#include "upload_file.h"

#include <QCommandLineParser>
#include <algorithm>
#include <cstdio>

namespace cli {

namespace {

// The stream goes out in small writes so that the progress follows the line; a write waits while the
// port's output buffer is full, so the line's speed paces the upload as it does the console's.
constexpr std::size_t kChunk = 64;

int Upload(const QStringList& arguments) {
    QCommandLineParser parser;
    parser.setApplicationDescription(
        "Uploads a record data file (records of 112 lines, as the record editor writes them) to the tablet.");
    parser.addPositionalArgument("file", "The record data file.", "FILE");
    AddTabletOptions(parser);
    ParseCommandLine(parser, arguments, 1, 1);
    const TabletOptions options = ReadTabletOptions(parser);
    const PackedFile file = ReadPackedFile(parser.positionalArguments()[0].toLocal8Bit().toStdString());

    auto line = OpenTablet(options); // the wake-up: ENQ and its echo
    const int port = line->port();
    const std::string stream = upload::FF + file.packed + upload::NUL;
    {
        TerminalProgress progress;
        const auto figures = [&](std::size_t sent) {
            return "COM" + std::to_string(port) + ": " + std::to_string(sent) + " of " +
                   std::to_string(stream.size()) + " bytes sent (" +
                   std::to_string(sent * 100 / stream.size()) + "%)";
        };
        for (std::size_t sent = 0; sent < stream.size(); sent += kChunk) {
            try {
                line->send(std::string_view(stream).substr(sent, kChunk));
            } catch (const LineFailure&) {
                throw LineFailure(kFailure, line->name() + ": the line hung up during the upload, after " +
                                                std::to_string(sent) + " of " +
                                                std::to_string(stream.size()) + " bytes");
            }
            if (progress.shown()) progress.update(figures(std::min(sent + kChunk, stream.size())));
        }
        if (progress.shown()) progress.finish(figures(stream.size()));
    }
    // Closing waits until a serial adapter has sent the last byte, so success is reported after it.
    line.reset();
    std::printf("COM%d: %d record%s uploaded, %zu bytes sent\n", port, file.records,
                file.records == 1 ? "" : "s", stream.size());
    return kSuccess;
}

} // namespace

int RunUpload(const QStringList& arguments) {
    return RunReportingFailure("upload", [&] { return Upload(arguments); });
}

} // namespace cli
