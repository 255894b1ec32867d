// velmora-cli json FILE [-o OUT]: a downloaded record file as a JSON document.
#pragma once

#include "record_file_reader.h"

#include <QStringList>
#include <string>

namespace cli {

// {"customer_name", "title", "record_count" (the header's), "records": [{"number", "date" (as the viewer
// shows it), "signature_bytes", "fields": [the 112 fields as in the file]}]}, UTF-8, each byte of the file
// as its Latin-1 character; control characters are escaped as JSON requires.
std::string RecordsAsJson(const RecordFile& file);

int RunJson(const QStringList& arguments);

} // namespace cli
