// Starting the program: with a QApplication already made, load and show the device console (reading the
// process command line: the program's own options, then the search's unattended download) and return
// without entering the event loop. With --demo, an emulated tablet is started first (demo_tablet.h).
#pragma once

class frmQuillmaxSerial;

void StartProgram();

namespace app {
class DemoTablet;

// The console of the running program (null before StartProgram).
frmQuillmaxSerial* Console();
// The demo of the running program; null when it was not started with --demo, and once it has ended.
DemoTablet* Demo();
} // namespace app
