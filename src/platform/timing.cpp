#include "platform/timing.h"

#include "platform/program_end.h"

#include <QCoreApplication>
#include <chrono>
#include <cstdlib>
#include <thread>

namespace vb {

namespace {

double EnvNumber(const char* name, double fallback) {
    const char* text = std::getenv(name);
    if (!text || !*text) return fallback;
    char* end = nullptr;
    const double value = std::strtod(text, &end);
    return (end && *end == '\0' && value > 0) ? value : fallback;
}

// 750000 counts of the download's idle loop stand for 150 ms.
constexpr double kCountsPerSecond = 5'000'000.0;

} // namespace

void DoEvents() {
    QCoreApplication::processEvents(QEventLoop::AllEvents);
    if (HasEnded()) throw ProgramEnded();
}

void WaitForEvents() {
    // The end hides the windows and may stop the timers that would wake a sleeping wait.
    if (HasEnded()) DoEvents();
    QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
    if (HasEnded()) throw ProgramEnded();
}

void Sleep(int milliseconds) {
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

double BusyDelaySeconds(double count) {
    return count / kCountsPerSecond * EnvNumber("VELMORA_DELAY_SCALE", 1.0);
}

void BusyDelay(double count) {
    // An idle time, not a spin: the thread sleeps, no events are processed, and bytes arriving meanwhile
    // wait in the port. sleep_until on the steady clock resumes after a signal and never wakes early.
    const auto until =
        std::chrono::steady_clock::now() + std::chrono::ceil<std::chrono::steady_clock::duration>(
                                               std::chrono::duration<double>(BusyDelaySeconds(count)));
    std::this_thread::sleep_until(until);
}

void BusyCount(long count) {
    // Each step stores to a volatile, so the optimiser keeps every count of the loop.
    volatile long step = 0;
    for (long i = 1; i <= count; ++i)
        step = i;
    (void)step;
}

int TimerIntervalMs(int designMs) {
    const double tick = EnvNumber("VELMORA_TICK_MS", 0);
    return tick > 0 ? int(tick) : designMs;
}

} // namespace vb
