// The "Go To Record" combo box: choosing an item shows that record; a typed number is checked on every
// key release and shows the record, the first or the last.
#include "editor/frm_korvani_upload_utility.h"
#include "platform/errors.h"
#include "platform/vb_text.h"

#include <QComboBox>
#include <QLineEdit>

int frmKorvaniUploadUtility::GoToListIndex() const {
    // Typing into the box leaves no list item selected, as in a classic drop-down combo box.
    return goToTextTyped ? -1 : cboGoToRecord->currentIndex();
}

void frmKorvaniUploadUtility::SelectGoToItem(int index) {
    if (index < -1 || index >= cboGoToRecord->count()) vb::Raise(vb::errInvalidPropertyValue);
    if (index >= 0) {
        cboGoToRecord->setCurrentIndex(index);
        goToTextTyped = false;
    }
    // Index -1 selects no item and leaves the text as it is. Either way, selecting is a selection event.
    cboGoToRecord_Click();
}

void frmKorvaniUploadUtility::GoToRecordSelection() {
    if (!table.FileLoaded) return;
    RecordChangePrompt();
    table.CurrentRecord = short(GoToListIndex() + 1);
    if (GoToGuard) {
        // The nested run of the selection made below.
        GoToGuard = false;
    } else if (GoToListIndex() == -1) {
        if (cboGoToRecord->currentText().isEmpty()) {
            cboGoToRecord->setEditText(QString::number(GoToRemembered));
            GoToRemembered = 0;
        }
        GoToGuard = true;
        SelectGoToItem(GoToRemembered - 1);
    }
    // The number in the box decides the record.
    table.CurrentRecord = vb::CInt(vb::FromQString(cboGoToRecord->currentText()));
    ShowRecord(table.CurrentRecord);
    ApplyNavigationButtonStates();
    if (table.RecordCount == 1) SetNavigationButtonsEnabled(false);
}

void frmKorvaniUploadUtility::GoToRecordKeyUp() {
    if (table.RecordCount == 0) {
        cboGoToRecord->setEditText("");
        return;
    }
    const std::string text = vb::FromQString(cboGoToRecord->currentText());
    if (!vb::IsNumeric(text) || vb::Val(text) < 1) {
        cboGoToRecord->setEditText("1");
        GoFirst();
    } else if (vb::Val(text) > double(table.RecordCount)) {
        cboGoToRecord->setEditText(QString::number(table.RecordCount));
        GoLast();
    } else {
        GoToRecordSelection();
    }
}
