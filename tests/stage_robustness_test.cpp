// Stages and helpers handed values that no analysis run produces: sample rates
// of zero or below, positions and windows at the int limits, magnitudes far
// outside any trace.  They must stay inside their vectors, free of undefined
// arithmetic, and return.  Each case is a reduced finding of the stage fuzzer;
// the sanitizer build turns the quiet ones into failures.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <utility>
#include <vector>

#include "algorithm.h"
#include "utils.h"

namespace {

using Ints = std::vector<int>;

// The detectors' last-15-seconds pass must not run past the trace when the
// rate makes that stretch negative.
TEST(StageRobustness, EventDetectorsStayInsideTheTraceAtNonPositiveRates) {
    Ints rise(40, 140), dip(40, 140);
    std::fill_n(rise.begin() + 10, 20, 175);
    std::fill_n(dip.begin() + 10, 20, 105);
    const std::vector<double> base(40, 140.0);
    for (int rate : {0, -1, -4, INT_MIN}) {
        SCOPED_TRACE(rate);
        QK4_CFhrAlgorithm analyser;
        analyser.setSampleRate(rate);
        EventLists acc, dec;
        int accCount = 0, decCount = 0, deepCount = 0;
        analyser.detect_acc(rise, base, acc.triggers, acc.values, acc.starts, acc.ends, accCount);
        analyser.detect_dec(dip, base, dec.triggers, dec.values, dec.starts, dec.ends, decCount,
                            deepCount);
        EXPECT_EQ((std::pair<size_t, size_t>(accCount, decCount)),
                  std::pair(acc.triggers.size(), dec.triggers.size()));
        for (int p : acc.triggers) EXPECT_TRUE(p >= 0 && p < 40) << p;
        for (int p : dec.triggers) EXPECT_TRUE(p >= 0 && p < 40) << p;
    }
}

// Movement bridging where int arithmetic breaks: INT_MIN / -1 does not exist
// (the division traps), and the straight line between end samples at the two
// int limits runs down through zero although the difference of the ends does
// not fit an int.
TEST(StageRobustness, MovementBridgingAtTheIntLimits) {
    const QK4_CFhrAlgorithm analyser;
    const Ints flat(400, 140);
    for (int fs : {INT_MIN, -1, 0})
        for (int div : {-1, 1, INT_MIN})
            EXPECT_EQ(analyser.update_fhr(flat, fs, {40, 60, 80, 300}, div), flat)
                << fs << "/" << div;
    Ints trace(120, 140);
    trace[20] = INT_MAX;  // the movements at 50 and 60 s give the stretch 20 .. 90
    trace[90] = INT_MIN;
    const Ints bridged = analyser.update_fhr(trace, 1, {50, 60}, 1);
    ASSERT_EQ(bridged.size(), trace.size());
    for (int t = 21; t < 90; ++t) EXPECT_LE(bridged[t], bridged[t - 1]) << t;
    EXPECT_LT(std::abs(bridged[55]), 100000000);
}

// Event limits at the ends of the int range give no segment inside the trace,
// so the variability has nothing to measure.
TEST(StageRobustness, SegmentsBetweenEventsAtTheIntLimits) {
    const QK4_CFhrAlgorithm analyser;
    const Ints fhr = {140, 150, 130, 150, 130, 150, 140}, starts = {INT_MIN}, ends = {INT_MAX};
    for (int length : {INT_MIN, 0, INT_MAX}) {
        SCOPED_TRACE(length);
        Ints segStarts1, segEnds1, segStarts2, segEnds2;
        analyser.fhrBas1(starts, ends, starts, ends, length, segStarts1, segEnds1);
        analyser.fhrBas2(starts, ends, length, segStarts2, segEnds2);
        ASSERT_EQ(segStarts1.size(), segEnds1.size());
        ASSERT_EQ(std::pair(segStarts2.size(), segEnds2.size()), (std::pair<size_t, size_t>(2, 2)));
        double amplitude = 0.0, frequency = 0.0;
        analyser.cal_bpm_var(fhr, 4, segStarts2, segEnds2, amplitude, frequency);
        EXPECT_TRUE(std::isnan(amplitude) && frequency == 0.0) << amplitude << " " << frequency;
    }
}

// A step below the spacing of doubles at the start value must not stall the
// walk from start to end.  The child process is stopped after ten seconds if
// the call never returns (it takes microseconds).
TEST(StageRobustness, LinspaceReturnsWhenTheStepVanishesAtLargeMagnitudes) {
    EXPECT_EXIT(
        {
            alarm(10);
            const std::vector<double> points = utils::linspace(1e20, 1e20 + 1e5, 10000);
            std::exit(points.empty() || points.back() == 1e20 + 1e5 ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

}  // namespace
