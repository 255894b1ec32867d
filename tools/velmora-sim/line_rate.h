// How fast a real serial line carries the tablet's bytes: the character frame (start bit, data bits,
// parity bit, stop bits) and the baud rate the program set on the port.
//
// The program sets the speed with tcsetattr on its end of the pty, and tcgetattr on the master shows
// those settings, so the tablet paces at whatever rate the program chose. A pty forces 8 data bits and
// no parity whatever the program asked for, so the frame cannot be read back: it is given (by default
// 8O1, the frame of the console's "115200,O,8,1": 11 bits a byte, 10472 bytes a second at 115200).
#pragma once

#include <optional>
#include <string_view>

namespace sim {

struct LineFrame {
    int dataBits = 8;
    char parity = 'O'; // N, O, E, M or S; all but N add a parity bit
    int stopBits = 1;

    // Start bit + data bits + parity bit + stop bits.
    int bitsPerByte() const { return 1 + dataBits + (parity == 'N' ? 0 : 1) + stopBits; }
    bool operator==(const LineFrame&) const = default;
};

// Reads a frame written as data bits, parity letter and stop bits: "8O1", "7E2", "8N1" (the letter in
// either case). Data bits 5 to 8, stop bits 1 or 2; nothing for anything else.
std::optional<LineFrame> parseLineFrame(std::string_view text);

// The output speed in baud that the terminal settings of `fd` hold; nothing when they cannot be read
// or hold no speed (B0).
std::optional<long> lineBaud(int fd);

} // namespace sim
