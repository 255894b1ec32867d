#include "app/startup.h"

#include "app/globals.h"
#include "console/console_window.h"
#include "platform/fonts.h"
#include "platform/program_end.h"
#include "platform/vb_text.h"
#include "platform/window_buttons.h"
#include "upload/form1.h"

#include <QCoreApplication>
#include <QPointer>
#include <QStringList>

namespace {
// The console of the running program; a namespace of the console subsystem shares the plain name.
QPointer<frmQuillmaxSerial> runningConsole;

// The program's own options, taken out of the command line before the search reads it; every other
// argument keeps its place and meaning.
struct ProgramOptions {
    bool textUploader = false; // --text-uploader: open the upload text editor Form1 beside the console
};

ProgramOptions TakeProgramOptions(QStringList& arguments) {
    ProgramOptions options;
    options.textUploader = arguments.removeAll(QStringLiteral("--text-uploader")) > 0;
    return options;
}
} // namespace

namespace app {
frmQuillmaxSerial* Console() {
    return runningConsole;
}
} // namespace app

void StartProgram() {
    // A new run of the program: a console left by an earlier run (tests start several) goes first.
    delete runningConsole;
    UnloadTextUploader();
    vb::ResetEnded();
    vb::InstallFontSubstitutes();
    // Enter presses the focused button in every window, and a window's default button elsewhere.
    vb::InstallEnterOnButtons();
    QStringList arguments = QCoreApplication::arguments();
    if (!arguments.isEmpty()) arguments.removeFirst();
    const ProgramOptions options = TakeProgramOptions(arguments);
    // The command line keeps the bytes the user typed: the arguments go back to the local 8-bit encoding
    // they came in, so a path such as "Mü€.vlm" names the same file, whatever the code page of the windows.
    app::SetProgramCommandLine(arguments.join(' ').toLocal8Bit().toStdString());
    runningConsole = new frmQuillmaxSerial();
    runningConsole->show();
    if (options.textUploader) ShowTextUploader();
}
