// Shared helpers of the test programs.
#pragma once

#include <cstdint>
#include <ctime>
#include <string>
#include <vector>

namespace testing_support {

// Folder of the research recordings, or "" when it is not present.
std::string dataDir();

// A recording read from a CSV file with header fhr,uc,fm.
struct Recording {
    std::string name;
    std::vector<int> fhr, uc, fm;
};
Recording readCsv(const std::string& path);

// The message part (after the "[stamp]  " prefix) of each line of the log file
// written in the working directory today.
std::vector<std::string> logMessages();
// Name of the log file the library writes on the day of `day`, and today.
std::string logNameOn(std::time_t day);
std::string todaysLogName();
// Removes today's log file.
void clearLog();

// FNV-1a over the bit patterns of the values, so a change in any digit of any
// value shows.
std::uint64_t fingerprint(const std::vector<double>& values);

// Writes the bytes as the whole file.
void writeFile(const std::string& path, const std::string& bytes);

// FHRMA bytes: the start time, then per sample both heart-rate channels in
// quarter beats and toco in half units.
struct FhrmaSample {
    unsigned fhr1, fhr2, toco;
};
std::string fhrmaBytes(std::uint32_t startTime, const std::vector<FhrmaSample>& samples);

// Little-endian int16 values: WFDB format 16, signals interleaved sample by sample.
std::string format16Bytes(const std::vector<int>& values);

}  // namespace testing_support
