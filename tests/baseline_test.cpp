// Baselines: the basal rate on a 5 bpm grid and the weighted-mode curves of
// the heart-rate and contraction traces (one scheme in two shapes): the stages,
// the written form and the fast form at every vector level agree bit for bit
// (on random traces, near ties and every research recording), and
// fingerprints pin the bits.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "algorithm.h"
#include "dispatch_levels.h"
#include "test_support.h"

namespace {

using Ints = std::vector<int>;
using Doubles = std::vector<double>;

const BaselineShape kHeartRate{10, 300, 300};
const BaselineShape kContraction{20, 100, 300};

void expectSameBits(const Doubles& actual, const Doubles& expected, const std::string& what) {
    ASSERT_EQ(actual.size(), expected.size()) << what;
    for (size_t i = 0; i < actual.size(); ++i) {
        ASSERT_EQ(std::memcmp(&actual[i], &expected[i], sizeof(double)), 0)
            << what << ": sample " << i << " is " << actual[i] << ", expected " << expected[i];
    }
}

// The stage curves of both shapes, which the library's written form (the fast
// form's fallback) and the fast form at every vector level must equal bit for
// bit; appended to `curves`, whose fingerprint pins the bits.
void expectFormsAgree(QK4_CFhrAlgorithm& analyzer, const Ints& trace, const Ints& toco, int seconds,
                      int rate, const std::string& what, Doubles& curves) {
    analyzer.setSampleRate(rate);
    for (const bool isToco : {false, true}) {
        const Ints& values = isToco ? toco : trace;
        const BaselineShape& shape = isToco ? kContraction : kHeartRate;
        const std::string name = what + (isToco ? ", toco" : "");
        const Doubles stage =
            isToco ? analyzer.uc_baseline(values, seconds) : analyzer.fhr_baseline(values, seconds);
        expectSameBits(weightedModeBaselineReference(values, seconds, rate, shape), stage,
                       name + ", written form");
        testing_support::atEveryLevel([&] {
            expectSameBits(weightedModeBaselineLanes(values, seconds, rate, shape), stage, name);
        });
        curves.insert(curves.end(), stage.begin(), stage.end());
    }
}

}  // namespace

TEST(BasalFhr, MostFrequentRateOnAFiveBpmGridLowestOnATie) {
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
    QK4_CFhrAlgorithm analyzer;
    for (const auto& [trace, rate] : cases) {
        EXPECT_EQ(analyzer.basal_fhr(trace), rate) << testing::PrintToString(trace);
    }
}

// Each request through the stages is followed by requests for the same trace
// in the other shape, with another window and with one sample changed, so a
// reused curve must belong to exactly the same request.  The fingerprint was
// taken when the curves matched a direct rendering of the scheme: look-back
// weights rising as exp(0 .. 5) / e^5, look-ahead weights falling as
// exp(2 .. 0.1) / e^2, one histogram per output sample (300 bins at the end
// for either shape), and the weighted mean of the first densest band.
TEST(WeightedModeBaseline, CurvesOnRandomTracesKeepTheirBitsInEveryForm) {
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
    QK4_CFhrAlgorithm analyzer;
    Doubles curves;
    for (const Case& c : cases) {
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
            expectFormsAgree(analyzer, trace, trace, seconds, c.rate, what, curves);
        }
        if (trace.empty()) continue;
        trace[c.length / 2] += 1;
        const Doubles changed = analyzer.fhr_baseline(trace, c.seconds);
        curves.insert(curves.end(), changed.begin(), changed.end());
    }
    EXPECT_EQ(testing_support::fingerprint(curves), 0x53c3ae2b2e066deeull);
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
    QK4_CFhrAlgorithm analyzer;
    Doubles curves;
    for (const auto [rate, length, seconds] : cases) {
        Ints trace(length), toco(length);
        for (int j = 0; j < length; ++j) {
            trace[j] = __builtin_popcount(j) % 2 ? 150 : (j % 7 ? 120 : 121);
            toco[j] = trace[j] - 90;  // 30, 31 and 60: 20-value bands
        }
        expectFormsAgree(analyzer, trace, toco, seconds, rate,
                         std::to_string(length) + " samples at " + std::to_string(rate) + " Hz",
                         curves);
    }
    EXPECT_EQ(testing_support::fingerprint(curves), 0x36799b38a90fc151ull);
}

// The fast form at every level against the written form on every research
// recording (both heart-rate channels and the toco channel).
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
