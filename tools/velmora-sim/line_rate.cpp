#include "line_rate.h"

#include <array>
#include <cctype>
#include <termios.h>
#include <utility>

namespace sim {

std::optional<LineFrame> parseLineFrame(std::string_view text) {
    if (text.size() != 3) return std::nullopt;
    LineFrame frame;
    frame.dataBits = text[0] - '0';
    frame.parity = static_cast<char>(std::toupper(static_cast<unsigned char>(text[1])));
    frame.stopBits = text[2] - '0';
    if (frame.dataBits < 5 || frame.dataBits > 8) return std::nullopt;
    if (std::string_view("NOEMS").find(frame.parity) == std::string_view::npos) return std::nullopt;
    if (frame.stopBits != 1 && frame.stopBits != 2) return std::nullopt;
    return frame;
}

std::optional<long> lineBaud(int fd) {
    termios settings{};
    if (tcgetattr(fd, &settings) != 0) return std::nullopt;
    const speed_t speed = cfgetospeed(&settings);
    // speed_t holds symbolic constants, not numbers.
    static constexpr std::array<std::pair<speed_t, long>, 30> speeds = {{
        {B50, 50},           {B75, 75},           {B110, 110},         {B134, 134},
        {B150, 150},         {B200, 200},         {B300, 300},         {B600, 600},
        {B1200, 1200},       {B1800, 1800},       {B2400, 2400},       {B4800, 4800},
        {B9600, 9600},       {B19200, 19200},     {B38400, 38400},     {B57600, 57600},
        {B115200, 115200},   {B230400, 230400},   {B460800, 460800},   {B500000, 500000},
        {B576000, 576000},   {B921600, 921600},   {B1000000, 1000000}, {B1152000, 1152000},
        {B1500000, 1500000}, {B2000000, 2000000}, {B2500000, 2500000}, {B3000000, 3000000},
        {B3500000, 3500000}, {B4000000, 4000000},
    }};
    for (const auto& [symbol, baud] : speeds)
        if (symbol == speed) return baud;
    return std::nullopt;
}

} // namespace sim
