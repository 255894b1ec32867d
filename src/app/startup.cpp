#include "app/startup.h"

#include "app/demo_tablet.h"
#include "app/globals.h"
#include "app/program_options.h"
#include "console/console_window.h"
#include "platform/fonts.h"
#include "platform/program_end.h"
#include "platform/vb_text.h"
#include "platform/window_buttons.h"
#include "upload/form1.h"

#include <QCoreApplication>
#include <QPointer>
#include <QStringList>
#include <QTimer>
#include <cstdio>
#include <memory>
#include <stdexcept>

namespace {
// The console of the running program; a namespace of the console subsystem shares the plain name.
QPointer<frmQuillmaxSerial> runningConsole;
// The demo's emulated tablet and ports folder, while a run started with --demo lasts.
std::unique_ptr<app::DemoTablet> runningDemo;

// The demo ends with the program's event loop, whatever ended it ("E&xit", the console's close box, the
// end of an unattended run, a signal), so its folder never outlives the program.
void EndDemoWithTheEventLoop() {
    static bool connected = false;
    if (connected) return;
    connected = true;
    QObject::connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit,
                     [] { runningDemo.reset(); });
}

// Starts the demo before the console exists, so the search finds its tablet; false when it cannot start
// (the reason is on standard error).
bool StartDemo() {
    try {
        runningDemo = std::make_unique<app::DemoTablet>();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "velmora: the demo cannot start: %s\n", error.what());
        return false;
    }
    EndDemoWithTheEventLoop();
    std::fprintf(stderr, "%s\n", runningDemo->hint().toLocal8Bit().constData());
    return true;
}
} // namespace

namespace app {
frmQuillmaxSerial* Console() {
    return runningConsole;
}

DemoTablet* Demo() {
    return runningDemo.get();
}
} // namespace app

void StartProgram() {
    // A new run of the program: a console and a demo left by an earlier run (tests start several) go first.
    delete runningConsole;
    UnloadTextUploader();
    runningDemo.reset();
    vb::ResetEnded();
    vb::InstallFontSubstitutes();
    // Enter presses the focused button in every window, and a window's default button elsewhere.
    vb::InstallEnterOnButtons();
    QStringList arguments = QCoreApplication::arguments();
    if (!arguments.isEmpty()) arguments.removeFirst();
    const app::ProgramOptions options = app::TakeProgramOptions(arguments);
    if (options.demo && !StartDemo()) {
        // No window opens: the event loop, once entered, ends at once with a failure status.
        QTimer::singleShot(0, [] { QCoreApplication::exit(1); });
        return;
    }
    app::SetProgramCommandLine(app::CommandLineText(arguments));
    runningConsole = new frmQuillmaxSerial();
    runningConsole->show();
    if (options.textUploader) ShowTextUploader();
}
