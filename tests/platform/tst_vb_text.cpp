// The text helpers: positions, trimming, case, number recognition and conversion, and the Latin-1 edge.
// Each row gives either the value a call returns or the error number it raises (0 when it returns).
#include "platform/errors.h"
#include "platform/vb_text.h"

#include <QtTest>
#include <cmath>
#include <limits>
#include <optional>

namespace {

std::string Bytes(const QByteArray& bytes) {
    return std::string(bytes.constData(), std::size_t(bytes.size()));
}

// Runs `call`, keeping what it returned, or the number of the error it raised.
template <typename Result> struct Outcome {
    std::optional<Result> value;
    std::int64_t error = 0;
};

template <typename Call> auto Run(Call call) {
    Outcome<decltype(call())> outcome;
    try {
        outcome.value = call();
    } catch (const vb::Error& e) {
        outcome.error = e.number;
    }
    return outcome;
}

// What QCOMPARE prints on a mismatch: text as a byte array, anything else as it is.
QByteArray Shown(const std::string& text) {
    return QByteArray::fromStdString(text);
}
template <typename T> T Shown(T value) {
    return value;
}

// A row's expectation: with `error` 0 the call must return `expected`, else it must raise `error`.
#define CHECK_OUTCOME(call, expectedValue, expectedError)                                                    \
    do {                                                                                                     \
        const auto outcome = (call);                                                                         \
        QCOMPARE(outcome.error, std::int64_t(expectedError));                                                \
        if ((expectedError) == 0) QCOMPARE(Shown(*outcome.value), Shown(expectedValue));                     \
    } while (false)

constexpr int noError = 0;
constexpr int err5 = vb::errInvalidProcedureCall;
constexpr int err6 = vb::errOverflow;
constexpr int err13 = vb::errTypeMismatch;

} // namespace

class tst_vb_text : public QObject {
    Q_OBJECT

private slots:
    void inStr_data();
    void inStr();
    void inStrWithoutStart_data();
    void inStrWithoutStart();
    void mid_data();
    void mid();
    void left_data();
    void left();
    void right_data();
    void right();
    void trim_data();
    void trim();
    void uCase_data();
    void uCase();
    void uCaseChangesOnlyAsciiLetters();
    void len_data();
    void len();
    void isNumeric_data();
    void isNumeric();
    void cIntText_data();
    void cIntText();
    void cIntDouble_data();
    void cIntDouble();
    void cSng_data();
    void cSng();
    void val_data();
    void val();
    void str_data();
    void str();
};

void tst_vb_text::inStr_data() {
    QTest::addColumn<int>("start");
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArray>("find");
    QTest::addColumn<int>("expected");
    QTest::addColumn<int>("error");

    QTest::newRow("found at 1") << 1 << QByteArray("abc") << QByteArray("a") << 1 << noError;
    QTest::newRow("found inside") << 1 << QByteArray("abcabc") << QByteArray("ca") << 3 << noError;
    QTest::newRow("absent") << 1 << QByteArray("abc") << QByteArray("x") << 0 << noError;
    QTest::newRow("second occurrence from start")
        << 2 << QByteArray("abcabc") << QByteArray("a") << 4 << noError;
    QTest::newRow("found at start") << 4 << QByteArray("abcabc") << QByteArray("abc") << 4 << noError;
    QTest::newRow("before start is not seen")
        << 5 << QByteArray("abcabc") << QByteArray("abc") << 0 << noError;
    QTest::newRow("last byte") << 3 << QByteArray("abc") << QByteArray("c") << 3 << noError;
    QTest::newRow("start past end") << 4 << QByteArray("abc") << QByteArray("c") << 0 << noError;
    QTest::newRow("start far past end") << 100 << QByteArray("abc") << QByteArray("c") << 0 << noError;
    QTest::newRow("find longer than text") << 1 << QByteArray("ab") << QByteArray("abc") << 0 << noError;
    QTest::newRow("empty text") << 1 << QByteArray("") << QByteArray("a") << 0 << noError;
    QTest::newRow("case sensitive") << 1 << QByteArray("ABC") << QByteArray("b") << 0 << noError;
    QTest::newRow("quote in text") << 1 << QByteArray("005\"ACME\"") << QByteArray("\"") << 4 << noError;
    QTest::newRow("byte 0x05") << 1 << QByteArray("xy\x05z") << QByteArray("\x05") << 3 << noError;
    QTest::newRow("high byte") << 1 << QByteArray("a\xff\xfe") << QByteArray("\xfe") << 3 << noError;
    QTest::newRow("empty find at 1") << 1 << QByteArray("abc") << QByteArray("") << 1 << noError;
    QTest::newRow("empty find at 3") << 3 << QByteArray("abc") << QByteArray("") << 3 << noError;
    QTest::newRow("empty find at Len+1") << 4 << QByteArray("abc") << QByteArray("") << 4 << noError;
    QTest::newRow("empty find at Len+2") << 5 << QByteArray("abc") << QByteArray("") << 0 << noError;
    QTest::newRow("empty find in empty text") << 1 << QByteArray("") << QByteArray("") << 1 << noError;
    QTest::newRow("empty find, empty text, 2") << 2 << QByteArray("") << QByteArray("") << 0 << noError;
    QTest::newRow("start 0") << 0 << QByteArray("abc") << QByteArray("a") << 0 << err5;
    QTest::newRow("start -1") << -1 << QByteArray("abc") << QByteArray("a") << 0 << err5;
    QTest::newRow("start 0, empty find") << 0 << QByteArray("abc") << QByteArray("") << 0 << err5;
}

void tst_vb_text::inStr() {
    QFETCH(int, start);
    QFETCH(QByteArray, text);
    QFETCH(QByteArray, find);
    QFETCH(int, expected);
    QFETCH(int, error);
    const std::string t = Bytes(text), f = Bytes(find);
    CHECK_OUTCOME(Run([&] { return vb::InStr(start, t, f); }), long(expected), error);
}

void tst_vb_text::inStrWithoutStart_data() {
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArray>("find");
    QTest::addColumn<int>("expected");

    QTest::newRow("found") << QByteArray("hello") << QByteArray("ll") << 3;
    QTest::newRow("first of two") << QByteArray("a-b-c") << QByteArray("-") << 2;
    QTest::newRow("absent") << QByteArray("hello") << QByteArray("L") << 0;
    QTest::newRow("empty find") << QByteArray("hello") << QByteArray("") << 1;
    QTest::newRow("empty both") << QByteArray("") << QByteArray("") << 1;
    QTest::newRow("001 and quote") << QByteArray("000\"x\"001\"y") << QByteArray("001\"") << 7;
}

void tst_vb_text::inStrWithoutStart() {
    QFETCH(QByteArray, text);
    QFETCH(QByteArray, find);
    QFETCH(int, expected);
    QCOMPARE(vb::InStr(Bytes(text), Bytes(find)), long(expected));
}

void tst_vb_text::mid_data() {
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<int>("start");
    QTest::addColumn<bool>("withLength");
    QTest::addColumn<int>("length");
    QTest::addColumn<QByteArray>("expected");
    QTest::addColumn<int>("error");

    QTest::newRow("middle") << QByteArray("abcdef") << 2 << true << 3 << QByteArray("bcd") << noError;
    QTest::newRow("from 1") << QByteArray("abcdef") << 1 << true << 2 << QByteArray("ab") << noError;
    QTest::newRow("length past end") << QByteArray("abcdef") << 5 << true << 10 << QByteArray("ef")
                                     << noError;
    QTest::newRow("last byte") << QByteArray("abcdef") << 6 << true << 1 << QByteArray("f") << noError;
    QTest::newRow("start past end") << QByteArray("abcdef") << 7 << true << 1 << QByteArray("") << noError;
    QTest::newRow("start far past end") << QByteArray("abc") << 50 << true << 2 << QByteArray("") << noError;
    QTest::newRow("length 0") << QByteArray("abcdef") << 3 << true << 0 << QByteArray("") << noError;
    QTest::newRow("empty text") << QByteArray("") << 1 << true << 3 << QByteArray("") << noError;
    QTest::newRow("keeps NUL and high bytes") << QByteArray("a\0\xff"
                                                            "b",
                                                            4)
                                              << 2 << true << 2 << QByteArray("\0\xff", 2) << noError;
    QTest::newRow("rest from 3") << QByteArray("abcdef") << 3 << false << 0 << QByteArray("cdef") << noError;
    QTest::newRow("rest from 1") << QByteArray("abcdef") << 1 << false << 0 << QByteArray("abcdef")
                                 << noError;
    QTest::newRow("rest from Len") << QByteArray("abcdef") << 6 << false << 0 << QByteArray("f") << noError;
    QTest::newRow("rest past end") << QByteArray("abcdef") << 7 << false << 0 << QByteArray("") << noError;
    QTest::newRow("negative length") << QByteArray("abcdef") << 2 << true << -1 << QByteArray() << err5;
    QTest::newRow("start 0") << QByteArray("abcdef") << 0 << true << 2 << QByteArray() << err5;
    QTest::newRow("start -3") << QByteArray("abcdef") << -3 << true << 2 << QByteArray() << err5;
    QTest::newRow("rest from 0") << QByteArray("abcdef") << 0 << false << 0 << QByteArray() << err5;
    QTest::newRow("negative length past end") << QByteArray("abc") << 9 << true << -2 << QByteArray() << err5;
}

void tst_vb_text::mid() {
    QFETCH(QByteArray, text);
    QFETCH(int, start);
    QFETCH(bool, withLength);
    QFETCH(int, length);
    QFETCH(QByteArray, expected);
    QFETCH(int, error);
    const std::string t = Bytes(text);
    CHECK_OUTCOME(Run([&] { return withLength ? vb::Mid(t, start, length) : vb::Mid(t, start); }),
                  Bytes(expected), error);
}

void tst_vb_text::left_data() {
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<int>("length");
    QTest::addColumn<QByteArray>("expected");
    QTest::addColumn<int>("error");

    QTest::newRow("two") << QByteArray("abcdef") << 2 << QByteArray("ab") << noError;
    QTest::newRow("zero") << QByteArray("abcdef") << 0 << QByteArray("") << noError;
    QTest::newRow("all") << QByteArray("abcdef") << 6 << QByteArray("abcdef") << noError;
    QTest::newRow("more than all") << QByteArray("abc") << 10 << QByteArray("abc") << noError;
    QTest::newRow("empty text") << QByteArray("") << 3 << QByteArray("") << noError;
    QTest::newRow("negative") << QByteArray("abc") << -1 << QByteArray() << err5;
}

void tst_vb_text::left() {
    QFETCH(QByteArray, text);
    QFETCH(int, length);
    QFETCH(QByteArray, expected);
    QFETCH(int, error);
    const std::string t = Bytes(text);
    CHECK_OUTCOME(Run([&] { return vb::Left(t, length); }), Bytes(expected), error);
}

void tst_vb_text::right_data() {
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<int>("length");
    QTest::addColumn<QByteArray>("expected");
    QTest::addColumn<int>("error");

    QTest::newRow("two") << QByteArray("abcdef") << 2 << QByteArray("ef") << noError;
    QTest::newRow("zero") << QByteArray("abcdef") << 0 << QByteArray("") << noError;
    QTest::newRow("all") << QByteArray("abcdef") << 6 << QByteArray("abcdef") << noError;
    QTest::newRow("more than all") << QByteArray("abc") << 10 << QByteArray("abc") << noError;
    QTest::newRow("empty text") << QByteArray("") << 3 << QByteArray("") << noError;
    QTest::newRow("negative") << QByteArray("abc") << -1 << QByteArray() << err5;
}

void tst_vb_text::right() {
    QFETCH(QByteArray, text);
    QFETCH(int, length);
    QFETCH(QByteArray, expected);
    QFETCH(int, error);
    const std::string t = Bytes(text);
    CHECK_OUTCOME(Run([&] { return vb::Right(t, length); }), Bytes(expected), error);
}

void tst_vb_text::trim_data() {
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArray>("trimmed");
    QTest::addColumn<QByteArray>("leftTrimmed");
    QTest::addColumn<QByteArray>("rightTrimmed");

    QTest::newRow("both sides") << QByteArray("  ab c  ") << QByteArray("ab c") << QByteArray("ab c  ")
                                << QByteArray("  ab c");
    QTest::newRow("nothing to trim") << QByteArray("abc") << QByteArray("abc") << QByteArray("abc")
                                     << QByteArray("abc");
    QTest::newRow("empty") << QByteArray("") << QByteArray("") << QByteArray("") << QByteArray("");
    QTest::newRow("only spaces") << QByteArray("   ") << QByteArray("") << QByteArray("") << QByteArray("");
    QTest::newRow("inner spaces kept")
        << QByteArray("a  b") << QByteArray("a  b") << QByteArray("a  b") << QByteArray("a  b");
    QTest::newRow("tab kept") << QByteArray("\tab\t") << QByteArray("\tab\t") << QByteArray("\tab\t")
                              << QByteArray("\tab\t");
    QTest::newRow("CR LF kept") << QByteArray(" ab\r\n") << QByteArray("ab\r\n") << QByteArray("ab\r\n")
                                << QByteArray(" ab\r\n");
    QTest::newRow("no-break space 0xA0 kept") << QByteArray("\xa0x\xa0") << QByteArray("\xa0x\xa0")
                                              << QByteArray("\xa0x\xa0") << QByteArray("\xa0x\xa0");
    QTest::newRow("NUL kept") << QByteArray(" \0 ", 3) << QByteArray("\0", 1) << QByteArray("\0 ", 2)
                              << QByteArray(" \0", 2);
    QTest::newRow("spaces around tab")
        << QByteArray(" \t ") << QByteArray("\t") << QByteArray("\t ") << QByteArray(" \t");
}

void tst_vb_text::trim() {
    QFETCH(QByteArray, text);
    QFETCH(QByteArray, trimmed);
    QFETCH(QByteArray, leftTrimmed);
    QFETCH(QByteArray, rightTrimmed);
    const std::string t = Bytes(text);
    QCOMPARE(vb::Trim(t), Bytes(trimmed));
    QCOMPARE(vb::LTrim(t), Bytes(leftTrimmed));
    QCOMPARE(vb::RTrim(t), Bytes(rightTrimmed));
}

void tst_vb_text::uCase_data() {
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArray>("expected");

    QTest::newRow("lower") << QByteArray("company name") << QByteArray("COMPANY NAME");
    QTest::newRow("mixed") << QByteArray("aBc123xYz") << QByteArray("ABC123XYZ");
    QTest::newRow("already upper") << QByteArray("ABC") << QByteArray("ABC");
    QTest::newRow("empty") << QByteArray("") << QByteArray("");
    QTest::newRow("neighbours of a-z") << QByteArray("`{@[") << QByteArray("`{@[");
    QTest::newRow("Latin-1 letters unchanged")
        << QByteArray("\xe9\xe0\xfc\xff") << QByteArray("\xe9\xe0\xfc\xff");
    QTest::newRow("NUL kept") << QByteArray("a\0b", 3) << QByteArray("A\0B", 3);
}

void tst_vb_text::uCase() {
    QFETCH(QByteArray, text);
    QFETCH(QByteArray, expected);
    QCOMPARE(vb::UCase(Bytes(text)), Bytes(expected));
}

void tst_vb_text::uCaseChangesOnlyAsciiLetters() {
    for (int byte = 0; byte < 256; ++byte) {
        const std::string one(1, char(byte));
        const bool lowerAscii = byte >= 'a' && byte <= 'z';
        const std::string expected(1, char(lowerAscii ? byte - 32 : byte));
        QVERIFY2(vb::UCase(one) == expected, qPrintable(QString("byte %1").arg(byte)));
    }
}

void tst_vb_text::len_data() {
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<int>("expected");

    QTest::newRow("empty") << QByteArray("") << 0;
    QTest::newRow("three") << QByteArray("abc") << 3;
    QTest::newRow("bytes, not characters") << QByteArray("\xc3\xa9") << 2;
    QTest::newRow("NUL counts") << QByteArray("a\0b", 3) << 3;
}

void tst_vb_text::len() {
    QFETCH(QByteArray, text);
    QFETCH(int, expected);
    QCOMPARE(vb::Len(Bytes(text)), long(expected));
}

void tst_vb_text::isNumeric_data() {
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<bool>("expected");

    QTest::newRow("blanks around") << QByteArray(" 12 ") << true;
    QTest::newRow("tabs around") << QByteArray("\t12\t") << true;
    QTest::newRow("digits") << QByteArray("1234567890") << true;
    QTest::newRow("leading zeros") << QByteArray("007") << true;
    QTest::newRow("negative decimal") << QByteArray("-1.5") << true;
    QTest::newRow("plus sign") << QByteArray("+3") << true;
    QTest::newRow("exponent") << QByteArray("1e3") << true;
    QTest::newRow("signed exponent") << QByteArray("1.5E-2") << true;
    QTest::newRow("exponent with plus") << QByteArray("2e+4") << true;
    QTest::newRow("D exponent") << QByteArray("1d2") << true;
    QTest::newRow("point first") << QByteArray(".5") << true;
    QTest::newRow("point last") << QByteArray("5.") << true;
    QTest::newRow("hex") << QByteArray("&H10") << true;
    QTest::newRow("hex lower case") << QByteArray("&hff") << true;
    QTest::newRow("hex with blanks") << QByteArray(" &H1F ") << true;
    QTest::newRow("octal") << QByteArray("&O17") << true;
    QTest::newRow("octal lower case") << QByteArray("&o7") << true;
    QTest::newRow("32-bit hex") << QByteArray("&HFFFFFFFF") << true;
    QTest::newRow("large but a double") << QByteArray("1e300") << true;
    QTest::newRow("empty") << QByteArray("") << false;
    QTest::newRow("one blank") << QByteArray(" ") << false;
    QTest::newRow("trailing letter") << QByteArray("12a") << false;
    QTest::newRow("point alone") << QByteArray(".") << false;
    QTest::newRow("minus alone") << QByteArray("-") << false;
    QTest::newRow("exponent without digits") << QByteArray("1e") << false;
    QTest::newRow("exponent sign without digits") << QByteArray("1e-") << false;
    QTest::newRow("blank inside") << QByteArray("1 2") << false;
    QTest::newRow("C hex") << QByteArray("0x10") << false;
    QTest::newRow("two points") << QByteArray("1.2.3") << false;
    QTest::newRow("two signs") << QByteArray("--1") << false;
    QTest::newRow("blank after sign") << QByteArray("- 1") << false;
    QTest::newRow("letters") << QByteArray("abc") << false;
    QTest::newRow("hex without digits") << QByteArray("&H") << false;
    QTest::newRow("hex with junk") << QByteArray("&H1G") << false;
    QTest::newRow("octal digit 8") << QByteArray("&O18") << false;
    QTest::newRow("ampersand other") << QByteArray("&X1") << false;
    QTest::newRow("signed hex") << QByteArray("-&H10") << false;
    QTest::newRow("hex wider than 32 bits") << QByteArray("&H100000000") << false;
    QTest::newRow("beyond double range") << QByteArray("1e400") << false;
    QTest::newRow("CR after digits") << QByteArray("12\r") << false;
    QTest::newRow("no-break space 0xA0") << QByteArray("\xa0"
                                                       "1")
                                         << false;
    QTest::newRow("thousands comma") << QByteArray("1,000") << false;
}

void tst_vb_text::isNumeric() {
    QFETCH(QByteArray, text);
    QFETCH(bool, expected);
    QCOMPARE(vb::IsNumeric(Bytes(text)), expected);
}

void tst_vb_text::cIntText_data() {
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<int>("expected");
    QTest::addColumn<int>("error");

    QTest::newRow("plain") << QByteArray("42") << 42 << noError;
    QTest::newRow("blanks around") << QByteArray(" 12 ") << 12 << noError;
    QTest::newRow("2.5 to even 2") << QByteArray("2.5") << 2 << noError;
    QTest::newRow("3.5 to even 4") << QByteArray("3.5") << 4 << noError;
    QTest::newRow("-2.5 to even -2") << QByteArray("-2.5") << -2 << noError;
    QTest::newRow("1.5 to even 2") << QByteArray("1.5") << 2 << noError;
    QTest::newRow("0.5 to even 0") << QByteArray("0.5") << 0 << noError;
    QTest::newRow("-3.5 to even -4") << QByteArray("-3.5") << -4 << noError;
    QTest::newRow("below half") << QByteArray("2.49") << 2 << noError;
    QTest::newRow("above half") << QByteArray("2.51") << 3 << noError;
    QTest::newRow("negative above half") << QByteArray("-2.51") << -3 << noError;
    QTest::newRow("exponent") << QByteArray("1e3") << 1000 << noError;
    QTest::newRow("small exponent") << QByteArray("1.5E-2") << 0 << noError;
    QTest::newRow("point first") << QByteArray(".5") << 0 << noError;
    QTest::newRow("point last") << QByteArray("5.") << 5 << noError;
    QTest::newRow("plus sign") << QByteArray("+3") << 3 << noError;
    QTest::newRow("leading zeros") << QByteArray("010") << 10 << noError;
    QTest::newRow("hex") << QByteArray("&H10") << 16 << noError;
    QTest::newRow("octal") << QByteArray("&O17") << 15 << noError;
    QTest::newRow("hex FFFF is -1") << QByteArray("&HFFFF") << -1 << noError;
    QTest::newRow("hex 8000 is -32768") << QByteArray("&H8000") << -32768 << noError;
    QTest::newRow("hex 7FFF") << QByteArray("&H7FFF") << 32767 << noError;
    QTest::newRow("largest") << QByteArray("32767") << 32767 << noError;
    QTest::newRow("smallest") << QByteArray("-32768") << -32768 << noError;
    QTest::newRow("32767.4") << QByteArray("32767.4") << 32767 << noError;
    QTest::newRow("-32768.5 to even -32768") << QByteArray("-32768.5") << -32768 << noError;
    QTest::newRow("32768") << QByteArray("32768") << 0 << err6;
    QTest::newRow("32767.5 rounds to 32768") << QByteArray("32767.5") << 0 << err6;
    QTest::newRow("-32769") << QByteArray("-32769") << 0 << err6;
    QTest::newRow("-32768.51") << QByteArray("-32768.51") << 0 << err6;
    QTest::newRow("1e5") << QByteArray("1e5") << 0 << err6;
    QTest::newRow("hex 10000") << QByteArray("&H10000") << 0 << err6;
    QTest::newRow("beyond double range") << QByteArray("1e400") << 0 << err6;
    QTest::newRow("hex wider than 32 bits") << QByteArray("&H100000000") << 0 << err6;
    QTest::newRow("empty") << QByteArray("") << 0 << err13;
    QTest::newRow("blank") << QByteArray(" ") << 0 << err13;
    QTest::newRow("trailing letter") << QByteArray("12a") << 0 << err13;
    QTest::newRow("point alone") << QByteArray(".") << 0 << err13;
    QTest::newRow("minus alone") << QByteArray("-") << 0 << err13;
    QTest::newRow("exponent without digits") << QByteArray("1e") << 0 << err13;
    QTest::newRow("blank inside") << QByteArray("1 2") << 0 << err13;
    QTest::newRow("C hex") << QByteArray("0x10") << 0 << err13;
    QTest::newRow("letters") << QByteArray("abc") << 0 << err13;
}

void tst_vb_text::cIntText() {
    QFETCH(QByteArray, text);
    QFETCH(int, expected);
    QFETCH(int, error);
    const std::string t = Bytes(text);
    CHECK_OUTCOME(Run([&] { return vb::CInt(std::string_view(t)); }), short(expected), error);
}

void tst_vb_text::cIntDouble_data() {
    QTest::addColumn<double>("value");
    QTest::addColumn<int>("expected");
    QTest::addColumn<int>("error");

    QTest::newRow("2.5") << 2.5 << 2 << noError;
    QTest::newRow("3.5") << 3.5 << 4 << noError;
    QTest::newRow("-2.5") << -2.5 << -2 << noError;
    QTest::newRow("1.5") << 1.5 << 2 << noError;
    QTest::newRow("-0.5") << -0.5 << 0 << noError;
    QTest::newRow("-1.5") << -1.5 << -2 << noError;
    QTest::newRow("2.4999") << 2.4999 << 2 << noError;
    QTest::newRow("-7.7") << -7.7 << -8 << noError;
    QTest::newRow("32767") << 32767.0 << 32767 << noError;
    QTest::newRow("-32768") << -32768.0 << -32768 << noError;
    QTest::newRow("-32768.5") << -32768.5 << -32768 << noError;
    QTest::newRow("32766.5") << 32766.5 << 32766 << noError;
    QTest::newRow("32767.5") << 32767.5 << 0 << err6;
    QTest::newRow("32768") << 32768.0 << 0 << err6;
    QTest::newRow("-32768.6") << -32768.6 << 0 << err6;
    QTest::newRow("-32769.5") << -32769.5 << 0 << err6;
    QTest::newRow("1e300") << 1e300 << 0 << err6;
    QTest::newRow("infinity") << std::numeric_limits<double>::infinity() << 0 << err6;
    QTest::newRow("-infinity") << -std::numeric_limits<double>::infinity() << 0 << err6;
    QTest::newRow("NaN") << std::numeric_limits<double>::quiet_NaN() << 0 << err6;
}

void tst_vb_text::cIntDouble() {
    QFETCH(double, value);
    QFETCH(int, expected);
    QFETCH(int, error);
    CHECK_OUTCOME(Run([&] { return vb::CInt(value); }), short(expected), error);
}

void tst_vb_text::cSng_data() {
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<float>("expected");
    QTest::addColumn<int>("error");

    QTest::newRow("integer") << QByteArray("5") << 5.0f << noError;
    QTest::newRow("decimal") << QByteArray("1.5") << 1.5f << noError;
    QTest::newRow("blanks around") << QByteArray(" 12 ") << 12.0f << noError;
    QTest::newRow("negative") << QByteArray("-0.25") << -0.25f << noError;
    QTest::newRow("no rounding to integer") << QByteArray("2.5") << 2.5f << noError;
    QTest::newRow("leading zeros") << QByteArray("010") << 10.0f << noError;
    QTest::newRow("exponent") << QByteArray("1.5E-2") << 0.015f << noError;
    QTest::newRow("hex") << QByteArray("&H10") << 16.0f << noError;
    QTest::newRow("largest float") << QByteArray("3.4028234e38") << std::numeric_limits<float>::max()
                                   << noError;
    QTest::newRow("rounds down to largest float")
        << QByteArray("3.40282356e38") << std::numeric_limits<float>::max() << noError;
    QTest::newRow("underflows to 0") << QByteArray("1e-60") << 0.0f << noError;
    QTest::newRow("beyond float range") << QByteArray("3.5e38") << 0.0f << err6;
    QTest::newRow("negative beyond float range") << QByteArray("-1e39") << 0.0f << err6;
    QTest::newRow("half step past largest float")
        << QByteArray("340282356779733661637539395458142568448") << 0.0f << err6;
    QTest::newRow("beyond double range") << QByteArray("1e400") << 0.0f << err6;
    QTest::newRow("empty") << QByteArray("") << 0.0f << err13;
    QTest::newRow("letters") << QByteArray("abc") << 0.0f << err13;
    QTest::newRow("trailing letter") << QByteArray("5x") << 0.0f << err13;
    QTest::newRow("blank inside") << QByteArray("1 2") << 0.0f << err13;
}

void tst_vb_text::cSng() {
    QFETCH(QByteArray, text);
    QFETCH(float, expected);
    QFETCH(int, error);
    const std::string t = Bytes(text);
    CHECK_OUTCOME(Run([&] { return vb::CSng(t); }), expected, error);
}

void tst_vb_text::val_data() {
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<double>("expected");

    QTest::newRow("leading blanks, trailing letters") << QByteArray("  12abc") << 12.0;
    QTest::newRow("blank inside the number") << QByteArray("1 2") << 12.0;
    QTest::newRow("tab and LF inside") << QByteArray("\t1\n2 3") << 123.0;
    QTest::newRow("letters") << QByteArray("abc") << 0.0;
    QTest::newRow("negative with junk") << QByteArray("-3.5x") << -3.5;
    QTest::newRow("empty") << QByteArray("") << 0.0;
    QTest::newRow("exponent") << QByteArray("1e2") << 100.0;
    QTest::newRow("D exponent") << QByteArray("1D2") << 100.0;
    QTest::newRow("negative exponent") << QByteArray("1.5E-2") << 0.015;
    QTest::newRow("exponent without digits") << QByteArray("1e") << 1.0;
    QTest::newRow("exponent sign without digits") << QByteArray("7e+x") << 7.0;
    QTest::newRow("plus sign") << QByteArray("+3") << 3.0;
    QTest::newRow("blank after sign") << QByteArray("- 4") << -4.0;
    QTest::newRow("two signs") << QByteArray("--4") << 0.0;
    QTest::newRow("point first") << QByteArray(".5") << 0.5;
    QTest::newRow("point last") << QByteArray("5.") << 5.0;
    QTest::newRow("point alone") << QByteArray(".") << 0.0;
    QTest::newRow("minus alone") << QByteArray("-") << 0.0;
    QTest::newRow("second point ends it") << QByteArray("1.2.3") << 1.2;
    QTest::newRow("comma ends it") << QByteArray("1,5") << 1.0;
    QTest::newRow("C hex reads the 0") << QByteArray("0x10") << 0.0;
    QTest::newRow("CR ends it") << QByteArray("12\r34") << 12.0;
    QTest::newRow("record count with quote") << QByteArray("005\"ACME") << 5.0;
    QTest::newRow("hex") << QByteArray("&H10") << 16.0;
    QTest::newRow("hex with junk") << QByteArray(" &H1Gx") << 1.0;
    QTest::newRow("hex FFFF is -1") << QByteArray("&HFFFF") << -1.0;
    QTest::newRow("hex 10000") << QByteArray("&H10000") << 65536.0;
    QTest::newRow("hex FFFFFFFF is -1") << QByteArray("&HFFFFFFFF") << -1.0;
    QTest::newRow("octal") << QByteArray("&O17") << 15.0;
    QTest::newRow("octal stops at 8") << QByteArray("&O178") << 15.0;
    QTest::newRow("hex without digits") << QByteArray("&H") << 0.0;
    QTest::newRow("beyond double range") << QByteArray("1e400") << std::numeric_limits<double>::infinity();
    QTest::newRow("negative beyond double range")
        << QByteArray("-1e400") << -std::numeric_limits<double>::infinity();
    QTest::newRow("many digits") << QByteArray("123456789012") << 123456789012.0;
}

void tst_vb_text::val() {
    QFETCH(QByteArray, text);
    QFETCH(double, expected);
    // Val never raises: a raised error shows as a non-zero error number here.
    const std::string t = Bytes(text);
    CHECK_OUTCOME(Run([&] { return vb::Val(t); }), expected, noError);
}

void tst_vb_text::str_data() {
    QTest::addColumn<qlonglong>("value");
    QTest::addColumn<QByteArray>("expected");

    QTest::newRow("zero") << 0LL << QByteArray("0");
    QTest::newRow("positive, no leading blank") << 3LL << QByteArray("3");
    QTest::newRow("negative") << -12LL << QByteArray("-12");
    QTest::newRow("count 10") << 10LL << QByteArray("10");
    QTest::newRow("32-bit largest") << 2147483647LL << QByteArray("2147483647");
    QTest::newRow("32-bit smallest") << -2147483648LL << QByteArray("-2147483648");
}

void tst_vb_text::str() {
    QFETCH(qlonglong, value);
    QFETCH(QByteArray, expected);
    QCOMPARE(vb::Str(long(value)), Bytes(expected));
}

QTEST_APPLESS_MAIN(tst_vb_text)
#include "tst_vb_text.moc"
