#include "upload/line_reader.h"

#include "platform/errors.h"

namespace upload {

std::string LineReader::LineInput() {
    if (Eof()) vb::Raise(vb::errInputPastEndOfFile);
    const std::size_t end = bytes.find('\r', position);
    if (end == std::string_view::npos) {
        std::string last(bytes.substr(position));
        position = bytes.size();
        return last;
    }
    std::string line(bytes.substr(position, end - position));
    position = end + 1;
    if (position < bytes.size() && bytes[position] == '\n') ++position;
    return line;
}

} // namespace upload
