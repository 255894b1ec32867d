// The viewer's construction, load, buttons and close box.
#include "viewer/form2.h"

#include "app/startup.h"
#include "console/console_window.h"
#include "platform/errors.h"
#include "platform/handler.h"
#include "platform/msgbox.h"
#include "platform/program_end.h"
#include "platform/signature_display.h"
#include "platform/vb_text.h"
#include "platform/window_buttons.h"
#include "viewer/resume_next.h"

#include <QCloseEvent>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>

namespace {

QPointer<Form2> loadedViewer;
// The console of the run that loaded the viewer: a new run of the program starts without a viewer.
QPointer<frmQuillmaxSerial> viewerConsole;

// Next's and Previous's trap: an error that no statement passes over ends the click silently, leaving
// whatever was already shown. Overflow of the record number is one of them.
template <typename Body> void EndClickSilentlyOnError(Body&& body) {
    try {
        body();
    } catch (const vb::Error&) {
    }
}

void EndOfRecords() {
    vb::MsgBox("End of records", vb::vbInformation + vb::vbSystemModal, "RECORD STATUS");
}

} // namespace

Form2& LoadedForm2() {
    frmQuillmaxSerial* console = app::Console();
    if (loadedViewer && (loadedViewer->Unloaded() || viewerConsole != console)) {
        if (!loadedViewer->Unloaded()) delete loadedViewer.data();
        loadedViewer = nullptr;
    }
    if (!loadedViewer) {
        loadedViewer = new Form2();
        viewerConsole = console;
    }
    return *loadedViewer;
}

Form2* FindForm2() {
    if (!loadedViewer || loadedViewer->Unloaded() || viewerConsole != app::Console()) return nullptr;
    return loadedViewer;
}

Form2::Form2() : QWidget(nullptr) {
    // The close box unloads the window: its loaded text goes with it.
    setAttribute(Qt::WA_DeleteOnClose);
    BuildControls();
    ConnectHandlers();
    Form_Load();
}

Form2::~Form2() = default;

void Form2::ConnectHandlers() {
    const std::pair<QPushButton*, void (Form2::*)()> clicks[] = {
        {cmdNext, &Form2::cmdNext_Click},
        {cmdPrevious, &Form2::cmdPrevious_Click},
        {cmdReturn, &Form2::cmdReturn_Click},
    };
    for (const auto& [button, handler] : clicks)
        connect(button, &QPushButton::clicked, this,
                [this, handler = handler] { vb::RunHandler([&] { (this->*handler)(); }); });
}

void Form2::Form_Load() {
    vb::SetDefaultButton(this, cmdNext);
    vb::SetCancelButton(this, cmdReturn);
}

void Form2::SetBoxText(QLineEdit* box, const std::string& text) {
    box->setText(vb::ToQString(text));
}

std::string Form2::BoxText(const QLineEdit* box) {
    return vb::FromQString(box->text());
}

void Form2::cmdNext_Click() {
    EndClickSilentlyOnError([this] {
        intCurrentRecord = vb::CInt(double(intCurrentRecord) + 1);
        const std::string key = viewer::RecordKey(intCurrentRecord);
        viewer::ResumeNextOn({vb::errObjectDisconnected}, [&] { Ondrate1->setDisplayActive(true); });
        // The first test asks the display too, the second only the text; either way there is no record n.
        if (Ondrate1->SignatureSize() == 0 && vb::InStr(strRecords, key) == 0) {
            EndOfRecords();
            intCurrentRecord = vb::CInt(double(intCurrentRecord) - 1);
            return;
        }
        if (vb::InStr(strRecords, key) == 0) {
            EndOfRecords();
            intCurrentRecord = vb::CInt(double(intCurrentRecord) - 1);
            return;
        }
        ShowRecord(intCurrentRecord, viewer::kNextScan);
    });
}

void Form2::cmdPrevious_Click() {
    EndClickSilentlyOnError([this] {
        intCurrentRecord = vb::CInt(double(intCurrentRecord) - 1);
        viewer::ResumeNextOn({vb::errObjectDisconnected}, [&] { Ondrate1->setDisplayActive(true); });
        // Before the first record the caption names record 1 again and nothing else changes.
        if (intCurrentRecord < 1) {
            ShowRecordCaption("1");
            intCurrentRecord = 1;
            return;
        }
        ShowRecord(intCurrentRecord, viewer::kPreviousScan);
    });
}

void Form2::cmdReturn_Click() {
    hide();
    if (frmQuillmaxSerial* console = app::Console()) console->show();
}

void Form2::closeEvent(QCloseEvent* event) {
    event->accept();
    if (vb::HasEnded()) return;
    vb::RunHandler([&] { Form_Unload(); });
}

// Closing the viewer with its close box shows the console; the window is unloaded.
void Form2::Form_Unload() {
    unloaded = true;
    if (frmQuillmaxSerial* console = app::Console()) console->show();
}
