// The editor's controls: names, captions and design positions (twips). Form_Load then moves the fixed
// fields and the pages to their working places.
#include "editor/editor_layout.h"
#include "editor/frm_korvani_upload_utility.h"
#include "editor/memo_box.h"
#include "editor/tab_strip.h"
#include "platform/fonts.h"
#include "platform/text_box.h"
#include "platform/vb_text.h"

#include <QComboBox>
#include <QGroupBox>
#include <QIcon>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QStyle>

using namespace editor;

namespace {

// Window size and the main blocks of the layout, in twips.
constexpr int kFormWidth = 11880;
constexpr int kFormHeight = 9660;
constexpr int kCaptionLeft = 120, kCaptionWidth = 1005, kCaptionHeight = 255;
constexpr int kBoxLeft = 1140, kBoxWidth = 3735, kBoxHeight = 285;
constexpr int kMemoDesignTop = 3195, kMemoHeight = 1575;
constexpr int kStripLeft = 5160, kStripTop = 1260, kStripWidth = 6600, kStripHeight = 7545;
constexpr int kPageDesignHeight = 6975;
constexpr int kPageRowSpacing = 294;
constexpr int kPageBoxTop = 120, kPageBoxLeft = 660, kPageCaptionWidth = 495;

// The first field index of each page; page k holds fields kPageFirst[k] .. kPageFirst[k + 1] - 1.
constexpr std::array<int, 6> kPageFirst = {12, 35, 58, 81, 104, 111};
constexpr std::array<const char*, 5> kPageCaptions = {"1 - 23", "24 - 46", "47 - 69", "70 - 92", "93 - 99"};

QString IndexedName(const char* array, int index) {
    return QStringLiteral("%1(%2)").arg(array).arg(index);
}

template <typename W> W* Make(QWidget* parent, const QString& name) {
    auto* widget = new W(parent);
    widget->setObjectName(name);
    return widget;
}

QPushButton* Button(QWidget* parent, const char* name, const char* caption) {
    auto* button = Make<QPushButton>(parent, name);
    button->setText(caption);
    return button;
}

// A "button with picture": the caption beside a small icon.
QPushButton* PictureButton(QWidget* parent, const char* name, const char* caption, const char* themeIcon,
                           QStyle::StandardPixmap fallback) {
    QPushButton* button = Button(parent, name, caption);
    button->setIcon(QIcon::fromTheme(themeIcon, parent->style()->standardIcon(fallback)));
    return button;
}

QLabel* Label(QWidget* parent, const QString& name, const QString& caption) {
    auto* label = Make<QLabel>(parent, name);
    label->setText(caption);
    return label;
}

QLabel* RequiredMark(QWidget* parent, const char* name) {
    QLabel* label = Label(parent, name, "*");
    label->setFont(QFont("Arial", 18, QFont::Bold));
    return label;
}

// The entry boxes hold plain single-byte text, laid out without complex shaping: showing a record refills
// all 111 of them, and shaping is most of that cost.
void UsePlainTextLayout(QWidget* box) {
    QFont font = box->font();
    font.setStyleStrategy(QFont::PreferNoShaping);
    box->setFont(font);
}

QWidget* EntryBox(QWidget* parent, int field) {
    const QString name = IndexedName("txtAI", field);
    if (field == kMemoField) {
        auto* memo = Make<MemoBox>(parent, name);
        memo->setMaxLength(FieldMaxLength(field));
        UsePlainTextLayout(memo);
        return memo;
    }
    // The maximum limits typing and pasting only: a longer field read from a file is shown whole.
    auto* box = Make<vb::TextBox>(parent, name);
    box->setMaxLength(FieldMaxLength(field));
    UsePlainTextLayout(box);
    return box;
}

} // namespace

void frmKorvaniUploadUtility::BuildControls() {
    setObjectName("frmKorvaniUploadUtility");
    setWindowTitle("Lumacor Velmora LT Uploader");
    // The design font of the program's windows; the controls made below inherit it.
    setFont(vb::DesignFont());
    setFixedSize(TwipsToPixels(kFormWidth), TwipsToPixels(kFormHeight));

    // File actions along the top.
    cmdNew = PictureButton(this, "cmdNew", "&New  File", "document-new", QStyle::SP_FileIcon);
    Place(cmdNew, 120, 120, 1455, 495);
    cmdOpen = PictureButton(this, "cmdOpen", "&Open  File", "document-open", QStyle::SP_DialogOpenButton);
    Place(cmdOpen, 1635, 120, 1455, 495);
    cmdCloseFile =
        PictureButton(this, "cmdCloseFile", "Clo&se File", "document-close", QStyle::SP_DialogCloseButton);
    Place(cmdCloseFile, 3150, 120, 1455, 495);
    cmdCommitRecord = PictureButton(this, "cmdCommitRecord", "&Commit Changes To File", "document-save",
                                    QStyle::SP_DialogSaveButton);
    Place(cmdCommitRecord, 4665, 120, 2760, 495);
    cmdCommitRecord->setEnabled(false);
    cmdExit = PictureButton(this, "cmdExit", "&Back to Main Menu", "go-previous", QStyle::SP_ArrowBack);
    Place(cmdExit, 9360, 120, 2400, 495);

    Label3 = Label(this, "Label3", "File Location");
    Place(Label3, 120, 765, 1095, 255);
    txtSavePath = Make<QLineEdit>(this, "txtSavePath");
    Place(txtSavePath, 1260, 720, 10500, 315);
    txtSavePath->setReadOnly(true);
    QPalette buttonFace = txtSavePath->palette();
    buttonFace.setColor(QPalette::Base, buttonFace.color(QPalette::Button));
    txtSavePath->setPalette(buttonFace);

    // The fixed fields, each caption beside its box; Form_Load sets their final tops.
    for (int field = 0; field <= kInfo4Field; ++field) {
        lblAI[field] = Label(this, IndexedName("lblAI", field), vb::ToQString(FieldCaption(field)));
        txtAI[field] = EntryBox(this, field);
        const int designTop = field == kMemoField ? kMemoDesignTop : 1500 + field * 300;
        Place(lblAI[field], kCaptionLeft, designTop + 25, kCaptionWidth, kCaptionHeight);
        Place(txtAI[field], kBoxLeft, designTop, kBoxWidth, field == kMemoField ? kMemoHeight : kBoxHeight);
    }
    for (int hidden : {kNoteField, kInfo4Field}) {
        lblAI[hidden]->hide();
        txtAI[hidden]->hide();
    }

    // Required-field marks beside "Name" and "Info 1", and the legend.
    Label4 = RequiredMark(this, "Label4");
    Place(Label4, 4935, 1605, 225, 405);
    Label5 = RequiredMark(this, "Label5");
    Place(Label5, 4935, 5100, 225, 405);
    Label6 = RequiredMark(this, "Label6");
    Place(Label6, 2400, 6345, 225, 405);
    Label7 = Label(this, "Label7", "Denotes required field");
    Place(Label7, 2655, 6465, 2220, 255);

    // The record number; Form_Load moves these three down by 480 twips.
    Label2 = Label(this, "Label2", "Record#");
    Place(Label2, 120, 6000, 855, 255);
    lblRecNum = Label(this, "lblRecNum", "");
    Place(lblRecNum, 1020, 5955, 855, 345);
    lblRecNum->setFrameStyle(QFrame::Panel | QFrame::Sunken);
    lblRecNum2 = Label(this, "lblRecNum2", "");
    Place(lblRecNum2, 1020, 5955, 855, 345);
    lblRecNum2->setAlignment(Qt::AlignCenter);

    // The record navigation group.
    Frame1 = Make<QGroupBox>(this, "Frame1");
    Place(Frame1, 120, 6900, 4755, 1905);
    Label1 = Label(Frame1, "Label1", "Go To Record");
    Place(Label1, 120, 300, 1215, 255);
    Label1->setEnabled(false);
    cboGoToRecord = Make<QComboBox>(Frame1, "cboGoToRecord");
    Place(cboGoToRecord, 1380, 240, 1095, 330);
    cboGoToRecord->setEditable(true);
    cboGoToRecord->setEnabled(false);
    cmdFirst = Button(Frame1, "cmdFirst", "     <--         &First   ");
    Place(cmdFirst, 120, 780, 2220, 420);
    Command2 = Button(Frame1, "Command2", "< &Previous");
    Place(Command2, 2400, 780, 2220, 420);
    Command3 = Button(Frame1, "Command3", "       >          N&ext    ");
    Place(Command3, 120, 1320, 2220, 420);
    Command4 = Button(Frame1, "Command4", "      -->      &Last");
    Place(Command4, 2400, 1320, 2220, 420);
    for (QPushButton* navigation : {cmdFirst, Command2, Command3, Command4})
        navigation->setEnabled(false);

    // The record actions under the pages.
    cmdWriteTextToFile =
        PictureButton(this, "cmdWriteTextToFile", "&Add Record", "list-add", QStyle::SP_FileDialogNewFolder);
    Place(cmdWriteTextToFile, 5160, 8925, 1455, 495);
    cmdUpdaterecord = Button(this, "cmdUpdaterecord", "&Update Record");
    Place(cmdUpdaterecord, 6675, 8925, 1455, 495);
    cmdDeleteRecord =
        PictureButton(this, "cmdDeleteRecord", "&Delete Record", "edit-delete", QStyle::SP_TrashIcon);
    Place(cmdDeleteRecord, 8190, 8925, 1560, 495);
    cmdCancelAdd =
        PictureButton(this, "cmdCancelAdd", "Cancel Add &Record", "edit-undo", QStyle::SP_DialogCancelButton);
    Place(cmdCancelAdd, 9810, 8925, 1950, 495);
    for (QPushButton* disabled : {cmdWriteTextToFile, cmdDeleteRecord, cmdCancelAdd})
        disabled->setEnabled(false);

    // Hidden buttons: the file name action is only run by code, the others are test aids.
    Command1 = Button(this, "Command1", "&Set Save File Path");
    Place(Command1, 120, 9180, 1800, 375);
    Command5 = Button(this, "Command5", "Command5");
    Place(Command5, 1980, 9180, 1000, 375);
    Command6 = Button(this, "Command6", "LoadNums");
    Place(Command6, 3040, 9180, 1000, 375);
    Command7 = Button(this, "Command7", "Command7");
    Place(Command7, 4100, 9180, 1000, 375);
    for (QPushButton* hidden : {Command1, Command5, Command6, Command7})
        hidden->hide();

    // The field pages: the tab strip, and one borderless page per tab holding a column of numbered fields.
    TabStrip1 = Make<TabStrip>(this, "TabStrip1");
    Place(TabStrip1, kStripLeft, kStripTop, kStripWidth, kStripHeight);
    for (int page = 0; page < 5; ++page) {
        fra[page] = Make<QGroupBox>(this, IndexedName("fra", page));
        fra[page]->setTitle(kPageCaptions[page]);
        Place(fra[page], kStripLeft, kStripTop, kStripWidth - 60, kPageDesignHeight);
        for (int field = kPageFirst[page]; field < kPageFirst[page + 1]; ++field) {
            const int row = field - kPageFirst[page];
            const int number = field - kFirstNumberedField; // caption element; reads number + 1
            const int top = kPageBoxTop + row * kPageRowSpacing;
            lblKorvani[number] =
                Label(fra[page], IndexedName("lblKorvani", number), QString::number(number + 1));
            lblKorvani[number]->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
            Place(lblKorvani[number], 0, top + 15, kPageCaptionWidth, kCaptionHeight);
            txtAI[field] = EntryBox(fra[page], field);
            Place(txtAI[field], kPageBoxLeft, top, kBoxWidth, kBoxHeight);
        }
    }

    // Every entry box reports its key presses to the window (txtAI_KeyPress).
    for (int field = 0; field < kFieldCount; ++field) {
        txtAI[field]->setProperty("Index", field);
        txtAI[field]->installEventFilter(this);
    }
}
