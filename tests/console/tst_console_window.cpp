// The device console as the user first sees it: every control's name, caption, place, font, colour,
// visibility, enabled state and tab order; start-up; Exit; Esc; the link-settings combos below the window.
#include "app/globals.h"
#include "console/console_window.h"
#include "platform/ole_color.h"
#include "platform/program_end.h"
#include "support/ports_folder.h"
#include "support/program.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>

using namespace testing_support;

class ConsoleWindowTest : public QObject {
    Q_OBJECT
private slots:
    void init();
    void titleAndClientArea();
    void controls_data();
    void controls();
    void headingFontsAndColours();
    void connectionLight();
    void hiddenCombosStartValues();
    void startUpState();
    void designedTabOrderHoldsEveryControl();
    void tabOrderReachesTheCombosBelowTheWindow();
    void baudComboChangedByKeyboardAppliesSettings();
    void rateComboChangedByKeyboardSetsDelay_data();
    void rateComboChangedByKeyboardSetsDelay();
    void escapeDoesNothingBeforeASearch();
    void cancelDownloadClickHasNoEffect();
    void cancelUploadSetsItsFlag();
    void exitEndsTheProgram();
    void closingTheConsoleEndsTheProgram();
    void createEditFileOpensTheEditorModeless();
    void closingTheConsoleWithTheEditorOpenEndsEverything();

private:
    PortsFolder ports;
    frmQuillmaxSerial* console = nullptr;
};

void ConsoleWindowTest::init() {
    console = StartConsole();
}

void ConsoleWindowTest::titleAndClientArea() {
    QCOMPARE(console->objectName(), QString("frmQuillmaxSerial"));
    QCOMPARE(console->windowTitle(), QString("Lumacor Velmora LT Uploader/Downloader Tool"));
    QVERIFY(console->isVisible());
    QCOMPARE(console->size(), QSize(8910 / 15, 4215 / 15));
}

void ConsoleWindowTest::controls_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("caption");
    QTest::addColumn<QRect>("twips");
    QTest::addColumn<bool>("enabled");
    QTest::addColumn<bool>("visible");
    QTest::addColumn<double>("points");
    QTest::addColumn<bool>("bold");
    QTest::addColumn<int>("foreColor"); // Windows colour value; -1: the system's text colour
    auto row = [](const char* name, const char* caption, QRect twips, bool enabled, bool visible,
                  double points = 8.25, bool bold = false, int foreColor = -1) {
        QTest::newRow(name) << QString(name) << QString(caption) << twips << enabled << visible << points
                            << bold << foreColor;
    };
    const int darkBlue = 0xC00000, blue = 0xFF0000;
    row("Label3", "System Functions", {360, 120, 1935, 255}, true, true, 9.75, true, darkBlue);
    row("cmdCustomerName", "Set &Company Name", {120, 720, 2295, 375}, false, true);
    row("cmdTitle", "Set &Menu Title", {120, 1200, 2295, 375}, false, true);
    row("cmdDateTime", "Set &Date/Time", {120, 1680, 2295, 375}, false, true);
    row("cmdPassword", "Set &Password", {120, 2160, 2295, 375}, false, true);
    row("cmdReset", "&Reset Device", {120, 2640, 2295, 375}, false, true);
    row("Label4", "Upload to Velmora LT from PC", {3200, 120, 2415, 615}, true, true, 9.75, true, darkBlue);
    row("cmdUploadData", "&Upload File", {3240, 720, 2295, 375}, true, true);
    row("Command1", "Create/&Edit File", {3240, 1200, 2295, 375}, true, true);
    row("cmdCancelUpload", "Cance&l Upload", {3240, 1680, 2295, 375}, false, false);
    row("Label5", "Download to PC", {6480, 120, 2295, 255}, true, true, 9.75, true, darkBlue);
    row("Label7", "from Velmora LT", {6480, 360, 2295, 255}, true, true, 9.75, true, darkBlue);
    row("cmdDownload", "Download &VLM File", {6480, 720, 2295, 375}, false, true);
    row("cmdBrowse", "&View VLM File", {6480, 1200, 2295, 375}, true, true);
    row("ProgressBar1", "", {6480, 1800, 2295, 315}, true, false);
    row("Command3", "Ca&ncel Download", {6480, 2040, 2295, 375}, false, false);
    row("Label2", "Downloaded Record:", {6480, 2685, 1575, 255}, true, false);
    row("txtHowMany", "", {8040, 2640, 735, 285}, true, false);
    row("Label6", "Connection Status", {120, 3600, 915, 435}, true, true, 8.25, false, blue);
    row("lblConnected", "", {1080, 3600, 495, 495}, true, true, 18, true);
    row("cmdSearch", "&Search for Velmora LT", {1603, 3600, 2175, 495}, true, true);
    row("cmdCancel", "E&xit", {6480, 3720, 2295, 375}, true, true);
    // Below the client area: shown, but out of sight.
    row("lblCboDownload", "Communication Rate:", {360, 4440, 1575, 255}, true, true);
    row("cboDownload", "Normal Speed", {360, 4680, 1815, 315}, true, true);
    row("Label1", "Baud Rate:", {2520, 4440, 855, 255}, true, true);
    row("cboBaud", "115200", {2520, 4680, 975, 315}, true, true);
}

void ConsoleWindowTest::controls() {
    QFETCH(QString, name);
    QFETCH(QString, caption);
    QFETCH(QRect, twips);
    QFETCH(bool, enabled);
    QFETCH(bool, visible);
    QFETCH(double, points);
    QFETCH(bool, bold);
    QFETCH(int, foreColor);
    QWidget* control = Control(console, name.toLatin1().constData());
    QVERIFY(control);
    QCOMPARE(control->parentWidget(), console);
    QCOMPARE(control->geometry(),
             QRect(twips.x() / 15, twips.y() / 15, twips.width() / 15, twips.height() / 15));
    QCOMPARE(control->isEnabled(), enabled);
    QCOMPARE(control->isVisible(), visible);
    // Out of sight exactly when it lies below the client area (8910 x 4215 twips).
    QCOMPARE(control->geometry().top() >= console->height(), twips.y() >= 4215);
    QCOMPARE(control->font().family(), QString("MS Sans Serif"));
    QCOMPARE(control->font().pointSizeF(), points);
    QCOMPARE(control->font().bold(), bold);
    if (foreColor >= 0) {
        QCOMPARE(control->property("ForeColor").toInt(), foreColor);
        QCOMPARE(control->palette().color(QPalette::WindowText),
                 QColor(foreColor & 0xFF, (foreColor >> 8) & 0xFF, (foreColor >> 16) & 0xFF));
    } else {
        QVERIFY(!control->property("ForeColor").isValid());
        QCOMPARE(control->palette().color(QPalette::Active, QPalette::WindowText),
                 QApplication::palette().color(QPalette::Active, QPalette::WindowText));
    }
    if (auto* button = qobject_cast<QPushButton*>(control))
        QCOMPARE(button->text(), caption);
    else if (auto* label = qobject_cast<QLabel*>(control))
        QCOMPARE(label->text(), caption);
    else if (auto* combo = qobject_cast<QComboBox*>(control))
        QCOMPARE(combo->currentText(), caption);
    else if (auto* edit = qobject_cast<QLineEdit*>(control))
        QCOMPARE(edit->text(), caption);
}

void ConsoleWindowTest::headingFontsAndColours() {
    for (const char* name : {"Label3", "Label4", "Label5", "Label7"}) {
        auto* label = Control<QLabel>(console, name);
        QVERIFY(label->font().bold());
        QCOMPARE(label->font().pointSizeF(), 9.75);
        QCOMPARE(label->property("ForeColor").toUInt(), 0xC00000u);
        QCOMPARE(label->palette().color(QPalette::WindowText), QColor(0, 0, 0xC0));
    }
    QVERIFY(Control<QLabel>(console, "Label4")->alignment() & Qt::AlignHCenter);
    QVERIFY(Control<QLabel>(console, "Label4")->wordWrap());
    QVERIFY(Control<QLabel>(console, "Label5")->alignment() & Qt::AlignHCenter);
    auto* status = Control<QLabel>(console, "Label6");
    QCOMPARE(status->property("ForeColor").toUInt(), 0xFF0000u);
    QCOMPARE(status->palette().color(QPalette::WindowText), QColor(0, 0, 255));
    QCOMPARE(console->font().family(), QString("MS Sans Serif"));
}

void ConsoleWindowTest::connectionLight() {
    auto* light = Control<QLabel>(console, "lblConnected");
    QVERIFY(light->font().bold());
    QCOMPARE(light->font().pointSizeF(), 18.0);
    QVERIFY(light->alignment() & Qt::AlignHCenter);
    QVERIFY(light->alignment() & Qt::AlignVCenter);
    QCOMPARE(light->frameShape(), QFrame::Box);
    // No colour at start: nothing set, the window's own background shows.
    QVERIFY(!light->property("BackColor").isValid());
    QVERIFY(!light->autoFillBackground());
}

void ConsoleWindowTest::hiddenCombosStartValues() {
    auto* baud = Control<QComboBox>(console, "cboBaud");
    QCOMPARE(baud->count(), 4);
    QCOMPARE(baud->itemText(0), QString("19200"));
    QCOMPARE(baud->itemText(1), QString("38400"));
    QCOMPARE(baud->itemText(2), QString("57600"));
    QCOMPARE(baud->itemText(3), QString("115200"));
    auto* rate = Control<QComboBox>(console, "cboDownload");
    QCOMPARE(rate->count(), 3);
    QCOMPARE(rate->itemText(0), QString("Normal Speed"));
    QCOMPARE(rate->itemText(1), QString("Maximum Speed"));
    QCOMPARE(rate->itemText(2), QString("Slow Speed!"));
    // Both lie below the client area.
    QVERIFY(baud->geometry().top() >= console->height());
    QVERIFY(rate->geometry().top() >= console->height());
}

void ConsoleWindowTest::startUpState() {
    QCOMPARE(intComPort, short(0));
    QCOMPARE(console->dblDelay, 750000.0);
    QVERIFY(!console->blnCancelDownload);
    QVERIFY(!console->blnCancelUpload);
    QVERIFY(strInputItem.empty());
    QVERIFY(strInputValue.empty());
    QVERIFY(!console->MSComm1.PortOpen());
    QVERIFY(!console->Timer1->Enabled());
    QCOMPARE(console->Timer1->Interval(), 50);
    QVERIFY(!console->CancelButton());
    for (const char* name : {"cmdSearch", "Command1", "cmdBrowse", "cmdCancel", "cmdUploadData"})
        QVERIFY2(Control(console, name)->isEnabled(), name);
    for (const char* name :
         {"cmdCustomerName", "cmdTitle", "cmdDateTime", "cmdPassword", "cmdReset", "cmdDownload"})
        QVERIFY2(!Control(console, name)->isEnabled(), name);
    QCOMPARE(QApplication::focusWidget(), Control(console, "cmdSearch"));
}

void ConsoleWindowTest::designedTabOrderHoldsEveryControl() {
    // The whole chain as designed, hidden and disabled controls included, starting at the search button.
    const QStringList designed = {
        "cmdSearch",     "cmdCustomerName", "cmdTitle",  "cmdDateTime", "cmdPassword", "cmdReset",
        "cmdUploadData", "cmdCancelUpload", "Command1",  "cmdDownload", "Command3",    "ProgressBar1",
        "cmdBrowse",     "cboDownload",     "cmdCancel", "cboBaud",     "txtHowMany"};
    QStringList chain;
    QWidget* widget = Control(console, "cmdSearch");
    do {
        if (designed.contains(widget->objectName()) && !chain.contains(widget->objectName()))
            chain << widget->objectName();
        widget = widget->nextInFocusChain();
    } while (widget != Control(console, "cmdSearch"));
    QCOMPARE(chain, designed);
}

void ConsoleWindowTest::tabOrderReachesTheCombosBelowTheWindow() {
    // With the device buttons disabled, Tab walks the enabled controls in the designed order.
    const QStringList expected = {"cmdUploadData", "Command1", "cmdBrowse", "cboDownload",
                                  "cmdCancel",     "cboBaud",  "cmdSearch"};
    QStringList walked;
    for (int i = 0; i < expected.size(); ++i) {
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        walked << QApplication::focusWidget()->objectName();
    }
    QCOMPARE(walked, expected);

    // With every button enabled the full designed chain is walked.
    for (const char* name :
         {"cmdCustomerName", "cmdTitle", "cmdDateTime", "cmdPassword", "cmdReset", "cmdDownload"})
        Control(console, name)->setEnabled(true);
    const QStringList full = {"cmdCustomerName", "cmdTitle", "cmdDateTime", "cmdPassword", "cmdReset",
                              "cmdUploadData",   "Command1", "cmdDownload", "cmdBrowse",   "cboDownload",
                              "cmdCancel",       "cboBaud",  "cmdSearch"};
    walked.clear();
    for (int i = 0; i < full.size(); ++i) {
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        walked << QApplication::focusWidget()->objectName();
    }
    QCOMPARE(walked, full);
}

void ConsoleWindowTest::baudComboChangedByKeyboardAppliesSettings() {
    auto* baud = Control<QComboBox>(console, "cboBaud");
    for (int i = 0; i < 6 && QApplication::focusWidget() != baud; ++i)
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    QCOMPARE(QApplication::focusWidget(), baud);
    QTest::keyClick(baud, Qt::Key_Up);
    QCOMPARE(baud->currentText(), QString("57600"));
    QCOMPARE(console->strBaud, std::string("57600"));
    QCOMPARE(console->MSComm1.Settings(), std::string("57600,O,8,1"));
    QVERIFY(!console->MSComm1.PortOpen()); // a closed port stays closed
    QTest::keyClick(baud, Qt::Key_Up);
    QCOMPARE(console->MSComm1.Settings(), std::string("38400,O,8,1"));
}

void ConsoleWindowTest::rateComboChangedByKeyboardSetsDelay_data() {
    QTest::addColumn<int>("downPresses");
    QTest::addColumn<double>("delay");
    QTest::newRow("Maximum Speed") << 1 << 250000.0;
    QTest::newRow("Slow Speed!") << 2 << 1500000.0;
    QTest::newRow("back to Normal Speed") << 0 << 750000.0;
}

void ConsoleWindowTest::rateComboChangedByKeyboardSetsDelay() {
    QFETCH(int, downPresses);
    QFETCH(double, delay);
    auto* rate = Control<QComboBox>(console, "cboDownload");
    for (int i = 0; i < 6 && QApplication::focusWidget() != rate; ++i)
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    QCOMPARE(QApplication::focusWidget(), rate);
    if (downPresses == 0) {
        QTest::keyClick(rate, Qt::Key_Down);
        QCOMPARE(console->dblDelay, 250000.0);
        QTest::keyClick(rate, Qt::Key_Up);
    }
    for (int i = 0; i < downPresses; ++i)
        QTest::keyClick(rate, Qt::Key_Down);
    QCOMPARE(console->dblDelay, delay);
}

void ConsoleWindowTest::escapeDoesNothingBeforeASearch() {
    QTest::keyClick(Control(console, "cmdSearch"), Qt::Key_Escape);
    QVERIFY(!vb::HasEnded());
    QVERIFY(console->isVisible());
}

void ConsoleWindowTest::cancelDownloadClickHasNoEffect() {
    auto* cancelDownload = Control<QPushButton>(console, "Command3");
    cancelDownload->setEnabled(true);
    QSignalSpy operations(console, &frmQuillmaxSerial::deviceOperationStarted);
    cancelDownload->click();
    QCOMPARE(operations.count(), 0);
    QVERIFY(!vb::HasEnded());
    QVERIFY(!console->blnCancelDownload);
    QVERIFY(!console->blnCancelUpload);
}

void ConsoleWindowTest::cancelUploadSetsItsFlag() {
    auto* cancelUpload = Control<QPushButton>(console, "cmdCancelUpload");
    cancelUpload->setEnabled(true);
    cancelUpload->click();
    QVERIFY(console->blnCancelUpload);
}

void ConsoleWindowTest::exitEndsTheProgram() {
    QTest::mouseClick(Control(console, "cmdCancel"), Qt::LeftButton);
    QVERIFY(vb::HasEnded());
    QVERIFY(!console->isVisible());
}

void ConsoleWindowTest::closingTheConsoleEndsTheProgram() {
    QWidget other;
    other.setObjectName("anotherWindow");
    other.show();
    console->close();
    QVERIFY(vb::HasEnded());
    QVERIFY(!console->isVisible());
    QVERIFY(!other.isVisible());
}

void ConsoleWindowTest::createEditFileOpensTheEditorModeless() {
    QTest::mouseClick(Control(console, "Command1"), Qt::LeftButton);
    QWidget* editor = nullptr;
    for (QWidget* window : QApplication::topLevelWidgets())
        if (window->objectName() == "frmKorvaniUploadUtility" && window->isVisible()) editor = window;
    QVERIFY(editor);
    QCOMPARE(editor->windowTitle(), QString("Lumacor Velmora LT Uploader"));
    QVERIFY(!editor->isModal());
    QVERIFY(!editor->parentWidget()); // no owner
    QCOMPARE(QApplication::activeModalWidget(), nullptr);
    // A second click shows the same window.
    QTest::mouseClick(Control(console, "Command1"), Qt::LeftButton);
    int editors = 0;
    for (QWidget* window : QApplication::topLevelWidgets())
        editors += window->objectName() == "frmKorvaniUploadUtility" && window->isVisible();
    QCOMPARE(editors, 1);
    QVERIFY(console->isVisible());
}

void ConsoleWindowTest::closingTheConsoleWithTheEditorOpenEndsEverything() {
    QTest::mouseClick(Control(console, "Command1"), Qt::LeftButton);
    QWidget* editor = nullptr;
    for (QWidget* window : QApplication::topLevelWidgets())
        if (window->objectName() == "frmKorvaniUploadUtility" && window->isVisible()) editor = window;
    QVERIFY(editor);
    console->close();
    QVERIFY(vb::HasEnded());
    QVERIFY(!editor->isVisible());
    QVERIFY(!console->isVisible());
    QCOMPARE(QApplication::activeModalWidget(), nullptr); // no save question on the way out
}

VELMORA_PROGRAM_TEST_MAIN(ConsoleWindowTest)
#include "tst_console_window.moc"
