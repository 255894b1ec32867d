// RemoveCharacters: the text with only letters, digits, ".", space, CR and LF left, for an upload that must
// send nothing else. No action of the upload editor applies it.
#pragma once

#include <string>

namespace upload {

// Walks the text from its first character; a character to be removed is cut out by joining the parts
// before and after it, and the same position is looked at again, so a run of them goes entirely.
std::string RemoveCharacters(std::string text);

} // namespace upload
