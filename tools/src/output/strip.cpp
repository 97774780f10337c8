#include "output/strip.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <optional>

#include "analysis/method_facts.h"
#include "output/text_format.h"

namespace ctgtool::strip {

namespace {

using json = nlohmann::ordered_json;

std::string mm(double value) { return fixed(value, 1); }

// Strokes keep their width however the strip is stretched.  An attribute, not
// a style rule: the copies of the strip in the review page's overview and
// printed pages (<use> elements) keep attributes but not every style rule.
const char* const kFixedStroke = " vector-effect=\"non-scaling-stroke\"";

std::string path(const std::string& attributes, const std::string& data) {
    return "<path" + std::string(kFixedStroke) + attributes + " d=\"" + data + "\"/>\n";
}

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

using ValueAt = std::function<std::optional<double>(int)>;

// Consecutive stretches share their boundary sample, so the line goes on unbroken.
std::string tracePaths(const std::string& attributes, int first, int end, int rate,
                       const ValueAt& valueAt, int decimals) {
    std::string paths;
    const int stretch = stretchSamples(rate, end - first);
    for (int from = first; from < end; from += std::min(stretch, end - from)) {
        PathData data(decimals);
        for (int i = std::max(from - 1, first); i < from + std::min(stretch, end - from); ++i) {
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

std::string envelopePath(int samples, const ValueAt& valueAt) {
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

ValueAt heartRateAt(const Recording& recording) {
    return [&recording](int i) -> std::optional<double> {
        if (recording.fhr[i] == 0) return std::nullopt;  // signal loss
        return recording.fhr[i];
    };
}

ValueAt tocoAt(const Recording& recording) {
    return [&recording](int i) -> std::optional<double> { return recording.uc[i]; };
}

std::string clipRectangle(const char* id, int first, int end, double top, double bottom) {
    return std::string("<clipPath id=\"") + id + "\"><rect x=\"" + std::to_string(first) +
           "\" y=\"" + mm(top) + "\" width=\"" + std::to_string(end - first) + "\" height=\"" +
           mm(bottom - top) + "\"/></clipPath>";
}

}  // namespace

std::vector<ValueLabel> valueLabels() {
    std::vector<ValueLabel> labels;
    for (int bpm = kFhrMajorStep * static_cast<int>(std::ceil(kFhrLow / kFhrMajorStep));
         bpm <= kFhrHigh; bpm += kFhrMajorStep) {
        labels.push_back({fhrY(bpm), bpm});
    }
    for (int units = 0; units <= kTocoHigh; units += kTocoMajorStep) {
        labels.push_back({tocoY(units), units});
    }
    return labels;
}

std::vector<MethodView> methodViews(const json& description) {
    std::vector<MethodView> views;
    bool heartRateShown = false;
    for (const json& result : description["results"]) {
        MethodView view{text(result["method"]), text(result["title"]), result["ok"].get<bool>()};
        view.result = &result;
        const bool heartRate = view.name != factsOf(Method::Uc).name;
        view.onAtFirst = view.ok && (!heartRate || !heartRateShown);
        heartRateShown = heartRateShown || (view.ok && heartRate);
        views.push_back(view);
    }
    return views;
}

std::vector<StripEvent> stripEvents(const std::vector<MethodView>& methods) {
    std::vector<StripEvent> events;
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
    std::stable_sort(events.begin(), events.end(), [](const StripEvent& a, const StripEvent& b) {
        return a.startSeconds < b.startSeconds;
    });
    return events;
}

std::string methodAttributes(const std::vector<MethodView>& methods,
                             const std::vector<std::string>& names, const std::string& cls) {
    std::string list;
    bool on = false;
    for (const std::string& name : names) {
        list += (list.empty() ? "" : " ") + name;
        for (const MethodView& method : methods) {
            on = on || (method.name == name && method.onAtFirst);
        }
    }
    return " class=\"" + cls + (on ? "" : " off") + "\" data-methods=\"" + list + "\"";
}

Drawing::Drawing(const Recording& recording, const json& description, int first, int end)
    : recording_(recording),
      first_(first),
      end_(end),
      methods_(methodViews(description)),
      events_(stripEvents(methods_)) {}

std::string Drawing::clipPaths() const {
    return clipRectangle("fhr-clip", first_, end_, 0, kFhrBottom) +
           clipRectangle("toco-clip", first_, end_, kTocoTop, kTocoBottom);
}

std::string Drawing::content() const {
    return paper() + signalLoss() + eventShapes() + heartRateLayer() + movements() + tocoLayer();
}

std::string Drawing::outline() const {
    const int samples = recording_.samples();
    return panelGroup(" clip-path=\"url(#fhr-clip)\"", fhrY(0), kMmPerBpm,
                      path(" class=\"fhr\"", envelopePath(samples, heartRateAt(recording_)))) +
           panelGroup(" clip-path=\"url(#toco-clip)\"", tocoY(0), kMmPerTocoUnit,
                      path(" class=\"toco\"", envelopePath(samples, tocoAt(recording_))));
}

std::string Drawing::x(double seconds) const { return fixed(seconds * recording_.rate, 1); }

// The panels with the band of normal heart rate and the grid lines across
// value and time; the 10-second lines are "off" (the page shows them only at
// the faster paper speeds).
std::string Drawing::paper() const {
    const std::string left = std::to_string(first_), right = std::to_string(end_);
    const std::string width = std::to_string(end_ - first_);
    std::string out = "<rect class=\"paper\" x=\"" + left + "\" y=\"0\" width=\"" + width +
                      "\" height=\"" + mm(kFhrBottom) + "\"/><rect class=\"paper\" x=\"" + left +
                      "\" y=\"" + mm(kTocoTop) + "\" width=\"" + width + "\" height=\"" +
                      mm(kTocoBottom - kTocoTop) + "\"/><rect class=\"normal\" x=\"" + left +
                      "\" y=\"" + mm(fhrY(kNormalHigh)) + "\" width=\"" + width + "\" height=\"" +
                      mm((kNormalHigh - kNormalLow) * kMmPerBpm) + "\"/>\n";
    std::string minor, major;
    for (int bpm = kFhrLow + kFhrMinorStep; bpm < kFhrHigh; bpm += kFhrMinorStep) {
        (bpm % kFhrMajorStep == 0 ? major : minor) +=
            "M" + left + " " + mm(fhrY(bpm)) + "H" + right;
    }
    for (int units = kTocoMinorStep; units < kTocoHigh; units += kTocoMinorStep) {
        (units % kTocoMajorStep == 0 ? major : minor) +=
            "M" + left + " " + mm(tocoY(units)) + "H" + right;
    }
    out += path(" class=\"grid minor\"", minor) + path(" class=\"grid major\"", major);
    // Lines across time, in stretches.
    const long firstSecond = first_ / recording_.rate / kMinorSeconds * kMinorSeconds;
    const long lastSecond = end_ / recording_.rate;
    for (long from = firstSecond; from < lastSecond; from += kStretchSeconds) {
        std::string seconds, minutes;
        for (long second = from + kMinorSeconds;
             second <= std::min(from + kStretchSeconds, lastSecond); second += kMinorSeconds) {
            (second % kMajorSeconds == 0 ? minutes : seconds) +=
                "M" + x(second) + " 0V" + mm(kFhrBottom) + "M" + x(second) + " " + mm(kTocoTop) +
                "V" + mm(kTocoBottom);
        }
        out +=
            path(" class=\"grid seconds off\"", seconds) + path(" class=\"grid major\"", minutes);
    }
    return out;
}

// Runs of heart rate 0 as grey columns over the heart-rate panel.
std::string Drawing::signalLoss() const {
    std::string out = "<g id=\"loss-layer\">";
    const std::vector<int>& fhr = recording_.fhr;
    for (int i = first_; i < end_;) {
        if (fhr[i] != 0) {
            ++i;
            continue;
        }
        const int start = i;
        while (i < end_ && fhr[i] == 0) ++i;
        out += "<rect class=\"loss\" x=\"" + std::to_string(start) + "\" y=\"0\" width=\"" +
               std::to_string(i - start) + "\" height=\"" + mm(kFhrBottom) + "\"/>";
    }
    return out + "</g>\n";
}

std::string Drawing::eventShapes() const {
    std::string out = "<g id=\"event-layer\">\n";
    for (const StripEvent& event : events_) {
        out += "<rect" + std::string(kFixedStroke) +
               methodAttributes(methods_, {event.method}, "event " + event.kind) +
               " data-event=\"" + event.id + "\" x=\"" + std::to_string(event.start) +
               "\" y=\"0\" width=\"" + std::to_string(std::max(event.end - event.start, 1)) +
               "\" height=\"" + mm(kFhrBottom) + "\"/>\n";
    }
    return out + "</g>\n";
}

// Trace and baseline curves in bpm, drawn through a transform onto the panel.
std::string Drawing::heartRateLayer() const {
    return panelGroup(
        " clip-path=\"url(#fhr-clip)\"", fhrY(0), kMmPerBpm,
        tracePaths(" class=\"fhr\"", first_, end_, recording_.rate, heartRateAt(recording_), 0) +
            baselineCurves());
}

// Methods often share a baseline curve: each distinct curve is drawn once,
// shown while any method that has it is on.
std::string Drawing::baselineCurves() const {
    std::vector<std::pair<std::vector<double>, std::vector<std::string>>> curves;
    for (const MethodView& method : methods_) {
        if (!method.ok || !method.result->contains("baseline") ||
            !(*method.result)["baseline"].contains("curve")) {
            continue;
        }
        auto curve = (*method.result)["baseline"]["curve"].get<std::vector<double>>();
        const auto same = std::find_if(curves.begin(), curves.end(), [&curve](const auto& known) {
            return known.first == curve;
        });
        if (same != curves.end()) {
            same->second.push_back(method.name);
        } else {
            curves.push_back({std::move(curve), {method.name}});
        }
    }
    std::string paths;
    for (const auto& [curve, names] : curves) {
        const int end = static_cast<int>(std::min<std::size_t>(curve.size(), end_));
        paths += tracePaths(
            methodAttributes(methods_, names, "baseline"), first_, end, recording_.rate,
            [&curve](int i) -> std::optional<double> {
                if (!std::isfinite(curve[i]) || curve[i] <= 0.0) return std::nullopt;
                return curve[i];
            },
            1);
    }
    return paths;
}

// A tick at the start of each run of marked samples.
std::string Drawing::movements() const {
    std::string ticks;
    for (int i = first_; i < end_; ++i) {
        if (recording_.fm[i] != 0 && (i == 0 || recording_.fm[i - 1] == 0)) {
            ticks += "M" + std::to_string(i) + " " + mm(kMarkTop) + "v" + mm(kMarkHeight);
        }
    }
    return path(" class=\"movement\"", ticks);
}

std::string Drawing::tocoLayer() const {
    return panelGroup(" clip-path=\"url(#toco-clip)\"", tocoY(0), kMmPerTocoUnit,
                      tracePaths(" class=\"toco\"", first_, end_, recording_.rate,
                                 tocoAt(recording_), 0)) +
           contractionMarks();
}

// The contraction method reports the last contraction's peak and end and
// the previous contraction's end; the library offers no other contraction
// positions.  It leaves lastEndMinusLastPeak at -1 when it found too few
// contractions.
std::string Drawing::contractionMarks() const {
    std::string out;
    const std::string uc = factsOf(Method::Uc).name;
    for (const MethodView& method : methods_) {
        if (method.name != uc || !method.ok) continue;
        const json& words = (*method.result)["words"];
        if (words["lastEndMinusLastPeak"].get<int>() == -1) continue;
        const auto line = [&words](const char* name) {
            return "M" + std::to_string(words[name].get<int>()) + " " + mm(kTocoTop) + "V" +
                   mm(kTocoBottom);
        };
        out +=
            path(methodAttributes(methods_, {method.name}, "peak"), line("lastContractionPeak")) +
            path(methodAttributes(methods_, {method.name}, "contraction-end"),
                 line("lastContractionEnd") + line("previousContractionEnd"));
    }
    return out;
}

}  // namespace ctgtool::strip
