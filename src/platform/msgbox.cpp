#include "platform/msgbox.h"

#include "platform/vb_text.h"

#include <QApplication>
#include <QKeyEvent>
#include <QMessageBox>
#include <QPushButton>
#include <array>

namespace vb {

namespace {

struct ButtonSet {
    std::array<QMessageBox::StandardButton, 3> buttons; // in the order the style lists them
    QMessageBox::StandardButton escape;                 // what Esc or the close box answers
};

ButtonSet ButtonsOf(int style) {
    switch (style & 7) {
    case vbOKCancel:
        return {{QMessageBox::Ok, QMessageBox::Cancel}, QMessageBox::Cancel};
    case vbAbortRetryIgnore:
        return {{QMessageBox::Abort, QMessageBox::Retry, QMessageBox::Ignore}, QMessageBox::NoButton};
    case vbYesNoCancel:
        return {{QMessageBox::Yes, QMessageBox::No, QMessageBox::Cancel}, QMessageBox::Cancel};
    case vbYesNo:
        return {{QMessageBox::Yes, QMessageBox::No}, QMessageBox::NoButton};
    case vbRetryCancel:
        return {{QMessageBox::Retry, QMessageBox::Cancel}, QMessageBox::Cancel};
    default:
        return {{QMessageBox::Ok}, QMessageBox::Ok};
    }
}

QMessageBox::Icon IconOf(int style) {
    switch (style & 0x70) {
    case vbCritical:
        return QMessageBox::Critical;
    case vbQuestion:
        return QMessageBox::Question;
    case vbExclamation:
        return QMessageBox::Warning;
    case vbInformation:
        return QMessageBox::Information;
    default:
        return QMessageBox::NoIcon;
    }
}

int AnswerCode(QMessageBox::StandardButton button) {
    switch (button) {
    case QMessageBox::Ok:
        return vbOK;
    case QMessageBox::Cancel:
        return vbCancel;
    case QMessageBox::Abort:
        return vbAbort;
    case QMessageBox::Retry:
        return vbRetry;
    case QMessageBox::Ignore:
        return vbIgnore;
    case QMessageBox::Yes:
        return vbYes;
    case QMessageBox::No:
        return vbNo;
    default:
        return vbCancel;
    }
}

// A box without a cancelling button (Yes/No, Abort/Retry/Ignore) is answered only by its buttons: Esc
// and the window's close button do nothing (Qt would otherwise take No or Abort for them).
class AnswerOnlyByButtons : public QObject {
public:
    using QObject::QObject;

protected:
    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() == QEvent::Close) {
            event->ignore(); // a close request is refused by ignoring it
            return true;
        }
        if (event->type() == QEvent::KeyPress || event->type() == QEvent::ShortcutOverride)
            return static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape;
        return false;
    }
};

} // namespace

int MsgBox(const std::string& prompt, int style, const std::string& title) {
    return MsgBox(ToQString(prompt), style, title);
}

int MsgBox(const QString& prompt, int style, const std::string& title) {
    QMessageBox box(QApplication::activeWindow());
    box.setWindowTitle(ToQString(title));
    box.setText(prompt);
    box.setTextFormat(Qt::PlainText);
    box.setIcon(IconOf(style));

    const ButtonSet set = ButtonsOf(style);
    QMessageBox::StandardButtons buttons;
    for (auto button : set.buttons)
        if (button != QMessageBox::NoButton) buttons |= button;
    box.setStandardButtons(buttons);
    const int defaultIndex = (style & 0x300) >> 8;
    if (defaultIndex < 3 && set.buttons[defaultIndex] != QMessageBox::NoButton)
        box.setDefaultButton(set.buttons[defaultIndex]);
    AnswerOnlyByButtons answerOnlyByButtons;
    if (set.escape != QMessageBox::NoButton)
        box.setEscapeButton(set.escape);
    else
        box.installEventFilter(&answerOnlyByButtons);

    box.setWindowModality(Qt::ApplicationModal);
    // A system-modal box stays above every window, the program's and others'.
    const bool systemModal = (style & vbSystemModal) != 0;
    box.setProperty("systemModal", systemModal);
    if (systemModal) box.setWindowFlag(Qt::WindowStaysOnTopHint, true);

    box.exec();
    auto* clicked = box.clickedButton();
    if (!clicked) return AnswerCode(set.escape != QMessageBox::NoButton ? set.escape : set.buttons[0]);
    return AnswerCode(box.standardButton(clicked));
}

} // namespace vb
