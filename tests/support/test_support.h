// Shared helpers of the test programs.
#pragma once

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

// Every train/*.csv recording (sorted by name), or none when the data is absent.
std::vector<std::string> trainRecordings(const std::string& subdir = "train");

// Lines of the log file written in the working directory today.
std::vector<std::string> logLines();
// The message part of each log line (after the "[stamp]  " prefix).
std::vector<std::string> logMessages();
// Removes today's log file.
void clearLog();

}  // namespace testing_support
