// The console's data file upload ("&Upload File") of a 100-record file over a pty to the emulated tablet:
//   cpu   the CPU time of the program's thread per byte sent, from the accepted file dialog to the
//         "Upload complete" box (reading, packing, one write per character and the progress bar's redraw
//         per character), beside the time one byte takes on the line at 115200 8O1 (11 bits: 95.5 us);
//         goal: at most 0.1 of it;
//   rate  the bytes per second the tablet received, reading at the line rate, from FF to NUL, beside the
//         line's 10472 bytes a second; goal: at least 0.95 of it.
// The first run has the tablet read as fast as it can, the second at the line rate.
#include "app/startup.h"
#include "console/console_window.h"
#include "support/modal_answerer.h"
#include "tablet.h"
#include "upload/packed_stream.h"

#include <QApplication>
#include <QFile>
#include <QFileDialog>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTimer>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <string>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;
constexpr double kLineByteMicroseconds = 11.0 / 115200 * 1e6;
constexpr double kLineBytesPerSecond = 115200.0 / 11;

double ThreadCpuSeconds() {
    timespec used{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
    return double(used.tv_sec) + double(used.tv_nsec) / 1e9;
}

// 100 records as an operator fills them: every named field, and 40 of the numbered ones.
std::string RecordFile() {
    std::string file;
    for (int record = 1; record <= 100; ++record) {
        for (int field = 0; field < 111; ++field) {
            const bool filled = field < 12 || field < 52;
            file +=
                (filled ? "R" + std::to_string(record) + " field " + std::to_string(field) + " text" : "") +
                "\r\n";
        }
        file += "\r\n";
    }
    return file;
}

struct Run {
    double cpuSeconds = 0;
    std::size_t bytes = 0;    // FF, the packed text and NUL
    double tabletSeconds = 0; // FF to NUL at the tablet
};

// Uploads the file once, answering the dialog and the box, and measures it. The tablet's rate is timed
// from its reading FF to its reading the last of the `expected` bytes.
Run Upload(frmQuillmaxSerial* console, sim::Tablet& tablet, const QString& path, std::size_t expected) {
    Run run;
    double cpuAtDialog = 0, cpuAtBox = 0;
    QTimer answerer;
    answerer.setInterval(5);
    QObject::connect(&answerer, &QTimer::timeout, [&] {
        QWidget* modal = QApplication::activeModalWidget();
        if (auto* dialog = qobject_cast<QFileDialog*>(modal)) {
            cpuAtDialog = ThreadCpuSeconds();
            testing_support::ChooseInDialog(dialog, path);
        } else if (auto* box = qobject_cast<QMessageBox*>(modal)) {
            if (cpuAtBox == 0) cpuAtBox = ThreadCpuSeconds();
            box->button(QMessageBox::Ok)->click();
        }
    });
    answerer.start();

    tablet.clearReceived();
    Clock::time_point firstAt, lastAt;
    std::thread watcher([&] {
        // ENQ, then FF: the upload's first byte; then the last.
        if (tablet.waitForReceived(2, std::chrono::seconds(60))) firstAt = Clock::now();
        if (tablet.waitForReceived(expected, std::chrono::seconds(60))) lastAt = Clock::now();
    });
    console->cmdUploadData->click();
    answerer.stop();
    watcher.join();
    run.bytes = tablet.received().size() - 1;
    run.cpuSeconds = cpuAtBox - cpuAtDialog;
    run.tabletSeconds = std::chrono::duration<double>(lastAt - firstAt).count();
    return run;
}

} // namespace

int main(int argc, char** argv) {
    // Qt settings of its own: a file dialog opens where the user's settings say it was last, and may hang
    // in a folder such as /proc.
    QTemporaryDir settings, ports, files;
    qputenv("XDG_CONFIG_HOME", settings.path().toLocal8Bit());
    qputenv("VELMORA_PORTS", ports.path().toLocal8Bit());
    int programArgc = 1;
    QApplication app(programArgc, argv);
    (void)argc;

    sim::Tablet tablet(ports.path().toStdString(), 3);
    StartProgram();
    frmQuillmaxSerial* console = app::Console();
    console->cmdSearch->click();
    if (console->lblConnected->text() != "3") {
        std::fprintf(stderr, "bench_upload: the search did not find the emulated tablet\n");
        return 1;
    }
    const QString path = files.filePath("records.txt");
    QFile file(path);
    const std::string bytes = RecordFile();
    file.open(QIODevice::WriteOnly);
    file.write(bytes.data(), qint64(bytes.size()));
    file.close();

    // The tablet receives ENQ, FF, the packed text and NUL.
    const std::size_t expected = upload::PackRecordFile(bytes).size() + 3;
    const Run fast = Upload(console, tablet, path, expected);
    tablet.setLineRateReading(true);
    const Run paced = Upload(console, tablet, path, expected);

    std::printf("file: 100 records, %zu bytes; sent: %zu bytes (FF, packed text, NUL)\n", bytes.size(),
                fast.bytes);
    for (const auto& [name, run] : {std::pair{"fast tablet", fast}, std::pair{"line-rate tablet", paced}}) {
        const double perByte = run.cpuSeconds / double(run.bytes) * 1e6;
        std::printf("cpu  %-17s %8.3f us/byte   line byte time %6.1f us   ratio %6.3f (goal <= 0.1)\n", name,
                    perByte, kLineByteMicroseconds, perByte / kLineByteMicroseconds);
    }
    const double rate = double(paced.bytes - 1) / paced.tabletSeconds;
    std::printf("rate line-rate tablet %9.0f bytes/s   line %9.0f bytes/s   ratio %6.3f (goal >= 0.95)\n",
                rate, kLineBytesPerSecond, rate / kLineBytesPerSecond);
    delete console;
    return 0;
}
