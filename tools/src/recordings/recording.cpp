#include "recordings/recording.h"

#include <algorithm>
#include <cmath>

namespace ctgtool {

std::vector<int> movementWordsPerSecond(const Recording& recording) {
    std::vector<int> words;
    if (recording.rate < 1) return words;
    const std::size_t seconds = recording.fm.size() / recording.rate;
    words.reserve(seconds);
    for (std::size_t second = 0; second < seconds; ++second) {
        int word = 0;
        for (int k = 0; k < recording.rate; ++k) word |= recording.fm[second * recording.rate + k];
        words.push_back(word);
    }
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
