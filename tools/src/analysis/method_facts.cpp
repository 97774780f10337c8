#include "analysis/method_facts.h"

#include <cstring>
#include <stdexcept>

namespace ctgtool {

namespace {

using Words = std::vector<ResultWord>;

Words join(const std::vector<Words>& parts) {
    Words all;
    for (const Words& part : parts) all.insert(all.end(), part.begin(), part.end());
    return all;
}

// The items of the Krebs and Fischer scores (words 0..5).
const Words kScores = {{"totalScore", 0, "total score"},
                       {"baselineScore", 1, "baseline item, points"},
                       {"amplitudeScore", 2, "variability amplitude item, points"},
                       {"frequencyScore", 3, "oscillation frequency item, points"},
                       {"accelerationScore", 4, "accelerations item, points"},
                       {"decelerationScore", 5, "decelerations item, points"}};

const ResultWord kBaselineFhr{"baselineFhr", 35, "baseline heart rate, bpm"};
const ResultWord kMovementCount{"movementCount", 51, "number of fetal movements"};

// What the heart-rate analysis measures (words 35..41 and 51).  The Krebs run
// counts every deceleration in word 41; the Fischer and ACOG runs count only
// the deep ones there and every deceleration in word 46.
Words measurements(const char* decelerationMeaning) {
    return {kBaselineFhr,
            {"variabilityAmplitude", 36,
             "variability amplitude: mean peak-to-trough swing between events, bpm (not a "
             "number when no swing qualifies)",
             WordKind::Double},
            {"oscillationFrequency", 38,
             "oscillation frequency: most swings within one 60-sample span", WordKind::Double},
            {"accelerationCount", 40, "number of accelerations"},
            {"decelerationCount", 41, decelerationMeaning},
            kMovementCount};
}

const char* const kDeepDecelerations =
    "number of deep decelerations (30 bpm or more below the baseline)";

// The typing of decelerations against the first contraction (Fischer and ACOG).
const Words kDecelerationTypes = {
    {"decelerationPattern", 42,
     "largest deceleration type found (0 none, 1 early, 2 late or low, 3 delayed, 4 other)"},
    {"decTypeCount1", 44, "number of early decelerations"},
    {"decTypeCount2", 45, "number of late or low decelerations"},
    {"decelerationExtra", 46, "number of decelerations"},
    {"decTypeCount3", 47, "number of delayed decelerations"},
    {"decTypeCount4", 48, "number of other decelerations"}};

const Words kAcogFlags = {
    {"acogBaselineFlags",
     7,
     "baseline flags",
     WordKind::Flags,
     {"110-160 bpm", "above 160 bpm (tachycardia)", "109 bpm or below with variability",
      "109 bpm or below, variability absent"}},
    {"acogVariabilityFlags",
     11,
     "variability flags",
     WordKind::Flags,
     {"moderate (5-25 bpm)", "absent", "minimal (below 5 bpm)", "marked (above 25 bpm)",
      "absent, with bradycardia or recurrent decelerations"}},
    {"acogAccelerationFlags",
     16,
     "acceleration flags",
     WordKind::Flags,
     {"present", "absent", "flag 2", "absent"}},
    {"acogDecFlagsA",
     20,
     "early deceleration flags",
     WordKind::Flags,
     {"early decelerations present", "no early decelerations", "no early decelerations"}},
    {"acogDecFlagsB",
     24,
     "late or low deceleration flags",
     WordKind::Flags,
     {"no late or low decelerations", "recurrent late or low decelerations with variability",
      "decelerations present", "reserved flag",
      "recurrent late or low decelerations, variability absent"}},
    {"acogDecFlagsC",
     29,
     "delayed deceleration flags",
     WordKind::Flags,
     {"no delayed decelerations", "recurrent delayed decelerations, moderate variability",
      "recurrent delayed decelerations, variability absent"}},
    {"acogPatternFlags",
     32,
     "pattern flags",
     WordKind::Flags,
     {"no pattern input", "no pattern input", "pattern input present"}}};

// The contraction method gives words 0..7 meanings of its own.
const Words kContractionWords = {
    {"intensityRating", 0,
     "intensity rating 0-2 from the highest toco value of the first five minutes (above 90: 2, "
     "above 30: 1; 0 with fewer than two contractions)"},
    {"lastEndMinusLastPeak", 1,
     "last contraction end minus last contraction peak, samples (-1 with fewer than two "
     "contractions)"},
    {"lastPeakMinusPreviousEnd", 2,
     "last contraction peak minus the previous contraction's end, samples (0 with fewer than two "
     "contractions)"},
    {"baselineFhrCopy", 3, "baseline heart rate, bpm (copy of word 35)"},
    {"lastContractionEnd", 4,
     "sample of the last contraction's end (0 with fewer than two contractions)"},
    {"lastContractionPeak", 5,
     "sample of the last contraction's peak (0 with fewer than two contractions)"},
    {"previousContractionEnd", 6,
     "sample of the previous contraction's end (0 with fewer than two contractions)"},
    {"peakContraction", 7,
     "highest toco value of the first five minutes (0 with fewer than two contractions)"},
    kBaselineFhr,
    kMovementCount};

}  // namespace

const std::vector<MethodFacts>& methodFacts() {
    static const std::vector<MethodFacts> facts = {
        {Method::Krebs, "krebs", "Krebs", 12, 0,
         join({kScores,
               {{"movementScore", 6, "fetal movements item, points"}},
               measurements("number of decelerations")})},
        {Method::Fischer, "fischer", "Fischer", 10, 0,
         join({kScores,
               {{"strongContractionFlag", 23,
                 "1 when two or more strong contractions were found, else 0"}},
               measurements(kDeepDecelerations),
               kDecelerationTypes})},
        {Method::Acog, "acog", "ACOG", std::nullopt, 35,
         join({kAcogFlags,
               measurements(kDeepDecelerations),
               kDecelerationTypes,
               {{"acogReservedE", 49, "reserved, written as 0"},
                {"acogReservedF", 50, "reserved, written as 0"}}})},
        {Method::Uc, "uc", "Contraction", 2, 0, kContractionWords},
    };
    return facts;
}

const MethodFacts& factsOf(Method method) {
    for (const MethodFacts& facts : methodFacts()) {
        if (facts.method == method) return facts;
    }
    throw std::logic_error("unknown method");
}

const ResultWord& resultWord(Method method, const std::string& name) {
    for (const ResultWord& candidate : factsOf(method).words) {
        if (name == candidate.name) return candidate;
    }
    throw std::logic_error(std::string(factsOf(method).name) + " fills no word " + name);
}

int word(const QK4_FhrResult& record, int index) {
    int value = 0;
    std::memcpy(&value, reinterpret_cast<const char*>(&record) + sizeof(int) * index, sizeof value);
    return value;
}

double wordAsDouble(const QK4_FhrResult& record, int index) {
    double value = 0.0;
    std::memcpy(&value, reinterpret_cast<const char*>(&record) + sizeof(int) * index, sizeof value);
    return value;
}

}  // namespace ctgtool
