// The console's buttons that lead elsewhere. The download, the viewer and the upload announce that they
// have started; their work is done behind these entry points.
#include "console/console_window.h"
#include "editor/frm_korvani_upload_utility.h"

void frmQuillmaxSerial::cmdDownload_Click() {
    emit deviceOperationStarted("cmdDownload_Click");
}

void frmQuillmaxSerial::cmdBrowse_Click() {
    emit deviceOperationStarted("cmdBrowse_Click");
}

void frmQuillmaxSerial::cmdUploadData_Click() {
    emit deviceOperationStarted("cmdUploadData_Click");
}

// "Create/&Edit File" loads the record data file editor and shows it modeless, without owner.
void frmQuillmaxSerial::Command1_Click() {
    ShowRecordEditor();
}
