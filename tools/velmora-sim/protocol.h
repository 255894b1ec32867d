// What the emulated tablet answers: bytes received in, bytes to send back out, and the settings kept
// meanwhile. This is the tablet's behaviour only; the pty, the thread, the timing and shape of answers,
// the log and the state file live in the Tablet around it.
//
// The tablet in download mode, byte by byte:
// - ENQ (0x05) is echoed, one echo per ENQ.
// - A setting's command byte (0x03 company name, 0x09 main menu title, 0x10 password, 0x14 date and
//   time) is echoed, and the tablet then takes a value: every following byte up to CR (0x0D). On CR it
//   echoes the value and the CR as one answer and stores the value as that setting.
// - While a value is being taken, a control byte below 0x20 other than CR abandons it (nothing is
//   stored) and is then handled as a fresh byte, so a command cut short never swallows the next one.
// - EOT (0x04) is echoed and resets the tablet: a half-taken value is dropped and the reset count goes
//   up by one. The settings are kept (see TabletState).
// - Every other byte is taken without an answer.
// Since it works byte by byte, bytes that arrive split or together give the same answers and state.
#pragma once

#include "tablet.h"

#include <optional>
#include <string>
#include <string_view>

namespace sim {

inline constexpr char ENQ = 0x05;
inline constexpr char EOT = 0x04;
inline constexpr char CR = 0x0D;
inline constexpr char CompanyNameCommand = 0x03;
inline constexpr char MenuTitleCommand = 0x09;
inline constexpr char PasswordCommand = 0x10;
inline constexpr char ClockCommand = 0x14;

class Protocol {
public:
    // Takes one received byte; returns its answer, empty when it has none. `faults.replyText` replaces
    // the ENQ echo; every other fault is applied to the answers by the Tablet.
    std::string take(char byte, const Faults& faults);
    // Takes every byte of `received` in turn; returns their answers joined.
    std::string answer(std::string_view received, const Faults& faults);

    const TabletState& state() const { return settings; }
    // Goes up by one with every change of the state, so a caller can tell that a byte changed it.
    unsigned long changeCount() const { return changes; }

private:
    std::string takeFresh(char byte, const Faults& faults);
    std::string* settingOf(char command);

    TabletState settings;
    unsigned long changes = 0;
    std::optional<char> takingValueFor; // the command byte whose value is being taken
    std::string value;
};

} // namespace sim
