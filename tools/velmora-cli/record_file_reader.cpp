#include "record_file_reader.h"

#include "platform/errors.h"
#include "viewer/text_stream.h"
#include "viewer/vlm_file.h"

#include <algorithm>
#include <charconv>
#include <string_view>

namespace cli {

namespace {

// What the file system's numbered errors mean to someone who named a file on the command line.
std::string ReadFailureText(const vb::Error& error) {
    switch (error.number) {
    case vb::errFileNotFound:
        return "no such file";
    case vb::errPathNotFound:
        return "no such folder";
    case vb::errPermissionDenied:
        return "permission denied";
    case 75: // path/file access error: a folder, a pipe, a device
        return "not a regular file";
    case 7: // out of memory: the file is longer than a record file can be read
        return "larger than 64 MiB, too large for a record file";
    default:
        return error.description;
    }
}

// Header text shown in a message: control bytes become '?', so a message stays one readable line.
std::string Shown(std::string_view text) {
    std::string shown(text);
    for (char& c : shown)
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) c = '?';
    return shown;
}

[[noreturn]] void Refuse(const std::string& path, const std::string& what) {
    throw RecordFileFailure(path + ": " + what);
}

std::string RecordName(long number) {
    return "record " + std::to_string(number);
}

viewer::RecordFileHeader ParseHeader(const std::string& path, std::string line) {
    // The header parse drops what precedes the three characters before the first quote; it needs a
    // quote after the count and one after the customer name.
    const auto quotes = std::count(line.begin(), line.end(), viewer::kQuote);
    if (quotes == 0) Refuse(path, "header line: no double quote after the record count");
    if (quotes == 1) Refuse(path, "header line: no double quote after the customer name");
    return viewer::ParseHeaderLine(std::move(line));
}

long HeaderCount(const std::string& path, const std::string& countText) {
    if (countText.empty()) return 0; // "000"
    long count = 0;
    const auto [end, error] = std::from_chars(countText.data(), countText.data() + countText.size(), count);
    if (error != std::errc() || end != countText.data() + countText.size() || count < 0)
        Refuse(path, "header line: the record count \"" + Shown(countText) + "\" is not a number");
    return count;
}

// One record: `text` runs from the record's start to the next record's key (or the end of the file);
// the date field opens at the first quote at or after `from` (1-based, as the viewer counts).
FileRecord ParseRecord(const std::string& path, std::string_view text, long number, long from, bool last) {
    const std::string where = RecordName(number) + ": ";
    if (text.find(viewer::kQuote, std::size_t(from - 1)) == std::string_view::npos)
        Refuse(path, where + "no date field");
    viewer::DateField date;
    try {
        date = viewer::DateFieldAt(text, from);
    } catch (const vb::Error&) {
        Refuse(path, where + "the date field has no closing double quote");
    }
    FileRecord record;
    record.number = number;
    record.dateField = std::move(date.text);
    record.fields.reserve(viewer::kFieldQuotes);
    std::size_t at = std::size_t(date.q2); // just after the date field's closing quote (0-based)
    for (int k = 0; k < viewer::kFieldQuotes; ++k) {
        const std::size_t quote = text.find(viewer::kQuote, at);
        if (quote == std::string_view::npos)
            Refuse(path, where + "only " + std::to_string(k) + " of " + std::to_string(viewer::kFieldQuotes) +
                             " fields before " + (last ? "the end of the file" : RecordName(number + 1)));
        record.fields.emplace_back(text.substr(at, quote - at));
        at = quote + 1;
    }
    // The signature runs to the CR that ends the record. The viewer would take a signature that runs to the
    // end of the file as it stands; here it is what a download cut short leaves, and is refused.
    // The text of a record other than the last stops just before the CR LF of the next record's key.
    const std::string_view rest = text.substr(at);
    std::size_t end = rest.find('\r');
    if (end == std::string_view::npos) {
        if (last) Refuse(path, where + "the file ends before the CR that ends the record");
        end = rest.size();
    }
    record.signature = std::string(rest.substr(0, end));
    return record;
}

} // namespace

RecordFile ReadRecordFile(const std::string& path) {
    std::string line;
    std::string area;
    try {
        viewer::TextStream stream(path);
        line = stream.ReadLine();
        area = stream.ReadAll();
    } catch (const vb::Error& error) {
        if (error.number == vb::errInputPastEndOfFile) Refuse(path, "empty file");
        Refuse(path, ReadFailureText(error));
    }
    viewer::RecordFileHeader header = ParseHeader(path, std::move(line));
    RecordFile file;
    file.customerName = std::move(header.customerName);
    file.title = std::move(header.title);
    file.headerCount = HeaderCount(path, header.recordCount);

    // Record 1 is the record area's first line; any other record follows the CR LF of the one before.
    const std::string_view records(area);
    const std::string_view firstRecord = "001\"";
    std::size_t at =
        records.substr(0, firstRecord.size()) == firstRecord ? 0 : records.find(viewer::RecordKey(1));
    for (long number = 1; at != std::string_view::npos; ++number) {
        if (number > kMostRecords)
            Refuse(path, RecordName(number) + ": more records than a record file holds (" +
                             std::to_string(kMostRecords) + " at most)");
        const std::size_t next = records.find(viewer::RecordKey(number + 1), at + 1);
        const std::size_t end = next == std::string_view::npos ? records.size() : next;
        // The date field's opening quote follows the number: from the start at the area's first line,
        // else after CR LF and the number's first three digits, as the viewer looks for it.
        const long from = records.substr(at, 2) == "\r\n" ? 5 : 1;
        file.records.push_back(
            ParseRecord(path, records.substr(at, end - at), number, from, next == std::string_view::npos));
        at = next;
    }
    const long found = long(file.records.size());
    if (found < file.headerCount)
        Refuse(path, RecordName(found + 1) + ": not in the file (the header counts " +
                         std::to_string(file.headerCount) + " records, the file holds " +
                         std::to_string(found) + ")");
    return file;
}

std::string RecordCountNote(const std::string& path, const RecordFile& file) {
    const long found = long(file.records.size());
    if (found <= file.headerCount) return {};
    return path + ": the header counts " + std::to_string(file.headerCount) + " records, the file holds " +
           std::to_string(found) + "; all " + std::to_string(found) + " are read";
}

} // namespace cli
