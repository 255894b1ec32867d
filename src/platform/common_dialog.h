// The file dialog object the program's handlers configure and show: Filter ("Text Files (*.txt)|*.txt",
// description and pattern pairs joined by "|"), FilterIndex (1-based), CancelError (cancel raises 32755),
// FileName (full path, in and out), FileTitle (the chosen name without its folder).
// It shows a non-native, modal QFileDialog. The Open dialog accepts a name that does not exist yet (the
// caller decides what a missing file means); the Save dialog does not ask before overwriting.
#pragma once

#include <QStringList>
#include <string>

namespace vb {

class CommonDialog {
public:
    std::string Filter;
    int FilterIndex = 1;
    bool CancelError = false;
    std::string FileName;
    std::string FileTitle;
    std::string DialogTitle;
    std::string InitDir;

    void ShowOpen();
    void ShowSave();

    // The Qt name filters of a classic filter text ("Text Files (*.txt)|*.txt" -> "Text Files (*.txt)").
    static QStringList NameFilters(const std::string& filter);

private:
    void Show(bool save);
};

} // namespace vb
