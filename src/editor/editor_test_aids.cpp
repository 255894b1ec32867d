// The editor's hidden test buttons and the text file they use.
//
// The file is "aatext.txt" in the user's home folder ($HOME), the place the tool uses where a fixed
// drive root would be used on a single-user desktop; tests point HOME at a temporary folder.
#include "editor/frm_korvani_upload_utility.h"
#include "platform/errors.h"
#include "platform/msgbox.h"
#include "platform/vb_text.h"

#include <QDir>
#include <QFile>

namespace {

// Appends `lines`, each followed by CR LF.
void AppendLines(const std::string& path, std::initializer_list<std::string> lines) {
    QFile file(vb::ToQString(path));
    if (!file.open(QIODevice::WriteOnly | QIODevice::Append))
        vb::Raise(vb::errPathNotFound);
    for (const std::string& line : lines) {
        const std::string withEnd = line + "\r\n";
        file.write(withEnd.data(), qint64(withEnd.size()));
    }
}

// The first `count` lines of a text file; a line ends at CR or CR LF. Too few lines raise error 62,
// a missing file error 53.
std::vector<std::string> FirstLines(const std::string& path, int count) {
    QFile file(vb::ToQString(path));
    if (!file.open(QIODevice::ReadOnly))
        vb::Raise(vb::errFileNotFound);
    const QByteArray bytes = file.readAll();
    std::vector<std::string> lines;
    qsizetype at = 0;
    while (int(lines.size()) < count) {
        if (at >= bytes.size())
            vb::Raise(vb::errInputPastEndOfFile);
        qsizetype end = bytes.indexOf('\r', at);
        if (end < 0)
            end = bytes.size();
        lines.emplace_back(bytes.constData() + at, std::size_t(end - at));
        at = end + 1;
        if (at < bytes.size() && bytes[at] == '\n')
            ++at;
    }
    return lines;
}

} // namespace

std::string frmKorvaniUploadUtility::AatextPath() { return vb::FromQString(QDir::homePath() + "/aatext.txt"); }

void frmKorvaniUploadUtility::WriteTestText() {
    for (const char* text : {"This is text", "This is text again", "This is text again yet again"})
        AppendLines(AatextPath(), {text, text, "\n"});
}

void frmKorvaniUploadUtility::LoadNums() {
    for (int field = 0; field <= editor::kInfo4Field; ++field)
        SetBoxText(field, std::to_string(field + 1));
}

void frmKorvaniUploadUtility::ShowTestText() {
    table.FilePathName = AatextPath();
    for (const std::string& line : FirstLines(table.FilePathName, 10))
        vb::MsgBox(line, vb::vbOKOnly, vb::kApplicationTitle);
}
