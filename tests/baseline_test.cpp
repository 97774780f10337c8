// Baselines: the binning routine, the basal rate on a 5 bpm grid, the flat
// curve, and the weighted-mode curves of the heart-rate and contraction traces
// (one scheme in two shapes), bit for bit against a direct rendering.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "algorithm.h"
#include "dispatch_levels.h"
#include "test_support.h"
#include "utils.h"

namespace {

using Ints = std::vector<int>;
using Doubles = std::vector<double>;

const BaselineShape kHeartRate{10, 300, 300};
const BaselineShape kContraction{20, 100, 300};

// --- a direct rendering of the weighted-mode baseline -------------------------
//
// One fresh histogram per output sample; the look-back weights rise as
// exp(0 .. 5) / e^5 and the look-ahead weights fall as exp(2 .. 0.1) / e^2;
// then the weighted mean value of the first densest band of bins.

// start, start +- step, ... while within end, then end itself.
Doubles steppedRange(double start, double end, int count) {
    Doubles points;
    if (count < 1 || std::fabs(start - end) < 1.0) return points;
    const double step = std::fabs(end - start) / (count - 1);
    for (double x = start; start > end ? x >= end : x <= end; x += start > end ? -step : step) {
        points.push_back(x);
    }
    points.push_back(end);
    return points;
}

// The two highest bins never fall inside a band.
double densestBandMean(const Doubles& bins, int width) {
    double best = 0.0;
    int bestBand = -1;
    for (int t = 0; t + width + 1 < static_cast<int>(bins.size()); ++t) {
        double total = bins[t];
        for (int m = 1; m < width; ++m) total = total + bins[t + m];
        if (total > best) {
            best = total;
            bestBand = t;
        }
    }
    double moment = 0.0;
    for (int m = 0; bestBand >= 0 && m < width; ++m) {
        moment = moment + (bestBand + 1 + m) * bins[bestBand + m];
    }
    return bestBand < 0 ? 0.0 : moment / best;
}

Doubles renderBaseline(const Ints& trace, int seconds, int rate, const BaselineShape& shape) {
    const int n = static_cast<int>(trace.size());
    Doubles curve(n, 0.0);
    const double perMinute = 60.0 / (1.0 / rate);
    const int ahead = static_cast<int>(seconds / 60.0 * 0.5 * perMinute);
    const int behind = std::min(n - ahead - 1, static_cast<int>((seconds / 60) * 0.5 * perMinute));
    if (ahead < 1 || behind < 1) return curve;
    Doubles weights;
    for (double a : steppedRange(0.0, 5.0, behind))
        weights.push_back(std::exp(a) / 148.4131591025766);
    const Doubles falling = steppedRange(2.0, 0.1, ahead + 1);
    for (size_t k = 1; k < falling.size(); ++k) {
        weights.push_back(std::exp(falling[k]) / 7.38905609893065);
    }
    const int size = static_cast<int>(weights.size());
    for (int i = 0; i < n; ++i) {
        // Start region: samples 0 .. i + ahead with the profile's last weights;
        // middle: i - behind + 1 .. i + ahead; end: i - behind + 1 .. n - 1 on the tail histogram.
        const bool start = i < behind - 1, end = i >= n - ahead;
        Doubles bins(end ? shape.tailBins : shape.edgeBins, 0.0);
        const int first = start ? 0 : i - behind + 1;
        const int firstWeight = start ? size - (ahead + 2 + i) : 0;
        for (int j = first; j <= (end ? n - 1 : i + ahead); ++j) {
            const int k = firstWeight + j - first, value = trace[j];
            if (k >= 0 && k < size && value >= 1 && value <= static_cast<int>(bins.size())) {
                bins[value - 1] += weights[k];
            }
        }
        curve[i] = densestBandMean(bins, shape.bandWidth);
    }
    return curve;
}

void expectSameBits(const Doubles& actual, const Doubles& expected, const std::string& what) {
    ASSERT_EQ(actual.size(), expected.size()) << what;
    for (size_t i = 0; i < actual.size(); ++i) {
        ASSERT_EQ(std::memcmp(&actual[i], &expected[i], sizeof(double)), 0)
            << what << ": sample " << i << " is " << actual[i] << ", expected " << expected[i];
    }
}

// The fast form at every vector level and the library's written form (its
// fallback) against the expected curve of both shapes.
void expectBothFormsAtEveryLevel(const Ints& trace, const Ints& toco, int seconds, int rate,
                                 const std::string& what) {
    const Doubles heartRate = renderBaseline(trace, seconds, rate, kHeartRate);
    const Doubles contraction = renderBaseline(toco, seconds, rate, kContraction);
    expectSameBits(weightedModeBaselineReference(trace, seconds, rate, kHeartRate), heartRate,
                   what + ", written form");
    expectSameBits(weightedModeBaselineReference(toco, seconds, rate, kContraction), contraction,
                   what + ", toco, written form");
    testing_support::atEveryLevel([&] {
        expectSameBits(weightedModeBaselineLanes(trace, seconds, rate, kHeartRate), heartRate,
                       what);
        expectSameBits(weightedModeBaselineLanes(toco, seconds, rate, kContraction), contraction,
                       what + ", toco");
    });
}

}  // namespace

TEST(Hist, BinsAreCentredOnTheEdgesAndAppended) {
    const auto histogram = [](const Ints& data, const Ints& edges, Ints counts = {}) {
        utils::hist(data, edges, counts);
        return counts;
    };
    // 68 lies above the last midpoint 67.5 and is counted nowhere.
    EXPECT_EQ(histogram({68, 63, 10, 67, 62}, {60, 65, 70}), (Ints{2, 2}));
    EXPECT_EQ(histogram({62, 67, 63, 68}, {60, 64, 70}), (Ints{1, 2}));  // a midpoint goes down
    EXPECT_EQ(histogram({}, {60, 65, 70, 75}, {9}), (Ints{9, 0, 0, 0}));
    EXPECT_EQ(histogram({100}, {60}, {9}), (Ints{9}));
}

TEST(BasalFhr, MostFrequentRateOnAFiveBpmGridLowestOnATieAndTheFlatCurve) {
    const auto repeated = [](std::initializer_list<std::pair<int, int>> valueCounts) {
        Ints trace;
        for (const auto& [value, count] : valueCounts) trace.insert(trace.end(), count, value);
        return trace;
    };
    // clang-format off
    const std::pair<Ints, int> cases[] = {
        {Ints(100, 142), 140},
        {Ints(100, 143), 145},
        {Ints(100, 207), 205},
        {repeated({{150, 10}, {140, 9}}), 150},
        {repeated({{150, 50}, {140, 50}}), 140},
        {repeated({{180, 5}, {120, 5}, {150, 5}}), 120},
        {Ints(100, 208), 60},  // above 207.5: counted nowhere
        {repeated({{30, 10}, {100, 9}}), 60},  // below 62.5: the first bin
        {{}, 60},
    };
    // clang-format on
    QK4_CFhrAlgorithm analyser;
    for (const auto& [trace, rate] : cases) {
        EXPECT_EQ(analyser.basal_fhr(trace), rate) << testing::PrintToString(trace);
    }
    analyser.setSampleRate(4);
    analyser.setDurationSeconds(1200);
    EXPECT_EQ(analyser.fhr_basalline(140), Doubles(4800, 140.0));
    analyser.setDurationSeconds(0);
    EXPECT_TRUE(analyser.fhr_basalline(140).empty());
}

// Each request through the stages is followed by requests for the same trace
// in the other shape, with another window and with one sample changed, so a
// reused curve must belong to exactly the same request.
TEST(WeightedModeBaseline, StagesAndBothFormsMatchTheRenderingOnRandomTraces) {
    struct Case {
        int rate, length, seconds, low, high;
    };
    // Middle regions from none to several lane groups long, look-backs limited
    // by the length, windows of whole and partial minutes, and values at and
    // beyond both histogram sizes.
    // clang-format off
    const Case cases[] = {
        {1, 60, 60, 50, 220},     {2, 120, 60, 50, 220},    {4, 236, 59, 50, 220},
        {4, 240, 60, 1, 120},     {4, 403, 100, 50, 220},   {1, 182, 90, 1, 120},
        {2, 340, 170, 60, 210},   {4, 476, 119, 60, 210},   {4, 600, 150, -5, 310},
        {4, 600, 90, 90, 110},    {4, 1200, 300, 0, 120},   {4, 1500, 340, 280, 305},
        {1, 700, 180, 1, 300},    {4, 2600, 650, 60, 210},  {2, 1800, 600, -5, 310},
        {4, 0, 0, 50, 220},
    };
    // clang-format on
    std::mt19937 rng(20261121);
    QK4_CFhrAlgorithm analyser;
    for (const Case& c : cases) {
        analyser.setSampleRate(c.rate);
        // A walk of small steps with occasional jumps anywhere in [low, high].
        Ints trace(c.length);
        int value = (c.low + c.high) / 2;
        for (int& sample : trace) {
            value = std::clamp(value + static_cast<int>(rng() % 7) - 3, c.low, c.high);
            sample =
                rng() % 30 == 0 ? c.low + static_cast<int>(rng() % (c.high - c.low + 1)) : value;
        }
        const std::string what = std::to_string(c.length) + " samples at " +
                                 std::to_string(c.rate) + " Hz, " + std::to_string(c.seconds) +
                                 " s";
        for (int seconds : {c.seconds, c.seconds - 7}) {
            expectSameBits(analyser.fhr_baseline(trace, seconds),
                           renderBaseline(trace, seconds, c.rate, kHeartRate), what);
            expectSameBits(analyser.uc_baseline(trace, seconds),
                           renderBaseline(trace, seconds, c.rate, kContraction), what + ", toco");
            expectBothFormsAtEveryLevel(trace, trace, seconds, c.rate, what);
        }
        if (trace.empty()) continue;
        trace[c.length / 2] += 1;
        expectSameBits(analyser.fhr_baseline(trace, c.seconds),
                       renderBaseline(trace, c.seconds, c.rate, kHeartRate), what + ", changed");
    }
}

// The level chosen is the best the kernel's own CPU report allows: a lower one
// would run slower and leave the higher level's kernels untested.
TEST(Dispatch, DetectsTheBestLevelTheCpuReports) {
    std::ifstream cpuinfo("/proc/cpuinfo");
    std::string line;
    while (std::getline(cpuinfo, line) && line.rfind("flags", 0) != 0) {
    }
    if (line.empty()) GTEST_SKIP() << "no CPU flags in /proc/cpuinfo";
    line += ' ';
    const DispatchLevel expected =
        line.find(" avx512f ") != std::string::npos ? DispatchLevel::Avx512
        : line.find(" avx2 ") != std::string::npos  ? DispatchLevel::Avx2
                                                    : DispatchLevel::Baseline;
    EXPECT_STREQ(dispatch::name(dispatch::detected()), dispatch::name(expected));
}

// Two values far apart, placed along the trace by the Thue-Morse sequence, so
// that their weighted totals agree to many digits for many outputs; a third
// value next to the first makes bands that share bins tie exactly.
TEST(WeightedModeBaseline, NearTiesAreDecidedAsInTheWrittenForm) {
    // Region ends that leave groups of a few outputs (whose bounds are tightest),
    // windows of whole and partial minutes.
    const int cases[][3] = {{1, 123, 61}, {2, 490, 245}, {4, 997, 249}, {4, 1921, 480}};
    for (const auto [rate, length, seconds] : cases) {
        Ints trace(length), toco(length);
        for (int j = 0; j < length; ++j) {
            trace[j] = __builtin_popcount(j) % 2 ? 150 : (j % 7 ? 120 : 121);
            toco[j] = trace[j] - 90;  // 30, 31 and 60: 20-value bands
        }
        expectBothFormsAtEveryLevel(
            trace, toco, seconds, rate,
            std::to_string(length) + " samples at " + std::to_string(rate) + " Hz");
    }
}

// The fast form at every level against the library's written form on every
// research recording (both heart-rate channels and the toco channel).
TEST(WeightedModeBaseline, FastFormMatchesTheWrittenFormOnResearchRecordings) {
    if (testing_support::dataDir().empty()) GTEST_SKIP() << "research recordings not present";
    auto check = [](const Ints& trace, const BaselineShape& shape, const std::string& name) {
        const int seconds = static_cast<int>(trace.size()) / 4;
        const Doubles written = weightedModeBaselineReference(trace, seconds, 4, shape);
        testing_support::atEveryLevel([&] {
            expectSameBits(weightedModeBaselineLanes(trace, seconds, 4, shape), written, name);
        });
    };
    for (const auto& rec : testing_support::researchRecordings()) {
        check(rec.fhr, kHeartRate, rec.name);
        check(rec.uc, kContraction, rec.name + " toco");
    }
    for (const auto& rec : testing_support::researchRecordings("train/fhrmax")) {
        check(rec.fhr, kHeartRate, rec.name + " channel maximum");
    }
}
