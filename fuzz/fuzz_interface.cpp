// Drives the 14 exported functions as a host would, with whatever rate,
// length, parameters and traces the input describes, in the order it chooses,
// and checks every answer against what a host may rely on.
//
// Input layout (see byte_reader.h and trace_decoder.h):
//   rate, length, null-pointer flags, parameter record, action list,
//   then the heart-rate, toco and movement trace sections.
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <vector>

#include "byte_reader.h"
#include "ctgscore.h"
#include "trace_decoder.h"

namespace {

// Baselines cost length x window: keep an input under a few milliseconds.
// Builds for long runs may set a lower bound (CTGSCORE_FUZZ_MAX_SAMPLES).
#ifndef CTGSCORE_FUZZ_MAX_SAMPLES
#define CTGSCORE_FUZZ_MAX_SAMPLES 4096
#endif
constexpr int kMaxSamples = CTGSCORE_FUZZ_MAX_SAMPLES;

void check(bool condition, const char* what) {
    if (condition) return;
    std::fprintf(stderr, "fuzz_interface: %s\n", what);
    std::abort();
}

int decodeRate(ByteReader& in) {
    const uint8_t selector = in.byte();
    if (selector < 200) return 1 + selector % 8;
    // Zero, negatives, and rates whose 60 s or 300 s product leaves the int range.
    static const int kRates[] = {0,   -1,       -4,       INT_MIN, INT_MAX, 16,      60,
                                 240, 35791394, 35791395, 7158278, 7158279, 1 << 30, 100000};
    const unsigned index = selector - 200u;
    if (index < sizeof kRates / sizeof kRates[0]) return kRates[index];
    return in.i32();
}

// Samples the arrays really hold is max(length, 0); the claimed length may be
// negative but never larger.
int decodeLength(ByteReader& in, int rate) {
    const uint8_t mode = in.byte();
    const int64_t minute = static_cast<int64_t>(rate) * 60;
    int64_t length = in.u16() % (kMaxSamples + 1);
    switch (mode) {
        case 250:
            length = -1;
            break;
        case 251:
            length = INT_MIN;
            break;
        case 252:
            length = minute - 1;
            break;
        case 253:
            length = minute;
            break;
        case 254:
            length = 5 * minute - 1;
            break;
        case 255:
            length = 5 * minute;
            break;
        default:
            break;
    }
    if (length > kMaxSamples) length = kMaxSamples;
    if (length < INT_MIN) length = INT_MIN;
    return static_cast<int>(length);
}

struct FieldRange {
    int lower, upper;
};
constexpr FieldRange kRanges[17] = {{2, 10},  {1, 5},    {15, 20},  {15, 20}, {30, 600},  {10, 20},
                                    {10, 20}, {30, 600}, {5, 15},   {5, 15},  {20, 600},  {10, 35},
                                    {5, 15},  {5, 15},   {20, 600}, {0, 2},   {300, 1800}};
constexpr int kDefaults[17] = {4, 3, 17, 17, 120, 18, 18, 120, 6, 6, 24, 15, 10, 10, 60, 1, 300};

QK4_FhrParameter decodeParameters(ByteReader& in) {
    const uint8_t mode = in.byte();
    int fields[17];
    for (int f = 0; f < 17; ++f) {
        if (mode < 64) {
            fields[f] = -1;
        } else if (mode < 128) {
            fields[f] = kDefaults[f];
        } else {
            fields[f] = in.intAround(kRanges[f].lower, kRanges[f].upper);
        }
    }
    QK4_FhrParameter record;
    std::memcpy(&record, fields, sizeof record);
    return record;
}

// What getParameter must show for the record last stored.
QK4_FhrParameter shownParameters(const QK4_FhrParameter& stored) {
    int fields[17];
    std::memcpy(fields, &stored, sizeof fields);
    for (int f : {0, 1, 2, 3, 4, 5, 6, 7, 15, 16}) {
        if (fields[f] == -1) {
            QK4_FhrParameter defaults;
            std::memcpy(&defaults, kDefaults, sizeof defaults);
            return defaults;
        }
    }
    return stored;
}

enum Method { kKrebs, kFischer, kAcog, kUC };

struct Call {
    const int* fhr;
    const int* uc;
    const int* fm;
    int length;
    int rate;
};

bool allHeartRateInvalid(const std::vector<int>& fhr) {
    for (int v : fhr) {
        if (v >= 60 && v <= 210) return false;
    }
    return true;
}

// Whether the run must be refused by one of the input checks that come before
// any analysis.  The Fischer method smooths before its range check, so only
// the other three are predicted there.
bool mustFail(Method method, const Call& call, const std::vector<int>& fhr) {
    if (call.rate < 1) return true;
    const int64_t minutes = method == kFischer ? 5 : 1;
    if (static_cast<int64_t>(call.rate) * 60 * minutes > call.length) return true;
    if (call.fhr == nullptr || (method != kKrebs && call.uc == nullptr)) return true;
    return method != kFischer && allHeartRateInvalid(fhr);
}

bool allWordsMinusOne(const int* words) {
    for (int k = 0; k < CTGSCORE_RESULT_WORDS; ++k) {
        if (words[k] != -1) return false;
    }
    return true;
}

bool isPoints(int value) { return value >= 0 && value <= 2; }

void checkScores(Method method, const int* w) {
    switch (method) {
        case kKrebs: {
            int total = 0;
            for (int k = 1; k <= 6; ++k) {
                check(isPoints(w[k]), "Krebs item outside 0..2");
                total += w[k];
            }
            check(w[0] == total, "Krebs total is not the sum of its items");
            break;
        }
        case kFischer: {
            int total = 0;
            for (int k = 1; k <= 5; ++k) {
                check(isPoints(w[k]), "Fischer item outside 0..2");
                total += w[k];
            }
            check(w[0] == total, "Fischer total is not the sum of its items");
            check(w[6] == -1, "Fischer wrote the movement item");
            break;
        }
        case kAcog:
            check(w[0] == -1, "ACOG wrote word 0");
            for (int k = 7; k <= 34; ++k) {
                if (k != 23) check(w[k] == 0 || w[k] == 1, "ACOG flag is not 0 or 1");
            }
            break;
        case kUC:
            check(isPoints(w[0]), "contraction rating outside 0..2");
            break;
    }
    const int basal = method == kUC ? w[3] : w[35];
    check(basal >= 60 && basal <= 210 && basal % 5 == 0, "baseline bpm off the 5 bpm grid");
    if (method != kUC) {
        check(w[40] >= 0 && w[41] >= 0, "negative event count");
        check(w[51] >= 0, "negative movement count");
    }
}

// Event positions index the host's arrays: they must lie inside the trace of
// the method's last run.
void readLocation(const QK4_FhrLocation* location, Method method, int traceLength) {
    check(location != nullptr, "null location record");
    const QK4_FhrList* lists[] = {&location->accelerationStarts, &location->accelerationEnds,
                                  &location->decelerationStarts, &location->decelerationEnds};
    for (const QK4_FhrList* list : lists) {
        check(list->count >= 0, "negative list count");
        check(list->data != nullptr, "list without storage");
        for (int k = 0; k < list->count; ++k) {
            check(list->data[k] >= 0 && list->data[k] < traceLength, "event outside the trace");
        }
    }
    check(location->accelerationStarts.count == location->accelerationEnds.count,
          "acceleration starts and ends differ in number");
    check(location->decelerationStarts.count == location->decelerationEnds.count,
          "deceleration starts and ends differ in number");
    if (method == kUC) {
        for (const QK4_FhrList* list : lists)
            check(list->count == 0, "contraction method exported events");
    }
}

// Length of the last successful run of each method: its baseline curve has
// one value per sample; after a refused run it is empty.
struct State {
    int curveLength[4] = {0, 0, 0, 0};
    QK4_FhrParameter stored{};
};

void readBaseline(const QK4_FhrBaseline* baseline, Method method, const State& state) {
    check(baseline != nullptr, "null baseline record");
    check(baseline->count == state.curveLength[method], "baseline curve length");
    check(baseline->count == 0 || baseline->data != nullptr, "curve without storage");
    for (int k = 0; k < baseline->count; ++k) {
        const double v = baseline->data[k];
        check(std::isfinite(v) && v >= 0.0 && v <= 300.0, "baseline value outside 0..300");
    }
}

// Each method's run and getters as a host calls them, indexed by Method.
struct MethodEntry {
    int* (*run)(const Call& c);
    QK4_FhrLocation* (*location)();
    QK4_FhrBaseline* (*baseline)();
};

const MethodEntry kMethods[] = {
    {[](const Call& c) { return QK4_calFhrKrebs(c.fhr, c.fm, c.length, c.rate); },
     QK4_getKrebsLocation, QK4_getKrebsBaseline},
    {[](const Call& c) { return QK4_calFhrFischer2(c.fhr, c.uc, c.fm, c.length, c.rate); },
     QK4_getFischer2Location, QK4_getFischer2Baseline},
    {[](const Call& c) { return QK4_calFhrAcog(c.fhr, c.uc, c.fm, c.length, c.rate); },
     QK4_getAcogLocation, QK4_getAcogBaseline},
    {[](const Call& c) { return QK4_calFhrUC(c.fhr, c.uc, c.fm, c.length, c.rate); },
     QK4_getUCLocation, QK4_getUCBaseline},
};

void run(Method method, const Call& call, const std::vector<int>& fhr, State& state) {
    const int* words = kMethods[method].run(call);
    check(words != nullptr, "null result record");
    const bool refused = mustFail(method, call, fhr);
    const bool failed = method == kAcog ? words[35] == -1 : words[0] == -1;
    if (refused) check(failed, "bad input was not refused");
    if (failed) {
        check(allWordsMinusOne(words), "failed run left words other than -1");
        state.curveLength[method] = 0;
        return;
    }
    checkScores(method, words);
    state.curveLength[method] = call.length;
}

// The getter repairs an unset core field in the stored record itself.
void checkShownParameters(State& state) {
    const QK4_FhrParameter expected = shownParameters(state.stored);
    const QK4_FhrParameter* shown = QK4_getParameter();
    check(shown != nullptr, "null parameter record");
    check(std::memcmp(shown, &expected, sizeof expected) == 0, "parameters not shown as stored");
    state.stored = expected;
}

// The library appends to a daily log in the working directory; keep it small.
void trimLog() {
    static unsigned calls = 0;
    if (++calls % 256 != 0) return;
    std::error_code ignored;
    for (const auto& entry : std::filesystem::directory_iterator(".", ignored)) {
        const std::string name = entry.path().filename().string();
        if (name.rfind("FhrScore_", 0) == 0) std::filesystem::remove(entry.path(), ignored);
    }
}

// The process-wide analyzers keep each method's last run between inputs;
// what the checks expect of the getters follows them.
State& processState() {
    static State state;
    return state;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    trimLog();
    ByteReader in(data, size);
    State& state = processState();

    const int rate = decodeRate(in);
    const int length = decodeLength(in, rate);
    const uint8_t nullFlags = in.byte();
    state.stored = decodeParameters(in);
    QK4_setParameter(&state.stored);

    std::vector<uint8_t> actions(1 + in.byte() % 12);
    for (uint8_t& action : actions) action = in.byte();

    const size_t samples = length > 0 ? static_cast<size_t>(length) : 0;
    const size_t words = rate > 0 ? samples / static_cast<size_t>(rate) : 0;
    const std::vector<int> fhr = decodeTrace(in, samples, kHeartRateMap);
    const std::vector<int> uc = decodeTrace(in, samples, kTocoMap);
    const std::vector<int> fm = decodeTrace(in, words, kMovementMap);
    // Null pointers only where the flag says so (values 1, 2 and 4 of the low bits).
    const Call call{(nullFlags & 0x19) == 0x01 ? nullptr : fhr.data(),
                    (nullFlags & 0x1A) == 0x02 ? nullptr : uc.data(),
                    (nullFlags & 0x1C) == 0x04 ? nullptr : fm.data(), length, rate};

    for (uint8_t action : actions) {
        const Method method = static_cast<Method>(action % 4);
        switch ((action / 4) % 5) {
            case 0:
            case 1:
                run(method, call, fhr, state);
                break;
            case 2:
                readLocation(kMethods[method].location(), method, state.curveLength[method]);
                break;
            case 3:
                readBaseline(kMethods[method].baseline(), method, state);
                break;
            case 4:
                if (action & 0x80) QK4_setParameter(nullptr);
                checkShownParameters(state);
                break;
        }
    }
    return 0;
}
