// Every research recording through all four methods in one process, as a
// viewer of stored recordings would run them (CTGSCORE_RECORDINGS_LIMIT, in
// minutes, keeps to the shorter ones).
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <tuple>
#include <vector>

#include "exported_methods.h"
#include "test_support.h"

using testing_support::ExportedMethod;
using testing_support::kAcog;
using testing_support::kFischer;
using testing_support::kKrebs;
using testing_support::kUc;
using testing_support::Recording;

namespace {

using Ints = std::vector<int>;
constexpr int kRate = 4;  // the recordings are sampled at 4 Hz

// Everything a host reads back after one run.
struct Outcome {
    Ints words, accStarts, accEnds, decStarts, decEnds;
    std::vector<double> baseline;  // never NaN, so == compares the bits
    std::vector<std::string> log;
    auto key() const { return std::tie(words, accStarts, accEnds, decStarts, decEnds, baseline); }
};

Ints listOf(const QK4_FhrList& list) { return Ints(list.data, list.data + list.count); }

Outcome analyse(const ExportedMethod& method, const Recording& rec, const Ints& marks) {
    testing_support::clearLog();
    const int* words = method.run(rec.fhr.data(), rec.uc.data(), marks.data(),
                                  static_cast<int>(rec.fhr.size()), kRate);
    const QK4_FhrLocation& location = *method.location();
    const QK4_FhrBaseline& baseline = *method.baseline();
    return {Ints(words, words + CTGSCORE_RESULT_WORDS),
            listOf(location.accelerationStarts),
            listOf(location.accelerationEnds),
            listOf(location.decelerationStarts),
            listOf(location.decelerationEnds),
            std::vector<double>(baseline.data, baseline.data + baseline.count),
            testing_support::logMessages()};
}

// Sorted pairs inside the trace, each as long as the detector demands.
void expectEvents(const Ints& starts, const Ints& ends, int length, int minimumSeconds) {
    ASSERT_EQ(starts.size(), ends.size());
    EXPECT_TRUE(std::is_sorted(starts.begin(), starts.end()));
    EXPECT_TRUE(std::is_sorted(ends.begin(), ends.end()));
    for (size_t k = 0; k < starts.size(); ++k) {
        EXPECT_TRUE(starts[k] >= 0 && ends[k] < length) << starts[k] << " " << ends[k];
        EXPECT_GE(ends[k] - starts[k], minimumSeconds * kRate);
    }
}

void expectSuccessfulRun(const ExportedMethod& method, const Outcome& out, const Recording& rec) {
    const int length = static_cast<int>(rec.fhr.size());
    const Ints& w = out.words;
    ASSERT_NE(w[35], -1) << "log ends with: " << out.log.back();
    ASSERT_EQ(static_cast<int>(out.baseline.size()), length);
    const auto [low, high] = std::minmax_element(out.baseline.begin(), out.baseline.end());
    EXPECT_TRUE(*low >= 60.0 && *high <= 210.0) << *low << " " << *high;
    std::string scoreLine = "Score : " + std::to_string(w[0]);
    for (int k = 1; k < 7; ++k) scoreLine += ", " + std::to_string(w[k]);
    if (method == kAcog) {
        EXPECT_EQ(out.log.back(), "Score finished");
    } else {
        EXPECT_EQ(out.log[out.log.size() - 2], scoreLine);
    }
    if (method == kUc) {
        EXPECT_TRUE(out.accStarts.empty() && out.decStarts.empty());
        EXPECT_EQ(w[3], w[35]);
        // Word 7: the highest contraction sample of the first five minutes (0
        // read as 1), word 0 its rating; both 0 when fewer than two end.
        int peak = 0;
        for (size_t j = 0; j < std::min<size_t>(rec.uc.size(), 300 * kRate); ++j) {
            peak = std::max({peak, rec.uc[j], 1});
        }
        EXPECT_EQ(w[7], w[1] == -1 ? 0 : peak);
        EXPECT_EQ(w[0], w[7] > 90 ? 2 : (w[7] > 30 ? 1 : 0));
        return;
    }
    expectEvents(out.accStarts, out.accEnds, length, 17);
    expectEvents(out.decStarts, out.decEnds, length, 18);
    EXPECT_EQ(w[40], static_cast<int>(out.accStarts.size()));
    EXPECT_EQ(w[method == kKrebs ? 41 : 46], static_cast<int>(out.decStarts.size()));
    const int items = method == kKrebs ? 6 : (method == kFischer ? 5 : 0);  // ACOG: flags
    int sum = 0;
    for (int item = 1; item <= items; ++item) {
        EXPECT_TRUE(w[item] >= 0 && w[item] <= 2) << item;
        sum += w[item];
    }
    if (items > 0) {
        EXPECT_EQ(w[0], sum);
    }
    if (!(method == kKrebs)) {
        EXPECT_LE(w[41], w[46]);  // the deep ones are among them
        EXPECT_EQ(w[6], -1);
    }
    if (method == kAcog) {
        for (int k = 7; k <= 34; ++k) EXPECT_TRUE(k == 23 || w[k] == 0 || w[k] == 1) << k;
        EXPECT_EQ(Ints(w.begin() + 32, w.begin() + 35), (Ints{1, 1, 0}));
        EXPECT_EQ(w[0], -1);
    }
}

}  // namespace

TEST(Recordings, EveryRecordingRunsThroughAllFourMethods) {
    if (testing_support::dataDir().empty()) GTEST_SKIP() << "research recordings not present";
    const std::vector<Recording> recordings = testing_support::researchRecordings();
    if (recordings.empty()) GTEST_SKIP() << "CTGSCORE_RECORDINGS_LIMIT selects no recording";
    for (const Recording& rec : recordings) {
        SCOPED_TRACE(rec.name);
        // The movement channel holds one word per second: the marks of its samples.
        Ints marks(rec.fm.size() / kRate, 0);
        for (size_t s = 0; s < marks.size(); ++s) {
            for (int k = 0; k < kRate; ++k) marks[s] |= rec.fm[s * kRate + k];
        }
        // Recordings that are all signal loss must fail, and only those.
        const bool hopeless =
            std::none_of(rec.fhr.begin(), rec.fhr.end(), [](int v) { return v >= 60 && v <= 210; });
        Outcome krebs;
        for (const ExportedMethod& method : testing_support::kExportedMethods) {
            SCOPED_TRACE(method.name);
            const Outcome out = analyse(method, rec, marks);
            if (hopeless) {
                EXPECT_EQ(out.words, Ints(CTGSCORE_RESULT_WORDS, -1));
                EXPECT_EQ(out.log.back(), "Error : all heart rate out of range [60,210]");
                EXPECT_TRUE(out.baseline.empty());
            } else {
                expectSuccessfulRun(method, out, rec);
            }
            if (method == kKrebs) krebs = out;
        }
        // Again, after the other methods: nothing may carry over.
        EXPECT_TRUE(analyse(kKrebs, rec, marks).key() == krebs.key());
    }
    std::printf("analysed %zu recordings\n", recordings.size());
}
