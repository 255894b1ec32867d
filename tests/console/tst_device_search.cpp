// "&Search for Velmora LT" against emulated tablets, silent ports and missing ports in a ports folder.
#include "app/globals.h"
#include "console/console_window.h"
#include "platform/mscomm.h"
#include "platform/program_end.h"
#include "support/modal_answerer.h"
#include "support/ports_folder.h"
#include "support/program.h"
#include "tablet.h"

#include <QComboBox>
#include <QElapsedTimer>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <sys/file.h>
#include <termios.h>
#include <unistd.h>
#include <vector>

using namespace testing_support;
using namespace std::chrono_literals;

namespace {

const std::string kEnq = "\x05";

const char* const kDeviceButtons[] = {"cmdCustomerName", "cmdTitle",      "cmdDateTime", "cmdPassword",
                                      "cmdReset",        "cmdUploadData", "cmdDownload"};

// What the connection light showed each time it was painted.
struct LightWatcher : QObject {
    struct Frame {
        QString caption;
        QVariant colour;
        bool resetEnabled;
        Qt::CursorShape cursor;
    };
    LightWatcher(frmQuillmaxSerial* console) : console(console) {
        console->lblConnected->installEventFilter(this);
    }
    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() == QEvent::Paint)
            frames.push_back({console->lblConnected->text(), console->lblConnected->property("BackColor"),
                              console->cmdReset->isEnabled(), console->cursor().shape()});
        return false;
    }
    QStringList captions() const {
        QStringList list;
        for (const Frame& frame : frames)
            if (list.isEmpty() || list.last() != frame.caption) list << frame.caption;
        return list;
    }
    frmQuillmaxSerial* console;
    std::vector<Frame> frames;
};

} // namespace

class DeviceSearchTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();
    void tabletOnPort3BehindTwoMissingPorts();
    void tabletBehindTwoSilentPortsCostsPollsNotTicks();
    void answerWithoutEnqCostsOneHundredTicks();
    void answerWithoutEnqOnTheLastPortLeavesItClosed();
    void noTabletAnywhereLeavesTheLightRedWith40();
    void portsOneToSixteenMissingEndWithAnEmptyCaption();
    void searchPressedAgainRestartsFromPort1();
    void duringTheSearchTheLightIsRedAndTheButtonsDisabled();
    void searchResetsRateAndSettingsButNotTheCombos();
    void exitWithThePortOpenClosesIt();
    void escapeTriggersExitAfterASearch();
    void baudComboByKeyboardReopensTheOpenPort();
    void missingPortFromSixteenOnEndsTheSearch();
    void portHeldByAnotherProgramEndsTheSearchSilently();
    void escapeOnAComboTriggersExitAfterAFailedSearch();
    void closingTheConsoleWithThePortOpenClosesIt();
    void closingTheConsoleDuringTheSearchStopsIt();
    void receiveNotificationFillsTheBuffer();
    void receiveNotificationDuringADownloadCountsOnTheBar();
    void timerTickCountsAndWrapsAbove32500();
    void commandLineUsesTheBaudComboAndEndsTheProgram();
    void singleCharacterCommandLineEndsTheSearchSilently();
    void failedSearchListsWhatItMetInTheLightsTooltip();
    void searchEndingAtMissingPort16ListsEveryPortInTheTooltip();
    void foundTabletsDeviceIsNamedInTheLightsTooltip();

private:
    void search();
    // Presses the search, which must end at the missing port 16: light red with an empty caption after
    // showing ports 1 to 16, `beyond` never tried, port closed, no tablet, device buttons disabled.
    void searchEndsAtMissingPort16(const sim::Tablet& beyond);
    int ticksDuringSearch = 0;
    std::unique_ptr<PortsFolder> ports;
    std::vector<std::unique_ptr<sim::Tablet>> tablets;
    frmQuillmaxSerial* console = nullptr;
    sim::Tablet& add(int port, sim::Faults faults = {}) {
        tablets.push_back(std::make_unique<sim::Tablet>(ports->path(), port, faults));
        return *tablets.back();
    }
};

void DeviceSearchTest::initTestCase() {
    qputenv("VELMORA_TICK_MS", "2");
}

void DeviceSearchTest::init() {
    ports = std::make_unique<PortsFolder>();
    console = StartConsole();
    ticksDuringSearch = 0;
    connect(console->Timer1, &vb::Timer::Tick, this, [this] { ++ticksDuringSearch; });
}

void DeviceSearchTest::cleanup() {
    if (console) console->MSComm1.setPortOpen(false);
    tablets.clear();
    ports.reset();
}

void DeviceSearchTest::search() {
    QTest::mouseClick(console->cmdSearch, Qt::LeftButton);
}

void DeviceSearchTest::tabletOnPort3BehindTwoMissingPorts() {
    sim::Tablet& tablet = add(3);
    ModalAnswerer answerer;
    intSearchMarker = 7;
    search();
    QCOMPARE(intSearchMarker, short(0));
    QVERIFY(answerer.unexpected.isEmpty()); // the search shows no message box
    QCOMPARE(console->lblConnected->text(), QString("3"));
    QCOMPARE(console->lblConnected->property("BackColor").toUInt(), 0x00FF00u);
    QCOMPARE(console->lblConnected->palette().color(QPalette::Window), QColor(0, 255, 0));
    for (const char* name : kDeviceButtons)
        QVERIFY2(Control(console, name)->isEnabled(), name);
    for (const char* name : {"cmdSearch", "Command1", "cmdBrowse", "cmdCancel"})
        QVERIFY2(Control(console, name)->isEnabled(), name);
    QCOMPARE(intComPort, short(3));
    QVERIFY(console->MSComm1.PortOpen());
    QCOMPARE(console->MSComm1.CommPort(), short(3));
    QCOMPARE(console->MSComm1.Settings(), std::string("115200,O,8,1"));
    QVERIFY(!console->Timer1->Enabled());
    QCOMPARE(console->cursor().shape(), Qt::ArrowCursor);
    QCOMPARE(console->CancelButton(), console->cmdCancel);
    QCOMPARE(tablet.received(), kEnq);
}

void DeviceSearchTest::tabletBehindTwoSilentPortsCostsPollsNotTicks() {
    sim::Tablet& first = add(1, {.silent = true});
    sim::Tablet& second = add(2, {.silent = true});
    sim::Tablet& tablet = add(3);
    QElapsedTimer clock;
    clock.start();
    search();
    // Each silent port gets one ENQ and 200 polls of at least 1 ms; no tick is spent on it.
    QVERIFY(clock.elapsed() >= 400);
    QCOMPARE(first.received(), kEnq);
    QCOMPARE(second.received(), kEnq);
    QCOMPARE(tablet.received(), kEnq);
    QCOMPARE(ticksDuringSearch, 0);
    QCOMPARE(console->lblConnected->text(), QString("3"));
    QCOMPARE(intComPort, short(3));
}

void DeviceSearchTest::answerWithoutEnqCostsOneHundredTicks() {
    sim::Tablet& chatty = add(1, {.replyText = std::string("HELLO")});
    sim::Tablet& tablet = add(2);
    search();
    QCOMPARE(ticksDuringSearch, 100);
    QCOMPARE(chatty.received(), kEnq);
    QCOMPARE(tablet.received(), kEnq);
    QCOMPARE(console->lblConnected->text(), QString("2"));
    QCOMPARE(intComPort, short(2));
}

void DeviceSearchTest::answerWithoutEnqOnTheLastPortLeavesItClosed() {
    // Ports 1 to 15 missing are skipped; 16 to 39 answer nothing; 40 answers without ENQ.
    for (int port = 16; port <= 39; ++port)
        add(port, {.silent = true});
    sim::Tablet& chatty = add(40, {.replyText = std::string("HELLO")});
    search();
    QCOMPARE(chatty.received(), kEnq);
    QCOMPARE(ticksDuringSearch, 100);
    QCOMPARE(console->lblConnected->text(), QString("40"));
    QCOMPARE(console->lblConnected->property("BackColor").toUInt(), 0x0000FFu);
    QVERIFY(!console->MSComm1.PortOpen()); // closed after its 100 ticks
    QCOMPARE(intComPort, short(0));
}

void DeviceSearchTest::noTabletAnywhereLeavesTheLightRedWith40() {
    for (int port = 16; port <= 40; ++port)
        add(port, {.silent = true});
    search();
    QCOMPARE(console->lblConnected->text(), QString("40"));
    QCOMPARE(console->lblConnected->property("BackColor").toUInt(), 0x0000FFu);
    QCOMPARE(console->lblConnected->palette().color(QPalette::Window), QColor(255, 0, 0));
    for (const char* name : kDeviceButtons)
        QVERIFY2(!Control(console, name)->isEnabled(), name);
    for (const char* name : {"cmdSearch", "Command1", "cmdBrowse", "cmdCancel"})
        QVERIFY2(Control(console, name)->isEnabled(), name);
    // The last port answered nothing, so it was left open.
    QVERIFY(console->MSComm1.PortOpen());
    QCOMPARE(console->MSComm1.CommPort(), short(40));
    QCOMPARE(intComPort, short(0));
    QCOMPARE(ticksDuringSearch, 0);
    QCOMPARE(console->cursor().shape(), Qt::ArrowCursor);
}

void DeviceSearchTest::searchEndsAtMissingPort16(const sim::Tablet& beyond) {
    LightWatcher light(console);
    search();
    QCOMPARE(console->lblConnected->text(), QString());
    QCOMPARE(console->lblConnected->property("BackColor").toUInt(), 0x0000FFu);
    QCOMPARE(beyond.received(), std::string());
    QVERIFY(!console->MSComm1.PortOpen());
    QVERIFY(!console->Timer1->Enabled());
    QCOMPARE(intComPort, short(0));
    for (const char* name : kDeviceButtons)
        QVERIFY2(!Control(console, name)->isEnabled(), name);
    QStringList expected;
    for (int port = 1; port <= 16; ++port)
        expected << QString::number(port);
    expected << QString();
    QCOMPARE(light.captions(), expected);
}

void DeviceSearchTest::portsOneToSixteenMissingEndWithAnEmptyCaption() {
    sim::Tablet& beyond = add(17);
    searchEndsAtMissingPort16(beyond);
}

void DeviceSearchTest::searchPressedAgainRestartsFromPort1() {
    sim::Tablet& first = add(1, {.silent = true});
    sim::Tablet& second = add(2, {.silent = true});
    sim::Tablet& tablet = add(3);
    search();
    QCOMPARE(intComPort, short(3));
    QVERIFY(console->MSComm1.PortOpen());
    QTest::qWait(50); // the first search's last repaint is done before watching
    LightWatcher light(console);
    search();
    QCOMPARE(light.captions(), QStringList({"1", "2", "3"}));
    QCOMPARE(first.received(), kEnq + kEnq);
    QCOMPARE(second.received(), kEnq + kEnq);
    QCOMPARE(tablet.received(), kEnq + kEnq);
    QCOMPARE(console->lblConnected->text(), QString("3"));
    QVERIFY(console->MSComm1.PortOpen());
}

void DeviceSearchTest::duringTheSearchTheLightIsRedAndTheButtonsDisabled() {
    add(1, {.silent = true});
    add(2);
    search();
    QCOMPARE(intComPort, short(2));
    LightWatcher light(console);
    search();
    QStringList redCaptions;
    for (const LightWatcher::Frame& frame : light.frames) {
        if (frame.colour.toUInt() != 0x0000FFu) continue;
        QVERIFY(!frame.resetEnabled);
        QCOMPARE(frame.cursor, Qt::WaitCursor);
        redCaptions << frame.caption;
    }
    QVERIFY(redCaptions.contains("1"));
    QVERIFY(redCaptions.contains("2"));
    QCOMPARE(console->lblConnected->property("BackColor").toUInt(), 0x00FF00u);
}

void DeviceSearchTest::searchResetsRateAndSettingsButNotTheCombos() {
    add(3);
    console->cboDownload->setCurrentIndex(2);
    console->cboDownload_Click();
    console->cboBaud->setCurrentIndex(0);
    console->cboBaud_Click();
    QCOMPARE(console->dblDelay, 1500000.0);
    QCOMPARE(console->MSComm1.Settings(), std::string("19200,O,8,1"));
    search();
    QCOMPARE(console->dblDelay, 750000.0);
    QCOMPARE(console->strBaud, std::string("115200"));
    QCOMPARE(console->MSComm1.Settings(), std::string("115200,O,8,1"));
    QCOMPARE(console->cboBaud->currentText(), QString("19200"));
    QCOMPARE(console->cboDownload->currentText(), QString("Slow Speed!"));
    QVERIFY(!console->blnCmdLine);
}

void DeviceSearchTest::exitWithThePortOpenClosesIt() {
    add(3);
    search();
    QVERIFY(console->MSComm1.PortOpen());
    QTest::mouseClick(console->cmdCancel, Qt::LeftButton);
    QVERIFY(!console->MSComm1.PortOpen());
    QVERIFY(vb::HasEnded());
    QVERIFY(!console->isVisible());
    // Released: another opener gets the port.
    vb::MSComm other;
    other.setCommPort(3);
    other.setPortOpen(true);
    QVERIFY(other.PortOpen());
}

void DeviceSearchTest::escapeTriggersExitAfterASearch() {
    add(3);
    search();
    QTest::keyClick(console->cmdSearch, Qt::Key_Escape);
    QVERIFY(vb::HasEnded());
    QVERIFY(!console->MSComm1.PortOpen());
    QVERIFY(!console->isVisible());
}

void DeviceSearchTest::baudComboByKeyboardReopensTheOpenPort() {
    sim::Tablet& tablet = add(3);
    sim::Tablet& other = add(4);
    search();
    QVERIFY(console->MSComm1.PortOpen());
    // COM3 now names the other tablet: only a port that is really closed and opened again reaches it.
    std::filesystem::rename(other.linkPath(), tablet.linkPath());
    auto* baud = console->cboBaud;
    for (int i = 0; i < 20 && QApplication::focusWidget() != baud; ++i)
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    QCOMPARE(QApplication::focusWidget(), baud);
    QTest::keyClick(baud, Qt::Key_Up);
    QCOMPARE(console->strBaud, std::string("57600"));
    QCOMPARE(console->MSComm1.Settings(), std::string("57600,O,8,1"));
    QVERIFY(console->MSComm1.PortOpen());
    QCOMPARE(console->MSComm1.CommPort(), short(3));
    const int fd = ::open(other.devicePath().c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK);
    QVERIFY(fd >= 0);
    termios line{};
    tcgetattr(fd, &line);
    ::close(fd);
    QCOMPARE(cfgetospeed(&line), speed_t(B57600));
    console->MSComm1.Output(kEnq);
    QVERIFY(other.waitForReceived(1, 2s));
    QCOMPARE(other.received(), kEnq);
    QCOMPARE(tablet.received(), kEnq); // the search's ENQ only
}

void DeviceSearchTest::missingPortFromSixteenOnEndsTheSearch() {
    // Ports 1 to 14 are missing and skipped; 15 answers nothing; 16 is missing, so 17 is never tried.
    add(15, {.silent = true});
    sim::Tablet& beyond = add(17);
    searchEndsAtMissingPort16(beyond);
}

void DeviceSearchTest::portHeldByAnotherProgramEndsTheSearchSilently() {
    sim::Tablet& held = add(1);
    sim::Tablet& tablet = add(2);
    const int other = ::open(held.devicePath().c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK);
    QVERIFY(other >= 0);
    QVERIFY(flock(other, LOCK_EX | LOCK_NB) == 0);
    ModalAnswerer answerer;
    search();
    ::close(other);
    QVERIFY(answerer.unexpected.isEmpty());
    QCOMPARE(console->lblConnected->text(), QString("1"));
    QCOMPARE(console->lblConnected->property("BackColor").toUInt(), 0x0000FFu);
    QCOMPARE(tablet.received(), std::string());
    QCOMPARE(held.received(), std::string());
    QVERIFY(!console->MSComm1.PortOpen());
    for (const char* name : kDeviceButtons)
        QVERIFY2(!Control(console, name)->isEnabled(), name);
    QCOMPARE(console->cursor().shape(), Qt::ArrowCursor);
}

void DeviceSearchTest::escapeOnAComboTriggersExitAfterAFailedSearch() {
    // No port at all: the search fails at once, but E&xit is the cancel button from then on.
    search();
    QCOMPARE(console->lblConnected->text(), QString());
    auto* baud = console->cboBaud;
    for (int i = 0; i < 20 && QApplication::focusWidget() != baud; ++i)
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    QCOMPARE(QApplication::focusWidget(), baud);
    QTest::keyClick(baud, Qt::Key_Escape);
    QVERIFY(vb::HasEnded());
    QVERIFY(!console->isVisible());
}

void DeviceSearchTest::closingTheConsoleWithThePortOpenClosesIt() {
    add(3);
    search();
    QVERIFY(console->MSComm1.PortOpen());
    console->close();
    QVERIFY(!console->MSComm1.PortOpen());
    QVERIFY(vb::HasEnded());
    vb::MSComm other;
    other.setCommPort(3);
    other.setPortOpen(true);
    QVERIFY(other.PortOpen());
}

void DeviceSearchTest::closingTheConsoleDuringTheSearchStopsIt() {
    add(1, {.replyText = std::string("HELLO")}); // holds the search in its tick wait
    sim::Tablet& tablet = add(2);
    // Once port 1 is shown, the close request comes with the next events the search lets through.
    struct CloseWhenPort1Shown : QObject {
        explicit CloseWhenPort1Shown(frmQuillmaxSerial* console) : console(console) {
            console->lblConnected->installEventFilter(this);
        }
        bool eventFilter(QObject*, QEvent* event) override {
            if (event->type() == QEvent::Paint && console->lblConnected->text() == "1" && !armed) {
                armed = true;
                QTimer::singleShot(0, console, [this] { console->close(); });
            }
            return false;
        }
        frmQuillmaxSerial* console;
        bool armed = false;
    } closer(console);
    search();
    QVERIFY(closer.armed);
    QVERIFY(vb::HasEnded());
    QVERIFY(!console->isVisible());
    QVERIFY(!console->MSComm1.PortOpen());
    QCOMPARE(console->lblConnected->text(), QString("1"));
    QCOMPARE(tablet.received(), std::string()); // nothing of the search ran after the end
    QCOMPARE(intComPort, short(0));
}

void DeviceSearchTest::receiveNotificationFillsTheBuffer() {
    add(3);
    search();
    console->vntInBuffer = "before ";
    QCOMPARE(console->ProgressBar1->value(), 0);
    console->MSComm1.Output(kEnq);
    QVERIFY(WaitFor([&] { return console->vntInBuffer.size() > 7; }));
    QCOMPARE(console->vntInBuffer, "before " + kEnq);
    // Not downloading: neither the bar nor the marker moves.
    QCOMPARE(console->ProgressBar1->value(), 0);
    QCOMPARE(console->intDownloadMarker, short(0));
}

void DeviceSearchTest::receiveNotificationDuringADownloadCountsOnTheBar() {
    add(3);
    search();
    ModalAnswerer answerer;
    console->vntInBuffer.clear();
    console->blnDownloading = true;
    console->MSComm1.Output(kEnq); // one byte comes back: one notification
    QVERIFY(WaitFor([&] { return !console->vntInBuffer.empty(); }));
    QCOMPARE(console->intDownloadMarker, short(1));
    QCOMPARE(console->ProgressBar1->value(), 1);
    // At the bar's maximum the value cannot grow; that error is ignored and the input still kept.
    console->ProgressBar1->setMaximum(1);
    console->MSComm1.Output(kEnq);
    QVERIFY(WaitFor([&] { return console->vntInBuffer.size() == 2; }));
    QCOMPARE(console->vntInBuffer, kEnq + kEnq);
    QCOMPARE(console->ProgressBar1->value(), 1);
    QCOMPARE(console->intDownloadMarker, short(1));
    QVERIFY(answerer.unexpected.isEmpty());
    console->blnDownloading = false;
}

void DeviceSearchTest::timerTickCountsAndWrapsAbove32500() {
    console->lngTicks = 32499;
    console->Timer1_Timer();
    QCOMPARE(console->lngTicks, 32500);
    console->Timer1_Timer();
    QCOMPARE(console->lngTicks, 0);
    console->Timer1_Timer();
    QCOMPARE(console->lngTicks, 1);
    // Ticks arrive from the enabled timer while events are processed.
    console->Timer1->setEnabled(true);
    QVERIFY(WaitFor([&] { return console->lngTicks >= 3; }));
    console->Timer1->setEnabled(false);
}

void DeviceSearchTest::commandLineUsesTheBaudComboAndEndsTheProgram() {
    sim::Tablet& tablet = add(1);
    app::SetProgramCommandLine(" 1, " + ports->path() + "/unattended.vlm  ");
    console->cboBaud->setCurrentIndex(0); // "19200", set without a click
    QSignalSpy operations(console, &frmQuillmaxSerial::deviceOperationStarted);
    search();
    app::SetProgramCommandLine("");
    QVERIFY(console->blnCmdLine);
    QCOMPARE(console->strCmdLine, "1, " + ports->path() + "/unattended.vlm");
    QCOMPARE(console->strCmdFile, ports->path() + "/unattended.vlm");
    QCOMPARE(console->strBaud, std::string("19200"));
    QCOMPARE(console->MSComm1.Settings(), std::string("19200,O,8,1"));
    QCOMPARE(operations.count(), 1);
    QCOMPARE(operations.at(0).at(0).toString(), QString("cmdDownload_Click"));
    // The search itself never ran: no port probed, no cancel button made, and the program ended.
    QCOMPARE(tablet.received(), std::string());
    QCOMPARE(intComPort, short(0));
    QVERIFY(!console->CancelButton());
    QVERIFY(vb::HasEnded());
    QVERIFY(!console->isVisible());
    QVERIFY(!console->MSComm1.PortOpen());
}

void DeviceSearchTest::singleCharacterCommandLineEndsTheSearchSilently() {
    sim::Tablet& tablet = add(1);
    app::SetProgramCommandLine("x");
    QSignalSpy operations(console, &frmQuillmaxSerial::deviceOperationStarted);
    ModalAnswerer answerer;
    search();
    app::SetProgramCommandLine("");
    QVERIFY(console->blnCmdLine);
    QCOMPARE(operations.count(), 0);
    QVERIFY(answerer.unexpected.isEmpty());
    QCOMPARE(tablet.received(), std::string());
    QVERIFY(!vb::HasEnded());
    QVERIFY(!console->CancelButton());
    QCOMPARE(console->lblConnected->text(), QString());
    QCOMPARE(console->lblConnected->property("BackColor").toUInt(), 0x0000FFu);
    for (const char* name : kDeviceButtons)
        QVERIFY2(!Control(console, name)->isEnabled(), name);
    QCOMPARE(console->cursor().shape(), Qt::ArrowCursor);
}

void DeviceSearchTest::failedSearchListsWhatItMetInTheLightsTooltip() {
    // Port 1 missing, 2 a folder, 3 silent, 4 answers without ENQ, 5 held by another program (which ends
    // the search).
    QVERIFY(std::filesystem::create_directory(ports->port(2)));
    sim::Tablet& silent = add(3, {.silent = true});
    sim::Tablet& chatty = add(4, {.replyText = std::string("HELLO")});
    sim::Tablet& held = add(5);
    sim::Tablet& beyond = add(6);
    const int other = ::open(held.devicePath().c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK);
    QVERIFY(other >= 0);
    QVERIFY(flock(other, LOCK_EX | LOCK_NB) == 0);
    ModalAnswerer answerer;
    search();
    ::close(other);
    QVERIFY(answerer.unexpected.isEmpty()); // the search itself stays silent
    QCOMPARE(beyond.received(), std::string());
    auto named = [](const sim::Tablet& tablet) {
        return QString::fromStdString(tablet.linkPath() + " (" + tablet.devicePath() + ")");
    };
    const QString folder = QString::fromStdString(ports->path());
    QCOMPARE(console->lblConnected->toolTip().split('\n'),
             QStringList(
                 {"No Velmora LT found.", "Port 1: Invalid Port Number: " + folder + "/COM1 does not exist",
                  "Port 2: Invalid Port Number: " + folder + "/COM2 is a directory, not a serial port",
                  "Port 3: " + named(silent) + " is silent: no answer to ENQ",
                  "Port 4: " + named(chatty) + " answered without ENQ",
                  "Port 5: Port already open: " + named(held) + " is in use by another program"}));
}

void DeviceSearchTest::searchEndingAtMissingPort16ListsEveryPortInTheTooltip() {
    add(17);
    search();
    const QStringList lines = console->lblConnected->toolTip().split('\n');
    QCOMPARE(lines.size(), 17);
    QCOMPARE(lines.first(), QString("No Velmora LT found."));
    for (int port = 1; port <= 16; ++port)
        QCOMPARE(lines[port], QStringLiteral("Port %1: Invalid Port Number: %2/COM%1 does not exist")
                                  .arg(port)
                                  .arg(QString::fromStdString(ports->path())));
}

void DeviceSearchTest::foundTabletsDeviceIsNamedInTheLightsTooltip() {
    add(1, {.silent = true});
    sim::Tablet& tablet = add(2);
    search();
    QCOMPARE(intComPort, short(2));
    QCOMPARE(console->lblConnected->toolTip(),
             QString::fromStdString("Velmora LT found on port 2: " + tablet.linkPath() + " (" +
                                    tablet.devicePath() + ")"));
    // A later search that finds nothing replaces it.
    tablets.clear();
    search();
    QVERIFY(console->lblConnected->toolTip().startsWith("No Velmora LT found.\nPort 1: "));
}

VELMORA_PROGRAM_TEST_MAIN(DeviceSearchTest)
#include "tst_device_search.moc"
