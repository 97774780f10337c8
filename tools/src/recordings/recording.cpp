#include "recordings/recording.h"

#include <algorithm>
#include <cmath>

#include "ctgscore_io.h"

namespace ctgtool {

std::vector<int> movementWordsPerSecond(const Recording& recording) {
    if (recording.rate < 1) return {};
    std::vector<int> words(recording.fm.size() / recording.rate);
    ctgio_movement_words(recording.fm.data(), static_cast<int>(recording.fm.size()),
                         recording.rate, words.data());
    return words;
}

double signalLossFraction(const Recording& recording) {
    if (recording.fhr.empty()) return 0.0;
    const auto lost = std::count(recording.fhr.begin(), recording.fhr.end(), 0);
    return static_cast<double>(lost) / recording.fhr.size();
}

int roundToInt(double value) {
    if (std::isnan(value)) return 0;
    return static_cast<int>(std::lround(std::clamp(value, -1e9, 1e9)));
}

}  // namespace ctgtool
