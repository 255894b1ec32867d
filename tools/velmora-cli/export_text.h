// The text of the command line's outputs: UTF-8, with each byte of a record file read as its Latin-1
// character (0xE9 gives "é"), so that every byte 0-255 has one character and none is lost.
#pragma once

#include <QString>
#include <string>
#include <string_view>

namespace cli {

// The bytes as Latin-1 characters, encoded in UTF-8. Control bytes are kept.
std::string Latin1ToUtf8(std::string_view bytes);

// The bytes as the viewer shows them (its code page), with control characters shown as '?' so that a
// line printed on a terminal stays one line and sends it no control sequence.
QString ShownText(std::string_view bytes);

} // namespace cli
