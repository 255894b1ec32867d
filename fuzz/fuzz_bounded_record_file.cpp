// The command line's bounded reader of downloaded record files, on any bytes. Whatever the file holds, the
// read ends (never an endless scan), and either refuses the file with a message that begins with the
// file's name, or gives records numbered 1 upwards with no gap, each with its 112 fields (none holding a
// quote, which ends a field) and a signature without a CR (which ends a record), at least as many as the
// header counts.
#include "fuzz_check.h"
#include "record_file_reader.h"
#include "viewer/vlm_file.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // The bytes as a real file the reader opens by name, without touching the disk.
    static const int file = memfd_create("fuzz.vlm", 0);
    FUZZ_CHECK(file >= 0);
    FUZZ_CHECK(ftruncate(file, 0) == 0);
    FUZZ_CHECK(pwrite(file, data, size, 0) == static_cast<ssize_t>(size));
    const std::string path = "/proc/self/fd/" + std::to_string(file);
    try {
        const cli::RecordFile read = cli::ReadRecordFile(path);
        FUZZ_CHECK(long(read.records.size()) >= read.headerCount);
        FUZZ_CHECK(long(read.records.size()) <= cli::kMostRecords);
        long number = 0;
        for (const cli::FileRecord& record : read.records) {
            FUZZ_CHECK(record.number == ++number);
            FUZZ_CHECK(record.fields.size() == std::size_t(viewer::kFieldQuotes));
            for (const std::string& field : record.fields)
                FUZZ_CHECK(field.find(viewer::kQuote) == std::string::npos);
            FUZZ_CHECK(record.signature.find('\r') == std::string::npos);
            FUZZ_CHECK(record.dateField.find(viewer::kQuote) == std::string::npos);
        }
    } catch (const cli::RecordFileFailure& failure) {
        FUZZ_CHECK(std::string(failure.what()).rfind(path + ": ", 0) == 0);
    }
    return 0;
}
