// velmora-cli list FILE: what a downloaded record file holds, one line per record.
#pragma once

#include "record_file_reader.h"

#include <QString>
#include <QStringList>

namespace cli {

// The listing: a header line (customer name, title, record count), then per record its number, its date
// and time as the viewer shows them (MM/DD/YYYY hh:mm), its name (the first field, the record data's
// "Name"), its field count and its signature's size in bytes.
QString RecordListing(const RecordFile& file);

int RunList(const QStringList& arguments);

} // namespace cli
