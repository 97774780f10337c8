#include "svg_plot.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>

#include "markup.h"
#include "report.h"

namespace ctgtool {

namespace {

constexpr double kFhrLow = 50.0, kFhrHigh = 210.0;
constexpr double kPxPerBpm = 2.0, kPxPerTocoUnit = 1.5;
constexpr double kLeft = 56.0, kRight = 24.0, kTop = 66.0, kGap = 8.0;
constexpr double kMarkStrip = 16.0, kAxisLabels = 24.0, kLineHeight = 17.0;
constexpr double kMinimumWidth = 1000.0, kCharWidth = 6.6;

const char* const kStyle = R"(
  .paper{fill:#fffdf8} .minor{stroke:#f4cfc9;stroke-width:0.6} .major{stroke:#dd8a7f;stroke-width:1}
  .normal{fill:#e8f3e3} .frame{fill:none;stroke:#b0665c;stroke-width:1.2}
  .fhr{fill:none;stroke:#16245c;stroke-width:1.1;stroke-linejoin:round}
  .toco{fill:none;stroke:#243a1f;stroke-width:1.1;stroke-linejoin:round}
  .baseline{fill:none;stroke:#e65100;stroke-width:1.8;stroke-dasharray:7 3}
  .acceleration{fill:#2e7d32;fill-opacity:0.22} .deceleration{fill:#c62828;fill-opacity:0.22}
  .loss{fill:#7a7a7a} .movement{fill:#111} .peak{fill:#6a1b9a}
  .contraction-end{stroke:#6a1b9a;stroke-width:1.4;stroke-dasharray:3 2}
  .label{font:11px sans-serif;fill:#555} .title{font:bold 14px sans-serif;fill:#222}
  .box{fill:#ffffff;stroke:#999} .score{font:12px sans-serif;fill:#222} .heading{font:bold 12px sans-serif}
)";

std::string num(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.1f", value);
    return text;
}

// Where everything goes: time runs left to right, the heart-rate panel sits
// above a strip for movement marks and the toco panel.
struct Layout {
    int rate = 4;
    int samples = 0;
    double firstSecond = 0.0, lastSecond = 0.0;
    double pxPerMinute = 0.0;
    double chartRight = 0.0, width = 0.0;
    double fhrTop = kTop, fhrBottom = kTop + (kFhrHigh - kFhrLow) * kPxPerBpm;
    double markTop = fhrBottom + kGap;
    double tocoTop = markTop + kMarkStrip + kGap, tocoBottom = tocoTop + 100.0 * kPxPerTocoUnit;
    double boxTop = tocoBottom + kAxisLabels + kGap;

    double x(double second) const { return kLeft + (second - firstSecond) / 60.0 * pxPerMinute; }
    double xOfSample(int sample) const { return x(static_cast<double>(sample) / rate); }
    double yFhr(double bpm) const { return fhrTop + (kFhrHigh - bpm) * kPxPerBpm; }
    double yToco(double units) const { return tocoTop + (100.0 - units) * kPxPerTocoUnit; }
    int firstSample() const { return static_cast<int>(std::ceil(firstSecond * rate)); }
    int lastSample() const {
        return std::min(static_cast<int>(std::floor(lastSecond * rate)), samples - 1);
    }
};

Layout makeLayout(const Recording& recording, const PlotOptions& options) {
    const double minutes = recording.minutes();
    const double from = options.fromMinute.value_or(0.0);
    const double to = std::min(options.toMinute.value_or(minutes), minutes);
    if (!std::isfinite(from) || !std::isfinite(to) || from < 0.0 || from >= minutes || to <= from) {
        throw std::invalid_argument("the window " + num(from) + "-" + num(to) +
                                    " min lies outside the recording (" + num(minutes) + " min)");
    }
    Layout layout;
    layout.rate = recording.rate;
    layout.samples = recording.samples();
    layout.firstSecond = from * 60.0;
    layout.lastSecond = to * 60.0;
    layout.pxPerMinute = std::clamp(1800.0 / (to - from), 4.0, 120.0);
    layout.chartRight = layout.x(layout.lastSecond);
    layout.width = std::max(layout.chartRight + kRight, kMinimumWidth);
    return layout;
}

class SvgWriter {
public:
    explicit SvgWriter(std::ostream& out) : out_(out) {}

    void line(double x1, double y1, double x2, double y2, const char* cls) {
        out_ << "<line class=\"" << cls << "\" x1=\"" << num(x1) << "\" y1=\"" << num(y1)
             << "\" x2=\"" << num(x2) << "\" y2=\"" << num(y2) << "\"/>\n";
    }
    void rect(double x, double y, double w, double h, const char* cls) {
        out_ << "<rect class=\"" << cls << "\" x=\"" << num(x) << "\" y=\"" << num(y)
             << "\" width=\"" << num(w) << "\" height=\"" << num(h) << "\"/>\n";
    }
    void text(double x, double y, const std::string& content, const char* cls,
              const char* anchor = "start") {
        out_ << "<text class=\"" << cls << "\" x=\"" << num(x) << "\" y=\"" << num(y)
             << "\" text-anchor=\"" << anchor << "\">" << escapeXml(content) << "</text>\n";
    }
    void triangle(double x, double y, double size, const char* cls) {
        out_ << "<path class=\"" << cls << "\" d=\"M" << num(x - size) << "," << num(y) << "L"
             << num(x + size) << "," << num(y) << "L" << num(x) << "," << num(y + 1.6 * size)
             << "Z\"/>\n";
    }
    void path(const std::string& id, const std::string& data, const char* cls, const char* clip) {
        out_ << "<path id=\"" << id << "\" class=\"" << cls << "\" clip-path=\"url(#" << clip
             << ")\" d=\"" << data << "\"/>\n";
    }
    void open(const std::string& tag) { out_ << "<" << tag << ">\n"; }
    void close(const std::string& tag) { out_ << "</" << tag << ">\n"; }
    void raw(const std::string& markup) { out_ << markup; }

private:
    std::ostream& out_;
};

// A polyline through the samples of the window; a sample without value lifts the pen.
std::string tracePath(const Layout& layout, const std::function<std::optional<double>(int)>& yOf) {
    std::string data;
    bool penDown = false;
    for (int i = layout.firstSample(); i <= layout.lastSample(); ++i) {
        const std::optional<double> y = yOf(i);
        if (!y) {
            penDown = false;
            continue;
        }
        data += (penDown ? "L" : "M") + num(layout.xOfSample(i)) + "," + num(*y);
        penDown = true;
    }
    return data;
}

// Paper grid in time: lines every 10 s with a major line each minute when
// there is room, else every minute with a major line each 10 minutes.
struct TimeGrid {
    int minorSeconds;
    int majorSeconds;
};

TimeGrid timeGrid(const Layout& layout) {
    if (layout.pxPerMinute >= 30.0) return {10, 60};
    return {60, 600};
}

void drawTimeGrid(SvgWriter& svg, const Layout& layout, double top, double bottom) {
    const TimeGrid grid = timeGrid(layout);
    const int firstLine = static_cast<int>(std::ceil(layout.firstSecond / grid.minorSeconds));
    for (int k = firstLine; k * grid.minorSeconds <= layout.lastSecond; ++k) {
        const int second = k * grid.minorSeconds;
        const double x = layout.x(second);
        svg.line(x, top, x, bottom, second % grid.majorSeconds == 0 ? "major" : "minor");
    }
}

struct PanelScale {
    double low, high, minorStep, majorStep;
    std::function<double(double)> y;
    std::optional<std::pair<double, double>> normalBand;  // shaded value range
};

void drawPanel(SvgWriter& svg, const Layout& layout, double top, double bottom,
               const PanelScale& scale) {
    const double width = layout.chartRight - kLeft;
    svg.rect(kLeft, top, width, bottom - top, "paper");
    if (scale.normalBand) {
        const auto [bandLow, bandHigh] = *scale.normalBand;
        svg.rect(kLeft, scale.y(bandHigh), width, scale.y(bandLow) - scale.y(bandHigh), "normal");
    }
    for (double value = scale.low; value <= scale.high; value += scale.minorStep) {
        const bool major = std::fmod(value, scale.majorStep) == 0.0;
        if (!major) svg.line(kLeft, scale.y(value), layout.chartRight, scale.y(value), "minor");
    }
    drawTimeGrid(svg, layout, top, bottom);
    for (double value = std::ceil(scale.low / scale.majorStep) * scale.majorStep;
         value <= scale.high; value += scale.majorStep) {
        svg.line(kLeft, scale.y(value), layout.chartRight, scale.y(value), "major");
        svg.text(kLeft - 6, scale.y(value) + 4, std::to_string(static_cast<int>(value)), "label",
                 "end");
    }
    svg.rect(kLeft, top, layout.chartRight - kLeft, bottom - top, "frame");
}

void drawTimeLabels(SvgWriter& svg, const Layout& layout) {
    const int majorMinutes = timeGrid(layout).majorSeconds / 60;
    int every = 1;
    for (int step : {1, 2, 5, 10, 20, 50}) {
        every = step;
        if (step * majorMinutes * layout.pxPerMinute >= 40.0) break;
    }
    const int labelMinutes = every * majorMinutes;
    const double y = layout.tocoBottom + 15;
    for (int minute =
             static_cast<int>(std::ceil(layout.firstSecond / 60.0 / labelMinutes)) * labelMinutes;
         minute * 60.0 <= layout.lastSecond; minute += labelMinutes) {
        svg.text(layout.x(minute * 60.0), y, std::to_string(minute), "label", "middle");
    }
    svg.text(kLeft - 14, y, "min", "label", "end");
}

std::string clipRectangle(const char* id, const Layout& layout, double top, double bottom) {
    return std::string("<clipPath id=\"") + id + "\"><rect x=\"" + num(kLeft) + "\" y=\"" +
           num(top) + "\" width=\"" + num(layout.chartRight - kLeft) + "\" height=\"" +
           num(bottom - top) + "\"/></clipPath>\n";
}

void drawClipPaths(SvgWriter& svg, const Layout& layout) {
    svg.raw("<defs>\n" + clipRectangle("fhr-clip", layout, layout.fhrTop, layout.fhrBottom) +
            clipRectangle("toco-clip", layout, layout.tocoTop, layout.tocoBottom) + "</defs>\n");
}

// Shaded intervals, clipped to the window.
void drawEventBands(SvgWriter& svg, const Layout& layout, const std::vector<Event>& events,
                    const char* cls) {
    for (const Event& event : events) {
        const double x1 = std::max(layout.xOfSample(event.start), kLeft);
        const double x2 = std::min(layout.xOfSample(event.end), layout.chartRight);
        if (x2 <= x1) continue;
        svg.rect(x1, layout.fhrTop, x2 - x1, layout.fhrBottom - layout.fhrTop, cls);
    }
}

const MethodResult* firstWith(const std::vector<MethodResult>& results,
                              const std::function<bool(const MethodResult&)>& wanted) {
    for (const MethodResult& result : results) {
        if (result.ok && wanted(result)) return &result;
    }
    return nullptr;
}

void drawHeartRatePanel(SvgWriter& svg, const Layout& layout, const Recording& recording,
                        const std::vector<MethodResult>& results) {
    svg.open("g id=\"fhr-panel\"");
    const PanelScale scale{kFhrLow,
                           kFhrHigh,
                           10,
                           30,
                           [&layout](double bpm) { return layout.yFhr(bpm); },
                           std::pair{110.0, 160.0}};
    drawPanel(svg, layout, layout.fhrTop, layout.fhrBottom, scale);
    const MethodResult* events =
        firstWith(results, [](const MethodResult& result) { return result.method != Method::Uc; });
    if (events != nullptr) {
        drawEventBands(svg, layout, events->accelerations, "acceleration");
        drawEventBands(svg, layout, events->decelerations, "deceleration");
    }
    svg.path("fhr-trace",
             tracePath(layout,
                       [&](int i) -> std::optional<double> {
                           if (recording.fhr[i] == 0) return std::nullopt;  // signal loss
                           return layout.yFhr(recording.fhr[i]);
                       }),
             "fhr", "fhr-clip");
    const MethodResult* curve =
        firstWith(results, [](const MethodResult& result) { return !result.baseline.empty(); });
    if (curve != nullptr) {
        svg.path("baseline",
                 tracePath(layout,
                           [&](int i) -> std::optional<double> {
                               if (i >= static_cast<int>(curve->baseline.size()) ||
                                   curve->baseline[i] <= 0.0) {
                                   return std::nullopt;
                               }
                               return layout.yFhr(curve->baseline[i]);
                           }),
                 "baseline", "fhr-clip");
    }
    svg.close("g");
}

// Runs of fhr 0 as grey bars along the bottom of the heart-rate panel.
void drawSignalLoss(SvgWriter& svg, const Layout& layout, const Recording& recording) {
    for (int i = layout.firstSample(); i <= layout.lastSample();) {
        if (recording.fhr[i] != 0) {
            ++i;
            continue;
        }
        const int start = i;
        while (i <= layout.lastSample() && recording.fhr[i] == 0) ++i;
        const double x1 = layout.xOfSample(start);
        svg.rect(x1, layout.fhrBottom - 5, std::max(layout.xOfSample(i) - x1, 1.0), 5, "loss");
    }
}

void drawMovements(SvgWriter& svg, const Layout& layout, const Recording& recording) {
    svg.open("g id=\"movements\"");
    for (int i = layout.firstSample(); i <= layout.lastSample(); ++i) {
        if (recording.fm[i] != 0 && (i == 0 || recording.fm[i - 1] == 0)) {
            svg.triangle(layout.xOfSample(i), layout.markTop + 2, 5, "movement");
        }
    }
    svg.close("g");
}

// The contraction method reports the last contraction's peak and end and the
// previous contraction's end (words 5, 4 and 6); the library offers no other
// contraction positions.
void drawContractionMarks(SvgWriter& svg, const Layout& layout,
                          const std::vector<MethodResult>& results) {
    const MethodResult* uc = firstWith(results, [](const MethodResult& result) {
        return result.method == Method::Uc && word(result.record, 1) != -1;
    });
    if (uc == nullptr) return;
    svg.open("g id=\"contractions\"");
    const auto visible = [&layout](double x) { return x >= kLeft && x <= layout.chartRight; };
    for (int index : {4, 6}) {
        const double x = layout.xOfSample(word(uc->record, index));
        if (visible(x)) svg.line(x, layout.tocoTop, x, layout.tocoBottom, "contraction-end");
    }
    const double peak = layout.xOfSample(word(uc->record, 5));
    if (visible(peak)) svg.triangle(peak, layout.tocoTop + 2, 6, "peak");
    svg.close("g");
}

void drawTocoPanel(SvgWriter& svg, const Layout& layout, const Recording& recording,
                   const std::vector<MethodResult>& results) {
    svg.open("g id=\"toco-panel\"");
    const PanelScale scale{
        0, 100, 10, 20, [&layout](double units) { return layout.yToco(units); }, std::nullopt};
    drawPanel(svg, layout, layout.tocoTop, layout.tocoBottom, scale);
    svg.path(
        "toco-trace",
        tracePath(layout,
                  [&](int i) -> std::optional<double> { return layout.yToco(recording.uc[i]); }),
        "toco", "toco-clip");
    drawContractionMarks(svg, layout, results);
    svg.close("g");
}

// One row under the title, from the left edge of the chart.
void drawLegend(SvgWriter& svg) {
    struct Entry {
        const char* cls;
        const char* label;
        enum { Line, Band, Mark } symbol;
    };
    const Entry entries[] = {{"baseline", "baseline", Entry::Line},
                             {"acceleration", "acceleration", Entry::Band},
                             {"deceleration", "deceleration", Entry::Band},
                             {"loss", "signal loss", Entry::Band},
                             {"movement", "movement mark", Entry::Mark},
                             {"peak", "last contraction peak", Entry::Mark},
                             {"contraction-end", "contraction end", Entry::Line}};
    const auto entryWidth = [](const Entry& entry) {
        return 46.0 + 6.2 * std::string(entry.label).size();
    };
    double x = kLeft - 4;
    const double y = 46;
    for (const Entry& entry : entries) {
        switch (entry.symbol) {
            case Entry::Line:
                svg.line(x, y - 4, x + 22, y - 4, entry.cls);
                break;
            case Entry::Band:
                svg.rect(x + 4, y - 9, 14, 10, entry.cls);
                break;
            case Entry::Mark:
                svg.triangle(x + 11, y - 9, 5, entry.cls);
                break;
        }
        svg.text(x + 26, y, entry.label, "label");
        x += entryWidth(entry);
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
    const std::vector<MethodResult>& results, int rate, std::size_t width) {
    std::vector<std::pair<std::string, std::string>> lines;  // heading, text
    for (const MethodResult& result : results) {
        const nlohmann::ordered_json doc = describeResult(result, rate, {});
        std::string heading = doc["title"].get<std::string>();
        if (!result.ok) {
            lines.emplace_back(heading + ":", "not scored: " + result.error);
            continue;
        }
        if (doc.contains("score")) {
            heading += " " + std::to_string(doc["score"].get<int>()) + "/" +
                       std::to_string(doc["max_score"].get<int>());
        }
        std::vector<std::string> items;
        for (const auto& entry : doc["items"]) items.push_back(entry["text"].get<std::string>());
        heading += ":";
        for (const std::string& text : wrapItems(items, width)) {
            lines.emplace_back(heading, text);
            heading.clear();
        }
    }
    return lines;
}

double drawScoreBox(SvgWriter& svg, const Layout& layout,
                    const std::vector<MethodResult>& results) {
    const double boxWidth = layout.width - kLeft - kRight;
    const double headingWidth = 125;
    const auto width = static_cast<std::size_t>((boxWidth - headingWidth - 20) / kCharWidth);
    const auto lines = scoreLines(results, layout.rate, width);
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
    return recording.name + " - " + num(recording.minutes()) + " min at " +
           std::to_string(recording.rate) + " Hz, shown " + clockTime(layout.firstSecond) + " to " +
           clockTime(layout.lastSecond) + " (min:s)";
}

}  // namespace

void writeStripSvg(std::ostream& out, const Recording& recording,
                   const std::vector<MethodResult>& results, const PlotOptions& options) {
    const Layout layout = makeLayout(recording, options);
    std::ostringstream body;
    SvgWriter svg(body);
    drawClipPaths(svg, layout);
    svg.text(kLeft, 24, titleOf(recording, layout), "title");
    drawLegend(svg);
    svg.text(kLeft - 40, layout.fhrTop - 8, "FHR bpm", "label");
    drawHeartRatePanel(svg, layout, recording, results);
    drawSignalLoss(svg, layout, recording);
    drawMovements(svg, layout, recording);
    svg.text(kLeft - 40, layout.tocoTop - 4, "TOCO", "label");
    drawTocoPanel(svg, layout, recording, results);
    drawTimeLabels(svg, layout);
    const double height = drawScoreBox(svg, layout, results) + 12;

    out << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << num(layout.width)
        << "\" height=\"" << num(height) << "\" viewBox=\"0 0 " << num(layout.width) << " "
        << num(height) << "\">\n"
        << "<style>" << kStyle << "</style>\n"
        << "<rect width=\"100%\" height=\"100%\" fill=\"#ffffff\"/>\n"
        << body.str() << "</svg>\n";
}

}  // namespace ctgtool
