#include "upload/packed_stream.h"

#include "platform/errors.h"
#include "upload/line_reader.h"

#include <cmath>
#include <cstdint>
#include <vector>

namespace upload {

namespace {

// The upload counts lines in a 16-bit signed counter: the 32768th line overflows it.
std::int16_t CountLines(std::string_view fileBytes) {
    LineReader reader(fileBytes);
    std::int16_t count = 0;
    while (!reader.Eof()) {
        reader.LineInput();
        if (count == INT16_MAX) vb::Raise(vb::errOverflow);
        ++count;
    }
    return count;
}

// Lines / 112 to a whole number of records, halves to the even number (the rounding of a whole-number
// conversion).
int RecordsOf(int lineCount) {
    const double exact = double(lineCount) / kLinesPerRecord;
    const double below = std::floor(exact);
    const double fraction = exact - below;
    if (fraction > 0.5) return int(below) + 1;
    if (fraction < 0.5) return int(below);
    return std::fmod(below, 2.0) == 0 ? int(below) : int(below) + 1;
}

void AppendPackedLine(std::string& packed, const std::string& line, int i) {
    if (!line.empty())
        packed += line + "\r\n";
    else if (i <= kNamedLines)
        packed += SO;
    else if (i == kLinesPerRecord)
        packed += "\r\n";
}

} // namespace

std::string PackRecordFile(std::string_view fileBytes) {
    const int lineCount = CountLines(fileBytes);
    const int records = RecordsOf(lineCount);
    // The line table holds indexes 0 to the line count; each record's lines go to indexes 1 to 112.
    std::vector<std::string> lineTable(std::size_t(lineCount) + 1);

    LineReader reader(fileBytes);
    std::string packed;
    for (int record = 1; record <= records; ++record) {
        for (int i = 1; i <= kLinesPerRecord; ++i) {
            if (i > lineCount) vb::Raise(vb::errSubscriptOutOfRange);
            lineTable[std::size_t(i)] = reader.LineInput();
            AppendPackedLine(packed, lineTable[std::size_t(i)], i);
        }
    }
    return packed;
}

} // namespace upload
