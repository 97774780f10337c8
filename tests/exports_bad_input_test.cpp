// Every kind of bad input a host can hand the exported functions, and what it
// gets: the exact log line and an all -1 record for a refused run, or a run
// that completes with a sane record.  Arrays are allocated to exactly the size
// the interface reads, so a sanitizer build catches any read past them.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <string>
#include <vector>

#include "ctgscore.h"
#include "synthetic_recording.h"
#include "test_support.h"

using testing_support::clearLog;
using testing_support::logMessages;
using testing_support::SyntheticRecording;
using testing_support::syntheticRecording;

namespace {

constexpr int kRate = 4;
constexpr int kWords = CTGSCORE_RESULT_WORDS;
constexpr int kDefaults[17] = {4, 3, 17, 17, 120, 18, 18, 120, 6, 6, 24, 15, 10, 10, 60, 1, 300};
constexpr char kRateError[] = "Error : sampling rate must be positive integer";
constexpr char kNullError[] = "Error : input data is null";
constexpr char kRangeError[] = "Error : all heart rate out of range [60,210]";

enum class Method { Krebs, Fischer, Acog, UC };
const Method kAllMethods[] = {Method::Krebs, Method::Fischer, Method::Acog, Method::UC};
const Method kContractionMethods[] = {Method::Fischer, Method::Acog, Method::UC};

std::string nameOf(Method method) {
    switch (method) {
        case Method::Krebs: return "Krebs";
        case Method::Fischer: return "Fischer2";
        case Method::Acog: return "ACOG";
        case Method::UC: return "UC";
    }
    return "";
}

int minimumSamples(Method method, int rate) { return (method == Method::Fischer ? 300 : 60) * rate; }

std::string lengthError(Method method) {
    return std::string("Error : The minimum length is ") + (method == Method::Fischer ? "5" : "1") +
           " minutes";
}

// The arrays a host hands over; a null flag passes a null pointer instead.
struct Input {
    std::vector<int> fhr, uc, fm;
    int length = 0;
    int rate = kRate;
    bool nullFhr = false, nullUc = false, nullFm = false;
};

Input inputFrom(const SyntheticRecording& rec) {
    Input in;
    in.fhr = rec.fhr;
    in.uc = rec.uc;
    in.fm = rec.fm;
    in.length = rec.length();
    in.rate = rec.rate;
    return in;
}

Input recordingOf(int samples, int rate = kRate) { return inputFrom(syntheticRecording(samples, rate)); }

int* call(Method method, const Input& in) {
    const int* fhr = in.nullFhr ? nullptr : in.fhr.data();
    const int* uc = in.nullUc ? nullptr : in.uc.data();
    const int* fm = in.nullFm ? nullptr : in.fm.data();
    switch (method) {
        case Method::Krebs: return QK4_calFhrKrebs(fhr, fm, in.length, in.rate);
        case Method::Fischer: return QK4_calFhrFischer2(fhr, uc, fm, in.length, in.rate);
        case Method::Acog: return QK4_calFhrAcog(fhr, uc, fm, in.length, in.rate);
        case Method::UC: return QK4_calFhrUC(fhr, uc, fm, in.length, in.rate);
    }
    return nullptr;
}

QK4_FhrLocation* locationOf(Method method) {
    switch (method) {
        case Method::Krebs: return QK4_getKrebsLocation();
        case Method::Fischer: return QK4_getFischer2Location();
        case Method::Acog: return QK4_getAcogLocation();
        case Method::UC: return QK4_getUCLocation();
    }
    return nullptr;
}

QK4_FhrBaseline* baselineOf(Method method) {
    switch (method) {
        case Method::Krebs: return QK4_getKrebsBaseline();
        case Method::Fischer: return QK4_getFischer2Baseline();
        case Method::Acog: return QK4_getAcogBaseline();
        case Method::UC: return QK4_getUCBaseline();
    }
    return nullptr;
}

std::vector<int> wordsOf(const int* record) { return std::vector<int>(record, record + kWords); }

void setParameters(const int (&fields)[17]) {
    QK4_FhrParameter record;
    std::memcpy(&record, fields, sizeof record);
    QK4_setParameter(&record);
}

class BadInput : public testing::Test {
protected:
    void SetUp() override {
        setParameters(kDefaults);
        clearLog();
    }

    // Runs one method on a fresh log and returns its record.
    std::vector<int> runLogged(Method method, const Input& in) {
        clearLog();
        return wordsOf(call(method, in));
    }

    static void expectRefused(Method method, const std::vector<int>& words,
                              const std::string& error) {
        EXPECT_EQ(words, std::vector<int>(kWords, -1)) << nameOf(method) << ": " << error;
        const std::vector<std::string> messages = logMessages();
        ASSERT_FALSE(messages.empty());
        EXPECT_EQ(messages.front(), "Type : " + nameOf(method));
        EXPECT_EQ(messages.back(), error) << nameOf(method);
        EXPECT_EQ(std::count(messages.begin(), messages.end(), error), 1);
        // A refused run leaves nothing of an earlier run to export.
        const QK4_FhrLocation* location = locationOf(method);
        EXPECT_EQ(location->accelerationStarts.count + location->accelerationEnds.count +
                      location->decelerationStarts.count + location->decelerationEnds.count,
                  0);
        EXPECT_EQ(baselineOf(method)->count, 0);
    }

    static void expectCompleted(Method method, const std::vector<int>& words, int length) {
        const int doneWord = method == Method::Acog ? 35 : 0;
        EXPECT_NE(words[doneWord], -1) << nameOf(method) << " did not complete";
        const std::vector<std::string> messages = logMessages();
        EXPECT_NE(std::find(messages.begin(), messages.end(), "Score finished"), messages.end())
            << nameOf(method);
        for (const std::string& message : messages) {
            EXPECT_EQ(message.rfind("Error", 0), std::string::npos) << message;
        }
        EXPECT_EQ(baselineOf(method)->count, length) << nameOf(method);
    }
};

// --- sampling rate ---------------------------------------------------------

TEST_F(BadInput, NonPositiveRateIsRefusedBeforeAnyParameterLine) {
    const Input base = recordingOf(5 * 60 * kRate);
    for (Method method : kAllMethods) {
        for (int rate : {0, -1, -4, INT_MIN}) {
            Input in = base;
            in.rate = rate;
            expectRefused(method, runLogged(method, in), kRateError);
            EXPECT_EQ(logMessages(), (std::vector<std::string>{"Type : " + nameOf(method), kRateError}))
                << "rate " << rate;
        }
    }
}

// Rates whose one- or five-minute sample count leaves the int range: wrapped,
// the product would be negative or small and let a short trace through.
TEST_F(BadInput, RateWhoseMinimumLengthOverflowsIsRefused) {
    const Input base = recordingOf(4096);
    for (Method method : kAllMethods) {
        for (int rate : {35791395, 71582789, 7158279, 14316558, INT_MAX}) {
            Input in = base;
            in.rate = rate;
            expectRefused(method, runLogged(method, in), lengthError(method));
        }
    }
}

TEST_F(BadInput, RateOfOneAcceptsExactlyTheMinimumLength) {
    for (Method method : kAllMethods) {
        const Input in = recordingOf(minimumSamples(method, 1), 1);
        expectCompleted(method, runLogged(method, in), in.length);
    }
}

// --- length ----------------------------------------------------------------

TEST_F(BadInput, LengthBelowTheMinimumIsRefusedAndAtOrPastItAccepted) {
    for (Method method : kAllMethods) {
        for (int delta : {-1, 0, 1}) {
            const Input in = recordingOf(minimumSamples(method, kRate) + delta);
            const std::vector<int> words = runLogged(method, in);
            if (delta < 0) {
                expectRefused(method, words, lengthError(method));
            } else {
                expectCompleted(method, words, in.length);
            }
        }
    }
}

TEST_F(BadInput, ZeroAndNegativeLengthsAreRefused) {
    const Input base = recordingOf(10);
    for (Method method : kAllMethods) {
        for (int length : {0, -1, -240, INT_MIN}) {
            Input in = base;
            in.length = length;
            expectRefused(method, runLogged(method, in), lengthError(method));
        }
    }
}

// Every sample is analysed, and the movement channel is read up to its last
// whole second: a mark there is counted.
TEST_F(BadInput, LengthNotAMultipleOfTheRateAnalysesEverySample) {
    for (Method method : kAllMethods) {
        for (int rate : {3, 4, 7}) {
            Input in = recordingOf(minimumSamples(method, rate) + rate - 1, rate);
            in.fm.assign(in.length / rate, 0);
            in.fm.back() = 4;
            const std::vector<int> words = runLogged(method, in);
            expectCompleted(method, words, in.length);
            EXPECT_EQ(words[51], 1) << nameOf(method) << " rate " << rate;
        }
    }
}

// --- null arrays -----------------------------------------------------------

TEST_F(BadInput, NullHeartRateOrContractionTraceIsRefused) {
    const Input base = recordingOf(6 * 60 * kRate);
    for (Method method : kAllMethods) {
        Input in = base;
        in.nullFhr = true;
        expectRefused(method, runLogged(method, in), kNullError);
    }
    for (Method method : kContractionMethods) {
        Input in = base;
        in.nullUc = true;
        expectRefused(method, runLogged(method, in), kNullError);
    }
}

TEST_F(BadInput, NullArraysWithATooShortLengthGetTheLengthError) {
    Input in = recordingOf(30);
    in.nullFhr = in.nullUc = in.nullFm = true;
    for (Method method : kAllMethods) expectRefused(method, runLogged(method, in), lengthError(method));
}

TEST_F(BadInput, NullMovementChannelIsAChannelWithoutMarks) {
    Input in = recordingOf(6 * 60 * kRate);
    in.nullFm = true;
    for (Method method : kAllMethods) {
        const std::vector<int> words = runLogged(method, in);
        expectCompleted(method, words, in.length);
        EXPECT_EQ(words[51], 0) << nameOf(method);
    }
}

// --- heart rate --------------------------------------------------------------

TEST_F(BadInput, HeartRateWithoutOneValidSampleIsRefused) {
    const Input base = recordingOf(6 * 60 * kRate);
    for (int value : {0, -1, 59, 211, 300, INT_MIN, INT_MAX}) {
        Input in = base;
        std::fill(in.fhr.begin(), in.fhr.end(), value);
        for (Method method : kAllMethods) {
            SCOPED_TRACE(value);
            expectRefused(method, runLogged(method, in), kRangeError);
        }
    }
}

// The Fischer method smooths the heart rate before its range check: invalid
// samples of both kinds average into the valid range.
TEST_F(BadInput, AlternatingInvalidSamplesAreRefusedExceptAfterFischerSmoothing) {
    Input in = recordingOf(6 * 60 * kRate);
    for (size_t t = 0; t < in.fhr.size(); ++t) in.fhr[t] = t % 2 == 0 ? 0 : 250;
    for (Method method : {Method::Krebs, Method::Acog, Method::UC}) {
        expectRefused(method, runLogged(method, in), kRangeError);
    }
    expectCompleted(Method::Fischer, runLogged(Method::Fischer, in), in.length);
}

TEST_F(BadInput, FlatHeartRateAtTheRangeLimitsIsAnalysed) {
    Input in = recordingOf(6 * 60 * kRate);
    for (int value : {60, 210}) {
        std::fill(in.fhr.begin(), in.fhr.end(), value);
        for (Method method : kAllMethods) {
            SCOPED_TRACE(value);
            expectCompleted(method, runLogged(method, in), in.length);
        }
    }
}

// Replacing invalid samples by the last valid one (leading ones by the first
// valid one) must give exactly the run of the repaired trace.
void expectSameHeartRateResults(const std::vector<int>& a, const std::vector<int>& b,
                                Method method) {
    if (method == Method::Krebs) {
        EXPECT_EQ(a, b);
        return;
    }
    // The contraction stages carry filter state from run to run: compare the
    // heart-rate words only.
    for (int word : {35, 36, 37, 38, 39, 40, 41, 51}) EXPECT_EQ(a[word], b[word]) << "word " << word;
}

TEST_F(BadInput, InvalidHeartRateSamplesAreHeldAtTheLastValidValue) {
    const Input clean = recordingOf(10 * 60 * kRate);
    Input broken = clean;
    Input repaired = clean;
    const int invalid[] = {0, -1, 59, 211, 300, INT_MIN, INT_MAX};
    // A leading stretch of invalid samples, then invalid samples scattered singly and in runs.
    for (int t = 0; t < 200; ++t) broken.fhr[t] = invalid[t % 7];
    std::fill(repaired.fhr.begin(), repaired.fhr.begin() + 200, clean.fhr[200]);
    for (int t = 300; t < clean.length; t += 97) {
        const int run = 1 + t % 5;
        for (int k = 0; k < run && t + k < clean.length; ++k) {
            broken.fhr[t + k] = invalid[(t + k) % 7];
            repaired.fhr[t + k] = repaired.fhr[t - 1];
        }
    }
    for (Method method : {Method::Krebs, Method::Acog, Method::UC}) {
        SCOPED_TRACE(nameOf(method));
        const std::vector<int> fromRepaired = runLogged(method, repaired);
        const QK4_FhrBaseline repairedCurve = *baselineOf(method);
        const std::vector<int> fromBroken = runLogged(method, broken);
        expectCompleted(method, fromBroken, broken.length);
        expectSameHeartRateResults(fromBroken, fromRepaired, method);
        const QK4_FhrBaseline brokenCurve = *baselineOf(method);
        ASSERT_EQ(brokenCurve.count, repairedCurve.count);
        EXPECT_EQ(std::memcmp(brokenCurve.data, repairedCurve.data, sizeof(double) * brokenCurve.count), 0);
    }
    expectCompleted(Method::Fischer, runLogged(Method::Fischer, broken), broken.length);
}

// --- contraction trace ---------------------------------------------------------

bool isPoints(int value) { return value >= 0 && value <= 2; }

// Scores and flags stay in their ranges; the contraction method's word 7 is the
// highest toco of the first five minutes (0 counted as 1), rated in word 0.
void expectSaneContractionRecord(Method method, const std::vector<int>& words, const Input& in) {
    switch (method) {
        case Method::Fischer:
            for (int k = 1; k <= 5; ++k) EXPECT_TRUE(isPoints(words[k])) << "word " << k;
            break;
        case Method::Acog:
            for (int k = 7; k <= 34; ++k) {
                if (k != 23) {
                    EXPECT_TRUE(words[k] == 0 || words[k] == 1) << "word " << k;
                }
            }
            break;
        case Method::UC: {
            const int window = std::min(in.length, 300 * in.rate);
            int highest = 0;
            for (int t = 0; t < window; ++t) highest = std::max(highest, in.uc[t] == 0 ? 1 : in.uc[t]);
            if (words[1] == -1) {  // fewer than two contraction ends
                EXPECT_EQ(words[7], 0);
            } else {
                EXPECT_EQ(words[7], highest);
            }
            EXPECT_EQ(words[0], words[7] > 90 ? 2 : (words[7] > 30 ? 1 : 0));
            break;
        }
        case Method::Krebs: break;
    }
}

TEST_F(BadInput, ContractionValuesOutsideTheBaselineRangeStillGiveARun) {
    const Input base = recordingOf(10 * 60 * kRate);
    for (int value : {0, -1, -50, 99, 100, 101, 299, 300, 301, INT_MIN, INT_MAX}) {
        Input flat = base;
        std::fill(flat.uc.begin(), flat.uc.end(), value);
        Input spiked = base;
        // A stretch inside the first five minutes and the very end of the trace.
        std::fill(spiked.uc.begin() + 2 * 60 * kRate, spiked.uc.begin() + 2 * 60 * kRate + 40, value);
        std::fill(spiked.uc.end() - 40, spiked.uc.end(), value);
        for (const Input* in : {&flat, &spiked}) {
            for (Method method : kContractionMethods) {
                SCOPED_TRACE(nameOf(method) + " toco " + std::to_string(value));
                const std::vector<int> words = runLogged(method, *in);
                expectCompleted(method, words, in->length);
                expectSaneContractionRecord(method, words, *in);
            }
        }
    }
}

// --- movement words ----------------------------------------------------------

int modeMask(int fmMode) { return fmMode == 0 ? 8 : (fmMode == 2 ? 12 : 4); }

// One mark word in the main scan counts when it has the mode's bit; in the
// last 300 s only a word of exactly 4 or 8 counts, whatever the mode.
TEST_F(BadInput, MovementWordsOfEveryBitPattern) {
    Input in = recordingOf(10 * 60 * kRate);
    const int mainWord = 100, tailWord = 450;
    std::vector<int> words;
    for (int v = 0; v <= 15; ++v) words.push_back(v);
    for (int v : {-1, INT_MIN, INT_MAX, 0x104, 0x7FFFFFF8}) words.push_back(v);
    for (int mode = 0; mode <= 2; ++mode) {
        int fields[17];
        std::copy(std::begin(kDefaults), std::end(kDefaults), fields);
        fields[15] = mode;
        setParameters(fields);
        for (int word : words) {
            for (int position : {mainWord, tailWord}) {
                std::fill(in.fm.begin(), in.fm.end(), 0);
                in.fm[position] = word;
                const bool counts = position == mainWord ? (word & modeMask(mode)) != 0
                                                         : (word == 4 || word == 8);
                EXPECT_EQ(wordsOf(QK4_calFhrKrebs(in.fhr.data(), in.fm.data(), in.length, kRate))[51],
                          counts ? 1 : 0)
                    << "mode " << mode << " word " << word << " at second " << position;
            }
        }
    }
}

// --- parameters --------------------------------------------------------------

struct FieldRange {
    int lower, upper;
};
constexpr FieldRange kRanges[17] = {{2, 10},  {1, 5},    {15, 20}, {15, 20}, {30, 600}, {10, 20},
                                    {10, 20}, {30, 600}, {5, 15},  {5, 15},  {20, 600}, {10, 35},
                                    {5, 15},  {5, 15},   {20, 600}, {0, 2},  {300, 1800}};

bool isCoreField(int field) { return field <= 7 || field == 15 || field == 16; }

std::vector<int> fieldsShown() {
    const QK4_FhrParameter* shown = QK4_getParameter();
    std::vector<int> fields(17);
    std::memcpy(fields.data(), shown, sizeof *shown);
    return fields;
}

std::string parameterLines(const int (&f)[17]) {
    char text[512];
    std::snprintf(text, sizeof text,
                  "Parameter 1: %d, %d,-- %d, %d, %d,-- %d, %d, %d\n"
                  "Parameter 2: %d, %d, %d, %d,-- %d, %d, %d,-- %d, %d",
                  f[0], f[1], f[2], f[3], f[4], f[5], f[6], f[7], f[8], f[9], f[10], f[11], f[12],
                  f[13], f[14], f[15], f[16]);
    return text;
}

// Each field at, just inside and just outside its range and at the int limits:
// stored and shown as given (an unset core field restores every default),
// while the run logs and uses the default in place of an out-of-range value.
TEST_F(BadInput, EveryParameterFieldAtAndBeyondItsRange) {
    const Input in = recordingOf(2 * 60 * kRate);
    for (int field = 0; field < 17; ++field) {
        const FieldRange r = kRanges[field];
        for (int value : {r.lower, r.lower + 1, r.upper - 1, r.upper, r.lower - 1, r.upper + 1, -1,
                          INT_MIN, INT_MAX}) {
            SCOPED_TRACE("field " + std::to_string(field) + " = " + std::to_string(value));
            int given[17];
            std::copy(std::begin(kDefaults), std::end(kDefaults), given);
            given[field] = value;
            setParameters(given);

            const std::vector<int> words = runLogged(Method::Krebs, in);
            expectCompleted(Method::Krebs, words, in.length);
            int used[17];
            std::copy(std::begin(kDefaults), std::end(kDefaults), used);
            if (value >= r.lower && value <= r.upper) used[field] = value;
            const std::vector<std::string> messages = logMessages();
            ASSERT_GE(messages.size(), 3u);
            EXPECT_EQ(messages[1] + "\n" + messages[2], parameterLines(used));

            const bool restored = value == -1 && isCoreField(field);
            EXPECT_EQ(fieldsShown(), restored ? std::vector<int>(std::begin(kDefaults), std::end(kDefaults))
                                              : std::vector<int>(std::begin(given), std::end(given)));
        }
    }
}

TEST_F(BadInput, SettingANullParameterRecordChangesNothing) {
    int given[17];
    std::copy(std::begin(kDefaults), std::end(kDefaults), given);
    given[4] = 45;
    given[10] = 9999;
    setParameters(given);
    QK4_setParameter(nullptr);
    EXPECT_EQ(fieldsShown(), std::vector<int>(std::begin(given), std::end(given)));
}

// --- long recordings ---------------------------------------------------------------

TEST_F(BadInput, EightHourRecordingCompletesForEveryMethod) {
    const Input in = recordingOf(8 * 3600 * kRate);
    ASSERT_EQ(in.length, 115200);
    for (Method method : kAllMethods) {
        const std::vector<int> words = runLogged(method, in);
        expectCompleted(method, words, in.length);
        const QK4_FhrLocation* location = locationOf(method);
        EXPECT_EQ(location->accelerationStarts.count, location->accelerationEnds.count);
        EXPECT_EQ(location->decelerationStarts.count, location->decelerationEnds.count);
        if (method != Method::UC) {
            EXPECT_GT(location->accelerationStarts.count, 0) << nameOf(method);
        }
    }
}

}  // namespace
