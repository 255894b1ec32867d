// velmora-cli find against emulated tablets: the first tablet's port and device, every tablet with
// --all, and when none answers, exit status 3 with one line that counts what the search met and names the
// busy and denied ports.
#include "cli_run.h"
#include "platform/mscomm.h"
#include "support/ports_folder.h"
#include "tablet.h"

#include <QTemporaryDir>
#include <QTest>

using namespace cli_testing;
using namespace std::chrono_literals;

class TestCliFind : public QObject {
    Q_OBJECT

private slots:
    void init() {
        ports = std::make_unique<testing_support::PortsFolder>();
        qputenv("VELMORA_LOCK_DIR", lockFolder.path().toLocal8Bit());
    }
    void cleanup() { ports.reset(); }

    void printsTheFirstTabletFound() {
        sim::Tablet silent(ports->path(), 2, sim::Faults{.silent = true});
        sim::Tablet first(ports->path(), 4), second(ports->path(), 9);
        const CliRun run = RunCli({"find", "--timeout", "0.3"});
        QCOMPARE(run.status, 0);
        QCOMPARE(run.out, QStringLiteral("COM4 %1\n").arg(QString::fromStdString(first.devicePath())));
        QCOMPARE(run.err, QString());
        // The probe is ENQ, and the search stops at the first tablet.
        QCOMPARE(first.received(), std::string(1, '\x05'));
        QCOMPARE(silent.received(), std::string(1, '\x05'));
        QCOMPARE(second.received(), std::string());
    }

    void allPrintsEveryTablet() {
        sim::Tablet first(ports->path(), 4), second(ports->path(), 31);
        const CliRun run = RunCli({"find", "--all"});
        QCOMPARE(run.status, 0);
        QCOMPARE(run.out, QStringLiteral("COM4 %1\nCOM31 %2\n")
                              .arg(QString::fromStdString(first.devicePath()),
                                   QString::fromStdString(second.devicePath())));
    }

    void answerWithoutEnqIsNoTablet() {
        sim::Tablet modem(ports->path(), 3, sim::Faults{.replyText = std::string("OK\r\n")});
        const CliRun run = RunCli({"find", "--timeout", "0.3"});
        QCOMPARE(run.status, 3);
        QVERIFY2(run.err.contains("1 silent"), qPrintable(run.err));
    }

    void noneFoundCountsWhatWasMet() {
        sim::Tablet silent(ports->path(), 2, sim::Faults{.silent = true});
        sim::Tablet held(ports->path(), 5);
        vb::MSComm holder;
        holder.setCommPort(5);
        holder.setSettings("115200,O,8,1");
        holder.setPortOpen(true);
        ForbiddenTerminal forbidden(ports->port(7));
        QVERIFY(forbidden.made());

        const CliRun run = RunCli({"find", "--timeout", "0.3"}, 40000, WithoutPermissionOverride);
        QCOMPARE(run.status, 3);
        QCOMPARE(run.out, QString());
        QCOMPARE(run.err.count('\n'), 1);
        QVERIFY2(run.err.contains("no Velmora LT answered on ports 1 to 40"), qPrintable(run.err));
        QVERIFY2(run.err.contains("37 missing, 1 busy (COM5), 1 denied (COM7), 1 silent"),
                 qPrintable(run.err));
    }

    void emptyFolderFindsNothing() {
        const CliRun run = RunCli({"find"});
        QCOMPARE(run.status, 3);
        QVERIFY2(run.err.contains("40 missing, 0 busy, 0 denied, 0 silent"), qPrintable(run.err));
    }

    void findsAtTheBaudRateGiven() {
        sim::Tablet tablet(ports->path(), 6);
        tablet.setLineRatePacing(true); // answers at the rate the port was set to: it must be one we allow
        const CliRun run = RunCli({"find", "--baud", "19200"});
        QCOMPARE(run.status, 0);
        QVERIFY(run.out.startsWith("COM6 "));
    }

    void usageErrors_data() {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("message");
        QTest::newRow("baud") << QStringList{"find", "--baud", "1234"} << "--baud: '1234'";
        QTest::newRow("timeout") << QStringList{"find", "--timeout", "soon"} << "--timeout: 'soon'";
        QTest::newRow("argument") << QStringList{"find", "COM3"} << "unexpected argument 'COM3'";
        QTest::newRow("option") << QStringList{"find", "--port", "3"} << "Unknown option 'port'";
    }
    void usageErrors() {
        QFETCH(QStringList, arguments);
        QFETCH(QString, message);
        const CliRun run = RunCli(arguments);
        QCOMPARE(run.status, 2);
        QVERIFY2(run.err.contains(message), qPrintable(run.err));
        QVERIFY2(run.err.startsWith("velmora-cli find: "), qPrintable(run.err));
        QCOMPARE(run.out, QString());
    }

    void helpDescribesTheOptions() {
        const CliRun run = RunCli({"find", "--help"});
        QCOMPARE(run.status, 0);
        for (const char* option : {"--all", "--baud", "--timeout"})
            QVERIFY2(run.out.contains(option), option);
    }

private:
    std::unique_ptr<testing_support::PortsFolder> ports;
    QTemporaryDir lockFolder;
};

QTEST_GUILESS_MAIN(TestCliFind)
#include "tst_cli_find.moc"
