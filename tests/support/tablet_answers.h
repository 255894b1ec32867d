// Answers of the emulated tablet that are at the port before the program reads for them. A real tablet
// answers from a processor of its own within a millisecond; the emulated one is a thread on the same busy
// machine as the program, and may wake later than the program's short waits allow (the search's 200
// polls, the download's wake-up writes). A test that is not about the tablet's timing puts the answer
// there first, so the program finds it whatever the scheduling.
#pragma once

#include "console/console_window.h"
#include "tablet.h"

#include <string>

namespace testing_support {

// Puts `bytes` in the port's input at once, ahead of any answer the tablet still has queued; true once
// the port holds more than before.
bool AtThePort(sim::Tablet& tablet, const std::string& bytes);

// Presses "&Search for Velmora LT" for a tablet without faults whose answer to the search's ENQ is
// already at its port; its own echo of that ENQ is withheld, so nothing is left over for the next
// command. True once the tablet has received the search's ENQ; the tablet is left without faults.
bool SearchWithTheAnswerWaiting(frmQuillmaxSerial& console, sim::Tablet& tablet);

} // namespace testing_support
