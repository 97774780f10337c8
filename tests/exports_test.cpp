// The exported interface as a host program uses it: parameters, the four
// analysis runs with their log lines and result records, and the getters.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "exported_methods.h"
#include "test_support.h"

using testing_support::clearLog;
using testing_support::ExportedMethod;
using testing_support::kAcog;
using testing_support::kExportedMethods;
using testing_support::kFischer;
using testing_support::kKrebs;
using testing_support::kUc;
using testing_support::logMessages;

namespace {

using Ints = std::vector<int>;
using Lines = std::vector<std::string>;
constexpr int kRate = 4;
constexpr int kWords = CTGSCORE_RESULT_WORDS;
const QK4_FhrParameter kDefaults = {4, 3,  17, 17, 120, 18, 18, 120, 6,
                                    6, 24, 15, 10, 10,  60, 1,  300};

// What the very first calls of the process returned.  Filled before main, so
// these calls really are the first ones, whichever tests run afterwards.
struct FirstUse {
    QK4_FhrLocation krebsLocation, acogLocation;
    QK4_FhrBaseline ucBaseline;
    QK4_FhrParameter parameters;
};
const FirstUse kFirstUse = {*QK4_getKrebsLocation(), *QK4_getAcogLocation(), *QK4_getUCBaseline(),
                            *QK4_getParameter()};

// A generated recording at kRate samples per second.
struct Recording {
    Ints fhr, uc, fm;
    int length() const { return static_cast<int>(fhr.size()); }
};

Recording flatRecording(int minutes, int bpm = 140, int toco = 10) {
    const int samples = minutes * 60 * kRate;
    return {Ints(samples, bpm), Ints(samples, toco), Ints(samples / kRate, 0)};
}

void fill(Ints& trace, int first, int count, int value) {
    std::fill(trace.begin() + first, trace.begin() + first + count, value);
}

// A plateau 20 bpm above 140 for 20 s from sample 1000.
Recording accelerationRecording() {
    Recording rec = flatRecording(20);
    fill(rec.fhr, 1000, 20 * kRate, 160);
    return rec;
}

// A dip to 110 (30 bpm) for 25 s from sample 2000, and two short stretches
// above the baseline: one before the dip, one more than 90 s after.
Recording decelerationRecording() {
    Recording rec = flatRecording(20);
    fill(rec.fhr, 2000, 25 * kRate, 110);
    fill(rec.fhr, 600, 20, 150);
    fill(rec.fhr, 3000, 20, 150);
    return rec;
}

// A raised-cosine contraction on the resting tone, peaking at `peak` at `centre`.
void addContraction(Ints& toco, int centre, int halfWidth, int peak) {
    const double rest = toco[centre];
    for (int t = -halfWidth; t <= halfWidth; ++t) {
        const double shape = 0.5 * (1.0 + std::cos(std::acos(-1.0) * t / halfWidth));
        toco[centre + t] = static_cast<int>(std::lround(rest + (peak - rest) * shape));
    }
}

const int* run(const ExportedMethod& method, const Recording& rec, int length = -1,
               int rate = kRate) {
    return method.run(rec.fhr.data(), rec.uc.data(), rec.fm.data(),
                      length < 0 ? rec.length() : length, rate);
}

std::string printed(const char* format, const Ints& v) {
    char text[256];
    std::snprintf(text, sizeof text, format, v[0], v[1], v[2], v[3], v[4], v[5], v[6], v[7],
                  v.size() > 8 ? v[8] : 0);
    return text;
}

// The log of a run up to "Score starting", followed by `rest`.
Lines runLog(const ExportedMethod& method, const QK4_FhrParameter& p, const Lines& rest) {
    const bool fischer = method == kFischer;
    Lines lines = {std::string("Type : ") + method.name,
                   printed("Parameter 1: %d, %d,-- %d, %d, %d,-- %d, %d, %d",
                           {p.varAmplitudeMin, p.varCycleMin, p.accMinDuration, p.accMinAmplitude,
                            p.accMinSpacing, p.decMinDuration, p.decMinAmplitude, p.decMinSpacing}),
                   printed(fischer ? "Parameter 2: %d, %d, %d, %d,-- %d, %d, %d-- %d, %d"
                                   : "Parameter 2: %d, %d, %d, %d,-- %d, %d, %d,-- %d, %d",
                           {p.auxPeakA, p.auxPeakB, p.auxPeakSpan, p.auxPeakD, p.ucPeakA, p.ucPeakB,
                            p.ucPeakSpan, p.fmMode, p.reserved16}),
                   "Score starting"};
    lines.insert(lines.end(), rest.begin(), rest.end());
    return lines;
}

std::string lengthError(const ExportedMethod& method) {
    return "Error : The minimum length is " + std::to_string(method.minimumMinutes) + " minutes";
}

Ints listOf(const QK4_FhrList& list) { return Ints(list.data, list.data + list.count); }

int eventCount(const QK4_FhrLocation* location) {
    return location->accelerationStarts.count + location->accelerationEnds.count +
           location->decelerationStarts.count + location->decelerationEnds.count;
}

bool logged(const std::string& message) {
    const Lines lines = logMessages();
    return std::find(lines.begin(), lines.end(), message) != lines.end();
}

class Exports : public testing::Test {
protected:
    void SetUp() override {
        QK4_FhrParameter defaults = kDefaults;
        QK4_setParameter(&defaults);
        clearLog();
    }
};

}  // namespace

TEST(FirstUse, GettersCalledFirstGiveEmptyExportsAndDefaultParameters) {
    EXPECT_EQ(eventCount(&kFirstUse.krebsLocation), 0);
    EXPECT_EQ(eventCount(&kFirstUse.acogLocation), 0);
    EXPECT_EQ(kFirstUse.ucBaseline.count, 0);
    EXPECT_EQ(std::memcmp(&kFirstUse.parameters, &kDefaults, sizeof kDefaults), 0);
}

// Every refusal, parameter value and bad input is covered in
// exports_bad_input_test; here the lines each method logs before it refuses.
TEST_F(Exports, ParametersAreStoredAsGivenValidatedPerRunAndLogged) {
    QK4_FhrParameter given = kDefaults;
    given.auxPeakB = -1;         // shown as -1, as fields 8 to 14 are not tested for it
    given.varAmplitudeMin = 11;  // each one past its range
    given.accMinSpacing = 29;
    given.decMinSpacing = 601;
    given.reserved16 = 299;
    QK4_setParameter(&given);
    EXPECT_EQ(std::memcmp(QK4_getParameter(), &given, sizeof given), 0);
    const Recording rec = flatRecording(5);
    for (const ExportedMethod& method : kExportedMethods) {
        clearLog();
        run(method, rec, method.minimumMinutes * 60 * kRate - 1);
        EXPECT_EQ(logMessages(), runLog(method, kDefaults, {lengthError(method)})) << method.name;
        clearLog();
        EXPECT_EQ(run(method, rec, 0, 0)[35], -1);
        EXPECT_EQ(logMessages(), (Lines{std::string("Type : ") + method.name,
                                        "Error : sampling rate must be positive integer"}));
    }
    EXPECT_EQ(std::memcmp(QK4_getParameter(), &given, sizeof given), 0);
    given.reserved16 = -1;  // a core field: the getter restores every default
    QK4_setParameter(&given);
    EXPECT_EQ(std::memcmp(QK4_getParameter(), &kDefaults, sizeof kDefaults), 0);

    given = {10, 1, 15, 20, 30, 10, 20, 600, 5, 15, 20, 35, 5, 15, 20, 0, 1800};  // range limits
    QK4_setParameter(&given);
    for (const ExportedMethod& method : kExportedMethods) {
        clearLog();
        const int* words = method.run(rec.fhr.data(), rec.uc.data(), nullptr,
                                      method.minimumMinutes * 60 * kRate, kRate);
        EXPECT_EQ(words[35], 140) << method.name;  // exactly the minimum length is accepted
        EXPECT_EQ(words[51], 0);                   // a missing movement channel has no marks
        const Lines lines = logMessages();
        ASSERT_GE(lines.size(), 4u);
        EXPECT_EQ(Lines(lines.begin(), lines.begin() + 4), runLog(method, given, {}));
    }
}

TEST_F(Exports, RefusedRunLeavesNoExportsOfTheRunBefore) {
    Recording rec = accelerationRecording();
    for (const ExportedMethod& method : kExportedMethods) {
        ASSERT_NE(run(method, rec)[35], -1);
        EXPECT_GT(method.baseline()->count, 0);
        const int* words = run(method, rec, 100);
        EXPECT_EQ(Ints(words, words + kWords), Ints(kWords, -1));
        EXPECT_EQ(eventCount(method.location()) + method.baseline()->count, 0) << method.name;
    }
}

TEST_F(Exports, EventFreeRunsLogEveryStageInOrder) {
    const Recording rec = flatRecording(20);
    for (const ExportedMethod& method : kExportedMethods) {
        clearLog();
        const int* words = run(method, rec);
        Lines stages = {"cal_fm begin",       "cal_fm end",      "update_fhr begin",
                        "update_fhr end",     "basal_fhr begin", "basal_fhr end",
                        "fhr_baseline begin", "fhr_baseline end"};
        const bool krebs = method == kKrebs;
        if (method == kUc) {
            stages.insert(stages.end(), {"auto_score begin", "uc end"});
        } else {
            stages.insert(
                stages.end(),
                {"detect_acc begin", "detect_acc end", "detect_dec begin", "detect_dec end",
                 krebs ? "cal_bpm_var begin" : "fhrBas begin", "Type 4", "CalBpmVar",
                 krebs ? "cal_bpm_var end" : "fhrBas end", "auto_score begin"});
        }
        stages.insert(stages.end(), {"auto_score end", "Score finished"});
        if (!(method == kAcog)) {  // ACOG has no score line
            stages.push_back(printed("Score : %d, %d, %d, %d, %d, %d, %d", Ints(words, words + 8)));
            stages.push_back("");  // the score message ends with a newline of its own
        }
        EXPECT_EQ(logMessages(), runLog(method, kDefaults, stages)) << method.name;
        EXPECT_EQ(words[35], 140);
        EXPECT_EQ(method.baseline()->count, rec.length());
    }
}

TEST_F(Exports, KrebsScoresAFlatTraceAndFindsAnAccelerationAndADeceleration) {
    Recording rec = flatRecording(20);
    const int* words = QK4_calFhrKrebs(rec.fhr.data(), rec.fm.data(), rec.length(), kRate);
    double amplitude, frequency;
    std::memcpy(&amplitude, words + 36, sizeof amplitude);
    std::memcpy(&frequency, words + 38, sizeof frequency);
    EXPECT_TRUE(std::isnan(amplitude));  // no swing at all, which scores 2
    EXPECT_EQ(frequency, 0.0);
    EXPECT_EQ(Ints(words, words + 7), (Ints{6, 2, 2, 0, 0, 2, 0}));
    const QK4_FhrBaseline* baseline = QK4_getKrebsBaseline();
    ASSERT_EQ(baseline->count, rec.length());
    for (int i = 0; i < baseline->count; ++i) ASSERT_DOUBLE_EQ(baseline->data[i], 140.0) << i;

    rec = accelerationRecording();
    words = QK4_calFhrKrebs(rec.fhr.data(), rec.fm.data(), rec.length(), kRate);
    const QK4_FhrLocation* location = QK4_getKrebsLocation();
    EXPECT_EQ(listOf(location->accelerationStarts), Ints{999});
    EXPECT_EQ(listOf(location->accelerationEnds), Ints{1080});
    EXPECT_EQ(location->decelerationStarts.count + location->decelerationEnds.count, 0);
    EXPECT_EQ(Ints(words, words + 7), (Ints{7, 2, 2, 0, 1, 2, 0}));
    EXPECT_EQ(words[40], 1);
    EXPECT_TRUE(logged("Type 2"));

    rec = decelerationRecording();
    words = QK4_calFhrKrebs(rec.fhr.data(), rec.fm.data(), rec.length(), kRate);
    location = QK4_getKrebsLocation();
    EXPECT_EQ(listOf(location->decelerationStarts), Ints{1999});
    EXPECT_EQ(listOf(location->decelerationEnds), Ints{2100});
    EXPECT_EQ(words[41], 1);
    EXPECT_EQ(words[5], 1);
    EXPECT_TRUE(logged("Type 3"));
}

TEST_F(Exports, GettersHandOutFreshArraysAndEachMethodKeepsItsOwnEvents) {
    const Recording rec = accelerationRecording();
    int* krebs = QK4_calFhrKrebs(rec.fhr.data(), rec.fm.data(), rec.length(), kRate);
    QK4_FhrLocation* first = QK4_getKrebsLocation();
    const int* firstStarts = first->accelerationStarts.data;
    QK4_FhrBaseline* firstBaseline = QK4_getKrebsBaseline();
    const double* firstCurve = firstBaseline->data;
    EXPECT_EQ(QK4_getKrebsLocation(), first);
    EXPECT_NE(first->accelerationStarts.data, firstStarts);
    EXPECT_EQ(QK4_getKrebsBaseline(), firstBaseline);
    EXPECT_NE(firstBaseline->data, firstCurve);
    EXPECT_EQ(firstStarts[0], 999);  // earlier arrays stay intact
    EXPECT_DOUBLE_EQ(firstCurve[rec.length() - 1], 140.0);

    // One result record for all methods, but each keeps its own events.
    int* uc = QK4_calFhrUC(rec.fhr.data(), rec.uc.data(), rec.fm.data(), rec.length(), kRate);
    EXPECT_EQ(uc, krebs);
    EXPECT_EQ(krebs[40], 0);
    EXPECT_EQ(listOf(QK4_getKrebsLocation()->accelerationStarts), Ints{999});
    EXPECT_EQ(eventCount(QK4_getUCLocation()), 0);
    EXPECT_EQ(QK4_getUCBaseline()->count, rec.length());
}

TEST_F(Exports, DeepDecelerationsAndTheFischerAndAcogRecords) {
    const int* words = run(kAcog, decelerationRecording());
    EXPECT_EQ(words[46], 1);  // decelerations
    EXPECT_EQ(words[41], 1);  // deep ones
    EXPECT_EQ(Ints(words, words + 7), Ints(7, -1));
    EXPECT_EQ(Ints(words + 32, words + 35), (Ints{1, 1, 0}));  // always, in a run

    // The Fischer run smooths the trace over 15 samples: the trigger lies where
    // the ramp first reaches 18 bpm below, far from 30 bpm below.
    words = run(kFischer, decelerationRecording());
    EXPECT_EQ(words[46], 1);
    EXPECT_EQ(words[41], 0);
    EXPECT_EQ(words[6], -1);  // no movement item
    EXPECT_EQ(words[0], words[1] + words[2] + words[3] + words[4] + words[5]);
    const Lines lines = logMessages();
    EXPECT_EQ(lines[lines.size() - 2].substr(lines[lines.size() - 2].rfind(", ")), ", -1");

    // A dip already under way when the spacing first allows a trigger (sample
    // 480) is judged at its floor.
    Recording rec = flatRecording(20);
    fill(rec.fhr, 100, 20, 150);
    fill(rec.fhr, 400, 50 * kRate, 100);
    fill(rec.fhr, 3000, 20, 150);
    words = run(kFischer, rec);
    EXPECT_EQ(words[46], 1);
    EXPECT_EQ(words[41], 1);
}

TEST_F(Exports, ContractionMethodRatesThePeakOfTheFirstFiveMinutes) {
    const int* words = run(kUc, flatRecording(20));
    for (int w : {0, 2, 4, 5, 6, 7, 36, 37, 38, 39, 40, 41, 44, 45, 46, 47, 48, 51, 52}) {
        EXPECT_EQ(words[w], 0) << "word " << w;
    }
    for (int w : {1, 8, 20, 23, 34, 42, 43, 49, 50, 53}) EXPECT_EQ(words[w], -1) << "word " << w;
    EXPECT_EQ(words[3], 140);

    for (const auto& [peak, rating] : {std::pair{30, 0}, {31, 1}, {90, 1}, {91, 2}}) {
        Recording rec = flatRecording(20);
        addContraction(rec.uc, 600, 120, peak);
        addContraction(rec.uc, 1800, 120, 60);
        addContraction(rec.uc, 2700, 120, 95);  // after five minutes: does not count
        addContraction(rec.uc, 3600, 120, 60);
        words = run(kUc, rec);
        ASSERT_NE(words[1], -1) << "too few contractions found";
        EXPECT_EQ(words[7], peak);
        EXPECT_EQ(words[0], rating);
        EXPECT_EQ(words[1], words[4] - words[5]);
        EXPECT_EQ(words[2], words[5] - words[6]);
        EXPECT_GT(words[4], 3600);
        EXPECT_GT(words[6], 2700);
    }

    Recording zero = flatRecording(20, 140, 0);  // a toco of 0 counts as 1
    for (int centre : {1800, 2700, 3600}) addContraction(zero.uc, centre, 120, 60);
    words = run(kUc, zero);
    ASSERT_NE(words[1], -1) << "too few contractions found";
    EXPECT_EQ(words[7], 1);
    EXPECT_EQ(words[0], 0);
}
