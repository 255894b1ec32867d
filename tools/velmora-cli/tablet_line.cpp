#include "tablet_line.h"

#include <algorithm>
#include <mutex>
#include <thread>
#include <utility>

namespace cli {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

int StatusOfOpenFailure(const vb::Error& error) {
    if (error.number == vb::errPortAlreadyOpen) return kBusy;
    if (error.number != vb::errInvalidPortNumber) return kFailure;
    if (error.description.find("no permission") != std::string::npos) return kDenied;
    return kNotFound;
}

std::string PortName(int port, const std::string& device) {
    std::string name = "COM" + std::to_string(port);
    if (!device.empty()) name += " (" + device + ")";
    return name;
}

namespace {
// The serial layer keeps one list of the program's open ports for the windows' single thread; lines
// opened and closed by several download workers at once take turns at it.
std::mutex& OpeningAndClosing() {
    static std::mutex turns;
    return turns;
}
} // namespace

TabletLine::TabletLine(int port, int baud) : number(port) {
    const std::lock_guard turn(OpeningAndClosing());
    try {
        comm.setCommPort(short(port));
        comm.setSettings(std::to_string(baud) + ",O,8,1");
        comm.setPortOpen(true);
    } catch (const vb::Error& error) {
        throw LineFailure(StatusOfOpenFailure(error),
                          "COM" + std::to_string(port) + ": " + error.description);
    }
    devicePath = comm.DevicePath();
}

TabletLine::~TabletLine() {
    const std::lock_guard turn(OpeningAndClosing());
    comm.setPortOpen(false);
}

void TabletLine::send(std::string_view bytes) {
    try {
        comm.Output(std::string(bytes));
    } catch (const vb::Error& error) {
        lineHungUp = true;
        throw LineFailure(kFailure, name() + ": " + error.description);
    }
}

bool TabletLine::readFor(milliseconds wait) {
    if (lineHungUp) return false;
    switch (comm.WaitForInput(int(std::max<milliseconds::rep>(0, wait.count())))) {
    case vb::MSComm::InputWait::TimedOut:
        return false;
    case vb::MSComm::InputWait::HungUp:
        lineHungUp = true;
        return false;
    case vb::MSComm::InputWait::Ready:
        break;
    }
    const std::string arrived = comm.Input();
    pending += arrived;
    return !arrived.empty();
}

bool TabletLine::waitFor(std::string_view expected, milliseconds timeout) {
    const auto deadline = Clock::now() + timeout;
    for (;;) {
        const auto found = pending.find(expected);
        if (found != std::string::npos) {
            pending.erase(0, found + expected.size());
            return true;
        }
        const auto left = std::chrono::duration_cast<milliseconds>(deadline - Clock::now());
        if (left.count() <= 0 || lineHungUp) return false;
        readFor(left);
    }
}

std::string TabletLine::receiveUntilQuiet(milliseconds firstByte, milliseconds quiet,
                                          const std::function<void(std::size_t)>& progress) {
    std::function<void(std::string_view)> received;
    if (progress) received = [&progress](std::string_view all) { progress(all.size()); };
    return receiveStream(firstByte, quiet, milliseconds(0), received);
}

std::string TabletLine::receiveStream(milliseconds firstByte, milliseconds quiet, milliseconds gather,
                                      const std::function<void(std::string_view)>& received) {
    const auto firstDeadline = Clock::now() + firstByte;
    while (pending.empty() && !lineHungUp) {
        const auto left = std::chrono::duration_cast<milliseconds>(firstDeadline - Clock::now());
        if (left.count() <= 0) return {};
        readFor(left);
    }
    if (received && !pending.empty()) received(pending);
    for (;;) {
        // Bytes that arrive meanwhile wait in the port; the next read takes them all at once.
        if (gather.count() > 0 && !lineHungUp) std::this_thread::sleep_for(gather);
        if (!readFor(quiet)) break;
        if (received) received(pending);
    }
    return std::exchange(pending, {});
}

void TabletLine::discardInput() {
    pending.clear();
    if (lineHungUp) return;
    try {
        comm.setInBufferCount(0);
    } catch (const vb::Error&) {
    }
}

} // namespace cli
