// The packed stream the console's "&Upload File" sends: a record data file (records of 112 lines: 111
// fields and an empty separator) packed so that the tablet can tell the fields apart without the empty
// lines.
//
// For each record, for each of its lines i = 1 to 112:
//   - a line with text: the text, then CR LF;
//   - an empty line among lines 1 to 12 (the named fields): one SO (0x0E), no line end, so the field
//     keeps its place;
//   - an empty line among lines 13 to 111 (the numbered fields): nothing at all;
//   - an empty line 112 (the separator): CR LF, the end of the record.
// The start byte FF and the end byte NUL that frame the stream on the line are the sender's, not part of
// the packed text.
#pragma once

#include <string>
#include <string_view>

namespace upload {

inline constexpr char FF = 0x0C;  // start of an upload
inline constexpr char NUL = 0x00; // end of an upload
inline constexpr char SO = 0x0E;  // an empty named field
inline constexpr int kLinesPerRecord = 112;
inline constexpr int kNamedLines = 12;

// The packed text of a record data file, read as the upload reads it: the lines (CR LF or CR alone ends
// one) are counted in a 16-bit counter, the record count is that count / 112 rounded half to even (56
// lines make no record, 168 lines make two), and each record's 112 lines are read into a line table of
// indexes 0 to the line count. So a file whose count rounds up fails part-way:
//   error 6 (overflow)               more than 32767 lines;
//   error 9 (subscript out of range) a record line beyond the line table: a file of 57 to 111 lines rounds
//                                    to one record and has no table entry for its last lines;
//   error 62 (input past end of file) a later record runs past the end of the file (168 lines);
// and no packed text is returned at all. Bytes are packed as they are: no code page, no escaping.
std::string PackRecordFile(std::string_view fileBytes);

} // namespace upload
