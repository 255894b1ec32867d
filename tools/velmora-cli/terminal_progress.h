// A progress line on standard error, redrawn in place ("\r" and erase to the end of the line), only when
// standard error is a terminal: a scheduled job's log gets no progress noise. Workers on several threads
// may report; the line is redrawn at most ten times a second.
#pragma once

#include <chrono>
#include <mutex>
#include <string>

namespace cli {

class TerminalProgress {
public:
    TerminalProgress(); // shown when standard error is a terminal
    explicit TerminalProgress(bool shown);
    ~TerminalProgress(); // ends the line, as finish() does
    TerminalProgress(const TerminalProgress&) = delete;
    TerminalProgress& operator=(const TerminalProgress&) = delete;

    bool shown() const { return on; }
    // Redraws the line with `text`, unless it was redrawn less than a tenth of a second ago.
    void update(const std::string& text);
    // Redraws the line with `text` whatever the time, and ends it: the last figures stay on the screen.
    void finish(const std::string& text);
    // Ends the line (if one was drawn) so that a message that follows starts on a line of its own.
    void finish();

private:
    void draw(const std::string& text);

    bool on;
    bool drawn = false;
    std::chrono::steady_clock::time_point lastDrawn{};
    std::mutex drawing;
};

// "12345 bytes, 7 of 25 records" (the count once known) or "12345 bytes, 7 records".
std::string ProgressFigures(std::size_t bytes, int recordsDone, int recordCount);

} // namespace cli
