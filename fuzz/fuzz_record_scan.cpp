// The record scans of a downloaded record file on any record area, with the pass limit set (as tests set
// VELMORA_SCAN_PASS_LIMIT), so a scan that would restart without end gives up. The date field is found as
// the load finds it; each of the three scans (load, Next, Previous) then runs from just after it, and:
//   - it ends, after one pass when it stops at the end of the text, after the limit's passes when it
//     restarts, and after one pass whenever the text holds the 112 quotes;
//   - it finds the signature exactly when the text after the date field holds 112 quotes, and the
//     signature is the bytes after the 112th quote up to the first CR;
//   - the record data it fills is pieces ended by CR LF, trimmed, with no quote in them, no longer than the
//     text scanned and a line end per quote, and with no code 14 when the scan drops it.
#include "fuzz_check.h"
#include "platform/errors.h"
#include "viewer/vlm_file.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

namespace {

constexpr long kPassLimit = 3;

// Field text may itself hold CR LF (the record area is lines of text), so the record data is checked as a
// whole: pieces that each end with CR LF, trimmed, with no quote, and no longer than the bytes scanned
// plus a line end per quote.
void CheckRecordData(const std::string& recordData, std::size_t bytesScanned, long quotesFilling,
                     bool dropsShiftOut) {
    FUZZ_CHECK(recordData.find(viewer::kQuote) == std::string::npos);
    if (dropsShiftOut) FUZZ_CHECK(recordData.find(viewer::kShiftOut) == std::string::npos);
    if (recordData.empty()) return;
    FUZZ_CHECK(recordData.ends_with("\r\n"));
    FUZZ_CHECK(recordData.front() != ' ' && !recordData.ends_with(" \r\n"));
    FUZZ_CHECK(recordData.size() <= bytesScanned + 2 * std::size_t(quotesFilling));
}

void CheckScan(std::string_view records, const viewer::DateField& date, const viewer::ScanVariant& variant) {
    const std::size_t from = std::size_t(date.q2); // just after the closing quote, 0-based
    const std::string_view rest = records.substr(std::min(from, records.size()));
    long quotes = 0;
    std::size_t last = std::string_view::npos;
    for (std::size_t i = 0; i < rest.size() && quotes < viewer::kFieldQuotes; ++i) {
        if (rest[i] == viewer::kQuote) {
            ++quotes;
            last = i;
        }
    }
    const bool whole = quotes == viewer::kFieldQuotes;

    std::string recordData = "left from before\r\n";
    long stepped = 0;
    const viewer::ScanResult result =
        viewer::ScanFields(records, date.q2 + 1, date.text, variant, recordData, [&] { ++stepped; });

    FUZZ_CHECK(result.foundSignature == whole);
    if (whole) {
        FUZZ_CHECK(result.passes == 1);
        const std::string_view after = rest.substr(last + 1);
        FUZZ_CHECK(result.signature == after.substr(0, after.find('\r')));
    } else {
        FUZZ_CHECK(result.signature.empty());
        FUZZ_CHECK(result.passes == (variant.atEndOfText == viewer::AtEndOfText::Stop ? 1 : kPassLimit));
    }
    const long quotesPerPass = whole ? viewer::kFieldQuotes : quotes;
    FUZZ_CHECK(stepped == (variant.stepsProgressBar ? quotesPerPass * result.passes : 0));
    // The record data holds what one pass fills, or what every pass filled when it is not emptied.
    const long passesFilling = variant.emptying == viewer::RecordDataEmptying::EveryPass ? 1 : result.passes;
    CheckRecordData(recordData, rest.size() * std::size_t(passesFilling), quotesPerPass * passesFilling,
                    variant.dropsShiftOut);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    setenv("VELMORA_SCAN_PASS_LIMIT", "3", 1);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FUZZ_CHECK(viewer::ScanPassLimit() == kPassLimit);
    // A block of exactly the input's size, so a read past the record area is caught.
    const std::unique_ptr<char[]> block(new char[size]);
    std::copy(data, data + size, block.get());
    const std::string_view records(block.get(), size);

    viewer::DateField date;
    try {
        date = viewer::DateFieldAt(records, 1);
    } catch (const vb::Error& error) {
        // No closing quote for the date field.
        FUZZ_CHECK(error.number == vb::errInvalidProcedureCall);
        const std::size_t open = records.find('"');
        FUZZ_CHECK(open == std::string_view::npos || records.find('"', open + 1) == std::string_view::npos);
        return 0;
    }
    FUZZ_CHECK(date.q1 >= 1 && date.q2 > date.q1 && records[std::size_t(date.q1 - 1)] == '"' &&
               records[std::size_t(date.q2 - 1)] == '"');
    FUZZ_CHECK(date.text == records.substr(std::size_t(date.q1), std::size_t(date.q2 - date.q1 - 1)));
    FUZZ_CHECK(date.text.find('"') == std::string::npos);

    for (const viewer::ScanVariant& variant : {viewer::kLoadScan, viewer::kNextScan, viewer::kPreviousScan})
        CheckScan(records, date, variant);
    return 0;
}
