// A CTG recording as the tool holds it, whatever file it came from.
#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace ctgtool {

struct Recording {
    std::string name;
    int rate = 4;                           // samples per second
    std::vector<int> fhr;                   // bpm, 0 = signal loss
    std::vector<int> uc;                    // toco units
    std::vector<int> fm;                    // movement mark word per sample, 0 = none
    std::optional<std::int64_t> startTime;  // Unix seconds, when the file tells

    int samples() const { return static_cast<int>(fhr.size()); }
    double minutes() const { return rate > 0 ? samples() / (60.0 * rate) : 0.0; }
};

// The library reads one movement word per second (length / rate words).  Each
// word is the bitwise OR of the per-sample marks of that second; a trailing
// partial second is dropped, as the library never reads it.
std::vector<int> movementWordsPerSecond(const Recording& recording);

// Share of samples with signal loss (fhr 0), 0..1.
double signalLossFraction(const Recording& recording);

// Rounds to the nearest integer, halves away from zero; values beyond +-1e9
// are clamped first and NaN gives 0, so odd input never overflows an int.
int roundToInt(double value);

// A file that cannot be read as a recording; the message names file and problem.
class InputError : public std::runtime_error {
public:
    InputError(const std::string& path, const std::string& problem)
        : std::runtime_error(path + ": " + problem) {}
};

}  // namespace ctgtool
