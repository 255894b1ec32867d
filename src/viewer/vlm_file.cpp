#include "viewer/vlm_file.h"

#include "platform/errors.h"
#include "platform/vb_text.h"

#include <charconv>
#include <cstdlib>
#include <string_view>

namespace viewer {

namespace {

constexpr std::string_view kQuoteText = "\"";
constexpr char kCarriageReturn = '\r';

} // namespace

long AlignRecordCount(std::string& line) {
    long firstQuote = vb::InStr(line, kQuoteText);
    if (firstQuote > 4) {
        line = vb::Right(line, vb::Len(line) - (firstQuote - 4));
        firstQuote = vb::InStr(line, kQuoteText);
    }
    return firstQuote;
}

std::string RecordCountText(std::string_view line, long firstQuote) {
    std::string count = vb::Left(line, firstQuote - 1);
    while (vb::Left(count, 1) == "0")
        count = vb::Mid(count, 2);
    return count;
}

NameAndTitle CustomerNameAndTitle(std::string_view line, long firstQuote) {
    const long secondQuote = vb::InStr(firstQuote + 1, line, kQuoteText);
    NameAndTitle parts;
    parts.customerName = vb::Mid(line, firstQuote + 1, secondQuote - firstQuote - 1);
    // A third quote may close the title, but the title's length is taken from the second quote's position.
    parts.title = vb::Mid(line, secondQuote + 1, secondQuote);
    return parts;
}

RecordFileHeader ParseHeaderLine(std::string line) {
    const long firstQuote = AlignRecordCount(line);
    RecordFileHeader header;
    header.recordCount = RecordCountText(line, firstQuote);
    NameAndTitle parts = CustomerNameAndTitle(line, firstQuote);
    header.customerName = std::move(parts.customerName);
    header.title = std::move(parts.title);
    return header;
}

std::string RecordKey(long n) {
    std::string digits = std::to_string(n < 0 ? -n : n);
    if (digits.size() < 3) digits.insert(0, 3 - digits.size(), '0');
    return std::string("\r\n") + (n < 0 ? "-" : "") + digits + std::string(kQuoteText);
}

std::string GetDate(std::string_view field) {
    return vb::Mid(field, 1, 2) + "/" + vb::Mid(field, 3, 2) + "/" + vb::Mid(field, 5, 4) + " " +
           vb::Mid(field, 9, 2) + ":" + vb::Mid(field, 11, 2);
}

DateField DateFieldAt(std::string_view records, long from) {
    DateField field;
    field.q1 = vb::InStr(from, records, kQuoteText);
    field.q2 = vb::InStr(field.q1 + 1, records, kQuoteText);
    field.text = vb::Mid(records, field.q1 + 1, field.q2 - field.q1 - 1);
    return field;
}

long ScanPassLimit() {
    const char* text = std::getenv("VELMORA_SCAN_PASS_LIMIT");
    if (!text) return 0;
    const std::string_view value(text);
    long limit = 0;
    const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), limit);
    if (error != std::errc() || end != value.data() + value.size() || limit < 1) return 0;
    return limit;
}

ScanResult ScanFields(std::string_view records, long start, std::string_view dateField,
                      const ScanVariant& variant, std::string& recordData,
                      const std::function<void()>& onQuote, long passLimit) {
    ScanResult result;
    std::string field; // the accumulator: kept across passes
    if (variant.emptying == RecordDataEmptying::BeforeScan) recordData.clear();
    const bool stepsBar = variant.stepsProgressBar && onQuote;
    const std::size_t first = start > 0 ? std::size_t(start - 1) : 0;
    for (;;) {
        ++result.passes;
        if (variant.emptying == RecordDataEmptying::EveryPass) recordData.clear();
        int quoteCount = 0;
        for (std::size_t i = first; i < records.size(); ++i) {
            const char c = records[i];
            if (c != kQuote) {
                if (!(variant.dropsShiftOut && c == kShiftOut)) field += c;
                continue;
            }
            if (stepsBar) onQuote();
            const bool keptForMerge = variant.mergesDateRepeat && field == dateField;
            if (!field.empty() && !keptForMerge) {
                recordData += vb::Trim(field);
                recordData += "\r\n";
                field.clear();
            }
            if (++quoteCount == kFieldQuotes) {
                const std::string_view rest = records.substr(i + 1);
                result.signature = std::string(rest.substr(0, rest.find(kCarriageReturn)));
                result.foundSignature = true;
                return result;
            }
        }
        if (variant.atEndOfText == AtEndOfText::Stop) return result;
        if (passLimit > 0 && result.passes >= passLimit) return result;
    }
}

} // namespace viewer
