#include "export_text.h"

#include "platform/vb_text.h"

namespace cli {

std::string Latin1ToUtf8(std::string_view bytes) {
    std::string out;
    out.reserve(bytes.size() + bytes.size() / 8);
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x80) {
            out += c;
            continue;
        }
        out += static_cast<char>(0xC0 | byte >> 6);
        out += static_cast<char>(0x80 | (byte & 0x3F));
    }
    return out;
}

QString ShownText(std::string_view bytes) {
    QString text = vb::ToQString(bytes);
    for (QChar& c : text)
        if (c.category() == QChar::Other_Control) c = QLatin1Char('?');
    return text;
}

} // namespace cli
