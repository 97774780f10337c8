// Heart-rate trace preparation: the range filter, the bridging of stretches
// disturbed by clustered movements, and the jump filter.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "algorithm.h"

namespace {

// A trace that changes at every sample, so any bridged stretch shows.
std::vector<int> zigzag(int length) {
    std::vector<int> trace(length);
    for (int i = 0; i < length; ++i) trace[i] = 120 + (i * 7) % 31;
    return trace;
}

// Value of a bridge from y0 (at offset 0) to y1 (at offset n) at offset t.
int bridgeValue(int y0, int y1, int n, int t) {
    if (y1 > y0) return static_cast<int>(std::lround(y0 + t * (static_cast<double>(y1 - y0) / n)));
    if (y1 < y0) return static_cast<int>(std::lround(y0 - t * (static_cast<double>(y0 - y1) / n)));
    return y0;
}

struct Segment {
    int start;
    int end;
};

// The original trace with every segment bridged in order, end points kept.
std::vector<int> bridged(std::vector<int> trace, const std::vector<Segment>& segments) {
    for (const auto& [start, end] : segments) {
        const int n = end - start;
        for (int t = 1; t < n; ++t) trace[start + t] = bridgeValue(trace[start], trace[end], n, t);
    }
    return trace;
}

class UpdateFhr : public testing::Test {
protected:
    std::vector<int> run(const std::vector<int>& trace, const std::vector<int>& movements,
                         int fs = 4, int div = 1) const {
        return analyser.update_fhr(trace, fs, movements, div);
    }
    QK4_CFhrAlgorithm analyser;
    const std::vector<int> trace = zigzag(3000);
};

}  // namespace

// --- range filter ----------------------------------------------------------------

TEST(ExtremePointFilter, InvalidSamplesTakeTheLastValidValue) {
    QK4_CFhrAlgorithm analyser;
    std::vector<int> trace{0, 59, 100, 211, 250, 60, 210, 300, -5, 0, 140};
    EXPECT_EQ(analyser.extremePointFilter(trace), 0);
    EXPECT_EQ(trace, (std::vector<int>{100, 100, 100, 100, 100, 60, 210, 210, 210, 210, 140}));
}

TEST(ExtremePointFilter, TraceWithoutValidSampleIsReportedAndKept) {
    QK4_CFhrAlgorithm analyser;
    std::vector<int> zeros(50, 0);
    EXPECT_EQ(analyser.extremePointFilter(zeros), -1);
    EXPECT_EQ(zeros, std::vector<int>(50, 0));

    std::vector<int> mixed{59, 211, 0, 400};
    EXPECT_EQ(analyser.extremePointFilter(mixed), -1);
    EXPECT_EQ(mixed, (std::vector<int>{59, 211, 0, 400}));

    std::vector<int> single{20};
    EXPECT_EQ(analyser.extremePointFilter(single), -1);
    EXPECT_EQ(single, std::vector<int>{20});
}

TEST(ExtremePointFilter, ShortValidTraces) {
    QK4_CFhrAlgorithm analyser;
    std::vector<int> empty;
    EXPECT_EQ(analyser.extremePointFilter(empty), 0);
    std::vector<int> single{60};
    EXPECT_EQ(analyser.extremePointFilter(single), 0);
    EXPECT_EQ(single, std::vector<int>{60});
    std::vector<int> lastValid{0, 0, 0, 210};
    EXPECT_EQ(analyser.extremePointFilter(lastValid), 0);
    EXPECT_EQ(lastValid, std::vector<int>(4, 210));
}

// --- movement bridging --------------------------------------------------------------

TEST_F(UpdateFhr, FewerThanTwoMovementsChangeNothing) {
    EXPECT_EQ(run(trace, {}), trace);
    EXPECT_EQ(run(trace, {1000}), trace);
}

TEST_F(UpdateFhr, TwoMovementsWithinNinetySecondsAreBridged) {
    // 300 samples apart at 4 Hz (limit 360): bridged from 1000 - 120 to 1300 + 120.
    EXPECT_EQ(run(trace, {1000, 1300}), bridged(trace, {{880, 1420}}));
    EXPECT_EQ(run(trace, {1000, 1360}), bridged(trace, {{880, 1480}}));
}

TEST_F(UpdateFhr, BridgeFollowsTheRoundedLineInBothDirections) {
    std::vector<int> rising = trace;
    rising[880] = 120;
    rising[1420] = 147;
    const auto up = run(rising, {1000, 1300});
    EXPECT_EQ(up[880], 120);
    EXPECT_EQ(up[890], 121);  // 120 + 10 * 0.05 = 120.5 rounds up
    EXPECT_EQ(up[1419], 147);
    EXPECT_EQ(up[1420], 147);

    std::vector<int> falling = trace;
    falling[880] = 147;
    falling[1420] = 120;
    const auto down = run(falling, {1000, 1300});
    EXPECT_EQ(down[890], 147);  // 147 - 0.5 = 146.5 rounds away from zero
    EXPECT_EQ(down[900], 146);
    EXPECT_EQ(down, bridged(falling, {{880, 1420}}));

    std::vector<int> level = trace;
    level[880] = level[1420] = 133;
    const auto flat = run(level, {1000, 1300});
    for (int i = 881; i < 1420; ++i) ASSERT_EQ(flat[i], 133) << i;
}

TEST_F(UpdateFhr, LoneMovementsChangeNothing) {
    EXPECT_EQ(run(trace, {1000, 1400}), trace);
    EXPECT_EQ(run(trace, {1000, 1361}), trace);
}

TEST_F(UpdateFhr, LastMovementNeverBeginsACluster) {
    EXPECT_EQ(run(trace, {1000, 1300, 1600}), bridged(trace, {{880, 1420}}));
    EXPECT_EQ(run(trace, {500, 1000, 1300}), bridged(trace, {{880, 1420}}));
}

TEST_F(UpdateFhr, AbsorbedMovementsAreSkippedAsClusterStarts) {
    // 1000 absorbs 1100, 1200 and 1300; 1300 then does not begin a cluster with 1600.
    EXPECT_EQ(run(trace, {1000, 1100, 1200, 1300, 1600}), bridged(trace, {{880, 1420}}));
    EXPECT_EQ(run(trace, {1000, 1300, 1350}), bridged(trace, {{880, 1470}}));
}

TEST_F(UpdateFhr, OverlappingMarginsJoinOneSegment) {
    // Clusters [1000, 1300] and [1500, 1800]: 1500 - 120 lies before 1300 + 120.
    EXPECT_EQ(run(trace, {1000, 1300, 1500, 1800}), bridged(trace, {{880, 1920}}));
    EXPECT_EQ(run(trace, {1000, 1300, 1500, 1700}), bridged(trace, {{880, 1820}}));
    // Margins that only touch join as well (1540 - 120 = 1420).
    EXPECT_EQ(run(trace, {1000, 1300, 1540, 1600}), bridged(trace, {{880, 1720}}));
    // Apart: two segments, the gap untouched.
    EXPECT_EQ(run(trace, {1000, 1300, 1700, 2000}), bridged(trace, {{880, 1420}, {1580, 2120}}));
}

TEST_F(UpdateFhr, SpansFollowTheRateAndDivisor) {
    EXPECT_EQ(run(trace, {1000, 1150}, 4, 2), bridged(trace, {{940, 1210}}));
    EXPECT_TRUE(run(trace, {1000, 1181}, 4, 2) == trace);
    EXPECT_EQ(run(trace, {1000, 1090}, 1, 1), bridged(trace, {{970, 1120}}));
    EXPECT_EQ(run(trace, {1000, 1090}, 5, 2), bridged(trace, {{940, 1150}}));
}

TEST_F(UpdateFhr, SegmentsAreClampedInsideTheTrace) {
    // Near the start the first segment begins at 1 (sample 0 is kept).
    EXPECT_EQ(run(trace, {10, 100}), bridged(trace, {{1, 220}}));
    // Near the end the last segment ends at length - 2.
    EXPECT_EQ(run(trace, {2900, 2950}), bridged(trace, {{2780, 2998}}));
    EXPECT_EQ(run(trace, {10, 100, 2900, 2950}), bridged(trace, {{1, 220}, {2780, 2998}}));
}

TEST_F(UpdateFhr, SegmentsBeyondTheTraceAreNotBridged) {
    const std::vector<int> shortTrace = zigzag(1000);
    EXPECT_EQ(run(shortTrace, {1100, 1150}), bridged(shortTrace, {{980, 998}}));
    EXPECT_EQ(run(shortTrace, {1150, 1200}), shortTrace);
    EXPECT_EQ(run(shortTrace, {5000, 5100}), shortTrace);
    EXPECT_EQ(run(shortTrace, {900, 950, 5000, 5100}), bridged(shortTrace, {{780, 998}}));
}

// --- jump filter ------------------------------------------------------------------

TEST(ThresholdFilter, PreparedTraceStaysUnchanged) {
    QK4_CFhrAlgorithm analyser;
    std::vector<int> trace{60, 210, 60, 135, 210, 61, 209};
    analyser.setFhrBaseline(std::vector<double>(trace.size(), 60.0));
    const auto original = trace;
    analyser.thresholdFilter(trace);
    EXPECT_EQ(trace, original);
}

TEST(ThresholdFilter, LargeDropsAndExcessesRepeatThePreviousSample) {
    QK4_CFhrAlgorithm analyser;
    analyser.setFhrBaseline(std::vector<double>(8, 0.0));
    // 300 -> 90 drops by 210, and 95 still compares with the repaired 300;
    // 300 above a baseline of 0 is allowed, 301 is not; a drop of exactly 200 stays.
    std::vector<int> trace{300, 90, 95, 100, 301, 300, 100, 99};
    analyser.thresholdFilter(trace);
    EXPECT_EQ(trace, (std::vector<int>{300, 300, 300, 100, 100, 300, 100, 99}));
}

TEST(ThresholdFilter, FirstSampleIsNeverChanged) {
    QK4_CFhrAlgorithm analyser;
    analyser.setFhrBaseline({0.0});
    std::vector<int> single{1000};
    analyser.thresholdFilter(single);
    EXPECT_EQ(single, std::vector<int>{1000});
}
