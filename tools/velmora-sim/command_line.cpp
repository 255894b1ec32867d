#include "command_line.h"

#include <algorithm>
#include <charconv>
#include <set>

namespace sim {

namespace {

constexpr int highestPort = 9999;

std::optional<long> parseNumber(const std::string& text, long lowest, long highest) {
    long value = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (text.empty() || error != std::errc() || stop != end || value < lowest || value > highest)
        return std::nullopt;
    return value;
}

} // namespace

ParsedCommandLine parseCommandLine(int argc, const char* const* argv, const char* portsFromEnvironment) {
    ParsedCommandLine parsed;
    ProgramOptions& options = parsed.options;
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
        if (name != "--ports" && name != "--tablet" && name != "--silent" && name != "--reply-text" &&
            name != "--reply-delay" && name != "--log")
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
            options.faults.replyText = *value;
        } else if (name == "--reply-delay") {
            const auto millis = parseNumber(*value, 0, 3'600'000);
            if (!millis)
                return fail("--reply-delay needs milliseconds from 0 to 3600000, not \"" + *value + "\"");
            options.faults.replyDelay = std::chrono::milliseconds(*millis);
        } else {
            if (value->empty()) return fail("--log needs a file name or -");
            options.log = *value;
        }
    }

    if (options.portsDir.empty()) {
        if (!portsFromEnvironment || !*portsFromEnvironment)
            return fail("no ports folder: give --ports DIR or set VELMORA_PORTS");
        options.portsDir = portsFromEnvironment;
    }
    if (options.tablets.empty() && options.silent.empty()) options.tablets.push_back(3);

    std::set<int> seen;
    for (const int port : options.tablets)
        if (!seen.insert(port).second) return fail("COM" + std::to_string(port) + " is given more than once");
    for (const int port : options.silent)
        if (!seen.insert(port).second) return fail("COM" + std::to_string(port) + " is given more than once");
    return parsed;
}

std::string usageText() {
    return R"(Usage: velmora-sim [--ports DIR] [--tablet N]... [--silent N]... [--reply-text TEXT]
                   [--reply-delay MS] [--log FILE|-] [--help]

Plays a Velmora LT tablet in download mode on a pseudo-terminal, so that the Velmora LT
Uploader/Downloader Tool can be tried and tested without a tablet. Each port is a pty whose
serial end is linked as DIR/COM<N>; the tool, run with VELMORA_PORTS=DIR, takes that link as
its port N. The tablet echoes each ENQ (0x05) it receives; other bytes are received and logged.

Options:
  --ports DIR        the ports folder that gets the COM<N> links (created if missing);
                     default: $VELMORA_PORTS. One of the two must be given.
  --tablet N         make a tablet on DIR/COM<N> (N from 1 to 9999); may be repeated.
                     Without any --tablet or --silent, one tablet is made on COM3.
  --silent N         make a port on DIR/COM<N> that receives (and logs) but never answers,
                     like a serial port with nothing attached; may be repeated.
  --reply-text TEXT  the tablets answer every ENQ with TEXT instead of echoing it
                     (a device that answers, but not as a Velmora LT).
  --reply-delay MS   the tablets send every answer MS milliseconds after the bytes that
                     caused it (reception goes on meanwhile).
  --log FILE|-       log every byte received by any port, appended to FILE, or to
                     standard output for "-". One line per chunk read from the line:
                       HH:MM:SS.mmm RX 05 03 41 0D
                     local time to the millisecond, then the bytes in upper-case hex.
                     The lines of all ports go to the same log.
  -h, --help         show this text and exit.

At start it prints one line per port, "COM3 -> /dev/pts/7" (link name -> pty device), then
runs until interrupted (Ctrl+C, SIGINT or SIGTERM), removes its links and exits with 0.
An existing link of the same name is replaced. Bad arguments exit with 2, a port that
cannot be made with 1.

Example: ports 1 and 2 exist but nothing answers, the tablet is on port 3:
  VELMORA_PORTS=/tmp/ports velmora-sim --silent 1 --silent 2 --tablet 3 &
  VELMORA_PORTS=/tmp/ports velmora
)";
}

} // namespace sim
