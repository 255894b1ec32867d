// Message boxes with the classic style numbers, on QMessageBox.
//
// style = buttons (0 OK, 1 OK/Cancel, 2 Abort/Retry/Ignore, 3 Yes/No/Cancel, 4 Yes/No, 5 Retry/Cancel)
//       + icon (16 critical, 32 question, 48 exclamation, 64 information)
//       + default button (0 first, 256 second, 512 third)
//       + 4096 system-modal (kept above every window).
// The box is modal and returns the classic answer code of the button pressed. Esc answers Cancel where
// there is one and OK on an OK box; a Yes/No or Abort/Retry/Ignore box is answered only by its buttons.
#pragma once

#include <QString>
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

// The program's own title, for the boxes the runtime shows itself ("Run-time error ...").
inline constexpr const char* kApplicationTitle = "Velmora LT Uploader/Downloader Tool";

// Shows the box with exactly this title (an empty one stays empty) and returns the answer code.
int MsgBox(const std::string& prompt, int style, const std::string& title);
// The same box for a prompt already made into window text: one that names a file is built with
// FileNameText(path) for the path and ToQString for the program's own words around it.
int MsgBox(const QString& prompt, int style, const std::string& title);
// A literal prompt is the program's own text (bytes), as a std::string is.
inline int MsgBox(const char* prompt, int style, const std::string& title) {
    return MsgBox(std::string(prompt), style, title);
}

} // namespace vb
