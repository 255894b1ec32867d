#include "signature_export.h"

#include "command_line_run.h"
#include "exit_status.h"
#include "file_command_run.h"
#include "signature_inkml.h"
#include "signature_png.h"
#include "signature_svg.h"
#include "tablet_line.h"

#include <QCommandLineParser>
#include <QDir>
#include <QFile>
#include <cstdio>

namespace cli {

namespace {

std::string FileStem(long number) {
    char stem[32];
    std::snprintf(stem, sizeof stem, "%03ld", number);
    return stem;
}

QSize PictureSize(const QCommandLineParser& parser) {
    QSize size = kSignaturePictureSize;
    const auto dimension = [&](const char* option, int fallback) {
        if (!parser.isSet(option)) return fallback;
        bool number = false;
        const int value = parser.value(option).toInt(&number);
        if (!number || value < 16 || value > 4096)
            throw LineFailure(kUsage,
                              std::string("--") + option + " takes a number of pixels from 16 to 4096");
        return value;
    };
    size.setWidth(dimension("width", size.width()));
    size.setHeight(dimension("height", size.height()));
    return size;
}

} // namespace

SignatureExport ExportSignatures(const RecordFile& file, const std::string& folder, QSize size) {
    SignatureExport result;
    for (const FileRecord& record : file.records) {
        const std::vector<signature::Stroke> strokes = signature::Decode(record.signature);
        if (strokes.empty()) {
            ++result.skipped;
            continue;
        }
        const std::string stem = folder + "/" + FileStem(record.number);
        WriteOutput(QFile::decodeName(QByteArray::fromStdString(stem + ".png")), SignaturePng(strokes, size));
        WriteOutput(QFile::decodeName(QByteArray::fromStdString(stem + ".svg")), SignatureSvg(strokes, size));
        WriteOutput(QFile::decodeName(QByteArray::fromStdString(stem + ".inkml")),
                    SignatureInkMl(strokes, record.number));
        ++result.written;
    }
    return result;
}

int RunSignatures(const QStringList& arguments) {
    return RunReportingFailure("signatures", [&] {
        QCommandLineParser parser;
        parser.setApplicationDescription(
            "Writes the signature of every record of a downloaded record file (.vlm) into DIR as three\n"
            "files named by the record's number: <number>.png and <number>.svg (drawn as the viewer draws\n"
            "it, fitted into the picture) and <number>.inkml (W3C Ink Markup Language: one trace per\n"
            "stroke, the points on the tablet's 4096 x 4096 grid). Records without a signature are skipped\n"
            "and counted in the summary line. DIR is created when missing; files in it are replaced whole.\n"
            "A file that cannot be written ends with exit status 1." +
            RecordFileHelp());
        parser.addPositionalArgument("FILE", "The downloaded record file.");
        parser.addPositionalArgument("DIR", "The folder for the pictures.");
        parser.addOption({"width", "Width of the PNG and SVG pictures in pixels (default 367).", "PIXELS"});
        parser.addOption({"height", "Height of the PNG and SVG pictures in pixels (default 180).", "PIXELS"});
        ParseCommandLine(parser, arguments, 2, 2);
        const QSize size = PictureSize(parser);
        const QString path = parser.positionalArguments().at(0);
        const QString folder = parser.positionalArguments().at(1);
        const RecordFile file = LoadRecordFile(path);
        if (!QDir().mkpath(folder))
            throw LineFailure(kFailure, FileSystemName(folder) + ": the folder cannot be made");
        const SignatureExport done = ExportSignatures(file, FileSystemName(folder), size);
        std::printf("%s: %ld signatures written to %s (%ld files: PNG, SVG, InkML); %ld records without a "
                    "signature skipped\n",
                    FileSystemName(path).c_str(), done.written, FileSystemName(folder).c_str(),
                    done.written * 3, done.skipped);
        return int(kSuccess);
    });
}

} // namespace cli
