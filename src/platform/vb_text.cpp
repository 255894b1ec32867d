// Text helpers with the classic semantics: 1-based positions, numbered errors, banker's rounding.
//
// Number text follows one grammar everywhere: an optional sign, digits with at most one decimal point, an
// optional exponent ("e" or "d", as the classic runtime also reads "1d2"), or a hexadecimal "&H1F" /
// octal "&O17" literal. Such a literal is a 16-bit integer when its value fits in 16 bits and a 32-bit
// one otherwise, so "&HFFFF" is -1 and "&H10000" is 65536; a literal wider than 32 bits is too large.
// IsNumeric, CInt and CSng take blanks (spaces and tabs) only around the number; Val drops blanks, tabs
// and line feeds anywhere before it reads the leading number, so "1 2" is 12 to Val but not numeric.
// Numbers are parsed without the C locale's help, so a decimal comma locale never changes them.
#include "platform/vb_text.h"

#include "platform/errors.h"

#include <QFile>
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <limits>

namespace vb {

namespace {

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}
bool IsBlank(char c) {
    return c == ' ' || c == '\t';
}

// A number read from the front of a text.
struct NumberScan {
    bool found = false;    // at least one digit was read
    bool tooLarge = false; // beyond double range, or a "&H" / "&O" literal wider than 32 bits
    double value = 0;
    std::size_t end = 0; // index just past the number's last character
};

// The value of a radix digit, or -1 when `c` is not a digit of that radix.
int RadixDigit(char c, int radix) {
    int digit = -1;
    if (IsDigit(c))
        digit = c - '0';
    else if (c >= 'A' && c <= 'F')
        digit = c - 'A' + 10;
    else if (c >= 'a' && c <= 'f')
        digit = c - 'a' + 10;
    return digit < radix ? digit : -1;
}

// "&H..." or "&O..." starting at `pos` (which holds the '&').
NumberScan ScanRadixLiteral(std::string_view text, std::size_t pos) {
    NumberScan scan;
    if (pos + 1 >= text.size()) return scan;
    const char kind = text[pos + 1];
    const int radix = (kind == 'H' || kind == 'h') ? 16 : (kind == 'O' || kind == 'o') ? 8 : 0;
    if (radix == 0) return scan;
    std::uint64_t magnitude = 0;
    std::size_t i = pos + 2;
    for (int digit; i < text.size() && (digit = RadixDigit(text[i], radix)) >= 0; ++i) {
        scan.found = true;
        if (magnitude > 0xFFFFFFFFu) continue; // already too large; keep reading its digits
        magnitude = magnitude * radix + digit;
    }
    if (!scan.found) return scan;
    scan.end = i;
    if (magnitude <= 0xFFFFu)
        scan.value = static_cast<std::int16_t>(magnitude);
    else if (magnitude <= 0xFFFFFFFFu)
        scan.value = static_cast<std::int32_t>(magnitude);
    else {
        scan.tooLarge = true;
        scan.value = static_cast<double>(magnitude);
    }
    return scan;
}

// The value of sign, mantissa digits (decimal point removed) and a power of ten. The text handed to strtod
// holds no decimal point, so the locale cannot change its meaning.
NumberScan ValueOf(bool negative, const std::string& digits, long long exponent, std::size_t end) {
    std::string normal = negative ? "-" : "";
    normal += digits;
    normal += 'e';
    normal += std::to_string(std::clamp(exponent, -100000LL, 100000LL));
    NumberScan scan;
    scan.found = true;
    scan.end = end;
    scan.value = std::strtod(normal.c_str(), nullptr);
    scan.tooLarge = std::isinf(scan.value);
    return scan;
}

// Sign, digits, decimal point and exponent starting at `pos`.
NumberScan ScanDecimal(std::string_view text, std::size_t pos) {
    std::size_t i = pos;
    const bool negative = i < text.size() && text[i] == '-';
    if (i < text.size() && (text[i] == '-' || text[i] == '+')) ++i;
    std::string digits;
    long long exponent = 0;
    for (; i < text.size() && IsDigit(text[i]); ++i)
        digits += text[i];
    if (i < text.size() && text[i] == '.') {
        for (++i; i < text.size() && IsDigit(text[i]); ++i) {
            digits += text[i];
            --exponent;
        }
    }
    if (digits.empty()) return {};

    // The exponent belongs to the number only when at least one digit follows its letter and sign.
    std::size_t e = i;
    if (e < text.size() && (text[e] == 'e' || text[e] == 'E' || text[e] == 'd' || text[e] == 'D')) {
        ++e;
        const bool negativeExponent = e < text.size() && text[e] == '-';
        if (e < text.size() && (text[e] == '-' || text[e] == '+')) ++e;
        if (e < text.size() && IsDigit(text[e])) {
            long long written = 0;
            for (; e < text.size() && IsDigit(text[e]); ++e)
                written = std::min(written * 10 + (text[e] - '0'), 1000000LL);
            exponent += negativeExponent ? -written : written;
            i = e;
        }
    }
    return ValueOf(negative, digits, exponent, i);
}

NumberScan ScanNumber(std::string_view text, std::size_t pos) {
    if (pos < text.size() && text[pos] == '&') return ScanRadixLiteral(text, pos);
    return ScanDecimal(text, pos);
}

// The number that the whole text is, blanks around it allowed; found is false when the text is anything else.
NumberScan WholeNumber(std::string_view text) {
    std::size_t first = 0;
    while (first < text.size() && IsBlank(text[first]))
        ++first;
    NumberScan scan = ScanNumber(text, first);
    std::size_t rest = scan.end;
    while (rest < text.size() && IsBlank(text[rest]))
        ++rest;
    if (!scan.found || rest != text.size()) return {};
    return scan;
}

// The number of a conversion: error 13 when the text is no number, error 6 when it is out of range.
double ConvertibleNumber(std::string_view text) {
    const NumberScan scan = WholeNumber(text);
    if (!scan.found) Raise(errTypeMismatch);
    if (scan.tooLarge) Raise(errOverflow);
    return scan.value;
}

// Rounds to the nearest integer, a half going to the even neighbour.
double RoundHalfEven(double value) {
    const double below = std::floor(value);
    const double fraction = value - below;
    if (fraction > 0.5) return below + 1;
    if (fraction < 0.5) return below;
    return std::fmod(below, 2.0) == 0 ? below : below + 1;
}

void RequireNonNegative(long count) {
    if (count < 0) Raise(errInvalidProcedureCall);
}

} // namespace

long InStr(std::string_view text, std::string_view find) {
    return InStr(1, text, find);
}

long InStr(long start, std::string_view text, std::string_view find) {
    if (start < 1) Raise(errInvalidProcedureCall);
    if (start > Len(text) + 1) return 0;
    const std::size_t at = text.find(find, static_cast<std::size_t>(start - 1));
    return at == std::string_view::npos ? 0 : static_cast<long>(at) + 1;
}

std::string Mid(std::string_view text, long start) {
    if (start < 1) Raise(errInvalidProcedureCall);
    return Mid(text, start, Len(text));
}

std::string Mid(std::string_view text, long start, long length) {
    if (start < 1) Raise(errInvalidProcedureCall);
    RequireNonNegative(length);
    if (start > Len(text)) return {};
    return std::string(text.substr(static_cast<std::size_t>(start - 1), static_cast<std::size_t>(length)));
}

std::string Left(std::string_view text, long length) {
    RequireNonNegative(length);
    return std::string(text.substr(0, static_cast<std::size_t>(length)));
}

std::string Right(std::string_view text, long length) {
    RequireNonNegative(length);
    const std::size_t kept = std::min(text.size(), static_cast<std::size_t>(length));
    return std::string(text.substr(text.size() - kept));
}

std::string LTrim(std::string_view text) {
    const std::size_t first = text.find_first_not_of(' ');
    return first == std::string_view::npos ? std::string() : std::string(text.substr(first));
}

std::string RTrim(std::string_view text) {
    const std::size_t last = text.find_last_not_of(' ');
    return last == std::string_view::npos ? std::string() : std::string(text.substr(0, last + 1));
}

std::string Trim(std::string_view text) {
    return LTrim(RTrim(text));
}

std::string UCase(std::string_view text) {
    std::string upper(text);
    for (char& c : upper) {
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    }
    return upper;
}

long Len(std::string_view text) {
    return static_cast<long>(text.size());
}

// A number too large for a double is not numeric, though CInt and CSng report it as an overflow.
bool IsNumeric(std::string_view text) {
    const NumberScan scan = WholeNumber(text);
    return scan.found && !scan.tooLarge;
}

short CInt(std::string_view text) {
    return CInt(ConvertibleNumber(text));
}

short CInt(double value) {
    const double rounded = RoundHalfEven(value);
    if (!(rounded >= std::numeric_limits<short>::min() && rounded <= std::numeric_limits<short>::max()))
        Raise(errOverflow);
    return static_cast<short>(rounded);
}

float CSng(std::string_view text) {
    // The smallest magnitude that rounds past the largest float: the largest float plus half its last step.
    constexpr double firstBeyondFloat = 0x1.ffffffp+127;
    const double value = ConvertibleNumber(text);
    if (std::fabs(value) >= firstBeyondFloat) Raise(errOverflow);
    return static_cast<float>(value);
}

// Too large a number gives infinity (or, for a "&H" / "&O" literal, its unsigned value): Val never raises.
double Val(std::string_view text) {
    std::string packed;
    std::copy_if(text.begin(), text.end(), std::back_inserter(packed),
                 [](char c) { return c != ' ' && c != '\t' && c != '\n'; });
    const NumberScan scan = ScanNumber(packed, 0);
    return scan.found ? scan.value : 0.0;
}

std::string Str(long value) {
    return std::to_string(value);
}

namespace {

// Windows-1252 (the Western Windows code page) differs from Latin-1 only in 0x80-0x9F. The five bytes it
// leaves undefined there (0x81, 0x8D, 0x8F, 0x90, 0x9D) stand for the control characters of the same
// number, as Windows converts them, so that every byte has a character and comes back unchanged.
constexpr std::array<char16_t, 32> kHighControlRange = {
    u'\u20AC', u'\u0081', u'\u201A', u'\u0192', u'\u201E', u'\u2026', u'\u2020', u'\u2021',
    u'\u02C6', u'\u2030', u'\u0160', u'\u2039', u'\u0152', u'\u008D', u'\u017D', u'\u008F',
    u'\u0090', u'\u2018', u'\u2019', u'\u201C', u'\u201D', u'\u2022', u'\u2013', u'\u2014',
    u'\u02DC', u'\u2122', u'\u0161', u'\u203A', u'\u0153', u'\u009D', u'\u017E', u'\u0178'};

char16_t CharacterOfByte(unsigned char byte) {
    return byte >= 0x80 && byte <= 0x9F ? kHighControlRange[byte - 0x80] : char16_t(byte);
}

// The byte of a character, or '?' when the code page has none for it.
char ByteOfCharacter(char16_t character) {
    if (character < 0x80 || (character >= 0xA0 && character <= 0xFF)) return char(character);
    const auto found = std::find(kHighControlRange.begin(), kHighControlRange.end(), character);
    if (found == kHighControlRange.end()) return '?';
    return char(0x80 + (found - kHighControlRange.begin()));
}

} // namespace

QString ToQString(std::string_view bytes) {
    QString text(static_cast<qsizetype>(bytes.size()), Qt::Uninitialized);
    QChar* out = text.data();
    for (char byte : bytes)
        *out++ = QChar(CharacterOfByte(static_cast<unsigned char>(byte)));
    return text;
}

// A character the code page cannot hold becomes one "?", a character beyond the 16-bit range (a surrogate
// pair) included.
std::string FromQString(const QString& text) {
    std::string bytes;
    bytes.reserve(static_cast<std::size_t>(text.size()));
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar character = text.at(i);
        if (character.isHighSurrogate() && i + 1 < text.size() && text.at(i + 1).isLowSurrogate()) ++i;
        bytes += ByteOfCharacter(character.unicode());
    }
    return bytes;
}

QString FileNameText(std::string_view path) {
    return QFile::decodeName(QByteArray(path.data(), static_cast<qsizetype>(path.size())));
}

} // namespace vb
