// Ending the program on SIGTERM, SIGINT and SIGHUP as "E&xit" ends it: every open port is closed (its line
// settings restored, its exclusive flag cleared, its flock and lock file released), then the program ends
// (program_end.h) and returns 0.
//
// The signal handler only writes the signal's number into a pipe; a QSocketNotifier on the pipe's other
// end does the work in the event loop, where the program may be anywhere that processes events, a wait
// loop's DoEvents included: the end then unwinds the running handler as any other end does. A signal
// ignored when the program started (nohup) stays ignored. A second signal that comes while the first is
// still waiting for the event loop (the program is busy outside it) ends the process at once, as the
// signal's default does.
#pragma once

namespace vb {

// Installs the handling; needs the QApplication. Installing again changes nothing.
void EndProgramOnSignals();

} // namespace vb
