// The downloaded record file's pieces without a window: the header line, record keys, the date field and
// the field scan with the choices of the load, Next and Previous.
#include "support/error_of.h"
#include "viewer/resume_next.h"
#include "viewer/vlm_file.h"
#include "vlm_test_files.h"

#include <QTest>

using namespace viewer;
using testing_support::ErrorOf;
using viewer_tests::Lines;
using viewer_tests::Record;
using viewer_tests::ShortRecord;

namespace {

// Scans the first record of `records` with `variant`, as the load finds its date field.
ScanResult ScanFirst(const std::string& records, const ScanVariant& variant, std::string& recordData,
                     long passLimit = 0, const std::function<void()>& onQuote = {}) {
    const DateField date = DateFieldAt(records, 1);
    return ScanFields(records, date.q2 + 1, date.text, variant, recordData, onQuote, passLimit);
}

} // namespace

class VlmFileTest : public QObject {
    Q_OBJECT

private slots:
    void cleanup() { qunsetenv("VELMORA_SCAN_PASS_LIMIT"); }

    void headerJunkBeforeTheCountIsDropped() {
        const RecordFileHeader header = ParseHeaderLine("xx005\"ACME\"Menu");
        QCOMPARE(header.recordCount, std::string("5"));
        QCOMPARE(header.customerName, std::string("ACME"));
        QCOMPARE(header.title, std::string("Menu"));
    }

    void alignKeepsExactlyThreeCharactersBeforeTheQuote() {
        std::string line = "abcd012\"N\"T";
        QCOMPARE(AlignRecordCount(line), 4L);
        QCOMPARE(line, std::string("012\"N\"T"));
        std::string shortLine = "7\"N\"T";
        QCOMPARE(AlignRecordCount(shortLine), 2L);
        QCOMPARE(shortLine, std::string("7\"N\"T"));
    }

    void titleTakesAtMostTheSecondQuotesPosition() {
        // The second quote stands at 9, so up to 9 characters after it: the closing quote is taken.
        QCOMPARE(ParseHeaderLine("005\"ACME\"Menu\"").title, std::string("Menu\""));
        // The second quote stands at 7: a longer title is cut to 7 characters.
        QCOMPARE(ParseHeaderLine("005\"AC\"ABCDEFGHIJ\"").title, std::string("ABCDEFG"));
        QCOMPARE(ParseHeaderLine("005\"AC\"ABCDEFGHIJ\"").customerName, std::string("AC"));
    }

    void countLosesItsLeadingZeros_data() {
        QTest::addColumn<QString>("line");
        QTest::addColumn<QString>("count");
        QTest::newRow("005") << "005\"A\"B"
                             << "5";
        QTest::newRow("010") << "010\"A\"B"
                             << "10";
        QTest::newRow("100") << "100\"A\"B"
                             << "100";
        QTest::newRow("000") << "000\"A\"B"
                             << "";
        QTest::newRow("fewer digits") << "7\"A\"B"
                                      << "7";
        QTest::newRow("not a number") << "a0b\"A\"B"
                                      << "a0b";
    }
    void countLosesItsLeadingZeros() {
        QFETCH(QString, line);
        QFETCH(QString, count);
        QCOMPARE(QString::fromStdString(ParseHeaderLine(line.toStdString()).recordCount), count);
    }

    void aLineWithoutQuotesFailsAtTheCount() {
        QCOMPARE(ErrorOf([] { ParseHeaderLine(""); }), std::int64_t(vb::errInvalidProcedureCall));
        QCOMPARE(ErrorOf([] { ParseHeaderLine("005 ACME"); }), std::int64_t(vb::errInvalidProcedureCall));
    }

    void aLineWithoutASecondQuoteFailsAtTheName() {
        std::string line = "005\"ACME";
        const long firstQuote = AlignRecordCount(line);
        QCOMPARE(RecordCountText(line, firstQuote), std::string("5"));
        QCOMPARE(ErrorOf([&] { CustomerNameAndTitle(line, firstQuote); }),
                 std::int64_t(vb::errInvalidProcedureCall));
    }

    void recordKeys() {
        QCOMPARE(RecordKey(5), std::string("\r\n005\""));
        QCOMPARE(RecordKey(12), std::string("\r\n012\""));
        QCOMPARE(RecordKey(123), std::string("\r\n123\""));
        QCOMPARE(RecordKey(1234), std::string("\r\n1234\""));
        QCOMPARE(RecordKey(0), std::string("\r\n000\""));
    }

    void dateFieldFormatted() {
        QCOMPARE(GetDate("021520120905"), std::string("02/15/2012 09:05"));
        QCOMPARE(GetDate("0215"), std::string("02/15/ :"));
        QCOMPARE(GetDate(""), std::string("// :"));
        QCOMPARE(GetDate("02152012090599"), std::string("02/15/2012 09:05"));
    }

    void dateFieldBetweenTheFirstTwoQuotes() {
        const std::string records = Record("001", "021520120905", {"a"}, "");
        const DateField date = DateFieldAt(records, 1);
        QCOMPARE(date.q1, 4L);
        QCOMPARE(date.q2, 17L);
        QCOMPARE(date.text, std::string("021520120905"));
        QCOMPARE(ErrorOf([] { DateFieldAt("001\"0215", 1); }), std::int64_t(vb::errInvalidProcedureCall));
    }

    void emptyFieldsAddNoLineAndSpacesAnEmptyOne() {
        const std::string records = Record("001", "021520120905", {"", "   ", "  Main St ", "x"}, "SIG");
        std::string box = "old text\r\n";
        const ScanResult scan = ScanFirst(records, kLoadScan, box);
        QCOMPARE(box, Lines({"", "Main St", "x"}));
        QVERIFY(scan.foundSignature);
        QCOMPARE(scan.signature, std::string("SIG"));
        QCOMPARE(scan.passes, 1L);
    }

    void signatureStopsAtTheFirstCarriageReturn() {
        const std::string records =
            Record("001", "021520120905", {"a"}, std::string("\x01\x00\x80\xff\n\"", 6)) +
            Record("002", "021520120906", {"b"}, "next");
        std::string box;
        const ScanResult scan = ScanFirst(records, kLoadScan, box);
        QCOMPARE(scan.signature, std::string("\x01\x00\x80\xff\n\"", 6));
    }

    void signatureRunsToTheEndWithoutACarriageReturn() {
        std::string records = Record("001", "021520120905", {"a"}, "ABC");
        records.resize(records.size() - 2); // no CR LF after the signature
        std::string box;
        const ScanResult scan = ScanFirst(records, kLoadScan, box);
        QVERIFY(scan.foundSignature);
        QCOMPARE(scan.signature, std::string("ABC"));
    }

    void aRecordWithoutSignatureBytes() {
        const std::string records = Record("001", "021520120905", {"a"}, "") + Record("002", "x", {}, "S");
        std::string box;
        const ScanResult scan = ScanFirst(records, kNextScan, box);
        QVERIFY(scan.foundSignature);
        QCOMPARE(scan.signature, std::string());
    }

    void shiftOutDroppedOnlyByTheLoad() {
        const std::string records = Record("001", "021520120905",
                                           {"A\x0e"
                                            "B"},
                                           "");
        std::string box;
        ScanFirst(records, kLoadScan, box);
        QCOMPARE(box, Lines({"AB"}));
        ScanFirst(records, kNextScan, box);
        QCOMPARE(box, Lines({"A\x0e"
                             "B"}));
        ScanFirst(records, kPreviousScan, box);
        QCOMPARE(box, Lines({"A\x0e"
                             "B"}));
    }

    void aFieldRepeatingTheDateMergesOnlyForNext() {
        const std::string records = Record("001", "021520120905", {"021520120905", "X", "Y"}, "");
        std::string box;
        ScanFirst(records, kNextScan, box);
        QCOMPARE(box, Lines({"021520120905X", "Y"}));
        ScanFirst(records, kPreviousScan, box);
        QCOMPARE(box, Lines({"021520120905", "X", "Y"}));
        ScanFirst(records, kLoadScan, box);
        QCOMPARE(box, Lines({"021520120905", "X", "Y"}));
    }

    void nextStopsAtTheEndOfTheText() {
        const std::string records = ShortRecord("001", "021520120905", {"a", "b"});
        std::string box = "old\r\n";
        const ScanResult scan = ScanFirst(records, kNextScan, box, 0);
        QVERIFY(!scan.foundSignature);
        QCOMPARE(scan.passes, 1L);
        QCOMPARE(box, Lines({"a", "b"}));
    }

    void loadAndPreviousRepeatTheirPassesAtTheEndOfTheText() {
        // The accumulator is not reset between passes: the CR LF after the last quote starts the next
        // pass's first field.
        const std::string records = ShortRecord("001", "021520120905", {"a", "b"});
        for (const ScanVariant* variant : {&kLoadScan, &kPreviousScan}) {
            std::string box = "old\r\n";
            const ScanResult scan = ScanFirst(records, *variant, box, 3);
            QVERIFY(!scan.foundSignature);
            QCOMPARE(scan.passes, 3L);
            QCOMPARE(box, Lines({"a", "b", "\r\na", "b", "\r\na", "b"}));
        }
    }

    void progressStepsOnlyForTheLoad() {
        const std::string records = Record("001", "021520120905", {"a"}, "") + "002\"x\"y\"";
        int quotes = 0;
        std::string box;
        ScanFirst(records, kLoadScan, box, 0, [&] { ++quotes; });
        QCOMPARE(quotes, kFieldQuotes);
        quotes = 0;
        ScanFirst(records, kNextScan, box, 0, [&] { ++quotes; });
        ScanFirst(records, kPreviousScan, box, 0, [&] { ++quotes; });
        QCOMPARE(quotes, 0);
    }

    void theScanCountsQuotesAcrossRecords() {
        // A record with fewer quotes borrows the next record's: the 112th quote lies in record 2.
        const std::string records = ShortRecord("001", "d1", {"a"}) + Record("002", "d2", {"b"}, "S2");
        std::string box;
        const ScanResult scan = ScanFirst(records, kLoadScan, box);
        QVERIFY(scan.foundSignature);
        QCOMPARE(box, Lines({"a", "\r\n002", "d2", "b"}));
        // Record 2's 109th field quote is the scan's 112th; its last three quotes belong to the signature.
        QCOMPARE(scan.signature, std::string(3, '"') + "S2");
    }

    void passLimitFromTheEnvironment() {
        QCOMPARE(ScanPassLimit(), 0L);
        qputenv("VELMORA_SCAN_PASS_LIMIT", "4");
        QCOMPARE(ScanPassLimit(), 4L);
        for (const char* invalid : {"0", "-2", "abc", "3x", ""}) {
            qputenv("VELMORA_SCAN_PASS_LIMIT", invalid);
            QCOMPARE(ScanPassLimit(), 0L);
        }
    }

    void resumeNextPassesOverOnlyTheListedErrors() {
        int after = 0;
        ResumeNextOn({vb::errInvalidPropertyValue, vb::errInputPastEndOfFile},
                     [] { vb::Raise(vb::errInvalidPropertyValue); });
        ++after;
        QCOMPARE(after, 1);
        QCOMPARE(ErrorOf([] {
                     ResumeNextOn({vb::errInvalidPropertyValue}, [] { vb::Raise(vb::errTypeMismatch); });
                 }),
                 std::int64_t(vb::errTypeMismatch));
    }
};

QTEST_GUILESS_MAIN(VlmFileTest)
#include "tst_vlm_file.moc"
