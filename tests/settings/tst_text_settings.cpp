// "Set &Company Name", "Set &Menu Title" and "Set &Password" against an emulated tablet found by the
// search: the value asked for, the bytes the tablet receives, the boxes, the port afterwards, and each
// member's own waits (the menu title's 200-tick handshake, which read stops at the first reply).
#include "app/globals.h"
#include "console/console_window.h"
#include "support/device_command_run.h"
#include "support/program.h"

#include <QLineEdit>
#include <QPushButton>
#include <QTest>

using namespace testing_support;
using namespace std::chrono_literals;

namespace {

struct Member {
    const char* button;
    const char* item;
    char commandByte;
    const char* value; // a value the dialog accepts
    int handshakeTicks;
    const char* success;
    const char* cancel;
    std::string sim::TabletState::*stored;
};

const Member kMembers[] = {
    {"cmdCustomerName", "Company Name", 0x03, "ACME Field Services", 500, "Company Name successfully updated",
     "Company Name Entry Canceled!", &sim::TabletState::companyName},
    {"cmdTitle", "Main Menu Title", 0x09, "Deliveries", 200, "Main Menu Title successfully updated",
     "Main Menu Title Entry Canceled!", &sim::TabletState::menuTitle},
    {"cmdPassword", "Password", 0x10, "4711", 500, "Password successfully updated",
     "Password Entry Canceled!", &sim::TabletState::password},
};

void AddMemberRows() {
    QTest::addColumn<int>("member");
    for (int i = 0; i < 3; ++i)
        QTest::newRow(kMembers[i].button) << i;
}

} // namespace

class TextSettingsTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();
    void sendsTheValueAndShowsItsUpdateBox_data() { AddMemberRows(); }
    void sendsTheValueAndShowsItsUpdateBox();
    void handshakeGivesUpAtTheMembersTickLimit_data() { AddMemberRows(); }
    void handshakeGivesUpAtTheMembersTickLimit();
    void missingCommandEchoGivesUpAt500_data() { AddMemberRows(); }
    void missingCommandEchoGivesUpAt500();
    void missingValueEchoGivesUpAt500_data() { AddMemberRows(); }
    void missingValueEchoGivesUpAt500();
    void valueEchoedAmongOtherCharactersSucceeds_data() { AddMemberRows(); }
    void valueEchoedAmongOtherCharactersSucceeds();
    void valueEchoInPiecesNeedsAllPolls_data() { AddMemberRows(); }
    void valueEchoInPiecesNeedsAllPolls();
    void commandEchoInPiecesNeedsAllPolls_data() { AddMemberRows(); }
    void commandEchoInPiecesNeedsAllPolls();
    void cancelLeavesThePortAsItWas_data();
    void cancelLeavesThePortAsItWas();
    void closeBoxActsAsCancel();
    void returnInTheBoxEndsTheValueWithoutALineBreak();

private:
    const Member& member() const;
    // Presses the member's button; the dialog is answered with `value` and OK, every box after it with OK.
    void runWithValue(const Member& member, const QString& value, int boxes = 1);

    std::unique_ptr<DeviceCommandRun> run;
    QStringList dialogTitles;
};

void TextSettingsTest::initTestCase() {
    qputenv("VELMORA_TICK_MS", "2");
}

void TextSettingsTest::init() {
    run = std::make_unique<DeviceCommandRun>();
    QVERIFY(run->found);
    dialogTitles.clear();
}

void TextSettingsTest::cleanup() {
    QVERIFY2(run->answerer.unexpected.isEmpty(), qPrintable(run->answerer.unexpected.join(", ")));
    run.reset();
}

const Member& TextSettingsTest::member() const {
    QFETCH(int, member);
    return kMembers[member];
}

void TextSettingsTest::runWithValue(const Member& member, const QString& value, int boxes) {
    run->answerer.handle([this, value](QWidget* dialog) {
        dialogTitles << dialog->windowTitle();
        dialog->findChild<QLineEdit*>("txtResponse")->setText(value);
        dialog->findChild<QPushButton*>("cmdOK")->click();
    });
    for (int i = 0; i < boxes; ++i)
        run->answerer.pressInBox(QMessageBox::Ok);
    Control<QPushButton>(run->console, member.button)->click();
}

void TextSettingsTest::sendsTheValueAndShowsItsUpdateBox() {
    const Member& m = member();
    runWithValue(m, QString("  %1 ").arg(m.value));
    QCOMPARE(dialogTitles, QStringList(QString("Set ") + m.item));
    QCOMPARE(run->answerer.boxes, QList<SeenBox>{UpdateBox(m.success)});
    // The value goes out trimmed, in one write after the command byte, ended by CR.
    QCOMPARE(run->tablet->received(), std::string("\x05") + m.commandByte + m.value + "\r");
    QCOMPARE(run->tablet->state().*m.stored, std::string(m.value));
    QVERIFY(!run->console->MSComm1.PortOpen());
    QVERIFY(!run->console->Timer1->Enabled());
    QCOMPARE(strInputItem, std::string());
    QCOMPARE(strInputValue, std::string());
}

void TextSettingsTest::handshakeGivesUpAtTheMembersTickLimit() {
    const Member& m = member();
    run->tablet->setFaults({.silent = true});
    runWithValue(m, m.value);
    QCOMPARE(run->answerer.boxes, QList<SeenBox>{FailureBox()});
    QCOMPARE(run->ticksAtBoxes(), QList<int>{m.handshakeTicks});
    QCOMPARE(run->tablet->received(), std::string("\x05"));
    QVERIFY(!run->console->MSComm1.PortOpen());
}

void TextSettingsTest::missingCommandEchoGivesUpAt500() {
    const Member& m = member();
    run->tablet->setFaults({.noEcho = std::string(1, m.commandByte)});
    runWithValue(m, m.value);
    QCOMPARE(run->answerer.boxes, QList<SeenBox>{FailureBox()});
    QCOMPARE(run->ticksAtBoxes(), QList<int>{500});
    QCOMPARE(run->tablet->received(), std::string("\x05") + m.commandByte);
    QVERIFY(!run->console->MSComm1.PortOpen());
}

void TextSettingsTest::missingValueEchoGivesUpAt500() {
    const Member& m = member();
    run->tablet->setFaults({.noEcho = "\r"});
    runWithValue(m, m.value);
    QCOMPARE(run->answerer.boxes, QList<SeenBox>{FailureBox()});
    QCOMPARE(run->ticksAtBoxes(), QList<int>{500});
    // The tablet took the value all the same; the console does not report it as updated.
    QCOMPARE(run->tablet->state().*m.stored, std::string(m.value));
    QVERIFY(!run->console->MSComm1.PortOpen());
}

void TextSettingsTest::valueEchoedAmongOtherCharactersSucceeds() {
    const Member& m = member();
    run->tablet->setFaults({.wrapBefore = "\x02", .wrapAfter = "\n>"});
    runWithValue(m, m.value);
    QCOMPARE(run->answerer.boxes, QList<SeenBox>{UpdateBox(m.success)});
}

void TextSettingsTest::valueEchoInPiecesNeedsAllPolls() {
    // The echo of value and CR comes in two pieces 300 ms apart. The company name and the menu title
    // make all 1000 polls and gather both; the password stops at the first piece and times out.
    const Member& m = member();
    run->tablet->setFaults({.splitGap = 300ms, .splitOnly = "\r"});
    runWithValue(m, m.value);
    QCOMPARE(run->answerer.boxes.size(), 1);
    const bool password = std::string(m.item) == "Password";
    QCOMPARE(run->answerer.boxes[0].text, password ? kConnectionFailure : QString(m.success));
    if (password) QCOMPARE(run->ticksAtBoxes(), QList<int>{500});
}

void TextSettingsTest::commandEchoInPiecesNeedsAllPolls() {
    // The command byte's echo comes after a first piece without it. Only the password makes all 1000
    // polls after its command byte and so sees the echo.
    const Member& m = member();
    run->tablet->setFaults({.splitGap = 300ms, .splitOnly = std::string(1, m.commandByte)});
    runWithValue(m, m.value);
    QCOMPARE(run->answerer.boxes.size(), 1);
    const bool password = std::string(m.item) == "Password";
    QCOMPARE(run->answerer.boxes[0].text, password ? QString(m.success) : kConnectionFailure);
    if (!password) QCOMPARE(run->tablet->received(), std::string("\x05") + m.commandByte);
}

void TextSettingsTest::cancelLeavesThePortAsItWas_data() {
    QTest::addColumn<int>("member");
    QTest::addColumn<bool>("portOpen");
    for (int i = 0; i < 3; ++i) {
        QTest::addRow("%s, port open", kMembers[i].button) << i << true;
        QTest::addRow("%s, port closed", kMembers[i].button) << i << false;
    }
}

void TextSettingsTest::cancelLeavesThePortAsItWas() {
    const Member& m = member();
    QFETCH(bool, portOpen);
    frmQuillmaxSerial* console = run->console;
    console->MSComm1.setPortOpen(portOpen);
    run->answerer.handle([](QWidget* dialog) {
        dialog->findChild<QLineEdit*>("txtResponse")->setText("typed, then given up");
        dialog->findChild<QPushButton*>("cmdCancel")->click();
    });
    run->answerer.pressInBox(QMessageBox::Ok);
    Control<QPushButton>(console, m.button)->click();
    QCOMPARE(run->answerer.boxes.size(), 1);
    const SeenBox box = run->answerer.boxes[0];
    QCOMPARE(box.title, QString("Event Canceled"));
    QCOMPARE(box.text, QString(m.cancel));
    QCOMPARE(box.icon, QMessageBox::Warning);
    QCOMPARE(box.buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
    QVERIFY(!box.systemModal);
    QCOMPARE(console->MSComm1.PortOpen(), portOpen);
    QVERIFY(run->tablet->waitForReceived(1, 100ms) == false);
    QCOMPARE(strInputItem, std::string());
    QCOMPARE(strInputValue, std::string());
}

void TextSettingsTest::closeBoxActsAsCancel() {
    run->answerer.handle([](QWidget* dialog) {
        dialog->findChild<QLineEdit*>("txtResponse")->setText("never sent");
        dialog->close();
    });
    run->answerer.pressInBox(QMessageBox::Ok);
    run->console->cmdTitle->click();
    QCOMPARE(run->answerer.boxes.size(), 1);
    QCOMPARE(run->answerer.boxes[0].title, QString("Event Canceled"));
    QCOMPARE(run->answerer.boxes[0].text, QString("Main Menu Title Entry Canceled!"));
    QVERIFY(!run->tablet->waitForReceived(1, 100ms));
    QCOMPARE(run->tablet->state().menuTitle, std::string());
}

void TextSettingsTest::returnInTheBoxEndsTheValueWithoutALineBreak() {
    // The entry box is single-line: Return presses OK instead of entering a line break.
    run->answerer.handle([](QWidget* dialog) {
        auto* box = dialog->findChild<QLineEdit*>("txtResponse");
        box->setFocus();
        QTest::keyClicks(box, "North");
        QTest::keyClick(box, Qt::Key_Return);
    });
    run->answerer.pressInBox(QMessageBox::Ok);
    run->console->cmdCustomerName->click();
    QCOMPARE(run->answerer.boxes, QList<SeenBox>{UpdateBox("Company Name successfully updated")});
    QCOMPARE(run->tablet->received(), std::string("\x05\x03North\r"));
}

VELMORA_PROGRAM_TEST_MAIN(TextSettingsTest)
#include "tst_text_settings.moc"
