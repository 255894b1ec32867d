// sim::Tablet: the emulated Velmora LT on the far side of a pseudo-terminal.
//
// It opens a pty, puts its slave in raw mode, keeps the slave open itself (so the line never hangs up
// when the program under test closes it) and links the slave as <portsDir>/COM<port>. A thread answers
// what arrives on the master side as the tablet does (see protocol.h): ENQ and each command byte are
// echoed, a setting's value is echoed with its CR and stored, EOT resets the tablet. Every received byte
// is logged (hex, with the time) when a log is set, and kept for inspection; the settings stored so far
// can be read, waited for and written to a file. FF ... NUL is an upload, taken as data and decoded
// into records that can be read, waited for and written to a folder. DC2 SI makes it send its downloaded
// record file (the record stream); what it streamed so far can be read and waited for.
//
// Unpaced, it sends as fast as the pty takes the bytes. Paced (setLineRatePacing), everything it sends
// leaves at the rate of a real line: one byte every frame-bits / baud seconds, with the baud the program
// set on its end of the port.
//
// Faults make it misbehave on request: silence, a text in place of the ENQ echo, late answers (all of
// them or those to one byte), missing echoes, answers in two pieces, answers wrapped in other
// characters, a hang-up after a given byte, and a record stream cut short. send() puts bytes of the
// caller's own on the line.
#pragma once

#include "line_rate.h"
#include "upload_receiver.h"

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

    // The record stream leaves replyDelay (plus the echoDelay of SI, 0x0F) after the SI that asked for
    // it; it is not an echo, so noEcho, splitGap and wrapping leave it alone. A silent tablet sends none.
    // The record stream stops after this many of its bytes; the line stays up and the tablet goes on
    // answering, as a tablet whose memory ends early.
    std::optional<std::size_t> streamStopAfter{};
    // Once this many bytes of the record stream have gone out, the tablet hangs up as for hangUpOn:
    // what was sent before stays readable, then the line is hung up for good.
    std::optional<std::size_t> streamHangUpAfter{};
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
    // `setUp`, when given, configures the tablet (records, pacing, upload folder ...) before its COM<n>
    // link appears, so nobody who finds the port can talk to a tablet not yet set up.
    Tablet(const std::string& portsDir, int port, Faults faults = {},
           const std::function<void(Tablet&)>& setUp = {});
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
    // Writes `bytes` on the line at once, from the caller's thread, ahead of any answer still queued:
    // for a test that needs them at the port before it goes on. False when the line does not take them
    // whole (hung up, or full).
    bool sendNow(const std::string& bytes);

    // What DC2 SI streams: a downloaded record file, sent as it is. Default: SampleVlm(25). A stream
    // already under way goes on with the records it started with.
    void setRecords(std::string vlm);
    // Everything sent leaves at the line rate from now on (or, off, as fast as the pty takes it).
    void setLineRatePacing(bool on);
    // The character frame that pacing counts (default 8O1, 11 bits a byte).
    void setLineFrame(LineFrame frame);

    // Reads no faster than the line brings the bytes (the baud the program set and the frame of
    // setLineFrame), leaving the rest in the pty so that the program's writes wait (or, off, reads all
    // that is there at once).
    void setLineRateReading(bool on);

    // Every upload (FF ... NUL) received so far, decoded, in order.
    std::vector<Upload> uploads() const;
    // Waits until at least `count` uploads have ended; false on time-out.
    bool waitForUploads(std::size_t count, std::chrono::milliseconds timeout) const;
    // Writes each upload that ends from now on to `dir` (see upload_files.h); "" stops it. Throws
    // std::runtime_error when `dir` is not a folder.
    void uploadsTo(const std::string& dir);

    std::string streamed() const; // every byte of record streams sent so far, in order
    // Waits until at least `count` stream bytes have been sent; false on time-out.
    bool waitForStreamed(std::size_t count, std::chrono::milliseconds timeout) const;

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
