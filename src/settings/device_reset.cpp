// "&Reset Device": after the handshake, EOT, echoed by the tablet. The tablet may take long to answer a
// reset, so its echo is gathered for up to 15000 polls, and a missing echo has its own message.
#include "console/command_exchange.h"
#include "console/console_window.h"

namespace {
constexpr char EOT = 0x04;
}

void frmQuillmaxSerial::cmdReset_Click() {
    console::Stage reset = console::CommandByte(EOT, console::Polls::StopAtFirstReply, 15000);
    reset.failureText = "Error. Please try again";
    RunCommandExchange({{console::Handshake(), reset}, "Tablet successfully reset"});
}
