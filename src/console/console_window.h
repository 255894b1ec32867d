// frmQuillmaxSerial, the device console: the start-up window and the hub of the program.
//
// It owns the serial port MSComm1, the tick timer Timer1, the progress bar, the file dialog and the state
// every device command shares. Its handlers are spread over files by job: the window and its controls
// here and in console_layout.cpp, the link settings and device search in device_search.cpp, and the
// device operations in their own files.
#pragma once

#include "platform/common_dialog.h"
#include "platform/mscomm.h"
#include "platform/vb_timer.h"

#include <QWidget>
#include <cstdint>
#include <functional>
#include <string>

class QComboBox;
class QLabel;
class QLineEdit;
class QProgressBar;
class QPushButton;

namespace console {
struct Command;
struct Stage;
} // namespace console
namespace settings {
struct TextSetting;
}

class frmQuillmaxSerial : public QWidget {
    Q_OBJECT
public:
    frmQuillmaxSerial();
    ~frmQuillmaxSerial() override;

    // Controls, by their given names.
    QLabel* Label1;
    QLabel* Label2;
    QLabel* Label3;
    QLabel* Label4;
    QLabel* Label5;
    QLabel* Label6;
    QLabel* Label7;
    QLabel* lblCboDownload;
    QLabel* lblConnected;
    QPushButton* cmdCustomerName;
    QPushButton* cmdTitle;
    QPushButton* cmdDateTime;
    QPushButton* cmdPassword;
    QPushButton* cmdReset;
    QPushButton* cmdUploadData;
    QPushButton* Command1;
    QPushButton* cmdCancelUpload;
    QPushButton* cmdDownload;
    QPushButton* cmdBrowse;
    QPushButton* Command3;
    QPushButton* cmdSearch;
    QPushButton* cmdCancel;
    QProgressBar* ProgressBar1;
    QLineEdit* txtHowMany;
    QComboBox* cboDownload;
    QComboBox* cboBaud;
    vb::Timer* Timer1;
    vb::MSComm MSComm1;
    vb::CommonDialog CommonDialog1;

    // Console state shared by the device commands.
    std::int32_t lngTicks = 0;
    std::string vntInBuffer;
    double dblDelay = 750000;
    bool blnDownloading = false;
    std::int32_t lngProgress = 0;
    std::string strBaud;
    std::string strCmdLine;
    std::string strCmdFile;
    bool blnCmdLine = false;
    bool blnCancelDownload = false; // set false at start, read by nothing
    bool blnCancelUpload = false;
    short intDownloadMarker = 0; // set by the receive notification and the download, read by nothing
    // The downloaded record file the viewer shows: its full path, and its record count without leading
    // zeros ("005" gives "5").
    std::string strRecordFile, strRecordCount;
    // The data file upload: the file chosen, the packed text being sent (emptied after a successful upload)
    // and the 1-based position of the character last sent.
    std::string strUploadFile;
    std::string strUploadText;
    std::int32_t lngUploadPosition = 0;

    // The button Esc presses; none until a device search has made "E&xit" the cancel button.
    QPushButton* CancelButton() const { return cancelButton; }

    // Handlers, named after their control and event.
    void Form_Load();
    void Form_QueryUnload();
    void Form_Unload();
    void cmdSearch_Click();
    void cmdCancel_Click();
    void Command1_Click();
    void Command3_Click();
    void cmdBrowse_Click();
    void cmdDownload_Click();
    void cmdCustomerName_Click();
    void cmdTitle_Click();
    void cmdPassword_Click();
    void cmdDateTime_Click();
    void cmdReset_Click();
    void cmdUploadData_Click();
    void cmdCancelUpload_Click();
    void cboBaud_Click();
    void cboDownload_Click();
    void MSComm1_OnComm();
    void Timer1_Timer();

    // The device search behind "&Search for Velmora LT", command-line branch included.
    void DeviceSearch();

    // The command exchange every device command runs, inside the device commands' error trap.
    void RunCommandExchange(const console::Command& command);

signals:
    // The download has been asked for ("cmdDownload_Click"), before it does anything: the search's
    // unattended branch runs it on port 0 before the reset, where it fails without a word.
    void deviceOperationStarted(const QString& handler);

protected:
    void closeEvent(QCloseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    void CreateControls();
    void WireHandlers();
    // The seven buttons that need a found tablet, in the order the search disables and enables them.
    QList<QPushButton*> DeviceButtons() const;
    void ShowPortInLight(int port);
    void ClosePortIfOpen();

    // The device commands' error trap: a run-time error shows its description titled "ERROR" (none for
    // a cancelled file dialog) and ends the command, leaving the port as it was.
    void TrapDeviceCommandErrors(const std::function<void()>& body);
    // The exchange without the trap; false from a stage when its echo did not come in time.
    void ExchangeStages(const console::Command& command);
    bool ExchangeStage(const console::Stage& stage);
    // Company name, main menu title and password: ask for the value, then send it.
    void SetTextSetting(const settings::TextSetting& setting);
    // The data file upload without its error trap: handshake, file, packing, sending.
    void SendDataFile();

    QPushButton* cancelButton = nullptr;
};
