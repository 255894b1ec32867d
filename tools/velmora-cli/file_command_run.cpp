#include "file_command_run.h"

#include "command_line_run.h"
#include "exit_status.h"
#include "platform/errors.h"
#include "platform/file_system.h"
#include "tablet_line.h"

#include <QCommandLineParser>
#include <QFile>
#include <cstdio>

namespace cli {

QString RecordFileHelp() {
    return QStringLiteral(
        "\n\nThe file is read as the viewer reads it (ENQ echoes before the header are skipped), but a\n"
        "malformed file ends the program with exit status 7 and a message naming the file and the\n"
        "record: a header without its quotes or with a count that is not a number, a record with fewer\n"
        "than 112 fields before the next record or the end of the file, a last record without the CR\n"
        "that ends it, a header that counts more records than the file holds (a download cut short).\n"
        "A file that holds more records than its header counts is read whole, every record found, with\n"
        "a note on standard error. A file that is not a regular file or is over 64 MiB is refused too.");
}

std::string FileSystemName(const QString& path) {
    return QFile::encodeName(path).toStdString();
}

RecordFile LoadRecordFile(const QString& path) {
    const std::string name = FileSystemName(path);
    try {
        RecordFile file = ReadRecordFile(name);
        const std::string note = RecordCountNote(name, file);
        if (!note.empty()) std::fprintf(stderr, "%s\n", note.c_str());
        return file;
    } catch (const RecordFileFailure& failure) {
        throw LineFailure(kBadFile, failure.what());
    }
}

void WriteOutput(const QString& output, std::string_view bytes) {
    if (output.isEmpty()) {
        if (std::fwrite(bytes.data(), 1, bytes.size(), stdout) != bytes.size() || std::fflush(stdout) != 0)
            throw LineFailure(kFailure, "standard output: write failed");
        return;
    }
    const std::string name = FileSystemName(output);
    try {
        vb::WriteAll(name, bytes);
    } catch (const vb::Error& error) {
        throw LineFailure(kFailure,
                          name + ": cannot be written (" + vb::DefaultDescription(error.number) + ")");
    }
}

int RunRecordExport(const QStringList& arguments, const char* name, const QString& description,
                    std::string (*format)(const RecordFile&)) {
    return RunReportingFailure(name, [&] {
        QCommandLineParser parser;
        parser.setApplicationDescription(description + RecordFileHelp());
        parser.addPositionalArgument("FILE", "The downloaded record file.");
        parser.addOption(
            {{"o", "output"}, "Write to OUT (replaced whole) instead of standard output.", "OUT"});
        ParseCommandLine(parser, arguments, 1, 1);
        const RecordFile file = LoadRecordFile(parser.positionalArguments().front());
        WriteOutput(parser.value("output"), format(file));
        return int(kSuccess);
    });
}

} // namespace cli
