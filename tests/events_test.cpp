// Acceleration and deceleration detection and the typing of decelerations
// against the first contraction peak, on hand-built traces at 4 Hz around a
// flat 140 bpm baseline.
#include <gtest/gtest.h>

#include <vector>

#include "algorithm.h"

namespace {

using Ints = std::vector<int>;
constexpr int kRate = 4;

// Samples [from, to) take the value; {at, value} sets one sample.
struct Edit {
    Edit(int from, int to, int value) : from(from), to(to), value(value) {}
    Edit(int at, int value) : Edit(at, at + 1, value) {}
    int from, to, value;
};

struct Event {
    int trigger, value, start, end;
};
constexpr Event kNone{-1, -1, -1, -1};

// A trace around a flat 140 bpm baseline and the one event expected in it.
struct Case {
    const char* what;
    Event expected;
    std::vector<Edit> edits;
    int deep = 0;  // decelerations only
    int length = 3000;
    int spacingSeconds = 120;
    std::vector<Edit> base = {};  // baseline samples that are not 140
};

enum class Kind { Acceleration, Deceleration };

// The detectors append to the trigger and value lists but replace the start
// and end lists; every case starts from lists with a stale entry.
void expectCase(Kind kind, const Case& c) {
    Ints fhr(c.length, 140);
    std::vector<double> base(c.length, 140.0);
    for (const Edit& e : c.edits) std::fill(fhr.begin() + e.from, fhr.begin() + e.to, e.value);
    for (const Edit& e : c.base) std::fill(base.begin() + e.from, base.begin() + e.to, e.value);
    QK4_CFhrAlgorithm analyzer;
    analyzer.setSampleRate(kRate);
    QK4_FhrParameter p = analyzer.getParameter();
    (kind == Kind::Acceleration ? p.accMinSpacing : p.decMinSpacing) = c.spacingSeconds;
    analyzer.setParameter(p);
    EventLists found{{7}, {8}, {9}, {10}};
    int count = 2, deep = 0;
    if (kind == Kind::Acceleration) {
        analyzer.detect_acc(fhr, base, found.triggers, found.values, found.starts, found.ends,
                            count);
    } else {
        analyzer.detect_dec(fhr, base, found.triggers, found.values, found.starts, found.ends,
                            count, deep);
    }
    const Event& e = c.expected;
    const std::vector<Ints> expected =
        e.trigger < 0
            ? std::vector<Ints>{{7}, {8}, {}, {}, {2, c.deep}}
            : std::vector<Ints>{{7, e.trigger}, {8, e.value}, {e.start}, {e.end}, {3, c.deep}};
    EXPECT_EQ(
        (std::vector<Ints>{found.triggers, found.values, found.starts, found.ends, {count, deep}}),
        expected)
        << c.what;
}

}  // namespace

// Search span 120 s = 480 samples, 17 bpm for 17 s = 68 samples, spacing 480.
TEST(DetectAcc, ScansFallbacksAndPasses) {
    // clang-format off
    const Case cases[] = {
        {"base + 3 is not back", {1000, 160, 899, 1080},
         {{900, 1000, 150}, {950, 143}, {1000, 1080, 160}}},
        // Too short, but a candidate; then long enough but only 200 after it;
        // then exactly 480 samples after the first candidate.
        {"spacing from every candidate", {1480, 160, 1479, 1580},
         {{1000, 1020, 160}, {1200, 1320, 160}, {1480, 1580, 160}}},
        {"within the first spacing", kNone, {{100, 300, 160}}},
        // The backward scan stops at trigger - 480 + 1 = 521: sample 520, back near
        // the baseline, lies one too far, and the zero-padded fallback buffer
        // gives trigger - 1.
        {"back scan, one too far", {1000, 160, 999, 1080}, {{521, 1000, 150}, {1000, 1080, 160}}},
        // Lowest buffer sample at 2 (below its own baseline, so no crossing):
        // start 1 from the fallback becomes 10; a start of 1 from the scan stays.
        {"fallback start 1", {480, 160, 10, 580}, {{0, 480, 150}, {480, 580, 160}, {2, -5}},
         0, 3000, 120, {{2, -20}}},
        {"scanned start 1", {480, 160, 1, 580}, {{0, 480, 150}, {480, 580, 160}, {1, 140}}},
        {"forward scan to trigger + 481", {1000, 160, 999, 1481}, {{1000, 1481, 160}}},
        {"exactly the minimum duration", {1000, 160, 999, 1067}, {{1000, 1067, 160}}},
        {"forward fallback", {1000, 160, 999, 1200}, {{1000, 1486, 160}, {1200, 145}}},
        // The main pass ends at 2000 - 480 - 1 and scans only to the last sample.
        {"last main pass", {1519, 160, 1518, 1700}, {{1519, 2000, 160}, {1700, 150}}, 0, 2000},
        // Tail pass 2520 .. 2939: start two samples after the minimum of the W
        // samples before the trigger.
        {"tail start fallback", {2700, 160, 2402, 2800},
         {{2220, 2700, 150}, {2400, 145}, {2700, 2800, 160}}},
        {"tail end", {2880, 160, 2879, 2950}, {{2880, 3000, 160}, {2950, 150}, {2999, 145}}},
        // The last 15 s hold no trigger: 3000 - 60 - 1 is the last one allowed.
        {"last allowed trigger", {2939, 160, 2802, 2998},
         {{2400, 2939, 150}, {2800, 145}, {2939, 3000, 160}, {2998, 150}}},
        {"too late", kNone, {{2400, 2940, 150}, {2800, 145}, {2940, 3000, 160}, {2998, 150}}},
        // Spacing 30 s = 120 samples: a main-pass buffer reaching before sample 0
        // keeps sample positions.
        {"buffer before 0, low sample", {200, 160, 49, 300},
         {{0, 200, 150}, {200, 300, 160}, {50, -5}}, 0, 1000, 30, {{50, -20}}},
    };
    // clang-format on
    for (const Case& c : cases) expectCase(Kind::Acceleration, c);
}

// Search span 30 s = 120 samples, 18 bpm for 18 s = 72 samples, spacing 480.
TEST(DetectDec, ScansFallbacksPassesAndDeepCount) {
    // clang-format off
    const Case cases[] = {
        // 880 is back near its own (lower) baseline; the fallback would take 900.
        {"backward scan to trigger - 120", {1000, 110, 880, 1080},
         {{880, 1000, 130}, {900, 136}, {1000, 1080, 110}}, 0, 3000, 120, {{880, 130}}},
        {"backward fallback, highest", {1000, 110, 900, 1080},
         {{880, 1000, 130}, {900, 136}, {1000, 1080, 110}}},
        {"forward scan to trigger + 120", {1000, 110, 999, 1120}, {{1000, 1120, 110}}},
        {"forward fallback leaves out trigger + 120", {1000, 110, 999, 1100},
         {{1000, 1200, 110}, {1100, 130}, {1120, 136}}},
        // Deep: 30 bpm below, and the first and last samples above the baseline
        // in the whole trace (not the nearest ones) more than 90 s apart.
        {"deep, outer samples decide", {1000, 100, 999, 1080},
         {{1000, 1080, 100}, {800, 141}, {990, 141}, {1090, 141}, {1200, 141}}, 1},
        {"deep, 360 apart", {1000, 100, 999, 1080}, {{1000, 1080, 100}, {900, 141}, {1260, 141}}},
        {"deep, 361", {1000, 100, 999, 1080}, {{1000, 1080, 100}, {900, 141}, {1261, 141}}, 1},
        {"deep, 30 below", {1000, 110, 999, 1080}, {{1000, 1080, 110}, {100, 141}, {2000, 141}}, 1},
        {"deep, 29 below", {1000, 111, 999, 1080}, {{1000, 1080, 111}, {100, 141}, {2000, 141}}, 0},
        // Tail pass 2880 .. 2939.
        {"tail end", {2915, 110, 2914, 2990}, {{2915, 3000, 110}, {2990, 130}, {2999, 136}}},
        {"last allowed trigger", {2939, 110, 2832, 2998},
         {{2819, 2939, 130}, {2830, 135}, {2939, 3000, 110}, {2998, 130}}},
        {"too late", kNone, {{2820, 2940, 130}, {2830, 135}, {2940, 3000, 110}, {2998, 130}}},
    };
    // clang-format on
    for (const Case& c : cases) expectCase(Kind::Deceleration, c);
}

// Against the first contraction peak only (60 s = 240 samples at 4 Hz).
TEST(DecType, BoundariesAroundTheFirstPeakAndCountersIncremented) {
    constexpr int peak = 2000, r = kRate;
    struct Deceleration {
        int trigger, rate, length;  // rate: heart rate at the trigger
        int type;
    };
    // clang-format off
    const Deceleration decelerations[] = {
        // After the peak: within 30 s other, then delayed up to 59 s; early from
        // 59 s before up to the peak.
        {peak + 16 * r, 100, 10, 0}, {peak + 15 * r, 100, 10, 0}, {peak + 30 * r, 100, 10, 0},
        {peak + 31 * r, 100, 10, 3}, {peak + 59 * r, 100, 10, 3}, {peak - 59 * r, 100, 10, 1},
        {peak, 100, 10, 1},
        // Far: exactly 60 bpm is other; low and long is low, low and not long
        // other; short is late, long other.
        {peak - 60 * r, 60, 300, 0}, {peak + 60 * r, 59, 241, 4}, {peak + 100 * r, 59, 240, 0},
        {peak - 100 * r, 61, 239, 2}, {peak + 150 * r, 61, 240, 0},
        {peak - 300, 100, 10, 2},  // only the first peak counts, not the one at 1700
    };
    // clang-format on
    Ints heartRate(4000, 100), triggers, starts, ends, expected;
    for (const Deceleration& d : decelerations) {
        heartRate[d.trigger] = d.rate;
        triggers.push_back(d.trigger);
        starts.push_back(d.trigger - 10);
        ends.push_back(d.trigger - 10 + d.length);
        expected.push_back(d.type);
    }
    QK4_CFhrAlgorithm analyzer;
    analyzer.setSampleRate(kRate);
    // Types, the highest type, the type histogram and the four counters
    // (early, late or low, delayed, other), which are incremented.
    const auto typed = [&](const Ints& triggers, const Ints& starts, const Ints& ends,
                           const Ints& peaks) {
        Ints types(17, 9), histogram;
        int maxType = -1, counters[4] = {5, 6, 7, 8};
        analyzer.dec_type(types, maxType, histogram, counters[0], counters[1], counters[2],
                          counters[3], heartRate, triggers, starts, ends, peaks);
        return std::vector<Ints>{types, {maxType}, histogram, Ints(counters, counters + 4)};
    };
    // Bins centred on 0..3; type 4 lies above the last midpoint and is not counted.
    EXPECT_EQ(typed(triggers, starts, ends, {peak, peak - 300}),
              (std::vector<Ints>{expected, {4}, {6, 2, 2, 2}, {5 + 2, 6 + 3, 7 + 2, 8 + 6}}));
    // Without contractions everything stays type 0 and uncounted.
    EXPECT_EQ(typed({1000, 3000}, {990, 2990}, {1490, 3000}, {}),
              (std::vector<Ints>{{0, 0}, {0}, {2, 0, 0, 0}, {5, 6, 7, 8}}));
}
