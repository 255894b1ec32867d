// velmora-cli reset against emulated tablets: EOT and its echo, the reset's longer wait for that echo, and
// every failure's exit status and message.
#include "cli/cli_run.h"
#include "platform/lock_file.h"
#include "platform/mscomm.h"
#include "support/ports_folder.h"
#include "tablet.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace cli_testing;
using namespace std::chrono_literals;
using testing_support::PortsFolder;

class CliResetTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();
    void resetsTheTablet();
    void findsTheTabletWithoutAPortGiven();
    void resetEchoMayTakeFiveTimesTheAnswerTime();
    void resetEchoLaterThanThatGivesNoAnswer();
    void withheldResetEchoGivesNoAnswer();
    void noTabletIsNotFound();
    void silentTabletGivesNoAnswer();
    void portHeldByAnotherProgramIsBusy();
    void portWithALiveLockFileIsBusy();
    void usageFailures_data();
    void usageFailures();

private:
    QTemporaryDir lockFolder;
    std::unique_ptr<PortsFolder> ports;
    std::unique_ptr<sim::Tablet> tablet;
};

void CliResetTest::initTestCase() {
    QVERIFY(lockFolder.isValid());
    qputenv("VELMORA_LOCK_DIR", lockFolder.path().toLocal8Bit());
}

void CliResetTest::init() {
    ports = std::make_unique<PortsFolder>();
    tablet = std::make_unique<sim::Tablet>(ports->path(), 3);
}

void CliResetTest::cleanup() {
    tablet.reset();
    ports.reset();
}

void CliResetTest::resetsTheTablet() {
    const CliRun run = RunCli({"reset", "--port", "3"});
    QCOMPARE(run.err, QString());
    QCOMPARE(run.status, 0);
    QCOMPARE(run.out, QString("COM3: tablet reset\n"));
    QCOMPARE(tablet->state().resets, 1);
    QCOMPARE(tablet->received(), std::string("\x05\x04"));
}

void CliResetTest::findsTheTabletWithoutAPortGiven() {
    const CliRun run = RunCli({"reset"});
    QCOMPARE(run.status, 0);
    QCOMPARE(run.out, QString("COM3: tablet reset\n"));
    QCOMPARE(tablet->state().resets, 1);
}

void CliResetTest::resetEchoMayTakeFiveTimesTheAnswerTime() {
    // Later than the 0.6 s any other echo may take, well within the reset's 3 s.
    tablet->setFaults({.echoDelay = {{'\x04', 1200ms}}});
    const CliRun run = RunCli({"reset", "--port", "3", "--timeout", "0.6"});
    QCOMPARE(run.status, 0);
    QCOMPARE(run.out, QString("COM3: tablet reset\n"));
}

void CliResetTest::resetEchoLaterThanThatGivesNoAnswer() {
    tablet->setFaults({.echoDelay = {{'\x04', 4000ms}}});
    const CliRun run = RunCli({"reset", "--port", "3", "--timeout", "0.2"});
    QCOMPARE(run.status, 4);
    QVERIFY2(run.err.startsWith("velmora-cli reset: COM3"), qPrintable(run.err));
    QVERIFY2(run.err.endsWith(": no echo of the reset (EOT)\n"), qPrintable(run.err));
}

void CliResetTest::withheldResetEchoGivesNoAnswer() {
    tablet->setFaults({.noEcho = "\x04"});
    const CliRun run = RunCli({"reset", "--port", "3", "--timeout", "0.5"});
    QCOMPARE(run.status, 4);
    QVERIFY2(run.err.startsWith("velmora-cli reset: COM3"), qPrintable(run.err));
    QVERIFY2(run.err.endsWith(": no echo of the reset (EOT)\n"), qPrintable(run.err));
    QCOMPARE(run.err.count('\n'), 1);
    QCOMPARE(run.out, QString());
    QCOMPARE(tablet->state().resets, 1); // the tablet did reset; only its echo was missing
}

void CliResetTest::noTabletIsNotFound() {
    tablet.reset();
    const CliRun run = RunCli({"reset"});
    QCOMPARE(run.status, 3);
    QVERIFY2(run.err.startsWith("velmora-cli reset: no Velmora LT answered on ports 1 to 40"),
             qPrintable(run.err));
    QCOMPARE(run.err.count('\n'), 1);
}

void CliResetTest::silentTabletGivesNoAnswer() {
    tablet->setFaults({.silent = true});
    const CliRun run = RunCli({"reset", "--port", "3", "--timeout", "0.3"});
    QCOMPARE(run.status, 4);
    QVERIFY2(run.err.startsWith("velmora-cli reset: COM3"), qPrintable(run.err));
    QVERIFY2(run.err.endsWith(": no answer to ENQ\n"), qPrintable(run.err));
    QVERIFY(tablet->waitForReceived(1, 5s));
    QCOMPARE(tablet->received(), std::string("\x05")); // no EOT after a wake-up that failed
    QCOMPARE(tablet->state().resets, 0);
}

void CliResetTest::portHeldByAnotherProgramIsBusy() {
    vb::MSComm holder;
    holder.setCommPort(3);
    holder.setPortOpen(true);
    const CliRun run = RunCli({"reset", "--port", "3"});
    QCOMPARE(run.status, 5);
    QVERIFY2(run.err.startsWith("velmora-cli reset: COM3: Port already open"), qPrintable(run.err));
    QCOMPARE(tablet->state().resets, 0);
}

void CliResetTest::portWithALiveLockFileIsBusy() {
    const QString lockFile = QString::fromStdString(vb::LockFileFor(tablet->devicePath()));
    QFile lock(lockFile);
    QVERIFY(lock.open(QIODevice::WriteOnly));
    lock.write("         1\n"); // the init process, alive as long as the machine runs
    lock.close();
    const CliRun run = RunCli({"reset", "--port", "3"});
    QFile::remove(lockFile);
    QCOMPARE(run.status, 5);
    QVERIFY2(run.err.contains("is locked by process 1"), qPrintable(run.err));
    QCOMPARE(tablet->received(), std::string());
}

void CliResetTest::usageFailures_data() {
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("message");
    QTest::newRow("an argument") << QStringList{"reset", "now"} << "unexpected argument 'now'";
    QTest::newRow("timeout of no seconds") << QStringList{"reset", "--timeout", "0"}
                                           << "--timeout: '0' is not a number of seconds from 0 to 3600";
    QTest::newRow("baud rate") << QStringList{"reset", "--baud", "9600"}
                               << "--baud: '9600' is not 19200, 38400, 57600 or 115200";
}

void CliResetTest::usageFailures() {
    QFETCH(QStringList, arguments);
    QFETCH(QString, message);
    const CliRun run = RunCli(arguments);
    QCOMPARE(run.status, 2);
    QCOMPARE(run.err, "velmora-cli reset: " + message + "\n");
    QCOMPARE(tablet->received(), std::string());
}

QTEST_GUILESS_MAIN(CliResetTest)
#include "tst_cli_reset.moc"
