// Enter on a focused button presses it in every window of the running program, as on the system the
// program comes from: the console, the editor, the value entry dialog and a message box. Space still
// presses it too, and a window's default button does not take Enter from a focused button.
#include "app/globals.h"
#include "editor/frm_korvani_upload_utility.h"
#include "platform/msgbox.h"
#include "settings/input_form.h"
#include "support/found_tablet.h"
#include "support/modal_answerer.h"
#include "support/program.h"

#include <QApplication>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>

using namespace testing_support;

namespace {

frmKorvaniUploadUtility* LoadedEditor() {
    for (QWidget* window : QApplication::topLevelWidgets()) {
        auto* editor = qobject_cast<frmKorvaniUploadUtility*>(window);
        if (editor && !editor->Unloaded() && editor->isVisible()) return editor;
    }
    return nullptr;
}

void CloseEditor() {
    if (frmKorvaniUploadUtility* editor = LoadedEditor()) editor->close();
    QTest::qWait(1);
}

// Gives a button of an active window the focus, as Tab would, and presses `key` on it.
bool PressKeyOn(QAbstractButton* button, Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    QWidget* window = button->window();
    window->activateWindow();
    if (!QTest::qWaitForWindowActive(window)) return false;
    button->setFocus(Qt::TabFocusReason);
    if (QApplication::focusWidget() != button) return false;
    QTest::keyClick(button, key, modifiers);
    return true;
}

} // namespace

class EnterOnButtonsTest : public QObject {
    Q_OBJECT

private slots:
    void init() { CloseEditor(); }
    void cleanupTestCase() { CloseEditor(); }

    void returnOnAFocusedConsoleButtonPressesIt() {
        frmQuillmaxSerial* console = StartConsole();
        QVERIFY(console);
        QVERIFY(!LoadedEditor());
        QVERIFY(PressKeyOn(Control<QPushButton>(console, "Command1"), Qt::Key_Return));
        QTRY_VERIFY(LoadedEditor());
    }

    void keypadEnterOnAFocusedConsoleButtonPressesIt() {
        frmQuillmaxSerial* console = StartConsole();
        QVERIFY(PressKeyOn(Control<QPushButton>(console, "Command1"), Qt::Key_Enter, Qt::KeypadModifier));
        QTRY_VERIFY(LoadedEditor());
    }

    void spaceStillPressesAFocusedButton() {
        frmQuillmaxSerial* console = StartConsole();
        QVERIFY(PressKeyOn(Control<QPushButton>(console, "Command1"), Qt::Key_Space));
        QTRY_VERIFY(LoadedEditor());
    }

    void returnOnAFocusedEditorButtonPressesIt() {
        frmQuillmaxSerial* console = StartConsole();
        Control<QPushButton>(console, "Command1")->click();
        frmKorvaniUploadUtility* editor = LoadedEditor();
        QVERIFY(editor);
        QCOMPARE(editor->table.RecordCount, short(0));
        QVERIFY(PressKeyOn(editor->cmdNew, Qt::Key_Return));
        QCOMPARE(editor->table.RecordCount, short(1)); // New File ran
        QVERIFY(editor->txtAI[0]->isEnabled());
    }

    void returnInAnEntryBoxPressesNoButton() {
        frmQuillmaxSerial* console = StartConsole();
        Control<QPushButton>(console, "Command1")->click();
        frmKorvaniUploadUtility* editor = LoadedEditor();
        QVERIFY(editor);
        QVERIFY(PressKeyOn(editor->cmdNew, Qt::Key_Return));
        ModalAnswerer answerer; // any box would be unexpected
        editor->txtAI[0]->setFocus();
        QTest::keyClick(editor->txtAI[0], Qt::Key_Return);
        QTest::qWait(50);
        QVERIFY(answerer.unexpected.isEmpty());
        QCOMPARE(editor->table.RecordCount, short(1));
    }

    void returnOnTheDialogsFocusedCancelCancelsRatherThanPressingOk() {
        // Tab to "Set &Company Name" and Return opens the value dialog; typed text, then Tab to
        // "&Cancel" and Return cancels (the default "&OK" would send the value).
        FoundTablet run;
        QVERIFY(run.found);
        ModalAnswerer answerer;
        QString caption;
        bool pressed = false;
        answerer.handle([&](QWidget* dialog) {
            auto* form = qobject_cast<InputForm*>(dialog);
            if (!form) return;
            caption = form->windowTitle();
            QTest::keyClicks(form->txtResponse, "ACME");
            pressed = PressKeyOn(form->cmdCancel, Qt::Key_Return);
        });
        answerer.pressInBox(QMessageBox::Ok);
        QVERIFY(PressKeyOn(run.console->cmdCustomerName, Qt::Key_Return));
        QVERIFY(answerer.waitUntilAnswered());
        QCOMPARE(caption, QString("Set Company Name"));
        QVERIFY(pressed);
        QCOMPARE(answerer.boxes.size(), 1);
        QCOMPARE(answerer.boxes[0].title, QString("Event Canceled"));
        QVERIFY(strInputValue.empty());
        QVERIFY(answerer.unexpected.isEmpty());
        QCOMPARE(run.tablet->state().companyName, std::string()); // nothing sent
    }

    void returnOnAMessageBoxsFocusedButtonAnswersWithIt() {
        StartConsole();
        ModalAnswerer answerer;
        bool pressed = false;
        answerer.handle([&](QWidget* shown) {
            auto* box = qobject_cast<QMessageBox*>(shown);
            if (box) pressed = PressKeyOn(box->button(QMessageBox::No), Qt::Key_Return);
        });
        const int answer = vb::MsgBox("Continue?", vb::vbYesNo + vb::vbQuestion, "Question");
        QVERIFY(pressed);
        QCOMPARE(answer, int(vb::vbNo));
    }
};

VELMORA_PROGRAM_TEST_MAIN(EnterOnButtonsTest)
#include "tst_enter_on_buttons.moc"
