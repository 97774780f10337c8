// CTG strip chart as SVG: heart-rate panel (50-210 bpm) above the toco panel
// (0-100), on a paper grid, with the baseline curve, shaded accelerations and
// decelerations, contraction marks, movement marks, signal-loss gaps and a box
// with the scores.
#pragma once

#include <optional>
#include <ostream>
#include <vector>

#include "analysis.h"
#include "recording.h"

namespace ctgtool {

struct PlotOptions {
    std::optional<double> fromMinute;  // window shown; the analysis covers the whole recording
    std::optional<double> toMinute;
};

// Throws std::invalid_argument when the window is empty or outside the recording.
void writeStripSvg(std::ostream& out, const Recording& recording,
                   const std::vector<MethodResult>& results, const PlotOptions& options);

}  // namespace ctgtool
