// The console's buttons that lead elsewhere. Each device operation's handler announces that it has
// started; the download, the viewer, the settings commands, the reset and the upload do their work behind
// these entry points.
#include "console/console_window.h"
#include "editor/frm_korvani_upload_utility.h"

void frmQuillmaxSerial::cmdDownload_Click() {
    emit deviceOperationStarted("cmdDownload_Click");
}

void frmQuillmaxSerial::cmdBrowse_Click() {
    emit deviceOperationStarted("cmdBrowse_Click");
}

void frmQuillmaxSerial::cmdCustomerName_Click() {
    emit deviceOperationStarted("cmdCustomerName_Click");
}

void frmQuillmaxSerial::cmdTitle_Click() {
    emit deviceOperationStarted("cmdTitle_Click");
}

void frmQuillmaxSerial::cmdPassword_Click() {
    emit deviceOperationStarted("cmdPassword_Click");
}

void frmQuillmaxSerial::cmdDateTime_Click() {
    emit deviceOperationStarted("cmdDateTime_Click");
}

void frmQuillmaxSerial::cmdReset_Click() {
    emit deviceOperationStarted("cmdReset_Click");
}

void frmQuillmaxSerial::cmdUploadData_Click() {
    emit deviceOperationStarted("cmdUploadData_Click");
}

// "Create/&Edit File" loads the record data file editor and shows it modeless, without owner.
void frmQuillmaxSerial::Command1_Click() {
    ShowRecordEditor();
}
