// The console's controls: captions, positions (twips), fonts, colours, visibility, enabled state and tab
// order as the window was designed. The client area is 8910 x 4215 twips; the link-settings combos and
// their labels lie below it, out of sight but reachable with the Tab key.
#include "console/console_window.h"

#include "platform/fonts.h"
#include "platform/ole_color.h"
#include "platform/twips.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>

namespace {

enum class Heading { None, Plain, Centred, CentredTwoLines };

struct LabelRow {
    QLabel* frmQuillmaxSerial::*member;
    const char* name;
    const char* caption;
    int left, top, width, height;
    Heading heading;
    bool visible;
};

struct ButtonRow {
    QPushButton* frmQuillmaxSerial::*member;
    const char* name;
    const char* caption;
    int left, top, width, height;
    bool enabled;
    bool visible;
};

constexpr LabelRow kLabels[] = {
    {&frmQuillmaxSerial::Label3, "Label3", "System Functions", 360, 120, 1935, 255, Heading::Plain, true},
    {&frmQuillmaxSerial::Label4, "Label4", "Upload to Velmora LT from PC", 3200, 120, 2415, 615,
     Heading::CentredTwoLines, true},
    {&frmQuillmaxSerial::Label5, "Label5", "Download to PC", 6480, 120, 2295, 255, Heading::Centred, true},
    {&frmQuillmaxSerial::Label7, "Label7", "from Velmora LT", 6480, 360, 2295, 255, Heading::Centred, true},
    {&frmQuillmaxSerial::Label2, "Label2", "Downloaded Record:", 6480, 2685, 1575, 255, Heading::None, false},
    {&frmQuillmaxSerial::Label6, "Label6", "Connection Status", 120, 3600, 915, 435, Heading::None, true},
    {&frmQuillmaxSerial::lblCboDownload, "lblCboDownload", "Communication Rate:", 360, 4440, 1575, 255,
     Heading::None, true},
    {&frmQuillmaxSerial::Label1, "Label1", "Baud Rate:", 2520, 4440, 855, 255, Heading::None, true},
};

constexpr ButtonRow kButtons[] = {
    {&frmQuillmaxSerial::cmdCustomerName, "cmdCustomerName", "Set &Company Name", 120, 720, 2295, 375, false,
     true},
    {&frmQuillmaxSerial::cmdTitle, "cmdTitle", "Set &Menu Title", 120, 1200, 2295, 375, false, true},
    {&frmQuillmaxSerial::cmdDateTime, "cmdDateTime", "Set &Date/Time", 120, 1680, 2295, 375, false, true},
    {&frmQuillmaxSerial::cmdPassword, "cmdPassword", "Set &Password", 120, 2160, 2295, 375, false, true},
    {&frmQuillmaxSerial::cmdReset, "cmdReset", "&Reset Device", 120, 2640, 2295, 375, false, true},
    {&frmQuillmaxSerial::cmdUploadData, "cmdUploadData", "&Upload File", 3240, 720, 2295, 375, false, true},
    {&frmQuillmaxSerial::Command1, "Command1", "Create/&Edit File", 3240, 1200, 2295, 375, true, true},
    {&frmQuillmaxSerial::cmdCancelUpload, "cmdCancelUpload", "Cance&l Upload", 3240, 1680, 2295, 375, false,
     false},
    {&frmQuillmaxSerial::cmdDownload, "cmdDownload", "Download &VLM File", 6480, 720, 2295, 375, false, true},
    {&frmQuillmaxSerial::cmdBrowse, "cmdBrowse", "&View VLM File", 6480, 1200, 2295, 375, true, true},
    {&frmQuillmaxSerial::Command3, "Command3", "Ca&ncel Download", 6480, 2040, 2295, 375, false, false},
    {&frmQuillmaxSerial::cmdSearch, "cmdSearch", "&Search for Velmora LT", 1603, 3600, 2175, 495, true, true},
    {&frmQuillmaxSerial::cmdCancel, "cmdCancel", "E&xit", 6480, 3720, 2295, 375, true, true},
};

QComboBox* MakeList(QWidget* parent, const char* name, const QStringList& items, const QString& text,
                    QRect place) {
    auto* combo = new QComboBox(parent);
    combo->setObjectName(name);
    combo->addItems(items);
    combo->setCurrentIndex(int(items.indexOf(text)));
    combo->setGeometry(place);
    return combo;
}

} // namespace

void frmQuillmaxSerial::CreateControls() {
    setObjectName("frmQuillmaxSerial");
    setWindowTitle("Lumacor Velmora LT Uploader/Downloader Tool");
    setFont(vb::DesignFont(8.25, false));
    setFixedSize(vb::Twips(8910), vb::Twips(4215));

    for (const LabelRow& row : kLabels) {
        auto* label = new QLabel(row.caption, this);
        label->setObjectName(row.name);
        label->setGeometry(vb::TwipsRect(row.left, row.top, row.width, row.height));
        label->setVisible(row.visible);
        label->setWordWrap(row.heading == Heading::CentredTwoLines || row.height > 300);
        label->setAlignment(Qt::AlignTop | Qt::AlignLeft);
        if (row.heading != Heading::None) {
            label->setFont(vb::DesignFont(9.75, true));
            vb::SetForeColor(label, vb::kDarkBlue);
        }
        if (row.heading == Heading::Centred || row.heading == Heading::CentredTwoLines)
            label->setAlignment(Qt::AlignTop | Qt::AlignHCenter);
        this->*row.member = label;
    }
    vb::SetForeColor(Label6, vb::vbBlue);

    lblConnected = new QLabel(this);
    lblConnected->setObjectName("lblConnected");
    lblConnected->setGeometry(vb::TwipsRect(1080, 3600, 495, 495));
    lblConnected->setFrameStyle(QFrame::Box | QFrame::Plain);
    lblConnected->setAlignment(Qt::AlignCenter);
    lblConnected->setFont(vb::DesignFont(18, true));

    for (const ButtonRow& row : kButtons) {
        auto* button = new QPushButton(row.caption, this);
        button->setObjectName(row.name);
        button->setGeometry(vb::TwipsRect(row.left, row.top, row.width, row.height));
        button->setEnabled(row.enabled);
        button->setVisible(row.visible);
        button->setAutoDefault(false);
        this->*row.member = button;
    }

    ProgressBar1 = new QProgressBar(this);
    ProgressBar1->setObjectName("ProgressBar1");
    ProgressBar1->setGeometry(vb::TwipsRect(6480, 1800, 2295, 315));
    ProgressBar1->setTextVisible(false);
    ProgressBar1->setValue(ProgressBar1->minimum()); // the classic bar starts at its minimum, not "no value"
    ProgressBar1->setVisible(false);

    txtHowMany = new QLineEdit(this);
    txtHowMany->setObjectName("txtHowMany");
    txtHowMany->setGeometry(vb::TwipsRect(8040, 2640, 735, 285));
    txtHowMany->setVisible(false);

    cboDownload = MakeList(this, "cboDownload", {"Normal Speed", "Maximum Speed", "Slow Speed!"},
                           "Normal Speed", vb::TwipsRect(360, 4680, 1815, 315));
    cboBaud = MakeList(this, "cboBaud", {"19200", "38400", "57600", "115200"}, "115200",
                       vb::TwipsRect(2520, 4680, 975, 315));

    Timer1 = new vb::Timer(50, this);
    Timer1->setObjectName("Timer1");
    MSComm1.setObjectName("MSComm1");

    const QList<QWidget*> tabOrder = {cmdSearch, cmdCustomerName, cmdTitle,        cmdDateTime, cmdPassword,
                                      cmdReset,  cmdUploadData,   cmdCancelUpload, Command1,    cmdDownload,
                                      Command3,  ProgressBar1,    cmdBrowse,       cboDownload, cmdCancel,
                                      cboBaud,   txtHowMany};
    for (qsizetype i = 0; i + 1 < tabOrder.size(); ++i)
        QWidget::setTabOrder(tabOrder[i], tabOrder[i + 1]);
    cmdSearch->setFocus();
}
