// What the viewer's tests share: downloaded record files built byte by byte, written to real files, and
// the console's "&View VLM File" pressed with the file dialog answered.
#pragma once

#include "console/console_window.h"
#include "platform/signature_display.h"
#include "support/modal_answerer.h"
#include "viewer/form2.h"
#include "viewer/record_data_box.h"

#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <string>
#include <vector>

namespace viewer_tests {

using testing_support::ModalAnswerer;
using testing_support::SeenBox;

inline constexpr int kQuotes = 112;

// The header line: count, quote, customer name, quote, title, CR LF.
inline std::string Header(const std::string& count, const std::string& name, const std::string& title) {
    return count + "\"" + name + "\"" + title + "\r\n";
}

// One record line: number, quote, date, quote, the given fields (the rest of the 112 empty), each followed
// by a quote, the signature bytes, CR LF.
inline std::string Record(const std::string& number, const std::string& date,
                          const std::vector<std::string>& fields, const std::string& signature) {
    std::string line = number + "\"" + date + "\"";
    for (int i = 0; i < kQuotes; ++i) {
        if (i < int(fields.size())) line += fields[std::size_t(i)];
        line += '"';
    }
    return line + signature + "\r\n";
}

// A record line with fewer than 112 quotes after its date: the given fields only.
inline std::string ShortRecord(const std::string& number, const std::string& date,
                               const std::vector<std::string>& fields) {
    std::string line = number + "\"" + date + "\"";
    for (const std::string& field : fields)
        line += field + "\"";
    return line + "\r\n";
}

// The record-data box's text for these field lines: each line followed by CR LF.
inline std::string Lines(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines)
        text += line + "\r\n";
    return text;
}

// Signature bytes in the tablet's full range: 0x00, then 0x80..0xFF, then the low bytes but CR.
inline std::string WideSignature() {
    std::string bytes(1, '\0');
    for (int code = 0x80; code <= 0xFF; ++code)
        bytes += char(code);
    for (int code = 1; code < 0x80; ++code)
        if (code != '\r') bytes += char(code);
    return bytes;
}

inline QByteArray Bytes(const std::string& text) {
    return QByteArray(text.data(), qsizetype(text.size()));
}

inline bool WriteFile(const QString& path, const std::string& bytes) {
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) &&
           file.write(Bytes(bytes)) == qsizetype(bytes.size());
}

// Presses "&View VLM File" choosing `path` in its file dialog; returns when the click is handled.
inline void LoadWithDialog(frmQuillmaxSerial* console, ModalAnswerer& answerer, const QString& path) {
    answerer.chooseFile(path);
    QTest::mouseClick(console->cmdBrowse, Qt::LeftButton);
}

inline std::string BoxBytes(const QLineEdit* box) {
    return Form2::BoxText(box);
}

inline QString Caption(const Form2* viewer) {
    return viewer->lblSignature->text();
}

inline QByteArray SignatureOf(const Form2* viewer) {
    return viewer->Ondrate1->property("SignatureData").toByteArray();
}

inline SeenBox RecordStatusBox(const char* text, QMessageBox::Icon icon) {
    return SeenBox{"RECORD STATUS", text, icon, QMessageBox::Ok, true};
}

} // namespace viewer_tests
