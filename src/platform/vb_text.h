// Text helpers with the classic semantics the program's algorithms are written in.
//
// Text is bytes (std::string, one character = one byte). Positions count from 1. Numeric conversions round
// half to even ("2.5" -> 2, "3.5" -> 4), raise error 6 (overflow) outside the 16-bit range for CInt and
// error 13 (type mismatch) for text that is not a number.
#pragma once

#include <QString>
#include <string>
#include <string_view>

namespace vb {

// 1-based position of `find` in `text` searching from `start` (1-based); 0 when absent.
// An empty `find` gives `start` when start <= Len(text) + 1. start < 1 raises error 5.
long InStr(std::string_view text, std::string_view find);
long InStr(long start, std::string_view text, std::string_view find);

// Mid(text, start[, length]): start is 1-based (< 1 raises error 5); a negative length raises error 5;
// positions past the end give "".
std::string Mid(std::string_view text, long start);
std::string Mid(std::string_view text, long start, long length);
std::string Left(std::string_view text, long length);  // length < 0 raises error 5
std::string Right(std::string_view text, long length); // length < 0 raises error 5

std::string Trim(std::string_view text); // removes leading and trailing spaces (0x20) only
std::string LTrim(std::string_view text);
std::string RTrim(std::string_view text);
std::string UCase(std::string_view text); // ASCII letters only
long Len(std::string_view text);

// True for text that converts to a number: optional blanks around, an optional sign, digits with at most
// one decimal point, an optional exponent ("1e3"). "", " ", "12a", "." are not numeric.
bool IsNumeric(std::string_view text);

// CInt: numeric text to a 16-bit integer, half to even; error 13 if not numeric, error 6 outside
// -32768..32767.
short CInt(std::string_view text);
short CInt(double value);
// CSng: numeric text to a single-precision number; error 13 if not numeric, error 6 beyond float range.
float CSng(std::string_view text);
// Val: the leading number of the text (blanks skipped), 0 when there is none; never raises.
double Val(std::string_view text);

// Decimal text of a number without leading blanks ("3", "-12").
std::string Str(long value);

// The widget edge, the one conversion between the program's bytes and the text of every window (boxes,
// labels, captions, message boxes): the Windows-1252 code page both ways. Every byte 0-255 has its own
// character (0x80 is the euro sign, 0x91/0x92 the curly single quotes, 0x96 the en dash; the undefined
// 0x81, 0x8D, 0x8F, 0x90 and 0x9D are the control characters of the same number) and comes back unchanged;
// a character outside the code page becomes "?".
QString ToQString(std::string_view bytes);
std::string FromQString(const QString& text);

// A file name (or path) shown to the user: its bytes decoded as the file system encodes names, not as the
// code page above, so "Mü.txt" on a UTF-8 file system shows as such.
QString FileNameText(std::string_view path);

} // namespace vb
