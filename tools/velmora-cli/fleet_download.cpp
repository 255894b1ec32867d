#include "fleet_download.h"

#include "download_command.h"
#include "terminal_progress.h"

#include <QDate>
#include <QThread>
#include <cstdio>
#include <memory>
#include <mutex>
#include <sys/stat.h>
#include <vector>

namespace cli {

namespace {

// The figures of every worker, for one progress line over them all.
class FleetProgress {
public:
    explicit FleetProgress(std::size_t tablets) : tallies(tablets), ended(tablets, false) {}

    void received(std::size_t worker, std::string_view stream) {
        const std::lock_guard hold(figures);
        tallies[worker].update(stream);
        line.update(textLocked());
    }
    void done(std::size_t worker) {
        const std::lock_guard hold(figures);
        ended[worker] = true;
        line.update(textLocked());
    }
    void finish() {
        const std::lock_guard hold(figures);
        line.finish(textLocked());
    }

private:
    std::string textLocked() const {
        std::size_t bytes = 0, done = 0;
        int records = 0, count = 0;
        bool countsKnown = true;
        for (std::size_t worker = 0; worker < tallies.size(); ++worker) {
            bytes += tallies[worker].bytes();
            records += tallies[worker].recordsDone();
            countsKnown = countsKnown && tallies[worker].recordCount();
            count += tallies[worker].recordCount().value_or(0);
            done += ended[worker] ? 1 : 0;
        }
        return std::to_string(done) + " of " + std::to_string(tallies.size()) + " tablets done, " +
               ProgressFigures(bytes, records, countsKnown ? count : -1);
    }

    std::mutex figures;
    std::vector<RecordTally> tallies;
    std::vector<bool> ended;
    TerminalProgress line;
};

// One tablet's download on a thread of its own. The line is opened inside the thread: the serial layer
// makes a socket notifier, which belongs to the thread that makes it and needs that thread's event
// dispatcher (a QThread has one).
class TabletWorker : public QThread {
public:
    TabletWorker(std::size_t index, int port, const DownloadSettings& settings, const std::string& dir,
                 const std::string& stem, FleetProgress& progress)
        : index(index), port(port), settings(settings), dir(dir), stem(stem), progress(progress) {}

    int status = kFailure;
    std::string summary; // the summary line, or the failure's message

protected:
    void run() override {
        try {
            TabletLine line(port, settings.line.baud);
            const std::string stream =
                ReceiveRecordStream(line, settings.stream, [this](std::string_view received) {
                    progress.received(index, received);
                });
            const std::string path = WriteNewRecordFile(dir, stem, stream);
            EndDownload(line);
            summary = DownloadSummary(port, ResolvedDevice(line.device()), stream, path);
            status = kSuccess;
        } catch (const LineFailure& failure) {
            summary = failure.what();
            status = failure.status;
        }
        progress.done(index);
    }

private:
    std::size_t index;
    int port;
    const DownloadSettings& settings;
    std::string dir, stem;
    FleetProgress& progress;
};

bool IsFolder(const std::string& path) {
    struct stat info {};
    return stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

} // namespace

int RunDownloadAll(const std::string& dir, const DownloadSettings& settings) {
    if (!IsFolder(dir))
        throw LineFailure(kFailure, dir + ": no such folder; the records go into an existing one");
    // One date for the whole run, even when it goes past midnight.
    const std::string date = QDate::currentDate().toString(Qt::ISODate).toStdString();

    std::vector<PortProbe> probes;
    ProbePorts(settings.line.baud, settings.line.timeout, false, probes); // every line is closed again
    std::vector<int> ports;
    for (const PortProbe& probe : probes)
        if (probe.status == kSuccess) ports.push_back(probe.port);
    if (ports.empty()) throw LineFailure(kNotFound, NoTabletAnswered(probes));

    FleetProgress progress(ports.size());
    std::vector<std::unique_ptr<TabletWorker>> workers;
    for (std::size_t index = 0; index < ports.size(); ++index) {
        const std::string stem = "COM" + std::to_string(ports[index]) + "-" + date;
        workers.push_back(std::make_unique<TabletWorker>(index, ports[index], settings, dir, stem, progress));
        workers.back()->start();
    }
    for (const auto& worker : workers)
        worker->wait();
    progress.finish();

    int status = kSuccess;
    for (const auto& worker : workers) {
        std::printf("%s\n", worker->summary.c_str());
        if (status == kSuccess) status = worker->status;
    }
    std::fflush(stdout);
    if (status != kSuccess)
        std::fprintf(stderr, "velmora-cli download --all: not every tablet was downloaded\n");
    return status;
}

} // namespace cli
