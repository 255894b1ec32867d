// Form1's controls: the text box above, the progress bar (shown only while an upload runs) and two rows of
// buttons below. Positions in twips; the client area is 9600 x 6240.
#include "platform/fonts.h"
#include "platform/twips.h"
#include "upload/form1.h"

#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>

namespace {

struct ButtonRow {
    QPushButton* Form1::*member;
    const char* name;
    const char* caption;
    int left, top;
};

constexpr int kButtonWidth = 2235;
constexpr int kButtonHeight = 375;

// In tab order, after the text box.
constexpr ButtonRow kButtons[] = {
    {&Form1::cmdClear, "cmdClear", "&Clear", 120, 5160},
    {&Form1::cmdLoad, "cmdLoad", "&Load From File", 2475, 5160},
    {&Form1::cmdSave, "cmdSave", "&Save", 4830, 5160},
    {&Form1::cmdSaveAs, "cmdSaveAs", "S&ave As", 7185, 5160},
    {&Form1::cmdUpload, "cmdUpload", "&Upload To Tablet", 120, 5700},
    {&Form1::Command1, "Command1", "Ca&ncel Upload", 2475, 5700},
    {&Form1::cmdReturn, "cmdReturn", "&Return to Menu", 7185, 5700},
};

} // namespace

void Form1::CreateControls() {
    setObjectName("Form1");
    setWindowTitle("Lumacor Uploader");
    setFont(vb::DesignFont(8.25, false));
    setFixedSize(vb::Twips(9600), vb::Twips(6240));

    Text1 = new QPlainTextEdit(this);
    Text1->setObjectName("Text1");
    Text1->setGeometry(vb::TwipsRect(120, 120, 9300, 4560));
    Text1->setLineWrapMode(QPlainTextEdit::NoWrap);

    ProgressBar1 = new QProgressBar(this);
    ProgressBar1->setObjectName("ProgressBar1");
    ProgressBar1->setGeometry(vb::TwipsRect(120, 4770, 9300, 255));
    ProgressBar1->setTextVisible(false);
    ProgressBar1->setValue(ProgressBar1->minimum()); // the classic bar starts at its minimum, not "no value"
    ProgressBar1->setVisible(false);

    QList<QWidget*> tabOrder = {Text1};
    for (const ButtonRow& row : kButtons) {
        auto* button = new QPushButton(row.caption, this);
        button->setObjectName(row.name);
        button->setGeometry(vb::TwipsRect(row.left, row.top, kButtonWidth, kButtonHeight));
        button->setAutoDefault(false);
        this->*row.member = button;
        tabOrder << button;
    }
    for (qsizetype i = 0; i + 1 < tabOrder.size(); ++i)
        QWidget::setTabOrder(tabOrder[i], tabOrder[i + 1]);

    MSComm1.setObjectName("MSComm1");
    Text1->setFocus();
}
