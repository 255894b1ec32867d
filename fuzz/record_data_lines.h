// The lines of a record data file as sequential line input takes them, written as plainly as possible so
// that the fuzz targets can hold the program's readers against it: CR LF or a CR alone ends a line, an LF
// alone is text, and bytes after the last line end are a last line of their own.
#pragma once

#include <string>
#include <string_view>
#include <vector>

inline std::vector<std::string> RecordDataLines(std::string_view bytes) {
    std::vector<std::string> lines;
    std::string line;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (bytes[i] != '\r') {
            line += bytes[i];
            continue;
        }
        lines.push_back(line);
        line.clear();
        if (i + 1 < bytes.size() && bytes[i + 1] == '\n') ++i;
    }
    if (!line.empty()) lines.push_back(line);
    return lines;
}
