// The editor's file actions through the real window: New, Open, the file name dialog, Commit, Close,
// Back to Main Menu, with every question they ask answered as a user would and the files checked byte
// for byte.
#include "tst_editor_support.h"

#include <QDir>
#include <QFileInfo>

using namespace editor_tests;

class EditorFileActionsTest : public QObject {
    Q_OBJECT

    QTemporaryDir dir;
    frmKorvaniUploadUtility* editor = nullptr;

    QString PathOf(const QString& name) const { return dir.filePath(name); }

    void OpenWithDialog(ModalAnswerer& answerer, const QString& path) {
        ChooseFile(answerer, path);
        Click(editor, "cmdOpen");
    }

    // New, the required fields typed, and Commit with a chosen file name.
    void CreateOneRecordFile(ModalAnswerer& answerer, const QString& path, const QString& name) {
        Click(editor, "cmdNew");
        Type(editor, 0, name);
        Type(editor, 8, "Info");
        answerer.pressInBox(QMessageBox::Yes);
        ChooseFile(answerer, path);
        Click(editor, "cmdCommitRecord");
    }

private slots:
    void initTestCase() {
        QVERIFY(dir.isValid());
        qputenv("HOME", dir.path().toLocal8Bit());
    }
    void init() {
        editor = OpenFreshEditor();
        QVERIFY(editor);
    }
    void cleanupTestCase() { UnloadEditor(); }

    void newFileStartsWithOneBlankRecord() {
        ModalAnswerer answerer;
        Click(editor, "cmdNew");
        QCOMPARE(editor->table.RecordCount, short(1));
        QCOMPARE(editor->table.CurrentRecord, short(1));
        QCOMPARE(LabelText(editor, "lblRecNum2"), QString("1"));
        QVERIFY(editor->table.RecordsChanged);
        QVERIFY(editor->table.FileChangedReserved);
        QVERIFY(!editor->table.FileLoaded);
        QVERIFY(Enabled(editor, "cmdUpdaterecord"));
        QVERIFY(Enabled(editor, "cmdCommitRecord"));
        for (int field = 0; field < 111; ++field) {
            QVERIFY(Box(editor, field)->isEnabled());
            QCOMPARE(BoxText(editor, field), QString());
        }
        QVERIFY(editor->table.FilePathName.empty()); // no name asked for yet
        QVERIFY(answerer.boxes.isEmpty());
        QVERIFY(answerer.fileDialogs.isEmpty());
    }

    void newThenCommitAsksForANameAndWritesOneBlankRecord() {
        ModalAnswerer answerer;
        Click(editor, "cmdNew");
        answerer.pressInBox(QMessageBox::Yes);
        ChooseFile(answerer, PathOf("blank"));
        Click(editor, "cmdCommitRecord");
        QCOMPARE(answerer.boxes.size(), 1);
        QVERIFY(BoxIs(answerer.boxes[0], kPathNeededTitle, kPathNeeded, QMessageBox::NoIcon, kYesNo));
        QCOMPARE(answerer.fileDialogs.size(), 1);
        const QString written = PathOf("blank.txt");
        QCOMPARE(ReadBytes(written), QByteArray("\r\n").repeated(112));
        QCOMPARE(QString::fromStdString(editor->table.FilePathName), written);
        QCOMPARE(Control<QLineEdit>(editor, "txtSavePath")->text(), written);
        // The written blank Note and Info 4 are kept as single spaces in the table.
        QCOMPARE(editor->table.records[6][0], std::string(" "));
        QCOMPARE(editor->table.records[11][0], std::string(" "));
        QVERIFY(!editor->table.RecordsChanged);
        QVERIFY(answerer.unexpected.isEmpty());
    }

    void answeringNoToTheNameQuestionWritesNothing() {
        ModalAnswerer answerer;
        Click(editor, "cmdNew");
        const QStringList before = QDir(dir.path()).entryList(QDir::Files);
        answerer.pressInBox(QMessageBox::No);
        Click(editor, "cmdCommitRecord");
        QCOMPARE(answerer.boxes.size(), 1);
        QVERIFY(answerer.fileDialogs.isEmpty());
        QVERIFY(editor->table.FilePathName.empty());
        QVERIFY(editor->table.RecordsChanged);
        QCOMPARE(QDir(dir.path()).entryList(QDir::Files), before);
        QVERIFY(answerer.unexpected.isEmpty());
    }

    void cancellingTheSaveDialogWritesNothing() {
        ModalAnswerer answerer;
        Click(editor, "cmdNew");
        answerer.pressInBox(QMessageBox::Yes);
        answerer.cancelFileDialog();
        const QStringList before = QDir(dir.path()).entryList(QDir::Files);
        Click(editor, "cmdCommitRecord");
        QVERIFY(answerer.waitUntilAnswered());
        QCOMPARE(QDir(dir.path()).entryList(QDir::Files), before);
        QVERIFY(editor->table.DialogCancelled);
        QVERIFY(editor->table.FilePathName.empty());
        // Creating a file without a name is an invalid call, which ends Commit before it enables Add.
        QVERIFY(!Enabled(editor, "cmdWriteTextToFile"));
        QVERIFY(answerer.unexpected.isEmpty());
    }

    void theOpenAfterACancelledSaveDialogEndsOnThatCancel() {
        // Commit's cancelled dialog leaves DialogCancelled set; only Open and Close clear it. So the next
        // Open shows its dialog, then finds the old cancel, clears it and stops without reading.
        ModalAnswerer answerer;
        Click(editor, "cmdNew");
        answerer.pressInBox(QMessageBox::Yes);
        answerer.cancelFileDialog();
        Click(editor, "cmdCommitRecord");
        QVERIFY(answerer.waitUntilAnswered());
        QVERIFY(editor->table.DialogCancelled);

        const QString path = PathOf("after-cancel.txt");
        QVERIFY(WriteBytes(path, FileBytes(NumberedRecords(2))));
        answerer.pressInBox(QMessageBox::No); // the new blank record is not saved
        ChooseFile(answerer, path);
        Click(editor, "cmdOpen");
        QCOMPARE(answerer.boxes.size(), 2);
        QVERIFY(BoxIs(answerer.boxes[1], kSaveChanges, kSaveBeforeOpen, QMessageBox::Question, kYesNo));
        QCOMPARE(answerer.fileDialogs.size(), 2);
        QVERIFY(!editor->table.DialogCancelled);
        QVERIFY(!editor->table.FileLoaded);
        QCOMPARE(BoxText(editor, 0), QString());
        QCOMPARE(QString::fromStdString(editor->table.FilePathName), path); // the name was taken

        // The next Open reads the file.
        ChooseFile(answerer, path);
        Click(editor, "cmdOpen");
        QVERIFY(editor->table.FileLoaded);
        QCOMPARE(editor->table.RecordCount, short(2));
        QCOMPARE(BoxText(editor, 0), QString("Name 1"));
        QCOMPARE(answerer.boxes.size(), 2);
        QVERIFY(answerer.unexpected.isEmpty());
    }

    void typedNameWithoutExtensionGetsTxt() {
        ModalAnswerer answerer;
        CreateOneRecordFile(answerer, PathOf("clients"), "Cy");
        QVERIFY(QFileInfo::exists(PathOf("clients.txt")));
        QVERIFY(!QFileInfo::exists(PathOf("clients")));
        QCOMPARE(QString::fromStdString(editor->table.FilePathName), PathOf("clients.txt"));
        QCOMPARE(ReadBytes(PathOf("clients.txt")), FileBytes({MakeRecord("Cy", "Info")}));
    }

    void nameEndingInTxtInAnyCaseIsKeptAsTyped_data() {
        QTest::addColumn<QString>("typed");
        QTest::newRow("upper extension") << "upper.TXT";
        QTest::newRow("mixed, no dot") << "recordsTxT";
        QTest::newRow("lower") << "plain.txt";
    }
    void nameEndingInTxtInAnyCaseIsKeptAsTyped() {
        QFETCH(QString, typed);
        ModalAnswerer answerer;
        CreateOneRecordFile(answerer, PathOf(typed), "Di");
        QCOMPARE(QString::fromStdString(editor->table.FilePathName), PathOf(typed));
        QCOMPARE(ReadBytes(PathOf(typed)), FileBytes({MakeRecord("Di", "Info")}));
        QVERIFY(!QFileInfo::exists(PathOf(typed + ".txt")));
    }

    void openShowsRecordOneAndEnablesTheRecordActions() {
        const QString path = PathOf("three.txt");
        QVERIFY(WriteBytes(path, FileBytes(NumberedRecords(3))));
        ModalAnswerer answerer;
        OpenWithDialog(answerer, path);
        QCOMPARE(answerer.fileDialogs.size(), 1);
        QCOMPARE(editor->table.RecordCount, short(3));
        QCOMPARE(editor->table.CurrentRecord, short(1));
        QVERIFY(editor->table.FileLoaded);
        QCOMPARE(BoxText(editor, 0), QString("Name 1"));
        QCOMPARE(BoxText(editor, 12), QString("F1"));
        QCOMPARE(LabelText(editor, "lblRecNum2"), QString("1"));
        QCOMPARE(GoToBox(editor)->count(), 3);
        QCOMPARE(GoToBox(editor)->currentText(), QString("1"));
        QCOMPARE(Control<QLineEdit>(editor, "txtSavePath")->text(), path);
        for (const char* name : {"Command3", "Command4", "cmdWriteTextToFile", "cmdCommitRecord",
                                 "cmdDeleteRecord", "cmdUpdaterecord", "cboGoToRecord"})
            QVERIFY2(Enabled(editor, name), name);
        for (const char* name : {"cmdCancelAdd", "cmdFirst", "Command2"})
            QVERIFY2(!Enabled(editor, name), name);
        QVERIFY(answerer.boxes.isEmpty());
    }

    void openingAZeroByteFileGivesNoRecordsAndEnablesTheActions() {
        const QString path = PathOf("empty.txt");
        QVERIFY(WriteBytes(path, QByteArray()));
        ModalAnswerer answerer;
        OpenWithDialog(answerer, path);
        QCOMPARE(editor->table.RecordCount, short(0));
        QVERIFY(editor->table.FileLoaded);
        QVERIFY(answerer.boxes.isEmpty());
        for (const char* name : {"Command3", "Command4", "cmdWriteTextToFile", "cmdCommitRecord",
                                 "cmdDeleteRecord", "cmdUpdaterecord"})
            QVERIFY2(Enabled(editor, name), name);
        QVERIFY(Box(editor, 0)->isEnabled());
        QCOMPARE(GoToBox(editor)->count(), 0);
    }

    void openingAFileWithoutItsFinalEmptyLineSaysNoRecords() {
        const QString path = PathOf("short.txt");
        QByteArray bytes = FileBytes(NumberedRecords(1));
        bytes.chop(2); // 111 lines: the separator line is missing
        QVERIFY(WriteBytes(path, bytes));
        ModalAnswerer answerer;
        ChooseFile(answerer, path);
        answerer.pressInBox(QMessageBox::Ok);
        Click(editor, "cmdOpen");
        QCOMPARE(answerer.boxes.size(), 1);
        QVERIFY(BoxIs(answerer.boxes[0], kNoRecordsTitle, path + kNoRecordsTail, QMessageBox::NoIcon, kOk));
        QCOMPARE(editor->table.RecordCount, short(0));
        QVERIFY(!editor->table.FileLoaded);
        QCOMPARE(BoxText(editor, 0), QString()); // the boxes are not filled
        QCOMPARE(GoToBox(editor)->count(), 0);
        QCOMPARE(GoToBox(editor)->currentText(), QString());
        for (const char* name : {"cmdFirst", "Command2", "Command3", "Command4", "cmdDeleteRecord",
                                 "cmdWriteTextToFile", "cboGoToRecord", "Label1"})
            QVERIFY2(Enabled(editor, name), name); // EnableNavigation
        QVERIFY(answerer.unexpected.isEmpty());
    }

    void cancellingTheOpenDialogLeavesNoFile() {
        ModalAnswerer answerer;
        answerer.cancelFileDialog();
        Click(editor, "cmdOpen");
        QVERIFY(answerer.waitUntilAnswered());
        QVERIFY(!editor->table.DialogCancelled); // seen and cleared by Open
        QVERIFY(!editor->table.FileLoaded);
        QVERIFY(editor->table.FilePathName.empty());
        QCOMPARE(Control<QLineEdit>(editor, "txtSavePath")->text(), QString());
        QCOMPARE(editor->table.RecordCount, short(0));
        for (int field = 0; field < 112; ++field)
            for (int record = 0; record < 101; ++record)
                QVERIFY(editor->table.records[field][record].empty());
        QVERIFY(!Box(editor, 0)->isEnabled());
        QVERIFY(answerer.boxes.isEmpty());
    }

    void openingAMissingFileOffersToCreateIt() {
        const QString path = PathOf("fresh.txt");
        QFile::remove(path);
        ModalAnswerer answerer;
        ChooseFile(answerer, path);
        answerer.pressInBox(QMessageBox::Yes);
        answerer.pressInBox(QMessageBox::Ok);
        Click(editor, "cmdOpen");
        QCOMPARE(answerer.boxes.size(), 2);
        QVERIFY(BoxIs(answerer.boxes[0], kNotExistTitle, kNotExist, QMessageBox::NoIcon, kYesNo));
        QVERIFY(BoxIs(answerer.boxes[1], kCreatedTitle, kCreated, QMessageBox::Information, kOk));
        QVERIFY(QFileInfo::exists(path));
        QCOMPARE(QFileInfo(path).size(), 0);
        QVERIFY(Enabled(editor, "cmdWriteTextToFile"));
        QVERIFY(Enabled(editor, "Label1"));
        QVERIFY(answerer.unexpected.isEmpty());
    }

    void refusingToCreateTheMissingFileCreatesNothing() {
        const QString path = PathOf("never.txt");
        ModalAnswerer answerer;
        ChooseFile(answerer, path);
        answerer.pressInBox(QMessageBox::No);
        Click(editor, "cmdOpen");
        QCOMPARE(answerer.boxes.size(), 1);
        QVERIFY(!QFileInfo::exists(path));
        QVERIFY(!Enabled(editor, "cmdWriteTextToFile"));
        QVERIFY(answerer.unexpected.isEmpty());
    }

    void commitOfMoreThan100RecordsIsRefused() {
        const QString path = PathOf("hundred-one.txt");
        const QByteArray bytes = FileBytes(NumberedRecords(101));
        QVERIFY(WriteBytes(path, bytes));
        ModalAnswerer answerer;
        OpenWithDialog(answerer, path);
        QCOMPARE(editor->table.RecordCount, short(101));
        answerer.pressInBox(QMessageBox::Ok);
        Click(editor, "cmdCommitRecord");
        QCOMPARE(answerer.boxes.size(), 1);
        QVERIFY(BoxIs(answerer.boxes[0], "Cannot Save File", kMaximum, QMessageBox::Information, kOk));
        QCOMPARE(ReadBytes(path), bytes);
    }

    void commitRewritesTheOpenFile() {
        const QString path = PathOf("rewrite.txt");
        QVERIFY(WriteBytes(path, FileBytes(NumberedRecords(2))));
        ModalAnswerer answerer;
        OpenWithDialog(answerer, path);
        Retype(editor, 0, "  Padded  ");
        Click(editor, "cmdUpdaterecord");
        Click(editor, "cmdCommitRecord");
        std::vector<Record> expected = NumberedRecords(2);
        expected[0][0] = "Padded"; // written without the surrounding spaces
        QCOMPARE(ReadBytes(path), FileBytes(expected));
        QCOMPARE(editor->table.records[0][0], std::string("  Padded  ")); // the table keeps them
        QVERIFY(!editor->table.RecordEdited && !editor->table.RecordsChanged);
        QVERIFY(answerer.boxes.isEmpty());
    }

    void commitRecreatesAFileDeletedMeanwhile() {
        const QString path = PathOf("gone.txt");
        QVERIFY(WriteBytes(path, FileBytes(NumberedRecords(1))));
        ModalAnswerer answerer;
        OpenWithDialog(answerer, path);
        QVERIFY(QFile::remove(path));
        answerer.pressInBox(QMessageBox::Yes);
        Click(editor, "cmdCommitRecord");
        QCOMPARE(answerer.boxes.size(), 1);
        QVERIFY(BoxIs(answerer.boxes[0], kNotExistTitle, kNotExist, QMessageBox::NoIcon, kYesNo));
        QCOMPARE(ReadBytes(path), FileBytes(NumberedRecords(1)));

        QVERIFY(QFile::remove(path));
        answerer.pressInBox(QMessageBox::No);
        Click(editor, "cmdCommitRecord");
        QCOMPARE(answerer.boxes.size(), 2);
        QVERIFY(!QFileInfo::exists(path));
    }

    void commitIntoAMissingFolderEndsSilently() {
        ModalAnswerer answerer;
        Click(editor, "cmdNew");
        Type(editor, 0, "X");
        Type(editor, 8, "Y");
        answerer.pressInBox(QMessageBox::Yes);
        ChooseFile(answerer, PathOf("no-such-folder/file.txt"));
        Click(editor, "cmdCommitRecord");
        QVERIFY(answerer.waitUntilAnswered());
        QCOMPARE(answerer.boxes.size(), 1); // only the name question, no error message
        QVERIFY(!QFileInfo::exists(PathOf("no-such-folder/file.txt")));
        QVERIFY(Enabled(editor, "cmdWriteTextToFile"));
        QVERIFY(answerer.unexpected.isEmpty());
    }

    void closeFileAsksAboutAnEditedRecord() {
        const QString path = PathOf("close-edit.txt");
        QVERIFY(WriteBytes(path, FileBytes(NumberedRecords(2))));
        ModalAnswerer answerer;
        OpenWithDialog(answerer, path);
        Type(editor, 8, "+");
        answerer.pressInBox(QMessageBox::Yes);
        Click(editor, "cmdCloseFile");
        QCOMPARE(answerer.boxes.size(), 1);
        QVERIFY(BoxIs(answerer.boxes[0], kRecordChangeTitle, kRecordChange, QMessageBox::Question, kYesNo));
        std::vector<Record> expected = NumberedRecords(2);
        expected[0][8] += "+";
        QCOMPARE(ReadBytes(path), FileBytes(expected));

        // Closed: no file, empty disabled boxes, the file and record actions disabled.
        QVERIFY(editor->table.FilePathName.empty());
        QCOMPARE(Control<QLineEdit>(editor, "txtSavePath")->text(), QString());
        QCOMPARE(LabelText(editor, "lblRecNum2"), QString());
        QCOMPARE(editor->table.RecordCount, short(0));
        QCOMPARE(editor->table.CurrentRecord, short(0));
        QCOMPARE(GoToBox(editor)->count(), 0);
        QVERIFY(!Box(editor, 0)->isEnabled());
        QCOMPARE(BoxText(editor, 0), QString());
        for (const char* name :
             {"cmdCommitRecord", "cmdDeleteRecord", "cmdUpdaterecord", "cmdWriteTextToFile", "cmdCancelAdd",
              "cmdFirst", "Command2", "Command3", "Command4"})
            QVERIFY2(!Enabled(editor, name), name);
        QVERIFY(!editor->table.FileLoaded && !editor->table.RecordEdited && !editor->table.RecordsChanged);
        QVERIFY(editor->table.records[0][0].empty());
    }

    void closeFileAnsweredNoKeepsTheFile() {
        const QString path = PathOf("close-no.txt");
        QVERIFY(WriteBytes(path, FileBytes(NumberedRecords(2))));
        ModalAnswerer answerer;
        OpenWithDialog(answerer, path);
        Type(editor, 8, "+");
        answerer.pressInBox(QMessageBox::No);
        Click(editor, "cmdCloseFile");
        QCOMPARE(answerer.boxes.size(), 1);
        QCOMPARE(ReadBytes(path), FileBytes(NumberedRecords(2)));
        QVERIFY(editor->table.FilePathName.empty());
    }

    void closeFileAfterADeleteOffersToSave() {
        const QString path = PathOf("close-delete.txt");
        QVERIFY(WriteBytes(path, FileBytes(NumberedRecords(3))));
        ModalAnswerer answerer;
        OpenWithDialog(answerer, path);
        answerer.pressInBox(QMessageBox::Yes);
        Click(editor, "cmdDeleteRecord"); // record 1
        answerer.pressInBox(QMessageBox::Yes);
        Click(editor, "cmdCloseFile");
        QCOMPARE(answerer.boxes.size(), 2);
        QVERIFY(BoxIs(answerer.boxes[1], kSaveChanges, kSaveToFile, QMessageBox::Question, kYesNo));
        const std::vector<Record> all = NumberedRecords(3);
        QCOMPARE(ReadBytes(path), FileBytes({all[1], all[2]}));
    }

    void newFileAfterADeleteOffersToSave() {
        const QString path = PathOf("new-delete.txt");
        QVERIFY(WriteBytes(path, FileBytes(NumberedRecords(3))));
        ModalAnswerer answerer;
        OpenWithDialog(answerer, path);
        answerer.pressInBox(QMessageBox::Yes);
        Click(editor, "cmdDeleteRecord");
        answerer.pressInBox(QMessageBox::Yes);
        Click(editor, "cmdNew");
        QCOMPARE(answerer.boxes.size(), 2);
        QVERIFY(BoxIs(answerer.boxes[1], kSaveChanges, kSaveBeforeNew, QMessageBox::Question, kYesNo));
        const std::vector<Record> all = NumberedRecords(3);
        QCOMPARE(ReadBytes(path), FileBytes({all[1], all[2]}));
        QCOMPARE(editor->table.RecordCount, short(1));
        QVERIFY(editor->table.FilePathName.empty());
    }

    void newFileAfterADeleteAnsweredNoIsAskedAgainByClose() {
        // New asks, then runs Close File, which asks its own question about the same change.
        const QString path = PathOf("new-delete-no.txt");
        QVERIFY(WriteBytes(path, FileBytes(NumberedRecords(3))));
        ModalAnswerer answerer;
        OpenWithDialog(answerer, path);
        answerer.pressInBox(QMessageBox::Yes);
        Click(editor, "cmdDeleteRecord");
        answerer.pressInBox(QMessageBox::No);
        answerer.pressInBox(QMessageBox::No);
        Click(editor, "cmdNew");
        QCOMPARE(answerer.boxes.size(), 3);
        QVERIFY(BoxIs(answerer.boxes[1], kSaveChanges, kSaveBeforeNew, QMessageBox::Question, kYesNo));
        QVERIFY(BoxIs(answerer.boxes[2], kSaveChanges, kSaveToFile, QMessageBox::Question, kYesNo));
        QCOMPARE(ReadBytes(path), FileBytes(NumberedRecords(3)));
        QVERIFY(answerer.unexpected.isEmpty());
    }

    void openAfterAnUpdateOffersToSaveFirst() {
        const QString first = PathOf("first.txt");
        const QString second = PathOf("second.txt");
        QVERIFY(WriteBytes(first, FileBytes(NumberedRecords(2))));
        QVERIFY(WriteBytes(second, FileBytes(NumberedRecords(1))));
        ModalAnswerer answerer;
        OpenWithDialog(answerer, first);
        Type(editor, 0, "!");
        Click(editor, "cmdUpdaterecord");
        QVERIFY(editor->table.RecordsChanged);

        answerer.pressInBox(QMessageBox::Yes);
        OpenWithDialog(answerer, second);
        QCOMPARE(answerer.boxes.size(), 1);
        QVERIFY(BoxIs(answerer.boxes[0], kSaveChanges, kSaveBeforeOpen, QMessageBox::Question, kYesNo));
        std::vector<Record> expected = NumberedRecords(2);
        expected[0][0] += "!";
        QCOMPARE(ReadBytes(first), FileBytes(expected));
        QCOMPARE(QString::fromStdString(editor->table.FilePathName), second);
        QCOMPARE(editor->table.RecordCount, short(1));
    }

    void openAfterAnUpdateAnsweredNoDropsTheChanges() {
        const QString first = PathOf("drop.txt");
        const QString second = PathOf("drop-next.txt");
        QVERIFY(WriteBytes(first, FileBytes(NumberedRecords(2))));
        QVERIFY(WriteBytes(second, FileBytes(NumberedRecords(3))));
        ModalAnswerer answerer;
        OpenWithDialog(answerer, first);
        Type(editor, 0, "!");
        Click(editor, "cmdUpdaterecord");
        answerer.pressInBox(QMessageBox::No);
        OpenWithDialog(answerer, second);
        QCOMPARE(answerer.boxes.size(), 1);
        QCOMPARE(ReadBytes(first), FileBytes(NumberedRecords(2)));
        QCOMPARE(editor->table.RecordCount, short(3));
        QCOMPARE(BoxText(editor, 0), QString("Name 1"));
    }

    void openWithAnEditedRecordAsksOnce() {
        const QString first = PathOf("edited.txt");
        QVERIFY(WriteBytes(first, FileBytes(NumberedRecords(2))));
        ModalAnswerer answerer;
        OpenWithDialog(answerer, first);
        Type(editor, 8, "?");
        answerer.pressInBox(QMessageBox::Yes);
        OpenWithDialog(answerer, first);
        QCOMPARE(answerer.boxes.size(), 1);
        QVERIFY(BoxIs(answerer.boxes[0], kSaveChanges, kSaveBeforeOpen, QMessageBox::Question, kYesNo));
        std::vector<Record> expected = NumberedRecords(2);
        expected[0][8] += "?";
        QCOMPARE(ReadBytes(first), FileBytes(expected));
        QCOMPARE(BoxText(editor, 8), QString("Info 1?")); // read back from the saved file
    }

    void openStopsWhenTheUpdateItRunsIsRefused() {
        // Stored changes are offered for saving; Yes runs Update Record on the shown record, whose Name was
        // rubbed out: the update is refused, and the whole Open stops before its dialog.
        const QString path = PathOf("refused.txt");
        QVERIFY(WriteBytes(path, FileBytes(NumberedRecords(2))));
        ModalAnswerer answerer;
        OpenWithDialog(answerer, path);
        Type(editor, 9, "u");
        Click(editor, "cmdUpdaterecord");
        QVERIFY(editor->table.RecordsChanged);
        qobject_cast<QLineEdit*>(Box(editor, 0))->selectAll();
        QTest::keyClick(Box(editor, 0), Qt::Key_Backspace);
        answerer.pressInBox(QMessageBox::Yes);
        answerer.pressInBox(QMessageBox::Ok);
        Click(editor, "cmdOpen");
        QCOMPARE(answerer.boxes.size(), 2);
        QVERIFY(BoxIs(answerer.boxes[0], kSaveChanges, kSaveBeforeOpen, QMessageBox::Question, kYesNo));
        QVERIFY(BoxIs(answerer.boxes[1], kUpdateCanceledTitle, kUpdateCanceled, QMessageBox::Warning, kOk));
        QCOMPARE(answerer.fileDialogs.size(), 1); // only the first Open's
        QVERIFY(!editor->table.UpdateCancelled);
        QVERIFY(editor->table.FileLoaded && editor->table.RecordsChanged && editor->table.RecordEdited);
        QCOMPARE(QString::fromStdString(editor->table.FilePathName), path);
        QCOMPARE(ReadBytes(path), FileBytes(NumberedRecords(2)));
        QVERIFY(answerer.unexpected.isEmpty());
    }

    void openAfterADeleteAndAnEditAsksTwice() {
        // The deletion asks first. The stored update is then passed over and the question forgotten, so
        // the record edited after the deletion asks again.
        const QString first = PathOf("twice.txt");
        const QString second = PathOf("twice-next.txt");
        QVERIFY(WriteBytes(first, FileBytes(NumberedRecords(3))));
        QVERIFY(WriteBytes(second, FileBytes(NumberedRecords(1))));
        ModalAnswerer answerer;
        OpenWithDialog(answerer, first);
        Type(editor, 9, "u");
        Click(editor, "cmdUpdaterecord");
        answerer.pressInBox(QMessageBox::Yes);
        Click(editor, "cmdDeleteRecord");
        Type(editor, 10, "v");
        QVERIFY(editor->table.FileChangedByDelete && editor->table.RecordsChanged &&
                editor->table.RecordEdited);
        answerer.pressInBox(QMessageBox::No);
        answerer.pressInBox(QMessageBox::No);
        OpenWithDialog(answerer, second);
        QCOMPARE(answerer.boxes.size(), 3);
        QVERIFY(BoxIs(answerer.boxes[1], kSaveChanges, kSaveBeforeOpen, QMessageBox::Question, kYesNo));
        QVERIFY(BoxIs(answerer.boxes[2], kSaveChanges, kSaveBeforeOpen, QMessageBox::Question, kYesNo));
        QCOMPARE(ReadBytes(first), FileBytes(NumberedRecords(3)));
        QCOMPARE(QString::fromStdString(editor->table.FilePathName), second);
        QCOMPARE(editor->table.RecordCount, short(1));
        QVERIFY(!editor->table.FileChangedByDelete && !editor->table.RecordsChanged);
        QVERIFY(answerer.unexpected.isEmpty());
    }

    // FileChanged is a second file-level change flag that no action of the window sets; where it is set,
    // New, Open, Close and the close request offer to save as they do after a deletion.
    void theSecondFileChangeFlagOffersToSave_data() {
        QTest::addColumn<QString>("action");
        QTest::addColumn<QString>("question");
        QTest::newRow("new") << "cmdNew" << kSaveBeforeNew;
        QTest::newRow("open") << "cmdOpen" << kSaveBeforeOpen;
        QTest::newRow("close") << "cmdCloseFile" << kSaveToFile;
        QTest::newRow("close request") << "" << kSaveToFile;
    }
    void theSecondFileChangeFlagOffersToSave() {
        QFETCH(QString, action);
        QFETCH(QString, question);
        const QString path = PathOf("flag-" + action + ".txt");
        QVERIFY(WriteBytes(path, FileBytes(NumberedRecords(2))));
        ModalAnswerer answerer;
        OpenWithDialog(answerer, path);
        QVERIFY(WriteBytes(path, "changed meanwhile")); // so that a commit shows in the file
        editor->table.FileChanged = true;
        answerer.pressInBox(QMessageBox::Yes);
        if (action == "cmdOpen") answerer.cancelFileDialog();
        QPointer<frmKorvaniUploadUtility> window = editor;
        if (action.isEmpty())
            editor->close();
        else
            Click(editor, qPrintable(action));
        QVERIFY(answerer.waitUntilAnswered());
        QCOMPARE(answerer.boxes.size(), 1);
        QVERIFY(BoxIs(answerer.boxes[0], kSaveChanges, question, QMessageBox::Question, kYesNo));
        QCOMPARE(ReadBytes(path), FileBytes(NumberedRecords(2)));
        if (window) QVERIFY(!window->table.FileChanged);
        QVERIFY(answerer.unexpected.isEmpty());
    }

    void aDialogAcceptedWithoutAFileNameSaysSo() {
        // The dialog's own checks make this rare: accepted on the root folder with no name, it returns
        // the folder, whose name is empty.
        ModalAnswerer answerer;
        Click(editor, "cmdNew");
        Type(editor, 0, "N");
        Type(editor, 8, "I");
        answerer.pressInBox(QMessageBox::Yes);
        answerer.handle([](QWidget* widget) {
            auto* dialog = qobject_cast<QFileDialog*>(widget);
            if (!dialog) {
                widget->close();
                return;
            }
            dialog->setDirectory("/");
            if (auto* name = dialog->findChild<QLineEdit*>("fileNameEdit")) name->clear();
            dialog->QDialog::done(QDialog::Accepted);
        });
        answerer.pressInBox(QMessageBox::Ok);
        Click(editor, "cmdCommitRecord");
        QVERIFY(answerer.waitUntilAnswered());
        QCOMPARE(answerer.boxes.size(), 2);
        QVERIFY(BoxIs(answerer.boxes[0], kPathNeededTitle, kPathNeeded, QMessageBox::NoIcon, kYesNo));
        QVERIFY(BoxIs(answerer.boxes[1], kNameNotEnteredTitle, "You must enter a file name before continuing",
                      QMessageBox::Warning, kOk));
        QVERIFY(editor->table.FilePathName.empty());
        QCOMPARE(Control<QLineEdit>(editor, "txtSavePath")->text(), QString());
        QVERIFY(!QFileInfo::exists("/.txt"));
        QVERIFY(editor->table.RecordsChanged); // nothing was written
        QVERIFY(answerer.unexpected.isEmpty());
    }

    void backToMainMenuAsksAboutAnEditedRecordAndCloses() {
        const QString path = PathOf("back.txt");
        QVERIFY(WriteBytes(path, FileBytes(NumberedRecords(2))));
        ModalAnswerer answerer;
        OpenWithDialog(answerer, path);
        Type(editor, 0, "#");
        answerer.pressInBox(QMessageBox::Yes);
        QPointer<frmKorvaniUploadUtility> closing = editor;
        Click(editor, "cmdExit");
        QCOMPARE(answerer.boxes.size(), 1);
        QVERIFY(BoxIs(answerer.boxes[0], kRecordChangeTitle, kRecordChange, QMessageBox::Question, kYesNo));
        std::vector<Record> expected = NumberedRecords(2);
        expected[0][0] += "#";
        QCOMPARE(ReadBytes(path), FileBytes(expected));
        QTRY_VERIFY(!closing);
        QVERIFY(!FindEditor());
    }
};

QTEST_MAIN(EditorFileActionsTest)
#include "tst_editor_file_actions.moc"
