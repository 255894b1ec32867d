// velmora-cli download --all DIR against many emulated tablets: every tablet found is downloaded side
// by side into a file of its own named by port and date, identical to what that tablet streamed; a
// second run the same day keeps the first run's files; a summary line per tablet; the exit status of
// the first failure.
#include "cli_run.h"
#include "sample_records.h"
#include "support/ports_folder.h"
#include "tablet.h"

#include <QDate>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <memory>
#include <vector>

using namespace cli_testing;
using namespace std::chrono_literals;

class TestCliDownloadAll : public QObject {
    Q_OBJECT

private slots:
    void init() {
        ports = std::make_unique<testing_support::PortsFolder>();
        qputenv("VELMORA_LOCK_DIR", lockFolder.path().toLocal8Bit());
        dir = std::make_unique<QTemporaryDir>();
    }
    void cleanup() {
        tablets.clear();
        ports.reset();
    }

    void sixteenPacedTabletsSideBySide() {
        // Ports 1 to 40, sixteen of them with tablets, each with records of its own, all sending at the
        // line rate of 115200 baud.
        std::vector<int> numbers;
        for (int n = 0; n < 16; ++n)
            numbers.push_back(1 + n * 39 / 15);
        for (std::size_t i = 0; i < numbers.size(); ++i) {
            tablets.push_back(std::make_unique<sim::Tablet>(ports->path(), numbers[i]));
            tablets.back()->setRecords(sim::SampleVlm(1 + int(i % 3), unsigned(100 + i)));
            tablets.back()->setLineRatePacing(true);
        }
        const QDate before = QDate::currentDate();
        const CliRun run = RunCli({"download", "--all", dir->path(), "--quiet", "1000"}, 50000);
        const QDate after = QDate::currentDate();
        QCOMPARE(run.status, 0);
        QCOMPARE(run.err, QString());
        const QStringList lines = run.out.split('\n', Qt::SkipEmptyParts);
        QCOMPARE(lines.size(), 16);
        for (std::size_t i = 0; i < numbers.size(); ++i) {
            const sim::Tablet& tablet = *tablets[i];
            const std::string streamed = tablet.streamed();
            QCOMPARE(streamed, sim::SampleVlm(1 + int(i % 3), unsigned(100 + i)));
            QString path = dir->filePath(
                QStringLiteral("COM%1-%2.vlm").arg(numbers[i]).arg(before.toString(Qt::ISODate)));
            if (!QFile::exists(path))
                path = dir->filePath(
                    QStringLiteral("COM%1-%2.vlm").arg(numbers[i]).arg(after.toString(Qt::ISODate)));
            QVERIFY2(ReadFile(path) == streamed, qPrintable(path));
            const int records = 1 + int(i % 3);
            QCOMPARE(lines[int(i)], QStringLiteral("COM%1 %2 %3 %4 %5 bytes -> %6")
                                        .arg(numbers[i])
                                        .arg(QString::fromStdString(tablet.devicePath()))
                                        .arg(records)
                                        .arg(records == 1 ? "record" : "records")
                                        .arg(streamed.size())
                                        .arg(path));
        }
        QCOMPARE(EverythingIn(dir->path()).size(), 16); // no temporary files left
    }

    void secondRunKeepsTheFirstRunsFiles() {
        tablets.push_back(std::make_unique<sim::Tablet>(ports->path(), 2));
        tablets.back()->setRecords(sim::SampleVlm(2, 5));
        const QString date = QDate::currentDate().toString(Qt::ISODate);
        QCOMPARE(RunCli({"download", "--all", dir->path(), "--quiet", "300"}).status, 0);
        tablets.back()->setRecords(sim::SampleVlm(3, 6));
        const CliRun second = RunCli({"download", "--all", dir->path(), "--quiet", "300"});
        QCOMPARE(second.status, 0);
        tablets.back()->setRecords(sim::SampleVlm(1, 7));
        QCOMPARE(RunCli({"download", "--all", dir->path(), "--quiet", "300"}).status, 0);
        if (QDate::currentDate().toString(Qt::ISODate) != date) QSKIP("the runs went past midnight");
        const QString stem = QStringLiteral("COM2-") + date;
        QCOMPARE(EverythingIn(dir->path()), (QStringList{stem + "-2.vlm", stem + "-3.vlm", stem + ".vlm"}));
        QCOMPARE(ReadFile(dir->filePath(stem + ".vlm")), sim::SampleVlm(2, 5));
        QCOMPARE(ReadFile(dir->filePath(stem + "-2.vlm")), sim::SampleVlm(3, 6));
        QCOMPARE(ReadFile(dir->filePath(stem + "-3.vlm")), sim::SampleVlm(1, 7));
        QVERIFY2(second.out.endsWith(QStringLiteral("-> %1\n").arg(dir->filePath(stem + "-2.vlm"))),
                 qPrintable(second.out));
    }

    void aFailedTabletDoesNotStopTheOthers() {
        tablets.push_back(
            std::make_unique<sim::Tablet>(ports->path(), 3, sim::Faults{.streamHangUpAfter = 700}));
        tablets.push_back(std::make_unique<sim::Tablet>(ports->path(), 8));
        tablets.back()->setRecords(sim::SampleVlm(2));
        const CliRun run = RunCli({"download", "--all", dir->path(), "--quiet", "500"});
        QCOMPARE(run.status, 1);
        const QStringList lines = run.out.split('\n', Qt::SkipEmptyParts);
        QCOMPARE(lines.size(), 2);
        QCOMPARE(lines[0], QStringLiteral("COM3 (%1): the line hung up after 700 bytes of the record stream")
                               .arg(QString::fromStdString(ports->port(3))));
        QVERIFY2(
            lines[1].startsWith(
                QStringLiteral("COM8 %1 2 records ").arg(QString::fromStdString(tablets[1]->devicePath()))),
            qPrintable(lines[1]));
        QVERIFY2(run.err.contains("not every tablet was downloaded"), qPrintable(run.err));
        const QStringList written = EverythingIn(dir->path());
        QCOMPARE(written.size(), 1);
        QVERIFY(written.front().startsWith("COM8-"));
        QCOMPARE(ReadFile(dir->filePath(written.front())), sim::SampleVlm(2));
    }

    void noTabletIsNotFound() {
        tablets.push_back(std::make_unique<sim::Tablet>(ports->path(), 4, sim::Faults{.silent = true}));
        const CliRun run = RunCli({"download", "--all", dir->path(), "--timeout", "0.3"});
        QCOMPARE(run.status, 3);
        QVERIFY2(run.err.contains(
                     "no Velmora LT answered on ports 1 to 40 (39 missing, 0 busy, 0 denied, 1 silent)"),
                 qPrintable(run.err));
        QCOMPARE(EverythingIn(dir->path()), QStringList());
    }

    void folderMustExist() {
        const QString missing = dir->filePath("missing");
        const CliRun run = RunCli({"download", "--all", missing});
        QCOMPARE(run.status, 1);
        QVERIFY2(run.err.contains(missing + ": no such folder"), qPrintable(run.err));
    }

private:
    std::unique_ptr<testing_support::PortsFolder> ports;
    QTemporaryDir lockFolder;
    std::unique_ptr<QTemporaryDir> dir;
    std::vector<std::unique_ptr<sim::Tablet>> tablets;
};

QTEST_GUILESS_MAIN(TestCliDownloadAll)
#include "tst_cli_download_all.moc"
