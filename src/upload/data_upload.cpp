// "&Upload File": sends a record data file to the tablet, packed (see packed_stream.h), between FF and NUL.
//
// After the ENQ handshake of every device command the user picks the file; the whole file is packed in
// memory first, so a file that fails to read sends nothing. The stream then goes out one character per
// write with no event processing: the port's output buffer and the line's speed pace it (a full buffer
// makes the write wait), and only the progress bar is redrawn as it moves. No acknowledgement is
// awaited for the data. "Cance&l Upload" only raises a flag, which nothing reads: the upload does not
// process events, so it could not even see the click.
#include "app/globals.h"
#include "console/command_exchange.h"
#include "console/console_window.h"
#include "platform/errors.h"
#include "platform/file_system.h"
#include "platform/msgbox.h"
#include "platform/progress_bar.h"
#include "upload/packed_stream.h"

#include <QProgressBar>

namespace {

constexpr const char* kTextFilesFilter = "Text Files (*.txt)|*.txt";

} // namespace

void frmQuillmaxSerial::cmdUploadData_Click() {
    try {
        SendDataFile();
    } catch (const vb::Error& error) {
        switch (error.number) {
        case vb::errInvalidPropertyValue: // an empty packed text leaves the bar's maximum below its minimum
            break;
        case vb::errInvalidPortNumber:
            vb::MsgBox("You must first locate a Velmora LT device before you can Upload.",
                       vb::vbOKOnly + vb::vbInformation, "No Velmora LT Located");
            break;
        case vb::errDialogCancelled:
            ClosePortIfOpen();
            strUploadText.clear();
            Timer1->setEnabled(false);
            lngTicks = 0;
            break;
        default: // the port is left as it was
            vb::MsgBox(error.description, vb::vbOKOnly + vb::vbSystemModal, "ERROR");
            break;
        }
    }
}

void frmQuillmaxSerial::SendDataFile() {
    ClosePortIfOpen();
    MSComm1.setCommPort(intComPort);
    if (!MSComm1.PortOpen()) MSComm1.setPortOpen(true);
    lngUploadPosition = 0;

    const console::Stage handshake = console::Handshake();
    if (!ExchangeStage(handshake)) {
        vb::MsgBox(handshake.failureText, vb::vbOKOnly + vb::vbExclamation + vb::vbSystemModal, "ERROR");
        ClosePortIfOpen();
        return;
    }
    // Unlike a command's stage, the upload's handshake leaves Timer1 running: only a cancelled dialog
    // stops it again.
    Timer1->setEnabled(true);

    CommonDialog1.CancelError = true;
    CommonDialog1.Filter = kTextFilesFilter;
    CommonDialog1.FilterIndex = 1;
    CommonDialog1.ShowOpen();
    strUploadText.clear();
    if (CommonDialog1.FileName.empty()) return;
    strUploadFile = CommonDialog1.FileName;
    const std::string fileBytes = vb::ReadAll(strUploadFile);

    strUploadText = upload::PackRecordFile(fileBytes);

    ProgressBar1->setVisible(true);
    vb::SetProgressMin(ProgressBar1, 1);
    vb::SetProgressMax(ProgressBar1, double(strUploadText.size()));

    MSComm1.Output(std::string(1, upload::FF));
    const std::size_t length = strUploadText.size();
    for (std::size_t i = 1; i <= length; ++i) {
        MSComm1.Output(std::string(1, strUploadText[i - 1]));
        lngUploadPosition = std::int32_t(i);
        // Setting the value redraws the bar at once, processing no events, whenever its drawing changes;
        // redrawing the same pixels for every character would take most of a character's time on the line.
        vb::SetProgressValue(ProgressBar1, double(i));
    }
    MSComm1.Output(std::string(1, upload::NUL));
    ProgressBar1->setVisible(false);
    vb::MsgBox("Upload complete", vb::vbOKOnly + vb::vbInformation + vb::vbSystemModal, "STATUS");

    ClosePortIfOpen();
    strUploadText.clear();
    blnCancelUpload = false;
}
