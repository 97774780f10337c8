// Helpers of the tool tests: small files written on the spot, and running the
// built ctgscore executable.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <vector>

#include "test_support.h"

namespace tooltest {

std::string readFile(const std::string& path);

using testing_support::fhrmaBytes;
using testing_support::writeFile;

// Starts ctgscore with the arguments in a process group of its own (so that a
// test can kill it with its analysis processes), its scratch files under the
// current directory; returns the pid.
pid_t startTool(const std::vector<std::string>& arguments, const std::string& out = "/dev/null",
                const std::string& err = "/dev/null");

struct ToolRun {
    int exitCode = -1;
    std::string out, err;
};
// Runs ctgscore with the arguments in the current directory and waits for it.
ToolRun runTool(const std::vector<std::string>& arguments);

int countOf(const std::string& text, const std::string& needle);

}  // namespace tooltest
