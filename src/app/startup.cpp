#include "app/startup.h"

#include "app/globals.h"
#include "console/console_window.h"
#include "platform/fonts.h"
#include "platform/program_end.h"
#include "platform/vb_text.h"

#include <QCoreApplication>
#include <QPointer>
#include <QStringList>

namespace {
// The console of the running program; a namespace of the console subsystem shares the plain name.
QPointer<frmQuillmaxSerial> runningConsole;
} // namespace

namespace app {
frmQuillmaxSerial* Console() {
    return runningConsole;
}
} // namespace app

void StartProgram() {
    // A new run of the program: a console left by an earlier run (tests start several) goes first.
    delete runningConsole;
    vb::ResetEnded();
    vb::InstallFontSubstitutes();
    QStringList arguments = QCoreApplication::arguments();
    if (!arguments.isEmpty()) arguments.removeFirst();
    app::SetProgramCommandLine(vb::FromQString(arguments.join(' ')));
    runningConsole = new frmQuillmaxSerial();
    runningConsole->show();
}
