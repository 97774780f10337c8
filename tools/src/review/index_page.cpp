#include "review/index_page.h"

#include <algorithm>

#include "analysis/method_facts.h"
#include "output/text_format.h"
#include "review/html_document.h"

namespace ctgtool {

namespace {

using json = nlohmann::ordered_json;

// The methods any recording ran, in the order they run.
std::vector<Method> methodsRun(const std::vector<IndexEntry>& entries) {
    std::vector<Method> methods;
    for (const MethodFacts& facts : methodFacts()) {
        const bool ran = std::any_of(entries.begin(), entries.end(), [&](const IndexEntry& entry) {
            if (!entry.description.contains("results")) return false;
            const json& results = entry.description["results"];
            return std::any_of(results.begin(), results.end(),
                               [&](const json& result) { return result["method"] == facts.name; });
        });
        if (ran) methods.push_back(facts.method);
    }
    return methods;
}

// data-sort holds what the column sorts by; empty cells sort last.
void cell(std::ostream& out, const std::string& sortKey, const std::string& content,
          const std::string& hint = "") {
    out << "<td data-sort=\"" << escapeXml(sortKey) << "\"";
    if (!hint.empty()) out << " title=\"" << escapeXml(hint) << "\"";
    out << ">" << content << "</td>";
}

// The score, or the contraction rating; ACOG rates no score, so its column
// shows the baseline heart rate it found.
void methodCell(std::ostream& out, const json& recording, Method method) {
    for (const json& result : recording["results"]) {
        if (result["method"] != factsOf(method).name) continue;
        if (!result["ok"].get<bool>()) {
            cell(out, "", "not scored", text(result["error"]));
        } else if (result.contains("score")) {
            const int score = result["score"].get<int>();
            cell(out, std::to_string(score),
                 std::to_string(score) + " / " + std::to_string(result["max_score"].get<int>()));
        } else {
            const std::string bpm = std::to_string(result["words"]["baselineFhr"].get<int>());
            cell(out, bpm, bpm + " bpm");
        }
        return;
    }
    cell(out, "", "");
}

std::string problems(const json& recording) {
    if (!recording["ok"].get<bool>()) return escapeXml(text(recording["error"]));
    std::string notes;
    for (const json& result : recording["results"]) {
        if (result["ok"].get<bool>()) continue;
        notes += (notes.empty() ? "" : "<br>") + escapeXml(text(result["title"])) +
                 " not scored: " + escapeXml(text(result["error"]));
    }
    return notes;
}

void writeRow(std::ostream& out, const IndexEntry& entry, const std::vector<Method>& methods) {
    const json& recording = entry.description;
    const bool read = recording["ok"].get<bool>();
    const std::string file = text(recording["file"]);
    const std::string name = read ? text(recording["name"]) : file;
    out << "<tr" << (read ? "" : " class=\"failed\"") << ">";
    std::string link = escapeXml(name);
    if (!entry.page.empty()) link = "<a href=\"" + escapeXml(entry.page) + "\">" + link + "</a>";
    cell(out, name, read ? link + "<div class=\"file\">" + escapeXml(file) + "</div>" : link);
    if (read) {
        const std::string minutes = fixed(recording["minutes"].get<double>(), 1);
        const std::string loss = fixed(recording["signal_loss_percent"].get<double>(), 1);
        cell(out, minutes, minutes);
        cell(out, loss, loss);
        for (Method method : methods) methodCell(out, recording, method);
    } else {
        for (std::size_t column = 0; column < methods.size() + 2; ++column) cell(out, "", "");
    }
    cell(out, "", problems(recording));
    out << "</tr>\n";
}

}  // namespace

void writeReviewIndex(std::ostream& out, const std::vector<IndexEntry>& entries) {
    const std::vector<Method> methods = methodsRun(entries);
    review::openDocument(out, "CTG recordings", "");
    out << "<main class=\"index\">\n<h1>CTG recordings</h1>\n<p>" << entries.size()
        << " recordings. Click a column heading to sort by it, again to reverse.</p>\n"
        << "<table id=\"recordings\"><thead><tr><th data-type=\"text\">Recording</th>"
        << "<th data-type=\"number\">Minutes</th><th data-type=\"number\">Signal loss %</th>";
    for (Method method : methods) {
        out << "<th data-type=\"number\">" << factsOf(method).title
            << (method == Method::Acog ? " baseline" : "") << "</th>";
    }
    out << "<th data-type=\"text\">Problems</th></tr></thead>\n<tbody>\n";
    for (const IndexEntry& entry : entries) writeRow(out, entry, methods);
    out << "</tbody></table>\n</main>\n";
    review::closeDocument(out, review::kIndexScript);
}

}  // namespace ctgtool
