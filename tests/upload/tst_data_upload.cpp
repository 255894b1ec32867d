// "&Upload File" on the console against an emulated tablet found by the search: the handshake, the open
// dialog, the packed stream between FF and NUL, the progress bar, and each failure's reaction.
#include "app/globals.h"
#include "console/console_window.h"
#include "own_qt_settings.h"
#include "platform/errors.h"
#include "support/device_command_run.h"
#include "support/program.h"
#include "upload/packed_stream.h"
#include "upload_files.h"

#include <QFileDialog>
#include <QProgressBar>
#include <QPushButton>
#include <QTest>
#include <functional>

using namespace testing_support;
using namespace upload_testing;
using namespace std::chrono_literals;

namespace {

SeenBox StatusBox() {
    return {"STATUS", "Upload complete", QMessageBox::Information, QMessageBox::Ok, true};
}

QString Description(std::int64_t number) {
    return QString::fromStdString(vb::DefaultDescription(number));
}

// What the console showed when the upload's last box came up.
struct AtBox {
    bool barVisible = false;
    int barMinimum = -1, barMaximum = -1, barValue = -1;
    bool portOpen = false;
    std::int32_t position = -1;
};

} // namespace

class DataUploadTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();
    void sendsThePackedFileBetweenFfAndNul();
    void openDialogOffersTextFiles();
    void sendProcessesNoEventsButRedrawsTheBar();
    void completedUploadClearsTheCancelFlag();
    void cancelUploadOnlyRaisesItsFlag();
    void cancelInTheOpenDialogClosesThePortSilently();
    void readFailuresShowTheirDescriptionAndSendNothing_data();
    void readFailuresShowTheirDescriptionAndSendNothing();
    void fileWithNoRecordEndsSilently();
    void missingFileShowsItsError();
    void noHandshakeEchoGivesTheConnectionMessage();

private:
    void upload() { run->console->cmdUploadData->click(); }
    // Queues the open dialog's answer: the file at `path`.
    void choose(const QString& path) { run->answerer.chooseFile(path); }

    std::unique_ptr<DeviceCommandRun> run;
    std::unique_ptr<TestFiles> files;
};

void DataUploadTest::initTestCase() {
    qputenv("VELMORA_TICK_MS", "2");
}

void DataUploadTest::init() {
    files = std::make_unique<TestFiles>();
    run = std::make_unique<DeviceCommandRun>();
    QVERIFY(run->found);
}

void DataUploadTest::cleanup() {
    QVERIFY2(run->answerer.unexpected.isEmpty(), qPrintable(run->answerer.unexpected.join(", ")));
    QCOMPARE(run->answerer.pending(), 0);
    run.reset();
    files.reset();
}

void DataUploadTest::sendsThePackedFileBetweenFfAndNul() {
    const std::string file = NumberedLines(112, {3, 40, 112});
    const std::string packed = upload::PackRecordFile(file);
    const QString path = files->write("record.txt", file);
    frmQuillmaxSerial* console = run->console;
    AtBox atBox;
    ShownBoxSpy spy([&](QMessageBox*) {
        atBox = {console->ProgressBar1->isVisible(), console->ProgressBar1->minimum(),
                 console->ProgressBar1->maximum(),   console->ProgressBar1->value(),
                 console->MSComm1.PortOpen(),        console->lngUploadPosition};
    });
    choose(path);
    run->answerer.pressInBox(QMessageBox::Ok);
    upload();

    QCOMPARE(run->answerer.boxes, QList<SeenBox>{StatusBox()});
    const std::string expected = "\x05\x0c" + packed + std::string(1, '\0');
    QVERIFY(run->tablet->waitForReceived(expected.size(), 5s));
    QCOMPARE(run->tablet->received(), expected);
    // The bar was hidden before the box, at the last character; the port closed after it.
    const int length = int(packed.size());
    QCOMPARE(atBox.barVisible, false);
    QCOMPARE(atBox.barMinimum, 1);
    QCOMPARE(atBox.barMaximum, length);
    QCOMPARE(atBox.barValue, length);
    QCOMPARE(atBox.portOpen, true);
    QCOMPARE(atBox.position, length);
    QVERIFY(!console->MSComm1.PortOpen());
    QCOMPARE(console->strUploadFile, path.toStdString());
    QVERIFY(console->strUploadText.empty());
}

void DataUploadTest::openDialogOffersTextFiles() {
    const QString path = files->write("record.txt", NumberedLines(112));
    QStringList filters;
    QString selected;
    run->answerer.handle([&](QWidget* widget) {
        auto* dialog = qobject_cast<QFileDialog*>(widget);
        QVERIFY(dialog);
        filters = dialog->nameFilters();
        selected = dialog->selectedNameFilter();
        testing_support::ChooseInDialog(dialog, path);
    });
    run->answerer.pressInBox(QMessageBox::Ok);
    upload();
    QCOMPARE(filters, QStringList{"Text Files (*.txt)"});
    QCOMPARE(selected, QString("Text Files (*.txt)"));
    QCOMPARE(run->answerer.boxes, QList<SeenBox>{StatusBox()});
}

// Paint events of the progress bar, counted as they are delivered, and what `shown` saw when the bar was
// shown: the send shows it after the file dialog's event loop has ended and before the first byte goes out.
class BarWatch : public QObject {
public:
    BarWatch(QWidget* bar, std::function<void()> shown) : onShown(std::move(shown)) {
        bar->installEventFilter(this);
    }
    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() == QEvent::Paint) ++paints;
        if (event->type() == QEvent::Show) onShown();
        return false;
    }
    int paints = 0;

private:
    std::function<void()> onShown;
};

void DataUploadTest::sendProcessesNoEventsButRedrawsTheBar() {
    std::string file;
    for (int record = 0; record < 20; ++record)
        file += NumberedLines(112);
    frmQuillmaxSerial* console = run->console;
    int ticksAtStart = -1, ticksAtBox = -2, paintsAtBox = -1;
    BarWatch bar(console->ProgressBar1, [&] { ticksAtStart = console->lngTicks; });
    run->answerer.chooseFile(files->write("records.txt", file));
    ShownBoxSpy spy([&](QMessageBox*) {
        ticksAtBox = console->lngTicks;
        paintsAtBox = bar.paints;
    });
    run->answerer.pressInBox(QMessageBox::Ok);
    upload();
    QCOMPARE(run->answerer.boxes, QList<SeenBox>{StatusBox()});
    // Timer1 runs (its ticks come only with events): no tick during the send means no event processed.
    QVERIFY(console->Timer1->Enabled());
    QVERIFY(ticksAtStart >= 0);
    QCOMPARE(ticksAtBox, ticksAtStart);
    // Yet the bar was redrawn as it moved, the whole way (it is hidden, and so never painted, before the
    // send).
    QVERIFY2(paintsAtBox >= 10, qPrintable(QString::number(paintsAtBox)));
}

void DataUploadTest::completedUploadClearsTheCancelFlag() {
    run->console->cmdCancelUpload_Click();
    QVERIFY(run->console->blnCancelUpload);
    choose(files->write("record.txt", NumberedLines(112)));
    run->answerer.pressInBox(QMessageBox::Ok);
    upload();
    QCOMPARE(run->answerer.boxes, QList<SeenBox>{StatusBox()});
    QVERIFY(!run->console->blnCancelUpload);
}

void DataUploadTest::cancelUploadOnlyRaisesItsFlag() {
    frmQuillmaxSerial* console = run->console;
    const bool portOpen = console->MSComm1.PortOpen();
    const bool timerEnabled = console->Timer1->Enabled();
    console->cmdCancelUpload_Click();
    QVERIFY(console->blnCancelUpload);
    QCOMPARE(console->MSComm1.PortOpen(), portOpen);
    QCOMPARE(console->Timer1->Enabled(), timerEnabled);
    QVERIFY(!console->cmdCancelUpload->isVisible());
    QTest::qWait(50);
    QCOMPARE(run->tablet->received(), std::string());
    QVERIFY(run->answerer.boxes.isEmpty());
}

void DataUploadTest::cancelInTheOpenDialogClosesThePortSilently() {
    frmQuillmaxSerial* console = run->console;
    bool portOpenAtDialog = false, timerEnabledAtDialog = false;
    run->answerer.handle([&](QWidget* dialog) {
        portOpenAtDialog = console->MSComm1.PortOpen();
        timerEnabledAtDialog = console->Timer1->Enabled();
        static_cast<QDialog*>(dialog)->reject();
    });
    upload();
    QVERIFY(portOpenAtDialog);
    QVERIFY(timerEnabledAtDialog);
    QVERIFY(run->answerer.boxes.isEmpty());
    QVERIFY(!console->MSComm1.PortOpen());
    QVERIFY(!console->Timer1->Enabled());
    QCOMPARE(console->lngTicks, 0);
    QVERIFY(console->strUploadText.empty());
    QVERIFY(!console->ProgressBar1->isVisible());
    QTest::qWait(50);
    QCOMPARE(run->tablet->received(), std::string("\x05"));
}

void DataUploadTest::readFailuresShowTheirDescriptionAndSendNothing_data() {
    QTest::addColumn<int>("lines");
    QTest::addColumn<qint64>("error");
    QTest::newRow("100 lines: beyond the line table") << 100 << qint64(vb::errSubscriptOutOfRange);
    QTest::newRow("168 lines: past the end of the file") << 168 << qint64(vb::errInputPastEndOfFile);
    QTest::newRow("32768 lines: the line counter overflows") << 32768 << qint64(vb::errOverflow);
}

void DataUploadTest::readFailuresShowTheirDescriptionAndSendNothing() {
    QFETCH(int, lines);
    QFETCH(qint64, error);
    choose(files->write("record.txt", NumberedLines(lines)));
    run->answerer.pressInBox(QMessageBox::Ok);
    upload();
    QCOMPARE(run->answerer.boxes, QList<SeenBox>{RunTimeErrorBox(Description(error))});
    QVERIFY(!Description(error).isEmpty());
    QTest::qWait(50);
    QCOMPARE(run->tablet->received(), std::string("\x05"));
    // The trap leaves the port as it was: open.
    QVERIFY(run->console->MSComm1.PortOpen());
    QVERIFY(!run->console->ProgressBar1->isVisible());
}

void DataUploadTest::fileWithNoRecordEndsSilently() {
    // 56 lines round to no record: the bar's maximum 0 is refused (380), which ends the upload silently.
    choose(files->write("record.txt", NumberedLines(56)));
    upload();
    QVERIFY(run->answerer.boxes.isEmpty());
    QTest::qWait(50);
    QCOMPARE(run->tablet->received(), std::string("\x05"));
    QVERIFY(run->console->MSComm1.PortOpen());
    // The bar was shown before its maximum was refused, and nothing hides it again.
    QVERIFY(run->console->ProgressBar1->isVisible());
}

void DataUploadTest::missingFileShowsItsError() {
    choose(files->path("missing.txt"));
    run->answerer.pressInBox(QMessageBox::Ok);
    upload();
    QCOMPARE(run->answerer.boxes, QList<SeenBox>{RunTimeErrorBox(Description(vb::errFileNotFound))});
    QTest::qWait(50);
    QCOMPARE(run->tablet->received(), std::string("\x05"));
}

void DataUploadTest::noHandshakeEchoGivesTheConnectionMessage() {
    run->tablet->setFaults({.noEcho = "\x05"});
    run->answerer.pressInBox(QMessageBox::Ok);
    upload();
    QCOMPARE(run->answerer.boxes, QList<SeenBox>{FailureBox()});
    QCOMPARE(run->ticksAtBoxes(), QList<int>{500});
    QVERIFY(run->answerer.fileDialogs.isEmpty());
    QVERIFY(!run->console->MSComm1.PortOpen());
    QCOMPARE(run->tablet->received(), std::string("\x05"));
}

// Before any search the port number is 0: the upload says that no tablet has been located.
class NoTabletUploadTest : public QObject {
    Q_OBJECT
private slots:
    void noVelmoraLtLocated();
};

void NoTabletUploadTest::noVelmoraLtLocated() {
    ModalAnswerer answerer;
    frmQuillmaxSerial* console = StartConsole();
    QCOMPARE(intComPort, short(0));
    QVERIFY(console->cmdUploadData->isEnabled());
    answerer.pressInBox(QMessageBox::Ok);
    console->cmdUploadData->click();
    const SeenBox expected{"No Velmora LT Located",
                           "You must first locate a Velmora LT device before you can Upload.",
                           QMessageBox::Information, QMessageBox::Ok, false};
    QCOMPARE(answerer.boxes, QList<SeenBox>{expected});
    QVERIFY(answerer.fileDialogs.isEmpty());
    QVERIFY(!console->MSComm1.PortOpen());
}

int main(int argc, char** argv) {
    OwnQtSettings settings;
    int programArgc = 1;
    QApplication app(programArgc, argv);
    NoTabletUploadTest before;
    DataUploadTest test;
    // The check before any search always runs whole; the arguments (function names ...) are the main test's.
    return QTest::qExec(&before, 1, argv) | QTest::qExec(&test, argc, argv);
}
#include "tst_data_upload.moc"
