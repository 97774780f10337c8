// The recording descriptions (output/description.h) as a plain-text table.
#pragma once

#include <nlohmann/json.hpp>
#include <ostream>

namespace ctgtool {

// One block per recording: its facts, then per method the score and items,
// the event locations and the length of the baseline curve.
void writeTable(std::ostream& out, const nlohmann::ordered_json& recordings);

}  // namespace ctgtool
