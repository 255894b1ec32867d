// Starting the program: with a QApplication already made, load and show the device console (reading the
// process command line for the search's unattended download) and return without entering the event loop.
#pragma once

class frmQuillmaxSerial;

void StartProgram();

namespace app {
// The console of the running program (null before StartProgram).
frmQuillmaxSerial* Console();
} // namespace app
