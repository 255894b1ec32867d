// The application-wide variables every window shares.
#pragma once

#include <string>

// The tablet's serial port number; 0 until a device search has found it.
extern short intComPort;
// The item the value entry dialog asks for, and the value it hands back ("" means cancelled).
extern std::string strInputItem;
extern std::string strInputValue;
// Set to 0 by the device search and read by nothing.
extern short intSearchMarker;

namespace app {
// The program's command line (its arguments after the program name, joined by blanks).
const std::string& ProgramCommandLine();
void SetProgramCommandLine(const std::string& text);
} // namespace app
