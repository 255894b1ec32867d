// The editor window's construction, load, tab clicks, key events and close request.
#include "editor/frm_korvani_upload_utility.h"

#include "editor/editor_layout.h"
#include "editor/tab_strip.h"
#include "platform/errors.h"
#include "platform/handler.h"
#include "platform/program_end.h"

#include <QAbstractButton>
#include <QCloseEvent>
#include <QComboBox>
#include <QGroupBox>
#include <QInputMethodEvent>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

using namespace editor;

namespace {

constexpr std::array<const char*, 5> kTabCaptions = {"1 - 23", "24 - 46", "47 - 69", "70 - 92", "93 - 99"};

// Keys that produce a character raise a box's key press event; moving keys (arrows, Delete, Tab, bare
// modifiers) do not.
bool IsCharacterKey(const QKeyEvent* event) {
    if (event->text().isEmpty()) return false;
    switch (event->key()) {
    case Qt::Key_Tab:
    case Qt::Key_Backtab:
    case Qt::Key_Delete:
        return false;
    default:
        return true;
    }
}

// A character reaches a box either as a key press or, composed with a dead key or an input method, as the
// string the input method commits; both are typing. An input method's preview text is not (yet).
bool IsCharacterEntry(QEvent* event) {
    if (event->type() == QEvent::InputMethod)
        return !static_cast<QInputMethodEvent*>(event)->commitString().isEmpty();
    return IsCharacterKey(static_cast<QKeyEvent*>(event));
}

} // namespace

frmKorvaniUploadUtility::frmKorvaniUploadUtility() : QWidget(nullptr) {
    // Closing the window unloads it: the next ShowRecordEditor loads a fresh one.
    setAttribute(Qt::WA_DeleteOnClose);
    BuildControls();
    ConnectHandlers();
    Form_Load();
}

frmKorvaniUploadUtility::~frmKorvaniUploadUtility() = default;

void frmKorvaniUploadUtility::Handle(const std::function<void()>& body) {
    // An error that no routine of the handler traps ends the handler where it happened and is reported;
    // what it changed before stays changed.
    vb::RunHandler(body);
}

void frmKorvaniUploadUtility::OnClick(QAbstractButton* button, void (frmKorvaniUploadUtility::*handler)()) {
    connect(button, &QAbstractButton::clicked, this,
            [this, handler] { Handle([this, handler] { (this->*handler)(); }); });
}

void frmKorvaniUploadUtility::ConnectHandlers() {
    OnClick(cmdNew, &frmKorvaniUploadUtility::cmdNew_Click);
    OnClick(cmdOpen, &frmKorvaniUploadUtility::cmdOpen_Click);
    OnClick(cmdCloseFile, &frmKorvaniUploadUtility::cmdCloseFile_Click);
    OnClick(cmdCommitRecord, &frmKorvaniUploadUtility::cmdCommitRecord_Click);
    OnClick(cmdExit, &frmKorvaniUploadUtility::cmdExit_Click);
    OnClick(Command1, &frmKorvaniUploadUtility::Command1_Click);
    OnClick(cmdFirst, &frmKorvaniUploadUtility::cmdFirst_Click);
    OnClick(Command2, &frmKorvaniUploadUtility::Command2_Click);
    OnClick(Command3, &frmKorvaniUploadUtility::Command3_Click);
    OnClick(Command4, &frmKorvaniUploadUtility::Command4_Click);
    OnClick(cmdUpdaterecord, &frmKorvaniUploadUtility::cmdUpdaterecord_Click);
    OnClick(cmdWriteTextToFile, &frmKorvaniUploadUtility::cmdWriteTextToFile_Click);
    OnClick(cmdCancelAdd, &frmKorvaniUploadUtility::cmdCancelAdd_Click);
    OnClick(cmdDeleteRecord, &frmKorvaniUploadUtility::cmdDeleteRecord_Click);
    OnClick(Command5, &frmKorvaniUploadUtility::Command5_Click);
    OnClick(Command6, &frmKorvaniUploadUtility::Command6_Click);
    OnClick(Command7, &frmKorvaniUploadUtility::Command7_Click);

    // A click on a tab is the strip's click event, whether or not it changes the selected tab; so is a
    // change of the selected tab from the keyboard.
    connect(TabStrip1, &QTabBar::currentChanged, this, [this] { Handle([this] { TabStrip1_Click(); }); });
    connect(TabStrip1, &QTabBar::tabBarClicked, this, [this](int index) {
        if (index >= 0 && index == TabStrip1->currentIndex()) Handle([this] { TabStrip1_Click(); });
    });

    // Choosing an item of the Go To Record list (with the mouse or the arrow keys) is its selection
    // event. Finishing an edit of the typed text is not: the key release rule handles typed numbers.
    cboGoToRecord->setInsertPolicy(QComboBox::NoInsert);
    cboGoToRecord->setCompleter(nullptr);
    disconnect(cboGoToRecord->lineEdit(), &QLineEdit::editingFinished, cboGoToRecord, nullptr);
    connect(cboGoToRecord, &QComboBox::activated, this, [this] {
        goToTextTyped = false;
        Handle([this] { cboGoToRecord_Click(); });
    });
    connect(cboGoToRecord->lineEdit(), &QLineEdit::textEdited, this, [this] { goToTextTyped = true; });
    cboGoToRecord->installEventFilter(this);
    cboGoToRecord->lineEdit()->installEventFilter(this);
}

void frmKorvaniUploadUtility::Form_Load() {
    // 1. No change is pending in a new window.
    table.RecordEdited = false;
    table.FileChangedByDelete = false;
    table.FileChanged = false;
    table.AddingRecord = false;
    table.AddingRecordCompanion = false;
    table.RecordsChanged = false;
    table.DialogCancelled = false;
    table.AppendEndMarker = false;
    table.UpdateCancelled = false;

    // 2. Only the file actions are usable until a file is opened or created.
    cmdCommitRecord->setEnabled(true);
    cmdDeleteRecord->setEnabled(true);
    cmdWriteTextToFile->setEnabled(false);
    cmdCancelAdd->setEnabled(false);
    SetNavigationButtonsEnabled(false);
    Frame1->setEnabled(true);
    cboGoToRecord->setEnabled(true);
    cmdCommitRecord->setEnabled(false);
    cmdDeleteRecord->setEnabled(false);
    cmdUpdaterecord->setEnabled(false);

    // 3. The window carries no background picture.

    // 4. Every page is as tall as the tab strip's client area.
    for (QGroupBox* page : fra)
        SetHeight(page, 7095);

    // 5. The fixed fields: Name to Note from 1485 twips down, Info 1 at 4980 with Info 2 to Info 4 below
    //    it, each caption 25 twips lower than its box; Memo stays where it was designed. Then the whole
    //    column, and the record number 480 twips, move down.
    int c = 1;
    for (int field = 0; field <= kNoteField; ++field, ++c) {
        SetTop(txtAI[field], c * 285 + 1200);
        SetTop(lblAI[field], c * 285 + 1225);
    }
    SetTop(txtAI[kInfo1Field], 4980);
    SetTop(lblAI[kInfo1Field], 5005);
    c = 1;
    for (int field = kInfo1Field + 1; field <= kInfo4Field; ++field, ++c) {
        SetTop(txtAI[field], c * 285 + 4980);
        SetTop(lblAI[field], c * 285 + 5005);
    }
    for (int field = 0; field <= kInfo4Field; ++field) {
        SetTop(txtAI[field], Top(txtAI[field]) + 200);
        SetTop(lblAI[field], Top(lblAI[field]) + 200);
    }
    for (QLabel* label : {Label2, lblRecNum, lblRecNum2})
        SetTop(label, Top(label) + 480);

    // 6. The entry boxes wait for a file.
    EnableEntryBoxes(false);

    // 7.
    PageStart = 1;

    // 8. Five tabs, the strip behind the pages. Building the tabs is not a tab click.
    {
        const QSignalBlocker building(TabStrip1);
        while (TabStrip1->count() > 0)
            TabStrip1->removeTab(0);
        for (const char* caption : kTabCaptions)
            TabStrip1->addTab(caption);
    }
    TabStrip1->lower();

    // 9. Each page lies borderless over the strip's client area, hidden.
    for (QGroupBox* page : fra) {
        // Without its border a page shows neither frame nor caption; the tab names the page.
        page->setFlat(true);
        page->setStyleSheet("QGroupBox { border: none; } QGroupBox::title { color: transparent; }");
        Move(page, TabStrip1->ClientLeft(), TabStrip1->ClientTop());
        page->hide();
    }

    // 10. The first page is showing.
    {
        const QSignalBlocker selecting(TabStrip1);
        TabStrip1->setCurrentIndex(0);
    }
    fra[0]->show();
}

void frmKorvaniUploadUtility::TabStrip1_Click() {
    try {
        const int k = TabStrip1->currentIndex(); // the tab numbered k + 1
        if (k == CurrentPage) return;
        for (int i = 0; i < int(fra.size()); ++i)
            fra[i]->setVisible(i == k);
        CurrentPage = short(k);
        cmdOpen->setFocus();
    } catch (const vb::Error&) {
        // A failure here only leaves the pages as they are.
    }
}

void frmKorvaniUploadUtility::txtAI_KeyPress(int /*index*/) {
    table.RecordEdited = true;
}

bool frmKorvaniUploadUtility::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::KeyPress || event->type() == QEvent::InputMethod) {
        const QVariant index = watched->property("Index");
        if (index.isValid() && IsCharacterEntry(event))
            Handle([this, index] { txtAI_KeyPress(index.toInt()); });
    } else if (event->type() == QEvent::KeyRelease &&
               (watched == cboGoToRecord || watched == cboGoToRecord->lineEdit())) {
        if (!static_cast<QKeyEvent*>(event)->isAutoRepeat()) Handle([this] { cboGoToRecord_KeyUp(); });
    }
    return QWidget::eventFilter(watched, event);
}

void frmKorvaniUploadUtility::closeEvent(QCloseEvent* event) {
    // Once the program has ended, windows just close; otherwise the close request may save changes
    // first, and is never refused.
    if (!vb::HasEnded()) Handle([this] { Form_QueryUnload(); });
    unloaded = true;
    event->accept();
}
