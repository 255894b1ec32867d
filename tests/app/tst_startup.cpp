// Starting and ending the program: StartProgram shows the console, Exit makes the event loop return 0,
// and the real velmora program starts on the offscreen platform.
#include "app/globals.h"
#include "app/startup.h"
#include "console/console_window.h"
#include "platform/program_end.h"
#include "support/ports_folder.h"
#include "support/program.h"
#include "tablet.h"

#include <QProcess>
#include <QPushButton>
#include <QTimer>

using namespace testing_support;

class StartupTest : public QObject {
    Q_OBJECT
private slots:
    void startProgramShowsTheConsole();
    void startingAgainReplacesTheConsole();
    void exitMakesTheEventLoopReturnZero();
    void exitWithThePortOpenClosesItAndReturnsZero();
    void theProgramStartsOffscreen();
};

void StartupTest::startProgramShowsTheConsole() {
    PortsFolder ports;
    StartProgram();
    frmQuillmaxSerial* console = app::Console();
    QVERIFY(console);
    QVERIFY(console->isVisible());
    QCOMPARE(console->windowTitle(), QString("Lumacor Velmora LT Uploader/Downloader Tool"));
    QVERIFY(app::ProgramCommandLine().empty());
    QVERIFY(!vb::HasEnded());
}

void StartupTest::startingAgainReplacesTheConsole() {
    PortsFolder ports;
    StartProgram();
    QPointer<frmQuillmaxSerial> first = app::Console();
    StartProgram();
    QVERIFY(first.isNull());
    QVERIFY(app::Console()->isVisible());
}

void StartupTest::exitMakesTheEventLoopReturnZero() {
    PortsFolder ports;
    StartProgram();
    QTimer::singleShot(0, [] { app::Console()->cmdCancel->click(); });
    QCOMPARE(QApplication::exec(), 0);
    QVERIFY(vb::HasEnded());
    QVERIFY(!app::Console()->isVisible());
}

void StartupTest::exitWithThePortOpenClosesItAndReturnsZero() {
    PortsFolder ports;
    sim::Tablet tablet(ports.path(), 1);
    StartProgram();
    frmQuillmaxSerial* console = app::Console();
    QTimer::singleShot(0, [console] {
        console->cmdSearch->click();
        console->cmdCancel->click();
    });
    QCOMPARE(QApplication::exec(), 0);
    QCOMPARE(intComPort, short(1));
    QVERIFY(!console->MSComm1.PortOpen());
}

void StartupTest::theProgramStartsOffscreen() {
    PortsFolder ports;
    QProcess program;
    program.setProcessChannelMode(QProcess::MergedChannels);
    program.start(VELMORA_PROGRAM, {});
    QVERIFY(program.waitForStarted(5000));
    // Still running a second later: the console is up and the event loop waits for the user.
    QVERIFY(!program.waitForFinished(1000));
    QCOMPARE(program.state(), QProcess::Running);
    program.terminate();
    QVERIFY(program.waitForFinished(5000));
}

VELMORA_PROGRAM_TEST_MAIN(StartupTest)
#include "tst_startup.moc"
