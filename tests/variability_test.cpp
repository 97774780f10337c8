// Quiet stretches between events and the short-term variability measured in them.
#include <gtest/gtest.h>

#include <limits>
#include <utility>
#include <vector>

#include "algorithm.h"
#include "test_support.h"

namespace {

using testing_support::fingerprint;
using Ints = std::vector<int>;
using Segments = std::pair<Ints, Ints>;  // starts, ends

// A calm 100 bpm trace with swings: for each (position, size) the sample at the
// position is 99 + size and the next one 99, a peak and a trough `size` apart.
Ints calmWithSwings(int length, const std::vector<std::pair<int, int>>& swings) {
    Ints fhr(length, 100);
    for (const auto& [position, size] : swings) {
        fhr[position] = 99 + size;
        fhr[position + 1] = 99;
    }
    return fhr;
}

}  // namespace

TEST(BaselineSegments, GapsBetweenEventsUnclipped) {
    const QK4_CFhrAlgorithm analyzer;
    struct Case {
        Segments events, expected;
    };
    // clang-format off
    const Case cases[] = {
        {{{100, 150}, {200, 300}}, {{0, 201, 301}, {99, 149, 999}}},  // overlapping: reversed
        {{{}, {}}, {{0}, {999}}},
    };
    // clang-format on
    for (const Case& c : cases) {
        Segments two, three;
        analyzer.fhrBas2(c.events.first, c.events.second, 1000, two.first, two.second);
        analyzer.fhrBas3(c.events.first, c.events.second, 1000, three.first, three.second);
        EXPECT_EQ(two, c.expected) << testing::PrintToString(c.events);
        EXPECT_EQ(three, c.expected);
    }
    // Merged lists are sorted each by itself: a deceleration inside an
    // acceleration gives a middle segment that runs backwards.
    struct Merge {
        Segments accelerations, decelerations, expected;
    };
    const Merge merges[] = {
        {{{300}, {400}}, {{100}, {200}}, {{0, 201, 401}, {99, 299, 999}}},
        {{{100}, {400}}, {{200}, {300}}, {{0, 301, 401}, {99, 199, 999}}},
    };
    for (const Merge& m : merges) {
        Segments out;
        analyzer.fhrBas1(m.accelerations.first, m.accelerations.second, m.decelerations.first,
                         m.decelerations.second, 1000, out.first, out.second);
        EXPECT_EQ(out, m.expected) << testing::PrintToString(m.accelerations);
    }
}

TEST(ShortTermVariability, SwingThresholdsSpansAndSegments) {
    constexpr double kRuntimeNaN = -std::numeric_limits<double>::quiet_NaN();  // 0.0 / 0 on x86-64
    struct Case {
        const char* what;
        Ints fhr;
        Segments segments;
        double amplitude, frequency;
        int amplitudeMin = 4, cycleMin = 3;
    };
    const Segments all{{0}, {99}}, split{{0, 1000}, {99, 1099}};
    Ints twoSegments = calmWithSwings(2000, {{10, 10}, {50, 20}});
    const Ints later = calmWithSwings(100, {{30, 6}});
    std::copy(later.begin(), later.end(), twoSegments.begin() + 1000);
    // clang-format off
    const Case cases[] = {
        {"swing at the amplitude minimum", calmWithSwings(100, {{10, 4}, {40, 10}}), all, 7.0, 2.0},
        {"cycle minimum not listed", calmWithSwings(100, {{10, 3}, {40, 5}}), all, 4.0, 1.0, 2},
        {"60 samples apart share a span", calmWithSwings(100, {{5, 10}, {65, 10}}), all, 10.0, 2.0},
        {"61 apart do not", calmWithSwings(100, {{5, 10}, {66, 10}}), all, 10.0, 1.0},
        {"three in a span", calmWithSwings(100, {{5, 10}, {35, 10}, {65, 10}}), all, 10.0, 3.0},
        // The trough before the peak (90) is paired with it, not the one after (99).
        {"pairs by list order", {100, 90, 100, 120, 99, 100}, {{0}, {5}}, 30.0, 1.0},
        {"mean over all segments", twoSegments, split, 12.0, 3.0},
        // Positions are relative to their segment and the list is kept: 10
        // (first segment) and 40 (second) share a span.
        {"positions carry over", calmWithSwings(2000, {{10, 10}, {1040, 10}}), split, 10.0, 2.0},
        // Listed 10, 50, 5: the span from 10 ends at the step back to 5.
        {"step back", calmWithSwings(2000, {{10, 10}, {50, 10}, {1005, 10}}), split, 10.0, 2.0},
        // (1, 2) has two samples, (5, 4) runs backwards; (3, 6) has four and a swing.
        {"short, reversed", {100, 110, 99, 100, 120, 95, 100}, {{1, 5, 3}, {2, 4, 6}}, 25.0, 1.0},
        // No qualifying swing: the amplitude is 0.0 / 0.
        {"flat", Ints(100, 140), all, kRuntimeNaN, 0.0},
        {"no segment", Ints(100, 140), {{}, {}}, kRuntimeNaN, 0.0},
    };
    // clang-format on
    for (const Case& c : cases) {
        QK4_CFhrAlgorithm analyzer;
        QK4_FhrParameter p = analyzer.getParameter();
        p.varAmplitudeMin = c.amplitudeMin;
        p.varCycleMin = c.cycleMin;
        ASSERT_EQ(analyzer.setParameter(p), 0);
        double amplitude = -7.0, frequency = -7.0;
        analyzer.cal_bpm_var(c.fhr, 4, c.segments.first, c.segments.second, amplitude, frequency);
        EXPECT_EQ(fingerprint({amplitude}), fingerprint({c.amplitude}))
            << c.what << ": " << amplitude;
        EXPECT_EQ(frequency, c.frequency) << c.what;
    }
}
