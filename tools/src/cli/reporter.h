// The tool's voice on standard error and its exit codes: every message starts
// with "ctgscore: ", and what a command throws becomes a message and a code.
#pragma once

#include <functional>
#include <string>

namespace ctgtool {

constexpr int kExitOk = 0;
constexpr int kExitInputError = 1;  // a file could not be read or written
constexpr int kExitUsage = 2;       // bad command line
constexpr int kExitNotScored = 3;   // the library refused at least one analysis

// "ctgscore: message" as a line on standard error.
void tell(const std::string& message);

// Runs a command and returns its exit code.  What it throws is told:
// std::invalid_argument (a bad option value) exits with kExitUsage, any other
// exception (a file that cannot be read or written) with kExitInputError.
int runReporting(const std::function<int()>& command);

}  // namespace ctgtool
