// The record data file reader on any file. The input is written to an in-memory file that the reader
// opens by its path, and the table it fills is held against the file's lines taken one by one: 111 field
// lines then a separator line per record, fields stored as read, every slot not read left empty. The
// reader ends with the record count of the whole records, or raises 62 when the file ends where a separator
// is expected (the record count then unchanged), or 9 for a line beyond record 101, and nothing else.
#include "editor/record_file.h"
#include "fuzz_check.h"
#include "platform/errors.h"
#include "record_data_lines.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

namespace {

// The file the reader opens: one in-memory file for the whole run, refilled for each input.
struct MemoryFile {
    MemoryFile() : fd(memfd_create("record-data", 0)) {
        FUZZ_CHECK(fd >= 0);
        path = "/proc/self/fd/" + std::to_string(fd);
    }
    void fill(const std::uint8_t* data, std::size_t size) {
        FUZZ_CHECK(ftruncate(fd, 0) == 0);
        std::size_t written = 0;
        while (written < size) {
            const ssize_t done = pwrite(fd, data + written, size - written, off_t(written));
            FUZZ_CHECK(done > 0);
            written += std::size_t(done);
        }
    }
    int fd;
    std::string path;
};

struct Expected {
    std::int64_t error = 0;
    short recordCount = 0;
};

// Where each line goes, line by line, as the file's structure says.
Expected Place(const std::vector<std::string>& lines, editor::RecordTable& expected) {
    Expected outcome;
    int field = 0;
    int record = 0;
    std::size_t next = 0;
    while (next < lines.size()) {
        if (record >= editor::kRecordSlots) return {vb::errSubscriptOutOfRange, 0};
        expected.records[std::size_t(field)][std::size_t(record)] = lines[next++];
        if (++field == editor::kFieldCount) {
            if (next == lines.size()) return {vb::errInputPastEndOfFile, 0};
            ++next; // the separator line
            ++record;
            field = 0;
        }
    }
    outcome.recordCount = short(record);
    return outcome;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static MemoryFile file;
    file.fill(data, size);

    // Tables are large (112 x 101 texts): kept for the run and cleared by the reader itself.
    static auto table = std::make_unique<editor::RecordTable>();
    static auto expected = std::make_unique<editor::RecordTable>();
    expected->ClearRecords();
    const Expected outcome =
        Place(RecordDataLines(std::string_view(reinterpret_cast<const char*>(data), size)), *expected);

    constexpr short kBefore = 42;
    table->RecordCount = kBefore;
    table->CurrentRecord = kBefore;
    table->FilePathName = file.path;
    // Something left from a file read before, which the reader must clear.
    table->records[5][7] = "left over";
    std::int64_t error = 0;
    try {
        editor::ReadRecordFile(*table);
    } catch (const vb::Error& raised) {
        error = raised.number;
    }
    FUZZ_CHECK(error == outcome.error);
    if (error == 0) {
        FUZZ_CHECK(table->RecordCount == outcome.recordCount);
        FUZZ_CHECK(table->CurrentRecord == 1);
    } else {
        FUZZ_CHECK(table->RecordCount == kBefore);
        FUZZ_CHECK(table->CurrentRecord == kBefore);
    }
    // Whatever was read before an error stays in the table, so the fields agree in every case.
    FUZZ_CHECK(table->records == expected->records);
    return 0;
}
