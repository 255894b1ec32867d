// The program's own options: --demo, --text-uploader, --help and --version are taken out of the command
// line and everything else reaches the search's unattended download byte for byte; --help and --version
// print and end with no display at all.
#include "app/program_options.h"

#include <QProcess>
#include <QProcessEnvironment>
#include <QTemporaryDir>
#include <QTest>

using app::ProgramOptions;

Q_DECLARE_METATYPE(ProgramOptions)

namespace {

bool Same(const ProgramOptions& a, const ProgramOptions& b) {
    return a.demo == b.demo && a.textUploader == b.textUploader && a.help == b.help && a.version == b.version;
}

QString Describe(const ProgramOptions& o) {
    return QString("demo=%1 textUploader=%2 help=%3 version=%4")
        .arg(o.demo)
        .arg(o.textUploader)
        .arg(o.help)
        .arg(o.version);
}

// Arguments as the application hands them over: each decoded from the local 8-bit encoding.
QStringList Decoded(const QList<QByteArray>& typed) {
    QStringList arguments;
    for (const QByteArray& argument : typed)
        arguments << QString::fromLocal8Bit(argument);
    return arguments;
}

QByteArray Joined(const QList<QByteArray>& typed) {
    QByteArray text;
    for (qsizetype i = 0; i < typed.size(); ++i)
        text += (i ? " " : "") + typed[i];
    return text;
}

// The installed program run with no window system at all: no display, no platform chosen.
struct ProgramRun {
    QByteArray out, err;
    int exitCode = -1;
    QProcess::ExitStatus status = QProcess::CrashExit;
};

ProgramRun RunWithoutDisplay(const QStringList& arguments) {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"})
        environment.remove(name);
    // Should the program look for ports, it finds none of the machine's.
    QTemporaryDir ports;
    environment.insert("VELMORA_PORTS", ports.path());
    QProcess program;
    program.setProcessEnvironment(environment);
    program.start(VELMORA_PROGRAM, arguments);
    ProgramRun run;
    if (!program.waitForFinished(20000)) {
        program.kill();
        program.waitForFinished(5000);
        return run;
    }
    run.out = program.readAllStandardOutput();
    run.err = program.readAllStandardError();
    run.exitCode = program.exitCode();
    run.status = program.exitStatus();
    return run;
}

} // namespace

class ProgramOptionsTest : public QObject {
    Q_OBJECT
private slots:
    void eachOptionIsTakenOut_data();
    void eachOptionIsTakenOut();
    void everyOtherCommandLineIsKept_data();
    void everyOtherCommandLineIsKept();
    void eightBitPathKeepsItsBytes();
    void otherCommandLinesNeedNoAnswer_data();
    void otherCommandLinesNeedNoAnswer();
    void versionPrintsWithNoDisplay();
    void helpPrintsWithNoDisplay_data();
    void helpPrintsWithNoDisplay();
};

void ProgramOptionsTest::eachOptionIsTakenOut_data() {
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<ProgramOptions>("expected");
    QTest::addColumn<QStringList>("left");
    QTest::newRow("--demo") << QStringList{"--demo"} << ProgramOptions{.demo = true} << QStringList{};
    QTest::newRow("--text-uploader") << QStringList{"--text-uploader"} << ProgramOptions{.textUploader = true}
                                     << QStringList{};
    QTest::newRow("--help") << QStringList{"--help"} << ProgramOptions{.help = true} << QStringList{};
    QTest::newRow("--version") << QStringList{"--version"} << ProgramOptions{.version = true}
                               << QStringList{};
    QTest::newRow("demo before a download") << QStringList{"--demo", "1,/tmp/out.vlm"}
                                            << ProgramOptions{.demo = true} << QStringList{"1,/tmp/out.vlm"};
    QTest::newRow("uploader after a download")
        << QStringList{"0,", "/tmp/a b.vlm", "--text-uploader"} << ProgramOptions{.textUploader = true}
        << QStringList{"0,", "/tmp/a b.vlm"};
    QTest::newRow("all four among others")
        << QStringList{"--version", "  1,", "--demo", "/p  ", "--help", "--text-uploader", "--bogus"}
        << ProgramOptions{.demo = true, .textUploader = true, .help = true, .version = true}
        << QStringList{"  1,", "/p  ", "--bogus"};
    QTest::newRow("given twice") << QStringList{"--demo", "x", "--demo"} << ProgramOptions{.demo = true}
                                 << QStringList{"x"};
}

void ProgramOptionsTest::eachOptionIsTakenOut() {
    QFETCH(QStringList, arguments);
    QFETCH(ProgramOptions, expected);
    QFETCH(QStringList, left);
    const ProgramOptions taken = app::TakeProgramOptions(arguments);
    QVERIFY2(Same(taken, expected), qPrintable(Describe(taken)));
    QCOMPARE(arguments, left);
}

// Command lines that hold none of the options exactly: the search reads them as they were typed.
void ProgramOptionsTest::everyOtherCommandLineIsKept_data() {
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("nothing") << QStringList{};
    QTest::newRow("download and reset") << QStringList{"0,/path"};
    QTest::newRow("blanks around") << QStringList{"  1, /p  "};
    QTest::newRow("blanks, several arguments") << QStringList{"", " 0,", "", "/a  b/c.vlm ", ""};
    QTest::newRow("single character") << QStringList{"x"};
    QTest::newRow("short forms") << QStringList{"-h", "-v", "-?"};
    QTest::newRow("unknown option") << QStringList{"--bogus", "--platform", "offscreen"};
    QTest::newRow("option with a value") << QStringList{"--demo=1", "--help=yes"};
    QTest::newRow("other spellings") << QStringList{"--DEMO",  "-demo",   "demo",
                                                    "--demo ", " --help", "--vers"};
    QTest::newRow("inside a path") << QStringList{"1,/tmp/--demo", "0,--version"};
    QTest::newRow("end of options") << QStringList{"--", "1,/p"};
}

void ProgramOptionsTest::everyOtherCommandLineIsKept() {
    QFETCH(QStringList, arguments);
    QStringList taken = arguments;
    const ProgramOptions options = app::TakeProgramOptions(taken);
    QVERIFY2(Same(options, ProgramOptions{}), qPrintable(Describe(options)));
    QCOMPARE(taken, arguments);
    // And the same arguments beside --demo: the demo goes, the rest stays, in its order.
    QStringList withDemo = arguments;
    withDemo.insert(withDemo.size() / 2, "--demo");
    QVERIFY(app::TakeProgramOptions(withDemo).demo);
    QCOMPARE(withDemo, arguments);
    QCOMPARE(app::CommandLineText(withDemo), arguments.join(' ').toStdString());
}

void ProgramOptionsTest::eightBitPathKeepsItsBytes() {
    // "Mü€.vlm" and a Windows-1252 folder name as a UTF-8 shell passes them.
    const QList<QByteArray> typed = {"--text-uploader", "1,/tmp/M\xC3\xBC\xE2\x82\xAC.vlm", "--demo",
                                     "/Caf\xC3\xA9 \xE2\x80\x99n\xE2\x80\x94"};
    QStringList arguments = Decoded(typed);
    const ProgramOptions options = app::TakeProgramOptions(arguments);
    QVERIFY(options.demo && options.textUploader);
    QCOMPARE(QByteArray::fromStdString(app::CommandLineText(arguments)), Joined({typed[1], typed[3]}));
}

// A command line without --help or --version goes on to the windows: nothing is printed, no status given.
void ProgramOptionsTest::otherCommandLinesNeedNoAnswer_data() {
    QTest::addColumn<QList<QByteArray>>("argv");
    QTest::newRow("no arguments") << QList<QByteArray>{"velmora"};
    QTest::newRow("download") << QList<QByteArray>{"velmora", "0,/path"};
    QTest::newRow("single character") << QList<QByteArray>{"velmora", "x"};
    QTest::newRow("unknown options") << QList<QByteArray>{"velmora", "--bogus", "-h", "-v", "--help=1"};
    QTest::newRow("the other options") << QList<QByteArray>{"velmora", "--demo", "--text-uploader", "1,/p"};
}

void ProgramOptionsTest::otherCommandLinesNeedNoAnswer() {
    QFETCH(QList<QByteArray>, argv);
    std::vector<char*> pointers;
    for (QByteArray& argument : argv)
        pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    QVERIFY(!app::AnswerInformationOptions(int(argv.size()), pointers.data()).has_value());
}

void ProgramOptionsTest::versionPrintsWithNoDisplay() {
    const ProgramRun run = RunWithoutDisplay({"--version"});
    QCOMPARE(run.status, QProcess::NormalExit);
    QCOMPARE(run.exitCode, 0);
    QCOMPARE(run.out, QByteArray("velmora " VELMORA_VERSION "\n"));
    QCOMPARE(run.out, QByteArray("velmora 0.1.0\n"));
    QCOMPARE(run.err, QByteArray());
}

void ProgramOptionsTest::helpPrintsWithNoDisplay_data() {
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("alone") << QStringList{"--help"};
    QTest::newRow("among others") << QStringList{"0,/tmp/x.vlm", "--demo", "--help", "--bogus"};
    QTest::newRow("with --version") << QStringList{"--version", "--help"};
}

void ProgramOptionsTest::helpPrintsWithNoDisplay() {
    QFETCH(QStringList, arguments);
    const ProgramRun run = RunWithoutDisplay(arguments);
    QCOMPARE(run.status, QProcess::NormalExit);
    QCOMPARE(run.exitCode, 0);
    QCOMPARE(run.err, QByteArray());
    const QString help = QString::fromLocal8Bit(run.out);
    QCOMPARE(help, app::HelpText().replace(QCoreApplication::arguments().first(), VELMORA_PROGRAM));
    QVERIFY2(help.startsWith("Usage: " VELMORA_PROGRAM " [options] [F,PATH]\n"), qPrintable(help));
    for (const char* option : {"  --demo ", "  --text-uploader ", "  --help ", "  --version "})
        QVERIFY2(help.contains(option), option);
    // The unattended command line: its form, its flag, and that it fails since it runs before the search.
    for (const char* part :
         {"F,PATH", "F = 0 downloads and then resets", "any other character downloads only",
          "It runs before the search has\nprobed any port", "the download\nends without saving",
          "\"Invalid Port Number\"", "VELMORA_PORTS"})
        QVERIFY2(help.contains(part), part);
}

QTEST_GUILESS_MAIN(ProgramOptionsTest)
#include "tst_program_options.moc"
