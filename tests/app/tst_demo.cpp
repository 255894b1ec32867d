// velmora --demo: the program starts with an emulated tablet on COM1 of a private ports folder, holding
// 25 sample records and sample settings; the console finds it, downloads its records at the line's pace,
// sets its values and resets it; the folder is gone when the program ends, by "E&xit" or by a signal.
#include "app/demo_settings.h"
#include "app/demo_tablet.h"
#include "app/globals.h"
#include "app/startup.h"
#include "console/console_window.h"
#include "platform/file_system.h"
#include "sample_records.h"
#include "support/modal_answerer.h"
#include "support/program.h"
#include "tablet.h"
#include "upload_receiver.h"
#include "viewer/vlm_file.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileDialog>
#include <QFileInfo>
#include <QLabel>
#include <QLineEdit>
#include <QProcess>
#include <QProgressBar>
#include <QPushButton>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTimer>
#include <csignal>

using namespace testing_support;
using namespace std::chrono_literals;

namespace {

const char kEnq = 0x05;
// 115200 baud, odd parity, 8 data bits, 1 stop bit: 11 bits a byte.
constexpr double kLineBytesPerSecond = 115200.0 / 11;

// The console of a fresh demo run, with the search pressed.
frmQuillmaxSerial* SearchedDemo() {
    frmQuillmaxSerial* console = StartConsole();
    QTest::mouseClick(console->cmdSearch, Qt::LeftButton);
    return console;
}

sim::Tablet& DemoTablet() {
    return app::Demo()->tablet();
}

// The next file dialog saves into `path`.
void SaveTo(ModalAnswerer& answerer, const QString& path) {
    answerer.handle([&answerer, path](QWidget* widget) {
        auto* dialog = qobject_cast<QFileDialog*>(widget);
        if (!dialog) {
            answerer.unexpected << widget->windowTitle();
            widget->close();
            return;
        }
        answerer.fileDialogs << dialog->windowTitle();
        testing_support::ChooseInDialog(dialog, path);
    });
}

// The first line of a record file, without its CR LF.
std::string HeaderLine(const std::string& file) {
    return file.substr(0, file.find("\r\n"));
}

} // namespace

class DemoTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void theDemoTabletIsCom1OfAPrivateFolder();
    void theDemoTabletHoldsSampleSettings();
    void theSearchFindsItOnPort1();
    void downloadsTwentyFiveRecordsAtTheLinesPace();
    void aSetValueReachesTheDemoTablet();
    void aResetReachesTheDemoTablet();
    void anUploadReachesTheDemoTablet();
    void theFolderIsGoneWhenTheProgramEnds();
    void aSignalEndsTheProgramAndRemovesTheFolder();

private:
    QByteArray portsBefore;
    QString tempFolder;
};

void DemoTest::initTestCase() {
    // The demo's folder and the saved files live in a folder of this test's own, which is also the
    // working folder: the save dialog reads into the files of the folders it shows.
    QDir own(QCoreApplication::applicationDirPath() + "/tst_demo-files");
    own.removeRecursively();
    QVERIFY(own.mkpath("."));
    tempFolder = own.path();
    qputenv("TMPDIR", own.path().toLocal8Bit());
    QVERIFY(QDir::setCurrent(own.path()));
    portsBefore = qgetenv("VELMORA_PORTS");
    QVERIFY(QCoreApplication::arguments().contains("--demo"));
}

void DemoTest::theDemoTabletIsCom1OfAPrivateFolder() {
    frmQuillmaxSerial* console = StartConsole();
    QVERIFY(app::Demo());
    const QString folder = app::Demo()->portsFolder();
    QCOMPARE(QFileInfo(folder).absolutePath(), tempFolder);
    QVERIFY(folder != QString::fromLocal8Bit(portsBefore));
    QCOMPARE(qgetenv("VELMORA_PORTS"), folder.toLocal8Bit());
    QCOMPARE(QDir(folder).entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot),
             QStringList{"COM1"});
    QCOMPARE(DemoTablet().linkPath(), (folder + "/COM1").toStdString());
    QCOMPARE(QFileInfo(folder + "/COM1").symLinkTarget(), QString::fromStdString(DemoTablet().devicePath()));
    // The windows are those of every run: the same title, nothing searched yet, and --demo is not part
    // of the command line the search reads.
    QCOMPARE(console->windowTitle(), QString("Lumacor Velmora LT Uploader/Downloader Tool"));
    QCOMPARE(app::ProgramCommandLine(), std::string());
    QCOMPARE(intComPort, short(0));
    QCOMPARE(console->lblConnected->text(), QString());
    QVERIFY(!console->cmdDownload->isEnabled());
}

void DemoTest::theDemoTabletHoldsSampleSettings() {
    StartConsole();
    const sim::TabletState state = DemoTablet().state();
    const app::DemoSettings sample = app::SampleDemoSettings();
    QCOMPARE(state.companyName, sample.companyName);
    QCOMPARE(state.menuTitle, sample.menuTitle);
    QCOMPARE(state.password, sample.password);
    QVERIFY(!state.companyName.empty() && !state.menuTitle.empty() && !state.password.empty());
    QVERIFY(state.companyName.size() <= 30 && state.menuTitle.size() <= 30 && state.password.size() <= 10);
    QVERIFY(QString::fromStdString(state.password).contains(QRegularExpression("^[0-9]+$")));
    // The clock as the console's "Set &Date/Time" sends it: M/D/YY/H:M.
    QVERIFY2(
        QString::fromStdString(state.clock)
            .contains(QRegularExpression(R"(^([1-9]|1[0-2])/([1-9]|[12][0-9]|3[01])/\d\d/\d{1,2}:\d{1,2}$)")),
        state.clock.c_str());
    QCOMPARE(state.resets, 0);
}

void DemoTest::theSearchFindsItOnPort1() {
    frmQuillmaxSerial* console = SearchedDemo();
    QCOMPARE(console->lblConnected->text(), QString("1"));
    QCOMPARE(console->lblConnected->property("BackColor").toUInt(), 0x00FF00u);
    QCOMPARE(console->lblConnected->palette().color(QPalette::Window), QColor(0, 255, 0));
    QCOMPARE(intComPort, short(1));
    for (QPushButton* button :
         {console->cmdCustomerName, console->cmdTitle, console->cmdDateTime, console->cmdPassword,
          console->cmdReset, console->cmdUploadData, console->cmdDownload})
        QVERIFY2(button->isEnabled(), qPrintable(button->objectName()));
    QVERIFY(console->MSComm1.PortOpen());
}

void DemoTest::downloadsTwentyFiveRecordsAtTheLinesPace() {
    frmQuillmaxSerial* console = SearchedDemo();
    QCOMPARE(intComPort, short(1));
    const QString path = QDir::current().filePath("demo.vlm");
    ModalAnswerer answerer;
    answerer.pressInBox(QMessageBox::Ok); // "Download complete"
    SaveTo(answerer, path);
    // The progress bar as the window shows it while the records arrive.
    int highestBar = 0;
    QTimer watch;
    QObject::connect(&watch, &QTimer::timeout, [&] {
        if (console->ProgressBar1->isVisible())
            highestBar = std::max(highestBar, console->ProgressBar1->value());
    });
    watch.start(20);
    QElapsedTimer clock;
    clock.start();
    QTest::mouseClick(console->cmdDownload, Qt::LeftButton);
    const double seconds = clock.elapsed() / 1000.0;
    watch.stop();

    QVERIFY2(answerer.unexpected.isEmpty(), qPrintable(answerer.unexpected.join(", ")));
    QCOMPARE(answerer.pending(), 0);
    QCOMPARE(answerer.boxes, QList<SeenBox>({{"STATUS", "Download complete", QMessageBox::Information,
                                              QMessageBox::Ok, true}}));

    // The file is the tablet's 25 sample records as they came, after the wake-up's echoes.
    const std::string sample = sim::SampleVlm(app::kDemoRecords);
    QCOMPARE(DemoTablet().streamed(), sample);
    const std::string saved = vb::ReadAll(path.toStdString());
    const std::size_t records = saved.find_first_not_of(kEnq);
    QVERIFY(records != std::string::npos);
    QVERIFY(saved.substr(records) == sample);
    const viewer::RecordFileHeader header = viewer::ParseHeaderLine(HeaderLine(saved.substr(records)));
    QCOMPARE(header.recordCount, std::string("25"));
    QVERIFY(!header.customerName.empty());
    for (long n = 2; n <= 25; ++n)
        QVERIFY2(saved.find(viewer::RecordKey(n)) != std::string::npos, qPrintable(QString::number(n)));
    QCOMPARE(saved.find(viewer::RecordKey(26)), std::string::npos);

    // Paced as a real line: the stream alone takes its bytes / 10472 seconds.
    QVERIFY2(seconds >= sample.size() / kLineBytesPerSecond,
             qPrintable(QString("%1 bytes in %2 s").arg(sample.size()).arg(seconds)));
    // The wake-up's ENQs still waiting on the line when the download asked for the records were echoed
    // before them; when any were, the record count lies past position 4 and the bar moved on from 1.
    const std::string received = DemoTablet().received();
    qInfo("wake-up: %d ENQs, %d echoed before the records; bar up to %d in %.2f s",
          int(std::count(received.begin(), received.begin() + long(received.find('\x12')), kEnq)),
          int(records), highestBar, seconds);
    QCOMPARE(highestBar > 1, records > 0);
    QVERIFY(!console->ProgressBar1->isVisible());
}

void DemoTest::aSetValueReachesTheDemoTablet() {
    frmQuillmaxSerial* console = SearchedDemo();
    ModalAnswerer answerer;
    answerer.handle([](QWidget* dialog) {
        dialog->findChild<QLineEdit*>("txtResponse")->setText("Harbor Freight Co-op");
        dialog->findChild<QPushButton*>("cmdOK")->click();
    });
    answerer.pressInBox(QMessageBox::Ok);
    QTest::mouseClick(console->cmdCustomerName, Qt::LeftButton);
    QVERIFY2(answerer.unexpected.isEmpty(), qPrintable(answerer.unexpected.join(", ")));
    QCOMPARE(answerer.pending(), 0);
    QCOMPARE(answerer.boxes, QList<SeenBox>({{"UPDATE", "Company Name successfully updated",
                                              QMessageBox::Information, QMessageBox::Ok, true}}));
    QCOMPARE(DemoTablet().state().companyName, std::string("Harbor Freight Co-op"));
    // The other sample settings stay.
    QCOMPARE(DemoTablet().state().menuTitle, app::SampleDemoSettings().menuTitle);
}

void DemoTest::aResetReachesTheDemoTablet() {
    frmQuillmaxSerial* console = SearchedDemo();
    ModalAnswerer answerer;
    answerer.pressInBox(QMessageBox::Ok);
    QTest::mouseClick(console->cmdReset, Qt::LeftButton);
    QCOMPARE(answerer.pending(), 0);
    QCOMPARE(answerer.boxes, QList<SeenBox>({{"UPDATE", "Tablet successfully reset", QMessageBox::Information,
                                              QMessageBox::Ok, true}}));
    QCOMPARE(DemoTablet().state().resets, 1);
}

void DemoTest::anUploadReachesTheDemoTablet() {
    // Two records of a record data file: the named fields filled, and the first numbered ones.
    std::vector<sim::UploadedRecord> records;
    for (const char* name : {"Ada Park", "Bo Lindqvist"}) {
        sim::UploadedRecord record(111);
        record[0] = name;
        for (int field = 1; field < 15; ++field)
            record[field] = "field " + std::to_string(field);
        records.push_back(record);
    }
    const QString path = QDir::current().filePath("upload.txt");
    vb::WriteAll(path.toStdString(), sim::recordDataFile(records));
    frmQuillmaxSerial* console = SearchedDemo();
    ModalAnswerer answerer;
    answerer.chooseFile(path);
    answerer.pressInBox(QMessageBox::Ok);
    QTest::mouseClick(console->cmdUploadData, Qt::LeftButton);
    QCOMPARE(answerer.pending(), 0);
    QCOMPARE(answerer.boxes, QList<SeenBox>({{"STATUS", "Upload complete", QMessageBox::Information,
                                              QMessageBox::Ok, true}}));
    QVERIFY(DemoTablet().waitForUploads(1, 10s));
    QCOMPARE(DemoTablet().uploads().size(), std::size_t(1));
    QVERIFY(DemoTablet().uploads()[0].records == records);
}

void DemoTest::theFolderIsGoneWhenTheProgramEnds() {
    frmQuillmaxSerial* console = SearchedDemo();
    QCOMPARE(intComPort, short(1));
    const QString folder = app::Demo()->portsFolder();
    QVERIFY(QFileInfo::exists(folder + "/COM1"));
    QTimer::singleShot(0, console->cmdCancel, [console] { console->cmdCancel->click(); });
    QCOMPARE(QApplication::exec(), 0);
    QVERIFY(!app::Demo());
    QVERIFY(!QFileInfo::exists(folder));
    QCOMPARE(qgetenv("VELMORA_PORTS"), portsBefore);
}

// The real program, ended by SIGTERM as a closed terminal or a kill ends it: the end goes through the
// program's own path, so the folder goes with it.
void DemoTest::aSignalEndsTheProgramAndRemovesTheFolder() {
    QProcess program;
    program.start(VELMORA_PROGRAM, {"--demo"});
    QVERIFY(program.waitForStarted(5000));
    QString hint;
    QVERIFY(QTest::qWaitFor(
        [&] {
            program.waitForReadyRead(50);
            hint += QString::fromLocal8Bit(program.readAllStandardError());
            return hint.contains("press \"Search for Velmora LT\"");
        },
        20000));
    const QRegularExpressionMatch port =
        QRegularExpression(R"(holding 25 sample records is on port 1 \((\S+)/COM1\))").match(hint);
    QVERIFY2(port.hasMatch(), qPrintable(hint));
    const QString folder = port.captured(1);
    QVERIFY(QFileInfo(folder).isDir());
    QVERIFY(QFileInfo(folder + "/COM1").isSymLink());
    QCOMPARE(QFileInfo(folder).absolutePath(), tempFolder);
    // Up and waiting for the user.
    QVERIFY(!program.waitForFinished(500));
    ::kill(pid_t(program.processId()), SIGTERM);
    QVERIFY(program.waitForFinished(10000));
    QCOMPARE(program.exitStatus(), QProcess::NormalExit);
    QCOMPARE(program.exitCode(), 0);
    QVERIFY(!QFileInfo::exists(folder));
}

// The program is started as "velmora --demo"; the test's own arguments go to Qt Test.
int main(int argc, char** argv) {
    char program[] = "velmora";
    char demo[] = "--demo";
    char* programArgv[] = {program, demo, nullptr};
    int programArgc = 2;
    QApplication app(programArgc, programArgv);
    DemoTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_demo.moc"
