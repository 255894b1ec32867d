// The packed stream of a record data file, from the file's bytes: the packing of each kind of line, the
// record count rounded half to even, and the read failures of files whose line count does not fit.
#include "platform/errors.h"
#include "support/error_of.h"
#include "upload/packed_stream.h"
#include "upload_files.h"

#include <QTest>
#include <string>
#include <vector>

using testing_support::ErrorOf;
using upload_testing::NumberedLines;

namespace {

std::string Lines(int count, const std::string& text) {
    std::string file;
    for (int i = 0; i < count; ++i)
        file += text + "\r\n";
    return file;
}

} // namespace

class PackedStreamTest : public QObject {
    Q_OBJECT
private slots:
    void recordWithLines3And40Empty();
    void emptyNamedLinesKeepTheirPlaceAsSo();
    void emptySeparatorStillEndsTheRecord();
    void separatorWithTextIsSentAsALine();
    void twoRecordsFollowEachOther();
    void bytesGoAsTheFileHoldsThem();
    void lineEndsAreThoseOfLineInput();
    void emptyFileIsAnEmptyStream();
    void recordCountRoundsHalfToEven_data();
    void recordCountRoundsHalfToEven();
    void hundredLinesFailBeyondTheLineTable();
    void hundredSixtyEightLinesFailAtEndOfFile();
    void moreThan32767LinesOverflow();
    void largestCountStillFailsAtEndOfFile();
};

void PackedStreamTest::recordWithLines3And40Empty() {
    // Line 3 is a named field (SO keeps its place), line 40 a numbered one (nothing at all), line 112 the
    // separator (CR LF).
    const std::string file = NumberedLines(112, {3, 40, 112});
    std::string expected = "L1\r\nL2\r\n\x0eL4\r\n";
    for (int i = 5; i <= 111; ++i)
        if (i != 40) expected += "L" + std::to_string(i) + "\r\n";
    expected += "\r\n";
    QCOMPARE(upload::PackRecordFile(file), expected);
}

void PackedStreamTest::emptyNamedLinesKeepTheirPlaceAsSo() {
    QCOMPARE(upload::PackRecordFile(Lines(112, "")), std::string(12, '\x0e') + "\r\n");
}

void PackedStreamTest::emptySeparatorStillEndsTheRecord() {
    const std::string packed = upload::PackRecordFile(NumberedLines(112, {112}));
    QVERIFY(packed.ends_with("L111\r\n\r\n"));
}

void PackedStreamTest::separatorWithTextIsSentAsALine() {
    QVERIFY(upload::PackRecordFile(NumberedLines(112)).ends_with("L111\r\nL112\r\n"));
}

void PackedStreamTest::twoRecordsFollowEachOther() {
    const std::string record = Lines(111, "") + "\r\n";
    const std::string one = std::string(12, '\x0e') + "\r\n";
    QCOMPARE(upload::PackRecordFile(record + record), one + one);
}

void PackedStreamTest::bytesGoAsTheFileHoldsThem() {
    // 8-bit bytes, control bytes, a NUL and an LF inside a line: none is escaped or translated.
    const std::string odd("\xe9\x80\x01\x00\x0e\x1a"
                          "a\nb",
                          9);
    const std::string file = odd + "\r\n" + Lines(111, "");
    QCOMPARE(upload::PackRecordFile(file), odd + "\r\n" + std::string(11, '\x0e') + "\r\n");
}

void PackedStreamTest::lineEndsAreThoseOfLineInput() {
    // A CR alone ends a line as CR LF does; the last line needs no line end.
    std::string file = "A\rB\r\n";
    for (int i = 3; i <= 111; ++i)
        file += "\r";
    file += "Z";
    QCOMPARE(upload::PackRecordFile(file), "A\r\nB\r\n" + std::string(10, '\x0e') + "Z\r\n");
}

void PackedStreamTest::emptyFileIsAnEmptyStream() {
    QCOMPARE(upload::PackRecordFile(""), std::string());
}

void PackedStreamTest::recordCountRoundsHalfToEven_data() {
    QTest::addColumn<int>("lines");
    QTest::addColumn<int>("records");
    QTest::newRow("56 lines: 0.5 goes to 0") << 56 << 0;
    QTest::newRow("55 lines") << 55 << 0;
    QTest::newRow("224 lines") << 224 << 2;
    QTest::newRow("225 lines") << 225 << 2;
    QTest::newRow("280 lines: 2.5 goes to 2") << 280 << 2;
}

void PackedStreamTest::recordCountRoundsHalfToEven() {
    QFETCH(int, lines);
    QFETCH(int, records);
    // Every record of empty lines packs to 12 SO and CR LF; lines beyond the last record are not read.
    const std::string one = std::string(12, '\x0e') + "\r\n";
    std::string expected;
    for (int i = 0; i < records; ++i)
        expected += one;
    QCOMPARE(upload::PackRecordFile(Lines(lines, "")), expected);
}

void PackedStreamTest::hundredLinesFailBeyondTheLineTable() {
    // One record (100 / 112 rounds to 1), but the line table ends at index 100.
    QCOMPARE(ErrorOf([] { upload::PackRecordFile(NumberedLines(100)); }), vb::errSubscriptOutOfRange);
    QCOMPARE(ErrorOf([] { upload::PackRecordFile(NumberedLines(57)); }), vb::errSubscriptOutOfRange);
}

void PackedStreamTest::hundredSixtyEightLinesFailAtEndOfFile() {
    // 1.5 rounds to 2 records; the second runs out at line 169.
    QCOMPARE(ErrorOf([] { upload::PackRecordFile(NumberedLines(168)); }), vb::errInputPastEndOfFile);
    // 3.5 rounds to 4.
    QCOMPARE(ErrorOf([] { upload::PackRecordFile(Lines(392, "")); }), vb::errInputPastEndOfFile);
}

void PackedStreamTest::moreThan32767LinesOverflow() {
    QCOMPARE(ErrorOf([] { upload::PackRecordFile(Lines(32768, "x")); }), vb::errOverflow);
}

void PackedStreamTest::largestCountStillFailsAtEndOfFile() {
    // 32767 lines count; they round to 293 records, which need 32816 lines.
    QCOMPARE(ErrorOf([] { upload::PackRecordFile(Lines(32767, "x")); }), vb::errInputPastEndOfFile);
    // 32704 lines are 292 whole records, and pack.
    QCOMPARE(upload::PackRecordFile(Lines(32704, "")).size(), std::size_t(292 * 14));
}

QTEST_APPLESS_MAIN(PackedStreamTest)
#include "tst_packed_stream.moc"
