// The program's command line keeps the bytes the user typed: an output path with 8-bit characters names
// the same file, whatever code page the windows use for their text.
#include "app/globals.h"
#include "app/startup.h"
#include "support/ports_folder.h"

#include <QApplication>
#include <QTest>

class CommandLineBytesTest : public QObject {
    Q_OBJECT
private slots:
    void aPathWithEightBitCharactersKeepsItsBytes() {
        testing_support::PortsFolder ports;
        StartProgram();
        QCOMPARE(app::ProgramCommandLine(), std::string("1,/tmp/M\xC3\xBC\xE2\x82\xAC.vlm"));
    }
};

// The program is started with the command line "1,/tmp/Mü€.vlm" (UTF-8 bytes, as a shell passes them);
// the test's own arguments go to Qt Test.
int main(int argc, char** argv) {
    char program[] = "velmora";
    char path[] = "1,/tmp/M\xC3\xBC\xE2\x82\xAC.vlm";
    char* programArgv[] = {program, path, nullptr};
    int programArgc = 2;
    QApplication app(programArgc, programArgv);
    CommandLineBytesTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_command_line_bytes.moc"
