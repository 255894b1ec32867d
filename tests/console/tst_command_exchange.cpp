// The command exchange every device command runs: opening, stages, success, stage failure at the tick
// limit, and the run-time error trap, against an emulated tablet found by the search. The exchange is
// driven through "&Reset Device", whose stages are the plainest: ENQ, then EOT.
#include "app/globals.h"
#include "console/console_window.h"
#include "support/device_command_run.h"
#include "support/program.h"

#include <QAbstractEventDispatcher>
#include <QElapsedTimer>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <unistd.h>

using namespace testing_support;
using namespace std::chrono_literals;

namespace {

// What the wait loop costs between Timer1's first tick and the tick at which it stops: this thread's CPU
// time and the wall time, in seconds.
struct TickWaitCost {
    double cpu = 0;
    double wall = 0;
    int ticks = 0;
    // Event passes of the wait (the event dispatcher's wake-ups and sleeps): a spinning wait makes
    // thousands per tick however busy the machine is, a sleeping one a few.
    int passes = 0;
};

double ThreadCpuSeconds() {
    rusage usage{};
    getrusage(RUSAGE_THREAD, &usage);
    return double(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           double(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

// Measures from the console's first Timer1 tick to its last before `ended()`, while `act` runs.
template <typename Act, typename Ended>
TickWaitCost MeasureTickWait(frmQuillmaxSerial* console, Act act, Ended ended) {
    TickWaitCost cost;
    double firstCpu = 0;
    QElapsedTimer clock;
    QObject context; // the measuring stops with this function
    QObject::connect(console->Timer1, &vb::Timer::Tick, &context, [&] {
        if (ended()) return;
        if (cost.ticks++ == 0) {
            clock.start();
            firstCpu = ThreadCpuSeconds();
        }
        cost.wall = double(clock.nsecsElapsed()) / 1e9;
        cost.cpu = ThreadCpuSeconds() - firstCpu;
    });
    const auto countPass = [&] {
        if (cost.ticks > 0 && !ended()) ++cost.passes;
    };
    QAbstractEventDispatcher* dispatcher = QAbstractEventDispatcher::instance();
    QObject::connect(dispatcher, &QAbstractEventDispatcher::awake, &context, countPass);
    QObject::connect(dispatcher, &QAbstractEventDispatcher::aboutToBlock, &context, countPass);
    act();
    return cost;
}

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
    void silentTabletWaitSleepsBetweenTheTicks();
    void searchWaitForAnAnswerWithoutEnqSleepsBetweenTheTicks();

private:
    void reset() { run->console->cmdReset->click(); }
    void startWithTicksOf4Ms();
    std::unique_ptr<DeviceCommandRun> run;
    int ticks = 0;
};

void CommandExchangeTest::initTestCase() {
    qputenv("VELMORA_TICK_MS", "2");
}

void CommandExchangeTest::init() {
    run = std::make_unique<DeviceCommandRun>();
    QVERIFY(run->found);
    ticks = 0;
    connect(run->console->Timer1, &vb::Timer::Tick, this, [this] { ++ticks; });
}

void CommandExchangeTest::cleanup() {
    if (run) QVERIFY2(run->answerer.unexpected.isEmpty(), qPrintable(run->answerer.unexpected.join(", ")));
    run.reset();
}

void CommandExchangeTest::answerWithinThePollsSucceedsAtOnce() {
    run->answerer.pressInBox(QMessageBox::Ok);
    reset();
    QCOMPARE(run->answerer.boxes.size(), 1);
    const SeenBox box = run->answerer.boxes[0];
    QCOMPARE(box.title, QString("UPDATE"));
    QCOMPARE(box.text, QString("Tablet successfully reset"));
    QCOMPARE(box.icon, QMessageBox::Information);
    QCOMPARE(box.buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
    QVERIFY(box.systemModal);
    // Each wait ran once: no tick was counted, and Timer1 was already stopped when the box came.
    QCOMPARE(ticks, 0);
    QCOMPARE(run->atBoxes[0].ticks, 0);
    QVERIFY(!run->atBoxes[0].timerEnabled);
    QVERIFY(run->atBoxes[0].portOpen); // closed only after the box
    QCOMPARE(run->tablet->received(), std::string("\x05\x04"));
    QVERIFY(!run->console->MSComm1.PortOpen());
    QVERIFY(!run->console->Timer1->Enabled());
    QCOMPARE(run->console->lngTicks, 0);
}

void CommandExchangeTest::answerAfterThePollsFailsAtTheTickLimit() {
    // The tablet stays silent; its answer is sent once the console has left the poll loop and waits
    // (the first event processed is the wait's). It arrives, but the wait does not read the port.
    run->tablet->setFaults({.silent = true});
    QTimer::singleShot(0, this, [this] { run->tablet->send("\x05"); });
    run->answerer.pressInBox(QMessageBox::Ok);
    reset();
    QCOMPARE(run->atBoxes.size(), 1);
    QCOMPARE(run->atBoxes[0].text, kConnectionFailure);
    QCOMPARE(run->atBoxes[0].ticks, 500);
    QVERIFY2(run->atBoxes[0].buffered.find('\x05') != std::string::npos, "the late answer had arrived");
    QCOMPARE(run->answerer.boxes[0].title, QString("ERROR"));
    QCOMPARE(run->answerer.boxes[0].icon, QMessageBox::Warning);
    QCOMPARE(run->tablet->received(), std::string("\x05")); // the reset itself was never sent
    QVERIFY(!run->console->MSComm1.PortOpen());
}

void CommandExchangeTest::silentTabletFailsAtTheTickLimitAndLeavesTheTimerRunning() {
    run->tablet->setFaults({.silent = true});
    run->answerer.pressInBox(QMessageBox::Ok);
    reset();
    QCOMPARE(run->answerer.boxes, QList<SeenBox>{FailureBox()});
    QCOMPARE(run->atBoxes[0].ticks, 500);
    QVERIFY(ticks >= 500);
    QVERIFY(!run->console->MSComm1.PortOpen());
    QVERIFY(run->console->Timer1->Enabled());
}

void CommandExchangeTest::replyWithTheExpectedByteAmongOthersSucceeds() {
    run->tablet->setFaults({.wrapBefore = "ok:", .wrapAfter = "\r\n"});
    run->answerer.pressInBox(QMessageBox::Ok);
    reset();
    QCOMPARE(run->answerer.boxes, QList<SeenBox>{UpdateBox("Tablet successfully reset")});
    QCOMPARE(run->tablet->received(), std::string("\x05\x04"));
}

void CommandExchangeTest::noSearchYetShowsThePortErrorTitledError() {
    run.reset(); // no tablet and no search: the console as the program starts
    frmQuillmaxSerial* console = StartConsole();
    QCOMPARE(intComPort, short(0));
    console->cmdReset->setEnabled(true); // as the unattended run calls it, before any search
    ModalAnswerer answerer;
    answerer.pressInBox(QMessageBox::Ok);
    console->cmdReset->click();
    QVERIFY(answerer.unexpected.isEmpty());
    QCOMPARE(answerer.boxes, QList<SeenBox>{RunTimeErrorBox("Invalid Port Number")});
    QVERIFY(!console->MSComm1.PortOpen());
    console->MSComm1.setPortOpen(false);
}

void CommandExchangeTest::portHeldByAnotherProgramShowsItsDescription() {
    frmQuillmaxSerial* console = run->console;
    console->MSComm1.setPortOpen(false);
    const int other = ::open(run->ports.port(FoundTablet::kPort).c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK);
    QVERIFY(other >= 0);
    QCOMPARE(flock(other, LOCK_EX | LOCK_NB), 0);
    run->answerer.pressInBox(QMessageBox::Ok);
    reset();
    ::close(other);
    QCOMPARE(run->answerer.boxes.size(), 1);
    const SeenBox box = run->answerer.boxes[0];
    QCOMPARE(box.title, QString("ERROR"));
    QVERIFY2(box.text.startsWith("Port already open"), qPrintable(box.text));
    QCOMPARE(box.icon, QMessageBox::NoIcon);
    QVERIFY(box.systemModal);
    QCOMPARE(run->tablet->received(), std::string());
    QVERIFY(!console->MSComm1.PortOpen());
}

void CommandExchangeTest::portOpenBeforeTheCommandIsClosedAndOpenedAgain() {
    // The search leaves the port open; the command closes it before it sets the port number (which an
    // open port refuses) and opens it again.
    QVERIFY(run->console->MSComm1.PortOpen());
    run->answerer.pressInBox(QMessageBox::Ok);
    reset();
    QCOMPARE(run->answerer.boxes, QList<SeenBox>{UpdateBox("Tablet successfully reset")});
    QCOMPARE(run->console->MSComm1.CommPort(), short(FoundTablet::kPort));
}

void CommandExchangeTest::errorAfterOpeningIsShownAndLeavesThePortOpen() {
    // The tablet hangs up once the console has read its echo of the password command. The password
    // makes all 1000 polls after that byte, so the line is down well before the value is written; the
    // write fails, the trap shows the serial layer's description, and the port stays open.
    run->tablet->setFaults({.hangUpOn = '\x10'});
    run->enterValue("1234");
    run->answerer.pressInBox(QMessageBox::Ok);
    run->console->cmdPassword->click();
    QCOMPARE(run->answerer.boxes.size(), 1);
    const SeenBox box = run->answerer.boxes[0];
    QCOMPARE(box.title, QString("ERROR"));
    QCOMPARE(box.text, QString("The device is not open: %1 Input/output error")
                           .arg(QString::fromStdString(run->ports.port(FoundTablet::kPort))));
    QCOMPARE(box.icon, QMessageBox::NoIcon);
    QCOMPARE(box.buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
    QVERIFY(box.systemModal);
    QVERIFY(run->console->MSComm1.PortOpen());
    QCOMPARE(run->tablet->received(), std::string("\x05\x10"));
}

// Ticks of 4 ms for the waits measured here: long enough that the work of one pass is a small part of a
// tick on a slow machine, short enough that 500 of them take two seconds.
void CommandExchangeTest::startWithTicksOf4Ms() {
    run.reset();
    qputenv("VELMORA_TICK_MS", "4");
    run = std::make_unique<DeviceCommandRun>();
    qputenv("VELMORA_TICK_MS", "2");
    QVERIFY(run->found);
}

void CommandExchangeTest::silentTabletWaitSleepsBetweenTheTicks() {
    // Nothing but an event can end the wait for an echo that the polls did not gather, so it sleeps until
    // each tick (and each poll of the box answerer) instead of spinning, and still fails at tick 500. Timer1
    // keeps running while the failure box is up; those ticks are not the wait's.
    startWithTicksOf4Ms();
    run->tablet->setFaults({.silent = true});
    run->answerer.pressInBox(QMessageBox::Ok);
    const TickWaitCost cost = MeasureTickWait(
        run->console, [this] { reset(); }, [this] { return !run->atBoxes.isEmpty(); });
    QCOMPARE(run->answerer.boxes, QList<SeenBox>{FailureBox()});
    QCOMPARE(run->atBoxes[0].ticks, 500);
    QCOMPARE(cost.ticks, 500);
    QVERIFY2(cost.passes < 10 * cost.ticks, qPrintable(QString("%1 event passes").arg(cost.passes)));
    QVERIFY(cost.wall >= 499 * 0.004 * 0.95);
    QVERIFY2(cost.cpu < 0.2 * cost.wall,
             qPrintable(QString("%1 s of CPU over a wait of %2 s").arg(cost.cpu).arg(cost.wall)));
}

void CommandExchangeTest::searchWaitForAnAnswerWithoutEnqSleepsBetweenTheTicks() {
    // The search's wait on a port that answered without ENQ: 100 ticks, sleeping between them; the port
    // is then closed and the search goes on to the ports after it.
    startWithTicksOf4Ms();
    run->tablet->setFaults({.replyText = "hello"});
    const TickWaitCost cost = MeasureTickWait(
        run->console, [this] { run->console->cmdSearch->click(); }, [] { return false; });
    QCOMPARE(cost.ticks, 100);
    QVERIFY2(cost.passes < 10 * cost.ticks, qPrintable(QString("%1 event passes").arg(cost.passes)));
    QCOMPARE(intComPort, short(FoundTablet::kPort)); // the earlier search's port stays
    QVERIFY(!run->console->MSComm1.PortOpen());
    QVERIFY(cost.wall >= 99 * 0.004 * 0.95);
    QVERIFY2(cost.cpu < 0.2 * cost.wall,
             qPrintable(QString("%1 s of CPU over a wait of %2 s").arg(cost.cpu).arg(cost.wall)));
}

VELMORA_PROGRAM_TEST_MAIN(CommandExchangeTest)
#include "tst_command_exchange.moc"
