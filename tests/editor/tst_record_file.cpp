// The record data file: the field list, reading a file into the record table with all its kept quirks,
// writing the table back byte for byte, and the end-marker routine. Real files in a temporary folder;
// file contents are made and checked with QFile, independently of the code under test.
#include "editor/record_file.h"
#include "platform/errors.h"

#include "support/error_of.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <memory>
#include <sys/stat.h>

using editor::RecordTable;

using testing_support::ErrorOf;

namespace {

QByteArray B(const std::string& bytes) {
    return QByteArray(bytes.data(), static_cast<qsizetype>(bytes.size()));
}

void PutBytes(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    QCOMPARE(file.write(bytes), bytes.size());
}

QByteArray GetBytes(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) return "<unreadable>";
    return file.readAll();
}

// Reading and writing report a raised error as its number, so that a test shows it as a failed check
// instead of an exception that stops the whole run.
std::int64_t Read(RecordTable& table) {
    return ErrorOf([&] { editor::ReadRecordFile(table); });
}

// "written", "refused" (false returned) or "error <number>".
QString Write(RecordTable& table) {
    bool written = false;
    const std::int64_t error = ErrorOf([&] { written = editor::WriteRecordFile(table); });
    if (error != 0) return "error " + QString::number(error);
    return written ? "written" : "refused";
}

// The text of a line that tells its position: record r (0-based), field f.
QByteArray FieldText(int record, int field) {
    return "r" + QByteArray::number(record) + "f" + QByteArray::number(field);
}

// `count` lines "L1" ... "Ln", each ended by CR LF.
QByteArray NumberedLines(int count) {
    QByteArray bytes;
    for (int i = 1; i <= count; ++i) {
        bytes += "L" + QByteArray::number(i) + "\r\n";
    }
    return bytes;
}

// A well-formed file of `records` records whose fields hold FieldText, the separator after each.
QByteArray RecordsFile(int records, const QByteArray& lineEnd = "\r\n") {
    QByteArray bytes;
    for (int r = 0; r < records; ++r) {
        for (int f = 0; f < editor::kFieldCount; ++f) {
            bytes += FieldText(r, f) + lineEnd;
        }
        bytes += lineEnd;
    }
    return bytes;
}

// The table is big (112 x 101 strings); tests keep it on the heap.
std::unique_ptr<RecordTable> NewTable(const QString& path) {
    auto table = std::make_unique<RecordTable>();
    table->FilePathName = path.toStdString();
    return table;
}

} // namespace

class tst_RecordFile : public QObject {
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> dir;
    QString Path(const char* name) const { return dir->filePath(name); }

private slots:
    void init() {
        dir = std::make_unique<QTemporaryDir>();
        QVERIFY(dir->isValid());
    }
    void cleanup() { dir.reset(); }

    // ---- field list ----

    void fieldCaptionsAndMaxLengths_data() {
        QTest::addColumn<int>("field");
        QTest::addColumn<QString>("caption");
        QTest::addColumn<int>("maxLength");
        QTest::newRow("0") << 0 << "Name" << 33;
        QTest::newRow("1") << 1 << "Address1" << 33;
        QTest::newRow("2") << 2 << "Address2" << 33;
        QTest::newRow("3") << 3 << "City" << 33;
        QTest::newRow("4") << 4 << "State" << 2;
        QTest::newRow("5") << 5 << "ZIP+4" << 9;
        QTest::newRow("6") << 6 << "Note" << 30;
        QTest::newRow("7") << 7 << "Memo" << 200;
        QTest::newRow("8") << 8 << "Info 1" << 32;
        QTest::newRow("9") << 9 << "Info 2" << 32;
        QTest::newRow("10") << 10 << "Info 3" << 32;
        QTest::newRow("11") << 11 << "Info 4" << 30;
        QTest::newRow("12") << 12 << "1" << 33;
        QTest::newRow("50") << 50 << "39" << 33;
        QTest::newRow("110") << 110 << "99" << 33;
    }

    void fieldCaptionsAndMaxLengths() {
        QFETCH(int, field);
        QFETCH(QString, caption);
        QFETCH(int, maxLength);
        QCOMPARE(QString::fromStdString(editor::FieldCaption(field)), caption);
        QCOMPARE(editor::FieldMaxLength(field), maxLength);
    }

    void everyNumberedFieldIsCaptionedByItsNumber() {
        for (int n = 1; n <= 99; ++n) {
            QCOMPARE(B(editor::FieldCaption(n + 11)), QByteArray::number(n));
            QCOMPARE(editor::FieldMaxLength(n + 11), 33);
        }
    }

    void fieldIndexOutsideTheListRaises9() {
        QCOMPARE(ErrorOf([] { editor::FieldCaption(-1); }), std::int64_t(9));
        QCOMPARE(ErrorOf([] { editor::FieldCaption(111); }), std::int64_t(9));
        QCOMPARE(ErrorOf([] { editor::FieldMaxLength(111); }), std::int64_t(9));
    }

    // ---- the table ----

    void clearRecordsEmptiesEverySlot() {
        auto table = NewTable(Path("unused.txt"));
        table->records[0][0] = "a";
        table->records[111][100] = "b";
        table->records[55][42] = "c";
        table->ClearRecords();
        for (const auto& field : table->records) {
            for (const auto& entry : field) {
                QVERIFY(entry.empty());
            }
        }
    }

    // ---- writing ----

    void oneEmptyRecordIs112EmptyLinesAndKeepsBlanksInNoteAndInfo4() {
        auto table = NewTable(Path("blank.txt"));
        PutBytes(Path("blank.txt"), "");
        table->RecordCount = 1;
        table->RecordEdited = true;
        QCOMPARE(Write(*table), QString("written"));
        QCOMPARE(GetBytes(Path("blank.txt")), QByteArray("\r\n").repeated(112));
        QCOMPARE(B(table->records[editor::kNoteField][0]), QByteArray(" "));
        QCOMPARE(B(table->records[editor::kInfo4Field][0]), QByteArray(" "));
        QCOMPARE(B(table->records[0][0]), QByteArray());
        QCOMPARE(B(table->records[editor::kMemoField][0]), QByteArray());
        QVERIFY(!table->RecordEdited);
    }

    void leadingAndTrailingSpacesAreTrimmedOnWriteAndStayOffOnReadBack() {
        auto table = NewTable(Path("trim.txt"));
        PutBytes(Path("trim.txt"), "");
        table->RecordCount = 1;
        table->At(editor::kNameField, 1) = " John Smith ";
        table->At(editor::kInfo1Field, 1) = "\tTabbed\t"; // only spaces are trimmed
        QCOMPARE(Write(*table), QString("written"));
        const QList<QByteArray> lines = GetBytes(Path("trim.txt")).split('\n');
        QCOMPARE(lines[0], QByteArray("John Smith\r"));
        QCOMPARE(lines[8], QByteArray("\tTabbed\t\r"));
        QCOMPARE(B(table->At(editor::kNameField, 1)), QByteArray(" John Smith ")); // the table is not trimmed

        auto reread = NewTable(Path("trim.txt"));
        QCOMPARE(Read(*reread), std::int64_t(0));
        QCOMPARE(reread->RecordCount, short(1));
        QCOMPARE(B(reread->At(editor::kNameField, 1)), QByteArray("John Smith"));
        QCOMPARE(B(reread->At(editor::kInfo1Field, 1)), QByteArray("\tTabbed\t"));
        QCOMPARE(B(reread->At(editor::kNoteField, 1)), QByteArray()); // the stored blank came back empty
    }

    void threeRecordsAre336CrLfLinesExactly() {
        auto table = NewTable(Path("three.txt"));
        PutBytes(Path("three.txt"), "old");
        table->RecordCount = 3;
        for (int r = 0; r < 3; ++r) {
            for (int f = 0; f < editor::kFieldCount; ++f) {
                table->records[f][r] = FieldText(r, f).toStdString();
            }
        }
        table->records[0][3] = "beyond RecordCount"; // not written
        QCOMPARE(Write(*table), QString("written"));
        const QByteArray written = GetBytes(Path("three.txt"));
        QCOMPARE(written, RecordsFile(3));
        QCOMPARE(written.count("\r\n"), qsizetype(336));
        QVERIFY(written.endsWith("\r\n\r\n"));
    }

    void writingReplacesALongerFile() {
        PutBytes(Path("replace.txt"), QByteArray(50000, 'x'));
        auto table = NewTable(Path("replace.txt"));
        table->RecordCount = 1;
        table->At(0, 1) = "Name";
        QCOMPARE(Write(*table), QString("written"));
        QCOMPARE(GetBytes(Path("replace.txt")), "Name" + QByteArray("\r\n").repeated(112));
    }

    void writingRecordCount101IsRefusedAndTheFileIsUntouched() {
        const QByteArray before = RecordsFile(2);
        PutBytes(Path("refused.txt"), before);
        auto table = NewTable(Path("refused.txt"));
        table->RecordCount = 101;
        table->RecordEdited = true;
        QCOMPARE(Write(*table), QString("refused"));
        QCOMPARE(GetBytes(Path("refused.txt")), before);
        QVERIFY(table->RecordEdited);
        QCOMPARE(B(table->records[editor::kNoteField][0]), QByteArray()); // no blanks stored either
    }

    void writingRecordCount100IsAccepted() {
        PutBytes(Path("hundred.txt"), "");
        auto table = NewTable(Path("hundred.txt"));
        table->RecordCount = 100;
        QCOMPARE(Write(*table), QString("written"));
        QCOMPARE(GetBytes(Path("hundred.txt")).size(), qsizetype(100 * 112 * 2));
    }

    void writingNoRecordsLeavesAnEmptyFile() {
        PutBytes(Path("none.txt"), "something");
        auto table = NewTable(Path("none.txt"));
        table->RecordCount = 0;
        QCOMPARE(Write(*table), QString("written"));
        QVERIFY(QFile::exists(Path("none.txt")));
        QCOMPARE(GetBytes(Path("none.txt")), QByteArray());
    }

    void aLineBreakInsideAFieldIsWrittenAsItStands() {
        PutBytes(Path("memo.txt"), "");
        auto table = NewTable(Path("memo.txt"));
        table->RecordCount = 1;
        table->At(editor::kMemoField, 1) = "line one\r\nline two";
        QCOMPARE(Write(*table), QString("written"));
        const QByteArray written = GetBytes(Path("memo.txt"));
        QCOMPARE(written.count("\r\n"), qsizetype(113)); // every following line is shifted by one
        QVERIFY(written.contains("\r\nline one\r\nline two\r\n"));
    }

    void writingAMissingFileRaises53AndCreatesNothing() {
        auto table = NewTable(Path("not_there.txt"));
        table->RecordCount = 1;
        QCOMPARE(Write(*table), QString("error 53"));
        QVERIFY(!QFile::exists(Path("not_there.txt")));
    }

    void writingAReadOnlyFileRaises70AndLeavesItAlone() {
        PutBytes(Path("locked.txt"), "keep me");
        QVERIFY(::chmod(Path("locked.txt").toLocal8Bit().constData(), 0444) == 0);
        auto table = NewTable(Path("locked.txt"));
        table->RecordCount = 1;
        table->RecordEdited = true;
        QCOMPARE(Write(*table), QString("error 70"));
        QCOMPARE(GetBytes(Path("locked.txt")), QByteArray("keep me"));
        QVERIFY(table->RecordEdited);
    }

    void roundTripOf100RecordsKeepsEveryByteButCrAndLf() {
        // Every field holds a run of the byte values other than CR and LF (NUL, EOT, Ctrl-Z and 0x80..0xFF
        // included); spaces only inside, as the writer trims the ends.
        std::string alphabet;
        for (int code = 0; code < 256; ++code) {
            if (code != '\r' && code != '\n' && code != ' ') alphabet += static_cast<char>(code);
        }
        PutBytes(Path("bytes.txt"), "");
        auto table = NewTable(Path("bytes.txt"));
        table->RecordCount = 100;
        std::size_t next = 0;
        for (int r = 0; r < 100; ++r) {
            for (int f = 0; f < editor::kFieldCount; ++f) {
                std::string value;
                for (int i = 0; i < 12; ++i) {
                    value += alphabet[next++ % alphabet.size()];
                }
                value.insert(5, " "); // an inner space is text
                table->records[f][r] = value;
            }
        }
        QCOMPARE(Write(*table), QString("written"));
        QCOMPARE(GetBytes(Path("bytes.txt")).count("\r\n"), qsizetype(100 * 112));

        auto reread = NewTable(Path("bytes.txt"));
        QCOMPARE(Read(*reread), std::int64_t(0));
        QCOMPARE(reread->RecordCount, short(100));
        for (int r = 0; r < 100; ++r) {
            for (int f = 0; f < editor::kFieldCount; ++f) {
                if (reread->records[f][r] != table->records[f][r])
                    QFAIL(qPrintable(QStringLiteral("record %1 field %2 differs").arg(r).arg(f)));
            }
        }
        QCOMPARE(B(reread->records[0][100]), QByteArray());
    }

    // ---- reading ----

    void aZeroByteFileHasNoRecords() {
        PutBytes(Path("zero.txt"), "");
        auto table = NewTable(Path("zero.txt"));
        table->RecordCount = 5;
        table->CurrentRecord = 3;
        table->records[0][0] = "left over";
        QCOMPARE(Read(*table), std::int64_t(0));
        QCOMPARE(table->RecordCount, short(0));
        QCOMPARE(table->CurrentRecord, short(1));
        QCOMPARE(B(table->records[0][0]), QByteArray()); // the table is cleared before reading
    }

    void aFileReadsIntoTheTableAsStored() {
        PutBytes(Path("two.txt"), RecordsFile(2));
        auto table = NewTable(Path("two.txt"));
        QCOMPARE(Read(*table), std::int64_t(0));
        QCOMPARE(table->RecordCount, short(2));
        QCOMPARE(table->CurrentRecord, short(1));
        for (int r = 0; r < 2; ++r) {
            for (int f = 0; f < editor::kFieldCount; ++f) {
                QCOMPARE(B(table->records[f][r]), FieldText(r, f));
            }
        }
        QCOMPARE(B(table->records[0][2]), QByteArray());
        QCOMPARE(B(table->records[111][0]), QByteArray()); // field slot 111 is never filled
    }

    void fieldsAreNotTrimmedOnInput() {
        QByteArray bytes = "  padded name  \r\n" + QByteArray("\r\n").repeated(111);
        PutBytes(Path("padded.txt"), bytes);
        auto table = NewTable(Path("padded.txt"));
        QCOMPARE(Read(*table), std::int64_t(0));
        QCOMPARE(table->RecordCount, short(1));
        QCOMPARE(B(table->At(0, 1)), QByteArray("  padded name  "));
    }

    void theSeparatorLinesContentIsDropped() {
        QByteArray bytes = NumberedLines(111) + "not empty at all\r\n" + NumberedLines(111) + "\r\n";
        PutBytes(Path("separator.txt"), bytes);
        auto table = NewTable(Path("separator.txt"));
        QCOMPARE(Read(*table), std::int64_t(0));
        QCOMPARE(table->RecordCount, short(2));
        QCOMPARE(B(table->records[110][0]), QByteArray("L111"));
        QCOMPARE(B(table->records[0][1]), QByteArray("L1")); // record 2 starts after the separator
    }

    void aFileOf111LinesFailsWith62AndKeepsCountAndCurrentRecord() {
        PutBytes(Path("short.txt"), NumberedLines(111));
        auto table = NewTable(Path("short.txt"));
        table->RecordCount = 7;
        table->CurrentRecord = 4;
        QCOMPARE(Read(*table), std::int64_t(62));
        QCOMPARE(table->RecordCount, short(7));
        QCOMPARE(table->CurrentRecord, short(4));
        QCOMPARE(B(table->records[110][0]), QByteArray("L111")); // what was read stays in the table
    }

    void aFileOf224LinesHasTwoRecords() {
        PutBytes(Path("224.txt"), NumberedLines(224));
        auto table = NewTable(Path("224.txt"));
        QCOMPARE(Read(*table), std::int64_t(0));
        QCOMPARE(table->RecordCount, short(2));
        QCOMPARE(B(table->records[0][1]), QByteArray("L113"));
        QCOMPARE(B(table->records[110][1]), QByteArray("L223"));
        QCOMPARE(B(table->records[0][2]), QByteArray());
    }

    void aFileOf225LinesHasTwoRecordsAndAnUncountedThird() {
        PutBytes(Path("225.txt"), NumberedLines(225));
        auto table = NewTable(Path("225.txt"));
        QCOMPARE(Read(*table), std::int64_t(0));
        QCOMPARE(table->RecordCount, short(2));
        QCOMPARE(table->CurrentRecord, short(1));
        QCOMPARE(B(table->records[0][2]), QByteArray("L225"));
        QCOMPARE(B(table->records[1][2]), QByteArray());
    }

    void a101stRecordIsLoaded() {
        PutBytes(Path("101.txt"), RecordsFile(101));
        auto table = NewTable(Path("101.txt"));
        QCOMPARE(Read(*table), std::int64_t(0));
        QCOMPARE(table->RecordCount, short(101));
        QCOMPARE(B(table->records[0][100]), FieldText(100, 0));
        QCOMPARE(B(table->records[110][100]), FieldText(100, 110));
    }

    void a102ndRecordRaises9() {
        PutBytes(Path("102.txt"), RecordsFile(102));
        auto table = NewTable(Path("102.txt"));
        table->RecordCount = 3;
        table->CurrentRecord = 2;
        QCOMPARE(Read(*table), std::int64_t(9));
        QCOMPARE(table->RecordCount, short(3));
        QCOMPARE(table->CurrentRecord, short(2));
        QCOMPARE(B(table->records[0][100]), FieldText(100, 0));
    }

    void oneLineBeyond101RecordsRaises9() {
        PutBytes(Path("101plus.txt"), RecordsFile(101) + "extra\r\n");
        auto table = NewTable(Path("101plus.txt"));
        QCOMPARE(Read(*table), std::int64_t(9));
    }

    void aMissingFileRaises53() {
        auto table = NewTable(Path("absent.txt"));
        table->RecordCount = 2;
        QCOMPARE(Read(*table), std::int64_t(53));
        QCOMPARE(table->RecordCount, short(2));
    }

    void crAloneEndsLinesLikeCrLf() {
        PutBytes(Path("cr_only.txt"), RecordsFile(2, "\r"));
        auto table = NewTable(Path("cr_only.txt"));
        QCOMPARE(Read(*table), std::int64_t(0));
        QCOMPARE(table->RecordCount, short(2));
        QCOMPARE(B(table->records[5][1]), FieldText(1, 5));
    }

    void lfAloneEndsNoLineSoTheWholeFileIsOneField() {
        const QByteArray bytes = RecordsFile(2, "\n");
        PutBytes(Path("lf_only.txt"), bytes);
        auto table = NewTable(Path("lf_only.txt"));
        QCOMPARE(Read(*table), std::int64_t(0));
        QCOMPARE(table->RecordCount, short(0));
        QCOMPARE(B(table->records[0][0]), bytes); // the line feeds stay in the text
        QCOMPARE(B(table->records[1][0]), QByteArray());
    }

    void anLfInsideACrLfLineStaysInTheFieldAndIsWrittenBack() {
        QByteArray bytes = RecordsFile(1);
        bytes.replace(FieldText(0, 3) + "\r\n", "two\nlines\r\n");
        PutBytes(Path("lf_inside.txt"), bytes);
        auto table = NewTable(Path("lf_inside.txt"));
        QCOMPARE(Read(*table), std::int64_t(0));
        QCOMPARE(table->RecordCount, short(1));
        QCOMPARE(B(table->records[3][0]), QByteArray("two\nlines"));
        QCOMPARE(B(table->records[4][0]), FieldText(0, 4));
        QCOMPARE(Write(*table), QString("written"));
        QCOMPARE(GetBytes(Path("lf_inside.txt")), bytes);
    }

    void crAloneAndCrLfMixedEachEndOneLine() {
        // CR CR LF is two line ends, the second an empty line: here it is the separator, and the line
        // after it starts a record of its own.
        QByteArray bytes = NumberedLines(110) + "last\r\r\n" + "next\r\n";
        PutBytes(Path("cr_cr_lf.txt"), bytes);
        auto table = NewTable(Path("cr_cr_lf.txt"));
        QCOMPARE(Read(*table), std::int64_t(0));
        QCOMPARE(table->RecordCount, short(1));
        QCOMPARE(B(table->records[110][0]), QByteArray("last"));
        QCOMPARE(B(table->records[0][1]), QByteArray("next")); // an uncounted partial record
    }

    void aTrailingEndMarkerIsReadAsAnUncountedRecord() {
        PutBytes(Path("marked.txt"), RecordsFile(2) + "\x04");
        auto table = NewTable(Path("marked.txt"));
        QCOMPARE(Read(*table), std::int64_t(0));
        QCOMPARE(table->RecordCount, short(2));
        QCOMPARE(B(table->records[0][2]), QByteArray("\x04"));
        QCOMPARE(B(table->records[110][1]), FieldText(1, 110));
    }

    // ---- end marker ----

    void endMarkerIsAppendedOnceWhenTheFlagIsSet() {
        auto table = NewTable(Path("end.txt"));
        PutBytes(Path("end.txt"), "");
        table->RecordCount = 2;
        QCOMPARE(Write(*table), QString("written"));
        const QByteArray written = GetBytes(Path("end.txt"));
        table->AppendEndMarker = true;
        QCOMPARE(ErrorOf([&] { editor::AppendEndMarkerToFile(*table); }), std::int64_t(0));
        QCOMPARE(GetBytes(Path("end.txt")), written + "\x04");

        // A file carrying the marker still opens with its records.
        auto reread = NewTable(Path("end.txt"));
        QCOMPARE(Read(*reread), std::int64_t(0));
        QCOMPARE(reread->RecordCount, short(2));
    }

    void endMarkerIsNotWrittenWhenTheFlagIsClear() {
        PutBytes(Path("plain.txt"), "abc\r\n");
        auto table = NewTable(Path("plain.txt"));
        table->AppendEndMarker = false;
        QCOMPARE(ErrorOf([&] { editor::AppendEndMarkerToFile(*table); }), std::int64_t(0));
        QCOMPARE(GetBytes(Path("plain.txt")), QByteArray("abc\r\n"));
    }

    void endMarkerIsNotWrittenWithoutAPath() {
        const QString before = QDir::currentPath();
        QVERIFY(QDir::setCurrent(dir->path()));
        auto table = NewTable("");
        table->AppendEndMarker = true;
        const std::int64_t error = ErrorOf([&] { editor::AppendEndMarkerToFile(*table); });
        const QStringList entries = QDir(dir->path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
        QVERIFY(QDir::setCurrent(before));
        QCOMPARE(error, std::int64_t(0));
        QVERIFY(entries.isEmpty());
    }
};

QTEST_GUILESS_MAIN(tst_RecordFile)
#include "tst_record_file.moc"
