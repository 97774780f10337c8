// Text for XML and HTML documents.
#pragma once

#include <string>

namespace ctgtool {

// Escapes &, <, > and " for element text and quoted attribute values;
// control characters, which XML does not allow, become '?'.
std::string escapeXml(const std::string& text);

// The number with a fixed count of decimals ("%.*f").
std::string fixedDecimals(double value, int digits);

}  // namespace ctgtool
