// frmKorvaniUploadUtility, the record data file editor window ("Lumacor Velmora LT Uploader").
//
// The window edits one record data file at a time in its record table: twelve fixed fields in a column
// of their own, the 99 numbered fields on five tabbed pages, file actions (New, Open, Commit, Close,
// Back to Main Menu) and record actions (First/Previous/Next/Last, Go To Record, Add, Update, Delete,
// Cancel Add). Handlers carry the classic names (cmdNew_Click, TabStrip1_Click, txtAI_KeyPress ...);
// each runs the routine of the same behaviour (NewFile, UpdateRecord, Navigate ...), so callers inside
// the window (Commit runs UpdateRecord, Back to Main Menu runs CloseFile) reach the same code.
//
// The window is split over several files, one job each:
//   frm_korvani_upload_utility.cpp  construction, Form_Load, tab clicks, key events, close request
//   editor_controls.cpp             the controls, their captions and design positions
//   editor_record_view.cpp          showing a record, button states and the small shared routines
//   editor_file_actions.cpp         file name dialog, New, Open, Close, Commit, Back to Main Menu
//   editor_record_actions.cpp       navigation, Update, Add, Cancel Add, Delete
//   editor_go_to_record.cpp         the Go To Record combo box
//   editor_test_aids.cpp            the hidden test buttons and the aatext.txt file they use
//   show_record_editor.cpp          the single editor instance the console opens
//   memo_box, tab_strip             the Memo box and the tab strip of the field pages
//   editor_layout                   positions in twips; editor_messages.h, the boxes' texts
#pragma once

#include "editor/record_file.h"
#include "platform/common_dialog.h"

#include <QWidget>
#include <array>
#include <functional>
#include <string>

class QAbstractButton;
class QComboBox;
class QGroupBox;
class QLabel;
class QLineEdit;
class QPushButton;
namespace editor {
class MemoBox;
class TabStrip;
} // namespace editor

// The console's "Create/&Edit File": loads the editor if it is not loaded and shows it, modeless and
// without an owner; while it is loaded, a second call shows and raises the same window.
void ShowRecordEditor();

class frmKorvaniUploadUtility : public QWidget {
    Q_OBJECT
public:
    frmKorvaniUploadUtility();
    ~frmKorvaniUploadUtility() override;

    // The four navigation buttons share one behaviour; only the target record differs.
    enum class NavigationTarget { First, Previous, Next, Last };

    // True once the window has closed; it is deleted right after.
    bool Unloaded() const { return unloaded; }

    // ---- Controls (public, as a form's controls are) ----
    QPushButton* cmdNew = nullptr;
    QPushButton* cmdOpen = nullptr;
    QPushButton* cmdCloseFile = nullptr;
    QPushButton* cmdCommitRecord = nullptr;
    QPushButton* cmdWriteTextToFile = nullptr; // "&Add Record"
    QPushButton* cmdUpdaterecord = nullptr;
    QPushButton* cmdDeleteRecord = nullptr;
    QPushButton* cmdCancelAdd = nullptr;
    QPushButton* cmdFirst = nullptr;
    QPushButton* Command2 = nullptr; // Previous
    QPushButton* Command3 = nullptr; // Next
    QPushButton* Command4 = nullptr; // Last
    QPushButton* cmdExit = nullptr;  // "&Back to Main Menu"
    QPushButton* Command1 = nullptr; // hidden "&Set Save File Path"
    QPushButton* Command5 = nullptr; // hidden test aids
    QPushButton* Command6 = nullptr;
    QPushButton* Command7 = nullptr;
    QGroupBox* Frame1 = nullptr;
    QLabel* Label1 = nullptr;
    QComboBox* cboGoToRecord = nullptr;
    QLabel* Label2 = nullptr;
    QLabel* lblRecNum = nullptr;
    QLabel* lblRecNum2 = nullptr;
    QLabel* Label3 = nullptr;
    QLineEdit* txtSavePath = nullptr;
    QLabel* Label4 = nullptr;
    QLabel* Label5 = nullptr;
    QLabel* Label6 = nullptr;
    QLabel* Label7 = nullptr;
    std::array<QLabel*, 12> lblAI{};
    std::array<QWidget*, editor::kFieldCount> txtAI{}; // QLineEdit, except txtAI(7), a MemoBox
    editor::TabStrip* TabStrip1 = nullptr;
    std::array<QGroupBox*, 5> fra{};
    std::array<QLabel*, 99> lblKorvani{};
    vb::CommonDialog CommonDialog1;

    // ---- Window state ----
    editor::RecordTable table; // records, RecordCount, CurrentRecord, FilePathName and the change flags
    short CurrentPage = 0;     // the visible page fra(CurrentPage)
    short PageStart = 0;       // set at load and by Close File, read by nothing else
    short GoToRemembered = 0;  // the Go To Record number last taken by UpdateRecord
    bool GoToGuard = false;    // marks the nested run of the Go To Record selection

    // ---- Entry boxes ----
    std::string BoxText(int index) const;
    void SetBoxText(int index, const std::string& text);

    // ---- Shared routines ----
    // The table entry of a field of a record counted from 1; outside the table raises error 9.
    std::string& RecordField(int field, int record);
    void ShowRecord(short record);
    void EmptyEntryBoxes();
    bool AllEntryBoxesEmpty() const;
    void EnableEntryBoxes(bool enabled);
    void RefillGoToRecord();
    void ApplyNavigationButtonStates();
    void SetNavigationButtonsEnabled(bool enabled);
    void EnableNavigation();
    static bool FileExists(const std::string& path);
    void StripLeadingEtx();
    void ReservedProcedure();
    void RecordChangePrompt();

    // ---- File actions ----
    void ChooseFileName();
    void NewFile();
    void OpenFile();
    void ReadAndShowFile();
    void CloseFile();
    void CommitFile();
    void Form_QueryUnload();
    void BackToMainMenu();

    // ---- Record actions ----
    void Navigate(NavigationTarget target);
    void GoFirst() { Navigate(NavigationTarget::First); }
    void GoPrevious() { Navigate(NavigationTarget::Previous); }
    void GoNext() { Navigate(NavigationTarget::Next); }
    void GoLast() { Navigate(NavigationTarget::Last); }
    void UpdateRecord();
    void AddRecord();
    void CancelAdd();
    void DeleteRecord();

    // ---- Go To Record ----
    int GoToListIndex() const;
    void SelectGoToItem(int index);
    void GoToRecordSelection();
    void GoToRecordKeyUp();

    // ---- Test aids ----
    static std::string AatextPath();
    void WriteTestText();
    void LoadNums();
    void ShowTestText();

    // ---- Event handlers ----
    void Form_Load();
    void TabStrip1_Click();
    void txtAI_KeyPress(int index);
    void cboGoToRecord_Click() { GoToRecordSelection(); }
    void cboGoToRecord_KeyUp() { GoToRecordKeyUp(); }
    void cmdNew_Click() { NewFile(); }
    void cmdOpen_Click() { OpenFile(); }
    void cmdCloseFile_Click() { CloseFile(); }
    void cmdCommitRecord_Click() { CommitFile(); }
    void Command1_Click() { ChooseFileName(); }
    void cmdExit_Click() { BackToMainMenu(); }
    void cmdFirst_Click() { GoFirst(); }
    void Command2_Click() { GoPrevious(); }
    void Command3_Click() { GoNext(); }
    void Command4_Click() { GoLast(); }
    void cmdUpdaterecord_Click() { UpdateRecord(); }
    void cmdWriteTextToFile_Click() { AddRecord(); }
    void cmdCancelAdd_Click() { CancelAdd(); }
    void cmdDeleteRecord_Click() { DeleteRecord(); }
    void Command5_Click() { WriteTestText(); }
    void Command6_Click() { LoadNums(); }
    void Command7_Click() { ShowTestText(); }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    void BuildControls();
    void ConnectHandlers();
    void Handle(const std::function<void()>& body);
    void OnClick(QAbstractButton* button, void (frmKorvaniUploadUtility::*handler)());

    bool unloaded = false;
    bool goToTextTyped = false; // the Go To box's text was typed since its last item selection
};
