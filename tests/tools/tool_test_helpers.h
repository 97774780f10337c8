// Helpers of the tool tests: small files written on the spot, and running the
// built ctgscore executable.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <vector>

namespace tooltest {

void writeFile(const std::string& path, const std::string& bytes);
std::string readFile(const std::string& path);

// FHRMA bytes: the start time, then per sample both heart-rate channels in
// quarter beats and toco in half units.
struct FhrmaSample {
    unsigned fhr1, fhr2, toco;
};
std::string fhrmaBytes(std::uint32_t startTime, const std::vector<FhrmaSample>& samples);

// Little-endian int16 values: WFDB format 16, signals interleaved sample by sample.
std::string format16Bytes(const std::vector<int>& values);

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
// Number of runs of consecutive nonzero values: marks, or stretches with signal.
int nonzeroRuns(const std::vector<int>& values);

}  // namespace tooltest
