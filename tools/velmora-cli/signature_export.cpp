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
        if (strokes.empty()) ++result.withoutSignature;
        const std::string stem = folder + "/" + FileStem(record.number);
        WriteOutput(QFile::decodeName(QByteArray::fromStdString(stem + ".png")), SignaturePng(strokes, size));
        WriteOutput(QFile::decodeName(QByteArray::fromStdString(stem + ".svg")), SignatureSvg(strokes, size));
        WriteOutput(QFile::decodeName(QByteArray::fromStdString(stem + ".inkml")),
                    SignatureInkMl(strokes, record.number));
        ++result.records;
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
            "stroke, the points on the tablet's 4096 x 4096 grid). A record without a signature gets blank\n"
            "pictures and an InkML file with no trace, and is counted in the summary line. DIR is created\n"
            "when missing; files in it are replaced whole.\n"
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
        std::printf("%s: %ld records written to %s (%ld files: PNG, SVG, InkML); %ld of them without a "
                    "signature, drawn blank\n",
                    FileSystemName(path).c_str(), done.records, FileSystemName(folder).c_str(),
                    done.records * 3, done.withoutSignature);
        return int(kSuccess);
    });
}

} // namespace cli
