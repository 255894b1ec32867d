// sim::Tablet: the emulated Velmora LT on the far side of a pseudo-terminal.
//
// It opens a pty, puts its slave in raw mode, keeps the slave open itself (so the line never hangs up
// when the program under test closes it) and links the slave as <portsDir>/COM<port>. A thread answers
// what arrives on the master side as the tablet does (see protocol.h): ENQ and each command byte are
// echoed, a setting's value is echoed with its CR and stored, EOT resets the tablet. Every received byte
// is logged (hex, with the time) when a log is set, and kept for inspection; the settings stored so far
// can be read, waited for and written to a file.
//
// Faults make it misbehave on request: silence, a text in place of the ENQ echo, late answers (all of
// them or those to one byte), missing echoes, answers in two pieces, answers wrapped in other
// characters, and a hang-up after a given byte. send() puts bytes of the caller's own on the line.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace sim {

struct Faults {
    bool silent = false;                     // receives, logs and stores settings, never answers
    std::optional<std::string> replyText{};  // answers every received ENQ with this text instead of the echo
    std::chrono::milliseconds replyDelay{0}; // every answer leaves this long after the bytes that caused it

    // Bytes whose answer is withheld. A command byte in it is still acted on (a value is taken, EOT
    // resets), only its echo is not sent; CR (0x0D) in it withholds the value + CR echo, and the value
    // is still stored.
    std::string noEcho{};
    // The answer to the byte leaves this much later, on top of replyDelay; key 0x0D delays the
    // value + CR echo. Answers never overtake one another: one that is due sooner than an answer
    // queued before it leaves right after that one.
    std::map<char, std::chrono::milliseconds> echoDelay{};
    // When above zero, every answer goes out as two pieces this far apart. The first piece never holds
    // the whole answer: it is the first half (size / 2 bytes) of an answer of two bytes or more, and a
    // single '?' before a one-byte answer.
    std::chrono::milliseconds splitGap{0};
    // When not empty, only the answers to these bytes are split (0x0D: the value + CR echo).
    std::string splitOnly{};
    // Every answer is sent as wrapBefore + answer + wrapAfter; wrapping comes before splitting.
    std::string wrapBefore{};
    std::string wrapAfter{};
    // Once the answer to this byte has gone out and the program has read it (or has left it unread for
    // a second), the tablet hangs up: it closes the pty master for good. The slave it holds and the
    // link stay, so the program's descriptor stays valid but is hung up: writes fail with EIO, reads
    // give end of file, poll() reports POLLHUP, and the pty device is gone, so the port cannot be
    // opened again. A withheld answer counts as gone out at once.
    std::optional<char> hangUpOn{};
};

// The tablet's settings as the protocol stored them. EOT counts a reset and keeps the settings: the
// reset is a warm restart of the tablet, and a test that sets a value and then resets can still see
// what was set.
struct TabletState {
    // The last value stored by 0x03, 0x09, 0x10 and 0x14; "" = never.
    std::string companyName{}, menuTitle{}, password{}, clock{};
    int resets = 0; // EOTs received

    bool operator==(const TabletState&) const = default;
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
    // Sends `bytes` on the line as they are, after every answer already queued and whatever the
    // faults (a silent tablet too): a late answer, or stray bytes, made by the caller. Nothing after
    // a hang-up.
    void send(const std::string& bytes);

    std::string received() const; // every byte received so far, in order
    void clearReceived();
    // Waits until at least `count` bytes have been received; false on time-out. The state already
    // reflects the bytes when this returns.
    bool waitForReceived(std::size_t count, std::chrono::milliseconds timeout) const;

    TabletState state() const; // a snapshot, safe from any thread
    // Waits until `done` holds for the state (checked at once and after every change); false on time-out.
    bool waitForState(std::function<bool(const TabletState&)> done, std::chrono::milliseconds timeout) const;

    // Log every received byte as "HH:MM:SS.mmm RX 05 03 ..." lines: to a file path, or "-" for stdout.
    void logTo(const std::string& path);
    // Write the whole state now and after every change of it: to a file path (replaced atomically
    // each time), or "-" for stdout (see state_file.h); an empty path stops it. Throws
    // std::runtime_error when the file cannot be written.
    void stateTo(const std::string& path);

private:
    struct Impl;
    std::unique_ptr<Impl> impl;
};

} // namespace sim
