#include "app/globals.h"

short intComPort = 0;
std::string strInputItem;
std::string strInputValue;
short intSearchMarker = 0;

namespace app {

namespace {
std::string commandLine;
}

const std::string& ProgramCommandLine() {
    return commandLine;
}

void SetProgramCommandLine(const std::string& text) {
    commandLine = text;
}

} // namespace app
