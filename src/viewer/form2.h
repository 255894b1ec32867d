// Form2, the record viewer ("Lumacor Velmora LT VLM File Viewer"): one record of a loaded downloaded
// record file at a time, with the file's customer name, title and record count, the record's date and
// time, its field lines and its signature.
//
// The console's "&View VLM File" (record_file_load.cpp) fills it for record 1 and shows it; Next and
// Previous step through the record area `strRecords`, Back to Main Menu hides it. The window is split over
// files by job:
//   form2.cpp             construction, load, the button handlers and the close box
//   form2_controls.cpp    the controls, their captions and places
//   form2_record.cpp      showing a record: the date, the field scan, the signature and the caption
//   record_data_box       the multi-line record-data box, its text kept as bytes with CR LF
//   record_file_load.cpp  the console's "&View VLM File" that fills and shows the window
//   vlm_file              the file's pieces and the field scan, without widgets
//   text_stream           the file read as one line and the rest; resume_next.h, the handlers' guards
#pragma once

#include "viewer/vlm_file.h"

#include <QWidget>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <string>

class QLabel;
class QLineEdit;
class QPushButton;
namespace vb {
class SignatureDisplay;
}
namespace viewer {
class RecordDataBox;
}

class Form2 : public QWidget {
    Q_OBJECT
public:
    Form2();
    ~Form2() override;

    // ---- Controls, by their given names ----
    QLabel* Label4 = nullptr; // "Number Of Records"
    QLineEdit* txtNumberOfRecords = nullptr;
    QLabel* Label3 = nullptr; // "Customer Name"
    QLineEdit* txtCustomerName = nullptr;
    QLabel* Label2 = nullptr; // "Title"
    QLineEdit* txtTitle = nullptr;
    QLabel* Label1 = nullptr; // "Record Data"
    viewer::RecordDataBox* txtRecordData = nullptr;
    QLabel* lblTimeDate = nullptr;
    QLineEdit* txtTimeDate = nullptr;
    QLabel* lblSignature = nullptr;
    vb::SignatureDisplay* Ondrate1 = nullptr;
    QLabel* lblVLKeypad = nullptr;
    QLineEdit* txtVLKeypad = nullptr;
    QLabel* lblTransaction = nullptr;
    QLineEdit* txtTransaction = nullptr;
    QPushButton* cmdNext = nullptr;
    QPushButton* cmdPrevious = nullptr;
    QPushButton* cmdReturn = nullptr;

    // ---- Window state, set by the console's load ----
    std::string strRecords;     // the record area of the file, whole
    short intCurrentRecord = 0; // 1-based

    // True once the window has been closed with its close box; it is deleted right after.
    bool Unloaded() const { return unloaded; }

    // ---- Boxes as bytes ----
    static void SetBoxText(QLineEdit* box, const std::string& text);
    static std::string BoxText(const QLineEdit* box);

    // ---- Shared by the load, Next and Previous ----
    // The caption under which the signature is shown: "Record " + n + " of " + the console's record count.
    void ShowRecordCaption(const std::string& record);
    // The signature display refilled with these bytes, in order: ClearSignature, AppendSignatureByte for
    // each byte, DisplayMode 5. Each call that the signature control could refuse passes over the listed
    // errors.
    void ShowSignature(const std::string& signature, std::initializer_list<std::int64_t> passedOver);
    // Runs the field scan of `variant` over strRecords from `start` into txtRecordData.
    viewer::ScanResult ScanIntoRecordData(long start, const std::string& dateField,
                                          const viewer::ScanVariant& variant,
                                          const std::function<void()>& onQuote = {});

    // ---- Event handlers ----
    void Form_Load();
    void cmdNext_Click();
    void cmdPrevious_Click();
    void cmdReturn_Click();
    void Form_Unload();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void BuildControls();
    void ConnectHandlers();
    // Shows record n with the choices of Next or Previous (the key's position p, the date, the scan, the
    // signature and the caption).
    void ShowRecord(short n, const viewer::ScanVariant& variant);
    bool unloaded = false;
};

// The viewer of the running program, loaded (hidden) when there is none yet: the console's load starts
// with it. A viewer closed with its close box, or left by an earlier run of the program, is replaced by a
// fresh one.
Form2& LoadedForm2();
// The viewer of the running program if one is loaded, else null.
Form2* FindForm2();
