// "Set &Date/Time": sets the tablet's clock to the computer's, to the minute. It asks nothing: after the
// handshake it sends DC4 and then the date and time text and CR, read from the clock only once DC4's
// echo has come, and gathers that text's echo with all 1000 polls.
#include "console/command_exchange.h"
#include "console/console_window.h"
#include "settings/date_time_text.h"

namespace {
constexpr char DC4 = 0x14;
}

void frmQuillmaxSerial::cmdDateTime_Click() {
    RunCommandExchange({{console::Handshake(), console::CommandByte(DC4),
                         console::ValueStage(settings::DateTimeText, console::Polls::All)},
                        "Time/Date successfully updated"});
}
