#include "output/svg_plot.h"

#include <algorithm>
#include <cmath>
#include <sstream>
#include <stdexcept>
#include <string>

#include "output/description.h"
#include "output/strip.h"
#include "output/text_format.h"

namespace ctgtool {

namespace {

// The strip at 4 px per millimetre of paper (2 px per bpm), with the title,
// legend and value labels above and beside it and the score box below.
constexpr double kPxPerMm = 4.0;
constexpr double kLeft = 56.0, kRight = 24.0, kTop = 66.0, kGap = 8.0;
constexpr double kAxisLabels = 24.0, kLineHeight = 17.0;
constexpr double kMinimumWidth = 1000.0, kCharWidth = 6.6;

// The strip's classes as on the review page; strokes keep their width while
// the strip is stretched to the window.
const char* const kStyle = R"(
  .paper{fill:#fffdf8} .normal{fill:#e8f3e3} .grid{fill:none;stroke-width:0.8px}
  .grid.minor,.grid.seconds{stroke:#f4cfc9} .grid.major{stroke:#dd8a7f}
  .fhr,.toco,.baseline{fill:none;stroke-linejoin:round}
  .fhr{stroke:#16245c;stroke-width:1.1px} .toco{stroke:#243a1f;stroke-width:1.1px}
  .baseline{stroke:#e65100;stroke-width:1.8px;stroke-dasharray:7 3}
  .acceleration{fill:#2e7d32;fill-opacity:0.22} .deceleration{fill:#c62828;fill-opacity:0.22}
  .loss{fill:#7a7a7a;fill-opacity:0.35} .movement{stroke:#111;stroke-width:2.5px}
  .peak{stroke:#6a1b9a;stroke-width:2px}
  .contraction-end{stroke:#6a1b9a;stroke-width:1.4px;stroke-dasharray:3 2} .off{display:none}
  .label{font:11px sans-serif;fill:#555} .title{font:bold 14px sans-serif;fill:#222}
  .box{fill:#ffffff;stroke:#999} .score{font:12px sans-serif;fill:#222} .heading{font:bold 12px sans-serif}
)";

// Shown when the window leaves at least this many pixels between them.
const char* const kTenSecondLines = "  .grid.seconds{display:inline}\n";
constexpr double kPxPerMinuteForTenSecondLines = 30.0;

std::string px(double value) { return fixed(value, 1); }

// Where everything goes: the window's samples left to right from kLeft, the
// strip's millimetres downwards from kTop.
struct Layout {
    int rate = 4;
    int first = 0, end = 0;  // samples shown
    double firstSecond = 0.0, lastSecond = 0.0;
    double pxPerMinute = 0.0;
    double chartRight = 0.0, width = 0.0;
    double stripBottom = kTop + strip::kTocoBottom * kPxPerMm;
    double boxTop = stripBottom + kAxisLabels + kGap;

    double x(double second) const { return kLeft + (second - firstSecond) / 60.0 * pxPerMinute; }
    double y(double mm) const { return kTop + mm * kPxPerMm; }
};

Layout makeLayout(const Recording& recording, const PlotOptions& options) {
    const double minutes = recording.minutes();
    const double from = options.fromMinute.value_or(0.0);
    const double to = std::min(options.toMinute.value_or(minutes), minutes);
    if (!std::isfinite(from) || !std::isfinite(to) || from < 0.0 || from >= minutes || to <= from) {
        throw std::invalid_argument("the window " + px(from) + "-" + px(to) +
                                    " min lies outside the recording (" + px(minutes) + " min)");
    }
    Layout layout;
    layout.rate = recording.rate;
    layout.firstSecond = from * 60.0;
    layout.lastSecond = to * 60.0;
    layout.first = static_cast<int>(std::ceil(layout.firstSecond * recording.rate));
    layout.end = std::min(static_cast<int>(std::floor(layout.lastSecond * recording.rate)) + 1,
                          recording.samples());
    layout.pxPerMinute = std::clamp(1800.0 / (to - from), 4.0, 120.0);
    layout.chartRight = layout.x(layout.lastSecond);
    layout.width = std::max(layout.chartRight + kRight, kMinimumWidth);
    return layout;
}

class SvgWriter {
public:
    explicit SvgWriter(std::ostream& out) : out_(out) {}

    void line(double x1, double y1, double x2, double y2, const char* cls) {
        out_ << "<line class=\"" << cls << "\" x1=\"" << px(x1) << "\" y1=\"" << px(y1)
             << "\" x2=\"" << px(x2) << "\" y2=\"" << px(y2) << "\"/>\n";
    }
    void rect(double x, double y, double w, double h, const char* cls) {
        out_ << "<rect class=\"" << cls << "\" x=\"" << px(x) << "\" y=\"" << px(y) << "\" width=\""
             << px(w) << "\" height=\"" << px(h) << "\"/>\n";
    }
    void text(double x, double y, const std::string& content, const char* cls,
              const char* anchor = "start") {
        out_ << "<text class=\"" << cls << "\" x=\"" << px(x) << "\" y=\"" << px(y)
             << "\" text-anchor=\"" << anchor << "\">" << escapeXml(content) << "</text>\n";
    }
    void open(const std::string& tag) { out_ << "<" << tag << ">\n"; }
    void close(const std::string& tag) { out_ << "</" << tag << ">\n"; }
    void raw(const std::string& markup) { out_ << markup; }

private:
    std::ostream& out_;
};

// The strip's samples of the window, stretched onto the chart; the nested
// svg element clips what lies outside the window.
void drawStrip(SvgWriter& svg, const Layout& layout, const strip::Drawing& drawing) {
    svg.raw("<svg id=\"strip\" x=\"" + px(kLeft) + "\" y=\"" + px(kTop) + "\" width=\"" +
            px(layout.chartRight - kLeft) + "\" height=\"" + px(layout.stripBottom - kTop) +
            "\" viewBox=\"" + px(layout.firstSecond * layout.rate) + " 0 " +
            px((layout.lastSecond - layout.firstSecond) * layout.rate) + " " +
            px(strip::kTocoBottom) + "\" preserveAspectRatio=\"none\">\n<defs>" +
            drawing.clipPaths() + "</defs>\n" + drawing.content() + "</svg>\n");
}

void drawValueLabels(SvgWriter& svg, const Layout& layout) {
    for (const strip::ValueLabel& label : strip::valueLabels()) {
        svg.text(kLeft - 6, layout.y(label.y) + 4, std::to_string(label.value), "label", "end");
    }
    svg.text(kLeft - 40, kTop - 8, "FHR bpm", "label");
    svg.text(kLeft - 40, layout.y(strip::kTocoTop) - 13, "TOCO", "label");  // above the 100
}

// Minute numbers under the strip, at a step that leaves room between them.
void drawTimeLabels(SvgWriter& svg, const Layout& layout) {
    int every = 1;
    for (int step : {1, 2, 5, 10, 20, 50, 100, 200, 500}) {
        every = step;
        if (step * layout.pxPerMinute >= 40.0) break;
    }
    const double y = layout.stripBottom + 15;
    for (int minute = static_cast<int>(std::ceil(layout.firstSecond / 60.0 / every)) * every;
         minute * 60.0 <= layout.lastSecond; minute += every) {
        svg.text(layout.x(minute * 60.0), y, std::to_string(minute), "label", "middle");
    }
    svg.text(kLeft - 14, y, "min", "label", "end");
}

// One row under the title, from the left edge of the chart.
void drawLegend(SvgWriter& svg) {
    struct Entry {
        const char* cls;
        const char* label;
        bool band;
    };
    const Entry entries[] = {{"baseline", "baseline", false},
                             {"acceleration", "acceleration", true},
                             {"deceleration", "deceleration", true},
                             {"loss", "signal loss", true},
                             {"movement", "movement mark", false},
                             {"peak", "last contraction peak", false},
                             {"contraction-end", "contraction end", false}};
    double x = kLeft - 4;
    const double y = 46;
    for (const Entry& entry : entries) {
        if (entry.band) {
            svg.rect(x + 4, y - 9, 14, 10, entry.cls);
        } else {
            svg.line(x, y - 4, x + 22, y - 4, entry.cls);
        }
        svg.text(x + 26, y, entry.label, "label");
        x += 46.0 + 6.2 * std::string(entry.label).size();
    }
}

// Splits "a; b; c" into lines of at most width characters, at item boundaries.
std::vector<std::string> wrapItems(const std::vector<std::string>& items, std::size_t width) {
    std::vector<std::string> lines(1);
    for (const std::string& item : items) {
        if (!lines.back().empty() && lines.back().size() + 2 + item.size() > width) {
            lines.emplace_back();
        }
        lines.back() += (lines.back().empty() ? "" : "; ") + item;
    }
    return lines;
}

std::vector<std::pair<std::string, std::string>> scoreLines(
    const nlohmann::ordered_json& description, std::size_t width) {
    std::vector<std::pair<std::string, std::string>> lines;  // heading, text
    for (const auto& doc : description["results"]) {
        std::string heading = text(doc["title"]);
        if (!doc["ok"].get<bool>()) {
            lines.emplace_back(heading + ":", "not scored: " + text(doc["error"]));
            continue;
        }
        if (doc.contains("score")) {
            heading += " " + std::to_string(doc["score"].get<int>()) + "/" +
                       std::to_string(doc["max_score"].get<int>());
        }
        std::vector<std::string> items;
        for (const auto& entry : doc["items"]) items.push_back(text(entry["text"]));
        heading += ":";
        for (const std::string& text : wrapItems(items, width)) {
            lines.emplace_back(heading, text);
            heading.clear();
        }
    }
    return lines;
}

double drawScoreBox(SvgWriter& svg, const Layout& layout,
                    const nlohmann::ordered_json& description) {
    const double boxWidth = layout.width - kLeft - kRight;
    const double headingWidth = 125;
    const auto width = static_cast<std::size_t>((boxWidth - headingWidth - 20) / kCharWidth);
    const auto lines = scoreLines(description, width);
    const double height = kLineHeight * (lines.size() + 1) + 10;
    svg.open("g id=\"score-box\"");
    svg.rect(kLeft, layout.boxTop, boxWidth, height, "box");
    double y = layout.boxTop + kLineHeight;
    svg.text(kLeft + 10, y, "Scores of the whole recording", "heading");
    for (const auto& [heading, text] : lines) {
        y += kLineHeight;
        svg.text(kLeft + 10, y, heading, "heading");
        svg.text(kLeft + 10 + headingWidth, y, text, "score");
    }
    svg.close("g");
    return layout.boxTop + height;
}

std::string titleOf(const Recording& recording, const Layout& layout) {
    return recording.name + " - " + px(recording.minutes()) + " min at " +
           std::to_string(recording.rate) + " Hz, shown " + clockTime(layout.firstSecond) + " to " +
           clockTime(layout.lastSecond) + " (min:s)";
}

}  // namespace

void writeStripSvg(std::ostream& out, const Recording& recording,
                   const std::vector<MethodResult>& results, const PlotOptions& options) {
    const Layout layout = makeLayout(recording, options);
    const nlohmann::ordered_json description =
        describeRecording(recording.name, recording, results, ReportOptions{true});
    std::ostringstream body;
    SvgWriter svg(body);
    svg.text(kLeft, 24, titleOf(recording, layout), "title");
    drawLegend(svg);
    drawStrip(svg, layout, strip::Drawing(recording, description, layout.first, layout.end));
    drawValueLabels(svg, layout);
    drawTimeLabels(svg, layout);
    const double height = drawScoreBox(svg, layout, description) + 12;

    const bool tenSecondLines = layout.pxPerMinute >= kPxPerMinuteForTenSecondLines;
    out << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << px(layout.width)
        << "\" height=\"" << px(height) << "\" viewBox=\"0 0 " << px(layout.width) << " "
        << px(height) << "\">\n"
        << "<style>" << kStyle << (tenSecondLines ? kTenSecondLines : "") << "</style>\n"
        << "<rect width=\"100%\" height=\"100%\" fill=\"#ffffff\"/>\n"
        << body.str() << "</svg>\n";
}

}  // namespace ctgtool
