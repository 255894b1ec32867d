// A downloaded record file (.vlm) read whole and checked, for the command line's list and exports.
//
// It reads the file as the viewer does, with the viewer's own pieces: the header line through the viewer's
// text stream and header parse (leading characters such as the ENQ echoes a download may save before the
// record count are dropped), each record found by its key (CR LF, its number in three or more digits, a
// double quote; record 1 at the start of the record area), its date field between the first two quotes,
// then 112 quote-terminated fields and the signature bytes up to the CR that ends the record (a last record
// whose signature runs to the end of the file, as a download cut short leaves it, is refused).
//
// Unlike the viewer's load, which scans the rest of the file again and again when a record holds too few
// quotes, every step here is one bounded search: a record's fields are looked for only within the record's
// own text (up to the next record's key, or the end of the file), and a file that is not as described is
// refused with a message that names the file and the record. Records are read from 1 upwards until the
// next number's key is missing. A header that counts more records than the file holds is refused (the
// file was cut short); a file holding more records than its header counts is read whole, every record
// found, and the difference is noted (the viewer, too, shows them all).
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

namespace cli {

// The most records a file may hold: the viewer counts records in 16 bits and cannot go past this one.
// The limit also bounds what a file of many tiny records can cost to hold in memory.
inline constexpr long kMostRecords = 32767;

struct FileRecord {
    long number = 0;
    std::string dateField;           // as in the file: MMDDYYYYhhmm
    std::vector<std::string> fields; // all 112, as in the file (untrimmed, every byte kept)
    std::string signature;           // the raw bytes after the 112th field's quote
};

struct RecordFile {
    std::string customerName;
    std::string title;
    long headerCount = 0; // the header's record count
    std::vector<FileRecord> records;
};

// A file that cannot be read or is not a downloaded record file; what() names the file (and the record).
struct RecordFileFailure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Reads and checks the whole file. `path` is the file-system name; messages name it as given.
RecordFile ReadRecordFile(const std::string& path);

// A note when the file holds more records than its header counts ("" otherwise).
std::string RecordCountNote(const std::string& path, const RecordFile& file);

} // namespace cli
