// Showing a record in the entry boxes, the button states that follow it, and the small routines the
// file and record actions share.
#include "editor/editor_messages.h"
#include "editor/frm_korvani_upload_utility.h"
#include "editor/memo_box.h"
#include "platform/errors.h"
#include "platform/file_system.h"
#include "platform/msgbox.h"
#include "platform/vb_text.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

using namespace editor;

std::string frmKorvaniUploadUtility::BoxText(int index) const {
    if (index == kMemoField) return static_cast<const MemoBox*>(txtAI[index])->Text();
    return vb::FromQString(static_cast<const QLineEdit*>(txtAI[index])->text());
}

void frmKorvaniUploadUtility::SetBoxText(int index, const std::string& text) {
    if (index == kMemoField)
        static_cast<MemoBox*>(txtAI[index])->SetText(text);
    else
        static_cast<QLineEdit*>(txtAI[index])->setText(vb::ToQString(text));
}

std::string& frmKorvaniUploadUtility::RecordField(int field, int record) {
    if (field < 0 || field >= kFieldSlots || record < 1 || record > kRecordSlots)
        vb::Raise(vb::errSubscriptOutOfRange);
    return table.At(field, record);
}

void frmKorvaniUploadUtility::ShowRecord(short record) {
    lblRecNum2->setText(QString::number(record));
    for (int field = 0; field < kFieldCount; ++field)
        SetBoxText(field, RecordField(field, record));
    cboGoToRecord->setEditText(QString::number(record));
}

void frmKorvaniUploadUtility::EmptyEntryBoxes() {
    for (int field = 0; field < kFieldCount; ++field)
        SetBoxText(field, "");
}

bool frmKorvaniUploadUtility::AllEntryBoxesEmpty() const {
    for (int field = 0; field < kFieldCount; ++field)
        if (!BoxText(field).empty()) return false;
    return true;
}

void frmKorvaniUploadUtility::EnableEntryBoxes(bool enabled) {
    for (QWidget* box : txtAI)
        box->setEnabled(enabled);
}

void frmKorvaniUploadUtility::RefillGoToRecord() {
    cboGoToRecord->clear();
    for (int number = 1; number <= table.RecordCount; ++number)
        cboGoToRecord->addItem(QString::number(number));
    // Filling the list selects nothing and leaves the text empty.
    cboGoToRecord->setCurrentIndex(-1);
    goToTextTyped = false;
}

void frmKorvaniUploadUtility::SetNavigationButtonsEnabled(bool enabled) {
    for (QPushButton* button : {cmdFirst, Command2, Command3, Command4})
        button->setEnabled(enabled);
}

void frmKorvaniUploadUtility::ApplyNavigationButtonStates() {
    const short current = table.CurrentRecord;
    const short count = table.RecordCount;
    if (1 < current && current < count) {
        SetNavigationButtonsEnabled(true);
    } else if (current == 1) {
        cmdFirst->setEnabled(false);
        Command2->setEnabled(false);
        Command3->setEnabled(true);
        Command4->setEnabled(true);
    } else if (current == count) {
        cmdFirst->setEnabled(true);
        Command2->setEnabled(true);
        Command3->setEnabled(false);
        Command4->setEnabled(false);
    }
}

void frmKorvaniUploadUtility::EnableNavigation() {
    SetNavigationButtonsEnabled(true);
    cmdDeleteRecord->setEnabled(true);
    cmdWriteTextToFile->setEnabled(true);
    cboGoToRecord->setEnabled(true);
    Label1->setEnabled(true);
}

bool frmKorvaniUploadUtility::FileExists(const std::string& path) {
    return vb::FileExists(path);
}

void frmKorvaniUploadUtility::StripLeadingEtx() {
    const std::string name = BoxText(kNameField);
    if (!name.empty() && name.front() == '\x03') SetBoxText(kNameField, name.substr(1));
}

void frmKorvaniUploadUtility::ReservedProcedure() {
    // Deliberately empty: Close File and Open File's error handling call it at fixed points.
}

void frmKorvaniUploadUtility::RecordChangePrompt() {
    if (table.RecordEdited && vb::MsgBox(messages::kRecordChange, messages::kQuestionYesNo,
                                         messages::kRecordChangeTitle) == vb::vbYes)
        UpdateRecord();
    table.RecordEdited = false;
}
