// What the serial control says when a port cannot be opened (the port's path and the reason), and the lock
// files it shares with the other serial programs of the machine.
#include "platform/errors.h"
#include "platform/lock_file.h"
#include "platform/mscomm.h"
#include "support/ports_folder.h"
#include "tablet.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace testing_support;

namespace {

// The error opening port `number` raises; number 0 when it opens.
vb::Error OpenError(int number) {
    vb::MSComm port;
    port.setCommPort(short(number));
    try {
        port.setPortOpen(true);
    } catch (const vb::Error& error) {
        return error;
    }
    return vb::Error(0, "opened");
}

std::string ReadFile(const std::string& path) {
    QFile file(QString::fromStdString(path));
    return file.open(QIODevice::ReadOnly) ? file.readAll().toStdString() : std::string("(none)");
}

void WriteFile(const std::string& path, const std::string& bytes) {
    QFile file(QString::fromStdString(path));
    if (file.open(QIODevice::WriteOnly)) file.write(bytes.data(), qint64(bytes.size()));
}

std::string LockText(pid_t pid) {
    return QStringLiteral("%1\n").arg(pid, 10).toStdString();
}

// A process id that no process has any more.
pid_t GoneProcess() {
    const pid_t child = fork();
    if (child == 0) _exit(0);
    waitpid(child, nullptr, 0);
    return child;
}

} // namespace

class PortMessagesTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void portZeroSaysInvalidPortNumberAlone();
    void missingPortNamesItsPath();
    void danglingLinkNamesItsTarget();
    void linkLoopIsNamed();
    void directoryIsNamed();
    void plainFileIsNotASerialPort();
    void fifoIsRefusedWithoutBlocking();
    void linkedDeviceNamesPathAndDevice();
    void openMakesTheLockFileAndCloseRemovesIt();
    void liveLockGives8005NamingTheProcess();
    void staleLockIsReplaced();
    void lockNamingNoProcessIsStale();
    void noLockFolderOpensWithoutALock();
    void closeLeavesAnotherProgramsLockAlone();

private:
    QTemporaryDir lockFolder;
    std::string locks() const { return lockFolder.path().toStdString(); }
};

void PortMessagesTest::initTestCase() {
    QVERIFY(lockFolder.isValid());
    qputenv("VELMORA_LOCK_DIR", lockFolder.path().toLocal8Bit());
}

void PortMessagesTest::portZeroSaysInvalidPortNumberAlone() {
    PortsFolder ports;
    const vb::Error error = OpenError(0);
    QCOMPARE(error.number, std::int64_t(8002));
    QCOMPARE(error.description, std::string("Invalid Port Number"));
}

void PortMessagesTest::missingPortNamesItsPath() {
    PortsFolder ports;
    const vb::Error error = OpenError(7);
    QCOMPARE(error.number, std::int64_t(8002));
    QCOMPARE(error.description, "Invalid Port Number: " + ports.port(7) + " does not exist");
}

void PortMessagesTest::danglingLinkNamesItsTarget() {
    PortsFolder ports;
    QVERIFY(symlink("/dev/ttyUSB97", ports.port(4).c_str()) == 0);
    const vb::Error error = OpenError(4);
    QCOMPARE(error.number, std::int64_t(8002));
    QCOMPARE(error.description,
             "Invalid Port Number: " + ports.port(4) + " is a link to /dev/ttyUSB97, which does not exist");
}

void PortMessagesTest::linkLoopIsNamed() {
    PortsFolder ports;
    QVERIFY(symlink(ports.port(5).c_str(), ports.port(4).c_str()) == 0);
    QVERIFY(symlink(ports.port(4).c_str(), ports.port(5).c_str()) == 0);
    const vb::Error error = OpenError(4);
    QCOMPARE(error.number, std::int64_t(8002));
    QCOMPARE(error.description,
             "Invalid Port Number: " + ports.port(4) + " is a link loop: its links lead back to themselves");
}

void PortMessagesTest::directoryIsNamed() {
    PortsFolder ports;
    QVERIFY(QDir().mkdir(QString::fromStdString(ports.port(4))));
    const vb::Error error = OpenError(4);
    QCOMPARE(error.number, std::int64_t(8002));
    QCOMPARE(error.description,
             "Invalid Port Number: " + ports.port(4) + " is a directory, not a serial port");
}

void PortMessagesTest::plainFileIsNotASerialPort() {
    PortsFolder ports;
    WriteFile(ports.port(4), "text");
    const vb::Error error = OpenError(4);
    QCOMPARE(error.number, std::int64_t(8002));
    QCOMPARE(error.description, "Invalid Port Number: " + ports.port(4) + " is not a serial port");
}

void PortMessagesTest::fifoIsRefusedWithoutBlocking() {
    PortsFolder ports;
    QVERIFY(mkfifo(ports.port(4).c_str(), 0600) == 0);
    const vb::Error error = OpenError(4); // a FIFO with no writer would block an ordinary open
    QCOMPARE(error.number, std::int64_t(8002));
    QCOMPARE(error.description, "Invalid Port Number: " + ports.port(4) + " is not a serial port");
    // /dev/null is a character device, but no tty.
    QVERIFY(symlink("/dev/null", ports.port(6).c_str()) == 0);
    QCOMPARE(OpenError(6).description,
             "Invalid Port Number: " + ports.port(6) + " (/dev/null) is not a serial port");
}

void PortMessagesTest::linkedDeviceNamesPathAndDevice() {
    PortsFolder ports;
    sim::Tablet tablet(ports.path(), 3);
    vb::MSComm holder;
    holder.setCommPort(3);
    holder.setPortOpen(true);
    const vb::Error error = OpenError(3);
    QCOMPARE(error.number, std::int64_t(8005));
    QCOMPARE(error.description, "Port already open: " + ports.port(3) + " (" + tablet.devicePath() +
                                    ") is locked by process " + std::to_string(getpid()) + " (" +
                                    vb::LockFileFor(tablet.devicePath()) + ")");
}

void PortMessagesTest::openMakesTheLockFileAndCloseRemovesIt() {
    PortsFolder ports;
    sim::Tablet tablet(ports.path(), 3);
    const std::string device = tablet.devicePath();
    const std::string lockFile = locks() + "/LCK.." + device.substr(device.rfind('/') + 1);
    QCOMPARE(vb::LockFileFor(device), lockFile);
    vb::MSComm port;
    port.setCommPort(3);
    port.setPortOpen(true);
    QCOMPARE(ReadFile(lockFile), LockText(getpid()));
    QCOMPARE(ReadFile(lockFile).size(), std::size_t(11));
    port.setPortOpen(false);
    QVERIFY(!QFile::exists(QString::fromStdString(lockFile)));
    // Nothing else is left in the lock folder.
    QCOMPARE(QDir(lockFolder.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
             QStringList());
}

void PortMessagesTest::liveLockGives8005NamingTheProcess() {
    PortsFolder ports;
    sim::Tablet tablet(ports.path(), 3);
    const std::string lockFile = vb::LockFileFor(tablet.devicePath());
    WriteFile(lockFile, LockText(1)); // the init process, alive as long as the machine runs
    const vb::Error error = OpenError(3);
    QCOMPARE(error.number, std::int64_t(8005));
    QVERIFY2(error.description.find(" is locked by process 1 (" + lockFile + ")") != std::string::npos,
             error.description.c_str());
    QCOMPARE(ReadFile(lockFile), LockText(1)); // another program's lock is left as it was
    QCOMPARE(tablet.received(), std::string());
    QFile::remove(QString::fromStdString(lockFile));
}

void PortMessagesTest::staleLockIsReplaced() {
    PortsFolder ports;
    sim::Tablet tablet(ports.path(), 3);
    const std::string lockFile = vb::LockFileFor(tablet.devicePath());
    WriteFile(lockFile, LockText(GoneProcess()));
    vb::MSComm port;
    port.setCommPort(3);
    port.setPortOpen(true);
    QVERIFY(port.PortOpen());
    QCOMPARE(ReadFile(lockFile), LockText(getpid()));
    port.setPortOpen(false);
    QVERIFY(!QFile::exists(QString::fromStdString(lockFile)));
}

void PortMessagesTest::lockNamingNoProcessIsStale() {
    PortsFolder ports;
    sim::Tablet tablet(ports.path(), 3);
    const std::string lockFile = vb::LockFileFor(tablet.devicePath());
    WriteFile(lockFile, "");
    vb::MSComm port;
    port.setCommPort(3);
    port.setPortOpen(true);
    QCOMPARE(ReadFile(lockFile), LockText(getpid()));
    port.setPortOpen(false);
}

void PortMessagesTest::noLockFolderOpensWithoutALock() {
    PortsFolder ports;
    sim::Tablet tablet(ports.path(), 3);
    qputenv("VELMORA_LOCK_DIR", QByteArray(lockFolder.path().toLocal8Bit() + "/missing"));
    const std::int64_t number = OpenError(3).number;
    qputenv("VELMORA_LOCK_DIR", lockFolder.path().toLocal8Bit());
    QCOMPARE(number, std::int64_t(0));
}

void PortMessagesTest::closeLeavesAnotherProgramsLockAlone() {
    PortsFolder ports;
    sim::Tablet tablet(ports.path(), 3);
    const std::string lockFile = vb::LockFileFor(tablet.devicePath());
    vb::MSComm port;
    port.setCommPort(3);
    port.setPortOpen(true);
    // Another program broke our lock and placed its own meanwhile.
    WriteFile(lockFile, LockText(1));
    port.setPortOpen(false);
    QCOMPARE(ReadFile(lockFile), LockText(1));
    QFile::remove(QString::fromStdString(lockFile));
}

QTEST_GUILESS_MAIN(PortMessagesTest)
#include "tst_port_messages.moc"
