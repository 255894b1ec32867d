// The link settings and the search for the tablet.
//
// The search probes ports 1 to 40 with ENQ at 115200,O,8,1 and keeps the first port whose answer holds
// ENQ. Before probing it handles the command line (unattended download). A port that does not exist is
// skipped only up to port 16: from port 16 on, the first missing port ends the search. The search shows
// no message; what it met on each port goes into the connection light's tooltip instead, so that a user
// can learn why no tablet was found (a missing device, no permission, a busy or silent port).
#include "app/globals.h"
#include "console/console_window.h"
#include "platform/errors.h"
#include "platform/handler.h"
#include "platform/ole_color.h"
#include "platform/port_map.h"
#include "platform/progress_bar.h"
#include "platform/timing.h"
#include "platform/vb_text.h"

#include <QComboBox>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QStringList>

namespace {

const std::string kEnq = "\x05";
constexpr const char* kLineFormat = ",O,8,1"; // odd parity, 8 data bits, 1 stop bit
constexpr int kSearchPolls = 200;
constexpr int kSearchTickLimit = 100;
constexpr short kLastSkippedPort = 15; // a missing port up to this one moves the search to the next

// The open port named for the user: its path, and the device behind it when the path is a link.
std::string OpenPortName(const vb::MSComm& port) {
    const std::string path = port.DevicePath();
    const std::string device = vb::ExaminePortPath(path).device;
    return device == path ? path : path + " (" + device + ")";
}

// What the search met on each port it tried, for the light's tooltip.
struct SearchNotes {
    QStringList lines;
    void add(short port, const std::string& what) {
        lines << QStringLiteral("Port %1: %2").arg(port).arg(QString::fromStdString(what));
    }
    QString notFound() const {
        return (QStringList{QStringLiteral("No Velmora LT found.")} + lines).join('\n');
    }
};

} // namespace

void frmQuillmaxSerial::cmdSearch_Click() {
    for (QPushButton* button : DeviceButtons())
        button->setEnabled(false);
    setCursor(Qt::WaitCursor);
    vb::SetBackColor(lblConnected, vb::vbRed);
    DeviceSearch();
    unsetCursor();
}

void frmQuillmaxSerial::ShowPortInLight(int port) {
    lblConnected->setText(port ? QString::number(port) : QString());
    lblConnected->repaint();
}

void frmQuillmaxSerial::DeviceSearch() {
    short i = 0;
    std::string reply;
    SearchNotes notes;
    lblConnected->setToolTip(QString());
    try {
        intSearchMarker = 0;
        strBaud = "115200";
        dblDelay = 750000;
        blnCmdLine = false;

        // An unattended run: "<flag>,<path>" downloads to the path, flag "0" resets the tablet after it,
        // then the program ends. The search has not run yet, so the download uses the current port.
        strCmdLine = vb::Trim(app::ProgramCommandLine());
        if (!strCmdLine.empty()) {
            blnCmdLine = true;
            strBaud = vb::FromQString(cboBaud->currentText());
            MSComm1.setSettings(strBaud + kLineFormat);
            const bool resetAfterwards = vb::Left(strCmdLine, 2) == "0,";
            strCmdFile = vb::Trim(vb::Right(strCmdLine, vb::Len(strCmdLine) - 2));
            cmdDownload_Click();
            if (resetAfterwards) cmdReset_Click();
            cmdCancel_Click();
            return;
        }

        cancelButton = cmdCancel;
        MSComm1.setSettings(std::string("115200") + kLineFormat);

        for (i = 1; i <= vb::kHighestPort; ++i) {
            ShowPortInLight(i);
            if (MSComm1.PortOpen()) MSComm1.setPortOpen(false);
            MSComm1.setCommPort(i);
            // Opening, with the trap's rule for ports that do not exist.
            for (;;) {
                try {
                    if (!MSComm1.PortOpen()) MSComm1.setPortOpen(true);
                    break;
                } catch (const vb::Error& error) {
                    if (error.number != vb::errInvalidPortNumber) throw;
                    notes.add(i, error.description);
                    if (i > kLastSkippedPort) {
                        lblConnected->setText(QString());
                        lblConnected->repaint();
                        Timer1->setEnabled(false);
                        lblConnected->setToolTip(notes.notFound());
                        return;
                    }
                    ++i;
                    MSComm1.setCommPort(i);
                    reply.clear();
                    ShowPortInLight(i);
                }
            }

            lngTicks = 0;
            MSComm1.Output(kEnq);
            for (int poll = 1; poll <= kSearchPolls; ++poll) {
                reply += MSComm1.Input();
                vb::Sleep(1);
                if (!reply.empty()) break;
            }
            if (!reply.empty()) {
                // The reply is not read again here: an answer without ENQ can only run out the ticks. Once
                // this wait has enabled Timer1, each pass sleeps until the next event instead of spinning
                // (a pass without events changes nothing); the first only takes what is pending.
                bool timedOut = false;
                bool timerEnabled = false;
                do {
                    if (timerEnabled)
                        vb::WaitForEvents();
                    else
                        vb::DoEvents();
                    Timer1->setEnabled(true);
                    timerEnabled = true;
                    if (lngTicks == kSearchTickLimit) {
                        timedOut = true;
                        break;
                    }
                } while (vb::InStr(reply, kEnq) == 0);
                if (!timedOut) {
                    lblConnected->setToolTip(QString::fromStdString(
                        "Velmora LT found on port " + std::to_string(i) + ": " + OpenPortName(MSComm1)));
                    vb::SetBackColor(lblConnected, vb::vbGreen);
                    intComPort = i;
                    for (QPushButton* button : DeviceButtons())
                        button->setEnabled(true);
                    Timer1->setEnabled(false);
                    unsetCursor();
                    return;
                }
                notes.add(i, OpenPortName(MSComm1) + " answered without ENQ");
                if (MSComm1.PortOpen()) MSComm1.setPortOpen(false);
            } else {
                notes.add(i, OpenPortName(MSComm1) + " is silent: no answer to ENQ");
            }
            // Not found here. A port that answered nothing stays open; the next pass closes it.
            Timer1->setEnabled(false);
            lngTicks = 0;
            reply.clear();
        }
        unsetCursor();
        lblConnected->setToolTip(notes.notFound());
    } catch (const vb::Error& error) {
        // Any other error ends the search silently; the tooltip keeps it.
        if (i > 0) notes.add(i, error.description);
        lblConnected->setToolTip(notes.notFound());
    }
}

void frmQuillmaxSerial::cboBaud_Click() {
    const bool reopen = MSComm1.PortOpen();
    if (reopen) MSComm1.setPortOpen(false);
    strBaud = vb::FromQString(cboBaud->currentText());
    MSComm1.setSettings(strBaud + kLineFormat);
    if (reopen) MSComm1.setPortOpen(true);
}

void frmQuillmaxSerial::cboDownload_Click() {
    switch (cboDownload->currentIndex()) {
    case 0:
        dblDelay = 750000;
        break;
    case 1:
        dblDelay = 250000;
        break;
    default:
        dblDelay = 1500000;
        break;
    }
}

// The serial control raises its receive notification from a message it posts when it finds input
// waiting, so the notification runs on the event pass after the one that found the bytes. A read the
// program makes right after an event pass (the download's wake-up reads after each ENQ it writes) still
// finds whatever that pass found waiting; the notification takes what is waiting when it runs.
void frmQuillmaxSerial::MSComm1_OnComm() {
    QMetaObject::invokeMethod(
        this,
        [this] {
            vb::RunHandler([this] {
                // Run-time errors in the receive notification are ignored.
                try {
                    vntInBuffer += MSComm1.Input();
                    if (blnDownloading) {
                        if (intDownloadMarker == 0) intDownloadMarker = 1;
                        // A value beyond the bar's maximum is refused with error 380, ignored here: the
                        // bar stays at its maximum.
                        vb::SetProgressValue(ProgressBar1, ProgressBar1->value() + 1);
                    }
                } catch (const vb::Error&) {
                }
            });
        },
        Qt::QueuedConnection);
}

void frmQuillmaxSerial::Timer1_Timer() {
    lngTicks += 1;
    if (lngTicks > 32500) lngTicks = 0;
}
