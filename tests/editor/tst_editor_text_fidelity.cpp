// The editor keeps the record's bytes as they are: fields longer than their box are shown and written back
// whole, Memo keeps every byte, typed characters are stored as the Windows-1252 bytes a Western Windows
// machine would store, characters committed by an input method count as typing, and a message that names
// the file shows the name as the file system has it.
#include "tst_editor_support.h"

#include <QClipboard>
#include <QInputMethodEvent>

using namespace editor_tests;

namespace {

constexpr int kZipField = 5;
constexpr int kMemoField = 7;

// Every byte a field line of a file can hold (all but CR, which ends the line), with a no-break space
// last, where trimming would take a plain space away.
std::string EveryLineByteEndingInNoBreakSpace() {
    std::string bytes;
    for (int byte = 0; byte < 256; ++byte)
        if (byte != '\r' && byte != 0xA0) bytes += char(byte);
    return bytes + '\xA0';
}

} // namespace

class EditorTextFidelityTest : public QObject {
    Q_OBJECT

    QTemporaryDir dir;
    frmKorvaniUploadUtility* editor = nullptr;
    int fileNumber = 0;

    QString OpenRecords(ModalAnswerer& answerer, const std::vector<Record>& records, QString name = {}) {
        if (name.isEmpty()) name = QStringLiteral("records-%1.txt").arg(++fileNumber);
        const QString path = dir.filePath(name);
        if (!WriteBytes(path, FileBytes(records))) qWarning("cannot write %s", qPrintable(path));
        ChooseFile(answerer, path);
        Click(editor, "cmdOpen");
        return path;
    }

    // Update Record, then Commit to the open file.
    void UpdateAndCommit() {
        Click(editor, "cmdUpdaterecord");
        Click(editor, "cmdCommitRecord");
    }

private slots:
    void initTestCase() { QVERIFY(dir.isValid()); }
    void init() {
        editor = OpenFreshEditor();
        QVERIFY(editor);
    }
    void cleanupTestCase() { UnloadEditor(); }

    void fieldsLongerThanTheirBoxAreShownWholeAndWrittenBackWhole() {
        ModalAnswerer answerer;
        Record record = MakeRecord("Name", "Info");
        record[kZipField] = "12345-6789";          // ZIP+4 takes 9 typed characters
        record[4] = "Texas";                       // State takes 2
        record[12] = std::string(40, 'n') + "end"; // numbered fields take 33
        const QString path = OpenRecords(answerer, {record});
        QCOMPARE(BoxText(editor, kZipField), QString("12345-6789"));
        QCOMPARE(BoxText(editor, 4), QString("Texas"));
        QCOMPARE(BoxText(editor, 12), QString::fromStdString(record[12]));

        Type(editor, 0, "!"); // an edit elsewhere in the record
        UpdateAndCommit();
        record[0] += "!";
        QCOMPARE(ReadBytes(path), FileBytes({record}));
        QVERIFY(answerer.boxes.isEmpty());
    }

    void typingAndPastingAreStillLimited() {
        ModalAnswerer answerer;
        OpenRecords(answerer, {MakeRecord("Name", "Info")});
        Retype(editor, kZipField, "1234567890");
        QCOMPARE(BoxText(editor, kZipField), QString("123456789"));
        QApplication::clipboard()->setText("ABCDEF");
        qobject_cast<QLineEdit*>(Box(editor, 4))->selectAll();
        QTest::keySequence(Box(editor, 4), QKeySequence::Paste);
        QCOMPARE(BoxText(editor, 4), QString("AB"));
    }

    void memoHandsBackEveryByte() {
        std::string all;
        for (int byte = 0; byte < 256; ++byte)
            all += char(byte);
        editor->SetBoxText(kMemoField, all);
        const std::string back = editor->BoxText(kMemoField);
        QCOMPARE(back.size(), all.size());
        for (std::size_t i = 0; i < all.size(); ++i)
            QVERIFY2(back[i] == all[i],
                     qPrintable(
                         QString("byte %1 came back as %2").arg(i).arg(static_cast<unsigned char>(back[i]))));
    }

    void memoKeepsEveryByteThroughUpdateAndCommit() {
        ModalAnswerer answerer;
        Record record = MakeRecord("Name", "Info");
        record[kMemoField] = EveryLineByteEndingInNoBreakSpace();
        const QString path = OpenRecords(answerer, {record});
        Type(editor, 0, "!");
        UpdateAndCommit();
        QCOMPARE(editor->table.records[kMemoField][0], record[kMemoField]);
        record[0] += "!";
        QCOMPARE(ReadBytes(path), FileBytes({record}));
    }

    void typedWindowsCharactersAreStoredAsTheirBytes() {
        ModalAnswerer answerer;
        const QString path = OpenRecords(answerer, {MakeRecord("", "Info")});
        Type(editor, 0, QString::fromUtf8("O’Brien – €5"));
        UpdateAndCommit();
        const std::string name = "O\x92"
                                 "Brien \x96 \x80"
                                 "5";
        QCOMPARE(editor->table.records[0][0], name);
        QCOMPARE(ReadBytes(path), FileBytes({MakeRecord(name, "Info")}));
    }

    void windowsCharactersReadFromAFileAreShownAsSuch() {
        ModalAnswerer answerer;
        OpenRecords(answerer, {MakeRecord("\x93Quote\x94 \x85", "\x80 10")});
        QCOMPARE(BoxText(editor, 0), QString::fromUtf8("“Quote” …"));
        QCOMPARE(BoxText(editor, 8), QString::fromUtf8("€ 10"));
    }

    void aCharacterCommittedByAnInputMethodIsAnEdit() {
        ModalAnswerer answerer;
        OpenRecords(answerer, NumberedRecords(2));
        QWidget* name = Box(editor, 0);
        name->setFocus();
        qobject_cast<QLineEdit*>(name)->end(false);

        QInputMethodEvent preview(QStringLiteral("e"), {}); // composing, nothing committed yet
        QApplication::sendEvent(name, &preview);
        QVERIFY(!editor->table.RecordEdited);

        QInputMethodEvent composed;
        composed.setCommitString(QString::fromUtf8("é"));
        QApplication::sendEvent(name, &composed);
        QCOMPARE(BoxText(editor, 0), QString::fromUtf8("Name 1é"));
        QVERIFY(editor->table.RecordEdited);

        answerer.pressInBox(QMessageBox::Yes);
        Click(editor, "Command3");
        QCOMPARE(answerer.boxes.size(), 1);
        QVERIFY(BoxIs(answerer.boxes[0], kRecordChangeTitle, kRecordChange, QMessageBox::Question, kYesNo));
        QCOMPARE(editor->table.records[0][0], std::string("Name 1\xE9"));
    }

    void noRecordsNamesTheFileAsTheFileSystemDoes() {
        ModalAnswerer answerer;
        const QString path = dir.filePath(QString::fromUtf8("Mü€.txt"));
        QVERIFY(WriteBytes(path, QByteArray("\r\n").repeated(111))); // a record without its empty line
        ChooseFile(answerer, path);
        answerer.pressInBox(QMessageBox::Ok);
        Click(editor, "cmdOpen");
        QCOMPARE(answerer.boxes.size(), 1);
        QVERIFY(BoxIs(answerer.boxes[0], kNoRecordsTitle, path + kNoRecordsTail, QMessageBox::NoIcon, kOk));
        QCOMPARE(editor->txtSavePath->text(), path);
    }
};

QTEST_MAIN(EditorTextFidelityTest)
#include "tst_editor_text_fidelity.moc"
