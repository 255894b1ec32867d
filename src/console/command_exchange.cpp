#include "console/command_exchange.h"

#include "app/globals.h"
#include "console/console_window.h"
#include "platform/errors.h"
#include "platform/msgbox.h"
#include "platform/timing.h"
#include "platform/vb_text.h"

namespace console {

Stage Handshake(int tickLimit) {
    Stage stage = CommandByte(ENQ);
    stage.tickLimit = tickLimit;
    return stage;
}

Stage CommandByte(char byte, Polls polls, int pollLimit) {
    Stage stage;
    stage.payload = [byte] { return std::string(1, byte); };
    stage.polls = polls;
    stage.pollLimit = pollLimit;
    return stage;
}

Stage ValueStage(std::function<std::string()> value, Polls polls) {
    Stage stage;
    stage.payload = [value = std::move(value)] { return value() + CR; };
    stage.polls = polls;
    return stage;
}

} // namespace console

void frmQuillmaxSerial::TrapDeviceCommandErrors(const std::function<void()>& body) {
    try {
        body();
    } catch (const vb::Error& error) {
        // The file dialog's cancel is no failure; any other error is reported by its description. The
        // port is left as it was.
        if (error.number != vb::errDialogCancelled)
            vb::MsgBox(error.description, vb::vbOKOnly + vb::vbSystemModal, "ERROR");
    }
}

void frmQuillmaxSerial::RunCommandExchange(const console::Command& command) {
    TrapDeviceCommandErrors([&] { ExchangeStages(command); });
}

void frmQuillmaxSerial::ExchangeStages(const console::Command& command) {
    ClosePortIfOpen();
    MSComm1.setCommPort(intComPort);
    if (!MSComm1.PortOpen()) MSComm1.setPortOpen(true);

    for (const console::Stage& stage : command.stages) {
        if (!ExchangeStage(stage)) {
            // Timer1 is left running on this path; every stage starts by setting the ticks to 0.
            vb::MsgBox(stage.failureText, vb::vbOKOnly + vb::vbExclamation + vb::vbSystemModal, "ERROR");
            ClosePortIfOpen();
            return;
        }
    }
    vb::MsgBox(command.successText, vb::vbOKOnly + vb::vbInformation + vb::vbSystemModal, "UPDATE");
    lngTicks = 0;
    Timer1->setEnabled(false);
    ClosePortIfOpen();
}

bool frmQuillmaxSerial::ExchangeStage(const console::Stage& stage) {
    lngTicks = 0;
    std::string reply;
    const std::string sent = stage.payload();
    const std::string& expected = stage.expected.empty() ? sent : stage.expected;

    MSComm1.Output(sent);
    for (int poll = 1; poll <= stage.pollLimit; ++poll) {
        reply += MSComm1.Input();
        vb::Sleep(1);
        if (stage.polls == console::Polls::StopAtFirstReply && !reply.empty()) break;
    }
    // The reply is not read again while waiting: only what the polls gathered counts. A reply without the
    // echo can therefore only end in Timer1's tick limit, and a pass without events changes nothing, so
    // once this wait has enabled Timer1 each pass sleeps until the next event instead of spinning. The
    // first pass only takes what is pending: Timer1 may still be stopped then, and nothing else may come.
    bool timerEnabled = false;
    do {
        if (timerEnabled)
            vb::WaitForEvents();
        else
            vb::DoEvents();
        Timer1->setEnabled(true);
        timerEnabled = true;
        if (lngTicks == stage.tickLimit) return false;
    } while (vb::InStr(reply, expected) == 0);

    Timer1->setEnabled(false);
    lngTicks = 0;
    return true;
}
