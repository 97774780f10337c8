// Formats of the second parameter log line.
#pragma once

inline constexpr const char* kParameterLine2 =
    "Parameter 2: %d, %d, %d, %d,-- %d, %d, %d,-- %d, %d";
// The Fischer run's line lacks the comma before the second "--".
inline constexpr const char* kFischerParameterLine2 =
    "Parameter 2: %d, %d, %d, %d,-- %d, %d, %d-- %d, %d";
