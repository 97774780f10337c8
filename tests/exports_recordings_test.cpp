// Every research recording through all four methods in one process, as a
// viewer of stored recordings would run them.
//
// CTGSCORE_RECORDINGS_LIMIT narrows the set: a number keeps the recordings of
// at most that many minutes; anything else is a list of recording names
// (separated by commas or blanks), e.g. "train19,train40".
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "ctgscore.h"
#include "test_support.h"

using testing_support::clearLog;
using testing_support::logMessages;
using testing_support::Recording;

namespace {

constexpr int kRate = 4;  // the recordings are sampled at 4 Hz
constexpr int kAccMinDuration = 17, kDecMinDuration = 18;
const QK4_FhrParameter kDefaults = {4, 3,  17, 17, 120, 18, 18, 120, 6,
                                    6, 24, 15, 10, 10,  60, 1,  300};

struct Selection {
    double maxMinutes = -1.0;     // < 0: no limit by length
    std::set<std::string> names;  // empty: no limit by name

    bool keeps(const Recording& rec) const {
        if (!names.empty()) return names.count(rec.name) > 0;
        return maxMinutes < 0.0 || rec.fhr.size() <= maxMinutes * 60.0 * kRate;
    }
};

Selection selectionFromEnvironment() {
    Selection selection;
    const char* value = std::getenv("CTGSCORE_RECORDINGS_LIMIT");
    if (value == nullptr || *value == '\0') return selection;
    char* end = nullptr;
    const double minutes = std::strtod(value, &end);
    if (end != value && *end == '\0') {
        selection.maxMinutes = minutes;
        return selection;
    }
    std::string text(value);
    std::replace(text.begin(), text.end(), ',', ' ');
    std::istringstream words(text);
    for (std::string name; words >> name;) selection.names.insert(name);
    return selection;
}

// The movement channel holds one word per second: the marks of its samples.
std::vector<int> marksPerSecond(const std::vector<int>& fm) {
    std::vector<int> marks(fm.size() / kRate, 0);
    for (size_t s = 0; s < marks.size(); ++s) {
        for (int k = 0; k < kRate; ++k) marks[s] |= fm[s * kRate + k];
    }
    return marks;
}

bool noValidHeartRate(const std::vector<int>& fhr) {
    return std::none_of(fhr.begin(), fhr.end(), [](int v) { return v >= 60 && v <= 210; });
}

enum class Method { Krebs, Fischer, Acog, UC };
const Method kMethods[] = {Method::Krebs, Method::Fischer, Method::Acog, Method::UC};

const char* nameOf(Method method) {
    switch (method) {
        case Method::Krebs:
            return "Krebs";
        case Method::Fischer:
            return "Fischer2";
        case Method::Acog:
            return "ACOG";
        case Method::UC:
            return "UC";
    }
    return "";
}

// Everything a host reads back after one run.
struct Outcome {
    std::vector<int> words;
    std::vector<int> accStarts, accEnds, decStarts, decEnds;
    std::vector<double> baseline;
    std::vector<std::string> log;
};

std::vector<int> listOf(const QK4_FhrList& list) {
    return std::vector<int>(list.data, list.data + list.count);
}

Outcome analyse(Method method, const Recording& rec, const std::vector<int>& marks) {
    const int n = static_cast<int>(rec.fhr.size());
    clearLog();
    const int* words = nullptr;
    const QK4_FhrLocation* location = nullptr;
    const QK4_FhrBaseline* baseline = nullptr;
    switch (method) {
        case Method::Krebs:
            words = QK4_calFhrKrebs(rec.fhr.data(), marks.data(), n, kRate);
            location = QK4_getKrebsLocation();
            baseline = QK4_getKrebsBaseline();
            break;
        case Method::Fischer:
            words = QK4_calFhrFischer2(rec.fhr.data(), rec.uc.data(), marks.data(), n, kRate);
            location = QK4_getFischer2Location();
            baseline = QK4_getFischer2Baseline();
            break;
        case Method::Acog:
            words = QK4_calFhrAcog(rec.fhr.data(), rec.uc.data(), marks.data(), n, kRate);
            location = QK4_getAcogLocation();
            baseline = QK4_getAcogBaseline();
            break;
        case Method::UC:
            words = QK4_calFhrUC(rec.fhr.data(), rec.uc.data(), marks.data(), n, kRate);
            location = QK4_getUCLocation();
            baseline = QK4_getUCBaseline();
            break;
    }
    Outcome out;
    out.words.assign(words, words + CTGSCORE_RESULT_WORDS);
    out.accStarts = listOf(location->accelerationStarts);
    out.accEnds = listOf(location->accelerationEnds);
    out.decStarts = listOf(location->decelerationStarts);
    out.decEnds = listOf(location->decelerationEnds);
    out.baseline.assign(baseline->data, baseline->data + baseline->count);
    out.log = logMessages();
    return out;
}

// Sorted pairs inside the trace, each as long as the detector demands.
void expectEvents(const std::vector<int>& starts, const std::vector<int>& ends, int length,
                  int minDurationSeconds) {
    ASSERT_EQ(starts.size(), ends.size());
    EXPECT_TRUE(std::is_sorted(starts.begin(), starts.end()));
    EXPECT_TRUE(std::is_sorted(ends.begin(), ends.end()));
    for (size_t k = 0; k < starts.size(); ++k) {
        EXPECT_GE(starts[k], 0) << "event " << k;
        EXPECT_LT(ends[k], length) << "event " << k;
        EXPECT_GE(ends[k] - starts[k], minDurationSeconds * kRate) << "event " << k;
    }
}

void expectBaselineCurve(const Outcome& out, int length) {
    ASSERT_EQ(static_cast<int>(out.baseline.size()), length);
    const auto [low, high] = std::minmax_element(out.baseline.begin(), out.baseline.end());
    EXPECT_GE(*low, 60.0);
    EXPECT_LE(*high, 210.0);
}

std::string scoreLine(const std::vector<int>& w) {
    std::ostringstream line;
    line << "Score : " << w[0];
    for (int k = 1; k < 7; ++k) line << ", " << w[k];
    return line.str();
}

void expectScoreLine(const Outcome& out) {
    ASSERT_GE(out.log.size(), 2u);
    EXPECT_EQ(out.log[out.log.size() - 2], scoreLine(out.words));
}

void expectHeartRateEvents(const Outcome& out, int length, int decelerationWord) {
    expectEvents(out.accStarts, out.accEnds, length, kAccMinDuration);
    expectEvents(out.decStarts, out.decEnds, length, kDecMinDuration);
    EXPECT_EQ(out.words[40], static_cast<int>(out.accStarts.size()));
    EXPECT_EQ(out.words[decelerationWord], static_cast<int>(out.decStarts.size()));
}

void expectKrebs(const Outcome& out, int length) {
    expectHeartRateEvents(out, length, 41);
    int sum = 0;
    for (int item = 1; item <= 6; ++item) {
        EXPECT_GE(out.words[item], 0);
        EXPECT_LE(out.words[item], 2);
        sum += out.words[item];
    }
    EXPECT_EQ(out.words[0], sum);
    expectScoreLine(out);
}

void expectFischer(const Outcome& out, int length) {
    expectHeartRateEvents(out, length, 46);
    EXPECT_LE(out.words[41], out.words[46]);  // deep ones are among them
    EXPECT_EQ(out.words[0],
              out.words[1] + out.words[2] + out.words[3] + out.words[4] + out.words[5]);
    EXPECT_EQ(out.words[6], -1);
    expectScoreLine(out);
}

void expectAcog(const Outcome& out, int length) {
    expectHeartRateEvents(out, length, 46);
    EXPECT_LE(out.words[41], out.words[46]);
    for (int w = 7; w <= 34; ++w) {
        if (w == 23) continue;  // the Fischer run's contraction flag
        EXPECT_TRUE(out.words[w] == 0 || out.words[w] == 1) << "word " << w;
    }
    EXPECT_EQ(std::vector<int>(out.words.begin() + 32, out.words.begin() + 35),
              (std::vector<int>{1, 1, 0}));
    EXPECT_EQ(out.words[0], -1);
    EXPECT_EQ(out.log.back(), "Score finished");
}

// Word 7 is the highest contraction sample of the first five minutes (0 read
// as 1), word 0 its rating; both stay 0 when fewer than two contractions end.
void expectContractionMethod(const Outcome& out, const Recording& rec) {
    EXPECT_TRUE(out.accStarts.empty() && out.accEnds.empty() && out.decStarts.empty() &&
                out.decEnds.empty());
    EXPECT_EQ(out.words[3], out.words[35]);
    if (out.words[1] == -1) {
        EXPECT_EQ(out.words[7], 0);
        EXPECT_EQ(out.words[0], 0);
    } else {
        const size_t window = std::min<size_t>(rec.uc.size(), 300 * kRate);
        int peak = 0;
        for (size_t j = 0; j < window; ++j) peak = std::max(peak, std::max(rec.uc[j], 1));
        EXPECT_EQ(out.words[7], peak);
        EXPECT_EQ(out.words[0], peak > 90 ? 2 : (peak > 30 ? 1 : 0));
        EXPECT_EQ(out.words[1], out.words[4] - out.words[5]);
        EXPECT_EQ(out.words[2], out.words[5] - out.words[6]);
    }
    expectScoreLine(out);
}

void expectFailedRun(const Outcome& out) {
    EXPECT_EQ(out.words, std::vector<int>(CTGSCORE_RESULT_WORDS, -1));
    ASSERT_FALSE(out.log.empty());
    EXPECT_EQ(out.log.back(), "Error : all heart rate out of range [60,210]");
    EXPECT_TRUE(out.baseline.empty());
}

void expectSuccessfulRun(Method method, const Outcome& out, const Recording& rec) {
    const int length = static_cast<int>(rec.fhr.size());
    if (method != Method::Acog) {
        ASSERT_NE(out.words[0], -1) << "log ends with: " << (out.log.empty() ? "" : out.log.back());
    }
    expectBaselineCurve(out, length);
    switch (method) {
        case Method::Krebs:
            return expectKrebs(out, length);
        case Method::Fischer:
            return expectFischer(out, length);
        case Method::Acog:
            return expectAcog(out, length);
        case Method::UC:
            return expectContractionMethod(out, rec);
    }
}

bool sameBits(const std::vector<double>& a, const std::vector<double>& b) {
    return a.size() == b.size() &&
           (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(double)) == 0);
}

TEST(Recordings, EveryRecordingRunsThroughAllFourMethods) {
    const auto paths = testing_support::trainRecordings();
    if (paths.empty()) GTEST_SKIP() << "research recordings not present";
    const Selection selection = selectionFromEnvironment();
    QK4_FhrParameter defaults = kDefaults;
    QK4_setParameter(&defaults);

    int analysed = 0;
    for (const auto& path : paths) {
        const Recording rec = testing_support::readCsv(path);
        if (!selection.keeps(rec)) continue;
        SCOPED_TRACE(rec.name);
        ++analysed;
        const std::vector<int> marks = marksPerSecond(rec.fm);
        // Channel-1 recordings that are all signal loss must fail, and only those.
        const bool hopeless = noValidHeartRate(rec.fhr);

        Outcome first;
        for (Method method : kMethods) {
            SCOPED_TRACE(nameOf(method));
            const Outcome out = analyse(method, rec, marks);
            if (hopeless) {
                expectFailedRun(out);
            } else {
                expectSuccessfulRun(method, out, rec);
            }
            if (method == Method::Krebs) first = out;
        }

        // Again, after the other methods: nothing may carry over.
        const Outcome again = analyse(Method::Krebs, rec, marks);
        EXPECT_EQ(again.words, first.words);
        EXPECT_TRUE(sameBits(again.baseline, first.baseline));
        EXPECT_EQ(again.accStarts, first.accStarts);
        EXPECT_EQ(again.accEnds, first.accEnds);
        EXPECT_EQ(again.decStarts, first.decStarts);
        EXPECT_EQ(again.decEnds, first.decEnds);
    }
    if (analysed == 0) GTEST_SKIP() << "CTGSCORE_RECORDINGS_LIMIT selects no recording";
    std::printf("analysed %d recordings\n", analysed);
}

}  // namespace
