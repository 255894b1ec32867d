// The file dialog object on the real, non-native QFileDialog: filter pairs, filter index, the file name in
// and out, its title, and cancelling with and without CancelError.
#include "platform/common_dialog.h"
#include "platform/errors.h"
#include "support/error_of.h"
#include "support/modal_answerer.h"

#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QLineEdit>
#include <QTemporaryDir>
#include <QtTest>
#include <sys/stat.h>

using testing_support::ErrorOf;
using testing_support::ModalAnswerer;

namespace {

// What the test saw of the file dialog before answering it.
struct SeenDialog {
    bool nonNative = false;
    QFileDialog::AcceptMode mode = QFileDialog::AcceptOpen;
    QStringList filters;
    QString selectedFilter;
    bool confirmsOverwrite = true;
    Qt::WindowModality modality = Qt::NonModal;
};

} // namespace

class CommonDialogTest : public QObject {
    Q_OBJECT
private slots:
    void nameFilters_data();
    void nameFilters();
    void showOpenChoosesAFile();
    void folderWithANamedPipeDoesNotFreezeTheDialog();
    void startingFolderAndNameAreFileSystemNames();
    void filterIndexSelectsTheFilterAndFollowsTheChoice();
    void showSaveDoesNotAskBeforeOverwriting();
    void cancelWithCancelErrorRaises32755();
    void cancelWithoutCancelErrorKeepsTheFileName();

private:
    QTemporaryDir folder;
};

void CommonDialogTest::nameFilters_data() {
    QTest::addColumn<QString>("filter");
    QTest::addColumn<QStringList>("expected");
    QTest::newRow("text files") << "Text Files (*.txt)|*.txt" << QStringList{"Text Files (*.txt)"};
    QTest::newRow("vlm files") << "VLM Files (*.vlm)|*.vlm" << QStringList{"VLM Files (*.vlm)"};
    QTest::newRow("trailing bar") << "Text (*.txt)|*.txt|" << QStringList{"Text (*.txt)"};
    QTest::newRow("two pairs") << "VLM Files (*.vlm)|*.vlm|All Files (*.*)|*.*"
                               << QStringList{"VLM Files (*.vlm)", "All Files (*.*)"};
    QTest::newRow("description without patterns") << "Text|*.txt" << QStringList{"Text (*.txt)"};
    QTest::newRow("several patterns") << "Data|*.txt;*.dat" << QStringList{"Data (*.txt *.dat)"};
    // The pattern half decides what is listed, whatever the description shows.
    QTest::newRow("description showing other patterns")
        << "Logs (*.log)|*.log;*.txt" << QStringList{"Logs (*.log) (*.log *.txt)"};
    QTest::newRow("empty") << "" << QStringList{};
}

void CommonDialogTest::nameFilters() {
    QFETCH(QString, filter);
    QFETCH(QStringList, expected);
    QCOMPARE(vb::CommonDialog::NameFilters(filter.toStdString()), expected);
}

void CommonDialogTest::folderWithANamedPipeDoesNotFreezeTheDialog() {
    // A reader of a FIFO waits for a writer that never comes: the dialog must not read the files it lists.
    QVERIFY(mkfifo(folder.filePath("pipe.txt").toLocal8Bit().constData(), 0600) == 0);
    const QString path = folder.filePath("records.txt");
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.close();

    ModalAnswerer answerer;
    // The dialog lists the folder as soon as it shows, before the answer comes.
    answerer.chooseFile(path);
    vb::CommonDialog dialog;
    dialog.Filter = "Text Files (*.txt)|*.txt";
    dialog.InitDir = folder.path().toStdString();
    dialog.ShowOpen();
    QCOMPARE(QString::fromStdString(dialog.FileName), path);
    QCOMPARE(answerer.pending(), 0);
}

void CommonDialogTest::startingFolderAndNameAreFileSystemNames() {
    const QString inner = folder.filePath(QString::fromUtf8("Mü€"));
    QVERIFY(QDir().mkpath(inner));
    QString shownFolder, shownName;
    ModalAnswerer answerer;
    answerer.handle([&](QWidget* window) {
        auto* dialog = qobject_cast<QFileDialog*>(window);
        shownFolder = dialog->directory().absolutePath();
        shownName = dialog->selectedFiles().value(0);
        dialog->reject();
    });
    vb::CommonDialog dialog;
    dialog.InitDir = QFile::encodeName(inner).toStdString();
    dialog.FileName = QFile::encodeName(inner + QString::fromUtf8("/Zoë.txt")).toStdString();
    dialog.ShowSave();
    QCOMPARE(shownFolder, inner);
    QCOMPARE(shownName, inner + QString::fromUtf8("/Zoë.txt"));
}

void CommonDialogTest::showOpenChoosesAFile() {
    const QString path = folder.filePath("records.txt");
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.close();

    ModalAnswerer answerer;
    answerer.chooseFile(path);
    vb::CommonDialog dialog;
    dialog.Filter = "Text Files (*.txt)|*.txt";
    dialog.FilterIndex = 1;
    dialog.CancelError = true;
    QCOMPARE(ErrorOf([&] { dialog.ShowOpen(); }), std::int64_t(0));
    QCOMPARE(QString::fromStdString(dialog.FileName), path);
    QCOMPARE(dialog.FileTitle, std::string("records.txt"));
    QCOMPARE(answerer.fileDialogs.size(), 1);
}

void CommonDialogTest::filterIndexSelectsTheFilterAndFollowsTheChoice() {
    const QString path = folder.filePath("second.vlm");
    ModalAnswerer answerer;
    SeenDialog seen;
    answerer.handle([&seen, path](QWidget* widget) {
        auto* dialog = qobject_cast<QFileDialog*>(widget);
        QVERIFY(dialog);
        seen.nonNative = dialog->testOption(QFileDialog::DontUseNativeDialog);
        seen.mode = dialog->acceptMode();
        seen.filters = dialog->nameFilters();
        seen.selectedFilter = dialog->selectedNameFilter();
        seen.modality = dialog->windowModality();
        testing_support::ChooseInDialog(dialog, path);
    });
    vb::CommonDialog dialog;
    dialog.Filter = "Text Files (*.txt)|*.txt|VLM Files (*.vlm)|*.vlm";
    dialog.FilterIndex = 2;
    dialog.ShowOpen();
    QVERIFY(seen.nonNative);
    QCOMPARE(seen.mode, QFileDialog::AcceptOpen);
    QCOMPARE(seen.filters, QStringList({"Text Files (*.txt)", "VLM Files (*.vlm)"}));
    QCOMPARE(seen.selectedFilter, QString("VLM Files (*.vlm)"));
    QCOMPARE(seen.modality, Qt::ApplicationModal);
    QCOMPARE(dialog.FilterIndex, 2);
    QCOMPARE(QString::fromStdString(dialog.FileName), path);
    QCOMPARE(dialog.FileTitle, std::string("second.vlm"));
}

void CommonDialogTest::showSaveDoesNotAskBeforeOverwriting() {
    const QString path = folder.filePath("existing.vlm");
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.close();
    ModalAnswerer answerer;
    SeenDialog seen;
    answerer.handle([&seen, path](QWidget* widget) {
        auto* dialog = qobject_cast<QFileDialog*>(widget);
        QVERIFY(dialog);
        seen.nonNative = dialog->testOption(QFileDialog::DontUseNativeDialog);
        seen.mode = dialog->acceptMode();
        seen.confirmsOverwrite = !dialog->testOption(QFileDialog::DontConfirmOverwrite);
        testing_support::ChooseInDialog(dialog, path);
    });
    vb::CommonDialog dialog;
    dialog.Filter = "VLM Files (*.vlm)|*.vlm";
    dialog.FilterIndex = 1;
    dialog.ShowSave();
    QVERIFY(seen.nonNative);
    QCOMPARE(seen.mode, QFileDialog::AcceptSave);
    QVERIFY(!seen.confirmsOverwrite);
    QVERIFY(answerer.unexpected.isEmpty()); // no overwrite question came up
    QCOMPARE(QString::fromStdString(dialog.FileName), path);
    QCOMPARE(dialog.FileTitle, std::string("existing.vlm"));
}

void CommonDialogTest::cancelWithCancelErrorRaises32755() {
    ModalAnswerer answerer;
    answerer.cancelFileDialog();
    vb::CommonDialog dialog;
    dialog.Filter = "Text Files (*.txt)|*.txt";
    dialog.CancelError = true;
    dialog.FileName = "/before/cancel.txt";
    QCOMPARE(ErrorOf([&] { dialog.ShowSave(); }), std::int64_t(32755));
    QCOMPARE(dialog.FileName, std::string("/before/cancel.txt"));
    QCOMPARE(answerer.fileDialogs.size(), 1);
}

void CommonDialogTest::cancelWithoutCancelErrorKeepsTheFileName() {
    ModalAnswerer answerer;
    answerer.cancelFileDialog();
    vb::CommonDialog dialog;
    dialog.Filter = "Text Files (*.txt)|*.txt";
    QCOMPARE(ErrorOf([&] { dialog.ShowOpen(); }), std::int64_t(0));
    QCOMPARE(dialog.FileName, std::string()); // the caller sees the cancel as an empty name
    QCOMPARE(answerer.fileDialogs.size(), 1);
}

QTEST_MAIN(CommonDialogTest)
#include "tst_common_dialog.moc"
