// Deterministic synthetic CTG recordings: a wandering heart-rate baseline with
// beat-to-beat variability, accelerations, early and late decelerations tied
// to contractions, a resting toco tone with contractions, movement marks and
// stretches of signal loss.  The same options give the same recording on
// every run: the generator has its own PRNG and uses only basic arithmetic and
// the (exactly rounded) square root, so no library distribution or
// transcendental function enters the numbers.
#pragma once

#include <cstdint>
#include <ostream>

#include "recordings/recording.h"

namespace ctgtool {

struct SimulationOptions {
    int minutes = 40;
    int rate = 4;
    std::uint64_t seed = 1;
};

// Throws std::invalid_argument for minutes or rate below 1.
Recording simulate(const SimulationOptions& options);

// The recording as CSV with the header fhr,uc,fm, one line per sample.
void writeRecordingCsv(std::ostream& out, const Recording& recording);

}  // namespace ctgtool
