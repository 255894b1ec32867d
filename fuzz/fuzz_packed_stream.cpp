// The upload's packer on any record data file, with the emulated tablet's decoder as the other end.
//
// The packer either raises the error the file's line count calls for (6 past 32767 lines; 9 when the count
// rounds up to a first record longer than the file; 62 when a later record runs past its end) and nothing
// else, or returns the packed text. That text, decoded as the tablet decodes it, gives back the file's
// table: per record, the twelve named fields in place, the numbered fields that hold text in their order
// from field 1 on, the rest empty. This holds for every file whose records end with an empty separator
// line and whose named fields do not start with SO (the two things the stream cannot tell apart); for a
// stream without NUL it also holds when the bytes go through the tablet's receiver one by one.
#include "fuzz_check.h"
#include "platform/errors.h"
#include "record_data_lines.h"
#include "upload/packed_stream.h"
#include "upload_receiver.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr int kFields = 111;

struct Expected {
    std::int64_t error = 0;
    int records = 0;
};

Expected ExpectedOutcome(std::size_t lineCount) {
    if (lineCount > 32767) return {vb::errOverflow, 0};
    // Lines / 112, a half to the even number.
    const int records = int(std::nearbyint(double(lineCount) / upload::kLinesPerRecord));
    if (records >= 1 && lineCount < std::size_t(upload::kLinesPerRecord))
        return {vb::errSubscriptOutOfRange, 0};
    if (std::size_t(records) * upload::kLinesPerRecord > lineCount) return {vb::errInputPastEndOfFile, 0};
    return {0, records};
}

// The table as the tablet keeps it, and whether the stream can carry it unambiguously.
struct Table {
    std::vector<sim::UploadedRecord> records;
    bool carried = true;
};

Table TabletTable(const std::vector<std::string>& lines, int records) {
    Table table;
    for (int r = 0; r < records; ++r) {
        const auto first = lines.begin() + std::ptrdiff_t(r) * upload::kLinesPerRecord;
        sim::UploadedRecord record(kFields);
        int numbered = upload::kNamedLines;
        for (int i = 0; i < kFields; ++i) {
            const std::string& line = first[i];
            if (i < upload::kNamedLines) {
                record[std::size_t(i)] = line;
                if (!line.empty() && line.front() == upload::SO) table.carried = false;
            } else if (!line.empty()) {
                record[std::size_t(numbered++)] = line;
            }
        }
        if (!first[kFields].empty()) table.carried = false;
        table.records.push_back(std::move(record));
    }
    return table;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view file(reinterpret_cast<const char*>(data), size);
    const std::vector<std::string> lines = RecordDataLines(file);
    const Expected expected = ExpectedOutcome(lines.size());

    std::string packed;
    std::int64_t error = 0;
    try {
        packed = upload::PackRecordFile(file);
    } catch (const vb::Error& raised) {
        error = raised.number;
    }
    FUZZ_CHECK(error == expected.error);
    if (error != 0) return 0;

    const Table table = TabletTable(lines, expected.records);
    if (!table.carried) return 0;
    FUZZ_CHECK(sim::decodeUpload(packed) == table.records);

    if (packed.find(upload::NUL) != std::string::npos) return 0;
    sim::UploadReceiver receiver;
    receiver.start();
    for (const char byte : packed)
        FUZZ_CHECK(!receiver.take(byte));
    FUZZ_CHECK(receiver.take(upload::NUL));
    FUZZ_CHECK(receiver.finished().size() == 1);
    FUZZ_CHECK(receiver.finished().front().raw == packed);
    FUZZ_CHECK(receiver.finished().front().records == table.records);
    return 0;
}
