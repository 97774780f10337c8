// Helpers of the tool tests: small files written on the spot, and running the
// built ctgscore executable.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "recording.h"

namespace tooltest {

void writeFile(const std::string& path, const std::string& bytes);
std::string readFile(const std::string& path);

// A simulated recording (seeded) written as CSV; returns the recording.
ctgtool::Recording writeSimulatedCsv(const std::string& path, int minutes, std::uint64_t seed);

// FHRMA bytes: the start time, then per sample both heart-rate channels in
// quarter beats, toco in half units and a reserved byte.
struct FhrmaSample {
    unsigned fhr1, fhr2, toco;
};
std::string fhrmaBytes(std::uint32_t startTime, const std::vector<FhrmaSample>& samples);

// Little-endian int16 frames, signals interleaved: frames[i] holds one value per signal.
std::string format16Bytes(const std::vector<std::vector<int>>& frames);

struct ToolRun {
    int exitCode = -1;
    std::string out, err;
};
// Runs the ctgscore executable with the arguments, in the current directory.
ToolRun runTool(const std::vector<std::string>& arguments);

// Empty when the text is well-formed XML as far as element nesting and
// quoting go, else the first problem.
std::string xmlProblem(const std::string& text);

// Number of occurrences of needle in text.
int countOf(const std::string& text, const std::string& needle);

}  // namespace tooltest
