// Turns analysis results into one JSON description: named result words, score
// items in words a clinician reads, event locations and the baseline curve.
// Every output format (JSON, table, plot score box, batch lines) starts here.
#pragma once

#include <nlohmann/json.hpp>

#include "analysis/analysis.h"
#include "recordings/recording.h"

namespace ctgtool {

struct ReportOptions {
    bool includeBaselineCurve = false;
};

nlohmann::ordered_json describeResult(const MethodResult& result, int rate,
                                      const ReportOptions& options);

// The recording (file, name, length, rate, signal loss) with a "results" array.
nlohmann::ordered_json describeRecording(const std::string& path, const Recording& recording,
                                         const std::vector<MethodResult>& results,
                                         const ReportOptions& options);

// The entry for a file that could not be read or analyzed.
nlohmann::ordered_json describeFileFailure(const std::string& path, const std::string& error);

}  // namespace ctgtool
