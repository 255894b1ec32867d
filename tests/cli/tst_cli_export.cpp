// velmora-cli csv and json: every record of a downloaded record file with all 112 fields, the number, the
// date as the viewer shows it and the signature size; RFC 4180 quoting with CR LF row ends; every byte as
// its Latin-1 character in UTF-8; output to standard output or written whole to a file; malformed files end
// with status 7 and a message naming the file and the record.
#include "cli/cli_run.h"
#include "cli/record_file_cases.h"
#include "csv_export.h"
#include "platform/vb_text.h"
#include "viewer/text_stream.h"
#include "viewer/vlm_file.h"

#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

using namespace cli_testing;

namespace {

// RFC 4180: rows of fields separated by commas and ended by CR LF; a quoted field may hold commas, CR, LF
// and doubled quotes. Returns no rows when the text breaks the rules.
std::vector<QStringList> ParseCsv(const QString& text) {
    std::vector<QStringList> rows;
    QStringList row;
    QString field;
    qsizetype i = 0;
    const qsizetype n = text.size();
    while (i < n) {
        if (text[i] == '"') {
            ++i;
            for (;;) {
                if (i >= n) return {};
                if (text[i] == '"') {
                    if (i + 1 < n && text[i + 1] == '"') {
                        field += '"';
                        i += 2;
                        continue;
                    }
                    ++i;
                    break;
                }
                field += text[i++];
            }
        } else {
            while (i < n && text[i] != ',' && text[i] != '\r' && text[i] != '\n' && text[i] != '"')
                field += text[i++];
        }
        if (i < n && text[i] == ',') {
            row << field;
            field.clear();
            ++i;
        } else if (i + 1 < n && text[i] == '\r' && text[i + 1] == '\n') {
            row << field;
            field.clear();
            rows.push_back(row);
            row.clear();
            i += 2;
        } else {
            return {}; // a quote inside an unquoted field, a bare CR or LF, or no CR LF at the end
        }
    }
    return rows;
}

std::string Latin1Bytes(const QString& text) {
    return text.toLatin1().toStdString();
}

// The record-data text the viewer makes of these fields: each non-empty one trimmed, with CR LF.
std::string RecordDataOf(const QStringList& fields) {
    std::string text;
    for (const QString& field : fields)
        if (!field.isEmpty()) text += vb::Trim(Latin1Bytes(field)) + "\r\n";
    return text;
}

struct ViewerRecord {
    QString date;
    std::string recordData;
    qsizetype signatureBytes = 0;
};

// What the viewer shows of each record of the file (its Previous button's way, one scan pass).
std::vector<ViewerRecord> ViewerRecords(const QString& path, long count) {
    viewer::TextStream stream(path.toStdString());
    stream.ReadLine();
    const std::string area = stream.ReadAll();
    std::vector<ViewerRecord> records;
    for (long n = 1; n <= count; ++n) {
        const viewer::DateField date = viewer::DateFieldAt(area, vb::InStr(area, viewer::RecordKey(n)) + 4);
        ViewerRecord record;
        record.date = QString::fromLatin1(viewer::GetDate(date.text));
        const viewer::ScanResult scan =
            viewer::ScanFields(area, date.q2 + 1, date.text, viewer::kPreviousScan, record.recordData, {}, 1);
        record.signatureBytes = qsizetype(scan.signature.size());
        records.push_back(record);
    }
    return records;
}

// One record with these 112 fields (the rest empty) and a two-byte signature.
std::string OneRecordFile(const std::vector<std::string>& fields) {
    std::string text = "001\"Caf\xE9 Co\"Menu\r\n001\"021520120905\"";
    for (int k = 0; k < 112; ++k)
        text += (std::size_t(k) < fields.size() ? fields[std::size_t(k)] : std::string()) + '"';
    return text + "\x01\x80\r\n";
}

} // namespace

class CliExportTest : public QObject {
    Q_OBJECT

private slots:
    void csvOf999RecordsParsesBackToTheViewersFields() {
        QTemporaryDir dir;
        const QString path = WriteSample(QDir(dir.path()), "route.vlm", 999);
        const QString out = QDir(dir.path()).filePath("route.csv");
        const CliRun run = RunCli({"csv", path, "-o", out});
        QCOMPARE(run.status, 0);
        QCOMPARE(run.out, QString());
        QCOMPARE(run.err, QString());
        const QByteArray bytes = QByteArray::fromStdString(ReadFile(out));
        QVERIFY(bytes.endsWith("\r\n"));
        const std::vector<QStringList> rows = ParseCsv(QString::fromUtf8(bytes));
        QCOMPARE(rows.size(), std::size_t(1 + 999));
        QStringList header{"number", "date", "signature_bytes"};
        for (int k = 1; k <= 112; ++k)
            header << QStringLiteral("field_%1").arg(k);
        QCOMPARE(rows[0], header);
        const std::vector<ViewerRecord> shown = ViewerRecords(path, 999);
        for (std::size_t n = 1; n <= 999; ++n) {
            const QStringList& row = rows[n];
            QCOMPARE(row.size(), 3 + 112);
            QCOMPARE(row[0], QString::number(n));
            QCOMPARE(row[1], shown[n - 1].date);
            QCOMPARE(row[2], QString::number(shown[n - 1].signatureBytes));
            QCOMPARE(RecordDataOf(row.mid(3)), shown[n - 1].recordData);
        }

        // Standard output carries the same bytes.
        QProcess program;
        program.start(QStringLiteral(VELMORA_CLI_PROGRAM), {"csv", path});
        QVERIFY(program.waitForFinished(40000));
        QCOMPARE(program.exitCode(), 0);
        QCOMPARE(program.readAllStandardOutput(), bytes);
    }

    void csvQuotesAndEncodesAsRfc4180() {
        const std::vector<std::string> fields{"a,b",
                                              "two\r\nlines",
                                              "lf\nonly",
                                              "caf\xE9",
                                              "\x01"
                                              "ctl",
                                              " spaced ",
                                              "plain"};
        QTemporaryDir dir;
        const QString path = QDir(dir.path()).filePath("odd.vlm");
        QVERIFY(WriteBytes(path, OneRecordFile(fields)));
        const QString out = QDir(dir.path()).filePath("odd.csv");
        QCOMPARE(RunCli({"csv", path, "--output", out}).status, 0);
        const QByteArray bytes = QByteArray::fromStdString(ReadFile(out));
        QVERIFY(bytes.contains(",\"a,b\",\"two\r\nlines\",\"lf\nonly\",caf\xC3\xA9,\x01"
                               "ctl, spaced ,plain,,"));
        const std::vector<QStringList> rows = ParseCsv(QString::fromUtf8(bytes));
        QCOMPARE(rows.size(), std::size_t(2));
        QCOMPARE(rows[1].mid(0, 3), QStringList({"1", "02/15/2012 09:05", "2"}));
        for (std::size_t k = 0; k < fields.size(); ++k)
            QCOMPARE(Latin1Bytes(rows[1][3 + qsizetype(k)]), fields[k]);
        QCOMPARE(rows[1].size(), 115);

        // A double quote cannot be in a field of the file; the writer doubles it all the same.
        cli::RecordFile file;
        file.records.push_back({7, "021520120905", {"say \"hi\""}, ""});
        const std::string csv = cli::RecordsAsCsv(file);
        QVERIFY(csv.ends_with("\r\n7,02/15/2012 09:05,0,\"say \"\"hi\"\"\"\r\n"));
    }

    void jsonOf999RecordsParses() {
        QTemporaryDir dir;
        const QString path = WriteSample(QDir(dir.path()), "route.vlm", 999);
        const QString out = QDir(dir.path()).filePath("route.json");
        const CliRun run = RunCli({"json", path, "-o", out});
        QCOMPARE(run.status, 0);
        QCOMPARE(run.out, QString());
        QJsonParseError error{};
        const QJsonDocument document =
            QJsonDocument::fromJson(QByteArray::fromStdString(ReadFile(out)), &error);
        QCOMPARE(error.error, QJsonParseError::NoError);
        const QJsonObject root = document.object();
        viewer::TextStream stream(path.toStdString());
        const viewer::RecordFileHeader header = viewer::ParseHeaderLine(stream.ReadLine());
        QCOMPARE(root["customer_name"].toString(), QString::fromLatin1(header.customerName));
        QCOMPARE(root["title"].toString(), QString::fromLatin1(header.title));
        QCOMPARE(root["record_count"].toInt(), 999);
        const QJsonArray records = root["records"].toArray();
        QCOMPARE(records.size(), 999);
        const std::vector<ViewerRecord> shown = ViewerRecords(path, 999);
        for (qsizetype n = 1; n <= 999; ++n) {
            const QJsonObject record = records[n - 1].toObject();
            QCOMPARE(record["number"].toInt(), int(n));
            QCOMPARE(record["date"].toString(), shown[std::size_t(n - 1)].date);
            QCOMPARE(record["signature_bytes"].toInt(), int(shown[std::size_t(n - 1)].signatureBytes));
            const QJsonArray fields = record["fields"].toArray();
            QCOMPARE(fields.size(), 112);
            QStringList texts;
            for (const QJsonValue& field : fields)
                texts << field.toString();
            QCOMPARE(RecordDataOf(texts), shown[std::size_t(n - 1)].recordData);
        }
    }

    void jsonKeepsEveryByteAsLatin1() {
        const std::vector<std::string> fields{"caf\xE9", std::string("\x00\x01\x1F", 3), "\x80\xFF",
                                              "tab\there"};
        QTemporaryDir dir;
        const QString path = QDir(dir.path()).filePath("odd.vlm");
        QVERIFY(WriteBytes(path, OneRecordFile(fields)));
        QProcess program;
        program.start(QStringLiteral(VELMORA_CLI_PROGRAM), {"json", path});
        QVERIFY(program.waitForFinished(40000));
        QCOMPARE(program.exitCode(), 0);
        const QByteArray bytes = program.readAllStandardOutput();
        QVERIFY(bytes.contains("\"caf\xC3\xA9\"")); // 0xE9 is "é" in UTF-8
        QVERIFY(bytes.contains("\\u0000\\u0001\\u001f") || bytes.contains("\\u0000\\u0001\\u001F"));
        const QJsonDocument document = QJsonDocument::fromJson(bytes);
        QCOMPARE(document.object()["customer_name"].toString(), QString::fromUtf8("Café Co"));
        const QJsonArray parsed = document.object()["records"].toArray()[0].toObject()["fields"].toArray();
        QCOMPARE(parsed.size(), 112);
        for (std::size_t k = 0; k < fields.size(); ++k)
            QCOMPARE(Latin1Bytes(parsed[qsizetype(k)].toString()), fields[k]);
    }

    void outputReplacesAFileWholeAndReportsAFailure() {
        QTemporaryDir dir;
        const QString path = WriteSample(QDir(dir.path()), "route.vlm", 25);
        const QString out = QDir(dir.path()).filePath("route.csv");
        QVERIFY(WriteBytes(out, std::string(100000, 'x')));
        QCOMPARE(RunCli({"csv", path, "-o", out}).status, 0);
        QVERIFY(ReadFile(out).starts_with("number,date,signature_bytes,field_1,"));
        QVERIFY(ReadFile(out).find("xxx") == std::string::npos);
        QCOMPARE(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden).size(), 2); // no file left aside

        const QString nowhere = QDir(dir.path()).filePath("missing/route.json");
        const CliRun run = RunCli({"json", path, "-o", nowhere});
        QCOMPARE(run.status, 1);
        QVERIFY2(run.err.startsWith("velmora-cli json: " + nowhere + ": cannot be written"),
                 qPrintable(run.err));
    }

    void malformedFilesEndWithStatus7_data() { AddBadFileRows(); }
    void malformedFilesEndWithStatus7() {
        QFETCH(int, index);
        const BadFile& bad = BadFiles()[std::size_t(index)];
        for (const char* subcommand : {"csv", "json"}) {
            QTemporaryDir dir;
            const QString path = bad.make(QDir(dir.path()));
            QVERIFY(!path.isEmpty());
            const QString out = QDir(dir.path()).filePath("out");
            QElapsedTimer clock;
            clock.start();
            const CliRun run = RunCli({subcommand, path, "-o", out}, 10000);
            QVERIFY2(clock.elapsed() < 10000, "the program did not end promptly");
            QCOMPARE(run.status, 7);
            QCOMPARE(run.err, QStringLiteral("velmora-cli %1: ").arg(subcommand) + path + ": " +
                                  QString::fromUtf8(bad.message) + "\n");
            QVERIFY(!QFile::exists(out));
        }
    }

    void usage() {
        QCOMPARE(RunCli({"csv"}).status, 2);
        QCOMPARE(RunCli({"json", "a.vlm", "-x"}).status, 2);
        const CliRun help = RunCli({"csv", "--help"});
        QCOMPARE(help.status, 0);
        QVERIFY(help.out.contains("RFC 4180"));
        QVERIFY(help.out.contains("-o, --output <OUT>"));
    }
};

QTEST_GUILESS_MAIN(CliExportTest)
#include "tst_cli_export.moc"
