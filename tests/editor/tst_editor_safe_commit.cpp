// The editor's Commit on a full disk: the records already on disk stay whole, and Commit ends without a
// message as it always did for a file it cannot write. The disk is a tmpfs of 16 KiB mounted for the test
// (root may mount; elsewhere the test is skipped).
#include "tst_editor_support.h"

#include <QDir>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/mount.h>
#include <unistd.h>

using namespace editor_tests;

class EditorSafeCommitTest : public QObject {
    Q_OBJECT

    QTemporaryDir dir;
    QString disk;
    bool mounted = false;
    QByteArray whyNotMounted;
    frmKorvaniUploadUtility* editor = nullptr;

    // Takes every free block of the small disk with a file named "filler"; true when the disk is full.
    bool FillDisk() const {
        const int fd =
            ::open(QFile::encodeName(disk + "/filler").constData(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        if (fd < 0) return false;
        const std::string block(4096, 'f');
        while (::write(fd, block.data(), block.size()) > 0) {
        }
        const bool full = errno == ENOSPC;
        ::close(fd);
        return full;
    }

private slots:
    void initTestCase() {
        QVERIFY(dir.isValid());
        qputenv("HOME", dir.path().toLocal8Bit());
        disk = dir.filePath("disk");
        QVERIFY(QDir().mkpath(disk));
        mounted = ::mount("tmpfs", QFile::encodeName(disk).constData(), "tmpfs", 0, "size=16k") == 0;
        if (!mounted) whyNotMounted = QByteArray("cannot mount a small tmpfs here: ") + std::strerror(errno);
    }
    void init() {
        editor = OpenFreshEditor();
        QVERIFY(editor);
    }
    void cleanupTestCase() {
        UnloadEditor();
        if (mounted) ::umount2(QFile::encodeName(disk).constData(), MNT_DETACH);
    }

    void commitOnAFullDiskKeepsTheFileOnDiskWhole() {
        if (!mounted) QSKIP(whyNotMounted.constData());
        // The editor holds twenty records (two blocks of text); the file on disk meanwhile holds one (one
        // block), and the disk has no block left: the rewrite cannot fit.
        const QString path = disk + "/records.txt";
        QVERIFY(WriteBytes(path, FileBytes(NumberedRecords(20))));
        ModalAnswerer answerer;
        ChooseFile(answerer, path);
        Click(editor, "cmdOpen");
        QCOMPARE(editor->table.RecordCount, short(20));
        const QByteArray previous = FileBytes(NumberedRecords(1));
        QVERIFY(WriteBytes(path, previous));
        QVERIFY(FillDisk());

        Retype(editor, 0, "Changed");
        Click(editor, "cmdUpdaterecord");
        Click(editor, "cmdCommitRecord");

        QVERIFY(answerer.waitUntilAnswered());
        QVERIFY(answerer.boxes.isEmpty()); // no message, as for any file Commit cannot write
        QVERIFY(answerer.unexpected.isEmpty());
        QCOMPARE(ReadBytes(path), previous);
        QCOMPARE(QDir(disk).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                                      QDir::Name),
                 (QStringList{"filler", "records.txt"}));
        QVERIFY(Enabled(editor, "cmdWriteTextToFile"));

        // With room again, the same Commit writes every record.
        QVERIFY(QFile::remove(disk + "/filler"));
        Click(editor, "cmdCommitRecord");
        std::vector<Record> expected = NumberedRecords(20);
        expected[0][0] = "Changed";
        QCOMPARE(ReadBytes(path), FileBytes(expected));
        QCOMPARE(QDir(disk).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot),
                 QStringList{"records.txt"});
    }
};

QTEST_MAIN(EditorSafeCommitTest)
#include "tst_editor_safe_commit.moc"
