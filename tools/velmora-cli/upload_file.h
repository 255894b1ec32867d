// The data file velmora-cli upload sends: read from disk and packed as the console packs it, or refused
// as a bad file with the reason, before the port is touched.
#pragma once

#include <string>

namespace cli {

struct PackedFile {
    std::string packed; // the packed stream, without the FF and NUL that frame it on the line
    int records = 0;
};

// Reads and packs the record data file at `path`. Throws LineFailure(kBadFile) naming the file and the
// reason: missing, unreadable, not a regular file, larger than 64 MiB, more than 32767 lines, a last record
// cut short, or no record at all.
PackedFile ReadPackedFile(const std::string& path);

} // namespace cli
