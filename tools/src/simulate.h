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
#include <vector>

#include "recording.h"

namespace ctgtool {

struct SimulationOptions {
    int minutes = 40;
    int rate = 4;
    std::uint64_t seed = 1;
};

enum class SimulatedKind {
    Contraction,
    Acceleration,
    EarlyDeceleration,
    LateDeceleration,
    Movement,
    SignalLoss
};

// An event placed by the generator; times in seconds from the start.
struct SimulatedEvent {
    SimulatedKind kind;
    double start;
    double peak;
    double end;
    double size;  // bpm above/below the baseline, or toco units above the tone
};

struct Simulation {
    Recording recording;
    std::vector<SimulatedEvent> events;  // sorted by start time
};

// Throws std::invalid_argument for minutes or rate below 1.
Simulation simulate(const SimulationOptions& options);

// The recording as CSV with the header fhr,uc,fm, one line per sample.
void writeRecordingCsv(std::ostream& out, const Recording& recording);

}  // namespace ctgtool
