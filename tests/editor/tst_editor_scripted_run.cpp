// Whole editing sessions through the real window, as a user would run them, with the file's bytes
// checked after every commit: a scripted session over every action, a three-record file, a deletion,
// and a round trip of 100 records with 8-bit characters.
#include "tst_editor_support.h"

#include <QFileInfo>

using namespace editor_tests;

class EditorScriptedRunTest : public QObject {
    Q_OBJECT

    QTemporaryDir dir;
    frmKorvaniUploadUtility* editor = nullptr;

    // Types the fields of `record` that are not empty, each into its box.
    void TypeRecord(const Record& record) {
        for (int field = 0; field < 111; ++field)
            if (!record[field].empty()) Type(editor, field, vb::ToQString(record[field]));
    }

    // New, then the records typed one by one (Add, type, Update), then Commit into `path`. Update leaves
    // the typed keys noted, so each Add first asks about the record, and Yes stores it once more.
    void CreateFile(ModalAnswerer& answerer, const QString& path, const std::vector<Record>& records) {
        Click(editor, "cmdNew");
        for (std::size_t index = 0; index < records.size(); ++index) {
            if (index > 0) {
                answerer.pressInBox(QMessageBox::Yes);
                Click(editor, "cmdWriteTextToFile");
            }
            TypeRecord(records[index]);
            Click(editor, "cmdUpdaterecord");
        }
        answerer.pressInBox(QMessageBox::Yes);
        ChooseFile(answerer, path);
        Click(editor, "cmdCommitRecord");
    }

private slots:
    void initTestCase() { QVERIFY(dir.isValid()); }
    void init() {
        editor = OpenFreshEditor();
        QVERIFY(editor);
    }
    void cleanupTestCase() { UnloadEditor(); }

    void scriptedSession() {
        ModalAnswerer answerer;
        const QString path = dir.filePath("session.txt");

        // New, the required fields typed, Commit: the name is asked for, then one record is written.
        Click(editor, "cmdNew");
        Type(editor, 0, "Ada Lovelace");
        Type(editor, 8, "INV-1");
        QVERIFY(editor->table.RecordEdited);
        answerer.pressInBox(QMessageBox::Yes);
        ChooseFile(answerer, dir.filePath("session"));
        Click(editor, "cmdCommitRecord");
        QCOMPARE(answerer.boxes.size(), 1);
        QVERIFY(BoxIs(answerer.boxes[0], kPathNeededTitle, kPathNeeded, QMessageBox::NoIcon, kYesNo));
        Record first = MakeRecord("Ada Lovelace", "INV-1");
        QCOMPARE(ReadBytes(path), FileBytes({first}));
        QVERIFY(!editor->table.RecordEdited);

        // Add a second record with a numbered field, Update, Commit.
        Click(editor, "cmdWriteTextToFile");
        QCOMPARE(LabelText(editor, "lblRecNum2"), QString("2"));
        Type(editor, 0, "Charles Babbage");
        Type(editor, 3, "London");
        Type(editor, 8, "INV-2");
        Type(editor, 12, "engine");
        Click(editor, "cmdUpdaterecord");
        Click(editor, "cmdCommitRecord");
        Record second = MakeRecord("Charles Babbage", "INV-2");
        second[3] = "London";
        second[12] = "engine";
        QCOMPARE(ReadBytes(path), FileBytes({first, second}));

        // A third record, from the last page.
        Click(editor, "cmdWriteTextToFile");
        Type(editor, 0, "Grace Hopper");
        Type(editor, 8, "INV-3");
        Type(editor, 110, "ninety-nine");
        Click(editor, "cmdUpdaterecord");
        Click(editor, "cmdCommitRecord");
        Record third = MakeRecord("Grace Hopper", "INV-3");
        third[110] = "ninety-nine";
        QCOMPARE(ReadBytes(path), FileBytes({first, second, third}));

        // Navigate: First, Next, Last, Previous; Go To record 1.
        Click(editor, "cmdFirst");
        QCOMPARE(BoxText(editor, 0), QString("Ada Lovelace"));
        Click(editor, "Command3");
        QCOMPARE(BoxText(editor, 12), QString("engine"));
        Click(editor, "Command4");
        QCOMPARE(BoxText(editor, 110), QString("ninety-nine"));
        Click(editor, "Command2");
        QCOMPARE(BoxText(editor, 3), QString("London"));
        GoToBox(editor)->lineEdit()->selectAll();
        QTest::keyClicks(GoToBox(editor), "1");
        QCOMPARE(BoxText(editor, 0), QString("Ada Lovelace"));

        // Edit record 1 and move on: the change is offered, accepted, and committed.
        Type(editor, 1, "12 St James's Square");
        answerer.pressInBox(QMessageBox::Yes);
        Click(editor, "Command3");
        QCOMPARE(answerer.boxes.size(), 2);
        QVERIFY(BoxIs(answerer.boxes[1], kRecordChangeTitle, kRecordChange, QMessageBox::Question, kYesNo));
        Click(editor, "cmdCommitRecord");
        first[1] = "12 St James's Square";
        QCOMPARE(ReadBytes(path), FileBytes({first, second, third}));

        // Delete record 2, then Commit.
        QCOMPARE(editor->table.CurrentRecord, short(2));
        answerer.pressInBox(QMessageBox::Yes);
        Click(editor, "cmdDeleteRecord");
        QVERIFY(BoxIs(answerer.boxes[2], kDeleteTitle, kDelete, QMessageBox::Question, kYesNo));
        QCOMPARE(BoxText(editor, 0), QString("Grace Hopper"));
        Click(editor, "cmdCommitRecord");
        QCOMPARE(ReadBytes(path), FileBytes({first, third}));
        QVERIFY(!editor->table.FileChangedByDelete);

        // Edit and Close: the record change is offered and saved.
        Type(editor, 9, "late");
        answerer.pressInBox(QMessageBox::Yes);
        Click(editor, "cmdCloseFile");
        QVERIFY(BoxIs(answerer.boxes[3], kRecordChangeTitle, kRecordChange, QMessageBox::Question, kYesNo));
        third[9] = "late";
        QCOMPARE(ReadBytes(path), FileBytes({first, third}));
        QVERIFY(editor->table.FilePathName.empty());

        // Open it again, delete, and leave with Back to Main Menu: Close File offers the deletion.
        ChooseFile(answerer, path);
        Click(editor, "cmdOpen");
        QCOMPARE(editor->table.RecordCount, short(2));
        answerer.pressInBox(QMessageBox::Yes);
        Click(editor, "cmdDeleteRecord");
        answerer.pressInBox(QMessageBox::Yes);
        QPointer<frmKorvaniUploadUtility> closing = editor;
        Click(editor, "cmdExit");
        QCOMPARE(answerer.boxes.size(), 6);
        QVERIFY(BoxIs(answerer.boxes[5], kSaveChanges, kSaveToFile, QMessageBox::Question, kYesNo));
        QCOMPARE(ReadBytes(path), FileBytes({third}));
        QTRY_VERIFY(!closing);
        QVERIFY(answerer.unexpected.isEmpty());
        QCOMPARE(answerer.pending(), 0);
    }

    void threeRecordsMadeWithTheWindowRead336CrLfLines() {
        ModalAnswerer answerer;
        const QString path = dir.filePath("three.txt");
        std::vector<Record> records = NumberedRecords(3);
        records[1][7] = "memo text";
        records[2][5] = "123456789";
        CreateFile(answerer, path, records);
        QCOMPARE(answerer.boxes.size(), 3);
        QVERIFY(BoxIs(answerer.boxes[0], kRecordChangeTitle, kRecordChange, QMessageBox::Question, kYesNo));
        QVERIFY(BoxIs(answerer.boxes[1], kRecordChangeTitle, kRecordChange, QMessageBox::Question, kYesNo));
        QVERIFY(BoxIs(answerer.boxes[2], kPathNeededTitle, kPathNeeded, QMessageBox::NoIcon, kYesNo));
        const QByteArray bytes = ReadBytes(path);
        QCOMPARE(bytes, FileBytes(records));
        QVERIFY(bytes.endsWith("\r\n\r\n"));
        const QList<QByteArray> lines = bytes.split('\n');
        QCOMPARE(lines.size(), 336 + 1); // 336 lines, then nothing after the last LF
        QVERIFY(lines.last().isEmpty());
        for (int line = 0; line < 336; ++line)
            QVERIFY(lines[line].endsWith('\r'));
        QCOMPARE(bytes.count("\r\n"), 336);
        QCOMPARE(bytes.count('\r'), 336);
        QVERIFY(answerer.unexpected.isEmpty());
    }

    void deletingRecord2Of3AndCommittingLeavesTheFormerRecord3AsRecord2() {
        ModalAnswerer answerer;
        const QString path = dir.filePath("delete.txt");
        const std::vector<Record> records = NumberedRecords(3);
        CreateFile(answerer, path, records);
        QCOMPARE(ReadBytes(path), FileBytes(records));
        Click(editor, "cmdFirst");
        Click(editor, "Command3");
        answerer.pressInBox(QMessageBox::Yes);
        Click(editor, "cmdDeleteRecord");
        Click(editor, "cmdCommitRecord");
        QCOMPARE(ReadBytes(path), FileBytes({records[0], records[2]}));

        // Read back through the window: record 2 is the former record 3.
        Click(editor, "cmdCloseFile");
        ChooseFile(answerer, path);
        Click(editor, "cmdOpen");
        QCOMPARE(editor->table.RecordCount, short(2));
        Click(editor, "Command3");
        QCOMPARE(BoxText(editor, 0), QString("Name 3"));
        QCOMPARE(BoxText(editor, 12), QString("F3"));
        QVERIFY(answerer.unexpected.isEmpty());
    }

    void hundredRecordsWith8BitCharactersRoundTrip() {
        // Every record has typed 8-bit characters in Name and Info 1 and filled ones in a numbered field;
        // the file holds them as single bytes and reads back into the boxes unchanged.
        std::vector<Record> records;
        for (int n = 1; n <= 100; ++n) {
            Record record;
            record[0] = "Ren\xe9" + std::string(" M\xfcller ") + std::to_string(n);
            record[8] = "\xa3" + std::to_string(n * 7) + " \xe6\xf8\xe5";
            record[12 + (n % 99)] = "\xc0\xff " + std::to_string(n);
            records.push_back(record);
        }
        ModalAnswerer answerer;
        const QString path = dir.filePath("hundred.txt");
        Click(editor, "cmdNew");
        for (int index = 0; index < 100; ++index) {
            if (index > 0) {
                answerer.pressInBox(QMessageBox::Yes);
                Click(editor, "cmdWriteTextToFile");
            }
            Type(editor, 0, vb::ToQString(records[index][0]));
            Type(editor, 8, vb::ToQString(records[index][8]));
            const int numbered = 12 + ((index + 1) % 99);
            qobject_cast<QLineEdit*>(Box(editor, numbered))->setText(vb::ToQString(records[index][numbered]));
            Click(editor, "cmdUpdaterecord");
        }
        QCOMPARE(editor->table.RecordCount, short(100));
        answerer.pressInBox(QMessageBox::Yes);
        ChooseFile(answerer, path);
        Click(editor, "cmdCommitRecord");
        const QByteArray bytes = ReadBytes(path);
        QCOMPARE(bytes, FileBytes(records));
        QVERIFY(bytes.contains("Ren\xe9 M\xfcller 100\r\n"));
        QCOMPARE(QFileInfo(path).size(), qint64(bytes.size()));

        // A 101st record is refused.
        answerer.pressInBox(QMessageBox::Ok);
        Click(editor, "cmdWriteTextToFile");
        QCOMPARE(answerer.boxes.last().title, QString("Cannot Add Record"));

        Click(editor, "cmdCloseFile");
        ChooseFile(answerer, path);
        Click(editor, "cmdOpen");
        QCOMPARE(editor->table.RecordCount, short(100));
        for (int index = 0; index < 100; ++index) {
            if (index > 0) Click(editor, "Command3");
            QCOMPARE(editor->table.CurrentRecord, short(index + 1));
            for (int field = 0; field < 111; ++field)
                QCOMPARE(vb::FromQString(BoxText(editor, field)), records[index][field]);
        }
        QVERIFY(answerer.unexpected.isEmpty());
    }
};

QTEST_MAIN(EditorScriptedRunTest)
#include "tst_editor_scripted_run.moc"
