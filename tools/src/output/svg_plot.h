// CTG strip chart as an SVG file: a window of the strip (output/strip.h) with
// its value and time labels, a legend and a box with the scores.
#pragma once

#include <optional>
#include <ostream>
#include <vector>

#include "analysis/analysis.h"
#include "recordings/recording.h"

namespace ctgtool {

struct PlotOptions {
    std::optional<double> fromMinute;  // window shown; the analysis covers the whole recording
    std::optional<double> toMinute;
};

// Throws std::invalid_argument when the window is empty or outside the recording.
void writeStripSvg(std::ostream& out, const Recording& recording,
                   const std::vector<MethodResult>& results, const PlotOptions& options);

}  // namespace ctgtool
