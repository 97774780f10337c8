// Peak finders: the integer local-maximum search, the filtered double peak
// finder with its bases, widths and spacing pass, the region-finding variant,
// and the sorting helpers they share.
#include <gtest/gtest.h>

#include <algorithm>
#include <utility>
#include <vector>

#include "utils.h"

namespace {

struct IntPeaks {
    std::vector<int> values;
    std::vector<int> locations;
};

IntPeaks intPeaks(const std::vector<int>& x) {
    IntPeaks found;
    utils::findPeaks(x, found.values, found.locations);
    return found;
}

struct Peaks {
    std::vector<double> values;
    std::vector<int> locations;
    std::vector<double> widths;
};

Peaks peaks(const std::vector<double>& signal, int minHeight, int minProminence, int minDistance) {
    Peaks found;
    utils::findPeaks(signal, minHeight, minProminence, minDistance, found.values, found.locations,
                     found.widths);
    return found;
}

std::vector<int> peakLocations(const std::vector<double>& signal, int minHeight,
                               int minProminence, int minDistance) {
    return peaks(signal, minHeight, minProminence, minDistance).locations;
}

// Zeros with a single-sample spike of the given height at each position.
std::vector<double> spikes(int length, const std::vector<std::pair<int, double>>& spikeList) {
    std::vector<double> signal(length, 0.0);
    for (const auto& [position, height] : spikeList) signal[position] = height;
    return signal;
}

// Two triangles on a zero floor: peak A of 10 at 10 (slope 2, half-prominence
// width 5) and peak B of 6 at 30 (slope 1, width 6).
std::vector<double> twoTriangles() {
    std::vector<double> y(40, 0.0);
    for (int k = 0; k <= 4; ++k) y[10 - k] = y[10 + k] = 10.0 - 2 * k;
    for (int k = 0; k <= 5; ++k) y[30 - k] = y[30 + k] = 6.0 - k;
    return y;
}

struct Regions {
    Peaks peaks;
    std::vector<int> starts;
    std::vector<int> ends;
};

Regions regions(const std::vector<double>& y, int minHeight, int minProminence, int minDistance,
                int minWidth) {
    Regions found;
    utils::findPeaksU(y, minHeight, minProminence, minDistance, found.peaks.values,
                      found.peaks.locations, found.starts, found.ends, found.peaks.widths,
                      minWidth);
    return found;
}

}  // namespace

// --- integer local maxima ----------------------------------------------------

TEST(IntFindPeaks, PlateauReportedAtItsFirstSample) {
    const auto found = intPeaks({1, 3, 3, 1});
    EXPECT_EQ(found.values, std::vector<int>{3});
    EXPECT_EQ(found.locations, std::vector<int>{1});

    const auto two = intPeaks({1, 3, 2, 4, 4, 4, 0});
    EXPECT_EQ(two.values, (std::vector<int>{3, 4}));
    EXPECT_EQ(two.locations, (std::vector<int>{1, 3}));
}

TEST(IntFindPeaks, EdgesNeverPeak) {
    EXPECT_TRUE(intPeaks({5, 4, 3}).locations.empty());
    EXPECT_TRUE(intPeaks({1, 2, 3}).locations.empty());
    EXPECT_TRUE(intPeaks({3, 3, 1, 2, 2}).locations.empty());
    EXPECT_TRUE(intPeaks({4, 4, 4}).locations.empty());
    EXPECT_TRUE(intPeaks({7}).locations.empty());
    EXPECT_TRUE(intPeaks({}).locations.empty());
    EXPECT_EQ(intPeaks({9, 1, 5, 1, 9}).locations, std::vector<int>{2});
}

TEST(IntFindPeaks, AppendsToTheOutputs) {
    std::vector<int> values{-1};
    std::vector<int> locations{-2};
    utils::findPeaks(std::vector<int>{0, 2, 0, 5, 1}, values, locations);
    EXPECT_EQ(values, (std::vector<int>{-1, 2, 5}));
    EXPECT_EQ(locations, (std::vector<int>{-2, 1, 3}));
}

// --- double peak finder --------------------------------------------------------

TEST(FindPeaks, MonotonicOrConstantSignalsHaveNoPeaks) {
    Peaks found;
    found.values = {1.0};
    found.locations = {1};
    found.widths = {1.0};
    utils::findPeaks(std::vector<double>{1, 2, 3, 4}, 0, 0, 0, found.values, found.locations,
                     found.widths);
    EXPECT_TRUE(found.values.empty());
    EXPECT_TRUE(found.locations.empty());
    EXPECT_TRUE(found.widths.empty());
    EXPECT_TRUE(peakLocations({4, 3, 2, 1}, 0, 0, 0).empty());
    EXPECT_TRUE(peakLocations({2, 2, 2, 2}, 0, 0, 0).empty());
    EXPECT_TRUE(peakLocations({}, 0, 0, 0).empty());
}

TEST(FindPeaks, PlateauAndEdges) {
    const auto plateau = peaks({1, 3, 3, 3, 1}, 0, 0, 0);
    EXPECT_EQ(plateau.locations, std::vector<int>{1});
    EXPECT_EQ(plateau.values, std::vector<double>{3.0});
    // The global maxima sit on the first and last samples and are not peaks.
    EXPECT_EQ(peakLocations({9, 1, 5, 1, 9}, 0, 0, 0), std::vector<int>{2});
}

TEST(FindPeaks, HeightMustExceedTheMinimum) {
    const auto signal = spikes(9, {{2, 5.0}, {6, 5.5}});
    EXPECT_EQ(peakLocations(signal, 5, 0, 0), std::vector<int>{6});
    EXPECT_EQ(peakLocations(signal, 4, 0, 0), (std::vector<int>{2, 6}));
}

TEST(FindPeaks, ProminenceEqualToTheMinimumKeeps) {
    // Peak 5 between valleys 1 and 2: prominence 5 - 2 = 3.
    const std::vector<double> signal{1, 5, 2, 3, 0};
    EXPECT_EQ(peakLocations(signal, 0, 3, 0), std::vector<int>{1});
    EXPECT_TRUE(peakLocations(signal, 0, 4, 0).empty());
}

TEST(FindPeaks, ProminenceComesFromTheAdjacentValleysOnly) {
    // Peak 10 at index 5 lies between valleys 5 and 3; a search past the lower
    // peak 8 would reach valley 1 and give prominence 7 instead of 5.
    const std::vector<double> signal{0, 20, 1, 8, 5, 10, 3, 30, 0};
    EXPECT_EQ(peakLocations(signal, 0, 5, 0), (std::vector<int>{1, 5, 7}));
    EXPECT_EQ(peakLocations(signal, 0, 6, 0), (std::vector<int>{1, 7}));

    const auto extrema = utils::findExtrema(signal);
    EXPECT_EQ(extrema.maxima, (std::vector<int>{1, 3, 5, 7}));
    std::vector<double> baseHeight;
    std::vector<int> leftBase;
    std::vector<int> rightBase;
    utils::getPeakBase(signal, extrema.maxima, extrema.inflections, baseHeight, leftBase,
                       rightBase);
    EXPECT_EQ(leftBase, (std::vector<int>{0, 2, 4, 6}));
    EXPECT_EQ(rightBase, (std::vector<int>{2, 4, 6, 8}));
    EXPECT_EQ(baseHeight, (std::vector<double>{1, 5, 5, 3}));
}

TEST(FindPeaks, WidthIsMeasuredAtHalfProminence) {
    // Peak 5 on a base of 0: level 2.5 is crossed between 1 and 5 on the left
    // (x = 1.375) and between 3 and 0 on the right (x = 4 - 2.5 / 3).
    const auto found = peaks({0, 1, 5, 3, 0}, 0, 0, 0);
    ASSERT_EQ(found.widths.size(), 1u);
    EXPECT_DOUBLE_EQ(found.widths[0], (4.0 - 2.5 / 3.0) - 1.375);

    const auto nested = peaks({0, 20, 1, 8, 5, 10, 3, 30, 0}, 0, 5, 0);
    ASSERT_EQ(nested.widths.size(), 3u);
    EXPECT_DOUBLE_EQ(nested.widths[1], (6.0 - 4.5 / 7.0) - 4.5);  // level 7.5 above base 5
}

TEST(FindPeaks, WidthReachesTheBaseWhenTheLevelIsNeverCrossed) {
    const std::vector<double> signal{0, 9, 10, 9, 0};
    // Bases at 1 and 3 with a base height of 0: the level 5 is not crossed
    // inside [1, 3], so both sides stop at the base index.
    EXPECT_EQ(utils::findLeftIntercept(signal, 2, 1, 5.0), 0);
    EXPECT_EQ(utils::findRightIntercept(signal, 2, 3, 5.0), 4);
    const auto widths = utils::getHalfMaxBounds(signal, {2}, {0.0}, {1}, {3});
    EXPECT_EQ(widths, std::vector<double>{2.0});
}

TEST(FindPeaks, SpacingKeepsTheHigherPeak) {
    const auto signal = spikes(12, {{2, 5.0}, {5, 8.0}});
    EXPECT_EQ(peakLocations(signal, 0, 0, 3), std::vector<int>{5});
    EXPECT_EQ(peakLocations(signal, 0, 0, 2), (std::vector<int>{2, 5}));
}

TEST(FindPeaks, EqualHeightsRankByPositionAndTheBoundIsInclusive) {
    const auto signal = spikes(20, {{4, 5.0}, {8, 5.0}, {12, 5.0}});
    // 4 removes 8; 8, once removed, removes nothing, so 12 stays.
    EXPECT_EQ(peakLocations(signal, 0, 0, 4), (std::vector<int>{4, 12}));
    EXPECT_EQ(peakLocations(signal, 0, 0, 3), (std::vector<int>{4, 8, 12}));
    EXPECT_EQ(peakLocations(signal, 0, 0, 8), std::vector<int>{4});
}

TEST(FindPeaks, SurvivorsAreReportedInPositionOrder) {
    const auto found = peaks(spikes(14, {{2, 5.0}, {6, 9.0}, {10, 7.0}}), 0, 0, 1);
    EXPECT_EQ(found.locations, (std::vector<int>{2, 6, 10}));
    EXPECT_EQ(found.values, (std::vector<double>{5.0, 9.0, 7.0}));
    EXPECT_EQ(found.widths, (std::vector<double>{1.0, 1.0, 1.0}));
}

// --- sorting helpers ---------------------------------------------------------------

TEST(UcqSort, SortsAndCarriesTheIndices) {
    const std::vector<double> original{3, 1, 4, 1, 5, 9, 2, 6, 5, 3};
    for (short ascending : {short(1), short(0)}) {
        std::vector<double> values = original;
        std::vector<int> carried{0, 1, 2, 3, 4, 5, 6, 7, 8, 9};
        utils::ucqSort(values.data(), 0, 9, carried.data(), ascending);
        for (int k = 0; k < 10; ++k) EXPECT_EQ(values[k], original[carried[k]]) << k;
        if (ascending) EXPECT_TRUE(std::is_sorted(values.begin(), values.end()));
        else EXPECT_TRUE(std::is_sorted(values.rbegin(), values.rend()));
        std::vector<int> indices = carried;
        std::sort(indices.begin(), indices.end());
        EXPECT_EQ(indices, (std::vector<int>{0, 1, 2, 3, 4, 5, 6, 7, 8, 9}));
    }
}

TEST(UcqSort, DescendingPutsEqualsLeftOfThePivot) {
    std::vector<double> values{2, 3, 2};
    std::vector<int> carried{0, 1, 2};
    utils::ucqSort(values.data(), 0, 2, carried.data(), 0);
    EXPECT_EQ(values, (std::vector<double>{3, 2, 2}));
    EXPECT_EQ(carried, (std::vector<int>{1, 2, 0}));
}

TEST(UcqSort, NullCarriedAndSubRanges) {
    std::vector<double> values{9, 4, 7, 1, 0};
    utils::ucqSort(values.data(), 1, 3, nullptr, 1);
    EXPECT_EQ(values, (std::vector<double>{9, 1, 4, 7, 0}));
    utils::ucqSort(values.data(), 2, 2, nullptr, 1);
    utils::ucqSort(values.data(), 3, 1, nullptr, 0);
    EXPECT_EQ(values, (std::vector<double>{9, 1, 4, 7, 0}));
}

TEST(IdxSort, OrdersIndicesWithinRunsOfEqualValues) {
    std::vector<double> values{5, 5, 3, 3, 3, 1};
    std::vector<int> carried{4, 2, 9, 1, 5, 0};
    utils::idxSort(values.data(), carried.data(), 6);
    EXPECT_EQ(carried, (std::vector<int>{2, 4, 1, 5, 9, 0}));
    EXPECT_EQ(values, (std::vector<double>{5, 5, 3, 3, 3, 1}));
    utils::idxSort(values.data(), carried.data(), 0);
    EXPECT_EQ(carried, (std::vector<int>{2, 4, 1, 5, 9, 0}));
}

// --- region-finding variant ----------------------------------------------------------

TEST(FindPeaksU, ReportsPeaksWithTheirRegions) {
    const auto found = regions(twoTriangles(), 0, 1, 1, 0);
    EXPECT_EQ(found.peaks.locations, (std::vector<int>{10, 30}));
    EXPECT_EQ(found.peaks.values, (std::vector<double>{10.0, 6.0}));
    EXPECT_EQ(found.peaks.widths, (std::vector<double>{5.0, 6.0}));
    EXPECT_EQ(found.starts, (std::vector<int>{6, 25}));
    EXPECT_EQ(found.ends, (std::vector<int>{14, 35}));
}

TEST(FindPeaksU, WidthBoundIsInclusive) {
    EXPECT_EQ(regions(twoTriangles(), 0, 1, 1, 5).peaks.locations, (std::vector<int>{10, 30}));
    EXPECT_EQ(regions(twoTriangles(), 0, 1, 1, 6).peaks.locations, std::vector<int>{30});
    EXPECT_TRUE(regions(twoTriangles(), 0, 1, 1, 7).peaks.locations.empty());
}

TEST(FindPeaksU, NarrowPeaksLeaveBeforeTheSpacingPass) {
    // Within a spacing of 25 the higher peak A removes B, unless A is dropped
    // for its width first.
    EXPECT_EQ(regions(twoTriangles(), 0, 1, 25, 0).peaks.locations, std::vector<int>{10});
    EXPECT_EQ(regions(twoTriangles(), 0, 1, 25, 6).peaks.locations, std::vector<int>{30});
}

TEST(FindPeaksU, AppendsToTheOutputs) {
    std::vector<double> values{-1}, widths{-1};
    std::vector<int> locations{-1}, starts{-1}, ends{-1};
    utils::findPeaksU(twoTriangles(), 0, 1, 1, values, locations, starts, ends, widths, 6);
    EXPECT_EQ(values, (std::vector<double>{-1, 6}));
    EXPECT_EQ(locations, (std::vector<int>{-1, 30}));
    EXPECT_EQ(starts, (std::vector<int>{-1, 25}));
    EXPECT_EQ(ends, (std::vector<int>{-1, 35}));
    EXPECT_EQ(widths, (std::vector<double>{-1, 6}));
}

TEST(RemovePeaksOutsideWidth, KeepsEntriesAtOrAboveTheMinimum) {
    std::vector<int> locations{3, 8, 12, 20};
    std::vector<double> other{1.5, 2.5, 3.5, 4.5};
    std::vector<double> widths{1.0, 2.0, 1.999, 2.5};
    utils::removePeaksOutsideWidth(locations, other, widths, 2);
    EXPECT_EQ(locations, (std::vector<int>{8, 20}));
    EXPECT_EQ(other, (std::vector<double>{2.5, 4.5}));
    EXPECT_EQ(widths, (std::vector<double>{2.0, 2.5}));
}

TEST(RemovePeaksOutsideWidth, ZeroMinimumOrNoPeaksChangesNothing) {
    std::vector<int> locations{3, 8};
    std::vector<double> other{1.0, 2.0};
    std::vector<double> widths{-1.0, 0.5};
    utils::removePeaksOutsideWidth(locations, other, widths, 0);
    EXPECT_EQ(locations, (std::vector<int>{3, 8}));
    EXPECT_EQ(widths, (std::vector<double>{-1.0, 0.5}));

    std::vector<int> none;
    std::vector<double> unrelated{7.0};
    std::vector<double> noWidths;
    utils::removePeaksOutsideWidth(none, unrelated, noWidths, 3);
    EXPECT_EQ(unrelated, std::vector<double>{7.0});
}

// --- region ends around a peak ---------------------------------------------------------

TEST(ChickStartEnd, NonPositiveSpanGivesNoRegion) {
    const std::vector<double> y{3, 2, 5, 2, 3};
    for (int span : {0, -4}) {
        int start = 7, end = 7;
        chick_Start_End(y, 2, span, start, end);
        EXPECT_EQ(start, -1);
        EXPECT_EQ(end, -1);
    }
}

TEST(ChickStartEnd, LowestSampleNearestToThePeakWins) {
    const std::vector<double> y{9, 1, 1, 5, 1, 1, 9};
    int start = 0, end = 0;
    chick_Start_End(y, 3, 3, start, end);
    EXPECT_EQ(start, 2);
    EXPECT_EQ(end, 4);
    chick_Start_End(y, 3, 1, start, end);  // only the peak itself is looked at
    EXPECT_EQ(start, 3);
    EXPECT_EQ(end, 3);
}

TEST(ChickStartEnd, NeverPicksTheFirstOrLastSample) {
    const std::vector<double> y{0, 5, 3, 4, 2, 0};
    int start = 0, end = 0;
    chick_Start_End(y, 1, 3, start, end);  // index 0 is lower but excluded
    EXPECT_EQ(start, 1);
    EXPECT_EQ(end, 2);
    chick_Start_End(y, 4, 3, start, end);  // the last sample is lower but excluded
    EXPECT_EQ(start, 4);
    EXPECT_EQ(end, 4);
    chick_Start_End(y, 0, 2, start, end);
    EXPECT_EQ(start, -1);
    EXPECT_EQ(end, 0);
    chick_Start_End(y, 5, 2, start, end);
    EXPECT_EQ(start, 5);
    EXPECT_EQ(end, -1);
}

TEST(ChickStartEnd, SpanReachingPastBothEndsStaysInside) {
    const std::vector<double> y{1, 4, 2, 6, 3, 5, 1};
    int start = 0, end = 0;
    chick_Start_End(y, 3, 1000, start, end);
    EXPECT_EQ(start, 2);
    EXPECT_EQ(end, 4);
}
