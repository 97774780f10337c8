#include "review/recording_page.h"

#include "output/description.h"
#include "output/strip.h"
#include "output/text_format.h"
#include "review/html_document.h"

namespace ctgtool {

namespace {

using json = nlohmann::ordered_json;

std::string mm(double value) { return fixed(value, 1); }

std::string percent(double fraction) { return fixed(100.0 * fraction, 4) + "%"; }

// The page around the strip: header with the switches, the overview, the
// strip with its value and time labels, the score cards and the event table.
class PageWriter {
public:
    PageWriter(std::ostream& out, const Recording& recording, const json& description)
        : out_(out),
          recording_(recording),
          description_(description),
          strip_(recording, description, 0, recording.samples()),
          methods_(strip_.methods()),
          events_(strip_.events()) {}

    void write() {
        const std::string name = text(description_["name"]);
        review::openDocument(out_, name + " - CTG review", " data-speed=\"1\" style=\"--speed:1\"");
        out_ << "<main id=\"review\" data-samples=\"" << recording_.samples() << "\" data-rate=\""
             << recording_.rate << "\" data-minutes=\"" << fixed(recording_.minutes(), 4)
             << "\">\n";
        writeHeader(name);
        writeOverview();
        writeStrip();
        out_ << "<div id=\"print-pages\"></div>\n<div class=\"details\">\n";
        writeScores();
        writeEventTable();
        out_ << "</div>\n</main>\n";
        review::closeDocument(out_, review::kPageScript);
    }

private:
    void writeHeader(const std::string& name) {
        out_ << "<header>\n<h1>" << escapeXml(name) << "</h1>\n<p class=\"facts\">"
             << escapeXml(text(description_["file"])) << " &middot; "
             << fixed(recording_.minutes(), 1) << " min, " << recording_.samples() << " samples at "
             << recording_.rate << " Hz &middot; signal loss "
             << fixed(description_["signal_loss_percent"].get<double>(), 1) << " %";
        if (description_.contains("start_time")) {
            out_ << " &middot; started " << escapeXml(text(description_["start_time"]));
        }
        out_ << "</p>\n<div class=\"controls\">\n";
        writeSpeedSwitch();
        writeMethodSwitches();
        writeLegend();
        out_ << "</div>\n</header>\n";
    }

    void writeSpeedSwitch() {
        out_ << "<div class=\"speed\" role=\"radiogroup\" aria-label=\"Paper speed\">"
                "<b>Paper speed</b>";
        for (int speed : {1, 2, 3}) {
            out_ << "<label><input type=\"radio\" name=\"speed\" autocomplete=\"off\" value=\""
                 << speed << "\"" << (speed == 1 ? " checked" : "") << "> " << speed
                 << " cm/min</label>";
        }
        out_ << "</div>\n";
    }

    void writeMethodSwitches() {
        out_ << "<div class=\"methods\" role=\"group\" aria-label=\"Methods shown\">"
                "<b>Methods</b>";
        bool any = false;
        for (const strip::MethodView& method : methods_) {
            if (!method.ok) continue;
            any = true;
            out_ << "<label><input type=\"checkbox\" autocomplete=\"off\" data-method=\""
                 << method.name << "\"" << (method.onAtFirst ? " checked" : "") << "> "
                 << escapeXml(method.title) << "</label>";
        }
        out_ << (any ? "" : "none scored this recording") << "</div>\n";
    }

    void writeLegend() {
        const std::pair<const char*, const char*> entries[] = {
            {"acceleration", "acceleration"},
            {"deceleration", "deceleration"},
            {"baseline", "baseline"},
            {"loss", "signal loss"},
            {"movement", "movement"},
            {"peak", "last contraction peak"},
            {"contraction-end", "contraction end"}};
        out_ << "<ul class=\"legend\">";
        for (const auto& [cls, label] : entries) {
            out_ << "<li><span class=\"swatch " << cls << "\"></span>" << label << "</li>";
        }
        out_ << "</ul>\n";
    }

    // The whole recording in small: the strip's signal-loss and event layers,
    // and the outline of the traces.
    void writeOverview() {
        out_ << "<div id=\"overview\" class=\"overview\" title=\"The whole recording: click or "
                "drag to move the strip\">\n"
             << svgOpen("overview-svg") << "<use href=\"#loss-layer\"/><use href=\"#event-layer\"/>"
             << strip_.outline() << "</svg>\n"
             << "<div id=\"overview-window\" class=\"window\"></div>\n</div>\n";
    }

    std::string svgOpen(const std::string& id) const {
        return "<svg id=\"" + id + "\" viewBox=\"0 0 " + std::to_string(recording_.samples()) +
               " " + mm(strip::kTocoBottom) + "\" preserveAspectRatio=\"none\">";
    }

    void writeStrip() {
        out_ << "<div class=\"strip-row\">\n";
        writeAxis();
        out_ << "<div id=\"scroller\" class=\"scroller\" tabindex=\"0\" aria-label=\"CTG strip\">\n"
             << "<div id=\"strip\" class=\"strip\" style=\"--minutes:"
             << fixed(recording_.minutes(), 4) << "\">\n"
             << svgOpen("strip-svg") << "\n<defs>" << strip_.clipPaths() << "</defs>\n"
             << "<g id=\"strip-content\">\n"
             << strip_.content() << "</g>\n</svg>\n";
        writeTimeLabels();
        out_ << "</div>\n</div>\n</div>\n";
    }

    // The value scales beside the strip, in the strip's millimetres.
    void writeAxis() {
        out_ << "<div class=\"axis\" aria-hidden=\"true\">";
        const auto label = [this](double top, const std::string& content) {
            out_ << "<span style=\"top:" << mm(top) << "mm\">" << content << "</span>";
        };
        for (const strip::ValueLabel& value : strip::valueLabels()) {
            label(value.y, std::to_string(value.value));
        }
        // Units between the two top labels of each panel.
        out_ << "<span class=\"unit\" style=\"top:" << mm(strip::fhrY(195)) << "mm\">bpm</span>"
             << "<span class=\"unit\" style=\"top:" << mm(strip::tocoY(90))
             << "mm\">toco</span></div>\n";
    }

    // Minute numbers under the strip; the style sheet thins them out at the
    // slower paper speeds (every 2 minutes at 2 cm/min, every 5 at 1 cm/min).
    void writeTimeLabels() {
        out_ << "<div class=\"times\" aria-hidden=\"true\">";
        const double seconds = static_cast<double>(recording_.samples()) / recording_.rate;
        for (int minute = 0; seconds > 0 && minute * 60 <= seconds; ++minute) {
            out_ << "<span class=\"tick" << (minute % 2 == 0 ? " m2" : "")
                 << (minute % 5 == 0 ? " m5" : "")
                 << "\" style=\"left:" << percent(minute * 60 / seconds) << "\">" << minute
                 << "</span>";
        }
        out_ << "</div>\n";
    }

    void writeScores() {
        out_ << "<section class=\"scores\">\n<h2>Scores of the whole recording</h2>\n";
        for (const strip::MethodView& method : methods_) writeScoreCard(method);
        out_ << "</section>\n";
    }

    void writeScoreCard(const strip::MethodView& method) {
        const json& result = *method.result;
        out_ << "<div class=\"card\" data-method=\"" << method.name << "\"><h3>"
             << escapeXml(method.title);
        if (!method.ok) {
            out_ << "</h3><p class=\"reason\">not scored: " << escapeXml(text(result["error"]))
                 << "</p></div>\n";
            return;
        }
        if (result.contains("score")) {
            out_ << " <span class=\"total\">" << result["score"].get<int>() << " / "
                 << result["max_score"].get<int>() << "</span>";
        }
        out_ << "</h3><table>";
        for (const json& item : result["items"]) {
            // A scored item's text ends in ": N points"; the points get a column.
            std::string finding = text(item["text"]);
            std::string points;
            if (item.contains("points") && finding.rfind(": ") != std::string::npos) {
                finding.erase(finding.rfind(": "));
                points = std::to_string(item["points"].get<int>());
            }
            out_ << "<tr><td>" << escapeXml(finding) << "</td><td class=\"points\">" << points
                 << "</td></tr>";
        }
        out_ << "</table></div>\n";
    }

    void writeEventTable() {
        out_ << "<section class=\"events\">\n<h2>Accelerations and decelerations</h2>\n";
        if (events_.empty()) {
            out_ << "<p>None found.</p>\n</section>\n";
            return;
        }
        out_ << "<div class=\"table-box\"><table id=\"event-table\"><thead><tr><th>Method</th>"
                "<th>Kind</th><th>Start</th><th>End</th><th>Duration</th></tr></thead><tbody>\n";
        for (const strip::StripEvent& event : events_) {
            out_ << "<tr" << strip::methodAttributes(methods_, {event.method}, event.kind)
                 << " data-event=\"" << event.id << "\" data-start=\""
                 << fixed(event.startSeconds, 3) << "\" data-end=\"" << fixed(event.endSeconds, 3)
                 << "\"><td>" << escapeXml(event.title) << "</td><td>" << event.kind << "</td><td>"
                 << clockTime(event.startSeconds) << "</td><td>" << clockTime(event.endSeconds)
                 << "</td><td>" << clockTime(event.endSeconds - event.startSeconds)
                 << "</td></tr>\n";
        }
        out_ << "</tbody></table></div>\n</section>\n";
    }

    std::ostream& out_;
    const Recording& recording_;
    const json& description_;
    strip::Drawing strip_;
    const std::vector<strip::MethodView>& methods_;
    const std::vector<strip::StripEvent>& events_;
};

}  // namespace

void writeReviewPage(std::ostream& out, const Recording& recording, const json& description) {
    PageWriter(out, recording, description).write();
}

}  // namespace ctgtool
