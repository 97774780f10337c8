// A generated recording with the features the analysis looks for: a beating
// heart rate around 140 bpm with accelerations every four minutes and a
// deceleration every seven, contractions every three minutes, and a movement
// mark every seven minutes.  Each array holds exactly what the interface
// reads: `length` samples, `length / rate` movement words.
#pragma once

#include <cmath>
#include <vector>

namespace testing_support {

struct SyntheticRecording {
    std::vector<int> fhr, uc, fm;
};

// Raised-cosine bump of height `peak` and `width` samples, starting at `start`.
inline double bump(long t, long start, long width, double peak) {
    if (t < start || t >= start + width) return 0.0;
    const double pi = std::acos(-1.0);
    return peak * 0.5 * (1.0 - std::cos(2.0 * pi * static_cast<double>(t - start) / width));
}

inline SyntheticRecording syntheticRecording(long samples, int rate = 4) {
    SyntheticRecording rec;
    rec.fhr.resize(samples);
    rec.uc.resize(samples);
    rec.fm.assign(samples / rate, 0);
    const long minute = 60L * rate;
    for (long t = 0; t < samples; ++t) {
        // Beat-to-beat variability: two oscillations of a few bpm.
        double bpm = 140.0 + 6.0 * std::sin(t * 2.0 * std::acos(-1.0) / (7.0 * rate)) +
                     2.0 * std::sin(t * 2.0 * std::acos(-1.0) / (2.5 * rate));
        bpm += bump(t % (4 * minute), 2 * minute, minute / 2, 25.0);
        bpm -= bump(t % (7 * minute), 5 * minute, minute / 2, 30.0);
        rec.fhr[t] = static_cast<int>(std::lround(bpm));
        rec.uc[t] =
            static_cast<int>(std::lround(12.0 + bump(t % (3 * minute), minute, minute, 55.0)));
    }
    for (long second = 30; second < static_cast<long>(rec.fm.size()); second += 7 * 60) {
        rec.fm[second] = 4;
    }
    return rec;
}

}  // namespace testing_support
