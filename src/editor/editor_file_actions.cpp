// The editor's file actions: the file name dialog, New, Open, Close, Commit, the close request and
// Back to Main Menu. They move records between the file and the record table and guard unsaved changes.
#include "editor/editor_messages.h"
#include "editor/frm_korvani_upload_utility.h"
#include "platform/errors.h"
#include "platform/file_system.h"
#include "platform/msgbox.h"
#include "platform/vb_text.h"

#include <QComboBox>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

using namespace editor;
namespace msg = editor::messages;

namespace {

bool AskYes(const char* prompt, int style, const char* title) {
    return vb::MsgBox(prompt, style, title) == vb::vbYes;
}

// Creates `path` as an empty text file, replacing any file of that name.
void CreateEmptyTextFile(const std::string& path) {
    vb::CreateTextFile(path, true);
}

} // namespace

void frmKorvaniUploadUtility::ChooseFileName() {
    try {
        CommonDialog1.CancelError = true;
        CommonDialog1.Filter = "Text (*.txt)|*.txt|";
        CommonDialog1.FilterIndex = 1;
        if (!table.OpenDialogMode)
            CommonDialog1.ShowSave();
        else
            CommonDialog1.ShowOpen();
        std::string name = CommonDialog1.FileName;
        if (name.empty()) return;
        if (vb::UCase(vb::Right(name, 3)) != "TXT") name += ".txt";
        if (!CommonDialog1.FileTitle.empty()) {
            txtSavePath->setText(vb::FileNameText(name));
            table.FilePathName = name;
        } else {
            vb::MsgBox(msg::kNameNotEntered, msg::kExclamationOk, msg::kNameNotEnteredTitle);
        }
    } catch (const vb::Error& error) {
        if (error.number == vb::errDialogCancelled) {
            table.DialogCancelled = true;
            return;
        }
        vb::MsgBox(vb::Str(long(error.number)) + " " + error.description, msg::kPlainOk,
                   vb::kApplicationTitle);
    }
}

void frmKorvaniUploadUtility::NewFile() {
    // Either file-level change asks once.
    if (table.FileChangedByDelete || table.FileChanged) {
        if (AskYes(msg::kSaveBeforeNew, msg::kQuestionYesNo, msg::kSaveChangesTitle)) {
            UpdateRecord();
            CommitFile();
        }
    }
    CloseFile();

    cmdUpdaterecord->setEnabled(true);
    cmdCommitRecord->setEnabled(true);
    EnableEntryBoxes(true);
    table.FileChangedByDelete = false;
    table.FileChanged = false;
    table.RecordsChanged = true;
    table.FileChangedReserved = true;
    EmptyEntryBoxes();
    table.ClearRecords();
    // The new file starts with one blank record, shown as record 1. It is also the current record, so
    // that Update Record stores the typed fields into it.
    table.RecordCount = 1;
    table.CurrentRecord = 1;
    lblRecNum2->setText("1");
}

void frmKorvaniUploadUtility::OpenFile() {
    try {
        // Unsaved changes are offered for saving first. A change flag met after the question was asked
        // makes the question forgotten, so the next flag asks again (kept as the program does it).
        bool asked = false;
        auto askAndSave = [&] {
            if (AskYes(msg::kSaveBeforeOpen, msg::kQuestionYesNo, msg::kSaveChangesTitle)) {
                UpdateRecord();
                CommitFile();
            }
            asked = true;
        };
        if (table.FileChangedByDelete) askAndSave();
        if (table.FileChanged) {
            if (!asked)
                askAndSave();
            else
                asked = false;
        }
        if (table.RecordsChanged) {
            if (!asked) {
                asked = true;
                if (AskYes(msg::kSaveBeforeOpen, msg::kQuestionYesNo, msg::kSaveChangesTitle)) {
                    UpdateRecord();
                    if (table.UpdateCancelled) {
                        table.UpdateCancelled = false;
                        return;
                    }
                    CommitFile();
                } else {
                    EmptyEntryBoxes();
                    table.ClearRecords();
                    table.RecordsChanged = false;
                    table.RecordEdited = false;
                }
            } else {
                asked = false;
            }
        }
        if (table.RecordEdited && !asked) askAndSave();

        table.FileLoaded = false;
        table.FileChangedByDelete = false;
        table.FileChanged = false;
        table.RecordsChanged = false;
        table.RecordEdited = false;
        cboGoToRecord->setEnabled(true);
        lblRecNum->show();
        lblRecNum2->show();

        table.OpenDialogMode = true;
        ChooseFileName();
        if (table.DialogCancelled) {
            table.DialogCancelled = false;
            return;
        }
        ReadAndShowFile();
    } catch (const vb::Error& error) {
        if (error.number == vb::errInputPastEndOfFile) {
            // The path is shown as the file system names it; the words after it are the program's text.
            vb::MsgBox(vb::FileNameText(table.FilePathName) + vb::ToQString(msg::kNoRecordsAfterPath),
                       msg::kPlainOk, msg::kNoRecordsTitle);
            cboGoToRecord->clear();
        }
        if (error.number == vb::errFileNotFound) {
            // The reader has closed the file already.
            if (!AskYes(msg::kNotExist, msg::kPlainYesNo, msg::kNotExistTitle)) {
                ReservedProcedure();
                return;
            }
            CreateEmptyTextFile(table.FilePathName);
            vb::MsgBox(msg::kCreated, msg::kInformationOk, msg::kCreatedTitle);
            cboGoToRecord->clear();
            EnableNavigation();
        }
        if (error.number == vb::errInputPastEndOfFile)
            EnableNavigation(); // the reader has closed the file already
    }
}

void frmKorvaniUploadUtility::ReadAndShowFile() {
    EnableEntryBoxes(true);
    table.ClearRecords();
    ReadRecordFile(table);
    lblRecNum2->setText("1");
    for (int field = 0; field < kFieldCount; ++field)
        SetBoxText(field, RecordField(field, 1));
    for (QPushButton* button :
         {Command3, Command4, cmdWriteTextToFile, cmdCommitRecord, cmdDeleteRecord, cmdUpdaterecord})
        button->setEnabled(true);
    cmdCancelAdd->setEnabled(false);
    RefillGoToRecord();
    if (table.RecordCount == 1) SetNavigationButtonsEnabled(false);
    cboGoToRecord->setEditText(QString::number(table.CurrentRecord));
    table.FileLoaded = true;
}

void frmKorvaniUploadUtility::CloseFile() {
    if (table.RecordEdited) {
        if (AskYes(msg::kRecordChange, msg::kQuestionYesNo, msg::kRecordChangeTitle)) {
            UpdateRecord();
            if (table.UpdateCancelled)
                table.UpdateCancelled = false;
            else
                CommitFile();
        }
    } else if (table.FileChangedByDelete || table.FileChanged) {
        // Either file-level change asks once.
        if (AskYes(msg::kSaveToFile, msg::kQuestionYesNo, msg::kSaveChangesTitle)) CommitFile();
    }

    table.RecordsChanged = false;
    table.ClearRecords();
    ReservedProcedure();
    AppendEndMarkerToFile(table);
    cboGoToRecord->clear();
    PageStart = 1;

    EnableEntryBoxes(false);
    EmptyEntryBoxes();
    txtSavePath->clear();
    table.FilePathName.clear();
    lblRecNum2->clear();
    table.RecordCount = 0;

    for (QPushButton* button :
         {cmdCommitRecord, cmdDeleteRecord, cmdUpdaterecord, cmdWriteTextToFile, cmdCancelAdd})
        button->setEnabled(false);
    SetNavigationButtonsEnabled(false);

    PageStart = 0;
    table.DialogCancelled = false;
    table.AppendEndMarker = false;
    table.RecordCount = 0;
    table.CurrentRecord = 0;
    table.RecordEdited = false;
    table.FileChangedByDelete = false;
    table.FileChanged = false;
    table.FileChangedReserved = false;
    table.FileLoaded = false;
}

void frmKorvaniUploadUtility::CommitFile() {
    try {
        if (table.RecordCount > kMaxRecords) {
            vb::MsgBox(msg::kMaximumRecords, msg::kInformationOk, msg::kCannotSaveTitle);
            return;
        }
        if (!table.FileLoaded && !table.RecordsChanged) return;
        if (table.RecordCount == 0) return;
        UpdateRecord();
        if (table.UpdateCancelled) {
            table.UpdateCancelled = false;
            return;
        }
        if (table.FilePathName.empty()) {
            if (!AskYes(msg::kPathNeeded, msg::kPlainYesNo, msg::kPathNeededTitle)) return;
            table.OpenDialogMode = false;
            ChooseFileName();
            CreateEmptyTextFile(table.FilePathName);
        }
        table.FileChanged = false;
        table.FileChangedByDelete = false;
        table.RecordsChanged = false;
        if (!FileExists(table.FilePathName)) {
            if (!AskYes(msg::kNotExist, msg::kPlainYesNo, msg::kNotExistTitle)) return;
            CreateEmptyTextFile(table.FilePathName);
        }
        WriteRecordFile(table);
        table.RecordEdited = false;
    } catch (const vb::Error& error) {
        // A file that cannot be written ends the commit without a message. No statement here reads a
        // file, so the input-past-end error that would resume with the next statement does not arise.
        if (error.number == vb::errInvalidProcedureCall) return;
        cmdWriteTextToFile->setEnabled(true);
    }
}

void frmKorvaniUploadUtility::Form_QueryUnload() {
    if (table.FileChangedByDelete || table.FileChanged) {
        // Either file-level change asks once; the close goes on whatever the answer.
        if (AskYes(msg::kSaveToFile, msg::kQuestionYesNo, msg::kSaveChangesTitle)) CommitFile();
    }
    table.FileChangedByDelete = false;
    table.FileChanged = false;
}

void frmKorvaniUploadUtility::BackToMainMenu() {
    CloseFile();
    Form_QueryUnload();
    close();
}
