// Start-up cost of the tool: process start to the console shown (offscreen) and peak memory, beside the
// same figures for an empty Qt Widgets window started by the same binary in the same run.
//
// A third reference, a window holding one label, shows how much of the difference is the font machinery
// that the first text on screen starts (fontconfig, FreeType), which an empty window never needs.
//
// The parent starts this program 20 times in each role; a child shows its window, waits for the window's
// first paint, writes one byte to its standard output and exits.
// The parent times process start to that byte and takes the child's peak RSS from wait4().
#include "app/startup.h"
#include "console/console_window.h"

#include <QApplication>
#include <QEvent>
#include <QLabel>
#include <QTimer>
#include <QWidget>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <spawn.h>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

extern char** environ;

namespace {

constexpr int kRuns = 20;

struct Sample {
    double milliseconds;
    long peakKiB;
};

enum class Role { Console, Empty, Label };

// Reports "shown" on the window's first paint: its controls are then laid out and drawn once.
class FirstPaint : public QObject {
public:
    explicit FirstPaint(QWidget* window) { window->installEventFilter(this); }

protected:
    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() == QEvent::Paint && !reported) {
            reported = true;
            // Quit once the paint is done, from the event loop.
            QTimer::singleShot(0, [] {
                (void)!write(STDOUT_FILENO, "!", 1);
                QCoreApplication::exit(0);
            });
        }
        return false;
    }

private:
    bool reported = false;
};

int RunChild(char** argv, Role role) {
    int programArgc = 1; // the program's own command line stays empty (no unattended download)
    QApplication app(programArgc, argv);
    QWidget window;
    QWidget* shown = &window;
    if (role == Role::Console) {
        StartProgram();
        shown = app::Console();
    } else {
        if (role == Role::Label) new QLabel("Velmora LT", &window);
        window.show();
    }
    FirstPaint firstPaint(shown);
    return QApplication::exec();
}

Sample RunOnce(const char* self, const char* role) {
    int channel[2];
    if (pipe(channel) != 0) std::exit(1);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, channel[1], STDOUT_FILENO);
    posix_spawn_file_actions_addclose(&actions, channel[0]);
    char* childArgv[] = {const_cast<char*>(self), const_cast<char*>(role), nullptr};
    const auto started = std::chrono::steady_clock::now();
    pid_t child = 0;
    if (posix_spawn(&child, self, &actions, nullptr, childArgv, environ) != 0) std::exit(1);
    close(channel[1]);
    char shown = 0;
    if (read(channel[0], &shown, 1) != 1) {
        std::fprintf(stderr, "the %s child never showed its window\n", role);
        std::exit(1);
    }
    const auto elapsed = std::chrono::steady_clock::now() - started;
    close(channel[0]);
    posix_spawn_file_actions_destroy(&actions);
    int status = 0;
    rusage usage{};
    wait4(child, &status, 0, &usage);
    return {std::chrono::duration<double, std::milli>(elapsed).count(), usage.ru_maxrss};
}

template <typename T> T Median(std::vector<T> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

} // namespace

int main(int argc, char** argv) {
    if (argc > 1 && std::strcmp(argv[1], "--console") == 0) return RunChild(argv, Role::Console);
    if (argc > 1 && std::strcmp(argv[1], "--empty") == 0) return RunChild(argv, Role::Empty);
    if (argc > 1 && std::strcmp(argv[1], "--label") == 0) return RunChild(argv, Role::Label);

    setenv("QT_QPA_PLATFORM", "offscreen", 1);
    char runtime[] = "/tmp/velmora-bench-runtime-XXXXXX"; // mkdtemp makes it 0700, as Qt wants it
    if (!getenv("XDG_RUNTIME_DIR") && mkdtemp(runtime)) setenv("XDG_RUNTIME_DIR", runtime, 1);
    char ports[] = "/tmp/velmora-bench-ports-XXXXXX";
    if (!mkdtemp(ports)) return 1;
    setenv("VELMORA_PORTS", ports, 1); // the console touches no device; it opens none at start-up anyway

    std::vector<double> consoleMs, emptyMs, labelMs;
    std::vector<long> consoleKiB, emptyKiB, labelKiB;
    for (int run = 0; run < kRuns; ++run) { // interleaved, so both see the same machine load
        const Sample empty = RunOnce(argv[0], "--empty");
        const Sample console = RunOnce(argv[0], "--console");
        const Sample label = RunOnce(argv[0], "--label");
        labelMs.push_back(label.milliseconds);
        labelKiB.push_back(label.peakKiB);
        emptyMs.push_back(empty.milliseconds);
        emptyKiB.push_back(empty.peakKiB);
        consoleMs.push_back(console.milliseconds);
        consoleKiB.push_back(console.peakKiB);
    }
    rmdir(ports);
    rmdir(runtime);

    const double timeRatio = Median(consoleMs) / Median(emptyMs);
    const double extraMiB = double(Median(consoleKiB) - Median(emptyKiB)) / 1024.0;
    std::printf("startup (median of %d runs, offscreen)\n", kRuns);
    std::printf("  console shown:       %8.1f ms   peak RSS %8.1f MiB\n", Median(consoleMs),
                Median(consoleKiB) / 1024.0);
    std::printf("  empty Qt window:     %8.1f ms   peak RSS %8.1f MiB\n", Median(emptyMs),
                Median(emptyKiB) / 1024.0);
    std::printf("  one-label window:    %8.1f ms   peak RSS %8.1f MiB\n", Median(labelMs),
                Median(labelKiB) / 1024.0);
    std::printf("  ratio time console/empty: %.2f x (goal <= 1.30)\n", timeRatio);
    std::printf("  ratio time console/one-label window: %.2f x\n", Median(consoleMs) / Median(labelMs));
    std::printf("  extra memory: %+.1f MiB (goal <= 10)\n", extraMiB);
    return 0;
}
