// Run-time choice of the vector instructions used by the hot loops.  Every
// level forms the same sums in the same order, so every level gives the same
// bits; the level only decides how many sums advance per instruction.
#pragma once

#include <vector>

// In ascending order: a CPU that runs a level runs every level before it.
enum class DispatchLevel { Baseline, Avx2, Avx512 };

namespace dispatch {

// The highest level this CPU runs: AVX-512 (F), AVX2, or the x86-64 baseline (SSE2).
DispatchLevel detected();

// Every level this CPU runs, highest first.
std::vector<DispatchLevel> available();

// The level the hot loops use: the detected one unless forced.
DispatchLevel active();

// Makes the hot loops use `level` from now on; refused (false) when the CPU
// cannot run it.  For tests and benchmarks, which run every level the CPU has.
bool force(DispatchLevel level);

// Back to the detected level.
void useDetected();

// "AVX-512", "AVX2" or "x86-64 baseline".
const char* name(DispatchLevel level);

}  // namespace dispatch
