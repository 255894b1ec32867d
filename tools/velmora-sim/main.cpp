// velmora-sim: emulated Velmora LT tablets on pseudo-terminals, linked as COM<n> in a ports folder,
// until interrupted; or, with --sample-vlm, a sample record file written and done.
#include "command_line.h"
#include "sample_records.h"
#include "tablet.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <memory>
#include <optional>
#include <pthread.h>

namespace {

// Writes `bytes` to `path` as they are; false, with errno set, when that failed.
bool writeFile(const std::string& path, const std::string& bytes) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    if (!file) return false;
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    file.close();
    if (!file && errno == 0) errno = EIO;
    return static_cast<bool>(file);
}

// The whole of a regular file; nothing, with the reason in `error`, when it cannot be read.
std::optional<std::string> readFile(const std::string& path, std::string& error) {
    std::error_code status;
    if (!std::filesystem::is_regular_file(path, status)) {
        error = status ? status.message() : "not a regular file";
        return std::nullopt;
    }
    std::ifstream file(path, std::ios::binary);
    std::string bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    if (!file.is_open() || file.bad()) {
        error = std::strerror(errno);
        return std::nullopt;
    }
    return bytes;
}

} // namespace

int main(int argc, char** argv) {
    const sim::ParsedCommandLine parsed = sim::parseCommandLine(argc, argv, std::getenv("VELMORA_PORTS"));
    switch (parsed.action) {
    case sim::ParsedCommandLine::Action::Help:
        std::cout << sim::usageText() << std::flush;
        return 0;
    case sim::ParsedCommandLine::Action::Error:
        std::cerr << "velmora-sim: " << parsed.error << '\n';
        if (parsed.hintHelp) std::cerr << "Try 'velmora-sim --help'.\n";
        return 2;
    case sim::ParsedCommandLine::Action::SampleVlm:
        errno = 0;
        if (!writeFile(parsed.options.sampleFile, sim::SampleVlm(parsed.options.sampleRecords))) {
            std::cerr << "velmora-sim: cannot write " << parsed.options.sampleFile << ": "
                      << std::strerror(errno) << '\n';
            return 2;
        }
        return 0;
    case sim::ParsedCommandLine::Action::Run:
        break;
    }
    const sim::ProgramOptions& options = parsed.options;

    std::optional<std::string> records;
    if (options.records) {
        std::string error;
        records = readFile(*options.records, error);
        if (!records) {
            std::cerr << "velmora-sim: cannot read the records file " << *options.records << ": " << error
                      << '\n';
            return 1;
        }
    }

    // The stop signals are taken by sigwait() below; blocked before any tablet thread starts, so that
    // every thread inherits the mask and none of them is interrupted by them.
    sigset_t stopSignals;
    sigemptyset(&stopSignals);
    sigaddset(&stopSignals, SIGINT);
    sigaddset(&stopSignals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);
    std::signal(SIGPIPE, SIG_IGN); // a log on a closed pipe must not kill the emulator

    std::map<int, std::unique_ptr<sim::Tablet>> ports; // by port number, so the lines come out in order
    auto make = [&](int port, const sim::Faults& faults) {
        ports[port] = std::make_unique<sim::Tablet>(options.portsDir, port, faults, [&](sim::Tablet& tablet) {
            if (options.log) tablet.logTo(*options.log);
            if (records) tablet.setRecords(*records);
            tablet.setLineFrame(options.frame);
            tablet.setLineRatePacing(options.lineRate);
            tablet.setLineRateReading(options.lineRateReading);
            if (options.uploadDir) tablet.uploadsTo(*options.uploadDir);
        });
    };
    try {
        for (const int port : options.tablets)
            make(port, options.faults);
        sim::Faults silent;
        silent.silent = true;
        for (const int port : options.silent)
            make(port, silent);
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return 1; // the ports made so far are removed on the way out
    }

    for (const auto& [port, tablet] : ports)
        std::cout << "COM" << port << " -> " << tablet->devicePath() << '\n';
    std::cout << std::flush;

    // Only now, so that the port lines come first on stdout; the tablet's first state (and any change
    // that a quick client made meanwhile) is written at once.
    if (options.state) {
        try {
            ports.at(options.tablets.front())->stateTo(*options.state);
        } catch (const std::exception& error) {
            std::cerr << error.what() << '\n';
            return 1;
        }
    }

    int received = 0;
    sigwait(&stopSignals, &received);
    ports.clear(); // stops the tablets and removes their links
    return 0;
}
