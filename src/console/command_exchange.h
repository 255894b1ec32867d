// The command exchange: the one way a device operation talks to the tablet.
//
// Open the port the search found, then for each stage: send its payload once, gather the reply in up to
// `pollLimit` polls of 1 ms, and wait (processing window events, counting Timer1 ticks) until the reply
// holds the stage's expected text. The reply is not read again while waiting: a reply that was empty or
// wrong when the polls ended can only end in failure when the tick limit is reached. After the last
// stage the command's success box is shown and the port closed; a stage that fails shows its failure
// box and closes the port. Run-time errors are shown as their description and leave the port as it was.
//
// A command is data: a list of stages with their own limits, so that each command's deliberate timing
// (the menu title's 200-tick handshake, the reset's 15000 polls, the value stages that make all their
// polls) is a row of a table, not a copy of the loop.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace console {

inline constexpr char ENQ = 0x05;
inline constexpr char CR = 0x0D;

// Shown when a stage's echo does not come.
inline constexpr const char* kConnectionFailure = "Cannot make connection. Be sure com port is correct,\r\n"
                                                  "the tablet is connected, and tablet is in download mode.";

enum class Polls {
    StopAtFirstReply, // leave the poll loop as soon as anything has arrived
    All,              // make every poll, so that a reply arriving in pieces is gathered whole
};

struct Stage {
    // What the stage sends, made when the stage starts (the date and time are read only after the
    // command byte's echo).
    std::function<std::string()> payload;
    int pollLimit = 1000;
    Polls polls = Polls::StopAtFirstReply;
    // What the reply must contain. Empty: the payload as sent (the tablet echoes each stage).
    std::string expected;
    int tickLimit = 500;
    std::string failureText = kConnectionFailure;
};

struct Command {
    std::vector<Stage> stages;
    std::string successText; // shown titled "UPDATE", information icon, OK, system-modal
};

// The wake-up stage every command starts with: ENQ, 1000 polls stopping at the first reply, ENQ expected.
Stage Handshake(int tickLimit = 500);
// A stage that sends one command byte and expects its echo.
Stage CommandByte(char byte, Polls polls = Polls::StopAtFirstReply, int pollLimit = 1000);
// A stage that sends a value followed by CR and expects them back.
Stage ValueStage(std::function<std::string()> value, Polls polls);

} // namespace console
