// velmora-cli ports against emulated tablets in the test's own ports folder: every port listed with its
// device and what opening it found (ok, busy, denied, missing, not a serial port), and each port left as
// it was found.
#include "cli_run.h"
#include "platform/mscomm.h"
#include "support/ports_folder.h"
#include "tablet.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <sys/file.h>
#include <termios.h>

using namespace cli_testing;

namespace {

// The line `velmora-cli ports` printed for port `port`.
QString LineOf(const CliRun& run, int port) {
    const QString name = QStringLiteral("COM%1 ").arg(port);
    for (const QString& line : run.out.split('\n'))
        if (line.startsWith(name)) return line;
    return {};
}

// The words of a port's line: name, device, state (the rest is the reason).
QStringList WordsOf(const CliRun& run, int port) {
    return LineOf(run, port).split(' ', Qt::SkipEmptyParts);
}

} // namespace

class TestCliPorts : public QObject {
    Q_OBJECT

private slots:
    void init() {
        ports = std::make_unique<testing_support::PortsFolder>();
        qputenv("VELMORA_LOCK_DIR", lockFolder.path().toLocal8Bit());
    }
    void cleanup() { ports.reset(); }

    void listsEveryPortWithWhatIsThere() {
        sim::Tablet first(ports->path(), 3), second(ports->path(), 12);
        QFile plain(QString::fromStdString(ports->port(7)));
        QVERIFY(plain.open(QIODevice::WriteOnly));
        plain.close();
        QVERIFY(QFile::link(QStringLiteral("/nonexistent/ttyUSB9"), QString::fromStdString(ports->port(8))));
        QVERIFY(QDir().mkdir(QString::fromStdString(ports->port(9))));

        const CliRun run = RunCli({"ports"});
        QCOMPARE(run.status, 0);
        QCOMPARE(run.err, QString());
        QCOMPARE(run.out.count('\n'), 40);
        QCOMPARE(WordsOf(run, 3), (QStringList{"COM3", QString::fromStdString(first.devicePath()), "ok"}));
        QCOMPARE(WordsOf(run, 12), (QStringList{"COM12", QString::fromStdString(second.devicePath()), "ok"}));
        QCOMPARE(WordsOf(run, 1), (QStringList{"COM1", "-", "missing"}));
        QCOMPARE(WordsOf(run, 40), (QStringList{"COM40", "-", "missing"}));
        QCOMPARE(LineOf(run, 7).simplified(),
                 QStringLiteral("COM7 %1 not a serial port").arg(plain.fileName()));
        QCOMPARE(WordsOf(run, 8), (QStringList{"COM8", "/nonexistent/ttyUSB9", "missing"}));
        QVERIFY2(LineOf(run, 9).endsWith(QStringLiteral("not a serial port")), qPrintable(LineOf(run, 9)));
    }

    void portHeldByAnotherProgramIsBusy() {
        sim::Tablet tablet(ports->path(), 4);
        vb::MSComm holder;
        holder.setCommPort(4);
        holder.setSettings("115200,O,8,1");
        holder.setPortOpen(true);

        const CliRun run = RunCli({"ports"});
        QCOMPARE(run.status, 0);
        QCOMPARE(WordsOf(run, 4).mid(0, 3),
                 (QStringList{"COM4", QString::fromStdString(tablet.devicePath()), "busy"}));
        QVERIFY2(LineOf(run, 4).contains(QStringLiteral("locked by process %1").arg(getpid())),
                 qPrintable(LineOf(run, 4)));
    }

    void portWithALiveLockFileIsBusy() {
        sim::Tablet tablet(ports->path(), 5);
        // A lock file in the shared convention, naming a process that lives (this test).
        const QString device = QString::fromStdString(tablet.devicePath());
        QFile lock(lockFolder.filePath(QStringLiteral("LCK..") + device.section('/', -1)));
        QVERIFY(lock.open(QIODevice::WriteOnly));
        lock.write(QStringLiteral("%1\n").arg(getpid(), 10).toLatin1());
        lock.close();

        const CliRun run = RunCli({"ports"});
        QCOMPARE(WordsOf(run, 5).value(2), QStringLiteral("busy"));
        QVERIFY(lock.exists()); // another program's lock is never taken away
        lock.remove();
        QCOMPARE(WordsOf(RunCli({"ports"}), 5).value(2), QStringLiteral("ok"));
    }

    void portLockedWithoutALockFileIsBusy() {
        sim::Tablet tablet(ports->path(), 6);
        // No lock folder to write in: only the device's own lock tells that it is taken.
        qputenv("VELMORA_LOCK_DIR", QByteArray(lockFolder.path().toLocal8Bit() + "/missing"));
        const int held = ::open(tablet.devicePath().c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK);
        QVERIFY(held >= 0);
        QCOMPARE(flock(held, LOCK_EX | LOCK_NB), 0);
        const CliRun run = RunCli({"ports"});
        ::close(held);
        QCOMPARE(WordsOf(run, 6).value(2), QStringLiteral("busy"));
        QVERIFY2(LineOf(run, 6).contains(QStringLiteral("in use by another program")),
                 qPrintable(LineOf(run, 6)));
    }

    void portWithoutPermissionIsDenied() {
        ForbiddenTerminal forbidden(ports->port(2));
        QVERIFY(forbidden.made());
        const CliRun run = RunCli({"ports"}, 40000, WithoutPermissionOverride);
        QCOMPARE(run.status, 0);
        QCOMPARE(WordsOf(run, 2).mid(0, 3),
                 (QStringList{"COM2", QString::fromStdString(forbidden.device()), "denied"}));
        QVERIFY2(LineOf(run, 2).contains(QStringLiteral("dialout group")), qPrintable(LineOf(run, 2)));
    }

    void checkingLeavesThePortAsItWas() {
        sim::Tablet tablet(ports->path(), 3);
        const int observer = ::open(tablet.devicePath().c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK);
        QVERIFY(observer >= 0);
        termios before{};
        QCOMPARE(tcgetattr(observer, &before), 0);

        QCOMPARE(WordsOf(RunCli({"ports"}), 3).value(2), QStringLiteral("ok"));
        termios after{};
        QCOMPARE(tcgetattr(observer, &after), 0);
        ::close(observer);
        QCOMPARE(after.c_cflag, before.c_cflag);
        QCOMPARE(after.c_lflag, before.c_lflag);
        QCOMPARE(after.c_iflag, before.c_iflag);
        QCOMPARE(after.c_oflag, before.c_oflag);
        QCOMPARE(cfgetispeed(&after), cfgetispeed(&before));
        // The lock is given back: no lock file is left and the port opens again at once.
        QCOMPARE(QDir(lockFolder.path()).entryList(QDir::Files | QDir::Hidden), QStringList());
        vb::MSComm again;
        again.setCommPort(3);
        again.setSettings("115200,O,8,1");
        again.setPortOpen(true);
        QVERIFY(again.PortOpen());
    }

    void takesNoArguments() {
        const CliRun run = RunCli({"ports", "extra"});
        QCOMPARE(run.status, 2);
        QCOMPARE(run.err, QStringLiteral("velmora-cli ports: unexpected argument 'extra'\n"));
        QCOMPARE(run.out, QString());
        const CliRun help = RunCli({"ports", "--help"});
        QCOMPARE(help.status, 0);
        QVERIFY(help.out.contains("dialout"));
    }

private:
    std::unique_ptr<testing_support::PortsFolder> ports;
    QTemporaryDir lockFolder;
};

QTEST_GUILESS_MAIN(TestCliPorts)
#include "tst_cli_ports.moc"
