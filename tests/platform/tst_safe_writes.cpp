// Writes that fail part-way and writes to targets that cannot be written: the previous file stays whole,
// the error is the one the program has always raised, and no hidden file is left behind. A full disk is a
// tmpfs of 16 KiB mounted for the test (root may mount; elsewhere those tests are skipped).
#include "platform/errors.h"
#include "platform/file_system.h"

#include "support/error_of.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <functional>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

using testing_support::ErrorOf;

namespace {

constexpr uid_t kNobody = 65534;

// A tmpfs of 16 KiB on a folder of its own, unmounted when the test is done.
class SmallDisk {
public:
    explicit SmallDisk(const QString& folder) : folder_(QFile::encodeName(folder).toStdString()) {
        QDir().mkpath(folder);
        if (::mount("tmpfs", folder_.c_str(), "tmpfs", 0, "size=16k") == 0)
            mounted_ = true;
        else
            reason_ = std::string("cannot mount a small tmpfs here: ") + std::strerror(errno);
    }
    ~SmallDisk() {
        if (mounted_) ::umount2(folder_.c_str(), MNT_DETACH);
    }
    bool mounted() const { return mounted_; }
    const char* reason() const { return reason_.c_str(); }

    // Takes every free block with a file named "filler"; true when the disk is then full.
    bool Fill() const {
        const int fd = ::open((folder_ + "/filler").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        if (fd < 0) return false;
        const std::string block(4096, 'f');
        int error = 0;
        for (;;) {
            const ssize_t written = ::write(fd, block.data(), block.size());
            if (written < 0) {
                error = errno;
                break;
            }
        }
        ::close(fd);
        return error == ENOSPC;
    }

    bool MakeReadOnly() const {
        return ::mount(nullptr, folder_.c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr) == 0;
    }

private:
    std::string folder_;
    bool mounted_ = false;
    std::string reason_;
};

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

// Every name in the folder, hidden ones included, sorted.
QStringList Entries(const QString& folder) {
    return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                                  QDir::Name);
}

QByteArray B(const std::string& bytes) {
    return QByteArray(bytes.data(), qsizetype(bytes.size()));
}

// The ways the program writes a file, each with the bytes it leaves when it succeeds.
struct WritePath {
    const char* name;
    std::function<void(const std::string& path, const std::string& text)> write;
    std::function<QByteArray(const QByteArray& previous, const std::string& text)> expected;
};

const std::vector<WritePath>& WritePaths() {
    static const std::vector<WritePath> paths = {
        {"whole write, as a download is saved",
         [](const std::string& path, const std::string& text) { vb::WriteAll(path, text); },
         [](const QByteArray&, const std::string& text) { return B(text); }},
        {"forced delete then whole write, as the text editor saves",
         [](const std::string& path, const std::string& text) {
             vb::DeleteFile(path, true);
             vb::WriteAll(path, text);
         },
         [](const QByteArray&, const std::string& text) { return B(text); }},
        {"sequential output",
         [](const std::string& path, const std::string& text) {
             vb::SequentialOutput output(path, vb::SequentialOutput::Output);
             output.PrintLine(text);
             output.Close();
         },
         [](const QByteArray&, const std::string& text) { return B(text + "\r\n"); }},
        {"delete, create empty, sequential output, as the editor commits",
         [](const std::string& path, const std::string& text) {
             vb::DeleteFile(path);
             vb::CreateTextFile(path, true);
             vb::SequentialOutput output(path, vb::SequentialOutput::Output);
             output.PrintLine(text);
             output.Close();
         },
         [](const QByteArray&, const std::string& text) { return B(text + "\r\n"); }},
        {"sequential append, as the test aids write",
         [](const std::string& path, const std::string& text) {
             vb::SequentialOutput output(path, vb::SequentialOutput::Append);
             output.PrintLine(text);
             output.Close();
         },
         [](const QByteArray& previous, const std::string& text) { return previous + B(text + "\r\n"); }},
        {"binary append",
         [](const std::string& path, const std::string& text) { vb::AppendBytes(path, text); },
         [](const QByteArray& previous, const std::string& text) { return previous + B(text); }},
    };
    return paths;
}

void AddWritePathRows() {
    QTest::addColumn<int>("index");
    for (std::size_t i = 0; i < WritePaths().size(); ++i)
        QTest::newRow(WritePaths()[i].name) << int(i);
}

// The error a call raises when made by the user "nobody", in a child process: root writes any file.
template <typename Call> std::int64_t AsNobody(Call&& call) {
    const pid_t child = ::fork();
    if (child == 0) {
        if (::setgid(kNobody) != 0 || ::setuid(kNobody) != 0) ::_exit(255);
        ::_exit(int(ErrorOf(call) & 0xff));
    }
    int status = 0;
    if (child < 0 || ::waitpid(child, &status, 0) != child || !WIFEXITED(status)) return -1;
    return WEXITSTATUS(status);
}

const QByteArray kPrevious = "Name 1\r\nInfo 1\r\n\r\n";

} // namespace

class tst_SafeWrites : public QObject {
    Q_OBJECT

    QTemporaryDir dir;
    int round = 0;

    // A fresh folder for each test, so that its listing holds only what the test made.
    QString NewFolder() {
        const QString folder = dir.filePath(QString("folder-%1").arg(++round));
        QDir().mkpath(folder);
        return folder;
    }
    static std::string S(const QString& path) { return QFile::encodeName(path).toStdString(); }

private slots:
    void initTestCase() {
        QVERIFY(dir.isValid());
        // The user "nobody" must reach the folders of the tests that run as that user.
        QVERIFY(::chmod(QFile::encodeName(dir.path()).constData(), 0755) == 0);
    }

    void aFullDiskLeavesThePreviousFileWhole_data() { AddWritePathRows(); }
    void aFullDiskLeavesThePreviousFileWhole() {
        QFETCH(int, index);
        const QString folder = NewFolder();
        SmallDisk disk(folder);
        if (!disk.mounted()) QSKIP(disk.reason());
        const QString path = folder + "/records.txt";
        PutBytes(path, kPrevious);
        QVERIFY(disk.Fill());
        const std::string text(8000, 'x'); // two blocks: more than the file's own block
        QCOMPARE(ErrorOf([&] { WritePaths()[index].write(S(path), text); }), std::int64_t(61));
        QCOMPARE(GetBytes(path), kPrevious);
        QCOMPARE(Entries(folder), (QStringList{"filler", "records.txt"}));
    }

    void theDiskFullErrorSaysSo() {
        const QString folder = NewFolder();
        SmallDisk disk(folder);
        if (!disk.mounted()) QSKIP(disk.reason());
        QVERIFY(disk.Fill());
        try {
            vb::WriteAll(S(folder + "/new.vlm"), std::string(100, 'x'));
            QFAIL("the write did not fail");
        } catch (const vb::Error& error) {
            QCOMPARE(error.number, std::int64_t(61));
            QCOMPARE(QString::fromStdString(error.description), QString("Disk full"));
        }
        QCOMPARE(Entries(folder), QStringList{"filler"});
    }

    void aReadOnlyFileSystemRaises70AndKeepsTheFile_data() { AddWritePathRows(); }
    void aReadOnlyFileSystemRaises70AndKeepsTheFile() {
        QFETCH(int, index);
        const QString folder = NewFolder();
        SmallDisk disk(folder);
        if (!disk.mounted()) QSKIP(disk.reason());
        const QString path = folder + "/records.txt";
        PutBytes(path, kPrevious);
        QVERIFY(disk.MakeReadOnly());
        QCOMPARE(ErrorOf([&] { WritePaths()[index].write(S(path), "new"); }), std::int64_t(70));
        QCOMPARE(GetBytes(path), kPrevious);
        QCOMPARE(Entries(folder), QStringList{"records.txt"});
    }

    void aNewFileOnAReadOnlyFileSystemRaises70() {
        const QString folder = NewFolder();
        SmallDisk disk(folder);
        if (!disk.mounted()) QSKIP(disk.reason());
        QVERIFY(disk.MakeReadOnly());
        QCOMPARE(ErrorOf([&] { vb::WriteAll(S(folder + "/a.vlm"), "x"); }), std::int64_t(70));
        QCOMPARE(ErrorOf([&] { vb::SequentialOutput o(S(folder + "/b.txt"), vb::SequentialOutput::Output); }),
                 std::int64_t(70));
        QCOMPARE(ErrorOf([&] { vb::CreateTextFile(S(folder + "/c.txt"), true); }), std::int64_t(70));
        QCOMPARE(Entries(folder), QStringList{});
    }

    void eachWriteLeavesExactlyItsBytesAndNoHiddenFile_data() { AddWritePathRows(); }
    void eachWriteLeavesExactlyItsBytesAndNoHiddenFile() {
        QFETCH(int, index);
        const QString folder = NewFolder();
        const QString path = folder + "/records.txt";
        PutBytes(path, kPrevious);
        const std::string text = "new\x04\xff text";
        QCOMPARE(ErrorOf([&] { WritePaths()[index].write(S(path), text); }), std::int64_t(0));
        QCOMPARE(GetBytes(path), WritePaths()[index].expected(kPrevious, text));
        QCOMPARE(Entries(folder), QStringList{"records.txt"});
    }

    void aReplacedFileKeepsItsPermissionBits_data() { AddWritePathRows(); }
    void aReplacedFileKeepsItsPermissionBits() {
        QFETCH(int, index);
        if (QByteArray(QTest::currentDataTag()).contains("delete"))
            QSKIP("a deleted file is created anew, with the user's default permissions, as it always was");
        const QString path = NewFolder() + "/records.txt";
        PutBytes(path, kPrevious);
        QVERIFY(::chmod(S(path).c_str(), 0640) == 0);
        QCOMPARE(ErrorOf([&] { WritePaths()[index].write(S(path), "new"); }), std::int64_t(0));
        struct stat info {};
        QVERIFY(::stat(S(path).c_str(), &info) == 0);
        QCOMPARE(info.st_mode & 07777, mode_t(0640));
    }

    void aLinkStaysALinkAndTheFileItNamesIsReplaced() {
        const QString folder = NewFolder();
        QDir().mkpath(folder + "/real");
        PutBytes(folder + "/real/records.txt", kPrevious);
        QVERIFY(QFile::link("real/records.txt", folder + "/link.txt"));
        QCOMPARE(ErrorOf([&] { vb::WriteAll(S(folder + "/link.txt"), "through the link"); }),
                 std::int64_t(0));
        QVERIFY(QFileInfo(folder + "/link.txt").isSymLink());
        QCOMPARE(GetBytes(folder + "/real/records.txt"), QByteArray("through the link"));
        QCOMPARE(Entries(folder + "/real"), QStringList{"records.txt"});
    }

    void aDeletedFileReadsAsMissingUntilItIsWrittenAgain() {
        const QString folder = NewFolder();
        const QString path = folder + "/records.txt";
        PutBytes(path, kPrevious);
        QCOMPARE(ErrorOf([&] { vb::DeleteFile(S(path)); }), std::int64_t(0));
        QVERIFY(!vb::FileExists(S(path)));
        QCOMPARE(ErrorOf([&] { vb::ReadAll(S(path)); }), std::int64_t(53));
        QCOMPARE(ErrorOf([&] { vb::DeleteFile(S(path)); }), std::int64_t(53));
        QVERIFY(!QFileInfo::exists(path));
    }

    void aDeleteNotFollowedByItsRewriteIsFinalAtTheNextWrite() {
        const QString folder = NewFolder();
        PutBytes(folder + "/old.txt", kPrevious);
        QCOMPARE(ErrorOf([&] { vb::DeleteFile(S(folder + "/old.txt")); }), std::int64_t(0));
        QCOMPARE(ErrorOf([&] { vb::WriteAll(S(folder + "/other.txt"), "x"); }), std::int64_t(0));
        QCOMPARE(Entries(folder), QStringList{"other.txt"});
    }

    void aRewriteThatFailsBeforeWritingPutsTheDeletedFileBack() {
        const QString folder = NewFolder();
        const QString path = folder + "/records.txt";
        PutBytes(path, kPrevious);
        QCOMPARE(ErrorOf([&] { vb::DeleteFile(S(path), true); }), std::int64_t(0));
        QVERIFY(::mkfifo(S(path).c_str(), 0644) == 0); // something else took the name meanwhile
        QCOMPARE(ErrorOf([&] { vb::WriteAll(S(path), "x"); }), std::int64_t(75));
        QCOMPARE(GetBytes(path), kPrevious);
        QCOMPARE(Entries(folder), QStringList{"records.txt"});
    }

    void aStreamDroppedByAnErrorLeavesTheFileAsItWas() {
        const QString folder = NewFolder();
        const QString path = folder + "/records.txt";
        PutBytes(path, kPrevious);
        try {
            vb::SequentialOutput output(S(path), vb::SequentialOutput::Output);
            output.PrintLine("half");
            vb::Raise(vb::errSubscriptOutOfRange);
        } catch (const vb::Error&) {
        }
        QCOMPARE(GetBytes(path), kPrevious);
        QCOMPARE(Entries(folder), QStringList{"records.txt"});
    }

    void aReadOnlyFileFailsForAUserAsItAlwaysDid() {
        const QString folder = NewFolder();
        QVERIFY(::chmod(S(folder).c_str(), 0777) == 0);
        const QString path = folder + "/records.txt";
        PutBytes(path, kPrevious);
        QVERIFY(::chmod(S(path).c_str(), 0444) == 0);
        if (::geteuid() != 0) {
            QCOMPARE(ErrorOf([&] { vb::WriteAll(S(path), "new"); }), std::int64_t(70));
        } else {
            for (const WritePath& write : WritePaths()) {
                if (QByteArray(write.name).contains("delete")) continue; // forced delete is allowed
                QCOMPARE(AsNobody([&] { write.write(S(path), "new"); }), std::int64_t(70));
            }
        }
        QCOMPARE(GetBytes(path), kPrevious);
        QCOMPARE(Entries(folder), QStringList{"records.txt"});
    }

    void rootWritesAReadOnlyFileAsItAlwaysDidAndItStaysReadOnly() {
        if (::geteuid() != 0) QSKIP("only root may write a read-only file");
        const QString path = NewFolder() + "/records.txt";
        PutBytes(path, kPrevious);
        QVERIFY(::chmod(S(path).c_str(), 0444) == 0);
        QCOMPARE(ErrorOf([&] { vb::WriteAll(S(path), "new"); }), std::int64_t(0));
        QCOMPARE(GetBytes(path), QByteArray("new"));
        struct stat info {};
        QVERIFY(::stat(S(path).c_str(), &info) == 0);
        QCOMPARE(info.st_mode & 07777, mode_t(0444));
    }

    void aWritableFileInAFolderThatTakesNoNewFileIsWrittenInPlace() {
        if (::geteuid() != 0) QSKIP("needs root to give the folder and the file to different users");
        const QString folder = NewFolder(); // 0755, root's: nobody may not add a file here
        const QString path = folder + "/records.txt";
        PutBytes(path, kPrevious);
        QVERIFY(::chmod(S(path).c_str(), 0666) == 0);
        QCOMPARE(AsNobody([&] { vb::WriteAll(S(path), "written in place"); }), std::int64_t(0));
        QCOMPARE(GetBytes(path), QByteArray("written in place"));
        QCOMPARE(AsNobody([&] { vb::AppendBytes(S(path), "+"); }), std::int64_t(0));
        QCOMPARE(GetBytes(path), QByteArray("written in place+"));
        QCOMPARE(AsNobody([&] { vb::WriteAll(S(folder + "/new.txt"), "x"); }), std::int64_t(70));
        QCOMPARE(Entries(folder), QStringList{"records.txt"});
    }

    void aFolderAsTargetRaises75AsBefore() {
        const QString folder = NewFolder();
        QVERIFY(QDir().mkdir(folder + "/sub"));
        QCOMPARE(ErrorOf([&] { vb::WriteAll(S(folder + "/sub"), "x"); }), std::int64_t(75));
        QCOMPARE(ErrorOf([&] { vb::SequentialOutput o(S(folder + "/sub"), vb::SequentialOutput::Append); }),
                 std::int64_t(75));
        QCOMPARE(ErrorOf([&] { vb::AppendBytes(S(folder + "/sub"), "x"); }), std::int64_t(75));
        QCOMPARE(Entries(folder), QStringList{"sub"});
    }
};

QTEST_GUILESS_MAIN(tst_SafeWrites)
#include "tst_safe_writes.moc"
