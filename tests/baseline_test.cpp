// Heart-rate baseline: the binning routine, the basal rate on a 5 bpm grid,
// the flat curve and the weighted-mode baseline curve.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <random>
#include <vector>

#include "algorithm.h"
#include "utils.h"

namespace {

std::vector<int> histogram(const std::vector<int>& data, const std::vector<int>& edges) {
    std::vector<int> counts;
    utils::hist(data, edges, counts);
    return counts;
}

std::vector<int> repeated(std::initializer_list<std::pair<int, int>> valueCounts) {
    std::vector<int> trace;
    for (const auto& [value, count] : valueCounts) trace.insert(trace.end(), count, value);
    return trace;
}

// --- an independent model of the baseline curve --------------------------------
//
// Written directly from the algorithm: one fresh histogram per output sample,
// the weights of the look-back and look-ahead profile assigned by region, and
// a plain search for the first densest 10-bin band.

std::vector<double> steppedRange(double start, double end, int count) {
    std::vector<double> points;
    if (count < 1 || 1e-6 > std::fabs(static_cast<double>(static_cast<int>(start - end)))) {
        return points;
    }
    const double step = std::fabs(end - start) / static_cast<double>(count - 1);
    double x = start;
    do {
        points.push_back(x);
        x = start > end ? x - step : x + step;
    } while (start > end ? x >= end : x <= end);
    points.push_back(end);
    return points;
}

struct Window {
    int ahead = 0;
    int behind = 0;
    std::vector<double> weights;
};

Window window(int length, int seconds, int rate) {
    Window w;
    const double period = 1.0 / rate;
    w.ahead = static_cast<int>(seconds / 60.0 * 0.5 * (60.0 / period));
    w.behind = std::min(length - w.ahead - 1,
                        static_cast<int>((seconds / 60) * 0.5 * (60.0 / period)));
    for (double a : steppedRange(0.0, 5.0, w.behind)) {
        w.weights.push_back(std::exp(a) / 148.4131591025766);
    }
    const auto fall = steppedRange(2.0, 0.1, w.ahead + 1);
    for (std::size_t k = 1; k < fall.size(); ++k) {
        w.weights.push_back(std::exp(fall[k]) / 7.38905609893065);
    }
    return w;
}

double densestBandMean(const std::array<double, 300>& bins) {
    double best = 0.0;
    int bestBand = -1;
    for (int t = 0; t <= 288; ++t) {
        double total = bins[t];
        for (int m = 1; m < 10; ++m) total += bins[t + m];
        if (total > best) {
            best = total;
            bestBand = t;
        }
    }
    if (bestBand < 0) return 0.0;
    double weighted = 0.0;
    for (int m = 0; m < 10; ++m) weighted += (bestBand + 1 + m) * bins[bestBand + m];
    return weighted / best;
}

std::vector<double> modelBaseline(const std::vector<int>& trace, int seconds, int rate) {
    const int n = static_cast<int>(trace.size());
    std::vector<double> curve(n, 0.0);
    const Window w = window(n, seconds, rate);
    if (w.ahead < 1 || w.behind < 1) return curve;
    const int weightCount = static_cast<int>(w.weights.size());
    const int middleEnd = n - w.ahead;
    for (int i = 0; i < n; ++i) {
        std::array<double, 300> bins{};
        auto add = [&](int j, int weightIndex) {
            EXPECT_TRUE(weightIndex >= 0 && weightIndex < weightCount) << i << " " << j;
            const int value = trace[j];
            if (value >= 1 && value <= 300) bins[value - 1] += w.weights.at(weightIndex);
        };
        if (i < w.behind - 1) {
            const int firstWeight = weightCount - (w.ahead + 2 + i);
            for (int j = 0; j <= w.ahead + i; ++j) add(j, firstWeight + j);
        } else {
            const int last = i < middleEnd ? i + w.ahead : n - 1;
            for (int j = i - w.behind + 1; j <= last; ++j) add(j, j - i + w.behind - 1);
        }
        curve[i] = densestBandMean(bins);
    }
    return curve;
}

std::vector<int> randomWalk(int length, unsigned seed) {
    std::mt19937 rng(seed);
    std::uniform_int_distribution<int> step(-3, 3);
    std::uniform_int_distribution<int> burst(0, 99);
    std::vector<int> trace(length);
    int value = 140;
    for (auto& sample : trace) {
        value = std::clamp(value + step(rng), 60, 210);
        // Occasional short excursions, as accelerations and decelerations make.
        sample = burst(rng) < 3 ? std::clamp(value + 25 * step(rng), 60, 210) : value;
    }
    return trace;
}

class FhrBaseline : public testing::Test {
protected:
    std::vector<double> curve(const std::vector<int>& trace, int rate) {
        analyser.setSampleRate(rate);
        return analyser.fhr_baseline(trace, static_cast<int>(trace.size()) / rate);
    }
    QK4_CFhrAlgorithm analyser;
};

void expectSameBits(const std::vector<double>& actual, const std::vector<double>& expected) {
    ASSERT_EQ(actual.size(), expected.size());
    for (std::size_t i = 0; i < actual.size(); ++i) {
        ASSERT_EQ(actual[i], expected[i]) << "first difference at sample " << i;
    }
}

}  // namespace

// --- binning -----------------------------------------------------------------------

TEST(Hist, BinsAreCentredOnTheEdges) {
    // 68 lies above the last midpoint 67.5 and is counted nowhere.
    EXPECT_EQ(histogram({68, 63, 10, 67, 62}, {60, 65, 70}), (std::vector<int>{2, 2}));
}

TEST(Hist, ValueOnAMidpointGoesToTheLowerBin) {
    EXPECT_EQ(histogram({62, 67, 63, 68}, {60, 64, 70}), (std::vector<int>{1, 2}));
}

TEST(Hist, AppendsOneCountPerBin) {
    std::vector<int> counts{9};
    utils::hist({}, {60, 65, 70, 75}, counts);
    EXPECT_EQ(counts, (std::vector<int>{9, 0, 0, 0}));
    utils::hist({100}, {60}, counts);
    EXPECT_EQ(counts.size(), 4u);
}

// --- basal rate ---------------------------------------------------------------------

TEST(BasalFhr, MostFrequentRateOnAFiveBpmGrid) {
    QK4_CFhrAlgorithm analyser;
    EXPECT_EQ(analyser.basal_fhr(std::vector<int>(100, 142)), 140);
    EXPECT_EQ(analyser.basal_fhr(std::vector<int>(100, 143)), 145);
    EXPECT_EQ(analyser.basal_fhr(std::vector<int>(100, 207)), 205);
    EXPECT_EQ(analyser.basal_fhr(repeated({{150, 10}, {140, 9}})), 150);
}

TEST(BasalFhr, TiesGoToTheLowestBin) {
    QK4_CFhrAlgorithm analyser;
    EXPECT_EQ(analyser.basal_fhr(repeated({{150, 50}, {140, 50}})), 140);
    EXPECT_EQ(analyser.basal_fhr(repeated({{180, 5}, {120, 5}, {150, 5}})), 120);
}

TEST(BasalFhr, RatesOutsideTheGrid) {
    QK4_CFhrAlgorithm analyser;
    EXPECT_EQ(analyser.basal_fhr(std::vector<int>(100, 210)), 60);  // above 207.5: not counted
    EXPECT_EQ(analyser.basal_fhr(std::vector<int>(100, 208)), 60);
    EXPECT_EQ(analyser.basal_fhr(repeated({{30, 10}, {100, 9}})), 60);  // below 62.5: first bin
    EXPECT_EQ(analyser.basal_fhr({}), 60);
}

// --- flat curve -------------------------------------------------------------------------

TEST(FhrBasalline, OneValuePerSampleOfTheRun) {
    QK4_CFhrAlgorithm analyser;
    analyser.setSampleRate(4);
    analyser.setDurationSeconds(1200);
    EXPECT_EQ(analyser.fhr_basalline(140), std::vector<double>(4800, 140.0));
    analyser.setDurationSeconds(0);
    EXPECT_TRUE(analyser.fhr_basalline(140).empty());
}

// --- baseline curve -----------------------------------------------------------------------

TEST_F(FhrBaseline, ConstantTraceGivesItsValue) {
    for (int rate : {1, 2, 4}) {
        for (int value : {1, 60, 143, 210, 298}) {
            const std::vector<int> trace(150 * rate, value);
            const auto result = curve(trace, rate);
            ASSERT_EQ(result.size(), trace.size());
            for (std::size_t i = 0; i < result.size(); ++i) {
                ASSERT_DOUBLE_EQ(result[i], value) << "rate " << rate << " sample " << i;
            }
            expectSameBits(result, modelBaseline(trace, 150, rate));
        }
    }
}

TEST_F(FhrBaseline, WritesTheSamplePeriod) {
    curve(std::vector<int>(480, 140), 4);
    EXPECT_EQ(analyser.getSamplePeriod(), 0.25);
}

TEST_F(FhrBaseline, RatesOutsideEveryBandGiveZero) {
    // 299 and 300 bpm are binned but lie in no band; other values are skipped.
    for (int value : {299, 300, 301, 0, -20}) {
        EXPECT_EQ(curve(std::vector<int>(240, value), 2), std::vector<double>(240, 0.0)) << value;
    }
}

TEST_F(FhrBaseline, OutOfRangeSamplesAreIgnored) {
    std::vector<int> trace = randomWalk(360, 7);
    for (int i = 5; i < 360; i += 37) trace[i] = (i % 2) ? 0 : 305;
    trace[100] = 300;
    trace[101] = 299;
    expectSameBits(curve(trace, 2), modelBaseline(trace, 180, 2));
}

TEST_F(FhrBaseline, TracesShorterThanAMinuteGiveZeros) {
    EXPECT_EQ(curve(std::vector<int>(236, 140), 4), std::vector<double>(236, 0.0));
    EXPECT_EQ(curve(std::vector<int>(30, 140), 1), std::vector<double>(30, 0.0));
    EXPECT_TRUE(curve({}, 4).empty());
}

TEST_F(FhrBaseline, MatchesTheModelOnRandomWalks) {
    // The durations give middle regions from 2 to about 120 samples long.
    unsigned seed = 1;
    for (int rate : {1, 2, 4}) {
        for (int seconds : {60, 90, 110, 119, 150, 170, 180}) {
            const std::vector<int> trace = randomWalk(seconds * rate, seed++);
            SCOPED_TRACE(testing::Message() << "rate " << rate << ", " << seconds << " s");
            const auto result = curve(trace, rate);
            EXPECT_GE(*std::min_element(result.begin(), result.end()), 60.0);
            expectSameBits(result, modelBaseline(trace, seconds, rate));
        }
    }
}

TEST_F(FhrBaseline, MatchesTheModelWhenTheLengthIsNotWholeSeconds) {
    const std::vector<int> trace = randomWalk(4 * 100 + 3, 99);
    expectSameBits(curve(trace, 4), modelBaseline(trace, 100, 4));
}

TEST_F(FhrBaseline, MatchesTheModelOnALongerTrace) {
    const std::vector<int> trace = randomWalk(4 * 650, 2024);
    expectSameBits(curve(trace, 4), modelBaseline(trace, 650, 4));
}
