// Form1's upload: its own handshake and pacing, unlike the console's commands.
//
// The handshake sends ENQ up to ten times with no pause between the tries, reading what has arrived after
// each; the tenth try fails even when its read brought the echo. On a pty or a real line an echo takes
// longer than the ten tries do, so the tablet must have an ENQ waiting before the upload starts (a tablet
// that announces itself) or the handshake fails. The text then goes out between FF and NUL, each character
// after a pause of 200000 empty counts: a count, so its length depends on the computer, as the tablet
// expects. When the box holds less than the file last loaded, the whole loaded file is sent and the box
// is emptied as it goes.
#include "app/globals.h"
#include "console/command_exchange.h"
#include "platform/msgbox.h"
#include "platform/progress_bar.h"
#include "platform/timing.h"
#include "platform/vb_text.h"
#include "upload/form1.h"
#include "upload/packed_stream.h"

#include <QPlainTextEdit>
#include <QProgressBar>
#include <algorithm>
#include <cstdlib>

namespace {

constexpr long kPauseCounts = 200000;
constexpr int kWakeUpTries = 10;

} // namespace

long Form1::PauseCounts() {
    const char* text = std::getenv("VELMORA_DELAY_SCALE");
    char* end = nullptr;
    const double scale = text && *text ? std::strtod(text, &end) : 1.0;
    if (!text || !*text || !end || *end != '\0' || scale <= 0) return kPauseCounts;
    return std::max(1L, long(double(kPauseCounts) * scale));
}

void Form1::cmdUpload_Click() {
    TrapErrors([&] {
        if (MSComm1.PortOpen()) {
            vb::MsgBox("The Com Port is already open. Please close befor etrying to upload.",
                       vb::vbOKOnly + vb::vbExclamation, "");
            return;
        }
        MSComm1.setCommPort(intComPort);
        MSComm1.setPortOpen(true);
        if (!WakeTablet()) return;
        SendText();
    });
}

bool Form1::WakeTablet() {
    int tries = 0;
    std::string reply;
    do {
        vb::DoEvents();
        MSComm1.Output(std::string(1, console::ENQ));
        ++tries;
        reply += MSComm1.Input();
        if (tries == kWakeUpTries) {
            vb::MsgBox(console::kConnectionFailure, vb::vbOKOnly + vb::vbExclamation + vb::vbSystemModal,
                       "ERROR");
            ClosePortIfOpen();
            return false;
        }
    } while (vb::InStr(reply, std::string(1, console::ENQ)) == 0);
    return true;
}

void Form1::SendText() {
    strUploadText = Text1Text();
    ProgressBar1->setVisible(true);
    vb::SetProgressMin(ProgressBar1, 1);
    vb::SetProgressMax(ProgressBar1, double(std::max(strLoadedData.size(), strUploadText.size())));

    MSComm1.Output(std::string(1, upload::FF));
    const bool sendLoadedData = strLoadedData.size() > strUploadText.size();
    const std::string& text = sendLoadedData ? strLoadedData : strUploadText;
    const long pause = PauseCounts();
    for (std::size_t i = 1; i <= text.size(); ++i) {
        vb::BusyCount(pause);
        MSComm1.Output(std::string(1, text[i - 1]));
        // The box holds only part of the loaded data: it is emptied as the data goes out.
        if (sendLoadedData && !Text1->document()->isEmpty()) Text1->clear();
        vb::SetProgressValue(ProgressBar1, double(i));
    }
    MSComm1.Output(std::string(1, upload::NUL));
    ProgressBar1->setVisible(false);
    vb::MsgBox("Upload complete", vb::vbOKOnly + vb::vbInformation + vb::vbSystemModal, "STATUS");
    ClosePortIfOpen();
    strLoadedData.clear();
}
