#include "report.h"

#include <cmath>
#include <cstdio>
#include <cstring>
#include <ctime>

namespace ctgtool {

namespace {

using json = nlohmann::ordered_json;

// ---- result words -----------------------------------------------------------

enum class Kind { Int, Double, Flags };

struct WordSpec {
    const char* name;
    int index;
    Kind kind = Kind::Int;
    int count = 1;  // number of flags for Kind::Flags
};

// The words each method fills, under the names of the result record.  The
// contraction method gives words 0..7 meanings of its own.
const std::vector<WordSpec>& wordsOf(Method method) {
    static const std::vector<WordSpec> stageWords = {{"baselineFhr", 35},
                                                     {"variabilityAmplitude", 36, Kind::Double},
                                                     {"oscillationFrequency", 38, Kind::Double},
                                                     {"accelerationCount", 40},
                                                     {"decelerationCount", 41},
                                                     {"movementCount", 51}};
    static const std::vector<WordSpec> decelerationTypes = {
        {"decelerationPattern", 42}, {"decTypeCount1", 44}, {"decTypeCount2", 45},
        {"decelerationExtra", 46},   {"decTypeCount3", 47}, {"decTypeCount4", 48}};
    static const auto join = [](std::vector<std::vector<WordSpec>> parts) {
        std::vector<WordSpec> all;
        for (const auto& part : parts) all.insert(all.end(), part.begin(), part.end());
        return all;
    };
    static const std::vector<WordSpec> scores = {
        {"totalScore", 0},     {"baselineScore", 1},     {"amplitudeScore", 2},
        {"frequencyScore", 3}, {"accelerationScore", 4}, {"decelerationScore", 5}};
    static const std::vector<WordSpec> krebs = join({scores, {{"movementScore", 6}}, stageWords});
    static const std::vector<WordSpec> fischer =
        join({scores, {{"strongContractionFlag", 23}}, stageWords, decelerationTypes});
    static const std::vector<WordSpec> acog =
        join({{{"acogBaselineFlags", 7, Kind::Flags, 4},
               {"acogVariabilityFlags", 11, Kind::Flags, 5},
               {"acogAccelerationFlags", 16, Kind::Flags, 4},
               {"acogDecFlagsA", 20, Kind::Flags, 3},
               {"acogDecFlagsB", 24, Kind::Flags, 5},
               {"acogDecFlagsC", 29, Kind::Flags, 3},
               {"acogPatternFlags", 32, Kind::Flags, 3}},
              stageWords,
              decelerationTypes,
              {{"acogReservedE", 49}, {"acogReservedF", 50}}});
    static const std::vector<WordSpec> uc = {
        {"intensityRating", 0},        {"lastEndMinusLastPeak", 1}, {"lastPeakMinusPreviousEnd", 2},
        {"baselineFhrCopy", 3},        {"lastContractionEnd", 4},   {"lastContractionPeak", 5},
        {"previousContractionEnd", 6}, {"peakContraction", 7},      {"baselineFhr", 35},
        {"movementCount", 51}};
    switch (method) {
        case Method::Krebs:
            return krebs;
        case Method::Fischer:
            return fischer;
        case Method::Acog:
            return acog;
        case Method::Uc:
            return uc;
    }
    return krebs;
}

json flagsAt(const QK4_FhrResult& record, int first, int count) {
    json flags = json::array();
    for (int i = 0; i < count; ++i) flags.push_back(word(record, first + i));
    return flags;
}

json namedWords(const MethodResult& result) {
    json words = json::object();
    for (const WordSpec& field : wordsOf(result.method)) {
        switch (field.kind) {
            case Kind::Int:
                words[field.name] = word(result.record, field.index);
                break;
            case Kind::Double:
                words[field.name] = wordAsDouble(result.record, field.index);
                break;
            case Kind::Flags:
                words[field.name] = flagsAt(result.record, field.index, field.count);
                break;
        }
    }
    return words;
}

// ---- wording ------------------------------------------------------------------

std::string pointsText(int points) {
    return points == 1 ? "1 point" : std::to_string(points) + " points";
}

std::string countText(int count, const std::string& thing) {
    if (count == 0) return "no " + thing + "s";
    return std::to_string(count) + " " + thing + (count == 1 ? "" : "s");
}

std::string decimal(double value, int digits) {
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", digits, value);
    return text;
}

json item(const std::string& key, const std::string& text) {
    return {{"item", key}, {"text", text}};
}

json scoredItem(const std::string& key, const std::string& finding, int points) {
    return {{"item", key}, {"points", points}, {"text", finding + ": " + pointsText(points)}};
}

std::string amplitudeText(double amplitude) {
    if (std::isnan(amplitude)) return "variability amplitude not measurable";
    return "variability amplitude " + decimal(amplitude, 1) + " bpm";
}

// The Krebs run stores the number of decelerations in word 41.  The Fischer
// and ACOG runs store it in word 46 (decelerationExtra) and the number of deep
// ones (30 bpm or more below the baseline) in word 41.
std::string decelerationText(const QK4_FhrResult& record, Method method) {
    if (method == Method::Krebs) return countText(record.decelerationCount, "deceleration");
    const int deep = record.decelerationCount;
    return countText(record.decelerationExtra, "deceleration") + ", " +
           (deep == 0 ? std::string("none") : std::to_string(deep)) + " deep";
}

// The heart-rate items that the Krebs and Fischer scores share (words 1..6).
json heartRateItems(const QK4_FhrResult& record, Method method) {
    json items = json::array();
    items.push_back(scoredItem("baseline",
                               "baseline " + std::to_string(record.baselineFhr) + " bpm",
                               record.baselineScore));
    items.push_back(scoredItem("variability_amplitude", amplitudeText(record.variabilityAmplitude),
                               record.amplitudeScore));
    items.push_back(scoredItem("oscillation_frequency",
                               "oscillation frequency " + decimal(record.oscillationFrequency, 0),
                               record.frequencyScore));
    items.push_back(scoredItem("accelerations", countText(record.accelerationCount, "acceleration"),
                               record.accelerationScore));
    items.push_back(
        scoredItem("decelerations", decelerationText(record, method), record.decelerationScore));
    if (method == Method::Krebs) {
        items.push_back(scoredItem("movements", countText(record.movementCount, "fetal movement"),
                                   record.movementScore));
    }
    return items;
}

// The typing of decelerations against the first contraction runs only when
// word 41 is above 0.
json decelerationTypes(const QK4_FhrResult& record) {
    return item("deceleration_types",
                "deceleration types: " + std::to_string(record.decTypeCount1) + " early, " +
                    std::to_string(record.decTypeCount2) + " late or low, " +
                    std::to_string(record.decTypeCount3) + " delayed, " +
                    std::to_string(record.decTypeCount4) + " other");
}

json fischerFindings(const QK4_FhrResult& record) {
    json items = json::array();
    if (record.decelerationCount > 0) items.push_back(decelerationTypes(record));
    items.push_back(item("strong_contractions", record.strongContractionFlag == 1
                                                    ? "two or more strong contractions"
                                                    : "fewer than two strong contractions"));
    return items;
}

struct FlagGroup {
    const char* key;
    int first;
    std::vector<const char*> slotLabels;
};

const std::vector<FlagGroup>& acogGroups() {
    static const std::vector<FlagGroup> groups = {
        {"baseline",
         7,
         {"110-160 bpm", "above 160 bpm (tachycardia)", "109 bpm or below with variability",
          "109 bpm or below, variability absent"}},
        {"variability",
         11,
         {"moderate (5-25 bpm)", "absent", "minimal (below 5 bpm)", "marked (above 25 bpm)",
          "absent, with bradycardia or recurrent decelerations"}},
        {"accelerations", 16, {"present", "absent", "flag 2", "absent"}},
        {"early_decelerations",
         20,
         {"early decelerations present", "no early decelerations", "no early decelerations"}},
        {"late_decelerations",
         24,
         {"no late or low decelerations", "recurrent late or low decelerations with variability",
          "decelerations present", "reserved flag",
          "recurrent late or low decelerations, variability absent"}},
        {"delayed_decelerations",
         29,
         {"no delayed decelerations", "recurrent delayed decelerations, moderate variability",
          "recurrent delayed decelerations, variability absent"}},
        {"pattern", 32, {"no pattern input", "no pattern input", "pattern input present"}},
    };
    return groups;
}

std::string flagLabels(const QK4_FhrResult& record, const FlagGroup& group) {
    std::string text;
    for (std::size_t slot = 0; slot < group.slotLabels.size(); ++slot) {
        const std::string label = group.slotLabels[slot];
        if (word(record, group.first + static_cast<int>(slot)) != 1) continue;
        if (text.find(label) != std::string::npos) continue;
        text += (text.empty() ? "" : "; ") + label;
    }
    return text.empty() ? "not classified" : text;
}

std::string acogPrefix(const QK4_FhrResult& record, const std::string& key) {
    if (key == "baseline") return "baseline " + std::to_string(record.baselineFhr) + " bpm: ";
    if (key == "variability") return amplitudeText(record.variabilityAmplitude) + ": ";
    if (key == "accelerations") return countText(record.accelerationCount, "acceleration") + ": ";
    return "";
}

json acogItems(const QK4_FhrResult& record) {
    json items = json::array();
    for (const FlagGroup& group : acogGroups()) {
        if (std::string(group.key) == "early_decelerations") {
            items.push_back(item("decelerations", decelerationText(record, Method::Acog)));
            if (record.decelerationCount > 0) items.push_back(decelerationTypes(record));
        }
        json entry = item(group.key, acogPrefix(record, group.key) + flagLabels(record, group));
        entry["flags"] = flagsAt(record, group.first, static_cast<int>(group.slotLabels.size()));
        items.push_back(entry);
    }
    return items;
}

// Words 0..7 of the contraction method.  With fewer than two contractions the
// run sets the rating and the positions to 0 without measuring them and
// leaves word 1 at -1.
json contractionItems(const QK4_FhrResult& record, int rate) {
    const auto clock = [rate](int samples) {
        return clockTime(static_cast<double>(samples) / rate);
    };
    json items = json::array();
    const bool measured = word(record, 1) != -1;
    items.push_back(
        item("intensity", measured ? "strongest contraction " + std::to_string(word(record, 7)) +
                                         " in the first 5 minutes: rating " +
                                         std::to_string(word(record, 0)) + " of 2"
                                   : "fewer than two contractions found: rating 0 of 2"));
    items.push_back(item("baseline", "baseline " + std::to_string(word(record, 3)) + " bpm"));
    if (!measured) return items;
    items.push_back(item("last_contraction", "last contraction: peak at " + clock(word(record, 5)) +
                                                 ", end at " + clock(word(record, 4)) + " (" +
                                                 clock(word(record, 1)) + " after the peak)"));
    items.push_back(
        item("previous_contraction", "previous contraction ended at " + clock(word(record, 6)) +
                                         ", " + clock(word(record, 2)) + " before the last peak"));
    return items;
}

json scoreItems(const MethodResult& result, int rate) {
    const QK4_FhrResult& record = result.record;
    switch (result.method) {
        case Method::Krebs:
            return heartRateItems(record, Method::Krebs);
        case Method::Fischer: {
            json items = heartRateItems(record, Method::Fischer);
            for (const json& finding : fischerFindings(record)) items.push_back(finding);
            return items;
        }
        case Method::Acog:
            return acogItems(record);
        case Method::Uc:
            return contractionItems(record, rate);
    }
    return json::array();
}

std::optional<int> maximumScore(Method method) {
    switch (method) {
        case Method::Krebs:
            return 12;
        case Method::Fischer:
            return 10;
        case Method::Acog:
            return std::nullopt;
        case Method::Uc:
            return 2;
    }
    return std::nullopt;
}

json describeEvents(const std::vector<Event>& events, int rate) {
    json list = json::array();
    for (const Event& event : events) {
        list.push_back({{"start", event.start},
                        {"end", event.end},
                        {"start_s", static_cast<double>(event.start) / rate},
                        {"end_s", static_cast<double>(event.end) / rate}});
    }
    return list;
}

std::string isoTime(std::int64_t seconds) {
    const std::time_t when = static_cast<std::time_t>(seconds);
    std::tm utc{};
    gmtime_r(&when, &utc);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &utc);
    return text;
}

}  // namespace

std::string clockTime(double seconds) {
    const long whole = std::lround(seconds);
    char text[32];
    std::snprintf(text, sizeof text, "%ld:%02ld", whole / 60, whole % 60);
    return text;
}

json describeResult(const MethodResult& result, int rate, const ReportOptions& options) {
    json doc = {{"method", methodName(result.method)},
                {"title", methodTitle(result.method)},
                {"ok", result.ok}};
    if (!result.ok) {
        doc["error"] = result.error;
        return doc;
    }
    if (const auto maximum = maximumScore(result.method)) {
        doc["score"] = result.record.totalScore;
        doc["max_score"] = *maximum;
    }
    doc["items"] = scoreItems(result, rate);
    doc["words"] = namedWords(result);
    if (result.method != Method::Uc) {
        doc["accelerations"] = describeEvents(result.accelerations, rate);
        doc["decelerations"] = describeEvents(result.decelerations, rate);
    }
    doc["baseline"] = {{"length", result.baseline.size()}};
    if (options.includeBaselineCurve) doc["baseline"]["curve"] = result.baseline;
    return doc;
}

json describeRecording(const std::string& path, const Recording& recording,
                       const std::vector<MethodResult>& results, const ReportOptions& options) {
    json doc = {{"file", path},
                {"name", recording.name},
                {"ok", true},
                {"rate", recording.rate},
                {"samples", recording.samples()},
                {"minutes", recording.minutes()},
                {"signal_loss_percent", 100.0 * signalLossFraction(recording)}};
    if (recording.startTime) doc["start_time"] = isoTime(*recording.startTime);
    json described = json::array();
    for (const MethodResult& result : results) {
        described.push_back(describeResult(result, recording.rate, options));
    }
    doc["results"] = described;
    return doc;
}

json describeFileFailure(const std::string& path, const std::string& error) {
    return {{"file", path}, {"ok", false}, {"error", error}};
}

}  // namespace ctgtool
