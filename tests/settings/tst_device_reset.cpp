// "&Reset Device" against an emulated tablet found by the search: ENQ then EOT, the reset's long read of
// 15000 polls, its own failure message, and the port on every path.
#include "console/console_window.h"
#include "support/device_command_run.h"
#include "support/program.h"

#include <QPushButton>
#include <QTest>

using namespace testing_support;
using namespace std::chrono_literals;

class DeviceResetTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();
    void resetsTheTablet();
    void echoAfterAThousandPollsStillCounts();
    void echoAfterFifteenThousandPollsTimesOut();
    void handshakeReplyInPiecesTimesOutThoughTheTabletAnswered();
    void noHandshakeEchoGivesTheConnectionMessage();

private:
    void reset() { run->console->cmdReset->click(); }
    std::unique_ptr<DeviceCommandRun> run;
};

void DeviceResetTest::initTestCase() {
    qputenv("VELMORA_TICK_MS", "2");
}

void DeviceResetTest::init() {
    run = std::make_unique<DeviceCommandRun>();
    QVERIFY(run->found);
    run->answerer.pressInBox(QMessageBox::Ok);
}

void DeviceResetTest::cleanup() {
    QVERIFY2(run->answerer.unexpected.isEmpty(), qPrintable(run->answerer.unexpected.join(", ")));
    run.reset();
}

void DeviceResetTest::resetsTheTablet() {
    reset();
    QCOMPARE(run->answerer.boxes, QList<SeenBox>{UpdateBox("Tablet successfully reset")});
    QCOMPARE(run->tablet->received(), std::string("\x05\x04"));
    QCOMPARE(run->tablet->state().resets, 1);
    QVERIFY(!run->console->MSComm1.PortOpen());
    QVERIFY(!run->console->Timer1->Enabled());
    QCOMPARE(run->console->lngTicks, 0);
}

void DeviceResetTest::echoAfterAThousandPollsStillCounts() {
    // Later than any other stage's 1000 polls would wait, but within the reset's 15000.
    run->tablet->setFaults({.echoDelay = {{'\x04', 2500ms}}});
    reset();
    QCOMPARE(run->answerer.boxes, QList<SeenBox>{UpdateBox("Tablet successfully reset")});
}

void DeviceResetTest::echoAfterFifteenThousandPollsTimesOut() {
    run->tablet->setFaults({.echoDelay = {{'\x04', 40s}}});
    reset();
    QCOMPARE(run->answerer.boxes, QList<SeenBox>{FailureBox("Error. Please try again")});
    QCOMPARE(run->ticksAtBoxes(), QList<int>{500});
    QVERIFY(!run->console->MSComm1.PortOpen());
}

void DeviceResetTest::handshakeReplyInPiecesTimesOutThoughTheTabletAnswered() {
    // The first piece of the answer to ENQ ends the polls; the ENQ in the second piece is never seen.
    run->tablet->setFaults({.splitGap = 200ms, .splitOnly = "\x05"});
    reset();
    QCOMPARE(run->answerer.boxes, QList<SeenBox>{FailureBox()});
    QCOMPARE(run->ticksAtBoxes(), QList<int>{500});
    QCOMPARE(run->tablet->received(), std::string("\x05"));
    QVERIFY(!run->console->MSComm1.PortOpen());
}

void DeviceResetTest::noHandshakeEchoGivesTheConnectionMessage() {
    run->tablet->setFaults({.noEcho = "\x05"});
    reset();
    QCOMPARE(run->answerer.boxes, QList<SeenBox>{FailureBox()});
    QCOMPARE(run->tablet->state().resets, 0);
}

VELMORA_PROGRAM_TEST_MAIN(DeviceResetTest)
#include "tst_device_reset.moc"
