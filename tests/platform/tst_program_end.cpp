// Ending the program at once and running handlers: End hides every window without its close handler,
// makes the event loop return 0 and stops the handler that called it; an error a handler does not trap is
// shown as "Run-time error" and the program goes on.
#include "platform/errors.h"
#include "platform/handler.h"
#include "platform/msgbox.h"
#include "platform/program_end.h"
#include "support/modal_answerer.h"

#include <QCloseEvent>
#include <QDialog>
#include <QTimer>
#include <QWidget>
#include <QtTest>

using testing_support::ModalAnswerer;

namespace {

// A window whose close handler would ask something; ending the program must not run it.
struct AskingWindow : QWidget {
    void closeEvent(QCloseEvent* event) override {
        ++closeRequests;
        event->ignore();
    }
    int closeRequests = 0;
};

} // namespace

class ProgramEndTest : public QObject {
    Q_OBJECT
private slots:
    void cleanup();
    void endHidesEveryWindowAndTheLoopReturnsZero();
    void endStopsTheHandlerThatCalledIt();
    void handlersDoNotRunAfterTheEnd();
    void anUntrappedErrorIsShownAndTheProgramGoesOn();
    void endInsideAModalLoopEndsItAndANewRunWaitsForBoxesAgain();
};

void ProgramEndTest::cleanup() {
    vb::ResetEnded();
}

void ProgramEndTest::endHidesEveryWindowAndTheLoopReturnsZero() {
    AskingWindow first, second;
    first.show();
    second.show();
    QTimer::singleShot(0, [] { vb::RunHandler([] { vb::End(); }); });
    QCOMPARE(QApplication::exec(), 0);
    QVERIFY(vb::HasEnded());
    QVERIFY(!first.isVisible());
    QVERIFY(!second.isVisible());
    QCOMPARE(first.closeRequests + second.closeRequests, 0);
}

void ProgramEndTest::endStopsTheHandlerThatCalledIt() {
    bool after = false;
    vb::RunHandler([&] {
        vb::End();
        after = true;
    });
    QVERIFY(vb::HasEnded());
    QVERIFY(!after);
}

void ProgramEndTest::handlersDoNotRunAfterTheEnd() {
    vb::RunHandler([] { vb::End(); });
    bool ran = false;
    vb::RunHandler([&] { ran = true; });
    QVERIFY(!ran);
}

void ProgramEndTest::anUntrappedErrorIsShownAndTheProgramGoesOn() {
    ModalAnswerer answerer;
    answerer.pressInBox(QMessageBox::Ok);
    bool after = false;
    vb::RunHandler([&] {
        vb::Raise(vb::errTypeMismatch);
        after = true;
    });
    QVERIFY(!after);
    QVERIFY(!vb::HasEnded());
    QCOMPARE(answerer.boxes.size(), 1);
    QCOMPARE(answerer.boxes[0].text, QString("Run-time error '13':\r\n\r\nType mismatch"));
    QCOMPARE(answerer.boxes[0].icon, QMessageBox::Critical);
    QCOMPARE(answerer.boxes[0].title, QString("Velmora LT Uploader/Downloader Tool"));
}

void ProgramEndTest::endInsideAModalLoopEndsItAndANewRunWaitsForBoxesAgain() {
    QDialog dialog;
    QTimer::singleShot(0, [] { vb::RunHandler([] { vb::End(); }); });
    dialog.exec(); // returns because the program ended inside it
    QVERIFY(vb::HasEnded());
    QVERIFY(!dialog.isVisible());

    vb::ResetEnded(); // a new run of the program
    ModalAnswerer answerer;
    answerer.pressInBox(QMessageBox::No);
    QCOMPARE(vb::MsgBox("Save changes?", vb::vbYesNo, "Save Changes"), int(vb::vbNo));
    QCOMPARE(answerer.boxes.size(), 1);
}

QTEST_MAIN(ProgramEndTest)
#include "tst_program_end.moc"
