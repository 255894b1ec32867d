// The record editor window: its controls, the state and layout after load, the field pages and their
// tab strip, key presses in the entry boxes, the hidden test aids, and how the console's editor instance
// is loaded, shown and unloaded.
#include "editor/editor_layout.h"
#include "platform/program_end.h"
#include "platform/twips.h"
#include "tst_editor_support.h"

#include <QGroupBox>
#include <QSignalSpy>

using namespace editor_tests;

class EditorWindowTest : public QObject {
    Q_OBJECT

    QTemporaryDir dir;
    frmKorvaniUploadUtility* editor = nullptr;

    QString PathOf(const char* name) const { return dir.filePath(name); }

    // Opens `path` with the Open button, answering the file dialog.
    void OpenWithDialog(ModalAnswerer& answerer, const QString& path) {
        ChooseFile(answerer, path);
        Click(editor, "cmdOpen");
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

    void windowNameAndTitle() {
        QCOMPARE(editor->objectName(), QString("frmKorvaniUploadUtility"));
        QCOMPARE(editor->windowTitle(), QString("Lumacor Velmora LT Uploader"));
    }

    void buttonsHaveTheirCaptions_data() {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("caption");
        QTest::newRow("cmdNew") << "cmdNew"
                                << "&New  File";
        QTest::newRow("cmdOpen") << "cmdOpen"
                                 << "&Open  File";
        QTest::newRow("cmdCloseFile") << "cmdCloseFile"
                                      << "Clo&se File";
        QTest::newRow("cmdCommitRecord") << "cmdCommitRecord"
                                         << "&Commit Changes To File";
        QTest::newRow("cmdWriteTextToFile") << "cmdWriteTextToFile"
                                            << "&Add Record";
        QTest::newRow("cmdUpdaterecord") << "cmdUpdaterecord"
                                         << "&Update Record";
        QTest::newRow("cmdDeleteRecord") << "cmdDeleteRecord"
                                         << "&Delete Record";
        QTest::newRow("cmdCancelAdd") << "cmdCancelAdd"
                                      << "Cancel Add &Record";
        QTest::newRow("cmdFirst") << "cmdFirst"
                                  << "     <--         &First   ";
        QTest::newRow("Command2") << "Command2"
                                  << "< &Previous";
        QTest::newRow("Command3") << "Command3"
                                  << "       >          N&ext    ";
        QTest::newRow("Command4") << "Command4"
                                  << "      -->      &Last";
        QTest::newRow("cmdExit") << "cmdExit"
                                 << "&Back to Main Menu";
        QTest::newRow("Command1") << "Command1"
                                  << "&Set Save File Path";
        QTest::newRow("Command5") << "Command5"
                                  << "Command5";
        QTest::newRow("Command6") << "Command6"
                                  << "LoadNums";
        QTest::newRow("Command7") << "Command7"
                                  << "Command7";
    }
    void buttonsHaveTheirCaptions() {
        QFETCH(QString, name);
        QFETCH(QString, caption);
        QAbstractButton* button = Control(editor, name);
        QVERIFY(button);
        QCOMPARE(button->text(), caption);
    }

    void picturesOnThePictureButtons() {
        for (const char* name : {"cmdNew", "cmdOpen", "cmdCloseFile", "cmdCommitRecord", "cmdWriteTextToFile",
                                 "cmdDeleteRecord", "cmdCancelAdd", "cmdExit"})
            QVERIFY2(!Control(editor, name)->icon().isNull(), name);
    }

    void labelsAndOtherControls() {
        QCOMPARE(LabelText(editor, "Label1"), QString("Go To Record"));
        QCOMPARE(LabelText(editor, "Label2"), QString("Record#"));
        QCOMPARE(LabelText(editor, "Label3"), QString("File Location"));
        QCOMPARE(LabelText(editor, "Label7"), QString("Denotes required field"));
        for (const char* mark : {"Label4", "Label5", "Label6"}) {
            auto* label = Control<QLabel>(editor, mark);
            QCOMPARE(label->text(), QString("*"));
            QCOMPARE(label->font().pointSize(), 18);
            QVERIFY(label->font().bold());
            QCOMPARE(label->font().family(), QString("Arial"));
        }
        QVERIFY(Control<QLabel>(editor, "lblRecNum"));
        QVERIFY(Control<QLabel>(editor, "lblRecNum2"));
        QVERIFY(Control<QGroupBox>(editor, "Frame1"));
        QCOMPARE(Control<QGroupBox>(editor, "Frame1")->title(), QString());
        auto* savePath = Control<QLineEdit>(editor, "txtSavePath");
        QVERIFY(savePath);
        QCOMPARE(savePath->palette().color(QPalette::Base), savePath->palette().color(QPalette::Button));
        QComboBox* goTo = GoToBox(editor);
        QVERIFY(goTo);
        QVERIFY(goTo->isEditable());
        QCOMPARE(goTo->count(), 0);
        // The Go To Record controls sit in the navigation frame.
        QCOMPARE(goTo->parentWidget()->objectName(), QString("Frame1"));
        QCOMPARE(Control(editor, "cmdFirst")->parentWidget()->objectName(), QString("Frame1"));
    }

    void fixedFieldCaptionsAndLimits() {
        const QStringList captions = {"Name", "Address1", "Address2", "City",   "State",  "ZIP+4",
                                      "Note", "Memo",     "Info 1",   "Info 2", "Info 3", "Info 4"};
        const std::array<int, 12> limits = {33, 33, 33, 33, 2, 9, 30, 200, 32, 32, 32, 30};
        for (int field = 0; field < 12; ++field) {
            auto* caption = Control<QLabel>(editor, QStringLiteral("lblAI(%1)").arg(field));
            QVERIFY(caption);
            QCOMPARE(caption->text(), captions[field]);
            QWidget* box = Box(editor, field);
            QVERIFY(box);
            QCOMPARE(box->property("maxLength").toInt(), limits[field]);
        }
        QVERIFY(qobject_cast<QPlainTextEdit*>(Box(editor, 7)));
        QCOMPARE(qobject_cast<QPlainTextEdit*>(Box(editor, 7))->verticalScrollBarPolicy(),
                 Qt::ScrollBarAlwaysOn);
    }

    void numberedFieldsOnTheirPages() {
        const QStringList pageCaptions = {"1 - 23", "24 - 46", "47 - 69", "70 - 92", "93 - 99"};
        const std::array<int, 6> firstField = {12, 35, 58, 81, 104, 111};
        auto* strip = Control<QTabBar>(editor, "TabStrip1");
        QVERIFY(strip);
        QCOMPARE(strip->count(), 5);
        for (int page = 0; page < 5; ++page) {
            auto* frame = Control<QGroupBox>(editor, QStringLiteral("fra(%1)").arg(page));
            QVERIFY(frame);
            QCOMPARE(frame->title(), pageCaptions[page]);
            QCOMPARE(strip->tabText(page), pageCaptions[page]);
            int previousTop = -1;
            for (int field = firstField[page]; field < firstField[page + 1]; ++field) {
                auto* box = qobject_cast<QLineEdit*>(Box(editor, field));
                QVERIFY(box);
                QCOMPARE(box->parentWidget(), frame);
                QCOMPARE(box->property("maxLength").toInt(), 33);
                QVERIFY(box->y() > previousTop); // one column in ascending field order
                previousTop = box->y();
                auto* caption = Control<QLabel>(editor, QStringLiteral("lblKorvani(%1)").arg(field - 12));
                QVERIFY(caption);
                QCOMPARE(caption->text(), QString::number(field - 11));
                QCOMPARE(caption->parentWidget(), frame);
                QVERIFY(caption->x() < box->x()); // caption to the left
            }
        }
        QVERIFY(!editor->findChild<QWidget*>("txtAI(111)"));
        QVERIFY(!editor->findChild<QWidget*>("lblKorvani(99)"));
    }

    void hiddenControlsAfterLoad() {
        for (const char* name : {"Command1", "Command5", "Command6", "Command7"}) {
            QVERIFY2(Control(editor, name)->isHidden(), name);
        }
        for (const char* name : {"cmdNew", "cmdOpen", "cmdCloseFile", "cmdExit", "cmdFirst", "txtSavePath"})
            QVERIFY2(editor->findChild<QWidget*>(name)->isVisible(), name);
    }

    void stateAfterLoad() {
        for (const char* name :
             {"cmdWriteTextToFile", "cmdCancelAdd", "cmdFirst", "Command2", "Command3", "Command4",
              "cmdCommitRecord", "cmdDeleteRecord", "cmdUpdaterecord", "Label1"})
            QVERIFY2(!Enabled(editor, name), name);
        for (const char* name :
             {"cmdNew", "cmdOpen", "cmdCloseFile", "cmdExit", "Frame1", "cboGoToRecord", "TabStrip1"})
            QVERIFY2(Enabled(editor, name), name);
        for (int field = 0; field < 111; ++field)
            QVERIFY(!Box(editor, field)->isEnabled());
        const editor::RecordTable& table = editor->table;
        QVERIFY(!table.RecordEdited && !table.FileChangedByDelete && !table.FileChanged &&
                !table.AddingRecord && !table.AddingRecordCompanion && !table.RecordsChanged &&
                !table.DialogCancelled && !table.AppendEndMarker && !table.UpdateCancelled &&
                !table.FileLoaded);
        QCOMPARE(table.RecordCount, short(0));
        QCOMPARE(editor->CurrentPage, short(0));
        QCOMPARE(editor->PageStart, short(1));
        QCOMPARE(editor->GoToGuard, false);
    }

    void pagesAfterLoad() {
        auto* strip = Control<editor::TabStrip>(editor, "TabStrip1");
        QCOMPARE(strip->currentIndex(), 0);
        const QObjectList siblings = editor->children();
        for (int page = 0; page < 5; ++page) {
            auto* frame = Control<QGroupBox>(editor, QStringLiteral("fra(%1)").arg(page));
            QCOMPARE(frame->isVisible(), page == 0);
            QCOMPARE(editor::Height(frame), 7095);
            QCOMPARE(frame->height(), vb::Twips(7095));
            QVERIFY(frame->isFlat());
            // Over the strip's client area, and in front of the strip.
            QCOMPARE(editor::Left(frame), strip->ClientLeft());
            QCOMPARE(editor::Top(frame), strip->ClientTop());
            QVERIFY(frame->y() >= strip->y() + strip->tabRect(0).height());
            QVERIFY(siblings.indexOf(strip) < siblings.indexOf(frame));
        }
    }

    // Box tops in twips after load: Name..Note at c * 285 + 1200, Info 1 at 4980, Info 2..Info 4 at
    // c * 285 + 4980 with c restarting, captions 25 lower, then the column 200 lower; Memo keeps its
    // designed place (3195) and moves with the column; the record number moves 480 down.
    void fixedFieldLayoutArithmetic() {
        auto expectTop = [&](QWidget* widget, int twips) {
            QCOMPARE(editor::Top(widget), twips);
            QCOMPARE(widget->y(), vb::Twips(twips));
        };
        for (int field = 0; field <= 6; ++field) {
            const int c = field + 1;
            expectTop(Box(editor, field), c * 285 + 1200 + 200);
            expectTop(Control<QLabel>(editor, QStringLiteral("lblAI(%1)").arg(field)), c * 285 + 1225 + 200);
        }
        QCOMPARE(editor::Top(Box(editor, 0)), 1685);
        QCOMPARE(editor::Top(Box(editor, 1)), 1970);
        expectTop(Box(editor, 8), 5180);
        expectTop(Control<QLabel>(editor, "lblAI(8)"), 5205);
        for (int field = 9; field <= 11; ++field) {
            const int c = field - 8;
            expectTop(Box(editor, field), c * 285 + 4980 + 200);
            expectTop(Control<QLabel>(editor, QStringLiteral("lblAI(%1)").arg(field)), c * 285 + 5005 + 200);
        }
        expectTop(Box(editor, 7), 3195 + 200);
        expectTop(Control<QLabel>(editor, "Label2"), 6000 + 480);
        expectTop(Control<QLabel>(editor, "lblRecNum"), 5955 + 480);
        expectTop(Control<QLabel>(editor, "lblRecNum2"), 5955 + 480);
        // The fixed column stands beside the tab strip.
        QVERIFY(Box(editor, 0)->geometry().right() < Control<QTabBar>(editor, "TabStrip1")->x());
    }

    void clickingTheSelectedTabKeepsTheFocus() {
        ModalAnswerer answerer;
        Click(editor, "cmdNew");
        QWidget* name = Box(editor, 0);
        name->setFocus();
        QTRY_COMPARE(QApplication::focusWidget(), name);
        auto* strip = Control<QTabBar>(editor, "TabStrip1");
        QTest::mouseClick(strip, Qt::LeftButton, Qt::NoModifier, strip->tabRect(0).center());
        QCOMPARE(QApplication::focusWidget(), name);
        QCOMPARE(editor->CurrentPage, short(0));
        QVERIFY(Control<QWidget>(editor, "fra(0)")->isVisible());

        // Another tab shows its page and moves the focus to "&Open  File".
        QTest::mouseClick(strip, Qt::LeftButton, Qt::NoModifier, strip->tabRect(2).center());
        QCOMPARE(editor->CurrentPage, short(2));
        for (int page = 0; page < 5; ++page)
            QCOMPARE(Control<QWidget>(editor, QStringLiteral("fra(%1)").arg(page))->isVisible(), page == 2);
        QCOMPARE(QApplication::focusWidget(), Control<QWidget>(editor, "cmdOpen"));

        // And that tab again leaves the focus where it is.
        name->setFocus();
        QTRY_COMPARE(QApplication::focusWidget(), name);
        QTest::mouseClick(strip, Qt::LeftButton, Qt::NoModifier, strip->tabRect(2).center());
        QCOMPARE(QApplication::focusWidget(), name);
        QVERIFY(answerer.unexpected.isEmpty());
    }

    void noteAndInfo4AreHiddenYetPartOfEveryRecord() {
        for (int field : {6, 11}) {
            QVERIFY(Box(editor, field)->isHidden());
            QVERIFY(Control<QLabel>(editor, QStringLiteral("lblAI(%1)").arg(field))->isHidden());
        }
        QCOMPARE(LabelText(editor, "lblAI(6)"), QString("Note"));
        QCOMPARE(LabelText(editor, "lblAI(11)"), QString("Info 4"));

        // A record's Note and Info 4 are shown in the hidden boxes and written back with the record.
        Record record = MakeRecord("Ann", "I1");
        record[6] = "a note";
        record[11] = "fourth";
        const QString path = PathOf("note.txt");
        QVERIFY(WriteBytes(path, FileBytes({record})));
        ModalAnswerer answerer;
        OpenWithDialog(answerer, path);
        QCOMPARE(BoxText(editor, 6), QString("a note"));
        QCOMPARE(BoxText(editor, 11), QString("fourth"));
        Type(editor, 0, "e");
        Click(editor, "cmdUpdaterecord");
        Click(editor, "cmdCommitRecord");
        record[0] = "Anne";
        QCOMPARE(ReadBytes(path), FileBytes({record}));
        QVERIFY(answerer.unexpected.isEmpty());
    }

    void boxesKeepTheirMaximumLengths() {
        ModalAnswerer answerer;
        Click(editor, "cmdNew");
        Type(editor, 4, "TXA");
        QCOMPARE(BoxText(editor, 4), QString("TX"));
        Type(editor, 5, "1234567890");
        QCOMPARE(BoxText(editor, 5), QString("123456789"));
        Type(editor, 12, QString(40, 'n'));
        QCOMPARE(BoxText(editor, 12), QString(33, 'n'));

        // Memo takes 200 characters; a line break counts two (CR LF).
        Type(editor, 7, QString(199, 'm'));
        QTest::keyClick(Box(editor, 7), Qt::Key_Return);
        QCOMPARE(BoxText(editor, 7), QString(199, 'm'));
        Type(editor, 7, "xy");
        QCOMPARE(BoxText(editor, 7), QString(199, 'm') + "x");
        QVERIFY(answerer.unexpected.isEmpty());
    }

    void memoLineBreakIsCrLfInTheRecord() {
        ModalAnswerer answerer;
        Click(editor, "cmdNew");
        Type(editor, 0, "N");
        Type(editor, 8, "I");
        Type(editor, 7, "ab");
        QTest::keyClick(Box(editor, 7), Qt::Key_Return);
        Type(editor, 7, "c");
        Click(editor, "cmdUpdaterecord");
        QCOMPARE(editor->table.records[7][0], std::string("ab\r\nc"));
        QVERIFY(answerer.unexpected.isEmpty());
    }

    void aLoneLineFeedInAFieldIsKeptByItsBox() {
        // An LF without CR is field text in a record data file; the boxes hand it back unchanged, the
        // multi-line Memo too (only its own line breaks are CR LF), so storing the record changes no byte.
        Record record = MakeRecord("Lf", "I");
        record[1] = "up\ndown";
        record[7] = "memo\nwith two\nlone LFs";
        const QString path = PathOf("lone-lf.txt");
        QVERIFY(WriteBytes(path, FileBytes({record})));
        ModalAnswerer answerer;
        OpenWithDialog(answerer, path);
        QCOMPARE(editor->table.records[7][0], record[7]);
        Type(editor, 0, "!");
        Click(editor, "cmdUpdaterecord");
        QCOMPARE(editor->table.records[1][0], record[1]);
        QCOMPARE(editor->table.records[7][0], record[7]);
        Click(editor, "cmdCommitRecord");
        record[0] += "!";
        QCOMPARE(ReadBytes(path), FileBytes({record}));
        QVERIFY(answerer.boxes.isEmpty());
        QVERIFY(answerer.unexpected.isEmpty());
    }

    void typedKeysSetRecordEditedFilledTextDoesNot() {
        Record record = MakeRecord("Bob", "I");
        const QString path = PathOf("keys.txt");
        QVERIFY(WriteBytes(path, FileBytes({record, record})));
        ModalAnswerer answerer;
        OpenWithDialog(answerer, path);
        QCOMPARE(BoxText(editor, 0), QString("Bob"));
        QVERIFY(!editor->table.RecordEdited); // filling the boxes is not typing

        QTest::keyClick(Box(editor, 0), Qt::Key_Left); // a moving key is not a key press
        QVERIFY(!editor->table.RecordEdited);
        QTest::keyClick(Box(editor, 30), Qt::Key_Z);
        QVERIFY(editor->table.RecordEdited);

        // A key the full box refuses is still a key press.
        editor->table.RecordEdited = false;
        qobject_cast<QLineEdit*>(Box(editor, 4))->setText("NY");
        QVERIFY(!editor->table.RecordEdited);
        QTest::keyClick(Box(editor, 4), Qt::Key_Q);
        QCOMPARE(BoxText(editor, 4), QString("NY"));
        QVERIFY(editor->table.RecordEdited);

        // Backspace is a key press too.
        editor->table.RecordEdited = false;
        QTest::keyClick(Box(editor, 7), Qt::Key_Backspace);
        QVERIFY(editor->table.RecordEdited);
    }

    void testAidWritesAatextInHome() {
        const QString path = dir.filePath("aatext.txt");
        QFile::remove(path);
        QCOMPARE(QString::fromStdString(frmKorvaniUploadUtility::AatextPath()), path);
        Click(editor, "Command5");
        const QByteArray expected = "This is text\r\nThis is text\r\n\n\r\n"
                                    "This is text again\r\nThis is text again\r\n\n\r\n"
                                    "This is text again yet again\r\nThis is text again yet again\r\n\n\r\n";
        QCOMPARE(ReadBytes(path), expected);
        Click(editor, "Command5"); // appends
        QCOMPARE(ReadBytes(path), expected + expected);
    }

    void testAidLoadNums() {
        Click(editor, "Command6");
        for (int field = 0; field < 12; ++field)
            QCOMPARE(BoxText(editor, field), QString::number(field + 1));
        QCOMPARE(BoxText(editor, 12), QString());
        QVERIFY(!editor->table.RecordEdited);
    }

    void testAidShowsTheFirstTenLines() {
        const QString path = dir.filePath("aatext.txt");
        QByteArray lines;
        for (int n = 1; n <= 12; ++n)
            lines += "line " + QByteArray::number(n) + "\r\n";
        QVERIFY(WriteBytes(path, lines));
        ModalAnswerer answerer;
        for (int n = 0; n < 10; ++n)
            answerer.pressInBox(QMessageBox::Ok);
        Click(editor, "Command7");
        QVERIFY(answerer.waitUntilAnswered());
        QCOMPARE(answerer.boxes.size(), 10);
        for (int n = 0; n < 10; ++n)
            QVERIFY(BoxIs(answerer.boxes[n], kApplicationTitle, QString("line %1").arg(n + 1),
                          QMessageBox::NoIcon, kOk));
        QCOMPARE(QString::fromStdString(editor->table.FilePathName), path);
        QVERIFY(answerer.unexpected.isEmpty());
    }

    void testAidShowsWhatTheWritingAidWroteUpToItsEnd() {
        // Command5 writes nine lines; the third of each round holds a single LF, which line input returns
        // as the line's text. The tenth read is past the end of the file, an error Command7 does not trap.
        const QString path = dir.filePath("aatext.txt");
        QFile::remove(path);
        Click(editor, "Command5");
        ModalAnswerer answerer;
        for (int n = 0; n < 10; ++n)
            answerer.pressInBox(QMessageBox::Ok);
        Click(editor, "Command7");
        QVERIFY(answerer.waitUntilAnswered());
        const QStringList lines = {"This is text",
                                   "This is text",
                                   "\n",
                                   "This is text again",
                                   "This is text again",
                                   "\n",
                                   "This is text again yet again",
                                   "This is text again yet again",
                                   "\n"};
        QCOMPARE(answerer.boxes.size(), 10);
        for (int n = 0; n < 9; ++n)
            QVERIFY(BoxIs(answerer.boxes[n], kApplicationTitle, lines[n], QMessageBox::NoIcon, kOk));
        QVERIFY(BoxIs(answerer.boxes[9], kApplicationTitle,
                      "Run-time error '62':\r\n\r\nInput past end of file", QMessageBox::Critical, kOk));
        QVERIFY(answerer.unexpected.isEmpty());
    }

    void sharedRoutines() {
        // StripLeadingEtx drops a leading ETX from "Name" only.
        qobject_cast<QLineEdit*>(Box(editor, 0))->setText(QString(QChar(3)) + "Zed");
        editor->StripLeadingEtx();
        QCOMPARE(BoxText(editor, 0), QString("Zed"));
        editor->StripLeadingEtx();
        QCOMPARE(BoxText(editor, 0), QString("Zed"));

        // FileExists answers for files only; anything else is false.
        const QString file = PathOf("exists.txt");
        QVERIFY(WriteBytes(file, "x"));
        QVERIFY(frmKorvaniUploadUtility::FileExists(file.toStdString()));
        QVERIFY(!frmKorvaniUploadUtility::FileExists(PathOf("missing.txt").toStdString()));
        QVERIFY(!frmKorvaniUploadUtility::FileExists(dir.path().toStdString()));
        QVERIFY(!frmKorvaniUploadUtility::FileExists(""));

        // EnableNavigation makes the record actions usable.
        editor->EnableNavigation();
        for (const char* name : {"cmdFirst", "Command2", "Command3", "Command4", "cmdDeleteRecord",
                                 "cmdWriteTextToFile", "cboGoToRecord", "Label1"})
            QVERIFY2(Enabled(editor, name), name);
        QVERIFY(!Enabled(editor, "cmdCancelAdd"));
    }

    void showRecordEditorKeepsOneInstance() {
        ShowRecordEditor();
        ShowRecordEditor();
        int editors = 0;
        for (QWidget* window : QApplication::topLevelWidgets())
            if (window->objectName() == "frmKorvaniUploadUtility" && window->isVisible()) ++editors;
        QCOMPARE(editors, 1);
        QCOMPARE(FindEditor(), editor);
        QVERIFY(!editor->parentWidget());
        QCOMPARE(editor->windowModality(), Qt::NonModal);
    }

    void backToMainMenuUnloadsTheEditor() {
        QPointer<frmKorvaniUploadUtility> first = editor;
        ModalAnswerer answerer;
        Click(editor, "cmdNew");
        QVERIFY(Box(editor, 0)->isEnabled());
        Click(editor, "cmdExit");
        QVERIFY(!first || !first->isVisible());
        QTRY_VERIFY(!first); // destroyed
        ShowRecordEditor();
        editor = FindEditor();
        QVERIFY(editor);
        QVERIFY(editor->isVisible());
        QVERIFY(!Box(editor, 0)->isEnabled()); // a freshly loaded window
        QVERIFY(answerer.unexpected.isEmpty());
        QVERIFY(answerer.boxes.isEmpty());
    }

    void closeRequestOffersToSaveADeletion() {
        const QString path = PathOf("close.txt");
        QVERIFY(WriteBytes(path, FileBytes(NumberedRecords(2))));
        ModalAnswerer answerer;
        OpenWithDialog(answerer, path);
        answerer.pressInBox(QMessageBox::Yes); // delete the current record
        Click(editor, "cmdDeleteRecord");
        QVERIFY(editor->table.FileChangedByDelete);

        answerer.pressInBox(QMessageBox::Yes); // save on close
        QPointer<frmKorvaniUploadUtility> closing = editor;
        editor->close();
        QCOMPARE(answerer.boxes.size(), 2);
        QVERIFY(BoxIs(answerer.boxes[1], kSaveChanges, kSaveToFile, QMessageBox::Question, kYesNo));
        QCOMPARE(ReadBytes(path), FileBytes({NumberedRecords(2)[1]}));
        QTRY_VERIFY(!closing);
        QVERIFY(answerer.unexpected.isEmpty());
    }

    void closeRequestAnsweredNoStillCloses() {
        const QString path = PathOf("close-no.txt");
        QVERIFY(WriteBytes(path, FileBytes(NumberedRecords(2))));
        ModalAnswerer answerer;
        OpenWithDialog(answerer, path);
        answerer.pressInBox(QMessageBox::Yes);
        Click(editor, "cmdDeleteRecord");
        answerer.pressInBox(QMessageBox::No);
        QPointer<frmKorvaniUploadUtility> closing = editor;
        editor->close();
        QCOMPARE(answerer.boxes.size(), 2);
        QCOMPARE(ReadBytes(path), FileBytes(NumberedRecords(2)));
        QTRY_VERIFY(!closing); // the close is never cancelled
        QVERIFY(answerer.unexpected.isEmpty());
    }

    void afterTheProgramEndedTheEditorJustCloses() {
        const QString path = PathOf("ended.txt");
        QVERIFY(WriteBytes(path, FileBytes(NumberedRecords(2))));
        ModalAnswerer answerer;
        OpenWithDialog(answerer, path);
        answerer.pressInBox(QMessageBox::Yes);
        Click(editor, "cmdDeleteRecord");
        QVERIFY(editor->table.FileChangedByDelete);
        try {
            vb::End();
        } catch (const vb::ProgramEnded&) {
        }
        QPointer<frmKorvaniUploadUtility> closing = editor;
        editor->close();
        QTRY_VERIFY(!closing);
        vb::ResetEnded();
        QCOMPARE(answerer.boxes.size(), 1); // only the delete question: nothing asked on close
        QVERIFY(answerer.unexpected.isEmpty());
        QCOMPARE(ReadBytes(path), FileBytes(NumberedRecords(2)));
    }
};

QTEST_MAIN(EditorWindowTest)
#include "tst_editor_window.moc"
