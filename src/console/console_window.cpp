#include "console/console_window.h"

#include "app/globals.h"
#include "platform/handler.h"
#include "platform/program_end.h"

#include <QCloseEvent>
#include <QComboBox>
#include <QKeyEvent>
#include <QPushButton>

namespace {

struct ClickWiring {
    QPushButton* frmQuillmaxSerial::*button;
    void (frmQuillmaxSerial::*handler)();
};

constexpr ClickWiring kClicks[] = {
    {&frmQuillmaxSerial::cmdSearch, &frmQuillmaxSerial::cmdSearch_Click},
    {&frmQuillmaxSerial::cmdCancel, &frmQuillmaxSerial::cmdCancel_Click},
    {&frmQuillmaxSerial::Command1, &frmQuillmaxSerial::Command1_Click},
    {&frmQuillmaxSerial::Command3, &frmQuillmaxSerial::Command3_Click},
    {&frmQuillmaxSerial::cmdBrowse, &frmQuillmaxSerial::cmdBrowse_Click},
    {&frmQuillmaxSerial::cmdDownload, &frmQuillmaxSerial::cmdDownload_Click},
    {&frmQuillmaxSerial::cmdCustomerName, &frmQuillmaxSerial::cmdCustomerName_Click},
    {&frmQuillmaxSerial::cmdTitle, &frmQuillmaxSerial::cmdTitle_Click},
    {&frmQuillmaxSerial::cmdPassword, &frmQuillmaxSerial::cmdPassword_Click},
    {&frmQuillmaxSerial::cmdDateTime, &frmQuillmaxSerial::cmdDateTime_Click},
    {&frmQuillmaxSerial::cmdReset, &frmQuillmaxSerial::cmdReset_Click},
    {&frmQuillmaxSerial::cmdUploadData, &frmQuillmaxSerial::cmdUploadData_Click},
    {&frmQuillmaxSerial::cmdCancelUpload, &frmQuillmaxSerial::cmdCancelUpload_Click},
};

} // namespace

frmQuillmaxSerial::frmQuillmaxSerial() {
    CreateControls();
    WireHandlers();
    Form_Load();
}

frmQuillmaxSerial::~frmQuillmaxSerial() = default;

void frmQuillmaxSerial::WireHandlers() {
    for (const ClickWiring& wiring : kClicks)
        connect(this->*wiring.button, &QPushButton::clicked, this,
                [this, handler = wiring.handler] { vb::RunHandler([&] { (this->*handler)(); }); });
    // A list's Click comes from the mouse and from the arrow keys alike.
    connect(cboBaud, &QComboBox::activated, this, [this] { vb::RunHandler([&] { cboBaud_Click(); }); });
    connect(cboDownload, &QComboBox::activated, this,
            [this] { vb::RunHandler([&] { cboDownload_Click(); }); });
    connect(&MSComm1, &vb::MSComm::OnComm, this, [this] { vb::RunHandler([&] { MSComm1_OnComm(); }); });
    connect(Timer1, &vb::Timer::Tick, this, [this] { vb::RunHandler([&] { Timer1_Timer(); }); });
}

void frmQuillmaxSerial::Form_Load() {
    intComPort = 0;
    cmdCancelUpload->setEnabled(false);
    dblDelay = 750000;
    blnCancelDownload = false;
    blnCancelUpload = false;
    cmdUploadData->setEnabled(true);
    strInputItem.clear();
    strInputValue.clear();
}

QList<QPushButton*> frmQuillmaxSerial::DeviceButtons() const {
    return {cmdCustomerName, cmdTitle, cmdDateTime, cmdPassword, cmdReset, cmdUploadData, cmdDownload};
}

void frmQuillmaxSerial::ClosePortIfOpen() {
    if (MSComm1.PortOpen()) MSComm1.setPortOpen(false);
}

void frmQuillmaxSerial::cmdCancel_Click() {
    ClosePortIfOpen();
    vb::End();
}

// "Ca&ncel Download": its click has no effect, so a download cannot be cancelled.
void frmQuillmaxSerial::Command3_Click() {}

void frmQuillmaxSerial::cmdCancelUpload_Click() {
    blnCancelUpload = true;
}

void frmQuillmaxSerial::closeEvent(QCloseEvent* event) {
    event->accept();
    if (vb::HasEnded()) return;
    vb::RunHandler([&] {
        Form_QueryUnload();
        Form_Unload();
    });
}

// The close request closes the port and is never refused.
void frmQuillmaxSerial::Form_QueryUnload() {
    ClosePortIfOpen();
}

// Unloading the console ends the whole program, every other window with it.
void frmQuillmaxSerial::Form_Unload() {
    ClosePortIfOpen();
    vb::End();
}

void frmQuillmaxSerial::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape && event->modifiers() == Qt::NoModifier && cancelButton &&
        cancelButton->isEnabled()) {
        cancelButton->click();
        return;
    }
    QWidget::keyPressEvent(event);
}
