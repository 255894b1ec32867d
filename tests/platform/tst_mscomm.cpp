// The serial port control over real pseudo-terminals played by the emulated tablet.
#include "platform/errors.h"
#include "platform/mscomm.h"
#include "platform/port_map.h"
#include "support/error_of.h"
#include "support/ports_folder.h"
#include "support/tty_observer.h"
#include "tablet.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <fcntl.h>
#include <fstream>
#include <poll.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <termios.h>
#include <thread>
#include <unistd.h>

using namespace testing_support;
using namespace std::chrono_literals;

namespace {

using Observer = TtyObserver;

// A pty pair of the test's own, its slave linked as COM<port> in the ports folder; the far side reads
// only when the test says so.
struct OwnLine {
    OwnLine(const PortsFolder& ports, int port) {
        master = posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK);
        if (master < 0 || grantpt(master) != 0 || unlockpt(master) != 0) return;
        QFile::link(QString::fromLocal8Bit(ptsname(master)), QString::fromStdString(ports.port(port)));
    }
    ~OwnLine() { hangUp(); }
    // Reads until `count` bytes have come or `limit` passes.
    std::string readAll(std::size_t count, std::chrono::milliseconds limit) const {
        std::string got;
        const auto until = std::chrono::steady_clock::now() + limit;
        char chunk[4096];
        while (got.size() < count && std::chrono::steady_clock::now() < until) {
            pollfd readable{master, POLLIN, 0};
            if (poll(&readable, 1, 50) <= 0) continue;
            const ssize_t n = ::read(master, chunk, sizeof chunk);
            if (n > 0) got.append(chunk, std::size_t(n));
        }
        return got;
    }
    void hangUp() {
        if (master >= 0) ::close(master);
        master = -1;
    }
    int master = -1;
};

} // namespace

class MSCommTest : public QObject {
    Q_OBJECT
private slots:
    void settingsAccepted_data();
    void settingsAccepted();
    void settingsRefusedWith380_data();
    void settingsRefusedWith380();
    void portNumbersMapToThePortsFolder();
    void machineListLeavesOutTheConsole();
    void machineListInPortOrder();
    void portZeroRaises8002();
    void missingPortRaises8002();
    void pathThatIsNotATtyRaises8002();
    void permissionFailureNamesDeviceAndDialoutGroup();
    void openAppliesRawModeAndSpeed();
    void pseudoTerminalAcceptsSevenDataBitsAndParity();
    void outputAndInputCarryBytesUnchanged();
    void inputWithNothingWaitingIsEmpty();
    void settingInBufferCountToZeroDiscardsInput();
    void onCommFiresOnlyWhileEventsAreProcessed();
    void secondOpenerRaises8005();
    void portHeldByAnotherProgramRaises8005();
    void exclusiveFlagSetWhileOpenAndClearedOnClose();
    void closeRestoresTheLineSettings();
    void commPortChangeWhileOpenRaises8005();
    void closedPortRaises8012();
    void settingsChangedWhileOpenApplyAtOnce();
    void farSideGoingAwayDoesNotHang();
    void outputWaitsForRoomAndLosesNoByte();
    void outputToAHungUpLineFails();
};

void MSCommTest::settingsAccepted_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("baud");
    QTest::addColumn<QChar>("parity");
    QTest::addColumn<int>("dataBits");
    QTest::addColumn<double>("stopBits");
    QTest::newRow("console") << "115200,O,8,1" << 115200 << QChar('O') << 8 << 1.0;
    QTest::newRow("19200") << "19200,O,8,1" << 19200 << QChar('O') << 8 << 1.0;
    QTest::newRow("upload editor") << "115200,O,7,1" << 115200 << QChar('O') << 7 << 1.0;
    QTest::newRow("lower-case parity") << "9600,n,8,2" << 9600 << QChar('N') << 8 << 2.0;
    QTest::newRow("one and a half") << "57600,E,8,1.5" << 57600 << QChar('E') << 8 << 1.5;
}

void MSCommTest::settingsAccepted() {
    QFETCH(QString, text);
    QFETCH(int, baud);
    QFETCH(QChar, parity);
    QFETCH(int, dataBits);
    QFETCH(double, stopBits);
    const vb::LineSettings line = vb::ParseSettings(text.toStdString());
    QCOMPARE(line.baud, baud);
    QCOMPARE(QChar(line.parity), parity);
    QCOMPARE(line.dataBits, dataBits);
    QCOMPARE(line.stopBits, stopBits);
    vb::MSComm port;
    port.setSettings(text.toStdString());
    QCOMPARE(port.Settings(), text.toStdString());
}

void MSCommTest::settingsRefusedWith380_data() {
    QTest::addColumn<QString>("text");
    for (const char* text :
         {"", "115200", "115200,O,8", "115200,X,8,1", "abc,O,8,1", "115200,O,9,1", "115200,O,8,3",
          "12345,O,8,1", "115200,O,8,1,", " 115200,O,8,1", "115200,OO,8,1"})
        QTest::newRow(text) << QString(text);
}

void MSCommTest::settingsRefusedWith380() {
    QFETCH(QString, text);
    vb::MSComm port;
    port.setSettings("19200,O,8,1");
    QCOMPARE(ErrorOf([&] { port.setSettings(text.toStdString()); }), std::int64_t(380));
    QCOMPARE(port.Settings(), std::string("19200,O,8,1")); // a refused text changes nothing
}

void MSCommTest::portNumbersMapToThePortsFolder() {
    PortsFolder ports;
    QCOMPARE(vb::DeviceForPort(1), ports.port(1));
    QCOMPARE(vb::DeviceForPort(40), ports.port(40));
    QCOMPARE(vb::DeviceForPort(0), std::string());
    QCOMPARE(vb::DeviceForPort(41), std::string());
    QCOMPARE(vb::DeviceForPort(-3), std::string());
}

void MSCommTest::machineListLeavesOutTheConsole() {
    std::ifstream active("/sys/class/tty/console/active");
    std::string name;
    const std::vector<std::string> devices = vb::MachineSerialDevices();
    while (active >> name)
        QVERIFY2(std::find(devices.begin(), devices.end(), "/dev/" + name) == devices.end(), name.c_str());
    // Without a ports folder, port n is the n-th device of that list.
    const QByteArray folder = qgetenv("VELMORA_PORTS");
    qunsetenv("VELMORA_PORTS");
    const std::string first = vb::DeviceForPort(1);
    if (!folder.isNull()) qputenv("VELMORA_PORTS", folder);
    QCOMPARE(first, devices.empty() ? std::string() : devices.front());
}

void MSCommTest::machineListInPortOrder() {
    // A device folder of the test's own: adapters, built-in ports, by-id links and a console.
    QTemporaryDir folder;
    const std::string dev = QDir(folder.path()).canonicalPath().toStdString();
    for (const char* name : {"ttyS0", "ttyS1", "ttyS2", "ttyS10", "ttyS4", "ttyUSB1", "ttyUSB0", "ttyACM0",
                             "tty0", "ttyS", "console"}) {
        QFile device(QString::fromStdString(dev + "/" + name));
        QVERIFY(device.open(QIODevice::WriteOnly));
    }
    QVERIFY(QDir().mkpath(QString::fromStdString(dev + "/serial/by-id")));
    QVERIFY(symlink("../../ttyUSB0", (dev + "/serial/by-id/usb-FTDI_FT232R-if00-port0").c_str()) == 0);
    QVERIFY(symlink("../../ttyS4", (dev + "/serial/by-id/pci-Moxa-port0").c_str()) == 0);
    QVERIFY(symlink("../../ttyUSB7", (dev + "/serial/by-id/usb-unplugged").c_str()) == 0); // dangling
    std::ofstream(dev + "/console-active") << "tty0 ttyS0\n";

    const std::vector<std::string> devices = vb::MachineSerialDevices({dev, dev + "/console-active"});
    std::vector<std::string> expected;
    for (const char* name : {"ttyACM0", "ttyS4", "ttyUSB0", "ttyUSB1", "ttyS1", "ttyS2", "ttyS10"})
        expected.push_back(dev + "/" + name);
    QCOMPARE(devices, expected);
}

void MSCommTest::portZeroRaises8002() {
    PortsFolder ports;
    vb::MSComm port;
    port.setCommPort(0);
    QCOMPARE(ErrorOf([&] { port.setPortOpen(true); }), std::int64_t(8002));
    QVERIFY(!port.PortOpen());
}

void MSCommTest::missingPortRaises8002() {
    PortsFolder ports;
    vb::MSComm port;
    port.setCommPort(7);
    try {
        port.setPortOpen(true);
        QFAIL("opened a port that does not exist");
    } catch (const vb::Error& error) {
        QCOMPARE(error.number, std::int64_t(8002));
        // The description names the port's path and why it cannot be opened.
        QCOMPARE(error.description, "Invalid Port Number: " + ports.port(7) + " does not exist");
    }
}

void MSCommTest::pathThatIsNotATtyRaises8002() {
    PortsFolder ports;
    QFile plain(QString::fromStdString(ports.port(5)));
    QVERIFY(plain.open(QIODevice::WriteOnly));
    plain.close();
    vb::MSComm port;
    port.setCommPort(5);
    QCOMPARE(ErrorOf([&] { port.setPortOpen(true); }), std::int64_t(8002));
    QVERIFY(!port.PortOpen());
}

void MSCommTest::permissionFailureNamesDeviceAndDialoutGroup() {
    PortsFolder ports;
    sim::Tablet tablet(ports.path(), 2);
    // The pty belongs to root with no access for others; an ordinary user is refused by the system.
    int channel[2];
    QVERIFY(pipe(channel) == 0);
    const bool root = geteuid() == 0;
    if (!root) QVERIFY(chmod(tablet.devicePath().c_str(), 0) == 0);
    const pid_t child = fork();
    QVERIFY(child >= 0);
    if (child == 0) {
        ::close(channel[0]);
        if (root && (setgid(65534) != 0 || setuid(65534) != 0)) _exit(3);
        std::string result = "opened";
        try {
            vb::MSComm port;
            port.setCommPort(2);
            port.setPortOpen(true);
        } catch (const vb::Error& error) {
            result = std::to_string(error.number) + "|" + error.description;
        }
        (void)!write(channel[1], result.data(), result.size());
        _exit(0);
    }
    ::close(channel[1]);
    char buffer[512] = {};
    const ssize_t count = read(channel[0], buffer, sizeof buffer - 1);
    ::close(channel[0]);
    int status = 0;
    waitpid(child, &status, 0);
    QVERIFY(count > 0);
    const std::string result(buffer, std::size_t(count));
    QVERIFY2(result.rfind("8002|", 0) == 0, result.c_str());
    QVERIFY2(result.find("dialout") != std::string::npos, result.c_str());
    // The device named is the port's own path (its folder, or the pty behind it).
    QVERIFY2(result.find(ports.port(2)) != std::string::npos, result.c_str());
}

void MSCommTest::openAppliesRawModeAndSpeed() {
    PortsFolder ports;
    sim::Tablet tablet(ports.path(), 1);
    vb::MSComm port;
    port.setCommPort(1);
    port.setSettings("115200,O,8,1");
    port.setPortOpen(true);
    QVERIFY(port.PortOpen());
    QCOMPARE(port.DevicePath(), ports.port(1));
    Observer observer(tablet.devicePath());
    const termios line = observer.settings();
    QCOMPARE(cfgetispeed(&line), speed_t(B115200));
    QCOMPARE(cfgetospeed(&line), speed_t(B115200));
    QCOMPARE(line.c_cflag & CSIZE, tcflag_t(CS8));
    QCOMPARE(line.c_lflag & (ICANON | ECHO | ISIG), tcflag_t(0));
    QCOMPARE(line.c_oflag & OPOST, tcflag_t(0));
    QCOMPARE(int(line.c_cc[VMIN]), 0);
    QCOMPARE(int(line.c_cc[VTIME]), 0);
}

void MSCommTest::pseudoTerminalAcceptsSevenDataBitsAndParity() {
    PortsFolder ports;
    sim::Tablet tablet(ports.path(), 4);
    vb::MSComm port;
    port.setCommPort(4);
    port.setSettings("115200,O,7,1");
    port.setPortOpen(true);
    QVERIFY(port.PortOpen());
    port.Output("\x05");
    QVERIFY(tablet.waitForReceived(1, 2s));
    QCOMPARE(tablet.received(), std::string("\x05"));
}

void MSCommTest::outputAndInputCarryBytesUnchanged() {
    std::string everyByte;
    for (int byte = 0; byte < 256; ++byte)
        everyByte += char(byte);
    PortsFolder ports;
    sim::Tablet tablet(ports.path(), 3, sim::Faults{.silent = true});
    vb::MSComm port;
    port.setCommPort(3);
    port.setSettings("115200,O,8,1");
    port.setPortOpen(true);
    // 0x0C starts an upload on the tablet, which then takes every byte as data up to a NUL: the NUL after
    // them ends it, so that the tablet answers ENQ again below.
    const std::string sent = everyByte + std::string(1, '\0');
    port.Output(sent);
    QVERIFY(tablet.waitForReceived(sent.size(), 2s));
    QCOMPARE(tablet.received(), sent);
    QCOMPARE(port.InBufferCount(), 0L);

    // Answering ENQ with every byte value, the tablet sends all 256 of them back.
    tablet.setFaults(sim::Faults{.replyText = everyByte});
    port.Output("\x05");
    QVERIFY(QTest::qWaitFor([&] { return port.InBufferCount() == 256; }, 2000));
    QCOMPARE(port.Input(), everyByte);
    QCOMPARE(port.InBufferCount(), 0L);
    QCOMPARE(port.Input(), std::string());
}

void MSCommTest::inputWithNothingWaitingIsEmpty() {
    PortsFolder ports;
    sim::Tablet tablet(ports.path(), 3, sim::Faults{.silent = true});
    vb::MSComm port;
    port.setCommPort(3);
    port.setPortOpen(true);
    QCOMPARE(port.Input(), std::string());
    QCOMPARE(port.InBufferCount(), 0L);
    QVERIFY(port.PortOpen()); // nothing waiting is not the end of the line
}

void MSCommTest::settingInBufferCountToZeroDiscardsInput() {
    PortsFolder ports;
    sim::Tablet tablet(ports.path(), 3);
    vb::MSComm port;
    port.setCommPort(3);
    port.setPortOpen(true);
    port.Output("\x05\x05\x05");
    QVERIFY(QTest::qWaitFor([&] { return port.InBufferCount() == 3; }, 2000));
    port.setInBufferCount(0);
    QCOMPARE(port.InBufferCount(), 0L);
    QCOMPARE(port.Input(), std::string());
    QCOMPARE(ErrorOf([&] { port.setInBufferCount(2); }), std::int64_t(380));
}

void MSCommTest::onCommFiresOnlyWhileEventsAreProcessed() {
    PortsFolder ports;
    sim::Tablet tablet(ports.path(), 3);
    vb::MSComm port;
    port.setCommPort(3);
    port.setPortOpen(true);
    QSignalSpy notifications(&port, &vb::MSComm::OnComm);
    std::string gathered;
    connect(&port, &vb::MSComm::OnComm, this, [&] { gathered += port.Input(); });
    port.Output("\x05");
    usleep(200 * 1000); // no events processed: the byte waits in the port
    QCOMPARE(notifications.count(), 0);
    QCOMPARE(port.InBufferCount(), 1L);
    QVERIFY(QTest::qWaitFor([&] { return !gathered.empty(); }, 2000));
    QCOMPARE(gathered, std::string("\x05"));
    QVERIFY(notifications.count() >= 1);
}

void MSCommTest::secondOpenerRaises8005() {
    PortsFolder ports;
    sim::Tablet tablet(ports.path(), 3);
    vb::MSComm first;
    first.setCommPort(3);
    first.setPortOpen(true);
    vb::MSComm second;
    second.setCommPort(3);
    QCOMPARE(ErrorOf([&] { second.setPortOpen(true); }), std::int64_t(8005));
    QVERIFY(!second.PortOpen());
    first.setPortOpen(false);
    second.setPortOpen(true); // released on close
    QVERIFY(second.PortOpen());
}

void MSCommTest::portHeldByAnotherProgramRaises8005() {
    PortsFolder ports;
    sim::Tablet tablet(ports.path(), 3);
    Observer other(tablet.devicePath());
    QVERIFY(flock(other.fd, LOCK_EX | LOCK_NB) == 0);
    vb::MSComm port;
    port.setCommPort(3);
    try {
        port.setPortOpen(true);
        QFAIL("opened a port another program holds");
    } catch (const vb::Error& error) {
        QCOMPARE(error.number, std::int64_t(8005));
        QVERIFY(error.description.rfind("Port already open", 0) == 0);
    }
    flock(other.fd, LOCK_UN);
    port.setPortOpen(true);
    QVERIFY(port.PortOpen());
}

void MSCommTest::exclusiveFlagSetWhileOpenAndClearedOnClose() {
    PortsFolder ports;
    sim::Tablet tablet(ports.path(), 3);
    Observer observer(tablet.devicePath());
    QCOMPARE(observer.exclusive(), 0);
    vb::MSComm port;
    port.setCommPort(3);
    port.setPortOpen(true);
    QCOMPARE(observer.exclusive(), 1);
    port.setPortOpen(false);
    QCOMPARE(observer.exclusive(), 0);
}

void MSCommTest::closeRestoresTheLineSettings() {
    PortsFolder ports;
    sim::Tablet tablet(ports.path(), 3);
    Observer observer(tablet.devicePath());
    termios before = observer.settings();
    cfsetispeed(&before, B9600);
    cfsetospeed(&before, B9600);
    before.c_lflag |= ICANON;
    QVERIFY(tcsetattr(observer.fd, TCSANOW, &before) == 0);
    before = observer.settings();
    {
        vb::MSComm port;
        port.setCommPort(3);
        port.setSettings("115200,O,8,1");
        port.setPortOpen(true);
        const termios during = observer.settings();
        QCOMPARE(cfgetospeed(&during), speed_t(B115200));
        port.setPortOpen(false);
    }
    const termios after = observer.settings();
    QCOMPARE(cfgetispeed(&after), cfgetispeed(&before));
    QCOMPARE(cfgetospeed(&after), cfgetospeed(&before));
    QCOMPARE(after.c_cflag, before.c_cflag);
    QCOMPARE(after.c_iflag, before.c_iflag);
    QCOMPARE(after.c_oflag, before.c_oflag);
    QCOMPARE(after.c_lflag, before.c_lflag);
}

void MSCommTest::commPortChangeWhileOpenRaises8005() {
    PortsFolder ports;
    sim::Tablet tablet(ports.path(), 3);
    vb::MSComm port;
    port.setCommPort(3);
    port.setPortOpen(true);
    QCOMPARE(ErrorOf([&] { port.setCommPort(4); }), std::int64_t(8005));
    QCOMPARE(port.CommPort(), short(3));
}

void MSCommTest::closedPortRaises8012() {
    vb::MSComm port;
    QCOMPARE(ErrorOf([&] { port.Output("\x05"); }), std::int64_t(8012));
    QCOMPARE(ErrorOf([&] { port.Input(); }), std::int64_t(8012));
    QCOMPARE(ErrorOf([&] { port.InBufferCount(); }), std::int64_t(8012));
    port.setPortOpen(false); // closing a closed port is nothing
    QVERIFY(!port.PortOpen());
}

void MSCommTest::settingsChangedWhileOpenApplyAtOnce() {
    PortsFolder ports;
    sim::Tablet tablet(ports.path(), 3);
    Observer observer(tablet.devicePath());
    vb::MSComm port;
    port.setCommPort(3);
    port.setPortOpen(true);
    port.setSettings("19200,O,8,1");
    const termios line = observer.settings();
    QCOMPARE(cfgetospeed(&line), speed_t(B19200));
}

void MSCommTest::farSideGoingAwayDoesNotHang() {
    PortsFolder ports;
    auto tablet = std::make_unique<sim::Tablet>(ports.path(), 3);
    vb::MSComm port;
    port.setCommPort(3);
    port.setPortOpen(true);
    QSignalSpy notifications(&port, &vb::MSComm::OnComm);
    tablet.reset();
    QTest::qWait(100);
    QCOMPARE(port.Input(), std::string());
    QCOMPARE(notifications.count(), 0);
    port.setPortOpen(false);
    QVERIFY(!port.PortOpen());
}

void MSCommTest::outputWaitsForRoomAndLosesNoByte() {
    // Far more than the pty holds, so the writes must wait until the far side, idle at first, reads.
    std::string bytes(400000, '\0');
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = char(i * 7 % 251);
    PortsFolder ports;
    OwnLine line(ports, 5);
    QVERIFY(line.master >= 0);
    vb::MSComm port;
    port.setCommPort(5);
    port.setSettings("115200,O,8,1");
    port.setPortOpen(true);

    std::string received;
    std::thread farSide([&] {
        std::this_thread::sleep_for(1500ms); // longer than any give-up time a write could have
        received = line.readAll(bytes.size(), 20s);
    });
    const auto started = std::chrono::steady_clock::now();
    const std::int64_t error = ErrorOf([&] {
        port.Output(bytes.substr(0, 1000)); // one write of many characters
        for (std::size_t i = 1000; i < bytes.size(); i += 4096)
            port.Output(bytes.substr(i, 4096));
    });
    const auto took = std::chrono::steady_clock::now() - started;
    farSide.join();
    QCOMPARE(error, std::int64_t(0));
    QVERIFY(took >= 1400ms);
    QCOMPARE(received.size(), bytes.size());
    QVERIFY(received == bytes);
}

void MSCommTest::outputToAHungUpLineFails() {
    PortsFolder ports;
    OwnLine line(ports, 5);
    QVERIFY(line.master >= 0);
    vb::MSComm port;
    port.setCommPort(5);
    port.setPortOpen(true);
    // The far side never reads and hangs up while the write waits for room.
    std::thread farSide([&] {
        std::this_thread::sleep_for(300ms);
        line.hangUp();
    });
    const auto started = std::chrono::steady_clock::now();
    const std::int64_t error = ErrorOf([&] { port.Output(std::string(400000, 'x')); });
    const auto took = std::chrono::steady_clock::now() - started;
    farSide.join();
    QCOMPARE(error, std::int64_t(vb::errPortNotOpen));
    QVERIFY(took < 10s);
    port.setPortOpen(false);
}

QTEST_GUILESS_MAIN(MSCommTest)
#include "tst_mscomm.moc"
