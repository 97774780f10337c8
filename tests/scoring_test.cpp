// Scoring steps of the four methods, fed through the result record, the
// strong-contraction flag of the Fischer method and the contraction rating.
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <limits>
#include <numeric>
#include <string>
#include <utility>
#include <vector>

#include "methods.h"

namespace {

using Ints = std::vector<int>;
const double kNaN = std::numeric_limits<double>::quiet_NaN();

// A record as clearMem leaves it: every word -1.
QK4_FhrResult& cleared(QK4_CFhrAlgorithm& method) {
    QK4_FhrResult& r = method.resultRecord();
    std::memset(&r, 0xFF, sizeof r);
    return r;
}

void setRates(QK4_FhrResult& r, int baseline, double amplitude, double frequency,
              int accelerations) {
    r.baselineFhr = baseline;
    r.variabilityAmplitude = amplitude;
    r.oscillationFrequency = frequency;
    r.accelerationCount = accelerations;
}

Ints items(const QK4_FhrResult& r) {
    return {r.baselineScore,     r.amplitudeScore,    r.frequencyScore,
            r.accelerationScore, r.decelerationScore, r.movementScore};
}

}  // namespace

TEST(KrebsScore, SixItemBands) {
    struct Case {
        int baseline;
        double amplitude, frequency;
        int accelerations, decelerations, movements;
        Ints points;  // baseline, amplitude, frequency, accelerations, decelerations, movements
    };
    // clang-format off
    const Case cases[] = {
        {130, 15.0, 10.0, 5, 0, 5, {2, 2, 2, 2, 2, 2}},
        {100, 5.0, 3.0, 1, 1, 1, {1, 1, 1, 1, 1, 1}},
        {99, 4.9, 2.9, 0, 2, 0, {0, 0, 0, 0, 0, 0}},
        {160, 25.0, 6.0001, 5, 0, 5, {2, 2, 2, 2, 2, 2}},
        {109, 9.0, 6.0, 4, 0, 4, {1, 1, 1, 1, 2, 1}},
        {110, 9.0001, 10.0, 5, -1, 5, {2, 2, 2, 2, 2, 2}},
        {161, 25.5, 10.0, -1, 100, -1, {1, 1, 2, 2, 0, 2}},  // negative counts score like many
        {180, 4.999, 2.999, -1000, 2, -1000, {1, 0, 0, 2, 0, 2}},
        {181, -1.0, kNaN, 5, 0, 5, {0, 0, 2, 2, 2, 2}},  // not a number scores 2
        {-5, kNaN, 10.0, 5, 0, 5, {0, 2, 2, 2, 2, 2}},
    };
    // clang-format on
    for (const Case& c : cases) {
        QK4_CFhrKrebs method;
        QK4_FhrResult& r = cleared(method);
        setRates(r, c.baseline, c.amplitude, c.frequency, c.accelerations);
        r.decelerationCount = c.decelerations;
        r.movementCount = c.movements;
        const int total = std::accumulate(c.points.begin(), c.points.end(), 0);
        EXPECT_EQ(method.auto_Krebs(), total);
        EXPECT_EQ(items(r), c.points) << "row " << &c - cases;
        EXPECT_EQ(r.totalScore, total);
    }
}

// The deceleration item follows the pattern, the deceleration counts and the
// accelerations; the other four items vary along the rows.
TEST(FischerScore, FiveItemBandsAndTheDecelerationRules) {
    struct Case {
        const char* what;
        int baseline;
        double amplitude, frequency;
        int accelerations, pattern, extra, deep, early, lateOrLow;
        Ints points;  // baseline, amplitude, frequency, accelerations, decelerations
    };
    // clang-format off
    const Case cases[] = {
        {"none at all", 130, 10.0, 5.0001, 3, 0, 0, 0, 0, 0, {2, 2, 2, 2, 2}},
        {"negative count", 99, 2.999, 1.999, -1, 0, 0, -1, 0, 0, {0, 0, 0, 0, 2}},
        {"two typed early", 100, -1.0, 2.0, 0, 0, 0, 0, 2, 2, {1, 0, 2, 0, 2}},
        {"three typed early", 109, 3.0, 2.5, 1, 0, 0, 0, 3, 0, {1, 1, 2, 0, 1}},
        {"three typed late", 110, 4.999, 2.999, 2, 0, 0, 0, 0, 3, {2, 1, 2, 1, 1}},
        {"pattern 3", 160, 5.0, 3.0, 3, 3, 0, 0, 0, 0, {2, 2, 1, 2, 0}},
        {"pattern 4", 161, 25.0, 3.0, 4, 4, 0, 0, 0, 0, {1, 2, 2, 2, 0}},
        {"extra", 180, 25.000001, 4.0, 3, 0, 1, 0, 0, 0, {1, 1, 1, 2, 0}},
        {"pattern 1 before the count rule", 181, kNaN, 4.0, 9, 1, 0, 0, 0, 0, {0, 2, 2, 2, 2}},
        {"nine over five", 130, 10.0, 6.0, 9, 1, 0, 5, 0, 0, {2, 2, 2, 2, 1}},
        {"seven accelerations", 130, 10.0, 6.0, 7, 1, 0, 5, 0, 0, {2, 2, 2, 2, 0}},
        {"eight over seven", 130, 10.0, 6.0, 8, 2, 0, 7, 0, 0, {2, 2, 2, 2, 1}},
        {"eight over eight", 130, 10.0, 6.0, 8, 2, 0, 8, 0, 0, {2, 2, 2, 2, 0}},
        {"two with four accelerations", 130, 10.0, 5.0, 4, 2, 0, 2, 0, 0, {2, 2, 2, 2, 1}},
        {"three with four accelerations", 130, 10.0, 4.0, 4, 2, 0, 3, 0, 0, {2, 2, 2, 2, 0}},
        {"one with three accelerations", -1, 10.0, 5.0, 3, 1, 0, 1, 0, 0, {0, 2, 1, 2, 0}},
        {"pattern 0 with one", 130, 10.0, 6.0, 9, 0, 0, 1, 0, 0, {2, 2, 2, 2, 0}},
        {"pattern 3 with one", 130, 10.0, 6.0, 9, 3, 0, 1, 0, 0, {2, 2, 2, 2, 0}},
    };
    // clang-format on
    for (const Case& c : cases) {
        QK4_CFhrFischer2 method;
        QK4_FhrResult& r = cleared(method);
        setRates(r, c.baseline, c.amplitude, c.frequency, c.accelerations);
        r.decelerationPattern = c.pattern;
        r.decelerationExtra = c.extra;
        r.decelerationCount = c.deep;
        r.decTypeCount1 = c.early;
        r.decTypeCount2 = c.lateOrLow;
        r.decTypeCount3 = r.decTypeCount4 = 0;
        EXPECT_EQ(method.auto_Fischer2(), c.points[4]) << c.what;
        Ints expected = c.points;
        expected.push_back(-1);  // no movement item
        EXPECT_EQ(items(r), expected) << c.what;
        EXPECT_EQ(r.totalScore, std::accumulate(c.points.begin(), c.points.end(), 0)) << c.what;
    }
}

// Every row checks all seven flag groups: baseline, variability, accelerations,
// early, late or low, delayed decelerations, and the pattern.
TEST(AcogClassification, OneHotFlagGroups) {
    struct Case {
        int baseline;
        double amplitude;
        int accelerations, extra, early, lateOrLow, delayed, reservedE, reservedF;
        const char* flags;
    };
    // clang-format off
    const Case cases[] = {
        {110, 5.0, 1, 1, 1, 0, 0, 1, 0,        "1000 10000 1000 100 10000 100 110"},
        {160, 25.0, 0, 1, 0, 3, 3, 1, 1,       "1000 10000 0101 011 01000 010 001"},
        {161, kNaN, -1, 0, -1, 3, 3, 0, -1,    "0100 00000 0000 000 00000 000 000"},
        {109, 4.999, 1, 0, 0, 1, 0, 1, 0,      "0010 00100 1000 011 00010 100 110"},
        {109, 0.0, 1, 0, 1, 0, 2, 0, 0,        "0001 01000 1000 100 10000 000 110"},
        {0, 0.0, 1, 0, 1, 3, 3, 0, 0,          "0001 00001 1000 100 00001 001 110"},
        {-1, 5.0, 1, 0, 1, 0, 3, 0, 0,         "0000 10000 1000 100 10000 010 110"},
        {109, -1.0, 1, 0, 1, 0, -1, 0, 0,      "0000 00001 1000 100 10000 000 110"},
        {109, kNaN, 1, 0, 1, 0, 0, 0, 0,       "0000 00000 1000 100 10000 100 110"},
        {130, 25.0001, 1, 0, 1, 0, 3, 0, 0,    "1000 00010 1000 100 10000 000 110"},
        {130, -1.0, 1, 0, 1, 3, 0, 0, 0,       "1000 00001 1000 100 00001 100 110"},
        {130, -1.0, 1, 0, 1, 2, 1, 0, 0,       "1000 00001 1000 100 00000 000 110"},
        {130, -1.0, 1, 0, 1, 2, 0, 0, 0,       "1000 00000 1000 100 00000 100 110"},
        {130, 0.05, 1, 0, 1, 3, 3, 0, 0,       "1000 00100 1000 100 01000 001 110"},
        {130, 0.1, 1, 0, 1, 0, 3, 0, 0,        "1000 00100 1000 100 10000 000 110"},
        {130, 30.0, 1, 1, 1, 3, 0, 0, 0,       "1000 00010 1000 100 00100 100 110"},
        {130, 30.0, 1, 0, 1, 3, 0, 0, 0,       "1000 00010 1000 100 00000 100 110"},
    };
    // clang-format on
    for (const Case& c : cases) {
        QK4_CFhrAcog method;
        QK4_FhrResult& r = cleared(method);
        r.baselineFhr = c.baseline;
        r.variabilityAmplitude = c.amplitude;
        r.accelerationCount = c.accelerations;
        r.decelerationExtra = c.extra;
        r.decTypeCount1 = c.early;
        r.decTypeCount2 = c.lateOrLow;
        r.decTypeCount3 = c.delayed;
        r.acogReservedE = c.reservedE;
        r.acogReservedF = c.reservedF;
        method.auto_Acog();
        std::string flags;
        for (const auto& [group, size] :
             std::initializer_list<std::pair<const int*, int>>{{r.acogBaselineFlags, 4},
                                                               {r.acogVariabilityFlags, 5},
                                                               {r.acogAccelerationFlags, 4},
                                                               {r.acogDecFlagsA, 3},
                                                               {r.acogDecFlagsB, 5},
                                                               {r.acogDecFlagsC, 3},
                                                               {r.acogPatternFlags, 3}}) {
            if (!flags.empty()) flags += ' ';
            for (int k = 0; k < size; ++k) flags += std::to_string(group[k]);
        }
        EXPECT_EQ(flags, c.flags) << "row " << &c - cases;
        EXPECT_EQ(std::pair(r.totalScore, r.strongContractionFlag), std::pair(-1, -1));
    }
}

TEST(FischerHelpers, StrongContractionsNeedTwoLongAndHighPairedPeaks) {
    struct Case {
        const char* what;
        Ints peaks, starts, ends;
        std::vector<std::pair<int, double>> highs;  // filtered values above the rest level 10
        double base;
        int flag;
    };
    // clang-format off
    const Case cases[] = {
        // Fewer starts than peaks: the first peak is skipped when pairing.
        {"second and fourth", {100, 300, 500, 700}, {250, 450, 650}, {350, 550, 750},
         {{300, 30.0}, {700, 30.0}}, 0.0, 1},
        // Equal counts pair in order; 51 samples long and over 20 above the base.
        {"both limits passed", {300, 500}, {250, 450}, {301, 501}, {{300, 25.0001}, {500, 26.0}},
         5.0, 1},
        {"exactly 20 above", {300, 500}, {250, 450}, {301, 501}, {{300, 25.0}, {500, 26.0}}, 5.0, 0},
        {"exactly 50 long", {300, 500}, {250, 450}, {300, 501}, {{300, 26.0}, {500, 26.0}}, 5.0, 0},
        {"more starts than peaks", {300, 500}, {100, 250, 450}, {200, 350, 550},
         {{300, 50.0}, {500, 50.0}}, 0.0, 0},
    };
    // clang-format on
    for (const Case& c : cases) {
        Contractions found{c.peaks, c.starts, c.ends, std::vector<double>(1000, 10.0)};
        for (const auto& [at, value] : c.highs) found.filtered[at] = value;
        EXPECT_EQ(QK4_CFhrFischer2::strongContractionFlag(found, std::vector<double>(1000, c.base)),
                  c.flag)
            << c.what;
    }
}

// Words 1, 2, 4, 5, 6 pair the last entries of the peak and end lists; word 7
// is the highest contraction sample of the first five minutes, word 0 its rating.
TEST(ContractionRating, LastEntriesFirstFiveMinutesAndPeakBoundaries) {
    struct Case {
        const char* what;
        Contractions found;
        std::vector<std::pair<int, int>> samples;  // over a rest level of 10
        int length;
        std::array<int, 8> words;
    };
    const Contractions three{{10, 400, 800}, {350, 760}, {450, 870}, {}};
    const Contractions two{{400, 800}, {350, 760}, {450, 870}, {}};
    // clang-format off
    const Case cases[] = {
        {"first peak without an end", three, {{100, 50}}, 2000, {1, 70, 350, -1, 870, 800, 450, 50}},
        {"30", two, {{600, 30}}, 2000, {0, 70, 350, -1, 870, 800, 450, 30}},
        {"31", two, {{600, 31}}, 2000, {1, 70, 350, -1, 870, 800, 450, 31}},
        {"90", two, {{600, 90}}, 2000, {1, 70, 350, -1, 870, 800, 450, 90}},
        {"91", two, {{600, 91}}, 2000, {2, 70, 350, -1, 870, 800, 450, 91}},
        {"at 300 s", two, {{1200, 120}, {100, 50}}, 2000, {1, 70, 350, -1, 870, 800, 450, 50}},
        {"just before 300 s", two, {{1199, 120}}, 2000, {2, 70, 350, -1, 870, 800, 450, 120}},
        {"no samples", two, {}, 0, {0, 70, 350, -1, 870, 800, 450, 0}},
        // Fewer than two ends: word 1 stays unset, the others 0.
        {"one end", {{10, 400}, {350}, {450}, {}}, {{100, 95}}, 2000, {0, -1, 0, -1, 0, 0, 0, 0}},
    };
    // clang-format on
    for (const Case& c : cases) {
        QK4_CFhrUC method;
        const QK4_FhrResult& r = cleared(method);
        Ints contraction(c.length, 10);
        for (const auto& [at, value] : c.samples) contraction[at] = value;
        method.rateContractions(c.found, contraction, 4);
        std::array<int, 8> words;
        std::memcpy(words.data(), &r, sizeof words);
        EXPECT_EQ(words, c.words) << c.what;
    }
}
