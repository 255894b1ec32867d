#include "viewer/record_data_box.h"

#include "platform/vb_text.h"

namespace viewer {

namespace {

std::string Replaced(std::string text, std::string_view from, std::string_view to) {
    for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
    return text;
}

} // namespace

RecordDataBox::RecordDataBox(QWidget* parent) : QPlainTextEdit(parent) {
    // Long fields (a memo) wrap at the box's width, as a multi-line box without a horizontal scroll bar does.
    setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    connect(this, &QPlainTextEdit::textChanged, this, &RecordDataBox::TakeTypedText);
}

void RecordDataBox::SetText(std::string text) {
    if (text == bytes) return;
    bytes = std::move(text);
    settingText = true;
    setPlainText(vb::ToQString(Replaced(bytes, "\r\n", "\n")));
    settingText = false;
}

void RecordDataBox::TakeTypedText() {
    if (settingText) return;
    bytes = Replaced(vb::FromQString(toPlainText()), "\n", "\r\n");
}

} // namespace viewer
