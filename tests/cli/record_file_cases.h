// Downloaded record files for the tests of velmora-cli's file subcommands and of its record file reader:
// the emulated tablet's samples written to disk, and the malformed files every reader must refuse
// promptly with a message that names the file (and the record).
#pragma once

#include "sample_records.h"
#include "viewer/vlm_file.h"

#include <QDir>
#include <QFile>
#include <QString>
#include <QTest>
#include <algorithm>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace cli_testing {

inline bool WriteBytes(const QString& path, const std::string& bytes) {
    QFile file(path);
    return file.open(QIODevice::WriteOnly) &&
           file.write(bytes.data(), qint64(bytes.size())) == qint64(bytes.size());
}

inline QString WriteSample(const QDir& folder, const QString& name, int records, unsigned seed = 1) {
    const QString path = folder.filePath(name);
    if (!WriteBytes(path, sim::SampleVlm(records, seed))) return {};
    return path;
}

// A malformed file: how to make it in a folder, and what the message must say after "<path>: ".
struct BadFile {
    const char* name;
    QString (*make)(const QDir& folder);
    const char* message;
};

inline QString WriteBad(const QDir& folder, const std::string& bytes) {
    const QString path = folder.filePath(QStringLiteral("bad.vlm"));
    return WriteBytes(path, bytes) ? path : QString();
}

inline const std::vector<BadFile>& BadFiles() {
    static const std::vector<BadFile> files{
        {"truncated mid-record",
         [](const QDir& folder) {
             // Record 25 cut after 40 of its fields: the end of the file comes before its 112th quote.
             const std::string vlm = sim::SampleVlm(25);
             std::size_t at = vlm.find(viewer::RecordKey(25));
             at = vlm.find('"', at + 6); // the date field's closing quote
             for (int k = 0; k < 40; ++k)
                 at = vlm.find('"', at + 1);
             return WriteBad(folder, vlm.substr(0, at + 1) + "partial fiel");
         },
         "record 25: only 40 of 112 fields before the end of the file"},
        {"truncated in the last signature",
         [](const QDir& folder) {
             // Record 25 with all its fields, but the file ends in its signature.
             const std::string vlm = sim::SampleVlm(25);
             return WriteBad(folder, vlm.substr(0, vlm.size() - 40));
         },
         "record 25: the file ends before the CR that ends the record"},
        {"short record before the next",
         [](const QDir& folder) {
             // Record 7 loses 72 of its fields: the viewer's scan would run on into record 8.
             std::string vlm = sim::SampleVlm(25);
             const std::size_t start = vlm.find(viewer::RecordKey(7));
             std::size_t at = vlm.find('"', start + 6);
             for (int k = 0; k < 40; ++k)
                 at = vlm.find('"', at + 1);
             const std::size_t end = vlm.find(viewer::RecordKey(8));
             vlm.erase(at + 1, end - at - 1);
             return WriteBad(folder, vlm);
         },
         "record 7: only 40 of 112 fields before record 8"},
        {"missing header quote",
         [](const QDir& folder) {
             // The header line without its quotes: no count, customer name or title can be told apart.
             const std::string vlm = sim::SampleVlm(25);
             const std::size_t end = vlm.find("\r\n");
             std::string header = vlm.substr(0, end);
             std::erase(header, '"');
             return WriteBad(folder, header + vlm.substr(end));
         },
         "header line: no double quote after the record count"},
        {"header count larger than the records",
         [](const QDir& folder) { return WriteBad(folder, "030" + sim::SampleVlm(25).substr(3)); },
         "record 26: not in the file (the header counts 30 records, the file holds 25)"},
        {"empty file", [](const QDir& folder) { return WriteBad(folder, ""); }, "empty file"},
        {"a directory",
         [](const QDir& folder) {
             folder.mkdir(QStringLiteral("records.vlm"));
             return folder.filePath(QStringLiteral("records.vlm"));
         },
         "not a regular file"},
        {"a FIFO",
         [](const QDir& folder) {
             const QString path = folder.filePath(QStringLiteral("fifo.vlm"));
             return ::mkfifo(QFile::encodeName(path).constData(), 0600) == 0 ? path : QString();
         },
         "not a regular file"},
        {"a sparse file over 64 MiB",
         [](const QDir& folder) {
             const QString path = WriteBad(folder, sim::SampleVlm(3));
             QFile file(path);
             return file.resize((qint64(64) << 20) + 1) ? path : QString();
         },
         "larger than 64 MiB, too large for a record file"},
        {"missing file", [](const QDir& folder) { return folder.filePath(QStringLiteral("none.vlm")); },
         "no such file"},
    };
    return files;
}

// QTest data rows, one per malformed file: its index in BadFiles().
inline void AddBadFileRows() {
    QTest::addColumn<int>("index");
    for (std::size_t k = 0; k < BadFiles().size(); ++k)
        QTest::newRow(BadFiles()[k].name) << int(k);
}

} // namespace cli_testing
