// The serial settings text ("115200,O,8,1") on any bytes: the parse either gives settings the port can be
// set to, or raises error 380 and nothing else.
#include "fuzz_check.h"
#include "platform/errors.h"
#include "platform/mscomm.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    vb::LineSettings line;
    try {
        line = vb::ParseSettings(text);
    } catch (const vb::Error& error) {
        FUZZ_CHECK(error.number == vb::errInvalidPropertyValue);
        return 0;
    }
    // Anything else thrown escapes and libFuzzer reports it.
    FUZZ_CHECK(line.baud > 0 && line.baud <= 9999999);
    FUZZ_CHECK(line.parity != '\0' && std::strchr("NOEMS", line.parity) != nullptr);
    FUZZ_CHECK(line.dataBits >= 5 && line.dataBits <= 8);
    FUZZ_CHECK(line.stopBits == 1 || line.stopBits == 1.5 || line.stopBits == 2);
    // Four comma-separated parts, so exactly three commas.
    std::size_t commas = 0;
    for (const char c : text)
        commas += c == ',';
    FUZZ_CHECK(commas == 3);
    return 0;
}
