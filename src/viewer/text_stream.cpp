#include "viewer/text_stream.h"

#include "platform/errors.h"
#include "platform/file_system.h"

namespace viewer {

TextStream::TextStream(const std::string& path) : text(vb::ReadAll(path)) {}

std::string TextStream::ReadLine() {
    if (position >= text.size()) vb::Raise(vb::errInputPastEndOfFile);
    const std::size_t lineFeed = text.find('\n', position);
    const std::size_t next = lineFeed == std::string::npos ? text.size() : lineFeed + 1;
    std::size_t end = lineFeed == std::string::npos ? text.size() : lineFeed;
    if (lineFeed != std::string::npos && end > position && text[end - 1] == '\r') --end;
    std::string line = text.substr(position, end - position);
    position = next;
    return line;
}

std::string TextStream::ReadAll() {
    std::string rest = text.substr(position);
    position = text.size();
    return rest;
}

void TextStream::Close() {
    text.clear();
    position = 0;
}

} // namespace viewer
