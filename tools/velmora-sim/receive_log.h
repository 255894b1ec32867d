// The log of bytes received by an emulated tablet: one line per chunk read from the line,
//   HH:MM:SS.mmm RX 05 03 41 0D
// local time to the millisecond, then the bytes as two-digit upper-case hex separated by spaces.
// Each line goes out in one write, so lines of several tablets logging to the same file or to stdout
// never mix inside a line, and nothing waits in a buffer when the emulator is killed.
#pragma once

#include <chrono>
#include <string>
#include <string_view>

namespace sim {

// The log line for `bytes` received at `when`, with its newline.
std::string receiveLogLine(std::chrono::system_clock::time_point when, std::string_view bytes);

class ReceiveLog {
public:
    ReceiveLog() = default;
    ~ReceiveLog();
    ReceiveLog(const ReceiveLog&) = delete;
    ReceiveLog& operator=(const ReceiveLog&) = delete;

    // Logs to a file (appended to, created if missing) or, for "-", to stdout; an empty path stops
    // logging. Throws std::runtime_error when the file cannot be opened.
    void open(const std::string& path);
    void write(std::string_view bytes);

private:
    void closeFile();
    int fd = -1;
    bool ownsFd = false;
};

} // namespace sim
