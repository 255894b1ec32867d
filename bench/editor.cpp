// The record editor's file and record actions on a full 100-record file, against plain reads and writes of
// the same bytes:
//   open    reading the chosen file into the record table and showing record 1 (the part of Open File
//           after the file dialog), against std::ifstream reading the whole file;
//   step    one navigation step (Next) refilling the 111 entry boxes, against std::ifstream reading one
//           record's bytes; "+paint" is the same step with the window's repaint that follows it;
//   commit  Commit Changes To File rewriting the file, against std::ofstream writing the same bytes.
// Each figure is the median of its runs. Goals: open <= 20 ms, step <= 2 ms, commit <= 20 ms.
#include "editor/frm_korvani_upload_utility.h"

#include <QApplication>
#include <QTemporaryDir>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

double Milliseconds(const std::function<void()>& action) {
    const auto start = Clock::now();
    action();
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const std::size_t middle = values.size() / 2;
    return values.size() % 2 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

// A full file: every field of every record holds text as long as its box allows.
std::string FullFileBytes() {
    std::string bytes;
    for (int record = 1; record <= editor::kMaxRecords; ++record) {
        for (int field = 0; field < editor::kFieldCount; ++field) {
            std::string text = "R" + std::to_string(record) + " F" + std::to_string(field) + " ";
            while (int(text.size()) < editor::FieldMaxLength(field))
                text += char('a' + (text.size() % 26));
            text.resize(std::size_t(editor::FieldMaxLength(field)));
            if (field == editor::kNoteField || field == editor::kInfo4Field)
                text.clear(); // hidden fields, blank as the editor writes them
            bytes += text + "\r\n";
        }
        bytes += "\r\n";
    }
    return bytes;
}

void Report(const char* what, double median, double reference, const char* referenceName) {
    std::printf("%-8s %9.3f ms   %-34s %9.3f ms   ratio %8.1f\n", what, median, referenceName, reference,
                reference > 0 ? median / reference : 0.0);
}

} // namespace

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QTemporaryDir dir;
    const std::string path = dir.filePath("bench.txt").toStdString();
    const std::string bytes = FullFileBytes();
    std::ofstream(path, std::ios::binary) << bytes;

    auto* window = new frmKorvaniUploadUtility();
    window->show();
    QApplication::processEvents();

    constexpr int kRuns = 31;
    window->table.FilePathName = path;

    // A plain read of `size` bytes from `offset`.
    auto plainRead = [&](std::size_t offset, std::size_t size) {
        std::ifstream in(path, std::ios::binary);
        in.seekg(std::streamoff(offset));
        std::string read(size, '\0');
        in.read(read.data(), std::streamsize(size));
        if (std::size_t(in.gcount()) != size) std::printf("short read\n");
    };

    std::vector<double> open, openReference;
    for (int run = 0; run < kRuns; ++run) {
        // Another record in the boxes first, so that showing record 1 changes every box.
        if (window->table.RecordCount >= 50) window->ShowRecord(50);
        QApplication::processEvents();
        window->table.FileLoaded = false;
        open.push_back(Milliseconds([&] { window->ReadAndShowFile(); }));
        QApplication::processEvents();
        openReference.push_back(Milliseconds([&] { plainRead(0, bytes.size()); }));
    }

    const std::size_t recordBytes = bytes.size() / editor::kMaxRecords;
    std::vector<double> step, stepPainted, stepReference;
    for (int pass = 0; pass < 5; ++pass) {
        window->GoFirst();
        QApplication::processEvents();
        for (int record = 2; record <= window->table.RecordCount; ++record) {
            step.push_back(Milliseconds([&] { window->GoNext(); }));
            // The same step as the user sees it: the window repainted with the new record.
            stepPainted.push_back(step.back() + Milliseconds([&] { QApplication::processEvents(); }));
            stepReference.push_back(
                Milliseconds([&] { plainRead(recordBytes * std::size_t(record - 1), recordBytes); }));
        }
    }

    std::vector<double> commit, commitReference;
    const std::string referencePath = dir.filePath("reference.txt").toStdString();
    for (int run = 0; run < kRuns; ++run) {
        window->table.RecordEdited = false;
        window->table.RecordsChanged = true;
        commit.push_back(Milliseconds([&] { window->CommitFile(); }));
        commitReference.push_back(Milliseconds([&] {
            std::ofstream out(referencePath, std::ios::binary | std::ios::trunc);
            out.write(bytes.data(), std::streamsize(bytes.size()));
        }));
    }

    std::ifstream written(path, std::ios::binary);
    const std::string after((std::istreambuf_iterator<char>(written)), std::istreambuf_iterator<char>());
    std::printf("file: %d records, %zu bytes; committed file %s the original\n",
                int(window->table.RecordCount), bytes.size(), after == bytes ? "equals" : "DIFFERS FROM");
    Report("open", Median(open), Median(openReference), "std::ifstream, whole file");
    Report("step", Median(step), Median(stepReference), "std::ifstream, one record's bytes");
    Report("+paint", Median(stepPainted), Median(stepReference), "std::ifstream, one record's bytes");
    Report("commit", Median(commit), Median(commitReference), "std::ofstream, whole file");
    std::printf("goals: open <= 20 ms, step <= 2 ms, commit <= 20 ms\n");

    window->table.FileChangedByDelete = false;
    window->table.FileChanged = false;
    window->close();
    return 0;
}
