// The editor's record actions: navigation, Update Record, Add Record, Cancel Add and Delete Record.
// They work on the record table only; the file is written by Commit.
#include "editor/editor_messages.h"
#include "editor/frm_korvani_upload_utility.h"
#include "platform/errors.h"
#include "platform/msgbox.h"
#include "platform/vb_text.h"

#include <QComboBox>
#include <QLabel>
#include <QPushButton>
#include <memory>
#include <optional>

using namespace editor;
namespace msg = editor::messages;

namespace {

using Target = frmKorvaniUploadUtility::NavigationTarget;

// The record a navigation button goes to, or nothing when it stays where it is.
std::optional<short> NavigationDestination(Target target, short current, short count) {
    switch (target) {
    case Target::First:
        return short(1);
    case Target::Previous:
        return current <= 1 ? std::nullopt : std::optional<short>(short(current - 1));
    case Target::Next:
        return current == count ? std::nullopt : std::optional<short>(short(current + 1));
    case Target::Last:
        return count;
    }
    return std::nullopt;
}

} // namespace

void frmKorvaniUploadUtility::Navigate(NavigationTarget target) {
    if (!table.FileLoaded) return;
    if (target == Target::Last && table.RecordCount == 0) return;
    RecordChangePrompt();
    const std::optional<short> destination =
        NavigationDestination(target, table.CurrentRecord, table.RecordCount);
    if (!destination) return;
    table.CurrentRecord = *destination;
    ShowRecord(table.CurrentRecord);
    ApplyNavigationButtonStates();
    if (target == Target::Last && table.RecordCount == 1) SetNavigationButtonsEnabled(false);
}

void frmKorvaniUploadUtility::UpdateRecord() {
    if (!table.FileLoaded && !table.RecordsChanged) return;
    if (table.RecordCount >= kMaxRecords + 1) {
        vb::MsgBox(msg::kMaximumRecords, msg::kInformationOk, msg::kCannotUpdateTitle);
        return;
    }
    // The blank record New File starts with, untouched: while no file is loaded yet and nothing has been
    // typed, there is nothing to check and nothing to store, so Commit right after New File writes that
    // blank record instead of being refused for its empty "Name". This is the only update that is not
    // checked first.
    if (!table.FileLoaded && table.RecordCount == 1 && !table.RecordEdited) return;
    // "Name" and "Info 1" must hold more than spaces, typed into or not.
    if (vb::Trim(BoxText(kNameField)).empty() || vb::Trim(BoxText(kInfo1Field)).empty()) {
        vb::MsgBox(msg::kUpdateCanceled, msg::kExclamationOk, msg::kUpdateCanceledTitle);
        table.UpdateCancelled = true;
        return;
    }
    // Nothing typed, nothing to store.
    if (!table.RecordEdited) return;
    // While adding (AddingRecord stays set once an add has begun), a record whose 111 boxes are all empty
    // is not stored: the boxes are emptied, the new record stays current, and the Go To Record number is
    // remembered for its next selection. (Coming after the check of "Name", it sees a Name in its box;
    // the pass keeps its place in the order all the same.)
    if (table.AddingRecord && AllEntryBoxesEmpty()) {
        EmptyEntryBoxes();
        table.CurrentRecord = table.RecordCount;
        lblRecNum2->setText(QString::number(table.CurrentRecord));
        const std::string goTo = vb::FromQString(cboGoToRecord->currentText());
        if (!goTo.empty()) GoToRemembered = vb::CInt(goTo);
        return;
    }
    for (int field = 0; field < kFieldCount; ++field)
        RecordField(field, table.CurrentRecord) = BoxText(field);

    cmdWriteTextToFile->setEnabled(true);
    cmdCancelAdd->setEnabled(false);
    for (QPushButton* button : {cmdNew, cmdOpen, cmdCloseFile, cmdCommitRecord, cmdDeleteRecord})
        button->setEnabled(true);
    SetNavigationButtonsEnabled(true);
    cboGoToRecord->setEnabled(true);
    table.FileLoaded = true;
    table.RecordsChanged = true;
    table.FileChanged = false;
}

void frmKorvaniUploadUtility::AddRecord() {
    if (table.RecordCount >= kMaxRecords) {
        vb::MsgBox(msg::kMaximumRecords, msg::kInformationOk, msg::kCannotAddTitle);
        return;
    }
    if (!table.FileLoaded || table.RecordCount == 0) return;
    RecordChangePrompt();
    // Only the new record's boxes and Cancel Add are usable until it is updated or cancelled.
    for (QPushButton* button : {cmdNew, cmdOpen, cmdCloseFile, cmdCommitRecord, cmdDeleteRecord})
        button->setEnabled(false);
    SetNavigationButtonsEnabled(false);
    cboGoToRecord->setEnabled(false);
    cmdCancelAdd->setEnabled(true);
    cmdWriteTextToFile->setEnabled(false);
    EmptyEntryBoxes();
    ++table.RecordCount;
    table.CurrentRecord = table.RecordCount;
    lblRecNum2->setText(QString::number(table.CurrentRecord));
    RefillGoToRecord();
    cboGoToRecord->setEditText(QString::number(table.CurrentRecord));
    table.AddingRecord = true;
    table.AddingRecordCompanion = true;
    txtAI[kNameField]->setFocus();
}

void frmKorvaniUploadUtility::CancelAdd() {
    if (!table.FileLoaded || table.RecordCount == 0) return;
    for (QPushButton* button :
         {cmdNew, cmdOpen, cmdCloseFile, cmdCommitRecord, cmdDeleteRecord, cmdWriteTextToFile})
        button->setEnabled(true);
    SetNavigationButtonsEnabled(true);
    cboGoToRecord->setEnabled(true);
    EmptyEntryBoxes();
    --table.RecordCount;
    table.CurrentRecord = table.RecordCount;
    lblRecNum2->setText(QString::number(table.CurrentRecord));
    RefillGoToRecord();
    GoLast();
    // AddingRecord itself stays set.
    table.AddingRecordCompanion = false;
    table.RecordEdited = false;
}

void frmKorvaniUploadUtility::DeleteRecord() {
    if (!table.FileLoaded) return;
    try {
        if (vb::MsgBox(msg::kDelete, msg::kQuestionYesNo, msg::kDeleteTitle) == vb::vbNo) return;
        table.RecordEdited = false;

        // The other records move up one place, in their order, into an emptied table.
        using Column = std::array<std::string, kFieldSlots>;
        std::vector<Column> kept;
        for (int record = 1; record <= table.RecordCount; ++record) {
            if (record == table.CurrentRecord) continue;
            Column column;
            for (int field = 0; field < kFieldSlots; ++field)
                column[field] = RecordField(field, record);
            kept.push_back(std::move(column));
        }
        table.ClearRecords();
        for (int index = 0; index < int(kept.size()); ++index)
            for (int field = 0; field < kFieldSlots; ++field)
                RecordField(field, index + 1) = std::move(kept[index][field]);

        --table.RecordCount;
        table.CurrentRecord = 1;
        lblRecNum2->setText("1");
        RefillGoToRecord();
        table.FileChangedByDelete = true;
        GoLast();
    } catch (const vb::Error& error) {
        vb::MsgBox(vb::Str(long(error.number)), msg::kPlainOk, vb::kApplicationTitle);
    }
}
