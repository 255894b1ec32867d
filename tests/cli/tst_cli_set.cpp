// velmora-cli set against emulated tablets: each setting's bytes on the line and what the tablet stored,
// the values the console's value entry dialog would refuse, and every failure's exit status and message.
#include "cli/cli_run.h"
#include "platform/clock.h"
#include "platform/lock_file.h"
#include "platform/mscomm.h"
#include "settings/date_time_text.h"
#include "support/ports_folder.h"
#include "tablet.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace cli_testing;
using namespace std::chrono_literals;
using testing_support::PortsFolder;

namespace {

constexpr int kPort = 3;

// The setting a `set` item stores on the tablet.
std::string Stored(const sim::TabletState& state, const QString& item) {
    if (item == "company") return state.companyName;
    if (item == "title") return state.menuTitle;
    if (item == "password") return state.password;
    return state.clock;
}

// A failure is one line on standard error: "velmora-cli set: COM3 (...): <what>".
void VerifyPortFailure(const CliRun& run, int status, const QString& what) {
    QCOMPARE(run.status, status);
    QVERIFY2(run.err.startsWith("velmora-cli set: COM3"), qPrintable(run.err));
    QVERIFY2(run.err.endsWith(": " + what + "\n"), qPrintable(run.err));
    QCOMPARE(run.err.count('\n'), 1);
    QCOMPARE(run.out, QString());
}

} // namespace

class CliSetTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();
    void setsATextSetting_data();
    void setsATextSetting();
    void findsTheTabletWithoutAPortGiven();
    void valueIsSentInTheTabletsCodePage();
    void setsTheClockToTheTimeGiven();
    void setsTheClockToTheComputersClock();
    void echoInPiecesAndLateStillCounts();
    void refusesWhatTheConsoleWouldNotSend_data();
    void refusesWhatTheConsoleWouldNotSend();
    void noTabletIsNotFound();
    void portWithoutADeviceIsNotFound();
    void silentTabletGivesNoAnswer();
    void withheldEchoNamesTheStage_data();
    void withheldEchoNamesTheStage();
    void portHeldByAnotherProgramIsBusy();
    void portWithALiveLockFileIsBusy();
    void lineThatHangsUpIsAFailureNamingThePort();

private:
    QTemporaryDir lockFolder;
    std::unique_ptr<PortsFolder> ports;
    std::unique_ptr<sim::Tablet> tablet;
};

void CliSetTest::initTestCase() {
    QVERIFY(lockFolder.isValid());
    qputenv("VELMORA_LOCK_DIR", lockFolder.path().toLocal8Bit());
}

void CliSetTest::init() {
    ports = std::make_unique<PortsFolder>();
    tablet = std::make_unique<sim::Tablet>(ports->path(), kPort);
}

void CliSetTest::cleanup() {
    tablet.reset();
    ports.reset();
}

void CliSetTest::setsATextSetting_data() {
    QTest::addColumn<QString>("item");
    QTest::addColumn<QString>("value");
    QTest::addColumn<QString>("stored");
    QTest::addColumn<QString>("what");
    QTest::addColumn<QByteArray>("sent");
    QTest::newRow("company name") << "company"
                                  << "ACME Corp"
                                  << "ACME Corp"
                                  << "company name"
                                  << QByteArray("\x05\x03"
                                                "ACME Corp\r");
    QTest::newRow("company name of 30 characters, blanks trimmed")
        << "company"
        << "  ABCDEFGHIJKLMNOPQRSTUVWXYZ1234  "
        << "ABCDEFGHIJKLMNOPQRSTUVWXYZ1234"
        << "company name"
        << QByteArray("\x05\x03"
                      "ABCDEFGHIJKLMNOPQRSTUVWXYZ1234\r");
    QTest::newRow("menu title") << "title"
                                << "Main Menu"
                                << "Main Menu"
                                << "menu title"
                                << QByteArray("\x05\x09"
                                              "Main Menu\r");
    QTest::newRow("password of 10 digits") << "password"
                                           << "0123456789"
                                           << "0123456789"
                                           << "password"
                                           << QByteArray("\x05\x10"
                                                         "0123456789\r");
}

void CliSetTest::setsATextSetting() {
    QFETCH(QString, item);
    QFETCH(QString, value);
    QFETCH(QString, stored);
    QFETCH(QString, what);
    QFETCH(QByteArray, sent);
    const CliRun run = RunCli({"set", item, value, "--port", "3"});
    QCOMPARE(run.err, QString()); // no progress or other noise when standard error is not a terminal
    QCOMPARE(run.status, 0);
    QCOMPARE(run.out, "COM3: " + what + " set to \"" + stored + "\"\n");
    QCOMPARE(QString::fromStdString(Stored(tablet->state(), item)), stored);
    QCOMPARE(QByteArray::fromStdString(tablet->received()), sent);
}

void CliSetTest::findsTheTabletWithoutAPortGiven() {
    // Ports 1 and 2 have no device: the search goes on to the tablet on COM3.
    const CliRun run = RunCli({"set", "title", "Night shift"});
    QCOMPARE(run.status, 0);
    QCOMPARE(run.out, QString("COM3: menu title set to \"Night shift\"\n"));
    QCOMPARE(tablet->state().menuTitle, std::string("Night shift"));
}

void CliSetTest::valueIsSentInTheTabletsCodePage() {
    const CliRun run = RunCli({"set", "company", QString::fromUtf8("Café €"), "--port", "3"});
    QCOMPARE(run.status, 0);
    QCOMPARE(tablet->state().companyName, std::string("Caf\xE9 \x80"));
    QCOMPARE(run.out, QString::fromUtf8("COM3: company name set to \"Café €\"\n"));
}

void CliSetTest::setsTheClockToTheTimeGiven() {
    const CliRun run = RunCli({"set", "clock", "2026-11-03T18:05", "--port", "3"});
    QCOMPARE(run.status, 0);
    QCOMPARE(run.out, QString("COM3: date and time set to \"11/3/26/18:5\"\n"));
    QCOMPARE(tablet->state().clock, std::string("11/3/26/18:5"));
    QCOMPARE(tablet->received(), std::string("\x05\x14"
                                             "11/3/26/18:5\r"));

    // Seconds are taken and dropped; midnight is "0:0".
    QCOMPARE(RunCli({"set", "clock", "2005-02-15T00:00:59", "--port", "3"}).status, 0);
    QCOMPARE(tablet->state().clock, std::string("2/15/05/0:0"));
}

void CliSetTest::setsTheClockToTheComputersClock() {
    // The run may cross a minute: the stamp is the computer's time at one moment of it.
    const std::string before = settings::DateTimeText();
    const CliRun run = RunCli({"set", "clock", "--port", "3"});
    const std::string after = settings::DateTimeText();
    QCOMPARE(run.status, 0);
    const std::string clock = tablet->state().clock;
    QVERIFY2(clock == before || clock == after, clock.c_str());
    QCOMPARE(run.out, "COM3: date and time set to \"" + QString::fromStdString(clock) + "\"\n");
}

void CliSetTest::echoInPiecesAndLateStillCounts() {
    // Every echo comes late and in two pieces; the command keeps reading until each is whole.
    tablet->setFaults({.replyDelay = 100ms, .splitGap = 150ms});
    const CliRun run = RunCli({"set", "password", "4711", "--port", "3", "--timeout", "3"});
    QCOMPARE(run.status, 0);
    QCOMPARE(tablet->state().password, std::string("4711"));
}

void CliSetTest::refusesWhatTheConsoleWouldNotSend_data() {
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("message");
    const QString dialogNoValue = "Please enter a value to upload, or choose Cancel to exit.";
    const QString dialogNotNumeric = "Please enter a numeric value to upload, or choose Cancel to exit.";
    QTest::newRow("unknown setting") << QStringList{"set", "colour", "red"}
                                     << "unknown setting 'colour' (company, title, password or clock)";
    QTest::newRow("no setting") << QStringList{"set"} << "missing argument (see --help)";
    QTest::newRow("no value") << QStringList{"set", "company"} << "no value given for the company name";
    QTest::newRow("blank value") << QStringList{"set", "title", "   "}
                                 << "menu title '   ': " + dialogNoValue;
    QTest::newRow("company name of 31 characters")
        << QStringList{"set", "company", "ABCDEFGHIJKLMNOPQRSTUVWXYZ12345"}
        << "company name 'ABCDEFGHIJKLMNOPQRSTUVWXYZ12345': is longer than 30 characters";
    QTest::newRow("menu title of 31 characters")
        << QStringList{"set", "title", QString(31, 'x')}
        << "menu title '" + QString(31, 'x') + "': is longer than 30 characters";
    QTest::newRow("password of 11 digits") << QStringList{"set", "password", "01234567890"}
                                           << "password '01234567890': is longer than 10 characters";
    QTest::newRow("password not digits")
        << QStringList{"set", "password", "12a4"} << "password '12a4': " + dialogNotNumeric;
    QTest::newRow("password with a sign")
        << QStringList{"set", "password", "--", "-12"} << "password '-12': " + dialogNotNumeric;
    QTest::newRow("control character")
        << QStringList{"set", "company", "A\tB"} << "company name 'A\tB': holds a control character";
    QTest::newRow("outside the code page")
        << QStringList{"set", "company", QString::fromUtf8("Łódź")}
        << QString::fromUtf8("company name 'Łódź': holds a character the tablet's code page (Windows-1252) "
                             "does not have");
    QTest::newRow("two values") << QStringList{"set", "company", "ACME", "Corp"}
                                << "unexpected argument 'Corp' (a value with blanks is given in quotes)";
    QTest::newRow("clock: month 13") << QStringList{"set", "clock", "2026-13-01T10:00"}
                                     << "'2026-13-01T10:00' is not a date and time such as 2026-11-23T18:05 "
                                        "(ISO 8601, local time)";
    QTest::newRow("clock: no time") << QStringList{"set", "clock", "2026-11-23"}
                                    << "'2026-11-23' is not a date and time such as 2026-11-23T18:05 "
                                       "(ISO 8601, local time)";
    QTest::newRow("clock: words") << QStringList{"set", "clock", "tomorrow"}
                                  << "'tomorrow' is not a date and time such as 2026-11-23T18:05 "
                                     "(ISO 8601, local time)";
    QTest::newRow("clock: a blank for the T") << QStringList{"set", "clock", "2026-11-23 18:05"}
                                              << "'2026-11-23 18:05' is not a date and time such as "
                                                 "2026-11-23T18:05 (ISO 8601, local time)";
    QTest::newRow("port 41") << QStringList{"set", "company", "ACME", "--port", "41"}
                             << "--port: '41' is not a port number from 1 to 40";
    QTest::newRow("unknown option") << QStringList{"set", "company", "ACME", "--colour"}
                                    << "Unknown option 'colour'.";
}

void CliSetTest::refusesWhatTheConsoleWouldNotSend() {
    QFETCH(QStringList, arguments);
    QFETCH(QString, message);
    const CliRun run = RunCli(arguments);
    QCOMPARE(run.status, 2);
    QCOMPARE(run.err, "velmora-cli set: " + message + "\n");
    QCOMPARE(run.out, QString());
    // Refused before the port is touched.
    QCOMPARE(tablet->received(), std::string());
}

void CliSetTest::noTabletIsNotFound() {
    tablet.reset();
    const CliRun run = RunCli({"set", "company", "ACME"});
    QCOMPARE(run.status, 3);
    QVERIFY2(run.err.startsWith("velmora-cli set: no Velmora LT answered on ports 1 to 40"),
             qPrintable(run.err));
    QCOMPARE(run.err.count('\n'), 1);
}

void CliSetTest::portWithoutADeviceIsNotFound() {
    const CliRun run = RunCli({"set", "company", "ACME", "--port", "4"});
    QCOMPARE(run.status, 3);
    QVERIFY2(run.err.startsWith("velmora-cli set: COM4: "), qPrintable(run.err));
    QCOMPARE(run.err.count('\n'), 1);
}

void CliSetTest::silentTabletGivesNoAnswer() {
    tablet->setFaults({.silent = true});
    const CliRun run = RunCli({"set", "company", "ACME", "--port", "3", "--timeout", "0.3"});
    VerifyPortFailure(run, 4, "no answer to ENQ");
    QVERIFY(tablet->waitForReceived(1, 5s));
    QCOMPARE(tablet->received(), std::string("\x05"));
}

void CliSetTest::withheldEchoNamesTheStage_data() {
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("withheld");
    QTest::addColumn<QString>("what");
    QTest::newRow("company name command") << QStringList{"set", "company", "ACME"} << "\x03"
                                          << "no echo of the company name command (0x03)";
    QTest::newRow("company name") << QStringList{"set", "company", "ACME"} << "\r"
                                  << "no echo of the company name";
    QTest::newRow("menu title command") << QStringList{"set", "title", "Menu"} << "\x09"
                                        << "no echo of the menu title command (0x09)";
    QTest::newRow("password") << QStringList{"set", "password", "12"} << "\r"
                              << "no echo of the password";
    QTest::newRow("date and time command") << QStringList{"set", "clock"} << "\x14"
                                           << "no echo of the date and time command (0x14)";
    QTest::newRow("date and time") << QStringList{"set", "clock", "2026-01-02T03:04"} << "\r"
                                   << "no echo of the date and time";
}

void CliSetTest::withheldEchoNamesTheStage() {
    QFETCH(QStringList, arguments);
    QFETCH(QString, withheld);
    QFETCH(QString, what);
    tablet->setFaults({.noEcho = withheld.toStdString()});
    // Time enough for the echoes that do come on a busy machine; the withheld one ends the run after it.
    const CliRun run = RunCli(arguments + QStringList{"--port", "3", "--timeout", "1"});
    VerifyPortFailure(run, 4, what);
}

void CliSetTest::portHeldByAnotherProgramIsBusy() {
    vb::MSComm holder;
    holder.setCommPort(kPort);
    holder.setPortOpen(true);
    const CliRun run = RunCli({"set", "company", "ACME", "--port", "3"});
    QCOMPARE(run.status, 5);
    QVERIFY2(run.err.startsWith("velmora-cli set: COM3: Port already open"), qPrintable(run.err));
    QCOMPARE(tablet->received(), std::string());
}

void CliSetTest::portWithALiveLockFileIsBusy() {
    const QString lockFile = QString::fromStdString(vb::LockFileFor(tablet->devicePath()));
    QFile lock(lockFile);
    QVERIFY(lock.open(QIODevice::WriteOnly));
    lock.write("         1\n"); // the init process, alive as long as the machine runs
    lock.close();
    const CliRun run = RunCli({"set", "company", "ACME", "--port", "3"});
    QFile::remove(lockFile);
    QCOMPARE(run.status, 5);
    QVERIFY2(run.err.contains("is locked by process 1"), qPrintable(run.err));
    QCOMPARE(tablet->received(), std::string());
}

void CliSetTest::lineThatHangsUpIsAFailureNamingThePort() {
    // The tablet echoes the command byte and hangs up once it has been read: whether the value still
    // goes out before the line is down or not, the value's echo never comes.
    tablet->setFaults({.hangUpOn = '\x03'});
    const CliRun run = RunCli({"set", "company", "ACME", "--port", "3"});
    QCOMPARE(run.status, 1);
    QVERIFY2(run.err.startsWith("velmora-cli set: COM3 ("), qPrintable(run.err));
    QVERIFY2(run.err.endsWith(" the company name\n"), qPrintable(run.err));
    QVERIFY2(run.err.contains("): the line hung up "), qPrintable(run.err));
    QCOMPARE(run.err.count('\n'), 1);
    QCOMPARE(run.out, QString());
}

QTEST_GUILESS_MAIN(CliSetTest)
#include "tst_cli_set.moc"
