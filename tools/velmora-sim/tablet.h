// sim::Tablet: the emulated Velmora LT on the far side of a pseudo-terminal.
//
// It opens a pty, puts its slave in raw mode, keeps the slave open itself (so the line never hangs up
// when the program under test closes it) and links the slave as <portsDir>/COM<port>. A thread answers
// what arrives on the master side as the tablet does: each ENQ (0x05) is echoed. Every received byte is
// logged (hex, with the time) when a log is set, and kept for inspection.
//
// Faults make it misbehave on request: silent (never answers), answer with a text that holds no ENQ,
// answer only after a delay.
#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>

namespace sim {

struct Faults {
    bool silent = false;                     // receives and logs, never answers
    std::optional<std::string> replyText;    // answers every received ENQ with this text instead of the echo
    std::chrono::milliseconds replyDelay{0}; // every answer leaves this long after the bytes that caused it
};

class Tablet {
public:
    Tablet(const std::string& portsDir, int port, Faults faults = {});
    ~Tablet(); // stops the thread, removes the link, closes the pty
    Tablet(const Tablet&) = delete;
    Tablet& operator=(const Tablet&) = delete;

    const std::string& linkPath() const;   // <portsDir>/COM<port>
    const std::string& devicePath() const; // the pty slave, /dev/pts/N

    void setFaults(const Faults& faults);

    std::string received() const; // every byte received so far, in order
    void clearReceived();
    // Waits until at least `count` bytes have been received; false on time-out.
    bool waitForReceived(std::size_t count, std::chrono::milliseconds timeout) const;

    // Log every received byte as "HH:MM:SS.mmm RX 05 03 ..." lines: to a file path, or "-" for stdout.
    void logTo(const std::string& path);

private:
    struct Impl;
    std::unique_ptr<Impl> impl;
};

} // namespace sim
