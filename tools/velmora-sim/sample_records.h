// Sample downloaded record files (.vlm), as a tablet that has been out on a delivery route sends them.
//
// The layout is the tablet's: a header line of the record count in three digits, a double quote, the
// customer name, a double quote and the title, CR LF; then one line per record: its number in three
// digits, a double quote, the date and time as MMDDYYYYHHMM, a double quote, 112 fields each followed
// by a double quote, the signature bytes (Velmora strokes), CR LF. The title is never longer than the
// position of the header's second quote, since a reader takes no more of it.
//
// The content is made up but believable: names, addresses with ZIP and ZIP+4 codes, phone numbers,
// memos, invoice numbers, keypad entries and amounts, some fields empty, some with Windows-1252
// letters (é, ü, ’, €); the times go forward through the working day and on to the next day. Every
// tenth record (010, 020, ...) has no signature, as when the customer was not there to sign; the
// others are handwriting, no two alike. A field never holds a double quote, CR or LF.
#pragma once

#include <string>

namespace sim {

// Every record has this many quote-terminated fields after its date.
inline constexpr int kRecordFields = 112;

// A record file of `records` records (1 to 999; clamped to that range). The same seed gives the same
// bytes on every machine.
std::string SampleVlm(int records, unsigned seed = 1);

} // namespace sim
