// The viewer's controls: names, captions and places (twips). The header boxes run along the top; the
// record data and the date/time on the left; the signature pad, under the record caption, with the keypad
// and transaction boxes on the right; the buttons along the bottom.
#include "platform/fonts.h"
#include "platform/signature_display.h"
#include "platform/twips.h"
#include "viewer/form2.h"
#include "viewer/record_data_box.h"

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

namespace {

constexpr int kFormWidth = 9600;
constexpr int kFormHeight = 6015;
constexpr int kCaptionHeight = 255;
constexpr int kBoxHeight = 315;
constexpr int kButtonHeight = 375;

struct LabelRow {
    QLabel* Form2::*member;
    const char* name;
    const char* caption;
    int left, top, width;
};

struct BoxRow {
    QLineEdit* Form2::*member;
    const char* name;
    int left, top, width;
};

struct ButtonRow {
    QPushButton* Form2::*member;
    const char* name;
    const char* caption;
    int left, top, width;
};

constexpr LabelRow kLabels[] = {
    {&Form2::Label3, "Label3", "Customer Name", 120, 120, 3735},
    {&Form2::Label2, "Label2", "Title", 3975, 120, 3375},
    {&Form2::Label4, "Label4", "Number Of Records", 7470, 120, 2010},
    {&Form2::Label1, "Label1", "Record Data", 120, 840, 3735},
    {&Form2::lblSignature, "lblSignature", "", 3975, 840, 5505},
    {&Form2::lblVLKeypad, "lblVLKeypad", "Velmora Keypad Data", 3975, 3915, 5505},
    {&Form2::lblTimeDate, "lblTimeDate", "Date/Time", 120, 4635, 3735},
    {&Form2::lblTransaction, "lblTransaction", "Transaction Data", 3975, 4635, 5505},
};

constexpr BoxRow kBoxes[] = {
    {&Form2::txtCustomerName, "txtCustomerName", 120, 375, 3735},
    {&Form2::txtTitle, "txtTitle", 3975, 375, 3375},
    {&Form2::txtNumberOfRecords, "txtNumberOfRecords", 7470, 375, 2010},
    {&Form2::txtVLKeypad, "txtVLKeypad", 3975, 4170, 5505},
    {&Form2::txtTimeDate, "txtTimeDate", 120, 4890, 2415},
    {&Form2::txtTransaction, "txtTransaction", 3975, 4890, 5505},
};

constexpr ButtonRow kButtons[] = {
    {&Form2::cmdPrevious, "cmdPrevious", "&Previous", 120, 5520, 1815},
    {&Form2::cmdNext, "cmdNext", "&Next", 2055, 5520, 1815},
    {&Form2::cmdReturn, "cmdReturn", "&Back to Main Menu", 7470, 5520, 2010},
};

} // namespace

void Form2::BuildControls() {
    setObjectName("Form2");
    setWindowTitle("Lumacor Velmora LT VLM File Viewer");
    setFont(vb::DesignFont(8.25, false));
    setFixedSize(vb::Twips(kFormWidth), vb::Twips(kFormHeight));

    for (const LabelRow& row : kLabels) {
        auto* label = new QLabel(row.caption, this);
        label->setObjectName(row.name);
        label->setGeometry(vb::TwipsRect(row.left, row.top, row.width, kCaptionHeight));
        label->setAlignment(Qt::AlignLeft | Qt::AlignBottom);
        this->*row.member = label;
    }
    lblSignature->setFont(vb::DesignFont(8.25, true));

    for (const BoxRow& row : kBoxes) {
        auto* box = new QLineEdit(this);
        box->setObjectName(row.name);
        box->setGeometry(vb::TwipsRect(row.left, row.top, row.width, kBoxHeight));
        this->*row.member = box;
    }

    txtRecordData = new viewer::RecordDataBox(this);
    txtRecordData->setObjectName("txtRecordData");
    txtRecordData->setGeometry(vb::TwipsRect(120, 1095, 3735, 3420));

    Ondrate1 = new vb::SignatureDisplay(this);
    Ondrate1->setObjectName("Ondrate1");
    Ondrate1->setGeometry(vb::TwipsRect(3975, 1095, 5505, 2700));

    for (const ButtonRow& row : kButtons) {
        auto* button = new QPushButton(row.caption, this);
        button->setObjectName(row.name);
        button->setGeometry(vb::TwipsRect(row.left, row.top, row.width, kButtonHeight));
        button->setAutoDefault(false);
        this->*row.member = button;
    }

    const QList<QWidget*> tabOrder = {txtCustomerName, txtTitle,    txtNumberOfRecords, txtRecordData,
                                      txtTimeDate,     txtVLKeypad, txtTransaction,     cmdPrevious,
                                      cmdNext,         cmdReturn};
    for (qsizetype i = 0; i + 1 < tabOrder.size(); ++i)
        QWidget::setTabOrder(tabOrder[i], tabOrder[i + 1]);
}
