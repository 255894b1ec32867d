// What the emulated tablet answers: bytes received in, bytes to send back out. This is the tablet's
// behaviour only; the pty, the thread, the timing of answers and the log live in the Tablet around it.
//
// The tablet in download mode echoes each ENQ (0x05) it receives, one echo per ENQ; other bytes are
// taken in without an answer.
#pragma once

#include "tablet.h"

#include <string>
#include <string_view>

namespace sim {

inline constexpr char ENQ = 0x05;

class Protocol {
public:
    // The answer to `received`, given the faults asked for (replyText replaces each ENQ's echo).
    // `received` may be any piece of the stream: bytes that arrive split or together give the same
    // answer.
    std::string answer(std::string_view received, const Faults& faults);
};

} // namespace sim
