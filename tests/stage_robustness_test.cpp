// Stages and helpers handed values that no analysis run produces: sample rates
// of zero or below, positions and windows at the int limits, magnitudes far
// outside any trace.  They must stay inside their vectors, free of undefined
// arithmetic, and return.  Each case is a reduced finding of the stage fuzzer;
// the sanitizer build turns the quiet ones into failures.
#include <gtest/gtest.h>

#include <unistd.h>

#include <climits>
#include <cmath>
#include <cstdlib>
#include <vector>

#include "algorithm.h"
#include "utils.h"

namespace {

const int kNonPositiveRates[] = {0, -1, -4, INT_MIN};

// A window at or below 1 lets no sample pass unaveraged, whatever its value.
TEST(StageRobustness, MovingAverageWindowAtTheIntLimitAveragesEverySample) {
    const std::vector<int> in = {150, 120, 90, 180, 140, 135, 160, 100};
    std::vector<int> reference, out;
    utils::moving_average(0, in, reference);
    utils::moving_average(INT_MIN, in, out);
    EXPECT_EQ(out, reference);
}

void expectPositionsInside(const std::vector<int>& positions, size_t n) {
    for (int p : positions) {
        EXPECT_GE(p, 0);
        EXPECT_LT(static_cast<size_t>(p), n);
    }
}

// The detectors' last-15-seconds pass must not run past the trace when the
// rate makes that stretch negative.
TEST(StageRobustness, EventDetectorsStayInsideTheTraceAtNonPositiveRates) {
    std::vector<int> rise(40, 140), dip(40, 140);
    for (int t = 10; t < 30; ++t) {
        rise[t] = 175;
        dip[t] = 105;
    }
    const std::vector<double> base(40, 140.0);
    for (int rate : kNonPositiveRates) {
        SCOPED_TRACE(rate);
        QK4_CFhrAlgorithm analyser;
        analyser.setSampleRate(rate);
        EventLists acc;
        int accCount = 0;
        analyser.detect_acc(rise, base, acc.triggers, acc.values, acc.starts, acc.ends, accCount);
        EXPECT_EQ(static_cast<size_t>(accCount), acc.triggers.size());
        expectPositionsInside(acc.triggers, rise.size());

        EventLists dec;
        int decCount = 0, deepCount = 0;
        analyser.detect_dec(dip, base, dec.triggers, dec.values, dec.starts, dec.ends, decCount,
                            deepCount);
        EXPECT_EQ(static_cast<size_t>(decCount), dec.triggers.size());
        expectPositionsInside(dec.triggers, dip.size());
    }
}

// INT_MIN / -1 does not exist in int arithmetic (the division traps).
TEST(StageRobustness, MovementBridgingSurvivesTheMostNegativeRate) {
    const QK4_CFhrAlgorithm analyser;
    const std::vector<int> trace(400, 140);
    const std::vector<int> movements = {40, 60, 80, 300};
    for (int fs : {INT_MIN, -1, 0}) {
        for (int div : {-1, 1, INT_MIN}) {
            EXPECT_EQ(analyser.update_fhr(trace, fs, movements, div).size(), trace.size())
                << fs << " / " << div;
        }
    }
}

// The straight line between end samples at the two int limits runs down
// through zero; the difference of the ends does not fit an int.
TEST(StageRobustness, MovementBridgeBetweenTheIntLimits) {
    const QK4_CFhrAlgorithm analyser;
    std::vector<int> trace(120, 140);
    trace[20] = INT_MAX;  // the movements at 50 and 60 s give the stretch 20 .. 90
    trace[90] = INT_MIN;
    const std::vector<int> bridged = analyser.update_fhr(trace, 1, {50, 60}, 1);
    ASSERT_EQ(bridged.size(), trace.size());
    for (int t = 21; t < 90; ++t) EXPECT_LE(bridged[t], bridged[t - 1]) << t;
    EXPECT_LT(std::abs(bridged[55]), 100000000);
}

// Event limits at the ends of the int range give no segment inside the trace,
// so the variability has nothing to measure.
TEST(StageRobustness, SegmentsBetweenEventsAtTheIntLimits) {
    const QK4_CFhrAlgorithm analyser;
    const std::vector<int> fhr = {140, 150, 130, 150, 130, 150, 140};
    const std::vector<int> starts = {INT_MIN}, ends = {INT_MAX};
    for (int length : {INT_MIN, 0, INT_MAX}) {
        SCOPED_TRACE(length);
        std::vector<int> segStarts1, segEnds1, segStarts2, segEnds2;
        analyser.fhrBas1(starts, ends, starts, ends, length, segStarts1, segEnds1);
        analyser.fhrBas2(starts, ends, length, segStarts2, segEnds2);
        ASSERT_EQ(segStarts1.size(), segEnds1.size());
        ASSERT_EQ(segStarts2.size(), 2u);
        ASSERT_EQ(segEnds2.size(), 2u);
        double amplitude = 0.0, frequency = 0.0;
        analyser.cal_bpm_var(fhr, 4, segStarts2, segEnds2, amplitude, frequency);
        EXPECT_TRUE(std::isnan(amplitude));
        EXPECT_EQ(frequency, 0.0);
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
