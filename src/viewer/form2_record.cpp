// Showing a record: what the load, Next and Previous share. Record n is found by its key; its date field
// is formatted into the date/time box; the field scan fills the record-data box and finds the signature;
// the signature display is refilled and the caption names the record.
#include "app/startup.h"
#include "console/console_window.h"
#include "platform/errors.h"
#include "platform/signature_display.h"
#include "platform/vb_text.h"
#include "viewer/form2.h"
#include "viewer/record_data_box.h"
#include "viewer/resume_next.h"

#include <QLabel>

void Form2::ShowRecordCaption(const std::string& record) {
    const frmQuillmaxSerial* console = app::Console();
    const std::string count = console ? console->strRecordCount : std::string();
    lblSignature->setText(vb::ToQString("Record " + record + " of " + count));
}

void Form2::ShowSignature(const std::string& signature, std::initializer_list<std::int64_t> passedOver) {
    viewer::ResumeNextOn(passedOver, [&] { Ondrate1->ClearSignature(); });
    for (const char byte : signature)
        viewer::ResumeNextOn(passedOver,
                             [&] { Ondrate1->AppendSignatureByte(short(static_cast<unsigned char>(byte))); });
    viewer::ResumeNextOn(passedOver, [&] { Ondrate1->setDisplayMode(5); });
}

viewer::ScanResult Form2::ScanIntoRecordData(long start, const std::string& dateField,
                                             const viewer::ScanVariant& variant,
                                             const std::function<void()>& onQuote) {
    // No events are processed during a scan, so the box is refilled once, when the scan is over.
    std::string recordData = txtRecordData->Text();
    viewer::ScanResult result =
        viewer::ScanFields(strRecords, start, dateField, variant, recordData, onQuote);
    txtRecordData->SetText(std::move(recordData));
    return result;
}

void Form2::ShowRecord(short n, const viewer::ScanVariant& variant) {
    // Record 1 has no CR LF before it, so its key is not found (p = 0) and the record at the start of the
    // text is shown: Previous reaches record 1 this way. The three characters at p + 2, the record's
    // number, are not used.
    const long p = vb::InStr(strRecords, viewer::RecordKey(n));
    const viewer::DateField date = viewer::DateFieldAt(strRecords, p + 4);
    SetBoxText(txtTimeDate, viewer::GetDate(date.text));
    if (variant.clearsBeforeScan && Ondrate1->SignatureSize() >= 1)
        viewer::ResumeNextOn({vb::errObjectDisconnected}, [&] { Ondrate1->ClearSignature(); });
    const viewer::ScanResult scan = ScanIntoRecordData(date.q2 + 1, date.text, variant);
    ShowSignature(scan.signature, {vb::errObjectDisconnected});
    ShowRecordCaption(vb::Str(n));
}
