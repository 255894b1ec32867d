// SIGTERM, SIGINT and SIGHUP end the program as "E&xit" does: every open port released, the program ended
// with status 0.
#include "platform/lock_file.h"
#include "platform/mscomm.h"
#include "platform/program_end.h"
#include "platform/signal_exit.h"
#include "support/ports_folder.h"
#include "support/tty_observer.h"
#include "tablet.h"

#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <csignal>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

using namespace testing_support;

namespace {

using Observer = TtyObserver;

// A line setting the control is sure to change: 9600 baud, canonical input.
termios DistinctSettings(const Observer& observer) {
    termios before = observer.settings();
    cfsetispeed(&before, B9600);
    cfsetospeed(&before, B9600);
    before.c_lflag |= ICANON;
    tcsetattr(observer.fd, TCSANOW, &before);
    return observer.settings();
}

// Whether process `pid` catches signal `number` (the SigCgt mask of /proc/<pid>/status).
bool Catches(qint64 pid, int number) {
    QFile status(QStringLiteral("/proc/%1/status").arg(pid));
    if (!status.open(QIODevice::ReadOnly)) return false;
    for (const QByteArray& line : status.readAll().split('\n'))
        if (line.startsWith("SigCgt:"))
            return (line.mid(7).trimmed().toULongLong(nullptr, 16) >> (number - 1)) & 1;
    return false;
}

void AddSignalRows() {
    QTest::addColumn<int>("number");
    QTest::newRow("SIGTERM") << SIGTERM;
    QTest::newRow("SIGINT") << SIGINT;
    QTest::newRow("SIGHUP") << SIGHUP;
}

} // namespace

class SignalExitTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void cleanup();
    void signalReleasesTheOpenPortAndEndsTheProgram_data() { AddSignalRows(); }
    void signalReleasesTheOpenPortAndEndsTheProgram();
    void signalClosesEveryOpenPortWhateverWindowOwnsIt();
    void signalWithNoPortOpenEndsTheProgram();
    void programEndsWithStatusZeroOnSignal_data() { AddSignalRows(); }
    void programEndsWithStatusZeroOnSignal();
    void signalIgnoredAtStartStaysIgnored();

private:
    // Starts the program as a process of its own in a ports folder of the test's, and waits until it
    // catches the ending signals.
    void startProgram(QProcess& program, const PortsFolder& ports, bool ignoreHangUp = false);
    QTemporaryDir lockFolder;
};

void SignalExitTest::initTestCase() {
    QVERIFY(lockFolder.isValid());
    qputenv("VELMORA_LOCK_DIR", lockFolder.path().toLocal8Bit());
    // The test may itself have been started with some of them ignored (a background job).
    for (int number : {SIGTERM, SIGINT, SIGHUP})
        std::signal(number, SIG_DFL);
    vb::EndProgramOnSignals();
    vb::EndProgramOnSignals(); // a second installation changes nothing
}

void SignalExitTest::cleanup() {
    vb::ResetEnded();
}

void SignalExitTest::signalReleasesTheOpenPortAndEndsTheProgram() {
    QFETCH(int, number);
    PortsFolder ports;
    sim::Tablet tablet(ports.path(), 3);
    Observer observer(tablet.devicePath());
    const termios before = DistinctSettings(observer);
    const std::string lockFile = vb::LockFileFor(tablet.devicePath());

    vb::MSComm port;
    port.setCommPort(3);
    port.setSettings("115200,O,8,1");
    port.setPortOpen(true);
    const termios during = observer.settings();
    QCOMPARE(cfgetospeed(&during), speed_t(B115200));
    QCOMPARE(observer.exclusive(), 1);
    QVERIFY(QFile::exists(QString::fromStdString(lockFile)));
    QVERIFY(flock(observer.fd, LOCK_EX | LOCK_NB) != 0);

    std::raise(number);
    QVERIFY(QTest::qWaitFor([] { return vb::HasEnded(); }, 5000));

    QVERIFY(!port.PortOpen());
    const termios after = observer.settings();
    QCOMPARE(cfgetispeed(&after), cfgetispeed(&before));
    QCOMPARE(cfgetospeed(&after), cfgetospeed(&before));
    QCOMPARE(after.c_cflag, before.c_cflag);
    QCOMPARE(after.c_iflag, before.c_iflag);
    QCOMPARE(after.c_oflag, before.c_oflag);
    QCOMPARE(after.c_lflag, before.c_lflag);
    QCOMPARE(observer.exclusive(), 0);
    QVERIFY(!QFile::exists(QString::fromStdString(lockFile)));
    // A second opener gets the device: neither the exclusive flag nor the flock is left.
    const int again = ::open(tablet.devicePath().c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK);
    QVERIFY(again >= 0);
    QCOMPARE(flock(again, LOCK_EX | LOCK_NB), 0);
    ::close(again);
    vb::MSComm next;
    next.setCommPort(3);
    next.setPortOpen(true);
    QVERIFY(next.PortOpen());
}

void SignalExitTest::signalClosesEveryOpenPortWhateverWindowOwnsIt() {
    PortsFolder ports;
    sim::Tablet console(ports.path(), 3);
    sim::Tablet textUploader(ports.path(), 4);
    vb::MSComm consolePort, textUploaderPort, closedPort;
    consolePort.setCommPort(3);
    consolePort.setPortOpen(true);
    textUploaderPort.setCommPort(4);
    textUploaderPort.setSettings("115200,O,7,1");
    textUploaderPort.setPortOpen(true);
    std::raise(SIGTERM);
    QVERIFY(QTest::qWaitFor([] { return vb::HasEnded(); }, 5000));
    QVERIFY(!consolePort.PortOpen());
    QVERIFY(!textUploaderPort.PortOpen());
    QVERIFY(!closedPort.PortOpen());
    QVERIFY(!QFile::exists(QString::fromStdString(vb::LockFileFor(console.devicePath()))));
    QVERIFY(!QFile::exists(QString::fromStdString(vb::LockFileFor(textUploader.devicePath()))));
}

void SignalExitTest::signalWithNoPortOpenEndsTheProgram() {
    QVERIFY(!vb::HasEnded());
    std::raise(SIGINT);
    QVERIFY(QTest::qWaitFor([] { return vb::HasEnded(); }, 5000));
}

void SignalExitTest::startProgram(QProcess& program, const PortsFolder& ports, bool ignoreHangUp) {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("QT_QPA_PLATFORM", "offscreen");
    environment.insert("VELMORA_PORTS", QString::fromStdString(ports.path()));
    program.setProcessEnvironment(environment);
    // The program starts with the dispositions it would have from a terminal (SIGHUP ignored: nohup).
    program.setChildProcessModifier([ignoreHangUp] {
        for (int number : {SIGTERM, SIGINT, SIGHUP})
            std::signal(number, SIG_DFL);
        if (ignoreHangUp) std::signal(SIGHUP, SIG_IGN);
    });
    program.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    program.start(VELMORA_PROGRAM, QStringList());
    QVERIFY(program.waitForStarted(5000));
    QVERIFY(QTest::qWaitFor([&] { return Catches(program.processId(), SIGTERM); }, 10000));
}

void SignalExitTest::programEndsWithStatusZeroOnSignal() {
    QFETCH(int, number);
    PortsFolder ports;
    QProcess program;
    startProgram(program, ports);
    QVERIFY(Catches(program.processId(), number));
    QElapsedTimer clock;
    clock.start();
    ::kill(pid_t(program.processId()), number);
    QVERIFY(program.waitForFinished(5000));
    QCOMPARE(program.exitStatus(), QProcess::NormalExit);
    QCOMPARE(program.exitCode(), 0);
    QVERIFY(clock.elapsed() < 5000);
}

void SignalExitTest::signalIgnoredAtStartStaysIgnored() {
    PortsFolder ports;
    QProcess program;
    startProgram(program, ports, true);
    QVERIFY(!Catches(program.processId(), SIGHUP));
    ::kill(pid_t(program.processId()), SIGHUP);
    QVERIFY(!program.waitForFinished(300)); // still running
    ::kill(pid_t(program.processId()), SIGTERM);
    QVERIFY(program.waitForFinished(5000));
    QCOMPARE(program.exitStatus(), QProcess::NormalExit);
    QCOMPARE(program.exitCode(), 0);
}

QTEST_MAIN(SignalExitTest)
#include "tst_signal_exit.moc"
