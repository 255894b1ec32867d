// velmora-cli reset: resets the tablet as the console's "&Reset Device" does: the wake-up, then EOT and
// its echo.
#pragma once

#include <QStringList>

namespace cli {

int RunReset(const QStringList& arguments);

} // namespace cli
