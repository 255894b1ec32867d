// velmora-cli list: one line per record of a downloaded record file (number, date and time as the viewer
// shows them, name, field count, signature size), after a header line; malformed files end with status 7
// and a message naming the file and the record.
#include "cli/cli_run.h"
#include "cli/record_file_cases.h"
#include "platform/vb_text.h"
#include "viewer/text_stream.h"
#include "viewer/vlm_file.h"

#include <QElapsedTimer>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

using namespace cli_testing;

namespace {

// The columns of one listed record: number, date, name, field count, signature bytes.
QStringList Columns(const QString& line) {
    return line.trimmed().split(QRegularExpression(QStringLiteral(" {2,}")));
}

} // namespace

class CliListTest : public QObject {
    Q_OBJECT

private slots:
    void listsEveryRecordAsTheViewerShowsIt() {
        QTemporaryDir dir;
        const QString path = WriteSample(QDir(dir.path()), "route.vlm", 25);
        const CliRun run = RunCli({"list", path});
        QCOMPARE(run.status, 0);
        QCOMPARE(run.err, QString());
        const QStringList lines = run.out.split('\n', Qt::SkipEmptyParts);
        QCOMPARE(lines.size(), 2 + 25);

        viewer::TextStream stream(path.toStdString());
        const viewer::RecordFileHeader header = viewer::ParseHeaderLine(stream.ReadLine());
        const std::string area = stream.ReadAll();
        QCOMPARE(lines[0], "Customer name: " + vb::ToQString(header.customerName) +
                               "  Title: " + vb::ToQString(header.title) + "  Records: 25");
        QCOMPARE(Columns(lines[1]), QStringList({"Number", "Date", "Name", "Fields", "Signature bytes"}));
        for (long n = 1; n <= 25; ++n) {
            const viewer::DateField date =
                viewer::DateFieldAt(area, vb::InStr(area, viewer::RecordKey(n)) + 4);
            std::string recordData;
            const viewer::ScanResult scan =
                viewer::ScanFields(area, date.q2 + 1, date.text, viewer::kPreviousScan, recordData, {}, 1);
            // The samples' first field, the name, is never empty: it is the record data's first line.
            const QString name = vb::ToQString(recordData.substr(0, recordData.find("\r\n")));
            const QStringList columns = Columns(lines[int(n) + 1]);
            QCOMPARE(columns, QStringList({QString::number(n), vb::ToQString(viewer::GetDate(date.text)),
                                           name, "112", QString::number(scan.signature.size())}));
        }
        QVERIFY(lines[10 + 1].endsWith("  0")); // record 10 is unsigned
    }

    void aFileThatBeginsWithEnqEchoesListsAsWithout() {
        QTemporaryDir dir;
        const QString plain = WriteSample(QDir(dir.path()), "plain.vlm", 25);
        const QString echoed = QDir(dir.path()).filePath("echoed.vlm");
        QVERIFY(WriteBytes(echoed, std::string(5, '\x05') + sim::SampleVlm(25)));
        const CliRun expected = RunCli({"list", plain});
        const CliRun run = RunCli({"list", echoed});
        QCOMPARE(run.status, 0);
        QCOMPARE(run.out, expected.out);
        QCOMPARE(run.out.count('\n'), 27);
    }

    void malformedFilesEndWithStatus7_data() { AddBadFileRows(); }
    void malformedFilesEndWithStatus7() {
        QFETCH(int, index);
        const BadFile& bad = BadFiles()[std::size_t(index)];
        QTemporaryDir dir;
        const QString path = bad.make(QDir(dir.path()));
        QVERIFY(!path.isEmpty());
        QElapsedTimer clock;
        clock.start();
        const CliRun run = RunCli({"list", path}, 10000);
        QVERIFY2(clock.elapsed() < 10000, "the program did not end promptly");
        QCOMPARE(run.status, 7);
        QCOMPARE(run.err, "velmora-cli list: " + path + ": " + QString::fromUtf8(bad.message) + "\n");
        QCOMPARE(run.out, QString());
    }

    void moreRecordsThanTheHeaderCountsAreAllListedWithANote() {
        QTemporaryDir dir;
        const QString path = QDir(dir.path()).filePath("more.vlm");
        QVERIFY(WriteBytes(path, "020" + sim::SampleVlm(25).substr(3)));
        const CliRun run = RunCli({"list", path});
        QCOMPARE(run.status, 0);
        QCOMPARE(run.err, path + ": the header counts 20 records, the file holds 25; all 25 are read\n");
        const QStringList lines = run.out.split('\n', Qt::SkipEmptyParts);
        QCOMPARE(lines.size(), 2 + 25);
        QVERIFY(lines[0].endsWith("Records: 20"));
        QCOMPARE(Columns(lines.last()).value(0), QStringLiteral("25"));
    }

    void controlCharactersOfANameAreShownAsQuestionMarks() {
        std::string fields = "Ann\x1b[31mLee\x92s\"";
        for (int k = 1; k < 112; ++k)
            fields += '"';
        QTemporaryDir dir;
        const QString path = QDir(dir.path()).filePath("name.vlm");
        QVERIFY(WriteBytes(path, "001\"Acme\"Menu\r\n001\"021520120905\"" + fields + "\r\n"));
        const CliRun run = RunCli({"list", path});
        QCOMPARE(run.status, 0);
        const QStringList lines = run.out.split('\n', Qt::SkipEmptyParts);
        QCOMPARE(lines.size(), 3);
        QCOMPARE(Columns(lines[2]),
                 QStringList({"1", "02/15/2012 09:05", QString::fromUtf8("Ann?[31mLee’s"), "112", "0"}));
    }

    void usage() {
        const CliRun missing = RunCli({"list"});
        QCOMPARE(missing.status, 2);
        QVERIFY(missing.err.startsWith("velmora-cli list: "));
        const CliRun extra = RunCli({"list", "a.vlm", "b.vlm"});
        QCOMPARE(extra.status, 2);
        const CliRun help = RunCli({"list", "--help"});
        QCOMPARE(help.status, 0);
        QVERIFY(help.out.contains("more records than its header counts is read whole"));
        QVERIFY(help.out.contains("exit status 7"));
        const CliRun overall = RunCli({"--help"});
        QCOMPARE(overall.status, 0);
        for (const char* name : {"list", "csv", "json", "signatures"})
            QVERIFY2(overall.out.contains(QRegularExpression(QStringLiteral("\\n  %1 ").arg(name))), name);
    }
};

QTEST_GUILESS_MAIN(CliListTest)
#include "tst_cli_list.moc"
