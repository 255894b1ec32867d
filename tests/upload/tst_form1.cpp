// Form1, the upload text editor, opened by --text-uploader beside the console: its controls, the text box
// and its buttons, the files it loads and saves, Return to Menu, closing, and its own upload against an
// emulated tablet (ten ENQ tries with no pause, then FF, the text, NUL).
#include "app/globals.h"
#include "app/startup.h"
#include "own_qt_settings.h"
#include "platform/errors.h"
#include "platform/program_end.h"
#include "support/modal_answerer.h"
#include "support/ports_folder.h"
#include "support/program.h"
#include "tablet.h"
#include "upload/form1.h"
#include "upload_files.h"

#include <QFile>
#include <QFileDialog>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QTest>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

using namespace testing_support;
using namespace upload_testing;
using namespace std::chrono_literals;

namespace {

constexpr int kPort = 3;
const QString kNotAllData = "Text Box does not represent all data to be uploaded to hardware.";
const QString kConnectionFailure = "Cannot make connection. Be sure com port is correct,\r\n"
                                   "the tablet is connected, and tablet is in download mode.";

SeenBox StatusBox() {
    return {"STATUS", "Upload complete", QMessageBox::Information, QMessageBox::Ok, true};
}
SeenBox NotAllDataBox() {
    return {"", kNotAllData, QMessageBox::Information, QMessageBox::Ok, false};
}
SeenBox SaveStatusBox(const QString& text) {
    return {"Save Status", text, QMessageBox::NoIcon, QMessageBox::Ok, true};
}

// Waits until `count` bytes wait unread on the port at `path` (the tablet has put them on the line).
bool WaitUntilWaiting(const std::string& path, int count) {
    const int fd = ::open(path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK);
    if (fd < 0) return false;
    const bool waiting = QTest::qWaitFor(
        [&] {
            int n = 0;
            return ioctl(fd, FIONREAD, &n) == 0 && n >= count;
        },
        5000);
    ::close(fd);
    return waiting;
}

// Every byte value but NUL and a lone CR or LF, over and over, with CR LF line ends now and then.
std::string LongText(std::size_t size) {
    std::string text;
    for (std::size_t i = 0; text.size() < size; ++i) {
        const char byte = char(1 + i % 255);
        if (i % 60 == 59)
            text += "\r\n";
        else if (byte != '\r' && byte != '\n')
            text += byte;
    }
    text.resize(size);
    if (text.back() == '\r') text.back() = 'x';
    return text;
}

} // namespace

class Form1Test : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();
    void opensBesideTheConsoleAndLeavesTheCommandLine();
    void controlsAsDesigned();
    void typingEnablesUploadAndSaveAsButNotSave();
    void emptyingTheBoxByHandDisablesUploadSaveAsAndSave();
    void clearEmptiesTheBoxAndDisablesTheButtons();
    void loadShowsTheFileAndEnablesSave();
    void cancelledLoadForgetsTheLoadedData();
    void fileBeyondTheBoxGivesTheMessage_data();
    void fileBeyondTheBoxGivesTheMessage();
    void saveRewritesTheLoadedFile();
    void saveAsWritesTheChosenFile();
    void saveAsCancelledShowsNothing();
    void returnToMenuHidesAndShowsTheConsole();
    void escapeReturnsToMenu();
    void uploadSendsTheTextBetweenFfAndNul();
    void uploadWithoutAnEchoTriesTenTimes();
    void uploadWithThePortOpenWarns();
    void uploadBeforeAnySearchShowsThePortError();
    void uploadOfAFileBeyondTheBoxSendsTheWholeFile_data();
    void uploadOfAFileBeyondTheBoxSendsTheWholeFile();
    void pauseIsACountOf200000();
    void closingEndsTheProgramWithThePortClosed();

private:
    // Loads the file with cmdLoad, answering the "does not represent all data" box when it is expected.
    void load(const QString& path, bool beyondTheBox = false) {
        answerer->chooseFile(path);
        if (beyondTheBox) answerer->pressInBox(QMessageBox::Ok);
        form->cmdLoad->click();
        form->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(form));
    }
    // The tablet announces itself: an ENQ waits on the line before the upload's first try.
    void tabletAnnouncesItself() {
        tablet->send("\x05");
        QVERIFY(WaitUntilWaiting(tablet->linkPath(), 1));
    }

    std::unique_ptr<PortsFolder> ports;
    std::unique_ptr<sim::Tablet> tablet;
    std::unique_ptr<ModalAnswerer> answerer;
    std::unique_ptr<TestFiles> files;
    frmQuillmaxSerial* console = nullptr;
    Form1* form = nullptr;
};

void Form1Test::initTestCase() {
    qputenv("VELMORA_DELAY_SCALE", "0.001");
}

void Form1Test::init() {
    ports = std::make_unique<PortsFolder>();
    tablet = std::make_unique<sim::Tablet>(ports->path(), kPort);
    answerer = std::make_unique<ModalAnswerer>();
    files = std::make_unique<TestFiles>();
    console = StartConsole();
    form = TextUploader();
    QVERIFY(form);
    form->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(form));
    intComPort = kPort; // as a search that found the tablet leaves it
}

void Form1Test::cleanup() {
    QVERIFY2(answerer->unexpected.isEmpty(), qPrintable(answerer->unexpected.join(", ")));
    QCOMPARE(answerer->pending(), 0);
    if (TextUploader()) TextUploader()->MSComm1.setPortOpen(false);
    answerer.reset();
    tablet.reset();
    ports.reset();
    files.reset();
}

void Form1Test::opensBesideTheConsoleAndLeavesTheCommandLine() {
    QVERIFY(form->isVisible());
    QVERIFY(console->isVisible());
    QVERIFY(form->isWindow());
    QCOMPARE(form->parentWidget(), nullptr);
    // The option is the program's own; the rest of the command line is left for the search.
    QCOMPARE(app::ProgramCommandLine(), std::string("1,out.vlm"));
}

void Form1Test::controlsAsDesigned() {
    QCOMPARE(form->objectName(), QString("Form1"));
    QCOMPARE(form->windowTitle(), QString("Lumacor Uploader"));
    const QList<std::pair<const char*, QString>> buttons = {
        {"cmdClear", "&Clear"},         {"cmdLoad", "&Load From File"},     {"cmdSave", "&Save"},
        {"cmdSaveAs", "S&ave As"},      {"cmdUpload", "&Upload To Tablet"}, {"cmdReturn", "&Return to Menu"},
        {"Command1", "Ca&ncel Upload"},
    };
    for (const auto& [name, caption] : buttons) {
        auto* button = Control<QPushButton>(form, name);
        QVERIFY2(button, name);
        QCOMPARE(button->text(), caption);
        QVERIFY(button->isVisible());
    }
    QVERIFY(Control<QPlainTextEdit>(form, "Text1"));
    QVERIFY(Control<QProgressBar>(form, "ProgressBar1"));
    QVERIFY(!form->ProgressBar1->isVisible());
    QVERIFY(!form->cmdUpload->isEnabled());
    QVERIFY(!form->cmdSave->isEnabled());
    QVERIFY(!form->cmdSaveAs->isEnabled());
    QVERIFY(form->cmdClear->isEnabled());
    QVERIFY(form->cmdLoad->isEnabled());
    QVERIFY(form->Command1->isEnabled());
    QCOMPARE(form->MSComm1.Settings(), std::string("115200,O,7,1"));
    QCOMPARE(form->property("velmoraDefaultButton").value<QObject*>(), form->cmdUpload);
    QCOMPARE(form->property("velmoraCancelButton").value<QObject*>(), form->cmdReturn);
}

void Form1Test::typingEnablesUploadAndSaveAsButNotSave() {
    QTest::keyClicks(form->Text1, "Hello");
    QCOMPARE(form->Text1Text(), std::string("Hello"));
    QVERIFY(form->cmdUpload->isEnabled());
    QVERIFY(form->cmdSaveAs->isEnabled());
    QVERIFY(!form->cmdSave->isEnabled());
}

void Form1Test::emptyingTheBoxByHandDisablesUploadSaveAsAndSave() {
    load(files->write("text.txt", "one\r\ntwo"));
    QVERIFY(form->cmdSave->isEnabled());
    QVERIFY(form->cmdUpload->isEnabled());
    form->Text1->setFocus();
    QTest::keyClick(form->Text1, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClick(form->Text1, Qt::Key_Delete);
    QVERIFY(form->Text1->toPlainText().isEmpty());
    QVERIFY(!form->cmdUpload->isEnabled());
    QVERIFY(!form->cmdSaveAs->isEnabled());
    QVERIFY(!form->cmdSave->isEnabled());
}

void Form1Test::clearEmptiesTheBoxAndDisablesTheButtons() {
    load(files->write("text.txt", "one\r\ntwo"));
    QTest::mouseClick(form->cmdClear, Qt::LeftButton);
    QVERIFY(form->Text1->toPlainText().isEmpty());
    QVERIFY(!form->cmdUpload->isEnabled());
    QVERIFY(!form->cmdSaveAs->isEnabled());
    QVERIFY(!form->cmdSave->isEnabled());
    QVERIFY(form->Text1->hasFocus());
}

void Form1Test::loadShowsTheFileAndEnablesSave() {
    const std::string text = "First line\r\n\xe9t\xe9 \x80 5\r\n\r\nlast";
    const QString path = files->write("text.txt", text);
    QStringList filters;
    answerer->handle([&](QWidget* widget) {
        auto* dialog = qobject_cast<QFileDialog*>(widget);
        QVERIFY(dialog);
        filters = dialog->nameFilters();
        testing_support::ChooseInDialog(dialog, path);
    });
    form->cmdLoad->click();
    QCOMPARE(filters, QStringList{"Text Files (*.txt)"});
    QCOMPARE(form->Text1Text(), text);
    QCOMPARE(form->Text1->toPlainText().count('\n'), 3);
    QCOMPARE(form->strLoadedData, text);
    QCOMPARE(form->strCurrentFile, path.toStdString());
    QVERIFY(form->cmdSave->isEnabled());
    QVERIFY(form->cmdSaveAs->isEnabled());
    QVERIFY(form->cmdUpload->isEnabled());
    QVERIFY(answerer->boxes.isEmpty());
}

void Form1Test::cancelledLoadForgetsTheLoadedData() {
    load(files->write("text.txt", "kept"));
    answerer->cancelFileDialog();
    form->cmdLoad->click();
    QVERIFY(answerer->boxes.isEmpty());
    QVERIFY(form->strLoadedData.empty());
    QCOMPARE(form->Text1Text(), std::string("kept"));
}

void Form1Test::fileBeyondTheBoxGivesTheMessage_data() {
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<int>("shown");
    QTest::newRow("a NUL ends the box's text") << QByteArray("before\0after", 12) << 6;
    const std::string longText = LongText(70000);
    QTest::newRow("65535 characters at most") << QByteArray::fromStdString(longText) << 65535;
}

void Form1Test::fileBeyondTheBoxGivesTheMessage() {
    QFETCH(QByteArray, file);
    QFETCH(int, shown);
    load(files->write("text.txt", file.toStdString()), true);
    QCOMPARE(answerer->boxes, QList<SeenBox>{NotAllDataBox()});
    QCOMPARE(int(form->Text1Text().size()), shown);
    QCOMPARE(form->Text1Text(), file.toStdString().substr(0, std::size_t(shown)));
    QCOMPARE(form->strLoadedData, file.toStdString());
}

void Form1Test::saveRewritesTheLoadedFile() {
    const QString path = files->write("text.txt", "old text");
    QFile::setPermissions(path, QFile::ReadOwner); // read-only: Save deletes it by force
    load(path);
    form->Text1->selectAll();
    QTest::keyClicks(form->Text1, "new");
    QTest::keyClick(form->Text1, Qt::Key_Return);
    QTest::keyClicks(form->Text1, "text");
    answerer->pressInBox(QMessageBox::Ok);
    form->cmdSave->click();
    QCOMPARE(answerer->boxes, QList<SeenBox>{SaveStatusBox("File saved as " + path)});
    QCOMPARE(files->read("text.txt"), std::string("new\r\ntext"));
}

void Form1Test::saveAsWritesTheChosenFile() {
    QTest::keyClicks(form->Text1, "typed");
    const QString path = files->path("copy.txt");
    answerer->chooseFile(path);
    answerer->pressInBox(QMessageBox::Ok);
    form->cmdSaveAs->click();
    QCOMPARE(answerer->boxes, QList<SeenBox>{SaveStatusBox("File Saved as " + path)});
    QCOMPARE(files->read("copy.txt"), std::string("typed"));
    // Save As does not make the file the target of Save.
    QVERIFY(form->strCurrentFile.empty());
    QVERIFY(!form->cmdSave->isEnabled());
}

void Form1Test::saveAsCancelledShowsNothing() {
    QTest::keyClicks(form->Text1, "typed");
    answerer->cancelFileDialog();
    form->cmdSaveAs->click();
    QCOMPARE(answerer->fileDialogs.size(), 1);
    QVERIFY(answerer->boxes.isEmpty());
}

void Form1Test::returnToMenuHidesAndShowsTheConsole() {
    QTest::keyClicks(form->Text1, "kept while hidden");
    console->hide();
    form->cmdReturn->click();
    QVERIFY(!form->isVisible());
    QVERIFY(console->isVisible());
    QCOMPARE(TextUploader(), form); // still loaded
    QCOMPARE(form->Text1Text(), std::string("kept while hidden"));
}

void Form1Test::escapeReturnsToMenu() {
    form->Text1->setFocus();
    QTest::keyClick(form->Text1, Qt::Key_Escape);
    QVERIFY(!form->isVisible());
    QVERIFY(console->isVisible());
}

void Form1Test::uploadSendsTheTextBetweenFfAndNul() {
    const std::string text = "Line one\r\nLine \xe9two\r\n";
    load(files->write("text.txt", text));
    tabletAnnouncesItself();
    bool barShown = true;
    SeenBox seen;
    answerer->handle([&](QWidget* box) {
        barShown = form->ProgressBar1->isVisible();
        seen = Describe(qobject_cast<QMessageBox*>(box));
        static_cast<QMessageBox*>(box)->button(QMessageBox::Ok)->click();
    });
    form->cmdUpload->click();
    QCOMPARE(seen, StatusBox());
    QVERIFY(!barShown);
    const std::string expected = "\x05\x0c" + text + std::string(1, '\0');
    QVERIFY(tablet->waitForReceived(expected.size(), 5s));
    QCOMPARE(tablet->received(), expected);
    QVERIFY(!form->MSComm1.PortOpen());
    QVERIFY(form->strLoadedData.empty());
    QCOMPARE(form->ProgressBar1->maximum(), int(text.size()));
    QCOMPARE(form->ProgressBar1->value(), int(text.size()));
    QCOMPARE(form->Text1Text(), text); // the box keeps its text
}

void Form1Test::uploadWithoutAnEchoTriesTenTimes() {
    tablet->setFaults({.silent = true});
    QTest::keyClicks(form->Text1, "text");
    answerer->pressInBox(QMessageBox::Ok);
    form->cmdUpload->click();
    const SeenBox failure{"ERROR", kConnectionFailure, QMessageBox::Warning, QMessageBox::Ok, true};
    QCOMPARE(answerer->boxes, QList<SeenBox>{failure});
    QVERIFY(tablet->waitForReceived(10, 5s));
    QTest::qWait(50);
    QCOMPARE(tablet->received(), std::string(10, '\x05'));
    QVERIFY(!form->MSComm1.PortOpen());
}

void Form1Test::uploadWithThePortOpenWarns() {
    QTest::keyClicks(form->Text1, "text");
    form->MSComm1.setCommPort(kPort);
    form->MSComm1.setPortOpen(true);
    answerer->pressInBox(QMessageBox::Ok);
    form->cmdUpload->click();
    const SeenBox warning{"", "The Com Port is already open. Please close befor etrying to upload.",
                          QMessageBox::Warning, QMessageBox::Ok, false};
    QCOMPARE(answerer->boxes, QList<SeenBox>{warning});
    QTest::qWait(50);
    QCOMPARE(tablet->received(), std::string());
    QVERIFY(form->MSComm1.PortOpen());
}

void Form1Test::uploadBeforeAnySearchShowsThePortError() {
    intComPort = 0;
    QTest::keyClicks(form->Text1, "text");
    answerer->pressInBox(QMessageBox::Ok);
    form->cmdUpload->click();
    const SeenBox error{"ERROR", QString::fromStdString(vb::DefaultDescription(vb::errInvalidPortNumber)),
                        QMessageBox::NoIcon, QMessageBox::Ok, true};
    QCOMPARE(answerer->boxes, QList<SeenBox>{error});
    QVERIFY(!form->MSComm1.PortOpen());
    QVERIFY(!form->ProgressBar1->isVisible());
}

void Form1Test::uploadOfAFileBeyondTheBoxSendsTheWholeFile_data() {
    QTest::addColumn<QByteArray>("file");
    QTest::newRow("a NUL in the file") << QByteArray("before\0after\r\nmore", 18);
    QTest::newRow("more than 65535 characters") << QByteArray::fromStdString(LongText(70000));
}

void Form1Test::uploadOfAFileBeyondTheBoxSendsTheWholeFile() {
    QFETCH(QByteArray, file);
    const std::string whole = file.toStdString();
    load(files->write("text.txt", whole), true); // the box does not hold it all
    QVERIFY(!form->Text1->toPlainText().isEmpty());
    tabletAnnouncesItself();
    bool boxEmptyAtEnd = false;
    SeenBox seen;
    answerer->handle([&](QWidget* box) {
        boxEmptyAtEnd = form->Text1->toPlainText().isEmpty();
        seen = Describe(qobject_cast<QMessageBox*>(box));
        static_cast<QMessageBox*>(box)->button(QMessageBox::Ok)->click();
    });
    form->cmdUpload->click();
    QCOMPARE(seen, StatusBox());
    QVERIFY(boxEmptyAtEnd);
    const std::string expected = "\x05\x0c" + whole + std::string(1, '\0');
    QVERIFY(tablet->waitForReceived(expected.size(), 10s));
    QCOMPARE(tablet->received().size(), expected.size());
    QVERIFY(tablet->received() == expected);
    QCOMPARE(form->ProgressBar1->maximum(), int(whole.size()));
    QVERIFY(form->strLoadedData.empty());
    QVERIFY(!form->cmdUpload->isEnabled()); // the emptied box disabled it
}

void Form1Test::pauseIsACountOf200000() {
    QCOMPARE(Form1::PauseCounts(), 200L); // 200000 scaled by this test's VELMORA_DELAY_SCALE of 0.001
    qunsetenv("VELMORA_DELAY_SCALE");
    const long unscaled = Form1::PauseCounts();
    qputenv("VELMORA_DELAY_SCALE", "0.001");
    QCOMPARE(unscaled, 200000L);
}

void Form1Test::closingEndsTheProgramWithThePortClosed() {
    form->MSComm1.setCommPort(kPort);
    form->MSComm1.setPortOpen(true);
    form->close();
    QVERIFY(vb::HasEnded());
    QVERIFY(!form->MSComm1.PortOpen());
    QVERIFY(!console->isVisible());
    QVERIFY(!form->isVisible());
    // The port is free again: another opener gets it.
    vb::MSComm other;
    other.setCommPort(kPort);
    other.setPortOpen(true);
    QVERIFY(other.PortOpen());
}

// The program's command line holds --text-uploader beside an unattended download's "flag,path".
int main(int argc, char** argv) {
    OwnQtSettings settings;
    char option[] = "--text-uploader";
    char download[] = "1,out.vlm";
    char* programArgv[] = {argv[0], option, download, nullptr};
    int programArgc = 3;
    QApplication app(programArgc, programArgv);
    Form1Test test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_form1.moc"
