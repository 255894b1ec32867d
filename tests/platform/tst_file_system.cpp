// File I/O on bytes: line input's line ends, end of file, error numbers, and exact bytes in and out.
// Files are real files in a temporary folder, written and read back with QFile so that the checks do not
// rely on the code under test.
#include "platform/errors.h"
#include "platform/file_system.h"

#include "support/error_of.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

using testing_support::ErrorOf;

namespace {

void PutBytes(const QString& path, const std::string& bytes) {
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    QCOMPARE(file.write(bytes.data(), static_cast<qint64>(bytes.size())), static_cast<qint64>(bytes.size()));
}

// Byte strings are compared as QByteArray so that a failure prints them.
QByteArray B(const std::string& bytes) {
    return QByteArray(bytes.data(), static_cast<qsizetype>(bytes.size()));
}

QByteArray GetBytes(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) return "<unreadable>";
    return file.readAll();
}

// The error number a call raises when made by a user without special file access: root reads any file,
// so as root the call runs in a child process that has switched to the user "nobody" (65534).
template <typename Call> std::int64_t AsUnprivilegedUser(Call&& call) {
    if (::geteuid() != 0) return ErrorOf(call);
    const pid_t child = ::fork();
    if (child == 0) {
        if (::setgid(65534) != 0 || ::setuid(65534) != 0) ::_exit(255);
        ::_exit(static_cast<int>(ErrorOf(call) & 0xff));
    }
    int status = 0;
    if (child < 0 || ::waitpid(child, &status, 0) != child || !WIFEXITED(status)) return -1;
    return WEXITSTATUS(status);
}

// Opens the file for output or append, prints the lines and closes it (or leaves that to the destructor);
// returns the error number raised, 0 for none.
std::int64_t PrintLines(const std::string& path, vb::SequentialOutput::Mode mode,
                        const std::vector<std::string>& lines, bool close = true) {
    return ErrorOf([&] {
        vb::SequentialOutput output(path, mode);
        for (const auto& line : lines) {
            output.PrintLine(line);
        }
        if (close) output.Close();
    });
}

// The next line, or "<error n>" when line input raises.
QByteArray NextLine(vb::SequentialInput& input) {
    try {
        return B(input.LineInput());
    } catch (const vb::Error& error) {
        return "<error " + QByteArray::number(error.number) + ">";
    }
}

// Every line of the file, read by line input until end of file; a raised error ends the list as
// "<error n>" so that a test reports it instead of stopping the run.
QList<QByteArray> ReadLines(const std::string& path) {
    QList<QByteArray> lines;
    try {
        vb::SequentialInput input(path);
        while (!input.Eof()) {
            lines.push_back(B(input.LineInput()));
        }
        input.Close();
    } catch (const vb::Error& error) {
        lines.push_back("<error " + QByteArray::number(error.number) + ">");
    }
    return lines;
}

std::string AllBytesExcept(char left) {
    std::string bytes;
    for (int code = 0; code < 256; ++code) {
        if (static_cast<char>(code) != left) bytes += static_cast<char>(code);
    }
    return bytes;
}

using Lines = QList<QByteArray>;

} // namespace

class tst_FileSystem : public QObject {
    Q_OBJECT

    QTemporaryDir dir;
    std::string Path(const char* name) const { return dir.filePath(name).toStdString(); }
    QString QPath(const char* name) const { return dir.filePath(name); }

private slots:
    void initTestCase() { QVERIFY(dir.isValid()); }

    // ---- line input ----

    void lineInputEndsLinesAtCrLf() {
        PutBytes(QPath("crlf.txt"), "one\r\ntwo\r\n");
        QCOMPARE(ReadLines(Path("crlf.txt")), (Lines{"one", "two"}));
    }

    void lineInputEndsLinesAtCrAlone() {
        PutBytes(QPath("cr.txt"), "one\rtwo\r\rthree\r");
        QCOMPARE(ReadLines(Path("cr.txt")), (Lines{"one", "two", "", "three"}));
    }

    void lineFeedAloneStaysInTheLine() {
        PutBytes(QPath("lf.txt"), "a\nb\r\nc\n");
        QCOMPARE(ReadLines(Path("lf.txt")), (Lines{"a\nb", "c\n"}));
    }

    void onlyTheFirstLineFeedAfterCrIsConsumed() {
        PutBytes(QPath("crlflf.txt"), "a\r\n\nb\r\n");
        QCOMPARE(ReadLines(Path("crlflf.txt")), (Lines{"a", "\nb"}));
    }

    void emptyLinesAreLines() {
        PutBytes(QPath("empty_lines.txt"), "\r\n\r\nx\r\n\r\n");
        QCOMPARE(ReadLines(Path("empty_lines.txt")), (Lines{"", "", "x", ""}));
    }

    void lastLineWithoutEndingIsALine() {
        PutBytes(QPath("no_end.txt"), "x\r\ny");
        QCOMPARE(ReadLines(Path("no_end.txt")), (Lines{"x", "y"}));
    }

    void eofIsTrueAtOnceForAnEmptyFileAndLineInputRaises62() {
        PutBytes(QPath("zero.txt"), "");
        vb::SequentialInput input;
        QCOMPARE(ErrorOf([&] { input.Open(Path("zero.txt")); }), std::int64_t(0));
        QVERIFY(input.Eof());
        QCOMPARE(NextLine(input), QByteArray("<error 62>"));
    }

    void eofTurnsTrueAfterTheLastLineAndTheNextReadRaises62() {
        PutBytes(QPath("two.txt"), "a\r\nb\r\n");
        vb::SequentialInput input;
        QCOMPARE(ErrorOf([&] { input.Open(Path("two.txt")); }), std::int64_t(0));
        QVERIFY(!input.Eof());
        QCOMPARE(NextLine(input), QByteArray("a"));
        QVERIFY(!input.Eof());
        QCOMPARE(NextLine(input), QByteArray("b"));
        QVERIFY(input.Eof());
        QCOMPARE(NextLine(input), QByteArray("<error 62>"));
    }

    void crLfSplitAcrossReadChunksIsOneLineEnd() {
        // The reader takes the file in 64 KiB pieces; the CR is the last byte of the first piece.
        const std::string first(65535, 'a');
        PutBytes(QPath("split.txt"), first + "\r\nb");
        QCOMPARE(ReadLines(Path("split.txt")), (Lines{B(first), "b"}));
    }

    void crAtTheVeryEndOfAReadChunkBeforeAnotherLine() {
        const std::string first(65535, 'a');
        PutBytes(QPath("split_cr.txt"), first + "\rb\r\n");
        QCOMPARE(ReadLines(Path("split_cr.txt")), (Lines{B(first), "b"}));
    }

    void aLineLongerThanSeveralReadChunks() {
        std::string longLine;
        for (int i = 0; i < 200000; ++i) {
            longLine += static_cast<char>('A' + i % 26);
        }
        PutBytes(QPath("long.txt"), "x\r\n" + longLine + "\r\ny");
        QCOMPARE(ReadLines(Path("long.txt")), (Lines{"x", B(longLine), "y"}));
    }

    void lineInputReturnsEveryByteButCrUnchanged() {
        const std::string text = AllBytesExcept('\r'); // holds NUL, LF, 0x1A, 0x04 and 0x80..0xFF
        PutBytes(QPath("bytes.txt"), text + "\r\n");
        QCOMPARE(ReadLines(Path("bytes.txt")), (Lines{B(text)}));
    }

    void openingAMissingFileRaises53() {
        QCOMPARE(ErrorOf([&] { vb::SequentialInput input(Path("missing.txt")); }), std::int64_t(53));
    }

    void openingInAMissingFolderRaises76() {
        QCOMPARE(ErrorOf([&] { vb::SequentialInput input(Path("no_folder/x.txt")); }), std::int64_t(76));
    }

    void openingBelowAFileRaises76() {
        PutBytes(QPath("plain.txt"), "x");
        QCOMPARE(ErrorOf([&] { vb::SequentialInput input(Path("plain.txt/x.txt")); }), std::int64_t(76));
    }

    void openingAFolderForInputRaises75() {
        QCOMPARE(ErrorOf([&] { vb::SequentialInput input(dir.path().toStdString()); }), std::int64_t(75));
    }

    void theFolderErrorNamesThePath() {
        try {
            vb::ReadAll(dir.path().toStdString());
            QFAIL("a folder was read");
        } catch (const vb::Error& error) {
            QCOMPARE(error.number, std::int64_t(75));
            QCOMPARE(QString::fromStdString(error.description), "Path/File access error: " + dir.path());
        }
    }

    void openingAnUnreadableFileRaises70() {
        PutBytes(QPath("secret.txt"), "x");
        QVERIFY(::chmod(Path("secret.txt").c_str(), 0) == 0);
        QCOMPARE(AsUnprivilegedUser([&] { vb::SequentialInput input(Path("secret.txt")); }),
                 std::int64_t(70));
    }

    void badCallsRaise5() {
        QCOMPARE(ErrorOf([] { vb::SequentialInput input(""); }), std::int64_t(5));
        QCOMPARE(ErrorOf([] { vb::SequentialInput input(std::string("a\0b", 3)); }), std::int64_t(5));
        vb::SequentialInput closed;
        QCOMPARE(ErrorOf([&] { closed.LineInput(); }), std::int64_t(5));
        QCOMPARE(ErrorOf([&] { closed.Eof(); }), std::int64_t(5));
        vb::SequentialOutput notOpen;
        QCOMPARE(ErrorOf([&] { notOpen.PrintLine("x"); }), std::int64_t(5));
        PutBytes(QPath("twice.txt"), "x");
        vb::SequentialInput twice(Path("twice.txt"));
        QCOMPARE(ErrorOf([&] { twice.Open(Path("twice.txt")); }), std::int64_t(5));
    }

    // ---- sequential output ----

    void printLineWritesTextAndCrLf() {
        QCOMPARE(PrintLines(Path("out.txt"), vb::SequentialOutput::Output, {"first", "", "a\nb"}),
                 std::int64_t(0));
        QCOMPARE(GetBytes(QPath("out.txt")), QByteArray("first\r\n\r\na\nb\r\n"));
    }

    void outputTruncatesAndAppendAdds() {
        PutBytes(QPath("mode.txt"), "old content that is longer\r\n");
        QCOMPARE(PrintLines(Path("mode.txt"), vb::SequentialOutput::Output, {"new"}), std::int64_t(0));
        QCOMPARE(GetBytes(QPath("mode.txt")), QByteArray("new\r\n"));
        QCOMPARE(PrintLines(Path("mode.txt"), vb::SequentialOutput::Append, {"more"}), std::int64_t(0));
        QCOMPARE(GetBytes(QPath("mode.txt")), QByteArray("new\r\nmore\r\n"));
    }

    void appendCreatesAMissingFile() {
        QCOMPARE(PrintLines(Path("fresh_append.txt"), vb::SequentialOutput::Append, {"x"}), std::int64_t(0));
        QCOMPARE(GetBytes(QPath("fresh_append.txt")), QByteArray("x\r\n"));
    }

    void outputKeepsEveryByteAndLargeOutputIsComplete() {
        const std::string text = AllBytesExcept('\n');
        const std::vector<std::string> lines(1000, text); // about 260 KB: several internal flushes
        std::string expected;
        for (const auto& line : lines) {
            expected += line + "\r\n";
        }
        QCOMPARE(PrintLines(Path("big.txt"), vb::SequentialOutput::Output, lines), std::int64_t(0));
        QCOMPARE(GetBytes(QPath("big.txt")), B(expected));
    }

    void destructorWritesWhatWasPrinted() {
        QCOMPARE(PrintLines(Path("unclosed.txt"), vb::SequentialOutput::Output, {"kept"}, false),
                 std::int64_t(0));
        QCOMPARE(GetBytes(QPath("unclosed.txt")), QByteArray("kept\r\n"));
    }

    void outputInAMissingFolderRaises76() {
        QCOMPARE(
            ErrorOf([&] { vb::SequentialOutput o(Path("nowhere/x.txt"), vb::SequentialOutput::Output); }),
            std::int64_t(76));
    }

    void outputToAFolderRaises75() {
        QCOMPARE(
            ErrorOf([&] { vb::SequentialOutput o(dir.path().toStdString(), vb::SequentialOutput::Append); }),
            std::int64_t(75));
    }

    // ---- binary append ----

    void appendBytesAddsExactlyTheBytes() {
        PutBytes(QPath("bin.txt"), "abc\r\n");
        QCOMPARE(ErrorOf([&] { vb::AppendBytes(Path("bin.txt"), std::string("\x04", 1)); }), std::int64_t(0));
        QCOMPARE(GetBytes(QPath("bin.txt")), B(std::string("abc\r\n\x04")));
        QCOMPARE(ErrorOf([&] { vb::AppendBytes(Path("bin.txt"), std::string("\0\xff", 2)); }),
                 std::int64_t(0));
        QCOMPARE(GetBytes(QPath("bin.txt")), B(std::string("abc\r\n\x04\0\xff", 8)));
    }

    void appendBytesCreatesAMissingFile() {
        QCOMPARE(ErrorOf([&] { vb::AppendBytes(Path("bin_new.txt"), "z"); }), std::int64_t(0));
        QCOMPARE(GetBytes(QPath("bin_new.txt")), B(std::string("z")));
    }

    // ---- the file system object's calls ----

    void fileExistsOnlyForFiles() {
        PutBytes(QPath("here.txt"), "");
        QVERIFY(vb::FileExists(Path("here.txt")));
        QVERIFY(!vb::FileExists(Path("not_here.txt")));
        QVERIFY(!vb::FileExists(Path("no_folder/here.txt")));
        QVERIFY(!vb::FileExists(dir.path().toStdString()));
        QVERIFY(!vb::FileExists(""));
        QVERIFY(!vb::FileExists(std::string("a\0b", 3)));
    }

    void deleteFileRemovesTheFile() {
        PutBytes(QPath("doomed.txt"), "x");
        QCOMPARE(ErrorOf([&] { vb::DeleteFile(Path("doomed.txt")); }), std::int64_t(0));
        QVERIFY(!QFile::exists(QPath("doomed.txt")));
    }

    void deleteFileErrors() {
        QCOMPARE(ErrorOf([&] { vb::DeleteFile(Path("never.txt")); }), std::int64_t(53));
        QCOMPARE(ErrorOf([&] { vb::DeleteFile(Path("no_folder/never.txt")); }), std::int64_t(76));
        QCOMPARE(ErrorOf([&] { vb::DeleteFile(dir.path().toStdString()); }), std::int64_t(53));
        QCOMPARE(ErrorOf([&] { vb::DeleteFile(""); }), std::int64_t(5));
    }

    void deleteFileRefusesAReadOnlyFileUnlessForced() {
        PutBytes(QPath("readonly.txt"), "keep");
        QVERIFY(::chmod(Path("readonly.txt").c_str(), 0444) == 0);
        QCOMPARE(ErrorOf([&] { vb::DeleteFile(Path("readonly.txt")); }), std::int64_t(70));
        QCOMPARE(GetBytes(QPath("readonly.txt")), B(std::string("keep")));
        QCOMPARE(ErrorOf([&] { vb::DeleteFile(Path("readonly.txt"), true); }), std::int64_t(0));
        QVERIFY(!QFile::exists(QPath("readonly.txt")));
    }

    void createTextFileMakesAnEmptyFile() {
        QCOMPARE(ErrorOf([&] { vb::CreateTextFile(Path("created.txt"), false); }), std::int64_t(0));
        QVERIFY(QFile::exists(QPath("created.txt")));
        QCOMPARE(GetBytes(QPath("created.txt")), B(std::string()));
    }

    void createTextFileOverwritesOnlyWhenAllowed() {
        PutBytes(QPath("existing.txt"), "content");
        QCOMPARE(ErrorOf([&] { vb::CreateTextFile(Path("existing.txt"), false); }), std::int64_t(58));
        QCOMPARE(GetBytes(QPath("existing.txt")), B(std::string("content")));
        QCOMPARE(ErrorOf([&] { vb::CreateTextFile(Path("existing.txt"), true); }), std::int64_t(0));
        QCOMPARE(GetBytes(QPath("existing.txt")), B(std::string()));
    }

    void createTextFileInAMissingFolderRaises76() {
        QCOMPARE(ErrorOf([&] { vb::CreateTextFile(Path("no_folder/new.txt"), true); }), std::int64_t(76));
    }

    void readAllGivesTheExactBytes() {
        std::string bytes;
        for (int round = 0; round < 600; ++round) { // about 150 KB, several read chunks
            bytes += AllBytesExcept('\xff');
            bytes += "\r\n\r\r\n\n";
        }
        PutBytes(QPath("all.bin"), bytes);
        std::string read;
        QCOMPARE(ErrorOf([&] { read = vb::ReadAll(Path("all.bin")); }), std::int64_t(0));
        QCOMPARE(B(read), B(bytes));
    }

    void readAllOfAnEmptyFileIsEmpty() {
        PutBytes(QPath("empty.bin"), "");
        std::string read = "not read";
        QCOMPARE(ErrorOf([&] { read = vb::ReadAll(Path("empty.bin")); }), std::int64_t(0));
        QCOMPARE(B(read), QByteArray());
    }

    void readAllOfAMissingFileRaises53() {
        QCOMPARE(ErrorOf([&] { vb::ReadAll(Path("absent.bin")); }), std::int64_t(53));
    }

    void writeAllWritesExactlyTheBytesOverAnyOldContent() {
        PutBytes(QPath("whole.bin"), std::string(1000, 'o'));
        const std::string bytes = AllBytesExcept('\0') + std::string("\0\r\n", 3);
        QCOMPARE(ErrorOf([&] { vb::WriteAll(Path("whole.bin"), bytes); }), std::int64_t(0));
        QCOMPARE(GetBytes(QPath("whole.bin")), B(bytes));
        QCOMPARE(ErrorOf([&] { vb::WriteAll(Path("new_whole.bin"), ""); }), std::int64_t(0));
        QVERIFY(QFile::exists(QPath("new_whole.bin")));
        QCOMPARE(GetBytes(QPath("new_whole.bin")), B(std::string()));
    }

    void writesLeaveNoHiddenFileBehind() {
        QTemporaryDir folder;
        QVERIFY(folder.isValid());
        const std::string path = folder.filePath("f.txt").toStdString();
        QCOMPARE(ErrorOf([&] { vb::WriteAll(path, "a"); }), std::int64_t(0));
        QCOMPARE(PrintLines(path, vb::SequentialOutput::Append, {"b"}), std::int64_t(0));
        QCOMPARE(ErrorOf([&] { vb::AppendBytes(path, "c"); }), std::int64_t(0));
        QCOMPARE(ErrorOf([&] { vb::DeleteFile(path); }), std::int64_t(0));
        QCOMPARE(ErrorOf([&] { vb::CreateTextFile(path, true); }), std::int64_t(0));
        QCOMPARE(PrintLines(path, vb::SequentialOutput::Output, {"d"}), std::int64_t(0));
        QCOMPARE(GetBytes(folder.filePath("f.txt")), QByteArray("d\r\n"));
        QCOMPARE(QDir(folder.path())
                     .entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot),
                 QStringList{"f.txt"});
    }

    void writeAllInAMissingFolderRaises76() {
        QCOMPARE(ErrorOf([&] { vb::WriteAll(Path("no_folder/w.bin"), "x"); }), std::int64_t(76));
    }
};

QTEST_GUILESS_MAIN(tst_FileSystem)
#include "tst_file_system.moc"
