// The tablet's side of a data upload: the bytes between FF (0x0C) and NUL (0x00), taken as data (no echo,
// no command) and decoded into records as the tablet stores them.
//
// The stream packs each record of a record data file (111 field lines and an empty line):
//   - the twelve named fields (Name ... Info 4) come first, each as its text and CR LF, or as one SO (0x0E)
//     when empty, so every named field keeps its place;
//   - then the numbered fields that hold text, each as its text and CR LF; empty ones are not sent, so the
//     tablet keeps the numbered fields in the order they came, from field 1 on, with no gaps;
//   - an empty line (CR LF alone) ends the record.
// CR LF ends a line; a CR not followed by LF is text. Bytes after the last complete record (a record cut
// short by the NUL) are kept in the raw bytes only.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace sim {

inline constexpr char UploadStart = 0x0C;      // FF
inline constexpr char UploadEnd = 0x00;        // NUL
inline constexpr char EmptyNamedField = 0x0E;  // SO
inline constexpr int uploadedFieldCount = 111; // fields 0 to 110 of a record data file
inline constexpr int namedFieldCount = 12;     // fields 0 to 11; numbered field n is field n + 11

// One record: exactly 111 fields.
using UploadedRecord = std::vector<std::string>;

struct Upload {
    std::string raw;                     // the bytes between FF and NUL, as received
    std::vector<UploadedRecord> records; // the complete records they hold
    bool operator==(const Upload&) const = default;
};

// The records of the bytes between FF and NUL.
std::vector<UploadedRecord> decodeUpload(std::string_view raw);

// The record data file of the records: for each, its 111 fields and an empty line, every line ended by
// CR LF, as the program's record editor writes it.
std::string recordDataFile(const std::vector<UploadedRecord>& records);

// Follows the bytes the tablet receives: FF starts an upload (start()), then every byte is data until
// NUL ends it.
class UploadReceiver {
public:
    bool receiving() const { return active; }
    void start();
    // Takes one byte of the upload under way; true when it was the NUL that ended it.
    bool take(char byte);
    // Every upload ended so far, in order.
    const std::vector<Upload>& finished() const { return uploads; }

private:
    bool active = false;
    std::string raw;
    std::vector<Upload> uploads;
};

} // namespace sim
