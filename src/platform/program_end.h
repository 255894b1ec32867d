// Ending the program at once: the port is closed by the caller, every window is closed, the application's
// event loop returns 0, and no handler code runs after it.
#pragma once

#include <exception>

namespace vb {

// Unwinds the handler that ended the program, or that was running (inside DoEvents) when another handler
// ended it. The handler wrapper (RunHandler, handler.h) catches it, so it never reaches Qt.
struct ProgramEnded : std::exception {
    const char* what() const noexcept override { return "program ended"; }
};

// Hides every window without running its close handlers, makes the running event loops return (the
// application's with 0) and throws ProgramEnded so that nothing after the call runs.
[[noreturn]] void End();
bool HasEnded();
// A new run of the program starts (StartProgram; tests start several in one process): the ended state is
// cleared, and modal loops wait for their answers again.
void ResetEnded();

} // namespace vb
