// The CTG strip as SVG: the paper (heart-rate and toco panels on a grid, the
// band of normal heart rate), the traces, signal loss, accelerations and
// decelerations, baseline curves, movement marks and contraction marks.  It
// is drawn in its own units, one sample across and one millimetre down, and
// the SVG plot and the review page each place it in a frame of their own.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "recordings/recording.h"

namespace ctgtool::strip {

// Paper scale: 20 bpm and 25 toco units per centimetre.
constexpr double kFhrLow = 50.0, kFhrHigh = 210.0, kMmPerBpm = 0.5;
constexpr double kTocoHigh = 100.0, kMmPerTocoUnit = 0.4;
constexpr double kNormalLow = 110.0, kNormalHigh = 160.0;  // shaded heart-rate band
// Grid lines every minor step, heavier every major step.
constexpr int kFhrMinorStep = 10, kFhrMajorStep = 30;
constexpr int kTocoMinorStep = 10, kTocoMajorStep = 20;
constexpr int kMinorSeconds = 10, kMajorSeconds = 60;

// Heights in millimetres from the top: the heart-rate panel, a row for the
// movement marks, the toco panel.
constexpr double kFhrBottom = (kFhrHigh - kFhrLow) * kMmPerBpm;
constexpr double kMarkTop = kFhrBottom + 2.0, kMarkHeight = 6.0;
constexpr double kTocoTop = kMarkTop + kMarkHeight + 2.0;
constexpr double kTocoBottom = kTocoTop + kTocoHigh * kMmPerTocoUnit;

inline double fhrY(double bpm) { return (kFhrHigh - bpm) * kMmPerBpm; }
inline double tocoY(double units) { return kTocoTop + (kTocoHigh - units) * kMmPerTocoUnit; }

// The values labelled beside the panels, with their heights: every major
// step of each panel.
struct ValueLabel {
    double y;
    int value;
};
std::vector<ValueLabel> valueLabels();

// A method as the strip shows it.  Shown at first: the first heart-rate
// method that scored (methods find different events; one set at a time reads
// best) and the contraction marks; the others are drawn hidden ("off").
struct MethodView {
    std::string name, title;
    bool ok = false;
    bool onAtFirst = false;
    const nlohmann::ordered_json* result = nullptr;
};
std::vector<MethodView> methodViews(const nlohmann::ordered_json& description);

// The accelerations and decelerations of every method that scored, by start.
struct StripEvent {
    std::string id, method, title, kind;
    int start = 0, end = 0;
    double startSeconds = 0.0, endSeconds = 0.0;
};
std::vector<StripEvent> stripEvents(const std::vector<MethodView>& methods);

// The attributes of an element shown while any of the named methods is on:
// its class (with " off" when none is on at first) and data-methods.
std::string methodAttributes(const std::vector<MethodView>& methods,
                             const std::vector<std::string>& names, const std::string& cls);

class Drawing {
public:
    // The samples first..end-1 of the recording; description is its
    // describeRecording() with the baseline curves included.
    Drawing(const Recording& recording, const nlohmann::ordered_json& description, int first,
            int end);

    const std::vector<MethodView>& methods() const { return methods_; }
    const std::vector<StripEvent>& events() const { return events_; }

    // The clip paths of the two panels, named fhr-clip and toco-clip.
    std::string clipPaths() const;
    // Paper, signal loss, events, heart rate and baselines, movements, toco
    // and contraction marks, in drawing order.
    std::string content() const;
    // The traces in outline, a column of values per few samples: the whole
    // recording in small without its every sample.
    std::string outline() const;

private:
    std::string paper() const;
    std::string signalLoss() const;
    std::string eventShapes() const;
    std::string heartRateLayer() const;
    std::string baselineCurves() const;
    std::string movements() const;
    std::string tocoLayer() const;
    std::string contractionMarks() const;
    std::string x(double seconds) const;

    const Recording& recording_;
    int first_, end_;
    std::vector<MethodView> methods_;
    std::vector<StripEvent> events_;
};

}  // namespace ctgtool::strip
