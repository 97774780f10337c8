// The zero-phase contraction low-pass and contraction detection (the
// contraction baseline is tested with the heart-rate one in baseline_test).
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <utility>
#include <vector>

#include "algorithm.h"
#include "utils.h"

namespace {

using Ints = std::vector<int>;
using Doubles = std::vector<double>;

// The coefficients as single-precision values: b0, b1, b2, a1, a2.
const double kCoefficients[5] = {0.013359200209379196, 0.026718400418758392, 0.013359200209379196,
                                 1.6474599838256836, -0.7008967995643616};

// The low-pass keeps its state for the whole process, so every call made here
// is mirrored by this float rendering, which therefore holds the same state.
class FilterMirror {
public:
    Doubles run(const Ints& x) {
        const size_t n = x.size();
        Doubles out(n, 0.0);
        for (size_t j = 0; j < n; ++j) out[n - 1 - j] = step(forward_, static_cast<float>(x[j]));
        for (size_t j = 0; j < n; ++j) out[j] = step(backward_, static_cast<float>(out[j]));
        std::reverse(out.begin(), out.end());
        return out;
    }

private:
    // State x[n], x[n-1], x[n-2], y[n-1], y[n-2]; every product and sum in float.
    static float step(float* s, float input) {
        s[0] = input;
        float y = static_cast<float>(kCoefficients[0]) * s[0];
        for (int k = 1; k < 5; ++k) y = y + static_cast<float>(kCoefficients[k]) * s[k];
        s[2] = s[1];
        s[1] = s[0];
        s[4] = s[3];
        s[3] = y;
        return y;
    }
    float forward_[5] = {};
    float backward_[5] = {};
};

FilterMirror mirror;

Ints randomTrace(int length, unsigned seed) {
    std::mt19937 rng(seed);
    Ints trace(length);
    for (int& v : trace) v = 1 + static_cast<int>(rng() % 100);
    return trace;
}

// Piecewise-linear integer trace through the given corners (index, value).
Ints throughCorners(int length, const std::vector<std::pair<int, int>>& corners) {
    Ints trace(length, corners.front().second);
    for (size_t c = 0; c + 1 < corners.size(); ++c) {
        const auto [x0, y0] = corners[c];
        const auto [x1, y1] = corners[c + 1];
        for (int i = x0; i <= x1; ++i) {
            trace[i] = static_cast<int>(std::lround(y0 + double(y1 - y0) * (i - x0) / (x1 - x0)));
        }
    }
    return trace;
}

// Offset of the first smallest value of d[from .. to - 1].
int firstLowest(const Doubles& d, int from, int to) {
    return static_cast<int>(std::min_element(d.begin() + from, d.begin() + to) - d.begin()) - from;
}

}  // namespace

TEST(LowPass, SinglePrecisionRecursionWhoseStateCarriesOverBetweenCalls) {
    for (int i = 0; i < 5; ++i) EXPECT_EQ(static_cast<double>(lpf004_coef[i]), kCoefficients[i]);
    const QK4_CFhrAlgorithm analyser;
    const Ints flat(200, 50);
    const Doubles first = analyser.lowpass_filter(flat);
    EXPECT_EQ(first, mirror.run(flat));
    const Doubles second = analyser.lowpass_filter(flat);
    EXPECT_EQ(second, mirror.run(flat));
    EXPECT_NE(first.front(), second.front());
    EXPECT_NEAR(second[100], 50.0, 1e-3);  // unit gain at rest
    for (unsigned seed : {1u, 2u, 3u}) {
        const Ints trace = randomTrace(500, seed);
        EXPECT_EQ(analyser.lowpass_filter(trace), mirror.run(trace)) << "seed " << seed;
    }
    EXPECT_TRUE(analyser.lowpass_filter({}).empty());
}

// No stage calls it, but it stays part of the analyser's helpers.
TEST(Convolution, IsTheFullLinearConvolution) {
    const QK4_CFhrAlgorithm analyser;
    EXPECT_EQ(analyser.conv({1, 2, 3}, {0, 1, 0.5}), (Doubles{0, 1, 2.5, 4, 1.5}));
}

TEST(UcDetect, PeaksNearTheEdgesGetNoStartOrTheLastSampleAsEnd) {
    // A contraction already under way at the first sample, one in the middle
    // and one still high at the last sample, over a resting tone of 5.  The
    // middle one has a lower second crest 35 s (140 samples) after its peak,
    // too close to count: the spacing is 60 s.
    const int n = 1600;
    // clang-format off
    const Ints uc = throughCorners(n, {{0, 45}, {40, 75}, {300, 5}, {600, 5}, {720, 65}, {790, 40},
                                       {860, 60}, {1000, 5}, {1300, 5}, {1560, 55}, {1599, 35}});
    // clang-format on
    const Doubles base(n, 5.0);
    QK4_CFhrAlgorithm analyser;
    analyser.setSampleRate(4);
    Ints peaks, starts, ends;
    Doubles filtered = {1.0, 2.0};
    analyser.uc_detect(peaks, starts, ends, filtered, uc, base);
    const Doubles expectedFiltered = mirror.run(uc);
    EXPECT_EQ(filtered, expectedFiltered);

    // Peaks of the filtered trace over the baseline: height and prominence 10,
    // 60 s apart.
    Doubles d(n), values, widths;
    for (int i = 0; i < n; ++i) d[i] = expectedFiltered[i] - base[i];
    Ints locations;
    utils::findPeaks(d, 10, 10, 60 * 4, values, locations, widths);
    ASSERT_EQ(locations.size(), 3u);
    ASSERT_LT(locations[0] - widths[0], 1.0);  // the scenario reaches both edges
    ASSERT_GT(locations[2] + widths[2], n);
    // Starts and ends are the lowest points within one width before and after
    // a peak; the first peak gets no start, the last one ends at the last sample.
    const auto start = [&](int k) {
        const int before = static_cast<int>(locations[k] - widths[k]);
        return before + firstLowest(d, before, locations[k]);
    };
    const int peak = locations[1], after = static_cast<int>(std::ceil(peak + widths[1]));
    EXPECT_EQ((std::vector<Ints>{peaks, starts, ends}),
              (std::vector<Ints>{
                  locations, {start(1), start(2)}, {peak + firstLowest(d, peak, after), n - 1}}));
}
