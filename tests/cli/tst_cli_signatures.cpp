// velmora-cli signatures: every record's signature as <number>.png, .svg and .inkml, drawn from the
// strokes the viewer's decoder gives; unsigned records drawn blank and counted; malformed files end with
// status 7 and a message naming the file and the record, and write nothing.
#include "cli/cli_run.h"
#include "cli/record_file_cases.h"
#include "record_file_reader.h"
#include "signature/strokes.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <QImage>
#include <QTemporaryDir>
#include <QTest>
#include <QXmlStreamReader>

using namespace cli_testing;

namespace {

// Every file is flushed to the disk before it replaces its name, which costs a disk flush per file; a
// folder in memory (/dev/shm), when the machine has one, keeps the 2700-file export quick on a busy disk.
QString FastTempFolder() {
    const QFileInfo shm(QStringLiteral("/dev/shm"));
    return shm.isDir() && shm.isWritable() ? shm.filePath() + "/cli-signatures-XXXXXX" : QString();
}

// The names of an XML file's elements in document order, with the namespace of the root; empty when the
// file is not well-formed.
struct Xml {
    QString rootNamespace;
    QStringList elements;
    QStringList traces; // the text of every <trace>
};

Xml ParseXml(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) return {};
    QXmlStreamReader reader(&file);
    Xml xml;
    while (!reader.atEnd()) {
        if (reader.readNext() != QXmlStreamReader::StartElement) continue;
        if (xml.elements.isEmpty()) xml.rootNamespace = reader.namespaceUri().toString();
        xml.elements << reader.name().toString();
        if (reader.name() == QLatin1String("trace")) {
            xml.traces << reader.readElementText();
        }
    }
    if (reader.hasError()) return {};
    return xml;
}

// True when the picture holds a pixel that is not white.
bool HasInk(const QImage& image) {
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (image.pixel(x, y) != qRgb(255, 255, 255)) return true;
    return false;
}

void CheckRecord(const QDir& folder, const cli::FileRecord& record, QSize size) {
    const QString stem = folder.filePath(QStringLiteral("%1").arg(record.number, 3, 10, QLatin1Char('0')));
    const std::vector<signature::Stroke> strokes = signature::Decode(record.signature);
    QVERIFY(!strokes.empty());

    const QImage png(stem + ".png");
    QVERIFY2(!png.isNull(), qPrintable(stem));
    QCOMPARE(png.size(), size);
    QVERIFY2(HasInk(png), qPrintable(stem));

    const Xml svg = ParseXml(stem + ".svg");
    QCOMPARE(svg.rootNamespace, QStringLiteral("http://www.w3.org/2000/svg"));
    QCOMPARE(svg.elements.count("path"), qsizetype(strokes.size()));

    const Xml ink = ParseXml(stem + ".inkml");
    QCOMPARE(ink.rootNamespace, QStringLiteral("http://www.w3.org/2003/InkML"));
    QCOMPARE(ink.elements.value(0), QStringLiteral("ink"));
    QCOMPARE(ink.traces.size(), qsizetype(strokes.size()));
    // Each trace is the stroke's points, "x y" pairs separated by commas.
    for (std::size_t k = 0; k < strokes.size(); ++k) {
        QStringList points;
        for (const signature::Point& p : strokes[k])
            points << QStringLiteral("%1 %2").arg(p.x).arg(p.y);
        QCOMPARE(ink.traces[qsizetype(k)], points.join(", "));
    }
}

// A record without a signature: a blank picture of the size asked for, an SVG with no path and an InkML
// file with no trace.
void CheckBlank(const QDir& folder, const cli::FileRecord& record, QSize size) {
    const QString stem = folder.filePath(QStringLiteral("%1").arg(record.number, 3, 10, QLatin1Char('0')));
    QVERIFY(signature::Decode(record.signature).empty());
    const QImage png(stem + ".png");
    QVERIFY2(!png.isNull(), qPrintable(stem));
    QCOMPARE(png.size(), size);
    QVERIFY2(!HasInk(png), qPrintable(stem));
    const Xml svg = ParseXml(stem + ".svg");
    QCOMPARE(svg.rootNamespace, QStringLiteral("http://www.w3.org/2000/svg"));
    QCOMPARE(svg.elements.count("path"), 0);
    const Xml ink = ParseXml(stem + ".inkml");
    QCOMPARE(ink.elements.value(0), QStringLiteral("ink"));
    QCOMPARE(ink.traces.size(), 0);
}

} // namespace

class CliSignaturesTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        // The pictures are painted in memory: the program needs no display and no platform plugin.
        for (const char* name : {"QT_QPA_PLATFORM", "DISPLAY", "WAYLAND_DISPLAY"})
            qunsetenv(name);
    }

    void writesEverySignedRecordOf999() {
        const QString pattern = FastTempFolder();
        QTemporaryDir dir(pattern.isEmpty() ? QDir::tempPath() + "/cli-signatures-XXXXXX" : pattern);
        QVERIFY(dir.isValid());
        const QString path = WriteSample(QDir(dir.path()), "route.vlm", 999);
        const QString out = QDir(dir.path()).filePath("pictures");
        const CliRun run = RunCli({"signatures", path, out}, 80000);
        QCOMPARE(run.status, 0);
        QCOMPARE(run.err, QString());
        // Every record gets its three files; every tenth record of the samples is unsigned (99 of 999)
        // and drawn blank.
        QCOMPARE(run.out,
                 path + ": 999 records written to " + out +
                     " (2997 files: PNG, SVG, InkML); 99 of them without a signature, drawn blank\n");
        const QDir folder(out);
        QCOMPARE(folder.entryList({"*.png"}, QDir::Files).size(), 999);
        QCOMPARE(folder.entryList({"*.svg"}, QDir::Files).size(), 999);
        QCOMPARE(folder.entryList({"*.inkml"}, QDir::Files).size(), 999);
        QCOMPARE(folder.entryList(QDir::Files | QDir::Hidden).size(), 2997);

        const cli::RecordFile file = cli::ReadRecordFile(path.toStdString());
        for (const cli::FileRecord& record : file.records) {
            const QString stem =
                folder.filePath(QStringLiteral("%1").arg(record.number, 3, 10, QLatin1Char('0')));
            if (record.number % 10 == 0) {
                CheckBlank(folder, record, QSize(367, 180));
                if (QTest::currentTestFailed()) return;
                continue;
            }
            CheckRecord(folder, record, QSize(367, 180));
            if (QTest::currentTestFailed()) return;
        }
    }

    void sizeOptionsAndUnsignedRecords() {
        // Record 2's bytes decode to no stroke: it has no signature to draw.
        const std::string sample = sim::SampleVlm(3);
        const std::size_t second = sample.find(viewer::RecordKey(2));
        const std::size_t third = sample.find(viewer::RecordKey(3));
        std::string record2 = sample.substr(second, third - second);
        std::size_t at = record2.find('"', 6);
        for (int k = 0; k < 112; ++k)
            at = record2.find('"', at + 1);
        record2 = record2.substr(0, at + 1) + "\x05\x06\x07";
        QTemporaryDir dir;
        const QString path = QDir(dir.path()).filePath("three.vlm");
        QVERIFY(WriteBytes(path, sample.substr(0, second) + record2 + sample.substr(third)));
        const QString out = QDir(dir.path()).filePath("made/by/the/export");
        const CliRun run = RunCli({"signatures", "--width", "640", "--height", "200", path, out});
        QCOMPARE(run.status, 0);
        QCOMPARE(run.out, path + ": 3 records written to " + out +
                              " (9 files: PNG, SVG, InkML); 1 of them without a signature, drawn blank\n");
        const QDir folder(out);
        QCOMPARE(folder.entryList(QDir::Files),
                 QStringList({"001.inkml", "001.png", "001.svg", "002.inkml", "002.png", "002.svg",
                              "003.inkml", "003.png", "003.svg"}));
        const cli::RecordFile file = cli::ReadRecordFile(path.toStdString());
        CheckRecord(folder, file.records[0], QSize(640, 200));
        CheckBlank(folder, file.records[1], QSize(640, 200));
        CheckRecord(folder, file.records[2], QSize(640, 200));

        QCOMPARE(RunCli({"signatures", "--width", "9", path, out}).status, 2);
        QCOMPARE(RunCli({"signatures", path}).status, 2);
    }

    void malformedFilesEndWithStatus7_data() { AddBadFileRows(); }
    void malformedFilesEndWithStatus7() {
        QFETCH(int, index);
        const BadFile& bad = BadFiles()[std::size_t(index)];
        QTemporaryDir dir;
        const QString path = bad.make(QDir(dir.path()));
        QVERIFY(!path.isEmpty());
        const QString out = QDir(dir.path()).filePath("pictures");
        QElapsedTimer clock;
        clock.start();
        const CliRun run = RunCli({"signatures", path, out}, 10000);
        QVERIFY2(clock.elapsed() < 10000, "the program did not end promptly");
        QCOMPARE(run.status, 7);
        QCOMPARE(run.err, "velmora-cli signatures: " + path + ": " + QString::fromUtf8(bad.message) + "\n");
        QCOMPARE(run.out, QString());
        QVERIFY(!QFileInfo::exists(out));
    }

    void aFileThatCannotBeWrittenEndsWithStatus1() {
        QTemporaryDir dir;
        const QString path = WriteSample(QDir(dir.path()), "route.vlm", 3);
        const QString out = QDir(dir.path()).filePath("pictures");
        QVERIFY(QDir().mkpath(out + "/001.png")); // a folder where the picture should go
        const CliRun run = RunCli({"signatures", path, out});
        QCOMPARE(run.status, 1);
        QVERIFY2(run.err.startsWith("velmora-cli signatures: " + out + "/001.png: cannot be written"),
                 qPrintable(run.err));
    }
};

QTEST_GUILESS_MAIN(CliSignaturesTest)
#include "tst_cli_signatures.moc"
