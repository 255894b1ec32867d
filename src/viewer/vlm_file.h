// The downloaded record file (".vlm") as the viewer reads it: the header line, the record keys, the date
// field and the field scan. Plain C++ on bytes, no widgets, so that each piece can be tested and
// benchmarked alone.
//
// The file is the text the tablet sent, saved unchanged: a header line (record count, customer name and
// title, separated by double quotes), then one line per record: a three-digit record number, the
// 12-character date field between quotes, 112 quote-terminated fields and the raw signature bytes up to
// the CR LF that ends the record. Positions count from 1, as the algorithms that read the file do.
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace viewer {

inline constexpr char kQuote = '"';
// Quote-terminated fields after a record's date field; the signature follows the last one.
inline constexpr int kFieldQuotes = 112;
// A character the tablet may put in field text; the load drops it, Next and Previous keep it.
inline constexpr char kShiftOut = 14;

// ---- Header line ----

// Moves the record count next to the first quote: when more than three characters precede it, the
// leading ones are dropped so that exactly three do. Returns the first quote's position (0 when there is
// none, and the line is left as it was).
long AlignRecordCount(std::string& line);
// The characters before the first quote (at `firstQuote`) without their leading zeros: "005" gives "5",
// "010" gives "10", "000" gives "". A line without a quote (firstQuote 0) raises error 5.
std::string RecordCountText(std::string_view line, long firstQuote);

struct NameAndTitle {
    std::string customerName;
    std::string title;
};
// The customer name up to the second quote, and the title after it: at most as many characters as the
// second quote's position, so a long title is cut and a short one keeps a closing quote. A line without a
// second quote raises error 5.
NameAndTitle CustomerNameAndTitle(std::string_view line, long firstQuote);

struct RecordFileHeader {
    std::string recordCount; // without leading zeros
    std::string customerName;
    std::string title;
};
// The whole header line at once (the three steps above); raises as they do.
RecordFileHeader ParseHeaderLine(std::string line);

// ---- Records ----

// What finds record n in the record area: CR LF, n with at least three digits ("005", "012", "123",
// "1234"), a double quote. Record 1 is the area's first line and has no CR LF before it.
std::string RecordKey(long n);

// The date field "MMDDYYYYhhmm" shown as "MM/DD/YYYY hh:mm". No validation: a shorter text gives shorter or
// empty pieces around the fixed separators.
std::string GetDate(std::string_view field);

// Where a record's date field lies: q1 and q2 are the quotes around it.
struct DateField {
    long q1 = 0;
    long q2 = 0;
    std::string text;
};
// The date field of the record whose number starts at `from` (the first quote at or after it opens the
// field). Raises error 5 when the closing quote is missing.
DateField DateFieldAt(std::string_view records, long from);

// ---- Field scan ----

// How a scan treats the record-data text it fills.
enum class RecordDataEmptying {
    BeforeScan, // emptied once before the first pass
    EveryPass,  // emptied at the start of every pass
};
// What a pass that reaches the end of the text before the 112th quote leads to.
enum class AtEndOfText {
    Stop,    // the scan ends without a signature
    Restart, // a new pass starts from the same place, without end
};

// The choices in which the load, Next and Previous differ. These differences are the program's own and
// are kept: one scan routine follows whichever choices its caller names.
struct ScanVariant {
    RecordDataEmptying emptying;
    bool dropsShiftOut;      // code 14 is left out of field text
    bool mergesDateRepeat;   // a field equal to the date field stays in the accumulator, merged with the
                             // next field, instead of becoming a line of its own
    AtEndOfText atEndOfText; // a record area with too few quotes
    bool clearsBeforeScan;   // the signature display is cleared before the scan when it holds bytes
    bool stepsProgressBar;   // the progress bar gains one step per quote
};

inline constexpr ScanVariant kLoadScan{.emptying = RecordDataEmptying::BeforeScan,
                                       .dropsShiftOut = true,
                                       .mergesDateRepeat = false,
                                       .atEndOfText = AtEndOfText::Restart,
                                       .clearsBeforeScan = false,
                                       .stepsProgressBar = true};
inline constexpr ScanVariant kNextScan{.emptying = RecordDataEmptying::EveryPass,
                                       .dropsShiftOut = false,
                                       .mergesDateRepeat = true,
                                       .atEndOfText = AtEndOfText::Stop,
                                       .clearsBeforeScan = true,
                                       .stepsProgressBar = false};
inline constexpr ScanVariant kPreviousScan{.emptying = RecordDataEmptying::BeforeScan,
                                           .dropsShiftOut = false,
                                           .mergesDateRepeat = false,
                                           .atEndOfText = AtEndOfText::Restart,
                                           .clearsBeforeScan = true,
                                           .stepsProgressBar = false};

struct ScanResult {
    bool foundSignature = false; // the scan ended on the 112th quote
    std::string signature;       // the bytes after it, up to the first CR or the end of the text
    long passes = 0;
};

// The number of passes after which a scan that would restart without end gives up (VELMORA_SCAN_PASS_LIMIT,
// tests only); 0, meaning no limit, when it is unset or not a positive number.
long ScanPassLimit();

// Scans the fields from position `start` of `records` (just after the date field's closing quote). At each
// quote a non-empty accumulator becomes the line Trim(accumulator) + CR LF of `recordData` and is emptied
// (the emptiness test comes before the trim, so a field of spaces gives an empty line); other characters
// go into the accumulator. The 112th quote ends the scan and the signature follows it. The accumulator
// lives for the whole scan, across passes. `onQuote`, when given, runs at each quote of a variant that
// steps the progress bar. `passLimit` 0 means no limit.
ScanResult ScanFields(std::string_view records, long start, std::string_view dateField,
                      const ScanVariant& variant, std::string& recordData,
                      const std::function<void()>& onQuote = {}, long passLimit = ScanPassLimit());

} // namespace viewer
