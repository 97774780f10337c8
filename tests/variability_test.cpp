// Quiet stretches between events and the short-term variability measured in them.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <ostream>
#include <utility>
#include <vector>

#include "algorithm.h"

namespace {

struct Segments {
    std::vector<int> starts;
    std::vector<int> ends;
};

bool operator==(const Segments& a, const Segments& b) {
    return a.starts == b.starts && a.ends == b.ends;
}

std::ostream& operator<<(std::ostream& out, const Segments& s) {
    for (size_t i = 0; i < s.starts.size() && i < s.ends.size(); ++i)
        out << "(" << s.starts[i] << ", " << s.ends[i] << ") ";
    return out;
}

class BaselineSegments : public ::testing::Test {
protected:
    Segments between(const std::vector<int>& starts, const std::vector<int>& ends, int length) {
        Segments viaTwo, viaThree;
        analyser.fhrBas2(starts, ends, length, viaTwo.starts, viaTwo.ends);
        analyser.fhrBas3(starts, ends, length, viaThree.starts, viaThree.ends);
        EXPECT_EQ(viaTwo, viaThree);
        return viaTwo;
    }

    QK4_CFhrAlgorithm analyser;
};

TEST_F(BaselineSegments, GapsBetweenEvents) {
    EXPECT_EQ(between({100, 300}, {200, 400}, 1000), (Segments{{0, 201, 401}, {99, 299, 999}}));
}

TEST_F(BaselineSegments, EventsAtTheTraceEdgesGiveEmptySegments) {
    EXPECT_EQ(between({0}, {50}, 1000), (Segments{{0, 51}, {-1, 999}}));
    EXPECT_EQ(between({100}, {999}, 1000), (Segments{{0, 1000}, {99, 999}}));
}

TEST_F(BaselineSegments, TouchingEventsGiveReversedSegments) {
    EXPECT_EQ(between({100, 150}, {200, 300}, 1000),
              (Segments{{0, 201, 301}, {99, 149, 999}}));
}

TEST_F(BaselineSegments, NoEventsGiveTheWholeTrace) {
    EXPECT_EQ(between({}, {}, 1000), (Segments{{0}, {999}}));
    Segments merged;
    analyser.fhrBas1({}, {}, {}, {}, 1000, merged.starts, merged.ends);
    EXPECT_EQ(merged, (Segments{{0}, {999}}));
}

TEST_F(BaselineSegments, MergedListsAreSortedEachByItself) {
    Segments apart;
    analyser.fhrBas1({300}, {400}, {100}, {200}, 1000, apart.starts, apart.ends);
    EXPECT_EQ(apart, (Segments{{0, 201, 401}, {99, 299, 999}}));

    // A deceleration inside an acceleration: starts and ends are sorted apart,
    // so the middle segment runs backwards.
    Segments nested;
    analyser.fhrBas1({100}, {400}, {200}, {300}, 1000, nested.starts, nested.ends);
    EXPECT_EQ(nested, (Segments{{0, 301, 401}, {99, 199, 999}}));
}

// ---------------------------------------------------------------------------

struct Variability {
    double amplitude;
    double frequency;
};

std::uint64_t bitsOf(double value) {
    std::uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

constexpr std::uint64_t kRuntimeNaN = 0xFFF8000000000000ull;  // 0.0 / 0 on x86-64

// A calm 100 bpm stretch with swings: for each (position, size) the sample at
// the position is 99 + size and the next one 99, a peak followed by a trough
// whose difference is the swing size.
std::vector<int> calmWithSwings(int length, const std::vector<std::pair<int, int>>& swings) {
    std::vector<int> fhr(length, 100);
    for (const auto& [position, size] : swings) {
        fhr[position] = 99 + size;
        fhr[position + 1] = 99;
    }
    return fhr;
}

class ShortTermVariability : public ::testing::Test {
protected:
    Variability measure(const std::vector<int>& fhr, const Segments& segments) const {
        Variability v{-7.0, -7.0};
        analyser.cal_bpm_var(fhr, 4, segments.starts, segments.ends, v.amplitude, v.frequency);
        return v;
    }
    Variability measureWhole(const std::vector<int>& fhr) const {
        return measure(fhr, {{0}, {static_cast<int>(fhr.size()) - 1}});
    }
    void setThresholds(int amplitudeMin, int cycleMin) {
        QK4_FhrParameter p = analyser.getParameter();
        p.varAmplitudeMin = amplitudeMin;
        p.varCycleMin = cycleMin;
        ASSERT_EQ(analyser.setParameter(p), 0);
    }

    QK4_CFhrAlgorithm analyser;
};

TEST_F(ShortTermVariability, SwingAtTheAmplitudeMinimumCounts) {
    const Variability atMinimum = measureWhole(calmWithSwings(100, {{10, 4}, {40, 10}}));
    EXPECT_DOUBLE_EQ(atMinimum.amplitude, 7.0);
    EXPECT_DOUBLE_EQ(atMinimum.frequency, 2.0);

    const Variability below = measureWhole(calmWithSwings(100, {{10, 3}, {40, 10}}));
    EXPECT_DOUBLE_EQ(below.amplitude, 10.0);
    EXPECT_DOUBLE_EQ(below.frequency, 1.0);
}

TEST_F(ShortTermVariability, SwingAtTheCycleMinimumIsNotListed) {
    setThresholds(2, 3);
    const Variability v = measureWhole(calmWithSwings(100, {{10, 3}, {40, 5}}));
    EXPECT_DOUBLE_EQ(v.amplitude, 4.0);
    EXPECT_DOUBLE_EQ(v.frequency, 1.0);

    const Variability onlyAtMinimum = measureWhole(calmWithSwings(100, {{10, 3}}));
    EXPECT_DOUBLE_EQ(onlyAtMinimum.amplitude, 3.0);
    EXPECT_DOUBLE_EQ(onlyAtMinimum.frequency, 0.0);
}

TEST_F(ShortTermVariability, SwingsSixtySamplesApartShareOneSpan) {
    EXPECT_DOUBLE_EQ(measureWhole(calmWithSwings(100, {{5, 10}, {65, 10}})).frequency, 2.0);
    EXPECT_DOUBLE_EQ(measureWhole(calmWithSwings(100, {{5, 10}, {66, 10}})).frequency, 1.0);
    EXPECT_DOUBLE_EQ(measureWhole(calmWithSwings(100, {{5, 10}, {35, 10}, {65, 10}})).frequency,
                     3.0);
    EXPECT_DOUBLE_EQ(measureWhole(calmWithSwings(100, {{5, 10}, {35, 10}, {66, 10}})).frequency,
                     2.0);
}

TEST_F(ShortTermVariability, PeaksPairWithTroughsByListOrder) {
    // The trough before the peak (90) is paired with it, not the one after (99).
    const Variability v = measureWhole({100, 90, 100, 120, 99, 100});
    EXPECT_DOUBLE_EQ(v.amplitude, 30.0);
    EXPECT_DOUBLE_EQ(v.frequency, 1.0);
}

TEST_F(ShortTermVariability, AmplitudeIsTheMeanOverAllSegments) {
    std::vector<int> fhr = calmWithSwings(2000, {{10, 10}, {50, 20}});
    const std::vector<int> second = calmWithSwings(100, {{30, 6}});
    std::copy(second.begin(), second.end(), fhr.begin() + 1000);
    const Variability v = measure(fhr, {{0, 1000}, {99, 1099}});
    EXPECT_DOUBLE_EQ(v.amplitude, 12.0);
}

TEST_F(ShortTermVariability, SwingPositionsCarryOverBetweenSegments) {
    // Positions are relative to their own segment and the list is kept:
    // 10 (first segment) and 40 (second) fall within one span.
    std::vector<int> fhr = calmWithSwings(2000, {{10, 10}, {1040, 10}});
    EXPECT_DOUBLE_EQ(measure(fhr, {{0, 1000}, {99, 1099}}).frequency, 2.0);

    // Listed in segment order 10, 50, 5: the span from 10 ends at the
    // backwards step to 5, so only two swings are counted together.
    fhr = calmWithSwings(2000, {{10, 10}, {50, 10}, {1005, 10}});
    EXPECT_DOUBLE_EQ(measure(fhr, {{0, 1000}, {99, 1099}}).frequency, 2.0);
}

TEST_F(ShortTermVariability, TooShortAndReversedSegmentsContributeNothing) {
    const std::vector<int> fhr = {100, 110, 99, 100, 120, 95, 100};
    // (1, 2) has two samples, (5, 4) runs backwards; (3, 6) has four and a swing.
    const Variability v = measure(fhr, {{1, 5, 3}, {2, 4, 6}});
    EXPECT_DOUBLE_EQ(v.amplitude, 25.0);
    EXPECT_DOUBLE_EQ(v.frequency, 1.0);
}

TEST_F(ShortTermVariability, NoQualifyingSwingGivesTheRuntimeNaN) {
    const Variability none = measure(std::vector<int>(100, 140), {{}, {}});
    EXPECT_EQ(bitsOf(none.amplitude), kRuntimeNaN);
    EXPECT_EQ(none.frequency, 0.0);

    const Variability flat = measureWhole(std::vector<int>(100, 140));
    EXPECT_EQ(bitsOf(flat.amplitude), kRuntimeNaN);
    EXPECT_EQ(flat.frequency, 0.0);

    const Variability skipped = measure(std::vector<int>(100, 140), {{10}, {11}});
    EXPECT_EQ(bitsOf(skipped.amplitude), kRuntimeNaN);
    EXPECT_EQ(skipped.frequency, 0.0);
}

}  // namespace
