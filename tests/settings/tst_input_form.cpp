// The value entry dialog as the console's settings commands use it: ShowInputForm() over the console, the
// real dialog driven by objectName while it is shown, its message boxes answered as they appear.
//
// Every answer acts on the dialog from the answerer's timer. OK, which may open a message box, is pressed a
// moment later from the dialog's own loop (PressOK), because a timer does not fire again while its own
// callback is still running: the box is then answered by the same queue (or, unexpected, rejected and
// noted, so the test fails instead of hanging), and the dialog, active again, gets the next answer.
#include "app/globals.h"
#include "platform/program_end.h"
#include "settings/input_form.h"
#include "support/modal_answerer.h"
#include "support/ports_folder.h"
#include "support/program.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QInputMethodEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <functional>
#include <memory>

using namespace testing_support;

namespace {

const QString kCompanyName = "Company Name";

// Runs `step` from the event loop once the current answer has returned.
void Soon(std::function<void()> step) {
    QTimer::singleShot(0, qApp, std::move(step));
}

// Presses OK once the current answer has returned.
void PressOK(InputForm* form) {
    Soon([form] { form->cmdOK->click(); });
}

// Types one 8-bit character the way a keyboard delivers it (key code and text), which keyClicks cannot.
void TypeLatin1(QWidget* box, QChar character) {
    QTest::sendKeyEvent(QTest::Click, box, Qt::Key(character.toUpper().unicode()), QString(character),
                        Qt::NoModifier);
}

// What the dialog looked like when an answer met it.
struct Seen {
    QPointer<InputForm> form;
    QString caption;
    QString prompt;
    QString text;
    int maxLength = -1;
    bool visible = false;
};

// What the dialog and the variables held once a box that refused the entry had been answered.
struct AfterTheBox {
    QString entry;
    bool open = false;
    QString item;
    std::string value;
};

Seen Look(InputForm* form) {
    return {form,
            form->windowTitle(),
            form->lblPlease->text(),
            form->txtResponse->text(),
            form->txtResponse->maxLength(),
            form->isVisible()};
}

} // namespace

class InputFormTest : public QObject {
    Q_OBJECT
private slots:
    void init();
    void cleanup();
    void captionPromptAndLength_data();
    void captionPromptAndLength();
    void controlsAndPlacement();
    void lengthLimitRefusesOneMoreTypedCharacter_data();
    void lengthLimitRefusesOneMoreTypedCharacter();
    void passwordBoxRefusesTypedNonDigits();
    void passwordBoxKeepsEditingKeysAndShortcuts();
    void passwordDigitsAreHandedBack();
    void pastedNonDigitsPasswordIsRefusedOnOK();
    void pastedSignedDecimalPasswordPassesTheNumericTest();
    void blankEntryShowsNoValueEntered_data();
    void blankEntryShowsNoValueEntered();
    void companyNameIsHandedBackTrimmed();
    void enterPressesOK();
    void cancelEmptiesItemAndValue();
    void escapeActsAsCancel();
    void closeBoxEmptiesOnlyTheItem_data();
    void closeBoxEmptiesOnlyTheItem();
    void lowerCasePasswordIsAnOrdinaryItem();
    void latin1CharacterComesBackAsOneByte();
    void windowsCharactersComeBackAsTheirCodePageBytes();
    void textPutInByTheProgramIsKeptWhole();
    void inputMethodTextIsLimitedLikeTypedText();
    void dialogIsApplicationModalOverTheConsole();
    // Ending the program is final for the whole process (nested loops return at once afterwards): last.
    void endingTheProgramWhileShownStopsTheCaller();

private:
    // Names the item and the value as a caller does, queues nothing, and shows the dialog.
    static void Show(const QString& item, const std::string& valueBefore = "");
    // Queues an answer for the dialog; any other modal window met instead is noted and closed.
    void OnForm(std::function<void(InputForm*)> act);
    // Queues OK for the box that refuses the entry, then a look at the dialog (into `after`) and Cancel.
    void AnswerTheBoxThenLookAndCancel(AfterTheBox& after);

    PortsFolder ports;
    frmQuillmaxSerial* console = nullptr;
    std::unique_ptr<ModalAnswerer> answerer;
    QStringList notTheForm;
};

void InputFormTest::init() {
    console = StartConsole();
    answerer = std::make_unique<ModalAnswerer>();
    notTheForm.clear();
}

void InputFormTest::cleanup() {
    QCOMPARE(answerer->pending(), 0);
    QCOMPARE(answerer->unexpected, QStringList());
    QCOMPARE(notTheForm, QStringList());
    answerer.reset();
}

void InputFormTest::Show(const QString& item, const std::string& valueBefore) {
    strInputItem = item.toStdString();
    strInputValue = valueBefore;
    ShowInputForm();
}

void InputFormTest::OnForm(std::function<void(InputForm*)> act) {
    answerer->handle([this, act = std::move(act)](QWidget* widget) {
        if (auto* form = qobject_cast<InputForm*>(widget))
            act(form);
        else {
            notTheForm << widget->windowTitle();
            widget->close();
        }
    });
}

void InputFormTest::AnswerTheBoxThenLookAndCancel(AfterTheBox& after) {
    answerer->pressInBox(QMessageBox::Ok);
    OnForm([&after](InputForm* form) {
        after = {form->txtResponse->text(), form->isVisible(), QString::fromStdString(strInputItem),
                 strInputValue};
        form->cmdCancel->click();
    });
}

void InputFormTest::captionPromptAndLength_data() {
    QTest::addColumn<QString>("item");
    QTest::addColumn<QString>("caption");
    QTest::addColumn<QString>("prompt");
    QTest::addColumn<int>("maxLength");
    QTest::newRow("company name") << kCompanyName << "Set Company Name"
                                  << "Please enter the Company Name to upload." << 30;
    QTest::newRow("main menu title") << "Main Menu Title"
                                     << "Set Main Menu Title"
                                     << "Please enter the Main Menu Title to upload." << 30;
    QTest::newRow("password") << "Password"
                              << "Set Password"
                              << "Please enter the Password to upload. The value must be numeric." << 10;
}

void InputFormTest::captionPromptAndLength() {
    QFETCH(QString, item);
    QFETCH(QString, caption);
    QFETCH(QString, prompt);
    QFETCH(int, maxLength);
    Seen seen;
    OnForm([&](InputForm* form) {
        seen = Look(form);
        form->cmdCancel->click();
    });
    Show(item);
    QCOMPARE(seen.caption, caption);
    QCOMPARE(seen.prompt, prompt);
    QCOMPARE(seen.maxLength, maxLength);
    QCOMPARE(seen.text, QString());
    QVERIFY(seen.visible);
    // Created for this use and destroyed when unloaded.
    QVERIFY(seen.form.isNull());
}

void InputFormTest::controlsAndPlacement() {
    QString formName, label, box, ok, cancel, okCaption, cancelCaption, family, focus, afterBox, afterOK;
    bool okDefault = false, boxSingleLine = false, inside = false, promptFits = false;
    OnForm([&](InputForm* form) {
        formName = form->objectName();
        label = form->findChild<QLabel*>("lblPlease") == form->lblPlease ? "lblPlease" : "";
        box = form->findChild<QLineEdit*>("txtResponse") == form->txtResponse ? "txtResponse" : "";
        ok = form->findChild<QPushButton*>("cmdOK") == form->cmdOK ? "cmdOK" : "";
        cancel = form->findChild<QPushButton*>("cmdCancel") == form->cmdCancel ? "cmdCancel" : "";
        okCaption = form->cmdOK->text();
        cancelCaption = form->cmdCancel->text();
        okDefault = form->cmdOK->isDefault();
        boxSingleLine = qobject_cast<QLineEdit*>(form->txtResponse) != nullptr;
        family = form->font().family();
        focus = QApplication::focusWidget() ? QApplication::focusWidget()->objectName() : QString();
        afterBox = form->txtResponse->nextInFocusChain()->objectName();
        afterOK = form->cmdOK->nextInFocusChain()->objectName();
        const QRect client = form->rect();
        inside = true;
        for (QWidget* control :
             {static_cast<QWidget*>(form->lblPlease), static_cast<QWidget*>(form->txtResponse),
              static_cast<QWidget*>(form->cmdOK), static_cast<QWidget*>(form->cmdCancel)})
            inside = inside && client.contains(control->geometry());
        // The longest prompt (the password's) is shown whole in the label.
        promptFits = form->lblPlease->heightForWidth(form->lblPlease->width()) <= form->lblPlease->height();
        form->cmdCancel->click();
    });
    Show("Password");
    QCOMPARE(formName, QString("InputForm"));
    QCOMPARE(label, QString("lblPlease"));
    QCOMPARE(box, QString("txtResponse"));
    QCOMPARE(ok, QString("cmdOK"));
    QCOMPARE(cancel, QString("cmdCancel"));
    QCOMPARE(okCaption, QString("&OK"));
    QCOMPARE(cancelCaption, QString("&Cancel"));
    QVERIFY(okDefault);
    QVERIFY(boxSingleLine);
    QCOMPARE(family, QString("MS Sans Serif"));
    QCOMPARE(focus, QString("txtResponse"));
    QCOMPARE(afterBox, QString("cmdOK"));
    QCOMPARE(afterOK, QString("cmdCancel"));
    QVERIFY(inside);
    QVERIFY(promptFits);
}

void InputFormTest::lengthLimitRefusesOneMoreTypedCharacter_data() {
    QTest::addColumn<QString>("item");
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("kept");
    const QString thirty = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcd";
    QTest::newRow("company name") << kCompanyName << thirty + "e" << thirty;
    QTest::newRow("main menu title") << "Main Menu Title" << thirty + "e" << thirty;
    QTest::newRow("password") << "Password"
                              << "12345678901"
                              << "1234567890";
}

void InputFormTest::lengthLimitRefusesOneMoreTypedCharacter() {
    QFETCH(QString, item);
    QFETCH(QString, typed);
    QFETCH(QString, kept);
    QString shown;
    OnForm([&](InputForm* form) {
        QTest::keyClicks(form->txtResponse, typed);
        shown = form->txtResponse->text();
        PressOK(form);
    });
    Show(item);
    QCOMPARE(shown, kept);
    QCOMPARE(strInputValue, kept.toStdString());
    QVERIFY(strInputItem.empty());
}

void InputFormTest::passwordBoxRefusesTypedNonDigits() {
    QString shown;
    OnForm([&](InputForm* form) {
        QTest::keyClicks(form->txtResponse, "1a2 B-3.4+x,5e");
        TypeLatin1(form->txtResponse, QChar(0xE9)); // an 8-bit letter is no digit either
        QTest::keyClick(form->txtResponse, Qt::Key_5, Qt::KeypadModifier);
        shown = form->txtResponse->text();
        form->cmdCancel->click();
    });
    Show("Password");
    QCOMPARE(shown, QString("123455"));
}

void InputFormTest::passwordBoxKeepsEditingKeysAndShortcuts() {
    QStringList steps;
    OnForm([&](InputForm* form) {
        QLineEdit* box = form->txtResponse;
        QTest::keyClicks(box, "1234");
        QTest::keyClick(box, Qt::Key_Backspace);
        steps << box->text(); // 123
        QTest::keyClick(box, Qt::Key_Left);
        QTest::keyClicks(box, "9");
        steps << box->text(); // 1293
        QTest::keyClick(box, Qt::Key_Home);
        QTest::keyClick(box, Qt::Key_Delete);
        steps << box->text(); // 293
        QTest::keyClick(box, Qt::Key_A, Qt::ControlModifier);
        steps << box->selectedText(); // all of it
        QTest::keyClicks(box, "7");
        steps << box->text(); // the selection replaced
        form->cmdCancel->click();
    });
    Show("Password");
    QCOMPARE(steps, QStringList({"123", "1293", "293", "293", "7"}));
}

void InputFormTest::passwordDigitsAreHandedBack() {
    OnForm([&](InputForm* form) {
        QTest::keyClicks(form->txtResponse, "0042");
        PressOK(form);
    });
    Show("Password");
    QCOMPARE(strInputValue, std::string("0042"));
    QVERIFY(strInputItem.empty());
    QVERIFY(answerer->boxes.isEmpty());
}

void InputFormTest::pastedNonDigitsPasswordIsRefusedOnOK() {
    QString pasted;
    AfterTheBox after;
    QPointer<InputForm> seenForm;
    OnForm([&](InputForm* form) {
        seenForm = form;
        QGuiApplication::clipboard()->setText("12ab");
        QTest::keyClick(form->txtResponse, Qt::Key_V, Qt::ControlModifier);
        pasted = form->txtResponse->text();
        PressOK(form);
    });
    AnswerTheBoxThenLookAndCancel(after);
    Show("Password");
    QCOMPARE(pasted, QString("12ab"));
    const SeenBox refused{"Non-numeric Value Entered",
                          "Please enter a numeric value to upload, or choose Cancel to exit.",
                          QMessageBox::Information, QMessageBox::Ok, false};
    QCOMPARE(answerer->boxes, QList<SeenBox>{refused});
    QCOMPARE(after.entry, QString());
    QVERIFY(after.open);
    QCOMPARE(after.item, QString("Password"));
    QVERIFY(strInputValue.empty());
    QVERIFY(seenForm.isNull());
}

// The password check is the general numeric test: a sign and a decimal point pass it (kept as it is).
void InputFormTest::pastedSignedDecimalPasswordPassesTheNumericTest() {
    OnForm([&](InputForm* form) {
        form->txtResponse->insert(" -1.5 ");
        PressOK(form);
    });
    Show("Password");
    QVERIFY(answerer->boxes.isEmpty());
    QCOMPARE(strInputValue, std::string("-1.5"));
    QVERIFY(strInputItem.empty());
}

void InputFormTest::blankEntryShowsNoValueEntered_data() {
    QTest::addColumn<QString>("item");
    QTest::addColumn<QString>("entry");
    QTest::newRow("company name, empty") << kCompanyName << "";
    QTest::newRow("company name, blanks") << kCompanyName << "     ";
    QTest::newRow("main menu title, blanks") << "Main Menu Title"
                                             << " ";
    // Blanks are no value before they are no number.
    QTest::newRow("password, pasted blanks") << "Password"
                                             << "   ";
}

void InputFormTest::blankEntryShowsNoValueEntered() {
    QFETCH(QString, item);
    QFETCH(QString, entry);
    AfterTheBox after;
    OnForm([&](InputForm* form) {
        form->txtResponse->insert(entry);
        PressOK(form);
    });
    AnswerTheBoxThenLookAndCancel(after);
    Show(item, "before");
    const SeenBox refused{"No Value Entered", "Please enter a value to upload, or choose Cancel to exit.",
                          QMessageBox::Information, QMessageBox::Ok, false};
    QCOMPARE(answerer->boxes, QList<SeenBox>{refused});
    // Nothing else changes: the box keeps its blanks, the dialog stays, the variables are untouched.
    QCOMPARE(after.entry, entry);
    QVERIFY(after.open);
    QCOMPARE(after.item, item);
    QCOMPARE(after.value, std::string("before"));
}

void InputFormTest::companyNameIsHandedBackTrimmed() {
    QPointer<InputForm> seenForm;
    OnForm([&](InputForm* form) {
        seenForm = form;
        QTest::keyClicks(form->txtResponse, "   Acme  Traders Ltd  ");
        PressOK(form);
    });
    Show(kCompanyName);
    QCOMPARE(strInputValue, std::string("Acme  Traders Ltd"));
    QVERIFY(strInputItem.empty());
    QVERIFY(answerer->boxes.isEmpty());
    QVERIFY(seenForm.isNull());
}

void InputFormTest::enterPressesOK() {
    OnForm([&](InputForm* form) {
        QTest::keyClicks(form->txtResponse, "Main Menu");
        Soon([form = QPointer<InputForm>(form)] {
            QTest::keyClick(form->txtResponse, Qt::Key_Return);
            // Should Enter not press OK, the box is closed so the test fails instead of waiting.
            if (form && form->isVisible()) form->close();
        });
    });
    Show("Main Menu Title");
    QCOMPARE(strInputValue, std::string("Main Menu"));
    QVERIFY(strInputItem.empty());
}

void InputFormTest::cancelEmptiesItemAndValue() {
    QPointer<InputForm> seenForm;
    OnForm([&](InputForm* form) {
        seenForm = form;
        QTest::keyClicks(form->txtResponse, "Typed but cancelled");
        form->cmdCancel->click();
    });
    Show(kCompanyName, "left by an earlier use");
    QVERIFY(strInputValue.empty());
    QVERIFY(strInputItem.empty());
    QVERIFY(seenForm.isNull());
}

void InputFormTest::escapeActsAsCancel() {
    OnForm([&](InputForm* form) {
        QTest::keyClicks(form->txtResponse, "Typed");
        QTest::keyClick(form->txtResponse, Qt::Key_Escape);
    });
    Show(kCompanyName, "left by an earlier use");
    QVERIFY(strInputValue.empty());
    QVERIFY(strInputItem.empty());
}

void InputFormTest::closeBoxEmptiesOnlyTheItem_data() {
    QTest::addColumn<QString>("valueBefore");
    QTest::newRow("emptied by the caller") << "";
    // Proves the close box is not the Cancel path: the value is not touched.
    QTest::newRow("left by an earlier use") << "previous";
}

void InputFormTest::closeBoxEmptiesOnlyTheItem() {
    QFETCH(QString, valueBefore);
    QPointer<InputForm> seenForm;
    OnForm([&](InputForm* form) {
        seenForm = form;
        QTest::keyClicks(form->txtResponse, "Typed");
        form->close();
    });
    Show(kCompanyName, valueBefore.toStdString());
    QVERIFY(strInputItem.empty());
    QCOMPARE(strInputValue, valueBefore.toStdString());
    QVERIFY(seenForm.isNull());
}

void InputFormTest::lowerCasePasswordIsAnOrdinaryItem() {
    Seen seen;
    QString typed = "abc-1 x.!";
    typed += QString(21, QChar('z')); // 30 in all
    OnForm([&](InputForm* form) {
        QTest::keyClicks(form->txtResponse, typed);
        seen = Look(form);
        PressOK(form);
    });
    Show("password");
    QCOMPARE(seen.caption, QString("Set password"));
    QCOMPARE(seen.prompt, QString("Please enter the password to upload."));
    QCOMPARE(seen.maxLength, 30);
    QCOMPARE(seen.text, typed);
    QVERIFY(answerer->boxes.isEmpty());
    QCOMPARE(strInputValue, typed.toStdString());
}

void InputFormTest::latin1CharacterComesBackAsOneByte() {
    OnForm([&](InputForm* form) {
        QTest::keyClicks(form->txtResponse, "Caf");
        TypeLatin1(form->txtResponse, QChar(0xE9));
        PressOK(form);
    });
    Show(kCompanyName);
    QCOMPARE(strInputValue, std::string("Caf\xE9"));
    QCOMPARE(strInputValue.size(), std::size_t(4));
}

void InputFormTest::windowsCharactersComeBackAsTheirCodePageBytes() {
    OnForm([&](InputForm* form) {
        for (QChar character : QString::fromUtf8("O’Brien – €5"))
            TypeLatin1(form->txtResponse, character);
        PressOK(form);
    });
    Show(kCompanyName);
    QCOMPARE(strInputValue, std::string("O\x92"
                                        "Brien \x96 \x80"
                                        "5"));
}

void InputFormTest::textPutInByTheProgramIsKeptWhole() {
    const QString forty = QString(36, 'x') + "tail";
    QString shown;
    OnForm([&](InputForm* form) {
        form->txtResponse->setText(forty);
        form->txtResponse->end(false);
        QTest::keyClicks(form->txtResponse, "y"); // typing stays refused past the maximum
        shown = form->txtResponse->text();
        PressOK(form);
    });
    Show(kCompanyName);
    QCOMPARE(shown, forty);
    QCOMPARE(strInputValue, forty.toStdString());
}

void InputFormTest::inputMethodTextIsLimitedLikeTypedText() {
    const QString twentyNine(29, 'a');
    OnForm([&](InputForm* form) {
        QTest::keyClicks(form->txtResponse, twentyNine);
        QInputMethodEvent composed;
        composed.setCommitString(QString::fromUtf8("éü"));
        QApplication::sendEvent(form->txtResponse, &composed);
        PressOK(form);
    });
    Show(kCompanyName);
    QCOMPARE(strInputValue, twentyNine.toStdString() + "\xE9");
}

void InputFormTest::dialogIsApplicationModalOverTheConsole() {
    auto* behind = Control<QPushButton>(console, "Command1");
    QSignalSpy pressed(behind, &QPushButton::pressed);
    const QPoint onButton = behind->geometry().center();
    bool modal = false, activeModal = false, ownedByConsole = false, dialogWindow = false;
    Qt::WindowModality modality = Qt::NonModal;
    int pressesWhileShown = -1;
    OnForm([&](InputForm* form) {
        modal = form->isModal();
        modality = form->windowModality();
        activeModal = QApplication::activeModalWidget() == form;
        ownedByConsole = form->parentWidget() == console;
        dialogWindow = form->isWindow();
        // A press on the console's window is held back while the dialog is shown.
        QTest::mousePress(console->windowHandle(), Qt::LeftButton, {}, onButton);
        QTest::mouseRelease(console->windowHandle(), Qt::LeftButton, {}, QPoint(1, 1));
        pressesWhileShown = int(pressed.count());
        form->cmdCancel->click();
    });
    Show(kCompanyName);
    QVERIFY(modal);
    QCOMPARE(modality, Qt::ApplicationModal);
    QVERIFY(activeModal);
    QVERIFY(ownedByConsole);
    QVERIFY(dialogWindow);
    QCOMPARE(pressesWhileShown, 0);
    // The same press reaches the button once the dialog is gone (released elsewhere: no click).
    QTest::mousePress(console->windowHandle(), Qt::LeftButton, {}, onButton);
    QTest::mouseRelease(console->windowHandle(), Qt::LeftButton, {}, QPoint(1, 1));
    QCOMPARE(pressed.count(), 1);
}

void InputFormTest::endingTheProgramWhileShownStopsTheCaller() {
    QPointer<InputForm> seenForm;
    OnForm([&](InputForm* form) {
        seenForm = form;
        try {
            vb::End();
        } catch (const vb::ProgramEnded&) {
        }
    });
    QVERIFY_THROWS_EXCEPTION(vb::ProgramEnded, Show(kCompanyName));
    QVERIFY(seenForm.isNull());
}

VELMORA_PROGRAM_TEST_MAIN(InputFormTest)
#include "tst_input_form.moc"
