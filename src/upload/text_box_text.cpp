#include "upload/text_box_text.h"

#include "platform/vb_text.h"

namespace upload {

namespace {

// Every line end (CR LF, a CR alone, an LF alone) as CR LF.
std::string WithCrLfLineEnds(std::string_view bytes) {
    std::string out;
    out.reserve(bytes.size());
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const char byte = bytes[i];
        if (byte == '\r' || byte == '\n') {
            out += "\r\n";
            if (byte == '\r' && i + 1 < bytes.size() && bytes[i + 1] == '\n') ++i;
        } else {
            out += byte;
        }
    }
    return out;
}

} // namespace

std::string TextBoxContent(std::string_view bytes) {
    std::string content = WithCrLfLineEnds(bytes.substr(0, bytes.find('\0')));
    if (content.size() > std::size_t(kTextBoxLimit)) {
        content.resize(std::size_t(kTextBoxLimit));
        if (content.back() == '\r') content.pop_back(); // the limit falls inside a CR LF
    }
    return content;
}

QString ToTextBox(std::string_view boxText) {
    QString shown = vb::ToQString(boxText);
    shown.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    return shown;
}

std::string FromTextBox(const QString& rawText) {
    // The document's raw text keeps a no-break space (0xA0) as it is, where its plain text would make it a
    // space; its paragraph and line separators are the box's line ends.
    QString text = rawText;
    text.replace(QChar::ParagraphSeparator, u'\n').replace(QChar::LineSeparator, u'\n');
    return WithCrLfLineEnds(vb::FromQString(text));
}

} // namespace upload
