// velmora-cli set company|title|password VALUE, set clock [TIME]: one of the tablet's settings, sent as the
// console's buttons send it (wake-up, command byte, value and CR, each echoed), with the value checked as
// the console's value entry dialog checks it.
#pragma once

#include <QStringList>

namespace cli {

int RunSet(const QStringList& arguments);

} // namespace cli
