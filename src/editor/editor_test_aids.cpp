// The editor's hidden test buttons and the text file they use.
//
// The file is "aatext.txt" in the user's home folder ($HOME): the one fixed place every user of the tool
// can write to, where the design used the root of the system drive. Tests point HOME at a temporary folder.
#include "editor/frm_korvani_upload_utility.h"
#include "platform/file_system.h"
#include "platform/msgbox.h"

#include <QDir>
#include <QFile>

std::string frmKorvaniUploadUtility::AatextPath() {
    return QFile::encodeName(QDir::homePath() + "/aatext.txt").toStdString();
}

void frmKorvaniUploadUtility::WriteTestText() {
    // Three rounds, each appending its line twice and then a line holding a single LF.
    for (const char* text : {"This is text", "This is text again", "This is text again yet again"}) {
        vb::SequentialOutput file(AatextPath(), vb::SequentialOutput::Append);
        file.PrintLine(text);
        file.PrintLine(text);
        file.PrintLine("\n");
        file.Close();
    }
}

void frmKorvaniUploadUtility::LoadNums() {
    for (int field = 0; field <= editor::kInfo4Field; ++field)
        SetBoxText(field, std::to_string(field + 1));
}

void frmKorvaniUploadUtility::ShowTestText() {
    table.FilePathName = AatextPath();
    vb::SequentialInput file(table.FilePathName);
    for (int line = 1; line <= 10; ++line)
        vb::MsgBox(file.LineInput(), vb::vbOKOnly, vb::kApplicationTitle);
    file.Close();
}
