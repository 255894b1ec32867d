// The number of the run-time error an action raises, or 0 when it raises none: a raised error becomes a
// failed comparison in the test instead of an exception that stops the whole run.
#pragma once

#include "platform/errors.h"

#include <cstdint>

namespace testing_support {

template <typename Action> std::int64_t ErrorOf(Action&& action) {
    try {
        action();
    } catch (const vb::Error& error) {
        return error.number;
    }
    return 0;
}

} // namespace testing_support
