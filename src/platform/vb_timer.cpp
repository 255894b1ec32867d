#include "platform/vb_timer.h"

#include "platform/timing.h"

namespace vb {

Timer::Timer(int designMs, QObject* parent) : QObject(parent) {
    timer.setInterval(TimerIntervalMs(designMs));
    connect(&timer, &QTimer::timeout, this, &Timer::Tick);
}

void Timer::setEnabled(bool enabled) {
    if (enabled && !timer.isActive())
        timer.start();
    else if (!enabled)
        timer.stop();
}

} // namespace vb
