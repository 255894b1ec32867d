#include "record_stream.h"

#include "viewer/vlm_file.h"

#include <algorithm>

namespace cli {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr char ENQ = 0x05;
constexpr char DC2 = 0x12; // DC2 then SI asks the tablet for its records
constexpr char SI = 0x0F;
constexpr std::string_view kEnq(&ENQ, 1);

// A paced line brings one byte at a time; reading it in chunks this far apart keeps a download's wake-ups
// to a few dozen a second. Short against any silence that ends a stream.
milliseconds GatherFor(milliseconds quiet) {
    return std::clamp(quiet / 4, milliseconds(1), milliseconds(20));
}

std::string Seconds(milliseconds time) {
    std::string text = std::to_string(time.count() / 1000);
    if (const auto rest = time.count() % 1000) {
        std::string fraction = std::to_string(1000 + rest).substr(1);
        fraction.erase(fraction.find_last_not_of('0') + 1);
        text += "." + fraction;
    }
    return text + " s";
}

} // namespace

void WakeTablet(TabletLine& line, int tries, milliseconds answer) {
    // An echo left on the line by whoever used the port last (the ENQ that ends a download) is not an
    // answer to ours.
    line.discardInput();
    for (int sent = 1; sent <= tries; ++sent) {
        line.send(kEnq);
        if (line.waitFor(kEnq, answer)) {
            const auto deadline = Clock::now() + answer;
            for (int late = 1; late < sent; ++late) {
                const auto left = std::chrono::duration_cast<milliseconds>(deadline - Clock::now());
                if (left.count() <= 0 || !line.waitFor(kEnq, left)) break;
            }
            line.discardInput();
            return;
        }
        if (line.hungUp()) throw LineFailure(kFailure, line.name() + ": the line hung up during the wake-up");
    }
    throw LineFailure(kNoAnswer, line.name() + ": no answer to ENQ (" + std::to_string(tries) +
                                     (tries == 1 ? " try of " : " tries of ") + Seconds(answer) +
                                     "); is the tablet in its download mode?");
}

std::string ReceiveRecordStream(TabletLine& line, const StreamOptions& options,
                                const std::function<void(std::string_view)>& received) {
    WakeTablet(line, options.wakeTries, options.answer);
    line.send(std::string_view(&DC2, 1));
    line.send(std::string_view(&SI, 1));
    std::string stream =
        line.receiveStream(options.answer, options.quiet, GatherFor(options.quiet), received);
    // An echo of the wake-up that came later than the wait for it still comes before the stream, which
    // itself begins with its record count: ENQs ahead of the stream are not part of it.
    stream.erase(0, stream.find_first_not_of(ENQ));
    if (line.hungUp())
        throw LineFailure(kFailure, line.name() + ": the line hung up after " +
                                        std::to_string(stream.size()) + " bytes of the record stream");
    if (stream.empty())
        throw LineFailure(kNoAnswer, line.name() + ": the tablet echoed ENQ but sent no records within " +
                                         Seconds(options.answer) + " of DC2 SI");
    return stream;
}

void EndDownload(TabletLine& line) {
    try {
        line.send(kEnq);
    } catch (const LineFailure&) {
    }
}

std::optional<int> RecordCountOf(std::string_view stream) {
    const std::size_t lineEnd = stream.find("\r\n");
    std::string header(stream.substr(0, lineEnd));
    const long quote = viewer::AlignRecordCount(header);
    if (quote <= 1) return std::nullopt;
    const std::string_view digits = std::string_view(header).substr(0, std::size_t(quote - 1));
    if (digits.find_first_not_of("0123456789") != std::string_view::npos) return std::nullopt;
    const std::string count = viewer::RecordCountText(header, quote); // without its leading zeros
    return count.empty() ? 0 : std::stoi(count);
}

void RecordTally::update(std::string_view received) {
    byteCount = received.size();
    // A line end split between two reads is found on the next one: look back one byte.
    for (std::size_t at = received.find("\r\n", scanned ? scanned - 1 : 0); at != std::string_view::npos;
         at = received.find("\r\n", at + 2))
        ++lineEnds;
    scanned = received.size();
    // The count stands in the header line: once that line is whole, there is no use looking again.
    if (!count && !headerWhole) count = RecordCountOf(received);
    headerWhole = lineEnds > 0;
}

} // namespace cli
