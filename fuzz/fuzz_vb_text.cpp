// The classic text helpers on any bytes: the widget edge (ToQString / FromQString) gives every byte string
// back unchanged and settles any other text after one round; InStr, Mid, Left, Right and Trim agree with
// plain loops over the bytes; CInt raises nothing but overflow (6) and type mismatch (13), and raises 13
// exactly when IsNumeric says the text is no number.
//
// Input: two bytes choose a start position and a length, then the text; the find text of InStr is the
// text's last bytes, so that it is found often.
#include "fuzz_check.h"
#include "platform/errors.h"
#include "platform/vb_text.h"

#include <QString>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

namespace {

long NaiveInStr(long start, std::string_view text, std::string_view find) {
    const long length = long(text.size());
    if (start > length + 1) return 0;
    for (long at = start; at + long(find.size()) - 1 <= length; ++at) {
        bool same = true;
        for (std::size_t k = 0; k < find.size() && same; ++k)
            same = text[std::size_t(at - 1) + k] == find[k];
        if (same) return at;
    }
    return 0;
}

std::string NaiveMid(std::string_view text, long start, long length) {
    std::string piece;
    for (long at = start; at < start + length && at <= long(text.size()); ++at)
        piece += text[std::size_t(at - 1)];
    return piece;
}

std::string NaiveTrim(std::string_view text) {
    std::size_t first = 0;
    std::size_t end = text.size();
    while (first < end && text[first] == ' ')
        ++first;
    while (end > first && text[end - 1] == ' ')
        --end;
    return std::string(text.substr(first, end - first));
}

// Runs `call` and gives the error number it raised, 0 when it raised none.
template <typename Call> std::int64_t ErrorOf(Call call) {
    try {
        call();
    } catch (const vb::Error& error) {
        return error.number;
    }
    return 0;
}

void CheckEdge(std::string_view bytes) {
    const QString shown = vb::ToQString(bytes);
    FUZZ_CHECK(shown.size() == qsizetype(bytes.size()));
    FUZZ_CHECK(vb::FromQString(shown) == bytes);

    // The same bytes read as UTF-16 text that a user could have typed: one round settles it.
    QString typed(qsizetype(bytes.size() / 2), Qt::Uninitialized);
    for (qsizetype i = 0; i < typed.size(); ++i)
        typed[i] = QChar(char16_t(std::uint8_t(bytes[std::size_t(2 * i)]) |
                                  std::uint8_t(bytes[std::size_t(2 * i + 1)]) << 8));
    const std::string stored = vb::FromQString(typed);
    FUZZ_CHECK(stored.size() <= std::size_t(typed.size()));
    FUZZ_CHECK(vb::FromQString(vb::ToQString(stored)) == stored);
}

void CheckPositions(std::string_view text, long start, long length) {
    const std::string_view find = text.substr(text.size() - std::min<std::size_t>(text.size(), 3));
    FUZZ_CHECK(ErrorOf([&] { vb::InStr(0, text, find); }) == vb::errInvalidProcedureCall);
    FUZZ_CHECK(vb::InStr(start, text, find) == NaiveInStr(start, text, find));
    FUZZ_CHECK(vb::InStr(start, text, "") == (start <= long(text.size()) + 1 ? start : 0));
    FUZZ_CHECK(vb::InStr(text, find) == NaiveInStr(1, text, find));

    FUZZ_CHECK(vb::Mid(text, start, length) == NaiveMid(text, start, length));
    FUZZ_CHECK(vb::Mid(text, start) == NaiveMid(text, start, long(text.size())));
    FUZZ_CHECK(ErrorOf([&] { vb::Mid(text, start, -1); }) == vb::errInvalidProcedureCall);
    FUZZ_CHECK(vb::Left(text, length) == NaiveMid(text, 1, length));
    const long kept = std::min(length, long(text.size()));
    FUZZ_CHECK(vb::Right(text, length) == NaiveMid(text, long(text.size()) - kept + 1, kept));
    FUZZ_CHECK(vb::Trim(text) == NaiveTrim(text));
    FUZZ_CHECK(vb::Len(text) == long(text.size()));
}

void CheckNumbers(std::string_view text) {
    const bool numeric = vb::IsNumeric(text);
    const std::int64_t error = ErrorOf([&] { vb::CInt(text); });
    FUZZ_CHECK(error == 0 || error == vb::errOverflow || error == vb::errTypeMismatch);
    // Not numeric is a type mismatch, or an overflow for a number beyond every range.
    if (!numeric) FUZZ_CHECK(error != 0);
    if (error == vb::errTypeMismatch) FUZZ_CHECK(!numeric);
    if (error == 0) {
        const short value = vb::CInt(text);
        // The integer is the nearest one, half to even, so at most half away from the number.
        const float single = vb::CSng(text);
        FUZZ_CHECK(single - float(value) <= 0.5f && float(value) - single <= 0.5f);
    }
    const std::int64_t singleError = ErrorOf([&] { vb::CSng(text); });
    FUZZ_CHECK(singleError == 0 || singleError == vb::errOverflow || singleError == vb::errTypeMismatch);
    vb::Val(text); // never raises: anything it throws escapes and is reported
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2) return 0;
    const long start = 1 + data[0] % 64;
    const long length = data[1] % 64;
    const std::string_view text(reinterpret_cast<const char*>(data) + 2, size - 2);
    CheckEdge(text);
    CheckPositions(text, start, length);
    CheckNumbers(text);
    return 0;
}
