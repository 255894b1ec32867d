// "Download &VLM File" through the real console (offscreen) against the emulated tablet on a pty:
//
//   transfer   a 100-record sample paced at 115200 8O1 (10472 bytes/s), with the real idle delay:
//              bytes saved / bytes sent (goal exactly 1), the effective rate / 10472 bytes/s, the time
//              from the tablet's last byte to the "Download complete" box in idle delays (goal about 4:
//              the line must stay silent through four of them), and the program's CPU time over the
//              download's wall time (goal at most 0.1; the main thread's own time, so the emulator's
//              thread is not counted).
//   wake-up    how many ENQ writes the wake-up takes and how many echoes the receive notification took
//              into the received text meanwhile, over many short downloads, on an idle machine and with
//              spinning child processes keeping every core busy.
//
// The message box and the save dialog are answered in-process. Prints figures and ratios; never fails on
// timing.
#include "app/globals.h"
#include "app/startup.h"
#include "console/console_window.h"
#include "platform/timing.h"
#include "sample_records.h"
#include "support/modal_answerer.h"
#include "tablet.h"

#include <QApplication>
#include <QFileDialog>
#include <QMessageBox>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTimer>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <map>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
constexpr double kLineRate = 10472.0; // bytes/s at 115200 baud, 11 bits a byte
constexpr int kPort = 3;

double Seconds(Clock::duration d) {
    return std::chrono::duration<double>(d).count();
}

double ThreadCpuSeconds() {
    rusage usage{};
    getrusage(RUSAGE_THREAD, &usage);
    return double(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           double(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

std::string ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

// Answers the "Download complete" box with OK and the save dialog with `path`, noting when the box
// was shown and the main thread's CPU time at that moment.
class Answerer : public QObject {
public:
    explicit Answerer(QString path) : path(std::move(path)) {
        qApp->installEventFilter(this);
        connect(&timer, &QTimer::timeout, this, [this] { answer(); });
        timer.start(5);
    }
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::Show && qobject_cast<QMessageBox*>(watched) && !boxShown) {
            boxShown = Clock::now();
            cpuAtBox = ThreadCpuSeconds();
        }
        return false;
    }
    std::optional<Clock::time_point> boxShown;
    double cpuAtBox = 0;

private:
    void answer() {
        QWidget* modal = QApplication::activeModalWidget();
        if (auto* box = qobject_cast<QMessageBox*>(modal))
            box->button(QMessageBox::Ok)->click();
        else if (auto* dialog = qobject_cast<QFileDialog*>(modal)) {
            testing_support::ChooseInDialog(dialog, path);
        }
    }
    QString path;
    QTimer timer;
};

void Transfer(frmQuillmaxSerial* console, sim::Tablet& tablet, const QTemporaryDir& dir) {
    const std::string sample = sim::SampleVlm(100);
    tablet.setRecords(sample);
    tablet.setLineRatePacing(true);
    tablet.clearReceived();
    const std::string path = dir.filePath("transfer.vlm").toStdString();

    // The emulator's own thread wakes a watcher of ours when the stream starts and when it is all out.
    std::optional<Clock::time_point> firstSent, lastSent;
    std::thread watcher([&] {
        if (tablet.waitForStreamed(1, std::chrono::minutes(2))) firstSent = Clock::now();
        if (tablet.waitForStreamed(sample.size(), std::chrono::minutes(2))) lastSent = Clock::now();
    });
    Answerer answerer(QString::fromStdString(path));
    const auto start = Clock::now();
    const double cpuStart = ThreadCpuSeconds();
    console->cmdDownload->click();
    watcher.join();

    const std::string saved = ReadFile(path);
    const std::size_t enqs =
        saved.find_first_not_of('\x05') == std::string::npos ? saved.size() : saved.find_first_not_of('\x05');
    const bool whole = saved.substr(enqs) == sample;
    std::printf("transfer: 100 records, %zu bytes sent paced at 115200 8O1\n", sample.size());
    std::printf("  bytes saved / bytes sent     %.6f  (%zu ENQ echoes before the count; stream %s)\n",
                double(saved.size() - enqs) / double(sample.size()), enqs, whole ? "identical" : "DIFFERS");
    if (firstSent && lastSent) {
        const double rate = double(sample.size()) / Seconds(*lastSent - *firstSent);
        std::printf("  effective rate               %.0f bytes/s   / 10472 bytes/s = %.3f\n", rate,
                    rate / kLineRate);
    }
    const double delay = vb::BusyDelaySeconds(console->dblDelay);
    if (lastSent && answerer.boxShown) {
        const double quiet = Seconds(*answerer.boxShown - *lastSent);
        std::printf("  last byte -> box             %.3f s = %.2f idle delays of %.3f s (goal about 4)\n",
                    quiet, quiet / delay, delay);
    }
    if (answerer.boxShown) {
        const double wall = Seconds(*answerer.boxShown - start);
        const double cpu = answerer.cpuAtBox - cpuStart;
        std::printf("  program CPU / wall           %.3f s / %.3f s = %.3f  (goal <= 0.1)\n", cpu, wall,
                    cpu / wall);
    }
}

struct WakeUps {
    std::map<std::size_t, int> tries;   // writes the wake-up took -> downloads
    std::map<std::size_t, int> swallow; // echoes the notification kept before the stream -> downloads
    int wakeUpFailed = 0;               // 2500 writes without an echo seen: no DC2 SI was sent
    int streamCut = 0;                  // woken, but the file is not the whole stream
};

WakeUps MeasureWakeUps(frmQuillmaxSerial* console, sim::Tablet& tablet, const QTemporaryDir& dir, int runs) {
    const std::string sample = sim::SampleVlm(2);
    tablet.setRecords(sample);
    tablet.setLineRatePacing(false);
    const std::string path = dir.filePath("wake-up.vlm").toStdString();
    WakeUps result;
    for (int run = 0; run < runs; ++run) {
        tablet.clearReceived();
        std::remove(path.c_str());
        Answerer answerer(QString::fromStdString(path));
        console->cmdDownload->click();
        const std::string received = tablet.received();
        const std::size_t dc2 = received.find('\x12');
        const std::string saved = ReadFile(path);
        const std::size_t enqs = saved.find_first_not_of('\x05');
        if (dc2 == std::string::npos) {
            ++result.wakeUpFailed;
            continue;
        }
        if (enqs == std::string::npos || saved.substr(enqs) != sample) {
            ++result.streamCut;
            continue;
        }
        ++result.tries[dc2];
        ++result.swallow[enqs];
    }
    return result;
}

void Print(const char* what, const std::map<std::size_t, int>& histogram) {
    std::printf("    %-28s", what);
    for (const auto& [value, count] : histogram)
        std::printf(" %zu:%d", value, count);
    std::printf("\n");
}

std::vector<pid_t> StartSpinners(int count) {
    std::vector<pid_t> spinners;
    for (int i = 0; i < count; ++i) {
        const pid_t child = fork();
        if (child == 0) {
            volatile unsigned long spin = 0;
            for (;;)
                spin = spin + 1;
        }
        if (child > 0) spinners.push_back(child);
    }
    return spinners;
}

void StopSpinners(const std::vector<pid_t>& spinners) {
    for (const pid_t child : spinners) {
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
    }
}

} // namespace

// The offscreen platform warns about every dialog it shows; the figures are what this program prints.
static void QuietMessages(QtMsgType type, const QMessageLogContext&, const QString& message) {
    if (type == QtCriticalMsg || type == QtFatalMsg) std::fprintf(stderr, "%s\n", qPrintable(message));
}

int main(int argc, char** argv) {
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    qInstallMessageHandler(QuietMessages);
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    QTemporaryDir ports, files;
    qputenv("VELMORA_PORTS", ports.path().toLocal8Bit());
    sim::Tablet tablet(ports.path().toStdString(), kPort);

    StartProgram();
    frmQuillmaxSerial* console = app::Console();
    console->cmdSearch->click();
    if (intComPort != kPort) {
        std::printf("the search did not find the emulated tablet\n");
        return 1;
    }

    Transfer(console, tablet, files);

    // Shorter idle delays (37.5 ms, as the tests use): the wake-up is what is looked at here.
    qputenv("VELMORA_DELAY_SCALE", "0.25");
    const int runs = 100;
    const int cores = int(std::max(1u, std::thread::hardware_concurrency()));
    for (const int spinners : {0, 2 * cores}) {
        const std::vector<pid_t> children = StartSpinners(spinners);
        const WakeUps wakeUps = MeasureWakeUps(console, tablet, files, runs);
        StopSpinners(children);
        std::printf("wake-up over %d downloads, %d spinning processes on %d cores (value:downloads)\n", runs,
                    spinners, cores);
        Print("ENQ writes", wakeUps.tries);
        Print("echoes kept before the stream", wakeUps.swallow);
        std::printf("    wake-ups that gave up        %d\n", wakeUps.wakeUpFailed);
        std::printf("    streams not saved whole      %d\n", wakeUps.streamCut);
    }
    return 0;
}
