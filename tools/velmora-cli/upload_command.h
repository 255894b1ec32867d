// velmora-cli upload FILE: sends a record data file to the tablet as the console's "&Upload File" does: the
// wake-up, then FF, the file's packed stream and NUL. The file is read and packed before the port is
// opened, so a bad file never touches the tablet.
#pragma once

#include <QStringList>

namespace cli {

int RunUpload(const QStringList& arguments);

} // namespace cli
