// velmora-cli upload against emulated tablets: the packed stream between FF and NUL as the tablet decodes
// it, the files refused before the port is touched, a line that hangs up mid-upload, and the tablet's
// failures.
#include "cli/cli_run.h"
#include "platform/lock_file.h"
#include "support/ports_folder.h"
#include "tablet.h"
#include "upload/packed_stream.h"
#include "upload_receiver.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <sys/stat.h>

using namespace cli_testing;
using namespace std::chrono_literals;
using testing_support::PortsFolder;

namespace {

using Records = std::vector<sim::UploadedRecord>;

// `count` records of 111 fields, each field's text naming its record and field; two of the named fields
// are empty (each goes out as a lone SO) and the numbered fields after the 80th (which are not sent), and
// `marked` is put in front of the first record's first field.
Records SampleRecords(int count, const std::string& marked = {}) {
    Records records;
    for (int r = 1; r <= count; ++r) {
        sim::UploadedRecord record(sim::uploadedFieldCount);
        for (int f = 0; f < sim::namedFieldCount + 80; ++f)
            if (f != 2 && f != 9)
                record[std::size_t(f)] = "record " + std::to_string(r) + " field " + std::to_string(f);
        records.push_back(record);
    }
    records[0][0] = marked + records[0][0];
    return records;
}

} // namespace

class CliUploadTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();
    void uploadsTheRecords();
    void findsTheTabletWithoutAPortGiven();
    void refusesABadFile_data();
    void refusesABadFile();
    void hangUpMidUploadFailsNamingThePort();
    void noTabletIsNotFound();
    void silentTabletGivesNoAnswer();
    void portWithALiveLockFileIsBusy();
    void usageFailures_data();
    void usageFailures();

private:
    // Writes `bytes` as a file of the test's folder and returns its path.
    QString write(const QString& name, const std::string& bytes);

    QTemporaryDir lockFolder;
    QTemporaryDir files;
    std::unique_ptr<PortsFolder> ports;
    std::unique_ptr<sim::Tablet> tablet;
};

void CliUploadTest::initTestCase() {
    QVERIFY(lockFolder.isValid());
    QVERIFY(files.isValid());
    qputenv("VELMORA_LOCK_DIR", lockFolder.path().toLocal8Bit());
}

void CliUploadTest::init() {
    ports = std::make_unique<PortsFolder>();
    tablet = std::make_unique<sim::Tablet>(ports->path(), 3);
}

void CliUploadTest::cleanup() {
    tablet.reset();
    ports.reset();
}

QString CliUploadTest::write(const QString& name, const std::string& bytes) {
    const QString path = files.filePath(name);
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly)) return {};
    file.write(bytes.data(), qint64(bytes.size()));
    return path;
}

void CliUploadTest::uploadsTheRecords() {
    const Records records = SampleRecords(3);
    const std::string fileBytes = sim::recordDataFile(records);
    const QString path = write("three.txt", fileBytes);
    const CliRun run = RunCli({"upload", path, "--port", "3"});
    QCOMPARE(run.err, QString()); // no progress line when standard error is not a terminal
    QCOMPARE(run.status, 0);
    const std::string packed = upload::PackRecordFile(fileBytes);
    QCOMPARE(run.out, QString("COM3: 3 records uploaded, %1 bytes sent\n").arg(packed.size() + 2));
    QVERIFY(tablet->waitForUploads(1, 10s));
    const std::vector<sim::Upload> uploads = tablet->uploads();
    QCOMPARE(uploads.size(), std::size_t(1));
    QCOMPARE(uploads[0].records, records);
    QCOMPARE(uploads[0].raw, packed);
    QCOMPARE(tablet->received(), "\x05\x0C" + packed + std::string(1, '\0'));
}

void CliUploadTest::findsTheTabletWithoutAPortGiven() {
    const Records records = SampleRecords(1);
    const CliRun run = RunCli({"upload", write("one.txt", sim::recordDataFile(records))});
    QCOMPARE(run.status, 0);
    QVERIFY2(run.out.startsWith("COM3: 1 record uploaded, "), qPrintable(run.out));
    QVERIFY(tablet->waitForUploads(1, 10s));
    QCOMPARE(tablet->uploads()[0].records, records);
}

void CliUploadTest::refusesABadFile_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("reason");
    QTest::newRow("missing") << "missing.txt"
                             << "no such file";
    QTest::newRow("57 lines") << "57-lines.txt"
                              << "its last record is cut short: a record is 112 lines";
    QTest::newRow("168 lines") << "168-lines.txt"
                               << "its last record is cut short: a record is 112 lines";
    QTest::newRow("empty") << "empty.txt"
                           << "holds no record (a record is 112 lines)";
    QTest::newRow("folder") << "folder.txt"
                            << "not a regular file";
    QTest::newRow("fifo") << "fifo.txt"
                          << "not a regular file";
    QTest::newRow("over 64 MiB") << "huge.txt"
                                 << "larger than 64 MiB";
}

void CliUploadTest::refusesABadFile() {
    QFETCH(QString, name);
    QFETCH(QString, reason);
    const QString path = files.filePath(name);
    std::string lines;
    if (name == "57-lines.txt")
        for (int i = 0; i < 57; ++i)
            lines += "line\r\n";
    if (name == "168-lines.txt")
        for (int i = 0; i < 168; ++i)
            lines += "line\r\n";
    if (name.endsWith("lines.txt") || name == "empty.txt") QVERIFY(!write(name, lines).isEmpty());
    if (name == "folder.txt") QVERIFY(QDir(files.path()).mkpath(name));
    if (name == "fifo.txt") QCOMPARE(mkfifo(path.toLocal8Bit().constData(), 0600), 0);
    if (name == "huge.txt") {
        QFile huge(path);
        QVERIFY(huge.open(QIODevice::WriteOnly));
        QVERIFY(huge.resize((qint64(64) << 20) + 1)); // sparse: no 64 MiB written
    }
    const CliRun run = RunCli({"upload", path, "--port", "3"});
    QCOMPARE(run.status, 7);
    QVERIFY2(run.err.startsWith("velmora-cli upload: " + path + ": bad file: " + reason),
             qPrintable(run.err));
    QCOMPARE(run.err.count('\n'), 1);
    QCOMPARE(run.out, QString());
    // Refused before the port is touched: the tablet was not even woken.
    QCOMPARE(tablet->received(), std::string());
}

void CliUploadTest::hangUpMidUploadFailsNamingThePort() {
    // A stream of about 200 kB, read by the tablet at the line's pace, and a line that hangs up as soon as
    // the tablet has read the first record's first byte: most of the stream is still to be written.
    const Records records = SampleRecords(100, "~");
    const std::string fileBytes = sim::recordDataFile(records);
    const std::size_t streamSize = upload::PackRecordFile(fileBytes).size() + 2;
    QVERIFY(streamSize > 150000);
    tablet->setLineRateReading(true);
    tablet->setFaults({.hangUpOn = '~'});
    const CliRun run = RunCli({"upload", write("hundred.txt", fileBytes), "--port", "3"});
    QCOMPARE(run.status, 1);
    QVERIFY2(run.err.startsWith("velmora-cli upload: COM3"), qPrintable(run.err));
    QVERIFY2(run.err.contains(": the line hung up during the upload, after "), qPrintable(run.err));
    QVERIFY2(run.err.endsWith(QString(" of %1 bytes\n").arg(streamSize)), qPrintable(run.err));
    QCOMPARE(run.out, QString());
    QVERIFY(tablet->uploads().empty());
}

void CliUploadTest::noTabletIsNotFound() {
    tablet.reset();
    const CliRun run = RunCli({"upload", write("one.txt", sim::recordDataFile(SampleRecords(1)))});
    QCOMPARE(run.status, 3);
    QVERIFY2(run.err.startsWith("velmora-cli upload: no Velmora LT answered on ports 1 to 40"),
             qPrintable(run.err));
    QCOMPARE(run.err.count('\n'), 1);
}

void CliUploadTest::silentTabletGivesNoAnswer() {
    tablet->setFaults({.silent = true});
    const QString path = write("one.txt", sim::recordDataFile(SampleRecords(1)));
    const CliRun run = RunCli({"upload", path, "--port", "3", "--timeout", "0.3"});
    QCOMPARE(run.status, 4);
    QVERIFY2(run.err.startsWith("velmora-cli upload: COM3"), qPrintable(run.err));
    QVERIFY2(run.err.endsWith(": no answer to ENQ\n"), qPrintable(run.err));
    QVERIFY(tablet->waitForReceived(1, 5s));
    QCOMPARE(tablet->received(), std::string("\x05")); // no stream after a wake-up that failed
}

void CliUploadTest::portWithALiveLockFileIsBusy() {
    const QString lockFile = QString::fromStdString(vb::LockFileFor(tablet->devicePath()));
    QFile lock(lockFile);
    QVERIFY(lock.open(QIODevice::WriteOnly));
    lock.write("         1\n"); // the init process, alive as long as the machine runs
    lock.close();
    const QString path = write("one.txt", sim::recordDataFile(SampleRecords(1)));
    const CliRun run = RunCli({"upload", path, "--port", "3"});
    QFile::remove(lockFile);
    QCOMPARE(run.status, 5);
    QVERIFY2(run.err.startsWith("velmora-cli upload: COM3: Port already open"), qPrintable(run.err));
    QCOMPARE(tablet->received(), std::string());
}

void CliUploadTest::usageFailures_data() {
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("message");
    QTest::newRow("no file") << QStringList{"upload"} << "missing argument (see --help)";
    QTest::newRow("two files") << QStringList{"upload", "a.txt", "b.txt"}
                               << "unexpected argument 'b.txt' (a value with blanks is given in quotes)";
    QTest::newRow("port 0") << QStringList{"upload", "a.txt", "--port", "0"}
                            << "--port: '0' is not a port number from 1 to 40";
}

void CliUploadTest::usageFailures() {
    QFETCH(QStringList, arguments);
    QFETCH(QString, message);
    const CliRun run = RunCli(arguments);
    QCOMPARE(run.status, 2);
    QCOMPARE(run.err, "velmora-cli upload: " + message + "\n");
    QCOMPARE(tablet->received(), std::string());
}

QTEST_GUILESS_MAIN(CliUploadTest)
#include "tst_cli_upload.moc"
