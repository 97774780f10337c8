// Acceleration and deceleration detection and the typing of decelerations
// against the first contraction peak, on hand-built traces at 4 Hz around a
// flat 140 bpm baseline.
#include <gtest/gtest.h>

#include <vector>

#include "algorithm.h"

namespace {

constexpr int kRate = 4;
constexpr int kBaseline = 140;

// A heart-rate trace with its baseline curve; both start flat at 140 bpm.
struct Trace {
    std::vector<int> fhr;
    std::vector<double> base;

    explicit Trace(int length) : fhr(length, kBaseline), base(length, kBaseline) {}

    // Sets samples [from, to) to value.
    Trace& set(int from, int to, int value) {
        for (int i = from; i < to; ++i) fhr[i] = value;
        return *this;
    }
    Trace& at(int index, int value) { return set(index, index + 1, value); }
};

struct Event {
    int trigger;
    int value;
    int start;
    int end;
};

struct Detected {
    EventLists lists;
    int count = 0;
    int deepCount = 0;

    void expectEvents(const std::vector<Event>& expected) const {
        std::vector<int> triggers, values, starts, ends;
        for (const Event& e : expected) {
            triggers.push_back(e.trigger);
            values.push_back(e.value);
            starts.push_back(e.start);
            ends.push_back(e.end);
        }
        EXPECT_EQ(count, static_cast<int>(expected.size()));
        EXPECT_EQ(lists.triggers, triggers);
        EXPECT_EQ(lists.values, values);
        EXPECT_EQ(lists.starts, starts);
        EXPECT_EQ(lists.ends, ends);
    }
};

class EventDetection : public ::testing::Test {
protected:
    EventDetection() { analyser.setSampleRate(kRate); }

    Detected accelerations(const Trace& trace) const {
        Detected d;
        analyser.detect_acc(trace.fhr, trace.base, d.lists.triggers, d.lists.values,
                            d.lists.starts, d.lists.ends, d.count);
        return d;
    }
    Detected decelerations(const Trace& trace) const {
        Detected d;
        analyser.detect_dec(trace.fhr, trace.base, d.lists.triggers, d.lists.values,
                            d.lists.starts, d.lists.ends, d.count, d.deepCount);
        return d;
    }
    void setMinimumSpacing(int accSeconds, int decSeconds) {
        QK4_FhrParameter p = analyser.getParameter();
        p.accMinSpacing = accSeconds;
        p.decMinSpacing = decSeconds;
        ASSERT_EQ(analyser.setParameter(p), 0);
    }

    QK4_CFhrAlgorithm analyser;
};

// ---------------------------------------------------------------------------
// Accelerations: span W = 480 samples, 17 bpm, 68 samples, spacing 480 samples.

using Accelerations = EventDetection;

TEST_F(Accelerations, PlateauAboveFlatBaselineIsOneAcceleration) {
    Trace t(3000);
    t.set(1000, 1080, 160);
    accelerations(t).expectEvents({{1000, 160, 999, 1080}});
}

TEST_F(Accelerations, SpacingIsMeasuredFromEveryCandidate) {
    Trace t(3000);
    t.set(1000, 1020, 160);  // too short, but still a candidate
    t.set(1200, 1320, 160);  // long enough, yet only 200 samples after it
    t.set(1480, 1580, 160);  // exactly 480 samples after the first candidate
    accelerations(t).expectEvents({{1480, 160, 1479, 1580}});
}

TEST_F(Accelerations, NoTriggerWithinTheFirstSpacing) {
    Trace t(3000);
    t.set(100, 300, 160);
    accelerations(t).expectEvents({});
}

TEST_F(Accelerations, BackwardScanReachesTriggerMinusSpanPlusOne) {
    Trace found(3000);
    found.set(522, 1000, 150).set(1000, 1080, 160);  // 521 is still below base + 3
    accelerations(found).expectEvents({{1000, 160, 521, 1080}});

    // One sample further back is outside the scan: the fallback gives trigger - 1.
    Trace missed(3000);
    missed.set(521, 1000, 150).set(1000, 1080, 160);
    accelerations(missed).expectEvents({{1000, 160, 999, 1080}});
}

TEST_F(Accelerations, FallbackStartOfOneBecomesTenOnlyWhenNotScanned) {
    // The lowest sample of the backward buffer is at index 2 (below its own
    // baseline, so the scan does not stop there): start = 2 - 1 = 1 -> 10.
    Trace fallback(3000);
    fallback.set(0, 480, 150).set(480, 580, 160).at(2, -5);
    fallback.base[2] = -20.0;
    accelerations(fallback).expectEvents({{480, 160, 10, 580}});

    Trace scanned(3000);
    scanned.set(0, 480, 150).set(480, 580, 160).at(1, kBaseline);
    accelerations(scanned).expectEvents({{480, 160, 1, 580}});
}

TEST_F(Accelerations, ForwardScanReachesTriggerPlusSpanPlusOne) {
    Trace t(3000);
    t.set(1000, 1481, 160);  // back at the baseline at 1000 + 480 + 1
    accelerations(t).expectEvents({{1000, 160, 999, 1481}});
}

TEST_F(Accelerations, ForwardFallbackTakesTheLowestSampleWithinTheSpan) {
    Trace t(3000);
    t.set(1000, 1486, 160).at(1200, 145);
    accelerations(t).expectEvents({{1000, 160, 999, 1200}});
}

TEST_F(Accelerations, LastMainPassTriggerScansOnlyToTheLastSample) {
    Trace t(2000);  // the main pass ends at 2000 - 480 - 1 = 1519
    t.set(1519, 2000, 160).at(1700, 150);
    accelerations(t).expectEvents({{1519, 160, 1518, 1700}});
}

TEST_F(Accelerations, TailPassStartsTwoSamplesAfterTheBufferMinimum) {
    Trace t(3000);  // tail pass: 2520 .. 2939
    t.set(2220, 2700, 150).at(2400, 145).set(2700, 2800, 160);
    accelerations(t).expectEvents({{2700, 160, 2402, 2800}});
}

TEST_F(Accelerations, TailPassBackwardScanIncludesTriggerMinusSpan) {
    Trace t(3000);
    t.set(2221, 2700, 150).set(2700, 2800, 160);  // 2220 = 2700 - 480 is the crossing
    accelerations(t).expectEvents({{2700, 160, 2220, 2800}});
}

TEST_F(Accelerations, TailPassEndFallbackIgnoresTheLastSample) {
    Trace t(3000);
    t.set(2880, 3000, 160).at(2950, 150).at(2999, 145);
    accelerations(t).expectEvents({{2880, 160, 2879, 2950}});
}

TEST_F(Accelerations, NoTriggerInTheLastFifteenSeconds) {
    // The same raised stretch, once starting at the last allowed trigger
    // (3000 - 60 - 1) and once one sample later.
    Trace allowed(3000);
    allowed.set(2400, 2939, 150).at(2800, 145).set(2939, 3000, 160).at(2998, 150);
    accelerations(allowed).expectEvents({{2939, 160, 2802, 2998}});

    Trace late(3000);
    late.set(2400, 2940, 150).at(2800, 145).set(2940, 3000, 160).at(2998, 150);
    accelerations(late).expectEvents({});
}

TEST_F(Accelerations, ShortTraceIsSearchedByTheTailPassFromSampleZero) {
    setMinimumSpacing(30, 120);  // 120 samples
    Trace scanned(400);
    scanned.set(200, 300, 160);
    accelerations(scanned).expectEvents({{200, 160, 199, 300}});

    Trace fallback(400);
    fallback.set(0, 200, 150).at(50, 145).set(200, 300, 160);
    accelerations(fallback).expectEvents({{200, 160, 52, 300}});
}

TEST_F(Accelerations, MainPassBufferBeforeSampleZeroKeepsSamplePositions) {
    setMinimumSpacing(30, 120);
    Trace positive(1000);
    positive.set(0, 200, 150).set(200, 300, 160);
    accelerations(positive).expectEvents({{200, 160, 199, 300}});

    Trace negative(1000);
    negative.set(0, 200, 150).set(200, 300, 160).at(50, -5);
    negative.base[50] = -20.0;
    accelerations(negative).expectEvents({{200, 160, 49, 300}});
}

TEST_F(Accelerations, TracesShorterThanTheSearchFindNothing) {
    for (int length : {0, 1, 59, 60, 61, 480, 481}) {
        SCOPED_TRACE(length);
        Trace t(length);
        for (int i = 0; i < length; ++i) t.fhr[i] = (i % 2) ? 200 : 60;
        accelerations(t).expectEvents({});
    }
}

TEST_F(Accelerations, StartsAndEndsAreReplacedTriggersAndValuesAppended) {
    Trace t(3000);
    t.set(1000, 1080, 160);
    EventLists lists{{7}, {8}, {9}, {10}};
    int count = 2;
    analyser.detect_acc(t.fhr, t.base, lists.triggers, lists.values, lists.starts, lists.ends,
                        count);
    EXPECT_EQ(count, 3);
    EXPECT_EQ(lists.triggers, (std::vector<int>{7, 1000}));
    EXPECT_EQ(lists.values, (std::vector<int>{8, 160}));
    EXPECT_EQ(lists.starts, (std::vector<int>{999}));
    EXPECT_EQ(lists.ends, (std::vector<int>{1080}));
}

// ---------------------------------------------------------------------------
// Decelerations: span W = 120 samples, 18 bpm, 72 samples, spacing 480 samples.

using Decelerations = EventDetection;

TEST_F(Decelerations, DipBelowFlatBaselineIsOneDeceleration) {
    Trace t(3000);
    t.set(1000, 1080, 120);
    const Detected d = decelerations(t);
    d.expectEvents({{1000, 120, 999, 1080}});
    EXPECT_EQ(d.deepCount, 0);
}

TEST_F(Decelerations, SpacingIsMeasuredFromEveryCandidate) {
    Trace t(3000);
    t.set(1000, 1020, 120).set(1200, 1320, 120).set(1480, 1580, 120);
    decelerations(t).expectEvents({{1480, 120, 1479, 1580}});
}

TEST_F(Decelerations, BackwardScanIncludesTriggerMinusSpan) {
    Trace t(3000);
    t.set(881, 1000, 130).set(1000, 1080, 110);  // 880 = 1000 - 120 is the crossing
    decelerations(t).expectEvents({{1000, 110, 880, 1080}});
}

TEST_F(Decelerations, BackwardFallbackTakesTheHighestSample) {
    Trace t(3000);
    t.set(880, 1000, 130).at(900, 136).set(1000, 1080, 110);
    decelerations(t).expectEvents({{1000, 110, 900, 1080}});
}

TEST_F(Decelerations, ForwardScanIncludesTriggerPlusSpan) {
    Trace t(3000);
    t.set(1000, 1120, 110);
    decelerations(t).expectEvents({{1000, 110, 999, 1120}});
}

TEST_F(Decelerations, ForwardFallbackLeavesOutTriggerPlusSpan) {
    Trace t(3000);
    t.set(1000, 1200, 110).at(1100, 130).at(1120, 136);
    decelerations(t).expectEvents({{1000, 110, 999, 1100}});
}

TEST_F(Decelerations, DeepCountSpansTheWholeTraceAroundTheDip) {
    // Samples above the baseline lie near the dip (100 samples apart) and
    // farther out (400 apart); the outer ones decide.
    Trace t(3000);
    t.set(1000, 1080, 100).at(800, 141).at(990, 141).at(1090, 141).at(1200, 141);
    const Detected d = decelerations(t);
    d.expectEvents({{1000, 100, 999, 1080}});
    EXPECT_EQ(d.deepCount, 1);
}

TEST_F(Decelerations, DeepCountNeedsMoreThanNinetySeconds) {
    struct Case {
        int lastAbove;
        int deep;
    };
    for (const Case c : {Case{1260, 0}, Case{1261, 1}}) {  // 360 and 361 samples after 900
        SCOPED_TRACE(c.lastAbove);
        Trace t(3000);
        t.set(1000, 1080, 100).at(900, 141).at(c.lastAbove, 141);
        const Detected d = decelerations(t);
        EXPECT_EQ(d.count, 1);
        EXPECT_EQ(d.deepCount, c.deep);
    }
}

TEST_F(Decelerations, DeepCountNeedsThirtyBpmBelowTheBaseline) {
    for (int value : {110, 111}) {
        SCOPED_TRACE(value);
        Trace t(3000);
        t.set(1000, 1080, value).at(100, 141).at(2000, 141);
        const Detected d = decelerations(t);
        EXPECT_EQ(d.count, 1);
        EXPECT_EQ(d.deepCount, value == 110 ? 1 : 0);
    }
}

TEST_F(Decelerations, TraceNeverAboveItsBaselineIsNeverDeep) {
    Trace t(3000);
    t.set(1000, 1080, 60);
    const Detected d = decelerations(t);
    EXPECT_EQ(d.count, 1);
    EXPECT_EQ(d.deepCount, 0);
}

TEST_F(Decelerations, TailPassStartsTwoSamplesAfterTheBufferMaximum) {
    Trace t(3000);  // tail pass: 2880 .. 2939
    t.set(2780, 2900, 130).at(2800, 135).set(2900, 2980, 110);
    decelerations(t).expectEvents({{2900, 110, 2802, 2980}});
}

TEST_F(Decelerations, TailPassEndFallbackIgnoresTheLastSample) {
    Trace t(3000);
    t.set(2915, 3000, 110).at(2990, 130).at(2999, 136);
    decelerations(t).expectEvents({{2915, 110, 2914, 2990}});
}

TEST_F(Decelerations, NoTriggerInTheLastFifteenSeconds) {
    Trace allowed(3000);
    allowed.set(2819, 2939, 130).at(2830, 135).set(2939, 3000, 110).at(2998, 130);
    decelerations(allowed).expectEvents({{2939, 110, 2832, 2998}});

    Trace late(3000);
    late.set(2820, 2940, 130).at(2830, 135).set(2940, 3000, 110).at(2998, 130);
    decelerations(late).expectEvents({});
}

TEST_F(Decelerations, ShortTraceIsSearchedByTheTailPass) {
    setMinimumSpacing(120, 30);  // 120 samples
    Trace t(200);                // tail pass: 80 .. 139
    t.set(120, 200, 110).at(195, 130);
    decelerations(t).expectEvents({{120, 110, 119, 195}});
}

TEST_F(Decelerations, TracesShorterThanTheSearchFindNothing) {
    for (int length : {0, 1, 59, 60, 61, 120, 121}) {
        SCOPED_TRACE(length);
        Trace t(length);
        for (int i = 0; i < length; ++i) t.fhr[i] = (i % 2) ? 200 : 60;
        const Detected d = decelerations(t);
        d.expectEvents({});
        EXPECT_EQ(d.deepCount, 0);
    }
}

// ---------------------------------------------------------------------------
// Deceleration typing against the first contraction peak (r = 4: 60 s = 240).

class DecelerationTyping : public EventDetection {
protected:
    static constexpr int kPeak = 2000;

    struct Case {
        int trigger;
        int rate;    // heart rate at the trigger
        int length;  // end - start
    };

    DecelerationTyping() : heartRate(4000, 100) {}

    DecelerationTypes classify(const std::vector<Case>& cases, const std::vector<int>& peaks) {
        std::vector<int> triggers, starts, ends;
        for (const Case& c : cases) {
            heartRate[c.trigger] = c.rate;
            triggers.push_back(c.trigger);
            starts.push_back(c.trigger - 10);
            ends.push_back(c.trigger - 10 + c.length);
        }
        DecelerationTypes out;
        out.types = {9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9};
        analyser.dec_type(out.types, out.maxType, out.typeHistogram, out.earlyCount,
                          out.lateOrLowCount, out.delayedCount, out.otherCount, heartRate,
                          triggers, starts, ends, peaks);
        return out;
    }

    std::vector<int> heartRate;
};

TEST_F(DecelerationTyping, BoundariesAroundTheFirstPeak) {
    const int r = kRate;
    const DecelerationTypes out = classify(
        {
            {kPeak + 16 * r, 100, 10},    // after the peak, within 30 s: other
            {kPeak + 15 * r, 100, 10},    // after the peak, not early: other
            {kPeak + 30 * r, 100, 10},    // other
            {kPeak + 31 * r, 100, 10},    // delayed
            {kPeak + 59 * r, 100, 10},    // delayed
            {kPeak - 59 * r, 100, 10},    // early
            {kPeak, 100, 10},             // early
            {kPeak - 60 * r, 60, 300},    // far: exactly 60 bpm is other
            {kPeak + 60 * r, 59, 241},    // far, low and long: type 4
            {kPeak + 100 * r, 59, 240},   // far, low, not long: other
            {kPeak - 100 * r, 61, 239},   // far, short: type 2
            {kPeak + 150 * r, 61, 240},   // far, long: other
        },
        {kPeak});
    EXPECT_EQ(out.types, (std::vector<int>{0, 0, 0, 3, 3, 1, 1, 0, 4, 0, 2, 0}));
    EXPECT_EQ(out.maxType, 4);
    EXPECT_EQ(out.earlyCount, 2);
    EXPECT_EQ(out.lateOrLowCount, 2);
    EXPECT_EQ(out.delayedCount, 2);
    EXPECT_EQ(out.otherCount, 6);
    // Bins centred on 0..3; type 4 lies above the last midpoint and is not counted.
    EXPECT_EQ(out.typeHistogram, (std::vector<int>{6, 2, 1, 2}));
}

TEST_F(DecelerationTyping, OnlyTheFirstPeakIsUsed) {
    // 300 samples before the first peak but right on the second one.
    const DecelerationTypes out = classify({{kPeak - 300, 100, 10}}, {kPeak, kPeak - 300});
    EXPECT_EQ(out.types, (std::vector<int>{2}));
    EXPECT_EQ(out.lateOrLowCount, 1);
    EXPECT_EQ(out.earlyCount, 0);
}

TEST_F(DecelerationTyping, WithoutContractionsEverythingStaysTypeZeroUncounted) {
    const DecelerationTypes out = classify({{1000, 50, 500}, {3000, 100, 10}}, {});
    EXPECT_EQ(out.types, (std::vector<int>{0, 0}));
    EXPECT_EQ(out.maxType, 0);
    EXPECT_EQ(out.otherCount + out.earlyCount + out.lateOrLowCount + out.delayedCount, 0);
    EXPECT_EQ(out.typeHistogram, (std::vector<int>{2, 0, 0, 0}));
}

TEST_F(DecelerationTyping, CountersAreIncrementedNotReset) {
    std::vector<int> types, histogram;
    int maxType = 0, early = 5, lateOrLow = 6, delayed = 7, other = 8;
    analyser.dec_type(types, maxType, histogram, early, lateOrLow, delayed, other, heartRate,
                      {kPeak, kPeak + 200}, {kPeak - 10, kPeak + 190}, {kPeak + 10, kPeak + 210},
                      {kPeak});
    EXPECT_EQ(types, (std::vector<int>{1, 3}));
    EXPECT_EQ(early, 6);
    EXPECT_EQ(lateOrLow, 6);
    EXPECT_EQ(delayed, 8);
    EXPECT_EQ(other, 8);
}

}  // namespace
