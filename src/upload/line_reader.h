// Line input over bytes already in memory, with the same rules as reading a file for sequential input
// (vb::SequentialInput): CR LF or a CR alone ends a line, an LF alone stays in the line's text, bytes after
// the last line end are a last line of their own, and reading at the end raises 62 (input past end of
// file).
#pragma once

#include <string>
#include <string_view>

namespace upload {

class LineReader {
public:
    explicit LineReader(std::string_view bytes) : bytes(bytes) {}

    bool Eof() const { return position == bytes.size(); }
    // The next line without its ending. Raises 62 when Eof() is true.
    std::string LineInput();

private:
    std::string_view bytes;
    std::size_t position = 0;
};

} // namespace upload
