#include "upload_file.h"

#include "platform/errors.h"
#include "platform/file_system.h"
#include "tablet_line.h"
#include "upload/line_reader.h"
#include "upload/packed_stream.h"

namespace cli {

namespace {

// The file system's numbers for what is not a regular file and for a file too large to hold.
constexpr std::int64_t errPathFileAccess = 75;
constexpr std::int64_t errOutOfMemory = 7;

std::string ReasonOf(const vb::Error& error) {
    switch (error.number) {
    case vb::errFileNotFound:
    case vb::errPathNotFound:
        return "no such file";
    case vb::errPermissionDenied:
        return "cannot be read (permission denied)";
    case errPathFileAccess:
        return "not a regular file";
    case errOutOfMemory:
        return "larger than 64 MiB";
    case vb::errOverflow:
        return "more than 32767 lines";
    case vb::errSubscriptOutOfRange:
    case vb::errInputPastEndOfFile:
        // The line count is rounded to whole records of 112 lines; a count that rounds up leaves the last
        // record short of lines.
        return "its last record is cut short: a record is 112 lines (" + error.description + ")";
    default:
        return error.description;
    }
}

// The records the packer read: it reads 112 lines per record, and succeeds only when the file holds them.
int WholeRecords(const std::string& bytes) {
    upload::LineReader reader(bytes);
    int lines = 0;
    for (; !reader.Eof(); ++lines)
        reader.LineInput();
    return lines / upload::kLinesPerRecord;
}

} // namespace

PackedFile ReadPackedFile(const std::string& path) {
    try {
        const std::string bytes = vb::ReadAll(path);
        PackedFile file{upload::PackRecordFile(bytes), WholeRecords(bytes)};
        if (file.packed.empty())
            throw LineFailure(kBadFile, path + ": bad file: holds no record (a record is 112 lines)");
        return file;
    } catch (const vb::Error& error) {
        throw LineFailure(kBadFile, path + ": bad file: " + ReasonOf(error));
    }
}

} // namespace cli
