#include "upload/remove_characters.h"

#include "platform/vb_text.h"

namespace upload {

namespace {

bool IsKept(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '.' ||
           c == ' ' || c == '\r' || c == '\n';
}

} // namespace

std::string RemoveCharacters(std::string text) {
    long i = 1;
    while (i <= vb::Len(text)) {
        if (IsKept(text[std::size_t(i - 1)]))
            ++i;
        else
            text = vb::Left(text, i - 1) + vb::Mid(text, i + 1);
    }
    return text;
}

} // namespace upload
