// Form1, "Lumacor Uploader": a plain text editor whose text can be loaded, edited, saved and sent to the
// tablet.
//
// It has a serial port of its own (MSComm1, "115200,O,7,1"; on a pseudo-terminal the port takes what the
// pty accepts, 8 data bits and no parity) on the console's port number, and its own upload: ten ENQ tries
// with no pause between them, then FF, the text one character at a time after a pause of 200000 counts
// each, and NUL. No window of the program leads to it; the command-line option --text-uploader opens it
// beside the console. Return to Menu hides it (it keeps its text); closing it ends the program.
//
// The text box Text1 holds at most 65535 characters and ends its text at the first NUL byte (see
// text_box_text.h), so the window also keeps the whole file last loaded ("loaded data"): when that is
// longer than the box, Load says so and the upload sends the loaded data, emptying the box as it goes.
#pragma once

#include "platform/common_dialog.h"
#include "platform/mscomm.h"

#include <QWidget>
#include <functional>
#include <string>

class QCloseEvent;
class QPlainTextEdit;
class QProgressBar;
class QPushButton;

class Form1 : public QWidget {
    Q_OBJECT
public:
    // Builds the window as designed and runs Form_Load, as loading the form does.
    Form1();
    ~Form1() override;

    // Controls, by their given names.
    QPlainTextEdit* Text1 = nullptr;
    QPushButton* cmdClear = nullptr;
    QPushButton* cmdLoad = nullptr;
    QPushButton* cmdSave = nullptr;
    QPushButton* cmdSaveAs = nullptr;
    QPushButton* cmdUpload = nullptr;
    QPushButton* cmdReturn = nullptr;
    QPushButton* Command1 = nullptr; // "Ca&ncel Upload": no action is attached to it
    QProgressBar* ProgressBar1 = nullptr;
    vb::MSComm MSComm1;
    vb::CommonDialog CommonDialog1;

    // Window state.
    std::string strCurrentFile; // the file last chosen with Load: the target of Save
    std::string strLoadedData;  // the whole file last loaded; emptied after an upload
    std::string strUploadText;  // Text1's text, copied when an upload starts

    // Text1's text as bytes (line ends CR LF), and setting it as the box would hold it.
    std::string Text1Text() const;
    void SetText1Text(const std::string& bytes);

    // Handlers, named after their control and event.
    void Form_Load();
    void Form_Unload();
    void Text1_Change();
    void cmdClear_Click();
    void cmdLoad_Click();
    void cmdSave_Click();
    void cmdSaveAs_Click();
    void cmdUpload_Click();
    void cmdReturn_Click();

    // The pause before each character of an upload, in empty counts: 200000 (VELMORA_DELAY_SCALE, tests
    // only, scales it).
    static long PauseCounts();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void CreateControls();
    void WireHandlers();
    // The window's error trap: a run-time error shows its description titled "ERROR"; a cancelled file
    // dialog shows nothing.
    void TrapErrors(const std::function<void()>& body);
    // The upload after its "already open" check; false when the tablet did not answer.
    bool WakeTablet();
    void SendText();
    void ClosePortIfOpen();
};

// Loads Form1 (once per run of the program) and shows it.
Form1* ShowTextUploader();
// The running program's Form1, or null when it has not been loaded.
Form1* TextUploader();
// Unloads the Form1 of an earlier run of the program (tests start several in one process).
void UnloadTextUploader();
