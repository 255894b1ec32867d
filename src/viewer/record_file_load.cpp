// The console's "&View VLM File": pick a downloaded record file, read its header line and its first
// record into the viewer Form2 and show it.
//
// One trap covers the whole load. A property the progress bar refuses (380), a signature display that has
// disconnected (0x80010108) and the failed first read of an empty file (62) are passed over where they
// arise; a cancelled dialog (32755) ends the load silently; a missing file (53) is reported; any other
// error stops the console's timer and ends the load silently, leaving the hourglass as it was.
#include "console/console_window.h"
#include "platform/errors.h"
#include "platform/msgbox.h"
#include "platform/progress_bar.h"
#include "platform/signature_display.h"
#include "platform/vb_text.h"
#include "viewer/form2.h"
#include "viewer/record_data_box.h"
#include "viewer/resume_next.h"
#include "viewer/text_stream.h"

#include <QProgressBar>
#include <QPushButton>

namespace {

// Record 1's number and the quote after it: a record area without it holds no records.
constexpr std::string_view kFirstRecord = "001\"";

template <typename Statement> void PassOver(Statement&& statement) {
    viewer::ResumeNextOn({vb::errInvalidPropertyValue, vb::errObjectDisconnected, vb::errInputPastEndOfFile},
                         std::forward<Statement>(statement));
}

void StepProgressBar(QProgressBar* bar) {
    // Past its maximum the bar refuses the value and stays where it is.
    PassOver([&] { vb::SetProgressValue(bar, double(bar->value()) + 1); });
}

void LoadRecordFile(frmQuillmaxSerial& console, Form2& form) {
    // Cancel raises an error only from the second dialog of a run on: the first cancel reads as no name.
    vb::CommonDialog& dialog = console.CommonDialog1;
    dialog.Filter = "VLM Files (*.vlm)|*.vlm";
    dialog.FilterIndex = 1;
    dialog.ShowOpen();
    dialog.CancelError = true;
    if (dialog.FileName.empty()) return;
    console.strRecordFile = dialog.FileName;
    console.cmdBrowse->repaint();

    viewer::TextStream stream(console.strRecordFile);
    std::string line;
    PassOver([&] { line = stream.ReadLine(); });
    const long firstQuote = viewer::AlignRecordCount(line);
    console.strRecordCount = viewer::RecordCountText(line, firstQuote);
    const viewer::NameAndTitle header = viewer::CustomerNameAndTitle(line, firstQuote);
    form.strRecords = stream.ReadAll();
    if (vb::InStr(form.strRecords, kFirstRecord) == 0) {
        vb::MsgBox("There are no available records", vb::vbExclamation + vb::vbSystemModal, "RECORD STATUS");
        return;
    }
    const viewer::DateField date = viewer::DateFieldAt(form.strRecords, 1);

    form.txtRecordData->SetText("");
    console.setCursor(Qt::WaitCursor);
    QProgressBar* bar = console.ProgressBar1;
    PassOver([&] { vb::SetProgressMin(bar, 1); });
    PassOver([&] { vb::SetProgressValue(bar, 1); });
    // A count that is not a number (empty after "000", or no digits) fails here and ends the load.
    PassOver([&] { vb::SetProgressMax(bar, vb::CSng(console.strRecordCount)); });
    bar->setEnabled(true);
    bar->setVisible(true);

    const viewer::ScanResult scan =
        form.ScanIntoRecordData(date.q2 + 1, date.text, viewer::kLoadScan, [bar] { StepProgressBar(bar); });
    form.intCurrentRecord = 1;

    PassOver([&] { form.Ondrate1->setDisplayActive(true); });
    form.ShowSignature(scan.signature,
                       {vb::errInvalidPropertyValue, vb::errObjectDisconnected, vb::errInputPastEndOfFile});
    form.ShowRecordCaption(vb::Str(form.intCurrentRecord));
    // The record area was required to hold record 1 above, so an empty signature alone never stops here.
    if (form.Ondrate1->SignatureSize() == 0 && vb::InStr(form.strRecords, kFirstRecord) == 0) {
        vb::MsgBox("No signature records available", vb::vbInformation + vb::vbSystemModal, "RECORD STATUS");
        return;
    }
    Form2::SetBoxText(form.txtCustomerName, header.customerName);
    Form2::SetBoxText(form.txtTitle, header.title);
    Form2::SetBoxText(form.txtNumberOfRecords, console.strRecordCount);
    Form2::SetBoxText(form.txtTimeDate, viewer::GetDate(date.text));

    stream.Close();
    console.unsetCursor();
    bar->setEnabled(false);
    bar->setVisible(false);
    form.show();
    form.raise();
    form.activateWindow();
}

} // namespace

void frmQuillmaxSerial::cmdBrowse_Click() {
    // Clearing the viewer's text loads the viewer, hidden, when it is not loaded yet.
    strRecordFile.clear();
    Form2& form = LoadedForm2();
    form.strRecords.clear();
    try {
        strRecordCount.clear();
        LoadRecordFile(*this, form);
    } catch (const vb::Error& error) {
        switch (error.number) {
        case vb::errDialogCancelled:
            return;
        case vb::errFileNotFound:
            vb::MsgBox("That file does not exist.", vb::vbExclamation, "Choose an existing file...");
            return;
        default:
            Timer1->setEnabled(false);
            return;
        }
    }
}
