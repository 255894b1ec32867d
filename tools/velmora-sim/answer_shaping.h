// How an answer of the protocol goes out on the line under the faults asked for: withheld, late,
// wrapped in other characters, in two pieces. The pieces are timed from the arrival of the byte that
// caused the answer; the Tablet queues them in order.
#pragma once

#include "tablet.h"

#include <chrono>
#include <string>
#include <vector>

namespace sim {

struct AnswerPiece {
    std::chrono::milliseconds after; // how long after the cause arrived the piece is due
    std::string bytes;
};

// How long after the byte `cause` arrived its answer is due: replyDelay plus the byte's echoDelay.
std::chrono::milliseconds answerDelay(char cause, const Faults& faults);

// The pieces in which `answer`, the protocol's answer to the received byte `cause`, goes out: none when
// it is empty, the tablet is silent or `cause` is in noEcho; otherwise the wrapped answer, in one piece
// or (splitGap, for every cause or those in splitOnly) in two.
std::vector<AnswerPiece> shapeAnswer(char cause, const std::string& answer, const Faults& faults);

} // namespace sim
