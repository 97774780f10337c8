// Text the outputs share: numbers with fixed decimals, times, escaped markup,
// JSON text and the strings of a JSON description.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace ctgtool {

// The number with a fixed count of decimals ("%.*f").
std::string fixed(double value, int digits);

// "m:ss" of a time in seconds, rounded to the nearest second.
std::string clockTime(double seconds);

// ASCII letters in lower case; other bytes unchanged.
std::string lowerCase(std::string text);

// Escapes &, <, > and " for element text and quoted attribute values;
// control characters, which XML does not allow, become '?'.
std::string escapeXml(const std::string& text);

// JSON text that never fails on odd bytes (file names, messages): invalid
// UTF-8 is replaced.  indent -1 gives one line.
std::string dumpJson(const nlohmann::ordered_json& doc, int indent);

// The string held by a JSON value.
std::string text(const nlohmann::ordered_json& value);

}  // namespace ctgtool
