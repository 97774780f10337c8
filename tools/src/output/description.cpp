#include "output/description.h"

#include <cmath>
#include <ctime>

#include "output/text_format.h"

namespace ctgtool {

namespace {

using json = nlohmann::ordered_json;

// ---- result words -----------------------------------------------------------

json flagsAt(const QK4_FhrResult& record, int first, int count) {
    json flags = json::array();
    for (int i = 0; i < count; ++i) flags.push_back(word(record, first + i));
    return flags;
}

json namedWords(const MethodResult& result) {
    json words = json::object();
    for (const ResultWord& field : factsOf(result.method).words) {
        switch (field.kind) {
            case WordKind::Int:
                words[field.name] = word(result.record, field.index);
                break;
            case WordKind::Double:
                words[field.name] = wordAsDouble(result.record, field.index);
                break;
            case WordKind::Flags:
                words[field.name] = flagsAt(result.record, field.index, field.count());
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

json item(const std::string& key, const std::string& text) {
    return {{"item", key}, {"text", text}};
}

json scoredItem(const std::string& key, const std::string& finding, int points) {
    return {{"item", key}, {"points", points}, {"text", finding + ": " + pointsText(points)}};
}

std::string amplitudeText(double amplitude) {
    if (std::isnan(amplitude)) return "variability amplitude not measurable";
    return "variability amplitude " + fixed(amplitude, 1) + " bpm";
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
                               "oscillation frequency " + fixed(record.oscillationFrequency, 0),
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

// The ACOG flag groups as score items, in the order the items list them.
struct FlagGroup {
    const char* key;
    const char* word;
};

constexpr FlagGroup kAcogGroups[] = {{"baseline", "acogBaselineFlags"},
                                     {"variability", "acogVariabilityFlags"},
                                     {"accelerations", "acogAccelerationFlags"},
                                     {"early_decelerations", "acogDecFlagsA"},
                                     {"late_decelerations", "acogDecFlagsB"},
                                     {"delayed_decelerations", "acogDecFlagsC"},
                                     {"pattern", "acogPatternFlags"}};

std::string flagLabels(const QK4_FhrResult& record, const ResultWord& flags) {
    std::string text;
    for (int slot = 0; slot < flags.count(); ++slot) {
        const std::string label = flags.slots[slot];
        if (word(record, flags.index + slot) != 1) continue;
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
    for (const FlagGroup& group : kAcogGroups) {
        if (std::string(group.key) == "early_decelerations") {
            items.push_back(item("decelerations", decelerationText(record, Method::Acog)));
            if (record.decelerationCount > 0) items.push_back(decelerationTypes(record));
        }
        const ResultWord& flags = resultWord(Method::Acog, group.word);
        json entry = item(group.key, acogPrefix(record, group.key) + flagLabels(record, flags));
        entry["flags"] = flagsAt(record, flags.index, flags.count());
        items.push_back(entry);
    }
    return items;
}

// The contraction method's words.  With fewer than two contractions the run
// sets the rating and the positions to 0 without measuring them and leaves
// lastEndMinusLastPeak at -1.
json contractionItems(const MethodResult& result, int rate) {
    const auto value = [&result](const char* name) { return wordNamed(result, name); };
    const auto clock = [rate, &value](const char* name) {
        return clockTime(static_cast<double>(value(name)) / rate);
    };
    json items = json::array();
    const bool measured = value("lastEndMinusLastPeak") != -1;
    items.push_back(item("intensity", measured
                                          ? "strongest contraction " +
                                                std::to_string(value("peakContraction")) +
                                                " in the first 5 minutes: rating " +
                                                std::to_string(value("intensityRating")) + " of 2"
                                          : "fewer than two contractions found: rating 0 of 2"));
    items.push_back(
        item("baseline", "baseline " + std::to_string(value("baselineFhrCopy")) + " bpm"));
    if (!measured) return items;
    items.push_back(
        item("last_contraction", "last contraction: peak at " + clock("lastContractionPeak") +
                                     ", end at " + clock("lastContractionEnd") + " (" +
                                     clock("lastEndMinusLastPeak") + " after the peak)"));
    items.push_back(item("previous_contraction",
                         "previous contraction ended at " + clock("previousContractionEnd") + ", " +
                             clock("lastPeakMinusPreviousEnd") + " before the last peak"));
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
            return contractionItems(result, rate);
    }
    return json::array();
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

json describeResult(const MethodResult& result, int rate, const ReportOptions& options) {
    const MethodFacts& facts = factsOf(result.method);
    json doc = {{"method", facts.name}, {"title", facts.title}, {"ok", result.ok}};
    if (!result.ok) {
        doc["error"] = result.error;
        return doc;
    }
    if (facts.maxScore) {
        doc["score"] = result.record.totalScore;
        doc["max_score"] = *facts.maxScore;
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
