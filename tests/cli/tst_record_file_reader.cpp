// The record file reader of velmora-cli: it reads the emulated tablet's sample files to the same dates,
// fields and signatures as the viewer's own scan, reads files that begin with ENQ echoes, and refuses
// every malformed file at once with a message that names the file and the record.
#include "cli/record_file_cases.h"
#include "platform/vb_text.h"
#include "record_file_reader.h"
#include "viewer/text_stream.h"
#include "viewer/vlm_file.h"

#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTest>

using namespace cli_testing;

namespace {

// Record n as the viewer shows it (its Previous button: the key, or the start of the text for record 1),
// scanned once.
struct ViewerRecord {
    std::string dateField;
    std::string recordData;
    std::string signature;
    bool foundSignature = false;
};

ViewerRecord ViewerShows(const std::string& area, long n) {
    const long p = vb::InStr(area, viewer::RecordKey(n));
    const viewer::DateField date = viewer::DateFieldAt(area, p + 4);
    ViewerRecord shown;
    shown.dateField = date.text;
    const viewer::ScanResult scan =
        viewer::ScanFields(area, date.q2 + 1, date.text, viewer::kPreviousScan, shown.recordData, {}, 1);
    shown.signature = scan.signature;
    shown.foundSignature = scan.foundSignature;
    return shown;
}

// The record-data text the viewer makes of these fields: each non-empty one trimmed, with CR LF.
std::string RecordDataOf(const std::vector<std::string>& fields) {
    std::string text;
    for (const std::string& field : fields)
        if (!field.empty()) text += vb::Trim(field) + "\r\n";
    return text;
}

} // namespace

class RecordFileReaderTest : public QObject {
    Q_OBJECT

private slots:
    void readsSamplesAsTheViewerDoes_data() {
        QTest::addColumn<int>("records");
        QTest::newRow("25 records") << 25;
        QTest::newRow("999 records") << 999;
    }
    void readsSamplesAsTheViewerDoes() {
        QFETCH(int, records);
        QTemporaryDir dir;
        const QString path = WriteSample(QDir(dir.path()), "sample.vlm", records);
        QVERIFY(!path.isEmpty());
        const cli::RecordFile file = cli::ReadRecordFile(path.toStdString());

        viewer::TextStream stream(path.toStdString());
        const viewer::RecordFileHeader header = viewer::ParseHeaderLine(stream.ReadLine());
        const std::string area = stream.ReadAll();
        QCOMPARE(file.customerName, header.customerName);
        QCOMPARE(file.title, header.title);
        QCOMPARE(file.headerCount, long(records));
        QCOMPARE(long(file.records.size()), long(records));
        QVERIFY(cli::RecordCountNote(path.toStdString(), file).empty());
        for (long n = 1; n <= records; ++n) {
            const cli::FileRecord& record = file.records[std::size_t(n - 1)];
            const ViewerRecord shown = ViewerShows(area, n);
            QCOMPARE(record.number, n);
            QCOMPARE(record.fields.size(), std::size_t(112));
            QCOMPARE(record.dateField, shown.dateField);
            QVERIFY(shown.foundSignature);
            QCOMPARE(RecordDataOf(record.fields), shown.recordData);
            QCOMPARE(record.signature, shown.signature);
            // The samples leave every tenth record unsigned.
            QCOMPARE(record.signature.empty(), n % 10 == 0);
        }
    }

    void readsAFileThatBeginsWithEnqEchoes() {
        QTemporaryDir dir;
        const std::string sample = sim::SampleVlm(25);
        const QString plain = QDir(dir.path()).filePath("plain.vlm");
        const QString echoed = QDir(dir.path()).filePath("echoed.vlm");
        QVERIFY(WriteBytes(plain, sample));
        QVERIFY(WriteBytes(echoed, std::string(7, '\x05') + sample));
        const cli::RecordFile expected = cli::ReadRecordFile(plain.toStdString());
        const cli::RecordFile file = cli::ReadRecordFile(echoed.toStdString());
        QCOMPARE(file.customerName, expected.customerName);
        QCOMPARE(file.title, expected.title);
        QCOMPARE(file.headerCount, 25L);
        QCOMPARE(file.records.size(), std::size_t(25));
        for (std::size_t k = 0; k < file.records.size(); ++k) {
            QCOMPARE(file.records[k].fields, expected.records[k].fields);
            QCOMPARE(file.records[k].signature, expected.records[k].signature);
        }
    }

    void refusesMalformedFilesAtOnce_data() { AddBadFileRows(); }
    void refusesMalformedFilesAtOnce() {
        QFETCH(int, index);
        const BadFile& bad = BadFiles()[std::size_t(index)];
        QTemporaryDir dir;
        const QString path = bad.make(QDir(dir.path()));
        QVERIFY(!path.isEmpty());
        QElapsedTimer clock;
        clock.start();
        try {
            cli::ReadRecordFile(path.toStdString());
            QFAIL("the file was accepted");
        } catch (const cli::RecordFileFailure& failure) {
            QCOMPARE(QString::fromStdString(failure.what()), path + ": " + QString::fromUtf8(bad.message));
        }
        QVERIFY2(clock.elapsed() < 5000, qPrintable(QString::number(clock.elapsed()) + " ms"));
    }

    void refusesACountThatIsNotANumber() {
        QTemporaryDir dir;
        const QString path = QDir(dir.path()).filePath("count.vlm");
        QVERIFY(WriteBytes(path, "0x5" + sim::SampleVlm(5).substr(3)));
        QVERIFY_THROWS_EXCEPTION(cli::RecordFileFailure, cli::ReadRecordFile(path.toStdString()));
        try {
            cli::ReadRecordFile(path.toStdString());
        } catch (const cli::RecordFileFailure& failure) {
            QCOMPARE(QString::fromStdString(failure.what()),
                     path + ": header line: the record count \"x5\" is not a number");
        }
    }

    void refusesADateFieldWithoutItsClosingQuote() {
        QTemporaryDir dir;
        const QString path = QDir(dir.path()).filePath("date.vlm");
        QVERIFY(WriteBytes(path, "001\"Acme\"Menu\r\n001\"090420240727"));
        try {
            cli::ReadRecordFile(path.toStdString());
            QFAIL("the file was accepted");
        } catch (const cli::RecordFileFailure& failure) {
            QCOMPARE(QString::fromStdString(failure.what()),
                     path + ": record 1: the date field has no closing double quote");
        }
    }

    void readsEveryRecordWhenTheHeaderCountsFewer() {
        QTemporaryDir dir;
        const QString path = QDir(dir.path()).filePath("more.vlm");
        QVERIFY(WriteBytes(path, "020" + sim::SampleVlm(25).substr(3)));
        const cli::RecordFile file = cli::ReadRecordFile(path.toStdString());
        QCOMPARE(file.headerCount, 20L);
        QCOMPARE(file.records.size(), std::size_t(25));
        QCOMPARE(file.records.back().number, 25L);
        QCOMPARE(QString::fromStdString(cli::RecordCountNote(path.toStdString(), file)),
                 path + ": the header counts 20 records, the file holds 25; all 25 are read");
    }

    void aLastRecordNeedsItsCrButNotItsLf() {
        QTemporaryDir dir;
        std::string sample = sim::SampleVlm(9); // record 9 is signed
        QVERIFY(sample.ends_with("\r\n"));
        const QString whole = QDir(dir.path()).filePath("whole.vlm");
        QVERIFY(WriteBytes(whole, sample));
        sample.pop_back();
        const QString cut = QDir(dir.path()).filePath("cut.vlm");
        QVERIFY(WriteBytes(cut, sample));
        const cli::RecordFile expected = cli::ReadRecordFile(whole.toStdString());
        const cli::RecordFile file = cli::ReadRecordFile(cut.toStdString());
        QCOMPARE(file.records.size(), std::size_t(9));
        QVERIFY(!file.records.back().signature.empty());
        QCOMPARE(file.records.back().signature, expected.records.back().signature);

        // Without the CR the signature may have been cut anywhere: the file is refused.
        sample.pop_back();
        QVERIFY(WriteBytes(cut, sample));
        QVERIFY_THROWS_EXCEPTION(cli::RecordFileFailure, cli::ReadRecordFile(cut.toStdString()));
    }

    void refusesMoreRecordsThanTheViewerCanCount() {
        // Records of empty fields and no signature, one more than the most a file may hold.
        const std::string fields = std::string(112, '"') + "\r\n";
        std::string text = "000\"Acme\"Menu\r\n";
        for (long n = 1; n <= cli::kMostRecords + 1; ++n)
            text += (n < 1000 ? QStringLiteral("%1").arg(n, 3, 10, QLatin1Char('0')) : QString::number(n))
                        .toStdString() +
                    "\"021520120905\"" + fields;
        QTemporaryDir dir;
        const QString path = QDir(dir.path()).filePath("many.vlm");
        QVERIFY(WriteBytes(path, text));
        try {
            cli::ReadRecordFile(path.toStdString());
            QFAIL("the file was accepted");
        } catch (const cli::RecordFileFailure& failure) {
            QCOMPARE(QString::fromStdString(failure.what()),
                     path + ": record 32768: more records than a record file holds (32767 at most)");
        }
        // One record fewer is read whole.
        text.resize(text.rfind("\r\n32768\"") + 2);
        QVERIFY(WriteBytes(path, text));
        QCOMPARE(cli::ReadRecordFile(path.toStdString()).records.size(), std::size_t(cli::kMostRecords));
    }

    void aHeaderOfNoRecordsAndNoRecordsIsAnEmptyFile() {
        QTemporaryDir dir;
        const QString path = QDir(dir.path()).filePath("none.vlm");
        QVERIFY(WriteBytes(path, "000\"Acme\"Menu\r\n"));
        const cli::RecordFile file = cli::ReadRecordFile(path.toStdString());
        QCOMPARE(file.headerCount, 0L);
        QVERIFY(file.records.empty());
        QCOMPARE(file.customerName, std::string("Acme"));
        QCOMPARE(file.title, std::string("Menu"));
    }

    void keepsEveryByteOfTheFields() {
        // Fields hold bytes 0x00, 0x0E, 0x80-0xFF and spaces exactly as in the file (no trim, nothing
        // dropped).
        std::string fields;
        const std::string odd = std::string("\x00\x0E  caf\xE9 \xFF", 10);
        for (int k = 0; k < 112; ++k)
            fields += (k == 5 ? odd : std::string()) + '"';
        QTemporaryDir dir;
        const QString path = QDir(dir.path()).filePath("bytes.vlm");
        QVERIFY(WriteBytes(path, "001\"Acme\"Menu\r\n001\"021520120905\"" + fields + "\x01\x80\r\n"));
        const cli::RecordFile file = cli::ReadRecordFile(path.toStdString());
        QCOMPARE(file.records.size(), std::size_t(1));
        QCOMPARE(file.records[0].fields[5], odd);
        QCOMPARE(file.records[0].dateField, std::string("021520120905"));
        QCOMPARE(file.records[0].signature, std::string("\x01\x80"));
    }
};

QTEST_GUILESS_MAIN(RecordFileReaderTest)
#include "tst_record_file_reader.moc"
