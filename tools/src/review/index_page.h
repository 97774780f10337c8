// The index page of a report: every recording with its scores.
#pragma once

#include <nlohmann/json.hpp>
#include <ostream>
#include <string>
#include <vector>

namespace ctgtool {

struct IndexEntry {
    nlohmann::ordered_json description;  // describeRecording() or describeFileFailure()
    std::string page;                    // file name of the recording's page; "" for none
};

// The list of recordings with their scores in sortable columns, the reasons
// of failures, and links to the pages.
void writeReviewIndex(std::ostream& out, const std::vector<IndexEntry>& entries);

}  // namespace ctgtool
