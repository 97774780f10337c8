#include "table_output.h"

#include <cstdio>

#include "report.h"

namespace ctgtool {

namespace {

using json = nlohmann::ordered_json;

std::string fixed(double value, int digits) {
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", digits, value);
    return text;
}

void writeEvents(std::ostream& out, const char* label, const json& events) {
    out << "    " << label << ":";
    if (events.empty()) out << " none";
    for (const json& event : events) {
        out << "\n      " << clockTime(event["start_s"].get<double>()) << "-"
            << clockTime(event["end_s"].get<double>()) << "  (samples " << event["start"].get<int>()
            << "-" << event["end"].get<int>() << ")";
    }
    out << '\n';
}

void writeResult(std::ostream& out, const json& result) {
    out << "  " << result["title"].get<std::string>();
    if (!result["ok"].get<bool>()) {
        out << ": not scored: " << result["error"].get<std::string>() << '\n';
        return;
    }
    if (result.contains("score")) {
        out << ": " << result["score"].get<int>() << " of " << result["max_score"].get<int>();
    }
    out << '\n';
    for (const json& item : result["items"])
        out << "    " << item["text"].get<std::string>() << '\n';
    if (result.contains("accelerations"))
        writeEvents(out, "accelerations", result["accelerations"]);
    if (result.contains("decelerations"))
        writeEvents(out, "decelerations", result["decelerations"]);
    out << "    baseline curve: " << result["baseline"]["length"].get<std::size_t>() << " values\n";
}

void writeRecording(std::ostream& out, const json& recording) {
    if (!recording["ok"].get<bool>()) {
        out << recording["error"].get<std::string>() << "\n\n";
        return;
    }
    out << recording["file"].get<std::string>() << ": " << fixed(recording["minutes"].get<double>(), 1) << " min, "
        << recording["samples"].get<int>() << " samples at " << recording["rate"].get<int>()
        << " Hz, signal loss " << fixed(recording["signal_loss_percent"].get<double>(), 1) << " %";
    if (recording.contains("start_time"))
        out << ", started " << recording["start_time"].get<std::string>();
    out << '\n';
    for (const json& result : recording["results"]) writeResult(out, result);
    out << '\n';
}

}  // namespace

void writeTable(std::ostream& out, const json& recordings) {
    for (const json& recording : recordings) writeRecording(out, recording);
}

}  // namespace ctgtool
