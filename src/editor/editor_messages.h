// The editor's message box texts and titles, each as the user sees it.
#pragma once

namespace editor::messages {

inline constexpr const char* kSaveChangesTitle = "Save Changes";
inline constexpr const char* kSaveBeforeNew =
    "You have made changes to this file. Do you want to save them before creating a new file?";
inline constexpr const char* kSaveBeforeOpen =
    "You have made changes to this file. Do you want to save them before opening another file?";
inline constexpr const char* kSaveToFile =
    "You have made changes to this file. Do you want to save them to file?";

inline constexpr const char* kRecordChangeTitle = "Record Change Detected";
inline constexpr const char* kRecordChange =
    "You have made changes to this record. Do you wish to save these changes?";

inline constexpr const char* kMaximumRecords = "Maximum number of records is 100.";
inline constexpr const char* kCannotSaveTitle = "Cannot Save File";
inline constexpr const char* kCannotAddTitle = "Cannot Add Record";
inline constexpr const char* kCannotUpdateTitle = "Cannot Update Record";

inline constexpr const char* kPathNeededTitle = "File Path/Name needed";
inline constexpr const char* kPathNeeded =
    "You must create a file path and file name before continuing.\r\n\r\nDo that now?";
inline constexpr const char* kNotExistTitle = "File Does Not Currently Exist";
inline constexpr const char* kNotExist = "This file does not exist.\r\n\r\nCreate this file?";
inline constexpr const char* kCreatedTitle = "File Created Successfully";
inline constexpr const char* kCreated = "File has been created. You can now add records.";
inline constexpr const char* kNoRecordsTitle = "No Records";
inline constexpr const char* kNoRecordsAfterPath = " currently has no records to display";
inline constexpr const char* kNameNotEnteredTitle = "File Name not entered";
inline constexpr const char* kNameNotEntered = "You must enter a file name before continuing";

inline constexpr const char* kUpdateCanceledTitle = "Update Will Be Canceled";
inline constexpr const char* kUpdateCanceled =
    "The 'Name' and 'Info 1' fields must contain data to update the record.";
inline constexpr const char* kDeleteTitle = "Delete Current Record";
inline constexpr const char* kDelete = "You are about to delete the current record. Continue?";

// Style numbers of the boxes: a question with Yes and No, information, exclamation, plain Yes/No, plain OK.
inline constexpr int kQuestionYesNo = 32 + 4;
inline constexpr int kInformationOk = 64;
inline constexpr int kExclamationOk = 48;
inline constexpr int kPlainYesNo = 4;
inline constexpr int kPlainOk = 0;

} // namespace editor::messages
