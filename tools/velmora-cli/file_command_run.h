// What the list, csv, json and signatures subcommands share: reading the record file they are given, and
// writing their output to standard output or to a file; csv and json are one routine with the format as
// data.
#pragma once

#include "record_file_reader.h"

#include <QString>
#include <QStringList>
#include <string>
#include <string_view>

namespace cli {

// The help text every file subcommand ends with: how a record file is read and when it is refused.
QString RecordFileHelp();

// The file-system name of a path given on the command line.
std::string FileSystemName(const QString& path);

// Reads the record file; a file that cannot be read or is malformed throws LineFailure(kBadFile) with the
// reader's message. A note about the record count goes to standard error.
RecordFile LoadRecordFile(const QString& path);

// Writes the bytes to `output` as a whole (written beside it and renamed over it, so a failure leaves the
// previous file as it was), or to standard output when `output` is empty. A failure throws
// LineFailure(kFailure) naming the file.
void WriteOutput(const QString& output, std::string_view bytes);

// A subcommand that writes a record file's records in one format: `<name> FILE [-o OUT]`, its help the
// format's `description` followed by RecordFileHelp().
int RunRecordExport(const QStringList& arguments, const char* name, const QString& description,
                    std::string (*format)(const RecordFile&));

} // namespace cli
