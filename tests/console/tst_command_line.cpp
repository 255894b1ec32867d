// The search's unattended branch, driven by this process's real command line. CTest runs this program
// once per command line (see tests/CMakeLists.txt); each run checks what its command line asks for.
#include "app/globals.h"
#include "console/console_window.h"
#include "platform/program_end.h"
#include "support/modal_answerer.h"
#include "support/ports_folder.h"
#include "support/program.h"
#include "tablet.h"

#include <QAbstractButton>
#include <QDir>
#include <QFileInfo>
#include <QLabel>
#include <QMessageBox>
#include <QProgressBar>
#include <QPushButton>
#include <QTest>

using namespace testing_support;
using namespace std::chrono_literals;

class CommandLineTest : public QObject {
    Q_OBJECT
private slots:
    void init();
    void cleanup();
    void searchFollowsTheCommandLine();

private:
    std::unique_ptr<PortsFolder> ports;
    std::unique_ptr<sim::Tablet> tablet;
};

void CommandLineTest::init() {
    ports = std::make_unique<PortsFolder>();
    tablet = std::make_unique<sim::Tablet>(ports->path(), 1);
}

void CommandLineTest::cleanup() {
    tablet.reset();
    ports.reset();
}

void CommandLineTest::searchFollowsTheCommandLine() {
    const QStringList arguments = QCoreApplication::arguments().mid(1);
    QVERIFY2(!arguments.isEmpty(), "run with a command line, as CTest does");
    const QString commandLine = arguments.join(' ').trimmed();
    // The output file's folder exists and holds no file yet, so a download that wrote would leave one.
    const QString output = commandLine.mid(2).trimmed();
    if (commandLine.size() >= 2) {
        QVERIFY(QDir().mkpath(QFileInfo(output).absolutePath()));
        QFile::remove(output);
    }
    frmQuillmaxSerial* console = StartConsole();
    // The download runs on port 0, since no search has run: opening fails and its trap ends it with
    // no message and nothing written. The reset then shows its port error, and the program ends.
    QStringList ran;
    connect(console, &frmQuillmaxSerial::deviceOperationStarted, this,
            [&ran](const QString& handler) { ran << handler; });
    ModalAnswerer answerer;
    if (commandLine.startsWith("0,"))
        answerer.handle([&ran, &answerer](QWidget* box) {
            ran << "reset's box: " + box->windowTitle() + " / " + qobject_cast<QMessageBox*>(box)->text();
            answerer.boxes << Describe(qobject_cast<QMessageBox*>(box));
            qobject_cast<QMessageBox*>(box)->button(QMessageBox::Ok)->click();
        });
    QTest::mouseClick(console->cmdSearch, Qt::LeftButton);
    QVERIFY2(answerer.unexpected.isEmpty(), qPrintable(answerer.unexpected.join(", ")));
    QCOMPARE(answerer.pending(), 0);

    // No port is probed either way: the unattended branch comes before the search.
    QCOMPARE(tablet->received(), std::string());
    QCOMPARE(intComPort, short(0));
    QVERIFY(console->blnCmdLine);

    if (commandLine.size() < 2) {
        // "x": taking the path from the third character fails; the search ends silently.
        QCOMPARE(ran, QStringList());
        QVERIFY(!vb::HasEnded());
        QVERIFY(console->isVisible());
        QCOMPARE(console->lblConnected->text(), QString());
        QVERIFY(!console->cmdReset->isEnabled());
        QCOMPARE(console->cursor().shape(), Qt::ArrowCursor);
        return;
    }
    QCOMPARE(console->strCmdFile, output.toStdString());
    QVERIFY2(!QFileInfo::exists(output), "the download on port 0 wrote nothing");
    QCOMPARE(console->cursor().shape(), Qt::ArrowCursor);
    QVERIFY(!console->ProgressBar1->isVisible());
    QCOMPARE(console->MSComm1.Settings(), std::string("115200,O,8,1"));
    if (commandLine.startsWith("0,")) {
        QCOMPARE(ran, QStringList({"cmdDownload_Click", "reset's box: ERROR / Invalid Port Number"}));
        QCOMPARE(answerer.boxes[0].icon, QMessageBox::NoIcon);
        QVERIFY(answerer.boxes[0].systemModal);
    } else
        QCOMPARE(ran, QStringList({"cmdDownload_Click"}));
    QVERIFY(vb::HasEnded());
    QVERIFY(!console->isVisible());
    QVERIFY(!console->MSComm1.PortOpen());
}

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    CommandLineTest test;
    // The arguments are the program's command line under test, not test names.
    char* onlyTheProgram[] = {argv[0]};
    return QTest::qExec(&test, 1, onlyTheProgram);
}

#include "tst_command_line.moc"
