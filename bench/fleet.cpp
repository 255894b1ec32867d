// velmora-cli download --all against a depot of 16 emulated tablets, each sending the same 25-record
// sample paced at 115200 8O1 (10472 bytes/s), beside velmora-cli download of one tablet alone:
//
//   wall     the fleet's wall time / the single download's (goal at most 1.2: the tablets are
//            downloaded side by side, not one after another)
//   cpu      the CLI process's CPU time (user + system, the child alone, from wait4) / its wall time
//            (goal at most 0.2 of one core)
//
// Both runs use the default silence of 2000 ms that ends a stream. Every file is checked against what
// its tablet streamed. Prints figures; never fails on timing.
#include "sample_records.h"
#include "tablet.h"

#include <QDir>
#include <QTemporaryDir>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <memory>
#include <spawn.h>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <vector>

extern char** environ;

namespace {

using Clock = std::chrono::steady_clock;
constexpr int kTablets = 16;

struct ChildRun {
    int status = -1;
    double wall = 0;
    double cpu = 0;
};

// Runs velmora-cli with `arguments` (its output to /dev/null) and measures the child alone.
ChildRun RunCli(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), VELMORA_CLI_PROGRAM);
    std::vector<char*> argv;
    for (std::string& argument : arguments)
        argv.push_back(argument.data());
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    // The child gets none of our descriptors: a tablet's end of its pseudo-terminal held open by the
    // child would keep its line up.
    for (int fd = 3; fd < 1024; ++fd)
        fcntl(fd, F_SETFD, FD_CLOEXEC);
    ChildRun run;
    const auto start = Clock::now();
    pid_t child = 0;
    if (posix_spawn(&child, argv[0], &actions, nullptr, argv.data(), environ) != 0) return run;
    posix_spawn_file_actions_destroy(&actions);
    int status = 0;
    rusage usage{};
    wait4(child, &status, 0, &usage);
    run.wall = std::chrono::duration<double>(Clock::now() - start).count();
    run.cpu = double(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
              double(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
    run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return run;
}

std::string ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

void Print(const char* what, const ChildRun& run) {
    std::printf("%-28s exit %d, wall %.2f s, CPU %.3f s (%.3f of one core)\n", what, run.status, run.wall,
                run.cpu, run.wall > 0 ? run.cpu / run.wall : 0.0);
}

} // namespace

int main() {
    QTemporaryDir ports, lockFolder, files;
    setenv("VELMORA_PORTS", ports.path().toLocal8Bit().constData(), 1);
    setenv("VELMORA_LOCK_DIR", lockFolder.path().toLocal8Bit().constData(), 1);
    const std::string sample = sim::SampleVlm(25);
    std::printf("fleet: %d tablets, 25 records (%zu bytes) each, paced at 115200 8O1 (%.1f s a tablet)\n",
                kTablets, sample.size(), double(sample.size()) / 10472.0);

    std::vector<std::unique_ptr<sim::Tablet>> tablets;
    auto makeTablets = [&](int count) {
        tablets.clear();
        for (int port = 1; port <= count; ++port) {
            tablets.push_back(std::make_unique<sim::Tablet>(ports.path().toStdString(), port));
            tablets.back()->setRecords(sample);
            tablets.back()->setLineRatePacing(true);
        }
    };

    makeTablets(1);
    const std::string single = files.filePath("single.vlm").toStdString();
    const ChildRun alone = RunCli({"download", single});
    const bool aloneWhole = ReadFile(single) == sample;

    makeTablets(kTablets);
    const std::string depot = files.filePath("depot").toStdString();
    QDir().mkpath(QString::fromStdString(depot));
    const ChildRun fleet = RunCli({"download", "--all", depot});
    int whole = 0;
    const std::string date = [] {
        char text[16];
        const std::time_t now = std::time(nullptr);
        std::strftime(text, sizeof text, "%Y-%m-%d", std::localtime(&now));
        return std::string(text);
    }();
    for (int port = 1; port <= kTablets; ++port)
        whole += ReadFile(depot + "/COM" + std::to_string(port) + "-" + date + ".vlm") == sample ? 1 : 0;

    Print("one tablet (download):", alone);
    Print("16 tablets (download --all):", fleet);
    std::printf("files identical to the stream: single %s, fleet %d of %d\n", aloneWhole ? "yes" : "NO",
                whole, kTablets);
    std::printf("wall ratio fleet / single: %.2f (goal at most 1.2)\n",
                alone.wall > 0 ? fleet.wall / alone.wall : 0.0);
    std::printf("fleet CPU / wall: %.3f of one core (goal at most 0.2)\n",
                fleet.wall > 0 ? fleet.cpu / fleet.wall : 0.0);
    return 0;
}
