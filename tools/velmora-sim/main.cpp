// velmora-sim: emulated Velmora LT tablets on pseudo-terminals, linked as COM<n> in a ports folder,
// until interrupted.
#include "command_line.h"
#include "tablet.h"

#include <csignal>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <map>
#include <memory>
#include <pthread.h>

int main(int argc, char** argv) {
    const sim::ParsedCommandLine parsed = sim::parseCommandLine(argc, argv, std::getenv("VELMORA_PORTS"));
    switch (parsed.action) {
    case sim::ParsedCommandLine::Action::Help:
        std::cout << sim::usageText() << std::flush;
        return 0;
    case sim::ParsedCommandLine::Action::Error:
        std::cerr << "velmora-sim: " << parsed.error << "\nTry 'velmora-sim --help'.\n";
        return 2;
    case sim::ParsedCommandLine::Action::Run:
        break;
    }
    const sim::ProgramOptions& options = parsed.options;

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
        auto tablet = std::make_unique<sim::Tablet>(options.portsDir, port, faults);
        if (options.log) tablet->logTo(*options.log);
        ports[port] = std::move(tablet);
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
