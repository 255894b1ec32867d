// The console's "&View VLM File": the file dialog, the header line, the first record in the viewer, the
// progress bar, and every way the load ends (no records, missing file, empty file, a count that is not a
// number, a cancelled dialog).
#include "support/program.h"
#include "vlm_test_files.h"

#include <QFileDialog>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QTemporaryDir>

using namespace viewer_tests;
using testing_support::StartConsole;

namespace {

const std::string kDate1 = "021520120905";
const std::string kDate2 = "021520121017";
const std::string kDate3 = "021620120731";

std::string ThreeRecords() {
    return Header("003", "ACME Foods", "Route 7") +
           Record("001", kDate1, {"Jane Doe", "", "  12 Main St ", "   "}, WideSignature()) +
           Record("002", kDate2, {"John Roe"}, "\x01\x41\x42\x43\x44") + Record("003", kDate3, {"Ann"}, "S3");
}

} // namespace

class RecordFileLoadTest : public QObject {
    Q_OBJECT

    QTemporaryDir dir;
    frmQuillmaxSerial* console = nullptr;

    QString Write(const char* name, const std::string& bytes) {
        const QString path = dir.filePath(name);
        if (!WriteFile(path, bytes)) qWarning("cannot write %s", qPrintable(path));
        return path;
    }

    // Loads `bytes` as a file through the dialog; true when every queued answer was used.
    bool Load(ModalAnswerer& answerer, const std::string& bytes, const char* name = "records.vlm") {
        LoadWithDialog(console, answerer, Write(name, bytes));
        return answerer.waitUntilAnswered();
    }

    bool ViewerShown() const {
        const Form2* viewer = FindForm2();
        return viewer && viewer->isVisible();
    }

private slots:
    void initTestCase() { QVERIFY(dir.isValid()); }
    void init() {
        console = StartConsole();
        QVERIFY(console);
    }
    void cleanup() { qunsetenv("VELMORA_SCAN_PASS_LIMIT"); }

    void loadShowsRecordOneInTheViewer() {
        ModalAnswerer answerer;
        const QString path = Write("three.vlm", ThreeRecords());
        LoadWithDialog(console, answerer, path);
        QVERIFY(answerer.waitUntilAnswered());
        QVERIFY(answerer.unexpected.isEmpty());
        QVERIFY(answerer.boxes.isEmpty());
        Form2* viewer = FindForm2();
        QVERIFY(viewer);
        QVERIFY(viewer->isVisible());
        QVERIFY(console->isVisible()); // shown beside the console, modeless
        QVERIFY(!viewer->isModal());
        QCOMPARE(console->strRecordFile, path.toStdString());
        QCOMPARE(console->strRecordCount, std::string("3"));
        QCOMPARE(viewer->intCurrentRecord, short(1));
        QCOMPARE(viewer->strRecords, ThreeRecords().substr(Header("003", "ACME Foods", "Route 7").size()));
        QCOMPARE(BoxBytes(viewer->txtCustomerName), std::string("ACME Foods"));
        QCOMPARE(BoxBytes(viewer->txtTitle), std::string("Route 7"));
        QCOMPARE(BoxBytes(viewer->txtNumberOfRecords), std::string("3"));
        QCOMPARE(BoxBytes(viewer->txtTimeDate), std::string("02/15/2012 09:05"));
        QCOMPARE(viewer->txtRecordData->Text(), Lines({"Jane Doe", "12 Main St", ""}));
        QCOMPARE(viewer->txtRecordData->toPlainText(), QString("Jane Doe\n12 Main St\n\n"));
        QCOMPARE(Caption(viewer), QString("Record 1 of 3"));
        QCOMPARE(SignatureOf(viewer), Bytes(WideSignature()));
        QCOMPARE(viewer->Ondrate1->property("DisplayMode").toInt(), 5);
        QVERIFY(viewer->Ondrate1->property("DisplayActive").toBool());
        QCOMPARE(viewer->txtVLKeypad->text(), QString());
        QCOMPARE(viewer->txtTransaction->text(), QString());
        // The load puts everything back as it found it.
        QCOMPARE(console->cursor().shape(), Qt::ArrowCursor);
        QVERIFY(!console->ProgressBar1->isVisible());
        QVERIFY(!console->ProgressBar1->isEnabled());
    }

    void theFileDialogAsksForVlmFiles() {
        ModalAnswerer answerer;
        answerer.handle([&](QWidget* widget) {
            auto* dialog = qobject_cast<QFileDialog*>(widget);
            QVERIFY(dialog);
            answerer.fileDialogs << dialog->nameFilters().join('|') + "/" + dialog->selectedNameFilter();
            dialog->reject();
        });
        QTest::mouseClick(console->cmdBrowse, Qt::LeftButton);
        QVERIFY(answerer.waitUntilAnswered());
        QCOMPARE(answerer.fileDialogs, QStringList{"VLM Files (*.vlm)/VLM Files (*.vlm)"});
        QCOMPARE(console->CommonDialog1.Filter, std::string("VLM Files (*.vlm)|*.vlm"));
        QCOMPARE(console->CommonDialog1.FilterIndex, 1);
    }

    void junkBeforeTheCountIsDropped() {
        ModalAnswerer answerer;
        QVERIFY(Load(answerer, "xx005\"ACME\"Menu\r\n" + Record("001", kDate1, {"a"}, "")));
        Form2* viewer = FindForm2();
        QVERIFY(ViewerShown());
        QCOMPARE(BoxBytes(viewer->txtNumberOfRecords), std::string("5"));
        QCOMPARE(BoxBytes(viewer->txtCustomerName), std::string("ACME"));
        QCOMPARE(BoxBytes(viewer->txtTitle), std::string("Menu"));
        QCOMPARE(Caption(viewer), QString("Record 1 of 5"));
    }

    void aShortTitleKeepsItsClosingQuote() {
        ModalAnswerer answerer;
        QVERIFY(Load(answerer, "005\"ACME\"Menu\"\r\n" + Record("001", kDate1, {"a"}, "")));
        QCOMPARE(BoxBytes(FindForm2()->txtTitle), std::string("Menu\""));
    }

    void aCountWithALeadingZeroIsShownWithoutIt() {
        ModalAnswerer answerer;
        QVERIFY(Load(answerer, Header("010", "N", "T") + Record("001", kDate1, {"a"}, "")));
        QCOMPARE(BoxBytes(FindForm2()->txtNumberOfRecords), std::string("10"));
        QCOMPARE(console->strRecordCount, std::string("10"));
        QCOMPARE(Caption(FindForm2()), QString("Record 1 of 10"));
    }

    void noRecordOneMeansNoAvailableRecords() {
        ModalAnswerer answerer;
        answerer.chooseFile(Write("none.vlm", Header("002", "N", "T") + "0010\"x\"\r\n002\"001 \"a\"\r\n"));
        answerer.pressInBox(QMessageBox::Ok);
        // "001" appears, but never followed by a quote.
        QTest::mouseClick(console->cmdBrowse, Qt::LeftButton);
        QVERIFY(answerer.waitUntilAnswered());
        QCOMPARE(answerer.boxes,
                 QList<SeenBox>{RecordStatusBox("There are no available records", QMessageBox::Warning)});
        QVERIFY(!ViewerShown());
        QCOMPARE(console->cursor().shape(), Qt::ArrowCursor); // stopped before the hourglass
    }

    void shiftOutIsDroppedFromFieldsOnLoad() {
        ModalAnswerer answerer;
        QVERIFY(Load(answerer, Header("001", "N", "T") + Record("001", kDate1,
                                                                {"A\x0e"
                                                                 "B",
                                                                 "\x0e"},
                                                                "")));
        // A field of code 14 alone stays empty and adds no line.
        QCOMPARE(FindForm2()->txtRecordData->Text(), Lines({"AB"}));
    }

    void aSignatureWithoutCarriageReturnRunsToTheEndOfTheFile() {
        std::string file = Header("001", "N", "T") + Record("001", kDate1, {"a"}, WideSignature());
        file.resize(file.size() - 2);
        ModalAnswerer answerer;
        QVERIFY(Load(answerer, file));
        QCOMPARE(SignatureOf(FindForm2()), Bytes(WideSignature()));
    }

    void progressBarStopsAtTheRecordCount() {
        ModalAnswerer answerer;
        QVERIFY(Load(answerer, ThreeRecords()));
        // One step per quote from 1: the steps past the maximum of 3 are refused and the bar stays there.
        QCOMPARE(console->ProgressBar1->minimum(), 1);
        QCOMPARE(console->ProgressBar1->maximum(), 3);
        QCOMPARE(console->ProgressBar1->value(), 3);
    }

    void progressBarGainsOneStepPerQuote() {
        ModalAnswerer answerer;
        QVERIFY(Load(answerer, Header("500", "N", "T") + Record("001", kDate1, {"a"}, "")));
        QCOMPARE(console->ProgressBar1->maximum(), 500);
        QCOMPARE(console->ProgressBar1->value(), 1 + kQuotes);
    }

    void aCountOfOneLeavesTheMaximumAsItWas() {
        // A maximum of 1 is not above the minimum: refused, and the load goes on with the bar's old one.
        const int before = console->ProgressBar1->maximum();
        ModalAnswerer answerer;
        QVERIFY(Load(answerer, Header("001", "N", "T") + Record("001", kDate1, {"a"}, "")));
        QVERIFY(ViewerShown());
        QCOMPARE(console->ProgressBar1->minimum(), 1);
        QCOMPARE(console->ProgressBar1->maximum(), before);
        QCOMPARE(console->ProgressBar1->value(), std::min(before, 1 + kQuotes));
    }

    void aMissingFileIsReported() {
        ModalAnswerer answerer;
        answerer.chooseFile(dir.filePath("absent.vlm"));
        answerer.pressInBox(QMessageBox::Ok);
        console->Timer1->setEnabled(true);
        QTest::mouseClick(console->cmdBrowse, Qt::LeftButton);
        QVERIFY(answerer.waitUntilAnswered());
        const SeenBox missing{"Choose an existing file...", "That file does not exist.", QMessageBox::Warning,
                              QMessageBox::Ok, false};
        QCOMPARE(answerer.boxes, QList<SeenBox>{missing});
        QVERIFY(!ViewerShown());
        QVERIFY(console->Timer1->Enabled()); // only the last row of the trap stops the timer
        console->Timer1->setEnabled(false);
    }

    void anEmptyFileEndsSilentlyAndStopsTheTimer() {
        ModalAnswerer answerer;
        console->Timer1->setEnabled(true);
        const QString path = Write("empty.vlm", "");
        LoadWithDialog(console, answerer, path);
        QVERIFY(answerer.waitUntilAnswered());
        QVERIFY(answerer.boxes.isEmpty());
        QVERIFY(answerer.unexpected.isEmpty());
        QVERIFY(!ViewerShown());
        // The failed first read is passed over; the line then has no quote and taking the count fails,
        // before the hourglass is set.
        QCOMPARE(console->strRecordFile, path.toStdString());
        QCOMPARE(console->strRecordCount, std::string());
        QVERIFY(!console->Timer1->Enabled());
        QCOMPARE(console->cursor().shape(), Qt::ArrowCursor);
    }

    void aCountThatIsNotANumberEndsWithTheHourglassLeft_data() {
        QTest::addColumn<QString>("count");
        QTest::newRow("000") << "000";
        QTest::newRow("letters") << "abc";
    }
    void aCountThatIsNotANumberEndsWithTheHourglassLeft() {
        QFETCH(QString, count);
        ModalAnswerer answerer;
        console->Timer1->setEnabled(true);
        QVERIFY(Load(answerer, Header(count.toStdString(), "N", "T") + Record("001", kDate1, {"a"}, "S")));
        QVERIFY(answerer.boxes.isEmpty());
        QVERIFY(answerer.unexpected.isEmpty());
        QVERIFY(!ViewerShown());
        QVERIFY(!console->Timer1->Enabled());
        QCOMPARE(console->cursor().shape(), Qt::WaitCursor);
        QVERIFY(!console->ProgressBar1->isVisible());
        QCOMPARE(FindForm2()->txtRecordData->Text(), std::string()); // emptied before the count failed
        QCOMPARE(console->strRecordCount, count == "000" ? std::string() : std::string("abc"));
    }

    void theFirstCancelReadsAsNoNameAndLaterOnesAsTheCancelError() {
        QVERIFY(!console->CommonDialog1.CancelError);
        ModalAnswerer answerer;
        answerer.cancelFileDialog();
        QTest::mouseClick(console->cmdBrowse, Qt::LeftButton);
        QVERIFY(answerer.waitUntilAnswered());
        QVERIFY(console->CommonDialog1.CancelError); // switched on after the dialog
        answerer.cancelFileDialog();
        console->Timer1->setEnabled(true);
        QTest::mouseClick(console->cmdBrowse, Qt::LeftButton);
        QVERIFY(answerer.waitUntilAnswered());
        QCOMPARE(answerer.fileDialogs.size(), 2);
        QVERIFY(answerer.boxes.isEmpty());
        QVERIFY(answerer.unexpected.isEmpty());
        QVERIFY(!ViewerShown());
        QVERIFY(console->Timer1->Enabled()); // the cancel error ends the load without touching the timer
        console->Timer1->setEnabled(false);
    }

    void aRecordAreaWithTooFewQuotesRepeatsTheLoadsScan() {
        qputenv("VELMORA_SCAN_PASS_LIMIT", "3");
        ModalAnswerer answerer;
        QVERIFY(Load(answerer, Header("001", "N", "T") + ShortRecord("001", kDate1, {"a", "b"})));
        Form2* viewer = FindForm2();
        QVERIFY(ViewerShown());
        // Each pass appends its lines again; the CR LF left in the field after the last quote starts the
        // next pass's first field.
        QCOMPARE(viewer->txtRecordData->Text(), Lines({"a", "b", "\r\na", "b", "\r\na", "b"}));
        QCOMPARE(viewer->Ondrate1->property("SignatureSize").toInt(), 0);
        QCOMPARE(Caption(viewer), QString("Record 1 of 1"));
    }

    void aSecondLoadReplacesTheFirst() {
        ModalAnswerer answerer;
        QVERIFY(Load(answerer, ThreeRecords(), "first.vlm"));
        Form2* viewer = FindForm2();
        QTest::mouseClick(viewer->cmdNext, Qt::LeftButton);
        QCOMPARE(viewer->intCurrentRecord, short(2));
        QVERIFY(
            Load(answerer, Header("001", "Other", "T") + Record("001", kDate2, {"z"}, "Q"), "second.vlm"));
        QCOMPARE(FindForm2(), viewer);
        QCOMPARE(viewer->intCurrentRecord, short(1));
        QCOMPARE(viewer->txtRecordData->Text(), Lines({"z"}));
        QCOMPARE(BoxBytes(viewer->txtCustomerName), std::string("Other"));
        QCOMPARE(SignatureOf(viewer), QByteArray("Q"));
    }
};

VELMORA_PROGRAM_TEST_MAIN(RecordFileLoadTest)
#include "tst_record_file_load.moc"
