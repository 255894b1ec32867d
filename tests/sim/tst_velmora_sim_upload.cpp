// The emulated tablet's side of an upload: FF ... NUL taken as data and decoded into records, the uploads
// kept for tests and written to an upload folder, reading at the line rate, and the 7-bit settings of the
// upload editor's port.
#include "command_line.h"
#include "platform/mscomm.h"
#include "protocol.h"
#include "support/ports_folder.h"
#include "tablet.h"
#include "upload_files.h"
#include "upload_receiver.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <chrono>
#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

using namespace std::chrono_literals;
using testing_support::PortsFolder;

namespace {

constexpr int kPort = 3;
using Records = std::vector<sim::UploadedRecord>;

// A record of 111 fields: the given ones first, the rest empty.
sim::UploadedRecord Record(std::vector<std::string> fields) {
    fields.resize(sim::uploadedFieldCount);
    return fields;
}

// The program's end of the line, opened through the link in raw mode at `speed`, writing whole texts
// however long the tablet takes to read them.
class Line {
public:
    Line(const std::string& link, speed_t speed = B115200) {
        fd = ::open(link.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK);
        termios raw{};
        tcgetattr(fd, &raw);
        cfmakeraw(&raw);
        cfsetispeed(&raw, speed);
        cfsetospeed(&raw, speed);
        tcsetattr(fd, TCSANOW, &raw);
    }
    ~Line() { ::close(fd); }
    void write(const std::string& bytes) const {
        std::size_t done = 0;
        while (done < bytes.size()) {
            const ssize_t n = ::write(fd, bytes.data() + done, bytes.size() - done);
            if (n > 0) {
                done += std::size_t(n);
                continue;
            }
            pollfd writable{fd, POLLOUT, 0};
            poll(&writable, 1, 100);
        }
    }
    std::string readUntil(std::size_t count, std::chrono::milliseconds limit) const {
        std::string got;
        const auto until = std::chrono::steady_clock::now() + limit;
        while (got.size() < count && std::chrono::steady_clock::now() < until) {
            pollfd readable{fd, POLLIN, 0};
            if (poll(&readable, 1, 20) <= 0) continue;
            char chunk[256];
            const ssize_t n = ::read(fd, chunk, sizeof chunk);
            if (n > 0) got.append(chunk, std::size_t(n));
        }
        return got;
    }
    int fd = -1;
};

std::string ReadFile(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll().toStdString() : "<missing>";
}

} // namespace

class VelmoraSimUploadTest : public QObject {
    Q_OBJECT
private slots:
    void namedFieldsKeepTheirPlaces();
    void numberedFieldsComeInOrderFromField1();
    void recordsFollowOneAnother();
    void loneCrIsText();
    void recordCutShortIsNotStored();
    void recordDataFileLayout();
    void receiverTakesEverythingUpToNul();
    void protocolTakesUploadAsDataNotCommands();
    void tabletKeepsEachUpload();
    void uploadFolderGetsRawAndRecordFiles();
    void missingUploadFolderIsRefused();
    void sevenBitSettingsOfTheUploadEditorAreAccepted();
    void readingAtLineRateTakesTheLinesTime();
    void commandLineOptions();
    void programWritesUploadsToTheFolder();
};

void VelmoraSimUploadTest::namedFieldsKeepTheirPlaces() {
    // Name, SO for Address1, Address2, then SO for the other nine named fields, then the end of the record.
    const std::string stream = "Ann\r\n\x0e"
                               "Flat 2\r\n" +
                               std::string(9, '\x0e') + "\r\n";
    QVERIFY(sim::decodeUpload(stream) == Records{Record({"Ann", "", "Flat 2"})});
}

void VelmoraSimUploadTest::numberedFieldsComeInOrderFromField1() {
    const std::string stream = std::string(12, '\x0e') + "first\r\nsecond\r\n\r\n";
    std::vector<std::string> fields(12);
    fields.push_back("first");
    fields.push_back("second");
    QVERIFY(sim::decodeUpload(stream) == Records{Record(fields)});
}

void VelmoraSimUploadTest::recordsFollowOneAnother() {
    const std::string one = "A\r\n" + std::string(11, '\x0e') + "\r\n";
    const std::string two = "B\r\n" + std::string(11, '\x0e') + "x\r\n\r\n";
    std::vector<std::string> second = {"B"};
    second.resize(12);
    second.push_back("x");
    QVERIFY(sim::decodeUpload(one + two) == (Records{Record({"A"}), Record(second)}));
}

void VelmoraSimUploadTest::loneCrIsText() {
    const std::string stream = "a\rb\r\n" + std::string(11, '\x0e') + "\r\n";
    QVERIFY(sim::decodeUpload(stream) == Records{Record({"a\rb"})});
}

void VelmoraSimUploadTest::recordCutShortIsNotStored() {
    const std::string whole = "A\r\n" + std::string(11, '\x0e') + "\r\n";
    QVERIFY(sim::decodeUpload(whole + "B\r\n\x0e\x0e") == Records{Record({"A"})});
    QVERIFY(sim::decodeUpload("").empty());
}

void VelmoraSimUploadTest::recordDataFileLayout() {
    // 111 field lines, then the empty separator line; every line ends with CR LF.
    std::string expected = "Ann\r\n";
    for (int line = 2; line <= 112; ++line)
        expected += "\r\n";
    QCOMPARE(sim::recordDataFile({Record({"Ann"})}), expected);
    QCOMPARE(sim::recordDataFile({}), std::string());
}

void VelmoraSimUploadTest::receiverTakesEverythingUpToNul() {
    sim::UploadReceiver receiver;
    QVERIFY(!receiver.receiving());
    receiver.start();
    QVERIFY(receiver.receiving());
    const std::string stream = "A\r\n" + std::string(11, '\x0e') + "\r\n";
    for (const char byte : stream)
        QVERIFY(!receiver.take(byte));
    QVERIFY(receiver.take('\0'));
    QVERIFY(!receiver.receiving());
    QCOMPARE(receiver.finished().size(), std::size_t(1));
    QCOMPARE(receiver.finished()[0].raw, stream);
    QVERIFY(receiver.finished()[0].records == Records{Record({"A"})});
}

void VelmoraSimUploadTest::protocolTakesUploadAsDataNotCommands() {
    sim::Protocol protocol;
    // Inside an upload ENQ, a setting's command byte and CR are data: no answer, no setting stored.
    QCOMPARE(protocol.answer(std::string("\x0c\x05\x03value\r\n", 10), {}), std::string());
    QCOMPARE(protocol.answer(std::string(1, '\0'), {}), std::string());
    QCOMPARE(protocol.state().companyName, std::string());
    // After the NUL the tablet answers again.
    QCOMPARE(protocol.answer("\x05", {}), std::string("\x05"));
    QCOMPARE(protocol.uploads().size(), std::size_t(1));
    QCOMPARE(protocol.uploads()[0].raw, std::string("\x05\x03value\r\n"));
}

void VelmoraSimUploadTest::tabletKeepsEachUpload() {
    PortsFolder ports;
    sim::Tablet tablet(ports.path(), kPort);
    Line line(tablet.linkPath());
    const std::string stream = "A\r\n" + std::string(11, '\x0e') + "\r\n";
    line.write("\x0c\x03" + stream + std::string(1, '\0') + "\x05");
    // Answers keep their order: had the tablet taken 0x03 as a command, its echo would come first.
    QCOMPARE(line.readUntil(1, 2s), std::string("\x05"));
    QVERIFY(tablet.waitForUploads(1, 2s));
    line.write("\x0c" + stream + std::string(1, '\0'));
    QVERIFY(tablet.waitForUploads(2, 2s));
    const std::vector<sim::Upload> uploads = tablet.uploads();
    QCOMPARE(uploads.size(), std::size_t(2));
    QCOMPARE(uploads[0].raw, "\x03" + stream);
    QCOMPARE(uploads[1].raw, stream);
    QVERIFY(uploads[1].records == Records{Record({"A"})});
}

void VelmoraSimUploadTest::uploadFolderGetsRawAndRecordFiles() {
    PortsFolder ports;
    QTemporaryDir folder;
    sim::Tablet tablet(ports.path(), kPort);
    tablet.uploadsTo(folder.path().toStdString());
    Line line(tablet.linkPath());
    const std::string stream = "A\r\n" + std::string(11, '\x0e') + "\r\n";
    line.write("\x0c" + stream + std::string(1, '\0') + "\x0c" + stream + stream + std::string(1, '\0'));
    QVERIFY(tablet.waitForUploads(2, 2s));
    QCOMPARE(ReadFile(folder.filePath("COM3-upload-1.raw")), stream);
    QCOMPARE(ReadFile(folder.filePath("COM3-upload-2.raw")), stream + stream);
    const std::string record = sim::recordDataFile({Record({"A"})});
    QCOMPARE(ReadFile(folder.filePath("COM3-upload-1.txt")), record);
    QCOMPARE(ReadFile(folder.filePath("COM3-upload-2.txt")), record + record);
}

void VelmoraSimUploadTest::missingUploadFolderIsRefused() {
    PortsFolder ports;
    sim::Tablet tablet(ports.path(), kPort);
    QVERIFY_THROWS_EXCEPTION(std::runtime_error, tablet.uploadsTo(ports.path() + "/no-such-folder"));
}

void VelmoraSimUploadTest::sevenBitSettingsOfTheUploadEditorAreAccepted() {
    PortsFolder ports;
    sim::Tablet tablet(ports.path(), kPort);
    vb::MSComm port;
    port.setCommPort(kPort);
    port.setSettings("115200,O,7,1");
    port.setPortOpen(true);
    port.Output("\x05");
    QVERIFY(QTest::qWaitFor([&] { return port.InBufferCount() == 1; }, 2000));
    QCOMPARE(port.Input(), std::string("\x05"));
    port.Output(std::string("\x0c"
                            "text\r\n\0",
                            8));
    QVERIFY(tablet.waitForUploads(1, 2s));
    QCOMPARE(tablet.uploads()[0].raw, std::string("text\r\n"));
}

void VelmoraSimUploadTest::readingAtLineRateTakesTheLinesTime() {
    PortsFolder ports;
    sim::Tablet tablet(ports.path(), kPort, {.silent = true});
    tablet.setLineRateReading(true);
    Line line(tablet.linkPath(), B38400); // 38400 baud, 11 bits a byte: 3491 bytes a second
    std::string bytes(8000, '\0');
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = char('a' + i % 26);
    const auto started = std::chrono::steady_clock::now();
    line.write(bytes);
    QVERIFY(tablet.waitForReceived(bytes.size(), 20s));
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
    QVERIFY(tablet.received() == bytes);
    const double lineSeconds = double(bytes.size()) / (38400.0 / 11);
    QVERIFY2(seconds >= 0.9 * lineSeconds, qPrintable(QString::number(seconds)));
    QVERIFY2(seconds <= 3 * lineSeconds, qPrintable(QString::number(seconds)));
}

void VelmoraSimUploadTest::commandLineOptions() {
    const char* argv[] = {"velmora-sim",  "--ports", "/tmp/p",
                          "--upload-dir", "/tmp/u",  "--line-rate-reading"};
    const sim::ParsedCommandLine parsed = sim::parseCommandLine(6, argv, nullptr);
    QCOMPARE(int(parsed.action), int(sim::ParsedCommandLine::Action::Run));
    QCOMPARE(parsed.options.uploadDir.value_or(""), std::string("/tmp/u"));
    QVERIFY(parsed.options.lineRateReading);
    const char* empty[] = {"velmora-sim", "--ports", "/tmp/p", "--upload-dir", ""};
    QCOMPARE(int(sim::parseCommandLine(5, empty, nullptr).action),
             int(sim::ParsedCommandLine::Action::Error));
    const QString help = QString::fromStdString(sim::usageText());
    QVERIFY(help.contains("--upload-dir DIR"));
    QVERIFY(help.contains("--line-rate-reading"));
    QVERIFY(help.contains("0C (FF)"));
}

void VelmoraSimUploadTest::programWritesUploadsToTheFolder() {
    QTemporaryDir ports, uploads;
    QProcess process;
    process.start(VELMORA_SIM_PROGRAM, {"--ports", ports.path(), "--upload-dir", uploads.path()});
    QVERIFY(process.waitForStarted(5000));
    QVERIFY(QTest::qWaitFor([&] { return QFile::exists(ports.filePath("COM3")); }, 5000));
    {
        Line line(ports.filePath("COM3").toStdString());
        line.write(std::string("\x0cZ\r\n\0", 5));
        QVERIFY(QTest::qWaitFor([&] { return QFile::exists(uploads.filePath("COM3-upload-1.txt")); }, 5000));
    }
    QCOMPARE(ReadFile(uploads.filePath("COM3-upload-1.raw")), std::string("Z\r\n"));
    process.terminate();
    QVERIFY(process.waitForFinished(5000));
    QCOMPARE(process.exitCode(), 0);
}

QTEST_GUILESS_MAIN(VelmoraSimUploadTest)
#include "tst_velmora_sim_upload.moc"
