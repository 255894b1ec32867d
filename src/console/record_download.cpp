// "Download &VLM File": fetches every record the tablet holds and saves the received text unchanged.
//
// The wake-up writes ENQ as fast as the event processing lets it, with no polls and no sleeps, until the
// text read right after a write holds ENQ. The receive notification runs inside that event processing
// and keeps whatever it reads in vntInBuffer, so echoes it took stay there and a saved file may begin
// with ENQ bytes before the record count. Since the notification runs on the pass after the one that
// found input waiting, the read that follows a pass always gets the first echo to reach the port: a
// tablet is woken as soon as it answers, however promptly it does. DC2 SI then starts the stream, which the
// receive notification gathers into vntInBuffer while the download waits for the line to fall silent: after
// each event pass the port must stay quiet through up to four idle delays (dblDelay, the communication rate).
// The tablet marks no end of its stream, so silence is the only end there is.
//
// The record count (the three characters before the first double quote) sets the progress bar's maximum
// to ten times the count; the receive notification then moves the bar one step per notification.
#include "app/globals.h"
#include "console/command_exchange.h"
#include "console/console_window.h"
#include "platform/errors.h"
#include "platform/file_system.h"
#include "platform/msgbox.h"
#include "platform/progress_bar.h"
#include "platform/timing.h"
#include "platform/vb_text.h"

#include <QProgressBar>
#include <QPushButton>

namespace {

constexpr int kWakeUpTries = 2500; // the 2500th write without an echo seen ends the download
constexpr char DC2 = 0x12;         // DC2 then SI asks the tablet for its records
constexpr char SI = 0x0F;
constexpr int kQuietChecks = 3; // idle delays waited for the line after the pass's own, while it is silent
constexpr const char* kRecordFileFilter = "VLM Files (*.vlm)|*.vlm";

} // namespace

void frmQuillmaxSerial::cmdDownload_Click() {
    // Announced first, so that whoever watches the console sees the download asked for (the search's
    // unattended branch runs it on port 0, where it fails without a word).
    emit deviceOperationStarted("cmdDownload_Click");
    const std::string enq(1, console::ENQ);
    std::string reply; // what the reads right after each wake-up write gathered
    int tries = 0;
    try {
        vntInBuffer.clear();
        lngProgress = 0;

        ClosePortIfOpen();
        MSComm1.setCommPort(intComPort);
        if (!MSComm1.PortOpen()) MSComm1.setPortOpen(true);

        // Wake-up: an echo the receive notification takes during DoEvents lands in vntInBuffer, not in
        // the reply; only an echo that arrives between the event pass and the read counts here.
        do {
            vb::DoEvents();
            MSComm1.Output(enq);
            ++tries;
            reply += MSComm1.Input();
            if (tries == kWakeUpTries) {
                vb::MsgBox(console::kConnectionFailure, vb::vbOKOnly + vb::vbExclamation + vb::vbSystemModal,
                           "ERROR");
                ClosePortIfOpen();
                return;
            }
        } while (vb::InStr(reply, enq) == 0);

        // What the reads gathered and what waits on the port is dropped; vntInBuffer keeps its echoes.
        reply.clear();
        MSComm1.setInBufferCount(0);

        ProgressBar1->setEnabled(true);
        ProgressBar1->setVisible(true);
        lngProgress = 1;
        vb::SetProgressMin(ProgressBar1, 1);
        vb::SetProgressValue(ProgressBar1, lngProgress);

        MSComm1.Output(std::string(1, DC2));
        MSComm1.Output(std::string(1, SI));

        Command3->setEnabled(true);
        setCursor(Qt::WaitCursor);
        blnDownloading = false;

        // Receive until the line stays silent. The idle delays process no events, so arriving bytes
        // pile up in the port and InBufferCount tells whether the tablet is still sending.
        do {
            vb::DoEvents();
            vb::BusyDelay(dblDelay);
            if (!blnDownloading) {
                const long quote = vb::InStr(vntInBuffer, "\"");
                if (quote > 4) {
                    // The count is read from a copy: vntInBuffer keeps whatever came before it.
                    const std::string fromCount = vb::Mid(vntInBuffer, quote - 3);
                    const double count = vb::CSng(vb::Left(fromCount, 3)); // not a number: error 13
                    vb::SetProgressMax(ProgressBar1, count * 10);          // a count of 0: error 380
                    ProgressBar1->setEnabled(true);
                    ProgressBar1->setVisible(true);
                    blnDownloading = true;
                    intDownloadMarker = 2;
                }
            }
            for (int check = 0; check < kQuietChecks && MSComm1.InBufferCount() == 0; ++check)
                vb::BusyDelay(dblDelay);
        } while (MSComm1.InBufferCount() != 0);

        unsetCursor();
        ProgressBar1->setEnabled(false);
        ProgressBar1->setVisible(false);
        vb::SetProgressValue(ProgressBar1, 1);
        Command3->setEnabled(false);

        if (blnCmdLine) {
            vb::WriteAll(strCmdFile, vntInBuffer);
        } else {
            vb::MsgBox("Download complete", vb::vbOKOnly + vb::vbInformation + vb::vbSystemModal, "STATUS");
            CommonDialog1.Filter = kRecordFileFilter;
            CommonDialog1.FilterIndex = 1;
            CommonDialog1.ShowSave();
            // A cancelled dialog (with CancelError off) leaves the name empty: nothing is saved, the
            // received text stays in vntInBuffer until the next download and the port stays open.
            if (CommonDialog1.FileName.empty()) return;
            vb::WriteAll(CommonDialog1.FileName, vntInBuffer);
        }

        vntInBuffer.clear();
        MSComm1.Output(enq);
        ClosePortIfOpen();
    } catch (const vb::Error& error) {
        // No message and the port stays as it is. The save dialog's cancel error (once the viewer has
        // switched CancelError on) leaves the pointer and the bar as they are.
        Command3->setEnabled(false);
        if (error.number != vb::errDialogCancelled) {
            unsetCursor();
            ProgressBar1->setEnabled(false);
            ProgressBar1->setVisible(false);
            vb::SetProgressValue(ProgressBar1, 1);
        }
    }
}
