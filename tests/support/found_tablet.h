// A console whose device search has found an emulated tablet on COM3 behind two missing ports, as an
// operator has it before pressing a device button. The tablet's faults are set after the search, so a
// test can make it misbehave in the command under test only.
#pragma once

#include "console/console_window.h"
#include "support/ports_folder.h"
#include "tablet.h"

#include <memory>

namespace testing_support {

class FoundTablet {
public:
    static constexpr int kPort = 3;

    // Starts the program, presses "&Search for Velmora LT" and forgets the search's ENQ on the tablet.
    // `found` is false when the search did not find the tablet.
    FoundTablet();
    ~FoundTablet();

    bool found = false;
    PortsFolder ports;
    std::unique_ptr<sim::Tablet> tablet;
    frmQuillmaxSerial* console = nullptr;
};

} // namespace testing_support
