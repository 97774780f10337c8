#include <algorithm>
#include <cmath>
#include <cstdint>

#include "algorithm.h"
#include "utils.h"

// b0, b1, b2, a1, a2 of the contraction low-pass (DC gain 1).
const float lpf004_coef[5] = {0.0133592f, 0.0267184f, 0.0133592f, 1.64746f, -0.7008968f};

// One biquad step in single precision; the caller has put the new input into
// state[0].  State: x[n], x[n-1], x[n-2], y[n-1], y[n-2].
float filter(const float* coef, float* state) {
    float y = coef[0] * state[0];
    y = y + coef[1] * state[1];
    y = y + coef[2] * state[2];
    y = y + coef[3] * state[3];
    y = y + coef[4] * state[4];
    state[2] = state[1];
    state[1] = state[0];
    state[4] = state[3];
    state[3] = y;
    return y;
}

std::vector<double> QK4_CFhrAlgorithm::uc_baseline(const std::vector<int>& uc, int windowSeconds) {
    samplePeriod = 1.0 / sampleRate;
    return weightedModeBaseline(uc, windowSeconds, sampleRate, {20, 100, 300});
}

// Zero-phase low-pass: a forward pass stored reversed, a backward pass, and a
// final reversal.  The two filter states are process-wide and never reset, so
// each call starts from where the previous call (of any analyzer) left them.
std::vector<double> QK4_CFhrAlgorithm::lowpass_filter(const std::vector<int>& x) const {
    static float lpf1[5] = {0, 0, 0, 0, 0};
    static float lpf2[5] = {0, 0, 0, 0, 0};
    const size_t n = x.size();
    std::vector<double> result(n, 0.0);
    for (size_t j = 0; j < n; ++j) {
        lpf1[0] = static_cast<float>(x[j]);
        result[n - 1 - j] = filter(lpf004_coef, lpf1);
    }
    for (size_t j = 0; j < n; ++j) {
        lpf2[0] = static_cast<float>(result[j]);
        result[j] = filter(lpf004_coef, lpf2);
    }
    std::reverse(result.begin(), result.end());
    return result;
}

std::vector<double> QK4_CFhrAlgorithm::conv(const std::vector<double>& a,
                                            const std::vector<double>& b) const {
    if (a.empty() || b.empty()) return {};
    std::vector<double> out(a.size() + b.size() - 1, 0.0);
    for (size_t i = 0; i < a.size(); ++i) {
        for (size_t j = 0; j < b.size(); ++j) out[i + j] += a[i] * b[j];
    }
    return out;
}

namespace {

// Offset of the first smallest value among d[first .. first + count - 1].
int64_t firstMinimumOffset(const std::vector<double>& d, int64_t first, int64_t count) {
    int64_t best = 0;
    for (int64_t m = 1; m < count; ++m) {
        if (d[first + m] < d[first + best]) best = m;
    }
    return best;
}

}  // namespace

// Contractions: peaks of the low-passed trace above its baseline, each bounded
// by the lowest points within one peak width before and after it.
void QK4_CFhrAlgorithm::uc_detect(std::vector<int>& peaks, std::vector<int>& starts,
                                  std::vector<int>& ends, std::vector<double>& filtered,
                                  const std::vector<int>& uc,
                                  const std::vector<double>& baseline) const {
    filtered = lowpass_filter(uc);
    const int64_t n = static_cast<int64_t>(uc.size());
    std::vector<double> d(n);
    for (int64_t j = 0; j < n; ++j) {
        d[j] = filtered[j] - (j < static_cast<int64_t>(baseline.size()) ? baseline[j] : 0.0);
    }
    const int64_t distance = static_cast<int64_t>(params.ucPeakSpan) * sampleRate;
    std::vector<double> values, widths;
    std::vector<int> locations;
    utils::findPeaks(d, params.ucPeakA, params.ucPeakB,
                     static_cast<int>(std::min<int64_t>(distance, INT32_MAX)), values, locations,
                     widths);
    for (size_t k = 0; k < locations.size(); ++k) {
        const int64_t loc = locations[k];
        const double width = widths[k];
        peaks.push_back(static_cast<int>(loc));
        // Peaks reaching back past sample 1 (or without a usable width) get no bounds.
        if (!(loc - width >= 1.0) || !std::isfinite(width)) continue;
        const int64_t s0 = utils::truncate_to_int(loc - width);
        const int64_t m = firstMinimumOffset(d, s0, loc - s0);
        starts.push_back(utils::truncate_to_int(loc - (width - m)));
        if (loc + width > static_cast<double>(n)) {
            ends.push_back(static_cast<int>(n - 1));
        } else {
            int64_t count = 0;
            while (static_cast<double>(loc + count) < loc + width) ++count;
            ends.push_back(static_cast<int>(loc + firstMinimumOffset(d, loc, count)));
        }
    }
}
