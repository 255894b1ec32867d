// "Download &VLM File" against the emulated tablet over a real pty: the wake-up, the record stream saved
// byte for byte, the progress bar, the save dialog and what ends the download without saving.
//
// The idle delay is scaled to a quarter (37.5 ms at "Normal Speed"), so a download ends after the line
// has been silent for about 150 ms. The emulated tablet never leaves a gap of more than one of its 10 ms
// poll ticks inside a stream, so the end is only ever seen after the whole stream has arrived, with a
// margin of fifteen ticks for a busy machine that wakes its thread late.
#include "app/globals.h"
#include "console/console_window.h"
#include "platform/file_system.h"
#include "platform/timing.h"
#include "sample_records.h"
#include "support/device_command_run.h"
#include "support/program.h"
#include "support/tablet_answers.h"

#include <QComboBox>
#include <QFileDialog>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

using namespace testing_support;
using namespace std::chrono_literals;

namespace {

const std::string kEnq = "\x05";
const std::string kStart = "\x12\x0F"; // DC2 SI

// The console found the tablet; the test saves what the download brings into a folder of its own.
struct DownloadRun : DeviceCommandRun {
    QTemporaryDir files;
    QStringList dialogFilters;
    QString dialogFilter;

    std::string file(const QString& name) const { return files.filePath(name).toStdString(); }

    // Queues OK for "Download complete" and `path` for the save dialog, noting the dialog's filters.
    void answerAndSaveTo(const std::string& path) {
        answerer.pressInBox(QMessageBox::Ok);
        answerer.handle([this, path](QWidget* widget) {
            auto* dialog = qobject_cast<QFileDialog*>(widget);
            if (!dialog) {
                answerer.unexpected << widget->windowTitle();
                widget->close();
                return;
            }
            dialogFilters = dialog->nameFilters();
            dialogFilter = dialog->selectedNameFilter();
            answerer.fileDialogs << dialog->windowTitle();
            testing_support::ChooseInDialog(dialog, QString::fromStdString(path));
        });
    }

    // Starts the download with the tablet's answer to the first wake-up write already at the port.
    void download() {
        QVERIFY(AtThePort(*tablet, kEnq));
        clickDownload();
    }
    void clickDownload() { QTest::mouseClick(console->cmdDownload, Qt::LeftButton); }
};

// The last message box the answerer saw, for a failure message ("none" when there was none).
QString LastBoxSeen(const ModalAnswerer& answerer) {
    if (answerer.boxes.isEmpty()) return "none";
    const std::unique_ptr<char[]> text(toString(answerer.boxes.last()));
    return QString::fromUtf8(text.get());
}

// How many ENQ bytes the text begins with.
std::size_t LeadingEnqs(const std::string& text) {
    const std::size_t first = text.find_first_not_of(kEnq);
    return first == std::string::npos ? text.size() : first;
}

// A record file whose header gives `count` and whose one record carries `signature`. A byte of junk
// before the count (the viewer drops such bytes) puts the first quote past position 4 whatever number
// of wake-up echoes comes before the stream, so the download always reads the count.
std::string RecordFile(const std::string& count, const std::string& signature = "sig") {
    std::string vlm = "#" + count + "\"ACME\"Menu\r\n001\"112420261530\"";
    for (int field = 0; field < sim::kRecordFields; ++field)
        vlm += "f" + std::to_string(field) + "\"";
    return vlm + signature + "\r\n";
}

} // namespace

class RecordDownloadTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void streamIsSavedExactlyAsSent();
    void twentyDownloadsInARowAreSavedWhole();
    void signatureBytesSurviveUnchanged();
    void progressBarFollowsTheCountAndEachNotification();
    void wakeUpGivesUpAfter2500Tries();
    void cancelledSaveKeepsTheTextAndThePortOpen();
    void cancelAfterTheViewerRaisesTheCancelError();
    void fileThatCannotBeCreatedSavesNothing_data();
    void fileThatCannotBeCreatedSavesNothing();
    void countThatStopsTheDownload_data();
    void countThatStopsTheDownload();
    void withoutACountTheWholeStreamIsSaved();
    void quoteAtPosition4OrEarlierNeverStartsTheBar();
    void hangUpInMidStreamSavesWhatArrived();
    void unattendedDownloadWritesTheCommandLineFile();
    void idleDelayOfEachRate_data();
    void idleDelayOfEachRate();
};

void RecordDownloadTest::initTestCase() {
    qputenv("VELMORA_DELAY_SCALE", "0.25");
    // The temporary folders live in a folder of this test's own, which is also the working folder: the
    // save dialog reads into the files of the folders it shows, and a shared folder may hold pipes or
    // devices that block such a read.
    QDir own(QCoreApplication::applicationDirPath() + "/tst_record_download-files");
    own.removeRecursively();
    QVERIFY(own.mkpath("."));
    qputenv("TMPDIR", own.path().toLocal8Bit());
    QVERIFY(QDir::setCurrent(own.path())); // where the save dialog first looks
}

void RecordDownloadTest::streamIsSavedExactlyAsSent() {
    DownloadRun run;
    QVERIFY(run.found);
    const std::string sample = sim::SampleVlm(50);
    run.tablet->setRecords(sample);
    const std::string path = run.file("records.vlm");
    run.answerAndSaveTo(path);
    run.download();

    QVERIFY2(run.answerer.unexpected.isEmpty(), qPrintable(run.answerer.unexpected.join(", ")));
    QCOMPARE(run.answerer.pending(), 0);
    // "Download complete" came first, then the save dialog for record files.
    QCOMPARE(run.answerer.boxes, QList<SeenBox>({{"STATUS", "Download complete", QMessageBox::Information,
                                                  QMessageBox::Ok, true}}));
    QCOMPARE(run.dialogFilters, QStringList({"VLM Files (*.vlm)"}));
    QCOMPARE(run.dialogFilter, QString("VLM Files (*.vlm)"));
    QCOMPARE(run.tablet->streamed(), sample);

    // The file is the stream as it came, preceded by nothing but the wake-up's echoes.
    const std::string saved = vb::ReadAll(path);
    const std::size_t enqs = LeadingEnqs(saved);
    QCOMPARE(saved.substr(enqs), sample);

    // The final ENQ went out after the start bytes, and the port is closed; the text is let go.
    QVERIFY(run.tablet->waitForReceived(run.tablet->received().find(kStart) + 3, 2s));
    const std::string received = run.tablet->received();
    QVERIFY(LeadingEnqs(received) >= 1);
    QCOMPARE(received.substr(LeadingEnqs(received)), kStart + kEnq);
    QVERIFY(!run.console->MSComm1.PortOpen());
    QCOMPARE(run.console->vntInBuffer, std::string());
    QVERIFY(!run.console->ProgressBar1->isVisible());
    QVERIFY(!run.console->Command3->isEnabled());
    QCOMPARE(run.console->cursor().shape(), Qt::ArrowCursor);
}

// Every download must wake the tablet and save the whole stream, however many echoes of earlier wake-ups
// and final ENQs wait at the port when it starts: only ENQ bytes may come before the stream.
void RecordDownloadTest::twentyDownloadsInARowAreSavedWhole() {
    DownloadRun run;
    QVERIFY(run.found);
    const std::string sample = sim::SampleVlm(3, 7);
    run.tablet->setRecords(sample);
    for (int i = 1; i <= 20; ++i) {
        const std::string path = run.file(QString("download-%1.vlm").arg(i));
        run.answerAndSaveTo(path);
        run.tablet->clearReceived();
        run.download();
        QVERIFY2(run.answerer.unexpected.isEmpty(), qPrintable(run.answerer.unexpected.join(", ")));
        QVERIFY2(run.answerer.pending() == 0,
                 qPrintable(QString("download %1: %2").arg(i).arg(LastBoxSeen(run.answerer))));
        const std::string saved = vb::ReadAll(path);
        QVERIFY2(saved.substr(LeadingEnqs(saved)) == sample,
                 qPrintable(QString("download %1: %2 ENQ bytes received before the start")
                                .arg(i)
                                .arg(run.tablet->received().find(kStart))));
        QVERIFY(!run.console->MSComm1.PortOpen());
    }
    QCOMPARE(run.answerer.boxes.size(), 20);
}

void RecordDownloadTest::signatureBytesSurviveUnchanged() {
    DownloadRun run;
    QVERIFY(run.found);
    std::string signature(1, '\0');
    for (int byte = 0x80; byte <= 0xFF; ++byte)
        signature += char(byte);
    signature += std::string("\0\x01\x1A\x7F", 4);
    const std::string vlm = RecordFile("001", signature);
    run.tablet->setRecords(vlm);
    const std::string path = run.file("signature.vlm");
    run.answerAndSaveTo(path);
    run.download();
    QCOMPARE(run.answerer.pending(), 0);
    const std::string saved = vb::ReadAll(path);
    QCOMPARE(saved.substr(LeadingEnqs(saved)), vlm);
}

// The bar starts at minimum 1 and value 1, takes ten times the count as its maximum once the count is
// seen, and gains one step per receive notification from then on, staying at its maximum once there.
// The tablet sends one more byte each time the program has read the last, so each notification reads
// exactly one piece.
void RecordDownloadTest::progressBarFollowsTheCountAndEachNotification() {
    DownloadRun run;
    QVERIFY(run.found);
    // A byte before the count puts the quote past position 4 whatever the wake-up left before it.
    run.tablet->setRecords("#001\"ACME\"Menu\r\n");
    constexpr int kPieces = 14;
    int sent = 0;
    struct Seen {
        int min, value, max;
        bool visible;
    };
    QList<Seen> seen;
    QProgressBar* bar = run.console->ProgressBar1;
    // Queued behind the console's own notification, so it sees what that notification did.
    QObject scope;
    connect(
        &run.console->MSComm1, &vb::MSComm::OnComm, &scope,
        [&] {
            if (run.console->vntInBuffer.find('"') == std::string::npos) return; // wake-up echoes
            seen << Seen{bar->minimum(), bar->value(), bar->maximum(), bar->isVisible()};
            if (sent < kPieces) {
                ++sent;
                run.tablet->send("x");
            }
        },
        Qt::QueuedConnection);
    run.answerAndSaveTo(run.file("bar.vlm"));
    run.download();
    QCOMPARE(run.answerer.pending(), 0);

    QCOMPARE(seen.size(), 1 + kPieces);
    QList<int> values;
    for (const Seen& at : seen) {
        QCOMPARE(at.min, 1);
        QVERIFY(at.visible);
        values << at.value;
    }
    // The header's notification comes before the count is seen; then 2 to 10, then the maximum holds.
    QCOMPARE(values, QList<int>({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 10, 10, 10, 10, 10}));
    for (qsizetype i = 1; i < seen.size(); ++i)
        QCOMPARE(seen[i].max, 10);
    // After the download the bar is hidden and back at 1.
    QVERIFY(!bar->isVisible());
    QVERIFY(!bar->isEnabled());
    QCOMPARE(bar->value(), 1);
}

void RecordDownloadTest::wakeUpGivesUpAfter2500Tries() {
    DownloadRun run;
    QVERIFY(run.found);
    run.tablet->setFaults({.silent = true});
    bool openAtBox = false;
    run.answerer.handle([&](QWidget* widget) {
        openAtBox = run.console->MSComm1.PortOpen();
        run.answerer.boxes << Describe(qobject_cast<QMessageBox*>(widget));
        qobject_cast<QMessageBox*>(widget)->button(QMessageBox::Ok)->click();
    });
    run.clickDownload();
    QCOMPARE(run.answerer.pending(), 0);
    QCOMPARE(run.answerer.boxes, QList<SeenBox>({FailureBox()}));
    QVERIFY(openAtBox);
    QVERIFY(!run.console->MSComm1.PortOpen());
    QVERIFY(run.tablet->waitForReceived(2500, 2s));
    QCOMPARE(run.tablet->received(), std::string(2500, '\x05'));
    QVERIFY(run.answerer.fileDialogs.isEmpty());
}

void RecordDownloadTest::cancelledSaveKeepsTheTextAndThePortOpen() {
    DownloadRun run;
    QVERIFY(run.found);
    const std::string sample = sim::SampleVlm(2);
    run.tablet->setRecords(sample);
    run.answerer.pressInBox(QMessageBox::Ok);
    run.answerer.cancelFileDialog();
    run.download();
    QCOMPARE(run.answerer.pending(), 0);
    QVERIFY(run.answerer.unexpected.isEmpty());
    const std::string kept = run.console->vntInBuffer;
    QCOMPARE(kept.substr(LeadingEnqs(kept)), sample);
    QVERIFY(run.console->MSComm1.PortOpen());
    QCOMPARE(QDir(run.files.path()).entryList(QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot),
             QStringList());
    // No final ENQ: the download ended at the dialog.
    const std::string received = run.tablet->received();
    QCOMPARE(received.substr(received.find(kStart)), kStart);
}

// The console's file dialog is shared with "&View VLM File", which switches CancelError on after its
// first dialog; a save cancelled after that raises the cancel error, which leaves the pointer and the bar
// as they are at that moment.
void RecordDownloadTest::cancelAfterTheViewerRaisesTheCancelError() {
    DownloadRun run;
    QVERIFY(run.found);
    run.tablet->setRecords(sim::SampleVlm(1));
    run.console->CommonDialog1.CancelError = true; // as the viewer leaves it
    run.answerer.pressInBox(QMessageBox::Ok);
    run.answerer.handle([&](QWidget* dialog) {
        run.console->setCursor(Qt::CrossCursor);
        run.console->ProgressBar1->setVisible(true);
        static_cast<QDialog*>(dialog)->reject();
    });
    run.download();
    QCOMPARE(run.answerer.pending(), 0);
    QCOMPARE(run.console->cursor().shape(), Qt::CrossCursor);
    QVERIFY(run.console->ProgressBar1->isVisible());
    QVERIFY(!run.console->Command3->isEnabled());
    QVERIFY(run.console->MSComm1.PortOpen());
    QVERIFY(!run.console->vntInBuffer.empty());
    QCOMPARE(run.answerer.boxes.size(), 1); // "Download complete" only
}

void RecordDownloadTest::fileThatCannotBeCreatedSavesNothing_data() {
    QTest::addColumn<QString>("where");
    QTest::addColumn<bool>("unattended");
    // The save dialog opens a folder rather than return it, so a folder comes from the command line.
    QTest::newRow("a folder") << "folder" << true;
    QTest::newRow("a read-only folder") << "read-only" << false;
    QTest::newRow("a place where no one may create files") << "proc" << true;
    QTest::newRow("a folder that does not exist") << "missing" << true;
}

// The trap ends the download with no message: no file, the pointer and the bar put back, the received
// text kept and the port left open.
void RecordDownloadTest::fileThatCannotBeCreatedSavesNothing() {
    QFETCH(QString, where);
    QFETCH(bool, unattended);
    DownloadRun run;
    QVERIFY(run.found);
    std::string path;
    if (where == "folder") {
        path = run.file("a folder.vlm");
        QVERIFY(QDir(run.files.path()).mkdir("a folder.vlm"));
    } else if (where == "read-only") {
        if (geteuid() == 0) QSKIP("permissions do not bind the superuser");
        QVERIFY(QDir(run.files.path()).mkdir("locked"));
        QVERIFY(chmod(run.file("locked").c_str(), 0555) == 0);
        path = run.file("locked/records.vlm");
    } else if (where == "proc") {
        path = "/proc/records.vlm";
    } else {
        path = run.file("nowhere/records.vlm");
    }
    if (unattended) {
        run.console->blnCmdLine = true;
        run.console->strCmdFile = path;
    } else {
        run.answerAndSaveTo(path);
    }
    run.download();
    QCOMPARE(run.answerer.pending(), 0);
    QVERIFY(run.answerer.unexpected.isEmpty());
    QCOMPARE(run.answerer.boxes.size(), unattended ? 0 : 1); // at most "Download complete"
    QVERIFY(!vb::FileExists(path));
    QVERIFY(run.console->MSComm1.PortOpen());
    QVERIFY(!run.console->vntInBuffer.empty());
    QCOMPARE(run.console->cursor().shape(), Qt::ArrowCursor);
    QVERIFY(!run.console->ProgressBar1->isVisible());
    chmod(run.file("locked").c_str(), 0755);
}

void RecordDownloadTest::countThatStopsTheDownload_data() {
    QTest::addColumn<QString>("count");
    QTest::newRow("not a number") << "ab5";
    QTest::newRow("zero: a maximum not above the minimum") << "000";
}

// The count is read in the receive loop: a count that is no number, or one that gives the bar no room,
// ends the download in the trap, before any box, with nothing saved.
void RecordDownloadTest::countThatStopsTheDownload() {
    QFETCH(QString, count);
    DownloadRun run;
    QVERIFY(run.found);
    run.tablet->setRecords(RecordFile(count.toStdString()));
    run.download();
    QVERIFY(run.answerer.boxes.isEmpty());
    QVERIFY(run.answerer.unexpected.isEmpty());
    QVERIFY(run.answerer.fileDialogs.isEmpty());
    QVERIFY(!run.console->blnDownloading);
    QVERIFY(run.console->MSComm1.PortOpen());
    QCOMPARE(run.console->cursor().shape(), Qt::ArrowCursor);
    QVERIFY(!run.console->ProgressBar1->isVisible());
    QCOMPARE(run.console->ProgressBar1->value(), 1);
    QVERIFY(!run.console->Command3->isEnabled());
}

// With no double quote the count is never seen: the bar keeps its start values, and the download still
// ends with "Download complete" and saves the whole stream.
void RecordDownloadTest::withoutACountTheWholeStreamIsSaved() {
    DownloadRun run;
    QVERIFY(run.found);
    const int maximumBefore = run.console->ProgressBar1->maximum();
    const std::string stream = "no count here\r\n\x01\x80\xFF tail";
    run.tablet->setRecords(stream);
    const std::string path = run.file("no-count.vlm");
    run.answerAndSaveTo(path);
    run.download();
    QCOMPARE(run.answerer.pending(), 0);
    QCOMPARE(run.answerer.boxes.size(), 1);
    QCOMPARE(run.answerer.boxes[0].text, QString("Download complete"));
    QVERIFY(!run.console->blnDownloading);
    QCOMPARE(run.console->ProgressBar1->maximum(), maximumBefore);
    const std::string saved = vb::ReadAll(path);
    QCOMPARE(saved.substr(LeadingEnqs(saved)), stream);
}

// The quote's position counts in the received text, wake-up echoes included: a stream that begins with
// its quote starts the bar only when four or more echoes came before it, and then the "count" is three
// ENQ bytes, no number, which ends the download unsaved. Either way the rule is checked against the
// echoes that actually came.
void RecordDownloadTest::quoteAtPosition4OrEarlierNeverStartsTheBar() {
    DownloadRun run;
    QVERIFY(run.found);
    const std::string stream = "\"ACME\"Menu\r\n";
    run.tablet->setRecords(stream);
    const std::string path = run.file("early-quote.vlm");
    run.answerAndSaveTo(path);
    run.download();
    QVERIFY(run.answerer.unexpected.isEmpty());
    if (vb::FileExists(path)) {
        const std::string saved = vb::ReadAll(path);
        QVERIFY2(LeadingEnqs(saved) + 1 <= 4, "saved although the quote stood past position 4");
        QCOMPARE(saved.substr(LeadingEnqs(saved)), stream);
        QVERIFY(!run.console->blnDownloading);
        QCOMPARE(run.answerer.boxes.size(), 1);
    } else {
        const std::string kept = run.console->vntInBuffer;
        QVERIFY2(LeadingEnqs(kept) + 1 > 4, "not saved although the quote stood at position 4 or earlier");
        QCOMPARE(kept.substr(LeadingEnqs(kept)), stream);
        QVERIFY(run.answerer.boxes.isEmpty());
    }
}

void RecordDownloadTest::hangUpInMidStreamSavesWhatArrived() {
    DownloadRun run;
    QVERIFY(run.found);
    const std::string sample = sim::SampleVlm(10);
    run.tablet->setRecords(sample);
    sim::Faults faults;
    faults.streamHangUpAfter = sample.size() / 2;
    run.tablet->setFaults(faults);
    const std::string path = run.file("cut.vlm");
    run.answerAndSaveTo(path);
    run.download();
    QCOMPARE(run.answerer.pending(), 0);
    const std::string saved = vb::ReadAll(path);
    QCOMPARE(saved.substr(LeadingEnqs(saved)), sample.substr(0, sample.size() / 2));
}

void RecordDownloadTest::unattendedDownloadWritesTheCommandLineFile() {
    DownloadRun run;
    QVERIFY(run.found);
    const std::string sample = sim::SampleVlm(4);
    run.tablet->setRecords(sample);
    const std::string path = run.file("unattended.vlm");
    vb::WriteAll(path, "an older file, replaced");
    run.console->blnCmdLine = true;
    run.console->strCmdFile = path;
    run.download();
    QVERIFY(run.answerer.boxes.isEmpty());
    QVERIFY(run.answerer.unexpected.isEmpty());
    const std::string saved = vb::ReadAll(path);
    QCOMPARE(saved.substr(LeadingEnqs(saved)), sample);
    QVERIFY(!run.console->MSComm1.PortOpen());
}

void RecordDownloadTest::idleDelayOfEachRate_data() {
    QTest::addColumn<int>("index");
    QTest::addColumn<double>("delay");
    QTest::addColumn<double>("slower"); // the next slower rate's delay; 0 for the slowest
    QTest::newRow("Maximum Speed") << 1 << 250000.0 << 750000.0;
    QTest::newRow("Normal Speed") << 0 << 750000.0 << 1500000.0;
    QTest::newRow("Slow Speed!") << 2 << 1500000.0 << 0.0;
}

// The rate sets the idle delay: the download ends only after four delays of silence, and sooner than
// four delays of the next slower rate would allow. The delays are not scaled here (50, 150 and 300 ms),
// so the rates lie hundreds of milliseconds apart.
void RecordDownloadTest::idleDelayOfEachRate() {
    QFETCH(int, index);
    QFETCH(double, delay);
    QFETCH(double, slower);
    qputenv("VELMORA_DELAY_SCALE", "1");
    DownloadRun run;
    QVERIFY(run.found);
    run.console->cboDownload->setCurrentIndex(index);
    emit run.console->cboDownload->activated(index);
    QCOMPARE(run.console->dblDelay, delay);
    run.tablet->setRecords(RecordFile("001"));
    QElapsedTimer sinceLastByte;
    QObject scope;
    connect(&run.console->MSComm1, &vb::MSComm::OnComm, &scope, [&] { sinceLastByte.start(); });
    qint64 quietMs = -1;
    run.answerer.handle([&](QWidget* box) {
        quietMs = sinceLastByte.isValid() ? sinceLastByte.elapsed() : -1;
        qobject_cast<QMessageBox*>(box)->button(QMessageBox::Ok)->click();
    });
    run.answerer.cancelFileDialog();
    run.download();
    const qint64 least = qint64(4 * vb::BusyDelaySeconds(delay) * 1000);
    const qint64 below = qint64(4 * vb::BusyDelaySeconds(slower) * 1000);
    qputenv("VELMORA_DELAY_SCALE", "0.25");
    QCOMPARE(run.answerer.pending(), 0);
    const QString quiet = QString("%1 ms after the last byte").arg(quietMs);
    QVERIFY2(quietMs >= least, qPrintable(quiet));
    if (slower > 0) QVERIFY2(quietMs < below, qPrintable(quiet));
}

VELMORA_PROGRAM_TEST_MAIN(RecordDownloadTest)
#include "tst_record_download.moc"
