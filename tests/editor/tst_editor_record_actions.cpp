// The editor's record actions through the real window: the four navigation buttons, Go To Record,
// Update Record, Add Record, Cancel Add and Delete Record, their questions and the button states.
#include "tst_editor_support.h"

#include <QClipboard>
#include <QPointer>

using namespace editor_tests;

class EditorRecordActionsTest : public QObject {
    Q_OBJECT

    QTemporaryDir dir;
    frmKorvaniUploadUtility* editor = nullptr;
    int fileNumber = 0;

    // Writes `records` to a new file and opens it with the Open button.
    QString OpenRecords(ModalAnswerer& answerer, const std::vector<Record>& records) {
        const QString path = dir.filePath(QStringLiteral("records-%1.txt").arg(++fileNumber));
        if (!WriteBytes(path, FileBytes(records))) qWarning("cannot write %s", qPrintable(path));
        ChooseFile(answerer, path);
        Click(editor, "cmdOpen");
        return path;
    }

    // First, Previous, Next, Last enabled?
    QList<bool> NavigationStates() const {
        return {Enabled(editor, "cmdFirst"), Enabled(editor, "Command2"), Enabled(editor, "Command3"),
                Enabled(editor, "Command4")};
    }

    void ExpectShowing(int record, const QString& name) {
        QCOMPARE(editor->table.CurrentRecord, short(record));
        QCOMPARE(LabelText(editor, "lblRecNum2"), QString::number(record));
        QCOMPARE(GoToBox(editor)->currentText(), QString::number(record));
        QCOMPARE(BoxText(editor, 0), name);
    }

    // Types into the Go To Record box over its text, key by key, as a user would.
    void TypeIntoGoTo(const QString& text) {
        QComboBox* goTo = GoToBox(editor);
        goTo->lineEdit()->selectAll();
        QTest::keyClicks(goTo, text);
    }

private slots:
    void initTestCase() { QVERIFY(dir.isValid()); }
    void init() {
        editor = OpenFreshEditor();
        QVERIFY(editor);
    }
    void cleanupTestCase() { UnloadEditor(); }

    void withOneRecordAllNavigationIsDisabledAfterOpen() {
        ModalAnswerer answerer;
        OpenRecords(answerer, NumberedRecords(1));
        QCOMPARE(editor->table.RecordCount, short(1));
        QCOMPARE(NavigationStates(), QList<bool>({false, false, false, false}));
    }

    void navigationButtonsAndTheirStates() {
        ModalAnswerer answerer;
        OpenRecords(answerer, NumberedRecords(3));
        QCOMPARE(NavigationStates(), QList<bool>({false, false, true, true}));
        Click(editor, "Command3");
        ExpectShowing(2, "Name 2");
        QCOMPARE(BoxText(editor, 12), QString("F2"));
        QCOMPARE(NavigationStates(), QList<bool>({true, true, true, true}));
        Click(editor, "Command3");
        ExpectShowing(3, "Name 3");
        QCOMPARE(NavigationStates(), QList<bool>({true, true, false, false}));
        Click(editor, "Command2");
        ExpectShowing(2, "Name 2");
        Click(editor, "cmdFirst");
        ExpectShowing(1, "Name 1");
        QCOMPARE(NavigationStates(), QList<bool>({false, false, true, true}));
        Click(editor, "Command4");
        ExpectShowing(3, "Name 3");
        QCOMPARE(NavigationStates(), QList<bool>({true, true, false, false}));
        QVERIFY(answerer.boxes.isEmpty());
    }

    void leavingAnEditedRecordAsksAndYesStoresIt() {
        ModalAnswerer answerer;
        OpenRecords(answerer, NumberedRecords(3));
        Type(editor, 0, "x");
        answerer.pressInBox(QMessageBox::Yes);
        Click(editor, "Command3");
        QCOMPARE(answerer.boxes.size(), 1);
        QVERIFY(BoxIs(answerer.boxes[0], kRecordChangeTitle, kRecordChange, QMessageBox::Question, kYesNo));
        ExpectShowing(2, "Name 2");
        QCOMPARE(editor->table.records[0][0], std::string("Name 1x"));
        QVERIFY(!editor->table.RecordEdited);
        QVERIFY(editor->table.RecordsChanged);
    }

    void leavingAnEditedRecordAnsweredNoDropsTheEdit() {
        ModalAnswerer answerer;
        OpenRecords(answerer, NumberedRecords(3));
        Type(editor, 0, "x");
        answerer.pressInBox(QMessageBox::No);
        Click(editor, "Command4");
        ExpectShowing(3, "Name 3");
        Click(editor, "cmdFirst");
        ExpectShowing(1, "Name 1");
        QCOMPARE(editor->table.records[0][0], std::string("Name 1"));
        QVERIFY(!editor->table.RecordEdited);
        QCOMPARE(answerer.boxes.size(), 1);
    }

    void nextOnTheLastAndPreviousOnTheFirstOnlyClearRecordEdited() {
        // After an update every navigation button is enabled, so Next can be pressed on the last record
        // and Previous on the first.
        ModalAnswerer answerer;
        OpenRecords(answerer, NumberedRecords(2));
        Click(editor, "Command4");
        Type(editor, 9, "u");
        Click(editor, "cmdUpdaterecord");
        QVERIFY(Enabled(editor, "Command3"));
        Type(editor, 10, "v");
        QVERIFY(editor->table.RecordEdited);
        answerer.pressInBox(QMessageBox::No);
        Click(editor, "Command3");
        QCOMPARE(answerer.boxes.size(), 1);
        QVERIFY(BoxIs(answerer.boxes[0], kRecordChangeTitle, kRecordChange, QMessageBox::Question, kYesNo));
        QVERIFY(!editor->table.RecordEdited);
        QCOMPARE(editor->table.CurrentRecord, short(2));
        QCOMPARE(BoxText(editor, 10), QString("v")); // nothing shown again
        QVERIFY(Enabled(editor, "Command3"));        // nor any button state changed

        Click(editor, "cmdFirst");
        Type(editor, 0, "u");
        Click(editor, "cmdUpdaterecord");
        QVERIFY(Enabled(editor, "Command2"));
        Type(editor, 10, "w");
        answerer.pressInBox(QMessageBox::No);
        Click(editor, "Command2");
        QCOMPARE(answerer.boxes.size(), 2);
        QVERIFY(!editor->table.RecordEdited);
        QCOMPARE(editor->table.CurrentRecord, short(1));
        QCOMPARE(BoxText(editor, 10), QString("w"));
        QVERIFY(answerer.unexpected.isEmpty());
    }

    void navigationDoesNothingWithoutALoadedFile() {
        ModalAnswerer answerer;
        Click(editor, "cmdNew");
        Type(editor, 0, "n");
        editor->SetNavigationButtonsEnabled(true);
        Click(editor, "cmdFirst");
        Click(editor, "Command4");
        QVERIFY(answerer.boxes.isEmpty()); // not even the record change question
        QVERIFY(editor->table.RecordEdited);
        QCOMPARE(LabelText(editor, "lblRecNum2"), QString("1"));
    }

    void goToRecordByChoosingFromTheList() {
        ModalAnswerer answerer;
        OpenRecords(answerer, NumberedRecords(3));
        QComboBox* goTo = GoToBox(editor);
        goTo->setFocus();
        QTest::keyClick(goTo, Qt::Key_Down); // item "1"
        QTest::keyClick(goTo, Qt::Key_Down); // item "2"
        ExpectShowing(2, "Name 2");
        QCOMPARE(NavigationStates(), QList<bool>({true, true, true, true}));
        QTest::keyClick(goTo, Qt::Key_Down);
        ExpectShowing(3, "Name 3");
        QCOMPARE(NavigationStates(), QList<bool>({true, true, false, false}));
        QTest::keyClick(goTo, Qt::Key_Up);
        QTest::keyClick(goTo, Qt::Key_Up);
        ExpectShowing(1, "Name 1");
        QCOMPARE(NavigationStates(), QList<bool>({false, false, true, true}));
        QVERIFY(answerer.boxes.isEmpty());
        QVERIFY(!editor->GoToGuard);
    }

    void goToRecordWithATypedNumber() {
        ModalAnswerer answerer;
        OpenRecords(answerer, NumberedRecords(3));
        TypeIntoGoTo("3");
        ExpectShowing(3, "Name 3");
        QCOMPARE(NavigationStates(), QList<bool>({true, true, false, false}));
        TypeIntoGoTo("2");
        ExpectShowing(2, "Name 2");
        QVERIFY(!editor->GoToGuard);
        QVERIFY(answerer.boxes.isEmpty());
    }

    void goToRecordAsksAboutAnEditedRecord() {
        ModalAnswerer answerer;
        OpenRecords(answerer, NumberedRecords(3));
        Type(editor, 8, "!");
        answerer.pressInBox(QMessageBox::Yes);
        TypeIntoGoTo("3");
        QCOMPARE(answerer.boxes.size(), 1);
        QVERIFY(BoxIs(answerer.boxes[0], kRecordChangeTitle, kRecordChange, QMessageBox::Question, kYesNo));
        ExpectShowing(3, "Name 3");
        QCOMPARE(editor->table.records[8][0], std::string("Info 1!"));
    }

    void goToRecordCorrectsTypedTextOnKeyRelease_data() {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("record");
        QTest::newRow("not a number") << "x"
                                      << "1" << 1;
        QTest::newRow("below one") << "0"
                                   << "1" << 1;
        QTest::newRow("above the count") << "9"
                                         << "3" << 3;
        QTest::newRow("in range") << "2"
                                  << "2" << 2;
    }
    void goToRecordCorrectsTypedTextOnKeyRelease() {
        QFETCH(QString, typed);
        QFETCH(QString, text);
        QFETCH(int, record);
        ModalAnswerer answerer;
        OpenRecords(answerer, NumberedRecords(3));
        Click(editor, "Command3"); // start on record 2
        TypeIntoGoTo(typed);
        QCOMPARE(GoToBox(editor)->currentText(), text);
        QCOMPARE(editor->table.CurrentRecord, short(record));
        QCOMPARE(BoxText(editor, 0), QString("Name %1").arg(record));
    }

    // A number pasted whole (typed key by key, "1." is shown as record 1 and its text becomes "1") is
    // compared as a floating-point number and converted to a record number half to even.
    void goToRecordWithAPastedNumber_data() {
        QTest::addColumn<QString>("pasted");
        QTest::addColumn<int>("record");
        QTest::newRow("1.5 rounds up to even") << "1.5" << 2;
        QTest::newRow("2.5 rounds down to even") << "2.5" << 2;
        QTest::newRow("just above the count") << "3.2" << 3;
        QTest::newRow("below one") << "0.4" << 1;
    }
    void goToRecordWithAPastedNumber() {
        QFETCH(QString, pasted);
        QFETCH(int, record);
        ModalAnswerer answerer;
        OpenRecords(answerer, NumberedRecords(3));
        Click(editor, "Command3"); // start on record 2; the shown text becomes the record number
        QApplication::clipboard()->setText(pasted);
        QComboBox* goTo = GoToBox(editor);
        goTo->lineEdit()->selectAll();
        QTest::keyClick(goTo, Qt::Key_V, Qt::ControlModifier);
        ExpectShowing(record, QString("Name %1").arg(record));
        QVERIFY(answerer.boxes.isEmpty());
    }

    void goToRecordWithoutRecordsEmptiesTheBox() {
        ModalAnswerer answerer;
        OpenRecords(answerer, {});
        QCOMPARE(editor->table.RecordCount, short(0));
        TypeIntoGoTo("5");
        QCOMPARE(GoToBox(editor)->currentText(), QString());
        QCOMPARE(editor->table.CurrentRecord, short(1));
    }

    void updateStoresTheBoxesIntoTheCurrentRecord() {
        ModalAnswerer answerer;
        OpenRecords(answerer, NumberedRecords(2));
        Click(editor, "Command4");
        Type(editor, 100, " padded ");
        Click(editor, "cmdUpdaterecord");
        QCOMPARE(editor->table.records[100][1], std::string(" padded ")); // untrimmed in the table
        QVERIFY(editor->table.FileLoaded && editor->table.RecordsChanged && !editor->table.FileChanged);
        QVERIFY(editor->table.RecordEdited); // cleared only by leaving the record or committing
        for (const char* name :
             {"cmdWriteTextToFile", "cmdNew", "cmdOpen", "cmdCloseFile", "cmdCommitRecord", "cmdDeleteRecord",
              "cmdFirst", "Command2", "Command3", "Command4", "cboGoToRecord"})
            QVERIFY2(Enabled(editor, name), name);
        QVERIFY(!Enabled(editor, "cmdCancelAdd"));
        QVERIFY(answerer.boxes.isEmpty());
    }

    void updateWithNothingTypedStoresNothingAndAsksNothing() {
        ModalAnswerer answerer;
        OpenRecords(answerer, NumberedRecords(1));
        editor->table.records[12][0] = "changed in the table";
        Click(editor, "cmdUpdaterecord");
        QVERIFY(answerer.boxes.isEmpty());
        QVERIFY(!editor->table.UpdateCancelled);
        QVERIFY(!editor->table.RecordsChanged);
        QCOMPARE(editor->table.records[12][0], std::string("changed in the table")); // boxes not stored
    }

    void updateOfAnOpenedRecordWithoutANameIsRefusedEvenUntyped() {
        // The required fields are checked before anything else: a record read from a file with an empty
        // "Name" is refused although nothing was typed.
        ModalAnswerer answerer;
        OpenRecords(answerer, {MakeRecord("", "")});
        QVERIFY(!editor->table.RecordEdited);
        answerer.pressInBox(QMessageBox::Ok);
        Click(editor, "cmdUpdaterecord");
        QCOMPARE(answerer.boxes.size(), 1);
        QVERIFY(BoxIs(answerer.boxes[0], kUpdateCanceledTitle, kUpdateCanceled, QMessageBox::Warning, kOk));
        QVERIFY(editor->table.UpdateCancelled);
        QVERIFY(!editor->table.RecordsChanged);
    }

    void aNewRecordTypedIntoAndEmptiedIsNotWrittenOnBackToMainMenu() {
        // Yes to the record question runs Update Record, whose check refuses the empty new record; the
        // refusal stops the commit, so the file keeps its two records.
        ModalAnswerer answerer;
        const QString path = OpenRecords(answerer, NumberedRecords(2));
        const QByteArray before = ReadBytes(path);
        Click(editor, "cmdWriteTextToFile");
        Type(editor, 0, "x");
        QTest::keyClick(Box(editor, 0), Qt::Key_Backspace);
        answerer.pressInBox(QMessageBox::Yes);
        answerer.pressInBox(QMessageBox::Ok);
        QPointer<frmKorvaniUploadUtility> closing = editor;
        Click(editor, "cmdExit");
        QCOMPARE(answerer.boxes.size(), 2);
        QVERIFY(BoxIs(answerer.boxes[0], kRecordChangeTitle, kRecordChange, QMessageBox::Question, kYesNo));
        QVERIFY(BoxIs(answerer.boxes[1], kUpdateCanceledTitle, kUpdateCanceled, QMessageBox::Warning, kOk));
        QCOMPARE(ReadBytes(path), before);
        QTRY_VERIFY(!closing);
        QVERIFY(answerer.unexpected.isEmpty());
    }

    void updateWithABlankNameIsRefusedAndCommitWritesNothing_data() {
        QTest::addColumn<int>("field");
        QTest::addColumn<QString>("typed");
        QTest::newRow("blank Name") << 0 << "";
        QTest::newRow("all-space Name") << 0 << "   ";
        QTest::newRow("all-space Info 1") << 8 << "  ";
    }
    void updateWithABlankNameIsRefusedAndCommitWritesNothing() {
        QFETCH(int, field);
        QFETCH(QString, typed);
        ModalAnswerer answerer;
        const QString path = OpenRecords(answerer, NumberedRecords(2));
        const QByteArray before = ReadBytes(path);
        if (typed.isEmpty()) {
            qobject_cast<QLineEdit*>(Box(editor, field))->selectAll();
            QTest::keyClick(Box(editor, field), Qt::Key_Backspace);
        } else {
            Retype(editor, field, typed);
        }
        QVERIFY(editor->table.RecordEdited);
        answerer.pressInBox(QMessageBox::Ok);
        Click(editor, "cmdUpdaterecord");
        QCOMPARE(answerer.boxes.size(), 1);
        QVERIFY(BoxIs(answerer.boxes[0], kUpdateCanceledTitle, kUpdateCanceled, QMessageBox::Warning, kOk));
        QVERIFY(editor->table.UpdateCancelled);
        QCOMPARE(editor->table.records[field][0], field == 0 ? std::string("Name 1") : std::string("Info 1"));

        answerer.pressInBox(QMessageBox::Ok);
        Click(editor, "cmdCommitRecord");
        QCOMPARE(answerer.boxes.size(), 2);
        QVERIFY(BoxIs(answerer.boxes[1], kUpdateCanceledTitle, kUpdateCanceled, QMessageBox::Warning, kOk));
        QCOMPARE(ReadBytes(path), before);
        QVERIFY(!editor->table.UpdateCancelled); // Commit saw it and cleared it
    }

    void updateWithMoreThan100RecordsIsRefused() {
        ModalAnswerer answerer;
        OpenRecords(answerer, NumberedRecords(101));
        Type(editor, 0, "z");
        answerer.pressInBox(QMessageBox::Ok);
        Click(editor, "cmdUpdaterecord");
        QCOMPARE(answerer.boxes.size(), 1);
        QVERIFY(BoxIs(answerer.boxes[0], "Cannot Update Record", kMaximum, QMessageBox::Information, kOk));
        QCOMPARE(editor->table.records[0][0], std::string("Name 1"));
    }

    void addRecordWith100RecordsIsRefused() {
        ModalAnswerer answerer;
        OpenRecords(answerer, NumberedRecords(100));
        answerer.pressInBox(QMessageBox::Ok);
        Click(editor, "cmdWriteTextToFile");
        QCOMPARE(answerer.boxes.size(), 1);
        QVERIFY(BoxIs(answerer.boxes[0], "Cannot Add Record", kMaximum, QMessageBox::Information, kOk));
        QCOMPARE(editor->table.RecordCount, short(100));
        QCOMPARE(BoxText(editor, 0), QString("Name 1"));
        QVERIFY(!editor->table.AddingRecord);
    }

    void addRecordWith99RecordsCreatesRecord100() {
        ModalAnswerer answerer;
        const QString path = OpenRecords(answerer, NumberedRecords(99));
        Click(editor, "cmdWriteTextToFile");
        QVERIFY(answerer.boxes.isEmpty());
        QCOMPARE(editor->table.RecordCount, short(100));
        ExpectShowing(100, "");
        for (int field = 0; field < 111; ++field)
            QCOMPARE(BoxText(editor, field), QString());
        QCOMPARE(GoToBox(editor)->count(), 100);
        QVERIFY(editor->table.AddingRecord && editor->table.AddingRecordCompanion);
        QCOMPARE(editor->focusWidget(), Box(editor, 0));
        for (const char* name :
             {"cmdNew", "cmdOpen", "cmdCloseFile", "cmdCommitRecord", "cmdDeleteRecord", "cmdFirst",
              "Command2", "Command3", "Command4", "cboGoToRecord", "cmdWriteTextToFile"})
            QVERIFY2(!Enabled(editor, name), name);
        QVERIFY(Enabled(editor, "cmdCancelAdd"));

        // The new record gets its content through Update Record, and the file through Commit.
        Type(editor, 0, "Hundred");
        Type(editor, 8, "Last");
        Click(editor, "cmdUpdaterecord");
        QVERIFY(Enabled(editor, "cmdCommitRecord"));
        QVERIFY(!Enabled(editor, "cmdCancelAdd"));
        Click(editor, "cmdCommitRecord");
        std::vector<Record> expected = NumberedRecords(99);
        expected.push_back(MakeRecord("Hundred", "Last"));
        QCOMPARE(ReadBytes(path), FileBytes(expected));
        QVERIFY(answerer.boxes.isEmpty());
    }

    void addRecordAsksAboutAnEditedRecordFirst() {
        ModalAnswerer answerer;
        OpenRecords(answerer, NumberedRecords(2));
        Type(editor, 0, "+");
        answerer.pressInBox(QMessageBox::Yes);
        Click(editor, "cmdWriteTextToFile");
        QCOMPARE(answerer.boxes.size(), 1);
        QVERIFY(BoxIs(answerer.boxes[0], kRecordChangeTitle, kRecordChange, QMessageBox::Question, kYesNo));
        QCOMPARE(editor->table.records[0][0], std::string("Name 1+"));
        QCOMPARE(editor->table.RecordCount, short(3));
        QVERIFY(!editor->table.RecordEdited);
    }

    void addRecordNeedsAFileWithRecords() {
        ModalAnswerer answerer;
        OpenRecords(answerer, {});
        Click(editor, "cmdWriteTextToFile");
        QCOMPARE(editor->table.RecordCount, short(0));
        QVERIFY(!editor->table.AddingRecord);
        QVERIFY(answerer.boxes.isEmpty());
    }

    void cancelAddReturnsToTheLastRecord() {
        ModalAnswerer answerer;
        OpenRecords(answerer, NumberedRecords(3));
        Click(editor, "cmdWriteTextToFile");
        QCOMPARE(editor->table.RecordCount, short(4));
        Click(editor, "cmdCancelAdd");
        QCOMPARE(editor->table.RecordCount, short(3));
        ExpectShowing(3, "Name 3");
        QCOMPARE(GoToBox(editor)->count(), 3);
        QCOMPARE(NavigationStates(), QList<bool>({true, true, false, false}));
        for (const char* name : {"cmdNew", "cmdOpen", "cmdCloseFile", "cmdCommitRecord", "cmdDeleteRecord",
                                 "cboGoToRecord", "cmdWriteTextToFile"})
            QVERIFY2(Enabled(editor, name), name);
        QVERIFY(!editor->table.AddingRecordCompanion);
        QVERIFY(editor->table.AddingRecord); // kept set
        QVERIFY(!editor->table.RecordEdited);
        QVERIFY(answerer.boxes.isEmpty());
    }

    void cancelAddAfterTypingAsksAboutTheEditedRecord() {
        // Cancel Add ends by going to the last record, which asks about the typed keys. Yes runs Update
        // Record on the emptied boxes: "Name" is empty, so the update is refused and nothing is stored;
        // the move to the last record goes on.
        ModalAnswerer answerer;
        OpenRecords(answerer, NumberedRecords(2));
        Click(editor, "cmdWriteTextToFile");
        Type(editor, 0, "abandoned");
        answerer.pressInBox(QMessageBox::Yes);
        answerer.pressInBox(QMessageBox::Ok);
        Click(editor, "cmdCancelAdd");
        QCOMPARE(answerer.boxes.size(), 2);
        QVERIFY(BoxIs(answerer.boxes[0], kRecordChangeTitle, kRecordChange, QMessageBox::Question, kYesNo));
        QVERIFY(BoxIs(answerer.boxes[1], kUpdateCanceledTitle, kUpdateCanceled, QMessageBox::Warning, kOk));
        ExpectShowing(2, "Name 2");
        QCOMPARE(editor->table.records[0][1], std::string("Name 2"));
        QCOMPARE(editor->table.records[0][2], std::string());
        QVERIFY(!editor->table.RecordEdited);
        QVERIFY(!editor->table.RecordsChanged);
        QVERIFY(editor->table.UpdateCancelled); // left for the next caller that looks
        QVERIFY(answerer.unexpected.isEmpty());
    }

    void updateWhileAddingWithEveryBoxEmptyIsRefused() {
        // A key typed and taken back while adding leaves the record noted as edited with every box
        // empty. The required fields are checked first, so Update Record refuses it: nothing is stored,
        // the new record stays current and the add goes on.
        ModalAnswerer answerer;
        OpenRecords(answerer, NumberedRecords(3));
        Click(editor, "cmdWriteTextToFile");
        QCOMPARE(GoToBox(editor)->currentText(), QString("4"));
        Type(editor, 0, "x");
        QTest::keyClick(Box(editor, 0), Qt::Key_Backspace);
        QVERIFY(editor->table.RecordEdited);
        answerer.pressInBox(QMessageBox::Ok);
        Click(editor, "cmdUpdaterecord");
        QCOMPARE(answerer.boxes.size(), 1);
        QVERIFY(BoxIs(answerer.boxes[0], kUpdateCanceledTitle, kUpdateCanceled, QMessageBox::Warning, kOk));
        QVERIFY(editor->table.UpdateCancelled);
        editor->table.UpdateCancelled = false;
        QVERIFY(!editor->table.RecordsChanged); // nothing stored
        QCOMPARE(editor->table.RecordCount, short(4));
        QCOMPARE(editor->table.CurrentRecord, short(4));
        QCOMPARE(LabelText(editor, "lblRecNum2"), QString("4"));
        QCOMPARE(editor->GoToRemembered, short(0));
        for (int field = 0; field < 111; ++field)
            QCOMPARE(BoxText(editor, field), QString());
        // The add is still under way: only Cancel Add and the boxes are usable.
        QVERIFY(Enabled(editor, "cmdCancelAdd"));
        for (const char* name : {"cmdWriteTextToFile", "cmdCommitRecord", "cmdNew", "cmdOpen", "Command4"})
            QVERIFY2(!Enabled(editor, name), name);

        // With text in a box the update is checked and stored as usual.
        Type(editor, 12, "only a number");
        answerer.pressInBox(QMessageBox::Ok);
        Click(editor, "cmdUpdaterecord");
        QCOMPARE(answerer.boxes.size(), 2);
        QVERIFY(BoxIs(answerer.boxes[1], kUpdateCanceledTitle, kUpdateCanceled, QMessageBox::Warning, kOk));
        Type(editor, 0, "Name 4");
        Type(editor, 8, "Info 4");
        Click(editor, "cmdUpdaterecord");
        QCOMPARE(editor->table.records[0][3], std::string("Name 4"));
        QCOMPARE(editor->table.records[12][3], std::string("only a number"));
        QVERIFY(editor->table.RecordsChanged);
        QVERIFY(!Enabled(editor, "cmdCancelAdd"));
        QVERIFY(answerer.unexpected.isEmpty());
    }

    void goToTypedNumberTakesTheRememberedItemFirst() {
        // A typed number leaves no list item selected, so the selection selects item GoToRemembered - 1,
        // whose text then decides the record: with 4 remembered, typing 2 shows record 4.
        ModalAnswerer answerer;
        OpenRecords(answerer, NumberedRecords(3));
        Click(editor, "cmdWriteTextToFile");
        Type(editor, 0, "Name 4");
        Type(editor, 8, "Info 4");
        Click(editor, "cmdUpdaterecord");
        QCOMPARE(editor->table.RecordCount, short(4));
        editor->GoToRemembered = 4; // as the pass of Update Record while adding leaves it

        answerer.pressInBox(QMessageBox::No); // the typed record is stored already
        TypeIntoGoTo("2");
        QCOMPARE(answerer.boxes.size(), 1);
        ExpectShowing(4, "Name 4");
        QVERIFY(!editor->GoToGuard);
        QCOMPARE(editor->GoToRemembered, short(4));

        // A selection with an empty text puts the remembered number into it and forgets it; the item
        // selected then is "none", so the text stands.
        GoToBox(editor)->setCurrentIndex(-1);
        GoToBox(editor)->setEditText("");
        Click(editor, "cmdFirst");
        GoToBox(editor)->setEditText("");
        editor->cboGoToRecord_Click();
        ExpectShowing(4, "Name 4");
        QCOMPARE(editor->GoToRemembered, short(0));
        QVERIFY(!editor->GoToGuard);

        // With nothing remembered a typed number is taken as typed.
        TypeIntoGoTo("2");
        ExpectShowing(2, "Name 2");
        QCOMPARE(answerer.boxes.size(), 1);
        QVERIFY(answerer.unexpected.isEmpty());
    }

    void goToRememberedItemBeyondTheListFailsAndKeepsTheGuard() {
        // Cancel Add leaves the remembered number one past the list: selecting that item is an invalid
        // property value, which the selection does not trap. The guard stays set, so the next selection
        // runs as the nested one and shows its typed number.
        ModalAnswerer answerer;
        OpenRecords(answerer, NumberedRecords(3));
        Click(editor, "cmdWriteTextToFile");
        editor->GoToRemembered = 4; // as the pass of Update Record while adding leaves it
        Click(editor, "cmdCancelAdd");
        QVERIFY(answerer.boxes.isEmpty());
        QCOMPARE(editor->table.RecordCount, short(3));
        QCOMPARE(GoToBox(editor)->count(), 3);
        QCOMPARE(editor->GoToRemembered, short(4));
        ExpectShowing(3, "Name 3");

        answerer.pressInBox(QMessageBox::Ok);
        TypeIntoGoTo("2");
        QCOMPARE(answerer.boxes.size(), 1);
        QVERIFY(BoxIs(answerer.boxes[0], kApplicationTitle,
                      "Run-time error '380':\r\n\r\nInvalid property value", QMessageBox::Critical, kOk));
        QVERIFY(editor->GoToGuard);
        QCOMPARE(BoxText(editor, 0), QString("Name 3")); // nothing shown

        TypeIntoGoTo("1");
        QVERIFY(!editor->GoToGuard);
        ExpectShowing(1, "Name 1");
        QCOMPARE(answerer.boxes.size(), 1);
        QVERIFY(answerer.unexpected.isEmpty());
    }

    void deletingRecord2Of3LeavesTheFormerRecord3AsRecord2() {
        ModalAnswerer answerer;
        OpenRecords(answerer, NumberedRecords(3));
        Click(editor, "Command3");
        answerer.pressInBox(QMessageBox::Yes);
        Click(editor, "cmdDeleteRecord");
        QCOMPARE(answerer.boxes.size(), 1);
        QVERIFY(BoxIs(answerer.boxes[0], kDeleteTitle, kDelete, QMessageBox::Question, kYesNo));
        QCOMPARE(editor->table.RecordCount, short(2));
        ExpectShowing(2, "Name 3"); // the last record is shown
        QCOMPARE(BoxText(editor, 12), QString("F3"));
        QCOMPARE(editor->table.records[0][0], std::string("Name 1"));
        QCOMPARE(editor->table.records[0][1], std::string("Name 3"));
        QCOMPARE(editor->table.records[0][2], std::string());
        QVERIFY(editor->table.FileChangedByDelete);
        QCOMPARE(GoToBox(editor)->count(), 2);
        QCOMPARE(NavigationStates(), QList<bool>({true, true, false, false}));
    }

    void deletingTheFirstOrTheLastKeepsTheOthersInOrder_data() {
        QTest::addColumn<int>("deleted");
        QTest::newRow("first") << 1;
        QTest::newRow("middle") << 2;
        QTest::newRow("last") << 3;
    }
    void deletingTheFirstOrTheLastKeepsTheOthersInOrder() {
        QFETCH(int, deleted);
        ModalAnswerer answerer;
        OpenRecords(answerer, NumberedRecords(3));
        TypeIntoGoTo(QString::number(deleted));
        answerer.pressInBox(QMessageBox::Yes);
        Click(editor, "cmdDeleteRecord");
        std::vector<Record> expected = NumberedRecords(3);
        expected.erase(expected.begin() + (deleted - 1));
        for (int record = 0; record < 2; ++record)
            for (int field = 0; field < 111; ++field)
                QCOMPARE(editor->table.records[field][record], expected[record][field]);
        QCOMPARE(editor->table.CurrentRecord, short(2));
    }

    void deletingTheOnlyRecordLeavesNoRecordsAndCommitWritesNothing() {
        // With no record left the last record cannot be shown: the boxes keep the deleted record's text.
        // Commit stops at a count of 0, so the file keeps its record.
        ModalAnswerer answerer;
        const QString path = OpenRecords(answerer, NumberedRecords(1));
        const QByteArray before = ReadBytes(path);
        answerer.pressInBox(QMessageBox::Yes);
        Click(editor, "cmdDeleteRecord");
        QCOMPARE(editor->table.RecordCount, short(0));
        QCOMPARE(editor->table.CurrentRecord, short(1));
        QCOMPARE(LabelText(editor, "lblRecNum2"), QString("1"));
        QCOMPARE(GoToBox(editor)->count(), 0);
        QVERIFY(editor->table.FileChangedByDelete);
        QCOMPARE(editor->table.records[0][0], std::string());
        QCOMPARE(BoxText(editor, 0), QString("Name 1"));
        Click(editor, "cmdCommitRecord");
        QCOMPARE(ReadBytes(path), before);
        QVERIFY(editor->table.FileChangedByDelete);
        QCOMPARE(answerer.boxes.size(), 1);
        QVERIFY(answerer.unexpected.isEmpty());
    }

    void deleteAnsweredNoKeepsTheRecord() {
        ModalAnswerer answerer;
        OpenRecords(answerer, NumberedRecords(3));
        Type(editor, 0, "e");
        answerer.pressInBox(QMessageBox::No);
        Click(editor, "cmdDeleteRecord");
        QCOMPARE(editor->table.RecordCount, short(3));
        QVERIFY(!editor->table.FileChangedByDelete);
        QVERIFY(editor->table.RecordEdited);
    }

    void deletingDownToOneRecordDisablesNavigation() {
        ModalAnswerer answerer;
        OpenRecords(answerer, NumberedRecords(2));
        answerer.pressInBox(QMessageBox::Yes);
        Click(editor, "cmdDeleteRecord");
        ExpectShowing(1, "Name 2");
        QCOMPARE(NavigationStates(), QList<bool>({false, false, false, false}));
    }

    void deleteErrorsShowTheirNumber() {
        // In a file without records the record to delete does not exist: going to the last record after
        // the removal fails with a subscript error, shown as its number.
        ModalAnswerer answerer;
        OpenRecords(answerer, {});
        answerer.pressInBox(QMessageBox::Yes);
        answerer.pressInBox(QMessageBox::Ok);
        Click(editor, "cmdDeleteRecord");
        QCOMPARE(answerer.boxes.size(), 2);
        QVERIFY(BoxIs(answerer.boxes[1], kApplicationTitle, "9", QMessageBox::NoIcon, kOk));
        QVERIFY(answerer.unexpected.isEmpty());
    }
};

QTEST_MAIN(EditorRecordActionsTest)
#include "tst_editor_record_actions.moc"
