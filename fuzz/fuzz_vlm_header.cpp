// The header line of a downloaded record file on any bytes. The line is what the load reads first (up to
// the first LF, without the CR before it) and is handed to the parse in a buffer of exactly its size, so
// any read past the line is caught. The record count is the (at most) three characters before the first
// quote without their leading zeros, the customer name lies between the first and second quotes, and the
// title is the text after the second quote, at most as long as the second quote's position. A line with
// no quote, or with only one, raises error 5 and nothing else.
#include "fuzz_check.h"
#include "platform/errors.h"
#include "viewer/vlm_file.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace {

// The line handed to the parse steps, in a heap block of exactly its length.
struct ExactLine {
    explicit ExactLine(std::string_view text) : bytes(new char[text.size()]), size(text.size()) {
        text.copy(bytes.get(), size);
    }
    std::string_view view() const { return {bytes.get(), size}; }
    std::unique_ptr<char[]> bytes;
    std::size_t size;
};

std::string_view FirstLine(std::string_view text) {
    std::string_view line = text.substr(0, text.find('\n'));
    if (line.size() < text.size() && !line.empty() && line.back() == '\r') line.remove_suffix(1);
    return line;
}

std::string WithoutLeadingZeros(std::string_view digits) {
    const std::size_t first = digits.find_first_not_of('0');
    return first == std::string_view::npos ? std::string() : std::string(digits.substr(first));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view original = FirstLine(std::string_view(reinterpret_cast<const char*>(data), size));
    const std::size_t quote = original.find('"');

    std::string aligned(original);
    const long firstQuote = viewer::AlignRecordCount(aligned);
    if (quote == std::string_view::npos) {
        FUZZ_CHECK(firstQuote == 0);
        FUZZ_CHECK(aligned == original);
    } else {
        // At most three characters stay before the first quote: the leading ones are dropped.
        const std::size_t dropped = quote > 3 ? quote - 3 : 0;
        FUZZ_CHECK(aligned == original.substr(dropped));
        FUZZ_CHECK(firstQuote == long(quote - dropped) + 1);
    }

    const ExactLine line(aligned);
    std::int64_t error = 0;
    viewer::NameAndTitle parts;
    std::string count;
    try {
        count = viewer::RecordCountText(line.view(), firstQuote);
        parts = viewer::CustomerNameAndTitle(line.view(), firstQuote);
    } catch (const vb::Error& raised) {
        error = raised.number;
    }

    std::int64_t wholeError = 0;
    viewer::RecordFileHeader header;
    try {
        header = viewer::ParseHeaderLine(std::string(original));
    } catch (const vb::Error& raised) {
        wholeError = raised.number;
    }
    FUZZ_CHECK(wholeError == error);

    const std::string_view text = line.view();
    const std::size_t second =
        quote == std::string_view::npos ? std::string_view::npos : text.find('"', std::size_t(firstQuote));
    if (second == std::string_view::npos) {
        FUZZ_CHECK(error == vb::errInvalidProcedureCall);
        return 0;
    }
    FUZZ_CHECK(error == 0);
    const std::size_t first = std::size_t(firstQuote - 1);
    FUZZ_CHECK(count == WithoutLeadingZeros(text.substr(0, first)));
    FUZZ_CHECK(count.size() <= 3);
    FUZZ_CHECK(parts.customerName == text.substr(first + 1, second - first - 1));
    FUZZ_CHECK(parts.title == text.substr(second + 1, second + 1));
    FUZZ_CHECK(header.recordCount == count);
    FUZZ_CHECK(header.customerName == parts.customerName);
    FUZZ_CHECK(header.title == parts.title);
    return 0;
}
