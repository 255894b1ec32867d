// A downloaded record file opened as a text stream for reading: one line, then all the rest.
//
// The file is read whole when it is opened (a missing file raises 53, as opening it for reading does), so
// the stream never holds the file open. Bytes pass unchanged.
#pragma once

#include <string>

namespace viewer {

class TextStream {
public:
    // Raises the file system's errors: 53 file not found, 76 path not found, 75 not a regular file (a
    // folder, a pipe, a device), 7 a file longer than 64 MiB ...
    explicit TextStream(const std::string& path);

    // The next line without its end. A line ends at CR LF or at an LF alone; a CR elsewhere is text.
    // Raises 62 (input past end of file) when nothing is left.
    std::string ReadLine();
    // Everything not read yet ("" at the end).
    std::string ReadAll();
    void Close();

private:
    std::string text;
    std::size_t position = 0;
};

} // namespace viewer
