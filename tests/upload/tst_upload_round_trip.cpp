// Record data files written by the editor, uploaded by "&Upload File" and decoded by the emulated tablet:
// what the tablet stores equals the editor's table, for 1, 2 and 100 records, and a tablet that reads only
// as fast as the line brings the bytes still gets every byte, in order.
#include "own_qt_settings.h"
#include "record_tables.h"
#include "support/device_command_run.h"
#include "upload/packed_stream.h"
#include "upload_files.h"

#include <QPushButton>
#include <QTest>

using namespace testing_support;
using namespace upload_testing;
using namespace std::chrono_literals;

namespace {

SeenBox StatusBox() {
    return {"STATUS", "Upload complete", QMessageBox::Information, QMessageBox::Ok, true};
}

} // namespace

class UploadRoundTripTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();
    void tabletStoresTheEditorsRecords_data();
    void tabletStoresTheEditorsRecords();
    void slowTabletGetsEveryByteInOrder();

private:
    // Uploads the file and answers the dialog and the STATUS box.
    void upload(const QString& path) {
        run->answerer.chooseFile(path);
        run->answerer.pressInBox(QMessageBox::Ok);
        run->console->cmdUploadData->click();
    }

    std::unique_ptr<DeviceCommandRun> run;
    std::unique_ptr<TestFiles> files;
};

void UploadRoundTripTest::initTestCase() {
    qputenv("VELMORA_TICK_MS", "2");
}

void UploadRoundTripTest::init() {
    files = std::make_unique<TestFiles>();
    run = std::make_unique<DeviceCommandRun>();
    QVERIFY(run->found);
}

void UploadRoundTripTest::cleanup() {
    QVERIFY2(run->answerer.unexpected.isEmpty(), qPrintable(run->answerer.unexpected.join(", ")));
    run.reset();
    files.reset();
}

void UploadRoundTripTest::tabletStoresTheEditorsRecords_data() {
    QTest::addColumn<int>("records");
    QTest::newRow("1 record") << 1;
    QTest::newRow("2 records") << 2;
    QTest::newRow("100 records") << 100;
}

void UploadRoundTripTest::tabletStoresTheEditorsRecords() {
    QFETCH(int, records);
    auto table = FilledTable(records);
    const QString path = files->path("records.txt");
    WriteTable(*table, path);
    upload(path);
    QCOMPARE(run->answerer.boxes, QList<SeenBox>{StatusBox()});
    QVERIFY(run->tablet->waitForUploads(1, 10s));
    const std::vector<sim::Upload> uploads = run->tablet->uploads();
    QCOMPARE(uploads.size(), std::size_t(1));
    QCOMPARE(uploads[0].records.size(), std::size_t(records));
    QVERIFY(uploads[0].records == RecordsOf(*table));
    QVERIFY(uploads[0].raw == upload::PackRecordFile(files->read("records.txt")));
}

void UploadRoundTripTest::slowTabletGetsEveryByteInOrder() {
    auto table = FilledTable(100);
    const QString path = files->path("records.txt");
    WriteTable(*table, path);
    const std::string packed = upload::PackRecordFile(files->read("records.txt"));
    // Several times what a pty holds (20 KB): the program's writes wait for the tablet most of the way.
    QVERIFY(packed.size() > 60000);
    run->tablet->setLineRateReading(true);
    const auto started = std::chrono::steady_clock::now();
    upload(path);
    QCOMPARE(run->answerer.boxes, QList<SeenBox>{StatusBox()});
    const std::string expected = "\x05\x0c" + packed + std::string(1, '\0');
    QVERIFY(run->tablet->waitForReceived(expected.size(), 60s));
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
    QVERIFY(run->tablet->received() == expected);
    QVERIFY(run->tablet->uploads().at(0).records == RecordsOf(*table));
    // 115200 baud, 11 bits a byte: 10472 bytes a second at most.
    QVERIFY2(seconds >= double(expected.size()) / 10472 * 0.9, qPrintable(QString::number(seconds)));
}

int main(int argc, char** argv) {
    OwnQtSettings settings;
    int programArgc = 1;
    QApplication app(programArgc, argv);
    UploadRoundTripTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_upload_round_trip.moc"
