// Message boxes with the classic style numbers, on QMessageBox.
//
// style = buttons (0 OK, 1 OK/Cancel, 2 Abort/Retry/Ignore, 3 Yes/No/Cancel, 4 Yes/No, 5 Retry/Cancel)
//       + icon (16 critical, 32 question, 48 exclamation, 64 information)
//       + default button (0 first, 256 second, 512 third)
//       + 4096 system-modal (kept above every window).
// The box is modal and returns the classic answer code of the button pressed.
#pragma once

#include <string>

namespace vb {

enum MsgBoxStyle : int {
    vbOKOnly = 0,
    vbOKCancel = 1,
    vbAbortRetryIgnore = 2,
    vbYesNoCancel = 3,
    vbYesNo = 4,
    vbRetryCancel = 5,
    vbCritical = 16,
    vbQuestion = 32,
    vbExclamation = 48,
    vbInformation = 64,
    vbDefaultButton2 = 256,
    vbDefaultButton3 = 512,
    vbSystemModal = 4096,
};

enum MsgBoxResult : int {
    vbOK = 1,
    vbCancel = 2,
    vbAbort = 3,
    vbRetry = 4,
    vbIgnore = 5,
    vbYes = 6,
    vbNo = 7
};

// The program's title, used for boxes that are given none.
inline constexpr const char* kApplicationTitle = "Velmora LT Uploader/Downloader Tool";

int MsgBox(const std::string& prompt, int style, const std::string& title);

} // namespace vb
