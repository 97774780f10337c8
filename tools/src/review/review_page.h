// Pages for reviewing recordings in a web browser.  Each page is one
// self-contained HTML file (style sheet, script and SVG inline, nothing
// fetched), so it opens from disk and can be passed around.
#pragma once

#include <nlohmann/json.hpp>
#include <ostream>
#include <string>
#include <vector>

#include "recording.h"

namespace ctgtool {

// The page of one recording: the strip chart at a switchable paper speed with
// an overview of the whole recording, a score panel per method, the table of
// accelerations and decelerations, and a print layout at true paper scale.
// description is describeRecording() of the recording with the baseline
// curves included.
void writeReviewPage(std::ostream& out, const Recording& recording,
                     const nlohmann::ordered_json& description);

struct IndexEntry {
    nlohmann::ordered_json description;  // describeRecording() or describeFileFailure()
    std::string page;                    // file name of the recording's page; "" for none
};

// The list of recordings with their scores in sortable columns, the reasons
// of failures, and links to the pages.
void writeReviewIndex(std::ostream& out, const std::vector<IndexEntry>& entries);

}  // namespace ctgtool
