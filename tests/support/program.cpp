#include "support/program.h"

#include "app/startup.h"

namespace testing_support {

frmQuillmaxSerial* StartConsole() {
    StartProgram();
    frmQuillmaxSerial* console = app::Console();
    console->activateWindow();
    if (!QTest::qWaitForWindowActive(console)) qWarning("the console did not become active");
    return console;
}

} // namespace testing_support
