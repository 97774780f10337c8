// Read one file, run the chosen methods, describe the outcome: the unit of work
// of the analyze, batch and report commands.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "analysis/analysis.h"
#include "output/description.h"
#include "readers/readers.h"

namespace ctgtool {

struct FileAnalysisOptions {
    ReadOptions read;
    AnalysisOptions analysis;
    ReportOptions report;
};

// The recording's description, or a failure entry ("ok": false) naming the
// problem when the file cannot be read.
nlohmann::ordered_json analyzeFile(const std::string& path, const FileAnalysisOptions& options);

}  // namespace ctgtool
