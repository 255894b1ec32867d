// Ending the program at once: the port is closed by the caller, every window is closed, the application's
// event loop returns 0, and no handler code runs after it.
#pragma once

#include <exception>

namespace vb {

// Thrown out of DoEvents() into a handler that was running when the program was ended from inside the
// events it processed; the handler wrappers (RunHandler) catch it, so it never reaches Qt.
struct ProgramEnded : std::exception {
    const char* what() const noexcept override { return "program ended"; }
};

void End();
bool HasEnded();
// A new run of the program starts (StartProgram): the ended state is cleared.
void ResetEnded();

// Runs an event handler body; a ProgramEnded raised inside it stops the handler quietly.
template <typename F> void RunHandler(F&& body) {
    if (HasEnded()) return;
    try {
        body();
    } catch (const ProgramEnded&) {
    }
}

} // namespace vb
