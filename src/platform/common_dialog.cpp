#include "platform/common_dialog.h"

#include "platform/errors.h"
#include "platform/vb_text.h"

#include <QApplication>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>

namespace vb {

QStringList CommonDialog::NameFilters(const std::string& filter) {
    // "Description|pattern|Description|pattern|": pairs; a trailing "|" ends the list.
    const QStringList parts = ToQString(filter).split('|');
    QStringList filters;
    for (qsizetype i = 0; i + 1 < parts.size(); i += 2) {
        const QString description = parts[i];
        QString patterns = parts[i + 1];
        patterns.replace(';', ' ');
        if (description.isEmpty() && patterns.isEmpty()) continue;
        // Qt lists what the last "(...)" names; a description that already ends in the patterns is kept.
        const bool showsPatterns = description.endsWith("(" + patterns + ")");
        filters << (showsPatterns ? description : description + " (" + patterns + ")");
    }
    return filters;
}

void CommonDialog::ShowOpen() {
    Show(false);
}

void CommonDialog::ShowSave() {
    Show(true);
}

void CommonDialog::Show(bool save) {
    QFileDialog dialog(QApplication::activeWindow());
    dialog.setOption(QFileDialog::DontUseNativeDialog, true);
    dialog.setWindowTitle(DialogTitle.empty() ? QString(save ? "Save As" : "Open") : ToQString(DialogTitle));
    dialog.setAcceptMode(save ? QFileDialog::AcceptSave : QFileDialog::AcceptOpen);
    // The caller decides what a name that does not exist means, and whether to overwrite.
    dialog.setFileMode(QFileDialog::AnyFile);
    dialog.setOption(QFileDialog::DontConfirmOverwrite, true);
    const QStringList filters = NameFilters(Filter);
    if (!filters.isEmpty()) {
        dialog.setNameFilters(filters);
        if (FilterIndex >= 1 && FilterIndex <= filters.size())
            dialog.selectNameFilter(filters[FilterIndex - 1]);
    }
    if (!InitDir.empty()) dialog.setDirectory(ToQString(InitDir));
    if (!FileName.empty()) dialog.selectFile(ToQString(FileName));
    dialog.setWindowModality(Qt::ApplicationModal);

    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) {
        if (CancelError) Raise(errDialogCancelled);
        return;
    }
    // File names are bytes in the system's file-name encoding, not text of the program's code page.
    const QString chosen = dialog.selectedFiles().constFirst();
    FileName = QFile::encodeName(chosen).toStdString();
    FileTitle = QFile::encodeName(QFileInfo(chosen).fileName()).toStdString();
    const int index = int(filters.indexOf(dialog.selectedNameFilter()));
    if (index >= 0) FilterIndex = index + 1;
}

} // namespace vb
