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

// A recording as CSV (header fhr,uc,fm).
void writeCsv(const std::string& path, const ctgtool::Recording& recording);

// A simulated recording (seeded), written as CSV; returns the recording.
ctgtool::Recording writeSimulatedCsv(const std::string& path, int minutes, std::uint64_t seed);

// One FHRMA sample: both heart-rate channels in quarter beats, toco in half units.
struct FhrmaSample {
    unsigned fhr1;
    unsigned fhr2;
    unsigned toco;
};
std::string fhrmaBytes(std::uint32_t startTime, const std::vector<FhrmaSample>& samples);

// Little-endian int16 frames, signals interleaved: frames[i] holds one value per signal.
std::string format16Bytes(const std::vector<std::vector<int>>& frames);

struct ToolRun {
    int exitCode = -1;
    std::string out;
    std::string err;
};

// Runs the ctgscore executable with the arguments, in the current directory.
ToolRun runTool(const std::vector<std::string>& arguments);

// True when the text is well-formed XML as far as element nesting and quoting go.
bool wellFormedXml(const std::string& text, std::string& problem);

// Number of occurrences of needle in text.
int countOf(const std::string& text, const std::string& needle);

}  // namespace tooltest
