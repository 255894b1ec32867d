// The record viewer Form2: its controls, Enter and Esc, Next and Previous through a file and past its
// ends, the record keys, the date repeat, signatures, the scans that restart, the 16-bit record number,
// Back to Main Menu, the close box and the end of the program.
#include "platform/program_end.h"
#include "sample_records.h"
#include "support/program.h"
#include "viewer/vlm_file.h"
#include "vlm_test_files.h"

#include <QPlainTextEdit>
#include <QPointer>
#include <QTemporaryDir>

using namespace viewer_tests;
using testing_support::StartConsole;

namespace {

std::string Number(int n) {
    std::string digits = std::to_string(n);
    return std::string(digits.size() < 3 ? 3 - digits.size() : 0, '0') + digits;
}

// A date field for record n: 02/15/2012, hh:mm from n.
std::string DateOf(int n) {
    return "0215" + std::string("2012") + Number(n % 24).substr(1) + Number(n % 60).substr(1);
}

// `count` records whose only field is "Field <n>" and whose signature is "S<n>".
std::string NumberedFile(int count) {
    std::string file = Header(Number(count), "Cust", "Title");
    for (int n = 1; n <= count; ++n)
        file += Record(Number(n), DateOf(n), {"Field " + std::to_string(n)}, "S" + std::to_string(n));
    return file;
}

const std::string kSignature2 = std::string("\xff\x00\x80\x7f\x01", 5);
const std::string kSignature3 = std::string("\x00\x80\xff", 3);

std::string ThreeRecords() {
    return Header("003", "ACME", "Menu") + Record("001", "021520120905", {"One", "\x0e"}, WideSignature()) +
           Record("002", "021520121017", {"Two", "  b  "}, kSignature2) +
           Record("003", "021620120731", {"Three"}, kSignature3);
}

// Record 2 repeats its date in its first field.
std::string DateRepeatFile() {
    return Header("003", "N", "T") + Record("001", "010120120000", {"021520121017", "X"}, "S1") +
           Record("002", "021520121017", {"021520121017", "X", "Y"}, "S2") +
           Record("003", "030120120000", {"Z"}, "S3");
}

// The date field, lines and signature a record of a well-formed file must show.
struct Expected {
    std::string date;
    std::string signature;
};

// Reads record n of a file whose fields hold no quote: the oracle for the sample walk.
Expected ExpectedRecord(const std::string& records, int n) {
    const std::string start = n == 1 ? Number(1) + "\"" : "\r\n" + Number(n) + "\"";
    std::size_t at = n == 1 ? 0 : records.find(start);
    at = records.find('"', at);
    Expected expected;
    expected.date = records.substr(at + 1, 12);
    at = records.find('"', at + 1);
    for (int quote = 0; quote < kQuotes; ++quote)
        at = records.find('"', at + 1);
    expected.signature = records.substr(at + 1, records.find('\r', at + 1) - at - 1);
    return expected;
}

} // namespace

class RecordViewerTest : public QObject {
    Q_OBJECT

    QTemporaryDir dir;
    frmQuillmaxSerial* console = nullptr;
    Form2* viewer = nullptr;

    // Loads `bytes` through "&View VLM File" and returns the viewer shown.
    Form2* Load(const std::string& bytes) {
        const QString path = dir.filePath("records.vlm");
        if (!WriteFile(path, bytes)) return nullptr;
        ModalAnswerer answerer;
        LoadWithDialog(console, answerer, path);
        if (!answerer.waitUntilAnswered() || !answerer.unexpected.isEmpty()) return nullptr;
        viewer = FindForm2();
        return viewer && viewer->isVisible() ? viewer : nullptr;
    }

    void Next() { QTest::mouseClick(viewer->cmdNext, Qt::LeftButton); }
    void Previous() { QTest::mouseClick(viewer->cmdPrevious, Qt::LeftButton); }

    // Next, answering the "End of records" box it shows.
    QList<SeenBox> NextPastTheEnd() {
        ModalAnswerer answerer;
        answerer.pressInBox(QMessageBox::Ok);
        Next();
        answerer.waitUntilAnswered();
        return answerer.boxes;
    }

private slots:
    void initTestCase() { QVERIFY(dir.isValid()); }
    void init() {
        console = StartConsole();
        QVERIFY(console);
        viewer = nullptr;
    }
    void cleanup() { qunsetenv("VELMORA_SCAN_PASS_LIMIT"); }

    void controlsCaptionsAndTitle() {
        QVERIFY(Load(ThreeRecords()));
        QCOMPARE(viewer->objectName(), QString("Form2"));
        QCOMPARE(viewer->windowTitle(), QString("Lumacor Velmora LT VLM File Viewer"));
        QVERIFY(viewer->isWindow());
        QCOMPARE(viewer->minimumSize(), viewer->maximumSize());
        const std::pair<const char*, const char*> labels[] = {
            {"Label4", "Number Of Records"},
            {"Label3", "Customer Name"},
            {"Label2", "Title"},
            {"Label1", "Record Data"},
            {"lblTimeDate", "Date/Time"},
            {"lblVLKeypad", "Velmora Keypad Data"},
            {"lblTransaction", "Transaction Data"},
        };
        for (const auto& [name, caption] : labels) {
            auto* label = viewer->findChild<QLabel*>(name);
            QVERIFY2(label, name);
            QCOMPARE(label->text(), QString(caption));
        }
        QVERIFY(viewer->findChild<QLabel*>("lblSignature"));
        const std::pair<const char*, const char*> buttons[] = {
            {"cmdNext", "&Next"}, {"cmdPrevious", "&Previous"}, {"cmdReturn", "&Back to Main Menu"}};
        for (const auto& [name, caption] : buttons) {
            auto* button = viewer->findChild<QPushButton*>(name);
            QVERIFY2(button, name);
            QCOMPARE(button->text(), QString(caption));
        }
        for (const char* name : {"txtNumberOfRecords", "txtCustomerName", "txtTitle", "txtTimeDate",
                                 "txtVLKeypad", "txtTransaction"})
            QVERIFY2(viewer->findChild<QLineEdit*>(name), name);
        QVERIFY(qobject_cast<QPlainTextEdit*>(viewer->findChild<QWidget*>("txtRecordData")));
        QVERIFY(qobject_cast<vb::SignatureDisplay*>(viewer->findChild<QWidget*>("Ondrate1")));
        // Every control lies inside the window and shows its whole caption.
        for (QWidget* child : viewer->findChildren<QWidget*>(Qt::FindDirectChildrenOnly)) {
            QVERIFY2(viewer->rect().contains(child->geometry()), qPrintable(child->objectName()));
            if (auto* label = qobject_cast<QLabel*>(child))
                QVERIFY2(label->fontMetrics().horizontalAdvance(label->text()) <= label->width(),
                         qPrintable(label->objectName()));
            if (auto* button = qobject_cast<QPushButton*>(child))
                QVERIFY2(button->fontMetrics().horizontalAdvance(button->text()) < button->width() - 8,
                         qPrintable(button->objectName()));
        }
    }

    void enterPressesNextExceptInTheRecordDataBox() {
        QVERIFY(Load(ThreeRecords()));
        QVERIFY(QTest::qWaitForWindowActive(viewer));
        viewer->txtRecordData->setFocus();
        QTest::keyClick(viewer->txtRecordData, Qt::Key_Return);
        QCOMPARE(viewer->intCurrentRecord, short(1));
        viewer->txtCustomerName->setFocus();
        QTest::keyClick(viewer->txtCustomerName, Qt::Key_Return);
        QCOMPARE(viewer->intCurrentRecord, short(2));
        QCOMPARE(Caption(viewer), QString("Record 2 of 3"));
    }

    void escPressesBackToMainMenu() {
        QVERIFY(Load(ThreeRecords()));
        QVERIFY(QTest::qWaitForWindowActive(viewer));
        console->hide();
        viewer->txtTitle->setFocus();
        QTest::keyClick(viewer->txtTitle, Qt::Key_Escape);
        QVERIFY(!viewer->isVisible());
        QVERIFY(console->isVisible());
    }

    void nextToTheEndOfAThreeRecordFile() {
        QVERIFY(Load(ThreeRecords()));
        Next();
        QCOMPARE(viewer->intCurrentRecord, short(2));
        QCOMPARE(Caption(viewer), QString("Record 2 of 3"));
        QCOMPARE(BoxBytes(viewer->txtTimeDate), std::string("02/15/2012 10:17"));
        QCOMPARE(viewer->txtRecordData->Text(), Lines({"Two", "b"}));
        QCOMPARE(SignatureOf(viewer), Bytes(kSignature2));
        Next();
        QCOMPARE(Caption(viewer), QString("Record 3 of 3"));
        QCOMPARE(BoxBytes(viewer->txtTimeDate), std::string("02/16/2012 07:31"));
        QCOMPARE(viewer->txtRecordData->Text(), Lines({"Three"}));
        QCOMPARE(SignatureOf(viewer), Bytes(kSignature3));
        QCOMPARE(NextPastTheEnd(),
                 QList<SeenBox>{RecordStatusBox("End of records", QMessageBox::Information)});
        // No wrap-around: record 3 stays shown.
        QCOMPARE(viewer->intCurrentRecord, short(3));
        QCOMPARE(Caption(viewer), QString("Record 3 of 3"));
        QCOMPARE(viewer->txtRecordData->Text(), Lines({"Three"}));
        QCOMPARE(SignatureOf(viewer), Bytes(kSignature3));
        QCOMPARE(NextPastTheEnd().size(), 1);
        QCOMPARE(viewer->intCurrentRecord, short(3));
    }

    void previousToTheStartOfAThreeRecordFile() {
        QVERIFY(Load(ThreeRecords()));
        Next();
        Next();
        Previous();
        QCOMPARE(viewer->intCurrentRecord, short(2));
        QCOMPARE(Caption(viewer), QString("Record 2 of 3"));
        QCOMPARE(viewer->txtRecordData->Text(), Lines({"Two", "b"}));
        QCOMPARE(SignatureOf(viewer), Bytes(kSignature2));
        // Record 1 has no CR LF before it: its key is not found and the start of the text is shown.
        Previous();
        QCOMPARE(viewer->intCurrentRecord, short(1));
        QCOMPARE(Caption(viewer), QString("Record 1 of 3"));
        QCOMPARE(BoxBytes(viewer->txtTimeDate), std::string("02/15/2012 09:05"));
        QCOMPARE(viewer->txtRecordData->Text(), Lines({"One", "\x0e"})); // Previous keeps code 14
        QCOMPARE(SignatureOf(viewer), Bytes(WideSignature()));
        // Before record 1: the caption names record 1 again, nothing else changes and no box is shown.
        ModalAnswerer answerer;
        viewer->txtTimeDate->setText("untouched");
        Previous();
        QTest::qWait(50);
        QVERIFY(answerer.unexpected.isEmpty());
        QCOMPARE(viewer->intCurrentRecord, short(1));
        QCOMPARE(Caption(viewer), QString("Record 1 of 3"));
        QCOMPARE(viewer->txtTimeDate->text(), QString("untouched"));
        QCOMPARE(SignatureOf(viewer), Bytes(WideSignature()));
    }

    void nextKeepsCodeFourteen() {
        QVERIFY(Load(Header("002", "N", "T") + Record("001", "021520120905", {"a"}, "") +
                     Record("002", "021520120905",
                            {"A\x0e"
                             "B"},
                            "")));
        Next();
        QCOMPARE(viewer->txtRecordData->Text(), Lines({"A\x0e"
                                                       "B"}));
    }

    void recordTwelveAndRecordOneHundredTwentyThreeByTheirKeys() {
        QVERIFY(Load(NumberedFile(124)));
        viewer->intCurrentRecord = 11;
        Next();
        QCOMPARE(viewer->intCurrentRecord, short(12));
        QCOMPARE(Caption(viewer), QString("Record 12 of 124"));
        QCOMPARE(viewer->txtRecordData->Text(), Lines({"Field 12"}));
        QCOMPARE(SignatureOf(viewer), QByteArray("S12"));
        viewer->intCurrentRecord = 122;
        Next();
        QCOMPARE(Caption(viewer), QString("Record 123 of 124"));
        QCOMPARE(viewer->txtRecordData->Text(), Lines({"Field 123"}));
        QCOMPARE(BoxBytes(viewer->txtTimeDate), viewer::GetDate(DateOf(123)));
        viewer->intCurrentRecord = 13;
        Previous();
        QCOMPARE(viewer->txtRecordData->Text(), Lines({"Field 12"}));
    }

    void aFieldRepeatingTheDateMergesOnNextOnly() {
        QVERIFY(Load(DateRepeatFile()));
        // On load record 1's field equal to record 2's date is an ordinary field; record 1's own date
        // differs. Then record 2: Next merges its first field into the next one.
        QCOMPARE(viewer->txtRecordData->Text(), Lines({"021520121017", "X"}));
        Next();
        QCOMPARE(viewer->txtRecordData->Text(), Lines({"021520121017X", "Y"}));
        Next();
        Previous();
        QCOMPARE(viewer->intCurrentRecord, short(2));
        QCOMPARE(viewer->txtRecordData->Text(), Lines({"021520121017", "X", "Y"}));
    }

    void aFieldRepeatingTheDateIsItsOwnLineOnLoad() {
        QVERIFY(Load(Header("001", "N", "T") + Record("001", "021520120905", {"021520120905", "X"}, "")));
        QCOMPARE(viewer->txtRecordData->Text(), Lines({"021520120905", "X"}));
    }

    void aRecordWithoutSignatureBytesClearsTheDisplay() {
        QVERIFY(Load(Header("002", "N", "T") + Record("001", "021520120905", {"a"}, "SIGNED") +
                     Record("002", "021520120906", {"b"}, "")));
        QCOMPARE(viewer->Ondrate1->property("SignatureSize").toInt(), 6);
        Next();
        QCOMPARE(Caption(viewer), QString("Record 2 of 2"));
        QCOMPARE(viewer->Ondrate1->property("SignatureSize").toInt(), 0);
        QCOMPARE(SignatureOf(viewer), QByteArray());
        QCOMPARE(viewer->Ondrate1->property("DisplayMode").toInt(), 5);
    }

    void nextStopsAtTheEndOfTheTextButPreviousRepeats() {
        // Records 2 and 3 have too few quotes. Next scans them once; Previous (and the load) would scan
        // without end, here stopped after three passes.
        const std::string file = Header("003", "N", "T") + Record("001", "021520120905", {"a"}, "S1") +
                                 ShortRecord("002", "021520121017", {"b"}) +
                                 ShortRecord("003", "021520121118", {"c"});
        QVERIFY(Load(file));
        Next();
        QCOMPARE(Caption(viewer), QString("Record 2 of 3"));
        QCOMPARE(viewer->txtRecordData->Text(), Lines({"b", "\r\n003", "021520121118", "c"}));
        QCOMPARE(viewer->Ondrate1->property("SignatureSize").toInt(), 0);
        Next();
        QCOMPARE(Caption(viewer), QString("Record 3 of 3"));
        QCOMPARE(viewer->txtRecordData->Text(), Lines({"c"}));
        qputenv("VELMORA_SCAN_PASS_LIMIT", "3");
        Previous();
        QCOMPARE(Caption(viewer), QString("Record 2 of 3"));
        QCOMPARE(viewer->txtRecordData->Text(),
                 Lines({"b", "\r\n003", "021520121118", "c", "\r\nb", "\r\n003", "021520121118", "c", "\r\nb",
                        "\r\n003", "021520121118", "c"}));
        QCOMPARE(viewer->Ondrate1->property("SignatureSize").toInt(), 0);
    }

    void signatureBytesReachTheDisplayUnchanged() {
        // 0x00 and 0x80..0xFF from a real file, on load, Next and Previous.
        QVERIFY(Load(ThreeRecords()));
        QCOMPARE(SignatureOf(viewer), Bytes(WideSignature()));
        Next();
        QCOMPARE(SignatureOf(viewer), Bytes(kSignature2));
        Next();
        QCOMPARE(SignatureOf(viewer), Bytes(kSignature3));
        Previous();
        QCOMPARE(SignatureOf(viewer), Bytes(kSignature2));
        Previous();
        QCOMPARE(SignatureOf(viewer), Bytes(WideSignature()));
    }

    void theRecordNumberOverflowEndsTheClickSilently() {
        QVERIFY(Load(ThreeRecords()));
        ModalAnswerer answerer;
        viewer->intCurrentRecord = 32767;
        Next();
        QCOMPARE(viewer->intCurrentRecord, short(32767));
        QCOMPARE(Caption(viewer), QString("Record 1 of 3"));
        viewer->intCurrentRecord = -32768;
        Previous();
        QCOMPARE(viewer->intCurrentRecord, short(-32768));
        QCOMPARE(Caption(viewer), QString("Record 1 of 3"));
        QTest::qWait(50);
        QVERIFY(answerer.unexpected.isEmpty());
    }

    void backToMainMenuHidesTheViewerAndKeepsItsText() {
        QVERIFY(Load(ThreeRecords()));
        Next();
        console->hide();
        QTest::mouseClick(viewer->cmdReturn, Qt::LeftButton);
        QVERIFY(!viewer->isVisible());
        QVERIFY(console->isVisible());
        QCOMPARE(FindForm2(), viewer);
        QCOMPARE(viewer->intCurrentRecord, short(2));
        QVERIFY(!viewer->strRecords.empty());
    }

    void theCloseBoxShowsTheConsoleAndUnloadsTheViewer() {
        QVERIFY(Load(ThreeRecords()));
        console->hide();
        QPointer<Form2> closed = viewer;
        QVERIFY(viewer->close());
        QVERIFY(console->isVisible());
        QVERIFY(!FindForm2());
        QVERIFY(QTest::qWaitFor([&] { return closed.isNull(); }));
        // The next load starts with a fresh viewer.
        QVERIFY(Load(ThreeRecords()));
        QCOMPARE(Caption(viewer), QString("Record 1 of 3"));
    }

    void closingTheConsoleWhileTheViewerIsOpenEndsTheProgram() {
        QVERIFY(Load(ThreeRecords()));
        QVERIFY(viewer->isVisible());
        console->close();
        QVERIFY(vb::HasEnded());
        QVERIFY(!viewer->isVisible());
        QVERIFY(!console->isVisible());
    }

    void walkThroughTwentyFiveSampleRecords() {
        const std::string file = sim::SampleVlm(25);
        const std::string records = file.substr(file.find("\r\n") + 2);
        QVERIFY(Load(file));
        for (int n = 1; n <= 25; ++n) {
            if (n > 1) Next();
            const Expected expected = ExpectedRecord(records, n);
            QCOMPARE(viewer->intCurrentRecord, short(n));
            QCOMPARE(Caption(viewer), QString("Record %1 of 25").arg(n));
            QCOMPARE(BoxBytes(viewer->txtTimeDate), viewer::GetDate(expected.date));
            QCOMPARE(SignatureOf(viewer), Bytes(expected.signature));
            QCOMPARE(viewer->Ondrate1->property("SignatureSize").toInt() == 0, n % 10 == 0);
            QVERIFY(!viewer->txtRecordData->Text().empty());
        }
        QCOMPARE(NextPastTheEnd().size(), 1);
        for (int n = 24; n >= 1; --n) {
            Previous();
            QCOMPARE(Caption(viewer), QString("Record %1 of 25").arg(n));
            QCOMPARE(SignatureOf(viewer), Bytes(ExpectedRecord(records, n).signature));
        }
    }
};

VELMORA_PROGRAM_TEST_MAIN(RecordViewerTest)
#include "tst_record_viewer.moc"
