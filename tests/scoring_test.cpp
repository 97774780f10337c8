// Scoring steps of the four methods, fed through the result record, and the
// helpers of the Fischer and contraction methods.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <tuple>
#include <utility>
#include <vector>

#include "methods.h"
#include "utils.h"

namespace {

const double kNaN = std::numeric_limits<double>::quiet_NaN();

void clearRecord(QK4_FhrResult& record) { std::memset(&record, 0xFF, sizeof record); }

struct ItemScores {
    int total, baseline, amplitude, frequency, acceleration, deceleration, movement;
};

ItemScores itemScores(const QK4_FhrResult& r) {
    return {r.totalScore,        r.baselineScore,     r.amplitudeScore, r.frequencyScore,
            r.accelerationScore, r.decelerationScore, r.movementScore};
}

// ---------------------------------------------------------------------------
// Krebs: six items of 0..2 points.  The defaults below score 2 on every item.

struct KrebsInputs {
    int baseline = 130;
    double amplitude = 15.0;
    double frequency = 10.0;
    int accelerations = 5;
    int decelerations = 0;
    int movements = 5;
};

class KrebsScore : public ::testing::Test {
protected:
    ItemScores score(const KrebsInputs& in) {
        QK4_FhrResult& r = method.resultRecord();
        clearRecord(r);
        r.baselineFhr = in.baseline;
        r.variabilityAmplitude = in.amplitude;
        r.oscillationFrequency = in.frequency;
        r.accelerationCount = in.accelerations;
        r.decelerationCount = in.decelerations;
        r.movementCount = in.movements;
        const int returned = method.auto_Krebs();
        const ItemScores s = itemScores(r);
        EXPECT_EQ(returned, s.total);
        EXPECT_EQ(s.total, s.baseline + s.amplitude + s.frequency + s.acceleration +
                               s.deceleration + s.movement);
        return s;
    }

    QK4_CFhrKrebs method;
};

TEST_F(KrebsScore, LowestAndHighestScoringRecords) {
    const ItemScores ones = score({100, 5.0, 3.0, 1, 1, 1});
    EXPECT_EQ(ones.total, 6);
    EXPECT_EQ(ones.baseline, 1);
    EXPECT_EQ(ones.movement, 1);
    EXPECT_EQ(score({160, 25.0, 6.0001, 5, 0, 5}).total, 12);
    EXPECT_EQ(score({99, 4.9, 2.9, 0, 2, 0}).total, 0);
}

TEST_F(KrebsScore, BaselineBands) {
    for (const auto& [value, points] : {std::pair{99, 0}, {100, 1}, {109, 1}, {110, 2}, {160, 2},
                                        {161, 1}, {180, 1}, {181, 0}, {-5, 0}}) {
        KrebsInputs in;
        in.baseline = value;
        EXPECT_EQ(score(in).baseline, points) << value;
    }
}

TEST_F(KrebsScore, AmplitudeBandsWithTheFallBackAboveTwentyFive) {
    for (const auto& [value, points] :
         {std::pair{4.999, 0}, {5.0, 1}, {9.0, 1}, {9.0001, 2}, {25.0, 2}, {25.5, 1}, {-1.0, 0},
          {kNaN, 2}}) {
        KrebsInputs in;
        in.amplitude = value;
        EXPECT_EQ(score(in).amplitude, points) << value;
    }
}

TEST_F(KrebsScore, FrequencyBands) {
    for (const auto& [value, points] :
         {std::pair{2.999, 0}, {3.0, 1}, {6.0, 1}, {6.0001, 2}, {kNaN, 2}}) {
        KrebsInputs in;
        in.frequency = value;
        EXPECT_EQ(score(in).frequency, points) << value;
    }
}

TEST_F(KrebsScore, CountsBelowZeroScoreLikeMany) {
    for (const auto& [value, points] :
         {std::pair{0, 0}, {1, 1}, {4, 1}, {5, 2}, {-1, 2}, {-1000, 2}}) {
        KrebsInputs in;
        in.accelerations = value;
        in.movements = value;
        const ItemScores s = score(in);
        EXPECT_EQ(s.acceleration, points) << value;
        EXPECT_EQ(s.movement, points) << value;
    }
}

TEST_F(KrebsScore, DecelerationBands) {
    for (const auto& [value, points] : {std::pair{0, 2}, {-1, 2}, {1, 1}, {2, 0}, {100, 0}}) {
        KrebsInputs in;
        in.decelerations = value;
        EXPECT_EQ(score(in).deceleration, points) << value;
    }
}

// ---------------------------------------------------------------------------
// Fischer: five items of 0..2 points.  The defaults score 2 on every item.

struct FischerInputs {
    int baseline = 130;
    double amplitude = 10.0;
    double frequency = 6.0;
    int accelerations = 3;
    int decelerations = 0;
    int extra = 0;
    int pattern = 0;
    int early = 0;
    int lateOrLow = 0;
};

class FischerScore : public ::testing::Test {
protected:
    ItemScores score(const FischerInputs& in) {
        QK4_FhrResult& r = method.resultRecord();
        clearRecord(r);
        r.baselineFhr = in.baseline;
        r.variabilityAmplitude = in.amplitude;
        r.oscillationFrequency = in.frequency;
        r.accelerationCount = in.accelerations;
        r.decelerationCount = in.decelerations;
        r.decelerationExtra = in.extra;
        r.decelerationPattern = in.pattern;
        r.decTypeCount1 = in.early;
        r.decTypeCount2 = in.lateOrLow;
        r.decTypeCount3 = 0;
        r.decTypeCount4 = 0;
        const int returned = method.auto_Fischer2();
        const ItemScores s = itemScores(r);
        EXPECT_EQ(returned, s.deceleration);
        EXPECT_EQ(s.total,
                  s.baseline + s.amplitude + s.frequency + s.acceleration + s.deceleration);
        EXPECT_EQ(s.movement, -1);  // not a Fischer item
        return s;
    }

    QK4_CFhrFischer2 method;
};

TEST_F(FischerScore, DefaultsScoreTen) { EXPECT_EQ(score({}).total, 10); }

TEST_F(FischerScore, BaselineBands) {
    for (const auto& [value, points] : {std::pair{99, 0}, {100, 1}, {109, 1}, {110, 2}, {160, 2},
                                        {161, 1}, {180, 1}, {181, 0}, {-1, 0}}) {
        FischerInputs in;
        in.baseline = value;
        EXPECT_EQ(score(in).baseline, points) << value;
    }
}

TEST_F(FischerScore, AmplitudeBands) {
    for (const auto& [value, points] :
         {std::pair{2.999, 0}, {-1.0, 0}, {3.0, 1}, {4.999, 1}, {5.0, 2}, {25.0, 2},
          {25.000001, 1}, {kNaN, 2}}) {
        FischerInputs in;
        in.amplitude = value;
        EXPECT_EQ(score(in).amplitude, points) << value;
    }
}

TEST_F(FischerScore, MiddleFrequencyBandNeedsFourAccelerations) {
    struct Case {
        double frequency;
        int accelerations;
        int points;
    };
    for (const Case& c : {Case{1.999, 5, 0}, Case{2.0, 0, 2}, Case{2.5, 0, 2}, Case{2.999, 0, 2},
                          Case{3.0, 3, 1}, Case{3.0, 4, 2}, Case{4.0, 3, 1}, Case{4.0, 4, 2},
                          Case{5.0, 3, 1}, Case{5.0, 4, 2}, Case{5.0001, 0, 2}}) {
        FischerInputs in;
        in.frequency = c.frequency;
        in.accelerations = c.accelerations;
        EXPECT_EQ(score(in).frequency, c.points) << c.frequency << " with " << c.accelerations;
    }
}

TEST_F(FischerScore, AccelerationBands) {
    for (const auto& [value, points] : {std::pair{-1, 0}, {0, 0}, {1, 0}, {2, 1}, {3, 2}, {9, 2}}) {
        FischerInputs in;
        in.accelerations = value;
        EXPECT_EQ(score(in).acceleration, points) << value;
    }
}

TEST_F(FischerScore, DecelerationRules) {
    struct Case {
        const char* what;
        int pattern, extra, decelerations, accelerations, early, lateOrLow;
        int points;
    };
    const Case cases[] = {
        {"none at all", 0, 0, 0, 3, 0, 0, 2},
        {"negative count", 0, 0, -1, 3, 0, 0, 2},
        {"two typed early", 0, 0, 0, 3, 2, 2, 2},
        {"three typed early", 0, 0, 0, 3, 3, 0, 1},
        {"three typed late", 0, 0, 0, 3, 0, 3, 1},
        {"pattern 3", 3, 0, 0, 3, 0, 0, 0},
        {"pattern 4", 4, 0, 0, 3, 0, 0, 0},
        {"extra", 0, 1, 0, 3, 0, 0, 0},
        {"pattern 1 before the count rule", 1, 0, 0, 9, 0, 0, 2},
        {"many accelerations, fewer decelerations", 1, 0, 5, 9, 0, 0, 1},
        {"seven accelerations", 1, 0, 5, 7, 0, 0, 0},
        {"eight over seven", 2, 0, 7, 8, 0, 0, 1},
        {"eight over eight", 2, 0, 8, 8, 0, 0, 0},
        {"two with four accelerations", 2, 0, 2, 4, 0, 0, 1},
        {"three with four accelerations", 2, 0, 3, 4, 0, 0, 0},
        {"one with three accelerations", 1, 0, 1, 3, 0, 0, 0},
        {"pattern 0 with one", 0, 0, 1, 9, 0, 0, 0},
        {"pattern 3 with one", 3, 0, 1, 9, 0, 0, 0},
    };
    for (const Case& c : cases) {
        FischerInputs in;
        in.pattern = c.pattern;
        in.extra = c.extra;
        in.decelerations = c.decelerations;
        in.accelerations = c.accelerations;
        in.early = c.early;
        in.lateOrLow = c.lateOrLow;
        EXPECT_EQ(score(in).deceleration, c.points) << c.what;
    }
}

// ---------------------------------------------------------------------------
// ACOG: seven one-hot flag groups.

struct AcogInputs {
    int baseline = 130;
    double amplitude = 10.0;
    int accelerations = 1;
    int extra = 0;
    int early = 0;
    int lateOrLow = 0;
    int delayed = 0;
    int reservedE = 0;
    int reservedF = 0;
};

std::vector<int> flags(const int* slots, int count) {
    return std::vector<int>(slots, slots + count);
}

class AcogFlags : public ::testing::Test {
protected:
    const QK4_FhrResult& classify(const AcogInputs& in) {
        QK4_FhrResult& r = method.resultRecord();
        clearRecord(r);
        r.baselineFhr = in.baseline;
        r.variabilityAmplitude = in.amplitude;
        r.accelerationCount = in.accelerations;
        r.decelerationExtra = in.extra;
        r.decTypeCount1 = in.early;
        r.decTypeCount2 = in.lateOrLow;
        r.decTypeCount3 = in.delayed;
        r.acogReservedE = in.reservedE;
        r.acogReservedF = in.reservedF;
        method.auto_Acog();
        EXPECT_EQ(r.totalScore, -1);
        EXPECT_EQ(r.strongContractionFlag, -1);
        return r;
    }

    QK4_CFhrAcog method;
};

TEST_F(AcogFlags, Baseline) {
    struct Case {
        int baseline;
        double amplitude;
        std::vector<int> expected;
    };
    for (const Case& c : {Case{110, 10.0, {1, 0, 0, 0}}, Case{160, kNaN, {1, 0, 0, 0}},
                          Case{161, kNaN, {0, 1, 0, 0}}, Case{109, 3.0, {0, 0, 1, 0}},
                          Case{109, 0.0, {0, 0, 0, 1}}, Case{0, 0.0, {0, 0, 0, 1}},
                          Case{-1, 3.0, {0, 0, 0, 0}}, Case{109, -1.0, {0, 0, 0, 0}},
                          Case{109, kNaN, {0, 0, 0, 0}}}) {
        AcogInputs in;
        in.baseline = c.baseline;
        in.amplitude = c.amplitude;
        EXPECT_EQ(flags(classify(in).acogBaselineFlags, 4), c.expected)
            << c.baseline << ", " << c.amplitude;
    }
}

TEST_F(AcogFlags, Variability) {
    struct Case {
        double amplitude;
        int baseline, lateOrLow, delayed;
        std::vector<int> expected;
    };
    for (const Case& c : {
             Case{5.0, 130, 0, 0, {1, 0, 0, 0, 0}},
             Case{25.0, 130, 0, 0, {1, 0, 0, 0, 0}},
             Case{0.0, 130, 0, 2, {0, 1, 0, 0, 0}},
             Case{0.0, 130, 0, 3, {0, 0, 0, 0, 1}},
             Case{0.05, 100, 3, 3, {0, 0, 1, 0, 0}},
             Case{4.999, 130, 0, 0, {0, 0, 1, 0, 0}},
             Case{25.0001, 130, 0, 0, {0, 0, 0, 1, 0}},
             Case{-1.0, 100, 0, 0, {0, 0, 0, 0, 1}},
             Case{-1.0, 130, 3, 0, {0, 0, 0, 0, 1}},
             Case{-1.0, 130, 0, 1, {0, 0, 0, 0, 1}},
             Case{-1.0, 130, 2, 0, {0, 0, 0, 0, 0}},
             Case{kNaN, 100, 3, 3, {0, 0, 0, 0, 0}},
         }) {
        AcogInputs in;
        in.amplitude = c.amplitude;
        in.baseline = c.baseline;
        in.lateOrLow = c.lateOrLow;
        in.delayed = c.delayed;
        EXPECT_EQ(flags(classify(in).acogVariabilityFlags, 5), c.expected)
            << c.amplitude << " " << c.baseline << " " << c.lateOrLow << " " << c.delayed;
    }
}

TEST_F(AcogFlags, AccelerationsAndEarlyDecelerations) {
    for (const auto& [count, accExpected, earlyExpected] :
         {std::tuple{1, std::vector<int>{1, 0, 0, 0}, std::vector<int>{1, 0, 0}},
          std::tuple{0, std::vector<int>{0, 1, 0, 1}, std::vector<int>{0, 1, 1}},
          std::tuple{-1, std::vector<int>{0, 0, 0, 0}, std::vector<int>{0, 0, 0}}}) {
        AcogInputs in;
        in.accelerations = count;
        in.early = count;
        const QK4_FhrResult& r = classify(in);
        EXPECT_EQ(flags(r.acogAccelerationFlags, 4), accExpected) << count;
        EXPECT_EQ(flags(r.acogDecFlagsA, 3), earlyExpected) << count;
    }
}

TEST_F(AcogFlags, LateOrLowDecelerations) {
    struct Case {
        int lateOrLow;
        double amplitude;
        int extra, reservedE;
        std::vector<int> expected;
    };
    for (const Case& c : {
             Case{0, 30.0, 1, 1, {1, 0, 0, 0, 0}},
             Case{3, 25.0, 1, 1, {0, 1, 0, 0, 0}},
             Case{3, 0.05, 0, 0, {0, 1, 0, 0, 0}},
             Case{3, 30.0, 0, 0, {0, 0, 0, 0, 0}},
             Case{3, 30.0, 1, 0, {0, 0, 1, 0, 0}},
             Case{1, 10.0, 0, 1, {0, 0, 0, 1, 0}},
             Case{3, 0.0, 0, 0, {0, 0, 0, 0, 1}},
             Case{2, 0.0, 0, 0, {0, 0, 0, 0, 0}},
             Case{3, kNaN, 0, 0, {0, 0, 0, 0, 0}},
         }) {
        AcogInputs in;
        in.lateOrLow = c.lateOrLow;
        in.amplitude = c.amplitude;
        in.extra = c.extra;
        in.reservedE = c.reservedE;
        EXPECT_EQ(flags(classify(in).acogDecFlagsB, 5), c.expected)
            << c.lateOrLow << " " << c.amplitude << " " << c.extra << " " << c.reservedE;
    }
}

TEST_F(AcogFlags, DelayedDecelerations) {
    struct Case {
        int delayed;
        double amplitude;
        std::vector<int> expected;
    };
    for (const Case& c : {Case{0, kNaN, {1, 0, 0}}, Case{3, 5.0, {0, 1, 0}},
                          Case{3, 25.0, {0, 1, 0}}, Case{3, 0.05, {0, 0, 1}},
                          Case{3, 0.1, {0, 0, 0}}, Case{3, 25.5, {0, 0, 0}},
                          Case{2, 0.0, {0, 0, 0}}, Case{-1, 0.0, {0, 0, 0}},
                          Case{3, kNaN, {0, 0, 0}}}) {
        AcogInputs in;
        in.delayed = c.delayed;
        in.amplitude = c.amplitude;
        EXPECT_EQ(flags(classify(in).acogDecFlagsC, 3), c.expected)
            << c.delayed << " " << c.amplitude;
    }
}

TEST_F(AcogFlags, Pattern) {
    for (const auto& [value, expected] :
         {std::pair{0, std::vector<int>{1, 1, 0}}, {1, std::vector<int>{0, 0, 1}},
          {-1, std::vector<int>{0, 0, 0}}}) {
        AcogInputs in;
        in.reservedF = value;
        EXPECT_EQ(flags(classify(in).acogPatternFlags, 3), expected) << value;
    }
}

// ---------------------------------------------------------------------------
// Fischer helpers.

TEST(FischerAccelerationGrouping, KeepsTheHighestAccelerationOfEachRegion) {
    std::vector<int> peakMask(200, 0);
    for (int i = 10; i < 20; ++i) peakMask[i] = 1;
    for (int i = 50; i < 60; ++i) peakMask[i] = 1;
    EventLists acc;
    // Two inside the first peak region (the later one higher), one widening the
    // first region to 30, one alone in the second, two of equal height alone.
    acc.triggers = {12, 15, 25, 55, 120, 125};
    acc.values = {150, 160, 158, 155, 150, 150};
    acc.starts = {11, 14, 18, 54, 110, 118};
    acc.ends = {14, 18, 30, 58, 122, 130};
    std::vector<int> positions, values;
    QK4_CFhrFischer2::groupAccelerations(peakMask, acc, positions, values);
    EXPECT_EQ(positions, (std::vector<int>{15, 55, 120}));
    EXPECT_EQ(values, (std::vector<int>{160, 155, 150}));
}

// Peak-region mask made directly from the low-pass and the region peak finder.
std::vector<int> regionMask(const std::vector<double>& trace, int height, int prominence,
                            int spacing, int minWidth) {
    std::vector<double> smooth, pks, widths;
    std::vector<int> locs, starts, ends;
    utils::filterlp(trace, smooth);
    utils::findPeaksU(smooth, height, prominence, spacing, pks, locs, starts, ends, widths,
                      minWidth);
    std::vector<int> mask(trace.size(), 0);
    for (size_t r = 0; r < starts.size(); ++r)
        for (int j = starts[r]; j < ends[r]; ++j) mask[j] = 1;
    return mask;
}

TEST(FischerPeakRegions, UseTheFourPeakParametersInOrder) {
    QK4_CFhrFischer2 method;
    QK4_FhrParameter p = method.getParameter();
    p.auxPeakA = 5;
    p.auxPeakB = 15;
    p.auxPeakSpan = 600;
    p.auxPeakD = 35;
    ASSERT_EQ(method.setParameter(p), 0);

    // A large and a small rise over 140 bpm; only the large one is prominent enough.
    std::vector<double> trace(2000, 140.0);
    for (int i = 0; i < 160; ++i) {
        const double triangle = 1.0 - std::abs(i - 80) / 80.0;
        trace[420 + i] += 25.0 * triangle;
        trace[1120 + i] += 12.0 * triangle;
    }
    const std::vector<int> expected = regionMask(trace, 5, 15, 600, 35);
    ASSERT_NE(expected, regionMask(trace, 15, 5, 600, 35));  // the order is visible
    ASSERT_NE(expected, std::vector<int>(2000, 0));
    EXPECT_EQ(method.peakRegionMask(trace), expected);

    EXPECT_EQ(method.peakRegionMask(std::vector<double>(2000, 140.0)), std::vector<int>(2000, 0));
}

Contractions contractions(std::vector<int> peaks, std::vector<int> starts, std::vector<int> ends) {
    Contractions c;
    c.peaks = std::move(peaks);
    c.starts = std::move(starts);
    c.ends = std::move(ends);
    c.filtered.assign(1000, 10.0);
    return c;
}

TEST(FischerStrongContractions, FewerStartsThanPeaksSkipTheFirstPeak) {
    Contractions c = contractions({100, 300, 500, 700}, {250, 450, 650}, {350, 550, 750});
    const std::vector<double> base(1000, 0.0);
    // Strong at the second and the fourth peak only.
    c.filtered[300] = 30.0;
    c.filtered[700] = 30.0;
    EXPECT_EQ(QK4_CFhrFischer2::strongContractionFlag(c, base), 1);

    // Strong at the first and the second: only one of the paired peaks.
    c.filtered[100] = 30.0;
    c.filtered[700] = 10.0;
    EXPECT_EQ(QK4_CFhrFischer2::strongContractionFlag(c, base), 0);
}

TEST(FischerStrongContractions, EqualCountsPairInOrderAndNeedBothLimits) {
    const std::vector<double> base(1000, 5.0);
    Contractions c = contractions({300, 500}, {250, 450}, {301, 501});  // 51 samples
    c.filtered[300] = 25.0001;
    c.filtered[500] = 26.0;
    EXPECT_EQ(QK4_CFhrFischer2::strongContractionFlag(c, base), 1);

    c.filtered[300] = 25.0;  // exactly 20 above the baseline
    EXPECT_EQ(QK4_CFhrFischer2::strongContractionFlag(c, base), 0);

    c.filtered[300] = 26.0;
    c.ends[0] = 300;  // exactly 50 samples
    EXPECT_EQ(QK4_CFhrFischer2::strongContractionFlag(c, base), 0);
}

TEST(FischerStrongContractions, MoreStartsThanPeaksCountNothing) {
    Contractions c = contractions({300, 500}, {100, 250, 450}, {200, 350, 550});
    c.filtered.assign(1000, 50.0);
    EXPECT_EQ(QK4_CFhrFischer2::strongContractionFlag(c, std::vector<double>(1000, 0.0)), 0);
}

// ---------------------------------------------------------------------------
// Contraction method.

class ContractionRating : public ::testing::Test {
protected:
    const QK4_FhrResult& rate(const Contractions& found, const std::vector<int>& contraction) {
        QK4_FhrResult& r = method.resultRecord();
        clearRecord(r);
        method.rateContractions(found, contraction, 4);
        return r;
    }
    static std::vector<int> trace(int length, int index, int peak) {
        std::vector<int> t(length, 10);
        if (index < length) t[index] = peak;
        return t;
    }

    QK4_CFhrUC method;
};

TEST_F(ContractionRating, LastEntriesArePairedLiterally) {
    // The first peak has no end (its width reached past the start).
    const QK4_FhrResult& r = rate(contractions({10, 400, 800}, {350, 760}, {450, 870}),
                                  trace(2000, 100, 50));
    EXPECT_EQ(r.baselineScore, 870 - 800);  // word 1
    EXPECT_EQ(r.amplitudeScore, 800 - 450);  // word 2
    EXPECT_EQ(r.accelerationScore, 870);     // word 4
    EXPECT_EQ(r.decelerationScore, 800);     // word 5
    EXPECT_EQ(r.movementScore, 450);         // word 6
    EXPECT_EQ(r.acogBaselineFlags[0], 50);   // word 7
    EXPECT_EQ(r.totalScore, 1);
}

TEST_F(ContractionRating, PeakBoundaries) {
    for (const auto& [peak, rating] : {std::pair{30, 0}, {31, 1}, {90, 1}, {91, 2}}) {
        const QK4_FhrResult& r =
            rate(contractions({400, 800}, {350, 760}, {450, 870}), trace(2000, 600, peak));
        EXPECT_EQ(r.totalScore, rating) << peak;
        EXPECT_EQ(r.acogBaselineFlags[0], peak);
    }
}

TEST_F(ContractionRating, OnlyTheFirstFiveMinutesCount) {
    const Contractions found = contractions({400, 800}, {350, 760}, {450, 870});
    std::vector<int> late = trace(2000, 1200, 120);  // 300 s at 4 Hz
    late[100] = 50;
    EXPECT_EQ(rate(found, late).acogBaselineFlags[0], 50);
    EXPECT_EQ(rate(found, late).totalScore, 1);

    std::vector<int> lastCounted = trace(2000, 1199, 120);
    EXPECT_EQ(rate(found, lastCounted).totalScore, 2);

    const QK4_FhrResult& empty = rate(found, {});
    EXPECT_EQ(empty.acogBaselineFlags[0], 0);
    EXPECT_EQ(empty.totalScore, 0);
}

TEST_F(ContractionRating, FewerThanTwoEndsLeaveWordOneUnset) {
    for (const Contractions& found :
         {contractions({}, {}, {}), contractions({10, 400}, {350}, {450})}) {
        const QK4_FhrResult& r = rate(found, trace(2000, 100, 95));
        EXPECT_EQ(r.totalScore, 0);
        EXPECT_EQ(r.baselineScore, -1);
        EXPECT_EQ(r.amplitudeScore, 0);
        EXPECT_EQ(r.accelerationScore, 0);
        EXPECT_EQ(r.decelerationScore, 0);
        EXPECT_EQ(r.movementScore, 0);
        EXPECT_EQ(r.acogBaselineFlags[0], 0);
    }
}

}  // namespace
