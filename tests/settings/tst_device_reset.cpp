// "&Reset Device" against an emulated tablet found by the search: ENQ then EOT, the reset's long read of
// 15000 polls, its own failure message, and the port on every path.
#include "console/console_window.h"
#include "support/found_tablet.h"
#include "support/modal_answerer.h"
#include "support/program.h"
#include "support/shown_box_spy.h"

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
    void reset() { session->console->cmdReset->click(); }
    std::unique_ptr<FoundTablet> session;
    std::unique_ptr<ModalAnswerer> answerer;
    std::unique_ptr<ShownBoxSpy> spy;
    QList<int> ticksAtShow;
};

void DeviceResetTest::initTestCase() {
    qputenv("VELMORA_TICK_MS", "2");
}

void DeviceResetTest::init() {
    session = std::make_unique<FoundTablet>();
    QVERIFY(session->found);
    answerer = std::make_unique<ModalAnswerer>();
    ticksAtShow.clear();
    frmQuillmaxSerial* console = session->console;
    spy = std::make_unique<ShownBoxSpy>([this, console](QMessageBox*) { ticksAtShow << console->lngTicks; });
    answerer->pressInBox(QMessageBox::Ok);
}

void DeviceResetTest::cleanup() {
    QVERIFY2(answerer->unexpected.isEmpty(), qPrintable(answerer->unexpected.join(", ")));
    spy.reset();
    answerer.reset();
    session.reset();
}

void DeviceResetTest::resetsTheTablet() {
    reset();
    QCOMPARE(answerer->boxes.size(), 1);
    const SeenBox box = answerer->boxes[0];
    QCOMPARE(box.title, QString("UPDATE"));
    QCOMPARE(box.text, QString("Tablet successfully reset"));
    QCOMPARE(box.icon, QMessageBox::Information);
    QVERIFY(box.systemModal);
    QCOMPARE(session->tablet->received(), std::string("\x05\x04"));
    QCOMPARE(session->tablet->state().resets, 1);
    QVERIFY(!session->console->MSComm1.PortOpen());
    QVERIFY(!session->console->Timer1->Enabled());
    QCOMPARE(session->console->lngTicks, 0);
}

void DeviceResetTest::echoAfterAThousandPollsStillCounts() {
    // Later than any other stage's 1000 polls would wait, but within the reset's 15000.
    session->tablet->setFaults({.echoDelay = {{'\x04', 2500ms}}});
    reset();
    QCOMPARE(answerer->boxes.size(), 1);
    QCOMPARE(answerer->boxes[0].text, QString("Tablet successfully reset"));
}

void DeviceResetTest::echoAfterFifteenThousandPollsTimesOut() {
    session->tablet->setFaults({.echoDelay = {{'\x04', 40s}}});
    reset();
    QCOMPARE(answerer->boxes.size(), 1);
    const SeenBox box = answerer->boxes[0];
    QCOMPARE(box.title, QString("ERROR"));
    QCOMPARE(box.text, QString("Error. Please try again"));
    QCOMPARE(box.icon, QMessageBox::Warning);
    QCOMPARE(box.buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
    QVERIFY(box.systemModal);
    QCOMPARE(ticksAtShow, QList<int>{500});
    QVERIFY(!session->console->MSComm1.PortOpen());
}

void DeviceResetTest::handshakeReplyInPiecesTimesOutThoughTheTabletAnswered() {
    // The first piece of the answer to ENQ ends the polls; the ENQ in the second piece is never seen.
    session->tablet->setFaults({.splitGap = 200ms, .splitOnly = "\x05"});
    reset();
    QCOMPARE(answerer->boxes.size(), 1);
    QCOMPARE(answerer->boxes[0].text, QString("Cannot make connection. Be sure com port is correct,\r\n"
                                              "the tablet is connected, and tablet is in download mode."));
    QCOMPARE(ticksAtShow, QList<int>{500});
    QCOMPARE(session->tablet->received(), std::string("\x05"));
    QVERIFY(!session->console->MSComm1.PortOpen());
}

void DeviceResetTest::noHandshakeEchoGivesTheConnectionMessage() {
    session->tablet->setFaults({.noEcho = "\x05"});
    reset();
    QCOMPARE(answerer->boxes.size(), 1);
    QCOMPARE(answerer->boxes[0].title, QString("ERROR"));
    QCOMPARE(answerer->boxes[0].text, QString("Cannot make connection. Be sure com port is correct,\r\n"
                                              "the tablet is connected, and tablet is in download mode."));
    QCOMPARE(session->tablet->state().resets, 0);
}

VELMORA_PROGRAM_TEST_MAIN(DeviceResetTest)
#include "tst_device_reset.moc"
