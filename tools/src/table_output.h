// Plain-text rendering of the recording descriptions made by report.h.
#pragma once

#include <ostream>

#include <nlohmann/json.hpp>

namespace ctgtool {

// One block per recording: its facts, then per method the score and items,
// the event locations and the length of the baseline curve.
void writeTable(std::ostream& out, const nlohmann::json& recordings);

}  // namespace ctgtool
