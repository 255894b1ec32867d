// The part of a tablet command that follows the wake-up: each stage's bytes are sent once and the tablet
// must echo them, as every settings command and the reset expect. Unlike the windows' waits, a stage here
// keeps reading until its echo has come or its time is up, so an echo that arrives late or in pieces
// still counts.
#pragma once

#include "tablet_line.h"

#include <chrono>
#include <string>
#include <vector>

namespace cli {

struct EchoedStage {
    std::string payload; // sent once, in one write; the tablet echoes it
    std::string what;    // names the stage in the failure: "no echo of <what>"
    // How many times the answer time the stage may take: a tablet may take long over a reset.
    int patience = 1;
};

// Sends the stages in order on `line`, each waiting up to `timeout` times its patience for its echo.
// Throws LineFailure: kNoAnswer naming the stage whose echo did not come, kFailure naming the stage when
// the line hung up.
void SendEchoedStages(TabletLine& line, const std::vector<EchoedStage>& stages,
                      std::chrono::milliseconds timeout);

} // namespace cli
