// Running an event handler the way the program's runtime does.
//
// A handler's own trap deals with the errors its behaviour names. What escapes it is reported here in a
// box ("Run-time error '13':" and the description) instead of reaching Qt, and the program goes on, so no
// data already in memory is lost. ProgramEnded (the program was ended inside the handler) stops it quietly.
#pragma once

#include "platform/errors.h"
#include "platform/program_end.h"

namespace vb {

void ReportUntrappedError(const Error& error);

template <typename F> void RunHandler(F&& body) {
    if (HasEnded()) return;
    try {
        body();
    } catch (const ProgramEnded&) {
    } catch (const Error& error) {
        ReportUntrappedError(error);
    }
}

} // namespace vb
