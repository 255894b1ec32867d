// What a device command costs while it waits for an echo that never comes: "&Reset Device" through the
// real console (offscreen) against an emulated tablet that has gone silent, with Timer1's real 50 ms
// ticks, so the wait runs its full 500 ticks (about 25 s) before "Cannot make connection..." comes up.
//
//   time-out   ticks counted when the failure box came (goal exactly 500, as always), the wall time
//              from the first tick to the box, and the program's CPU time over it (the main thread's
//              own, so the emulator's thread is not counted) as a share of one core (goal at most 0.05).
//   reference  the same wait made as it was before it slept between events: a loop that processes the
//              pending events and enables Timer1 until it has ticked as often, spinning through the
//              passes that find nothing to do. Its share of a core, and the ratio of the two.
//
// Options: --ticks N (the reference's length, default 100 ticks = 5 s; 0 leaves it out). The failure
// box is answered from its own show event, so no polling timer wakes the program during the wait.
// Prints figures and ratios; never fails on timing.
#include "app/globals.h"
#include "app/startup.h"
#include "console/console_window.h"
#include "platform/timing.h"
#include "platform/vb_timer.h"
#include "tablet.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QMessageBox>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTimer>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <sys/resource.h>

namespace {

constexpr int kPort = 3;

double ThreadCpuSeconds() {
    rusage usage{};
    getrusage(RUSAGE_THREAD, &usage);
    return double(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           double(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

// A point of the wait: wall clock and this thread's CPU time.
struct Moment {
    qint64 wallNs = 0;
    double cpu = 0;
};

// The share of one core used between two moments.
double CoreShare(const Moment& from, const Moment& to) {
    const double wall = double(to.wallNs - from.wallNs) / 1e9;
    return wall > 0 ? (to.cpu - from.cpu) / wall : 0;
}

// Notes Timer1's first tick and the moment the failure box is shown (with the ticks counted then), and
// answers the box with OK once it is up.
class TimeOutWatch : public QObject {
public:
    explicit TimeOutWatch(frmQuillmaxSerial* console) : console(console) {
        clock.start();
        qApp->installEventFilter(this);
        connect(console->Timer1, &vb::Timer::Tick, this, [this] {
            if (!firstTick) firstTick = now();
        });
    }
    bool eventFilter(QObject* watched, QEvent* event) override {
        auto* box = qobject_cast<QMessageBox*>(watched);
        if (event->type() == QEvent::Show && box && !boxShown) {
            boxShown = now();
            ticksAtBox = console->lngTicks;
            text = box->text().toStdString();
            QTimer::singleShot(0, box, [box] { box->button(QMessageBox::Ok)->click(); });
        }
        return false;
    }
    Moment now() const { return {clock.nsecsElapsed(), ThreadCpuSeconds()}; }

    std::optional<Moment> firstTick, boxShown;
    int ticksAtBox = -1;
    std::string text;

private:
    frmQuillmaxSerial* console;
    QElapsedTimer clock;
};

// The wait as it was: every pass processes what is pending and enables Timer1, whether or not anything
// came, until Timer1 has ticked `ticks` times.
double SpinningWaitShare(frmQuillmaxSerial* console, int ticks) {
    int counted = 0;
    QObject context;
    QObject::connect(console->Timer1, &vb::Timer::Tick, &context, [&] { ++counted; });
    QElapsedTimer clock;
    clock.start();
    const double cpu = ThreadCpuSeconds();
    do {
        vb::DoEvents();
        console->Timer1->setEnabled(true);
    } while (counted < ticks);
    const double share = (ThreadCpuSeconds() - cpu) / (double(clock.nsecsElapsed()) / 1e9);
    console->Timer1->setEnabled(false);
    return share;
}

} // namespace

// The offscreen platform warns about every dialog it shows; the figures are what this program prints.
static void QuietMessages(QtMsgType type, const QMessageLogContext&, const QString& message) {
    if (type == QtCriticalMsg || type == QtFatalMsg) std::fprintf(stderr, "%s\n", qPrintable(message));
}

int main(int argc, char** argv) {
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    int referenceTicks = 100;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--ticks") == 0 && i + 1 < argc)
            referenceTicks = std::atoi(argv[++i]);
        else {
            std::fprintf(stderr, "usage: %s [--ticks N]\n", argv[0]);
            return 2;
        }
    }
    qInstallMessageHandler(QuietMessages);
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    // The real tick: this measures the wait the operator sits through.
    qunsetenv("VELMORA_TICK_MS");
    int programArgc = 1;
    QApplication application(programArgc, argv);
    QTemporaryDir ports;
    qputenv("VELMORA_PORTS", ports.path().toLocal8Bit());
    sim::Tablet tablet(ports.path().toStdString(), kPort);
    StartProgram();
    frmQuillmaxSerial* console = app::Console();
    console->cmdSearch->click();
    if (intComPort != kPort) {
        std::printf("the search did not find the emulated tablet\n");
        return 1;
    }
    tablet.setFaults({.silent = true});

    std::printf("time-out: Reset Device against a silent tablet, Timer1 at %d ms\n",
                console->Timer1->Interval());
    TimeOutWatch watch(console);
    console->cmdReset->click();
    if (!watch.firstTick || !watch.boxShown) {
        std::printf("  the wait did not run to its failure box\n");
        return 1;
    }
    const double wall = double(watch.boxShown->wallNs - watch.firstTick->wallNs) / 1e9;
    const double share = CoreShare(*watch.firstTick, *watch.boxShown);
    std::printf("  ticks to the time-out        %d  (goal 500)\n", watch.ticksAtBox);
    std::printf("  wait, first tick -> box      %.3f s = %.2f ticks of %d ms\n", wall,
                wall * 1000.0 / console->Timer1->Interval(), console->Timer1->Interval());
    std::printf("  program CPU / wall           %.3f s / %.3f s = %.4f of a core  (goal <= 0.05)\n",
                watch.boxShown->cpu - watch.firstTick->cpu, wall, share);
    if (watch.text.rfind("Cannot make connection.", 0) != 0)
        std::printf("  the box said something else: %s\n", watch.text.c_str());

    if (referenceTicks > 0) {
        const double spinning = SpinningWaitShare(console, referenceTicks);
        std::printf("reference: the same wait spinning through empty passes, over %d ticks\n",
                    referenceTicks);
        std::printf("  program CPU / wall           %.4f of a core\n", spinning);
        std::printf("  sleeping / spinning          %.4f\n", spinning > 0 ? share / spinning : 0.0);
    }
    return 0;
}
