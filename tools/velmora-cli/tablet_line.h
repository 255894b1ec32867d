// A tablet's serial port as velmora-cli uses it: opened through the windows' serial layer (vb::MSComm:
// the port map, the lock file, exclusive access, the termios state restored on close), but every wait
// here keeps reading, ends on a time-out given in time rather than in polls, and notices a line that hung
// up. Failures are thrown as LineFailure, carrying the exit status and a one-line message naming the port.
#pragma once

#include "exit_status.h"
#include "platform/errors.h"
#include "platform/mscomm.h"

#include <chrono>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace cli {

struct LineFailure : std::runtime_error {
    LineFailure(int status, const std::string& message) : std::runtime_error(message), status(status) {}
    int status;
};

// The exit status for a failure to open a port: busy (8005), denied (no permission), not found (no
// device, a missing path), or a plain failure for the rest.
int StatusOfOpenFailure(const vb::Error& error);

// "COM3 (/dev/ttyUSB0)": how messages name a port.
std::string PortName(int port, const std::string& device);

class TabletLine {
public:
    // Opens port `port` at `baud` with the tablet's odd parity, 8 data bits and 1 stop bit.
    explicit TabletLine(int port, int baud = 115200);
    ~TabletLine();
    TabletLine(const TabletLine&) = delete;
    TabletLine& operator=(const TabletLine&) = delete;

    int port() const { return number; }
    const std::string& device() const { return devicePath; }
    std::string name() const { return PortName(number, devicePath); }

    // Sends the bytes whole; a line that hung up throws (kFailure).
    void send(std::string_view bytes);

    // Reads until the bytes received and not yet taken hold `expected`, then takes them up to and including
    // it. False when `timeout` passes first or the line hangs up (hungUp() tells which).
    bool waitFor(std::string_view expected, std::chrono::milliseconds timeout);

    // Reads until no byte has arrived for `quiet` after the first one, or until no first byte came within
    // `firstByte`, or the line hangs up. Returns everything received (including bytes not yet taken by
    // waitFor); `progress`, when given, is told the running total after each read.
    std::string receiveUntilQuiet(std::chrono::milliseconds firstByte, std::chrono::milliseconds quiet,
                                  const std::function<void(std::size_t)>& progress = {});

    // The same, for a long stream: after each read it lets `gather` pass before looking again, so that
    // a line bringing one byte at a time is read in chunks (a few wake-ups a second, not one a byte);
    // the silence that ends it is still `quiet` after the last byte read. `received`, when given, is
    // shown everything received so far after each read.
    std::string receiveStream(std::chrono::milliseconds firstByte, std::chrono::milliseconds quiet,
                              std::chrono::milliseconds gather,
                              const std::function<void(std::string_view received)>& received = {});

    // Forgets the bytes received and not yet taken, and those waiting in the port.
    void discardInput();

    bool hungUp() const { return lineHungUp; }

private:
    // Waits up to `wait` for input and appends it to `pending`; false when nothing came.
    bool readFor(std::chrono::milliseconds wait);

    int number;
    std::string devicePath;
    vb::MSComm comm;
    std::string pending;
    bool lineHungUp = false;
};

} // namespace cli
