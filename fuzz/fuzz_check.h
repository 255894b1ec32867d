// What every fuzz target uses to state its properties: a failed property stops the run at once with a
// message, so libFuzzer keeps the input that broke it as a crash reproducer.
#pragma once

#include <cstdio>
#include <cstdlib>

#define FUZZ_CHECK(condition)                                                                                \
    do {                                                                                                     \
        if (!(condition)) {                                                                                  \
            std::fprintf(stderr, "%s:%d: property failed: %s\n", __FILE__, __LINE__, #condition);            \
            std::abort();                                                                                    \
        }                                                                                                    \
    } while (false)
