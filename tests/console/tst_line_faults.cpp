// The tablet unplugged in the middle of every operation: the search, each stage of each command, the
// download and both uploads. Whatever the operation shows or keeps silent about, the program must not
// crash, must not wait beyond its own time-outs, must give the port up when the next search runs, and must
// work with the tablet once it is plugged in again. A download keeps what arrived before the line fell
// silent.
//
// The emulated tablet "unplugs" by closing its side of the pty for good: the program's descriptor stays
// valid but hung up (writes fail, reads give nothing), and the port's device is gone. Plugging it in again
// is a new tablet on the next port.
#include "app/globals.h"
#include "console/console_window.h"
#include "platform/file_system.h"
#include "platform/lock_file.h"
#include "sample_records.h"
#include "support/found_tablet.h"
#include "support/modal_answerer.h"
#include "support/program.h"
#include "support/tablet_answers.h"
#include "upload/form1.h"

#include <QElapsedTimer>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <algorithm>
#include <functional>

using namespace testing_support;
using namespace std::chrono_literals;

namespace {

constexpr int kPort = FoundTablet::kPort;
// The idle delay and the text upload's pause at a quarter of their length keep the test short; the
// downloads take the full idle delay.
constexpr char kShortDelayScale[] = "0.25";
const std::string kEnq = "\x05";

// Answers every modal window the operation brings up, whatever their number: message boxes with OK (or
// their first button), the value entry dialog with a value, file dialogs with the path the operation
// wants. It notes what it saw, for the failure messages.
class AnyModalAnswerer : public QObject {
public:
    AnyModalAnswerer() {
        connect(&timer, &QTimer::timeout, this, &AnyModalAnswerer::answer);
        timer.start(5);
    }
    QString filePath;
    QStringList seen;

private:
    void answer() {
        QWidget* modal = QApplication::activeModalWidget();
        if (!modal || modal == answered) return;
        answered = modal;
        if (auto* box = qobject_cast<QMessageBox*>(modal)) {
            seen << "box " + box->windowTitle() + ": " + box->text();
            QAbstractButton* ok = box->button(QMessageBox::Ok);
            (ok ? ok : box->buttons().value(0))->click();
        } else if (auto* dialog = qobject_cast<QFileDialog*>(modal)) {
            seen << "file dialog " + dialog->windowTitle();
            testing_support::ChooseInDialog(dialog, filePath);
        } else if (auto* value = modal->findChild<QLineEdit*>("txtResponse")) {
            seen << "value entry " + modal->windowTitle();
            value->setText("1234");
            modal->findChild<QPushButton*>("cmdOK")->click();
        } else {
            seen << "other " + modal->windowTitle();
            modal->close();
        }
    }
    QTimer timer;
    QPointer<QWidget> answered;
};

// A record data file of two records for the data upload, and a text for the text upload.
std::string RecordDataFile() {
    std::string file;
    for (int record = 1; record <= 2; ++record)
        for (int line = 1; line <= 112; ++line)
            file +=
                (line == 112 ? std::string() : "R" + std::to_string(record) + "L" + std::to_string(line)) +
                "\r\n";
    return file;
}
// A text long enough that the upload is still writing when the tablet, reading as fast as it can, meets the
// one Z in its middle.
std::string UploadText() {
    std::string text;
    for (int line = 1; line <= 1500; ++line)
        text += (line == 100 ? "here the tablet is unplugged: Z"
                             : "uploaded text, line " + std::to_string(line)) +
                "\r\n";
    return text;
}

enum class Operation {
    Search,
    CompanyName,
    Title,
    Password,
    DateTime,
    Reset,
    Download,
    DataUpload,
    TextUpload
};

} // namespace

Q_DECLARE_METATYPE(Operation)
Q_DECLARE_METATYPE(sim::Faults)

class LineFaultsTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void unpluggedTabletThenPluggedInAgain_data();
    void unpluggedTabletThenPluggedInAgain();

private:
    QTemporaryDir files;
    QTemporaryDir locks;
};

void LineFaultsTest::initTestCase() {
    qputenv("VELMORA_TICK_MS", "2");
    qputenv("VELMORA_DELAY_SCALE", kShortDelayScale);
    qputenv("VELMORA_LOCK_DIR", locks.path().toLocal8Bit());
}

void LineFaultsTest::unpluggedTabletThenPluggedInAgain_data() {
    QTest::addColumn<Operation>("operation");
    QTest::addColumn<sim::Faults>("faults");
    // Unplugged on receiving the byte: its answer never comes. After the byte's answer: the operation
    // has read it and goes on writing into a dead line.
    auto before = [](char byte) { return sim::Faults{.noEcho = std::string(1, byte), .hangUpOn = byte}; };
    auto after = [](char byte) { return sim::Faults{.hangUpOn = byte}; };
    QTest::newRow("search, before the ENQ's echo") << Operation::Search << before('\x05');
    const std::pair<const char*, Operation> textSettings[] = {{"company name", Operation::CompanyName},
                                                              {"menu title", Operation::Title},
                                                              {"password", Operation::Password}};
    const char commandBytes[] = {'\x03', '\x09', '\x10'};
    for (int i = 0; i < 3; ++i) {
        const auto [name, operation] = textSettings[i];
        QTest::addRow("%s, before the command's echo", name) << operation << before(commandBytes[i]);
        QTest::addRow("%s, after the command's echo", name) << operation << after(commandBytes[i]);
        QTest::addRow("%s, before the value's echo", name) << operation << before('\r');
    }
    QTest::newRow("date and time, before the command's echo") << Operation::DateTime << before('\x14');
    QTest::newRow("date and time, after the command's echo") << Operation::DateTime << after('\x14');
    QTest::newRow("date and time, before the value's echo") << Operation::DateTime << before('\r');
    QTest::newRow("reset, before the EOT's echo") << Operation::Reset << before('\x04');
    QTest::newRow("download, during the wake-up") << Operation::Download << before('\x05');
    QTest::newRow("download, before the stream")
        << Operation::Download << sim::Faults{.streamHangUpAfter = std::size_t(0)};
    QTest::newRow("download, in mid-stream")
        << Operation::Download << sim::Faults{.streamHangUpAfter = std::size_t(5000)};
    QTest::newRow("data upload, before the handshake's echo") << Operation::DataUpload << before('\x05');
    QTest::newRow("data upload, after the handshake") << Operation::DataUpload << after('\x05');
    QTest::newRow("data upload, in mid-file") << Operation::DataUpload << after('7');
    QTest::newRow("text upload, before the handshake's echo") << Operation::TextUpload << before('\x05');
    QTest::newRow("text upload, in mid-text") << Operation::TextUpload << after('Z');
}

void LineFaultsTest::unpluggedTabletThenPluggedInAgain() {
    QFETCH(Operation, operation);
    QFETCH(sim::Faults, faults);
    FoundTablet run;
    QVERIFY(run.found);
    const std::string stream = sim::SampleVlm(10);
    run.tablet->setRecords(stream);
    const std::string firstDevice = run.tablet->devicePath();
    AnyModalAnswerer answerer;
    frmQuillmaxSerial* console = run.console;

    QElapsedTimer took;
    took.start();
    switch (operation) {
    case Operation::Search:
        // Unplugged while the search waits for its answer: a tablet of its own that was never found.
        run.tablet->setFaults(faults);
        console->cmdSearch->click();
        QVERIFY(!console->cmdDownload->isEnabled()); // not found: the device buttons stay disabled
        break;
    case Operation::CompanyName:
    case Operation::Title:
    case Operation::Password:
    case Operation::DateTime:
    case Operation::Reset: {
        run.tablet->setFaults(faults);
        QPushButton* const buttons[] = {console->cmdCustomerName, console->cmdTitle, console->cmdPassword,
                                        console->cmdDateTime, console->cmdReset};
        buttons[int(operation) - int(Operation::CompanyName)]->click();
        break;
    }
    case Operation::Download:
        answerer.filePath = files.filePath("unplugged.vlm");
        run.tablet->setFaults(faults);
        if (!faults.hangUpOn) QVERIFY(AtThePort(*run.tablet, kEnq));
        // The idle delay at its full length (four of them, 600 ms, end the download): the emulated tablet
        // shares a busy machine with other tests, and a pause of its own in mid-stream must not pass for
        // the silence of a tablet that has gone.
        qputenv("VELMORA_DELAY_SCALE", "1");
        console->cmdDownload->click();
        qputenv("VELMORA_DELAY_SCALE", kShortDelayScale);
        break;
    case Operation::DataUpload:
        answerer.filePath = files.filePath("records.txt");
        vb::WriteAll(answerer.filePath.toStdString(), RecordDataFile());
        run.tablet->setFaults(faults);
        console->cmdUploadData->click();
        break;
    case Operation::TextUpload: {
        // Two serial controls of one program cannot hold one port: the console's, left open by the search,
        // is closed as a finished command closes it.
        console->MSComm1.setPortOpen(false);
        Form1* form = ShowTextUploader();
        form->SetText1Text(UploadText());
        run.tablet->setFaults(faults);
        run.tablet->setLineRateReading(true); // as a real line, which holds the writes back
        if (faults.noEcho.empty()) QVERIFY(AtThePort(*run.tablet, kEnq)); // the tablet announces itself
        form->cmdUpload->click();
        // A failed write reaches the text uploader's trap, which shows its description and leaves the port
        // open, as its error path says; only ending the program closes it (its next upload would say the
        // port is already open, and the console's search would stop at the busy port). The program is
        // started again here.
        QVERIFY2(answerer.seen.join(" | ").startsWith("box ERROR: "), qPrintable(answerer.seen.join(" | ")));
        QVERIFY(!form->MSComm1.PortOpen() ||
                answerer.seen[0].startsWith("box ERROR: The device is not open"));
        UnloadTextUploader();
        break;
    }
    }
    const qint64 operationMs = took.elapsed();
    const QString seen = answerer.seen.join(" | ");
    // With 2 ms ticks the longest time-out of any operation is about a second.
    QVERIFY2(operationMs < 20000, qPrintable(QString("%1 ms: %2").arg(operationMs).arg(seen)));
    QVERIFY2(QTest::qWaitFor([&] { return QApplication::activeModalWidget() == nullptr; }, 5000),
             qPrintable(seen));

    if (operation == Operation::Download && faults.streamHangUpAfter) {
        // The silence rule: what arrived before the line went quiet is the download, saved whole.
        const std::string saved = vb::ReadAll(answerer.filePath.toStdString());
        const std::size_t start = saved.find_first_not_of(kEnq);
        const std::string records = saved.substr(start == std::string::npos ? saved.size() : start);
        const std::string sent = stream.substr(0, *faults.streamHangUpAfter);
        QVERIFY2(records == sent,
                 qPrintable(
                     QString("saved %1 bytes after %2 ENQs, the tablet sent %3; they differ "
                             "from byte %4")
                         .arg(records.size())
                         .arg(saved.size() - records.size())
                         .arg(sent.size())
                         .arg(std::mismatch(records.begin(), records.end(), sent.begin(), sent.end()).first -
                              records.begin())));
    }

    // Plugged in again, into the next socket: a new tablet on COM4, while COM3 still leads to the dead
    // device (which keeps its name, so its lock file cannot be mistaken for the new one's). The search
    // closes whatever the operation left open, gives the dead device's lock up, passes the dead port and
    // finds the tablet; a command then works.
    sim::Tablet back(run.ports.path(), kPort + 1);
    answerer.seen.clear();
    QVERIFY(SearchWithTheAnswerWaiting(*console, back));
    QCOMPARE(console->lblConnected->text(), QString::number(kPort + 1));
    QVERIFY(console->cmdReset->isEnabled());
    QVERIFY2(!vb::FileExists(vb::LockFileFor(firstDevice)), "the unplugged device's lock was kept");
    console->cmdReset->click();
    QCOMPARE(answerer.seen, QStringList{"box UPDATE: Tablet successfully reset"});
    QCOMPARE(back.state().resets, 1);
}

VELMORA_PROGRAM_TEST_MAIN(LineFaultsTest)
#include "tst_line_faults.moc"
