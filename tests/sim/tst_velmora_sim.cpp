// The emulated tablet, library and program, seen from the far side of its pty as the tool sees it:
// a client opens the COM<n> link, writes, and reads what comes back until a deadline.
#include "protocol.h"
#include "receive_log.h"
#include "support/ports_folder.h"
#include "tablet.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <chrono>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <poll.h>
#include <termios.h>
#include <thread>
#include <unistd.h>

using namespace std::chrono_literals;
namespace fs = std::filesystem;

namespace {

const std::string enq(1, '\x05');

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
            if (n > 0) got.append(buffer, static_cast<std::size_t>(n));
        }
        return got;
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
    void destructorKeepsALinkTakenOver();
    void staleLinkIsReplaced();
    void somethingElseAtTheLinkIsAnError();
    void clientCanCloseAndReopen();

    void programHelp();
    void programRunsPortsUntilTerminated();
    void programDefaultsToATabletOnCom3();
    void programTakesPortsFolderFromEnvironment();
    void programLogsToStdout();
    void programAppliesFaultsToTablets();
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

    const std::string bytes = "\x03"
                              "ABC\r\x12\x0F";
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
    // The one ENQ among them is answered, exactly once.
    QCOMPARE(client.readUntil(1, 2s), enq);
    QCOMPARE(client.readFor(200ms), std::string());
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
    const std::string more = "\xFF\r\x00z";
    QVERIFY(client.send(std::string(more.data(), 4)));
    QVERIFY(tablet.waitForReceived(5, 2s));

    const QString text =
        waitForLine(log, QRegularExpression(QStringLiteral(" 7A$"), QRegularExpression::MultilineOption));
    QVERIFY2(text.startsWith(QStringLiteral("earlier line\n")), qPrintable(text)); // appended, not replaced
    QVERIFY2(QRegularExpression(QStringLiteral("^\\d\\d:\\d\\d:\\d\\d\\.\\d\\d\\d RX 05$"),
                                QRegularExpression::MultilineOption)
                 .match(text)
                 .hasMatch(),
             qPrintable(text));
    QCOMPARE(bytesOfLogLines(text), enq + std::string(more.data(), 4));
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
    QCOMPARE(protocol.answer("\x03\r", {}), std::string());
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

void TestVelmoraSim::programHelp() {
    QProcess process;
    process.start(QStringLiteral(VELMORA_SIM_PROGRAM), {QStringLiteral("--help")});
    QVERIFY(process.waitForFinished(5000));
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), 0);
    const QString help = QString::fromLocal8Bit(process.readAllStandardOutput());
    for (const char* word :
         {"--ports", "VELMORA_PORTS", "--tablet", "--silent", "--reply-text", "--reply-delay", "--log", "COM",
          "RX", "velmora-sim --silent 1 --silent 2 --tablet 3 &"})
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
