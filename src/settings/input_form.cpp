#include "settings/input_form.h"

#include "app/globals.h"
#include "platform/fonts.h"
#include "platform/handler.h"
#include "platform/msgbox.h"
#include "platform/program_end.h"
#include "platform/text_box.h"
#include "platform/twips.h"
#include "platform/vb_text.h"

#include <QApplication>
#include <QCloseEvent>
#include <QFont>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <string>

namespace {

// The one item whose entry is a number of at most 10 digits; the comparison is case-sensitive.
constexpr const char* kPasswordItem = "Password";
constexpr int kMaxLength = 30;
constexpr int kPasswordMaxLength = 10;

// The edit control's digits-only style: the box itself refuses a typed character that is not a digit.
// Only key presses that carry text are looked at, so Backspace, Delete, the arrows and the Ctrl shortcuts
// still work; pasted text does not come through key presses and is not filtered, which is why OK checks
// the password once more.
class DigitsOnlyStyle : public QObject {
public:
    using QObject::QObject;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::KeyPress && Refused(*static_cast<QKeyEvent*>(event))) {
            event->accept();
            return true;
        }
        return QObject::eventFilter(watched, event);
    }

private:
    static bool Refused(const QKeyEvent& key) {
        if (key.modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier)) return false;
        for (QChar c : key.text()) {
            const bool control = c.unicode() < 0x20 || c.unicode() == 0x7f;
            if (!control && !(c >= QLatin1Char('0') && c <= QLatin1Char('9'))) return true;
        }
        return false;
    }
};

} // namespace

void ShowInputForm() {
    auto* form = new InputForm(QApplication::activeWindow());
    form->setWindowModality(Qt::ApplicationModal);
    // The form is deleted on close; exec() honours that by deleting it before it returns, however the
    // form went away (unloaded, or hidden because the program was ended).
    form->exec();
    if (vb::HasEnded()) throw vb::ProgramEnded();
}

InputForm::InputForm(QWidget* owner) : QDialog(owner) {
    setAttribute(Qt::WA_DeleteOnClose);
    CreateControls();
    WireHandlers();
    Form_Load();
}

InputForm::~InputForm() = default;

// The window as designed: a prompt, the entry box below it and the two buttons under the box's right end.
// Client area 4785 x 1575 twips.
void InputForm::CreateControls() {
    setObjectName("InputForm");
    setWindowTitle("Input Form");
    setFont(vb::DesignFont());
    setFixedSize(vb::Twips(4785), vb::Twips(1575));

    lblPlease = new QLabel(this);
    lblPlease->setObjectName("lblPlease");
    lblPlease->setGeometry(vb::TwipsRect(120, 120, 4545, 435));
    lblPlease->setAlignment(Qt::AlignTop | Qt::AlignLeft);
    lblPlease->setWordWrap(true);
    lblPlease->setTextFormat(Qt::PlainText);

    txtResponse = new vb::TextBox(this);
    txtResponse->setObjectName("txtResponse");
    txtResponse->setGeometry(vb::TwipsRect(120, 600, 4545, 315));

    cmdOK = new QPushButton("&OK", this);
    cmdOK->setObjectName("cmdOK");
    cmdOK->setGeometry(vb::TwipsRect(2280, 1080, 1095, 375));
    cmdOK->setDefault(true); // Enter presses OK

    cmdCancel = new QPushButton("&Cancel", this);
    cmdCancel->setObjectName("cmdCancel");
    cmdCancel->setGeometry(vb::TwipsRect(3570, 1080, 1095, 375));

    QWidget::setTabOrder(txtResponse, cmdOK);
    QWidget::setTabOrder(cmdOK, cmdCancel);
    txtResponse->setFocus();
}

void InputForm::WireHandlers() {
    connect(cmdOK, &QPushButton::clicked, this, [this] { vb::RunHandler([this] { cmdOK_Click(); }); });
    connect(cmdCancel, &QPushButton::clicked, this,
            [this] { vb::RunHandler([this] { cmdCancel_Click(); }); });
}

void InputForm::Form_Load() {
    lblPlease->setText("Please enter the " + vb::ToQString(strInputItem) + " to upload.");
    if (strInputItem != kPasswordItem) txtResponse->setMaxLength(kMaxLength);
    if (strInputItem == kPasswordItem) {
        txtResponse->setMaxLength(kPasswordMaxLength);
        lblPlease->setText(lblPlease->text() + " The value must be numeric.");
        txtResponse->clear();
        txtResponse->installEventFilter(new DigitsOnlyStyle(txtResponse));
    }
    setWindowTitle("Set " + vb::ToQString(strInputItem));
}

void InputForm::cmdOK_Click() {
    const std::string value = vb::Trim(vb::FromQString(txtResponse->text()));
    if (value.empty()) {
        vb::MsgBox("Please enter a value to upload, or choose Cancel to exit.",
                   vb::vbOKOnly + vb::vbInformation, "No Value Entered");
        return;
    }
    // The box refuses typed non-digits, but pasted text gets in; the password is checked again here.
    if (strInputItem == kPasswordItem && !vb::IsNumeric(value)) {
        vb::MsgBox("Please enter a numeric value to upload, or choose Cancel to exit.",
                   vb::vbOKOnly + vb::vbInformation, "Non-numeric Value Entered");
        txtResponse->clear();
        return;
    }
    strInputValue = value;
    strInputItem.clear();
    Unload();
}

void InputForm::cmdCancel_Click() {
    strInputValue.clear();
    strInputItem.clear();
    Unload();
}

// The close box: the item is forgotten, the value is left as the caller set it (empty), so the caller
// sees a cancel. OK and Cancel unload through here too, having emptied the item already.
void InputForm::Form_QueryUnload() {
    strInputItem.clear();
}

void InputForm::reject() {
    cmdCancel->click();
}

void InputForm::closeEvent(QCloseEvent* event) {
    vb::RunHandler([this] { Form_QueryUnload(); });
    // Accepted, the close hides the form, which ends its modal loop; it is never refused.
    event->accept();
}

void InputForm::Unload() {
    close();
}
