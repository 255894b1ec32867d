// MsgBox on the real QMessageBox: title, text, icon and buttons from the classic style number, the default
// button, system-modal boxes kept above every window, and the classic answer codes.
#include "platform/msgbox.h"
#include "support/modal_answerer.h"

#include <QAbstractButton>
#include <QApplication>
#include <QMessageBox>
#include <QPushButton>
#include <QtTest>

using testing_support::ModalAnswerer;

namespace {

// What the test saw of the box it answered.
struct Seen {
    QString title;
    QString text;
    QMessageBox::Icon icon = QMessageBox::NoIcon;
    QMessageBox::StandardButtons buttons;
    QMessageBox::StandardButton defaultButton = QMessageBox::NoButton;
    bool staysOnTop = false;
    Qt::WindowModality modality = Qt::NonModal;
    bool answered = false;
};

// Queues an answer that records the box and then presses `press`, or Esc when `press` is NoButton.
void AnswerNextBox(ModalAnswerer& answerer, Seen& seen, QMessageBox::StandardButton press) {
    answerer.handle([&seen, press](QWidget* widget) {
        auto* box = qobject_cast<QMessageBox*>(widget);
        if (!box) {
            widget->close();
            return;
        }
        seen.title = box->windowTitle();
        seen.text = box->text();
        seen.icon = box->icon();
        seen.buttons = box->standardButtons();
        if (box->defaultButton()) seen.defaultButton = box->standardButton(box->defaultButton());
        seen.staysOnTop = box->windowFlags().testFlag(Qt::WindowStaysOnTopHint);
        seen.modality = box->windowModality();
        seen.answered = true;
        if (press == QMessageBox::NoButton)
            QTest::keyClick(box, Qt::Key_Escape);
        else
            box->button(press)->click();
    });
}

using Buttons = QMessageBox::StandardButtons;

} // namespace

class MsgBoxTest : public QObject {
    Q_OBJECT
private slots:
    void styleGivesIconButtonsAndAnswer_data();
    void styleGivesIconButtonsAndAnswer();
    void titleAndTextAreShownAsGiven();
    void anEmptyTitleStaysEmpty();
    void escapeOnABoxWithoutCancelChangesNothing_data();
    void escapeOnABoxWithoutCancelChangesNothing();
};

void MsgBoxTest::styleGivesIconButtonsAndAnswer_data() {
    QTest::addColumn<int>("style");
    QTest::addColumn<int>("icon");
    QTest::addColumn<Buttons>("buttons");
    QTest::addColumn<int>("defaultButton");
    QTest::addColumn<bool>("systemModal");
    QTest::addColumn<int>("press"); // NoButton: Esc
    QTest::addColumn<int>("answer");

    const auto Ok = QMessageBox::Ok, Cancel = QMessageBox::Cancel, Yes = QMessageBox::Yes,
               No = QMessageBox::No, Abort = QMessageBox::Abort, Retry = QMessageBox::Retry,
               Ignore = QMessageBox::Ignore, Esc = QMessageBox::NoButton;
    auto row = [](const char* name, int style, QMessageBox::Icon icon, Buttons buttons,
                  QMessageBox::StandardButton defaultButton, bool systemModal,
                  QMessageBox::StandardButton press, int answer) {
        QTest::newRow(name) << style << int(icon) << buttons << int(defaultButton) << systemModal
                            << int(press) << answer;
    };
    row("0 OK", 0, QMessageBox::NoIcon, Ok, Ok, false, Ok, 1);
    row("0 OK, Esc", 0, QMessageBox::NoIcon, Ok, Ok, false, Esc, 1);
    row("1 OK/Cancel, Cancel", 1, QMessageBox::NoIcon, Ok | Cancel, Ok, false, Cancel, 2);
    row("1 OK/Cancel, Esc", 1, QMessageBox::NoIcon, Ok | Cancel, Ok, false, Esc, 2);
    row("2 Abort", 2, QMessageBox::NoIcon, Abort | Retry | Ignore, Abort, false, Abort, 3);
    row("2 Retry", 2, QMessageBox::NoIcon, Abort | Retry | Ignore, Abort, false, Retry, 4);
    row("2 Ignore", 2, QMessageBox::NoIcon, Abort | Retry | Ignore, Abort, false, Ignore, 5);
    row("3 Yes/No/Cancel, No", 3, QMessageBox::NoIcon, Yes | No | Cancel, Yes, false, No, 7);
    row("3 Yes/No/Cancel, Esc", 3, QMessageBox::NoIcon, Yes | No | Cancel, Yes, false, Esc, 2);
    row("4 Yes/No, Yes", 4, QMessageBox::NoIcon, Yes | No, Yes, false, Yes, 6);
    row("5 Retry/Cancel, Retry", 5, QMessageBox::NoIcon, Retry | Cancel, Retry, false, Retry, 4);
    row("16 critical", 16, QMessageBox::Critical, Ok, Ok, false, Ok, 1);
    row("36 question Yes/No", 36, QMessageBox::Question, Yes | No, Yes, false, No, 7);
    row("48 exclamation", 48, QMessageBox::Warning, Ok, Ok, false, Ok, 1);
    row("64 information", 64, QMessageBox::Information, Ok, Ok, false, Ok, 1);
    row("260 Yes/No, No is the default", 260, QMessageBox::NoIcon, Yes | No, No, false, No, 7);
    row("515 Yes/No/Cancel, Cancel is the default", 515, QMessageBox::NoIcon, Yes | No | Cancel, Cancel,
        false, Cancel, 2);
    row("4144 ERROR: exclamation, system-modal", 4144, QMessageBox::Warning, Ok, Ok, true, Ok, 1);
    row("4160 UPDATE: information, system-modal", 4160, QMessageBox::Information, Ok, Ok, true, Ok, 1);
    row("4096 system-modal alone", 4096, QMessageBox::NoIcon, Ok, Ok, true, Ok, 1);
}

void MsgBoxTest::styleGivesIconButtonsAndAnswer() {
    QFETCH(int, style);
    QFETCH(int, icon);
    QFETCH(Buttons, buttons);
    QFETCH(int, defaultButton);
    QFETCH(bool, systemModal);
    QFETCH(int, press);
    QFETCH(int, answer);
    ModalAnswerer answerer;
    Seen seen;
    AnswerNextBox(answerer, seen, QMessageBox::StandardButton(press));
    const int answered = vb::MsgBox("Prompt", style, "Title");
    QVERIFY(seen.answered);
    QCOMPARE(int(seen.icon), icon);
    QCOMPARE(seen.buttons, buttons);
    QCOMPARE(int(seen.defaultButton), defaultButton);
    QCOMPARE(seen.staysOnTop, systemModal);
    QCOMPARE(seen.modality, Qt::ApplicationModal);
    QCOMPARE(answered, answer);
    QVERIFY(answerer.unexpected.isEmpty());
}

void MsgBoxTest::titleAndTextAreShownAsGiven() {
    ModalAnswerer answerer;
    Seen seen;
    AnswerNextBox(answerer, seen, QMessageBox::Ok);
    // Single bytes of the program's text, 8-bit ones included, reach the box unchanged.
    const std::string prompt = "Cannot make connection. Be sure com port is correct,\r\nthe tablet is "
                               "connected, and tablet is in download mode. \xe9\xff";
    vb::MsgBox(prompt, vb::vbOKOnly + vb::vbExclamation + vb::vbSystemModal, "ERROR");
    QCOMPARE(seen.title, QString("ERROR"));
    QCOMPARE(seen.text, QString::fromLatin1(prompt.data(), qsizetype(prompt.size())));
}

void MsgBoxTest::anEmptyTitleStaysEmpty() {
    ModalAnswerer answerer;
    Seen seen;
    AnswerNextBox(answerer, seen, QMessageBox::Ok);
    vb::MsgBox("Text Box does not represent all data to be uploaded to hardware.", vb::vbInformation, "");
    QVERIFY(seen.answered);
    QCOMPARE(seen.title, QString());
}

void MsgBoxTest::escapeOnABoxWithoutCancelChangesNothing_data() {
    QTest::addColumn<int>("style");
    QTest::addColumn<int>("press");
    QTest::addColumn<int>("answer");
    QTest::newRow("Yes/No") << int(vb::vbYesNo + vb::vbQuestion) << int(QMessageBox::No) << int(vb::vbNo);
    QTest::newRow("Abort/Retry/Ignore")
        << int(vb::vbAbortRetryIgnore) << int(QMessageBox::Ignore) << int(vb::vbIgnore);
}

void MsgBoxTest::escapeOnABoxWithoutCancelChangesNothing() {
    // Neither Esc nor the window's close button answers such a box; it waits for one of its buttons.
    QFETCH(int, style);
    QFETCH(int, press);
    QFETCH(int, answer);
    ModalAnswerer answerer;
    bool shownAfterEscape = false, shownAfterClose = false, answered = false;
    answerer.handle([&](QWidget* widget) {
        auto* box = qobject_cast<QMessageBox*>(widget);
        QTest::keyClick(box, Qt::Key_Escape);
        QTest::keyClick(box->defaultButton(), Qt::Key_Escape);
        shownAfterEscape = box->isVisible();
        box->close();
        shownAfterClose = box->isVisible();
        box->button(QMessageBox::StandardButton(press))->click();
        answered = true;
    });
    QCOMPARE(vb::MsgBox("Save changes?", style, "Save Changes"), answer);
    QVERIFY(answered);
    QVERIFY(shownAfterEscape);
    QVERIFY(shownAfterClose);
}

QTEST_MAIN(MsgBoxTest)
#include "tst_msgbox.moc"
