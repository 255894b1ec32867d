#include "tablet_line.h"

#include <algorithm>
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

TabletLine::TabletLine(int port, int baud) : number(port) {
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

TabletLine::~TabletLine() = default;

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
    const auto firstDeadline = Clock::now() + firstByte;
    while (pending.empty() && !lineHungUp) {
        const auto left = std::chrono::duration_cast<milliseconds>(firstDeadline - Clock::now());
        if (left.count() <= 0) return {};
        readFor(left);
    }
    if (progress && !pending.empty()) progress(pending.size());
    while (readFor(quiet))
        if (progress) progress(pending.size());
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
