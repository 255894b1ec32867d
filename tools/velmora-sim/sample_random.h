// The dice of the sample records: std::mt19937 with our own arithmetic on top, since the standard
// distributions give different numbers in different standard libraries and the samples must be the
// same bytes everywhere for a given seed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <random>

namespace sim {

class SampleRandom {
public:
    explicit SampleRandom(unsigned seed) : engine(seed) {}

    // 0 to n - 1 (n > 0).
    int below(int n) { return static_cast<int>(engine() % static_cast<std::uint32_t>(n)); }
    // lowest to highest, both included.
    int between(int lowest, int highest) { return lowest + below(highest - lowest + 1); }
    // True in `percent` cases of a hundred.
    bool chance(int percent) { return below(100) < percent; }
    // A real number from lowest to highest.
    double real(double lowest, double highest) {
        return lowest + (highest - lowest) * static_cast<double>(engine()) / 4294967295.0;
    }
    template <typename T, std::size_t N> const T& pick(const T (&items)[N]) {
        return items[below(static_cast<int>(N))];
    }

private:
    std::mt19937 engine;
};

} // namespace sim
