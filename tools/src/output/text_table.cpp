#include "output/text_table.h"

#include "output/text_format.h"

namespace ctgtool {

namespace {

using json = nlohmann::ordered_json;

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
    out << "  " << text(result["title"]);
    if (!result["ok"].get<bool>()) {
        out << ": not scored: " << text(result["error"]) << '\n';
        return;
    }
    if (result.contains("score")) {
        out << ": " << result["score"].get<int>() << " of " << result["max_score"].get<int>();
    }
    out << '\n';
    for (const json& item : result["items"]) out << "    " << text(item["text"]) << '\n';
    if (result.contains("accelerations"))
        writeEvents(out, "accelerations", result["accelerations"]);
    if (result.contains("decelerations"))
        writeEvents(out, "decelerations", result["decelerations"]);
    out << "    baseline curve: " << result["baseline"]["length"].get<std::size_t>() << " values\n";
}

void writeRecording(std::ostream& out, const json& recording) {
    if (!recording["ok"].get<bool>()) {
        out << text(recording["error"]) << "\n\n";
        return;
    }
    out << text(recording["file"]) << ": " << fixed(recording["minutes"].get<double>(), 1)
        << " min, " << recording["samples"].get<int>() << " samples at "
        << recording["rate"].get<int>() << " Hz, signal loss "
        << fixed(recording["signal_loss_percent"].get<double>(), 1) << " %";
    if (recording.contains("start_time")) out << ", started " << text(recording["start_time"]);
    out << '\n';
    for (const json& result : recording["results"]) writeResult(out, result);
    out << '\n';
}

}  // namespace

void writeTable(std::ostream& out, const json& recordings) {
    for (const json& recording : recordings) writeRecording(out, recording);
}

}  // namespace ctgtool
