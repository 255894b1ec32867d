// Form1's loading, its text box and file buttons, Return to Menu and closing. The upload is in
// form1_upload.cpp.
#include "upload/form1.h"

#include "app/startup.h"
#include "console/console_window.h"
#include "platform/errors.h"
#include "platform/file_system.h"
#include "platform/handler.h"
#include "platform/msgbox.h"
#include "platform/program_end.h"
#include "platform/window_buttons.h"
#include "upload/text_box_text.h"

#include <QCloseEvent>
#include <QPlainTextEdit>
#include <QPointer>
#include <QPushButton>

namespace {

constexpr const char* kTextFilesFilter = "Text Files (*.txt)|*.txt";

QPointer<Form1> runningTextUploader;

struct ClickWiring {
    QPushButton* Form1::*button;
    void (Form1::*handler)();
};

constexpr ClickWiring kClicks[] = {
    {&Form1::cmdClear, &Form1::cmdClear_Click},   {&Form1::cmdLoad, &Form1::cmdLoad_Click},
    {&Form1::cmdSave, &Form1::cmdSave_Click},     {&Form1::cmdSaveAs, &Form1::cmdSaveAs_Click},
    {&Form1::cmdUpload, &Form1::cmdUpload_Click}, {&Form1::cmdReturn, &Form1::cmdReturn_Click},
};

} // namespace

Form1* ShowTextUploader() {
    if (!runningTextUploader) runningTextUploader = new Form1();
    runningTextUploader->show();
    return runningTextUploader;
}

Form1* TextUploader() {
    return runningTextUploader;
}

void UnloadTextUploader() {
    delete runningTextUploader;
}

Form1::Form1() {
    CreateControls();
    WireHandlers();
    Form_Load();
}

Form1::~Form1() = default;

void Form1::WireHandlers() {
    for (const ClickWiring& wiring : kClicks)
        connect(this->*wiring.button, &QPushButton::clicked, this,
                [this, handler = wiring.handler] { vb::RunHandler([&] { (this->*handler)(); }); });
    connect(Text1, &QPlainTextEdit::textChanged, this, [this] { vb::RunHandler([&] { Text1_Change(); }); });
}

void Form1::Form_Load() {
    vb::SetDefaultButton(this, cmdUpload);
    vb::SetCancelButton(this, cmdReturn);
    cmdUpload->setEnabled(false);
    cmdSave->setEnabled(false);
    cmdSaveAs->setEnabled(false);
    MSComm1.setSettings("115200,O,7,1");
}

std::string Form1::Text1Text() const {
    return upload::FromTextBox(Text1->document()->toRawText());
}

void Form1::SetText1Text(const std::string& bytes) {
    Text1->setPlainText(upload::ToTextBox(upload::TextBoxContent(bytes)));
}

void Form1::TrapErrors(const std::function<void()>& body) {
    try {
        body();
    } catch (const vb::Error& error) {
        if (error.number != vb::errDialogCancelled)
            vb::MsgBox(error.description, vb::vbOKOnly + vb::vbSystemModal, "ERROR");
    }
}

void Form1::ClosePortIfOpen() {
    if (MSComm1.PortOpen()) MSComm1.setPortOpen(false);
}

// Save is enabled only by Load; an emptied box disables it with the other two.
void Form1::Text1_Change() {
    const bool hasText = !Text1->document()->isEmpty();
    cmdUpload->setEnabled(hasText);
    cmdSaveAs->setEnabled(hasText);
    if (!hasText) cmdSave->setEnabled(false);
}

void Form1::cmdClear_Click() {
    Text1->clear();
    cmdSave->setEnabled(false);
    cmdSaveAs->setEnabled(false);
    cmdUpload->setEnabled(false);
    Text1->setFocus();
}

void Form1::cmdLoad_Click() {
    TrapErrors([&] {
        CommonDialog1.CancelError = false;
        CommonDialog1.Filter = kTextFilesFilter;
        CommonDialog1.FilterIndex = 1;
        // Cancel keeps the name the dialog was given: an empty one tells that no file was chosen.
        CommonDialog1.FileName.clear();
        CommonDialog1.ShowOpen();
        strLoadedData.clear();
        if (CommonDialog1.FileName.empty()) return;
        strCurrentFile = CommonDialog1.FileName;
        cmdSave->setEnabled(true);
        strLoadedData = vb::ReadAll(strCurrentFile);
        SetText1Text(strLoadedData);
        if (strLoadedData.size() > Text1Text().size())
            vb::MsgBox("Text Box does not represent all data to be uploaded to hardware.",
                       vb::vbOKOnly + vb::vbInformation, "");
    });
}

void Form1::cmdSave_Click() {
    TrapErrors([&] {
        vb::DeleteFile(strCurrentFile, true);
        vb::WriteAll(strCurrentFile, Text1Text());
        vb::MsgBox("File saved as " + strCurrentFile, vb::vbOKOnly + vb::vbSystemModal, "Save Status");
    });
}

void Form1::cmdSaveAs_Click() {
    TrapErrors([&] {
        CommonDialog1.CancelError = true;
        CommonDialog1.Filter = kTextFilesFilter;
        CommonDialog1.FilterIndex = 1;
        CommonDialog1.ShowSave();
        const std::string name = CommonDialog1.FileName;
        if (name.empty()) return;
        if (name == strCurrentFile) vb::DeleteFile(name, true);
        vb::WriteAll(name, Text1Text());
        vb::MsgBox("File Saved as " + name, vb::vbOKOnly + vb::vbSystemModal, "Save Status");
    });
}

// Hidden, the window keeps its text and state.
void Form1::cmdReturn_Click() {
    hide();
    if (QWidget* console = app::Console()) console->show();
}

void Form1::closeEvent(QCloseEvent* event) {
    event->accept();
    if (vb::HasEnded()) return;
    vb::RunHandler([&] { Form_Unload(); });
}

// Closing the window ends the whole program, its port closed first.
void Form1::Form_Unload() {
    ClosePortIfOpen();
    vb::End();
}
