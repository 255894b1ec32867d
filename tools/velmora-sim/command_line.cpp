#include "command_line.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <set>
#include <string_view>

namespace sim {

namespace {

constexpr int highestPort = 9999;
constexpr long longestDelay = 3'600'000; // milliseconds: an hour is more than any test waits

constexpr long mostStreamBytes = 1'000'000'000;

constexpr std::array<std::string_view, 18> optionsWithValue = {
    "--ports",      "--tablet",     "--silent",     "--reply-text",        "--reply-delay",
    "--log",        "--no-echo",    "--echo-delay", "--split-reply",       "--wrap",
    "--hang-up-on", "--state",      "--records",    "--stream-stop-after", "--stream-hang-up-after",
    "--frame",      "--sample-vlm", "--upload-dir"};

std::optional<long> parseNumber(std::string_view text, long lowest, long highest, int base = 10) {
    long value = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value, base);
    if (text.empty() || error != std::errc() || stop != end || value < lowest || value > highest)
        return std::nullopt;
    return value;
}

// A byte written as one or two hex digits, with or without 0x: "5", "05", "0x0D".
std::optional<char> parseHexByte(std::string_view text) {
    if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) text.remove_prefix(2);
    if (text.size() > 2 || text.starts_with('-') || text.starts_with('+')) return std::nullopt;
    const auto value = parseNumber(text, 0, 0xFF, 16);
    if (!value) return std::nullopt;
    return static_cast<char>(*value);
}

std::string hexByteRule(const std::string& option, std::string_view wrong) {
    return option + " needs bytes in hex from 00 to FF, not \"" + std::string(wrong) + "\"";
}

std::string millisecondsRule(const std::string& option, std::string_view wrong) {
    return option + " needs milliseconds from 0 to " + std::to_string(longestDelay) + ", not \"" +
           std::string(wrong) + "\"";
}

} // namespace

ParsedCommandLine parseCommandLine(int argc, const char* const* argv, const char* portsFromEnvironment) {
    ParsedCommandLine parsed;
    ProgramOptions& options = parsed.options;
    Faults& faults = options.faults;
    auto fail = [&](std::string message) {
        parsed.action = ParsedCommandLine::Action::Error;
        parsed.error = std::move(message);
        return parsed;
    };

    for (int i = 1; i < argc; ++i) {
        std::string name = argv[i];
        std::optional<std::string> value;
        if (const auto equals = name.find('='); name.rfind("--", 0) == 0 && equals != std::string::npos) {
            value = name.substr(equals + 1);
            name.resize(equals);
        }
        if (name == "--help" || name == "-h") {
            if (value) return fail("option --help takes no value");
            parsed.action = ParsedCommandLine::Action::Help;
            return parsed;
        }
        if (name == "--line-rate") {
            if (value) return fail("option --line-rate takes no value");
            options.lineRate = true;
            continue;
        }
        if (name == "--line-rate-reading") {
            if (value) return fail("option --line-rate-reading takes no value");
            options.lineRateReading = true;
            continue;
        }
        if (std::find(optionsWithValue.begin(), optionsWithValue.end(), name) == optionsWithValue.end())
            return fail(name.rfind("-", 0) == 0 ? "unknown option " + name : "unexpected argument " + name);
        if (!value) {
            if (i + 1 >= argc) return fail("option " + name + " needs a value");
            value = argv[++i];
        }

        if (name == "--ports") {
            if (value->empty()) return fail("--ports needs a folder");
            options.portsDir = *value;
        } else if (name == "--tablet" || name == "--silent") {
            const auto port = parseNumber(*value, 1, highestPort);
            if (!port)
                return fail(name + " needs a port number from 1 to " + std::to_string(highestPort) +
                            ", not \"" + *value + "\"");
            (name == "--tablet" ? options.tablets : options.silent).push_back(static_cast<int>(*port));
        } else if (name == "--reply-text") {
            faults.replyText = *value;
        } else if (name == "--reply-delay" || name == "--split-reply") {
            const auto millis = parseNumber(*value, 0, longestDelay);
            if (!millis) return fail(millisecondsRule(name, *value));
            (name == "--reply-delay" ? faults.replyDelay : faults.splitGap) =
                std::chrono::milliseconds(*millis);
        } else if (name == "--no-echo") {
            std::string_view list = *value;
            while (true) {
                const auto comma = list.find(',');
                const auto byte = parseHexByte(list.substr(0, comma));
                if (!byte) return fail(hexByteRule(name, list.substr(0, comma)));
                faults.noEcho += *byte;
                if (comma == std::string_view::npos) break;
                list.remove_prefix(comma + 1);
            }
        } else if (name == "--echo-delay") {
            const auto colon = value->find(':');
            if (colon == std::string::npos) return fail("--echo-delay needs HEX:MS, not \"" + *value + "\"");
            const auto byte = parseHexByte(std::string_view(*value).substr(0, colon));
            if (!byte) return fail(hexByteRule(name, std::string_view(*value).substr(0, colon)));
            const auto millis = parseNumber(std::string_view(*value).substr(colon + 1), 0, longestDelay);
            if (!millis) return fail(millisecondsRule(name, std::string_view(*value).substr(colon + 1)));
            faults.echoDelay[*byte] = std::chrono::milliseconds(*millis);
        } else if (name == "--wrap") {
            const auto comma = value->find(',');
            if (comma == std::string::npos) return fail("--wrap needs BEFORE,AFTER, not \"" + *value + "\"");
            faults.wrapBefore = value->substr(0, comma);
            faults.wrapAfter = value->substr(comma + 1);
        } else if (name == "--hang-up-on") {
            const auto byte = parseHexByte(*value);
            if (!byte) return fail(hexByteRule(name, *value));
            faults.hangUpOn = *byte;
        } else if (name == "--sample-vlm") {
            // Two values: the record count and the file; the run ends once the file is written.
            const auto records = parseNumber(*value, 1, 999);
            parsed.hintHelp = false; // a tool writing a sample gets one line to report
            if (!records)
                return fail("--sample-vlm needs a record count from 1 to 999, not \"" + *value + "\"");
            if (i + 1 >= argc || std::string_view(argv[i + 1]).empty())
                return fail("--sample-vlm needs a file after the record count");
            options.sampleRecords = static_cast<int>(*records);
            options.sampleFile = argv[++i];
            parsed.action = ParsedCommandLine::Action::SampleVlm;
        } else if (name == "--upload-dir") {
            if (value->empty()) return fail("--upload-dir needs a folder");
            options.uploadDir = *value;
        } else if (name == "--records") {
            if (value->empty()) return fail("--records needs a file name");
            options.records = *value;
        } else if (name == "--stream-stop-after" || name == "--stream-hang-up-after") {
            const auto bytes = parseNumber(*value, 0, mostStreamBytes);
            if (!bytes)
                return fail(name + " needs a byte count from 0 to " + std::to_string(mostStreamBytes) +
                            ", not \"" + *value + "\"");
            (name == "--stream-stop-after" ? faults.streamStopAfter : faults.streamHangUpAfter) =
                static_cast<std::size_t>(*bytes);
        } else if (name == "--frame") {
            const auto frame = parseLineFrame(*value);
            if (!frame)
                return fail(
                    "--frame needs data bits 5-8, parity N/O/E/M/S and stop bits 1-2, as 8O1, not \"" +
                    *value + "\"");
            options.frame = *frame;
        } else if (name == "--state") {
            if (value->empty()) return fail("--state needs a file name or -");
            options.state = *value;
        } else {
            if (value->empty()) return fail("--log needs a file name or -");
            options.log = *value;
        }
    }

    if (parsed.action == ParsedCommandLine::Action::SampleVlm) return parsed; // needs no ports

    if (options.portsDir.empty()) {
        if (!portsFromEnvironment || !*portsFromEnvironment)
            return fail("no ports folder: give --ports DIR or set VELMORA_PORTS");
        options.portsDir = portsFromEnvironment;
    }
    if (options.tablets.empty() && options.silent.empty()) options.tablets.push_back(3);
    if (options.state && options.tablets.size() != 1)
        return fail("--state follows one tablet: give exactly one --tablet, not " +
                    std::to_string(options.tablets.size()));

    std::set<int> seen;
    for (const int port : options.tablets)
        if (!seen.insert(port).second) return fail("COM" + std::to_string(port) + " is given more than once");
    for (const int port : options.silent)
        if (!seen.insert(port).second) return fail("COM" + std::to_string(port) + " is given more than once");
    return parsed;
}

std::string usageText() {
    return R"(Usage: velmora-sim [--ports DIR] [--tablet N]... [--silent N]... [--reply-text TEXT]
                   [--reply-delay MS] [--no-echo HEX[,HEX...]] [--echo-delay HEX:MS]...
                   [--split-reply MS] [--wrap BEFORE,AFTER] [--hang-up-on HEX]
                   [--stream-stop-after N] [--stream-hang-up-after N]
                   [--records FILE] [--line-rate] [--frame 8O1]
                   [--upload-dir DIR] [--line-rate-reading]
                   [--log FILE|-] [--state FILE|-] [--help]
       velmora-sim --sample-vlm N FILE

Plays a Velmora LT tablet in download mode on a pseudo-terminal, so that the Velmora LT
Uploader/Downloader Tool can be tried and tested without a tablet. Each port is a pty whose
serial end is linked as DIR/COM<N>; the tool, run with VELMORA_PORTS=DIR, takes that link as
its port N.

What the tablet answers, byte by byte:
  05 (ENQ)            echoed.
  03, 09, 10, 14      (company name, main menu title, password, date and time) echoed; the
                      bytes that follow, up to CR (0D), are the setting's value: on CR the
                      value and the CR are echoed as one answer and the value is stored. A
                      control byte below 20 other than CR abandons the value (nothing is
                      stored) and is then taken as a byte of its own.
  04 (EOT)            echoed; resets the tablet: a half-taken value is dropped, the reset
                      count goes up. Stored settings are kept.
  12 0F (DC2 SI)      neither is echoed; the tablet sends its record file (--records, or a
                      built-in sample of 25 records), byte for byte as the file holds it.
                      An ENQ received meanwhile is echoed after what is already queued.
                      DC2 followed by any other byte sends nothing; that byte is then
                      taken as a byte of its own.
  0C (FF)             not echoed; starts an upload: every byte after it up to 00 (NUL) is
                      data, never answered and never a command. The tablet decodes it into
                      records: per record the twelve named fields (each text + CR LF, or
                      0E (SO) when empty), the numbered fields that hold text (text + CR LF,
                      kept in order from field 1), and an empty line (CR LF) at its end.
  any other byte      taken without an answer.
Every byte received is logged when --log is given.

Options:
  --ports DIR        the ports folder that gets the COM<N> links (created if missing);
                     default: $VELMORA_PORTS. One of the two must be given.
  --tablet N         make a tablet on DIR/COM<N> (N from 1 to 9999); may be repeated.
                     Without any --tablet or --silent, one tablet is made on COM3.
  --silent N         make a port on DIR/COM<N> that receives (and logs) but never answers,
                     like a serial port with nothing attached; may be repeated.
  --log FILE|-       log every byte received by any port, appended to FILE, or to
                     standard output for "-". One line per chunk read from the line:
                       HH:MM:SS.mmm RX 05 03 41 0D
                     local time to the millisecond, then the bytes in upper-case hex.
                     The lines of all ports go to the same log.
  --state FILE|-     write the tablet's state at start and after every change: the
                     settings stored and the resets counted, as five lines
                       company-name=ACME
                       menu-title=...
                       password=...
                       clock=...
                       resets=0
                     FILE is replaced as a whole each time; for "-" the lines are printed
                     on standard output, each time after a line "state:". Needs exactly
                     one --tablet.
  --records FILE     the downloaded record file (.vlm) the tablets send after DC2 SI;
                     default: a built-in sample of 25 records.
  --line-rate        send everything (echoes and records) at the rate of a real serial
                     line: one byte every frame bits / baud seconds, with the baud the
                     program set on its port (115200 8O1: 10472 bytes a second).
                     Without it, bytes go out as fast as the port takes them.
  --upload-dir DIR   write each upload received to DIR as COM<n>-upload-<k>.raw (the bytes
                     between FF and NUL) and COM<n>-upload-<k>.txt (its records as a
                     record data file: 111 field lines and an empty line each, CR LF).
  --line-rate-reading
                     read no faster than a real line brings the bytes (the baud the
                     program set, the frame of --frame): the rest waits in the pty, so
                     the program's writes wait too, as behind a slow line.
  --frame DPS        the character frame --line-rate counts: data bits 5-8, parity
                     N/O/E/M/S, stop bits 1-2; default 8O1 (11 bits a byte), the frame
                     of "115200,O,8,1". A pty always reports 8 bits and no parity, so
                     the frame cannot be read from the port.
  --sample-vlm N FILE
                     write a sample downloaded record file of N records (1 to 999) to
                     FILE and exit with 0: believable names, addresses, memos and
                     amounts, some Windows-1252 letters, handwritten signatures (every
                     tenth record has none). No ports are made. A count outside 1 to
                     999 or a file that cannot be written: one line on standard error
                     and exit with 2.
  -h, --help         show this text and exit.

Faults, for the tablets (not the --silent ports). HEX is a byte in hex, 00 to FF ("0D",
"d" and "0x0d" are the same byte); MS is milliseconds from 0 to 3600000.
  --reply-text TEXT  answer every ENQ with TEXT instead of echoing it
                     (a device that answers, but not as a Velmora LT).
  --reply-delay MS   send every answer MS milliseconds after the bytes that caused it
                     (reception goes on meanwhile).
  --no-echo HEX[,HEX...]
                     withhold the answer to these bytes. A command byte is still acted
                     on (its value is taken, 04 still resets); 0D withholds the value +
                     CR echo and the value is still stored.
  --echo-delay HEX:MS
                     send the answer to HEX (for 0D: the value + CR echo) MS later, on
                     top of --reply-delay; may be repeated for other bytes. Answers keep
                     their order on the line: one due sooner than an answer before it
                     leaves right after that one.
  --split-reply MS   send every answer as two pieces MS apart; the first piece is the
                     first half of the answer, or "?" before a one-byte answer, so it
                     never holds the whole answer.
  --wrap BEFORE,AFTER
                     send every answer as BEFORE + answer + AFTER (split after wrapping).
                     AFTER is everything after the first comma.
  --hang-up-on HEX   once the answer to HEX has gone out and been read (or after a
                     second unread), hang up: the port's writes then fail (EIO), its
                     reads end, and the port cannot be opened again.
  --stream-stop-after N
                     the record stream stops after N of its bytes; the line stays up and
                     the tablet goes on answering.
  --stream-hang-up-after N
                     once N bytes of the record stream have gone out (and been read, or
                     after a second unread), hang up as --hang-up-on does.

At start it prints one line per port, "COM3 -> /dev/pts/7" (link name -> pty device), then
runs until interrupted (Ctrl+C, SIGINT or SIGTERM), removes its links and exits with 0.
An existing link of the same name is replaced. Bad arguments exit with 2; a port or a state
file that cannot be made, or a records file that cannot be read, with 1.

Example: ports 1 and 2 exist but nothing answers, the tablet is on port 3:
  VELMORA_PORTS=/tmp/ports velmora-sim --silent 1 --silent 2 --tablet 3 &
  VELMORA_PORTS=/tmp/ports velmora
)";
}

} // namespace sim
