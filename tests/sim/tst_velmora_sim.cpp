// The emulated tablet, library and program, seen from the far side of its pty as the tool sees it:
// a client opens the COM<n> link, writes, and reads what comes back until a deadline.
#include "answer_shaping.h"
#include "command_line.h"
#include "protocol.h"
#include "receive_log.h"
#include "state_file.h"
#include "support/ports_folder.h"
#include "tablet.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <cerrno>
#include <chrono>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <poll.h>
#include <sys/stat.h>
#include <termios.h>
#include <thread>
#include <unistd.h>

using namespace std::chrono_literals;
namespace fs = std::filesystem;

namespace {

const std::string enq(1, '\x05');
const std::string eot(1, '\x04');

// The program under test's side of the line: the slave opened through the link, in raw mode.
class Client {
public:
    explicit Client(const std::string& link) {
        fd = open(link.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK);
        if (fd < 0) return;
        termios raw{};
        tcgetattr(fd, &raw);
        cfmakeraw(&raw);
        tcsetattr(fd, TCSANOW, &raw);
    }
    ~Client() { close(); }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    bool isOpen() const { return fd >= 0; }
    void close() {
        if (fd >= 0) ::close(fd);
        fd = -1;
    }

    bool send(const std::string& bytes) {
        return ::write(fd, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size());
    }

    // Everything that arrives until `count` bytes are in or `limit` has passed.
    std::string readUntil(std::size_t count, std::chrono::milliseconds limit) {
        std::string got;
        const auto deadline = std::chrono::steady_clock::now() + limit;
        while (got.size() < count) {
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
                deadline - std::chrono::steady_clock::now());
            if (left <= 0ms) break;
            pollfd p{fd, POLLIN, 0};
            if (poll(&p, 1, static_cast<int>(left.count())) <= 0) continue;
            char buffer[512];
            const ssize_t n = ::read(fd, buffer, sizeof buffer);
            if (n == 0) break; // end of file: the line was hung up
            if (n > 0) got.append(buffer, static_cast<std::size_t>(n));
        }
        return got;
    }

    // Waits for the line to be hung up: poll() reports POLLHUP whatever events are asked for, and asking
    // for none keeps bytes waiting to be read from waking it.
    bool waitForHangUp(std::chrono::milliseconds limit) {
        pollfd p{fd, 0, 0};
        return poll(&p, 1, static_cast<int>(limit.count())) > 0 && (p.revents & POLLHUP);
    }

    // What one read() gives: the byte count, or -1 with errno set.
    ssize_t readOnce() {
        char buffer[512];
        return ::read(fd, buffer, sizeof buffer);
    }

    // Everything that arrives within `period`.
    std::string readFor(std::chrono::milliseconds period) { return readUntil(SIZE_MAX, period); }

private:
    int fd = -1;
};

std::string allByteValues() {
    std::string bytes;
    for (int i = 0; i < 256; ++i)
        bytes += static_cast<char>(i);
    return bytes;
}

// Polls a file until it holds a line matching `pattern`; returns the file's text.
QString waitForLine(const QString& path, const QRegularExpression& pattern) {
    QString text;
    const auto deadline = std::chrono::steady_clock::now() + 3s;
    while (std::chrono::steady_clock::now() < deadline) {
        QFile file(path);
        if (file.open(QIODevice::ReadOnly)) text = QString::fromLatin1(file.readAll());
        if (pattern.match(text).hasMatch()) break;
        std::this_thread::sleep_for(10ms);
    }
    return text;
}

// The bytes named by the hex fields of every "HH:MM:SS.mmm RX .." line, in order.
std::string bytesOfLogLines(const QString& text) {
    std::string bytes;
    static const QRegularExpression line(
        QStringLiteral("^\\d\\d:\\d\\d:\\d\\d\\.\\d\\d\\d RX((?: [0-9A-F]{2})+)$"),
        QRegularExpression::MultilineOption);
    for (auto it = line.globalMatch(text); it.hasNext();) {
        const QStringList fields = it.next().captured(1).split(' ', Qt::SkipEmptyParts);
        for (const QString& field : fields)
            bytes += static_cast<char>(field.toInt(nullptr, 16));
    }
    return bytes;
}

bool isLink(const std::string& path) {
    std::error_code error;
    return fs::is_symlink(fs::symlink_status(path, error));
}

std::string linkTarget(const std::string& path) {
    std::error_code error;
    return fs::read_symlink(path, error).string();
}

// The text of a file, empty when it cannot be read.
std::string fileText(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll().toStdString() : std::string();
}

// Polls a file until its whole text is `expected`; returns the last text read.
std::string waitForFileText(const QString& path, const std::string& expected) {
    std::string text;
    const auto deadline = std::chrono::steady_clock::now() + 3s;
    while ((text = fileText(path)) != expected && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(10ms);
    return text;
}

// The state file's text for a state.
std::string stateText(const std::string& company, const std::string& title, const std::string& password,
                      const std::string& clock, int resets) {
    return "company-name=" + company + "\nmenu-title=" + title + "\npassword=" + password +
           "\nclock=" + clock + "\nresets=" + std::to_string(resets) + "\n";
}

// The setting that a command byte stores, as the tablet's state holds it.
const std::string& settingOf(const sim::TabletState& state, char command) {
    switch (command) {
    case 0x03:
        return state.companyName;
    case 0x09:
        return state.menuTitle;
    case 0x10:
        return state.password;
    default:
        return state.clock;
    }
}

std::chrono::milliseconds since(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start);
}

// The CPU time this process has used so far.
std::chrono::nanoseconds processCpuTime() {
    timespec used{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &used);
    return std::chrono::seconds(used.tv_sec) + std::chrono::nanoseconds(used.tv_nsec);
}

// Reads the program's standard output until `lines` complete lines are in or the deadline passes.
QString readProgramLines(QProcess& process, int lines, QString& collected) {
    const auto deadline = std::chrono::steady_clock::now() + 5s;
    while (collected.count('\n') < lines && std::chrono::steady_clock::now() < deadline) {
        process.waitForReadyRead(100);
        collected += QString::fromLocal8Bit(process.readAllStandardOutput());
    }
    return collected;
}

} // namespace

class TestVelmoraSim : public QObject {
    Q_OBJECT

private slots:
    void enqIsEchoed();
    void eachEnqGetsItsOwnEcho();
    void otherBytesAreKeptButNotAnswered();
    void everyByteValueArrivesUnchanged();
    void clearReceivedStartsAgain();
    void waitForReceivedTimesOut();
    void silentAnswersNothingButLogs();
    void replyTextReplacesTheEcho();
    void replyDelayHoldsTheAnswerBack();
    void faultsChangeWhileRunning();
    void logLinesHaveTimeAndHexBytes();
    void logLineFormat();
    void protocolAnswersEnqWhereverItIs();
    void threeTabletsShareOneFolder();
    void portsFolderIsCreated();
    void destructorRemovesTheLink();
    void linkAppearsOnlyAfterSetUp();
    void destructorKeepsALinkTakenOver();
    void staleLinkIsReplaced();
    void somethingElseAtTheLinkIsAnError();
    void clientCanCloseAndReopen();

    void protocolEchoesCommandBytes_data();
    void protocolEchoesCommandBytes();
    void protocolStoresEachSetting_data();
    void protocolStoresEachSetting();
    void protocolGivesTheSameAnswersSplitOrTogether();
    void protocolKeepsEveryValueByteFromSpaceUp();
    void protocolControlByteAbandonsTheValue_data();
    void protocolControlByteAbandonsTheValue();
    void protocolEotResetsDropsHalfValueKeepsSettings();
    void shapingWithholdsDelaysWrapsAndSplits();
    void stateLinesFormat();

    void settingIsEchoedAndStored_data();
    void settingIsEchoedAndStored();
    void valueArrivingInPiecesIsStored();
    void controlByteAbandonsTheValueOnTheLine();
    void eotIsEchoedAndResetsDroppingHalfValue();
    void waitForStateTimesOut();
    void noEchoWithholdsCommandEchoButTakesTheValue();
    void noEchoOfCrStillStoresTheValue();
    void noEchoOfEotStillResets();
    void echoDelayHoldsBackOneByteOnly();
    void echoDelayOfCrHoldsBackTheValueEcho();
    void answersKeepTheirOrderWhateverTheirDelay();
    void splitGapSendsTwoPiecesTheFirstIncomplete();
    void splitOnlySplitsTheNamedAnswers();
    void wrapSurroundsEveryAnswer();
    void sendPutsBytesOnTheLineEvenWhenSilent();
    void hangUpComesAfterTheAnswerIsRead();
    void hangUpComesEvenIfTheAnswerIsNeverRead();
    void stateFileIsReplacedOnEveryChange();
    void stateFileThatCannotBeWrittenThrows();
    void commandLineReadsFaultOptions();

    void programHelp();
    void programRunsPortsUntilTerminated();
    void programDefaultsToATabletOnCom3();
    void programTakesPortsFolderFromEnvironment();
    void programLogsToStdout();
    void programAppliesFaultsToTablets();
    void programAppliesProtocolFaults();
    void programWritesStateFile();
    void programPrintsStateOnStdout();
    void programRejectsBadArguments_data();
    void programRejectsBadArguments();
};

void TestVelmoraSim::enqIsEchoed() {
    testing_support::PortsFolder ports;
    sim::Tablet tablet(ports.path(), 3);
    QCOMPARE(tablet.linkPath(), ports.port(3));
    QCOMPARE(linkTarget(tablet.linkPath()), tablet.devicePath());

    Client client(tablet.linkPath());
    QVERIFY(client.isOpen());
    QVERIFY(client.send(enq));
    QCOMPARE(client.readUntil(1, 2s), enq);
    QVERIFY(tablet.waitForReceived(1, 2s));
    QCOMPARE(tablet.received(), enq);
}

void TestVelmoraSim::eachEnqGetsItsOwnEcho() {
    testing_support::PortsFolder ports;
    sim::Tablet tablet(ports.path(), 3);
    Client client(tablet.linkPath());
    QVERIFY(client.isOpen());

    QVERIFY(client.send(enq + enq));
    QCOMPARE(client.readUntil(2, 2s), enq + enq);
    QCOMPARE(client.readFor(200ms), std::string()); // and not one more

    QVERIFY(client.send(enq));
    QVERIFY(client.send(enq));
    QCOMPARE(client.readUntil(2, 2s), enq + enq);
    QCOMPARE(client.readFor(200ms), std::string());
}

void TestVelmoraSim::otherBytesAreKeptButNotAnswered() {
    testing_support::PortsFolder ports;
    sim::Tablet tablet(ports.path(), 3);
    Client client(tablet.linkPath());
    QVERIFY(client.isOpen());

    // Neither ENQ, EOT nor a command byte, CR with no value being taken, and SI and DC2 in the
    // order that asks for nothing (DC2 followed by SI asks for the records).
    const std::string bytes("ABC\r\x0F\x12\x0C\x00\x7F\xFF", 10);
    QVERIFY(client.send(bytes));
    QVERIFY(tablet.waitForReceived(bytes.size(), 2s));
    QCOMPARE(tablet.received(), bytes);
    QCOMPARE(client.readFor(300ms), std::string());
}

void TestVelmoraSim::everyByteValueArrivesUnchanged() {
    testing_support::PortsFolder ports;
    sim::Tablet tablet(ports.path(), 3);
    Client client(tablet.linkPath());
    QVERIFY(client.isOpen());

    const std::string bytes = allByteValues();
    QVERIFY(client.send(bytes));
    QVERIFY(tablet.waitForReceived(bytes.size(), 2s));
    QCOMPARE(tablet.received(), bytes);
    // Answered: 03 (then 04 abandons its value and is a reset of its own), 05, 09 (0A abandons its
    // value); then 0C starts an upload, and every byte after it is upload data, answered by nothing.
    QCOMPARE(client.readUntil(4, 2s), std::string("\x03\x04\x05\x09"));
    QCOMPARE(client.readFor(200ms), std::string());
    QCOMPARE(tablet.state(), (sim::TabletState{.resets = 1}));
}

void TestVelmoraSim::clearReceivedStartsAgain() {
    testing_support::PortsFolder ports;
    sim::Tablet tablet(ports.path(), 3);
    Client client(tablet.linkPath());
    QVERIFY(client.isOpen());

    QVERIFY(client.send("AB"));
    QVERIFY(tablet.waitForReceived(2, 2s));
    tablet.clearReceived();
    QCOMPARE(tablet.received(), std::string());
    QVERIFY(client.send("C"));
    QVERIFY(tablet.waitForReceived(1, 2s));
    QCOMPARE(tablet.received(), std::string("C"));
}

void TestVelmoraSim::waitForReceivedTimesOut() {
    testing_support::PortsFolder ports;
    sim::Tablet tablet(ports.path(), 3);
    Client client(tablet.linkPath());
    QVERIFY(client.isOpen());

    QVERIFY(client.send("AB"));
    QVERIFY(tablet.waitForReceived(2, 2s));
    QVERIFY(!tablet.waitForReceived(3, 100ms));
}

void TestVelmoraSim::silentAnswersNothingButLogs() {
    testing_support::PortsFolder ports;
    QTemporaryDir logDir;
    const QString log = logDir.filePath(QStringLiteral("rx.log"));
    sim::Faults faults;
    faults.silent = true;
    sim::Tablet tablet(ports.path(), 1, faults);
    tablet.logTo(log.toStdString());
    Client client(tablet.linkPath());
    QVERIFY(client.isOpen());

    QVERIFY(client.send(enq));
    QCOMPARE(client.readFor(300ms), std::string());
    QVERIFY(tablet.waitForReceived(1, 2s));
    QCOMPARE(tablet.received(), enq);
    const QString text =
        waitForLine(log, QRegularExpression(QStringLiteral(" RX 05$"), QRegularExpression::MultilineOption));
    QCOMPARE(bytesOfLogLines(text), enq);
}

void TestVelmoraSim::replyTextReplacesTheEcho() {
    testing_support::PortsFolder ports;
    sim::Faults faults;
    faults.replyText = "HELLO";
    sim::Tablet tablet(ports.path(), 3, faults);
    Client client(tablet.linkPath());
    QVERIFY(client.isOpen());

    QVERIFY(client.send(enq));
    QCOMPARE(client.readUntil(5, 2s), std::string("HELLO"));
    QVERIFY(client.send(enq + enq));
    QCOMPARE(client.readUntil(10, 2s), std::string("HELLOHELLO"));
    QCOMPARE(client.readFor(200ms), std::string()); // no echo besides the text
}

void TestVelmoraSim::replyDelayHoldsTheAnswerBack() {
    testing_support::PortsFolder ports;
    sim::Faults faults;
    faults.replyDelay = 200ms;
    sim::Tablet tablet(ports.path(), 3, faults);
    Client client(tablet.linkPath());
    QVERIFY(client.isOpen());

    QVERIFY(client.send(enq));
    QCOMPARE(client.readFor(100ms), std::string());
    // Reception goes on while the answer waits.
    QVERIFY(client.send("A"));
    QVERIFY(tablet.waitForReceived(2, 1s));
    QCOMPARE(client.readUntil(1, 1s), enq);
}

void TestVelmoraSim::faultsChangeWhileRunning() {
    testing_support::PortsFolder ports;
    sim::Tablet tablet(ports.path(), 3);
    Client client(tablet.linkPath());
    QVERIFY(client.isOpen());

    sim::Faults silent;
    silent.silent = true;
    tablet.setFaults(silent);
    QVERIFY(client.send(enq));
    QVERIFY(tablet.waitForReceived(1, 2s));
    QCOMPARE(client.readFor(300ms), std::string());

    sim::Faults text;
    text.replyText = "NO";
    tablet.setFaults(text);
    QVERIFY(client.send(enq));
    QCOMPARE(client.readUntil(2, 2s), std::string("NO"));

    tablet.setFaults({});
    QVERIFY(client.send(enq));
    QCOMPARE(client.readUntil(1, 2s), enq);
}

void TestVelmoraSim::logLinesHaveTimeAndHexBytes() {
    testing_support::PortsFolder ports;
    QTemporaryDir logDir;
    const QString log = logDir.filePath(QStringLiteral("rx.log"));
    {
        QFile earlier(log);
        QVERIFY(earlier.open(QIODevice::WriteOnly));
        earlier.write("earlier line\n");
    }
    sim::Tablet tablet(ports.path(), 3);
    tablet.logTo(log.toStdString());
    Client client(tablet.linkPath());
    QVERIFY(client.isOpen());

    QVERIFY(client.send(enq));
    QCOMPARE(client.readUntil(1, 2s), enq);
    const std::string more("\xFF\r\x00z", 4); // sized: the NUL is one of the bytes
    QVERIFY(client.send(more));
    QVERIFY(tablet.waitForReceived(5, 2s));

    const QString text =
        waitForLine(log, QRegularExpression(QStringLiteral(" 7A$"), QRegularExpression::MultilineOption));
    QVERIFY2(text.startsWith(QStringLiteral("earlier line\n")), qPrintable(text)); // appended, not replaced
    QVERIFY2(QRegularExpression(QStringLiteral("^\\d\\d:\\d\\d:\\d\\d\\.\\d\\d\\d RX 05$"),
                                QRegularExpression::MultilineOption)
                 .match(text)
                 .hasMatch(),
             qPrintable(text));
    QCOMPARE(bytesOfLogLines(text), enq + more);
}

void TestVelmoraSim::logLineFormat() {
    std::tm local{};
    local.tm_year = 2024 - 1900;
    local.tm_mon = 5;
    local.tm_mday = 1;
    local.tm_hour = 9;
    local.tm_min = 5;
    local.tm_sec = 7;
    local.tm_isdst = -1;
    const auto when = std::chrono::system_clock::from_time_t(std::mktime(&local)) + 42ms;
    QCOMPARE(sim::receiveLogLine(when, std::string("\x05\xFF\x0D\x00", 4)),
             std::string("09:05:07.042 RX 05 FF 0D 00\n"));
}

void TestVelmoraSim::protocolAnswersEnqWhereverItIs() {
    sim::Protocol protocol;
    QCOMPARE(protocol.answer("a\x05"
                             "b\x05",
                             {}),
             enq + enq);
    QCOMPARE(protocol.answer("\x12\x0F\r", {}), std::string());
    sim::Faults faults;
    faults.replyText = "HELLO";
    QCOMPARE(protocol.answer("\x05x\x05", faults), std::string("HELLOHELLO"));
}

void TestVelmoraSim::threeTabletsShareOneFolder() {
    testing_support::PortsFolder ports;
    sim::Faults silent;
    silent.silent = true;
    sim::Tablet com1(ports.path(), 1, silent);
    sim::Tablet com2(ports.path(), 2, silent);
    sim::Tablet com3(ports.path(), 3);

    QCOMPARE(linkTarget(ports.port(1)), com1.devicePath());
    QCOMPARE(linkTarget(ports.port(2)), com2.devicePath());
    QCOMPARE(linkTarget(ports.port(3)), com3.devicePath());
    QVERIFY(com1.devicePath() != com2.devicePath() && com2.devicePath() != com3.devicePath());

    Client client1(ports.port(1)), client2(ports.port(2)), client3(ports.port(3));
    QVERIFY(client1.isOpen() && client2.isOpen() && client3.isOpen());
    QVERIFY(client1.send(enq));
    QVERIFY(client2.send(enq));
    QVERIFY(client3.send(enq));
    QCOMPARE(client3.readUntil(1, 2s), enq);
    QCOMPARE(client1.readFor(300ms), std::string());
    QCOMPARE(client2.readFor(300ms), std::string());
    QVERIFY(com1.waitForReceived(1, 2s));
    QVERIFY(com2.waitForReceived(1, 2s));
    QCOMPARE(com3.received(), enq);
}

void TestVelmoraSim::portsFolderIsCreated() {
    QTemporaryDir dir;
    const std::string folder = dir.path().toStdString() + "/not/yet/there";
    sim::Tablet tablet(folder, 7);
    QCOMPARE(tablet.linkPath(), folder + "/COM7");
    Client client(tablet.linkPath());
    QVERIFY(client.isOpen());
    QVERIFY(client.send(enq));
    QCOMPARE(client.readUntil(1, 2s), enq);
}

void TestVelmoraSim::destructorRemovesTheLink() {
    testing_support::PortsFolder ports;
    {
        sim::Tablet tablet(ports.path(), 3);
        QVERIFY(isLink(ports.port(3)));
    }
    QVERIFY(!isLink(ports.port(3)));
    QVERIFY(fs::is_empty(ports.path())); // no private names left behind either
}

void TestVelmoraSim::linkAppearsOnlyAfterSetUp() {
    testing_support::PortsFolder ports;
    QTemporaryDir uploads;
    bool linkedDuringSetUp = true;
    sim::Tablet tablet(ports.path(), 3, {}, [&](sim::Tablet& settingUp) {
        linkedDuringSetUp = isLink(ports.port(3));
        settingUp.uploadsTo(uploads.path().toStdString());
    });
    QVERIFY(!linkedDuringSetUp);
    QVERIFY(isLink(ports.port(3)));
    QCOMPARE(tablet.linkPath(), ports.port(3));
}

void TestVelmoraSim::destructorKeepsALinkTakenOver() {
    testing_support::PortsFolder ports;
    auto first = std::make_unique<sim::Tablet>(ports.path(), 3);
    sim::Tablet second(ports.path(), 3);
    QCOMPARE(linkTarget(ports.port(3)), second.devicePath());
    first.reset();
    QCOMPARE(linkTarget(ports.port(3)), second.devicePath());
    Client client(ports.port(3));
    QVERIFY(client.isOpen());
    QVERIFY(client.send(enq));
    QCOMPARE(client.readUntil(1, 2s), enq);
}

void TestVelmoraSim::staleLinkIsReplaced() {
    testing_support::PortsFolder ports;
    fs::create_symlink("/dev/pts/does-not-exist", ports.port(3));
    sim::Tablet tablet(ports.path(), 3);
    QCOMPARE(linkTarget(ports.port(3)), tablet.devicePath());
}

void TestVelmoraSim::somethingElseAtTheLinkIsAnError() {
    testing_support::PortsFolder ports;
    std::ofstream(ports.port(3)) << "not a link\n";
    QVERIFY_THROWS_EXCEPTION(std::runtime_error, sim::Tablet(ports.path(), 3));
    QVERIFY(!isLink(ports.port(3)));
    QVERIFY(fs::is_regular_file(ports.port(3)));
}

void TestVelmoraSim::clientCanCloseAndReopen() {
    testing_support::PortsFolder ports;
    sim::Tablet tablet(ports.path(), 3);
    for (int round = 0; round < 3; ++round) {
        Client client(tablet.linkPath());
        QVERIFY(client.isOpen());
        QVERIFY(client.send(enq));
        QCOMPARE(client.readUntil(1, 2s), enq);
    }
    QCOMPARE(tablet.received(), enq + enq + enq);
}

void TestVelmoraSim::protocolEchoesCommandBytes_data() {
    QTest::addColumn<char>("command");
    QTest::newRow("ENQ 05") << '\x05';
    QTest::newRow("company name 03") << '\x03';
    QTest::newRow("menu title 09") << '\x09';
    QTest::newRow("password 10") << '\x10';
    QTest::newRow("date and time 14") << '\x14';
    QTest::newRow("reset 04") << '\x04';
}

void TestVelmoraSim::protocolEchoesCommandBytes() {
    QFETCH(char, command);
    sim::Protocol protocol;
    QCOMPARE(protocol.take(command, {}), std::string(1, command));
    QCOMPARE(protocol.take(command, {}), std::string(1, command)); // and again, as often as it comes
}

void TestVelmoraSim::protocolStoresEachSetting_data() {
    QTest::addColumn<char>("command");
    QTest::addColumn<QByteArray>("value");
    QTest::newRow("company name") << '\x03' << QByteArray("ACME Corp.");
    QTest::newRow("menu title") << '\x09' << QByteArray("Main  Menu");
    QTest::newRow("password") << '\x10' << QByteArray("1234567890");
    QTest::newRow("date and time") << '\x14' << QByteArray("2/15/12/9:5");
}

void TestVelmoraSim::protocolStoresEachSetting() {
    QFETCH(char, command);
    QFETCH(QByteArray, value);
    sim::Protocol protocol;
    QCOMPARE(protocol.take(command, {}), std::string(1, command));
    QCOMPARE(protocol.answer(value.toStdString(), {}), std::string()); // nothing until CR
    QCOMPARE(protocol.state(), sim::TabletState{});
    QCOMPARE(protocol.take('\r', {}), value.toStdString() + "\r");

    // That setting holds the value, the others and the reset count are untouched.
    sim::TabletState expected;
    const_cast<std::string&>(settingOf(expected, command)) = value.toStdString();
    QCOMPARE(protocol.state(), expected);
    QCOMPARE(protocol.changeCount(), 1ul);
    // The value is taken once: a second CR is a byte of its own, with no answer.
    QCOMPARE(protocol.take('\r', {}), std::string());
    QCOMPARE(protocol.state(), expected);

    // An empty value is a value too.
    QCOMPARE(protocol.answer(std::string(1, command) + "\r", {}), std::string(1, command) + "\r");
    QCOMPARE(settingOf(protocol.state(), command), std::string());
}

void TestVelmoraSim::protocolGivesTheSameAnswersSplitOrTogether() {
    const std::string stream = "\x05\x03"
                               "ACME\r\x05\x14"
                               "11/3/26/18:15\r\x04";
    const std::string answers = "\x05\x03"
                                "ACME\r\x05\x14"
                                "11/3/26/18:15\r\x04";
    sim::Protocol together;
    QCOMPARE(together.answer(stream, {}), answers);

    sim::Protocol byteByByte;
    std::string answered;
    for (const char byte : stream)
        answered += byteByByte.take(byte, {});
    QCOMPARE(answered, answers);
    QCOMPARE(byteByByte.state(), together.state());

    // "AC" then "ME\r": the value answers only when it is whole.
    sim::Protocol pieces;
    QCOMPARE(pieces.answer("\x03", {}), std::string("\x03"));
    QCOMPARE(pieces.answer("AC", {}), std::string());
    QCOMPARE(pieces.answer("ME\r", {}), std::string("ACME\r"));
    QCOMPARE(pieces.state().companyName, std::string("ACME"));
    QCOMPARE(together.state(),
             (sim::TabletState{.companyName = "ACME", .clock = "11/3/26/18:15", .resets = 1}));
}

void TestVelmoraSim::protocolKeepsEveryValueByteFromSpaceUp() {
    std::string value;
    for (int byte = 0x20; byte < 0x100; ++byte)
        value += static_cast<char>(byte);
    sim::Protocol protocol;
    QCOMPARE(protocol.answer("\x09" + value + "\r", {}), "\x09" + value + "\r");
    QCOMPARE(protocol.state().menuTitle, value);
}

void TestVelmoraSim::protocolControlByteAbandonsTheValue_data() {
    QTest::addColumn<char>("control");
    QTest::addColumn<QByteArray>("controlAnswer"); // what the control byte gets as a byte of its own
    QTest::newRow("NUL") << '\x00' << QByteArray();
    QTest::newRow("LF") << '\n' << QByteArray();
    QTest::newRow("DC2") << '\x12' << QByteArray();
    QTest::newRow("ESC") << '\x1B' << QByteArray();
    QTest::newRow("ENQ") << '\x05' << QByteArray("\x05");
    QTest::newRow("another command") << '\x10' << QByteArray("\x10");
}

void TestVelmoraSim::protocolControlByteAbandonsTheValue() {
    QFETCH(char, control);
    QFETCH(QByteArray, controlAnswer);
    sim::Protocol protocol;
    QCOMPARE(protocol.answer("\x03HALF", {}), std::string("\x03"));
    QCOMPARE(protocol.take(control, {}), controlAnswer.toStdString());
    // The rest of the abandoned value and its CR: stored as the new command's value when the control
    // byte was a command, otherwise taken without an answer and stored nowhere.
    const std::string rest = protocol.answer("REST\r", {});
    if (control == '\x10') {
        QCOMPARE(rest, std::string("REST\r"));
        QCOMPARE(protocol.state(), (sim::TabletState{.password = "REST"}));
    } else {
        QCOMPARE(rest, std::string());
        QCOMPARE(protocol.state(), sim::TabletState{});
        QCOMPARE(protocol.changeCount(), 0ul);
    }
    // The next command is not poisoned by the one cut short.
    QCOMPARE(protocol.answer("\x03OK\r", {}), std::string("\x03OK\r"));
    QCOMPARE(protocol.state().companyName, std::string("OK"));
}

void TestVelmoraSim::protocolEotResetsDropsHalfValueKeepsSettings() {
    sim::Protocol protocol;
    QCOMPARE(protocol.answer("\x10"
                             "1234\r",
                             {}),
             std::string("\x10"
                         "1234\r"));
    QCOMPARE(protocol.answer("\x10"
                             "99",
                             {}),
             std::string("\x10"));
    QCOMPARE(protocol.take('\x04', {}), eot);
    QCOMPARE(protocol.state(), (sim::TabletState{.password = "1234", .resets = 1}));
    QCOMPARE(protocol.answer("88\r", {}), std::string()); // the half value is gone, not continued
    QCOMPARE(protocol.state(), (sim::TabletState{.password = "1234", .resets = 1}));
    QCOMPARE(protocol.answer(eot + eot, {}), eot + eot);
    QCOMPARE(protocol.state().resets, 3);
}

void TestVelmoraSim::shapingWithholdsDelaysWrapsAndSplits() {
    using Pieces = std::vector<sim::AnswerPiece>;
    auto same = [](const Pieces& got, const Pieces& expected) {
        if (got.size() != expected.size()) return false;
        for (std::size_t i = 0; i < got.size(); ++i)
            if (got[i].after != expected[i].after || got[i].bytes != expected[i].bytes) return false;
        return true;
    };

    QVERIFY(same(sim::shapeAnswer('\x05', enq, {}), {{0ms, enq}}));
    QVERIFY(same(sim::shapeAnswer('A', "", {}), {}));
    QVERIFY(same(sim::shapeAnswer('\x05', enq, {.silent = true}), {}));
    QVERIFY(same(sim::shapeAnswer('\x05', enq, {.noEcho = "\x03\x05"}), {}));
    QVERIFY(same(sim::shapeAnswer('\r', "AB\r", {.noEcho = "\x03\x05"}), {{0ms, "AB\r"}}));

    const sim::Faults late{.replyDelay = 100ms, .echoDelay = {{'\x04', 250ms}}};
    QVERIFY(same(sim::shapeAnswer('\x04', eot, late), {{350ms, eot}}));
    QVERIFY(same(sim::shapeAnswer('\x05', enq, late), {{100ms, enq}}));

    const sim::Faults split{.splitGap = 40ms};
    QVERIFY(same(sim::shapeAnswer('\x05', enq, split), {{0ms, "?"}, {40ms, enq}}));
    QVERIFY(same(sim::shapeAnswer('\r', "ACME\r", split), {{0ms, "AC"}, {40ms, "ME\r"}}));
    QVERIFY(same(sim::shapeAnswer('\r', "AB\r", split), {{0ms, "A"}, {40ms, "B\r"}}));

    const sim::Faults splitCr{.splitGap = 40ms, .splitOnly = "\r"};
    QVERIFY(same(sim::shapeAnswer('\x05', enq, splitCr), {{0ms, enq}}));
    QVERIFY(same(sim::shapeAnswer('\r', "AB\r", splitCr), {{0ms, "A"}, {40ms, "B\r"}}));

    QVERIFY(same(sim::shapeAnswer('\x05', enq, {.wrapBefore = "<<", .wrapAfter = ">"}), {{0ms, "<<\x05>"}}));
    // Wrapped first, then split: the halves are of the wrapped text.
    QVERIFY(
        same(sim::shapeAnswer('\x05', enq,
                              {.replyDelay = 10ms, .splitGap = 40ms, .wrapBefore = "<<", .wrapAfter = ">"}),
             {{10ms, "<<"}, {50ms, "\x05>"}}));
}

void TestVelmoraSim::stateLinesFormat() {
    QCOMPARE(sim::stateLines({.companyName = "ACME",
                              .menuTitle = "Main",
                              .password = "12",
                              .clock = "2/15/12/9:5",
                              .resets = 3}),
             stateText("ACME", "Main", "12", "2/15/12/9:5", 3));
    QCOMPARE(sim::stateLines({}), std::string("company-name=\nmenu-title=\npassword=\nclock=\nresets=0\n"));
}

void TestVelmoraSim::settingIsEchoedAndStored_data() {
    protocolStoresEachSetting_data();
}

void TestVelmoraSim::settingIsEchoedAndStored() {
    QFETCH(char, command);
    QFETCH(QByteArray, value);
    testing_support::PortsFolder ports;
    sim::Tablet tablet(ports.path(), 3);
    Client client(tablet.linkPath());
    QVERIFY(client.isOpen());

    QVERIFY(client.send(enq));
    QCOMPARE(client.readUntil(1, 2s), enq);
    QVERIFY(client.send(std::string(1, command)));
    QCOMPARE(client.readUntil(1, 2s), std::string(1, command));
    QVERIFY(client.send(value.toStdString() + "\r"));
    QCOMPARE(client.readUntil(value.size() + 1, 2s), value.toStdString() + "\r");
    QCOMPARE(client.readFor(100ms), std::string());
    QVERIFY(tablet.waitForState(
        [&](const sim::TabletState& state) { return !settingOf(state, command).empty(); }, 2s));
    sim::TabletState expected;
    const_cast<std::string&>(settingOf(expected, command)) = value.toStdString();
    QCOMPARE(tablet.state(), expected);
}

void TestVelmoraSim::valueArrivingInPiecesIsStored() {
    testing_support::PortsFolder ports;
    sim::Tablet tablet(ports.path(), 3);
    Client client(tablet.linkPath());
    QVERIFY(client.isOpen());

    QVERIFY(client.send("\x03"));
    QCOMPARE(client.readUntil(1, 2s), std::string("\x03"));
    QVERIFY(client.send("AC"));
    QVERIFY(tablet.waitForReceived(3, 2s));
    QCOMPARE(client.readFor(150ms), std::string()); // half a value has no answer
    QCOMPARE(tablet.state(), sim::TabletState{});
    QVERIFY(client.send("ME\r"));
    QCOMPARE(client.readUntil(5, 2s), std::string("ACME\r"));
    QVERIFY(tablet.waitForReceived(6, 2s));
    QCOMPARE(tablet.state(), (sim::TabletState{.companyName = "ACME"}));
}

void TestVelmoraSim::controlByteAbandonsTheValueOnTheLine() {
    testing_support::PortsFolder ports;
    sim::Tablet tablet(ports.path(), 3);
    Client client(tablet.linkPath());
    QVERIFY(client.isOpen());

    QVERIFY(client.send("\x09Half"));
    QCOMPARE(client.readUntil(1, 2s), std::string("\x09"));
    QVERIFY(client.send(enq)); // abandons the title, answered as an ENQ of its own
    QCOMPARE(client.readUntil(1, 2s), enq);
    QVERIFY(client.send("Rest\r"));
    QVERIFY(tablet.waitForReceived(11, 2s));
    QCOMPARE(client.readFor(200ms), std::string());
    QCOMPARE(tablet.state(), sim::TabletState{});
    // The next command goes through whole.
    QVERIFY(client.send("\x09Main\r"));
    QCOMPARE(client.readUntil(6, 2s), std::string("\x09Main\r"));
    QVERIFY(tablet.waitForReceived(17, 2s));
    QCOMPARE(tablet.state(), (sim::TabletState{.menuTitle = "Main"}));
}

void TestVelmoraSim::eotIsEchoedAndResetsDroppingHalfValue() {
    testing_support::PortsFolder ports;
    sim::Tablet tablet(ports.path(), 3);
    Client client(tablet.linkPath());
    QVERIFY(client.isOpen());

    QVERIFY(client.send("\x03"
                        "ACME\r"));
    QCOMPARE(client.readUntil(6, 2s), std::string("\x03"
                                                  "ACME\r"));
    QVERIFY(client.send("\x03Other"));
    QCOMPARE(client.readUntil(1, 2s), std::string("\x03"));
    QVERIFY(client.send(eot));
    QCOMPARE(client.readUntil(1, 2s), eot);
    QVERIFY(tablet.waitForState([](const sim::TabletState& state) { return state.resets == 1; }, 2s));
    QVERIFY(client.send("Name\r")); // after the reset this is no value
    QVERIFY(tablet.waitForReceived(18, 2s));
    QCOMPARE(client.readFor(200ms), std::string());
    QCOMPARE(tablet.state(), (sim::TabletState{.companyName = "ACME", .resets = 1}));
}

void TestVelmoraSim::waitForStateTimesOut() {
    testing_support::PortsFolder ports;
    sim::Tablet tablet(ports.path(), 3);
    QVERIFY(tablet.waitForState([](const sim::TabletState& state) { return state.resets == 0; }, 0ms));
    QVERIFY(!tablet.waitForState([](const sim::TabletState& state) { return state.resets == 1; }, 100ms));
}

void TestVelmoraSim::noEchoWithholdsCommandEchoButTakesTheValue() {
    testing_support::PortsFolder ports;
    sim::Tablet tablet(ports.path(), 3, {.noEcho = "\x03"});
    Client client(tablet.linkPath());
    QVERIFY(client.isOpen());

    QVERIFY(client.send(enq)); // other bytes are still echoed
    QCOMPARE(client.readUntil(1, 2s), enq);
    QVERIFY(client.send("\x03"));
    QVERIFY(tablet.waitForReceived(2, 2s));
    QCOMPARE(client.readFor(300ms), std::string());
    QVERIFY(client.send("ACME\r"));
    QCOMPARE(client.readUntil(5, 2s), std::string("ACME\r"));
    QVERIFY(
        tablet.waitForState([](const sim::TabletState& state) { return !state.companyName.empty(); }, 2s));
    QCOMPARE(tablet.state(), (sim::TabletState{.companyName = "ACME"}));
}

void TestVelmoraSim::noEchoOfCrStillStoresTheValue() {
    testing_support::PortsFolder ports;
    sim::Tablet tablet(ports.path(), 3, {.noEcho = "\r"});
    Client client(tablet.linkPath());
    QVERIFY(client.isOpen());

    QVERIFY(client.send("\x14"
                        "2/15/12/9:5\r"));
    QCOMPARE(client.readUntil(1, 2s), std::string("\x14"));
    QVERIFY(tablet.waitForReceived(13, 2s));
    QCOMPARE(client.readFor(300ms), std::string());
    QCOMPARE(tablet.state(), (sim::TabletState{.clock = "2/15/12/9:5"}));
}

void TestVelmoraSim::noEchoOfEotStillResets() {
    testing_support::PortsFolder ports;
    sim::Tablet tablet(ports.path(), 3, {.noEcho = "\x04"});
    Client client(tablet.linkPath());
    QVERIFY(client.isOpen());

    QVERIFY(client.send(eot));
    QVERIFY(tablet.waitForState([](const sim::TabletState& state) { return state.resets == 1; }, 2s));
    QCOMPARE(client.readFor(300ms), std::string());
}

void TestVelmoraSim::echoDelayHoldsBackOneByteOnly() {
    testing_support::PortsFolder ports;
    sim::Tablet tablet(ports.path(), 3, {.echoDelay = {{'\x04', 1200ms}}});
    Client client(tablet.linkPath());
    QVERIFY(client.isOpen());

    QVERIFY(client.send(enq));
    QCOMPARE(client.readUntil(1, 700ms), enq); // prompt: the delay is not on ENQ

    const auto sent = std::chrono::steady_clock::now();
    QVERIFY(client.send(eot));
    QCOMPARE(client.readUntil(1, 5s), eot);
    const auto waited = since(sent);
    QVERIFY2(waited >= 1200ms, qPrintable(QString::number(waited.count())));
}

void TestVelmoraSim::echoDelayOfCrHoldsBackTheValueEcho() {
    testing_support::PortsFolder ports;
    sim::Tablet tablet(ports.path(), 3, {.echoDelay = {{'\r', 800ms}}});
    Client client(tablet.linkPath());
    QVERIFY(client.isOpen());

    QVERIFY(client.send("\x10"));
    QCOMPARE(client.readUntil(1, 500ms), std::string("\x10"));
    const auto sent = std::chrono::steady_clock::now();
    QVERIFY(client.send("1234\r"));
    QCOMPARE(client.readUntil(5, 5s), std::string("1234\r"));
    const auto waited = since(sent);
    QVERIFY2(waited >= 800ms, qPrintable(QString::number(waited.count())));
}

void TestVelmoraSim::answersKeepTheirOrderWhateverTheirDelay() {
    testing_support::PortsFolder ports;
    sim::Tablet tablet(ports.path(), 3, {.echoDelay = {{'\x05', 600ms}}});
    Client client(tablet.linkPath());
    QVERIFY(client.isOpen());

    // The EOT echo is due at once but waits behind the late ENQ echo.
    const auto sent = std::chrono::steady_clock::now();
    QVERIFY(client.send(enq + eot));
    QCOMPARE(client.readUntil(2, 5s), enq + eot);
    const auto waited = since(sent);
    QVERIFY2(waited >= 600ms, qPrintable(QString::number(waited.count())));
}

void TestVelmoraSim::splitGapSendsTwoPiecesTheFirstIncomplete() {
    testing_support::PortsFolder ports;
    sim::Tablet tablet(ports.path(), 3, {.splitGap = 700ms});
    Client client(tablet.linkPath());
    QVERIFY(client.isOpen());

    // One-byte answer: a stand-in byte first, the echo a gap later.
    auto sent = std::chrono::steady_clock::now();
    QVERIFY(client.send(enq));
    QCOMPARE(client.readUntil(1, 2s), std::string("?")); // alone: read long before the gap ends
    QCOMPARE(client.readUntil(1, 5s), enq);
    auto waited = since(sent);
    QVERIFY2(waited >= 700ms, qPrintable(QString::number(waited.count())));

    tablet.setFaults({});
    QVERIFY(client.send("\x03"));
    QCOMPARE(client.readUntil(1, 2s), std::string("\x03"));
    tablet.setFaults({.splitGap = 700ms});
    sent = std::chrono::steady_clock::now();
    QVERIFY(client.send("ACME\r"));
    QCOMPARE(client.readUntil(1, 2s), std::string("AC"));
    QCOMPARE(client.readUntil(3, 5s), std::string("ME\r"));
    waited = since(sent);
    QVERIFY2(waited >= 700ms, qPrintable(QString::number(waited.count())));
    QCOMPARE(tablet.state(), (sim::TabletState{.companyName = "ACME"}));
}

void TestVelmoraSim::splitOnlySplitsTheNamedAnswers() {
    testing_support::PortsFolder ports;
    sim::Tablet tablet(ports.path(), 3, {.splitGap = 700ms, .splitOnly = "\r"});
    Client client(tablet.linkPath());
    QVERIFY(client.isOpen());

    QVERIFY(client.send(enq));
    QCOMPARE(client.readUntil(1, 2s), enq); // whole, no stand-in first
    QVERIFY(client.send("\x09"));
    QCOMPARE(client.readUntil(1, 2s), std::string("\x09"));
    const auto sent = std::chrono::steady_clock::now();
    QVERIFY(client.send("Main\r"));
    QCOMPARE(client.readUntil(1, 2s), std::string("Ma"));
    QCOMPARE(client.readUntil(3, 5s), std::string("in\r"));
    const auto waited = since(sent);
    QVERIFY2(waited >= 700ms, qPrintable(QString::number(waited.count())));
}

void TestVelmoraSim::wrapSurroundsEveryAnswer() {
    testing_support::PortsFolder ports;
    sim::Tablet tablet(ports.path(), 3, {.wrapBefore = "<<", .wrapAfter = ">"});
    Client client(tablet.linkPath());
    QVERIFY(client.isOpen());

    QVERIFY(client.send(enq));
    QCOMPARE(client.readUntil(4, 2s), std::string("<<\x05>"));
    QVERIFY(client.send("\x14"));
    QCOMPARE(client.readUntil(4, 2s), std::string("<<\x14>"));
    QVERIFY(client.send("11/3/26/18:15\r"));
    QCOMPARE(client.readUntil(17, 2s), std::string("<<11/3/26/18:15\r>"));
    QVERIFY(client.send("A")); // no answer: nothing to wrap either
    QCOMPARE(client.readFor(200ms), std::string());
    QCOMPARE(tablet.state(), (sim::TabletState{.clock = "11/3/26/18:15"}));
}

void TestVelmoraSim::sendPutsBytesOnTheLineEvenWhenSilent() {
    testing_support::PortsFolder ports;
    sim::Tablet tablet(ports.path(), 3, {.silent = true, .wrapBefore = "<"});
    Client client(tablet.linkPath());
    QVERIFY(client.isOpen());

    QVERIFY(client.send(enq));
    QVERIFY(tablet.waitForReceived(1, 2s));
    QCOMPARE(client.readFor(200ms), std::string());
    tablet.send(enq + "late");
    QCOMPARE(client.readUntil(5, 2s), enq + "late"); // as given: not wrapped either
    QCOMPARE(tablet.received(), enq);                // and not taken as received
}

void TestVelmoraSim::hangUpComesAfterTheAnswerIsRead() {
    testing_support::PortsFolder ports;
    sim::Tablet tablet(ports.path(), 3, {.hangUpOn = '\x04'});
    Client client(tablet.linkPath()), second(tablet.linkPath());
    QVERIFY(client.isOpen() && second.isOpen());

    QVERIFY(client.send(enq)); // not the byte: the line stays up
    QCOMPARE(client.readUntil(1, 2s), enq);
    QVERIFY(second.send("A"));

    QVERIFY(client.send(eot));
    std::this_thread::sleep_for(300ms); // a slow reader still gets the answer before the hang-up
    QCOMPARE(client.readUntil(1, 2s), eot);
    QVERIFY(client.waitForHangUp(3s));

    // Both descriptors stay valid but hung up: end of file on read, EIO on write.
    QCOMPARE(client.readOnce(), ssize_t(0));
    errno = 0;
    QVERIFY(!second.send("B"));
    QCOMPARE(errno, EIO);
    QCOMPARE(tablet.received(), enq + "A" + eot);
    QVERIFY(tablet.waitForState([](const sim::TabletState& state) { return state.resets == 1; }, 1s));
    // The link stays, but the pty device is gone: the port cannot be opened again.
    QVERIFY(isLink(tablet.linkPath()));
    QVERIFY(!fs::exists(tablet.devicePath()));
    QVERIFY(!Client(tablet.linkPath()).isOpen());

    // The hung-up tablet does not spin: its thread uses next to no CPU while the test sleeps.
    const auto cpuBefore = processCpuTime();
    std::this_thread::sleep_for(1s);
    const auto cpuUsed = std::chrono::duration_cast<std::chrono::milliseconds>(processCpuTime() - cpuBefore);
    QVERIFY2(cpuUsed < 200ms, qPrintable(QString::number(cpuUsed.count())));
}

void TestVelmoraSim::hangUpComesEvenIfTheAnswerIsNeverRead() {
    testing_support::PortsFolder ports;
    sim::Tablet tablet(ports.path(), 3, {.hangUpOn = '\x05'});
    Client client(tablet.linkPath());
    QVERIFY(client.isOpen());

    QVERIFY(client.send(enq));
    QVERIFY(client.waitForHangUp(5s));
    QCOMPARE(client.readFor(100ms), std::string()); // the unread echo went with the line
    errno = 0;
    QVERIFY(!client.send(enq));
    QCOMPARE(errno, EIO);
}

void TestVelmoraSim::stateFileIsReplacedOnEveryChange() {
    testing_support::PortsFolder ports;
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("state.txt"));
    sim::Tablet tablet(ports.path(), 3);
    tablet.stateTo(path.toStdString());
    QCOMPARE(fileText(path), stateText("", "", "", "", 0)); // written at once
    struct stat before {};
    QCOMPARE(stat(path.toLocal8Bit().constData(), &before), 0);

    Client client(tablet.linkPath());
    QVERIFY(client.isOpen());
    const std::string commands = "\x03"
                                 "ACME\r\x14"
                                 "1/2/26/3:4\r\x10"
                                 "12\x04";
    QVERIFY(client.send(commands));
    QVERIFY(tablet.waitForReceived(commands.size(), 2s));
    // The file is written before the bytes count as received.
    QCOMPARE(fileText(path), stateText("ACME", "", "", "1/2/26/3:4", 1));
    struct stat after {};
    QCOMPARE(stat(path.toLocal8Bit().constData(), &after), 0);
    QVERIFY(after.st_ino != before.st_ino); // replaced by a rename, not rewritten in place
    QCOMPARE(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden),
             QStringList{QStringLiteral("state.txt")});

    tablet.stateTo(""); // stopped: later changes leave the file alone
    QVERIFY(client.send(eot));
    QVERIFY(tablet.waitForState([](const sim::TabletState& state) { return state.resets == 2; }, 2s));
    QCOMPARE(fileText(path), stateText("ACME", "", "", "1/2/26/3:4", 1));
}

void TestVelmoraSim::stateFileThatCannotBeWrittenThrows() {
    testing_support::PortsFolder ports;
    QTemporaryDir dir;
    sim::Tablet tablet(ports.path(), 3);
    QVERIFY_THROWS_EXCEPTION(
        std::runtime_error,
        tablet.stateTo(dir.filePath(QStringLiteral("no/such/folder/state")).toStdString()));
}

void TestVelmoraSim::commandLineReadsFaultOptions() {
    const char* const argv[] = {
        "velmora-sim",  "--ports", "/tmp/p",       "--no-echo", "3,0x0D",        "--no-echo=a",
        "--echo-delay", "04:250",  "--echo-delay", "0d:30",     "--split-reply", "40",
        "--wrap",       "<,>,",    "--hang-up-on", "14",        "--state",       "-"};
    const sim::ParsedCommandLine parsed = sim::parseCommandLine(std::size(argv), argv, nullptr);
    QVERIFY2(parsed.action == sim::ParsedCommandLine::Action::Run, parsed.error.c_str());
    const sim::Faults& faults = parsed.options.faults;
    QCOMPARE(faults.noEcho, std::string("\x03\r\n"));
    QCOMPARE(faults.echoDelay.size(), std::size_t(2));
    QCOMPARE(faults.echoDelay.at('\x04'), 250ms);
    QCOMPARE(faults.echoDelay.at('\r'), 30ms);
    QCOMPARE(faults.splitGap, 40ms);
    QCOMPARE(faults.wrapBefore, std::string("<"));
    QCOMPARE(faults.wrapAfter, std::string(">,"));
    QVERIFY(faults.hangUpOn == '\x14');
    QCOMPARE(parsed.options.state, std::optional<std::string>("-"));
    QCOMPARE(parsed.options.tablets, std::vector<int>{3});

    // Without them, no fault at all.
    const char* const plain[] = {"velmora-sim", "--ports", "/tmp/p"};
    const sim::ParsedCommandLine none = sim::parseCommandLine(std::size(plain), plain, nullptr);
    QVERIFY(none.action == sim::ParsedCommandLine::Action::Run);
    QVERIFY(none.options.faults.noEcho.empty() && none.options.faults.echoDelay.empty());
    QCOMPARE(none.options.faults.splitGap, 0ms);
    QVERIFY(!none.options.faults.hangUpOn && !none.options.state);
}

void TestVelmoraSim::programHelp() {
    QProcess process;
    process.start(QStringLiteral(VELMORA_SIM_PROGRAM), {QStringLiteral("--help")});
    QVERIFY(process.waitForFinished(5000));
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), 0);
    const QString help = QString::fromLocal8Bit(process.readAllStandardOutput());
    for (const char* word : {"--ports",
                             "VELMORA_PORTS",
                             "--tablet",
                             "--silent",
                             "--reply-text",
                             "--reply-delay",
                             "--log",
                             "COM",
                             "RX",
                             "velmora-sim --silent 1 --silent 2 --tablet 3 &",
                             "--no-echo HEX[,HEX...]",
                             "--echo-delay HEX:MS",
                             "--split-reply MS",
                             "--wrap BEFORE,AFTER",
                             "--hang-up-on HEX",
                             "--state FILE|-",
                             "--help",
                             "company-name=",
                             "menu-title=",
                             "password=",
                             "clock=",
                             "resets=",
                             "state:"})
        QVERIFY2(help.contains(QLatin1String(word)), word);
}

void TestVelmoraSim::programRunsPortsUntilTerminated() {
    QTemporaryDir dir;
    const QString folder = dir.filePath(QStringLiteral("ports"));
    QProcess process;
    process.start(QStringLiteral(VELMORA_SIM_PROGRAM),
                  {QStringLiteral("--ports"), folder, QStringLiteral("--silent"), QStringLiteral("1"),
                   QStringLiteral("--tablet"), QStringLiteral("3")});
    QVERIFY(process.waitForStarted(5000));
    QString out;
    readProgramLines(process, 2, out);
    const auto match =
        QRegularExpression(QStringLiteral("^COM1 -> (/dev/pts/\\d+)\nCOM3 -> (/dev/pts/\\d+)\n$")).match(out);
    QVERIFY2(match.hasMatch(), qPrintable(out));
    const std::string com1 = (folder + QStringLiteral("/COM1")).toStdString();
    const std::string com3 = (folder + QStringLiteral("/COM3")).toStdString();
    QCOMPARE(QString::fromStdString(linkTarget(com1)), match.captured(1));
    QCOMPARE(QString::fromStdString(linkTarget(com3)), match.captured(2));

    {
        Client tablet(com3), silent(com1);
        QVERIFY(tablet.isOpen() && silent.isOpen());
        QVERIFY(tablet.send(enq));
        QVERIFY(silent.send(enq));
        QCOMPARE(tablet.readUntil(1, 2s), enq);
        QCOMPARE(silent.readFor(300ms), std::string());
    }

    process.terminate();
    QVERIFY(process.waitForFinished(5000));
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), 0);
    QVERIFY(!isLink(com1));
    QVERIFY(!isLink(com3));
}

void TestVelmoraSim::programDefaultsToATabletOnCom3() {
    QTemporaryDir dir;
    QProcess process;
    process.start(QStringLiteral(VELMORA_SIM_PROGRAM), {QStringLiteral("--ports"), dir.path()});
    QVERIFY(process.waitForStarted(5000));
    QString out;
    readProgramLines(process, 1, out);
    QVERIFY2(QRegularExpression(QStringLiteral("^COM3 -> /dev/pts/\\d+\n$")).match(out).hasMatch(),
             qPrintable(out));
    {
        Client client(dir.filePath(QStringLiteral("COM3")).toStdString());
        QVERIFY(client.isOpen());
        QVERIFY(client.send(enq));
        QCOMPARE(client.readUntil(1, 2s), enq);
    }
    process.terminate();
    QVERIFY(process.waitForFinished(5000));
    QCOMPARE(process.exitCode(), 0);
}

void TestVelmoraSim::programTakesPortsFolderFromEnvironment() {
    testing_support::PortsFolder ports; // sets VELMORA_PORTS, which the child inherits
    QProcess process;
    process.start(QStringLiteral(VELMORA_SIM_PROGRAM), {QStringLiteral("--tablet"), QStringLiteral("5")});
    QVERIFY(process.waitForStarted(5000));
    QString out;
    readProgramLines(process, 1, out);
    QVERIFY2(out.startsWith(QStringLiteral("COM5 -> /dev/pts/")), qPrintable(out));
    QVERIFY(isLink(ports.port(5)));
    process.terminate();
    QVERIFY(process.waitForFinished(5000));
    QCOMPARE(process.exitCode(), 0);
    QVERIFY(!isLink(ports.port(5)));
}

void TestVelmoraSim::programLogsToStdout() {
    QTemporaryDir dir;
    QProcess process;
    process.start(QStringLiteral(VELMORA_SIM_PROGRAM),
                  {QStringLiteral("--ports"), dir.path(), QStringLiteral("--log"), QStringLiteral("-")});
    QVERIFY(process.waitForStarted(5000));
    QString out;
    readProgramLines(process, 1, out);
    Client client(dir.filePath(QStringLiteral("COM3")).toStdString());
    QVERIFY(client.isOpen());
    QVERIFY(client.send(enq));
    QCOMPARE(client.readUntil(1, 2s), enq);
    readProgramLines(process, 2, out);
    QVERIFY2(QRegularExpression(
                 QStringLiteral("^COM3 -> /dev/pts/\\d+\n\\d\\d:\\d\\d:\\d\\d\\.\\d\\d\\d RX 05\n$"))
                 .match(out)
                 .hasMatch(),
             qPrintable(out));
    process.terminate();
    QVERIFY(process.waitForFinished(5000));
    QCOMPARE(process.exitCode(), 0);
}

void TestVelmoraSim::programAppliesFaultsToTablets() {
    QTemporaryDir dir;
    QProcess process;
    process.start(QStringLiteral(VELMORA_SIM_PROGRAM),
                  {QStringLiteral("--ports"), dir.path(), QStringLiteral("--tablet"), QStringLiteral("3"),
                   QStringLiteral("--reply-text"), QStringLiteral("HELLO"), QStringLiteral("--reply-delay"),
                   QStringLiteral("200")});
    QVERIFY(process.waitForStarted(5000));
    QString out;
    readProgramLines(process, 1, out);
    {
        Client client(dir.filePath(QStringLiteral("COM3")).toStdString());
        QVERIFY(client.isOpen());
        QVERIFY(client.send(enq));
        QCOMPARE(client.readFor(100ms), std::string());
        QCOMPARE(client.readUntil(5, 2s), std::string("HELLO"));
    }
    process.terminate();
    QVERIFY(process.waitForFinished(5000));
    QCOMPARE(process.exitCode(), 0);
}

void TestVelmoraSim::programAppliesProtocolFaults() {
    QTemporaryDir dir;
    QProcess process;
    process.start(QStringLiteral(VELMORA_SIM_PROGRAM),
                  {QStringLiteral("--ports"), dir.path(), QStringLiteral("--wrap"), QStringLiteral("[,]"),
                   QStringLiteral("--no-echo"), QStringLiteral("03"), QStringLiteral("--echo-delay"),
                   QStringLiteral("0D:400"), QStringLiteral("--split-reply"), QStringLiteral("0"),
                   QStringLiteral("--hang-up-on"), QStringLiteral("0x04")});
    QVERIFY(process.waitForStarted(5000));
    QString out;
    readProgramLines(process, 1, out);
    {
        Client client(dir.filePath(QStringLiteral("COM3")).toStdString());
        QVERIFY(client.isOpen());
        QVERIFY(client.send(enq));
        QCOMPARE(client.readUntil(3, 2s), std::string("[\x05]"));
        QVERIFY(client.send("\x03"));
        QCOMPARE(client.readFor(300ms), std::string());
        const auto sent = std::chrono::steady_clock::now();
        QVERIFY(client.send("AB\r"));
        QCOMPARE(client.readUntil(5, 5s), std::string("[AB\r]"));
        QVERIFY(since(sent) >= 400ms);
        QVERIFY(client.send(eot));
        QCOMPARE(client.readUntil(3, 2s), std::string("[\x04]"));
        QVERIFY(client.waitForHangUp(3s));
    }
    process.terminate();
    QVERIFY(process.waitForFinished(5000));
    QCOMPARE(process.exitCode(), 0);
}

void TestVelmoraSim::programWritesStateFile() {
    QTemporaryDir dir;
    const QString ports = dir.filePath(QStringLiteral("ports"));
    const QString state = dir.filePath(QStringLiteral("state.txt"));
    QProcess process;
    process.start(QStringLiteral(VELMORA_SIM_PROGRAM),
                  {QStringLiteral("--ports"), ports, QStringLiteral("--state"), state});
    QVERIFY(process.waitForStarted(5000));
    QString out;
    readProgramLines(process, 1, out);
    QCOMPARE(waitForFileText(state, stateText("", "", "", "", 0)), stateText("", "", "", "", 0));
    {
        Client client((ports + QStringLiteral("/COM3")).toStdString());
        QVERIFY(client.isOpen());
        QVERIFY(client.send("\x09Main Menu\r\x10"
                            "1234\r"));
        QCOMPARE(client.readUntil(17, 2s), std::string("\x09Main Menu\r\x10"
                                                       "1234\r"));
        const std::string expected = stateText("", "Main Menu", "1234", "", 0);
        QCOMPARE(waitForFileText(state, expected), expected);
    }
    process.terminate();
    QVERIFY(process.waitForFinished(5000));
    QCOMPARE(process.exitCode(), 0);
    QCOMPARE(QString::fromLocal8Bit(process.readAllStandardOutput()),
             QString()); // the state is not on stdout
}

void TestVelmoraSim::programPrintsStateOnStdout() {
    QTemporaryDir dir;
    QProcess process;
    process.start(QStringLiteral(VELMORA_SIM_PROGRAM),
                  {QStringLiteral("--ports"), dir.path(), QStringLiteral("--state"), QStringLiteral("-")});
    QVERIFY(process.waitForStarted(5000));
    QString out;
    readProgramLines(process, 7, out);
    {
        Client client(dir.filePath(QStringLiteral("COM3")).toStdString());
        QVERIFY(client.isOpen());
        QVERIFY(client.send("\x03"
                            "ACME\r"));
        QCOMPARE(client.readUntil(6, 2s), std::string("\x03"
                                                      "ACME\r"));
        readProgramLines(process, 13, out);
    }
    const QString expected =
        QStringLiteral("state:\n") + QString::fromStdString(stateText("", "", "", "", 0)) +
        QStringLiteral("state:\n") + QString::fromStdString(stateText("ACME", "", "", "", 0));
    QVERIFY2(QRegularExpression(QStringLiteral("^COM3 -> /dev/pts/\\d+\n")).match(out).hasMatch(),
             qPrintable(out));
    QCOMPARE(out.mid(out.indexOf('\n') + 1), expected);
    process.terminate();
    QVERIFY(process.waitForFinished(5000));
    QCOMPARE(process.exitCode(), 0);
}

void TestVelmoraSim::programRejectsBadArguments_data() {
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<bool>("portsInEnvironment");
    QTest::addColumn<QString>("message");
    QTest::newRow("unknown option") << QStringList{QStringLiteral("--bogus")} << true << "--bogus";
    QTest::newRow("stray argument") << QStringList{QStringLiteral("3")} << true << "unexpected argument";
    QTest::newRow("missing value") << QStringList{QStringLiteral("--tablet")} << true << "--tablet";
    QTest::newRow("port not a number")
        << QStringList{QStringLiteral("--tablet"), QStringLiteral("x")} << true << "--tablet";
    QTest::newRow("port zero") << QStringList{QStringLiteral("--silent"), QStringLiteral("0")} << true
                               << "--silent";
    QTest::newRow("port twice") << QStringList{QStringLiteral("--tablet"), QStringLiteral("3"),
                                               QStringLiteral("--silent=3")}
                                << true << "COM3";
    QTest::newRow("negative delay") << QStringList{QStringLiteral("--reply-delay"), QStringLiteral("-5")}
                                    << true << "--reply-delay";
    QTest::newRow("no ports folder") << QStringList{} << false << "VELMORA_PORTS";
    QTest::newRow("no-echo not hex") << QStringList{QStringLiteral("--no-echo"), QStringLiteral("zz")} << true
                                     << "--no-echo needs bytes in hex from 00 to FF, not \"zz\"";
    QTest::newRow("no-echo past FF") << QStringList{QStringLiteral("--no-echo"), QStringLiteral("05,100")}
                                     << true << "\"100\"";
    QTest::newRow("no-echo empty item")
        << QStringList{QStringLiteral("--no-echo=05,")} << true << "--no-echo";
    QTest::newRow("echo-delay no colon") << QStringList{QStringLiteral("--echo-delay"), QStringLiteral("05")}
                                         << true << "--echo-delay needs HEX:MS";
    QTest::newRow("echo-delay bad byte") << QStringList{QStringLiteral("--echo-delay"), QStringLiteral("G:5")}
                                         << true << "--echo-delay needs bytes in hex";
    QTest::newRow("echo-delay bad time")
        << QStringList{QStringLiteral("--echo-delay"), QStringLiteral("0D:-1")} << true
        << "--echo-delay needs milliseconds";
    QTest::newRow("split-reply not a number")
        << QStringList{QStringLiteral("--split-reply"), QStringLiteral("soon")} << true << "--split-reply";
    QTest::newRow("wrap without comma")
        << QStringList{QStringLiteral("--wrap"), QStringLiteral("<>")} << true << "--wrap needs BEFORE,AFTER";
    QTest::newRow("hang-up-on not hex")
        << QStringList{QStringLiteral("--hang-up-on"), QStringLiteral("-4")} << true << "--hang-up-on";
    QTest::newRow("hang-up-on missing")
        << QStringList{QStringLiteral("--hang-up-on")} << true << "--hang-up-on needs a value";
    QTest::newRow("state empty") << QStringList{QStringLiteral("--state=")} << true << "--state";
    QTest::newRow("state for two tablets")
        << QStringList{QStringLiteral("--tablet"), QStringLiteral("3"),       QStringLiteral("--tablet"),
                       QStringLiteral("4"),        QStringLiteral("--state"), QStringLiteral("-")}
        << true << "exactly one --tablet";
}

void TestVelmoraSim::programRejectsBadArguments() {
    QFETCH(QStringList, arguments);
    QFETCH(bool, portsInEnvironment);
    QFETCH(QString, message);
    QTemporaryDir dir;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    if (portsInEnvironment)
        environment.insert(QStringLiteral("VELMORA_PORTS"), dir.path());
    else
        environment.remove(QStringLiteral("VELMORA_PORTS"));
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(QStringLiteral(VELMORA_SIM_PROGRAM), arguments);
    QVERIFY(process.waitForFinished(5000));
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), 2);
    const QString error = QString::fromLocal8Bit(process.readAllStandardError());
    QVERIFY2(error.contains(message), qPrintable(error));
    QVERIFY(process.readAllStandardOutput().isEmpty());
    QVERIFY(QDir(dir.path()).isEmpty()); // nothing was linked
}

QTEST_GUILESS_MAIN(TestVelmoraSim)
#include "tst_velmora_sim.moc"
