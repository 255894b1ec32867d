// velmora-cli download FILE against emulated tablets: the file holds exactly the bytes the tablet
// streamed, is written whole or not at all, and every failure ends with its own exit status and one line
// that names the port (or the file).
#include "cli_run.h"
#include "platform/mscomm.h"
#include "record_stream.h"
#include "sample_records.h"
#include "support/ports_folder.h"
#include "tablet.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <pty.h>
#include <termios.h>
#include <thread>

using namespace cli_testing;
using namespace std::chrono_literals;

class TestCliDownload : public QObject {
    Q_OBJECT

private slots:
    void init() {
        ports = std::make_unique<testing_support::PortsFolder>();
        qputenv("VELMORA_LOCK_DIR", lockFolder.path().toLocal8Bit());
        QVERIFY(files.isValid());
        target = files.filePath(QStringLiteral("records.vlm"));
        QFile::remove(target);
    }
    void cleanup() { ports.reset(); }

    void writesExactlyWhatTheTabletStreamed() {
        sim::Tablet tablet(ports->path(), 3);
        const CliRun run = RunCli({"download", target, "--port", "3", "--quiet", "300"});
        QCOMPARE(run.status, 0);
        const std::string streamed = tablet.streamed();
        QCOMPARE(streamed, sim::SampleVlm(25));
        QCOMPARE(ReadFile(target), streamed);
        QCOMPARE(run.out, QStringLiteral("COM3 %1 25 records %2 bytes -> %3\n")
                              .arg(QString::fromStdString(tablet.devicePath()))
                              .arg(streamed.size())
                              .arg(target));
        QCOMPARE(run.err, QString()); // no progress line when standard error is not a terminal
        // The protocol: ENQ answered, DC2 SI, and one more ENQ once the file is saved.
        QVERIFY(tablet.waitForReceived(4, 5s));
        QCOMPARE(tablet.received(), std::string("\x05\x12\x0F\x05"));
        QCOMPARE(EverythingIn(files.path()), QStringList{"records.vlm"});
    }

    // The tablet stops after 100 bytes of its stream and sends the rest after `pause`: the file holds
    // what the download gathered before the silence that ends it.
    std::string DownloadAcrossAPause(const QString& rate, std::chrono::milliseconds pause) {
        sim::Tablet tablet(ports->path(), 3, sim::Faults{.streamStopAfter = 100});
        const std::string records = sim::SampleVlm(4);
        tablet.setRecords(records);
        std::thread rest([&] {
            if (!tablet.waitForStreamed(100, 20s)) return;
            std::this_thread::sleep_for(pause);
            tablet.send(records.substr(100));
        });
        const CliRun run = RunCli({"download", target, "--port", "3", "--rate", rate});
        rest.join();
        if (run.status != 0) return "status " + std::to_string(run.status) + ": " + run.err.toStdString();
        return ReadFile(target);
    }

    void communicationRateSetsTheSilence() {
        const std::string records = sim::SampleVlm(4);
        // "maximum" waits a third of the normal 2000 ms: a pause of 1.5 s ends the stream.
        QCOMPARE(DownloadAcrossAPause("maximum", 1500ms), records.substr(0, 100));
        // "slow" waits twice as long: a pause of 2.5 s, longer than the normal silence, does not.
        QCOMPARE(DownloadAcrossAPause("slow", 2500ms), records);
    }

    void searchesWhenNoPortIsGiven() {
        sim::Tablet silent(ports->path(), 1, sim::Faults{.silent = true});
        sim::Tablet tablet(ports->path(), 6);
        tablet.setRecords(sim::SampleVlm(3, 7));
        const CliRun run = RunCli({"download", target, "--timeout", "0.3", "--quiet", "300"});
        QCOMPARE(run.status, 0);
        QVERIFY2(run.out.startsWith("COM6 "), qPrintable(run.out));
        QCOMPARE(ReadFile(target), sim::SampleVlm(3, 7));
    }

    void thousandRecordsArriveWhole() {
        sim::Tablet tablet(ports->path(), 3);
        const std::string sample = sim::SampleVlm(999);
        tablet.setRecords(sample);
        const CliRun run = RunCli({"download", target, "--port", "3", "--quiet", "500"});
        QCOMPARE(run.status, 0);
        QVERIFY2(run.out.contains(QStringLiteral(" 999 records %1 bytes").arg(sample.size())),
                 qPrintable(run.out));
        QCOMPARE(tablet.streamed(), sample);
        QVERIFY(ReadFile(target) == sample);
    }

    void wakeUpIsRetriedUntilTheTabletAnswers() {
        // The tablet answers every ENQ late, after the first waits are over: a later try sees the echo,
        // and the late echoes do not get into the file.
        sim::Faults late;
        late.echoDelay['\x05'] = 800ms;
        sim::Tablet tablet(ports->path(), 3, late);
        tablet.setRecords(sim::SampleVlm(2));
        const CliRun run = RunCli(
            {"download", target, "--port", "3", "--timeout", "0.3", "--wake-tries", "5", "--quiet", "300"});
        QCOMPARE(run.status, 0);
        QCOMPARE(ReadFile(target), sim::SampleVlm(2));
        const std::string received = tablet.received();
        const std::size_t request = received.find("\x12\x0F");
        QVERIFY2(request >= 2 && request != std::string::npos, received.c_str());
        QCOMPARE(received.substr(0, request), std::string(request, '\x05'));
    }

    void tabletThatNeverAnswersIsNoAnswer() {
        sim::Tablet tablet(ports->path(), 3, sim::Faults{.silent = true});
        const CliRun run =
            RunCli({"download", target, "--port", "3", "--timeout", "0.2", "--wake-tries", "4"});
        QCOMPARE(run.status, 4);
        QVERIFY2(run.err.contains(QStringLiteral("COM3 (%1): no answer to ENQ (4 tries of 0.2 s)")
                                      .arg(QString::fromStdString(ports->port(3)))),
                 qPrintable(run.err));
        QCOMPARE(run.err.count('\n'), 1);
        QCOMPARE(tablet.received(), std::string(4, '\x05'));
        QVERIFY(!QFile::exists(target));
    }

    void echoWithoutStreamIsNoAnswer() {
        sim::Tablet tablet(ports->path(), 3, sim::Faults{.streamStopAfter = 0});
        const CliRun run = RunCli({"download", target, "--port", "3", "--timeout", "0.3"});
        QCOMPARE(run.status, 4);
        QVERIFY2(run.err.contains("COM3") && run.err.contains("sent no records within 0.3 s of DC2 SI"),
                 qPrintable(run.err));
        QVERIFY(!QFile::exists(target));
    }

    void hangUpMidDownloadWritesNothing() {
        // An earlier download's file stays as it was.
        QFile earlier(target);
        QVERIFY(earlier.open(QIODevice::WriteOnly));
        earlier.write("earlier records");
        earlier.close();
        sim::Tablet tablet(ports->path(), 3, sim::Faults{.streamHangUpAfter = 5000});
        const CliRun run = RunCli({"download", target, "--port", "3", "--quiet", "1000"});
        QCOMPARE(run.status, 1);
        QVERIFY2(run.err.contains(QStringLiteral("COM3 (%1): the line hung up after 5000 bytes of the record "
                                                 "stream; nothing written to %2")
                                      .arg(QString::fromStdString(ports->port(3)), target)),
                 qPrintable(run.err));
        QCOMPARE(run.out, QString());
        QCOMPARE(ReadFile(target), std::string("earlier records"));
        QCOMPARE(EverythingIn(files.path()), QStringList{"records.vlm"}); // no temporary file left
    }

    void hangUpLeavesNoFileWhereThereWasNone() {
        sim::Tablet tablet(ports->path(), 3, sim::Faults{.streamHangUpAfter = 100});
        const CliRun run = RunCli({"download", target, "--port", "3"});
        QCOMPARE(run.status, 1);
        QVERIFY2(run.err.contains("after 100 bytes"), qPrintable(run.err));
        QCOMPARE(EverythingIn(files.path()), QStringList());
    }

    void streamWithoutHeaderIsWrittenAsReceived() {
        sim::Tablet tablet(ports->path(), 3);
        const std::string odd = "no header here\r\nat all\r\n";
        tablet.setRecords(odd);
        const CliRun run = RunCli({"download", target, "--port", "3", "--quiet", "300"});
        QCOMPARE(run.status, 0);
        QCOMPARE(ReadFile(target), odd);
        QVERIFY2(run.out.contains(QStringLiteral(" no record count %1 bytes -> ").arg(odd.size())),
                 qPrintable(run.out));
        QVERIFY2(run.err.contains("warning: COM3") && run.err.contains("no record count header"),
                 qPrintable(run.err));
    }

    void portWithoutDeviceIsNotFound() {
        const CliRun run = RunCli({"download", target, "--port", "9"});
        QCOMPARE(run.status, 3);
        QVERIFY2(run.err.startsWith("velmora-cli download: COM9: "), qPrintable(run.err));
        QVERIFY2(run.err.contains("does not exist"), qPrintable(run.err));
    }

    void noTabletAnywhereIsNotFound() {
        const CliRun run = RunCli({"download", target});
        QCOMPARE(run.status, 3);
        QVERIFY2(run.err.contains("no Velmora LT answered on ports 1 to 40"), qPrintable(run.err));
    }

    void portHeldByAnotherProgramIsBusy() {
        sim::Tablet tablet(ports->path(), 3);
        vb::MSComm holder;
        holder.setCommPort(3);
        holder.setSettings("115200,O,8,1");
        holder.setPortOpen(true);
        const CliRun run = RunCli({"download", target, "--port", "3"});
        QCOMPARE(run.status, 5);
        QVERIFY2(run.err.contains("COM3: Port already open") && run.err.contains("locked by process"),
                 qPrintable(run.err));
        QCOMPARE(tablet.received(), std::string());
    }

    void portWithoutPermissionIsDenied() {
        ForbiddenTerminal forbidden(ports->port(4));
        QVERIFY(forbidden.made());
        const CliRun run = RunCli({"download", target, "--port", "4"}, 40000, WithoutPermissionOverride);
        QCOMPARE(run.status, 6);
        QVERIFY2(run.err.contains("COM4") && run.err.contains("dialout group"), qPrintable(run.err));
    }

    void fileThatCannotBeWrittenIsAFailure() {
        sim::Tablet tablet(ports->path(), 3);
        const QString nowhere = files.filePath(QStringLiteral("missing/records.vlm"));
        const CliRun run = RunCli({"download", nowhere, "--port", "3", "--quiet", "300"});
        QCOMPARE(run.status, 1);
        QVERIFY2(run.err.contains(nowhere) && run.err.contains("the records were not saved"),
                 qPrintable(run.err));
    }

    void progressOnATerminalOnly() {
        sim::Tablet tablet(ports->path(), 3);
        tablet.setRecords(sim::SampleVlm(3));
        int master = -1, slave = -1;
        QCOMPARE(openpty(&master, &slave, nullptr, nullptr, nullptr), 0);
        termios raw{};
        tcgetattr(slave, &raw);
        cfmakeraw(&raw);
        tcsetattr(slave, TCSANOW, &raw);
        const CliRun run = RunCli({"download", target, "--port", "3", "--quiet", "300"}, 40000,
                                  [slave] { dup2(slave, STDERR_FILENO); });
        ::close(slave);
        std::string shown;
        char chunk[4096];
        for (ssize_t got; (got = ::read(master, chunk, sizeof chunk)) > 0;) {
            shown.append(chunk, std::size_t(got));
            if (shown.find('\n') != std::string::npos) break;
        }
        ::close(master);
        QCOMPARE(run.status, 0);
        QVERIFY2(shown.find("\rCOM3: ") != std::string::npos, shown.c_str());
        QVERIFY2(shown.find(" bytes, 3 of 3 records\x1b[K\n") != std::string::npos, shown.c_str());
    }

    void recordCountComesFromTheHeader_data() {
        QTest::addColumn<QByteArray>("stream");
        QTest::addColumn<int>("count"); // -1: none
        QTest::newRow("count") << QByteArray("025\"ACME\"Menu\r\n001\"") << 25;
        QTest::newRow("junk before it") << QByteArray("\x05\x05xx007\"ACME\"Menu") << 7;
        QTest::newRow("zero") << QByteArray("000\"ACME\"Menu") << 0;
        QTest::newRow("short") << QByteArray("9\"ACME") << 9;
        QTest::newRow("no quote yet") << QByteArray("025") << -1;
        QTest::newRow("quote first") << QByteArray("\"ACME\"") << -1;
        QTest::newRow("not digits") << QByteArray("x5a\"ACME\"") << -1;
    }
    void recordCountComesFromTheHeader() {
        QFETCH(QByteArray, stream);
        QFETCH(int, count);
        QCOMPARE(cli::RecordCountOf(stream.toStdString()).value_or(-1), count);
    }

    void tallyCountsRecordsReadInPieces() {
        // Read a byte at a time, so that every CR LF is split between two reads.
        const std::string sample = sim::SampleVlm(12);
        cli::RecordTally tally;
        for (std::size_t length = 1; length <= sample.size(); ++length) {
            tally.update(std::string_view(sample).substr(0, length));
            if (length == 2) QVERIFY(!tally.recordCount());
        }
        QCOMPARE(tally.bytes(), sample.size());
        QCOMPARE(tally.recordsDone(), 12);
        QCOMPARE(tally.recordCount().value_or(-1), 12);
    }

    void usageErrors_data() {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("message");
        QTest::newRow("no file") << QStringList{"download"} << "missing argument";
        QTest::newRow("two files") << QStringList{"download", "a.vlm", "b.vlm"}
                                   << "unexpected argument 'b.vlm'";
        QTest::newRow("port") << QStringList{"download", "a.vlm", "--port", "41"} << "--port: '41'";
        QTest::newRow("quiet") << QStringList{"download", "a.vlm", "--quiet", "0"} << "--quiet: '0'";
        QTest::newRow("rate") << QStringList{"download", "a.vlm", "--rate", "fast"}
                              << "--rate: 'fast' is not normal, maximum or slow";
        QTest::newRow("rate and quiet")
            << QStringList{"download", "a.vlm", "--rate", "slow", "--quiet", "900"}
            << "--rate and --quiet both set the silence";
        QTest::newRow("wake-tries") << QStringList{"download", "a.vlm", "--wake-tries", "many"}
                                    << "--wake-tries: 'many'";
        QTest::newRow("baud") << QStringList{"download", "a.vlm", "--baud", "300"} << "--baud: '300'";
        QTest::newRow("all with port")
            << QStringList{"download", "--all", "dir", "--port", "3"} << "--port does not go with it";
        QTest::newRow("option") << QStringList{"download", "a.vlm", "--fast"} << "Unknown option 'fast'";
    }
    void usageErrors() {
        QFETCH(QStringList, arguments);
        QFETCH(QString, message);
        const CliRun run = RunCli(arguments);
        QCOMPARE(run.status, 2);
        QVERIFY2(run.err.startsWith("velmora-cli download: ") && run.err.contains(message),
                 qPrintable(run.err));
    }

    void helpExplainsTheSilence() {
        const CliRun run = RunCli({"download", "--help"});
        QCOMPARE(run.status, 0);
        for (const char* text :
             {"--quiet", "--rate", "--baud", "--wake-tries", "--all", "Slow Speed!", "2000"})
            QVERIFY2(run.out.contains(text), text);
    }

private:
    std::unique_ptr<testing_support::PortsFolder> ports;
    QTemporaryDir lockFolder;
    QTemporaryDir files;
    QString target;
};

QTEST_GUILESS_MAIN(TestCliDownload)
#include "tst_cli_download.moc"
