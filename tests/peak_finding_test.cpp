// The filtered peak finder of the contraction detection: height, prominence
// from its bases, widths and the spacing pass.
#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "utils.h"

namespace {

using Ints = std::vector<int>;
using Doubles = std::vector<double>;

struct Peaks {
    Doubles values{-1.0};  // stale entries: the finder must replace them
    Ints locations{-1};
    Doubles widths{-1.0};
};

Peaks peaks(const Doubles& signal, int minHeight, int minProminence, int minDistance) {
    Peaks found;
    utils::findPeaks(signal, minHeight, minProminence, minDistance, found.values, found.locations,
                     found.widths);
    return found;
}

// Zeros with a single-sample spike of the given height at each position.
Doubles spikes(int length, const std::vector<std::pair<int, double>>& spikeList) {
    Doubles signal(length, 0.0);
    for (const auto& [position, height] : spikeList) signal[position] = height;
    return signal;
}

}  // namespace

TEST(FindPeaks, HeightProminenceAndSpacingFilters) {
    // Peak 10 at index 5 lies between valleys 5 and 3: prominence 5 (a search
    // past the lower peak 8 would reach valley 1 and give 7).
    const Doubles nested{0, 20, 1, 8, 5, 10, 3, 30, 0};
    const Doubles threeSpikes = spikes(20, {{4, 5.0}, {8, 5.0}, {12, 5.0}});
    struct Case {
        Doubles signal;
        int height, prominence, distance;
        Ints expected;
    };
    // clang-format off
    const Case cases[] = {
        {{}, 0, 0, 0, {}},
        {{1, 3, 3, 3, 1}, 0, 0, 0, {1}},  // a plateau at its first sample
        {{9, 1, 5, 1, 9}, 0, 0, 0, {2}},  // the edges are never peaks
        {spikes(9, {{2, 5.0}, {6, 5.5}}), 5, 0, 0, {6}},  // height must exceed the minimum
        {{1, 5, 2, 3, 0}, 0, 3, 0, {1}},  // prominence 3 equal to the minimum keeps
        {nested, 0, 5, 0, {1, 5, 7}},
        {nested, 0, 6, 0, {1, 7}},
        {spikes(12, {{2, 5.0}, {5, 8.0}}), 0, 0, 3, {5}},  // the higher one stays
        // Equal heights rank by position: 4 removes 8, which then removes nothing.
        {threeSpikes, 0, 0, 4, {4, 12}},
    };
    // clang-format on
    for (const Case& c : cases) {
        EXPECT_EQ(peaks(c.signal, c.height, c.prominence, c.distance).locations, c.expected)
            << testing::PrintToString(c.signal) << " " << c.height << " " << c.prominence << " "
            << c.distance;
    }
}

// The bases are the valleys next to the peak, and the width is measured at
// half the prominence above the higher base.
TEST(FindPeaks, WidthsAtHalfProminenceAboveTheHigherBase) {
    // Level 2.5 is crossed between 1 and 5 (x = 1.375) and between 3 and 0 (x = 4 - 2.5 / 3).
    EXPECT_DOUBLE_EQ(peaks({0, 1, 5, 3, 0}, 0, 0, 0).widths.at(0), (4.0 - 2.5 / 3.0) - 1.375);
    // Level 7.5 above base 5.
    EXPECT_DOUBLE_EQ(peaks({0, 20, 1, 8, 5, 10, 3, 30, 0}, 0, 5, 0).widths.at(1),
                     (6.0 - 4.5 / 7.0) - 4.5);
}
