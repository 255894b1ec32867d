// Where an emulated tablet writes its state (the settings stored and the resets counted) each time it
// changes, so that a person or a script outside the process can follow it. The state is five lines,
// each ended by LF alone:
//   company-name=ACME
//   menu-title=Main
//   password=1234
//   clock=2/15/12/9:5
//   resets=0
// To a file, the whole file is replaced atomically each time (written under a private name in the same
// folder and renamed over it), so a reader never sees half a state. To stdout ("-"), the five lines
// are printed each time after a line "state:", all in one write, so they never mix with the lines of
// a log or of another port.
#pragma once

#include "tablet.h"

#include <string>

namespace sim {

// The five lines of `state`.
std::string stateLines(const TabletState& state);

class StateFile {
public:
    // Writes to a file path, to stdout for "-", or nowhere for an empty path; writes `state` at once.
    // Throws std::runtime_error when the file cannot be written.
    void open(const std::string& path, const TabletState& state);
    // Writes `state` where open() said; a failure here is ignored, so it never stops the tablet.
    void write(const TabletState& state);

private:
    bool writeTo(const TabletState& state);
    std::string target;
};

} // namespace sim
