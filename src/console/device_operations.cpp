// The console's buttons that lead elsewhere. The download lives in record_download.cpp, the data file
// upload in upload/data_upload.cpp, the viewer's load in viewer/record_file_load.cpp.
#include "console/console_window.h"
#include "editor/frm_korvani_upload_utility.h"

// "Create/&Edit File" loads the record data file editor and shows it modeless, without owner.
void frmQuillmaxSerial::Command1_Click() {
    ShowRecordEditor();
}
