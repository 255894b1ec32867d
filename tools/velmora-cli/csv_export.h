// velmora-cli csv FILE [-o OUT]: a downloaded record file as comma-separated values (RFC 4180).
#pragma once

#include "record_file_reader.h"

#include <QStringList>
#include <string>

namespace cli {

// The column names, then one row per record: number, date and time as the viewer shows them, signature
// size in bytes, and the 112 fields as in the file. A value holding a comma, a double quote, CR or LF is
// quoted, its quotes doubled; rows end with CR LF; the text is UTF-8, each byte as its Latin-1 character.
std::string RecordsAsCsv(const RecordFile& file);

int RunCsv(const QStringList& arguments);

} // namespace cli
