// Read one file, run the chosen methods, describe the outcome: the unit of work
// of the analyze and batch commands.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "analysis.h"
#include "readers/readers.h"
#include "report.h"

namespace ctgtool {

struct FileAnalysisOptions {
    ReadOptions read;
    AnalysisOptions analysis;
    ReportOptions report;
};

// The recording's description, or a failure entry ("ok": false) naming the
// problem when the file cannot be read.
nlohmann::ordered_json analyzeFile(const std::string& path, const FileAnalysisOptions& options);

// JSON text that never fails on odd bytes (file names, messages): invalid
// UTF-8 is replaced.  indent -1 gives one line.
std::string dumpJson(const nlohmann::ordered_json& doc, int indent);

}  // namespace ctgtool
