#include "platform/common_dialog.h"

#include "platform/errors.h"
#include "platform/vb_text.h"

#include <QApplication>
#include <QFile>
#include <QFileDialog>
#include <QFileIconProvider>
#include <QFileInfo>

namespace vb {

namespace {

// Icons and type names from the name alone. Qt's own provider reads the first bytes of every file in the
// folder shown to tell its type, and such a read never returns on a FIFO or a serial device: the dialog
// would freeze in a folder that holds one (a ports folder, a folder with a named pipe).
class NameOnlyIconProvider : public QFileIconProvider {
public:
    QIcon icon(const QFileInfo& info) const override {
        return QFileIconProvider::icon(info.isDir() ? QFileIconProvider::Folder : QFileIconProvider::File);
    }
    QIcon icon(IconType type) const override { return QFileIconProvider::icon(type); }
    QString type(const QFileInfo& info) const override {
        if (info.isDir()) return QStringLiteral("Folder");
        const QString suffix = info.suffix();
        return suffix.isEmpty() ? QStringLiteral("File") : suffix.toUpper() + QStringLiteral(" File");
    }
};

} // namespace

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
    static NameOnlyIconProvider iconProvider;
    dialog.setIconProvider(&iconProvider);
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
    if (!InitDir.empty()) dialog.setDirectory(FileNameText(InitDir));
    if (!FileName.empty()) dialog.selectFile(FileNameText(FileName));
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
