// Heart-rate trace preparation: the range filter, the bridging of stretches
// disturbed by clustered movements, and the jump filter.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "algorithm.h"

namespace {

using Ints = std::vector<int>;

// A trace that changes at every sample, so any bridged stretch shows.
Ints zigzag(int length) {
    Ints trace(length);
    for (int i = 0; i < length; ++i) trace[i] = 120 + (i * 7) % 31;
    return trace;
}

struct Segment {
    int start;
    int end;
};

// The trace with every segment replaced, inside its end points, by the rounded
// straight line between them.
Ints bridged(Ints trace, const std::vector<Segment>& segments) {
    for (const auto& [start, end] : segments) {
        const int n = end - start, y0 = trace[start], y1 = trace[end];
        for (int t = 1; t < n; ++t) {
            trace[start + t] = static_cast<int>(std::lround(y0 + t * (double(y1 - y0) / n)));
        }
    }
    return trace;
}

}  // namespace

TEST(ExtremePointFilter, InvalidSamplesTakeTheLastValidValue) {
    const QK4_CFhrAlgorithm analyzer;
    Ints trace{0, 59, 100, 211, 250, 60, 210, 300, -5, 0, 140};
    EXPECT_EQ(analyzer.extremePointFilter(trace), 0);
    EXPECT_EQ(trace, (Ints{100, 100, 100, 100, 100, 60, 210, 210, 210, 210, 140}));
    // Without a valid sample the trace is reported and kept.
    Ints invalid{20};
    EXPECT_EQ(analyzer.extremePointFilter(invalid), -1);
    EXPECT_EQ(invalid, Ints{20});
}

TEST(UpdateFhr, ClusteredMovementsAreBridgedWithMargins) {
    const Ints trace = zigzag(3000), shortTrace = zigzag(1000);
    struct Case {
        const char* what;
        const Ints& trace;
        Ints movements;
        int fs, div;
        std::vector<Segment> segments;  // none: unchanged
    };
    // clang-format off
    const Case cases[] = {
        // 90 s at 4 Hz is 360 samples; the margin is 30 s = 120 samples.
        {"the last never begins a cluster", trace, {1000, 1300, 1600}, 4, 1, {{880, 1420}}},
        // 1000 absorbs 1100, 1200 and 1300, which then begin no cluster of their own.
        {"absorbed", trace, {1000, 1100, 1200, 1300, 1600}, 4, 1, {{880, 1420}}},
        {"touching margins", trace, {1000, 1300, 1540, 1600}, 4, 1, {{880, 1720}}},
        {"apart", trace, {1000, 1300, 1700, 2000}, 4, 1, {{880, 1420}, {1580, 2120}}},
        // The span and the margin scale with rate / divisor in whole numbers.
        {"exactly 90 s apart at 1 Hz", trace, {1000, 1090}, 1, 1, {{970, 1120}}},
        {"rate 5, divisor 2", trace, {1000, 1090}, 5, 2, {{940, 1150}}},
        {"rate 4, divisor 2, too far", trace, {1000, 1181}, 4, 2, {}},
        // Clamped to [1, length - 2]; segments beyond the trace are left alone.
        {"both ends", trace, {10, 100, 2900, 2950}, 4, 1, {{1, 220}, {2780, 2998}}},
        {"start past the end", shortTrace, {1150, 1200}, 4, 1, {}},
        {"inside and far past", shortTrace, {900, 950, 5000, 5100}, 4, 1, {{780, 998}}},
    };
    // clang-format on
    const QK4_CFhrAlgorithm analyzer;
    for (const Case& c : cases) {
        EXPECT_EQ(analyzer.update_fhr(c.trace, c.fs, c.movements, c.div),
                  bridged(c.trace, c.segments))
            << c.what;
    }
}

// The thresholds are fixed (no parameter reaches them), so the filter only acts
// on excesses far beyond any heart rate.
TEST(ThresholdFilter, DropsOverTwoHundredAndExcessesOverThreeHundredRepeatThePreviousSample) {
    const auto filtered = [](Ints trace, double base) {
        QK4_CFhrAlgorithm analyzer;
        analyzer.setFhrBaseline(std::vector<double>(trace.size(), base));
        analyzer.thresholdFilter(trace);
        return trace;
    };
    // 300 -> 90 drops by 210, and 95 still compares with the repaired 300;
    // 300 over a baseline of 10 is allowed, 301 is not; a drop of exactly 200 stays.
    EXPECT_EQ(filtered({300, 90, 95, 100, 311, 310, 110, 109}, 10.0),
              (Ints{300, 300, 300, 100, 100, 310, 110, 109}));
    EXPECT_EQ(filtered({1000}, 0.0), Ints{1000});  // the first sample is never changed
}
