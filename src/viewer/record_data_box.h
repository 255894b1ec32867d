// The viewer's multi-line record-data box. It holds its text as bytes with CR LF line ends, as the
// program's algorithms build it, and shows each CR LF as one line break.
#pragma once

#include <QPlainTextEdit>
#include <string>

namespace viewer {

class RecordDataBox : public QPlainTextEdit {
    Q_OBJECT
public:
    explicit RecordDataBox(QWidget* parent = nullptr);

    const std::string& Text() const { return bytes; }
    void SetText(std::string text);

private:
    // What the user typed becomes the box's text, each line break a CR LF again.
    void TakeTypedText();

    std::string bytes;
    bool settingText = false;
};

} // namespace viewer
