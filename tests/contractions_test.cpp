// The zero-phase contraction low-pass and contraction detection (the
// contraction baseline is tested with the heart-rate one in baseline_test).
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <utility>
#include <vector>

#include "algorithm.h"
#include "test_support.h"

namespace {

using Ints = std::vector<int>;
using Doubles = std::vector<double>;

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

}  // namespace

// The recursion runs forward and then backward in single precision, and its
// state lives for the whole process, so the same input filtered twice gives
// two outputs.  Each test runs in a process of its own, and this one comes
// first in the program, so the fingerprint sees only these calls; it was taken
// when the outputs matched a float rendering of the recursion.
TEST(LowPass, SinglePrecisionRecursionWhoseStateCarriesOverBetweenCalls) {
    const QK4_CFhrAlgorithm analyzer;
    const Ints flat(200, 50);
    Doubles outputs = analyzer.lowpass_filter(flat);
    const Doubles second = analyzer.lowpass_filter(flat);
    EXPECT_NE(outputs.front(), second.front());
    EXPECT_NEAR(second[100], 50.0, 1e-3);  // unit gain at rest
    outputs.insert(outputs.end(), second.begin(), second.end());
    for (unsigned seed : {1u, 2u, 3u}) {
        std::mt19937 rng(seed);
        Ints trace(500);
        for (int& v : trace) v = 1 + static_cast<int>(rng() % 100);
        const Doubles filtered = analyzer.lowpass_filter(trace);
        outputs.insert(outputs.end(), filtered.begin(), filtered.end());
    }
    EXPECT_EQ(testing_support::fingerprint(outputs), 0x5aef1ec8c2991cb9ull);
    EXPECT_TRUE(analyzer.lowpass_filter({}).empty());
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
    QK4_CFhrAlgorithm analyzer;
    analyzer.setSampleRate(4);
    // Two long calls at rest leave the filter in the same state whatever ran before.
    for (int k = 0; k < 2; ++k) analyzer.lowpass_filter(Ints(n, 5));
    Ints peaks, starts, ends;
    Doubles filtered = {1.0, 2.0};
    analyzer.uc_detect(peaks, starts, ends, filtered, uc, base);
    EXPECT_EQ(filtered.size(), uc.size());  // replaced
    // Peaks of the filtered trace over the baseline (height and prominence 10,
    // 60 s apart); starts and ends are the lowest points within one width
    // before and after a peak.  The first peak gets no start, the last one ends
    // at the last sample.
    EXPECT_EQ((std::vector<Ints>{peaks, starts, ends}),
              (std::vector<Ints>{{43, 721, 1557}, {660, 1394}, {781, 1599}}));
}
