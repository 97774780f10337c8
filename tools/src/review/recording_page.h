// The review page of one recording: one self-contained HTML file (style
// sheet, script and SVG inline, nothing fetched), so it opens from disk and
// can be passed around.
#pragma once

#include <nlohmann/json.hpp>
#include <ostream>

#include "recordings/recording.h"

namespace ctgtool {

// The strip chart (output/strip.h) at a switchable paper speed with an
// overview of the whole recording, a score panel per method, the table of
// accelerations and decelerations, and a print layout at true paper scale.
// description is describeRecording() of the recording with the baseline
// curves included.
void writeReviewPage(std::ostream& out, const Recording& recording,
                     const nlohmann::ordered_json& description);

}  // namespace ctgtool
