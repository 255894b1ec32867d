// The record download as velmora-cli speaks it: the wake-up (ENQ until the tablet echoes it, retried),
// DC2 SI, and the record stream gathered until the line falls silent. The tablet marks no end of its
// stream, so silence is the only end there is; how long the silence must last is the caller's choice
// (a slow line needs longer), as the windows' communication rate is.
#pragma once

#include "tablet_line.h"

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace cli {

struct StreamOptions {
    std::chrono::milliseconds answer{3000}; // how long each ENQ waits for its echo, and DC2 SI for the stream
    int wakeTries = 3;                      // ENQs sent before the tablet is given up as not answering
    std::chrono::milliseconds quiet{2000};  // the silence that ends the stream
};

// Sends ENQ until the tablet echoes it, up to `tries` times, each waiting `answer` for the echo and
// reading meanwhile. Echoes of earlier ENQs that the tablet answered late are waited for (up to
// `answer` in all) and dropped with everything else received, so that none of them is taken for the
// beginning of the stream. Throws LineFailure: kNoAnswer after the last try, kFailure on a hang-up.
void WakeTablet(TabletLine& line, int tries, std::chrono::milliseconds answer);

// Wakes the tablet, asks for its records (DC2 then SI, no echo expected) and returns the stream: every
// byte the tablet sent after them, up to the silence, less any late ENQ echoes ahead of it. `received` is
// shown what arrived so far after each read. Throws LineFailure: kNoAnswer when the wake-up fails or no
// stream starts within `answer`, kFailure when the line hangs up (the message says how many bytes had
// arrived).
std::string ReceiveRecordStream(TabletLine& line, const StreamOptions& options,
                                const std::function<void(std::string_view received)>& received = {});

// Tells the tablet the download is over: one more ENQ, as the windows send after saving. A line that has
// gone meanwhile is not a failure: the records are saved.
void EndDownload(TabletLine& line);

// The record count the stream's header gives (the three characters before its first double quote, read
// as a number); none while no quote has arrived or when they are not digits.
std::optional<int> RecordCountOf(std::string_view stream);

// How far a stream has come: its bytes, the records complete so far (each record ends with CR LF, and so
// does the header line before them) and, once the header has arrived, the count it announces.
class RecordTally {
public:
    void update(std::string_view received);
    std::size_t bytes() const { return byteCount; }
    int recordsDone() const { return lineEnds > 0 ? lineEnds - 1 : 0; }
    std::optional<int> recordCount() const { return count; }

private:
    std::size_t byteCount = 0;
    std::size_t scanned = 0; // bytes already searched for line ends
    int lineEnds = 0;
    std::optional<int> count;
    bool headerWhole = false;
};

} // namespace cli
