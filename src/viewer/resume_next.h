// "Resume with the next statement" for the errors a handler's trap lets pass: a guard around the one
// statement that can fail. Only the listed error numbers are passed over; any other error goes on to the
// handler's own trap.
#pragma once

#include "platform/errors.h"

#include <algorithm>
#include <cstdint>
#include <initializer_list>

namespace viewer {

template <typename Statement>
void ResumeNextOn(std::initializer_list<std::int64_t> numbers, Statement&& statement) {
    try {
        statement();
    } catch (const vb::Error& error) {
        if (std::find(numbers.begin(), numbers.end(), error.number) == numbers.end()) throw;
    }
}

} // namespace viewer
