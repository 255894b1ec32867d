// The command exchange every device command runs: opening, stages, success, stage failure at the tick
// limit, and the run-time error trap, against an emulated tablet found by the search. The exchange is
// driven through "&Reset Device", whose stages are the plainest: ENQ, then EOT.
#include "app/globals.h"
#include "console/console_window.h"
#include "support/found_tablet.h"
#include "support/modal_answerer.h"
#include "support/program.h"
#include "support/shown_box_spy.h"

#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

using namespace testing_support;
using namespace std::chrono_literals;

namespace {

const QString kConnectionFailure = "Cannot make connection. Be sure com port is correct,\r\n"
                                   "the tablet is connected, and tablet is in download mode.";

// What the console was doing when a box was shown.
struct AtShow {
    QString text;
    int ticks = -1;
    bool timerEnabled = false;
    bool portOpen = false;
    std::string buffered; // what the receive notification had gathered
};

} // namespace

class CommandExchangeTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();
    void answerWithinThePollsSucceedsAtOnce();
    void answerAfterThePollsFailsAtTheTickLimit();
    void silentTabletFailsAtTheTickLimitAndLeavesTheTimerRunning();
    void replyWithTheExpectedByteAmongOthersSucceeds();
    void noSearchYetShowsThePortErrorTitledError();
    void portHeldByAnotherProgramShowsItsDescription();
    void portOpenBeforeTheCommandIsClosedAndOpenedAgain();
    void errorAfterOpeningIsShownAndLeavesThePortOpen();

private:
    void reset() { session->console->cmdReset->click(); }
    std::unique_ptr<FoundTablet> session;
    std::unique_ptr<ModalAnswerer> answerer;
    std::unique_ptr<ShownBoxSpy> spy;
    QList<AtShow> shown;
    int ticks = 0;
};

void CommandExchangeTest::initTestCase() {
    qputenv("VELMORA_TICK_MS", "2");
}

void CommandExchangeTest::init() {
    session = std::make_unique<FoundTablet>();
    QVERIFY(session->found);
    answerer = std::make_unique<ModalAnswerer>();
    shown.clear();
    ticks = 0;
    frmQuillmaxSerial* console = session->console;
    connect(console->Timer1, &vb::Timer::Tick, this, [this] { ++ticks; });
    spy = std::make_unique<ShownBoxSpy>([this, console](QMessageBox* box) {
        shown << AtShow{box->text(), console->lngTicks, console->Timer1->Enabled(),
                        console->MSComm1.PortOpen(), console->vntInBuffer};
    });
}

void CommandExchangeTest::cleanup() {
    QVERIFY2(answerer->unexpected.isEmpty(), qPrintable(answerer->unexpected.join(", ")));
    spy.reset();
    answerer.reset();
    session.reset();
}

void CommandExchangeTest::answerWithinThePollsSucceedsAtOnce() {
    answerer->pressInBox(QMessageBox::Ok);
    reset();
    QCOMPARE(answerer->boxes.size(), 1);
    const SeenBox box = answerer->boxes[0];
    QCOMPARE(box.title, QString("UPDATE"));
    QCOMPARE(box.text, QString("Tablet successfully reset"));
    QCOMPARE(box.icon, QMessageBox::Information);
    QCOMPARE(box.buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
    QVERIFY(box.systemModal);
    // Each wait ran once: no tick was counted, and Timer1 was already stopped when the box came.
    QCOMPARE(ticks, 0);
    QCOMPARE(shown[0].ticks, 0);
    QVERIFY(!shown[0].timerEnabled);
    QVERIFY(shown[0].portOpen); // closed only after the box
    QCOMPARE(session->tablet->received(), std::string("\x05\x04"));
    QVERIFY(!session->console->MSComm1.PortOpen());
    QVERIFY(!session->console->Timer1->Enabled());
    QCOMPARE(session->console->lngTicks, 0);
}

void CommandExchangeTest::answerAfterThePollsFailsAtTheTickLimit() {
    // The tablet stays silent; its answer is sent once the console has left the poll loop and waits
    // (the first event processed is the wait's). It arrives, but the wait does not read the port.
    session->tablet->setFaults({.silent = true});
    QTimer::singleShot(0, this, [this] { session->tablet->send("\x05"); });
    answerer->pressInBox(QMessageBox::Ok);
    reset();
    QCOMPARE(shown.size(), 1);
    QCOMPARE(shown[0].text, kConnectionFailure);
    QCOMPARE(shown[0].ticks, 500);
    QVERIFY2(shown[0].buffered.find('\x05') != std::string::npos, "the late answer had arrived");
    QCOMPARE(answerer->boxes[0].title, QString("ERROR"));
    QCOMPARE(answerer->boxes[0].icon, QMessageBox::Warning);
    QCOMPARE(session->tablet->received(), std::string("\x05")); // the reset itself was never sent
    QVERIFY(!session->console->MSComm1.PortOpen());
}

void CommandExchangeTest::silentTabletFailsAtTheTickLimitAndLeavesTheTimerRunning() {
    session->tablet->setFaults({.silent = true});
    answerer->pressInBox(QMessageBox::Ok);
    reset();
    QCOMPARE(answerer->boxes.size(), 1);
    const SeenBox box = answerer->boxes[0];
    QCOMPARE(box.title, QString("ERROR"));
    QCOMPARE(box.text, kConnectionFailure);
    QCOMPARE(box.icon, QMessageBox::Warning);
    QCOMPARE(box.buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
    QVERIFY(box.systemModal);
    QCOMPARE(shown[0].ticks, 500);
    QVERIFY(ticks >= 500);
    QVERIFY(!session->console->MSComm1.PortOpen());
    QVERIFY(session->console->Timer1->Enabled());
}

void CommandExchangeTest::replyWithTheExpectedByteAmongOthersSucceeds() {
    session->tablet->setFaults({.wrapBefore = "ok:", .wrapAfter = "\r\n"});
    answerer->pressInBox(QMessageBox::Ok);
    reset();
    QCOMPARE(answerer->boxes.size(), 1);
    QCOMPARE(answerer->boxes[0].text, QString("Tablet successfully reset"));
    QCOMPARE(session->tablet->received(), std::string("\x05\x04"));
}

void CommandExchangeTest::noSearchYetShowsThePortErrorTitledError() {
    session.reset();
    frmQuillmaxSerial* console = StartConsole();
    QCOMPARE(intComPort, short(0));
    console->cmdReset->setEnabled(true); // as the unattended run calls it, before any search
    answerer->pressInBox(QMessageBox::Ok);
    console->cmdReset->click();
    QCOMPARE(answerer->boxes.size(), 1);
    const SeenBox box = answerer->boxes[0];
    QCOMPARE(box.title, QString("ERROR"));
    QCOMPARE(box.text, QString("Invalid Port Number"));
    QCOMPARE(box.icon, QMessageBox::NoIcon);
    QCOMPARE(box.buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
    QVERIFY(box.systemModal);
    QVERIFY(!console->MSComm1.PortOpen());
    console->MSComm1.setPortOpen(false);
}

void CommandExchangeTest::portHeldByAnotherProgramShowsItsDescription() {
    frmQuillmaxSerial* console = session->console;
    console->MSComm1.setPortOpen(false);
    const int other = ::open(session->ports.port(FoundTablet::kPort).c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK);
    QVERIFY(other >= 0);
    QCOMPARE(flock(other, LOCK_EX | LOCK_NB), 0);
    answerer->pressInBox(QMessageBox::Ok);
    reset();
    ::close(other);
    QCOMPARE(answerer->boxes.size(), 1);
    const SeenBox box = answerer->boxes[0];
    QCOMPARE(box.title, QString("ERROR"));
    QVERIFY2(box.text.startsWith("Port already open"), qPrintable(box.text));
    QCOMPARE(box.icon, QMessageBox::NoIcon);
    QVERIFY(box.systemModal);
    QCOMPARE(session->tablet->received(), std::string());
    QVERIFY(!console->MSComm1.PortOpen());
}

void CommandExchangeTest::portOpenBeforeTheCommandIsClosedAndOpenedAgain() {
    // The search leaves the port open; the command closes it before it sets the port number (which an
    // open port refuses) and opens it again.
    QVERIFY(session->console->MSComm1.PortOpen());
    answerer->pressInBox(QMessageBox::Ok);
    reset();
    QCOMPARE(answerer->boxes.size(), 1);
    QCOMPARE(answerer->boxes[0].text, QString("Tablet successfully reset"));
    QCOMPARE(session->console->MSComm1.CommPort(), short(FoundTablet::kPort));
}

void CommandExchangeTest::errorAfterOpeningIsShownAndLeavesThePortOpen() {
    // The tablet hangs up once the console has read its echo of the password command. The password
    // makes all 1000 polls after that byte, so the line is down well before the value is written; the
    // write fails, the trap shows the serial layer's description, and the port stays open.
    session->tablet->setFaults({.hangUpOn = '\x10'});
    answerer->handle([](QWidget* dialog) {
        dialog->findChild<QLineEdit*>("txtResponse")->setText("1234");
        dialog->findChild<QPushButton*>("cmdOK")->click();
    });
    answerer->pressInBox(QMessageBox::Ok);
    session->console->cmdPassword->click();
    QCOMPARE(answerer->boxes.size(), 1);
    const SeenBox box = answerer->boxes[0];
    QCOMPARE(box.title, QString("ERROR"));
    QCOMPARE(box.text, QString("The device is not open: %1 Input/output error")
                           .arg(QString::fromStdString(session->ports.port(FoundTablet::kPort))));
    QCOMPARE(box.icon, QMessageBox::NoIcon);
    QCOMPARE(box.buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
    QVERIFY(box.systemModal);
    QVERIFY(session->console->MSComm1.PortOpen());
    QCOMPARE(session->tablet->received(), std::string("\x05\x10"));
}

VELMORA_PROGRAM_TEST_MAIN(CommandExchangeTest)
#include "tst_command_exchange.moc"
