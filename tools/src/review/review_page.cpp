#include "review_page.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <optional>

#include "markup.h"
#include "report.h"
#include "review_html.h"

namespace ctgtool {

namespace {

using json = nlohmann::ordered_json;

// The strip's user units: one sample across, one millimetre down.  Paper
// scale: 20 bpm and 25 toco units per centimetre.
constexpr double kFhrLow = 50.0, kFhrHigh = 210.0, kMmPerBpm = 0.5;
constexpr double kFhrBottom = (kFhrHigh - kFhrLow) * kMmPerBpm;
constexpr double kMarkTop = kFhrBottom + 2.0, kMarkHeight = 6.0;
constexpr double kTocoTop = kMarkTop + kMarkHeight + 2.0, kMmPerTocoUnit = 0.4;
constexpr double kTocoBottom = kTocoTop + 100.0 * kMmPerTocoUnit;

const char* const kHeartRateMethods[] = {"krebs", "fischer", "acog"};

std::string text(const json& value) { return value.get<std::string>(); }

std::string mm(double value) { return fixedDecimals(value, 1); }

// Strokes keep their width however the strip is stretched.  An attribute, not
// a style rule: the copies of the strip in the overview and the printed pages
// (<use> elements) keep attributes but not every style rule.
const char* const kFixedStroke = " vector-effect=\"non-scaling-stroke\"";

std::string path(const std::string& attributes, const std::string& data) {
    return "<path" + std::string(kFixedStroke) + attributes + " d=\"" + data + "\"/>\n";
}

std::string percent(double fraction) { return fixedDecimals(100.0 * fraction, 4) + "%"; }

// SVG path data through points in order, y rounded to `decimals` places; a
// lift breaks the line.  Relative moves and implicit repeated commands keep a
// path with a point per sample short.
class PathData {
public:
    explicit PathData(int decimals) : decimals_(decimals), scale_(std::pow(10.0, decimals)) {}

    void lineTo(long x, double y) {
        const long level = roundToInt(y * scale_);
        if (!penDown_) {
            flushHorizontal();
            append('M', std::to_string(x) + " " + scaled(level));
        } else if (level == y_) {
            horizontal_ += x - x_;
        } else {
            flushHorizontal();
            append('l', std::to_string(x - x_) + " " + scaled(level - y_));
        }
        penDown_ = true;
        x_ = x;
        y_ = level;
    }
    void lift() { penDown_ = false; }
    std::string finish() {
        flushHorizontal();
        return text_;
    }

private:
    void append(char command, const std::string& numbers) {
        if (command != command_) {
            text_ += command;
        } else if (numbers[0] != '-') {
            text_ += ' ';
        }
        text_ += numbers;
        command_ = command;
    }
    void flushHorizontal() {
        if (horizontal_ != 0) append('h', std::to_string(horizontal_));
        horizontal_ = 0;
    }
    // A rounded level back in units: 1385 -> "138.5", -3 -> "-.3".
    std::string scaled(long level) const {
        if (decimals_ == 0) return std::to_string(level);
        const long unit = static_cast<long>(scale_);
        const long magnitude = std::labs(level);
        std::string digits = std::to_string(magnitude % unit);
        digits.insert(0, decimals_ - digits.size(), '0');
        digits.erase(digits.find_last_not_of('0') + 1);
        std::string whole =
            magnitude / unit == 0 && !digits.empty() ? "" : std::to_string(magnitude / unit);
        return (level < 0 ? "-" : "") + whole + (digits.empty() ? "" : "." + digits);
    }

    int decimals_;
    double scale_;
    std::string text_;
    char command_ = 0;
    bool penDown_ = false;
    long x_ = 0, y_ = 0, horizontal_ = 0;
};

// Paths along time are cut into stretches of two minutes: the browser then
// draws only the stretches in view, not a whole recording's path each time.
constexpr long kStretchSeconds = 120;

int stretchSamples(int rate, int samples) {
    return static_cast<int>(std::clamp<long>(kStretchSeconds * rate, 1, std::max(samples, 1)));
}

// Consecutive stretches share their boundary sample, so the line goes on unbroken.
std::string tracePaths(const std::string& attributes, int samples, int rate,
                       const std::function<std::optional<double>(int)>& valueAt, int decimals) {
    std::string paths;
    const int stretch = stretchSamples(rate, samples);
    for (int first = 0; first < samples; first += std::min(stretch, samples - first)) {
        PathData data(decimals);
        for (int i = std::max(first - 1, 0); i < first + std::min(stretch, samples - first); ++i) {
            if (const std::optional<double> value = valueAt(i)) {
                data.lineTo(i, *value);
            } else {
                data.lift();
            }
        }
        const std::string text = data.finish();
        if (!text.empty()) paths += path(attributes, text);
    }
    return paths;
}

// The trace in at most kOverviewColumns columns, each drawn as the range of
// its values: the overview's outline of a long recording without its every sample.
constexpr int kOverviewColumns = 1200;

std::string envelopePath(int samples, const std::function<std::optional<double>(int)>& valueAt) {
    PathData path(0);
    const int step = std::max(1, (samples + kOverviewColumns - 1) / kOverviewColumns);
    for (int first = 0, column = 0; first < samples; first += step, ++column) {
        std::optional<double> low, high;
        for (int i = first; i < std::min(first + step, samples); ++i) {
            if (const std::optional<double> value = valueAt(i)) {
                low = std::min(low.value_or(*value), *value);
                high = std::max(high.value_or(*value), *value);
            }
        }
        if (!low) {
            path.lift();
            continue;
        }
        path.lineTo(first, column % 2 == 0 ? *low : *high);
        path.lineTo(first, column % 2 == 0 ? *high : *low);
    }
    return path.finish();
}

// Content drawn in a panel's own units (bpm, toco units) upwards from the
// height where the value 0 would lie.
std::string panelGroup(const std::string& attributes, double zeroAtMm, double mmPerUnit,
                       const std::string& content) {
    return "<g" + attributes + "><g transform=\"translate(0 " + mm(zeroAtMm) + ") scale(1 " +
           mm(-mmPerUnit) + ")\">\n" + content + "</g></g>\n";
}

// A method as the page shows it: its switch decides whether its events,
// baseline curve and marks are drawn.
struct MethodView {
    std::string name, title;
    bool ok = false;
    bool onAtFirst = false;
    const json* result = nullptr;
};

// Shown at first: the first heart-rate method that scored (methods find
// different events; one set at a time reads best) and the contraction marks.
std::vector<MethodView> methodViews(const json& description) {
    std::vector<MethodView> views;
    bool heartRateShown = false;
    for (const json& result : description["results"]) {
        MethodView view{text(result["method"]), text(result["title"]), result["ok"].get<bool>()};
        view.result = &result;
        const bool heartRate = std::find(std::begin(kHeartRateMethods), std::end(kHeartRateMethods),
                                         view.name) != std::end(kHeartRateMethods);
        view.onAtFirst = view.ok && (!heartRate || !heartRateShown);
        heartRateShown = heartRateShown || (view.ok && heartRate);
        views.push_back(view);
    }
    return views;
}

struct PageEvent {
    std::string id, method, title, kind;
    int start = 0, end = 0;
    double startSeconds = 0.0, endSeconds = 0.0;
};

std::vector<PageEvent> pageEvents(const std::vector<MethodView>& methods) {
    std::vector<PageEvent> events;
    for (const MethodView& method : methods) {
        if (!method.ok) continue;
        for (const char* kind : {"acceleration", "deceleration"}) {
            const std::string key = std::string(kind) + "s";
            if (!method.result->contains(key)) continue;
            int number = 0;
            for (const json& event : (*method.result)[key]) {
                events.push_back({method.name + "-" + kind[0] + std::to_string(++number),
                                  method.name, method.title, kind, event["start"].get<int>(),
                                  event["end"].get<int>(), event["start_s"].get<double>(),
                                  event["end_s"].get<double>()});
            }
        }
    }
    std::stable_sort(events.begin(), events.end(), [](const PageEvent& a, const PageEvent& b) {
        return a.startSeconds < b.startSeconds;
    });
    return events;
}

class PageWriter {
public:
    PageWriter(std::ostream& out, const Recording& recording, const json& description)
        : out_(out),
          recording_(recording),
          description_(description),
          methods_(methodViews(description)),
          events_(pageEvents(methods_)) {}

    void write() {
        const std::string name = text(description_["name"]);
        review::openDocument(out_, name + " - CTG review", " data-speed=\"1\" style=\"--speed:1\"");
        out_ << "<main id=\"review\" data-samples=\"" << recording_.samples() << "\" data-rate=\""
             << recording_.rate << "\" data-minutes=\"" << fixedDecimals(recording_.minutes(), 4)
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
    // The methods whose switches show an element, as attributes; hidden at
    // first unless one of them is on.
    std::string methodAttributes(const std::vector<std::string>& names,
                                 const std::string& cls) const {
        std::string list;
        bool on = false;
        for (const std::string& name : names) {
            list += (list.empty() ? "" : " ") + name;
            for (const MethodView& method : methods_) {
                on = on || (method.name == name && method.onAtFirst);
            }
        }
        return " class=\"" + cls + (on ? "" : " off") + "\" data-methods=\"" + list + "\"";
    }

    void writeHeader(const std::string& name) {
        out_ << "<header>\n<h1>" << escapeXml(name) << "</h1>\n<p class=\"facts\">"
             << escapeXml(text(description_["file"])) << " &middot; "
             << fixedDecimals(recording_.minutes(), 1) << " min, " << recording_.samples()
             << " samples at " << recording_.rate << " Hz &middot; signal loss "
             << fixedDecimals(description_["signal_loss_percent"].get<double>(), 1) << " %";
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
        for (const MethodView& method : methods_) {
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
             << panelGroup(
                    " clip-path=\"url(#fhr-clip)\"", kFhrHigh * kMmPerBpm, kMmPerBpm,
                    path(" class=\"fhr\"", envelopePath(recording_.samples(), heartRateAt())))
             << panelGroup(" clip-path=\"url(#toco-clip)\"", kTocoBottom, kMmPerTocoUnit,
                           path(" class=\"toco\"", envelopePath(recording_.samples(), tocoAt())))
             << "</svg>\n"
             << "<div id=\"overview-window\" class=\"window\"></div>\n</div>\n";
    }

    std::string svgOpen(const std::string& id) const {
        return "<svg id=\"" + id + "\" viewBox=\"0 0 " + std::to_string(recording_.samples()) +
               " " + mm(kTocoBottom) + "\" preserveAspectRatio=\"none\">";
    }

    void writeStrip() {
        out_ << "<div class=\"strip-row\">\n";
        writeAxis();
        out_ << "<div id=\"scroller\" class=\"scroller\" tabindex=\"0\" aria-label=\"CTG strip\">\n"
             << "<div id=\"strip\" class=\"strip\" style=\"--minutes:"
             << fixedDecimals(recording_.minutes(), 4) << "\">\n"
             << svgOpen("strip-svg") << "\n<defs>" << clipRectangle("fhr-clip", 0, kFhrBottom)
             << clipRectangle("toco-clip", kTocoTop, kTocoBottom) << "</defs>\n"
             << "<g id=\"strip-content\">\n";
        writePaper();
        writeSignalLoss();
        writeEventShapes();
        writeHeartRateLayer();
        writeMovements();
        writeTocoLayer();
        out_ << "</g>\n</svg>\n";
        writeTimeLabels();
        out_ << "</div>\n</div>\n</div>\n";
    }

    // The value scales beside the strip, in the strip's millimetres.
    void writeAxis() {
        out_ << "<div class=\"axis\" aria-hidden=\"true\">";
        const auto label = [this](double top, const std::string& content) {
            out_ << "<span style=\"top:" << mm(top) << "mm\">" << content << "</span>";
        };
        for (int bpm = 60; bpm <= 210; bpm += 30)
            label((kFhrHigh - bpm) * kMmPerBpm, std::to_string(bpm));
        for (int units = 0; units <= 100; units += 20) {
            label(kTocoTop + (100 - units) * kMmPerTocoUnit, std::to_string(units));
        }
        // Units between the two top labels of each panel.
        out_ << "<span class=\"unit\" style=\"top:" << mm(15 * kMmPerBpm) << "mm\">bpm</span>"
             << "<span class=\"unit\" style=\"top:" << mm(kTocoTop + 10 * kMmPerTocoUnit)
             << "mm\">toco</span></div>\n";
    }

    std::string clipRectangle(const char* id, double top, double bottom) const {
        return std::string("<clipPath id=\"") + id + "\"><rect x=\"0\" y=\"" + mm(top) +
               "\" width=\"" + std::to_string(recording_.samples()) + "\" height=\"" +
               mm(bottom - top) + "\"/></clipPath>";
    }

    std::string x(double seconds) const { return fixedDecimals(seconds * recording_.rate, 1); }

    // Panels with the 110-160 bpm band, lines every 10 bpm and 10 toco units
    // (heavier every 30 and 20) and every 10 s (heavier each minute).
    void writePaper() {
        const std::string width = std::to_string(recording_.samples());
        out_ << "<rect class=\"paper\" x=\"0\" y=\"0\" width=\"" << width << "\" height=\""
             << mm(kFhrBottom) << "\"/><rect class=\"paper\" x=\"0\" y=\"" << mm(kTocoTop)
             << "\" width=\"" << width << "\" height=\"" << mm(kTocoBottom - kTocoTop) << "\"/>"
             << "<rect class=\"normal\" x=\"0\" y=\"" << mm((kFhrHigh - 160) * kMmPerBpm)
             << "\" width=\"" << width << "\" height=\"" << mm(50 * kMmPerBpm) << "\"/>\n";
        std::string minor, major;
        for (int bpm = 60; bpm < kFhrHigh; bpm += 10) {
            (bpm % 30 == 0 ? major : minor) +=
                "M0 " + mm((kFhrHigh - bpm) * kMmPerBpm) + "H" + width;
        }
        for (int units = 10; units < 100; units += 10) {
            (units % 20 == 0 ? major : minor) +=
                "M0 " + mm(kTocoTop + (100 - units) * kMmPerTocoUnit) + "H" + width;
        }
        out_ << path(" class=\"grid minor\"", minor) << path(" class=\"grid major\"", major);
        // Lines across time, in stretches; the 10-second lines are off at the
        // first paper speed, 1 cm/min.
        const long totalSeconds = recording_.samples() / recording_.rate;
        for (long from = 0; from < totalSeconds; from += kStretchSeconds) {
            std::string seconds, minutes;
            for (long second = from + 10; second <= std::min(from + kStretchSeconds, totalSeconds);
                 second += 10) {
                (second % 60 == 0 ? minutes : seconds) += "M" + x(second) + " 0V" + mm(kFhrBottom) +
                                                          "M" + x(second) + " " + mm(kTocoTop) +
                                                          "V" + mm(kTocoBottom);
            }
            out_ << path(" class=\"grid seconds off\"", seconds)
                 << path(" class=\"grid major\"", minutes);
        }
    }

    void writeSignalLoss() {
        out_ << "<g id=\"loss-layer\">";
        const std::vector<int>& fhr = recording_.fhr;
        for (int i = 0; i < recording_.samples();) {
            if (fhr[i] != 0) {
                ++i;
                continue;
            }
            const int start = i;
            while (i < recording_.samples() && fhr[i] == 0) ++i;
            out_ << "<rect class=\"loss\" x=\"" << start << "\" y=\"0\" width=\"" << i - start
                 << "\" height=\"" << mm(kFhrBottom) << "\"/>";
        }
        out_ << "</g>\n";
    }

    void writeEventShapes() {
        out_ << "<g id=\"event-layer\">\n";
        for (const PageEvent& event : events_) {
            out_ << "<rect" << kFixedStroke
                 << methodAttributes({event.method}, "event " + event.kind) << " data-event=\""
                 << event.id << "\" x=\"" << event.start << "\" y=\"0\" width=\""
                 << std::max(event.end - event.start, 1) << "\" height=\"" << mm(kFhrBottom)
                 << "\"/>\n";
        }
        out_ << "</g>\n";
    }

    std::function<std::optional<double>(int)> heartRateAt() const {
        return [this](int i) -> std::optional<double> {
            if (recording_.fhr[i] == 0) return std::nullopt;  // signal loss
            return recording_.fhr[i];
        };
    }

    std::function<std::optional<double>(int)> tocoAt() const {
        return [this](int i) -> std::optional<double> { return recording_.uc[i]; };
    }

    // Trace and baseline curves in bpm, drawn through a transform onto the panel.
    void writeHeartRateLayer() {
        out_ << panelGroup(
            " clip-path=\"url(#fhr-clip)\"", kFhrHigh * kMmPerBpm, kMmPerBpm,
            tracePaths(" class=\"fhr\"", recording_.samples(), recording_.rate, heartRateAt(), 0) +
                baselineCurves());
    }

    // Methods often share a baseline curve: each distinct curve is drawn once,
    // shown while any method that has it is on.
    std::string baselineCurves() const {
        std::vector<std::pair<std::vector<double>, std::vector<std::string>>> curves;
        for (const MethodView& method : methods_) {
            if (!method.ok || !method.result->contains("baseline") ||
                !(*method.result)["baseline"].contains("curve")) {
                continue;
            }
            auto curve = (*method.result)["baseline"]["curve"].get<std::vector<double>>();
            const auto same =
                std::find_if(curves.begin(), curves.end(),
                             [&curve](const auto& known) { return known.first == curve; });
            if (same != curves.end()) {
                same->second.push_back(method.name);
            } else {
                curves.push_back({std::move(curve), {method.name}});
            }
        }
        std::string paths;
        for (const auto& [curve, names] : curves) {
            const int length =
                static_cast<int>(std::min<std::size_t>(curve.size(), recording_.samples()));
            paths += tracePaths(
                methodAttributes(names, "baseline"), length, recording_.rate,
                [&curve](int i) -> std::optional<double> {
                    if (!std::isfinite(curve[i]) || curve[i] <= 0.0) {
                        return std::nullopt;
                    }
                    return curve[i];
                },
                1);
        }
        return paths;
    }

    // A tick at the start of each run of marked samples.
    void writeMovements() {
        std::string ticks;
        for (int i = 0; i < recording_.samples(); ++i) {
            if (recording_.fm[i] != 0 && (i == 0 || recording_.fm[i - 1] == 0)) {
                ticks += "M" + std::to_string(i) + " " + mm(kMarkTop) + "v" + mm(kMarkHeight);
            }
        }
        out_ << path(" class=\"movement\"", ticks);
    }

    void writeTocoLayer() {
        out_ << panelGroup(
            " clip-path=\"url(#toco-clip)\"", kTocoBottom, kMmPerTocoUnit,
            tracePaths(" class=\"toco\"", recording_.samples(), recording_.rate, tocoAt(), 0));
        writeContractionMarks();
    }

    // The contraction method reports the last contraction's peak and end and
    // the previous contraction's end; the library offers no other contraction
    // positions.  It leaves the gap word at -1 when it found too few contractions.
    void writeContractionMarks() {
        for (const MethodView& method : methods_) {
            if (method.name != "uc" || !method.ok) continue;
            const json& words = (*method.result)["words"];
            if (words["lastEndMinusLastPeak"].get<int>() == -1) continue;
            const auto line = [this](const json& sample) {
                return "M" + std::to_string(sample.get<int>()) + " " + mm(kTocoTop) + "V" +
                       mm(kTocoBottom);
            };
            out_ << path(methodAttributes({method.name}, "peak"),
                         line(words["lastContractionPeak"]))
                 << path(methodAttributes({method.name}, "contraction-end"),
                         line(words["lastContractionEnd"]) + line(words["previousContractionEnd"]));
        }
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
        for (const MethodView& method : methods_) writeScoreCard(method);
        out_ << "</section>\n";
    }

    void writeScoreCard(const MethodView& method) {
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
        for (const PageEvent& event : events_) {
            out_ << "<tr" << methodAttributes({event.method}, event.kind) << " data-event=\""
                 << event.id << "\" data-start=\"" << fixedDecimals(event.startSeconds, 3)
                 << "\" data-end=\"" << fixedDecimals(event.endSeconds, 3) << "\"><td>"
                 << escapeXml(event.title) << "</td><td>" << event.kind << "</td><td>"
                 << clockTime(event.startSeconds) << "</td><td>" << clockTime(event.endSeconds)
                 << "</td><td>" << clockTime(event.endSeconds - event.startSeconds)
                 << "</td></tr>\n";
        }
        out_ << "</tbody></table></div>\n</section>\n";
    }

    std::ostream& out_;
    const Recording& recording_;
    const json& description_;
    std::vector<MethodView> methods_;
    std::vector<PageEvent> events_;
};

}  // namespace

void writeReviewPage(std::ostream& out, const Recording& recording, const json& description) {
    PageWriter(out, recording, description).write();
}

}  // namespace ctgtool
