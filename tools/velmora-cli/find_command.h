// velmora-cli find: the search for a tablet (ENQ on every port, 1 to 40, the first whose answer holds
// ENQ) as a script uses it: "COM<n> <device>" of the tablet found, or of every tablet with --all.
#pragma once

#include <QStringList>

namespace cli {

int RunFind(const QStringList& arguments);

} // namespace cli
