// Handwritten signatures for the sample records: pen strokes that look like a person signing on the
// tablet's pad. A signature is a slanted cursive line of loops, arches and ovals of varying height
// and width for the name, sometimes a second word, an i-dot or a t-bar, often an underline flourish.
#pragma once

#include "sample_random.h"
#include "signature/strokes.h"

#include <vector>

namespace sim {

// A signature of `letters` letters (about the length of the signer's name; at least 5) in the
// tablet's grid, in two strokes or more and 150 to 600 points in all. Each call draws new dice, so no
// two are alike.
std::vector<signature::Stroke> Handwriting(SampleRandom& dice, int letters);

} // namespace sim
