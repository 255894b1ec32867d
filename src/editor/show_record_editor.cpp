// The single record editor the console opens with "Create/&Edit File".
#include "editor/frm_korvani_upload_utility.h"

#include <QPointer>

void ShowRecordEditor() {
    static QPointer<frmKorvaniUploadUtility> editor;
    // A closed editor is unloaded (and deleted soon); the next call loads a fresh one.
    if (!editor || editor->Unloaded()) editor = new frmKorvaniUploadUtility();
    editor->show();
    editor->raise();
    editor->activateWindow();
}
