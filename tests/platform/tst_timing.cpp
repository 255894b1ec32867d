// Waits as the program makes them: DoEvents yields to pending events, Sleep and the busy delays do not,
// and the download's idle delay sleeps rather than spins;
// the window timer ticks only while events are processed; VELMORA_TICK_MS and VELMORA_DELAY_SCALE shorten
// the waits in tests. Only lower bounds of time are asserted: a loaded machine can only make waits longer.
#include "platform/program_end.h"
#include "platform/timing.h"
#include "platform/vb_timer.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QSocketNotifier>
#include <QTimer>
#include <QtTest>
#include <chrono>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>

namespace {

// A call queued to the event loop; `ran` turns true only when pending events are processed. The call is
// queued on an object that dies with this one, so a call still pending when the test function ends is
// dropped instead of writing into a finished stack frame.
struct QueuedCall {
    QueuedCall() {
        QMetaObject::invokeMethod(
            &context, [this] { ran = true; }, Qt::QueuedConnection);
    }
    QObject context;
    bool ran = false;
};

// CPU time this thread has used so far, in seconds.
double ThreadCpuSeconds() {
    rusage usage{};
    getrusage(RUSAGE_THREAD, &usage);
    return double(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           double(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

// The wall time and this thread's CPU time a wait took, in seconds.
struct WaitCost {
    double wall = 0;
    double cpu = 0;
    int passes = 0; // calls of the wait; a spinning wait makes thousands where a sleeping one makes a few
};

// Runs `wait` until `done()`.
template <typename Done> WaitCost MeasureWait(void (*wait)(), Done done) {
    QElapsedTimer clock;
    clock.start();
    const double before = ThreadCpuSeconds();
    int passes = 0;
    for (; !done(); ++passes)
        wait();
    return {double(clock.nsecsElapsed()) / 1e9, ThreadCpuSeconds() - before, passes};
}

// Writes a byte into a pipe from another thread after `delayMs`, as a tablet's answer comes in.
struct LateByte {
    explicit LateByte(int delayMs) {
        if (pipe(fds) != 0) qFatal("no pipe");
        writer = std::thread([this, delayMs] {
            std::this_thread::sleep_for(std::chrono::milliseconds(delayMs));
            const char byte = 0x05;
            if (write(fds[1], &byte, 1) != 1) qWarning("the late byte was not written");
        });
    }
    ~LateByte() {
        writer.join();
        ::close(fds[0]);
        ::close(fds[1]);
    }
    int fds[2] = {-1, -1};
    std::thread writer;
};

// Sets an environment variable for the life of the object.
struct EnvironmentSetting {
    EnvironmentSetting(const char* name, const QByteArray& value) : name(name), previous(qgetenv(name)) {
        if (value.isNull())
            qunsetenv(name);
        else
            qputenv(name, value);
    }
    ~EnvironmentSetting() {
        if (previous.isNull())
            qunsetenv(name);
        else
            qputenv(name, previous);
    }
    const char* name;
    QByteArray previous;
};

} // namespace

class TimingTest : public QObject {
    Q_OBJECT
private slots:
    void doEventsRunsPendingEvents();
    void sleepProcessesNoEvents();
    void busyDelayProcessesNoEvents();
    void busyDelayKeepsNoCoreBusy();
    void busyCountProcessesNoEvents();
    void busyDelayIsProportionalToTheCount_data();
    void busyDelayIsProportionalToTheCount();
    void timerIntervalFromTheEnvironment_data();
    void timerIntervalFromTheEnvironment();
    void timerTicksOnlyWhileEventsAreProcessed();
    void enablingARunningTimerKeepsItsInterval();
    void disabledTimerDoesNotTick();
    void doEventsAfterTheProgramEndedUnwindsTheHandler();
    void waitForEventsRunsPendingEventsAtOnce();
    void waitForEventsSleepsUntilTheNextTimerTick();
    void waitForEventsWakesForACallPostedFromAnotherThread();
    void waitForEventsWakesForInputWaiting();
    void waitForEventsCountsEveryTimerTick();
    void waitForEventsAfterTheProgramEndedUnwindsWithoutSleeping();
};

void TimingTest::doEventsRunsPendingEvents() {
    QueuedCall call;
    QVERIFY(!call.ran);
    vb::DoEvents();
    QVERIFY(call.ran);
}

void TimingTest::sleepProcessesNoEvents() {
    QueuedCall call;
    QElapsedTimer clock;
    clock.start();
    vb::Sleep(30);
    QVERIFY(clock.elapsed() >= 30);
    QVERIFY(!call.ran);
    vb::DoEvents();
    QVERIFY(call.ran);
}

void TimingTest::busyDelayProcessesNoEvents() {
    EnvironmentSetting scale("VELMORA_DELAY_SCALE", QByteArray());
    QueuedCall call;
    QElapsedTimer clock;
    clock.start();
    vb::BusyDelay(100000); // 20 ms
    QVERIFY(clock.elapsed() >= 20);
    QVERIFY(!call.ran);
}

// The idle delay is an idle time: over 150 ms the thread uses a few milliseconds of CPU at most (a spin
// would use all 150; a loaded machine only lowers the figure).
void TimingTest::busyDelayKeepsNoCoreBusy() {
    EnvironmentSetting scale("VELMORA_DELAY_SCALE", QByteArray());
    const double before = ThreadCpuSeconds();
    QElapsedTimer clock;
    clock.start();
    vb::BusyDelay(750000);
    const double used = ThreadCpuSeconds() - before;
    QVERIFY(clock.elapsed() >= 150);
    QVERIFY2(used < 0.015, qPrintable(QString("%1 s of CPU in a 150 ms delay").arg(used)));
}

void TimingTest::busyCountProcessesNoEvents() {
    QueuedCall call;
    vb::BusyCount(200000);
    QVERIFY(!call.ran);
}

void TimingTest::busyDelayIsProportionalToTheCount_data() {
    QTest::addColumn<QByteArray>("scale");
    QTest::addColumn<double>("count");
    QTest::addColumn<double>("seconds");
    QTest::newRow("Normal Speed") << QByteArray() << 750000.0 << 0.150;
    QTest::newRow("Maximum Speed") << QByteArray() << 250000.0 << 0.050;
    QTest::newRow("Slow Speed!") << QByteArray() << 1500000.0 << 0.300;
    QTest::newRow("scaled by 0.1") << QByteArray("0.1") << 750000.0 << 0.015;
    QTest::newRow("scaled by 2") << QByteArray("2") << 250000.0 << 0.100;
    QTest::newRow("a scale that is no number") << QByteArray("fast") << 750000.0 << 0.150;
    QTest::newRow("a scale of 0") << QByteArray("0") << 750000.0 << 0.150;
}

void TimingTest::busyDelayIsProportionalToTheCount() {
    QFETCH(QByteArray, scale);
    QFETCH(double, count);
    QFETCH(double, seconds);
    EnvironmentSetting setting("VELMORA_DELAY_SCALE", scale);
    QVERIFY(qAbs(vb::BusyDelaySeconds(count) - seconds) < 1e-9);
    QElapsedTimer clock;
    clock.start();
    vb::BusyDelay(count);
    QVERIFY(clock.nsecsElapsed() >= qint64(seconds * 1e9));
}

void TimingTest::timerIntervalFromTheEnvironment_data() {
    QTest::addColumn<QByteArray>("tick");
    QTest::addColumn<int>("interval");
    QTest::newRow("not set") << QByteArray() << 50;
    QTest::newRow("2 ms") << QByteArray("2") << 2;
    QTest::newRow("0 is ignored") << QByteArray("0") << 50;
    QTest::newRow("negative is ignored") << QByteArray("-5") << 50;
    QTest::newRow("no number is ignored") << QByteArray("soon") << 50;
}

void TimingTest::timerIntervalFromTheEnvironment() {
    QFETCH(QByteArray, tick);
    QFETCH(int, interval);
    EnvironmentSetting setting("VELMORA_TICK_MS", tick);
    QCOMPARE(vb::TimerIntervalMs(50), interval);
    vb::Timer timer(50);
    QCOMPARE(timer.Interval(), interval);
    QVERIFY(!timer.Enabled()); // a new timer waits to be enabled
}

void TimingTest::timerTicksOnlyWhileEventsAreProcessed() {
    EnvironmentSetting setting("VELMORA_TICK_MS", "2");
    vb::Timer timer(50);
    QSignalSpy ticks(&timer, &vb::Timer::Tick);
    timer.setEnabled(true);
    QVERIFY(timer.Enabled());
    vb::Sleep(40); // twenty intervals pass with no event processing
    QCOMPARE(ticks.count(), 0);
    QVERIFY(QTest::qWaitFor([&] { return ticks.count() > 0; }, 5000));
}

void TimingTest::enablingARunningTimerKeepsItsInterval() {
    // The search enables the timer on every pass of its wait; a restart each time would starve it of ticks.
    EnvironmentSetting setting("VELMORA_TICK_MS", "20");
    vb::Timer timer(50);
    QSignalSpy ticks(&timer, &vb::Timer::Tick);
    QElapsedTimer clock;
    clock.start();
    while (ticks.count() == 0 && clock.elapsed() < 5000) {
        timer.setEnabled(true);
        vb::DoEvents();
        vb::Sleep(1);
    }
    QVERIFY(ticks.count() > 0);
}

void TimingTest::disabledTimerDoesNotTick() {
    EnvironmentSetting setting("VELMORA_TICK_MS", "2");
    vb::Timer timer(50);
    QSignalSpy ticks(&timer, &vb::Timer::Tick);
    timer.setEnabled(true);
    timer.setEnabled(false);
    QVERIFY(!timer.Enabled());
    QTest::qWait(40);
    QCOMPARE(ticks.count(), 0);
}

void TimingTest::doEventsAfterTheProgramEndedUnwindsTheHandler() {
    bool unwound = false;
    try {
        vb::End();
    } catch (const vb::ProgramEnded&) {
        unwound = true;
    }
    QVERIFY(unwound);
    // A handler still running (it called DoEvents when another one ended the program) stops there.
    bool stopped = false;
    try {
        vb::DoEvents();
    } catch (const vb::ProgramEnded&) {
        stopped = true;
    }
    vb::ResetEnded();
    QVERIFY(stopped);
    vb::DoEvents(); // a new run of the program waits normally again
}

void TimingTest::waitForEventsRunsPendingEventsAtOnce() {
    QueuedCall call;
    // Were it to sleep with the call pending, only this guard's timer would wake it, 5 s later.
    QTimer guard;
    guard.setSingleShot(true);
    guard.start(5000);
    QElapsedTimer clock;
    clock.start();
    vb::WaitForEvents();
    QVERIFY(call.ran);
    QVERIFY2(clock.elapsed() < 2500, qPrintable(QString("%1 ms with an event pending").arg(clock.elapsed())));
}

// With nothing pending it sleeps until the timer is due: a wait of 200 ms costs a small part of that in
// CPU (a spinning wait uses all of it; a loaded machine only lowers the share).
void TimingTest::waitForEventsSleepsUntilTheNextTimerTick() {
    bool fired = false;
    QTimer timer;
    timer.setTimerType(Qt::PreciseTimer);
    timer.setSingleShot(true);
    connect(&timer, &QTimer::timeout, [&] { fired = true; });
    timer.start(200);
    const WaitCost cost = MeasureWait(vb::WaitForEvents, [&] { return fired; });
    QVERIFY(cost.wall >= 0.2);
    QVERIFY2(cost.passes < 50, qPrintable(QString("%1 passes").arg(cost.passes)));
    QVERIFY2(cost.cpu < 0.2 * cost.wall,
             qPrintable(QString("%1 s of CPU in %2 s").arg(cost.cpu).arg(cost.wall)));
}

// The receive notification reaches the window as a posted call: a call posted from another thread ends
// the sleep.
void TimingTest::waitForEventsWakesForACallPostedFromAnotherThread() {
    QObject receiver;
    bool ran = false;
    std::thread poster([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        QMetaObject::invokeMethod(
            &receiver, [&] { ran = true; }, Qt::QueuedConnection);
    });
    QTimer guard; // wakes a wait that missed the call, so that the test fails instead of hanging
    guard.start(2000);
    const WaitCost cost = MeasureWait(vb::WaitForEvents, [&] { return ran; });
    poster.join();
    QVERIFY(cost.wall >= 0.2);
    QVERIFY2(cost.wall < 1.9, qPrintable(QString("the posted call ran after %1 s").arg(cost.wall)));
    QVERIFY2(cost.passes < 50, qPrintable(QString("%1 passes").arg(cost.passes)));
    QVERIFY2(cost.cpu < 0.2 * cost.wall,
             qPrintable(QString("%1 s of CPU in %2 s").arg(cost.cpu).arg(cost.wall)));
}

// Input waiting on a port (here a pipe) wakes the wait through its notifier.
void TimingTest::waitForEventsWakesForInputWaiting() {
    LateByte input(200);
    bool activated = false;
    QSocketNotifier notifier(input.fds[0], QSocketNotifier::Read);
    connect(&notifier, &QSocketNotifier::activated, [&] {
        activated = true;
        notifier.setEnabled(false);
    });
    QTimer guard;
    guard.start(2000);
    const WaitCost cost = MeasureWait(vb::WaitForEvents, [&] { return activated; });
    QVERIFY(cost.wall >= 0.2);
    QVERIFY2(cost.wall < 1.9, qPrintable(QString("the input was seen after %1 s").arg(cost.wall)));
    QVERIFY2(cost.passes < 50, qPrintable(QString("%1 passes").arg(cost.passes)));
    QVERIFY2(cost.cpu < 0.2 * cost.wall,
             qPrintable(QString("%1 s of CPU in %2 s").arg(cost.cpu).arg(cost.wall)));
}

// A wait that counts the window timer's ticks sees each of them, one per pass, as a spinning wait does:
// 50 ticks take 50 intervals, with one pass per event rather than thousands.
void TimingTest::waitForEventsCountsEveryTimerTick() {
    EnvironmentSetting setting("VELMORA_TICK_MS", "10");
    vb::Timer timer(50);
    int ticks = 0;
    int passes = 0;
    int mostTicksInAPass = 0;
    connect(&timer, &vb::Timer::Tick, [&] { ++ticks; });
    timer.setEnabled(true);
    QElapsedTimer clock;
    clock.start();
    const double before = ThreadCpuSeconds();
    while (ticks < 50) {
        const int seen = ticks;
        vb::WaitForEvents();
        ++passes;
        mostTicksInAPass = std::max(mostTicksInAPass, ticks - seen);
    }
    const double cpu = ThreadCpuSeconds() - before;
    const double wall = double(clock.nsecsElapsed()) / 1e9;
    QCOMPARE(ticks, 50);
    QCOMPARE(mostTicksInAPass, 1);
    QVERIFY(wall >= 0.45); // 50 intervals of 10 ms, less a coarse timer's 5 %
    QVERIFY2(passes < 500, qPrintable(QString("%1 passes for 50 ticks").arg(passes)));
    QVERIFY2(cpu < 0.2 * wall, qPrintable(QString("%1 s of CPU in %2 s").arg(cpu).arg(wall)));
}

void TimingTest::waitForEventsAfterTheProgramEndedUnwindsWithoutSleeping() {
    try {
        vb::End();
    } catch (const vb::ProgramEnded&) {
    }
    QVERIFY(vb::HasEnded());
    // Nothing is pending and no timer runs but this guard: a wait that slept would last its 5 s.
    QTimer guard;
    guard.setSingleShot(true);
    guard.start(5000);
    QElapsedTimer clock;
    clock.start();
    bool stopped = false;
    try {
        vb::WaitForEvents();
    } catch (const vb::ProgramEnded&) {
        stopped = true;
    }
    const qint64 took = clock.elapsed();
    vb::ResetEnded();
    QVERIFY(stopped);
    QVERIFY2(took < 2500, qPrintable(QString("%1 ms").arg(took)));
}

QTEST_MAIN(TimingTest)
#include "tst_timing.moc"
