// The settings a demo tablet holds from the start, so that it looks like a tablet that has been in use:
// they are stored the way the console's settings commands store them, by talking to the tablet over its
// port (command byte, value, CR; the tablet echoes and keeps the value).
#pragma once

#include <string>

namespace sim {
class Tablet;
}

namespace app {

struct DemoSettings {
    std::string companyName; // 0x03
    std::string menuTitle;   // 0x09
    std::string password;    // 0x10
    std::string clock;       // 0x14, as "M/D/YY/H:M"
};

// A company, a menu title, a password and the computer's clock now.
DemoSettings SampleDemoSettings();

// Sends the four settings to `tablet` on its port, waits until it has stored them and leaves nothing of
// its echoes waiting on the line, so that the first search starts on a quiet port. Throws
// std::runtime_error when the port cannot be opened or the tablet does not take them in time.
void StoreDemoSettings(sim::Tablet& tablet, const DemoSettings& settings);

} // namespace app
