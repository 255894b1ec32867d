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
// - DC2 (0x12) followed at once by SI (0x0F) asks for the record stream: neither byte is echoed, and
//   the tablet sends its downloaded record file (see Tablet::setRecords). DC2 followed by any other
//   byte asks for nothing, and that byte is then handled as a fresh byte.
// - FF (0x0C) starts an upload: it is not echoed, and every byte after it up to NUL (0x00) is data, taken
//   without an answer and never as a command; NUL ends the upload, whose bytes are decoded into records
//   (see upload_receiver.h).
// - Every other byte is taken without an answer.
// Since it works byte by byte, bytes that arrive split or together give the same answers and state.
#pragma once

#include "tablet.h"
#include "upload_receiver.h"

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
inline constexpr char DC2 = 0x12;
inline constexpr char SI = 0x0F;

class Protocol {
public:
    // Takes one received byte; returns its answer, empty when it has none. `faults.replyText` replaces
    // the ENQ echo; every other fault is applied to the answers by the Tablet.
    std::string take(char byte, const Faults& faults);
    // Takes every byte of `received` in turn; returns their answers joined.
    std::string answer(std::string_view received, const Faults& faults);

    // True when the byte last taken was the SI of DC2 SI: the tablet is to send its records now.
    bool streamRequested() const { return streamAsked; }

    // Every upload ended so far, in order.
    const std::vector<Upload>& uploads() const { return upload.finished(); }

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
    UploadReceiver upload; // the upload under way, and those ended
    bool afterDc2 = false; // the byte before was DC2: an SI now starts the record stream
    bool streamAsked = false;
};

} // namespace sim
