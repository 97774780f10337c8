// The exported interface as a host program uses it: parameters, the records,
// exports and log lines of the four methods, every kind of bad input, and a
// log that cannot be written, which must leave no file descriptor open.  Arrays
// hold exactly what the interface reads, so a sanitizer build catches any read
// past them (and its leak check any memory a run leaves behind).  Every
// research recording goes through all four methods, and many rounds of runs,
// as a host running for weeks makes, must leave memory flat.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <numeric>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "exported_methods.h"
#include "synthetic_recording.h"
#include "test_support.h"

// AddressSanitizer holds freed memory back in a quarantine, so resident memory
// says nothing about leaks there; its own leak check covers that build, the
// only one its runtime is linked into.
extern "C" void __asan_init() __attribute__((weak));

namespace {

using namespace testing_support;

using Ints = std::vector<int>;
using Lines = std::vector<std::string>;
using Fields = std::array<int, 17>;  // a parameter record, field by field
constexpr int kRate = 4;
constexpr int kWords = CTGSCORE_RESULT_WORDS;
constexpr Fields kDefaults = {4, 3, 17, 17, 120, 18, 18, 120, 6, 6, 24, 15, 10, 10, 60, 1, 300};
const std::string kRateError = "Error : sampling rate must be positive integer";
const std::string kNullError = "Error : input data is null";
const std::string kRangeError = "Error : all heart rate out of range [60,210]";
// The start of the length error, which names the method's shortest recording.
const std::string kLengthError = "Error : The minimum length is ";

Fields fieldsOf(const QK4_FhrParameter* record) {
    Fields fields;
    std::memcpy(fields.data(), record, sizeof *record);
    return fields;
}

void setFields(const Fields& fields) {
    QK4_FhrParameter record;
    std::memcpy(&record, fields.data(), sizeof record);
    QK4_setParameter(&record);
}

Ints listOf(const QK4_FhrList& list) { return Ints(list.data, list.data + list.count); }

// Acceleration starts and ends, deceleration starts and ends.
std::vector<Ints> eventsOf(const QK4_FhrLocation* location) {
    return {listOf(location->accelerationStarts), listOf(location->accelerationEnds),
            listOf(location->decelerationStarts), listOf(location->decelerationEnds)};
}
const std::vector<Ints> kNoEvents(4);

// What the very first calls of the process returned.  Filled before main, so
// these calls really are the first ones, whichever tests run afterwards.
const std::vector<std::vector<Ints>> kFirstEvents = {eventsOf(QK4_getKrebsLocation()),
                                                     eventsOf(QK4_getAcogLocation())};
const int kFirstUcCurveLength = QK4_getUCBaseline()->count;
const Fields kFirstParameters = fieldsOf(QK4_getParameter());

// The arrays a host hands over; a null flag passes a null pointer instead.
struct Input {
    Ints fhr, uc, fm;  // fm: one word per second
    int length = 0, rate = kRate;
    bool nullFhr = false, nullUc = false, nullFm = false;
};

Input synthetic(int samples, int rate = kRate) {
    const auto rec = syntheticRecording(samples, rate);
    return {rec.fhr, rec.uc, rec.fm, samples, rate};
}

// The shortest recording the method analyzes, and `extra` samples more.
Input shortest(const ExportedMethod& method, int rate = kRate, int extra = 0) {
    return synthetic(method.minimumMinutes * 60 * rate + extra, rate);
}

// 20 minutes at 140 bpm on a toco of 10, without marks, with stretches
// {first sample, samples, bpm} of another rate.
Input flatWith(std::initializer_list<std::array<int, 3>> stretches) {
    const int samples = 20 * 60 * kRate;
    Input in{Ints(samples, 140), Ints(samples, 10), Ints(samples / kRate, 0), samples};
    for (const auto& [first, count, bpm] : stretches)
        std::fill_n(in.fhr.begin() + first, count, bpm);
    return in;
}

// A research recording as a host hands it over: one movement word per second,
// the marks of its samples.
Input fromRecording(const Recording& rec) {
    Input in{rec.fhr, rec.uc, Ints(rec.fm.size() / kRate, 0), static_cast<int>(rec.fhr.size())};
    for (size_t s = 0; s < in.fm.size(); ++s)
        for (int k = 0; k < kRate; ++k) in.fm[s] |= rec.fm[s * kRate + k];
    return in;
}

// Everything a host reads back after one run.
struct Outcome {
    Ints words;
    std::vector<Ints> events;
    std::vector<double> baseline;  // never NaN, so == compares the values
    Lines log;
    auto key() const { return std::tie(words, events, baseline, log); }
};

Outcome analyze(const ExportedMethod& method, const Input& in) {
    clearLog();
    const int* words =
        method.run(in.nullFhr ? nullptr : in.fhr.data(), in.nullUc ? nullptr : in.uc.data(),
                   in.nullFm ? nullptr : in.fm.data(), in.length, in.rate);
    const std::vector<Ints> events = eventsOf(method.location());
    const QK4_FhrBaseline& baseline = *method.baseline();
    return {Ints(words, words + kWords), events,
            std::vector<double>(baseline.data, baseline.data + baseline.count), logMessages()};
}

std::string printed(const char* format, const int* v) {
    char text[256];
    std::snprintf(text, sizeof text, format, v[0], v[1], v[2], v[3], v[4], v[5], v[6], v[7], v[8]);
    return text;
}

// The log of a run up to "Score starting".
Lines runHead(const ExportedMethod& method, const Fields& p) {
    return {std::string("Type : ") + method.name,
            printed("Parameter 1: %d, %d,-- %d, %d, %d,-- %d, %d, %d", p.data()),
            printed(method == kFischer ? "Parameter 2: %d, %d, %d, %d,-- %d, %d, %d-- %d, %d"
                                       : "Parameter 2: %d, %d, %d, %d,-- %d, %d, %d,-- %d, %d",
                    p.data() + 8),
            "Score starting"};
}

// The whole log of a completed run.
Lines runLog(const ExportedMethod& method, const Outcome& out, const Fields& used) {
    Lines log = runHead(method, used);
    for (const std::string stage : {"cal_fm", "update_fhr", "basal_fhr", "fhr_baseline"})
        log.insert(log.end(), {stage + " begin", stage + " end"});
    if (method == kUc) {
        log.insert(log.end(), {"auto_score begin", "uc end"});
    } else {
        // The variability stage picks its segments by the kinds of events found.
        const bool acc = !out.events[0].empty(), dec = !out.events[2].empty();
        const char* segments = acc && dec ? "Type 1" : acc ? "Type 2" : dec ? "Type 3" : "Type 4";
        const std::string variability = method == kKrebs ? "cal_bpm_var" : "fhrBas";
        log.insert(log.end(), {"detect_acc begin", "detect_acc end", "detect_dec begin",
                               "detect_dec end", variability + " begin", segments, "CalBpmVar",
                               variability + " end", "auto_score begin"});
    }
    log.insert(log.end(), {"auto_score end", "Score finished"});
    if (method == kAcog) return log;
    // The score message ends with a newline of its own.
    log.insert(log.end(), {printed("Score : %d, %d, %d, %d, %d, %d, %d", out.words.data()), ""});
    return log;
}

// A refused run: every word -1, nothing exported, and a log that ends at the reason.
void expectRefused(const ExportedMethod& method, const Outcome& out, const std::string& error) {
    Lines log = error == kRateError ? Lines{std::string("Type : ") + method.name}
                                    : runHead(method, kDefaults);
    log.push_back(error == kLengthError ? error + std::to_string(method.minimumMinutes) + " minutes"
                                        : error);
    EXPECT_EQ(out.log, log);
    EXPECT_EQ(out.words, Ints(kWords, -1));
    EXPECT_EQ(out.events, kNoEvents);
    EXPECT_TRUE(out.baseline.empty());
}

// A completed run: record, exports and log agree with each other and with the
// input.
void expectCompleted(const ExportedMethod& method, const Outcome& out, const Input& in,
                     const Fields& used = kDefaults) {
    const Ints& w = out.words;
    ASSERT_TRUE(w[35] != -1 && (method == kAcog || w[0] != -1))
        << (out.log.empty() ? "no log" : out.log.back());
    ASSERT_EQ(out.baseline.size(), static_cast<size_t>(in.length));
    const auto [low, high] = std::minmax_element(out.baseline.begin(), out.baseline.end());
    EXPECT_TRUE(*low > 60.0 - 1e-9 && *high < 210.0 + 1e-9) << *low << " " << *high;
    EXPECT_EQ(out.log, runLog(method, out, used));
    if (method == kUc) {
        EXPECT_EQ(out.events, kNoEvents);
        EXPECT_EQ(w[3], w[35]);
        // Word 7: the highest toco of the first five minutes (0 read as 1), word 0
        // its rating; both 0 when fewer than two contractions end (word 1 -1).
        const auto head = in.uc.begin() + std::min(in.length, 300 * in.rate);
        const int highest = std::accumulate(
            in.uc.begin(), head, 0, [](int m, int v) { return std::max(m, v == 0 ? 1 : v); });
        EXPECT_EQ(w[7], w[1] == -1 ? 0 : highest);
        EXPECT_EQ(w[0], w[7] > 90 ? 2 : (w[7] > 30 ? 1 : 0));
        if (w[1] != -1) {
            EXPECT_EQ((Ints{w[1], w[2]}), (Ints{w[4] - w[5], w[5] - w[6]}));
        }
        return;
    }
    // Sorted pairs inside the trace, each as long as the detector demands.
    for (int kind : {0, 2}) {
        const Ints &starts = out.events[kind], &ends = out.events[kind + 1];
        ASSERT_EQ(starts.size(), ends.size());
        EXPECT_TRUE(std::is_sorted(starts.begin(), starts.end()) &&
                    std::is_sorted(ends.begin(), ends.end()));
        for (size_t k = 0; k < starts.size(); ++k) {
            EXPECT_TRUE(starts[k] >= 0 && ends[k] < in.length) << starts[k] << " " << ends[k];
            EXPECT_GE(ends[k] - starts[k], (kind == 0 ? 17 : 18) * in.rate);
        }
    }
    EXPECT_EQ(w[40], static_cast<int>(out.events[0].size()));
    EXPECT_EQ(w[method == kKrebs ? 41 : 46], static_cast<int>(out.events[2].size()));
    if (method == kAcog) {
        EXPECT_EQ(Ints(w.begin(), w.begin() + 7), Ints(7, -1));
        EXPECT_EQ(Ints(w.begin() + 32, w.begin() + 35), (Ints{1, 1, 0}));
    } else {  // the total of the items
        EXPECT_EQ(w[0], std::accumulate(w.begin() + 1, w.begin() + (method == kKrebs ? 7 : 6), 0));
    }
    if (!(method == kKrebs)) {
        EXPECT_LE(w[41], w[46]);  // the deep decelerations are among them
        EXPECT_EQ(w[6], -1);      // no movement item
    }
}

class Exports : public testing::Test {
protected:
    void SetUp() override { setFields(kDefaults); }
};

// A record written as its words, "w*n" for n words w.
Ints record(const std::string& text) {
    Ints words;
    std::istringstream items(text);
    for (std::string item; items >> item;) {
        const size_t star = item.find('*');
        words.insert(words.end(), star == std::string::npos ? 1 : std::stoi(item.substr(star + 1)),
                     std::stoi(item.substr(0, star)));
    }
    return words;
}

// Whole records and events of traces simple enough to follow by hand.
// Words 36-37 of the heart-rate methods hold a NaN amplitude: a trace without
// any swing, which scores 2.
TEST_F(Exports, RecordsAndEventsOfSimpleTraces) {
    const Input flat = flatWith({});
    // A plateau 20 bpm up for 20 s from sample 1000.
    const Input acceleration = flatWith({{1000, 80, 160}});
    // A dip 30 bpm down for 25 s from sample 2000, short stretches up before it
    // and more than 90 s after it.  Fischer smooths the trace over 15 samples:
    // its trigger lies where the ramp first reaches 18 bpm below, far from 30.
    const Input dip = flatWith({{600, 20, 150}, {2000, 100, 110}, {3000, 20, 150}});
    // A dip already under way when the spacing first allows a trigger (sample
    // 480): Fischer judges it at its floor.
    const Input lateDip = flatWith({{100, 20, 150}, {400, 200, 100}, {3000, 20, 150}});
    const struct {
        const Input& input;
        ExportedMethod method;
        const char* words;
        std::vector<Ints> events;
    } cases[] = {
        // clang-format off
        {flat, kKrebs, "6 2 2 0 0 2 0 -1*28 140 0 -524288 0 0 0 0 -1*9 0 -1 -1", kNoEvents},
        {flat, kFischer, "6 2 2 0 0 2 -1*17 0 -1*11 140 0 -524288 0 0 0 0 0 -1 0*5 -1 -1 0 -1 -1", kNoEvents},
        {flat, kAcog, "-1*7 1 0 0 0 0*5 0 1 0 1 0 1 1 -1 1 0*4 1 0 0 1 1 0 140 0 -524288 0 0 0 0 0 -1 0*8 -1 -1", kNoEvents},
        {flat, kUc, "0 -1 0 140 0 0 0 0 -1*27 140 0*6 -1 -1 0*5 -1 -1 0 0 -1", kNoEvents},
        {acceleration, kKrebs, "7 2 2 0 1 2 0 -1*28 140 0 -524288 0 0 1 0 -1*9 0 -1 -1", {{999}, {1080}, {}, {}}},
        {acceleration, kFischer, "6 2 2 0 0 2 -1*17 0 -1*11 140 0 -524288 0 0 1 0 0 -1 0*5 -1 -1 0 -1 -1", {{1001}, {1092}, {}, {}}},
        {acceleration, kAcog, "-1*7 1 0 0 0 0*5 1 0 0 0 0 1 1 -1 1 0*4 1 0 0 1 1 0 140 0 -524288 0 0 1 0 0 -1 0*8 -1 -1", {{999}, {1080}, {}, {}}},
        {dip, kKrebs, "5 2 2 0 0 1 0 -1*28 140 0 -524288 0 0 0 1 -1*9 0 -1 -1", {{}, {}, {1999}, {2100}}},
        {dip, kFischer, "4 2 2 0 0 0 -1*17 0 -1*11 140 0 -524288 0 0 0 0 0 -1 0 0 1 0 0 -1 -1 0 -1 -1", {{}, {}, {2000}, {2113}}},
        {dip, kAcog, "-1*7 1 0 0 0 0*5 0 1 0 1 0 1 1 -1 1 0*4 1 0 0 1 1 0 140 0 -524288 0 0 0 1 0 -1 0 0 1 0*5 -1 -1", {{}, {}, {1999}, {2100}}},
        {lateDip, kFischer, "4 2 2 0 0 0 -1*17 0 -1*11 140 0 -524288 0 0 0 1 0 -1 0 0 1 0 0 -1 -1 0 -1 -1", {{}, {}, {399}, {481}}},
        // clang-format on
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.method.name) + ", case " + std::to_string(&c - cases));
        const Outcome out = analyze(c.method, c.input);
        expectCompleted(c.method, out, c.input);
        EXPECT_EQ(out.words, record(c.words));
        EXPECT_EQ(out.events, c.events);
        if (&c.input == &flat) {
            for (double value : out.baseline) ASSERT_DOUBLE_EQ(value, 140.0);
        }
    }
}

// Each getter call hands out fresh arrays in the same record and keeps the
// earlier ones; the result record is shared, the events are each method's own.
TEST_F(Exports, GettersHandOutFreshArraysAndEachMethodKeepsItsOwnEvents) {
    // Called first, they give empty exports and the default parameters.
    EXPECT_EQ(kFirstEvents, (std::vector<std::vector<Ints>>{kNoEvents, kNoEvents}));
    EXPECT_EQ(kFirstUcCurveLength, 0);
    EXPECT_EQ(kFirstParameters, kDefaults);
    const Input in = flatWith({{1000, 80, 160}});
    int* krebs = QK4_calFhrKrebs(in.fhr.data(), in.fm.data(), in.length, kRate);
    QK4_FhrLocation* location = QK4_getKrebsLocation();
    const int* starts = location->accelerationStarts.data;
    const double* curve = QK4_getKrebsBaseline()->data;
    EXPECT_EQ(QK4_getKrebsLocation(), location);
    EXPECT_TRUE(location->accelerationStarts.data != starts &&
                QK4_getKrebsBaseline()->data != curve);
    EXPECT_EQ(std::pair(starts[0], curve[in.length - 1]), std::pair(999, 140.0));

    EXPECT_EQ(QK4_calFhrUC(in.fhr.data(), in.uc.data(), in.fm.data(), in.length, kRate), krebs);
    EXPECT_EQ(listOf(QK4_getKrebsLocation()->accelerationStarts), Ints{999});
    EXPECT_EQ(QK4_getUCLocation()->accelerationStarts.count, 0);
}

// --- bad input --------------------------------------------------------------------

const std::vector<ExportedMethod> kAll = {kKrebs, kFischer, kAcog, kUc};
const std::vector<ExportedMethod> kWithToco = {kFischer, kAcog, kUc};

struct BadInputCase {
    std::string what;
    Ints values;  // the change is made with each of them
    std::function<void(Input&, const ExportedMethod&, int value)> change;  // of 10 minutes
    std::string error;  // "" when the run completes
    std::vector<ExportedMethod> methods = kAll;
    std::function<int(int value)> movements = nullptr;  // word 51 of a completed run
    int fmMode = 1;                                     // the default
};

const auto setRate = [](Input& in, auto&, int rate) { in.rate = rate; };
const auto plusSamples = [](Input& in, auto& method, int extra) {
    in = shortest(method, kRate, extra);
};
const auto fillHeartRate = [](Input& in, auto&, int bpm) { in.fhr.assign(in.fhr.size(), bpm); };
const auto alternate = [](Input& in, auto&, int) {
    for (size_t t = 0; t < in.fhr.size(); ++t) in.fhr[t] = t % 2 == 0 ? 0 : 250;
};
const Ints kTocoValues = {0, -1, -50, 99, 100, 101, 299, 300, 301, INT_MIN, INT_MAX};
const Ints kMarkWords = {0,  1,  2,  3,  4,  5,  6,       7,       8,     9,         10,
                         11, 12, 13, 14, 15, -1, INT_MIN, INT_MAX, 0x104, 0x7FFFFFF8};
const auto markOnlyAt = [](int second) {
    return [second](Input& in, auto&, int word) {
        in.fm.assign(in.fm.size(), 0);
        in.fm[second] = word;
    };
};

// clang-format off
const BadInputCase kBadInputs[] = {
    {"rate", {0, -1, -4, INT_MIN}, setRate, kRateError},
    // Rates whose one- or five-minute sample count leaves the int range: wrapped,
    // the product would be negative or small and let a short trace through.
    {"rate", {35791395, 71582789, 7158279, 14316558, INT_MAX}, setRate, kLengthError},
    {"length", {0, -1, -240, INT_MIN}, [](Input& in, auto&, int n) { in.length = n; }, kLengthError},
    {"samples past the shortest recording", {-1}, plusSamples, kLengthError},
    {"samples past the shortest recording", {0, 1}, plusSamples, ""},
    // Every sample is analyzed, and the marks are read up to the last whole
    // second: a mark there is counted.
    {"rate - 1 samples past the shortest recording at rate", {1, 3, 4, 7}, [](Input& in, auto& method, int rate) {
         in = shortest(method, rate, rate - 1);
         in.fm.assign(in.length / rate, 0);
         in.fm.back() = 4;
     }, "", kAll, [](int) { return 1; }},
    {"null heart rate", {0}, [](Input& in, auto&, int) { in.nullFhr = true; }, kNullError},
    {"null toco", {0}, [](Input& in, auto&, int) { in.nullUc = true; }, kNullError, kWithToco},
    {"null arrays, samples", {30}, [](Input& in, auto&, int n) { in.length = n; in.nullFhr = in.nullUc = in.nullFm = true; }, kLengthError},
    {"null marks", {0}, [](Input& in, auto&, int) { in.nullFm = true; }, "", kAll, [](int) { return 0; }},
    // A mark word counts in the main scan when it has the bit of fmMode (0: 8,
    // 1: 4, 2: either), in the last 300 s only when it is exactly 4 or 8.
    {"mark word at second 100", kMarkWords, markOnlyAt(100), "", kAll, [](int word) { return (word & 4) != 0; }},
    {"mark word at second 100, fmMode 0", kMarkWords, markOnlyAt(100), "", kAll, [](int word) { return (word & 8) != 0; }, 0},
    {"mark word at second 100, fmMode 2", kMarkWords, markOnlyAt(100), "", kAll, [](int word) { return (word & 12) != 0; }, 2},
    {"mark word at second 450", kMarkWords, markOnlyAt(450), "", kAll, [](int word) { return word == 4 || word == 8; }},
    {"heart rate", {0, -1, 59, 211, 300, INT_MIN, INT_MAX}, fillHeartRate, kRangeError},
    {"heart rate", {60, 210}, fillHeartRate, ""},
    {"heart rate alternating 0 and 250", {0}, alternate, kRangeError, {kKrebs, kAcog, kUc}},
    // Fischer tests the range after its 15-sample average.
    {"heart rate alternating 0 and 250", {0}, alternate, "", {kFischer}},
    // Toco outside the contraction baseline's range, throughout, and in a
    // stretch of the first five minutes and at the very end.
    {"toco", kTocoValues, [](Input& in, auto&, int v) { std::fill(in.uc.begin(), in.uc.end(), v); }, "", kWithToco},
    {"toco stretches", kTocoValues, [](Input& in, auto&, int v) {
         std::fill_n(in.uc.begin() + 2 * 60 * kRate, 40, v);
         std::fill_n(in.uc.end() - 40, 40, v);
     }, "", kWithToco},
    // The contraction method's peak of the first five minutes counts a toco of 0
    // as 1, and ends at 300 s whatever the rate.
    {"toco stretch at six minutes, rate", {2}, [](Input& in, auto&, int rate) {
         in = synthetic(20 * 60 * rate, rate);
         std::fill_n(in.uc.begin() + 6 * 60 * rate, 40, 95);
     }, "", kWithToco},
    {"minutes of toco 0 before the contractions", {5}, [](Input& in, auto&, int minutes) {
         in = synthetic(20 * 60 * kRate);
         std::fill_n(in.uc.begin(), minutes * 60 * kRate, 0);
     }, "", kWithToco},
    {"hours", {8}, [](Input& in, auto&, int hours) { in = synthetic(hours * 3600 * kRate); }, ""},
};
// clang-format on

// Every kind of bad input a host can hand over, and what it gets: a refused run
// (after a completed one, whose exports it must not leave behind) or a run that
// completes.
TEST_F(Exports, EachKindOfBadInputGetsItsAnswer) {
    const Input base = synthetic(10 * 60 * kRate);
    for (const BadInputCase& c : kBadInputs) {
        Fields fields = kDefaults;
        fields[15] = c.fmMode;
        setFields(fields);
        for (int value : c.values) {
            for (const ExportedMethod& method : c.methods) {
                SCOPED_TRACE(c.what + " " + std::to_string(value) + ", " + method.name);
                Input in = base;
                c.change(in, method, value);
                if (c.error.empty()) {
                    const Outcome out = analyze(method, in);
                    expectCompleted(method, out, in, fields);
                    if (c.movements) {
                        EXPECT_EQ(out.words[51], c.movements(value));
                    }
                } else {
                    analyze(method, base);
                    expectRefused(method, analyze(method, in), c.error);
                }
            }
        }
    }
}

// Each field at, just inside and just outside its range and at the int limits:
// stored and shown as given (-1 in a core field restores every default), while
// every method logs and uses the default in place of an out-of-range value.  A
// null record changes nothing.
TEST_F(Exports, EveryParameterFieldAtAndBeyondItsRange) {
    constexpr std::pair<int, int> kRanges[17] = {
        {2, 10}, {1, 5},    {15, 20}, {15, 20}, {30, 600}, {10, 20},  {10, 20}, {30, 600},  {5, 15},
        {5, 15}, {20, 600}, {10, 35}, {5, 15},  {5, 15},   {20, 600}, {0, 2},   {300, 1800}};
    for (int field = 0; field < 17; ++field) {
        const auto [lower, upper] = kRanges[field];
        for (int value :
             {lower, lower + 1, upper - 1, upper, lower - 1, upper + 1, -1, INT_MIN, INT_MAX}) {
            SCOPED_TRACE("field " + std::to_string(field) + " = " + std::to_string(value));
            Fields given = kDefaults, used = kDefaults;
            given[field] = value;
            if (value >= lower && value <= upper) used[field] = value;
            setFields(given);
            QK4_setParameter(nullptr);  // ignored
            for (const ExportedMethod& method : kExportedMethods) {
                const Input in = shortest(method);
                expectCompleted(method, analyze(method, in), in, used);
            }
            const bool core = field <= 7 || field >= 15;  // -1 there restores every default
            EXPECT_EQ(fieldsOf(QK4_getParameter()), value == -1 && core ? kDefaults : given);
        }
    }
}

// --- the run log ------------------------------------------------------------------

// The records of all four methods, and what their runs echoed.
std::pair<std::vector<Ints>, std::string> runEchoed(const Input& in) {
    testing::internal::CaptureStdout();
    std::vector<Ints> records;
    for (const ExportedMethod& method : kExportedMethods) {
        const int* words =
            method.run(in.fhr.data(), in.uc.data(), in.fm.data(), in.length, in.rate);
        records.emplace_back(words, words + kWords);
    }
    return {records, testing::internal::GetCapturedStdout()};
}

long openDescriptors() {
    const std::filesystem::directory_iterator entries("/proc/self/fd");
    return std::distance(begin(entries), end(entries));
}

// Each run appends its lines to the daily file and echoes them on standard
// output.  When the file cannot be opened or written, every run still
// completes, returns the same record, still echoes its lines and leaves no
// descriptor open.
TEST_F(Exports, RunLogGoesToTheDailyFileAndStandardOutputAndItsFaultsChangeNoRun) {
    const Input in = synthetic(10 * 60 * kRate);
    runEchoed(in);  // settles the contraction filter state that carries over from call to call
    clearLog();
    const std::time_t start = std::time(nullptr);
    const auto [healthy, healthyEcho] = runEchoed(in);
    std::ostringstream written;
    written << std::ifstream(todaysLogName()).rdbuf();
    EXPECT_EQ(written.str(), healthyEcho);

    namespace fs = std::filesystem;
    const fs::path home = fs::current_path();
    const long descriptors = openDescriptors();
    for (const bool fullDevice : {false, true}) {
        SCOPED_TRACE(fullDevice ? "full device" : "directory");
        if (fullDevice && !fs::exists("/dev/full")) continue;
        const fs::path dir = home / (fullDevice ? "full" : "taken");
        fs::create_directory(dir);
        ASSERT_EQ(chdir(dir.c_str()), 0);
        // Today's and tomorrow's log, so a run across midnight meets the same fault.
        for (const std::time_t day : {start, start + 24 * 3600}) {
            const std::string name = logNameOn(day);
            // A directory in the file's place stops opening, for root as well as any
            // other user; on a full device every write fails.
            fullDevice ? fs::create_symlink("/dev/full", name) : void(fs::create_directory(name));
        }
        const auto [records, echoed] = runEchoed(in);
        ASSERT_EQ(chdir(home.c_str()), 0);
        EXPECT_EQ(records, healthy);
        EXPECT_NE(echoed.find("]  Type : Krebs\n"), std::string::npos);
        EXPECT_NE(echoed.find("]  Score finished\n"), std::string::npos);
        EXPECT_EQ(openDescriptors(), descriptors);
    }
}

// --- research recordings ----------------------------------------------------------

// Every research recording through all four methods in one process, as a
// viewer of stored recordings would run them (CTGSCORE_RECORDINGS_LIMIT, in
// minutes, keeps to the shorter ones).
TEST_F(Exports, EveryResearchRecordingRunsThroughAllFourMethods) {
    const std::vector<Recording> recordings = researchRecordings();
    if (recordings.empty()) GTEST_SKIP() << "no research recording within the limit";
    for (const Recording& rec : recordings) {
        SCOPED_TRACE(rec.name);
        const Input in = fromRecording(rec);
        // Recordings that are all signal loss must fail, and only those.
        const bool hopeless =
            std::none_of(in.fhr.begin(), in.fhr.end(), [](int v) { return v >= 60 && v <= 210; });
        const Outcome krebs = analyze(kKrebs, in);
        for (const ExportedMethod& method : kExportedMethods) {
            SCOPED_TRACE(method.name);
            const Outcome out = analyze(method, in);
            hopeless ? expectRefused(method, out, kRangeError) : expectCompleted(method, out, in);
        }
        // Again, after the other methods: nothing may carry over.
        EXPECT_TRUE(analyze(kKrebs, in).key() == krebs.key());
    }
}

// --- long use ---------------------------------------------------------------------

long residentBytes() {
    long size = 0, resident = 0;
    std::ifstream("/proc/self/statm") >> size >> resident;
    return resident * sysconf(_SC_PAGESIZE);
}

// One round: all four methods on a recording that changes by one sample from
// round to round, as a monitor's would, so no run can be served a curve kept
// from an earlier one, and all eight getters.  Returns the bytes of the arrays
// the getters handed out (kept for the life of the process by design).
long runRound() {
    static Input in = synthetic(20 * 60 * kRate);
    static size_t round = 0;
    const size_t t = (round++ * 7919) % in.fhr.size();
    in.fhr[t] ^= 1;
    in.uc[t] ^= 1;
    long bytes = 0;
    for (const ExportedMethod& method : kExportedMethods) {
        method.run(in.fhr.data(), in.uc.data(), in.fm.data(), in.length, in.rate);
        // Each getter refills the one shared export record: read it before the next call.
        const QK4_FhrLocation& l = *method.location();
        bytes += sizeof(int) * (l.accelerationStarts.count + l.accelerationEnds.count +
                                l.decelerationStarts.count + l.decelerationEnds.count);
        bytes += sizeof(double) * method.baseline()->count;
    }
    return bytes;
}

// Every getter call keeps its arrays: the growth over the rounds, measured
// after a warm-up that lets the allocator reach its working size, must be
// theirs and no more (each array also costs the allocator a header and the
// library a pointer, and the heap some slack).  CTGSCORE_LONG_USE_RUNS sets
// the number of rounds.
TEST(LongUse, MemoryGrowsOnlyByTheArraysTheGettersHandOutAndNoDescriptorLeaks) {
    const bool quarantinedHeap = __asan_init != nullptr;
    const char* wanted = std::getenv("CTGSCORE_LONG_USE_RUNS");
    const int rounds =
        wanted && std::atoi(wanted) > 0 ? std::atoi(wanted) : (quarantinedHeap ? 50 : 300);
    testing::internal::CaptureStdout();  // the library echoes every log line
    for (int k = 0; k < 20; ++k) runRound();
    clearLog();
    const long residentBefore = residentBytes();
    const long descriptorsBefore = openDescriptors();
    long retained = 0;
    for (int k = 0; k < rounds; ++k) {
        retained += runRound();
        clearLog();  // the daily log would otherwise grow by a few kB a round
    }
    const long growth = residentBytes() - residentBefore;
    const long descriptors = openDescriptors() - descriptorsBefore;
    testing::internal::GetCapturedStdout();
    const long overhead = 20L * rounds * 48, slack = 4L << 20;  // 20 arrays a round
    if (!quarantinedHeap) {
        EXPECT_LT(growth, retained + overhead + slack);
    }
    EXPECT_EQ(descriptors, 0);
}

}  // namespace
