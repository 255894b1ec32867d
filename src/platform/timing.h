// Waits as the program makes them: yielding to the window system (at once, or sleeping until the next
// event), sleeping, or busy without yielding.
#pragma once

namespace vb {

// Processes the pending window events once (timer ticks, receive notifications, clicks), then returns.
// After the program has been ended from inside those events it unwinds the running handler (ProgramEnded).
void DoEvents();

// Processes the pending window events once, as DoEvents does; when none are pending, sleeps until the
// next one arrives (a timer tick, input on a port, a posted call, a click) and processes that. For the
// waits whose end only an event can bring: the events handled are those DoEvents would handle, without
// the empty passes that kept a core busy. The caller must know an event is coming (its timer runs), or
// the wait sleeps for as long as the window is left alone. After the program has ended it never sleeps:
// it unwinds the running handler (ProgramEnded) as DoEvents does.
void WaitForEvents();

// Sleeps the thread; no events are processed meanwhile.
void Sleep(int milliseconds);

// The download's idle delay: a wait that processes no events, proportional to `count` (750000 counts =
// 150 ms, so the three communication rates keep their 3 : 1 : 6 ratio on every machine). It sleeps, so
// it keeps no core busy. VELMORA_DELAY_SCALE (a factor, tests only) shortens it.
void BusyDelay(double count);
// How long BusyDelay(count) waits, in seconds.
double BusyDelaySeconds(double count);

// A counted busy loop the optimiser cannot remove (the upload editor's per-character pause).
void BusyCount(long count);

// The interval of a window timer: `designMs`, or VELMORA_TICK_MS when that is set to a positive number
// (tests use it so that a 500-tick time-out runs in well under a second).
int TimerIntervalMs(int designMs);

} // namespace vb
