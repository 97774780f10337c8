// The exported interface as a host program uses it: parameters, the four
// analysis runs with their log lines and result records, and the getters.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "ctgscore.h"
#include "test_support.h"

using testing_support::clearLog;
using testing_support::logMessages;

namespace {

constexpr int kRate = 4;
constexpr int kWords = CTGSCORE_RESULT_WORDS;
const QK4_FhrParameter kDefaults = {4, 3,  17, 17, 120, 18, 18, 120, 6,
                                    6, 24, 15, 10, 10,  60, 1,  300};

// What the very first calls of the process returned.  Filled before main, so
// these calls really are the first ones, whichever tests run afterwards.
struct FirstUse {
    QK4_FhrLocation krebsLocation;
    QK4_FhrLocation acogLocation;
    QK4_FhrBaseline ucBaseline;
    QK4_FhrParameter parameters;
};
FirstUse captureFirstUse() {
    FirstUse first{};
    first.krebsLocation = *QK4_getKrebsLocation();
    first.acogLocation = *QK4_getAcogLocation();
    first.ucBaseline = *QK4_getUCBaseline();
    first.parameters = *QK4_getParameter();
    return first;
}
const FirstUse kFirstUse = captureFirstUse();

// A generated recording at kRate samples per second.
struct Recording {
    std::vector<int> fhr, uc, fm;
    int length() const { return static_cast<int>(fhr.size()); }
};

Recording flatRecording(int minutes, int bpm = 140, int toco = 10) {
    const int samples = minutes * 60 * kRate;
    return {std::vector<int>(samples, bpm), std::vector<int>(samples, toco),
            std::vector<int>(samples / kRate, 0)};
}

void fill(std::vector<int>& trace, int first, int count, int value) {
    std::fill(trace.begin() + first, trace.begin() + first + count, value);
}

// A raised-cosine contraction on top of the trace's resting tone, peaking at
// exactly `peak` at sample `centre`.
void addContraction(std::vector<int>& toco, int centre, int halfWidth, int peak) {
    const double rest = toco[centre];
    for (int t = -halfWidth; t <= halfWidth; ++t) {
        const double shape = 0.5 * (1.0 + std::cos(std::acos(-1.0) * t / halfWidth));
        toco[centre + t] = static_cast<int>(std::lround(rest + (peak - rest) * shape));
    }
}

enum class Method { Krebs, Fischer, Acog, UC };

int* runRaw(Method method, const int* fhr, const int* uc, const int* fm, int length, int rate) {
    switch (method) {
        case Method::Krebs:
            return QK4_calFhrKrebs(fhr, fm, length, rate);
        case Method::Fischer:
            return QK4_calFhrFischer2(fhr, uc, fm, length, rate);
        case Method::Acog:
            return QK4_calFhrAcog(fhr, uc, fm, length, rate);
        case Method::UC:
            return QK4_calFhrUC(fhr, uc, fm, length, rate);
    }
    return nullptr;
}

int* run(Method method, const Recording& rec) {
    return runRaw(method, rec.fhr.data(), rec.uc.data(), rec.fm.data(), rec.length(), kRate);
}

QK4_FhrLocation* locationOf(Method method) {
    switch (method) {
        case Method::Krebs:
            return QK4_getKrebsLocation();
        case Method::Fischer:
            return QK4_getFischer2Location();
        case Method::Acog:
            return QK4_getAcogLocation();
        case Method::UC:
            return QK4_getUCLocation();
    }
    return nullptr;
}

QK4_FhrBaseline* baselineOf(Method method) {
    switch (method) {
        case Method::Krebs:
            return QK4_getKrebsBaseline();
        case Method::Fischer:
            return QK4_getFischer2Baseline();
        case Method::Acog:
            return QK4_getAcogBaseline();
        case Method::UC:
            return QK4_getUCBaseline();
    }
    return nullptr;
}

std::string typeLine(Method method) {
    switch (method) {
        case Method::Krebs:
            return "Type : Krebs";
        case Method::Fischer:
            return "Type : Fischer2";
        case Method::Acog:
            return "Type : ACOG";
        case Method::UC:
            return "Type : UC";
    }
    return "";
}

int minimumMinutes(Method method) { return method == Method::Fischer ? 5 : 1; }

std::string methodName(const testing::TestParamInfo<Method>& info) {
    return typeLine(info.param).substr(7);
}

std::string printed(const char* format, std::initializer_list<int> values) {
    std::vector<int> v(values);
    v.resize(9, 0);
    char text[256];
    std::snprintf(text, sizeof text, format, v[0], v[1], v[2], v[3], v[4], v[5], v[6], v[7], v[8]);
    return text;
}

std::vector<std::string> parameterLines(Method method, const QK4_FhrParameter& p) {
    const char* second = method == Method::Fischer
                             ? "Parameter 2: %d, %d, %d, %d,-- %d, %d, %d-- %d, %d"
                             : "Parameter 2: %d, %d, %d, %d,-- %d, %d, %d,-- %d, %d";
    return {printed("Parameter 1: %d, %d,-- %d, %d, %d,-- %d, %d, %d",
                    {p.varAmplitudeMin, p.varCycleMin, p.accMinDuration, p.accMinAmplitude,
                     p.accMinSpacing, p.decMinDuration, p.decMinAmplitude, p.decMinSpacing}),
            printed(second, {p.auxPeakA, p.auxPeakB, p.auxPeakSpan, p.auxPeakD, p.ucPeakA,
                             p.ucPeakB, p.ucPeakSpan, p.fmMode, p.reserved16})};
}

// The log of a run that stopped after the length check with `error`.
std::vector<std::string> stoppedRunLog(Method method, const std::string& error) {
    std::vector<std::string> lines = {typeLine(method)};
    for (const auto& line : parameterLines(method, kDefaults)) lines.push_back(line);
    lines.push_back("Score starting");
    lines.push_back(error);
    return lines;
}

std::string scoreLine(const int* words) {
    return printed("Score : %d, %d, %d, %d, %d, %d, %d",
                   {words[0], words[1], words[2], words[3], words[4], words[5], words[6]});
}

// The complete log of a successful run without events ("Type 4").
std::vector<std::string> successfulRunLog(Method method, const int* words) {
    std::vector<std::string> lines = {typeLine(method)};
    for (const auto& line : parameterLines(method, kDefaults)) lines.push_back(line);
    for (const char* line :
         {"Score starting", "cal_fm begin", "cal_fm end", "update_fhr begin", "update_fhr end",
          "basal_fhr begin", "basal_fhr end", "fhr_baseline begin", "fhr_baseline end"}) {
        lines.push_back(line);
    }
    if (method == Method::UC) {
        lines.insert(lines.end(), {"auto_score begin", "uc end"});
    } else {
        const bool krebs = method == Method::Krebs;
        lines.insert(lines.end(),
                     {"detect_acc begin", "detect_acc end", "detect_dec begin", "detect_dec end",
                      krebs ? "cal_bpm_var begin" : "fhrBas begin", "Type 4", "CalBpmVar",
                      krebs ? "cal_bpm_var end" : "fhrBas end", "auto_score begin"});
    }
    lines.insert(lines.end(), {"auto_score end", "Score finished"});
    if (method != Method::Acog) {
        lines.push_back(scoreLine(words));
        lines.push_back("");  // the score message ends with a newline of its own
    }
    return lines;
}

void expectAllMinusOne(const int* words) {
    ASSERT_NE(words, nullptr);
    for (int w = 0; w < kWords; ++w) EXPECT_EQ(words[w], -1) << "word " << w;
}

std::vector<int> listOf(const QK4_FhrList& list) {
    return std::vector<int>(list.data, list.data + list.count);
}

double wordsAsDouble(const int* words, int first) {
    double value;
    std::memcpy(&value, words + first, sizeof value);
    return value;
}

class ExportsTest : public testing::Test {
protected:
    void SetUp() override {
        QK4_FhrParameter defaults = kDefaults;
        QK4_setParameter(&defaults);
        clearLog();
    }
};

class MethodTest : public ExportsTest, public testing::WithParamInterface<Method> {};

INSTANTIATE_TEST_SUITE_P(AllMethods, MethodTest,
                         testing::Values(Method::Krebs, Method::Fischer, Method::Acog, Method::UC),
                         methodName);

// ---------------------------------------------------------------- facade

TEST(FirstUse, GettersCalledFirstGiveEmptyExportsAndDefaultParameters) {
    EXPECT_EQ(kFirstUse.krebsLocation.accelerationStarts.count, 0);
    EXPECT_EQ(kFirstUse.krebsLocation.accelerationEnds.count, 0);
    EXPECT_EQ(kFirstUse.krebsLocation.decelerationStarts.count, 0);
    EXPECT_EQ(kFirstUse.krebsLocation.decelerationEnds.count, 0);
    EXPECT_EQ(kFirstUse.acogLocation.accelerationStarts.count, 0);
    EXPECT_EQ(kFirstUse.acogLocation.decelerationEnds.count, 0);
    EXPECT_EQ(kFirstUse.ucBaseline.count, 0);
    EXPECT_EQ(std::memcmp(&kFirstUse.parameters, &kDefaults, sizeof kDefaults), 0);
}

TEST_F(ExportsTest, UnsetAuxiliaryFieldIsShownAsMinusOneWhileRunsUseItsDefault) {
    QK4_FhrParameter given = kDefaults;
    given.auxPeakB = -1;
    QK4_setParameter(&given);
    EXPECT_EQ(std::memcmp(QK4_getParameter(), &given, sizeof given), 0);

    const Recording rec = flatRecording(1);
    runRaw(Method::Krebs, rec.fhr.data(), nullptr, rec.fm.data(), rec.length() - 1, kRate);
    EXPECT_EQ(logMessages(),
              stoppedRunLog(Method::Krebs, "Error : The minimum length is 1 minutes"));
    EXPECT_EQ(QK4_getParameter()->auxPeakB, -1);
}

TEST_F(ExportsTest, OutOfRangeFieldsAreStoredAsGivenAndReplacedOnlyInTheRun) {
    QK4_FhrParameter given = kDefaults;
    given.varAmplitudeMin = 11;
    given.ucPeakSpan = 601;
    given.reserved16 = 299;
    given.fmMode = 3;
    QK4_setParameter(&given);
    EXPECT_EQ(std::memcmp(QK4_getParameter(), &given, sizeof given), 0);

    const Recording rec = flatRecording(5);
    run(Method::Acog, rec);  // a full run: validation happens per run
    const auto lines = logMessages();
    ASSERT_GE(lines.size(), 3u);
    EXPECT_EQ(lines[1], parameterLines(Method::Acog, kDefaults)[0]);
    EXPECT_EQ(lines[2], parameterLines(Method::Acog, kDefaults)[1]);
    EXPECT_EQ(std::memcmp(QK4_getParameter(), &given, sizeof given), 0);
}

TEST_F(ExportsTest, AnUnsetCoreFieldMakesTheGetterRestoreEveryDefault) {
    QK4_FhrParameter given = {5, 2, 16, 16, 100, 12, 12, 100, 7, 8, 500, 20, 6, 7, 90, 2, 900};
    given.accMinAmplitude = -1;
    QK4_setParameter(&given);
    EXPECT_EQ(std::memcmp(QK4_getParameter(), &kDefaults, sizeof kDefaults), 0);

    given.accMinAmplitude = 16;
    given.reserved16 = -1;
    QK4_setParameter(&given);
    EXPECT_EQ(std::memcmp(QK4_getParameter(), &kDefaults, sizeof kDefaults), 0);
}

TEST_P(MethodTest, ValidParametersReachTheRunAndItsLog) {
    QK4_FhrParameter given = {10, 1, 15, 20, 30, 10, 20, 600, 5, 15, 20, 35, 5, 15, 20, 0, 1800};
    QK4_setParameter(&given);
    const Recording rec = flatRecording(minimumMinutes(GetParam()));
    runRaw(GetParam(), rec.fhr.data(), rec.uc.data(), rec.fm.data(), rec.length() - 1, kRate);
    const auto lines = logMessages();
    ASSERT_GE(lines.size(), 3u);
    EXPECT_EQ(lines[1], parameterLines(GetParam(), given)[0]);
    EXPECT_EQ(lines[2], parameterLines(GetParam(), given)[1]);
}

TEST_F(ExportsTest, ParameterLinesOfFischerLackOneComma) {
    const Recording rec = flatRecording(5);
    QK4_calFhrFischer2(rec.fhr.data(), rec.uc.data(), rec.fm.data(), 100, kRate);
    QK4_calFhrKrebs(rec.fhr.data(), rec.fm.data(), 100, kRate);
    const auto lines = logMessages();
    ASSERT_EQ(lines.size(), 10u);
    EXPECT_EQ(lines[1], "Parameter 1: 4, 3,-- 17, 17, 120,-- 18, 18, 120");
    EXPECT_EQ(lines[2], "Parameter 2: 6, 6, 24, 15,-- 10, 10, 60-- 1, 300");
    EXPECT_EQ(lines[6], "Parameter 1: 4, 3,-- 17, 17, 120,-- 18, 18, 120");
    EXPECT_EQ(lines[7], "Parameter 2: 6, 6, 24, 15,-- 10, 10, 60,-- 1, 300");
}

// ---------------------------------------------------------------- error paths

TEST_P(MethodTest, NonPositiveRateFailsBeforeTheParameterLines) {
    const Recording rec = flatRecording(5);
    for (int rate : {0, -4}) {
        SCOPED_TRACE(rate);
        clearLog();
        expectAllMinusOne(
            runRaw(GetParam(), rec.fhr.data(), rec.uc.data(), rec.fm.data(), rec.length(), rate));
        EXPECT_EQ(logMessages(),
                  (std::vector<std::string>{typeLine(GetParam()),
                                            "Error : sampling rate must be positive integer"}));
    }
}

TEST_P(MethodTest, OneSampleShortOfTheMinimumLengthFails) {
    const Recording rec = flatRecording(minimumMinutes(GetParam()));
    expectAllMinusOne(
        runRaw(GetParam(), rec.fhr.data(), rec.uc.data(), rec.fm.data(), rec.length() - 1, kRate));
    const std::string error =
        "Error : The minimum length is " + std::to_string(minimumMinutes(GetParam())) + " minutes";
    EXPECT_EQ(logMessages(), stoppedRunLog(GetParam(), error));
}

TEST_P(MethodTest, ExactlyTheMinimumLengthIsAccepted) {
    const Recording rec = flatRecording(minimumMinutes(GetParam()));
    const int* words = run(GetParam(), rec);
    const auto lines = logMessages();
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines.back(), GetParam() == Method::Acog ? "Score finished" : "");
    if (GetParam() != Method::Acog) {
        EXPECT_NE(words[0], -1);
    }
}

TEST_P(MethodTest, RateTooLargeForTheMinimumLengthIsRejectedWithoutOverflow) {
    // rate * 60 (or * 300) wraps to a small positive int in 32 bits.
    const int rate = GetParam() == Method::Fischer ? 14316558 : 71582789;
    const Recording rec = flatRecording(1);
    expectAllMinusOne(
        runRaw(GetParam(), rec.fhr.data(), rec.uc.data(), rec.fm.data(), rec.length(), rate));
    const std::string error =
        "Error : The minimum length is " + std::to_string(minimumMinutes(GetParam())) + " minutes";
    EXPECT_EQ(logMessages(), stoppedRunLog(GetParam(), error));
}

TEST_P(MethodTest, AllSamplesOutOfRangeFailAndEmptyTheExports) {
    // Two values alternate, so that even the smoothed trace of the Fischer run
    // stays out of range.
    for (const auto& pair : {std::pair<int, int>{0, 59}, std::pair<int, int>{211, 300}}) {
        SCOPED_TRACE(pair.first);
        Recording rec = flatRecording(10);
        ASSERT_NE(run(GetParam(), rec)[35], -1);  // a good run first: its results must go

        for (size_t i = 0; i < rec.fhr.size(); ++i) rec.fhr[i] = i % 2 ? pair.first : pair.second;
        clearLog();
        expectAllMinusOne(run(GetParam(), rec));
        EXPECT_EQ(logMessages(),
                  stoppedRunLog(GetParam(), "Error : all heart rate out of range [60,210]"));
        const QK4_FhrLocation* location = locationOf(GetParam());
        EXPECT_EQ(location->accelerationStarts.count + location->accelerationEnds.count +
                      location->decelerationStarts.count + location->decelerationEnds.count,
                  0);
        EXPECT_EQ(baselineOf(GetParam())->count, 0);
    }
}

TEST_P(MethodTest, MissingHeartRateOrContractionTraceFailsTheRun) {
    const Recording rec = flatRecording(5);
    expectAllMinusOne(
        runRaw(GetParam(), nullptr, rec.uc.data(), rec.fm.data(), rec.length(), kRate));
    EXPECT_EQ(logMessages(), stoppedRunLog(GetParam(), "Error : input data is null"));
    if (GetParam() == Method::Krebs) return;  // it takes no contraction trace

    clearLog();
    expectAllMinusOne(
        runRaw(GetParam(), rec.fhr.data(), nullptr, rec.fm.data(), rec.length(), kRate));
    EXPECT_EQ(logMessages(), stoppedRunLog(GetParam(), "Error : input data is null"));
}

TEST_P(MethodTest, MissingMovementChannelCountsNoMovement) {
    const Recording rec = flatRecording(5);
    const int* words =
        runRaw(GetParam(), rec.fhr.data(), rec.uc.data(), nullptr, rec.length(), kRate);
    EXPECT_EQ(words[51], 0);
    EXPECT_EQ(words[35], 140);
}

// ---------------------------------------------------------------- successful runs

TEST_P(MethodTest, EventFreeRunLogsEveryStageInOrder) {
    const Recording rec = flatRecording(20);
    const int* words = run(GetParam(), rec);
    EXPECT_EQ(logMessages(), successfulRunLog(GetParam(), words));
    EXPECT_EQ(words[35], 140);
    EXPECT_EQ(baselineOf(GetParam())->count, rec.length());
}

TEST_F(ExportsTest, LogLinesAreEchoedOnStandardOutput) {
    testing::internal::CaptureStdout();
    QK4_calFhrKrebs(nullptr, nullptr, 100, 0);
    const std::string echoed = testing::internal::GetCapturedStdout();
    std::string written;
    for (const auto& line : testing_support::logLines()) written += line + "\n";
    EXPECT_EQ(echoed, written);
    EXPECT_NE(echoed.find("]  Type : Krebs\n"), std::string::npos);
}

TEST_F(ExportsTest, KrebsScoresAFlatTraceWithoutEvents) {
    const Recording rec = flatRecording(20);
    const int* words = QK4_calFhrKrebs(rec.fhr.data(), rec.fm.data(), rec.length(), kRate);
    // No swing at all: the amplitude is not a number, which scores 2.
    EXPECT_TRUE(std::isnan(wordsAsDouble(words, 36)));
    EXPECT_EQ(wordsAsDouble(words, 38), 0.0);
    EXPECT_EQ(std::vector<int>(words, words + 7), (std::vector<int>{6, 2, 2, 0, 0, 2, 0}));
    EXPECT_EQ(words[40], 0);
    EXPECT_EQ(words[41], 0);
    const QK4_FhrBaseline* baseline = QK4_getKrebsBaseline();
    ASSERT_EQ(baseline->count, rec.length());
    // The weighted mean of a single bin may be off by a rounding step.
    for (int i = 0; i < baseline->count; ++i) ASSERT_DOUBLE_EQ(baseline->data[i], 140.0) << i;
}

// A plateau 20 bpm above 140 for 20 s from sample 1000.
Recording accelerationRecording() {
    Recording rec = flatRecording(20);
    fill(rec.fhr, 1000, 20 * kRate, 160);
    return rec;
}

TEST_F(ExportsTest, KrebsFindsOneAccelerationAroundAPlateau) {
    const Recording rec = accelerationRecording();
    const int* words = QK4_calFhrKrebs(rec.fhr.data(), rec.fm.data(), rec.length(), kRate);
    const QK4_FhrLocation* location = QK4_getKrebsLocation();
    EXPECT_EQ(listOf(location->accelerationStarts), std::vector<int>{999});
    EXPECT_EQ(listOf(location->accelerationEnds), std::vector<int>{1080});
    EXPECT_EQ(location->decelerationStarts.count, 0);
    EXPECT_EQ(location->decelerationEnds.count, 0);
    EXPECT_EQ(words[40], 1);
    EXPECT_EQ(std::vector<int>(words, words + 7), (std::vector<int>{7, 2, 2, 0, 1, 2, 0}));
    const auto lines = logMessages();
    EXPECT_NE(std::find(lines.begin(), lines.end(), "Type 2"), lines.end());
}

TEST_F(ExportsTest, LocationGetterHandsOutFreshArraysAndKeepsEarlierOnesIntact) {
    const Recording rec = accelerationRecording();
    QK4_calFhrKrebs(rec.fhr.data(), rec.fm.data(), rec.length(), kRate);
    QK4_FhrLocation* first = QK4_getKrebsLocation();
    const int* firstStarts = first->accelerationStarts.data;
    const int* firstEnds = first->accelerationEnds.data;
    QK4_FhrBaseline* firstBaseline = QK4_getKrebsBaseline();
    const double* firstCurve = firstBaseline->data;

    QK4_FhrLocation* second = QK4_getKrebsLocation();
    QK4_FhrBaseline* secondBaseline = QK4_getKrebsBaseline();
    EXPECT_EQ(second, first);
    EXPECT_NE(second->accelerationStarts.data, firstStarts);
    EXPECT_NE(second->accelerationEnds.data, firstEnds);
    EXPECT_EQ(secondBaseline, firstBaseline);
    EXPECT_NE(secondBaseline->data, firstCurve);
    EXPECT_EQ(firstStarts[0], 999);
    EXPECT_EQ(firstEnds[0], 1080);
    EXPECT_DOUBLE_EQ(firstCurve[rec.length() - 1], 140.0);
}

TEST_F(ExportsTest, EachMethodKeepsItsOwnEventsButTheResultRecordIsShared) {
    const Recording rec = accelerationRecording();
    int* krebs = QK4_calFhrKrebs(rec.fhr.data(), rec.fm.data(), rec.length(), kRate);
    ASSERT_EQ(krebs[0], 7);
    int* uc = QK4_calFhrUC(rec.fhr.data(), rec.uc.data(), rec.fm.data(), rec.length(), kRate);
    EXPECT_EQ(uc, krebs);
    EXPECT_EQ(krebs[40], 0);  // now the contraction method's record
    EXPECT_EQ(listOf(QK4_getKrebsLocation()->accelerationStarts), std::vector<int>{999});
    const QK4_FhrLocation* ucLocation = QK4_getUCLocation();
    EXPECT_EQ(ucLocation->accelerationStarts.count + ucLocation->accelerationEnds.count +
                  ucLocation->decelerationStarts.count + ucLocation->decelerationEnds.count,
              0);
    EXPECT_EQ(QK4_getUCBaseline()->count, rec.length());
}

TEST_F(ExportsTest, MovementMarksFollowTheMovementModeParameter) {
    Recording rec = flatRecording(20);
    rec.fm[100] = 4;
    rec.fm[500] = 8;
    rec.fm[800] = 4;
    const int* words = QK4_calFhrKrebs(rec.fhr.data(), rec.fm.data(), rec.length(), kRate);
    EXPECT_EQ(words[51], 2);
    EXPECT_EQ(words[6], 1);

    QK4_FhrParameter both = kDefaults;
    both.fmMode = 2;
    QK4_setParameter(&both);
    words = QK4_calFhrKrebs(rec.fhr.data(), rec.fm.data(), rec.length(), kRate);
    EXPECT_EQ(words[51], 3);
}

// 140 bpm with a dip to 110 (30 bpm) for 25 s from sample 2000, and two short
// stretches above the baseline: one before the dip, one more than 90 s after.
Recording decelerationRecording() {
    Recording rec = flatRecording(20);
    fill(rec.fhr, 2000, 25 * kRate, 110);
    fill(rec.fhr, 600, 20, 150);
    fill(rec.fhr, 3000, 20, 150);
    return rec;
}

TEST_F(ExportsTest, KrebsFindsADecelerationAcrossADip) {
    const Recording rec = decelerationRecording();
    const int* words = QK4_calFhrKrebs(rec.fhr.data(), rec.fm.data(), rec.length(), kRate);
    EXPECT_EQ(words[41], 1);
    EXPECT_EQ(words[5], 1);
    const QK4_FhrLocation* location = QK4_getKrebsLocation();
    EXPECT_EQ(listOf(location->decelerationStarts), std::vector<int>{1999});
    EXPECT_EQ(listOf(location->decelerationEnds), std::vector<int>{2100});
    const auto lines = logMessages();
    EXPECT_NE(std::find(lines.begin(), lines.end(), "Type 3"), lines.end());
}

TEST_F(ExportsTest, AcogCountsADipOfThirtyBpmAsDeepWhenTheTraceRisesAroundIt) {
    const int* words = run(Method::Acog, decelerationRecording());
    EXPECT_EQ(words[46], 1);  // decelerations
    EXPECT_EQ(words[41], 1);  // deep ones
}

TEST_F(ExportsTest, FischerJudgesDepthOnTheSmoothedTrace) {
    // The 15-sample average turns the step into a ramp: the trigger lies where
    // the ramp first reaches 18 bpm below, far from 30 bpm below.
    Recording rec = decelerationRecording();
    const int* words = run(Method::Fischer, rec);
    EXPECT_EQ(words[46], 1);
    EXPECT_EQ(words[41], 0);

    // A dip already under way when the spacing first allows a trigger (sample
    // 480) is judged at its floor.
    rec = flatRecording(20);
    fill(rec.fhr, 100, 20, 150);
    fill(rec.fhr, 400, 50 * kRate, 100);
    fill(rec.fhr, 3000, 20, 150);
    words = run(Method::Fischer, rec);
    EXPECT_EQ(words[46], 1);
    EXPECT_EQ(words[41], 1);
}

TEST_F(ExportsTest, FischerLeavesTheMovementScoreUnset) {
    const Recording rec = accelerationRecording();
    const int* words = run(Method::Fischer, rec);
    EXPECT_EQ(words[6], -1);
    EXPECT_EQ(words[0], words[1] + words[2] + words[3] + words[4] + words[5]);
    const auto lines = logMessages();
    ASSERT_GE(lines.size(), 2u);
    EXPECT_EQ(lines[lines.size() - 2].substr(lines[lines.size() - 2].rfind(", ")), ", -1");
}

TEST_F(ExportsTest, AcogPatternFlagsAreAlwaysOneOneZero) {
    for (const Recording& rec :
         {flatRecording(20), accelerationRecording(), decelerationRecording()}) {
        const int* words = run(Method::Acog, rec);
        EXPECT_EQ(std::vector<int>(words + 32, words + 35), (std::vector<int>{1, 1, 0}));
        EXPECT_EQ(std::vector<int>(words, words + 7), std::vector<int>(7, -1));
    }
}

// ---------------------------------------------------------------- contraction method

TEST_F(ExportsTest, ContractionMethodWithoutContractionsFillsZerosButWordOne) {
    const Recording rec = flatRecording(20);
    const int* words = run(Method::UC, rec);
    for (int w : {0, 2, 4, 5, 6, 7, 36, 37, 38, 39, 40, 41, 44, 45, 46, 47, 48, 51, 52}) {
        EXPECT_EQ(words[w], 0) << "word " << w;
    }
    EXPECT_EQ(words[1], -1);
    EXPECT_EQ(words[3], 140);
    EXPECT_EQ(words[35], 140);
    for (int w : {8, 20, 23, 34, 42, 43, 49, 50, 53}) EXPECT_EQ(words[w], -1) << "word " << w;
}

TEST_F(ExportsTest, ContractionMethodRatesThePeakOfTheFirstFiveMinutes) {
    const struct {
        int peak;
        int rating;
    } cases[] = {{30, 0}, {31, 1}, {90, 1}, {91, 2}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.peak);
        Recording rec = flatRecording(20);
        addContraction(rec.uc, 600, 120, c.peak);
        addContraction(rec.uc, 1800, 120, 60);
        addContraction(rec.uc, 2700, 120, 95);  // after five minutes: does not count
        addContraction(rec.uc, 3600, 120, 60);
        const int* words = run(Method::UC, rec);
        ASSERT_NE(words[1], -1) << "too few contractions found";
        EXPECT_EQ(words[7], c.peak);
        EXPECT_EQ(words[0], c.rating);
        EXPECT_EQ(words[1], words[4] - words[5]);
        EXPECT_EQ(words[2], words[5] - words[6]);
        EXPECT_GT(words[4], 3600);
        EXPECT_GT(words[6], 2700);
        EXPECT_EQ(words[3], 140);
    }
}

TEST_F(ExportsTest, ContractionMethodCountsZeroTocoAsOne) {
    Recording rec = flatRecording(20, 140, 0);
    for (int centre : {1800, 2700, 3600}) addContraction(rec.uc, centre, 120, 60);
    const int* words = run(Method::UC, rec);
    ASSERT_NE(words[1], -1) << "too few contractions found";
    EXPECT_EQ(words[7], 1);
    EXPECT_EQ(words[0], 0);
}

}  // namespace
