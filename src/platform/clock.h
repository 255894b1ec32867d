// The computer's local date and time. Every call reads the clock afresh, so a text built from several
// calls can mix two moments, as the tablet's date and time stamp does. Tests set a clock of their own.
#pragma once

#include <QDateTime>
#include <functional>

namespace vb {

QDateTime Now();

// Replaces the clock that Now() reads; an empty function brings back the system clock.
void SetClock(std::function<QDateTime()> clock);

} // namespace vb
